// From the hovered word to the tip's text: "arr[i]" looks i up first and
// shows that element of arr, "pos.x" shows the field x of pos, anything
// else the variable itself. The values come from a source: the walker over
// the engine's records, or a host's inspection interface.
#pragma once
#include "ValueTree.h"
#include <cstddef>
#include <string>

class IVelmorValueSource
{
public:
    enum
    {
        kNotFound,
        kFound,       // value filled
        kFoundNoText, // the name exists but has nothing to show: the tip shows the name
    };
    virtual ~IVelmorValueSource() = default;
    // Looks up a plain name (no index, no field). index is the element
    // wanted when the value is an array, -1 when the word had none.
    virtual int FindValue(const std::string& name, long long index, CVelmorValue& value) = 0;
};

// Resolves the word in buf (NUL-terminated, cap bytes) and writes its text
// over it. Returns nonzero when the name was found; otherwise buf is left
// as it was. An index that is not a number ("arr[i]") is looked up as a
// variable and the number after the first '=' of its text taken; an index
// variable that is not found gives element 0.
int VelmorResolveVariable(IVelmorValueSource& source, char* buf, size_t cap);

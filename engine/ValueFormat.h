// The value tip's texts, made from a value tree.
//
// "x=3" for scalars, "s=\"text\"" for strings, "arr[2]=7\n" for an array's
// element, and lines of fields for structures. Unsigned values go through
// a signed 32-bit "%d" as the engine's own formats do, so 4294967295 shows
// as -1; unsigned long elements and fields are the exception ("%lu").
// Every text is cut to 1023 characters.
#pragma once
#include "ValueTree.h"
#include <string>

const size_t VELMOR_VALUE_TEXT_MAX = 1023;

// The text for variable `name` holding `value`. `field` is the part after
// a '.' in the hovered word (empty: the whole structure), `index` the
// element wanted of an array (-1 when the word had no index: element 0).
// Returns false, leaving `text` empty, when the value gives no text: a type
// code the formats do not know, or an array without the element.
bool VelmorFormatValue(std::string& text, const std::string& name, const CVelmorValue& value,
                       const std::string& field, long long index);

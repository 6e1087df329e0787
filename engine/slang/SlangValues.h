// Values of the live S-Lang interpreter as value trees (ValueTree.h), and the
// small S-Lang helpers the adapter runs. Script thread only: everything here
// calls into S-Lang.
#pragma once
#include "../ValueTree.h"

// The S-Lang source of the adapter's helper functions (compiled once, without
// statement or function hooks).
const char* SlangHelperSource();

// The engine's type code for an S-Lang type number (slang.h), 0 for types
// the tip has no text for. S-Lang's 64-bit integers (Long_Type on 64-bit
// Linux, LLong_Type) have no code of their own: they take LONG and ULONG,
// holding the full value; the tip prints LONG through a 32-bit "%d" as it
// prints every integer.
int SlangTypeToVelmor(unsigned int nSlangType);

// Looks pszName up as the held script sees it: a local of the innermost
// running call of pszFunction (null: the function the script is held in;
// "": the top level, no locals), else a static, private or global variable
// visible from the function the script is held in.
// Returns false when there is no such variable. A variable that exists but
// has no value yet gives true with type code 0 (the tip shows the name).
// nIndex is the element wanted of an array (-1: element 0); only that
// element is read.
bool SlangFindVariable(const char* pszName, const char* pszFunction, long long nIndex, CVelmorValue& value);

// A reference to the function pszName as the running function's frame sees
// it, popped into *ppRef (an SLang_Any_Type* holding the reference, to push
// again and free with SLang_free_anytype); false when there is none.
bool SlangFunctionRef(const char* pszName, void** ppRef);

// The host engine's records as the control reads them, and the interface
// through which an engine build gives the control its namespaces.
//
// The engine is S-Lang built with a few additions (see docs/api.md, "The
// engine binding"). Its records are little-endian with 32-bit pointers; on
// x86_64 a pointer field is zero-extended, so a host there keeps its
// engine's records below 4 GiB. The control only reads them, through
// checked reads (RecordMemory.h).
#pragma once
#include "../framework/afxdefs.h"
#include "RecordMemory.h"
#include "ValueTree.h"
#include <cstdint>

namespace VelmorRecords {

// Function record, one per compiled script function, chained newest first
// (the function that starts last in the script comes first).
const unsigned kFuncLocalTable = 16; // u32: pointer to a pointer to the local-name table
const unsigned kFuncSlotCount = 24;  // u8: number of local slots
const unsigned kFuncUseTable = 25;   // u8: nonzero when the local-name table is used
const unsigned kFuncFirstLine = 32;  // i32: first source line
const unsigned kFuncNext = 36;       // u32: next record, 0 at the end
const unsigned kFuncSize = 40;

// Local-name table: 16-byte entries, ended by kind 0.
const unsigned kLocalKind = 0;      // u8: 0 end, 1 local variable, others skipped
const unsigned kLocalSlot = 8;      // u32: slot index in the frame
const unsigned kLocalNameRec = 12;  // u32: name record; its first field points at the name
const unsigned kLocalSize = 16;
const uint8_t kLocalEnd = 0;
const uint8_t kLocalVariable = 1;

// Object: 24 bytes. The frame pointer addresses slot 0; slot k lies k
// objects below it.
const unsigned kObjType = 0;     // u8: type code (ValueTree.h)
const unsigned kObjValue = 8;    // 8 bytes: integer, float, double or u32 pointer, by type
const unsigned kObjNameRec = 16; // u32: name record of the owning variable, or 0
const unsigned kObjSize = 24;

// Array (the value of an ARRAY object points at it).
const unsigned kArrElemType = 0; // u8: the elements' type code
const unsigned kArrData = 8;     // u32: the elements, each of its type's width
const unsigned kArrCount = 12;   // u32: number of elements
// Elements: integers and floats of their own width, doubles 8 bytes;
// strings, integer pointers and structures as u32 pointers.

// Structure (the value of a STRUCT object points at it).
const unsigned kStructFields = 0; // u32: the field array
const unsigned kStructCount = 4;  // u32: number of fields
const unsigned kFieldName = 0;    // u32: the field's NUL-terminated name
const unsigned kFieldObj = 8;     // the field's 24-byte object
const unsigned kFieldSize = 32;

// Intrinsic structure (the value of an ISTRUCT object points at it): a
// table of typed fields over a C data block.
const unsigned kIStructTable = 0; // u32: the field table, ended by a null name
const unsigned kIStructData = 4;  // u32: the data block
const unsigned kIFieldName = 0;   // u32: NUL-terminated name
const unsigned kIFieldOffset = 4; // u32: byte offset in the data block
const unsigned kIFieldType = 8;   // u8: type code
const unsigned kIFieldSize = 12;

} // namespace VelmorRecords

// What a namespace lookup found.
struct CVelmorNameHit
{
    enum Kind
    {
        kNotFound,
        kObject, // a variable with an object in engine memory: `object` is its address
        kValue,  // an intrinsic variable, read through its class's push: `value`
        kOther,  // a name of another kind (a function, a type): found, nothing to show
    };
    int nKind = kNotFound;
    uint64_t object = 0;
    CVelmorValue value;
};

// The engine build's namespaces. An engine build implements this and
// registers it with VelmorRegisterEngineNamespaces; without one, lookups
// find only locals of the running function.
class IVelmorEngineNamespaces
{
public:
    virtual ~IVelmorEngineNamespaces() = default;
    // Called with the host's log object (CVelmor::SetLocalLog) before each
    // lookup the hover starts: the place where an engine may log lookups.
    virtual void LogLookup(void* pLocalLog) {}
    // Looks pszName (UTF-8, case-sensitive) up in the engine's locals
    // table, its private namespace, the static namespace pStaticNameSpace
    // and the global namespace, in that order, and returns the hit's kind.
    // Engine memory is read through mem, so a bad pointer gives kNotFound.
    virtual int FindName(const char* pszName, void* pStaticNameSpace, const CVelmorMemory& mem,
                         CVelmorNameHit& hit) = 0;
};

// Registers the engine's namespaces (null: none); process-wide, like the
// engine itself. Returns the previous registration.
extern "C" AFX_EXT_API IVelmorEngineNamespaces* VelmorRegisterEngineNamespaces(IVelmorEngineNamespaces* p);

// Looks up the UTF-8 word in pszNameInOut (a 1024-byte buffer) as the
// script sees it at line nLine and writes its value's text over it; returns
// nonzero when found, else leaves the buffer as it was. The function whose
// locals are searched is chosen by line from the function list that the
// PREVIOUS call installed: the first lookup after loading finds only
// namespace variables. Bad pointers give 0.
extern "C" AFX_EXT_API int LookupScriptVariable(int line, char* nameInOut, void* pStaticNameSpace, void* pLocalFrame,
                                                void* pFunctionList);

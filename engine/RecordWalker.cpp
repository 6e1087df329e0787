#include "RecordWalker.h"
#include "ValueFormat.h"

using namespace VelmorRecords;

namespace {

// Bounds of every walk: records beyond them are not looked at.
const unsigned kMaxFunctions = 1u << 20;
const unsigned kMaxLocalEntries = 1u << 16;
const unsigned kMaxFields = 256;  // the tip's 1023 characters hold fewer
const int kMaxDepth = 8;          // structures within structures
const unsigned kMaxValues = 4096; // values read for one lookup, nested ones included
const size_t kMaxNameLen = 255;

// Width of a value of this type stored in an element or a field; 0 for
// types that cannot be stored there.
unsigned StoredWidth(int type)
{
    switch (type) {
    case VELMOR_T_CHAR: case VELMOR_T_UCHAR:
        return 1;
    case VELMOR_T_SHORT: case VELMOR_T_USHORT:
        return 2;
    case VELMOR_T_DOUBLE:
        return 8;
    case VELMOR_T_INT: case VELMOR_T_UINT: case VELMOR_T_LONG: case VELMOR_T_ULONG:
    case VELMOR_T_FLOAT: case VELMOR_T_FLOAT2: case VELMOR_T_INTP: case VELMOR_T_STRING:
    case VELMOR_T_ARRAY: case VELMOR_T_STRUCT: case VELMOR_T_ISTRUCT:
        return 4;
    default:
        return 0;
    }
}

} // namespace

uint64_t CRecordWalker::FindFunction(const CVelmorMemory& mem, uint64_t list, int nLine)
{
    // Brent's cycle check: a chain that comes back to a record it passed
    // ends the walk, as does the bound.
    uint64_t p = list, mark = list;
    unsigned power = 1, lambda = 0;
    for (unsigned n = 0; p && n < kMaxFunctions; ++n) {
        uint32_t first, next;
        if (!mem.ReadU32(p + kFuncFirstLine, first) || !mem.ReadU32(p + kFuncNext, next))
            return 0;
        if ((int32_t)first < nLine)
            return p;
        p = next;
        if (p == mark)
            return 0;
        if (++lambda == power) {
            mark = p;
            power *= 2;
            lambda = 0;
        }
    }
    return 0;
}

bool CRecordWalker::NameRecordIs(uint64_t nameRec, const std::string& name) const
{
    uint32_t text;
    return nameRec && m_mem.ReadU32(nameRec, text) && m_mem.TextEquals(text, name.data(), name.size());
}

int CRecordWalker::FindLocal(const std::string& name, long long index, CVelmorValue& value) const
{
    uint8_t useTable, slots;
    if (!m_mem.ReadU8(m_function + kFuncUseTable, useTable) || !m_mem.ReadU8(m_function + kFuncSlotCount, slots))
        return kNotFound;
    if (useTable) {
        uint32_t tablePtr, table;
        if (!m_mem.ReadU32(m_function + kFuncLocalTable, tablePtr) || !tablePtr || !m_mem.ReadU32(tablePtr, table))
            return kNotFound;
        for (unsigned i = 0; table && i < kMaxLocalEntries; ++i) {
            const uint64_t e = (uint64_t)table + (uint64_t)i * kLocalSize;
            uint8_t kind;
            if (!m_mem.ReadU8(e + kLocalKind, kind) || kind == kLocalEnd)
                break;
            uint32_t slot, nameRec;
            if (kind != kLocalVariable || !m_frame || !m_mem.ReadU32(e + kLocalNameRec, nameRec) ||
                !NameRecordIs(nameRec, name))
                continue;
            if (!m_mem.ReadU32(e + kLocalSlot, slot) || (uint64_t)slot * kObjSize > m_frame)
                return kFoundNoText;
            return ReadObject(m_frame - (uint64_t)slot * kObjSize, index, 0, value) ? kFound : kFoundNoText;
        }
        return kNotFound;
    }
    // No table: the objects carry their owners' names.
    for (unsigned k = 0; m_frame && k < slots && (uint64_t)k * kObjSize <= m_frame; ++k) {
        const uint64_t obj = m_frame - (uint64_t)k * kObjSize;
        uint32_t nameRec;
        if (m_mem.ReadU32(obj + kObjNameRec, nameRec) && NameRecordIs(nameRec, name))
            return ReadObject(obj, index, 0, value) ? kFound : kFoundNoText;
    }
    return kNotFound;
}

int CRecordWalker::FindValue(const std::string& name, long long index, CVelmorValue& value)
{
    m_nValuesRead = 0;
    if (m_function) {
        const int found = FindLocal(name, index, value);
        if (found != kNotFound)
            return found;
    }
    if (!m_pNamespaces)
        return kNotFound;
    CVelmorNameHit hit;
    switch (m_pNamespaces->FindName(name.c_str(), m_pStatic, m_mem, hit)) {
    case CVelmorNameHit::kObject:
        return ReadObject(hit.object, index, 0, value) ? kFound : kFoundNoText;
    case CVelmorNameHit::kValue:
        value = std::move(hit.value);
        return kFound;
    case CVelmorNameHit::kOther:
        return kFoundNoText;
    default:
        return kNotFound;
    }
}

bool CRecordWalker::ReadObject(uint64_t addr, long long index, int depth, CVelmorValue& value) const
{
    uint8_t type;
    return addr && m_mem.ReadU8(addr + kObjType, type) && ReadStored(type, addr + kObjValue, index, depth, value);
}

// A value of the given type stored at addr: numbers in their own width,
// the rest as 32-bit pointers to their data.
bool CRecordWalker::ReadStored(int type, uint64_t addr, long long index, int depth, CVelmorValue& value) const
{
    value = CVelmorValue();
    value.nType = type;
    // Records that share their fields could make a small image describe a
    // huge tree: the number of values read is bounded too.
    if (++m_nValuesRead > kMaxValues)
        return false;
    uint8_t u8;
    uint16_t u16;
    uint32_t u32;
    switch (type) {
    case VELMOR_T_CHAR:
        if (!m_mem.ReadU8(addr, u8))
            return false;
        value.nInt = (int8_t)u8;
        return true;
    case VELMOR_T_UCHAR:
        if (!m_mem.ReadU8(addr, u8))
            return false;
        value.nInt = u8;
        return true;
    case VELMOR_T_SHORT: case VELMOR_T_USHORT:
        if (!m_mem.ReadU16(addr, u16))
            return false;
        value.nInt = type == VELMOR_T_SHORT ? (long long)(int16_t)u16 : (long long)u16;
        return true;
    case VELMOR_T_INT: case VELMOR_T_LONG:
        if (!m_mem.ReadU32(addr, u32))
            return false;
        value.nInt = (int32_t)u32;
        return true;
    case VELMOR_T_UINT: case VELMOR_T_ULONG:
        if (!m_mem.ReadU32(addr, u32))
            return false;
        value.nInt = u32;
        return true;
    case VELMOR_T_INTP:
        if (!m_mem.ReadU32(addr, u32) || !m_mem.ReadU32(u32, u32))
            return false;
        value.nInt = (int32_t)u32;
        return true;
    case VELMOR_T_DOUBLE:
        return m_mem.ReadF64(addr, value.dValue);
    case VELMOR_T_FLOAT: case VELMOR_T_FLOAT2: {
        float f;
        if (!m_mem.ReadF32(addr, f))
            return false;
        value.dValue = f;
        return true;
    }
    case VELMOR_T_STRING:
        return m_mem.ReadU32(addr, u32) && m_mem.ReadText(u32, VELMOR_VALUE_TEXT_MAX, value.str, true);
    case VELMOR_T_ARRAY:
        return m_mem.ReadU32(addr, u32) && ReadArray(u32, index, depth, value);
    case VELMOR_T_STRUCT:
        return m_mem.ReadU32(addr, u32) && ReadStruct(u32, depth, value);
    case VELMOR_T_ISTRUCT:
        return m_mem.ReadU32(addr, u32) && ReadIStruct(u32, depth, value);
    default:
        return true; // a type without a text: the tip shows the name
    }
}

bool CRecordWalker::ReadArray(uint64_t rec, long long index, int depth, CVelmorValue& value) const
{
    uint8_t elemType;
    uint32_t data, count;
    if (!rec || !m_mem.ReadU8(rec + kArrElemType, elemType) || !m_mem.ReadU32(rec + kArrData, data) ||
        !m_mem.ReadU32(rec + kArrCount, count))
        return false;
    value.nElemType = elemType;
    value.nLength = data ? count : 0;
    if (index < 0)
        index = 0;
    const unsigned width = StoredWidth(elemType);
    if (!data || index >= (long long)count || !width || depth >= kMaxDepth)
        return true; // no element to show
    CVelmorValue e;
    if (!ReadStored(elemType, (uint64_t)data + (uint64_t)index * width, -1, depth + 1, e))
        return false;
    value.nFirst = index;
    value.elements.push_back(std::move(e));
    return true;
}

bool CRecordWalker::ReadStruct(uint64_t rec, int depth, CVelmorValue& value) const
{
    uint32_t fields, count;
    if (!rec || !m_mem.ReadU32(rec + kStructFields, fields) || !m_mem.ReadU32(rec + kStructCount, count))
        return false;
    if (depth >= kMaxDepth)
        return true;
    for (uint32_t i = 0; i < count && i < kMaxFields; ++i) {
        const uint64_t f = (uint64_t)fields + (uint64_t)i * kFieldSize;
        uint32_t namePtr;
        std::string name;
        CVelmorValue v;
        if (!m_mem.ReadU32(f + kFieldName, namePtr) || !m_mem.ReadText(namePtr, kMaxNameLen, name) ||
            !ReadObject(f + kFieldObj, -1, depth + 1, v))
            return false;
        value.fields.emplace_back(std::move(name), std::move(v));
    }
    return true;
}

bool CRecordWalker::ReadIStruct(uint64_t rec, int depth, CVelmorValue& value) const
{
    uint32_t table, data;
    if (!rec || !m_mem.ReadU32(rec + kIStructTable, table) || !m_mem.ReadU32(rec + kIStructData, data))
        return false;
    if (depth >= kMaxDepth)
        return true;
    for (uint32_t i = 0; table && i < kMaxFields; ++i) {
        const uint64_t f = (uint64_t)table + (uint64_t)i * kIFieldSize;
        uint32_t namePtr, offset;
        uint8_t type;
        if (!m_mem.ReadU32(f + kIFieldName, namePtr))
            return false;
        if (!namePtr)
            break;
        std::string name;
        CVelmorValue v;
        if (!m_mem.ReadText(namePtr, kMaxNameLen, name) || !m_mem.ReadU32(f + kIFieldOffset, offset) ||
            !m_mem.ReadU8(f + kIFieldType, type))
            return false;
        // A field that cannot be read is left out of the lines.
        if (!data || !ReadStored(type, (uint64_t)data + offset, -1, depth + 1, v))
            v = CVelmorValue();
        value.fields.emplace_back(std::move(name), std::move(v));
    }
    return true;
}

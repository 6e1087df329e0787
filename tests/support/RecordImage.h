// Builds images of the engine's records (engine/EngineRecords.h) for tests
// and benchmarks: a byte block that stands for engine memory at a chosen
// 32-bit base address. Natively it is read through a CArenaMemory; under
// Wine it is copied to memory allocated at that address and handed to the
// control as real pointers.
#pragma once
#include "engine/EngineRecords.h"
#include <cstring>
#include <string>
#include <utility>
#include <vector>

class CRecordImage
{
public:
    explicit CRecordImage(uint32_t base) : m_base(base) {}

    uint32_t Base() const { return m_base; }
    const std::vector<uint8_t>& Bytes() const { return m_bytes; }
    CArenaMemory Memory() const { return CArenaMemory(m_base, m_bytes.data(), m_bytes.size()); }

    // n zeroed bytes, aligned; returns their address.
    uint32_t Alloc(size_t n, size_t align = 8)
    {
        size_t at = (m_bytes.size() + align - 1) / align * align;
        m_bytes.resize(at + n);
        return m_base + (uint32_t)at;
    }
    template <typename T> void Put(uint32_t addr, T v) { memcpy(&m_bytes[addr - m_base], &v, sizeof v); }
    template <typename T> T Get(uint32_t addr) const
    {
        T v;
        memcpy(&v, &m_bytes[addr - m_base], sizeof v);
        return v;
    }

    uint32_t Text(const std::string& s)
    {
        const uint32_t a = Alloc(s.size() + 1, 1);
        memcpy(&m_bytes[a - m_base], s.c_str(), s.size() + 1);
        return a;
    }
    // A name record: its first field points at the name.
    uint32_t NameRecord(const std::string& name)
    {
        const uint32_t text = Text(name);
        const uint32_t rec = Alloc(8);
        Put<uint32_t>(rec, text);
        return rec;
    }

    // Objects: type code and value at an address (a frame slot, a field).
    void Object(uint32_t at, uint8_t type, uint32_t nameRec = 0) { Put<uint8_t>(at, type), Put<uint32_t>(at + 16, nameRec); }
    void IntObject(uint32_t at, uint8_t type, uint32_t v, uint32_t nameRec = 0) { Object(at, type, nameRec), Put<uint32_t>(at + 8, v); }
    void DoubleObject(uint32_t at, double v, uint32_t nameRec = 0) { Object(at, 3, nameRec), Put<double>(at + 8, v); }
    uint32_t NewObject() { return Alloc(24); }

    // A frame of n slots; returns the frame pointer (slot 0, the top).
    uint32_t Frame(int n) { return Alloc(24 * (size_t)n) + 24 * (uint32_t)(n - 1); }
    static uint32_t Slot(uint32_t frame, int k) { return frame - 24 * (uint32_t)k; }

    // A local-name table of (name, slot) entries of kind 1, ended by kind 0;
    // returns the pointer to the pointer to it, as a function record holds.
    uint32_t LocalTable(const std::vector<std::pair<std::string, uint32_t>>& locals)
    {
        std::vector<uint32_t> names;
        for (auto& l : locals)
            names.push_back(NameRecord(l.first));
        const uint32_t table = Alloc(16 * (locals.size() + 1));
        for (size_t i = 0; i < locals.size(); ++i) {
            Put<uint8_t>(table + 16 * (uint32_t)i, 1);
            Put<uint32_t>(table + 16 * (uint32_t)i + 8, locals[i].second);
            Put<uint32_t>(table + 16 * (uint32_t)i + 12, names[i]);
        }
        const uint32_t ptr = Alloc(4);
        Put<uint32_t>(ptr, table);
        return ptr;
    }

    uint32_t Function(int firstLine, uint8_t slots, bool useTable, uint32_t tablePtr, uint32_t next)
    {
        const uint32_t f = Alloc(40);
        Put<uint32_t>(f + 16, tablePtr);
        Put<uint8_t>(f + 24, slots);
        Put<uint8_t>(f + 25, useTable ? 1 : 0);
        Put<int32_t>(f + 32, firstLine);
        Put<uint32_t>(f + 36, next);
        return f;
    }

    // An array record over data of count elements.
    uint32_t Array(uint8_t elemType, uint32_t data, uint32_t count)
    {
        const uint32_t a = Alloc(48);
        Put<uint8_t>(a, elemType);
        Put<uint32_t>(a + 8, data);
        Put<uint32_t>(a + 12, count);
        return a;
    }
    template <typename T> uint32_t ArrayOf(uint8_t elemType, const std::vector<T>& v)
    {
        const uint32_t data = Alloc(sizeof(T) * v.size() + 1);
        for (size_t i = 0; i < v.size(); ++i)
            Put<T>(data + (uint32_t)(sizeof(T) * i), v[i]);
        return Array(elemType, data, (uint32_t)v.size());
    }

    // A structure record with n fields; returns it, the fields' objects at
    // FieldObject(rec, i).
    uint32_t Struct(const std::vector<std::string>& names)
    {
        const uint32_t fields = Alloc(32 * names.size() + 1);
        for (size_t i = 0; i < names.size(); ++i)
            Put<uint32_t>(fields + 32 * (uint32_t)i, Text(names[i]));
        const uint32_t rec = Alloc(8);
        Put<uint32_t>(rec, fields);
        Put<uint32_t>(rec + 4, (uint32_t)names.size());
        return rec;
    }
    uint32_t FieldObject(uint32_t rec, int i) { return Get<uint32_t>(rec) + 32 * (uint32_t)i + 8; }

    // An intrinsic structure: (name, offset, type) entries over data.
    uint32_t IStruct(const std::vector<std::pair<std::string, std::pair<uint32_t, uint8_t>>>& fields, uint32_t data)
    {
        std::vector<uint32_t> names;
        for (auto& f : fields)
            names.push_back(Text(f.first));
        const uint32_t table = Alloc(12 * (fields.size() + 1), 4);
        for (size_t i = 0; i < fields.size(); ++i) {
            Put<uint32_t>(table + 12 * (uint32_t)i, names[i]);
            Put<uint32_t>(table + 12 * (uint32_t)i + 4, fields[i].second.first);
            Put<uint8_t>(table + 12 * (uint32_t)i + 8, fields[i].second.second);
        }
        const uint32_t rec = Alloc(8);
        Put<uint32_t>(rec, table);
        Put<uint32_t>(rec + 4, data);
        return rec;
    }

private:
    uint32_t m_base;
    std::vector<uint8_t> m_bytes;
};

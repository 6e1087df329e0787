// Reads variables out of the host engine's records (EngineRecords.h) into
// value trees. Every read is checked and every walk bounded, so records
// that are stale, foreign or corrupt give "not found", never a fault or a
// hang.
#pragma once
#include "EngineRecords.h"
#include "Resolver.h"

class CRecordWalker : public IVelmorValueSource
{
public:
    // function: the function record whose locals are searched (0: none);
    // frame: its local frame (slot 0's object); the namespaces may be null.
    CRecordWalker(const CVelmorMemory& mem, uint64_t function, uint64_t frame, void* pStaticNameSpace,
                  IVelmorEngineNamespaces* pNamespaces)
        : m_mem(mem), m_function(function), m_frame(frame), m_pStatic(pStaticNameSpace), m_pNamespaces(pNamespaces)
    {
    }

    int FindValue(const std::string& name, long long index, CVelmorValue& value) override;

    // The first record of the list whose first line is below nLine (the
    // function whose body holds the line, the list being newest first), or
    // 0 when the list ends first, loops, or cannot be read.
    static uint64_t FindFunction(const CVelmorMemory& mem, uint64_t list, int nLine);

    // The object at addr; for arrays only the element at index (below 0:
    // element 0) is read. False when the object cannot be read.
    bool ReadObject(uint64_t addr, long long index, int depth, CVelmorValue& value) const;

private:
    int FindLocal(const std::string& name, long long index, CVelmorValue& value) const;
    bool ReadStored(int type, uint64_t addr, long long index, int depth, CVelmorValue& value) const;
    bool ReadArray(uint64_t rec, long long index, int depth, CVelmorValue& value) const;
    bool ReadStruct(uint64_t rec, int depth, CVelmorValue& value) const;
    bool ReadIStruct(uint64_t rec, int depth, CVelmorValue& value) const;
    bool NameRecordIs(uint64_t nameRec, const std::string& name) const;

    const CVelmorMemory& m_mem;
    uint64_t m_function;
    uint64_t m_frame;
    void* m_pStatic;
    IVelmorEngineNamespaces* m_pNamespaces;
    mutable unsigned m_nValuesRead = 0;
};

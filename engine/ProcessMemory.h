// Checked reads of this process's own memory: what the host's pointers
// reach. A read of memory that is not mapped readable fails instead of
// faulting.
#pragma once
#include "RecordMemory.h"

class CProcessMemory : public CVelmorMemory
{
public:
    CProcessMemory();
    ~CProcessMemory() override;
    CProcessMemory(const CProcessMemory&) = delete;
    CProcessMemory& operator=(const CProcessMemory&) = delete;

    bool Read(uint64_t addr, void* dst, size_t n) const override;

private:
#ifdef _WIN32
    // The last readable region found, so that a walk through one heap
    // asks the system once.
    mutable uint64_t m_regionBase = 0;
    mutable uint64_t m_regionEnd = 0;
    bool Readable(uint64_t addr, uint64_t end) const;
#else
    int m_fd = -1; // /proc/self/mem: reads of unmapped pages fail with EIO
#endif
};

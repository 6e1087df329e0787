#include "ProcessMemory.h"
#include <algorithm>
#include <cstring>

#ifdef _WIN32
#include <windows.h>

CProcessMemory::CProcessMemory() {}
CProcessMemory::~CProcessMemory() {}

namespace {
bool ReadableProtection(DWORD protect)
{
    if (protect & (PAGE_GUARD | PAGE_NOACCESS))
        return false;
    return (protect & (PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                       PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY)) != 0;
}
} // namespace

// Whether [addr, end) lies in committed, readable memory, region by region.
// The system describes memory from the queried page upwards; the known
// range is widened down to the allocation's start when that is readable
// too, since the walks go downwards as often as up (frames grow down).
bool CProcessMemory::Readable(uint64_t addr, uint64_t end) const
{
    while (addr < end) {
        if (addr >= m_regionBase && addr < m_regionEnd) {
            addr = m_regionEnd;
            continue;
        }
        if (addr > (uint64_t)UINTPTR_MAX)
            return false;
        MEMORY_BASIC_INFORMATION mbi;
        if (!VirtualQuery((LPCVOID)(uintptr_t)addr, &mbi, sizeof mbi) || mbi.State != MEM_COMMIT ||
            !ReadableProtection(mbi.Protect))
            return false;
        uint64_t base = (uint64_t)(uintptr_t)mbi.BaseAddress;
        const uint64_t top = base + mbi.RegionSize;
        const uint64_t allocation = (uint64_t)(uintptr_t)mbi.AllocationBase;
        MEMORY_BASIC_INFORMATION low;
        if (allocation && allocation < base && VirtualQuery(mbi.AllocationBase, &low, sizeof low) &&
            low.State == MEM_COMMIT && ReadableProtection(low.Protect) &&
            (uint64_t)(uintptr_t)low.BaseAddress + low.RegionSize >= base)
            base = allocation;
        if (base <= m_regionEnd && top >= m_regionBase && m_regionEnd) {
            m_regionBase = std::min(m_regionBase, base);
            m_regionEnd = std::max(m_regionEnd, top);
        } else {
            m_regionBase = base;
            m_regionEnd = top;
        }
        addr = top;
    }
    return true;
}

bool CProcessMemory::Read(uint64_t addr, void* dst, size_t n) const
{
    if (!addr || addr > UINT64_MAX - n)
        return false;
    if (addr >= m_regionBase && addr + n <= m_regionEnd) {
        memcpy(dst, (const void*)(uintptr_t)addr, n);
        return true;
    }
    if (!Readable(addr, addr + n))
        return false;
    memcpy(dst, (const void*)(uintptr_t)addr, n);
    return true;
}

#else
#include <fcntl.h>
#include <unistd.h>

CProcessMemory::CProcessMemory() : m_fd(open("/proc/self/mem", O_RDONLY | O_CLOEXEC)) {}

CProcessMemory::~CProcessMemory()
{
    if (m_fd >= 0)
        close(m_fd);
}

bool CProcessMemory::Read(uint64_t addr, void* dst, size_t n) const
{
    if (m_fd < 0 || !addr || addr > (uint64_t)INT64_MAX - n)
        return false;
    return pread(m_fd, dst, n, (off_t)addr) == (ssize_t)n;
}
#endif

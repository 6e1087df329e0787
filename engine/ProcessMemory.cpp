#include "ProcessMemory.h"
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
        m_regionBase = (uint64_t)(uintptr_t)mbi.BaseAddress;
        m_regionEnd = m_regionBase + mbi.RegionSize;
        addr = m_regionEnd;
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

#include "RecordMemory.h"
#include <cstring>

bool CVelmorMemory::ReadText(uint64_t addr, size_t nMax, std::string& out, bool bTruncate) const
{
    out.clear();
    if (!addr)
        return false;
    // In chunks that end on 64-byte boundaries; a chunk that reaches into
    // unreadable memory is read again byte by byte, so a text that ends
    // just before such memory is still read.
    char chunk[64];
    while (out.size() <= nMax) {
        if (addr > UINT64_MAX - sizeof chunk)
            return false;
        size_t n = sizeof chunk - (size_t)(addr % sizeof chunk);
        if (!Read(addr, chunk, n)) {
            const size_t nChunk = n;
            n = 0;
            while (n < nChunk && Read(addr + n, chunk + n, 1) && chunk[n])
                ++n;
            if (n == nChunk || !Read(addr + n, chunk + n, 1))
                return false; // unreadable before its end
            ++n;              // the NUL
        }
        const void* nul = memchr(chunk, 0, n);
        out.append(chunk, nul ? (size_t)((const char*)nul - chunk) : n);
        if (nul)
            break;
        addr += n;
    }
    if (out.size() <= nMax)
        return true;
    if (!bTruncate)
        return false;
    out.resize(nMax);
    return true;
}

bool CVelmorMemory::TextEquals(uint64_t addr, const char* s, size_t n) const
{
    if (!addr)
        return false;
    // Usually one read of the name and its NUL; near unreadable memory the
    // careful way.
    char quick[256];
    if (n < sizeof quick && Read(addr, quick, n + 1))
        return quick[n] == 0 && memcmp(quick, s, n) == 0;
    std::string text;
    return ReadText(addr, n, text) && text.size() == n && memcmp(text.data(), s, n) == 0;
}

bool CArenaMemory::Read(uint64_t addr, void* dst, size_t n) const
{
    if (addr < m_base || addr - m_base > m_size || n > m_size - (addr - m_base))
        return false;
    memcpy(dst, m_bytes + (addr - m_base), n);
    return true;
}

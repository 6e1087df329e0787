// The storage under CString (blocks from size-class slabs) and the fast
// scans over UTF-16 text.
#include "afxstr.h"
#include "strblocks.h"
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <thread>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

// --- scanning ------------------------------------------------------------------

namespace {

// Four UTF-16 units in one 64-bit word. For each unit that is zero the
// result has its top bit set, and no other bit: exact per unit, unlike the
// usual has-zero test, so its bits can be counted.
inline uint64_t ZeroUnits(uint64_t x) noexcept
{
    const uint64_t low = 0x7FFF7FFF7FFF7FFFULL;
    return ~(((x & low) + low) | x | low);
}

inline uint64_t Load4(const wchar_t* p) noexcept
{
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline int PopCount(uint64_t v) noexcept
{
    int n = 0;
    for (; v; v &= v - 1)
        ++n;
    return n;
}

} // namespace

const wchar_t* AFXAPI AfxFindChar(const wchar_t* p, size_t n, wchar_t ch) noexcept
{
    return AfxFindEither(p, n, ch, ch);
}

const wchar_t* AFXAPI AfxFindEither(const wchar_t* p, size_t n, wchar_t a, wchar_t b) noexcept
{
    if constexpr (sizeof(wchar_t) == 2) {
#ifdef __SSE2__
        // Eight units at a time (unaligned loads stay inside [p, p + n)).
        const __m128i va = _mm_set1_epi16((short)a), vb = _mm_set1_epi16((short)b);
        for (; n >= 8; p += 8, n -= 8) {
            const __m128i v = _mm_loadu_si128((const __m128i*)p);
            const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb)));
            if (mask)
                return p + __builtin_ctz((unsigned)mask) / 2;
        }
        for (; n > 0; ++p, --n)
            if (*p == a || *p == b)
                return p;
        return nullptr;
#else
        const uint64_t pa = 0x0001000100010001ULL * (uint16_t)a, pb = 0x0001000100010001ULL * (uint16_t)b;
        for (; n >= 8; p += 8, n -= 8)
            if (ZeroUnits(Load4(p) ^ pa) | ZeroUnits(Load4(p + 4) ^ pa) | ZeroUnits(Load4(p) ^ pb) |
                ZeroUnits(Load4(p + 4) ^ pb))
                break;
        for (; n > 0; ++p, --n)
            if (*p == a || *p == b)
                return p;
        return nullptr;
#endif
    } else {
        if (a == b)
            return n ? std::wmemchr(p, a, n) : nullptr;
        for (; n > 0; ++p, --n)
            if (*p == a || *p == b)
                return p;
        return nullptr;
    }
}

size_t AFXAPI AfxCountLineFeeds(const wchar_t* p, size_t* pnLineFeeds) noexcept
{
    const wchar_t* start = p;
    size_t feeds = 0;
    if constexpr (sizeof(wchar_t) == 2) {
        // Word reads stay inside the text's aligned words, so they never
        // cross into a page the text does not reach.
        while (((uintptr_t)p & 7) != 0) {
            if (!*p) {
                *pnLineFeeds = feeds;
                return (size_t)(p - start);
            }
            feeds += *p == L'\n';
            ++p;
        }
        const uint64_t lf = 0x000A000A000A000AULL;
        for (;; p += 4) {
            const uint64_t v = Load4(p);
            if (ZeroUnits(v))
                break;
            feeds += (size_t)PopCount(ZeroUnits(v ^ lf));
        }
    }
    for (; *p; ++p)
        feeds += *p == L'\n';
    *pnLineFeeds = feeds;
    return (size_t)(p - start);
}

// Blocks for string characters. A document keeps one string per line, and
// the general heap spends 16 bytes of header and up to 15 of rounding on
// every block; string blocks up to kMaxSmall bytes therefore come from
// slabs of one size class each (multiples of 8 bytes), with no header at
// all: a string's own header tells its size when it is freed. Freed blocks
// go to their class's free list and are reused; slabs are kept for the
// life of the process, as a heap keeps its segments. Larger blocks come
// from the heap. Builds under AddressSanitizer take every block from the
// heap, so that the sanitizer sees each one.
namespace StringBlocks {

const size_t kGrain = 8;
const size_t kMaxSmall = 1024;
const size_t kSlabBytes = 64 * 1024;

#if defined(__SANITIZE_ADDRESS__)
#define VELMOR_STRING_SLABS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMOR_STRING_SLABS 0
#endif
#endif
#ifndef VELMOR_STRING_SLABS
#define VELMOR_STRING_SLABS 1
#endif

struct FreeBlock
{
    FreeBlock* next;
};

// Zero-initialised statics: usable before any constructor runs and after
// every destructor, as strings in static objects need.
std::atomic_flag g_lock = ATOMIC_FLAG_INIT;
FreeBlock* g_free[kMaxSmall / kGrain + 1];
char* g_bump;     // next unused byte of the newest slab
char* g_bumpEnd;  // end of the newest slab

struct Lock
{
    Lock()
    {
        while (g_lock.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ~Lock() { g_lock.clear(std::memory_order_release); }
};

size_t RoundUp(size_t bytes)
{
    return bytes <= kMaxSmall ? (bytes + kGrain - 1) / kGrain * kGrain : bytes;
}

void* Alloc(size_t bytes)
{
    bytes = RoundUp(bytes);
    if (!VELMOR_STRING_SLABS || bytes > kMaxSmall) {
        void* p = std::malloc(bytes);
        if (!p)
            throw std::bad_alloc();
        return p;
    }
    Lock lock;
    FreeBlock*& head = g_free[bytes / kGrain];
    if (head) {
        FreeBlock* p = head;
        head = p->next;
        return p;
    }
    if ((size_t)(g_bumpEnd - g_bump) < bytes) {
        // What is left of the old slab is too small for this class: give it
        // to the class that fits it exactly, so that nothing is lost.
        const size_t rest = (size_t)(g_bumpEnd - g_bump);
        if (rest >= kGrain) {
            FreeBlock* b = reinterpret_cast<FreeBlock*>(g_bump);
            b->next = g_free[rest / kGrain];
            g_free[rest / kGrain] = b;
        }
        char* slab = static_cast<char*>(std::malloc(kSlabBytes));
        if (!slab)
            throw std::bad_alloc();
        g_bump = slab;
        g_bumpEnd = slab + kSlabBytes;
    }
    void* p = g_bump;
    g_bump += bytes;
    return p;
}

void Free(void* p, size_t bytes) noexcept
{
    bytes = RoundUp(bytes);
    if (!VELMOR_STRING_SLABS || bytes > kMaxSmall) {
        std::free(p);
        return;
    }
    Lock lock;
    FreeBlock* b = static_cast<FreeBlock*>(p);
    b->next = g_free[bytes / kGrain];
    g_free[bytes / kGrain] = b;
}

} // namespace StringBlocks


// The storage under CString (blocks cut from slabs) and the fast
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
#ifdef _WIN32
#include <windows.h>
#endif
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
// slabs, with no header at all: a string's own header tells its size when
// it is freed. A slab is cut into blocks of any size class (multiples of 8
// bytes) in the order they are asked for, so the lines of a text loaded at
// once lie one after another in memory and a scan over them reads memory
// in order. A freed block goes on its class's stack of free blocks and is
// reused from there.
//
// A slab all of whose blocks are free is taken back whole and cut again
// from its start: without that, the lines of a text loaded after another
// was closed would be scattered over the free blocks of the closed one,
// and a search over them would wait on memory at every line. Each slab's
// blocks in use are counted in a small table of their own (looked up by
// the slab's address), so that freeing a block touches no other memory
// than the block and the table. Taking slabs back means dropping their
// blocks from the stacks, a pass that reads only the stacks and the table
// (never the blocks); it is made once the free blocks of wholly free slabs
// are at least half of all free blocks, so each pass costs at most twice
// what it takes back. Slabs come from the system 16 at a time, aligned to
// their size (a block finds its slab by rounding its address down), and
// are kept for the life of the process, as a heap keeps its segments.
//
// Builds under AddressSanitizer take every block from the heap, so that
// the sanitizer sees each one.
namespace StringBlocks {

const size_t kGrain = 8;
const size_t kMaxSmall = 1024;
const size_t kClasses = kMaxSmall / kGrain + 1;
const unsigned kSlabShift = 16;
const size_t kSlabBytes = size_t(1) << kSlabShift;
const size_t kSlabsPerChunk = 16;
const size_t kSweepMin = 4096; // free blocks of free slabs before a pass is worth it

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

// One slab's entry in the table of slabs.
struct SlabCounts
{
    uintptr_t key;   // the slab's address >> kSlabShift (0: an empty entry)
    uint32_t live;   // blocks in use
    uint32_t carved; // blocks cut from it so far, in use or free (0 once taken back)
};

// A slab waiting to be cut again keeps the link to the next one in its
// first bytes.
struct SpareSlab
{
    SpareSlab* next;
};

// The free blocks of one size class, the last freed on top.
struct FreeStack
{
    void** items;
    size_t count;
    size_t capacity;
};

// Zero-initialised statics: usable before any constructor runs and after
// every destructor, as strings in static objects need.
std::atomic_flag g_lock = ATOMIC_FLAG_INIT;
FreeStack g_free[kClasses];
SlabCounts* g_table; // open addressing, at most half full
size_t g_tableMask;  // its size - 1
uintptr_t g_bumpKey; // the slab being cut
char* g_bump;        // its next uncut byte
char* g_bumpEnd;     // its end
SpareSlab* g_spare;  // slabs taken back, to be cut again
char* g_chunk;       // slabs from the system not yet used
char* g_chunkEnd;
size_t g_freeBlocks; // blocks on the stacks
size_t g_deadBlocks; // of those, blocks of slabs with nothing in use (the slab being cut aside)
size_t g_slabs;      // slabs from the system
size_t g_spareSlabs; // of those, on the spare list

struct Lock
{
    Lock()
    {
        while (g_lock.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ~Lock() { g_lock.clear(std::memory_order_release); }
};

inline uintptr_t KeyOf(const void* p) noexcept
{
    return (uintptr_t)p >> kSlabShift;
}

inline size_t Slot(uintptr_t key) noexcept
{
    return (size_t)(((uint64_t)key * 0x9E3779B97F4A7C15ULL) >> 32) & g_tableMask;
}

// The entry of the slab that holds p (which is in one).
inline SlabCounts& CountsOf(const void* p) noexcept
{
    const uintptr_t key = KeyOf(p);
    size_t i = Slot(key);
    while (g_table[i].key != key)
        i = (i + 1) & g_tableMask;
    return g_table[i];
}

void Insert(SlabCounts* table, size_t mask, const SlabCounts& counts) noexcept
{
    size_t i = (size_t)(((uint64_t)counts.key * 0x9E3779B97F4A7C15ULL) >> 32) & mask;
    while (table[i].key)
        i = (i + 1) & mask;
    table[i] = counts;
}

// Room in the table for n more slabs.
void ReserveSlabs(size_t n)
{
    size_t size = g_table ? g_tableMask + 1 : 0;
    if (2 * (g_slabs + n) <= size)
        return;
    while (2 * (g_slabs + n) > size)
        size = size ? 2 * size : 256;
    SlabCounts* table = static_cast<SlabCounts*>(std::calloc(size, sizeof(SlabCounts)));
    if (!table)
        throw std::bad_alloc();
    for (size_t i = 0; g_table && i <= g_tableMask; ++i)
        if (g_table[i].key)
            Insert(table, size - 1, g_table[i]);
    std::free(g_table);
    g_table = table;
    g_tableMask = size - 1;
}

// False when the stack cannot grow (out of memory).
bool Push(void* p, size_t bytes) noexcept
{
    FreeStack& stack = g_free[bytes / kGrain];
    if (stack.count == stack.capacity) {
        const size_t capacity = stack.capacity ? 2 * stack.capacity : 256;
        void** items = static_cast<void**>(std::realloc(stack.items, capacity * sizeof(void*)));
        if (!items)
            return false;
        stack.items = items;
        stack.capacity = capacity;
    }
    stack.items[stack.count++] = p;
    ++g_freeBlocks;
    return true;
}

char* SystemChunk(size_t bytes)
{
#ifdef _WIN32
    // Reservations start on the allocation granularity (64 KiB), which
    // aligns every slab in the chunk.
    void* p = VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
#else
    void* p = std::aligned_alloc(kSlabBytes, bytes);
#endif
    if (!p || ((uintptr_t)p & (kSlabBytes - 1)) != 0)
        throw std::bad_alloc();
    return static_cast<char*>(p);
}

// Every block of a slab with nothing in use dropped from the stacks (the
// others keep their order), and those slabs put on the spare list, each
// once.
void Sweep() noexcept
{
    for (FreeStack& stack : g_free) {
        size_t kept = 0;
        for (size_t i = 0; i < stack.count; ++i) {
            void* p = stack.items[i];
            SlabCounts& c = CountsOf(p);
            if (c.live == 0 && c.key != g_bumpKey) {
                if (c.carved) {
                    c.carved = 0;
                    SpareSlab* s = reinterpret_cast<SpareSlab*>(c.key << kSlabShift);
                    s->next = g_spare;
                    g_spare = s;
                    ++g_spareSlabs;
                }
            } else {
                stack.items[kept++] = p;
            }
        }
        g_freeBlocks -= stack.count - kept;
        stack.count = kept;
    }
    g_deadBlocks = 0;
}

// A slab other than the one being cut has nothing in use any more.
inline void SlabFreed(const SlabCounts& c) noexcept
{
    g_deadBlocks += c.carved;
    if (g_deadBlocks >= kSweepMin && 2 * g_deadBlocks >= g_freeBlocks)
        Sweep();
}

// The slab being cut is done with (its uncut rest goes to the class that
// fits it exactly, so that nothing is lost: sizes and slabs are multiples
// of the grain), and the next is a spare one or one more from the system.
void NextSlab()
{
    if (g_bumpKey) {
        SlabCounts& old = CountsOf(g_bump - 1);
        const size_t rest = (size_t)(g_bumpEnd - g_bump);
        if (rest >= kGrain) {
            ++old.carved;
            if (!Push(g_bump, rest))
                ++old.live; // (kept out of use for good)
        }
        g_bumpKey = 0;
        g_bump = g_bumpEnd = nullptr;
        if (old.live == 0)
            SlabFreed(old);
    }
    char* slab;
    if (g_spare) {
        SpareSlab* s = g_spare;
        g_spare = s->next;
        --g_spareSlabs;
        slab = reinterpret_cast<char*>(s);
    } else {
        if (g_chunk == g_chunkEnd) {
            ReserveSlabs(kSlabsPerChunk);
            g_chunk = SystemChunk(kSlabsPerChunk * kSlabBytes);
            g_chunkEnd = g_chunk + kSlabsPerChunk * kSlabBytes;
            for (char* q = g_chunk; q != g_chunkEnd; q += kSlabBytes)
                Insert(g_table, g_tableMask, SlabCounts{KeyOf(q), 0, 0});
            g_slabs += kSlabsPerChunk;
        }
        slab = g_chunk;
        g_chunk += kSlabBytes;
    }
    SlabCounts& c = CountsOf(slab);
    c.live = 0;
    c.carved = 0;
    g_bumpKey = c.key;
    g_bump = slab;
    g_bumpEnd = slab + kSlabBytes;
}

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
    FreeStack& stack = g_free[bytes / kGrain];
    if (stack.count) {
        void* p = stack.items[--stack.count];
        --g_freeBlocks;
        SlabCounts& c = CountsOf(p);
        if (c.live++ == 0 && c.key != g_bumpKey)
            g_deadBlocks -= c.carved; // its blocks are no longer all free
        return p;
    }
    if ((size_t)(g_bumpEnd - g_bump) < bytes)
        NextSlab();
    void* p = g_bump;
    g_bump += bytes;
    SlabCounts& c = CountsOf(p);
    ++c.live;
    ++c.carved;
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
    // A block the stack has no room for stays out of use, counted as live.
    if (!Push(p, bytes))
        return;
    SlabCounts& c = CountsOf(p);
    if (--c.live == 0 && c.key != g_bumpKey)
        SlabFreed(c);
}

Usage GetUsage() noexcept
{
    Lock lock;
    Usage u;
    u.slabs = g_slabs;
    u.spareSlabs = g_spareSlabs;
    u.freeBlocks = g_freeBlocks;
    u.slabBytes = kSlabBytes;
    u.slabbed = VELMOR_STRING_SLABS != 0;
    return u;
}

} // namespace StringBlocks

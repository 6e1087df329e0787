// The many-line forward search's quick test and its scan, shared by the
// builds for each instruction set: TextSearch.cpp (SSE2, or one column at
// a time) and TextSearchAvx2.cpp (built for AVX2, used when the processor
// has it). Everything here is internal to the file that includes it, so
// that no function built for AVX2 can stand in for one of another build.
#pragma once
#include "TextSearch.h"
#include <cstdint>
#include <cwchar>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__AVX2__) || defined(VELMOR_AVX2_TARGET)
#include <immintrin.h>
#endif

// Short lines are tested with a vector read that may run past the line's
// end within its page; AddressSanitizer would report that read, so its
// builds test short lines one column at a time.
#if defined(__SANITIZE_ADDRESS__)
#define VELMOR_SEARCH_OVERREAD 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMOR_SEARCH_OVERREAD 0
#endif
#endif
#ifndef VELMOR_SEARCH_OVERREAD
#define VELMOR_SEARCH_OVERREAD 1
#endif

namespace {

// A quick test that lets through every line in which a forward search can
// find what from column 0: such a line has, at some column, a character
// that can match what's first one, one that can match its middle one
// (what of three characters or more) at the same distance as in what, and
// one that can match its last. Which characters can: matching case, each
// only itself. Ignoring case, an ASCII character of what is also matched
// by the same character with bit 0x20 flipped (a letter's other case, and
// a few characters that cannot match, which only cost a closer look);
// non-ASCII characters never stand for what's ASCII first character (see
// FindUpper), but may for any later one (their upper case may be
// anything).
class LineFilter
{
public:
    LineFilter(const wchar_t* what, unsigned short flags)
    {
        m_wlen = (int)std::wcslen(what);
        if (m_wlen == 0 || (flags & VELMOR_FIND_BACKWARDS))
            return;
        m_bFold = !(flags & VELMOR_FIND_MATCHCASE);
        const wchar_t w0 = what[0];
        if (m_bFold && (unsigned)w0 >= 0x80)
            return; // (not worth a filter)
        m_nMid = m_wlen >= 3 ? m_wlen / 2 : 0;
        m_first = Folded(w0);
        m_mid = Folded(what[m_nMid]);
        m_last = Folded(what[m_wlen - 1]);
        m_bWide = m_bFold && m_wlen > 1;
        m_bUsable = true;
    }
    bool Usable() const { return m_bUsable; }
    int Length() const { return m_wlen; }
    bool Fold() const { return m_bFold; }
    bool Wide() const { return m_bWide; }
    int Mid() const { return m_nMid; } // 0: no middle character is tested
    wchar_t FirstChar() const { return m_first; }
    wchar_t MidChar() const { return m_mid; }
    wchar_t LastChar() const { return m_last; }

    // One column at a time (short lines, and builds without SSE2): p holds
    // the first characters of the positions.
    bool MayHoldAt(const wchar_t* p, int positions) const
    {
        const wchar_t* q = p + m_wlen - 1;
        for (int i = 0; i < positions; ++i)
            if (Folded(p[i]) == m_first && Later(q[i], m_last) && (!m_nMid || Later(p[i + m_nMid], m_mid)))
                return true;
        return false;
    }

private:
    wchar_t Folded(wchar_t c) const { return m_bFold && (unsigned)c < 0x80 ? (wchar_t)(c | 0x20) : c; }
    bool Later(wchar_t c, wchar_t what) const { return Folded(c) == what || (m_bWide && (unsigned)c >= 0x80); }

    int m_wlen = 0;
    int m_nMid = 0;
    bool m_bUsable = false;
    bool m_bFold = false, m_bWide = false;
    wchar_t m_first = 0, m_mid = 0, m_last = 0;
};

// The vector operations of one instruction set, over lanes of one
// character each: kBlocks blocks of kLanes columns make the test of most
// lines (32 columns with 16-bit characters, 16 with 32-bit ones).
#if defined(__SSE2__)
struct Sse2Ops
{
    using V = __m128i;
    static const int kLanes = 16 / (int)sizeof(wchar_t);
    static const int kBlocks = 4;
    static V Load(const wchar_t* p) { return _mm_loadu_si128((const __m128i*)p); }
    static V Splat(wchar_t c)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm_set1_epi16((short)c);
        else
            return _mm_set1_epi32((int)c);
    }
    static V Equal(V a, V b)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm_cmpeq_epi16(a, b);
        else
            return _mm_cmpeq_epi32(a, b);
    }
    static V And(V a, V b) { return _mm_and_si128(a, b); }
    static V Or(V a, V b) { return _mm_or_si128(a, b); }
    static V Zero() { return _mm_setzero_si128(); }
    // Lanes of ones where a has none.
    static V Not(V a) { return _mm_andnot_si128(a, _mm_set1_epi32(-1)); }
    static bool NonZero(V a) { return _mm_movemask_epi8(_mm_cmpeq_epi8(a, _mm_setzero_si128())) != 0xFFFF; }
    // The blocks' lanes (all ones or none), one bit per column.
    static uint32_t Bits(const V* r)
    {
        if constexpr (sizeof(wchar_t) == 2) {
            return (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r[0], r[1])) |
                   (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r[2], r[3])) << 16;
        } else {
            return (uint32_t)_mm_movemask_epi8(
                _mm_packs_epi16(_mm_packs_epi32(r[0], r[1]), _mm_packs_epi32(r[2], r[3])));
        }
    }
};
#endif

#if defined(__AVX2__) || defined(VELMOR_AVX2_TARGET)
struct Avx2Ops
{
    using V = __m256i;
    static const int kLanes = 32 / (int)sizeof(wchar_t);
    static const int kBlocks = 2;
    static V Load(const wchar_t* p) { return _mm256_loadu_si256((const __m256i*)p); }
    static V Splat(wchar_t c)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm256_set1_epi16((short)c);
        else
            return _mm256_set1_epi32((int)c);
    }
    static V Equal(V a, V b)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm256_cmpeq_epi16(a, b);
        else
            return _mm256_cmpeq_epi32(a, b);
    }
    static V And(V a, V b) { return _mm256_and_si256(a, b); }
    static V Or(V a, V b) { return _mm256_or_si256(a, b); }
    static V Zero() { return _mm256_setzero_si256(); }
    static V Not(V a) { return _mm256_andnot_si256(a, _mm256_set1_epi32(-1)); }
    static bool NonZero(V a) { return !_mm256_testz_si256(a, a); }
    static uint32_t Bits(const V* r)
    {
        if constexpr (sizeof(wchar_t) == 2) {
            // The packing works within each half: the quarters are put
            // back in column order.
            const V packed = _mm256_permute4x64_epi64(_mm256_packs_epi16(r[0], r[1]), 0xD8);
            return (uint32_t)_mm256_movemask_epi8(packed);
        } else {
            return (uint32_t)_mm256_movemask_ps(_mm256_castsi256_ps(r[0])) |
                   (uint32_t)_mm256_movemask_ps(_mm256_castsi256_ps(r[1])) << 8;
        }
    }
};
#endif

// The filter in vector form, for one choice of how characters are compared
// (a separate loop for each, so that no choice is made per line).
template <class Ops, bool Fold, bool Wide, bool Mid>
class VectorFilter
{
public:
    using V = typename Ops::V;
    static const int kLanes = Ops::kLanes;
    static const int kFast = Ops::kBlocks * kLanes; // positions of the many-block test

    explicit VectorFilter(const LineFilter& f) : m_filter(f), m_wlen(f.Length()), m_nMid(f.Mid())
    {
        m_first = Ops::Splat(f.FirstChar());
        m_mid = Ops::Splat(f.MidChar());
        m_last = Ops::Splat(f.LastChar());
        m_fold = Ops::Splat(0x20);
        m_wide = Ops::Splat((wchar_t)~(wchar_t)0x7F); // the bits above 0x7F
    }

    bool MayHold(const CString& line) const
    {
        const int positions = line.GetLength() - m_wlen + 1; // columns where what could start
        if (positions <= 0)
            return false;
        const wchar_t* p = line.GetString();
#if VELMOR_SEARCH_OVERREAD
        // Most lines: the blocks at once, read past the line's end within
        // the page that holds the end of the last (a page is readable as a
        // whole), the columns past the last one dropped. The blocks' lanes
        // are packed into one bit per column, and no decision is taken
        // between them, so no branch is mispredicted.
        const wchar_t* q = p + m_wlen - 1; // the last character at each position
        const uintptr_t reach = (uintptr_t)(q + kFast) - 1;
        if ((reach & ~(uintptr_t)4095) == ((uintptr_t)q & ~(uintptr_t)4095)) {
            uint32_t hits = Hits(p);
            if (positions < kFast)
                return (hits & ((1u << positions) - 1)) != 0;
            if (hits)
                return true;
            if (positions == kFast)
                return false;
            // A longer line: the rest as below, the blocks done skipped.
            return Rest(p + kFast, positions - kFast);
        }
#endif
        if (positions >= kLanes)
            return Rest(p, positions);
        return m_filter.MayHoldAt(p, positions);
    }

private:
    // Lanes of ones where v's characters equal c, bit 0x20 aside ignoring
    // case (c has it set).
    V Matches(V v, V c) const { return Ops::Equal(Fold ? Ops::Or(v, m_fold) : v, c); }
    // The same for a later character of what, non-ASCII characters passing
    // too when bWide.
    V Later(V v, V c, bool bWide) const
    {
        const V m = Matches(v, c);
        if (!bWide)
            return m;
        return Ops::Or(m, Ops::Not(Ops::Equal(Ops::And(v, m_wide), Ops::Zero())));
    }

    // Which of the positions from a (a vector's worth) pass, as lanes of
    // ones; any gets the later characters read, for the test of non-ASCII
    // ones.
    V Block(const wchar_t* a, bool bWide, V& any) const
    {
        const V vb = Ops::Load(a + m_wlen - 1);
        V pass = Ops::And(Matches(Ops::Load(a), m_first), Later(vb, m_last, bWide));
        any = Ops::Or(any, vb);
        if (Mid) {
            const V vm = Ops::Load(a + m_nMid);
            pass = Ops::And(pass, Later(vm, m_mid, bWide));
            any = Ops::Or(any, vm);
        }
        return pass;
    }

    // The blocks from p, a bit per position. Non-ASCII characters are rare
    // in scripts: the blocks are first tested as if there were none, and
    // again with them when one of the characters read is.
    uint32_t Hits(const wchar_t* p) const
    {
        V any = Ops::Zero();
        uint32_t hits = Hits(p, false, any);
        if (Wide && Ops::NonZero(Ops::And(any, m_wide)))
            hits = Hits(p, true, any);
        return hits;
    }
    uint32_t Hits(const wchar_t* p, bool bWide, V& any) const
    {
        V r[Ops::kBlocks];
        for (int k = 0; k < Ops::kBlocks; ++k)
            r[k] = Block(p + k * kLanes, bWide, any);
        return Ops::Bits(r);
    }

    // Whether one of positions (at least a vector's worth) columns passes:
    // the blocks' results are gathered and looked at once.
    bool Rest(const wchar_t* p, int positions) const
    {
        if (positions < kLanes) {
            // (Only after the blocks: back up to a whole block.)
            p -= kLanes - positions;
            positions = kLanes;
        }
        const int lastBlock = positions - kLanes; // overlaps the one before
        V pass = Ops::Zero(), any = Ops::Zero();
        for (int i = 0; i < lastBlock; i += kLanes)
            pass = Ops::Or(pass, Block(p + i, Wide, any));
        pass = Ops::Or(pass, Block(p + lastBlock, Wide, any));
        return Ops::NonZero(pass);
    }

    const LineFilter& m_filter;
    int m_wlen, m_nMid;
    V m_first, m_mid, m_last, m_fold, m_wide;
};

// The scan of lines[line] .. lines[nEnd - 1], from column nPos in the
// first, with test(line) passing over lines that cannot hold what.
template <class Test>
int ScanLines(const CString* lines, int line, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
              int& nCol, const Test& test)
{
    // (Sixteen lines ahead: a search that finds nothing in 10 MiB took
    // 2.5-2.6 ms so, 3.8-4.2 ms without; eight and thirty-two did no better.)
    const int kAhead = 16;
    const int nFirst = line;
    for (; line < nEnd; ++line) {
        // Lines live in blocks of their own: the one some lines ahead is
        // fetched while this one is searched, so the scan waits on memory
        // once, not once a line (its length stands just before its text).
        if (line + kAhead < nEnd) {
            const char* ahead = (const char*)lines[line + kAhead].GetString();
            __builtin_prefetch(ahead - 8);
            __builtin_prefetch(ahead + 56);
        }
        const int from = line == nFirst ? nPos : 0;
        if (from == 0 && !test(lines[line]))
            continue;
        const int col = SearchLine(lines[line], what, from, flags);
        if (col >= 0) {
            nCol = col;
            return line;
        }
    }
    return nEnd;
}


// The scan with the vector filter of Ops (filter usable).
template <class Ops, bool Fold, bool Wide, bool Mid>
int ScanFiltered(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
                 int& nCol, const LineFilter& filter)
{
    const VectorFilter<Ops, Fold, Wide, Mid> vf(filter);
    return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol,
                     [&vf](const CString& line) { return vf.MayHold(line); });
}

template <class Ops>
int ScanFilteredWith(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
                     int& nCol, const LineFilter& filter)
{
    // (Ignoring case, what of two characters or more tests non-ASCII ones.)
    const bool bMid = filter.Mid() != 0;
    if (!filter.Fold())
        return bMid ? ScanFiltered<Ops, false, false, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter)
                    : ScanFiltered<Ops, false, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    if (!filter.Wide())
        return ScanFiltered<Ops, true, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    return bMid ? ScanFiltered<Ops, true, true, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter)
                : ScanFiltered<Ops, true, true, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
}

} // namespace

// The many-line search with the AVX2 filter (TextSearchAvx2.cpp), for a
// usable filter; only on a processor that has AVX2.
int SearchLinesForwardAvx2(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                           unsigned short flags, int& nCol);

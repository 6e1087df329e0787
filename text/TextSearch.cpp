#include "TextSearch.h"
#include "TextWalk.h"
#include <cwchar>
#include <cwctype>
#include <cstdint>
#ifdef __SSE2__
#include <emmintrin.h>
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

int AFXAPI ReverseFind(const wchar_t* str, const wchar_t* what, int n)
{
    if (!str || !what || !*what)
        return -1;
    const int len = (int)std::wcslen(str);
    const int wlen = (int)std::wcslen(what);
    if (n <= 0 || n > len)
        n = n == 0 ? len : (n > len ? len : 0);
    for (int i = n - 1; i >= 0; --i) {
        if (i + wlen > len)
            continue;
        int k = 0;
        while (k < wlen && str[i + k] == what[k])
            ++k;
        if (k == wlen)
            return i;
    }
    return -1;
}

namespace {

inline wchar_t Upper(wchar_t c)
{
    if (c < 0x80)
        return c >= L'a' && c <= L'z' ? (wchar_t)(c - (L'a' - L'A')) : c;
    return (wchar_t)towupper((wint_t)c);
}

// The first occurrence at or after nFrom of what in the line as it reads in
// upper case (what is compared as given), without making that copy.
int FindUpper(const CString& line, const wchar_t* what, int nFrom)
{
    const int len = line.GetLength();
    const int wlen = (int)std::wcslen(what);
    if (nFrom < 0 || nFrom > len || wlen == 0)
        return -1;
    const wchar_t* p = line.GetString();
    const wchar_t w0 = what[0];
    // An ASCII letter may stand in either case; other ASCII only as itself.
    const wchar_t w0low = w0 >= L'A' && w0 <= L'Z' ? (wchar_t)(w0 + (L'a' - L'A')) : w0;
    const bool w0ascii = w0 < 0x80;
    for (int i = nFrom; i + wlen <= len; ++i) {
        if (w0ascii) {
            // Only the character itself or its lower case can start a
            // match: skipped to at once, eight units at a time.
            const wchar_t* hit = AfxFindEither(p + i, (size_t)(len - wlen + 1 - i), w0, w0low);
            if (!hit)
                return -1;
            i = (int)(hit - p);
        }
        const wchar_t c = p[i];
        if (c != w0 && c != w0low && (w0ascii || c < 0x80))
            continue;
        if (Upper(c) != w0)
            continue;
        int k = 1;
        while (k < wlen && Upper(p[i + k]) == what[k])
            ++k;
        if (k == wlen)
            return i;
    }
    return -1;
}

// Backwards and ignoring case: the line's upper-case copy, searched. The
// copy reuses one buffer per thread, so a search over many lines
// allocates nothing (and the thread-local lookup, costly in a DLL, is paid
// on this path only).
int ReverseFindUpper(const CString& line, const wchar_t* what, int nPos)
{
    thread_local CString upper;
    upper.SetString(line.GetString(), line.GetLength());
    upper.MakeUpper();
    return ReverseFind(upper.GetString(), what, nPos);
}

} // namespace

int AFXAPI SearchLine(const CString& line, const wchar_t* what, int nPos, unsigned short flags)
{
    if (!what)
        return -1;
    // Ignoring case, the line is compared in upper case: forwards on the
    // fly, backwards on a copy.
    const bool bUpper = !(flags & VELMOR_FIND_MATCHCASE);
    const bool bBack = (flags & VELMOR_FIND_BACKWARDS) != 0;
    int col;
    if (bBack)
        col = bUpper ? ReverseFindUpper(line, what, nPos) : ReverseFind(line.GetString(), what, nPos);
    else if (bUpper && *what)
        col = FindUpper(line, what, nPos);
    else
        col = line.Find(what, nPos);
    if (col <= 0 || !(flags & VELMOR_FIND_WHOLEWORD))
        return col;
    const int end = col + (int)std::wcslen(what);
    const bool before = IsWordChar(Upper(line[col - 1]));
    const bool after = end < line.GetLength() && IsWordChar(Upper(line[end]));
    return before || after ? -1 : col;
}

namespace {

// A quick test that lets through every line in which a forward search can
// find what from column 0: such a line has, at some column, a character
// that can match what's first one and, wlen - 1 further, one that can match
// its last. Which characters can: matching case, each only itself.
// Ignoring case, what's first character matches itself and, when it is an
// ASCII letter, the letter in the other case (non-ASCII characters never
// stand for an ASCII one there, see FindUpper); a later character of what
// matches the same in the line's upper-case reading, and also any
// non-ASCII character (whose upper case may be anything).
class LineFilter
{
public:
    LineFilter(const wchar_t* what, unsigned short flags)
    {
        m_wlen = (int)std::wcslen(what);
        if (m_wlen == 0 || (flags & VELMOR_FIND_BACKWARDS))
            return;
        const bool bUpper = !(flags & VELMOR_FIND_MATCHCASE);
        const wchar_t w0 = what[0], wl = what[m_wlen - 1];
        if (bUpper && (unsigned)w0 >= 0x80)
            return; // (not worth a filter)
        m_bFoldFirst = bUpper && IsAsciiLetter(w0);
        m_bFoldLast = bUpper && IsAsciiLetter(wl);
        m_first = m_bFoldFirst ? Lower(w0) : w0;
        m_last = m_bFoldLast ? Lower(wl) : wl;
        m_bLastWide = bUpper && m_wlen > 1;
        m_bUsable = true;
    }
    bool Usable() const { return m_bUsable; }
    int Length() const { return m_wlen; }
    bool FoldFirst() const { return m_bFoldFirst; }
    bool FoldLast() const { return m_bFoldLast; }
    bool LastWide() const { return m_bLastWide; }
    wchar_t FirstChar() const { return m_first; }
    wchar_t LastChar() const { return m_last; }

    // One column at a time (short lines, and builds without SSE2).
    bool MayHoldAt(const wchar_t* p, const wchar_t* q, int positions) const
    {
        for (int i = 0; i < positions; ++i)
            if (First(p[i]) && Last(q[i]))
                return true;
        return false;
    }

private:
    static bool IsAsciiLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }
    static wchar_t Lower(wchar_t c) { return c >= L'A' && c <= L'Z' ? (wchar_t)(c + (L'a' - L'A')) : c; }
    bool First(wchar_t c) const { return (m_bFoldFirst ? Lower(c) : c) == m_first; }
    bool Last(wchar_t c) const
    {
        return (m_bFoldLast ? Lower(c) : c) == m_last || (m_bLastWide && (unsigned)c >= 0x80);
    }

    int m_wlen = 0;
    bool m_bUsable = false;
    bool m_bFoldFirst = false, m_bFoldLast = false, m_bLastWide = false;
    wchar_t m_first = 0, m_last = 0;
};

#ifdef __SSE2__
// The filter in vector form, for one choice of how the first and the last
// character are compared (a separate loop for each, so that no choice is
// made per line). An ASCII letter is compared in lower case: the letter
// with bit 0x20 set, which only its two cases give.
template <bool FoldFirst, bool FoldLast, bool Wide>
class VectorFilter
{
public:
    static const int kLanes = 16 / (int)sizeof(wchar_t);
    static const int kFast = 4 * kLanes; // positions of the four-block test

    explicit VectorFilter(const LineFilter& f) : m_filter(f), m_wlen(f.Length())
    {
        if constexpr (sizeof(wchar_t) == 2) {
            m_first = _mm_set1_epi16((short)f.FirstChar());
            m_last = _mm_set1_epi16((short)f.LastChar());
            m_fold = _mm_set1_epi16(0x20);
            m_wide = _mm_set1_epi16((short)0xFF80); // the bits above 0x7F
        } else {
            m_first = _mm_set1_epi32((int)f.FirstChar());
            m_last = _mm_set1_epi32((int)f.LastChar());
            m_fold = _mm_set1_epi32(0x20);
            m_wide = _mm_set1_epi32((int)0xFFFFFF80u);
        }
    }

    bool MayHold(const CString& line) const
    {
        const int positions = line.GetLength() - m_wlen + 1; // columns where what could start
        if (positions <= 0)
            return false;
        const wchar_t* p = line.GetString();
        const wchar_t* q = p + m_wlen - 1; // the last character at each of them
#if VELMOR_SEARCH_OVERREAD
        // Most lines: four blocks at once, read past the line's end within
        // the page that holds the end of the last (a page is readable as a
        // whole), the columns past the last one dropped. The blocks' lanes
        // are packed into one bit per column, and no decision is taken
        // between them, so no branch is mispredicted.
        const uintptr_t reach = (uintptr_t)(q + kFast) - 1;
        if ((reach & ~(uintptr_t)4095) == ((uintptr_t)q & ~(uintptr_t)4095)) {
            uint32_t hits = Hits(p, q);
            if (positions < kFast)
                return (hits & ((1u << positions) - 1)) != 0;
            if (hits)
                return true;
            if (positions == kFast)
                return false;
            // A longer line: the rest as below, the blocks done skipped.
            return Rest(p + kFast, q + kFast, positions - kFast);
        }
#endif
        if (positions >= kLanes)
            return Rest(p, q, positions);
        return m_filter.MayHoldAt(p, q, positions);
    }

private:
    static __m128i Equal(__m128i a, __m128i b)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm_cmpeq_epi16(a, b);
        else
            return _mm_cmpeq_epi32(a, b);
    }

    // Which of the positions a vector holds pass (lanes of ones), for the
    // first characters at a and the last at b.
    __m128i Block(const wchar_t* a, const wchar_t* b) const
    {
        __m128i va = _mm_loadu_si128((const __m128i*)a);
        const __m128i vb = _mm_loadu_si128((const __m128i*)b);
        if (FoldFirst)
            va = _mm_or_si128(va, m_fold);
        const __m128i first = Equal(va, m_first);
        const __m128i last = Equal(FoldLast ? _mm_or_si128(vb, m_fold) : vb, m_last);
        if (!Wide)
            return _mm_and_si128(first, last);
        // Passing unless ASCII and not what's last character.
        const __m128i ascii = Equal(_mm_and_si128(vb, m_wide), _mm_setzero_si128());
        return _mm_andnot_si128(_mm_andnot_si128(last, ascii), first);
    }

    // The four blocks from p and q, a bit per position.
    uint32_t Hits(const wchar_t* p, const wchar_t* q) const
    {
        const __m128i r0 = Block(p, q), r1 = Block(p + kLanes, q + kLanes);
        const __m128i r2 = Block(p + 2 * kLanes, q + 2 * kLanes), r3 = Block(p + 3 * kLanes, q + 3 * kLanes);
        if constexpr (sizeof(wchar_t) == 2) {
            return (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r0, r1)) |
                   (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r2, r3)) << 16;
        } else {
            return (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(_mm_packs_epi32(r0, r1), _mm_packs_epi32(r2, r3)));
        }
    }

    // Whether one of positions (at least a vector's worth) columns passes:
    // the blocks' results are gathered and looked at once.
    bool Rest(const wchar_t* p, const wchar_t* q, int positions) const
    {
        if (positions < kLanes) {
            // (Only after the four blocks: back up to a whole block.)
            p -= kLanes - positions;
            q -= kLanes - positions;
            positions = kLanes;
        }
        const int lastBlock = positions - kLanes; // overlaps the one before
        __m128i any = _mm_setzero_si128();
        for (int i = 0; i < lastBlock; i += kLanes)
            any = _mm_or_si128(any, Block(p + i, q + i));
        any = _mm_or_si128(any, Block(p + lastBlock, q + lastBlock));
        return _mm_movemask_epi8(any) != 0;
    }

    const LineFilter& m_filter;
    int m_wlen;
    __m128i m_first, m_last, m_fold, m_wide;
};
#endif

// The scan of lines[line] .. lines[nEnd - 1], from column nPos in the
// first, with test(line) passing over lines that cannot hold what.
template <class Test>
int ScanLines(const CString* lines, int line, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
              int& nCol, const Test& test)
{
    const int kAhead = 0;
    const int nFirst = line;
    for (; line < nEnd; ++line) {
        // Lines live in blocks of their own: the one a few lines ahead is
        // fetched while this one is searched, so the scan waits on memory
        // once, not once a line (its length stands just before its text).
        if (kAhead && line + kAhead < nEnd) {
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

#ifdef __SSE2__
template <bool FoldFirst, bool FoldLast, bool Wide>
int ScanFiltered(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
                 int& nCol, const LineFilter& filter)
{
    const VectorFilter<FoldFirst, FoldLast, Wide> vf(filter);
    return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol,
                     [&vf](const CString& line) { return vf.MayHold(line); });
}
#endif

} // namespace

int AFXAPI SearchLinesForward(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                              unsigned short flags, int& nCol)
{
    nCol = -1;
    if (!what || nFirst >= nEnd)
        return nEnd;
    const LineFilter filter(what, flags);
    if (!filter.Usable())
        return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol, [](const CString&) { return true; });
#ifdef __SSE2__
    switch ((filter.FoldFirst() ? 4 : 0) | (filter.FoldLast() ? 2 : 0) | (filter.LastWide() ? 1 : 0)) {
    case 0: return ScanFiltered<false, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 1: return ScanFiltered<false, false, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 2: return ScanFiltered<false, true, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 3: return ScanFiltered<false, true, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 4: return ScanFiltered<true, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 5: return ScanFiltered<true, false, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    case 6: return ScanFiltered<true, true, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    default: return ScanFiltered<true, true, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    }
#else
    return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol, [&filter](const CString& line) {
        const int positions = line.GetLength() - filter.Length() + 1;
        const wchar_t* p = line.GetString();
        return positions > 0 && filter.MayHoldAt(p, p + filter.Length() - 1, positions);
    });
#endif
}

CString AFXAPI LineCommentOut(const CString& line)
{
    const int len = line.GetLength();
    int k = 0;
    while (k < len && (line[k] == L' ' || line[k] == L'\t'))
        ++k;
    // Made in one buffer: the blanks but the last, the marker, the rest.
    const int keep = k > 0 ? k - 1 : 0;
    CString out;
    out.Preallocate(len + 2);
    out.SetString(line.GetString(), keep);
    out.Append(L"//", 2);
    out.Append(line.GetString() + keep, len - keep);
    return out;
}

CString AFXAPI LineUncomment(const CString& line, int nFrom)
{
    const int at = line.Find(L"//", nFrom < 0 ? 0 : nFrom);
    if (at < 0)
        return line;
    CString out = line;
    out.Delete(at, 2);
    return out;
}

int AFXAPI FirstOf(const CString& line, wchar_t ch)
{
    return line.Find(ch);
}

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

#ifdef __SSE2__
// The filter in vector form, for one choice of how characters are compared
// (a separate loop for each, so that no choice is made per line).
template <bool Fold, bool Wide, bool Mid>
class VectorFilter
{
public:
    static const int kLanes = 16 / (int)sizeof(wchar_t);
    static const int kFast = 4 * kLanes; // positions of the four-block test

    explicit VectorFilter(const LineFilter& f) : m_filter(f), m_wlen(f.Length()), m_nMid(f.Mid())
    {
        m_first = Splat(f.FirstChar());
        m_mid = Splat(f.MidChar());
        m_last = Splat(f.LastChar());
        m_fold = Splat(0x20);
        m_wide = Splat((wchar_t)~(wchar_t)0x7F); // the bits above 0x7F
    }

    bool MayHold(const CString& line) const
    {
        const int positions = line.GetLength() - m_wlen + 1; // columns where what could start
        if (positions <= 0)
            return false;
        const wchar_t* p = line.GetString();
#if VELMOR_SEARCH_OVERREAD
        // Most lines: four blocks at once, read past the line's end within
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
    static __m128i Splat(wchar_t c)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm_set1_epi16((short)c);
        else
            return _mm_set1_epi32((int)c);
    }
    static __m128i Equal(__m128i a, __m128i b)
    {
        if constexpr (sizeof(wchar_t) == 2)
            return _mm_cmpeq_epi16(a, b);
        else
            return _mm_cmpeq_epi32(a, b);
    }
    static __m128i Load(const wchar_t* p) { return _mm_loadu_si128((const __m128i*)p); }

    // Lanes of ones where v's characters equal c, bit 0x20 aside ignoring
    // case (c has it set).
    __m128i Matches(__m128i v, __m128i c) const { return Equal(Fold ? _mm_or_si128(v, m_fold) : v, c); }
    // The same for a later character of what, non-ASCII characters passing
    // too when bWide.
    __m128i Later(__m128i v, __m128i c, bool bWide) const
    {
        const __m128i m = Matches(v, c);
        if (!bWide)
            return m;
        return _mm_or_si128(m, _mm_andnot_si128(Equal(_mm_and_si128(v, m_wide), _mm_setzero_si128()),
                                                _mm_set1_epi32(-1)));
    }

    // Which of the positions from a (a vector's worth) pass, as lanes of
    // ones; any gets the later characters read, for the test of non-ASCII
    // ones.
    __m128i Block(const wchar_t* a, bool bWide, __m128i& any) const
    {
        const __m128i vb = Load(a + m_wlen - 1);
        __m128i pass = _mm_and_si128(Matches(Load(a), m_first), Later(vb, m_last, bWide));
        any = _mm_or_si128(any, vb);
        if (Mid) {
            const __m128i vm = Load(a + m_nMid);
            pass = _mm_and_si128(pass, Later(vm, m_mid, bWide));
            any = _mm_or_si128(any, vm);
        }
        return pass;
    }

    // The four blocks from p, a bit per position. Non-ASCII characters are
    // rare in scripts: the blocks are first tested as if there were none,
    // and again with them when one of the characters read is.
    uint32_t Hits(const wchar_t* p) const
    {
        __m128i any = _mm_setzero_si128();
        uint32_t hits = Hits(p, false, any);
        if (Wide && _mm_movemask_epi8(Equal(_mm_and_si128(any, m_wide), _mm_setzero_si128())) != 0xFFFF)
            hits = Hits(p, true, any);
        return hits;
    }
    uint32_t Hits(const wchar_t* p, bool bWide, __m128i& any) const
    {
        const __m128i r0 = Block(p, bWide, any), r1 = Block(p + kLanes, bWide, any);
        const __m128i r2 = Block(p + 2 * kLanes, bWide, any), r3 = Block(p + 3 * kLanes, bWide, any);
        if constexpr (sizeof(wchar_t) == 2) {
            return (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r0, r1)) |
                   (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(r2, r3)) << 16;
        } else {
            return (uint32_t)_mm_movemask_epi8(_mm_packs_epi16(_mm_packs_epi32(r0, r1), _mm_packs_epi32(r2, r3)));
        }
    }

    // Whether one of positions (at least a vector's worth) columns passes:
    // the blocks' results are gathered and looked at once.
    bool Rest(const wchar_t* p, int positions) const
    {
        if (positions < kLanes) {
            // (Only after the four blocks: back up to a whole block.)
            p -= kLanes - positions;
            positions = kLanes;
        }
        const int lastBlock = positions - kLanes; // overlaps the one before
        __m128i pass = _mm_setzero_si128(), any = _mm_setzero_si128();
        for (int i = 0; i < lastBlock; i += kLanes)
            pass = _mm_or_si128(pass, Block(p + i, Wide, any));
        pass = _mm_or_si128(pass, Block(p + lastBlock, Wide, any));
        return _mm_movemask_epi8(pass) != 0;
    }

    const LineFilter& m_filter;
    int m_wlen, m_nMid;
    __m128i m_first, m_mid, m_last, m_fold, m_wide;
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
template <bool Fold, bool Wide, bool Mid>
int ScanFiltered(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
                 int& nCol, const LineFilter& filter)
{
    const VectorFilter<Fold, Wide, Mid> vf(filter);
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
    // (Ignoring case, what of two characters or more tests non-ASCII ones.)
    const bool bMid = filter.Mid() != 0;
    if (!filter.Fold())
        return bMid ? ScanFiltered<false, false, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter)
                    : ScanFiltered<false, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    if (!filter.Wide())
        return ScanFiltered<true, false, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
    return bMid ? ScanFiltered<true, true, true>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter)
                : ScanFiltered<true, true, false>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
#else
    return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol, [&filter](const CString& line) {
        const int positions = line.GetLength() - filter.Length() + 1;
        return positions > 0 && filter.MayHoldAt(line.GetString(), positions);
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

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
// its last. Which characters can: ignoring case, the first character of
// what matches only itself and its lower case (non-ASCII characters never
// stand for an ASCII one there, see FindUpper); a later character of what
// matches, in the line's upper-case reading, itself, its lower case, and
// possibly any non-ASCII character (whose upper case may be anything).
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
        m_f1 = w0;
        m_f2 = bUpper ? Lower(w0) : w0;
        m_l1 = wl;
        m_l2 = bUpper ? Lower(wl) : wl;
        m_bLastWide = bUpper && m_wlen > 1;
        m_bUsable = true;
#ifdef __SSE2__
        MakeVectors();
#endif
    }
    bool Usable() const { return m_bUsable; }

    bool MayHold(const CString& line) const
    {
        const int len = line.GetLength();
        const int positions = len - m_wlen + 1; // columns where what could start
        if (positions <= 0)
            return false;
        const wchar_t* p = line.GetString();
        const wchar_t* q = p + m_wlen - 1;      // the last character at each of them
#ifdef __SSE2__
        const int lanes = 16 / (int)sizeof(wchar_t);
#if VELMOR_SEARCH_OVERREAD
        // Most lines: four blocks at once, read past the line's end within
        // the page that holds the end of the last (a page is readable as a
        // whole), the columns past the last one dropped. No decision is
        // taken between the blocks, so no branch is mispredicted.
        const uintptr_t reach = (uintptr_t)(q + 4 * lanes) - 1;
        if ((reach & ~(uintptr_t)4095) == ((uintptr_t)q & ~(uintptr_t)4095)) {
            uint64_t hits = 0;
            for (int k = 0; k < 4; ++k)
                hits |= (uint64_t)(unsigned)_mm_movemask_epi8(Block(p + k * lanes, q + k * lanes)) << (16 * k);
            const int bytes = positions * (int)sizeof(wchar_t);
            if (bytes < 64)
                return (hits & ((1ULL << bytes) - 1)) != 0;
            if (hits)
                return true;
            if (positions == 4 * lanes)
                return false;
            // A longer line: the rest as below, the blocks done skipped.
            p += 4 * lanes;
            q += 4 * lanes;
            return Rest(p, q, positions - 4 * lanes);
        }
#endif
        if (positions >= lanes)
            return Rest(p, q, positions);
#endif
        for (int i = 0; i < positions; ++i)
            if (First(p[i]) && Last(q[i]))
                return true;
        return false;
    }

private:
#ifdef __SSE2__
    // Whether one of positions (at least a vector's worth) columns passes:
    // the blocks' results are gathered and looked at once.
    bool Rest(const wchar_t* p, const wchar_t* q, int positions) const
    {
        const int lanes = 16 / (int)sizeof(wchar_t);
        if (positions < lanes) {
            // (Only after the four blocks: back up to a whole block.)
            p -= lanes - positions;
            q -= lanes - positions;
            positions = lanes;
        }
        const int lastBlock = positions - lanes; // overlaps the one before
        __m128i any = _mm_setzero_si128();
        for (int i = 0; i < lastBlock; i += lanes)
            any = _mm_or_si128(any, Block(p + i, q + i));
        any = _mm_or_si128(any, Block(p + lastBlock, q + lastBlock));
        return _mm_movemask_epi8(any) != 0;
    }
#endif
    static wchar_t Lower(wchar_t c) { return c >= L'A' && c <= L'Z' ? (wchar_t)(c + (L'a' - L'A')) : c; }
    bool First(wchar_t c) const { return c == m_f1 || c == m_f2; }
    bool Last(wchar_t c) const { return c == m_l1 || c == m_l2 || (m_bLastWide && (unsigned)c >= 0x80); }

#ifdef __SSE2__
    // Which of the positions a vector holds pass (lanes of ones), for the
    // first characters at a and the last at b.
    __m128i Block(const wchar_t* a, const wchar_t* b) const
    {
        const __m128i va = _mm_loadu_si128((const __m128i*)a), vb = _mm_loadu_si128((const __m128i*)b);
        __m128i first, last;
        if constexpr (sizeof(wchar_t) == 2) {
            first = _mm_or_si128(_mm_cmpeq_epi16(va, m_vf1), _mm_cmpeq_epi16(va, m_vf2));
            last = _mm_or_si128(_mm_cmpeq_epi16(vb, m_vl1), _mm_cmpeq_epi16(vb, m_vl2));
            if (m_bLastWide) // any unit at or above 0x80: not one whose high bits are all clear
                last = _mm_or_si128(last, _mm_andnot_si128(_mm_cmpeq_epi16(_mm_and_si128(vb, m_vWide), _mm_setzero_si128()),
                                                           _mm_set1_epi32(-1)));
        } else {
            first = _mm_or_si128(_mm_cmpeq_epi32(va, m_vf1), _mm_cmpeq_epi32(va, m_vf2));
            last = _mm_or_si128(_mm_cmpeq_epi32(vb, m_vl1), _mm_cmpeq_epi32(vb, m_vl2));
            if (m_bLastWide)
                last = _mm_or_si128(last, _mm_andnot_si128(_mm_cmpeq_epi32(_mm_and_si128(vb, m_vWide), _mm_setzero_si128()),
                                                           _mm_set1_epi32(-1)));
        }
        return _mm_and_si128(first, last);
    }
    void MakeVectors()
    {
        if constexpr (sizeof(wchar_t) == 2) {
            m_vf1 = _mm_set1_epi16((short)m_f1);
            m_vf2 = _mm_set1_epi16((short)m_f2);
            m_vl1 = _mm_set1_epi16((short)m_l1);
            m_vl2 = _mm_set1_epi16((short)m_l2);
            m_vWide = _mm_set1_epi16((short)0xFF80); // the bits above 0x7F
        } else {
            m_vf1 = _mm_set1_epi32((int)m_f1);
            m_vf2 = _mm_set1_epi32((int)m_f2);
            m_vl1 = _mm_set1_epi32((int)m_l1);
            m_vl2 = _mm_set1_epi32((int)m_l2);
            m_vWide = _mm_set1_epi32((int)0xFFFFFF80u);
        }
    }
    __m128i m_vf1, m_vf2, m_vl1, m_vl2, m_vWide;
#endif

    int m_wlen = 0;
    bool m_bUsable = false;
    wchar_t m_f1 = 0, m_f2 = 0, m_l1 = 0, m_l2 = 0;
    bool m_bLastWide = false;
};

} // namespace

int AFXAPI SearchLinesForward(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                              unsigned short flags, int& nCol)
{
    nCol = -1;
    if (!what || nFirst >= nEnd)
        return nEnd;
    const LineFilter filter(what, flags);
    const int kAhead = 64;
    for (int line = nFirst; line < nEnd; ++line) {
        // Lines live in blocks of their own: the one a few lines ahead is
        // fetched while this one is searched, so the scan waits on memory
        // once, not once a line (its length stands just before its text).
        if (kAhead && line + kAhead < nEnd) {
            const char* ahead = (const char*)lines[line + kAhead].GetString();
            __builtin_prefetch(ahead - 8);
            __builtin_prefetch(ahead + 56);
        }
        const int from = line == nFirst ? nPos : 0;
        if (from == 0 && filter.Usable() && !filter.MayHold(lines[line]))
            continue;
        const int col = SearchLine(lines[line], what, from, flags);
        if (col >= 0) {
            nCol = col;
            return line;
        }
    }
    return nEnd;
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

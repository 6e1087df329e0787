#include "TextSearch.h"
#include "SearchFilter.h"
#include "TextSearchIsa.h"
#include "TextWalk.h"
#include <cwchar>
#include <cwctype>
#include <cstdint>

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

bool SearchUsesAvx2()
{
#if VELMOR_SEARCH_AVX2
    // (The processor and the system both: the flag is set only when the
    // system saves the 256-bit registers.)
    static const bool bAvx2 = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return bAvx2;
#else
    return false;
#endif
}

int SearchLinesForwardWith(bool bAvx2, const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                           unsigned short flags, int& nCol)
{
    nCol = -1;
    if (!what || nFirst >= nEnd)
        return nEnd;
    const LineFilter filter(what, flags);
    if (!filter.Usable())
        return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol, [](const CString&) { return true; });
#if VELMOR_SEARCH_AVX2
    if (bAvx2)
        return SearchLinesForwardAvx2(lines, nFirst, nEnd, what, nPos, flags, nCol);
#endif
#ifdef __SSE2__
    return ScanFilteredWith<Sse2Ops>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
#else
    return ScanLines(lines, nFirst, nEnd, what, nPos, flags, nCol, [&filter](const CString& line) {
        const int positions = line.GetLength() - filter.Length() + 1;
        return positions > 0 && filter.MayHoldAt(line.GetString(), positions);
    });
#endif
}

int AFXAPI SearchLinesForward(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                              unsigned short flags, int& nCol)
{
    return SearchLinesForwardWith(SearchUsesAvx2(), lines, nFirst, nEnd, what, nPos, flags, nCol);
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

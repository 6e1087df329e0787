#include "TextSearch.h"
#include "TextWalk.h"
#include <cwchar>

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

int AFXAPI SearchLine(const CString& line, const wchar_t* what, int nPos, unsigned short flags)
{
    if (!what || !*what)
        return -1;
    CString text = line;
    if (!(flags & VELMOR_FIND_MATCHCASE))
        text.MakeUpper();
    const int col = (flags & VELMOR_FIND_BACKWARDS) ? ReverseFind(text.GetString(), what, nPos) : text.Find(what, nPos);
    if (col <= 0 || !(flags & VELMOR_FIND_WHOLEWORD))
        return col;
    const int end = col + (int)std::wcslen(what);
    const bool before = IsWordChar(text[col - 1]);
    const bool after = end < text.GetLength() && IsWordChar(text[end]);
    return before || after ? -1 : col;
}

CString AFXAPI LineCommentOut(const CString& line)
{
    const int len = line.GetLength();
    int k = 0;
    while (k < len && (line[k] == L' ' || line[k] == L'\t'))
        ++k;
    return line.Left(k - 1) + L"//" + line.Mid(k > 0 ? k - 1 : 0);
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

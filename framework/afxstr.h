// CString: the framework's string of wide characters (UTF-16 on Windows).
// Indices are character (code unit) positions; out-of-range arguments to
// Left/Mid/Right/Insert/Delete are clamped as the framework does, while
// GetAt/SetAt/operator[] outside the string raise the invalid-argument
// exception.
#pragma once
#include "afxtempl.h"
#include <string>
#include <cstdarg>

class AFX_EXT_CLASS CString
{
public:
    CString() {}
    CString(const CString& s) = default;
    CString(CString&& s) noexcept = default;
    CString(const wchar_t* psz) { if (psz) m_str = psz; }
    CString(const wchar_t* pch, int nLength);
    CString(wchar_t ch, int nRepeat = 1) { if (nRepeat > 0) m_str.assign((size_t)nRepeat, ch); }
    CString& operator=(const CString& s) = default;
    CString& operator=(CString&& s) noexcept = default;
    CString& operator=(const wchar_t* psz) { if (psz) m_str = psz; else m_str.clear(); return *this; }
    CString& operator=(wchar_t ch) { m_str.assign(1, ch); return *this; }

    int GetLength() const { return (int)m_str.size(); }
    bool IsEmpty() const { return m_str.empty(); }
    void Empty() { m_str.clear(); }
    const wchar_t* GetString() const { return m_str.c_str(); }
    operator const wchar_t*() const { return m_str.c_str(); }
    // Replaces the contents with nLength characters from pch, reusing storage.
    void SetString(const wchar_t* pch, int nLength);

    wchar_t GetAt(int i) const;
    void SetAt(int i, wchar_t ch);
    wchar_t operator[](int i) const { return GetAt(i); }

    // Direct buffer access for APIs that write into the string.
    wchar_t* GetBuffer(int nMinBufLength = 0);
    wchar_t* GetBufferSetLength(int nNewLength);
    void ReleaseBuffer(int nNewLength = -1);
    void Preallocate(int nLength) { if (nLength > 0) m_str.reserve((size_t)nLength); }

    int Find(wchar_t ch, int iStart = 0) const;
    int Find(const wchar_t* pszSub, int iStart = 0) const;
    int ReverseFind(wchar_t ch) const;
    int FindOneOf(const wchar_t* pszCharSet) const;

    CString Left(int nCount) const;
    CString Mid(int iFirst) const;
    CString Mid(int iFirst, int nCount) const;
    CString Right(int nCount) const;
    CString SpanIncluding(const wchar_t* pszCharSet) const;
    CString SpanExcluding(const wchar_t* pszCharSet) const;

    int Insert(int iIndex, wchar_t ch);
    int Insert(int iIndex, const wchar_t* psz);
    int Delete(int iIndex, int nCount = 1);
    int Replace(wchar_t chOld, wchar_t chNew);
    int Replace(const wchar_t* pszOld, const wchar_t* pszNew);
    int Remove(wchar_t ch);

    CString& MakeUpper();
    CString& MakeLower();
    CString& MakeReverse();
    CString& Trim();
    CString& TrimLeft();
    CString& TrimRight();
    CString& TrimLeft(wchar_t ch);
    CString& TrimRight(wchar_t ch);

    // printf-style formatting. Use %ls for wide strings: it means the same
    // with every runtime the library is built with.
    void Format(const wchar_t* pszFormat, ...);
    void AppendFormat(const wchar_t* pszFormat, ...);
    void FormatV(const wchar_t* pszFormat, va_list args);
    void Append(const wchar_t* pch, int nLength) { if (pch && nLength > 0) m_str.append(pch, (size_t)nLength); }
    void AppendChar(wchar_t ch) { m_str.push_back(ch); }

    // Ordinal comparison by code unit.
    int Compare(const wchar_t* psz) const;
    int CompareNoCase(const wchar_t* psz) const;

    CString& operator+=(const CString& s) { m_str += s.m_str; return *this; }
    CString& operator+=(const wchar_t* psz) { if (psz) m_str += psz; return *this; }
    CString& operator+=(wchar_t ch) { m_str.push_back(ch); return *this; }

    friend CString operator+(const CString& a, const CString& b) { CString r(a); r += b; return r; }
    friend CString operator+(const CString& a, const wchar_t* b) { CString r(a); r += b; return r; }
    friend CString operator+(const wchar_t* a, const CString& b) { CString r(a); r += b; return r; }
    friend CString operator+(const CString& a, wchar_t b) { CString r(a); r += b; return r; }
    friend CString operator+(wchar_t a, const CString& b) { CString r(a); r += b; return r; }

    friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
    friend bool operator!=(const CString& a, const CString& b) { return a.m_str != b.m_str; }
    friend bool operator<(const CString& a, const CString& b) { return a.m_str < b.m_str; }
    friend bool operator>(const CString& a, const CString& b) { return a.m_str > b.m_str; }
    friend bool operator<=(const CString& a, const CString& b) { return a.m_str <= b.m_str; }
    friend bool operator>=(const CString& a, const CString& b) { return a.m_str >= b.m_str; }
    friend bool operator==(const CString& a, const wchar_t* b) { return a.Compare(b) == 0; }
    friend bool operator!=(const CString& a, const wchar_t* b) { return a.Compare(b) != 0; }
    friend bool operator==(const wchar_t* a, const CString& b) { return b.Compare(a) == 0; }
    friend bool operator!=(const wchar_t* a, const CString& b) { return b.Compare(a) != 0; }

private:
    std::wstring m_str;
};

class CStringArray : public CArray<CString, const CString&>
{
};

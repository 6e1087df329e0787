// CString: the framework's string of wide characters (UTF-16 on Windows).
// Indices are character (code unit) positions; out-of-range arguments to
// Left/Mid/Right/Insert/Delete are clamped as the framework does, while
// GetAt/SetAt/operator[] outside the string raise the invalid-argument
// exception.
#pragma once
#include "afxtempl.h"
#include <cstdarg>
#include <cstddef>

class AFX_EXT_CLASS CString
{
public:
    CString() noexcept : m_pch(nullptr) {}
    CString(const CString& s) : m_pch(nullptr) { SetString(s.m_pch, s.GetLength()); }
    CString(CString&& s) noexcept : m_pch(s.m_pch) { s.m_pch = nullptr; }
    CString(const wchar_t* psz);
    CString(const wchar_t* pch, int nLength) : m_pch(nullptr) { SetString(pch, nLength); }
    CString(wchar_t ch, int nRepeat = 1);
    ~CString() { Free(); }
    CString& operator=(const CString& s)
    {
        if (this != &s)
            SetString(s.m_pch, s.GetLength());
        return *this;
    }
    CString& operator=(CString&& s) noexcept
    {
        if (this != &s) {
            Free();
            m_pch = s.m_pch;
            s.m_pch = nullptr;
        }
        return *this;
    }
    CString& operator=(const wchar_t* psz);
    CString& operator=(wchar_t ch) { SetString(&ch, 1); return *this; }

    int GetLength() const noexcept { return m_pch ? Head()->nLength : 0; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    void Empty() { if (m_pch) SetLength(0); }
    const wchar_t* GetString() const noexcept { return m_pch ? m_pch : L""; }
    operator const wchar_t*() const noexcept { return GetString(); }
    // Replaces the contents with nLength characters from pch, reusing storage.
    void SetString(const wchar_t* pch, int nLength);

    wchar_t GetAt(int i) const;
    void SetAt(int i, wchar_t ch);
    wchar_t operator[](int i) const { return GetAt(i); }

    // Direct buffer access for APIs that write into the string.
    wchar_t* GetBuffer(int nMinBufLength = 0);
    wchar_t* GetBufferSetLength(int nNewLength);
    void ReleaseBuffer(int nNewLength = -1);
    void Preallocate(int nLength) { if (nLength > 0) Reserve(nLength); }

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
    void Append(const wchar_t* pch, int nLength);
    void AppendChar(wchar_t ch);

    // Ordinal comparison by code unit.
    int Compare(const wchar_t* psz) const;
    int CompareNoCase(const wchar_t* psz) const;

    CString& operator+=(const CString& s) { Append(s.m_pch, s.GetLength()); return *this; }
    CString& operator+=(const wchar_t* psz);
    CString& operator+=(wchar_t ch) { AppendChar(ch); return *this; }

    friend CString operator+(const CString& a, const CString& b) { CString r(a); r += b; return r; }
    friend CString operator+(const CString& a, const wchar_t* b) { CString r(a); r += b; return r; }
    friend CString operator+(const wchar_t* a, const CString& b) { CString r(a); r += b; return r; }
    friend CString operator+(const CString& a, wchar_t b) { CString r(a); r += b; return r; }
    friend CString operator+(wchar_t a, const CString& b) { CString r(a); r += b; return r; }

    friend bool operator==(const CString& a, const CString& b) noexcept { return Order(a, b) == 0; }
    friend bool operator!=(const CString& a, const CString& b) noexcept { return Order(a, b) != 0; }
    friend bool operator<(const CString& a, const CString& b) noexcept { return Order(a, b) < 0; }
    friend bool operator>(const CString& a, const CString& b) noexcept { return Order(a, b) > 0; }
    friend bool operator<=(const CString& a, const CString& b) noexcept { return Order(a, b) <= 0; }
    friend bool operator>=(const CString& a, const CString& b) noexcept { return Order(a, b) >= 0; }
    friend bool operator==(const CString& a, const wchar_t* b) { return a.Compare(b) == 0; }
    friend bool operator!=(const CString& a, const wchar_t* b) { return a.Compare(b) != 0; }
    friend bool operator==(const wchar_t* a, const CString& b) { return b.Compare(a) == 0; }
    friend bool operator!=(const wchar_t* a, const CString& b) { return b.Compare(a) != 0; }

private:
    // The characters live in one heap block behind a small header, and the
    // object itself is a single pointer (null for the empty string): a
    // document holds one CString per line, so every byte of the object and
    // of the block's overhead counts once per line. The characters are
    // followed by a terminating zero.
    struct Header
    {
        int nLength; // characters in use
        int nAlloc;  // characters the block has room for, the terminator not counted
    };
    Header* Head() const noexcept { return reinterpret_cast<Header*>(m_pch) - 1; }
    int Capacity() const noexcept { return m_pch ? Head()->nAlloc : 0; }
    // Room for at least nLength characters, keeping the contents.
    void Reserve(int nLength);
    void SetLength(int nLength) noexcept
    {
        Head()->nLength = nLength;
        m_pch[nLength] = 0;
    }
    // Replaces nCount characters at iIndex by nNew characters from pch (pch
    // may point into this string).
    void Splice(int iIndex, int nCount, const wchar_t* pch, int nNew);
    void Free() noexcept;
    static size_t BlockBytes(int nAlloc) noexcept;

    // Lexicographic order by code unit, then by length.
    static int Order(const CString& a, const CString& b) noexcept
    {
        const int na = a.GetLength(), nb = b.GetLength();
        const int n = na < nb ? na : nb;
        const wchar_t* pa = a.m_pch;
        const wchar_t* pb = b.m_pch;
        for (int i = 0; i < n; ++i)
            if (pa[i] != pb[i])
                return pa[i] < pb[i] ? -1 : 1;
        return na < nb ? -1 : (na > nb ? 1 : 0);
    }

    wchar_t* m_pch;
};

// Scans over wide-character text, several characters at a time (the C
// runtime's own scans test one character per step).
// The first of n characters at p equal to ch, or null.
AFX_EXT_API const wchar_t* AFXAPI AfxFindChar(const wchar_t* p, size_t n, wchar_t ch) noexcept;
// Asks the processor to fetch a string's characters (its first two cache
// lines) ahead of a scan that will read them.
inline void AfxPrefetchText(const CString& s) noexcept
{
    const char* p = (const char*)s.GetString();
    __builtin_prefetch(p);
    __builtin_prefetch(p + 64);
}
// The first of p[0..n) that is a or b, or null.
AFX_EXT_API const wchar_t* AFXAPI AfxFindEither(const wchar_t* p, size_t n, wchar_t a, wchar_t b) noexcept;
// The length of the zero-terminated text at p; *pnLineFeeds receives the
// number of line feeds (U+000A) in it.
AFX_EXT_API size_t AFXAPI AfxCountLineFeeds(const wchar_t* p, size_t* pnLineFeeds) noexcept;

class CStringArray : public CArray<CString, const CString&>
{
};

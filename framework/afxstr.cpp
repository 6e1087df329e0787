#include "afxstr.h"
#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <vector>

namespace {
int Clamp(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }
bool IsIn(wchar_t ch, const wchar_t* set) { return set && wcschr(set, ch) != nullptr && ch != 0; }
}

CString::CString(const wchar_t* pch, int nLength)
{
    if (pch && nLength > 0)
        m_str.assign(pch, (size_t)nLength);
}

void CString::SetString(const wchar_t* pch, int nLength)
{
    if (pch && nLength > 0)
        m_str.assign(pch, (size_t)nLength);
    else
        m_str.clear();
}

wchar_t CString::GetAt(int i) const
{
    if (i < 0 || i >= GetLength())
        AfxThrowInvalidArgException();
    return m_str[(size_t)i];
}

void CString::SetAt(int i, wchar_t ch)
{
    if (i < 0 || i >= GetLength())
        AfxThrowInvalidArgException();
    m_str[(size_t)i] = ch;
}

wchar_t* CString::GetBuffer(int nMinBufLength)
{
    if (nMinBufLength > GetLength())
        m_str.reserve((size_t)nMinBufLength);
    // Hand out room for nMinBufLength characters plus the terminator; the
    // caller fixes the length with ReleaseBuffer.
    size_t len = m_str.size();
    m_str.resize(std::max(len, (size_t)std::max(nMinBufLength, 0)));
    return &m_str[0];
}

wchar_t* CString::GetBufferSetLength(int nNewLength)
{
    m_str.resize((size_t)std::max(nNewLength, 0));
    return &m_str[0];
}

void CString::ReleaseBuffer(int nNewLength)
{
    if (nNewLength < 0)
        nNewLength = (int)wcsnlen(m_str.c_str(), m_str.size());
    m_str.resize((size_t)Clamp(nNewLength, 0, (int)m_str.size()));
}

int CString::Find(wchar_t ch, int iStart) const
{
    if (iStart < 0 || iStart >= GetLength())
        return -1;
    size_t p = m_str.find(ch, (size_t)iStart);
    return p == std::wstring::npos ? -1 : (int)p;
}

int CString::Find(const wchar_t* pszSub, int iStart) const
{
    if (!pszSub || iStart < 0 || iStart > GetLength())
        return -1;
    size_t p = m_str.find(pszSub, (size_t)iStart);
    return p == std::wstring::npos ? -1 : (int)p;
}

int CString::ReverseFind(wchar_t ch) const
{
    size_t p = m_str.rfind(ch);
    return p == std::wstring::npos ? -1 : (int)p;
}

int CString::FindOneOf(const wchar_t* pszCharSet) const
{
    if (!pszCharSet)
        return -1;
    size_t p = m_str.find_first_of(pszCharSet);
    return p == std::wstring::npos ? -1 : (int)p;
}

CString CString::Left(int nCount) const
{
    nCount = Clamp(nCount, 0, GetLength());
    return CString(m_str.data(), nCount);
}

CString CString::Mid(int iFirst) const { return Mid(iFirst, GetLength()); }

CString CString::Mid(int iFirst, int nCount) const
{
    iFirst = Clamp(iFirst, 0, GetLength());
    nCount = Clamp(nCount, 0, GetLength() - iFirst);
    return CString(m_str.data() + iFirst, nCount);
}

CString CString::Right(int nCount) const
{
    nCount = Clamp(nCount, 0, GetLength());
    return CString(m_str.data() + GetLength() - nCount, nCount);
}

CString CString::SpanIncluding(const wchar_t* pszCharSet) const
{
    int n = 0;
    while (n < GetLength() && IsIn(m_str[(size_t)n], pszCharSet))
        ++n;
    return Left(n);
}

CString CString::SpanExcluding(const wchar_t* pszCharSet) const
{
    int n = 0;
    while (n < GetLength() && !IsIn(m_str[(size_t)n], pszCharSet))
        ++n;
    return Left(n);
}

int CString::Insert(int iIndex, wchar_t ch)
{
    iIndex = Clamp(iIndex, 0, GetLength());
    m_str.insert((size_t)iIndex, 1, ch);
    return GetLength();
}

int CString::Insert(int iIndex, const wchar_t* psz)
{
    iIndex = Clamp(iIndex, 0, GetLength());
    if (psz)
        m_str.insert((size_t)iIndex, psz);
    return GetLength();
}

int CString::Delete(int iIndex, int nCount)
{
    iIndex = std::max(iIndex, 0);
    if (nCount > 0 && iIndex < GetLength())
        m_str.erase((size_t)iIndex, (size_t)std::min(nCount, GetLength() - iIndex));
    return GetLength();
}

int CString::Replace(wchar_t chOld, wchar_t chNew)
{
    int n = 0;
    for (auto& c : m_str)
        if (c == chOld) { c = chNew; ++n; }
    return n;
}

int CString::Replace(const wchar_t* pszOld, const wchar_t* pszNew)
{
    if (!pszOld || !*pszOld)
        return 0;
    std::wstring from(pszOld), to(pszNew ? pszNew : L"");
    int n = 0;
    for (size_t p = m_str.find(from); p != std::wstring::npos; p = m_str.find(from, p + to.size())) {
        m_str.replace(p, from.size(), to);
        ++n;
    }
    return n;
}

int CString::Remove(wchar_t ch)
{
    size_t before = m_str.size();
    m_str.erase(std::remove(m_str.begin(), m_str.end(), ch), m_str.end());
    return (int)(before - m_str.size());
}

CString& CString::MakeUpper()
{
    for (auto& c : m_str)
        c = (wchar_t)towupper((wint_t)c);
    return *this;
}

CString& CString::MakeLower()
{
    for (auto& c : m_str)
        c = (wchar_t)towlower((wint_t)c);
    return *this;
}

CString& CString::MakeReverse()
{
    std::reverse(m_str.begin(), m_str.end());
    return *this;
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimLeft()
{
    size_t n = 0;
    while (n < m_str.size() && iswspace((wint_t)m_str[n]))
        ++n;
    m_str.erase(0, n);
    return *this;
}

CString& CString::TrimRight()
{
    while (!m_str.empty() && iswspace((wint_t)m_str.back()))
        m_str.pop_back();
    return *this;
}

CString& CString::TrimLeft(wchar_t ch)
{
    size_t n = 0;
    while (n < m_str.size() && m_str[n] == ch)
        ++n;
    m_str.erase(0, n);
    return *this;
}

CString& CString::TrimRight(wchar_t ch)
{
    while (!m_str.empty() && m_str.back() == ch)
        m_str.pop_back();
    return *this;
}

void CString::FormatV(const wchar_t* pszFormat, va_list args)
{
    if (!pszFormat)
        AfxThrowInvalidArgException();
    // vswprintf reports a too-small buffer and a bad format alike (-1), so
    // grow to a generous bound and give up with the invalid-argument error.
    std::vector<wchar_t> buf(256);
    for (;;) {
        va_list copy;
        va_copy(copy, args);
        int n = vswprintf(buf.data(), buf.size(), pszFormat, copy);
        va_end(copy);
        if (n >= 0 && (size_t)n < buf.size()) {
            m_str.assign(buf.data(), (size_t)n);
            return;
        }
        if (buf.size() >= (1u << 24))
            AfxThrowInvalidArgException();
        buf.resize(buf.size() * 4);
    }
}

void CString::Format(const wchar_t* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    FormatV(pszFormat, args);
    va_end(args);
}

void CString::AppendFormat(const wchar_t* pszFormat, ...)
{
    CString tail;
    va_list args;
    va_start(args, pszFormat);
    tail.FormatV(pszFormat, args);
    va_end(args);
    *this += tail;
}

int CString::Compare(const wchar_t* psz) const
{
    return m_str.compare(psz ? psz : L"");
}

int CString::CompareNoCase(const wchar_t* psz) const
{
    const wchar_t* a = m_str.c_str();
    const wchar_t* b = psz ? psz : L"";
    for (;; ++a, ++b) {
        wint_t ca = towlower((wint_t)*a), cb = towlower((wint_t)*b);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (!ca)
            return 0;
    }
}

#include "afxstr.h"
#include "strblocks.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <cwchar>
#include <cwctype>
#include <vector>

namespace {
int Clamp(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }
bool IsIn(wchar_t ch, const wchar_t* set) { return set && wcschr(set, ch) != nullptr && ch != 0; }
}

// --- storage -------------------------------------------------------------------

void CString::Free() noexcept
{
    if (m_pch) {
        StringBlocks::Free(Head(), BlockBytes(Head()->nAlloc));
        m_pch = nullptr;
    }
}

size_t CString::BlockBytes(int nAlloc) noexcept
{
    return sizeof(Header) + ((size_t)nAlloc + 1) * sizeof(wchar_t);
}

void CString::Reserve(int nLength)
{
    if (nLength < 0)
        AfxThrowInvalidArgException();
    if (nLength <= Capacity())
        return;
    // The block may hold a few more characters than asked: it is rounded
    // up to its size class, and the room is recorded as capacity.
    size_t bytes = StringBlocks::RoundUp(BlockBytes(nLength));
    const int nAlloc = (int)std::min<size_t>((bytes - sizeof(Header)) / sizeof(wchar_t) - 1, 0x7FFFFFF0);
    bytes = BlockBytes(nAlloc);
    Header* h = static_cast<Header*>(StringBlocks::Alloc(bytes));
    const int len = GetLength();
    if (m_pch) {
        std::memcpy(h + 1, m_pch, ((size_t)len + 1) * sizeof(wchar_t));
        StringBlocks::Free(Head(), BlockBytes(Head()->nAlloc));
    } else {
        reinterpret_cast<wchar_t*>(h + 1)[0] = 0;
    }
    h->nLength = len;
    h->nAlloc = nAlloc;
    m_pch = reinterpret_cast<wchar_t*>(h + 1);
}

void CString::Splice(int iIndex, int nCount, const wchar_t* pch, int nNew)
{
    const int len = GetLength();
    if (nNew < 0 || nCount < 0 || iIndex < 0 || iIndex + nCount > len)
        AfxThrowInvalidArgException();
    // The source may live inside this string, where moving the tail or
    // growing the block would change it: work from a copy then.
    if (pch && nNew > 0 && m_pch && pch >= m_pch && pch <= m_pch + Capacity()) {
        const CString copy(pch, nNew);
        Splice(iIndex, nCount, copy.m_pch, nNew);
        return;
    }
    if ((long long)len - nCount + nNew > 0x7FFFFFF0LL)
        throw std::bad_alloc();
    const int newLen = len - nCount + nNew;
    if (newLen == 0) {
        if (m_pch)
            SetLength(0);
        return;
    }
    if (newLen > Capacity()) {
        // Text that is growing in steps (appends) grows by half again, so
        // building a string character by character stays linear; anything
        // else gets exactly its size.
        const int cap = Capacity();
        int want = newLen;
        if (cap > 0 && newLen <= cap + cap / 2 + 8)
            want = (int)std::min<long long>(0x7FFFFFF0LL, (long long)cap + cap / 2 + 8);
        Reserve(want);
    }
    wchar_t* p = m_pch;
    if (nNew != nCount)
        std::memmove(p + iIndex + nNew, p + iIndex + nCount, (size_t)(len - iIndex - nCount) * sizeof(wchar_t));
    if (nNew > 0 && pch)
        std::memmove(p + iIndex, pch, (size_t)nNew * sizeof(wchar_t));
    SetLength(newLen);
}

// --- construction and assignment -------------------------------------------------

CString::CString(const wchar_t* psz) : m_pch(nullptr)
{
    if (psz)
        SetString(psz, (int)std::wcslen(psz));
}

CString::CString(wchar_t ch, int nRepeat) : m_pch(nullptr)
{
    if (nRepeat > 0) {
        Reserve(nRepeat);
        std::wmemset(m_pch, ch, (size_t)nRepeat);
        SetLength(nRepeat);
    }
}

CString& CString::operator=(const wchar_t* psz)
{
    SetString(psz, psz ? (int)std::wcslen(psz) : 0);
    return *this;
}

CString& CString::operator+=(const wchar_t* psz)
{
    if (psz)
        Append(psz, (int)std::wcslen(psz));
    return *this;
}

void CString::SetString(const wchar_t* pch, int nLength)
{
    if (!pch || nLength <= 0) {
        Empty();
        return;
    }
    if (m_pch && pch >= m_pch && pch <= m_pch + GetLength()) {
        // A part of this very string.
        std::memmove(m_pch, pch, (size_t)nLength * sizeof(wchar_t));
        SetLength(nLength);
        return;
    }
    Reserve(nLength);
    std::memcpy(m_pch, pch, (size_t)nLength * sizeof(wchar_t));
    SetLength(nLength);
}

void CString::Append(const wchar_t* pch, int nLength)
{
    if (pch && nLength > 0)
        Splice(GetLength(), 0, pch, nLength);
}

void CString::AppendChar(wchar_t ch)
{
    const int len = GetLength();
    if (len < Capacity()) {
        m_pch[len] = ch;
        SetLength(len + 1);
    } else {
        Splice(len, 0, &ch, 1);
    }
}

// --- element and buffer access ------------------------------------------------

wchar_t CString::GetAt(int i) const
{
    if (i < 0 || i >= GetLength())
        AfxThrowInvalidArgException();
    return m_pch[i];
}

void CString::SetAt(int i, wchar_t ch)
{
    if (i < 0 || i >= GetLength())
        AfxThrowInvalidArgException();
    m_pch[i] = ch;
}

wchar_t* CString::GetBuffer(int nMinBufLength)
{
    // Hands out room for nMinBufLength characters plus the terminator; the
    // caller fixes the length with ReleaseBuffer.
    const int len = GetLength();
    const int want = std::max(nMinBufLength, len);
    Reserve(std::max(want, 1));
    if (want > len) {
        std::wmemset(m_pch + len, 0, (size_t)(want - len));
        SetLength(want);
    }
    return m_pch;
}

wchar_t* CString::GetBufferSetLength(int nNewLength)
{
    nNewLength = std::max(nNewLength, 0);
    const int len = GetLength();
    Reserve(std::max(nNewLength, 1));
    if (nNewLength > len)
        std::wmemset(m_pch + len, 0, (size_t)(nNewLength - len));
    SetLength(nNewLength);
    return m_pch;
}

void CString::ReleaseBuffer(int nNewLength)
{
    if (!m_pch)
        return;
    const int len = GetLength();
    if (nNewLength < 0)
        nNewLength = (int)wcsnlen(m_pch, (size_t)len);
    SetLength(Clamp(nNewLength, 0, len));
}

// --- searching ----------------------------------------------------------------

int CString::Find(wchar_t ch, int iStart) const
{
    const int len = GetLength();
    if (iStart < 0 || iStart >= len)
        return -1;
    const wchar_t* p = AfxFindChar(m_pch + iStart, (size_t)(len - iStart), ch);
    return p ? (int)(p - m_pch) : -1;
}

int CString::Find(const wchar_t* pszSub, int iStart) const
{
    const int len = GetLength();
    if (!pszSub || iStart < 0 || iStart > len)
        return -1;
    const int n = (int)std::wcslen(pszSub);
    if (n == 0)
        return iStart;
    const wchar_t* p = GetString();
    for (int i = iStart; i + n <= len;) {
        const wchar_t* hit = AfxFindChar(p + i, (size_t)(len - n + 1 - i), pszSub[0]);
        if (!hit)
            return -1;
        i = (int)(hit - p);
        int k = 1;
        while (k < n && hit[k] == pszSub[k])
            ++k;
        if (k == n)
            return i;
        ++i;
    }
    return -1;
}

int CString::ReverseFind(wchar_t ch) const
{
    for (int i = GetLength() - 1; i >= 0; --i)
        if (m_pch[i] == ch)
            return i;
    return -1;
}

int CString::FindOneOf(const wchar_t* pszCharSet) const
{
    if (!pszCharSet)
        return -1;
    const int len = GetLength();
    for (int i = 0; i < len; ++i)
        if (IsIn(m_pch[i], pszCharSet))
            return i;
    return -1;
}

// --- extraction -----------------------------------------------------------------

CString CString::Left(int nCount) const
{
    nCount = Clamp(nCount, 0, GetLength());
    return CString(m_pch, nCount);
}

CString CString::Mid(int iFirst) const { return Mid(iFirst, GetLength()); }

CString CString::Mid(int iFirst, int nCount) const
{
    iFirst = Clamp(iFirst, 0, GetLength());
    nCount = Clamp(nCount, 0, GetLength() - iFirst);
    return CString(GetString() + iFirst, nCount);
}

CString CString::Right(int nCount) const
{
    nCount = Clamp(nCount, 0, GetLength());
    return CString(GetString() + GetLength() - nCount, nCount);
}

CString CString::SpanIncluding(const wchar_t* pszCharSet) const
{
    int n = 0;
    while (n < GetLength() && IsIn(m_pch[n], pszCharSet))
        ++n;
    return Left(n);
}

CString CString::SpanExcluding(const wchar_t* pszCharSet) const
{
    int n = 0;
    while (n < GetLength() && !IsIn(m_pch[n], pszCharSet))
        ++n;
    return Left(n);
}

// --- modification ---------------------------------------------------------------

int CString::Insert(int iIndex, wchar_t ch)
{
    iIndex = Clamp(iIndex, 0, GetLength());
    Splice(iIndex, 0, &ch, 1);
    return GetLength();
}

int CString::Insert(int iIndex, const wchar_t* psz)
{
    iIndex = Clamp(iIndex, 0, GetLength());
    if (psz)
        Splice(iIndex, 0, psz, (int)std::wcslen(psz));
    return GetLength();
}

int CString::Delete(int iIndex, int nCount)
{
    iIndex = std::max(iIndex, 0);
    if (nCount > 0 && iIndex < GetLength())
        Splice(iIndex, std::min(nCount, GetLength() - iIndex), nullptr, 0);
    return GetLength();
}

int CString::Replace(wchar_t chOld, wchar_t chNew)
{
    int n = 0;
    const int len = GetLength();
    for (int i = 0; i < len; ++i)
        if (m_pch[i] == chOld) {
            m_pch[i] = chNew;
            ++n;
        }
    return n;
}

int CString::Replace(const wchar_t* pszOld, const wchar_t* pszNew)
{
    if (!pszOld || !*pszOld)
        return 0;
    const CString from(pszOld), to(pszNew);
    int n = 0;
    for (int p = Find(from); p >= 0; p = Find(from, p + to.GetLength())) {
        Splice(p, from.GetLength(), to.m_pch, to.GetLength());
        ++n;
    }
    return n;
}

int CString::Remove(wchar_t ch)
{
    const int len = GetLength();
    int out = 0;
    for (int i = 0; i < len; ++i)
        if (m_pch[i] != ch)
            m_pch[out++] = m_pch[i];
    if (m_pch)
        SetLength(out);
    return len - out;
}

CString& CString::MakeUpper()
{
    const int len = GetLength();
    for (int i = 0; i < len; ++i) {
        const wchar_t c = m_pch[i];
        // ASCII directly; the runtime's table for the rest.
        if (c < 0x80)
            m_pch[i] = c >= L'a' && c <= L'z' ? (wchar_t)(c - (L'a' - L'A')) : c;
        else
            m_pch[i] = (wchar_t)towupper((wint_t)c);
    }
    return *this;
}

CString& CString::MakeLower()
{
    for (int i = 0; i < GetLength(); ++i)
        m_pch[i] = (wchar_t)towlower((wint_t)m_pch[i]);
    return *this;
}

CString& CString::MakeReverse()
{
    if (m_pch)
        std::reverse(m_pch, m_pch + GetLength());
    return *this;
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimLeft()
{
    int n = 0;
    while (n < GetLength() && iswspace((wint_t)m_pch[n]))
        ++n;
    Delete(0, n);
    return *this;
}

CString& CString::TrimRight()
{
    int len = GetLength();
    while (len > 0 && iswspace((wint_t)m_pch[len - 1]))
        --len;
    if (m_pch)
        SetLength(len);
    return *this;
}

CString& CString::TrimLeft(wchar_t ch)
{
    int n = 0;
    while (n < GetLength() && m_pch[n] == ch)
        ++n;
    Delete(0, n);
    return *this;
}

CString& CString::TrimRight(wchar_t ch)
{
    int len = GetLength();
    while (len > 0 && m_pch[len - 1] == ch)
        --len;
    if (m_pch)
        SetLength(len);
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
            SetString(buf.data(), n);
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
    // Both strings up to the shorter length, then the shorter one first.
    const wchar_t* b = psz ? psz : L"";
    const int na = GetLength();
    const wchar_t* a = GetString();
    int i = 0;
    for (; i < na && b[i]; ++i)
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    if (i < na)
        return 1;
    return b[i] ? -1 : 0;
}

int CString::CompareNoCase(const wchar_t* psz) const
{
    const wchar_t* a = GetString();
    const wchar_t* b = psz ? psz : L"";
    for (;; ++a, ++b) {
        wint_t ca = towlower((wint_t)*a), cb = towlower((wint_t)*b);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (!ca)
            return 0;
    }
}

// CArray: a growable array with the framework's checked element access. An
// index outside the array raises the invalid-argument exception rather than
// reading or writing out of bounds.
#pragma once
#include "afxexcept.h"
#include <iterator>
#include <vector>
#include <utility>
#include <cstddef>

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray
{
public:
    CArray() {}
    virtual ~CArray() {}
    CArray(const CArray&) = default;
    CArray& operator=(const CArray&) = default;

    int GetSize() const { return (int)m_data.size(); }
    int GetCount() const { return (int)m_data.size(); }
    int GetUpperBound() const { return (int)m_data.size() - 1; }
    bool IsEmpty() const { return m_data.empty(); }

    // New elements are value-initialised (zero for plain types).
    void SetSize(int nNewSize, int /*nGrowBy*/ = -1)
    {
        if (nNewSize < 0)
            AfxThrowInvalidArgException();
        m_data.resize((size_t)nNewSize);
    }
    void RemoveAll() { m_data.clear(); }
    // Capacity for nCount elements without changing the size.
    void Reserve(int nCount) { if (nCount > 0) m_data.reserve((size_t)nCount); }
    void FreeExtra() { m_data.shrink_to_fit(); }

    const TYPE& GetAt(int i) const { Check(i); return m_data[(size_t)i]; }
    TYPE& GetAt(int i) { Check(i); return m_data[(size_t)i]; }
    void SetAt(int i, ARG_TYPE v) { Check(i); m_data[(size_t)i] = v; }
    TYPE& ElementAt(int i) { Check(i); return m_data[(size_t)i]; }
    const TYPE& ElementAt(int i) const { Check(i); return m_data[(size_t)i]; }
    const TYPE& operator[](int i) const { return GetAt(i); }
    TYPE& operator[](int i) { return GetAt(i); }
    TYPE* GetData() { return m_data.data(); }
    const TYPE* GetData() const { return m_data.data(); }

    // Grows the array as needed so that index i exists.
    void SetAtGrow(int i, ARG_TYPE v)
    {
        if (i < 0)
            AfxThrowInvalidArgException();
        if ((size_t)i >= m_data.size())
            m_data.resize((size_t)i + 1);
        m_data[(size_t)i] = v;
    }
    int Add(ARG_TYPE v) { m_data.push_back(v); return (int)m_data.size() - 1; }
    int Append(const CArray& src)
    {
        int old = GetSize();
        m_data.insert(m_data.end(), src.m_data.begin(), src.m_data.end());
        return old;
    }
    void Copy(const CArray& src) { if (this != &src) m_data = src.m_data; }

    // Inserting past the end grows the array first, as the framework does.
    void InsertAt(int i, ARG_TYPE v, int nCount = 1)
    {
        if (i < 0 || nCount < 0)
            AfxThrowInvalidArgException();
        if ((size_t)i > m_data.size())
            m_data.resize((size_t)i);
        m_data.insert(m_data.begin() + i, (size_t)nCount, v);
    }
    // Inserts one element, taking it over instead of copying it (not one of
    // the framework's own members).
    void InsertAtMove(int i, TYPE&& v)
    {
        if (i < 0)
            AfxThrowInvalidArgException();
        if ((size_t)i > m_data.size())
            m_data.resize((size_t)i);
        m_data.insert(m_data.begin() + i, std::move(v));
    }
    // Inserts nCount elements at i, taking them over (not one of the
    // framework's own members): one move of the elements after i.
    void InsertBlockMove(int i, TYPE* p, int nCount)
    {
        if (i < 0 || nCount < 0)
            AfxThrowInvalidArgException();
        if ((size_t)i > m_data.size())
            m_data.resize((size_t)i);
        m_data.insert(m_data.begin() + i, std::make_move_iterator(p), std::make_move_iterator(p + nCount));
    }
    void RemoveAt(int i, int nCount = 1)
    {
        if (i < 0 || nCount < 0 || (size_t)i + (size_t)nCount > m_data.size())
            AfxThrowInvalidArgException();
        m_data.erase(m_data.begin() + i, m_data.begin() + i + nCount);
    }

protected:
    void Check(int i) const
    {
        if (i < 0 || (size_t)i >= m_data.size())
            AfxThrowInvalidArgException();
    }
    std::vector<TYPE> m_data;
};

// An array of bytes (posted form data of a navigation, for one).
class CByteArray : public CArray<BYTE, BYTE>
{
};

// The framework's exception classes. They are thrown by pointer, as the
// framework does: catch (CInvalidArgException* e) { ...; e->Delete(); }
#pragma once
#include "afxdefs.h"

class AFX_EXT_CLASS CException
{
public:
    explicit CException(BOOL bAutoDelete = TRUE) : m_bAutoDelete(bAutoDelete) {}
    virtual ~CException() {}

    // Frees the exception if it was allocated for this throw.
    void Delete();
    // Copies a readable message into the buffer; returns FALSE if there is none.
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const;
    virtual const wchar_t* Message() const { return L"Unknown exception"; }

protected:
    BOOL m_bAutoDelete;
};

class AFX_EXT_CLASS CSimpleException : public CException
{
public:
    explicit CSimpleException(BOOL bAutoDelete = TRUE) : CException(bAutoDelete) {}
};

class AFX_EXT_CLASS CInvalidArgException : public CSimpleException
{
public:
    const wchar_t* Message() const override { return L"Invalid argument"; }
};

class AFX_EXT_CLASS CMemoryException : public CSimpleException
{
public:
    const wchar_t* Message() const override { return L"Out of memory"; }
};

class AFX_EXT_CLASS CNotSupportedException : public CSimpleException
{
public:
    const wchar_t* Message() const override { return L"Operation not supported"; }
};

class AFX_EXT_CLASS CResourceException : public CSimpleException
{
public:
    const wchar_t* Message() const override { return L"Resource failure"; }
};

#ifdef _WIN32
// A failed COM call: m_sc is its status code.
class AFX_EXT_CLASS COleException : public CException
{
public:
    explicit COleException(SCODE sc) : m_sc(sc) {}
    const wchar_t* Message() const override { return L"COM operation failed"; }
    SCODE m_sc;
};
#endif

[[noreturn]] AFX_EXT_API void AFXAPI AfxThrowInvalidArgException();
[[noreturn]] AFX_EXT_API void AFXAPI AfxThrowMemoryException();
[[noreturn]] AFX_EXT_API void AFXAPI AfxThrowNotSupportedException();
[[noreturn]] AFX_EXT_API void AFXAPI AfxThrowResourceException();
#ifdef _WIN32
[[noreturn]] AFX_EXT_API void AFXAPI AfxThrowOleException(SCODE sc);
#endif

#include "afxexcept.h"
#include <cwchar>

void CException::Delete()
{
    if (m_bAutoDelete)
        delete this;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const
{
    if (pnHelpContext)
        *pnHelpContext = 0;
    if (!lpszError || nMaxError == 0)
        return FALSE;
    const wchar_t* msg = Message();
    size_t n = wcslen(msg);
    if (n >= nMaxError)
        n = nMaxError - 1;
    wmemcpy(lpszError, msg, n);
    lpszError[n] = 0;
    return TRUE;
}

void AFXAPI AfxThrowInvalidArgException() { throw new CInvalidArgException; }
void AFXAPI AfxThrowMemoryException() { throw new CMemoryException; }
void AFXAPI AfxThrowNotSupportedException() { throw new CNotSupportedException; }
void AFXAPI AfxThrowResourceException() { throw new CResourceException; }
#ifdef _WIN32
void AFXAPI AfxThrowOleException(SCODE sc) { throw new COleException(sc); }
#endif

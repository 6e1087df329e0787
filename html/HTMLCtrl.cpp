// CHTMLCtrl: creation over a placeholder, loading, "app:" commands and the
// page size.
#include "HTMLCtrl.h"
#include <cwchar>

BEGIN_MESSAGE_MAP(CHTMLCtrl, CHtmlView)
    ON_WM_DESTROY()
    ON_WM_MOUSEACTIVATE()
END_MESSAGE_MAP()

namespace {
const wchar_t kBlank[] = L"About:Blank";
const wchar_t kAppPrefix[] = L"app:";
const size_t kAppPrefixLength = 4;

// A text property of the browser; empty when it cannot be read.
CString BrowserText(IWebBrowser2* pBrowser, HRESULT (STDMETHODCALLTYPE IWebBrowser2::*get)(BSTR*))
{
    CString s;
    BSTR b = nullptr;
    if (pBrowser && SUCCEEDED((pBrowser->*get)(&b)) && b)
        s = b;
    ::SysFreeString(b);
    return s;
}
} // namespace

CHTMLCtrl::CHTMLCtrl() : m_szPage(0, 0), m_bContentPending(false) {}

CHTMLCtrl::~CHTMLCtrl()
{
    // While this is still a CHTMLCtrl, so that its OnDestroy runs.
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this)
        DestroyWindow();
}

BOOL CHTMLCtrl::CreateFromStatic(UINT nID, CWnd* pParent)
{
    const BOOL bCreated = Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 0, 1, 1), pParent, nID);
    Navigate(kBlank);
    return bCreated;
}

BOOL CHTMLCtrl::CreateFromStaticInDialog(UINT nID, CWnd* pParent)
{
    CWnd wndStatic;
    if (!wndStatic.SubclassDlgItem(nID, pParent))
        return FALSE;
    const DWORD dwStyle = wndStatic.GetStyle();
    CRect rc;
    wndStatic.GetWindowRect(&rc);
    pParent->ScreenToClient(&rc);
    wndStatic.DestroyWindow();
    const BOOL bCreated = Create(nullptr, nullptr, dwStyle, rc, pParent, nID);
    Navigate(kBlank);
    return bCreated;
}

void CHTMLCtrl::Navigate(const wchar_t* url, DWORD flags, const wchar_t* targetFrame, const wchar_t* headers,
                         void* postData, DWORD postDataLength)
{
    CHtmlView::Navigate(url, flags, targetFrame, headers, postData, postDataLength);
}

BOOL CHTMLCtrl::LoadFromResource(const wchar_t* name)
{
    wchar_t path[MAX_PATH];
    const DWORD n = ::GetModuleFileNameW(AfxGetResourceHandle(), path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return FALSE;
    Navigate(CString(L"res://") + path + L"/" + (name ? name : L""));
    return TRUE;
}

BOOL CHTMLCtrl::LoadFromResource(UINT id)
{
    CString number;
    number.Format(L"%d", (int)id);
    return LoadFromResource(number);
}

// ---------------------------------------------------------------------------
// Content

bool CHTMLCtrl::SetNewHTMLContent(CString html, bool parse)
{
    m_bContentPending = true;
    m_strHTMLContent = html;
    if (parse)
        ParseHTMLString(m_strHTMLContent);
    return SetHTMLInDocument();
}

bool CHTMLCtrl::ParseHTMLString(CString&)
{
    return true;
}

bool CHTMLCtrl::SetHTMLInDocument()
{
    IDispatch* pDisp = GetHtmlDocument();
    if (!pDisp)
        return false;
    IHTMLDocument2* pDoc = nullptr;
    HRESULT hr = pDisp->QueryInterface(IID_IHTMLDocument2, (void**)&pDoc);
    pDisp->Release();
    if (FAILED(hr))
        return false;
    // write takes its text as a one-element array of variants.
    bool bWritten = false;
    if (SAFEARRAY* psa = ::SafeArrayCreateVector(VT_VARIANT, 0, 1)) {
        VARIANT* pItem = nullptr;
        if (SUCCEEDED(::SafeArrayAccessData(psa, (void**)&pItem))) {
            V_VT(pItem) = VT_BSTR;
            const BSTR text = V_BSTR(pItem) = ::SysAllocString(m_strHTMLContent);
            ::SafeArrayUnaccessData(psa);
            bWritten = text && SUCCEEDED(pDoc->write(psa));
        }
        ::SafeArrayDestroy(psa); // frees the string too
    }
    // Closing the written document ends its loading (the page size is then
    // reported) and makes the next write replace it instead of adding to it.
    if (bWritten)
        pDoc->close();
    pDoc->Release();
    if (bWritten)
        m_bContentPending = false;
    return bWritten;
}

CSize CHTMLCtrl::GetPageSize()
{
    CSize size(0, 0);
    IDispatch* pDisp = GetHtmlDocument();
    if (!pDisp)
        return size;
    IHTMLDocument2* pDoc = nullptr;
    IHTMLElement* pBody = nullptr;
    IHTMLTextContainer* pText = nullptr;
    if (SUCCEEDED(pDisp->QueryInterface(IID_IHTMLDocument2, (void**)&pDoc)) && SUCCEEDED(pDoc->get_body(&pBody)) &&
        pBody && SUCCEEDED(pBody->QueryInterface(IID_IHTMLTextContainer, (void**)&pText))) {
        long cx = 0, cy = 0;
        if (SUCCEEDED(pText->get_scrollWidth(&cx)) && SUCCEEDED(pText->get_scrollHeight(&cy)))
            size = CSize((int)cx, (int)cy);
    }
    if (pText)
        pText->Release();
    if (pBody)
        pBody->Release();
    if (pDoc)
        pDoc->Release();
    pDisp->Release();
    return size;
}

CString CHTMLCtrl::GetFullName() const { return BrowserText(m_pBrowserApp, &IWebBrowser2::get_FullName); }
CString CHTMLCtrl::GetType() const { return BrowserText(m_pBrowserApp, &IWebBrowser2::get_Type); }
CString CHTMLCtrl::GetLocationName() const { return BrowserText(m_pBrowserApp, &IWebBrowser2::get_LocationName); }
CString CHTMLCtrl::GetLocationURL() const { return BrowserText(m_pBrowserApp, &IWebBrowser2::get_LocationURL); }

// ---------------------------------------------------------------------------
// Events

void CHTMLCtrl::OnBeforeNavigate2(LPCTSTR lpszURL, DWORD, LPCTSTR, CByteArray&, LPCTSTR, BOOL* pbCancel)
{
    // Dialogs of the browser's own (script errors, security prompts) have
    // no place in a control.
    SetSilent(TRUE);
    if (lpszURL && _wcsnicmp(lpszURL, kAppPrefix, kAppPrefixLength) == 0) {
        OnAppCmd(lpszURL + kAppPrefixLength);
        *pbCancel = TRUE;
    }
}

void CHTMLCtrl::OnProgressChange(long nProgress, long nProgressMax)
{
    CHtmlView::OnProgressChange(nProgress, nProgressMax);
    if (nProgress != -1)
        return;
    m_szPage = GetPageSize();
    if (HWND hParent = m_hWnd ? ::GetParent(m_hWnd) : nullptr)
        ::SendMessageW(hParent, VELMOR_WM_HTMLPAGESIZE, 0, (LPARAM)&m_szPage);
}

void CHTMLCtrl::OnDownloadComplete()
{
    CHtmlView::OnDownloadComplete();
}

void CHTMLCtrl::OnDocumentComplete(LPCTSTR lpszURL)
{
    CHtmlView::OnDocumentComplete(lpszURL);
}

void CHTMLCtrl::DocumentComplete(LPDISPATCH pDisp, VARIANT* URL)
{
    CHtmlView::DocumentComplete(pDisp, URL);
}

void CHTMLCtrl::OnAppCmd(const wchar_t*) {}

// ---------------------------------------------------------------------------
// Window messages

void CHTMLCtrl::OnDestroy()
{
    // The view's hold on the browser, and through it on the document, goes
    // first; the view then closes the browser and its sites.
    if (m_pBrowserApp) {
        m_pBrowserApp->Release();
        m_pBrowserApp = nullptr;
    }
    CHtmlView::OnDestroy();
}

int CHTMLCtrl::OnMouseActivate(CWnd* pDesktopWnd, UINT nHitTest, UINT message)
{
    return CWnd::OnMouseActivate(pDesktopWnd, nHitTest, message);
}

// CView and CHtmlView: the WebBrowser control hosted in place in a view.
#include "afxhtml.h"
#include "occsite.h"
#include <cstring>

// ---------------------------------------------------------------------------
// CView

BEGIN_MESSAGE_MAP(CView, CWnd)
    ON_WM_PAINT()
    ON_WM_MOUSEACTIVATE()
END_MESSAGE_MAP()

void CView::OnPaint()
{
    CPaintDC dc(this);
    OnDraw(&dc);
}

int CView::OnMouseActivate(CWnd* pDesktopWnd, UINT nHitTest, UINT message)
{
    const int nResult = CWnd::OnMouseActivate(pDesktopWnd, nHitTest, message);
    if (nResult == MA_NOACTIVATE || nResult == MA_NOACTIVATEANDEAT)
        return nResult;
    HWND hFocus = ::GetFocus();
    if (hFocus != m_hWnd && !::IsChild(m_hWnd, hFocus))
        SetFocus();
    return nResult;
}

// ---------------------------------------------------------------------------
// CHtmlView: creation and destruction

namespace {
// The text of an event argument; empty for a null or non-text value.
CString ArgText(VARIANT* v)
{
    while (v && V_VT(v) == (VT_BYREF | VT_VARIANT))
        v = V_VARIANTREF(v);
    if (!v)
        return CString();
    if (V_VT(v) == VT_BSTR)
        return CString(V_BSTR(v) ? V_BSTR(v) : L"");
    VARIANT tmp;
    ::VariantInit(&tmp);
    CString s;
    if (SUCCEEDED(::VariantChangeType(&tmp, v, 0, VT_BSTR)) && V_BSTR(&tmp))
        s = V_BSTR(&tmp);
    ::VariantClear(&tmp);
    return s;
}

// An optional text argument of the browser's methods: empty when absent.
void SetOptionalText(VARIANT& v, LPCTSTR psz)
{
    ::VariantInit(&v);
    if (psz) {
        V_VT(&v) = VT_BSTR;
        V_BSTR(&v) = ::SysAllocString(psz);
    }
}
} // namespace

BEGIN_MESSAGE_MAP(CHtmlView, CView)
    ON_WM_SIZE()
    ON_WM_DESTROY()
END_MESSAGE_MAP()

CHtmlView::CHtmlView()
    : m_pBrowserApp(nullptr), m_pOleObject(nullptr), m_pSite(nullptr), m_pEvents(nullptr), m_pEventPoint(nullptr),
      m_dwEventCookie(0), m_bOleInit(false)
{
}

CHtmlView::~CHtmlView()
{
    // Destroyed here, while this is still a CHtmlView, so that OnDestroy
    // runs; anything a failed creation left is released after it.
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this)
        DestroyWindow();
    DestroyBrowser();
}

LONG PASCAL CHtmlView::GetSiteObjectCount()
{
    return AfxHtmlSiteObjects();
}

BOOL CHtmlView::Create(LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, const RECT& rect,
                       CWnd* pParentWnd, UINT nID, void* pContext)
{
    if (!CView::Create(lpszClassName, lpszWindowName, dwStyle, rect, pParentWnd, nID, pContext))
        return FALSE;
    if (!CreateBrowser()) {
        DestroyWindow();
        DestroyBrowser();
        return FALSE;
    }
    return TRUE;
}

BOOL CHtmlView::CreateBrowser()
{
    // A thread of the multithreaded apartment answers RPC_E_CHANGED_MODE.
    if (FAILED(::OleInitialize(nullptr)))
        return FALSE;
    m_bOleInit = true;
    if (FAILED(::CoCreateInstance(CLSID_WebBrowser, nullptr, CLSCTX_INPROC_SERVER, IID_IOleObject,
                                  (void**)&m_pOleObject)))
        return FALSE;
    m_pSite = new CHtmlSite(m_hWnd);
    if (FAILED(m_pOleObject->SetClientSite(static_cast<IOleClientSite*>(m_pSite))))
        return FALSE;
    if (FAILED(m_pOleObject->QueryInterface(IID_IWebBrowser2, (void**)&m_pBrowserApp)))
        return FALSE;

    // Events are connected before activation so that none is missed.
    IConnectionPointContainer* pContainer = nullptr;
    if (FAILED(m_pOleObject->QueryInterface(IID_IConnectionPointContainer, (void**)&pContainer)))
        return FALSE;
    HRESULT hr = pContainer->FindConnectionPoint(DIID_DWebBrowserEvents2, &m_pEventPoint);
    pContainer->Release();
    if (FAILED(hr))
        return FALSE;
    m_pEvents = new CHtmlEventSink(this);
    if (FAILED(m_pEventPoint->Advise(m_pEvents, &m_dwEventCookie))) {
        m_pEventPoint->Release();
        m_pEventPoint = nullptr;
        return FALSE;
    }

    CRect rc;
    GetClientRect(&rc);
    return SUCCEEDED(m_pOleObject->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, static_cast<IOleClientSite*>(m_pSite),
                                          0, m_hWnd, &rc));
}

HRESULT CHtmlView::DestroyBrowser()
{
    HRESULT hrFirst = S_OK;
    auto note = [&hrFirst](HRESULT hr) {
        if (FAILED(hr) && hr != E_NOINTERFACE && hr != CONNECT_E_NOCONNECTION && SUCCEEDED(hrFirst))
            hrFirst = hr;
    };
    if (m_pEventPoint) {
        note(m_pEventPoint->Unadvise(m_dwEventCookie));
        m_pEventPoint->Release();
        m_pEventPoint = nullptr;
        m_dwEventCookie = 0;
    }
    if (m_pEvents) {
        m_pEvents->Detach();
        m_pEvents->Release();
        m_pEvents = nullptr;
    }
    if (m_pBrowserApp) {
        m_pBrowserApp->Release();
        m_pBrowserApp = nullptr;
    }
    if (m_pOleObject) {
        IOleInPlaceObject* pInPlace = nullptr;
        HRESULT hr = m_pOleObject->QueryInterface(IID_IOleInPlaceObject, (void**)&pInPlace);
        note(hr);
        if (SUCCEEDED(hr)) {
            note(pInPlace->InPlaceDeactivate());
            pInPlace->Release();
        }
        note(m_pOleObject->Close(OLECLOSE_NOSAVE));
        note(m_pOleObject->SetClientSite(nullptr));
        m_pOleObject->Release();
        m_pOleObject = nullptr;
    }
    if (m_pSite) {
        m_pSite->Release();
        m_pSite = nullptr;
    }
    if (m_bOleInit) {
        ::OleUninitialize();
        m_bOleInit = false;
    }
    return hrFirst;
}

void CHtmlView::OnDestroy()
{
    const HRESULT hr = DestroyBrowser();
    CView::OnDestroy();
    if (FAILED(hr))
        AfxThrowOleException(hr);
}

void CHtmlView::OnSize(UINT nType, int cx, int cy)
{
    CView::OnSize(nType, cx, cy);
    IOleInPlaceObject* pInPlace = nullptr;
    if (m_pOleObject && SUCCEEDED(m_pOleObject->QueryInterface(IID_IOleInPlaceObject, (void**)&pInPlace))) {
        const RECT rc = { 0, 0, cx, cy };
        pInPlace->SetObjectRects(&rc, &rc);
        pInPlace->Release();
    }
}

// ---------------------------------------------------------------------------
// CHtmlView: the browser's operations

void CHtmlView::Navigate(LPCTSTR lpszURL, DWORD dwFlags, LPCTSTR lpszTargetFrameName, LPCTSTR lpszHeaders,
                         LPVOID lpvPostData, DWORD dwPostDataLen)
{
    if (!m_pBrowserApp)
        return;
    BSTR url = ::SysAllocString(lpszURL ? lpszURL : L"");
    VARIANT vFlags, vFrame, vPost, vHeaders;
    ::VariantInit(&vFlags);
    V_VT(&vFlags) = VT_I4;
    V_I4(&vFlags) = (LONG)dwFlags;
    SetOptionalText(vFrame, lpszTargetFrameName);
    SetOptionalText(vHeaders, lpszHeaders);
    ::VariantInit(&vPost);
    if (lpvPostData && dwPostDataLen) {
        if (SAFEARRAY* psa = ::SafeArrayCreateVector(VT_UI1, 0, dwPostDataLen)) {
            std::memcpy(psa->pvData, lpvPostData, dwPostDataLen);
            V_VT(&vPost) = VT_ARRAY | VT_UI1;
            V_ARRAY(&vPost) = psa;
        }
    }
    m_pBrowserApp->Navigate(url, &vFlags, &vFrame, &vPost, &vHeaders);
    ::VariantClear(&vPost);
    ::VariantClear(&vHeaders);
    ::VariantClear(&vFrame);
    ::SysFreeString(url);
}

LPDISPATCH CHtmlView::GetHtmlDocument() const
{
    LPDISPATCH pDisp = nullptr;
    if (m_pBrowserApp && FAILED(m_pBrowserApp->get_Document(&pDisp)))
        pDisp = nullptr;
    return pDisp;
}

void CHtmlView::SetSilent(BOOL bSilent)
{
    if (m_pBrowserApp)
        m_pBrowserApp->put_Silent(bSilent ? VARIANT_TRUE : VARIANT_FALSE);
}

BOOL CHtmlView::GetSilent() const
{
    VARIANT_BOOL b = VARIANT_FALSE;
    return m_pBrowserApp && SUCCEEDED(m_pBrowserApp->get_Silent(&b)) && b != VARIANT_FALSE;
}

void CHtmlView::OnDraw(CDC*) {}

BOOL CHtmlView::PreTranslateMessage(MSG* pMsg)
{
    if (m_pOleObject && pMsg && pMsg->message >= WM_KEYFIRST && pMsg->message <= WM_KEYLAST) {
        IOleInPlaceActiveObject* pActive = nullptr;
        if (SUCCEEDED(m_pOleObject->QueryInterface(IID_IOleInPlaceActiveObject, (void**)&pActive))) {
            const HRESULT hr = pActive->TranslateAccelerator(pMsg);
            pActive->Release();
            if (hr == S_OK)
                return TRUE;
        }
    }
    return CView::PreTranslateMessage(pMsg);
}

// ---------------------------------------------------------------------------
// CHtmlView: events

void CHtmlView::BeforeNavigate2(LPDISPATCH, VARIANT* URL, VARIANT* Flags, VARIANT* TargetFrameName,
                                VARIANT* PostData, VARIANT* Headers, VARIANT_BOOL* Cancel)
{
    const CString strURL = ArgText(URL), strFrame = ArgText(TargetFrameName), strHeaders = ArgText(Headers);
    VARIANT* pFlags = Flags;
    while (pFlags && V_VT(pFlags) == (VT_BYREF | VT_VARIANT))
        pFlags = V_VARIANTREF(pFlags);
    const DWORD nFlags = pFlags && V_VT(pFlags) == VT_I4 ? (DWORD)V_I4(pFlags) : 0;

    CByteArray baPostData;
    VARIANT* pPost = PostData;
    while (pPost && V_VT(pPost) == (VT_BYREF | VT_VARIANT))
        pPost = V_VARIANTREF(pPost);
    if (pPost && V_VT(pPost) == (VT_ARRAY | VT_UI1) && V_ARRAY(pPost)) {
        SAFEARRAY* psa = V_ARRAY(pPost);
        LONG lo = 0, hi = -1;
        void* pData = nullptr;
        if (SUCCEEDED(::SafeArrayGetLBound(psa, 1, &lo)) && SUCCEEDED(::SafeArrayGetUBound(psa, 1, &hi)) &&
            hi >= lo && SUCCEEDED(::SafeArrayAccessData(psa, &pData))) {
            baPostData.SetSize(hi - lo + 1);
            std::memcpy(baPostData.GetData(), pData, (size_t)(hi - lo + 1));
            ::SafeArrayUnaccessData(psa);
        }
    }

    // Another receiver of the event may have cancelled already; a handler
    // here can only add its own no.
    BOOL bCancel = FALSE;
    OnBeforeNavigate2(strURL, nFlags, strFrame, baPostData, strHeaders, &bCancel);
    if (bCancel && Cancel)
        *Cancel = VARIANT_TRUE;
}

void CHtmlView::DocumentComplete(LPDISPATCH, VARIANT* URL)
{
    OnDocumentComplete(ArgText(URL));
}

void CHtmlView::OnBeforeNavigate2(LPCTSTR, DWORD, LPCTSTR, CByteArray&, LPCTSTR, BOOL*) {}
void CHtmlView::OnProgressChange(long, long) {}
void CHtmlView::OnDownloadComplete() {}
void CHtmlView::OnDocumentComplete(LPCTSTR) {}

// The browser's client site and event sink (see occsite.h).
#include "occsite.h"
#include <exdispid.h>
#include <new>

namespace {
// Objects are made and released on the user-interface thread, but the
// count is read by whoever asks: keep it exact with interlocked updates.
LONG g_nLiveObjects = 0;

template <class I> HRESULT Hand(I* p, void** ppv)
{
    p->AddRef();
    *ppv = p;
    return S_OK;
}

// Event arguments come by reference to a variant more often than not.
VARIANT* Deref(VARIANT* v)
{
    while (v && V_VT(v) == (VT_BYREF | VT_VARIANT))
        v = V_VARIANTREF(v);
    return v;
}

long ArgLong(VARIANT* v)
{
    v = Deref(v);
    if (!v)
        return 0;
    if (V_VT(v) == VT_I4)
        return V_I4(v);
    VARIANT tmp;
    ::VariantInit(&tmp);
    long n = 0;
    if (SUCCEEDED(::VariantChangeType(&tmp, v, 0, VT_I4)))
        n = V_I4(&tmp);
    ::VariantClear(&tmp);
    return n;
}
} // namespace

LONG AfxHtmlSiteObjects()
{
    return ::InterlockedCompareExchange(&g_nLiveObjects, 0, 0);
}

// ---------------------------------------------------------------------------
// CHtmlSite

CHtmlSite::CHtmlSite(HWND hWnd) : m_nRef(1), m_hWnd(hWnd)
{
    ::InterlockedIncrement(&g_nLiveObjects);
}

CHtmlSite::~CHtmlSite()
{
    ::InterlockedDecrement(&g_nLiveObjects);
}

HRESULT STDMETHODCALLTYPE CHtmlSite::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IOleClientSite)
        return Hand(static_cast<IOleClientSite*>(this), ppv);
    if (riid == IID_IOleWindow || riid == IID_IOleInPlaceSite)
        return Hand(static_cast<IOleInPlaceSite*>(this), ppv);
    if (riid == IID_IOleInPlaceUIWindow || riid == IID_IOleInPlaceFrame)
        return Hand(static_cast<IOleInPlaceFrame*>(this), ppv);
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE CHtmlSite::AddRef()
{
    return (ULONG)::InterlockedIncrement(&m_nRef);
}

ULONG STDMETHODCALLTYPE CHtmlSite::Release()
{
    const LONG n = ::InterlockedDecrement(&m_nRef);
    if (n == 0)
        delete this;
    return (ULONG)n;
}

HRESULT STDMETHODCALLTYPE CHtmlSite::SaveObject() { return E_NOTIMPL; }

HRESULT STDMETHODCALLTYPE CHtmlSite::GetMoniker(DWORD, DWORD, IMoniker** ppmk)
{
    if (ppmk)
        *ppmk = nullptr;
    return E_NOTIMPL;
}

// The view is no document container: the browser stands alone.
HRESULT STDMETHODCALLTYPE CHtmlSite::GetContainer(IOleContainer** ppContainer)
{
    if (ppContainer)
        *ppContainer = nullptr;
    return E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE CHtmlSite::ShowObject() { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::OnShowWindow(BOOL) { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::RequestNewObjectLayout() { return E_NOTIMPL; }

HRESULT STDMETHODCALLTYPE CHtmlSite::GetWindow(HWND* phwnd)
{
    if (!phwnd)
        return E_POINTER;
    *phwnd = m_hWnd;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CHtmlSite::ContextSensitiveHelp(BOOL) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE CHtmlSite::CanInPlaceActivate() { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::OnInPlaceActivate() { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::OnUIActivate() { return S_OK; }

HRESULT STDMETHODCALLTYPE CHtmlSite::GetWindowContext(IOleInPlaceFrame** ppFrame, IOleInPlaceUIWindow** ppDoc,
                                                      LPRECT lprcPosRect, LPRECT lprcClipRect,
                                                      LPOLEINPLACEFRAMEINFO lpFrameInfo)
{
    if (!ppFrame || !ppDoc || !lprcPosRect || !lprcClipRect || !lpFrameInfo)
        return E_POINTER;
    *ppFrame = static_cast<IOleInPlaceFrame*>(this);
    AddRef();
    // No separate document window: the frame serves.
    *ppDoc = nullptr;
    ::GetClientRect(m_hWnd, lprcPosRect);
    *lprcClipRect = *lprcPosRect;
    lpFrameInfo->fMDIApp = FALSE;
    lpFrameInfo->hwndFrame = ::GetAncestor(m_hWnd, GA_ROOT);
    lpFrameInfo->haccel = nullptr;
    lpFrameInfo->cAccelEntries = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CHtmlSite::Scroll(SIZE) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE CHtmlSite::OnUIDeactivate(BOOL) { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::OnInPlaceDeactivate() { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::DiscardUndoState() { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE CHtmlSite::DeactivateAndUndo() { return E_NOTIMPL; }
// The view sets the browser's rectangle whenever it is resized.
HRESULT STDMETHODCALLTYPE CHtmlSite::OnPosRectChange(LPCRECT) { return S_OK; }

// No tool space: the browser puts no toolbars around itself.
HRESULT STDMETHODCALLTYPE CHtmlSite::GetBorder(LPRECT) { return INPLACE_E_NOTOOLSPACE; }
HRESULT STDMETHODCALLTYPE CHtmlSite::RequestBorderSpace(LPCBORDERWIDTHS) { return INPLACE_E_NOTOOLSPACE; }
HRESULT STDMETHODCALLTYPE CHtmlSite::SetBorderSpace(LPCBORDERWIDTHS) { return INPLACE_E_NOTOOLSPACE; }
HRESULT STDMETHODCALLTYPE CHtmlSite::SetActiveObject(IOleInPlaceActiveObject*, LPCOLESTR) { return S_OK; }

// The host's menus stay its own.
HRESULT STDMETHODCALLTYPE CHtmlSite::InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE CHtmlSite::SetMenu(HMENU, HOLEMENU, HWND) { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::RemoveMenus(HMENU) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE CHtmlSite::SetStatusText(LPCOLESTR) { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::EnableModeless(BOOL) { return S_OK; }
HRESULT STDMETHODCALLTYPE CHtmlSite::TranslateAccelerator(LPMSG, WORD) { return S_FALSE; }

// ---------------------------------------------------------------------------
// CHtmlEventSink

CHtmlEventSink::CHtmlEventSink(CHtmlView* pView) : m_nRef(1), m_pView(pView)
{
    ::InterlockedIncrement(&g_nLiveObjects);
}

CHtmlEventSink::~CHtmlEventSink()
{
    ::InterlockedDecrement(&g_nLiveObjects);
}

HRESULT STDMETHODCALLTYPE CHtmlEventSink::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IDispatch || riid == DIID_DWebBrowserEvents2)
        return Hand(static_cast<IDispatch*>(this), ppv);
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE CHtmlEventSink::AddRef()
{
    return (ULONG)::InterlockedIncrement(&m_nRef);
}

ULONG STDMETHODCALLTYPE CHtmlEventSink::Release()
{
    const LONG n = ::InterlockedDecrement(&m_nRef);
    if (n == 0)
        delete this;
    return (ULONG)n;
}

HRESULT STDMETHODCALLTYPE CHtmlEventSink::GetTypeInfoCount(UINT* pctinfo)
{
    if (!pctinfo)
        return E_POINTER;
    *pctinfo = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CHtmlEventSink::GetTypeInfo(UINT, LCID, ITypeInfo** ppTInfo)
{
    if (ppTInfo)
        *ppTInfo = nullptr;
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE CHtmlEventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*)
{
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE CHtmlEventSink::Invoke(DISPID dispIdMember, REFIID, LCID, WORD, DISPPARAMS* pDispParams,
                                                 VARIANT*, EXCEPINFO*, UINT*)
{
    if (!pDispParams)
        return E_INVALIDARG;
    // A handler may destroy the view, and with it the last reference the
    // view held to this sink.
    AddRef();
    HRESULT hr = S_OK;
    // Exceptions must not unwind into the browser.
    try {
        hr = Dispatch(dispIdMember, pDispParams);
    } catch (CException* e) {
        e->Delete();
        hr = E_FAIL;
    } catch (...) {
        hr = E_FAIL;
    }
    Release();
    return hr;
}

// Arguments arrive last first: rgvarg[0] is the event's last parameter.
HRESULT CHtmlEventSink::Dispatch(DISPID dispIdMember, DISPPARAMS* p)
{
    if (!m_pView)
        return S_OK;
    VARIANT* a = p->rgvarg;
    switch (dispIdMember) {
    case DISPID_BEFORENAVIGATE2:
        if (p->cArgs != 7)
            return DISP_E_BADPARAMCOUNT;
        if (V_VT(&a[0]) != (VT_BYREF | VT_BOOL))
            return DISP_E_TYPEMISMATCH;
        m_pView->BeforeNavigate2(V_VT(&a[6]) == VT_DISPATCH ? V_DISPATCH(&a[6]) : nullptr, &a[5], &a[4], &a[3], &a[2],
                                 &a[1], V_BOOLREF(&a[0]));
        return S_OK;
    case DISPID_PROGRESSCHANGE:
        if (p->cArgs != 2)
            return DISP_E_BADPARAMCOUNT;
        m_pView->OnProgressChange(ArgLong(&a[1]), ArgLong(&a[0]));
        return S_OK;
    case DISPID_DOWNLOADCOMPLETE:
        m_pView->OnDownloadComplete();
        return S_OK;
    case DISPID_DOCUMENTCOMPLETE:
        if (p->cArgs != 2)
            return DISP_E_BADPARAMCOUNT;
        m_pView->DocumentComplete(V_VT(&a[1]) == VT_DISPATCH ? V_DISPATCH(&a[1]) : nullptr, Deref(&a[0]));
        return S_OK;
    }
    // Events the view does not handle.
    return S_OK;
}

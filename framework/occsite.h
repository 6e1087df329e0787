// The COM objects through which a CHtmlView hosts the WebBrowser control
// (internal to the library). Both count their references and live as long
// as the browser or the view holds them; QueryInterface answers exactly the
// interfaces each implements.
#pragma once
#include "afxhtml.h"
#include <ocidl.h>

// Every live object of the two classes below, for CHtmlView::GetSiteObjectCount.
LONG AfxHtmlSiteObjects();

// The container side of the browser: its client site, in-place site and
// in-place frame in one object. The browser's windows are children of
// hWnd, and its rectangle is hWnd's client area.
class CHtmlSite final : public IOleClientSite, public IOleInPlaceSite, public IOleInPlaceFrame
{
public:
    explicit CHtmlSite(HWND hWnd);
    CHtmlSite(const CHtmlSite&) = delete;
    CHtmlSite& operator=(const CHtmlSite&) = delete;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IOleClientSite
    HRESULT STDMETHODCALLTYPE SaveObject() override;
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD dwAssign, DWORD dwWhichMoniker, IMoniker** ppmk) override;
    HRESULT STDMETHODCALLTYPE GetContainer(IOleContainer** ppContainer) override;
    HRESULT STDMETHODCALLTYPE ShowObject() override;
    HRESULT STDMETHODCALLTYPE OnShowWindow(BOOL fShow) override;
    HRESULT STDMETHODCALLTYPE RequestNewObjectLayout() override;

    // IOleWindow (of the in-place site and of the frame)
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* phwnd) override;
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL fEnterMode) override;

    // IOleInPlaceSite
    HRESULT STDMETHODCALLTYPE CanInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnUIActivate() override;
    HRESULT STDMETHODCALLTYPE GetWindowContext(IOleInPlaceFrame** ppFrame, IOleInPlaceUIWindow** ppDoc,
                                               LPRECT lprcPosRect, LPRECT lprcClipRect,
                                               LPOLEINPLACEFRAMEINFO lpFrameInfo) override;
    HRESULT STDMETHODCALLTYPE Scroll(SIZE scrollExtant) override;
    HRESULT STDMETHODCALLTYPE OnUIDeactivate(BOOL fUndoable) override;
    HRESULT STDMETHODCALLTYPE OnInPlaceDeactivate() override;
    HRESULT STDMETHODCALLTYPE DiscardUndoState() override;
    HRESULT STDMETHODCALLTYPE DeactivateAndUndo() override;
    HRESULT STDMETHODCALLTYPE OnPosRectChange(LPCRECT lprcPosRect) override;

    // IOleInPlaceUIWindow
    HRESULT STDMETHODCALLTYPE GetBorder(LPRECT lprectBorder) override;
    HRESULT STDMETHODCALLTYPE RequestBorderSpace(LPCBORDERWIDTHS pborderwidths) override;
    HRESULT STDMETHODCALLTYPE SetBorderSpace(LPCBORDERWIDTHS pborderwidths) override;
    HRESULT STDMETHODCALLTYPE SetActiveObject(IOleInPlaceActiveObject* pActiveObject, LPCOLESTR pszObjName) override;

    // IOleInPlaceFrame
    HRESULT STDMETHODCALLTYPE InsertMenus(HMENU hmenuShared, LPOLEMENUGROUPWIDTHS lpMenuWidths) override;
    HRESULT STDMETHODCALLTYPE SetMenu(HMENU hmenuShared, HOLEMENU holemenu, HWND hwndActiveObject) override;
    HRESULT STDMETHODCALLTYPE RemoveMenus(HMENU hmenuShared) override;
    HRESULT STDMETHODCALLTYPE SetStatusText(LPCOLESTR pszStatusText) override;
    HRESULT STDMETHODCALLTYPE EnableModeless(BOOL fEnable) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG lpmsg, WORD wID) override;

private:
    ~CHtmlSite();
    LONG m_nRef;
    HWND m_hWnd;
};

// The receiver of the browser's DWebBrowserEvents2: unpacks each event and
// calls the view's handler, until the view detaches it.
class CHtmlEventSink final : public IDispatch
{
public:
    explicit CHtmlEventSink(CHtmlView* pView);
    CHtmlEventSink(const CHtmlEventSink&) = delete;
    CHtmlEventSink& operator=(const CHtmlEventSink&) = delete;
    // Events that arrive later reach no view.
    void Detach() { m_pView = nullptr; }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IDispatch: events come through Invoke by their dispatch ids; there
    // is no type information.
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                            DISPID* rgDispId) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                     DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                     UINT* puArgErr) override;

private:
    ~CHtmlEventSink();
    HRESULT Dispatch(DISPID dispIdMember, DISPPARAMS* pDispParams);
    LONG m_nRef;
    CHtmlView* m_pView;
};

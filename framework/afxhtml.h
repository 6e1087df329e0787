// Views, and the HTML view: a window that hosts the system's WebBrowser
// control in place and turns the browser's events into virtual calls.
//
// OLE must be initialised on a thread that hosts a browser. Each CHtmlView
// does it for itself: OleInitialize when its browser is made, the matching
// OleUninitialize once the browser is released. The calls nest, so a host
// that initialised OLE itself is not disturbed; a thread that joined the
// multithreaded apartment cannot host the browser, and Create fails there.
#pragma once
#include "afxwin.h"
#ifdef _WIN32
#include <exdisp.h>
#include <mshtml.h>

class CHtmlSite;
class CHtmlEventSink;

// A window that draws its contents through OnDraw. There are no documents
// nor frames here: a view is an ordinary child window owned by whoever
// made it (it does not delete itself when its window goes).
class AFX_EXT_CLASS CView : public CWnd
{
public:
    CView() {}
    virtual void OnDraw(CDC* pDC) = 0;

protected:
    afx_msg void OnPaint();
    // A click activates the view: it takes the focus unless the focus is
    // already inside it.
    afx_msg int OnMouseActivate(CWnd* pDesktopWnd, UINT nHitTest, UINT message);

    DECLARE_MESSAGE_MAP()
};

// The WebBrowser control in a view. Create makes the window and the
// browser, in place active over the client area; the browser follows the
// view's size and goes when the view's window is destroyed.
class AFX_EXT_CLASS CHtmlView : public CView
{
public:
    CHtmlView();
    ~CHtmlView() override;

    // FALSE when the window or the browser cannot be made; no window is
    // left then.
    BOOL Create(LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd,
                UINT nID, void* pContext = nullptr) override;

    // Starts a navigation (does nothing without a browser). Post data, when
    // given, makes it a POST request.
    void Navigate(LPCTSTR lpszURL, DWORD dwFlags = 0, LPCTSTR lpszTargetFrameName = nullptr,
                  LPCTSTR lpszHeaders = nullptr, LPVOID lpvPostData = nullptr, DWORD dwPostDataLen = 0);
    // The browser's current document, with a reference for the caller;
    // NULL when there is none.
    LPDISPATCH GetHtmlDocument() const;
    // Silent: the browser shows no dialogs of its own (script errors...).
    void SetSilent(BOOL bSilent);
    BOOL GetSilent() const;

    // The browser paints itself over the whole view.
    void OnDraw(CDC* pDC) override;
    // Keys bound for the browser go through its accelerators (Tab between
    // links, Ctrl+C of a selection...).
    BOOL PreTranslateMessage(MSG* pMsg) override;

    // Events of the browser. The defaults do nothing.
    virtual void OnBeforeNavigate2(LPCTSTR lpszURL, DWORD nFlags, LPCTSTR lpszTargetFrameName,
                                   CByteArray& baPostedData, LPCTSTR lpszHeaders, BOOL* pbCancel);
    virtual void OnProgressChange(long nProgress, long nProgressMax);
    virtual void OnDownloadComplete();
    virtual void OnDocumentComplete(LPCTSTR lpszURL);
    // The document-complete event as the browser sends it: calls
    // OnDocumentComplete with the address.
    virtual void DocumentComplete(LPDISPATCH pDisp, VARIANT* URL);
    // The before-navigate event as the browser sends it: unpacks the
    // arguments for OnBeforeNavigate2 and passes its answer back.
    void BeforeNavigate2(LPDISPATCH pDisp, VARIANT* URL, VARIANT* Flags, VARIANT* TargetFrameName, VARIANT* PostData,
                         VARIANT* Headers, VARIANT_BOOL* Cancel);

    // The COM objects (client sites and event sinks) that the views of
    // this process have made and that are still alive.
    static LONG PASCAL GetSiteObjectCount();

    // The browser while it exists; NULL before Create and after the
    // window is destroyed.
    IWebBrowser2* m_pBrowserApp;

protected:
    afx_msg void OnSize(UINT nType, int cx, int cy);
    // Releases the browser and its sites, then destroys the window.
    // Failures other than "not connected" or "no such interface" are
    // raised as COleException after everything is released.
    afx_msg void OnDestroy();

    DECLARE_MESSAGE_MAP()

private:
    BOOL CreateBrowser();
    // Releases everything CreateBrowser made (also after a partial
    // creation); the first unexpected failure, or S_OK.
    HRESULT DestroyBrowser();

    IOleObject* m_pOleObject;
    CHtmlSite* m_pSite;
    CHtmlEventSink* m_pEvents;
    IConnectionPoint* m_pEventPoint;
    DWORD m_dwEventCookie;
    bool m_bOleInit;
};

#endif // _WIN32

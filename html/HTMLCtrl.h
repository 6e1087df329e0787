// CHTMLCtrl: an HTML view that lives as a child control in any window or
// dialog. A host places it over a static placeholder of a dialog
// (CreateFromStaticInDialog) or anywhere in a window (CreateFromStatic and
// then MoveWindow), loads a page (Navigate, LoadFromResource) or writes
// HTML text into the current document (SetNewHTMLContent), and receives
// the commands of links of the form "app:command" by deriving from it and
// overriding OnAppCmd.
#pragma once
#include "../framework/afxhtml.h"

// Sent to the parent when a page has finished loading: wParam 0, lParam a
// CSize* holding the page's scroll width and height (the control's own
// member, valid as long as the control).
const UINT VELMOR_WM_HTMLPAGESIZE = 0x07F5;

class AFX_EXT_CLASS CHTMLCtrl : public CHtmlView
{
public:
    CHTMLCtrl();
    ~CHTMLCtrl() override;

    // A child of pParent with id nID, visible, at (0, 0, 1, 1) for the
    // owner to place, showing "About:Blank". The result of the creation.
    BOOL CreateFromStatic(UINT nID, CWnd* pParent);
    // Takes the place of the dialog item nID of pParent (a static): its
    // id, style and rectangle; the item is destroyed. FALSE when there is
    // no such item or it belongs to a framework object already.
    BOOL CreateFromStaticInDialog(UINT nID, CWnd* pParent);

    void Navigate(const wchar_t* url, DWORD flags = 0, const wchar_t* targetFrame = nullptr,
                  const wchar_t* headers = nullptr, void* postData = nullptr, DWORD postDataLength = 0);
    // "res://<full path of the library's module>/<name or number>".
    BOOL LoadFromResource(const wchar_t* name);
    BOOL LoadFromResource(UINT id);

    // Stores html (through ParseHTMLString when parse is true) and writes
    // it into the current document; false when there is no document.
    bool SetNewHTMLContent(CString html, bool parse);
    // Preprocesses the text before it is written; leaves it as it is.
    bool ParseHTMLString(CString& html);
    // The document body's scroll width and height; (0, 0) without one.
    CSize GetPageSize();

    // The browser's properties of those names; empty when unavailable.
    CString GetFullName() const;
    CString GetType() const;
    CString GetLocationName() const;
    CString GetLocationURL() const;

    // Silent mode on every navigation; "app:" addresses (any case) go to
    // OnAppCmd and are cancelled.
    void OnBeforeNavigate2(LPCTSTR lpszURL, DWORD nFlags, LPCTSTR lpszTargetFrameName, CByteArray& baPostedData,
                           LPCTSTR lpszHeaders, BOOL* pbCancel) override;
    // At the end of a load (nProgress -1): stores the page size and sends
    // VELMOR_WM_HTMLPAGESIZE to the parent.
    void OnProgressChange(long nProgress, long nProgressMax) override;
    void OnDownloadComplete() override;
    void OnDocumentComplete(LPCTSTR lpszURL) override;
    void DocumentComplete(LPDISPATCH pDisp, VARIANT* URL) override;
    // The command of an "app:" link, the text after the colon as it came.
    // Does nothing here: hosts derive and act on their commands.
    virtual void OnAppCmd(const wchar_t* cmd);

protected:
    afx_msg void OnDestroy();
    // The plain window behaviour: no view activation, so that the control
    // works in dialogs and in other controls.
    afx_msg int OnMouseActivate(CWnd* pDesktopWnd, UINT nHitTest, UINT message);

    DECLARE_MESSAGE_MAP()

private:
    bool SetHTMLInDocument();

    CString m_strHTMLContent; // the text last given to SetNewHTMLContent
    CSize m_szPage;           // measured when a load completes
    bool m_bContentPending;   // set by SetNewHTMLContent until it is written
};

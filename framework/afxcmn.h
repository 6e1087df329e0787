// Common controls.
#pragma once
#include "afxwin.h"
#ifdef _WIN32
#include <commctrl.h>

class AFX_EXT_CLASS CToolTipCtrl : public CWnd
{
public:
    CToolTipCtrl() {}
    ~CToolTipCtrl() override;

    BOOL Create(CWnd* pParentWnd, DWORD dwStyle = 0);
    BOOL AddTool(CWnd* pWnd, LPCTSTR lpszText = LPSTR_TEXTCALLBACKW, LPCRECT lpRectTool = nullptr,
                 UINT_PTR nIDTool = 0);
    void DelTool(CWnd* pWnd, UINT_PTR nIDTool = 0);
    void SetToolRect(CWnd* pWnd, UINT_PTR nIDTool, LPCRECT lpRect);
    void UpdateTipText(LPCTSTR lpszText, CWnd* pWnd, UINT_PTR nIDTool = 0);
    void GetText(CString& str, CWnd* pWnd, UINT_PTR nIDTool = 0) const;
    void Activate(BOOL bActivate) { SendMessage(TTM_ACTIVATE, bActivate, 0); }
    int SetMaxTipWidth(int iWidth) { return (int)SendMessage(TTM_SETMAXTIPWIDTH, 0, iWidth); }
    void Pop() { SendMessage(TTM_POP, 0, 0); }
    void Update() { SendMessage(TTM_UPDATE, 0, 0); }
    void SetTipBkColor(COLORREF clr) { SendMessage(TTM_SETTIPBKCOLOR, clr, 0); }
    void SetTipTextColor(COLORREF clr) { SendMessage(TTM_SETTIPTEXTCOLOR, clr, 0); }
    // The automatic delay: initial, pop and reshow times in their usual proportions.
    void SetDelayTime(UINT nDelay) { SendMessage(TTM_SETDELAYTIME, TTDT_AUTOMATIC, (LPARAM)(DWORD)nDelay); }
    void SetDelayTime(DWORD dwDuration, int iTime) { SendMessage(TTM_SETDELAYTIME, dwDuration, MAKELPARAM(iTime, 0)); }
    int GetToolCount() const { return (int)SendMessage(TTM_GETTOOLCOUNT, 0, 0); }

private:
    void FillInToolInfo(TOOLINFOW& ti, CWnd* pWnd, UINT_PTR nIDTool) const;
};
#endif

// Common-control wrappers.
#include "afxcmn.h"

CToolTipCtrl::~CToolTipCtrl()
{
    DestroyWindow();
}

BOOL CToolTipCtrl::Create(CWnd* pParentWnd, DWORD dwStyle)
{
    INITCOMMONCONTROLSEX icc = { sizeof icc, ICC_WIN95_CLASSES };
    ::InitCommonControlsEx(&icc);
    return CreateEx(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | dwStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                    CW_USEDEFAULT, CW_USEDEFAULT, pParentWnd ? pParentWnd->m_hWnd : nullptr, nullptr);
}

void CToolTipCtrl::FillInToolInfo(TOOLINFOW& ti, CWnd* pWnd, UINT_PTR nIDTool) const
{
    ZeroMemory(&ti, sizeof ti);
    // The smaller size is understood by every version of the control.
    ti.cbSize = TTTOOLINFOW_V2_SIZE;
    ti.hwnd = pWnd ? pWnd->m_hWnd : nullptr;
    if (nIDTool == 0) {
        ti.uFlags = TTF_IDISHWND;
        ti.uId = (UINT_PTR)ti.hwnd;
    } else {
        ti.uId = nIDTool;
    }
}

BOOL CToolTipCtrl::AddTool(CWnd* pWnd, LPCTSTR lpszText, LPCRECT lpRectTool, UINT_PTR nIDTool)
{
    TOOLINFOW ti;
    FillInToolInfo(ti, pWnd, nIDTool);
    if (lpRectTool)
        ti.rect = *lpRectTool;
    else if (pWnd)
        ::GetClientRect(pWnd->m_hWnd, &ti.rect);
    ti.lpszText = const_cast<LPWSTR>(lpszText);
    return (BOOL)SendMessage(TTM_ADDTOOLW, 0, (LPARAM)&ti);
}

void CToolTipCtrl::DelTool(CWnd* pWnd, UINT_PTR nIDTool)
{
    TOOLINFOW ti;
    FillInToolInfo(ti, pWnd, nIDTool);
    SendMessage(TTM_DELTOOLW, 0, (LPARAM)&ti);
}

void CToolTipCtrl::SetToolRect(CWnd* pWnd, UINT_PTR nIDTool, LPCRECT lpRect)
{
    TOOLINFOW ti;
    FillInToolInfo(ti, pWnd, nIDTool);
    ti.rect = *lpRect;
    SendMessage(TTM_NEWTOOLRECTW, 0, (LPARAM)&ti);
}

void CToolTipCtrl::UpdateTipText(LPCTSTR lpszText, CWnd* pWnd, UINT_PTR nIDTool)
{
    TOOLINFOW ti;
    FillInToolInfo(ti, pWnd, nIDTool);
    ti.lpszText = const_cast<LPWSTR>(lpszText);
    SendMessage(TTM_UPDATETIPTEXTW, 0, (LPARAM)&ti);
}

void CToolTipCtrl::GetText(CString& str, CWnd* pWnd, UINT_PTR nIDTool) const
{
    TOOLINFOW ti;
    FillInToolInfo(ti, pWnd, nIDTool);
    // The control copies at most 80 characters unless told the size
    // (TTM_GETTEXT with wParam is honoured by newer versions).
    const int cch = 1024;
    ti.lpszText = str.GetBufferSetLength(cch);
    ti.lpszText[0] = 0;
    SendMessage(TTM_GETTEXTW, cch, (LPARAM)&ti);
    str.ReleaseBuffer();
}

// Window objects, handle maps, creation and message dispatch.
#include "afxwin.h"
#include "afxstate.h"
#include <exception>

// ---------------------------------------------------------------------------
// Thread state

AFX_THREAD_STATE& AfxGetThreadState()
{
    // Windows belong to the thread that created them, so the maps are per
    // thread, like the messages they serve. The state is never destroyed:
    // framework objects of static storage (a global CFont) may be destroyed
    // after the thread's own storage at exit and still look themselves up.
    static thread_local AFX_THREAD_STATE* state = new AFX_THREAD_STATE;
    return *state;
}

void AFXAPI AfxDeleteTempMaps()
{
    auto& st = AfxGetThreadState();
    st.wndMap.DeleteTemps();
    st.gdiMap.DeleteTemps();
    st.dcMap.DeleteTemps();
    st.menuMap.DeleteTemps();
}

// ---------------------------------------------------------------------------
// Module

HINSTANCE AFXAPI AfxGetInstanceHandle()
{
    static HINSTANCE hInst = [] {
        HMODULE h = nullptr;
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             reinterpret_cast<LPCWSTR>(&AfxGetInstanceHandle), &h);
        return (HINSTANCE)h;
    }();
    return hInst;
}

HINSTANCE AFXAPI AfxGetResourceHandle()
{
    return AfxGetInstanceHandle();
}

// ---------------------------------------------------------------------------
// Command targets

const AFX_MSGMAP* CCmdTarget::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY entries[] = { { 0, 0, 0, 0, nullptr } };
    static const AFX_MSGMAP map = { nullptr, entries };
    return &map;
}

const AFX_MSGMAP* CCmdTarget::GetMessageMap() const
{
    return GetThisMessageMap();
}

const AFX_MSGMAP_ENTRY* CCmdTarget::FindEntry(UINT nMessage, UINT nCode, UINT nID) const
{
    for (const AFX_MSGMAP* map = GetMessageMap(); map; map = map->pfnGetBaseMap ? map->pfnGetBaseMap() : nullptr) {
        for (const AFX_MSGMAP_ENTRY* e = map->lpEntries; e->pfn; ++e) {
            if (e->nMessage != nMessage || e->nCode != nCode)
                continue;
            if (nMessage == WM_COMMAND && (nID < e->nID || nID > e->nLastID))
                continue;
            return e;
        }
    }
    return nullptr;
}

void CCmdUI::Enable(BOOL bOn)
{
    m_bEnableChanged = TRUE;
    m_bEnabled = bOn;
    if (m_hMenu)
        ::EnableMenuItem(m_hMenu, m_nIndex, MF_BYPOSITION | (bOn ? MF_ENABLED : (MF_DISABLED | MF_GRAYED)));
}

void CCmdUI::SetCheck(int nCheck)
{
    m_nCheck = nCheck;
    if (m_hMenu)
        ::CheckMenuItem(m_hMenu, m_nIndex, MF_BYPOSITION | (nCheck ? MF_CHECKED : MF_UNCHECKED));
}

BOOL CCmdUI::DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHandler)
{
    m_bEnableChanged = FALSE;
    const BOOL bHandled = pTarget && pTarget->OnCmdMsg(m_nID, (int)CN_UPDATE_COMMAND_UI, this, nullptr);
    if (!bHandled && bDisableIfNoHandler && !m_bEnableChanged)
        Enable(FALSE);
    return bHandled;
}

BOOL CCmdTarget::OnCmdMsg(UINT nID, int nCode, void* pExtra, void*)
{
    const AFX_MSGMAP_ENTRY* e = FindEntry(WM_COMMAND, (UINT)nCode, nID);
    if (!e)
        return FALSE;
    LRESULT r = 0;
    return e->pfn(this, nID, 0, (LPARAM)pExtra, &r);
}

// ---------------------------------------------------------------------------
// CWnd: handle maps

CWnd::CWnd() : m_hWnd(nullptr), m_pfnSuper(nullptr) {}

CWnd::~CWnd()
{
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this)
        DestroyWindow();
}

CWnd* PASCAL CWnd::FromHandlePermanent(HWND hWnd)
{
    return AfxGetThreadState().wndMap.LookupPermanent(hWnd);
}

CWnd* PASCAL CWnd::FromHandle(HWND hWnd)
{
    return AfxGetThreadState().wndMap.FromHandle(hWnd);
}

BOOL CWnd::Attach(HWND hWndNew)
{
    if (!hWndNew || m_hWnd)
        return FALSE;
    AfxGetThreadState().wndMap.SetPermanent(hWndNew, this);
    m_hWnd = hWndNew;
    return TRUE;
}

HWND CWnd::Detach()
{
    HWND h = m_hWnd;
    if (h)
        AfxGetThreadState().wndMap.RemovePermanent(h, this);
    m_hWnd = nullptr;
    return h;
}

BOOL CWnd::SubclassWindow(HWND hWnd)
{
    if (!Attach(hWnd))
        return FALSE;
    PreSubclassWindow();
    WNDPROC old = (WNDPROC)::SetWindowLongPtrW(hWnd, GWLP_WNDPROC, (LONG_PTR)AfxWndProc);
    if (old != AfxWndProc)
        m_pfnSuper = old;
    return TRUE;
}

BOOL CWnd::SubclassDlgItem(UINT nID, CWnd* pParent)
{
    HWND hWnd = pParent ? ::GetDlgItem(pParent->m_hWnd, (int)nID) : nullptr;
    if (!hWnd || FromHandlePermanent(hWnd))
        return FALSE;
    return SubclassWindow(hWnd);
}

HWND CWnd::UnsubclassWindow()
{
    if (m_pfnSuper)
        ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, (LONG_PTR)m_pfnSuper);
    m_pfnSuper = nullptr;
    return Detach();
}

// ---------------------------------------------------------------------------
// CWnd: creation

// Attaches the window being created to its object before any message.
LRESULT CALLBACK AfxCbtFilterHook(int code, WPARAM wParam, LPARAM lParam)
{
    auto& st = AfxGetThreadState();
    if (code == HCBT_CREATEWND && st.pWndInit) {
        // The system may create the thread's input-method window first.
        const CREATESTRUCTW* lpcs = reinterpret_cast<CBT_CREATEWNDW*>(lParam)->lpcs;
        const bool ime = lpcs->lpszClass && !IS_INTRESOURCE(lpcs->lpszClass) && !lstrcmpiW(lpcs->lpszClass, L"IME");
        if (!ime) {
            CWnd* pWnd = st.pWndInit;
            st.pWndInit = nullptr;
            try {
                pWnd->SubclassWindow((HWND)wParam);
            } catch (...) {
                // Out of memory in the handle map: CreateEx attaches late.
            }
        }
    }
    return ::CallNextHookEx(st.hHookCbt, code, wParam, lParam);
}

static const wchar_t kDefaultClass[] = L"AfxWnd";

static void RegisterDefaultClass()
{
    WNDCLASSW wc;
    HINSTANCE hInst = AfxGetInstanceHandle();
    if (::GetClassInfoW(hInst, kDefaultClass, &wc))
        return;
    ZeroMemory(&wc, sizeof wc);
    // Double clicks need CS_DBLCLKS; the framework's procedure is put in
    // place by subclassing when a window is created.
    wc.style = CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW;
    wc.lpfnWndProc = ::DefWindowProcW;
    wc.hInstance = hInst;
    wc.hCursor = ::LoadCursorW(nullptr, (LPCWSTR)IDC_ARROW);
    wc.lpszClassName = kDefaultClass;
    ::RegisterClassW(&wc);
}

BOOL CWnd::PreCreateWindow(CREATESTRUCT& cs)
{
    if (!cs.lpszClass) {
        RegisterDefaultClass();
        cs.lpszClass = kDefaultClass;
    }
    return TRUE;
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, int x, int y,
                    int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu, LPVOID lpParam)
{
    if (m_hWnd)
        return FALSE;
    CREATESTRUCTW cs;
    cs.dwExStyle = dwExStyle;
    cs.lpszClass = lpszClassName;
    cs.lpszName = lpszWindowName;
    cs.style = (LONG)dwStyle;
    cs.x = x;
    cs.y = y;
    cs.cx = nWidth;
    cs.cy = nHeight;
    cs.hwndParent = hWndParent;
    cs.hMenu = nIDorHMenu;
    cs.hInstance = AfxGetInstanceHandle();
    cs.lpCreateParams = lpParam;
    if (!PreCreateWindow(cs)) {
        PostNcDestroy();
        return FALSE;
    }

    auto& st = AfxGetThreadState();
    CWnd* pOldInit = st.pWndInit;
    bool ownHook = st.hHookCbt == nullptr;
    if (ownHook)
        st.hHookCbt = ::SetWindowsHookExW(WH_CBT, AfxCbtFilterHook, nullptr, ::GetCurrentThreadId());
    st.pWndInit = this;
    HWND hWnd = ::CreateWindowExW(cs.dwExStyle, cs.lpszClass, cs.lpszName, (DWORD)cs.style, cs.x, cs.y, cs.cx, cs.cy,
                                  cs.hwndParent, cs.hMenu, cs.hInstance, cs.lpCreateParams);
    st.pWndInit = pOldInit;
    if (ownHook) {
        ::UnhookWindowsHookEx(st.hHookCbt);
        st.hHookCbt = nullptr;
    }
    if (!hWnd) {
        // A window that failed after attaching (WM_CREATE returned -1) has
        // already been detached by WM_NCDESTROY.
        if (m_hWnd)
            Detach();
        return FALSE;
    }
    if (m_hWnd != hWnd) {
        // The hook missed this window (it could not be installed, or
        // another window took the place): attach now, so that the window is
        // at least owned and destroyed by this object.
        if (m_hWnd)
            UnsubclassWindow();
        SubclassWindow(hWnd);
    }
    return TRUE;
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, const RECT& rect,
                    CWnd* pParentWnd, UINT nID, LPVOID lpParam)
{
    return CreateEx(dwExStyle, lpszClassName, lpszWindowName, dwStyle, rect.left, rect.top, rect.right - rect.left,
                    rect.bottom - rect.top, pParentWnd ? pParentWnd->m_hWnd : nullptr, (HMENU)(UINT_PTR)nID, lpParam);
}

BOOL CWnd::Create(LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd,
                  UINT nID, void*)
{
    return CreateEx(0, lpszClassName, lpszWindowName, dwStyle | WS_CHILD, rect, pParentWnd, nID);
}

BOOL CWnd::DestroyWindow()
{
    if (!m_hWnd)
        return FALSE;
    BOOL ok = ::DestroyWindow(m_hWnd);
    // An attached window that was not subclassed never sees WM_NCDESTROY
    // through us. A temporary wrapper keeps wrapping its (now dead) handle.
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this)
        Detach();
    return ok;
}

// ---------------------------------------------------------------------------
// CWnd: messages

const MSG* PASCAL CWnd::GetCurrentMessage()
{
    return &AfxGetThreadState().lastMsg;
}

LRESULT CWnd::Default()
{
    const MSG& m = AfxGetThreadState().lastMsg;
    return DefWindowProc(m.message, m.wParam, m.lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (m_pfnSuper)
        return ::CallWindowProcW(m_pfnSuper, m_hWnd, message, wParam, lParam);
    return ::DefWindowProcW(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT lResult = 0;
    if (!OnWndMsg(message, wParam, lParam, &lResult))
        lResult = DefWindowProc(message, wParam, lParam);
    return lResult;
}

BOOL CWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    if (message == WM_COMMAND) {
        if (!OnCommand(wParam, lParam))
            return FALSE;
        *pResult = 1;
        return TRUE;
    }
    const AFX_MSGMAP_ENTRY* e = FindEntry(message, 0, 0);
    return e && e->pfn(this, 0, wParam, lParam, pResult);
}

BOOL CWnd::OnCommand(WPARAM wParam, LPARAM lParam)
{
    UINT nID = LOWORD(wParam);
    // Menus and accelerators (no control handle) are plain commands.
    int nCode = lParam ? (int)HIWORD(wParam) : (int)CN_COMMAND;
    return OnCmdMsg(nID, nCode, nullptr, nullptr);
}

BOOL CWnd::PreTranslateMessage(MSG*)
{
    return FALSE;
}

BOOL PASCAL CWnd::WalkPreTranslateTree(HWND hWndStop, MSG* pMsg)
{
    for (HWND hWnd = pMsg->hwnd; hWnd; hWnd = ::GetParent(hWnd)) {
        CWnd* pWnd = FromHandlePermanent(hWnd);
        if (pWnd && pWnd->PreTranslateMessage(pMsg))
            return TRUE;
        if (hWnd == hWndStop)
            break;
    }
    return FALSE;
}

BOOL AFXAPI AfxPreTranslateMessage(MSG* pMsg)
{
    return pMsg && CWnd::WalkPreTranslateTree(nullptr, pMsg);
}

// What a message that threw yields: creation fails, painting is validated
// so that it is not asked for again and again.
static LRESULT ProcessWndProcException(HWND hWnd, UINT nMsg)
{
    if (nMsg == WM_CREATE)
        return -1;
    if (nMsg == WM_PAINT)
        ::ValidateRect(hWnd, nullptr);
    return 0;
}

LRESULT AfxCallWndProc(CWnd* pWnd, HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam)
{
    auto& st = AfxGetThreadState();
    MSG saved = st.lastMsg;
    st.lastMsg.hwnd = hWnd;
    st.lastMsg.message = nMsg;
    st.lastMsg.wParam = wParam;
    st.lastMsg.lParam = lParam;
    LRESULT lResult = 0;
    // Exceptions must not unwind through the system's dispatcher.
    try {
        lResult = pWnd->WindowProc(nMsg, wParam, lParam);
    } catch (CException* e) {
        lResult = ProcessWndProcException(hWnd, nMsg);
        e->Delete();
    } catch (...) {
        lResult = ProcessWndProcException(hWnd, nMsg);
    }
    if (nMsg == WM_NCDESTROY && pWnd->m_hWnd == hWnd) {
        pWnd->UnsubclassWindow();
        pWnd->PostNcDestroy();
    }
    st.lastMsg = saved;
    return lResult;
}

LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam)
{
    CWnd* pWnd = CWnd::FromHandlePermanent(hWnd);
    if (!pWnd)
        return ::DefWindowProcW(hWnd, nMsg, wParam, lParam);
    return AfxCallWndProc(pWnd, hWnd, nMsg, wParam, lParam);
}

BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
END_MESSAGE_MAP()

// ---------------------------------------------------------------------------
// CWnd: wrappers

BOOL CWnd::ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    DWORD style = GetStyle();
    DWORD newStyle = (style & ~dwRemove) | dwAdd;
    if (style == newStyle)
        return FALSE;
    ::SetWindowLongPtrW(m_hWnd, GWL_STYLE, (LONG_PTR)newStyle);
    if (nFlags)
        ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | nFlags);
    return TRUE;
}

void CWnd::GetWindowText(CString& rString) const
{
    int n = ::GetWindowTextLengthW(m_hWnd);
    ::GetWindowTextW(m_hWnd, rString.GetBufferSetLength(n + 1), n + 1);
    rString.ReleaseBuffer();
}

void CWnd::SetFont(CFont* pFont, BOOL bRedraw)
{
    SendMessage(WM_SETFONT, (WPARAM)(pFont ? pFont->m_hObject : nullptr), bRedraw);
}

void CWnd::ClientToScreen(LPRECT lpRect) const
{
    ::MapWindowPoints(m_hWnd, nullptr, (LPPOINT)lpRect, 2);
}

void CWnd::ScreenToClient(LPRECT lpRect) const
{
    ::MapWindowPoints(nullptr, m_hWnd, (LPPOINT)lpRect, 2);
}

void CWnd::MapWindowPoints(CWnd* pwndTo, LPRECT lpRect) const
{
    ::MapWindowPoints(m_hWnd, pwndTo ? pwndTo->m_hWnd : nullptr, (LPPOINT)lpRect, 2);
}

BOOL CWnd::RedrawWindow(LPCRECT lpRectUpdate, CRgn* prgnUpdate, UINT flags)
{
    return ::RedrawWindow(m_hWnd, lpRectUpdate, prgnUpdate ? (HRGN)prgnUpdate->m_hObject : nullptr, flags);
}

int CWnd::ReleaseDC(CDC* pDC)
{
    if (!pDC)
        return 0;
    HDC hDC = pDC->m_hDC;
    // The wrapper GetDC made goes with the DC.
    AfxGetThreadState().dcMap.DeleteTemp(hDC, pDC);
    return ::ReleaseDC(m_hWnd, hDC);
}

BOOL CWnd::SetScrollInfo(int nBar, LPSCROLLINFO lpScrollInfo, BOOL bRedraw)
{
    lpScrollInfo->cbSize = sizeof(SCROLLINFO);
    ::SetScrollInfo(m_hWnd, nBar, lpScrollInfo, bRedraw);
    return TRUE;
}

BOOL CWnd::GetScrollInfo(int nBar, LPSCROLLINFO lpScrollInfo, UINT nMask) const
{
    lpScrollInfo->cbSize = sizeof(SCROLLINFO);
    lpScrollInfo->fMask = nMask;
    return ::GetScrollInfo(m_hWnd, nBar, lpScrollInfo);
}

CPoint PASCAL CWnd::GetCaretPos()
{
    CPoint pt;
    ::GetCaretPos(&pt);
    return pt;
}

// CMenu: menus loaded from the library's resources or built at run time.
#include "afxstate.h"

CMenu::~CMenu()
{
    DestroyMenu();
}

CMenu* PASCAL CMenu::FromHandle(HMENU hMenu)
{
    return AfxGetThreadState().menuMap.FromHandle(hMenu);
}

BOOL CMenu::Attach(HMENU hMenu)
{
    if (!hMenu || m_hMenu)
        return FALSE;
    AfxGetThreadState().menuMap.SetPermanent(hMenu, this);
    m_hMenu = hMenu;
    return TRUE;
}

HMENU CMenu::Detach()
{
    HMENU h = m_hMenu;
    if (h)
        AfxGetThreadState().menuMap.RemovePermanent(h, this);
    m_hMenu = nullptr;
    return h;
}

BOOL CMenu::CreatePopupMenu()
{
    return Attach(::CreatePopupMenu());
}

BOOL CMenu::LoadMenu(UINT nIDResource)
{
    return Attach(::LoadMenuW(AfxGetResourceHandle(), MAKEINTRESOURCEW(nIDResource)));
}

namespace {

// Destroying a menu destroys its popups, at every depth: their temporary
// wrappers must not outlive them.
void DeletePopupTemps(HMENU hMenu)
{
    const int n = ::GetMenuItemCount(hMenu);
    for (int i = 0; i < n; ++i)
        if (HMENU hSub = ::GetSubMenu(hMenu, i)) {
            DeletePopupTemps(hSub);
            AfxGetThreadState().menuMap.DeleteTemp(hSub);
        }
}

} // namespace

BOOL CMenu::DestroyMenu()
{
    if (!m_hMenu)
        return FALSE;
    DeletePopupTemps(m_hMenu);
    HMENU h = Detach();
    AfxGetThreadState().menuMap.DeleteTemp(h);
    return ::DestroyMenu(h);
}

CMenu* CMenu::GetSubMenu(int nPos) const
{
    return FromHandle(::GetSubMenu(m_hMenu, nPos));
}

UINT CMenu::GetMenuItemCount() const
{
    return (UINT)::GetMenuItemCount(m_hMenu);
}

UINT CMenu::GetMenuItemID(int nPos) const
{
    return ::GetMenuItemID(m_hMenu, nPos);
}

UINT CMenu::GetMenuState(UINT nIDItem, UINT nFlags) const
{
    return ::GetMenuState(m_hMenu, nIDItem, nFlags);
}

int CMenu::GetMenuString(UINT nIDItem, CString& rString, UINT nFlags) const
{
    wchar_t buf[256];
    const int n = ::GetMenuStringW(m_hMenu, nIDItem, buf, (int)(sizeof buf / sizeof buf[0]), nFlags);
    rString = CString(buf, n > 0 ? n : 0);
    return n;
}

BOOL CMenu::AppendMenu(UINT nFlags, UINT_PTR nIDNewItem, LPCTSTR lpszNewItem)
{
    return ::AppendMenuW(m_hMenu, nFlags, nIDNewItem, lpszNewItem);
}

BOOL CMenu::RemoveMenu(UINT nPosition, UINT nFlags)
{
    // A removed popup is not destroyed: its wrapper stays valid.
    return ::RemoveMenu(m_hMenu, nPosition, nFlags);
}

UINT CMenu::EnableMenuItem(UINT nIDEnableItem, UINT nEnable)
{
    return ::EnableMenuItem(m_hMenu, nIDEnableItem, nEnable);
}

BOOL CMenu::TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect)
{
    return ::TrackPopupMenu(m_hMenu, nFlags, x, y, 0, pWnd ? pWnd->m_hWnd : nullptr, lpRect);
}

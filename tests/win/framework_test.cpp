// The framework's window half: creation attaches the object before the
// first message, message maps dispatch in declaration order with base maps
// last, commands route by id range, exceptions never escape a message.
#include "host.h"
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class CBaseProbe : public CWnd
{
public:
    std::vector<std::wstring> log;
    UINT firstMessage = 0;
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (!firstMessage)
            firstMessage = message;
        return CWnd::WindowProc(message, wParam, lParam);
    }

protected:
    afx_msg void OnSize(UINT, int cx, int cy) { log.push_back(L"base size " + std::to_wstring(cx)); }
    afx_msg void OnTimer(UINT_PTR id) { log.push_back(L"base timer " + std::to_wstring(id)); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CBaseProbe, CWnd)
    ON_WM_SIZE()
    ON_WM_TIMER()
END_MESSAGE_MAP()

class CProbe : public CBaseProbe
{
public:
    int created = 0;
    UINT lastCommand = 0;
    int throwsOnPaint = 0;

protected:
    afx_msg int OnCreate(LPCREATESTRUCT cs)
    {
        if (CWnd::OnCreate(cs) == -1)
            return -1;
        ++created;
        return 0;
    }
    afx_msg void OnTimer(UINT_PTR id) { log.push_back(L"derived timer " + std::to_wstring(id)); }
    afx_msg void OnTimerAgain(UINT_PTR) { log.push_back(L"second entry"); }
    afx_msg void OnFirstRange(UINT id) { lastCommand = id; log.push_back(L"first range"); }
    afx_msg void OnSecondRange(UINT id) { lastCommand = id; log.push_back(L"second range"); }
    afx_msg void OnPaint()
    {
        CPaintDC dc(this);
        ++throwsOnPaint;
        AfxThrowInvalidArgException();
    }
    afx_msg LRESULT OnPrivate(WPARAM w, LPARAM l) { return (LRESULT)(w + l); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CProbe, CBaseProbe)
    ON_WM_CREATE()
    ON_WM_TIMER()
    { WM_TIMER, 0, 0, 0, AFX_THUNK(_p->OnTimerAgain((UINT_PTR)wParam); *_r = 0) },
    ON_COMMAND_RANGE(100, 200, &CProbe::OnFirstRange)
    ON_COMMAND_RANGE(100, 300, &CProbe::OnSecondRange)
    ON_WM_PAINT()
    ON_MESSAGE(WM_APP + 1, &CProbe::OnPrivate)
END_MESSAGE_MAP()

} // namespace

TEST(Framework, WindowsAreAttachedBeforeTheirFirstMessage)
{
    HostWindow host;
    CProbe probe;
    ASSERT_TRUE(probe.Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 0, 100, 50), host.wnd(), 5));
    EXPECT_NE(0u, probe.firstMessage);
    EXPECT_TRUE(probe.firstMessage == WM_NCCREATE || probe.firstMessage == WM_GETMINMAXINFO);
    EXPECT_EQ(1, probe.created);
    EXPECT_EQ(&probe, CWnd::FromHandlePermanent(probe.m_hWnd));
    EXPECT_EQ(&probe, CWnd::FromHandle(probe.m_hWnd));
    EXPECT_EQ(host.hwnd(), probe.GetParent()->m_hWnd);
    // The default class takes double clicks.
    EXPECT_NE(0u, GetClassLongPtrW(probe.m_hWnd, GCL_STYLE) & CS_DBLCLKS);

    HWND h = probe.m_hWnd;
    probe.DestroyWindow();
    EXPECT_EQ(nullptr, probe.m_hWnd);
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(h));
}

TEST(Framework, MessageMapsDispatchInOrderThenBaseMaps)
{
    HostWindow host;
    CProbe probe;
    ASSERT_TRUE(probe.Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 0, 100, 50), host.wnd(), 5));
    probe.log.clear();
    probe.SendMessage(WM_TIMER, 7, 0);
    probe.MoveWindow(0, 0, 120, 50);
    ASSERT_EQ(2u, probe.log.size());
    EXPECT_EQ(L"derived timer 7", probe.log[0]); // first matching entry wins
    EXPECT_EQ(L"base size 120", probe.log[1]);  // found in the base class's map

    probe.SendMessage(WM_COMMAND, MAKEWPARAM(150, 0), 0);
    EXPECT_EQ(150u, probe.lastCommand);
    EXPECT_EQ(L"first range", probe.log.back());
    probe.SendMessage(WM_COMMAND, MAKEWPARAM(250, 0), 0);
    EXPECT_EQ(L"second range", probe.log.back());
    probe.log.clear();
    probe.SendMessage(WM_COMMAND, MAKEWPARAM(400, 0), 0);
    EXPECT_TRUE(probe.log.empty());

    EXPECT_EQ(12, probe.SendMessage(WM_APP + 1, 5, 7));
}

TEST(Framework, ExceptionsDoNotEscapeMessageHandlers)
{
    HostWindow host;
    CProbe probe;
    ASSERT_TRUE(probe.Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 0, 100, 50), host.wnd(), 5));
    probe.Invalidate();
    probe.UpdateWindow();
    PumpMessages();
    EXPECT_EQ(1, probe.throwsOnPaint); // validated: not asked to paint again
    EXPECT_TRUE(IsWindow(probe.m_hWnd));
}

TEST(Framework, StringsAreUtf16AndDevicesMeasure)
{
    static_assert(sizeof(wchar_t) == 2, "UTF-16 on Windows");
    CString s(L"a\U0001F600b");
    EXPECT_EQ(4, s.GetLength()); // a surrogate pair is two characters
    EXPECT_EQ(3, s.Find(L'b'));
    CString f;
    f.Format(L"%ls=%d", L"n", 42);
    EXPECT_EQ(CString(L"n=42"), f);

    CFont font;
    ASSERT_TRUE(font.CreatePointFont(100, L"Liberation Mono"));
    LOGFONTW lf;
    font.GetLogFont(&lf);
    EXPECT_EQ(-13, lf.lfHeight); // 10 pt at 96 dpi
    CClientDC dc(nullptr);
    CFont* old = dc.SelectObject(&font);
    TEXTMETRICW tm;
    dc.GetTextMetrics(&tm);
    EXPECT_EQ(15, tm.tmHeight);
    EXPECT_EQ(8, tm.tmAveCharWidth);
    EXPECT_EQ(24, dc.GetTextExtent(CString(L"abc")).cx);
    dc.SelectObject(old);

    // "Courier New" is mapped to the metric-compatible face in the test prefix.
    CFont courier;
    courier.CreatePointFont(100, L"Courier New");
    old = dc.SelectObject(&courier);
    EXPECT_EQ(dc.GetTextExtent(CString(L"i")).cx, dc.GetTextExtent(CString(L"W")).cx);
    dc.SelectObject(old);
}

TEST(Framework, GdiObjectsSelectDrawAndRestore)
{
    CClientDC screen(nullptr);
    CDC mem;
    ASSERT_TRUE(mem.CreateCompatibleDC(&screen));
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&screen, 40, 20));
    CBitmap* oldBitmap = mem.SelectObject(&bitmap);
    ASSERT_NE(nullptr, oldBitmap);
    // The wrapper for a handle met in passing is the same object each time.
    EXPECT_EQ(oldBitmap, CGdiObject::FromHandle(oldBitmap->m_hObject));

    mem.FillSolidRect(CRect(0, 0, 40, 20), RGB(255, 255, 255));
    EXPECT_EQ(RGB(255, 255, 255), mem.GetBkColor()); // the fill sets the background colour
    CPen pen(PS_SOLID, 1, RGB(0, 0, 222));
    CBrush brush(RGB(200, 0, 0));
    CPen* oldPen = mem.SelectObject(&pen);
    CBrush* oldBrush = mem.SelectObject(&brush);
    mem.Rectangle(2, 2, 12, 12);
    EXPECT_EQ(RGB(0, 0, 222), mem.GetPixel(2, 5));  // outline
    EXPECT_EQ(RGB(200, 0, 0), mem.GetPixel(6, 6));  // fill
    EXPECT_EQ(RGB(255, 255, 255), mem.GetPixel(20, 6));
    // Reselecting the returned objects puts the DC back as it was.
    EXPECT_EQ(&pen, mem.SelectObject(oldPen));
    EXPECT_EQ(&brush, mem.SelectObject(oldBrush));
    EXPECT_EQ(&bitmap, mem.SelectObject(oldBitmap));

    BITMAP bm;
    ASSERT_NE(0, bitmap.GetBitmap(&bm));
    EXPECT_EQ(40, bm.bmWidth);
    HGDIOBJ h = bitmap.m_hObject;
    EXPECT_TRUE(bitmap.DeleteObject());
    EXPECT_EQ(nullptr, bitmap.m_hObject);
    EXPECT_EQ(0, GetObjectType(h)); // really deleted
    AfxDeleteTempMaps();
}

// Menus load from the library's resources; a submenu is a temporary
// wrapper, the same object until the temporary maps are freed; items can
// be removed, appended and read back; the loaded menu dies with its object.
TEST(Framework, MenusLoadAndChange)
{
    HMENU hLoaded = nullptr;
    {
        CMenu menu;
        ASSERT_TRUE(menu.LoadMenu(130));
        hLoaded = menu.GetSafeHmenu();
        EXPECT_TRUE(IsMenu(hLoaded));
        EXPECT_FALSE(menu.LoadMenu(131)); // already holds a menu
        EXPECT_EQ(&menu, CMenu::FromHandle(hLoaded));
        CMenu* pPopup = menu.GetSubMenu(0);
        ASSERT_NE(nullptr, pPopup);
        EXPECT_EQ(pPopup, menu.GetSubMenu(0));
        EXPECT_EQ(12u, pPopup->GetMenuItemCount());
        EXPECT_EQ((UINT)-1, pPopup->GetMenuItemID(0));
        EXPECT_EQ(0u, pPopup->GetMenuItemID(3));
        EXPECT_EQ(57643u, pPopup->GetMenuItemID(4));
        CString text;
        EXPECT_EQ(11, pPopup->GetMenuString(11, text, MF_BYPOSITION));
        EXPECT_EQ(CString(L"Select &All"), text);

        CMenu* pVars = pPopup->GetSubMenu(0);
        ASSERT_NE(nullptr, pVars);
        EXPECT_EQ(nullptr, pPopup->GetSubMenu(4));
        EXPECT_EQ(32773u, pVars->GetMenuItemID(0));
        EXPECT_TRUE(pVars->RemoveMenu(0, MF_BYPOSITION));
        EXPECT_EQ(0u, pVars->GetMenuItemCount());
        EXPECT_TRUE(pVars->AppendMenu(MF_STRING, 30000, L"alpha"));
        EXPECT_TRUE(pVars->AppendMenu(MF_STRING, 30001, L"beta"));
        EXPECT_EQ(2u, pVars->GetMenuItemCount());
        EXPECT_EQ(30001u, pVars->GetMenuItemID(1));
        pVars->GetMenuString(30001, text, MF_BYCOMMAND);
        EXPECT_EQ(CString(L"beta"), text);
        pVars->EnableMenuItem(30000, MF_BYCOMMAND | MF_GRAYED);
        EXPECT_TRUE(pVars->GetMenuState(30000, MF_BYCOMMAND) & MF_GRAYED);

        // A CCmdUI bound to a menu enables and disables its item.
        CCmdUI ui;
        ui.m_hMenu = pVars->GetSafeHmenu();
        ui.m_nIndex = 0;
        ui.m_nIndexMax = pVars->GetMenuItemCount();
        ui.Enable(TRUE);
        EXPECT_FALSE(pVars->GetMenuState(0, MF_BYPOSITION) & MF_GRAYED);
        ui.Enable(FALSE);
        EXPECT_TRUE(pVars->GetMenuState(0, MF_BYPOSITION) & MF_GRAYED);
    }
    EXPECT_FALSE(IsMenu(hLoaded));

    CMenu built;
    ASSERT_TRUE(built.CreatePopupMenu());
    EXPECT_EQ(0u, built.GetMenuItemCount());
    HMENU h = built.Detach();
    EXPECT_EQ(nullptr, built.GetSafeHmenu());
    EXPECT_TRUE(IsMenu(h));
    EXPECT_TRUE(built.Attach(h));
    EXPECT_TRUE(built.DestroyMenu());
    EXPECT_FALSE(IsMenu(h));
    EXPECT_EQ((UINT)-1, built.GetMenuItemCount());
}

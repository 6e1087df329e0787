// The tour's screens of what the host adds: its variables in the context
// menu, the value tip while a script is held, and the About page.
#include "tourkit.h"
#include "about.h"
#include "html/HTMLCtrl.h"

namespace tour {

// The context menu, driven from a thread timer inside its modal loop:
// first the keys that open the "Variable" submenu, then, once the submenu
// is up, a picture of the screen, then the menu is closed.
struct ContextMenuDriver
{
    TourRun* run = nullptr;
    int stage = 0;
    int ticks = 0;
    bool pictured = false;
    std::vector<std::wstring> variables; // the words the submenu shows
} g_context;

void CALLBACK DriveContextMenu(HWND, UINT, UINT_PTR idEvent, DWORD)
{
    ContextMenuDriver& d = g_context;
    if (++d.ticks > 100) {
        KillTimer(nullptr, idEvent);
        EndMenu();
        return;
    }
    std::vector<HWND> popups;
    for (HWND h = nullptr; (h = FindWindowExW(nullptr, h, L"#32768", nullptr)) != nullptr;)
        if (IsWindowVisible(h))
            popups.push_back(h);
    if (popups.empty())
        return;
    if (d.stage == 0) {
        // Down to "Variable", then open it.
        for (UINT vk : { (UINT)VK_DOWN, (UINT)VK_RIGHT }) {
            const UINT scan = MapVirtualKeyW(vk, MAPVK_VK_TO_VSC);
            PostMessageW(g_app.editor->m_hWnd, WM_KEYDOWN, vk, 1 | (scan << 16));
            PostMessageW(g_app.editor->m_hWnd, WM_KEYUP, vk, 1 | (scan << 16) | 0xC0000000);
        }
        d.stage = 1;
        return;
    }
    if (popups.size() < 2)
        return; // the submenu is not up yet
    KillTimer(nullptr, idEvent);
    for (HWND h : popups) {
        HMENU menu = (HMENU)SendMessageW(h, MN_GETHMENU, 0, 0);
        const int n = menu ? GetMenuItemCount(menu) : 0;
        if (n <= 0 || GetMenuItemID(menu, 0) < 30000 || GetMenuItemID(menu, 0) >= 31000)
            continue;
        for (int i = 0; i < n; ++i) {
            wchar_t text[128] = {};
            GetMenuStringW(menu, (UINT)i, text, 128, MF_BYPOSITION);
            d.variables.push_back(text);
        }
    }
    RedrawWindow(nullptr, nullptr, nullptr, RDW_ALLCHILDREN | RDW_UPDATENOW);
    d.pictured = SaveWindowPng(GetDesktopWindow(), d.run->Path(L"17-context-menu.png"));
    d.run->Saved(d.pictured, L"17-context-menu.png");
    EndMenu();
}

// A right click on the text: the control's own menu, its "Variable"
// submenu listing the script's keywords and the host's variable names.
void ContextMenuScreen(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    // Host variables become words of the "Variable" submenu.
    CStringArray& vars = ed.GetVarArray();
    vars.RemoveAll();
    vars.Add(L"Report_Title");
    vars.Add(L"Threshold_High");
    vars.Add(L"Threshold_Low");
    ed.InitParserVariable();
    const CString before = ed.GetLine(ed.GetCursorPos().y);

    g_context = ContextMenuDriver();
    g_context.run = &run;
    SetTimer(nullptr, 0, 50, DriveContextMenu);
    const CPoint at = CellPoint(ed, 6, ed.FirstVisibleLine() + 3);
    PostMessageW(ed.m_hWnd, WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(at.x, at.y));
    PostMessageW(ed.m_hWnd, WM_RBUTTONUP, 0, MAKELPARAM(at.x, at.y));
    for (int i = 0; i < 20 && !g_context.pictured; ++i)
        Pump();
    std::wstring words;
    for (const std::wstring& w : g_context.variables)
        words += (words.empty() ? L"" : L", ") + w;
    run.Log(L"17 context menu: \"Variable\" holds %ls", words.c_str());
    run.Check(g_context.pictured, L"the menu came up with its \"Variable\" submenu open");
    run.Check(std::find(g_context.variables.begin(), g_context.variables.end(), L"Threshold_Low") !=
                  g_context.variables.end(),
              L"the host's variables are offered under \"Variable\"");
    Pump();
    run.Check(ed.GetLine(ed.GetCursorPos().y) == before, L"closing the menu changed nothing");
}

// Held at the execution line, the mouse rests on a structure: the tip shows
// its fields, as the host's engine holds them, beside the arrow.
void ValueTipScreen(TourRun& run)
{
    if (!OpenFile(SamplePath(L"sample.sl"))) {
        run.Fail(L"cannot open samples\\sample.sl");
        return;
    }
    Pump();
    CVelmor& ed = *g_app.editor;
    const int stop = LineOf(ed, L"vmessage (\"%s at");
    // The mouse rests on the structure's declaration, a few lines above the
    // arrow, so that the tip fits in the window below it.
    const int decl = LineOf(ed, L"variable station");
    const int col = ColumnOf(ed, decl, L"station");
    if (stop < 0 || decl < 0 || col < 0) {
        run.Fail(L"samples\\sample.sl lacks the station");
        return;
    }
    ed.GoToXY(0, stop);
    Choose(ID_DEBUG_SETEXEC);
    Choose(ID_DEBUG_HOLD);
    Pump();
    // The script above the arrow in view, and room below it for the tip.
    for (int i = ed.FirstVisibleLine(); i < stop - 16; ++i)
        SendMessageW(ed.m_hWnd, WM_VSCROLL, SB_LINEDOWN, 0);
    Pump();
    const CPoint at = CellPoint(ed, col + 2, decl);
    Mouse(ed, WM_MOUSEMOVE, 0, at);
    Pump();
    CString tip;
    const bool shown = ed.m_wndValueTip.m_hWnd && IsWindowVisible(ed.m_wndValueTip.m_hWnd);
    if (shown)
        ed.m_wndValueTip.GetText(tip, &ed, VELMOR_TIP_TOOL);
    std::wstring oneLine;
    for (wchar_t c : std::wstring(tip.GetString()))
        oneLine += c == L'\n' ? std::wstring(L" | ") : std::wstring(1, c);
    run.Log(L"18 held at line %d (one-based %d) with %u variables; the tip says: %ls", stop, stop + 1,
            (unsigned)g_app.engine.VariableCount(), oneLine.c_str());
    run.Check(shown, L"the value tip is up");
    run.Check(wcsstr(tip, L"station\n    name=\"sensor A\"\n") != nullptr &&
                  wcsstr(tip, L"    latitude=51.480000\n") != nullptr && wcsstr(tip, L"    count=5\n") != nullptr,
              L"it lists the structure's fields with their values");
    run.Shot(L"18-value-tip.png", ed.m_wndValueTip.m_hWnd);
    Choose(ID_DEBUG_HOLD);
    Pump();
    run.Check(!IsWindowVisible(ed.m_wndValueTip.m_hWnd), L"letting the script go hides the tip");
}

// Help > About Velmor: the page in the control's HTML view. Wine has no
// HTML engine here, so the page never renders and there is no screen to
// write; what is checked is the view and its "app:close" link, followed
// as a click on it would.
void AboutChecks(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    Choose(ID_HELP_ABOUT);
    Pump();
    CHTMLCtrl* view = ed.m_pHtmlView;
    HWND hView = view ? view->m_hWnd : nullptr;
    CRect client, rc;
    ed.GetClientRect(&client);
    if (hView) {
        GetWindowRect(hView, &rc);
        MapWindowPoints(nullptr, ed.m_hWnd, (LPPOINT)&rc, 2);
    }
    run.Log(L"About: %ls in the control's HTML view, at (%ld,%ld)-(%ld,%ld) of (%ld,%ld)-(%ld,%ld)",
            AboutPagePath().c_str(), rc.left, rc.top, rc.right, rc.bottom, client.left, client.top, client.right,
            client.bottom);
    run.Check(hView && IsWindowVisible(hView), L"Help > About Velmor shows the control's HTML view");
    run.Check(hView && GetParent(hView) == ed.m_hWnd && GetDlgCtrlID(hView) == 99 && rc == client,
              L"the view is child 99 of the control, over its whole client area");
    run.Check(GetMenuState(g_app.menu, ID_HELP_ABOUT, MF_BYCOMMAND) & MF_CHECKED, L"the menu item is checked");
    if (view)
        view->Navigate(L"app:close");
    Pump();
    run.Check(hView && !IsWindowVisible(hView) && GetFocus() == ed.m_hWnd,
              L"its app:close link hides it; the editor has the focus again");
    run.Check(!(GetMenuState(g_app.menu, ID_HELP_ABOUT, MF_BYCOMMAND) & MF_CHECKED), L"the menu item is unchecked");
}

} // namespace tour

// The scripted tour (velmor-demo --tour <dir>): drives the host and the
// control the way a user would — menu commands, the Go To Line dialog, real
// mouse and scroll messages aimed at text cells, and keys posted through the
// demo's own message loop — writes a PNG of each screen, checks that each
// screen shows what it should, and logs what it did to <dir>\tour.log.
#include "tourkit.h"

namespace tour {

// ---------------------------------------------------------------------------
// The Go To Line dialog is modal: a thread timer, which runs inside the
// dialog's message loop, types the line number like a user, photographs the
// dialog and presses OK.

struct DialogDriver
{
    TourRun* run = nullptr;
    std::wstring typed;
    bool pending = false;
    int tries = 0;
} g_driver;

void CALLBACK DriveGoToLine(HWND, UINT, UINT_PTR idEvent, DWORD)
{
    HWND dlg = FindWindowW(L"#32770", L"Go To Line");
    if (!dlg || !IsWindowVisible(dlg)) {
        // Not shown yet; a dialog that never comes leaves the timer to stop.
        if (++g_driver.tries > 50 || !g_driver.pending)
            KillTimer(nullptr, idEvent);
        return;
    }
    KillTimer(nullptr, idEvent);
    g_driver.pending = false;
    HWND edit = FindWindowExW(dlg, nullptr, L"Edit", nullptr);
    // The proposed number is selected: typing replaces it.
    for (wchar_t ch : g_driver.typed)
        SendMessageW(edit, WM_CHAR, ch, 1);
    RedrawWindow(dlg, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    g_driver.run->Saved(SaveWindowPng(dlg, g_driver.run->Path(L"09-go-to-line-dialog.png")),
                        L"09-go-to-line-dialog.png");
    PostMessageW(dlg, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), (LPARAM)GetDlgItem(dlg, IDOK));
}

// ---------------------------------------------------------------------------
// The screens

// Breakpoints, disabled breakpoints, read-only, compact mode.
void SettingsScreens(TourRun& run)
{
    CVelmor* ed = g_app.editor.get();
    // Breakpoints: a plain one, one on the execution line; a selection.
    ed->SetBreakLine(8, 1);
    ed->SetBreakLine(13, 1);
    ed->SetBreakLine(14);
    ed->SetSelection(4, 20, 14, 21);
    run.Shot(L"01-breakpoints.png");

    // Breakpoints disabled; the execution line on a line without one.
    OnCommand(ID_DEBUG_DISABLEBREAKS);
    ed->SetBreakLine(19);
    ed->SetSelection(0, 0, 0, 0);
    run.Shot(L"02-disabled-breakpoints.png");

    OnCommand(ID_DEBUG_DISABLEBREAKS);
    OnCommand(ID_VIEW_READONLY);
    run.Shot(L"03-read-only.png");
    OnCommand(ID_VIEW_READONLY);

    OnCommand(ID_VIEW_COMPACT);
    run.Shot(L"04-compact.png");
    // Back to the framed control (a new one) for the mouse.
    OnCommand(ID_VIEW_COMPACT);
    ed = g_app.editor.get();
    ed->DeleteAllBreaks();
    ed->SetBreakLine(-1);
    ed->RefreshLineNum(TRUE);
    Pump();
}

// Press on a cell, move a few lines down with the button held, release.
void DragScreen(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    const int fromLine = LineOf(ed, L"define report");
    const int fromCol = ColumnOf(ed, fromLine, L"report");
    const int toLine = fromLine + 4, toCol = 20;
    run.Log(L"05 drag from column %d of line %d to column %d of line %d (zero-based)", fromCol, fromLine, toCol,
            toLine);
    if (fromCol < 0) {
        run.Fail(L"the sample has no \"define report\" line");
        return;
    }
    const CPoint a = CellPoint(ed, fromCol, fromLine), b = CellPoint(ed, toCol, toLine);
    Mouse(ed, WM_LBUTTONDOWN, MK_LBUTTON, a);
    const int steps = 8;
    for (int i = 1; i <= steps; ++i)
        Mouse(ed, WM_MOUSEMOVE, MK_LBUTTON, CPoint(a.x + (b.x - a.x) * i / steps, a.y + (b.y - a.y) * i / steps));
    Mouse(ed, WM_LBUTTONUP, 0, b);
    run.Check(Is(ed.GetAnchorPos(), fromCol, fromLine), L"the anchor stays where the button went down");
    run.Check(Is(ed.GetCursorPos(), toCol, toLine), L"the caret follows the pointer to the release point");
    run.Check(ed.Selected(), L"a selection across lines");
    run.Shot(L"05-drag-selection.png");
}

// A double-click on a word of a long line.
void DoubleClickScreen(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    const int line = LineOf(ed, L"vmessage (");
    const int col = ColumnOf(ed, line, L"spread (a)");
    run.Log(L"06 double-click on column %d of line %d: \"spread\"", col + 2, line);
    if (col < 0) {
        run.Fail(L"the sample has no \"spread (a)\" in a vmessage line");
        return;
    }
    const CPoint p = CellPoint(ed, col + 2, line);
    Mouse(ed, WM_LBUTTONDOWN, MK_LBUTTON, p);
    Mouse(ed, WM_LBUTTONUP, 0, p);
    Mouse(ed, WM_LBUTTONDBLCLK, MK_LBUTTON, p);
    Mouse(ed, WM_LBUTTONUP, 0, p);
    run.Check(Is(ed.GetCursorPos(), col, line), L"the caret at the start of the word");
    run.Check(Is(ed.GetAnchorPos(), col + 6, line), L"the anchor at the end of the word");
    run.Shot(L"06-double-click-word.png");
}

// The long sample stopped in its middle: timer 2 scrolls the execution line
// into view 20 ms after it is set.
void LongScriptScreen(TourRun& run)
{
    if (!OpenFile(SamplePath(L"long.sl"))) {
        run.Fail(L"cannot open samples\\long.sl");
        return;
    }
    Pump();
    CVelmor& ed = *g_app.editor;
    const int def = LineOf(ed, L"define marsh_summary");
    const int stop = LineOf(ed, L"vmessage (\"%s marsh", def);
    const int step = LineOf(ed, L"t += a[i] - a[i - 1];", stop);
    const int result = LineOf(ed, L"variable marsh_r", stop);
    if (def < 0 || stop < 0 || step < 0 || result < 0) {
        run.Fail(L"samples\\long.sl lacks the marsh station");
        return;
    }
    ed.SetBreakLine(stop, 1);
    ed.SetBreakLine(step, 1);
    ed.SetBreakLine(result, 1);
    ed.SetBreakLine(stop + 1); // one-based
    Pump();
    const int first = ed.FirstVisibleLine(), last = ed.LastVisibleLine();
    run.Log(L"07 %d lines; stopped on line %d (one-based %d); view shows lines %d to %d (zero-based)",
            ed.GetLineCount(), stop, stop + 1, first, last - 1);
    run.Check(first > 0 && stop >= first && stop < last, L"the execution line scrolled into view");
    run.Log(L"  the execution line stands %d lines below the top of the view", stop - first);
    run.Shot(L"07-long-script-running-line.png");
}

// One wheel notch down, two lines down and six columns right by the scroll
// bars' arrows (the last two move pixels and repaint only the strip
// uncovered); then compared with a full repaint of the same view.
void ScrolledScreen(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    const int first = ed.m_nFirstLine;
    CRect rc;
    ed.GetWindowRect(&rc);
    const CPoint centre = rc.CenterPoint(); // wheel messages carry screen points
    run.Log(L"08 from line %d: one wheel notch down, two lines down and six columns right by the arrows", first);
    ed.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, (WORD)(short)-WHEEL_DELTA), MAKELPARAM(centre.x, centre.y));
    run.Check(ed.m_nFirstLine == first + 5, L"one wheel notch towards the user scrolls 5 lines down");
    for (int i = 0; i < 2; ++i)
        ed.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_LINEDOWN, 0), 0);
    for (int i = 0; i < 6; ++i)
        ed.SendMessage(WM_HSCROLL, MAKEWPARAM(SB_LINERIGHT, 0), 0);
    run.Log(L"  view at line %d, column %d", ed.m_nFirstLine, ed.m_nFirstCol);
    run.Check(ed.m_nFirstLine == first + 7 && ed.m_nFirstCol == 6, L"the arrows scroll by one line and one column");
    run.Check(ed.GetScrollPosition() == CPoint(6, first + 7), L"both scroll bars follow");
    Pump();

    // What shifting left on screen must equal what painting it afresh gives.
    ::HideCaret(ed.m_hWnd);
    std::vector<DWORD> shifted, painted;
    int w1 = 0, h1 = 0, w2 = 0, h2 = 0;
    CaptureWindowPixels(ed.m_hWnd, false, shifted, w1, h1);
    run.Shot(L"08-scrolled.png");
    ed.Invalidate(TRUE);
    ed.UpdateWindow();
    CaptureWindowPixels(ed.m_hWnd, false, painted, w2, h2);
    ::ShowCaret(ed.m_hWnd);
    int differing = 0;
    CRect box(INT_MAX, INT_MAX, INT_MIN, INT_MIN);
    for (int y = 0; y < h1 && w1 == w2 && h1 == h2; ++y)
        for (int x = 0; x < w1; ++x)
            if (shifted[(size_t)y * w1 + x] != painted[(size_t)y * w1 + x]) {
                ++differing;
                box.SetRect(std::min((int)box.left, x), std::min((int)box.top, y), std::max((int)box.right, x + 1),
                            std::max((int)box.bottom, y + 1));
            }
    // A difference is the control's to mend, not the host's: it is reported
    // without failing the tour.
    if (w1 != w2 || h1 != h2)
        run.Log(L"  WARNING: the control changed size while it was compared");
    else if (differing)
        run.Log(L"  WARNING: %d pixels of the pixel-shifted view differ from a full repaint, within (%d, %d)-(%d, %d) "
                L"of the client area (the margin is x < %d)",
                differing, box.left, box.top, box.right, box.bottom, ed.m_nLeftMargin);
    else
        run.Log(L"  ok: the pixel-shifted view equals a full repaint");
}

// Edit > Go To Line... through its dialog; then an edit, undone and redone
// through the Edit menu, whose items the control enables.
void GoToLineScreen(TourRun& run)
{
    CVelmor& ed = *g_app.editor;
    const int target = LineOf(ed, L"define mill_summary") + 2; // "   variable lo = ..."
    if (target < 2) {
        run.Fail(L"samples\\long.sl lacks the mill station");
        return;
    }
    g_driver.run = &run;
    g_driver.typed = std::to_wstring(target + 1);
    g_driver.pending = true;
    g_driver.tries = 0;
    SetTimer(nullptr, 0, 100, DriveGoToLine);
    Choose(ID_EDIT_GOTOLINE);
    run.Log(L"09 Go To Line %ls (zero-based %d): caret at column %d of line %d, view from line %d",
            g_driver.typed.c_str(), target, ed.GetCursorPos().x, ed.GetCursorPos().y, ed.FirstVisibleLine());
    run.Check(!g_driver.pending, L"the dialog came up and was answered");
    run.Check(Is(ed.GetCursorPos(), 3, target) && Is(ed.GetAnchorPos(), 3, target),
              L"caret and anchor after the line's indentation");
    run.Check(ed.FirstVisibleLine() == target, L"the line scrolled up to the top of the view");
    run.Check(::GetFocus() == ed.m_hWnd, L"the control has the focus");

    HMENU edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_UNDO) && Greyed(edit, ID_EDIT_REDO), L"a fresh file: Undo and Redo greyed");
    const CString before = ed.GetLine(target);
    Choose(ID_EDIT_TOGGLECOMMENT);
    const CString commented = ed.GetLine(target);
    run.Check(commented == CString(L"   // ") + before.Mid(3), L"Toggle comment puts // after the indentation");
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_UNDO) && Greyed(edit, ID_EDIT_REDO), L"after an edit: Undo enabled, Redo greyed");
    // A click elsewhere first: Undo puts the caret back where the edit found it.
    const CPoint elsewhere = CellPoint(ed, 10, target + 5);
    Mouse(ed, WM_LBUTTONDOWN, MK_LBUTTON, elsewhere);
    Mouse(ed, WM_LBUTTONUP, 0, elsewhere);
    Choose(ID_EDIT_UNDO);
    run.Check(ed.GetLine(target) == before, L"Undo restores the line");
    run.Check(Is(ed.GetCursorPos(), 3, target) && Is(ed.GetAnchorPos(), 3, target),
              L"Undo puts caret and anchor back where they stood before the edit");
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_UNDO) && !Greyed(edit, ID_EDIT_REDO), L"after Undo: Undo greyed, Redo enabled");
    Choose(ID_EDIT_UNDO); // greyed: the host does not pass it on
    run.Check(ed.GetLine(target) == before, L"a greyed Undo changes nothing");
    Choose(ID_EDIT_REDO);
    run.Check(ed.GetLine(target) == commented, L"Redo puts the comment back");
    run.Check(Is(ed.GetCursorPos(), 10, target + 5), L"Redo puts the caret back where Undo found it");
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_UNDO) && Greyed(edit, ID_EDIT_REDO), L"after Redo: Undo enabled, Redo greyed");
    run.Check(g_app.modified, L"the title marks the file modified");
    run.Shot(L"10-go-to-line-and-comment.png");
}

} // namespace tour

int Tour(const std::wstring& dir, bool debugOnly)
{
    CreateDirectoryW(dir.c_str(), nullptr);
    tour::TourRun run(dir);
    // The debugging screens alone (a test of their own).
    if (debugOnly) {
        g_app.quiet = true;
        DebugScreens(run);
        PauseChecks(run);
        NoAdapterChecks(run);
        AdapterDiesChecks(run);
        return run.Finish(4);
    }
    SettingsScreens(run);
    DragScreen(run);
    DoubleClickScreen(run);
    LongScriptScreen(run);
    ScrolledScreen(run);
    GoToLineScreen(run);
    tour::Keyboard keys;
    TypedScreen(run, keys);
    BlockIndentScreen(run, keys);
    ClipboardScreen(run, keys);
    CommentScreen(run, keys);
    FindScreen(run, keys);
    ContextMenuScreen(run);
    ValueTipScreen(run);
    AboutChecks(run);
    DebugScreens(run);
    PauseChecks(run);
    NoAdapterChecks(run);
    AdapterDiesChecks(run);
    return run.Finish(22);
}

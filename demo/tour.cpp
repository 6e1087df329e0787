// The scripted tour (velmor-demo --tour <dir>): drives the host and the
// control the way a user would — menu commands, the Go To Line dialog, real
// mouse and scroll messages aimed at text cells, and keys posted through the
// demo's own message loop — writes a PNG of each screen, checks that each
// screen shows what it should, and logs what it did to <dir>\tour.log.
#include "about.h"
#include "app.h"
#include "findreplace.h"
#include "html/HTMLCtrl.h"
#include "screenshot.h"
#include "gdi/WindowCapture.h"
#include <cstdarg>
#include <cstdio>
#include <algorithm>
#include <climits>
#include <cwchar>
#include <dlgs.h>
#include <vector>

namespace {

class TourRun
{
public:
    explicit TourRun(const std::wstring& dir) : m_dir(dir) {}

    std::wstring Path(const wchar_t* name) const { return m_dir + L"\\" + name; }

    // Lets the queued paints and timers run, then writes the main window.
    void Shot(const wchar_t* name, HWND overlay = nullptr)
    {
        Pump();
        Saved(SaveWindowPng(g_app.hwnd, Path(name), overlay), name);
    }
    void Saved(bool ok, const wchar_t* name)
    {
        if (ok)
            m_written.push_back(Path(name));
        else
            Fail(L"%ls: cannot write the PNG", name);
    }

    void Log(const wchar_t* fmt, ...)
    {
        va_list args;
        va_start(args, fmt);
        Add(L"", fmt, args);
        va_end(args);
    }
    void Fail(const wchar_t* fmt, ...)
    {
        va_list args;
        va_start(args, fmt);
        Add(L"FAILED: ", fmt, args);
        va_end(args);
        ++m_failures;
    }
    void Check(bool ok, const wchar_t* what)
    {
        if (ok)
            Log(L"  ok: %ls", what);
        else
            Fail(L"%ls", what);
    }

    // Prints the PNGs' paths, writes the log; 0 when everything passed.
    int Finish(size_t nExpected)
    {
        if (m_written.size() != nExpected)
            Fail(L"%u of %u screens written", (unsigned)m_written.size(), (unsigned)nExpected);
        for (auto& p : m_written) {
            wchar_t full[MAX_PATH];
            GetFullPathNameW(p.c_str(), MAX_PATH, full, nullptr);
            wprintf(L"%ls\n", full);
        }
        fflush(stdout);
        if (FILE* f = _wfopen(Path(L"tour.log").c_str(), L"w")) {
            fputs(m_log.c_str(), f);
            fclose(f);
        }
        if (m_failures)
            fputs(m_log.c_str(), stderr);
        return m_failures ? 1 : 0;
    }

private:
    void Add(const wchar_t* prefix, const wchar_t* fmt, va_list args)
    {
        wchar_t buf[512];
        vswprintf(buf, sizeof buf / sizeof buf[0], fmt, args);
        std::wstring line = std::wstring(prefix) + buf + L"\n";
        for (wchar_t ch : line)
            m_log += ch < 0x80 ? (char)ch : '?';
    }

    std::wstring m_dir;
    std::vector<std::wstring> m_written;
    std::string m_log;
    int m_failures = 0;
};

// ---------------------------------------------------------------------------
// Finding text and aiming at it

// The first line at or after nFrom that holds text; -1 when none does.
int LineOf(CVelmor& ed, const wchar_t* text, int nFrom = 0)
{
    for (int i = nFrom; i < ed.GetLineCount(); ++i)
        if (wcsstr(ed.GetLine(i), text))
            return i;
    return -1;
}

// The column of text in a line; -1 when it is not there.
int ColumnOf(CVelmor& ed, int nLine, const wchar_t* text)
{
    if (nLine < 0)
        return -1;
    const CString line = ed.GetLine(nLine);
    const wchar_t* p = wcsstr(line, text);
    return p ? (int)(p - (const wchar_t*)line) : -1;
}

// A client point 2 pixels into the text cell of (column, line), half a line
// down: a click there lands before the character.
CPoint CellPoint(const CVelmor& ed, int nCol, int nLine)
{
    return CPoint(ed.m_nLeftMargin + (nCol - ed.m_nFirstCol) * ed.m_nCharWidth + 2,
                  (nLine - ed.m_nFirstLine) * ed.m_nLineHeight + ed.m_nLineHeight / 2);
}

void Mouse(CVelmor& ed, UINT msg, UINT keys, CPoint pt)
{
    ed.SendMessage(msg, keys, MAKELPARAM(pt.x, pt.y));
}

bool Is(CPoint pt, int x, int y)
{
    return pt.x == x && pt.y == y;
}

// Whether a menu item is greyed (state as the last WM_INITMENUPOPUP left it).
bool Greyed(HMENU menu, UINT id)
{
    return (GetMenuState(menu, id, MF_BYCOMMAND) & MF_GRAYED) != 0;
}

// Opens the Edit menu as far as its items' states go: the host's
// WM_INITMENUPOPUP asks the control about Undo and Redo.
HMENU InitEditMenu()
{
    HMENU edit = GetSubMenu(g_app.menu, 1);
    SendMessageW(g_app.hwnd, WM_INITMENUPOPUP, (WPARAM)edit, MAKELPARAM(1, FALSE));
    return edit;
}

// A menu item chosen: the WM_COMMAND the menu sends the main window.
void Choose(UINT id)
{
    SendMessageW(g_app.hwnd, WM_COMMAND, MAKEWPARAM(id, 0), 0);
}

// A client pixel (0x00RRGGBB, as captured) of a COLORREF (0x00BBGGRR).
DWORD Pixel(COLORREF c)
{
    return ((DWORD)GetRValue(c) << 16) | ((DWORD)GetGValue(c) << 8) | GetBValue(c);
}

// Whether the text cell of (column, line) holds at least one pixel of
// exactly the colour: a glyph drawn in it.
bool CellInked(const CVelmor& ed, const std::vector<DWORD>& pixels, int width, int nCol, int nLine, COLORREF color)
{
    const int left = ed.m_nLeftMargin + (nCol - ed.m_nFirstCol) * ed.m_nCharWidth;
    const int top = (nLine - ed.m_nFirstLine) * ed.m_nLineHeight;
    const int height = (int)(pixels.size() / (size_t)std::max(width, 1));
    for (int y = std::max(top, 0); y < top + ed.m_nLineHeight && y < height; ++y)
        for (int x = std::max(left, 0); x < left + ed.m_nCharWidth && x < width; ++x)
            if (pixels[(size_t)y * width + x] == Pixel(color))
                return true;
    return false;
}

// The clipboard's text (CF_UNICODETEXT); empty when it holds none.
std::wstring ClipboardText()
{
    std::wstring text;
    if (!OpenClipboard(g_app.hwnd))
        return text;
    if (HANDLE h = GetClipboardData(CF_UNICODETEXT)) {
        if (const wchar_t* p = static_cast<const wchar_t*>(GlobalLock(h))) {
            text.assign(p, wcsnlen(p, GlobalSize(h) / sizeof(wchar_t)));
            GlobalUnlock(h);
        }
    }
    CloseClipboard();
    return text;
}

// ---------------------------------------------------------------------------
// Keys as the keyboard gives them: the modifiers held in the thread's key
// state (which GetKeyState and TranslateMessage read), a key-down and a
// key-up posted to the window with the focus, and the queue run through the
// demo's message loop (RouteMessage: the control's accelerators, the demo's,
// then TranslateMessage, which makes the WM_CHAR).

enum Modifiers
{
    kPlain = 0,
    kShift = 1,
    kCtrl = 2,
};

void HoldModifiers(int mods)
{
    BYTE state[256];
    GetKeyboardState(state);
    const BYTE shift = (mods & kShift) ? 0x80 : 0, ctrl = (mods & kCtrl) ? 0x80 : 0;
    state[VK_SHIFT] = state[VK_LSHIFT] = shift;
    state[VK_CONTROL] = state[VK_LCONTROL] = ctrl;
    SetKeyboardState(state);
}

class Keyboard
{
public:
    // One key pressed and released, with modifiers held.
    void Press(UINT vk, int mods = kPlain)
    {
        HoldModifiers(mods);
        const HWND target = GetFocus();
        const LPARAM scan = (LPARAM)MapVirtualKeyW(vk, MAPVK_VK_TO_VSC) << 16;
        PostMessageW(target, WM_KEYDOWN, vk, scan | 1);
        PostMessageW(target, WM_KEYUP, vk, scan | 1 | (LPARAM)0xC0000000);
        RunQueue();
        HoldModifiers(kPlain);
        ++m_nKeyDowns;
    }
    void Press(UINT vk, int mods, int nTimes)
    {
        for (int i = 0; i < nTimes; ++i)
            Press(vk, mods);
    }
    // Types text: each character by the key that makes it on this keyboard
    // (with Shift where it needs it), a line feed by Enter, a tab by Tab. A
    // character no key makes is posted as the WM_CHAR an input method would
    // send.
    void Type(const wchar_t* text)
    {
        for (const wchar_t* p = text; *p; ++p) {
            if (*p == L'\n') {
                Press(VK_RETURN);
            } else if (*p == L'\t') {
                Press(VK_TAB);
            } else {
                UINT vk = 0;
                const int mods = KeyFor(*p, vk);
                if (mods >= 0) {
                    Press(vk, mods);
                } else {
                    PostMessageW(GetFocus(), WM_CHAR, *p, 1);
                    RunQueue();
                    ++m_nPostedChars;
                    m_posted += *p;
                }
            }
        }
    }
    int KeyDowns() const { return m_nKeyDowns; }
    int PostedChars() const { return m_nPostedChars; }
    const std::wstring& Posted() const { return m_posted; }
    void Reset()
    {
        m_nKeyDowns = m_nPostedChars = 0;
        g_app.keyNotifications = 0;
    }

private:
    // The key (and whether with Shift) that makes ch on this keyboard; -1
    // when none does. VkKeyScanW answers first; where it knows no key (Wine
    // under Xvfb has none for the parentheses, which Shift+9 and Shift+0
    // make all the same) the keys are tried through ToUnicode, which is what
    // TranslateMessage asks.
    static int KeyFor(wchar_t ch, UINT& vk)
    {
        const SHORT key = VkKeyScanW(ch);
        if (key != -1 && !(HIBYTE(key) & ~1)) {
            vk = LOBYTE(key);
            return (HIBYTE(key) & 1) ? kShift : kPlain;
        }
        for (int mods : { kPlain, kShift }) {
            BYTE state[256] = {};
            state[VK_SHIFT] = state[VK_LSHIFT] = (mods & kShift) ? 0x80 : 0;
            for (UINT v = 0x30; v <= 0xFE; ++v) {
                wchar_t out[4];
                if (ToUnicode(v, MapVirtualKeyW(v, MAPVK_VK_TO_VSC), state, out, 4, 0) == 1 && out[0] == ch) {
                    vk = v;
                    return mods;
                }
            }
        }
        return -1;
    }

    int m_nKeyDowns = 0;
    int m_nPostedChars = 0;
    std::wstring m_posted;
};

// The lines of a document, one after the other; each "\t" as the Tab key
// leaves it at the start of a line with tab size 4.
const wchar_t* const kTyped[] = {
    L"// sine.sl: typed at the keyboard",
    L"define sine_table (n)",
    L"{",
    L"\tvariable i, x, total = 0.0;",
    L"\tif (n < 1 or n > 90) return 0;   /* nothing to print */",
    L"\tfor (i = 0; i < n; i++)",
    L"\t{",
    L"\tx = sin (i * PI / n);",
    L"\tvmessage (\"sin (%d pi/%d) = %.4f\", i, n, x);",
    L"\ttotal += abs (x);",
    L"\t}",
    L"\treturn sqrt (total);",
    L"}",
};
const int kTypedLines = (int)(sizeof kTyped / sizeof kTyped[0]);
// The loop's body: typed level with the loop, indented by the block screen.
const int kBodyFirst = 7, kBodyLast = 9;

// A typed line as the control holds it.
CString Expanded(const wchar_t* line, int nIndent = 0)
{
    CString s(line);
    if (s.GetLength() && s[0] == L'\t')
        s = CString(L' ', 4) + s.Mid(1);
    return CString(L' ', nIndent) + s;
}

// Whether the control holds the typed lines, those from nFirst to nLast
// indented by nIndent more.
bool HoldsTyped(CVelmor& ed, int nFirst = 0, int nLast = -1, int nIndent = 0)
{
    if (ed.GetLineCount() < kTypedLines)
        return false;
    for (int i = 0; i < kTypedLines; ++i)
        if (ed.GetLine(i) != Expanded(kTyped[i], i >= nFirst && i <= nLast ? nIndent : 0))
            return false;
    return true;
}

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

// File > New, then a function typed key by key through the message loop;
// the colours are probed in the painted cells.
void TypedScreen(TourRun& run, Keyboard& keys)
{
    Choose(ID_FILE_NEW);
    CVelmor& ed = *g_app.editor;
    run.Log(L"11 File > New: %d line(s); typing %d lines of S-Lang", ed.GetLineCount(), kTypedLines);
    // LoadText keeps text after the last line feed as a line of its own, and
    // the control always ends with an empty line: a new document has two.
    run.Check(ed.GetLineCount() == 2 && ed.GetLine(0).IsEmpty() && ed.GetLine(1).IsEmpty() && !g_app.modified,
              L"a new document: an empty line and the control's closing empty line");
    keys.Reset();
    for (int i = 0; i < kTypedLines; ++i) {
        keys.Type(kTyped[i]);
        if (i + 1 < kTypedLines)
            keys.Type(L"\n");
    }
    // A character no key of this keyboard makes is posted as WM_CHAR; on
    // these machines every one comes from a key.
    run.Log(L"  %d key-downs (Enter for each line break, Tab for each indentation); %d characters no key makes, "
            L"posted as WM_CHAR%ls%ls",
            keys.KeyDowns(), keys.PostedChars(), keys.PostedChars() ? L": " : L"", keys.Posted().c_str());
    run.Check(HoldsTyped(ed), L"the control holds the typed lines; Tab at column 0 put 4 spaces");
    const int last = kTypedLines - 1;
    run.Check(Is(ed.GetCursorPos(), 1, last) && Is(ed.GetAnchorPos(), 1, last), L"the caret after the last typed character");
    run.Check(g_app.keyNotifications == keys.KeyDowns(),
              L"each key-down posted the parent one key notification (0x0B00)");
    run.Check(g_app.modified, L"typing marks the file modified");
    Pump();

    // The colours as painted: probe a few cells.
    ::HideCaret(ed.m_hWnd);
    std::vector<DWORD> pixels;
    int w = 0, h = 0;
    CaptureWindowPixels(ed.m_hWnd, false, pixels, w, h);
    ::ShowCaret(ed.m_hWnd);
    const COLORREF kFunction = 0x00005AB4, kOperator = 0x00DC0000, kString = 0x00000AD2, kComment = 0x0000A100;
    const COLORREF kKeyword = 0x00FF0078;
    const int lineIf = 4, lineSin = 7, lineString = 8;
    run.Check(CellInked(ed, pixels, w, 0, 0, kComment) && CellInked(ed, pixels, w, 10, 0, kComment),
              L"the // comment is green");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"/*"), lineIf, kComment) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"*/") + 1, lineIf, kComment),
              L"the /* */ comment after the code is green");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"or "), lineIf, kOperator),
              L"the operator word or is blue");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineSin, L"sin"), lineSin, kFunction) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 9, L"abs") + 2, 9, kFunction) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 11, L"sqrt"), 11, kFunction),
              L"the functions sin, abs and sqrt are brown");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineString, L"\""), lineString, kString) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, lineString, L"%.4f"), lineString, kString),
              L"the string is red");
    run.Check(!CellInked(ed, pixels, w, ColumnOf(ed, 1, L"define"), 1, 0) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 1, L"define"), 1, kKeyword),
              L"define, one of the keywords the demo gives the control, is in the keyword colour");
    run.Shot(L"11-typed-code.png");
}

// The loop's body selected by keys (Ctrl+Home, Down, Shift+Down, Shift+End)
// and indented with Tab: one undo step.
void BlockIndentScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, kBodyFirst);
    keys.Press(VK_DOWN, kShift, kBodyLast - kBodyFirst);
    keys.Press(VK_END, kShift);
    const int end = ed.GetLine(kBodyLast).GetLength();
    run.Log(L"12 lines %d to %d (zero-based) selected by keys; Tab", kBodyFirst, kBodyLast);
    run.Check(Is(ed.GetAnchorPos(), 0, kBodyFirst) && Is(ed.GetCursorPos(), end, kBodyLast),
              L"Shift+Down and Shift+End extend the selection from the anchor");
    keys.Press(VK_TAB);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Tab indents each selected line by 4 spaces, and no other");
    run.Check(Is(ed.GetAnchorPos(), 4, kBodyFirst) && Is(ed.GetCursorPos(), end + 4, kBodyLast),
              L"the selection moves with its text");
    run.Shot(L"12-block-indent.png");

    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed), L"Ctrl+Z (the control's accelerator) undoes the whole block indent in one step");
    keys.Press('Y', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Ctrl+Y redoes it");
    Choose(ID_EDIT_UNINDENT);
    run.Check(HoldsTyped(ed), L"Edit > Unindent takes 4 spaces off each line again");
    keys.Press(VK_TAB, kShift);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Shift+Tab indents, as Tab does");
    Choose(ID_EDIT_UNINDENT);
    Choose(ID_EDIT_INDENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Edit > Indent indents the block");

    // The same block selected from column 0: unindenting moves the ends
    // left of it, and the demo sets them back on the text.
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, kBodyFirst);
    HMENU edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_UNINDENT), L"no selection: Unindent greyed (the control would indent)");
    keys.Press(VK_DOWN, kShift, kBodyLast - kBodyFirst);
    keys.Press(VK_END, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_UNINDENT), L"a selection: Unindent enabled");
    Choose(ID_EDIT_UNINDENT);
    run.Check(HoldsTyped(ed) && Is(ed.GetAnchorPos(), 0, kBodyFirst) && Is(ed.GetCursorPos(), end, kBodyLast),
              L"Edit > Unindent from column 0: the text unindented, the selection's ends kept on the text");
    Choose(ID_EDIT_INDENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"and indented again");
}

// A line cut with Ctrl+X and pasted a line higher with Ctrl+V; the Edit
// menu's items as the control enables them; Ctrl+A, which the control's
// accelerator table makes Redo; Select All from the menu; read-only.
void ClipboardScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    const int line = kBodyLast; // "        total += abs (x);"
    const CString moved = ed.GetLine(line), above = ed.GetLine(line - 1), below = ed.GetLine(line + 1);
    const int nLines = ed.GetLineCount();
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, line);
    HMENU edit = InitEditMenu();
    run.Log(L"13 cut line %d (zero-based) with Ctrl+X, paste it a line higher with Ctrl+V", line);
    run.Check(Greyed(edit, ID_EDIT_CUT) && Greyed(edit, ID_EDIT_COPY) && !Greyed(edit, ID_EDIT_SELECT_ALL),
              L"no selection: Cut and Copy greyed, Select All enabled");
    keys.Press(VK_DOWN, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_CUT) && !Greyed(edit, ID_EDIT_COPY), L"a selection: Cut and Copy enabled");
    OpenClipboard(g_app.hwnd);
    EmptyClipboard();
    CloseClipboard();
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_PASTE), L"an empty clipboard: Paste greyed");

    keys.Reset();
    keys.Press('X', kCtrl);
    run.Check(ClipboardText() == std::wstring(moved) + L"\r\n", L"the cut line is on the clipboard, ended by CR LF");
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line) == below && Is(ed.GetCursorPos(), 0, line),
              L"the line is gone, the caret where it began");
    run.Check(g_app.keyNotifications == 0, L"a key the control's accelerators take posts no key notification");
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_PASTE), L"text on the clipboard: Paste enabled");
    keys.Press(VK_UP);
    keys.Press('V', kCtrl);
    const CString pasted = ed.GetLine(line - 1);
    run.Check(ed.GetLineCount() == nLines && ed.GetLine(line) == above,
              L"the line is back, a line higher, above the vmessage line");
    run.Check(pasted == moved + L"\r",
              L"the pasted line keeps the clipboard's CR: only a line feed ends a pasted line");
    run.Check(Is(ed.GetCursorPos(), above.GetLength(), line) && !ed.Selected(),
              L"the caret at the end of the line the paste pushed down");
    run.Shot(L"13-cut-and-paste.png");

    keys.Press('Z', kCtrl);
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line - 1) == above,
              L"one Ctrl+Z undoes the whole paste");
    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4) && Is(ed.GetAnchorPos(), 0, line) &&
                  Is(ed.GetCursorPos(), 0, line + 1),
              L"a second undoes the cut: the text and the selection are back");
    keys.Press('A', kCtrl);
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line) == below && !ed.Selected(),
              L"Ctrl+A is Redo in the control's accelerator table: the cut is done again, nothing selected");
    keys.Press('Z', kCtrl);
    Choose(ID_EDIT_SELECT_ALL);
    const int last = ed.GetLineCount() - 1;
    run.Check(Is(ed.GetAnchorPos(), 0, 0) && Is(ed.GetCursorPos(), ed.GetLine(last).GetLength(), last),
              L"Edit > Select All selects everything");

    // Read-only: the keys that edit change nothing; moving and copying work.
    Choose(ID_VIEW_READONLY);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_CUT) && Greyed(edit, ID_EDIT_PASTE) && !Greyed(edit, ID_EDIT_COPY) &&
                  Greyed(edit, ID_EDIT_INDENT),
              L"read-only: the demo greys Cut, Paste and the indents; Copy stays");
    keys.Press('C', kCtrl);
    std::wstring joined;
    for (int i = 0; i <= last; ++i)
        joined += std::wstring(i ? L"\r\n" : L"") + (const wchar_t*)ed.GetLine(i);
    run.Check(ClipboardText() == joined, L"Ctrl+C copies a read-only text, lines joined by CR LF");
    CString all;
    ed.UnloadText(all);
    keys.Type(L"x\t\n");
    keys.Press(VK_BACK);
    keys.Press(VK_DELETE);
    keys.Press('V', kCtrl);
    keys.Press('X', kCtrl);
    CString after;
    ed.UnloadText(after);
    run.Check(after == all, L"read-only: typing, Tab, Enter, Backspace, Delete, Ctrl+V and Ctrl+X change nothing");
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_RIGHT, kPlain, 3);
    run.Check(Is(ed.GetCursorPos(), 3, 0) && !ed.Selected(), L"read-only: the arrows still move the caret");
    Choose(ID_VIEW_READONLY);
}

// The loop selected as whole lines by keys and commented out from the Edit
// menu; then uncommented. Before that, Match Brace and Replace on the same
// text.
void CommentScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    const int from = kBodyFirst - 2, to = kBodyLast + 1; // "for (...)" to its "}"
    g_app.quiet = true;

    // Match Brace: the function's "{" to its "}", the loop's "}" to its "{".
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, 4);
    HMENU edit = InitEditMenu();
    run.Log(L"14 Match Brace, Replace and Replace All on the typed function; lines %d to %d commented out", from,
            to);
    run.Check(Greyed(edit, ID_EDIT_MATCHBRACE), L"a line without a brace: Match Brace greyed");
    keys.Press(VK_UP, kPlain, 2);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_MATCHBRACE), L"a line with a brace: Match Brace enabled");
    Choose(ID_EDIT_MATCHBRACE);
    run.Check(ed.GetCursorPos().y == kTypedLines - 1, L"Match Brace on the function's { goes to its closing }");
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, to);
    keys.Press('B', kCtrl);
    run.Check(ed.GetCursorPos().y == from + 1, L"Ctrl+B on the loop's } goes back to its {");

    // Replace: the first press finds, the second replaces and finds the next.
    SearchRequest s;
    s.what = L"TOTAL"; // case ignored
    s.with = L"sum";
    keys.Press(VK_HOME, kCtrl);
    SetSearch(s);
    const int first = ReplaceAndFindNext();
    const int totalAt = ColumnOf(ed, 3, L"total");
    run.Check(first == 3 && Is(ed.GetCursorPos(), totalAt, 3) && Is(ed.GetAnchorPos(), totalAt + 5, 3),
              L"Replace, first press: \"total\" found and selected on line 3, case ignored");
    const int next = ReplaceAndFindNext();
    run.Check(ed.GetLine(3) == L"    variable i, x, sum = 0.0;" && next == kBodyLast &&
                  Is(ed.GetCursorPos(), ColumnOf(ed, kBodyLast, L"total"), kBodyLast),
              L"Replace, second press: replaced on line 3, the next one selected on line 9");
    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"one Ctrl+Z undoes the replacement");

    // Replace All with a replacement that holds the search text: one pass.
    s.what = L"total";
    s.with = L"total_sum";
    s.matchCase = true;
    SetSearch(s);
    const int replaced = ReplaceAll();
    run.Log(L"  Replace All \"total\" -> \"total_sum\": %d replaced (\"%ls\")", replaced, g_app.searchNote.c_str());
    run.Check(replaced == 3 && LineOf(ed, L"total_sum_sum") < 0 && ColumnOf(ed, 3, L"total_sum = 0.0") > 0 &&
                  ColumnOf(ed, kBodyLast, L"total_sum += abs") > 0 && ColumnOf(ed, 11, L"sqrt (total_sum)") > 0,
              L"Replace All replaces each of the 3 once, though the replacement holds the search text");
    keys.Press('Z', kCtrl, replaced);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"a Ctrl+Z for each replacement restores the text");

    // The loop as whole lines: from column 0 of its first line to the end
    // of its last.
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, from);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_COMMENTOUT) && Greyed(edit, ID_EDIT_UNCOMMENT),
              L"no selection: Comment Out and Uncomment greyed");
    keys.Press(VK_DOWN, kShift, to - from);
    keys.Press(VK_END, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_COMMENTOUT) && !Greyed(edit, ID_EDIT_UNCOMMENT),
              L"whole lines selected: Comment Out and Uncomment enabled");
    std::vector<CString> before;
    for (int i = 0; i < ed.GetLineCount(); ++i)
        before.push_back(ed.GetLine(i));
    Choose(ID_EDIT_COMMENTOUT);
    bool commented = true, othersKept = true;
    for (int i = 0; i < ed.GetLineCount() && i < (int)before.size(); ++i) {
        const CString& b = before[i];
        int k = 0;
        while (k < b.GetLength() && b[k] == L' ')
            ++k;
        if (i >= from && i <= to)
            commented = commented && ed.GetLine(i) == b.Left(k - 1) + L"//" + b.Mid(k - 1);
        else
            othersKept = othersKept && ed.GetLine(i) == b;
    }
    run.Log(L"  line %d now reads \"%ls\"", from, (const wchar_t*)ed.GetLine(from));
    run.Check(commented, L"Comment Out puts // in place of the last indenting blank of each selected line");
    run.Check(othersKept && ed.GetLineCount() == (int)before.size(), L"the other lines are untouched");
    run.Check(!ed.Selected(), L"no selection is left");
    Pump();
    ::HideCaret(ed.m_hWnd);
    std::vector<DWORD> pixels;
    int w = 0, h = 0;
    CaptureWindowPixels(ed.m_hWnd, false, pixels, w, h);
    ::ShowCaret(ed.m_hWnd);
    const COLORREF kComment = 0x0000A100;
    const int sinAt = ColumnOf(ed, kBodyFirst, L"sin");
    run.Check(CellInked(ed, pixels, w, sinAt, kBodyFirst, kComment) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, to, L"}"), to, kComment),
              L"the commented lines are painted green");
    run.Shot(L"14-comment-out.png");

    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"one Ctrl+Z takes the whole comment out again");
    keys.Press('Y', kCtrl);
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, from);
    keys.Press(VK_DOWN, kShift, to - from);
    keys.Press(VK_END, kShift);
    Choose(ID_EDIT_UNCOMMENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Edit > Uncomment restores the lines");

    // Read-only: the demo greys them (the control would comment all the same).
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kShift, 2);
    Choose(ID_VIEW_READONLY);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_COMMENTOUT) && Greyed(edit, ID_EDIT_UNCOMMENT) && Greyed(edit, ID_EDIT_REPLACE),
              L"read-only: Comment Out, Uncomment and Replace greyed");
    Choose(ID_EDIT_COMMENTOUT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"read-only: Comment Out changes nothing");
    Choose(ID_VIEW_READONLY);
}

// The long sample with the caret near its end: Edit > Find... through the
// system's Find dialog, for a word that occurs only near the top, so the
// search wraps around; then F3 and Shift+F3.
void FindScreen(TourRun& run, Keyboard& keys)
{
    if (!OpenFile(SamplePath(L"long.sl"))) {
        run.Fail(L"cannot open samples\\long.sl");
        return;
    }
    CVelmor& ed = *g_app.editor;
    const int top = LineOf(ed, L"define clamp");
    const int second = LineOf(ed, L"clamp (", top + 1);
    const int n = ed.GetLineCount();
    if (top < 0 || second < 0 || LineOf(ed, L"clamp", second + 1) >= 0) {
        run.Fail(L"samples\\long.sl should name clamp on two lines near its top only");
        return;
    }
    ed.GoToLine(n - 5);
    Pump();
    run.Log(L"15 caret on line %d of %d, view from line %d; Edit > Find... \"Clamp\", case ignored, down",
            ed.GetCursorPos().y, n, ed.FirstVisibleLine());
    g_app.quiet = true;

    Choose(ID_EDIT_FIND);
    Pump();
    HWND dlg = FindDialog();
    run.Check(dlg && IsWindowVisible(dlg) && FindWindowW(L"#32770", L"Find") == dlg,
              L"Edit > Find... opens the system's Find dialog");
    if (!dlg)
        return;
    run.Check(GetWindow(dlg, GW_OWNER) == g_app.hwnd, L"the dialog is modeless, owned by the main window");
    SetDlgItemTextW(dlg, edt1, L"Clamp");
    CheckDlgButton(dlg, chx1, BST_UNCHECKED);
    CheckDlgButton(dlg, chx2, BST_UNCHECKED);
    CheckRadioButton(dlg, rad1, rad2, rad2);
    // Find Next as its button does.
    SendMessageW(dlg, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), (LPARAM)GetDlgItem(dlg, IDOK));
    const int found = LastFoundLine();
    const int col = ColumnOf(ed, top, L"clamp");
    run.Log(L"  the control returned line %d; caret (%d, %d), anchor (%d, %d), view from line %d", found,
            ed.GetCursorPos().x, ed.GetCursorPos().y, ed.GetAnchorPos().x, ed.GetAnchorPos().y,
            ed.FirstVisibleLine());
    run.Check(found == top, L"Find Next wrapped around to the top: the returned line is the clamp definition");
    run.Check(Is(ed.GetCursorPos(), col, top) && Is(ed.GetAnchorPos(), col + 5, top),
              L"\"clamp\" selected (caret at its start, anchor at its end), case ignored");
    run.Check(ed.FirstVisibleLine() <= top && top < ed.LastVisibleLine(), L"the match scrolled into view");
    RedrawWindow(dlg, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    run.Saved(SaveWindowPng(dlg, run.Path(L"15-find-dialog.png")), L"15-find-dialog.png");
    CloseFindDialog();
    Pump();
    run.Check(!FindDialog() && !IsWindow(dlg), L"Cancel closes the dialog");
    run.Check(::GetFocus() == ed.m_hWnd, L"the control has the focus again");
    run.Shot(L"16-find-wrapped.png");

    keys.Press(VK_F3);
    run.Check(LastFoundLine() == second && Is(ed.GetCursorPos(), ColumnOf(ed, second, L"clamp"), second),
              L"F3 finds the next one, on the line of its call");
    keys.Press(VK_F3);
    run.Check(LastFoundLine() == top && Is(ed.GetCursorPos(), col, top), L"F3 again wraps around to the first");
    keys.Press(VK_F3, kShift);
    run.Check(LastFoundLine() == second && Is(ed.GetCursorPos(), ColumnOf(ed, second, L"clamp"), second),
              L"Shift+F3 searches up and wraps around from the top to the call");

    // Edit > Replace... and its Replace All button: both calls of clamp.
    Choose(ID_EDIT_REPLACE);
    Pump();
    dlg = FindDialog();
    run.Check(dlg && IsWindowVisible(dlg) && FindWindowW(L"#32770", L"Replace") == dlg,
              L"Edit > Replace... opens the system's Replace dialog");
    if (dlg) {
        SetDlgItemTextW(dlg, edt1, L"clamp");
        SetDlgItemTextW(dlg, edt2, L"limit");
        SendMessageW(dlg, WM_COMMAND, MAKEWPARAM(psh2, BN_CLICKED), (LPARAM)GetDlgItem(dlg, psh2));
        run.Log(L"  Replace All \"clamp\" -> \"limit\": %ls", g_app.searchNote.c_str());
        run.Check(LineOf(ed, L"clamp") < 0 && ColumnOf(ed, top, L"define limit (x") == 0 &&
                      ColumnOf(ed, second, L"return limit ((x") > 0,
                  L"Replace All from the dialog replaced both");
        CloseFindDialog();
        Pump();
        keys.Press('Z', kCtrl, 2);
        run.Check(LineOf(ed, L"limit") < 0 && ColumnOf(ed, top, L"clamp") == col &&
                      LineOf(ed, L"clamp", top + 1) == second,
                  L"two Ctrl+Z put clamp back");
    }

    SearchRequest s = LastSearch();
    s.what = L"clam";
    s.wholeWord = true;
    SetSearch(s);
    const CPoint at = ed.GetCursorPos();
    run.Check(FindAgain(false) == -1 && Is(ed.GetCursorPos(), at.x, at.y),
              L"whole word: \"clam\" is not found and the selection stays");
    run.Log(L"  the demo says: %ls", g_app.searchNote.c_str());
    s.matchCase = true;
    s.wholeWord = false;
    s.what = L"Clamp";
    SetSearch(s);
    run.Check(FindAgain(false) == -1, L"match case: \"Clamp\" is not found");
    g_app.quiet = false;
}

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

} // namespace

int Tour(const std::wstring& dir)
{
    CreateDirectoryW(dir.c_str(), nullptr);
    TourRun run(dir);
    SettingsScreens(run);
    DragScreen(run);
    DoubleClickScreen(run);
    LongScriptScreen(run);
    ScrolledScreen(run);
    GoToLineScreen(run);
    Keyboard keys;
    TypedScreen(run, keys);
    BlockIndentScreen(run, keys);
    ClipboardScreen(run, keys);
    CommentScreen(run, keys);
    FindScreen(run, keys);
    ContextMenuScreen(run);
    ValueTipScreen(run);
    AboutChecks(run);
    return run.Finish(18);
}

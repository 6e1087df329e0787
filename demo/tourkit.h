// Shared by the tour's screens: the run (log, checks, PNGs), finding and
// aiming at text, the menus, pixels of painted cells, and keys as the
// keyboard gives them.
#pragma once
#include "app.h"
#include "screenshot.h"
#include "gdi/WindowCapture.h"
#include <cstdarg>
#include <cstdio>
#include <algorithm>
#include <climits>
#include <cwchar>
#include <string>
#include <vector>

namespace tour {


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
inline int LineOf(CVelmor& ed, const wchar_t* text, int nFrom = 0)
{
    for (int i = nFrom; i < ed.GetLineCount(); ++i)
        if (wcsstr(ed.GetLine(i), text))
            return i;
    return -1;
}

// The column of text in a line; -1 when it is not there.
inline int ColumnOf(CVelmor& ed, int nLine, const wchar_t* text)
{
    if (nLine < 0)
        return -1;
    const CString line = ed.GetLine(nLine);
    const wchar_t* p = wcsstr(line, text);
    return p ? (int)(p - (const wchar_t*)line) : -1;
}

// A client point 2 pixels into the text cell of (column, line), half a line
// down: a click there lands before the character.
inline CPoint CellPoint(const CVelmor& ed, int nCol, int nLine)
{
    return CPoint(ed.m_nLeftMargin + (nCol - ed.m_nFirstCol) * ed.m_nCharWidth + 2,
                  (nLine - ed.m_nFirstLine) * ed.m_nLineHeight + ed.m_nLineHeight / 2);
}

inline void Mouse(CVelmor& ed, UINT msg, UINT keys, CPoint pt)
{
    ed.SendMessage(msg, keys, MAKELPARAM(pt.x, pt.y));
}

inline bool Is(CPoint pt, int x, int y)
{
    return pt.x == x && pt.y == y;
}

// Whether a menu item is greyed (state as the last WM_INITMENUPOPUP left it).
inline bool Greyed(HMENU menu, UINT id)
{
    return (GetMenuState(menu, id, MF_BYCOMMAND) & MF_GRAYED) != 0;
}

// Opens the Edit menu as far as its items' states go: the host's
// WM_INITMENUPOPUP asks the control about Undo and Redo.
inline HMENU InitEditMenu()
{
    HMENU edit = GetSubMenu(g_app.menu, 1);
    SendMessageW(g_app.hwnd, WM_INITMENUPOPUP, (WPARAM)edit, MAKELPARAM(1, FALSE));
    return edit;
}

// A menu item chosen: the WM_COMMAND the menu sends the main window.
inline void Choose(UINT id)
{
    SendMessageW(g_app.hwnd, WM_COMMAND, MAKEWPARAM(id, 0), 0);
}

// A client pixel (0x00RRGGBB, as captured) of a COLORREF (0x00BBGGRR).
inline DWORD Pixel(COLORREF c)
{
    return ((DWORD)GetRValue(c) << 16) | ((DWORD)GetGValue(c) << 8) | GetBValue(c);
}

// Whether the text cell of (column, line) holds at least one pixel of
// exactly the colour: a glyph drawn in it.
inline bool CellInked(const CVelmor& ed, const std::vector<DWORD>& pixels, int width, int nCol, int nLine, COLORREF color)
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
inline std::wstring ClipboardText()
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

inline void HoldModifiers(int mods)
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
inline const wchar_t* const kTyped[] = {
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
inline CString Expanded(const wchar_t* line, int nIndent = 0)
{
    CString s(line);
    if (s.GetLength() && s[0] == L'\t')
        s = CString(L' ', 4) + s.Mid(1);
    return CString(L' ', nIndent) + s;
}

// Whether the control holds the typed lines, those from nFirst to nLast
// indented by nIndent more.
inline bool HoldsTyped(CVelmor& ed, int nFirst = 0, int nLast = -1, int nIndent = 0)
{
    if (ed.GetLineCount() < kTypedLines)
        return false;
    for (int i = 0; i < kTypedLines; ++i)
        if (ed.GetLine(i) != Expanded(kTyped[i], i >= nFirst && i <= nLast ? nIndent : 0))
            return false;
    return true;
}

// ---------------------------------------------------------------------------
// The screens, in the order the tour shows them (tour.cpp, tour_edit.cpp,
// tour_host.cpp).

void SettingsScreens(TourRun& run);
void DragScreen(TourRun& run);
void DoubleClickScreen(TourRun& run);
void LongScriptScreen(TourRun& run);
void ScrolledScreen(TourRun& run);
void GoToLineScreen(TourRun& run);
void TypedScreen(TourRun& run, Keyboard& keys);
void BlockIndentScreen(TourRun& run, Keyboard& keys);
void ClipboardScreen(TourRun& run, Keyboard& keys);
void CommentScreen(TourRun& run, Keyboard& keys);
void FindScreen(TourRun& run, Keyboard& keys);
void ContextMenuScreen(TourRun& run);
void ValueTipScreen(TourRun& run);
void AboutChecks(TourRun& run);
void DebugScreens(TourRun& run);
void AdapterDiesChecks(TourRun& run);
void NoAdapterChecks(TourRun& run);
void PauseChecks(TourRun& run);

} // namespace tour

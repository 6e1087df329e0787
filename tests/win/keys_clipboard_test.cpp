// The keyboard and the clipboard as a user reaches them: key-downs posted
// to the control and run through a message loop that offers them to the
// accelerators (AfxPreTranslateMessage) and makes characters of them
// (TranslateMessage); Ctrl and Shift through the keyboard state; the
// system clipboard filled and read back around the commands.
#include "host.h"
#include <gtest/gtest.h>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

const int kId = 77;

struct Ed : TestEditor<>
{
    explicit Ed(const wchar_t* text, BYTE compact = 0) : TestEditor(text, CRect(0, 0, 600, 400), kId, compact)
    {
        ctl->SetFocus();
        Loop();
    }

    // The host's message loop: accelerators first, then characters.
    void Loop()
    {
        MSG msg;
        for (int round = 0; round < 3; ++round) {
            while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
                if (AfxPreTranslateMessage(&msg))
                    continue;
                TranslateMessage(&msg);
                DispatchMessageW(&msg);
            }
            Sleep(1);
        }
    }
    static void Modifiers(bool ctrl, bool shift)
    {
        BYTE state[256] = {};
        GetKeyboardState(state);
        state[VK_CONTROL] = state[VK_LCONTROL] = ctrl ? 0x80 : 0;
        state[VK_SHIFT] = state[VK_LSHIFT] = shift ? 0x80 : 0;
        SetKeyboardState(state);
    }
    // One key pressed (and released) with the given modifiers.
    void Key(UINT vk, bool ctrl = false, bool shift = false)
    {
        Modifiers(ctrl, shift);
        const UINT scan = MapVirtualKeyW(vk, MAPVK_VK_TO_VSC);
        PostMessageW(hwnd(), WM_KEYDOWN, vk, 1 | (scan << 16));
        Loop();
        PostMessageW(hwnd(), WM_KEYUP, vk, 1 | (scan << 16) | 0xC0000000);
        Loop();
        Modifiers(false, false);
    }
    // Typing: each character as the key (with Shift) that makes it.
    void Type(const wchar_t* s)
    {
        for (; *s; ++s) {
            const SHORT k = VkKeyScanW(*s);
            ASSERT_NE(-1, k) << "no key for " << (int)*s;
            Key(LOBYTE(k), false, (HIBYTE(k) & 1) != 0);
        }
    }
};

void SetClipboardText(HWND owner, const wchar_t* text, size_t units, UINT format = CF_UNICODETEXT)
{
    ASSERT_TRUE(OpenClipboard(owner));
    EmptyClipboard();
    if (text) {
        const size_t bytes = format == CF_TEXT ? units + 1 : (units + 1) * sizeof(wchar_t);
        HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, bytes);
        char* p = (char*)GlobalLock(h);
        if (format == CF_TEXT) {
            for (size_t i = 0; i < units; ++i)
                p[i] = (char)text[i];
            p[units] = 0;
        } else {
            std::memcpy(p, text, units * sizeof(wchar_t));
            ((wchar_t*)p)[units] = 0;
        }
        GlobalUnlock(h);
        SetClipboardData(format, h);
    }
    CloseClipboard();
}

std::wstring ClipboardText(HWND owner)
{
    std::wstring s;
    if (!OpenClipboard(owner))
        return L"<cannot open>";
    if (HANDLE h = GetClipboardData(CF_UNICODETEXT)) {
        s = (const wchar_t*)GlobalLock(h);
        GlobalUnlock(h);
    }
    CloseClipboard();
    return s;
}

bool Enabled(CVelmor* c, UINT id)
{
    CCmdUI ui;
    ui.m_nID = id;
    ui.DoUpdate(c, TRUE);
    return ui.m_bEnabled != FALSE;
}

} // namespace

// Characters typed through the message loop land at the caret; each is one
// action (one EN_CHANGE), each key-down posts one 0x0B00; undo takes back
// one character at a time.
TEST(Keys, TypingThroughTheMessageLoop)
{
    Ed e(L"\n");
    const int changes = e.Changes();
    e.Type(L"x = sin y");
    EXPECT_EQ(CString(L"x = sin y\n\n"), e.Text());
    EXPECT_EQ(CPoint(9, 0), e->GetCursorPos());
    EXPECT_EQ(changes + 9, e.Changes());
    ASSERT_EQ(9u, e.host.keyNotifications.size());
    EXPECT_EQ((UINT)kId, e.host.keyNotifications[0].id);
    EXPECT_EQ(0x0300u, e.host.keyNotifications[0].code);
    EXPECT_TRUE(e->GetStyleSetting(VELMOR_STYLE_MODIFIED));
    // Colours follow the text: "sin" is a function word.
    EXPECT_EQ(COLOR_FUNCTION, e->m_Text._GetLineColors(0)[4]);

    e.Key('Z', true); // the accelerator: undo
    EXPECT_EQ(CString(L"x = sin \n\n"), e.Text());
    EXPECT_EQ(CPoint(8, 0), e->GetCursorPos());
    // Read-only: typing, Backspace and Enter change nothing, moving does.
    e->SetReadOnly(true);
    e.Type(L"q");
    e.Key(VK_BACK);
    e.Key(VK_RETURN);
    e.Key(VK_HOME);
    EXPECT_EQ(CString(L"x = sin \n\n"), e.Text());
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
}

// Enter splits, Backspace at a line's start joins it to the line above,
// Delete at the very end does nothing, Tab pads to the next stop; each
// undoes to the text and caret before it.
TEST(Keys, EditingKeysAndTheirUndo)
{
    Ed e(L"alpha\nbeta\ngamma\n");
    struct Case
    {
        CPoint at;
        UINT vk;     // a key-down, or 0 for a character
        wchar_t ch;  // the character typed when vk is 0
        const wchar_t* after;
        CPoint caret;
    } cases[] = {
        { { 2, 0 }, VK_RETURN, 0, L"al\npha\nbeta\ngamma\n\n", { 0, 1 } },
        { { 0, 2 }, VK_BACK, 0, L"alpha\nbetagamma\n\n", { 4, 1 } },
        { { 0, 0 }, VK_BACK, 0, L"alpha\nbeta\ngamma\n\n", { 0, 0 } },
        { { 0, 3 }, VK_DELETE, 0, L"alpha\nbeta\ngamma\n\n", { 0, 3 } },
        { { 5, 0 }, VK_DELETE, 0, L"alphabeta\ngamma\n\n", { 5, 0 } },
        { { 2, 1 }, VK_DELETE, 0, L"alpha\nbea\ngamma\n\n", { 2, 1 } },
        { { 0, 1 }, 0, L'\t', L"alpha\n    beta\ngamma\n\n", { 4, 1 } },
        { { 3, 1 }, 0, L'\t', L"alpha\nbet a\ngamma\n\n", { 4, 1 } },
        { { 4, 1 }, 0, L'\t', L"alpha\nbeta    \ngamma\n\n", { 8, 1 } },
    };
    for (const Case& c : cases) {
        const CString before = e.Text();
        e->SetSelection(c.at.x, c.at.y, c.at.x, c.at.y);
        if (c.vk)
            e.Key(c.vk);
        else
            ::SendMessageW(e.hwnd(), WM_CHAR, c.ch, 1);
        EXPECT_EQ(CString(c.after), e.Text()) << "key " << c.vk << " char " << (int)c.ch;
        EXPECT_EQ(c.caret, e->GetCursorPos()) << "key " << c.vk << " char " << (int)c.ch;
        e->DoUndo();
        EXPECT_EQ(before, e.Text());
        if (CString(c.after) != before) {
            EXPECT_EQ(c.at, e->GetCursorPos());
        }
    }
    // Typing over a selection replaces it in one step.
    e->SetSelection(1, 0, 3, 1);
    ::SendMessageW(e.hwnd(), WM_CHAR, L'Z', 1);
    EXPECT_EQ(CString(L"aZa\ngamma\n\n"), e.Text());
    e->DoUndo();
    EXPECT_EQ(CString(L"alpha\nbeta\ngamma\n\n"), e.Text());
    // Ctrl+Enter: a line feed character, then the split.
    e->SetSelection(2, 2, 2, 2);
    e.Key(VK_RETURN, true);
    EXPECT_EQ(CString(L"alpha\nbeta\nga\n\nmma\n\n"), e.Text());
}

// Moving the caret: arrows, words, lines, pages, with Shift extending.
TEST(Keys, NavigationKeys)
{
    std::wstring text = L"ab.cd\nx\nlonger line\n";
    for (int i = 0; i < 60; ++i)
        text += L"row " + std::to_wstring(i) + L"\n";
    Ed e(text.c_str());
    e->SetSelection(5, 0, 5, 0);
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(3, 0), e->GetCursorPos());
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos());
    e.Key(VK_RIGHT, true);
    EXPECT_EQ(CPoint(3, 0), e->GetCursorPos());
    e.Key(VK_UP); // on line 0: stays
    EXPECT_EQ(CPoint(3, 0), e->GetCursorPos());
    e.Key(VK_DOWN); // clamped to "x"
    EXPECT_EQ(CPoint(1, 1), e->GetCursorPos());
    e.Key(VK_DOWN);
    EXPECT_EQ(CPoint(1, 2), e->GetCursorPos()); // no remembered goal column
    e.Key(VK_END);
    EXPECT_EQ(CPoint(11, 2), e->GetCursorPos());
    e.Key(VK_RIGHT);
    EXPECT_EQ(CPoint(0, 3), e->GetCursorPos());
    e.Key(VK_LEFT);
    EXPECT_EQ(CPoint(11, 2), e->GetCursorPos());
    e.Key(VK_HOME, false, true); // Shift: the selection grows
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos());
    EXPECT_EQ(CPoint(11, 2), e->GetAnchorPos());
    e.Key(VK_HOME); // without Shift it collapses
    EXPECT_EQ(e->GetCursorPos(), e->GetAnchorPos());
    e.Key(VK_NEXT);
    EXPECT_EQ(2 + e->VisibleLines(false), e->GetCursorPos().y);
    EXPECT_EQ(e->GetCursorPos().y, e->m_nFirstLine);
    e.Key(VK_END, true);
    const int last = e->GetLineCount() - 1;
    EXPECT_EQ(CPoint(0, last), e->GetCursorPos());
    e.Key(VK_RIGHT); // at the very end: stays
    EXPECT_EQ(CPoint(0, last), e->GetCursorPos());
    e.Key(VK_DOWN);
    EXPECT_EQ(CPoint(0, last), e->GetCursorPos());
    e.Key(VK_PRIOR);
    EXPECT_EQ(last - e->VisibleLines(false), e->GetCursorPos().y);
    e.Key(VK_HOME, true);
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    // Every key-down posted one notification, handled or not.
    const size_t before = e.host.keyNotifications.size();
    e.Key(VK_F5);
    EXPECT_EQ(before + 1, e.host.keyNotifications.size());
    EXPECT_EQ(CString(text.c_str()) + L"\n", e.Text());
}

// Tab over a selection indents every line by the first line's tab; the
// public unindent carries its count from line to line.
TEST(Keys, BlockIndentAndUnindent)
{
    Ed e(L"  one\ntwo\nthree\n");
    e->SetSelection(2, 0, 1, 2);
    ::SendMessageW(e.hwnd(), WM_CHAR, L'\t', 1);
    EXPECT_EQ(CString(L"    one\n  two\n  three\n\n"), e.Text());
    EXPECT_EQ(CPoint(4, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(3, 2), e->GetCursorPos());
    e->DoUndo();
    EXPECT_EQ(CString(L"  one\ntwo\nthree\n\n"), e.Text());

    // The caret above the anchor: the ends change places.
    e->LoadText(L"ab\ncd\n");
    e->SetSelection(1, 1, 1, 0);
    e->IncreaseIndent();
    EXPECT_EQ(CString(L"a   b\n   cd\n\n"), e.Text()); // the first line at the caret's column
    EXPECT_EQ(CPoint(4, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(4, 1), e->GetCursorPos());

    // Unindent: the count carries from line to line, and the selection
    // comes back shifted by it with no floor at column 0.
    e->LoadText(L"    a\n  bcde\n      f\n");
    e->SetSelection(0, 0, 1, 2);
    e->DecreaseIndent();
    EXPECT_EQ(CString(L"a\nde\n  f\n\n"), e.Text());
    EXPECT_EQ(CPoint(-4, 0), e->m_ptAnchor);
    EXPECT_EQ(CPoint(-3, 2), e->m_ptCursor);
    e->DoUndo();
    EXPECT_EQ(CString(L"    a\n  bcde\n      f\n\n"), e.Text());
    e->LoadText(L"    a\n    b\n");
    e->SetSelection(5, 1, 2, 0); // caret above the anchor
    e->DecreaseIndent();
    EXPECT_EQ(CString(L"a\nb\n\n"), e.Text());
    EXPECT_EQ(CPoint(-2, 0), e->m_ptAnchor);
    EXPECT_EQ(CPoint(1, 1), e->m_ptCursor);
}

// Ctrl+A through the accelerator table is Redo; with accelerators off the
// key reaches the control and selects all. Ctrl+Y posts Redo either way.
TEST(Keys, AcceleratorsAndThePlainPath)
{
    Ed e(L"abc\n");
    e->SetSelection(3, 0, 3, 0);
    ::SendMessageW(e.hwnd(), WM_CHAR, L'd', 1);
    e.Key('Z', true);
    EXPECT_EQ(CString(L"abc\n\n"), e.Text());
    e.Key('A', true); // Redo, as the table says
    EXPECT_EQ(CString(L"abcd\n\n"), e.Text());
    EXPECT_FALSE(e->Selected());
    e.Key('Z', true);
    e.Key('Y', true);
    EXPECT_EQ(CString(L"abcd\n\n"), e.Text());

    e->UseKeyboardAccelerators(false);
    e.Key('A', true); // now Select All
    EXPECT_EQ(CPoint(0, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    e.Key('Z', true); // posted by the key table
    EXPECT_EQ(CString(L"abc\n\n"), e.Text());
}

// Copy joins lines with CR LF; cut is one undo step; paste breaks lines at
// line feeds only, expands tabs at their column and replaces a selection
// in one step.
TEST(Clipboard, CopyCutAndPaste)
{
    Ed e(L"first line\nsecond\nthird line\n");
    e->SetSelection(2, 0, 3, 2);
    e.Key('C', true);
    EXPECT_EQ(std::wstring(L"rst line\r\nsecond\r\nthi"), ClipboardText(e.hwnd()));
    EXPECT_TRUE(Enabled(e.ctl.get(), ID_EDIT_COPY));
    EXPECT_TRUE(Enabled(e.ctl.get(), ID_EDIT_PASTE));

    e.Key('X', true);
    EXPECT_EQ(CString(L"fird line\n\n"), e.Text());
    EXPECT_FALSE(Enabled(e.ctl.get(), ID_EDIT_CUT));
    e->DoUndo();
    EXPECT_EQ(CString(L"first line\nsecond\nthird line\n\n"), e.Text());
    EXPECT_EQ(CPoint(2, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(3, 2), e->GetCursorPos());

    e->LoadText(L"xy\n");
    e->SetSelection(1, 0, 1, 0);
    const wchar_t ab[] = L"a\nb";
    SetClipboardText(e.hwnd(), ab, 3);
    e.Key('V', true);
    EXPECT_EQ(CString(L"xa\nby\n\n"), e.Text());
    EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());

    // CR LF text keeps its CR; a tab at column 5 pads to column 8.
    e->LoadText(L"12345\n");
    e->SetSelection(5, 0, 5, 0);
    const wchar_t crlf[] = L"\tT\r\nZ";
    SetClipboardText(e.hwnd(), crlf, 5);
    e.Key('V', true);
    EXPECT_EQ(CString(L"12345   T\r\nZ\n\n"), e.Text());

    // A cut on one line: one undo brings back the text and the selection.
    e->SetSelection(1, 0, 4, 0);
    e.Key('X', true);
    EXPECT_EQ(CString(L"15   T\r\nZ\n\n"), e.Text());
    e->DoUndo();
    EXPECT_EQ(CString(L"12345   T\r\nZ\n\n"), e.Text());
    EXPECT_EQ(CPoint(1, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(4, 0), e->GetCursorPos());

    // Pasting over a selection is one step.
    e->SetSelection(0, 0, 2, 1);
    const wchar_t q[] = L"Q";
    SetClipboardText(e.hwnd(), q, 1);
    e.Key('V', true);
    EXPECT_EQ(CString(L"Q\n\n"), e.Text());
    e->DoUndo();
    EXPECT_EQ(CString(L"12345   T\r\nZ\n\n"), e.Text());
}

// What the clipboard may hold: surrogate pairs, a NUL inside the data,
// nothing at all, only CF_TEXT, a megabyte, ten thousand lines; and a
// read-only control that must change nothing and lose nothing.
TEST(Clipboard, OddContents)
{
    Ed e(L"\n");
    const wchar_t pair[] = L"a\xD83D\xDE00z";
    SetClipboardText(e.hwnd(), pair, 4);
    e.Key('V', true);
    EXPECT_EQ(CString(L"a\xD83D\xDE00z\n\n"), e.Text());

    e->LoadText(L"\n");
    const wchar_t nul[] = { L'a', L'b', 0, L'c', L'd' };
    SetClipboardText(e.hwnd(), nul, 5);
    e.Key('V', true);
    EXPECT_EQ(CString(L"ab\n\n"), e.Text()); // the text ends at the NUL

    e->LoadText(L"keep\n");
    SetClipboardText(e.hwnd(), nullptr, 0); // empty
    EXPECT_FALSE(Enabled(e.ctl.get(), ID_EDIT_PASTE));
    e.Key('V', true);
    EXPECT_EQ(CString(L"keep\n\n"), e.Text());

    const wchar_t ansi[] = L"plain";
    SetClipboardText(e.hwnd(), ansi, 5, CF_TEXT); // the system offers it as Unicode too
    EXPECT_TRUE(Enabled(e.ctl.get(), ID_EDIT_PASTE));
    e.Key('V', true);
    EXPECT_EQ(CString(L"plainkeep\n\n"), e.Text());

    std::wstring big(1 << 20, L'm');
    e->LoadText(L"\n");
    SetClipboardText(e.hwnd(), big.c_str(), big.size());
    e.Key('V', true);
    EXPECT_EQ((int)big.size(), e->GetLine(0).GetLength());

    std::wstring lines;
    for (int i = 0; i < 10000; ++i)
        lines += L"line " + std::to_wstring(i) + L"\n";
    e->LoadText(L"\n");
    SetClipboardText(e.hwnd(), lines.c_str(), lines.size());
    e.Key('V', true);
    EXPECT_EQ(10001, e->GetLineCount()); // the empty line after the last line feed is the old second line
    EXPECT_EQ(CString(L"line 9999"), e->GetLine(9999));
    e->ClearUndoHistory();

    // Read-only: paste and cut change nothing (the cut copies nothing
    // either); copy still works.
    e->SetReadOnly(true);
    const CString before = e.Text();
    const wchar_t other[] = L"other";
    SetClipboardText(e.hwnd(), other, 5);
    e.Key('V', true);
    e->SetSelection(0, 0, 4, 0);
    e.Key('X', true);
    EXPECT_EQ(before, e.Text());
    EXPECT_EQ(std::wstring(L"other"), ClipboardText(e.hwnd()));
    e.Key('C', true);
    EXPECT_EQ(std::wstring(L"line"), ClipboardText(e.hwnd()));
}

// A long random run of typing, Enter, Backspace, Delete, Tab (also over a
// block), paste and selections, with undo and redo: every undo gives back
// the text before its command, every redo the text after it.
// VELMOR_SEED=<n> repeats a run.
namespace {

// FNV-1a over the text, so that a history of a 100,000-line text keeps a
// few bytes a step.
uint64_t Hash(const CString& s)
{
    uint64_t h = 1469598103934665603ULL;
    for (int i = 0; i < s.GetLength(); ++i)
        h = (h ^ (uint16_t)s[i]) * 1099511628211ULL;
    return h ^ (uint64_t)s.GetLength();
}

// Random commands, undo and redo, each undo and redo checked against the
// text and caret recorded before the command. bBig: selections of up to
// every line, cut, pastes of thousands of lines, block indents and
// commenting over them.
void RandomEditing(Ed& e, unsigned seed, int nOps, bool bBig)
{
    std::mt19937 rng(seed);
    struct State
    {
        uint64_t text;
        CPoint caret, anchor;
    };
    std::vector<State> undo, redo;
    auto state = [&] { return State{ Hash(e.Text()), e->GetCursorPos(), e->GetAnchorPos() }; };
    const wchar_t* const pastes[] = { L"ab", L"a\nb", L"\tc\r\n", L"/*", L"*/\n\n", L"" };
    std::wstring bigPaste;
    for (int i = 0; i < 3000; ++i)
        bigPaste += i % 7 ? L"  pasted line\n" : L"/* c */ x\xD83D\xDE00\n";
    for (int op = 0; op < nOps; ++op) {
        const unsigned what = rng() % (bBig ? 16 : 12);
        if (what < 8 || what >= 12) {
            // A command at a random place, maybe over a selection.
            const int n = e->GetLineCount();
            const int ay = (int)(rng() % (unsigned)n), cy = (int)(rng() % (unsigned)n);
            if (bBig && rng() % 4 == 0)
                e->SetSelection(0, 0, 0, n - 1); // nearly everything
            else
                e->SetSelection((int)(rng() % 12), ay, rng() % 3 ? (int)(rng() % 12) : 0, rng() % 3 ? ay : cy);
            const State before = state();
            const size_t depth = e->m_UndoStack.size();
            switch (what) {
            case 0: case 1: ::SendMessageW(e.hwnd(), WM_CHAR, L"az/*\" "[rng() % 6], 1); break;
            case 2: ::SendMessageW(e.hwnd(), WM_CHAR, 13, 1); break;
            case 3: ::SendMessageW(e.hwnd(), WM_KEYDOWN, VK_BACK, 1); break;
            case 4: ::SendMessageW(e.hwnd(), WM_KEYDOWN, VK_DELETE, 1); break;
            case 5: ::SendMessageW(e.hwnd(), WM_CHAR, 9, 1); break;
            case 6: e->DecreaseIndent(); break;
            case 7: e->ReplaceSelText(pastes[rng() % 6]); break;
            case 12: ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_CUT, 0); break;
            case 13: e->ReplaceSelText(bigPaste.c_str()); break;
            case 14: e->CommentOutSelect(); break;
            default: e->UncommentSelected(); break;
            }
            redo.clear();
            if (e->m_UndoStack.size() > depth)
                undo.push_back(before);
        } else if (what < 10) {
            const State now = state();
            e->DoUndo();
            if (!undo.empty()) {
                ASSERT_EQ(undo.back().text, Hash(e.Text())) << "undo at operation " << op;
                redo.push_back(now);
                undo.pop_back();
            }
        } else {
            const State now = state();
            e->DoRedo();
            if (!redo.empty()) {
                ASSERT_EQ(redo.back().text, Hash(e.Text())) << "redo at operation " << op;
                // The caret goes back to where it stood when the undo ran.
                ASSERT_EQ(redo.back().caret, e->GetCursorPos()) << "redo at operation " << op;
                undo.push_back(now);
                redo.pop_back();
            }
        }
    }
    // Everything undone gives the text back as it was loaded.
    while (!undo.empty()) {
        e->DoUndo();
        ASSERT_EQ(undo.back().text, Hash(e.Text()));
        undo.pop_back();
    }
}

} // namespace

TEST(Keys, RandomEditingUndoesExactly)
{
    unsigned seed = 77;
    if (const char* s = std::getenv("VELMOR_SEED"))
        seed = (unsigned)std::strtoul(s, nullptr, 10);
    SCOPED_TRACE("seed " + std::to_string(seed) + " (set VELMOR_SEED to repeat)");
    {
        Ed e(L"x = 1;\n  /* note */\ny = sin(x);\n");
        RandomEditing(e, seed, 4000, false);
    }
    // 100,000 lines: empty ones, comment delimiters, surrogate pairs.
    std::wstring text;
    for (int i = 0; i < 100000; ++i)
        text += i % 5 == 0 ? L"\n" : i % 11 == 0 ? L"/* open\n" : i % 13 == 0 ? L"close */ y;\n"
                                                  : i % 17 == 0 ? L"s = \"\xD83D\xDE00\";\n" : L"    x = x + 1;\n";
    Ed e(text.c_str());
    RandomEditing(e, seed, 300, true);
}

// Compact mode: KeyDown sees each key before the accelerators. Ctrl+A and
// Ctrl+C are consumed; Ctrl+V and Ctrl+Z act in KeyDown and again through
// the table (paste twice, two undo steps); Enter is consumed, so the line
// splits once.
TEST(Keys, CompactModeKeyPath)
{
    Ed e(L"abc\n", 1);
    // What KeyDown returns, called as a host may call it.
    e->SetSelection(1, 0, 1, 0);
    EXPECT_EQ(1, e->KeyDown(VK_LEFT, 0, 0));
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    EXPECT_EQ(0, e->KeyDown(VK_F5, 0, 0));
    EXPECT_EQ(0, e->KeyDown('A', 0, 0)); // a letter without Ctrl
    Ed::Modifiers(true, false);
    EXPECT_EQ(1, e->KeyDown('A', 0, 0));
    EXPECT_EQ(CPoint(0, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    SetClipboardText(e.hwnd(), L"old", 3);
    EXPECT_EQ(1, e->KeyDown('C', 0, 0));
    EXPECT_EQ(std::wstring(L"abc\r\n"), ClipboardText(e.hwnd()));
    EXPECT_EQ(0, e->KeyDown('Y', 0, 0));
    Ed::Modifiers(false, false);
    e.Loop();

    // Through the host's message loop.
    e->SetSelection(0, 0, 0, 0);
    SetClipboardText(e.hwnd(), L"xy", 2);
    e.Key('V', true);
    EXPECT_EQ(CString(L"xyxyabc\n\n"), e.Text());
    e.Key('Z', true);
    EXPECT_EQ(CString(L"abc\n\n"), e.Text());
    e.Key('A', true); // Select All, not Redo
    EXPECT_EQ(CString(L"abc\n\n"), e.Text());
    EXPECT_EQ(CPoint(0, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    e->SetSelection(1, 0, 1, 0);
    e.Key(VK_RETURN);
    EXPECT_EQ(CString(L"a\nbc\n\n"), e.Text());
}

// The key notification (0x0B00) is posted for every key-down but Ctrl+A
// and Ctrl+C; KeyDown posts one more for Enter below the first screenful.
TEST(Keys, TheKeyNotification)
{
    Ed e(Numbered(80).c_str());
    e->UseKeyboardAccelerators(false); // every key through OnKeyDown
    auto posted = [&](UINT vk, bool ctrl) {
        const size_t before = e.host.keyNotifications.size();
        e.Key(vk, ctrl);
        return e.host.keyNotifications.size() - before;
    };
    EXPECT_EQ(0u, posted('A', true));
    EXPECT_EQ(0u, posted('C', true));
    EXPECT_EQ(1u, posted('V', true));
    EXPECT_EQ(1u, posted(VK_F7, false));
    EXPECT_EQ(1u, posted(VK_DOWN, false));
    ASSERT_FALSE(e.host.keyNotifications.empty());
    EXPECT_EQ((UINT)kId, e.host.keyNotifications.back().id);

    auto viaKeyDown = [&](int line) {
        e->SetSelection(0, line, 0, line);
        const size_t before = e.host.keyNotifications.size();
        e->KeyDown(VK_RETURN, 0, 0);
        e.Loop();
        return e.host.keyNotifications.size() - before;
    };
    const int visible = e->VisibleLines(false);
    EXPECT_EQ(1u, viaKeyDown(visible));
    EXPECT_EQ(2u, viaKeyDown(visible + 1));
}

// Ctrl+Right at the end of a line goes to the next line's start, at the end
// of the last line stays there; Ctrl+Left at column 0 goes to the end of
// the line above, on line 0 stays.
TEST(Keys, WordMovesAtTheEndsOfLines)
{
    Ed e(L"ab.cd\nxy\n");
    e->SetSelection(5, 0, 5, 0);
    e.Key(VK_RIGHT, true);
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    e->SetSelection(0, 2, 0, 2);
    e.Key(VK_RIGHT, true);
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos());
    e->SetSelection(0, 1, 0, 1);
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(5, 0), e->GetCursorPos());
    e->SetSelection(0, 0, 0, 0);
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    e->SetSelection(5, 0, 5, 0);
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(3, 0), e->GetCursorPos());
    e.Key(VK_LEFT, true);
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos()); // the '.'
}

// Copy with nothing selected leaves the clipboard's content as it was, and
// the clipboard open for the control's window.
TEST(Clipboard, CopyOfNothing)
{
    Ed e(L"abc\n");
    SetClipboardText(e.hwnd(), L"kept", 4);
    e->SetSelection(1, 0, 1, 0);
    e.Key('C', true);
    EXPECT_EQ(e.hwnd(), ::GetOpenClipboardWindow());
    ::CloseClipboard();
    EXPECT_EQ(std::wstring(L"kept"), ClipboardText(e.hwnd()));
}

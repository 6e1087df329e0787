// The control in a real host window: creation, text in and out, undo
// records, notifications, settings and bad input.
#include "host.h"
#include <gtest/gtest.h>
#include <memory>

namespace {

const int kId = 4711;

struct Editor
{
    HostWindow host;
    std::unique_ptr<CVelmor> ctl;
    explicit Editor(BYTE compact = 0)
    {
        LOGFONTW lf = TestFont();
        ctl.reset(new CVelmor(host.wnd(), CRect(0, 0, 600, 400), kId, 4, &lf, compact));
        PumpMessages();
    }
    std::vector<CString> Lines()
    {
        std::vector<CString> v;
        for (int i = 0; i < ctl->GetLineCount(); ++i)
            v.push_back(ctl->GetLine(i));
        return v;
    }
    int Changes()
    {
        int n = 0;
        for (auto& m : host.notifications)
            n += m.code == EN_CHANGE;
        return n;
    }
};

std::vector<CString> L(std::initializer_list<const wchar_t*> l)
{
    std::vector<CString> v;
    for (auto s : l)
        v.push_back(s);
    return v;
}

std::vector<UndoEntry> Entries(CUndoFrame f)
{
    std::vector<UndoEntry> v;
    UndoEntry e;
    while (f.PopEntry(e))
        v.insert(v.begin(), e); // oldest first
    return v;
}

template <class F> bool ThrowsInvalidArg(F f)
{
    try {
        f();
    } catch (CInvalidArgException* e) {
        e->Delete();
        return true;
    }
    return false;
}

} // namespace

TEST(Lifecycle, CreatingConstructorsSetUpAChildWindow)
{
    Editor framed;
    CVelmor& c = *framed.ctl;
    ASSERT_TRUE(IsWindow(c.m_hWnd));
    EXPECT_EQ(framed.host.hwnd(), GetParent(c.m_hWnd));
    EXPECT_EQ((DWORD)0x52300000, c.GetStyle() & 0xFFFF0000);
    EXPECT_EQ(kId, c.GetDlgCtrlID());
    EXPECT_EQ(0x00FFFFFFu, c.m_crBackground);
    EXPECT_EQ(CString(L"Liberation Mono"), c.GetFontName());
    EXPECT_NE(nullptr, c.m_hAccel);
    EXPECT_FALSE(c.m_bNoFrame);
    // Shown at creation: metrics of Liberation Mono 10 pt.
    EXPECT_EQ(15, c.m_nLineHeight);
    EXPECT_EQ(8, c.m_nCharWidth);
    EXPECT_EQ(8, c.m_anCharWidth['W']);
    EXPECT_EQ(1, c.GetLineCount());
    EXPECT_EQ(CString(c.m_strClassName).Left(9), CString(L"CVelmor::"));

    Editor compact(1);
    EXPECT_TRUE(compact.ctl->m_bNoFrame);
    EXPECT_EQ((DWORD)0x52000000, compact.ctl->GetStyle() & 0xFFFF0000);

    HostWindow host;
    CVelmor pointFont(host.wnd(), CRect(0, 0, 300, 200), 7, 4, 100, L"Liberation Mono", 0);
    EXPECT_EQ(100, pointFont.GetFontSize());
    EXPECT_EQ(15, pointFont.m_nLineHeight);
}

TEST(Lifecycle, DefaultConstructorThenCreate)
{
    CVelmor c;
    EXPECT_EQ(nullptr, c.m_hWnd);
    EXPECT_EQ(0x00FFCCCCu, c.m_crBackground);
    EXPECT_EQ(3, c.m_nLeftMargin);
    EXPECT_EQ(nullptr, c.m_hAccel);
    EXPECT_EQ(-1, c.FirstVisibleLine());
    // Works without a window: nothing to notify, nothing to paint.
    c.LoadText(L"x = 1;\n");
    EXPECT_EQ(2, c.GetLineCount());

    HostWindow host;
    ASSERT_TRUE(c.Create(WS_CHILD | WS_VISIBLE, host.wnd(), CRect(0, 0, 200, 100), 99, 4, 100, L"Liberation Mono"));
    PumpMessages();
    c.SetLine(L"y", 0);
    // Create does not take the id: notifications carry the constructor's 0.
    ASSERT_FALSE(host.notifications.empty());
    EXPECT_EQ(0u, host.notifications.back().id);
    EXPECT_EQ(c.m_hWnd, host.notifications.back().hwnd);
}

TEST(Lifecycle, LoadTextSplitsLinesAndExpandsTabs)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"a\nb");
    EXPECT_EQ(L({ L"a", L"" }), e.Lines()); // text after the last line feed is dropped
    c.LoadText(L"a\nb\n");
    EXPECT_EQ(L({ L"a", L"b", L"" }), e.Lines());
    c.LoadText(L"ab");
    EXPECT_EQ(L({ L"ab", L"" }), e.Lines());
    c.LoadText(L"x\r\ny\r\n");
    EXPECT_EQ(L({ L"x\r", L"y\r", L"" }), e.Lines());
    c.LoadText(L"a\tb\n\tc\n    \td\n");
    EXPECT_EQ(L({ L"a   b", L"    c", L"        d", L"" }), e.Lines());
    c.LoadText(L"");
    EXPECT_EQ(L({ L"", L"" }), e.Lines());
    c.LoadText(nullptr);
    EXPECT_EQ(L({ L"", L"" }), e.Lines());
    EXPECT_EQ(CPoint(0, 0), c.GetCursorPos());

    // Through the window-text names, and back out.
    c.SetWindowTextW(L"one\ntwo\n");
    CString out;
    c.GetWindowTextW(out);
    EXPECT_EQ(CString(L"one\ntwo\n\n"), out);
}

TEST(Lifecycle, UnloadAndSourceCodes)
{
    CVelmor single; // one line after Reset
    single.SetLine(L"only", 0);
    CString out;
    single.UnloadText(out);
    EXPECT_EQ(CString(L"only"), out);

    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"a\n");
    c.UnloadText(out);
    EXPECT_EQ(CString(L"a\n\n"), out);

    c.LoadText(L"x = 1; // note\n/* one\ntwo */ y = \"s\";\nz /* c */ w\n");
    c.GetSourceCodes(out);
    EXPECT_EQ(CString(L"x = 1;        \n      \n       y = \"s\";\nz         w\n\n"), out);
    // Lengths and line count are those of the display.
    c.UnloadText(out);
    EXPECT_EQ(CString(L"x = 1; // note\n/* one\ntwo */ y = \"s\";\nz /* c */ w\n\n"), out);
}

TEST(Lifecycle, LoadAndPrimitivesRecordUndoEntries)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"a\nb\n");
    ASSERT_EQ(1u, c.m_UndoStack.size());
    EXPECT_TRUE(c.m_CurFrame.IsEmpty());
    auto load = Entries(c.m_UndoStack.top());
    ASSERT_EQ(2u, load.size());
    EXPECT_EQ(LineInserted, load[0].kind);
    EXPECT_EQ(0, load[0].line);
    EXPECT_EQ(CPoint(0, 0), load[0].cursor);
    EXPECT_EQ(1, load[1].line);
    EXPECT_EQ(CPoint(0, 1), load[1].cursor); // the caret moves down as lines go in
    EXPECT_TRUE(load[1].text.IsEmpty());

    c.SetSelection(1, 0, 0, 1);
    c.SetLine(L"B", 1);
    ASSERT_EQ(2u, c.m_UndoStack.size());
    auto set = Entries(c.m_UndoStack.top());
    ASSERT_EQ(1u, set.size());
    EXPECT_EQ(LineChanged, set[0].kind);
    EXPECT_EQ(CString(L"b"), set[0].text);
    EXPECT_EQ(CPoint(0, 1), set[0].cursor);
    EXPECT_EQ(CPoint(1, 0), set[0].anchor);

    // Outside an action the entries wait in the current frame.
    c.InsertTextLine(L"new", 1, true, false);
    c.RemoveTextLine(0, false, true);
    c.InsertTextLine(L"silent", 0, true, true);
    c.RemoveTextLine(50, false, true); // past the end: nothing
    auto pending = Entries(c.m_CurFrame);
    ASSERT_EQ(2u, pending.size());
    EXPECT_EQ(LineInserted, pending[0].kind);
    EXPECT_EQ(LineRemoved, pending[1].kind);
    EXPECT_EQ(CString(L"a"), pending[1].text);
    EXPECT_EQ(L({ L"silent", L"new", L"B", L"" }), e.Lines());

    // An index past the end appends, and the entry says where.
    c.m_CurFrame.Clear();
    c.InsertTextLine(L"tail", 99, true, false);
    EXPECT_EQ(CString(L"tail"), c.GetLine(4));
    EXPECT_EQ(4, c.m_CurFrame.Top().line);

    c.m_CurFrame.Clear();
    c.RemoveAllText();
    auto all = Entries(c.m_CurFrame);
    ASSERT_EQ(5u, all.size());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(LineRemoved, all[(size_t)i].kind);
        EXPECT_EQ(i, all[(size_t)i].line);
    }
    EXPECT_EQ(CString(L"silent"), all[0].text);
    EXPECT_EQ(1, c.GetLineCount());

    c.ClearUndoHistory();
    EXPECT_TRUE(c.m_UndoStack.empty());
    EXPECT_TRUE(c.m_CurFrame.IsEmpty());
}

TEST(Lifecycle, ChangesAreNotifiedToTheRealParent)
{
    Editor e;
    CVelmor& c = *e.ctl;
    e.host.notifications.clear();
    c.LoadText(L"a\n");
    // One from the reset's RemoveAllText, one from the end of the load.
    EXPECT_EQ(2, e.Changes());
    for (auto& n : e.host.notifications) {
        EXPECT_EQ((UINT)kId, n.id);
        EXPECT_EQ(c.m_hWnd, n.hwnd);
    }
    e.host.notifications.clear();
    c.SetLine(L"b", 0);
    EXPECT_EQ(1, e.Changes());
    e.host.notifications.clear();
    c.InsertTextLine(L"c", 0, true, false); // primitives alone do not notify
    EXPECT_EQ(0, e.Changes());
}

TEST(Lifecycle, SettingsKeepTheirStatedSemantics)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.EnableBreaks(TRUE);
    EXPECT_EQ(0, c.IsEnableBreaks()); // reports the "disabled" bit
    c.EnableBreaks(FALSE);
    EXPECT_NE(0, c.IsEnableBreaks());

    c.SetStyleSetting(VELMOR_STYLE_MODIFIED, TRUE);
    EXPECT_EQ(1, c.GetStyleSetting(VELMOR_STYLE_MODIFIED));
    c.SetStyleSetting(VELMOR_STYLE_MODIFIED, FALSE);
    EXPECT_EQ(0, c.GetStyleSetting(VELMOR_STYLE_MODIFIED));

    const int w = c.m_nCharWidth, h = c.m_nLineHeight;
    c.SetCharXSpacing(-3);
    EXPECT_EQ(w, c.m_nCharWidth);
    c.SetCharXSpacing(2);
    c.SetCharXSpacing(2);
    EXPECT_EQ(w + 4, c.m_nCharWidth);
    c.SetCharYSpacing(3);
    EXPECT_EQ(h + 3, c.m_nLineHeight);

    EXPECT_FALSE(c.SetFontDef(19, nullptr));
    EXPECT_TRUE(c.SetFontDef(20, nullptr));
    EXPECT_EQ(20, c.GetFontSize());
    EXPECT_EQ(CString(L"Liberation Mono"), c.GetFontName());
    EXPECT_LT(c.m_nLineHeight, h); // re-measured: the added spacing is gone too
    wchar_t face[] = L"Liberation Mono";
    EXPECT_TRUE(c.SetFontDef(120, face));
    EXPECT_EQ(18, c.m_nLineHeight);
    EXPECT_EQ(10, c.m_anCharWidth['a']); // hit-test widths follow the font

    c.SetBreakLine(10, 1);
    ASSERT_EQ(11, c.m_arrBreaks.GetSize());
    EXPECT_EQ(1, c.m_arrBreaks[10]);
    EXPECT_EQ(0, c.m_arrBreaks[3]);
    c.SetBreakLine(2, 1);
    EXPECT_EQ(11, c.m_arrBreaks.GetSize());
    c.DeleteAllBreaks();
    EXPECT_EQ(0, c.m_arrBreaks.GetSize());

    c.SetBackgroundColor(0x123456);
    c.SetHighlightColor(0x00FF00);
    c.SetHighlightTextColor(0x0000FF);
    EXPECT_EQ(0x123456u, c.m_crBackground);
    EXPECT_EQ(0x00FF00u, c.m_crHighlight);
    EXPECT_EQ(0x0000FFu, c.m_crHighlightText);
    c.LockEditor(true);
    EXPECT_TRUE(c.IsLock());
    c.SetReadOnly(false);
    EXPECT_FALSE(c.IsLock());
    int a, b, d;
    c.SetScriptFun(&a, &b, &d);
    EXPECT_EQ(&a, c.m_pFunctionList);
    EXPECT_EQ(&b, c.m_pStaticNameSpace);
    EXPECT_EQ(&d, c.m_pLocalFrame);
}

TEST(Lifecycle, BreakLineTimerScrollsTheRunningLineIntoView)
{
    Editor e;
    CVelmor& c = *e.ctl;
    CString text;
    for (int i = 0; i < 300; ++i)
        text += L"line\n";
    c.LoadText(text);
    c.SetBreakLine(150);
    EXPECT_EQ(150, c.m_nLastBreakLine);
    for (int i = 0; i < 250 && c.FirstVisibleLine() == 0; ++i)
        PumpFor(20);
    EXPECT_EQ(146, c.FirstVisibleLine()); // four lines above it

    // Stopping again on the same line waits a second before scrolling.
    c.SetBreakLine(-1);
    EXPECT_EQ(150, c.m_nLastBreakLine);
    PumpFor(100);
    c.m_nFirstLine = 0;
    c.SetBreakLine(150);
    PumpFor(300);
    EXPECT_EQ(0, c.FirstVisibleLine());
    for (int i = 0; i < 250 && c.FirstVisibleLine() == 0; ++i)
        PumpFor(20);
    EXPECT_EQ(146, c.FirstVisibleLine());
}

TEST(Lifecycle, ColorizerEntryPoints)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"x and y = sin(q) + If + foo\n");
    auto colors = c.m_Text._GetLineColors(0);
    EXPECT_EQ(COLOR_OPERATOR, colors[2]);
    EXPECT_EQ(COLOR_FUNCTION, colors[10]);
    EXPECT_EQ(COLOR_DEFAULT, colors[0]);
    wchar_t foo[] = L"foo", kw[] = L"if";
    c.AddKey(foo);
    c.AddKey(kw);
    EXPECT_EQ(COLOR_DEFAULT, c.m_Text._GetLineColors(0)[24]); // no recolouring yet
    c.Recolorize();
    colors = c.m_Text._GetLineColors(0);
    EXPECT_EQ(COLOR_KEYWORD, colors[24]);
    EXPECT_EQ(COLOR_DEFAULT, colors[19]); // "If" is not "if"

    c.GetVarArray().Add(L"q");
    c.InitParserVariable();
    c.Recolorize();
    EXPECT_EQ(COLOR_KEYWORD, c.m_Text._GetLineColors(0)[14]);

    // A colorizer of the host's own gets the built-in words too.
    CColorizer plain;
    c.SetColorizer(&plain);
    EXPECT_EQ(1u, plain.GetStringOpSet().count(L"xor"));
    EXPECT_EQ(25u, plain.GetStringFuncSet().size());
    c.SetColorizer(nullptr); // back to the control's own
    EXPECT_EQ(&c.m_Colorizer, c.m_Text.GetColorizer());
}

TEST(Lifecycle, BadLineIndicesRaiseAndLeaveTheControlUsable)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"a\nb\n");
    const size_t undo = c.m_UndoStack.size();
    EXPECT_TRUE(ThrowsInvalidArg([&] { c.GetLine(-1); }));
    EXPECT_TRUE(ThrowsInvalidArg([&] { c.GetLine(3); }));
    EXPECT_TRUE(ThrowsInvalidArg([&] { c.SetLine(L"x", 3); }));
    EXPECT_TRUE(ThrowsInvalidArg([&] { c.InsertTextLine(L"x", -1, true, false); }));
    EXPECT_TRUE(ThrowsInvalidArg([&] { c.SetBreakLine(-2, 1); }));
    EXPECT_EQ(undo, c.m_UndoStack.size());
    EXPECT_EQ(L({ L"a", L"b", L"" }), e.Lines());
    c.SetLine(L"ok", 2);
    EXPECT_EQ(CString(L"ok"), c.GetLine(2));
    UpdateWindow(c.m_hWnd);
    PumpMessages();
    EXPECT_TRUE(IsWindow(c.m_hWnd));
}

TEST(Lifecycle, LargeScriptWithVeryLongLinesLoads)
{
    Editor e;
    CVelmor& c = *e.ctl;
    // 10 MB: 50 lines of 100 000 characters with comments and strings,
    // then many short lines.
    std::wstring big;
    big.reserve(10u << 20);
    for (int i = 0; i < 50; ++i) {
        std::wstring line(100000, L'x');
        line.replace(10, 2, L"/*");
        line.replace(99990, 2, L"*/");
        line[500] = L'"';
        line[600] = L'"';
        big += line + L"\n";
    }
    while (big.size() < (10u << 20))
        big += L"y = sin(x) and z; // short line\n";
    c.LoadText(big.c_str());
    EXPECT_EQ(100000, c.GetLine(0).GetLength());
    EXPECT_EQ(COLOR_CLOSED_COMMENT, c.m_Text._GetLineColors(0)[50000]);
    EXPECT_EQ(100000, (int)c.m_Text.m_nMaxLineLen);
    CString out;
    c.UnloadText(out);
    EXPECT_EQ(big.size() + 1, (size_t)out.GetLength()); // plus the trailing empty line
}

TEST(Lifecycle, FocusIsNotifiedAndOwnsTheCaret)
{
    Editor e;
    CVelmor& c = *e.ctl;
    c.LoadText(L"abc\n");
    e.host.notifications.clear();
    c.SetFocus();
    PumpMessages();
    ASSERT_FALSE(e.host.notifications.empty());
    EXPECT_EQ((UINT)EN_SETFOCUS, e.host.notifications.back().code);
    EXPECT_EQ((UINT)kId, e.host.notifications.back().id);
    EXPECT_TRUE(c.m_bCaretCreated);

    SetFocus(e.host.hwnd());
    PumpMessages();
    EXPECT_EQ((UINT)EN_KILLFOCUS, e.host.notifications.back().code);
    EXPECT_FALSE(c.m_bCaretCreated); // the caret went with the focus
}

// A compact control is created without scroll bars; the system gives it
// one once its text does not fit, and the wheel then scrolls it.
TEST(Lifecycle, CompactControlGetsScrollBarsWhenTheTextDoesNotFit)
{
    Editor e(1);
    CVelmor& c = *e.ctl;
    c.InsertTextLine(L"short", 0, true, false);
    EXPECT_EQ(0u, c.GetStyle() & (WS_VSCROLL | WS_HSCROLL));
    for (int i = 0; i < 100; ++i)
        c.InsertTextLine(CString(L'x', 120), 0, true, false); // wider than the control
    EXPECT_EQ((DWORD)(WS_VSCROLL | WS_HSCROLL), c.GetStyle() & (WS_VSCROLL | WS_HSCROLL));
    SCROLLINFO si = {sizeof si, SIF_RANGE | SIF_PAGE};
    ASSERT_TRUE(::GetScrollInfo(c.m_hWnd, SB_VERT, &si));
    EXPECT_EQ(c.GetLineCount() - 1, si.nMax);
    EXPECT_EQ((UINT)c.VisibleLines(false), si.nPage);
    ::SendMessageW(c.m_hWnd, WM_MOUSEWHEEL, MAKEWPARAM(0, (WORD)(short)-120), MAKELPARAM(10, 10));
    EXPECT_EQ(5, c.m_nFirstLine);
    EXPECT_EQ(5, ::GetScrollPos(c.m_hWnd, SB_VERT));
    Editor framed;
    framed.ctl->InsertTextLine(L"x", 0, true, false);
    EXPECT_EQ((DWORD)(WS_VSCROLL | WS_HSCROLL), framed.ctl->GetStyle() & (WS_VSCROLL | WS_HSCROLL));
}

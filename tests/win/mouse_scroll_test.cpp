// The mouse and the scroll bars as a user drives them: real window
// messages (button down, move, up, double-click, wheel, scroll bars) sent
// to the control, then the caret, the anchor, the view and the pixels read
// back. Liberation Mono 10 pt: cells 8 x 15, no line numbers, so the text
// starts at x = 4.
#include "host.h"
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

const int kCellW = 8, kLineH = 15;

struct Ed : TestEditor<>
{
    explicit Ed(const std::wstring& text, CRect rc = CRect(0, 0, 600, 400))
        : TestEditor(text.c_str(), rc, 9, 0, false)
    {
        Paint();
    }
    void Paint()
    {
        ::InvalidateRect(hwnd(), nullptr, FALSE);
        ::UpdateWindow(hwnd());
        PumpMessages();
    }
    // Client x of the left edge of a column (first visible column 0).
    int X(int col) const { return ctl->m_nLeftMargin + col * kCellW; }
    int Y(int line) const { return line * kLineH + kLineH / 2; }
    void Send(UINT msg, WPARAM w, int x, int y) { ::SendMessageW(hwnd(), msg, w, MAKELPARAM(x, y)); }
    void Click(int x, int y, WPARAM keys = 0)
    {
        Send(WM_LBUTTONDOWN, MK_LBUTTON | keys, x, y);
        Send(WM_LBUTTONUP, keys, x, y);
    }
    void VScroll(int code, int pos = 0) { ::SendMessageW(hwnd(), WM_VSCROLL, MAKEWPARAM(code, pos), 0); }
    void HScroll(int code, int pos = 0) { ::SendMessageW(hwnd(), WM_HSCROLL, MAKEWPARAM(code, pos), 0); }
    void Wheel(int delta, WPARAM keys = 0)
    {
        ::SendMessageW(hwnd(), WM_MOUSEWHEEL, MAKEWPARAM(keys, (WORD)(short)delta), MAKELPARAM(100, 100));
    }
};

int ScrollPos(HWND h, int bar)
{
    SCROLLINFO si = {};
    si.cbSize = sizeof si;
    si.fMask = SIF_POS;
    ::GetScrollInfo(h, bar, &si);
    return si.nPos;
}

} // namespace

// A click puts the caret on the nearest character boundary of the line
// under the pointer; past the end of a line or below the last line it
// stands at the end; Shift keeps the anchor.
TEST(Mouse, ClickPlacesTheCaret)
{
    Ed e(L"abcdef\nxy\nlast\n");
    e.Click(e.X(2) + 4, e.Y(0)); // exactly half-way into 'c': before it
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(2, 0), e->GetAnchorPos());
    e.Click(e.X(2) + 5, e.Y(0)); // one pixel further: after it
    EXPECT_EQ(CPoint(3, 0), e->GetCursorPos());
    e.Click(e.X(40), e.Y(1)); // right of the line's end
    EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());
    e.Click(e.X(1), e.Y(30)); // below the last line: the last (empty) line
    EXPECT_EQ(CPoint(0, 3), e->GetCursorPos());
    e.Click(e.X(3), e.Y(30) + 400);
    EXPECT_EQ(CPoint(0, 3), e->GetCursorPos());
    e.Click(1, e.Y(0)); // in the margin: the first column
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    EXPECT_TRUE(e->m_bMouseDown == false);

    // Shift+click: the selection runs from the old anchor to the click.
    e.Click(e.X(1), e.Y(0));
    e.Click(e.X(3), e.Y(2), MK_SHIFT);
    EXPECT_EQ(CPoint(1, 0), e->GetAnchorPos());
    EXPECT_EQ(CPoint(3, 2), e->GetCursorPos());
    EXPECT_TRUE(e->IsSelected(5, 0));
    EXPECT_TRUE(e->IsSelected(0, 1));
    EXPECT_FALSE(e->IsSelected(3, 2));
    // A plain click collapses it again.
    e.Click(e.X(0), e.Y(1));
    EXPECT_FALSE(e->Selected());
    EXPECT_EQ(CString(L"abcdef\nxy\nlast\n\n"), e.Text());
}

// A drag extends from where the button went down; the column is measured on
// the line the caret stands on, then fitted to the line under the pointer.
// The view does not scroll when the pointer leaves the window.
TEST(Mouse, DragSelectsAcrossLines)
{
    Ed e(L"ab\nabcdefghij\nabcdefghij\nxyz\n");
    e.Send(WM_LBUTTONDOWN, MK_LBUTTON, e.X(1), e.Y(1));
    EXPECT_TRUE(e->m_bMouseDown);
    EXPECT_EQ(::GetCapture(), e.hwnd());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(6), e.Y(2)); // measured on line 1: column 6
    EXPECT_EQ(CPoint(6, 2), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(9), e.Y(0)); // measured on line 2, fitted to "ab"
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(8), e.Y(1)); // measured on "ab": its end
    EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(2), 5000); // far below: the last (empty) line
    EXPECT_EQ(CPoint(0, 4), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(1), -300); // far above: the first line
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    EXPECT_EQ(0, e->m_nFirstLine);
    EXPECT_EQ(CPoint(1, 1), e->GetAnchorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(5), e.Y(2));
    e.Send(WM_LBUTTONUP, 0, e.X(5), e.Y(2));
    EXPECT_FALSE(e->m_bMouseDown);
    EXPECT_NE(::GetCapture(), e.hwnd());
    // Moves after the button is up change nothing.
    const CPoint caret = e->GetCursorPos();
    e.Send(WM_MOUSEMOVE, 0, e.X(0), e.Y(3));
    EXPECT_EQ(caret, e->GetCursorPos());
    EXPECT_TRUE(e->IsSelected(3, 1));
}

// Above the window a line is counted with truncating division: the first
// line height above the top is still the first visible line. Losing the
// focus mid-drag releases the capture but not the button: later moves
// still drag, until the button comes up.
TEST(Mouse, DragAboveTheViewAndAcrossAFocusChange)
{
    Ed e(Numbered(60));
    e.VScroll(SB_THUMBPOSITION, 10);
    ASSERT_EQ(10, e->m_nFirstLine);
    e.Send(WM_LBUTTONDOWN, MK_LBUTTON, e.X(1), e.Y(12));
    ASSERT_EQ(CPoint(1, 22), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(2), -1);
    EXPECT_EQ(CPoint(2, 10), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(2), -kLineH + 1);
    EXPECT_EQ(CPoint(2, 10), e->GetCursorPos());
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, e.X(2), -kLineH - 1);
    EXPECT_EQ(CPoint(2, 9), e->GetCursorPos());
    EXPECT_EQ(10, e->m_nFirstLine); // no scrolling while dragging

    ::SetFocus(e.host.hwnd());
    PumpMessages();
    EXPECT_NE(::GetCapture(), e.hwnd());
    EXPECT_TRUE(e->m_bMouseDown);
    e.Send(WM_MOUSEMOVE, 0, e.X(3), e.Y(14));
    EXPECT_EQ(CPoint(3, 24), e->GetCursorPos());
    EXPECT_EQ(CPoint(1, 22), e->GetAnchorPos());
    e.Send(WM_LBUTTONUP, 0, e.X(3), e.Y(14));
    e.Send(WM_MOUSEMOVE, 0, e.X(4), e.Y(15));
    EXPECT_EQ(CPoint(3, 24), e->GetCursorPos());
}

// A double-click selects the word under it, caret at its start and anchor
// at its end; "_" is no word character.
TEST(Mouse, DoubleClickSelectsAWord)
{
    Ed e(L"x = foo_bar + total\n\n");
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, e.X(9), e.Y(0)); // 'a' of "bar"
    EXPECT_EQ(CPoint(8, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(11, 0), e->GetAnchorPos());
    CString word;
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, e.X(5), e.Y(0)); // 'o' of "foo"
    EXPECT_EQ(CPoint(4, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(7, 0), e->GetAnchorPos());
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, e.X(1), e.Y(0)); // the space: that one character
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(1, 0), e->GetAnchorPos());
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, e.X(30), e.Y(0)); // past the end of "total"
    EXPECT_EQ(CPoint(14, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(19, 0), e->GetAnchorPos());
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, e.X(3), e.Y(1)); // an empty line: nothing
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    EXPECT_FALSE(e->Selected());
    EXPECT_FALSE(e->m_bMouseDown);
}

// The vertical bar: lines, pages, thumb, top and bottom; the bar's
// position follows the first visible line.
TEST(Scroll, VerticalBarMovesTheView)
{
    Ed e(Numbered(300));
    const int visible = e->VisibleLines(false); // 26 lines of 15 px in a 400 px window
    e.VScroll(SB_LINEDOWN);
    EXPECT_EQ(1, e->m_nFirstLine);
    e.VScroll(SB_LINEUP);
    e.VScroll(SB_LINEUP); // not above the top
    EXPECT_EQ(0, e->m_nFirstLine);
    e.VScroll(SB_PAGEDOWN);
    EXPECT_EQ(visible * 3 / 4, e->m_nFirstLine);
    e.VScroll(SB_PAGEUP);
    e.VScroll(SB_PAGEUP);
    EXPECT_EQ(0, e->m_nFirstLine);
    e.VScroll(SB_THUMBTRACK, 120);
    EXPECT_EQ(120, e->m_nFirstLine);
    e.VScroll(SB_THUMBPOSITION, 60000); // out of range: the line count
    EXPECT_EQ(e->GetLineCount(), e->m_nFirstLine);
    e.VScroll(SB_BOTTOM);
    EXPECT_EQ(e->GetLineCount() - visible, e->m_nFirstLine);
    for (int i = 0; i < 5; ++i)
        e.VScroll(SB_LINEDOWN); // at the bottom already
    EXPECT_EQ(e->GetLineCount() - visible, e->m_nFirstLine);
    EXPECT_EQ(e->m_nFirstLine, ScrollPos(e.hwnd(), SB_VERT));
    e.VScroll(SB_TOP);
    EXPECT_EQ(0, e->m_nFirstLine);
    EXPECT_EQ(0, ScrollPos(e.hwnd(), SB_VERT));
    EXPECT_EQ(CPoint(0, 0), e->GetScrollPosition());
}

TEST(Scroll, HorizontalBarMovesTheView)
{
    std::wstring text = std::wstring(200, L'w') + L"\nshort\n";
    Ed e(text);
    const int cols = e->VisibleColumns();
    e.HScroll(SB_LINERIGHT);
    EXPECT_EQ(1, e->m_nFirstCol);
    e.HScroll(SB_LINELEFT);
    e.HScroll(SB_LINELEFT);
    EXPECT_EQ(0, e->m_nFirstCol);
    e.HScroll(SB_PAGERIGHT);
    CRect rc;
    e->GetClientRect(&rc);
    EXPECT_EQ(rc.Width() / kCellW * 3 / 4, e->m_nFirstCol);
    e.HScroll(SB_THUMBTRACK, 1000); // as far as the longest line allows
    EXPECT_EQ(200 - cols, e->m_nFirstCol);
    EXPECT_EQ(e->m_nFirstCol, ScrollPos(e.hwnd(), SB_HORZ));
    e.HScroll(SB_LINERIGHT); // at the end already
    EXPECT_EQ(200 - cols, e->m_nFirstCol);
    e.HScroll(SB_BOTTOM); // kept so: the column does not change
    EXPECT_EQ(200 - cols, e->m_nFirstCol);
    e.HScroll(SB_TOP);
    EXPECT_EQ(0, e->m_nFirstCol);
}

// One-line and one-column scrolls move the pixels already on the screen
// and repaint only the strip uncovered; the result is exactly a fresh
// paint at the new position.
TEST(Scroll, ShiftedPixelsEqualAFreshPaint)
{
    std::wstring text;
    for (int i = 0; i < 200; ++i)
        text += L"x" + std::to_wstring(i) + L" = sin (y) /* note */ + \"s\" and " + std::wstring((size_t)(i % 50), L'q') +
                L" tail" + std::to_wstring(i) + L"\n";
    Ed e(text);
    e->SetLineNumber(true);
    e->SetBreakLine(3, 1);
    e->SetBreakLine(12);
    e.Paint();
    // (bar, code, thumb position): single steps both ways, then thumb drags
    // of a few lines or columns both ways.
    const int steps[][3] = { { SB_VERT, SB_LINEDOWN, 0 }, { SB_VERT, SB_LINEDOWN, 0 }, { SB_VERT, SB_LINEUP, 0 },
                             { SB_HORZ, SB_LINERIGHT, 0 }, { SB_HORZ, SB_LINERIGHT, 0 }, { SB_HORZ, SB_LINELEFT, 0 },
                             { SB_VERT, SB_THUMBTRACK, 7 }, { SB_VERT, SB_THUMBTRACK, 4 },
                             { SB_VERT, SB_THUMBTRACK, 40 }, { SB_HORZ, SB_THUMBTRACK, 6 },
                             { SB_HORZ, SB_THUMBTRACK, 3 } };
    for (const auto& s : steps) {
        if (s[0] == SB_VERT)
            e.VScroll(s[1], s[2]);
        else
            e.HScroll(s[1], s[2]);
        PumpMessages();
        const Pixels shifted(e.hwnd());
        e.Paint();
        const Pixels fresh(e.hwnd());
        int diff = 0;
        for (int y = 0; y < fresh.height(); ++y)
            for (int x = 0; x < fresh.width(); ++x)
                diff += shifted.at(x, y) != fresh.at(x, y);
        EXPECT_EQ(0, diff) << (s[0] == SB_VERT ? "vertical" : "horizontal") << " code " << s[1] << " at line "
                           << e->m_nFirstLine << ", column " << e->m_nFirstCol;
    }
    EXPECT_GT(e->m_nFirstLine, 0);
}

// The wheel: five lines a notch, never past either end; Shift or Ctrl
// leaves it to the parent.
TEST(Scroll, WheelScrollsFiveLinesANotch)
{
    Ed e(Numbered(100));
    const int bottom = e->GetLineCount() - e->VisibleLines(false);
    e.Wheel(-120);
    EXPECT_EQ(5, e->m_nFirstLine);
    e.Wheel(120);
    EXPECT_EQ(0, e->m_nFirstLine);
    e.Wheel(120); // not above the first line
    EXPECT_EQ(0, e->m_nFirstLine);
    e.Wheel(-360); // several notches towards the user: still five lines
    EXPECT_EQ(5, e->m_nFirstLine);
    e.Wheel(-120, MK_CONTROL);
    e.Wheel(-120, MK_SHIFT);
    EXPECT_EQ(5, e->m_nFirstLine);
    e.Wheel(-1); // less than a notch
    EXPECT_EQ(5, e->m_nFirstLine);
    e.Wheel(1);
    EXPECT_EQ(5, e->m_nFirstLine);
    for (int i = 0; i < 40; ++i)
        e.Wheel(-32767);
    EXPECT_EQ(bottom, e->m_nFirstLine);
    e.Wheel(32767); // far away from the user: to the top
    EXPECT_EQ(0, e->m_nFirstLine);
    e.Wheel(-32768);
    EXPECT_EQ(5, e->m_nFirstLine);
    EXPECT_EQ(5, ScrollPos(e.hwnd(), SB_VERT));
}

// A new running line outside the view is scrolled into view 20 ms later
// with 4 lines above it.
TEST(Scroll, RunningLineComesIntoView)
{
    Ed e(Numbered(300));
    e->SetBreakLine(150); // one-based
    PumpFor(120);
    EXPECT_EQ(146, e->m_nFirstLine);
    e->SetBreakLine(2);
    PumpFor(120);
    EXPECT_EQ(0, e->m_nFirstLine);
    e->SetBreakLine(10); // already in view: stays
    PumpFor(120);
    EXPECT_EQ(0, e->m_nFirstLine);
}

// Bad input: every message on an empty document, positions far outside,
// lines that do not exist. Nothing crashes, nothing changes the text.
TEST(Mouse, BadInputIsClampedOrIgnored)
{
    Ed e(L"");
    e->ClearUndoHistory();
    const CString before = e.Text();
    for (int code = 0; code <= SB_ENDSCROLL; ++code) {
        e.VScroll(code, 65535);
        e.HScroll(code, 65535);
    }
    e.Wheel(32767);
    e.Wheel(-32768);
    e.Click(-50, -50);
    EXPECT_EQ(CPoint(0, 0), e->GetCursorPos());
    e.Click(30000, 30000); // an empty text still has two lines
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    e.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, 30000, -30000);
    EXPECT_FALSE(e->Selected());
    e.Send(WM_LBUTTONDOWN, MK_LBUTTON, 10, 10);
    e.Send(WM_MOUSEMOVE, MK_LBUTTON, -32768, 32767);
    e.Send(WM_LBUTTONUP, 0, 0, 0);
    e->GoToLine(50);
    e->GoToLine(-7);
    e->GoToXY(-3, 99);
    e->DoUndo();
    e->DoUndo();
    e->DoRedo();
    ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_REDO, 0);
    e.Paint();
    EXPECT_EQ(before, e.Text());
    e->LoadText(Numbered(10).c_str());
    e->ClearUndoHistory();
    e.VScroll(SB_THUMBTRACK, 65535); // at most the line count
    EXPECT_EQ(11, e->m_nFirstLine);
    e.Paint();
    e.HScroll(SB_THUMBTRACK, 65535); // every line fits: column 0
    EXPECT_EQ(0, e->m_nFirstCol);
    e.Paint();
    e.Click(e.X(3), e.Y(2)); // below the text: the last line
    EXPECT_EQ(CPoint(0, 10), e->GetCursorPos());
    EXPECT_EQ(CString(Numbered(10).c_str()) + L"\n", e.Text());
}

// GoToLine puts the caret after the line's leading spaces (a tab ends
// them) and brings it into view.
TEST(Mouse, GoToLineAndWordOnCursor)
{
    std::wstring text = Numbered(100);
    text += L"    indented\n";
    Ed e(text);
    e->GoToLine(100);
    EXPECT_EQ(CPoint(4, 100), e->GetCursorPos());
    EXPECT_EQ(CPoint(4, 100), e->GetAnchorPos());
    EXPECT_LE(e->m_nFirstLine, 100);
    EXPECT_GT(e->LastVisibleLine(), 100);
    e->GoToLine(3);
    EXPECT_EQ(CPoint(0, 3), e->GetCursorPos());
    EXPECT_EQ(3, e->m_nFirstLine);
}

// The caret stands where the text starts even when it was placed before
// the first paint set the margin's width (compact mode, line numbers).
TEST(Mouse, CaretFollowsTheMarginOfTheFirstPaint)
{
    for (BYTE compact : { (BYTE)0, (BYTE)1 }) {
        HostWindow host;
        LOGFONTW lf = TestFont();
        std::unique_ptr<CVelmor> c(new CVelmor(host.wnd(), CRect(0, 0, 400, 200), 3, 4, &lf, compact));
        c->SetLineNumber(true);
        c->LoadText(L"abc\n");
        c->m_bNoFrame = compact != 0;
        c->SetFocus();
        c->SetCursorPos(CPoint(0, 0));
        ::InvalidateRect(c->m_hWnd, nullptr, FALSE);
        ::UpdateWindow(c->m_hWnd);
        PumpMessages();
        POINT pt;
        ASSERT_TRUE(::GetCaretPos(&pt));
        EXPECT_EQ(c->m_nLeftMargin, pt.x) << (compact ? "compact" : "framed");
        EXPECT_EQ(42, c->m_nLeftMargin);
    }
}

// When timer 2 scrolls the view, the caret moves with its text.
TEST(Mouse, CaretAndDragFollowTheView)
{
    Ed e(Numbered(300));
    e->SetFocus();
    e->SetCursorPos(CPoint(2, 5));
    POINT before;
    ASSERT_TRUE(::GetCaretPos(&before));
    e->SetBreakLine(150);
    PumpFor(120);
    ASSERT_EQ(146, e->m_nFirstLine);
    POINT after;
    ASSERT_TRUE(::GetCaretPos(&after));
    EXPECT_EQ(before.x, after.x);
    EXPECT_EQ((5 - 146) * kLineH, after.y);
}

// Bringing the caret into view: down by exactly what is needed, up to the
// caret's line; sideways a quarter of the visible columns beyond what is
// needed, in both directions.
TEST(Scroll, CaretIntoViewJumpsAQuarterScreenSideways)
{
    std::wstring text = Numbered(300);
    text.insert(0, std::wstring(200, L'w') + L"\n");
    Ed e(text);
    const int cols = e->VisibleColumns();
    ASSERT_GT(cols, 8);
    e->KeyDown(VK_END, 0, 0);
    EXPECT_EQ(cols / 4 + (200 - cols), e->m_nFirstCol);
    e->SetSelection(101, 0, 101, 0);
    e->KeyDown(VK_LEFT, 0, 0);
    EXPECT_EQ(100 - cols / 4, e->m_nFirstCol);
    e->KeyDown(VK_HOME, 0, 0);
    EXPECT_EQ(0, e->m_nFirstCol);

    const int last = e->LastVisibleLine() - 1;
    e->SetSelection(0, last + 3, 0, last + 3);
    e->KeyDown(VK_DOWN, 0, 0);
    EXPECT_EQ(last + 4 - last, e->m_nFirstLine); // the caret line minus the old last line
    e.VScroll(SB_THUMBPOSITION, 100);
    e->SetSelection(0, 100, 0, 100);
    e->KeyDown(VK_UP, 0, 0);
    EXPECT_EQ(99, e->m_nFirstLine);
    EXPECT_EQ(99, ScrollPos(e.hwnd(), SB_VERT));
}

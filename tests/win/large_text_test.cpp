// Big and odd documents in a real host window: painting that stops at the
// window's edge gives the same pixels as painting everything, scroll bars
// that are set lazily still end up exact, the caret on a very long line,
// the fast text scans, and hostile inputs that must load, paint, scroll
// and read back exactly.
#include "host.h"
#include "bench/HostileInputs.h"
#include "gdi/WindowCapture.h"
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

struct Ctl
{
    std::unique_ptr<CVelmor> ctl;
    Ctl(HostWindow& host, CRect rc, bool lineNumbers = true)
    {
        LOGFONTW lf = TestFont();
        ctl.reset(new CVelmor(host.wnd(), rc, 7, 4, &lf, 0));
        ctl->SetLineNumber(lineNumbers);
        PumpMessages();
    }
    CVelmor* operator->() { return ctl.get(); }
    void Repaint(const RECT* prc = nullptr)
    {
        ::InvalidateRect(ctl->m_hWnd, prc, FALSE);
        ::UpdateWindow(ctl->m_hWnd);
        PumpMessages();
    }
};

// The text of one test document: short lines, a line far wider than any
// window, characters above U+007E (two cells each), surrogate pairs and
// combining marks (measured one by one), keywords, strings and comments in
// their colours.
std::wstring MixedDocument()
{
    std::wstring long1, long2;
    for (int i = 0; i < 60; ++i)
        long1 += L"variable x" + std::to_wstring(i) + L" = sin (1.0); ";
    for (int i = 0; i < 40; ++i)
        long2 += L"\x00E9t\x00E9 \x4E2D\x6587 caf\x00E9 \xD83D\xDE00 e\x0301 ";
    return L"% short\n"
           L"x = 1; // a comment\n"
           L"/* block comment\n"
           L"   still inside */ y = \"string\";\n" +
           long1 + L"\n" + long2 + L"\n" +
           L"define f (a, b) { return a and b or sqrt (a); }\n"
           L"\ttabbed\n";
}

// Compares the pixels of two captures over [0,w) x [0,h).
int Differences(const Pixels& a, const Pixels& b, int w, int h)
{
    int diff = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            diff += a.at(x, y) != b.at(x, y);
    return diff;
}

} // namespace

// A narrow control stops drawing at its edge; a wide one shows the same
// document with room to spare. Over the narrow one's area both must give
// the same pixels, at every horizontal scroll position, with a selection,
// and when only part of the window is repainted.
TEST(LargeText, PaintingStopsAtTheEdgeWithoutChangingPixels)
{
    HostWindow host(1270, 700);
    Ctl narrow(host, CRect(0, 0, 420, 300)), wide(host, CRect(0, 320, 1260, 620));
    const std::wstring doc = MixedDocument();
    narrow->LoadText(doc.c_str());
    wide->LoadText(doc.c_str());
    CRect rcNarrow;
    narrow->GetClientRect(&rcNarrow);

    for (int firstCol : { 0, 3, 7, 120, 1000 }) {
        for (bool selection : { false, true }) {
            for (Ctl* c : { &narrow, &wide }) {
                (*c)->m_nFirstCol = firstCol;
                if (selection)
                    (*c)->SetSelection(5, 1, 90, 5);
                else
                    (*c)->SetSelection(0, 0, 0, 0);
                c->Repaint();
            }
            const Pixels a(narrow->m_hWnd), b(wide->m_hWnd);
            EXPECT_EQ(0, Differences(a, b, rcNarrow.Width(), rcNarrow.Height()))
                << "first column " << firstCol << (selection ? " with a selection" : "");

            // Part of the window again: the rest must not change.
            CRect part(100, 20, 260, 80);
            narrow.Repaint(&part);
            const Pixels c(narrow->m_hWnd);
            EXPECT_EQ(0, Differences(a, c, rcNarrow.Width(), rcNarrow.Height()))
                << "partial repaint at first column " << firstCol;
        }
    }
    // The picture has text in it, up to the right edge.
    narrow->m_nFirstCol = 0;
    narrow->SetSelection(0, 0, 0, 0);
    narrow.Repaint();
    const Pixels p(narrow->m_hWnd);
    const int y = 4 * 15; // the long line
    EXPECT_GT(p.count(0x00FFFFFF, rcNarrow.right - 40, y, rcNarrow.right, y + 15), 0);
    EXPECT_LT(p.count(0x00FFFFFF, rcNarrow.right - 40, y, rcNarrow.right, y + 15), 40 * 15);
}

namespace {

// What the scroll bars must hold for the control's current text and view.
void ExpectBars(CVelmor& c, const char* when)
{
    CRect rc;
    c.GetClientRect(&rc);
    const int n = c.GetLineCount();
    const int visible = std::min(rc.Height() / c.m_nLineHeight, n);
    int longest = 0;
    for (int i = 0; i < n; ++i)
        longest = std::max(longest, c.GetLine(i).GetLength());
    const int cols = rc.Width() / c.m_nCharWidth - 1;

    // As the system keeps them: the page no larger than the range, the
    // position within what the page leaves of it.
    auto expect = [&](int bar, int nMax, int nPage, int nPos, const char* name) {
        const int page = std::min(std::max(nPage, 0), nMax + 1);
        const int pos = std::max(0, std::min(nPos, nMax - std::max(page - 1, 0)));
        SCROLLINFO si = {};
        si.cbSize = sizeof si;
        si.fMask = SIF_ALL;
        ASSERT_TRUE(::GetScrollInfo(c.m_hWnd, bar, &si));
        EXPECT_EQ(0, si.nMin) << name << ", " << when;
        EXPECT_EQ(nMax, si.nMax) << name << ", " << when;
        EXPECT_EQ((UINT)page, si.nPage) << name << ", " << when;
        EXPECT_EQ(pos, si.nPos) << name << ", " << when;
    };
    expect(SB_VERT, n > visible ? n - 1 : 0, visible, c.m_nFirstLine, "vertical");
    expect(SB_HORZ, longest > cols ? longest - 1 : 0, cols, c.m_nFirstCol, "horizontal");
    EXPECT_EQ(longest, (int)c.m_Text.FindMaxLineLen()) << when;
}

// The scroll bars as they are drawn, in window coordinates: the strips
// right of and below the client area.
std::vector<COLORREF> BarPixels(HWND hwnd)
{
    std::vector<DWORD> px;
    int w = 0, h = 0;
    CaptureWindowPixels(hwnd, true, px, w, h);
    RECT rcClient;
    GetClientRect(hwnd, &rcClient);
    std::vector<COLORREF> bars;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (x >= rcClient.right || y >= rcClient.bottom)
                bars.push_back(px[(size_t)y * w + x]);
    return bars;
}

} // namespace

TEST(LargeText, ScrollBarsEndUpExactAfterEveryChange)
{
    HostWindow host;
    Ctl c(host, CRect(0, 0, 500, 300));
    ExpectBars(*c.ctl, "new control");

    std::wstring doc;
    for (int i = 0; i < 200; ++i)
        doc += L"line " + std::to_wstring(i) + L"\n";
    c->LoadText(doc.c_str());
    ExpectBars(*c.ctl, "after a load");

    // The longest line grows, then shrinks back: the range follows both ways.
    const CString wideLine(L'w', 300);
    c->SetLine(wideLine, 10);
    ExpectBars(*c.ctl, "a line became the longest");
    c->SetLine(L"short", 10);
    ExpectBars(*c.ctl, "the longest line shrank");

    c->InsertTextLine(CString(L'v', 120), 3, true, false);
    c->InsertTextLine(L"no update", 3, false, false);
    c->RemoveTextLine(0, false, true);
    ExpectBars(*c.ctl, "primitives outside an action");

    // A failed edit leaves nothing pending.
    try {
        c->SetLine(L"x", 100000);
        ADD_FAILURE() << "a bad line index was accepted";
    } catch (CInvalidArgException* e) {
        e->Delete();
    }
    c->InsertTextLine(CString(L'u', 150), 0, true, false);
    ExpectBars(*c.ctl, "an edit after a failed one");

    c->SetWindowPos(nullptr, 0, 0, 700, 200, SWP_NOMOVE | SWP_NOZORDER);
    PumpMessages();
    ExpectBars(*c.ctl, "after a resize");

    c->RemoveAllText();
    ExpectBars(*c.ctl, "after removing all text");
    c->LoadText(L"one line\n");
    ExpectBars(*c.ctl, "after loading one line");
    c->LoadText(doc.c_str());
    ExpectBars(*c.ctl, "after loading again");

    // The bars are redrawn by the next paint, not at once: once the window
    // has been updated they look as a full redraw of the frame draws them.
    // (The range grows while the bar stays enabled: enabling a bar makes
    // the system draw it at once.)
    c->SetLine(wideLine, 0);
    ::RedrawWindow(c->m_hWnd, nullptr, nullptr, RDW_FRAME | RDW_INVALIDATE | RDW_UPDATENOW);
    PumpMessages();
    const std::vector<COLORREF> before = BarPixels(c->m_hWnd);
    c->SetLine(CString(L'w', 900), 0);
    c->UpdateWindow();
    PumpMessages();
    const std::vector<COLORREF> lazy = BarPixels(c->m_hWnd);
    EXPECT_FALSE(lazy == before); // the thumb did move
    ::RedrawWindow(c->m_hWnd, nullptr, nullptr, RDW_FRAME | RDW_INVALIDATE | RDW_UPDATENOW);
    PumpMessages();
    EXPECT_TRUE(lazy == BarPixels(c->m_hWnd));
}

// The caret stands after the text before it, measured from the first
// visible column; on a line of a million characters it is placed without
// measuring the line, off screen when the caret is far right.
TEST(LargeText, CaretOnAVeryLongLine)
{
    HostWindow host;
    Ctl c(host, CRect(0, 0, 500, 300));
    std::wstring doc(1000000, L'm');
    doc += L"\nshort\n";
    c->LoadText(doc.c_str());
    c.Repaint();
    c->SetFocus();
    PumpMessages();
    const int margin = c->m_nLeftMargin;

    c->SetCursorPos(CPoint(5, 0));
    POINT pt;
    ASSERT_TRUE(::GetCaretPos(&pt));
    EXPECT_EQ(margin + 5 * 8, pt.x);

    c->SetCursorPos(CPoint(999999, 0));
    ASSERT_TRUE(::GetCaretPos(&pt));
    CRect rc;
    c->GetClientRect(&rc);
    EXPECT_GT(pt.x, rc.right);

    c->m_nFirstCol = 999990;
    c->SetCursorPos(CPoint(999995, 0));
    ASSERT_TRUE(::GetCaretPos(&pt));
    EXPECT_EQ(margin + 5 * 8, pt.x);
    c->SetCursorPos(CPoint(3, 1)); // left of the first visible column
    ASSERT_TRUE(::GetCaretPos(&pt));
    EXPECT_EQ(margin, pt.x);
    EXPECT_EQ(15, pt.y);
}

// The scans that loading and searching use, against one character at a
// time, at every alignment and with the match in every position.
TEST(LargeText, FastScansMatchPlainOnes)
{
    std::mt19937 rng(5);
    std::vector<wchar_t> buf(300);
    for (int round = 0; round < 3000; ++round) {
        const size_t start = rng() % 9, n = rng() % 200;
        for (size_t i = 0; i < buf.size(); ++i)
            buf[i] = (wchar_t)(rng() % 6 == 0 ? L'\n' : (rng() % 2 ? 0x0A0A : L'a' + rng() % 3));
        const wchar_t* p = buf.data() + start;
        const wchar_t ch = rng() % 2 ? L'\n' : L'b';
        const wchar_t* expect = nullptr;
        for (size_t i = 0; i < n && !expect; ++i)
            if (p[i] == ch)
                expect = p + i;
        ASSERT_EQ(expect, AfxFindChar(p, n, ch));

        buf[start + n] = 0;
        size_t feeds = 0, lfs = 0;
        for (size_t i = 0; i < n; ++i)
            lfs += p[i] == L'\n';
        ASSERT_EQ(n, AfxCountLineFeeds(p, &feeds)) << "round " << round;
        ASSERT_EQ(lfs, feeds) << "round " << round;
    }
}

// Each hostile document loads, paints, scrolls to its end and reads back
// exactly; GetSourceCodes keeps its length and line structure.
TEST(LargeText, HostileInputsLoadPaintScrollAndReadBack)
{
    HostWindow host;
    for (const bench::Hostile& h : bench::HostileInputs()) {
        Ctl c(host, CRect(0, 0, 600, 400));
        c->LoadText(h.text.c_str());
        c.Repaint();
        c->m_nFirstLine = std::max(0, c->GetLineCount() - c->VisibleLines(true));
        c->m_nFirstCol = std::max(0, (int)c->m_Text.FindMaxLineLen() - c->VisibleColumns());
        c.Repaint();
        CString back;
        c->UnloadText(back);
        ASSERT_EQ((int)h.expected.size(), back.GetLength()) << h.name;
        EXPECT_TRUE(std::equal(h.expected.begin(), h.expected.end(), back.GetString())) << h.name;
        CString source;
        c->GetSourceCodes(source);
        EXPECT_EQ(back.GetLength(), source.GetLength()) << h.name;
    }
}

namespace {

// Whether any pixel of visible line nLine is drawn in colour c.
bool LineShows(Ctl& c, int nLine, COLORREF colour)
{
    Pixels p(c->m_hWnd);
    const int y = (nLine - c->m_nFirstLine) * c->m_nLineHeight;
    return p.any(colour, c->m_nLeftMargin, y, p.width(), y + c->m_nLineHeight);
}

// GetSourceCodes of the control, split into lines.
std::vector<CString> SourceLines(Ctl& c)
{
    CString s;
    c->GetSourceCodes(s);
    std::vector<CString> lines;
    int start = 0;
    for (int i = 0; i < s.GetLength(); ++i)
        if (s[i] == L'\n') {
            lines.push_back(s.Mid(start, i - start));
            start = i + 1;
        }
    return lines;
}

} // namespace

// "/*" typed at the top of a big script: what the window shows, what the
// interpreter is given and what shows after scrolling far down are the
// colours of a full recolouring, first with a "*/" a few lines below and
// then with an opener that nothing closes.
TEST(LargeText, TypedOpenerColoursWhatIsShownAndRead)
{
    HostWindow host;
    Ctl c(host, CRect(0, 0, 600, 400));
    std::wstring text;
    for (int i = 0; i < 20000; ++i)
        text += i == 5 ? L" */ x = 1;\n" : L"x = sin(y);\n";
    c->LoadText(text.c_str());
    c.Repaint();
    EXPECT_FALSE(LineShows(c, 3, COLOR_OPEN_COMMENT));

    c->SetSelection(0, 1, 0, 1);
    ::SendMessageW(c->m_hWnd, WM_CHAR, L'/', 1);
    ::SendMessageW(c->m_hWnd, WM_CHAR, L'*', 1);
    c.Repaint();
    EXPECT_EQ(CString(L"/*x = sin(y);"), c->GetLine(1));
    EXPECT_TRUE(LineShows(c, 3, COLOR_OPEN_COMMENT));
    EXPECT_TRUE(LineShows(c, 5, COLOR_CLOSED_COMMENT));
    EXPECT_FALSE(LineShows(c, 6, COLOR_OPEN_COMMENT));
    EXPECT_TRUE(LineShows(c, 6, COLOR_FUNCTION));

    std::vector<CString> source = SourceLines(c);
    ASSERT_EQ(20001u, source.size());
    EXPECT_EQ(CString(L' ', 13), source[1]);
    EXPECT_EQ(CString(L' ', 11), source[4]);
    EXPECT_EQ(CString(L"    x = 1;"), source[5]);
    EXPECT_EQ(CString(L"x = sin(y);"), source[19999]);

    // An opener after the closer: the rest of the script is comment, down
    // to lines that no paint has read yet.
    c->SetLine(L"/* to the end", 7);
    c->m_nFirstLine = 19980;
    c.Repaint();
    EXPECT_TRUE(LineShows(c, 19990, COLOR_OPEN_COMMENT));
    EXPECT_FALSE(LineShows(c, 19990, COLOR_FUNCTION));
    source = SourceLines(c);
    EXPECT_EQ(CString(L"x = sin(y);"), source[6]);
    EXPECT_EQ(CString(L' ', 11), source[19999]);

    // Undone: the script below is code again.
    ::SendMessageW(c->m_hWnd, WM_COMMAND, ID_EDIT_UNDO, 0);
    EXPECT_EQ(CString(L"x = sin(y);"), c->GetLine(7));
    c->m_nFirstLine = 19980; // the undo brought line 7 into view
    c.Repaint();
    EXPECT_TRUE(LineShows(c, 19990, COLOR_FUNCTION));
    EXPECT_FALSE(LineShows(c, 19990, COLOR_OPEN_COMMENT));
}

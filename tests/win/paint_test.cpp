// Painting of the control in a real host window, read back as pixels:
// background, margin marks, text colours, selection, cell advances,
// compact mode, the geometry queries, run drawing against drawing one
// character at a time, and the off-screen device context.
// Probes use computed cell positions (Liberation Mono 10 pt: cells 8 x 15),
// never whole images, so a change in font packaging does not break them.
#include "host.h"
#include "gdi/OrvMemDC.h"
#include <gtest/gtest.h>
#include <cstdlib>
#include <memory>

namespace {

const int kCellW = 8, kLineH = 15;
const COLORREF kWhite = 0x00FFFFFF, kBlack = 0;
const COLORREF kStrip = 0x00DEDEDE, kNumber = 0x00949494, kLocked = 0x00F0F0F0;
const COLORREF kBreakPen = 0x000000DE, kBreakFill = 0x000000C8, kRunningBreakFill = 0x000000FF;
const COLORREF kDisabledPen = 0x00008080, kDisabledFill = 0x00808080;
const COLORREF kRunPen = 0x0000DEDE, kYellow = 0x0000FFFF, kRed = 0x000000FF, kBlue = 0x00FF0000;

struct View
{
    HostWindow host;
    std::unique_ptr<CVelmor> ctl;
    explicit View(BYTE compact = 0, bool patterned = false, CRect rc = CRect(0, 0, 600, 400))
        : host(1000, 800, patterned)
    {
        LOGFONTW lf = TestFont();
        ctl.reset(new CVelmor(host.wnd(), rc, 1, 4, &lf, compact));
        PumpMessages();
    }
    // Through the line primitives: LoadText would reset compact mode.
    void Fill(const std::vector<CString>& lines)
    {
        ctl->SetLine(lines[0], 0);
        for (size_t i = 1; i < lines.size(); ++i)
            ctl->InsertTextLine(lines[i], (int)i, true, true);
    }
    Pixels Paint()
    {
        ctl->Invalidate(FALSE);
        ctl->UpdateWindow();
        PumpMessages();
        return Pixels(ctl->m_hWnd);
    }
    // The pixel cell of a column of a line (valid after a paint has set the margin).
    CRect Cell(int col, int line) const
    {
        const int x = ctl->m_nLeftMargin + col * kCellW;
        return CRect(x, line * kLineH, x + kCellW, (line + 1) * kLineH);
    }
};

bool AnyIn(const Pixels& p, COLORREF c, const CRect& r) { return p.any(c, r.left, r.top, r.right, r.bottom); }
bool AllIn(const Pixels& p, COLORREF c, const CRect& r)
{
    return p.count(c, r.left, r.top, r.right, r.bottom) == r.Width() * r.Height();
}
// A cell's top and bottom rows lie outside the glyphs of 'H': pure background or fill.
bool CellFilled(const Pixels& p, COLORREF c, const CRect& r)
{
    return AllIn(p, c, CRect(r.left, r.top, r.right, r.top + 1)) &&
           AllIn(p, c, CRect(r.left, r.bottom - 1, r.right, r.bottom));
}
// The margin mark of a line spans x 1..34 with a 42-pixel margin; x 5 is inside it, left of the number.
COLORREF MarkFill(const Pixels& p, int line) { return p.at(5, line * kLineH + 7); }
CRect NumberArea(int line) { return CRect(20, line * kLineH, 36, (line + 1) * kLineH); }
CRect MarkArea(int line) { return CRect(1, line * kLineH, 34, line * kLineH + 14); }
CRect ArrowArea(int line) { return CRect(35, line * kLineH, 45, (line + 1) * kLineH); }

struct Probe
{
    int col, line;
    COLORREF color;
};
// Each listed cell holds at least one pixel of exactly its colour.
void ExpectInk(const Pixels& p, const View& v, std::initializer_list<Probe> probes)
{
    for (const Probe& pr : probes)
        EXPECT_TRUE(AnyIn(p, pr.color, v.Cell(pr.col, pr.line))) << "cell " << pr.col << "," << pr.line;
}
// Each listed cell is wholly background.
void ExpectBlank(const Pixels& p, const View& v, std::initializer_list<CPoint> cells)
{
    for (const CPoint& c : cells)
        EXPECT_TRUE(AllIn(p, kWhite, v.Cell(c.x, c.y))) << "cell " << c.x << "," << c.y;
}

std::wstring NextToExe(const wchar_t* name)
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring s(path);
    return s.substr(0, s.find_last_of(L"\\/") + 1) + name;
}

// Within 1 per channel: the control blends its background over the parent at 1/255.
bool Near(COLORREF a, COLORREF b)
{
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs((int)((a >> shift) & 0xFF) - (int)((b >> shift) & 0xFF)) > 1)
            return false;
    return true;
}
// The host's 8 x 8 checkerboard, in its client coordinates.
COLORREF Checker(int x, int y) { return ((x / 8 + y / 8) & 1) ? +HostWindow::kPatternA : +HostWindow::kPatternB; }

} // namespace

TEST(Paint, BackgroundFollowsTheColourAndTheLock)
{
    View v;
    v.Fill({ L"HHHH" });
    const COLORREF bg = RGB(30, 60, 90);
    v.ctl->SetBackgroundColor(bg);
    Pixels p = v.Paint();
    EXPECT_EQ(4, v.ctl->m_nLeftMargin);
    // Without line numbers the background starts at x 0: no strip.
    const CRect below(0, kLineH, p.width(), p.height());
    EXPECT_TRUE(AllIn(p, bg, below));
    EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(0, 0)));

    // Locked: fixed grey whatever the background colour.
    v.ctl->LockEditor(true);
    p = v.Paint();
    EXPECT_TRUE(AllIn(p, kLocked, below));
    v.ctl->SetLineNumber(true);
    p = v.Paint();
    EXPECT_EQ(kStrip, p.at(0, 200));
    EXPECT_EQ(kLocked, p.at(38, 200));
    v.ctl->LockEditor(false);
    EXPECT_EQ(bg, v.Paint().at(38, 200));
}

TEST(Paint, LineNumberMarginAndStrip)
{
    View v;
    v.Fill(std::vector<CString>(10, CString(L"HH")));
    v.ctl->SetLineNumber(true);
    Pixels p = v.Paint();
    const int h = p.height();
    ASSERT_EQ(8, v.ctl->m_tm.tmAveCharWidth);
    EXPECT_EQ(42, v.ctl->m_nLeftMargin); // 4 * 8 + 10
    // The grey strip is margin - 4 = 38 pixels wide, on every row.
    EXPECT_TRUE(AllIn(p, kStrip, CRect(0, 0, 1, h)));
    EXPECT_TRUE(AllIn(p, kStrip, CRect(37, 0, 38, h)));
    EXPECT_TRUE(AllIn(p, kWhite, CRect(38, 0, 42, h)));
    EXPECT_TRUE(AllIn(p, kStrip, CRect(0, 10 * kLineH, 38, h))); // no numbers past the text
    for (int line = 0; line < 10; ++line) {
        EXPECT_TRUE(AnyIn(p, kNumber, NumberArea(line))) << line;
        EXPECT_FALSE(AnyIn(p, kBlack, CRect(0, line * kLineH, 38, (line + 1) * kLineH))) << line;
    }
    // Numbers are one-based and right-aligned at 42 - width - 8 + 2: "9"
    // fills the cell 28..35, "10" also the one before it.
    EXPECT_FALSE(AnyIn(p, kNumber, CRect(0, 8 * kLineH, 28, 9 * kLineH)));
    EXPECT_TRUE(AnyIn(p, kNumber, CRect(28, 8 * kLineH, 36, 9 * kLineH)));
    EXPECT_TRUE(AnyIn(p, kNumber, CRect(20, 9 * kLineH, 28, 10 * kLineH)));
    EXPECT_FALSE(AnyIn(p, kNumber, CRect(0, 9 * kLineH, 20, 10 * kLineH)));
    // The text moves right with the margin.
    EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(0, 0)));
    EXPECT_TRUE(AllIn(p, kWhite, CRect(v.Cell(2, 0).left, 0, p.width(), h)));
}

TEST(Paint, BreakpointMarksAndExecutionArrow)
{
    View v;
    // Four spaces first: x 0..35 then holds nothing but margin and background.
    v.Fill(std::vector<CString>(10, CString(L"    x")));
    v.ctl->SetLineNumber(true);
    v.ctl->SetBreakLine(1, 1);
    v.ctl->SetBreakLine(4, 1);
    v.ctl->SetBreakLine(5); // one-based: line index 4 executes
    PumpMessages();
    Pixels p = v.Paint();
    p.save(NextToExe(L"paint_margin.bmp"));
    EXPECT_EQ(kStrip, MarkFill(p, 0));
    EXPECT_EQ(kBreakFill, MarkFill(p, 1));
    EXPECT_TRUE(AnyIn(p, kBreakPen, MarkArea(1)));
    EXPECT_TRUE(AnyIn(p, kYellow, NumberArea(1)));
    EXPECT_FALSE(AnyIn(p, kBlue, ArrowArea(1)));
    EXPECT_EQ(kRunningBreakFill, MarkFill(p, 4));
    EXPECT_TRUE(AnyIn(p, kYellow, NumberArea(4)));
    EXPECT_EQ(kYellow, p.at(38, 4 * kLineH + 7)); // inside the arrow
    EXPECT_TRUE(AnyIn(p, kBlue, ArrowArea(4)));
    EXPECT_FALSE(AnyIn(p, kBlue, CRect(0, 0, 60, 4 * kLineH)));

    // Disabled breakpoints are grey; the arrow stays.
    v.ctl->EnableBreaks(FALSE);
    p = v.Paint();
    EXPECT_EQ(kDisabledFill, MarkFill(p, 1));
    EXPECT_EQ(kDisabledFill, MarkFill(p, 4));
    EXPECT_TRUE(AnyIn(p, kDisabledPen, MarkArea(1)));
    EXPECT_TRUE(AnyIn(p, kBlue, ArrowArea(4)));

    // Executing a line without a breakpoint: yellow mark, red number, arrow.
    v.ctl->EnableBreaks(TRUE);
    v.ctl->SetBreakLine(8);
    PumpMessages();
    p = v.Paint();
    EXPECT_EQ(kYellow, MarkFill(p, 7));
    EXPECT_TRUE(AnyIn(p, kRunPen, MarkArea(7)));
    EXPECT_TRUE(AnyIn(p, kRed, NumberArea(7)));
    EXPECT_EQ(kYellow, p.at(38, 7 * kLineH + 7));
    EXPECT_TRUE(AnyIn(p, kBlue, ArrowArea(7)));
    EXPECT_EQ(kBreakFill, MarkFill(p, 4)); // no longer executing
    EXPECT_FALSE(AnyIn(p, kBlue, ArrowArea(4)));

    // Without line numbers: no strip, mark, number or arrow at all.
    v.ctl->SetBreakLine(5);
    v.ctl->SetLineNumber(false);
    PumpMessages();
    p = v.Paint();
    EXPECT_EQ(4, v.ctl->m_nLeftMargin);
    EXPECT_TRUE(AllIn(p, kWhite, CRect(0, 0, 36, 10 * kLineH)));
    EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(4, 0)));
}

TEST(Paint, TextColoursSitInTheirCells)
{
    View v;
    wchar_t kw[] = L"HIM";
    v.ctl->AddKey(kw);
    //            0         1         2
    //            0123456789012345678901234
    v.Fill({ L"HIM and ln(M) \"#H#\" // H#", L"M  /* HM", L"H */ M" });
    v.ctl->Recolorize();
    Pixels p = v.Paint();
    p.save(NextToExe(L"paint_colours.bmp"));
    // Glyphs with solid strokes: H, M, d, l, #.
    ExpectInk(p, v, { { 0, 0, COLOR_KEYWORD }, { 2, 0, COLOR_KEYWORD }, { 6, 0, COLOR_OPERATOR },
                      { 8, 0, COLOR_FUNCTION }, { 11, 0, kBlack }, { 15, 0, COLOR_STRING }, { 16, 0, COLOR_STRING },
                      { 23, 0, COLOR_CLOSED_COMMENT }, { 24, 0, COLOR_CLOSED_COMMENT }, { 0, 1, kBlack },
                      { 6, 1, COLOR_OPEN_COMMENT }, { 7, 1, COLOR_OPEN_COMMENT }, { 0, 2, COLOR_CLOSED_COMMENT },
                      { 5, 2, kBlack } });
    EXPECT_FALSE(AnyIn(p, COLOR_KEYWORD, v.Cell(11, 0)));
}

TEST(Paint, SelectionUsesTheHighlightColours)
{
    View v;
    v.Fill({ L"HHHHHHHH", L"HHHHHHHH", L"HHHHHHHH" });
    // Cursor before anchor, across three lines: (2,2) .. (3,0), end exclusive.
    v.ctl->SetSelection(3, 0, 2, 2);
    Pixels p = v.Paint();
    auto selected = [&](int col, int line, COLORREF fill, COLORREF text) {
        return CellFilled(p, fill, v.Cell(col, line)) && AnyIn(p, text, v.Cell(col, line));
    };
    auto plain = [&](int col, int line) {
        return CellFilled(p, kWhite, v.Cell(col, line)) && AnyIn(p, kBlack, v.Cell(col, line));
    };
    for (CPoint c : { CPoint(3, 0), CPoint(7, 0), CPoint(0, 1), CPoint(7, 1), CPoint(1, 2) })
        EXPECT_TRUE(selected(c.x, c.y, kBlack, kWhite)) << c.x << "," << c.y;
    EXPECT_TRUE(plain(2, 0));
    EXPECT_TRUE(plain(2, 2));

    const COLORREF green = RGB(0, 128, 0), yellow = RGB(255, 255, 0);
    v.ctl->SetHighlightColor(green);
    v.ctl->SetHighlightTextColor(yellow);
    v.ctl->SetSelection(5, 1, 2, 1); // one line, backwards: columns 2..4
    p = v.Paint();
    EXPECT_TRUE(plain(1, 1));
    EXPECT_TRUE(selected(2, 1, green, yellow));
    EXPECT_TRUE(selected(4, 1, green, yellow));
    EXPECT_TRUE(plain(5, 1));
    EXPECT_FALSE(AnyIn(p, green, CRect(0, 0, p.width(), kLineH)));
    EXPECT_FALSE(AnyIn(p, green, CRect(0, 2 * kLineH, p.width(), 3 * kLineH)));

    v.ctl->SetSelection(1, 1, 1, 1); // empty
    p = v.Paint();
    EXPECT_FALSE(AnyIn(p, green, CRect(0, 0, p.width(), p.height())));
    EXPECT_TRUE(plain(2, 1));
}

TEST(Paint, CharacterAboveTildeTakesTwoCells)
{
    View v;
    v.Fill({ L"H\u00e9H", L"H~H", L"\u00e9\u00e9H" });
    Pixels p = v.Paint();
    // The letter after each accented one starts two cells on; '~' (126) takes one.
    ExpectInk(p, v, { { 1, 0, kBlack }, { 3, 0, kBlack }, { 2, 1, kBlack }, { 4, 2, kBlack } });
    ExpectBlank(p, v, { { 2, 0 }, { 3, 1 }, { 1, 2 }, { 3, 2 } });

    // Scrolled one column: drawing starts at the first visible column.
    v.ctl->m_nFirstCol = 1;
    p = v.Paint();
    ExpectInk(p, v, { { 0, 0, kBlack }, { 2, 0, kBlack } });
    ExpectBlank(p, v, { { 1, 0 }, { 3, 0 } });
}

TEST(Paint, CompactModeShowsTheParentThrough)
{
    // An offset off the 8-pixel pattern grid checks that the right part of the parent is copied.
    View v(1, true, CRect(13, 21, 313, 171));
    v.Fill({ L"HHHH", L"HHHH" });
    ASSERT_TRUE(v.ctl->m_bNoFrame);
    for (int round = 0; round < 2; ++round) { // the saved copy serves later paints too
        Pixels p = v.Paint();
        ASSERT_EQ(300, p.width());
        ASSERT_EQ(150, p.height());
        EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(0, 0)));
        EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(3, 1)));
        const CRect text(v.Cell(0, 0).TopLeft(), v.Cell(3, 1).BottomRight());
        int off = 0;
        for (int y = 0; y < p.height(); ++y)
            for (int x = 0; x < p.width(); ++x)
                if (!text.PtInRect(CPoint(x, y)) && !Near(p.at(x, y), Checker(x + 13, y + 21)))
                    ++off;
        EXPECT_EQ(0, off) << "round " << round;
    }
}

TEST(Paint, GeometryQueries)
{
    CVelmor none;
    EXPECT_EQ(-1, none.FirstVisibleLine());
    EXPECT_EQ(-1, none.LastVisibleLine());
    EXPECT_EQ(-1, none.VisibleColumns());
    EXPECT_EQ(0, none.VisibleLines(true));
    EXPECT_EQ(0, none.VisibleLines(false));
    EXPECT_EQ(CRect(-1, -1, -1, -1), none.GetLineRect(0));
    EXPECT_EQ(CRect(-1, -1, -1, -1), none.GetLineRect(0, 3));

    View v;
    std::vector<CString> lines(20, CString(L"HHHH"));
    v.Fill(lines);
    // Size the window so that its client area is exactly 300 x 100.
    CRect win, client;
    GetWindowRect(v.ctl->m_hWnd, &win);
    v.ctl->GetClientRect(&client);
    v.ctl->SetWindowPos(nullptr, 0, 0, 300 + win.Width() - client.Width(), 100 + win.Height() - client.Height(),
                        SWP_NOMOVE | SWP_NOZORDER);
    PumpMessages();
    v.ctl->GetClientRect(&client);
    ASSERT_EQ(CRect(0, 0, 300, 100), client);
    EXPECT_EQ(0, v.ctl->FirstVisibleLine());
    EXPECT_EQ(6, v.ctl->VisibleLines(true));
    EXPECT_EQ(6, v.ctl->VisibleLines(false));
    EXPECT_EQ(6, v.ctl->LastVisibleLine()); // one past the last visible line
    EXPECT_EQ(36, v.ctl->VisibleColumns()); // 300 / 8 - 1
    EXPECT_EQ(CRect(0, 30, 300, 45), v.ctl->GetLineRect(2));
    EXPECT_EQ(CRect(0, 15, 300, 60), v.ctl->GetLineRect(3, 1));
    // The partly visible seventh line is painted too.
    Pixels p = v.Paint();
    EXPECT_TRUE(AnyIn(p, kBlack, v.Cell(0, 6)));

    v.ctl->m_nFirstLine = 17;
    EXPECT_EQ(17, v.ctl->FirstVisibleLine());
    EXPECT_EQ(20, v.ctl->LastVisibleLine()); // capped at the line count
    EXPECT_EQ(CRect(0, 30, 300, 45), v.ctl->GetLineRect(19));
    EXPECT_EQ(CRect(0, -15, 300, 0), v.ctl->GetLineRect(16));

    v.ctl->m_nFirstLine = 0;
    while (v.ctl->GetLineCount() > 3)
        v.ctl->RemoveTextLine(3, true, true);
    EXPECT_EQ(6, v.ctl->VisibleLines(true));
    EXPECT_EQ(3, v.ctl->VisibleLines(false));
    EXPECT_EQ(3, v.ctl->LastVisibleLine());
}

TEST(Paint, RunsGiveTheSamePixelsAsOneCharacterAtATime)
{
    View v;
    wchar_t kw[] = L"if", k[] = L"k";
    v.ctl->AddKey(kw);
    v.ctl->AddKey(k);
    // One-character runs first, then longer ones; 68 cells fit the width.
    v.Fill({ L"k(k)k if (a and b) x = sin(\u00e9) + \"\u00fc s\"; /* \u00e9t\u00e9 */ y; // c\u00fcm \u00e9nd", L"next" });
    v.ctl->Recolorize();
    // A selection that starts inside a run and holds two wide letters.
    v.ctl->SetHighlightColor(RGB(0, 128, 0));
    v.ctl->SetHighlightTextColor(RGB(255, 255, 0));
    const int selFrom = 25, selTo = 34;
    v.ctl->SetSelection(selFrom, 0, selTo, 0);
    Pixels p = v.Paint();
    const int w = p.width();

    // The same line drawn by hand, one character at a time, into a memory
    // DC like the control's: bitmap compatible with the window, same font.
    const CString text = v.ctl->GetLine(0);
    const std::vector<unsigned long> colors = v.ctl->m_Text._GetLineColors(0);
    ASSERT_EQ((size_t)text.GetLength(), colors.size());
    CClientDC wdc(v.ctl.get());
    CBitmap bmp; // declared before the DC: released after it
    CDC mdc;
    mdc.CreateCompatibleDC(&wdc);
    bmp.CreateCompatibleBitmap(&wdc, w, kLineH);
    mdc.SelectObject(&bmp);
    mdc.SelectObject(&v.ctl->m_font);
    mdc.FillSolidRect(0, 0, w, kLineH, v.ctl->m_crBackground);
    mdc.SetBkMode(TRANSPARENT);
    int x = v.ctl->m_nLeftMargin, cell = kCellW;
    for (int c = 0; c < text.GetLength(); ++c) {
        const wchar_t ch = text[c];
        if (mdc.GetTextExtent(&ch, 1).cx > 0)
            cell = mdc.GetTextExtent(&ch, 1).cx;
        const bool sel = c >= selFrom && c < selTo;
        if (sel)
            mdc.FillSolidRect(x, 0, cell, kLineH, v.ctl->m_crHighlight);
        mdc.SetTextColor(sel ? v.ctl->m_crHighlightText : colors[(size_t)c]);
        mdc.TextOut(x, 0, &ch, 1);
        x += ch > 126 ? 2 * cell : cell;
    }
    int differ = 0, ink = 0;
    for (int y = 0; y < kLineH; ++y)
        for (int xx = 0; xx < w; ++xx) {
            differ += mdc.GetPixel(xx, y) != p.at(xx, y);
            ink += mdc.GetPixel(xx, y) != v.ctl->m_crBackground;
        }
    EXPECT_GT(ink, 200); // the reference really holds the text
    EXPECT_EQ(0, differ);
}

TEST(OrvMemDC, CopiesToItsTargetOnlyWhenAsked)
{
    HostWindow host(400, 300);
    const COLORREF navy = RGB(10, 20, 30), red = RGB(200, 0, 0);
    CClientDC dc(host.wnd());
    CRect rc(40, 30, 140, 90);
    {
        COrvMemDC mem(&dc, &rc);
        mem.FillSolidRect(&rc, navy);
        mem.FillSolidRect(50, 40, 10, 10, red); // the target's coordinates
        EXPECT_EQ(kWhite, Pixels(host.hwnd()).at(45, 35)); // nothing shown before the copy
    }
    Pixels p(host.hwnd());
    EXPECT_EQ(navy, p.at(40, 30));
    EXPECT_EQ(navy, p.at(139, 89));
    EXPECT_EQ(red, p.at(55, 45));
    EXPECT_EQ(100 * 60, p.count(navy, 0, 0, 400, 300) + p.count(red, 0, 0, 400, 300)); // nothing outside

    {
        COrvMemDC mem(&dc, &rc);
        mem.FillSolidRect(&rc, red);
        mem.NullDC(); // the picture never reaches the window
    }
    EXPECT_EQ(navy, Pixels(host.hwnd()).at(45, 35));

    {
        COrvMemDC mem(&dc, &rc);
        mem.FillSolidRect(&rc, red);
        mem.CopyDC();
        EXPECT_EQ(red, Pixels(host.hwnd()).at(45, 35));
    }

    {
        COrvMemDC mem(&dc); // no rectangle: the clip box, here the whole client area
        mem.FillSolidRect(0, 0, 400, 300, navy);
    }
    p = Pixels(host.hwnd());
    EXPECT_EQ(navy, p.at(0, 0));
    EXPECT_EQ(navy, p.at(399, 299));
}

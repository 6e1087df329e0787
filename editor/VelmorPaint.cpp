// Painting: background, margin, and the text cell by cell.
#include "VelmorCtrl.h"
#include "../gdi/BorrowedDC.h"
#include "../gdi/OrvMemDC.h"
#include <algorithm>
#include <stdexcept>
#include <vector>

namespace {
const COLORREF kNumberText = 0x00949494;
const COLORREF kMarginBack = 0x00DEDEDE;
const COLORREF kLockedBack = 0x00F0F0F0;
const COLORREF kBreakPen = 0x000000DE;
const COLORREF kBreakFill = 0x000000C8;
const COLORREF kBreakFillRunning = 0x000000FF;
const COLORREF kBreakPenDisabled = 0x00008080;
const COLORREF kBreakFillDisabled = 0x00808080;
const COLORREF kBreakNumber = 0x0000FFFF;
const COLORREF kRunPen = 0x0000DEDE;
const COLORREF kRunFill = 0x0000FFFF;
const COLORREF kRunNumber = 0x000000FF;
const COLORREF kArrowFill = 0x0000FFFF;
const COLORREF kArrowOutline = 0x00FF0000;

// Characters for which measuring a run gives each character's own width:
// no combining marks, no surrogate halves.
bool IsSimpleText(const wchar_t* p, int n)
{
    for (int i = 0; i < n; ++i)
        if ((unsigned)p[i] >= 0x0300)
            return false;
    return true;
}
}

BOOL CVelmor::OnEraseBkgnd(CDC*)
{
    // Everything, background included, is painted by OnPaint.
    return TRUE;
}

void CVelmor::BuildCompactBackground()
{
    CWnd* pParent = GetParent();
    if (!pParent)
        return;
    CRect rcWindow;
    GetWindowRect(&rcWindow);
    pParent->ScreenToClient(&rcWindow);
    CRect rcClient;
    GetClientRect(&rcClient);
    const int w = rcClient.Width(), h = rcClient.Height();

    HDC hParentDC = ::GetDC(pParent->m_hWnd);
    if (!hParentDC)
        return;
    m_hMemDC = ::CreateCompatibleDC(hParentDC);
    m_hMemBitmap = ::CreateCompatibleBitmap(hParentDC, w, h);
    HDC hSheetDC = ::CreateCompatibleDC(hParentDC);
    HBITMAP hSheet = ::CreateCompatibleBitmap(hParentDC, w, h);
    if (m_hMemDC && m_hMemBitmap && hSheetDC && hSheet) {
        ::SelectObject(m_hMemDC, m_hMemBitmap);
        ::BitBlt(m_hMemDC, 0, 0, w, h, hParentDC, rcWindow.left, rcWindow.top, SRCCOPY);
        // A sheet flood-filled with the DC's default brush, blended over the
        // copy at m_bNoFrame/255: the parent shows through almost unchanged.
        HGDIOBJ hOldSheet = ::SelectObject(hSheetDC, hSheet);
        ::FloodFill(hSheetDC, 0, 0, m_crBackground);
        BLENDFUNCTION blend = { AC_SRC_OVER, 0, (BYTE)m_bNoFrame, 0 };
        ::AlphaBlend(m_hMemDC, 0, 0, w, h, hSheetDC, 0, 0, w, h, blend);
        ::SelectObject(hSheetDC, hOldSheet);
    } else {
        // Tried again at the next paint, without leaking this attempt.
        ReleaseCompactBackground();
    }
    if (hSheet)
        ::DeleteObject(hSheet);
    if (hSheetDC)
        ::DeleteDC(hSheetDC);
    ::ReleaseDC(pParent->m_hWnd, hParentDC);
}

void CVelmor::OnPaint()
{
    // An edit that ended abnormally may have left the scroll bars due.
    if (m_bScrollPending && !m_bInAction)
        ApplyScrollSizes();
    CPaintDC dc(this);
    CRect rcClient;
    GetClientRect(&rcClient);
    // The area being painted: lines outside it are not drawn at all.
    CRect rcPaint;
    if (!rcPaint.IntersectRect(rcClient, &dc.m_ps.rcPaint))
        return;

    const int nOldMargin = m_nLeftMargin;
    PaintWithBuffer(dc, rcClient, rcPaint);
    // Painting sets the margin's width: a caret placed before the first
    // paint stood where the text was not.
    if (m_nLeftMargin != nOldMargin && m_bCaretCreated)
        DrawCursor(true);
}

void CVelmor::PaintWithBuffer(CPaintDC& dc, const CRect& rcClient, const CRect& rcPaint)
{
    if (PreparePaintBuffer(&dc, rcClient.Size())) {
        // The off-screen picture kept between paints: making a memory DC
        // and a bitmap costs more than drawing a line of text, so a small
        // update (a keystroke) reuses them. Only the update area is drawn
        // and copied to the screen.
        CBorrowedDC buffer(m_hPaintDC);
        ::SelectClipRgn(m_hPaintDC, nullptr);
        ::IntersectClipRect(m_hPaintDC, rcPaint.left, rcPaint.top, rcPaint.right, rcPaint.bottom);
        PaintView(&buffer, rcClient, rcPaint);
        ::SelectClipRgn(m_hPaintDC, nullptr);
        ::BitBlt(dc.m_hDC, rcPaint.left, rcPaint.top, rcPaint.Width(), rcPaint.Height(), m_hPaintDC, rcPaint.left,
                 rcPaint.top, SRCCOPY);
    } else {
        COrvMemDC memDC(&dc, nullptr);
        PaintView(&memDC, rcClient, rcPaint);
    }
}

bool CVelmor::PreparePaintBuffer(CDC* pDC, CSize size)
{
    if (size.cx <= 0 || size.cy <= 0)
        return false;
    if (m_hPaintDC && m_szPaint.cx >= size.cx && m_szPaint.cy >= size.cy)
        return true;
    ReleasePaintBuffer();
    m_hPaintDC = ::CreateCompatibleDC(pDC->m_hDC);
    HBITMAP hBitmap = m_hPaintDC ? ::CreateCompatibleBitmap(pDC->m_hDC, size.cx, size.cy) : nullptr;
    if (!hBitmap) {
        ReleasePaintBuffer();
        return false;
    }
    m_hPaintBitmap = hBitmap;
    m_hPaintOldBitmap = ::SelectObject(m_hPaintDC, hBitmap);
    m_szPaint = size;
    return true;
}

void CVelmor::ReleasePaintBuffer()
{
    if (m_hPaintDC && m_hPaintOldBitmap)
        ::SelectObject(m_hPaintDC, m_hPaintOldBitmap);
    if (m_hPaintBitmap)
        ::DeleteObject(m_hPaintBitmap);
    if (m_hPaintDC)
        ::DeleteDC(m_hPaintDC);
    m_hPaintDC = nullptr;
    m_hPaintBitmap = nullptr;
    m_hPaintOldBitmap = nullptr;
    m_szPaint = CSize(0, 0);
}

// Background, margin and the lines that meet rcPaint, in client
// coordinates, into an off-screen DC.
void CVelmor::PaintView(CDC* pDC, const CRect& rcClient, const CRect& rcPaint)
{
    if (m_bNoFrame) {
        if (!m_hMemDC)
            BuildCompactBackground();
        if (m_hMemDC)
            ::BitBlt(pDC->m_hDC, 0, 0, rcClient.Width(), rcClient.Height(), m_hMemDC, 0, 0, SRCCOPY);
    }

    CFont* pOldFont = m_font.m_hObject ? pDC->SelectObject(&m_font) : nullptr;
    pDC->SetBkMode(TRANSPARENT);
    int y = 0;
    const int nLines = (int)m_Text._GetSize();
    const int nEnd = LastVisibleLine() + 1 >= nLines ? nLines : LastVisibleLine() + 1;

    if (m_bLineNumber) {
        m_nLeftMargin = 4 * m_tm.tmAveCharWidth + 10;
        pDC->FillSolidRect(CRect(rcClient.left, rcClient.top, m_nLeftMargin - 4, rcClient.bottom), kMarginBack);
    } else {
        m_nLeftMargin = 4;
    }
    if (!m_bNoFrame)
        pDC->FillSolidRect(CRect(m_nLeftMargin - 4, rcClient.top, rcClient.right, rcClient.bottom),
                           m_bLock ? kLockedBack : m_crBackground);

    try {
        for (int nLine = m_nFirstLine; nLine < nEnd; ++nLine) {
            CRect rcLine = GetLineRect(nLine), rcVisible;
            // A view scrolled above the first line shows nothing there.
            if (nLine >= 0 && rcVisible.IntersectRect(rcLine, rcPaint))
                _DrawLine(pDC, m_Text.LineRef(nLine), m_Text._GetLineColors(nLine), nLine, y);
            y += m_nLineHeight;
        }
    } catch (...) {
        // The font must not stay selected into a DC that outlives the paint.
        if (pOldFont)
            pDC->SelectObject(pOldFont);
        throw;
    }
    if (pOldFont)
        pDC->SelectObject(pOldFont);
}

void CVelmor::DrawMargin(CDC* pDC, int nLine, int y)
{
    const int nNumber = nLine + 1;
    CString strNumber;
    strNumber.Format(L"%d", nNumber);
    pDC->SetTextColor(kNumberText);
    const CSize size = pDC->GetTextExtent(strNumber);
    const CRect rcMark(1, y, m_nLeftMargin - 8, y + size.cy - 1);

    auto drawMark = [&](COLORREF crPen, COLORREF crFill) {
        CPen pen(PS_SOLID, 1, crPen);
        CBrush brush(crFill);
        CPen* pOldPen = pDC->SelectObject(&pen);
        CBrush* pOldBrush = pDC->SelectObject(&brush);
        pDC->RoundRect(rcMark, CPoint(4, 4));
        pDC->SelectObject(pOldPen);
        pDC->SelectObject(pOldBrush);
    };

    if (nLine < m_arrBreaks.GetSize() && m_arrBreaks[nLine]) {
        if (m_wStyle & VELMOR_STYLE_BREAKS_DISABLED)
            drawMark(kBreakPenDisabled, kBreakFillDisabled);
        else
            drawMark(kBreakPen, nNumber == m_nBreakLine ? kBreakFillRunning : kBreakFill);
        pDC->SetTextColor(kBreakNumber);
    } else if (nNumber == m_nBreakLine) {
        drawMark(kRunPen, kRunFill);
        pDC->SetTextColor(kRunNumber);
    }
    if (nNumber == m_nBreakLine) {
        const POINT arrow[4] = {
            { m_nLeftMargin - 6, y + 3 },
            { m_nLeftMargin - 6, y + size.cy - 4 },
            { m_nLeftMargin + 1, y + size.cy / 2 },
            { m_nLeftMargin - 6, y + 3 },
        };
        CPen pen(PS_SOLID, 1, kArrowOutline);
        CBrush brush(kArrowFill);
        CPen* pOldPen = pDC->SelectObject(&pen);
        CBrush* pOldBrush = pDC->SelectObject(&brush);
        pDC->Polygon(arrow, 4);
        pDC->SelectObject(pOldPen);
        pDC->SelectObject(pOldBrush);
    }
    pDC->TextOut(m_nLeftMargin - size.cx - m_tm.tmAveCharWidth + 2, y, strNumber);
}

// Every character sits in its own cell: the cell is as wide as the font's
// width of that character (the width of the previous one when that is 0),
// and characters above U+007E take two cells. Unselected characters of one
// colour are drawn as one run placed with those same per-character
// advances, which gives the same pixels as drawing them one by one.
//
// Only what can reach the device is measured and drawn: the line is walked
// in chunks from the first visible column and the walk ends past the right
// edge of the DC's clip box, so a line of millions of characters costs what
// a screenful does. The point returned is then the end of what was drawn.
CPoint CVelmor::_DrawLine(CDC* pDC, const CString& text, const std::vector<unsigned long>& colors, int nLine,
                          int y)
{
    if (m_bLineNumber)
        DrawMargin(pDC, nLine, y);

    int x = m_nLeftMargin;
    const int first = m_nFirstCol > 0 ? m_nFirstCol : 0;
    const int total = text.GetLength() - first;
    if (total <= 0)
        return CPoint(x, y);
    const wchar_t* line = text.GetString() + first;

    // A glyph may overhang its cell; one drawn just right of the clip box
    // can still reach into it.
    CRect rcClip;
    ::GetClipBox(pDC->m_hDC, &rcClip);
    const int xStop = rcClip.right + std::max<int>(m_tm.tmMaxCharWidth, m_nCharWidth);

    const bool bSelection = Selected();
    const int kChunk = 256;
    int cell[kChunk], advance[kChunk], extent[kChunk];

    for (int done = 0; done < total && x < xStop; done += kChunk) {
        const int n = std::min(kChunk, total - done);
        const wchar_t* p = line + done;

        // Cell widths of this chunk.
        const bool bRuns = IsSimpleText(p, n);
        if (bRuns) {
            SIZE size;
            ::GetTextExtentExPointW(pDC->m_hAttribDC, p, n, 0, nullptr, extent, &size);
            for (int i = 0; i < n; ++i)
                cell[i] = extent[i] - (i ? extent[i - 1] : 0);
        } else {
            for (int i = 0; i < n; ++i)
                cell[i] = pDC->GetTextExtent(p + i, 1).cx;
        }
        // The chunk ends early at the first cell that starts past the edge.
        int end = n;
        int xEnd = x;
        for (int i = 0; i < n; ++i) {
            if (xEnd >= xStop) {
                end = i;
                break;
            }
            if (cell[i] > 0)
                m_nCharWidth = cell[i];
            cell[i] = m_nCharWidth;
            advance[i] = (unsigned)p[i] > 126 ? 2 * m_nCharWidth : m_nCharWidth;
            xEnd += advance[i];
        }

        int runStart = 0, runX = x;
        COLORREF runColor = 0;
        auto flush = [&](int stop) {
            if (stop > runStart) {
                pDC->SetTextColor(runColor);
                ::ExtTextOutW(pDC->m_hDC, runX, y, 0, nullptr, p + runStart, (UINT)(stop - runStart),
                              &advance[runStart]);
            }
        };
        for (int i = 0; i < end; ++i) {
            const int c = first + done + i;
            if (bSelection && InSelection(c, nLine)) {
                flush(i);
                pDC->SetTextColor(m_crHighlightText);
                pDC->FillSolidRect(CRect(x, y, x + cell[i], y + m_nLineHeight), m_crHighlight);
                pDC->TextOut(x, y, p + i, 1);
                runStart = i + 1;
                runX = x + advance[i];
            } else {
                if ((size_t)c >= colors.size()) {
                    // Every line is coloured before it is painted.
                    flush(i);
                    throw std::out_of_range("invalid vector<T> subscript");
                }
                const COLORREF color = colors[(size_t)c];
                if (!bRuns) {
                    pDC->SetTextColor(color);
                    pDC->TextOut(x, y, p + i, 1);
                    runStart = i + 1;
                    runX = x + advance[i];
                } else if (i > runStart && color != runColor) {
                    flush(i);
                    runStart = i;
                    runX = x;
                }
                runColor = color;
            }
            x += advance[i];
        }
        if (bRuns)
            flush(end);
    }
    return CPoint(x, y);
}

// Scrolling: the scroll bars' ranges and positions, the scroll messages,
// the wheel, moving the pixels of a one-line or one-column scroll, and
// bringing a line or the caret into view.
#include "VelmorCtrl.h"
#include <algorithm>
#include <cstdlib>

void CVelmor::UpdateScrollSizes()
{
    // Inside an edit the bars are brought up to date once, when it ends.
    if (m_bInAction) {
        m_bScrollPending = true;
        return;
    }
    ApplyScrollSizes();
}

void CVelmor::ApplyScrollSizes()
{
    m_bScrollPending = false;
    if (m_bRepaintDue) {
        m_bRepaintDue = false;
        InvalidateAll(TRUE);
    }
    if (!m_hWnd)
        return;
    // Both bars are always set. A compact control is created without them;
    // the system adds a bar to it once its text does not fit (and the wheel
    // then scrolls it, as the bar gives it the WS_VSCROLL style).
    const int nLines = (int)m_Text._GetSize();
    const int nVisible = VisibleLines(false);
    const int nMaxLen = (int)m_Text.m_nMaxLineLen;
    const int nCols = VisibleColumns();

    SetScrollBarIfChanged(SB_VERT, nLines > nVisible ? nLines - 1 : 0, std::max(nVisible, 0), m_nFirstLine);
    SetScrollBarIfChanged(SB_HORZ, nMaxLen > nCols ? nMaxLen - 1 : 0, std::max(nCols, 0), m_nFirstCol);
}

// Sets one bar's range, page and position when any of them differs from what
// the bar holds. The bar is not redrawn here: its strip of the frame is
// invalidated and repainted with the next paint, so a run of edits costs no
// drawing at all until the screen is updated.
void CVelmor::SetScrollBarIfChanged(int nBar, int nMax, int nPage, int nPos)
{
    // The system keeps the page within the range and the position within
    // what the page leaves of it; compare with what it would keep.
    const UINT nKeptPage = std::min((UINT)std::max(nPage, 0), (UINT)(nMax + 1));
    const int nKeptPos = std::max(0, std::min(nPos, nMax - std::max((int)nKeptPage - 1, 0)));
    SCROLLINFO cur = {};
    cur.cbSize = sizeof cur;
    cur.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
    if (::GetScrollInfo(m_hWnd, nBar, &cur) && cur.nMin == 0 && cur.nMax == nMax && cur.nPage == nKeptPage &&
        cur.nPos == nKeptPos)
        return;
    SCROLLINFO si = {};
    si.cbSize = sizeof si;
    si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
    si.nMin = 0;
    si.nMax = nMax;
    si.nPage = (UINT)nPage;
    si.nPos = nPos;
    // A compact control paints no frame, so the system draws its bars as
    // it sets them; otherwise the frame's next paint draws them.
    ::SetScrollInfo(m_hWnd, nBar, &si, m_bNoFrame);
    if (m_bNoFrame)
        return;

    // Drawn once the messages queued now have been handled: a run of
    // scroll messages or edits draws the bar once, after the last.
    m_nBarsDue |= nBar == SB_VERT ? 1 : 2;
    if (!m_bBarsPosted && ::PostMessageW(m_hWnd, WM_VELMOR_DRAWBARS, 0, 0))
        m_bBarsPosted = true;
}

// Invalidates the strips of the bars that changed: right of the client
// area for the vertical bar, below it for the horizontal one (the corner
// box included in both). The next paint draws them.
LRESULT CVelmor::OnDrawBars(WPARAM, LPARAM)
{
    m_bBarsPosted = false;
    const int due = m_nBarsDue;
    m_nBarsDue = 0;
    CRect rcClient, rcWindow;
    GetClientRect(&rcClient);
    GetWindowRect(&rcWindow);
    ScreenToClient(&rcWindow);
    for (int nBar : { SB_VERT, SB_HORZ }) {
        if (!(due & (nBar == SB_VERT ? 1 : 2)))
            continue;
        CRect rcBar = rcWindow;
        if (nBar == SB_VERT)
            rcBar.left = rcClient.right;
        else
            rcBar.top = rcClient.bottom;
        if (!rcBar.IsRectEmpty())
            ::RedrawWindow(m_hWnd, &rcBar, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_NOCHILDREN);
    }
    return 0;
}

void CVelmor::ScrollToLine(int nLine)
{
    ScrollToLine(nLine, (int)m_Text._GetSize());
}

// The same for a text of nLines lines (an undo step visits the lines of a
// block before the block changes the count).
void CVelmor::ScrollToLine(int nLine, int nLines)
{
    if (!m_hWnd)
        return;
    // Negative lines are stored as given; callers pass lines >= 0.
    m_nFirstLine = std::min(nLine, nLines - 1);
    if (m_bInAction) {
        // Inside an edit or an undo step the view is brought up to date
        // once, when it ends.
        m_bScrollPending = m_bRepaintDue = true;
        return;
    }
    SetBarPos(SB_VERT, m_nFirstLine);
    Invalidate(TRUE);
    // The caret keeps its place in the text, not on the screen.
    if (m_bCaretCreated)
        DrawCursor(true);
}

void CVelmor::OnTimer(UINT_PTR nIDEvent)
{
    if (nIDEvent == VELMOR_TIMER_RUNNINGLINE) {
        KillTimer(VELMOR_TIMER_RUNNINGLINE);
        if (m_nBreakLine >= 0 && (m_nBreakLine < FirstVisibleLine() || m_nBreakLine > LastVisibleLine()))
            ScrollToLine(m_nBreakLine < 4 ? 0 : m_nBreakLine - 4);
        RefreshLineNum(FALSE);
    } else if (nIDEvent == VELMOR_TIMER_VALUETIP) {
        RefreshValueTip();
    }
    CWnd::OnTimer(nIDEvent);
}

// A bar's position, drawn with the next paint like its range (drawing a
// scroll bar costs more than repainting a line of text).
void CVelmor::SetBarPos(int nBar, int nPos)
{
    // Inside an edit whose bars are already due there is nothing to note
    // (and no need to ask the window for its style at every line of a block).
    if (m_bInAction && m_bScrollPending)
        return;
    if (!m_hWnd || !(GetStyle() & (nBar == SB_VERT ? WS_VSCROLL : WS_HSCROLL)))
        return;
    if (m_bInAction) {
        m_bScrollPending = true;
        return;
    }
    SCROLLINFO si = {};
    si.cbSize = sizeof si;
    si.fMask = SIF_RANGE | SIF_PAGE;
    if (!::GetScrollInfo(m_hWnd, nBar, &si))
        return;
    SetScrollBarIfChanged(nBar, si.nMax, (int)si.nPage, nPos);
}

void CVelmor::SoftScrollToLine(int nLine)
{
    const int first = FirstVisibleLine();
    if (nLine >= first && nLine < first + VisibleLines(true))
        return;
    ScrollToLine(nLine);
}

void CVelmor::ScrollToCursor()
{
    if (!m_hWnd)
        return;
    const int nLines = (int)m_Text._GetSize();
    const int last = LastVisibleLine() - 1;
    // Frozen (a block indent), the whole view is repainted at the end.
    if (m_ptCursor.y > last && VisibleLines(false) < nLines - 1) {
        m_nFirstLine = std::max(m_nFirstLine + (int)(m_ptCursor.y - last), 0);
        SetBarPos(SB_VERT, m_nFirstLine);
        if (!m_bFrozen)
            Invalidate(TRUE);
    } else if (m_ptCursor.y < FirstVisibleLine()) {
        m_nFirstLine = m_ptCursor.y;
        SetBarPos(SB_VERT, m_nFirstLine);
        if (!m_bFrozen)
            Invalidate(TRUE);
    }
    // A quarter of a screen beyond what is strictly needed, both ways.
    const int cols = VisibleColumns();
    const int step = cols / 4;
    if (m_ptCursor.x > m_nFirstCol + cols) {
        m_nFirstCol += step + (int)(m_ptCursor.x - (m_nFirstCol + cols));
        SetBarPos(SB_HORZ, m_nFirstCol);
        if (!m_bFrozen)
            Invalidate(TRUE);
    } else if (m_ptCursor.x < m_nFirstCol) {
        m_nFirstCol = std::max((int)m_ptCursor.x - step, 0);
        SetBarPos(SB_HORZ, m_nFirstCol);
        if (!m_bFrozen)
            Invalidate(TRUE);
    }
}

CPoint CVelmor::GetScrollPosition()
{
    return CPoint(GetScrollPos(SB_HORZ), GetScrollPos(SB_VERT));
}

CPoint CVelmor::GetDeviceScrollPosition()
{
    return GetScrollPosition();
}

// Moves the text area's pixels by (dx, dy); the margin stays. The strip
// uncovered is left to the caller to invalidate. The window's pixels move
// on the screen itself (no read-back). (The off-screen picture that painting keeps
// needs no shift: every paint redraws all of its update area there before
// copying it.)
void CVelmor::ShiftDisplay(int dx, int dy)
{
    if (!m_hWnd)
        return;
    CRect rc;
    GetClientRect(&rc);
    // A vertical shift moves the margin with its lines (their numbers and
    // marks go with them); a horizontal one leaves the margin in place.
    if (dx != 0)
        rc.left = m_nLeftMargin;
    if (rc.IsRectEmpty())
        return;
    // The execution arrow's tip reaches a pixel into the text area: where
    // it stood and where a horizontal shift takes it are painted again.
    if (dx != 0 && m_bLineNumber && m_nBreakLine >= 1) {
        CRect tip = GetLineRect(m_nBreakLine - 1);
        tip.left = m_nLeftMargin - 1;
        tip.right = m_nLeftMargin + 2 + std::abs(dx);
        InvalidateRect(&tip, FALSE);
    }
    // The pixels move within the window's own surface, and nothing is
    // invalidated here: the caller names the strip that needs painting.
    CClientDC dc(this);
    ::ScrollDC(dc.m_hDC, dx, dy, &rc, &rc, nullptr, nullptr);
    // What was already waiting to be painted in the text area moves too.
    HRGN hUpdate = ::CreateRectRgn(0, 0, 0, 0);
    if (hUpdate && ::GetUpdateRgn(m_hWnd, hUpdate, FALSE) > NULLREGION) {
        HRGN hText = ::CreateRectRgnIndirect(&rc);
        if (hText) {
            ::CombineRgn(hUpdate, hUpdate, hText, RGN_AND);
            ::OffsetRgn(hUpdate, dx, dy);
            ::InvalidateRgn(m_hWnd, hUpdate, FALSE);
            ::DeleteObject(hText);
        }
    }
    if (hUpdate)
        ::DeleteObject(hUpdate);
}

// Positions up to 65535 come in the message; a longer text's thumb gives
// its full position through the bar's tracking position.
static UINT ThumbPosition(HWND hWnd, int nBar, UINT nPos)
{
    SCROLLINFO si = {};
    si.cbSize = sizeof si;
    si.fMask = SIF_TRACKPOS;
    if (::GetScrollInfo(hWnd, nBar, &si) && ((UINT)si.nTrackPos & 0xFFFF) == (nPos & 0xFFFF))
        return (UINT)si.nTrackPos;
    return nPos;
}

void CVelmor::OnVScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar)
{
    DrawCursor(false);
    const int n = (int)m_Text._GetSize();
    const int page = VisibleLines(false) * 3 / 4;
    CRect rc;
    switch (nSBCode) {
    case SB_LINEUP:
        if (m_nFirstLine > 0) {
            --m_nFirstLine;
            ShiftDisplay(0, m_nLineHeight);
            rc = GetLineRect(FirstVisibleLine());
            InvalidateRect(&rc, TRUE);
        }
        break;
    case SB_LINEDOWN:
        if (m_nFirstLine < n - VisibleLines(false)) {
            ++m_nFirstLine;
            ShiftDisplay(0, -m_nLineHeight);
            rc = GetLineRect(LastVisibleLine() - 1, LastVisibleLine());
            InvalidateRect(&rc, TRUE);
        }
        break;
    case SB_PAGEUP:
        m_nFirstLine = std::max(m_nFirstLine - page, 0);
        Invalidate(TRUE);
        break;
    case SB_PAGEDOWN:
        m_nFirstLine += page;
        Invalidate(TRUE);
        break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK: {
        const int pos = (int)std::min<UINT>(pScrollBar ? nPos : ThumbPosition(m_hWnd, SB_VERT, nPos), 0x7FFFFFFF);
        if (pos != m_nFirstLine) {
            const int old = m_nFirstLine;
            m_nFirstLine = std::max(std::min(pos, n), 0);
            const int d = m_nFirstLine - old;
            ShiftDisplay(0, -(m_nLineHeight * d));
            if (d < 1)
                rc = GetLineRect(m_nFirstLine, old);
            else
                rc = GetLineRect(LastVisibleLine() - (d + 1), LastVisibleLine());
            InvalidateRect(&rc, TRUE);
        }
        break;
    }
    case SB_TOP:
        m_nFirstLine = 0;
        Invalidate(TRUE);
        break;
    case SB_BOTTOM:
        m_nFirstLine = std::max(n - VisibleLines(false), 0);
        Invalidate(TRUE);
        break;
    default:
        break;
    }
    UpdateWindow();
    SetBarPos(SB_VERT, m_nFirstLine);
    DrawCursor(true);
}

void CVelmor::OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar)
{
    DrawCursor(false);
    CRect client;
    GetClientRect(&client);
    const int cw = std::max(m_nCharWidth, 1);
    const int cols = client.Width() / cw;
    const int page = cols * 3 / 4;
    const int m = (int)m_Text.m_nMaxLineLen;
    CRect rc = client;
    switch (nSBCode) {
    case SB_LINELEFT:
        if (m_nFirstCol > 0) {
            --m_nFirstCol;
            ShiftDisplay(m_nCharWidth, 0);
            rc.right = m_nLeftMargin + m_nCharWidth;
            InvalidateRect(&rc, TRUE);
        }
        break;
    case SB_LINERIGHT:
        if (m_nFirstCol < m - VisibleColumns()) {
            ++m_nFirstCol;
            ShiftDisplay(-m_nCharWidth, 0);
            rc.left = rc.right - m_nCharWidth;
            InvalidateRect(&rc, TRUE);
        }
        break;
    case SB_PAGELEFT:
        m_nFirstCol = std::max(m_nFirstCol - page, 0);
        Invalidate(TRUE);
        break;
    case SB_PAGERIGHT:
        m_nFirstCol += page;
        Invalidate(TRUE);
        break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK: {
        int pos = (int)std::min<UINT>(pScrollBar ? nPos : ThumbPosition(m_hWnd, SB_HORZ, nPos), 0x7FFFFFFF);
        if (pos != m_nFirstCol) {
            const int limit = m - VisibleColumns();
            if (pos >= limit)
                pos = limit;
            pos = std::max(pos, 0);
            const int d = pos - m_nFirstCol;
            m_nFirstCol = pos;
            ShiftDisplay(-(m_nCharWidth * d), 0);
            if (d > 0)
                rc.left = rc.right - d * m_nCharWidth;
            else
                rc.right = m_nLeftMargin - d * m_nCharWidth;
            InvalidateRect(&rc, TRUE);
        }
        break;
    }
    case SB_LEFT:
        m_nFirstCol = 0;
        Invalidate(TRUE);
        break;
    case SB_RIGHT:
        // The position stays; only the picture is refreshed.
        Invalidate(TRUE);
        break;
    default:
        break;
    }
    UpdateWindow();
    SetBarPos(SB_HORZ, m_nFirstCol);
    DrawCursor(true);
}

BOOL CVelmor::OnMouseWheel(UINT nFlags, short zDelta, CPoint pt)
{
    if (nFlags & (MK_SHIFT | MK_CONTROL))
        return FALSE;
    const DWORD dwStyle = m_hWnd ? GetStyle() : 0;
    const bool bVert = (dwStyle & WS_VSCROLL) != 0;
    const bool bHorz = (dwStyle & WS_HSCROLL) != 0;
    if (!bVert && !bHorz)
        return FALSE;
    DrawCursor(false);
    if (bVert) {
        // One notch away from the user scrolls up 5 lines; several notches
        // towards the user scroll down 5 lines in all, several away 5 lines
        // each.
        const int notches = ::MulDiv(-zDelta, 1, 120);
        int lines;
        if (notches == -1)
            lines = zDelta > 0 ? -5 : 5;
        else
            lines = std::min(notches * 5, 5);
        const int old = m_nFirstLine;
        int first = std::max(m_nFirstLine + lines, 0);
        first = std::min(first, (int)m_Text._GetSize() - VisibleLines(false));
        m_nFirstLine = first;
        if (m_nFirstLine != old) {
            SetBarPos(SB_VERT, m_nFirstLine);
            Invalidate(TRUE);
        }
    }
    DrawCursor(true);
    return FALSE;
}

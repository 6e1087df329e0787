// View geometry, scroll bars, the caret, positions and the selection.
#include "VelmorCtrl.h"
#include <algorithm>

namespace {
// Orders two positions: the smaller line first, on one line the smaller column.
void Normalize(CPoint a, CPoint b, CPoint& start, CPoint& end)
{
    if (a.y < b.y || (a.y == b.y && a.x <= b.x)) {
        start = a;
        end = b;
    } else {
        start = b;
        end = a;
    }
}
}

// ---------------------------------------------------------------------------
// Geometry

CRect CVelmor::GetLineRect(int nLine) const
{
    if (!m_hWnd)
        return CRect(-1, -1, -1, -1);
    CRect rc;
    GetClientRect(&rc);
    rc.top = (nLine - FirstVisibleLine()) * m_nLineHeight;
    rc.bottom = rc.top + m_nLineHeight;
    return rc;
}

CRect CVelmor::GetLineRect(int nFirst, int nLast) const
{
    if (!m_hWnd)
        return CRect(-1, -1, -1, -1);
    if (nFirst > nLast)
        std::swap(nFirst, nLast);
    CRect rc;
    GetClientRect(&rc);
    rc.top = (nFirst - FirstVisibleLine()) * m_nLineHeight;
    rc.bottom = (nLast - FirstVisibleLine()) * m_nLineHeight + m_nLineHeight;
    return rc;
}

int CVelmor::FirstVisibleLine() const
{
    return m_hWnd ? m_nFirstLine : -1;
}

int CVelmor::VisibleLines(bool bAll) const
{
    if (!m_hWnd)
        return 0;
    CRect rc;
    GetClientRect(&rc);
    const int h = rc.Height() / std::max(m_nLineHeight, 1);
    return bAll ? h : std::min(h, (int)m_Text._GetSize());
}

int CVelmor::LastVisibleLine() const
{
    if (!m_hWnd)
        return -1;
    const int n = (int)m_Text._GetSize();
    const int last = FirstVisibleLine() + VisibleLines(false);
    return last <= n ? last : n;
}

int CVelmor::VisibleColumns() const
{
    if (!m_hWnd)
        return -1;
    CRect rc;
    GetClientRect(&rc);
    return rc.Width() / std::max(m_nCharWidth, 1) - 1;
}

void CVelmor::RefreshLineNum(int bNow)
{
    if (!m_hWnd)
        return;
    CRect rc;
    GetClientRect(&rc);
    rc.right = m_nLeftMargin + 2;
    if (bNow)
        RedrawWindow(&rc, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
    else
        InvalidateRect(&rc, TRUE);
}

// ---------------------------------------------------------------------------
// Scrolling

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
    if (!m_hWnd)
        return;
    // Setting scroll information on a window created without scroll bars
    // would add them; a compact control has none, and paints no frame to
    // draw them in.
    const DWORD dwStyle = GetStyle();
    if (!(dwStyle & (WS_VSCROLL | WS_HSCROLL)))
        return;
    CRect rcClient;
    GetClientRect(&rcClient);
    const int nLines = (int)m_Text._GetSize();
    const int nVisible = std::min(rcClient.Height() / std::max(m_nLineHeight, 1), nLines);
    const int nMaxLen = (int)m_Text.m_nMaxLineLen;
    const int nCols = rcClient.Width() / std::max(m_nCharWidth, 1) - 1;

    if (dwStyle & WS_VSCROLL)
        SetScrollBarIfChanged(SB_VERT, nLines > nVisible ? nLines - 1 : 0, std::max(nVisible, 0), m_nFirstLine);
    if (dwStyle & WS_HSCROLL)
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
    ::SetScrollInfo(m_hWnd, nBar, &si, FALSE);

    // The bar's strip in client coordinates: right of the client area for
    // the vertical bar, below it for the horizontal one (the corner box
    // included in both).
    CRect rcClient, rcWindow;
    GetClientRect(&rcClient);
    GetWindowRect(&rcWindow);
    ScreenToClient(&rcWindow);
    CRect rcBar = rcWindow;
    if (nBar == SB_VERT)
        rcBar.left = rcClient.right;
    else
        rcBar.top = rcClient.bottom;
    if (!rcBar.IsRectEmpty())
        ::RedrawWindow(m_hWnd, &rcBar, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_NOCHILDREN);
}

void CVelmor::ScrollToLine(int nLine)
{
    if (!m_hWnd)
        return;
    // Negative lines are stored as given; callers pass lines >= 0.
    m_nFirstLine = std::min(nLine, (int)m_Text._GetSize() - 1);
    SetScrollPos(SB_VERT, m_nFirstLine, TRUE);
    Invalidate(TRUE);
}

void CVelmor::OnTimer(UINT_PTR nIDEvent)
{
    if (nIDEvent == VELMOR_TIMER_RUNNINGLINE) {
        KillTimer(VELMOR_TIMER_RUNNINGLINE);
        if (m_nBreakLine >= 0 && (m_nBreakLine < FirstVisibleLine() || m_nBreakLine > LastVisibleLine()))
            ScrollToLine(m_nBreakLine < 4 ? 0 : m_nBreakLine - 4);
        RefreshLineNum(FALSE);
    }
    CWnd::OnTimer(nIDEvent);
}

// ---------------------------------------------------------------------------
// Caret

void CVelmor::DrawCursor(bool bShow)
{
    if (!m_hWnd || ::GetFocus() != m_hWnd)
        return;
    CClientDC dc(this);
    CFont* pOld = m_font.m_hObject ? dc.SelectObject(&m_font) : nullptr;
    const int x = CaretOffset(&dc) + m_nLeftMargin;
    const int y = (m_ptCursor.y - m_nFirstLine) * m_nLineHeight;
    if (pOld)
        dc.SelectObject(pOld);
    if (bShow && !m_bCaretCreated) {
        CreateSolidCaret(1, m_nLineHeight);
        ShowCaret();
        m_bCaretCreated = true;
    } else if (!bShow && m_bCaretCreated) {
        HideCaret();
        ::DestroyCaret();
        m_bCaretCreated = false;
    }
    SetCaretPos(CPoint(x, y));
}

// The width of the caret line's text from the first visible column to the
// caret, as the font measures it. Only a screenful is measured: every
// character is at least a pixel wide, so no more characters than the client
// area has pixels can stand left of a visible caret; a caret further right
// stands off screen, where its exact place does not matter.
int CVelmor::CaretOffset(CDC* pDC) const
{
    if (m_ptCursor.y < 0 || m_ptCursor.y >= (int)m_Text._GetSize())
        return 0;
    const CString& line = m_Text.LineRef(m_ptCursor.y);
    const int first = std::max(m_nFirstCol, 0);
    const int last = std::min((int)m_ptCursor.x, line.GetLength());
    if (last <= first)
        return 0;
    CRect rc;
    GetClientRect(&rc);
    const int n = std::min(last - first, std::max(rc.Width(), 0) + 1);
    return pDC->GetTextExtent(line.GetString() + first, n).cx;
}

// ---------------------------------------------------------------------------
// Focus

void CVelmor::OnSetFocus(CWnd* pOldWnd)
{
    DrawCursor(true);
    NotifyParent(EN_SETFOCUS);
    CWnd::OnSetFocus(pOldWnd);
}

void CVelmor::OnKillFocus(CWnd* pNewWnd)
{
    if (::GetCapture() == m_hWnd)
        ::ReleaseCapture();
    if (m_bCaretCreated) {
        HideCaret();
        ::DestroyCaret();
        m_bCaretCreated = false;
    }
    NotifyParent(EN_KILLFOCUS);
    CWnd::OnKillFocus(pNewWnd);
}

// ---------------------------------------------------------------------------
// Positions and selection

void CVelmor::ClipCursorPosition(CPoint& pt)
{
    const int n = (int)m_Text._GetSize();
    if (n == 0) {
        pt = CPoint(0, 0);
        return;
    }
    if (pt.y < 0)
        pt.y = 0;
    if (pt.y > n - 1)
        pt.y = n - 1;
    if (pt.x < 0)
        pt.x = 0;
    const int len = m_Text.LineRef(pt.y).GetLength();
    if (pt.x > len)
        pt.x = len;
}

void CVelmor::ClipCursorPosition(int& x, int& y)
{
    CPoint pt(x, y);
    ClipCursorPosition(pt);
    x = pt.x;
    y = pt.y;
}

void CVelmor::ClipAnchorPosition(CPoint& pt)
{
    ClipCursorPosition(pt);
}

void CVelmor::ClipAnchorPosition(int& x, int& y)
{
    ClipCursorPosition(x, y);
}

void CVelmor::SetCursorPos(CPoint pt)
{
    ClipCursorPosition(pt);
    _SetCursorPos(pt);
    DrawCursor(true);
    InvalidateAll(FALSE);
}

void CVelmor::SetAnchorPos(CPoint pt)
{
    ClipAnchorPosition(pt);
    _SetAnchorPos(pt);
    DrawCursor(true);
    InvalidateAll(FALSE);
}

void CVelmor::SetSelection(int nAnchorX, int nAnchorY, int nCursorX, int nCursorY)
{
    ClipAnchorPosition(nAnchorX, nAnchorY);
    ClipCursorPosition(nCursorX, nCursorY);
    _SetAnchorPos(nAnchorX, nAnchorY);
    _SetCursorPos(nCursorX, nCursorY);
    DrawCursor(true);
    InvalidateAll(FALSE);
}

bool CVelmor::Selected()
{
    const bool bSelected = m_ptAnchor != m_ptCursor;
    if (bSelected != m_bSelected) {
        m_bSelected = bSelected;
        if (m_hWnd) {
            if (bSelected) {
                CRect rc = GetLineRect(m_ptAnchor.y, m_ptCursor.y);
                InvalidateRect(&rc, TRUE);
            } else {
                Invalidate(FALSE);
            }
        }
    }
    return bSelected;
}

bool CVelmor::InSelection(int x, int y) const
{
    CPoint start, end;
    Normalize(m_ptAnchor, m_ptCursor, start, end);
    if (start.y == end.y)
        return y == start.y && x >= start.x && x < end.x;
    if (y > start.y && y < end.y)
        return true;
    if (y == start.y)
        return x >= start.x;
    if (y == end.y)
        return x < end.x;
    return false;
}

bool CVelmor::IsSelected(int x, int y)
{
    return Selected() && InSelection(x, y);
}

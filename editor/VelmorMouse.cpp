// The mouse: click, shift-click, drag and double-click. Each of the three
// places the caret by its own rule (see TextWalk.h): a click measures the
// line under the pointer, a drag the caret's own line, a double-click a
// fixed cell width.
#include "VelmorCtrl.h"
#include "../text/TextWalk.h"
#include <algorithm>

namespace {
bool ShiftDown()
{
    return (::GetKeyState(VK_SHIFT) & 0x8000) != 0;
}
} // namespace

TextWidths CVelmor::Widths() const
{
    return TextWidths{ m_anCharWidth, m_nWideCharWidth };
}

// The line under a client y: first visible line plus whole lines down,
// at most the last line. The division truncates toward zero, so the first
// line height above the window still counts as the first visible line.
int CVelmor::LineAt(int y) const
{
    const int h = std::max(m_nLineHeight, 1);
    const int rows = y / h;
    const long long line = (long long)rows + m_nFirstLine;
    const int n = (int)m_Text._GetSize();
    return (int)std::min<long long>(line, n - 1);
}

void CVelmor::OnLButtonDown(UINT nFlags, CPoint point)
{
    m_ptLastClick = CPoint(point.x - m_nLeftMargin, point.y);
    m_bMouseDown = true;
    if (::GetFocus() != m_hWnd)
        SetFocus();
    SetCapture();
    DrawCursor(false);

    const int nLine = std::max(LineAt(point.y), 0);
    const CString& line = m_Text.LineRef(nLine);
    int col = ClickColumn(line, m_nFirstCol, point.x - m_nLeftMargin, Widths());
    col = std::max(0, std::min(col, line.GetLength()));
    _SetCursorPos(col, nLine);

    if (!(nFlags & MK_SHIFT) && !ShiftDown()) {
        _SetAnchorPos(m_ptCursor);
        Selected();
    } else {
        InvalidateAll(FALSE);
    }
    DrawCursor(true);
}

void CVelmor::OnLButtonUp(UINT nFlags, CPoint point)
{
    m_bMouseDown = false;
    if (::GetCapture() == m_hWnd)
        ::ReleaseCapture();
}

void CVelmor::OnMouseMove(UINT nFlags, CPoint point)
{
    if (!m_bMouseDown && !m_bRunning)
        return;
    const int n = (int)m_Text._GetSize();
    if (n == 0)
        return;
    const int nLine = std::max(0, std::min(LineAt(point.y), n - 1));
    // Measured on the caret's line, then fitted to the line under the pointer.
    const int caretLine = std::max(0, std::min((int)m_ptCursor.y, n - 1));
    int col = DragColumn(m_Text.LineRef(caretLine), m_nFirstCol, point.x - m_nLeftMargin, Widths());
    col = std::max(0, std::min(col, m_Text.LineRef(nLine).GetLength()));

    if (!m_bMouseDown) {
        HoverAt(col, nLine, point); // a script is held: show the value under the mouse
        return;
    }

    const CPoint old = m_ptCursor;
    if (old == CPoint(col, nLine))
        return;
    DrawCursor(false);
    _SetCursorPos(col, nLine);
    CRect rc = GetLineRect(old.y, nLine);
    InvalidateRect(&rc, FALSE);
    DrawCursor(true);
}

void CVelmor::OnLButtonDblClk(UINT nFlags, CPoint point)
{
    m_bMouseDown = false;
    if (::GetFocus() != m_hWnd)
        SetFocus();
    DrawCursor(false);
    CRect rcOld = GetLineRect(m_ptAnchor.y, m_ptCursor.y);
    InvalidateRect(&rcOld, TRUE);

    const int nLine = std::max(LineAt(point.y), 0);
    const CString& line = m_Text.LineRef(nLine);
    const int col = DoubleClickColumn(point.x - m_nLeftMargin, m_nCharWidth, m_nFirstCol, line.GetLength());
    int start = 0, end = 0;
    WordBounds(line, col, start, end);
    // Clipped like positions; the caret at the word's start, the anchor at its end.
    start = std::max(0, std::min(start, line.GetLength()));
    end = std::max(0, std::min(end, line.GetLength()));
    _SetCursorPos(start, nLine);
    _SetAnchorPos(end, nLine);

    CRect rc = GetLineRect(nLine);
    InvalidateRect(&rc, TRUE);
    DrawCursor(true);
}

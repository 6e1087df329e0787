// View geometry, scroll bars, the caret, positions and the selection.
#include "VelmorCtrl.h"
#include "../gdi/BorrowedDC.h"
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
    ClientRect(&rc);
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
    ClientRect(&rc);
    rc.top = (nFirst - FirstVisibleLine()) * m_nLineHeight;
    rc.bottom = (nLast - FirstVisibleLine()) * m_nLineHeight + m_nLineHeight;
    return rc;
}

void CVelmor::ClientRect(CRect* pRect) const
{
    if (m_bFrozenClient)
        *pRect = m_rcFrozenClient;
    else
        GetClientRect(pRect);
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
    ClientRect(&rc);
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
    ClientRect(&rc);
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
// Caret

void CVelmor::DrawCursor(bool bShow)
{
    if (!m_hWnd || ::GetFocus() != m_hWnd)
        return;
    // Measured in the off-screen DC that painting keeps, when there is one:
    // the same font on the same device, without fetching a window DC.
    int x;
    if (m_hPaintDC) {
        CBorrowedDC dc(m_hPaintDC);
        x = CaretOffset(&dc) + m_nLeftMargin;
    } else {
        CClientDC dc(this);
        x = CaretOffset(&dc) + m_nLeftMargin;
    }
    const int y = (m_ptCursor.y - m_nFirstLine) * m_nLineHeight;
    bool bMoved = true;
    if (bShow && !m_bCaretCreated) {
        CreateSolidCaret(1, m_nLineHeight);
        ShowCaret();
        m_bCaretCreated = true;
    } else if (!bShow && m_bCaretCreated) {
        HideCaret();
        ::DestroyCaret();
        m_bCaretCreated = false;
    } else if (m_bCaretCreated) {
        // Moving the system caret redraws it; where it already stands
        // there is nothing to do.
        POINT pt;
        bMoved = !::GetCaretPos(&pt) || pt.x != x || pt.y != y;
    }
    if (bMoved)
        SetCaretPos(CPoint(x, y));
}

// The width of the caret line's text from the first visible column to the
// caret, as the font measures it. Only a screenful is measured: every
// character is at least a pixel wide, so no more characters than the client
// area has pixels can stand left of a visible caret; a caret further right
// stands off screen, where its exact place does not matter.
int CVelmor::CaretOffset(CDC* pDC)
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
    CFont* pOld = m_font.m_hObject ? pDC->SelectObject(&m_font) : nullptr;
    const int cx = pDC->GetTextExtent(line.GetString() + first, n).cx;
    if (pOld)
        pDC->SelectObject(pOld);
    return cx;
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
    // The capture goes, the button-down state stays: a move that arrives
    // later still drags the selection until the button comes up.
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

void CVelmor::GoToXY(int x, int y)
{
    _SetAnchorPos(x, y);
    _SetCursorPos(x, y);
    ScrollToCursor();
    UpdateAnchor(true);
    DrawCursor(true);
}

void CVelmor::GoToLine(int nLine)
{
    // The caret after the line's indentation; a line that does not exist
    // has none.
    const int x = nLine >= 0 && nLine < (int)m_Text._GetSize() ? LeadingSpaces(m_Text.LineRef(nLine)) : 0;
    _SetAnchorPos(x, nLine);
    _SetCursorPos(x, nLine);
    ScrollToCursor();
    UpdateAnchor(true);
    DrawCursor(true);
}

void CVelmor::UpdateAnchor(bool bExtend)
{
    if (!bExtend) {
        _SetAnchorPos(m_ptCursor);
        return;
    }
    if (!(::GetKeyState(VK_SHIFT) & 0x8000))
        _SetAnchorPos(m_ptCursor);
    if (m_hWnd) {
        CRect rc = GetLineRect(m_ptAnchor.y, m_ptCursor.y);
        InvalidateRect(&rc, FALSE);
    }
}

void CVelmor::StringOnCursor(CString& word)
{
    word.Empty();
    if (m_ptCursor.y < 0 || m_ptCursor.y >= (int)m_Text._GetSize())
        return;
    const CString& line = m_Text.LineRef(m_ptCursor.y);
    int start = 0, end = 0;
    WordBounds(line, m_ptCursor.x, start, end);
    start = std::max(start, 0);
    if (end > start)
        word = line.Mid(start, end - start);
}

void CVelmor::RemoveSelected()
{
    if (m_ptAnchor == m_ptCursor)
        return;
    if (m_ptCursor.y < m_ptAnchor.y)
        std::swap(m_ptCursor, m_ptAnchor);
    const int n = (int)m_Text._GetSize();
    if (m_ptAnchor.y == m_ptCursor.y) {
        if (m_ptAnchor.y >= 0 && m_ptAnchor.y < n) {
            const int a = std::min(m_ptAnchor.x, m_ptCursor.x), b = std::max(m_ptAnchor.x, m_ptCursor.x);
            const CString& line = m_Text.LineRef(m_ptAnchor.y);
            // Recorded while the selection still stands, so that undoing a
            // cut or a deletion brings the selection back with the text.
            SetTextLine(line.Left(a) + line.Mid(b), m_ptAnchor.y, false, true);
            m_ptAnchor.x = m_ptCursor.x = a;
        }
    } else {
        // The lines between go as one block; each is recorded as its own
        // removal, with the caret where it stood as that line went.
        const int nBetween = std::min((int)m_ptCursor.y - (int)m_ptAnchor.y - 1, n - (int)m_ptAnchor.y - 1);
        if (nBetween > 0) {
            const int at = m_ptAnchor.y + 1;
            for (int i = 0; i < nBetween; ++i)
                m_CurFrame.AddEntry(UndoEntry{ m_Text.LineRef(at + i), LineRemoved, at,
                                               CPoint(m_ptCursor.x, m_ptCursor.y - i), m_ptAnchor });
            _RemoveLineBlock(at, nBetween, true);
            m_ptCursor.y -= nBetween;
        }
        if (m_ptCursor.y >= 0 && m_ptCursor.y < (int)m_Text._GetSize() && m_ptAnchor.y >= 0 &&
            m_ptAnchor.y < (int)m_Text._GetSize()) {
            const CString tail = m_Text.LineRef(m_ptCursor.y).Mid(m_ptCursor.x);
            SetTextLine(m_Text.LineRef(m_ptAnchor.y).Left(m_ptAnchor.x) + tail, m_ptAnchor.y, false, true);
            RemoveTextLine(m_ptCursor.y, false, true);
            --m_ptCursor.y;
        }
    }
    m_ptCursor = m_ptAnchor;
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
}

// The editing primitives under the keys, the clipboard and the menus:
// inserting text at the caret, Backspace and Delete, Enter, and indenting
// and unindenting a line or a block. They change text only through the
// line operations (which record undo) and never open an undo step
// themselves; nor do they look at the read-only flag.
#include "VelmorCtrl.h"
#include "VelmorFrozen.h"
#include <algorithm>

namespace {
// A line's rectangle grown by 4 pixels above and below: what a typed
// character repaints.
CRect Grown(CRect rc)
{
    rc.InflateRect(0, 4);
    return rc;
}
} // namespace

void CVelmor::InsertChar(int ch, bool bInvalidate)
{
    CString s((wchar_t)ch);
    InsertString(s, bInvalidate);
    SetStyleSetting(VELMOR_STYLE_MODIFIED, TRUE);
}

void CVelmor::InsertString(CString& text, bool bInvalidate)
{
    if (text.IsEmpty())
        return;
    const int y = m_ptCursor.y;
    if (y >= 0 && y < (int)m_Text._GetSize()) {
        const CString& line = m_Text.LineRef(y);
        const int x = std::max(0, std::min((int)m_ptCursor.x, line.GetLength()));
        const bool bRight = x < line.GetLength();
        // The line with the text inserted, made in one buffer.
        CString joined;
        joined.Preallocate(line.GetLength() + text.GetLength());
        joined.SetString(line.GetString(), x);
        joined += text;
        joined.Append(line.GetString() + x, line.GetLength() - x);
        const bool bPaint = m_hWnd && !m_bFrozen;
        if (bRight && bPaint) {
            CRect rc = Grown(GetLineRect(y));
            InvalidateRect(&rc, FALSE);
        }
        SetTextLine(std::move(joined), y, false, true);
        _SetCursorPosX(x + text.GetLength());
        ScrollToCursor();
        UpdateAnchor(false);
        // (Already invalidated above when text followed the caret.)
        if (bInvalidate && !bRight && bPaint) {
            CRect rc = Grown(GetLineRect(y));
            InvalidateRect(&rc, FALSE);
        }
        if (!m_bFrozen)
            DrawCursor(true);
    } else {
        // The caret below the last line: the text makes a new line.
        InsertTextLine(text, y, bInvalidate, false);
        if (m_hWnd) {
            CRect rc = Grown(GetLineRect(y));
            InvalidateRect(&rc, FALSE);
        }
        _SetCursorPosX(text.GetLength());
        UpdateAnchor(false);
    }
}

void CVelmor::DeletePrevChar()
{
    if (m_ptCursor.x == 0 && m_ptCursor.y == 0)
        return;
    const int n = (int)m_Text._GetSize();
    const int y = m_ptCursor.y;
    if (y < 0 || y >= n)
        return;
    const int x = std::max(0, std::min((int)m_ptCursor.x, m_Text.LineRef(y).GetLength()));
    const CString line = m_Text.LineRef(y);
    const int mode = CommentMarkerMode(line, x);
    SetTextLine(x > 0 ? line.Left(x - 1) + line.Mid(x) : line, y, false, true);
    if (mode != 0) {
        m_Text.ResetTextColor(y, mode - 1);
        InvalidateAll(TRUE);
    }
    _SetCursorPosX(x - 1);
    if (m_ptCursor.x < 0) {
        if (y >= 1) {
            const int p = m_Text.LineRef(y - 1).GetLength();
            _SetCursorPos(p, y - 1);
            SetTextLine(m_Text.LineRef(y - 1) + m_Text.LineRef(y), y - 1, false, true);
            RemoveTextLine(y, false, true);
            InvalidateAll(TRUE);
            _SetCursorPosX(p);
        } else {
            _SetCursorPosX(0);
        }
    }
    if (m_hWnd) {
        CRect rc = Grown(GetLineRect(m_ptCursor.y));
        InvalidateRect(&rc, TRUE);
    }
    UpdateAnchor(false);
    DrawCursor(true);
}

void CVelmor::DeleteNextChar()
{
    const int n = (int)m_Text._GetSize();
    const int y = m_ptCursor.y;
    if (y < 0 || y >= n)
        return;
    const CString line = m_Text.LineRef(y);
    const int x = std::max(0, (int)m_ptCursor.x);
    if (x >= line.GetLength()) {
        if (y < n - 1) {
            SetTextLine(line + m_Text.LineRef(y + 1), y, false, true);
            RemoveTextLine(y + 1, false, true);
            InvalidateAll(TRUE);
        }
    } else {
        const int mode = CommentMarkerMode(line, x);
        SetTextLine(line.Left(x) + line.Mid(x + 1), y, false, true);
        if (mode != 0) {
            m_Text.ResetTextColor(y, mode - 1);
            InvalidateAll(TRUE);
        }
    }
    UpdateAnchor(false);
    if (m_hWnd) {
        CRect rc = Grown(GetLineRect(m_ptCursor.y));
        InvalidateRect(&rc, TRUE);
    }
}

void CVelmor::DoEnter()
{
    const int y = m_ptCursor.y;
    const int n = (int)m_Text._GetSize();
    if (y < 0 || y >= n) {
        // Below the last line: a new empty line.
        InsertTextLine(CString(), std::max(y, 0), true, false);
        _SetCursorPos(0, std::max(y, 0) + 1);
        ScrollToCursor();
        UpdateAnchor(false);
        InvalidateAll(TRUE);
        return;
    }
    const CString line = m_Text.LineRef(y);
    const int x = std::max(0, std::min((int)m_ptCursor.x, line.GetLength()));
    const CString head = line.Left(x);
    CString tail = line.Mid(x);
    SetTextLine(head, y, false, true);
    _SetCursorPos(0, y + 1);
    if (m_bAutoIndent && y + 1 >= 1) {
        const int spaces = LeadingSpaces(head);
        tail = CString(L' ', spaces) + tail;
        _SetCursorPosX(spaces);
    }
    InsertTextLine(tail, y + 1, true, false);
    ScrollToCursor();
    if (m_hWnd) {
        CRect rc, client;
        GetClientRect(&client);
        rc = GetLineRect(y);
        rc.bottom = client.bottom;
        InvalidateRect(&rc, TRUE);
    }
    UpdateAnchor(false);
}

// The lines and the first line's column of a block selection.
void CVelmor::BlockOf(int& nFirst, int& nLast, int& nFirstCol) const
{
    const CPoint a = m_ptAnchor, c = m_ptCursor;
    nFirst = std::min(a.y, c.y);
    nLast = std::max(a.y, c.y);
    nFirstCol = a.y > c.y ? c.x : a.x;
}

// Ends a block indent or unindent: the selection (a anchor, c caret, as
// they stood before) comes back shifted by nDelta columns, its ends
// exchanged when the caret stood above the anchor; then the picture, frozen
// meanwhile, is repainted. An unindent shifts by the count it removed
// without a floor, so ends that stood at column 0 come back left of it
// (the next caret movement or click clamps them).
void CVelmor::EndBlockShift(CPoint a, CPoint c, int nDelta)
{
    auto shifted = [nDelta](LONG x) { return (int)x + nDelta; };
    if (c.y < a.y) {
        _SetAnchorPos(shifted(c.x), c.y);
        _SetCursorPos(shifted(a.x), a.y);
    } else {
        _SetAnchorPos(shifted(a.x), a.y);
        _SetCursorPos(shifted(c.x), c.y);
    }
    if (m_hWnd)
        SetRedraw(TRUE);
    InvalidateAll(TRUE);
}

void CVelmor::InsertTab()
{
    if (!Selected()) {
        CString tab = MakeTab(m_ptCursor.x);
        InsertString(tab, true);
        return;
    }
    const CPoint a = m_ptAnchor, c = m_ptCursor;
    int first, last, col;
    BlockOf(first, last, col);
    if (m_hWnd)
        SetRedraw(FALSE);
    CString tab = MakeTab(col);
    const int lines = (int)m_Text._GetSize();
    FrozenBlock([&] {
        for (int line = first; line <= last && line < lines; ++line) {
            _SetCursorPos(line == first ? col : 0, line);
            InsertString(tab, true);
        }
    }, true, false);
    EndBlockShift(a, c, tab.GetLength());
}

void CVelmor::RemoveTab()
{
    // Without a selection Shift+Tab indents, as Tab does.
    if (!Selected()) {
        InsertTab();
        return;
    }
    const CPoint a = m_ptAnchor, c = m_ptCursor;
    int first, last, col;
    BlockOf(first, last, col);
    if (m_hWnd)
        SetRedraw(FALSE);
    // The count carries from one line to the next, as it always has: a
    // later line loses at least as many characters as the one before.
    int k = 0;
    const int lines = (int)m_Text._GetSize();
    FrozenBlock([&] {
        for (int line = first; line <= last && line < lines; ++line) {
            k = UnindentCount(m_Text.LineRef(line), k, m_nTabSize);
            SetTextLine(m_Text.LineRef(line).Mid(k), line, false, true);
        }
    }, false, false);
    EndBlockShift(a, c, -k);
}

void CVelmor::IncreaseIndent()
{
    StartAction();
    InsertTab();
    EndAction();
}

void CVelmor::DecreaseIndent()
{
    StartAction();
    RemoveTab();
    EndAction();
}

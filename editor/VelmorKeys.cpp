// The keyboard: key-down (navigation, Backspace, Delete, Ctrl shortcuts),
// characters (typing, Tab, Enter), the accelerator table and the key path
// a host may call directly.
#include "VelmorCtrl.h"
#include <algorithm>
#include <clocale>

namespace {
bool CtrlDown()
{
    return (::GetKeyState(VK_CONTROL) & 0xF000) == 0xF000;
}
} // namespace

UINT CVelmor::OnGetDlgCode()
{
    return DLGC_WANTALLKEYS;
}

// Message 0x0B00 to the parent on every key-down, posted even when nothing
// changed.
void CVelmor::PostKeyNotification()
{
    if (!m_hWnd)
        return;
    HWND hParent = ::GetParent(m_hWnd);
    if (hParent)
        ::PostMessageW(hParent, VELMOR_WM_KEYNOTIFY, 0x0300, (LPARAM)::GetDlgCtrlID(m_hWnd));
}

// The common ending of a handled key.
void CVelmor::KeyTail()
{
    PostKeyNotification();
    ScrollToCursor();
    UpdateAnchor(true);
    DrawCursor(true);
}

void CVelmor::MoveCaretForKey(UINT nChar, bool bCtrl)
{
    const int n = (int)m_Text._GetSize();
    const int last = n - 1;
    auto lengthOf = [&](int y) { return y >= 0 && y < n ? m_Text.LineRef(y).GetLength() : 0; };
    auto pre = [&] {
        DrawCursor(false);
        UpdateAnchor(true);
    };
    const int x = m_ptCursor.x, y = m_ptCursor.y;
    switch (nChar) {
    case VK_PRIOR: {
        pre();
        const int ny = std::max(y - VisibleLines(false), 0);
        _SetCursorPos(std::min(x, lengthOf(ny)), ny);
        ScrollToLine(ny);
        break;
    }
    case VK_NEXT: {
        pre();
        const int ny = y + VisibleLines(false) >= last ? last : y + VisibleLines(false);
        _SetCursorPos(std::min(x, lengthOf(ny)), ny);
        ScrollToLine(ny);
        break;
    }
    case VK_END:
        DrawCursor(false);
        if (bCtrl)
            _SetCursorPos(lengthOf(last), last);
        else
            _SetCursorPosX(lengthOf(y));
        break;
    case VK_HOME:
        DrawCursor(false);
        if (bCtrl)
            _SetCursorPos(0, 0);
        else
            _SetCursorPosX(0);
        break;
    case VK_LEFT:
        pre();
        if (!bCtrl) {
            _SetCursorPos(x - 1, y);
            if (m_ptCursor.x < 0) {
                if (y >= 1)
                    _SetCursorPos(lengthOf(y - 1), y - 1);
                else
                    _SetCursorPosX(0);
            }
        } else if (x == 0) {
            if (y >= 1)
                _SetCursorPos(lengthOf(y - 1), y - 1);
        } else if (y >= 0 && y < n) {
            _SetCursorPosX(WordLeftColumn(m_Text.LineRef(y), std::min(x, lengthOf(y))));
        }
        break;
    case VK_UP:
        if (y > 0) {
            pre();
            _SetCursorPos(std::min(x, lengthOf(y - 1)), y - 1);
        }
        break;
    case VK_RIGHT:
        pre();
        if (!bCtrl) {
            if (m_ptCursor.y >= n)
                _SetCursorPos(lengthOf(last), last);
            const int cy = m_ptCursor.y;
            _SetCursorPos(m_ptCursor.x + 1, cy);
            if (m_ptCursor.x > lengthOf(cy)) {
                if (cy >= last)
                    _SetCursorPosX(m_ptCursor.x - 1);
                else
                    _SetCursorPos(0, cy + 1);
            }
        } else if (x >= lengthOf(y)) {
            if (y + 1 >= n)
                _SetCursorPos(lengthOf(last), last);
            else
                _SetCursorPos(0, y + 1);
        } else {
            _SetCursorPosX(WordRightColumn(m_Text.LineRef(y), x));
        }
        break;
    case VK_DOWN:
        if (y < last) {
            pre();
            _SetCursorPos(std::min(x, lengthOf(y + 1)), y + 1);
        }
        break;
    default:
        break;
    }
}

// The key table shared by OnKeyDown and KeyDown. Returns 1 (handled, then
// the tail), 0 for the default path, or a value telling the caller what
// KeyDown returns for the keys that end early.
int CVelmor::HandleKey(UINT nChar, bool bFromKeyDown)
{
    const bool bCtrl = CtrlDown();
    switch (nChar) {
    case VK_BACK:
    case VK_DELETE:
        if (!m_bLock) {
            StartAction();
            if (Selected())
                RemoveSelected();
            else if (nChar == VK_BACK)
                DeletePrevChar();
            else
                DeleteNextChar();
            EndAction();
        }
        return kKeyHandled;
    case VK_RETURN:
        if (!m_bLock && (bCtrl || bFromKeyDown))
            PostMessage(WM_CHAR, VK_RETURN, 0);
        if (bFromKeyDown && m_ptCursor.y > VisibleLines(false))
            PostKeyNotification();
        return kKeyHandled;
    case VK_PRIOR:
    case VK_NEXT:
    case VK_END:
    case VK_HOME:
    case VK_LEFT:
    case VK_UP:
    case VK_RIGHT:
    case VK_DOWN:
        MoveCaretForKey(nChar, bCtrl);
        return kKeyHandled;
    case 'A':
    case 'a':
    case 'C':
    case 'c':
    case 'V':
    case 'v':
    case 'X':
    case 'x':
    case 'Y':
    case 'y':
    case 'Z':
    case 'z':
        if (!bCtrl)
            return kKeyLetter;
        switch (nChar) {
        case 'A':
        case 'a':
            OnSelectall();
            return kKeyConsumed;
        case 'C':
        case 'c':
            OnCopy();
            return kKeyConsumed;
        case 'V':
        case 'v':
            OnPaste();
            return kKeyActed;
        case 'X':
        case 'x':
            OnCut();
            return kKeyActed;
        case 'Y':
        case 'y':
            PostMessage(WM_COMMAND, ID_EDIT_REDO, 0);
            return kKeyActed;
        default:
            PostMessage(WM_COMMAND, ID_EDIT_UNDO, 0);
            return kKeyActed;
        }
    default:
        return kKeyDefault;
    }
}

void CVelmor::OnKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    const int r = nChar >= VK_BACK && nChar <= 'z' ? HandleKey(nChar, false) : kKeyDefault;
    switch (r) {
    case kKeyConsumed:
        return; // Ctrl+A, Ctrl+C: no notification, no tail
    case kKeyDefault:
        CWnd::OnKeyDown(nChar, nRepCnt, nFlags);
        PostKeyNotification();
        return;
    default:
        KeyTail();
        return;
    }
}

int CVelmor::KeyDown(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    const int r = nChar >= VK_BACK && nChar <= 'z' ? HandleKey(nChar, true) : kKeyDefault;
    switch (r) {
    case kKeyConsumed:
        return 1;
    case kKeyDefault:
        // Called directly there is no message to pass on: the default
        // handling of a key-down does nothing for a child window.
        if (const MSG* pMsg = GetCurrentMessage(); pMsg && pMsg->message == WM_KEYDOWN && pMsg->hwnd == m_hWnd)
            CWnd::OnKeyDown(nChar, nRepCnt, nFlags);
        PostKeyNotification();
        return 0;
    case kKeyActed:
    case kKeyLetter:
        KeyTail();
        return 0;
    default:
        KeyTail();
        return 1;
    }
}

BOOL CVelmor::PreTranslateMessage(MSG* pMsg)
{
    if (m_bUseAccel && pMsg && pMsg->message == WM_KEYDOWN && pMsg->hwnd == m_hWnd) {
        if (m_bNoFrame && KeyDown((UINT)pMsg->wParam, 0, 0))
            return TRUE;
        if (m_hAccel && ::TranslateAcceleratorW(m_hWnd, m_hAccel, pMsg))
            return TRUE;
    }
    return CWnd::PreTranslateMessage(pMsg);
}

void CVelmor::OnChar(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    std::setlocale(LC_ALL, ".OCP");
    if (m_bLock)
        return;
    // The caret stays up while a character goes in: the edit runs within
    // this message, nothing paints meanwhile, and the caret is put at its
    // new place below. Destroying and making the system caret again for
    // every key costs more than the edit and its repaint together.
    switch (nChar) {
    case 9:
        StartAction();
        InsertTab();
        EndAction();
        break;
    case 13:
        StartAction();
        if (Selected())
            RemoveSelected();
        DoEnter();
        EndAction();
        break;
    case 1: case 2: case 3: case 4: case 8: case 12: case 16: case 17: case 18: case 19: case 20:
    case 22: case 24: case 25: case 26: case 27:
        break;
    default:
        StartAction();
        if (Selected())
            RemoveSelected();
        InsertChar((int)nChar, true);
        EndAction();
        break;
    }
    if (Selected() && m_hWnd) {
        const int top = std::min(m_ptAnchor.y, m_ptCursor.y), bottom = std::max(m_ptAnchor.y, m_ptCursor.y);
        CRect a = GetLineRect(top - 1), b = GetLineRect(bottom + 1), rc;
        rc.UnionRect(&a, &b);
        InvalidateRect(&rc, TRUE);
    }
    DrawCursor(true);
    CWnd::OnChar(nChar, nRepCnt, nFlags);
}

// Recording of undo frames.
#include "VelmorCtrl.h"
#include "UndoReplay.h"
#include "VelmorFrozen.h"

void CVelmor::StartAction()
{
    StartUndoFrame();
    m_bInAction = true;
}

void CVelmor::EndAction()
{
    EndUndoFrame();
    AbandonAction();
    NotifyParent(EN_CHANGE);
}

// Leaves the action state, also for an edit that ended half-way (an
// exception): the scroll bars that were left due follow what did change.
void CVelmor::AbandonAction()
{
    m_bInAction = false;
    if (m_bScrollPending)
        ApplyScrollSizes();
}

void CVelmor::StartUndoFrame()
{
    // Not reentrant: a second start discards what the first gathered.
    m_CurFrame.Clear();
    ClearUndoStack(m_RedoStack);
}

void CVelmor::EndUndoFrame()
{
    if (m_CurFrame.IsEmpty())
        return;
    // Moved, not copied: a loaded text's frame holds an entry per line.
    m_UndoStack.push(std::move(m_CurFrame));
    m_CurFrame.Clear();
}

void CVelmor::ClearUndoStack(std::stack<CUndoFrame>& s)
{
    while (!s.empty())
        s.pop();
}

void CVelmor::ClearUndoHistory()
{
    m_CurFrame.Clear();
    ClearUndoStack(m_RedoStack);
    ClearUndoStack(m_UndoStack);
}

namespace {

// The control as the undo replay sees it: the line primitives with
// recording off, the caret and anchor, and for every entry its line
// brought into view and added to the area to repaint.
struct ControlTarget
{
    CVelmor& c;
    CRect& rcInvalid;

    int LineCount() { return (int)c.m_Text._GetSize(); }
    CString Line(int n) { return c.m_Text._GetLine(n); }
    void Remove(int n) { c.RemoveTextLine(n, true, false); }
    void Insert(const CString& text, int n) { c.InsertTextLine(text, n, true, true); }
    CString Exchange(CString&& text, int n)
    {
        c.ExchangeTextLine(text, n, false);
        return std::move(text);
    }
    void RemoveBlock(int n, int count) { c._RemoveLineBlock(n, count, false); }
    void RemoveAlternate(int n, int count) { c._RemoveLineAlternate(n, count); }
    void InsertBlock(std::vector<CString>& lines, int n, bool bFromEnd) { c._InsertLineBlock(lines, n, true, bFromEnd); }
    void InsertAlternate(std::vector<CString>& lines, int n) { c._InsertLineAlternate(lines, n, true); }
    CPoint Cursor() { return c.GetCursorPos(); }
    CPoint Anchor() { return c.GetAnchorPos(); }
    void SetCursor(CPoint pt) { c.m_ptCursor = pt; }
    void SetAnchor(CPoint pt) { c.m_ptAnchor = pt; }
    // nLines: the line count as the entry finds it (a block visits its
    // lines before it changes them all).
    void Visit(int n, int nLines)
    {
        CRect rc = c.GetLineRect(n);
        rcInvalid.UnionRect(&rcInvalid, &rc);
        const int first = c.FirstVisibleLine();
        if (n < first || n >= first + c.VisibleLines(true))
            c.ScrollToLine(n, nLines);
    }
};

} // namespace

void CVelmor::DoUndo()
{
    DoUndoRedo(m_UndoStack, m_RedoStack);
    NotifyParent(EN_CHANGE);
}

void CVelmor::DoRedo()
{
    DoUndoRedo(m_RedoStack, m_UndoStack);
    NotifyParent(EN_CHANGE);
}

void CVelmor::DoUndoRedo(std::stack<CUndoFrame>& from, std::stack<CUndoFrame>& to)
{
    if (from.empty())
        return;
    CUndoFrame frame = std::move(from.top());
    from.pop();
    DrawCursor(false);
    CRect rcInvalid(0, 0, 0, 0);
    ControlTarget target{ *this, rcInvalid };
    // The scroll bars are set once, when the whole step has been replayed.
    // So are the colours, when lines with comment delimiters came or went.
    const bool bWasInAction = m_bInAction, bWasDeferring = m_bDeferRecolour;
    m_bInAction = m_bDeferRecolour = true;
    auto finish = [&] {
        m_bDeferRecolour = bWasDeferring;
        if (!m_bDeferRecolour && m_bRecolourDue) {
            m_bRecolourDue = false;
            m_Text.FullUpdate();
        }
        if (!bWasInAction)
            AbandonAction();
    };
    try {
        // Frozen: a line whose change recolours the whole text asks for the
        // whole repaint once, at the end, not once per line.
        FrozenBlock([&] { to.push(ReplayUndoFrame(std::move(frame), target)); }, false, false);
    } catch (...) {
        finish();
        DrawCursor(true);
        InvalidateAll(TRUE);
        throw;
    }
    finish();
    DrawCursor(true);
    if (m_hWnd) {
        CRect rcClient;
        GetClientRect(&rcClient);
        rcInvalid.bottom = rcClient.bottom;
        InvalidateRect(&rcInvalid, TRUE);
    }
}

void CVelmor::OnUndo()
{
    DoUndo();
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
}

void CVelmor::OnRedo()
{
    DoRedo();
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
}

void CVelmor::OnUpdateUndo(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(!m_UndoStack.empty());
}

void CVelmor::OnUpdateRedo(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(!m_RedoStack.empty());
}

// Recording of undo frames.
#include "VelmorCtrl.h"

void CVelmor::StartAction()
{
    StartUndoFrame();
    m_bInAction = true;
}

void CVelmor::EndAction()
{
    EndUndoFrame();
    m_bInAction = false;
    if (m_bScrollPending)
        ApplyScrollSizes();
    NotifyParent(EN_CHANGE);
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

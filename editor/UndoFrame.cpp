// Undo frames: the entries of one user-visible undo step.
#include "UndoFrame.h"
#include <utility>

CUndoFrame::~CUndoFrame() {}

CUndoFrame::CUndoFrame(CUndoFrame&& other) noexcept
    : m_runs(std::move(other.m_runs)), m_nCount(other.m_nCount)
{
    other.m_runs.clear();
    other.m_nCount = 0;
}

CUndoFrame& CUndoFrame::operator=(CUndoFrame&& other) noexcept
{
    if (this != &other) {
        m_runs = std::move(other.m_runs);
        m_nCount = other.m_nCount;
        other.m_runs.clear();
        other.m_nCount = 0;
    }
    return *this;
}

// Whether e is the entry that follows the run's last one: same kind, no
// text, the same anchor and caret column, line and caret line one further.
bool CUndoFrame::Continues(const Run& run, const UndoEntry& e)
{
    const UndoEntry& f = run.first;
    const long long step = (long long)run.count;
    return e.kind == f.kind && e.text.IsEmpty() && f.text.IsEmpty() && e.anchor == f.anchor &&
           e.cursor.x == f.cursor.x && (long long)e.line == f.line + step &&
           (long long)e.cursor.y == f.cursor.y + step;
}

void CUndoFrame::AddEntry(const UndoEntry& e)
{
    AddEntry(UndoEntry(e));
}

void CUndoFrame::AddEntry(UndoEntry&& e)
{
    if (!m_runs.empty() && Continues(m_runs.back(), e))
        ++m_runs.back().count;
    else
        m_runs.push_back(Run{ std::move(e), 1 });
    ++m_nCount;
}

UndoEntry CUndoFrame::Top() const
{
    const Run& run = m_runs.back();
    UndoEntry e = run.first;
    const int k = (int)(run.count - 1);
    e.line += k;
    e.cursor.y += k;
    return e;
}

bool CUndoFrame::PopEntry(UndoEntry& e)
{
    if (m_runs.empty())
        return false;
    if (m_runs.back().count == 1) {
        // The run's only entry: its text is moved out, not copied.
        e = std::move(m_runs.back().first);
        m_runs.pop_back();
    } else {
        e = Top();
        --m_runs.back().count;
    }
    --m_nCount;
    return true;
}

void CUndoFrame::Clear()
{
    m_runs.clear();
    m_nCount = 0;
}

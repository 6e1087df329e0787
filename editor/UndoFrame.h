// Undo records: one entry per line-level change, gathered into frames; one
// frame is one user-visible undo step.
#pragma once
#include "../framework/afx.h"
#include <deque>
#include <stack>

enum UndoKind
{
    LineInserted = 0,
    LineRemoved = 1,
    LineChanged = 2,
};

struct UndoEntry
{
    CString text;   // removed line, or a changed line's old text; empty for an insert
    int kind;       // UndoKind
    int line;
    CPoint cursor;  // caret before the change
    CPoint anchor;  // anchor before the change
};

class AFX_EXT_CLASS CUndoFrame
{
public:
    CUndoFrame() {}
    virtual ~CUndoFrame();
    CUndoFrame(const CUndoFrame&) = default;
    CUndoFrame& operator=(const CUndoFrame&) = default;

    void AddEntry(const UndoEntry& e) { m_entries.push(e); }
    // Copies out and removes the last entry added; false when empty.
    bool PopEntry(UndoEntry& e);
    void Clear();
    bool IsEmpty() const { return m_entries.empty(); }
    size_t GetCount() const { return m_entries.size(); }
    // The last entry added (the frame must not be empty).
    const UndoEntry& Top() const { return m_entries.top(); }

private:
    std::stack<UndoEntry, std::deque<UndoEntry>> m_entries;
};

// Undo records: one entry per line-level change, gathered into frames; one
// frame is one user-visible undo step.
#pragma once
#include "../framework/afx.h"
#include <stack>
#include <vector>

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
    CUndoFrame() : m_nCount(0) {}
    virtual ~CUndoFrame();
    CUndoFrame(const CUndoFrame&) = default;
    CUndoFrame& operator=(const CUndoFrame&) = default;
    CUndoFrame(CUndoFrame&& other) noexcept;
    CUndoFrame& operator=(CUndoFrame&& other) noexcept;

    void AddEntry(const UndoEntry& e);
    void AddEntry(UndoEntry&& e);
    // Copies out and removes the last entry added; false when empty.
    bool PopEntry(UndoEntry& e);
    void Clear();
    bool IsEmpty() const { return m_nCount == 0; }
    size_t GetCount() const { return m_nCount; }
    // The last entry added (the frame must not be empty).
    UndoEntry Top() const;
    // Its kind and line alone, without copying its text.
    int TopKind() const { return m_runs.back().first.kind; }
    int TopLine() const { return m_runs.back().first.line + (int)(m_runs.back().count - 1); }

private:
    // Entries are kept last-in-first-out, but a run of entries that only
    // counts lines up is held as one record: loading a text records an
    // insert for every line (line k, caret (x, k), the same anchor, no
    // text), and a frame of a million such entries then costs a few bytes.
    struct Run
    {
        UndoEntry first; // the run's first entry
        size_t count;    // entries in the run: first, then one line further each
    };
    static bool Continues(const Run& run, const UndoEntry& e);

    // One block that grows by doubling. (A deque's blocks of a few hundred
    // bytes, one per dozen entries, made a big edit ask the heap for tens of
    // thousands of blocks of one middling size; a heap that keeps free
    // blocks of that range on one list searched it for every one of them.)
    std::vector<Run> m_runs;
    size_t m_nCount;
};

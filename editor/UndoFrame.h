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

// Bytes that round a record up to a chosen size (none: no bytes at all).
template <size_t N> struct UndoFramePadding
{
    char unused[N];
};
template <> struct UndoFramePadding<0>
{
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
    //
    // A run is padded to a size that divides 512, so that the deque's
    // blocks are 512 bytes to the byte. A heap that keeps its free blocks
    // on one list per size range (Wine's: up to 512 bytes, up to 1 KiB, ...)
    // searches that list for the first block large enough; a block just
    // past a range's lower end takes the list's first, one near its upper
    // end walks past every smaller free block of the range. A big edit
    // makes one deque block per dozen entries, and with 480-byte blocks
    // (12 unpadded runs) that walk cost more than the edit itself.
    static constexpr size_t kRunBytes = sizeof(UndoEntry) + sizeof(size_t);
    static constexpr size_t kPaddedBytes = kRunBytes <= 32 ? 32 : 64;
    struct Run : UndoFramePadding<kPaddedBytes - kRunBytes>
    {
        Run(UndoEntry&& e, size_t n) : UndoFramePadding<kPaddedBytes - kRunBytes>(), first(std::move(e)), count(n) {}
        UndoEntry first; // the run's first entry
        size_t count;    // entries in the run: first, then one line further each
    };
    static_assert(sizeof(Run) == kPaddedBytes && 512 % sizeof(Run) == 0, "deque blocks of 512 bytes");
    static bool Continues(const Run& run, const UndoEntry& e);

    std::deque<Run> m_runs;
    size_t m_nCount;
};

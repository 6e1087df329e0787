// Replaying one undo step: the entries of a frame are applied last first,
// each without being recorded, and the opposite frame is built on the way,
// so that replaying it redoes the step. Written over a small target
// interface so that it runs on the control and, in the tests, on a plain
// text store alike.
//
// A run of entries that puts back or takes away a block of lines (the
// removals of a deleted selection, the inserts of a paste) is applied to
// the target as one block, in one pass over the lines that move; the
// result, the reverse frame and every Visit are those of one entry at a
// time.
//
// A Target provides:
//   int LineCount();                 CString Line(int n);
//   void Remove(int n);              // nothing when n is past the end
//   void Insert(const CString&, int n);
//   CString Exchange(CString&& text, int n);  // line n (present) becomes
//                                    // text; gives back its old text
//   void RemoveBlock(int n, int count);               // lines n .. n+count-1, all present
//   void RemoveAlternate(int n, int count);           // as if removed one by one at n, n + 1,
//                                    // ...: lines n, n + 2, ..., all present, go
//   void InsertBlock(std::vector<CString>& lines, int n, bool bFromEnd);
//                                    // n <= LineCount(); bFromEnd: as if
//                                    // inserted at n one by one, last first
//   void InsertAlternate(std::vector<CString>& lines, int n);
//                                    // as if inserted one by one, the last
//                                    // at n + count - 1 (<= LineCount()),
//                                    // each one before at the line above
//   CPoint Cursor(); CPoint Anchor(); void SetCursor(CPoint); void SetAnchor(CPoint);
//   void Visit(int n, int nLines);   // called first for every entry's line,
//                                    // with the line count at that moment
#pragma once
#include "UndoFrame.h"
#include <algorithm>
#include <vector>

namespace velmor_undo {

// Whether entry t continues a run that began with first and went on by
// step lines per entry (step 2: not settled yet). Removals to undo come
// back at one line, at ascending lines, or at descending lines (the
// removals of every line, undone last first); inserts to undo go at one
// line, at descending lines, or at ascending lines (redoing that undo):
// only those make a block.
inline bool ContinuesRun(const UndoEntry& first, const UndoEntry& last, int kind, int line, int& step)
{
    if (kind != first.kind || (first.kind != LineRemoved && first.kind != LineInserted))
        return false;
    const int d = line - last.line;
    const int forward = first.kind == LineRemoved ? 1 : -1;
    if (step == 2) {
        if (d != 0 && d != forward && d != -forward)
            return false;
        step = d;
        return true;
    }
    return d == step;
}

} // namespace velmor_undo

template <class Target> CUndoFrame ReplayUndoFrame(CUndoFrame frame, Target& target)
{
    CUndoFrame reverse;
    UndoEntry e;
    std::vector<UndoEntry> run;
    // One entry as it always was applied.
    auto single = [&](UndoEntry& e) {
        target.Visit(e.line, target.LineCount());
        UndoEntry r;
        r.line = e.line;
        const bool exists = e.line >= 0 && e.line < target.LineCount();
        switch (e.kind) {
        case LineInserted:
            r.kind = LineRemoved;
            if (exists)
                r.text = target.Line(e.line);
            target.Remove(e.line);
            break;
        case LineRemoved:
            r.kind = LineInserted;
            target.Insert(e.text, e.line);
            break;
        default:
            // A history that no longer fits the text (lines changed
            // without recording) cannot change a line that is not there.
            r.kind = LineChanged;
            if (exists)
                r.text = target.Exchange(std::move(e.text), e.line);
            break;
        }
        r.cursor = target.Cursor();
        r.anchor = target.Anchor();
        target.SetCursor(e.cursor);
        target.SetAnchor(e.anchor);
        reverse.AddEntry(std::move(r));
    };
    // The first count entries of the run applied as one block: their
    // visits and reverse entries, as one entry at a time would have made
    // them (n0: the line count before the block; gone(j): the line entry j
    // removes, counted before the block).
    auto blockEntries = [&](int count, int n0, bool insert, auto gone) {
        for (int j = 0; j < count; ++j)
            target.Visit(run[(size_t)j].line, insert ? n0 + j : n0 - j);
        for (int j = 0; j < count; ++j) {
            UndoEntry r;
            r.line = run[(size_t)j].line;
            r.kind = insert ? LineInserted : LineRemoved;
            if (!insert)
                r.text = target.Line(gone(j));
            r.cursor = j == 0 ? target.Cursor() : run[(size_t)j - 1].cursor;
            r.anchor = j == 0 ? target.Anchor() : run[(size_t)j - 1].anchor;
            reverse.AddEntry(std::move(r));
        }
    };
    while (frame.PopEntry(e)) {
        if (e.kind != LineRemoved && e.kind != LineInserted) {
            single(e);
            continue;
        }
        run.clear();
        run.push_back(std::move(e));
        int step = 2;
        while (!frame.IsEmpty() &&
               velmor_undo::ContinuesRun(run.front(), run.back(), frame.TopKind(), frame.TopLine(), step)) {
            run.emplace_back();
            frame.PopEntry(run.back());
        }
        const int m = (int)run.size();
        const int n0 = target.LineCount();
        const int first = run.front().line;
        const bool insert = run.front().kind == LineRemoved;
        if (!insert && step == 1) {
            // Removals at ascending lines: each takes the line after the
            // one the removal before it left. The first ones, while their
            // lines are there, go as one block; the rest (past the end,
            // where they remove nothing) one at a time.
            const int fit = first >= 0 && first < n0 ? std::min(m, (n0 - first + 1) / 2) : 0;
            int j = 0;
            if (fit >= 2) {
                blockEntries(fit, n0, false, [first](int k) { return first + 2 * k; });
                target.RemoveAlternate(first, fit);
                j = fit;
                target.SetCursor(run[(size_t)fit - 1].cursor);
                target.SetAnchor(run[(size_t)fit - 1].anchor);
            }
            for (; j < m; ++j)
                single(run[(size_t)j]);
            continue;
        }
        // A block only where one entry at a time would find every line in
        // place (no clamped insert, no removal past the end).
        // Removed lines put back at descending lines: while a line's index
        // lies past the end it is appended (the first `appended` of them);
        // after that each goes in at the line above the one before, so
        // that they end one old line apart.
        const int appended = insert && step == -1 && first > n0 ? std::min(m, (first - n0 + 1) / 2) : 0;
        const bool block = m > 1 && first >= 0 &&
                           (insert ? (step == -1 ? first - m + 1 >= 0 : first <= n0)
                                   : (step == 0 ? first + m <= n0 : first < n0 && first - m + 1 >= 0));
        if (!block) {
            for (UndoEntry& x : run)
                single(x);
            continue;
        }
        blockEntries(m, n0, insert, [first, step](int j) { return step == 0 ? first + j : first - j; });
        const int low = insert || step == 0 ? first : first - m + 1;
        if (insert && step == -1) {
            if (appended > 0) {
                std::vector<CString> tail((size_t)appended);
                for (int j = 0; j < appended; ++j)
                    tail[(size_t)j] = std::move(run[(size_t)j].text);
                target.InsertBlock(tail, n0, false);
            }
            if (appended < m) {
                std::vector<CString> lines((size_t)(m - appended));
                for (int j = appended; j < m; ++j)
                    lines[(size_t)(m - 1 - j)] = std::move(run[(size_t)j].text);
                target.InsertAlternate(lines, first - m + 1);
            }
        } else if (insert) {
            // At one line each text goes in above the one before it.
            std::vector<CString> lines((size_t)m);
            for (int j = 0; j < m; ++j)
                lines[(size_t)(step == 0 ? m - 1 - j : j)] = std::move(run[(size_t)j].text);
            target.InsertBlock(lines, first, step == 0);
        } else {
            target.RemoveBlock(low, m);
        }
        target.SetCursor(run.back().cursor);
        target.SetAnchor(run.back().anchor);
    }
    return reverse;
}

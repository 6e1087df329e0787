// Replaying one undo step: the entries of a frame are applied last first,
// each without being recorded, and the opposite frame is built on the way,
// so that replaying it redoes the step. Written over a small target
// interface so that it runs on the control and, in the tests, on a plain
// text store alike.
//
// A Target provides:
//   int LineCount();                 CString Line(int n);
//   void Remove(int n);              // nothing when n is past the end
//   void Insert(const CString&, int n);
//   void Set(const CString&, int n);
//   CPoint Cursor(); CPoint Anchor(); void SetCursor(CPoint); void SetAnchor(CPoint);
//   void Visit(int n);               // called first for every entry's line
#pragma once
#include "UndoFrame.h"

template <class Target> CUndoFrame ReplayUndoFrame(CUndoFrame frame, Target& target)
{
    CUndoFrame reverse;
    UndoEntry e;
    while (frame.PopEntry(e)) {
        target.Visit(e.line);
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
            r.kind = LineChanged;
            if (exists)
                r.text = target.Line(e.line);
            target.Set(e.text, e.line);
            break;
        }
        r.cursor = target.Cursor();
        r.anchor = target.Anchor();
        target.SetCursor(e.cursor);
        target.SetAnchor(e.anchor);
        reverse.AddEntry(r);
    }
    return reverse;
}

// Column walks, word bounds and indentation, and replaying undo steps over
// a plain text store, without a window.
#include "editor/UndoReplay.h"
#include "text/ScriptText.h"
#include "text/TextWalk.h"
#include "test_util.h"

#include <random>

namespace {

struct Widths
{
    int table[256];
    TextWidths w;
    explicit Widths(int each = 8, int wide = 16)
    {
        for (int& x : table)
            x = each;
        table[(int)L'W'] = 12;
        table[(int)L'i'] = 4;
        w = TextWidths{ table, wide };
    }
};

} // namespace

TEST(TextWalk, ClickDragAndDoubleClickColumns)
{
    Widths ws;
    const CString line(L"abWic");
    // Cells: a 0-8, b 8-16, W 16-28, i 28-32, c 32-40.
    EXPECT_EQ(0, ClickColumn(line, 0, -5, ws.w)); // left of the text
    EXPECT_EQ(0, ClickColumn(line, 0, 4, ws.w));  // exactly half of 'a': before it
    EXPECT_EQ(1, ClickColumn(line, 0, 5, ws.w));  // one further: after it
    EXPECT_EQ(2, ClickColumn(line, 0, 22, ws.w)); // half of 'W' is 6: 22 - 16 = 6, before
    EXPECT_EQ(3, ClickColumn(line, 0, 23, ws.w));
    EXPECT_EQ(5, ClickColumn(line, 0, 500, ws.w)); // past the end: the length
    EXPECT_EQ(3, ClickColumn(line, 2, 7, ws.w));   // from the first visible column
    EXPECT_EQ(0, ClickColumn(CString(), 0, 30, ws.w));
    // A drag stops only past x (sum > x) and decides in integers.
    EXPECT_EQ(1, DragColumn(line, 0, 8, ws.w)); // x on the boundary: 'b' reached only past it
    EXPECT_EQ(2, DragColumn(line, 0, 13, ws.w));
    EXPECT_EQ(5, DragColumn(line, 0, 40, ws.w));
    // Characters above U+00FF count half the wide width.
    const CString wide(L"\x4E2D\x6587x");
    EXPECT_EQ(1, ClickColumn(wide, 0, 8, ws.w));
    EXPECT_EQ(2, ClickColumn(wide, 0, 13, ws.w));
    // A double-click rounds to the nearest fixed cell and clamps.
    EXPECT_EQ(0, DoubleClickColumn(3, 8, 0, 10));
    EXPECT_EQ(1, DoubleClickColumn(4, 8, 0, 10));
    EXPECT_EQ(7, DoubleClickColumn(4, 8, 6, 10));
    EXPECT_EQ(10, DoubleClickColumn(800, 8, 0, 10));
    EXPECT_EQ(0, DoubleClickColumn(-800, 8, 0, 10));
    EXPECT_EQ(3, DoubleClickColumn(3, 0, 0, 10)); // a zero cell width counts as 1
}

TEST(TextWalk, WordBoundsAndIndentation)
{
    const CString s(L"foo_bar = x1+2");
    int a = 0, b = 0;
    WordBounds(s, 5, a, b); // 'b' of bar: "_" is no word character
    EXPECT_EQ(4, a);
    EXPECT_EQ(7, b);
    WordBounds(s, 7, a, b); // the space: the empty word after it
    EXPECT_EQ(8, a);
    EXPECT_EQ(7, b);
    WordBounds(s, 14, a, b); // past the end of "2": that word
    EXPECT_EQ(13, a);
    EXPECT_EQ(14, b);
    WordBounds(s, 0, a, b);
    EXPECT_EQ(0, a);
    EXPECT_EQ(3, b);
    WordBounds(CString(), 0, a, b);
    EXPECT_EQ(0, a);
    EXPECT_EQ(0, b);
    EXPECT_FALSE(IsWordChar(L'_'));
    EXPECT_FALSE(IsWordChar(L'\x00E9'));
    EXPECT_TRUE(IsWordChar(L'Z'));
    EXPECT_EQ(4, LeadingSpaces(CString(L"    x")));
    EXPECT_EQ(0, LeadingSpaces(CString(L"\t    x")));
    EXPECT_EQ(3, LeadingSpaces(CString(L"   ")));
    EXPECT_EQ(0, LeadingSpaces(CString()));
}

namespace {

// The store as the replay sees it, with the recording the control's
// primitives do, so that random steps can be recorded and replayed.
struct StoreTarget
{
    CScriptText& t;
    CPoint caret, anchor;
    CUndoFrame* record = nullptr;

    int LineCount() { return (int)t._GetSize(); }
    CString Line(int n) { return t._GetLine(n); }
    void Remove(int n)
    {
        if (n >= LineCount())
            return;
        if (record)
            record->AddEntry(UndoEntry{ t._GetLine(n), LineRemoved, n, caret, anchor });
        t._RemoveLine(n);
    }
    void Insert(const CString& s, int n)
    {
        n = std::min(n, LineCount());
        if (record)
            record->AddEntry(UndoEntry{ CString(), LineInserted, n, caret, anchor });
        t._InsertLine(s, n, 1);
    }
    void Set(const CString& s, int n)
    {
        if (record)
            record->AddEntry(UndoEntry{ t._GetLine(n), LineChanged, n, caret, anchor });
        t._SetLine(s, n);
    }
    CString Exchange(CString&& s, int n)
    {
        CString old = t._GetLine(n);
        Set(s, n);
        return old;
    }
    CPoint Cursor() { return caret; }
    CPoint Anchor() { return anchor; }
    void SetCursor(CPoint p) { caret = p; }
    void SetAnchor(CPoint p) { anchor = p; }
    void RemoveBlock(int n, int count) { t._RemoveLines(n, count); }
    void RemoveAlternate(int n, int count) { t._RemoveLinesAlternate(n, count); }
    void InsertBlock(std::vector<CString>& lines, int n, bool bFromEnd) { t._InsertLines(lines, n, 1, bFromEnd); }
    void InsertAlternate(std::vector<CString>& lines, int n) { t._InsertLinesAlternate(lines, n, 1); }
    void Visit(int, int) {}
};

std::vector<CString> Lines(const CScriptText& t)
{
    std::vector<CString> v;
    for (int i = 0; i < t._GetSize(); ++i)
        v.push_back(t.LineRef(i));
    return v;
}

} // namespace

// A recorded step replayed gives back the text before it and the caret of
// its first entry; the reverse step replayed gives back the text after it.
TEST(TextWalk, ReplayReversesRecordedSteps)
{
    std::mt19937 rng(42);
    CSampleColorizer colorizer;
    for (int round = 0; round < 2000; ++round) {
        CScriptText t;
        t.SetColorizer(&colorizer);
        for (int i = 0; i < 6; ++i)
            t._InsertLine(CString(L'a', (int)(rng() % 5)), i, 1);
        StoreTarget target{ t, CPoint(), CPoint() };
        const std::vector<CString> before = Lines(t);
        CUndoFrame step;
        target.record = &step;
        CPoint first; // the caret at the first change recorded
        for (int k = 0, n = 1 + (int)(rng() % 6); k < n; ++k) {
            target.caret = CPoint((int)(rng() % 9), (int)(rng() % 6));
            if (step.IsEmpty())
                first = target.caret;
            const int size = target.LineCount();
            switch (rng() % 3) {
            case 0: target.Insert(CString(L'x', k + 1), (int)(rng() % (unsigned)(size + 2))); break;
            case 1: target.Remove((int)(rng() % (unsigned)(size + 1))); break;
            default: target.Set(CString(L'y', k), (int)(rng() % (unsigned)size)); break;
            }
        }
        target.record = nullptr;
        const std::vector<CString> after = Lines(t);
        const CPoint caretAfter(77, 7);
        target.caret = caretAfter;
        CUndoFrame reverse = ReplayUndoFrame(step, target);
        ASSERT_EQ(before, Lines(t)) << "round " << round;
        if (!step.IsEmpty()) {
            ASSERT_EQ(first, target.caret);
        }
        ReplayUndoFrame(reverse, target);
        ASSERT_EQ(after, Lines(t)) << "round " << round;
        if (!step.IsEmpty()) {
            ASSERT_EQ(caretAfter, target.caret);
        }
    }
}

TEST(TextWalk, WordStepsMarkersAndUnindent)
{
    const CString s(L"ab.cd");
    EXPECT_EQ(3, WordLeftColumn(s, 5)); // to the start of "cd"
    EXPECT_EQ(2, WordLeftColumn(s, 3)); // the '.' just left: one column
    EXPECT_EQ(0, WordLeftColumn(s, 2));
    EXPECT_EQ(0, WordLeftColumn(CString(L"   x"), 3)); // only blanks to the left
    EXPECT_EQ(4, WordLeftColumn(CString(L"foo bar"), 7));
    EXPECT_EQ(2, WordRightColumn(s, 0)); // after "ab"
    EXPECT_EQ(3, WordRightColumn(s, 2)); // the '.' at the caret: one column
    EXPECT_EQ(5, WordRightColumn(s, 3));
    EXPECT_EQ(6, WordRightColumn(CString(L"   foo bar"), 0)); // blanks, then "foo": stops after it

    const CString c(L"a/*b*/c");
    EXPECT_EQ(1, CommentMarkerMode(c, 1)); // '/' of "/*"
    EXPECT_EQ(1, CommentMarkerMode(c, 2)); // '*' of "/*"
    EXPECT_EQ(2, CommentMarkerMode(c, 4)); // '*' of "*/"
    EXPECT_EQ(2, CommentMarkerMode(c, 5)); // '/' of "*/"
    EXPECT_EQ(0, CommentMarkerMode(c, 3));
    EXPECT_EQ(0, CommentMarkerMode(c, 7)); // past the end
    EXPECT_EQ(0, CommentMarkerMode(CString(L"/"), 0));

    // 4, 2 and 6 leading spaces with tab size 4: the count found on the
    // first line carries into the next ones.
    int k = UnindentCount(CString(L"    a"), 0, 4);
    EXPECT_EQ(4, k);
    k = UnindentCount(CString(L"  bcde"), k, 4);
    EXPECT_EQ(4, k);
    k = UnindentCount(CString(L"      f"), k, 4);
    EXPECT_EQ(4, k);
    EXPECT_EQ(2, UnindentCount(CString(L"  x"), 0, 4));
    EXPECT_EQ(0, UnindentCount(CString(), 0, 4));
    EXPECT_FALSE(IsBlankChar(L'\x00A0'));
    EXPECT_TRUE(IsBlankChar(L'\t'));
}

// Find, replace, matching braces and commenting, as a host calls them on
// a control in a real window: the match selected, the line returned, the
// text read back, each change undone.
#include "host.h"
#include "tests/support/SearchAgreement.h"
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

struct Ed : TestEditor<>
{
    explicit Ed(const wchar_t* text) : TestEditor(text, CRect(0, 0, 600, 200), 3) {}
    int Find(const wchar_t* what, int& pos, unsigned short flags, int start = -1, int end = -1)
    {
        std::wstring w(what);
        return ctl->FindAndReplace(start, end, &w[0], pos, flags);
    }
};

} // namespace

// Forwards from the first visible line, wrapping once to line 0 and
// stopping before the start line; the match is selected, caret at its start.
TEST(Search, ForwardsWithOneWrap)
{
    std::wstring text = Numbered(40);
    text[text.find(L"line 2\n")] = L'L'; // "Line 2": found only when case matters
    Ed e(text.c_str());
    e->m_nFirstLine = 10;
    int pos = 0;
    EXPECT_EQ(10, e.Find(L"LINE", pos, 0)); // the first visible line, not the caret's
    EXPECT_EQ(4, pos);
    EXPECT_EQ(CPoint(0, 10), e->GetCursorPos());
    EXPECT_EQ(CPoint(4, 10), e->GetAnchorPos());
    EXPECT_EQ(::GetFocus(), e->m_hWnd);

    pos = 0;
    EXPECT_EQ(2, e.Find(L"Line", pos, VELMOR_FIND_MATCHCASE)); // wraps from the end to line 0
    pos = 0;
    EXPECT_EQ(-1, e.Find(L"Line", pos, VELMOR_FIND_MATCHCASE, 3, 2)); // the wrap stops before the start line
    pos = 0;
    EXPECT_EQ(-1, e.Find(L"line", pos, 0)); // ignoring case needs the text in upper case
    // An empty string is found where the search starts: an empty selection.
    pos = 3;
    const int first = e->FirstVisibleLine();
    EXPECT_EQ(first, e.Find(L"", pos, 0));
    EXPECT_EQ(3, pos);
    EXPECT_EQ(CPoint(3, first), e->GetCursorPos());
    EXPECT_EQ(CPoint(3, first), e->GetAnchorPos());
    // Whole words: "subtotal" is rejected, and the rest of its line skipped.
    e->LoadText(L"subtotal total\nx total\n");
    pos = 0;
    EXPECT_EQ(1, e.Find(L"TOTAL", pos, VELMOR_FIND_WHOLEWORD, 0));
    EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());
}

// Backwards from the caret's line; the default end (line 0) is never
// searched, and a match at column 0 returns the line above.
TEST(Search, Backwards)
{
    Ed e(L"total\nx total\ntotal y\nz\n");
    e->SetSelection(0, 3, 0, 3);
    int pos = 0;
    EXPECT_EQ(1, e.Find(L"TOTAL", pos, VELMOR_FIND_BACKWARDS)); // line 2 at column 0: returns 1
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos());
    EXPECT_EQ(0, pos);
    pos = 0;
    EXPECT_EQ(1, e.Find(L"TOTAL", pos, VELMOR_FIND_BACKWARDS, 1));
    EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());
    EXPECT_EQ(2, pos);
    pos = 0;
    e->SetSelection(0, 0, 0, 0);
    // From line 0 backwards: wraps to the last line, which runs up to the start line.
    EXPECT_EQ(-1, e.Find(L"Q", pos, VELMOR_FIND_BACKWARDS));
    std::wstring s = L"xabcab";
    std::wstring w = L"ab";
    EXPECT_EQ(4, e->ReverseFindString(&s[0], &w[0], 0));
    EXPECT_EQ(1, e->ReverseFindString(&s[0], &w[0], 4));

    // With the defaults line 0 is the end and is never searched; after the
    // wrap the search stops before its start line.
    e->LoadText(L"TOTAL here only\nnone\nnone\n");
    e->SetSelection(0, 2, 0, 2);
    pos = 0;
    EXPECT_EQ(-1, e.Find(L"TOTAL", pos, VELMOR_FIND_BACKWARDS));
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos());
    e->LoadText(L"a\nX b\nc\n");
    pos = 1; // the only X stands before the start column of the start line
    EXPECT_EQ(-1, e.Find(L"X", pos, VELMOR_FIND_MATCHCASE, 1));
    pos = 0;
    EXPECT_EQ(1, e.Find(L"X", pos, VELMOR_FIND_MATCHCASE, 2)); // found after the wrap
}

// Replacing the found text is one undo step; read-only refuses it.
TEST(Search, ReplaceTheFoundText)
{
    Ed e(L"a = sin(x);\nb = sin(y);\n");
    int pos = 0;
    ASSERT_EQ(0, e.Find(L"SIN", pos, 0, 0));
    std::wstring with = L"cos";
    EXPECT_EQ(0, e->ReplaceString(&with[0]));
    EXPECT_EQ(CString(L"a = cos(x);\nb = sin(y);\n\n"), e.Text());
    ASSERT_EQ(1, e.Find(L"SIN", pos, 0, 0));
    e->SetReadOnly(true);
    e->ReplaceString(&with[0]);
    EXPECT_EQ(CString(L"a = cos(x);\nb = sin(y);\n\n"), e.Text());
    e->DoUndo();
    EXPECT_EQ(CString(L"a = sin(x);\nb = sin(y);\n\n"), e.Text());
}

// The matching brace of the caret line's brace, skipping braces in
// comments; an unclosed block sends the caret to the last line.
TEST(Search, MatchingBrace)
{
    Ed e(L"define f ()\n{\n   if (x) {\n      /* } */ y;\n   }\n   z;\n}\n} else {\n");
    e->SetSelection(0, 1, 0, 1);
    e->FindMatchBrace();
    EXPECT_EQ(CPoint(0, 6), e->GetCursorPos());
    e->FindMatchBrace(); // and back up
    EXPECT_EQ(CPoint(0, 1), e->GetCursorPos());
    e->SetSelection(0, 2, 0, 2);
    e->FindMatchBrace();
    EXPECT_EQ(CPoint(3, 4), e->GetCursorPos()); // the "}" in the comment does not count
    e->SetSelection(0, 7, 0, 7);
    e->FindMatchBrace(); // "}" before "{" on one line: to that "}"
    EXPECT_EQ(CPoint(0, 7), e->GetCursorPos());
    e->LoadText(L"{\nnever closed\nlast\n");
    e->FindMatchBrace();
    EXPECT_EQ(CPoint(0, 3), e->GetCursorPos());
    e->LoadText(L"x\n}\n");
    e->SetSelection(0, 1, 0, 1);
    e->FindMatchBrace(); // above line 0: the last line
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos());
}

// Commenting out: whole lines get "//" one column left of their text, a
// partial selection "/*" and "*/"; uncommenting takes them away; each is
// one undo step and neither looks at read-only.
TEST(Search, CommentingOutAndIn)
{
    Ed e(L"a = 1;\n    b = 2;\n  c = 3;\nd\n");
    e->SetReadOnly(true);
    e->SetSelection(0, 0, 8, 2);
    e->CommentOutSelect();
    EXPECT_EQ(CString(L"//a = 1;\n   // b = 2;\n // c = 3;\nd\n\n"), e.Text());
    EXPECT_EQ(COLOR_CLOSED_COMMENT, e->m_Text._GetLineColors(1)[5]);
    EXPECT_FALSE(e->Selected());
    e->SetSelection(0, 0, 10, 2);
    e->UncommentSelected();
    EXPECT_EQ(CString(L"a = 1;\n    b = 2;\n  c = 3;\nd\n\n"), e.Text());
    e->DoUndo(); // each was one step
    EXPECT_EQ(CString(L"//a = 1;\n   // b = 2;\n // c = 3;\nd\n\n"), e.Text());
    e->DoUndo();
    EXPECT_EQ(CString(L"a = 1;\n    b = 2;\n  c = 3;\nd\n\n"), e.Text());
    EXPECT_TRUE(e->m_UndoStack.empty());

    e->SetSelection(2, 0, 5, 2); // from the middle of one line to the middle of another
    e->CommentOutSelect();
    EXPECT_EQ(CString(L"a /*= 1;\n    b = 2;\n  c =*/ 3;\nd\n\n"), e.Text());
    EXPECT_EQ(COLOR_OPEN_COMMENT, e->m_Text._GetLineColors(1)[0]);
    e->SetSelection(2, 0, 1, 2);
    e->UncommentSelected();
    EXPECT_EQ(CString(L"a = 1;\n    b = 2;\n  c = 3;\nd\n\n"), e.Text());

    // A "/*" with no "*/" after it: nothing changes, not even the caret.
    e->LoadText(L"a /* b\nc d\n");
    e->SetSelection(0, 0, 3, 1);
    e->UncommentSelected();
    EXPECT_EQ(CString(L"a /* b\nc d\n\n"), e.Text());
    e->LoadText(L"a = 1;\n    b = 2;\n  c = 3;\nd\n");

    e->SetSelection(4, 1, 9, 1); // within one line
    e->CommentOutSelect();
    EXPECT_EQ(CString(L"a = 1;\n    /*b = 2*/;\n  c = 3;\nd\n\n"), e.Text());
    e->SetSelection(4, 1, 13, 1);
    e->UncommentSelected();
    EXPECT_EQ(CString(L"a = 1;\n    b = 2;\n  c = 3;\nd\n\n"), e.Text());
    e->SetSelection(3, 3, 3, 3);
    e->CommentOutSelect(); // no selection: nothing
    EXPECT_EQ(CString(L"a = 1;\n    b = 2;\n  c = 3;\nd\n\n"), e.Text());
}

// Bad input: nothing is found, nothing crashes, the text stays.
TEST(Search, BadInput)
{
    Ed e(L"abc\nde\n");
    const CString before = e.Text();
    int pos = 0;
    EXPECT_EQ(-1, e.Find(L"ABCDEFGHIJKLMNOP", pos, 0));
    pos = 9; // an empty string past the line's end: the next lines' starts
    EXPECT_EQ(1, e.Find(L"", pos, 0));
    EXPECT_EQ(0, pos);
    for (int p : { -5, 99 }) {
        for (unsigned short f : { (unsigned short)0, VELMOR_FIND_BACKWARDS, VELMOR_FIND_WHOLEWORD }) {
            pos = p;
            e->SetSelection(0, 0, 0, 0);
            const int r = e.Find(L"B", pos, f);
            // Forwards from -5 or 99 line 0 gives nothing, and line 0 is the
            // wrap line; backwards line 0 is the end; "B" is no whole word.
            EXPECT_EQ(-1, r) << p << " " << f;
        }
    }
    for (int s : { -7, 50 }) {
        for (int t : { -9, 60 }) {
            pos = 0;
            e.Find(L"D", pos, 0, s, t);
            pos = 0;
            e.Find(L"D", pos, VELMOR_FIND_BACKWARDS, s, t);
        }
    }
    // Selections that end past the end of their line.
    e->m_ptAnchor = CPoint(0, 0);
    e->m_ptCursor = CPoint(40, 1);
    e->CommentOutSelect();
    e->m_ptAnchor = CPoint(0, 0);
    e->m_ptCursor = CPoint(40, 1);
    e->UncommentSelected();
    e->m_ptAnchor = CPoint(1, 0);
    e->m_ptCursor = CPoint(40, 0);
    e->CommentOutSelect();
    e->DoUndo();
    e->DoUndo();
    e->DoUndo();
    EXPECT_EQ(before, e.Text());
    e->m_ptCursor = CPoint(0, 70);
    e->FindMatchBrace();
    std::wstring with = L"x";
    e->m_ptAnchor = CPoint(0, 0);
    e->m_ptCursor = CPoint(0, 0);
    EXPECT_EQ(0, e->ReplaceString(&with[0]));
}

// The many-line search in UTF-16, as the control runs it: most lines are
// tested four blocks at a time with reads past their end, and the lines of
// one text lie side by side in memory, so a read past one line's end sees
// the next one. Random lines and texts: the same line and column as
// SearchLine line by line.
TEST(Search, ManyLinesAgreeWithOneLineAtATime)
{
    EXPECT_EQ("", search_agreement::FirstDisagreement(2000));
}

// Line search, reverse search and the comment markers, without a window.
#include "text/TextSearch.h"
#include "test_util.h"

TEST(TextSearch, ReverseFind)
{
    EXPECT_EQ(4, ReverseFind(L"abcabc", L"bc", 0)); // the whole string
    EXPECT_EQ(1, ReverseFind(L"abcabc", L"bc", 4)); // must start before index 4
    EXPECT_EQ(4, ReverseFind(L"abcabc", L"bc", 5)); // may run past index n
    EXPECT_EQ(-1, ReverseFind(L"abcabc", L"", 0));
    EXPECT_EQ(-1, ReverseFind(L"ab", L"abc", 0));
    EXPECT_EQ(-1, ReverseFind(L"abc", L"a", -2));
    EXPECT_EQ(1, ReverseFind(L"abc", L"bc", 99)); // n past the end: the whole string
}

TEST(TextSearch, SearchLineCaseAndWholeWords)
{
    const CString line(L"subtotal total Total");
    EXPECT_EQ(-1, SearchLine(line, L"total", 0, 0));       // ignoring case, the host passes upper case
    EXPECT_EQ(3, SearchLine(line, L"TOTAL", 0, 0));
    EXPECT_EQ(3, SearchLine(line, L"total", 0, VELMOR_FIND_MATCHCASE));
    // Whole words: "subtotal" is rejected and the rest of the line is not searched.
    EXPECT_EQ(-1, SearchLine(line, L"total", 0, VELMOR_FIND_MATCHCASE | VELMOR_FIND_WHOLEWORD));
    EXPECT_EQ(9, SearchLine(line, L"total", 4, VELMOR_FIND_MATCHCASE | VELMOR_FIND_WHOLEWORD));
    EXPECT_EQ(0, SearchLine(CString(L"ab_c"), L"AB", 0, VELMOR_FIND_WHOLEWORD)); // column 0: no test
    EXPECT_EQ(15, SearchLine(line, L"TOTAL", 0, VELMOR_FIND_BACKWARDS));
    EXPECT_EQ(9, SearchLine(line, L"TOTAL", 15, VELMOR_FIND_BACKWARDS));
    // An empty string is found where the search starts, forwards only.
    EXPECT_EQ(0, SearchLine(line, L"", 0, 0));
    EXPECT_EQ(20, SearchLine(line, L"", 20, VELMOR_FIND_MATCHCASE));
    EXPECT_EQ(-1, SearchLine(line, L"", 21, 0));
    EXPECT_EQ(-1, SearchLine(line, L"", 9, VELMOR_FIND_WHOLEWORD)); // a word starts there
    EXPECT_EQ(2, SearchLine(CString(L"a + b"), L"", 2, VELMOR_FIND_WHOLEWORD));
    EXPECT_EQ(-1, SearchLine(line, L"", 5, VELMOR_FIND_BACKWARDS));
    EXPECT_EQ(-1, SearchLine(line, L"TOTAL", 99, 0));
}

TEST(TextSearch, CommentMarkers)
{
    EXPECT_EQ(CString(L"//x = 1;"), LineCommentOut(CString(L"x = 1;")));
    EXPECT_EQ(CString(L"   // x"), LineCommentOut(CString(L"    x"))); // one column left of the text
    EXPECT_EQ(CString(L"\t//\tx"), LineCommentOut(CString(L"\t\tx"))); // tabs count as blanks
    EXPECT_EQ(CString(L"//"), LineCommentOut(CString()));
    EXPECT_EQ(CString(L"    x"), LineUncomment(CString(L"   // x"), 0));
    EXPECT_EQ(CString(L"a // b"), LineUncomment(CString(L"a // b"), 3)); // none at or after column 3
    EXPECT_EQ(CString(L"a  b"), LineUncomment(CString(L"a // b"), 2));
    EXPECT_EQ(2, FirstOf(CString(L"a {b{"), L'{'));
    EXPECT_EQ(-1, FirstOf(CString(L"a b"), L'}'));
}

// Line search, reverse search and the comment markers, without a window.
#include "text/TextSearch.h"
#include "test_util.h"
#include "tests/support/SearchAgreement.h"
#include "text/TextSearchIsa.h"

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

// A search over many lines skips lines that cannot hold the text several
// characters at a step; every line that can is still found, at the column
// SearchLine gives: in the last columns of a long line, in a lower-case
// line ignoring case, through a non-ASCII letter whose upper case is ASCII,
// from the start column on the first line only, and past a whole-word
// rejection on an earlier line.
TEST(TextSearch, SearchLinesForwardFindsWhatSearchLineFinds)
{
    std::vector<CString> lines;
    const CString filler = CString(L'x', 56) + L" ";
    lines.push_back(filler);                          // 0
    lines.push_back(filler + L"TOTAL");               // 1: the last columns
    lines.push_back(CString(L"  total = 1;"));        // 2: lower case
    lines.push_back(CString(L"TOTA\x0131 hides here")); // 3: dotless i, upper case I
    lines.push_back(CString(L"SUBTOTAL TOTAL"));      // 4: whole word rejected
    lines.push_back(CString());                       // 5: empty
    const int n = (int)lines.size();
    const unsigned short kCase = VELMOR_FIND_MATCHCASE, kWord = VELMOR_FIND_WHOLEWORD;
    int col = 0;
    EXPECT_EQ(1, SearchLinesForward(lines.data(), 0, n, L"TOTAL", 0, kCase, col));
    EXPECT_EQ(57, col);
    EXPECT_EQ(4, SearchLinesForward(lines.data(), 2, n, L"TOTAL", 0, kCase, col));
    EXPECT_EQ(3, col);
    // Ignoring case, what is compared as given: upper case finds lower.
    EXPECT_EQ(2, SearchLinesForward(lines.data(), 2, n, L"TOTAL", 0, 0, col));
    EXPECT_EQ(2, col);
    EXPECT_EQ(n, SearchLinesForward(lines.data(), 2, n, L"total", 0, 0, col));
    EXPECT_EQ(-1, col);
    // (Whether the runtime's upper case of U+0131 is 'I' depends on its locale.)
    const int dotless = SearchLine(lines[3], L"TOTAL", 0, 0);
    EXPECT_EQ(dotless >= 0 ? 3 : 4, SearchLinesForward(lines.data(), 3, n, L"TOTAL", 0, 0, col));
    EXPECT_EQ(dotless >= 0 ? dotless : 3, col);
    // The start column counts on the first line only.
    EXPECT_EQ(4, SearchLinesForward(lines.data(), 1, n, L"TOTAL", 58, kCase, col));
    EXPECT_EQ(3, col);
    // Whole words: "SUBTOTAL" gives nothing for line 4 (its rest is not
    // searched), so the search goes on to the end.
    EXPECT_EQ(n, SearchLinesForward(lines.data(), 2, n, L"TOTAL", 0, kCase | kWord, col));
    EXPECT_EQ(1, SearchLinesForward(lines.data(), 0, n, L"TOTAL", 0, kCase | kWord, col));
    // An empty what is found at the start column; no lines, nothing.
    EXPECT_EQ(0, SearchLinesForward(lines.data(), 0, n, L"", 3, kCase, col));
    EXPECT_EQ(3, col);
    EXPECT_EQ(2, SearchLinesForward(lines.data(), 2, 2, L"x", 0, kCase, col));
    EXPECT_EQ(-1, col);
    // Line by line, every what and start line agrees with SearchLine.
    for (const wchar_t* what : { L"x", L"XX", L"L", L"TOTAL", L"tal", L"  ", L"\x0131" })
        for (unsigned short flags : { 0, 2, 4, 6 })
            for (int first = 0; first < n; ++first) {
                int expected = n, expectedCol = -1;
                for (int l = first; l < n && expected == n; ++l)
                    if ((expectedCol = SearchLine(lines[(size_t)l], what, 0, flags)) >= 0)
                        expected = l;
                EXPECT_EQ(expected, SearchLinesForward(lines.data(), first, n, what, 0, flags, col));
                EXPECT_EQ(expected == n ? -1 : expectedCol, col);
            }
}

// Random lines and texts to find (tests/support/SearchAgreement.h): the
// same line and column as SearchLine line by line.
TEST(TextSearch, SearchLinesForwardAgreesOnRandomLines)
{
    EXPECT_EQ("", search_agreement::FirstDisagreement(2000));
    // Both vector forms: the processor's (AVX2 where it has it) above,
    // SSE2 here.
    auto sse2 = [](const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos, unsigned short flags,
                   int& nCol) { return SearchLinesForwardWith(false, lines, nFirst, nEnd, what, nPos, flags, nCol); };
    EXPECT_EQ("", search_agreement::FirstDisagreement(2000, sse2));
}

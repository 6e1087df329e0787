// The line store: lines, per-line colours and comment tracking across lines.
#include "text/ScriptText.h"
#include "test_util.h"

namespace {

const unsigned long OPEN = COLOR_OPEN_COMMENT, SHUT = COLOR_CLOSED_COMMENT, D = COLOR_DEFAULT;

// A sample colorizer that records the text of every line it is asked to colour.
class RecordingColorizer : public CSampleColorizer {
public:
    void SetLineColors(const CString& line, std::vector<unsigned long>& colors) override
    {
        seen.push_back(line);
        CSampleColorizer::SetLineColors(line, colors);
    }
    std::vector<CString> seen;
};

class ScriptTextTest : public ::testing::Test {
protected:
    void SetUp() override { t.SetColorizer(&rc); }
    // Loads lines uncoloured, then colours them all, as loading a text does.
    void Load(std::initializer_list<const wchar_t*> lines)
    {
        int n = 0;
        for (const wchar_t* l : lines)
            t._InsertLine(CString(l), n++, 0);
        t.FullUpdate();
        rc.seen.clear();
    }
    Colors At(int n) { return t._GetLineColors(n); }
    RecordingColorizer rc;
    CScriptText t;
};

} // namespace

TEST(ScriptText, FreshStoreAndRemoveAll)
{
    CScriptText t;
    EXPECT_EQ(0, t._GetSize());
    EXPECT_EQ(0, t.m_nMaxLineLen);
    EXPECT_EQ(&t.m_DefColorizer, t.GetColorizer());
    t._InsertLine(CString(L"abc"), 0, 1);
    t._InsertLine(CString(L"de"), 1, 1);
    EXPECT_EQ(3, t.m_nMaxLineLen);
    t._RemoveAll();
    EXPECT_EQ(1, t._GetSize());
    EXPECT_EQ(1u, t.m_LineColors.size());
    EXPECT_EQ(CString(), t._GetLine(0));
    EXPECT_TRUE(t._GetLineColors(0).empty());
    EXPECT_EQ(0, t.m_nMaxLineLen);
}

TEST(ScriptText, DefaultColorizerIsTheBaseOne)
{
    // Until a colorizer is set, words are coloured but comments are not.
    CScriptText t;
    AddKey(*t.GetColorizer(), L"kw");
    t._InsertLine(CString(L"/* kw"), 0, 1);
    EXPECT_EQ(Runs({{3, D}, {2, COLOR_KEYWORD}}), t._GetLineColors(0));
    EXPECT_EQ(0, t.IsCommentOut(0, 0));
}

TEST_F(ScriptTextTest, InsertAndRemoveKeepTablesInStep)
{
    t._InsertLine(CString(L"/* a"), 0, 1);
    // Inserting does not clear the in-comment flag: the next line continues it.
    t._InsertLine(CString(L"bb"), 1, 1);
    EXPECT_EQ(Same(2, OPEN), At(1));
    EXPECT_EQ(4, t.m_nMaxLineLen);
    // Uncoloured insert: empty vector, maximum length not refreshed.
    t._InsertLine(CString(L"longer line"), 0, 0);
    EXPECT_TRUE(At(0).empty());
    EXPECT_EQ(4, t.m_nMaxLineLen);
    EXPECT_EQ(11, t.FindMaxLineLen());
    // An index past the end appends without leaving the tables out of step.
    t._InsertLine(CString(L"tail"), 9, 1);
    ASSERT_EQ(4, t._GetSize());
    EXPECT_EQ(CString(L"tail"), t._GetLine(3));
    EXPECT_EQ(4u, t.m_LineColors.size());

    t._RemoveLine(0);
    EXPECT_EQ(4, t.m_nMaxLineLen);
    EXPECT_EQ(3u, t.m_LineColors.size());
    EXPECT_EQ(CString(L"/* a"), t._GetLine(0));
    EXPECT_EQ(Same(2, OPEN), At(1)); // neighbours are not recoloured
    ExpectInvalidArg([&] { t._RemoveLine(3); });
    ExpectInvalidArg([&] { t._InsertLine(CString(L"x"), -1, 1); });
    EXPECT_EQ(3, t._GetSize());
}

TEST_F(ScriptTextTest, SetLineRecoloursAllOnlyBelowLineZero)
{
    Load({L"a", L"bb", L"cc", L"dd", L"ee"});
    // Line 0 never takes the delimiter branch: it is coloured alone.
    EXPECT_EQ(0, t._SetLine(CString(L"/* x"), 0));
    EXPECT_EQ(1u, rc.seen.size());
    EXPECT_EQ(Same(4, OPEN), At(0));
    EXPECT_EQ(Same(2, D), At(1));
    // Any other line holding a delimiter recolours the whole text.
    rc.seen.clear();
    EXPECT_EQ(1, t._SetLine(CString(L"/* y"), 3));
    EXPECT_EQ(5u, rc.seen.size());
    EXPECT_EQ(Same(2, OPEN), At(1));
    EXPECT_EQ(Same(2, OPEN), At(4));
    EXPECT_EQ(1, t._SetLine(CString(L"c */"), 2));
    EXPECT_EQ(Same(4, SHUT), At(2));
    EXPECT_EQ(Same(4, OPEN), At(3));
    EXPECT_EQ(Same(2, OPEN), At(4));
    EXPECT_EQ(4, t.m_nMaxLineLen);
}

TEST_F(ScriptTextTest, SetLineUnderAnOpenCommentSkipsTheColorizer)
{
    Load({L"/* a", L"bb", L"cc", L"dd"});
    rc.m_bInComment = true;
    // Line 1 follows an open comment: the whole text becomes open comment,
    // even a "//" part, and the colorizer is not asked.
    EXPECT_EQ(0, t._SetLine(CString(L"ab//c"), 1));
    EXPECT_TRUE(rc.seen.empty());
    EXPECT_EQ(Same(5, OPEN), At(1));
    EXPECT_EQ(5, t.m_nMaxLineLen);
    EXPECT_EQ(Same(2, OPEN), At(2)); // untouched
    // An empty text goes to the colorizer and ends with an empty vector.
    EXPECT_EQ(0, t._SetLine(CString(), 1));
    EXPECT_TRUE(At(1).empty());
    EXPECT_EQ(4, t.m_nMaxLineLen);
    // The line above is now empty, so line 2 is coloured normally, with
    // the in-comment flag cleared first.
    rc.m_bInComment = true;
    EXPECT_EQ(0, t._SetLine(CString(L"x // y"), 2));
    EXPECT_EQ(Runs({{2, D}, {4, SHUT}}), At(2));
    // Only the open-comment colour counts: a closed comment above does not.
    EXPECT_EQ(0, t._SetLine(CString(L"ee"), 3));
    EXPECT_EQ(Same(2, D), At(3));
    // Line 0 is coloured with a cleared flag too.
    rc.m_bInComment = true;
    EXPECT_EQ(0, t._SetLine(CString(L"bb"), 0));
    EXPECT_EQ(Same(2, D), At(0));
}

TEST(ScriptText, SetLineKeepsOldColoursOfUnmatchedWords)
{
    // The vector is not emptied before a single-line recolouring.
    CScriptText t;
    AddKey(*t.GetColorizer(), L"kw");
    t._InsertLine(CString(L"kw x"), 0, 1);
    t._SetLine(CString(L"zz y"), 0);
    EXPECT_EQ(Runs({{2, COLOR_KEYWORD}, {2, D}}), t._GetLineColors(0));
    t.FullUpdate(); // a full run empties first
    EXPECT_EQ(Same(4, D), t._GetLineColors(0));
}

TEST_F(ScriptTextTest, ResetTextColorBounds)
{
    Load({L"/* 0", L"l1", L"/* 2", L"l3", L"l4 */", L"l5", L"l6"});
    // Backward from line 0: nothing at all.
    t.ResetTextColor(0, 1);
    EXPECT_TRUE(rc.seen.empty());
    // Backward from 5 stops at the first "/*" line, inclusive.
    t.ResetTextColor(5, 1);
    ASSERT_EQ(4u, rc.seen.size());
    EXPECT_EQ(CString(L"l5"), rc.seen[0]);
    EXPECT_EQ(CString(L"/* 2"), rc.seen[3]);
    // With no "/*" above, the walk ends at line 1, never line 0.
    t._SetLine(CString(L"l2"), 2);
    rc.seen.clear();
    t.ResetTextColor(3, 1);
    ASSERT_EQ(3u, rc.seen.size());
    EXPECT_EQ(CString(L"l1"), rc.seen[2]);
    // Forward stops at the first "*/" line, inclusive, with a cleared flag.
    rc.seen.clear();
    rc.m_bInComment = true;
    t.ResetTextColor(1, 0);
    ASSERT_EQ(4u, rc.seen.size());
    EXPECT_EQ(CString(L"l4 */"), rc.seen[3]);
    EXPECT_EQ(Same(2, D), At(1));
    rc.seen.clear();
    t.ResetTextColor(5, 0); // runs to the end
    EXPECT_EQ(2u, rc.seen.size());
    rc.seen.clear();
    t.ResetTextColor(7, 0);
    EXPECT_TRUE(rc.seen.empty());
}

TEST_F(ScriptTextTest, AssignmentCopiesTextAndColoursOnly)
{
    Load({L"short"});
    CScriptText src;
    src._InsertLine(CString(L"// a much longer line"), 0, 1);
    src._InsertLine(CString(L"x"), 1, 1);
    t = src;
    EXPECT_EQ(&rc, t.GetColorizer());
    EXPECT_EQ(5, t.m_nMaxLineLen);
    ASSERT_EQ(2, t._GetSize());
    EXPECT_EQ(CString(L"x"), t._GetLine(1));
    EXPECT_EQ(src.m_LineColors, t.m_LineColors);
    t = t;
    EXPECT_EQ(2, t._GetSize());
}

TEST_F(ScriptTextTest, CommentQueriesAndBadIndices)
{
    Load({L"and // c", L""});
    AddBuiltinWords(rc);
    t.FullUpdate();
    EXPECT_EQ(0, t.IsCommentOut(0, 0)); // the operator word "and"
    EXPECT_EQ(1, t.IsCommentOut(4, 0));
    EXPECT_EQ(1, t.IsCommentOut(7, 0));
    ExpectSubscript([&] { t.IsCommentOut(8, 0); });
    ExpectSubscript([&] { t.IsCommentOut(0, 1); }); // empty line, empty vector
    ExpectInvalidArg([&] { t.IsCommentOut(0, 2); });
    ExpectInvalidArg([&] { t.IsCommentOut(0, -1); });
    ExpectInvalidArg([&] { t._GetLine(2); });
    ExpectInvalidArg([&] { t._SetLine(CString(L"x"), 2); });
    ExpectSubscript([&] { t._GetLineColors(2); });
    ExpectSubscript([&] { t.ResetTextColor(2, 1); });
    EXPECT_EQ(2, t._GetSize());
}

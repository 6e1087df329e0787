// Colour-per-character results of the base and sample colorizers.
#include "test_util.h"
#include "text/WordTable.h"

namespace {

const unsigned long K = COLOR_KEYWORD, OP = COLOR_OPERATOR, FN = COLOR_FUNCTION, STR = COLOR_STRING;
const unsigned long OPEN = COLOR_OPEN_COMMENT, SHUT = COLOR_CLOSED_COMMENT, D = COLOR_DEFAULT;

class SampleColorizerTest : public ::testing::Test {
protected:
    void SetUp() override { AddBuiltinWords(c); }
    Colors Color(const wchar_t* line)
    {
        Colors v(3, 0x123456); // stale contents must not leak into the result
        c.SetLineColors(CString(line), v);
        return v;
    }
    CSampleColorizer c;
};

} // namespace

TEST(ColorTable, ExactValues)
{
    // Comment tracking compares against these two values and nothing else.
    EXPECT_EQ(RGB(0, 160, 0), COLOR_OPEN_COMMENT);
    EXPECT_EQ(RGB(0, 161, 0), COLOR_CLOSED_COMMENT);
    EXPECT_EQ(RGB(120, 0, 255), COLOR_KEYWORD);
    EXPECT_EQ(RGB(0, 0, 220), COLOR_OPERATOR);
    EXPECT_EQ(RGB(180, 90, 0), COLOR_FUNCTION);
    EXPECT_EQ(RGB(210, 10, 0), COLOR_STRING);
    EXPECT_EQ(RGB(255, 0, 0), COLOR_MARKER);
    EXPECT_EQ(RGB(160, 40, 0), COLOR_LABEL);
}

TEST_F(SampleColorizerTest, WordsAndOperators)
{
    EXPECT_TRUE(Color(L"").empty());
    EXPECT_EQ(Runs({{2, D}, {3, OP}, {2, D}}), Color(L"x and y"));
    // Symbol operators are in the set but are never words.
    EXPECT_EQ(Same(6, D), Color(L"a <= b"));
    EXPECT_EQ(Runs({{4, D}, {3, FN}, {4, D}, {4, SHUT}}), Color(L"y = sin(x) // s"));
    // '_' and digits belong to the word, so none of these is "sin".
    EXPECT_EQ(Same(16, D), Color(L"my_sin sin2 _sin"));
    EXPECT_EQ(Runs({{3, FN}, {1, D}, {2, OP}, {1, D}, {3, OP}}), Color(L"log=or+xor"));
}

TEST_F(SampleColorizerTest, SetPriorityAndCaseSensitivity)
{
    AddKey(c, L"If");
    AddKey(c, L"max"); // also a function word: the keyword wins
    EXPECT_EQ(Runs({{2, D}, {1, D}, {2, K}, {1, D}, {3, K}}), Color(L"if If max"));
    AddKey(c, L"If"); // no duplicates
    EXPECT_EQ(2u, c.GetStringSet().size());
    EXPECT_EQ(14u, c.GetStringOpSet().size());
    EXPECT_EQ(25u, c.GetStringFuncSet().size());
    EXPECT_FALSE(c.m_bNoCase);

    // With the no-case flag words are stored and looked up upper-cased.
    CColorizer nc;
    nc.m_bNoCase = true;
    AddKey(nc, L"While");
    EXPECT_EQ(1u, nc.GetStringSet().count(CString(L"WHILE")));
    Colors v;
    nc.SetLineColors(CString(L"while"), v);
    EXPECT_EQ(Same(5, K), v);
}

TEST_F(SampleColorizerTest, BlockCommentsAcrossLines)
{
    EXPECT_EQ(Same(7, SHUT), Color(L"/* a */"));
    EXPECT_FALSE(c.m_bInComment);

    EXPECT_EQ(Runs({{2, D}, {4, OPEN}}), Color(L"x /* a"));
    EXPECT_TRUE(c.m_bInComment);
    EXPECT_EQ(Same(2, OPEN), Color(L"bb"));
    // Lines shorter than two characters skip the block scan entirely.
    EXPECT_EQ(Same(1, D), Color(L"z"));
    EXPECT_TRUE(c.m_bInComment);
    // Closing line: the comment part is closed, the rest gets word colours.
    EXPECT_EQ(Runs({{4, SHUT}, {1, D}, {3, FN}}), Color(L"c */ max"));
    EXPECT_FALSE(c.m_bInComment);
    EXPECT_EQ(Same(2, D), Color(L"bb"));
}

TEST_F(SampleColorizerTest, BlockCommentLoopQuirks)
{
    // Pair by pair: the searches resume two characters after each match.
    EXPECT_EQ(Runs({{7, SHUT}, {3, D}, {4, OPEN}}), Color(L"/* a */ b /* c"));
    EXPECT_TRUE(c.m_bInComment);

    // "*/" before "/*" on one line neither clears nor sets the flag.
    EXPECT_EQ(Runs({{2, SHUT}, {3, D}, {2, OPEN}}), Color(L"*/ x /*"));
    EXPECT_TRUE(c.m_bInComment);
    c.m_bInComment = false;
    EXPECT_EQ(Runs({{2, SHUT}, {3, D}, {2, OPEN}}), Color(L"*/ x /*"));
    EXPECT_FALSE(c.m_bInComment);
    EXPECT_EQ(Same(2, D), Color(L"bb"));

    // With the flag set, after a pair the open-comment fill starts at the
    // last open-search position (2), overwriting part of the closed pair.
    c.m_bInComment = true;
    EXPECT_EQ(Runs({{2, SHUT}, {8, OPEN}}), Color(L"/* a */ cc"));
    EXPECT_TRUE(c.m_bInComment);
}

TEST_F(SampleColorizerTest, LineCommentsAndStrings)
{
    // "//" wins over an open block comment and over a string.
    EXPECT_EQ(Runs({{2, D}, {3, OPEN}, {2, SHUT}}), Color(L"a /* //"));
    c.m_bInComment = false;
    EXPECT_EQ(Runs({{2, STR}, {4, SHUT}}), Color(L"\"a//b\""));
    // Only the first literal of the line, quotes included.
    EXPECT_EQ(Runs({{4, D}, {4, STR}, {5, D}}), Color(L"s = \"ab\" \"cd\""));
    // An unclosed quote colours nothing.
    EXPECT_EQ(Same(8, D), Color(L"s = \"abc"));
    // A set word inside the literal takes its word colour.
    EXPECT_EQ(Runs({{1, STR}, {3, FN}, {3, STR}}), Color(L"\"sin x\""));
    // A literal inside a comment stays comment.
    EXPECT_EQ(Same(9, SHUT), Color(L"// \"abc\" "));
}

TEST_F(SampleColorizerTest, MarkerLines)
{
    EXPECT_EQ(Same(2, K), Color(L"@-"));
    EXPECT_EQ(Same(2, K), Color(L"@+"));
    EXPECT_EQ(Same(3, COLOR_MARKER), Color(L"@-x"));
    EXPECT_EQ(Same(6, COLOR_MARKER), Color(L"@+// c"));
    EXPECT_EQ(Same(5, COLOR_LABEL), Color(L"@:abc"));
    // "@:" alone is too short for a label; other prefixes are ordinary text.
    EXPECT_EQ(Same(2, D), Color(L"@:"));
    EXPECT_EQ(Same(1, D), Color(L"@"));
    EXPECT_EQ(Runs({{2, D}, {3, FN}}), Color(L"@*sin"));
    EXPECT_EQ(Same(4, D), Color(L" @-x"));
}

TEST(BaseColorizer, KeepsColoursOfUnmatchedWordsAndSkipsComments)
{
    CColorizer c;
    AddKey(c, L"kw");
    // No comment or string handling in the base class.
    Colors v;
    c.SetLineColors(CString(L"/* kw \"s\""), v);
    EXPECT_EQ(Runs({{3, D}, {2, K}, {4, D}}), v);

    // Existing colours stay for words that match nothing; comment colours
    // are never overwritten; the vector is cut or grown to the line.
    v = {7, 7, OPEN, SHUT, 9, 9, 9, 9, 9};
    c.SetLineColors(CString(L"ab kwkw kw"), v);
    EXPECT_EQ(Colors({7, 7, OPEN, SHUT, 9, 9, 9, 9, K, K}), v);
    v = {OPEN, OPEN, 5, 5};
    c.SetLineColors(CString(L"kw"), v);
    EXPECT_EQ(Colors({OPEN, OPEN}), v);
    c.SetLineColors(CString(), v);
    EXPECT_TRUE(v.empty());
}

TEST(BaseColorizer, CopiesCarrySetsAndFlags)
{
    CSampleColorizer a;
    AddKey(a, L"k");
    AddOp(a, L"o");
    AddFunc(a, L"f");
    a.m_bInComment = true;
    a.m_bNoCase = true;
    CSampleColorizer b(a), d;
    d = a;
    for (CSampleColorizer* x : {&b, &d}) {
        EXPECT_TRUE(x->m_bInComment && x->m_bNoCase);
        EXPECT_TRUE(a.m_setKeys == x->m_setKeys && a.m_setOps == x->m_setOps && a.m_setFuncs == x->m_setFuncs);
    }
    // Dispatch through the base pointer reaches the sample colouring.
    CColorizer* p = &b;
    Colors v;
    p->SetLineColors(CString(L"// x"), v);
    EXPECT_EQ(Same(4, SHUT), v);
}

// Inside a colouring batch the library's colorizers read one table made
// from their word sets; the colours are those of asking the sets word by
// word: for random lines (words of the sets, other words, comments, stale
// colours that the base colouring keeps), for a word in two sets (the
// first set wins), an empty word in a set, both cases of m_bNoCase, sets
// changed inside the batch through the colorizer, and sets exchanged
// whole (as the lazy recolouring lends its sets).
TEST(ColourBatch, SameColoursAsAskingTheSets)
{
    uint32_t seed = 7;
    auto next = [&seed](uint32_t n) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) % n;
    };
    const wchar_t* const pieces[] = { L"if", L"and", L"sin", L"IF", L"Sin", L"x1", L"while", L" ", L"  ",
                                      L"/*", L"*/", L"//", L"\"", L"(", L"@-", L"_", L"r\x00E9sum\x00E9" };
    auto line = [&] {
        CString s;
        for (int k = (int)next(12); k > 0; --k)
            s += pieces[next(sizeof pieces / sizeof pieces[0])];
        return s;
    };
    for (int round = 0; round < 4; ++round) {
        const bool bSample = round % 2 == 0;
        CSampleColorizer sample;
        CColorizer base;
        CColorizer& c = bSample ? static_cast<CColorizer&>(sample) : base;
        c.m_bNoCase = round >= 2;
        AddBuiltinWords(c);
        c.InsertKey(const_cast<wchar_t*>(L"if"));
        c.InsertKey(const_cast<wchar_t*>(L"while"));
        c.InsertKey(const_cast<wchar_t*>(L"sin")); // also a function word: the keyword wins
        c.GetStringFuncSet().insert(CString());    // an empty word
        std::set<CString> other{ CString(L"x1"), CString(L"AND") };
        for (int i = 0; i < 300; ++i) {
            const CString text = line();
            Colors stale(text.GetLength(), i % 3 == 0 ? COLOR_OPEN_COMMENT : 0x123456);
            Colors asked = stale, batched = stale;
            const bool bFlag = next(2) != 0;
            c.m_bInComment = bFlag;
            c.SetLineColors(text, asked);
            const bool bAskedFlag = c.m_bInComment;
            // With the other sets, outside any batch.
            Colors otherAsked = stale;
            c.GetStringSet().swap(other);
            c.m_bInComment = bFlag;
            c.SetLineColors(text, otherAsked);
            c.GetStringSet().swap(other);
            {
                CColourBatch batch;
                c.m_bInComment = bFlag;
                c.SetLineColors(text, batched);
                ASSERT_EQ(asked, batched) << round << " " << i;
                ASSERT_EQ(bAskedFlag, c.m_bInComment);
                // Sets exchanged whole: the table follows the contents,
                // and the first table is found again.
                Colors otherBatched = stale;
                c.GetStringSet().swap(other);
                c.m_bInComment = bFlag;
                c.SetLineColors(text, otherBatched);
                c.GetStringSet().swap(other);
                ASSERT_EQ(otherAsked, otherBatched) << round << " " << i;
                batched = stale;
                c.m_bInComment = bFlag;
                c.SetLineColors(text, batched);
                ASSERT_EQ(asked, batched) << round << " " << i;
            }
            if (i % 50 == 49) {
                // A word added through the colorizer inside a batch counts at once.
                CColourBatch batch;
                Colors before(5, 0), after(5, 0);
                c.m_bInComment = false;
                c.SetLineColors(CString(L"x1 zz"), before);
                EXPECT_EQ(0u, before[3]);
                c.InsertKey(const_cast<wchar_t*>(L"zz"));
                c.m_bInComment = false;
                c.SetLineColors(CString(L"x1 zz"), after);
                EXPECT_EQ(COLOR_KEYWORD, after[3]);
            }
            c.GetStringSet().erase(CString(L"zz"));
            c.GetStringSet().erase(CString(L"ZZ"));
        }
    }
}

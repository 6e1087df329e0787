// Big edits through the block operations and the batching undo replay,
// against the same edits made one line at a time (tests/support/
// BlockEditModel.h): random removals of up to every line, pastes of up to
// thousands of lines, line changes, recolourings, undo and redo.
#include "tests/support/BlockEditModel.h"
#include "text/WordTable.h"
#include <gtest/gtest.h>
#include <random>

namespace {

std::vector<uint8_t> RandomBytes(std::mt19937& rng, size_t n)
{
    std::vector<uint8_t> v(n);
    for (auto& b : v)
        b = (uint8_t)rng();
    return v;
}

} // namespace

TEST(BlockEdit, BlocksAndTheirUndoMatchOneLineAtATime)
{
    std::mt19937 rng(7);
    for (int round = 0; round < 300; ++round) {
        const std::vector<uint8_t> bytes = RandomBytes(rng, 600);
        block_edit_model::Model model(1 + (int)(rng() % 200));
        std::string why;
        ASSERT_TRUE(model.Run(bytes.data(), bytes.size(), why)) << "round " << round << ": " << why;
    }
}

// A document of 100,000 lines: the runs are long, and whole-text removals
// and their undo go through the blocks. (The one-line-at-a-time side takes
// a removal of every line in time that grows with the square of the lines;
// instrumented for the address sanitizer, that is many minutes, so that
// build runs the same steps over 20,000 lines.)
TEST(BlockEdit, AHundredThousandLines)
{
#if defined(__SANITIZE_ADDRESS__)
    const int kLines = 20000;
#else
    const int kLines = 100000;
#endif
    std::mt19937 rng(11);
    const std::vector<uint8_t> bytes = RandomBytes(rng, 2000);
    block_edit_model::Model model(kLines);
    std::string why;
    ASSERT_TRUE(model.Run(bytes.data(), bytes.size(), why)) << why;
}

// The replay batches only runs that a line-at-a-time replay would apply in
// place: removals undone at one line or at ascending lines, inserts undone
// at one line or at descending lines. Runs that go past the end of the
// text are replayed one entry at a time and clamp as they always did.
TEST(BlockEdit, RunsThatDoNotFitAreReplayedOneByOne)
{
    CSampleColorizer ca, cb;
    CScriptText a, b;
    a.SetColorizer(&ca);
    b.SetColorizer(&cb);
    for (int i = 0; i < 3; ++i) {
        a._InsertLine(CString(L'a', i + 1), i, 1);
        b._InsertLine(CString(L'a', i + 1), i, 1);
    }
    // Removals recorded at lines far past the end, and inserts at lines
    // that do not exist.
    CUndoFrame f;
    for (int i = 0; i < 4; ++i)
        f.AddEntry(UndoEntry{CString(L'r', i + 1), LineRemoved, 9, CPoint(i, 0), CPoint()});
    for (int i = 0; i < 3; ++i)
        f.AddEntry(UndoEntry{CString(), LineInserted, 20 - i, CPoint(), CPoint()});
    block_edit_model::Target ta{a, true, {}, {}, {}}, tb{b, false, {}, {}, {}};
    CUndoFrame ra = ReplayUndoFrame(f, ta);
    CUndoFrame rb = block_edit_model::ReferenceReplay(f, tb);
    ASSERT_EQ(a._GetSize(), b._GetSize());
    for (int i = 0; i < a._GetSize(); ++i)
        EXPECT_EQ(a.LineRef(i), b.LineRef(i)) << i;
    EXPECT_TRUE(block_edit_model::SameEntries(ra, rb));
    EXPECT_EQ(tb.caret, ta.caret);
    EXPECT_EQ(tb.visits, ta.visits);
}

// Undoing the removal of every line puts the lines back at descending
// indexes: appended while an index lies past the end, then each at the line
// above the one before, so that they end one old line apart. The replay does
// that in two blocks; lines, colours as read, the reverse frame, caret and
// visits are those of one entry at a time, for every count of lines and
// lines left, and so is the redo.
TEST(BlockEdit, UndoOfRemovingEveryLine)
{
    const wchar_t* const pieces[] = { L"a", L"/*", L"*/", L"if", L"  ", L"//" };
    for (int n = 1; n <= 40; ++n)
        for (int left = 0; left <= 3; ++left) {
            CSampleColorizer ca, cb;
            CScriptText a, b;
            a.SetColorizer(&ca);
            b.SetColorizer(&cb);
            CUndoFrame f;
            for (int i = 0; i < n; ++i) {
                const CString line = CString(pieces[(i * 7 + n) % 6]) + pieces[(i * 3 + left) % 6];
                f.AddEntry(UndoEntry{ line, LineRemoved, i, CPoint(i, 1), CPoint(0, 2) });
            }
            // What is left when the step is undone: `left` lines.
            a._RemoveAll();
            b._RemoveAll();
            a._RemoveLine(0);
            b._RemoveLine(0);
            for (int i = 0; i < left; ++i) {
                a._InsertLine(CString(L'x', i + 1), i, 1);
                b._InsertLine(CString(L'x', i + 1), i, 1);
            }
            block_edit_model::Target ta{ a, true, {}, {}, {} }, tb{ b, false, {}, {}, {} };
            CUndoFrame ra = ReplayUndoFrame(f, ta);
            CUndoFrame rb = block_edit_model::ReferenceReplay(f, tb);
            auto same = [&](const char* what) {
                ASSERT_EQ(a._GetSize(), b._GetSize()) << what << n << "/" << left;
                for (int i = 0; i < a._GetSize(); ++i) {
                    ASSERT_EQ(a.LineRef(i), b.LineRef(i)) << what << n << "/" << left << " line " << i;
                    ASSERT_EQ(a._GetLineColors(i), b._GetLineColors(i)) << what << n << "/" << left << " line " << i;
                }
                EXPECT_EQ(a.FindMaxLineLen(), b.FindMaxLineLen());
            };
            same("undo ");
            EXPECT_TRUE(block_edit_model::SameEntries(ra, rb));
            EXPECT_EQ(tb.caret, ta.caret);
            EXPECT_EQ(tb.visits, ta.visits);
            // The redo removes every other line, one at a time at ascending
            // lines; with a recolouring outstanding (from the start of a
            // copy, or from a line read part of the way) it walks the text
            // as they go.
            std::vector<CScriptText> copies(4);
            for (int k = 0; k < 4; ++k) {
                copies[(size_t)k].SetColorizer(k % 2 ? &cb : &ca);
                copies[(size_t)k] = k % 2 ? b : a;
                copies[(size_t)k].FullUpdate();
                if (k >= 2 && copies[(size_t)k]._GetSize() > 0)
                    copies[(size_t)k]._GetLineColors(copies[(size_t)k]._GetSize() / 3);
            }
            ReplayUndoFrame(ra, ta);
            block_edit_model::ReferenceReplay(rb, tb);
            same("redo ");
            for (int mode = 1; mode < 3; ++mode) {
                CScriptText& a2 = copies[(size_t)(2 * mode - 2)];
                CScriptText& b2 = copies[(size_t)(2 * mode - 1)];
                block_edit_model::Target ta2{ a2, true, {}, {}, {} }, tb2{ b2, false, {}, {}, {} };
                CUndoFrame rra = ReplayUndoFrame(ra, ta2);
                CUndoFrame rrb = block_edit_model::ReferenceReplay(rb, tb2);
                ASSERT_EQ(a2._GetSize(), b2._GetSize()) << "redo " << mode << ": " << n << "/" << left;
                // The colours as they read, then after the next recolouring
                // (which starts where the removals left lines unclean).
                for (int pass = 0; pass < 2; ++pass) {
                    for (int i = 0; i < a2._GetSize(); ++i) {
                        ASSERT_EQ(a2.LineRef(i), b2.LineRef(i)) << "redo " << mode << ": " << n << "/" << left << " line " << i;
                        ASSERT_EQ(a2._GetLineColors(i), b2._GetLineColors(i))
                            << "redo " << mode << "." << pass << ": " << n << "/" << left << " line " << i;
                    }
                    a2.FullUpdate();
                    b2.FullUpdate();
                }
                EXPECT_EQ(a2.FindMaxLineLen(), b2.FindMaxLineLen());
                EXPECT_TRUE(block_edit_model::SameEntries(rra, rrb));
                EXPECT_EQ(tb2.caret, ta2.caret);
                EXPECT_EQ(tb2.visits, ta2.visits);
            }
        }
}

// Lines inserted in a block with their colours get the colours of the words
// the colorizer has then, also when the words changed since the last full
// recolouring and change again before the lines are read.
TEST(BlockEdit, InsertedColoursFollowTheWordsOfTheirInsert)
{
    CSampleColorizer ca, cb;
    CScriptText a, b;
    a.SetColorizer(&ca);
    b.SetColorizer(&cb);
    const CString text[] = { L"x = y;", L"/* x", L"x */ y", L"", L"y x" };
    for (int i = 0; i < 5; ++i) {
        a._InsertLine(text[i], i, 1);
        b._InsertLine(text[i], i, 1);
    }
    a.FullUpdate();
    b.FullUpdate();
    wchar_t x[] = L"x", y[] = L"y";
    // Inside one colouring batch (as a block operation runs): the words
    // are seen to be the recolouring's once, then change.
    CColourBatch batch;
    for (int round = 0; round < 2; ++round) {
        // round 0: a word added before the insert; round 1: after it.
        if (round == 0) {
            std::vector<CString> block(text, text + 2);
            a._InsertLines(block, 0, 1);
            for (int i = 0; i < 2; ++i)
                b._InsertLine(text[i], i, 1);
            ca.InsertKey(x);
            cb.InsertKey(x);
        }
        std::vector<CString> block(text, text + 5);
        a._InsertLines(block, 2, 1);
        for (int i = 0; i < 5; ++i)
            b._InsertLine(text[i], 2 + i, 1);
        if (round == 1) {
            ca.InsertKey(y);
            cb.InsertKey(y);
        }
        ASSERT_EQ(a._GetSize(), b._GetSize());
        for (int i = 0; i < a._GetSize(); ++i)
            EXPECT_EQ(a._GetLineColors(i), b._GetLineColors(i)) << "round " << round << ", line " << i;
        EXPECT_EQ(ca.m_bInComment, cb.m_bInComment);
    }
    // The keyword colour is there at all.
    EXPECT_EQ(COLOR_KEYWORD, b._GetLineColors(2)[0]);
}

// Where steps stop on a trace of statements as S-Lang's hooks report them:
// each statement is (depth, file), its load level found by CLoadLevels; a
// step starts at one and stops at the first later one its plan accepts.
#include "dap/Stepping.h"
#include <gtest/gtest.h>
#include <vector>

namespace {

struct Statement
{
    int depth;
    const char* file;
};

// main.sl: a top-level statement; a call of fact (3), recursive, each level
// with two statements before the next call; then a require whose file
// runs top-level code at depth 0; then main.sl again.
const std::vector<Statement> kTrace = {
    {0, "main.sl"},                    // 0  x = fact (3);
    {1, "main.sl"}, {1, "main.sl"},    // 1, 2  fact (3)
    {2, "main.sl"}, {2, "main.sl"},    // 3, 4  fact (2)
    {3, "main.sl"}, {3, "main.sl"},    // 5, 6  fact (1): returns
    {2, "main.sl"},                    // 7  back in fact (2): return
    {1, "main.sl"},                    // 8  back in fact (3): return
    {0, "main.sl"},                    // 9  require ("lib");
    {0, "lib.sl"}, {0, "lib.sl"},      // 10, 11  lib.sl's top level
    {1, "lib.sl"},                     // 12  a function lib.sl calls
    {0, "main.sl"},                    // 13  the statement after require
};

std::vector<int> Levels(const std::vector<Statement>& trace)
{
    CLoadLevels levels;
    std::vector<int> out;
    for (const Statement& s : trace)
        out.push_back(levels.OnStatement(s.depth, s.file));
    return out;
}

// The index where a step begun at statement `from` stops, -1 for none.
int StopOf(CStepPlan::Kind kind, size_t from)
{
    const std::vector<int> level = Levels(kTrace);
    CStepPlan plan;
    plan.Begin(kind, kTrace[from].depth, level[from]);
    for (size_t i = from + 1; i < kTrace.size(); ++i)
        if (plan.StopsAt(kTrace[i].depth, level[i]))
            return (int)i;
    return -1;
}

} // namespace

TEST(DapStepping, OverInOutByDepth)
{
    // Over a recursive call: the same function's next line at its own
    // depth, never a deeper call of the same function.
    EXPECT_EQ(StopOf(CStepPlan::OVER, 0), 9);
    EXPECT_EQ(StopOf(CStepPlan::OVER, 3), 4);
    EXPECT_EQ(StopOf(CStepPlan::OVER, 4), 7);  // fact (1) runs whole
    EXPECT_EQ(StopOf(CStepPlan::OVER, 6), 7);  // the return: the caller's line
    // Over a require: lib.sl's code at the same depth is run whole.
    EXPECT_EQ(StopOf(CStepPlan::OVER, 9), 13);
    // Into: the next statement wherever it is.
    EXPECT_EQ(StopOf(CStepPlan::IN, 0), 1);
    EXPECT_EQ(StopOf(CStepPlan::IN, 9), 10);
    // Out of the innermost fact: fact (2); out of fact (3): the top level.
    EXPECT_EQ(StopOf(CStepPlan::OUT, 5), 7);
    EXPECT_EQ(StopOf(CStepPlan::OUT, 1), 9);
    // Out of the top level: nothing shallower, the script runs to its end.
    EXPECT_EQ(StopOf(CStepPlan::OUT, 0), -1);
    // Over inside lib.sl's top level: its next line, then back in main.sl,
    // whose require has ended; out of lib.sl: main.sl too.
    EXPECT_EQ(StopOf(CStepPlan::OVER, 10), 11);
    EXPECT_EQ(StopOf(CStepPlan::OVER, 11), 13);
    EXPECT_EQ(StopOf(CStepPlan::OUT, 10), 13);
    EXPECT_EQ(Levels(kTrace), (std::vector<int>{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 1, 1}));
    // Files loading files: a.sl loads b.sl, which loads c.sl; both end.
    EXPECT_EQ(Levels({{0, "a"}, {0, "b"}, {0, "c"}, {0, "c"}, {0, "b"}, {0, "a"}, {0, "d"}}),
              (std::vector<int>{1, 2, 3, 3, 2, 1, 2}));
    // The hook must stay on where a step can stop.
    CStepPlan plan;
    plan.Begin(CStepPlan::OVER, 2, 1);
    EXPECT_TRUE(plan.MayStopAt(2));
    EXPECT_TRUE(plan.MayStopAt(1));
    EXPECT_FALSE(plan.MayStopAt(3));
    plan.Begin(CStepPlan::IN, 2, 1);
    EXPECT_TRUE(plan.MayStopAt(7));
    plan.Clear();
    EXPECT_FALSE(plan.MayStopAt(0));
    EXPECT_FALSE(plan.StopsAt(0, 1));
}

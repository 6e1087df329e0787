// Scripts on the real S-Lang library: a script thread held at breakpoints
// and steps by a controller thread (the test), the entry slots, the values
// read at each stop turned into the tip's texts, errors, and many cycles.
#include "engine/Resolver.h"
#include "engine/slang/SlangEngine.h"
#include <fstream>
#include <gtest/gtest.h>
#include <chrono>
#include <functional>
#include <slang.h>
#include <sstream>
#include <thread>

namespace {

const int kWaitMs = 5000; // a broken adapter fails the test instead of hanging it

// The tip's text for a hovered word, as the control makes it through an
// inspection interface, on the control's (zero-based) line.
class CEngineSource : public IVelmorValueSource
{
public:
    CEngineSource(IVelmorInspector& e, int nLine) : m_e(e), m_nLine(nLine) {}
    int FindValue(const std::string& name, long long index, CVelmorValue& value) override
    {
        return m_e.InspectVariable(m_nLine, name.c_str(), index, value) ? kFound : kNotFound;
    }

private:
    IVelmorInspector& m_e;
    int m_nLine;
};

// The word hovered on the script's line (one-based; 0: the line the script
// is held at).
std::string Tip(CSlangEngine& e, const char* word, int nLine = 0)
{
    char buf[1024];
    snprintf(buf, sizeof buf, "%s", word);
    CEngineSource source(e, (nLine ? nLine : e.Control().Stop_Line.load()) - 1);
    return VelmorResolveVariable(source, buf, sizeof buf) ? std::string(buf) : std::string("<not found>");
}

// Lines joined with line feeds: line n of the script is lines[n - 1].
std::string Script(std::initializer_list<const char*> lines)
{
    std::string s;
    for (const char* l : lines)
        s.append(l).append("\n");
    return s;
}

class SlangTest : public ::testing::Test
{
protected:
    CSlangEngine engine;
    CSlangRunControl& rc = engine.Control();

    void Break(std::initializer_list<int> lines)
    {
        std::vector<int> v(lines);
        rc.SetBreakLines(v.data(), (int)v.size());
    }
    // The lines the script stops at, releasing each stop with release (and
    // calling atStop first), until the run ends.
    template <class AtStop> std::vector<int> Stops(void (CSlangEngine::*release)(), AtStop atStop)
    {
        std::vector<int> stops;
        for (int line; (line = engine.WaitStopped(kWaitMs)) > 0 && stops.size() < 50;) {
            stops.push_back(line);
            atStop(line);
            (engine.*release)();
        }
        EXPECT_TRUE(engine.WaitFinished(kWaitMs));
        return stops;
    }
    std::vector<int> Stops(void (CSlangEngine::*release)())
    {
        return Stops(release, [](int) {});
    }
};

const std::string kAddLoop = Script({
    "define add(a, b)",               // 1
    "{",                              // 2
    "   variable s = a + b;",         // 3
    "   return s;",                   // 4
    "}",                              // 5
    "variable total = 0;",            // 6
    "variable k;",                    // 7
    "for (k = 0; k < 3; k++)",        // 8
    "   total = add(total, k);",      // 9
    "total++;",                       // 10
});

TEST_F(SlangTest, BreakpointsStopOnTheirLinesOnlyAndShowTheValuesThere)
{
    rc.Debug_Enabled = 1;
    Break({3, 10});
    ASSERT_TRUE(engine.Start(kAddLoop));
    std::vector<std::string> tips;
    auto stops = Stops(&CSlangEngine::Continue, [&](int line) {
        tips.push_back(Tip(engine, line == 3 ? "b" : "total"));
        EXPECT_EQ(line, rc.Stop_Line.load());
        EXPECT_EQ(line, rc.Last_Stop_Line.load());
    });
    EXPECT_EQ(std::vector<int>({3, 3, 3, 10}), stops);
    EXPECT_EQ(std::vector<std::string>({"b=0", "b=1", "b=2", "total=3"}), tips);
    EXPECT_EQ(0, engine.Result().nError);
}

TEST_F(SlangTest, NoStopsWithoutDebugOrAfterTheListEnds)
{
    Break({3});
    ASSERT_TRUE(engine.Start(kAddLoop)); // Debug_Enabled 0
    EXPECT_TRUE(Stops(&CSlangEngine::Continue).empty());

    rc.Debug_Enabled = 1;
    const int lines[] = {9, -1, 3}; // 3 lies after the end of the list
    for (int i = 0; i < 3; ++i)
        rc.Break_Lines[i] = lines[i];
    ASSERT_TRUE(engine.Start(kAddLoop));
    EXPECT_EQ(std::vector<int>({9, 9, 9}), Stops(&CSlangEngine::Continue));

    // Debug_Enabled 2: no stops until a call returns, then 1 again.
    rc.Debug_Enabled = 2;
    Break({9});
    ASSERT_TRUE(engine.Start(kAddLoop));
    EXPECT_EQ(std::vector<int>({9, 9}), Stops(&CSlangEngine::Continue));
    EXPECT_EQ(1, rc.Debug_Enabled.load());
}

// The state the host writes: a full list of 100 lines, debugging turned on
// while the script runs, and the last stop remembered across runs.
TEST_F(SlangTest, RunControlStateAsTheHostWritesIt)
{
    rc.Debug_Enabled = 1;
    std::vector<int> full(100);
    for (int i = 0; i < 99; ++i)
        full[i] = 1000 + i;
    full[99] = 10; // the hundredth entry still counts
    rc.SetBreakLines(full.data(), 100);
    EXPECT_EQ(10, rc.Break_Lines[99].load());
    ASSERT_TRUE(engine.Start(kAddLoop));
    EXPECT_EQ(std::vector<int>({10}), Stops(&CSlangEngine::Continue));
    // A stop is remembered across runs until a call returns: a script
    // without calls run again passes its breakpoint without stopping.
    Break({2});
    const char* flat = "variable a = 1;\na++;\n";
    ASSERT_TRUE(engine.Start(flat));
    EXPECT_EQ(std::vector<int>({2}), Stops(&CSlangEngine::Continue));
    ASSERT_TRUE(engine.Start(flat));
    EXPECT_TRUE(Stops(&CSlangEngine::Continue).empty());
    EXPECT_EQ(2, rc.Last_Stop_Line.load());

    // Started with debugging off, the script stops once it is turned on.
    rc.Debug_Enabled = 0;
    rc.Last_Stop_Line = -1;
    Break({3});
    const std::string spin = Script({
        "variable n = 0, t0 = _time ();",   // 1
        "while (_time () < t0 + 10)",       // 2
        "{ n++; }",                         // 3
        "n = -1;",                          // 4
    });
    ASSERT_TRUE(engine.Start(spin));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(-1, engine.WaitStopped(0));
    rc.Debug_Enabled = 1;
    ASSERT_EQ(3, engine.WaitStopped(kWaitMs));
    EXPECT_NE("n=-1", Tip(engine, "n"));
    engine.Abort();
    EXPECT_TRUE(engine.WaitFinished(kWaitMs));
}

TEST_F(SlangTest, OneLineStopsOnceUnlessACallReturnsBetweenItsStatements)
{
    rc.Debug_Enabled = 1;
    const std::string script = Script({
        "define inc(v) { return v + 1; }",       // 1
        "variable a = 0, b = 0;",                // 2
        "a = 1; b = 2; a = 3;",                  // 3: three statements, no call
        "a = inc(a); b = inc(b);",               // 4: a call returns between them
        "b = 7;",                                // 5
    });
    Break({3, 3, 4, 5});
    ASSERT_TRUE(engine.Start(script));
    std::vector<std::string> tips;
    auto stops = Stops(&CSlangEngine::Continue,
                       [&](int) { tips.push_back(Tip(engine, "a") + " " + Tip(engine, "b")); });
    EXPECT_EQ(std::vector<int>({3, 4, 4, 5}), stops);
    EXPECT_EQ(std::vector<std::string>({"a=0 b=0", "a=3 b=2", "a=4 b=2", "a=4 b=3"}), tips);

    // A loop on one line: its statements come back to the line without a
    // call, so it stops once.
    const char* loop = "variable i, n = 0;\nfor (i = 0; i < 3; i++) n++;\nn = -n;\n";
    Break({2});
    ASSERT_TRUE(engine.Start(loop));
    EXPECT_EQ(std::vector<int>({2}), Stops(&CSlangEngine::Continue));
    // Stepping, every entry of one of the loop's blocks (test, step, body)
    // is a new entry of the interpreter and forgets the last stop: the line
    // stops again and again, at least once per pass.
    rc.Step_Mode = 1;
    ASSERT_TRUE(engine.Start(loop));
    stops = Stops(&CSlangEngine::StepOver);
    ASSERT_GE(stops.size(), 5u);
    EXPECT_EQ(1, stops.front());
    EXPECT_EQ(3, stops.back());
    EXPECT_EQ(stops.size() - 2, (size_t)std::count(stops.begin(), stops.end(), 2));
}

const std::string kNested = Script({
    "define inner(v)",          // 1
    "{",                        // 2
    "   variable w = v * 2;",   // 3
    "   return w;",             // 4
    "}",                        // 5
    "define outer(v)",          // 6
    "{",                        // 7
    "   variable u = inner(v);",// 8
    "   u = u + 1;",            // 9
    "   return u;",             // 10
    "}",                        // 11
    "variable r = 0;",          // 12
    "r = outer(5);",            // 13
    "r = r + 100;",             // 14
});

TEST_F(SlangTest, SteppingOverAndIntoNestedCalls)
{
    rc.Debug_Enabled = 1;
    rc.Step_Mode = 1;
    ASSERT_TRUE(engine.Start(kNested));
    // Stepping over outer: no stops inside it until a call made from it
    // returns, which puts the stepping back to every line (line 9).
    EXPECT_EQ(std::vector<int>({12, 13, 9, 10, 14}), Stops(&CSlangEngine::StepOver));
    EXPECT_EQ(1, rc.Step_Mode.load());

    rc.Step_Mode = 1;
    ASSERT_TRUE(engine.Start(kNested));
    std::vector<std::string> tips;
    auto stops = Stops(&CSlangEngine::StepInto, [&](int line) {
        if (line == 4)
            tips.push_back(Tip(engine, "w") + " " + Tip(engine, "v"));
        if (line == 9)
            tips.push_back(Tip(engine, "u"));
        if (line == 14)
            tips.push_back(Tip(engine, "r"));
    });
    EXPECT_EQ(std::vector<int>({12, 13, 8, 3, 4, 9, 10, 14}), stops);
    EXPECT_EQ(std::vector<std::string>({"w=10 v=5", "u=10", "r=11"}), tips);

    // Into outer, then over inner.
    rc.Step_Mode = 1;
    ASSERT_TRUE(engine.Start(kNested));
    stops.clear();
    for (int line; (line = engine.WaitStopped(kWaitMs)) > 0;) {
        stops.push_back(line);
        line == 13 ? engine.StepInto() : engine.StepOver();
    }
    EXPECT_EQ(std::vector<int>({12, 13, 8, 9, 10, 14}), stops);
}

const std::string kSpin = Script({
    "define spin(limit)",          // 1
    "{",                           // 2
    "   variable n = 0;",          // 3
    "   while (n < limit)",        // 4
    "   {",                        // 5
    "      n++;",                  // 6
    "   }",                        // 7
    "   return n;",                // 8
    "}",                           // 9
    "variable r = 0;",             // 10
    "r = spin(20000);",            // 11
    "r = spin(2000000000);",       // 12
});

// Inside a function whose lines hold no breakpoint the statement hook is
// off after a while; what the controller does meanwhile still counts.
TEST_F(SlangTest, StopsInLongLoopsAfterTheControllerAsksForThem)
{
    rc.Debug_Enabled = 1;
    Break({10});
    ASSERT_TRUE(engine.Start(kSpin));
    ASSERT_EQ(10, engine.WaitStopped(kWaitMs));
    // Over the first spin, whose loop runs long enough to turn the hook
    // off: the next line of the caller stops.
    engine.StepOver();
    ASSERT_EQ(11, engine.WaitStopped(kWaitMs));
    engine.StepOver();
    ASSERT_EQ(12, engine.WaitStopped(kWaitMs));
    EXPECT_EQ("r=20000", Tip(engine, "r"));
    engine.Continue();
    EXPECT_EQ(-1, engine.WaitStopped(30)); // spinning, no breakpoint in spin

    Break({6}); // a breakpoint in the loop while it runs
    ASSERT_EQ(6, engine.WaitStopped(kWaitMs));
    CVelmorValue n;
    ASSERT_TRUE(engine.InspectVariable(5, "n", -1, n)); // the control's line 5 is line 6
    EXPECT_GT(n.nInt, 64);
    Break({});
    engine.Continue();
    EXPECT_EQ(-1, engine.WaitStopped(30));

    rc.Step_Mode = 1; // "pause": the next line of the loop stops
    const int line = engine.WaitStopped(kWaitMs);
    EXPECT_TRUE(line >= 4 && line <= 6) << line;
    engine.Abort();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(SL_UserBreak_Error, engine.Result().nError);
}

TEST_F(SlangTest, BreakpointsAfterLongLoopsInTheFunctionOrItsCallee)
{
    rc.Debug_Enabled = 1;
    Break({8});
    ASSERT_TRUE(engine.Start(kSpin.substr(0, kSpin.find("r = spin(2000000000);"))));
    EXPECT_EQ(std::vector<int>({8}),
              Stops(&CSlangEngine::Continue, [&](int) { EXPECT_EQ("n=20000", Tip(engine, "n")); }));

    // The callee's long loop turns the hook off; the caller's next
    // statements, straight after the return, still stop.
    const std::string caller = kSpin.substr(0, kSpin.find("variable r")) + Script({
        "define around()",            // 10
        "{",                          // 11
        "   variable a = spin(5000);",// 12
        "   a = a + 1;",              // 13
        "   return a;",               // 14
        "}",                          // 15
        "() = around();",             // 16
    });
    Break({13, 14});
    ASSERT_TRUE(engine.Start(caller));
    EXPECT_EQ(std::vector<int>({13, 14}), Stops(&CSlangEngine::Continue));
    Break({3}); // a function's last line is its own
    ASSERT_TRUE(engine.Start("define one(k) {\n variable i, s = 0; for (i = 0; i < k; i++) s += i;\n"
                             " return s; }\n() = one(1000);\n"));
    EXPECT_EQ(std::vector<int>({3}), Stops(&CSlangEngine::Continue));
}

TEST_F(SlangTest, EntrySlotsKeepTheFirstFunctionOfEachName)
{
    const std::string script = Script({
        "define main() { variable m = 1; }",        // 1
        "define OnTrigger() { variable t = 2; }",   // 2
        "main();",                                  // 3
        "implements(\"other\");",                   // 4
        "define main() { variable m = 3; }",        // 5: a second main
        "main();",                                  // 6
        "OnTrigger();",                             // 7
    });
    rc.Debug_Enabled = 1; // compiled with the statement hook: the entries can stop later
    ASSERT_TRUE(engine.Start(script));
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    ASSERT_EQ(0, engine.Result().nError) << engine.Result().strMessage;
    EXPECT_EQ("main", engine.EntryName(SLANG_ENTRY_MAIN));
    EXPECT_EQ("OnTrigger", engine.EntryName(SLANG_ENTRY_ONTRIGGER));
    EXPECT_EQ("", engine.EntryName(SLANG_ENTRY_ONCALCULATE));
    EXPECT_FALSE(engine.StartEntry(SLANG_ENTRY_ONCALCULATE));

    // The kept main is the first one: its line stops, the second's does not.
    Break({1, 5});
    ASSERT_TRUE(engine.StartEntry(SLANG_ENTRY_MAIN));
    EXPECT_EQ(std::vector<int>({1}), Stops(&CSlangEngine::Continue));
    Break({2});
    ASSERT_TRUE(engine.StartEntry(SLANG_ENTRY_ONTRIGGER));
    EXPECT_EQ(std::vector<int>({2}), Stops(&CSlangEngine::Continue));
    EXPECT_EQ(0, engine.Result().nError);
}

TEST_F(SlangTest, ValuesOfEveryKindReadAtAStop)
{
    const std::string script = Script({
        "variable g = 10;",                                            // 1
        "static variable st = 11;",                                    // 2
        "private variable pv = 12;",                                   // 3
        "define show(n)",                                              // 4
        "{",                                                           // 5
        "   variable i = 2, late;",                                    // 6
        "   variable ch = typecast(-5, Char_Type), uc = typecast(200, UChar_Type);", // 7
        "   variable sh = typecast(-300, Short_Type), us = typecast(65535, UShort_Type);", // 8
        "   variable ui = 4294967295U, lg = 5000000000L, ul = 7UL, ll = -9LL;", // 9
        "   variable f = 1.5f, d = 2.25, s = \"text\";",               // 10
        "   variable arr = [5, 6, 7], da = [1.5, 2.5], sa = [\"x\", \"yy\"];", // 11
        "   variable m = _reshape([1:6], [2, 3]);",                    // 12
        "   variable pos = struct { x = 3, y = 4 };",                  // 13
        "   variable box = struct { name = \"b\", at = pos, v = arr };", // 14
        "   variable ps = [pos, struct { x = 5, y = 6 }];",            // 15
        "   return n;",                                                // 16
        "}",                                                           // 17
        "() = show(1);",                                               // 18
    });
    rc.Debug_Enabled = 1;
    Break({16});
    ASSERT_TRUE(engine.Start(script));
    ASSERT_EQ(16, engine.WaitStopped(kWaitMs)) << engine.Result().strMessage;
    const std::pair<const char*, const char*> cases[] = {
        {"n", "n=1"}, {"i", "i=2"}, {"late", "late"},
        {"ch", "ch=-5"}, {"uc", "uc=200"}, {"sh", "sh=-300"}, {"us", "us=65535"},
        {"ui", "ui=-1"},          // unsigned through a signed 32-bit "%d", as the tip prints it
        {"lg", "lg=705032704"},   // 64-bit Long_Type: LONG, printed through 32 bits
        {"ul", "ul=7"}, {"ll", "ll=-9"},
        {"f", "f=1.500000"}, {"d", "d=2.250000"}, {"s", "s=\"text\""},
        {"arr", "arr[0]=5\n"}, {"arr[2]", "arr[2]=7\n"}, {"arr[i]", "arr[2]=7\n"}, {"arr[9]", "arr"},
        {"da[1]", "da[1]=2.500000\n"}, {"sa[1]", "sa[1]=yy\n"}, {"m[4]", "m[4]=5\n"},
        {"pos", "pos\n\tx=3\n\ty=4\n"}, {"pos.x", "pos.x=3"}, {"pos.y", "pos.y=4"},
        {"box.name", "box.name=\"b\""}, {"box.v", "box.v[0]=5\n"},
        {"ps[1]", "ps[1]=\n\tx=5\n\ty=6\n"},
        {"g", "g=10"}, {"st", "st=11"}, {"pv", "pv=12"},
        {"nosuch", "<not found>"}, {"show", "show"}, {"a b", "<not found>"}, // a function: found, bare
    };
    for (auto& c : cases)
        EXPECT_EQ(c.second, Tip(engine, c.first)) << c.first;
    CVelmorValue v;
    ASSERT_TRUE(engine.InspectVariable(15, "box", -1, v));
    ASSERT_EQ(3u, v.fields.size());
    EXPECT_EQ(VELMOR_T_STRUCT, v.fields[1].second.nType);
    EXPECT_EQ(4, v.fields[1].second.fields[1].second.nInt);
    ASSERT_TRUE(engine.InspectVariable(15, "lg", -1, v));
    EXPECT_EQ(5000000000LL, v.nInt);
    // S-Lang's types as the engine's type codes.
    const std::pair<const char*, int> codes[] = {
        {"i", VELMOR_T_INT}, {"ch", VELMOR_T_CHAR}, {"uc", VELMOR_T_UCHAR}, {"sh", VELMOR_T_SHORT},
        {"us", VELMOR_T_USHORT}, {"ui", VELMOR_T_UINT}, {"lg", VELMOR_T_LONG}, {"ll", VELMOR_T_LONG},
        {"ul", VELMOR_T_ULONG}, {"f", VELMOR_T_FLOAT}, {"d", VELMOR_T_DOUBLE}, {"s", VELMOR_T_STRING},
        {"arr", VELMOR_T_ARRAY}, {"pos", VELMOR_T_STRUCT}, {"late", 0},
    };
    for (auto& c : codes) {
        ASSERT_TRUE(engine.InspectVariable(15, c.first, -1, v)) << c.first;
        EXPECT_EQ(c.second, v.nType) << c.first;
    }
    ASSERT_TRUE(engine.InspectVariable(15, "sa", 1, v));
    EXPECT_EQ(VELMOR_T_STRING, v.nElemType);
    EXPECT_EQ(2, v.nLength);
    EXPECT_EQ(1, v.nFirst);
    ASSERT_EQ(1u, v.elements.size());
    engine.Continue();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    // Values are read only while the script is held.
    EXPECT_FALSE(engine.InspectVariable(15, "g", -1, v));
}

// Strings the script evaluates have lines of their own, which are not the
// script's: a breakpoint on line 1 stops once, at the script's line 1.
TEST_F(SlangTest, EvaluatedStringsDoNotStopAtTheScriptsLines)
{
    rc.Debug_Enabled = 1;
    Break({1});
    ASSERT_TRUE(engine.Start(Script({
        "variable x = 0;",        // 1
        "define f() { }",         // 2
        "f();",                   // 3
        "eval(\"x = 5;\");",       // 4
        "x++;",                   // 5
    })));
    EXPECT_EQ(std::vector<int>({1}), Stops(&CSlangEngine::Continue));
    EXPECT_EQ(0, engine.Result().nError) << engine.Result().strMessage;
}

// A structure whose eight fields all hold the structure itself, and a
// string of a megabyte: one lookup reads a bounded amount and answers at
// once; the tip's text is cut as always.
TEST_F(SlangTest, SelfHoldingStructuresAndHugeStringsAreReadBounded)
{
    const std::string script = Script({
        "variable s = @Struct_Type(array_map(String_Type, &sprintf, \"f%d\", [1:8]));", // 1
        "foreach (get_struct_field_names(s)) { variable nm = (); set_struct_field(s, nm, s); }", // 2
        "variable big = \"\";",                                                         // 3
        "big = strjoin(array_map(String_Type, &sprintf, \"%07d\", [1:150000]), \"\");",   // 4
        "s.f1 = 1;",                                                                    // 5
    });
    rc.Debug_Enabled = 1;
    Break({5});
    ASSERT_TRUE(engine.Start(script));
    ASSERT_EQ(5, engine.WaitStopped(kWaitMs)) << engine.Result().strMessage;
    const auto t0 = std::chrono::steady_clock::now();
    CVelmorValue v;
    ASSERT_TRUE(engine.InspectVariable(4, "s", -1, v));
    size_t n = 0;
    std::function<void(const CVelmorValue&)> count = [&](const CVelmorValue& x) {
        ++n;
        for (auto& f : x.fields)
            count(f.second);
    };
    count(v);
    EXPECT_LE(n, 4097u); // the budget of one lookup, spent depth first
    EXPECT_GE(v.fields.size(), 1u);
    EXPECT_EQ("s\n\tf1\n\tf1\n\tf1", Tip(engine, "s", 4).substr(0, 13));
    ASSERT_TRUE(engine.InspectVariable(4, "big", -1, v));
    EXPECT_EQ(1023u, v.str.size());
    EXPECT_EQ(1023u, Tip(engine, "big").size());
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2));
    EXPECT_TRUE(engine.IsStopped());
    engine.Continue();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(0, engine.Result().nError) << engine.Result().strMessage;
}

// The hovered line chooses whose locals are shown: the held function's, a
// caller's further up, or none (the global).
TEST_F(SlangTest, TheHoveredLineChoosesTheFunction)
{
    const std::string script = Script({
        "variable x = 1;",                      // 1
        "define inner(x)",                      // 2
        "{",                                    // 3
        "   x = x * 10;",                       // 4
        "   return x;",                         // 5
        "}",                                    // 6
        "define outer(x)",                      // 7
        "{",                                    // 8
        "   x = x + 1;",                        // 9
        "   return inner(x + 1);",              // 10
        "}",                                    // 11
        "define idle(x) { return x; }",         // 12
        "() = outer(x);",                       // 13
    });
    rc.Debug_Enabled = 1;
    Break({5});
    ASSERT_TRUE(engine.Start(script));
    ASSERT_EQ(5, engine.WaitStopped(kWaitMs));
    EXPECT_EQ("x=30", Tip(engine, "x", 5));
    EXPECT_EQ("x=30", Tip(engine, "x", 2));
    EXPECT_EQ("x=2", Tip(engine, "x", 9));
    EXPECT_EQ("x=1", Tip(engine, "x", 13)); // top level
    EXPECT_EQ("x=1", Tip(engine, "x", 12)); // a function not running
    engine.Continue();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
}

TEST_F(SlangTest, ErrorsReachTheHostAndTheNextScriptRuns)
{
    rc.Debug_Enabled = 1;
    Break({3});
    ASSERT_TRUE(engine.Start("variable a = [1, 2, 3];\nvariable x = 1;\nx = 2;\nx = a[10];\nx = 5;\n"));
    EXPECT_EQ(std::vector<int>({3}), Stops(&CSlangEngine::Continue));
    CSlangRunResult r = engine.Result();
    EXPECT_EQ(SL_Index_Error, r.nError);
    EXPECT_FALSE(r.strMessage.empty());

    ASSERT_TRUE(engine.Start("variable y = ;\n"));
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    r = engine.Result();
    EXPECT_EQ(SL_Syntax_Error, r.nError);
    EXPECT_NE(std::string::npos, r.strAllMessages.find(r.strMessage));

    ASSERT_TRUE(engine.Start("define f() { throw RunTimeError, \"no value here\"; }\nf();\n"));
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(SL_RunTime_Error, engine.Result().nError);
    EXPECT_NE(std::string::npos, engine.Result().strAllMessages.find("no value here"));

    // Usable again: stops, values, a clean result.
    Break({3});
    ASSERT_TRUE(engine.Start(kAddLoop));
    EXPECT_EQ(3, engine.WaitStopped(kWaitMs));
    EXPECT_EQ("a=0", Tip(engine, "a"));
    engine.Abort();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(SL_UserBreak_Error, engine.Result().nError);
    ASSERT_TRUE(engine.Start(kAddLoop));
    EXPECT_EQ(std::vector<int>({3, 3, 3}), Stops(&CSlangEngine::Continue));
    EXPECT_EQ(0, engine.Result().nError);

    // A script that never ends, compiled without the statement hook, ends
    // on Abort too.
    rc.Debug_Enabled = 0;
    ASSERT_TRUE(engine.Start("variable n = 0;\nwhile (1) n++;\n"));
    EXPECT_FALSE(engine.WaitFinished(50));
    engine.Abort();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(SL_UserBreak_Error, engine.Result().nError);
}

std::string ReadFile(const char* path)
{
    std::ifstream f(path);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

int LineOf(const std::string& text, const std::string& needle)
{
    const size_t at = text.find(needle);
    return at == std::string::npos ? -1 : 1 + (int)std::count(text.begin(), text.begin() + (long)at, '\n');
}

TEST_F(SlangTest, TheSlangLibrarysOwnSetFunctions)
{
    std::string text = ReadFile("/usr/share/slsh/setfuns.sl");
    ASSERT_FALSE(text.empty()) << "slsh's scripts are missing (Debian package slsh)";
    // What slsh would have loaded first (provide, and shift of
    // arrayfuns.sl), on the first line before its comment: the lines stay.
    text = "() = evalfile(\"/usr/share/slsh/require.sl\"); () = evalfile(\"/usr/share/slsh/arrayfuns.sl\");" + text;
    const int sorted = LineOf(text, "j = where (shift(a,-1)!=a);");
    const int call = LineOf(text, "return a[unique (a)];");
    ASSERT_GT(sorted, 0);
    ASSERT_GT(call, 0);
    text += "variable u = union([3, 1], [3, 2]);\nu = u + 0;\n";
    const int last = LineOf(text, "u = u + 0;");

    rc.Debug_Enabled = 1;
    Break({sorted, call});
    ASSERT_TRUE(engine.Start(text));
    std::vector<std::string> tips;
    auto stops = Stops(&CSlangEngine::Continue, [&](int line) {
        if (line == sorted)
            for (const char* w : {"len", "a[3]", "i[1]", "a[len]"})
                tips.push_back(Tip(engine, w));
    });
    EXPECT_EQ(std::vector<int>({call, sorted}), stops);
    // union passes [3, 1, 3, 2]; unique sorts it to [1, 2, 3, 3], i holds
    // the sorted order of the indices.
    EXPECT_EQ(std::vector<std::string>({"len=4", "a[3]=3\n", "i[1]=3\n", "a"}), tips);

    // Stepping over unique: no stops inside it until a call it makes
    // returns (pop_set_object), then every line again.
    const int afterPop = LineOf(text, "if (typeof(a) == List_Type)");
    Break({call});
    ASSERT_TRUE(engine.Start(text));
    ASSERT_EQ(call, engine.WaitStopped(kWaitMs));
    engine.StepOver();
    EXPECT_EQ(afterPop, engine.WaitStopped(kWaitMs));
    EXPECT_EQ("a[1]=1\n", Tip(engine, "a[1]"));
    // Run on to the last line and see union's result there.
    Break({last});
    engine.Continue();
    EXPECT_EQ(last, engine.WaitStopped(kWaitMs));
    EXPECT_EQ("u[2]=3\n", Tip(engine, "u[2]"));
    engine.Continue();
    ASSERT_TRUE(engine.WaitFinished(kWaitMs));
    EXPECT_EQ(0, engine.Result().nError) << engine.Result().strMessage;
}

TEST_F(SlangTest, TheSlangLibrarysOwnStructureFilter)
{
    std::string text = ReadFile("/usr/share/slsh/structfuns.sl");
    ASSERT_FALSE(text.empty()) << "slsh's scripts are missing (Debian package slsh)";
    text = "() = evalfile(\"/usr/share/slsh/require.sl\");" + text;
    const int set = LineOf(text, "set_struct_field (s, field, value[i]);");
    ASSERT_GT(set, 0);
    text += "variable t = struct { a = [10, 20, 30], b = \"keep\", c = [1.5, 2.5, 3.5] };\n"
            "struct_filter (t, [0, 2]);\n"
            "t.b = t.b;\n";
    const int last = LineOf(text, "t.b = t.b;");

    rc.Debug_Enabled = 1;
    Break({set, last});
    ASSERT_TRUE(engine.Start(text));
    std::vector<std::string> tips;
    auto stops = Stops(&CSlangEngine::Continue, [&](int line) {
        if (line == set)
            for (const char* w : {"field", "value[2]", "s.b", "i[1]"})
                tips.push_back(Tip(engine, w));
        else
            for (const char* w : {"t.a", "t"})
                tips.push_back(Tip(engine, w));
    });
    // The loop passes the line again for field c, but no call of a script
    // function has returned since the stop (get_struct_field is S-Lang's
    // own), so the line does not stop twice in a row.
    EXPECT_EQ(std::vector<int>({set, last}), stops);
    // After the filter: a and c keep elements 0 and 2, b is no array.
    EXPECT_EQ(std::vector<std::string>({"field=\"a\"", "value[2]=30\n", "s.b=\"keep\"", "i[1]=2\n", "t.a[0]=10\n",
                                        "t\n\ta[0]=10\n\n\tb=\"keep\"\n\tc[0]=1.500000\n\n"}),
              tips);
    EXPECT_EQ(0, engine.Result().nError) << engine.Result().strMessage;
}

TEST_F(SlangTest, AThousandRunStopResumeCycles)
{
    rc.Debug_Enabled = 1;
    Break({2});
    const std::string script = "variable s = struct { n = 0, t = \"x\" };\ns.n = 41;\ns.n++;\n";
    for (int i = 0; i < 1000; ++i) {
        // No call returns after the stop, so the host forgets it before the
        // next run, or line 2 would not stop again.
        rc.Last_Stop_Line = -1;
        ASSERT_TRUE(engine.Start(script));
        ASSERT_EQ(2, engine.WaitStopped(kWaitMs)) << "cycle " << i;
        ASSERT_EQ("s.n=0", Tip(engine, "s.n"));
        engine.Continue();
        ASSERT_TRUE(engine.WaitFinished(kWaitMs));
        ASSERT_EQ(0, engine.Result().nError);
    }
}

TEST(SlangEngineTest, OneEngineAtATime)
{
    CSlangEngine first;
    EXPECT_THROW(CSlangEngine second, std::logic_error);
}

} // namespace

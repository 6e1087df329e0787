// Native benchmark of the S-Lang adapter: what the run control costs a
// script that runs without stopping. A loop-heavy script runs with
// debugging on (the hook armed, breakpoints set on lines it never reaches),
// with debugging off (the adapter still compiles it with the statement
// hook, which then only reads Debug_Enabled), and, as the baseline, as
// plain S-Lang: the same script with _boseos_info cleared on its first
// line, so nothing of it is compiled with the hook; the figures are ratios
// of the medians.
//
// Usage: velmor_bench_slang [--runs N]   (scripts/run-bench shows its lines)
#include "BenchUtil.h"
#include "engine/slang/SlangEngine.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

// Two million passes of a small loop body, in a function called from a
// top-level loop; never() holds the breakpoints, or work()'s line 9, which
// is never reached either.
const char kScript[] = "define never()\n"                           // 1
                       "{\n"                                        // 2
                       "   return 0;\n"                             // 3
                       "}\n"                                        // 4
                       "define work(n)\n"                           // 5
                       "{\n"                                        // 6
                       "   variable s = 0, i;\n"                    // 7
                       "   if (n < 0)\n"                            // 8
                       "      return -1;\n"                         // 9
                       "   for (i = 0; i < n; i++)\n"               // 10
                       "   {\n"                                     // 11
                       "      s += i mod 7;\n"                      // 12
                       "      if (s > 1000) s -= 1000;\n"           // 13
                       "   }\n"                                     // 14
                       "   return s;\n"                             // 15
                       "}\n"                                        // 16
                       "variable total = 0, k;\n"                   // 17
                       "for (k = 0; k < 20; k++)\n"                 // 18
                       "   total += work(100000);\n";               // 19
const int kStatements = 20 * 100000 * 4; // statement starts S-Lang reports in the loop

// The baseline: the same lines, none compiled with the statement hook.
const std::string kPlainScript = std::string("_boseos_info = 0; ") + kScript;

enum Mode
{
    kPlain,         // plain S-Lang, no statement hook
    kDebugOff,      // debugging off: the hook runs and reads Debug_Enabled
    kRunControl,    // debugging on, breakpoints in never()
    kEveryStatement // debugging on, a breakpoint in work(): its hook stays on
};

double RunMs(CSlangEngine& engine, Mode mode)
{
    CSlangRunControl& rc = engine.Control();
    rc.Debug_Enabled = mode == kPlain || mode == kDebugOff ? 0 : 1;
    rc.Step_Mode = 0;
    const int lines[] = {2, 3, 4};
    const int inWork[] = {9};
    if (mode == kEveryStatement)
        rc.SetBreakLines(inWork, 1);
    else
        rc.SetBreakLines(lines, 3);
    const auto t0 = Clock::now();
    if (!engine.Start(mode == kPlain ? kPlainScript : kScript) || !engine.WaitFinished(120000) || engine.Result().nError) {
        std::fprintf(stderr, "the benchmark script failed: %s\n", engine.Result().strMessage.c_str());
        std::exit(1);
    }
    if (engine.IsStopped()) {
        std::fprintf(stderr, "the benchmark script stopped\n");
        std::exit(1);
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

} // namespace

int main(int argc, char** argv)
{
    int runs = 5;
    for (int i = 1; i < argc; ++i)
        if (!std::strcmp(argv[i], "--runs") && i + 1 < argc)
            runs = std::atoi(argv[++i]);
    CSlangEngine engine;
    RunMs(engine, kPlain); // warm up: S-Lang's tables, the helpers
    std::vector<double> plain, off, hooked, every;
    for (int i = 0; i < runs; ++i) {
        plain.push_back(RunMs(engine, kPlain));
        off.push_back(RunMs(engine, kDebugOff));
        hooked.push_back(RunMs(engine, kRunControl));
        every.push_back(RunMs(engine, kEveryStatement));
    }
    const double p = bench::Median(plain), o = bench::Median(off), h = bench::Median(hooked),
                 e = bench::Median(every);
    std::printf("loop-heavy script without the statement hook: %.1f ms (%s)\n", p, bench::List(plain).c_str());
    std::printf("with Debug_Enabled 0 (the hook reads it at every statement): %.1f ms (%s)\n", o,
                bench::List(off).c_str());
    std::printf("with run control, hook armed, no breakpoint hit: %.1f ms (%s)\n", h, bench::List(hooked).c_str());
    std::printf("  with a breakpoint among the loop's function's lines (not hit; the hook runs at every "
                "statement): %.1f ms, %.2f\xC3\x97 (%s)\n",
                e, e / p, bench::List(every).c_str());
    std::printf("  S-Lang's call of the statement hook: %.0f ns per statement (%d statements)\n",
                (e - p) * 1e6 / kStatements, kStatements);
    std::printf("script overhead with run control: %.2f\xC3\x97 (with Debug_Enabled 0: %.2f\xC3\x97)\n", h / p,
                o / p);
    return 0;
}

// Native benchmark of the portable text store: colouring throughput of a
// full recolouring with the control's colorizer (CSampleColorizer holding
// the built-in operator and function words), on the generated 1 MiB and
// 10 MiB scripts. FullUpdate colours lazily, as lines are read, and keeps
// the colours that cannot change; so each run switches between two
// colorizers with the same words (no line's colours stand) and reads
// every line's colours.
//
// Throughput is given two ways:
//   Mchar/s        characters coloured per second (millions)
//   MiB/s UTF-16   characters * 2 bytes, i.e. the text as the Windows build
//                  holds it (natively wchar_t is 4 bytes; we count 2 anyway
//                  so the figure compares with the Windows build's)
//
// Usage: velmor_bench_native [--runs N] [--sizes 1,10]   (sizes in MiB)
// Lines beginning with "RESULT" are read by scripts/run-bench.
#include "BenchUtil.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

namespace {

using namespace bench;
using Clock = std::chrono::steady_clock;

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// What the colorizer made of the text: a check that the generated script
// has the intended mix.
struct Composition
{
    size_t chars = 0, comment = 0, string = 0, opWords = 0, funcWords = 0;
    double CommentShare() const { return chars ? (double)comment / chars : 0; }
    double StringShare() const { return chars ? (double)string / chars : 0; }
};

Composition Measure(CScriptText& store)
{
    Composition c;
    for (int i = 0; i < (int)store._GetSize(); ++i) {
        const std::vector<unsigned long>& colors = store._GetLineColors(i);
        unsigned long prev = COLOR_DEFAULT;
        for (unsigned long col : colors) {
            c.comment += IsCommentColor(col);
            c.string += col == COLOR_STRING;
            // Adjacent words are always separated, so a run is one word.
            c.opWords += col == COLOR_OPERATOR && prev != COLOR_OPERATOR;
            c.funcWords += col == COLOR_FUNCTION && prev != COLOR_FUNCTION;
            prev = col;
        }
        c.chars += colors.size();
    }
    return c;
}

void RunSize(int mib, int runs)
{
    const std::wstring script = MakeScript((size_t)mib * kMiB);
    const size_t chars = script.size();
    const double mibUtf16 = chars * 2.0 / (1 << 20);
    char column[32];
    std::snprintf(column, sizeof column, "%d MiB", mib);

    CSampleColorizer colorizer, other;
    AddBuiltinWords(colorizer);
    AddBuiltinWords(other);
    CScriptText store;
    store.SetColorizer(&colorizer);
    FillStore(store, script);
    const long lines = store._GetSize() - 1; // not counting the empty line after the last '\n'

    // The first pass allocates every line's colour vector; later passes
    // reuse them, as a recolouring of a loaded text does.
    Clock::time_point t0 = Clock::now();
    store.FullUpdate();
    ReadAllColours(store);
    const double first = Ms(Clock::now() - t0);

    std::vector<double> times;
    for (int r = 0; r < runs; ++r) {
        store.SetColorizer(r % 2 ? &colorizer : &other);
        t0 = Clock::now();
        store.FullUpdate();
        ReadAllColours(store);
        times.push_back(Ms(Clock::now() - t0));
    }
    const double med = Median(times);
    const double best = *std::min_element(times.begin(), times.end());
    const Composition comp = Measure(store);

    std::printf("%s script: %zu chars, %ld lines (%.1f chars a line), checksum %08x\n", column, chars, lines,
                (double)(chars - (size_t)lines) / (double)lines, Checksum(script));
    std::printf("  coloured as comment %.1f%%, string %.1f%% of line characters; %zu operator words, "
                "%zu function words\n",
                100.0 * comp.CommentShare(), 100.0 * comp.StringShare(), comp.opWords, comp.funcWords);
    std::printf("  full recolouring: first %.1f ms; then %d runs: median %.1f ms, best %.1f ms\n", first, runs, med,
                best);
    std::printf("  throughput (median): %.1f Mchar/s = %.1f MiB/s of UTF-16 text (first pass: %.1f MiB/s)\n",
                chars / med / 1e3, mibUtf16 / (med / 1e3), mibUtf16 / (first / 1e3));
    std::fflush(stdout);

    std::printf("RESULT\tScript checksum (native build)\t%s\t%08x\n", column, Checksum(script));
    Result("Script characters", column, "%.0f", (double)chars);
    Result("Script lines", column, "%.0f", (double)lines);
    Result("Comment share, as coloured (%)", column, "%.1f", 100.0 * comp.CommentShare());
    Result("Native full recolouring, median ms", column, "%.1f", med);
    Result("Native full recolouring, first pass ms", column, "%.1f", first);
    Result("Native colouring, Mchar/s", column, "%.1f", chars / med / 1e3);
    Result("Native colouring, MiB/s (UTF-16, chars*2)", column, "%.1f", mibUtf16 / (med / 1e3));
}

} // namespace

int main(int argc, char** argv)
{
    int runs = 5;
    std::vector<int> sizes = { 1, 10 };
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--runs") && i + 1 < argc) {
            runs = std::max(1, std::atoi(argv[++i]));
        } else if (!std::strcmp(argv[i], "--sizes") && i + 1 < argc) {
            sizes.clear();
            for (const char* p = argv[++i]; *p;) {
                sizes.push_back(std::max(1, std::atoi(p)));
                p += std::strcspn(p, ",");
                if (*p)
                    ++p;
            }
        } else {
            std::fprintf(stderr, "usage: %s [--runs N] [--sizes 1,10]\n", argv[0]);
            return 2;
        }
    }
    std::printf("Native colouring: CScriptText::FullUpdate with every line read, CSampleColorizer with the built-in "
                "words\n");
    for (int mib : sizes)
        RunSize(mib, runs);
    return 0;
}

// Windows benchmark of the control, run under Wine. It is a host program:
// it links only the DLL's import library, creates the control in a
// top-level window the way a host does, and drives it through the exported
// interface.
//
// For one generated script (ScriptGen.h) it measures
//   - LoadText: into a newly created control (median of N), and over the
//     same text already loaded (a reload also tears the old text down),
//   - Recolorize, i.e. CScriptText::FullUpdate inside the DLL, which
//     colours lazily (only what is read), and a full recolouring: the
//     colorizer switched (so no line keeps its colours) and every line's
//     colours read,
//   - process memory per character after the load: private bytes and
//     working set (GetProcessMemoryInfo), after minus before, over the
//     script's characters; the load colours only what is read, so the
//     private bytes are also given once every line has been coloured,
// and with --paint, full repaints of a 1000x800 client area scrolled to the
// middle of the script (Liberation Mono 10 pt, line numbers on).
//
// Usage: velmor_bench.exe [--size MiB] [--runs N] [--paint] [--paints N] [--shot file.bmp]
// One size per process, so that the memory figures start from a heap that
// no earlier load has grown. Lines beginning with "RESULT" are read by
// scripts/run-bench.
#include "BenchUtil.h"
#include "WinBench.h"
#include "editor/VelmorCtrl.h"
#include "gdi/WindowCapture.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace bench;

// --- the measurements --------------------------------------------------------

struct Options
{
    int mib = 10;
    int runs = 5;
    bool paint = false;
    int paints = 50;
    const char* shot = nullptr;
};

void MeasureLoad(HWND host, const std::wstring& script, const Options& opt, const char* column)
{
    const double chars = (double)script.size();

    // Run 1 doubles as the memory measurement: a new control, counters read
    // just before and just after LoadText (before any paint of the text).
    std::vector<double> fresh;
    Memory before, after, coloured;
    {
        std::unique_ptr<CVelmor> ctl = CreateControl(host);
        before = ReadMemory();
        const double t0 = NowMs();
        ctl->LoadText(script.c_str());
        fresh.push_back(NowMs() - t0);
        after = ReadMemory();
        ReadAllColours(ctl->m_Text);
        coloured = ReadMemory();
    } // destroyed outside the timing
    PumpMessages();
    for (int r = 1; r < opt.runs; ++r) {
        std::unique_ptr<CVelmor> ctl = CreateControl(host);
        const double t0 = NowMs();
        ctl->LoadText(script.c_str());
        fresh.push_back(NowMs() - t0);
        ctl.reset();
        PumpMessages();
    }

    // Loading over a loaded text: Reset first records and frees every old line.
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->LoadText(script.c_str());
    PumpMessages();
    std::vector<double> reload, lazy, recolour;
    for (int r = 0; r < opt.runs; ++r) {
        const double t0 = NowMs();
        ctl->LoadText(script.c_str());
        reload.push_back(NowMs() - t0);
        PumpMessages();
    }
    ReadAllColours(ctl->m_Text);
    for (int r = 0; r < opt.runs; ++r) {
        const double t0 = NowMs();
        ctl->Recolorize();
        lazy.push_back(NowMs() - t0);
        PumpMessages();
    }
    // Two colorizers with the same words, in turn: each switch leaves no
    // line's colours standing, and every line's colours are read.
    CSampleColorizer other;
    for (int r = 0; r < opt.runs; ++r) {
        const double t0 = NowMs();
        ctl->SetColorizer(r % 2 ? nullptr : &other);
        ReadAllColours(ctl->m_Text);
        recolour.push_back(NowMs() - t0);
        PumpMessages();
    }
    ctl->SetColorizer(nullptr);
    ctl.reset();
    PumpMessages();

    // The text store alone, filled with the same lines and coloured: what
    // LoadText costs beyond this is its own character loop and undo records.
    std::vector<double> store;
    for (int r = 0; r < opt.runs; ++r) {
        CSampleColorizer colorizer;
        AddBuiltinWords(colorizer);
        std::unique_ptr<CScriptText> text(new CScriptText);
        text->SetColorizer(&colorizer);
        const double t0 = NowMs();
        FillStore(*text, script);
        text->FullUpdate();
        ReadAllColours(*text);
        store.push_back(NowMs() - t0);
    }

    const double MiB = 1 << 20;
    const double privPerChar = (after.priv - before.priv) / chars;
    const double committedPerChar = (after.committed - before.committed) / chars;
    const double wsPerChar = (after.ws - before.ws) / chars;
    const double peakPerChar = (after.peakWs - before.ws) / chars;
    const double mibUtf16 = chars * 2 / MiB;
    const double recolourMed = Median(recolour);
    std::printf("  LoadText into a new control:   median %6.1f ms  (runs: %s)\n", Median(fresh), List(fresh).c_str());
    std::printf("  LoadText over the loaded text: median %6.1f ms  (runs: %s)\n", Median(reload),
                List(reload).c_str());
    std::printf("  text store alone (CScriptText inserts + FullUpdate + every line read): median %.1f ms  (runs: %s)\n",
                Median(store), List(store).c_str());
    std::printf("  Recolorize of an unchanged text (lazy FullUpdate in the DLL): median %.2f ms  (runs: %s)\n",
                Median(lazy), List(lazy).c_str());
    std::printf("  full recolouring (colorizer switched, every line read): median %.1f ms = %.1f MiB/s UTF-16  "
                "(runs: %s)\n",
                recolourMed, mibUtf16 / (recolourMed / 1e3), List(recolour).c_str());
    std::printf("  memory before -> after the first LoadText, per script character:\n");
    std::printf("    %-19s %7.1f -> %7.1f MiB  %5.1f B/char\n",
                after.privIsPagefile ? "private (Pagefile)" : "PrivateUsage", before.priv / MiB, after.priv / MiB,
                privPerChar);
    std::printf("    %-19s %7.1f -> %7.1f MiB  %5.1f B/char\n", "committed private", before.committed / MiB,
                after.committed / MiB, committedPerChar);
    std::printf("    %-19s %7.1f -> %7.1f MiB  %5.1f B/char  (peak during the load: +%.1f B/char)\n", "working set",
                before.ws / MiB, after.ws / MiB, wsPerChar, peakPerChar);
    if (after.privIsPagefile)
        std::printf("    (PrivateUsage reads 0 under this Wine; private bytes are its PagefileUsage)\n");
    std::fflush(stdout);

    Result("Wine LoadText into new control, median ms", column, "%.1f", Median(fresh));
    Result("Wine LoadText over loaded text, median ms", column, "%.1f", Median(reload));
    Result("Wine text store alone (inserts + all coloured), median ms", column, "%.1f", Median(store));
    Result("Wine Recolorize of unchanged text, median ms", column, "%.2f", Median(lazy));
    Result("Wine full recolouring, median ms", column, "%.1f", recolourMed);
    Result("Wine colouring, MiB/s (UTF-16, chars*2)", column, "%.1f", mibUtf16 / (recolourMed / 1e3));
    const double colouredPerChar = (coloured.priv - before.priv) / chars;
    std::printf("  memory after load %s: %.2f B/char; once every line is coloured %.2f B/char\n", column,
                privPerChar, colouredPerChar);
    Result("Memory after load, private bytes B/char", column, "%.2f", privPerChar);
    Result("Memory with every line coloured, private B/char", column, "%.2f", colouredPerChar);
    Result("Memory after load, working set B/char", column, "%.1f", wsPerChar);
}

void MeasurePaint(HWND host, const std::wstring& script, const Options& opt, const char* column)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(script.c_str());
    PumpMessages();
    // The view in the middle of the script: the first visible line is a
    // public member; the scroll box follows for a coherent picture.
    const int middle = ctl->GetLineCount() / 2;
    ctl->m_nFirstLine = middle;
    ctl->SetScrollPos(SB_VERT, middle, TRUE);
    PumpMessages();

    CRect client;
    ctl->GetClientRect(&client);
    const HWND hwnd = ctl->m_hWnd;
    auto paint = [&] {
        const double t0 = NowMs();
        InvalidateRect(hwnd, nullptr, TRUE);
        UpdateWindow(hwnd);
        return NowMs() - t0;
    };
    // Warm-up: glyph caches, the off-screen bitmap's first allocation.
    for (int i = 0; i < 5; ++i)
        paint();
    PumpMessages();
    std::vector<double> times;
    for (int i = 0; i < opt.paints; ++i) {
        times.push_back(paint());
        PumpMessages(); // nothing else queued may run inside the next timing
    }

    // A paint that draws nothing would be fast: check that text was drawn.
    int w = 0, h = 0;
    std::vector<DWORD> px;
    CaptureWindowPixels(hwnd, false, px, w, h);
    size_t ink = 0;
    for (DWORD p : px)
        ink += (p & 0xFFFFFF) != 0xFFFFFF && (p & 0xFFFFFF) != 0xDEDEDE;
    if (opt.shot)
        SavePixelsBmp(std::wstring(opt.shot, opt.shot + std::strlen(opt.shot)).c_str(), px, w, h);

    std::printf("  paint: client %ldx%ld, lines %d..%d of %d, line numbers on, %.1f%% of pixels inked\n",
                (long)client.Width(), (long)client.Height(), ctl->FirstVisibleLine() + 1,
                ctl->LastVisibleLine(), ctl->GetLineCount(), 100.0 * (double)ink / (double)px.size());
    std::printf("  InvalidateRect + UpdateWindow, %d paints: median %.2f ms, p99 %.2f ms, min %.2f ms, "
                "max %.2f ms\n",
                opt.paints, Median(times), Percentile(times, 99), *std::min_element(times.begin(), times.end()),
                *std::max_element(times.begin(), times.end()));
    if (opt.shot)
        std::printf("  picture: %s\n", opt.shot);
    if (ink == 0)
        std::printf("  WARNING: the control painted no text\n");
    std::fflush(stdout);

    Result("Wine full repaint 1000x800 mid-script, median ms", column, "%.2f", Median(times));
    Result("Wine full repaint 1000x800 mid-script, p99 ms", column, "%.2f", Percentile(times, 99));
    ctl.reset();
    PumpMessages();
}

} // namespace

int main(int argc, char** argv)
{
    Options opt;
    for (int i = 1; i < argc; ++i) {
        const bool more = i + 1 < argc;
        if (!std::strcmp(argv[i], "--size") && more)
            opt.mib = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--runs") && more)
            opt.runs = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--paint"))
            opt.paint = true;
        else if (!std::strcmp(argv[i], "--paints") && more)
            opt.paints = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--shot") && more)
            opt.shot = argv[++i];
        else {
            std::fprintf(stderr, "usage: velmor_bench [--size MiB] [--runs N] [--paint] [--paints N] [--shot f.bmp]\n");
            return 2;
        }
    }
    char column[32];
    std::snprintf(column, sizeof column, "%d MiB", opt.mib);

    // Generated before anything is measured; its own memory is not counted.
    const std::wstring script = MakeScript((size_t)opt.mib * kMiB);
    long lines = 0;
    for (wchar_t c : script)
        lines += c == L'\n';
    std::printf("%s script under Wine (x86_64 build): %zu chars, %ld lines, checksum %08x\n", column, script.size(),
                lines, Checksum(script));
    char checksum[16];
    std::snprintf(checksum, sizeof checksum, "%08x", Checksum(script));
    std::printf("RESULT\tScript checksum (Windows build)\t%s\t%s\n", column, checksum);

    HWND host = CreateHost();
    PumpMessages();
    MeasureLoad(host, script, opt, column);
    if (opt.paint)
        MeasurePaint(host, script, opt, column);
    DestroyWindow(host);
    PumpMessages();
    return 0;
}

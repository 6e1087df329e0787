// Windows benchmark of big edits on the generated 10 MiB script, run under
// Wine: the operations a user does on large selections, each driven through
// the control's own messages and followed by its repaint (UpdateWindow).
// Every operation starts from the script freshly loaded (untimed).
//
// Lines beginning with "RESULT" are read by scripts/run-bench.
#include "BenchUtil.h"
#include "WinBench.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

namespace {

using namespace bench;

void SetClipboard(HWND owner, const std::wstring& text)
{
    if (!::OpenClipboard(owner))
        return;
    ::EmptyClipboard();
    HGLOBAL h = ::GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
    std::memcpy(::GlobalLock(h), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    ::GlobalUnlock(h);
    ::SetClipboardData(CF_UNICODETEXT, h);
    ::CloseClipboard();
}

struct Session
{
    HWND host;
    const std::wstring& script;
    std::unique_ptr<CVelmor> ctl;

    void Load()
    {
        ctl = CreateControl(host);
        ctl->LoadText(script.c_str());
        ctl->ClearUndoHistory();
        ::UpdateWindow(ctl->m_hWnd);
        PumpMessages();
        // The system is left a moment to finish with the control that was
        // destroyed and the load's paint (untimed): without it the next
        // step's figure varies by up to a half with work not its own.
        ::Sleep(100);
        PumpMessages();
    }
    HWND hwnd() { return ctl->m_hWnd; }
    void Command(UINT id) { ::SendMessageW(hwnd(), WM_COMMAND, id, 0); }
    // A step, then the repaint it asked for.
    double Time(const std::function<void()>& f)
    {
        return TimeIt([&] {
            f();
            ::UpdateWindow(hwnd());
        });
    }
    void SelectAll()
    {
        const int last = ctl->GetLineCount() - 1;
        ctl->SetSelection(0, 0, ctl->GetLine(last).GetLength(), last);
    }
    void SelectMiddleHalf()
    {
        const int n = ctl->GetLineCount();
        ctl->SetSelection(0, n / 4, 0, n * 3 / 4);
    }
};

// --only TEXT: only the operations whose label starts with TEXT (for
// looking into one under a profiler).
const char* g_only = nullptr;

bool Wanted(const char* label)
{
    return !g_only || !std::strncmp(label, g_only, std::strlen(g_only));
}

void Print(const char* label, double ms, const char* detail = "")
{
    std::printf("  %s %.1f ms%s\n", label, ms, detail);
    Result(label, "10 MiB", "%.1f", ms);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 2 && !std::strcmp(argv[1], "--only"))
        g_only = argv[2];
    const std::wstring script = MakeScript((size_t)10 * kMiB);
    HWND host = CreateHost();
    PumpMessages();
    Session s{host, script, nullptr};

    if (Wanted("select all") || Wanted("undo of select") || Wanted("redo of select")) {
    s.Load();
    s.SelectAll();
    Print("select all + Delete, 10 MiB:", s.Time([&] { ::SendMessageW(s.hwnd(), WM_KEYDOWN, VK_DELETE, 0); }));
    Print("undo of select all + Delete, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));
    Print("redo of select all + Delete, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_REDO); }));
    }

    if (Wanted("cut")) {
    s.Load();
    s.SelectMiddleHalf();
    Print("cut the middle half, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_CUT); }));
    }

    if (Wanted("paste") || Wanted("undo of that")) {
    s.Load();
    SetClipboard(host, MakeScript((size_t)5 * kMiB));
    s.SelectMiddleHalf();
    Print("paste 5 MiB over the middle half, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_PASTE); }));
    Print("undo of that paste, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));
    }

    if (Wanted("block") || Wanted("undo of block")) {
    s.Load();
    s.SelectAll();
    Print("block indent of every line, 10 MiB:", s.Time([&] { ::SendMessageW(s.hwnd(), WM_CHAR, L'\t', 1); }));
    Print("undo of block indent, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));
    }

    if (Wanted("comment")) {
    s.Load();
    s.SelectAll();
    Print("comment out every line, 10 MiB:", s.Time([&] { s.ctl->CommentOutSelect(); }));
    }

    if (Wanted("copy")) {
    s.Load();
    s.SelectAll();
    Print("copy all, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_COPY); }));
    }

    if (!Wanted("slowest"))
        return 0;
    // Random big edits: selections from one line to every line (sizes
    // spread evenly on a logarithmic scale), each deleted, typed over,
    // pasted over, indented, unindented, commented or uncommented, with
    // undo and redo between them; the slowest step with its repaint.
    s.Load();
    SetClipboard(host, MakeScript(64 * 1024));
    std::mt19937 rng(2024);
    double slowest = 0, total = 0;
    int slowestOp = -1;
    const int nLoaded = s.ctl->GetLineCount();
    int reloads = 0;
    for (int op = 0; op < 2000; ++op) {
        // Deletions shrink the text and pastes grow it: outside half to
        // one and a half times its lines it is loaded again (untimed), so
        // that every edit works on a text of about 10 MiB.
        if (s.ctl->GetLineCount() < nLoaded / 2 || s.ctl->GetLineCount() > nLoaded * 3 / 2) {
            s.Load();
            ++reloads;
        }
        const int n = s.ctl->GetLineCount();
        const int size = std::max(1, (int)std::pow((double)n, (double)(rng() % 1001) / 1000.0));
        const int first = (int)(rng() % (unsigned)std::max(1, n - size + 1));
        const int last = std::min(n - 1, first + size - 1);
        const unsigned what = rng() % 10;
        if (what < 8)
            s.ctl->SetSelection(0, first, s.ctl->GetLine(last).GetLength(), last);
        // VELMOR_PERF_STEP=N: under the profiler, only step N is recorded.
        if (const char* step = std::getenv("VELMOR_PERF_STEP"))
            g_bPerfWanted = op == std::atoi(step);
        const double ms = s.Time([&] {
            switch (what) {
            case 0: ::SendMessageW(s.hwnd(), WM_KEYDOWN, VK_DELETE, 0); break;
            case 1: ::SendMessageW(s.hwnd(), WM_CHAR, L'x', 1); break;
            case 2: s.Command(ID_EDIT_PASTE); break;
            case 3: ::SendMessageW(s.hwnd(), WM_CHAR, L'\t', 1); break;
            case 4: s.ctl->DecreaseIndent(); break;
            case 5: s.ctl->CommentOutSelect(); break;
            case 6: s.ctl->UncommentSelected(); break;
            case 7: s.Command(ID_EDIT_CUT); break;
            case 8: s.Command(ID_EDIT_UNDO); break;
            default: s.Command(ID_EDIT_REDO); break;
            }
        });
        total += ms;
        // Each step over the target is shown, with what it was.
        if (ms > 300)
            std::printf("    slow: step %d, kind %u over lines %d..%d of %d: %.0f ms\n", op, what, first, last, n, ms);
        if (ms > slowest) {
            slowest = ms;
            slowestOp = (int)what;
        }
    }
    char detail[128];
    std::snprintf(detail, sizeof detail, "  (kind %d; mean %.1f ms; %d reloads)", slowestOp, total / 2000, reloads);
    Print("slowest of 2,000 random big edits, 10 MiB:", slowest, detail);

    s.ctl.reset();
    PumpMessages();
    DestroyWindow(host);
    PumpMessages();
    return 0;
}

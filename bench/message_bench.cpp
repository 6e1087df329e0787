// The window-class interface's cost per call: one line read back through
// SendMessageW and through the direct-call function, on a loaded script
// of 10,000 lines. A host of Velmor.h alone.
#include "editor/Velmor.h"
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

double NowUs()
{
    static LARGE_INTEGER freq = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return f;
    }();
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return (double)t.QuadPart * 1e6 / (double)freq.QuadPart;
}

// Median over rounds of the time per call of `calls` calls of f.
template <class F> double PerCallUs(int rounds, int calls, F f)
{
    std::vector<double> per;
    for (int r = 0; r < rounds; ++r) {
        const double t0 = NowUs();
        for (int i = 0; i < calls; ++i)
            f(i);
        per.push_back((NowUs() - t0) / calls);
    }
    std::sort(per.begin(), per.end());
    return per[per.size() / 2];
}

} // namespace

int main()
{
    // A program that calls nothing else of velmor.dll must name it once,
    // or the linker leaves the DLL out and the class never gets registered.
    VelmorRegisterClasses(GetModuleHandleW(nullptr));
    HWND parent = CreateWindowExW(0, L"STATIC", L"bench", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 800, 600, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    HWND ctl = CreateWindowExW(0, VELMOR_CLASSNAME, L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL, 0, 0, 780, 580, parent,
                               (HMENU)1, GetModuleHandleW(nullptr), nullptr);
    if (!ctl) {
        std::fprintf(stderr, "message_bench: the control was not created\n");
        return 1;
    }
    const int kLines = 10000;
    std::wstring script;
    for (int i = 0; i < kLines; ++i)
        script += L"variable x" + std::to_wstring(i) + L" = struct { a = " + std::to_wstring(i) + L", b = \"s\" };\n";
    SendMessageW(ctl, WM_SETTEXT, 0, (LPARAM)script.c_str());

    wchar_t buf[256];
    VELMORTEXT text;
    VELMOR_BUFFER(text, buf, 256);
    long long sum = 0;
    const int kRounds = 9, kCalls = 20000;
    const double sent = PerCallUs(kRounds, kCalls, [&](int i) {
        sum += SendMessageW(ctl, VEM_GETLINE, (WPARAM)(i % kLines), (LPARAM)&text);
    });
    VELMORDIRECTFUNCTION fn = (VELMORDIRECTFUNCTION)SendMessageW(ctl, VEM_GETDIRECTFUNCTION, 0, 0);
    void* self = (void*)SendMessageW(ctl, VEM_GETDIRECTPOINTER, 0, 0);
    const double direct = PerCallUs(kRounds, kCalls, [&](int i) {
        sum += fn(self, VEM_GETLINE, (WPARAM)(i % kLines), (LPARAM)&text);
    });
    std::printf("window-class interface, %d-line script, one line of about 45 characters per call:\n", kLines);
    std::printf("  message round trip, get one line: %.3f µs per call  (SendMessageW VEM_GETLINE, median of %d x %d)\n",
                sent, kRounds, kCalls);
    std::printf("  direct call, get one line: %.3f µs per call  (VEM_GETDIRECTFUNCTION, median of %d x %d)\n", direct,
                kRounds, kCalls);
    // A typed character mid-script, with its VEN_CHANGE (which compares the
    // lines with the last report) and its repaint.
    SendMessageW(ctl, VEM_GOTOLINE, kLines / 2, 0);
    const double typed = PerCallUs(5, 100, [&](int) {
        SendMessageW(ctl, WM_CHAR, L'x', 1);
        UpdateWindow(ctl);
    });
    std::printf("  keystroke mid %d lines, with VEN_CHANGE and the repaint: %.1f µs  (median of 5 x 100)\n", kLines,
                typed);
    SendMessageW(ctl, VEM_SETEVENTMASK, VELMOR_EVENT_ALL & ~VELMOR_EVENT_CHANGE, 0);
    const double quiet = PerCallUs(5, 100, [&](int) {
        SendMessageW(ctl, WM_CHAR, L'x', 1);
        UpdateWindow(ctl);
    });
    std::printf("  the same keystroke without VEN_CHANGE: %.1f µs  (median of 5 x 100)\n", quiet);
    std::printf("  (checksum %lld)\n", sum);
    DestroyWindow(parent);
    return 0;
}

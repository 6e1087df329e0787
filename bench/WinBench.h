// Windows side of the benchmarks: a host window, the control created in it
// as a host does, message pumping, a clock and process memory counters.
#pragma once
#include "editor/VelmorCtrl.h"

#include <psapi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace bench {

const int kControlId = 1001;
const int kClientW = 1000, kClientH = 800;

// --- timing and statistics ---------------------------------------------------

inline double NowMs()
{
    static LARGE_INTEGER freq = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return f;
    }();
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return (double)t.QuadPart * 1000.0 / (double)freq.QuadPart;
}

// For profiling one timed step under Wine: with VELMOR_PERF_FIFO naming the
// control fifo of `perf record -D -1 --control=fifo:PATH`, recording runs
// only while a step is timed, and only while g_bPerfWanted is set (a
// benchmark clears it to leave some of its steps out).
inline bool g_bPerfWanted = true;

inline void PerfControl(const char* command)
{
    static const char* fifo = std::getenv("VELMOR_PERF_FIFO");
    if (!fifo || !g_bPerfWanted)
        return;
    const std::string path = std::string("Z:") + fifo;
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fputs(command, f);
        std::fclose(f);
        ::Sleep(50); // perf acts on the command
    }
}

// How long f takes, in ms.
template <class F> double TimeIt(F f)
{
    PerfControl("enable\n");
    const double t0 = NowMs();
    f();
    const double ms = NowMs() - t0;
    PerfControl("disable\n");
    return ms;
}

// --- process memory ----------------------------------------------------------

struct Memory
{
    double priv;      // private bytes (see ReadMemory)
    double committed; // committed private pages, summed with VirtualQuery
    double ws, peakWs;
    bool privIsPagefile;
};

// A cross-check that depends on no counter: every committed private region
// of the address space (heap segments and large blocks included).
inline double PrivateCommitted()
{
    double total = 0;
    MEMORY_BASIC_INFORMATION mbi;
    const char* p = nullptr;
    while (VirtualQuery(p, &mbi, sizeof mbi) == sizeof mbi) {
        if (mbi.State == MEM_COMMIT && mbi.Type == MEM_PRIVATE)
            total += (double)mbi.RegionSize;
        const char* next = (const char*)mbi.BaseAddress + mbi.RegionSize;
        if (next <= p)
            break;
        p = next;
    }
    return total;
}

inline Memory ReadMemory()
{
    PROCESS_MEMORY_COUNTERS_EX pmc = {};
    pmc.cb = sizeof pmc;
    GetProcessMemoryInfo(GetCurrentProcess(), (PROCESS_MEMORY_COUNTERS*)&pmc, sizeof pmc);
    // Wine 8 leaves PrivateUsage at 0 but fills PagefileUsage, which on
    // Windows is the same figure (the commit charge); on Wine it is the
    // resident anonymous memory of the process.
    const bool usePagefile = pmc.PrivateUsage == 0;
    return { (double)(usePagefile ? pmc.PagefileUsage : pmc.PrivateUsage), PrivateCommitted(),
             (double)pmc.WorkingSetSize, (double)pmc.PeakWorkingSetSize, usePagefile };
}

// --- host window -------------------------------------------------------------

inline LRESULT CALLBACK HostProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_ERASEBKGND) {
        RECT rc;
        GetClientRect(hwnd, &rc);
        FillRect((HDC)wParam, &rc, (HBRUSH)GetStockObject(WHITE_BRUSH));
        return 1;
    }
    // WM_COMMAND (the control's EN_CHANGE) needs no answer here.
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

inline HWND CreateHost()
{
    WNDCLASSW wc = {};
    wc.lpfnWndProc = HostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"VelmorBenchHost";
    wc.hCursor = LoadCursorW(nullptr, (LPCWSTR)IDC_ARROW);
    RegisterClassW(&wc);
    // Room for the control's frame and scroll bars around its client area;
    // the whole window stays on the 1280x1024 screen of the session.
    RECT rc = { 0, 0, kClientW + 60, kClientH + 60 };
    AdjustWindowRect(&rc, WS_OVERLAPPEDWINDOW, FALSE);
    HWND hwnd = CreateWindowExW(0, wc.lpszClassName, L"Velmor benchmark", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                rc.right - rc.left, rc.bottom - rc.top, nullptr, nullptr, wc.hInstance, nullptr);
    SetForegroundWindow(hwnd);
    return hwnd;
}

inline void PumpMessages()
{
    MSG msg;
    for (int round = 0; round < 3; ++round) {
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        Sleep(1);
    }
}

inline LOGFONTW LiberationMono10()
{
    LOGFONTW lf = {};
    HDC dc = GetDC(nullptr);
    lf.lfHeight = -MulDiv(100, GetDeviceCaps(dc, LOGPIXELSY), 720);
    ReleaseDC(nullptr, dc);
    lf.lfCharSet = DEFAULT_CHARSET;
    lstrcpyW(lf.lfFaceName, L"Liberation Mono");
    return lf;
}

// The control as a host creates it, framed, with its client area made
// exactly kClientW x kClientH (the rectangle given at creation includes
// the frame and scroll bars).
inline std::unique_ptr<CVelmor> CreateControl(HWND host)
{
    LOGFONTW lf = LiberationMono10();
    std::unique_ptr<CVelmor> ctl(
        new CVelmor(CWnd::FromHandle(host), CRect(10, 10, 10 + kClientW, 10 + kClientH), kControlId, 4, &lf, 0));
    CRect client, window;
    ctl->GetClientRect(&client);
    ctl->GetWindowRect(&window);
    ctl->SetWindowPos(nullptr, 0, 0, window.Width() + kClientW - client.Width(),
                      window.Height() + kClientH - client.Height(), SWP_NOMOVE | SWP_NOZORDER);
    PumpMessages();
    return ctl;
}

} // namespace bench

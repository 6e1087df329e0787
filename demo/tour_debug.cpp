// The tour's debugging screens: a real session with the debug adapter on
// samples\debug.sl (a breakpoint inside a function, the value tip over a
// structure and an array, a step out, the output pane, a runtime error),
// and an adapter that dies in the middle of a session.
#include "tourkit.h"

namespace tour {

namespace {

// Lets the window run until the session's answers are in: true when
// done() held within the time.
template <class F> bool WaitFor(F done, int ms = 8000)
{
    const DWORD start = GetTickCount();
    while (!done()) {
        if (GetTickCount() - start > (DWORD)ms)
            return false;
        RunQueue();
        Sleep(10);
    }
    return true;
}

bool StoppedAndFetched()
{
    const CDebugSession& s = g_app.debug;
    return s.GetState() == CDebugSession::STOPPED && !s.Frames().empty() && s.PendingCount() == 0;
}

// The tip's text over the word at (column, line), on one line.
std::wstring TipAt(CVelmor& ed, int nCol, int nLine)
{
    Mouse(ed, WM_MOUSEMOVE, 0, CellPoint(ed, nCol, nLine));
    Pump();
    CString tip;
    if (ed.m_wndValueTip.m_hWnd && IsWindowVisible(ed.m_wndValueTip.m_hWnd))
        ed.m_wndValueTip.GetText(tip, &ed, VELMOR_TIP_TOOL);
    std::wstring oneLine;
    for (wchar_t c : std::wstring(tip.GetString()))
        oneLine += c == L'\n' ? std::wstring(L" | ") : std::wstring(1, c);
    return oneLine;
}

std::wstring StackText()
{
    std::wstring s;
    HWND list = CallStackWindow();
    const int n = (int)SendMessageW(list, LB_GETCOUNT, 0, 0);
    for (int i = 0; i < n; ++i) {
        wchar_t item[256] = L"";
        if (SendMessageW(list, LB_GETTEXTLEN, i, 0) < 255)
            SendMessageW(list, LB_GETTEXT, i, (LPARAM)item);
        s += (i ? L" / " : L"") + std::wstring(item);
    }
    return s;
}

// A click on a frame of the call-stack pane.
void ChooseFrame(int i)
{
    HWND list = CallStackWindow();
    SendMessageW(list, LB_SETCURSEL, (WPARAM)i, 0);
    SendMessageW(g_app.hwnd, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(list), LBN_SELCHANGE), (LPARAM)list);
}

void SetBreakpointAt(CVelmor& ed, int nLine)
{
    ed.GoToXY(0, nLine);
    Choose(ID_DEBUG_TOGGLEBREAK);
}

} // namespace

// Stopped at a breakpoint in mean (called from report, from the top
// level); the tip over the array the function got; the caller's frame
// chosen, the tip over the structure there; a step out; the rest of the
// run with its output, up to the runtime error it ends with.
void DebugScreens(TourRun& run)
{
    if (!OpenFile(SamplePath(L"debug.sl"))) {
        run.Fail(L"cannot open samples\\debug.sl");
        return;
    }
    Pump();
    CVelmor& ed = *g_app.editor;
    const int inMean = LineOf(ed, L"variable total = sum (a);");
    const int inReport = LineOf(ed, L"variable m = mean (s.readings);");
    const int late = LineOf(ed, L"variable late");
    if (inMean < 0 || inReport < 0 || late < 0) {
        run.Fail(L"samples\\debug.sl lacks its functions");
        return;
    }
    SetBreakpointAt(ed, inMean);
    Choose(ID_DEBUG_START);
    const bool stopped = WaitFor(StoppedAndFetched);
    run.Log(L"19 F5 with a breakpoint on line %d: %ls; the arrow on line %d; call stack: %ls", inMean + 1,
            stopped ? L"stopped" : L"did not stop", ed.m_nBreakLine, StackText().c_str());
    run.Log(L"   output pane: %ls", OutputText().c_str());
    if (!stopped) {
        run.Fail(L"the session did not stop at the breakpoint");
        Choose(ID_DEBUG_STOP);
        WaitFor([] { return !g_app.debug.Active(); });
        return;
    }
    run.Check(g_app.debug.StopReason() == "breakpoint", L"the stop is the breakpoint's");
    run.Check(ed.m_nBreakLine == inMean + 1, L"the arrow is on the breakpoint's line");
    run.Check(inMean < (int)ed.m_arrBreaks.GetSize() && ed.m_arrBreaks[inMean], L"the adapter verified the breakpoint");
    run.Check(g_app.debug.Frames().size() >= 3 && SendMessageW(CallStackWindow(), LB_GETCOUNT, 0, 0) >= 3,
              L"the call-stack pane lists mean, report and the top level");
    run.Check(StackText().find(L"mean") == 0, L"the innermost frame, mean, comes first");
    const std::wstring arrayTip = TipAt(ed, ColumnOf(ed, inMean, L"(a)") + 1, inMean);
    run.Log(L"   the tip over a: %ls", arrayTip.c_str());
    run.Check(arrayTip.find(L"3.5") != std::wstring::npos, L"the tip shows the array's first element");
    run.Shot(L"19-debug-breakpoint.png");

    ChooseFrame(1);
    WaitFor(StoppedAndFetched);
    const std::wstring structTip = TipAt(ed, ColumnOf(ed, inReport, L"(s.") + 1, inReport);
    run.Log(L"20 frame 1 chosen: the arrow on line %d; the tip over s: %ls", ed.m_nBreakLine, structTip.c_str());
    run.Check(ed.m_nBreakLine == inReport + 1, L"the arrow moved to the call in report");
    run.Check(structTip.find(L"name=\"sensor A\"") != std::wstring::npos &&
                  structTip.find(L"latitude=51.48") != std::wstring::npos,
              L"the tip reads report's frame: the structure's fields");
    run.Check(structTip.find(L"readings[0]=3.5") != std::wstring::npos,
              L"and the first element of the array the structure holds");
    run.Shot(L"20-debug-tip-structure.png", ed.m_wndValueTip.m_hWnd);
    Mouse(ed, WM_MOUSEMOVE, 0, CPoint(2, 2));

    Choose(ID_DEBUG_STEPOUT);
    const bool out = WaitFor(StoppedAndFetched);
    run.Log(L"21 Step Out: %ls at line %d; call stack: %ls", out ? L"stopped" : L"did not stop", ed.m_nBreakLine,
            StackText().c_str());
    run.Check(out && g_app.debug.Frames().size() == 2 && StackText().find(L"report") == 0,
              L"back in report: two frames");
    // mean has returned: the arrow is past its call, on report's next line.
    run.Check(out && ed.m_nBreakLine == inReport + 2, L"the arrow is on the line after report's call of mean");
    run.Shot(L"21-debug-step-out.png");

    // On to the end: the output, then the error.
    Choose(ID_DEBUG_START);
    const bool error = WaitFor(StoppedAndFetched);
    const std::wstring output = OutputText();
    run.Log(L"22 Continue: %ls, reason %hs, at line %d; output pane: %ls", error ? L"stopped" : L"did not stop",
            g_app.debug.StopReason().c_str(), ed.m_nBreakLine, output.c_str());
    run.Check(output.find(L"sensor A: mean 4.60") != std::wstring::npos && output.find(L"4.6\r\n") != std::wstring::npos,
              L"the output pane shows the printed lines");
    run.Check(error && g_app.debug.StopReason() == "exception", L"the runtime error stops the session");
    run.Check(error && ed.m_nBreakLine == late + 1, L"the arrow is on the failing line");
    run.Check(output.find(L"Invalid Index") != std::wstring::npos, L"the pane shows the error's message");
    run.Shot(L"22-debug-runtime-error.png");

    Choose(ID_DEBUG_STOP);
    const bool ended = WaitFor([] { return !g_app.debug.Active(); });
    run.Log(L"   Stop Debugging: %ls", ended ? L"ended" : L"still active");
    run.Check(ended && ed.m_nBreakLine == -1, L"Stop ends the session and clears the arrow");
}

// The adapter dies under a stopped session (its script kills it): the
// session ends with a message, and the editor goes on working.
void AdapterDiesChecks(TourRun& run)
{
    const std::wstring path = run.Path(L"dies.sl");
    if (!WriteFileText(path, L"variable before = 1;\n() = kill (getpid (), 9);\nvariable after = 2;\n") ||
        !OpenFile(path)) {
        run.Fail(L"cannot write %ls", path.c_str());
        return;
    }
    CVelmor& ed = *g_app.editor;
    SetBreakpointAt(ed, 0);
    Choose(ID_DEBUG_START);
    const bool stopped = WaitFor(StoppedAndFetched);
    run.Check(stopped && ed.m_nBreakLine == 1, L"dies.sl: stopped on its first line");
    Choose(ID_DEBUG_START);
    const bool ended = WaitFor([] { return !g_app.debug.Active(); });
    const std::wstring output = OutputText();
    run.Log(L"Adapter killed mid-session: %ls; output pane: %ls", ended ? L"session ended" : L"still active",
            output.c_str());
    run.Check(ended, L"the session ends when the adapter dies");
    run.Check(output.find(L"ended unexpectedly") != std::wstring::npos, L"the output pane says the adapter ended");
    run.Check(ed.m_nBreakLine == -1 && IsWindow(g_app.hwnd), L"no arrow is left; the window is alive");
    const CString before = ed.GetLine(2);
    ed.GoToXY(0, 2);
    ed.SendMessage(WM_CHAR, L'x', 0);
    Pump();
    run.Check(ed.GetLine(2) == CString(L"x") + before, L"the editor still takes typing");
    Choose(ID_DEBUG_NEXT); // greyed with no session: nothing happens
    run.Check(!g_app.debug.Active(), L"a step without a session does nothing");
}

// Without an adapter to start the demo says so, and the editor stays as it
// was: no session, no arrow.
void NoAdapterChecks(TourRun& run)
{
    if (!OpenFile(SamplePath(L"debug.sl"))) {
        run.Fail(L"cannot open samples\\debug.sl");
        return;
    }
    wchar_t saved[MAX_PATH * 2] = L"";
    const bool had = GetEnvironmentVariableW(L"VELMOR_DAP", saved, MAX_PATH * 2) > 0;
    SetEnvironmentVariableW(L"VELMOR_DAP", L"Z:\\nowhere\\velmor-slang-dap");
    // The message box that says so too would wait for a click.
    const bool quiet = g_app.quiet;
    g_app.quiet = true;
    Choose(ID_DEBUG_START);
    Pump();
    g_app.quiet = quiet;
    SetEnvironmentVariableW(L"VELMOR_DAP", had ? saved : nullptr);
    const std::wstring output = OutputText();
    run.Log(L"No adapter: output pane: %ls", output.c_str());
    run.Check(!g_app.debug.Active(), L"no adapter: no session");
    run.Check(output.find(L"No debug adapter") != std::wstring::npos &&
                  output.find(L"nowhere") != std::wstring::npos,
              L"the output pane says which adapter could not be found");
    run.Check(g_app.editor->m_nBreakLine == -1 && g_app.editor->GetLineCount() > 20, L"the editor keeps its text");
}

// Pause stops a script that would run for ever, on the line it was on.
void PauseChecks(TourRun& run)
{
    const std::wstring path = run.Path(L"forever.sl");
    if (!WriteFileText(path, L"variable i = 0;\nforever {\n   i++;\n}\n") || !OpenFile(path)) {
        run.Fail(L"cannot write %ls", path.c_str());
        return;
    }
    CVelmor& ed = *g_app.editor;
    Choose(ID_DEBUG_START);
    const bool running = WaitFor([] { return g_app.debug.GetState() == CDebugSession::RUNNING; });
    Sleep(200);
    Choose(ID_DEBUG_PAUSE);
    const bool paused = WaitFor(StoppedAndFetched);
    const std::wstring tip = TipAt(ed, 3, 2); // "i" of "   i++;"
    run.Log(L"Pause: %ls, reason %hs, at line %d; the tip over i: %ls", paused ? L"stopped" : L"did not stop",
            g_app.debug.StopReason().c_str(), ed.m_nBreakLine, tip.c_str());
    run.Check(running && paused && g_app.debug.StopReason() == "pause", L"Pause stops the running script");
    run.Check(ed.m_nBreakLine >= 2 && ed.m_nBreakLine <= 4, L"the arrow is inside the loop");
    run.Check(tip.find(L"i=") == 0 && _wtoi(tip.c_str() + 2) > 0, L"the tip shows how far i has counted");
    Choose(ID_DEBUG_STOP);
    run.Check(WaitFor([] { return !g_app.debug.Active(); }), L"Stop ends the paused session");
}

} // namespace tour

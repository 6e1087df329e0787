// Scripts on the stock S-Lang 2.3 library, with run control (line
// breakpoints, stepping over and into calls, the entry functions "main",
// "OnTrigger" and "OnCalculate") and the inspection interface of the value
// tip (EngineInspector.h) answered from the live interpreter.
//
// Run control sits on S-Lang's own hooks: a script is compiled with
// _boseos_info = 3 (always, so that debugging can be turned on mid-run) and a
// C intrinsic is the statement handler (_set_bos_handler: file and line
// before each statement); S-Lang's C hooks SLang_Enter_Function and
// SLang_Exit_Function surround every call of a script function, and
// SLang_Interrupt runs at every entry of the inner interpreter (a function
// body, a loop's block). Lines are the script's one-based lines as S-Lang
// counts them (the script is compiled under a name of its own); statements
// of other files (a library the script loads with require or evalfile) and
// of strings the script evaluates have no line for the run control and
// never stop.
//
// S-Lang's call of the statement handler costs several times a simple
// statement, so the hook is turned off inside a function that has run a
// while (64 statements) when no stop is possible in it (debugging off, or
// none of its lines, read from the script's text, holds a breakpoint and it
// is not being stepped), and turned on again as soon
// as a stop becomes possible: on a call or a return, and at every entry of a
// block (each pass of a loop), where the controller's changes to the
// run-control state are seen. While it is off, Stop_Line is not reset at
// each statement.
//
// Threads. S-Lang is not thread-safe and keeps one interpreter per process,
// so there is one engine at a time, and every S-Lang call is made on the
// engine's own script thread: it initialises the library, compiles and runs
// the scripts and reads values. The host's thread (the controller) starts
// runs, writes the run-control state (atomics) and calls InspectVariable.
// A script stopped at a line waits in the statement handler, re-reading
// Stop_Line and Step_Mode every millisecond; while it waits it also serves
// the controller's inspection requests. InspectVariable hands its request to
// the waiting script thread and blocks until the answer; when the script is
// not stopped it returns false at once, so values are read only while the
// script is held.
//
// Building. This adapter is built natively (Linux), linked with the
// system's S-Lang (Debian's libslang2-dev); the Windows builds of the
// control do not include it, as no S-Lang for MinGW is packaged. A Windows
// host with its own S-Lang 2.3 build compiles engine/slang/*.cpp into its
// program against that build's slang.h and import library, links its
// thread runtime (the -posix MinGW compilers give std::thread), and hands
// the engine to the control with CVelmor::SetInspector; docs/api.md,
// "S-Lang adapter (native)".
#pragma once
#include "../EngineInspector.h"
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

// The run-control state, process-wide in spirit (one engine at a time).
// The controller writes it, the script thread reads it at every statement
// and function call; all start at 0.
struct CSlangRunControl
{
    static constexpr int kMaxBreakLines = 100;
    // 1: statements are checked for stops. 2: no stops until the current
    // call returns, then 1 again. 0: no stops. Every script is compiled
    // with the statement hook, so a running script sees a change at its
    // next statement (inside a function whose hook is off, at its next
    // block entry, call or return).
    std::atomic<unsigned char> Debug_Enabled{0};
    // 0: run to breakpoints; 1: stop at every new line; 2: inside a call
    // being stepped over (set by the engine).
    std::atomic<unsigned char> Step_Mode{0};
    // 1: stepping enters calls instead of stepping over them.
    std::atomic<unsigned char> Step_Into{0};
    // The line the script waits at, -1 while it runs; the controller
    // releases a waiting script by changing it.
    std::atomic<int> Stop_Line{0};
    // The line of the last stop: the same line does not stop twice in a
    // row until a call returns.
    std::atomic<int> Last_Stop_Line{0};
    // Breakpoint lines, ended by -1 (up to 100 are read).
    std::atomic<int> Break_Lines[kMaxBreakLines] = {};

    // Fills Break_Lines with up to 100 lines, ended by -1 when fewer.
    void SetBreakLines(const int* pLines, int nCount);
};

enum SlangEntry
{
    SLANG_ENTRY_MAIN,
    SLANG_ENTRY_ONTRIGGER,
    SLANG_ENTRY_ONCALCULATE,
    SLANG_ENTRY_COUNT
};

// How the last run ended: 0, or S-Lang's error number (SL_SyntaxError,
// SL_Index_Error...) with the messages S-Lang reported, the first one being
// the error's own text.
struct CSlangRunResult
{
    int nError = 0;
    std::string strMessage;
    std::string strAllMessages;
};

class CSlangEngine : public IVelmorInspector
{
public:
    // Starts the script thread and initialises S-Lang on it. Throws
    // std::logic_error when another engine exists.
    CSlangEngine();
    // Stops a running script (as Abort) and ends the script thread.
    ~CSlangEngine() override;
    CSlangEngine(const CSlangEngine&) = delete;
    CSlangEngine& operator=(const CSlangEngine&) = delete;

    CSlangRunControl& Control() { return m_rc; }

    // Compiles and runs the script text on the script thread (its top-level
    // statements run as they are compiled). False when a run is under way.
    bool Start(const std::string& strScript);
    // Calls the function kept in an entry slot, with no arguments. False
    // when the slot is empty or a run is under way.
    bool StartEntry(SlangEntry nEntry);
    // The function name an entry slot holds ("" when empty). A slot is
    // filled when the first call of a function of that name returns and is
    // never replaced.
    std::string EntryName(SlangEntry nEntry) const;

    // Waits until the run has finished; false on timeout.
    bool WaitFinished(int nTimeoutMs);
    // Waits until the script is held at a line; the line, or -1 when the
    // run finished first or the wait timed out.
    int WaitStopped(int nTimeoutMs);
    bool IsRunning() const;
    bool IsStopped() const;
    // Releases a held script: to the next breakpoint, to the next line, or
    // to the next line entering calls. Each sets the stepping state first
    // and then changes Stop_Line.
    void Continue();
    void StepOver();
    void StepInto();
    // Ends the run: the next statement (or the wait at a stop) raises
    // S-Lang's user-break error.
    void Abort();
    // The outcome of the last finished run.
    CSlangRunResult Result() const;

    // The inspection interface: the variable pszName as the held script
    // sees it at the control's zero-based line nLine. The locals are those
    // of the function whose definition holds the line, in its innermost
    // running call (none for a line outside every function, or a function
    // not running); then the static, private and global variables visible
    // from the function the script is held in. When the functions' lines are
    // not known (an entry's run, a text that did not read cleanly), the
    // locals are those of the function the script is held in. False when
    // the script is not held or the name is no variable.
    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override;

    // Hooks, called by S-Lang on the script thread.
    void OnStatement(const char* pszFile, int nLine);
    void OnFunctionEntry(const char* pszName);
    void OnFunctionExit();
    void OnInterpreterEntry();
    void OnErrorMessage(const char* pszMessage);

private:
    struct Job;
    struct Request;
    class CScriptState;

    void ThreadMain();
    void RunJob(const Job& job);
    bool Queue(const Job& job);
    void Park(int nLine, bool bStepping);
    void ServeRequest();
    bool MayStop() const;
    void SetStatementHook(bool bOn);
    void Release(unsigned char nStepMode, unsigned char nStepInto);

    CSlangRunControl m_rc;
    CScriptState* m_pState = nullptr; // touched by the script thread only

    mutable std::mutex m_mutex;
    std::condition_variable m_cv;
    Job* m_pJob = nullptr;
    Request* m_pRequest = nullptr;
    bool m_bQuit = false;
    bool m_bRunning = false;
    bool m_bStopped = false;
    int m_nStoppedLine = -1;
    CSlangRunResult m_result;
    std::string m_entryNames[SLANG_ENTRY_COUNT];
    std::atomic<bool> m_bAbort{false};
    std::thread m_thread;
};

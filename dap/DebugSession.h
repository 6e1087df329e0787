// One debug session of an S-Lang script under the Debug Adapter Protocol.
//
// S-Lang keeps one interpreter per process and is not thread-safe, so the
// session runs on one thread: it serves requests while no script runs, and
// runs the script itself; while the script runs, S-Lang's hooks (the
// statement hook, the function entry and exit hooks, the interpreter's
// periodic interrupt hook and the error hook) give the session control.
// There it serves requests that arrived (the channel's reader thread only
// queues them and raises a flag), decides whether to stop, and while
// stopped serves requests until one resumes the script. Values are read
// only then, so S-Lang is only ever entered from this thread.
//
// Stepping is by call depth (Stepping.h): the function hooks count the
// script's calls. Breakpoints stop only
// when a line is entered, not at each statement of a line.
//
// S-Lang's call of the statement hook costs several times a simple
// statement, so, as in the engine's in-process run control, the hook is
// removed inside a function that has run a while (64 statements) when no
// stop is possible in it: none of its lines (read from its file's text)
// holds a breakpoint, nothing is being stepped there, no pause or request
// is waiting. It is installed again on every call, on a return to a
// function that may stop, and at the entry of a block (each pass of a
// loop) as soon as a stop becomes possible.
#pragma once
#include "Breakpoints.h"
#include "DapProtocol.h"
#include "OutputCapture.h"
#include "Stepping.h"
#include "SlangInspect.h"
#include "engine/slang/SlangFunctionLines.h"
#include <map>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

class CDebugSession
{
public:
    explicit CDebugSession(CDapChannel& channel);
    ~CDebugSession();
    // Serves the client until it disconnects or the stream ends; the exit
    // code of the adapter.
    int Run();

    // Hooks, called by S-Lang (through C functions) on the session's thread.
    void OnStatement(const char* pszFile, int nLine);
    void OnFunctionEntry(const char* pszName);
    void OnFunctionExit(const char* pszName);
    void OnInterrupt();
    void OnError(const char* pszFile, int nLine);
    void OnErrorMessage(const char* pszMessage);
    void OnExit(int nCode);

private:
    enum class State { Initial, Configuring, Running, Stopped, Ended };

    // One variables reference: a value whose children are listed, and what
    // an assignment to a child writes.
    struct VarHandle
    {
        CSlangValue value;
        enum Kind { VALUE, LOCALS, GLOBALS } nKind = VALUE;
        int nDepth = 0; // GLOBALS: the frame whose namespace is written
        // The expression that gives the value ("" when none does), from
        // which its children's expressions are made (evaluateName).
        std::string strExpression;
        int nKind_ = 0; // SlangValueKind of the value
        bool bLinear = false; // an array of more than one dimension
    };
    struct Frame
    {
        CSlangFrame f;
        int nId;
    };

    // Requests.
    void Handle(const CDapIncoming& item);
    void Dispatch(const json& request);
    json Initialize(const json& args);
    void Launch(const json& args);
    json SetBreakpoints(const json& args);
    void SetExceptionBreakpoints(const json& args);
    json StackTrace(const json& args);
    json Scopes(const json& args);
    json Variables(const json& args);
    json Evaluate(const json& args);
    json SetVariable(const json& args);
    json ExceptionInfo(const json& args);
    void Resume(CStepPlan::Kind nStep);
    void Terminate();
    [[noreturn]] void Disconnect(const json& request);

    // The run.
    bool Initialise();
    void RunScript();
    void Poll();
    void Stop(const char* pszReason, const std::string& strText = std::string());
    void PostMortemStop();
    static std::string ExceptionText(const CSlangException& e);
    bool CheckBreakpoints(const char* pszFile, int nLine);
    bool Condition(const std::string& strText, bool& bValue, std::string& strError);
    std::string LogText(const std::string& strMessage);
    void EndRun(int nExitCode);
    void SendOutput(const char* pszCategory, const std::string& strText);

    // Values while stopped.
    void ForgetStop();
    int AddHandle(CSlangValue&& v, VarHandle::Kind nKind, int nDepth, const std::string& strExpression = std::string(),
                  const CSlangValueText* pText = nullptr);
    static std::string ChildExpression(const VarHandle& h, const std::string& strChild);
    const Frame* FrameById(int nId);
    bool FrameLocals(const Frame& f, CSlangValue& locals, std::string& strError);
    json VariableJson(const std::string& strName, const CSlangValueText& t, CSlangValue&& v,
                      const std::string& strExpression);
    bool EvaluateIn(int nFrameId, const std::string& strText, std::vector<CSlangValue>& results, std::string& strError);

    CDapChannel& m_channel;
    COutputCapture m_output;
    CBreakpointTable m_breakpoints;
    State m_state = State::Initial;
    std::atomic<bool> m_bPending{false};
    std::atomic<bool> m_bPause{false};
    bool m_bAbort = false;      // the run is being ended (terminate, exit)
    bool m_bLaunched = false, m_bConfigured = false;
    bool m_bLinesStartAt1 = true;
    int m_nInHelper = 0;        // hooks ignore the adapter's own S-Lang code
    bool m_bEvaluating = false; // an evaluation runs, bounded by m_helperDeadline
    std::chrono::steady_clock::time_point m_helperDeadline;

    // Launch arguments.
    std::string m_strProgram, m_strCwd;
    std::vector<std::string> m_args;
    bool m_bStopOnEntry = false;
    bool m_bEntryPending = false;

    // Exceptions.
    bool m_bBreakUncaught = true, m_bBreakAll = false;
    CSlangException m_exception;
    bool m_bHaveException = false;
    CSlangValue m_snapshot; // frames and locals when the last error was raised
    bool m_bPostMortem = false;
    std::string m_strErrorMessages;
    int m_nExitCode = -1; // set by the script's exit()

    // Run control.
    int m_nDepth = 0;
    CStepPlan m_step;
    CLoadLevels m_loadLevels;
    int m_nCurLevel = 1; // of the last statement
    const char* m_pLastFile = nullptr;
    int m_nLastLine = -1, m_nLastDepth = -1;
    const char* m_pCurFile = "";
    int m_nCurLine = 0;
    // The breakpoints of the file of the last statement: S-Lang passes the
    // same file name at each statement, so the lookup is made once per file
    // change.
    const char* m_pCacheFile = nullptr;
    std::string m_strCacheFile;
    unsigned m_nCacheGeneration = ~0u;
    std::vector<CBreakpoint>* m_pCacheBreakpoints = nullptr;

    // The script's calls, for the statement hook's removal.
    struct Call
    {
        const char* pszName;
        const char* pszFile = nullptr; // known at its first statement
        const std::vector<std::pair<int, int>>* spans = nullptr;
        bool bResolved = false;
        bool bMayStop = true;
        unsigned nGeneration = ~0u; // of the breakpoints bMayStop was found for
        int nStatements = 0;
    };
    bool MayStopHere();
    void SetStatementHook(bool bOn);
    std::vector<Call> m_calls;
    std::map<std::string, CSlangFunctionLines> m_functionLines; // by canonical path
    bool m_bHookOn = true;
    CSlangValue m_bosRef; // &__vdap_bos

    // While stopped.
    std::vector<Frame> m_frames;
    bool m_bFramesRead = false;
    std::vector<std::unique_ptr<VarHandle>> m_handles; // id = index + 1
};

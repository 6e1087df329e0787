// The session's requests outside the held script: the lifecycle
// (initialize, launch, configurationDone, terminate, disconnect),
// breakpoints, resuming, and the S-Lang environment the script runs in.
#include "DebugSession.h"
#include <cstring>
#include <fcntl.h>
#include <slang.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

CDebugSession* s_pSession = nullptr;

template <class F> FVOID_STAR Intrinsic(F f)
{
    return reinterpret_cast<FVOID_STAR>(reinterpret_cast<void (*)()>(f));
}

void BosHook(char* pszFile, int* pLine)
{
    s_pSession->OnStatement(pszFile, *pLine);
}

void ErrorRaisedHook(char* pszFile, int* pLine)
{
    s_pSession->OnError(pszFile, *pLine);
}

void EnterHook(char* pszName)
{
    s_pSession->OnFunctionEntry(pszName);
}

void ExitHook(char* pszName)
{
    s_pSession->OnFunctionExit(pszName);
}

void InterruptHook()
{
    s_pSession->OnInterrupt();
}

void ErrorMessageHook(char* pszMessage)
{
    s_pSession->OnErrorMessage(pszMessage);
}

// exit ([code]): ends the script's run, not the adapter.
void ExitIntrinsic()
{
    int code = 0;
    if (SLang_Num_Function_Args > 0 && SLang_pop_int(&code) == -1)
        return;
    s_pSession->OnExit(code);
}

// The S-Lang environment of slsh, the S-Lang shell: its load path (the
// library scripts and packages Debian's slsh installs), its startup file
// (which defines require's autoloads and more), so that a script runs here
// as it runs under slsh.
const char kSlshLibrary[] = "/usr/share/slsh";
const char kSlshStartup[] = "/etc/slsh.rc";

} // namespace

CDebugSession::CDebugSession(CDapChannel& channel) : m_channel(channel)
{
    s_pSession = this;
}

CDebugSession::~CDebugSession()
{
    s_pSession = nullptr;
}

bool CDebugSession::Initialise()
{
    if (SLang_init_all() == -1 || SLang_init_import() == -1)
        return false;
    // Error messages, and the lines that place them (file:line:function:)
    // with their traceback, which S-Lang writes through its dump routine.
    SLang_Error_Hook = ErrorMessageHook;
    SLang_Dump_Routine = ErrorMessageHook;
    std::string path = std::string(kSlshLibrary) + "/local-packages:" + kSlshLibrary;
    if (const char* env = getenv("SLSH_PATH"))
        path = std::string(env) + ":" + path;
    SLpath_set_load_path((char*)path.c_str());
    if (SLadd_intrinsic_function((char*)"__vdap_bos", Intrinsic(BosHook), SLANG_VOID_TYPE, 2, SLANG_STRING_TYPE,
                                 SLANG_INT_TYPE) == -1 ||
        SLadd_intrinsic_function((char*)"__vdap_error_raised", Intrinsic(ErrorRaisedHook), SLANG_VOID_TYPE, 2,
                                 SLANG_STRING_TYPE, SLANG_INT_TYPE) == -1 ||
        SLadd_intrinsic_function((char*)"exit", Intrinsic(ExitIntrinsic), SLANG_VOID_TYPE, 0) == -1)
        return false;
    ++m_nInHelper;
    SLang_load_string((char*)"variable SLSH_PATH_ENV = \"SLSH_PATH\";");
    if (access(kSlshStartup, R_OK) == 0 && SLang_load_file((char*)kSlshStartup) != -1)
        SLang_load_string((char*)"if (is_defined (\"__slsh_startup_hook\")) eval (\"__slsh_startup_hook ();\");");
    SLang_set_error(0);
    SLang_Any_Type* bos = nullptr;
    const bool ok = SLang_load_string((char*)SlangInspectSource()) != -1 &&
                    SLang_load_string((char*)"&__vdap_bos;") != -1 && SLang_pop_anytype(&bos) != -1;
    m_bosRef = CSlangValue(bos);
    --m_nInHelper;
    SLang_Enter_Function = EnterHook;
    SLang_Exit_Function = ExitHook;
    SLang_Interrupt = InterruptHook;
    return ok;
}

int CDebugSession::Run()
{
    m_channel.Start([this] { m_bPending = true; });
    m_output.Start([this](const char* c, const std::string& t) { SendOutput(c, t); });
    const bool bReady = Initialise();
    for (;;) {
        if (m_state == State::Configuring && m_bLaunched && m_bConfigured) {
            if (!bReady) {
                SendOutput("stderr", "S-Lang could not be initialised\n");
                EndRun(1);
                continue;
            }
            RunScript();
            continue;
        }
        CDapIncoming item;
        m_channel.Next(item);
        Handle(item);
    }
}

void CDebugSession::Handle(const CDapIncoming& item)
{
    if (item.nKind == CDapIncoming::END) {
        // The client is gone: the script ends with the adapter.
        m_output.Drain();
        _exit(0);
    }
    if (item.nKind == CDapIncoming::BAD_INPUT) {
        m_channel.RespondBadInput(item.strError);
        return;
    }
    const json& msg = item.message;
    if (!msg.is_object() || msg.value("type", "") != "request" || !msg.contains("command") ||
        !msg["command"].is_string() || !msg.contains("seq") || !msg["seq"].is_number_integer()) {
        m_channel.RespondError(msg, "not a request: a request is an object with type \"request\", seq and command");
        return;
    }
    ++m_nInHelper; // nothing of a request runs the script's hooks
    try {
        Dispatch(msg);
    } catch (const CDapError& e) {
        m_channel.RespondError(msg, e.what());
    } catch (const json::exception& e) {
        m_channel.RespondError(msg, std::string("bad arguments: ") + e.what());
    } catch (const std::exception& e) {
        m_channel.RespondError(msg, e.what());
    }
    --m_nInHelper;
}

namespace {

const json& Args(const json& request)
{
    static const json empty = json::object();
    auto it = request.find("arguments");
    return it != request.end() && it->is_object() ? *it : empty;
}

} // namespace

void CDebugSession::Dispatch(const json& request)
{
    const std::string cmd = request["command"];
    const json& args = Args(request);
    const bool bStopped = m_state == State::Stopped;
    auto needStopped = [&] {
        if (!bStopped)
            throw CDapError("'" + cmd + "' needs the script to be stopped; it is " +
                            (m_state == State::Running ? "running" : "not running"));
    };
    if (cmd != "initialize" && m_state == State::Initial)
        throw CDapError("'" + cmd + "' before 'initialize'");

    if (cmd == "initialize") {
        if (m_state != State::Initial)
            throw CDapError("'initialize' was already made");
        json caps = Initialize(args);
        m_state = State::Configuring;
        m_channel.Respond(request, caps);
        m_channel.Event("initialized");
    } else if (cmd == "launch") {
        Launch(args);
        m_channel.Respond(request);
    } else if (cmd == "attach") {
        throw CDapError("attach is not supported: the adapter runs the script itself (use launch)");
    } else if (cmd == "configurationDone") {
        if (m_bConfigured)
            throw CDapError("'configurationDone' was already made");
        m_bConfigured = true;
        m_channel.Respond(request);
    } else if (cmd == "setBreakpoints") {
        m_channel.Respond(request, SetBreakpoints(args));
    } else if (cmd == "setExceptionBreakpoints") {
        SetExceptionBreakpoints(args);
        m_channel.Respond(request, {{"breakpoints", json::array()}});
    } else if (cmd == "threads") {
        m_channel.Respond(request, {{"threads", json::array({{{"id", 1}, {"name", "S-Lang script"}}})}});
    } else if (cmd == "stackTrace") {
        needStopped();
        m_channel.Respond(request, StackTrace(args));
    } else if (cmd == "scopes") {
        needStopped();
        m_channel.Respond(request, Scopes(args));
    } else if (cmd == "variables") {
        needStopped();
        m_channel.Respond(request, Variables(args));
    } else if (cmd == "evaluate") {
        needStopped();
        m_channel.Respond(request, Evaluate(args));
    } else if (cmd == "setVariable") {
        needStopped();
        m_channel.Respond(request, SetVariable(args));
    } else if (cmd == "exceptionInfo") {
        needStopped();
        m_channel.Respond(request, ExceptionInfo(args));
    } else if (cmd == "continue" || cmd == "next" || cmd == "stepIn" || cmd == "stepOut") {
        needStopped();
        if (m_bPostMortem && cmd != "continue")
            throw CDapError("the script has ended with an error; only 'continue' (which ends the session) is possible");
        m_channel.Respond(request, cmd == "continue" ? json{{"allThreadsContinued", true}} : json::object());
        Resume(cmd == "continue" ? CStepPlan::NONE
               : cmd == "next"   ? CStepPlan::OVER
               : cmd == "stepIn" ? CStepPlan::IN
                                 : CStepPlan::OUT);
    } else if (cmd == "pause") {
        if (m_state != State::Running && m_state != State::Stopped)
            throw CDapError("'pause' needs a running script");
        if (m_state == State::Running)
            m_bPause = true;
        m_channel.Respond(request);
    } else if (cmd == "terminate") {
        if (m_state != State::Running && m_state != State::Stopped)
            throw CDapError("no script is running");
        m_channel.Respond(request);
        Terminate();
    } else if (cmd == "disconnect") {
        Disconnect(request);
    } else {
        throw CDapError("unknown request '" + cmd + "'");
    }
}

json CDebugSession::Initialize(const json& args)
{
    m_bLinesStartAt1 = args.value("linesStartAt1", true);
    return {{"supportsConfigurationDoneRequest", true},
            {"supportsConditionalBreakpoints", true},
            {"supportsHitConditionalBreakpoints", true},
            {"supportsLogPoints", true},
            {"supportsEvaluateForHovers", true},
            {"supportsSetVariable", true},
            {"supportsExceptionInfoRequest", true},
            {"supportsTerminateRequest", true},
            {"supportsExceptionOptions", false},
            {"supportsFunctionBreakpoints", false},
            {"supportsStepBack", false},
            {"supportsRestartRequest", false},
            {"supportsDataBreakpoints", false},
            {"supportsCompletionsRequest", false},
            {"supportsDelayedStackTraceLoading", false},
            {"exceptionBreakpointFilters",
             json::array({{{"filter", "uncaught"},
                           {"label", "Uncaught S-Lang errors"},
                           {"description", "Stop where an error that no try catches was raised (shown after it has ended the script)"},
                           {"default", true}},
                          {{"filter", "all"},
                           {"label", "All S-Lang errors"},
                           {"description", "Stop where any error is raised, caught ones too"},
                           {"default", false}}})}};
}

void CDebugSession::Launch(const json& args)
{
    if (m_bLaunched)
        throw CDapError("'launch' was already made");
    if (!args.contains("program") || !args["program"].is_string() || args["program"].get<std::string>().empty())
        throw CDapError("launch needs 'program': the path of the .sl file to run");
    std::string cwd = args.value("cwd", "");
    if (!cwd.empty() && chdir(cwd.c_str()) != 0)
        throw CDapError("cannot change to the directory '" + cwd + "': " + strerror(errno));
    std::string program = args["program"];
    struct stat st;
    if (stat(program.c_str(), &st) != 0)
        throw CDapError("cannot find the program '" + program + "': " + strerror(errno));
    if (!S_ISREG(st.st_mode))
        throw CDapError("the program '" + program + "' is not a file");
    if (access(program.c_str(), R_OK) != 0)
        throw CDapError("cannot read the program '" + program + "': " + strerror(errno));
    std::vector<std::string> argv;
    if (args.contains("args")) {
        if (!args["args"].is_array())
            throw CDapError("'args' must be an array of strings");
        for (const auto& a : args["args"]) {
            if (!a.is_string())
                throw CDapError("'args' must be an array of strings");
            argv.push_back(a);
        }
    }
    m_strProgram = CanonicalPath(program);
    m_strCwd = cwd;
    m_args = argv;
    m_bStopOnEntry = args.value("stopOnEntry", false);
    m_bLaunched = true;
}

json CDebugSession::SetBreakpoints(const json& args)
{
    const json& source = args.at("source");
    if (!source.contains("path") || !source["path"].is_string())
        throw CDapError("setBreakpoints needs source.path (sources without a path are not supported)");
    std::vector<CBreakpointTable::Request> requests;
    if (args.contains("breakpoints")) {
        for (const auto& b : args["breakpoints"]) {
            CBreakpointTable::Request r;
            r.nLine = b.at("line").get<int>() + (m_bLinesStartAt1 ? 0 : 1);
            r.strCondition = b.value("condition", "");
            r.strHitCondition = b.value("hitCondition", "");
            r.strLogMessage = b.value("logMessage", "");
            requests.push_back(r);
        }
    } else if (args.contains("lines")) {
        for (const auto& l : args["lines"])
            requests.push_back({l.get<int>() + (m_bLinesStartAt1 ? 0 : 1), "", "", ""});
    }
    const std::string path = CanonicalPath(source["path"]);
    json out = json::array();
    for (const CBreakpoint& bp : m_breakpoints.Set(path, requests)) {
        json j = {{"id", bp.nId}, {"verified", bp.bVerified}, {"source", source}};
        if (bp.bVerified)
            j["line"] = bp.nLine - (m_bLinesStartAt1 ? 0 : 1);
        else
            j["message"] = bp.strReason;
        out.push_back(j);
    }
    return {{"breakpoints", out}};
}

void CDebugSession::SetExceptionBreakpoints(const json& args)
{
    bool all = false, uncaught = false;
    for (const auto& f : args.value("filters", json::array())) {
        const std::string name = f.get<std::string>();
        if (name == "all")
            all = true;
        else if (name == "uncaught")
            uncaught = true;
        else
            throw CDapError("unknown exception filter '" + name + "' (the filters are 'uncaught' and 'all')");
    }
    m_bBreakAll = all;
    m_bBreakUncaught = uncaught;
}

void CDebugSession::Resume(CStepPlan::Kind nStep)
{
    m_step.Begin(nStep, m_nDepth, m_nCurLevel);
    ForgetStop();
    m_state = m_bPostMortem ? State::Ended : State::Running;
    m_channel.Event("continued", {{"threadId", 1}, {"allThreadsContinued", true}});
}

void CDebugSession::Terminate()
{
    m_bAbort = true;
    if (m_state == State::Stopped) {
        ForgetStop();
        m_state = m_bPostMortem ? State::Ended : State::Running;
    }
}

void CDebugSession::Disconnect(const json& request)
{
    // The script runs in this process: it ends with the adapter.
    m_output.Drain();
    m_channel.Respond(request);
    _exit(0);
}

void CDebugSession::RunScript()
{
    m_state = State::Running;
    m_bEntryPending = m_bStopOnEntry;
    std::vector<std::string> argvText = {m_strProgram};
    argvText.insert(argvText.end(), m_args.begin(), m_args.end());
    std::vector<char*> argv;
    for (auto& s : argvText)
        argv.push_back(&s[0]);
    SLang_set_argc_argv((int)argv.size(), argv.data());
    SLang_load_string((char*)"() = _set_bos_handler (&__vdap_bos); () = _set_debug_hook (&__vdap_error_raised);");

    int rc = -1;
    if (SLang_Name_Type* run = SLang_get_function((char*)"__vdap_run")) {
        if (SLang_start_arg_list() != -1 && SLang_push_string((char*)m_strProgram.c_str()) != -1 &&
            SLang_end_arg_list() != -1)
            rc = SLexecute_function(run);
    }
    const int err = SLang_get_error();
    SLang_restart(1);
    SLang_set_error(0);
    m_nDepth = 0;
    m_calls.clear();
    m_loadLevels.Clear();
    m_bHookOn = true;
    int code = 0;
    if (m_nExitCode >= 0)
        code = m_nExitCode;
    else if (rc == -1 || err)
        code = 1;
    const bool bCompileError =
        err == SL_Syntax_Error || err == SL_DuplicateDefinition_Error || err == SL_UndefinedName_Error;
    if (code && !m_bAbort && !bCompileError && m_bBreakUncaught && m_snapshot)
        PostMortemStop();
    EndRun(code);
}

void CDebugSession::EndRun(int nExitCode)
{
    ForgetStop();
    m_snapshot = CSlangValue();
    m_output.Drain();
    m_state = State::Ended;
    m_channel.Event("exited", {{"exitCode", nExitCode}});
    m_channel.Event("terminated");
}

void CDebugSession::SendOutput(const char* pszCategory, const std::string& strText)
{
    m_channel.Event("output", {{"category", pszCategory}, {"output", strText}});
}

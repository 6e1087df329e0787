// The script thread: S-Lang's initialisation and hooks, the runs, their
// errors, and the hand-over of inspection requests to a held script.
#include "SlangEngine.h"
#include "SlangScriptState.h"
#include "SlangValues.h"
#include <chrono>
#include <cstring>
#include <memory>
#include <slang.h>
#include <stdexcept>
#include <vector>

SLang_Any_Type* g_pSlangBosRef = nullptr;

namespace {

// S-Lang's intrinsic table takes every C function as one pointer type; the
// argument types given with it say how S-Lang calls it.
template <class F> FVOID_STAR Intrinsic(F f)
{
    return reinterpret_cast<FVOID_STAR>(reinterpret_cast<void (*)()>(f));
}

// The one engine; S-Lang's hooks are process-wide C functions.
CSlangEngine* s_pEngine = nullptr;
std::mutex s_engineMutex;
bool s_bSlangReady = false; // S-Lang initialised, helpers and hooks installed

void BosHook(char* pszFile, int* pLine)
{
    if (s_pEngine)
        s_pEngine->OnStatement(pszFile, *pLine);
}

// S-Lang's C hooks around every call of a script function, and at every
// entry of its inner interpreter (a function body, a loop's block).
// The adapter's own functions (running a script, calling an entry) are no
// calls of the script.
bool IsAdapterFunction(const char* pszName)
{
    return strncmp(pszName, "__velmor_", 9) == 0;
}

void EnterHook(char* pszName)
{
    if (s_pEngine && !IsAdapterFunction(pszName))
        s_pEngine->OnFunctionEntry(pszName);
}

void ExitHook(char* pszName)
{
    if (s_pEngine && !IsAdapterFunction(pszName))
        s_pEngine->OnFunctionExit();
}

void InterpreterEntryHook()
{
    if (s_pEngine)
        s_pEngine->OnInterpreterEntry();
}

void ErrorHook(char* pszMessage)
{
    if (s_pEngine)
        s_pEngine->OnErrorMessage(pszMessage);
}

// The script of the run under way, compiled under a name of its own
// (kSlangScriptName), so that its statements can be told from those of
// strings the script itself evaluates ("***string***", as S-Lang names
// every evaluated string).
const std::string* g_pRunScript = nullptr;

struct ScriptReader
{
    const char* p;
    std::string line;
};

char* ReadScriptLine(SLang_Load_Type* lt)
{
    ScriptReader& r = *(ScriptReader*)lt->client_data;
    if (!*r.p)
        return nullptr;
    const char* nl = strchr(r.p, '\n');
    const size_t n = nl ? (size_t)(nl - r.p) + 1 : strlen(r.p);
    r.line.assign(r.p, n);
    r.p += n;
    return (char*)r.line.c_str();
}

void LoadScriptIntrinsic()
{
    if (!g_pRunScript)
        return;
    SLang_Load_Type* lt = SLallocate_load_type((char*)kSlangScriptName);
    if (!lt)
        return;
    ScriptReader reader{g_pRunScript->c_str(), std::string()};
    lt->client_data = &reader;
    lt->read = ReadScriptLine;
    SLang_load_object(lt); // errors are S-Lang's, reported by the caller
    SLdeallocate_load_type(lt);
}

bool InitSlang()
{
    if (s_bSlangReady)
        return true;
    if (SLang_init_all() == -1)
        return false;
    SLang_Error_Hook = ErrorHook;
    SLang_Traceback = 0;
    if (SLadd_intrinsic_function((char*)"__velmor_bos", Intrinsic(BosHook), SLANG_VOID_TYPE, 2,
                                 SLANG_STRING_TYPE, SLANG_INT_TYPE) == -1 ||
        SLadd_intrinsic_function((char*)"__velmor_load_script", (FVOID_STAR)LoadScriptIntrinsic, SLANG_VOID_TYPE,
                                 0) == -1)
        return false;
    SLang_Enter_Function = EnterHook;
    SLang_Exit_Function = ExitHook;
    SLang_Interrupt = InterpreterEntryHook;
    if (SLang_load_string((char*)SlangHelperSource()) == -1 || SLang_load_string((char*)"&__velmor_bos;") == -1 ||
        SLang_pop_anytype(&g_pSlangBosRef) == -1)
        return false;
    s_bSlangReady = true;
    return true;
}

// Clears S-Lang's error state so that the next script runs.
void ClearError()
{
    SLang_restart(1);
    SLang_set_error(0);
}

} // namespace

struct CSlangEngine::Job
{
    bool bEntry = false;
    SlangEntry nEntry = SLANG_ENTRY_MAIN;
    std::string strScript;
};

struct CSlangEngine::Request
{
    int nLine;
    const char* pszName;
    long long nIndex;
    CVelmorValue* pValue;
    bool bTaken = false; // the script thread is reading the value
    bool bDone = false;
    bool bFound = false;
};

CSlangEngine::CSlangEngine()
{
    {
        std::lock_guard<std::mutex> lk(s_engineMutex);
        if (s_pEngine)
            throw std::logic_error("one S-Lang engine at a time: S-Lang keeps one interpreter per process");
        s_pEngine = this;
    }
    m_thread = std::thread([this] { ThreadMain(); });
}

CSlangEngine::~CSlangEngine()
{
    {
        std::lock_guard<std::mutex> lk(m_mutex);
        m_bQuit = true;
        m_bAbort = true;
    }
    m_cv.notify_all();
    m_thread.join();
    std::lock_guard<std::mutex> lk(s_engineMutex);
    s_pEngine = nullptr;
}

void CSlangEngine::ThreadMain()
{
    CScriptState state;
    m_pState = &state;
    state.bInitOk = InitSlang();
    for (;;) {
        std::unique_ptr<Job> job;
        {
            std::unique_lock<std::mutex> lk(m_mutex);
            m_cv.wait(lk, [this] { return m_bQuit || m_pJob; });
            if (m_bQuit && !m_pJob)
                break;
            job.reset(m_pJob);
            m_pJob = nullptr;
        }
        RunJob(*job);
        {
            std::lock_guard<std::mutex> lk(m_mutex);
            m_bRunning = false;
            m_bStopped = false;
        }
        m_cv.notify_all();
    }
    m_pState = nullptr; // state's destructor frees its references here, on this thread
}

bool CSlangEngine::Queue(const Job& job)
{
    {
        std::lock_guard<std::mutex> lk(m_mutex);
        if (m_bRunning || m_bQuit)
            return false;
        m_bRunning = true;
        m_bStopped = false;
        m_bAbort = false;
        m_pJob = new Job(job);
    }
    m_cv.notify_all();
    return true;
}

bool CSlangEngine::Start(const std::string& strScript)
{
    Job job;
    job.strScript = strScript;
    return Queue(job);
}

bool CSlangEngine::StartEntry(SlangEntry nEntry)
{
    if (nEntry < 0 || nEntry >= SLANG_ENTRY_COUNT || EntryName(nEntry).empty())
        return false;
    Job job;
    job.bEntry = true;
    job.nEntry = nEntry;
    return Queue(job);
}

void CSlangEngine::RunJob(const Job& job)
{
    CScriptState& st = *m_pState;
    st.strMessages.clear();
    st.strFirstMessage.clear();
    st.DropCalls();
    // An entry's function may come from an earlier script: no lines known.
    if (job.bEntry)
        st.lines.Clear();
    else
        st.lines.Scan(job.strScript);
    st.bHookOn = true; // each run installs it

    int rc = -1;
    const int depth0 = SLstack_depth();
    if (!st.bInitOk) {
        st.strFirstMessage = st.strMessages = "S-Lang could not be initialised";
    } else if (job.bEntry) {
        SLang_Name_Type* call = SLang_get_function((char*)"__velmor_call");
        if (call && st.entries[job.nEntry] && SLang_start_arg_list() != -1 &&
            SLang_push_anytype(st.entries[job.nEntry]) != -1 && SLang_end_arg_list() != -1)
            rc = SLexecute_function(call);
    } else if (SLang_Name_Type* run = SLang_get_function((char*)"__velmor_run")) {
        // Always compiled with the statement hook: Debug_Enabled is read at
        // every statement, so turning it on during a run takes effect at
        // once.
        g_pRunScript = &job.strScript;
        if (SLang_start_arg_list() != -1 && SLang_push_int(3) != -1 &&
            SLang_end_arg_list() != -1)
            rc = SLexecute_function(run);
        g_pRunScript = nullptr;
    }
    CSlangRunResult result;
    result.nError = SLang_get_error();
    if (rc == -1 && result.nError == 0)
        result.nError = SL_Unknown_Error;
    if (result.nError)
        ClearError();
    // Values the top-level statements left behind.
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0));
    st.DropCalls();
    result.strMessage = st.strFirstMessage;
    result.strAllMessages = st.strMessages;
    if (result.nError && result.strMessage.empty())
        result.strMessage = SLerr_strerror(result.nError);
    std::lock_guard<std::mutex> lk(m_mutex);
    m_result = result;
}

// On the script thread while it is held at a line: takes the waiting
// request, reads the value without holding m_mutex (the controller can
// still ask whether the script is held), and hands the answer back.
void CSlangEngine::ServeRequest()
{
    Request* r = nullptr;
    {
        std::lock_guard<std::mutex> lk(m_mutex);
        r = m_pRequest;
        if (!r)
            return;
        m_pRequest = nullptr;
        r->bTaken = true;
    }
    ++m_pState->nInHelper;
    // The hovered line (the control's, zero-based) chooses the function
    // whose locals are read, when the script's text told the functions'
    // lines; else the function the script is held in.
    const CSlangFunctionLines& lines = m_pState->lines;
    const std::string fn = lines.IsRead() ? lines.FunctionAt(r->nLine + 1) : std::string();
    const bool bFound = SlangFindVariable(r->pszName, lines.IsRead() ? fn.c_str() : nullptr, r->nIndex, *r->pValue);
    --m_pState->nInHelper;
    {
        std::lock_guard<std::mutex> lk(m_mutex);
        r->bFound = bFound;
        r->bDone = true;
    }
    m_cv.notify_all();
}

void CSlangEngine::OnErrorMessage(const char* pszMessage)
{
    if (!m_pState)
        return;
    if (m_pState->strFirstMessage.empty())
        m_pState->strFirstMessage = pszMessage;
    if (!m_pState->strMessages.empty())
        m_pState->strMessages += '\n';
    m_pState->strMessages += pszMessage;
}

std::string CSlangEngine::EntryName(SlangEntry nEntry) const
{
    if (nEntry < 0 || nEntry >= SLANG_ENTRY_COUNT)
        return std::string();
    std::lock_guard<std::mutex> lk(m_mutex);
    return m_entryNames[nEntry];
}

bool CSlangEngine::WaitFinished(int nTimeoutMs)
{
    std::unique_lock<std::mutex> lk(m_mutex);
    return m_cv.wait_for(lk, std::chrono::milliseconds(nTimeoutMs), [this] { return !m_bRunning; });
}

int CSlangEngine::WaitStopped(int nTimeoutMs)
{
    std::unique_lock<std::mutex> lk(m_mutex);
    m_cv.wait_for(lk, std::chrono::milliseconds(nTimeoutMs), [this] { return m_bStopped || !m_bRunning; });
    return m_bStopped ? m_nStoppedLine : -1;
}

bool CSlangEngine::IsRunning() const
{
    std::lock_guard<std::mutex> lk(m_mutex);
    return m_bRunning;
}

bool CSlangEngine::IsStopped() const
{
    std::lock_guard<std::mutex> lk(m_mutex);
    return m_bStopped;
}

void CSlangEngine::Release(unsigned char nStepMode, unsigned char nStepInto)
{
    std::lock_guard<std::mutex> lk(m_mutex);
    m_rc.Step_Into = nStepInto;
    m_rc.Step_Mode = nStepMode;
    // The held script sees the new state before it sees the release; a
    // wait for the next stop must not find this one.
    m_bStopped = false;
    m_rc.Stop_Line = -1;
}

void CSlangEngine::Continue()
{
    Release(0, 0);
}

void CSlangEngine::StepOver()
{
    Release(1, 0);
}

void CSlangEngine::StepInto()
{
    Release(1, 1);
}

void CSlangEngine::Abort()
{
    m_bAbort = true;
}

CSlangRunResult CSlangEngine::Result() const
{
    std::lock_guard<std::mutex> lk(m_mutex);
    return m_result;
}

bool CSlangEngine::InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value)
{
    if (!pszName || std::this_thread::get_id() == m_thread.get_id())
        return false;
    std::unique_lock<std::mutex> lk(m_mutex);
    Request r{nLine, pszName, nIndex, &value};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    // One request at a time, and only to a held script.
    if (!m_cv.wait_until(lk, deadline, [this] { return !m_pRequest || !m_bStopped; }) || !m_bStopped)
        return false;
    m_pRequest = &r;
    m_cv.wait_until(lk, deadline, [&] { return r.bDone || (!r.bTaken && !m_bStopped); });
    if (m_pRequest == &r)
        m_pRequest = nullptr; // never picked up
    // A request the script thread has taken is written to until it is done
    // (a bounded read: the value's size is capped).
    m_cv.wait(lk, [&] { return r.bDone || !r.bTaken; });
    return r.bDone && r.bFound;
}

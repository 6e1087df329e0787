// The session inside S-Lang's hooks: requests that arrive while the script
// runs, the decision to stop (pause, entry, stepping, breakpoints, errors)
// and the wait at a stop.
#include "DebugSession.h"
#include <cstring>
#include <fstream>
#include <sstream>
#include <slang.h>

namespace {

// The adapter's own S-Lang functions are no calls of the script.
bool IsAdapterFunction(const char* pszName)
{
    return pszName && strncmp(pszName, "__vdap_", 7) == 0;
}

// S-Lang's own limit is about 1,500 nested calls, where nothing more can be
// called, not even to read the frames. The session ends a recursion a
// little earlier, with S-Lang's stack overflow error, so that the error can
// be shown with its frames.
const int kMaxCallDepth = 1400;

// Statements a function runs with the statement hook before the hook may
// be removed: short functions never pay for the switch, loops do it once.
const int kStatementsBeforeOff = 64;

} // namespace

void CDebugSession::Poll()
{
    m_bPending = false;
    CDapIncoming item;
    while (m_channel.Next(item, 0))
        Handle(item);
}

void CDebugSession::OnStatement(const char* pszFile, int nLine)
{
    if (m_nInHelper) {
        // A script function an evaluation calls: it must not run forever.
        if (m_bEvaluating && std::chrono::steady_clock::now() > m_helperDeadline)
            SLang_set_error(SL_UserBreak_Error);
        return;
    }
    if (m_bPending)
        Poll();
    if (m_bAbort) {
        SLang_set_error(SL_UserBreak_Error);
        return;
    }
    if (!m_calls.empty()) {
        Call& c = m_calls.back();
        if (!c.bResolved) {
            c.bResolved = true;
            c.pszFile = pszFile;
            const std::string path = CanonicalPath(pszFile);
            auto it = m_functionLines.find(path);
            if (it == m_functionLines.end()) {
                it = m_functionLines.emplace(path, CSlangFunctionLines()).first;
                std::ifstream in(path, std::ios::binary);
                std::stringstream text;
                text << in.rdbuf();
                if (in)
                    it->second.Scan(text.str());
            }
            c.spans = it->second.IsRead() ? it->second.Find(c.pszName) : nullptr;
        }
        if (++c.nStatements > kStatementsBeforeOff) {
            c.nStatements = 0;
            if (!MayStopHere()) {
                SetStatementHook(false);
                return;
            }
        }
    }
    m_pCurFile = pszFile;
    m_nCurLine = nLine;
    const bool bNewLine = pszFile != m_pLastFile || nLine != m_nLastLine || m_nDepth != m_nLastDepth;
    if (pszFile != m_pLastFile || m_nDepth != m_nLastDepth)
        m_nCurLevel = m_loadLevels.OnStatement(m_nDepth, pszFile);
    m_pLastFile = pszFile;
    m_nLastLine = nLine;
    m_nLastDepth = m_nDepth;
    if (m_bPause) {
        m_bPause = false;
        Stop("pause");
        return;
    }
    if (m_bEntryPending) {
        m_bEntryPending = false;
        Stop("entry");
        return;
    }
    if (m_step.Active() && bNewLine) {
        if (m_step.StopsAt(m_nDepth, m_nCurLevel)) {
            m_step.Clear();
            // A breakpoint on the line the step arrives at counts as hit.
            if (!CheckBreakpoints(pszFile, nLine))
                Stop("step");
            return;
        }
    }
    if (bNewLine && !m_breakpoints.Empty())
        CheckBreakpoints(pszFile, nLine);
}

bool CDebugSession::CheckBreakpoints(const char* pszFile, int nLine)
{
    if (m_breakpoints.Empty())
        return false;
    if (pszFile != m_pCacheFile || m_nCacheGeneration != m_breakpoints.Generation() || m_strCacheFile != pszFile) {
        m_pCacheFile = pszFile;
        m_strCacheFile = pszFile;
        m_nCacheGeneration = m_breakpoints.Generation();
        m_pCacheBreakpoints = m_breakpoints.ForFile(CanonicalPath(pszFile));
    }
    if (!m_pCacheBreakpoints)
        return false;
    for (CBreakpoint& bp : *m_pCacheBreakpoints) {
        if (bp.nLine != nLine)
            continue;
        if (!bp.strCondition.empty()) {
            bool b = false;
            std::string err;
            // Frames read for the condition are those of this statement
            // only: the next reads them again.
            ForgetStop();
            const bool ok = Condition(bp.strCondition, b, err);
            ForgetStop();
            if (!ok) {
                // A condition that cannot be evaluated stops, and says why.
                SendOutput("console", "breakpoint condition '" + bp.strCondition + "' failed: " + err + "\n");
                b = true;
            }
            if (!b)
                return false;
        }
        ++bp.nHits;
        if (bp.chHitOp && !HitConditionHolds(bp.chHitOp, bp.nHitValue, bp.nHits))
            return false;
        if (!bp.strLogMessage.empty()) {
            m_output.Drain();
            ForgetStop();
            SendOutput("console", LogText(bp.strLogMessage) + "\n");
            ForgetStop();
            return false;
        }
        Stop("breakpoint", "");
        return true;
    }
    return false;
}

bool CDebugSession::Condition(const std::string& strText, bool& bValue, std::string& strError)
{
    std::vector<CSlangValue> results;
    if (!EvaluateIn(0, strText, results, strError))
        return false;
    if (results.size() != 1) {
        strError = "it gives " + std::to_string(results.size()) + " values, not one";
        return false;
    }
    bValue = SlangIsTrue(results[0]);
    return true;
}

std::string CDebugSession::LogText(const std::string& strMessage)
{
    std::string text;
    for (const CLogPart& part : SplitLogMessage(strMessage)) {
        if (!part.bExpression) {
            text += part.str;
            continue;
        }
        std::vector<CSlangValue> results;
        std::string err;
        if (!EvaluateIn(0, part.str, results, err)) {
            text += "{" + err + "}";
            continue;
        }
        for (size_t i = 0; i < results.size(); ++i) {
            CSlangValueText t;
            std::string e2;
            if (i)
                text += " ";
            text += SlangDescribe(results[i], t, e2) ? t.strValue : "?";
        }
    }
    return text;
}

// Whether a statement of the running function could stop now (or must
// reach the session): the top level, a function whose lines are not known
// and any waiting request or pause always could.
bool CDebugSession::MayStopHere()
{
    if (m_bPending || m_bPause || m_bAbort || m_bEntryPending || m_calls.empty())
        return true;
    if (m_step.MayStopAt(m_nDepth))
        return true;
    Call& c = m_calls.back();
    if (!c.bResolved || !c.spans)
        return true;
    if (c.nGeneration != m_breakpoints.Generation()) {
        c.nGeneration = m_breakpoints.Generation();
        c.bMayStop = false;
        if (const auto* bps = m_breakpoints.ForFile(CanonicalPath(c.pszFile)))
            for (const CBreakpoint& bp : *bps)
                for (const auto& span : *c.spans)
                    c.bMayStop = c.bMayStop || (bp.nLine >= span.first && bp.nLine <= span.second);
    }
    return c.bMayStop;
}

// Installs or removes the statement hook (S-Lang's _set_bos_handler).
void CDebugSession::SetStatementHook(bool bOn)
{
    SLang_Name_Type* set = SLang_get_function((char*)"_set_bos_handler");
    const int depth0 = SLstack_depth();
    ++m_nInHelper;
    if (set && SLang_start_arg_list() != -1 && (bOn ? SLang_push_anytype(m_bosRef.Get()) : SLang_push_null()) != -1 &&
        SLang_end_arg_list() != -1 && SLexecute_function(set) != -1)
        m_bHookOn = bOn;
    --m_nInHelper;
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0)); // the handler it replaced
}

std::string CDebugSession::ExceptionText(const CSlangException& e)
{
    return (e.strName.empty() ? e.strDescription : e.strName) + ": " + e.strMessage;
}

void CDebugSession::OnFunctionEntry(const char* pszName)
{
    if (m_nInHelper || IsAdapterFunction(pszName))
        return;
    if (++m_nDepth > kMaxCallDepth && !SLang_get_error())
        SLang_verror(SL_StackOverflow_Error, (char*)"runaway recursion: %s is %d calls deep", pszName, m_nDepth);
    m_calls.push_back(Call{pszName});
    m_loadLevels.NewCall(m_nDepth);
    m_pLastFile = nullptr; // the callee's first statement is a new place
    // Where the callee's lines are is known at its first statement.
    if (!m_bHookOn)
        SetStatementHook(true);
}

void CDebugSession::OnFunctionExit(const char* pszName)
{
    if (m_nInHelper || IsAdapterFunction(pszName))
        return;
    if (m_nDepth > 0)
        --m_nDepth;
    if (!m_calls.empty())
        m_calls.pop_back();
    if (!m_bHookOn && MayStopHere())
        SetStatementHook(true);
    // After a return the caller's line counts as new again (a loop that
    // calls a function on each pass stops at its breakpoint each time).
    m_pLastFile = nullptr;
}

void CDebugSession::OnInterrupt()
{
    if (m_nInHelper) {
        if (m_bEvaluating && std::chrono::steady_clock::now() > m_helperDeadline)
            SLang_set_error(SL_UserBreak_Error);
        return;
    }
    if (m_state != State::Running)
        return;
    if (!m_bHookOn && MayStopHere())
        SetStatementHook(true);
    if (m_bPending)
        Poll();
    if (m_bAbort) {
        SLang_set_error(SL_UserBreak_Error);
        return;
    }
    // A loop with no statement of its own (while (1) {}) still enters the
    // interpreter on each pass: a pause stops there, at the last line run.
    if (m_bPause) {
        m_bPause = false;
        Stop("pause");
    }
}

void CDebugSession::OnError(const char* pszFile, int nLine)
{
    if (m_nInHelper || m_bAbort)
        return;
    ++m_nInHelper;
    m_bHaveException = SlangCurrentException(m_exception);
    if (m_bHaveException && m_exception.nLine <= 0)
        m_exception.nLine = nLine;
    if (m_bHaveException && m_exception.strFile.empty())
        m_exception.strFile = pszFile ? pszFile : "";
    if (m_bBreakUncaught && !m_bBreakAll) {
        // Nothing tells here whether a try will catch the error: keep the
        // frames as they are, for the case that none does.
        std::string err;
        if (!SlangSnapshot(m_snapshot, err))
            m_snapshot = CSlangValue();
    }
    --m_nInHelper;
    if (m_bBreakAll && m_bHaveException) {
        Stop("exception", ExceptionText(m_exception));
    }
}

void CDebugSession::OnErrorMessage(const char* pszMessage)
{
    if (m_nInHelper || m_bAbort)
        return;
    std::string text = pszMessage;
    m_output.Drain();
    if (text.empty() || text.back() != '\n')
        text += '\n';
    json body = {{"category", "stderr"}, {"output", text}};
    // "file:line:function:message": the output points at its line.
    const size_t c1 = text.find(':');
    if (c1 != std::string::npos && c1 > 0) {
        const size_t c2 = text.find(':', c1 + 1);
        if (c2 != std::string::npos && c2 > c1 + 1 &&
            text.find_first_not_of("0123456789", c1 + 1) == c2 && text[0] != '*') {
            body["source"] = {{"path", text.substr(0, c1)}};
            body["line"] = std::stoi(text.substr(c1 + 1, c2 - c1 - 1));
        }
    }
    m_channel.Event("output", body);
}

void CDebugSession::OnExit(int nCode)
{
    m_nExitCode = nCode;
    m_bAbort = true;
    SLang_set_error(SL_UserBreak_Error);
}

void CDebugSession::Stop(const char* pszReason, const std::string& strText)
{
    m_output.Drain();
    m_state = State::Stopped;
    m_step.Clear();
    json body = {{"reason", pszReason}, {"threadId", 1}, {"allThreadsStopped", true}};
    if (!strText.empty())
        body["text"] = strText;
    if (strcmp(pszReason, "exception") == 0)
        body["description"] = "Paused on S-Lang error";
    m_channel.Event("stopped", body);
    ++m_nInHelper;
    while (m_state == State::Stopped) {
        CDapIncoming item;
        m_channel.Next(item);
        Handle(item);
    }
    --m_nInHelper;
    // The statement being entered is the stop's: the same line is new only
    // after it.
    if (m_bAbort)
        SLang_set_error(SL_UserBreak_Error);
}

void CDebugSession::PostMortemStop()
{
    m_bPostMortem = true;
    Stop("exception", m_bHaveException ? ExceptionText(m_exception) : "S-Lang error");
    m_bPostMortem = false;
}

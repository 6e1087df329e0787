// The run control on S-Lang's hooks: stops at breakpoints and steps in the
// statement hook, stepping over calls and the entry slots in the function
// hooks, and the statement hook turned off where no stop is possible.
#include "SlangScriptState.h"
#include "SlangValues.h"
#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

// Statements a function runs with the statement hook on before the hook is
// turned off where no stop is possible: short functions never pay for the
// switch, loops do it once.
const int kStatementsBeforeOff = 64;
const char* const kScriptFile = kSlangScriptName;
const char* const kEntryNames[SLANG_ENTRY_COUNT] = {"main", "OnTrigger", "OnCalculate"};
// Slots are checked in this order, as the names are.
const SlangEntry kEntryOrder[SLANG_ENTRY_COUNT] = {SLANG_ENTRY_ONTRIGGER, SLANG_ENTRY_MAIN, SLANG_ENTRY_ONCALCULATE};

} // namespace

void CSlangRunControl::SetBreakLines(const int* pLines, int nCount)
{
    // A running script reads the list as it is written: the list is first
    // ended at its start, filled behind that end, and then given its real
    // end and its first line, so that no moment shows lines of the old list.
    // A full list of 100 lines has no end mark: the reader stops after 100.
    const int n = std::max(0, std::min(nCount, kMaxBreakLines));
    Break_Lines[0] = -1;
    for (int i = 1; i < n; ++i)
        Break_Lines[i] = pLines[i];
    if (n < kMaxBreakLines)
        Break_Lines[n] = -1;
    if (n > 0)
        Break_Lines[0] = pLines[0];
}

void CSlangEngine::OnStatement(const char* pszFile, int nLine)
{
    if (m_bAbort) {
        SLang_set_error(SL_UserBreak_Error);
        return;
    }
    if (!m_pState || m_pState->nInHelper)
        return;
    if (!m_pState->calls.empty() && ++m_pState->calls.back().nStatements > kStatementsBeforeOff) {
        m_pState->calls.back().nStatements = 0;
        if (!MayStop()) {
            SetStatementHook(false);
            return;
        }
    }
    if (m_rc.Debug_Enabled != 1)
        return;
    m_rc.Stop_Line = -1;
    const int L = strcmp(pszFile, kScriptFile) == 0 ? nLine : 0;
    if (L <= 0)
        return;
    const int mode = m_rc.Step_Mode;
    if (mode == 1) {
        if (L != m_rc.Last_Stop_Line)
            Park(L, true);
    } else if (mode == 0) {
        for (int i = 0; i < CSlangRunControl::kMaxBreakLines; ++i) {
            const int b = m_rc.Break_Lines[i];
            if (b == -1)
                break;
            if (b == L && m_rc.Last_Stop_Line != L)
                Park(L, false);
        }
    }
}

void CSlangEngine::Park(int nLine, bool bStepping)
{
    m_rc.Stop_Line = nLine;
    m_rc.Last_Stop_Line = nLine;
    {
        std::lock_guard<std::mutex> lk(m_mutex);
        m_bStopped = true;
        m_nStoppedLine = nLine;
    }
    m_cv.notify_all();
    for (;;) {
        ServeRequest();
        {
            std::lock_guard<std::mutex> lk(m_mutex);
            if (m_bAbort || m_rc.Stop_Line != nLine || (bStepping && m_rc.Step_Mode != 1)) {
                m_bStopped = false;
                break;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_cv.notify_all();
    if (m_bAbort)
        SLang_set_error(SL_UserBreak_Error);
}

void CSlangEngine::OnFunctionEntry(const char* pszName)
{
    if (!m_pState || m_pState->nInHelper)
        return;
    CScriptState& st = *m_pState;
    // Stepping over: no stops inside the callee.
    if (m_rc.Step_Mode != 0 && m_rc.Step_Into == 0)
        m_rc.Step_Mode = 2;
    // A function that may fill an empty entry slot when it returns.
    SLang_Any_Type* ref = nullptr;
    SlangEntry slot = SLANG_ENTRY_MAIN;
    const auto* spans = st.lines.Find(pszName);
    for (SlangEntry e : kEntryOrder) {
        if (!st.entries[e] && strcmp(pszName, kEntryNames[e]) == 0) {
            void* p = nullptr;
            ++st.nInHelper;
            SlangFunctionRef(pszName, &p);
            --st.nInHelper;
            ref = (SLang_Any_Type*)p;
            slot = e;
            break;
        }
    }
    st.calls.push_back({ref, slot, spans, 0});
    if (!st.bHookOn && MayStop())
        SetStatementHook(true);
}

void CSlangEngine::OnInterpreterEntry()
{
    if (m_bAbort) {
        SLang_set_error(SL_UserBreak_Error);
        return;
    }
    if (!m_pState || m_pState->nInHelper)
        return;
    if (m_rc.Step_Mode == 1)
        m_rc.Last_Stop_Line = -1;
    // With the statement hook off, the controller's changes are seen here
    // (every loop pass enters a block).
    if (!m_pState->bHookOn && MayStop())
        SetStatementHook(true);
}

// Whether a statement of the running function could stop now: debugging
// on, and stepping, or a breakpoint among the function's lines (a function
// the script's text does not show, and the top level, always could).
bool CSlangEngine::MayStop() const
{
    if (m_rc.Debug_Enabled != 1)
        return false;
    const int mode = m_rc.Step_Mode;
    if (mode != 0)
        return mode == 1;
    const auto& calls = m_pState->calls;
    if (calls.empty() || !calls.back().spans)
        return true;
    for (int i = 0; i < CSlangRunControl::kMaxBreakLines; ++i) {
        const int b = m_rc.Break_Lines[i];
        if (b == -1)
            break;
        for (const auto& span : *calls.back().spans)
            if (b >= span.first && b <= span.second)
                return true;
    }
    return false;
}

// Installs or removes the statement hook (S-Lang's _set_bos_handler).
void CSlangEngine::SetStatementHook(bool bOn)
{
    CScriptState& st = *m_pState;
    SLang_Name_Type* set = SLang_get_function((char*)"_set_bos_handler");
    const int depth0 = SLstack_depth();
    ++st.nInHelper;
    if (set && SLang_start_arg_list() != -1 && (bOn ? SLang_push_anytype(g_pSlangBosRef) : SLang_push_null()) != -1 &&
        SLang_end_arg_list() != -1 && SLexecute_function(set) != -1)
        st.bHookOn = bOn;
    --st.nInHelper;
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0)); // the handler it replaced
}

void CSlangEngine::OnFunctionExit()
{
    if (!m_pState || m_pState->nInHelper)
        return;
    CScriptState& st = *m_pState;
    if (m_rc.Step_Mode == 2) {
        m_rc.Step_Into = 0;
        m_rc.Step_Mode = 1;
    }
    if (m_rc.Debug_Enabled == 2)
        m_rc.Debug_Enabled = 1;
    m_rc.Last_Stop_Line = -1;
    CScriptState::Call call = {nullptr, SLANG_ENTRY_MAIN, nullptr, 0};
    if (!st.calls.empty()) {
        call = st.calls.back();
        st.calls.pop_back();
    }
    // Back in the caller, which may stop where the callee could not.
    if (!st.bHookOn && MayStop())
        SetStatementHook(true);
    if (!call.ref)
        return;
    if (st.entries[call.slot]) {
        SLang_free_anytype(call.ref);
        return;
    }
    st.entries[call.slot] = call.ref;
    std::lock_guard<std::mutex> lk(m_mutex);
    m_entryNames[call.slot] = kEntryNames[call.slot];
}


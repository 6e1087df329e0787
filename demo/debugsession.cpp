// The demo's debug session (debugsession.h): the requests of the Debug
// menu, and the responses and events of the adapter, all on the window's
// thread. Nothing here waits for the adapter: each answer arrives as a
// posted message and moves the session on.
#include "app.h"
#include "debugsession.h"

using nlohmann::json;

namespace {

// Elements and fields fetched per structured value at a stop: the tip shows
// the first few of them anyway.
const int kChildPage = 100;

} // namespace

std::wstring Wide(const std::string& s)
{
    int n = MultiByteToWideChar(CP_UTF8, 0, s.data(), (int)s.size(), nullptr, 0);
    std::wstring w((size_t)n, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, s.data(), (int)s.size(), w.data(), n);
    return w;
}

int CDebugSession::Send(const std::string& command, const json& args)
{
    return Send(command, args, Asked());
}

int CDebugSession::Send(const std::string& command, const json& args, Asked p)
{
    const int seq = m_client.Request(command, args);
    if (seq) {
        p.command = command;
        m_pending[seq] = p;
    }
    return seq;
}

bool CDebugSession::StartOrContinue()
{
    if (m_state == STOPPED) {
        Step("continue");
        return true;
    }
    if (m_state != IDLE)
        return true;
    ShowDebugPanes(true);
    ClearOutput();
    if (g_app.path.empty()) {
        AppendOutput(L"Save the script to a file first: the adapter runs the file.\r\n");
        return false;
    }
    // The adapter runs the file: what the editor shows is what it runs.
    if (g_app.modified && !WriteFileText(g_app.path, EditorText())) {
        AppendOutput(L"Cannot write " + g_app.path + L".\r\n");
        return false;
    }
    g_app.modified = false;
    UpdateTitle();

    const std::wstring adapter = FindAdapter();
    std::wstring err;
    if (!m_client.Start(g_app.hwnd, WM_DAP, adapter, err)) {
        AppendOutput(L"No debug adapter: " + err + L"\r\nThe editor keeps working; Debug > Hold uses the demo's "
                     L"stand-in engine.\r\n");
        if (!g_app.quiet)
            MessageBoxW(g_app.hwnd, (err + L"\n\nDebugging needs velmor-slang-dap (make native builds it).").c_str(),
                        L"Velmor demo", MB_ICONWARNING);
        return false;
    }
    // The stand-in engine gives way to the adapter.
    g_app.holding = false;
    g_app.editor->SetRunning(false);
    g_app.editor->SetInspector(nullptr);
    m_strProgram = AdapterSidePath(g_app.path);
    m_state = STARTING;
    m_bStopping = false;
    m_bConfigured = false;
    m_frames.clear();
    m_scopeVars.clear();
    m_children.clear();
    m_pending.clear();
    ShowFrames(m_frames, -1);
    AppendOutput(L"Starting " + adapter + L"\r\n");
    return true;
}

void CDebugSession::Step(const char* command)
{
    if (m_state != STOPPED)
        return;
    Send(command, { { "threadId", m_nThread } });
    Resumed();
}

void CDebugSession::Pause()
{
    if (m_state == RUNNING)
        Send("pause", { { "threadId", m_nThread } });
}

void CDebugSession::Stop()
{
    if (m_state == IDLE)
        return;
    if (!m_client.Connected()) {
        End(L"Debugging stopped.");
        return;
    }
    m_bStopping = true;
    // The adapter answers and closes the connection; End follows either.
    if (!Send("disconnect", { { "terminateDebuggee", true } }))
        End(L"Debugging stopped.");
}

void CDebugSession::SendBreakpoints()
{
    if (m_state == IDLE || !m_client.Connected())
        return;
    json lines = json::array();
    const CVelmor& ed = *g_app.editor;
    for (int i = 0; i < (int)ed.m_arrBreaks.GetSize(); ++i)
        if (ed.m_arrBreaks[i])
            lines.push_back({ { "line", i + 1 } });
    Send("setBreakpoints", { { "source", { { "path", m_strProgram } } }, { "breakpoints", lines } });
}

// Running again: the arrow, the tip and what the stop fetched go.
void CDebugSession::Resumed()
{
    m_state = RUNNING;
    m_frames.clear();
    m_scopeVars.clear();
    m_children.clear();
    CVelmor& ed = *g_app.editor;
    ed.SetRunning(false);
    ed.SetInspector(nullptr);
    ed.SetBreakLine(-1);
    ed.RefreshLineNum(TRUE);
    ShowFrames(m_frames, -1);
}

void CDebugSession::End(const wchar_t* why)
{
    m_client.Close();
    const bool was = m_state != IDLE;
    m_state = IDLE;
    m_pending.clear();
    m_frames.clear();
    m_scopeVars.clear();
    m_children.clear();
    if (g_app.editor) {
        CVelmor& ed = *g_app.editor;
        ed.SetRunning(false);
        ed.SetInspector(nullptr);
        ed.SetBreakLine(-1);
        ed.RefreshLineNum(TRUE);
    }
    ShowFrames(m_frames, -1);
    if (was && why)
        AppendOutput(std::wstring(why) + L"\r\n");
}

void CDebugSession::OnPost(WPARAM kind, LPARAM p)
{
    switch (kind) {
    case DAP_CONNECTED:
        Send("initialize", { { "clientID", "velmor-demo" },
                             { "clientName", "Velmor demo" },
                             { "adapterID", "slang" },
                             { "linesStartAt1", true },
                             { "columnsStartAt1", true },
                             { "pathFormat", "path" } });
        Send("launch", { { "program", m_strProgram },
                         { "cwd", m_strProgram.substr(0, m_strProgram.find_last_of('/') + 1) } });
        break;
    case DAP_FAILED: {
        std::unique_ptr<std::wstring> why((std::wstring*)p);
        End((L"No debug adapter: " + *why + L" The editor keeps working.").c_str());
        break;
    }
    case DAP_MESSAGE: {
        std::unique_ptr<json> m((json*)p);
        if (m_state != IDLE)
            OnMessage(*m);
        break;
    }
    case DAP_CLOSED:
        End(m_bStopping ? L"Debugging stopped." : L"The debug adapter ended unexpectedly; the session is over.");
        break;
    }
}

void CDebugSession::OnMessage(const json& m)
{
    const std::string type = m.value("type", "");
    if (type == "event") {
        OnEvent(m.value("event", ""), m.value("body", json::object()));
        return;
    }
    if (type != "response")
        return;
    auto it = m_pending.find(m.value("request_seq", 0));
    if (it == m_pending.end())
        return;
    const Asked p = it->second;
    m_pending.erase(it);
    if (!m.value("success", false)) {
        std::string msg = m.value("message", "");
        if (m.contains("body") && m["body"].contains("error"))
            msg = m["body"]["error"].value("format", msg);
        AppendOutput(Wide(p.command + ": " + msg) + L"\r\n");
        if (p.command == "launch" || p.command == "initialize")
            Stop();
        return;
    }
    OnResponse(p, m.value("body", json::object()));
}

void CDebugSession::OnResponse(const Asked& p, const json& body)
{
    if (p.command == "setBreakpoints") {
        // The lines the adapter verified are the ones the margin shows; one
        // it moved shows where it will stop.
        CVelmor& ed = *g_app.editor;
        ed.DeleteAllBreaks();
        for (const json& b : body.value("breakpoints", json::array()))
            if (b.value("verified", false) && b.value("line", 0) >= 1)
                ed.SetBreakLine(b["line"].get<int>() - 1, 1);
        ed.RefreshLineNum(TRUE);
    } else if (p.command == "stackTrace") {
        OnStackTrace(body);
    } else if (p.command == "scopes") {
        if (p.frame != m_nFrame || m_frames.empty())
            return;
        for (const json& s : body.value("scopes", json::array())) {
            Asked v;
            v.frame = p.frame;
            v.ref = s.value("variablesReference", 0);
            v.scope = true;
            if (v.ref)
                Send("variables", { { "variablesReference", v.ref } }, v);
        }
    } else if (p.command == "variables") {
        OnVariables(p, body);
    } else if (p.command == "disconnect") {
        End(L"Debugging stopped.");
    }
}

void CDebugSession::OnEvent(const std::string& event, const json& body)
{
    if (event == "initialized") {
        SendBreakpoints();
        // Errors no try catches stop the script where they were raised.
        Send("setExceptionBreakpoints", { { "filters", json::array({ "uncaught" }) } });
        Send("configurationDone", json::object());
        m_bConfigured = true;
        if (m_state == STARTING)
            m_state = RUNNING;
    } else if (event == "stopped") {
        m_state = STOPPED;
        m_nThread = body.value("threadId", m_nThread);
        m_strStopReason = body.value("reason", "");
        if (m_strStopReason == "exception") {
            std::string text = body.value("text", body.value("description", ""));
            AppendOutput(L"Stopped on an error: " + Wide(text) + L"\r\n");
        }
        Send("stackTrace", { { "threadId", m_nThread }, { "startFrame", 0 }, { "levels", 50 } });
    } else if (event == "continued") {
        if (m_state == STOPPED)
            Resumed();
    } else if (event == "output") {
        std::string text = body.value("output", "");
        std::wstring w;
        for (wchar_t c : Wide(text)) {
            if (c == L'\n' && (w.empty() || w.back() != L'\r'))
                w += L'\r';
            w += c;
        }
        if (body.value("category", "") == "stderr" && body.contains("line"))
            w = L"line " + std::to_wstring(body["line"].get<int>()) + L": " + w;
        AppendOutput(w);
    } else if (event == "exited") {
        AppendOutput(L"The script exited with code " + std::to_wstring(body.value("exitCode", 0)) + L".\r\n");
    } else if (event == "terminated") {
        // The script is over: end the adapter too.
        m_bStopping = true;
        if (!Send("disconnect", json::object()))
            End(L"Debugging ended.");
    }
}

void CDebugSession::OnStackTrace(const json& body)
{
    m_frames.clear();
    for (const json& f : body.value("stackFrames", json::array())) {
        DapFrame d;
        d.id = f.value("id", 0);
        d.name = f.value("name", "");
        d.line = f.value("line", 0);
        if (f.contains("source") && f["source"].is_object())
            d.path = f["source"].value("path", "");
        m_frames.push_back(d);
    }
    m_scopeVars.clear();
    m_children.clear();
    SelectFrame(0);
}

bool CDebugSession::IsOurs(const std::string& path) const
{
    return path.empty() || path == m_strProgram;
}

void CDebugSession::SelectFrame(int i)
{
    if (m_state != STOPPED || i < 0 || i >= (int)m_frames.size())
        return;
    m_nFrame = i;
    ShowFrames(m_frames, i);
    const DapFrame& f = m_frames[(size_t)i];
    CVelmor& ed = *g_app.editor;
    if (IsOurs(f.path) && f.line >= 1) {
        ed.SetBreakLine(f.line);
        ed.GoToLine(f.line - 1);
    } else {
        ed.SetBreakLine(-1);
    }
    ed.RefreshLineNum(TRUE);
    ed.Invalidate(TRUE);
    // The tip reads this frame: what it has not fetched yet, it asks for.
    ed.SetInspector(this);
    ed.SetRunning(true);
    if (!m_scopeVars.count(i)) {
        m_scopeVars[i];
        Asked p;
        p.frame = i;
        Send("scopes", { { "frameId", f.id } }, p);
    }
}

void CDebugSession::OnVariables(const Asked& p, const json& body)
{
    std::vector<DapVariable> vars;
    for (const json& v : body.value("variables", json::array())) {
        DapVariable d;
        d.name = v.value("name", "");
        d.value = v.value("value", "");
        d.type = v.value("type", "");
        d.ref = v.value("variablesReference", 0);
        vars.push_back(d);
    }
    // Two levels down from a scope are fetched at once, so that the tip has
    // a structure's fields, an array's first elements and those of the
    // arrays and structures they hold when it opens.
    if (p.depth < 2 && m_state == STOPPED) {
        for (const DapVariable& d : vars) {
            if (d.ref && !m_children.count(d.ref)) {
                m_children[d.ref];
                Asked c;
                c.frame = p.frame;
                c.ref = d.ref;
                c.depth = p.depth + 1;
                Send("variables", { { "variablesReference", d.ref }, { "start", 0 }, { "count", kChildPage } }, c);
            }
        }
    }
    if (p.scope) {
        auto& all = m_scopeVars[p.frame];
        all.insert(all.end(), vars.begin(), vars.end());
    } else {
        m_children[p.ref] = std::move(vars);
    }
}

size_t CDebugSession::VariableCount() const
{
    auto it = m_scopeVars.find(m_nFrame);
    return it == m_scopeVars.end() ? 0 : it->second.size();
}

namespace {

int TypeCode(const std::string& type)
{
    static const std::pair<const char*, int> codes[] = {
        { "Integer_Type", VELMOR_T_INT },  { "Int_Type", VELMOR_T_INT },     { "Double_Type", VELMOR_T_DOUBLE },
        { "Float_Type", VELMOR_T_FLOAT },  { "Char_Type", VELMOR_T_CHAR },   { "UChar_Type", VELMOR_T_UCHAR },
        { "Short_Type", VELMOR_T_SHORT },  { "UShort_Type", VELMOR_T_USHORT }, { "UInteger_Type", VELMOR_T_UINT },
        { "Long_Type", VELMOR_T_LONG },    { "ULong_Type", VELMOR_T_ULONG }, { "String_Type", VELMOR_T_STRING },
        { "Struct_Type", VELMOR_T_STRUCT }, { "Array_Type", VELMOR_T_ARRAY },
    };
    for (const auto& c : codes)
        if (type == c.first)
            return c.second;
    return 0;
}

} // namespace

// A value as the adapter described it, in the control's tree. Texts the
// tree has no code for (lists, associative arrays, NULL) are shown as the
// adapter's text.
bool CDebugSession::FillValue(const DapVariable& v, CVelmorValue& value, int depth) const
{
    std::string type = v.type;
    // User-defined structure types are structures too.
    if (v.ref && v.value.rfind("struct", 0) == 0)
        type = "Struct_Type";
    // Arrays are described by their elements' type and dimensions:
    // "Double_Type[5]".
    if (v.ref && !v.value.empty() && v.value.back() == ']' && v.value.find("_Type[") != std::string::npos)
        type = "Array_Type";
    int code = TypeCode(type);
    if (code == VELMOR_T_ARRAY) {
        value.nType = VELMOR_T_ARRAY;
        // "Integer_Type[5]": the element type and the length.
        const size_t br = v.value.find('[');
        value.nElemType = TypeCode(v.value.substr(0, br));
        value.nLength = br == std::string::npos ? 0 : atoll(v.value.c_str() + br + 1);
        value.nFirst = 0;
        auto it = m_children.find(v.ref);
        if (depth < 3 && it != m_children.end())
            for (const DapVariable& e : it->second) {
                CVelmorValue ev;
                FillValue(e, ev, depth + 1);
                value.elements.push_back(ev);
            }
        return true;
    }
    if (code == VELMOR_T_STRUCT) {
        value.nType = VELMOR_T_STRUCT;
        auto it = m_children.find(v.ref);
        if (depth < 3 && it != m_children.end())
            for (const DapVariable& f : it->second) {
                CVelmorValue fv;
                FillValue(f, fv, depth + 1);
                value.fields.emplace_back(f.name, fv);
            }
        return true;
    }
    if (code == VELMOR_T_STRING) {
        std::string s = v.value;
        if (s.size() >= 2 && s.front() == '"' && s.back() == '"')
            s = s.substr(1, s.size() - 2);
        value = CVelmorValue::String(s);
        return true;
    }
    if (code == VELMOR_T_DOUBLE || code == VELMOR_T_FLOAT) {
        value = CVelmorValue::Real(code, atof(v.value.c_str()));
        return true;
    }
    if (code) {
        value = CVelmorValue::Int(code, atoll(v.value.c_str()));
        return true;
    }
    value = CVelmorValue::String(v.value);
    return true;
}

// Answered from what the last stop fetched for the selected frame: no
// round trip while the mouse rests.
bool CDebugSession::InspectVariable(int, const char* pszName, long long, CVelmorValue& value)
{
    if (m_state != STOPPED)
        return false;
    auto it = m_scopeVars.find(m_nFrame);
    if (it == m_scopeVars.end())
        return false;
    for (const DapVariable& v : it->second)
        if (v.name == pszName)
            return FillValue(v, value, 0);
    return false;
}

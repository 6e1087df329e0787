// The demo's debug session: the Debug menu's commands carried out through
// the debug adapter (dapclient.h), what the adapter reports shown in the
// control (breakpoints, the execution arrow, the value tip) and in the
// output and call-stack panes (debugpanes.cpp).
#pragma once
#include "dapclient.h"
#include "editor/VelmorCtrl.h"
#include <map>
#include <string>
#include <vector>

// The message the client posts to the main window.
const UINT WM_DAP = WM_APP + 0x21;

struct DapVariable
{
    std::string name, value, type;
    int ref = 0; // variablesReference: its children can be asked for
};

struct DapFrame
{
    int id = 0;
    std::string name;
    std::string path; // the adapter's (Linux) path of its source
    int line = 0;     // one-based
};

class CDebugSession : public IVelmorInspector
{
public:
    enum State
    {
        IDLE,     // no adapter
        STARTING, // started, not yet stopped or running
        RUNNING,
        STOPPED,
    };

    // Start Debugging, or Continue when stopped. False when no adapter
    // could be started (the reason is in the output pane and a message).
    bool StartOrContinue();
    void Next() { Step("next"); }
    void StepIn() { Step("stepIn"); }
    void StepOut() { Step("stepOut"); }
    void Pause();
    // Ends the session: a disconnect request, then the connection closes.
    void Stop();
    // Sends the control's breakpoints again (after F9 during a session).
    void SendBreakpoints();
    // Makes frame i of the last stop the one the arrow and the tip show.
    void SelectFrame(int i);

    // The client's posted messages (WM_DAP).
    void OnPost(WPARAM kind, LPARAM p);

    State GetState() const { return m_state; }
    bool Active() const { return m_state != IDLE; }
    const std::vector<DapFrame>& Frames() const { return m_frames; }
    int SelectedFrame() const { return m_nFrame; }
    // How many variables the last stop fetched for the selected frame.
    size_t VariableCount() const;
    // What the last stop said: "breakpoint", "step", "exception", ...
    const std::string& StopReason() const { return m_strStopReason; }
    // Requests sent and not yet answered.
    size_t PendingCount() const { return m_pending.size(); }

    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override;

private:
    struct Asked
    {
        std::string command;
        int frame = -1; // scopes, variables: the frame index they are for
        int ref = 0;    // variables: the reference asked for
        bool scope = false;
        int depth = 0; // variables: 0 a scope, 1 its values' children, ...
    };
    void Step(const char* command);
    int Send(const std::string& command, const nlohmann::json& args);
    int Send(const std::string& command, const nlohmann::json& args, Asked p);
    void OnMessage(const nlohmann::json& m);
    void OnResponse(const Asked& p, const nlohmann::json& m);
    void OnEvent(const std::string& event, const nlohmann::json& body);
    void OnStackTrace(const nlohmann::json& body);
    void OnVariables(const Asked& p, const nlohmann::json& body);
    void Resumed();
    void End(const wchar_t* why);
    bool IsOurs(const std::string& path) const;
    bool FillValue(const DapVariable& v, CVelmorValue& value, int depth) const;

    CDapClient m_client;
    State m_state = IDLE;
    bool m_bStopping = false;
    bool m_bConfigured = false;
    int m_nThread = 1;
    std::string m_strProgram; // the script's path as the adapter sees it
    std::string m_strStopReason;
    std::map<int, Asked> m_pending;
    std::vector<DapFrame> m_frames;
    int m_nFrame = 0;
    // Per frame index: the variables of its scopes, locals first.
    std::map<int, std::vector<DapVariable>> m_scopeVars;
    // The children of a structured value, by its reference.
    std::map<int, std::vector<DapVariable>> m_children;
};

// The output and call-stack panes below the editor (debugpanes.cpp).
void CreateDebugPanes(HWND parent);
// Shows or hides them; the editor takes the rest of the client area.
void ShowDebugPanes(bool show);
bool DebugPanesShown();
// The height they take at the bottom of the client area (0 when hidden).
int DebugPanesHeight();
void LayoutDebugPanes(const RECT& client);
void AppendOutput(const std::wstring& text);
void ClearOutput();
std::wstring OutputText();
void ShowFrames(const std::vector<DapFrame>& frames, int selected);
// A selection change of the call-stack list (its LBN_SELCHANGE).
bool IsCallStackNotify(WPARAM wParam, LPARAM lParam);
int CallStackSelection();
HWND CallStackWindow();
std::wstring Wide(const std::string& s);

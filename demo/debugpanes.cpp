// The debug panes below the editor: the script's output and errors on the
// left, the call stack of the last stop on the right (choosing a frame
// moves the arrow there and makes the value tip read that frame).
#include "app.h"
#include "debugsession.h"

namespace {

const int kOutputId = 201;
const int kStackId = 202;
const int kPaneHeight = 150;

HWND g_output = nullptr;
HWND g_stack = nullptr;
HFONT g_font = nullptr;
bool g_shown = false;

} // namespace

void CreateDebugPanes(HWND parent)
{
    HINSTANCE inst = GetModuleHandleW(nullptr);
    g_output = CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT", L"",
                               WS_CHILD | WS_VSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL, 0, 0, 0, 0, parent,
                               (HMENU)(INT_PTR)kOutputId, inst, nullptr);
    g_stack = CreateWindowExW(WS_EX_CLIENTEDGE, L"LISTBOX", L"", WS_CHILD | WS_VSCROLL | LBS_NOTIFY, 0, 0, 0, 0, parent,
                              (HMENU)(INT_PTR)kStackId, inst, nullptr);
    g_font = CreateFontW(-13, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, FIXED_PITCH, L"Courier New");
    SendMessageW(g_output, WM_SETFONT, (WPARAM)g_font, FALSE);
    SendMessageW(g_stack, WM_SETFONT, (WPARAM)g_font, FALSE);
}

void ShowDebugPanes(bool show)
{
    if (show == g_shown || !g_output)
        return;
    g_shown = show;
    ShowWindow(g_output, show ? SW_SHOW : SW_HIDE);
    ShowWindow(g_stack, show ? SW_SHOW : SW_HIDE);
    // The editor gives up (or takes back) the bottom of the window.
    RECT rc;
    GetClientRect(g_app.hwnd, &rc);
    SendMessageW(g_app.hwnd, WM_SIZE, SIZE_RESTORED, MAKELPARAM(rc.right, rc.bottom));
}

bool DebugPanesShown()
{
    return g_shown;
}

int DebugPanesHeight()
{
    return g_shown ? kPaneHeight : 0;
}

void LayoutDebugPanes(const RECT& client)
{
    if (!g_shown)
        return;
    const int top = client.bottom - kPaneHeight;
    const int split = client.right * 3 / 5;
    MoveWindow(g_output, 0, top, split, kPaneHeight, TRUE);
    MoveWindow(g_stack, split, top, client.right - split, kPaneHeight, TRUE);
}

void AppendOutput(const std::wstring& text)
{
    if (!g_output)
        return;
    const int end = GetWindowTextLengthW(g_output);
    SendMessageW(g_output, EM_SETSEL, end, end);
    SendMessageW(g_output, EM_REPLACESEL, FALSE, (LPARAM)text.c_str());
    SendMessageW(g_output, EM_SCROLLCARET, 0, 0);
}

void ClearOutput()
{
    if (g_output)
        SetWindowTextW(g_output, L"");
}

std::wstring OutputText()
{
    if (!g_output)
        return std::wstring();
    std::wstring s((size_t)GetWindowTextLengthW(g_output) + 1, L'\0');
    s.resize((size_t)GetWindowTextW(g_output, s.data(), (int)s.size()));
    return s;
}

void ShowFrames(const std::vector<DapFrame>& frames, int selected)
{
    if (!g_stack)
        return;
    SendMessageW(g_stack, LB_RESETCONTENT, 0, 0);
    for (const DapFrame& f : frames) {
        std::string where = f.path.substr(f.path.find_last_of('/') + 1);
        std::wstring item = Wide(f.name) + L"  " + Wide(where) + L":" + std::to_wstring(f.line);
        SendMessageW(g_stack, LB_ADDSTRING, 0, (LPARAM)item.c_str());
    }
    SendMessageW(g_stack, LB_SETCURSEL, (WPARAM)selected, 0);
}

bool IsCallStackNotify(WPARAM wParam, LPARAM lParam)
{
    return (HWND)lParam == g_stack && LOWORD(wParam) == kStackId && HIWORD(wParam) == LBN_SELCHANGE;
}

int CallStackSelection()
{
    return g_stack ? (int)SendMessageW(g_stack, LB_GETCURSEL, 0, 0) : -1;
}

HWND CallStackWindow()
{
    return g_stack;
}

// velmor-demo: a host application that embeds the Velmor control the way a
// customer's program does. A plain Win32 main window (no framework of its
// own) with File, Edit, View, Debug and Help menus; the control fills the client
// area and takes the keyboard: its message loop offers every message to the
// control's accelerators first (AfxPreTranslateMessage). The menus and
// their commands are in commands.cpp, the tour in tour*.cpp, the Go To Line
// dialog in gotoline.cpp, Find and Replace in findreplace.cpp, Help > About
// in about.cpp, the stand-in script engine in hostengine.cpp, the debug
// session with the debug adapter in debugsession.cpp, dapclient.cpp and
// debugpanes.cpp.
//
//   velmor-demo.exe [script]            opens a window
//   velmor-demo.exe --tour <dir> [script]  plays a short scripted tour,
//                                        writes a PNG of each screen into
//                                        <dir>, prints the paths and exits
//   velmor-demo.exe --debug-tour <dir>   its debugging screens alone
#include "about.h"
#include "app.h"
#include "findreplace.h"
#include "gotoline.h"
#include <commdlg.h>

App g_app;

const int kEditorId = 100;
const int kCompactInset = 24;
const COLORREF kPatternA = RGB(250, 226, 170);
const COLORREF kPatternB = RGB(196, 220, 250);

// ---------------------------------------------------------------------------
// Files: UTF-8 on disk, UTF-16 in the control.

static bool ReadFileText(const std::wstring& path, std::wstring& text)
{
    HANDLE f = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE)
        return false;
    LARGE_INTEGER size;
    GetFileSizeEx(f, &size);
    std::string bytes((size_t)size.QuadPart, '\0');
    DWORD got = 0;
    BOOL ok = ReadFile(f, bytes.data(), (DWORD)bytes.size(), &got, nullptr);
    CloseHandle(f);
    if (!ok)
        return false;
    bytes.resize(got);
    if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        bytes.erase(0, 3);
    int n = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), (int)bytes.size(), nullptr, 0);
    text.assign((size_t)n, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), (int)bytes.size(), text.data(), n);
    // The control keeps only text that ends with a line feed.
    if (!text.empty() && text.back() != L'\n')
        text += L'\n';
    return true;
}

bool WriteFileText(const std::wstring& path, const CString& text)
{
    int n = WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
    std::string bytes((size_t)n, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), bytes.data(), n, nullptr, nullptr);
    HANDLE f = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE)
        return false;
    DWORD put = 0;
    BOOL ok = WriteFile(f, bytes.data(), (DWORD)bytes.size(), &put, nullptr);
    CloseHandle(f);
    return ok && put == bytes.size();
}

// ---------------------------------------------------------------------------
// The editor

void UpdateTitle()
{
    std::wstring name = g_app.path.empty() ? L"untitled" : g_app.path.substr(g_app.path.find_last_of(L"\\/") + 1);
    std::wstring title = (g_app.modified ? L"*" : L"") + name + L" - Velmor demo";
    SetWindowTextW(g_app.hwnd, title.c_str());
}

static CRect EditorRect()
{
    CRect rc;
    GetClientRect(g_app.hwnd, &rc);
    rc.bottom -= DebugPanesHeight();
    if (g_app.compact)
        rc.DeflateRect(kCompactInset, kCompactInset);
    return rc;
}

void LoadIntoEditor(const CString& text)
{
    g_app.editor->LoadText(text);
    // Loading resets the control, and a reset ends compact mode: a compact
    // host turns it back on after each load.
    g_app.editor->m_bNoFrame = g_app.compact;
    // A fresh file has nothing to undo (the control would offer to undo the
    // load itself).
    g_app.editor->ClearUndoHistory();
    g_app.modified = false;
    // Another text: the engine no longer holds a script.
    g_app.holding = false;
    g_app.editor->SetRunning(false);
    g_app.editor->SetInspector(nullptr);
    SetChecks();
    UpdateTitle();
}

// Compact mode is chosen when the control is created: switching it makes a
// new control that takes over the text, breakpoints and settings (not the
// undo history).
void CreateEditor(const CString& text)
{
    CArray<char, char> breaks;
    int breakLine = -1;
    if (g_app.editor) {
        breaks.Copy(g_app.editor->m_arrBreaks);
        breakLine = g_app.editor->m_nBreakLine;
        g_app.editor.reset();
    }
    // The see-through background is taken from the parent's pixels at the
    // control's first paint: paint the parent first.
    InvalidateRect(g_app.hwnd, nullptr, TRUE);
    UpdateWindow(g_app.hwnd);

    g_app.editor = std::make_unique<CVelmor>(CWnd::FromHandle(g_app.hwnd), EditorRect(), kEditorId, 4,
                                             g_app.fontSize, L"Courier New", (BYTE)g_app.compact);
    // The language's keywords are the host's to give (the control knows its
    // operator and function words only).
    static const wchar_t* const keywords[] = {
        L"define", L"variable", L"if", L"else", L"return", L"while", L"for", L"foreach", L"forever", L"loop",
        L"do", L"switch", L"case", L"break", L"continue", L"struct", L"typedef", L"private", L"public",
        L"static", L"try", L"catch", L"throw", L"finally", L"_for", L"NULL",
    };
    for (const wchar_t* k : keywords)
        g_app.editor->AddKey(const_cast<wchar_t*>(k));
    const bool modified = g_app.modified;
    LoadIntoEditor(text);
    g_app.modified = modified;
    UpdateTitle();
    g_app.editor->SetLineNumber(g_app.lineNumbers);
    g_app.editor->LockEditor(g_app.readOnly);
    g_app.editor->EnableBreaks(!g_app.breaksDisabled);
    g_app.editor->m_arrBreaks.Copy(breaks);
    g_app.editor->SetBreakLine(breakLine);
    g_app.editor->SetFocus();
}

// The document as a file holds it. The control always ends with one empty
// line, which UnloadText writes as a final extra line feed: drop it so that
// text round-trips through files and through a new control.
CString EditorText()
{
    CString text;
    g_app.editor->UnloadText(text);
    if (text.GetLength() >= 1 && text[text.GetLength() - 1] == L'\n')
        text.Delete(text.GetLength() - 1);
    return text;
}

void Refresh()
{
    g_app.editor->Invalidate(TRUE);
    g_app.editor->UpdateWindow();
}

static void PaintPattern(HDC dc)
{
    RECT rc;
    GetClientRect(g_app.hwnd, &rc);
    HBRUSH a = CreateSolidBrush(kPatternA), b = CreateSolidBrush(kPatternB);
    FillRect(dc, &rc, a);
    // Diagonal stripes show that the compact control is see-through.
    for (int x = -rc.bottom; x < rc.right; x += 24) {
        for (int y = 0; y < rc.bottom; y += 4) {
            RECT cell = { x + y, y, x + y + 12, y + 4 };
            FillRect(dc, &cell, b);
        }
    }
    DeleteObject(a);
    DeleteObject(b);
}

static LRESULT CALLBACK MainProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    // Find Next, Replace, Replace All and closing, from the find dialogs.
    if (msg == FindMessageId() && lParam) {
        if (g_app.editor)
            OnFindMessage(*reinterpret_cast<const FINDREPLACEW*>(lParam));
        return 0;
    }
    switch (msg) {
    case WM_SIZE:
        if (g_app.editor && g_app.editor->m_hWnd)
            g_app.editor->MoveWindow(EditorRect());
        {
            RECT rc;
            GetClientRect(hwnd, &rc);
            LayoutDebugPanes(rc);
        }
        return 0;
    case WM_DAP:
        g_app.debug.OnPost(wParam, lParam);
        return 0;
    case WM_ERASEBKGND:
        if (g_app.compact) {
            PaintPattern((HDC)wParam);
            return 1;
        }
        break;
    case WM_SETFOCUS:
        if (AboutShown())
            FocusAbout();
        else if (g_app.editor)
            g_app.editor->SetFocus();
        return 0;
    case WM_INITMENUPOPUP:
        if (!HIWORD(lParam))
            UpdateMenuItems((HMENU)wParam);
        return 0;
    case VELMOR_WM_KEYNOTIFY:
        // Posted by the control on each key-down; the tour counts them.
        if (wParam == 0x0300 && lParam == kEditorId)
            ++g_app.keyNotifications;
        return 0;
    case WM_COMMAND:
        if (lParam && LOWORD(wParam) == kEditorId) {
            // An undo with nothing to undo (Ctrl+Z on a fresh file) notifies
            // a change too: with neither undo nor redo to offer, the text is
            // still the one loaded.
            if (HIWORD(wParam) == EN_CHANGE && !g_app.modified && g_app.editor &&
                (ControlCommandEnabled(ID_EDIT_UNDO) || ControlCommandEnabled(ID_EDIT_REDO))) {
                g_app.modified = true;
                UpdateTitle();
            }
            return 0;
        }
        if (IsCallStackNotify(wParam, lParam)) {
            g_app.debug.SelectFrame(CallStackSelection());
            return 0;
        }
        if (!lParam) {
            OnCommand(LOWORD(wParam));
            return 0;
        }
        break;
    case WM_DESTROY:
        // Closing the connection ends the adapter and its script.
        g_app.debug.Stop();
        g_app.debug.OnPost(DAP_CLOSED, 0);
        g_app.editor.reset();
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

std::wstring SamplePath(const wchar_t* name)
{
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring dir(exe);
    dir.erase(dir.find_last_of(L"\\/") + 1);
    return dir + L"samples\\" + name;
}

bool OpenFile(const std::wstring& path)
{
    std::wstring text;
    if (!ReadFileText(path, text)) {
        MessageBoxW(g_app.hwnd, (L"Cannot read " + path).c_str(), L"Velmor demo", MB_ICONERROR);
        return false;
    }
    // Another file: the session on the previous one ends.
    g_app.debug.Stop();
    g_app.path = path;
    g_app.editor->DeleteAllBreaks();
    g_app.editor->SetBreakLine(-1);
    LoadIntoEditor(text.c_str());
    return true;
}

void RouteMessage(MSG& msg)
{
    // The open find dialog's own keys (Tab, Enter, Escape); messages for
    // other windows pass on.
    if (HWND dlg = FindDialog(); dlg && IsDialogMessageW(dlg, &msg))
        return;
    // The control translates its accelerators here (a key-down addressed to
    // it); without this its keys would go straight to its key-down handling.
    if (AfxPreTranslateMessage(&msg))
        return;
    if (g_app.accel && TranslateAcceleratorW(g_app.hwnd, g_app.accel, &msg))
        return;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
}

void RunQueue()
{
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        RouteMessage(msg);
}

void Pump()
{
    for (int round = 0; round < 3; ++round) {
        RunQueue();
        Sleep(20);
    }
}

int wmain(int argc, wchar_t** argv)
{
    std::wstring tourDir, file;
    bool debugTour = false;
    for (int i = 1; i < argc; ++i) {
        std::wstring a = argv[i];
        if (a == L"--tour" && i + 1 < argc)
            tourDir = argv[++i];
        else if (a == L"--debug-tour" && i + 1 < argc) {
            tourDir = argv[++i];
            debugTour = true;
        }
        else
            file = a;
    }
    if (file.empty())
        file = SamplePath(L"sample.sl");

    WNDCLASSW wc = {};
    wc.lpfnWndProc = MainProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hCursor = LoadCursorW(nullptr, (LPCWSTR)IDC_ARROW);
    wc.hIcon = LoadIconW(nullptr, (LPCWSTR)IDI_APPLICATION);
    wc.lpszClassName = L"VelmorDemo";
    RegisterClassW(&wc);
    g_app.menu = BuildMenu();
    g_app.hwnd = CreateWindowExW(0, wc.lpszClassName, L"Velmor demo", WS_OVERLAPPEDWINDOW, 40, 40, 860, 640, nullptr,
                                 g_app.menu, wc.hInstance, nullptr);
    ShowWindow(g_app.hwnd, SW_SHOW);
    CreateDebugPanes(g_app.hwnd);
    CreateEditor(L"");
    OpenFile(file);
    SetChecks();
    UpdateWindow(g_app.hwnd);
    g_app.accel = BuildAccelerators();

    int rc = 0;
    if (!tourDir.empty()) {
        rc = Tour(tourDir, debugTour);
        DestroyWindow(g_app.hwnd);
    } else {
        MSG msg;
        while (GetMessageW(&msg, nullptr, 0, 0) > 0)
            RouteMessage(msg);
        rc = (int)msg.wParam;
    }
    DestroyAcceleratorTable(g_app.accel);
    return rc;
}

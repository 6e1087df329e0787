// A small host of the Velmor editor control, built against the SDK package
// alone (see CMakeLists.txt beside this file).
//
// It creates the control in a window of its own, loads a script, reads it
// back (as written and as the interpreter gets it), marks a breakpoint and
// the execution line, and handles the exception the control raises for a
// line index outside the document. While its (pretend) script is held at
// the execution line, it answers the control's questions about variables
// through the inspection interface, as the value tip asks them. It also
// compares the version of the velmor.dll it loaded with the headers it was
// compiled with.
//
//   velmor-host          run the steps, print them, exit 0 when all went as expected
//   velmor-host --show   then keep the window open until it is closed
#include "editor/VelmorCtrl.h"
#include "VelmorVersion.h"
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <vector>

namespace {

const int kEditorId = 100;
CVelmor* g_editor = nullptr;
int g_changes = 0; // EN_CHANGE notifications received
int g_failures = 0;

// The host's engine, as the value tip sees it: the variables of the held
// script by name. A real host reads them from its interpreter.
class HostEngine : public IVelmorInspector
{
public:
    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override
    {
        if (std::strcmp(pszName, "a") == 0) {
            value = CVelmorValue::Real(VELMOR_T_DOUBLE, 12.566371);
            return true;
        }
        if (std::strcmp(pszName, "circle") == 0) {
            value.nType = VELMOR_T_STRUCT;
            value.fields.emplace_back("r", CVelmorValue::Int(VELMOR_T_INT, 2));
            value.fields.emplace_back("name", CVelmorValue::String("unit"));
            return true;
        }
        return false;
    }
};

void Check(bool ok, const char* what)
{
    std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok)
        ++g_failures;
}

LRESULT CALLBACK HostWndProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_COMMAND:
        // The control reports each completed edit to its parent.
        if (LOWORD(wParam) == kEditorId && HIWORD(wParam) == EN_CHANGE)
            ++g_changes;
        return 0;
    case WM_SIZE:
        if (g_editor && g_editor->GetSafeHwnd())
            g_editor->MoveWindow(0, 0, LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

HWND CreateHostWindow(HINSTANCE hInstance)
{
    WNDCLASSW wc = {};
    wc.lpfnWndProc = HostWndProc;
    wc.hInstance = hInstance;
    wc.hCursor = LoadCursorW(nullptr, (LPCWSTR)IDC_ARROW);
    wc.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    wc.lpszClassName = L"VelmorHostExample";
    RegisterClassW(&wc);
    return CreateWindowExW(0, wc.lpszClassName, L"Velmor host example", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                           CW_USEDEFAULT, CW_USEDEFAULT, 720, 480, nullptr, nullptr, hInstance, nullptr);
}

// Reads a line through a frame of our own that holds an object with a
// destructor: an exception from the DLL must unwind this frame (running the
// destructor) on its way to the caller's handler.
struct Cleanup
{
    bool& done;
    ~Cleanup() { done = true; }
};

__attribute__((noinline)) CString ReadLine(CVelmor& editor, int nLine, bool& cleanedUp)
{
    Cleanup cleanup{ cleanedUp };
    return editor.GetLine(nLine);
}

// The version resource of the velmor.dll this process loaded.
void CheckDllVersion()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(L"velmor.dll"), path, MAX_PATH);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    std::vector<BYTE> info(size ? size : 1);
    if (!size || !GetFileVersionInfoW(path, 0, size, info.data())) {
        Check(false, "velmor.dll has a version resource");
        return;
    }
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT len = 0;
    const bool haveFixed = VerQueryValueW(info.data(), L"\\", (void**)&fixed, &len) && fixed;
    wchar_t* product = nullptr;
    wchar_t* company = nullptr;
    wchar_t* description = nullptr;
    VerQueryValueW(info.data(), L"\\StringFileInfo\\040904B0\\ProductVersion", (void**)&product, &len);
    VerQueryValueW(info.data(), L"\\StringFileInfo\\040904B0\\CompanyName", (void**)&company, &len);
    VerQueryValueW(info.data(), L"\\StringFileInfo\\040904B0\\FileDescription", (void**)&description, &len);
    std::printf("     velmor.dll %ls, \"%ls\" by %ls; headers %s\n", product ? product : L"?",
                description ? description : L"?", company ? company : L"?", VELMOR_VERSION_STRING);
    Check(haveFixed && HIWORD(fixed->dwFileVersionMS) == VELMOR_VERSION_MAJOR &&
              LOWORD(fixed->dwFileVersionMS) == VELMOR_VERSION_MINOR &&
              HIWORD(fixed->dwFileVersionLS) == VELMOR_VERSION_PATCH,
          "the DLL's file version is the headers' version");
    Check(product && std::wcscmp(product, L"" VELMOR_VERSION_STRING) == 0,
          "the DLL's product version is VELMOR_VERSION_STRING");
    Check(company && *company && description && *description, "the DLL names its company and describes itself");
}

} // namespace

int main(int argc, char** argv)
{
    const bool show = argc > 1 && std::strcmp(argv[1], "--show") == 0;
    HINSTANCE hInstance = GetModuleHandleW(nullptr);
    HWND hwnd = CreateHostWindow(hInstance);
    if (!hwnd) {
        std::printf("FAIL cannot create the host window\n");
        return 1;
    }

    // Create: parent, rectangle, control id, tab size, font in tenths of a
    // point and its face, compact mode off. The window exists on return.
    RECT rc;
    GetClientRect(hwnd, &rc);
    g_editor = new CVelmor(CWnd::FromHandle(hwnd), CRect(rc), kEditorId, 4, 100, L"Courier New", 0);
    Check(g_editor->GetSafeHwnd() != nullptr, "the control's window exists");
    g_editor->SetLineNumber(true);
    ShowWindow(hwnd, SW_SHOW);

    // Load and read back. The text ends with a line feed; the document then
    // ends with one empty line, which UnloadText writes as one more.
    const wchar_t* script =
        L"// area of a circle\n"
        L"define area (r)\n"
        L"{\n"
        L"    return PI * r * r;  % S-Lang's own comment stays text\n"
        L"}\n"
        L"variable a = area (2.0);\n";
    g_changes = 0;
    g_editor->LoadText(script);
    Check(g_changes > 0, "the parent was told of the change (EN_CHANGE)");
    Check(g_editor->GetLineCount() == 7, "six lines and the final empty one");
    Check(g_editor->GetLine(1) == L"define area (r)", "GetLine(1) gives the second line");

    CString text;
    g_editor->UnloadText(text);
    Check(text == CString(script) + L"\n", "UnloadText gives the script back");

    // What the interpreter gets: comments blanked, columns and lines kept.
    CString source;
    g_editor->GetSourceCodes(source);
    Check(source.GetLength() == text.GetLength() && source.Find(L"area of a circle") < 0 &&
              source.Find(L"variable a = area (2.0);") >= 0,
          "GetSourceCodes blanks the comment and keeps the code in place");

    // Breakpoint on line index 3, execution stopped on (one-based) line 4.
    g_editor->SetBreakLine(3, 1);
    g_editor->SetBreakLine(4);

    // A line index outside the document: the control throws the framework's
    // invalid-argument exception, by pointer; the host deletes it.
    bool caught = false;
    bool cleanedUp = false;
    try {
        ReadLine(*g_editor, g_editor->GetLineCount() + 10, cleanedUp);
    } catch (CInvalidArgException* e) {
        wchar_t message[128] = {};
        e->GetErrorMessage(message, 128);
        std::printf("     caught CInvalidArgException: %ls\n", message);
        e->Delete();
        caught = true;
    }
    Check(caught, "a bad line index raises CInvalidArgException* into the host");
    Check(cleanedUp, "the host's frames between the throw and the handler were unwound");

    // Held at the execution line: the value tip's lookups go to the host's
    // engine. GetVariable is what the tip shows for a word of the text.
    HostEngine engine;
    g_editor->SetInspector(&engine);
    g_editor->SetRunning(true);
    g_editor->LoadText(L"variable a = area (2.0);\ncircle.r\ncircle\n");
    Check(g_editor->GetVariable(9, 0) == L"a=12.566371", "the tip's text for a double");
    Check(g_editor->GetVariable(7, 1) == L"circle.r=2", "the tip's text for a structure's field");
    Check(g_editor->GetVariable(2, 2) == L"circle\n\tr=2\n\tname=\"unit\"\n", "the tip's text for a structure");
    Check(g_editor->GetVariable(2, 0).IsEmpty(), "a word the engine does not know shows nothing");
    g_editor->SetRunning(false);
    g_editor->SetInspector(nullptr);

    CheckDllVersion();

    if (show) {
        // The control translates its keyboard accelerators here.
        MSG msg;
        while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
            if (AfxPreTranslateMessage(&msg))
                continue;
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    } else {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    }

    delete g_editor; // destroys the control's window
    g_editor = nullptr;
    if (IsWindow(hwnd))
        DestroyWindow(hwnd);

    if (g_failures) {
        std::printf("velmor-host: %d check(s) failed\n", g_failures);
        return 1;
    }
    std::printf("velmor-host: all checks passed\n");
    return 0;
}

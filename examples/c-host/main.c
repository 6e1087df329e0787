/* A host of the Velmor editor control written in plain C: the control is
 * made by its window class name and driven by messages (Velmor.h), so the
 * same steps work from any language that can call SendMessageW.
 *
 * It loads a script, edits it, finds and replaces, sets breakpoints and the
 * execution line, answers the value tip through the callback table,
 * handles the control's notifications and reads the text back.
 *
 *   velmor-c-host          run the steps, print them, exit 0 when all went as expected
 *   velmor-c-host --show   then keep the window open until it is closed
 */
#include "editor/Velmor.h"
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#define EDITOR_ID 100

static HWND g_editor;
static int g_failures;
static int g_changes;       /* VEN_CHANGE notifications */
static int g_lastChanged = -1;
static int g_selChanges;    /* VEN_SELCHANGE notifications */
static int g_breakpoints;   /* VEN_BREAKPOINT notifications */
static int g_enChanges;     /* WM_COMMAND EN_CHANGE */

static void Check(int ok, const char* what)
{
    printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok)
        ++g_failures;
}

static LRESULT Send(UINT msg, WPARAM wp, LPARAM lp)
{
    return SendMessageW(g_editor, msg, wp, lp);
}

/* The held script's variables, as a real host would read them from its
 * interpreter: "r" is an integer, "circle" a structure. */
static BOOL WINAPI InspectVariable(void* context, int line, const char* name, LONGLONG index, HVELMORVALUE value)
{
    int* asked = (int*)context;
    (void)line;
    (void)index;
    ++*asked;
    if (strcmp(name, "r") == 0)
        return VelmorValueSetInt(value, VELMOR_TYPE_INT, 2);
    if (strcmp(name, "circle") == 0) {
        VelmorValueSetStruct(value, VELMOR_TYPE_STRUCT);
        VelmorValueSetInt(VelmorValueAddField(value, "r"), VELMOR_TYPE_INT, 2);
        return VelmorValueSetString(VelmorValueAddField(value, "name"), "unit");
    }
    return FALSE;
}

static LRESULT CALLBACK HostProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp)
{
    switch (msg) {
    case WM_NOTIFY: {
        const NMHDR* hdr = (const NMHDR*)lp;
        if (hdr->idFrom != EDITOR_ID)
            break;
        if (hdr->code == VEN_CHANGE) {
            ++g_changes;
            g_lastChanged = ((const NMVELMORCHANGE*)lp)->nFirstLine;
        } else if (hdr->code == VEN_SELCHANGE) {
            ++g_selChanges;
        } else if (hdr->code == VEN_BREAKPOINT) {
            ++g_breakpoints;
        } else if (hdr->code == VEN_MARGINCLICK) {
            /* A click in the margin sets or clears a breakpoint there. */
            SendMessageW(hdr->hwndFrom, VEM_TOGGLEBREAKPOINT, (WPARAM)((const NMVELMORLINE*)lp)->nLine, 0);
        }
        return 0;
    }
    case WM_COMMAND:
        if (LOWORD(wp) == EDITOR_ID && HIWORD(wp) == EN_CHANGE)
            ++g_enChanges;
        return 0;
    case WM_SIZE:
        if (g_editor)
            MoveWindow(g_editor, 0, 0, LOWORD(lp), HIWORD(lp), TRUE);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wp, lp);
}

static void Line(int n, wchar_t* buf, UINT cch)
{
    VELMORTEXT t;
    VELMOR_BUFFER(t, buf, cch);
    if (Send(VEM_GETLINE, (WPARAM)n, (LPARAM)&t) == VELMOR_ERROR)
        buf[0] = 0;
}

static const wchar_t kScript[] =
    L"% The area of a circle\n"
    L"variable circle = struct { r = 2, name = \"unit\" };\n"
    L"define area(r)\n"
    L"{\n"
    L"\treturn PI * r * r; /* pi r squared */\n"
    L"}\n"
    L"variable a = area(circle.r);\n";

int main(int argc, char** argv)
{
    HINSTANCE inst = GetModuleHandleW(NULL);
    WNDCLASSW wc;
    HWND host;
    wchar_t buf[256];
    VELMORFIND find;
    VELMORSELECTION sel;
    VELMORINSPECTOR inspector;
    VELMORPOS pos;
    VELMORTEXT text;
    int asked = 0;
    LRESULT n;

    memset(&wc, 0, sizeof wc);
    wc.lpfnWndProc = HostProc;
    wc.hInstance = inst;
    wc.hCursor = LoadCursorW(NULL, (LPCWSTR)IDC_ARROW);
    wc.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    wc.lpszClassName = L"VelmorCHost";
    RegisterClassW(&wc);
    host = CreateWindowExW(0, wc.lpszClassName, L"Velmor C host", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                           CW_USEDEFAULT, CW_USEDEFAULT, 720, 480, NULL, NULL, inst, NULL);
    /* The class is registered by velmor.dll as it loads. */
    g_editor = CreateWindowExW(0, VELMOR_CLASSNAME, L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_HSCROLL |
                               VES_LINENUMBERS, 0, 0, 700, 440, host, (HMENU)EDITOR_ID, inst, NULL);
    Check(g_editor != NULL, "the control is created by its class name");
    if (!g_editor)
        return 1;
    ShowWindow(host, SW_SHOW);

    /* Load and read back. */
    Send(WM_SETTEXT, 0, (LPARAM)kScript);
    Check(Send(EM_GETLINECOUNT, 0, 0) == 8, "the script is 7 lines and the empty last line");
    Line(4, buf, 256);
    Check(wcscmp(buf, L"    return PI * r * r; /* pi r squared */") == 0, "the tab became spaces");
    Send(VEM_GETSOURCE, 256, 0);
    n = Send(VEM_GETSOURCE, 0, 0);
    Check(n == Send(WM_GETTEXTLENGTH, 0, 0), "the interpreter's text is as long as the text");

    /* Edit: a line replaced, one inserted; undo and redo. */
    g_changes = 0;
    Send(VEM_SETLINE, 0, (LPARAM)L"% Circles");
    Check(g_changes == 1 && g_lastChanged == 0, "VEN_CHANGE names the replaced line");
    Send(VEM_INSERTLINE, 7, (LPARAM)L"message(string(a));");
    Check(g_lastChanged == 7 && Send(EM_GETLINECOUNT, 0, 0) == 9, "a line is inserted before the last");
    Send(WM_UNDO, 0, 0);
    Check(Send(EM_GETLINECOUNT, 0, 0) == 8 && Send(VEM_CANREDO, 0, 0), "undo takes it out again");
    Send(VEM_REDO, 0, 0);
    Line(7, buf, 256);
    Check(wcscmp(buf, L"message(string(a));") == 0, "redo puts it back");
    Check(g_enChanges > 0, "EN_CHANGE still reaches the parent");

    /* Find (in upper case: the text is compared so without MATCHCASE) and replace. */
    memset(&find, 0, sizeof find);
    find.cbSize = sizeof find;
    find.nEndLine = -1;
    n = Send(VEM_FIND, (WPARAM)&find, (LPARAM)L"AREA(");
    Check(n == 2, "find stops on the function's line");
    sel.cbSize = sizeof sel;
    Check(Send(VEM_GETSELECTION, 0, (LPARAM)&sel) && sel.nCaretLine == 2, "and selects the match");
    Check(g_selChanges > 0, "VEN_SELCHANGE reports the new selection");
    Send(VEM_REPLACE, 0, (LPARAM)L"surface(");
    Line(2, buf, 256);
    Check(wcscmp(buf, L"define surface(r)") == 0, "replace changes the selected match");

    /* Breakpoints and the running script. */
    g_breakpoints = 0;
    Send(VEM_SETBREAKPOINT, 4, 1);
    Send(VEM_TOGGLEBREAKPOINT, 6, 0);
    Check(Send(VEM_GETBREAKPOINT, 4, 0) == 1 && Send(VEM_GETBREAKPOINT, 6, 0) == 1, "two breakpoints are set");
    Check(g_breakpoints == 2, "VEN_BREAKPOINT for each");
    Send(VEM_SETRUNNING, TRUE, 0);
    Send(VEM_SETEXECLINE, 5, 0);
    Check(Send(VEM_GETEXECLINE, 0, 0) == 5, "the script is held at line 5 (one-based)");

    /* The value tip asks the host through the callback table. */
    inspector.cbSize = sizeof inspector;
    inspector.pContext = &asked;
    inspector.pfnInspect = InspectVariable;
    Send(VEM_SETINSPECTOR, 0, (LPARAM)&inspector);
    VELMOR_BUFFER(text, buf, 256);
    pos.nColumn = 10;
    pos.nLine = 1;
    n = Send(VEM_GETVARIABLE, (WPARAM)&text, (LPARAM)&pos);
    Check(n > 0 && wcscmp(buf, L"circle\n\tr=2\n\tname=\"unit\"\n") == 0, "the tip shows circle's fields");
    Check(asked > 0, "the callback table was asked");

    /* A bad argument: an error value and a status, nothing lost. */
    n = Send(WM_GETTEXTLENGTH, 0, 0);
    Check(Send(VEM_SETLINE, 99, (LPARAM)L"x") == VELMOR_ERROR, "a line outside the text is refused");
    Check(Send(VEM_GETSTATUS, 0, 0) == VELMOR_STATUS_BADLINE, "the status says why");
    Check(Send(WM_GETTEXTLENGTH, 0, 0) == n, "and the text is as it was");
    Send(VEM_SETSTATUS, 0, 0);

    /* The whole text back. */
    {
        static wchar_t all[2048];
        n = Send(WM_GETTEXT, 2048, (LPARAM)all);
        Check(n > 0 && wcsstr(all, L"define surface(r)\n{\n") != NULL, "the text reads back with its edits");
    }
    Send(VEM_SETRUNNING, FALSE, 0);

    if (argc > 1 && strcmp(argv[1], "--show") == 0) {
        MSG msg;
        while (GetMessageW(&msg, NULL, 0, 0) > 0) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    } else {
        DestroyWindow(host);
    }
    Check(!IsWindow(g_editor), "the control went with its parent");
    printf("%s\n", g_failures ? "velmor-c-host: FAILED" : "velmor-c-host: all steps passed");
    return g_failures ? 1 : 0;
}

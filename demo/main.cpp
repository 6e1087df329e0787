// velmor-demo: a host application that embeds the Velmor control the way a
// customer's program does. A plain Win32 main window (no framework of its
// own) with File, Edit, View and Debug menus; the control fills the client
// area and takes the keyboard: its message loop offers every message to the
// control's accelerators first (AfxPreTranslateMessage). The tour is in
// tour.cpp, the Go To Line dialog in gotoline.cpp, Find and Replace in
// findreplace.cpp, Help > About in about.cpp.
//
//   velmor-demo.exe [script]            opens a window
//   velmor-demo.exe --tour <dir> [script]  plays a short scripted tour,
//                                        writes a PNG of each screen into
//                                        <dir>, prints the paths and exits
#include "about.h"
#include "app.h"
#include "findreplace.h"
#include "gotoline.h"
#include <commdlg.h>

App g_app;

namespace {

const int kEditorId = 100;
const int kCompactInset = 24;
const COLORREF kPatternA = RGB(250, 226, 170);
const COLORREF kPatternB = RGB(196, 220, 250);

// ---------------------------------------------------------------------------
// Files: UTF-8 on disk, UTF-16 in the control.

bool ReadFileText(const std::wstring& path, std::wstring& text)
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

CRect EditorRect()
{
    CRect rc;
    GetClientRect(g_app.hwnd, &rc);
    if (g_app.compact)
        rc.DeflateRect(kCompactInset, kCompactInset);
    return rc;
}

void SetChecks();

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

void SetChecks()
{
    auto check = [](UINT id, bool on) { CheckMenuItem(g_app.menu, id, MF_BYCOMMAND | (on ? MF_CHECKED : MF_UNCHECKED)); };
    check(ID_VIEW_LINENUMBERS, g_app.lineNumbers);
    check(ID_VIEW_COMPACT, g_app.compact);
    check(ID_VIEW_READONLY, g_app.readOnly);
    check(ID_DEBUG_DISABLEBREAKS, g_app.breaksDisabled);
    check(ID_DEBUG_HOLD, g_app.holding);
    for (UINT id = ID_VIEW_FONT_8; id <= ID_VIEW_FONT_14; ++id)
        check(id, g_app.fontSize == (int)(80 + 20 * (id - ID_VIEW_FONT_8)));
}

// The edit commands the control itself handles (copy, cut, paste, select
// all, undo, redo): their menu items are enabled by the control's update
// handlers.
bool IsControlCommand(UINT id)
{
    return id >= ID_EDIT_COPY && id <= ID_EDIT_REDO;
}

// Commands that change the text and that the control would carry out on a
// read-only text all the same (the block indents, SetLine for the comment)
// or refuse silently (cut and paste, which the control's update handlers
// enable regardless): a read-only demo greys them.
bool GreyedWhenReadOnly(UINT id)
{
    return id == ID_EDIT_CUT || id == ID_EDIT_PASTE || id == ID_EDIT_TOGGLECOMMENT || id == ID_EDIT_INDENT ||
           id == ID_EDIT_UNINDENT;
}

// Whether the caret's line holds a brace: the control matches the braces of
// the caret's line, whatever its column.
bool CaretLineHasBrace()
{
    const CString line = g_app.editor->GetLine(g_app.editor->GetCurLine());
    return line.Find(L'{') >= 0 || line.Find(L'}') >= 0;
}

// The state of the host's search, brace and comment items.
bool SearchItemEnabled(UINT id)
{
    CVelmor* ed = g_app.editor.get();
    switch (id) {
    case ID_EDIT_FINDNEXT:
    case ID_EDIT_FINDPREV: return !LastSearch().what.empty();
    case ID_EDIT_REPLACE: return !g_app.readOnly;
    case ID_EDIT_MATCHBRACE: return ed && CaretLineHasBrace();
    // The control comments a selection out (and in) even when read-only.
    case ID_EDIT_COMMENTOUT:
    case ID_EDIT_UNCOMMENT: return ed && ed->Selected() && !g_app.readOnly;
    }
    return true;
}

// Asks the control whether it would run a command now, as its menu item
// would show it.
bool ControlCommandEnabled(UINT id)
{
    CCmdUI state;
    state.m_nID = id;
    state.DoUpdate(g_app.editor.get(), TRUE);
    return state.m_bEnabled != FALSE;
}

// ---------------------------------------------------------------------------
// Commands

bool AskPath(bool save, std::wstring& path)
{
    wchar_t buf[MAX_PATH] = L"";
    if (!path.empty())
        lstrcpynW(buf, path.c_str(), MAX_PATH);
    OPENFILENAMEW ofn = {};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = g_app.hwnd;
    ofn.lpstrFilter = L"S-Lang scripts (*.sl)\0*.sl\0All files (*.*)\0*.*\0";
    ofn.lpstrFile = buf;
    ofn.nMaxFile = MAX_PATH;
    ofn.lpstrDefExt = L"sl";
    ofn.Flags = save ? OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST : OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST;
    if (!(save ? GetSaveFileNameW(&ofn) : GetOpenFileNameW(&ofn)))
        return false;
    path = buf;
    return true;
}

void Save(bool askPath)
{
    std::wstring path = g_app.path;
    if ((askPath || path.empty()) && !AskPath(true, path))
        return;
    if (!WriteFileText(path, EditorText())) {
        MessageBoxW(g_app.hwnd, (L"Cannot write " + path).c_str(), L"Velmor demo", MB_ICONERROR);
        return;
    }
    g_app.path = path;
    g_app.modified = false;
    UpdateTitle();
}

// Puts "// " before the caret line's text, or takes a leading "//" (and the
// space after it) away: one undoable step through SetLine.
void ToggleComment()
{
    CVelmor& ed = *g_app.editor;
    const int n = ed.GetCurLine();
    CString line = ed.GetLine(n);
    int indent = 0;
    while (indent < line.GetLength() && line[indent] == L' ')
        ++indent;
    if (line.Mid(indent, 2) == L"//")
        line.Delete(indent, indent + 2 < line.GetLength() && line[indent + 2] == L' ' ? 3 : 2);
    else
        line.Insert(indent, L"// ");
    ed.SetLine(line, n);
}

void GoToLine()
{
    CVelmor& ed = *g_app.editor;
    int line = ed.GetCurLine() + 1;
    if (!AskLineNumber(g_app.hwnd, ed.GetLineCount(), line))
        return;
    ed.SetFocus();
    ed.GoToLine(line - 1);
}

// While holding, the host's engine has run the script down to the arrow
// and the control asks it for the values under the mouse.
void HoldAtArrow()
{
    CVelmor& ed = *g_app.editor;
    if (g_app.holding && ed.m_nBreakLine >= 1) {
        g_app.engine.RunTo(ed, ed.m_nBreakLine - 1);
        ed.SetInspector(&g_app.engine);
        ed.SetRunning(true);
    } else {
        g_app.holding = false;
        ed.SetRunning(false);
        ed.SetInspector(nullptr);
    }
}

void ToggleBreakpoint(int line)
{
    CVelmor& ed = *g_app.editor;
    bool on = line < ed.m_arrBreaks.GetSize() && ed.m_arrBreaks[line];
    ed.SetBreakLine(line, on ? 0 : 1);
    ed.RefreshLineNum(TRUE);
}

HMENU BuildMenu()
{
    HMENU file = CreatePopupMenu();
    AppendMenuW(file, MF_STRING, ID_FILE_NEW, L"&New");
    AppendMenuW(file, MF_STRING, ID_FILE_OPEN, L"&Open...");
    AppendMenuW(file, MF_STRING, ID_FILE_SAVE, L"&Save");
    AppendMenuW(file, MF_STRING, ID_FILE_SAVEAS, L"Save &As...");
    AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(file, MF_STRING, ID_FILE_EXIT, L"E&xit");
    HMENU edit = CreatePopupMenu();
    // The shortcuts shown are the control's own keys (its accelerator
    // table and its key-down handling); Ctrl+A is Redo there, so Select All
    // has none.
    AppendMenuW(edit, MF_STRING, ID_EDIT_UNDO, L"&Undo\tCtrl+Z");
    AppendMenuW(edit, MF_STRING, ID_EDIT_REDO, L"&Redo\tCtrl+Y");
    AppendMenuW(edit, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(edit, MF_STRING, ID_EDIT_CUT, L"Cu&t\tCtrl+X");
    AppendMenuW(edit, MF_STRING, ID_EDIT_COPY, L"&Copy\tCtrl+C");
    AppendMenuW(edit, MF_STRING, ID_EDIT_PASTE, L"&Paste\tCtrl+V");
    AppendMenuW(edit, MF_STRING, ID_EDIT_SELECT_ALL, L"Select &All");
    AppendMenuW(edit, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(edit, MF_STRING, ID_EDIT_INDENT, L"&Indent the selected lines\tTab");
    AppendMenuW(edit, MF_STRING, ID_EDIT_UNINDENT, L"U&nindent the selected lines");
    AppendMenuW(edit, MF_STRING, ID_EDIT_TOGGLECOMMENT, L"Toggle c&omment on the caret line");
    AppendMenuW(edit, MF_STRING, ID_EDIT_COMMENTOUT, L"Co&mment Out the selection");
    AppendMenuW(edit, MF_STRING, ID_EDIT_UNCOMMENT, L"Uncommen&t the selection");
    AppendMenuW(edit, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(edit, MF_STRING, ID_EDIT_FIND, L"&Find...\tCtrl+F");
    AppendMenuW(edit, MF_STRING, ID_EDIT_FINDNEXT, L"Find &Next\tF3");
    AppendMenuW(edit, MF_STRING, ID_EDIT_FINDPREV, L"Find Pre&vious\tShift+F3");
    AppendMenuW(edit, MF_STRING, ID_EDIT_REPLACE, L"R&eplace...\tCtrl+H");
    AppendMenuW(edit, MF_STRING, ID_EDIT_MATCHBRACE, L"Match &Brace\tCtrl+B");
    AppendMenuW(edit, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(edit, MF_STRING, ID_EDIT_GOTOLINE, L"&Go To Line...\tCtrl+G");
    HMENU font = CreatePopupMenu();
    AppendMenuW(font, MF_STRING, ID_VIEW_FONT_8, L"8 pt");
    AppendMenuW(font, MF_STRING, ID_VIEW_FONT_10, L"10 pt");
    AppendMenuW(font, MF_STRING, ID_VIEW_FONT_12, L"12 pt");
    AppendMenuW(font, MF_STRING, ID_VIEW_FONT_14, L"14 pt");
    HMENU view = CreatePopupMenu();
    AppendMenuW(view, MF_STRING, ID_VIEW_LINENUMBERS, L"&Line numbers");
    AppendMenuW(view, MF_STRING, ID_VIEW_COMPACT, L"&Compact mode");
    AppendMenuW(view, MF_STRING, ID_VIEW_READONLY, L"&Read-only");
    AppendMenuW(view, MF_POPUP, (UINT_PTR)font, L"&Font size");
    HMENU debug = CreatePopupMenu();
    AppendMenuW(debug, MF_STRING, ID_DEBUG_TOGGLEBREAK, L"Toggle &breakpoint on the caret line");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_SETEXEC, L"Make the caret line the &execution line");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_STEP, L"&Step to the next line");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_CLEAREXEC, L"&Clear the execution line");
    AppendMenuW(debug, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(debug, MF_STRING, ID_DEBUG_DISABLEBREAKS, L"&Disable breakpoints");
    AppendMenuW(debug, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(debug, MF_STRING, ID_DEBUG_HOLD, L"&Hold at the execution line (values under the mouse)");
    HMENU help = CreatePopupMenu();
    AppendMenuW(help, MF_STRING, ID_HELP_ABOUT, L"&About Velmor");
    HMENU bar = CreateMenu();
    AppendMenuW(bar, MF_POPUP, (UINT_PTR)file, L"&File");
    AppendMenuW(bar, MF_POPUP, (UINT_PTR)edit, L"&Edit");
    AppendMenuW(bar, MF_POPUP, (UINT_PTR)view, L"&View");
    AppendMenuW(bar, MF_POPUP, (UINT_PTR)debug, L"&Debug");
    AppendMenuW(bar, MF_POPUP, (UINT_PTR)help, L"&Help");
    return bar;
}

// The host's own keys. The control's accelerators (Ctrl+Z, C, V, X, and
// Ctrl+A for Redo) come first in the loop and are not repeated here; a key
// the control does not translate, such as Ctrl+G, reaches this table.
HACCEL BuildAccelerators()
{
    ACCEL keys[] = {
        { FVIRTKEY | FCONTROL, 'G', (WORD)ID_EDIT_GOTOLINE },
        { FVIRTKEY | FCONTROL, 'F', (WORD)ID_EDIT_FIND },
        { FVIRTKEY | FCONTROL, 'H', (WORD)ID_EDIT_REPLACE },
        { FVIRTKEY | FCONTROL, 'B', (WORD)ID_EDIT_MATCHBRACE },
        { FVIRTKEY, VK_F3, (WORD)ID_EDIT_FINDNEXT },
        { FVIRTKEY | FSHIFT, VK_F3, (WORD)ID_EDIT_FINDPREV },
    };
    return CreateAcceleratorTableW(keys, (int)(sizeof keys / sizeof keys[0]));
}

void PaintPattern(HDC dc)
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

LRESULT CALLBACK MainProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
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
        if (!lParam) {
            OnCommand(LOWORD(wParam));
            return 0;
        }
        break;
    case WM_DESTROY:
        g_app.editor.reset();
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

} // namespace

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
    g_app.path = path;
    g_app.editor->DeleteAllBreaks();
    g_app.editor->SetBreakLine(-1);
    LoadIntoEditor(text.c_str());
    return true;
}

void UpdateMenuItems(HMENU popup)
{
    const int n = GetMenuItemCount(popup);
    for (int i = 0; i < n; ++i) {
        const UINT id = GetMenuItemID(popup, i);
        if (IsControlCommand(id) && g_app.editor) {
            CCmdUI item;
            item.m_nID = id;
            item.m_hMenu = popup;
            item.m_nIndex = (UINT)i;
            item.DoUpdate(g_app.editor.get(), TRUE);
        }
        if (GreyedWhenReadOnly(id) && (g_app.readOnly || !IsControlCommand(id))) {
            const bool on = !g_app.readOnly && (id != ID_EDIT_UNINDENT || (g_app.editor && g_app.editor->Selected()));
            EnableMenuItem(popup, (UINT)i, MF_BYPOSITION | (on ? MF_ENABLED : MF_GRAYED));
        }
        if (id >= ID_EDIT_FIND && id <= ID_EDIT_UNCOMMENT)
            EnableMenuItem(popup, (UINT)i, MF_BYPOSITION | (SearchItemEnabled(id) ? MF_ENABLED : MF_GRAYED));
    }
}

void OnCommand(UINT id)
{
    CVelmor& ed = *g_app.editor;
    // The About page covers the editor: any other command closes it first.
    if (id != ID_HELP_ABOUT)
        CloseAbout();
    if (IsControlCommand(id)) {
        // A key can ask for a command its menu item would show greyed; the
        // control would still notify a change, so ask it first.
        if (ControlCommandEnabled(id))
            ed.SendMessage(WM_COMMAND, MAKEWPARAM(id, 0), 0);
        return;
    }
    switch (id) {
    case ID_HELP_ABOUT: ToggleAbout(); return;
    case ID_FILE_NEW:
        g_app.path.clear();
        ed.DeleteAllBreaks();
        ed.SetBreakLine(-1);
        LoadIntoEditor(L"");
        break;
    case ID_FILE_OPEN: {
        std::wstring path = g_app.path;
        if (AskPath(false, path))
            OpenFile(path);
        break;
    }
    case ID_FILE_SAVE: Save(false); break;
    case ID_FILE_SAVEAS: Save(true); break;
    case ID_FILE_EXIT: DestroyWindow(g_app.hwnd); return;
    case ID_EDIT_TOGGLECOMMENT:
        if (!g_app.readOnly)
            ToggleComment();
        break;
    case ID_EDIT_GOTOLINE: GoToLine(); break;
    case ID_EDIT_FIND: OpenFindDialog(false); break;
    case ID_EDIT_REPLACE:
        if (!g_app.readOnly)
            OpenFindDialog(true);
        break;
    // Without a search yet, F3 asks for one.
    case ID_EDIT_FINDNEXT:
    case ID_EDIT_FINDPREV:
        if (LastSearch().what.empty())
            OpenFindDialog(false);
        else
            FindAgain(id == ID_EDIT_FINDPREV);
        break;
    case ID_EDIT_MATCHBRACE:
        if (CaretLineHasBrace())
            ed.FindMatchBrace();
        break;
    case ID_EDIT_COMMENTOUT:
        if (SearchItemEnabled(id))
            ed.CommentOutSelect();
        break;
    case ID_EDIT_UNCOMMENT:
        if (SearchItemEnabled(id))
            ed.UncommentSelected();
        break;
    // Tab indents the selected lines too; Shift+Tab does the same (the
    // control reads no Shift there), so unindenting is the menu's.
    case ID_EDIT_INDENT:
        if (!g_app.readOnly)
            ed.IncreaseIndent();
        break;
    case ID_EDIT_UNINDENT:
        // Without a selection the control would indent the caret instead.
        if (!g_app.readOnly && ed.Selected()) {
            ed.DecreaseIndent();
            // The selection moves left with its text and passes column 0
            // when it began there: SetSelection clamps its ends back.
            const CPoint a = ed.GetAnchorPos(), c = ed.GetCursorPos();
            if (a.x < 0 || c.x < 0)
                ed.SetSelection(a.x, a.y, c.x, c.y);
        }
        break;
    case ID_VIEW_LINENUMBERS:
        g_app.lineNumbers = !g_app.lineNumbers;
        ed.SetLineNumber(g_app.lineNumbers);
        Refresh();
        break;
    case ID_VIEW_COMPACT:
        g_app.compact = !g_app.compact;
        CreateEditor(EditorText());
        break;
    case ID_VIEW_READONLY:
        g_app.readOnly = !g_app.readOnly;
        ed.LockEditor(g_app.readOnly);
        Refresh();
        break;
    case ID_VIEW_FONT_8:
    case ID_VIEW_FONT_10:
    case ID_VIEW_FONT_12:
    case ID_VIEW_FONT_14:
        g_app.fontSize = 80 + 20 * (int)(id - ID_VIEW_FONT_8);
        ed.SetFontDef(g_app.fontSize, nullptr);
        Refresh();
        break;
    case ID_DEBUG_TOGGLEBREAK: ToggleBreakpoint(ed.GetCurLine()); break;
    case ID_DEBUG_SETEXEC:
        ed.SetBreakLine(ed.GetCurLine() + 1);
        ed.RefreshLineNum(TRUE);
        HoldAtArrow();
        break;
    case ID_DEBUG_STEP:
        if (ed.m_nBreakLine >= 1 && ed.m_nBreakLine < ed.GetLineCount())
            ed.SetBreakLine(ed.m_nBreakLine + 1);
        ed.RefreshLineNum(TRUE);
        HoldAtArrow();
        break;
    case ID_DEBUG_CLEAREXEC:
        ed.SetBreakLine(-1);
        ed.RefreshLineNum(TRUE);
        g_app.holding = false;
        HoldAtArrow();
        break;
    case ID_DEBUG_HOLD:
        g_app.holding = !g_app.holding;
        if (g_app.holding && ed.m_nBreakLine < 1) {
            ed.SetBreakLine(ed.GetCurLine() + 1); // hold at the caret line
            ed.RefreshLineNum(TRUE);
        }
        HoldAtArrow();
        break;
    case ID_DEBUG_DISABLEBREAKS:
        g_app.breaksDisabled = !g_app.breaksDisabled;
        ed.EnableBreaks(!g_app.breaksDisabled);
        ed.RefreshLineNum(TRUE);
        break;
    }
    SetChecks();
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
    for (int i = 1; i < argc; ++i) {
        std::wstring a = argv[i];
        if (a == L"--tour" && i + 1 < argc)
            tourDir = argv[++i];
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
    CreateEditor(L"");
    OpenFile(file);
    SetChecks();
    UpdateWindow(g_app.hwnd);
    g_app.accel = BuildAccelerators();

    int rc = 0;
    if (!tourDir.empty()) {
        rc = Tour(tourDir);
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

// velmor-demo's menus and commands: the menu bar and the host's own keys,
// the items' checks and greying, and what each command does.
#include "about.h"
#include "app.h"
#include "findreplace.h"
#include "gotoline.h"
#include <commdlg.h>

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
static bool IsControlCommand(UINT id)
{
    return id >= ID_EDIT_COPY && id <= ID_EDIT_REDO;
}

// Commands that change the text and that the control would carry out on a
// read-only text all the same (the block indents, SetLine for the comment)
// or refuse silently (cut and paste, which the control's update handlers
// enable regardless): a read-only demo greys them.
static bool GreyedWhenReadOnly(UINT id)
{
    return id == ID_EDIT_CUT || id == ID_EDIT_PASTE || id == ID_EDIT_TOGGLECOMMENT || id == ID_EDIT_INDENT ||
           id == ID_EDIT_UNINDENT;
}

// Whether the caret's line holds a brace: the control matches the braces of
// the caret's line, whatever its column.
static bool CaretLineHasBrace()
{
    const CString line = g_app.editor->GetLine(g_app.editor->GetCurLine());
    return line.Find(L'{') >= 0 || line.Find(L'}') >= 0;
}

// The state of the host's search, brace and comment items.
static bool SearchItemEnabled(UINT id)
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

static bool AskPath(bool save, std::wstring& path)
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

static void Save(bool askPath)
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
static void ToggleComment()
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

static void GoToLine()
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

static void ToggleBreakpoint(int line)
{
    CVelmor& ed = *g_app.editor;
    bool on = line < ed.m_arrBreaks.GetSize() && ed.m_arrBreaks[line];
    ed.SetBreakLine(line, on ? 0 : 1);
    ed.RefreshLineNum(TRUE);
    // In a session the adapter hears of it, and its answer shows the lines
    // it verified.
    g_app.debug.SendBreakpoints();
}

// The debug session's items, by its state.
static bool DebugItemEnabled(UINT id)
{
    const CDebugSession::State st = g_app.debug.GetState();
    switch (id) {
    case ID_DEBUG_START: return st == CDebugSession::IDLE || st == CDebugSession::STOPPED;
    case ID_DEBUG_NEXT:
    case ID_DEBUG_STEPIN:
    case ID_DEBUG_STEPOUT: return st == CDebugSession::STOPPED;
    case ID_DEBUG_PAUSE: return st == CDebugSession::RUNNING;
    case ID_DEBUG_STOP: return st != CDebugSession::IDLE;
    }
    return true;
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
    // The stand-in engine: the demo's own arrow and values, for when no
    // debug adapter can be started.
    HMENU standin = CreatePopupMenu();
    AppendMenuW(standin, MF_STRING, ID_DEBUG_SETEXEC, L"Make the caret line the &execution line");
    AppendMenuW(standin, MF_STRING, ID_DEBUG_STEP, L"&Step to the next line");
    AppendMenuW(standin, MF_STRING, ID_DEBUG_CLEAREXEC, L"&Clear the execution line");
    AppendMenuW(standin, MF_STRING, ID_DEBUG_HOLD, L"&Hold at the execution line (values under the mouse)");
    HMENU debug = CreatePopupMenu();
    AppendMenuW(debug, MF_STRING, ID_DEBUG_START, L"&Start Debugging / Continue\tF5");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_NEXT, L"Step &Over\tF10");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_STEPIN, L"Step &Into\tF11");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_STEPOUT, L"Step O&ut\tShift+F11");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_PAUSE, L"&Pause");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_STOP, L"S&top Debugging\tShift+F5");
    AppendMenuW(debug, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(debug, MF_STRING, ID_DEBUG_TOGGLEBREAK, L"Toggle &Breakpoint\tF9");
    AppendMenuW(debug, MF_STRING, ID_DEBUG_DISABLEBREAKS, L"&Disable breakpoints");
    AppendMenuW(debug, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(debug, MF_POPUP, (UINT_PTR)standin, L"Stand-in &engine (without the debug adapter)");
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
        { FVIRTKEY, VK_F5, (WORD)ID_DEBUG_START },
        { FVIRTKEY | FSHIFT, VK_F5, (WORD)ID_DEBUG_STOP },
        { FVIRTKEY, VK_F9, (WORD)ID_DEBUG_TOGGLEBREAK },
        { FVIRTKEY, VK_F10, (WORD)ID_DEBUG_NEXT },
        { FVIRTKEY, VK_F11, (WORD)ID_DEBUG_STEPIN },
        { FVIRTKEY | FSHIFT, VK_F11, (WORD)ID_DEBUG_STEPOUT },
    };
    return CreateAcceleratorTableW(keys, (int)(sizeof keys / sizeof keys[0]));
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
        if (id >= ID_DEBUG_START && id <= ID_DEBUG_STOP)
            EnableMenuItem(popup, (UINT)i, MF_BYPOSITION | (DebugItemEnabled(id) ? MF_ENABLED : MF_GRAYED));
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
    case ID_DEBUG_START: g_app.debug.StartOrContinue(); break;
    case ID_DEBUG_NEXT: g_app.debug.Next(); break;
    case ID_DEBUG_STEPIN: g_app.debug.StepIn(); break;
    case ID_DEBUG_STEPOUT: g_app.debug.StepOut(); break;
    case ID_DEBUG_PAUSE: g_app.debug.Pause(); break;
    case ID_DEBUG_STOP: g_app.debug.Stop(); break;
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

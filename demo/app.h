// velmor-demo: what the host's parts share — its command ids, its one
// window and control, and the commands the menus and the tour run.
#pragma once
#include "editor/VelmorCtrl.h"
#include "debugsession.h"
#include "hostengine.h"
#include <memory>
#include <string>

enum Command : UINT
{
    ID_FILE_NEW = 1000,
    ID_FILE_OPEN,
    ID_FILE_SAVE,
    ID_FILE_SAVEAS,
    ID_FILE_EXIT,
    ID_EDIT_TOGGLECOMMENT = 1051,
    ID_EDIT_GOTOLINE,
    ID_EDIT_INDENT,
    ID_EDIT_UNINDENT,
    ID_EDIT_FIND,
    ID_EDIT_FINDNEXT,
    ID_EDIT_FINDPREV,
    ID_EDIT_REPLACE,
    ID_EDIT_MATCHBRACE,
    ID_EDIT_COMMENTOUT,
    ID_EDIT_UNCOMMENT,
    ID_VIEW_LINENUMBERS = 1101,
    ID_VIEW_COMPACT,
    ID_VIEW_READONLY,
    ID_VIEW_FONT_8,
    ID_VIEW_FONT_10,
    ID_VIEW_FONT_12,
    ID_VIEW_FONT_14,
    ID_DEBUG_TOGGLEBREAK = 1201,
    ID_DEBUG_SETEXEC,
    ID_DEBUG_STEP,
    ID_DEBUG_CLEAREXEC,
    ID_DEBUG_DISABLEBREAKS,
    ID_DEBUG_HOLD,
    ID_DEBUG_START, // Start Debugging, or Continue when stopped
    ID_DEBUG_NEXT,
    ID_DEBUG_STEPIN,
    ID_DEBUG_STEPOUT,
    ID_DEBUG_PAUSE,
    ID_DEBUG_STOP,
    ID_HELP_ABOUT = 1301,
};

struct App
{
    HWND hwnd = nullptr;
    HMENU menu = nullptr;
    std::unique_ptr<CVelmor> editor;
    std::wstring path;
    bool modified = false;
    bool lineNumbers = true;
    bool compact = false;
    bool readOnly = false;
    bool breaksDisabled = false;
    bool holding = false; // the script is held at the execution line: the mouse shows values
    CDemoEngine engine; // the stand-in engine: what Hold uses without an adapter
    CDebugSession debug; // the session with the debug adapter
    int fontSize = 100; // tenths of a point
    HACCEL accel = nullptr; // the host's own keys (Ctrl+G)
    int keyNotifications = 0; // VELMOR_WM_KEYNOTIFY messages received
    bool quiet = false; // no message boxes (the tour runs unattended)
    std::wstring searchNote; // what the last search said ("Cannot find ...")
};

extern App g_app;

// The host's own parts, shared by main.cpp (the window, files, the editor)
// and commands.cpp (the menus and what their commands do).
bool WriteFileText(const std::wstring& path, const CString& text);
void UpdateTitle();
// Loads text into the control as a fresh document (no undo, not modified).
void LoadIntoEditor(const CString& text);
// Makes the control (again, for a change of compact mode) with text.
void CreateEditor(const CString& text);
CString EditorText();
void Refresh();
void SetChecks();
bool ControlCommandEnabled(UINT id);
HMENU BuildMenu();
HACCEL BuildAccelerators();

// The path of a sample script shipped beside the executable.
std::wstring SamplePath(const wchar_t* name);
// Loads a script file into the control; false (with a message box) when it
// cannot be read.
bool OpenFile(const std::wstring& path);
// Runs a menu command (the ids above, and the control's own edit commands,
// which go to the control).
void OnCommand(UINT id);
// Enables and greys the items of a menu that is about to open.
void UpdateMenuItems(HMENU popup);

// One message of the loop: offered to the open find or replace dialog
// (IsDialogMessage, for its own keys), to the control's accelerators
// (AfxPreTranslateMessage), then to the host's, then translated and
// dispatched.
void RouteMessage(MSG& msg);
// Routes what is queued now, without waiting.
void RunQueue();
// Routes what is queued, for about 60 ms.
void Pump();
// Plays the scripted tour: one PNG per screen into dir; 0 when every screen
// was written and showed what it should. debugOnly: the debugging screens
// alone.
int Tour(const std::wstring& dir, bool debugOnly = false);

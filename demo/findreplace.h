// velmor-demo: Edit > Find... and Replace... through the system's modeless
// find and replace dialogs, Find Next (F3) and Find Previous (Shift+F3).
#pragma once
#include "app.h"
#include <commdlg.h>
#include <string>

// What a search looks for, as the dialog last said it.
struct SearchRequest
{
    std::wstring what;
    std::wstring with; // the replacement
    bool matchCase = false;
    bool wholeWord = false;
    bool backwards = false;
};

// Opens the Find (or Replace) dialog, or brings the open one forward. The
// search text starts as the selection when it lies on one line.
void OpenFindDialog(bool replace);
// The open find or replace dialog; nullptr when none is.
HWND FindDialog();
// Closes the open dialog, as its Cancel button does.
void CloseFindDialog();
// The message the dialogs send their owner (FINDMSGSTRING, registered).
UINT FindMessageId();
// The main window's handling of that message: Find Next, Replace, Replace
// All, or the dialog closing.
void OnFindMessage(const FINDREPLACEW& fr);

// The last search asked for (empty what: none yet).
const SearchRequest& LastSearch();
// A new search: F3 and Shift+F3 repeat it. Another text or other options
// start the next search afresh from the caret.
void SetSearch(const SearchRequest& s);
// Finds the next match of the last search, forwards or backwards, and
// selects it; the line the control returned, or -1 (with a message box,
// unless g_app.quiet).
int FindAgain(bool backwards);
// What the control returned for the last search (-1: nothing found).
int LastFoundLine();
// Replaces the current match (the selection a search left) with the
// replacement, then finds the next one. Returns the line of that next
// match, or -1.
int ReplaceAndFindNext();
// Replaces every match of the last search in the whole text, one pass from
// the top; the number replaced.
int ReplaceAll();

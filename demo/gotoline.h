// The Go To Line dialog: a small modal dialog built in memory.
#pragma once
#include <windows.h>

// Asks for a line number from 1 to nLines. nLine is proposed on entry (and
// selected, so typing replaces it) and holds the answer on return. False
// when the user cancels.
bool AskLineNumber(HWND hwndOwner, int nLines, int& nLine);

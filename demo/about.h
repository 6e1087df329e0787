// Help > About Velmor: a page shown in the control's HTML view.
#pragma once
#include <string>

// Shows the About page over the editor, or closes it when it is shown.
void ToggleAbout();
// Hides the About page (if shown) and gives the editor the focus back.
void CloseAbout();
// Whether the About page is up.
bool AboutShown();
// Gives the page the keyboard focus (its links, Tab and Enter).
void FocusAbout();
// The page's file, beside the executable.
std::wstring AboutPagePath();

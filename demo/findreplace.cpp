#include "findreplace.h"
#include <algorithm>
#include <vector>

namespace {

const int kTextMax = 256;

// Where the next search continues: the control's start line and column
// (nPos), kept between calls, and the selection the last match left. A
// caret moved since, or other flags, start afresh from the caret.
struct Continuation
{
    bool valid = false;
    unsigned short flags = 0;
    int line = -1;
    int pos = 0;
    CPoint caret, anchor;
};

SearchRequest g_search;
Continuation g_next;
FINDREPLACEW g_fr;
wchar_t g_what[kTextMax];
wchar_t g_with[kTextMax];
HWND g_dialog = nullptr;
int g_foundLine = -1;
bool g_replaceDialog = false;

unsigned short ControlFlags(const SearchRequest& s, bool backwards)
{
    return (unsigned short)((s.matchCase ? VELMOR_FIND_MATCHCASE : 0) | (s.wholeWord ? VELMOR_FIND_WHOLEWORD : 0) |
                            (backwards ? VELMOR_FIND_BACKWARDS : 0));
}

// The search text as the control wants it: ignoring case it compares the
// line in upper case with the text as given.
std::vector<wchar_t> Pattern(const SearchRequest& s)
{
    std::vector<wchar_t> p(s.what.begin(), s.what.end());
    p.push_back(L'\0');
    if (!s.matchCase)
        CharUpperBuffW(p.data(), (DWORD)s.what.size());
    return p;
}

bool OnLastMatch(CVelmor& ed)
{
    return g_next.valid && ed.GetCursorPos() == g_next.caret && ed.GetAnchorPos() == g_next.anchor;
}

void Note(const std::wstring& text)
{
    g_app.searchNote = text;
    if (!g_app.quiet)
        MessageBoxW(g_dialog ? g_dialog : g_app.hwnd, text.c_str(), L"Velmor demo", MB_ICONINFORMATION);
}

// Back to the dialog after a search started there (the control takes the
// focus when it selects a match).
void ReturnToDialog()
{
    if (g_dialog && IsWindow(g_dialog))
        SetActiveWindow(g_dialog);
}

} // namespace

const SearchRequest& LastSearch()
{
    return g_search;
}

void SetSearch(const SearchRequest& s)
{
    if (s.what != g_search.what || s.matchCase != g_search.matchCase || s.wholeWord != g_search.wholeWord)
        g_next.valid = false;
    g_search = s;
}

int LastFoundLine()
{
    return g_foundLine;
}

int FindAgain(bool backwards)
{
    CVelmor& ed = *g_app.editor;
    g_app.searchNote.clear();
    g_foundLine = -1;
    if (g_search.what.empty())
        return -1;
    const unsigned short flags = ControlFlags(g_search, backwards);
    const int nLines = ed.GetLineCount();
    int start, pos;
    if (OnLastMatch(ed) && g_next.flags == flags) {
        start = g_next.line;
        pos = g_next.pos;
        // A backwards match at column 0 of line 0 leaves line -1, which the
        // control would read as the caret's line: go on from the last line.
        if (start < 0) {
            start = nLines - 1;
            pos = 0;
        }
    } else {
        // Afresh: forwards from the end of the selection, backwards from its
        // start (column 0 asks for the whole line: start on the line above).
        CPoint lo = ed.GetAnchorPos(), hi = ed.GetCursorPos();
        if (hi.y < lo.y || (hi.y == lo.y && hi.x < lo.x))
            std::swap(lo, hi);
        if (!backwards) {
            start = hi.y;
            pos = hi.x;
        } else if (lo.x > 0) {
            start = lo.y;
            pos = lo.x;
        } else {
            start = lo.y > 0 ? lo.y - 1 : nLines - 1;
            pos = 0;
        }
    }
    std::vector<wchar_t> what = Pattern(g_search);
    const int line = ed.FindAndReplace(start, -1, what.data(), pos, flags);
    g_foundLine = line;
    if (line < 0) {
        g_next.valid = false;
        Note(L"Cannot find \"" + g_search.what + L"\".");
        return -1;
    }
    g_next.valid = true;
    g_next.flags = flags;
    g_next.line = line;
    g_next.pos = pos;
    g_next.caret = ed.GetCursorPos();
    g_next.anchor = ed.GetAnchorPos();
    return line;
}

int ReplaceAndFindNext()
{
    CVelmor& ed = *g_app.editor;
    if (g_app.readOnly || g_search.what.empty())
        return -1;
    // The first press finds; each later one replaces what the last found.
    if (OnLastMatch(ed) && !(g_next.flags & VELMOR_FIND_BACKWARDS)) {
        std::vector<wchar_t> with(g_search.with.begin(), g_search.with.end());
        with.push_back(L'\0');
        const CPoint at = g_next.caret;
        ed.ReplaceString(with.data());
        // Go on after the replacement, on the same line.
        g_next.pos = at.x + (int)g_search.with.size();
        g_next.caret = g_next.anchor = ed.GetCursorPos();
    }
    return FindAgain(false);
}

int ReplaceAll()
{
    CVelmor& ed = *g_app.editor;
    g_app.searchNote.clear();
    if (g_app.readOnly || g_search.what.empty())
        return 0;
    std::vector<wchar_t> what = Pattern(g_search), with(g_search.with.begin(), g_search.with.end());
    with.push_back(L'\0');
    const unsigned short flags = ControlFlags(g_search, false);
    // From the top: the first call, on line 0, does not wrap. Later calls
    // may wrap back to the top, where a replacement that holds the search
    // text would be found again: a match before the last replacement ends
    // the pass. Each replacement lengthens the text by at most its own
    // length, so the count is bounded as well.
    int line = 0, pos = 0, count = 0;
    CPoint last(-1, -1);
    int limit = 0;
    for (int i = 0; i < ed.GetLineCount(); ++i)
        limit += ed.GetLine(i).GetLength() + 1;
    while (count <= limit) {
        const int found = ed.FindAndReplace(line, -1, what.data(), pos, flags);
        if (found < 0)
            break;
        const CPoint at = ed.GetCursorPos();
        if (at.y < last.y || (at.y == last.y && at.x < last.x))
            break;
        ed.ReplaceString(with.data());
        ++count;
        last.SetPoint(at.x + (int)g_search.with.size(), at.y);
        line = at.y;
        pos = last.x;
    }
    if (count)
        ed.SetSelection(last.x, last.y, last.x, last.y);
    g_next.valid = false;
    Note(count ? L"Replaced " + std::to_wstring(count) + (count == 1 ? L" occurrence." : L" occurrences.")
               : L"Cannot find \"" + g_search.what + L"\".");
    return count;
}

UINT FindMessageId()
{
    static const UINT id = RegisterWindowMessageW(FINDMSGSTRING);
    return id;
}

HWND FindDialog()
{
    return g_dialog;
}

void CloseFindDialog()
{
    if (g_dialog) {
        // Cancel tells the owner (FR_DIALOGTERM), which forgets the dialog.
        SendMessageW(g_dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
        if (g_dialog && IsWindow(g_dialog))
            DestroyWindow(g_dialog);
        g_dialog = nullptr;
    }
}

void OpenFindDialog(bool replace)
{
    if (g_dialog && g_replaceDialog == replace) {
        SetActiveWindow(g_dialog);
        return;
    }
    CloseFindDialog();
    CVelmor& ed = *g_app.editor;
    std::wstring what = g_search.what;
    const CPoint a = ed.GetAnchorPos(), c = ed.GetCursorPos();
    if (a.y == c.y && a.x != c.x) {
        const int from = std::min(a.x, c.x), to = std::max(a.x, c.x);
        what = (const wchar_t*)ed.GetLine(a.y).Mid(from, to - from);
    }
    lstrcpynW(g_what, what.c_str(), kTextMax);
    lstrcpynW(g_with, g_search.with.c_str(), kTextMax);
    g_fr = {};
    g_fr.lStructSize = sizeof g_fr;
    g_fr.hwndOwner = g_app.hwnd;
    g_fr.lpstrFindWhat = g_what;
    g_fr.wFindWhatLen = kTextMax;
    g_fr.lpstrReplaceWith = g_with;
    g_fr.wReplaceWithLen = kTextMax;
    g_fr.Flags = (g_search.matchCase ? FR_MATCHCASE : 0) | (g_search.wholeWord ? FR_WHOLEWORD : 0) |
                 (g_search.backwards && !replace ? 0 : FR_DOWN);
    g_replaceDialog = replace;
    g_dialog = replace ? ReplaceTextW(&g_fr) : FindTextW(&g_fr);
}

void OnFindMessage(const FINDREPLACEW& fr)
{
    if (fr.Flags & FR_DIALOGTERM) {
        g_dialog = nullptr;
        if (g_app.editor)
            g_app.editor->SetFocus();
        return;
    }
    SearchRequest s;
    s.what = fr.lpstrFindWhat;
    s.with = fr.lpstrReplaceWith ? fr.lpstrReplaceWith : L"";
    s.matchCase = (fr.Flags & FR_MATCHCASE) != 0;
    s.wholeWord = (fr.Flags & FR_WHOLEWORD) != 0;
    // The replace dialog has no direction: it searches down.
    s.backwards = !g_replaceDialog && !(fr.Flags & FR_DOWN);
    SetSearch(s);
    if (fr.Flags & FR_FINDNEXT)
        FindAgain(s.backwards);
    else if (fr.Flags & FR_REPLACE)
        ReplaceAndFindNext();
    else if (fr.Flags & FR_REPLACEALL)
        ReplaceAll();
    ReturnToDialog();
}

// The tour's editing screens: typing, block indent, the clipboard,
// commenting and search.
#include "tourkit.h"
#include "findreplace.h"

namespace tour {

// File > New, then a function typed key by key through the message loop;
// the colours are probed in the painted cells.
void TypedScreen(TourRun& run, Keyboard& keys)
{
    Choose(ID_FILE_NEW);
    CVelmor& ed = *g_app.editor;
    run.Log(L"11 File > New: %d line(s); typing %d lines of S-Lang", ed.GetLineCount(), kTypedLines);
    // LoadText keeps text after the last line feed as a line of its own, and
    // the control always ends with an empty line: a new document has two.
    run.Check(ed.GetLineCount() == 2 && ed.GetLine(0).IsEmpty() && ed.GetLine(1).IsEmpty() && !g_app.modified,
              L"a new document: an empty line and the control's closing empty line");
    keys.Reset();
    for (int i = 0; i < kTypedLines; ++i) {
        keys.Type(kTyped[i]);
        if (i + 1 < kTypedLines)
            keys.Type(L"\n");
    }
    // A character no key of this keyboard makes is posted as WM_CHAR; on
    // these machines every one comes from a key.
    run.Log(L"  %d key-downs (Enter for each line break, Tab for each indentation); %d characters no key makes, "
            L"posted as WM_CHAR%ls%ls",
            keys.KeyDowns(), keys.PostedChars(), keys.PostedChars() ? L": " : L"", keys.Posted().c_str());
    run.Check(HoldsTyped(ed), L"the control holds the typed lines; Tab at column 0 put 4 spaces");
    const int last = kTypedLines - 1;
    run.Check(Is(ed.GetCursorPos(), 1, last) && Is(ed.GetAnchorPos(), 1, last), L"the caret after the last typed character");
    run.Check(g_app.keyNotifications == keys.KeyDowns(),
              L"each key-down posted the parent one key notification (0x0B00)");
    run.Check(g_app.modified, L"typing marks the file modified");
    Pump();

    // The colours as painted: probe a few cells.
    ::HideCaret(ed.m_hWnd);
    std::vector<DWORD> pixels;
    int w = 0, h = 0;
    CaptureWindowPixels(ed.m_hWnd, false, pixels, w, h);
    ::ShowCaret(ed.m_hWnd);
    const COLORREF kFunction = 0x00005AB4, kOperator = 0x00DC0000, kString = 0x00000AD2, kComment = 0x0000A100;
    const COLORREF kKeyword = 0x00FF0078;
    const int lineIf = 4, lineSin = 7, lineString = 8;
    run.Check(CellInked(ed, pixels, w, 0, 0, kComment) && CellInked(ed, pixels, w, 10, 0, kComment),
              L"the // comment is green");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"/*"), lineIf, kComment) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"*/") + 1, lineIf, kComment),
              L"the /* */ comment after the code is green");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineIf, L"or "), lineIf, kOperator),
              L"the operator word or is blue");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineSin, L"sin"), lineSin, kFunction) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 9, L"abs") + 2, 9, kFunction) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 11, L"sqrt"), 11, kFunction),
              L"the functions sin, abs and sqrt are brown");
    run.Check(CellInked(ed, pixels, w, ColumnOf(ed, lineString, L"\""), lineString, kString) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, lineString, L"%.4f"), lineString, kString),
              L"the string is red");
    run.Check(!CellInked(ed, pixels, w, ColumnOf(ed, 1, L"define"), 1, 0) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, 1, L"define"), 1, kKeyword),
              L"define, one of the keywords the demo gives the control, is in the keyword colour");
    run.Shot(L"11-typed-code.png");
}

// The loop's body selected by keys (Ctrl+Home, Down, Shift+Down, Shift+End)
// and indented with Tab: one undo step.
void BlockIndentScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, kBodyFirst);
    keys.Press(VK_DOWN, kShift, kBodyLast - kBodyFirst);
    keys.Press(VK_END, kShift);
    const int end = ed.GetLine(kBodyLast).GetLength();
    run.Log(L"12 lines %d to %d (zero-based) selected by keys; Tab", kBodyFirst, kBodyLast);
    run.Check(Is(ed.GetAnchorPos(), 0, kBodyFirst) && Is(ed.GetCursorPos(), end, kBodyLast),
              L"Shift+Down and Shift+End extend the selection from the anchor");
    keys.Press(VK_TAB);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Tab indents each selected line by 4 spaces, and no other");
    run.Check(Is(ed.GetAnchorPos(), 4, kBodyFirst) && Is(ed.GetCursorPos(), end + 4, kBodyLast),
              L"the selection moves with its text");
    run.Shot(L"12-block-indent.png");

    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed), L"Ctrl+Z (the control's accelerator) undoes the whole block indent in one step");
    keys.Press('Y', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Ctrl+Y redoes it");
    Choose(ID_EDIT_UNINDENT);
    run.Check(HoldsTyped(ed), L"Edit > Unindent takes 4 spaces off each line again");
    keys.Press(VK_TAB, kShift);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Shift+Tab indents, as Tab does");
    Choose(ID_EDIT_UNINDENT);
    Choose(ID_EDIT_INDENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Edit > Indent indents the block");

    // The same block selected from column 0: unindenting moves the ends
    // left of it, and the demo sets them back on the text.
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, kBodyFirst);
    HMENU edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_UNINDENT), L"no selection: Unindent greyed (the control would indent)");
    keys.Press(VK_DOWN, kShift, kBodyLast - kBodyFirst);
    keys.Press(VK_END, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_UNINDENT), L"a selection: Unindent enabled");
    Choose(ID_EDIT_UNINDENT);
    run.Check(HoldsTyped(ed) && Is(ed.GetAnchorPos(), 0, kBodyFirst) && Is(ed.GetCursorPos(), end, kBodyLast),
              L"Edit > Unindent from column 0: the text unindented, the selection's ends kept on the text");
    Choose(ID_EDIT_INDENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"and indented again");
}

// A line cut with Ctrl+X and pasted a line higher with Ctrl+V; the Edit
// menu's items as the control enables them; Ctrl+A, which the control's
// accelerator table makes Redo; Select All from the menu; read-only.
void ClipboardScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    const int line = kBodyLast; // "        total += abs (x);"
    const CString moved = ed.GetLine(line), above = ed.GetLine(line - 1), below = ed.GetLine(line + 1);
    const int nLines = ed.GetLineCount();
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, line);
    HMENU edit = InitEditMenu();
    run.Log(L"13 cut line %d (zero-based) with Ctrl+X, paste it a line higher with Ctrl+V", line);
    run.Check(Greyed(edit, ID_EDIT_CUT) && Greyed(edit, ID_EDIT_COPY) && !Greyed(edit, ID_EDIT_SELECT_ALL),
              L"no selection: Cut and Copy greyed, Select All enabled");
    keys.Press(VK_DOWN, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_CUT) && !Greyed(edit, ID_EDIT_COPY), L"a selection: Cut and Copy enabled");
    OpenClipboard(g_app.hwnd);
    EmptyClipboard();
    CloseClipboard();
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_PASTE), L"an empty clipboard: Paste greyed");

    keys.Reset();
    keys.Press('X', kCtrl);
    run.Check(ClipboardText() == std::wstring(moved) + L"\r\n", L"the cut line is on the clipboard, ended by CR LF");
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line) == below && Is(ed.GetCursorPos(), 0, line),
              L"the line is gone, the caret where it began");
    run.Check(g_app.keyNotifications == 0, L"a key the control's accelerators take posts no key notification");
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_PASTE), L"text on the clipboard: Paste enabled");
    keys.Press(VK_UP);
    keys.Press('V', kCtrl);
    const CString pasted = ed.GetLine(line - 1);
    run.Check(ed.GetLineCount() == nLines && ed.GetLine(line) == above,
              L"the line is back, a line higher, above the vmessage line");
    run.Check(pasted == moved + L"\r",
              L"the pasted line keeps the clipboard's CR: only a line feed ends a pasted line");
    run.Check(Is(ed.GetCursorPos(), above.GetLength(), line) && !ed.Selected(),
              L"the caret at the end of the line the paste pushed down");
    run.Shot(L"13-cut-and-paste.png");

    keys.Press('Z', kCtrl);
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line - 1) == above,
              L"one Ctrl+Z undoes the whole paste");
    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4) && Is(ed.GetAnchorPos(), 0, line) &&
                  Is(ed.GetCursorPos(), 0, line + 1),
              L"a second undoes the cut: the text and the selection are back");
    keys.Press('A', kCtrl);
    run.Check(ed.GetLineCount() == nLines - 1 && ed.GetLine(line) == below && !ed.Selected(),
              L"Ctrl+A is Redo in the control's accelerator table: the cut is done again, nothing selected");
    keys.Press('Z', kCtrl);
    Choose(ID_EDIT_SELECT_ALL);
    const int last = ed.GetLineCount() - 1;
    run.Check(Is(ed.GetAnchorPos(), 0, 0) && Is(ed.GetCursorPos(), ed.GetLine(last).GetLength(), last),
              L"Edit > Select All selects everything");

    // Read-only: the keys that edit change nothing; moving and copying work.
    Choose(ID_VIEW_READONLY);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_CUT) && Greyed(edit, ID_EDIT_PASTE) && !Greyed(edit, ID_EDIT_COPY) &&
                  Greyed(edit, ID_EDIT_INDENT),
              L"read-only: the demo greys Cut, Paste and the indents; Copy stays");
    keys.Press('C', kCtrl);
    std::wstring joined;
    for (int i = 0; i <= last; ++i)
        joined += std::wstring(i ? L"\r\n" : L"") + (const wchar_t*)ed.GetLine(i);
    run.Check(ClipboardText() == joined, L"Ctrl+C copies a read-only text, lines joined by CR LF");
    CString all;
    ed.UnloadText(all);
    keys.Type(L"x\t\n");
    keys.Press(VK_BACK);
    keys.Press(VK_DELETE);
    keys.Press('V', kCtrl);
    keys.Press('X', kCtrl);
    CString after;
    ed.UnloadText(after);
    run.Check(after == all, L"read-only: typing, Tab, Enter, Backspace, Delete, Ctrl+V and Ctrl+X change nothing");
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_RIGHT, kPlain, 3);
    run.Check(Is(ed.GetCursorPos(), 3, 0) && !ed.Selected(), L"read-only: the arrows still move the caret");
    Choose(ID_VIEW_READONLY);
}

// The loop selected as whole lines by keys and commented out from the Edit
// menu; then uncommented. Before that, Match Brace and Replace on the same
// text.
void CommentScreen(TourRun& run, Keyboard& keys)
{
    CVelmor& ed = *g_app.editor;
    const int from = kBodyFirst - 2, to = kBodyLast + 1; // "for (...)" to its "}"
    g_app.quiet = true;

    // Match Brace: the function's "{" to its "}", the loop's "}" to its "{".
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, 4);
    HMENU edit = InitEditMenu();
    run.Log(L"14 Match Brace, Replace and Replace All on the typed function; lines %d to %d commented out", from,
            to);
    run.Check(Greyed(edit, ID_EDIT_MATCHBRACE), L"a line without a brace: Match Brace greyed");
    keys.Press(VK_UP, kPlain, 2);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_MATCHBRACE), L"a line with a brace: Match Brace enabled");
    Choose(ID_EDIT_MATCHBRACE);
    run.Check(ed.GetCursorPos().y == kTypedLines - 1, L"Match Brace on the function's { goes to its closing }");
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, to);
    keys.Press('B', kCtrl);
    run.Check(ed.GetCursorPos().y == from + 1, L"Ctrl+B on the loop's } goes back to its {");

    // Replace: the first press finds, the second replaces and finds the next.
    SearchRequest s;
    s.what = L"TOTAL"; // case ignored
    s.with = L"sum";
    keys.Press(VK_HOME, kCtrl);
    SetSearch(s);
    const int first = ReplaceAndFindNext();
    const int totalAt = ColumnOf(ed, 3, L"total");
    run.Check(first == 3 && Is(ed.GetCursorPos(), totalAt, 3) && Is(ed.GetAnchorPos(), totalAt + 5, 3),
              L"Replace, first press: \"total\" found and selected on line 3, case ignored");
    const int next = ReplaceAndFindNext();
    run.Check(ed.GetLine(3) == L"    variable i, x, sum = 0.0;" && next == kBodyLast &&
                  Is(ed.GetCursorPos(), ColumnOf(ed, kBodyLast, L"total"), kBodyLast),
              L"Replace, second press: replaced on line 3, the next one selected on line 9");
    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"one Ctrl+Z undoes the replacement");

    // Replace All with a replacement that holds the search text: one pass.
    s.what = L"total";
    s.with = L"total_sum";
    s.matchCase = true;
    SetSearch(s);
    const int replaced = ReplaceAll();
    run.Log(L"  Replace All \"total\" -> \"total_sum\": %d replaced (\"%ls\")", replaced, g_app.searchNote.c_str());
    run.Check(replaced == 3 && LineOf(ed, L"total_sum_sum") < 0 && ColumnOf(ed, 3, L"total_sum = 0.0") > 0 &&
                  ColumnOf(ed, kBodyLast, L"total_sum += abs") > 0 && ColumnOf(ed, 11, L"sqrt (total_sum)") > 0,
              L"Replace All replaces each of the 3 once, though the replacement holds the search text");
    keys.Press('Z', kCtrl, replaced);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"a Ctrl+Z for each replacement restores the text");

    // The loop as whole lines: from column 0 of its first line to the end
    // of its last.
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, from);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_COMMENTOUT) && Greyed(edit, ID_EDIT_UNCOMMENT),
              L"no selection: Comment Out and Uncomment greyed");
    keys.Press(VK_DOWN, kShift, to - from);
    keys.Press(VK_END, kShift);
    edit = InitEditMenu();
    run.Check(!Greyed(edit, ID_EDIT_COMMENTOUT) && !Greyed(edit, ID_EDIT_UNCOMMENT),
              L"whole lines selected: Comment Out and Uncomment enabled");
    std::vector<CString> before;
    for (int i = 0; i < ed.GetLineCount(); ++i)
        before.push_back(ed.GetLine(i));
    Choose(ID_EDIT_COMMENTOUT);
    bool commented = true, othersKept = true;
    for (int i = 0; i < ed.GetLineCount() && i < (int)before.size(); ++i) {
        const CString& b = before[i];
        int k = 0;
        while (k < b.GetLength() && b[k] == L' ')
            ++k;
        if (i >= from && i <= to)
            commented = commented && ed.GetLine(i) == b.Left(k - 1) + L"//" + b.Mid(k - 1);
        else
            othersKept = othersKept && ed.GetLine(i) == b;
    }
    run.Log(L"  line %d now reads \"%ls\"", from, (const wchar_t*)ed.GetLine(from));
    run.Check(commented, L"Comment Out puts // in place of the last indenting blank of each selected line");
    run.Check(othersKept && ed.GetLineCount() == (int)before.size(), L"the other lines are untouched");
    run.Check(!ed.Selected(), L"no selection is left");
    Pump();
    ::HideCaret(ed.m_hWnd);
    std::vector<DWORD> pixels;
    int w = 0, h = 0;
    CaptureWindowPixels(ed.m_hWnd, false, pixels, w, h);
    ::ShowCaret(ed.m_hWnd);
    const COLORREF kComment = 0x0000A100;
    const int sinAt = ColumnOf(ed, kBodyFirst, L"sin");
    run.Check(CellInked(ed, pixels, w, sinAt, kBodyFirst, kComment) &&
                  CellInked(ed, pixels, w, ColumnOf(ed, to, L"}"), to, kComment),
              L"the commented lines are painted green");
    run.Shot(L"14-comment-out.png");

    keys.Press('Z', kCtrl);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"one Ctrl+Z takes the whole comment out again");
    keys.Press('Y', kCtrl);
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kPlain, from);
    keys.Press(VK_DOWN, kShift, to - from);
    keys.Press(VK_END, kShift);
    Choose(ID_EDIT_UNCOMMENT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"Edit > Uncomment restores the lines");

    // Read-only: the demo greys them (the control would comment all the same).
    keys.Press(VK_HOME, kCtrl);
    keys.Press(VK_DOWN, kShift, 2);
    Choose(ID_VIEW_READONLY);
    edit = InitEditMenu();
    run.Check(Greyed(edit, ID_EDIT_COMMENTOUT) && Greyed(edit, ID_EDIT_UNCOMMENT) && Greyed(edit, ID_EDIT_REPLACE),
              L"read-only: Comment Out, Uncomment and Replace greyed");
    Choose(ID_EDIT_COMMENTOUT);
    run.Check(HoldsTyped(ed, kBodyFirst, kBodyLast, 4), L"read-only: Comment Out changes nothing");
    Choose(ID_VIEW_READONLY);
}

// The long sample with the caret near its end: Edit > Find... through the
// system's Find dialog, for a word that occurs only near the top, so the
// search wraps around; then F3 and Shift+F3.
void FindScreen(TourRun& run, Keyboard& keys)
{
    if (!OpenFile(SamplePath(L"long.sl"))) {
        run.Fail(L"cannot open samples\\long.sl");
        return;
    }
    CVelmor& ed = *g_app.editor;
    const int top = LineOf(ed, L"define clamp");
    const int second = LineOf(ed, L"clamp (", top + 1);
    const int n = ed.GetLineCount();
    if (top < 0 || second < 0 || LineOf(ed, L"clamp", second + 1) >= 0) {
        run.Fail(L"samples\\long.sl should name clamp on two lines near its top only");
        return;
    }
    ed.GoToLine(n - 5);
    Pump();
    run.Log(L"15 caret on line %d of %d, view from line %d; Edit > Find... \"Clamp\", case ignored, down",
            ed.GetCursorPos().y, n, ed.FirstVisibleLine());
    g_app.quiet = true;

    Choose(ID_EDIT_FIND);
    Pump();
    HWND dlg = FindDialog();
    run.Check(dlg && IsWindowVisible(dlg) && FindWindowW(L"#32770", L"Find") == dlg,
              L"Edit > Find... opens the system's Find dialog");
    if (!dlg)
        return;
    run.Check(GetWindow(dlg, GW_OWNER) == g_app.hwnd, L"the dialog is modeless, owned by the main window");
    SetDlgItemTextW(dlg, edt1, L"Clamp");
    CheckDlgButton(dlg, chx1, BST_UNCHECKED);
    CheckDlgButton(dlg, chx2, BST_UNCHECKED);
    CheckRadioButton(dlg, rad1, rad2, rad2);
    // Find Next as its button does.
    SendMessageW(dlg, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), (LPARAM)GetDlgItem(dlg, IDOK));
    const int found = LastFoundLine();
    const int col = ColumnOf(ed, top, L"clamp");
    run.Log(L"  the control returned line %d; caret (%d, %d), anchor (%d, %d), view from line %d", found,
            ed.GetCursorPos().x, ed.GetCursorPos().y, ed.GetAnchorPos().x, ed.GetAnchorPos().y,
            ed.FirstVisibleLine());
    run.Check(found == top, L"Find Next wrapped around to the top: the returned line is the clamp definition");
    run.Check(Is(ed.GetCursorPos(), col, top) && Is(ed.GetAnchorPos(), col + 5, top),
              L"\"clamp\" selected (caret at its start, anchor at its end), case ignored");
    run.Check(ed.FirstVisibleLine() <= top && top < ed.LastVisibleLine(), L"the match scrolled into view");
    RedrawWindow(dlg, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    run.Saved(SaveWindowPng(dlg, run.Path(L"15-find-dialog.png")), L"15-find-dialog.png");
    CloseFindDialog();
    Pump();
    run.Check(!FindDialog() && !IsWindow(dlg), L"Cancel closes the dialog");
    run.Check(::GetFocus() == ed.m_hWnd, L"the control has the focus again");
    run.Shot(L"16-find-wrapped.png");

    keys.Press(VK_F3);
    run.Check(LastFoundLine() == second && Is(ed.GetCursorPos(), ColumnOf(ed, second, L"clamp"), second),
              L"F3 finds the next one, on the line of its call");
    keys.Press(VK_F3);
    run.Check(LastFoundLine() == top && Is(ed.GetCursorPos(), col, top), L"F3 again wraps around to the first");
    keys.Press(VK_F3, kShift);
    run.Check(LastFoundLine() == second && Is(ed.GetCursorPos(), ColumnOf(ed, second, L"clamp"), second),
              L"Shift+F3 searches up and wraps around from the top to the call");

    // Edit > Replace... and its Replace All button: both calls of clamp.
    Choose(ID_EDIT_REPLACE);
    Pump();
    dlg = FindDialog();
    run.Check(dlg && IsWindowVisible(dlg) && FindWindowW(L"#32770", L"Replace") == dlg,
              L"Edit > Replace... opens the system's Replace dialog");
    if (dlg) {
        SetDlgItemTextW(dlg, edt1, L"clamp");
        SetDlgItemTextW(dlg, edt2, L"limit");
        SendMessageW(dlg, WM_COMMAND, MAKEWPARAM(psh2, BN_CLICKED), (LPARAM)GetDlgItem(dlg, psh2));
        run.Log(L"  Replace All \"clamp\" -> \"limit\": %ls", g_app.searchNote.c_str());
        run.Check(LineOf(ed, L"clamp") < 0 && ColumnOf(ed, top, L"define limit (x") == 0 &&
                      ColumnOf(ed, second, L"return limit ((x") > 0,
                  L"Replace All from the dialog replaced both");
        CloseFindDialog();
        Pump();
        keys.Press('Z', kCtrl, 2);
        run.Check(LineOf(ed, L"limit") < 0 && ColumnOf(ed, top, L"clamp") == col &&
                      LineOf(ed, L"clamp", top + 1) == second,
                  L"two Ctrl+Z put clamp back");
    }

    SearchRequest s = LastSearch();
    s.what = L"clam";
    s.wholeWord = true;
    SetSearch(s);
    const CPoint at = ed.GetCursorPos();
    run.Check(FindAgain(false) == -1 && Is(ed.GetCursorPos(), at.x, at.y),
              L"whole word: \"clam\" is not found and the selection stays");
    run.Log(L"  the demo says: %ls", g_app.searchNote.c_str());
    s.matchCase = true;
    s.wholeWord = false;
    s.what = L"Clamp";
    SetSearch(s);
    run.Check(FindAgain(false) == -1, L"match case: \"Clamp\" is not found");
    g_app.quiet = false;
}

} // namespace tour

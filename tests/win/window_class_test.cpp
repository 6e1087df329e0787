// The "VelmorEdit" window class driven as a host in another language
// would: by class name, SendMessageW and Velmor.h alone.
#include "window_class_host.h"
#include "gdi/WindowCapture.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <vector>

namespace {

std::wstring Clipboard()
{
    std::wstring s;
    if (!OpenClipboard(nullptr))
        return L"<closed>";
    if (HANDLE h = GetClipboardData(CF_UNICODETEXT)) {
        s = static_cast<const wchar_t*>(GlobalLock(h));
        GlobalUnlock(h);
    }
    CloseClipboard();
    return s;
}

void SetClipboard(const wchar_t* s)
{
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    const size_t n = (wcslen(s) + 1) * sizeof(wchar_t);
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, n);
    memcpy(GlobalLock(h), s, n);
    GlobalUnlock(h);
    SetClipboardData(CF_UNICODETEXT, h);
    CloseClipboard();
}

// The pixels of the control's first text line, read back from the screen.
std::vector<DWORD> FirstLinePixels(HWND hwnd, int lineHeight)
{
    std::vector<DWORD> px;
    int w = 0, h = 0;
    CaptureWindowPixels(hwnd, false, px, w, h);
    px.resize((size_t)w * std::min(h, lineHeight));
    return px;
}

VELMORSELECTION Sel(const ClassHost& h)
{
    VELMORSELECTION s;
    s.cbSize = sizeof s;
    h.Send(VEM_GETSELECTION, 0, (LPARAM)&s);
    return s;
}

} // namespace

TEST(WindowClass, CreatedByNameOwnedByItsWindowAndStyled)
{
    {
        ClassHost h;
        ASSERT_TRUE(IsWindow(h.ctl));
        wchar_t cls[64];
        GetClassNameW(h.ctl, cls, 64);
        EXPECT_STREQ(cls, L"VelmorEdit");
        EXPECT_EQ(h.id, GetDlgCtrlID(h.ctl));
        EXPECT_EQ(1, h.Send(EM_GETLINECOUNT));
        EXPECT_EQ(FALSE, h.Send(VEM_GETREADONLY));
        EXPECT_EQ(FALSE, h.Send(VEM_GETLINENUMBERS));
        EXPECT_EQ(100, h.Send(VEM_GETFONTSIZE));
        EXPECT_EQ(0x00FFFFFF, h.Send(VEM_GETCOLOR, VELMOR_COLOR_BACKGROUND));
        // Liberation Mono 10 pt (the prefix maps Courier New to it).
        EXPECT_EQ(MAKELRESULT(8, 15), h.Send(VEM_GETCHARCELL));
        EXPECT_NE(0, h.Send(WM_GETFONT));
        DestroyWindow(h.ctl);
        EXPECT_FALSE(IsWindow(h.ctl));
    }
    {
        ClassHost ro(VES_READONLY | VES_LINENUMBERS | VES_COMPACT);
        EXPECT_EQ(TRUE, ro.Send(VEM_GETREADONLY));
        EXPECT_EQ(TRUE, ro.Send(VEM_GETLINENUMBERS));
        ro.SetText(L"abc\n");
        ro.Send(EM_SETSEL, 0, 3);
        EXPECT_EQ(0, ro.Send(WM_CUT));
        EXPECT_EQ(VELMOR_STATUS_READONLY, ro.Status());
        EXPECT_EQ(L"abc\n\n", ro.Text());
    }

    // Unregistered (no window of the class left), the class creates
    // nothing; registered again, it does.
    EXPECT_TRUE(VelmorUnregisterClasses());
    EXPECT_EQ(nullptr, CreateWindowExW(0, VELMOR_CLASSNAME, L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                       nullptr, nullptr));
    EXPECT_TRUE(VelmorRegisterClasses(GetModuleHandleW(nullptr)));
    EXPECT_TRUE(VelmorRegisterClasses(GetModuleHandleW(nullptr)));
    ClassHost again;
    EXPECT_TRUE(IsWindow(again.ctl));
}

TEST(WindowClass, TextInAndOutByLine)
{
    ClassHost h;
    EXPECT_EQ(TRUE, h.Send(WM_SETTEXT, 0, (LPARAM)L"x = 1; // note\n\ty\nlost"));
    // The control's rule: text after the last line feed is dropped, a tab
    // is spaces to the next stop, and one empty line ends the document.
    EXPECT_EQ(L"x = 1; // note\n    y\n\n", h.Text());
    EXPECT_EQ(3, h.Send(EM_GETLINECOUNT));
    EXPECT_EQ(22, h.Send(WM_GETTEXTLENGTH));
    wchar_t small[6];
    EXPECT_EQ(5, h.Send(WM_GETTEXT, 6, (LPARAM)small));
    EXPECT_STREQ(L"x = 1", small);
    wchar_t src[64];
    EXPECT_EQ(22, h.Send(VEM_GETSOURCE, 64, (LPARAM)src));
    EXPECT_STREQ(L"x = 1;        \n    y\n\n", src);
    EXPECT_EQ(22, h.Send(VEM_GETSOURCE, 0, 0));

    EXPECT_EQ(L"    y", h.Line(1));
    EXPECT_EQ(5, h.Send(VEM_GETLINELENGTH, 1));
    wchar_t edit[8] = { 4 };
    EXPECT_EQ(4, h.Send(EM_GETLINE, 0, (LPARAM)edit)); // no terminating zero
    EXPECT_EQ(std::wstring(L"x = "), std::wstring(edit, 4));

    EXPECT_EQ(TRUE, h.Send(VEM_SETLINE, 1, (LPARAM)L"z"));
    EXPECT_EQ(TRUE, h.Send(VEM_INSERTLINE, 0, (LPARAM)L"first"));
    EXPECT_EQ(TRUE, h.Send(VEM_INSERTLINE, 4, (LPARAM)L"appended"));
    EXPECT_EQ(L"first\nx = 1; // note\nz\n\nappended\n", h.Text());
    EXPECT_EQ(TRUE, h.Send(VEM_REMOVELINE, 1));
    EXPECT_EQ(L"first\nz\n\nappended\n", h.Text());
    // Each line message is one undo step.
    h.Send(WM_UNDO);
    EXPECT_EQ(L"first\nx = 1; // note\nz\n\nappended\n", h.Text());
    h.Send(WM_UNDO);
    h.Send(WM_UNDO);
    EXPECT_EQ(L"x = 1; // note\nz\n\n", h.Text());
    EXPECT_EQ(TRUE, h.Send(EM_CANUNDO));
    h.Send(WM_UNDO);
    EXPECT_EQ(L"x = 1; // note\n    y\n\n", h.Text());
    EXPECT_EQ(TRUE, h.Send(VEM_CANREDO));
    h.Send(VEM_REDO);
    EXPECT_EQ(L"x = 1; // note\nz\n\n", h.Text());
    h.Send(EM_EMPTYUNDOBUFFER);
    EXPECT_EQ(FALSE, h.Send(EM_CANUNDO));
    EXPECT_EQ(FALSE, h.Send(VEM_CANREDO));
    h.Send(VEM_REMOVEALLTEXT);
    EXPECT_EQ(L"", h.Text());
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
}

TEST(WindowClass, CaretSelectionAndCharacterOffsets)
{
    ClassHost h;
    h.SetText(L"alpha\nbeta\ngamma\n");
    // Offsets count one line feed per line, as WM_GETTEXT's text.
    EXPECT_EQ(6, h.Send(EM_LINEINDEX, 1));
    EXPECT_EQ(11, h.Send(EM_LINEINDEX, 2));
    EXPECT_EQ(-1, h.Send(EM_LINEINDEX, 9));
    EXPECT_EQ(1, h.Send(EM_LINEFROMCHAR, 8));
    h.Send(EM_SETSEL, 8, 13);
    VELMORSELECTION s = Sel(h);
    EXPECT_EQ(2, s.nAnchorColumn);
    EXPECT_EQ(1, s.nAnchorLine);
    EXPECT_EQ(2, s.nCaretColumn);
    EXPECT_EQ(2, s.nCaretLine);
    DWORD a = 0, b = 0;
    EXPECT_EQ(MAKELRESULT(8, 13), h.Send(EM_GETSEL, (WPARAM)&a, (LPARAM)&b));
    EXPECT_EQ(8u, a);
    EXPECT_EQ(13u, b);
    wchar_t sel[16];
    // The selected text as the clipboard gets it, lines ended by CR LF.
    EXPECT_EQ(6, h.Send(VEM_GETSELTEXT, 16, (LPARAM)sel));
    EXPECT_STREQ(L"ta\r\nga", sel);
    EXPECT_EQ(TRUE, h.Send(VEM_ISSELECTED, 3, 1));
    EXPECT_EQ(FALSE, h.Send(VEM_ISSELECTED, 1, 1));
    h.Send(EM_REPLACESEL, 0, (LPARAM)L"-");
    EXPECT_EQ(L"alpha\nbe-mma\n\n", h.Text());

    VELMORSELECTION set = { sizeof set, 1, 0, 3, 0 };
    EXPECT_EQ(TRUE, h.Send(VEM_SETSELECTION, 0, (LPARAM)&set));
    EXPECT_EQ(MAKELRESULT(1, 3), h.Send(EM_GETSEL));
    h.Send(EM_SETSEL, (WPARAM)-1, 0); // no selection, caret stays
    s = Sel(h);
    EXPECT_EQ(s.nAnchorColumn, s.nCaretColumn);
    EXPECT_EQ(3, s.nCaretColumn);
    h.Send(EM_SETSEL, 0, -1); // everything
    EXPECT_EQ(MAKELRESULT(0, 13), h.Send(EM_GETSEL));
    h.Send(VEM_SETCARET, 2, 1);
    h.Send(VEM_SETANCHOR, 0, 0);
    VELMORPOS p;
    h.Send(VEM_GETCARET, 0, (LPARAM)&p);
    EXPECT_EQ(2, p.nColumn);
    EXPECT_EQ(1, p.nLine);
    EXPECT_EQ(1, h.Send(VEM_GETCURLINE));
    h.Send(VEM_GETANCHOR, 0, (LPARAM)&p);
    EXPECT_EQ(0, p.nLine);
    h.Send(VEM_SELECTALL);
    s = Sel(h);
    EXPECT_EQ(0, s.nAnchorLine);
    EXPECT_EQ(2, s.nCaretLine);
    h.Send(VEM_GOTOLINE, 1);
    EXPECT_EQ(1, h.Send(VEM_GETCURLINE));
    h.Send(VEM_GOTOPOS, 4, 0);
    h.Send(VEM_GETCARET, 0, (LPARAM)&p);
    EXPECT_EQ(4, p.nColumn);
}

TEST(WindowClass, TheViewScrollsToLinesAndTheCaret)
{
    ClassHost h;
    std::wstring text;
    for (int i = 0; i < 300; ++i)
        text += L"line " + std::to_wstring(i) + L"\n";
    h.SetText(text.c_str());
    UpdateWindow(h.ctl);
    const int shown = (int)h.Send(VEM_GETVISIBLELINES, FALSE);
    EXPECT_GT(shown, 10);
    EXPECT_LE(shown, (int)h.Send(VEM_GETVISIBLELINES, TRUE));
    EXPECT_GT(h.Send(VEM_GETVISIBLECOLUMNS), 20);
    EXPECT_EQ(0, h.Send(EM_GETFIRSTVISIBLELINE));
    auto visible = [&](int line) {
        return h.Send(EM_GETFIRSTVISIBLELINE) <= line && line <= h.Send(VEM_GETLASTVISIBLELINE);
    };
    h.Send(VEM_SCROLLTOLINE, 200);
    EXPECT_TRUE(visible(200));
    EXPECT_GT(h.Send(EM_GETFIRSTVISIBLELINE), 100);
    VELMORPOS p;
    h.Send(VEM_GETSCROLLPOS, 0, (LPARAM)&p);
    EXPECT_EQ(h.Send(EM_GETFIRSTVISIBLELINE), p.nLine);
    EXPECT_EQ(0, p.nColumn);
    h.Send(VEM_GOTOLINE, 20);
    EXPECT_TRUE(visible(20));
    EXPECT_EQ(20, h.Send(VEM_GETCURLINE));
    h.Send(VEM_SETCARET, 0, 280); // moves the caret only
    h.Send(EM_SCROLLCARET);
    EXPECT_TRUE(visible(280));
    h.Send(VEM_GOTOPOS, 2, 5);
    EXPECT_TRUE(visible(5));
}

TEST(WindowClass, ClipboardUndoAndTheModifiedMark)
{
    ClassHost h;
    h.SetText(L"one two\n");
    h.Send(EM_EMPTYUNDOBUFFER);
    h.Send(EM_SETSEL, 0, 3);
    h.Send(WM_COPY);
    EXPECT_EQ(L"one", Clipboard());
    h.Send(WM_CUT);
    EXPECT_EQ(L" two\n\n", h.Text());
    SetClipboard(L"ONE");
    h.Send(WM_PASTE);
    EXPECT_EQ(L"ONE two\n\n", h.Text());
    h.Send(EM_SETSEL, 3, 7);
    h.Send(WM_CLEAR);
    EXPECT_EQ(L"ONE\n\n", h.Text());
    h.Send(EM_UNDO);
    EXPECT_EQ(L"ONE two\n\n", h.Text());

    EXPECT_EQ(FALSE, h.Send(EM_GETMODIFY));
    h.Send(WM_CHAR, L'q', 1);
    EXPECT_EQ(TRUE, h.Send(EM_GETMODIFY));
    h.Send(EM_SETMODIFY, FALSE);
    EXPECT_EQ(0, h.Send(VEM_GETSTYLEBITS, VELMOR_STYLEBIT_MODIFIED));

    h.Send(EM_SETREADONLY, TRUE);
    SetClipboard(L"zzz");
    EXPECT_EQ(0, h.Send(WM_PASTE));
    EXPECT_EQ(VELMOR_STATUS_READONLY, h.Status());
    EXPECT_EQ(VELMOR_ERROR, h.Send(VEM_REPLACE, 0, (LPARAM)L"r"));
    h.Send(EM_SETREADONLY, FALSE);
    h.ClearStatus();
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
}

TEST(WindowClass, SettingsWordsAndVariables)
{
    ClassHost h;
    EXPECT_EQ(TRUE, h.Send(VEM_SETFONT, 120, (LPARAM)L"Liberation Mono"));
    EXPECT_EQ(120, h.Send(VEM_GETFONTSIZE));
    wchar_t face[32];
    EXPECT_EQ(15, h.Send(VEM_GETFONTNAME, 32, (LPARAM)face));
    EXPECT_STREQ(L"Liberation Mono", face);
    EXPECT_EQ(VELMOR_ERROR, h.Send(VEM_SETFONT, 19, 0));
    EXPECT_EQ(VELMOR_STATUS_BADVALUE, h.Status());
    h.ClearStatus();
    EXPECT_EQ(120, h.Send(VEM_GETFONTSIZE));
    // WM_SETFONT: the font's face and size (16 pixels at 96 dpi: 12 pt).
    HFONT font = CreateFontW(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, FIXED_PITCH,
                             L"DejaVu Sans Mono");
    h.Send(WM_SETFONT, (WPARAM)font, TRUE);
    EXPECT_EQ(120, h.Send(VEM_GETFONTSIZE));
    EXPECT_EQ(16, h.Send(VEM_GETFONTNAME, 32, (LPARAM)face));
    EXPECT_STREQ(L"DejaVu Sans Mono", face);
    EXPECT_NE((LRESULT)font, h.Send(WM_GETFONT)); // a font of its own
    DeleteObject(font);
    h.Send(VEM_SETFONT, 100, (LPARAM)L"Liberation Mono");
    const LRESULT cell = h.Send(VEM_GETCHARCELL);
    h.Send(VEM_SETCHARSPACING, 2, 3);
    h.Send(VEM_SETCHARSPACING, (WPARAM)-5, 0); // adds nothing
    EXPECT_EQ(MAKELRESULT(LOWORD(cell) + 2, HIWORD(cell) + 3), h.Send(VEM_GETCHARCELL));

    h.Send(VEM_SETCOLOR, VELMOR_COLOR_HIGHLIGHT, RGB(1, 2, 3));
    EXPECT_EQ(RGB(1, 2, 3), (COLORREF)h.Send(VEM_GETCOLOR, VELMOR_COLOR_HIGHLIGHT));
    h.Send(VEM_SETCOLOR, VELMOR_COLOR_HIGHLIGHTTEXT, RGB(4, 5, 6));
    EXPECT_EQ(RGB(4, 5, 6), (COLORREF)h.Send(VEM_GETCOLOR, VELMOR_COLOR_HIGHLIGHTTEXT));

    EXPECT_EQ(TRUE, h.Send(VEM_SETTABSIZE, 8));
    EXPECT_EQ(8, h.Send(VEM_GETTABSIZE));
    h.SetText(L"a\tb\n");
    EXPECT_EQ(L"a       b", h.Line(0));

    h.Send(VEM_SETLINENUMBERS, TRUE);
    EXPECT_EQ(TRUE, h.Send(VEM_GETLINENUMBERS));
    h.Send(VEM_SETSTYLEBITS, 0x0100, TRUE);
    EXPECT_EQ(0x0100, h.Send(VEM_GETSTYLEBITS, 0x0100));
    h.Send(VEM_SETACCELERATORS, FALSE);

    // An added word is coloured: the line that holds it is drawn anew.
    h.SetText(L"zork quux\n");
    UpdateWindow(h.ctl);
    const int lineHeight = HIWORD(h.Send(VEM_GETCHARCELL));
    const std::vector<DWORD> plain = FirstLinePixels(h.ctl, lineHeight);
    h.Send(VEM_ADDWORD, VELMOR_WORDS_KEYWORD, (LPARAM)L"zork");
    h.Send(VEM_RECOLORIZE);
    UpdateWindow(h.ctl);
    EXPECT_NE(plain, FirstLinePixels(h.ctl, lineHeight));

    // Host variables become keywords; added words colour like the built-in ones.
    EXPECT_EQ(0, h.Send(VEM_GETVARIABLECOUNT));
    h.Send(VEM_ADDVARIABLE, 0, (LPARAM)L"hostvar");
    h.Send(VEM_ADDVARIABLE, 0, (LPARAM)L"other");
    EXPECT_EQ(2, h.Send(VEM_GETVARIABLECOUNT));
    h.Send(VEM_INITPARSERVARIABLES);
    h.Send(VEM_ADDWORD, VELMOR_WORDS_FUNCTION, (LPARAM)L"myfunc");
    h.Send(VEM_ADDWORD, VELMOR_WORDS_OPERATOR, (LPARAM)L"myop");
    h.Send(VEM_ADDWORD, VELMOR_WORDS_KEYWORD, (LPARAM)L"mykey");
    h.Send(VEM_RECOLORIZE);
    h.Send(VEM_CLEARVARIABLES);
    EXPECT_EQ(0, h.Send(VEM_GETVARIABLECOUNT));
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
}

TEST(WindowClass, SearchCommentsBracesAndIndentation)
{
    ClassHost h;
    h.SetText(L"if (a) {\n  find me\n}\nfind again\n");
    // Without VELMOR_FINDF_MATCHCASE the text is compared in upper case.
    VELMORFIND f = { sizeof f, 0, 0, -1, 0 };
    EXPECT_EQ(1, h.Send(VEM_FIND, (WPARAM)&f, (LPARAM)L"FIND"));
    EXPECT_EQ(6, f.nColumn);
    VELMORSELECTION s = Sel(h);
    EXPECT_EQ(1, s.nCaretLine);
    EXPECT_EQ(2, s.nCaretColumn);
    EXPECT_EQ(6, s.nAnchorColumn);
    f.nStartLine = 1;
    EXPECT_EQ(3, h.Send(VEM_FIND, (WPARAM)&f, (LPARAM)L"FIND"));
    h.Send(VEM_REPLACE, 0, (LPARAM)L"seek");
    EXPECT_EQ(L"seek again", h.Line(3));
    f.nStartLine = 0;
    f.nColumn = 0;
    f.uFlags = VELMOR_FINDF_MATCHCASE;
    EXPECT_EQ(-1, h.Send(VEM_FIND, (WPARAM)&f, (LPARAM)L"FIND"));
    f.nColumn = 0;
    EXPECT_EQ(1, h.Send(VEM_FIND, (WPARAM)&f, (LPARAM)L"find"));
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());

    h.Send(VEM_SETCARET, 7, 0); // on the opening brace
    h.Send(VEM_SETANCHOR, 7, 0);
    h.Send(VEM_FINDBRACE);
    VELMORPOS p;
    h.Send(VEM_GETCARET, 0, (LPARAM)&p);
    EXPECT_EQ(2, p.nLine);

    // Commented out and back in; indented and back by undo.
    const std::wstring before = h.Text();
    VELMORSELECTION two = { sizeof two, 0, 1, 1, 2 };
    h.Send(VEM_SETSELECTION, 0, (LPARAM)&two);
    h.Send(VEM_COMMENT);
    EXPECT_NE(before, h.Text());
    EXPECT_NE(std::wstring::npos, h.Line(1).find_first_of(L"/"));
    h.Send(VEM_SELECTALL);
    h.Send(VEM_UNCOMMENT);
    EXPECT_EQ(before, h.Text());
    two.nCaretColumn = 0;
    h.Send(VEM_SETSELECTION, 0, (LPARAM)&two);
    h.Send(VEM_INDENT);
    EXPECT_EQ(L"      find me", h.Line(1));
    h.Send(WM_UNDO);
    EXPECT_EQ(before, h.Text());
    h.Send(VEM_SETSELECTION, 0, (LPARAM)&two);
    h.Send(VEM_UNINDENT);
    EXPECT_EQ(L"find me", h.Line(1));
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
}

TEST(WindowClass, BreakpointsTheExecutionLineAndTheirNotifications)
{
    ClassHost h(WS_VSCROLL | VES_LINENUMBERS);
    h.SetText(L"a\nb\nc\nd\n");
    EXPECT_EQ(TRUE, h.Send(VEM_SETBREAKPOINT, 2, 1));
    EXPECT_EQ(1, h.Send(VEM_GETBREAKPOINT, 2));
    EXPECT_EQ(0, h.Send(VEM_GETBREAKPOINT, 1));
    EXPECT_EQ(0, h.Send(VEM_GETBREAKPOINT, 50));
    ASSERT_NE(nullptr, h.Last(VEN_BREAKPOINT));
    EXPECT_EQ(2, h.Last(VEN_BREAKPOINT)->a);
    EXPECT_EQ(0, h.Send(VEM_TOGGLEBREAKPOINT, 2));
    EXPECT_EQ(1, h.Send(VEM_TOGGLEBREAKPOINT, 0));
    EXPECT_EQ(3, h.Count(VEN_BREAKPOINT));
    BYTE marks[8] = { 9, 9, 9, 9, 9, 9, 9, 9 };
    EXPECT_EQ(3, h.Send(VEM_GETBREAKPOINTS, 8, (LPARAM)marks));
    EXPECT_EQ(1, marks[0]);
    EXPECT_EQ(0, marks[2]);
    EXPECT_EQ(9, marks[3]);
    h.Send(VEM_CLEARBREAKPOINTS);
    EXPECT_EQ(0, h.Send(VEM_GETBREAKPOINTS, 0, 0));

    h.Send(VEM_ENABLEBREAKPOINTS, FALSE);
    EXPECT_NE(0, h.Send(VEM_GETBREAKSDISABLED));
    h.Send(VEM_ENABLEBREAKPOINTS, TRUE);
    EXPECT_EQ(0, h.Send(VEM_GETBREAKSDISABLED));
    h.Send(VEM_SETEXECLINE, 3);
    EXPECT_EQ(3, h.Send(VEM_GETEXECLINE));
    h.Send(VEM_SETRUNNINGLINE, 2);
    EXPECT_EQ(2, h.Send(VEM_GETRUNNINGLINE));
    h.Send(VEM_SETRUNNING, TRUE);
    EXPECT_EQ(TRUE, h.Send(VEM_GETRUNNING));
    h.Send(VEM_SETRUNNING, FALSE);

    // A click in the margin names its line.
    UpdateWindow(h.ctl);
    const int lineHeight = HIWORD(h.Send(VEM_GETCHARCELL));
    h.Send(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(1, lineHeight * 2 + 2));
    h.Send(WM_LBUTTONUP, 0, MAKELPARAM(1, lineHeight * 2 + 2));
    ASSERT_NE(nullptr, h.Last(VEN_MARGINCLICK));
    EXPECT_EQ(2, h.Last(VEN_MARGINCLICK)->a);
}

TEST(WindowClass, ChangeAndSelectionNotificationsNameTheirLines)
{
    ClassHost h;
    h.SetText(L"a\nb\nc\n");
    h.notes.clear();
    h.commands.clear();
    h.Send(VEM_SETLINE, 1, (LPARAM)L"B");
    const ClassNote* c = h.Last(VEN_CHANGE);
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(1, c->a);
    EXPECT_EQ(1, c->b);
    EXPECT_EQ(0, c->c);
    EXPECT_EQ(4, c->d);
    // EN_CHANGE still reaches the parent.
    EXPECT_GE(std::count(h.commands.begin(), h.commands.end(), (UINT)EN_CHANGE), 1);
    h.Send(VEM_INSERTLINE, 2, (LPARAM)L"new");
    c = h.Last(VEN_CHANGE);
    EXPECT_EQ(2, c->a);
    EXPECT_EQ(2, c->b);
    EXPECT_EQ(1, c->c);
    h.Send(VEM_REMOVELINE, 0);
    c = h.Last(VEN_CHANGE);
    EXPECT_EQ(0, c->a);
    EXPECT_EQ(-1, c->b); // only removed
    EXPECT_EQ(-1, c->c);
    // A moved anchor alone is a new selection.
    h.Send(VEM_SETCARET, 1, 1);
    const int moves = h.Count(VEN_SELCHANGE);
    h.Send(VEM_SETANCHOR, 3, 1);
    ASSERT_EQ(moves + 1, h.Count(VEN_SELCHANGE));
    EXPECT_EQ(3, h.Last(VEN_SELCHANGE)->a);
    EXPECT_EQ(1, h.Last(VEN_SELCHANGE)->c);
    // Typing changes the caret's line; the caret's move is reported too.
    h.Send(VEM_SETANCHOR, 1, 1);
    const ClassNote* s = h.Last(VEN_SELCHANGE);
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(1, s->c);
    EXPECT_EQ(1, s->d);
    const int before = h.Count(VEN_CHANGE);
    h.Send(WM_CHAR, L'x', 1);
    EXPECT_EQ(before + 1, h.Count(VEN_CHANGE));
    EXPECT_EQ(1, h.Last(VEN_CHANGE)->a);
    EXPECT_EQ(L"nxew", h.Line(1));
    EXPECT_EQ(2, h.Last(VEN_SELCHANGE)->c);
    // Notifications turned off are not sent; VEN_CHANGE turned on again
    // reports from the text as it is then.
    EXPECT_EQ(VELMOR_EVENT_ALL, h.Send(VEM_GETEVENTMASK));
    h.Send(VEM_SETEVENTMASK, VELMOR_EVENT_ALL & ~(VELMOR_EVENT_CHANGE | VELMOR_EVENT_SELCHANGE));
    const int changes = h.Count(VEN_CHANGE), moved = h.Count(VEN_SELCHANGE);
    h.Send(VEM_SETLINE, 0, (LPARAM)L"quiet");
    h.Send(VEM_SETCARET, 0, 2);
    EXPECT_EQ(changes, h.Count(VEN_CHANGE));
    EXPECT_EQ(moved, h.Count(VEN_SELCHANGE));
    h.Send(VEM_SETEVENTMASK, VELMOR_EVENT_ALL);
    h.Send(VEM_SETLINE, 2, (LPARAM)L"loud");
    EXPECT_EQ(changes + 1, h.Count(VEN_CHANGE));
    EXPECT_EQ(2, h.Last(VEN_CHANGE)->a);
    EXPECT_EQ(2, h.Last(VEN_CHANGE)->b);
    EXPECT_EQ(VELMOR_ERROR, h.Send(VEM_SETEVENTMASK, 0x100));
    // A message that changes nothing reports nothing.
    const size_t n = h.notes.size();
    h.Send(EM_GETLINECOUNT);
    EXPECT_EQ(n, h.notes.size());
}

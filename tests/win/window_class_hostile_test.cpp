// The window class given bad arguments, the value tip answered through the
// callback table and the parent, the HTML view, and the direct call.
#include "window_class_host.h"
#include <gtest/gtest.h>

namespace {

struct Case
{
    const char* what;
    UINT msg;
    WPARAM wp;
    LPARAM lp;
    LRESULT result;
    int status;
};

BOOL WINAPI Inspect(void* ctx, int line, const char* name, LONGLONG index, HVELMORVALUE v)
{
    static_cast<std::vector<std::string>*>(ctx)->push_back(name);
    if (!strcmp(name, "count"))
        return VelmorValueSetInt(v, VELMOR_TYPE_INT, 42 + line);
    if (!strcmp(name, "pos")) {
        VelmorValueSetStruct(v, VELMOR_TYPE_STRUCT);
        VelmorValueSetInt(VelmorValueAddField(v, "x"), VELMOR_TYPE_INT, 3);
        return VelmorValueSetReal(VelmorValueAddField(v, "y"), VELMOR_TYPE_DOUBLE, 4.5);
    }
    if (!strcmp(name, "arr")) {
        VelmorValueSetArray(v, VELMOR_TYPE_STRING, 3, index);
        return VelmorValueSetString(VelmorValueAddElement(v), index == 1 ? "b" : "?");
    }
    return FALSE;
}

std::wstring Variable(const ClassHost& h, int col, int line)
{
    wchar_t buf[128];
    VELMORTEXT t;
    VELMOR_BUFFER(t, buf, 128);
    VELMORPOS p = { col, line };
    const LRESULT n = h.Send(VEM_GETVARIABLE, (WPARAM)&t, (LPARAM)&p);
    return n < 0 ? L"<error>" : std::wstring(buf, (size_t)n);
}

} // namespace

// Every message that takes a pointer, a length, an index or a structure,
// given a bad one: its error value, the status, and the text as it was.
TEST(WindowClassHostile, BadArgumentsFailWithAStatusAndLoseNothing)
{
    ClassHost h;
    const wchar_t* text = L"alpha\nbeta\n";
    h.SetText(text);
    const std::wstring before = h.Text();
    wchar_t buf[16];
    VELMORTEXT badSize;
    VELMOR_BUFFER(badSize, buf, 16);
    badSize.cbSize = 12;
    VELMORTEXT nullText;
    VELMOR_BUFFER(nullText, nullptr, 16);
    VELMORSELECTION selBadSize = { 8, 0, 0, 0, 0 };
    VELMORSELECTION selBadLine = { sizeof(VELMORSELECTION), 0, 0, 0, 99 };
    VELMORSELECTION selBadCol = { sizeof(VELMORSELECTION), -4, 0, 0, 0 };
    VELMORFIND findBadSize = { 4, 0, 0, -1, 0 };
    VELMORFIND findBadLine = { sizeof(VELMORFIND), 0, 50, -1, 0 };
    VELMORFIND findBadCol = { sizeof(VELMORFIND), 0, 0, -1, -1 };
    VELMORENGINE engBadSize = { 0, 0, 0, 0, 0, 0 };
    VELMORINSPECTOR inspBadSize = { 1, nullptr, nullptr };
    VELMORPOS farLine = { 0, 1000 };
    const WPARAM minus1 = (WPARAM)-1;
    const Case cases[] = {
        { "WM_GETTEXT null", WM_GETTEXT, 10, 0, 0, VELMOR_STATUS_NULLPOINTER },
        { "EM_GETLINE null", EM_GETLINE, 0, 0, 0, VELMOR_STATUS_NULLPOINTER },
        { "EM_GETLINE line", EM_GETLINE, 7, (LPARAM)buf, 0, VELMOR_STATUS_BADLINE },
        { "EM_REPLACESEL null", EM_REPLACESEL, 0, 0, 0, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETLINE null", VEM_GETLINE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETLINE null buffer", VEM_GETLINE, 0, (LPARAM)&nullText, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETLINE size", VEM_GETLINE, 0, (LPARAM)&badSize, VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_GETLINE line", VEM_GETLINE, 3, (LPARAM)&badSize, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETLINE -1", VEM_GETLINE, minus1, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETLINELENGTH", VEM_GETLINELENGTH, 3, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_SETLINE null", VEM_SETLINE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETLINE line", VEM_SETLINE, 3, (LPARAM)L"x", VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_INSERTLINE line", VEM_INSERTLINE, 4, (LPARAM)L"x", VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_INSERTLINE null", VEM_INSERTLINE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_REMOVELINE line", VEM_REMOVELINE, 3, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_REMOVELINE -1", VEM_REMOVELINE, minus1, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETCARET null", VEM_GETCARET, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETANCHOR null", VEM_GETANCHOR, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETCARET line", VEM_SETCARET, 0, 9, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_SETCARET column", VEM_SETCARET, minus1, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETANCHOR line", VEM_SETANCHOR, 0, -3, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETSELECTION null", VEM_GETSELECTION, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETSELECTION size", VEM_GETSELECTION, 0, (LPARAM)&selBadSize, VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_SETSELECTION size", VEM_SETSELECTION, 0, (LPARAM)&selBadSize, VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_SETSELECTION line", VEM_SETSELECTION, 0, (LPARAM)&selBadLine, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_SETSELECTION column", VEM_SETSELECTION, 0, (LPARAM)&selBadCol, VELMOR_ERROR,
          VELMOR_STATUS_BADVALUE },
        { "VEM_SCROLLTOLINE", VEM_SCROLLTOLINE, 99, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GOTOLINE", VEM_GOTOLINE, minus1, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GOTOPOS", VEM_GOTOPOS, 0, 99, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETSCROLLPOS null", VEM_GETSCROLLPOS, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETFONT small", VEM_SETFONT, 19, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETFONT face", VEM_SETFONT, 100, (LPARAM)L"", VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETCOLOR which", VEM_SETCOLOR, 7, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_GETCOLOR which", VEM_GETCOLOR, 7, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETTABSIZE 0", VEM_SETTABSIZE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETSTYLEBITS", VEM_SETSTYLEBITS, 0x10000, 1, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_SETEVENTMASK", VEM_SETEVENTMASK, 0x10, 0, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_ADDWORD null", VEM_ADDWORD, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_ADDWORD set", VEM_ADDWORD, 5, (LPARAM)L"w", VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_ADDWORD empty", VEM_ADDWORD, 0, (LPARAM)L"", VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_ADDVARIABLE null", VEM_ADDVARIABLE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETBREAKPOINT line", VEM_SETBREAKPOINT, 1 << 30, 1, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_SETBREAKPOINT mark", VEM_SETBREAKPOINT, 0, 256, VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_GETBREAKPOINT -1", VEM_GETBREAKPOINT, minus1, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_TOGGLEBREAKPOINT", VEM_TOGGLEBREAKPOINT, 3, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_GETBREAKPOINTS null", VEM_GETBREAKPOINTS, 4, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETEXECLINE 0", VEM_SETEXECLINE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_SETEXECLINE past", VEM_SETEXECLINE, 4, 0, VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_FIND null", VEM_FIND, 0, (LPARAM)L"a", VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_FIND what", VEM_FIND, (WPARAM)&findBadLine, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_FIND size", VEM_FIND, (WPARAM)&findBadSize, (LPARAM)L"a", VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_FIND line", VEM_FIND, (WPARAM)&findBadLine, (LPARAM)L"a", VELMOR_ERROR, VELMOR_STATUS_BADLINE },
        { "VEM_FIND column", VEM_FIND, (WPARAM)&findBadCol, (LPARAM)L"a", VELMOR_ERROR, VELMOR_STATUS_BADVALUE },
        { "VEM_REPLACE null", VEM_REPLACE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETINSPECTOR size", VEM_SETINSPECTOR, 0, (LPARAM)&inspBadSize, VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_SETENGINE null", VEM_SETENGINE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETENGINE size", VEM_SETENGINE, 0, (LPARAM)&engBadSize, VELMOR_ERROR, VELMOR_STATUS_BADSIZE },
        { "VEM_GETVARIABLE null", VEM_GETVARIABLE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_GETVARIABLE line", VEM_GETVARIABLE, (WPARAM)&badSize, (LPARAM)&farLine, VELMOR_ERROR,
          VELMOR_STATUS_BADLINE },
        { "VEM_SETHTML null", VEM_SETHTML, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
        { "VEM_SETHTML no view", VEM_SETHTML, 0, (LPARAM)L"<p>", VELMOR_ERROR, VELMOR_STATUS_NOWINDOW },
        { "VEM_GETHTMLPAGESIZE null", VEM_GETHTMLPAGESIZE, 0, 0, VELMOR_ERROR, VELMOR_STATUS_NULLPOINTER },
    };
    for (const Case& c : cases) {
        h.ClearStatus();
        EXPECT_EQ(c.result, h.Send(c.msg, c.wp, c.lp)) << c.what;
        EXPECT_EQ(c.status, h.Status()) << c.what;
        EXPECT_EQ(before, h.Text()) << c.what;
    }
    // Lengths: a buffer shorter than the text gets what fits and a zero.
    VELMORTEXT three;
    VELMOR_BUFFER(three, buf, 3);
    EXPECT_EQ(2, h.Send(VEM_GETLINE, 1, (LPARAM)&three));
    EXPECT_STREQ(L"be", buf);
    EXPECT_EQ(11, h.Send(VEM_GETFONTNAME, 0, 0)); // NULL buffer: the length of "Courier New"
    EXPECT_EQ(0, h.Send(WM_GETTEXT, 0, (LPARAM)buf));
    // A handle that is no font.
    EXPECT_EQ(0, h.Send(WM_SETFONT, (WPARAM)0x4321, TRUE));
    EXPECT_EQ(VELMOR_STATUS_BADVALUE, h.Status());
    EXPECT_EQ(100, h.Send(VEM_GETFONTSIZE));
    EXPECT_EQ(before, h.Text());

    // The status stays until cleared; a message that succeeds keeps it.
    h.Send(VEM_GETLINELENGTH, 99);
    h.Send(EM_GETLINECOUNT);
    EXPECT_EQ(VELMOR_STATUS_BADLINE, h.Status());
    h.ClearStatus();
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
    // Read-only: the edits that check it refuse, and say so.
    h.Send(EM_SETREADONLY, TRUE);
    EXPECT_EQ(0, h.Send(WM_CLEAR));
    EXPECT_EQ(VELMOR_STATUS_READONLY, h.Status());
    EXPECT_EQ(before, h.Text());
}

TEST(WindowClassHostile, ValueTipAnsweredByTheCallbackTableAndTheParent)
{
    ClassHost h;
    h.SetText(L"count = pos.y;\narr[1] = seen;\n");
    std::vector<std::string> asked;
    VELMORINSPECTOR table = { sizeof table, &asked, Inspect };
    EXPECT_EQ(TRUE, h.Send(VEM_SETINSPECTOR, 0, (LPARAM)&table));
    h.Send(VEM_SETRUNNING, TRUE);
    EXPECT_EQ(L"count=42", Variable(h, 1, 0));
    EXPECT_EQ(L"pos.y=4.500000", Variable(h, 12, 0));
    EXPECT_EQ(L"arr[1]=b\n", Variable(h, 1, 1));
    EXPECT_EQ(L"", Variable(h, 10, 1)); // "seen": nobody knows it
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ("seen", asked.back());
    // The parent is asked first (VEN_INSPECT) and may answer.
    h.answers.push_back({ "seen", 7 });
    Variable(h, 1, 0); // another word first: the same word twice is not asked again
    EXPECT_EQ(L"seen=7", Variable(h, 10, 1));
    const ClassNote* q = h.Last(VEN_INSPECT);
    ASSERT_NE(nullptr, q);
    EXPECT_EQ(1, q->a);
    // Without a table the words come back bare.
    h.Send(VEM_SETINSPECTOR, 0, 0);
    EXPECT_EQ(L"count", Variable(h, 2, 0));
    VELMORENGINE none = { sizeof none, 0, 0, 0, 0, 0 };
    EXPECT_EQ(TRUE, h.Send(VEM_SETENGINE, 0, (LPARAM)&none));
    EXPECT_EQ(FALSE, VelmorValueSetInt(nullptr, VELMOR_TYPE_INT, 1));
    EXPECT_EQ(nullptr, VelmorValueAddField(nullptr, "x"));
}

// The direct function answers as SendMessageW does, messages of the
// control's own map included.
TEST(WindowClassHostile, DirectCallGivesTheSameAnswers)
{
    ClassHost h;
    h.SetText(L"one\ntwo\n");
    VELMORDIRECTFUNCTION fn = (VELMORDIRECTFUNCTION)h.Send(VEM_GETDIRECTFUNCTION);
    void* self = (void*)h.Send(VEM_GETDIRECTPOINTER);
    ASSERT_NE(nullptr, (void*)fn);
    ASSERT_NE(nullptr, self);
    EXPECT_EQ(3, fn(self, EM_GETLINECOUNT, 0, 0));
    wchar_t buf[8];
    VELMORTEXT t;
    VELMOR_BUFFER(t, buf, 8);
    EXPECT_EQ(3, fn(self, VEM_GETLINE, 1, (LPARAM)&t));
    EXPECT_STREQ(L"two", buf);
    EXPECT_EQ(VELMOR_ERROR, fn(self, VEM_GETLINE, 5, (LPARAM)&t));
    EXPECT_EQ(VELMOR_STATUS_BADLINE, fn(self, VEM_GETSTATUS, 0, 0));
    fn(self, VEM_SETCARET, 3, 0);
    fn(self, VEM_SETANCHOR, 3, 0);
    fn(self, WM_CHAR, L'!', 1); // the control's own map, through the window
    EXPECT_EQ(L"one!", h.Line(0));
    EXPECT_EQ(VELMOR_ERROR, fn(nullptr, EM_GETLINECOUNT, 0, 0));
}

// The HTML view over the control: made, navigated and hidden by message.
TEST(WindowClassHostile, HtmlViewByMessage)
{
    ClassHost h;
    EXPECT_EQ(TRUE, h.Send(VEM_SHOWHTML, 0, (LPARAM)L"about:blank"));
    HWND view = GetWindow(h.ctl, GW_CHILD);
    ASSERT_NE(nullptr, view);
    EXPECT_TRUE(IsWindowVisible(view));
    SIZE size = { -1, -1 };
    EXPECT_EQ(TRUE, h.Send(VEM_GETHTMLPAGESIZE, 0, (LPARAM)&size));
    EXPECT_GE(size.cx, 0);
    // Wine has no HTML engine: the view has no document to write into.
    EXPECT_EQ(FALSE, h.Send(VEM_SETHTML, 0, (LPARAM)L"<p>x</p>"));
    EXPECT_EQ(VELMOR_STATUS_OK, h.Status());
    EXPECT_EQ(TRUE, h.Send(VEM_SHOWHTML, 0, 0));
    EXPECT_FALSE(IsWindowVisible(view));
}

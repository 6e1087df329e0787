// The value tip under Wine: real mouse moves over a running script, values
// read from engine records in this process's memory (below 4 GiB, as the
// 32-bit pointer fields need) or from a host's inspection interface, the
// one-second refresh, the parent's evaluation of a selection, and host
// pointers that are garbage.
#include "host.h"
#include "tests/support/LowMemory.h"
#include "tests/support/RecordImage.h"
#include <gtest/gtest.h>
#include <map>
#include <psapi.h>

namespace {

const wchar_t kScript[] = L"count + ratio;\n"
                          L"x = arr[i] + pos.y;\n"
                          L"n = 12;\n"
                          L"pos name  \n"
                          L"\n";

// The engine's records of a script held in one function: locals count,
// ratio, arr, i, pos and name, found through the function's name table.
struct EngineImage
{
    uint8_t* mem = nullptr;
    CRecordImage img{0};
    uint32_t list = 0, frame = 0, countSlot = 0;

    EngineImage()
    {
        mem = (uint8_t*)VelmorLowAlloc(1 << 20);
        img = CRecordImage((uint32_t)(uintptr_t)mem);
        frame = img.Frame(6);
        const uint32_t table =
            img.LocalTable({{"count", 0}, {"ratio", 1}, {"arr", 2}, {"i", 3}, {"pos", 4}, {"name", 5}});
        countSlot = img.Slot(frame, 0);
        img.IntObject(countSlot, VELMOR_T_INT, 42);
        img.DoubleObject(img.Slot(frame, 1), 0.5);
        img.IntObject(img.Slot(frame, 2), VELMOR_T_ARRAY, img.ArrayOf<int32_t>(VELMOR_T_INT, {7, 8, 9}));
        img.IntObject(img.Slot(frame, 3), VELMOR_T_INT, 1);
        const uint32_t pos = img.Struct({"x", "y"});
        img.IntObject(img.FieldObject(pos, 0), VELMOR_T_INT, 3);
        img.IntObject(img.FieldObject(pos, 1), VELMOR_T_INT, 4);
        img.IntObject(img.Slot(frame, 4), VELMOR_T_STRUCT, pos);
        img.IntObject(img.Slot(frame, 5), VELMOR_T_STRING, img.Text("abc"));
        list = img.Function(-1, 6, true, table, 0);
        Publish();
    }
    ~EngineImage() { VirtualFree(mem, 0, MEM_RELEASE); }
    void Publish() { memcpy(mem, img.Bytes().data(), img.Bytes().size()); }
    void* P(uint32_t a) const { return (void*)(uintptr_t)a; }
};

struct TipEditor : TestEditor<>
{
    TipEditor(const wchar_t* text = kScript) : TestEditor<>(text, CRect(0, 0, 600, 300), 7) {}

    // A mouse move over column col of line nLine, as the system sends it.
    void Hover(int col, int nLine)
    {
        ctl->SetCursorPos(CPoint(0, nLine)); // columns are measured on the caret's line
        Move(col, nLine);
    }
    // The same without moving the caret (the font is fixed-pitch, so a
    // longer caret line measures the same columns).
    void Move(int col, int nLine)
    {
        const int x = ctl->m_nLeftMargin + col * ctl->m_nCharWidth + ctl->m_nCharWidth / 2;
        const int y = nLine * ctl->m_nLineHeight + ctl->m_nLineHeight / 2;
        ::SendMessageW(hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(x, y));
        PumpMessages();
    }
    bool TipVisible() { return ctl->m_wndValueTip.m_hWnd && ::IsWindowVisible(ctl->m_wndValueTip.m_hWnd); }
    std::wstring TipText()
    {
        CString s;
        ctl->m_wndValueTip.GetText(s, ctl.get(), VELMOR_TIP_TOOL);
        return s.GetString();
    }
    // Whether the refresh timer runs (asking stops it).
    bool TimerWasRunning() { return ::KillTimer(hwnd(), VELMOR_TIMER_VALUETIP) != 0; }
};

// The parent's answer to the evaluation message.
const char* g_evaluation = nullptr;
int g_evaluations = 0;
WNDPROC g_hostProc = nullptr;
LRESULT CALLBACK EvaluatingParent(HWND h, UINT m, WPARAM w, LPARAM l)
{
    if (m == VELMOR_WM_EVALUATE) {
        ++g_evaluations;
        return (LRESULT)g_evaluation;
    }
    return CallWindowProcW(g_hostProc, h, m, w, l);
}

// A host engine without records: values by name.
class HostInspector : public IVelmorInspector
{
public:
    std::map<std::string, CVelmorValue> vars;
    std::vector<std::pair<int, std::string>> asked;
    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override
    {
        asked.emplace_back(nLine, pszName);
        auto it = vars.find(pszName);
        if (it == vars.end())
            return false;
        value = it->second;
        return true;
    }
};

} // namespace

TEST(ValueTip, HoverShowsRecordValuesRefreshesAndFollowsTheMouse)
{
    EngineImage eng;
    ASSERT_TRUE(eng.mem);
    TipEditor e;
    e->SetScriptFun(eng.P(eng.list), nullptr, eng.P(eng.frame));
    // Not running: hovering shows nothing.
    e.Hover(1, 0);
    EXPECT_FALSE(e.TipVisible());
    e->SetRunning(true);
    e.Hover(9, 0); // "ratio", a first lookup installs the function list
    e.Hover(1, 0);
    ASSERT_TRUE(e.TipVisible());
    EXPECT_EQ(e.TipText(), L"count=42");
    // The tip's colours and width.
    EXPECT_EQ((COLORREF)e->m_wndValueTip.SendMessage(TTM_GETTIPBKCOLOR, 0, 0), RGB(230, 230, 0));
    EXPECT_EQ((COLORREF)e->m_wndValueTip.SendMessage(TTM_GETTIPTEXTCOLOR, 0, 0), RGB(0, 0, 0));
    EXPECT_EQ(e->m_wndValueTip.SendMessage(TTM_GETMAXTIPWIDTH, 0, 0), 32767);

    // The script moves on: within a second the tip shows the new value.
    eng.img.Put<int32_t>(eng.countSlot + 8, -5);
    eng.Publish();
    PumpFor(1300);
    EXPECT_EQ(e.TipText(), L"count=-5");
    // Resting on the same word keeps the tip.
    e.Hover(3, 0);
    EXPECT_TRUE(e.TipVisible());

    // Other words: the index and field rules.
    e.Hover(5, 1);
    EXPECT_EQ(e.TipText(), L"arr[1]=8\n");
    e.Hover(17, 1);
    EXPECT_EQ(e.TipText(), L"pos.y=4");
    e.Hover(1, 3);
    EXPECT_EQ(e.TipText(), L"pos\n    x=3\n    y=4\n"); // tabs shown as spaces
    e.Hover(5, 3);
    EXPECT_EQ(e.TipText(), L"name=\"abc\"");
    EXPECT_TRUE(e.TimerWasRunning());
    // A number, white space, an empty line: the tip goes and the timer stops.
    e.Hover(9, 3);
    e.Hover(5, 2);
    EXPECT_FALSE(e.TipVisible());
    EXPECT_FALSE(e.TimerWasRunning());
    e.Hover(1, 0);
    EXPECT_TRUE(e.TipVisible());
    e.Hover(0, 4);
    EXPECT_FALSE(e.TipVisible());
    EXPECT_FALSE(e.TimerWasRunning());
    // Over the margin the position is clamped to column 0: its word is
    // looked up.
    e.Hover(9, 0);
    ASSERT_EQ(e.TipText(), L"ratio=0.500000");
    ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(2, e->m_nLineHeight / 2));
    EXPECT_TRUE(e.TipVisible());
    EXPECT_EQ(e.TipText(), L"count=-5");
    // Below the text, to the last line: empty here, so the tip goes.
    ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(e->m_nLeftMargin + 4, 9 * e->m_nLineHeight + 3));
    EXPECT_FALSE(e.TipVisible());
    EXPECT_FALSE(e.TimerWasRunning());
    // A name the engine does not have shows nothing.
    e.Hover(0, 1);
    EXPECT_FALSE(e.TipVisible());
    // Neither the mouse leaving nor the host leaving the running state
    // hides a tip; the timer keeps refreshing it.
    e.Hover(1, 0);
    EXPECT_TRUE(e.TipVisible());
    ::SendMessageW(e.hwnd(), WM_MOUSELEAVE, 0, 0);
    e->SetRunning(false);
    EXPECT_TRUE(e.TipVisible());
    eng.img.Put<int32_t>(eng.countSlot + 8, 6);
    eng.Publish();
    PumpFor(1300);
    EXPECT_EQ(e.TipText(), L"count=6");
    // Not running, a move is no hover: the tip stays as it is.
    e.Hover(0, 4);
    EXPECT_TRUE(e.TipVisible());
    EXPECT_TRUE(e.TimerWasRunning());
}

// The refresh and the word changes: a name no longer found shows bare; a
// new word stops the timer before its lookup.
TEST(ValueTip, RefreshAndWordChanges)
{
    HostInspector insp;
    insp.vars["count"] = CVelmorValue::Int(VELMOR_T_INT, 1);
    insp.vars["ratio"] = CVelmorValue::Int(VELMOR_T_INT, 2);
    TipEditor e;
    e->SetInspector(&insp);
    e->SetRunning(true);
    e.Hover(1, 0);
    ASSERT_EQ(e.TipText(), L"count=1");
    insp.vars.erase("count"); // the script left the function
    PumpFor(1300);
    EXPECT_TRUE(e.TipVisible());
    EXPECT_EQ(e.TipText(), L"count");
    // Moving to another word: the timer is killed before the lookup runs
    // (the lookup sees no timer), then started again for the new word.
    bool timerAtLookup = true;
    struct Probe : HostInspector
    {
        HWND hwnd = nullptr;
        bool* pTimer = nullptr;
        bool bFirst = true;
        bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override
        {
            if (bFirst) { // the word's own lookup, before any refresh
                bFirst = false;
                *pTimer = ::KillTimer(hwnd, VELMOR_TIMER_VALUETIP) != 0;
                if (*pTimer) // put back what asking removed
                    ::SetTimer(hwnd, VELMOR_TIMER_VALUETIP, 1000, nullptr);
            }
            return HostInspector::InspectVariable(nLine, pszName, nIndex, value);
        }
    } probe;
    probe.vars = insp.vars;
    probe.hwnd = e.hwnd();
    probe.pTimer = &timerAtLookup;
    e->SetInspector(&probe);
    e.Hover(9, 0);
    EXPECT_FALSE(timerAtLookup);
    EXPECT_EQ(e.TipText(), L"ratio=2");
    EXPECT_TRUE(e.TimerWasRunning());
    e->SetInspector(nullptr);
}

TEST(ValueTip, GetVariableWordsAndTheBareName)
{
    EngineImage eng;
    TipEditor e;
    // No source: the bare word, without any lookup.
    EXPECT_EQ(e->GetVariable(17, 1), CString(L"pos.y"));
    EXPECT_EQ(e->GetVariable(14, 1), CString(L"pos"));
    EXPECT_EQ(e->GetVariable(5, 2), CString(L""));  // 12 starts with a digit
    EXPECT_EQ(e->GetVariable(99, 0), CString(L"")); // past the line's end
    EXPECT_EQ(e->m_nHoverLine, 0);
    EXPECT_EQ(e->GetVariable(0, 4), CString(L""));  // empty line
    // A line outside the text is the caller's error.
    for (int bad : {99, -1, 6}) {
        try {
            e->GetVariable(0, bad);
            ADD_FAILURE() << "line " << bad;
        } catch (CInvalidArgException* x) {
            x->Delete();
        }
    }
    EXPECT_EQ(e->m_nHoverLine, 4);
    e->SetScriptFun(eng.P(eng.list), nullptr, eng.P(eng.frame));
    e->GetVariable(9, 0);
    EXPECT_EQ(e->GetVariable(1, 0), CString(L"count=42"));
    EXPECT_EQ(e->m_strHoverWord, CString(L"count"));
    EXPECT_EQ(e->m_nHoverEndCol, 5);
    EXPECT_STREQ(e->m_szValueBuf, "count=42");
    EXPECT_EQ(e->GetVariable(2, 0), CString(L"count")); // the same word again
    EXPECT_EQ(e->GetVariable(4, 1), CString(L"arr[1]=8\n"));
    EXPECT_EQ(e->GetVariable(0, 1), CString(L"")); // x: not found

    char buf[16];
    EXPECT_STREQ(e->UnicodeToUTF8(L"a\x00e9\x20ac", buf), "a\xc3\xa9\xe2\x82\xac");
    EXPECT_STREQ(e->UnicodeToUTF8(L"\xd83d\xde00", buf), "\xed\xa0\xbd\xed\xb8\x80"); // units alone
    EXPECT_EQ(e->UnicodeToUTF8(nullptr, buf), nullptr);

    // The selection's text, or FALSE with the text left as it was.
    CString text(L"kept");
    e->SetSelection(3, 1, 3, 1);
    EXPECT_FALSE(e->GetHighlight(text));
    EXPECT_EQ(text, CString(L"kept"));
    e->SetSelection(7, 1, 4, 1);
    EXPECT_TRUE(e->GetHighlight(text));
    EXPECT_EQ(text, CString(L"arr"));
}

TEST(ValueTip, InspectionInterfaceGivesTheSameTexts)
{
    HostInspector insp;
    CVelmorValue pos;
    pos.nType = VELMOR_T_STRUCT;
    pos.fields = {{"x", CVelmorValue::Int(VELMOR_T_INT, 3)}, {"y", CVelmorValue::Real(VELMOR_T_DOUBLE, 4.5)}};
    insp.vars["pos"] = pos;
    insp.vars["i"] = CVelmorValue::Int(VELMOR_T_UINT, 2);
    CVelmorValue arr;
    arr.nType = VELMOR_T_ARRAY;
    arr.nElemType = VELMOR_T_STRING;
    arr.nLength = 3;
    arr.elements = {CVelmorValue::String("a"), CVelmorValue::String("b"), CVelmorValue::String("c")};
    insp.vars["arr"] = arr;
    TipEditor e;
    e->SetInspector(&insp);
    e->SetRunning(true);
    e.Hover(1, 3);
    ASSERT_TRUE(e.TipVisible());
    EXPECT_EQ(e.TipText(), L"pos\n    x=3\n    y=4.500000\n");
    e.Hover(17, 1);
    EXPECT_EQ(e.TipText(), L"pos.y=4.500000");
    e.Hover(5, 1);
    EXPECT_EQ(e.TipText(), L"arr[2]=c\n");
    // Asked with the control's line under the mouse.
    ASSERT_FALSE(insp.asked.empty());
    EXPECT_EQ(insp.asked.back(), std::make_pair(1, std::string("arr")));
    e->SetInspector(nullptr);
}

TEST(ValueTip, ASelectionIsEvaluatedByTheParent)
{
    TipEditor e;
    g_hostProc = (WNDPROC)SetWindowLongPtrW(e.host.hwnd(), GWLP_WNDPROC, (LONG_PTR)EvaluatingParent);
    e->SetRunning(true);
    e->SetSelection(4, 1, 10, 1); // "arr[i]"
    auto hoverSelection = [&](const char* answer) {
        g_evaluation = answer;
        e.Move(5, 2); // on a number first: the tip goes
        const int before = g_evaluations;
        const int x = e->m_nLeftMargin + 6 * e->m_nCharWidth + 2, y = e->m_nLineHeight + 3;
        ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(x, y));
        PumpMessages();
        return g_evaluations - before;
    };
    // No execution line: the parent is not asked.
    e->m_nBreakLine = -1;
    EXPECT_EQ(hoverSelection("1.000000"), 0);
    // Asked, but a selection only fills a tip that a word has made.
    e->m_nBreakLine = 1;
    EXPECT_EQ(hoverSelection("1.000000"), 1);
    EXPECT_FALSE(e.TipVisible());
    e.Move(1, 0); // no engine: the bare word makes the tip
    ASSERT_TRUE(e.TipVisible());
    EXPECT_EQ(hoverSelection("1.000000"), 1);
    EXPECT_STREQ(e->m_szValueBuf, "arr[i]");
    EXPECT_TRUE(e.TipVisible());
    EXPECT_EQ(e.TipText(), L"1");
    // A visible tip keeps its text.
    g_evaluation = "9.000000";
    ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(e->m_nLeftMargin + 7 * e->m_nCharWidth + 2, e->m_nLineHeight + 3));
    EXPECT_EQ(e.TipText(), L"1");
    hoverSelection(".000000");
    EXPECT_EQ(e.TipText(), L".000000");
    hoverSelection("1.000000 x");
    EXPECT_EQ(e.TipText(), L"1.000000 x");
    hoverSelection("2.500000");
    EXPECT_EQ(e.TipText(), L"2.500000");
    hoverSelection(nullptr);
    EXPECT_EQ(e.TipText(), L"");
    // A parent that answers the message with something else than a text.
    hoverSelection((const char*)(uintptr_t)1);
    EXPECT_EQ(e.TipText(), L"");
    // A selection over several lines: the parent gets its first 512
    // characters, lines joined with CR LF.
    e->SetSelection(4, 1, 3, 3);
    auto hoverAt = [&](int col, int line) {
        ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0,
                       MAKELPARAM(e->m_nLeftMargin + col * e->m_nCharWidth + 2, line * e->m_nLineHeight + 3));
        PumpMessages();
    };
    hoverAt(2, 2);
    EXPECT_STREQ(e->m_szValueBuf, "arr[i] + pos.y;\r\nn = 12;\r\npos");
    SetWindowLongPtrW(e.host.hwnd(), GWLP_WNDPROC, (LONG_PTR)g_hostProc);
}

namespace {
SIZE_T PrivateBytes()
{
    PROCESS_MEMORY_COUNTERS_EX pmc = {};
    pmc.cb = sizeof pmc;
    GetProcessMemoryInfo(GetCurrentProcess(), (PROCESS_MEMORY_COUNTERS*)&pmc, sizeof pmc);
    return pmc.PrivateUsage;
}
} // namespace

TEST(ValueTip, ALongSelectionSendsItsFirst512Characters)
{
    std::wstring line(3000, L'x');
    TipEditor e((line + L"\n" + line + L"\n").c_str());
    g_hostProc = (WNDPROC)SetWindowLongPtrW(e.host.hwnd(), GWLP_WNDPROC, (LONG_PTR)EvaluatingParent);
    g_evaluation = "7.000000";
    e->SetRunning(true);
    e->m_nBreakLine = 1;
    e->SetSelection(0, 0, 10, 1);
    e.Move(20, 1); // a word outside the selection makes the tip
    e.Move(0, 2);  // an empty line hides it
    ::SendMessageW(e.hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(e->m_nLeftMargin + 20, 3));
    PumpMessages();
    EXPECT_EQ(strlen(e->m_szValueBuf), 512u);
    EXPECT_EQ(e.TipText(), L"7");
    SetWindowLongPtrW(e.host.hwnd(), GWLP_WNDPROC, (LONG_PTR)g_hostProc);
}

TEST(ValueTip, GarbagePointersFindNothingAndLeakNothing)
{
    TipEditor e;
    e->SetRunning(true);
    // Freed memory, a pointer into the control itself, small integers, the
    // top of the 32-bit range.
    void* freed = VelmorLowAlloc(1 << 16);
    VirtualFree(freed, 0, MEM_RELEASE);
    // A looping function chain whose records say "use the table" with a
    // table pointer at a page that cannot be read, and a name of 1 MiB
    // without a terminator that ends at such a page.
    uint8_t* low = (uint8_t*)VelmorLowAlloc(4 << 20);
    ASSERT_TRUE(low);
    CRecordImage img((uint32_t)(uintptr_t)low);
    const uint32_t guard = img.Base() + (3 << 20);
    DWORD old;
    VirtualProtect(low + (3 << 20), 4096, PAGE_NOACCESS, &old);
    const uint32_t nameRec = img.Alloc(4);
    const uint32_t frame = img.Frame(2);
    img.IntObject(img.Slot(frame, 0), VELMOR_T_INT, 1, nameRec);
    const uint32_t a = img.Function(-5, 2, false, 0, 0);
    const uint32_t b = img.Function(-6, 2, true, guard, a);
    img.Put<uint32_t>(a + 36, b);
    memcpy(low, img.Bytes().data(), img.Bytes().size());
    const uint32_t name = guard - (1 << 20);
    memset(low + (name - img.Base()), 'c', 1 << 20);
    memcpy(low + (nameRec - img.Base()), &name, 4);

    struct Case
    {
        void *list, *ns, *frame;
    } cases[] = {
        {(void*)1, (void*)2, (void*)3},
        {freed, freed, freed},
        {e.ctl.get(), e.ctl.get(), (uint8_t*)e.ctl.get() + 64},
        {(void*)(uintptr_t)0xFFFFFFF0u, nullptr, (void*)(uintptr_t)0xFFFFFFF0u},
        {(void*)(uintptr_t)b, nullptr, (void*)(uintptr_t)frame},
        {(void*)(uintptr_t)a, nullptr, (void*)(uintptr_t)guard},
    };
    const wchar_t* words[] = {L"count", L"ratio", L"arr[i]", L"pos.y"};
    auto lookups = [&](int n) {
        for (int k = 0; k < n; ++k) {
            const Case& c = cases[k % 6];
            e->SetScriptFun(c.list, c.ns, c.frame);
            // Alternating words, so every call looks up.
            EXPECT_EQ(e->GetVariable(k % 2 ? 1 : 9, 0), CString(L"")) << k;
            (void)words;
        }
    };
    lookups(1000);
    const SIZE_T before = PrivateBytes();
    lookups(10000);
    const SIZE_T after = PrivateBytes();
    EXPECT_LT(after, before + (256 << 10)) << before << " -> " << after;
    // The hover and the refresh through the same pointers: no tip, no fault.
    e.Hover(1, 0);
    e.Hover(5, 1);
    PumpFor(1100);
    EXPECT_FALSE(e.TipVisible());
    VirtualFree(low, 0, MEM_RELEASE);
}

namespace {
// The engine build's namespaces: one global in the records and one
// intrinsic read by push; the log hook records what it was handed.
class HostNamespaces : public IVelmorEngineNamespaces
{
public:
    uint32_t global = 0;
    std::vector<void*> logged;
    void LogLookup(void* pLocalLog) override { logged.push_back(pLocalLog); }
    int FindName(const char* pszName, void*, const CVelmorMemory&, CVelmorNameHit& hit) override
    {
        if (!strcmp(pszName, "Threshold")) {
            hit.object = global;
            return hit.nKind = CVelmorNameHit::kObject;
        }
        if (!strcmp(pszName, "_version")) {
            hit.value = CVelmorValue::Int(VELMOR_T_INT, 20303);
            return hit.nKind = CVelmorNameHit::kValue;
        }
        return CVelmorNameHit::kNotFound;
    }
};
} // namespace

TEST(ValueTip, NamespacesOfTheEngineBuildAndTheLogHook)
{
    EngineImage eng;
    HostNamespaces ns;
    ns.global = eng.img.NewObject();
    eng.img.DoubleObject(ns.global, 0.75);
    eng.Publish();
    IVelmorEngineNamespaces* old = VelmorRegisterEngineNamespaces(&ns);
    TipEditor e(L"Threshold _version count\n");
    int log = 0;
    e->SetLocalLog(&log);
    e->SetScriptFun(eng.P(eng.list), nullptr, eng.P(eng.frame));
    EXPECT_EQ(e->GetVariable(1, 0), CString(L"Threshold=0.750000"));
    EXPECT_EQ(e->GetVariable(12, 0), CString(L"_version=20303"));
    EXPECT_EQ(e->GetVariable(20, 0), CString(L"count=42")); // locals first
    ASSERT_EQ(ns.logged.size(), 3u);
    EXPECT_EQ(ns.logged[0], &log);
    EXPECT_EQ(VelmorRegisterEngineNamespaces(old), &ns);
}

// The context menu as a user meets it: a right click on the control opens
// the popup; a thread timer, which runs inside the menu's modal loop,
// reads the open popup's items (texts, ids, greyed state, submenus) and
// then either closes the menu or picks an item with the keys a user would
// press. The chosen command reaches the control as WM_COMMAND.
#include "host.h"
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

void PrintTo(const CString& s, std::ostream* os)
{
    *os << '"';
    for (int i = 0; i < s.GetLength(); ++i) {
        const wchar_t ch = s[i];
        if (ch == L'\n')
            *os << "\\n";
        else if (ch < 128)
            *os << (char)ch;
        else
            *os << "\\u" << std::hex << (int)ch << std::dec;
    }
    *os << '"';
}

namespace {

const int kId = 78;

struct MenuItem
{
    std::wstring text;
    UINT id;
    bool grayed;
    std::vector<MenuItem> sub; // the items of a popup
};

std::vector<MenuItem> ReadMenu(HMENU hMenu)
{
    std::vector<MenuItem> items;
    const int n = GetMenuItemCount(hMenu);
    for (int i = 0; i < n; ++i) {
        MenuItem item;
        wchar_t buf[256] = {};
        GetMenuStringW(hMenu, i, buf, 256, MF_BYPOSITION);
        item.text = buf;
        item.id = GetMenuItemID(hMenu, i);
        item.grayed = (GetMenuState(hMenu, i, MF_BYPOSITION) & MF_GRAYED) != 0;
        if (HMENU hSub = GetSubMenu(hMenu, i))
            item.sub = ReadMenu(hSub);
        items.push_back(item);
    }
    return items;
}

// What the timer does inside the menu loop: read the popup, then press
// keys (none: close the menu with EndMenu).
struct MenuDriver
{
    HWND keyTarget = nullptr;
    std::vector<UINT> keys;
    bool opened = false;
    std::vector<MenuItem> items;
    POINT topLeft = { 0, 0 };
    int ticks = 0;
    UINT_PTR timer = 0;
};
MenuDriver* g_driver = nullptr;

void CALLBACK DriveMenu(HWND, UINT, UINT_PTR id, DWORD)
{
    MenuDriver& d = *g_driver;
    ++d.ticks;
    HWND hPopup = FindWindowW(L"#32768", nullptr);
    if (!hPopup || !IsWindowVisible(hPopup)) {
        if (d.ticks > 100) // no menu came: stop
            KillTimer(nullptr, id);
        return;
    }
    KillTimer(nullptr, id);
    d.opened = true;
    RECT rc;
    GetWindowRect(hPopup, &rc);
    d.topLeft = { rc.left, rc.top };
    HMENU hMenu = (HMENU)SendMessageW(hPopup, MN_GETHMENU, 0, 0);
    if (hMenu)
        d.items = ReadMenu(hMenu);
    if (d.keys.empty()) {
        EndMenu();
        return;
    }
    for (UINT vk : d.keys) {
        const UINT scan = MapVirtualKeyW(vk, MAPVK_VK_TO_VSC);
        PostMessageW(d.keyTarget, WM_KEYDOWN, vk, 1 | (scan << 16));
        PostMessageW(d.keyTarget, WM_KEYUP, vk, 1 | (scan << 16) | 0xC0000000);
    }
}

struct Ed : TestEditor<>
{
    explicit Ed(const wchar_t* text, BYTE compact = 0) : TestEditor(text, CRect(10, 10, 610, 410), kId, compact)
    {
        ctl->SetFocus();
        PumpMessages();
    }

    // A right click at a client point (the system turns the button's
    // release into WM_CONTEXTMENU); the driver acts inside the menu loop.
    // Returns what the driver saw.
    MenuDriver RightClick(std::vector<UINT> keys = {}, POINT at = { 40, 20 })
    {
        MenuDriver d;
        d.keyTarget = hwnd();
        d.keys = std::move(keys);
        g_driver = &d;
        d.timer = SetTimer(nullptr, 0, 50, DriveMenu);
        PostMessageW(hwnd(), WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(at.x, at.y));
        PostMessageW(hwnd(), WM_RBUTTONUP, 0, MAKELPARAM(at.x, at.y));
        // The menu's loop runs inside this pump; the chosen command is
        // posted when the menu closes.
        for (int i = 0; i < 50 && !d.opened; ++i)
            PumpFor(20);
        PumpMessages();
        if (!d.opened)
            KillTimer(nullptr, d.timer);
        g_driver = nullptr;
        return d;
    }
};

const MenuItem* Find(const std::vector<MenuItem>& items, const std::wstring& text)
{
    for (const MenuItem& i : items)
        if (i.text == text)
            return &i;
    return nullptr;
}

int IndexOf(const std::vector<MenuItem>& items, const std::wstring& text)
{
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i].text == text)
            return (int)i;
    return -1;
}

// The keys that pick item `index` of submenu `sub` (0 Variable, 1 Operator,
// 2 Function) of the normal menu: down to the submenu, open it, down to
// the item, Enter.
std::vector<UINT> PickWord(int sub, int index)
{
    std::vector<UINT> keys(sub + 1, VK_DOWN);
    keys.push_back(VK_RIGHT);
    for (int i = 0; i < index; ++i)
        keys.push_back(VK_DOWN);
    keys.push_back(VK_RETURN);
    return keys;
}

std::vector<std::wstring> NonEmpty(const std::set<CString>& set)
{
    std::vector<std::wstring> words;
    for (const CString& s : set)
        if (!s.IsEmpty())
            words.emplace_back(s.GetString());
    return words;
}

void SetClipboardText(HWND owner, const wchar_t* text)
{
    ASSERT_TRUE(OpenClipboard(owner));
    EmptyClipboard();
    if (text) {
        const size_t bytes = (wcslen(text) + 1) * sizeof(wchar_t);
        HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, bytes);
        memcpy(GlobalLock(h), text, bytes);
        GlobalUnlock(h);
        SetClipboardData(CF_UNICODETEXT, h);
    }
    CloseClipboard();
}

} // namespace

// Normal mode: the three word submenus, then the edit commands, with the
// texts and ids of menu 130; each submenu lists its set's words in the
// set's order, numbered from its base, the placeholder gone.
TEST(ContextMenu, NormalMenuOnRightClick)
{
    Ed e(L"x = 1;\n");
    SetClipboardText(e.host.hwnd(), L"paste me");
    const MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    EXPECT_EQ(e.hwnd(), GetFocus());
    const std::vector<std::pair<std::wstring, UINT>> expected = {
        { L"Variable", (UINT)-1 }, { L"Operator", (UINT)-1 }, { L"Function", (UINT)-1 }, { L"", 0 },
        { L"Undo", ID_EDIT_UNDO }, { L"Redo", ID_EDIT_REDO }, { L"", 0 }, { L"Cut", ID_EDIT_CUT },
        { L"&Copy", ID_EDIT_COPY }, { L"Paste", ID_EDIT_PASTE }, { L"", 0 }, { L"Select &All", ID_EDIT_SELECT_ALL },
    };
    ASSERT_EQ(expected.size(), d.items.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i].first, d.items[i].text) << i;
        EXPECT_EQ(expected[i].second, d.items[i].id) << i;
    }
    // The menu's left edge is at the click.
    POINT click = { 40, 20 };
    ClientToScreen(e.hwnd(), &click);
    EXPECT_EQ(click.x, d.topLeft.x);

    CColorizer* c = e->m_Text.GetColorizer();
    const std::set<CString>* sets[] = { &c->GetStringSet(), &c->GetStringOpSet(), &c->GetStringFuncSet() };
    const UINT bases[] = { 30000, 31000, 32000 };
    for (int s = 0; s < 3; ++s) {
        const std::vector<std::wstring> words = NonEmpty(*sets[s]);
        const std::vector<MenuItem>& sub = d.items[s].sub;
        // No built-in keywords: the Variable submenu starts empty.
        if (s > 0) {
            ASSERT_FALSE(words.empty());
        }
        ASSERT_EQ(words.size(), sub.size()) << "submenu " << s;
        for (size_t i = 0; i < words.size(); ++i) {
            EXPECT_EQ(words[i], sub[i].text) << "submenu " << s << " item " << i;
            EXPECT_EQ(bases[s] + i, sub[i].id) << "submenu " << s << " item " << i;
            EXPECT_FALSE(sub[i].grayed);
        }
    }
    // The placeholder of the Variable submenu is not a keyword.
    EXPECT_EQ(nullptr, Find(d.items[0].sub, L"Ask"));
    EXPECT_NE(nullptr, Find(d.items[1].sub, L"+"));
    EXPECT_NE(nullptr, Find(d.items[1].sub, L"and"));
    EXPECT_NE(nullptr, Find(d.items[2].sub, L"sin"));

    // Nothing to undo or redo, no selection: those are grey; Paste (the
    // clipboard holds text) and Select All are not.
    EXPECT_TRUE(Find(d.items, L"Undo")->grayed);
    EXPECT_TRUE(Find(d.items, L"Redo")->grayed);
    EXPECT_TRUE(Find(d.items, L"Cut")->grayed);
    EXPECT_TRUE(Find(d.items, L"&Copy")->grayed);
    EXPECT_FALSE(Find(d.items, L"Paste")->grayed);
    EXPECT_FALSE(Find(d.items, L"Select &All")->grayed);
    // Closing the menu changes nothing.
    EXPECT_EQ(CString(L"x = 1;\n\n"), e.Text());
}

// The enabling follows the control's state at each click.
TEST(ContextMenu, ItemsEnabledByState)
{
    Ed e(L"alpha beta\n");
    ::SendMessageW(e.hwnd(), WM_CHAR, L'q', 1); // something to undo
    ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_UNDO, 0); // and to redo
    e->SetSelection(0, 0, 5, 0);
    SetClipboardText(e.host.hwnd(), nullptr); // empty clipboard
    MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    EXPECT_TRUE(Find(d.items, L"Undo")->grayed);
    EXPECT_FALSE(Find(d.items, L"Redo")->grayed);
    EXPECT_FALSE(Find(d.items, L"Cut")->grayed);
    EXPECT_FALSE(Find(d.items, L"&Copy")->grayed);
    EXPECT_TRUE(Find(d.items, L"Paste")->grayed);
    EXPECT_FALSE(Find(d.items, L"Select &All")->grayed);

    ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_REDO, 0);
    SetClipboardText(e.host.hwnd(), L"text");
    e->SetSelection(0, 0, 5, 0);
    d = e.RightClick();
    ASSERT_TRUE(d.opened);
    EXPECT_FALSE(Find(d.items, L"Undo")->grayed);
    EXPECT_TRUE(Find(d.items, L"Redo")->grayed);
    EXPECT_FALSE(Find(d.items, L"Paste")->grayed);

    // The clipboard held open by another window: Paste is grey.
    ASSERT_TRUE(OpenClipboard(e.host.hwnd()));
    d = e.RightClick();
    CloseClipboard();
    ASSERT_TRUE(d.opened);
    EXPECT_TRUE(Find(d.items, L"Paste")->grayed);
}

// Compact mode: menu 131, no word submenus, every item as the resources
// have it (enabled), whatever the state.
TEST(ContextMenu, CompactMenu)
{
    Ed e(L"x = 1;\n", 1);
    SetClipboardText(e.host.hwnd(), nullptr);
    const MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    const std::vector<std::pair<std::wstring, UINT>> expected = {
        { L"", 0 }, { L"Undo", ID_EDIT_UNDO }, { L"Redo", ID_EDIT_REDO }, { L"", 0 },
        { L"Cut", ID_EDIT_CUT }, { L"&Copy", ID_EDIT_COPY }, { L"Paste", ID_EDIT_PASTE }, { L"", 0 },
        { L"Select &All", ID_EDIT_SELECT_ALL },
    };
    ASSERT_EQ(expected.size(), d.items.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i].first, d.items[i].text) << i;
        EXPECT_EQ(expected[i].second, d.items[i].id) << i;
        // (A separator always reads as grey.)
        if (expected[i].second != 0) {
            EXPECT_FALSE(d.items[i].grayed) << i;
        }
        EXPECT_TRUE(d.items[i].sub.empty()) << i;
    }
    // Copy chosen without a selection does what Copy does then: nothing
    // changes in the text.
    const MenuDriver d2 = e.RightClick({ VK_DOWN, VK_DOWN, VK_DOWN, VK_DOWN, VK_RETURN });
    ASSERT_TRUE(d2.opened);
    EXPECT_EQ(CString(L"x = 1;\n\n"), e.Text());
    // Copy of an empty selection leaves the clipboard open (as it does from
    // the keyboard): close it for the tests that follow.
    CloseClipboard();
}

// Words a host adds (AddKey, its variables through InitParserVariable)
// are under "Variable" at the next right click, in sorted place.
TEST(ContextMenu, HostWordsUnderVariable)
{
    Ed e(L"\n");
    MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    EXPECT_EQ(nullptr, Find(d.items[0].sub, L"host_key"));
    EXPECT_EQ(nullptr, Find(d.items[0].sub, L"hostVar"));

    wchar_t key[] = L"host_key";
    e->AddKey(key);
    e->GetVarArray().Add(CString(L"hostVar"));
    e->InitParserVariable();
    d = e.RightClick();
    ASSERT_TRUE(d.opened);
    const std::vector<std::wstring> words = NonEmpty(e->m_Text.GetColorizer()->GetStringSet());
    ASSERT_EQ(words.size(), d.items[0].sub.size());
    for (const wchar_t* w : { L"host_key", L"hostVar" }) {
        const int i = IndexOf(d.items[0].sub, w);
        ASSERT_GE(i, 0) << w;
        EXPECT_EQ(30000u + i, d.items[0].sub[i].id);
        EXPECT_EQ(words[i], std::wstring(w));
    }
}

// Picking a word inserts it with its suffix at the caret (a keyword or an
// operator with a space, a function with "()"), the caret after it, the
// anchor with the caret; a selection is replaced. The insertion is no undo
// step of its own and sends no EN_CHANGE; it goes in read-only too.
TEST(ContextMenu, PickingInsertsTheWord)
{
    Ed e(L"x = ;\ny\n");
    wchar_t key[] = L"hostVar";
    e->AddKey(key);
    MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    const int iVar = IndexOf(d.items[0].sub, L"hostVar");
    const int iAnd = IndexOf(d.items[1].sub, L"and");
    const int iSin = IndexOf(d.items[2].sub, L"sin");
    ASSERT_GE(iVar, 0);
    ASSERT_GE(iAnd, 0);
    ASSERT_GE(iSin, 0);

    const int changes = e.Changes();
    e->SetSelection(4, 0, 4, 0);
    d = e.RightClick(PickWord(2, iSin));
    ASSERT_TRUE(d.opened);
    EXPECT_EQ(CString(L"x = sin();\ny\n\n"), e.Text());
    EXPECT_EQ(CPoint(9, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(9, 0), e->GetAnchorPos());

    e->SetSelection(1, 1, 1, 1);
    d = e.RightClick(PickWord(1, iAnd));
    EXPECT_EQ(CString(L"x = sin();\nyand \n\n"), e.Text());
    EXPECT_EQ(CPoint(5, 1), e->GetCursorPos());

    // A selection is replaced.
    e->SetSelection(0, 1, 1, 1);
    d = e.RightClick(PickWord(0, iVar));
    EXPECT_EQ(CString(L"x = sin();\nhostVar and \n\n"), e.Text());
    EXPECT_EQ(CPoint(8, 1), e->GetCursorPos());
    EXPECT_EQ(CPoint(8, 1), e->GetAnchorPos());
    EXPECT_FALSE(e->Selected());
    // Coloured as the word it is.
    EXPECT_EQ(COLOR_KEYWORD, e->m_Text._GetLineColors(1)[0]);
    EXPECT_EQ(COLOR_FUNCTION, e->m_Text._GetLineColors(0)[4]);

    // No EN_CHANGE, nothing on the undo stack: Undo stays grey and does
    // nothing.
    EXPECT_EQ(changes, e.Changes());
    d = e.RightClick();
    EXPECT_TRUE(Find(d.items, L"Undo")->grayed);
    ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_UNDO, 0);
    EXPECT_EQ(CString(L"x = sin();\nhostVar and \n\n"), e.Text());

    // The next edit starts a fresh step: its undo leaves the words.
    ::SendMessageW(e.hwnd(), WM_CHAR, L'z', 1);
    EXPECT_EQ(CString(L"x = sin();\nhostVar zand \n\n"), e.Text());
    ::SendMessageW(e.hwnd(), WM_COMMAND, ID_EDIT_UNDO, 0);
    EXPECT_EQ(CString(L"x = sin();\nhostVar and \n\n"), e.Text());

    // Read-only does not stop it.
    e->SetReadOnly(true);
    e->SetSelection(0, 2, 0, 2);
    d = e.RightClick(PickWord(2, iSin));
    EXPECT_EQ(CString(L"sin()"), e->GetLine(2));
}

// An empty string in a set is skipped by the menu but counted by the
// insertion: each item of that submenu inserts the word before the one it
// shows, the first the suffix alone.
TEST(ContextMenu, EmptyWordShiftsTheInsertion)
{
    Ed e(L"\n");
    for (const wchar_t* w : { L"alpha", L"beta", L"gamma" }) {
        wchar_t buf[16];
        wcscpy(buf, w);
        e->AddKey(buf);
    }
    std::set<CString>& keys = e->m_Text.GetColorizer()->GetStringSet();
    keys.insert(CString(L""));
    const std::vector<std::wstring> words = NonEmpty(keys);
    MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    ASSERT_EQ(words.size(), d.items[0].sub.size());

    d = e.RightClick(PickWord(0, 0));
    EXPECT_EQ(CString(L" "), e->GetLine(0));
    d = e.RightClick(PickWord(0, 2));
    EXPECT_EQ(CString((L" " + words[1] + L" ").c_str()), e->GetLine(0));
}

// The three word ranges overlap in the message map and the first entry
// that holds an id takes it: 30000..30500 keywords, 30501..31500 operators
// (negative index below 31000: nothing), 31501..32500 functions. A host's
// own menu reaches them the same way.
TEST(ContextMenu, CommandRangesFirstEntryWins)
{
    Ed e(L"\n");
    CColorizer* c = e->m_Text.GetColorizer();
    for (int i = 0; i < 600; ++i) {
        wchar_t w[16];
        swprintf(w, 16, L"k%03d", i);
        c->InsertKey(w);
    }
    const std::vector<std::wstring> keys = NonEmpty(c->GetStringSet());
    const std::vector<std::wstring> ops = NonEmpty(c->GetStringOpSet());
    const std::vector<std::wstring> funcs = NonEmpty(c->GetStringFuncSet());
    ASSERT_EQ(600u, keys.size());
    auto command = [&](UINT id) {
        e->SetSelection(0, 0, 0, 0);
        e->SetLine(L"", 0);
        ::SendMessageW(e.hwnd(), WM_COMMAND, id, 0);
        CString t = e->GetLine(0);
        return std::wstring(t.GetString());
    };
    EXPECT_EQ(keys[0] + L" ", command(30000));
    EXPECT_EQ(keys[500] + L" ", command(30500));
    EXPECT_EQ(L"", command(30501));
    EXPECT_EQ(L"", command(30999));
    EXPECT_EQ(ops[0] + L" ", command(31000));
    EXPECT_EQ(ops[1] + L" ", command(31001));
    EXPECT_EQ(L"", command(31501));
    EXPECT_EQ(funcs[0] + L"()", command(32000));
    EXPECT_EQ(funcs[3] + L"()", command(32003));
    // Past the end of a set: nothing, the selection kept.
    e->SetLine(L"abc", 0);
    e->SetSelection(0, 0, 2, 0);
    ::SendMessageW(e.hwnd(), WM_COMMAND, 32000 + (UINT)funcs.size(), 0);
    EXPECT_EQ(CString(L"abc"), e->GetLine(0));
    EXPECT_TRUE(e->Selected());

    // The keyword submenu then holds more than 501 items, numbered on.
    MenuDriver d = e.RightClick();
    ASSERT_TRUE(d.opened);
    ASSERT_EQ(keys.size(), d.items[0].sub.size());
    EXPECT_EQ(30000u + 501, d.items[0].sub[501].id);
    EXPECT_EQ(30000u + 599, d.items[0].sub[599].id);
}

// Shift+F10 (or the menu key) sends WM_CONTEXTMENU without a point: the
// menu opens at the caret.
TEST(ContextMenu, FromTheKeyboard)
{
    Ed e(L"abc\n");
    MenuDriver d;
    d.keyTarget = e.hwnd();
    g_driver = &d;
    SetTimer(nullptr, 0, 50, DriveMenu);
    ::SendMessageW(e.hwnd(), WM_CONTEXTMENU, (WPARAM)e.hwnd(), MAKELPARAM(-1, -1));
    PumpMessages();
    g_driver = nullptr;
    ASSERT_TRUE(d.opened);
    RECT rc;
    GetWindowRect(e.hwnd(), &rc);
    EXPECT_GE(d.topLeft.x, rc.left);
    EXPECT_LT(d.topLeft.x, rc.left + 100);
    EXPECT_EQ(12u, d.items.size());
}

// The HTML view control on the system's WebBrowser control: navigation
// and "app:" commands, creation over placeholders, resources, what happens
// without a document, and the editor's child HTML view. What depends on a
// document is checked for its behaviour without one (see html_host.h).
#include "html_host.h"

namespace {

// A parent that records the page-size message.
class PageSizeParent
{
public:
    struct Message
    {
        const CSize* pointer;
        CSize size;
        WPARAM wParam;
    };
    std::vector<Message> messages;

    PageSizeParent()
    {
        WNDCLASSW wc = {};
        wc.lpfnWndProc = Proc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"VelmorHtmlTestParent";
        RegisterClassW(&wc);
        m_hwnd = CreateWindowExW(0, wc.lpszClassName, L"", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 500, 400, nullptr,
                                 nullptr, wc.hInstance, this);
    }
    ~PageSizeParent() { DestroyWindow(m_hwnd); }
    CWnd* wnd() const { return CWnd::FromHandle(m_hwnd); }

private:
    static LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
    {
        if (msg == WM_NCCREATE)
            SetWindowLongPtrW(hwnd, GWLP_USERDATA, (LONG_PTR)((CREATESTRUCTW*)lParam)->lpCreateParams);
        auto* self = reinterpret_cast<PageSizeParent*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
        if (msg == VELMOR_WM_HTMLPAGESIZE && self) {
            const CSize* p = reinterpret_cast<const CSize*>(lParam);
            self->messages.push_back({ p, p ? *p : CSize(-1, -1), wParam });
            return 0;
        }
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    }
    HWND m_hwnd;
};

std::wstring LibraryPath()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(GetModuleHandleW(L"velmor.dll"), path, MAX_PATH);
    return path;
}

// ---------------------------------------------------------------------------

TEST(HtmlCtrl, AppAddressesGoToOnAppCmdAndAreCancelledOthersNavigateAllSilently)
{
    HostWindow host;
    RecordingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    EventWatch watch;
    watch.Connect(ctl.m_pBrowserApp);
    PumpMessages();
    watch.navigations.clear();

    const wchar_t* const addresses[] = {
        L"app:close", L"APP:Hello There", L"aPp:x%20y?a=1", L"app:", L"about:blank", L"application:run", L"ap:x",
    };
    for (const wchar_t* a : addresses) {
        // Silent mode is set again by every navigation.
        ctl.SetSilent(FALSE);
        ctl.Navigate(a);
        PumpMessages();
    }
    ASSERT_EQ(7u, watch.navigations.size());
    const bool cancelled[] = { true, true, true, true, false, false, false };
    for (size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(addresses[i], watch.navigations[i].url);
        EXPECT_EQ(cancelled[i], watch.navigations[i].cancelled) << watch.navigations[i].url;
        EXPECT_TRUE(watch.navigations[i].silent) << watch.navigations[i].url;
    }
    // The command is the rest of the address, exactly as it came.
    EXPECT_EQ((std::vector<std::wstring>{ L"close", L"Hello There", L"x%20y?a=1", L"" }), ctl.commands);
    watch.Disconnect();
}

TEST(HtmlCtrl, NavigateHandsPostedDataAndHeadersOnToTheBrowser)
{
    HostWindow host;
    RecordingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    EventWatch watch;
    watch.Connect(ctl.m_pBrowserApp);
    PumpMessages();
    char form[] = "name=velmor&size=10";
    ctl.Navigate(L"about:blank", 0, nullptr, L"Content-Type: application/x-www-form-urlencoded\r\n", form,
                 (DWORD)(sizeof form - 1));
    PumpMessages();
    ASSERT_EQ(2u, ctl.addresses.size());
    EXPECT_EQ(L"about:blank", ctl.addresses[1]);
    // The bytes themselves cannot be compared here: Wine's browser fills the
    // array it passes on with the first bytes of the array it was given
    // (its descriptor) instead of the data. Their number is right.
    EXPECT_EQ(sizeof form - 1, ctl.postedData.size());
    EXPECT_EQ(L"Content-Type: application/x-www-form-urlencoded\r\n", ctl.headers);
    watch.Disconnect();
}

TEST(HtmlCtrl, BrowserEventsReachTheVirtualHandlers)
{
    HostWindow host;
    RecordingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    PumpFor(200);
    // A navigation that goes ahead ends with a completed download, even
    // without an engine to show it.
    const int before = ctl.downloadsComplete;
    ctl.Navigate(L"about:blank");
    PumpFor(300);
    EXPECT_GT(ctl.downloadsComplete, before);
}

TEST(HtmlCtrl, CreateFromStaticMakesATinyVisibleChildShowingTheBlankPage)
{
    HostWindow host;
    RecordingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(1234, host.wnd()));
    // The browser's first navigation is made at once.
    EXPECT_EQ((std::vector<std::wstring>{ L"About:Blank" }), ctl.addresses);
    EXPECT_EQ((std::vector<bool>{ false }), ctl.cancels);
    PumpMessages();
    EXPECT_EQ(host.hwnd(), GetParent(ctl.m_hWnd));
    EXPECT_EQ(1234, GetDlgCtrlID(ctl.m_hWnd));
    EXPECT_EQ((DWORD)(WS_CHILD | WS_VISIBLE), (DWORD)GetWindowLongW(ctl.m_hWnd, GWL_STYLE));
    EXPECT_EQ(CRect(0, 0, 1, 1), ChildRect(ctl.m_hWnd));
    // The browser lives in the view and follows its size.
    HWND hBrowser = GetWindow(ctl.m_hWnd, GW_CHILD);
    ASSERT_TRUE(hBrowser);
    ctl.MoveWindow(10, 20, 300, 200);
    EXPECT_EQ(CRect(0, 0, 300, 200), ChildRect(hBrowser));
}

INT_PTR CALLBACK PlainDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// A modeless dialog with one static, id 200, as a host's resource would
// have it.
HWND DialogWithStatic(HWND owner, DWORD staticStyle)
{
    struct Template
    {
        DLGTEMPLATE dlg;
        WORD menu, cls, title;
        alignas(4) DLGITEMTEMPLATE item; // items start on a DWORD boundary
        WORD itemClass[2], itemTitle, itemData;
    } t = {};
    t.dlg.style = WS_POPUP | WS_VISIBLE | WS_CAPTION;
    t.dlg.cdit = 1;
    t.dlg.cx = 200;
    t.dlg.cy = 120;
    t.item.style = staticStyle;
    t.item.x = 10;
    t.item.y = 12;
    t.item.cx = 150;
    t.item.cy = 80;
    t.item.id = 200;
    t.itemClass[0] = 0xFFFF;
    t.itemClass[1] = 0x0082; // static
    return CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &t.dlg, owner, PlainDialogProc, 0);
}

TEST(HtmlCtrl, CreateFromStaticInDialogTakesThePlaceholdersIdStyleAndRectangle)
{
    HostWindow host;
    const DWORD staticStyle = WS_CHILD | WS_VISIBLE | WS_BORDER | SS_BLACKFRAME;
    HWND hDlg = DialogWithStatic(host.hwnd(), staticStyle);
    ASSERT_TRUE(hDlg);
    HWND hStatic = GetDlgItem(hDlg, 200);
    ASSERT_TRUE(hStatic);
    const CRect rcStatic = ChildRect(hStatic);
    const DWORD style = (DWORD)GetWindowLongW(hStatic, GWL_STYLE);
    ASSERT_GT(rcStatic.Width(), 100);

    {
        CHTMLCtrl missing;
        EXPECT_FALSE(missing.CreateFromStaticInDialog(201, CWnd::FromHandle(hDlg)));
        EXPECT_EQ(nullptr, missing.m_hWnd);
        EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
    }

    RecordingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStaticInDialog(200, CWnd::FromHandle(hDlg)));
    PumpMessages();
    EXPECT_FALSE(IsWindow(hStatic));
    EXPECT_EQ(ctl.m_hWnd, GetDlgItem(hDlg, 200));
    EXPECT_EQ(style, (DWORD)GetWindowLongW(ctl.m_hWnd, GWL_STYLE));
    EXPECT_EQ(rcStatic, ChildRect(ctl.m_hWnd));
    EXPECT_EQ((std::vector<std::wstring>{ L"About:Blank" }), ctl.addresses);

    // An item that is a framework window already cannot be taken over.
    CHTMLCtrl second;
    EXPECT_FALSE(second.CreateFromStaticInDialog(200, CWnd::FromHandle(hDlg)));
    EXPECT_EQ(nullptr, second.m_hWnd);
    ctl.DestroyWindow();
    DestroyWindow(hDlg);
}

TEST(HtmlCtrl, LoadFromResourceNavigatesToTheLibrarysResourceAddress)
{
    HostWindow host;
    CHTMLCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    PumpMessages();
    EventWatch watch;
    watch.Connect(ctl.m_pBrowserApp);
    EXPECT_TRUE(ctl.LoadFromResource(L"help page.html"));
    PumpMessages();
    EXPECT_TRUE(ctl.LoadFromResource(2110u));
    PumpMessages();
    const std::wstring base = L"res://" + LibraryPath() + L"/";
    EXPECT_EQ((std::vector<std::wstring>{ base + L"help page.html", base + L"2110" }), watch.Urls());
    watch.Disconnect();
}

TEST(HtmlCtrl, WithoutADocumentNothingIsWrittenAndThePageHasNoSize)
{
    PageSizeParent parent;
    CHTMLCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(7, parent.wnd()));
    ctl.MoveWindow(0, 0, 400, 300);
    PumpFor(200);
    EXPECT_EQ(nullptr, ctl.GetHtmlDocument());
    EXPECT_FALSE(ctl.SetNewHTMLContent(L"<p>Hello</p>", true));
    EXPECT_FALSE(ctl.SetNewHTMLContent(L"<p>Hello</p>", false));
    EXPECT_EQ(CSize(0, 0), ctl.GetPageSize());
    CString html = L"<b>as it is</b>";
    EXPECT_TRUE(ctl.ParseHTMLString(html));
    EXPECT_EQ(CString(L"<b>as it is</b>"), html);

    // The end of a load reports the stored size, once per end; progress
    // on the way reports nothing.
    ctl.OnProgressChange(50, 100);
    EXPECT_TRUE(parent.messages.empty());
    ctl.OnProgressChange(-1, 100);
    ctl.OnProgressChange(-1, 100);
    ASSERT_EQ(2u, parent.messages.size());
    EXPECT_EQ(parent.messages[0].pointer, parent.messages[1].pointer);
    EXPECT_EQ(CSize(0, 0), parent.messages[0].size);
    EXPECT_EQ(0u, parent.messages[0].wParam);

    // The browser's properties: the address it last went to.
    ctl.Navigate(L"about:blank");
    PumpFor(200);
    EXPECT_EQ(CString(L"about:blank"), ctl.GetLocationURL());
    ctl.GetFullName();
    ctl.GetType();
    ctl.GetLocationName();

    // Once the window is gone, every operation is harmless.
    ctl.DestroyWindow();
    EXPECT_EQ(nullptr, ctl.m_pBrowserApp);
    ctl.Navigate(L"about:blank");
    ctl.LoadFromResource(L"x");
    EXPECT_FALSE(ctl.SetNewHTMLContent(L"x", true));
    EXPECT_EQ(CSize(0, 0), ctl.GetPageSize());
    EXPECT_EQ(CString(), ctl.GetLocationURL());
    EXPECT_FALSE(ctl.GetSilent());
}

TEST(HtmlCtrl, AClickLeavesTheFocusWhereItWasUnlikeAFrameworkView)
{
    HostWindow host;
    HWND hEdit = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE, 400, 0, 100, 20, host.hwnd(), nullptr,
                                 nullptr, nullptr);
    CHTMLCtrl ctl;
    CHtmlView view;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    ASSERT_TRUE(view.Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 100, 200, 200), host.wnd(), 6));
    const LPARAM click = MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN);
    SetFocus(hEdit);
    EXPECT_EQ(MA_ACTIVATE, ctl.SendMessage(WM_MOUSEACTIVATE, (WPARAM)host.hwnd(), click));
    EXPECT_EQ(hEdit, GetFocus());
    EXPECT_EQ(MA_ACTIVATE, view.SendMessage(WM_MOUSEACTIVATE, (WPARAM)host.hwnd(), click));
    EXPECT_EQ(view.m_hWnd, GetFocus());
}

// ---------------------------------------------------------------------------
// The editor's child view

TEST(VelmorHtmlView, CreatHTMLWndCoversTheClientAreaFollowsResizesHidesAndGoesWithTheControl)
{
    auto* ed = new TestEditor<>(L"x = 1;\n", CRect(10, 10, 410, 310), 300);
    CVelmor& ctl = *ed->ctl;
    ctl.CreatHTMLWnd(nullptr);
    EXPECT_EQ(nullptr, ctl.m_pHtmlView);

    ctl.CreatHTMLWnd(const_cast<wchar_t*>(L"about:blank#first"));
    ASSERT_NE(nullptr, ctl.m_pHtmlView);
    CHTMLCtrl* view = ctl.m_pHtmlView;
    HWND hView = view->m_hWnd;
    EventWatch watch;
    watch.Connect(view->m_pBrowserApp);
    PumpMessages();
    EXPECT_EQ(ctl.m_hWnd, GetParent(hView));
    EXPECT_EQ(99, GetDlgCtrlID(hView));
    EXPECT_TRUE(IsWindowVisible(hView));
    CRect client;
    ctl.GetClientRect(&client);
    EXPECT_EQ(client, ChildRect(hView));
    EXPECT_EQ((std::vector<std::wstring>{ L"about:blank#first" }), watch.Urls());

    ctl.MoveWindow(0, 0, 520, 260);
    ctl.GetClientRect(&client);
    EXPECT_EQ(client, ChildRect(hView));

    ctl.CreatHTMLWnd(nullptr);
    EXPECT_FALSE(IsWindowVisible(hView));
    ctl.CreatHTMLWnd(const_cast<wchar_t*>(L"app:close"));
    PumpMessages();
    EXPECT_EQ(view, ctl.m_pHtmlView);
    EXPECT_TRUE(IsWindowVisible(hView));
    ASSERT_EQ(2u, watch.navigations.size());
    EXPECT_FALSE(watch.navigations[0].cancelled);
    EXPECT_TRUE(watch.navigations[1].cancelled);
    watch.Disconnect();

    EXPECT_EQ(2, CHtmlView::GetSiteObjectCount());
    delete ed;
    EXPECT_FALSE(IsWindow(hView));
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
}

TEST(VelmorHtmlView, AHostsDerivedViewGivenToTheControlGetsItsCommandsAndIsDeletedWithIt)
{
    bool destroyed = false;
    {
        TestEditor<> ed(L"x = 1;\n", CRect(0, 0, 400, 300), 300);
        auto* view = new RecordingCtrl;
        view->destroyed = &destroyed;
        ASSERT_TRUE(view->CreateFromStatic(99, ed.ctl.get()));
        ed->m_pHtmlView = view;
        ed->CreatHTMLWnd(const_cast<wchar_t*>(L"app:close"));
        PumpMessages();
        EXPECT_EQ((std::vector<std::wstring>{ L"close" }), view->commands);
        // Placed by its host at first, then by the control at each resize.
        EXPECT_EQ(CRect(0, 0, 1, 1), ChildRect(view->m_hWnd));
        ed->MoveWindow(0, 0, 380, 280);
        CRect client;
        ed->GetClientRect(&client);
        EXPECT_EQ(client, ChildRect(view->m_hWnd));
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());

    // A view object the host gave without a window is left alone: not
    // replaced, not created, deleted with the control.
    destroyed = false;
    {
        TestEditor<> ed(L"x = 1;\n", CRect(0, 0, 400, 300), 300);
        auto* view = new RecordingCtrl;
        view->destroyed = &destroyed;
        ed->m_pHtmlView = view;
        ed->CreatHTMLWnd(const_cast<wchar_t*>(L"about:blank"));
        PumpMessages();
        EXPECT_EQ(view, ed->m_pHtmlView);
        EXPECT_EQ(nullptr, view->m_hWnd);
        EXPECT_EQ(nullptr, ::GetDlgItem(ed.hwnd(), 99));
    }
    EXPECT_TRUE(destroyed);
}

} // namespace

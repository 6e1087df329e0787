// The HTML view control and the editor's child HTML view, on the system's
// WebBrowser control. Wine's browser here creates, activates and fires the
// navigation events, but has no HTML engine: no document ever exists. What
// depends on a document is checked for its behaviour without one.
#include "host.h"
#include "html/HTMLCtrl.h"
#include <exdispid.h>
#include <gtest/gtest.h>
#include <functional>
#include <mshtmhst.h>
#include <servprov.h>
#include <thread>
#include <string>

namespace {

// What the browser made of one navigation, seen after the control's answer.
struct Navigation
{
    std::wstring url;
    bool cancelled; // by a receiver before this one
    bool silent;    // the browser's silent mode at that time
};

// The test's own receiver of the browser's events. The browser calls its
// receivers in the order they connected, so one connected after the
// control's sees each navigation as the control left it. It then cancels
// every navigation, so that nothing is loaded while the tests run.
class EventWatch final : public IDispatch
{
public:
    std::vector<Navigation> navigations;

    void Connect(IWebBrowser2* pBrowser)
    {
        ASSERT_TRUE(pBrowser);
        m_pBrowser = pBrowser;
        IConnectionPointContainer* pContainer = nullptr;
        ASSERT_EQ(S_OK, pBrowser->QueryInterface(IID_IConnectionPointContainer, (void**)&pContainer));
        ASSERT_EQ(S_OK, pContainer->FindConnectionPoint(DIID_DWebBrowserEvents2, &m_pPoint));
        pContainer->Release();
        ASSERT_EQ(S_OK, m_pPoint->Advise(this, &m_dwCookie));
    }
    void Disconnect()
    {
        if (m_pPoint) {
            m_pPoint->Unadvise(m_dwCookie);
            m_pPoint->Release();
            m_pPoint = nullptr;
        }
        m_pBrowser = nullptr;
    }
    ~EventWatch() { Disconnect(); }
    std::vector<std::wstring> Urls() const
    {
        std::vector<std::wstring> v;
        for (const Navigation& n : navigations)
            v.push_back(n.url);
        return v;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (riid != IID_IUnknown && riid != IID_IDispatch && riid != DIID_DWebBrowserEvents2)
            return E_NOINTERFACE;
        *ppv = static_cast<IDispatch*>(this);
        return S_OK;
    }
    // Lives on the test's stack, longer than any browser it watches.
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* p) override
    {
        *p = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* p, VARIANT*, EXCEPINFO*, UINT*) override
    {
        if (id != DISPID_BEFORENAVIGATE2 || p->cArgs != 7)
            return S_OK;
        Navigation n{ L"", *V_BOOLREF(&p->rgvarg[0]) != VARIANT_FALSE, false };
        VARIANT* url = &p->rgvarg[5];
        while (V_VT(url) == (VT_BYREF | VT_VARIANT))
            url = V_VARIANTREF(url);
        if (V_VT(url) == VT_BSTR && V_BSTR(url))
            n.url = V_BSTR(url);
        VARIANT_BOOL silent = VARIANT_FALSE;
        n.silent = m_pBrowser && SUCCEEDED(m_pBrowser->get_Silent(&silent)) && silent != VARIANT_FALSE;
        navigations.push_back(n);
        *V_BOOLREF(&p->rgvarg[0]) = VARIANT_TRUE;
        return S_OK;
    }

private:
    IWebBrowser2* m_pBrowser = nullptr;
    IConnectionPoint* m_pPoint = nullptr;
    DWORD m_dwCookie = 0;
};

// A host's control: records the commands of "app:" links and the
// completed downloads.
class RecordingCtrl : public CHTMLCtrl
{
public:
    std::vector<std::wstring> commands;
    // Every navigation's address as the control saw it, and its answer;
    // the other arguments of the last one.
    std::vector<std::wstring> addresses;
    std::vector<bool> cancels;
    std::string postedData;
    std::wstring headers;
    int downloadsComplete = 0;
    bool* destroyed = nullptr;
    ~RecordingCtrl() override
    {
        if (destroyed)
            *destroyed = true;
    }
    void OnAppCmd(const wchar_t* cmd) override { commands.push_back(cmd); }
    void OnBeforeNavigate2(LPCTSTR lpszURL, DWORD nFlags, LPCTSTR lpszTargetFrameName, CByteArray& baPostedData,
                           LPCTSTR lpszHeaders, BOOL* pbCancel) override
    {
        addresses.push_back(lpszURL);
        postedData.assign((const char*)baPostedData.GetData(), (size_t)baPostedData.GetSize());
        headers = lpszHeaders;
        CHTMLCtrl::OnBeforeNavigate2(lpszURL, nFlags, lpszTargetFrameName, baPostedData, lpszHeaders, pbCancel);
        cancels.push_back(*pbCancel != FALSE);
    }
    void OnDownloadComplete() override
    {
        CHTMLCtrl::OnDownloadComplete();
        ++downloadsComplete;
    }
};

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

CRect ChildRect(HWND child)
{
    CRect rc;
    GetWindowRect(child, &rc);
    MapWindowPoints(nullptr, GetParent(child), (LPPOINT)&rc, 2);
    return rc;
}

std::wstring LibraryPath()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(GetModuleHandleW(L"velmor.dll"), path, MAX_PATH);
    return path;
}

// Committed private memory of the process, counted region by region
// (Wine's process counters leave PrivateUsage at zero).
SIZE_T PrivateBytes()
{
    SIZE_T total = 0;
    MEMORY_BASIC_INFORMATION mbi;
    for (const char* p = nullptr; VirtualQuery(p, &mbi, sizeof mbi) == sizeof mbi; p = (const char*)mbi.BaseAddress + mbi.RegionSize) {
        if (mbi.State == MEM_COMMIT && mbi.Type == MEM_PRIVATE)
            total += mbi.RegionSize;
        if ((const char*)mbi.BaseAddress + mbi.RegionSize < p)
            break;
    }
    return total;
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

TEST(HtmlCtrl, ComObjectsLiveExactlyAsLongAsTheWindow)
{
    HostWindow host;
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
    {
        CHTMLCtrl ctl;
        ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
        PumpMessages();
        EXPECT_EQ(2, CHtmlView::GetSiteObjectCount()); // the client site and the event sink
    }
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());

    // The parent's destruction takes the view's window and browser along;
    // the object stays, without a browser.
    auto* parent = new HostWindow;
    CHTMLCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, parent->wnd()));
    PumpMessages();
    delete parent;
    EXPECT_EQ(nullptr, ctl.m_hWnd);
    EXPECT_EQ(nullptr, ctl.m_pBrowserApp);
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
}

// The answers of a COM object to QueryInterface: which interfaces it gives,
// and whether all of them lead back to one identity.
struct Answers
{
    std::vector<bool> given;
    bool oneIdentity = true;
    bool nullWhenRefused = true;
};

Answers Ask(IUnknown* p, std::initializer_list<IID> iids)
{
    Answers a;
    IUnknown* identity = nullptr;
    p->QueryInterface(IID_IUnknown, (void**)&identity);
    for (const IID& iid : iids) {
        void* q = (void*)1;
        const bool ok = p->QueryInterface(iid, &q) == S_OK;
        a.given.push_back(ok);
        if (!ok) {
            a.nullWhenRefused = a.nullWhenRefused && q == nullptr;
            continue;
        }
        IUnknown* back = nullptr;
        static_cast<IUnknown*>(q)->QueryInterface(IID_IUnknown, (void**)&back);
        a.oneIdentity = a.oneIdentity && back == identity;
        back->Release();
        static_cast<IUnknown*>(q)->Release();
    }
    identity->Release();
    return a;
}

TEST(HtmlCtrl, TheClientSiteAnswersForExactlyItsInterfacesAndCountsItsReferences)
{
    HostWindow host;
    CHTMLCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    IOleObject* pObject = nullptr;
    ASSERT_EQ(S_OK, ctl.m_pBrowserApp->QueryInterface(IID_IOleObject, (void**)&pObject));
    IOleClientSite* pSite = nullptr;
    ASSERT_EQ(S_OK, pObject->GetClientSite(&pSite));
    ASSERT_TRUE(pSite);

    const Answers a = Ask(pSite, { IID_IUnknown, IID_IOleClientSite, IID_IOleWindow, IID_IOleInPlaceSite,
                                   IID_IOleInPlaceUIWindow, IID_IOleInPlaceFrame, IID_IDispatch, IID_IOleControlSite,
                                   IID_IDocHostUIHandler, IID_IServiceProvider, IID_IOleContainer });
    EXPECT_EQ((std::vector<bool>{ true, true, true, true, true, true, false, false, false, false, false }), a.given);
    EXPECT_TRUE(a.oneIdentity);
    EXPECT_TRUE(a.nullWhenRefused);

    // The browser's windows live in the view, over its client area.
    IOleInPlaceSite* pInPlace = nullptr;
    ASSERT_EQ(S_OK, pSite->QueryInterface(IID_IOleInPlaceSite, (void**)&pInPlace));
    HWND hwnd = nullptr;
    EXPECT_EQ(S_OK, pInPlace->GetWindow(&hwnd));
    EXPECT_EQ(ctl.m_hWnd, hwnd);

    // Each reference taken is counted, and given back.
    const ULONG n = pSite->AddRef();
    EXPECT_EQ(n + 1, pInPlace->AddRef());
    EXPECT_EQ(n, pInPlace->Release());
    EXPECT_EQ(n - 1, pSite->Release());
    pInPlace->Release();
    pSite->Release();
    pObject->Release();
    ctl.DestroyWindow();
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
}

TEST(HtmlCtrl, TheEventSinkAnswersForExactlyItsInterfaces)
{
    HostWindow host;
    CHTMLCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    IConnectionPointContainer* pContainer = nullptr;
    ASSERT_EQ(S_OK, ctl.m_pBrowserApp->QueryInterface(IID_IConnectionPointContainer, (void**)&pContainer));
    IConnectionPoint* pPoint = nullptr;
    ASSERT_EQ(S_OK, pContainer->FindConnectionPoint(DIID_DWebBrowserEvents2, &pPoint));
    pContainer->Release();
    auto sinks = [pPoint] {
        std::vector<IUnknown*> v;
        IEnumConnections* pEnum = nullptr;
        if (FAILED(pPoint->EnumConnections(&pEnum)))
            return v;
        CONNECTDATA cd;
        ULONG got = 0;
        while (pEnum->Next(1, &cd, &got) == S_OK && got == 1)
            v.push_back(cd.pUnk);
        pEnum->Release();
        return v;
    };
    std::vector<IUnknown*> connected = sinks();
    ASSERT_EQ(1u, connected.size());
    IUnknown* pSink = connected[0];
    // The sink is held by the view and by the browser; the enumerator
    // should add one more reference, but Wine's does not.
    const ULONG n = pSink->AddRef() - 1;
    pSink->Release();
    EXPECT_TRUE(n == 2 || n == 3) << n;
    const Answers a = Ask(pSink, { IID_IUnknown, IID_IDispatch, DIID_DWebBrowserEvents2, IID_IOleClientSite,
                                   IID_IConnectionPoint, DIID_DWebBrowserEvents });
    EXPECT_EQ((std::vector<bool>{ true, true, true, false, false, false }), a.given);
    EXPECT_TRUE(a.oneIdentity);
    EXPECT_TRUE(a.nullWhenRefused);
    UINT nTypeInfo = 1;
    IDispatch* pDisp = nullptr;
    ASSERT_EQ(S_OK, pSink->QueryInterface(IID_IDispatch, (void**)&pDisp));
    EXPECT_EQ(S_OK, pDisp->GetTypeInfoCount(&nTypeInfo));
    EXPECT_EQ(0u, nTypeInfo);
    pDisp->Release();
    if (n == 3)
        pSink->Release();
    pPoint->Release();
    ctl.DestroyWindow();
    EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
}

// A control whose command handler throws.
class ThrowingCtrl : public CHTMLCtrl
{
public:
    void OnAppCmd(const wchar_t*) override { AfxThrowInvalidArgException(); }
};

TEST(HtmlCtrl, AnExceptionInAHandlerStaysOnTheControlsSide)
{
    HostWindow host;
    ThrowingCtrl ctl;
    ASSERT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
    PumpMessages();
    EventWatch watch;
    watch.Connect(ctl.m_pBrowserApp);
    ctl.Navigate(L"app:boom");
    PumpMessages();
    ctl.Navigate(L"about:blank");
    PumpMessages();
    EXPECT_EQ((std::vector<std::wstring>{ L"app:boom", L"about:blank" }), watch.Urls());
    EXPECT_FALSE(watch.navigations[0].cancelled); // the handler never answered
    watch.Disconnect();
}

// Runs f on a thread of its own (with its own window and COM state).
template <class F> void OnThread(F f)
{
    std::thread t(f);
    t.join();
}

TEST(HtmlCtrl, OleIsInitialisedForEachBrowserAndLeftAsTheHostHadIt)
{
    // A thread the view initialised for itself is free again afterwards:
    // it may join the multithreaded apartment.
    OnThread([] {
        {
            HostWindow host;
            CHTMLCtrl ctl;
            EXPECT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
            PumpMessages();
        }
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        CoUninitialize();
    });
    // A host that initialised OLE keeps it after the view is gone.
    OnThread([] {
        ASSERT_EQ(S_OK, OleInitialize(nullptr));
        {
            HostWindow host;
            CHTMLCtrl ctl;
            EXPECT_TRUE(ctl.CreateFromStatic(5, host.wnd()));
            PumpMessages();
        }
        EXPECT_EQ(S_FALSE, OleInitialize(nullptr)); // still initialised
        OleUninitialize();
        OleUninitialize();
    });
    // A thread of the multithreaded apartment cannot host the browser.
    OnThread([] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        {
            HostWindow host;
            CHTMLCtrl ctl;
            EXPECT_FALSE(ctl.CreateFromStatic(5, host.wnd()));
            EXPECT_EQ(nullptr, ctl.m_hWnd);
            EXPECT_EQ(0, CHtmlView::GetSiteObjectCount());
        }
        CoUninitialize();
    });
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
}

// ---------------------------------------------------------------------------
// A thousand lives

TEST(HtmlLifetimes, AThousandControlsAndChildViewsLeaveNoObjectAliveAndNoMemoryBehind)
{
    HostWindow host;
    std::function<void()> controlCycle = [&] {
        auto* ctl = new CHTMLCtrl;
        ASSERT_TRUE(ctl->CreateFromStatic(5, host.wnd()));
        ctl->Navigate(L"about:blank");
        PumpMessages(1);
        delete ctl;
    };
    std::function<void()> childViewCycle = [&] {
        LOGFONTW lf = TestFont();
        auto* ed = new CVelmor(host.wnd(), CRect(0, 0, 300, 200), 300, 4, &lf, 0);
        ed->CreatHTMLWnd(const_cast<wchar_t*>(L"about:blank"));
        ASSERT_NE(nullptr, ed->m_pHtmlView);
        PumpMessages(1);
        delete ed;
    };
    for (std::function<void()>* cycle : { &controlCycle, &childViewCycle }) {
        // The first lives load the browser's libraries and fill caches.
        for (int i = 0; i < 100; ++i)
            (*cycle)();
        AfxDeleteTempMaps();
        const SIZE_T before = PrivateBytes();
        for (int i = 0; i < 1000; ++i) {
            (*cycle)();
            ASSERT_EQ(0, CHtmlView::GetSiteObjectCount()) << "after life " << i;
        }
        AfxDeleteTempMaps();
        const SIZE_T after = PrivateBytes();
        const double growth = ((double)after - (double)before) / 1000.0;
        printf("private bytes: %zu before, %zu after 1000 lives (%+.0f bytes per life)\n", (size_t)before,
               (size_t)after, growth);
        EXPECT_LT(growth, 256.0);
    }
}

} // namespace

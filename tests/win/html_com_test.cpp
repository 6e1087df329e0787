// The COM side of the HTML view: the client site's and the event sink's
// interfaces and reference counts, OLE on the view's thread, exceptions in
// handlers, and a thousand lives of the control and of the editor's child
// view.
#include "html_host.h"
#include <functional>
#include <mshtmhst.h>
#include <servprov.h>
#include <thread>

namespace {

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
    // A host that keeps OLE initialised (as most do) lives through a
    // thousand of each; one that does not makes each view initialise and
    // uninitialise OLE: fifty of each.
    auto lives = [&](std::function<void()>& cycle, int n, const char* what) {
        // The first lives load the browser's libraries and fill caches.
        for (int i = 0; i < 20; ++i)
            cycle();
        AfxDeleteTempMaps();
        const SIZE_T before = PrivateBytes();
        for (int i = 0; i < n; ++i) {
            cycle();
            ASSERT_EQ(0, CHtmlView::GetSiteObjectCount()) << what << ", after life " << i;
        }
        AfxDeleteTempMaps();
        const SIZE_T after = PrivateBytes();
        const double growth = ((double)after - (double)before) / n;
        printf("%s: private bytes %zu before, %zu after %d lives (%+.0f bytes per life)\n", what, (size_t)before,
               (size_t)after, n, growth);
        EXPECT_LT(growth, 256.0) << what;
    };
    ASSERT_EQ(S_OK, OleInitialize(nullptr));
    lives(controlCycle, 1000, "CHTMLCtrl, OLE held by the host");
    lives(childViewCycle, 1000, "CreatHTMLWnd, OLE held by the host");
    OleUninitialize();
    lives(controlCycle, 50, "CHTMLCtrl, OLE initialised per view");
    lives(childViewCycle, 50, "CreatHTMLWnd, OLE initialised per view");
}

} // namespace

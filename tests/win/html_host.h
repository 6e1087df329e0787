// Helpers of the HTML view tests: a receiver of the browser's events
// connected beside the control's, and a host's control that records what
// it is told. Wine's browser here creates, activates and fires the
// navigation events, but has no HTML engine: no document ever exists.
#pragma once
#include "host.h"
#include "html/HTMLCtrl.h"
#include <exdispid.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

// A child window's rectangle in its parent's client coordinates.
inline CRect ChildRect(HWND child)
{
    CRect rc;
    GetWindowRect(child, &rc);
    MapWindowPoints(nullptr, GetParent(child), (LPPOINT)&rc, 2);
    return rc;
}

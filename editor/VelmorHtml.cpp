// The child HTML view over the control's client area.
#include "VelmorCtrl.h"
#include "../html/HTMLCtrl.h"

namespace {
const UINT kHtmlViewId = 99;
}

void CVelmor::CreatHTMLWnd(wchar_t* url)
{
    if (m_pHtmlView && m_pHtmlView->m_hWnd) {
        if (url) {
            m_pHtmlView->ShowWindow(SW_SHOW);
            m_pHtmlView->Navigate(url);
        } else {
            m_pHtmlView->ShowWindow(SW_HIDE);
        }
        return;
    }
    // A view object without a window is left as it is.
    if (!url || m_pHtmlView)
        return;
    CHTMLCtrl* pView = new CHTMLCtrl;
    if (!pView->CreateFromStatic(kHtmlViewId, this)) {
        delete pView;
        return;
    }
    m_pHtmlView = pView;
    CRect rc;
    GetClientRect(&rc);
    m_pHtmlView->MoveWindow(&rc);
    m_pHtmlView->Navigate(url);
    m_pHtmlView->ShowWindow(SW_SHOW);
}

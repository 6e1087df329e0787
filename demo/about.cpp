// Help > About Velmor. The page is shown through the control's child HTML
// view (CVelmor::CreatHTMLWnd), which covers the editor and follows its
// size. The view the control would make for itself is a plain CHTMLCtrl,
// whose OnAppCmd does nothing; to receive the page's "app:close", the demo
// makes the view itself, from its own class, and hands it to the control
// (m_pHtmlView) before the first CreatHTMLWnd. The control then shows,
// navigates, hides, moves and deletes it as its own.
#include "about.h"
#include "app.h"
#include "html/HTMLCtrl.h"

namespace {

const UINT kHtmlViewId = 99; // the id the control gives its HTML view

class CAboutView : public CHTMLCtrl
{
public:
    // Runs inside the browser's navigation event: hiding is fine there,
    // deleting the view would not be.
    void OnAppCmd(const wchar_t* cmd) override
    {
        if (_wcsicmp(cmd, L"close") == 0)
            CloseAbout();
    }
};

CHTMLCtrl* View()
{
    return g_app.editor ? g_app.editor->m_pHtmlView : nullptr;
}

} // namespace

std::wstring AboutPagePath()
{
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring path(exe);
    path.erase(path.find_last_of(L"\\/") + 1);
    return path + L"about.html";
}

bool AboutShown()
{
    CHTMLCtrl* view = View();
    return view && view->m_hWnd && view->IsWindowVisible();
}

void FocusAbout()
{
    if (AboutShown())
        View()->SetFocus();
}

void CloseAbout()
{
    if (!AboutShown())
        return;
    g_app.editor->CreatHTMLWnd(nullptr);
    g_app.editor->SetFocus();
    CheckMenuItem(g_app.menu, ID_HELP_ABOUT, MF_BYCOMMAND | MF_UNCHECKED);
}

void ToggleAbout()
{
    if (AboutShown()) {
        CloseAbout();
        return;
    }
    CVelmor& ed = *g_app.editor;
    if (!View()) {
        auto* view = new CAboutView;
        if (!view->CreateFromStatic(kHtmlViewId, &ed)) {
            delete view;
            if (!g_app.quiet)
                MessageBoxW(g_app.hwnd, L"The system's web browser control is not available.", L"Velmor demo",
                            MB_ICONERROR);
            return;
        }
        CRect rc;
        ed.GetClientRect(&rc);
        view->MoveWindow(&rc);
        ed.m_pHtmlView = view;
    }
    std::wstring page = AboutPagePath();
    ed.CreatHTMLWnd(page.data());
    FocusAbout();
    CheckMenuItem(g_app.menu, ID_HELP_ABOUT, MF_BYCOMMAND | MF_CHECKED);
}

#include "window_class_host.h"
#include <cstring>

namespace {
const wchar_t kParentClass[] = L"VelmorClassTestParent";
}

LRESULT CALLBACK ClassHost::ParentProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp)
{
    ClassHost* self = reinterpret_cast<ClassHost*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (self && msg == WM_COMMAND && (HWND)lp == self->ctl) {
        self->commands.push_back(HIWORD(wp));
        return 0;
    }
    if (self && msg == WM_NOTIFY) {
        const NMHDR* h = reinterpret_cast<const NMHDR*>(lp);
        if (h->hwndFrom != self->ctl || (int)h->idFrom != self->id)
            return 0;
        ClassNote n = { h->code, 0, 0, 0, 0 };
        if (h->code == VEN_CHANGE) {
            const NMVELMORCHANGE* c = reinterpret_cast<const NMVELMORCHANGE*>(h);
            n.a = c->nFirstLine;
            n.b = c->nLastLine;
            n.c = c->nLinesAdded;
            n.d = c->nLineCount;
        } else if (h->code == VEN_SELCHANGE) {
            const NMVELMORSELCHANGE* s = reinterpret_cast<const NMVELMORSELCHANGE*>(h);
            n.a = s->sel.nAnchorColumn;
            n.b = s->sel.nAnchorLine;
            n.c = s->sel.nCaretColumn;
            n.d = s->sel.nCaretLine;
        } else if (h->code == VEN_MARGINCLICK || h->code == VEN_BREAKPOINT) {
            const NMVELMORLINE* l = reinterpret_cast<const NMVELMORLINE*>(h);
            n.a = l->nLine;
            n.b = l->nMark;
        } else if (h->code == VEN_INSPECT) {
            const NMVELMORINSPECT* q = reinterpret_cast<const NMVELMORINSPECT*>(h);
            n.a = q->nLine;
            n.b = (LONG)q->nIndex;
            self->notes.push_back(n);
            for (const auto& a : self->answers)
                if (a.first == q->pszName)
                    return VelmorValueSetInt(q->hValue, VELMOR_TYPE_INT, a.second);
            return FALSE;
        }
        self->notes.push_back(n);
        return 0;
    }
    return DefWindowProcW(hwnd, msg, wp, lp);
}

ClassHost::ClassHost(DWORD style, int nId) : id(nId)
{
    WNDCLASSW wc;
    ZeroMemory(&wc, sizeof wc);
    wc.lpfnWndProc = ParentProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = kParentClass;
    RegisterClassW(&wc);
    parent = CreateWindowExW(0, kParentClass, L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 900, 700, nullptr,
                             nullptr, wc.hInstance, nullptr);
    SetWindowLongPtrW(parent, GWLP_USERDATA, (LONG_PTR)this);
    ctl = CreateWindowExW(0, VELMOR_CLASSNAME, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 600, 400, parent,
                          (HMENU)(INT_PTR)id, GetModuleHandleW(nullptr), nullptr);
    PumpClassMessages();
}

ClassHost::~ClassHost()
{
    DestroyWindow(parent);
    PumpClassMessages();
}

std::wstring ClassHost::Text() const
{
    const int n = (int)Send(WM_GETTEXTLENGTH);
    std::vector<wchar_t> buf((size_t)n + 1);
    const int got = (int)Send(WM_GETTEXT, (WPARAM)buf.size(), (LPARAM)buf.data());
    return std::wstring(buf.data(), (size_t)got);
}

std::wstring ClassHost::Line(int n) const
{
    wchar_t buf[512];
    VELMORTEXT t;
    VELMOR_BUFFER(t, buf, 512);
    const LRESULT got = Send(VEM_GETLINE, (WPARAM)n, (LPARAM)&t);
    return got < 0 ? L"<error>" : std::wstring(buf, (size_t)got);
}

int ClassHost::Count(UINT code) const
{
    int n = 0;
    for (const ClassNote& c : notes)
        n += c.code == code;
    return n;
}

const ClassNote* ClassHost::Last(UINT code) const
{
    for (auto it = notes.rbegin(); it != notes.rend(); ++it)
        if (it->code == code)
            return &*it;
    return nullptr;
}

void PumpClassMessages()
{
    MSG msg;
    for (int i = 0; i < 3; ++i) {
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        Sleep(1);
    }
}

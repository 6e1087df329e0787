#include "host.h"
#include "gdi/WindowCapture.h"
#include <cstdio>

namespace {
const wchar_t kHostClass[] = L"VelmorTestHost";

LRESULT CALLBACK HostProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    auto* self = reinterpret_cast<HostWindow*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    switch (msg) {
    case WM_NCCREATE:
        SetWindowLongPtrW(hwnd, GWLP_USERDATA, (LONG_PTR)((CREATESTRUCTW*)lParam)->lpCreateParams);
        break;
    case WM_COMMAND:
        if (self)
            self->notifications.push_back({ LOWORD(wParam), HIWORD(wParam), (HWND)lParam });
        return 0;
    case 0x0B00: // the control's key-down notification
        if (self)
            self->keyNotifications.push_back({ (UINT)lParam, (UINT)wParam, nullptr });
        return 0;
    case WM_ERASEBKGND: {
        RECT rc;
        GetClientRect(hwnd, &rc);
        HDC dc = (HDC)wParam;
        HBRUSH white = CreateSolidBrush(RGB(255, 255, 255));
        FillRect(dc, &rc, white);
        DeleteObject(white);
        if (self && self->patterned) {
            HBRUSH a = CreateSolidBrush(HostWindow::kPatternA), b = CreateSolidBrush(HostWindow::kPatternB);
            for (int y = 0; y < rc.bottom; y += 8)
                for (int x = 0; x < rc.right; x += 8) {
                    RECT cell = { x, y, x + 8, y + 8 };
                    FillRect(dc, &cell, ((x / 8 + y / 8) & 1) ? a : b);
                }
            DeleteObject(a);
            DeleteObject(b);
        }
        return 1;
    }
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}
}

HostWindow::HostWindow(int width, int height, bool patterned_) : patterned(patterned_)
{
    WNDCLASSW wc = {};
    wc.lpfnWndProc = HostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = kHostClass;
    wc.hCursor = LoadCursorW(nullptr, (LPCWSTR)IDC_ARROW);
    RegisterClassW(&wc);
    RECT rc = { 0, 0, width, height };
    AdjustWindowRect(&rc, WS_OVERLAPPEDWINDOW, FALSE);
    m_hwnd = CreateWindowExW(0, kHostClass, L"Velmor test host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                             rc.right - rc.left, rc.bottom - rc.top, nullptr, nullptr, wc.hInstance, this);
    SetForegroundWindow(m_hwnd);
    PumpMessages();
}

HostWindow::~HostWindow()
{
    DestroyWindow(m_hwnd);
    PumpMessages();
}

void PumpMessages(int rounds)
{
    MSG msg;
    for (int i = 0; i < rounds; ++i) {
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        Sleep(1);
    }
}

void PumpFor(int ms)
{
    DWORD end = GetTickCount() + (DWORD)ms;
    while ((int)(end - GetTickCount()) > 0) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
        PumpMessages(1);
    }
}

Pixels::Pixels(HWND hwnd)
{
    CaptureWindowPixels(hwnd, false, m_bits, m_w, m_h);
}

COLORREF Pixels::at(int x, int y) const
{
    if (x < 0 || y < 0 || x >= m_w || y >= m_h)
        return CLR_INVALID;
    DWORD p = m_bits[(size_t)y * m_w + x];
    return RGB((p >> 16) & 0xFF, (p >> 8) & 0xFF, p & 0xFF);
}

int Pixels::count(COLORREF c, int x0, int y0, int x1, int y1) const
{
    int n = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            if (at(x, y) == c)
                ++n;
    return n;
}

void Pixels::save(const std::wstring& path) const
{
    SavePixelsBmp(path.c_str(), m_bits, m_w, m_h);
}

LOGFONTW TestFont(int pointTenths)
{
    LOGFONTW lf = {};
    HDC dc = GetDC(nullptr);
    lf.lfHeight = -MulDiv(pointTenths, GetDeviceCaps(dc, LOGPIXELSY), 720);
    ReleaseDC(nullptr, dc);
    lf.lfCharSet = DEFAULT_CHARSET;
    lstrcpyW(lf.lfFaceName, L"Liberation Mono");
    return lf;
}

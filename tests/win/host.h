// Test host: a real top-level window to parent controls, message pumping,
// and pixels read back from the screen.
#pragma once
#include "editor/VelmorCtrl.h"
#include <memory>
#include <string>
#include <vector>

struct Notification
{
    UINT id;
    UINT code;
    HWND hwnd;
};

class HostWindow
{
public:
    // patterned: paints a 8x8 checkerboard of two colours as its background.
    explicit HostWindow(int width = 1000, int height = 800, bool patterned = false);
    ~HostWindow();
    HWND hwnd() const { return m_hwnd; }
    CWnd* wnd() const { return CWnd::FromHandle(m_hwnd); }
    std::vector<Notification> notifications;
    // Message 0x0B00 as posted by a control on key-down: id = its lParam (the
    // control's dialog id), code = its wParam.
    std::vector<Notification> keyNotifications;
    static const COLORREF kPatternA = RGB(255, 0, 255);
    static const COLORREF kPatternB = RGB(0, 200, 200);
    bool patterned;

private:
    HWND m_hwnd;
};

// Dispatches every queued message (posted, sent, paint, timers due).
void PumpMessages(int rounds = 3);
// Runs the message loop for about ms milliseconds.
void PumpFor(int ms);

// A snapshot of a window's client area.
class Pixels
{
public:
    explicit Pixels(HWND hwnd);
    COLORREF at(int x, int y) const;
    int width() const { return m_w; }
    int height() const { return m_h; }
    // Number of pixels of a colour inside [x0,x1) x [y0,y1).
    int count(COLORREF c, int x0, int y0, int x1, int y1) const;
    bool any(COLORREF c, int x0, int y0, int x1, int y1) const { return count(c, x0, y0, x1, y1) > 0; }
    // Writes a 24-bit BMP (for a person to look at when a test fails).
    void save(const std::wstring& path) const;

private:
    int m_w, m_h;
    std::vector<DWORD> m_bits; // 0x00RRGGBB, top-down
};

// The control font used throughout the tests.
LOGFONTW TestFont(int pointTenths = 100);

// "line 0\nline 1\n..." (n lines, each ended by a line feed).
inline std::wstring Numbered(int n, const wchar_t* prefix = L"line ")
{
    std::wstring s;
    for (int i = 0; i < n; ++i)
        s += prefix + std::to_wstring(i) + L"\n";
    return s;
}

// A control of class T (CVelmor, or a test's own class derived from it) in
// a host window of its own, with the test font and a text loaded. With
// compact, compact mode is set again after the load (a load resets it).
// bClean empties the undo history the load left.
template <class T = CVelmor> struct TestEditor
{
    HostWindow host;
    std::unique_ptr<T> ctl;
    TestEditor(const wchar_t* text, CRect rc, int nId, BYTE compact = 0, bool bClean = true)
    {
        LOGFONTW lf = TestFont();
        ctl.reset(new T(host.wnd(), rc, nId, 4, &lf, compact));
        ctl->LoadText(text);
        if (compact)
            ctl->m_bNoFrame = true;
        if (bClean)
            ctl->ClearUndoHistory();
        PumpMessages();
    }
    T* operator->() { return ctl.get(); }
    HWND hwnd() const { return ctl->m_hWnd; }
    // The text as UnloadText gives it.
    CString Text()
    {
        CString s;
        ctl->UnloadText(s);
        return s;
    }
    // EN_CHANGE notifications the parent has received.
    int Changes() const
    {
        int n = 0;
        for (const Notification& m : host.notifications)
            n += m.code == EN_CHANGE;
        return n;
    }
};

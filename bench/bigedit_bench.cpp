// Windows benchmark of big edits on the generated 10 MiB script, run under
// Wine: the operations a user does on large selections, each driven through
// the control's own messages and followed by its repaint (UpdateWindow).
// Every operation starts from the script freshly loaded (untimed).
//
// Lines beginning with "RESULT" are read by scripts/run-bench.
#include "BenchUtil.h"
#include "WinBench.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

namespace {

using namespace bench;

double TimeIt(const std::function<void()>& f)
{
    const double t0 = NowMs();
    f();
    return NowMs() - t0;
}

void SetClipboard(HWND owner, const std::wstring& text)
{
    if (!::OpenClipboard(owner))
        return;
    ::EmptyClipboard();
    HGLOBAL h = ::GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
    std::memcpy(::GlobalLock(h), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    ::GlobalUnlock(h);
    ::SetClipboardData(CF_UNICODETEXT, h);
    ::CloseClipboard();
}

struct Session
{
    HWND host;
    const std::wstring& script;
    std::unique_ptr<CVelmor> ctl;

    void Load()
    {
        ctl = CreateControl(host);
        ctl->LoadText(script.c_str());
        ctl->ClearUndoHistory();
        ::UpdateWindow(ctl->m_hWnd);
        PumpMessages();
    }
    HWND hwnd() { return ctl->m_hWnd; }
    void Command(UINT id) { ::SendMessageW(hwnd(), WM_COMMAND, id, 0); }
    // A step, then the repaint it asked for.
    double Time(const std::function<void()>& f)
    {
        return TimeIt([&] {
            f();
            ::UpdateWindow(hwnd());
        });
    }
    void SelectAll()
    {
        const int last = ctl->GetLineCount() - 1;
        ctl->SetSelection(0, 0, ctl->GetLine(last).GetLength(), last);
    }
    void SelectMiddleHalf()
    {
        const int n = ctl->GetLineCount();
        ctl->SetSelection(0, n / 4, 0, n * 3 / 4);
    }
};

void Print(const char* label, double ms, const char* detail = "")
{
    std::printf("  %s %.1f ms%s\n", label, ms, detail);
    Result(label, "10 MiB", "%.1f", ms);
}

} // namespace

int main()
{
    const std::wstring script = MakeScript((size_t)10 * kMiB);
    HWND host = CreateHost();
    PumpMessages();
    Session s{host, script, nullptr};

    s.Load();
    s.SelectAll();
    Print("select all + Delete, 10 MiB:", s.Time([&] { ::SendMessageW(s.hwnd(), WM_KEYDOWN, VK_DELETE, 0); }));
    Print("undo of select all + Delete, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));
    Print("redo of select all + Delete, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_REDO); }));

    s.Load();
    s.SelectMiddleHalf();
    Print("cut the middle half, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_CUT); }));

    s.Load();
    SetClipboard(host, MakeScript((size_t)5 * kMiB));
    s.SelectMiddleHalf();
    Print("paste 5 MiB over the middle half, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_PASTE); }));
    Print("undo of that paste, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));

    s.Load();
    s.SelectAll();
    Print("block indent of every line, 10 MiB:", s.Time([&] { ::SendMessageW(s.hwnd(), WM_CHAR, L'\t', 1); }));
    Print("undo of block indent, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_UNDO); }));

    s.Load();
    s.SelectAll();
    Print("comment out every line, 10 MiB:", s.Time([&] { s.ctl->CommentOutSelect(); }));

    s.Load();
    s.SelectAll();
    Print("copy all, 10 MiB:", s.Time([&] { s.Command(ID_EDIT_COPY); }));

    s.ctl.reset();
    PumpMessages();
    DestroyWindow(host);
    PumpMessages();
    return 0;
}

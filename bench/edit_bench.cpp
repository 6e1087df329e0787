// Windows benchmark of edits and of big or odd documents, run under Wine.
// A host program like velmor_bench.exe: it links only the DLL's import
// library and drives the control through its exported interface.
//
//   - line edit mid 10 MiB: one character added to, then removed from, a
//     visible line in the middle of the generated 10 MiB script through
//     SetTextLine; the line's rectangle is invalidated as an editing command
//     does and UpdateWindow paints it. Each SetTextLine + paint is a sample.
//   - repaint one 10 MiB line: the same script joined into a single line,
//     full client repaints scrolled to its start and to its middle.
//   - one-line LoadText: loading a one-line script over a one-line script,
//     and a one-line script over the 10 MiB one (the old text torn down).
//   - typing "/*" at the top of 10 MiB: the opener put at the start of line 1
//     through SetTextLine (as the key that completes it does) and the
//     repaint it asks for, once with a "*/" closing the comment a few lines
//     below and once in a script without block comments, where the rest of
//     the document becomes comment. Each sample is restored untimed.
//   - hostile inputs: a 10 MiB line, 10^6 empty lines, 1 MiB of tabs, lone
//     surrogates, 100,000 alternating comment delimiters. Each is loaded,
//     painted, scrolled to its end and read back; every step is timed and
//     the text read back is compared with what was loaded.
//
// Lines beginning with "RESULT" are read by scripts/run-bench.
#include "BenchUtil.h"
#include "HostileInputs.h"
#include "WinBench.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

namespace {

using namespace bench;

void Repaint(CVelmor& ctl)
{
    ctl.Invalidate(TRUE);
    ctl.UpdateWindow();
}

// Scrolls the view so that the last line and the end of the longest line
// show, as a user dragging both thumbs to their ends would.
void ScrollToEnd(CVelmor& ctl)
{
    const int nLines = ctl.GetLineCount();
    ctl.m_nFirstLine = std::max(0, nLines - ctl.VisibleLines(true));
    ctl.m_nFirstCol = std::max(0, (int)ctl.m_Text.FindMaxLineLen() - ctl.VisibleColumns());
    ctl.SetScrollPos(SB_VERT, ctl.m_nFirstLine, TRUE);
    ctl.SetScrollPos(SB_HORZ, ctl.m_nFirstCol, TRUE);
    Repaint(ctl);
}

void LineEdit(HWND host, const std::wstring& script)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(script.c_str());
    ctl->ClearUndoHistory();
    const int middle = ctl->GetLineCount() / 2;
    ctl->m_nFirstLine = middle;
    ctl->SetScrollPos(SB_VERT, middle, TRUE);
    PumpMessages();
    Repaint(*ctl);

    // A visible line with text and no comment delimiter (a delimiter makes
    // the store recolour the whole text, which is measured elsewhere).
    int nLine = middle + 10;
    while (nLine < ctl->GetLineCount() - 1) {
        CString s = ctl->GetLine(nLine);
        if (s.GetLength() > 10 && s.Find(L"/*") < 0 && s.Find(L"*/") < 0)
            break;
        ++nLine;
    }
    const CString original = ctl->GetLine(nLine);
    CString edited = original;
    edited.Insert(5, L'x');
    const HWND hwnd = ctl->m_hWnd;

    std::vector<double> times;
    for (int i = 0; i < 400; ++i) {
        const CString& text = i % 2 ? original : edited;
        times.push_back(TimeIt([&] {
            ctl->SetTextLine(text, nLine, false, true);
            CRect rc = ctl->GetLineRect(nLine);
            ::InvalidateRect(hwnd, &rc, FALSE);
            ::UpdateWindow(hwnd);
        }));
        PumpMessages();
    }
    std::printf("  line edit mid 10 MiB: median %.2f ms, p99 %.2f ms  (line %d of %d, %d samples)\n",
                Median(times), Percentile(times, 99), nLine + 1, ctl->GetLineCount(), (int)times.size());
    Result("Wine line edit mid 10 MiB, median ms", "10 MiB", "%.2f", Median(times));
    Result("Wine line edit mid 10 MiB, p99 ms", "10 MiB", "%.2f", Percentile(times, 99));
    ctl.reset();
    PumpMessages();
}

void LongLineRepaint(HWND host, const std::wstring& script)
{
    std::wstring one = script;
    std::replace(one.begin(), one.end(), L'\n', L' ');
    one += L'\n';
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(one.c_str());
    PumpMessages();
    // Nothing else queued may run inside a timing: pump between samples.
    std::vector<double> start, middle;
    for (int i = 0; i < 60; ++i) {
        start.push_back(TimeIt([&] { Repaint(*ctl); }));
        PumpMessages();
    }
    ctl->m_nFirstCol = (int)(one.size() / 2);
    ctl->SetScrollPos(SB_HORZ, ctl->m_nFirstCol, TRUE);
    PumpMessages();
    for (int i = 0; i < 60; ++i) {
        middle.push_back(TimeIt([&] { Repaint(*ctl); }));
        PumpMessages();
    }
    std::printf("  repaint one 10 MiB line: %.2f ms  (median of 60 at its start, p99 %.2f ms; %.2f ms in its "
                "middle)\n",
                Median(start), Percentile(start, 99), Median(middle));
    Result("Wine repaint one 10 MiB line, median ms", "10 MiB", "%.2f", Median(start));
    ctl.reset();
    PumpMessages();
}

void OneLineLoad(HWND host, const std::wstring& script)
{
    const wchar_t* kLine = L"variable x = sin (1.0); % one line\n";
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->LoadText(kLine);
    PumpMessages();
    std::vector<double> times;
    for (int i = 0; i < 200; ++i) {
        times.push_back(TimeIt([&] { ctl->LoadText(kLine); }));
        PumpMessages();
    }
    std::vector<double> painted;
    for (int i = 0; i < 50; ++i) {
        painted.push_back(TimeIt([&] {
            ctl->LoadText(kLine);
            ctl->UpdateWindow();
        }));
        PumpMessages();
    }
    ctl->LoadText(script.c_str());
    PumpMessages();
    const double overBig = TimeIt([&] { ctl->LoadText(kLine); });
    std::printf("  one-line LoadText: %.2f ms  (median of 200, p99 %.2f ms; with its repaint %.2f ms; "
                "over the loaded 10 MiB script %.2f ms)\n",
                Median(times), Percentile(times, 99), Median(painted), overBig);
    Result("Wine one-line LoadText, median ms", "10 MiB", "%.2f", Median(times));
    ctl.reset();
    PumpMessages();
}

void ScrollOneLine(HWND host, const std::wstring& script)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(script.c_str());
    const HWND hwnd = ctl->m_hWnd;
    ::SendMessageW(hwnd, WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, 0), 0);
    ctl->m_nFirstLine = ctl->GetLineCount() / 2;
    ctl->Invalidate(TRUE);
    ::UpdateWindow(hwnd);
    PumpMessages();
    std::vector<double> down, up;
    for (int i = 0; i < 200; ++i) {
        const bool bDown = (i / 20) % 2 == 0; // twenty down, twenty up, ...
        const double t = TimeIt([&] {
            ::SendMessageW(hwnd, WM_VSCROLL, MAKEWPARAM(bDown ? SB_LINEDOWN : SB_LINEUP, 0), 0);
            ::UpdateWindow(hwnd);
        });
        (bDown ? down : up).push_back(t);
        PumpMessages();
    }
    std::vector<double> all = down;
    all.insert(all.end(), up.begin(), up.end());
    std::printf("  scroll one line mid 10 MiB: median %.2f ms, p99 %.2f ms  (down %.2f, up %.2f; %d samples)\n",
                Median(all), Percentile(all, 99), Median(down), Median(up), (int)all.size());
    Result("Wine scroll one line mid 10 MiB, median ms", "10 MiB", "%.2f", Median(all));
    Result("Wine scroll one line mid 10 MiB, p99 ms", "10 MiB", "%.2f", Percentile(all, 99));
    ctl.reset();
    PumpMessages();
}

// Keys as a user types them, in the middle of the 10 MiB script: a letter
// (WM_CHAR) and Enter, each with its repaint; then pasting 1 MiB.
void Typing(HWND host, const std::wstring& script)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(script.c_str());
    ctl->ClearUndoHistory();
    const HWND hwnd = ctl->m_hWnd;
    const int middle = ctl->GetLineCount() / 2;
    // A line with text and no comment delimiter, as most lines are.
    int line = middle + 10;
    while (line < ctl->GetLineCount() - 1) {
        CString s = ctl->GetLine(line);
        if (s.GetLength() > 10 && s.Find(L"/*") < 0 && s.Find(L"*/") < 0)
            break;
        ++line;
    }
    ctl->m_nFirstLine = middle;
    ctl->SetFocus();
    ctl->Invalidate(TRUE);
    ::UpdateWindow(hwnd);
    PumpMessages();

    std::vector<double> keys;
    for (int i = 0; i < 300; ++i) {
        if (i % 30 == 0) {
            // A fresh spot now and then, so that the line stays short.
            ctl->SetSelection(5, line, 5, line);
            PumpMessages();
        }
        keys.push_back(TimeIt([&] {
            ::SendMessageW(hwnd, WM_CHAR, L'a' + i % 26, 1);
            ::UpdateWindow(hwnd);
        }));
        PumpMessages();
    }
    std::vector<double> enters;
    for (int i = 0; i < 100; ++i) {
        ctl->SetSelection(3, line + i, 3, line + i);
        PumpMessages();
        enters.push_back(TimeIt([&] {
            ::SendMessageW(hwnd, WM_CHAR, 13, 1);
            ::UpdateWindow(hwnd);
        }));
        PumpMessages();
    }
    std::printf("  keystroke mid 10 MiB: median %.2f ms, p99 %.2f ms  (%d letters)\n", Median(keys),
                Percentile(keys, 99), (int)keys.size());
    std::printf("  Enter mid 10 MiB: median %.2f ms, p99 %.2f ms  (%d lines split)\n", Median(enters),
                Percentile(enters, 99), (int)enters.size());
    Result("Wine keystroke mid 10 MiB, median ms", "10 MiB", "%.2f", Median(keys));
    Result("Wine keystroke mid 10 MiB, p99 ms", "10 MiB", "%.2f", Percentile(keys, 99));
    Result("Wine Enter mid 10 MiB, median ms", "10 MiB", "%.2f", Median(enters));

    // Pasting the 1 MiB script at a line's start, through the clipboard.
    const std::wstring clip = MakeScript(kMiB);
    if (::OpenClipboard(hwnd)) {
        ::EmptyClipboard();
        HGLOBAL h = ::GlobalAlloc(GMEM_MOVEABLE, (clip.size() + 1) * sizeof(wchar_t));
        std::memcpy(::GlobalLock(h), clip.c_str(), (clip.size() + 1) * sizeof(wchar_t));
        ::GlobalUnlock(h);
        ::SetClipboardData(CF_UNICODETEXT, h);
        ::CloseClipboard();
    }
    ctl->LoadText(L"x\n");
    ctl->SetSelection(0, 0, 0, 0);
    const double paste = TimeIt([&] {
        ::SendMessageW(hwnd, WM_COMMAND, ID_EDIT_PASTE, 0);
        ::UpdateWindow(hwnd);
    });
    std::printf("  paste 1 MiB: %.1f ms  (%d lines after)\n", paste, ctl->GetLineCount());
    Result("Wine paste 1 MiB, ms", "1 MiB", "%.1f", paste);
    ctl.reset();
    PumpMessages();
}

// A forward search that matches nothing: from the first line to the end,
// then once around from line 0 (the whole text is read once), in both the
// case-sensitive and the case-ignoring form.
void FindMiss(HWND host, const std::wstring& script)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->LoadText(script.c_str());
    PumpMessages();
    std::wstring what = L"NO SUCH TEXT ANYWHERE";
    std::vector<double> exact, folded;
    for (int i = 0; i < 7; ++i) {
        int pos = 0;
        exact.push_back(TimeIt([&] { ctl->FindAndReplace(0, -1, &what[0], pos, 0x0002); }));
        pos = 0;
        folded.push_back(TimeIt([&] { ctl->FindAndReplace(0, -1, &what[0], pos, 0); }));
        PumpMessages();
    }
    std::printf("  find miss over 10 MiB: %.2f ms  (median of 7, match case; ignoring case %.2f ms)\n",
                Median(exact), Median(folded));
    Result("Wine find miss over 10 MiB, ms", "10 MiB", "%.2f", Median(exact));
    Result("Wine find miss over 10 MiB ignoring case, ms", "10 MiB", "%.2f", Median(folded));
    ctl.reset();
    PumpMessages();
}

// A host's own control class: derived classes may end an undo step
// themselves, as the control's commands do.
class StepControl : public CVelmor
{
public:
    using CVelmor::CVelmor;
    void EndStep() { EndAction(); }
};

// Undo and redo of RemoveAllText over the 1 MiB script: one entry per line.
// (Undoing re-inserts the lines one by one, each coloured as it comes.)
void UndoRemoveAll(HWND host)
{
    const std::wstring script = MakeScript(kMiB);
    LOGFONTW lf = LiberationMono10();
    StepControl ctl(CWnd::FromHandle(host), CRect(10, 10, 10 + kClientW, 10 + kClientH), kControlId, 4, &lf, 0);
    ctl.LoadText(script.c_str());
    ctl.ClearUndoHistory();
    PumpMessages();
    const int lines = ctl.GetLineCount();
    ctl.RemoveAllText();
    ctl.EndStep();
    const double undo = TimeIt([&] { ctl.DoUndo(); });
    const double redo = TimeIt([&] { ctl.DoRedo(); });
    std::printf("  undo and redo of RemoveAllText, 1 MiB (%d lines): undo %.1f ms, redo %.1f ms\n", lines, undo,
                redo);
    Result("Wine undo RemoveAllText 1 MiB, ms", "1 MiB", "%.1f", undo);
    Result("Wine redo RemoveAllText 1 MiB, ms", "1 MiB", "%.1f", redo);
    ctl.DestroyWindow();
    PumpMessages();
}

// The generated script with every block-comment delimiter turned into
// plain text ("/*" into "//", "*/" into two spaces): an opener typed into
// it is closed by nothing.
std::wstring WithoutBlockComments(std::wstring s)
{
    for (size_t i = 0; i + 1 < s.size(); ++i) {
        if (s[i] == L'/' && s[i + 1] == L'*')
            s[i + 1] = L'/';
        else if (s[i] == L'*' && s[i + 1] == L'/')
            s[i] = s[i + 1] = L' ';
    }
    return s;
}

// "/*" typed at the start of line 1 of a 10 MiB script shown from its top:
// SetTextLine with the opener (a comment delimiter, so the store recolours
// what it changes) and the repaint it asks for. Untimed between samples:
// the line set back and the text recoloured and repainted.
double TypeOpenerAtTop(HWND host, const std::wstring& text, const char* label, const char* row)
{
    std::unique_ptr<CVelmor> ctl = CreateControl(host);
    ctl->SetLineNumber(true);
    ctl->LoadText(text.c_str());
    ctl->ClearUndoHistory();
    const HWND hwnd = ctl->m_hWnd;
    Repaint(*ctl);
    PumpMessages();
    const CString original = ctl->GetLine(1);
    const CString opened = L"/*" + original;
    std::vector<double> times;
    for (int i = 0; i < 15; ++i) {
        times.push_back(TimeIt([&] {
            ctl->SetTextLine(opened, 1, false, true);
            ::UpdateWindow(hwnd);
        }));
        PumpMessages();
        ctl->SetTextLine(original, 1, false, true);
        ctl->Recolorize();
        ::UpdateWindow(hwnd);
        ctl->ClearUndoHistory();
        PumpMessages();
    }
    std::printf("  %s: %.2f ms  (median of %d with the repaint, p99 %.2f ms; %d lines)\n", label, Median(times),
                (int)times.size(), Percentile(times, 99), ctl->GetLineCount());
    Result(row, "10 MiB", "%.2f", Median(times));
    ctl.reset();
    PumpMessages();
    return Median(times);
}

void TypeCommentOpener(HWND host, const std::wstring& script)
{
    // A few lines of code and the "*/" that will close what is typed above
    // them, then the script.
    const std::wstring closed = L"% settings\n"
                                L"variable nRows = 12;\n"
                                L"variable nCols = 7;\n"
                                L"variable nCells = nRows * nCols;\n"
                                L"vmessage(\"%d cells\", nCells);\n"
                                L"*/\n" +
                                script;
    TypeOpenerAtTop(host, closed, "typing \"/*\" at the top of 10 MiB", "Wine typing /* at the top of 10 MiB, ms");
    TypeOpenerAtTop(host, WithoutBlockComments(script), "typing \"/*\" with no closer in 10 MiB",
                    "Wine typing /* with no closer in 10 MiB, ms");
}

// --- hostile inputs ------------------------------------------------------------

void HostileLoads(HWND host)
{
    double worst = 0;
    bool allExact = true;
    for (const Hostile& h : HostileInputs()) {
        std::unique_ptr<CVelmor> ctl = CreateControl(host);
        ctl->SetLineNumber(true);
        const double load = TimeIt([&] { ctl->LoadText(h.text.c_str()); });
        const double paint = TimeIt([&] { Repaint(*ctl); });
        const double scroll = TimeIt([&] { ScrollToEnd(*ctl); });
        CString back;
        const double read = TimeIt([&] { ctl->UnloadText(back); });
        const bool exact = back.GetLength() == (int)h.expected.size() &&
                           std::equal(h.expected.begin(), h.expected.end(), back.GetString());
        allExact = allExact && exact;
        worst = std::max({ worst, load, paint, scroll, read });
        std::printf("  %-40s load %7.2f ms, paint %6.2f ms, scroll to end %6.2f ms, read back %6.2f ms: %s\n",
                    h.name, load, paint, scroll, read, exact ? "exact" : "DIFFERS");
        ctl.reset();
        PumpMessages();
    }
    std::printf("  hostile inputs: slowest step %.2f ms; %s\n", worst,
                allExact ? "every text read back exactly" : "SOME TEXT DIFFERS");
    Result("Wine hostile inputs, slowest step ms", "10 MiB", "%.2f", worst);
}

} // namespace

int main(int argc, char** argv)
{
    // --only NAME: one of the steps below (for looking into one).
    const char* only = argc > 2 && !std::strcmp(argv[1], "--only") ? argv[2] : nullptr;
    auto wanted = [&](const char* name) { return !only || !std::strcmp(only, name); };
    const std::wstring script = MakeScript((size_t)10 * kMiB);
    HWND host = CreateHost();
    PumpMessages();
    if (wanted("load"))
        OneLineLoad(host, script);
    if (wanted("edit"))
        LineEdit(host, script);
    if (wanted("repaint"))
        LongLineRepaint(host, script);
    if (wanted("scroll"))
        ScrollOneLine(host, script);
    if (wanted("typing"))
        Typing(host, script);
    if (wanted("comment"))
        TypeCommentOpener(host, script);
    if (wanted("find"))
        FindMiss(host, script);
    if (wanted("removeall"))
        UndoRemoveAll(host);
    if (wanted("hostile"))
        HostileLoads(host);
    DestroyWindow(host);
    PumpMessages();
    return 0;
}

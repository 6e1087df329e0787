// Undo and redo as a host and a user reach them: the commands through
// WM_COMMAND and their menu state through CCmdUI, DoUndo and DoRedo, and a
// long random run of edits, undos and redos checked against a plain model.
#include "host.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// A host's own control class: derived classes may open and close undo
// steps around the line primitives, as the control's commands do, and set
// the caret without side effects.
class StepControl : public CVelmor
{
public:
    using CVelmor::CVelmor;
    void Begin() { StartAction(); }
    void End() { EndAction(); }
    void Place(CPoint caret, CPoint anchor)
    {
        _SetCursorPos(caret);
        _SetAnchorPos(anchor);
    }
    void DeleteSelection() { RemoveSelected(); }
    CString WordAtCaret()
    {
        CString w;
        StringOnCursor(w);
        return w;
    }
};

// The load's own undo step is kept: some tests undo it.
struct Ed : TestEditor<StepControl>
{
    explicit Ed(const wchar_t* text) : TestEditor(text, CRect(0, 0, 600, 400), 5, 0, false) {}
    BOOL Enabled(UINT id)
    {
        CCmdUI ui;
        ui.m_nID = id;
        EXPECT_TRUE(ui.DoUpdate(ctl.get(), TRUE));
        return ui.m_bEnabled;
    }
    void Command(UINT id) { ::SendMessageW(ctl->m_hWnd, WM_COMMAND, id, 0); }
};

} // namespace

// A step that splits a line (a change and an insert) is one undo; the
// caret comes back to where the step began; redo replays it and puts the
// caret where undo found it.
TEST(Undo, StepsUndoAndRedoWithTheCaret)
{
    Ed e(L"first\nsecond line\n");
    e->ClearUndoHistory();
    EXPECT_FALSE(e.Enabled(ID_EDIT_UNDO));
    EXPECT_FALSE(e.Enabled(ID_EDIT_REDO));

    e->Place(CPoint(6, 1), CPoint(6, 1));
    e->Begin();
    e->SetTextLine(L"second", 1, false, true);
    e->InsertTextLine(L" line", 2, true, false);
    e->End();
    e->Place(CPoint(0, 2), CPoint(0, 2));
    EXPECT_EQ(CString(L"first\nsecond\n line\n\n"), e.Text());
    EXPECT_TRUE(e.Enabled(ID_EDIT_UNDO));

    const int changes = e.Changes();
    e.Command(ID_EDIT_UNDO);
    EXPECT_EQ(CString(L"first\nsecond line\n\n"), e.Text());
    EXPECT_EQ(CPoint(6, 1), e->GetCursorPos());
    EXPECT_EQ(CPoint(6, 1), e->GetAnchorPos());
    EXPECT_EQ(changes + 1, e.Changes());
    EXPECT_FALSE(e.Enabled(ID_EDIT_UNDO));
    EXPECT_TRUE(e.Enabled(ID_EDIT_REDO));

    e.Command(ID_EDIT_REDO);
    EXPECT_EQ(CString(L"first\nsecond\n line\n\n"), e.Text());
    EXPECT_EQ(CPoint(0, 2), e->GetCursorPos()); // where the caret stood when undo ran
    e.Command(ID_EDIT_UNDO);

    // A new edit empties the redo stack.
    e->SetLine(L"changed", 0);
    EXPECT_FALSE(e.Enabled(ID_EDIT_REDO));
    e->DoRedo();
    EXPECT_EQ(CString(L"changed\nsecond line\n\n"), e.Text());

    // Undo does not look at read-only.
    e->SetReadOnly(true);
    e->DoUndo();
    EXPECT_EQ(CString(L"first\nsecond line\n\n"), e.Text());
}

// Deleting a selection on one line and across lines, either end first,
// as one undoable step; the word at the caret.
TEST(Undo, SelectionDeletesAsOneStep)
{
    Ed e(L"alpha beta\ngamma\ndelta epsilon\nzeta\n");
    e->ClearUndoHistory();
    e->Place(CPoint(2, 0), CPoint(8, 0)); // within one line, caret first
    e->Begin();
    e->DeleteSelection();
    e->End();
    EXPECT_EQ(CString(L"alta\ngamma\ndelta epsilon\nzeta\n\n"), e.Text());
    EXPECT_EQ(CPoint(2, 0), e->GetCursorPos());
    EXPECT_EQ(CPoint(2, 0), e->GetAnchorPos());

    e->Place(CPoint(3, 2), CPoint(1, 0)); // across lines, caret below the anchor
    e->Begin();
    e->DeleteSelection();
    e->End();
    EXPECT_EQ(CString(L"ata epsilon\nzeta\n\n"), e.Text());
    EXPECT_EQ(CPoint(1, 0), e->GetCursorPos());

    e->DoUndo();
    EXPECT_EQ(CString(L"alta\ngamma\ndelta epsilon\nzeta\n\n"), e.Text());
    EXPECT_EQ(CPoint(3, 2), e->GetCursorPos());
    EXPECT_EQ(CPoint(1, 0), e->GetAnchorPos());
    e->DoUndo();
    EXPECT_EQ(CString(L"alpha beta\ngamma\ndelta epsilon\nzeta\n\n"), e.Text());

    e->Place(CPoint(8, 2), CPoint(8, 2));
    EXPECT_EQ(CString(L"epsilon"), e->WordAtCaret());
    e->Place(CPoint(5, 2), CPoint(5, 2)); // on the space
    EXPECT_EQ(CString(L""), e->WordAtCaret());
    e->Place(CPoint(4, 3), CPoint(4, 3)); // just after "zeta"
    EXPECT_EQ(CString(L"zeta"), e->WordAtCaret());
}

// Undo straight after loading removes every loaded line; redo brings them
// back.
TEST(Undo, LoadIsTheFirstStep)
{
    Ed e(L"a\nb\nc\n");
    e->DoUndo();
    EXPECT_EQ(1, e->GetLineCount());
    EXPECT_EQ(CString(L""), e->GetLine(0));
    e->DoRedo();
    EXPECT_EQ(CString(L"a\nb\nc\n\n"), e.Text());
}

// Removing every line and undoing it: each line goes back at its recorded
// index, last first, appended while that index lies past the end, so the
// lines come back in the documented odd order (and in one pass: 20,000
// lines). The caret and anchor come back; redo removes by the recorded
// indexes again.
TEST(Undo, RemoveAllTextComesBackInItsRecordedOrder)
{
    for (int n : { 1, 2, 5, 8, 20000 }) {
        std::wstring text;
        std::vector<CString> lines;
        for (int i = 0; i < n; ++i) {
            lines.push_back(CString(L"line ") + CString(std::to_wstring(i).c_str()) + (i % 7 == 3 ? L" /* x" : L""));
            text += lines.back().GetString();
            text += L'\n';
        }
        Ed e(text.c_str());
        e->ClearUndoHistory();
        lines.clear(); // the lines as loaded
        for (int i = 0; i < e->GetLineCount(); ++i)
            lines.push_back(e->GetLine(i));
        n = (int)lines.size();
        e->Place(CPoint(2, 1), CPoint(0, 0));
        e->Begin();
        e->RemoveAllText();
        e->End();
        // The model: one empty line left, then each removed line put back
        // at its index, clamped to the end, from the last.
        std::vector<CString> model{ CString() };
        for (int i = n - 1; i >= 0; --i)
            model.insert(model.begin() + std::min<size_t>((size_t)i, model.size()), lines[(size_t)i]);
        e->DoUndo();
        ASSERT_EQ((int)model.size(), e->GetLineCount()) << n;
        for (int i = 0; i < (int)model.size(); ++i)
            ASSERT_EQ(model[(size_t)i], e->GetLine(i)) << n << " line " << i;
        EXPECT_EQ(CPoint(2, 1), e->GetCursorPos());
        EXPECT_EQ(CPoint(0, 0), e->GetAnchorPos());
        // Redo: line 0, then 1, then 2 ... of the text as it stands then.
        for (int i = 0; i < n; ++i)
            if ((size_t)i < model.size())
                model.erase(model.begin() + i);
        e->DoRedo();
        ASSERT_EQ((int)model.size(), e->GetLineCount()) << n;
        for (int i = 0; i < (int)model.size(); ++i)
            ASSERT_EQ(model[(size_t)i], e->GetLine(i)) << n << " line " << i;
    }
}

// A long random run: steps of one to four line primitives at random
// places, undos and redos in between, the caret moved at random. After
// every undo and redo the text, caret and anchor are the model's; at the
// end, undoing everything gives back the loaded text byte for byte.
// VELMOR_SEED=<n> repeats a run.
TEST(Undo, RandomEditsUndoAndRedoLikeAModel)
{
    unsigned seed = 20261123;
    if (const char* s = std::getenv("VELMOR_SEED"))
        seed = (unsigned)std::strtoul(s, nullptr, 10);
    SCOPED_TRACE("seed " + std::to_string(seed) + " (set VELMOR_SEED to repeat)");
    std::mt19937 rng(seed);

    struct State
    {
        std::vector<std::wstring> lines;
        CPoint caret, anchor;
    };
    auto pieceText = [&]() {
        static const wchar_t* const words[] = { L"x", L"sin", L" = ", L"1.5", L"/*", L"*/", L"// c", L"\"s\"",
                                                L"variable", L"  " };
        std::wstring w;
        const int n = (int)(rng() % 5);
        for (int i = 0; i < n; ++i)
            w += words[rng() % (sizeof words / sizeof words[0])];
        return w;
    };

    std::wstring original;
    for (int i = 0; i < 20; ++i)
        original += pieceText() + L"\n";
    Ed e(original.c_str());
    e->ClearUndoHistory();

    State model;
    for (int i = 0; i < e->GetLineCount(); ++i)
        model.lines.push_back(std::wstring(e->GetLine(i).GetString()));
    const std::vector<std::wstring> loaded = model.lines;
    std::vector<State> undo, redo;

    auto check = [&](int op) {
        ASSERT_EQ((int)model.lines.size(), e->GetLineCount()) << "operation " << op;
        for (size_t i = 0; i < model.lines.size(); ++i) {
            const CString line = e->GetLine((int)i);
            ASSERT_TRUE(CString(model.lines[i].c_str()) == line)
                << "operation " << op << ", line " << i << ": model \""
                << std::string(model.lines[i].begin(), model.lines[i].end()) << "\", control \""
                << std::string(line.GetString(), line.GetString() + line.GetLength()) << "\"";
        }
        ASSERT_EQ(model.caret, e->GetCursorPos()) << "operation " << op;
        ASSERT_EQ(model.anchor, e->GetAnchorPos()) << "operation " << op;
    };
    auto randomPlace = [&]() {
        const int n = (int)model.lines.size();
        model.caret = CPoint((int)(rng() % 8), (int)(rng() % (unsigned)n));
        model.anchor = rng() % 2 ? model.caret : CPoint((int)(rng() % 8), (int)(rng() % (unsigned)n));
        e->Place(model.caret, model.anchor);
    };

    int op = 0;
    while (op < 100000) {
        const unsigned what = rng() % 10;
        randomPlace();
        if (what < 6) {
            // One step of line primitives.
            State before = model;
            bool recorded = false;
            e->Begin();
            const int count = 1 + (int)(rng() % 4);
            for (int k = 0; k < count; ++k, ++op) {
                const int n = (int)model.lines.size();
                const unsigned kind = rng() % 3;
                if (kind == 0 || n < 3) {
                    // An index past the end appends.
                    const int at = (int)(rng() % (unsigned)(n + 3));
                    const std::wstring t = pieceText();
                    e->InsertTextLine(CString(t.c_str()), at, rng() % 2 == 0, false);
                    model.lines.insert(model.lines.begin() + std::min(at, n), t);
                    recorded = true;
                } else if (kind == 1) {
                    // Past the end: nothing happens and nothing is recorded.
                    const int at = (int)(rng() % (unsigned)(n + 1));
                    e->RemoveTextLine(at, false, rng() % 2 == 0);
                    if (at < n) {
                        model.lines.erase(model.lines.begin() + at);
                        recorded = true;
                    }
                } else {
                    const int at = (int)(rng() % (unsigned)n);
                    const std::wstring t = pieceText();
                    e->SetTextLine(CString(t.c_str()), at, false, rng() % 2 == 0);
                    model.lines[(size_t)at] = t;
                    recorded = true;
                }
            }
            e->End();
            // Every step empties the redo history, even one that changed
            // nothing; only a step that changed something can be undone.
            redo.clear();
            if (recorded)
                undo.push_back(before);
        } else if (what < 8) {
            ++op;
            e->DoUndo();
            if (!undo.empty()) {
                redo.push_back(model);
                model = undo.back();
                undo.pop_back();
            }
            check(op);
        } else {
            ++op;
            e->DoRedo();
            if (!redo.empty()) {
                undo.push_back(model);
                model = redo.back();
                redo.pop_back();
            }
            check(op);
        }
        if (HasFatalFailure())
            return;
    }
    while (!undo.empty()) {
        e->DoUndo();
        model = undo.back();
        undo.pop_back();
    }
    e->DoUndo(); // nothing left: no change
    ASSERT_EQ(loaded.size(), (size_t)e->GetLineCount());
    for (size_t i = 0; i < loaded.size(); ++i)
        ASSERT_EQ(CString(loaded[i].c_str()), e->GetLine((int)i));
    CString back;
    e->UnloadText(back);
    EXPECT_EQ(CString(original.c_str()) + L"\n", back);
}

// A differential model of big edits: the same random operations applied to
// two text stores, one through the block operations (_InsertLines,
// _RemoveLines, the batching undo replay) and one line by line through a
// straightforward reference kept here; after every step the lines, the
// colours as they read, the longest line, the caret and anchor of the
// replay and the reverse frames must be equal. Driven by bytes, so that
// the native tests run it on random bytes and the fuzzer on its own.
#pragma once
#include "editor/UndoReplay.h"
#include "text/ScriptText.h"
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace block_edit_model {

// One entry at a time, as the undo replay always did: the reference.
template <class Target> CUndoFrame ReferenceReplay(CUndoFrame frame, Target& target)
{
    CUndoFrame reverse;
    UndoEntry e;
    while (frame.PopEntry(e)) {
        target.Visit(e.line, target.LineCount());
        UndoEntry r;
        r.line = e.line;
        const bool exists = e.line >= 0 && e.line < target.LineCount();
        if (e.kind == LineInserted) {
            r.kind = LineRemoved;
            if (exists)
                r.text = target.Line(e.line);
            target.Remove(e.line);
        } else if (e.kind == LineRemoved) {
            r.kind = LineInserted;
            target.Insert(e.text, e.line);
        } else {
            r.kind = LineChanged;
            if (exists)
                r.text = target.Line(e.line);
            target.Set(e.text, e.line);
        }
        r.cursor = target.Cursor();
        r.anchor = target.Anchor();
        target.SetCursor(e.cursor);
        target.SetAnchor(e.anchor);
        reverse.AddEntry(r);
    }
    return reverse;
}

// A store as the replay sees it. bBlocks: the block forms are real block
// operations; otherwise they are done one line at a time.
struct Target
{
    CScriptText& t;
    bool bBlocks;
    CPoint caret, anchor;
    std::vector<std::pair<int, int>> visits;

    int LineCount() { return (int)t._GetSize(); }
    CString Line(int n) { return t._GetLine(n); }
    void Remove(int n)
    {
        if (n < LineCount())
            t._RemoveLine(n);
    }
    void Insert(const CString& s, int n) { t._InsertLine(s, n, 1); }
    void Set(const CString& s, int n)
    {
        if (n >= 0 && n < LineCount())
            t._SetLine(s, n);
    }
    CString Exchange(CString&& s, int n)
    {
        t._ExchangeLine(s, n);
        return std::move(s);
    }
    void RemoveBlock(int n, int count)
    {
        if (bBlocks)
            t._RemoveLines(n, count);
        else
            for (int i = 0; i < count; ++i)
                t._RemoveLine(n);
    }
    void RemoveAlternate(int n, int count)
    {
        if (bBlocks)
            t._RemoveLinesAlternate(n, count);
        else
            for (int i = 0; i < count; ++i)
                t._RemoveLine(n + i);
    }
    void InsertBlock(std::vector<CString>& lines, int n, bool bFromEnd)
    {
        if (bBlocks)
            t._InsertLines(lines, n, 1, bFromEnd);
        else if (bFromEnd)
            for (size_t i = lines.size(); i-- > 0;)
                t._InsertLine(lines[i], n, 1);
        else
            for (size_t i = 0; i < lines.size(); ++i)
                t._InsertLine(lines[i], n + (int)i, 1);
    }
    void InsertAlternate(std::vector<CString>& lines, int n)
    {
        if (bBlocks)
            t._InsertLinesAlternate(lines, n, 1);
        else
            for (size_t i = lines.size(); i-- > 0;)
                t._InsertLine(lines[i], n + (int)i, 1);
    }
    CPoint Cursor() { return caret; }
    CPoint Anchor() { return anchor; }
    void SetCursor(CPoint p) { caret = p; }
    void SetAnchor(CPoint p) { anchor = p; }
    void Visit(int n, int nLines) { visits.emplace_back(n, nLines); }
};

inline bool SameEntries(CUndoFrame a, CUndoFrame b)
{
    if (a.GetCount() != b.GetCount())
        return false;
    UndoEntry x, y;
    while (a.PopEntry(x) && b.PopEntry(y))
        if (x.kind != y.kind || x.line != y.line || x.text != y.text || x.cursor != y.cursor || x.anchor != y.anchor)
            return false;
    return true;
}

// Reads bytes as numbers; zeros once they run out.
struct Bytes
{
    const uint8_t* p;
    size_t n;
    unsigned Next()
    {
        if (!n)
            return 0;
        --n;
        return *p++;
    }
    unsigned Below(unsigned m) { return m ? (Next() | Next() << 8 | Next() << 16) % m : 0; }
};

// Lines made of pieces that matter to the colouring and the store: words,
// blanks, a tab, comment delimiters, a surrogate pair, nothing at all.
inline CString MakeLine(Bytes& b)
{
    static const wchar_t* const kPieces[] = {L"a", L"  ", L"/*", L"*/", L"//", L"x", L"\xD83D\xDE00", L"if", L"\"s\"", L"\t1"};
    CString s;
    for (unsigned k = b.Below(6); k > 0; --k)
        s += kPieces[b.Below(10)];
    return s;
}

class Model
{
public:
    explicit Model(int nLines) : m_nLines(nLines)
    {
        m_a.SetColorizer(&m_ca);
        m_b.SetColorizer(&m_cb);
    }

    // Runs the operations the bytes give; false (and why) at the first
    // difference.
    bool Run(const uint8_t* data, size_t size, std::string& why)
    {
        Bytes b{data, size};
        std::vector<CString> lines;
        for (int i = 0; i < m_nLines; ++i)
            lines.push_back(i < 64 ? MakeLine(b) : CString(L'a', i % 7));
        std::vector<CString> copy = lines;
        m_a._InsertLines(copy, 0, 0);
        for (int i = 0; i < m_nLines; ++i)
            m_b._InsertLine(lines[(size_t)i], i, 0);
        m_a.FullUpdate();
        m_b.FullUpdate();
        if (!Same(why, "load"))
            return false;
        for (int step = 0; b.n > 0 && step < 200; ++step) {
            if (!Step(b, why))
                return false;
            if (!Same(why, "step " + std::to_string(step)))
                return false;
        }
        return true;
    }

private:
    bool Step(Bytes& b, std::string& why)
    {
        const int n = (int)m_a._GetSize();
        const unsigned op = b.Below(10);
        CPoint caret((int)b.Below(9), (int)b.Below((unsigned)n + 1)), anchor((int)b.Below(9), (int)b.Below((unsigned)n));
        if (op <= 1) {
            // A selection's lines going: each recorded at one line, the
            // caret moving up one line per line, as a deleted selection does.
            const int at = (int)b.Below((unsigned)n);
            const int count = std::min(n - at, (int)(b.Below(4) == 0 ? (unsigned)n : b.Below(40)));
            CUndoFrame f;
            for (int i = 0; i < count; ++i)
                f.AddEntry(UndoEntry{m_a._GetLine(at + i), LineRemoved, at, CPoint(caret.x, caret.y - i), anchor});
            m_a._RemoveLines(at, count);
            for (int i = 0; i < count; ++i)
                m_b._RemoveLine(at);
            Push(f);
        } else if (op <= 3) {
            // Lines pasted: inserts at ascending lines, the caret at each.
            const int at = (int)b.Below((unsigned)n + 1);
            std::vector<CString> lines;
            for (unsigned k = b.Below(4) == 0 ? 1 + b.Below(3000) : b.Below(30); k > 0; --k)
                lines.push_back(MakeLine(b));
            const int bColor = (int)(b.Next() & 1);
            CUndoFrame f;
            for (size_t i = 0; i < lines.size(); ++i)
                f.AddEntry(UndoEntry{CString(), LineInserted, at + (int)i, CPoint(0, at + (int)i), anchor});
            std::vector<CString> copy = lines;
            m_a._InsertLines(copy, at, bColor);
            for (size_t i = 0; i < lines.size(); ++i)
                m_b._InsertLine(lines[i], at + (int)i, bColor);
            Push(f);
            // Words that change before the lines are read do not change
            // the colours the insert gave them.
            if (b.Below(4) == 0)
                ChangeWords(b);
        } else if (op == 4) {
            // Lines changed one by one, downwards (a block indent, or a
            // block commented out: then the block side defers the
            // recolourings that delimiters ask for to the full recolouring
            // at the end, as a frozen control does) or upwards (an undo
            // step).
            CUndoFrame f;
            const int at = (int)b.Below((unsigned)n);
            const bool bDefer = (b.Next() & 1) != 0;
            m_a.m_bDeferFullUpdate = bDefer;
            const int count = (int)b.Below(b.Below(4) == 0 ? 3000 : 20);
            for (int k = 0; k < count; ++k) {
                const int line = bDefer ? at + k : at + count - 1 - k;
                if (line >= n)
                    continue;
                const CString s = MakeLine(b);
                f.AddEntry(UndoEntry{m_a._GetLine(line), LineChanged, line, caret, anchor});
                m_a._SetLine(s, line);
                m_b._SetLine(s, line);
            }
            m_a.m_bDeferFullUpdate = false;
            if (m_a.m_bFullUpdateDue) {
                m_a.m_bFullUpdateDue = false;
                m_a.FullUpdate();
            }
            if (bDefer) {
                m_a.FullUpdate();
                m_b.FullUpdate();
            }
            Push(f);
        } else if (op == 5) {
            m_a.FullUpdate();
            m_b.FullUpdate();
        } else if (op == 8) {
            // Every line removed, each recorded at its own line, ascending,
            // as RemoveAllText records them; one empty line is left.
            CUndoFrame f;
            for (int i = 0; i < n; ++i)
                f.AddEntry(UndoEntry{m_a._GetLine(i), LineRemoved, i, caret, anchor});
            m_a._RemoveAll();
            m_b._RemoveAll();
            Push(f);
        } else if (op == 9) {
            // The words change, and no recolouring follows (yet).
            ChangeWords(b);
        } else {
            // Undo or redo of the last step.
            auto& from = op == 6 ? m_undo : m_redo;
            auto& to = op == 6 ? m_redo : m_undo;
            if (from.empty())
                return true;
            CUndoFrame f = from.back();
            from.pop_back();
            Target ta{m_a, true, caret, anchor, {}}, tb{m_b, false, caret, anchor, {}};
            CUndoFrame ra = ReplayUndoFrame(f, ta);
            CUndoFrame rb = ReferenceReplay(f, tb);
            if (ta.caret != tb.caret || ta.anchor != tb.anchor || ta.visits != tb.visits) {
                why = "the replay's caret, anchor or visits differ";
                return false;
            }
            if (!SameEntries(ra, rb)) {
                why = "the reverse frames differ";
                return false;
            }
            to.push_back(ra);
            if (b.Below(4) == 0)
                ChangeWords(b);
        }
        return true;
    }

    // A keyword added to both colorizers, or taken away.
    void ChangeWords(Bytes& b)
    {
        static const wchar_t* const kWords[] = {L"a", L"x", L"if", L"aa"};
        CString word = kWords[b.Below(4)];
        for (CSampleColorizer* c : {&m_ca, &m_cb}) {
            if (!c->m_setKeys.erase(word))
                c->InsertKey(word.GetBuffer());
        }
    }

    void Push(const CUndoFrame& f)
    {
        if (!f.IsEmpty()) {
            m_undo.push_back(f);
            m_redo.clear();
        }
    }

    bool Same(std::string& why, const std::string& where)
    {
        const int n = (int)m_a._GetSize();
        if (n != (int)m_b._GetSize()) {
            why = where + ": line counts differ";
            return false;
        }
        for (int i = 0; i < n; ++i) {
            if (m_a.LineRef(i) != m_b.LineRef(i)) {
                why = where + ": line " + std::to_string(i) + " differs";
                return false;
            }
            if (m_a._GetLineColors(i) != m_b._GetLineColors(i)) {
                why = where + ": colours of line " + std::to_string(i) + " differ";
                if (getenv("BE_DUMP"))
                    for (int k = 0; k <= i + 1 && k < n; ++k) {
                        std::string t;
                        for (int c = 0; c < m_a.LineRef(k).GetLength(); ++c)
                            t += (char)m_a.LineRef(k)[c];
                        fprintf(stderr, "%d [%s] a:", k, t.c_str());
                        for (auto c : m_a._GetLineColors(k)) fprintf(stderr, " %lx", c);
                        fprintf(stderr, " b:");
                        for (auto c : m_b._GetLineColors(k)) fprintf(stderr, " %lx", c);
                        fprintf(stderr, "\n");
                    }
                return false;
            }
        }
        if (m_a.FindMaxLineLen() != m_b.FindMaxLineLen()) {
            why = where + ": longest lines differ";
            return false;
        }
        return true;
    }

    int m_nLines;
    CSampleColorizer m_ca, m_cb;
    CScriptText m_a, m_b;
    std::vector<CUndoFrame> m_undo, m_redo;
};

} // namespace block_edit_model

// The lazy recolouring of the text store: every colour read must be the one
// the store's eager full recolouring gives after the same operations.
//
// The reference is the same store driven with a colorizer of a class
// derived from the library's (a host's colorizer that does not declare
// itself line-local), which the store recolours at once, line by line.
#include "test_util.h"
#include "text/ScriptText.h"

#include <cstdint>
#include <memory>
#include <random>
#include <string>

namespace {

// The library's colorizers, as a host's: recoloured eagerly.
class EagerSample : public CSampleColorizer
{
};
class EagerBase : public CColorizer
{
};

// Counts the lines it colours; declares itself line-local when asked to.
class CountingColorizer : public CSampleColorizer
{
public:
    explicit CountingColorizer(bool bLineLocal) : m_bLineLocal(bLineLocal) {}
    void SetLineColors(const CString& line, std::vector<unsigned long>& colors) override
    {
        ++m_nCalls;
        CSampleColorizer::SetLineColors(line, colors);
    }
    bool IsLineLocal() const override { return m_bLineLocal; }
    bool m_bLineLocal;
    long m_nCalls = 0;
};

bool HasDelimiter(const CString& s) { return s.Find(L"/*") >= 0 || s.Find(L"*/") >= 0; }

// What the control's primitives do with the store.
void InsertTextLine(CScriptText& t, const CString& s, int n, int bColor)
{
    t._InsertLine(s, n, bColor);
    if (HasDelimiter(s))
        t.FullUpdate();
}

int RemoveTextLine(CScriptText& t, int n)
{
    const CString old = t._GetLine(n);
    t._RemoveLine(n);
    if (!HasDelimiter(old))
        return 0;
    t.FullUpdate();
    return 1;
}

// The colours a full recolouring gives the text with these words.
std::vector<Colors> FreshColours(const CScriptText& t, const CColorizer& words)
{
    CSampleColorizer c;
    c.m_setKeys = words.m_setKeys;
    c.m_setOps = words.m_setOps;
    c.m_setFuncs = words.m_setFuncs;
    std::vector<Colors> out((size_t)t._GetSize());
    for (int i = 0; i < (int)t._GetSize(); ++i)
        c.SetLineColors(t.LineRef(i), out[(size_t)i]);
    return out;
}

// A script of n lines: code, a block comment closed on line 5, code.
void FillScript(CScriptText& t, int n)
{
    for (int i = 0; i < n; ++i) {
        const wchar_t* s = i == 5 ? L" */ x = 1;" : i % 7 == 3 ? L"y = sin(x); // note" : L"variable x = 1 and 2;";
        t._InsertLine(CString(s), i, 0);
    }
    t.FullUpdate();
}

} // namespace

TEST(LazyColour, OpenerRecoloursOnlyUntilTheStateMeetsTheOld)
{
    CountingColorizer c(true);
    AddBuiltinWords(c);
    CScriptText t;
    t.SetColorizer(&c);
    FillScript(t, 20000);
    t._GetLineColors(19999); // everything coloured once
    EXPECT_EQ(20000, c.m_nCalls);

    c.m_nCalls = 0;
    EXPECT_EQ(1, t._SetLine(L"/*variable x = 1 and 2;", 1));
    for (int i = 0; i < 40; ++i) // the screen
        t._GetLineColors(i);
    // Line 1 and the lines up to the "*/" on line 5; from line 6 on the state
    // is the one the old colours were made with.
    EXPECT_EQ(5, c.m_nCalls);
    EXPECT_EQ(Same(t.LineRef(4).GetLength(), COLOR_OPEN_COMMENT), t._GetLineColors(4));
    EXPECT_EQ(COLOR_CLOSED_COMMENT, t._GetLineColors(5)[0]);
    t._GetLineColors(19999);
    EXPECT_EQ(1, t.IsCommentOut(0, 1));
    EXPECT_EQ(5, c.m_nCalls);
}

TEST(LazyColour, OpenerWithoutCloserColoursAsFarAsRead)
{
    CountingColorizer c(true);
    CScriptText t;
    t.SetColorizer(&c);
    for (int i = 0; i < 10000; ++i)
        t._InsertLine(L"x = 1; // note", i, 0);
    t.FullUpdate();
    EXPECT_EQ(0, c.m_nCalls); // nothing read yet
    t._GetLineColors(49);
    EXPECT_EQ(50, c.m_nCalls);

    c.m_nCalls = 0;
    t._SetLine(L"/* x = 1;", 1);
    t._GetLineColors(49);
    EXPECT_EQ(49, c.m_nCalls); // lines 1 to 49
    EXPECT_EQ(COLOR_OPEN_COMMENT, t._GetLineColors(9999)[0]);
    EXPECT_EQ(9999, c.m_nCalls);
    EXPECT_EQ(1, t.IsCommentOut(2, 5000));
}

TEST(LazyColour, ReadingFarAheadColoursOnlyWhatIsRead)
{
    // The library's colorizer follows the comment state over the lines it
    // passes; their colour vectors stay unmade until they are read.
    CSampleColorizer c;
    CScriptText t;
    t.SetColorizer(&c);
    for (int i = 0; i < 10000; ++i)
        t._InsertLine(i == 3 ? L"/* open" : i == 7000 ? L"*/ x" : L"x = 1; // note", i, 0);
    t.FullUpdate();
    EXPECT_EQ(Runs({ { 2, COLOR_CLOSED_COMMENT }, { 2, COLOR_DEFAULT } }), t._GetLineColors(7000));
    EXPECT_TRUE(t.m_LineColors[5000].empty());
    EXPECT_EQ(Runs({ { 7, COLOR_OPEN_COMMENT }, { 7, COLOR_CLOSED_COMMENT } }), t._GetLineColors(5000));
    EXPECT_EQ(0, t.IsCommentOut(0, 7001));
    EXPECT_EQ(1, t.IsCommentOut(0, 6999));
}

TEST(LazyColour, HostColorizerRecoloursEverythingAtOnceUnlessLineLocal)
{
    CountingColorizer eager(false), local(true);
    CScriptText a, b;
    a.SetColorizer(&eager);
    b.SetColorizer(&local);
    for (int i = 0; i < 1000; ++i) {
        a._InsertLine(L"x = 1;", i, 0);
        b._InsertLine(L"x = 1;", i, 0);
    }
    a.FullUpdate();
    b.FullUpdate();
    EXPECT_EQ(1000, eager.m_nCalls);
    EXPECT_EQ(0, local.m_nCalls);
    b._GetLineColors(9);
    EXPECT_EQ(10, local.m_nCalls);
}

TEST(LazyColour, OutstandingLinesKeepTheWordsOfTheirRecolouring)
{
    CSampleColorizer c;
    CScriptText t;
    t.SetColorizer(&c);
    for (int i = 0; i < 100; ++i)
        t._InsertLine(L"foo = 1;", i, 0);
    t.FullUpdate();
    t._GetLineColors(0);
    AddKey(c, L"foo"); // takes effect at the next recolouring only
    EXPECT_EQ(COLOR_DEFAULT, t._GetLineColors(99)[0]);
    t.FullUpdate();
    EXPECT_EQ(COLOR_KEYWORD, t._GetLineColors(99)[0]);
    EXPECT_EQ(COLOR_KEYWORD, t._GetLineColors(0)[0]);
}

TEST(LazyColour, InsertedLineTakesTheStateTheLastLineLeaves)
{
    // After a full recolouring the colorizer's flag is what the last line
    // leaves; a line inserted with colouring starts from it, however little
    // of the text has been read.
    CSampleColorizer c;
    CScriptText t, ref;
    EagerSample e;
    t.SetColorizer(&c);
    ref.SetColorizer(&e);
    for (CScriptText* s : { &t, &ref }) {
        for (int i = 0; i < 500; ++i)
            s->_InsertLine(i == 499 ? L"/* open at the end" : L"x = 1;", i, 0);
        s->FullUpdate();
        s->_GetLineColors(3);
        s->_InsertLine(L"inserted", 2, 1);
    }
    EXPECT_EQ(Same(8, COLOR_OPEN_COMMENT), t._GetLineColors(2));
    EXPECT_EQ(ref._GetLineColors(2), t._GetLineColors(2));
}

TEST(LazyColour, CopyAndColorizerChangeSeeTheColoursAsRead)
{
    CSampleColorizer c;
    CScriptText t;
    t.SetColorizer(&c);
    FillScript(t, 300);
    t._SetLine(L"/* x", 1);
    CScriptText copy;
    copy = t; // copies the colours every line reads
    EXPECT_EQ(COLOR_OPEN_COMMENT, copy._GetLineColors(4)[0]);
    EXPECT_EQ(COLOR_DEFAULT, copy._GetLineColors(299)[0]);
    EXPECT_EQ(t._GetLineColors(299), copy._GetLineColors(299));

    t._SetLine(L"/* y", 2);
    CColorizer plain;
    t.SetColorizer(&plain); // the outstanding lines are coloured by c first
    EXPECT_EQ(COLOR_OPEN_COMMENT, t._GetLineColors(3)[0]);
}

// A host's line-local colorizer whose colours change with a setting of its
// own: a recolouring the host asks for recolours every line, and so does a
// colorizer of another class made where the last one lived.
TEST(LazyColour, ARecolouringForAHostColorizerOrANewOneAtTheSameAddressRecoloursAll)
{
    struct Tinted : CSampleColorizer
    {
        unsigned long tint = 0;
        void SetLineColors(const CString& line, std::vector<unsigned long>& colors) override
        {
            CSampleColorizer::SetLineColors(line, colors);
            for (auto& c : colors)
                c ^= tint;
        }
        bool IsLineLocal() const override { return true; }
    };
    Tinted c;
    CScriptText t;
    t.SetColorizer(&c);
    FillScript(t, 50);
    const Colors before = t._GetLineColors(40);
    c.tint = 0x10;
    t.ForgetColours(); // as the control's Recolorize does
    t.FullUpdate();
    EXPECT_EQ(before[0] ^ 0x10, t._GetLineColors(40)[0]);

    alignas(CSampleColorizer) unsigned char storage[sizeof(CSampleColorizer) + sizeof(CColorizer)];
    CColorizer* p = new (storage) CSampleColorizer;
    CScriptText u;
    u.SetColorizer(p);
    u._InsertLine(CString(L"// all comment"), 0, 0);
    u.FullUpdate();
    const Colors sample = u._GetLineColors(0);
    p->~CColorizer();
    p = new (storage) CColorizer; // the host's new colorizer, same place
    u.FullUpdate();
    Colors plain;
    CColorizer().SetLineColors(CString(L"// all comment"), plain);
    EXPECT_EQ(plain, u._GetLineColors(0));
    EXPECT_NE(sample, plain);
    p->~CColorizer();
}

namespace {

// One store under test beside the reference, both with the same words.
struct Twin
{
    std::unique_ptr<CColorizer> colorizer, refColorizer;
    CScriptText lazy, ref;
    bool readAll; // read every line after each step, else a window
};

std::unique_ptr<Twin> MakeTwin(int kind, bool readAll)
{
    std::unique_ptr<Twin> t(new Twin);
    if (kind == 0) {
        t->colorizer.reset(new CSampleColorizer);
        t->refColorizer.reset(new EagerSample);
    } else if (kind == 1) {
        t->colorizer.reset(new CountingColorizer(true)); // a host's, line-local
        t->refColorizer.reset(new EagerSample);
    } else {
        t->colorizer.reset(new CColorizer);
        t->refColorizer.reset(new EagerBase);
    }
    AddBuiltinWords(*t->colorizer);
    AddBuiltinWords(*t->refColorizer);
    t->lazy.SetColorizer(t->colorizer.get());
    t->ref.SetColorizer(t->refColorizer.get());
    t->readAll = readAll;
    return t;
}

class Fuzz
{
public:
    explicit Fuzz(uint32_t seed) : m_rng(seed) {}

    int Pick(int n) { return (int)(m_rng() % (uint32_t)n); }

    CString Token()
    {
        static const wchar_t* const tokens[] = { L"/*", L"*/", L"//", L"\"", L"x", L"and", L"sin", L" ",
                                                 L"y = 1;", L"@-", L"@:", L"a", L"/", L"*", L"foo" };
        return tokens[Pick((int)(sizeof tokens / sizeof tokens[0]))];
    }
    CString Line()
    {
        CString s;
        for (int n = Pick(6); n > 0; --n)
            s += Token();
        return s;
    }
    CString Edit(CString s)
    {
        const int pos = Pick(s.GetLength() + 1);
        if (Pick(3) == 0 && s.GetLength() > 0) {
            s.Delete(std::min(pos, s.GetLength() - 1), 1 + Pick(2));
        } else {
            s.Insert(pos, Token());
        }
        return s;
    }

private:
    std::mt19937 m_rng;
};

// One step on both stores; true when it ended in a full recolouring.
bool Step(Fuzz& f, Twin& t, std::string& what)
{
    CScriptText* both[] = { &t.lazy, &t.ref };
    const int size = (int)t.ref._GetSize();
    const int op = f.Pick(100);
    const int n = f.Pick(size);
    if (op < 40) {
        const CString s = f.Edit(t.ref._GetLine(n));
        what = "set line " + std::to_string(n);
        int r = 0;
        for (CScriptText* s2 : both)
            r = s2->_SetLine(s, n);
        return r == 1;
    }
    if (op < 58 || size < 3) {
        const CString s = f.Line();
        const int at = f.Pick(size + 1), color = f.Pick(5) != 0;
        what = "insert line " + std::to_string(at);
        for (CScriptText* s2 : both)
            InsertTextLine(*s2, s, at, color);
        return HasDelimiter(s);
    }
    if (op < 72 || size > 80) {
        what = "remove line " + std::to_string(n);
        int r = 0;
        for (CScriptText* s2 : both)
            r = RemoveTextLine(*s2, n);
        return r == 1;
    }
    if (op < 80) {
        const int up = f.Pick(2);
        what = "reset colours from " + std::to_string(n);
        for (CScriptText* s2 : both)
            s2->ResetTextColor(n, up);
        return false;
    }
    if (op < 88) {
        what = "full update";
        for (CScriptText* s2 : both)
            s2->FullUpdate();
        return true;
    }
    if (op < 92) {
        // Lines pasted or loaded: uncoloured, then one recolouring.
        const int at = f.Pick(size + 1), count = 1 + f.Pick(6);
        what = "paste at " + std::to_string(at);
        std::vector<CString> lines;
        for (int i = 0; i < count; ++i)
            lines.push_back(f.Line());
        for (CScriptText* s2 : both) {
            for (int i = 0; i < count; ++i)
                s2->_InsertLine(lines[(size_t)i], at + i, 0);
            s2->FullUpdate();
        }
        return true;
    }
    if (op < 94) {
        const wchar_t* words[] = { L"x", L"a", L"foo", L"y" };
        const wchar_t* w = words[f.Pick(4)];
        what = "add key";
        AddKey(*t.colorizer, w);
        AddKey(*t.refColorizer, w);
        return false;
    }
    if (op < 96) {
        what = "copy out and back";
        for (CScriptText* s2 : both) {
            CScriptText tmp;
            tmp = *s2;
            *s2 = tmp;
        }
        return false;
    }
    if (op < 97) {
        what = "remove all";
        for (CScriptText* s2 : both)
            s2->_RemoveAll();
        return false;
    }
    what = "set line 0";
    const CString s = f.Edit(t.ref._GetLine(0));
    for (CScriptText* s2 : both)
        s2->_SetLine(s, 0);
    return false;
}

void CompareLine(Twin& t, int i, int step, const std::string& what)
{
    const Colors& want = t.ref._GetLineColors(i);
    ASSERT_EQ(want, t.lazy._GetLineColors(i)) << "line " << i << " after step " << step << " (" << what << ")";
    if (!want.empty()) {
        const int col = (int)((unsigned)(step * 7 + i) % want.size());
        ASSERT_EQ(t.ref.IsCommentOut(col, i), t.lazy.IsCommentOut(col, i)) << "line " << i << " step " << step;
    }
}

void RunFuzz(int steps, uint32_t seed)
{
    Fuzz f(seed);
    std::vector<std::unique_ptr<Twin>> twins;
    twins.push_back(MakeTwin(0, true));  // the control's colorizer, every line read
    twins.push_back(MakeTwin(0, false)); // the same, read a window at a time
    twins.push_back(MakeTwin(1, false)); // a host's line-local colorizer
    twins.push_back(MakeTwin(2, false)); // the store's own base colorizer
    for (auto& t : twins) {
        for (int i = 0; i < 30; ++i) {
            const CString s = f.Line();
            t->lazy._InsertLine(s, i, 0);
            t->ref._InsertLine(s, i, 0);
        }
        t->lazy.FullUpdate();
        t->ref.FullUpdate();
    }
    for (int step = 0; step < steps; ++step) {
        for (auto& pt : twins) {
            Twin& t = *pt;
            std::string what;
            const bool full = Step(f, t, what);
            const int size = (int)t.ref._GetSize();
            ASSERT_EQ(size, (int)t.lazy._GetSize());
            if (t.readAll || step % 17 == 0) {
                for (int i = 0; i < size; ++i) {
                    CompareLine(t, i, step, what);
                    if (testing::Test::HasFatalFailure())
                        return;
                }
            } else {
                // A screen's worth somewhere, as a paint reads it.
                const int first = f.Pick(size);
                for (int i = first; i < std::min(size, first + 1 + f.Pick(12)); ++i) {
                    CompareLine(t, i, step, what);
                    if (testing::Test::HasFatalFailure())
                        return;
                }
            }
            if (full && t.readAll) {
                // Right after a recolouring: what a fresh full recolouring gives.
                const std::vector<Colors> fresh = FreshColours(t.ref, *t.refColorizer);
                for (int i = 0; i < size; ++i)
                    ASSERT_EQ(fresh[(size_t)i], t.lazy._GetLineColors(i))
                        << "fresh recolouring, line " << i << " after step " << step << " (" << what << ")";
            }
        }
    }
}

} // namespace

TEST(LazyColour, RandomEditsReadAsTheEagerStore)
{
#if defined(__SANITIZE_ADDRESS__)
    const int steps = 20000; // the sanitizers slow each step down tenfold
#else
    const int steps = 100000;
#endif
    RunFuzz(steps, 20261123u);
}

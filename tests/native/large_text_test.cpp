// The parts of the store and the framework that big documents lean on,
// each checked against a plain model over many random operations: the
// longest-line length the store keeps up to date, the pointer-sized
// CString (and its block allocator), and undo frames that hold runs of
// entries as one record.
#include "editor/UndoFrame.h"
#include "text/ScriptText.h"
#include "test_util.h"

#include <algorithm>
#include <random>
#include <string>

namespace {

long ScanMax(const CScriptText& t)
{
    long m = 0;
    for (int i = 0; i < t._GetSize(); ++i)
        m = std::max(m, (long)t.LineRef(i).GetLength());
    return m;
}

CString RandomLine(std::mt19937& rng)
{
    static const wchar_t* const pieces[] = { L"x", L"variable", L" ", L"/*", L"*/", L"//", L"\"", L"sin", L"1.5",
                                             L"", L"abcdefghijklmnopqrstuvwxyz" };
    CString s;
    const int n = (int)(rng() % 6);
    for (int i = 0; i < n; ++i)
        s += pieces[rng() % (sizeof pieces / sizeof pieces[0])];
    // Now and then a line much longer than the rest, so that the longest
    // one keeps changing hands.
    if (rng() % 50 == 0)
        s += CString(L'q', (int)(rng() % 400));
    return s;
}

} // namespace

// After every operation that refreshes it, m_nMaxLineLen is what a scan of
// every line gives; FindMaxLineLen gives it at any time.
TEST(LargeText, LongestLineFollowsEveryOperation)
{
    std::mt19937 rng(20261123);
    CSampleColorizer colorizer;
    CScriptText t, other;
    t.SetColorizer(&colorizer);
    t._RemoveAll();
    for (int op = 0; op < 100000; ++op) {
        const int size = (int)t._GetSize();
        const int line = size ? (int)(rng() % (unsigned)size) : 0;
        bool refreshed = true;
        switch (rng() % 16) {
        case 0: case 1: case 2: case 3:
            if (size < 300) {
                const bool color = rng() % 2;
                t._InsertLine(RandomLine(rng), (int)(rng() % (unsigned)(size + 2)), color);
                refreshed = color; // an uncoloured insert leaves the cached value
                break;
            }
            [[fallthrough]];
        case 4: case 5: case 6:
            if (size > 1) {
                t._RemoveLine(line);
                break;
            }
            [[fallthrough]];
        case 7: case 8: case 9: case 10: case 11:
            if (size > 0)
                t._SetLine(RandomLine(rng), line);
            break;
        case 12:
            t.ResetTextColor(line, (int)(rng() % 2));
            break;
        case 13:
            if (rng() % 20 == 0)
                t._RemoveAll();
            else
                t.FullUpdate();
            break;
        case 14:
            // Assignment copies the lines; the cached value stays as it was.
            other = t;
            EXPECT_EQ(ScanMax(other), other.FindMaxLineLen());
            refreshed = false;
            break;
        default:
            // A bad index changes nothing.
            ExpectInvalidArg([&] { t._SetLine(CString(L"x"), size); });
            break;
        }
        const long expected = ScanMax(t);
        if (refreshed) {
            ASSERT_EQ(expected, t.m_nMaxLineLen) << "operation " << op;
        }
        ASSERT_EQ(expected, t.FindMaxLineLen()) << "operation " << op;
        ASSERT_EQ((size_t)t._GetSize(), t.m_LineColors.size());
    }
}

// Every CString operation against std::wstring doing the same, including
// texts taken from the string itself and lengths that cross the boundary
// between slab blocks and heap blocks.
TEST(LargeText, CStringMatchesAStandardString)
{
    std::mt19937 rng(7);
    std::vector<CString> s(8);
    std::vector<std::wstring> m(8);
    auto randomText = [&](int maxLen) {
        std::wstring w;
        const int n = (int)(rng() % (unsigned)(maxLen + 1));
        for (int i = 0; i < n; ++i)
            w += (wchar_t)(L'a' + rng() % 4);
        return w;
    };
    for (int op = 0; op < 60000; ++op) {
        const size_t k = rng() % s.size(), j = rng() % s.size();
        const int len = (int)m[k].size();
        const int pos = (int)(rng() % (unsigned)(len + 3)) - 1;
        const int cnt = (int)(rng() % 700) - 3;
        switch (rng() % 14) {
        case 0: {
            std::wstring w = randomText(rng() % 8 == 0 ? 2000 : 40);
            s[k] = w.c_str();
            m[k] = w;
            break;
        }
        case 1: {
            std::wstring w = randomText(30);
            s[k] += w.c_str();
            m[k] += w;
            break;
        }
        case 2:
            s[k].AppendChar(L'z');
            m[k] += L'z';
            break;
        case 3: {
            const int at = std::clamp(pos, 0, len);
            s[k].Insert(pos, L'y');
            m[k].insert((size_t)at, 1, L'y');
            break;
        }
        case 4: {
            const int at = std::max(pos, 0);
            s[k].Delete(pos, cnt);
            if (cnt > 0 && at < len)
                m[k].erase((size_t)at, (size_t)std::min(cnt, len - at));
            break;
        }
        case 5: // its own tail inserted into itself, or itself appended to itself
            if (len > 0 && rng() % 2) {
                const int at = (int)(rng() % (unsigned)len);
                const std::wstring piece = m[k].substr((size_t)at);
                s[k].Insert(at, s[k].GetString() + at);
                m[k].insert((size_t)at, piece);
            } else if (len < 5000) {
                s[k] += s[k];
                m[k] += std::wstring(m[k]);
            }
            break;
        case 6: // a piece of itself, assigned to itself
            if (len > 0) {
                const int at = (int)(rng() % (unsigned)len);
                s[k].SetString(s[k].GetString() + at, len - at);
                m[k] = m[k].substr((size_t)at);
            }
            break;
        case 7:
            s[k] = s[j];
            m[k] = m[j];
            break;
        case 8:
            s[k] = std::move(s[j]);
            m[k] = m[j];
            s[j].Empty();
            m[j].clear();
            break;
        case 9: {
            const int a = std::clamp(pos, 0, len);
            const int n = std::clamp(cnt, 0, len - a);
            s[k] = s[k].Mid(pos, cnt);
            m[k] = m[k].substr((size_t)a, (size_t)n);
            break;
        }
        case 10: {
            s[k].Replace(L"ab", L"c");
            size_t p = 0;
            while ((p = m[k].find(L"ab", p)) != std::wstring::npos) {
                m[k].replace(p, 2, L"c");
                p += 1;
            }
            break;
        }
        case 11: {
            const wchar_t* sub = rng() % 2 ? L"ab" : L"dca";
            const int from = std::max(0, std::min(pos, len));
            const size_t p = m[k].find(sub, (size_t)from);
            EXPECT_EQ(p == std::wstring::npos ? -1 : (int)p, s[k].Find(sub, from));
            const size_t c = m[k].find(L'd');
            EXPECT_EQ(c == std::wstring::npos ? -1 : (int)c, s[k].Find(L'd'));
            break;
        }
        case 12: {
            const int cmp = m[k].compare(m[j]);
            EXPECT_EQ(cmp < 0, s[k] < s[j]);
            EXPECT_EQ(cmp == 0, s[k] == s[j]);
            EXPECT_EQ(cmp < 0 ? -1 : cmp > 0, std::clamp(s[k].Compare(s[j]), -1, 1));
            break;
        }
        default: {
            wchar_t* p = s[k].GetBufferSetLength(len + 2);
            p[len] = L'w';
            p[len + 1] = L'v';
            s[k].ReleaseBuffer(len + 1);
            m[k] += L'w';
            break;
        }
        }
        ASSERT_EQ((int)m[k].size(), s[k].GetLength()) << "operation " << op;
        ASSERT_EQ(0, std::wcscmp(m[k].c_str(), s[k].GetString())) << "operation " << op;
    }
}

// A frame gives its entries back last first, whatever runs it merged them
// into; runs form only from inserts that count lines up.
TEST(LargeText, UndoFrameRunsGiveEntriesBackInOrder)
{
    std::mt19937 rng(99);
    for (int round = 0; round < 200; ++round) {
        CUndoFrame frame;
        std::vector<UndoEntry> model;
        int line = (int)(rng() % 5), y = (int)(rng() % 5);
        const int n = (int)(rng() % 300);
        for (int i = 0; i < n; ++i) {
            UndoEntry e{ CString(), LineInserted, line, CPoint(0, y), CPoint(1, 2) };
            switch (rng() % 8) {
            case 0: e.text = L"old"; e.kind = LineChanged; break;
            case 1: e.kind = LineRemoved; break;
            case 2: e.anchor = CPoint(3, 3); break;
            case 3: e.line += 2; break;
            case 4: e.cursor.y += 3; break;
            case 5: e.cursor.x += 1; break;
            default: break; // continues a run
            }
            frame.AddEntry(e);
            model.push_back(e);
            line = e.line + 1;
            y = e.cursor.y + 1;
        }
        ASSERT_EQ(model.size(), frame.GetCount());
        CUndoFrame copy = frame;
        UndoEntry e;
        while (!model.empty()) {
            ASSERT_EQ(model.back().line, copy.Top().line);
            ASSERT_TRUE(copy.PopEntry(e));
            const UndoEntry& x = model.back();
            ASSERT_EQ(x.text, e.text);
            ASSERT_EQ(x.kind, e.kind);
            ASSERT_EQ(x.line, e.line);
            ASSERT_EQ(x.cursor, e.cursor);
            ASSERT_EQ(x.anchor, e.anchor);
            model.pop_back();
        }
        EXPECT_FALSE(copy.PopEntry(e));
        EXPECT_TRUE(copy.IsEmpty());
        EXPECT_EQ((size_t)n, frame.GetCount()); // the copy was independent
    }
}

// A loaded text's frame: one record however many lines.
TEST(LargeText, MillionInsertsFormOneRun)
{
    CUndoFrame frame;
    for (int i = 0; i < 1000000; ++i)
        frame.AddEntry(UndoEntry{ CString(), LineInserted, i, CPoint(0, i), CPoint(0, 0) });
    EXPECT_EQ(1000000u, frame.GetCount());
    UndoEntry e;
    ASSERT_TRUE(frame.PopEntry(e));
    EXPECT_EQ(999999, e.line);
    EXPECT_EQ(CPoint(0, 999999), e.cursor);
    CUndoFrame moved(std::move(frame));
    EXPECT_TRUE(frame.IsEmpty());
    EXPECT_EQ(999999u, moved.GetCount());
}

namespace {
// The same colouring under another dynamic type: the colorizer then asks
// its word sets for every word, remembering nothing.
class UncachedColorizer : public CSampleColorizer {
};
} // namespace

// Long lines are coloured with recent words remembered; the colours are
// those of asking for every word, whatever words repeat or collide.
TEST(LargeText, LongLinesColourAsWordByWord)
{
    std::mt19937 rng(3);
    CSampleColorizer fast;
    UncachedColorizer plain;
    for (CColorizer* c : { (CColorizer*)&fast, (CColorizer*)&plain }) {
        AddBuiltinWords(*c);
        AddKey(*c, L"define");
        AddKey(*c, L"x1");
    }
    static const wchar_t* const words[] = { L"sin", L"and", L"define", L"x1", L"x2", L"1x", L"Sin", L"or", L"xor",
                                            L"abs", L"a", L"b", L"\x00E9t\x00E9", L"log10", L"log" };
    static const wchar_t* const gaps[] = { L" ", L"  ", L"(", L");", L" /* ", L" */ ", L" // ", L"\"", L", " };
    for (int round = 0; round < 200; ++round) {
        CString line;
        const int n = 100 + (int)(rng() % 400);
        for (int i = 0; i < n || line.GetLength() < 512; ++i) {
            line += words[rng() % (sizeof words / sizeof words[0])];
            line += gaps[rng() % (rng() % 4 ? 2 : sizeof gaps / sizeof gaps[0])];
        }
        ASSERT_GE(line.GetLength(), 512);
        Colors a, b;
        fast.m_bInComment = plain.m_bInComment = rng() % 2;
        fast.SetLineColors(line, a);
        plain.SetLineColors(line, b);
        ASSERT_EQ(b, a) << "round " << round;
        ASSERT_EQ(plain.m_bInComment, fast.m_bInComment);
    }
}

namespace {

// The block-comment, line-comment and string rules of the sample colorizer
// written the plain way: every pair paints its span at once.
Colors ReferenceColors(const std::wstring& line, bool& inComment)
{
    const int len = (int)line.size();
    Colors c((size_t)len, COLOR_DEFAULT);
    auto fill = [&](int from, int to, unsigned long color) {
        for (int i = std::max(from, 0); i < std::min(to, len); ++i)
            c[(size_t)i] = color;
    };
    auto find = [&](const wchar_t* s, int from) {
        const size_t p = line.find(s, (size_t)from);
        return p == std::wstring::npos ? -1 : (int)p;
    };
    if (len >= 2) {
        int close = 0, open = 0;
        for (;;) {
            const int seg = open;
            if (close < 0 && open < 0)
                break;
            close = (close >= 0 && close < len) ? find(L"*/", close) : -1;
            open = (open >= 0 && open < len) ? find(L"/*", open) : -1;
            if (close >= 0 && open >= 0 && close <= open) {
                fill(0, close + 2, COLOR_CLOSED_COMMENT);
                fill(open, len, COLOR_OPEN_COMMENT);
            } else if (close >= 0 && open >= 0) {
                fill(open, close + 2, COLOR_CLOSED_COMMENT);
            } else if (close >= 0) {
                fill(0, close + 2, COLOR_CLOSED_COMMENT);
                inComment = false;
            } else if (open >= 0) {
                fill(open, len, COLOR_OPEN_COMMENT);
                inComment = true;
            } else {
                if (inComment)
                    fill(seg, len, COLOR_OPEN_COMMENT);
                break;
            }
            if (close >= 0)
                close += 2;
            if (open >= 0)
                open += 2;
        }
    }
    const int slashes = find(L"//", 0);
    if (slashes >= 0)
        fill(slashes, len, COLOR_CLOSED_COMMENT);
    const int q1 = find(L"\"", 0);
    if (q1 >= 0) {
        const int q2 = find(L"\"", q1 + 1);
        if (q2 >= 0)
            for (int i = q1; i <= q2; ++i)
                if (!IsCommentColor(c[(size_t)i]))
                    c[(size_t)i] = COLOR_STRING;
    }
    return c;
}

} // namespace

// Lines with many comment delimiters in any order colour as painting each
// comment span at once does (the colorizer gathers the spans and paints
// them in one sweep), and a line of 100,000 of them takes linear time.
TEST(LargeText, ManyCommentSpansOnOneLine)
{
    std::mt19937 rng(11);
    static const wchar_t* const pieces[] = { L"/*", L"*/", L"/", L"*", L"x", L" ", L"//", L"\"", L"*/*", L"/*/" };
    for (int round = 0; round < 3000; ++round) {
        std::wstring w = L"a";
        const int n = (int)(rng() % 120);
        for (int i = 0; i < n; ++i)
            w += pieces[rng() % (sizeof pieces / sizeof pieces[0])];
        CSampleColorizer c;
        bool expectFlag = rng() % 2;
        c.m_bInComment = expectFlag;
        Colors got;
        c.SetLineColors(CString(w.c_str()), got);
        ASSERT_EQ(ReferenceColors(w, expectFlag), got) << "round " << round;
        ASSERT_EQ(expectFlag, c.m_bInComment) << "round " << round;
    }
    std::wstring big;
    for (int i = 0; i < 100000; ++i)
        big += L"*/ x /* y ";
    CSampleColorizer c;
    Colors got;
    c.SetLineColors(CString(big.c_str()), got);
    ASSERT_EQ(big.size(), got.size());
    EXPECT_EQ(COLOR_CLOSED_COMMENT, got[0]);
    EXPECT_EQ(COLOR_OPEN_COMMENT, got.back());
}

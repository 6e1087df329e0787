#include "Colorizer.h"
#include "CommentScan.h"
#include "WordTable.h"
#include <cwctype>
#include <algorithm>
#include <queue>
#include <memory>
#include <typeinfo>

namespace {

// Which ASCII characters are word characters: letters, digits and '_'.
struct AsciiWordChars
{
    bool is[128];
    AsciiWordChars() : is()
    {
        for (int c = 0; c < 128; ++c)
            is[c] = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    }
};
const AsciiWordChars kAscii;

// Letters, digits (of the runtime's wide classification) and '_'.
inline bool IsWordChar(wchar_t c)
{
    if ((unsigned)c < 0x80)
        return kAscii.is[(unsigned)c];
    return iswalnum((wint_t)c) != 0;
}

// Whether s holds exactly the n characters at p.
inline bool SameText(const CString& s, const wchar_t* p, int n)
{
    if (s.GetLength() != n)
        return false;
    const wchar_t* q = s.GetString();
    for (int k = 0; k < n; ++k)
        if (q[k] != p[k])
            return false;
    return true;
}

// Paints [from, to) clamped to the vector.
inline void Fill(std::vector<unsigned long>& colors, int from, int to, unsigned long c)
{
    if (from < 0)
        from = 0;
    if (to > (int)colors.size())
        to = (int)colors.size();
    for (int i = from; i < to; ++i)
        colors[(size_t)i] = c;
}

struct Span
{
    int from, to; // [from, to), clamped to the line when painted
    unsigned long color;
};

// The spans of one line: the first few in place (a line seldom has more
// than a comment or two), more on the heap.
class Spans
{
public:
    void push_back(const Span& s)
    {
        if (m_n < kLocal)
            m_local[m_n] = s;
        else
            m_more.push_back(s);
        ++m_n;
    }
    size_t size() const { return m_n; }
    const Span& operator[](size_t i) const { return i < kLocal ? m_local[i] : m_more[i - kLocal]; }

private:
    static const size_t kLocal = 8;
    Span m_local[kLocal];
    std::vector<Span> m_more;
    size_t m_n = 0;
};

// Paints spans given in order, so that each character ends in the colour
// of the last span that covers it: exactly what painting them one after the
// other gives, in time linear in the line and the number of spans.
void PaintSpans(std::vector<unsigned long>& colors, const Spans& spans)
{
    const int len = (int)colors.size();
    if (spans.size() <= 8) {
        for (size_t i = 0; i < spans.size(); ++i)
            Fill(colors, spans[i].from, spans[i].to, spans[i].color);
        return;
    }
    // Sweep the line: at each span boundary the colour is that of the
    // latest span still open there (a heap of open spans by their order;
    // spans already closed are dropped when they come to the top).
    struct Edge
    {
        int pos;
        int span; // index into spans
        bool opens;
    };
    std::vector<Edge> edges;
    edges.reserve(spans.size() * 2);
    for (size_t i = 0; i < spans.size(); ++i) {
        const int from = std::max(spans[i].from, 0), to = std::min(spans[i].to, len);
        if (from < to) {
            edges.push_back({ from, (int)i, true });
            edges.push_back({ to, (int)i, false });
        }
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.pos < b.pos; });
    std::vector<char> closed(spans.size(), 0);
    std::priority_queue<int> open;
    int at = 0;
    for (size_t e = 0; e < edges.size();) {
        const int pos = edges[e].pos;
        while (!open.empty() && closed[(size_t)open.top()])
            open.pop();
        if (!open.empty() && pos > at)
            Fill(colors, at, pos, spans[(size_t)open.top()].color);
        for (; e < edges.size() && edges[e].pos == pos; ++e) {
            if (edges[e].opens)
                open.push(edges[e].span);
            else
                closed[(size_t)edges[e].span] = 1;
        }
        at = pos;
    }
}

// The block-comment pass of CSampleColorizer over a line of two or more
// characters: the spans it paints (when spans is given) and the in-comment
// flag it leaves. The searches resume two characters after each match; "*/"
// before "/*" on one line leaves the flag alone, and with the flag set a
// line with no further delimiter is comment from the last open-search
// position on.
bool ScanBlockComments(const CString& line, bool bInComment, Spans* spans)
{
    const int len = line.GetLength();
    auto paint = [&](int from, int to, unsigned long c) {
        if (spans)
            spans->push_back({ from, to, c });
    };
    int close = 0, open = 0;
    for (;;) {
        const int seg = open;
        if (close < 0 && open < 0)
            break;
        close = (close >= 0 && close < len) ? line.Find(L"*/", close) : -1;
        open = (open >= 0 && open < len) ? line.Find(L"/*", open) : -1;
        if (close >= 0 && open >= 0 && close <= open) {
            paint(0, close + 2, COLOR_CLOSED_COMMENT);
            paint(open, len, COLOR_OPEN_COMMENT);
        } else if (close >= 0 && open >= 0) {
            paint(open, close + 2, COLOR_CLOSED_COMMENT);
        } else if (close >= 0) {
            paint(0, close + 2, COLOR_CLOSED_COMMENT);
            bInComment = false;
        } else if (open >= 0) {
            paint(open, len, COLOR_OPEN_COMMENT);
            bInComment = true;
        } else {
            if (bInComment)
                paint(seg, len, COLOR_OPEN_COMMENT);
            break;
        }
        if (close >= 0)
            close += 2;
        if (open >= 0)
            open += 2;
    }
    return bInComment;
}

// Whether every character of [from, to) carries a comment colour.
inline bool AllComment(const std::vector<unsigned long>& colors, int from, int to)
{
    for (int i = from; i < to; ++i)
        if (!IsCommentColor(colors[(size_t)i]))
            return false;
    return true;
}

// Paints [from, to) except characters that already carry a comment colour.
inline void FillOutsideComments(std::vector<unsigned long>& colors, int from, int to, unsigned long c)
{
    for (int i = from; i < to; ++i)
        if (!IsCommentColor(colors[(size_t)i]))
            colors[(size_t)i] = c;
}

} // namespace

namespace {

// Whether the line p[0, len) holds a "/*" or a "*/" at or after q (every
// one has a slash with a star beside it).
bool DelimiterFrom(const wchar_t* p, int len, const wchar_t* q)
{
    for (; len >= 2 && (q = AfxFindChar(q, (size_t)(p + len - q), L'/')) != nullptr; ++q) {
        if ((q > p && q[-1] == L'*') || (q + 1 < p + len && q[1] == L'*'))
            return true;
    }
    return false;
}

} // namespace

bool HasCommentDelimiter(const CString& line)
{
    return DelimiterFrom(line.GetString(), line.GetLength(), line.GetString());
}

bool SampleCommentFlagAfter(const CString& line, bool bInComment)
{
    // Only a "/*" or "*/" can change the flag.
    return HasCommentDelimiter(line) ? ScanBlockComments(line, bInComment, nullptr) : bInComment;
}

void AFXAPI AddBuiltinWords(CColorizer& colorizer)
{
    static const wchar_t* const operatorWords[] = {
        L"+", L"-", L"*", L"/", L"<", L"<=", L">", L">=", L"==", L"!=", L"^", L"and", L"or", L"xor",
    };
    static const wchar_t* const functionWords[] = {
        L"sin", L"cos", L"tan", L"asin", L"acos", L"atan", L"sinh", L"cosh", L"tanh", L"asinh", L"acosh",
        L"atanh", L"log2", L"log10", L"log", L"ln", L"exp", L"sqrt", L"sign", L"rint", L"abs", L"min",
        L"max", L"sum", L"avg",
    };
    // The Insert calls take a non-const pointer; they only read the word.
    for (const wchar_t* w : operatorWords)
        colorizer.InsertOpKey(const_cast<wchar_t*>(w));
    for (const wchar_t* w : functionWords)
        colorizer.InsertFuncKey(const_cast<wchar_t*>(w));
}

CColorizer::CColorizer() : m_bInComment(false), m_bNoCase(false) {}

CColorizer::~CColorizer() {}

void CColorizer::Insert(std::set<CString>& set, const wchar_t* pszWord) const
{
    if (!pszWord)
        return;
    CString word(pszWord);
    if (m_bNoCase)
        word.MakeUpper();
    set.insert(word);
    CColourBatch::Forget();
}

int CColorizer::Contains(const std::set<CString>& set, CString& word) const
{
    if (!m_bNoCase)
        return set.count(word) ? 1 : 0;
    CString upper(word);
    upper.MakeUpper();
    return set.count(upper) ? 1 : 0;
}

void CColorizer::InsertKey(wchar_t* pszWord) { Insert(m_setKeys, pszWord); }
void CColorizer::InsertOpKey(wchar_t* pszWord) { Insert(m_setOps, pszWord); }
void CColorizer::InsertFuncKey(wchar_t* pszWord) { Insert(m_setFuncs, pszWord); }
int CColorizer::IsKeyWord(CString& word) { return Contains(m_setKeys, word); }
int CColorizer::IsOpWord(CString& word) { return Contains(m_setOps, word); }
int CColorizer::IsFuncWord(CString& word) { return Contains(m_setFuncs, word); }

bool CColorizer::IsLineLocal() const
{
    return typeid(*this) == typeid(CColorizer) || typeid(*this) == typeid(CSampleColorizer);
}

void CColorizer::SetLineColors(const CString& line, std::vector<unsigned long>& colors)
{
    const int len = line.GetLength();
    if (len == 0) {
        colors.clear();
        return;
    }
    // Existing colours stay: a word that matches no set keeps what it had.
    colors.resize((size_t)len);
    const wchar_t* p = line.GetString();
    CString word;

    // A long line repeats its words many times, and each word costs three
    // set lookups. For the two colorizers of this library, whose answers
    // depend on the word sets alone (and the sets cannot change during the
    // call), the last answer for each of a few recent words is remembered.
    // A derived class may answer otherwise (its lookups may keep state), so
    // it is asked every time.
    struct Recent
    {
        CString word;
        int kind = -1; // -1 unknown, else WordKind's answer
    };
    // Inside a colouring batch they read a table made once from the sets.
    std::unique_ptr<Recent[]> recent;
    const int kRecent = 64;
    const bool bLibrary = typeid(*this) == typeid(CColorizer) || typeid(*this) == typeid(CSampleColorizer);
    const CWordTable* table = bLibrary ? ColourBatchTable(*this) : nullptr;
    if (len >= 512 && bLibrary && !table)
        recent.reset(new Recent[kRecent]);

    int i = 0;
    while (i < len) {
        if (IsCommentColor(colors[(size_t)i])) {
            ++i;
            continue;
        }
        while (i < len && !IsWordChar(p[i]))
            ++i;
        const int start = i;
        while (i < len && IsWordChar(p[i]))
            ++i;
        const int n = i - start;
        int kind;
        if (table) {
            // Looking up an empty word, or one wholly in a comment, changes
            // no colour (nor does the library's lookup do anything else).
            if (n == 0 || AllComment(colors, start, i))
                continue;
            if (m_bNoCase) {
                // The sets hold such words in upper case: so is the word asked.
                word.SetString(p + start, n);
                word.MakeUpper();
                kind = table->Kind(word.GetString(), word.GetLength());
            } else {
                kind = table->Kind(p + start, n);
            }
        } else if (recent) {
            Recent& r = recent[(unsigned)(n * 31 + (n ? p[start] * 7 + p[i - 1] : 0)) % kRecent];
            if (r.kind < 0 || !SameText(r.word, p + start, n)) {
                r.word.SetString(p + start, n);
                r.kind = WordKind(r.word);
            }
            kind = r.kind;
        } else {
            word.SetString(p + start, n);
            kind = WordKind(word);
        }
        if (kind == 1)
            FillOutsideComments(colors, start, i, COLOR_KEYWORD);
        else if (kind == 2)
            FillOutsideComments(colors, start, i, COLOR_OPERATOR);
        else if (kind == 3)
            FillOutsideComments(colors, start, i, COLOR_FUNCTION);
    }
}

// 1 keyword, 2 operator word, 3 function word, 0 none: the first set that
// holds the word, asked in that order.
int CColorizer::WordKind(CString& word)
{
    if (IsKeyWord(word))
        return 1;
    if (IsOpWord(word))
        return 2;
    if (IsFuncWord(word))
        return 3;
    return 0;
}

CSampleColorizer::~CSampleColorizer() {}

void CSampleColorizer::SetLineColors(const CString& line, std::vector<unsigned long>& colors)
{
    const int len = line.GetLength();
    if (len == 0) {
        colors.clear();
        return;
    }
    colors.assign((size_t)len, COLOR_DEFAULT);

    // Block comments, pair by pair (see ScanBlockComments). Each pair paints
    // a span, later spans over earlier ones; the spans are gathered and
    // painted at the end (see PaintSpans), since painting each at once would
    // repaint the line from its start or to its end for every pair of a
    // long line.
    // A line without a "/*" or "*/" (most lines have no slash at all) is
    // comment text within a block comment, else it has no block comment.
    const wchar_t* p = line.GetString();
    const wchar_t* slash = len >= 2 ? AfxFindChar(p, (size_t)len, L'/') : nullptr;
    if (slash && DelimiterFrom(p, len, slash)) {
        Spans spans;
        m_bInComment = ScanBlockComments(line, m_bInComment, &spans);
        PaintSpans(colors, spans);
    } else if (len >= 2 && m_bInComment) {
        // (No "/*" and no "*/": what the pair-by-pair pass paints then.)
        Fill(colors, 0, len, COLOR_OPEN_COMMENT);
    }

    // A line comment runs to the end, whatever it stands in.
    const int slashes = slash ? line.Find(L"//", (int)(slash - p)) : -1;
    if (slashes >= 0)
        Fill(colors, slashes, len, COLOR_CLOSED_COMMENT);

    // Only the first string literal of the line, and only when it is closed.
    const int q1 = line.Find(L'"');
    if (q1 >= 0) {
        const int q2 = line.Find(L'"', q1 + 1);
        if (q2 >= 0)
            FillOutsideComments(colors, q1, q2 + 1, COLOR_STRING);
    }

    const bool plusMinus = p[0] == L'@' && (p[1] == L'-' || p[1] == L'+');
    if (len == 2 && plusMinus) {
        Fill(colors, 0, len, COLOR_KEYWORD);
        return;
    }
    if (len > 2 && plusMinus) {
        Fill(colors, 0, len, COLOR_MARKER);
        return;
    }
    if (len > 2 && p[0] == L'@' && p[1] == L':') {
        Fill(colors, 0, len, COLOR_LABEL);
        return;
    }
    CColorizer::SetLineColors(line, colors);
}

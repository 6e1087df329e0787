#include "ColourProgress.h"
#include "CommentScan.h"
#include "ScriptText.h"
#include "WordTable.h"
#include <algorithm>
#include <climits>
#include <optional>
#include <typeinfo>
#include <utility>

namespace {

const int kNoDirt = INT_MAX / 2; // m_nFirstDirty when no line is unclean

// For the span of a colouring: the outstanding recolouring's word sets lent
// to the colorizer in place of its own, and the colorizer's flag kept. Both
// are given back when the colouring ends, also when it throws.
class LentSets
{
public:
    LentSets(CColorizer& c, std::set<CString>& keys, std::set<CString>& ops, std::set<CString>& funcs, bool& bNoCase)
        : m_c(c), m_keys(keys), m_ops(ops), m_funcs(funcs), m_bNoCase(bNoCase), m_bFlag(c.m_bInComment)
    {
        Swap();
    }
    ~LentSets()
    {
        Swap();
        m_c.m_bInComment = m_bFlag;
    }
    LentSets(const LentSets&) = delete;
    LentSets& operator=(const LentSets&) = delete;

private:
    void Swap()
    {
        m_c.m_setKeys.swap(m_keys);
        m_c.m_setOps.swap(m_ops);
        m_c.m_setFuncs.swap(m_funcs);
        std::swap(m_c.m_bNoCase, m_bNoCase);
    }
    CColorizer& m_c;
    std::set<CString>&m_keys, &m_ops, &m_funcs;
    bool& m_bNoCase;
    const bool m_bFlag;
};

} // namespace

// Whether the colours made since the last recolouring are still the
// colorizer's: the same colorizer (a colorizer of another class made where
// the last one lived is another) with the same words.
bool CColourProgress::SnapshotCurrent(const CColorizer& c) const
{
    return m_pSnapFor == &c && m_pSnapType && *m_pSnapType == typeid(c) &&
           m_bSnapNoCase == c.m_bNoCase && m_snapKeys == c.m_setKeys && m_snapOps == c.m_setOps &&
           m_snapFuncs == c.m_setFuncs;
}

bool CColourProgress::SnapshotCurrentInBatch(const CColorizer& c)
{
    const CWordsIdentity id = WordsIdentityOf(c);
    if (id.stamp != 0 && id == m_snapSeen)
        return true;
    if (!SnapshotCurrent(c))
        return false;
    m_snapSeen = id;
    return true;
}

void CColourProgress::Dirty(int nFrom, int nTo, int nLines)
{
    nTo = std::min(nTo, nLines - 1);
    if (nFrom > nTo)
        return;
    m_nFirstDirty = std::min(m_nFirstDirty, nFrom);
    m_nLastDirty = std::max(m_nLastDirty, nTo);
}

void CColourProgress::MoveMarksDown(int nLine, int nCount)
{
    if (m_bPending && m_nPending >= nLine)
        m_nPending += nCount;
    if (m_nFirstDirty != kNoDirt && m_nFirstDirty >= nLine)
        m_nFirstDirty += nCount;
    if (m_nLastDirty >= nLine)
        m_nLastDirty += nCount;
}

void CColourProgress::Inserted(int nLine, int nLines)
{
    m_Lines.insert(m_Lines.begin() + nLine, uint8_t(0));
    MoveMarksDown(nLine, 1);
    // The line after it needs no mark: a recolouring reaches it only
    // through this unchained line, and checks it against the state it gets.
    Dirty(nLine, nLine, nLines);
}

void CColourProgress::Changed(int nLine, int nLines)
{
    m_Lines[(size_t)nLine] = 0;
    Dirty(nLine, nLine, nLines);
}

void CColourProgress::Removed(int nLine, int nLines)
{
    m_Lines.erase(m_Lines.begin() + nLine);
    MarksUpAfterRemoval(nLine, nLines);
}

void CColourProgress::MarksUpAfterRemoval(int nLine, int nLines)
{
    if (m_bPending && m_nPending > nLine)
        --m_nPending;
    if (m_nFirstDirty != kNoDirt && m_nFirstDirty > nLine)
        --m_nFirstDirty;
    if (m_nLastDirty > nLine)
        --m_nLastDirty;
    // The line that moved up has a new predecessor.
    Dirty(nLine, nLine, nLines);
}

void CColourProgress::InsertedBlock(int nLine, int nCount, int nLines)
{
    if (nCount <= 0)
        return;
    m_Lines.insert(m_Lines.begin() + nLine, (size_t)nCount, uint8_t(0));
    MoveMarksDown(nLine, nCount);
    Dirty(nLine, nLine + nCount - 1, nLines);
}

void CColourProgress::InsertedAlternate(int nLine, int nCount, int nLines)
{
    if (nCount <= 0)
        return;
    // The marks move as one line at a time moves them (a few numbers per
    // line, no pass over the text).
    const int nBefore = nLines - nCount;
    for (int j = 0; j < nCount; ++j) {
        const int at = nLine + nCount - 1 - j;
        MoveMarksDown(at, 1);
        Dirty(at, at, nBefore + j + 1);
    }
    // The lines' own marks: an unchained line at nLine + 2i, the old lines
    // between them (each old mark moves down to its place, never onto one
    // not yet moved).
    m_Lines.insert(m_Lines.begin() + nLine, (size_t)nCount, uint8_t(0));
    uint8_t* seg = m_Lines.data() + nLine;
    for (int i = 0; i + 1 < nCount; ++i)
        seg[2 * i + 1] = seg[nCount + i];
    for (int i = 0; i < nCount; ++i)
        seg[2 * i] = 0;
}

bool CColourProgress::CanOweInserted(const CColorizer& c)
{
    return (typeid(c) == typeid(CSampleColorizer) || typeid(c) == typeid(CColorizer)) && SnapshotCurrentInBatch(c);
}

void CColourProgress::OweInserted(CScriptText& text, int nFirst, int nCount, int nStride, bool bLastFirst)
{
    CColorizer& c = *text.m_pColorizer;
    const bool bSample = typeid(c) == typeid(CSampleColorizer);
    bool bState = c.m_bInComment;
    for (int k = 0; k < nCount; ++k) {
        const int i = nFirst + nStride * (bLastFirst ? nCount - 1 - k : k);
        // Not chained: a recolouring that reaches the line colours it anew.
        m_Lines[(size_t)i] = uint8_t(kOwed | (bState ? kEntry : 0));
        // (The base colorizer has no comments: the state stays.)
        if (bSample)
            bState = SampleCommentFlagAfter(text.m_arrLines.GetAt(i), bState);
    }
    c.m_bInComment = bState;
}

bool CColourProgress::CanOweSet(const CColorizer& c)
{
    return typeid(c) == typeid(CSampleColorizer) && SnapshotCurrentInBatch(c);
}

void CColourProgress::OweSet(int nLine, bool bFill, bool bShut)
{
    m_Lines[(size_t)nLine] = uint8_t(kOwed | (bFill ? kFill : 0) | (bShut ? kShut : 0));
}

bool CColourProgress::OwedOpenEnd(int nLine, bool& bOpen) const
{
    // A line the outstanding recolouring has not passed shows other colours.
    if (m_bPending && nLine >= m_nPending)
        return false;
    const uint8_t m = m_Lines[(size_t)nLine];
    if ((m & (kOwed | kChained)) != kOwed || !(m & (kFill | kShut)))
        return false;
    // A fill is owed only to a line with text.
    bOpen = (m & kFill) != 0;
    return true;
}

void CColourProgress::SetGap(int nAt, int nSize)
{
    m_nGapAt = nAt;
    m_nGapSize = nSize;
}

void CColourProgress::RemovedInGap(int nLine, int nAt, bool bMoved, int nLines)
{
    // As Removed: the line's mark goes (into the gap), the one after it
    // takes its place.
    if (bMoved)
        m_Lines[(size_t)nLine] = m_Lines[(size_t)nAt + 1];
    MarksUpAfterRemoval(nLine, nLines);
}

void CColourProgress::CloseGap()
{
    m_Lines.erase(m_Lines.begin() + m_nGapAt, m_Lines.begin() + m_nGapAt + m_nGapSize);
    m_nGapAt = m_nGapSize = 0;
}

void CColourProgress::RemovedBlock(int nLine, int nCount, int nLines)
{
    if (nCount <= 0)
        return;
    m_Lines.erase(m_Lines.begin() + nLine, m_Lines.begin() + nLine + nCount);
    // One line at a time, a mark past nLine moves up once per line, but
    // not above nLine.
    auto up = [&](int v) { return v > nLine ? std::max(nLine, v - nCount) : v; };
    if (m_bPending)
        m_nPending = up(m_nPending);
    if (m_nFirstDirty != kNoDirt)
        m_nFirstDirty = up(m_nFirstDirty);
    m_nLastDirty = up(m_nLastDirty);
    // The first removal marked nLine when a line was left there.
    if (nLine <= nLines + nCount - 2) {
        m_nFirstDirty = std::min(m_nFirstDirty, nLine);
        m_nLastDirty = std::max(m_nLastDirty, nLine);
    }
}

void CColourProgress::Forget(int nLines)
{
    m_Lines.assign((size_t)nLines, uint8_t(0));
    m_bPending = false;
    m_nFirstDirty = kNoDirt;
    m_nLastDirty = -1;
    Dirty(0, nLines - 1, nLines);
}

void CColourProgress::FullUpdate(CScriptText& text)
{
    CColorizer& c = *text.m_pColorizer;
    const int n = (int)m_Lines.size();
    m_bFlagOwed = false;
    if (!c.IsLineLocal()) {
        // The colorizer may keep state of its own: every line, now.
        Forget(n);
        m_pSnapFor = nullptr;
        c.m_bInComment = false;
        for (int i = 0; i < n; ++i) {
            std::vector<unsigned long>& colors = text.m_LineColors[(size_t)i];
            colors.clear();
            c.SetLineColors(text.m_arrLines.GetAt(i), colors);
        }
        return;
    }
    if (!SnapshotCurrentInBatch(c)) {
        // Other words or another colorizer: no line's colours can be kept.
        m_snapKeys = c.m_setKeys;
        m_snapOps = c.m_setOps;
        m_snapFuncs = c.m_setFuncs;
        CColourBatch::Forget();
        m_bSnapNoCase = c.m_bNoCase;
        m_pSnapFor = &c;
        m_snapSeen = CWordsIdentity();
        m_pSnapType = &typeid(c);
        Forget(n);
    }
    c.m_bInComment = false;
    // The library's colorizers give their flag without colouring. (The
    // colorizer cannot change while a recolouring is outstanding.)
    m_kind = typeid(c) == typeid(CSampleColorizer) ? kSample : typeid(c) == typeid(CColorizer) ? kBase : kHost;
    if (m_nFirstDirty > m_nLastDirty || m_nFirstDirty >= n) {
        // Every line is coloured as the recolouring would colour it.
        m_bPending = false;
        c.m_bInComment = n > 0 && Exit(m_Lines[(size_t)n - 1]);
        return;
    }
    // Lines before the first unclean one keep their colours.
    m_bPending = true;
    m_nPending = std::max(m_nFirstDirty, 0);
    m_bPendingEntry = m_nPending > 0 && Exit(m_Lines[(size_t)m_nPending - 1]);
    m_bFlagOwed = true;
}

void CColourProgress::Advance(CScriptText& text, int nLast, bool bColourLast)
{
    const int n = (int)m_Lines.size() - m_nGapSize;
    nLast = std::min(nLast, n - 1);
    const int from = m_nPending;
    // Whether the first line recoloured is entered with the state its
    // predecessor leaves: then every line coloured here comes out clean.
    const bool bJoined = from == 0 ? !m_bPendingEntry
                                   : (m_Lines[At(from - 1)] & kChained) &&
                                         Exit(m_Lines[At(from - 1)]) == m_bPendingEntry;
    bool bState = m_bPendingEntry;
    int i = from;
    bool bEnded = false;
    {
        CColorizer& c = *text.m_pColorizer;
        const bool bSample = m_kind == kSample, bFlagOnly = m_kind != kHost;
        // Lent only when a line is coloured: following the comment state
        // over lines left owed needs no words.
        std::optional<LentSets> lent;
        try {
            for (;; ++i) {
                if (i >= n) {
                    bEnded = true;
                    break;
                }
                const uint8_t m = m_Lines[At(i)];
                if (Holds(m, bState)) {
                    // Met the state the line was coloured from: past the
                    // last unclean line nothing differs any more.
                    if (i >= m_nLastDirty) {
                        bEnded = true;
                        break;
                    }
                    // Past the lines asked for, the watermark stays here
                    // rather than following matching lines that nobody
                    // reads: after every change the walk would otherwise
                    // run again to the next unclean line, however far.
                    if (i > nLast)
                        break;
                    bState = Exit(m);
                    continue;
                }
                if (i > nLast)
                    break;
                if ((i < nLast || !bColourLast) && bFlagOnly) {
                    // Not read: owed, its state followed.
                    const bool bExit = bSample ? SampleCommentFlagAfter(text.m_arrLines.GetAt((int)At(i)), bState) : bState;
                    m_Lines[At(i)] =
                        uint8_t(kChained | kOwed | (bState ? kEntry : 0) | (bExit ? kExit : 0));
                    bState = bExit;
                    continue;
                }
                if (!lent)
                    lent.emplace(c, m_snapKeys, m_snapOps, m_snapFuncs, m_bSnapNoCase);
                std::vector<unsigned long>& colors = text.m_LineColors[At(i)];
                m_Lines[At(i)] = 0; // half-coloured if the colorizer throws
                colors.clear();
                c.m_bInComment = bState;
                c.SetLineColors(text.m_arrLines.GetAt((int)At(i)), colors);
                const bool bExit = c.m_bInComment;
                m_Lines[At(i)] = uint8_t(kChained | (bState ? kEntry : 0) | (bExit ? kExit : 0));
                bState = bExit;
            }
        } catch (...) {
            m_nPending = i;
            m_bPendingEntry = bState;
            Dirty(i, i, n);
            throw;
        }
    }
    // Lines from `from` up to i are clean among themselves, and `from` is
    // clean when it joined its predecessor.
    const bool bCleanBefore = bJoined && m_nFirstDirty >= from;
    if (!bEnded) {
        m_nPending = i;
        m_bPendingEntry = bState;
        if (bCleanBefore)
            m_nFirstDirty = std::max(m_nFirstDirty, i);
        // Line i was coloured from another state than the one it gets now.
        Dirty(i, i, n);
        if (!bJoined)
            Dirty(from, from, n);
        return;
    }
    // The recolouring is complete: past i nothing was unclean.
    m_bPending = false;
    if (bCleanBefore) {
        m_nFirstDirty = kNoDirt;
        m_nLastDirty = -1;
    } else {
        m_nLastDirty = std::min(m_nLastDirty, from);
        if (!bJoined)
            Dirty(from, from, n);
    }
    if (m_bFlagOwed) {
        text.m_pColorizer->m_bInComment = n > 0 ? Exit(m_Lines[At(n - 1)]) : false;
        m_bFlagOwed = false;
    }
}

void CColourProgress::Compute(CScriptText& text, int nLine)
{
    if (m_Lines[(size_t)nLine] & kFill) {
        text.m_LineColors[(size_t)nLine].assign((size_t)text.m_arrLines.GetAt(nLine).GetLength(), COLOR_OPEN_COMMENT);
        m_Lines[(size_t)nLine] = 0;
        return;
    }
    CColorizer& c = *text.m_pColorizer;
    LentSets lent(c, m_snapKeys, m_snapOps, m_snapFuncs, m_bSnapNoCase);
    std::vector<unsigned long>& colors = text.m_LineColors[(size_t)nLine];
    colors.clear();
    c.m_bInComment = Entry(m_Lines[(size_t)nLine]);
    c.SetLineColors(text.m_arrLines.GetAt(nLine), colors);
    m_Lines[(size_t)nLine] &= uint8_t(~(kOwed | kShut));
}

void CColourProgress::SettleAll(CScriptText& text)
{
    const int n = (int)m_Lines.size();
    if (m_bPending)
        Advance(text, n - 1);
    for (int i = 0; i < n; ++i)
        if (m_Lines[(size_t)i] & kOwed)
            Compute(text, i);
}

bool CColourProgress::ExitAfter(CScriptText& text, int nLine, bool bState)
{
    // A host's line-local colorizer: colour the line aside.
    CColorizer& c = *text.m_pColorizer;
    LentSets lent(c, m_snapKeys, m_snapOps, m_snapFuncs, m_bSnapNoCase);
    c.m_bInComment = bState;
    m_scratch.clear();
    c.SetLineColors(text.m_arrLines.GetAt(nLine), m_scratch);
    return c.m_bInComment;
}

void CColourProgress::SettleFlag(CScriptText& text)
{
    if (!m_bFlagOwed)
        return;
    if (!m_bPending) {
        m_bFlagOwed = false;
        return;
    }
    // Follow the state to the end without colouring; where it meets the
    // state a clean stretch was coloured from, the stretch's end holds.
    const int n = (int)m_Lines.size();
    bool bState = m_bPendingEntry;
    for (int i = m_nPending; i < n; ++i) {
        const uint8_t m = m_Lines[(size_t)i];
        if (Holds(m, bState)) {
            if (i >= m_nLastDirty) {
                bState = Exit(m_Lines[(size_t)n - 1]);
                break;
            }
            bState = Exit(m);
        } else if (m_kind == kSample) {
            bState = SampleCommentFlagAfter(text.m_arrLines.GetAt(i), bState);
        } else if (m_kind == kHost) {
            bState = ExitAfter(text, i, bState);
        } // the base colorizer has no comments: the state stays
    }
    text.m_pColorizer->m_bInComment = bState;
    m_bFlagOwed = false;
}

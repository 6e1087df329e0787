#include "ScriptText.h"
#include "ColourProgress.h"
#include "CommentScan.h"
#include "WordTable.h"
#include <iterator>
#include <utility>
#include <stdexcept>
#include <typeinfo>

namespace {
[[noreturn]] void ThrowSubscript() { throw std::out_of_range("invalid vector<T> subscript"); }
}

CScriptText::CScriptText()
    : m_bDeferFullUpdate(false), m_bFullUpdateDue(false), m_nMaxLineLen(0), m_pColorizer(&m_DefColorizer),
      m_pProgress(new CColourProgress)
{
}

CScriptText::~CScriptText() {}

CScriptText& CScriptText::operator=(CScriptText& other)
{
    if (this != &other) {
        // The colours as they read, and this store's colorizer flag as
        // its old text leaves it.
        other.m_pProgress->SettleAll(other);
        m_pProgress->SettleFlag(*this);
        m_arrLines.RemoveAll();
        m_arrLines.Copy(other.m_arrLines);
        m_LineColors = other.m_LineColors;
        RecountLengths();
        m_pProgress->Forget((int)m_LineColors.size());
    }
    return *this;
}

void CScriptText::SetColorizer(CColorizer* p)
{
    if (p != m_pColorizer) {
        m_pProgress->SettleAll(*this);
        m_pProgress->SettleFlag(*this);
        m_pProgress->ForgetColorizer();
    }
    m_pColorizer = p;
}

void CScriptText::ForgetColours()
{
    m_pProgress->ForgetColorizer();
}

std::vector<unsigned long>& CScriptText::Colors(int nLine)
{
    if (nLine < 0 || (size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    m_pProgress->Read(*this, nLine);
    return m_LineColors[(size_t)nLine];
}

const std::vector<unsigned long>& CScriptText::_GetLineColors(int nLine) const
{
    if (nLine < 0 || (size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    // Colouring a line that is read is not a change of the text.
    m_pProgress->Read(const_cast<CScriptText&>(*this), nLine);
    return m_LineColors[(size_t)nLine];
}

namespace {

// Calls count(length, lines) once for each length among the nCount lines:
// the lines of a block mostly share a few hundred short lengths, which are
// tallied first so that the length counts are updated once per length.
template <class Length, class Count> void TallyLengthsOf(int nCount, Length length, Count count)
{
    const int kShort = 1024;
    std::vector<int> tally;
    for (int i = 0; i < nCount; ++i) {
        const int nLength = length(i);
        if (nLength >= kShort) {
            count(nLength, 1);
            continue;
        }
        if ((size_t)nLength >= tally.size())
            tally.resize((size_t)nLength + 64 < (size_t)kShort ? (size_t)nLength + 64 : (size_t)kShort);
        ++tally[(size_t)nLength];
    }
    for (size_t nLength = 0; nLength < tally.size(); ++nLength)
        if (tally[nLength])
            count((int)nLength, tally[nLength]);
}

template <class Count> void TallyLengths(const CString* lines, int nCount, Count count)
{
    TallyLengthsOf(nCount, [lines](int i) { return lines[i].GetLength(); }, count);
}

} // namespace

void CScriptText::CountLength(int nLength, int nDelta)
{
    // (try_emplace makes no node for a length already counted.)
    auto it = m_LengthCount.try_emplace(nLength, 0).first;
    it->second += nDelta;
    if (it->second <= 0)
        m_LengthCount.erase(it);
}

void CScriptText::RecountLengths()
{
    m_LengthCount.clear();
    TallyLengths(m_arrLines.GetData(), m_arrLines.GetSize(), [this](int nLength, int n) { CountLength(nLength, n); });
}

void CScriptText::Reserve(int nLines)
{
    if (nLines > 0) {
        m_arrLines.Reserve(nLines);
        m_LineColors.reserve((size_t)nLines);
        m_pProgress->Reserve(nLines);
    }
}

void CScriptText::ColorLine(int nLine)
{
    // Coloured anew: the colours the line was owed are not needed.
    if (nLine < 0 || (size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    m_pProgress->Changed(nLine, m_arrLines.GetSize());
    std::vector<unsigned long>& colors = m_LineColors[(size_t)nLine];
    colors.clear();
    m_pColorizer->SetLineColors(m_arrLines.GetAt(nLine), colors);
}

void CScriptText::_InsertLine(const CString& text, int nLine, int bColor)
{
    _InsertLine(CString(text), nLine, bColor);
}

void CScriptText::_InsertLine(CString&& text, int nLine, int bColor)
{
    if (nLine < 0)
        AfxThrowInvalidArgException();
    // Undo may re-insert a removed line at an index beyond the current end
    // while the lines before it are still missing: append it then.
    if (nLine > m_arrLines.GetSize())
        nLine = m_arrLines.GetSize();
    m_pProgress->Settle(*this, nLine);
    if (bColor)
        m_pProgress->SettleFlag(*this);
    const int nLength = text.GetLength();
    m_arrLines.InsertAtMove(nLine, std::move(text));
    CountLength(nLength, 1);
    try {
        std::vector<unsigned long> colors;
        if (bColor) {
            FindMaxLineLen();
            m_pColorizer->SetLineColors(m_arrLines.GetAt(nLine), colors);
        }
        m_LineColors.insert(m_LineColors.begin() + nLine, std::move(colors));
    } catch (...) {
        // Out of memory: keep one colour vector per line.
        m_arrLines.RemoveAt(nLine);
        CountLength(nLength, -1);
        throw;
    }
    try {
        m_pProgress->Inserted(nLine, m_arrLines.GetSize());
    } catch (...) {
        m_LineColors.erase(m_LineColors.begin() + nLine);
        m_arrLines.RemoveAt(nLine);
        CountLength(nLength, -1);
        throw;
    }
}

int CScriptText::_SetLine(const CString& text, int nLine)
{
    // (The line's own block is reused when the text fits in it.)
    return StoreLine(nLine, [&](CString& line) { line = text; });
}

int CScriptText::_ExchangeLine(CString& text, int nLine)
{
    return StoreLine(nLine, [&](CString& line) { std::swap(line, text); });
}

template <class Put> int CScriptText::StoreLine(int nLine, Put put)
{
    CString& line = m_arrLines.ElementAt(nLine); // a bad index throws before anything changes
    const int nOldLength = line.GetLength();
    // The line's colours as they read (the base colouring keeps some), the
    // lines before it passed by the recolouring. The sample colorizer
    // colours every line afresh: its old colours are not needed.
    if (typeid(*m_pColorizer) == typeid(CSampleColorizer))
        m_pProgress->Pass(*this, nLine);
    else
        m_pProgress->Read(*this, nLine);
    put(line);
    const CString& text = line;
    CountLength(nOldLength, -1);
    CountLength(text.GetLength(), 1);
    m_pProgress->Changed(nLine, m_arrLines.GetSize());
    m_pColorizer->m_bInComment = false;
    m_pProgress->FlagCleared();
    if (nLine > 0 && !text.IsEmpty() && HasCommentDelimiter(text)) {
        if (m_bDeferFullUpdate && typeid(*m_pColorizer) == typeid(CSampleColorizer))
            m_bFullUpdateDue = true;
        else
            FullUpdate();
        return 1;
    }
    // The sample colorizer's colours of the line are made when it is read
    // (a block of lines set is mostly never read before it is recoloured).
    const bool bOwe = m_pProgress->CanOweSet(*m_pColorizer);
    if (nLine > 0 && !text.IsEmpty()) {
        // The line above ends inside an open block comment: this whole line
        // is comment text (a line that could close it took the branch above).
        bool bAboveOpen = false;
        if (!m_pProgress->OwedOpenEnd(nLine - 1, bAboveOpen)) {
            const std::vector<unsigned long>& above = Colors(nLine - 1);
            bAboveOpen = !above.empty() && above.back() == COLOR_OPEN_COMMENT;
        }
        if (bAboveOpen) {
            if (bOwe) {
                m_pProgress->OweSet(nLine, true, false);
            } else {
                std::vector<unsigned long>& colors = Colors(nLine);
                colors.resize((size_t)text.GetLength());
                colors.assign(colors.size(), COLOR_OPEN_COMMENT);
            }
            FindMaxLineLen();
            return 0;
        }
    }
    if (bOwe) {
        // Coloured from outside a comment: a line with text but no
        // delimiter, or an empty one, ends outside any comment, and so does
        // the colorizer's flag.
        const bool bShut = nLine > 0 || text.IsEmpty();
        m_pProgress->OweSet(nLine, false, bShut);
        if (!bShut)
            m_pColorizer->m_bInComment = SampleCommentFlagAfter(text, false);
        FindMaxLineLen();
        return 0;
    }
    // The vector is not emptied first: words that match no set keep their
    // previous colours, as the base colouring promises.
    m_pColorizer->SetLineColors(text, Colors(nLine));
    FindMaxLineLen();
    return 0;
}

void CScriptText::_RemoveLine(int nLine)
{
    const int nOldLength = m_arrLines.GetAt(nLine).GetLength();
    if ((size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    m_pProgress->Settle(*this, nLine + 1);
    m_arrLines.RemoveAt(nLine);
    CountLength(nOldLength, -1);
    m_LineColors.erase(m_LineColors.begin() + nLine);
    m_pProgress->Removed(nLine, m_arrLines.GetSize());
    FindMaxLineLen();
}

void CScriptText::_InsertLines(std::vector<CString>& lines, int nLine, int bColor, bool bFromEnd)
{
    if (nLine < 0)
        AfxThrowInvalidArgException();
    if (lines.empty())
        return;
    if (nLine > m_arrLines.GetSize())
        nLine = m_arrLines.GetSize();
    m_pProgress->Settle(*this, nLine);
    if (bColor)
        m_pProgress->SettleFlag(*this);
    const int nCount = (int)lines.size();
    // Room first, so that nothing below fails half-way through.
    m_arrLines.Reserve(m_arrLines.GetSize() + nCount);
    m_LineColors.reserve(m_LineColors.size() + (size_t)nCount);
    // With one of the library's colorizers the colours are made when the
    // lines are read (most never are before the next recolouring).
    const bool bOwe = bColor && m_pProgress->CanOweInserted(*m_pColorizer);
    std::vector<std::vector<unsigned long>> colors((size_t)nCount);
    if (bColor && !bOwe) {
        CColourBatch batch;
        for (int k = 0; k < nCount; ++k) {
            const size_t i = (size_t)(bFromEnd ? nCount - 1 - k : k);
            m_pColorizer->SetLineColors(lines[i], colors[i]);
        }
    }
    TallyLengths(lines.data(), nCount, [this](int nLength, int n) { CountLength(nLength, n); });
    m_arrLines.InsertBlockMove(nLine, lines.data(), nCount);
    m_LineColors.insert(m_LineColors.begin() + nLine, std::make_move_iterator(colors.begin()),
                        std::make_move_iterator(colors.end()));
    m_pProgress->InsertedBlock(nLine, nCount, m_arrLines.GetSize());
    if (bOwe)
        m_pProgress->OweInserted(*this, nLine, nCount, 1, bFromEnd);
    FindMaxLineLen();
}

void CScriptText::_InsertLinesAlternate(std::vector<CString>& lines, int nLine, int bColor)
{
    const int nCount = (int)lines.size();
    if (nCount == 0)
        return;
    const int n = m_arrLines.GetSize();
    if (nLine < 0 || nLine + nCount - 1 > n)
        AfxThrowInvalidArgException();
    // The first line goes in highest: the recolouring passes the lines
    // before it, as for that insert (those of the later ones then pass
    // nothing more).
    m_pProgress->Settle(*this, nLine + nCount - 1);
    if (bColor)
        m_pProgress->SettleFlag(*this);
    // Room first, so that nothing below fails half-way through.
    m_arrLines.Reserve(n + nCount);
    m_LineColors.reserve((size_t)(n + nCount));
    m_pProgress->Reserve(n + nCount);
    TallyLengths(lines.data(), nCount, [this](int nLength, int n) { CountLength(nLength, n); });
    // Coloured in the order they go in: the last of the vector first (or
    // left owed the colours that gives, as above).
    const bool bOwe = bColor && m_pProgress->CanOweInserted(*m_pColorizer);
    std::vector<std::vector<unsigned long>> colors((size_t)nCount);
    if (bColor && !bOwe) {
        CColourBatch batch;
        for (int i = nCount - 1; i >= 0; --i)
            m_pColorizer->SetLineColors(lines[(size_t)i], colors[(size_t)i]);
    }
    // The lines and their colours, old ones between the new: the stretch
    // from nLine is rebuilt in one pass.
    const int nOld = nCount - 1; // old lines that end between the new ones
    std::vector<CString> text;
    std::vector<std::vector<unsigned long>> colours;
    text.reserve((size_t)(nCount + nOld));
    colours.reserve((size_t)(nCount + nOld));
    CString* data = m_arrLines.GetData();
    for (int i = 0; i < nCount; ++i) {
        text.push_back(std::move(lines[(size_t)i]));
        colours.push_back(std::move(colors[(size_t)i]));
        if (i < nOld) {
            text.push_back(std::move(data[nLine + i]));
            colours.push_back(std::move(m_LineColors[(size_t)(nLine + i)]));
        }
    }
    m_arrLines.RemoveAt(nLine, nOld);
    m_LineColors.erase(m_LineColors.begin() + nLine, m_LineColors.begin() + nLine + nOld);
    m_arrLines.InsertBlockMove(nLine, text.data(), (int)text.size());
    m_LineColors.insert(m_LineColors.begin() + nLine, std::make_move_iterator(colours.begin()),
                        std::make_move_iterator(colours.end()));
    m_pProgress->InsertedAlternate(nLine, nCount, m_arrLines.GetSize());
    if (bOwe)
        m_pProgress->OweInserted(*this, nLine, nCount, 2, true);
    FindMaxLineLen();
}

void CScriptText::_RemoveLines(int nLine, int nCount)
{
    if (nCount <= 0)
        return;
    if (nLine < 0 || nLine + nCount > m_arrLines.GetSize() || (size_t)(nLine + nCount) > m_LineColors.size())
        AfxThrowInvalidArgException();
    // As one line at a time would: the recolouring passes every line that
    // goes before it goes.
    m_pProgress->Settle(*this, nLine + nCount);
    TallyLengths(m_arrLines.GetData() + nLine, nCount, [this](int nLength, int n) { CountLength(nLength, -n); });
    m_arrLines.RemoveAt(nLine, nCount);
    m_LineColors.erase(m_LineColors.begin() + nLine, m_LineColors.begin() + nLine + nCount);
    m_pProgress->RemovedBlock(nLine, nCount, m_arrLines.GetSize());
    FindMaxLineLen();
}

void CScriptText::_RemoveLinesAlternate(int nLine, int nCount)
{
    if (nCount <= 0)
        return;
    const int n0 = m_arrLines.GetSize();
    if (nLine < 0 || nLine + 2 * (nCount - 1) >= n0 || (size_t)n0 != m_LineColors.size())
        AfxThrowInvalidArgException();
    std::vector<int> gone; // the lengths of the lines gone
    gone.reserve((size_t)nCount);
    // Step j removes the line counted nLine + j. The lines before it are in
    // place; the j spent slots of the lines gone so far lie after them, and
    // the rest of the text lies one slot further for each. So each step
    // moves one line (the one after the line that goes), and the slots go
    // once at the end. The recolouring reads the text across the gap.
    CString* lines = m_arrLines.GetData();
    std::vector<unsigned long>* colours = m_LineColors.data();
    int gapAt = nLine, gapSize = 0;
    auto close = [&] {
        m_pProgress->SetGap(gapAt, gapSize);
        m_arrLines.RemoveAt(gapAt, gapSize);
        m_LineColors.erase(m_LineColors.begin() + gapAt, m_LineColors.begin() + gapAt + gapSize);
        m_pProgress->CloseGap();
        TallyLengthsOf((int)gone.size(), [&](int i) { return gone[(size_t)i]; },
                       [this](int nLength, int n) { CountLength(nLength, -n); });
        FindMaxLineLen();
    };
    try {
        for (int j = 0; j < nCount; ++j) {
            const int k = nLine + j, at = k + j;
            m_pProgress->SetGap(gapAt, gapSize);
            m_pProgress->Settle(*this, k + 1);
            gone.push_back(lines[at].GetLength());
            lines[at] = CString();
            colours[at] = std::vector<unsigned long>();
            const bool bMoved = at + 1 < n0;
            if (bMoved) {
                lines[k] = std::move(lines[at + 1]);
                colours[k] = std::move(colours[at + 1]);
            }
            m_pProgress->RemovedInGap(k, at, bMoved, n0 - j - 1);
            // (Only the last line can have no line after it.)
            gapAt = bMoved ? k + 1 : k;
            gapSize = j + 1;
        }
    } catch (...) {
        // The text as the removals made so far leave it.
        close();
        throw;
    }
    close();
}

void CScriptText::_RemoveAll()
{
    // The colorizer's flag outlives the text: it is settled first.
    m_pProgress->SettleFlag(*this);
    m_arrLines.RemoveAll();
    m_LineColors.clear();
    m_LengthCount.clear();
    m_pProgress->Forget(0);
    FindMaxLineLen();
    _InsertLine(CString(), 0, 1);
}

void CScriptText::FullUpdate()
{
    FindMaxLineLen();
    m_pProgress->FullUpdate(*this);
}

void CScriptText::ResetTextColor(int nLine, int bUp)
{
    FindMaxLineLen();
    const int n = m_arrLines.GetSize();
    // The lines before the end of the run get their colours first (the run
    // itself colours outside a full recolouring). A run starting outside
    // the store raises its error below, when it colours its first line.
    if (!bUp) {
        if (nLine >= 0 && nLine < n) {
            int nLast = nLine;
            while (nLast < n - 1 && m_arrLines.GetAt(nLast).Find(L"*/") < 0)
                ++nLast;
            m_pProgress->Settle(*this, nLast + 1);
        }
    } else if (nLine >= 1 && nLine < n) {
        m_pProgress->Settle(*this, nLine + 1);
    }
    m_pColorizer->m_bInComment = false;
    m_pProgress->FlagCleared();
    if (!bUp) {
        for (int i = nLine; i < n; ++i) {
            ColorLine(i);
            if (m_arrLines.GetAt(i).Find(L"*/") >= 0)
                break;
        }
    } else {
        // Deliberately stops above line 0: a cheap repair, not an exact one.
        for (int i = nLine; i >= 1; --i) {
            ColorLine(i);
            if (m_arrLines.GetAt(i).Find(L"/*") >= 0)
                break;
        }
    }
}

long CScriptText::FindMaxLineLen()
{
    m_nMaxLineLen = m_LengthCount.empty() ? 0 : m_LengthCount.rbegin()->first;
    return m_nMaxLineLen;
}

int CScriptText::IsCommentOut(int nCol, int nLine)
{
    m_arrLines.GetAt(nLine); // a bad line index is the invalid-argument error
    const std::vector<unsigned long> colors = Colors(nLine);
    if (nCol < 0 || (size_t)nCol >= colors.size())
        ThrowSubscript();
    return IsCommentColor(colors[(size_t)nCol]) ? 1 : 0;
}

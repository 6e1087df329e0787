// Text in and out, and the four primitives every edit goes through.
#include "VelmorCtrl.h"
#include "../text/CommentScan.h"
#include "../text/WordTable.h"
#include <algorithm>
#include <cwchar>
#include <utility>

// Copies n characters of a line into buffer, tabs expanded to the next tab
// stop (the spaces MakeTab gives at that column).
void CVelmor::ExpandLine(const wchar_t* p, int n, CString& buffer)
{
    const wchar_t* tab = n > 0 ? AfxFindChar(p, (size_t)n, L'\t') : nullptr;
    if (!tab) {
        buffer.SetString(p, n);
        return;
    }
    const int size = m_nTabSize > 0 ? m_nTabSize : 1;
    buffer.SetString(p, (int)(tab - p));
    for (int i = (int)(tab - p); i < n; ++i) {
        if (p[i] == L'\t') {
            for (int k = size - buffer.GetLength() % size; k > 0; --k)
                buffer.AppendChar(L' ');
        } else {
            buffer.AppendChar(p[i]);
        }
    }
}

// What InsertTextLine(line, caret line, false, false) does for a line being
// loaded, with the line built in place and moved into the store rather
// than copied: the caret line is where the next loaded line goes.
void CVelmor::InsertLoadedLine(const wchar_t* p, int n)
{
    CString line;
    ExpandLine(p, n, line);
    const int nLine = std::min((int)m_ptCursor.y, (int)m_Text._GetSize());
    m_CurFrame.AddEntry(UndoEntry{ CString(), LineInserted, nLine, m_ptCursor, m_ptAnchor });
    m_Text._InsertLine(std::move(line), nLine, 0);
    NoteChange(nLine, 0, 1);
    _SetCursorPos(0, m_ptCursor.y + 1);
}

void CVelmor::LoadText(const wchar_t* pszText)
{
    // Reset and the load are one change: the scroll bars are set once, for
    // the loaded text, when it ends.
    m_bInAction = true;
    try {
        Reset();
    } catch (...) {
        AbandonAction();
        throw;
    }
    if (!pszText)
        pszText = L"";

    // The whole text is recoloured once when the load ends: the per-line
    // full recolouring that a comment delimiter triggers would be
    // overwritten anyway and makes loading quadratic in such lines.
    m_bDeferRecolour = true;
    try {
        // Both line tables get their final size at once.
        size_t nFeeds = 0;
        const size_t nChars = AfxCountLineFeeds(pszText, &nFeeds);
        m_Text.Reserve((int)std::min<size_t>(nFeeds + 2, 0x7FFFFFFF));

        const wchar_t* p = pszText;
        const wchar_t* end = pszText + nChars;
        for (const wchar_t* nl; (nl = AfxFindChar(p, (size_t)(end - p), L'\n')) != nullptr; p = nl + 1) {
            // Carriage returns stay in the line, as any other character.
            InsertLoadedLine(p, (int)(nl - p));
        }
        // Text after the last line feed is dropped: a loaded text is expected
        // to end with one, as UnloadText writes it.
        if (nFeeds == 0)
            InsertLoadedLine(pszText, (int)nChars);
    } catch (...) {
        m_bDeferRecolour = m_bRecolourDue = false;
        AbandonAction();
        throw;
    }
    m_bDeferRecolour = m_bRecolourDue = false;

    m_ptCursor = m_ptAnchor = CPoint(0, 0);
    m_nFirstCol = m_nFirstLine = 0;
    m_bSelected = m_bMouseDown = false;
    m_Text.FullUpdate();
    EndAction();
    UpdateScrollSizes();
    InvalidateAll(TRUE);
    DrawCursor(true);
}

void CVelmor::UnloadText(CString& strText) const
{
    strText.Empty();
    const int n = (int)m_Text._GetSize();
    strText.Preallocate(TextLength());
    for (int i = 0; i < n; ++i) {
        strText += m_Text.LineRef(i);
        if (n > 1)
            strText += L'\n';
    }
}

void CVelmor::GetSourceCodes(CString& strText) const
{
    strText.Empty();
    const int n = (int)m_Text._GetSize();
    strText.Preallocate(TextLength());
    CString line;
    CColourBatch batch; // lines owed colours are coloured as they are read
    for (int i = 0; i < n; ++i) {
        line = m_Text.LineRef(i);
        const std::vector<unsigned long>& colors = m_Text._GetLineColors(i);
        const int len = std::min(line.GetLength(), (int)colors.size());
        // Comment characters become spaces so that columns and line numbers
        // stay those of the display.
        for (int c = 0; c < len; ++c)
            if (IsCommentColor(colors[(size_t)c]))
                line.SetAt(c, L' ');
        strText += line;
        if (n > 1)
            strText += L'\n';
    }
}

// The length of the text UnloadText gives: every line, and a line feed
// after each when there are two or more. Clamped to what a CString holds.
int CVelmor::TextLength() const
{
    const int n = (int)m_Text._GetSize();
    long long total = n > 1 ? n : 0;
    for (int i = 0; i < n; ++i)
        total += m_Text.LineRef(i).GetLength();
    return (int)std::min<long long>(total, 0x7FFFFFF0LL);
}

int CVelmor::GetLineCount()
{
    return (int)m_Text._GetSize();
}

CString CVelmor::GetLine(int nLine) const
{
    return m_Text._GetLine(nLine);
}

int CVelmor::GetCurLine()
{
    return m_ptCursor.y;
}

void CVelmor::SetLine(const wchar_t* pszText, int nLine)
{
    DrawCursor(false);
    StartAction();
    try {
        SetTextLine(CString(pszText), nLine, false, true);
    } catch (...) {
        // The action ends without an undo step.
        AbandonAction();
        DrawCursor(true);
        throw;
    }
    EndAction();
    DrawCursor(true);
}

void CVelmor::InsertTextLine(const CString& text, int nLine, bool bUpdate, bool bNoUndo)
{
    if (nLine < 0)
        AfxThrowInvalidArgException();
    // An index past the end appends; record where the line really went.
    const int nSize = (int)m_Text._GetSize();
    if (nLine > nSize)
        nLine = nSize;
    if (!bNoUndo)
        m_CurFrame.AddEntry(UndoEntry{ CString(), LineInserted, nLine, m_ptCursor, m_ptAnchor });
    m_Text._InsertLine(text, nLine, bUpdate);
    NoteChange(nLine, 0, 1);
    if (HasCommentDelimiter(text))
        RecolourAll();
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::SetTextLine(const CString& text, int nLine, bool bNoUndo, bool bUpdate)
{
    const CString& old = m_Text.LineRef(nLine); // a bad index throws before anything changes
    if (!bNoUndo)
        m_CurFrame.AddEntry(UndoEntry{ old, LineChanged, nLine, m_ptCursor, m_ptAnchor });
    CString copy(text);
    ExchangeTextLine(copy, nLine, bUpdate);
}

void CVelmor::SetTextLine(CString&& text, int nLine, bool bNoUndo, bool bUpdate)
{
    // The line's old text moves into its undo entry, the new one into the
    // store: nothing is copied.
    const CPoint cursor = m_ptCursor, anchor = m_ptAnchor;
    const wchar_t* const pOld = m_Text.LineRef(nLine).GetString(); // a bad index throws here
    try {
        ExchangeTextLine(text, nLine, bUpdate);
    } catch (...) {
        // Recorded as the copying form records it, before anything can
        // fail: the old text is in text when the exchange took place (it
        // then holds the old characters' very block), else still in the line.
        if (!bNoUndo) {
            CString old = text.GetString() == pOld ? std::move(text) : m_Text.LineRef(nLine);
            m_CurFrame.AddEntry(UndoEntry{ std::move(old), LineChanged, nLine, cursor, anchor });
        }
        throw;
    }
    if (!bNoUndo)
        m_CurFrame.AddEntry(UndoEntry{ std::move(text), LineChanged, nLine, cursor, anchor });
}

void CVelmor::ExchangeTextLine(CString& text, int nLine, bool bUpdate)
{
    const int nSet = m_Text._ExchangeLine(text, nLine);
    NoteChange(nLine, 0, 0);
    if (nSet == 1) {
        if (m_bFrozen)
            m_bFrozenRepaint = true;
        else
            InvalidateAll(TRUE);
    }
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::RemoveTextLine(int nLine, bool bNoUndo, bool bUpdate)
{
    if (nLine >= (int)m_Text._GetSize())
        return;
    CString old = m_Text._GetLine(nLine);
    if (!bNoUndo)
        m_CurFrame.AddEntry(UndoEntry{ old, LineRemoved, nLine, m_ptCursor, m_ptAnchor });
    m_Text._RemoveLine(nLine);
    NoteChange(nLine, 1, 0);
    if (HasCommentDelimiter(old))
        RecolourAll();
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::_InsertLineBlock(std::vector<CString>& lines, int nLine, bool bUpdate, bool bFromEnd)
{
    if (nLine < 0)
        AfxThrowInvalidArgException();
    const bool bDelimiter = std::any_of(lines.begin(), lines.end(), HasCommentDelimiter);
    const int nCount = (int)lines.size(), nAt = std::min(nLine, (int)m_Text._GetSize());
    m_Text._InsertLines(lines, nLine, bUpdate, bFromEnd);
    NoteChange(nAt, 0, nCount);
    if (bDelimiter)
        RecolourAll();
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::_InsertLineAlternate(std::vector<CString>& lines, int nLine, bool bUpdate)
{
    const bool bDelimiter = std::any_of(lines.begin(), lines.end(), HasCommentDelimiter);
    const int nCount = (int)lines.size();
    m_Text._InsertLinesAlternate(lines, nLine, bUpdate);
    for (int j = 0; j < nCount; ++j)
        NoteChange(nLine + nCount - 1 - j, 0, 1); // in the order they went in
    if (bDelimiter)
        RecolourAll();
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::_RemoveLineBlock(int nLine, int nCount, bool bUpdate)
{
    if (nCount <= 0)
        return;
    bool bDelimiter = false;
    for (int i = nLine; i < nLine + nCount && !bDelimiter; ++i)
        bDelimiter = HasCommentDelimiter(m_Text.LineRef(i));
    m_Text._RemoveLines(nLine, nCount);
    NoteChange(nLine, nCount, 0);
    if (bDelimiter)
        RecolourAll();
    if (bUpdate)
        UpdateScrollSizes();
}

void CVelmor::_RemoveLineAlternate(int nLine, int nCount)
{
    if (nCount <= 0)
        return;
    bool bDelimiter = false;
    for (int j = 0; j < nCount && !bDelimiter && nLine + 2 * j < (int)m_Text._GetSize(); ++j)
        bDelimiter = HasCommentDelimiter(m_Text.LineRef(nLine + 2 * j));
    m_Text._RemoveLinesAlternate(nLine, nCount);
    for (int j = 0; j < nCount; ++j)
        NoteChange(nLine + j, 1, 0); // in the order they went
    if (bDelimiter)
        RecolourAll();
}

void CVelmor::RemoveAllText()
{
    const int n = (int)m_Text._GetSize();
    for (int i = 0; i < n; ++i)
        m_CurFrame.AddEntry(UndoEntry{ m_Text.LineRef(i), LineRemoved, i, m_ptCursor, m_ptAnchor });
    m_Text._RemoveAll();
    NoteChange(0, n, 1); // one empty line is left
    UpdateScrollSizes();
    NotifyParent(EN_CHANGE);
}

void CVelmor::NoteChange(int nLine, int nRemoved, int nInserted)
{
    ChangeSpan& c = m_change;
    if (!c.bAny) {
        c = ChangeSpan{ true, nLine, nLine - 1, 0 };
    } else {
        // Lines after the removed ones move up, then the inserted ones
        // push them down.
        if (c.nLast >= nLine + nRemoved)
            c.nLast -= nRemoved;
        else if (c.nLast >= nLine)
            c.nLast = nLine - 1;
        if (c.nLast >= nLine)
            c.nLast += nInserted;
        c.nFirst = std::min(c.nFirst, nLine);
    }
    // The lines put in (or set) are changed lines.
    c.nLast = std::max(c.nLast, nLine + std::max(nInserted, nRemoved == 0 && nInserted == 0 ? 1 : 0) - 1);
    c.nAdded += nInserted - nRemoved;
}

// The full recolouring a comment delimiter calls for; while many lines go
// in or out at once (a load, an undo step) it is done once at the end.
void CVelmor::RecolourAll()
{
    if (m_bDeferRecolour)
        m_bRecolourDue = true;
    else
        m_Text.FullUpdate();
}

CString CVelmor::MakeTab(int nColumn)
{
    // A tab size below 1 would divide by zero; it counts as 1.
    const int size = m_nTabSize > 0 ? m_nTabSize : 1;
    const int col = nColumn > 0 ? nColumn : 0;
    return CString(L' ', size - col % size);
}

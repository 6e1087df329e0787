#include "ScriptText.h"
#include <stdexcept>

namespace {
[[noreturn]] void ThrowSubscript() { throw std::out_of_range("invalid vector<T> subscript"); }
}

CScriptText::CScriptText() : m_nMaxLineLen(0), m_pColorizer(&m_DefColorizer) {}

CScriptText::~CScriptText() {}

CScriptText& CScriptText::operator=(CScriptText& other)
{
    if (this != &other) {
        m_arrLines.RemoveAll();
        m_arrLines.Copy(other.m_arrLines);
        m_LineColors = other.m_LineColors;
        RecountLengths();
    }
    return *this;
}

std::vector<unsigned long>& CScriptText::Colors(int nLine)
{
    if (nLine < 0 || (size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    return m_LineColors[(size_t)nLine];
}

const std::vector<unsigned long>& CScriptText::_GetLineColors(int nLine) const
{
    if (nLine < 0 || (size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    return m_LineColors[(size_t)nLine];
}

void CScriptText::CountLength(int nLength, int nDelta)
{
    auto it = m_LengthCount.emplace(nLength, 0).first;
    it->second += nDelta;
    if (it->second <= 0)
        m_LengthCount.erase(it);
}

void CScriptText::RecountLengths()
{
    m_LengthCount.clear();
    const int n = m_arrLines.GetSize();
    const CString* lines = m_arrLines.GetData();
    for (int i = 0; i < n; ++i)
        CountLength(lines[i].GetLength(), 1);
}

void CScriptText::Reserve(int nLines)
{
    if (nLines > 0) {
        m_arrLines.Reserve(nLines);
        m_LineColors.reserve((size_t)nLines);
    }
}

void CScriptText::ColorLine(int nLine)
{
    std::vector<unsigned long>& colors = Colors(nLine);
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
}

int CScriptText::_SetLine(const CString& text, int nLine)
{
    const int nOldLength = m_arrLines.GetAt(nLine).GetLength();
    m_arrLines.SetAt(nLine, text);
    CountLength(nOldLength, -1);
    CountLength(text.GetLength(), 1);
    m_pColorizer->m_bInComment = false;
    if (nLine > 0 && !text.IsEmpty()) {
        if (text.Find(L"*/") >= 0 || text.Find(L"/*") >= 0) {
            FullUpdate();
            return 1;
        }
        // The line above ends inside an open block comment: this whole line
        // is comment text (a line that could close it took the branch above).
        const std::vector<unsigned long>& above = Colors(nLine - 1);
        if (!above.empty() && above.back() == COLOR_OPEN_COMMENT) {
            std::vector<unsigned long>& colors = Colors(nLine);
            colors.resize((size_t)text.GetLength());
            colors.assign(colors.size(), COLOR_OPEN_COMMENT);
            FindMaxLineLen();
            return 0;
        }
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
    m_arrLines.RemoveAt(nLine);
    CountLength(nOldLength, -1);
    if ((size_t)nLine >= m_LineColors.size())
        ThrowSubscript();
    m_LineColors.erase(m_LineColors.begin() + nLine);
    FindMaxLineLen();
}

void CScriptText::_RemoveAll()
{
    m_arrLines.RemoveAll();
    m_LineColors.clear();
    m_LengthCount.clear();
    FindMaxLineLen();
    _InsertLine(CString(), 0, 1);
}

void CScriptText::FullUpdate()
{
    FindMaxLineLen();
    m_pColorizer->m_bInComment = false;
    const int n = m_arrLines.GetSize();
    for (int i = 0; i < n; ++i)
        ColorLine(i);
}

void CScriptText::ResetTextColor(int nLine, int bUp)
{
    FindMaxLineLen();
    m_pColorizer->m_bInComment = false;
    const int n = m_arrLines.GetSize();
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

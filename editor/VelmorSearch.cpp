// Find (forwards and backwards, with one wrap-around), replacing the found
// text, jumping to the matching brace, and commenting a selection out and
// back in.
#include "VelmorCtrl.h"
#include "VelmorFrozen.h"
#include "../text/TextSearch.h"
#include <algorithm>
#include <cwchar>

int CVelmor::FindAndReplace(int nStartLine, int nEndLine, wchar_t* pszWhat, int& nPos, unsigned short wFlags)
{
    const bool bBack = (wFlags & VELMOR_FIND_BACKWARDS) != 0;
    const int n = (int)m_Text._GetSize();
    if (nStartLine == -1)
        nStartLine = bBack ? (int)m_ptCursor.y : FirstVisibleLine();
    if (nEndLine == -1)
        nEndLine = bBack ? 0 : n;
    return FindFrom(nStartLine, nEndLine, pszWhat, nPos, wFlags, true);
}

// One pass of a search from nStartLine up to (not including) nEndLine; at
// its end, a first pass wraps around once and searches from the wrap line
// back to where it began.
int CVelmor::FindFrom(int nStartLine, int nEndLine, const wchar_t* pszWhat, int& nPos, unsigned short wFlags,
                      bool bMayWrap)
{
    if (!pszWhat)
        return -1;
    const bool bBack = (wFlags & VELMOR_FIND_BACKWARDS) != 0;
    const int n = (int)m_Text._GetSize();
    const int step = bBack ? -1 : 1;
    const int wrap = bBack ? n - 1 : 0;
    for (int line = nStartLine;; line += step) {
        if (line == nEndLine || line < 0 || line >= n) {
            if (line != nEndLine || nStartLine == wrap || !bMayWrap)
                return -1;
            nPos = 0;
            return FindFrom(wrap, nStartLine, pszWhat, nPos, wFlags, false);
        }
        int col;
        if (!bBack) {
            // Forwards, every line up to where this pass ends (its end line,
            // or the end of the text) in one scan.
            const int stop = nEndLine > line && nEndLine < n ? nEndLine : n;
            const int hit = SearchLinesForward(m_Text.m_arrLines.GetData(), line, stop, pszWhat, nPos, wFlags, col);
            if (hit == stop) {
                nPos = 0;
                line = stop - 1;
                continue;
            }
            line = hit;
        } else {
            // Lines live in blocks of their own: the one a few lines ahead
            // is fetched while this one is searched, so the scan waits on
            // memory once, not once a line.
            if (line - 16 >= 0)
                AfxPrefetchText(m_Text.LineRef(line - 16));
            col = SearchLine(m_Text.LineRef(line), pszWhat, nPos, wFlags);
            if (col < 0) {
                nPos = 0;
                continue;
            }
        }
        const int len = (int)std::wcslen(pszWhat);
        nPos = bBack ? std::max(col, 0) : col + len;
        _SetCursorPos(col, line);
        _SetAnchorPos(col + len, line);
        DrawCursor(false);
        if (m_hWnd) {
            CRect rc = GetLineRect(line);
            InvalidateRect(&rc, FALSE);
        }
        DrawCursor(true);
        ScrollToCursor();
        if (m_hWnd)
            SetFocus();
        // A backwards match at column 0: the next call starts on the line above.
        return bBack && col == 0 ? line - 1 : line;
    }
}

int CVelmor::ReverseFindString(wchar_t* pszStr, wchar_t* pszWhat, int n)
{
    return ReverseFind(pszStr, pszWhat, n);
}

int CVelmor::ReplaceString(wchar_t* pszText)
{
    if (IsLock())
        return 0;
    StartAction();
    _ReplaceSelText(pszText ? pszText : L"");
    EndAction();
    RemoveSelected();
    return 0;
}

// Whether column nCol of a line is comment text; a line without colours
// for that column counts as code.
bool CVelmor::IsCommentAt(int nCol, int nLine)
{
    if (nLine < 0 || nLine >= (int)m_Text._GetSize() || nCol < 0)
        return false;
    if ((size_t)nCol >= m_Text._GetLineColors(nLine).size())
        return false;
    return m_Text.IsCommentOut(nCol, nLine) != 0;
}

void CVelmor::FindMatchBrace()
{
    const int n = (int)m_Text._GetSize();
    const int y = m_ptCursor.y;
    if (y < 0 || y >= n)
        return;
    // The first '{' and the first '}' of a line, unless in a comment.
    auto brace = [&](int line, wchar_t ch) {
        const int c = FirstOf(m_Text.LineRef(line), ch);
        return c >= 0 && !IsCommentAt(c, line) ? c : -1;
    };
    const int o = FirstOf(m_Text.LineRef(y), L'{'), c = FirstOf(m_Text.LineRef(y), L'}');
    const bool oOk = o >= 0 && !IsCommentAt(o, y), cOk = c >= 0 && !IsCommentAt(c, y);
    // From line y in direction step, the brace `other` that closes the
    // nesting `same` opens; past either end of the text, the last line, as
    // it always has.
    auto match = [&](int step, wchar_t same, wchar_t other) {
        int depth = 1;
        for (int line = y + step;; line += step) {
            if (line < 0 || line >= n) {
                GoToXY(0, n - 1);
                return;
            }
            if (brace(line, same) >= 0)
                ++depth;
            const int at = brace(line, other);
            if (at >= 0) {
                if (depth == 1) {
                    GoToXY(at, line);
                    return;
                }
                --depth;
            }
        }
    };
    if (o >= 0 && c >= 0 && c < o && oOk && cOk)
        GoToXY(c, y);
    else if (o >= 0 && c < 0 && oOk)
        match(1, L'{', L'}');
    else if (c >= 0 && o < 0 && cOk)
        match(-1, L'}', L'{');
}

void CVelmor::CommentOutSelect()
{
    if (m_ptAnchor == m_ptCursor)
        return;
    StartAction();
    if (m_ptCursor.y < m_ptAnchor.y)
        std::swap(m_ptCursor, m_ptAnchor);
    const int n = (int)m_Text._GetSize();
    const int ay = m_ptAnchor.y, cy = m_ptCursor.y;
    if (ay >= 0 && cy < n && ay <= cy) {
        if (ay != cy) {
            const int caretLen = m_Text.LineRef(cy).GetLength();
            if (m_ptAnchor.x < 1 && m_ptCursor.x >= caretLen - 1) {
                FrozenBlock([&] {
                    for (int line = ay; line <= cy; ++line)
                        SetTextLine(LineCommentOut(m_Text.LineRef(line)), line, false, true);
                }, false, true);
            } else {
                CString first = m_Text.LineRef(ay), last = m_Text.LineRef(cy);
                first.Insert(m_ptAnchor.x, L"/*");
                last.Insert(m_ptCursor.x, L"*/");
                SetTextLine(first, ay, false, true);
                SetTextLine(last, cy, false, true);
            }
        } else {
            const int a = std::min(m_ptAnchor.x, m_ptCursor.x), b = std::max(m_ptAnchor.x, m_ptCursor.x);
            m_ptAnchor.x = m_ptCursor.x = a;
            const CString& line = m_Text.LineRef(ay);
            SetTextLine(line.Left(a) + L"/*" + line.Mid(a, b - a) + L"*/" + line.Mid(b), ay, false, true);
        }
    }
    m_ptCursor = m_ptAnchor;
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
    EndAction();
}

void CVelmor::UncommentSelected()
{
    if (m_ptAnchor == m_ptCursor)
        return;
    StartAction();
    if (m_ptCursor.y < m_ptAnchor.y)
        std::swap(m_ptCursor, m_ptAnchor);
    const int s = m_ptAnchor.x;
    m_ptAnchor.x = m_ptCursor.x = std::min(m_ptAnchor.x, m_ptCursor.x);
    const int n = (int)m_Text._GetSize();
    const int ay = m_ptAnchor.y, cy = m_ptCursor.y;
    if (ay >= 0 && cy < n && ay <= cy) {
        const int o = m_Text.LineRef(ay).Find(L"/*", std::max(s, 0));
        if (o < 0) {
            FrozenBlock([&] {
                for (int line = ay; line <= cy; ++line) {
                    const CString& text = m_Text.LineRef(line);
                    const CString out = LineUncomment(text, s);
                    if (out != text)
                        SetTextLine(out, line, false, true);
                }
            }, false, true);
        } else {
            const int c = m_Text.LineRef(cy).Find(L"*/", o + 2);
            if (c >= 0) {
                if (ay != cy) {
                    CString first = m_Text.LineRef(ay), last = m_Text.LineRef(cy);
                    first.Delete(o, 2);
                    last.Delete(c, 2);
                    SetTextLine(first, ay, false, true);
                    SetTextLine(last, cy, false, true);
                } else {
                    CString line = m_Text.LineRef(ay);
                    line.Delete(c, 2);
                    line.Delete(o, 2);
                    SetTextLine(line, ay, false, true);
                }
            }
        }
    }
    m_ptCursor = m_ptAnchor;
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
    EndAction();
}

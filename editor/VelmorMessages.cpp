// The messages of the "VelmorEdit" window class (Velmor.h), one entry per
// message, each calling the CVelmor member that does the work. Arguments
// are checked first, so that a message that fails changes nothing.
#include "VelmorWindowClass.h"
#include "../html/HTMLCtrl.h"
#include <algorithm>
#include <cwchar>

namespace {

// A line or column number carried by wParam or lParam (negative numbers
// arrive sign-extended or not, depending on the caller's width).
long long Num(WPARAM w)
{
    return (long long)(INT_PTR)w;
}
int Int(WPARAM w)
{
    return (int)(INT_PTR)w;
}

template <class T> bool SizeOk(const T* p)
{
    return p->cbSize == sizeof(T);
}

const wchar_t* Text(LPARAM l)
{
    return reinterpret_cast<const wchar_t*>(l);
}

} // namespace

bool CVelmorWindow::LineOk(WPARAM wParam, bool bAllowEnd)
{
    const long long n = Num(wParam);
    const long long count = GetLineCount();
    return n >= 0 && (n < count || (bAllowEnd && n == count));
}

// WM_GETTEXT's rule: at most cch - 1 characters and a terminating zero;
// the characters copied. Without a buffer, the length.
LRESULT CVelmorWindow::CopyOut(const CString& s, WPARAM cch, LPARAM buffer)
{
    if (!buffer)
        return s.GetLength();
    if (cch == 0)
        return 0;
    const size_t n = std::min((size_t)s.GetLength(), (size_t)cch - 1);
    wchar_t* p = reinterpret_cast<wchar_t*>(buffer);
    std::wmemcpy(p, s.GetString(), n);
    p[n] = 0;
    return (LRESULT)n;
}

LRESULT CVelmorWindow::CopyOut(const CString& s, const VELMORTEXT* pText)
{
    if (!pText || !pText->pszText)
        return Fail(VELMOR_STATUS_NULLPOINTER);
    if (!SizeOk(pText))
        return Fail(VELMOR_STATUS_BADSIZE);
    if (pText->pszText > (UINT64)(UINT_PTR)-1)
        return Fail(VELMOR_STATUS_BADVALUE);
    return CopyOut(s, pText->cchMax, (LPARAM)(UINT_PTR)pText->pszText);
}

// Character offsets as WM_GETTEXT's text has them: every line followed by
// one line feed when there are two lines or more.
long long CVelmorWindow::OffsetOf(int nColumn, int nLine)
{
    long long offset = 0;
    for (int i = 0; i < nLine; ++i)
        offset += m_Text.LineRef(i).GetLength() + 1;
    return offset + std::min(std::max(nColumn, 0), m_Text.LineRef(nLine).GetLength());
}

CPoint CVelmorWindow::PositionOf(long long nOffset)
{
    const int count = GetLineCount();
    for (int i = 0; i < count; ++i) {
        const int len = m_Text.LineRef(i).GetLength();
        if (nOffset <= len)
            return CPoint((int)nOffset, i);
        nOffset -= len + 1;
    }
    return CPoint(m_Text.LineRef(count - 1).GetLength(), count - 1);
}

// An inserted or removed line as one undo step, the way SetLine makes one.
void CVelmorWindow::EditLines(int nKind, int nLine, const wchar_t* pszText)
{
    DrawCursor(false);
    StartAction();
    if (nKind == 0)
        InsertTextLine(CString(pszText), nLine, true, false);
    else
        RemoveTextLine(nLine, false, true);
    EndAction();
    DrawCursor(true);
}

#define HANDLER [](CVelmorWindow & w, WPARAM wp, LPARAM lp) -> LRESULT
#define NEEDS(cond, status)          \
    do {                             \
        if (!(cond))                 \
            return w.Fail(status);   \
    } while (0)
#define NEEDS_OR(cond, status, err)      \
    do {                                 \
        if (!(cond))                     \
            return w.Fail(status, err);  \
    } while (0)

const CVelmorWindow::Entry* CVelmorWindow::Table(size_t& nCount)
{
    static const Entry table[] = {
        // ---- Standard messages, as the system's edit control answers them.
        { WM_SETTEXT, HANDLER { w.LoadText(lp ? Text(lp) : L""); return TRUE; } },
        { WM_GETTEXT, HANDLER {
            NEEDS_OR(lp, VELMOR_STATUS_NULLPOINTER, 0);
            CString s;
            w.UnloadText(s);
            return w.CopyOut(s, wp, lp);
        } },
        { WM_GETTEXTLENGTH, HANDLER {
            CString s;
            w.UnloadText(s);
            return s.GetLength();
        } },
        { WM_SETFONT, HANDLER {
            LOGFONTW lf;
            if (!wp)
                return w.SetFontDef(100, const_cast<wchar_t*>(L"Courier New")), 0;
            NEEDS_OR(::GetObjectW((HFONT)wp, sizeof lf, &lf) == sizeof lf, VELMOR_STATUS_BADVALUE, 0);
            HDC hdc = ::GetDC(nullptr);
            const int dpi = ::GetDeviceCaps(hdc, LOGPIXELSY);
            ::ReleaseDC(nullptr, hdc);
            const int tenths = ::MulDiv(lf.lfHeight < 0 ? -lf.lfHeight : lf.lfHeight, 720, dpi > 0 ? dpi : 96);
            NEEDS_OR(tenths >= 20, VELMOR_STATUS_BADVALUE, 0);
            w.SetFontDef(tenths, lf.lfFaceName);
            return 0;
        } },
        { WM_GETFONT, HANDLER { return (LRESULT)w.m_font.m_hObject; } },
        { WM_CUT, HANDLER {
            NEEDS_OR(!w.IsLock(), VELMOR_STATUS_READONLY, 0);
            w.OnCut();
            return 0;
        } },
        { WM_COPY, HANDLER { w.OnCopy(); return 0; } },
        { WM_PASTE, HANDLER {
            NEEDS_OR(!w.IsLock(), VELMOR_STATUS_READONLY, 0);
            w.OnPaste();
            return 0;
        } },
        { WM_CLEAR, HANDLER {
            NEEDS_OR(!w.IsLock(), VELMOR_STATUS_READONLY, 0);
            if (w.GetCursorPos() != w.GetAnchorPos())
                w.ReplaceSelText(L"");
            return 0;
        } },
        { WM_UNDO, HANDLER { w.DoUndo(); return TRUE; } },
        { EM_UNDO, HANDLER { w.DoUndo(); return TRUE; } },
        { EM_CANUNDO, HANDLER {
            CCmdUI ui;
            w.OnUpdateUndo(&ui);
            return ui.m_bEnabled;
        } },
        { EM_EMPTYUNDOBUFFER, HANDLER { w.ClearUndoHistory(); return 0; } },
        { EM_GETSEL, HANDLER {
            const CPoint a = w.GetAnchorPos(), c = w.GetCursorPos();
            long long s = w.OffsetOf(a.x, a.y), e = w.OffsetOf(c.x, c.y);
            if (s > e)
                std::swap(s, e);
            if (wp)
                *reinterpret_cast<DWORD*>(wp) = (DWORD)s;
            if (lp)
                *reinterpret_cast<DWORD*>(lp) = (DWORD)e;
            return s > 0xFFFF || e > 0xFFFF ? -1 : MAKELRESULT(s, e);
        } },
        { EM_SETSEL, HANDLER {
            const long long s = (int)(INT_PTR)wp, e = (int)lp;
            if (s < 0) { // -1: no selection, the caret stays
                const CPoint c = w.GetCursorPos();
                w.SetSelection(c.x, c.y, c.x, c.y);
                return 0;
            }
            const CPoint a = w.PositionOf(s);
            const CPoint c = e < 0 ? w.PositionOf(LLONG_MAX) : w.PositionOf(e);
            w.SetSelection(a.x, a.y, c.x, c.y);
            return 0;
        } },
        { EM_REPLACESEL, HANDLER {
            NEEDS_OR(lp, VELMOR_STATUS_NULLPOINTER, 0);
            w.ReplaceSelText(Text(lp));
            return 0;
        } },
        { EM_GETLINE, HANDLER {
            NEEDS_OR(lp, VELMOR_STATUS_NULLPOINTER, 0);
            NEEDS_OR(w.LineOk(wp), VELMOR_STATUS_BADLINE, 0);
            // The buffer's first WORD holds its size in characters; no zero is added.
            const size_t cch = *reinterpret_cast<const WORD*>(lp);
            const CString& s = w.m_Text.LineRef(Int(wp));
            const size_t n = std::min(cch, (size_t)s.GetLength());
            std::wmemcpy(reinterpret_cast<wchar_t*>(lp), s.GetString(), n);
            return (LRESULT)n;
        } },
        { EM_GETLINECOUNT, HANDLER { return w.GetLineCount(); } },
        { EM_LINEINDEX, HANDLER {
            const long long n = Num(wp) == -1 ? w.GetCurLine() : Num(wp);
            if (n < 0 || n >= w.GetLineCount())
                return -1;
            return (LRESULT)w.OffsetOf(0, (int)n);
        } },
        { EM_LINEFROMCHAR, HANDLER {
            if (Num(wp) < 0)
                return w.GetCurLine();
            return w.PositionOf(Num(wp)).y;
        } },
        { EM_GETFIRSTVISIBLELINE, HANDLER { return w.FirstVisibleLine(); } },
        { EM_SCROLLCARET, HANDLER { w.ScrollToCursor(); return TRUE; } },
        { EM_SETREADONLY, HANDLER { w.SetReadOnly(wp != 0); return TRUE; } },
        { EM_GETMODIFY, HANDLER { return w.GetStyleSetting(VELMOR_STYLE_MODIFIED) != 0; } },
        { EM_SETMODIFY, HANDLER { w.SetStyleSetting(VELMOR_STYLE_MODIFIED, wp != 0); return 0; } },

        // ---- Status and the direct call.
        { VEM_GETSTATUS, HANDLER { return w.m_nStatus; } },
        { VEM_SETSTATUS, HANDLER { w.m_nStatus = Int(wp); return 0; } },
        { VEM_GETDIRECTFUNCTION, HANDLER { return (LRESULT)&CVelmorWindow::DirectCall; } },
        { VEM_GETDIRECTPOINTER, HANDLER { return (LRESULT)&w; } },
        { VEM_SETEVENTMASK, HANDLER {
            NEEDS((wp & ~(WPARAM)VELMOR_EVENT_ALL) == 0, VELMOR_STATUS_BADVALUE);
            w.SetEventMask((UINT)wp);
            return TRUE;
        } },
        { VEM_GETEVENTMASK, HANDLER { return w.m_uEventMask; } },

        // ---- Text.
        { VEM_GETSOURCE, HANDLER {
            CString s;
            w.GetSourceCodes(s);
            return w.CopyOut(s, wp, lp);
        } },
        { VEM_GETLINELENGTH, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            return w.m_Text.LineRef(Int(wp)).GetLength();
        } },
        { VEM_GETLINE, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            return w.CopyOut(w.m_Text.LineRef(Int(wp)), reinterpret_cast<const VELMORTEXT*>(lp));
        } },
        { VEM_SETLINE, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            w.SetLine(Text(lp), Int(wp));
            return TRUE;
        } },
        { VEM_INSERTLINE, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(w.LineOk(wp, true), VELMOR_STATUS_BADLINE);
            w.EditLines(0, Int(wp), Text(lp));
            return TRUE;
        } },
        { VEM_REMOVELINE, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            w.EditLines(1, Int(wp), nullptr);
            return TRUE;
        } },
        { VEM_REMOVEALLTEXT, HANDLER { w.RemoveAllText(); return TRUE; } },
        { VEM_GETCURLINE, HANDLER { return w.GetCurLine(); } },

        // ---- Caret, anchor and selection.
        { VEM_GETCARET, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            const CPoint c = w.GetCursorPos();
            reinterpret_cast<VELMORPOS*>(lp)->nColumn = c.x;
            reinterpret_cast<VELMORPOS*>(lp)->nLine = c.y;
            return TRUE;
        } },
        { VEM_SETCARET, HANDLER {
            NEEDS(w.LineOk((WPARAM)lp), VELMOR_STATUS_BADLINE);
            NEEDS(Num(wp) >= 0 && Num(wp) <= INT_MAX, VELMOR_STATUS_BADVALUE);
            w.SetCursorPos(CPoint(Int(wp), (int)lp));
            return TRUE;
        } },
        { VEM_GETANCHOR, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            const CPoint a = w.GetAnchorPos();
            reinterpret_cast<VELMORPOS*>(lp)->nColumn = a.x;
            reinterpret_cast<VELMORPOS*>(lp)->nLine = a.y;
            return TRUE;
        } },
        { VEM_SETANCHOR, HANDLER {
            NEEDS(w.LineOk((WPARAM)lp), VELMOR_STATUS_BADLINE);
            NEEDS(Num(wp) >= 0 && Num(wp) <= INT_MAX, VELMOR_STATUS_BADVALUE);
            w.SetAnchorPos(CPoint(Int(wp), (int)lp));
            return TRUE;
        } },
        { VEM_GETSELECTION, HANDLER {
            VELMORSELECTION* p = reinterpret_cast<VELMORSELECTION*>(lp);
            NEEDS(p, VELMOR_STATUS_NULLPOINTER);
            NEEDS(SizeOk(p), VELMOR_STATUS_BADSIZE);
            const CPoint a = w.GetAnchorPos(), c = w.GetCursorPos();
            p->nAnchorColumn = a.x;
            p->nAnchorLine = a.y;
            p->nCaretColumn = c.x;
            p->nCaretLine = c.y;
            return a != c;
        } },
        { VEM_SETSELECTION, HANDLER {
            const VELMORSELECTION* p = reinterpret_cast<const VELMORSELECTION*>(lp);
            NEEDS(p, VELMOR_STATUS_NULLPOINTER);
            NEEDS(SizeOk(p), VELMOR_STATUS_BADSIZE);
            NEEDS(w.LineOk((WPARAM)(INT_PTR)p->nAnchorLine) && w.LineOk((WPARAM)(INT_PTR)p->nCaretLine),
                  VELMOR_STATUS_BADLINE);
            NEEDS(p->nAnchorColumn >= 0 && p->nCaretColumn >= 0, VELMOR_STATUS_BADVALUE);
            w.SetSelection(p->nAnchorColumn, p->nAnchorLine, p->nCaretColumn, p->nCaretLine);
            return TRUE;
        } },
        { VEM_GETSELTEXT, HANDLER {
            CString s;
            w.GetHighlight(s);
            return w.CopyOut(s, wp, lp);
        } },
        { VEM_SELECTALL, HANDLER { w.OnSelectall(); return TRUE; } },
        { VEM_ISSELECTED, HANDLER { return w.IsSelected(Int(wp), (int)lp); } },

        // ---- The view.
        { VEM_GETLASTVISIBLELINE, HANDLER { return w.LastVisibleLine(); } },
        { VEM_GETVISIBLELINES, HANDLER { return w.VisibleLines(wp != 0); } },
        { VEM_GETVISIBLECOLUMNS, HANDLER { return w.VisibleColumns(); } },
        { VEM_SCROLLTOLINE, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            w.SoftScrollToLine(Int(wp));
            return TRUE;
        } },
        { VEM_GOTOLINE, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            w.GoToLine(Int(wp));
            return TRUE;
        } },
        { VEM_GOTOPOS, HANDLER {
            NEEDS(w.LineOk((WPARAM)lp), VELMOR_STATUS_BADLINE);
            NEEDS(Num(wp) >= 0 && Num(wp) <= INT_MAX, VELMOR_STATUS_BADVALUE);
            w.GoToXY(Int(wp), (int)lp);
            return TRUE;
        } },
        { VEM_GETSCROLLPOS, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            const CPoint p = w.GetScrollPosition();
            reinterpret_cast<VELMORPOS*>(lp)->nColumn = p.x;
            reinterpret_cast<VELMORPOS*>(lp)->nLine = p.y;
            return TRUE;
        } },

        // ---- Settings.
        { VEM_SETFONT, HANDLER {
            NEEDS(Num(wp) >= 20 && Num(wp) <= 10000, VELMOR_STATUS_BADVALUE);
            CString face(lp ? Text(lp) : w.GetFontName().GetString());
            NEEDS(!face.IsEmpty() && face.GetLength() < LF_FACESIZE, VELMOR_STATUS_BADVALUE);
            return w.SetFontDef(Int(wp), face.GetBuffer()) ? TRUE : w.Fail(VELMOR_STATUS_FAILURE);
        } },
        { VEM_GETFONTSIZE, HANDLER { return w.GetFontSize(); } },
        { VEM_GETFONTNAME, HANDLER { return w.CopyOut(w.GetFontName(), wp, lp); } },
        { VEM_SETCHARSPACING, HANDLER {
            w.SetCharXSpacing(Int(wp));
            w.SetCharYSpacing((int)lp);
            w.InvalidateRect(nullptr, TRUE);
            return TRUE;
        } },
        { VEM_GETCHARCELL, HANDLER { return MAKELRESULT(w.m_nCharWidth, w.m_nLineHeight); } },
        { VEM_SETCOLOR, HANDLER {
            switch (wp) {
            case VELMOR_COLOR_BACKGROUND: w.SetBackgroundColor((COLORREF)lp); return TRUE;
            case VELMOR_COLOR_HIGHLIGHT: w.SetHighlightColor((COLORREF)lp); return TRUE;
            case VELMOR_COLOR_HIGHLIGHTTEXT: w.SetHighlightTextColor((COLORREF)lp); return TRUE;
            }
            return w.Fail(VELMOR_STATUS_BADVALUE);
        } },
        { VEM_GETCOLOR, HANDLER {
            switch (wp) {
            case VELMOR_COLOR_BACKGROUND: return w.m_crBackground;
            case VELMOR_COLOR_HIGHLIGHT: return w.m_crHighlight;
            case VELMOR_COLOR_HIGHLIGHTTEXT: return w.m_crHighlightText;
            }
            return w.Fail(VELMOR_STATUS_BADVALUE);
        } },
        { VEM_SETTABSIZE, HANDLER {
            NEEDS(Num(wp) >= 1 && Num(wp) <= 64, VELMOR_STATUS_BADVALUE);
            w.m_nTabSize = Int(wp);
            return TRUE;
        } },
        { VEM_GETTABSIZE, HANDLER { return w.m_nTabSize; } },
        { VEM_SETLINENUMBERS, HANDLER {
            w.SetLineNumber(wp != 0);
            w.InvalidateRect(nullptr, TRUE);
            return TRUE;
        } },
        { VEM_GETLINENUMBERS, HANDLER { return w.m_bLineNumber; } },
        { VEM_GETREADONLY, HANDLER { return w.IsLock(); } },
        { VEM_SETACCELERATORS, HANDLER { w.UseKeyboardAccelerators(wp != 0); return TRUE; } },
        { VEM_SETSTYLEBITS, HANDLER {
            NEEDS(wp <= 0xFFFF, VELMOR_STATUS_BADVALUE);
            w.SetStyleSetting((WORD)wp, lp != 0);
            return TRUE;
        } },
        { VEM_GETSTYLEBITS, HANDLER {
            NEEDS(wp <= 0xFFFF, VELMOR_STATUS_BADVALUE);
            return w.GetStyleSetting((WORD)wp);
        } },
        { VEM_RECOLORIZE, HANDLER { w.Recolorize(); return TRUE; } },

        // ---- Word sets and host variables.
        { VEM_ADDWORD, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(*Text(lp), VELMOR_STATUS_BADVALUE);
            CString word(Text(lp));
            switch (wp) {
            case VELMOR_WORDS_KEYWORD: w.AddKey(word.GetBuffer()); return TRUE;
            case VELMOR_WORDS_OPERATOR: w.AddOpKey(word.GetBuffer()); return TRUE;
            case VELMOR_WORDS_FUNCTION: w.AddFuncKey(word.GetBuffer()); return TRUE;
            }
            return w.Fail(VELMOR_STATUS_BADVALUE);
        } },
        { VEM_ADDVARIABLE, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(*Text(lp), VELMOR_STATUS_BADVALUE);
            w.GetVarArray().Add(CString(Text(lp)));
            return TRUE;
        } },
        { VEM_CLEARVARIABLES, HANDLER { w.GetVarArray().RemoveAll(); return TRUE; } },
        { VEM_GETVARIABLECOUNT, HANDLER { return w.GetVarArray().GetSize(); } },
        { VEM_INITPARSERVARIABLES, HANDLER { w.InitParserVariable(); return TRUE; } },

        // ---- Breakpoints and the running script.
        { VEM_SETBREAKPOINT, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            NEEDS(lp >= 0 && lp <= 255, VELMOR_STATUS_BADVALUE);
            const int line = Int(wp);
            const int old = line < w.m_arrBreaks.GetSize() ? (BYTE)w.m_arrBreaks[line] : 0;
            w.SetBreakLine(line, (int)lp);
            w.InvalidateRect(nullptr, FALSE);
            if (old != (int)lp)
                w.NotifyBreakpoint(line, (int)lp);
            return TRUE;
        } },
        { VEM_GETBREAKPOINT, HANDLER {
            NEEDS(Num(wp) >= 0, VELMOR_STATUS_BADLINE);
            return Num(wp) < w.m_arrBreaks.GetSize() ? (BYTE)w.m_arrBreaks[Int(wp)] : 0;
        } },
        { VEM_TOGGLEBREAKPOINT, HANDLER {
            NEEDS(w.LineOk(wp), VELMOR_STATUS_BADLINE);
            const int line = Int(wp);
            const int mark = line < w.m_arrBreaks.GetSize() && w.m_arrBreaks[line] ? 0 : 1;
            w.SetBreakLine(line, mark);
            w.InvalidateRect(nullptr, FALSE);
            w.NotifyBreakpoint(line, mark);
            return mark;
        } },
        { VEM_CLEARBREAKPOINTS, HANDLER {
            w.DeleteAllBreaks();
            w.InvalidateRect(nullptr, FALSE);
            return TRUE;
        } },
        { VEM_GETBREAKPOINTS, HANDLER {
            const int n = w.m_arrBreaks.GetSize();
            NEEDS(lp || wp == 0, VELMOR_STATUS_NULLPOINTER);
            BYTE* p = reinterpret_cast<BYTE*>(lp);
            for (int i = 0; i < n && (size_t)i < (size_t)wp; ++i)
                p[i] = (BYTE)w.m_arrBreaks[i];
            return n;
        } },
        { VEM_ENABLEBREAKPOINTS, HANDLER {
            w.EnableBreaks(wp != 0);
            w.InvalidateRect(nullptr, FALSE);
            return TRUE;
        } },
        { VEM_GETBREAKSDISABLED, HANDLER { return w.IsEnableBreaks(); } },
        { VEM_SETEXECLINE, HANDLER {
            const long long n = Num(wp);
            NEEDS(n == -1 || (n >= 1 && n <= w.GetLineCount()), VELMOR_STATUS_BADLINE);
            w.SetBreakLine((int)n);
            w.InvalidateRect(nullptr, FALSE);
            return TRUE;
        } },
        { VEM_GETEXECLINE, HANDLER { return w.m_nBreakLine; } },
        { VEM_SETRUNNINGLINE, HANDLER { w.SetRunningLine(Int(wp)); return TRUE; } },
        { VEM_GETRUNNINGLINE, HANDLER { return w.m_nRunningLine; } },
        { VEM_SETRUNNING, HANDLER { w.SetRunning(wp != 0); return TRUE; } },
        { VEM_GETRUNNING, HANDLER { return w.m_bRunning; } },

        // ---- Undo.
        { VEM_REDO, HANDLER { w.DoRedo(); return TRUE; } },
        { VEM_CANREDO, HANDLER {
            CCmdUI ui;
            w.OnUpdateRedo(&ui);
            return ui.m_bEnabled;
        } },

        // ---- Search, braces, comments, indentation.
        { VEM_FIND, HANDLER {
            VELMORFIND* f = reinterpret_cast<VELMORFIND*>(wp);
            NEEDS(f && lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(SizeOk(f), VELMOR_STATUS_BADSIZE);
            const int n = w.GetLineCount();
            NEEDS(f->nStartLine >= -1 && f->nStartLine < n && f->nEndLine >= -1 && f->nEndLine <= n,
                  VELMOR_STATUS_BADLINE);
            NEEDS(f->nColumn >= 0 && (f->uFlags & ~0xFFFFu) == 0, VELMOR_STATUS_BADVALUE);
            CString what(Text(lp));
            int pos = f->nColumn;
            const int line = w.FindAndReplace(f->nStartLine, f->nEndLine, what.GetBuffer(), pos,
                                              (unsigned short)f->uFlags);
            f->nColumn = pos;
            return line;
        } },
        { VEM_REPLACE, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(!w.IsLock(), VELMOR_STATUS_READONLY);
            CString text(Text(lp));
            return w.ReplaceString(text.GetBuffer());
        } },
        { VEM_FINDBRACE, HANDLER { w.FindMatchBrace(); return TRUE; } },
        { VEM_COMMENT, HANDLER { w.CommentOutSelect(); return TRUE; } },
        { VEM_UNCOMMENT, HANDLER { w.UncommentSelected(); return TRUE; } },
        { VEM_INDENT, HANDLER { w.IncreaseIndent(); return TRUE; } },
        { VEM_UNINDENT, HANDLER { w.DecreaseIndent(); return TRUE; } },

        // ---- The value tip.
        { VEM_SETINSPECTOR, HANDLER {
            const VELMORINSPECTOR* p = reinterpret_cast<const VELMORINSPECTOR*>(lp);
            if (!p) {
                w.SetInspector(nullptr);
                return TRUE;
            }
            NEEDS(SizeOk(p), VELMOR_STATUS_BADSIZE);
            w.m_bridge.SetTable(*p);
            w.SetInspector(&w.m_bridge);
            return TRUE;
        } },
        { VEM_SETENGINE, HANDLER {
            const VELMORENGINE* p = reinterpret_cast<const VELMORENGINE*>(lp);
            NEEDS(p, VELMOR_STATUS_NULLPOINTER);
            NEEDS(SizeOk(p), VELMOR_STATUS_BADSIZE);
            const UINT64 top = (UINT64)(UINT_PTR)-1;
            NEEDS(p->pFunctionList <= top && p->pStaticNameSpace <= top && p->pLocalFrame <= top &&
                      p->pLocalLog <= top,
                  VELMOR_STATUS_BADVALUE);
            w.SetScriptFun((void*)(UINT_PTR)p->pFunctionList, (void*)(UINT_PTR)p->pStaticNameSpace,
                           (void*)(UINT_PTR)p->pLocalFrame);
            w.SetLocalLog((void*)(UINT_PTR)p->pLocalLog);
            return TRUE;
        } },
        { VEM_GETVARIABLE, HANDLER {
            const VELMORPOS* pos = reinterpret_cast<const VELMORPOS*>(lp);
            NEEDS(pos && wp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(w.LineOk((WPARAM)(INT_PTR)pos->nLine), VELMOR_STATUS_BADLINE);
            NEEDS(SizeOk(reinterpret_cast<const VELMORTEXT*>(wp)), VELMOR_STATUS_BADSIZE);
            return w.CopyOut(w.GetVariable(pos->nColumn, pos->nLine), reinterpret_cast<const VELMORTEXT*>(wp));
        } },

        // ---- The HTML view.
        { VEM_SHOWHTML, HANDLER {
            CString url(lp ? Text(lp) : L"");
            w.CreatHTMLWnd(lp ? url.GetBuffer() : nullptr);
            NEEDS(!lp || (w.m_pHtmlView && w.m_pHtmlView->m_hWnd), VELMOR_STATUS_NOWINDOW);
            return TRUE;
        } },
        { VEM_SETHTML, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            NEEDS(w.m_pHtmlView && w.m_pHtmlView->m_hWnd, VELMOR_STATUS_NOWINDOW);
            return w.m_pHtmlView->SetNewHTMLContent(CString(Text(lp)), true) ? TRUE : FALSE;
        } },
        { VEM_GETHTMLPAGESIZE, HANDLER {
            NEEDS(lp, VELMOR_STATUS_NULLPOINTER);
            const CSize size = w.m_pHtmlView ? w.m_pHtmlView->GetPageSize() : CSize(0, 0);
            reinterpret_cast<SIZE*>(lp)->cx = size.cx;
            reinterpret_cast<SIZE*>(lp)->cy = size.cy;
            return TRUE;
        } },
    };
    nCount = sizeof table / sizeof table[0];
    return table;
}

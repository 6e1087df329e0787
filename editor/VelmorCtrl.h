// CVelmor: the syntax-colouring editor control for S-Lang scripts.
//
// A host creates it as a child window (one of the creating constructors, or
// the default constructor and Create), loads a script with LoadText, reads
// it back with UnloadText or GetSourceCodes (comments blanked for the
// interpreter), and shows breakpoints and the executing line in the margin.
// The parent receives WM_COMMAND with EN_CHANGE after every completed edit.
#pragma once
#include "VelmorVersion.h" // VELMOR_VERSION...: made by the build, in the package's include/
#include "../framework/afxwin.h"
#include "../framework/afxcmn.h"
#include "../text/ScriptText.h"
#include "../text/TextSearch.h"
#include "../text/TextWalk.h"
#include "UndoFrame.h"
#include "../engine/EngineInspector.h"
#include <climits>
#include <stack>

class CHTMLCtrl;

// Style-setting bits (GetStyleSetting / SetStyleSetting).
const WORD VELMOR_STYLE_MODIFIED = 0x0001;       // set by typing; cleared by the host
const WORD VELMOR_STYLE_BREAKS_DISABLED = 0x0002; // breakpoint marks drawn grey

// Timers of the control.
const UINT_PTR VELMOR_TIMER_VALUETIP = 1;
const UINT_PTR VELMOR_TIMER_RUNNINGLINE = 2;
// Tool id of the value tip.
const UINT_PTR VELMOR_TIP_TOOL = 1;

// Posted to the parent on every key-down: wParam 0x0300, lParam the
// control's dialog id.
const UINT VELMOR_WM_KEYNOTIFY = 0x0B00;

// Sent to the parent to evaluate the selection the mouse rests on while a
// script is held: the result is a pointer to the value's 8-bit text (ANSI
// code page), or 0.
const UINT VELMOR_WM_EVALUATE = WM_APP + 0x408;

// Posted by the control to itself: draw the scroll bars whose range or
// position changed.
const UINT WM_VELMOR_DRAWBARS = WM_USER + 0x0B01;

// Resources compiled into the library.
const UINT IDR_VELMOR_ACCEL = 129;
const UINT IDR_VELMOR_MENU = 130;         // context menu with the word submenus
const UINT IDR_VELMOR_MENU_COMPACT = 131; // context menu of compact mode

// Commands of the context menu's word submenus: the base plus the index of
// the word in its colorizer set. Each range is entered in the message map
// from ID_VELMOR_WORD_FIRST to its last id, keywords first: the first entry
// that holds an id takes it.
const UINT ID_VELMOR_WORD_FIRST = 30000;
const UINT ID_VELMOR_KEY_BASE = 30000;
const UINT ID_VELMOR_KEY_LAST = 30500;
const UINT ID_VELMOR_OPER_BASE = 31000;
const UINT ID_VELMOR_OPER_LAST = 31500;
const UINT ID_VELMOR_FUNC_BASE = 32000;
const UINT ID_VELMOR_FUNC_LAST = 32500;

// The framework's edit command ids the control handles (WM_COMMAND), with
// update handlers for menus (CCmdUI).
#ifndef ID_EDIT_COPY
const UINT ID_EDIT_COPY = 57634;
const UINT ID_EDIT_CUT = 57635;
const UINT ID_EDIT_PASTE = 57637;
const UINT ID_EDIT_SELECT_ALL = 57642;
const UINT ID_EDIT_UNDO = 57643;
const UINT ID_EDIT_REDO = 57644;
#endif

class AFX_EXT_CLASS CVelmor : public CWnd
{
public:
    CVelmor();
    CVelmor(CWnd* pParent, const CRect& rect, int nID, int nTabSize, LOGFONTW* pLogFont, BYTE bNoFrame);
    CVelmor(CWnd* pParent, const CRect& rect, int nID, int nTabSize, int nFontSize, const wchar_t* pszFontName,
            BYTE bNoFrame);
    ~CVelmor() override;

    BOOL Create(DWORD dwStyle, CWnd* pParent, const CRect& rect, int nID, int nTabSize, int nFontSize,
                const wchar_t* pszFontName);
    void Reset();

    // Text in and out.
    void LoadText(const wchar_t* pszText);
    void SetWindowTextW(const wchar_t* pszText) { LoadText(pszText); }
    void UnloadText(CString& strText) const;
    void GetWindowTextW(CString& strText) const { UnloadText(strText); }
    void GetSourceCodes(CString& strText) const;
    int GetLineCount();
    CString GetLine(int nLine) const;
    int GetCurLine();
    void SetLine(const wchar_t* pszText, int nLine);

    // The four text-changing primitives; each records an undo entry unless
    // told not to. Note the different order of the two flags.
    void InsertTextLine(const CString& text, int nLine, bool bUpdate, bool bNoUndo);
    void SetTextLine(const CString& text, int nLine, bool bNoUndo, bool bUpdate);
    // The same, taking the text over.
    void SetTextLine(CString&& text, int nLine, bool bNoUndo, bool bUpdate);
    // Sets a line without recording it, exchanging: text receives the
    // line's old text (nothing is copied).
    void ExchangeTextLine(CString& text, int nLine, bool bUpdate);
    void RemoveTextLine(int nLine, bool bNoUndo, bool bUpdate);
    // Block forms of the two, recording nothing (callers record the entries
    // the single-line forms would have): the lines go in at nLine, taken
    // from the vector; nCount lines from nLine go.
    void _InsertLineBlock(std::vector<CString>& lines, int nLine, bool bUpdate, bool bFromEnd = false);
    void _RemoveLineBlock(int nLine, int nCount, bool bUpdate);
    // Lines put back as undoing the removal of every line puts them: the
    // last of the vector first at nLine + count - 1, each one before it at
    // the line above the one before; lines[i] ends at nLine + 2i.
    void _InsertLineAlternate(std::vector<CString>& lines, int nLine, bool bUpdate);
    // Lines removed as redoing that puts them back removes them: one at a
    // time at nLine, nLine + 1, ..., so that lines nLine, nLine + 2, ... go.
    void _RemoveLineAlternate(int nLine, int nCount);
    void RemoveAllText();
    // The spaces a Tab at this column inserts (1 to tab size).
    CString MakeTab(int nColumn);

    // Settings.
    void SetStyleSetting(WORD wBits, int bOn);
    int GetStyleSetting(WORD wBits);
    void EnableBreaks(int bEnable);
    int IsEnableBreaks(); // the stored "disabled" bit, not its inverse
    void UseKeyboardAccelerators(bool bUse) { m_bUseAccel = bUse; }
    void LockEditor(bool bLock) { m_bLock = bLock; }
    void SetReadOnly(bool bLock) { m_bLock = bLock; }
    bool IsLock() { return m_bLock; }
    void SetLineNumber(bool bOn) { m_bLineNumber = bOn; }
    // While running, the mouse shows values in a tip; clearing it hides the tip.
    void SetRunning(bool bRunning);
    void SetRunningLine(int nLine) { m_nRunningLine = nLine; }
    void SetBreakLine(int nLine);
    void SetBreakLine(int nLine, int nMark);
    void DeleteAllBreaks() { m_arrBreaks.RemoveAll(); }
    int& GetFontSize() { return m_nFontSize; }
    CString& GetFontName() { return m_strFontName; }
    BOOL SetFontDef(int nPointSize, wchar_t* pszFace);
    void SetCharXSpacing(int n);
    void SetCharYSpacing(int n);
    void SetBackgroundColor(COLORREF cr);
    void SetHighlightColor(COLORREF cr);
    void SetHighlightTextColor(COLORREF cr);
    void Recolorize();
    void SetColorizer(CColorizer* pColorizer);
    void AddKey(wchar_t* pszWord);
    void AddOpKey(wchar_t* pszWord);
    void AddFuncKey(wchar_t* pszWord);
    void InitParserVariable();
    CStringArray& GetVarArray() { return m_arrVars; }
    void SetScriptFun(void* pFunctionList, void* pStaticNameSpace, void* pLocalFrame);
    void SetLocalLog(void* pLocalLog) { m_pLocalLog = pLocalLog; }
    // A host whose engine has no records the control can read gives it an
    // inspection interface instead (null: back to the records).
    void SetInspector(IVelmorInspector* pInspector) { m_pInspector = pInspector; }

    // Variable inspection: the value text of the word at (column x, line y),
    // the bare word, or empty; the selected text; UTF-8 of a UTF-16 text.
    CString GetVariable(int x, int y);
    BOOL GetHighlight(CString& text);
    char* UnicodeToUTF8(const wchar_t* src, char* dst);
    // Shows the child HTML view (m_pHtmlView, id 99, made on first use)
    // over the client area and navigates it to url; NULL hides it.
    void CreatHTMLWnd(wchar_t* url);

    // Positions and selection.
    CPoint GetCursorPos() { return CursorPos(); }
    CPoint GetAnchorPos() { return AnchorPos(); }
    void SetCursorPos(CPoint pt);
    void SetAnchorPos(CPoint pt);
    void SetSelection(int nAnchorX, int nAnchorY, int nCursorX, int nCursorY);
    bool Selected();
    bool IsSelected(int x, int y);

    // Moves caret and anchor to (x, y) unclipped and brings it into view;
    // GoToLine puts them after the leading spaces of a line.
    void GoToXY(int x, int y);
    void GoToLine(int nLine);

    // Scrolling.
    void ScrollToCursor();
    void SoftScrollToLine(int nLine);
    // ScrollToLine as for a text of nLines lines (an undo step visits a
    // block's lines before the block changes the count).
    void ScrollToLine(int nLine, int nLines);
    CPoint GetScrollPosition();
    CPoint GetDeviceScrollPosition();

    // Geometry of the view.
    CRect GetLineRect(int nLine) const;
    CRect GetLineRect(int nFirst, int nLast) const;
    int FirstVisibleLine() const;
    int VisibleLines(bool bAll) const;
    int LastVisibleLine() const;
    int VisibleColumns() const;
    void RefreshLineNum(int bNow);

    // Keys and editing. KeyDown is the key table for hosts that route keys
    // themselves: 1 when the key was consumed.
    int KeyDown(UINT nChar, UINT nRepCnt, UINT nFlags);
    BOOL PreTranslateMessage(MSG* pMsg) override;
    void IncreaseIndent();
    void DecreaseIndent();
    // Replaces the selection with text (tabs expanded, a line feed ends a
    // line) as one undo step; does not look at read-only.
    void ReplaceSelText(const wchar_t* pszText);

    // Search, braces and comments. FindAndReplace selects the next match
    // and returns its line (-1 none); nPos carries the column between calls.
    int FindAndReplace(int nStartLine, int nEndLine, wchar_t* pszWhat, int& nPos, unsigned short wFlags);
    int ReverseFindString(wchar_t* pszStr, wchar_t* pszWhat, int n);
    int ReplaceString(wchar_t* pszText);
    void FindMatchBrace();
    void CommentOutSelect();
    void UncommentSelected();

    // Undo history. Undo and redo replay one step each, with the caret and
    // anchor put back; neither checks read-only.
    void ClearUndoHistory();
    void DoUndo();
    void DoRedo();

    virtual void NotifyParent(UINT nCode);

protected:
    // Position accessors: raw, no clipping, no redraw.
    CPoint CursorPos() const { return m_ptCursor; }
    int CursorPosX() const { return m_ptCursor.x; }
    int CursorPosY() const { return m_ptCursor.y; }
    CPoint AnchorPos() const { return m_ptAnchor; }
    int AnchorPosX() const { return m_ptAnchor.x; }
    int AnchorPosY() const { return m_ptAnchor.y; }
    void _SetCursorPos(int x, int y) { m_ptCursor.SetPoint(x, y); }
    void _SetCursorPos(CPoint pt) { m_ptCursor = pt; }
    void _SetCursorPosX(int x) { m_ptCursor.x = x; }
    void _SetCursorPosY(int y) { m_ptCursor.y = y; }
    void _SetAnchorPos(int x, int y) { m_ptAnchor.SetPoint(x, y); }
    void _SetAnchorPos(CPoint pt) { m_ptAnchor = pt; }
    void _SetAnchorPosX(int x) { m_ptAnchor.x = x; }
    void _SetAnchorPosY(int y) { m_ptAnchor.y = y; }
    void ClipCursorPosition(CPoint& pt);
    void ClipCursorPosition(int& x, int& y);
    void ClipAnchorPosition(CPoint& pt);
    void ClipAnchorPosition(int& x, int& y);

    void DrawCursor(bool bShow);
    void UpdateScrollSizes();
    void ScrollToLine(int nLine);
    void ShiftDisplay(int dx, int dy);
    void UpdateAnchor(bool bExtend);
    void RemoveSelected();
    void StringOnCursor(CString& word);
    void DoUndoRedo(std::stack<CUndoFrame>& from, std::stack<CUndoFrame>& to);

    // Editing primitives (no undo step of their own, no read-only check).
    void InsertChar(int ch, bool bInvalidate);
    void InsertString(CString& text, bool bInvalidate);
    void DeletePrevChar();
    void DeleteNextChar();
    void DoEnter();
    void InsertTab();
    void RemoveTab();

    // Clipboard.
    void DoCopy();
    void DoCut();
    void DoPaste();
    void _ReplaceSelText(const wchar_t* pszText);
    bool InSelection(int x, int y) const;
    void InvalidateAll(BOOL bErase);

    // Context menu: updates the items of a menu, and of its popups, through
    // the command-update handlers.
    void UpdateMenuItems(CMenu* pMenu, BOOL bDisableIfNoHandler);
    void AppendWordItems(CMenu* pMenu, const std::set<CString>& words, UINT nBase);
    void InsertSetWord(const std::set<CString>& words, int nIndex, const wchar_t* pszSuffix);

    void StartAction();
    void EndAction();
    void StartUndoFrame();
    void EndUndoFrame();
    void ClearUndoStack(std::stack<CUndoFrame>& s);

    CPoint _DrawLine(CDC* pDC, const CString& text, const std::vector<unsigned long>& colors, int nLine, int y);
    void DrawMargin(CDC* pDC, int nLine, int y);
    void BuildCompactBackground();
    void ReleaseCompactBackground();
    void MeasureFont();
    void MeasureMetrics();

    afx_msg void OnNcPaint();
    afx_msg BOOL OnEraseBkgnd(CDC* pDC);
    afx_msg void OnPaint();
    afx_msg void OnSize(UINT nType, int cx, int cy);
    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct);
    afx_msg BOOL OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT message);
    afx_msg void OnShowWindow(BOOL bShow, UINT nStatus);
    afx_msg void OnKillFocus(CWnd* pNewWnd);
    afx_msg void OnSetFocus(CWnd* pOldWnd);
    afx_msg void OnTimer(UINT_PTR nIDEvent);
    afx_msg void OnLButtonDown(UINT nFlags, CPoint point);
    afx_msg void OnLButtonUp(UINT nFlags, CPoint point);
    afx_msg void OnLButtonDblClk(UINT nFlags, CPoint point);
    afx_msg void OnMouseMove(UINT nFlags, CPoint point);
    afx_msg BOOL OnMouseWheel(UINT nFlags, short zDelta, CPoint pt);
    afx_msg void OnVScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
    afx_msg void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
    afx_msg void OnUndo();
    afx_msg void OnRedo();
    afx_msg void OnUpdateUndo(CCmdUI* pCmdUI);
    afx_msg void OnUpdateRedo(CCmdUI* pCmdUI);
    afx_msg LRESULT OnDrawBars(WPARAM wParam, LPARAM lParam);
    afx_msg void OnKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnChar(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg UINT OnGetDlgCode();
    afx_msg void OnCopy();
    afx_msg void OnCut();
    afx_msg void OnPaste();
    afx_msg void OnSelectall();
    afx_msg void OnUpdateCopy(CCmdUI* pCmdUI);
    afx_msg void OnUpdateCut(CCmdUI* pCmdUI);
    afx_msg void OnUpdatePaste(CCmdUI* pCmdUI);
    afx_msg void OnUpdateSelectall(CCmdUI* pCmdUI);
    afx_msg void OnContextMenu(CWnd* pWnd, CPoint point);
    afx_msg void OnKeyInput(UINT nID);
    afx_msg void OnOperInput(UINT nID);
    afx_msg void OnFuncInput(UINT nID);

    DECLARE_MESSAGE_MAP()

public:
    int m_nHoverLine;
    int m_nBreakLine;           // one-based execution line, -1 none
    CArray<char, char> m_arrBreaks; // breakpoint mark per zero-based line
    int m_nRunningLine;
    int m_nLastBreakLine;
    void* m_pStaticNameSpace;
    void* m_pLocalFrame;
    void* m_pLocalLog;
    void* m_pFunctionList;
    int m_nHoverEndCol;
    CString m_strHoverWord;
    CToolTipCtrl m_wndValueTip;
    CHTMLCtrl* m_pHtmlView;
    int m_nWideCharWidth;
    int m_anCharWidth[256];
    int m_nLeftMargin;
    TEXTMETRICW m_tm;
    bool m_bLineNumber;
    WORD m_wStyle;
    CStringArray m_arrVars;
    int m_nCharWidth;
    int m_nLineHeight;
    int m_nTabSize;
    HCURSOR m_hCursor;
    CFont m_font;
    CSampleColorizer m_Colorizer;
    int m_nFirstCol;
    int m_nFirstLine;
    int m_nFontSize;            // tenths of a point
    CString m_strFontName;
    CPoint m_ptAnchor;
    CPoint m_ptCursor;
    COLORREF m_crBackground;
    COLORREF m_crHighlight;
    COLORREF m_crHighlightText;
    CScriptText m_Text;
    bool m_bSelected;
    bool m_bMouseDown;
    bool m_bCaretCreated;
    bool m_bLock;
    bool m_bRunning;
    bool m_bUseAccel;
    bool m_bAutoIndent;
    CPoint m_ptLastClick;
    CUndoFrame m_CurFrame;
    std::stack<CUndoFrame> m_UndoStack;
    std::stack<CUndoFrame> m_RedoStack;
    int m_nID;
    HACCEL m_hAccel;
    bool m_bNoFrame;            // compact mode
    HDC m_hMemDC;               // compact mode: the parent's pixels under the control
    HBITMAP m_hMemBitmap;
    char m_szValueBuf[1024];
    CString m_strClassName;

private:
    void InitMembers(COLORREF crBackground);
    void ApplyScrollSizes();
    TextWidths Widths() const;
    int LineAt(int y) const;
    void SetBarPos(int nBar, int nPos);
    void ExpandLine(const wchar_t* p, int n, CString& buffer);
    void InsertLoadedLine(const wchar_t* p, int n);
    int TextLength() const;
    void RecolourAll();
    // What the key table did with a key.
    enum
    {
        kKeyDefault,  // not the control's: default handling
        kKeyHandled,  // handled, then the common ending
        kKeyConsumed, // Ctrl+A, Ctrl+C: done, nothing more
        kKeyActed,    // Ctrl+V, X, Y, Z: done, then the common ending
        kKeyLetter,   // one of those letters without Ctrl: the common ending only
    };
    int HandleKey(UINT nChar, bool bFromKeyDown);
    void MoveCaretForKey(UINT nChar, bool bCtrl);
    void KeyTail();
    void PostKeyNotification();
    void BlockOf(int& nFirst, int& nLast, int& nFirstCol) const;
    void EndBlockShift(CPoint a, CPoint c, int nDelta);
    template <class Loop> void FrozenBlock(Loop loop, bool bDrawCaret, bool bRecolouredAfter);
    void AbandonAction();
    CString SelectedText(int nMax = INT_MAX) const;
    int FindFrom(int nStartLine, int nEndLine, const wchar_t* pszWhat, int& nPos, unsigned short wFlags,
                 bool bMayWrap);
    bool IsCommentAt(int nCol, int nLine);
    int CaretOffset(CDC* pDC);
    bool PreparePaintBuffer(CDC* pDC, CSize size);
    void ReleasePaintBuffer();
    void PaintView(CDC* pDC, const CRect& rcClient, const CRect& rcPaint);
    void PaintWithBuffer(CPaintDC& dc, const CRect& rcClient, const CRect& rcPaint);
    void SetScrollBarIfChanged(int nBar, int nMax, int nPage, int nPos);
    // The value tip.
    void HoverAt(int col, int nLine, CPoint point);
    int LookupHoverValue(int nLine);
    bool CreateValueTip();
    void ShowValueTip(const CString& text, CPoint point, bool bAddTool);
    void HideValueTip();
    void RefreshValueTip();
    TOOLINFOW ValueTipInfo() const;
    IVelmorInspector* m_pInspector;

    // Set between StartAction and EndAction: scroll bars are updated once
    // when the action ends (m_bScrollPending records that one is due).
    bool m_bInAction;
    bool m_bScrollPending;
    bool m_bRepaintDue; // the view scrolled inside an action: repaint it all at its end
    // The off-screen picture painting draws into, kept between paints and
    // grown with the window.
    HDC m_hPaintDC;
    HBITMAP m_hPaintBitmap;
    HGDIOBJ m_hPaintOldBitmap;
    CSize m_szPaint;
    // Scroll bars waiting to be drawn (1 vertical, 2 horizontal), and
    // whether the message that draws them is on its way.
    int m_nBarsDue;
    bool m_bBarsPosted;
    // While set, a comment delimiter's full recolouring is noted in
    // m_bRecolourDue and done once by whoever set it.
    bool m_bDeferRecolour;
    bool m_bRecolourDue;
    // Set while a block of lines changes (block indent, commenting, an undo
    // step): the lines and the caret are not repainted one by one, as the
    // whole control is repainted when the block ends; m_bFrozenRepaint
    // notes a whole repaint asked for meanwhile.
    bool m_bFrozen;
    bool m_bFrozenRepaint;
    // The client rectangle while frozen inside an action (scroll bars are
    // not set then, so it cannot change): asked for at every line, it is
    // read once.
    CRect m_rcFrozenClient;
    bool m_bFrozenClient;
    void ClientRect(CRect* pRect) const;

protected:
    // The lines changed since the span was last taken, in the text as it
    // is now: every line from nFirst to nLast, and nAdded lines more than
    // before (nLast < nFirst: lines were only removed, at nFirst). Kept up
    // to date by the text primitives at no cost to an edit.
    struct ChangeSpan
    {
        bool bAny;
        int nFirst, nLast, nAdded;
    };
    ChangeSpan m_change;
    void NoteChange(int nLine, int nRemoved, int nInserted);

};

// Construction, creation, reset and the window-frame handlers.
#include "VelmorCtrl.h"
#include "../html/HTMLCtrl.h"
#include <cmath>
#include <cstring>

namespace {
const DWORD kStyleCompact = WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN;
const DWORD kStyleFramed = kStyleCompact | WS_VSCROLL | WS_HSCROLL;
}

BEGIN_MESSAGE_MAP(CVelmor, CWnd)
    ON_WM_NCPAINT()
    ON_WM_ERASEBKGND()
    ON_WM_KEYDOWN()
    ON_WM_CHAR()
    ON_WM_LBUTTONDOWN()
    ON_WM_LBUTTONDBLCLK()
    ON_WM_LBUTTONUP()
    ON_WM_MOUSEMOVE()
    ON_WM_PAINT()
    ON_WM_SIZE()
    ON_WM_GETDLGCODE()
    ON_WM_VSCROLL()
    ON_WM_HSCROLL()
    ON_WM_CREATE()
    ON_WM_SETCURSOR()
    ON_WM_SHOWWINDOW()
    ON_WM_MOUSEWHEEL()
    ON_WM_CONTEXTMENU()
    // Overlapping on purpose: the first range that holds an id wins.
    ON_COMMAND_RANGE(ID_VELMOR_WORD_FIRST, ID_VELMOR_KEY_LAST, &CVelmor::OnKeyInput)
    ON_COMMAND_RANGE(ID_VELMOR_WORD_FIRST, ID_VELMOR_OPER_LAST, &CVelmor::OnOperInput)
    ON_COMMAND_RANGE(ID_VELMOR_WORD_FIRST, ID_VELMOR_FUNC_LAST, &CVelmor::OnFuncInput)
    ON_UPDATE_COMMAND_UI(ID_EDIT_COPY, &CVelmor::OnUpdateCopy)
    ON_COMMAND(ID_EDIT_COPY, &CVelmor::OnCopy)
    ON_UPDATE_COMMAND_UI(ID_EDIT_CUT, &CVelmor::OnUpdateCut)
    ON_COMMAND(ID_EDIT_CUT, &CVelmor::OnCut)
    ON_UPDATE_COMMAND_UI(ID_EDIT_PASTE, &CVelmor::OnUpdatePaste)
    ON_COMMAND(ID_EDIT_PASTE, &CVelmor::OnPaste)
    ON_UPDATE_COMMAND_UI(ID_EDIT_SELECT_ALL, &CVelmor::OnUpdateSelectall)
    ON_COMMAND(ID_EDIT_SELECT_ALL, &CVelmor::OnSelectall)
    ON_UPDATE_COMMAND_UI(ID_EDIT_UNDO, &CVelmor::OnUpdateUndo)
    ON_COMMAND(ID_EDIT_UNDO, &CVelmor::OnUndo)
    ON_UPDATE_COMMAND_UI(ID_EDIT_REDO, &CVelmor::OnUpdateRedo)
    ON_COMMAND(ID_EDIT_REDO, &CVelmor::OnRedo)
    ON_WM_KILLFOCUS()
    ON_WM_SETFOCUS()
    ON_WM_TIMER()
    ON_MESSAGE(WM_VELMOR_DRAWBARS, &CVelmor::OnDrawBars)
END_MESSAGE_MAP()

void CVelmor::InitMembers(COLORREF crBackground)
{
    m_nHoverLine = -1;
    m_nBreakLine = -1;
    m_nRunningLine = -1;
    m_nLastBreakLine = -1;
    m_pStaticNameSpace = nullptr;
    m_pLocalFrame = nullptr;
    m_pLocalLog = nullptr;
    m_pFunctionList = nullptr;
    m_nHoverEndCol = -1;
    m_pHtmlView = nullptr;
    m_pInspector = nullptr;
    m_nWideCharWidth = 0;
    std::memset(m_anCharWidth, 0, sizeof m_anCharWidth);
    m_nLeftMargin = 3;
    std::memset(&m_tm, 0, sizeof m_tm);
    m_bLineNumber = false;
    m_wStyle = 0;
    m_nCharWidth = 10;
    m_nLineHeight = 10;
    m_nTabSize = 4;
    m_hCursor = nullptr;
    m_nFirstCol = 0;
    m_nFirstLine = 0;
    m_nFontSize = 0;
    m_crBackground = crBackground;
    m_crHighlight = 0x00000000;
    m_crHighlightText = 0x00FFFFFF;
    m_bSelected = false;
    m_bMouseDown = false;
    m_bCaretCreated = false;
    m_bLock = false;
    m_bRunning = false;
    m_bUseAccel = true;
    m_bAutoIndent = false;
    m_nID = 0;
    m_hAccel = nullptr;
    m_bNoFrame = false;
    m_hMemDC = nullptr;
    m_hMemBitmap = nullptr;
    std::memset(m_szValueBuf, 0, sizeof m_szValueBuf);
    m_strClassName.Format(L"CVelmor::%p", (void*)this);
    m_bInAction = false;
    m_bFrozen = m_bFrozenRepaint = m_bFrozenClient = false;
    m_change = ChangeSpan{ false, 0, -1, 0 };
    m_bScrollPending = false;
    m_bRepaintDue = false;
    m_hPaintDC = nullptr;
    m_hPaintBitmap = nullptr;
    m_hPaintOldBitmap = nullptr;
    m_szPaint = CSize(0, 0);
    m_nBarsDue = 0;
    m_bBarsPosted = false;
    m_bDeferRecolour = false;
    m_bRecolourDue = false;
}

CVelmor::CVelmor()
{
    InitMembers(0x00FFCCCC);
    SetStyleSetting(VELMOR_STYLE_MODIFIED, FALSE);
    Reset();
}

CVelmor::CVelmor(CWnd* pParent, const CRect& rect, int nID, int nTabSize, LOGFONTW* pLogFont, BYTE bNoFrame)
{
    InitMembers(0x00FFFFFF);
    m_nID = nID;
    m_nTabSize = nTabSize;
    if (pLogFont) {
        m_font.CreateFontIndirect(pLogFont);
        m_strFontName = pLogFont->lfFaceName;
    }
    m_bNoFrame = bNoFrame != 0;
    m_hAccel = ::LoadAcceleratorsW(AfxGetResourceHandle(), MAKEINTRESOURCEW(IDR_VELMOR_ACCEL));
    // Point size 0: Create keeps the font made above.
    Create(bNoFrame ? kStyleCompact : kStyleFramed, pParent, rect, nID, nTabSize, 0, m_strFontName);
    Reset();
    m_bNoFrame = bNoFrame != 0; // Create and Reset clear it
}

CVelmor::CVelmor(CWnd* pParent, const CRect& rect, int nID, int nTabSize, int nFontSize, const wchar_t* pszFontName,
                 BYTE bNoFrame)
{
    InitMembers(0x00FFFFFF);
    m_nID = nID;
    m_nTabSize = nTabSize;
    m_bNoFrame = bNoFrame != 0;
    m_hAccel = ::LoadAcceleratorsW(AfxGetResourceHandle(), MAKEINTRESOURCEW(IDR_VELMOR_ACCEL));
    Create(bNoFrame ? kStyleCompact : kStyleFramed, pParent, rect, nID, nTabSize, nFontSize, pszFontName);
    Reset();
    m_bNoFrame = bNoFrame != 0;
}

CVelmor::~CVelmor()
{
    if (m_bCaretCreated) {
        ::DestroyCaret();
        m_bCaretCreated = false;
    }
    if (m_font.m_hObject)
        m_font.DeleteObject();
    ReleaseCompactBackground();
    delete m_pHtmlView;
    m_pHtmlView = nullptr;
    ReleasePaintBuffer();
}

BOOL CVelmor::Create(DWORD dwStyle, CWnd* pParent, const CRect& rect, int nID, int nTabSize, int nFontSize,
                     const wchar_t* pszFontName)
{
    m_bNoFrame = false;
    m_nRunningLine = -1;
    // Forgotten, not deleted: a control is created once, before any paint.
    m_hMemDC = nullptr;
    m_hMemBitmap = nullptr;
    // Scroll ranges need the window: UpdateScrollSizes sets them.
    m_nFontSize = nFontSize;
    m_strFontName = pszFontName;
    if (nFontSize > 0) {
        m_font.DeleteObject();
        if (!m_font.CreatePointFont(nFontSize, pszFontName))
            return FALSE;
    }
    return CWnd::Create(nullptr, nullptr, dwStyle, rect, pParent, (UINT)nID);
}

void CVelmor::Reset()
{
    m_bNoFrame = false;
    m_nRunningLine = -1;
    ReleaseCompactBackground();
    RemoveAllText();
    m_ptCursor = m_ptAnchor = CPoint(0, 0);
    m_nFirstCol = m_nFirstLine = 0;
    m_bSelected = m_bMouseDown = m_bCaretCreated = m_bAutoIndent = false;
    ClearUndoStack(m_RedoStack);
    ClearUndoStack(m_UndoStack);
    m_CurFrame.Clear();
    MeasureFont();
}

void CVelmor::ReleaseCompactBackground()
{
    if (m_hMemDC)
        ::DeleteDC(m_hMemDC);
    if (m_hMemBitmap)
        ::DeleteObject(m_hMemBitmap);
    m_hMemDC = nullptr;
    m_hMemBitmap = nullptr;
}

void CVelmor::MeasureFont()
{
    // The window's DC once it exists, the screen's before.
    CClientDC dc(m_hWnd ? this : nullptr);
    CFont* pOld = m_font.m_hObject ? dc.SelectObject(&m_font) : nullptr;
    dc.GetCharWidth(0, 255, m_anCharWidth);
    dc.GetCharWidth(161, 161, &m_nWideCharWidth);
    if (pOld)
        dc.SelectObject(pOld);
}

void CVelmor::MeasureMetrics()
{
    CClientDC dc(this);
    CFont* pOld = m_font.m_hObject ? dc.SelectObject(&m_font) : nullptr;
    dc.GetTextMetrics(&m_tm);
    if (pOld)
        dc.SelectObject(pOld);
    if (m_tm.tmAveCharWidth > 0)
        m_nCharWidth = m_tm.tmAveCharWidth;
    if (m_tm.tmHeight > 0)
        m_nLineHeight = m_tm.tmHeight;
    if (m_bLineNumber) {
        // An empty or unsized window has no visible line: the logarithm
        // is then taken of 1 so the margin stays finite.
        int last = LastVisibleLine();
        m_nLeftMargin = (int)((std::log((double)(last > 1 ? last : 1)) + 1.0) * m_tm.tmAveCharWidth);
    }
}

int CVelmor::OnCreate(LPCREATESTRUCT lpCreateStruct)
{
    if (CWnd::OnCreate(lpCreateStruct) == -1)
        return -1;
    SetColorizer(&m_Colorizer);
    m_bCaretCreated = false;
    m_hCursor = ::LoadCursorW(nullptr, (LPCWSTR)IDC_IBEAM);
    SetHighlightColor(0x00000000);
    LockEditor(false);
    ClearUndoHistory();
    return 0;
}

void CVelmor::OnShowWindow(BOOL bShow, UINT nStatus)
{
    if (bShow)
        MeasureMetrics();
    CWnd::OnShowWindow(bShow, nStatus);
}

void CVelmor::OnSize(UINT nType, int cx, int cy)
{
    CWnd::OnSize(nType, cx, cy);
    UpdateScrollSizes();
    if (m_pHtmlView && m_pHtmlView->m_hWnd)
        m_pHtmlView->MoveWindow(0, 0, cx, cy, TRUE);
    if (m_wndValueTip.m_hWnd) {
        CRect rc;
        GetClientRect(&rc);
        m_wndValueTip.SetToolRect(this, VELMOR_TIP_TOOL, &rc);
    }
}

void CVelmor::OnNcPaint()
{
    // Compact mode paints no frame and no scroll bars.
    if (!m_bNoFrame)
        CWnd::OnNcPaint();
}

BOOL CVelmor::OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT message)
{
    CPoint pt;
    ::GetCursorPos(&pt);
    ScreenToClient(&pt);
    CRect rc;
    GetClientRect(&rc);
    if (rc.PtInRect(pt)) {
        ::SetCursor(m_hCursor);
        return TRUE;
    }
    return CWnd::OnSetCursor(pWnd, nHitTest, message);
}

void CVelmor::NotifyParent(UINT nCode)
{
    if (!m_hWnd || !::IsWindow(m_hWnd))
        return;
    HWND hParent = ::GetParent(m_hWnd);
    if (!hParent)
        return;
    ::SendMessageW(hParent, WM_COMMAND, MAKEWPARAM(m_nID & 0xFFFF, nCode), (LPARAM)m_hWnd);
}

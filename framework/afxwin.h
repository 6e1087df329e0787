// The window half of the framework: command targets and message maps,
// CWnd, device contexts and GDI objects.
//
// Windows created through CWnd are attached to their object before the first
// message arrives (a thread-local creation hook subclasses the new window).
// Messages are looked up in the object's message map in declaration order,
// first match winning, then in the base class's map; unhandled messages go
// to the window's original procedure.
#pragma once
#include "afx.h"

#ifdef _WIN32
#include <windowsx.h>
#undef SubclassWindow // windowsx.h macro; CWnd has a member of that name

class CWnd;
class CDC;
class CFont;
class CRgn;
class CScrollBar;
class CCmdTarget;

// ---------------------------------------------------------------------------
// Message maps

// A message-map entry calls a small thunk that unpacks the message into the
// handler's framework signature. nCode/nID/nLastID select WM_COMMAND entries.
typedef BOOL (*AFX_PMSGTHUNK)(CCmdTarget* pTarget, UINT nID, WPARAM wParam, LPARAM lParam, LRESULT* pResult);

struct AFX_MSGMAP_ENTRY
{
    UINT nMessage;
    UINT nCode;
    UINT nID;
    UINT nLastID;
    AFX_PMSGTHUNK pfn;
};

struct AFX_MSGMAP
{
    const AFX_MSGMAP* (*pfnGetBaseMap)();
    const AFX_MSGMAP_ENTRY* lpEntries;
};

const UINT CN_COMMAND = 0;
const UINT CN_UPDATE_COMMAND_UI = (UINT)-1;

#define afx_msg

#define DECLARE_MESSAGE_MAP()                       \
protected:                                          \
    static const AFX_MSGMAP* GetThisMessageMap();   \
    const AFX_MSGMAP* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                          \
    const AFX_MSGMAP* theClass::GetMessageMap() const { return GetThisMessageMap(); }   \
    const AFX_MSGMAP* theClass::GetThisMessageMap()                                     \
    {                                                                                   \
        typedef theClass ThisClass;                                                     \
        typedef baseClass TheBaseClass;                                                 \
        (void)sizeof(ThisClass);                                                        \
        static const AFX_MSGMAP_ENTRY _messageEntries[] = {

#define END_MESSAGE_MAP()                                                               \
            { 0, 0, 0, 0, nullptr } };                                                  \
        static const AFX_MSGMAP messageMap = { &TheBaseClass::GetThisMessageMap, &_messageEntries[0] }; \
        return &messageMap;                                                             \
    }

#define AFX_THUNK(body) \
    [](CCmdTarget* _t, UINT _id, WPARAM wParam, LPARAM lParam, LRESULT* _r) -> BOOL { \
        ThisClass* _p = static_cast<ThisClass*>(_t); (void)_p; (void)_id; (void)wParam; (void)lParam; body; return TRUE; }

#define AFX_MSG_ENTRY(msg, body) { msg, 0, 0, 0, AFX_THUNK(body) },

#define ON_MESSAGE(message, memberFxn) AFX_MSG_ENTRY(message, *_r = (_p->*memberFxn)(wParam, lParam))
#define ON_WM_CREATE() AFX_MSG_ENTRY(WM_CREATE, *_r = _p->OnCreate((LPCREATESTRUCT)lParam))
#define ON_WM_DESTROY() AFX_MSG_ENTRY(WM_DESTROY, _p->OnDestroy(); *_r = 0)
#define ON_WM_CLOSE() AFX_MSG_ENTRY(WM_CLOSE, _p->OnClose(); *_r = 0)
#define ON_WM_PAINT() AFX_MSG_ENTRY(WM_PAINT, _p->OnPaint(); *_r = 0)
#define ON_WM_NCPAINT() AFX_MSG_ENTRY(WM_NCPAINT, _p->OnNcPaint(); *_r = 0)
#define ON_WM_ERASEBKGND() AFX_MSG_ENTRY(WM_ERASEBKGND, *_r = _p->OnEraseBkgnd(CDC::FromHandle((HDC)wParam)))
#define ON_WM_SIZE() AFX_MSG_ENTRY(WM_SIZE, _p->OnSize((UINT)wParam, (short)LOWORD(lParam), (short)HIWORD(lParam)); *_r = 0)
#define ON_WM_SHOWWINDOW() AFX_MSG_ENTRY(WM_SHOWWINDOW, _p->OnShowWindow((BOOL)wParam, (UINT)lParam); *_r = 0)
#define ON_WM_SETCURSOR() AFX_MSG_ENTRY(WM_SETCURSOR, *_r = _p->OnSetCursor(CWnd::FromHandle((HWND)wParam), LOWORD(lParam), HIWORD(lParam)))
#define ON_WM_TIMER() AFX_MSG_ENTRY(WM_TIMER, _p->OnTimer((UINT_PTR)wParam); *_r = 0)
#define ON_WM_KEYDOWN() AFX_MSG_ENTRY(WM_KEYDOWN, _p->OnKeyDown((UINT)wParam, LOWORD(lParam), HIWORD(lParam)); *_r = 0)
#define ON_WM_KEYUP() AFX_MSG_ENTRY(WM_KEYUP, _p->OnKeyUp((UINT)wParam, LOWORD(lParam), HIWORD(lParam)); *_r = 0)
#define ON_WM_CHAR() AFX_MSG_ENTRY(WM_CHAR, _p->OnChar((UINT)wParam, LOWORD(lParam), HIWORD(lParam)); *_r = 0)
#define ON_WM_LBUTTONDOWN() AFX_MSG_ENTRY(WM_LBUTTONDOWN, _p->OnLButtonDown((UINT)wParam, CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_LBUTTONUP() AFX_MSG_ENTRY(WM_LBUTTONUP, _p->OnLButtonUp((UINT)wParam, CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_LBUTTONDBLCLK() AFX_MSG_ENTRY(WM_LBUTTONDBLCLK, _p->OnLButtonDblClk((UINT)wParam, CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_RBUTTONDOWN() AFX_MSG_ENTRY(WM_RBUTTONDOWN, _p->OnRButtonDown((UINT)wParam, CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_MOUSEMOVE() AFX_MSG_ENTRY(WM_MOUSEMOVE, _p->OnMouseMove((UINT)wParam, CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_MOUSEWHEEL() AFX_MSG_ENTRY(WM_MOUSEWHEEL, *_r = _p->OnMouseWheel(LOWORD(wParam), (short)HIWORD(wParam), CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))))
// The thumb position of a scroll message is its unsigned high word; the
// bar's scroll-bar control, when it comes from one, else NULL.
#define ON_WM_VSCROLL() AFX_MSG_ENTRY(WM_VSCROLL, _p->OnVScroll(LOWORD(wParam), HIWORD(wParam), lParam ? (CScrollBar*)CWnd::FromHandle((HWND)lParam) : nullptr); *_r = 0)
#define ON_WM_HSCROLL() AFX_MSG_ENTRY(WM_HSCROLL, _p->OnHScroll(LOWORD(wParam), HIWORD(wParam), lParam ? (CScrollBar*)CWnd::FromHandle((HWND)lParam) : nullptr); *_r = 0)
#define ON_WM_GETDLGCODE() AFX_MSG_ENTRY(WM_GETDLGCODE, *_r = _p->OnGetDlgCode())
#define ON_WM_CONTEXTMENU() AFX_MSG_ENTRY(WM_CONTEXTMENU, _p->OnContextMenu(CWnd::FromHandle((HWND)wParam), CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))); *_r = 0)
#define ON_WM_SETFOCUS() AFX_MSG_ENTRY(WM_SETFOCUS, _p->OnSetFocus(CWnd::FromHandle((HWND)wParam)); *_r = 0)
#define ON_WM_KILLFOCUS() AFX_MSG_ENTRY(WM_KILLFOCUS, _p->OnKillFocus(CWnd::FromHandle((HWND)wParam)); *_r = 0)
#define ON_WM_MOUSEACTIVATE() AFX_MSG_ENTRY(WM_MOUSEACTIVATE, *_r = _p->OnMouseActivate(CWnd::FromHandle((HWND)wParam), LOWORD(lParam), HIWORD(lParam)))

// Command entries: the handler of a range receives the command id.
#define ON_COMMAND(id, memberFxn) \
    { WM_COMMAND, CN_COMMAND, (UINT)(id), (UINT)(id), AFX_THUNK((_p->*memberFxn)(); *_r = 0) },
#define ON_COMMAND_RANGE(id, idLast, memberFxn) \
    { WM_COMMAND, CN_COMMAND, (UINT)(id), (UINT)(idLast), AFX_THUNK((_p->*memberFxn)(_id); *_r = 0) },
// Update requests: OnCmdMsg(id, CN_UPDATE_COMMAND_UI, pCmdUI, ...) asks the
// handler to enable, disable or check the user-interface item of a command.
#define ON_UPDATE_COMMAND_UI(id, memberFxn) \
    { WM_COMMAND, CN_UPDATE_COMMAND_UI, (UINT)(id), (UINT)(id), AFX_THUNK((_p->*memberFxn)((CCmdUI*)lParam); *_r = 0) },
#define ON_CONTROL(wNotifyCode, id, memberFxn) \
    { WM_COMMAND, (UINT)(wNotifyCode), (UINT)(id), (UINT)(id), AFX_THUNK((_p->*memberFxn)(); *_r = 0) },

// ---------------------------------------------------------------------------

class CCmdTarget;

// The state of one user-interface item of a command (a menu item): a
// command's update handler enables, disables or checks it. With a menu the
// item at m_nIndex of m_hMenu is changed; without one the answer is only
// recorded (m_bEnabled, m_nCheck), which is how a host that draws its own
// buttons asks.
class AFX_EXT_CLASS CCmdUI
{
public:
    CCmdUI()
        : m_nID(0), m_nIndex(0), m_nIndexMax(0), m_hMenu(nullptr), m_bEnableChanged(FALSE), m_bEnabled(TRUE),
          m_nCheck(0)
    {
    }
    virtual ~CCmdUI() {}
    virtual void Enable(BOOL bOn = TRUE);
    virtual void SetCheck(int nCheck = 1);
    // Asks pTarget's update handler for m_nID; returns FALSE when it has
    // none (the item is then disabled if bDisableIfNoHandler).
    BOOL DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHandler);

    UINT m_nID;
    UINT m_nIndex;
    UINT m_nIndexMax; // the number of items of m_hMenu
    HMENU m_hMenu;
    BOOL m_bEnableChanged;
    BOOL m_bEnabled;
    int m_nCheck;
};

class AFX_EXT_CLASS CCmdTarget
{
public:
    CCmdTarget() {}
    virtual ~CCmdTarget() {}
    // Routes a command (or an update request, nCode CN_UPDATE_COMMAND_UI)
    // through the message map; returns TRUE when a handler took it.
    virtual BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, void* pHandlerInfo);

protected:
    static const AFX_MSGMAP* GetThisMessageMap();
    virtual const AFX_MSGMAP* GetMessageMap() const;
    // Finds the first entry for a message or command, searching base maps last.
    const AFX_MSGMAP_ENTRY* FindEntry(UINT nMessage, UINT nCode, UINT nID) const;
};

// ---------------------------------------------------------------------------
// GDI objects

class AFX_EXT_CLASS CGdiObject
{
public:
    CGdiObject() : m_hObject(nullptr) {}
    virtual ~CGdiObject();
    CGdiObject(const CGdiObject&) = delete;
    CGdiObject& operator=(const CGdiObject&) = delete;

    HGDIOBJ m_hObject;
    operator HGDIOBJ() const { return m_hObject; }
    HGDIOBJ GetSafeHandle() const { return m_hObject; }

    // Wraps a handle the caller does not own in a temporary object.
    static CGdiObject* PASCAL FromHandle(HGDIOBJ hObject);
    BOOL Attach(HGDIOBJ hObject);
    HGDIOBJ Detach();
    BOOL DeleteObject();
    int GetObject(int nCount, LPVOID lpObject) const;
    BOOL CreateStockObject(int nIndex);
};

class AFX_EXT_CLASS CFont : public CGdiObject
{
public:
    operator HFONT() const { return (HFONT)m_hObject; }
    static CFont* PASCAL FromHandle(HFONT hFont) { return (CFont*)CGdiObject::FromHandle(hFont); }
    BOOL CreateFontIndirect(const LOGFONTW* lpLogFont);
    // nPointSize is in tenths of a point; the height is converted with the
    // DC's (or the screen's) vertical resolution.
    BOOL CreatePointFont(int nPointSize, LPCTSTR lpszFaceName, CDC* pDC = nullptr);
    BOOL CreatePointFontIndirect(const LOGFONTW* lpLogFont, CDC* pDC = nullptr);
    int GetLogFont(LOGFONTW* pLogFont) { return GetObject(sizeof(LOGFONTW), pLogFont); }
};

class AFX_EXT_CLASS CPen : public CGdiObject
{
public:
    CPen() {}
    CPen(int nPenStyle, int nWidth, COLORREF crColor);
    operator HPEN() const { return (HPEN)m_hObject; }
    static CPen* PASCAL FromHandle(HPEN hPen) { return (CPen*)CGdiObject::FromHandle(hPen); }
    BOOL CreatePen(int nPenStyle, int nWidth, COLORREF crColor);
};

class AFX_EXT_CLASS CBrush : public CGdiObject
{
public:
    CBrush() {}
    explicit CBrush(COLORREF crColor);
    operator HBRUSH() const { return (HBRUSH)m_hObject; }
    static CBrush* PASCAL FromHandle(HBRUSH hBrush) { return (CBrush*)CGdiObject::FromHandle(hBrush); }
    BOOL CreateSolidBrush(COLORREF crColor);
};

class AFX_EXT_CLASS CBitmap : public CGdiObject
{
public:
    operator HBITMAP() const { return (HBITMAP)m_hObject; }
    static CBitmap* PASCAL FromHandle(HBITMAP hBitmap) { return (CBitmap*)CGdiObject::FromHandle(hBitmap); }
    BOOL CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight);
    BOOL CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* lpBits);
    int GetBitmap(BITMAP* pBitMap) { return GetObject(sizeof(BITMAP), pBitMap); }
};

class AFX_EXT_CLASS CRgn : public CGdiObject
{
public:
    operator HRGN() const { return (HRGN)m_hObject; }
    BOOL CreateRectRgn(int x1, int y1, int x2, int y2);
    BOOL CreateRectRgnIndirect(LPCRECT lpRect);
};

// ---------------------------------------------------------------------------
// Device contexts

class AFX_EXT_CLASS CDC
{
public:
    CDC() : m_hDC(nullptr), m_hAttribDC(nullptr), m_bPrinting(FALSE) {}
    virtual ~CDC();
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;

    HDC m_hDC;       // output
    HDC m_hAttribDC; // attribute queries
    BOOL m_bPrinting;

    operator HDC() const { return m_hDC; }
    HDC GetSafeHdc() const { return m_hDC; }
    static CDC* PASCAL FromHandle(HDC hDC);
    BOOL Attach(HDC hDC);
    HDC Detach();
    BOOL DeleteDC();
    BOOL CreateCompatibleDC(CDC* pDC);
    BOOL IsPrinting() const { return m_bPrinting; }

    CGdiObject* SelectObject(CGdiObject* pObject);
    CFont* SelectObject(CFont* pFont) { return (CFont*)SelectObject((CGdiObject*)pFont); }
    CPen* SelectObject(CPen* pPen) { return (CPen*)SelectObject((CGdiObject*)pPen); }
    CBrush* SelectObject(CBrush* pBrush) { return (CBrush*)SelectObject((CGdiObject*)pBrush); }
    CBitmap* SelectObject(CBitmap* pBitmap) { return (CBitmap*)SelectObject((CGdiObject*)pBitmap); }
    CGdiObject* SelectStockObject(int nIndex);

    COLORREF SetTextColor(COLORREF crColor) { return ::SetTextColor(m_hDC, crColor); }
    COLORREF GetTextColor() const { return ::GetTextColor(m_hAttribDC); }
    COLORREF SetBkColor(COLORREF crColor) { return ::SetBkColor(m_hDC, crColor); }
    COLORREF GetBkColor() const { return ::GetBkColor(m_hAttribDC); }
    int SetBkMode(int nBkMode) { return ::SetBkMode(m_hDC, nBkMode); }
    int GetBkMode() const { return ::GetBkMode(m_hAttribDC); }
    UINT SetTextAlign(UINT nFlags) { return ::SetTextAlign(m_hDC, nFlags); }

    virtual BOOL TextOut(int x, int y, LPCTSTR lpszString, int nCount);
    BOOL TextOut(int x, int y, const CString& str) { return TextOut(x, y, str, str.GetLength()); }
    virtual BOOL ExtTextOut(int x, int y, UINT nOptions, LPCRECT lpRect, LPCTSTR lpszString, UINT nCount, LPINT lpDxWidths);
    virtual int DrawText(LPCTSTR lpszString, int nCount, LPRECT lpRect, UINT nFormat);
    int DrawText(const CString& str, LPRECT lpRect, UINT nFormat) { return DrawText(str, str.GetLength(), lpRect, nFormat); }
    CSize GetTextExtent(LPCTSTR lpszString, int nCount) const;
    CSize GetTextExtent(const CString& str) const { return GetTextExtent(str, str.GetLength()); }
    BOOL GetTextMetrics(LPTEXTMETRICW lpMetrics) const { return ::GetTextMetricsW(m_hAttribDC, lpMetrics); }
    BOOL GetCharWidth(UINT nFirstChar, UINT nLastChar, LPINT lpBuffer) const
    {
        return ::GetCharWidth32W(m_hAttribDC, nFirstChar, nLastChar, lpBuffer);
    }

    // Fills with a solid colour; leaves the background colour set to it.
    void FillSolidRect(LPCRECT lpRect, COLORREF clr);
    void FillSolidRect(int x, int y, int cx, int cy, COLORREF clr);
    void FillRect(LPCRECT lpRect, CBrush* pBrush) { ::FillRect(m_hDC, lpRect, pBrush ? (HBRUSH)pBrush->m_hObject : nullptr); }
    void FrameRect(LPCRECT lpRect, CBrush* pBrush) { ::FrameRect(m_hDC, lpRect, pBrush ? (HBRUSH)pBrush->m_hObject : nullptr); }
    BOOL Rectangle(int x1, int y1, int x2, int y2) { return ::Rectangle(m_hDC, x1, y1, x2, y2); }
    BOOL Rectangle(LPCRECT r) { return ::Rectangle(m_hDC, r->left, r->top, r->right, r->bottom); }
    BOOL RoundRect(int x1, int y1, int x2, int y2, int x3, int y3) { return ::RoundRect(m_hDC, x1, y1, x2, y2, x3, y3); }
    BOOL RoundRect(LPCRECT r, POINT pt) { return ::RoundRect(m_hDC, r->left, r->top, r->right, r->bottom, pt.x, pt.y); }
    BOOL Ellipse(int x1, int y1, int x2, int y2) { return ::Ellipse(m_hDC, x1, y1, x2, y2); }
    BOOL Polygon(const POINT* lpPoints, int nCount) { return ::Polygon(m_hDC, lpPoints, nCount); }
    CPoint MoveTo(int x, int y);
    BOOL LineTo(int x, int y) { return ::LineTo(m_hDC, x, y); }
    COLORREF GetPixel(int x, int y) const { return ::GetPixel(m_hDC, x, y); }
    COLORREF SetPixel(int x, int y, COLORREF crColor) { return ::SetPixel(m_hDC, x, y, crColor); }
    BOOL FloodFill(int x, int y, COLORREF crColor) { return ::FloodFill(m_hDC, x, y, crColor); }

    BOOL BitBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, DWORD dwRop);
    BOOL StretchBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, int nSrcWidth, int nSrcHeight, DWORD dwRop);
    BOOL PatBlt(int x, int y, int nWidth, int nHeight, DWORD dwRop) { return ::PatBlt(m_hDC, x, y, nWidth, nHeight, dwRop); }
    BOOL AlphaBlend(int xDest, int yDest, int nDestWidth, int nDestHeight, CDC* pSrcDC, int xSrc, int ySrc,
                    int nSrcWidth, int nSrcHeight, BLENDFUNCTION blend);

    CPoint SetWindowOrg(int x, int y);
    CPoint SetWindowOrg(POINT pt) { return SetWindowOrg(pt.x, pt.y); }
    CPoint GetWindowOrg() const;
    CPoint SetViewportOrg(int x, int y);
    CPoint GetViewportOrg() const;
    int SetMapMode(int nMapMode) { return ::SetMapMode(m_hDC, nMapMode); }
    int GetClipBox(LPRECT lpRect) const { return ::GetClipBox(m_hDC, lpRect); }
    int IntersectClipRect(int x1, int y1, int x2, int y2) { return ::IntersectClipRect(m_hDC, x1, y1, x2, y2); }
    int GetDeviceCaps(int nIndex) const { return ::GetDeviceCaps(m_hAttribDC, nIndex); }
    int SaveDC() { return ::SaveDC(m_hDC); }
    BOOL RestoreDC(int nSavedDC) { return ::RestoreDC(m_hDC, nSavedDC); }
    BOOL DPtoLP(LPPOINT lpPoints, int nCount = 1) const { return ::DPtoLP(m_hAttribDC, lpPoints, nCount); }
    BOOL LPtoDP(LPPOINT lpPoints, int nCount = 1) const { return ::LPtoDP(m_hAttribDC, lpPoints, nCount); }

protected:
    // Sets both handles to one DC.
    void SetHandles(HDC hDC) { m_hDC = m_hAttribDC = hDC; }
};

class AFX_EXT_CLASS CClientDC : public CDC
{
public:
    // With NULL (or a window not yet created) this is the screen's DC.
    explicit CClientDC(CWnd* pWnd);
    ~CClientDC() override;

protected:
    HWND m_hWnd;
};

class AFX_EXT_CLASS CWindowDC : public CDC
{
public:
    explicit CWindowDC(CWnd* pWnd);
    ~CWindowDC() override;

protected:
    HWND m_hWnd;
};

class AFX_EXT_CLASS CPaintDC : public CDC
{
public:
    explicit CPaintDC(CWnd* pWnd);
    ~CPaintDC() override;
    PAINTSTRUCT m_ps;

protected:
    HWND m_hWnd;
};

// ---------------------------------------------------------------------------
// Menus

// A menu handle. A menu the object created or loaded (or was attached to)
// is destroyed with it; submenus and FromHandle give temporary wrappers of
// handles owned elsewhere.
class AFX_EXT_CLASS CMenu
{
public:
    CMenu() : m_hMenu(nullptr) {}
    virtual ~CMenu();
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;

    HMENU m_hMenu;
    operator HMENU() const { return m_hMenu; }
    HMENU GetSafeHmenu() const { return m_hMenu; }

    static CMenu* PASCAL FromHandle(HMENU hMenu);
    BOOL Attach(HMENU hMenu);
    HMENU Detach();
    BOOL CreatePopupMenu();
    // From the resources of the library's module (AfxGetResourceHandle).
    BOOL LoadMenu(UINT nIDResource);
    BOOL DestroyMenu();

    // A temporary wrapper of the popup at nPos, NULL when the item there is
    // not a popup.
    CMenu* GetSubMenu(int nPos) const;
    // (UINT)-1 when the menu handle is not valid.
    UINT GetMenuItemCount() const;
    // The command id at nPos; (UINT)-1 for a popup, 0 for a separator.
    UINT GetMenuItemID(int nPos) const;
    UINT GetMenuState(UINT nIDItem, UINT nFlags) const;
    int GetMenuString(UINT nIDItem, CString& rString, UINT nFlags) const;
    BOOL AppendMenu(UINT nFlags, UINT_PTR nIDNewItem = 0, LPCTSTR lpszNewItem = nullptr);
    BOOL RemoveMenu(UINT nPosition, UINT nFlags);
    UINT EnableMenuItem(UINT nIDEnableItem, UINT nEnable);
    // Runs the modal menu loop; the chosen command goes to pWnd as
    // WM_COMMAND (or is returned with TPM_RETURNCMD).
    BOOL TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect = nullptr);
};

// ---------------------------------------------------------------------------
// Windows

class AFX_EXT_CLASS CWnd : public CCmdTarget
{
public:
    CWnd();
    ~CWnd() override;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    HWND m_hWnd;
    operator HWND() const { return m_hWnd; }
    HWND GetSafeHwnd() const { return m_hWnd; }

    // The object attached to a window handle, or a temporary wrapper.
    static CWnd* PASCAL FromHandle(HWND hWnd);
    static CWnd* PASCAL FromHandlePermanent(HWND hWnd);
    BOOL Attach(HWND hWndNew);
    HWND Detach();
    BOOL SubclassWindow(HWND hWnd);
    // Subclasses the child nID of pParent; FALSE when there is no such
    // child or it already belongs to a framework object.
    BOOL SubclassDlgItem(UINT nID, CWnd* pParent);
    HWND UnsubclassWindow();

    virtual BOOL Create(LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, const RECT& rect,
                        CWnd* pParentWnd, UINT nID, void* pContext = nullptr);
    virtual BOOL CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle,
                          int x, int y, int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu,
                          LPVOID lpParam = nullptr);
    BOOL CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle,
                  const RECT& rect, CWnd* pParentWnd, UINT nID, LPVOID lpParam = nullptr);
    virtual BOOL DestroyWindow();

    virtual BOOL PreCreateWindow(CREATESTRUCT& cs);
    virtual void PreSubclassWindow() {}
    virtual void PostNcDestroy() {}
    virtual BOOL PreTranslateMessage(MSG* pMsg);
    // Offers pMsg to PreTranslateMessage of each framework window from the
    // message's window up through its parents (stopping after hWndStop).
    static BOOL PASCAL WalkPreTranslateTree(HWND hWndStop, MSG* pMsg);

    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    // Passes the message being handled to the default procedure.
    LRESULT Default();
    static const MSG* PASCAL GetCurrentMessage();

    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return ::SendMessageW(m_hWnd, message, wParam, lParam);
    }
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return ::PostMessageW(m_hWnd, message, wParam, lParam);
    }

    CWnd* GetParent() const { return CWnd::FromHandle(::GetParent(m_hWnd)); }
    CWnd* GetDlgItem(int nID) const { return CWnd::FromHandle(::GetDlgItem(m_hWnd, nID)); }
    int GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
    DWORD GetStyle() const { return (DWORD)::GetWindowLongPtrW(m_hWnd, GWL_STYLE); }
    DWORD GetExStyle() const { return (DWORD)::GetWindowLongPtrW(m_hWnd, GWL_EXSTYLE); }
    BOOL ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0);
    BOOL IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
    BOOL ShowWindow(int nCmdShow) { return ::ShowWindow(m_hWnd, nCmdShow); }
    BOOL EnableWindow(BOOL bEnable = TRUE) { return ::EnableWindow(m_hWnd, bEnable); }
    BOOL IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
    BOOL IsChild(const CWnd* pWnd) const { return pWnd && ::IsChild(m_hWnd, pWnd->m_hWnd); }
    void SetWindowText(LPCTSTR lpszString) { ::SetWindowTextW(m_hWnd, lpszString); }
    void GetWindowText(CString& rString) const;
    void SetFont(CFont* pFont, BOOL bRedraw = TRUE);

    void GetClientRect(LPRECT lpRect) const { ::GetClientRect(m_hWnd, lpRect); }
    void GetWindowRect(LPRECT lpRect) const { ::GetWindowRect(m_hWnd, lpRect); }
    void ClientToScreen(LPPOINT lpPoint) const { ::ClientToScreen(m_hWnd, lpPoint); }
    void ClientToScreen(LPRECT lpRect) const;
    void ScreenToClient(LPPOINT lpPoint) const { ::ScreenToClient(m_hWnd, lpPoint); }
    void ScreenToClient(LPRECT lpRect) const;
    void MapWindowPoints(CWnd* pwndTo, LPRECT lpRect) const;
    void MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE)
    {
        ::MoveWindow(m_hWnd, x, y, nWidth, nHeight, bRepaint);
    }
    void MoveWindow(LPCRECT lpRect, BOOL bRepaint = TRUE)
    {
        MoveWindow(lpRect->left, lpRect->top, lpRect->right - lpRect->left, lpRect->bottom - lpRect->top, bRepaint);
    }
    BOOL SetWindowPos(const CWnd* pWndInsertAfter, int x, int y, int cx, int cy, UINT nFlags)
    {
        return ::SetWindowPos(m_hWnd, pWndInsertAfter ? pWndInsertAfter->m_hWnd : nullptr, x, y, cx, cy, nFlags);
    }

    void Invalidate(BOOL bErase = TRUE) { ::InvalidateRect(m_hWnd, nullptr, bErase); }
    void InvalidateRect(LPCRECT lpRect, BOOL bErase = TRUE) { ::InvalidateRect(m_hWnd, lpRect, bErase); }
    void ValidateRect(LPCRECT lpRect) { ::ValidateRect(m_hWnd, lpRect); }
    void UpdateWindow() { ::UpdateWindow(m_hWnd); }
    BOOL RedrawWindow(LPCRECT lpRectUpdate = nullptr, CRgn* prgnUpdate = nullptr,
                      UINT flags = RDW_INVALIDATE | RDW_UPDATENOW | RDW_ERASE);
    void SetRedraw(BOOL bRedraw = TRUE) { ::SendMessageW(m_hWnd, WM_SETREDRAW, bRedraw, 0); }
    CDC* GetDC() { return CDC::FromHandle(::GetDC(m_hWnd)); }
    CDC* GetWindowDC() { return CDC::FromHandle(::GetWindowDC(m_hWnd)); }
    int ReleaseDC(CDC* pDC);

    int SetScrollPos(int nBar, int nPos, BOOL bRedraw = TRUE) { return ::SetScrollPos(m_hWnd, nBar, nPos, bRedraw); }
    int GetScrollPos(int nBar) const { return ::GetScrollPos(m_hWnd, nBar); }
    void SetScrollRange(int nBar, int nMinPos, int nMaxPos, BOOL bRedraw = TRUE)
    {
        ::SetScrollRange(m_hWnd, nBar, nMinPos, nMaxPos, bRedraw);
    }
    void GetScrollRange(int nBar, LPINT lpMinPos, LPINT lpMaxPos) const
    {
        ::GetScrollRange(m_hWnd, nBar, lpMinPos, lpMaxPos);
    }
    BOOL SetScrollInfo(int nBar, LPSCROLLINFO lpScrollInfo, BOOL bRedraw = TRUE);
    BOOL GetScrollInfo(int nBar, LPSCROLLINFO lpScrollInfo, UINT nMask = SIF_ALL) const;
    void ShowScrollBar(UINT nBar, BOOL bShow = TRUE) { ::ShowScrollBar(m_hWnd, nBar, bShow); }

    UINT_PTR SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer = nullptr)
    {
        return ::SetTimer(m_hWnd, nIDEvent, nElapse, lpfnTimer);
    }
    BOOL KillTimer(UINT_PTR nIDEvent) { return ::KillTimer(m_hWnd, nIDEvent); }
    CWnd* SetFocus() { return CWnd::FromHandle(::SetFocus(m_hWnd)); }
    static CWnd* PASCAL GetFocus() { return CWnd::FromHandle(::GetFocus()); }
    CWnd* SetCapture() { return CWnd::FromHandle(::SetCapture(m_hWnd)); }
    static CWnd* PASCAL GetCapture() { return CWnd::FromHandle(::GetCapture()); }

    void CreateSolidCaret(int nWidth, int nHeight) { ::CreateCaret(m_hWnd, nullptr, nWidth, nHeight); }
    void ShowCaret() { ::ShowCaret(m_hWnd); }
    void HideCaret() { ::HideCaret(m_hWnd); }
    static void PASCAL SetCaretPos(POINT point) { ::SetCaretPos(point.x, point.y); }
    static CPoint PASCAL GetCaretPos();

protected:
    // Default handlers: each passes its message on to the default procedure.
    afx_msg int OnCreate(LPCREATESTRUCT) { return (int)Default(); }
    afx_msg void OnDestroy() { Default(); }
    afx_msg void OnClose() { Default(); }
    afx_msg void OnPaint() { Default(); }
    afx_msg void OnNcPaint() { Default(); }
    afx_msg BOOL OnEraseBkgnd(CDC*) { return (BOOL)Default(); }
    afx_msg void OnSize(UINT, int, int) { Default(); }
    afx_msg void OnShowWindow(BOOL, UINT) { Default(); }
    afx_msg BOOL OnSetCursor(CWnd*, UINT, UINT) { return (BOOL)Default(); }
    afx_msg void OnTimer(UINT_PTR) { Default(); }
    afx_msg void OnKeyDown(UINT, UINT, UINT) { Default(); }
    afx_msg void OnKeyUp(UINT, UINT, UINT) { Default(); }
    afx_msg void OnChar(UINT, UINT, UINT) { Default(); }
    afx_msg void OnLButtonDown(UINT, CPoint) { Default(); }
    afx_msg void OnLButtonUp(UINT, CPoint) { Default(); }
    afx_msg void OnLButtonDblClk(UINT, CPoint) { Default(); }
    afx_msg void OnRButtonDown(UINT, CPoint) { Default(); }
    afx_msg void OnMouseMove(UINT, CPoint) { Default(); }
    afx_msg BOOL OnMouseWheel(UINT, short, CPoint) { return (BOOL)Default(); }
    afx_msg void OnVScroll(UINT, UINT, CScrollBar*) { Default(); }
    afx_msg void OnHScroll(UINT, UINT, CScrollBar*) { Default(); }
    afx_msg UINT OnGetDlgCode() { return (UINT)Default(); }
    afx_msg void OnContextMenu(CWnd*, CPoint) { Default(); }
    afx_msg void OnSetFocus(CWnd*) { Default(); }
    afx_msg void OnKillFocus(CWnd*) { Default(); }
    afx_msg int OnMouseActivate(CWnd*, UINT, UINT) { return (int)Default(); }

    WNDPROC m_pfnSuper; // the window's own procedure, called for unhandled messages

    DECLARE_MESSAGE_MAP()

    friend LRESULT CALLBACK AfxWndProc(HWND, UINT, WPARAM, LPARAM);
    friend LRESULT CALLBACK AfxCbtFilterHook(int, WPARAM, LPARAM);
    friend LRESULT AfxCallWndProc(CWnd*, HWND, UINT, WPARAM, LPARAM);
};

// A scroll-bar control; scroll messages name it when they come from one
// (NULL for a window's own bars).
class AFX_EXT_CLASS CScrollBar : public CWnd
{
};

LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam);

// The module whose resources and window classes the library uses.
AFX_EXT_API HINSTANCE AFXAPI AfxGetInstanceHandle();
AFX_EXT_API HINSTANCE AFXAPI AfxGetResourceHandle();

// For hosts whose message loop is not the framework's: call this for each
// message before TranslateMessage/DispatchMessage and skip both when it
// returns TRUE. It gives the framework windows on the message's way
// (the control and its parents) their PreTranslateMessage, which is where
// keyboard accelerators are translated. Without it keys go straight to the
// window's WM_KEYDOWN handler.
AFX_EXT_API BOOL AFXAPI AfxPreTranslateMessage(MSG* pMsg);

// Frees the temporary wrappers that FromHandle made for handles the
// framework does not own. Pointers returned by FromHandle are valid until
// this is called; hosts may call it when idle.
AFX_EXT_API void AFXAPI AfxDeleteTempMaps();

#endif // _WIN32

// GDI objects and device contexts.
#include "afxwin.h"
#include "afxstate.h"
#include <cstdlib>

// ---------------------------------------------------------------------------
// CGdiObject

CGdiObject::~CGdiObject()
{
    DeleteObject();
}

CGdiObject* PASCAL CGdiObject::FromHandle(HGDIOBJ hObject)
{
    return AfxGetThreadState().gdiMap.FromHandle(hObject);
}

BOOL CGdiObject::Attach(HGDIOBJ hObject)
{
    if (!hObject || m_hObject)
        return FALSE;
    AfxGetThreadState().gdiMap.SetPermanent(hObject, this);
    m_hObject = hObject;
    return TRUE;
}

HGDIOBJ CGdiObject::Detach()
{
    HGDIOBJ h = m_hObject;
    if (h)
        AfxGetThreadState().gdiMap.RemovePermanent(h, this);
    m_hObject = nullptr;
    return h;
}

BOOL CGdiObject::DeleteObject()
{
    if (!m_hObject)
        return FALSE;
    HGDIOBJ h = Detach();
    // A wrapper made for this handle earlier must not outlive it.
    AfxGetThreadState().gdiMap.DeleteTemp(h);
    return ::DeleteObject(h);
}

int CGdiObject::GetObject(int nCount, LPVOID lpObject) const
{
    return ::GetObjectW(m_hObject, nCount, lpObject);
}

BOOL CGdiObject::CreateStockObject(int nIndex)
{
    // Stock objects are shared: wrap without taking ownership in the map.
    m_hObject = ::GetStockObject(nIndex);
    return m_hObject != nullptr;
}

BOOL CFont::CreateFontIndirect(const LOGFONTW* lpLogFont)
{
    return Attach(::CreateFontIndirectW(lpLogFont));
}

BOOL CFont::CreatePointFont(int nPointSize, LPCTSTR lpszFaceName, CDC* pDC)
{
    LOGFONTW lf;
    ZeroMemory(&lf, sizeof lf);
    lf.lfCharSet = DEFAULT_CHARSET;
    lf.lfHeight = nPointSize;
    if (lpszFaceName)
        lstrcpynW(lf.lfFaceName, lpszFaceName, LF_FACESIZE);
    return CreatePointFontIndirect(&lf, pDC);
}

BOOL CFont::CreatePointFontIndirect(const LOGFONTW* lpLogFont, CDC* pDC)
{
    HDC hDC = pDC ? pDC->m_hAttribDC : ::GetDC(nullptr);
    // Tenths of a point to logical units of the DC.
    LOGFONTW lf = *lpLogFont;
    POINT pt = { 0, ::MulDiv(::GetDeviceCaps(hDC, LOGPIXELSY), lf.lfHeight, 720) };
    ::DPtoLP(hDC, &pt, 1);
    POINT ptOrg = { 0, 0 };
    ::DPtoLP(hDC, &ptOrg, 1);
    lf.lfHeight = -std::abs(pt.y - ptOrg.y);
    if (!pDC)
        ::ReleaseDC(nullptr, hDC);
    return CreateFontIndirect(&lf);
}

CPen::CPen(int nPenStyle, int nWidth, COLORREF crColor)
{
    CreatePen(nPenStyle, nWidth, crColor);
}

BOOL CPen::CreatePen(int nPenStyle, int nWidth, COLORREF crColor)
{
    return Attach(::CreatePen(nPenStyle, nWidth, crColor));
}

CBrush::CBrush(COLORREF crColor)
{
    CreateSolidBrush(crColor);
}

BOOL CBrush::CreateSolidBrush(COLORREF crColor)
{
    return Attach(::CreateSolidBrush(crColor));
}

BOOL CBitmap::CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight)
{
    return Attach(::CreateCompatibleBitmap(pDC->m_hDC, nWidth, nHeight));
}

BOOL CBitmap::CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* lpBits)
{
    return Attach(::CreateBitmap(nWidth, nHeight, nPlanes, nBitcount, lpBits));
}

BOOL CRgn::CreateRectRgn(int x1, int y1, int x2, int y2)
{
    return Attach(::CreateRectRgn(x1, y1, x2, y2));
}

BOOL CRgn::CreateRectRgnIndirect(LPCRECT lpRect)
{
    return Attach(::CreateRectRgnIndirect(lpRect));
}

// ---------------------------------------------------------------------------
// CDC

CDC::~CDC()
{
    if (m_hDC)
        ::DeleteDC(Detach());
}

CDC* PASCAL CDC::FromHandle(HDC hDC)
{
    return AfxGetThreadState().dcMap.FromHandle(hDC);
}

BOOL CDC::Attach(HDC hDC)
{
    if (!hDC || m_hDC)
        return FALSE;
    SetHandles(hDC);
    return TRUE;
}

HDC CDC::Detach()
{
    HDC h = m_hDC;
    m_hDC = m_hAttribDC = nullptr;
    return h;
}

BOOL CDC::DeleteDC()
{
    if (!m_hDC)
        return FALSE;
    return ::DeleteDC(Detach());
}

BOOL CDC::CreateCompatibleDC(CDC* pDC)
{
    return Attach(::CreateCompatibleDC(pDC ? pDC->m_hDC : nullptr));
}

CGdiObject* CDC::SelectObject(CGdiObject* pObject)
{
    if (!pObject || !pObject->m_hObject)
        return nullptr;
    HGDIOBJ hOld = nullptr;
    if (m_hDC != m_hAttribDC && m_hAttribDC)
        hOld = ::SelectObject(m_hAttribDC, pObject->m_hObject);
    if (m_hDC)
        hOld = ::SelectObject(m_hDC, pObject->m_hObject);
    return CGdiObject::FromHandle(hOld);
}

CGdiObject* CDC::SelectStockObject(int nIndex)
{
    HGDIOBJ hOld = ::SelectObject(m_hDC, ::GetStockObject(nIndex));
    return CGdiObject::FromHandle(hOld);
}

BOOL CDC::TextOut(int x, int y, LPCTSTR lpszString, int nCount)
{
    return ::TextOutW(m_hDC, x, y, lpszString, nCount);
}

BOOL CDC::ExtTextOut(int x, int y, UINT nOptions, LPCRECT lpRect, LPCTSTR lpszString, UINT nCount, LPINT lpDxWidths)
{
    return ::ExtTextOutW(m_hDC, x, y, nOptions, lpRect, lpszString, nCount, lpDxWidths);
}

int CDC::DrawText(LPCTSTR lpszString, int nCount, LPRECT lpRect, UINT nFormat)
{
    return ::DrawTextW(m_hDC, lpszString, nCount, lpRect, nFormat);
}

CSize CDC::GetTextExtent(LPCTSTR lpszString, int nCount) const
{
    SIZE size = { 0, 0 };
    ::GetTextExtentPoint32W(m_hAttribDC, lpszString, nCount, &size);
    return size;
}

void CDC::FillSolidRect(LPCRECT lpRect, COLORREF clr)
{
    ::SetBkColor(m_hDC, clr);
    ::ExtTextOutW(m_hDC, 0, 0, ETO_OPAQUE, lpRect, nullptr, 0, nullptr);
}

void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF clr)
{
    RECT r = { x, y, x + cx, y + cy };
    FillSolidRect(&r, clr);
}

CPoint CDC::MoveTo(int x, int y)
{
    CPoint old;
    ::MoveToEx(m_hDC, x, y, &old);
    return old;
}

BOOL CDC::BitBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, DWORD dwRop)
{
    return ::BitBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC ? pSrcDC->m_hDC : nullptr, xSrc, ySrc, dwRop);
}

BOOL CDC::StretchBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, int nSrcWidth,
                     int nSrcHeight, DWORD dwRop)
{
    return ::StretchBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC ? pSrcDC->m_hDC : nullptr, xSrc, ySrc, nSrcWidth,
                        nSrcHeight, dwRop);
}

BOOL CDC::AlphaBlend(int xDest, int yDest, int nDestWidth, int nDestHeight, CDC* pSrcDC, int xSrc, int ySrc,
                     int nSrcWidth, int nSrcHeight, BLENDFUNCTION blend)
{
    return ::AlphaBlend(m_hDC, xDest, yDest, nDestWidth, nDestHeight, pSrcDC ? pSrcDC->m_hDC : nullptr, xSrc, ySrc,
                        nSrcWidth, nSrcHeight, blend);
}

CPoint CDC::SetWindowOrg(int x, int y)
{
    CPoint old;
    ::SetWindowOrgEx(m_hDC, x, y, &old);
    return old;
}

CPoint CDC::GetWindowOrg() const
{
    CPoint pt;
    ::GetWindowOrgEx(m_hAttribDC, &pt);
    return pt;
}

CPoint CDC::SetViewportOrg(int x, int y)
{
    CPoint old;
    ::SetViewportOrgEx(m_hDC, x, y, &old);
    return old;
}

CPoint CDC::GetViewportOrg() const
{
    CPoint pt;
    ::GetViewportOrgEx(m_hAttribDC, &pt);
    return pt;
}

CClientDC::CClientDC(CWnd* pWnd) : m_hWnd(pWnd ? pWnd->m_hWnd : nullptr)
{
    if (!Attach(::GetDC(m_hWnd)))
        AfxThrowResourceException();
}

CClientDC::~CClientDC()
{
    ::ReleaseDC(m_hWnd, Detach());
}

CWindowDC::CWindowDC(CWnd* pWnd) : m_hWnd(pWnd ? pWnd->m_hWnd : nullptr)
{
    if (!Attach(::GetWindowDC(m_hWnd)))
        AfxThrowResourceException();
}

CWindowDC::~CWindowDC()
{
    ::ReleaseDC(m_hWnd, Detach());
}

CPaintDC::CPaintDC(CWnd* pWnd) : m_hWnd(pWnd->m_hWnd)
{
    if (!Attach(::BeginPaint(m_hWnd, &m_ps)))
        AfxThrowResourceException();
}

CPaintDC::~CPaintDC()
{
    ::EndPaint(m_hWnd, &m_ps);
    Detach();
}

#include "OrvMemDC.h"

COrvMemDC::COrvMemDC(CDC* pDC, const RECT* pRect) : m_oldBitmap(nullptr), m_pDC(nullptr), m_bMemDC(false)
{
    Setup(pDC, pRect);
}

COrvMemDC::COrvMemDC() : m_oldBitmap(nullptr), m_pDC(nullptr), m_bMemDC(false) {}

COrvMemDC::~COrvMemDC()
{
    CopyDC();
    m_bitmap.DeleteObject();
}

void COrvMemDC::Setup(CDC* pDC, const RECT* pRect)
{
    m_pDC = pDC;
    m_oldBitmap = nullptr;
    if (!pDC)
        return;
    m_bMemDC = !pDC->IsPrinting();
    if (m_bMemDC) {
        if (pRect)
            m_rect = *pRect;
        else
            pDC->GetClipBox(&m_rect);
        if (CreateCompatibleDC(pDC)) {
            m_bitmap.DeleteObject();
            m_bitmap.CreateCompatibleBitmap(pDC, m_rect.Width(), m_rect.Height());
            m_oldBitmap = SelectObject(&m_bitmap);
            // Draw in the target's coordinates.
            SetWindowOrg(m_rect.left, m_rect.top);
        } else {
            m_bMemDC = false;
        }
    }
    if (!m_bMemDC) {
        // Share the target's handles and draw straight into it.
        m_bPrinting = pDC->m_bPrinting;
        m_hDC = pDC->m_hDC;
        m_hAttribDC = pDC->m_hAttribDC;
    }
}

void COrvMemDC::SetDC(CDC* pDC, const RECT* pRect)
{
    if (pDC == m_pDC && pRect && m_rect == *pRect)
        return;
    if (m_bMemDC) {
        if (m_oldBitmap)
            SelectObject(m_oldBitmap);
        DeleteDC();
    } else {
        m_hDC = m_hAttribDC = nullptr;
    }
    Setup(pDC, pRect);
}

void COrvMemDC::CopyDC()
{
    if (m_bMemDC) {
        // Only while the picture's bitmap is selected is there anything to copy.
        if (m_pDC && m_oldBitmap)
            m_pDC->BitBlt(m_rect.left, m_rect.top, m_rect.Width(), m_rect.Height(), this, m_rect.left, m_rect.top,
                          SRCCOPY);
        if (m_oldBitmap)
            SelectObject(m_oldBitmap);
        m_oldBitmap = nullptr;
    } else {
        // The handles are the target's: never delete them here.
        m_hDC = m_hAttribDC = nullptr;
    }
}

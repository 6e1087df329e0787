// COrvMemDC: an off-screen device context. Drawing goes into a bitmap the
// size of the given rectangle (in the target's coordinates) and reaches the
// target in one copy when the object is destroyed or CopyDC is called, so a
// paint never flickers. A printing target is drawn into directly.
#pragma once
#include "../framework/afxwin.h"

class AFX_EXT_CLASS COrvMemDC : public CDC
{
public:
    // pRect NULL: the target's clip box.
    COrvMemDC(CDC* pDC, const RECT* pRect = nullptr);
    COrvMemDC();
    ~COrvMemDC() override;

    // Retargets; does nothing when pDC and *pRect are the current ones.
    void SetDC(CDC* pDC, const RECT* pRect);
    // Copies the picture to the target and releases the bitmap from the DC.
    void CopyDC();
    // Drops the target: the picture is then never copied.
    void NullDC() { m_pDC = nullptr; }
    CBitmap& GetBitmap() { return m_bitmap; }

    operator COrvMemDC*() { return this; }
    COrvMemDC* operator->() { return this; }

private:
    void Setup(CDC* pDC, const RECT* pRect);

    CBitmap m_bitmap;
    CBitmap* m_oldBitmap;
    CDC* m_pDC;
    CRect m_rect;
    bool m_bMemDC;
};

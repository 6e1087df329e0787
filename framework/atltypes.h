// CPoint, CSize and CRect: thin value classes over POINT, SIZE and RECT.
#pragma once
#include "afxdefs.h"
#include <algorithm>

class CSize : public SIZE
{
public:
    CSize() { cx = cy = 0; }
    CSize(int x, int y) { cx = x; cy = y; }
    CSize(SIZE s) { cx = s.cx; cy = s.cy; }
    bool operator==(SIZE s) const { return cx == s.cx && cy == s.cy; }
    bool operator!=(SIZE s) const { return !(*this == s); }
    CSize operator+(SIZE s) const { return CSize(cx + s.cx, cy + s.cy); }
    CSize operator-(SIZE s) const { return CSize(cx - s.cx, cy - s.cy); }
};

class CPoint : public POINT
{
public:
    CPoint() { x = y = 0; }
    CPoint(int ix, int iy) { x = ix; y = iy; }
    CPoint(POINT p) { x = p.x; y = p.y; }
    explicit CPoint(SIZE s) { x = s.cx; y = s.cy; }
    void SetPoint(int ix, int iy) { x = ix; y = iy; }
    void Offset(int dx, int dy) { x += dx; y += dy; }
    bool operator==(POINT p) const { return x == p.x && y == p.y; }
    bool operator!=(POINT p) const { return !(*this == p); }
    CPoint operator+(SIZE s) const { return CPoint(x + s.cx, y + s.cy); }
    CPoint operator-(SIZE s) const { return CPoint(x - s.cx, y - s.cy); }
    CSize operator-(POINT p) const { return CSize(x - p.x, y - p.y); }
    CPoint operator-() const { return CPoint(-x, -y); }
    CPoint& operator+=(SIZE s) { x += s.cx; y += s.cy; return *this; }
    CPoint& operator-=(SIZE s) { x -= s.cx; y -= s.cy; return *this; }
};

class CRect : public RECT
{
public:
    CRect() { left = top = right = bottom = 0; }
    CRect(int l, int t, int r, int b) { left = l; top = t; right = r; bottom = b; }
    CRect(const RECT& r) { left = r.left; top = r.top; right = r.right; bottom = r.bottom; }
    CRect(const RECT* r) { left = r->left; top = r->top; right = r->right; bottom = r->bottom; }
    CRect(POINT p, SIZE s) { left = p.x; top = p.y; right = p.x + s.cx; bottom = p.y + s.cy; }
    CRect(POINT tl, POINT br) { left = tl.x; top = tl.y; right = br.x; bottom = br.y; }

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint TopLeft() const { return CPoint(left, top); }
    CPoint BottomRight() const { return CPoint(right, bottom); }
    CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }

    operator LPRECT() { return this; }
    operator LPCRECT() const { return this; }

    void SetRect(int l, int t, int r, int b) { left = l; top = t; right = r; bottom = b; }
    void SetRectEmpty() { left = top = right = bottom = 0; }
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    bool IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    bool PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    void NormalizeRect()
    {
        if (left > right) std::swap(left, right);
        if (top > bottom) std::swap(top, bottom);
    }
    void OffsetRect(int dx, int dy) { left += dx; right += dx; top += dy; bottom += dy; }
    void OffsetRect(POINT p) { OffsetRect(p.x, p.y); }
    void InflateRect(int dx, int dy) { left -= dx; right += dx; top -= dy; bottom += dy; }
    void DeflateRect(int dx, int dy) { InflateRect(-dx, -dy); }

    // Intersection; an empty result is the null rectangle, as the system's call gives.
    BOOL IntersectRect(LPCRECT a, LPCRECT b)
    {
        CRect r(std::max(a->left, b->left), std::max(a->top, b->top),
                std::min(a->right, b->right), std::min(a->bottom, b->bottom));
        if (r.IsRectEmpty()) { SetRectEmpty(); return FALSE; }
        *this = r;
        return TRUE;
    }
    // Union; empty rectangles do not count.
    BOOL UnionRect(LPCRECT a, LPCRECT b)
    {
        CRect ra(a), rb(b);
        if (ra.IsRectEmpty()) { *this = rb.IsRectEmpty() ? CRect() : rb; return !IsRectEmpty(); }
        if (rb.IsRectEmpty()) { *this = ra; return TRUE; }
        SetRect(std::min(ra.left, rb.left), std::min(ra.top, rb.top),
                std::max(ra.right, rb.right), std::max(ra.bottom, rb.bottom));
        return TRUE;
    }
    CRect operator&(const RECT& r) const { CRect x; x.IntersectRect(this, &r); return x; }
    CRect operator|(const RECT& r) const { CRect x; x.UnionRect(this, &r); return x; }
    CRect& operator&=(const RECT& r) { IntersectRect(CRect(*this), &r); return *this; }
    CRect& operator|=(const RECT& r) { CRect a(*this); UnionRect(a, &r); return *this; }
    bool operator==(const RECT& r) const
    {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    bool operator!=(const RECT& r) const { return !(*this == r); }
};

#pragma once

#include <orvek/platform/core/Types.h>

// Rectangle operations with the host platform's meaning: right and bottom lie
// just outside, and an empty rectangle (no width or no height) intersects
// nothing.
inline BOOL IsRectEmpty(const RECT* r) { return r == nullptr || r->right <= r->left || r->bottom <= r->top; }
inline BOOL SetRect(RECT* r, int l, int t, int rt, int b) {
  if (!r) return FALSE;
  r->left = l; r->top = t; r->right = rt; r->bottom = b;
  return TRUE;
}
inline BOOL SetRectEmpty(RECT* r) { return SetRect(r, 0, 0, 0, 0); }
inline BOOL CopyRect(RECT* dst, const RECT* src) {
  if (!dst || !src) return FALSE;
  *dst = *src;
  return TRUE;
}
inline BOOL EqualRect(const RECT* a, const RECT* b) {
  if (!a || !b) return FALSE;
  return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}
inline BOOL OffsetRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left += dx; r->right += dx; r->top += dy; r->bottom += dy;
  return TRUE;
}
inline BOOL InflateRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left -= dx; r->right += dx; r->top -= dy; r->bottom += dy;
  return TRUE;
}
// The overlap of a and b; when there is none, dst becomes all zeros and the
// result is FALSE.
inline BOOL IntersectRect(RECT* dst, const RECT* a, const RECT* b) {
  if (!dst || !a || !b) return FALSE;
  RECT r;
  r.left = a->left > b->left ? a->left : b->left;
  r.top = a->top > b->top ? a->top : b->top;
  r.right = a->right < b->right ? a->right : b->right;
  r.bottom = a->bottom < b->bottom ? a->bottom : b->bottom;
  if (IsRectEmpty(a) || IsRectEmpty(b) || IsRectEmpty(&r)) {
    SetRectEmpty(dst);
    return FALSE;
  }
  *dst = r;
  return TRUE;
}
inline BOOL UnionRect(RECT* dst, const RECT* a, const RECT* b) {
  if (!dst || !a || !b) return FALSE;
  const bool ea = IsRectEmpty(a), eb = IsRectEmpty(b);
  if (ea && eb) { SetRectEmpty(dst); return FALSE; }
  if (ea) { *dst = *b; return TRUE; }
  if (eb) { *dst = *a; return TRUE; }
  RECT r;
  r.left = a->left < b->left ? a->left : b->left;
  r.top = a->top < b->top ? a->top : b->top;
  r.right = a->right > b->right ? a->right : b->right;
  r.bottom = a->bottom > b->bottom ? a->bottom : b->bottom;
  *dst = r;
  return TRUE;
}
inline BOOL PtInRect(const RECT* r, POINT p) {
  return r && p.x >= r->left && p.x < r->right && p.y >= r->top && p.y < r->bottom;
}

class CSize : public tagSIZE {
 public:
  CSize() { cx = 0; cy = 0; }
  CSize(int x, int y) { cx = x; cy = y; }
  CSize(const SIZE& s) { cx = s.cx; cy = s.cy; }
  bool operator==(const SIZE& o) const { return cx == o.cx && cy == o.cy; }
  bool operator!=(const SIZE& o) const { return !(*this == o); }
  CSize operator+(const SIZE& o) const { return CSize(cx + o.cx, cy + o.cy); }
  CSize operator-(const SIZE& o) const { return CSize(cx - o.cx, cy - o.cy); }
  CSize operator-() const { return CSize(-cx, -cy); }
};

class CPoint : public tagPOINT {
 public:
  CPoint() { x = 0; y = 0; }
  CPoint(int px, int py) { x = px; y = py; }
  CPoint(const POINT& p) { x = p.x; y = p.y; }
  bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
  bool operator!=(const POINT& o) const { return !(*this == o); }
};

class CRect : public tagRECT {
 public:
  CRect() { left = top = right = bottom = 0; }
  CRect(int l, int t, int r, int b) { left = l; top = t; right = r; bottom = b; }
  CRect(const RECT& r) { left = r.left; top = r.top; right = r.right; bottom = r.bottom; }
  CRect(const RECT* r) { if (r) *static_cast<RECT*>(this) = *r; else left = top = right = bottom = 0; }
  CRect(POINT p, SIZE s) { left = p.x; top = p.y; right = p.x + s.cx; bottom = p.y + s.cy; }

  // In 64 bits, so that rectangles near the 32-bit limits cannot overflow;
  // a side longer than an int wraps as on the host platform.
  int Width() const { return static_cast<int>(static_cast<long long>(right) - left); }
  int Height() const { return static_cast<int>(static_cast<long long>(bottom) - top); }
  CSize Size() const { return CSize(Width(), Height()); }
  CPoint TopLeft() const { return CPoint(left, top); }
  CPoint BottomRight() const { return CPoint(right, bottom); }
  CPoint CenterPoint() const {
    return CPoint(static_cast<int>((static_cast<long long>(left) + right) / 2),
                  static_cast<int>((static_cast<long long>(top) + bottom) / 2));
  }
  BOOL IsRectEmpty() const { return ::IsRectEmpty(this); }
  BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
  BOOL PtInRect(POINT p) const { return ::PtInRect(this, p); }

  void SetRect(int l, int t, int r, int b) { ::SetRect(this, l, t, r, b); }
  void SetRectEmpty() { ::SetRectEmpty(this); }
  void CopyRect(const RECT* src) { ::CopyRect(this, src); }
  BOOL EqualRect(const RECT* o) const { return ::EqualRect(this, o); }
  void OffsetRect(int dx, int dy) { ::OffsetRect(this, dx, dy); }
  void OffsetRect(SIZE s) { ::OffsetRect(this, s.cx, s.cy); }
  void OffsetRect(POINT p) { ::OffsetRect(this, p.x, p.y); }
  void InflateRect(int dx, int dy) { ::InflateRect(this, dx, dy); }
  void InflateRect(int l, int t, int r, int b) { left -= l; top -= t; right += r; bottom += b; }
  void DeflateRect(int dx, int dy) { ::InflateRect(this, -dx, -dy); }
  void DeflateRect(int l, int t, int r, int b) { left += l; top += t; right -= r; bottom -= b; }
  BOOL IntersectRect(const RECT* a, const RECT* b) { return ::IntersectRect(this, a, b); }
  BOOL UnionRect(const RECT* a, const RECT* b) { return ::UnionRect(this, a, b); }
  void MoveToXY(int x, int y) { ::OffsetRect(this, x - left, y - top); }
  void MoveToX(int x) { ::OffsetRect(this, x - left, 0); }
  void MoveToY(int y) { ::OffsetRect(this, 0, y - top); }
  void NormalizeRect() {
    if (left > right) { int t = left; left = right; right = t; }
    if (top > bottom) { int t = top; top = bottom; bottom = t; }
  }

  operator RECT*() { return this; }
  operator const RECT*() const { return this; }
  bool operator==(const RECT& o) const { return ::EqualRect(this, &o) != 0; }
  bool operator!=(const RECT& o) const { return !(*this == o); }
  CRect& operator=(const RECT& o) { ::CopyRect(this, &o); return *this; }
  void operator+=(SIZE s) { OffsetRect(s); }
  void operator-=(SIZE s) { OffsetRect(-s.cx, -s.cy); }
  void operator+=(POINT p) { OffsetRect(p); }
  void operator&=(const RECT& o) { ::IntersectRect(this, this, &o); }
  CRect operator+(SIZE s) const { CRect r(*this); r.OffsetRect(s); return r; }
  CRect operator+(POINT p) const { CRect r(*this); r.OffsetRect(p); return r; }
};

#pragma once

/// \file
/// Rectangle operations and the rectangle, point and size classes.

#include <orvek/platform/core/Types.h>

/// Rectangle operations with the host platform's meaning: right and bottom lie
/// just outside, and an empty rectangle (no width or no height) intersects
/// nothing.
///@{
/// TRUE for a null pointer and for a rectangle without width or height.
inline BOOL IsRectEmpty(const RECT* r) { return r == nullptr || r->right <= r->left || r->bottom <= r->top; }
/// Sets the four sides; FALSE for a null rectangle, as for every operation here.
inline BOOL SetRect(RECT* r, int l, int t, int rt, int b) {
  if (!r) return FALSE;
  r->left = l;
  r->top = t;
  r->right = rt;
  r->bottom = b;
  return TRUE;
}
/// Sets all four sides to 0.
inline BOOL SetRectEmpty(RECT* r) { return SetRect(r, 0, 0, 0, 0); }
/// Copies src to dst.
inline BOOL CopyRect(RECT* dst, const RECT* src) {
  if (!dst || !src) return FALSE;
  *dst = *src;
  return TRUE;
}
/// TRUE if all four sides are equal.
inline BOOL EqualRect(const RECT* a, const RECT* b) {
  if (!a || !b) return FALSE;
  return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}
/// Moves the rectangle by dx to the right and dy down.
inline BOOL OffsetRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left += dx;
  r->right += dx;
  r->top += dy;
  r->bottom += dy;
  return TRUE;
}
/// Widens the rectangle by dx on the left and right, by dy at the top and bottom.
inline BOOL InflateRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left -= dx;
  r->right += dx;
  r->top -= dy;
  r->bottom += dy;
  return TRUE;
}
/// The overlap of a and b; when there is none, dst becomes all zeros and the
/// result is FALSE.
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
/// The smallest rectangle that holds a and b; an empty one counts as absent.
/// Both empty: dst becomes all zeros and the result is FALSE.
inline BOOL UnionRect(RECT* dst, const RECT* a, const RECT* b) {
  if (!dst || !a || !b) return FALSE;
  const bool ea = IsRectEmpty(a), eb = IsRectEmpty(b);
  if (ea && eb) {
    SetRectEmpty(dst);
    return FALSE;
  }
  if (ea) {
    *dst = *b;
    return TRUE;
  }
  if (eb) {
    *dst = *a;
    return TRUE;
  }
  RECT r;
  r.left = a->left < b->left ? a->left : b->left;
  r.top = a->top < b->top ? a->top : b->top;
  r.right = a->right > b->right ? a->right : b->right;
  r.bottom = a->bottom > b->bottom ? a->bottom : b->bottom;
  *dst = r;
  return TRUE;
}
/// TRUE if p lies inside: on the left or top side, or inside right and bottom.
inline BOOL PtInRect(const RECT* r, POINT p) {
  return r && p.x >= r->left && p.x < r->right && p.y >= r->top && p.y < r->bottom;
}
///@}

/// A width and a height with arithmetic.
class CSize : public tagSIZE {
 public:
  /// The size 0 by 0.
  CSize() {
    cx = 0;
    cy = 0;
  }
  /// The size x by y.
  CSize(int x, int y) {
    cx = x;
    cy = y;
  }
  /// A copy of a plain size.
  CSize(const SIZE& s) {
    cx = s.cx;
    cy = s.cy;
  }
  /// Equality and inequality of both parts.
  ///@{
  bool operator==(const SIZE& o) const { return cx == o.cx && cy == o.cy; }
  bool operator!=(const SIZE& o) const { return !(*this == o); }
  ///@}
  /// Sum, difference and negation of both parts.
  ///@{
  CSize operator+(const SIZE& o) const { return CSize(cx + o.cx, cy + o.cy); }
  CSize operator-(const SIZE& o) const { return CSize(cx - o.cx, cy - o.cy); }
  CSize operator-() const { return CSize(-cx, -cy); }
  ///@}
};

/// A point with comparison.
class CPoint : public tagPOINT {
 public:
  /// The point (0, 0).
  CPoint() {
    x = 0;
    y = 0;
  }
  /// The point (px, py).
  CPoint(int px, int py) {
    x = px;
    y = py;
  }
  /// A copy of a plain point.
  CPoint(const POINT& p) {
    x = p.x;
    y = p.y;
  }
  /// Equality and inequality of both coordinates.
  ///@{
  bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
  bool operator!=(const POINT& o) const { return !(*this == o); }
  ///@}
};

/// A rectangle with the operations of the free functions as members: right and
/// bottom lie just outside.
class CRect : public tagRECT {
 public:
  /// The empty rectangle at (0, 0).
  CRect() { left = top = right = bottom = 0; }
  /// The rectangle of the four sides.
  CRect(int l, int t, int r, int b) {
    left = l;
    top = t;
    right = r;
    bottom = b;
  }
  /// A copy of a plain rectangle.
  CRect(const RECT& r) {
    left = r.left;
    top = r.top;
    right = r.right;
    bottom = r.bottom;
  }
  /// A copy of a plain rectangle; a null pointer gives the empty one at (0, 0).
  CRect(const RECT* r) {
    if (r)
      *static_cast<RECT*>(this) = *r;
    else
      left = top = right = bottom = 0;
  }
  /// The rectangle at p of size s.
  CRect(POINT p, SIZE s) {
    left = p.x;
    top = p.y;
    right = p.x + s.cx;
    bottom = p.y + s.cy;
  }

  /// The width, right - left, and the height, bottom - top.
  /// In 64 bits, so that rectangles near the 32-bit limits cannot overflow;
  /// a side longer than an int wraps as on the host platform.
  ///@{
  int Width() const { return static_cast<int>(static_cast<long long>(right) - left); }
  int Height() const { return static_cast<int>(static_cast<long long>(bottom) - top); }
  ///@}
  /// Width and height as a size.
  CSize Size() const { return CSize(Width(), Height()); }
  /// The top left corner.
  CPoint TopLeft() const { return CPoint(left, top); }
  /// The bottom right corner, just outside.
  CPoint BottomRight() const { return CPoint(right, bottom); }
  /// The middle, rounded toward zero.
  CPoint CenterPoint() const {
    return CPoint(static_cast<int>((static_cast<long long>(left) + right) / 2),
                  static_cast<int>((static_cast<long long>(top) + bottom) / 2));
  }
  /// As the free IsRectEmpty.
  BOOL IsRectEmpty() const { return ::IsRectEmpty(this); }
  /// TRUE if all four sides are 0.
  BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
  /// As the free PtInRect.
  BOOL PtInRect(POINT p) const { return ::PtInRect(this, p); }

  /// As the free functions of the same names.
  ///@{
  void SetRect(int l, int t, int r, int b) { ::SetRect(this, l, t, r, b); }
  void SetRectEmpty() { ::SetRectEmpty(this); }
  void CopyRect(const RECT* src) { ::CopyRect(this, src); }
  BOOL EqualRect(const RECT* o) const { return ::EqualRect(this, o); }
  void OffsetRect(int dx, int dy) { ::OffsetRect(this, dx, dy); }
  void OffsetRect(SIZE s) { ::OffsetRect(this, s.cx, s.cy); }
  void OffsetRect(POINT p) { ::OffsetRect(this, p.x, p.y); }
  void InflateRect(int dx, int dy) { ::InflateRect(this, dx, dy); }
  ///@}
  /// Widens each side by its own amount.
  void InflateRect(int l, int t, int r, int b) {
    left -= l;
    top -= t;
    right += r;
    bottom += b;
  }
  /// Narrows by dx on the left and right, by dy at the top and bottom.
  void DeflateRect(int dx, int dy) { ::InflateRect(this, -dx, -dy); }
  /// Narrows each side by its own amount.
  void DeflateRect(int l, int t, int r, int b) {
    left += l;
    top += t;
    right -= r;
    bottom -= b;
  }
  /// As the free functions of the same names.
  ///@{
  BOOL IntersectRect(const RECT* a, const RECT* b) { return ::IntersectRect(this, a, b); }
  BOOL UnionRect(const RECT* a, const RECT* b) { return ::UnionRect(this, a, b); }
  ///@}
  /// Moves the rectangle, keeping its size, so that its top left corner is at
  /// (x, y), its left side at x, or its top at y.
  ///@{
  void MoveToXY(int x, int y) { ::OffsetRect(this, x - left, y - top); }
  void MoveToX(int x) { ::OffsetRect(this, x - left, 0); }
  void MoveToY(int y) { ::OffsetRect(this, 0, y - top); }
  ///@}
  /// Swaps left and right, top and bottom where they are the wrong way round.
  void NormalizeRect() {
    if (left > right) {
      int t = left;
      left = right;
      right = t;
    }
    if (top > bottom) {
      int t = top;
      top = bottom;
      bottom = t;
    }
  }

  /// The rectangle as a pointer to a plain one.
  ///@{
  operator RECT*() { return this; }
  operator const RECT*() const { return this; }
  ///@}
  /// Equality and inequality of all four sides.
  ///@{
  bool operator==(const RECT& o) const { return ::EqualRect(this, &o) != 0; }
  bool operator!=(const RECT& o) const { return !(*this == o); }
  ///@}
  /// Copies the sides of a plain rectangle.
  CRect& operator=(const RECT& o) {
    ::CopyRect(this, &o);
    return *this;
  }
  /// Moves the rectangle by a size (+=, -=) or by a point's coordinates.
  ///@{
  void operator+=(SIZE s) { OffsetRect(s); }
  void operator-=(SIZE s) { OffsetRect(-s.cx, -s.cy); }
  void operator+=(POINT p) { OffsetRect(p); }
  ///@}
  /// Becomes the overlap with o, or all zeros when there is none.
  void operator&=(const RECT& o) { ::IntersectRect(this, this, &o); }
  /// A copy moved by a size or by a point's coordinates.
  ///@{
  CRect operator+(SIZE s) const {
    CRect r(*this);
    r.OffsetRect(s);
    return r;
  }
  CRect operator+(POINT p) const {
    CRect r(*this);
    r.OffsetRect(p);
    return r;
  }
  ///@}
};

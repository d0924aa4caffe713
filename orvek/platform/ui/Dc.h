#pragma once

/// \file
/// Drawing contexts of the window layer.

#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Gdi.h>

class QPainter;
class CWnd;
class CWndImpl;

/// A drawing context. Here it is the QPainter of a paint: m_hDC is that
/// painter as an opaque handle, and GetPainter gives it to code that draws
/// with Qt (a whole bitmap goes to the window in one drawImage call).
class ORVEK_API CDC {
 public:
  CDC() : m_hDC(nullptr) {}
  virtual ~CDC() = default;
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;

  /// The drawing context's handle, null outside a paint.
  HDC GetSafeHdc() const { return m_hDC; }
  /// The painter behind m_hDC, or null.
  QPainter* GetPainter() const;
  /// Fills the rectangle with the colour; nothing without a painter or with a null rectangle.
  void FillSolidRect(const RECT* lpRect, COLORREF color);

  /// The painter as an opaque handle; null when there is nothing to draw on.
  HDC m_hDC;
};

/// What a paint is about.
struct PAINTSTRUCT {
  HDC hdc;       ///< the drawing context, as CDC::m_hDC
  BOOL fErase;   ///< whether the background has to be erased; left FALSE
  RECT rcPaint;  ///< the part of the client area to be painted
};

/// Begins the paint of a window inside its OnPaint and ends it at its end.
/// Outside a paint of that window (or for a second one at the same time) it
/// has no drawing context: m_hDC stays null and drawing does nothing.
class ORVEK_API CPaintDC : public CDC {
 public:
  /// Begins the paint of pWnd, if a paint of it is under way and has no context yet.
  explicit CPaintDC(CWnd* pWnd);
  /// Ends the paint.
  ~CPaintDC() override;

  /// The paint's drawing context and area; all zeros without a paint.
  PAINTSTRUCT m_ps;

 private:
  CWnd* m_pWnd;
  CWndImpl* m_pImpl;
};

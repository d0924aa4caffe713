#pragma once

#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Gdi.h>

class QPainter;
class CWnd;
class CWndImpl;

// A drawing context. Here it is the QPainter of a paint: m_hDC is that
// painter as an opaque handle, and GetPainter gives it to code that draws
// with Qt (a whole bitmap goes to the window in one drawImage call).
class ORVEK_API CDC {
 public:
  CDC() : m_hDC(nullptr) {}
  virtual ~CDC() = default;
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;

  HDC GetSafeHdc() const { return m_hDC; }
  QPainter* GetPainter() const;
  void FillSolidRect(const RECT* lpRect, COLORREF color);

  HDC m_hDC;
};

struct PAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;
};

// Begins the paint of a window inside its OnPaint and ends it at its end.
// Outside a paint of that window (or for a second one at the same time) it
// has no drawing context: m_hDC stays null and drawing does nothing.
class ORVEK_API CPaintDC : public CDC {
 public:
  explicit CPaintDC(CWnd* pWnd);
  ~CPaintDC() override;

  PAINTSTRUCT m_ps;

 private:
  CWnd* m_pWnd;
  CWndImpl* m_pImpl;
};

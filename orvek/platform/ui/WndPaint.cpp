// WM_PAINT, CPaintDC and InvalidateRect: the widget's Qt paint event, a
// QPainter on the widget as the DC, and QWidget::update asked from any thread.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QPainter>
#include <QPixmap>

#include <orvek/platform/ui/Dc.h>

using orvek_ui::guarded;
using orvek_ui::InvalidateEvent;
using orvek_ui::keyOf;
using orvek_ui::reg;
using orvek_ui::toQRect;
using orvek_ui::toRECT;
using Busy = orvek_ui::HandlerScope;

void orvek_ui::WndWidget::paintEvent(QPaintEvent* e) {
  if (!impl || !impl->wnd) return;
  Busy busy;
  impl->paint = e;
  guarded([&] { orvek_ui::dispatch(impl->wnd, WM_PAINT, 0, 0); });
  impl->paint = nullptr;
  // A CPaintDC that outlived its paint must not keep the painter.
  delete impl->painter;
  impl->painter = nullptr;
}

void CWnd::Invalidate(BOOL bErase) { ::InvalidateRect(m_hWnd, nullptr, bErase); }
void CWnd::InvalidateRect(LPCRECT lpRect, BOOL bErase) { ::InvalidateRect(m_hWnd, lpRect, bErase); }

void CWnd::UpdateWindow() {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (impl && impl->widget->isVisible()) impl->widget->repaint();
}

LONG CWnd::SaveClientImage(const wchar_t* pszPath) const {
  if (!pszPath) return E_POINTER;
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return E_FAIL;
  const QPixmap picture = impl->widget->grab();
  if (picture.isNull()) return E_FAIL;
  return picture.save(orvek_ui::toQString(pszPath), "PNG") ? S_OK : E_FAIL;
}

BOOL InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL) {
  const QRect r = lpRect ? toQRect(*lpRect) : QRect();
  QWidget* local = nullptr;
  {
    std::lock_guard<std::mutex> g(reg().mu);
    auto it = reg().byHandle.find(keyOf(hWnd));
    if (it == reg().byHandle.end()) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return FALSE;
    }
    if (it->second->onOwnerThread())
      local = it->second->widget;
    else  // another thread only asks; the window's own thread marks the region
      QCoreApplication::postEvent(it->second, new InvalidateEvent(r));
  }
  if (local) {
    if (r.isNull())
      local->update();
    else
      local->update(r);
  }
  return TRUE;
}

QPainter* CDC::GetPainter() const { return reinterpret_cast<QPainter*>(m_hDC); }

void CDC::FillSolidRect(const RECT* lpRect, COLORREF color) {
  if (QPainter* p = GetPainter(); p && lpRect)
    p->fillRect(toQRect(*lpRect), QColor(GetRValue(color), GetGValue(color), GetBValue(color)));
}

CPaintDC::CPaintDC(CWnd* pWnd) : m_ps{}, m_pWnd(pWnd), m_pImpl(nullptr) {
  CWndImpl* impl = pWnd ? orvek_ui::ownImpl(pWnd->m_hWnd) : nullptr;
  if (!impl || !impl->paint || impl->painter) return;
  impl->painter = new QPainter(impl->widget);
  m_pImpl = impl;
  m_hDC = reinterpret_cast<HDC>(impl->painter);
  m_ps.hdc = m_hDC;
  m_ps.rcPaint = toRECT(impl->paint->rect());
}

CPaintDC::~CPaintDC() {
  // The impl outlives the paint it serves (deletions wait while a handler
  // runs); the painter may already have been taken back by the paint.
  if (m_pImpl && m_pImpl->painter == GetPainter()) {
    delete m_pImpl->painter;
    m_pImpl->painter = nullptr;
  }
  m_hDC = nullptr;
}

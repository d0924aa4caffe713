// Window rectangles (MoveWindow, GetWindowRect, ClientToScreen, CenterWindow):
// QWidget geometry and mapToGlobal, a top-level window's frame outside it.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

using orvek_ui::toRECT;

namespace {

// Window positions far beyond any screen are held where Qt's arithmetic on
// them cannot overflow.
int placeOf(int v) { return std::clamp(v, -QWIDGETSIZE_MAX, QWIDGETSIZE_MAX); }

// A rectangle's two corners through a mapping of points.
template <typename Map>
void MapCorners(LPRECT r, Map map) {
  if (!r) return;
  POINT a{r->left, r->top}, b{r->right, r->bottom};
  map(&a);
  map(&b);
  *r = RECT{a.x, a.y, b.x, b.y};
}

}  // namespace

int orvek_ui::SpanOf(LONG from, LONG to) {
  const long long d = static_cast<long long>(to) - from;
  return static_cast<int>(std::clamp<long long>(d, 0, QWIDGETSIZE_MAX));
}

void CWnd::MoveWindow(int x, int y, int nWidth, int nHeight, BOOL) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return;
  nWidth = std::clamp(nWidth, 0, QWIDGETSIZE_MAX);
  nHeight = std::clamp(nHeight, 0, QWIDGETSIZE_MAX);
  x = placeOf(x);
  y = placeOf(y);
  if (!impl->widget->isWindow()) {
    orvek_ui::controlSetGeometry(impl, QRect(x, y, nWidth, nHeight));
    return;
  }
  // The rectangle includes the frame; Qt places the client area.
  const QMargins m = orvek_ui::frameMargins(impl);
  const QRect client(x + m.left(), y + m.top(), std::max(0, nWidth - m.left() - m.right()),
                     std::max(0, nHeight - m.top() - m.bottom()));
  if (!(impl->style & WS_THICKFRAME)) impl->widget->setFixedSize(client.size());
  impl->widget->setGeometry(client);
}

void CWnd::MoveWindow(LPCRECT lpRect, BOOL bRepaint) {
  if (lpRect)
    MoveWindow(lpRect->left, lpRect->top, orvek_ui::SpanOf(lpRect->left, lpRect->right),
               orvek_ui::SpanOf(lpRect->top, lpRect->bottom), bRepaint);
}

void CWnd::GetWindowRect(LPRECT lpRect) const { ::GetWindowRect(m_hWnd, lpRect); }
void CWnd::GetClientRect(LPRECT lpRect) const { ::GetClientRect(m_hWnd, lpRect); }

void CWnd::ClientToScreen(LPPOINT p) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl || !p) return;
  const QPoint g = impl->widget->mapToGlobal(QPoint(p->x, p->y));
  p->x = g.x();
  p->y = g.y();
}

void CWnd::ClientToScreen(LPRECT r) const {
  MapCorners(r, [this](LPPOINT p) { ClientToScreen(p); });
}

void CWnd::ScreenToClient(LPPOINT p) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl || !p) return;
  const QPoint l = impl->widget->mapFromGlobal(QPoint(p->x, p->y));
  p->x = l.x();
  p->y = l.y();
}

void CWnd::ScreenToClient(LPRECT r) const {
  MapCorners(r, [this](LPPOINT p) { ScreenToClient(p); });
}

void CWnd::CenterWindow(CWnd* pAlternateOwner) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return;
  CRect self;
  GetWindowRect(&self);
  CRect center, area;
  if (!impl->widget->isWindow()) {
    // Within the parent's client area, in its coordinates.
    CWnd* parent = GetParent();
    if (!parent) return;
    parent->GetClientRect(&area);
    parent->ScreenToClient(&self);
    center = area;
  } else {
    HWND over = pAlternateOwner ? pAlternateOwner->m_hWnd : ::GetParent(m_hWnd);
    if (!over) {
      CWnd* main = AfxGetMainWnd();
      if (main && main != this) over = main->m_hWnd;
    }
    if (over && !::IsWindowVisible(over)) over = nullptr;
    QScreen* screen = impl->widget->screen() ? impl->widget->screen() : QGuiApplication::primaryScreen();
    area = screen ? toRECT(screen->availableGeometry()) : CRect(0, 0, 1024, 768);
    if (over)
      ::GetWindowRect(over, &center);
    else
      center = area;
  }
  const int w = self.Width(), h = self.Height();
  int x = (center.left + center.right) / 2 - w / 2;
  int y = (center.top + center.bottom) / 2 - h / 2;
  if (impl->widget->isWindow()) {
    // Kept on the screen as far as it fits.
    if (x + w > area.right) x = area.right - w;
    if (x < area.left) x = area.left;
    if (y + h > area.bottom) y = area.bottom - h;
    if (y < area.top) y = area.top;
  }
  MoveWindow(x, y, w, h, FALSE);
}

BOOL MoveWindow(HWND hWnd, int x, int y, int nWidth, int nHeight, BOOL bRepaint) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !impl->wnd) return FALSE;
  impl->wnd->MoveWindow(x, y, nWidth, nHeight, bRepaint);
  return TRUE;
}

BOOL GetWindowRect(HWND hWnd, LPRECT lpRect) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !lpRect) return FALSE;
  const QWidget* w = impl->widget;
  if (!w->isWindow()) {
    const QPoint p = w->mapToGlobal(QPoint(0, 0));
    *lpRect = RECT{p.x(), p.y(), p.x() + w->width(), p.y() + w->height()};
    return TRUE;
  }
  const QRect g = w->geometry();
  const QMargins m = orvek_ui::frameMargins(impl);
  *lpRect =
      RECT{g.left() - m.left(), g.top() - m.top(), g.left() + g.width() + m.right(), g.top() + g.height() + m.bottom()};
  return TRUE;
}

BOOL GetClientRect(HWND hWnd, LPRECT lpRect) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !lpRect) return FALSE;
  *lpRect = RECT{0, 0, impl->widget->width(), impl->widget->height()};
  return TRUE;
}

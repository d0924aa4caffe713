// Window frames (WS_CAPTION, WS_EX_TOOLWINDOW, AdjustWindowRectEx): Qt window
// flags, and the frame margins the window manager reports through QWindow.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QWindow>

using orvek_ui::isGuiThread;

namespace {

bool isFramed(DWORD style) {
  if (style & WS_CHILD) return false;
  return (style & WS_CAPTION) == WS_CAPTION || !(style & WS_POPUP);
}

// What the platform last reported for framed tool and normal windows. A
// window manager tells the frame only once a window is on screen, so the
// last known value serves windows that are not yet.
struct LearnedMargins {
  std::mutex mu;
  QMargins margins[2];
  bool known[2] = {false, false};
  bool probed[2] = {false, false};
};
LearnedMargins& learned() {
  static auto* l = new LearnedMargins;
  return *l;
}
int marginKind(DWORD exStyle) { return (exStyle & WS_EX_TOOLWINDOW) ? 0 : 1; }
void learn(int kind, const QMargins& m) {
  std::lock_guard<std::mutex> g(learned().mu);
  learned().margins[kind] = m;
  learned().known[kind] = true;
}

}  // namespace

Qt::WindowFlags orvek_ui::topLevelFlags(DWORD style, DWORD exStyle) {
  Qt::WindowFlags f = (exStyle & WS_EX_TOOLWINDOW) ? Qt::Tool : Qt::Window;
  if (!isFramed(style)) {
    f |= Qt::FramelessWindowHint;
  } else {
    f |= Qt::CustomizeWindowHint | Qt::WindowTitleHint;
    if (style & WS_SYSMENU) f |= Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    if (style & WS_MINIMIZEBOX) f |= Qt::WindowMinimizeButtonHint;
    if (style & WS_MAXIMIZEBOX) f |= Qt::WindowMaximizeButtonHint;
  }
  if (exStyle & WS_EX_TOPMOST) f |= Qt::WindowStaysOnTopHint;
  return f;
}

QMargins orvek_ui::frameMarginsForStyle(DWORD style, DWORD exStyle) {
  if (!isFramed(style)) return QMargins();
  const int kind = marginKind(exStyle);
  {
    std::lock_guard<std::mutex> g(learned().mu);
    if (learned().known[kind] || learned().probed[kind] || !isGuiThread()) return learned().margins[kind];
    learned().probed[kind] = true;
  }
  // Ask the platform once, with a window that is never shown.
  QWindow probe;
  probe.setFlags(topLevelFlags(style, exStyle));
  probe.create();
  const QMargins m = probe.frameMargins();
  probe.destroy();
  if (!m.isNull()) learn(kind, m);
  return m;
}

QMargins orvek_ui::frameMargins(const CWndImpl* impl) {
  if (!isFramed(impl->style)) return QMargins();
  if (const QWindow* w = impl->widget->windowHandle()) {
    const QMargins m = w->frameMargins();
    if (!m.isNull()) {
      learn(marginKind(impl->exStyle), m);
      return m;
    }
  }
  return frameMarginsForStyle(impl->style, impl->exStyle);
}

void CWnd::CalcWindowRect(LPRECT lpClientRect, UINT) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!lpClientRect) return;
  const QMargins m = impl ? orvek_ui::frameMargins(impl) : QMargins();
  lpClientRect->left -= m.left();
  lpClientRect->top -= m.top();
  lpClientRect->right += m.right();
  lpClientRect->bottom += m.bottom();
}

BOOL AdjustWindowRectEx(LPRECT lpRect, DWORD dwStyle, BOOL, DWORD dwExStyle) {
  if (!lpRect) return FALSE;
  const QMargins m = orvek_ui::frameMarginsForStyle(dwStyle, dwExStyle);
  lpRect->left -= m.left();
  lpRect->top -= m.top();
  lpRect->right += m.right();
  lpRect->bottom += m.bottom();
  return TRUE;
}

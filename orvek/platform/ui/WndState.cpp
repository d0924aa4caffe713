// ShowWindow, EnableWindow, the focus and GetStyle on QWidget's shown, enabled
// and focus state; other threads read the visibility last seen on its thread.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QApplication>

using orvek_ui::isGuiThread;
using orvek_ui::keyOf;
using orvek_ui::reg;

CWnd* CWnd::GetFocus() {
  if (!isGuiThread()) return nullptr;
  CWndImpl* impl = orvek_ui::implOfWidget(QApplication::focusWidget());
  return impl ? impl->wnd : nullptr;
}

CWnd* CWnd::SetFocus() {
  CWnd* before = GetFocus();
  if (CWndImpl* impl = orvek_ui::ownImpl(m_hWnd)) {
    impl->widget->activateWindow();
    impl->widget->setFocus(Qt::OtherFocusReason);
  }
  return before;
}

DWORD CWnd::GetStyle() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return 0;
  DWORD s = impl->style & ~(WS_VISIBLE | WS_DISABLED);
  if (!impl->widget->isHidden()) s |= WS_VISIBLE;
  if (!impl->widget->isEnabled()) s |= WS_DISABLED;
  return s;
}

DWORD CWnd::GetExStyle() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  return impl ? impl->exStyle : 0;
}

BOOL CWnd::ShowWindow(int nCmdShow) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return FALSE;
  QWidget* w = impl->widget;
  const BOOL was = !w->isHidden();
  const bool top = w->isWindow();
  switch (nCmdShow) {
    case SW_HIDE: w->hide(); return was;
    case SW_SHOWMINIMIZED:
    case SW_MINIMIZE:
    case SW_SHOWMINNOACTIVE:
      if (top)
        w->showMinimized();
      else
        w->show();
      return was;
    case SW_SHOWMAXIMIZED:
      if (top)
        w->showMaximized();
      else
        w->show();
      return was;
    case SW_SHOWNOACTIVATE:
    case SW_SHOWNA:
      w->setAttribute(Qt::WA_ShowWithoutActivating, true);
      w->show();
      w->setAttribute(Qt::WA_ShowWithoutActivating, false);
      return was;
    case SW_SHOWNORMAL:
    case SW_RESTORE:
      if (top)
        w->showNormal();
      else
        w->show();
      break;
    default: w->show(); break;
  }
  if (top) w->activateWindow();
  return was;
}

BOOL CWnd::IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }

BOOL CWnd::EnableWindow(BOOL bEnable) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return FALSE;
  const BOOL wasDisabled = !impl->widget->isEnabled();
  impl->widget->setEnabled(bEnable != 0);
  return wasDisabled;
}

BOOL CWnd::IsWindowEnabled() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  return impl && impl->widget->isEnabled();
}

BOOL IsWindowVisible(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(hWnd));
  if (it == reg().byHandle.end()) return FALSE;
  CWndImpl* impl = it->second;
  return impl->onOwnerThread() ? impl->widget->isVisible() : impl->visible.load();
}

BOOL ShowWindow(HWND hWnd, int nCmdShow) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->ShowWindow(nCmdShow) : FALSE;
}

HWND GetFocus() {
  CWnd* w = CWnd::GetFocus();
  return w ? w->m_hWnd : nullptr;
}

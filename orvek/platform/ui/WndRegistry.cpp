// Window handles (HWND, IsWindow, FromHandle, GetParent, GetDlgItem): numbers
// never reused, mapped to live windows under a mutex, over Qt's widget tree.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QPainter>

using orvek_ui::keyOf;
using orvek_ui::reg;

orvek_ui::Registry& orvek_ui::reg() {
  static auto* r = new Registry;
  return *r;
}

CWndImpl* orvek_ui::ownImpl(HWND h) {
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(h));
  if (it == reg().byHandle.end()) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
  }
  if (!it->second->onOwnerThread()) {
    SetLastError(ERROR_WINDOW_OF_OTHER_THREAD);
    return nullptr;
  }
  return it->second;
}

CWndImpl* orvek_ui::implOfWidget(const QWidget* w) {
  std::lock_guard<std::mutex> g(reg().mu);
  for (; w; w = w->parentWidget()) {
    auto it = reg().byWidget.find(w);
    if (it != reg().byWidget.end()) return it->second;
  }
  return nullptr;
}

// ---- CWndImpl -----------------------------------------------------------------------

CWndImpl::CWndImpl(CWnd* w, QWidget* wid, WndKind k, DWORD s, DWORD ex, UINT i)
    : QObject(wid),
      wnd(w),
      widget(wid),
      hwnd(nullptr),
      owner(std::this_thread::get_id()),
      kind(k),
      style(s),
      exStyle(ex),
      id(i) {
  widget->installEventFilter(this);
  std::lock_guard<std::mutex> g(reg().mu);
  const std::uintptr_t key = reg().next;
  reg().next += 4;
  hwnd = reinterpret_cast<HWND>(key);
  reg().byHandle[key] = this;
  reg().byWidget[widget] = this;
  w->m_hWnd = hwnd;
  w->m_pImpl = this;
}

CWndImpl::~CWndImpl() {
  detach();
  delete painter;
}

void CWndImpl::detach() {
  for (const auto& t : timers) killTimer(t.second.qtId);
  timers.clear();
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(hwnd));
  if (it != reg().byHandle.end() && it->second == this) reg().byHandle.erase(it);
  auto wit = reg().byWidget.find(widget);
  if (wit != reg().byWidget.end() && wit->second == this) reg().byWidget.erase(wit);
  if (wnd) {
    wnd->m_hWnd = nullptr;
    wnd->m_pImpl = nullptr;
    wnd = nullptr;
  }
}

// ---- CWnd -----------------------------------------------------------------------------

CWnd* CWnd::FromHandle(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(hWnd));
  return it == reg().byHandle.end() ? nullptr : it->second->wnd;
}

CWnd* CWnd::GetParent() const { return FromHandle(::GetParent(m_hWnd)); }

CWnd* CWnd::GetDlgItem(int nID) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return nullptr;
  for (QObject* o : impl->widget->children()) {
    auto* w = qobject_cast<QWidget*>(o);
    if (!w || w->isWindow()) continue;
    CWndImpl* k = orvek_ui::implOfWidget(w);
    if (k && k->widget == w && k->wnd && static_cast<int>(k->id) == nID) return k->wnd;
  }
  return nullptr;
}

int CWnd::GetDlgCtrlID() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  return impl ? static_cast<int>(impl->id) : 0;
}

QWidget* CWnd::GetQWidget() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  return impl ? impl->widget : nullptr;
}

// ---- handle functions ----------------------------------------------------------------------

BOOL IsWindow(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  return reg().byHandle.count(keyOf(hWnd)) ? TRUE : FALSE;
}

HWND GetParent(HWND hWnd) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl) return nullptr;
  // A child's parent; a popup's owner; an overlapped window has none.
  if (impl->widget->isWindow() && !(impl->style & WS_POPUP)) return nullptr;
  CWndImpl* up = orvek_ui::implOfWidget(impl->widget->parentWidget());
  return up ? up->hwnd : nullptr;
}

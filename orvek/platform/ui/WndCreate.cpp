// CreateWindowEx and DestroyWindow: a QWidget per window with the window's
// object as its QObject child; deletion waits while handlers run (deleteLater).
#include <orvek/platform/ui/WndInternal_p.h>

#include <QApplication>
#include <QPointer>

#include <algorithm>
#include <vector>

#include <orvek/platform/gfx/GraphicsSession_p.h>
#include <orvek/platform/ui/MessageLoop_p.h>

using orvek_ui::isGuiThread;
using orvek_ui::keyOf;
using orvek_ui::kOrphaned;
using orvek_ui::lookupClass;
using orvek_ui::reg;
using orvek_ui::topLevelFlags;
using orvek_ui::WndWidget;

namespace {

// Every window whose widget has no window above it, in creation order.
std::vector<HWND> topWindows() {
  std::vector<std::pair<std::uintptr_t, HWND>> tops;
  {
    std::lock_guard<std::mutex> g(reg().mu);
    for (const auto& [key, impl] : reg().byHandle) {
      bool below = false;
      for (const QWidget* p = impl->widget->parentWidget(); p && !below; p = p->parentWidget())
        below = reg().byWidget.count(p) != 0;
      if (!below) tops.emplace_back(key, impl->hwnd);
    }
  }
  std::sort(tops.begin(), tops.end());
  std::vector<HWND> out;
  for (const auto& t : tops) out.push_back(t.second);
  return out;
}

// The application object the library made is about to go: its windows end
// first, handlers and all, while Qt is whole, so that the objects the host
// deletes later find no window left to touch.
void endWindowsBeforeApplication() {
  if (!isGuiThread()) return;
  for (HWND h : topWindows()) ::DestroyWindow(h);
  if (!orvek_ui::dispatching()) QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// The host's application object is being deleted with windows still alive.
// Qt has already taken their platform windows; what is left of them is
// unhooked and never touched again, so the objects end quietly later.
void forgetWindowsAfterApplication() {
  std::vector<CWndImpl*> all;
  {
    std::lock_guard<std::mutex> g(reg().mu);
    for (const auto& e : reg().byHandle) all.push_back(e.second);
  }
  for (CWndImpl* impl : all) impl->detach();
}

// Once per application object: note when its exec() ends, and unhook the
// windows if it is deleted before them.
void watchApplication() {
  static QPointer<QCoreApplication> watched;
  QCoreApplication* app = QCoreApplication::instance();
  if (!app || watched == app) return;
  watched = app;
  QObject::connect(app, &QCoreApplication::aboutToQuit, [] { orvek_ui::SetHostLeftLoop(true); });
  qAddPostRoutine(&forgetWindowsAfterApplication);
}

struct HookRegistration {
  HookRegistration() { orvek_gfx::SetApplicationEndHook(&endWindowsBeforeApplication); }
} g_hookRegistration;

// The windows inside a widget (children, owned windows and theirs), each
// before the windows inside it.
std::vector<CWndImpl*> implsBelow(const QWidget* top) {
  std::vector<CWndImpl*> out;
  const QList<QWidget*> all = top->findChildren<QWidget*>();
  std::lock_guard<std::mutex> g(reg().mu);
  for (const QWidget* w : all) {
    auto it = reg().byWidget.find(w);
    if (it != reg().byWidget.end()) out.push_back(it->second);
  }
  return out;
}

}  // namespace

CWnd::CWnd() : m_hWnd(nullptr), m_pImpl(nullptr) {}

CWnd::~CWnd() {
  orvek_ui::forgetMainWindow(this);
  if (!m_hWnd) return;
  if (orvek_ui::ownImpl(m_hWnd)) {
    DestroyWindow();
    return;
  }
  // Deleted on another thread: the object goes now, its window on its own
  // thread.
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(m_hWnd));
  if (it != reg().byHandle.end()) {
    CWndImpl* impl = it->second;
    reg().byHandle.erase(it);
    impl->wnd = nullptr;
    QCoreApplication::postEvent(impl, new QEvent(kOrphaned));
  }
  m_hWnd = nullptr;
  m_pImpl = nullptr;
}

BOOL CWnd::Create(const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle, const RECT& rect,
                  CWnd* pParentWnd, UINT nID, void*) {
  return CreateEx(0, lpszClassName, lpszWindowName, dwStyle, rect, pParentWnd, nID, nullptr);
}

BOOL CWnd::CreateEx(DWORD dwExStyle, const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle,
                    const RECT& rect, CWnd* pParentWnd, UINT nID, void* lpParam) {
  if (m_hWnd) {
    SetLastError(87);  // ERROR_INVALID_PARAMETER: this object has a window
    return FALSE;
  }
  if (!qobject_cast<QApplication*>(QCoreApplication::instance()) || !isGuiThread()) {
    SetLastError(ERROR_WINDOW_OF_OTHER_THREAD);
    return FALSE;
  }
  watchApplication();
  orvek_ui::SetHostLeftLoop(false);
  WndKind kind;
  HBRUSH brush;
  if (!lookupClass(lpszClassName, &kind, &brush)) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return FALSE;
  }
  const bool child = (dwStyle & WS_CHILD) != 0;
  CWndImpl* parent = pParentWnd ? orvek_ui::ownImpl(pParentWnd->m_hWnd) : nullptr;
  if (child && !parent) {
    SetLastError(ERROR_TLW_WITH_WSCHILD);
    return FALSE;
  }
  // A top-level window is owned by the top-level window of its parent.
  QWidget* parentWidget = parent ? (child ? parent->widget : parent->widget->window()) : nullptr;
  const Qt::WindowFlags flags = child ? Qt::Widget : topLevelFlags(dwStyle, dwExStyle);

  QWidget* w;
  WndWidget* plain = nullptr;
  if (kind == WndKind::Generic) {
    w = plain = new WndWidget(parentWidget, flags);
    QColor color;
    if (brush && orvek_ui::brushColor(brush, &color)) {
      QPalette p = w->palette();
      p.setColor(QPalette::Window, color);
      w->setPalette(p);
      w->setAutoFillBackground(true);
    }
  } else {
    w = orvek_ui::makeControlWidget(kind, dwStyle, parentWidget);
    if (!child) w->setWindowFlags(flags);
  }
  w->setAttribute(Qt::WA_QuitOnClose, false);
  auto* impl = new CWndImpl(this, w, kind, dwStyle, dwExStyle, nID);
  if (plain) plain->impl = impl;
  orvek_ui::wireControl(impl);
  // The platform window exists from now on, so that its frame is known
  // before it is first placed.
  if (!child) w->winId();
  MoveWindow(rect.left, rect.top, orvek_ui::SpanOf(rect.left, rect.right), orvek_ui::SpanOf(rect.top, rect.bottom),
             FALSE);
  impl->text = lpszWindowName ? lpszWindowName : L"";
  orvek_ui::controlSetText(impl);
  if (dwStyle & WS_DISABLED) w->setEnabled(false);

  CREATESTRUCTW cs{};
  cs.lpCreateParams = lpParam;
  cs.hwndParent = pParentWnd ? pParentWnd->m_hWnd : nullptr;
  cs.x = rect.left;
  cs.y = rect.top;
  cs.cx = orvek_ui::SpanOf(rect.left, rect.right);
  cs.cy = orvek_ui::SpanOf(rect.top, rect.bottom);
  cs.style = static_cast<LONG>(dwStyle);
  cs.lpszName = lpszWindowName;
  cs.lpszClass = lpszClassName;
  cs.dwExStyle = dwExStyle;
  if (orvek_ui::dispatch(this, WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) == -1) {
    DestroyWindow();
    return FALSE;
  }
  if (!m_hWnd) return FALSE;
  // Qt shows a child with its parent unless it was hidden on purpose.
  if (dwStyle & WS_VISIBLE)
    ShowWindow(SW_SHOW);
  else
    w->hide();
  return TRUE;
}

BOOL CWnd::DestroyWindow() {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return FALSE;
  if (impl->destroying) return TRUE;
  impl->destroying = true;
  const HWND self = m_hWnd;
  QPointer<QWidget> widget = impl->widget;

  orvek_ui::dispatch(this, WM_DESTROY, 0, 0);
  // Then the children and owned windows, each after its parent.
  std::vector<HWND> below;
  if (widget) {
    for (CWndImpl* k : implsBelow(widget)) below.push_back(k->hwnd);
  }
  for (HWND h : below) {
    CWndImpl* k = orvek_ui::ownImpl(h);
    if (!k || k->destroying || !k->wnd) continue;
    k->destroying = true;
    orvek_ui::dispatch(k->wnd, WM_DESTROY, 0, 0);
  }
  if (widget) {
    for (CWndImpl* k : implsBelow(widget)) k->detach();
  }
  if (CWndImpl* k = orvek_ui::ownImpl(self)) k->detach();
  if (widget) {
    widget->hide();
    if (orvek_ui::dispatching())
      widget->deleteLater();
    else
      delete widget.data();
  }
  return TRUE;
}

BOOL DestroyWindow(HWND hWnd) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->DestroyWindow() : FALSE;
}

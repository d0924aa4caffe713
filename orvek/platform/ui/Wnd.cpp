// Windows on QtWidgets: the handle registry, message dispatch, timers,
// paint, geometry and the thread rules of the window layer.
#include <orvek/platform/ui/Wnd_p.h>

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QResizeEvent>
#include <QScreen>
#include <QThread>
#include <QTimerEvent>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cwchar>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include <orvek/platform/core/Kernel_p.h>
#include <orvek/platform/gfx/GraphicsSession_p.h>
#include <orvek/platform/ui/Dc.h>
#include <orvek/platform/ui/MessageLoop_p.h>

namespace {

// ---- handles ------------------------------------------------------------------

// Live windows by handle. A handle is a number that is never used twice, so
// a dead handle stays dead even when the memory of its window is reused.
// Leaked on purpose: other threads may still ask while statics end.
struct Registry {
  std::mutex mu;
  std::unordered_map<std::uintptr_t, CWndImpl*> byHandle;
  std::unordered_map<const QWidget*, CWndImpl*> byWidget;
  std::uintptr_t next = 0x10000;
};
Registry& reg() {
  static auto* r = new Registry;
  return *r;
}
std::uintptr_t keyOf(HWND h) { return reinterpret_cast<std::uintptr_t>(h); }

bool isGuiThread() {
  const QCoreApplication* app = QCoreApplication::instance();
  return app && app->thread() == QThread::currentThread();
}

// ---- events ---------------------------------------------------------------------

const QEvent::Type kPosted = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type kSent = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type kInvalidate = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type kOrphaned = static_cast<QEvent::Type>(QEvent::registerEventType());

struct PostedEvent : QEvent {
  explicit PostedEvent(const MSG& m) : QEvent(kPosted), msg(m) {}
  MSG msg;
};

// A message sent from another thread; the sender waits for the answer. An
// event that dies undelivered (its window ended) answers 0.
struct SendState {
  std::mutex mu;
  std::condition_variable cv;
  bool done = false;
  LRESULT result = 0;
  void finish(LRESULT r) {
    std::lock_guard<std::mutex> g(mu);
    if (done) return;
    done = true;
    result = r;
    cv.notify_all();
  }
};
struct SentEvent : QEvent {
  SentEvent(UINT m, WPARAM w, LPARAM l, std::shared_ptr<SendState> s)
      : QEvent(kSent), message(m), wParam(w), lParam(l), state(std::move(s)) {}
  ~SentEvent() override { state->finish(0); }
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  std::shared_ptr<SendState> state;
};

struct InvalidateEvent : QEvent {
  explicit InvalidateEvent(const QRect& r) : QEvent(kInvalidate), rect(r) {}
  QRect rect;  // null: all
};

// ---- dispatch -------------------------------------------------------------------

// Messages being handled on this thread, innermost last, for Default().
struct Frame {
  CWnd* wnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};
thread_local std::vector<Frame> t_frames;
// Depth of event handlers of this layer on the stack. While it is above 0 a
// widget may be in the middle of its own handler, so ended windows are
// deleted later rather than at once.
thread_local int t_busy = 0;
using Busy = orvek_ui::HandlerScope;
using orvek_ui::guarded;

// A queued message (posted or timer): offered to PreTranslateMessage of the
// window and its parents first, then dispatched, as a message loop does.
void deliverQueued(MSG msg) {
  for (HWND h = msg.hwnd; h; h = GetParent(h)) {
    CWnd* w = CWnd::FromHandle(h);
    if (!w) break;
    if (w->PreTranslateMessage(&msg)) return;
  }
  if (CWnd* target = CWnd::FromHandle(msg.hwnd)) orvek_ui::dispatch(target, msg.message, msg.wParam, msg.lParam);
}

// ---- frame margins --------------------------------------------------------------

bool isFramed(DWORD style) {
  if (style & WS_CHILD) return false;
  return (style & WS_CAPTION) == WS_CAPTION || !(style & WS_POPUP);
}

Qt::WindowFlags topLevelFlags(DWORD style, DWORD exStyle) {
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

// ---- classes --------------------------------------------------------------------

struct WndClass {
  std::wstring name;
  HBRUSH brush;
};
std::mutex& classLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::deque<WndClass>& classes() {
  static auto* d = new std::deque<WndClass>;
  return *d;
}

bool lookupClass(const wchar_t* name, WndKind* kind, HBRUSH* brush) {
  *kind = WndKind::Generic;
  *brush = nullptr;
  if (!name) return true;
  static const struct {
    const wchar_t* name;
    WndKind kind;
  } builtins[] = {{WC_STATICW, WndKind::Static},
                  {WC_BUTTONW, WndKind::Button},
                  {WC_COMBOBOXW, WndKind::Combo},
                  {TRACKBAR_CLASSW, WndKind::Slider},
                  {WC_TABCONTROLW, WndKind::Tab}};
  for (const auto& b : builtins) {
    if (wcscasecmp(b.name, name) == 0) {
      *kind = b.kind;
      return true;
    }
  }
  std::lock_guard<std::mutex> g(classLock());
  for (const auto& c : classes()) {
    if (c.name == name) {
      *brush = c.brush;
      return true;
    }
  }
  return false;
}

// The widget of a plain window: its paint is the window's WM_PAINT.
class WndWidget : public QWidget {
 public:
  WndWidget(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags) {}
  CWndImpl* impl = nullptr;

  // What a host's Qt layout reads: a window that wants a place of its own
  // size there (a graph) names it in these properties.
  QSize sizeHint() const override { return hint("orvekSizeHint", QWidget::sizeHint()); }
  QSize minimumSizeHint() const override { return hint("orvekMinimumSizeHint", QWidget::minimumSizeHint()); }

 protected:
  void paintEvent(QPaintEvent* e) override {
    if (!impl || !impl->wnd) return;
    Busy busy;
    impl->paint = e;
    guarded([&] { orvek_ui::dispatch(impl->wnd, WM_PAINT, 0, 0); });
    impl->paint = nullptr;
    // A CPaintDC that outlived its paint must not keep the painter.
    delete impl->painter;
    impl->painter = nullptr;
  }

 private:
  QSize hint(const char* name, const QSize& otherwise) const {
    const QVariant v = property(name);
    return v.isValid() ? v.toSize() : otherwise;
  }
};

// ---- posting from any thread ------------------------------------------------------

BOOL postToWindow(HWND h, UINT message, WPARAM wParam, LPARAM lParam) {
  MSG m{};
  m.hwnd = h;
  m.message = message;
  m.wParam = wParam;
  m.lParam = lParam;
  m.time = GetTickCount();
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(h));
  if (it == reg().byHandle.end()) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  // Under the registry lock the receiver cannot be deleted; Qt's queue is
  // thread-safe and drops what a dying receiver had not yet taken.
  QCoreApplication::postEvent(it->second, new PostedEvent(m));
  return TRUE;
}

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
  HookRegistration() {
    orvek_detail::SetWindowPostHook(&postToWindow);
    orvek_gfx::SetApplicationEndHook(&endWindowsBeforeApplication);
  }
} g_hookRegistration;

// The record of the GUI thread.
thread_local std::unique_ptr<CWinThread> t_threadRecord;

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

// Window positions far beyond any screen are held where Qt's arithmetic on
// them cannot overflow.
int placeOf(int v) { return std::clamp(v, -QWIDGETSIZE_MAX, QWIDGETSIZE_MAX); }

QRect toQRect(const RECT& r) {
  return QRect(r.left, r.top, orvek_ui::SpanOf(r.left, r.right), orvek_ui::SpanOf(r.top, r.bottom));
}
RECT toRECT(const QRect& r) { return RECT{r.left(), r.top(), r.left() + r.width(), r.top() + r.height()}; }

}  // namespace

// ---- private helpers ---------------------------------------------------------------

int orvek_ui::SpanOf(LONG from, LONG to) {
  const long long d = static_cast<long long>(to) - from;
  return static_cast<int>(std::clamp<long long>(d, 0, QWIDGETSIZE_MAX));
}

QString orvek_ui::toQString(const wchar_t* text) {
  return text ? QString::fromWCharArray(text) : QString();
}

std::wstring orvek_ui::toWide(const QString& text) { return text.toStdWString(); }

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

LRESULT orvek_ui::dispatch(CWnd* wnd, UINT message, WPARAM wParam, LPARAM lParam) {
  t_frames.push_back(Frame{wnd, message, wParam, lParam});
  struct Pop {
    ~Pop() { t_frames.pop_back(); }
  } pop;
  return wnd->WindowProc(message, wParam, lParam);
}

bool orvek_ui::dispatching() { return t_busy > 0; }
orvek_ui::HandlerScope::HandlerScope() { ++t_busy; }
orvek_ui::HandlerScope::~HandlerScope() { --t_busy; }

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

// ---- CWndImpl -----------------------------------------------------------------------

CWndImpl::CWndImpl(CWnd* w, QWidget* wid, WndKind k, DWORD s, DWORD ex, UINT i)
    : QObject(wid), wnd(w), widget(wid), hwnd(nullptr), owner(std::this_thread::get_id()), kind(k), style(s),
      exStyle(ex), id(i) {
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

bool CWndImpl::event(QEvent* e) {
  const QEvent::Type t = e->type();
  if (t == kPosted) {
    Busy busy;
    if (wnd) guarded([&] { deliverQueued(static_cast<PostedEvent*>(e)->msg); });
    return true;
  }
  if (t == kSent) {
    Busy busy;
    auto* s = static_cast<SentEvent*>(e);
    LRESULT r = 0;
    if (wnd) guarded([&] { r = orvek_ui::dispatch(wnd, s->message, s->wParam, s->lParam); });
    s->state->finish(r);
    return true;
  }
  if (t == kInvalidate) {
    if (wnd) {
      const QRect& r = static_cast<InvalidateEvent*>(e)->rect;
      if (r.isNull())
        widget->update();
      else
        widget->update(r);
    }
    return true;
  }
  if (t == kOrphaned) {
    // The CWnd went on another thread; its window ends here (later, since
    // this object, a child of the widget, is handling the event).
    detach();
    widget->hide();
    widget->deleteLater();
    return true;
  }
  return QObject::event(e);
}

void CWndImpl::timerEvent(QTimerEvent* e) {
  for (const auto& t : timers) {
    if (t.second.qtId != e->timerId()) continue;
    const UINT_PTR idEvent = t.first;
    const TIMERPROC proc = t.second.proc;
    Busy busy;
    if (proc) {
      const HWND h = hwnd;
      guarded([&] { proc(h, WM_TIMER, idEvent, GetTickCount()); });
    } else {
      MSG m{};
      m.hwnd = hwnd;
      m.message = WM_TIMER;
      m.wParam = idEvent;
      m.time = GetTickCount();
      guarded([&] { deliverQueued(m); });
    }
    return;
  }
  QObject::timerEvent(e);
}

bool CWndImpl::eventFilter(QObject* watched, QEvent* e) {
  if (watched != widget) return false;
  switch (e->type()) {
    case QEvent::Close:
      // The close box asks; the window's WM_CLOSE decides (by default it is
      // destroyed). Qt itself never closes the widget.
      if (wnd && widget->isWindow()) {
        Busy busy;
        guarded([&] { orvek_ui::dispatch(wnd, WM_CLOSE, 0, 0); });
        // A window that ended or hid itself agrees: Qt's quit closes every
        // window first and gives up at the first that refuses.
        if (!wnd || widget->isHidden()) {
          e->accept();
          return true;
        }
      }
      e->ignore();
      return true;
    case QEvent::Show:
    case QEvent::Hide:
      visible.store(widget->isVisible());
      if (widget->isWindow()) orvek_ui::frameMargins(this);
      return false;
    case QEvent::Resize:
      if (wnd && kind == WndKind::Generic) {
        Busy busy;
        const QSize s = static_cast<QResizeEvent*>(e)->size();
        guarded([&] {
          orvek_ui::dispatch(wnd, WM_SIZE, SIZE_RESTORED,
                             MAKELPARAM(static_cast<WORD>(s.width()), static_cast<WORD>(s.height())));
        });
      }
      return false;
    default:
      return false;
  }
}

// ---- CWnd -----------------------------------------------------------------------------

CWnd::CWnd() : m_hWnd(nullptr), m_pImpl(nullptr) {}

CWnd::~CWnd() {
  if (t_threadRecord && t_threadRecord->m_pMainWnd == this) t_threadRecord->m_pMainWnd = nullptr;
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

CWnd* CWnd::FromHandle(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(hWnd));
  return it == reg().byHandle.end() ? nullptr : it->second->wnd;
}

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

// ---- messages ----

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return ::SendMessageW(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  // Without a window there is nothing to post to (a null handle would mean
  // the thread's queue).
  if (!m_hWnd) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  return ::PostMessageW(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::Default() {
  if (t_frames.empty() || t_frames.back().wnd != this) return 0;
  const Frame f = t_frames.back();
  return DefWindowProc(f.message, f.wParam, f.lParam);
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  LRESULT result = 0;
  if (!OnWndMsg(message, wParam, lParam, &result)) result = DefWindowProc(message, wParam, lParam);
  return result;
}

BOOL CWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  LRESULT r = 0;
  switch (message) {
    case WM_CREATE:
      r = OnCreate(reinterpret_cast<LPCREATESTRUCTW>(lParam));
      break;
    case WM_PAINT:
      OnPaint();
      break;
    case WM_TIMER:
      OnTimer(static_cast<UINT>(wParam));
      break;
    case WM_CLOSE:
      OnClose();
      break;
    case WM_DESTROY:
      OnDestroy();
      break;
    case WM_SIZE:
      OnSize(static_cast<UINT>(wParam), LOWORD(static_cast<std::uintptr_t>(lParam)),
             HIWORD(static_cast<std::uintptr_t>(lParam)));
      break;
    case WM_HSCROLL:
    case WM_VSCROLL: {
      CScrollBar* bar = FromHandle(reinterpret_cast<HWND>(lParam));
      if (message == WM_HSCROLL)
        OnHScroll(LOWORD(wParam), HIWORD(wParam), bar);
      else
        OnVScroll(LOWORD(wParam), HIWORD(wParam), bar);
      break;
    }
    case WM_COMMAND:
      if (!OnCommand(wParam, lParam)) return FALSE;
      r = 1;
      break;
    case WM_NOTIFY:
      if (!OnNotify(wParam, lParam, &r)) return FALSE;
      break;
    default:
      return FALSE;
  }
  if (pResult) *pResult = r;
  return TRUE;
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return 0;
  LRESULT r = 0;
  if (orvek_ui::controlProc(impl, message, wParam, lParam, &r)) return r;
  switch (message) {
    case WM_CLOSE:
      DestroyWindow();
      return 0;
    case WM_SETTEXT:
      impl->text = lParam ? reinterpret_cast<const wchar_t*>(lParam) : L"";
      orvek_ui::controlSetText(impl);
      return TRUE;
    case WM_GETTEXT: {
      auto* buf = reinterpret_cast<wchar_t*>(lParam);
      if (!buf || wParam == 0) return 0;
      const std::size_t n = std::min<std::size_t>(impl->text.size(), wParam - 1);
      std::wmemcpy(buf, impl->text.data(), n);
      buf[n] = L'\0';
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(impl->text.size());
    case WM_SETFONT: {
      impl->font = reinterpret_cast<HFONT>(wParam);
      QFont f;
      if (orvek_ui::fontOf(impl->font, &f))
        impl->widget->setFont(f);
      else
        impl->widget->setFont(QFont());
      if (lParam) impl->widget->update();
      return 0;
    }
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(impl->font);
    default:
      return 0;
  }
}

BOOL CWnd::PreTranslateMessage(MSG*) { return FALSE; }

// ---- handlers ----

int CWnd::OnCreate(LPCREATESTRUCTW) { return static_cast<int>(Default()); }
void CWnd::OnPaint() { Default(); }
void CWnd::OnTimer(UINT) { Default(); }
void CWnd::OnClose() { Default(); }
void CWnd::OnDestroy() { Default(); }
void CWnd::OnSize(UINT, int, int) { Default(); }
void CWnd::OnHScroll(UINT, UINT, CScrollBar*) { Default(); }
void CWnd::OnVScroll(UINT, UINT, CScrollBar*) { Default(); }
BOOL CWnd::OnCommand(WPARAM, LPARAM) { return FALSE; }
BOOL CWnd::OnNotify(WPARAM, LPARAM, LRESULT*) { return FALSE; }

// ---- timers ----

UINT_PTR CWnd::SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl || nIDEvent == 0) return 0;
  auto it = impl->timers.find(nIDEvent);
  if (it != impl->timers.end()) {
    impl->killTimer(it->second.qtId);
    impl->timers.erase(it);
  }
  // A period of 0 would spin: Qt gets at least 1 ms.
  const UINT ms = std::min<UINT>(std::max<UINT>(nElapse, 1u), static_cast<UINT>(INT_MAX));
  const int qtId = impl->startTimer(std::chrono::milliseconds(ms), Qt::PreciseTimer);
  if (qtId == 0) return 0;
  impl->timers[nIDEvent] = CWndImpl::Timer{qtId, nElapse, lpfnTimer};
  return nIDEvent;
}

BOOL CWnd::KillTimer(UINT_PTR nIDEvent) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return FALSE;
  auto it = impl->timers.find(nIDEvent);
  if (it == impl->timers.end()) return FALSE;
  impl->killTimer(it->second.qtId);
  impl->timers.erase(it);
  return TRUE;
}

BOOL CWnd::GetTimerElapse(UINT_PTR nIDEvent, UINT* pElapse) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl || !pElapse) return FALSE;
  auto it = impl->timers.find(nIDEvent);
  if (it == impl->timers.end()) return FALSE;
  *pElapse = it->second.elapse;
  return TRUE;
}

// ---- state and geometry ----

BOOL CWnd::ShowWindow(int nCmdShow) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return FALSE;
  QWidget* w = impl->widget;
  const BOOL was = !w->isHidden();
  const bool top = w->isWindow();
  switch (nCmdShow) {
    case SW_HIDE:
      w->hide();
      return was;
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
    default:
      w->show();
      break;
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
  if (!r) return;
  POINT a{r->left, r->top}, b{r->right, r->bottom};
  ClientToScreen(&a);
  ClientToScreen(&b);
  *r = RECT{a.x, a.y, b.x, b.y};
}

void CWnd::ScreenToClient(LPPOINT p) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl || !p) return;
  const QPoint l = impl->widget->mapFromGlobal(QPoint(p->x, p->y));
  p->x = l.x();
  p->y = l.y();
}

void CWnd::ScreenToClient(LPRECT r) const {
  if (!r) return;
  POINT a{r->left, r->top}, b{r->right, r->bottom};
  ScreenToClient(&a);
  ScreenToClient(&b);
  *r = RECT{a.x, a.y, b.x, b.y};
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

void CWnd::CalcWindowRect(LPRECT lpClientRect, UINT) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!lpClientRect) return;
  const QMargins m = impl ? orvek_ui::frameMargins(impl) : QMargins();
  lpClientRect->left -= m.left();
  lpClientRect->top -= m.top();
  lpClientRect->right += m.right();
  lpClientRect->bottom += m.bottom();
}

void CWnd::Invalidate(BOOL bErase) { ::InvalidateRect(m_hWnd, nullptr, bErase); }
void CWnd::InvalidateRect(LPCRECT lpRect, BOOL bErase) { ::InvalidateRect(m_hWnd, lpRect, bErase); }

void CWnd::UpdateWindow() {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (impl && impl->widget->isVisible()) impl->widget->repaint();
}

void CWnd::SetWindowTextW(const wchar_t* lpszString) {
  SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpszString));
}

int CWnd::GetWindowTextW(wchar_t* lpszStringBuf, int nMaxCount) const {
  if (nMaxCount <= 0) return 0;
  return static_cast<int>(::SendMessageW(m_hWnd, WM_GETTEXT, static_cast<WPARAM>(nMaxCount),
                                         reinterpret_cast<LPARAM>(lpszStringBuf)));
}

void CWnd::GetWindowTextW(CStringW& rString) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  rString = impl ? impl->text.c_str() : L"";
}

int CWnd::GetWindowTextLengthW() const {
  return static_cast<int>(::SendMessageW(m_hWnd, WM_GETTEXTLENGTH, 0, 0));
}

void CWnd::SetFont(CFont* pFont, BOOL bRedraw) {
  SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(pFont ? static_cast<HFONT>(*pFont) : nullptr), bRedraw);
}

QWidget* CWnd::GetQWidget() const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  return impl ? impl->widget : nullptr;
}

LONG CWnd::SaveClientImage(const wchar_t* pszPath) const {
  if (!pszPath) return E_POINTER;
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return E_FAIL;
  const QPixmap picture = impl->widget->grab();
  if (picture.isNull()) return E_FAIL;
  return picture.save(orvek_ui::toQString(pszPath), "PNG") ? S_OK : E_FAIL;
}

// ---- threads and classes ------------------------------------------------------------------

CWinThread::CWinThread() : m_pMainWnd(nullptr), m_nThreadID(GetCurrentThreadId()) {}
CWinThread::~CWinThread() = default;
CWnd* CWinThread::GetMainWnd() { return m_pMainWnd; }

CWinThread* AfxGetThread() {
  if (!isGuiThread()) return nullptr;
  if (!t_threadRecord) t_threadRecord.reset(new CWinThread);
  return t_threadRecord.get();
}

CWnd* AfxGetMainWnd() {
  CWinThread* t = AfxGetThread();
  return t ? t->GetMainWnd() : nullptr;
}

const wchar_t* AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor, HBRUSH hbrBackground, HICON hIcon) {
  wchar_t name[96];
  std::swprintf(name, sizeof name / sizeof name[0], L"Orvek:%x:%p:%p:%p", nClassStyle, static_cast<void*>(hCursor),
                static_cast<void*>(hbrBackground), static_cast<void*>(hIcon));
  std::lock_guard<std::mutex> g(classLock());
  for (const auto& c : classes())
    if (c.name == name) return c.name.c_str();
  classes().push_back(WndClass{name, hbrBackground});
  return classes().back().name.c_str();
}

// ---- handle functions ----------------------------------------------------------------------

BOOL IsWindow(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  return reg().byHandle.count(keyOf(hWnd)) ? TRUE : FALSE;
}

BOOL IsWindowVisible(HWND hWnd) {
  std::lock_guard<std::mutex> g(reg().mu);
  auto it = reg().byHandle.find(keyOf(hWnd));
  if (it == reg().byHandle.end()) return FALSE;
  CWndImpl* impl = it->second;
  return impl->onOwnerThread() ? impl->widget->isVisible() : impl->visible.load();
}

BOOL DestroyWindow(HWND hWnd) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->DestroyWindow() : FALSE;
}

LRESULT SendMessageW(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<SendState> state;
  CWnd* local = nullptr;
  {
    std::lock_guard<std::mutex> g(reg().mu);
    auto it = reg().byHandle.find(keyOf(hWnd));
    if (it == reg().byHandle.end()) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return 0;
    }
    if (it->second->onOwnerThread()) {
      local = it->second->wnd;
    } else {
      state = std::make_shared<SendState>();
      QCoreApplication::postEvent(it->second, new SentEvent(message, wParam, lParam, state));
    }
  }
  if (local) return orvek_ui::dispatch(local, message, wParam, lParam);
  std::unique_lock<std::mutex> g(state->mu);
  state->cv.wait(g, [&] { return state->done; });
  return state->result;
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

BOOL ShowWindow(HWND hWnd, int nCmdShow) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->ShowWindow(nCmdShow) : FALSE;
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
  *lpRect = RECT{g.left() - m.left(), g.top() - m.top(), g.left() + g.width() + m.right(),
                 g.top() + g.height() + m.bottom()};
  return TRUE;
}

BOOL GetClientRect(HWND hWnd, LPRECT lpRect) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !lpRect) return FALSE;
  *lpRect = RECT{0, 0, impl->widget->width(), impl->widget->height()};
  return TRUE;
}

HWND GetParent(HWND hWnd) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl) return nullptr;
  // A child's parent; a popup's owner; an overlapped window has none.
  if (impl->widget->isWindow() && !(impl->style & WS_POPUP)) return nullptr;
  CWndImpl* up = orvek_ui::implOfWidget(impl->widget->parentWidget());
  return up ? up->hwnd : nullptr;
}

HWND GetFocus() {
  CWnd* w = CWnd::GetFocus();
  return w ? w->m_hWnd : nullptr;
}

BOOL SetWindowTextW(HWND hWnd, const wchar_t* lpString) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !impl->wnd) return FALSE;
  impl->wnd->SetWindowTextW(lpString);
  return TRUE;
}

UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->SetTimer(nIDEvent, uElapse, lpTimerFunc) : 0;
}

BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->KillTimer(uIDEvent) : FALSE;
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

// ---- paint -------------------------------------------------------------------------------

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

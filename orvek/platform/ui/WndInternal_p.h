#pragma once

// Private to the window files (Wnd*.cpp, WinThread.cpp): what they share
// beyond Wnd_p.h. The registry of live windows, the events that carry a
// message to a window's own thread, and the widget of a plain window.

#include <QCoreApplication>
#include <QEvent>
#include <QPaintEvent>
#include <QRect>
#include <QThread>
#include <QWidget>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/ui/Wnd_p.h>

namespace orvek_ui {

// ---- handles (WndRegistry.cpp) ----

// Live windows by handle. A handle is a number that is never used twice, so
// a dead handle stays dead even when the memory of its window is reused.
// Leaked on purpose: other threads may still ask while statics end.
struct Registry {
  std::mutex mu;
  std::unordered_map<std::uintptr_t, CWndImpl*> byHandle;
  std::unordered_map<const QWidget*, CWndImpl*> byWidget;
  std::uintptr_t next = 0x10000;
};
Registry& reg();
inline std::uintptr_t keyOf(HWND h) { return reinterpret_cast<std::uintptr_t>(h); }

inline bool isGuiThread() {
  const QCoreApplication* app = QCoreApplication::instance();
  return app && app->thread() == QThread::currentThread();
}

// ---- events (WndPost.cpp) ----

extern const QEvent::Type kPosted;
extern const QEvent::Type kSent;
extern const QEvent::Type kInvalidate;
extern const QEvent::Type kOrphaned;

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

// ---- dispatch (WndDispatch.cpp) ----

// A queued message (posted or timer): offered to PreTranslateMessage of the
// window and its parents first, then dispatched, as a message loop does.
void deliverQueued(MSG msg);

// ---- frames (WndFrame.cpp) ----

Qt::WindowFlags topLevelFlags(DWORD style, DWORD exStyle);

// ---- classes (WndClasses.cpp) ----

// The kind and background brush of a class name; false for an unknown one.
bool lookupClass(const wchar_t* name, WndKind* kind, HBRUSH* brush);

// ---- thread record (WinThread.cpp) ----

// A CWnd that ends stops being the main window of the calling thread's record.
void forgetMainWindow(const CWnd* wnd);

// ---- rectangles ----

inline QRect toQRect(const RECT& r) { return QRect(r.left, r.top, SpanOf(r.left, r.right), SpanOf(r.top, r.bottom)); }
inline RECT toRECT(const QRect& r) { return RECT{r.left(), r.top(), r.left() + r.width(), r.top() + r.height()}; }

// ---- the widget of a plain window (paint in WndPaint.cpp) ----

// Its paint is the window's WM_PAINT.
class WndWidget : public QWidget {
 public:
  WndWidget(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags) {}
  CWndImpl* impl = nullptr;

  // What a host's Qt layout reads: a window that wants a place of its own
  // size there (a graph) names it in these properties.
  QSize sizeHint() const override { return hint("orvekSizeHint", QWidget::sizeHint()); }
  QSize minimumSizeHint() const override { return hint("orvekMinimumSizeHint", QWidget::minimumSizeHint()); }

 protected:
  void paintEvent(QPaintEvent* e) override;

 private:
  QSize hint(const char* name, const QSize& otherwise) const {
    const QVariant v = property(name);
    return v.isValid() ? v.toSize() : otherwise;
  }
};

}  // namespace orvek_ui

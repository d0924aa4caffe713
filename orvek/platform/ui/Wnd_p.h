#pragma once

// Private to the library: the object behind a live window. It is a QObject
// child of the window's widget, so it lives exactly as long as the widget;
// posted messages and timers are delivered to it, and it filters the
// widget's events (close, show, hide, resize).

#include <QColor>
#include <QEvent>
#include <QMargins>
#include <QObject>
#include <QWidget>

#include <atomic>
#include <map>
#include <string>
#include <thread>

#include <orvek/platform/ui/Wnd.h>

class QFont;
class QPaintEvent;
class QPainter;

enum class WndKind { Generic, Static, Button, Slider, Combo, Tab };

class CWndImpl : public QObject {
 public:
  // Made, ended and detached in WndRegistry.cpp.
  CWndImpl(CWnd* wnd, QWidget* widget, WndKind kind, DWORD style, DWORD exStyle, UINT id);
  ~CWndImpl() override;

  // Ends the link to the CWnd: the handle stops being valid, timers stop,
  // and no event reaches the object any more.
  void detach();
  bool onOwnerThread() const { return owner == std::this_thread::get_id(); }

  // Sends a control notification to the parent window (WM_COMMAND with the
  // code in the high word).
  void notifyCommand(WORD code);
  void notifyScroll(UINT code, int pos);
  void notifyTabChange();

  CWnd* wnd;  // null once detached; written under the registry lock
  QWidget* widget;
  HWND hwnd;
  const std::thread::id owner;
  const WndKind kind;
  DWORD style;
  DWORD exStyle;
  UINT id;
  HFONT font = nullptr;
  std::wstring text;
  bool destroying = false;
  // A WM_PAINT in progress, and the painter a CPaintDC opened on it.
  QPaintEvent* paint = nullptr;
  QPainter* painter = nullptr;
  // Height the owner asked for a combo box, open list included.
  int requestedHeight = 0;

  struct Timer {
    int qtId;
    UINT elapse;
    TIMERPROC proc;
  };
  std::map<UINT_PTR, Timer> timers;

  // Kept for other threads: what isVisible() said at the last show or hide.
  std::atomic<bool> visible{false};

 protected:
  bool event(QEvent* e) override;                          // posted messages: WndPost.cpp
  void timerEvent(QTimerEvent* e) override;                // WndTimers.cpp
  bool eventFilter(QObject* watched, QEvent* e) override;  // the widget's events: WndDispatch.cpp
};

namespace orvek_ui {

// ---- handles (WndRegistry.cpp) ----
// The impl of a live window on the calling thread's side; null for a dead
// handle, and for a window of another thread (with the error set).
CWndImpl* ownImpl(HWND hWnd);
// The impl of the nearest widget at or above w that is a window.
CWndImpl* implOfWidget(const QWidget* w);

// ---- dispatch (WndDispatch.cpp) ----
// Marks a handler of this layer on the stack (see dispatching()).
class HandlerScope {
 public:
  HandlerScope();
  ~HandlerScope();
  HandlerScope(const HandlerScope&) = delete;
  HandlerScope& operator=(const HandlerScope&) = delete;
};

// A handler's exception cannot cross Qt's event loop: the message ends there.
template <class F>
void guarded(F&& f) {
  try {
    f();
  } catch (...) {
  }
}

// Runs WindowProc of the window for one message, with Default() knowing the
// message. Deletions of widgets wait while any dispatch is running.
LRESULT dispatch(CWnd* wnd, UINT message, WPARAM wParam, LPARAM lParam);
bool dispatching();

// ---- frames (WndFrame.cpp) ----
// The frame margins of a top-level window (0 for children and frameless
// windows), and those the platform draws for a style.
QMargins frameMargins(const CWndImpl* impl);
QMargins frameMarginsForStyle(DWORD style, DWORD exStyle);

// ---- controls (Controls.cpp) ----
QWidget* makeControlWidget(WndKind kind, DWORD style, QWidget* parent);
void wireControl(CWndImpl* impl);
// Answers the control's own messages; false for messages it does not know.
bool controlProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
// Applies text and geometry the way the control kind takes them.
void controlSetText(CWndImpl* impl);
void controlSetGeometry(CWndImpl* impl, const QRect& rect);

// ---- brushes and fonts (Gdi.cpp) ----
bool brushColor(HBRUSH brush, QColor* color);
bool fontOf(HFONT font, QFont* out);

// ---- text (WndText.cpp) and rectangles (WndGeometry.cpp) ----
QString toQString(const wchar_t* text);
// A rectangle's side without signed overflow, for any 32-bit edges: a
// reversed side is 0, one longer than a widget can be is cut.
int SpanOf(LONG from, LONG to);
std::wstring toWide(const QString& text);

}  // namespace orvek_ui

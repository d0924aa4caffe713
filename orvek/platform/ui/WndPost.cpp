// PostMessageW and SendMessageW to windows from any thread: Qt events posted to
// the window's object; a cross-thread sender waits on a condition variable.
#include <orvek/platform/ui/WndInternal_p.h>

#include <orvek/platform/core/Kernel_p.h>

using orvek_ui::deliverQueued;
using orvek_ui::guarded;
using orvek_ui::keyOf;
using orvek_ui::reg;
using Busy = orvek_ui::HandlerScope;

const QEvent::Type orvek_ui::kPosted = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type orvek_ui::kSent = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type orvek_ui::kInvalidate = static_cast<QEvent::Type>(QEvent::registerEventType());
const QEvent::Type orvek_ui::kOrphaned = static_cast<QEvent::Type>(QEvent::registerEventType());

namespace {

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
  QCoreApplication::postEvent(it->second, new orvek_ui::PostedEvent(m));
  return TRUE;
}

// PostMessageW of the core hands messages for a window to this layer.
struct HookRegistration {
  HookRegistration() { orvek_detail::SetWindowPostHook(&postToWindow); }
} g_hookRegistration;

}  // namespace

using orvek_ui::InvalidateEvent;
using orvek_ui::kInvalidate;
using orvek_ui::kOrphaned;
using orvek_ui::kPosted;
using orvek_ui::kSent;
using orvek_ui::PostedEvent;
using orvek_ui::SentEvent;

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

LRESULT SendMessageW(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<orvek_ui::SendState> state;
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
      state = std::make_shared<orvek_ui::SendState>();
      QCoreApplication::postEvent(it->second, new orvek_ui::SentEvent(message, wParam, lParam, state));
    }
  }
  if (local) return orvek_ui::dispatch(local, message, wParam, lParam);
  std::unique_lock<std::mutex> g(state->mu);
  state->cv.wait(g, [&] { return state->done; });
  return state->result;
}

// SetTimer and KillTimer: precise QObject timers of the window's object, each
// tick delivered as WM_TIMER through the window's queue or to its TIMERPROC.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QTimerEvent>

#include <algorithm>
#include <chrono>
#include <climits>

using orvek_ui::deliverQueued;
using orvek_ui::guarded;
using Busy = orvek_ui::HandlerScope;

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

UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->SetTimer(nIDEvent, uElapse, lpTimerFunc) : 0;
}

BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  return impl && impl->wnd ? impl->wnd->KillTimer(uIDEvent) : FALSE;
}

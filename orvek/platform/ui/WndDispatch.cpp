// Window procedures (WindowProc, DefWindowProc, Default, On* handlers): direct
// calls on the owner thread; the widget's Qt events become WM_CLOSE, WM_SIZE.
#include <orvek/platform/ui/WndInternal_p.h>

#include <QFont>
#include <QResizeEvent>

#include <algorithm>
#include <cwchar>
#include <vector>

using orvek_ui::guarded;
using Busy = orvek_ui::HandlerScope;

namespace {

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

}  // namespace

void orvek_ui::deliverQueued(MSG msg) {
  for (HWND h = msg.hwnd; h; h = GetParent(h)) {
    CWnd* w = CWnd::FromHandle(h);
    if (!w) break;
    if (w->PreTranslateMessage(&msg)) return;
  }
  if (CWnd* target = CWnd::FromHandle(msg.hwnd)) orvek_ui::dispatch(target, msg.message, msg.wParam, msg.lParam);
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
    default: return false;
  }
}

// ---- CWnd -----------------------------------------------------------------------------

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
    case WM_CREATE: r = OnCreate(reinterpret_cast<LPCREATESTRUCTW>(lParam)); break;
    case WM_PAINT: OnPaint(); break;
    case WM_TIMER: OnTimer(static_cast<UINT>(wParam)); break;
    case WM_CLOSE: OnClose(); break;
    case WM_DESTROY: OnDestroy(); break;
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
    default: return FALSE;
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
    case WM_CLOSE: DestroyWindow(); return 0;
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
    case WM_GETTEXTLENGTH: return static_cast<LRESULT>(impl->text.size());
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
    case WM_GETFONT: return reinterpret_cast<LRESULT>(impl->font);
    default: return 0;
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

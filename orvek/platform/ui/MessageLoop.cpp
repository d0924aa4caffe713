// The message loop (GetMessage and DispatchMessage) that the library lends
// to hosts without one of their own: a QEventLoop on the calling thread.
#include <orvek/platform/ui/MessageLoop_p.h>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>

#include <atomic>

#include <orvek/platform/core/Kernel.h>

namespace {

std::atomic<bool> g_hostLeftLoop{false};

bool anyVisibleWindow() {
  for (const QWidget* w : QApplication::topLevelWidgets()) {
    if (!w->isVisible()) continue;
    switch (w->windowType()) {
      case Qt::Popup:
      case Qt::ToolTip:
      case Qt::Desktop: continue;
      default: return true;
    }
  }
  return false;
}

}  // namespace

bool orvek_ui::HostLeftLoop() { return g_hostLeftLoop.load(); }
void orvek_ui::SetHostLeftLoop(bool left) { g_hostLeftLoop.store(left); }

void orvek_ui::PumpMessages(DWORD dwMilliseconds) {
  orvek_ui::SetHostLeftLoop(false);
  if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
    Sleep(dwMilliseconds);
    return;
  }
  QEventLoop loop;
  QTimer::singleShot(std::chrono::milliseconds(dwMilliseconds), Qt::PreciseTimer, &loop, &QEventLoop::quit);
  loop.exec();
}

int orvek_ui::RunMessageLoop() {
  if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return 0;
  orvek_ui::SetHostLeftLoop(false);
  QEventLoop loop;
  int code = 0;
  // WM_QUIT comes through the core's thread queue, which does not wake Qt:
  // the loop looks for it, and for the last window, every few ms.
  auto check = [&] {
    MSG m;
    if (PeekMessageW(&m, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
      code = static_cast<int>(m.wParam);
      orvek_ui::SetHostLeftLoop(true);
      loop.exit();
    } else if (!anyVisibleWindow()) {
      loop.exit();
    }
  };
  MSG m;
  if (PeekMessageW(&m, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) {
    orvek_ui::SetHostLeftLoop(true);
    return static_cast<int>(m.wParam);
  }
  if (!anyVisibleWindow()) return 0;
  QTimer poll;
  poll.setInterval(20);
  QObject::connect(&poll, &QTimer::timeout, &loop, check);
  poll.start();
  loop.exec();
  return code;
}

#include <orvek/platform/gfx/GraphicsSession.h>

#include <QApplication>
#include <QCoreApplication>

#include <cstdlib>
#include <mutex>
#include <set>

namespace {
std::mutex g_lock;
std::set<ULONG> g_open;
ULONG g_next = 0;
QApplication* g_created = nullptr;
int g_argc = 1;
char g_arg0[] = "orvek";
char* g_argv[] = {g_arg0, nullptr};

bool hasDisplay() {
  const char* x = std::getenv("DISPLAY");
  const char* w = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (w && *w);
}
}  // namespace

int GdiplusStartup(ULONG* token, const GdiplusStartupInput* input, void*) {
  if (!token || !input || input->GdiplusVersion != 1) return 2;  // InvalidParameter
  std::lock_guard<std::mutex> g(g_lock);
  if (!QCoreApplication::instance()) {
    if (!hasDisplay() && !std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 0);
    g_created = new QApplication(g_argc, g_argv);
  }
  do {
    ++g_next;
  } while (g_next == 0 || g_open.count(g_next));
  g_open.insert(g_next);
  *token = g_next;
  return 0;
}

void GdiplusShutdown(ULONG token) {
  std::lock_guard<std::mutex> g(g_lock);
  if (!g_open.erase(token)) return;
  if (g_open.empty() && g_created) {
    delete g_created;
    g_created = nullptr;
  }
}

// GdiplusStartup and GdiplusShutdown: an open session keeps a Qt application
// object alive, created here when the host has none.
#include <orvek/platform/gfx/GraphicsSession.h>

#include <QCoreApplication>
#include <QGuiApplication>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>

#include <orvek/platform/gfx/GraphicsSession_p.h>

namespace {
std::mutex g_lock;
std::set<ULONG> g_open;
ULONG g_next = 0;
QGuiApplication* g_created = nullptr;
std::atomic<orvek_gfx::ApplicationEndHook> g_endHook{nullptr};
std::atomic<orvek_gfx::ApplicationFactory> g_factory{nullptr};
int g_argc = 1;
char g_arg0[] = "orvek";
char* g_argv[] = {g_arg0, nullptr};

bool nonEmptyEnv(const char* name) {
  const char* v = std::getenv(name);
  return v && *v;
}

// Qt's own chatter (a missing XDG_RUNTIME_DIR, what the offscreen platform
// cannot do) is not the host's business while the library owns the
// application; ORVEK_QT_MESSAGES=1 lets it through for debugging. Fatal
// messages always pass.
QtMessageHandler g_hostHandler = nullptr;
void quietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type == QtFatalMsg || nonEmptyEnv("ORVEK_QT_MESSAGES")) g_hostHandler(type, context, message);
}

std::string lower(const char* name) {
  std::string s = nonEmptyEnv(name) ? std::getenv(name) : "";
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// The platform list Qt will try: the host's QT_QPA_PLATFORM, else offscreen
// without any display, else what Qt itself picks for the session.
std::string requestedPlatforms() {
  if (nonEmptyEnv("QT_QPA_PLATFORM")) return std::getenv("QT_QPA_PLATFORM");
  if (!nonEmptyEnv("DISPLAY") && !nonEmptyEnv("WAYLAND_DISPLAY")) return "offscreen";
  const bool gnome = lower("XDG_CURRENT_DESKTOP").find("gnome") != std::string::npos ||
                     lower("XDG_SESSION_DESKTOP").find("gnome") != std::string::npos;
  if (lower("XDG_SESSION_TYPE") == "wayland" && !gnome) return "wayland";
  return nonEmptyEnv("DISPLAY") ? "xcb" : "wayland";
}

bool listsOffscreen(const std::string& platforms) {
  std::size_t at = 0;
  while (at <= platforms.size()) {
    const std::size_t end = std::min(platforms.find(';', at), platforms.size());
    const std::string item = platforms.substr(at, end - at);
    if (item.substr(0, item.find(':')) == "offscreen") return true;
    at = end + 1;
  }
  return false;
}

// Qt ends the process when no platform plugin of the list can be opened (no
// display, a missing plugin). Offscreen, which always opens, is put last in
// the list; landing on it when the host did not ask for it is a refusal.
QGuiApplication* createApplication() {
  const std::string platforms = requestedPlatforms();
  const bool offscreenAsked = listsOffscreen(platforms);
  g_hostHandler = qInstallMessageHandler(&quietHandler);
  const char* before = std::getenv("QT_QPA_PLATFORM");
  const std::string saved = before ? before : "";
  setenv("QT_QPA_PLATFORM", offscreenAsked ? platforms.c_str() : (platforms + ";offscreen").c_str(), 1);
  const orvek_gfx::ApplicationFactory factory = g_factory.load();
  QGuiApplication* app = factory ? factory(g_argc, g_argv) : new QGuiApplication(g_argc, g_argv);
  if (before)
    setenv("QT_QPA_PLATFORM", saved.c_str(), 1);
  else
    unsetenv("QT_QPA_PLATFORM");
  if (!offscreenAsked && QGuiApplication::platformName() == QLatin1String("offscreen")) {
    delete app;
    qInstallMessageHandler(g_hostHandler);
    return nullptr;
  }
  return app;
}
}  // namespace

void orvek_gfx::SetApplicationEndHook(ApplicationEndHook hook) { g_endHook.store(hook); }
void orvek_gfx::SetApplicationFactory(ApplicationFactory factory) { g_factory.store(factory); }

int GdiplusStartup(ULONG* token, const GdiplusStartupInput* input, void*) {
  if (!token || !input || input->GdiplusVersion != 1) return 2;  // InvalidParameter
  std::lock_guard<std::mutex> g(g_lock);
  if (!QCoreApplication::instance()) {
    g_created = createApplication();
    if (!g_created) return 18;  // GdiplusNotInitialized: no display to draw on
  }
  do {
    ++g_next;
  } while (g_next == 0 || g_open.count(g_next));
  g_open.insert(g_next);
  *token = g_next;
  return 0;
}

void GdiplusShutdown(ULONG token) {
  std::unique_lock<std::mutex> g(g_lock);
  if (!g_open.erase(token)) return;
  if (g_open.empty() && g_created) {
    QGuiApplication* app = g_created;
    g_created = nullptr;
    // The hook may end windows whose graphs close sessions of their own.
    g.unlock();
    if (orvek_gfx::ApplicationEndHook hook = g_endHook.load()) hook();
    g.lock();
    if (!g_open.empty()) {
      g_created = app;  // a session was opened meanwhile: the application stays
      return;
    }
    delete app;
    qInstallMessageHandler(g_hostHandler);
  }
}

// The application object (the framework's CWinApp) that the graphics session
// creates for a host without one: a QApplication, since windows need widgets.
#include <QApplication>

#include <orvek/platform/gfx/GraphicsSession_p.h>

namespace {

QGuiApplication* makeApplication(int& argc, char** argv) { return new QApplication(argc, argv); }

// At load, before a host can open a session.
struct FactoryRegistration {
  FactoryRegistration() { orvek_gfx::SetApplicationFactory(&makeApplication); }
} g_factoryRegistration;

}  // namespace

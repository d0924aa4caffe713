#pragma once

// Private to the library: what the window layer needs of the graphics
// session, which sits below it.
class QGuiApplication;

namespace orvek_gfx {

// Called on the application's thread just before the session deletes the
// application object it made, so that the window layer can end its windows
// while Qt is still whole.
using ApplicationEndHook = void (*)();
void SetApplicationEndHook(ApplicationEndHook hook);

// Makes the application object that the session creates for a host without
// one. Windows need a QApplication, which only the window layer may name: it
// registers its factory at load. Without one the session makes a
// QGuiApplication, enough for drawing on bitmaps.
using ApplicationFactory = QGuiApplication* (*)(int& argc, char** argv);
void SetApplicationFactory(ApplicationFactory factory);

}  // namespace orvek_gfx

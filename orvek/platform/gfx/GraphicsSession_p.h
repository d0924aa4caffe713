#pragma once

// Private to the library: what the window layer needs of the graphics
// session, which sits below it.
namespace orvek_gfx {

// Called on the application's thread just before the session deletes the
// application object it made, so that the window layer can end its windows
// while Qt is still whole.
using ApplicationEndHook = void (*)();
void SetApplicationEndHook(ApplicationEndHook hook);

}  // namespace orvek_gfx

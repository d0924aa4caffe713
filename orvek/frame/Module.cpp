// The module's load and unload steps and its graphics session.
#include <orvek/frame/OrvekGlobals.h>

#include <orvek/platform/gfx/GraphicsSession.h>
#include <orvek/threads/MTPtrStorage.h>

ULONG COrvekGlobals::m_GdiToken = 0;

LONG COrvekGlobals::StartUp(void) {
  GdiplusStartupInput input;
  input.GdiplusVersion = 1;
  input.DebugEventCallback = nullptr;
  input.SuppressBackgroundThread = FALSE;
  input.SuppressExternalCodecs = FALSE;
  return GdiplusStartup(&m_GdiToken, &input, nullptr) == 0 ? S_OK : E_FAIL;
}

void COrvekGlobals::ShutDown(void) {
  if (m_GdiToken != 0) GdiplusShutdown(m_GdiToken);
  m_GdiToken = 0;
}

namespace {
struct ModuleFrame {
  // Load: the statics of the library exist by now (each is constructed on
  // first use or before this object). Nothing else needs to be joined on
  // this platform.
  ModuleFrame() = default;
  // Unload: the shared pointer storage frees its entries.
  ~ModuleFrame() { CMTPtrStorage::CleanUp(); }
};
// Constructed at load, destroyed at unload (or at the end of the process).
// Statics that an unload step uses carry init_priority, so they are made
// before this object and end after it.
ModuleFrame g_frame;
}  // namespace

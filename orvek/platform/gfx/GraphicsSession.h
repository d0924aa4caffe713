#pragma once

#include <orvek/platform/core/Types.h>

// The graphics session. Opening one makes sure that a Qt application object
// exists: if the host has none, one is created on the calling thread (on the
// offscreen platform when the process has no display), and closing the last
// session deletes what was created.
struct GdiplusStartupInput {
  UINT GdiplusVersion = 1;
  void* DebugEventCallback = nullptr;
  BOOL SuppressBackgroundThread = FALSE;
  BOOL SuppressExternalCodecs = FALSE;
};

// 0 on success; the token is never 0.
ORVEK_API int GdiplusStartup(ULONG* token, const GdiplusStartupInput* input, void* output);
ORVEK_API void GdiplusShutdown(ULONG token);

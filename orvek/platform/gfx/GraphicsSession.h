#pragma once

/// \file
/// Opening and closing the graphics session.

#include <orvek/platform/core/Types.h>

/// The graphics session. Opening one makes sure that a Qt application object
/// exists: if the host has none, one is created on the calling thread (on the
/// offscreen platform when the process has no display), and closing the last
/// session deletes what was created.
/// What GdiplusStartup takes.
struct GdiplusStartupInput {
  UINT GdiplusVersion = 1;                ///< must be 1
  void* DebugEventCallback = nullptr;     ///< not used
  BOOL SuppressBackgroundThread = FALSE;  ///< not used
  BOOL SuppressExternalCodecs = FALSE;    ///< not used
};

/// Opens a session and gives its token; output is not used.
/// 0 on success; the token is never 0. 2 for a null token or input or another
/// version, 18 when no application object can be made.
ORVEK_API int GdiplusStartup(ULONG* token, const GdiplusStartupInput* input, void* output);
/// Closes the session of the token; an unknown token does nothing.
ORVEK_API void GdiplusShutdown(ULONG token);

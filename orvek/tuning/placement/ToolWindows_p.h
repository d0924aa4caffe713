#pragma once

// Private to the library: the registry of floating tool windows (tuning
// dialogs, multi-graph windows) and their placement, so that a window that
// opens or shows again keeps off the others of the same parent. All
// rectangles are in screen coordinates. The functions are visible to the
// library's tests but are not part of the public headers.

#include <vector>

#include <orvek/platform/core/Sync.h>
#include <orvek/platform/ui/Wnd.h>

struct tagToolWindowEntry {
  HWND hWnd;
  HWND hParent;  // the parent at registration
};

// Each other window's rectangle grows by this much on every side.
constexpr int PLACEMENT_GAP = 10;

// In order of registration; guarded by ms_toolWindowsLock (recursive).
ORVEK_API extern std::vector<tagToolWindowEntry> ms_toolWindows;
ORVEK_API extern CCriticalSection ms_toolWindowsLock;

// Places the window, then lists it (once) under its parent. A handle that is
// no live window is only taken off the list.
ORVEK_API void RegisterToolWindow(HWND hWnd);
// Any handle; one that is not listed changes nothing.
ORVEK_API void UnregisterToolWindow(HWND hWnd);
// Moves the window to the nearest place inside the main window's rectangle
// (0, 0, 1024, 768 without a main window) that keeps PLACEMENT_GAP from the
// visible windows of the same parent; where none is free it stays. A handle
// that is no live window changes nothing. The platform holds every window
// within 2^24 pixels of the origin, so the search never nears the limits of
// an int.
ORVEK_API void PlaceToolWindow(HWND hWnd);

#pragma once

#include <orvek/platform/core/Kernel.h>

// Private to the library: the window layer registers how a message reaches a
// window, so that the core's PostMessageW can serve windows without knowing
// them.
namespace orvek_detail {
typedef BOOL (*WindowPostHook)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
void SetWindowPostHook(WindowPostHook hook);
}  // namespace orvek_detail

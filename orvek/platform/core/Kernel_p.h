#pragma once

#include <orvek/platform/core/Kernel.h>

// Private to the library: the window layer registers how a message reaches a
// window, so that the core's PostMessageW can serve windows without knowing
// them.
namespace orvek_detail {
typedef BOOL (*WindowPostHook)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Posts to a thread made by CreateThread. A thread that has no queue yet
// finds the message at the head of its queue once it makes one, so nothing
// posted before its first GetMessageW is lost. FALSE for a handle that is not
// a thread's, or a thread that has ended.
BOOL PostThreadMessageWhenReady(HANDLE thread, UINT message, WPARAM wParam, LPARAM lParam);
// Exported for the tests, which stand in for the window layer.
ORVEK_API void SetWindowPostHook(WindowPostHook hook);
}  // namespace orvek_detail

#pragma once

#include <orvek/platform/core/Types.h>

// Private to the library: whether the host has left its event loop (the
// lent loop ended on WM_QUIT, or the Qt host's exec() returned). Intake from
// host threads ends on it, so a feeder joined after the loop never hangs.
// Entering the lent loop again, or creating a window, clears it.
namespace orvek_ui {
bool HostLeftLoop();
void SetHostLeftLoop(bool left);

// The lent loop itself, which the frame's class of static helpers gives to
// hosts: PumpMessages runs it for that long, RunMessageLoop until no visible
// window is left or WM_QUIT arrives.
void PumpMessages(DWORD dwMilliseconds);
int RunMessageLoop();
}  // namespace orvek_ui

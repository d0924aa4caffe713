#pragma once

#include <functional>

#include <orvek/Orvek.h>

// The default wait; a program whose windows tick slower sets its own.
#ifndef ORVEK_TEST_WAIT_MS
#define ORVEK_TEST_WAIT_MS 2000
#endif

// Pumps the GUI thread's events until the condition holds or the time is up.
inline bool WaitFor(const std::function<bool()>& done, DWORD timeoutMs = ORVEK_TEST_WAIT_MS) {
  const DWORD start = GetTickCount();
  while (!done()) {
    if (GetTickCount() - start > timeoutMs) return false;
    COrvekGlobals::PumpMessages(5);
  }
  return true;
}

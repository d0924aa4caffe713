#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include <functional>
#include <string>

#include <orvek/Orvek.h>

// Pumps the GUI thread's events until the condition holds or the time is up.
inline bool WaitFor(const std::function<bool()>& done, DWORD timeoutMs = 2000) {
  const DWORD start = GetTickCount();
  while (!done()) {
    if (GetTickCount() - start > timeoutMs) return false;
    COrvekGlobals::PumpMessages(5);
  }
  return true;
}

inline std::wstring TestPath(const char* name) {
  const std::string p = std::string(ORVEK_TEST_BINARY_DIR) + "/" + name;
  return std::wstring(p.begin(), p.end());
}

constexpr DWORD kToolStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;

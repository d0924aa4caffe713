#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include <functional>
#include <string>

#include <orvek/Orvek.h>
#include <support/EventWait.h>

inline std::wstring TestPath(const char* name) {
  const std::string p = std::string(ORVEK_TEST_BINARY_DIR) + "/" + name;
  return std::wstring(p.begin(), p.end());
}

constexpr DWORD kToolStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;

#pragma once

#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>

// One graphics session (and so one application object) for a whole test
// program, opened through the library's start as a host opens it. A program
// registers it once: `const auto* g_session = AddSessionEnvironment();`.
inline ::testing::Environment* AddSessionEnvironment() {
  class Session : public ::testing::Environment {
   public:
    void SetUp() override { ASSERT_EQ(S_OK, COrvekGlobals::StartUp()); }
    void TearDown() override { COrvekGlobals::ShutDown(); }
  };
  return ::testing::AddGlobalTestEnvironment(new Session);
}

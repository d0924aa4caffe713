#include "WindowsTest.h"

namespace {
// One application object for the whole program, made through the library's
// start as a host makes it.
class WindowsEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(S_OK, COrvekGlobals::StartUp()); }
  void TearDown() override { COrvekGlobals::ShutDown(); }
};
const auto* g_env = ::testing::AddGlobalTestEnvironment(new WindowsEnvironment);
}  // namespace

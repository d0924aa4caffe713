#include "UiTest.h"

namespace {
// One application object for the whole program, made the way a host makes
// it: through the library's start.
class UiEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(S_OK, COrvekGlobals::StartUp()); }
  void TearDown() override { COrvekGlobals::ShutDown(); }
};
const auto* g_env = ::testing::AddGlobalTestEnvironment(new UiEnvironment);
}  // namespace

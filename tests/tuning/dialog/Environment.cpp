#include "DialogTest.h"

namespace {
// One application object for the whole program, made as a host makes it.
class DialogEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(S_OK, COrvekGlobals::StartUp()); }
  void TearDown() override { COrvekGlobals::ShutDown(); }
};
const auto* g_env = ::testing::AddGlobalTestEnvironment(new DialogEnvironment);
}  // namespace

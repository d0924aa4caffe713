#include "WindowsTest.h"

#include <support/SessionEnvironment.h>

namespace {
const auto* g_session = AddSessionEnvironment();
}  // namespace

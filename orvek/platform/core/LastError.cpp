// GetLastError and SetLastError: the failure code of the calling thread's
// last call, kept in a thread_local.
#include <orvek/platform/core/Kernel.h>

namespace {
thread_local DWORD t_lastError = 0;
}  // namespace

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD error) { t_lastError = error; }

// WaitForSingleObject and WaitForMultipleObjects: one poll on the file
// descriptors of the objects, the first signalled in list order winning.
#include <orvek/platform/core/KernelObjects_p.h>

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <vector>

using namespace orvek_kernel;

namespace {

using Clock = std::chrono::steady_clock;

int remainingMs(DWORD timeout, Clock::time_point start) {
  if (timeout == INFINITE) return -1;
  const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  if (spent >= static_cast<long long>(timeout)) return 0;
  // poll takes an int; a longer wait goes round the loop again.
  return static_cast<int>(std::min<long long>(static_cast<long long>(timeout) - spent, INT_MAX));
}

DWORD waitAny(std::vector<Ref>& refs, DWORD timeout) {
  const auto start = Clock::now();
  std::vector<pollfd> fds(refs.size());
  for (std::size_t i = 0; i < refs.size(); ++i) fds[i] = pollfd{refs[i].p->fd, POLLIN, 0};
  for (;;) {
    for (std::size_t i = 0; i < refs.size(); ++i)
      if (refs[i].p->tryAcquire()) return WAIT_OBJECT_0 + static_cast<DWORD>(i);
    const int left = remainingMs(timeout, start);
    if (left == 0) return WAIT_TIMEOUT;
    const int n = ::poll(fds.data(), fds.size(), left);
    if (n < 0 && errno != EINTR) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
}

DWORD waitAll(std::vector<Ref>& refs, DWORD timeout) {
  const auto start = Clock::now();
  for (;;) {
    std::vector<pollfd> pending;
    for (auto& r : refs)
      if (!r.p->isSignalled()) pending.push_back(pollfd{r.p->fd, POLLIN, 0});
    if (pending.empty()) {
      for (auto& r : refs) r.p->tryAcquire();
      return WAIT_OBJECT_0;
    }
    const int left = remainingMs(timeout, start);
    if (left == 0) return WAIT_TIMEOUT;
    if (::poll(pending.data(), pending.size(), left) < 0 && errno != EINTR) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
}

}  // namespace

DWORD WaitForSingleObject(HANDLE h, DWORD milliseconds) { return WaitForMultipleObjects(1, &h, FALSE, milliseconds); }

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds) {
  if (count == 0 || count > 64 || !objects) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  std::vector<Ref> refs;
  refs.reserve(count);
  for (DWORD i = 0; i < count; ++i) {
    refs.emplace_back(objects[i]);
    if (!refs.back().p) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
  return all ? waitAll(refs, milliseconds) : waitAny(refs, milliseconds);
}

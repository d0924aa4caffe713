// CreateWaitableTimerW, SetWaitableTimer and CancelWaitableTimer on a
// timerfd of CLOCK_MONOTONIC.
#include <orvek/platform/core/KernelObjects_p.h>

#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

using namespace orvek_kernel;

namespace {

bool fdReadable(int fd) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, 0) == 1 && (p.revents & POLLIN);
}

struct TimerObj : KObject {
  TimerObj(int f, bool m) : KObject(Timer, f, m) {}
  bool tryAcquire() override {
    if (manual) return fdReadable(fd);
    std::uint64_t v;
    return ::read(fd, &v, sizeof v) == static_cast<ssize_t>(sizeof v);
  }
  bool isSignalled() override { return fdReadable(fd); }
};

}  // namespace

HANDLE CreateWaitableTimerW(void*, BOOL manualReset, const wchar_t*) {
  const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  if (fd < 0) {
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return nullptr;
  }
  return publish(new TimerObj(fd, manualReset != 0));
}

BOOL SetWaitableTimer(HANDLE h, const LARGE_INTEGER* dueTime, LONG periodMs, void*, void*, BOOL) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Timer || !dueTime || periodMs < 0) {
    SetLastError(r.p ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // Everything is turned into a delay from now on the monotonic clock.
  std::int64_t delay100ns;
  if (dueTime->QuadPart < 0) {
    delay100ns = -dueTime->QuadPart;
  } else {
    const auto now = static_cast<std::int64_t>(nowAsFileTime());
    delay100ns = dueTime->QuadPart > now ? dueTime->QuadPart - now : 0;
  }
  itimerspec its{};
  its.it_value.tv_sec = static_cast<time_t>(delay100ns / 10000000);
  its.it_value.tv_nsec = static_cast<long>((delay100ns % 10000000) * 100);
  if (its.it_value.tv_sec == 0 && its.it_value.tv_nsec == 0) its.it_value.tv_nsec = 1;  // 0 would disarm
  its.it_interval.tv_sec = periodMs / 1000;
  its.it_interval.tv_nsec = static_cast<long>(periodMs % 1000) * 1000000L;
  if (::timerfd_settime(r.p->fd, 0, &its, nullptr) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

BOOL CancelWaitableTimer(HANDLE h) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Timer) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  itimerspec its{};
  ::timerfd_settime(r.p->fd, 0, &its, nullptr);
  return TRUE;
}

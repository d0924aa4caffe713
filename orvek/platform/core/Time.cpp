// GetTickCount, Sleep and GetLocalTime on CLOCK_MONOTONIC, nanosleep and
// localtime_r, and the FILETIME wall clock on CLOCK_REALTIME.
#include <orvek/platform/core/KernelObjects_p.h>

#include <atomic>
#include <cerrno>
#include <ctime>

namespace {
std::atomic<DWORD> g_tickOffset{0};
}  // namespace

std::uint64_t orvek_kernel::nowAsFileTime() {
  timespec ts;
  ::clock_gettime(CLOCK_REALTIME, &ts);
  // 1601-01-01 to 1970-01-01 in 100 ns units.
  return 116444736000000000ull + static_cast<std::uint64_t>(ts.tv_sec) * 10000000ull +
         static_cast<std::uint64_t>(ts.tv_nsec) / 100u;
}

DWORD GetTickCount() {
  timespec ts;
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  const std::uint64_t ms =
      static_cast<std::uint64_t>(ts.tv_sec) * 1000u + static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u;
  return static_cast<DWORD>(ms) + g_tickOffset.load(std::memory_order_relaxed);
}

void OrvekSetTickCountOffset(DWORD offset) { g_tickOffset.store(offset); }

void Sleep(DWORD milliseconds) {
  timespec req{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  while (::nanosleep(&req, &req) != 0 && errno == EINTR) {
  }
}

void GetLocalTime(SYSTEMTIME* st) {
  if (!st) return;
  timespec ts;
  ::clock_gettime(CLOCK_REALTIME, &ts);
  std::tm tm{};
  ::localtime_r(&ts.tv_sec, &tm);
  st->wYear = static_cast<WORD>(tm.tm_year + 1900);
  st->wMonth = static_cast<WORD>(tm.tm_mon + 1);
  st->wDayOfWeek = static_cast<WORD>(tm.tm_wday);
  st->wDay = static_cast<WORD>(tm.tm_mday);
  st->wHour = static_cast<WORD>(tm.tm_hour);
  st->wMinute = static_cast<WORD>(tm.tm_min);
  st->wSecond = static_cast<WORD>(tm.tm_sec);
  st->wMilliseconds = static_cast<WORD>(ts.tv_nsec / 1000000L);
}

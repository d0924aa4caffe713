// Events, waitable timers and waits on several objects, with real threads.
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Sync.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

long long msSince(Clock::time_point t) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t).count();
}

// Polls until pred holds or about five seconds have gone.
template <typename Pred>
bool eventually(Pred pred) {
  const auto start = Clock::now();
  while (!pred()) {
    if (msSince(start) > 5000) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

LARGE_INTEGER relativeMs(LONGLONG ms) {
  LARGE_INTEGER due;
  due.QuadPart = -ms * 10000;
  return due;
}

TEST(Wait, FirstSignalledInListOrderWinsAndOnlyItIsConsumed) {
  HANDLE e[3] = {CreateEventW(nullptr, FALSE, FALSE, nullptr), CreateEventW(nullptr, FALSE, FALSE, nullptr),
                 CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  for (HANDLE h : e) ASSERT_NE(h, nullptr);

  ASSERT_TRUE(SetEvent(e[2]));
  ASSERT_TRUE(SetEvent(e[1]));
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 1);
  // The auto-reset event went back to unsignalled; the manual one stays set.
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 2);
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 2);
  ASSERT_TRUE(ResetEvent(e[2]));
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_TIMEOUT);

  // A signal from another thread ends a wait that is already under way.
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    SetEvent(e[1]);
  });
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 5000), WAIT_OBJECT_0 + 1);
  setter.join();

  // Wait for all: only when every object is signalled.
  SetEvent(e[0]);
  SetEvent(e[2]);
  EXPECT_EQ(WaitForMultipleObjects(3, e, TRUE, 0), WAIT_TIMEOUT);
  SetEvent(e[1]);
  EXPECT_EQ(WaitForMultipleObjects(3, e, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(e[0], 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(e[2], 0), WAIT_OBJECT_0);

  for (HANDLE h : e) EXPECT_TRUE(CloseHandle(h));
}

TEST(Wait, TimeoutsAndBadHandles) {
  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  ASSERT_NE(e, nullptr);
  auto start = Clock::now();
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(e, 60), WAIT_TIMEOUT);
  EXPECT_GE(msSince(start), 60);

  int notAnObject = 0;
  HANDLE bad[2] = {e, &notAnObject};
  EXPECT_EQ(WaitForMultipleObjects(2, bad, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(0, bad, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(1, nullptr, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
  EXPECT_FALSE(SetEvent(&notAnObject));

  EXPECT_TRUE(CloseHandle(e));
  // A closed handle is no longer an object.
  EXPECT_FALSE(CloseHandle(e));
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_FAILED);
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
}

TEST(Wait, AutoResetEventReleasesOneWaiterPerSignal) {
  constexpr int kWaiters = 4;
  CEvent event;  // auto-reset, unsignalled
  std::atomic<int> released{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < kWaiters; ++i)
    waiters.emplace_back([&] {
      if (WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0) released.fetch_add(1);
    });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(released.load(), 0);
  for (int i = 1; i <= kWaiters; ++i) {
    ASSERT_TRUE(event.SetEvent());
    ASSERT_TRUE(eventually([&] { return released.load() >= i; }));
    // Give a wrongly released second waiter the time to show up.
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    EXPECT_EQ(released.load(), i);
  }
  for (auto& t : waiters) t.join();

  // A manual-reset event releases everybody and stays set.
  CEvent gate(FALSE, TRUE);
  std::atomic<int> through{0};
  waiters.clear();
  for (int i = 0; i < kWaiters; ++i)
    waiters.emplace_back([&] {
      if (gate.Lock(5000)) through.fetch_add(1);
    });
  gate.SetEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(through.load(), kWaiters);
  EXPECT_TRUE(gate.Lock(0));
}

TEST(WaitableTimer, PeriodicTimerFiresUntilCancelled) {
  HANDLE t = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(WaitForSingleObject(t, 20), WAIT_TIMEOUT);  // never set: never fires
  const LARGE_INTEGER due = relativeMs(20);
  ASSERT_TRUE(SetWaitableTimer(t, &due, 25, nullptr, nullptr, FALSE));
  const auto start = Clock::now();
  for (int i = 0; i < 5; ++i) ASSERT_EQ(WaitForSingleObject(t, 5000), WAIT_OBJECT_0) << i;
  // Five signals take at least the due time and four periods.
  EXPECT_GE(msSince(start), 20 + 4 * 25 - 5);
  ASSERT_TRUE(CancelWaitableTimer(t));
  EXPECT_EQ(WaitForSingleObject(t, 100), WAIT_TIMEOUT);
  EXPECT_TRUE(CloseHandle(t));
}

TEST(WaitableTimer, OneShotFiresOnce) {
  HANDLE t = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  ASSERT_NE(t, nullptr);
  const LARGE_INTEGER due = relativeMs(30);
  ASSERT_TRUE(SetWaitableTimer(t, &due, 0, nullptr, nullptr, FALSE));
  const auto start = Clock::now();
  ASSERT_EQ(WaitForSingleObject(t, 5000), WAIT_OBJECT_0);
  EXPECT_GE(msSince(start), 25);
  EXPECT_EQ(WaitForSingleObject(t, 120), WAIT_TIMEOUT);

  // An absolute due time in the past (0 is 1601) fires at once.
  LARGE_INTEGER past;
  past.QuadPart = 0;
  ASSERT_TRUE(SetWaitableTimer(t, &past, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(t, 2000), WAIT_OBJECT_0);

  // A manual-reset timer stays signalled once it fired.
  HANDLE m = CreateWaitableTimerW(nullptr, TRUE, nullptr);
  ASSERT_TRUE(SetWaitableTimer(m, &due, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(m, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_OBJECT_0);
  // Setting it anew takes the signal back until it fires again.
  const LARGE_INTEGER later = relativeMs(10000);
  ASSERT_TRUE(SetWaitableTimer(m, &later, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_TIMEOUT);

  // Bad input is refused.
  EXPECT_FALSE(SetWaitableTimer(t, nullptr, 0, nullptr, nullptr, FALSE));
  EXPECT_FALSE(SetWaitableTimer(t, &due, -1, nullptr, nullptr, FALSE));
  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  EXPECT_FALSE(SetWaitableTimer(e, &due, 0, nullptr, nullptr, FALSE));

  // Timer and event in one list: the earlier entry wins when both are set.
  ASSERT_TRUE(SetWaitableTimer(t, &past, 0, nullptr, nullptr, FALSE));
  SetEvent(e);
  Sleep(30);
  HANDLE list[2] = {e, t};
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_TIMEOUT);

  for (HANDLE h : {t, m, e}) EXPECT_TRUE(CloseHandle(h));
}

TEST(Ticks, OffsetSeamReachesTheWrap) {
  const DWORD before = GetTickCount();
  // Put the counter 30 ms before its wrap.
  OrvekSetTickCountOffset(0xFFFFFFFFu - 30u - before);
  const DWORD start = GetTickCount();
  Sleep(80);
  const DWORD now = GetTickCount();
  OrvekSetTickCountOffset(0);
  EXPECT_GT(start, 0xFFFFFF00u);
  EXPECT_LT(now, start);  // wrapped
  // Unsigned difference still gives the time that passed.
  EXPECT_GE(static_cast<DWORD>(now - start), 80u);
  EXPECT_LT(static_cast<DWORD>(now - start), 60000u);
  EXPECT_LT(static_cast<DWORD>(GetTickCount() - before), 60000u);
}

}  // namespace

// Orvek::CEventTimer, CVarElapseTimer and CPerfMeasurer on real timers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ctime>

#include <orvek/platform/core/Sync.h>
#include <orvek/threads/Timers.h>

namespace {

DWORD since(DWORD start) { return GetTickCount() - start; }

}  // namespace

TEST(EventTimer, TicksAndTheOtherObject) {
  Orvek::CEventTimer timer;
  CEvent other(FALSE, TRUE);  // manual reset: stays signalled
  bool bOther = true;
  EXPECT_EQ(timer.Destroy(), S_OK);
  EXPECT_EQ(timer.WaitForTimer(), E_FAIL);
  EXPECT_EQ(timer.WaitForTimer(other, &bOther), E_FAIL);
  EXPECT_EQ(timer.Create(0x80000000u), E_FAIL);  // no timer takes that period
  EXPECT_EQ(timer.GetHandle(), nullptr);
  ASSERT_EQ(timer.Create(50), S_OK);
  EXPECT_NE(timer.GetHandle(), nullptr);
  EXPECT_EQ(timer.WaitForTimer(nullptr, &bOther), E_FAIL);
  EXPECT_EQ(timer.WaitForTimer(other, nullptr), E_POINTER);

  // The first tick is due at once; the next one a period later.
  EXPECT_EQ(timer.WaitForTimer(), S_OK);
  DWORD t0 = GetTickCount();
  EXPECT_EQ(timer.WaitForTimer(other, &bOther), S_OK);
  EXPECT_FALSE(bOther);
  EXPECT_GE(since(t0), 40u);

  // Both signalled: the tick wins; the next wait sees the other object.
  other.SetEvent();
  Sleep(70);
  EXPECT_EQ(timer.WaitForTimer(other, &bOther), S_OK);
  EXPECT_FALSE(bOther);
  t0 = GetTickCount();
  EXPECT_EQ(timer.WaitForTimer(other, &bOther), S_OK);
  EXPECT_TRUE(bOther);

  EXPECT_EQ(timer.Destroy(), S_OK);
  EXPECT_EQ(timer.GetHandle(), nullptr);
  EXPECT_EQ(timer.WaitForTimer(), E_FAIL);
}

TEST(VarElapseTimer, CatchesUpAfterAStall) {
  CVarElapseTimer timer;
  EXPECT_EQ(timer.WaitForDelay(10), E_PENDING);
  EXPECT_EQ(timer.Close(), S_OK);
  for (int period : {0, -5, INT_MIN}) EXPECT_EQ(timer.Init(period), E_INVALIDARG) << period;
  CVarElapseTimer longest;
  EXPECT_EQ(longest.Init(INT_MAX), S_OK);
  EXPECT_EQ(longest.WaitForDelay(0), S_OK);
  EXPECT_EQ(longest.Close(), S_OK);
  ASSERT_EQ(timer.Init(10), S_OK);

  const DWORD t0 = GetTickCount();
  EXPECT_EQ(timer.WaitForDelay(0), S_OK);  // starts the schedule, moves nothing
  EXPECT_EQ(timer.WaitForDelay(100), S_OK);
  EXPECT_GE(since(t0), 100u);
  Sleep(350);
  // 450 ms behind, 100 ms per call: three calls are due (without catching up the fourth would end at 850 ms).
  const DWORD t1 = GetTickCount();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(timer.WaitForDelay(100), S_OK);
  EXPECT_LT(since(t1), 80u);
  EXPECT_EQ(timer.WaitForDelay(100), S_OK);
  EXPECT_GE(since(t0), 500u);
  EXPECT_LT(since(t0), 750u);

  // Closed and made anew, the schedule goes on from its old base.
  EXPECT_EQ(timer.Close(), S_OK);
  EXPECT_EQ(timer.WaitForDelay(100), E_PENDING);
  ASSERT_EQ(timer.Init(10), S_OK);
  EXPECT_EQ(timer.WaitForDelay(100), S_OK);
  EXPECT_GE(since(t0), 600u);
}

TEST(VarElapseTimer, KeepsItsMeanPeriodWithoutDrift) {
  CVarElapseTimer timer;
  ASSERT_EQ(timer.Init(10), S_OK);
  const DWORD t0 = GetTickCount();
  ASSERT_EQ(timer.WaitForDelay(0), S_OK);
  // 20 ms of work per 50 ms period, late wake-ups not adding up: 20 periods take 1000 ms, not 1400.
  for (int i = 0; i < 20; ++i) {
    Sleep(20);
    ASSERT_EQ(timer.WaitForDelay(50), S_OK);
  }
  EXPECT_GE(since(t0), 1000u);
  EXPECT_LT(since(t0), 1100u);
}

TEST(PerfMeasurer, WallAndThreadTimes) {
  CPerfMeasurer perf;
  perf.Start();
  // 30 ms of this thread's processor time, then 50 ms asleep.
  timespec cpu0, cpu;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu0);
  volatile unsigned sink = 0;
  do {
    for (int i = 0; i < 10000; ++i) sink = sink + i;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu);
  } while ((cpu.tv_sec - cpu0.tv_sec) * 1e3 + (cpu.tv_nsec - cpu0.tv_nsec) / 1e6 < 30.0);
  Sleep(50);
  double cpuTime = 0, user = 0, kernel = 0;
  const double wall = perf.Stop(&cpuTime, &user, &kernel);
  EXPECT_GE(wall, 0.079);
  EXPECT_GE(cpuTime, 0.025);
  EXPECT_LT(cpuTime, wall);
  EXPECT_GE(std::min(user, kernel), 0.0);
  EXPECT_DOUBLE_EQ(cpuTime, user + kernel);
  // A second Stop measures from the same Start, null pointers allowed.
  EXPECT_GE(perf.Stop(nullptr, nullptr, nullptr), wall);
  CPerfMeasurer unstarted;  // Stop without Start measures from the epoch of 0
  EXPECT_GE(unstarted.Stop(nullptr, nullptr, nullptr), 0.0);
}

#pragma once

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Types.h>

/// \file
/// Timing tools. None has a lock: each object belongs to one thread at a time.

namespace Orvek {

/// A periodic wake-up on an auto-reset waitable timer: one waiter per tick,
/// and ticks missed while nobody waits merge into one.
class ORVEK_API CEventTimer {
 public:
  CEventTimer();
  /// Releases the timer, so that none is left behind.
  ~CEventTimer();
  CEventTimer(const CEventTimer&) = delete;
  CEventTimer& operator=(const CEventTimer&) = delete;

  /// Makes the timer, first tick at once, then every dwPeriod ms (0: once).
  /// A timer made before is released first. S_OK, or E_FAIL with no timer.
  ORVEK_RESULT LONG Create(DWORD dwPeriod);
  /// Releases the timer, if any; always S_OK.
  ORVEK_RESULT LONG Destroy();
  /// Waits for the next tick: S_OK, or E_FAIL with no timer or a failed wait.
  ORVEK_RESULT LONG WaitForTimer();
  /// Waits for the next tick or for hOther, the tick first when both are
  /// signalled. *pbOther is false on a tick, true otherwise. E_FAIL for a null
  /// hOther or with no timer, E_POINTER for a null pbOther.
  ORVEK_RESULT LONG WaitForTimer(void* hOther, bool* pbOther);
  /// The timer's handle, for waits of the caller's own; null without a timer.
  void* GetHandle();

 private:
  HANDLE m_hTimer;
};

}  // namespace Orvek

/// Paces a loop by variable delays on a fixed schedule: each delay ends where
/// the previous one was due to end, not where it really ended, so late
/// wake-ups never accumulate into drift.
class ORVEK_API CVarElapseTimer {
 public:
  CVarElapseTimer();
  /// Releases the timer, so that none is left behind.
  ~CVarElapseTimer();
  CVarElapseTimer(const CVarElapseTimer&) = delete;
  CVarElapseTimer& operator=(const CVarElapseTimer&) = delete;

  /// Makes the timer that wakes the waits every nPeriod ms: the resolution of
  /// the pacing. E_INVALIDARG for a period of 0 or less, E_FAIL if the timer
  /// cannot be made or started. A timer made before is released first.
  ORVEK_RESULT LONG Init(int nPeriod);
  /// Releases the timer. The schedule stays: after a new Init it goes on from
  /// the old base.
  ORVEK_RESULT LONG Close();
  /// Waits until the scheduled end of this delay; the first call starts the
  /// schedule. Returns at once while the caller is behind the schedule.
  /// S_OK, E_PENDING with no timer, E_FAIL if the wait fails.
  ORVEK_RESULT LONG WaitForDelay(DWORD dwDelay);

 private:
  void startSchedule();

  DWORD m_dwLastTick;
  HANDLE m_hTimer;
  int m_bStarted;
  int m_nPeriod;
};

/// Measures a stretch of code on one thread: wall-clock, CPU, user and kernel
/// time. Start and Stop must run on the same thread.
class ORVEK_API CPerfMeasurer {
 public:
  CPerfMeasurer();

  /// Starts a measurement on the calling thread.
  void Start();
  /// Seconds of wall-clock time since Start; the thread's CPU (user + kernel),
  /// user and kernel seconds go where the pointers are not null. A second Stop
  /// measures from the same Start.
  double Stop(double* pCpuTime, double* pUserTime, double* pKernelTime);

 private:
  double FileTimeToDouble(FILETIME* pTime);

  double m_dStartTime;
  FILETIME m_ftUser;
  FILETIME m_ftKernel;
  HANDLE m_hThread;
};

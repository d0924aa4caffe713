#include <orvek/threads/Timers.h>

#include <omp.h>

#include <chrono>

#include <orvek/platform/core/Time_p.h>

namespace {

// An unnamed auto-reset timer, first tick at once, then every period ms;
// null if it cannot be made or started.
HANDLE makeTicker(LONG period) {
  HANDLE h = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  if (!h) return nullptr;
  LARGE_INTEGER due;
  due.QuadPart = 0;
  if (!SetWaitableTimer(h, &due, period, nullptr, nullptr, FALSE)) {
    CloseHandle(h);
    return nullptr;
  }
  return h;
}

}  // namespace

// ---- Orvek::CEventTimer -----------------------------------------------------

namespace Orvek {

CEventTimer::CEventTimer() : m_hTimer(nullptr) {}

CEventTimer::~CEventTimer() { (void)Destroy(); }  // nothing to report from a destructor

LONG CEventTimer::Create(DWORD dwPeriod) {
  (void)Destroy();  // the timer of an earlier Create, if any, ends first
  m_hTimer = makeTicker(static_cast<LONG>(dwPeriod));
  return m_hTimer ? S_OK : E_FAIL;
}

LONG CEventTimer::Destroy() {
  if (m_hTimer) CloseHandle(m_hTimer);
  m_hTimer = nullptr;
  return S_OK;
}

LONG CEventTimer::WaitForTimer() {
  if (!m_hTimer) return E_FAIL;
  return WaitForSingleObject(m_hTimer, INFINITE) == WAIT_OBJECT_0 ? S_OK : E_FAIL;
}

LONG CEventTimer::WaitForTimer(void* hOther, bool* pbOther) {
  if (!hOther) return E_FAIL;
  if (!pbOther) return E_POINTER;
  // Without a timer the wait could only fail, which would read as "other".
  if (!m_hTimer) return E_FAIL;
  const HANDLE objects[2] = {m_hTimer, hOther};
  *pbOther = WaitForMultipleObjects(2, objects, FALSE, INFINITE) != WAIT_OBJECT_0;
  return S_OK;
}

void* CEventTimer::GetHandle() { return m_hTimer; }

}  // namespace Orvek

// ---- CVarElapseTimer --------------------------------------------------------

CVarElapseTimer::CVarElapseTimer() : m_dwLastTick(0), m_hTimer(INVALID_HANDLE_VALUE), m_bStarted(0), m_nPeriod(0) {}

CVarElapseTimer::~CVarElapseTimer() { (void)Close(); }  // nothing to report from a destructor

LONG CVarElapseTimer::Init(int nPeriod) {
  if (nPeriod <= 0) return E_INVALIDARG;
  (void)Close();  // the timer of an earlier Init, if any, ends first
  HANDLE h = makeTicker(nPeriod);
  if (!h) return E_FAIL;
  m_hTimer = h;
  m_nPeriod = nPeriod;
  return S_OK;
}

LONG CVarElapseTimer::Close() {
  if (m_hTimer != INVALID_HANDLE_VALUE) CloseHandle(m_hTimer);
  m_hTimer = INVALID_HANDLE_VALUE;
  return S_OK;
}

LONG CVarElapseTimer::WaitForDelay(DWORD dwDelay) {
  if (m_hTimer == INVALID_HANDLE_VALUE) return E_PENDING;
  if (!m_bStarted) {
    m_bStarted = 1;
    startSchedule();
  }
  while (orvek_detail::TicksElapsed(GetTickCount(), m_dwLastTick) < dwDelay) {
    if (WaitForSingleObject(m_hTimer, INFINITE) != WAIT_OBJECT_0) return E_FAIL;
  }
  // The base moves by the delay, not to now: lateness does not carry over.
  m_dwLastTick += dwDelay;
  return S_OK;
}

// Starts the schedule at the present tick and moves the timer's ticks onto it,
// just after the millisecond boundaries base + k * period: a delay that is a
// multiple of the period then ends on a tick, instead of anywhere up to a
// period before the next one.
void CVarElapseTimer::startSchedule() {
  using namespace std::chrono;
  // The tick count is the monotonic clock in whole milliseconds; its
  // fraction comes from the same clock.
  DWORD tick;
  nanoseconds intoTick;
  do {
    tick = GetTickCount();
    intoTick = steady_clock::now().time_since_epoch() % milliseconds(1);
  } while (GetTickCount() != tick);
  m_dwLastTick = tick;
  LARGE_INTEGER due;
  due.QuadPart = -((milliseconds(m_nPeriod) - intoTick + microseconds(50)).count() / 100);
  SetWaitableTimer(m_hTimer, &due, m_nPeriod, nullptr, nullptr, FALSE);
}

// ---- CPerfMeasurer ----------------------------------------------------------

CPerfMeasurer::CPerfMeasurer() : m_dStartTime(0), m_ftUser{0, 0}, m_ftKernel{0, 0}, m_hThread(nullptr) {}

void CPerfMeasurer::Start() {
  m_dStartTime = omp_get_wtime();
  m_hThread = GetCurrentThread();
  FILETIME creation, exitTime;
  GetThreadTimes(m_hThread, &creation, &exitTime, &m_ftKernel, &m_ftUser);
}

double CPerfMeasurer::Stop(double* pCpuTime, double* pUserTime, double* pKernelTime) {
  const double wall = omp_get_wtime() - m_dStartTime;
  // If the times cannot be read, the differences come out as 0.
  FILETIME creation, exitTime, kernel = m_ftKernel, user = m_ftUser;
  GetThreadTimes(m_hThread, &creation, &exitTime, &kernel, &user);
  const double k = FileTimeToDouble(&kernel) - FileTimeToDouble(&m_ftKernel);
  const double u = FileTimeToDouble(&user) - FileTimeToDouble(&m_ftUser);
  if (pCpuTime) *pCpuTime = (u + k) * 1e-7;
  if (pUserTime) *pUserTime = u * 1e-7;
  if (pKernelTime) *pKernelTime = k * 1e-7;
  return wall;
}

double CPerfMeasurer::FileTimeToDouble(FILETIME* pTime) {
  return static_cast<double>(pTime->dwHighDateTime) * 4294967296.0 + static_cast<double>(pTime->dwLowDateTime);
}

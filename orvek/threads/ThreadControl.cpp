#include <orvek/threads/ThreadControl.h>

#include <orvek/platform/core/Kernel_p.h>
#include <orvek/platform/core/Time_p.h>

// ---- CThreadControl ---------------------------------------------------------

CThreadControl::CThreadControl() : m_hThread(INVALID_HANDLE_VALUE), m_dwThreadID(0) {}

CThreadControl::~CThreadControl() {
  if (m_hThread == INVALID_HANDLE_VALUE) return;
  postQuit();
  WaitForSingleObject(m_hThread, INFINITE);
  CloseHandle(m_hThread);
}

LONG CThreadControl::Init(DWORD (*pThreadFunc)(void*), void* pParam, int nPriority) {
  if (m_hThread != INVALID_HANDLE_VALUE) return ERROR_ALREADY_INITIALIZED;
  m_hThread = CreateThread(nullptr, 0, pThreadFunc, pParam, CREATE_SUSPENDED, &m_dwThreadID);
  if (!m_hThread) {
    m_hThread = INVALID_HANDLE_VALUE;
    m_dwThreadID = 0;
    return E_FAIL;
  }
  if (!SetThreadPriority(m_hThread, nPriority)) {
    // The thread is still at its start gate: it ends there without running
    // its body, and nothing is left behind for the destructor to wait on.
    TerminateThread(m_hThread, 0);
    WaitForSingleObject(m_hThread, INFINITE);
    CloseHandle(m_hThread);
    m_hThread = INVALID_HANDLE_VALUE;
    m_dwThreadID = 0;
    return E_FAIL;
  }
  ResumeThread(m_hThread);
  return S_OK;
}

void CThreadControl::postQuit() {
  // A thread that has not reached its first GetMessageW has no queue yet: the
  // quit waits for the queue, so that a thread let go by a Close that timed
  // out still ends when its loop starts.
  orvek_detail::PostThreadMessageWhenReady(m_hThread, WM_QUIT, 0, 0);
}

LONG CThreadControl::Close(DWORD dwTimeout) {
  if (m_hThread == INVALID_HANDLE_VALUE) return S_OK;
  postQuit();
  const DWORD wait = WaitForSingleObject(m_hThread, dwTimeout);
  CloseHandle(m_hThread);
  m_hThread = INVALID_HANDLE_VALUE;
  m_dwThreadID = 0;
  return wait == WAIT_OBJECT_0 ? S_OK : ERROR_TIMEOUT;
}

LONG CThreadControl::PostMessageW(UINT nMsg, UINT wParam, LONG lParam) {
  if (m_hThread == INVALID_HANDLE_VALUE) return E_PENDING;
  while (!::PostThreadMessageW(m_dwThreadID, nMsg, wParam, lParam)) {
    // Refused while the thread has no queue yet; for ever once it has ended.
    if (WaitForSingleObject(m_hThread, 25) != WAIT_TIMEOUT) return E_PENDING;
  }
  return S_OK;
}

void* CThreadControl::GetHandle() { return m_hThread; }

DWORD CThreadControl::GetThreadID() { return m_dwThreadID; }

// ---- CMessagePoster ---------------------------------------------------------

CMessagePoster::CMessagePoster() : m_hThread(nullptr), m_dwPeriod(0), m_StopEvent(FALSE, FALSE) {}

// The poster thread works on the object: it must have ended before the
// object does, however long that takes.
CMessagePoster::~CMessagePoster() { (void)stop(INFINITE); }  // without a limit it cannot time out

LONG CMessagePoster::Init(DWORD dwPeriod) {
  CSingleLock fnc(&m_csFnc, TRUE);
  // The timer takes its period as a LONG: a longer one could never tick.
  if (dwPeriod > 0x7FFFFFFFu) return E_INVALIDARG;
  // A second poster thread would race the first for the queue and the stop
  // event. A thread that a timed-out Close let go may have ended since.
  if (m_hThread) {
    if (WaitForSingleObject(m_hThread, 0) != WAIT_OBJECT_0) return ERROR_ALREADY_INITIALIZED;
    CloseHandle(m_hThread);
    m_hThread = nullptr;
  }
  // A stop that the old thread did not take must not end the new one.
  m_StopEvent.ResetEvent();
  m_dwPeriod = dwPeriod;
  m_hThread = CreateThread(nullptr, 0, &CMessagePoster::PostThread, this, 0, nullptr);
  if (!m_hThread) return E_FAIL;
  SetThreadPriority(m_hThread, THREAD_PRIORITY_IDLE);
  return S_OK;
}

void CMessagePoster::queue(const tagPostItem& item) {
  CSingleLock fnc(&m_csFnc, TRUE);
  tagPostItem it = item;
  it.dwPostTick = GetTickCount();
  CSingleLock q(&m_csQueue, TRUE);
  m_Queue.push_back(it);
}

void CMessagePoster::PostThreadMessageW(DWORD dwDelay, DWORD dwThreadID, UINT nMsg, UINT wParam, LONG lParam) {
  queue(tagPostItem{dwThreadID, nullptr, nMsg, wParam, lParam, dwDelay, 0});
}

void CMessagePoster::PostMessageW(DWORD dwDelay, HWND hWnd, UINT nMsg, UINT wParam, LONG lParam) {
  queue(tagPostItem{0, hWnd, nMsg, wParam, lParam, dwDelay, 0});
}

LONG CMessagePoster::Close() { return stop(1000); }

LONG CMessagePoster::stop(DWORD dwTimeout) {
  CSingleLock fnc(&m_csFnc, TRUE);
  if (!m_hThread) return S_OK;
  m_StopEvent.SetEvent();
  // A thread that does not end in time still works on this object: its
  // handle stays, for a later Close, Init or the destructor to wait on.
  if (WaitForSingleObject(m_hThread, dwTimeout) != WAIT_OBJECT_0) return ERROR_TIMEOUT;
  CloseHandle(m_hThread);
  m_hThread = nullptr;
  return S_OK;
}

DWORD CMessagePoster::PostThread(void* pThis) {
  auto* self = static_cast<CMessagePoster*>(pThis);
  // Without a running timer there are no ticks: the thread ends, and what is
  // queued waits for a later Init.
  HANDLE hTimer = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  if (!hTimer) return 0;
  LARGE_INTEGER due;
  due.QuadPart = 0;  // the first tick at once
  if (!SetWaitableTimer(hTimer, &due, static_cast<LONG>(self->m_dwPeriod), nullptr, nullptr, FALSE)) {
    CloseHandle(hTimer);
    return 0;
  }
  const HANDLE objects[2] = {self->m_StopEvent.m_hObject, hTimer};
  while (WaitForMultipleObjects(2, objects, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    CSingleLock q(&self->m_csQueue, TRUE);
    while (!self->m_Queue.empty()) {
      const tagPostItem& front = self->m_Queue.front();
      if (orvek_detail::TicksElapsed(GetTickCount(), front.dwPostTick) < front.dwDelay) break;
      // Posting never blocks, so it is safe under the queue's lock.
      if (front.dwThreadID != 0)
        ::PostThreadMessageW(front.dwThreadID, front.nMsg, front.wParam, front.lParam);
      else
        ::PostMessageW(front.hWnd, front.nMsg, front.wParam, front.lParam);
      self->m_Queue.pop_front();
    }
  }
  CloseHandle(hTimer);
  return 0;
}

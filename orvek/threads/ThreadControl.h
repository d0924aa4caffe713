#pragma once

/// \file
/// A worker thread with a message loop, and a delay line for messages.

#include <deque>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// One worker thread whose body is a message loop. The object belongs to the
/// thread that started the worker; it has no lock.
class ORVEK_API CThreadControl {
 public:
  CThreadControl();
  /// Posts WM_QUIT and waits for the thread without limit: its body has to end
  /// its loop on WM_QUIT.
  ~CThreadControl();
  CThreadControl(const CThreadControl&) = delete;
  CThreadControl& operator=(const CThreadControl&) = delete;

  /// Starts the thread at the priority; its body never runs at another one.
  /// S_OK, E_FAIL (thread not made, or priority refused: the thread is then
  /// abandoned before its body runs and the object is free again), or
  /// ERROR_ALREADY_INITIALIZED while a thread exists.
  ORVEK_RESULT LONG Init(DWORD (*pThreadFunc)(void*), void* pParam, int nPriority);
  /// Posts WM_QUIT and waits up to dwTimeout ms. S_OK if the thread ended,
  /// else ERROR_TIMEOUT and the thread runs on unwatched. Either way the object
  /// lets go of the thread and is free for a new Init (the worker gets only
  /// pParam, never the object). The quit is not lost when the body has not
  /// reached its loop yet: it is the first message the loop gets.
  ORVEK_RESULT LONG Close(DWORD dwTimeout);
  /// Posts to the thread, retrying while its queue does not exist yet.
  /// E_PENDING with no thread, or once the thread has ended.
  ORVEK_RESULT LONG PostMessageW(UINT nMsg, UINT wParam, LONG lParam);
  /// The worker's thread handle; INVALID_HANDLE_VALUE while there is none.
  void* GetHandle();
  /// The worker's thread id; 0 while there is none.
  DWORD GetThreadID();

 private:
  // Posts WM_QUIT, to be taken once the thread has its queue.
  void postQuit();

  HANDLE m_hThread;
  DWORD m_dwThreadID;
};

/// One waiting message of CMessagePoster.
struct tagPostItem {
  DWORD dwThreadID;  ///< target thread; 0 if the target is a window
  HWND hWnd;         ///< target window; null if the target is a thread
  UINT nMsg;         ///< message number
  UINT wParam;       ///< first parameter
  LONG lParam;       ///< second parameter
  DWORD dwDelay;     ///< milliseconds
  DWORD dwPostTick;  ///< GetTickCount at queuing
};

/// A delay line for thread and window messages: a background thread at idle
/// priority posts each message on the first tick of its period at or after its
/// delay has run out, strictly in the order of queuing. Any thread may call it.
class ORVEK_API CMessagePoster {
 public:
  CMessagePoster();
  /// Stops the poster thread, waiting for it without limit; messages still
  /// queued are dropped.
  ~CMessagePoster();
  CMessagePoster(const CMessagePoster&) = delete;
  CMessagePoster& operator=(const CMessagePoster&) = delete;

  /// Starts the poster thread with the tick period in ms (0: a single tick).
  /// S_OK, E_FAIL, E_INVALIDARG for a period above 0x7FFFFFFF, or
  /// ERROR_ALREADY_INITIALIZED while a poster thread exists, also one that a
  /// timed-out Close has told to stop and that has not ended yet.
  ORVEK_RESULT LONG Init(DWORD dwPeriod);
  /// Queues a message to the thread dwThreadID, posted dwDelay ms from now.
  void PostThreadMessageW(DWORD dwDelay, DWORD dwThreadID, UINT nMsg, UINT wParam, LONG lParam);
  /// A null hWnd posts to the poster thread's own queue, which nobody reads.
  /// Queues a message to the window hWnd, posted dwDelay ms from now.
  void PostMessageW(DWORD dwDelay, HWND hWnd, UINT nMsg, UINT wParam, LONG lParam);
  /// Stops the poster thread (waits up to 1000 ms): S_OK or ERROR_TIMEOUT.
  /// On a timeout the thread has been told to stop and the object keeps it
  /// until it has ended, as it still works on the object: a later Close waits
  /// again, and Init refuses until then. Queued messages stay and go out after
  /// a later Init.
  ORVEK_RESULT LONG Close();

 private:
  static DWORD PostThread(void* pThis);
  void queue(const tagPostItem& item);
  ORVEK_RESULT LONG stop(DWORD dwTimeout);

  std::deque<tagPostItem> m_Queue ORVEK_GUARDED_BY(m_csQueue);
  // Lock order: m_csFnc, then m_csQueue. The poster thread takes only
  // m_csQueue.
  CCriticalSection m_csFnc;
  CCriticalSection m_csQueue;
  HANDLE m_hThread;
  DWORD m_dwPeriod;
  CEvent m_StopEvent;
};

#pragma once

/// \file
/// The framework's exceptions and locks.

#include <atomic>
#include <exception>
#include <mutex>

#include <orvek/platform/core/ThreadSafety.h>
#include <orvek/platform/core/Types.h>

/// The framework's exceptions. They derive from std::exception, so a host may
/// catch them either way.
class ORVEK_API CException : public std::exception {
 public:
  /// The name of the class.
  const char* what() const noexcept override { return "CException"; }
};

/// Raised when memory runs out.
class ORVEK_API CMemoryException : public CException {
 public:
  /// The name of the class.
  const char* what() const noexcept override { return "CMemoryException"; }
};

/// An exception that carries a result code.
class ORVEK_API CResultException : public CException {
 public:
  /// Carries the code.
  explicit CResultException(LONG code) : m_sc(code) {}
  /// The name of the class.
  const char* what() const noexcept override { return "CResultException"; }
  /// The result code.
  LONG m_sc;
};

/// What a constructor does when its lock cannot be made: the system error
/// number becomes a result code; an out-of-memory code raises
/// CMemoryException, any other CResultException with that code.
[[noreturn]] ORVEK_API void ThrowLockCreationError(LONG systemError);

/// An object that threads lock and unlock: the base of the framework's locks and events.
class ORVEK_API ORVEK_CAPABILITY("mutex") CSyncObject {
 public:
  /// The lock is not released by its end.
  virtual ~CSyncObject() = default;
  /// Waits up to timeout ms for the object; TRUE once the calling thread has it.
  virtual BOOL Lock(DWORD timeout = INFINITE) ORVEK_ACQUIRE() = 0;
  /// Gives the object back; TRUE on success.
  virtual BOOL Unlock() ORVEK_RELEASE() = 0;
};

namespace orvek_detail {
/// The calling thread's kernel id (gettid), asked once per thread and kept
/// here; 0 until asked. In the static TLS block, so that reading it inline is
/// one load, as the locks below need.
extern ORVEK_API __thread DWORD t_dwThreadId __attribute__((tls_model("initial-exec")));
/// Asks the kernel and fills t_dwThreadId.
ORVEK_API DWORD AskCurrentThreadId();
inline DWORD CurrentThreadId() {
  const DWORD id = t_dwThreadId;
  return id ? id : AskCurrentThreadId();
}
}  // namespace orvek_detail

/// The framework's recursive lock. Its own bodies sit below the analysis: they
/// are what the annotations of everyone else rest on.
class ORVEK_API ORVEK_CAPABILITY("mutex") CCriticalSection : public CSyncObject {
 public:
  CCriticalSection();
  ~CCriticalSection() override;
  CCriticalSection(const CCriticalSection&) = delete;
  CCriticalSection& operator=(const CCriticalSection&) = delete;

  /// Inline: a lock taken many times a second must not pay for calls.
  BOOL Lock() ORVEK_ACQUIRE() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
    const DWORD me = Self();
    if (m_owner.load(std::memory_order_relaxed) == me) {
      ++m_depth;
      return TRUE;
    }
    m_mutex.lock();
    m_owner.store(me, std::memory_order_relaxed);
    m_depth = 1;
    return TRUE;
  }
  /// The timeout is not used: a critical section waits until it has the lock.
  BOOL Lock(DWORD) override ORVEK_ACQUIRE() ORVEK_NO_THREAD_SAFETY_ANALYSIS { return Lock(); }
  /// Only the owner may unlock; anyone else changes nothing.
  BOOL Unlock() override ORVEK_RELEASE() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
    if (m_owner.load(std::memory_order_relaxed) != Self()) return FALSE;
    if (--m_depth == 0) {
      m_owner.store(0, std::memory_order_relaxed);
      m_mutex.unlock();
    }
    return TRUE;
  }
  /// Non-blocking attempt, for code that must not wait.
  BOOL TryLock() ORVEK_TRY_ACQUIRE(TRUE) ORVEK_NO_THREAD_SAFETY_ANALYSIS {
    const DWORD me = Self();
    if (m_owner.load(std::memory_order_relaxed) == me) {
      ++m_depth;
      return TRUE;
    }
    if (!m_mutex.try_lock()) return FALSE;
    m_owner.store(me, std::memory_order_relaxed);
    m_depth = 1;
    return TRUE;
  }

 private:
  // The calling thread's kernel id. A thread's address (its thread block) is
  // handed to the next thread once it has ended, so a lock left held by an
  // ended thread would take the newcomer for its owner; a kernel id is not
  // given out again while its thread lives, nor soon after.
  static DWORD Self() { return orvek_detail::CurrentThreadId(); }

  // A plain mutex with an owner and a depth: the owner's nested locks cost a
  // comparison, the first one a plain mutex lock.
  std::mutex m_mutex;
  std::atomic<DWORD> m_owner{0};  // kernel id of the owner, 0 for none
  unsigned m_depth = 0;
};

/// Scoped holder: with bInitialLock it locks at once, and it unlocks what it
/// holds when it ends. The analysis takes every holder as made with
/// bInitialLock TRUE, the only way the library makes one.
class ORVEK_API ORVEK_SCOPED_CAPABILITY CSingleLock {
 public:
  /// Holds nothing until Lock, or locks at once with bInitialLock; a null object is never locked.
  explicit CSingleLock(CSyncObject* object, BOOL bInitialLock = FALSE) ORVEK_ACQUIRE(object);
  /// Unlocks what it holds.
  ~CSingleLock() ORVEK_RELEASE();
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;

  /// Locks the object unless this holder already holds it; TRUE while it holds it.
  BOOL Lock(DWORD timeout = INFINITE) ORVEK_ACQUIRE();
  /// Unlocks what this holder holds; TRUE when it holds nothing afterwards.
  BOOL Unlock() ORVEK_RELEASE();
  /// Whether this holder holds the object.
  BOOL IsLocked() const { return m_bAcquired; }

 private:
  CSyncObject* m_pObject;
  BOOL m_bAcquired;
};

/// A waitable event; HANDLE-compatible through m_hObject.
class ORVEK_API CEvent : public CSyncObject {
 public:
  /// An event, set at once with bInitiallyOwn, reset by hand with bManualReset
  /// (else by the one wait it
  /// releases). The name and security are not used. Throws as
  /// ThrowLockCreationError when no event can be made.
  explicit CEvent(BOOL bInitiallyOwn = FALSE, BOOL bManualReset = FALSE, const wchar_t* name = nullptr,
                  void* security = nullptr);
  /// Closes the event.
  ~CEvent() override;
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  /// Signals the event; TRUE on success.
  BOOL SetEvent();
  /// Clears the signal; TRUE on success.
  BOOL ResetEvent();
  /// Waits up to timeout ms for the signal; TRUE if it came.
  BOOL Lock(DWORD timeout = INFINITE) override;
  /// Does nothing: an event is not owned.
  BOOL Unlock() override { return TRUE; }
  /// The event's handle, for the wait functions.
  operator HANDLE() const { return m_hObject; }

  /// The event's handle.
  HANDLE m_hObject;
};

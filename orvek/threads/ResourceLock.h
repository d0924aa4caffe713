#pragma once

/// \file
/// An owner-aware lock without a count, and its scoped owner.

#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// A lock that knows its owner thread and keeps no count: the owner may call
/// Lock as often as it likes, and one Unlock frees it. Any thread may call it.
class ORVEK_API ORVEK_CAPABILITY("mutex") CResourceLock {
 public:
  CResourceLock();
  /// Waits until the lock is free; a lock owned by the calling thread is
  /// simply let go.
  ~CResourceLock();
  CResourceLock(const CResourceLock&) = delete;
  CResourceLock& operator=(const CResourceLock&) = delete;

  /// Makes the calling thread the owner, blocking while another thread owns
  /// the lock. The owner keeps one level of m_csResource from Lock to Unlock,
  /// which the analysis cannot follow across calls.
  void Lock() ORVEK_ACQUIRE() ORVEK_NO_THREAD_SAFETY_ANALYSIS;
  /// Frees the lock if the calling thread owns it. Another thread first waits
  /// until the lock is free, and then changes nothing.
  void Unlock() ORVEK_RELEASE() ORVEK_NO_THREAD_SAFETY_ANALYSIS;

 private:
  CCriticalSection m_csResource;                         // the lock itself; also guards the owner
  DWORD m_dwOwnerThread ORVEK_GUARDED_BY(m_csResource);  // 0 when free
};

/// Scoped owner of a CResourceLock. It belongs to one thread. As the lock has
/// no count, two lockers on one lock in one thread do not nest: the inner
/// one's end frees the resource.
class ORVEK_API ORVEK_SCOPED_CAPABILITY CResourceLocker {
 public:
  /// A null pLock gives a locker that holds nothing and does nothing.
  explicit CResourceLocker(CResourceLock* pLock) ORVEK_ACQUIRE(pLock);
  /// Unlocks unless Unlock was called.
  ~CResourceLocker() ORVEK_RELEASE();
  CResourceLocker(const CResourceLocker&) = delete;
  CResourceLocker& operator=(const CResourceLocker&) = delete;

  /// Releases early. Every call unlocks the lock again, which changes nothing
  /// unless this thread has locked it again in between.
  void Unlock() ORVEK_RELEASE();

 private:
  CCriticalSection m_csGuard;  // never held while locking
  CResourceLock* m_pLock;
  int m_bLocked ORVEK_GUARDED_BY(m_csGuard);
};

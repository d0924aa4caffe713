#include <orvek/threads/ResourceLock.h>

#include <orvek/platform/core/Kernel.h>

CResourceLock::CResourceLock() : m_dwOwnerThread(0) {}

// The owner's end releases the level it kept, which the analysis cannot see.
CResourceLock::~CResourceLock() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
  CSingleLock sl(&m_csResource, TRUE);
  // The owner destroying its own lock still holds the level taken in Lock;
  // a lock must not end while held.
  if (m_dwOwnerThread == GetCurrentThreadId()) {
    m_dwOwnerThread = 0;
    m_csResource.Unlock();
  }
}

void CResourceLock::Lock() {
  // Blocks here while another thread owns the lock (it holds one level).
  CSingleLock sl(&m_csResource, TRUE);
  const DWORD self = GetCurrentThreadId();
  if (m_dwOwnerThread != self) {
    // A new owner keeps one level of its own until Unlock; an owner calling
    // again leaves as it came.
    m_csResource.Lock();
    m_dwOwnerThread = self;
  }
}

void CResourceLock::Unlock() {
  CSingleLock sl(&m_csResource, TRUE);
  if (m_dwOwnerThread == GetCurrentThreadId()) {
    m_dwOwnerThread = 0;
    m_csResource.Unlock();
  }
}

// m_csGuard only ever guards the two fields and is never held while the
// resource lock is taken: an owner holds the resource across the locker's
// whole life, so taking the resource under the guard would put the two locks
// in both orders.
// The locker's bodies hold the resource conditionally (a null lock holds
// nothing), which the analysis cannot follow; its callers are checked.
CResourceLocker::CResourceLocker(CResourceLock* pLock) ORVEK_NO_THREAD_SAFETY_ANALYSIS : m_pLock(pLock), m_bLocked(0) {
  if (!m_pLock) return;
  m_pLock->Lock();
  CSingleLock guard(&m_csGuard, TRUE);
  m_bLocked = 1;
}

CResourceLocker::~CResourceLocker() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
  int wasLocked;
  {
    CSingleLock guard(&m_csGuard, TRUE);
    wasLocked = m_bLocked;
    m_bLocked = 0;
  }
  if (wasLocked) m_pLock->Unlock();
}

void CResourceLocker::Unlock() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
  if (!m_pLock) return;
  {
    CSingleLock guard(&m_csGuard, TRUE);
    m_bLocked = 0;
  }
  m_pLock->Unlock();
}

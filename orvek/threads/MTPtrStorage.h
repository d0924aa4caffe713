#pragma once

/// \file
/// Integer handles to objects shared between threads.

#include <vector>

#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// One entry of CMTPtrStorage, on the heap so that its lock never moves.
struct ORVEK_API tagPtrStruct {
  void* pObject;              ///< not owned; null once removed
  CCriticalSection csObject;  ///< the entry's lock
};

/// Integer handles to objects that several threads share while one of them
/// may destroy the object. A handle is never given out twice (until CleanUp),
/// so a stale handle yields null, never a newer object. Use it through
/// CMTPtrLock; any thread may.
class ORVEK_API CMTPtrStorage {
 public:
  /// Registers an object; handles count from 0. S_OK, or E_POINTER for a null
  /// argument (*pHandle is then left alone).
  ORVEK_RESULT static LONG AddPtr(void* pObject, int* pHandle);
  /// Frees every entry; all handles become invalid and the next handle is 0.
  /// For the very end only: the module calls it when it is unloaded, and a
  /// CMTPtrLock alive at that moment is left with a lock that no longer
  /// exists. The registered objects are not touched.
  static void CleanUp();

 protected:
  /// S_OK, or E_FAIL for an unknown handle.
  ORVEK_RESULT static LONG RemovePtr(int nHandle);
  /// The entry's object (null once removed): S_OK, E_POINTER, or
  /// ERROR_INVALID_INDEX with *ppObject null.
  ORVEK_RESULT static LONG GetPtr(int nHandle, void** ppObject);
  /// The entry's lock, the same way.
  ORVEK_RESULT static LONG GetCriticalSection(int nHandle, CCriticalSection** ppSection);

  /// Guards the vector and the pObject fields; held only for a few
  /// instructions and never while waiting for an entry's lock.
  static CCriticalSection ms_csFnc;
  /// The index is the handle.
  static std::vector<tagPtrStruct*> ms_PtrStorage ORVEK_GUARDED_BY(ms_csFnc);

 private:
  static bool isValid(int nHandle) ORVEK_REQUIRES(ms_csFnc);

  friend class CMTPtrLock;
};

/// Locks one entry of CMTPtrStorage for the life of the object and hands out
/// the registered pointer, or null for an invalid handle or a removed object.
///
///   user:  { CMTPtrLock l(h, &p); if (p) work(p); }
///   owner: { CMTPtrLock l(h, &p); l.RemoveObjectFromStorage(); delete p; }
///
/// The wait for the entry comes first and the pointer is read after it, so a
/// thread that waited while the owner removed and deleted the object gets
/// null. Locks of one thread must be properly nested; two entries locked in
/// opposite orders by two threads deadlock.
class ORVEK_API CMTPtrLock {
 public:
  /// A null ppObject locks nothing, as an invalid handle does.
  CMTPtrLock(int nHandle, void** ppObject);
  ~CMTPtrLock();
  /// A copy would release the entry's lock a second time.
  CMTPtrLock(const CMTPtrLock&) = delete;
  CMTPtrLock& operator=(const CMTPtrLock&) = delete;

  /// Clears the entry's pointer; afterwards the caller may delete the object.
  /// Does nothing if this object holds no entry.
  void RemoveObjectFromStorage();

  /// Number of CMTPtrLock objects alive, for the host's own checks; the
  /// library does not consult it.
  static int ms_nRefCtr;

 private:
  CCriticalSection* m_pObjectLock;  // the entry's lock, held; null if none
  int m_nHandle;
};

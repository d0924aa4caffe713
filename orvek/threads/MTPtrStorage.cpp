#include <orvek/threads/MTPtrStorage.h>

#include <memory>

// Made before and ended after the module frame, whose unload step calls
// CleanUp.
__attribute__((init_priority(101))) CCriticalSection CMTPtrStorage::ms_csFnc;
__attribute__((init_priority(101))) std::vector<tagPtrStruct*> CMTPtrStorage::ms_PtrStorage;

int CMTPtrLock::ms_nRefCtr = 0;

bool CMTPtrStorage::isValid(int nHandle) {
  return nHandle >= 0 && static_cast<std::size_t>(nHandle) < ms_PtrStorage.size();
}

LONG CMTPtrStorage::AddPtr(void* pObject, int* pHandle) {
  if (!pObject || !pHandle) return E_POINTER;
  CSingleLock fnc(&ms_csFnc, TRUE);
  std::unique_ptr<tagPtrStruct> entry(new tagPtrStruct);
  entry->pObject = pObject;
  ms_PtrStorage.push_back(entry.get());
  entry.release();
  *pHandle = static_cast<int>(ms_PtrStorage.size() - 1);
  return S_OK;
}

void CMTPtrStorage::CleanUp() {
  CSingleLock fnc(&ms_csFnc, TRUE);
  for (tagPtrStruct* entry : ms_PtrStorage) delete entry;
  ms_PtrStorage.clear();
}

LONG CMTPtrStorage::RemovePtr(int nHandle) {
  CSingleLock fnc(&ms_csFnc, TRUE);
  if (!isValid(nHandle)) return E_FAIL;
  ms_PtrStorage[static_cast<std::size_t>(nHandle)]->pObject = nullptr;
  return S_OK;
}

LONG CMTPtrStorage::GetPtr(int nHandle, void** ppObject) {
  if (!ppObject) return E_POINTER;
  CSingleLock fnc(&ms_csFnc, TRUE);
  if (!isValid(nHandle)) {
    *ppObject = nullptr;
    return ERROR_INVALID_INDEX;
  }
  *ppObject = ms_PtrStorage[static_cast<std::size_t>(nHandle)]->pObject;
  return S_OK;
}

LONG CMTPtrStorage::GetCriticalSection(int nHandle, CCriticalSection** ppSection) {
  if (!ppSection) return E_POINTER;
  CSingleLock fnc(&ms_csFnc, TRUE);
  if (!isValid(nHandle)) {
    *ppSection = nullptr;
    return ERROR_INVALID_INDEX;
  }
  *ppSection = &ms_PtrStorage[static_cast<std::size_t>(nHandle)]->csObject;
  return S_OK;
}

// ms_nRefCtr stays a plain int for hosts; its changes are atomic so that
// threads counting at once do not race.
CMTPtrLock::CMTPtrLock(int nHandle, void** ppObject) : m_pObjectLock(nullptr), m_nHandle(nHandle) {
  __atomic_fetch_add(&ms_nRefCtr, 1, __ATOMIC_RELAXED);
  CMTPtrStorage::GetCriticalSection(nHandle, &m_pObjectLock);
  if (!m_pObjectLock) {
    *ppObject = nullptr;
    return;
  }
  // The wait comes first, without the table's lock, and the pointer is read
  // after it: a thread that waited while the owner removed the object gets
  // null, never the old pointer.
  m_pObjectLock->Lock();
  CMTPtrStorage::GetPtr(nHandle, ppObject);
}

CMTPtrLock::~CMTPtrLock() {
  if (m_pObjectLock) m_pObjectLock->Unlock();
  __atomic_fetch_sub(&ms_nRefCtr, 1, __ATOMIC_RELAXED);
}

void CMTPtrLock::RemoveObjectFromStorage() {
  // Only the holder of the entry's lock may clear it: a lock made on a
  // handle that was invalid then must not clear an entry added since.
  if (m_pObjectLock) CMTPtrStorage::RemovePtr(m_nHandle);
}

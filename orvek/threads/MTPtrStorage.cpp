#include <orvek/threads/MTPtrStorage.h>

#include <atomic>
#include <memory>

// Made before and ended after the module frame, whose unload step calls
// CleanUp.
__attribute__((init_priority(101))) CCriticalSection CMTPtrStorage::ms_csFnc;
__attribute__((init_priority(101))) std::vector<tagPtrStruct*> CMTPtrStorage::ms_PtrStorage;

int CMTPtrLock::ms_nRefCtr = 0;

namespace {

// The read side of the table for CMTPtrLock, which takes no table lock: the
// vector moves its storage when it grows, these segments never move until
// CleanUp. Segment s holds kFirst << s entries; 26 segments cover every
// non-negative int. Constant-initialised, so alive for the whole unload.
constexpr unsigned kFirst = 64;
constexpr int kSegments = 26;
tagPtrStruct** g_segments[kSegments];
// Handles below this count are readable; written under ms_csFnc after the
// entry is in place.
std::atomic<int> g_published{0};

void locate(int nHandle, int* pSegment, unsigned* pOffset) {
  const unsigned block = static_cast<unsigned>(nHandle) / kFirst + 1;
  const int s = 31 - __builtin_clz(block);
  *pSegment = s;
  *pOffset = static_cast<unsigned>(nHandle) - kFirst * ((1u << s) - 1);
}

tagPtrStruct* publishedEntry(int nHandle) {
  if (nHandle < 0 || nHandle >= g_published.load(std::memory_order_acquire)) return nullptr;
  int s;
  unsigned o;
  locate(nHandle, &s, &o);
  return g_segments[s][o];
}

}  // namespace

bool CMTPtrStorage::isValid(int nHandle) {
  return nHandle >= 0 && static_cast<std::size_t>(nHandle) < ms_PtrStorage.size();
}

LONG CMTPtrStorage::AddPtr(void* pObject, int* pHandle) {
  if (!pObject || !pHandle) return E_POINTER;
  CSingleLock fnc(&ms_csFnc, TRUE);
  const int handle = static_cast<int>(ms_PtrStorage.size());
  int s;
  unsigned o;
  locate(handle, &s, &o);
  if (!g_segments[s]) g_segments[s] = new tagPtrStruct*[kFirst << s];
  std::unique_ptr<tagPtrStruct> entry(new tagPtrStruct);
  entry->pObject = pObject;
  ms_PtrStorage.push_back(entry.get());
  g_segments[s][o] = entry.release();
  g_published.store(handle + 1, std::memory_order_release);
  *pHandle = handle;
  return S_OK;
}

void CMTPtrStorage::CleanUp() {
  CSingleLock fnc(&ms_csFnc, TRUE);
  g_published.store(0, std::memory_order_release);
  for (tagPtrStruct* entry : ms_PtrStorage) delete entry;
  ms_PtrStorage.clear();
  for (tagPtrStruct**& segment : g_segments) {
    delete[] segment;
    segment = nullptr;
  }
}

// pObject is written only under ms_csFnc, but read by CMTPtrLock under the
// entry's lock alone: its accesses are atomic.
LONG CMTPtrStorage::RemovePtr(int nHandle) {
  CSingleLock fnc(&ms_csFnc, TRUE);
  if (!isValid(nHandle)) return E_FAIL;
  __atomic_store_n(&ms_PtrStorage[static_cast<std::size_t>(nHandle)]->pObject, nullptr, __ATOMIC_RELEASE);
  return S_OK;
}

LONG CMTPtrStorage::GetPtr(int nHandle, void** ppObject) {
  if (!ppObject) return E_POINTER;
  CSingleLock fnc(&ms_csFnc, TRUE);
  if (!isValid(nHandle)) {
    *ppObject = nullptr;
    return ERROR_INVALID_INDEX;
  }
  *ppObject = __atomic_load_n(&ms_PtrStorage[static_cast<std::size_t>(nHandle)]->pObject, __ATOMIC_ACQUIRE);
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

CMTPtrLock::CMTPtrLock(int nHandle, void** ppObject) : m_pObjectLock(nullptr), m_nHandle(nHandle) {
  // A plain count, as hosts read it, but without a data race: rough while
  // lock objects come and go on several threads at once.
  __atomic_store_n(&ms_nRefCtr, __atomic_load_n(&ms_nRefCtr, __ATOMIC_RELAXED) + 1, __ATOMIC_RELAXED);
  // Without a place for the pointer nothing is locked, as for a bad handle.
  tagPtrStruct* entry = ppObject ? publishedEntry(nHandle) : nullptr;
  if (!entry) {
    if (ppObject) *ppObject = nullptr;
    return;
  }
  // The wait comes first, with no table lock held, and the pointer is read
  // after it: a thread that waited while the owner removed the object gets
  // null, never the old pointer.
  m_pObjectLock = &entry->csObject;
  m_pObjectLock->Lock();
  *ppObject = __atomic_load_n(&entry->pObject, __ATOMIC_ACQUIRE);
}

CMTPtrLock::~CMTPtrLock() {
  if (m_pObjectLock) m_pObjectLock->Unlock();
  __atomic_store_n(&ms_nRefCtr, __atomic_load_n(&ms_nRefCtr, __ATOMIC_RELAXED) - 1, __ATOMIC_RELAXED);
}

void CMTPtrLock::RemoveObjectFromStorage() {
  // Only the holder of the entry's lock may clear it: a lock made on a
  // handle that was invalid then must not clear an entry added since.
  if (m_pObjectLock) (void)CMTPtrStorage::RemovePtr(m_nHandle);  // a held entry is always known
}

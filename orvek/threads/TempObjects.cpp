#include <orvek/threads/TempObjects.h>

#include <algorithm>
#include <new>
#include <unordered_set>

// Made before and ended after the module frame, like the other statics that
// live until unload.
__attribute__((init_priority(101))) CCriticalSection CTempObjects::ms_FncSection;
__attribute__((init_priority(101))) std::vector<CTempObjects::tagPtrInfo> CTempObjects::ms_PtrInfo;

void CTempObjects::AddPtr(void* pPtr) {
  CSingleLock lock(&ms_FncSection, TRUE);
  ms_PtrInfo.push_back(tagPtrInfo{pPtr, 1});
}

void CTempObjects::AddArrayPtr(void* pPtr) {
  CSingleLock lock(&ms_FncSection, TRUE);
  ms_PtrInfo.push_back(tagPtrInfo{pPtr, 2});
}

LONG CTempObjects::DeletePtr(tagPtrInfo* pInfo) {
  // The deallocation functions that match new and new[], without destructors.
  switch (pInfo->nType) {
    case 1: ::operator delete(pInfo->pPtr); return S_OK;
    case 2: ::operator delete[](pInfo->pPtr); return S_OK;
    default: return E_FAIL;
  }
}

LONG CTempObjects::Delete(void* pPtr) {
  CSingleLock lock(&ms_FncSection, TRUE);
  const auto same = [pPtr](const tagPtrInfo& info) { return info.pPtr == pPtr; };
  const auto it = std::find_if(ms_PtrInfo.begin(), ms_PtrInfo.end(), same);
  if (it == ms_PtrInfo.end()) return E_FAIL;
  (void)DeletePtr(&*it);  // an entry of the list: always S_OK
  // A block listed more than once is freed once: its later entries go too.
  ms_PtrInfo.erase(std::remove_if(it, ms_PtrInfo.end(), same), ms_PtrInfo.end());
  return S_OK;
}

void CTempObjects::Clean() {
  CSingleLock lock(&ms_FncSection, TRUE);
  // A block listed more than once is freed once.
  std::unordered_set<void*> freed;
  for (tagPtrInfo& info : ms_PtrInfo)
    if (freed.insert(info.pPtr).second) (void)DeletePtr(&info);  // an entry of the list: always S_OK
  ms_PtrInfo.clear();
}

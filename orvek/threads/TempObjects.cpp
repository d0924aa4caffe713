#include <orvek/threads/TempObjects.h>

#include <new>

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
  for (auto it = ms_PtrInfo.begin(); it != ms_PtrInfo.end(); ++it) {
    if (it->pPtr != pPtr) continue;
    DeletePtr(&*it);
    ms_PtrInfo.erase(it);
    return S_OK;
  }
  return E_FAIL;
}

void CTempObjects::Clean() {
  CSingleLock lock(&ms_FncSection, TRUE);
  for (tagPtrInfo& info : ms_PtrInfo) DeletePtr(&info);
  ms_PtrInfo.clear();
}

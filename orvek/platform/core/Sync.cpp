// CCriticalSection, CSingleLock and CEvent of the framework: a recursive lock
// over std::mutex, and an event of the core.
#include <orvek/platform/core/Sync.h>

#include <orvek/platform/core/Kernel.h>

void ThrowLockCreationError(LONG systemError) {
  const LONG code = HRESULT_FROM_WIN32(systemError);
  if (code == E_OUTOFMEMORY) throw CMemoryException();
  throw CResultException(code);
}

CCriticalSection::CCriticalSection() = default;

CCriticalSection::~CCriticalSection() = default;

// The holder's own bodies keep the state the analysis reads from the
// declarations; they are not analysed themselves.
CSingleLock::CSingleLock(CSyncObject* object, BOOL bInitialLock) ORVEK_NO_THREAD_SAFETY_ANALYSIS : m_pObject(object),
                                                                                                   m_bAcquired(FALSE) {
  if (bInitialLock) Lock();
}

CSingleLock::~CSingleLock() ORVEK_NO_THREAD_SAFETY_ANALYSIS { Unlock(); }

BOOL CSingleLock::Lock(DWORD timeout) ORVEK_NO_THREAD_SAFETY_ANALYSIS {
  if (!m_pObject || m_bAcquired) return m_bAcquired;
  m_bAcquired = m_pObject->Lock(timeout);
  return m_bAcquired;
}

BOOL CSingleLock::Unlock() ORVEK_NO_THREAD_SAFETY_ANALYSIS {
  if (m_pObject && m_bAcquired) m_bAcquired = !m_pObject->Unlock();
  return !m_bAcquired;
}

CEvent::CEvent(BOOL bInitiallyOwn, BOOL bManualReset, const wchar_t* name, void* security)
    : m_hObject(CreateEventW(security, bManualReset, bInitiallyOwn, name)) {
  if (!m_hObject) ThrowLockCreationError(static_cast<LONG>(GetLastError()));
}

CEvent::~CEvent() {
  if (m_hObject) CloseHandle(m_hObject);
}

BOOL CEvent::SetEvent() { return ::SetEvent(m_hObject); }
BOOL CEvent::ResetEvent() { return ::ResetEvent(m_hObject); }
BOOL CEvent::Lock(DWORD timeout) { return WaitForSingleObject(m_hObject, timeout) == WAIT_OBJECT_0; }

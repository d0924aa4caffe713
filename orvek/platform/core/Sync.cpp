#include <orvek/platform/core/Sync.h>

#include <orvek/platform/core/Kernel.h>

void ThrowLockCreationError(LONG systemError) {
  const LONG code = HRESULT_FROM_WIN32(systemError);
  if (code == E_OUTOFMEMORY) throw CMemoryException();
  throw CResultException(code);
}

CCriticalSection::CCriticalSection() = default;

CCriticalSection::~CCriticalSection() = default;

BOOL CCriticalSection::Lock() {
  const DWORD me = GetCurrentThreadId();
  if (m_owner.load(std::memory_order_relaxed) == me) {
    ++m_depth;
    return TRUE;
  }
  m_mutex.lock();
  m_owner.store(me, std::memory_order_relaxed);
  m_depth = 1;
  return TRUE;
}

BOOL CCriticalSection::Lock(DWORD) { return Lock(); }

BOOL CCriticalSection::Unlock() {
  // Only the owner may unlock; anyone else changes nothing.
  if (m_owner.load(std::memory_order_relaxed) != GetCurrentThreadId()) return FALSE;
  if (--m_depth == 0) {
    m_owner.store(0, std::memory_order_relaxed);
    m_mutex.unlock();
  }
  return TRUE;
}

BOOL CCriticalSection::TryLock() {
  const DWORD me = GetCurrentThreadId();
  if (m_owner.load(std::memory_order_relaxed) == me) {
    ++m_depth;
    return TRUE;
  }
  if (!m_mutex.try_lock()) return FALSE;
  m_owner.store(me, std::memory_order_relaxed);
  m_depth = 1;
  return TRUE;
}

CSingleLock::CSingleLock(CSyncObject* object, BOOL bInitialLock) : m_pObject(object), m_bAcquired(FALSE) {
  if (bInitialLock) Lock();
}

CSingleLock::~CSingleLock() { Unlock(); }

BOOL CSingleLock::Lock(DWORD timeout) {
  if (!m_pObject || m_bAcquired) return m_bAcquired;
  m_bAcquired = m_pObject->Lock(timeout);
  return m_bAcquired;
}

BOOL CSingleLock::Unlock() {
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

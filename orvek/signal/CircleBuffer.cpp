#include <orvek/signal/CircleBuffer.h>

#include <cstring>
#include <type_traits>

namespace {

// Holds the ring's lock through the non-virtual entry points: Push and Pop of
// short blocks are dominated by the cost of the lock.
class ORVEK_SCOPED_CAPABILITY CAccessGuard {
 public:
  explicit CAccessGuard(CCriticalSection& cs) ORVEK_ACQUIRE(cs) : m_cs(cs) { m_cs.Lock(); }
  ~CAccessGuard() ORVEK_RELEASE() { m_cs.Unlock(); }
  CAccessGuard(const CAccessGuard&) = delete;
  CAccessGuard& operator=(const CAccessGuard&) = delete;

 private:
  CCriticalSection& m_cs;
};

// The positions are written under the lock but read without it by GetRdPtr
// and GetWrPtr, so both sides go through relaxed atomic accesses.
inline void StorePos(int& field, int value) { __atomic_store_n(&field, value, __ATOMIC_RELAXED); }
inline int LoadPos(const int& field) { return __atomic_load_n(&field, __ATOMIC_RELAXED); }

// Copies n elements into the ring at nPos, wrapping to the start: at most two
// block moves.
template <typename T>
void CopyIn(T* pRing, int nSize, int nPos, T const* pSrc, int n) {
  const int k = n < nSize - nPos ? n : nSize - nPos;
  std::memcpy(pRing + nPos, pSrc, sizeof(T) * static_cast<std::size_t>(k));
  if (k != n) std::memcpy(pRing, pSrc + k, sizeof(T) * static_cast<std::size_t>(n - k));
}

template <typename T>
void CopyOut(T const* pRing, int nSize, int nPos, T* pDst, int n) {
  const int k = n < nSize - nPos ? n : nSize - nPos;
  std::memcpy(pDst, pRing + nPos, sizeof(T) * static_cast<std::size_t>(k));
  if (k != n) std::memcpy(pDst + k, pRing, sizeof(T) * static_cast<std::size_t>(n - k));
}

}  // namespace

template <typename T>
CCircleBuffer<T>::CCircleBuffer() : m_pBuffer(nullptr), m_nSize(0), m_nRdPtr(0), m_nWrPtr(0) {
  static_assert(std::is_trivially_copyable<T>::value, "the ring moves its elements as bytes");
}

template <typename T>
CCircleBuffer<T>::~CCircleBuffer() {
  CAccessGuard lock(m_csAccess);
  delete[] m_pBuffer;
}

template <typename T>
void CCircleBuffer<T>::Create(int nSize) {
  // Allocate first, so that a failure leaves the old ring intact.
  T* pNew = nSize > 0 ? new T[static_cast<std::size_t>(nSize)] : nullptr;
  T* pOld;
  {
    CAccessGuard lock(m_csAccess);
    pOld = m_pBuffer;
    m_pBuffer = pNew;
    m_nSize = nSize > 0 ? nSize : 0;
    StorePos(m_nRdPtr, 0);
    StorePos(m_nWrPtr, 0);
  }
  delete[] pOld;
}

template <typename T>
int CCircleBuffer<T>::Advance(int nPos, int nCount) const {
  // nPos and nCount both lie below m_nSize; this form cannot overflow.
  return nCount >= m_nSize - nPos ? nPos - (m_nSize - nCount) : nPos + nCount;
}

template <typename T>
int CCircleBuffer<T>::GetElementsAmount() {
  CAccessGuard lock(m_csAccess);
  const int n = m_nWrPtr - m_nRdPtr;
  return n < 0 ? n + m_nSize : n;
}

template <typename T>
void CCircleBuffer<T>::Push(T const* pData, int nCount) {
  CAccessGuard lock(m_csAccess);
  if (m_nSize < 1 || nCount < 1) return;
  const int n = nCount % m_nSize;
  if (pData) CopyIn(m_pBuffer, m_nSize, m_nWrPtr, pData, n);
  StorePos(m_nWrPtr, Advance(m_nWrPtr, n));
}

template <typename T>
void CCircleBuffer<T>::Pop(T* pData, int nCount) {
  CAccessGuard lock(m_csAccess);
  if (m_nSize < 1 || nCount < 1) return;
  const int n = nCount % m_nSize;
  if (pData) CopyOut(m_pBuffer, m_nSize, m_nRdPtr, pData, n);
  StorePos(m_nRdPtr, Advance(m_nRdPtr, n));
}

template <typename T>
void CCircleBuffer<T>::Drop(int nCount) {
  Pop(nullptr, nCount);
}

template <typename T>
LONG CCircleBuffer<T>::GetHistory(T* pData, int nCount) {
  CAccessGuard lock(m_csAccess);
  if (nCount > m_nSize) return E_OUTOFMEMORY;
  if (nCount < 0) return E_INVALIDARG;
  if (nCount == 0) return S_OK;
  if (!pData) return E_POINTER;
  int start = m_nWrPtr - nCount;
  if (start < 0) start += m_nSize;
  CopyOut(m_pBuffer, m_nSize, start, pData, nCount);
  return S_OK;
}

template <typename T>
LONG CCircleBuffer<T>::GetBuffer(int nPos, int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount) {
  if (!ppFirst || !pFirstCount || !ppSecond || !pSecondCount) return E_POINTER;
  // A region longer than the ring would hand out memory beyond the storage.
  if (nCount < 0 || nCount > m_nSize) return E_INVALIDARG;
  *pFirstCount = nCount < m_nSize - nPos ? nCount : m_nSize - nPos;
  *ppFirst = m_pBuffer ? m_pBuffer + nPos : nullptr;
  *ppSecond = m_pBuffer;
  *pSecondCount = nCount - *pFirstCount;
  return S_OK;
}

template <typename T>
LONG CCircleBuffer<T>::GetWrBuffer(int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount) {
  CAccessGuard lock(m_csAccess);
  return GetBuffer(m_nWrPtr, nCount, ppFirst, pFirstCount, ppSecond, pSecondCount);
}

template <typename T>
LONG CCircleBuffer<T>::GetRdBuffer(int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount) {
  CAccessGuard lock(m_csAccess);
  return GetBuffer(m_nRdPtr, nCount, ppFirst, pFirstCount, ppSecond, pSecondCount);
}

template <typename T>
void CCircleBuffer<T>::Clear() {
  CAccessGuard lock(m_csAccess);
  StorePos(m_nRdPtr, 0);
  StorePos(m_nWrPtr, 0);
}

template <typename T>
int CCircleBuffer<T>::GetRdPtr() {
  return LoadPos(m_nRdPtr);
}

template <typename T>
int CCircleBuffer<T>::GetWrPtr() {
  return LoadPos(m_nWrPtr);
}

template class CCircleBuffer<char>;
template class CCircleBuffer<short>;
template class CCircleBuffer<unsigned short>;
template class CCircleBuffer<int>;
template class CCircleBuffer<float>;
template class CCircleBuffer<double>;

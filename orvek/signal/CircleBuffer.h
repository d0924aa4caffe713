#pragma once

/// \file
/// A ring buffer between one writer and one reader.

#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// A fixed-capacity ring of plain sample values between one writer and one
/// reader, each with its own position. Data goes in and out by copy (Push,
/// Pop) or in place: GetWrBuffer/GetRdBuffer hand out the two contiguous pieces
/// of a region, and Push/Pop with a null pointer then move the position.
/// Equal positions mean empty, so at most capacity - 1 elements can be told
/// apart. The ring does not detect overrun: the caller keeps the positions
/// apart. Counts and positions are in elements.
///
/// Any thread may call any operation; every one but GetRdPtr/GetWrPtr holds
/// the ring's lock for its whole length. The pieces that GetWrBuffer and
/// GetRdBuffer give out are used outside the lock.
template <typename T>
class CCircleBuffer {
 public:
  CCircleBuffer();
  ~CCircleBuffer();
  CCircleBuffer(const CCircleBuffer&) = delete;
  CCircleBuffer& operator=(const CCircleBuffer&) = delete;

  /// Allocates nSize elements (left uninitialised) and empties the ring. Storage
  /// of an earlier Create is freed; nSize below 1 only frees it. A failing
  /// allocation throws and leaves the ring as it was.
  void Create(int nSize);
  /// Readable elements: write position minus read position, wrapped.
  int GetElementsAmount();
  /// Copies nCount modulo the capacity elements in at the write position and
  /// advances it; a null pData only advances. No test of free space.
  void Push(T const* pData, int nCount);
  /// The mirror of Push, at the read position.
  void Pop(T* pData, int nCount);
  /// Advances the read position, as Pop with a null target does.
  void Drop(int nCount);
  /// Copies the nCount elements that end at the write position, regardless of
  /// the read position. E_OUTOFMEMORY when nCount exceeds the capacity.
  ORVEK_RESULT LONG GetHistory(T* pData, int nCount);
  /// The region of nCount elements (0 to the capacity) from the write or read
  /// position as two pieces; the second starts at the storage's start and is
  /// empty when the region does not wrap. No position moves.
  ///@{
  ORVEK_RESULT LONG GetWrBuffer(int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount);
  ORVEK_RESULT LONG GetRdBuffer(int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount);
  ///@}
  /// Both positions to 0; storage and capacity stay.
  void Clear();
  /// Unlocked reads of the positions (relaxed atomic loads).
  ///@{
  int GetRdPtr() ORVEK_NO_THREAD_SAFETY_ANALYSIS;
  int GetWrPtr() ORVEK_NO_THREAD_SAFETY_ANALYSIS;
  ///@}

 protected:
  T* m_pBuffer ORVEK_GUARDED_BY(m_csAccess);  ///< the storage; null before Create
  int m_nSize ORVEK_GUARDED_BY(m_csAccess);   ///< the capacity in elements
  int m_nRdPtr ORVEK_GUARDED_BY(m_csAccess);  ///< the read position
  int m_nWrPtr ORVEK_GUARDED_BY(m_csAccess);  ///< the write position
  CCriticalSection m_csAccess;                ///< guards the ring

 private:
  ORVEK_RESULT LONG GetBuffer(int nPos, int nCount, T** ppFirst, int* pFirstCount, T** ppSecond, int* pSecondCount)
      ORVEK_REQUIRES(m_csAccess);
  int Advance(int nPos, int nCount) const ORVEK_REQUIRES(m_csAccess);
};

extern template class ORVEK_TEMPLATE_API CCircleBuffer<char>;
extern template class ORVEK_TEMPLATE_API CCircleBuffer<short>;
extern template class ORVEK_TEMPLATE_API CCircleBuffer<unsigned short>;
extern template class ORVEK_TEMPLATE_API CCircleBuffer<int>;
extern template class ORVEK_TEMPLATE_API CCircleBuffer<float>;
extern template class ORVEK_TEMPLATE_API CCircleBuffer<double>;

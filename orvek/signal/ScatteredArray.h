#pragma once

/// \file
/// Separate memory blocks seen as one array.

#include <vector>

#include <orvek/platform/core/Types.h>

/// Makes a list of separate memory blocks look like one array: runs of
/// elements are copied in and out by a position in the joined array. Only the
/// list is owned; the blocks stay the caller's and must outlive its use, with
/// their sizes unchanged. No lock: one object per thread.
template <typename T>
class CScatteredArray {
 public:
  /// One block of the list.
  struct tagPartInfo {
    T* pData;   ///< the block's first element
    int nSize;  ///< its length in elements
  };

  CScatteredArray() = default;
  /// Copies share the caller's blocks.
  ///@{
  CScatteredArray(const CScatteredArray&) = default;
  CScatteredArray& operator=(const CScatteredArray&) = default;
  ///@}

  /// Replaces the list by a copy of *pParts. A block of negative size counts
  /// as empty. E_POINTER for a null pParts or a non-empty block without data,
  /// E_INVALIDARG when the blocks add up to more than 0x7FFFFFFF elements; the
  /// list stays as it was then.
  ORVEK_RESULT LONG Init(std::vector<tagPartInfo>* pParts);
  /// Sum of all block lengths.
  ORVEK_RESULT LONG GetArraySize(int* pSize);
  /// Copies nCount elements from position nPos. A run past the end copies what
  /// lies before the end and gives E_FAIL.
  ORVEK_RESULT LONG Read(int nPos, int nCount, T* pData);
  /// As Read, starting nOffset elements into block nPart; the offset may reach
  /// on into the following blocks.
  ORVEK_RESULT LONG ReadPartFrom(int nPart, int nOffset, int nCount, T* pData);
  /// As Read and ReadPartFrom, in the other direction: copies nCount elements
  /// from pData into the array.
  ///@{
  ORVEK_RESULT LONG Write(int nPos, int nCount, T const* pData);
  ORVEK_RESULT LONG WritePartFrom(int nPart, int nOffset, int nCount, T const* pData);
  ///@}
  /// The block and offset of a position; a position at the end of a block is
  /// offset 0 of the next non-empty one. E_FAIL past the end, outputs untouched.
  ORVEK_RESULT LONG FindPart(int nPos, int* pPart, int* pOffset);

 private:
  std::vector<tagPartInfo> m_Parts;
};

extern template class ORVEK_TEMPLATE_API CScatteredArray<ULONG>;

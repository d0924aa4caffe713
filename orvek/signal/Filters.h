#pragma once

#include <orvek/platform/core/Types.h>

// Stream filters that keep a window of the last m_nSize inputs between calls
// and work in place: the block handed to ProcessI is overwritten with the
// output, and each call continues where the last one stopped. Create zeroes
// the window, so outputs that reach back before the first input see zeros.
// No lock: one object per thread. Filters are not copyable, as each owns its
// window.
//
// Results: S_OK; E_INVALIDARG from Create for a window below 1; E_FAIL from
// ProcessI before Create, E_POINTER for a null block; nothing is touched then.
template <typename T>
class CFilterBase {
 public:
  CFilterBase(const CFilterBase&) = delete;
  CFilterBase& operator=(const CFilterBase&) = delete;

  // Allocates a zeroed window of nSize samples, freeing an earlier one, and
  // sets the ring position to 0. A failing allocation throws and changes
  // nothing.
  ORVEK_RESULT LONG Create(int nSize);

 protected:
  CFilterBase();
  ~CFilterBase();

  // Exchange sort in place, largest first.
  static void SortBuffer(T* pData, int nSize);
  // E_FAIL before Create, E_POINTER for a null block, else S_OK.
  ORVEK_RESULT LONG CheckBlock(T const* pData) const;
  void AdvancePos() { m_nPos = m_nPos + 1 == m_nSize ? 0 : m_nPos + 1; }

  T* m_pBuffer;
  int m_nSize;
  int m_nPos;
};

// Delays the stream by exactly m_nSize samples.
template <typename T>
class CDlyLine : public CFilterBase<T> {
 public:
  CDlyLine() = default;
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);
};

// Running maximum of the last m_nSize inputs, the newest included. One
// compare per sample; the window is scanned only when the maximum leaves it.
template <typename T>
class CMaxFilter : public CFilterBase<T> {
 public:
  CMaxFilter();
  // As the base; the running maximum starts afresh, as in a new filter.
  ORVEK_RESULT LONG Create(int nSize);
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);

 protected:
  T m_fMax;
  int m_nMaxPos;
  bool m_bFirst;
};

// Running median: each output is element m_nSize / 2 of the window sorted
// largest first by an exchange sort (for an even size the smaller middle
// value). The window is kept in order, so a sample costs two binary searches
// and one block move. While a NaN lies in the window the ordering does not
// hold, and the output comes from the exchange sort itself, so that it is the
// same bit for bit in every case.
template <typename T>
class CMedFilter : public CFilterBase<T> {
 public:
  CMedFilter();
  ~CMedFilter();
  // As the base, and allocates the ordered copy of the window.
  ORVEK_RESULT LONG Create(int nSize);
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);

 protected:
  T* m_pSorted;  // the window's non-NaN values, ascending

 private:
  void Replace(T fOld, T fNew);
  T Median();
  T MedianBySort();
  T MedianOfMixedZeros();

  T* m_pWork;       // scratch for the exchange sort
  int* m_pRuns;     // scratch for the choice among zeros of both signs
  int m_nNaNs;      // NaNs in the window
  int m_nPosZeros;  // +0 in the window
  int m_nNegZeros;  // -0 in the window
};

extern template class ORVEK_TEMPLATE_API CFilterBase<float>;
extern template class ORVEK_TEMPLATE_API CDlyLine<float>;
extern template class ORVEK_TEMPLATE_API CMaxFilter<float>;
extern template class ORVEK_TEMPLATE_API CMedFilter<float>;

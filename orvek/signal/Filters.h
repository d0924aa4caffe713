#pragma once

/// \file
/// Stream filters: a delay line, a running maximum and a running median.

#include <orvek/platform/core/Types.h>

/// Stream filters that keep a window of the last m_nSize inputs between calls
/// and work in place: the block handed to ProcessI is overwritten with the
/// output, and each call continues where the last one stopped. Create zeroes
/// the window, so outputs that reach back before the first input see zeros.
/// No lock: one object per thread. Filters are not copyable, as each owns its
/// window.
///
/// Results: S_OK; E_INVALIDARG from Create for a window below 1; E_FAIL from
/// ProcessI before Create, E_POINTER for a null block; nothing is touched then.
template <typename T>
class CFilterBase {
 public:
  CFilterBase(const CFilterBase&) = delete;
  CFilterBase& operator=(const CFilterBase&) = delete;

  /// Allocates a zeroed window of nSize samples, freeing an earlier one, and
  /// sets the ring position to 0. A failing allocation throws and changes
  /// nothing.
  ORVEK_RESULT LONG Create(int nSize);

 protected:
  CFilterBase();
  ~CFilterBase();

  /// Exchange sort in place, largest first.
  static void SortBuffer(T* pData, int nSize);
  /// E_FAIL before Create, E_POINTER for a null block, else S_OK.
  ORVEK_RESULT LONG CheckBlock(T const* pData) const;
  /// Moves the ring position on by one, wrapping at the window's end.
  void AdvancePos() { m_nPos = m_nPos + 1 == m_nSize ? 0 : m_nPos + 1; }

  T* m_pBuffer;  ///< the window of the last inputs; null before Create
  int m_nSize;   ///< the window's length in samples
  int m_nPos;    ///< the ring position of the oldest sample
};

/// Delays the stream by exactly m_nSize samples.
template <typename T>
class CDlyLine : public CFilterBase<T> {
 public:
  CDlyLine() = default;
  /// Filters nCount samples in place; nCount below 1 does nothing (see the results above).
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);
};

/// Running maximum of the last m_nSize inputs, the newest included. One
/// compare per sample; the window is scanned only when the maximum leaves it.
template <typename T>
class CMaxFilter : public CFilterBase<T> {
 public:
  CMaxFilter();
  /// As the base; the running maximum starts afresh, as in a new filter.
  ORVEK_RESULT LONG Create(int nSize);
  /// Filters nCount samples in place, as CDlyLine::ProcessI.
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);

 protected:
  T m_fMax;       ///< the running maximum
  int m_nMaxPos;  ///< its ring position in the window
  bool m_bFirst;  ///< true until the first sample after Create
};

/// Running median: each output is element m_nSize / 2 of the window sorted
/// largest first by an exchange sort (for an even size the smaller middle
/// value). The window is kept in order, so a sample costs two binary searches
/// and one block move. While a NaN lies in the window the ordering does not
/// hold, and the output comes from the exchange sort itself, so that it is the
/// same bit for bit in every case.
template <typename T>
class CMedFilter : public CFilterBase<T> {
 public:
  CMedFilter();
  ~CMedFilter();
  /// As the base, and allocates the ordered copy of the window.
  ORVEK_RESULT LONG Create(int nSize);
  /// Filters nCount samples in place, as CDlyLine::ProcessI.
  ORVEK_RESULT LONG ProcessI(T* pData, int nCount);

 protected:
  T* m_pSorted;  ///< the window's non-NaN values, ascending

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

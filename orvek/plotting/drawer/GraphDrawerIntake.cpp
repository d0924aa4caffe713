// The way in for samples: four modes, six element types, one body each.
#include <orvek/plotting/drawer/GraphDrawer.h>

#include <cstddef>
#include <exception>

namespace {

template <typename T>
inline double ToDouble(T v) {
  return static_cast<double>(v);
}
// Plain char is read as signed on every target.
inline double ToDouble(char v) { return static_cast<double>(static_cast<signed char>(v)); }

template <typename T>
inline const T* At(const T* data, int i, int stride) {
  return data + static_cast<std::ptrdiff_t>(i) * stride;
}

// One column of the sample matrix from a strided block.
template <typename T>
void Copy(const T* src, int count, int stride, double* dst, int curves) {
  for (int i = 0; i < count; ++i, src += stride, dst += curves) *dst = ToDouble(*src);
}

// Calls outside the documented limits are dropped rather than let them write
// outside the matrix.
bool Acceptable(const void* data, int count, int iCurve, int nCurves) {
  return count >= 0 && nCurves >= 1 && iCurve >= 0 && iCurve < nCurves && (data || count == 0);
}

}  // namespace

bool CGraphDrawer::Open(int nCurves, int nRows, bool bWritePos) {
  const std::size_t curves = static_cast<std::size_t>(nCurves);
  const std::size_t cells = curves * static_cast<std::size_t>(nRows);
  // A matrix that cannot be had, or is beyond kMaxSamples, drops the block and
  // leaves the store as it is.
  if (cells > static_cast<std::size_t>(kMaxSamples)) return false;
  try {
    if (cells > m_samples.size()) m_samples.resize(cells, 0.0);
    if (m_rowOffsets.size() < curves) m_rowOffsets.resize(curves, 0);
    if (bWritePos && m_writePos.size() < curves) m_writePos.resize(curves, 0);
  } catch (const std::exception&) {
    return false;
  }
  m_nCurves = nCurves;
  return true;
}

template <typename T>
void CGraphDrawer::SetData(T* pData, int nCount, int nStride, int iCurve, int nCurves) {
  CSingleLock lock(&m_csData, TRUE);
  RangesReadableUnderData();
  if (!Acceptable(pData, nCount, iCurve, nCurves)) return;
  if (!Open(nCurves, nCount, false)) return;
  Copy(pData, nCount, nStride, m_samples.data() + iCurve, nCurves);
  m_rowOffsets[static_cast<std::size_t>(iCurve)] = 0;
  UpdateRanges(m_iXFrom, m_iXTo);
}

template <typename T>
void CGraphDrawer::SetDataHistory(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves) {
  CSingleLock lock(&m_csData, TRUE);
  RangesReadableUnderData();
  if (!Acceptable(pData, nCount, iCurve, nCurves) || nHistory < 1) return;
  if (nCount > nHistory) {  // only the newest nHistory samples fit the ring
    pData = const_cast<T*>(At(pData, nCount - nHistory, nStride));
    nCount = nHistory;
  }
  if (!Open(nCurves, nHistory, false)) return;
  int& offset = m_rowOffsets[static_cast<std::size_t>(iCurve)];
  offset = static_cast<int>((static_cast<long long>(offset) + nCount) % nHistory);
  int pos = offset - nCount + nHistory;
  for (int k = 0; k < nCount; ++k) {
    const int row = pos % nHistory;
    pos = row + 1;
    m_samples[static_cast<std::size_t>(nCurves) * static_cast<std::size_t>(row) + static_cast<std::size_t>(iCurve)] =
        ToDouble(*At(pData, k, nStride));
  }
  UpdateRanges(m_iXFrom, m_iXTo);
}

template <typename T>
void CGraphDrawer::SetDataAvg(T* pData, int nCount, double dFactor, int nStride, int iCurve, int nCurves) {
  CSingleLock lock(&m_csData, TRUE);
  RangesReadableUnderData();
  if (!Acceptable(pData, nCount, iCurve, nCurves)) return;
  if (!Open(nCurves, nCount, false)) return;
  double* dst = m_samples.data() + iCurve;
  const std::size_t step = static_cast<std::size_t>(nCurves);
  if (m_bResetAdaptation) {
    Copy(pData, nCount, nStride, dst, nCurves);
  } else {
    for (int i = 0; i < nCount; ++i) {
      double& e = dst[static_cast<std::size_t>(i) * step];
      e = ToDouble(*At(pData, i, nStride)) * dFactor + (1.0 - dFactor) * e;
    }
  }
  m_rowOffsets[static_cast<std::size_t>(iCurve)] = 0;
  UpdateRanges(m_iXFrom, m_iXTo);
}

template <typename T>
void CGraphDrawer::SetDataHistoryCircular(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves) {
  CSingleLock lock(&m_csData, TRUE);
  if (!Acceptable(pData, nCount, iCurve, nCurves) || nHistory < 1) return;
  if (!Open(nCurves, nHistory, true)) return;
  m_rowOffsets[static_cast<std::size_t>(iCurve)] = 0;
  int& head = m_writePos[static_cast<std::size_t>(iCurve)];
  head %= nHistory;  // a ring that became shorter: the head comes back inside it
  const int start = head;
  for (int k = 0; k < nCount; ++k) {
    m_samples[static_cast<std::size_t>(head) * static_cast<std::size_t>(nCurves) + static_cast<std::size_t>(iCurve)] =
        ToDouble(*At(pData, k, nStride));
    head = (head + 1) % nHistory;
  }
  // The sweep moves no range itself, except once per lap in automatic Y.
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  const BOOL saved = m_bAutoY;
  m_bAutoY = 0;
  if (m_bResetAdaptation)
    UpdateRanges(m_iXFrom, m_iXTo);
  else
    UpdateRanges(start, head);
  if (start > head && saved) {
    double lo = 0.0, hi = 0.0;
    if (FiniteMinMax(&lo, &hi)) FitYRange(0, lo, hi);
    m_bAxesPending = 1;
    m_bDataPending = 0;
    UpdateRanges(m_iXFrom, m_iXTo);
  }
  m_bAutoY = saved;
}

#define ORVEK_INSTANTIATE_INTAKE(T)                                                              \
  template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<T>(T*, int, int, int, int);             \
  template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<T>(T*, int, int, int, int, int); \
  template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<T>(T*, int, double, int, int, int);  \
  template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<T>(T*, int, int, int, int, int);

ORVEK_PLOT_ELEMENT_TYPES(ORVEK_INSTANTIATE_INTAKE)
#undef ORVEK_INSTANTIATE_INTAKE

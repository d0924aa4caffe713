#include <orvek/signal/Filters.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

// The first nPasses passes of the exchange sort, largest first: pass i leaves
// its final value at index i and touches nothing below i.
template <typename T>
void ExchangePasses(T* pData, int nSize, int nPasses) {
  for (int i = 0; i < nPasses && i < nSize - 1; ++i)
    for (int j = i + 1; j < nSize; ++j)
      if (pData[j] > pData[i]) std::swap(pData[i], pData[j]);
}

// First index of the ascending s[0..n) holding a value not below x. Branch
// free: on noisy signals the comparisons are coin flips, and mispredicted
// branches would cost more than the search itself.
template <typename T>
int LowerBound(const T* s, int n, T x) {
  if (n < 1) return 0;
  const T* b = s;
  while (n > 1) {
    const int half = n / 2;
    b = b[half] < x ? b + half : b;
    n -= half;
  }
  return static_cast<int>(b - s) + (*b < x ? 1 : 0);
}

// LowerBound for two values at once (n at least 1): the two chains of loads
// overlap.
template <typename T>
void LowerBounds(const T* s, int n, T x, T y, int* px, int* py) {
  const T* bx = s;
  const T* by = s;
  while (n > 1) {
    const int half = n / 2;
    bx = bx[half] < x ? bx + half : bx;
    by = by[half] < y ? by + half : by;
    n -= half;
  }
  *px = static_cast<int>(bx - s) + (*bx < x ? 1 : 0);
  *py = static_cast<int>(by - s) + (*by < y ? 1 : 0);
}

template <typename T>
void Move(T* pDst, const T* pSrc, int n) {
  std::memmove(pDst, pSrc, sizeof(T) * static_cast<std::size_t>(n));
}

}  // namespace

// ---- CFilterBase ------------------------------------------------------------

template <typename T>
CFilterBase<T>::CFilterBase() : m_pBuffer(nullptr), m_nSize(0), m_nPos(0) {}

template <typename T>
CFilterBase<T>::~CFilterBase() {
  delete[] m_pBuffer;
}

template <typename T>
LONG CFilterBase<T>::Create(int nSize) {
  if (nSize < 1) return E_INVALIDARG;
  T* pNew = new T[static_cast<std::size_t>(nSize)]();
  delete[] m_pBuffer;
  m_pBuffer = pNew;
  m_nSize = nSize;
  m_nPos = 0;
  return S_OK;
}

template <typename T>
void CFilterBase<T>::SortBuffer(T* pData, int nSize) {
  ExchangePasses(pData, nSize, nSize);
}

template <typename T>
LONG CFilterBase<T>::CheckBlock(T const* pData) const {
  if (m_nSize < 1) return E_FAIL;
  if (!pData) return E_POINTER;
  return S_OK;
}

// ---- CDlyLine ---------------------------------------------------------------

template <typename T>
LONG CDlyLine<T>::ProcessI(T* pData, int nCount) {
  if (nCount < 1) return S_OK;
  if (const LONG hr = this->CheckBlock(pData)) return hr;
  for (int i = 0; i < nCount; ++i) {
    std::swap(pData[i], this->m_pBuffer[this->m_nPos]);
    this->AdvancePos();
  }
  return S_OK;
}

// ---- CMaxFilter -------------------------------------------------------------

template <typename T>
CMaxFilter<T>::CMaxFilter() : m_fMax(0), m_nMaxPos(0), m_bFirst(true) {}

template <typename T>
LONG CMaxFilter<T>::Create(int nSize) {
  const LONG hr = CFilterBase<T>::Create(nSize);
  if (hr != S_OK) return hr;
  m_fMax = 0;
  m_nMaxPos = 0;
  m_bFirst = true;
  return S_OK;
}

template <typename T>
LONG CMaxFilter<T>::ProcessI(T* pData, int nCount) {
  if (nCount < 1) return S_OK;
  if (const LONG hr = this->CheckBlock(pData)) return hr;
  T* const pWindow = this->m_pBuffer;
  const int nSize = this->m_nSize;
  for (int i = 0; i < nCount; ++i) {
    const int nPos = this->m_nPos;
    pWindow[nPos] = pData[i];
    if (pData[i] > m_fMax || m_bFirst) {
      m_bFirst = false;
      m_fMax = pData[i];
      m_nMaxPos = nPos;
    } else if (nPos == m_nMaxPos) {
      // The maximum has just left the window: find the new one, the lowest
      // position winning among equals.
      m_fMax = pWindow[0];
      m_nMaxPos = 0;
      for (int k = 1; k < nSize; ++k) {
        if (pWindow[k] > m_fMax) {
          m_fMax = pWindow[k];
          m_nMaxPos = k;
        }
      }
    }
    pData[i] = m_fMax;
    this->AdvancePos();
  }
  return S_OK;
}

// ---- CMedFilter -------------------------------------------------------------
//
// m_pSorted keeps the window's non-NaN values in ascending order. Each sample
// replaces one value: a binary search finds the leaving value, another the
// place of the new one, and one block move shifts what lies between.
//
// The output must be what the exchange sort of the window (in storage order)
// puts at index m = m_nSize / 2. Equal values are equal bit for bit, except
// for +0 and -0, so only a zero median needs care, and only when both signs
// are in the window. For that case the exchange sort's treatment of zeros
// reduces to this: take the window's non-negative values in storage order;
// each of the G passes that places a positive value removes the first
// positive, and if zeros precede it, the first of those zeros moves to the end
// of that leading run of zeros. The zero passes then take the remaining zeros
// in order, so the output is the zero at index m - G of the result, which
// MedianOfMixedZeros finds by walking the G passes backwards.

template <typename T>
CMedFilter<T>::CMedFilter()
    : m_pSorted(nullptr), m_pWork(nullptr), m_pRuns(nullptr), m_nNaNs(0), m_nPosZeros(0), m_nNegZeros(0) {}

template <typename T>
CMedFilter<T>::~CMedFilter() {
  delete[] m_pSorted;
  delete[] m_pWork;
  delete[] m_pRuns;
}

template <typename T>
LONG CMedFilter<T>::Create(int nSize) {
  if (nSize < 1) return E_INVALIDARG;
  const std::size_t n = static_cast<std::size_t>(nSize);
  std::unique_ptr<T[]> pSorted(new T[n]());
  std::unique_ptr<T[]> pWork(new T[n]);
  std::unique_ptr<int[]> pRuns(new int[n]);
  const LONG hr = CFilterBase<T>::Create(nSize);
  if (hr != S_OK) return hr;
  delete[] m_pSorted;
  delete[] m_pWork;
  delete[] m_pRuns;
  m_pSorted = pSorted.release();
  m_pWork = pWork.release();
  m_pRuns = pRuns.release();
  // The zeroed window: nSize times +0.
  m_nNaNs = 0;
  m_nPosZeros = nSize;
  m_nNegZeros = 0;
  return S_OK;
}

template <typename T>
void CMedFilter<T>::Replace(T fOld, T fNew) {
  if (fOld == 0) (std::signbit(fOld) ? m_nNegZeros : m_nPosZeros)--;
  if (fNew == 0) (std::signbit(fNew) ? m_nNegZeros : m_nPosZeros)++;

  T* const s = m_pSorted;
  const int nCount = this->m_nSize - m_nNaNs;  // values in s before the change
  const bool bOldNaN = std::isnan(fOld);
  const bool bNewNaN = std::isnan(fNew);
  if (bOldNaN && bNewNaN) return;
  if (bNewNaN) {
    const int r = LowerBound(s, nCount, fOld);
    Move(s + r, s + r + 1, nCount - r - 1);
    ++m_nNaNs;
    return;
  }
  if (bOldNaN) {
    const int k = LowerBound(s, nCount, fNew);
    Move(s + k + 1, s + k, nCount - k);
    s[k] = fNew;
    --m_nNaNs;
    return;
  }
  // r: the leaving value; k: the first value not below the new one.
  int r, k;
  LowerBounds(s, nCount, fOld, fNew, &r, &k);
  if (k > r + 1) {
    // Values between the leaving one and the new one move down by one.
    Move(s + r, s + r + 1, k - r - 1);
    s[k - 1] = fNew;
  } else if (k < r) {
    Move(s + k + 1, s + k, r - k);
    s[k] = fNew;
  } else {
    s[r] = fNew;
  }
}

template <typename T>
T CMedFilter<T>::MedianBySort() {
  // Passes beyond m never touch index m, so the sort can stop there.
  const int nSize = this->m_nSize;
  const int m = nSize / 2;
  std::memcpy(m_pWork, this->m_pBuffer, sizeof(T) * static_cast<std::size_t>(nSize));
  ExchangePasses(m_pWork, nSize, m + 1);
  return m_pWork[m];
}

template <typename T>
T CMedFilter<T>::MedianOfMixedZeros() {
  const int nSize = this->m_nSize;
  const T* const w = this->m_pBuffer;
  // m_pRuns[j]: zeros before the j-th positive value, in storage order.
  int nZeros = 0;
  int nPositives = 0;
  for (int k = 0; k < nSize; ++k) {
    if (w[k] > 0)
      m_pRuns[nPositives++] = nZeros;
    else if (w[k] == 0)
      ++nZeros;
  }
  // Undo the rotations of the leading run, last pass first.
  int t = nSize / 2 - nPositives;
  for (int j = nPositives - 1; j >= 0 && t < m_pRuns[j]; --j) t = (t + 1) % m_pRuns[j];
  for (int k = 0; k < nSize; ++k)
    if (w[k] == 0 && t-- == 0) return w[k];
  return 0;  // not reached: t indexes one of the zeros
}

template <typename T>
T CMedFilter<T>::Median() {
  if (m_nNaNs > 0) return MedianBySort();
  const int nSize = this->m_nSize;
  const T v = m_pSorted[nSize - 1 - nSize / 2];
  if (v != 0) return v;
  if (m_nNegZeros == 0) return T(0);
  if (m_nPosZeros == 0) return -T(0);
  return MedianOfMixedZeros();
}

template <typename T>
LONG CMedFilter<T>::ProcessI(T* pData, int nCount) {
  if (nCount < 1) return S_OK;
  if (const LONG hr = this->CheckBlock(pData)) return hr;
  for (int i = 0; i < nCount; ++i) {
    T& slot = this->m_pBuffer[this->m_nPos];
    const T fOld = slot;
    slot = pData[i];
    Replace(fOld, slot);
    pData[i] = Median();
    this->AdvancePos();
  }
  return S_OK;
}

template class CFilterBase<float>;
template class CDlyLine<float>;
template class CMaxFilter<float>;
template class CMedFilter<float>;

#include <orvek/signal/ScatteredArray.h>

#include <cstring>
#include <type_traits>

namespace {

// Length of a block as the walk counts it: a negative size counts as empty.
template <typename Part>
int PartLength(const Part& part) {
  return part.nSize > 0 ? part.nSize : 0;
}

// The common walk of reads and writes: blocks wholly before the offset are
// passed over by reducing it, then one block copy per block touched.
template <bool bWrite, typename T, typename Part>
LONG Transfer(const std::vector<Part>& parts, int nPart, int nOffset, int nCount,
              std::conditional_t<bWrite, T const*, T*> pData) {
  if (nCount < 1) return S_OK;
  if (!pData) return E_POINTER;
  if (nPart < 0 || nOffset < 0) return E_FAIL;
  int o = nOffset;
  int done = 0;
  for (std::size_t p = static_cast<std::size_t>(nPart); p < parts.size(); ++p) {
    const Part& part = parts[p];
    const int avail = PartLength(part) - o;
    if (avail <= 0) {
      o -= PartLength(part);
      continue;
    }
    const int n = avail < nCount - done ? avail : nCount - done;
    const std::size_t bytes = sizeof(T) * static_cast<std::size_t>(n);
    if constexpr (bWrite)
      std::memcpy(part.pData + o, pData + done, bytes);
    else
      std::memcpy(pData + done, part.pData + o, bytes);
    done += n;
    o = 0;
    if (done == nCount) return S_OK;
  }
  return E_FAIL;
}

}  // namespace

template <typename T>
LONG CScatteredArray<T>::Init(std::vector<tagPartInfo>* pParts) {
  if (!pParts) return E_POINTER;
  // Positions are ints: the joined array must fit their range, and every
  // block that counts must have memory behind it.
  long long nTotal = 0;
  for (const tagPartInfo& part : *pParts) {
    if (PartLength(part) > 0 && !part.pData) return E_POINTER;
    nTotal += PartLength(part);
    if (nTotal > 0x7FFFFFFF) return E_INVALIDARG;
  }
  m_Parts = *pParts;
  return S_OK;
}

template <typename T>
LONG CScatteredArray<T>::GetArraySize(int* pSize) {
  if (!pSize) return E_POINTER;
  int n = 0;
  for (const tagPartInfo& part : m_Parts) n += PartLength(part);
  *pSize = n;
  return S_OK;
}

template <typename T>
LONG CScatteredArray<T>::ReadPartFrom(int nPart, int nOffset, int nCount, T* pData) {
  return Transfer<false, T>(m_Parts, nPart, nOffset, nCount, pData);
}

template <typename T>
LONG CScatteredArray<T>::WritePartFrom(int nPart, int nOffset, int nCount, T const* pData) {
  return Transfer<true, T>(m_Parts, nPart, nOffset, nCount, pData);
}

template <typename T>
LONG CScatteredArray<T>::Read(int nPos, int nCount, T* pData) {
  return ReadPartFrom(0, nPos, nCount, pData);
}

template <typename T>
LONG CScatteredArray<T>::Write(int nPos, int nCount, T const* pData) {
  return WritePartFrom(0, nPos, nCount, pData);
}

template <typename T>
LONG CScatteredArray<T>::FindPart(int nPos, int* pPart, int* pOffset) {
  if (!pPart || !pOffset) return E_POINTER;
  if (nPos < 0) return E_FAIL;
  for (std::size_t p = 0; p < m_Parts.size(); ++p) {
    const int len = PartLength(m_Parts[p]);
    if (nPos < len) {
      *pPart = static_cast<int>(p);
      *pOffset = nPos;
      return S_OK;
    }
    nPos -= len;
  }
  return E_FAIL;
}

template class CScatteredArray<ULONG>;

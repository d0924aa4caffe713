#include <orvek/signal/LinInterp.h>

CLinInterp::CLinInterp() : m_fLast(0.0f), m_nFactor(1) {}

LONG CLinInterp::Init(int nFactor) {
  if (nFactor < 1) return E_INVALIDARG;
  m_nFactor = nFactor;
  m_fLast = 0.0f;
  return S_OK;
}

LONG CLinInterp::Process(float const* pIn, int nCount, float* pOut) {
  if (nCount < 1) return S_OK;
  if (!pIn || !pOut) return E_POINTER;
  const float fFactor = static_cast<float>(m_nFactor);
  for (int i = 0; i < nCount; ++i) {
    const float x = pIn[i];
    for (int k = 0; k < m_nFactor; ++k) {
      const float t = static_cast<float>(k) / fFactor;
      *pOut++ = (1.0f - t) * m_fLast + t * x;
    }
    m_fLast = x;
  }
  return S_OK;
}

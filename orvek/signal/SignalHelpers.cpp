// The signal helpers: FIR normalisation and the search for whole-number
// resampling factors.
#include <orvek/signal/SignalHelpers_p.h>

#include <cmath>

float orvek_signal::NormalizeFIR(float* pCoeffs, int nCount) {
  float s = 0.0f;
  if (pCoeffs)
    for (int i = 0; i < nCount; ++i) s += std::fabs(pCoeffs[i]);
  if (s != 0.0f)
    for (int i = 0; i < nCount; ++i) pCoeffs[i] /= s;
  const float fInv = 1.0f / s;
  return static_cast<float>(20.0 * std::log10(static_cast<double>(fInv)));
}

LONG orvek_signal::GetUpDownFactor(float fInRate, float fOutRate, int* pUp, int* pDown) {
  if (!pUp || !pDown) return E_POINTER;
  if (!(fInRate > 0.0f) || !(fOutRate > 0.0f) || std::isinf(fInRate) || std::isinf(fOutRate)) return E_INVALIDARG;
  // Plain float equality decides, as the factors must reproduce the rate
  // exactly in float; rates that no small ratio fits give up at the limit.
  constexpr int kMaxUp = 1000000;
  for (int up = 1; up <= kMaxUp; ++up) {
    const float fUp = static_cast<float>(up);
    const float fDown = fUp * fInRate / fOutRate;
    // Beyond the range of int the quotient only grows with up.
    if (!(fDown < 2147483648.0f)) return E_FAIL;
    const int down = static_cast<int>(fDown);
    if (down == 0) continue;
    if (fUp * fInRate / static_cast<float>(down) == fOutRate) {
      *pUp = up;
      *pDown = down;
      return S_OK;
    }
  }
  return E_FAIL;
}

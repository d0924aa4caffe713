// The signal helpers under the name of the class of static helpers; the
// signal tools do the work.
#include <orvek/frame/OrvekGlobals.h>

#include <orvek/signal/SignalHelpers_p.h>

float COrvekGlobals::NormalizeFIR(float* pCoeffs, int nCount) { return orvek_signal::NormalizeFIR(pCoeffs, nCount); }

LONG COrvekGlobals::GetUpDownFactor(float fInRate, float fOutRate, int* pUp, int* pDown) {
  return orvek_signal::GetUpDownFactor(fInRate, fOutRate, pUp, pDown);
}

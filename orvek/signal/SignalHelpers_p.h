#pragma once

#include <orvek/platform/core/Types.h>

// Private to the library: the FIR and resampling helpers of the signal tools.
// The frame's class of static helpers gives them to hosts under its own name.
namespace orvek_signal {

float NormalizeFIR(float* pCoeffs, int nCount);
ORVEK_RESULT LONG GetUpDownFactor(float fInRate, float fOutRate, int* pUp, int* pDown);

}  // namespace orvek_signal

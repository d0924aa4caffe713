#pragma once

/// \file
/// Upsampling by linear interpolation.

#include <orvek/platform/core/Types.h>

/// Raises a sample rate by a whole factor with straight lines between samples.
/// The output runs one input sample late: each input x gives m_nFactor outputs
/// on the line from the previous input to x, starting at the previous input.
/// The state carries from block to block; the first block starts from 0.
/// No lock: one object per thread.
class ORVEK_API CLinInterp {
 public:
  CLinInterp();

  /// Sets the factor (at least 1) and restarts from 0; E_INVALIDARG leaves the
  /// object as it was.
  ORVEK_RESULT LONG Init(int nFactor);
  /// Writes nCount * factor samples to pOut, which must not overlap pIn.
  /// E_POINTER for a null block; nCount below 1 does nothing.
  ORVEK_RESULT LONG Process(float const* pIn, int nCount, float* pOut);

 protected:
  float m_fLast;  ///< the last input, where the next block's line starts
  int m_nFactor;  ///< the factor; outputs per input
};

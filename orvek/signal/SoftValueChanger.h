#pragma once

/// \file
/// Values that move to a new target over time.

#include <orvek/platform/core/Types.h>

/// A value that moves to a new target over a given time instead of jumping,
/// without timer or thread: GetValue works it out from the tick counter. The
/// shape of the move is the virtual curve GetDynCurve, which maps the elapsed
/// share of the time (0 to 1) to the covered share of the way. A new change may
/// start at any time and continues from the value reached. Tick arithmetic is
/// by unsigned 32-bit differences, so the wrap of the counter does no harm.
/// A new object holds the steady value 0. No lock: one object per thread.
template <typename T>
class CSoftValueChanger {
 public:
  CSoftValueChanger();
  /// Copies the change under way.
  ///@{
  CSoftValueChanger(const CSoftValueChanger&) = default;
  CSoftValueChanger& operator=(const CSoftValueChanger&) = default;
  ///@}

  /// Sets the value at once, also during a change.
  ORVEK_RESULT LONG Init(T fValue);
  /// The value now: the target exactly once the time has run out.
  T GetValue();
  /// Starts a change to fValue lasting fTime seconds (rounded to milliseconds;
  /// 0 or less applies the target at once). E_FAIL when fValue is the target
  /// already: the running change then goes on untouched.
  ORVEK_RESULT LONG ChangeValue(T fValue, T fTime);
  /// The same with the curve mirrored, c = 1 - curve(1 - t): a slow start
  /// becomes a fast one.
  ORVEK_RESULT LONG ChangeValueInvDyn(T fValue, T fTime);
  /// 1 while GetValue differs from the target, else 0; always 0 once the time
  /// has run out, also for a NaN target.
  int IsChanging();
  /// The straight line.
  virtual T GetDynCurve(T fPos);

 protected:
  /// Starts a change, with the mirrored curve for a nonzero bInvDyn: what
  /// ChangeValue and ChangeValueInvDyn do.
  ORVEK_RESULT LONG Change(T fValue, T fTime, int bInvDyn);
  /// The value at the tick dwNow; *pbSteady tells whether the time has run out.
  T ValueAt(ULONG dwNow, bool* pbSteady);

  ULONG m_dwStartTick;  ///< tick at the start of the change
  T m_fStartValue;      ///< value at the start of the change
  ULONG m_dwEndTick;    ///< tick at its end
  T m_fEndValue;        ///< the target
  int m_bInvDyn;        ///< nonzero: the mirrored curve
};

/// Half a cosine: slow start, slow end.
template <typename T>
class CSoftValueChangerSin : public CSoftValueChanger<T> {
 public:
  CSoftValueChangerSin() = default;

 private:
  T GetDynCurve(T fPos) override;
};

/// A quarter of a cosine: slow start, full speed at the end. With the
/// constant 3.1415 it reaches 0.99995 at fPos 1, not 1.
template <typename T>
class CSoftValueChangerHSin : public CSoftValueChanger<T> {
 public:
  CSoftValueChangerHSin() = default;

 private:
  T GetDynCurve(T fPos) override;
};

extern template class ORVEK_TEMPLATE_API CSoftValueChanger<float>;
extern template class ORVEK_TEMPLATE_API CSoftValueChangerSin<float>;
extern template class ORVEK_TEMPLATE_API CSoftValueChangerHSin<float>;

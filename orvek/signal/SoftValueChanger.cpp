#include <orvek/signal/SoftValueChanger.h>

#include <cmath>

#include <orvek/platform/core/Kernel.h>

namespace {
// The curves use this float approximation of pi, not pi itself: the values
// they give are part of the interface.
constexpr float kPi = 3.1415f;
}  // namespace

template <typename T>
CSoftValueChanger<T>::CSoftValueChanger()
    : m_dwStartTick(GetTickCount()), m_fStartValue(0), m_dwEndTick(m_dwStartTick), m_fEndValue(0), m_bInvDyn(0) {}

template <typename T>
LONG CSoftValueChanger<T>::Init(T fValue) {
  m_dwStartTick = GetTickCount();
  m_dwEndTick = m_dwStartTick;
  m_fStartValue = fValue;
  m_fEndValue = fValue;
  return S_OK;
}

template <typename T>
T CSoftValueChanger<T>::GetValue() {
  bool bSteady;
  return ValueAt(GetTickCount(), &bSteady);
}

template <typename T>
T CSoftValueChanger<T>::ValueAt(ULONG dwNow, bool* pbSteady) {
  const ULONG elapsed = dwNow - m_dwStartTick;
  const ULONG duration = m_dwEndTick - m_dwStartTick;
  *pbSteady = elapsed > duration || duration == 0;
  if (*pbSteady) return m_fEndValue;
  const T t = static_cast<T>(elapsed) / static_cast<T>(duration);
  const T c = m_bInvDyn ? T(1) - GetDynCurve(T(1) - t) : GetDynCurve(t);
  return (m_fEndValue - m_fStartValue) * c + m_fStartValue;
}

template <typename T>
LONG CSoftValueChanger<T>::Change(T fValue, T fTime, int bInvDyn) {
  if (fValue == m_fEndValue) return E_FAIL;
  const T fPresent = GetValue();
  const ULONG now = GetTickCount();
  m_dwStartTick = now;
  m_bInvDyn = bInvDyn;
  // A negative (or NaN) time counts as 0: the target applies at once.
  const bool bAtOnce = !(fTime > 0);
  m_fStartValue = bAtOnce ? fValue : fPresent;
  double ms = bAtOnce ? 0.0 : fTime * 1000 + 0.5;
  if (ms > 4294967295.0) ms = 4294967295.0;
  m_dwEndTick = now + static_cast<ULONG>(ms);
  m_fEndValue = fValue;
  return S_OK;
}

template <typename T>
LONG CSoftValueChanger<T>::ChangeValue(T fValue, T fTime) {
  return Change(fValue, fTime, 0);
}

template <typename T>
LONG CSoftValueChanger<T>::ChangeValueInvDyn(T fValue, T fTime) {
  return Change(fValue, fTime, 1);
}

template <typename T>
int CSoftValueChanger<T>::IsChanging() {
  // Once the time has run out the value is the target, also a NaN one, which
  // would never compare equal to itself.
  bool bSteady;
  const T v = ValueAt(GetTickCount(), &bSteady);
  return !bSteady && v != m_fEndValue ? 1 : 0;
}

template <typename T>
T CSoftValueChanger<T>::GetDynCurve(T fPos) {
  return fPos;
}

// The products are taken in float, cos and the rest in double, and the result
// is rounded to float at the end.
template <typename T>
T CSoftValueChangerSin<T>::GetDynCurve(T fPos) {
  return static_cast<T>((1.0 - std::cos(static_cast<double>(fPos * kPi))) * 0.5);
}

template <typename T>
T CSoftValueChangerHSin<T>::GetDynCurve(T fPos) {
  return static_cast<T>(1.0 - std::cos(static_cast<double>(fPos * kPi * 0.5f)));
}

template class CSoftValueChanger<float>;
template class CSoftValueChangerSin<float>;
template class CSoftValueChangerHSin<float>;

#include <gtest/gtest.h>

#include <orvek/platform/core/Kernel.h>
#include <orvek/signal/SoftValueChanger.h>

#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Step = std::pair<DWORD, std::function<void()>>;

// Runs each step at its millisecond after the first, with the tick counter
// starting at startTick, by moving the tick offset. Repeated until the real
// clock did not move on during the run, so that the steps see exactly those
// ticks.
void AtTicks(DWORD startTick, const std::vector<Step>& steps) {
  for (DWORD t0 = 0, t1 = 1; t0 != t1;) {
    OrvekSetTickCountOffset(0);
    const DWORD base = startTick - GetTickCount();
    OrvekSetTickCountOffset(base);
    t0 = GetTickCount();
    for (const Step& s : steps) {
      OrvekSetTickCountOffset(base + s.first);
      s.second();
    }
    t1 = GetTickCount() - steps.back().first;
  }
  OrvekSetTickCountOffset(0);
}

// Init(0), a change to 10 over 2 s (from startTick), and the value at 1 s.
float HalfWay(CSoftValueChanger<float>& c, bool bInv, DWORD startTick = 1000) {
  float v = -1;
  AtTicks(startTick, {{0,
                       [&] {
                         EXPECT_EQ(c.Init(0), S_OK);
                         EXPECT_EQ(bInv ? c.ChangeValueInvDyn(10, 2) : c.ChangeValue(10, 2), S_OK);
                       }},
                      {1000, [&] { v = c.GetValue(); }}});
  return v;
}

TEST(SoftValueChanger, CurvesAtOneSecond) {
  CSoftValueChanger<float> plain;
  CSoftValueChangerSin<float> sine;
  CSoftValueChangerHSin<float> hsin;
  EXPECT_EQ(HalfWay(plain, false), 5.0f);
  EXPECT_EQ(HalfWay(plain, true), 5.0f);
  EXPECT_EQ(HalfWay(plain, false, 0xFFFFFFFFu - 500), 5.0f);  // across the wrap
  // 3.1415 for pi shows in the fourth decimal.
  EXPECT_NEAR(HalfWay(sine, false), 4.9998f, 5e-5f);
  EXPECT_NEAR(HalfWay(hsin, false), 2.9288f, 5e-5f);
  CSoftValueChangerHSin<float> copy(hsin);  // a copy keeps its curve
  EXPECT_NEAR(HalfWay(copy, true), 7.0712f, 5e-5f);
}

TEST(SoftValueChanger, SteadyStatesAndImmediateChanges) {
  CSoftValueChanger<float> c;
  auto steady = [&](float v) { return c.GetValue() == v && c.IsChanging() == 0; };
  EXPECT_TRUE(steady(0));  // a new object holds 0
  EXPECT_EQ(c.Init(5), S_OK);
  EXPECT_TRUE(steady(5));
  EXPECT_EQ(c.ChangeValue(5, 1), E_FAIL);
  EXPECT_EQ(c.ChangeValue(10, 0), S_OK);
  EXPECT_TRUE(steady(10));
  EXPECT_EQ(c.ChangeValue(20, 0.0004f), S_OK);  // rounds to 0 ms
  EXPECT_TRUE(steady(20));
  EXPECT_EQ(c.ChangeValueInvDyn(30, -2), S_OK);  // a negative time counts as 0
  EXPECT_TRUE(steady(30));
}

TEST(SoftValueChanger, RetargetAndEndTick) {
  CSoftValueChanger<float> c;
  CSoftValueChangerHSin<float> h;
  float mid = -1, again = -1, later = -1, atEnd = -1, after = -1;
  int changing = -1, settled = -1;
  LONG same = S_OK;
  AtTicks(1000, {{0, [&] { EXPECT_EQ(c.Init(0) | c.ChangeValue(10, 2) | h.Init(0) | h.ChangeValue(10, 2), S_OK); }},
                 {1000,
                  [&] {
                    same = c.ChangeValue(10, 5);
                    mid = c.GetValue();
                  }},
                 {1000, [&] { EXPECT_EQ(c.ChangeValue(20, 1), S_OK); }},  // from 5, over the whole new second
                 {1500,
                  [&] {
                    again = c.GetValue();
                    changing = c.IsChanging();
                  }},
                 {2000, [&] { atEnd = h.GetValue(); }},
                 {2001, [&] {
                    later = c.GetValue();
                    after = h.GetValue();
                    settled = h.IsChanging();
                  }}});
  EXPECT_EQ(same, E_FAIL);  // the running change went on untouched
  EXPECT_EQ(mid, 5.0f);
  EXPECT_EQ(again, 12.5f);
  EXPECT_EQ(changing, 1);
  EXPECT_EQ(later, 20.0f);
  // At the end tick the HSin curve lies a little short; a tick later the
  // target is exact.
  EXPECT_NEAR(atEnd, 9.9995f, 5e-5f);
  EXPECT_LT(atEnd, 10.0f);
  EXPECT_EQ(after, 10.0f);
  EXPECT_EQ(settled, 0);
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(SoftValueChanger, NaNAndInfiniteValuesAndTimes) {
  CSoftValueChangerHSin<float> v;
  // A NaN target is steady once set: it must not read as changing for ever.
  EXPECT_EQ(v.Init(kNaN), S_OK);
  EXPECT_TRUE(std::isnan(v.GetValue()));
  EXPECT_EQ(v.IsChanging(), 0);
  const struct {
    float value, time;
    bool changing;
  } changes[] = {{1, kNaN, false}, {2, -1, false},   {3, -kInf, false}, {kInf, 0, false},
                 {4, kInf, true},  {5, 3e38f, true}, {kNaN, 10, true},  {-kInf, 1e-9f, false}};
  for (const auto& k : changes) {
    EXPECT_EQ(v.ChangeValue(k.value, k.time), S_OK) << k.value << " " << k.time;
    EXPECT_EQ(v.IsChanging(), k.changing ? 1 : 0) << k.value << " " << k.time;
  }
  EXPECT_EQ(v.GetValue(), -kInf);
  EXPECT_EQ(v.ChangeValueInvDyn(-kInf, 1), E_FAIL);
}

}  // namespace

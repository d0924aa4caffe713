#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/signal/LinInterp.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

using V = std::vector<float>;

TEST(SignalHelpers, LinInterpLinesBetweenSamplesOneSampleLate) {
  CLinInterp li;
  const float in[3] = {2, 4, 7};
  float out[4] = {};
  li.Process(in, 3, out);  // factor 1: a delay by one sample
  EXPECT_EQ(V(out, out + 3), (V{0, 2, 4}));
  ASSERT_EQ(li.Init(2), S_OK);
  EXPECT_EQ(li.Process(in, 2, out), S_OK);
  EXPECT_EQ(V(out, out + 4), (V{0, 1, 2, 3}));
  EXPECT_EQ(li.Init(0), E_INVALIDARG);
  EXPECT_EQ(li.Init(-3), E_INVALIDARG);
  EXPECT_EQ(li.Process(in + 1, 1, out), S_OK);  // the factor and state stayed
  EXPECT_EQ(V(out, out + 2), (V{4, 4}));
  EXPECT_EQ(li.Process(in, 1, nullptr), E_POINTER);
}

TEST(SignalHelpers, NormalizeFIR) {
  float c[3] = {1, -1, 2};
  EXPECT_NEAR(COrvekGlobals::NormalizeFIR(c, 3), -12.0412f, 1e-4f);
  EXPECT_EQ(V(c, c + 3), (V{0.25f, -0.25f, 0.5f}));
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 3), 0.0f);
  EXPECT_EQ(V(c, c + 3), (V{0.25f, -0.25f, 0.5f}));
  float z[2] = {0, -0.0f};
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(z, 2), std::numeric_limits<float>::infinity());
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 0), std::numeric_limits<float>::infinity());
  EXPECT_EQ(c[0], 0.25f);
}

TEST(SignalHelpers, UpDownFactors) {
  int up = -1, down = -1;
  using P = std::pair<int, int>;
  auto factors = [&](float in, float out) {
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(in, out, &up, &down), S_OK);
    return P(up, down);
  };
  EXPECT_EQ(factors(48000, 44100), P(147, 160));
  EXPECT_EQ(factors(44100, 44100), P(1, 1));
  EXPECT_EQ(factors(8000, 16000), P(2, 1));  // down 0 at up 1
  EXPECT_EQ(factors(1, 1000000), P(1000000, 1));  // the last up searched

  up = down = -1;
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(48000, 44100, nullptr, &down), E_POINTER);
  for (float bad : {0.0f, -8000.0f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(bad, 8000, &up, &down), E_INVALIDARG);
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(8000, bad, &up, &down), E_INVALIDARG);
  }
  // Beyond up = 1,000,000 the search gives up, outputs untouched.
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1, 1000001, &up, &down), E_FAIL);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1e30f, 1e-30f, &up, &down), E_FAIL);
  EXPECT_EQ(up * 10 + down, -11);
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>

#include <climits>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

using V = std::vector<float>;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(SignalHelpers, NormalizeFIR) {
  float c[3] = {1, -1, 2};
  EXPECT_NEAR(COrvekGlobals::NormalizeFIR(c, 3), -12.0412f, 1e-4f);
  EXPECT_EQ(V(c, c + 3), (V{0.25f, -0.25f, 0.5f}));
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 3), 0.0f);
  EXPECT_EQ(V(c, c + 3), (V{0.25f, -0.25f, 0.5f}));
  float z[2] = {0, -0.0f};
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(z, 2), kInf);
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 0), kInf);
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, INT_MIN), kInf);
  EXPECT_EQ(c[0], 0.25f);
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(nullptr, 5), kInf);
  float withNaN[2] = {kNaN, 1};
  EXPECT_TRUE(std::isnan(COrvekGlobals::NormalizeFIR(withNaN, 2)));
}

TEST(SignalHelpers, UpDownFactors) {
  using P = std::pair<int, int>;
  const struct {
    float in, out;
    LONG result;
    P factors;  // -1, -1: left untouched
  } rates[] = {
      {48000, 44100, S_OK, {147, 160}},
      {44100, 44100, S_OK, {1, 1}},
      {8000, 16000, S_OK, {2, 1}},       // down 0 at up 1
      {1, 1000000, S_OK, {1000000, 1}},  // the last up searched
      // Beyond up = 1,000,000 the search gives up.
      {1, 1000001, E_FAIL, {-1, -1}},
      {1e30f, 1e-30f, E_FAIL, {-1, -1}},
      {3.4e38f, 1e-38f, E_FAIL, {-1, -1}},
      {1e-45f, 3.4e38f, E_FAIL, {-1, -1}},
      {0, 8000, E_INVALIDARG, {-1, -1}},
      {8000, 0, E_INVALIDARG, {-1, -1}},
      {-8000, 8000, E_INVALIDARG, {-1, -1}},
      {8000, -8000, E_INVALIDARG, {-1, -1}},
      {kInf, 8000, E_INVALIDARG, {-1, -1}},
      {8000, -kInf, E_INVALIDARG, {-1, -1}},
      {kNaN, 8000, E_INVALIDARG, {-1, -1}},
      {8000, kNaN, E_INVALIDARG, {-1, -1}},
  };
  for (const auto& k : rates) {
    int up = -1, down = -1;
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(k.in, k.out, &up, &down), k.result) << k.in << " " << k.out;
    EXPECT_EQ(P(up, down), k.factors) << k.in << " " << k.out;
  }
  int up = -1, down = -1;
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(48000, 44100, nullptr, &down), E_POINTER);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1, 1, &up, nullptr), E_POINTER);
}

}  // namespace

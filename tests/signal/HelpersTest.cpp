#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/signal/LinInterp.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

TEST(LinInterp, LinesBetweenSamplesOneSampleLate) {
  CLinInterp li;
  ASSERT_EQ(li.Init(2), S_OK);
  const float in[2] = {2, 4};
  float out[4] = {};
  EXPECT_EQ(li.Process(in, 2, out), S_OK);
  EXPECT_EQ(std::vector<float>(out, out + 4), (std::vector<float>{0, 1, 2, 3}));
  EXPECT_EQ(li.Process(in + 1, 1, out), S_OK);
  EXPECT_EQ(std::vector<float>(out, out + 2), (std::vector<float>{4, 4}));

  EXPECT_EQ(li.Init(0), E_INVALIDARG);
  EXPECT_EQ(li.Init(-3), E_INVALIDARG);
  EXPECT_EQ(li.Process(in, 1, out), S_OK);  // the factor stayed 2
  EXPECT_EQ(out[1], 3.0f);
  EXPECT_EQ(li.Process(in, 1, nullptr), E_POINTER);

  CLinInterp plain;  // factor 1: a delay by one sample
  float o[3];
  const float x[3] = {5, 6, 7};
  plain.Process(x, 3, o);
  EXPECT_EQ(std::vector<float>(o, o + 3), (std::vector<float>{0, 5, 6}));

  // Four per sample, in float: 0, 0.25, 0.5, 0.75 of the way.
  li.Init(4);
  const float one = 1;
  float q[4];
  li.Process(&one, 1, q);
  EXPECT_EQ(std::vector<float>(q, q + 4), (std::vector<float>{0, 0.25f, 0.5f, 0.75f}));
}

TEST(SignalHelpers, NormalizeFIR) {
  float c[3] = {1, -1, 2};
  EXPECT_NEAR(COrvekGlobals::NormalizeFIR(c, 3), -12.0412f, 1e-4f);
  EXPECT_EQ(std::vector<float>(c, c + 3), (std::vector<float>{0.25f, -0.25f, 0.5f}));
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 3), 0.0f);
  EXPECT_EQ(std::vector<float>(c, c + 3), (std::vector<float>{0.25f, -0.25f, 0.5f}));
  float z[2] = {0, -0.0f};
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(z, 2), std::numeric_limits<float>::infinity());
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(c, 0), std::numeric_limits<float>::infinity());
  EXPECT_EQ(c[0], 0.25f);
}

TEST(SignalHelpers, UpDownFactors) {
  int up = -1, down = -1;
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(48000, 44100, &up, &down), S_OK);
  EXPECT_EQ(up, 147);
  EXPECT_EQ(down, 160);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(44100, 44100, &up, &down), S_OK);
  EXPECT_EQ(up * 1000 + down, 1001);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(8000, 16000, &up, &down), S_OK);  // down 0 at up 1
  EXPECT_EQ(up * 1000 + down, 2001);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(44100, 48000, &up, &down), S_OK);
  EXPECT_EQ(up * 1000 + down, 160147);

  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(48000, 44100, nullptr, &down), E_POINTER);
  up = down = -1;
  const float inf = std::numeric_limits<float>::infinity();
  for (float bad : {0.0f, -8000.0f, inf, std::nanf("")}) {
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(bad, 8000, &up, &down), E_INVALIDARG);
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(8000, bad, &up, &down), E_INVALIDARG);
  }
  // The search ends at up = 1,000,000, outputs untouched beyond it.
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1e30f, 1e-30f, &up, &down), E_FAIL);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1, 1000001, &up, &down), E_FAIL);
  EXPECT_EQ(up, -1);
  EXPECT_EQ(down, -1);
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1, 1000000, &up, &down), S_OK);
  EXPECT_EQ(up, 1000000);
  EXPECT_EQ(down, 1);
}

}  // namespace

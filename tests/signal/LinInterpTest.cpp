#include <gtest/gtest.h>

#include <orvek/signal/LinInterp.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using V = std::vector<float>;

TEST(LinInterp, LinesBetweenSamplesOneSampleLate) {
  CLinInterp li;
  const float in[3] = {2, 4, 7};
  float out[4] = {};
  EXPECT_EQ(li.Process(in, 3, out), S_OK);  // factor 1: a delay by one sample
  EXPECT_EQ(V(out, out + 3), (V{0, 2, 4}));
  ASSERT_EQ(li.Init(2), S_OK);
  EXPECT_EQ(li.Process(in, 2, out), S_OK);
  EXPECT_EQ(V(out, out + 4), (V{0, 1, 2, 3}));
  for (int f : {0, -3, INT_MIN}) EXPECT_EQ(li.Init(f), E_INVALIDARG) << f;
  EXPECT_EQ(li.Process(in + 1, 1, out), S_OK);  // the factor and state stayed
  EXPECT_EQ(V(out, out + 2), (V{4, 4}));
  EXPECT_EQ(li.Process(in, 1, nullptr), E_POINTER);
  EXPECT_EQ(li.Process(nullptr, 1, out), E_POINTER);
  EXPECT_EQ(li.Process(nullptr, INT_MIN, nullptr), S_OK);

  const float bad[2] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()};
  CLinInterp fresh;
  ASSERT_EQ(fresh.Init(2), S_OK);
  EXPECT_EQ(fresh.Process(bad, 2, out), S_OK);
  for (float o : out) EXPECT_TRUE(std::isnan(o));  // 0 * NaN and 0 * inf are NaN
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/signal/Filters.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using V = std::vector<float>;

template <typename Filter>
V Filtered(Filter& f, V v) {
  EXPECT_EQ(f.ProcessI(v.data(), static_cast<int>(v.size())), S_OK);
  return v;
}

template <typename Filter>
V Filtered(int window, const V& v) {
  Filter f;
  EXPECT_EQ(f.Create(window), S_OK);
  return Filtered(f, v);
}

// Feeds the stream in blocks: whole (0), of a fixed length, or of random lengths up to -split (some empty).
template <typename Filter>
V InBlocks(Filter& f, V v, int split, std::mt19937& rng) {
  for (std::size_t i = 0; i < v.size();) {
    std::size_t n = split > 0 ? split : split == 0 ? v.size() : rng() % (1 - split);
    n = std::min(n, v.size() - i);
    EXPECT_EQ(f.ProcessI(v.data() + i, static_cast<int>(n)), S_OK);
    i += n;
  }
  return v;
}

TEST(Filters, DelayAndMaximum) {
  EXPECT_EQ(Filtered<CDlyLine<float>>(3, {1, 2, 3, 4, 5}), (V{0, 0, 0, 1, 2}));
  EXPECT_EQ(Filtered<CDlyLine<float>>(1, {7, 8, 9}), (V{0, 7, 8}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(1, {3, -1, 2}), (V{3, -1, 2}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {5, 1, 1, 1, 1}), (V{5, 5, 5, 1, 1}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {-3, -4}), (V{-3, -3}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {2, 7, 7, 1, 1, 1}), (V{2, 7, 7, 7, 7, 1}));
  CMaxFilter<float> f;  // a second Create starts afresh, as a new filter would
  ASSERT_EQ(f.Create(3), S_OK);
  Filtered(f, {9, 9, 9, 9});
  ASSERT_EQ(f.Create(3), S_OK);
  EXPECT_EQ(Filtered(f, {-3, -4, -5, -6}), (V{-3, -3, -3, -4}));

  // The maximum of the last inputs, whatever the blocks.
  std::mt19937 rng(5);
  V in(3000);
  for (float& v : in) v = static_cast<float>(std::uniform_int_distribution<int>(-20, 20)(rng));
  for (int window : {2, 5, 64}) {
    CMaxFilter<float> g;
    ASSERT_EQ(g.Create(window), S_OK);
    const V out = InBlocks(g, in, -2 * window - 2, rng);
    for (std::size_t i = 0; i < in.size(); ++i)
      ASSERT_EQ(out[i], *std::max_element(in.begin() + std::max<int>(0, int(i) + 1 - window), in.begin() + i + 1));
  }
}

// The median as a plain exchange sort of the window in storage order gives it.
V ReferenceMedian(int window, const V& in) {
  V ring(window, 0.0f), sorted, out;
  int pos = 0;
  for (float x : in) {
    ring[pos] = x;
    pos = (pos + 1) % window;
    sorted = ring;
    for (int i = 0; i < window - 1; ++i)
      for (int j = i + 1; j < window; ++j)
        if (sorted[j] > sorted[i]) std::swap(sorted[i], sorted[j]);
    out.push_back(sorted[window / 2]);
  }
  return out;
}

// Segments of ties (zeros of both signs, infinities), of noise, and of noise with a short burst of NaN.
V MedianStream(std::mt19937& rng, int length) {
  const float inf = std::numeric_limits<float>::infinity();
  const float pool[] = {-0.0f, 0.0f, -0.0f, 0.0f, 1.0f, -1.0f, 2.5f, -2.5f, inf, -inf};
  V v;
  while (static_cast<int>(v.size()) < length) {
    const unsigned kind = rng() % 4;
    for (int i = 0; i < 600; ++i) {
      if (kind == 0)
        v.push_back(pool[rng() % 4 + (rng() % 3 == 0 ? 4 : 0)]);  // mostly zeros
      else
        v.push_back(kind == 1 ? pool[rng() % 10] : std::normal_distribution<float>()(rng));
    }
    if (kind == 3)
      for (unsigned k = 0, at = v.size() - 600 + rng() % 100; k < 1 + rng() % 3; ++k) v[at + k * (rng() % 5)] = NAN;
  }
  v.resize(length);
  return v;
}

TEST(Filters, MedianIsBitForBitTheExchangeSortsInAnyBlocks) {
  EXPECT_EQ(Filtered<CMedFilter<float>>(2, {1, 5}), (V{0, 1}));
  EXPECT_EQ(Filtered<CMedFilter<float>>(1, {4, -2, 9}), (V{4, -2, 9}));
  CMedFilter<float> again;  // a second Create restarts from a zeroed window
  ASSERT_EQ(again.Create(3), S_OK);
  Filtered(again, {NAN, -0.0f, 5, 6});
  ASSERT_EQ(again.Create(5), S_OK);
  EXPECT_EQ(Filtered(again, {1, 2, 3, 4, 5, 6}), (V{0, 0, 1, 2, 3, 4}));

  std::mt19937 rng(11);
  for (int window : {1, 2, 3, 4, 31, 255}) {
    const V in = MedianStream(rng, window == 255 ? 8000 : 20000);
    const V expected = ReferenceMedian(window, in);
    // The data reach the choice between zero signs, and the NaN path.
    const auto zeros = [&](bool neg) {
      return std::count_if(expected.begin(), expected.end(), [&](float e) { return e == 0 && std::signbit(e) == neg; });
    };
    if (window > 1) {
      EXPECT_GT(std::min(zeros(true), zeros(false)), 50) << window;
    }
    EXPECT_TRUE(std::any_of(in.begin(), in.end(), [](float x) { return std::isnan(x); }));

    for (int split : {0, 1, window - 1, window, window + 1, -2 * window - 3}) {
      CMedFilter<float> f;
      ASSERT_EQ(f.Create(window), S_OK);
      const V out = InBlocks(f, in, split, rng);
      for (std::size_t i = 0; i < in.size(); ++i)
        ASSERT_EQ(std::memcmp(&out[i], &expected[i], sizeof(float)), 0)
            << "window " << window << " split " << split << " at " << i << ": " << out[i] << " vs " << expected[i];
    }
  }
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Bad sizes, null blocks and samples that are no number, for each filter.
TEST(Filters, HostileSizesBlocksAndSamples) {
  const V block = {kNaN, kInf, -kInf, 1, kNaN, -0.0f};
  const auto hostile = [&](auto&& f, int window) {
    for (int size : {0, -1, INT_MIN}) EXPECT_EQ(f.Create(size), E_INVALIDARG) << size;
    V v = block;
    EXPECT_EQ(f.ProcessI(v.data(), 6), E_FAIL);  // before Create, the block untouched
    EXPECT_EQ(std::memcmp(v.data(), block.data(), sizeof(float) * 6), 0);
    EXPECT_EQ(f.Create(window), S_OK);
    for (int c : {-1, INT_MIN, 0}) EXPECT_EQ(f.ProcessI(nullptr, c) | f.ProcessI(v.data(), c), S_OK) << c;
    EXPECT_EQ(f.ProcessI(nullptr, 1), E_POINTER);
    EXPECT_EQ(f.ProcessI(v.data(), 6), S_OK);
    return v;
  };
  const V d = hostile(CDlyLine<float>(), 1), m = hostile(CMaxFilter<float>(), 2), e = hostile(CMedFilter<float>(), 3);
  EXPECT_EQ(d[0], 0.0f);
  EXPECT_TRUE(std::isnan(d[1]));
  EXPECT_EQ(d[2], kInf);
  EXPECT_TRUE(std::isnan(m[0]));  // the first sample is taken as it is
  EXPECT_EQ(m[3], 1.0f);          // the window has moved past the infinities
  EXPECT_EQ(e[3], 1.0f);          // median of -inf, 1 and inf
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/signal/Filters.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

template <typename Filter>
std::vector<float> Filtered(Filter& f, std::vector<float> v) {
  EXPECT_EQ(f.ProcessI(v.data(), static_cast<int>(v.size())), S_OK);
  return v;
}

template <typename Filter>
std::vector<float> Filtered(int window, const std::vector<float>& v) {
  Filter f;
  f.Create(window);
  return Filtered(f, v);
}

using V = std::vector<float>;

TEST(Filters, DelayAndMaximumExamples) {
  EXPECT_EQ(Filtered<CDlyLine<float>>(3, {1, 2, 3, 4, 5}), (V{0, 0, 0, 1, 2}));
  EXPECT_EQ(Filtered<CDlyLine<float>>(1, {7, 8, 9}), (V{0, 7, 8}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(1, {3, -1, 2}), (V{3, -1, 2}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {5, 1, 1, 1, 1}), (V{5, 5, 5, 1, 1}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {-3, -4}), (V{-3, -3}));
  EXPECT_EQ(Filtered<CMaxFilter<float>>(3, {2, 7, 7, 1, 1, 1}), (V{2, 7, 7, 7, 7, 1}));

  // A second Create starts afresh, as a new filter would.
  CMaxFilter<float> f;
  f.Create(3);
  Filtered(f, {9, 9, 9, 9});
  f.Create(3);
  EXPECT_EQ(Filtered(f, {-3, -4, -5, -6}), (V{-3, -3, -3, -4}));

  CDlyLine<float> none;
  float x = 1;
  EXPECT_EQ(none.ProcessI(&x, 1), E_FAIL);
  EXPECT_EQ(none.Create(0), E_INVALIDARG);
  none.Create(2);
  EXPECT_EQ(none.ProcessI(nullptr, 1), E_POINTER);
  EXPECT_EQ(none.ProcessI(&x, 0), S_OK);
  EXPECT_EQ(x, 1);
}

TEST(Filters, MaximumIsThatOfTheLastInputsWhateverTheBlocks) {
  std::mt19937 rng(5);
  V in(3000);
  for (float& v : in) v = static_cast<float>(std::uniform_int_distribution<int>(-20, 20)(rng));
  for (int window : {1, 2, 5, 64}) {
    CMaxFilter<float> f;
    f.Create(window);
    V out;
    for (std::size_t i = 0; i < in.size();) {
      const std::size_t n = std::min<std::size_t>(rng() % (2 * window + 2), in.size() - i);
      V block(in.begin() + i, in.begin() + i + n);
      f.ProcessI(block.data(), static_cast<int>(n));
      out.insert(out.end(), block.begin(), block.end());
      i += n;
    }
    for (std::size_t i = 0; i < in.size(); ++i) {
      const std::size_t from = i + 1 >= static_cast<std::size_t>(window) ? i + 1 - window : 0;
      ASSERT_EQ(out[i], *std::max_element(in.begin() + from, in.begin() + i + 1)) << window << " at " << i;
    }
  }
}

// The median as the plain exchange sort of the window in storage order gives
// it, without any shortcut.
V ReferenceMedian(int window, const V& in) {
  V ring(window, 0.0f), sorted(window), out;
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

// Segments of different kinds: ties with zeros of both signs, infinities,
// plain noise, and short bursts of NaN with long stretches free of them.
V MedianStream(std::mt19937& rng, int length) {
  const float inf = std::numeric_limits<float>::infinity();
  const float pool[] = {-0.0f, 0.0f, -0.0f, 0.0f, 1.0f, -1.0f, 2.5f, -2.5f, inf, -inf};
  V v;
  while (static_cast<int>(v.size()) < length) {
    const int kind = static_cast<int>(rng() % 4);
    for (int i = 0; i < 600; ++i) {
      if (kind == 0)
        v.push_back(pool[rng() % 4 + (rng() % 3 == 0 ? 4 : 0)]);  // mostly zeros
      else if (kind == 1)
        v.push_back(pool[rng() % 10]);
      else
        v.push_back(std::normal_distribution<float>()(rng));
    }
    if (kind == 3) {
      const std::size_t at = v.size() - 600 + rng() % 100;
      for (std::size_t k = 0; k < 1 + rng() % 3; ++k) v[at + k * (rng() % 5)] = std::nanf("");
    }
  }
  v.resize(length);
  return v;
}

bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(Filters, MedianIsBitForBitTheExchangeSortsInAnyBlocks) {
  EXPECT_EQ(Filtered<CMedFilter<float>>(2, {1, 5}), (V{0, 1}));
  EXPECT_EQ(Filtered<CMedFilter<float>>(1, {4, -2, 9}), (V{4, -2, 9}));

  std::mt19937 rng(11);
  for (int window : {1, 2, 3, 4, 31, 255}) {
    const V in = MedianStream(rng, window == 255 ? 8000 : 20000);
    const V expected = ReferenceMedian(window, in);
    int posZeros = 0, negZeros = 0;
    for (float e : expected)
      if (e == 0) (std::signbit(e) ? negZeros : posZeros)++;
    if (window > 1) {
      EXPECT_GT(posZeros, 50) << window;  // the data reach the choice between zero signs
      EXPECT_GT(negZeros, 50) << window;
    }
    EXPECT_GT(std::count_if(in.begin(), in.end(), [](float x) { return std::isnan(x); }), 0);

    // Whole (0), sample by sample, around the window length, and at random
    // lengths with empty calls among them (-1).
    for (int split : {0, 1, window - 1, window, window + 1, -1}) {
      CMedFilter<float> f;
      f.Create(window);
      V out = in;
      for (std::size_t i = 0; i < out.size();) {
        std::size_t n = split > 0 ? split : split == 0 ? out.size() : rng() % (2 * window + 3);
        n = std::min(n, out.size() - i);
        ASSERT_EQ(f.ProcessI(out.data() + i, static_cast<int>(n)), S_OK);
        i += n;
      }
      for (std::size_t i = 0; i < in.size(); ++i)
        ASSERT_TRUE(SameBits(out[i], expected[i]))
            << "window " << window << " split " << split << " at " << i << ": " << out[i] << " vs " << expected[i];
    }
  }
}

TEST(Filters, SecondCreateRestartsTheMedian) {
  CMedFilter<float> f;
  f.Create(3);
  Filtered(f, {std::nanf(""), -0.0f, 5, 6});
  f.Create(5);
  EXPECT_EQ(Filtered(f, {1, 2, 3, 4, 5, 6}), (V{0, 0, 1, 2, 3, 4}));
}

}  // namespace

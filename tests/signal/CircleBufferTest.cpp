#include <gtest/gtest.h>

#include <orvek/signal/CircleBuffer.h>

#include <algorithm>
#include <climits>
#include <random>
#include <thread>
#include <vector>

namespace {

template <typename T>
class CircleBufferTest : public ::testing::Test {};
using ElementTypes = ::testing::Types<char, short, unsigned short, int, float, double>;
TYPED_TEST_SUITE(CircleBufferTest, ElementTypes);

template <typename T>
std::vector<T> Seq(int first, int count) {
  std::vector<T> v;
  for (int i = 0; i < count; ++i) v.push_back(static_cast<T>(first + i));
  return v;
}

// Read position, write position and element count.
template <typename T>
std::vector<int> State(CCircleBuffer<T>& r) {
  return {r.GetRdPtr(), r.GetWrPtr(), r.GetElementsAmount()};
}

TYPED_TEST(CircleBufferTest, CopiesHistoryAndPiecesInPlace) {
  using T = TypeParam;
  CCircleBuffer<T> ring, other;
  T *p1 = nullptr, *p2 = nullptr;
  int n1 = -1, n2 = -1;
  T v[3] = {T(1), T(2), T(3)};
  ring.Push(v, 3);  // before Create: nothing happens
  ring.Pop(v, 3);
  ring.Drop(2);
  EXPECT_EQ(v[0], T(1));
  EXPECT_EQ(ring.GetElementsAmount(), 0);
  EXPECT_EQ(ring.GetHistory(v, 1), E_OUTOFMEMORY);
  EXPECT_EQ(ring.GetWrBuffer(1, &p1, &n1, &p2, &n2), E_INVALIDARG);

  ring.Create(8);
  const std::vector<T> a = Seq<T>(1, 11), junk = Seq<T>(90, 8), b = Seq<T>(20, 11);
  ring.Push(a.data(), 3);
  ring.Push(a.data() + 3, 5);  // wraps onto the read position: looks empty
  EXPECT_EQ(State(ring), (std::vector<int>{0, 0, 0}));
  ring.Push(junk.data(), 8);  // exactly the capacity: nothing moves or is stored
  std::vector<T> hist(8), out(7);
  EXPECT_EQ(ring.GetHistory(hist.data(), 8), S_OK);
  EXPECT_EQ(hist, Seq<T>(1, 8));
  ring.Push(b.data(), 11);  // the first 3 are stored, the position moves by 3
  EXPECT_EQ(ring.GetWrPtr(), 3);
  ring.Drop(1);
  ring.Pop(out.data(), 2);
  EXPECT_EQ(std::vector<T>(out.begin(), out.begin() + 2), Seq<T>(21, 2));
  ring.Push(a.data(), 7);  // wraps at the end of the storage
  EXPECT_EQ(ring.GetElementsAmount(), 7);
  ring.Pop(out.data(), 7);
  EXPECT_EQ(out, Seq<T>(1, 7));
  // History ignores the read position: the whole ring, oldest first; one element more is refused.
  EXPECT_EQ(ring.GetHistory(hist.data(), 8), S_OK);
  EXPECT_EQ(hist, (std::vector<T>{T(22), T(1), T(2), T(3), T(4), T(5), T(6), T(7)}));
  std::vector<T> untouched(9, T(99));
  EXPECT_EQ(ring.GetHistory(untouched.data(), 9), E_OUTOFMEMORY);
  EXPECT_EQ(untouched, std::vector<T>(9, T(99)));
  ring.Create(16);  // a second Create replaces the storage and empties the ring
  EXPECT_EQ(ring.GetRdPtr() + ring.GetWrPtr(), 0);
  ring.Push(nullptr, 12);
  EXPECT_EQ(ring.GetElementsAmount(), 12);
  ring.Clear();
  EXPECT_EQ(ring.GetElementsAmount(), 0);

  // In place: the pieces of storage, and Pop with a null target against Drop.
  for (CCircleBuffer<T>* r : {&ring, &other}) {
    r->Create(8);
    r->Push(nullptr, 6);
    r->Drop(1);
  }
  ASSERT_EQ(ring.GetRdBuffer(2, &p1, &n1, &p2, &n2), S_OK);
  T* const start = p1 - 1;
  EXPECT_EQ(n1 * 10 + n2, 20);
  EXPECT_EQ(p2, start);  // the start of the storage, not null
  ASSERT_EQ(ring.GetWrBuffer(5, &p1, &n1, &p2, &n2), S_OK);
  EXPECT_EQ(std::make_pair(p1, p2), std::make_pair(start + 6, start));
  EXPECT_EQ(n1 * 10 + n2, 23);
  EXPECT_EQ(ring.GetWrPtr(), 6);  // no position moved
  for (int i = 0; i < n1; ++i) p1[i] = T(40 + i);
  for (int i = 0; i < n2; ++i) p2[i] = T(42 + i);
  ring.Push(nullptr, 5);
  hist.resize(5);
  EXPECT_EQ(ring.GetHistory(hist.data(), 5), S_OK);
  EXPECT_EQ(hist, Seq<T>(40, 5));
  EXPECT_EQ(ring.GetWrBuffer(2, nullptr, &n1, &p2, &n2), E_POINTER);
  EXPECT_EQ(ring.GetRdBuffer(9, &p1, &n1, &p2, &n2), E_INVALIDARG);
  other.Push(nullptr, 5);
  ring.Pop(nullptr, 7);
  other.Drop(7);
  EXPECT_EQ(State(ring), State(other));
}

// Negative and huge counts and null pointers: a defined result, positions always inside the ring.
TEST(CircleBuffer, HostileCountsAndPointers) {
  const int kCounts[] = {-1, INT_MIN, INT_MAX, INT_MAX - 1, 0};
  CCircleBuffer<double> ring;
  double buf[4] = {1, 2, 3, 4}, *p1, *p2;
  int n1, n2;
  for (int c : kCounts) {  // before Create nothing moves
    ring.Push(buf, c);
    ring.Pop(nullptr, c);
    ring.Drop(c);
  }
  EXPECT_EQ(ring.GetElementsAmount(), 0);
  ring.Create(INT_MIN);
  ring.Create(4);
  for (int c : kCounts) {
    ring.Push(nullptr, c);
    ring.Pop(nullptr, c);
    ring.Drop(c);
    EXPECT_TRUE(ring.GetRdPtr() >= 0 && ring.GetRdPtr() < 4 && ring.GetWrPtr() >= 0 && ring.GetWrPtr() < 4) << c;
  }
  ring.Push(buf, INT_MAX);  // INT_MAX modulo 4: the first 3 elements
  const struct {
    int count;
    LONG history, region;
  } cases[] = {{-1, E_INVALIDARG, E_INVALIDARG},
               {INT_MIN, E_INVALIDARG, E_INVALIDARG},
               {5, E_OUTOFMEMORY, E_INVALIDARG},
               {INT_MAX, E_OUTOFMEMORY, E_INVALIDARG},
               {4, S_OK, S_OK},
               {0, S_OK, S_OK}};
  for (const auto& k : cases) {
    EXPECT_EQ(ring.GetHistory(buf, k.count), k.history) << k.count;
    EXPECT_EQ(ring.GetWrBuffer(k.count, &p1, &n1, &p2, &n2), k.region) << k.count;
    EXPECT_EQ(ring.GetRdBuffer(k.count, &p1, &n1, &p2, &n2), k.region) << k.count;
  }
  EXPECT_EQ(ring.GetHistory(nullptr, 2), E_POINTER);
  EXPECT_EQ(ring.GetRdBuffer(2, &p1, &n1, &p2, nullptr), E_POINTER);
}

// A writer and a reader move a counting sequence in random blocks, each by copy or in place; neither overtakes.
TEST(CircleBuffer, WriterAndReaderMoveTenMillionFloatsIntact) {
  constexpr int kTotal = 10000000, kCapacity = 4096;  // exact as floats: below 2^24
  CCircleBuffer<float> ring;
  ring.Create(kCapacity);
  int firstBad = -1, badPosition = 0, inPlaceIn = 0, inPlaceOut = 0;
  std::thread writer([&] {
    std::mt19937 rng(1);
    std::vector<float> block(kCapacity);
    for (int next = 0; next < kTotal;) {
      const int n = std::min<int>(1 + rng() % (kCapacity - 1), kTotal - next);
      while (kCapacity - 1 - ring.GetElementsAmount() < n) std::this_thread::yield();
      const int rd = ring.GetRdPtr();  // unlocked, while the reader moves it
      badPosition |= rd < 0 || rd >= kCapacity;
      float *p1 = block.data(), *p2 = nullptr;
      int n1 = n, n2 = 0;
      const bool bInPlace = rng() & 1;
      if (bInPlace) badPosition |= ring.GetWrBuffer(n, &p1, &n1, &p2, &n2) != S_OK;
      for (int i = 0; i < n1; ++i) p1[i] = static_cast<float>(next + i);
      for (int i = 0; i < n2; ++i) p2[i] = static_cast<float>(next + n1 + i);
      ring.Push(bInPlace ? nullptr : block.data(), n);
      inPlaceIn += bInPlace;
      next += n;
    }
  });
  std::thread reader([&] {
    std::mt19937 rng(2);
    std::vector<float> block(kCapacity);
    for (int next = 0; next < kTotal && firstBad < 0;) {
      int avail;
      while ((avail = ring.GetElementsAmount()) == 0) std::this_thread::yield();
      const int n = std::min<int>(1 + rng() % (kCapacity - 1), avail);
      float *p1 = block.data(), *p2 = nullptr;
      int n1 = n, n2 = 0;
      const unsigned mode = rng() % 3;  // by copy, in place and Pop, in place and Drop
      if (mode == 0)
        ring.Pop(block.data(), n);
      else if (ring.GetRdBuffer(n, &p1, &n1, &p2, &n2) != S_OK)
        firstBad = next;
      for (int i = 0; i < n && firstBad < 0; ++i)
        if ((i < n1 ? p1[i] : p2[i - n1]) != static_cast<float>(next + i)) firstBad = next + i;
      if (mode == 1) ring.Pop(nullptr, n);
      if (mode == 2) ring.Drop(n);
      inPlaceOut += mode != 0;
      next += n;
    }
  });
  writer.join();
  reader.join();
  EXPECT_EQ(firstBad, -1) << "first element out of order";
  EXPECT_EQ(badPosition, 0);
  EXPECT_EQ(ring.GetElementsAmount(), 0);
  EXPECT_GT(std::min(inPlaceIn, inPlaceOut), 100);  // both ways were taken on both sides
}

}  // namespace

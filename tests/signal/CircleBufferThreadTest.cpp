#include <gtest/gtest.h>

#include <orvek/signal/CircleBuffer.h>

#include <algorithm>
#include <random>
#include <thread>

namespace {

constexpr int kTotal = 10000000;  // exact as floats: below 2^24
constexpr int kCapacity = 4096;

// One writer and one reader move a counting sequence through the ring in
// blocks of random size, each block at random by copy or in place. The writer
// waits for room and the reader for data, so the positions never cross.
TEST(CircleBufferThreads, WriterAndReaderMoveTenMillionFloatsIntact) {
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
      if (bInPlace) ring.GetWrBuffer(n, &p1, &n1, &p2, &n2);
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
      else
        ring.GetRdBuffer(n, &p1, &n1, &p2, &n2);
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
  EXPECT_GT(inPlaceIn, 100);  // both ways were taken on both sides
  EXPECT_GT(inPlaceOut, 100);
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/signal/CircleBuffer.h>

#include <atomic>
#include <random>
#include <thread>

namespace {

constexpr int kTotal = 10000000;
constexpr int kCapacity = 4096;

// One writer and one reader move a counting sequence of floats (exact up to
// 2^24) through the ring in blocks of random size, each block at random by
// copy or in place. The writer waits for room and the reader for data, so
// the positions never cross.
TEST(CircleBufferThreads, WriterAndReaderMoveTenMillionFloatsIntact) {
  CCircleBuffer<float> ring;
  ring.Create(kCapacity);
  std::atomic<int> badIndex{-1};
  std::atomic<int> badPosition{0};
  int copiesIn = 0, inPlaceIn = 0, copiesOut = 0, inPlaceOut = 0;

  std::thread writer([&] {
    std::mt19937 rng(1);
    std::vector<float> block(kCapacity);
    for (int next = 0; next < kTotal;) {
      const int n = std::min<int>(std::uniform_int_distribution<int>(1, kCapacity - 1)(rng), kTotal - next);
      while (kCapacity - 1 - ring.GetElementsAmount() < n) std::this_thread::yield();
      const int rd = ring.GetRdPtr();  // unlocked, while the reader moves it
      if (rd < 0 || rd >= kCapacity) badPosition = 1;
      if (rng() & 1) {
        for (int i = 0; i < n; ++i) block[i] = static_cast<float>(next + i);
        ring.Push(block.data(), n);
        ++copiesIn;
      } else {
        float *p1, *p2;
        int n1, n2;
        ring.GetWrBuffer(n, &p1, &n1, &p2, &n2);
        for (int i = 0; i < n1; ++i) p1[i] = static_cast<float>(next + i);
        for (int i = 0; i < n2; ++i) p2[i] = static_cast<float>(next + n1 + i);
        ring.Push(nullptr, n);
        ++inPlaceIn;
      }
      next += n;
    }
  });

  std::thread reader([&] {
    std::mt19937 rng(2);
    std::vector<float> block(kCapacity);
    for (int next = 0; next < kTotal && badIndex < 0;) {
      const int want = std::uniform_int_distribution<int>(1, kCapacity - 1)(rng);
      int avail;
      while ((avail = ring.GetElementsAmount()) == 0) std::this_thread::yield();
      const int n = std::min(want, avail);
      auto check = [&](const float* p, int count, int first) {
        for (int i = 0; i < count; ++i)
          if (p[i] != static_cast<float>(first + i) && badIndex < 0) badIndex = first + i;
      };
      if (rng() & 1) {
        ring.Pop(block.data(), n);
        check(block.data(), n, next);
        ++copiesOut;
      } else {
        float *p1, *p2;
        int n1, n2;
        ring.GetRdBuffer(n, &p1, &n1, &p2, &n2);
        check(p1, n1, next);
        check(p2, n2, next + n1);
        if (rng() & 1)
          ring.Pop(nullptr, n);
        else
          ring.Drop(n);
        ++inPlaceOut;
      }
      next += n;
    }
  });

  writer.join();
  reader.join();
  EXPECT_EQ(badIndex.load(), -1) << "first element out of order";
  EXPECT_EQ(badPosition.load(), 0);
  EXPECT_EQ(ring.GetElementsAmount(), 0);
  EXPECT_GT(copiesIn, 0);
  EXPECT_GT(inPlaceIn, 0);
  EXPECT_GT(copiesOut, 0);
  EXPECT_GT(inPlaceOut, 0);
}

}  // namespace

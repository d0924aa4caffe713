#include <gtest/gtest.h>

#include <orvek/signal/CircleBuffer.h>

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

TYPED_TEST(CircleBufferTest, CopiesCountsAndHistory) {
  using T = TypeParam;
  CCircleBuffer<T> ring;
  ring.Create(8);
  const std::vector<T> a = Seq<T>(1, 11), junk = Seq<T>(90, 8), b = Seq<T>(20, 11);
  ring.Push(a.data(), 3);
  ring.Push(a.data() + 3, 5);  // wraps onto the read position: looks empty
  EXPECT_EQ(ring.GetWrPtr(), 0);
  EXPECT_EQ(ring.GetElementsAmount(), 0);
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
  // History ignores the read position: the whole ring, oldest first from the
  // write position; one element more is refused.
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
}

TYPED_TEST(CircleBufferTest, PiecesInPlaceAndUncreatedRing) {
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
  EXPECT_EQ(p1, start + 6);
  EXPECT_EQ(p2, start);
  EXPECT_EQ(n1 * 10 + n2, 23);
  EXPECT_EQ(ring.GetWrPtr(), 6);  // no position moved
  for (int i = 0; i < n1; ++i) p1[i] = T(40 + i);
  for (int i = 0; i < n2; ++i) p2[i] = T(42 + i);
  ring.Push(nullptr, 5);
  std::vector<T> hist(5);
  ring.GetHistory(hist.data(), 5);
  EXPECT_EQ(hist, Seq<T>(40, 5));
  EXPECT_EQ(ring.GetWrBuffer(2, nullptr, &n1, &p2, &n2), E_POINTER);
  EXPECT_EQ(ring.GetRdBuffer(9, &p1, &n1, &p2, &n2), E_INVALIDARG);

  other.Push(nullptr, 5);  // Pop with a null target and Drop agree
  ring.Pop(nullptr, 7);
  other.Drop(7);
  EXPECT_EQ(ring.GetRdPtr(), other.GetRdPtr());
  EXPECT_EQ(ring.GetElementsAmount(), other.GetElementsAmount());
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/signal/ScatteredArray.h>

#include <vector>

namespace {

using Array = CScatteredArray<ULONG>;
using Parts = std::vector<Array::tagPartInfo>;

TEST(ScatteredArray, PositionsAcrossBlocks) {
  ULONG a[3] = {10, 11, 12}, b[2] = {20, 21}, empty[1] = {99};
  for (bool withEmpty : {false, true}) {
    Parts parts{{a, 3}, {b, 2}};
    if (withEmpty) parts.insert(parts.begin() + 1, {empty, 0});
    Array arr;
    ASSERT_EQ(arr.Init(&parts), S_OK);
    int size = -1, part = -1, offset = -1;
    EXPECT_EQ(arr.GetArraySize(&size), S_OK);
    EXPECT_EQ(size, 5);
    const int blockB = withEmpty ? 2 : 1;
    EXPECT_EQ(arr.FindPart(3, &part, &offset), S_OK);
    EXPECT_EQ(part, blockB);
    EXPECT_EQ(offset, 0);
    EXPECT_EQ(arr.FindPart(2, &part, &offset), S_OK);
    EXPECT_EQ(part, 0);
    EXPECT_EQ(offset, 2);
    EXPECT_EQ(arr.FindPart(5, &part, &offset), E_FAIL);
    EXPECT_EQ(part, 0);  // untouched
    EXPECT_EQ(arr.FindPart(1, nullptr, &offset), E_POINTER);

    ULONG out[3] = {0, 0, 0};
    EXPECT_EQ(arr.Read(2, 2, out), S_OK);
    EXPECT_EQ(out[0], 12u);
    EXPECT_EQ(out[1], 20u);
    out[1] = 0;
    EXPECT_EQ(arr.Read(4, 2, out), E_FAIL);  // one element, then the end
    EXPECT_EQ(out[0], 21u);
    EXPECT_EQ(out[1], 0u);
    // An offset may run on past the block it names.
    EXPECT_EQ(arr.ReadPartFrom(0, 4, 1, out), S_OK);
    EXPECT_EQ(out[0], 21u);
    EXPECT_EQ(arr.ReadPartFrom(blockB, 0, 2, out), S_OK);
    EXPECT_EQ(out[1], 21u);

    const ULONG in[3] = {7, 8, 9};
    EXPECT_EQ(arr.Write(1, 3, in), S_OK);
    EXPECT_EQ(a[1], 7u);
    EXPECT_EQ(a[2], 8u);
    EXPECT_EQ(b[0], 9u);
    EXPECT_EQ(empty[0], 99u);
    EXPECT_EQ(arr.WritePartFrom(blockB, 1, 2, in), E_FAIL);
    EXPECT_EQ(b[1], 7u);  // the part before the end is written
    a[1] = 11, a[2] = 12, b[0] = 20, b[1] = 21;
  }
}

TEST(ScatteredArray, EmptyListsAndCopies) {
  Array arr;
  ULONG x = 5;
  int size = -1;
  EXPECT_EQ(arr.GetArraySize(&size), S_OK);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(arr.Read(0, 0, &x), S_OK);
  EXPECT_EQ(arr.Read(0, 1, &x), E_FAIL);
  EXPECT_EQ(arr.Read(0, 1, nullptr), E_POINTER);
  EXPECT_EQ(arr.Init(nullptr), E_POINTER);

  ULONG block[2] = {1, 2};
  Parts parts{{block, 2}};
  arr.Init(&parts);
  Array copy(arr);  // shares the blocks
  const ULONG v = 42;
  copy.Write(1, 1, &v);
  EXPECT_EQ(arr.Read(1, 1, &x), S_OK);
  EXPECT_EQ(x, 42u);
  EXPECT_EQ(arr.Read(-1, 1, &x), E_FAIL);
}

}  // namespace

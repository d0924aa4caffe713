#include <gtest/gtest.h>

#include <orvek/signal/ScatteredArray.h>

#include <vector>

namespace {

using Array = CScatteredArray<ULONG>;

TEST(ScatteredArray, PositionsRunsAndEndsAcrossBlocks) {
  for (bool withEmpty : {false, true}) {  // an empty block changes nothing
    ULONG a[3] = {10, 11, 12}, b[2] = {20, 21}, empty[1] = {99}, out[3] = {0, 0, 0};
    std::vector<Array::tagPartInfo> parts{{a, 3}, {b, 2}};
    if (withEmpty) parts.insert(parts.begin() + 1, {empty, 0});
    const int blockB = withEmpty ? 2 : 1;
    Array arr;
    ASSERT_EQ(arr.Init(&parts), S_OK);
    int size = -1, part = -1, offset = -1;
    EXPECT_EQ(arr.GetArraySize(&size), S_OK);
    EXPECT_EQ(size, 5);
    EXPECT_EQ(arr.FindPart(3, &part, &offset), S_OK);
    EXPECT_EQ(part * 10 + offset, blockB * 10);
    EXPECT_EQ(arr.FindPart(2, &part, &offset), S_OK);
    EXPECT_EQ(part * 10 + offset, 2);
    EXPECT_EQ(arr.FindPart(5, &part, &offset), E_FAIL);
    EXPECT_EQ(part * 10 + offset, 2);  // untouched

    EXPECT_EQ(arr.Read(2, 2, out), S_OK);
    EXPECT_EQ(out[0] * 100 + out[1], 1220u);
    out[1] = 0;
    EXPECT_EQ(arr.Read(4, 2, out), E_FAIL);  // one element, then the end
    EXPECT_EQ(out[0] * 100 + out[1], 2100u);
    EXPECT_EQ(arr.ReadPartFrom(0, 4, 1, out), S_OK);  // the offset runs on
    EXPECT_EQ(out[0], 21u);

    const ULONG in[3] = {7, 8, 9};
    EXPECT_EQ(arr.Write(1, 3, in), S_OK);
    EXPECT_EQ((std::vector<ULONG>{a[1], a[2], b[0], empty[0]}), (std::vector<ULONG>{7, 8, 9, 99}));
    EXPECT_EQ(arr.WritePartFrom(blockB, 1, 2, in), E_FAIL);
    EXPECT_EQ(b[1], 7u);  // the part before the end is written

    Array empties;
    EXPECT_EQ(empties.Read(0, 0, out), S_OK);
    EXPECT_EQ(empties.Read(0, 1, out), E_FAIL);
    EXPECT_EQ(arr.Read(0, 1, nullptr), E_POINTER);
    EXPECT_EQ(arr.FindPart(1, nullptr, &offset), E_POINTER);
  }
}

}  // namespace

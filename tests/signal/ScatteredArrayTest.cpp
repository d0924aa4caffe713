#include <gtest/gtest.h>

#include <orvek/signal/ScatteredArray.h>

#include <climits>
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

// Block lists and runs that no position can reach: refused, and a refused
// list leaves the last one in place.
TEST(ScatteredArray, HostileBlocksRunsAndPositions) {
  using Array = CScatteredArray<ULONG>;
  ULONG a[3] = {1, 2, 3}, out[8] = {};
  const struct {
    std::vector<Array::tagPartInfo> parts;
    LONG result;
  } inits[] = {
      {{{a, 3}}, S_OK},
      {{{nullptr, 0}, {a, -5}, {a, 3}}, S_OK},  // empty blocks need no memory
      {{{a, 3}, {nullptr, 2}}, E_POINTER},      // a block without memory
      {{{a, INT_MAX}, {a, 1}}, E_INVALIDARG},   // beyond the range of a position
      {{{a, INT_MAX / 2 + 1}, {a, INT_MAX / 2 + 1}}, E_INVALIDARG},
  };
  Array arr;
  for (const auto& k : inits) {
    auto parts = k.parts;
    EXPECT_EQ(arr.Init(&parts), k.result);
    int size = -1;
    EXPECT_EQ(arr.GetArraySize(&size), S_OK);
    EXPECT_EQ(size, 3);  // a refused list leaves the last one
  }
  EXPECT_EQ(arr.Init(nullptr), E_POINTER);
  EXPECT_EQ(arr.GetArraySize(nullptr), E_POINTER);
  const struct {
    int part, offset, count;
    LONG result;
  } runs[] = {{0, -1, 1, E_FAIL},      {-1, 0, 1, E_FAIL},      {INT_MIN, 0, 1, E_FAIL}, {INT_MAX, 0, 1, E_FAIL},
              {0, INT_MAX, 1, E_FAIL}, {0, 2, INT_MAX, E_FAIL}, {0, 0, INT_MIN, S_OK},   {0, 0, -1, S_OK}};
  for (const auto& k : runs) {
    EXPECT_EQ(arr.ReadPartFrom(k.part, k.offset, k.count, out), k.result) << k.part << " " << k.offset;
    EXPECT_EQ(arr.WritePartFrom(k.part, k.offset, k.count, out), k.result) << k.part << " " << k.offset;
  }
  EXPECT_EQ(arr.Read(INT_MIN, 1, out), E_FAIL);
  EXPECT_EQ(arr.Write(0, 1, nullptr), E_POINTER);
  int part = 7, offset = 7;
  for (int pos : {-1, INT_MIN, INT_MAX}) EXPECT_EQ(arr.FindPart(pos, &part, &offset), E_FAIL);
  EXPECT_EQ(part * 10 + offset, 77);
  EXPECT_EQ(arr.FindPart(0, &part, nullptr), E_POINTER);
}

}  // namespace

#include <orvek/tuning/model/ParamRules.h>

#include <orvek/platform/core/Rect.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>

using namespace ParamRules;

namespace {
template <typename... T>
using Rows = std::initializer_list<std::tuple<T...>>;
std::wstring W(const CStringW& s) { return s.GetString(); }
std::pair<int, int> Shape(int items, int groups, const TabGrowth& growth = {0, 0, 0, 0}) {
  int c = -1, r = -1;
  ColumnsRows(items, groups, growth, &c, &r);
  return {c, r};
}
}  // namespace

TEST(ParamRules, LinearAndLogScales) {
  // 257 positions, both ends reachable; equal bounds and NaN stand at 0.
  for (auto [v, lo, hi, pos] : Rows<float, double, double, int>{
           {0.25f, -1, 1, 160}, {0.1f, 0, 0.3, 85}, {1.0f, -1, 1, 256}, {2.0f, 2, 2, 0}, {std::nanf(""), 0, 1, 0}})
    EXPECT_EQ(pos, FloatToPos(v, lo, hi)) << v;
  for (auto [pos, lo, hi, v] : Rows<int, double, double, float>{
           {160, -1, 1, 0.25f}, {85, 0, 0.3, 0.099609375f}, {256, -1, 1, 1}, {0, -1, 1, -1}})
    EXPECT_EQ(v, PosToFloat(pos, lo, hi)) << pos;

  // 10 to 5000 Hz: the ends are the bounds, every position comes back to
  // itself, and each step multiplies by the same factor.
  EXPECT_EQ(LogPosToFloat(0, 10.0, 5000.0), 10.0f);
  EXPECT_EQ(LogPosToFloat(256, 10.0, 5000.0), 5000.0f);
  EXPECT_EQ(LogFloatToPos(440.0f, 10.0, 5000.0), 156);  // log(44) / log(500) * 256 = 155.9
  const double step = std::pow(500.0, 1.0 / 256);
  for (int pos = 0; pos <= 256; ++pos) {
    ASSERT_EQ(LogFloatToPos(LogPosToFloat(pos, 10.0, 5000.0), 10.0, 5000.0), pos);
    if (pos == 0) continue;
    EXPECT_NEAR(LogPosToFloat(pos, 10, 5000) / LogPosToFloat(pos - 1, 10, 5000), step, 1e-5) << pos;
  }
  EXPECT_EQ(LogFloatDecimals(10.0, 5000.0), 1);  // the lowest step is 0.25 Hz
  EXPECT_EQ(W(LogFloatText(440.0f, 10.0, 5000.0)), L"440.0");
  EXPECT_EQ(W(ValueText(ePT_Float, 440.0f, 10.0, 5000.0)), L"440");
  // Bounds that are not both positive fall back to the linear scale.
  for (double lo : {0.0, -1.0}) {
    EXPECT_EQ(LogFloatToPos(0.5f, lo, 1.0), FloatToPos(0.5f, lo, 1.0)) << lo;
    EXPECT_EQ(LogPosToFloat(100, lo, 1.0), PosToFloat(100, lo, 1.0)) << lo;
    EXPECT_EQ(LogFloatDecimals(lo, 1.0), FloatDecimals(lo, 1.0)) << lo;
  }
  EXPECT_FALSE(LogScaleUsable(5.0, 5.0));
  EXPECT_EQ(LogFloatToPos(-1.0f, 1.0, 10.0), 0);
}

TEST(ParamRules, ClampingDecimalsAndTexts) {
  // The upper bound wins: NaN and crossing bounds; bounds narrowed to float first.
  for (auto [v, lo, hi, out] : Rows<float, double, double, float>{{5, 0, 1, 1},
                                                                  {-5, 0, 1, 0},
                                                                  {0.5f, 0, 1, 0.5f},
                                                                  {std::nanf(""), 0, 1, 1},
                                                                  {0.5f, 1, 0, 0},
                                                                  {0.3f, 0, 0.3, 0.3f}})
    EXPECT_EQ(out, ClampFloat(v, lo, hi)) << v << " in " << lo << ".." << hi;
  for (auto [v, lo, hi, out] : Rows<int, double, double, int>{{7, 0.9, 5.9, 5}, {-3, -1.7, 5, -1}, {3, 5, 1, 1}})
    EXPECT_EQ(out, ClampInt(v, lo, hi)) << v;
  EXPECT_EQ(TruncToInt(1e300), INT_MAX);
  EXPECT_EQ(TruncToInt(-2.9), -2);

  for (auto [lo, hi, decimals] :
       Rows<double, double, int>{{0, 1, 3}, {0, 10, 2}, {0, 100, 1}, {0, 256, 0}, {0, 1000, 0}, {3, 3, 0}, {1, -1, 0}})
    EXPECT_EQ(decimals, FloatDecimals(lo, hi)) << lo << ".." << hi;
  EXPECT_EQ(W(FloatText(0.25f, 0.0, 1.0)), L"0.250");
  EXPECT_EQ(W(FloatText(-3.5f, -10.0, 0.0)), L"-3.50");
  EXPECT_EQ(W(FloatText(7.0f, 7.0, 7.0)), L"7");
  EXPECT_EQ(W(IntText(-42)), L"-42");
  for (auto [type, format] : Rows<int, const wchar_t*>{
           {ePT_Float, L"%f"}, {ePT_LogFloat, L"%f"}, {ePT_List, L"%d"}, {ePT_Group, L""}, {9, L""}}) {
    const wchar_t* got = TypeFormat(static_cast<eParamTypeV2>(type));
    ASSERT_NE(got, nullptr) << type;
    EXPECT_EQ(std::wstring(got), format) << type;
  }
}

TEST(ParamRules, ColumnsRowsCellsAndGroups) {
  // Up to 8 in one column; then {first, last, columns, rows}.
  for (int n = 1; n <= 8; ++n) EXPECT_EQ(Shape(n, 1), std::make_pair(1, n)) << n;
  for (auto [first, last, c, r] : Rows<int, int, int, int>{{9, 9, 2, 8},
                                                           {10, 10, 2, 9},
                                                           {11, 11, 2, 10},
                                                           {12, 22, 2, 11},
                                                           {23, 24, 2, 12},
                                                           {25, 26, 2, 13},
                                                           {27, 28, 3, 13},
                                                           {29, 30, 3, 14},
                                                           {31, 32, 3, 15},
                                                           {33, 48, 3, 16}})
    for (int n = first; n <= last; ++n) EXPECT_EQ(Shape(n, 1), std::make_pair(c, r)) << n;
  EXPECT_EQ(Shape(0, 0), std::make_pair(0, 0));

  // 7 parameters, no group: one column of 7 (client 240 x 305, see the limits test).
  for (int p = 0; p < 7; ++p) EXPECT_EQ(CPoint(CellCorner(p, 7, 0, 0)), CPoint(20, 20 + 40 * p)) << p;
  // Three parameters, a group, two parameters, tabs growing by 4, 24, 4, 4.
  EXPECT_EQ(Shape(3, 2, TabGrowth{4, 24, 4, 4}), std::make_pair(1, 3));
  EXPECT_EQ(CSize(BlockSize(1, 3)), CSize(240, 145));
  EXPECT_EQ(CellCorner(2, 3, 19, 39).y, 139);
  EXPECT_EQ(CellCorner(0, 3, 19, 39).x, 39);

  auto entry = [](eParamTypeV2 t) { return tagParamInfoV2{L"x", t, nullptr, 0, 0, nullptr, nullptr, nullptr, 0}; };
  const auto G = entry(ePT_Group), F = entry(ePT_Float), I = entry(ePT_Int), B = entry(ePT_Bool);
  // {list, groups, largest group}
  for (const auto& [list, groups, largest] : Rows<std::vector<tagParamInfoV2>, int, int>{
           {{}, 0, 0}, {{F, F, G, I}, 2, 2}, {{G, B, B, B, G, I, I, I, I, I, I, I, I, I}, 2, 9}, {{G, G}, 2, 0}}) {
    int g = -1, n = -1;
    CountGroups(list, &g, &n);
    EXPECT_EQ(std::make_pair(g, n), std::make_pair(groups, largest)) << list.size();
  }
}

TEST(ParamRules, PoolOwnsEveryTextAndKeepsOldBlocks) {
  std::vector<tagParamInfoV2> params;
  std::vector<tagParamChoice*> blocks;
  CStringArray* pool = nullptr;
  int mode = 0;
  {
    std::wstring name = L"Mode", a = L"sine", b = L"square";
    tagParamChoice choices[2] = {{1.9, a.c_str()}, {-2.7, b.c_str()}};
    params.push_back(tagParamInfoV2{name.c_str(), ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 2});
    SavePool(&params, &blocks, &pool);
    name.assign(L"XXXX");
    a.assign(L"????");
    choices[0].dValue = 99;
  }  // the host's strings and choices are gone
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(std::wstring(params[0].pszName), L"Mode");
  EXPECT_EQ(params[0].pChoices, blocks[0]);
  EXPECT_EQ(std::wstring(params[0].pChoices[0].pszText), L"sine");
  EXPECT_EQ(params[0].pChoices[0].dValue, 1.9);
  // A second pass copies from the first pool, deletes it, and adds a new block beside the old one.
  params.push_back(tagParamInfoV2{L"Gain", ePT_Float, nullptr, 0, 1, nullptr, nullptr, nullptr, 0});
  SavePool(&params, &blocks, &pool);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(params[0].pChoices, blocks[1]);
  EXPECT_EQ(std::wstring(params[0].pChoices[1].pszText), L"square");
  EXPECT_EQ(std::wstring(params[1].pszName), L"Gain");
  EXPECT_EQ(pool->GetSize(), 4);
  for (auto* blk : blocks) delete[] blk;
  delete pool;
}

TEST(ParamRules, LayoutArithmeticHoldsAtTheLimitsOfAnInt) {
  // More items than a list can hold take the largest list's block; none or a negative count an empty one.
  for (int n : {1000000, INT_MAX}) EXPECT_EQ(Shape(n, 2), Shape(999999, 1)) << n;
  EXPECT_EQ(Shape(INT_MIN, 2, TabGrowth{INT_MAX, INT_MAX, INT_MAX, INT_MAX}), std::make_pair(0, 0));
  // An empty list still has margins.
  for (auto [columns, rows, cx, cy] : Rows<int, int, LONG, LONG>{{INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                                                                 {INT_MIN, -3, 25, 25},
                                                                 {-1, 1, 25, 65},
                                                                 {1, 7, 240, 305},
                                                                 {0, 0, 25, 25}})
    EXPECT_EQ(CSize(BlockSize(columns, rows)), CSize(cx, cy)) << columns << " x " << rows;
  for (auto [p, rows, offsetX, offsetY, x, y] :
       Rows<int, int, int, int, LONG, LONG>{{999998, 1, INT_MAX, INT_MIN, INT_MAX, INT_MIN + 20},
                                            {INT_MAX, 2, 0, 0, INT_MAX, 60},
                                            {INT_MIN, -1, INT_MIN, INT_MAX, INT_MIN + 20, INT_MAX},
                                            {3, 2, 19, 39, 254, 99}})
    EXPECT_EQ(CPoint(CellCorner(p, rows, offsetX, offsetY)), CPoint(x, y)) << p;
}

#include <orvek/tuning/model/ParamRules.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>

using namespace ParamRules;

TEST(ParamRules, FloatScaleExamples) {
  EXPECT_EQ(FloatToPos(0.25f, -1.0, 1.0), 160);
  EXPECT_EQ(PosToFloat(160, -1.0, 1.0), 0.25f);
  EXPECT_EQ(FloatToPos(0.1f, 0.0, 0.3), 85);
  EXPECT_EQ(PosToFloat(85, 0.0, 0.3), 0.099609375f);
  // 257 positions: both ends are reachable.
  EXPECT_EQ(FloatToPos(1.0f, -1.0, 1.0), 256);
  EXPECT_EQ(PosToFloat(256, -1.0, 1.0), 1.0f);
  EXPECT_EQ(PosToFloat(0, -1.0, 1.0), -1.0f);
  // Equal bounds: the slider stands at 0 instead of an undefined position.
  EXPECT_EQ(FloatToPos(2.0f, 2.0, 2.0), 0);
  EXPECT_EQ(FloatToPos(std::numeric_limits<float>::quiet_NaN(), 0.0, 1.0), 0);
}

TEST(ParamRules, LogScaleSpreadsPositionsEvenlyInTheLogarithm) {
  // 10 to 5000 Hz: the ends are the bounds, every position comes back to
  // itself, and each step multiplies by the same factor.
  EXPECT_EQ(LogPosToFloat(0, 10.0, 5000.0), 10.0f);
  EXPECT_EQ(LogPosToFloat(256, 10.0, 5000.0), 5000.0f);
  EXPECT_EQ(LogFloatToPos(440.0f, 10.0, 5000.0), 156);  // log(44) / log(500) * 256 = 155.9
  for (int pos = 0; pos <= 256; ++pos) {
    ASSERT_EQ(LogFloatToPos(LogPosToFloat(pos, 10.0, 5000.0), 10.0, 5000.0), pos);
    if (pos > 0) {
      EXPECT_NEAR(LogPosToFloat(pos, 10.0, 5000.0) / LogPosToFloat(pos - 1, 10.0, 5000.0), std::pow(500.0, 1.0 / 256),
                  1e-5);
    }
  }
  EXPECT_EQ(LogFloatDecimals(10.0, 5000.0), 1);  // the lowest step is 0.25 Hz
  EXPECT_EQ(std::wstring(LogFloatText(440.0f, 10.0, 5000.0).GetString()), L"440.0");
  EXPECT_EQ(std::wstring(ValueText(ePT_Float, 440.0f, 10.0, 5000.0).GetString()), L"440");
  EXPECT_EQ(std::wstring(TypeFormat(ePT_LogFloat)), L"%f");
  // Bounds that are not both positive fall back to the linear scale.
  for (double lo : {0.0, -1.0}) {
    EXPECT_EQ(LogFloatToPos(0.5f, lo, 1.0), FloatToPos(0.5f, lo, 1.0)) << lo;
    EXPECT_EQ(LogPosToFloat(100, lo, 1.0), PosToFloat(100, lo, 1.0)) << lo;
    EXPECT_EQ(LogFloatDecimals(lo, 1.0), FloatDecimals(lo, 1.0)) << lo;
  }
  EXPECT_FALSE(LogScaleUsable(5.0, 5.0));
  EXPECT_EQ(LogFloatToPos(-1.0f, 1.0, 10.0), 0);
}

TEST(ParamRules, ClampingLetsTheUpperBoundWin) {
  EXPECT_EQ(ClampFloat(5.0f, 0.0, 1.0), 1.0f);
  EXPECT_EQ(ClampFloat(-5.0f, 0.0, 1.0), 0.0f);
  EXPECT_EQ(ClampFloat(0.5f, 0.0, 1.0), 0.5f);
  EXPECT_EQ(ClampFloat(std::nanf(""), 0.0, 1.0), 1.0f);
  EXPECT_EQ(ClampFloat(0.5f, 1.0, 0.0), 0.0f);  // crossing bounds
  EXPECT_EQ(ClampFloat(0.3f, 0.0, 0.3), 0.3f);  // bounds narrowed to float first
  EXPECT_EQ(ClampInt(7, 0.9, 5.9), 5);
  EXPECT_EQ(ClampInt(-3, -1.7, 5.0), -1);
  EXPECT_EQ(ClampInt(3, 5.0, 1.0), 1);
  EXPECT_EQ(TruncToInt(1e300), INT_MAX);
  EXPECT_EQ(TruncToInt(-2.9), -2);
}

TEST(ParamRules, DecimalsAndTexts) {
  EXPECT_EQ(FloatDecimals(0.0, 1.0), 3);
  EXPECT_EQ(FloatDecimals(0.0, 10.0), 2);
  EXPECT_EQ(FloatDecimals(0.0, 100.0), 1);
  EXPECT_EQ(FloatDecimals(0.0, 256.0), 0);
  EXPECT_EQ(FloatDecimals(0.0, 1000.0), 0);
  EXPECT_EQ(FloatDecimals(3.0, 3.0), 0);
  EXPECT_EQ(FloatDecimals(1.0, -1.0), 0);
  EXPECT_EQ(std::wstring(FloatText(0.25f, 0.0, 1.0).GetString()), L"0.250");
  EXPECT_EQ(std::wstring(FloatText(-3.5f, -10.0, 0.0).GetString()), L"-3.50");
  EXPECT_EQ(std::wstring(FloatText(7.0f, 7.0, 7.0).GetString()), L"7");
  EXPECT_EQ(std::wstring(IntText(-42).GetString()), L"-42");
  EXPECT_EQ(std::wstring(TypeFormat(ePT_Float)), L"%f");
  EXPECT_EQ(std::wstring(TypeFormat(ePT_List)), L"%d");
  ASSERT_NE(TypeFormat(ePT_Group), nullptr);
  EXPECT_EQ(std::wstring(TypeFormat(ePT_Group)), L"");
  EXPECT_EQ(std::wstring(TypeFormat(static_cast<eParamTypeV2>(9))), L"");
}

TEST(ParamRules, ColumnsAndRowsTable) {
  const TabGrowth none{0, 0, 0, 0};
  struct Row {
    int first, last, columns, rows;
  } table[] = {{9, 9, 2, 8},    {10, 10, 2, 9},  {11, 11, 2, 10}, {12, 22, 2, 11}, {23, 24, 2, 12},
               {25, 26, 2, 13}, {27, 28, 3, 13}, {29, 30, 3, 14}, {31, 32, 3, 15}, {33, 48, 3, 16}};
  for (int n = 1; n <= 8; ++n) {
    int c, r;
    ColumnsRows(n, 1, none, &c, &r);
    EXPECT_EQ(c, 1) << n;
    EXPECT_EQ(r, n) << n;
  }
  for (const auto& row : table) {
    for (int n = row.first; n <= row.last; ++n) {
      int c, r;
      ColumnsRows(n, 1, none, &c, &r);
      EXPECT_EQ(c, row.columns) << n;
      EXPECT_EQ(r, row.rows) << n;
    }
  }
  int c = -1, r = -1;
  ColumnsRows(0, 0, none, &c, &r);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(r, 0);
}

TEST(ParamRules, LayoutExamples) {
  // 7 parameters, no group: one column of 7 (client 240 x 305, checked with
  // the limits below).
  int c, r;
  for (int p = 0; p < 7; ++p) {
    const POINT corner = CellCorner(p, 7, 0, 0);
    EXPECT_EQ(corner.x, 20);
    EXPECT_EQ(corner.y, 20 + 40 * p);
  }
  // Three parameters, a group, two parameters, tabs growing by 4, 24, 4, 4.
  ColumnsRows(3, 2, TabGrowth{4, 24, 4, 4}, &c, &r);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(r, 3);
  EXPECT_EQ(BlockSize(c, r).cx, 240);
  EXPECT_EQ(BlockSize(c, r).cy, 145);
  EXPECT_EQ(CellCorner(2, r, 19, 39).y, 139);
  EXPECT_EQ(CellCorner(0, r, 19, 39).x, 39);
}

TEST(ParamRules, GroupCounting) {
  auto entry = [](eParamTypeV2 t) { return tagParamInfoV2{L"x", t, nullptr, 0, 0, nullptr, nullptr, nullptr, 0}; };
  int g, n;
  CountGroups({}, &g, &n);
  EXPECT_EQ(g, 0);
  EXPECT_EQ(n, 0);
  CountGroups({entry(ePT_Float), entry(ePT_Float), entry(ePT_Group), entry(ePT_Int)}, &g, &n);
  EXPECT_EQ(g, 2);
  EXPECT_EQ(n, 2);
  std::vector<tagParamInfoV2> twoGroups{entry(ePT_Group)};
  for (int i = 0; i < 3; ++i) twoGroups.push_back(entry(ePT_Bool));
  twoGroups.push_back(entry(ePT_Group));
  for (int i = 0; i < 9; ++i) twoGroups.push_back(entry(ePT_Int));
  CountGroups(twoGroups, &g, &n);
  EXPECT_EQ(g, 2);
  EXPECT_EQ(n, 9);
  CountGroups({entry(ePT_Group), entry(ePT_Group)}, &g, &n);
  EXPECT_EQ(g, 2);
  EXPECT_EQ(n, 0);
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
  // A second pass copies from the first pool, which it then deletes, and
  // adds a new block while keeping the old one.
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
  const TabGrowth none{0, 0, 0, 0};
  int c = -1, r = -1, c999 = -1, r999 = -1;
  // More items than a list can hold take the block of the largest list, at
  // once; none or a negative count give an empty block.
  ColumnsRows(999999, 1, none, &c999, &r999);
  for (int n : {1000000, INT_MAX}) {
    ColumnsRows(n, 2, none, &c, &r);
    EXPECT_EQ(c, c999) << n;
    EXPECT_EQ(r, r999) << n;
  }
  ColumnsRows(INT_MIN, 2, TabGrowth{INT_MAX, INT_MAX, INT_MAX, INT_MAX}, &c, &r);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(r, 0);

  struct {
    int columns, rows;
    LONG cx, cy;
  } blocks[] = {{INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                {INT_MIN, -3, 25, 25},
                {-1, 1, 25, 65},
                {1, 7, 240, 305},
                {0, 0, 25, 25}};  // an empty list still has margins
  for (const auto& b : blocks) {
    const SIZE s = BlockSize(b.columns, b.rows);
    EXPECT_EQ(s.cx, b.cx) << b.columns << " x " << b.rows;
    EXPECT_EQ(s.cy, b.cy) << b.columns << " x " << b.rows;
  }
  struct {
    int p, rows, offsetX, offsetY;
    LONG x, y;
  } corners[] = {{999998, 1, INT_MAX, INT_MIN, INT_MAX, INT_MIN + 20},
                 {INT_MAX, 2, 0, 0, INT_MAX, 60},
                 {INT_MIN, -1, INT_MIN, INT_MAX, INT_MIN + 20, INT_MAX},
                 {3, 2, 19, 39, 254, 99}};
  for (const auto& k : corners) {
    const POINT at = CellCorner(k.p, k.rows, k.offsetX, k.offsetY);
    EXPECT_EQ(at.x, k.x) << k.p;
    EXPECT_EQ(at.y, k.y) << k.p;
  }
}

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/plotting/drawer/AxesDrawerBase.h>

namespace {

std::string Narrow(const wchar_t* text) { return std::string(CStringA(CStringW(text)).GetString()); }
using Strings = std::vector<std::string>;
using Rect4 = std::tuple<LONG, LONG, LONG, LONG>;
Rect4 R(const tagRECT& r) { return {r.left, r.top, r.right, r.bottom}; }

// Records every virtual call; texts measure 6 pixels a character, 10 high.
class Recorder : public CAxesDrawerBase {
 public:
  using CAxesDrawerBase::AddToRectStat;
  using CAxesDrawerBase::CalculateClosestNonIntersectRect;
  using CAxesDrawerBase::DrawAxes;
  using CAxesDrawerBase::DrawAxes2;
  using CAxesDrawerBase::FormatGridCaption;
  using CAxesDrawerBase::GetGridStepX;
  using CAxesDrawerBase::IsRectIntersects;
  using CAxesDrawerBase::IsRectsIntersects;
  using CAxesDrawerBase::OffsetRectCenter;
  using CAxesDrawerBase::OffsetRectToBounds;
  using CAxesDrawerBase::OffsetRectToBoundsCenter;

  Strings calls;
  std::vector<std::pair<int, int>> grid;               // (x1, y1) of each line
  std::vector<std::pair<std::string, tagRECT>> texts;  // drawn captions, axis by axis
  std::vector<std::pair<std::string, tagRECT>> legends;

  void DrawGrid(int x1, int y1, int x2, int y2) override {
    calls.push_back(x1 == x2 ? "gridV" : "gridH");
    grid.push_back({x1 == x2 ? x1 : -1, y1 == y2 ? y1 : -1});
  }
  void MeasureAxisString(wchar_t const* text, tagRECT* rect, eAxis axis) override {
    calls.push_back(axis == eAxisX ? "measureX" : "measureY");
    *rect = {0, 0, 6 * static_cast<LONG>(wcslen(text)), 10};
  }
  void MeasureLegendString(wchar_t const* text, tagRECT* rect) override {
    calls.push_back("measureL");
    *rect = {0, 0, 6 * static_cast<LONG>(wcslen(text)), 10};
  }
  void DrawAxisString(wchar_t const* text, tagRECT* rect, eAxis axis) override {
    calls.push_back(axis == eAxisX ? "drawX" : "drawY");
    texts.push_back({(axis == eAxisX ? "x" : "y") + Narrow(text), *rect});
  }
  void DrawLegendString(wchar_t const* text, tagRECT* rect) override {
    calls.push_back("drawL");
    legends.push_back({Narrow(text), *rect});
  }
  void FormatGridCaption(CStringW* caption, float value, float step, eAxis axis, int form) override {
    calls.push_back("format" + std::to_string(form));
    CAxesDrawerBase::FormatGridCaption(caption, value, step, axis, form);
  }
  void GetGridStepX(float min, float max, float minStep, float* first, float* step) override {
    calls.push_back("stepX");
    CAxesDrawerBase::GetGridStepX(min, max, minStep, first, step);
  }
  void GetGridStepY(float min, float max, float minStep, float* first, float* step) override {
    calls.push_back("stepY");
    CAxesDrawerBase::GetGridStepY(min, max, minStep, first, step);
  }
  Strings Drawn(char axis) const {
    Strings out;
    for (const auto& t : texts)
      if (t.first[0] == axis) out.push_back(t.first.substr(1));
    return out;
  }
};

// FNV-1a over everything a drawing did: calls, grid lines, texts and where they went.
std::uint64_t Fingerprint(const Recorder& r) {
  std::uint64_t h = 1469598103934665603ull;
  auto mix = [&](long long v) {
    for (int i = 0; i < 8; ++i, v >>= 8) h = (h ^ static_cast<unsigned char>(v)) * 1099511628211ull;
  };
  for (const auto& c : r.calls)
    for (char ch : c) mix(ch);
  for (const auto& g : r.grid) mix(g.first * 65536LL + g.second);
  for (const auto* list : {&r.texts, &r.legends})
    for (const auto& [text, rc] : *list) {
      for (char ch : text) mix(ch);
      for (long long v : {rc.left, rc.top, rc.right, rc.bottom}) mix(v);
    }
  return h;
}

// A linear congruential sequence, the same on every platform.
struct Lcg {
  unsigned seed;
  int operator()(int n) { return static_cast<int>((seed = seed * 1103515245u + 12345u) >> 16) % n; }
};

}  // namespace

TEST(Axes, GridStepsFirstLinesAndCaptions) {
  Recorder r;
  float first = 0, step = 0;
  // {min, wanted step, step, first line}: steps round up to 1, 2 or 5 a decade; a wanted 0 gives none.
  const float steps[][4] = {{0, 1, 1, 0},       {0, 2, 2, 0},    {0, 5, 5, 0},    {0, 10, 10, 0},
                            {0, 0.5f, 0.5f, 0}, {0, 2.5f, 5, 0}, {0, 7, 10, 0},   {0, 0.1f, 0.2f, 0},
                            {0, 0.2f, 0.5f, 0}, {0, 1.4f, 2, 0}, {3.7f, 1, 1, 3}, {-3.7f, 1, 1, -4},
                            {0, 0, 0, 0}};
  for (const auto& s : steps) {
    r.GetGridStepX(s[0], 0, s[1], &first, &step);
    EXPECT_EQ(step, s[2]) << s[1];
    if (s[0] != 0) {
      EXPECT_EQ(first, s[3]) << s[0];
    }
  }
  // {value, step, form, caption}: form 0 scales by a power of ten, form 1 writes the number (whole beyond 32 bits).
  const struct {
    float value, step;
    int form;
    const char* text;
  } captions[] = {// clang-format off
      {0, 200, 0, " 0 "},          {0, 0.2f, 1, " 0 "},         {200, 200, 0, " 0.2  E3 "}, {10000, 1000, 0, " 1  E4 "},
      {-400, 200, 0, " -0.4  E3 "}, {1.5f, 0.5f, 0, " 1.5 "},     {1.2f, 0.2f, 1, " 1.2 "},   {1.0f, 0.2f, 1, " 1 "},
      {2.0f, 0.01f, 1, " 2 "},     {1.5f, 0.01f, 1, " 1.5 "},    {3.7f, 1.0f, 1, " 3 "},     {-3.7f, 1.0f, 1, " -3 "},
      {5.0e9f, 1.0e9f, 1, " 5000000000 "}};  // clang-format on
  for (const auto& c : captions) {
    CStringW text;
    r.FormatGridCaption(&text, c.value, c.step, CAxesDrawerBase::eAxisX, c.form);
    EXPECT_EQ(Narrow(text), c.text) << c.value << "/" << c.step;
  }

  // 0 to 7 in 5 cells: step 2, lines at 0, 2, 4, 6; the one at the left edge keeps its caption but draws no line.
  r.DrawAxes({0, 0, 701, 401}, L"t", 0, 7, 5, L"x", 1, 2, 1, L"y");
  std::vector<int> columns;
  for (const auto& g : r.grid)
    if (g.first >= 0) columns.push_back(g.first);
  EXPECT_EQ(columns, (std::vector<int>{200, 400, 600}));
  EXPECT_EQ(r.Drawn('x'), (Strings{" 0 ", " 2 ", " 4 ", " 6 "}));
  // First lines are moved inside the range, also below zero.
  for (const auto& [from, to, caption] :
       {std::tuple<float, float, const char*>{3.7f, 9.0f, " 4 "}, {-3.7f, 1.0f, " -3 "}}) {
    Recorder a;
    a.DrawAxes({0, 0, 701, 401}, L"", from, to, 5, L"", 1, 2, 1, L"");
    EXPECT_EQ(a.Drawn('x').front(), caption);
  }
}

TEST(Axes, VirtualCallOrder) {
  Recorder r;
  // Lines at 0, 1, 2 on each axis; only the middle ones are inside, and y = 0 is the shared zero corner.
  r.DrawAxes({0, 0, 201, 201}, L"T", 0, 2, 2, L"X", 0, 2, 2, L"Y");
  const Strings both = {"format0", "measureX", "format1", "measureX"};
  Strings expected = {"stepX", "stepY"};
  for (const Strings& v : {both, {"gridV"}, both, both}) expected.insert(expected.end(), v.begin(), v.end());
  for (int i = 0; i < 3; ++i) expected.insert(expected.end(), {"format1", "measureX", "drawX"});
  expected.insert(expected.end(), {"gridH", "format0", "measureY", "format1", "measureY", "format0", "measureY",
                                   "format1", "measureY"});
  for (int i = 0; i < 2; ++i) expected.insert(expected.end(), {"format1", "measureY", "drawY"});
  expected.insert(expected.end(), {"measureL", "drawL", "measureL", "drawL", "measureL", "drawL"});
  EXPECT_EQ(r.calls, expected);
  // " 0 " stands once, at the x axis; with xMin not 0, a y value of 0 keeps its caption and line.
  EXPECT_EQ(std::make_pair(r.Drawn('x'), r.Drawn('y')),
            std::make_pair(Strings{" 0 ", " 1 ", " 2 "}, Strings{" 1 ", " 2 "}));
  Recorder s;
  s.DrawAxes({0, 0, 201, 201}, L"T", 1, 3, 2, L"X", 0, 2, 2, L"Y");
  EXPECT_EQ(s.Drawn('y').front(), " 0 ");
}

TEST(Axes, LegendsAndDroppedCaptions) {
  Recorder keep, drop, empty, tiny;
  keep.DrawAxes({0, 0, 301, 201}, L"Title", 0, 10, 5, L"Xn", 0, 10, 5, L"Yn");
  drop.DrawAxes2({0, 0, 301, 201}, L"Title", 0, 10, 5, L"Xn", 0, 10, 5, L"Yn");
  // Centring pushes the end x captions over the edges: clamping counts as a move, so the second form drops them.
  Strings kept = keep.Drawn('x'), dropped = drop.Drawn('x');
  EXPECT_EQ(std::make_tuple(kept.front(), kept.back(), dropped.front()), std::make_tuple(" 0 ", " 10 ", " 2 "));
  EXPECT_EQ(dropped.size(), kept.size() - 2);
  // The title centred at the top; the x name right-aligned on the tops of the x captions.
  ASSERT_EQ(keep.legends.size(), 3u);
  const tagRECT &title = keep.legends[0].second, &xName = keep.legends[1].second;
  EXPECT_EQ(std::make_tuple(title.top, (title.left + title.right) / 2, xName.right, xName.bottom),
            std::make_tuple(0, 150, 301, 190));
  // An axis without lines: the x name goes to the bottom, the y name left.
  empty.DrawAxes({0, 0, 301, 201}, L"T", 5, 5, 5, L"Xn", 3, 3, 5, L"Yn");
  EXPECT_TRUE(empty.texts.empty() && empty.grid.empty());
  EXPECT_EQ(std::make_pair(empty.legends[1].second.bottom, empty.legends[2].second.left), std::make_pair(201, 0));
  // A step so small against the values that adding it changes nothing ends.
  tiny.DrawAxes({0, 0, 301, 201}, L"", 1.0e8f, 1.0e8f + 64.0f, 1000000, L"", 0, 1, 0, L"");
  EXPECT_LE(tiny.texts.size(), 200u);
  // GetX and GetY of the ends of a range.
  EXPECT_EQ((std::vector<int>{
                CAxesDrawerBase::GetX({10, 0, 110, 50}, 0, 1, 0), CAxesDrawerBase::GetX({10, 0, 110, 50}, 0, 1, 1),
                CAxesDrawerBase::GetY({0, 10, 50, 110}, 0, 1, 0), CAxesDrawerBase::GetY({0, 10, 50, 110}, 0, 1, 1)}),
            (std::vector<int>{10, 109, 109, 10}));
}

TEST(Placement, AxesFormAndHostForm) {
  Recorder r;
  const tagRECT box = {0, 0, 100, 100}, flat = {0, 10, 100, 20};
  const struct {
    const char* what;
    tagRECT bounds;
    std::vector<tagRECT> used;
    tagRECT start;
    bool found;
    tagRECT placed;
  } rows[] = {
      // clang-format off
      {"brought into the bounds", box, {}, {-5, 10, 15, 20}, true, {0, 10, 20, 20}},
      {"ties: above before below", box, {{10, 10, 20, 20}}, {10, 10, 20, 20}, true, {10, 0, 20, 10}},
      {"ties: right before left", flat, {{10, 10, 20, 20}}, {10, 10, 20, 20}, true, {20, 10, 30, 20}},
      {"wider than the bounds: aligned left, no place", box, {{0, 0, 50, 50}}, {10, 10, 210, 20}, false, {0, 10, 200, 20}},
      {"diagonal when the straight ones are blocked", box,
       {{40, 40, 60, 60}, {40, 20, 60, 40}, {40, 60, 60, 80}, {20, 40, 40, 60}, {60, 40, 80, 60}},
       {45, 45, 55, 55}, true, {60, 30, 70, 40}},
      // clang-format on
  };
  for (auto row : rows) {
    EXPECT_EQ(r.CalculateClosestNonIntersectRect(&row.start, &row.bounds, &row.used), row.found) << row.what;
    EXPECT_EQ(R(row.start), R(row.placed)) << row.what;
  }
  // Shared edges do not intersect, so a candidate may lie against one.
  const tagRECT a = {0, 0, 10, 10}, b = {10, 0, 20, 10};
  EXPECT_FALSE(r.IsRectsIntersects(&a, &b));
  float best = 1.0f;
  tagRECT bestRect = {}, probe = {0, 0, 10, 10};
  std::vector<tagRECT> used;
  EXPECT_FALSE(r.AddToRectStat(&probe, 3, 4, &best, &bestRect, &box, &used));  // 5 is not below 1

  // The host's form leaves a rectangle outside the bounds there, and an empty one meets nothing.
  CRect bounds(0, 0, 100, 100);
  const struct {
    std::vector<CRect> used;
    bool noList;
    CRect start;
    bool found;
    CRect placed;
  } host[] = {{{}, false, {-5, 10, 15, 20}, true, {-5, 10, 15, 20}},
              {{}, true, {-5, 10, 15, 20}, true, {-5, 10, 15, 20}},
              {{{10, 10, 20, 20}}, false, {10, 10, 20, 20}, true, {10, 0, 20, 10}},
              {{{10, 10, 20, 20}}, false, {12, 12, 12, 18}, true, {12, 12, 12, 18}},
              {{{40, 40, 60, 60}}, false, {0, 0, 100, 100}, false, {0, 0, 100, 100}}};
  for (auto h : host) {
    EXPECT_EQ(COrvekGlobals::CalculateClosestNonIntersectRect(&h.start, bounds, h.noList ? nullptr : &h.used), h.found);
    EXPECT_EQ(h.start, h.placed);
  }
  // Inside the bounds both forms agree, case by case.
  Lcg next{7};
  for (int round = 0; round < 300; ++round) {
    std::vector<CRect> hostUsed;
    std::vector<tagRECT> axesUsed;
    for (int k = next(6); k > 0; --k) {
      const int x = next(80), y = next(80);
      hostUsed.push_back(CRect(x, y, x + 1 + next(30), y + 1 + next(30)));
      axesUsed.push_back(hostUsed.back());
    }
    const int x = next(80), y = next(80);
    CRect hostRect(x, y, x + 1 + next(20), y + 1 + next(20));
    tagRECT axesRect = hostRect;
    if (hostRect.right > 100 || hostRect.bottom > 100) continue;
    const tagRECT axesBounds = bounds;
    EXPECT_EQ(COrvekGlobals::CalculateClosestNonIntersectRect(&hostRect, bounds, &hostUsed),
              r.CalculateClosestNonIntersectRect(&axesRect, &axesBounds, &axesUsed));
    EXPECT_EQ(R(hostRect), R(axesRect));
  }
}

// Grids within the cell bound keep the placement they had with the exhaustive
// search (fingerprints taken from it); counts far out of range end quickly.
TEST(Axes, OrdinaryGridsKeepTheirPlacement) {
  // Fingerprints by size, range and cell counts, each with captions kept and dropped.
  const std::uint64_t prints[] = {
      0xf37c2751faba79daull, 0x7f396104ba6e8873ull, 0x116b0eee3db03681ull, 0xb3521d02c63afc0bull, 0x116b0eee3db03681ull,
      0xb3521d02c63afc0bull, 0xfaaa4646634776d7ull, 0xabe12f37d176bff0ull, 0x1577fe8fb74e3238ull, 0x1577fe8fb74e3238ull,
      0x29ff14e9f920198bull, 0xff59c2005bc30fe3ull, 0x29ff14e9f920198bull, 0xff59c2005bc30fe3ull, 0xa1270235dcefae1eull,
      0xc5ae4f6317364612ull, 0x8452ff5139d2ea2aull, 0x0e9151f71be8b992ull, 0xfbd0dfe8f0c92e4full, 0x7a0b3b590bb159eaull,
      0xfbd0dfe8f0c92e4full, 0x7a0b3b590bb159eaull, 0x205cf487716e801aull, 0x2b9b0aa3868fe69aull, 0xf675b5df355e23a7ull,
      0xf40b77674705304eull, 0x8d63a1c8014766a6ull, 0xc9027c82cc1e93fcull, 0xd6d3e848b2616eadull, 0xd41d71d25d341b6bull,
      0x12c0eec6d25f102eull, 0x803ed3d70b1e58b9ull, 0xc48da0087b0d2617ull, 0x921f4f3910892ed4ull, 0x49a9dfa490b53526ull,
      0x49a9dfa490b53526ull, 0x755a54792943e4d9ull, 0xe2a3f2a9ba2e9d04ull, 0x755a54792943e4d9ull, 0xe2a3f2a9ba2e9d04ull,
      0x82d5ba029cbbbcd7ull, 0xc1aa6082342cd8a6ull, 0xce5ab50535658affull, 0xb64616b5987ef4edull, 0x331079317161a927ull,
      0x2aaaa873f3411fe3ull, 0x1c75ae0851a85884ull, 0x87eae0823ec314e5ull, 0xc60fd7c3d8da18cbull, 0xf2c67dfc756eb07aull,
      0x3eb23afccca12c73ull, 0xba01eba27f275f83ull, 0x2743500044c50e54ull, 0xed8dc6577087164eull};
  const float ranges[][4] = {
      {0.0f, 7.0f, 0.0f, 1.0f}, {-3.7f, 12.3f, -100000.0f, 300000.0f}, {0.0001f, 0.003f, 0.0f, 100.0f}};
  const std::vector<std::pair<int, int>> small = {{5, 3}, {8, 6}, {10, 7}, {20, 15}},
                                         large = {{5, 3}, {8, 4}, {10, 6}, {20, 12}, {40, 24}};
  std::size_t at = 0;
  for (const auto& [w, h, divs] :
       {std::tuple<int, int, const std::vector<std::pair<int, int>>*>{400, 300, &small}, {1000, 600, &large}})
    for (const auto& range : ranges)
      for (const auto& [xDiv, yDiv] : *divs)
        for (const bool keep : {true, false}) {
          Recorder r;
          (r.*(keep ? &Recorder::DrawAxes : &Recorder::DrawAxes2))({0, 0, w, h}, L"Title", range[0], range[1], xDiv,
                                                                   L"x", range[2], range[3], yDiv, L"y");
          ASSERT_LT(at, std::size(prints));
          EXPECT_EQ(Fingerprint(r), prints[at++]) << w << "x" << h << " " << xDiv << "/" << yDiv << " " << keep;
        }
  EXPECT_EQ(at, std::size(prints));
  for (const int div : {0, -5, 51, 1000000, INT_MAX, INT_MIN}) {
    Recorder r;
    const auto t0 = std::chrono::steady_clock::now();
    r.DrawAxes({0, 0, 1000, 600}, L"T", -3.7f, 12.3f, div, L"x", 0, 1, div, L"y");
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(200)) << div;
    EXPECT_LE(r.texts.size(), 1000u / CAxesDrawerBase::kMinCellPixels + 600u / CAxesDrawerBase::kMinCellPixels + 2);
  }
}

// The search gives what trying every candidate in order gives, also among
// crowded, overlapping and tied rectangles, in both forms.
TEST(Placement, SameAsTheExhaustiveSearch) {
  auto exhaustive = [](tagRECT* rect, const tagRECT* bounds, std::vector<tagRECT>* used) {
    tagRECT start = *rect, best = *rect;
    float d = 3.4028235e38f;
    for (const tagRECT& u : *used) {
      const int above = u.top - start.bottom, below = u.bottom - start.top;
      for (const auto& [dx, dy] :
           {std::pair<int, int>{0, above}, {0, below}, {u.right - start.left, 0}, {u.left - start.right, 0}})
        Recorder::AddToRectStat(&start, dx, dy, &d, &best, bounds, used);
      for (const int dy : {above, below})
        for (const tagRECT& v : *used) {
          Recorder::AddToRectStat(&start, v.right - start.left, dy, &d, &best, bounds, used);
          Recorder::AddToRectStat(&start, v.left - start.right, dy, &d, &best, bounds, used);
        }
    }
    *rect = best;
    return d != 3.4028235e38f;
  };
  Lcg next{11};
  for (int round = 0; round < 3000; ++round) {
    const int grid = 1 + next(6);  // coarse grids give many equal distances
    std::vector<tagRECT> used;
    for (int k = next(40); k > 0; --k) {
      const int x = next(20) * grid, y = next(20) * grid;
      used.push_back({x, y, x + grid * (1 + next(6)), y + grid * (1 + next(3))});
    }
    const int x = next(20) * grid, y = next(20) * grid;
    const tagRECT start = {x, y, x + grid * (1 + next(6)), y + grid * (1 + next(3))};
    const tagRECT bounds = {0, 0, 20 * grid + next(3), 20 * grid + next(3)};
    tagRECT a = start;
    Recorder::CalculateClosestNonIntersectRect(&a, &bounds, &used);  // into the bounds
    tagRECT b = a, c = start;
    const bool expected = !Recorder::IsRectIntersects(&a, &used) || exhaustive(&b, &bounds, &used);
    EXPECT_EQ(Recorder::CalculateClosestNonIntersectRect(&c, &bounds, &used), expected) << round;
    EXPECT_EQ(R(c), R(b)) << round;
  }
}

// Rectangles near the 32-bit limits: no overflow (the sanitizer build watches), and a far move stays exact.
TEST(Placement, RectanglesNearTheLimits) {
  const int hi = INT_MAX, lo = INT_MIN;
  const tagRECT rects[] = {{lo, lo, hi, hi}, {hi - 5, hi - 5, hi, hi}, {lo, lo, lo + 5, lo + 5}, {hi, 0, lo, 10},
                           {0, 0, 10, 10},   {lo, 0, hi, 10},          {hi - 1, lo, hi, hi}};
  for (const tagRECT& b : rects)
    for (const tagRECT& r0 : rects) {
      std::vector<tagRECT> used(std::begin(rects), std::end(rects));
      tagRECT r = r0;
      Recorder::CalculateClosestNonIntersectRect(&r, &b, &used);
      r = r0;
      Recorder::OffsetRectCenter(&r, hi, lo);
      Recorder::OffsetRectToBoundsCenter(&r, lo, hi, &b);
      Recorder::OffsetRectToBounds(&r, hi, lo, &b);
      float best = 3.0e38f;
      tagRECT bestRect = r0, probe = r0;
      Recorder::AddToRectStat(&probe, hi, lo, &best, &bestRect, &b, &used);
      std::vector<CRect> hostUsed(std::begin(rects), std::end(rects));
      CRect host(r0), bounds(b);
      COrvekGlobals::CalculateClosestNonIntersectRect(&host, bounds, &hostUsed);
      (void)CAxesDrawerBase::GetX(r0, 0, 1, 1);
      (void)CAxesDrawerBase::GetY(r0, 0, 1, 1);
    }
  std::vector<tagRECT> used = {{lo, 0, 0, 10}};
  tagRECT r = {lo + 10, 0, lo + 20, 10};
  const tagRECT bounds = {lo, lo, hi, hi};
  EXPECT_TRUE(Recorder::CalculateClosestNonIntersectRect(&r, &bounds, &used));
  EXPECT_EQ(R(r), Rect4(lo + 10, -10, lo + 20, 0));
}

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/plotting/drawer/AxesDrawerBase.h>

namespace {

std::string Narrow(const wchar_t* text) { return std::string(CStringA(CStringW(text)).GetString()); }

// Records every virtual call; texts measure 6 pixels a character, 10 high.
class Recorder : public CAxesDrawerBase {
 public:
  using CAxesDrawerBase::AddToRectStat;
  using CAxesDrawerBase::CalculateClosestNonIntersectRect;
  using CAxesDrawerBase::DrawAxes;
  using CAxesDrawerBase::DrawAxes2;
  using CAxesDrawerBase::FormatGridCaption;
  using CAxesDrawerBase::GetGridStepX;
  using CAxesDrawerBase::IsRectsIntersects;

  std::vector<std::string> calls;
  std::vector<std::pair<int, int>> grid;  // (x1, y1) of each line
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
};

std::string Caption(float value, float step, int form) {
  Recorder r;
  CStringW text;
  r.FormatGridCaption(&text, value, step, CAxesDrawerBase::eAxisX, form);
  return Narrow(text);
}

std::vector<std::string> Drawn(const Recorder& r, char axis) {
  std::vector<std::string> out;
  for (const auto& t : r.texts)
    if (t.first[0] == axis) out.push_back(t.first.substr(1));
  return out;
}

bool Same(const tagRECT& a, const tagRECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

}  // namespace

TEST(Axes, GridStepsAndFirstLines) {
  Recorder r;
  float first = 0, step = 0;
  for (float wanted : {1.0f, 2.0f, 5.0f, 10.0f, 0.5f}) {
    r.GetGridStepX(0, 0, wanted, &first, &step);
    EXPECT_EQ(step, wanted);
  }
  const std::pair<float, float> rounded[] = {{2.5f, 5.0f}, {7.0f, 10.0f}, {0.1f, 0.2f}, {0.2f, 0.5f}, {1.4f, 2.0f}};
  for (const auto& [wanted, expected] : rounded) {
    r.GetGridStepX(0, 0, wanted, &first, &step);
    EXPECT_EQ(step, expected) << wanted;
  }
  r.GetGridStepX(3.7f, 0, 1.0f, &first, &step);
  EXPECT_EQ(first, 3.0f);
  r.GetGridStepX(-3.7f, 0, 1.0f, &first, &step);
  EXPECT_EQ(first, -4.0f);
  r.GetGridStepX(0, 0, 0.0f, &first, &step);  // empty range: no step
  EXPECT_EQ(step, 0.0f);

  // 0 to 7 in 5 cells: step 2, lines at 0, 2, 4, 6; the one at the left edge
  // keeps its caption but draws no line.
  r.DrawAxes({0, 0, 701, 401}, L"t", 0, 7, 5, L"x", 1, 2, 1, L"y");
  std::vector<int> columns;
  for (const auto& g : r.grid)
    if (g.first >= 0) columns.push_back(g.first);
  EXPECT_EQ(columns, (std::vector<int>{200, 400, 600}));
  EXPECT_EQ(Drawn(r, 'x'), (std::vector<std::string>{" 0 ", " 2 ", " 4 ", " 6 "}));

  // First lines are moved inside the range, also below zero.
  Recorder a, b;
  a.DrawAxes({0, 0, 701, 401}, L"", 3.7f, 9.0f, 5, L"", 1, 2, 1, L"");
  EXPECT_EQ(Drawn(a, 'x').front(), " 4 ");
  b.DrawAxes({0, 0, 701, 401}, L"", -3.7f, 1.0f, 5, L"", 1, 2, 1, L"");
  EXPECT_EQ(Drawn(b, 'x').front(), " -3 ");
}

TEST(Axes, CaptionForms) {
  EXPECT_EQ(Caption(0, 200, 0), " 0 ");
  EXPECT_EQ(Caption(0, 0.2f, 1), " 0 ");
  EXPECT_EQ(Caption(200, 200, 0), " 0.2  E3 ");
  EXPECT_EQ(Caption(10000, 1000, 0), " 1  E4 ");  // 1.0 loses its zero and point
  EXPECT_EQ(Caption(-400, 200, 0), " -0.4  E3 ");
  EXPECT_EQ(Caption(1.5f, 0.5f, 0), " 1.5 ");  // e = 0: the plain number
  EXPECT_EQ(Caption(1.2f, 0.2f, 1), " 1.2 ");
  EXPECT_EQ(Caption(1.0f, 0.2f, 1), " 1 ");
  EXPECT_EQ(Caption(2.0f, 0.01f, 1), " 2 ");
  EXPECT_EQ(Caption(1.5f, 0.01f, 1), " 1.5 ");
  EXPECT_EQ(Caption(3.7f, 1.0f, 1), " 3 ");
  EXPECT_EQ(Caption(-3.7f, 1.0f, 1), " -3 ");
  EXPECT_EQ(Caption(5.0e9f, 1.0e9f, 1), " 5000000000 ");  // beyond 32 bits, still whole
}

TEST(Axes, VirtualCallOrder) {
  Recorder r;
  // x 0..2 and y 0..2 in two cells: lines at 0, 1, 2 on each axis; only the
  // middle ones are inside, and y = 0 is the shared zero corner.
  r.DrawAxes({0, 0, 201, 201}, L"T", 0, 2, 2, L"X", 0, 2, 2, L"Y");
  const std::vector<std::string> measureBoth = {"format0", "measureX", "format1", "measureX"};
  std::vector<std::string> expected = {"stepX", "stepY"};
  auto add = [&](std::vector<std::string> v) { expected.insert(expected.end(), v.begin(), v.end()); };
  add(measureBoth);
  add({"gridV"});
  add(measureBoth);
  add(measureBoth);
  for (int i = 0; i < 3; ++i) add({"format1", "measureX", "drawX"});
  add({"gridH", "format0", "measureY", "format1", "measureY"});
  add({"format0", "measureY", "format1", "measureY"});
  for (int i = 0; i < 2; ++i) add({"format1", "measureY", "drawY"});
  add({"measureL", "drawL", "measureL", "drawL", "measureL", "drawL"});
  EXPECT_EQ(r.calls, expected);
  // " 0 " stands once, at the x axis.
  EXPECT_EQ(Drawn(r, 'x'), (std::vector<std::string>{" 0 ", " 1 ", " 2 "}));
  EXPECT_EQ(Drawn(r, 'y'), (std::vector<std::string>{" 1 ", " 2 "}));

  // With xMin not 0, a y value of 0 keeps its caption and line.
  Recorder s;
  s.DrawAxes({0, 0, 201, 201}, L"T", 1, 3, 2, L"X", 0, 2, 2, L"Y");
  EXPECT_EQ(Drawn(s, 'y').front(), " 0 ");
}

TEST(Axes, LegendsAndDroppedCaptions) {
  Recorder keep, drop;
  keep.DrawAxes({0, 0, 301, 201}, L"Title", 0, 10, 5, L"Xn", 0, 10, 5, L"Yn");
  drop.DrawAxes2({0, 0, 301, 201}, L"Title", 0, 10, 5, L"Xn", 0, 10, 5, L"Yn");
  // Centring pushes the first and last x captions over the edges: the
  // clamping counts as a move, so the second form leaves them out.
  const auto kept = Drawn(keep, 'x'), dropped = Drawn(drop, 'x');
  EXPECT_EQ(kept.front(), " 0 ");
  EXPECT_EQ(kept.back(), " 10 ");
  EXPECT_EQ(dropped.size(), kept.size() - 2);
  EXPECT_EQ(dropped.front(), " 2 ");
  // The title is centred at the top, the x name right-aligned on the x
  // captions, the y name at the top right of the y captions.
  ASSERT_EQ(keep.legends.size(), 3u);
  EXPECT_EQ(keep.legends[0].second.top, 0);
  EXPECT_EQ((keep.legends[0].second.left + keep.legends[0].second.right) / 2, 150);
  EXPECT_EQ(keep.legends[1].second.right, 301);
  EXPECT_EQ(keep.legends[1].second.bottom, 190);  // on the tops of the x captions
  // An axis without lines: the x name goes to the bottom, the y name left.
  Recorder empty;
  empty.DrawAxes({0, 0, 301, 201}, L"T", 5, 5, 5, L"Xn", 3, 3, 5, L"Yn");
  EXPECT_TRUE(empty.texts.empty());
  EXPECT_TRUE(empty.grid.empty());
  EXPECT_EQ(empty.legends[1].second.bottom, 201);
  EXPECT_EQ(empty.legends[2].second.left, 0);
}

TEST(Axes, DegenerateRangesEnd) {
  Recorder r;
  // A step so small against the values that adding it changes nothing.
  r.DrawAxes({0, 0, 301, 201}, L"", 1.0e8f, 1.0e8f + 64.0f, 1000000, L"", 0, 1, 0, L"");
  EXPECT_LE(r.texts.size(), 200u);
  // GetX of the ends of a range.
  EXPECT_EQ(CAxesDrawerBase::GetX({10, 0, 110, 50}, 0, 1, 0), 10);
  EXPECT_EQ(CAxesDrawerBase::GetX({10, 0, 110, 50}, 0, 1, 1), 109);
  EXPECT_EQ(CAxesDrawerBase::GetY({0, 10, 50, 110}, 0, 1, 0), 109);
  EXPECT_EQ(CAxesDrawerBase::GetY({0, 10, 50, 110}, 0, 1, 1), 10);
}

TEST(Placement, AxesForm) {
  Recorder r;
  const tagRECT bounds = {0, 0, 100, 100};
  std::vector<tagRECT> used;
  tagRECT rect = {-5, 10, 15, 20};
  EXPECT_TRUE(r.CalculateClosestNonIntersectRect(&rect, &bounds, &used));  // brought into the bounds
  EXPECT_TRUE(Same(rect, {0, 10, 20, 20}));

  // Ties: above before below, right before left.
  used = {{10, 10, 20, 20}};
  rect = {10, 10, 20, 20};
  EXPECT_TRUE(r.CalculateClosestNonIntersectRect(&rect, &bounds, &used));
  EXPECT_TRUE(Same(rect, {10, 0, 20, 10}));
  const tagRECT flat = {0, 10, 100, 20};
  rect = {10, 10, 20, 20};
  EXPECT_TRUE(r.CalculateClosestNonIntersectRect(&rect, &flat, &used));
  EXPECT_TRUE(Same(rect, {20, 10, 30, 20}));

  // Shared edges do not intersect, so a candidate may lie against one.
  const tagRECT a = {0, 0, 10, 10}, b = {10, 0, 20, 10};
  EXPECT_FALSE(r.IsRectsIntersects(&a, &b));

  // Wider than the bounds: aligned left, every candidate fails, false.
  used = {{0, 0, 50, 50}};
  rect = {10, 10, 210, 20};
  EXPECT_FALSE(r.CalculateClosestNonIntersectRect(&rect, &bounds, &used));
  EXPECT_TRUE(Same(rect, {0, 10, 200, 20}));

  // A diagonal candidate when the straight ones are blocked.
  used = {{40, 40, 60, 60}, {40, 20, 60, 40}, {40, 60, 60, 80}, {20, 40, 40, 60}, {60, 40, 80, 60}};
  rect = {45, 45, 55, 55};
  EXPECT_TRUE(r.CalculateClosestNonIntersectRect(&rect, &bounds, &used));
  EXPECT_TRUE(Same(rect, {60, 30, 70, 40}));

  float best = 1.0f;
  tagRECT bestRect = {};
  const tagRECT start = {0, 0, 10, 10};
  tagRECT probe = start;
  EXPECT_FALSE(r.AddToRectStat(&probe, 3, 4, &best, &bestRect, &bounds, &used));  // 5 is not below 1
}

TEST(Placement, HostForm) {
  CRect bounds(0, 0, 100, 100);
  std::vector<CRect> used;
  CRect rect(-5, 10, 15, 20);
  EXPECT_TRUE(COrvekGlobals::CalculateClosestNonIntersectRect(&rect, bounds, &used));
  EXPECT_EQ(rect, CRect(-5, 10, 15, 20));  // not brought into the bounds
  EXPECT_TRUE(COrvekGlobals::CalculateClosestNonIntersectRect(&rect, bounds, nullptr));
  EXPECT_EQ(rect, CRect(-5, 10, 15, 20));

  used = {CRect(10, 10, 20, 20)};
  rect = CRect(10, 10, 20, 20);
  EXPECT_TRUE(COrvekGlobals::CalculateClosestNonIntersectRect(&rect, bounds, &used));
  EXPECT_EQ(rect, CRect(10, 0, 20, 10));
  CRect empty(12, 12, 12, 18);  // an empty rectangle meets nothing
  EXPECT_TRUE(COrvekGlobals::CalculateClosestNonIntersectRect(&empty, bounds, &used));
  EXPECT_EQ(empty, CRect(12, 12, 12, 18));
  CRect full(0, 0, 100, 100);
  used = {CRect(40, 40, 60, 60)};
  EXPECT_FALSE(COrvekGlobals::CalculateClosestNonIntersectRect(&full, bounds, &used));
  EXPECT_EQ(full, CRect(0, 0, 100, 100));

  // Inside the bounds both forms agree, case by case.
  Recorder r;
  unsigned seed = 7;
  auto next = [&](int n) { return static_cast<int>((seed = seed * 1103515245u + 12345u) >> 16) % n; };
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
    const bool h = COrvekGlobals::CalculateClosestNonIntersectRect(&hostRect, bounds, &hostUsed);
    const bool a = r.CalculateClosestNonIntersectRect(&axesRect, &axesBounds, &axesUsed);
    EXPECT_EQ(h, a);
    EXPECT_TRUE(Same(hostRect, axesRect));
  }
}

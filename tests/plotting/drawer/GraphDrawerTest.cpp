#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPen>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/gfx/QtInterop.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
#include <support/SessionEnvironment.h>

using namespace Gdiplus;

namespace {

const auto* g_session = AddSessionEnvironment();

// The paint's side of the dirty marks.
void Consume(CGraphDrawer& d) { d.m_bDataPending = d.m_bAxesPending = 0; }
std::pair<int, int> Dirty(const CGraphDrawer& d) { return {d.m_iDirtyFrom, d.m_iDirtyTo}; }
std::pair<double, double> YRange(const CGraphDrawer& d) { return {d.m_dYMin, d.m_dYMax}; }

std::string Out(const char* name) { return std::string(ORVEK_TEST_BINARY_DIR) + "/" + name; }

std::uint32_t Px(Bitmap& b, int x, int y) { return QtImage(&b)->pixel(x, y) & 0xFFFFFFu; }

// A colour of full coverage over an opaque pixel, channel by channel.
std::uint32_t Over(std::uint32_t argb, std::uint32_t dst) {
  const double a = (argb >> 24) / 255.0;
  std::uint32_t out = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const double s = (argb >> shift) & 0xFF, d = (dst >> shift) & 0xFF;
    out |= static_cast<std::uint32_t>(std::lround(s * a + d * (1 - a))) << shift;
  }
  return out;
}

int Distance(std::uint32_t p, std::uint32_t q) {
  int d = 0;
  for (int shift = 0; shift <= 16; shift += 8)
    d = std::max(d, std::abs(static_cast<int>((p >> shift) & 0xFF) - static_cast<int>((q >> shift) & 0xFF)));
  return d;
}

// A drawer with its own bitmaps, as the graph window sets it up.
struct Graph {
  CGraphDrawer d;
  Bitmap axes, frame;
  Graph(int w, int h) : axes(w, h), frame(w, h) {
    d.m_rcPlot = Rect(0, 0, w, h);
    d.m_pAxesBitmap = &axes;
    d.m_pFrameBitmap = &frame;
    d.m_sTitle = L"Signal";
    d.m_sXName = L"sample";
    d.m_sYName = L"volts";
  }
  ~Graph() { d.m_pAxesBitmap = d.m_pFrameBitmap = nullptr; }
  void Paint() { d.DrawPending(); }  // the compose step of a paint
};

const DWORD kNormal[3] = {0xC080FF00u, 0xC0FF5A00u, 0xFF00FFFFu};
const DWORD kHighlight[3] = {0xC08000FFu, 0xC000A5FFu, 0xFFFFFF00u};

QImage Copy(Bitmap& b) { return QtImage(&b)->copy(); }

// The middle of what the first curve's pen covers in one column, weighted by its green; -1 where it does not pass.
double CurveRow(Bitmap& b, int x) {
  double sum = 0, weight = 0;
  for (int y = 0; y < static_cast<int>(b.GetHeight()); ++y) {
    const std::uint32_t p = Px(b, x, y);
    if ((p & 0xFF) > 0x20 || ((p >> 8) & 0xFF) < 0x20) continue;  // not the green pen
    sum += y * static_cast<double>((p >> 8) & 0xFF);
    weight += (p >> 8) & 0xFF;
  }
  return weight > 0 ? sum / weight : -1;
}

}  // namespace

TEST(Drawer, FitYRange) {
  CGraphDrawer d;
  // Flat data get 1 % either side; 0 gets 0.01; the negative margin keeps both ends.
  const double flat[][3] = {{5.0, 4.95, 5.05}, {0.0, -0.01, 0.01}, {-5.0, -5.0, -5.0}};
  for (const auto& f : flat) {
    d.FitYRange(0, f[0], f[0]);
    EXPECT_DOUBLE_EQ(d.m_dYMin, f[1]) << f[0];
    EXPECT_DOUBLE_EQ(d.m_dYMax, f[2]) << f[0];
  }
  d.FitYRange(1, 0.0, 10.0);  // equal ends: the next call snaps
  EXPECT_EQ(YRange(d), std::make_pair(-1.0, 11.0));
  d.FitYRange(1, 0.0, 100.0);  // smoothed with the two double factors
  EXPECT_EQ(YRange(d), std::make_pair(-1.0 * 0.8999999985098839 + -10.0 * 0.10000000149011612,
                                      11.0 * 0.8999999985098839 + 110.0 * 0.10000000149011612));
}

TEST(Drawer, AutomaticWindowCreepsAndDecays) {
  CGraphDrawer d;
  std::vector<float> block(300, 1.0f);
  d.SetData(block.data(), 200, 1, 0, 1);  // the first intake snaps
  EXPECT_EQ(std::make_tuple(d.m_iXFrom, d.m_iXTo, d.m_fXMax), std::make_tuple(0, 200, 200.0f));
  std::vector<int> ends;
  for (int i = 0; i < 60; ++i) {
    d.SetData(block.data(), 300, 1, 0, 1);
    ends.push_back(d.m_iXTo);
  }
  EXPECT_EQ(std::vector<int>(ends.begin(), ends.begin() + 4), (std::vector<int>{210, 219, 227, 234}));
  EXPECT_EQ(ends.back(), 291);  // the truncated step became 0
  d.m_bResetAdaptation = 1;
  d.SetData(block.data(), 300, 1, 0, 1);
  EXPECT_EQ(d.m_iXTo, 300);

  d.m_iXFrom = 100;
  std::vector<int> starts;
  for (int i = 0; i < 3; ++i) {
    d.SetData(block.data(), 300, 1, 0, 1);
    starts.push_back(d.m_iXFrom);
  }
  EXPECT_EQ(starts, (std::vector<int>{90, 81, 72}));
  d.m_iXFrom = 1;
  d.SetData(block.data(), 300, 1, 0, 1);
  EXPECT_EQ(d.m_iXFrom, 0);
}

TEST(Drawer, DirtyRangesOfIntakesFixedWindowsAndSweeps) {
  CGraphDrawer d;
  std::vector<double> block(10, 2.0);
  d.SetData(block.data(), 10, 1, 0, 1);
  // The first intake finds the window 0 to 0 and passes it on.
  EXPECT_TRUE(d.m_bDataPending && d.m_bAxesPending);
  EXPECT_EQ(Dirty(d), std::make_pair(0, 0));
  d.SetData(block.data(), 10, 1, 0, 1);  // pending: keeps its start, takes the new end
  EXPECT_EQ(Dirty(d), std::make_pair(0, 10));
  Consume(d);
  d.SetData(block.data(), 10, 1, 0, 1);
  EXPECT_EQ(Dirty(d), std::make_pair(0, 10));

  // Fixed mode: the window, no axes; a reversed Y pair is stored as it is.
  d.SetROI(2, 8, 5, 1, 4, 3.0, -3.0, 1, -1, 4);
  EXPECT_EQ(std::make_tuple(d.m_fXMin, d.m_fXMax, d.m_dYMin), std::make_tuple(1.0f, 5.0f, 3.0));
  Consume(d);
  d.SetData(block.data(), 10, 1, 0, 1);
  EXPECT_EQ(std::make_tuple(d.m_bAxesPending, Dirty(d), d.m_dYMin), std::make_tuple(0, std::make_pair(2, 8), 3.0));

  // SetROIAutoY: the range includes the data and the given span; the same window again changes nothing.
  d.SetROIAutoY(0, 10, 0, 10, 5, -4.0, 1.0, 5);
  EXPECT_TRUE(d.m_bAutoY && !d.m_bAutoX);
  EXPECT_DOUBLE_EQ(d.m_dYMin, -4.6);
  EXPECT_DOUBLE_EQ(d.m_dYMax, 2.6);
  d.SetROIAutoY(0, 10, 0, 10, 5, -40.0, 10.0, 5);
  EXPECT_DOUBLE_EQ(d.m_dYMin, -4.6);
  // On a new drawer the default window is such a call too: full automatic mode stays.
  CGraphDrawer fresh;
  fresh.SetROIAutoY(0, 0, 0, 0, 10, 10);
  EXPECT_TRUE(fresh.m_bAutoX);

  // A sweep in fixed mode: the window while a reset is pending, then the written stretch; a wrap ends below its start.
  std::vector<float> block4(4, 1.0f);
  CGraphDrawer sweep;
  sweep.SetROI(0, 10, 0, 10, 5, 0.0, 2.0, 0, 2, 5);
  for (const auto& dirty : {std::make_pair(0, 10), std::make_pair(4, 8), std::make_pair(8, 2)}) {
    sweep.SetDataHistoryCircular(block4.data(), 4, 10, 1, 0, 1);
    EXPECT_EQ(Dirty(sweep), dirty);
    if (dirty.first != 8) Consume(sweep);
  }
  EXPECT_EQ(std::make_pair(sweep.m_bAxesPending, sweep.m_dYMax), std::make_pair(0, 2.0));

  // Automatic Y: a wrap fits the range at once and dirties the window.
  CGraphDrawer a;
  a.SetROIAutoY(0, 10, 0, 10, 5, 5);
  std::vector<float> big(4, 50.0f);
  a.SetDataHistoryCircular(big.data(), 4, 10, 1, 0, 1);
  Consume(a);
  a.SetDataHistoryCircular(big.data(), 4, 10, 1, 0, 1);
  EXPECT_EQ(a.m_iDirtyTo, 8);
  Consume(a);
  a.SetDataHistoryCircular(big.data(), 4, 10, 1, 0, 1);
  EXPECT_EQ(std::make_pair(a.m_bAxesPending, Dirty(a)), std::make_pair(1, std::make_pair(0, 10)));
  EXPECT_DOUBLE_EQ(a.m_dYMin, 49.5);  // unsmoothed, from the flat data
  EXPECT_DOUBLE_EQ(a.m_dYMax, 50.5);
  EXPECT_EQ(a.m_writePos[0], 2);
  // A block of exactly the ring brings the head back: no wrap, empty range.
  Consume(a);
  std::vector<float> lap(10, 1.0f);
  a.SetDataHistoryCircular(lap.data(), 10, 10, 1, 0, 1);
  EXPECT_EQ(std::make_pair(a.m_bAxesPending, Dirty(a)), std::make_pair(0, std::make_pair(2, 2)));
}

TEST(Drawer, HistoryRingTypesAndAverage) {
  CGraphDrawer d;
  const short blocks[3][2] = {{1, 2}, {3, 4}, {5, 6}};
  std::vector<int> offsets = {0};
  for (const auto& b : blocks) {
    d.SetDataHistory(const_cast<short*>(b), 2, 5, 1, 0, 1);
    offsets.push_back(d.m_rowOffsets[0]);
  }
  EXPECT_EQ(offsets, (std::vector<int>{0, 2, 4, 1}));
  EXPECT_EQ(d.m_samples, (std::vector<double>{6, 2, 3, 4, 5}));  // oldest in row 1, newest in row 0

  // A block longer than the ring keeps its last samples.
  CGraphDrawer e;
  int longBlock[7] = {1, 2, 3, 4, 5, 6, 7};
  e.SetDataHistory(longBlock, 7, 3, 1, 0, 1);
  EXPECT_EQ(std::make_pair(e.m_samples, e.m_rowOffsets[0]), std::make_pair(std::vector<double>{5, 6, 7}, 0));

  // Element types and strides: char is signed, one channel of interleaved data.
  CGraphDrawer t;
  char c[2] = {-1, 100};
  unsigned char u[2] = {255, 0};
  float interleaved[6] = {1, -1, 2, -2, 3, -3};
  t.SetData(c, 2, 1, 0, 3);
  t.SetData(u, 2, 1, 1, 3);
  t.SetData(interleaved + 1, 2, 2, 2, 3);
  EXPECT_EQ(t.m_samples, (std::vector<double>{-1, 255, -1, 100, 0, -2}));
  // Out of range calls change nothing.
  t.SetData(c, 2, 1, 3, 3);
  t.SetData(c, -1, 1, 0, 3);
  EXPECT_EQ(t.m_samples.size(), 6u);

  // Averaging copies the first block, then mixes in each next one by its weight.
  CGraphDrawer avg;
  double first[2] = {10, 20}, zeros[2] = {0, 0};
  const std::pair<double*, double> steps[] = {{first, 0.5}, {zeros, 0.5}, {first, 0.0}};
  const std::vector<double> expected[] = {{10, 20}, {5, 10}, {5, 10}};
  for (int i = 0; i < 3; ++i) {
    avg.SetDataAvg(steps[i].first, 2, steps[i].second, 1, 0, 1);
    EXPECT_EQ(avg.m_samples, expected[i]) << i;
  }
}

TEST(Drawer, IntakeRacesPaintWithoutTornState) {
  Graph g(200, 100);
  CGraphDrawer& d = g.d;
  Bitmap &axes = g.axes, &frame = g.frame;
  std::vector<float> a(500, 1.0f), b(500, -1.0f);
  d.SetData(a.data(), 500, 1, 0, 2);
  d.SetROIAutoY(0, 500, 0, 500, 5, 5);  // creates the shared pens on this thread
  std::thread feeder([&] {
    for (int i = 0; i < 200; ++i) {
      d.SetData((i % 2 ? a : b).data(), 500, 1, i % 2, 2);
      d.SetDataHistoryCircular(a.data(), 37, 500, 1, 1, 2);
    }
  });
  std::thread other([&] {
    for (int i = 0; i < 50; ++i) {
      d.SetHighlight(i % 2, i, i + 20, 2);
      d.SetROIAutoY(0, 400 + i % 2, 0, 500, 5, 5);
    }
  });
  for (int i = 0; i < 50; ++i) {  // the paint's compose step
    CSingleLock lock(&d.m_csData, TRUE);
    d.RedrawBackground();
    d.DrawCurves(&frame, &axes, 0, 0x7FFFFFFF);
  }
  feeder.join();
  other.join();
  EXPECT_EQ(d.m_samples.size(), 1000u);
}

// Samples that are not finite are no part of an automatic range; a store with none finite leaves the range.
TEST(Drawer, NonFiniteSamplesNeverPoisonTheRange) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  CGraphDrawer d;
  std::vector<double> good = {1.0, 3.0, 2.0, 5.0, 4.0, 2.0};
  d.SetData(good.data(), 6, 1, 0, 1);
  const double lo = d.m_dYMin, hi = d.m_dYMax;
  for (double bad : {-inf, inf, nan}) {
    std::vector<double> block = good;
    block[0] = block[3] = bad;  // lanes 0 and 3, and the first sample
    d.SetData(block.data(), 6, 1, 0, 1);
    EXPECT_TRUE(std::isfinite(d.m_dYMin) && std::isfinite(d.m_dYMax)) << bad;
    std::pair<double, double> minMax;
    d.GetDataMinMax(&minMax.first, &minMax.second);
    EXPECT_EQ(minMax, std::make_pair(2.0, 4.0));
  }
  std::vector<double> none(6, nan);
  none[2] = -inf;
  d.SetData(good.data(), 6, 1, 0, 1);
  d.FitYRange(0, 1.0, 5.0);
  const double lo2 = d.m_dYMin, hi2 = d.m_dYMax;
  d.SetData(none.data(), 6, 1, 0, 1);
  EXPECT_EQ(YRange(d), std::make_pair(lo2, hi2));
  d.FitYRange(1, -inf, 3.0);
  d.FitYRange(0, 0.0, nan);
  d.FitYRange(0, -1.0e308, 1.0e308);  // a span beyond a double: the data alone
  EXPECT_TRUE(std::isfinite(d.m_dYMin) && std::isfinite(d.m_dYMax));
  d.m_bResetAdaptation = 1;
  d.SetData(good.data(), 6, 1, 0, 1);
  EXPECT_EQ(YRange(d), std::make_pair(lo, hi));
}

// Every entry point takes hostile arguments with a defined result; in a child, so that a crash is reported.
void HostileDrawerCalls() {
  CGraphDrawer d;
  Bitmap axes(64, 48), frame(64, 48);
  d.m_pAxesBitmap = &axes;
  d.m_pFrameBitmap = &frame;
  std::vector<float> v(64, 1.0f);
  const float nan = std::nanf(""), inf = std::numeric_limits<float>::infinity();
  const struct {
    int count, stride, history, curve, curves;
  } intake[] = {{-1, 1, 8, 0, 1}, {8, 1, 8, -1, 1},      {8, 1, 8, 1, 1},       {8, 1, 8, 0, 0},
                {8, 1, -8, 0, 1}, {8, 1, 1 << 28, 0, 2}, {8, 1, 8, 0, INT_MAX}, {8, 1, INT_MAX, 3, 1 << 10},
                {0, 1, 8, 0, 1},  {8, 0, 8, 0, 2},       {8, -1, 8, 0, 1}};
  for (const auto& c : intake) {
    float* p = c.stride < 0 ? v.data() + 63 : v.data();
    d.SetData(p, c.count, c.stride, c.curve, c.curves);
    d.SetData<float>(nullptr, c.count, c.stride, c.curve, c.curves);
    d.SetDataHistory(p, c.count, c.history, c.stride, c.curve, c.curves);
    d.SetDataAvg(p, c.count, 0.5, c.stride, c.curve, c.curves);
    d.SetDataHistoryCircular(p, c.count, c.history, c.stride, c.curve, c.curves);
  }
  const struct {
    int x, y, w, h;
  } plots[] = {{0, 0, 64, 48}, {0, 0, -64, -48}, {60, 40, -100, 10}, {INT_MAX - 5, 0, 64, 48}, {0, 0, 0, 0}};
  const float bounds[] = {nan, inf, -inf, 3.0e38f, -1.0f};
  const int divs[] = {0, -7, INT_MAX, INT_MIN, 1000000};
  for (const auto& p : plots)
    for (int k = 0; k < 5; ++k) {
      d.m_rcPlot = Rect(p.x, p.y, p.w, p.h);
      d.SetROI(k - 2, 40 * k, bounds[k], -bounds[k], divs[k], bounds[k], 2.0 * k, bounds[k], 0.0f, divs[4 - k]);
      d.SetROIAutoY(INT_MIN, INT_MAX, -bounds[k], bounds[k], divs[k], nan, inf, divs[k]);
      d.SetHighlight(0, INT_MIN, INT_MAX, 1);
      d.DrawCurves(&frame, &axes, INT_MIN, INT_MAX);
      d.DrawCurves(&frame, &axes, INT_MAX, INT_MIN);
      d.DrawPending();
    }
  d.m_pAxesBitmap = d.m_pFrameBitmap = nullptr;
}

TEST(Drawer, HostileArgumentsEndQuietly) {
  EXPECT_EXIT(
      {
        HostileDrawerCalls();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

// Two drawers made, stroked and destroyed on two threads at once share one pen table without a race.
TEST(Drawer, PenTableFromTwoThreads) {
  auto work = [] {
    for (int i = 0; i < 40; ++i) {
      CGraphDrawer d;
      Bitmap axes(32, 16), frame(32, 16);
      d.m_rcPlot = Rect(0, 0, 32, 16);
      std::vector<float> v = {0.0f, 1.0f, 0.5f, 2.0f};
      d.SetData(v.data(), 4, 1, 0, 1);
      d.DrawCurves(&frame, &axes, 0, 4);
    }
  };
  std::thread a(work), b(work);
  a.join();
  b.join();
  EXPECT_EQ(CGraphDrawer::ms_nInstances, 0);
  EXPECT_EQ(CGraphDrawer::ms_pPens, nullptr);
}

TEST(Render, AxesGroundFrameAndDottedGrid) {
  Graph g(400, 300);
  g.d.SetROI(0, 100, 0, 100, 5, -1.0, 1.0, -1, 1, 4);
  ASSERT_EQ(g.axes.SavePng(Out("render_axes.png").c_str()), Ok);
  int black = 0, frame = 0;
  for (int y = 1; y < 299; ++y)
    for (int x = 1; x < 399; ++x) black += Px(g.axes, x, y) == 0;
  for (int x = 0; x < 400; ++x) frame += (Px(g.axes, x, 0) == 0xC0C0C0) + (Px(g.axes, x, 299) == 0xC0C0C0);
  for (int y = 0; y < 300; ++y) frame += (Px(g.axes, 0, y) == 0xC0C0C0) + (Px(g.axes, 399, y) == 0xC0C0C0);
  EXPECT_GT(black, 398 * 298 * 8 / 10);
  EXPECT_GT(frame, (800 + 600) * 9 / 10);
  // The grid line at x = 20 is dotted: grey and black take turns.
  const int column = CAxesDrawerBase::GetX({0, 0, 400, 300}, 0, 100, 20);
  int grey = 0, isolated = 0;
  for (int y = 40; y < 260; ++y) {
    const bool on = Px(g.axes, column, y) == 0x808080;
    grey += on;
    isolated += on && Px(g.axes, column, y - 1) == 0 && Px(g.axes, column, y + 1) == 0;
  }
  EXPECT_GT(grey, 220 / 4);
  EXPECT_LT(grey, 220 * 3 / 4);
  EXPECT_GT(isolated, 40);
  // Captions are white text, antialiased: light grey levels off the grid.
  int text = 0;
  for (int y = 0; y < 300; ++y)
    for (int x = 0; x < 400; ++x) {
      const std::uint32_t p = Px(g.axes, x, y);
      text += (p & 0xFF) > 0xD0 && p == (p & 0xFF) * 0x010101u;
    }
  EXPECT_GT(text, 150);
}

TEST(Render, CurvesHighlightsAndStrips) {
  // One data unit per row: value v lies on row 300 - v.
  Graph g(400, 301);
  g.d.SetROI(0, 100, 0, 99, 5, 0.0, 300.0, 0, 300, 4);
  const double values[3] = {200.0, 100.0, 150.0};
  for (int c = 0; c < 3; ++c) {
    std::vector<double> flat(100, values[c]);
    g.d.SetData(flat.data(), 100, 1, c, 3);
  }
  g.Paint();
  ASSERT_EQ(g.frame.SavePng(Out("render_curves.png").c_str()), Ok);
  auto expectRows = [&](int x0, int x1, int row, std::uint32_t argb, std::uint32_t over) {
    int bad = 0;
    for (int x = x0; x < x1; ++x) {
      const std::uint32_t bg = Px(g.axes, x, row);
      bad += Distance(Px(g.frame, x, row), Over(argb, over ? over : bg)) > 2;
    }
    return bad;
  };
  // 2-pixel pens on rows 99 and 100 and 199 and 200; the 1-pixel pen lights
  // row 150 whole, pixel centres being on whole coordinates; the rows around them untouched.
  for (int row : {99, 100}) EXPECT_EQ(expectRows(10, 390, row, kNormal[0], 0), 0) << row;
  for (int row : {199, 200}) EXPECT_EQ(expectRows(10, 390, row, kNormal[1], 0), 0) << row;
  for (int x = 10; x < 390; ++x) {
    const std::uint32_t p = Px(g.frame, x, 150);
    EXPECT_TRUE((p & 0xFF) >= 0xB0 && ((p >> 8) & 0xFF) == (p & 0xFF) && (p >> 16) < 0x30) << x;
  }
  for (int row : {97, 98, 101, 102, 148, 149, 151, 152, 197, 198, 201, 202})
    for (int x = 10; x < 390; ++x) ASSERT_EQ(Px(g.frame, x, row), Px(g.axes, x, row)) << x << "," << row;

  // A highlight of samples 20 to 39 of curve 0: its colour over that stretch only.
  g.d.SetHighlight(0, 20, 40, 3);
  g.d.DrawCurves(&g.frame, &g.axes, 0, 100);
  ASSERT_EQ(g.frame.SavePng(Out("render_highlight.png").c_str()), Ok);
  for (int x = 86; x < 152; ++x) {
    const std::uint32_t under = Over(kNormal[0], Px(g.axes, x, 100));
    EXPECT_LE(Distance(Px(g.frame, x, 100), Over(kHighlight[0], under)), 2) << x;
  }
  for (int x : {10, 60, 75, 165, 200, 380})
    EXPECT_LE(Distance(Px(g.frame, x, 100), Over(kNormal[0], Px(g.axes, x, 100))), 2);

  // A strip redraw of samples 40 to 60 after curve 0 moved to row 50: the
  // columns 160 to 243 are redrawn, every other column stays as it was.
  const QImage before = QtImage(&g.frame)->copy();
  std::vector<double> moved(100, 250.0);
  g.d.SetData(moved.data(), 100, 1, 0, 3);
  g.d.DrawCurves(&g.frame, &g.axes, 40, 60);
  ASSERT_EQ(g.frame.SavePng(Out("render_strip.png").c_str()), Ok);
  for (int x = 0; x < 400; ++x) {
    if (x >= 160 && x < 244) continue;
    for (int y = 0; y < 301; ++y) ASSERT_EQ(QtImage(&g.frame)->pixel(x, y), before.pixel(x, y)) << x << "," << y;
  }
  EXPECT_EQ(expectRows(162, 236, 50, kNormal[0], 0), 0);  // sample 59 ends at column 237
  for (int x = 162; x < 242; ++x) EXPECT_EQ(Px(g.frame, x, 100), Px(g.axes, x, 100)) << x;
}

TEST(Render, StripArithmeticAndWindowEdges) {
  // Width 501 over samples 0 to 1000: samples 100 to 200 restore columns 49 to 101; the strokes start at sample 94.
  Graph g(501, 60);
  Graphics(&g.frame).Clear(Color(0xFFFFFFFFu));
  Graphics(&g.axes).Clear(Color(0xFF204060u));
  g.d.m_iXFrom = 0;
  g.d.m_iXTo = 1001;
  g.d.DrawCurves(&g.frame, &g.axes, 100, 200);  // no curves yet: the strip only
  for (int x = 0; x < 501; ++x) EXPECT_EQ(Px(g.frame, x, 30), x >= 49 && x <= 101 ? 0x204060u : 0xFFFFFFu) << x;
  std::vector<float> ramp(1001);
  for (int i = 0; i < 1001; ++i) ramp[i] = static_cast<float>(i);
  g.d.SetROI(0, 1001, 0, 1000, 5, 0.0, 1000.0, 0, 1000, 5);
  g.d.SetData(ramp.data(), 1001, 1, 0, 1);
  g.d.DrawCurves(&g.frame, &g.axes, 100, 200);
  EXPECT_EQ(std::make_pair(g.d.m_points[0].X, g.d.m_points[0].Y),
            std::make_pair(47.0f, static_cast<float>(59.0 - 94.0 * 59.0 / 1000.0)));

  // An open right end and an equal Y range: no overflow, every sample on the middle row, the strip inside the plot.
  g.d.SetROI(0, 1001, 0, 1000, 5, 7.0, 7.0, 0, 1, 5);
  g.d.DrawCurves(&g.frame, &g.axes, 900, 0x7FFFFFFF);
  EXPECT_EQ(g.d.m_points[0].Y, 29.5f);
  // A window far beyond the samples draws nothing and reads nothing outside.
  g.d.SetROI(2100000000, 2147483000, 0, 1, 5, 0.0, 1.0, 0, 1, 5);
  g.d.DrawCurves(&g.frame, &g.axes, 2147482000, 0x7FFFFFFF);
  // A window of one sample shows no curve but still restores.
  g.d.SetROI(5, 6, 0, 1, 5, 0.0, 1.0, 0, 1, 5);
  g.d.DrawCurves(&g.frame, &g.axes, 0, 0x7FFFFFFF);
  EXPECT_EQ(Px(g.frame, 250, 30), Px(g.axes, 250, 30));
}

TEST(Render, FastStrokesMatchTheWholePolyline) {
  const int W = 1000, H = 600, N = 10000;
  Graph g(W, H);
  std::mt19937 rng(2024);
  std::normal_distribution<double> noise(0.0, 0.1);
  std::vector<std::vector<float>> curves(3, std::vector<float>(N));
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < N; ++i)
      curves[c][i] = static_cast<float>(std::sin(i * 6.2832 * (c + 2) / N + c) * (1.0 - 0.2 * c) + noise(rng));
  for (int c = 0; c < 3; ++c) g.d.SetData(curves[c].data(), N, 1, c, 3);
  g.Paint();
  ASSERT_EQ(g.d.m_iXTo, N);
  ASSERT_EQ(g.frame.SavePng(Out("plot_frame.png").c_str()), Ok);

  // The reference: the same vertices, each curve one Qt polyline with the same pen, over the same axes.
  Bitmap reference(W, H);
  Graphics(&reference).DrawImage(&g.axes, 0, 0);
  {
    QPainter p(QtImage(&reference));
    p.setRenderHint(QPainter::Antialiasing);
    const double yMin = g.d.m_dYMin, yMax = g.d.m_dYMax;
    for (int c = 0; c < 3; ++c) {
      QPolygonF line;
      for (int x = 0; x < N; ++x) {
        const float px = static_cast<float>(x) * static_cast<float>(W - 1) / static_cast<float>(N - 1);
        const double v = curves[c][x];
        const float py = static_cast<float>((H - 1) - (v - static_cast<float>(yMin)) * (H - 1) / (yMax - yMin));
        line << QPointF(px, py);
      }
      if (c < 2) {
        p.setPen(QtPen(Pen(Color(kNormal[c]), 2.0f)));
        p.drawPolyline(line);
        continue;
      }
      // The 1-pixel pen as one filled outline on whole-pixel centres: Qt's thin polyline shades each segment apart.
      QPainterPath path;
      path.addPolygon(line);
      QPainterPathStroker stroker;
      stroker.setWidth(1.0);
      stroker.setCapStyle(Qt::FlatCap);
      stroker.setJoinStyle(Qt::BevelJoin);
      QPainterPath outline = stroker.createStroke(path).translated(0.5, 0.5);
      outline.setFillRule(Qt::WindingFill);
      p.fillPath(outline, QColor::fromRgba(kNormal[c]));
    }
  }
  ASSERT_EQ(reference.SavePng(Out("plot_frame_reference.png").c_str()), Ok);
  long within = 0, touched = 0, touchedWithin = 0;
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      const std::uint32_t a = Px(g.frame, x, y), b = Px(reference, x, y), bg = Px(g.axes, x, y);
      const bool ok = Distance(a, b) <= 8;
      within += ok;
      if (a != bg || b != bg) {
        ++touched;
        touchedWithin += ok;
      }
    }
  EXPECT_GE(within, static_cast<long>(W) * H * 99 / 100);
  EXPECT_GT(touched, W * H / 10);  // the curves cover a good part of the plot
  EXPECT_GE(touchedWithin, touched * 99 / 100);
}

// A pixel column of many samples is stroked as its outline: noisy (also about the pen's width, and a pixel or two in
// dense columns), smooth, stepped and sparse signals with NaN breaks, through every intake, give the picture of every
// sample within the wide stroke's tolerance against Qt.
TEST(Render, ColumnOutlinesMatchEverySample) {
  const int W = 1000, H = 600;
  const double kNaN = std::numeric_limits<double>::quiet_NaN();
  const struct {
    int n;
    double (*shape)(int i, int c, int n, std::mt19937& rng);
  } kinds[] = {
      {200000,
       [](int i, int c, int n, std::mt19937& rng) {
         return std::sin(i * 6.2832 * (c + 2) / n + c) * 50 + std::normal_distribution<double>(0, 3)(rng);
       }},
      {30000,  // noise about the pen's width: the samples left out would cross its edges
       [](int i, int c, int n, std::mt19937& rng) {
         return std::sin(i * 6.2832 * (c + 2) / n + c) * 50 + std::normal_distribution<double>(0, 0.5)(rng);
       }},
      {100000,  // noise of a pixel or two in dense columns: every segment near their ends adds to them
       [](int i, int c, int n, std::mt19937& rng) {
         return std::sin(i * 6.2832 * (c + 2) / n + c) * 50 + std::normal_distribution<double>(0, 0.3)(rng);
       }},
      {100000, [](int i, int c, int n, std::mt19937&) { return std::sin(i * 6.2832 * (c + 1) / n) * 50; }},
      {50000, [](int i, int c, int n, std::mt19937&) { return ((i * (c + 3) * 7 / n) % 5) * 20.0 - 40; }},
      {300,
       [](int, int c, int, std::mt19937& rng) { return std::uniform_real_distribution<double>(-40, 40)(rng) + c * 5; }},
  };
  for (const auto& kind : kinds) {
    for (int mode = 0; mode < 4; ++mode) {  // element type and intake
      SCOPED_TRACE(std::to_string(kind.n) + " samples, intake " + std::to_string(mode));
      Graph full(W, H), fast(W, H);
      full.d.m_bEverySample = 1;
      std::mt19937 rng(7);
      std::vector<std::vector<double>> curves(3, std::vector<double>(static_cast<std::size_t>(kind.n)));
      for (int c = 0; c < 3; ++c)
        for (int i = 0; i < kind.n; ++i)
          curves[c][i] = i % 9973 == 5000 % kind.n ? kNaN : kind.shape(i, c, kind.n, rng);
      const auto feed = [&](Graph& g) {
        for (int c = 0; c < 3; ++c) {
          const std::vector<double>& v = curves[c];
          std::vector<int> k(v.size());
          for (std::size_t i = 0; i < v.size(); ++i) k[i] = v[i] == v[i] ? static_cast<int>(v[i] * 10) : 0;
          if (mode == 0) {
            g.d.SetData(const_cast<double*>(v.data()), kind.n, 1, c, 3);
          } else if (mode == 1) {  // short, as a strip chart scrolled by blocks
            const std::vector<short> s(k.begin(), k.end());
            for (int at = 0; at + kind.n / 4 <= kind.n; at += kind.n / 4)
              g.d.SetDataHistory(const_cast<short*>(s.data()) + at, kind.n / 4, kind.n / 2, 1, c, 3);
          } else if (mode == 2) {  // float, into a sweep, painting every block
            const std::vector<float> f(v.begin(), v.end());
            g.d.SetROI(0, kind.n, 0, 1, 5, -60, 60, -60, 60, 5);
            for (int at = 0; at + kind.n / 10 <= kind.n; at += kind.n / 10) {
              g.d.SetDataHistoryCircular(const_cast<float*>(f.data()) + at, kind.n / 10, kind.n, 1, c, 3);
              g.Paint();
            }
          } else {  // int, with a highlight over each curve
            g.d.SetData(k.data(), kind.n, 1, c, 3);
            g.d.SetHighlight(c, kind.n / 5 * c, kind.n / 5 * (c + 2), 3);
          }
        }
        g.Paint();
      };
      feed(full);
      feed(fast);
      int worst = 0;
      long touched = 0, within = 0;
      for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
          const std::uint32_t a = Px(full.frame, x, y), b = Px(fast.frame, x, y);
          if (a == Px(full.axes, x, y) && b == a) continue;
          ++touched;
          within += Distance(a, b) <= 8;
          worst = std::max(worst, Distance(a, b));
        }
      EXPECT_GT(touched, W * 10);  // the curves were drawn
      EXPECT_GE(within, touched * 995 / 1000) << "largest difference " << worst;
      if (kind.n < W) {
        EXPECT_EQ(worst, 0);  // a sample per column at most: nothing left out
      }
    }
  }
}

// A sample far beyond single precision in a smooth dense curve draws a spike to the top, by the column's outline as by
// every sample.
TEST(Render, HugeSampleInASmoothDenseCurve) {
  Graph full(400, 300), fast(400, 300);
  full.d.m_bEverySample = 1;
  std::vector<double> v(40000);
  for (std::size_t i = 0; i < v.size(); ++i) v[i] = std::sin(static_cast<double>(i) * 3e-4);
  v[20000] = 1e300;
  for (Graph* g : {&full, &fast}) {
    g->d.SetROI(0, 40000, 0, 1, 4, -1.5, 1.5, -1.5f, 1.5f, 4);
    g->d.SetData(v.data(), 40000, 1, 0, 1);
    g->Paint();
  }
  int worst = 0, top = 0;
  for (int y = 0; y < 300; ++y)
    for (int x = 0; x < 400; ++x) worst = std::max(worst, Distance(Px(full.frame, x, y), Px(fast.frame, x, y)));
  for (int x = 195; x < 205; ++x) top += Px(fast.frame, x, 1) != Px(fast.axes, x, 1);
  EXPECT_LE(worst, 8);
  EXPECT_GT(top, 0);
}

TEST(Render, UserViewZoomsWithoutTouchingTheHostsState) {
  // A step: 0.5 for samples 0 to 49, -0.5 for 50 to 99; one data unit per 100 rows.
  Graph g(200, 201);
  g.d.SetROI(0, 100, 0, 99, 5, -1.0, 1.0, -10, 10, 4);
  std::vector<double> step(100, 0.5);
  std::fill(step.begin() + 50, step.end(), -0.5);
  g.d.SetData(step.data(), 100, 1, 0, 1);
  g.Paint();
  const QImage host = Copy(g.frame), hostAxes = Copy(g.axes);
  const tagPlotView hostView = g.d.GetView();
  EXPECT_TRUE(hostView.dFirst == 0 && hostView.dLast == 99 && hostView.dBottom == -1 && hostView.dTop == 1);
  EXPECT_NEAR(150, CurveRow(g.frame, 150), 0.6);  // -0.5 at the right

  g.d.SetView({0, 49, -1, 1});  // the first half fills the plot
  EXPECT_TRUE(g.d.HasUserView());
  EXPECT_NEAR(50, CurveRow(g.frame, 150), 0.6);
  EXPECT_NE(hostAxes, *QtImage(&g.axes)) << "the X captions follow the view";
  g.d.SetView({0, 99, 0, 1});  // the upper half: 0.5 on the middle row, -0.5 below the plot
  EXPECT_NEAR(100, CurveRow(g.frame, 20), 0.6);
  EXPECT_EQ(-1, CurveRow(g.frame, 150));
  g.d.SetView({0, 99, std::nan(""), 1});  // refused: the view stays
  EXPECT_EQ(0.0, g.d.GetView().dBottom);
  EXPECT_TRUE(g.d.m_iXFrom == 0 && g.d.m_iXTo == 100 && g.d.m_dYMin == -1.0 && g.d.m_dYMax == 1.0 && !g.d.m_bAutoY);

  // Readout in the axes' units: sample x reads x, a value v reads 10 v.
  double x = 0, values[2] = {0, 0};
  EXPECT_EQ(1, g.d.ReadAt(0.5, &x, values, 2));
  EXPECT_DOUBLE_EQ(49.5, x);
  EXPECT_DOUBLE_EQ(-5.0, values[0]);  // the nearest sample is 50
  EXPECT_EQ(1, g.d.ReadAt(2.0, &x, values, 2));
  EXPECT_TRUE(std::isnan(values[0])) << "no sample beyond the store";
  EXPECT_TRUE(g.d.FormatValue(4.95, 0.05) == L"4.95" && g.d.FormatValue(std::nan(""), 0.05) == L"-");

  g.d.ResetView();
  EXPECT_FALSE(g.d.HasUserView());
  EXPECT_EQ(host, *QtImage(&g.frame)) << "the host's view comes back pixel for pixel";
  EXPECT_EQ(hostAxes, *QtImage(&g.axes));

  // Automatic ranges move the host's view, never the user's.
  g.d.SetROIAutoY(0, 100, 0, 99, 5, 4);
  g.d.SetView({10, 20, -2, 2});
  const double top = g.d.m_dYMax;
  std::vector<double> big(100, 40.0);
  g.d.SetData(big.data(), 100, 1, 0, 1);
  g.Paint();
  EXPECT_GT(g.d.m_dYMax, top + 1.0);
  const tagPlotView v = g.d.GetView();
  EXPECT_TRUE(v.dFirst == 10 && v.dLast == 20 && v.dBottom == -2 && v.dTop == 2);
}

TEST(Render, PauseDrawsTheCopyAndExportsItByteForByte) {
  Graph g(120, 80);
  g.d.SetROI(0, 3, 0, 2, 2, 0.0, 10.0, 0, 10, 2);
  double first[6] = {1, 4, 2, 5, 3, 6};  // two curves, row by row
  g.d.SetData(first, 3, 2, 0, 2);
  g.d.SetData(first + 1, 3, 2, 1, 2);
  g.d.SetCurveStyle(0, L"a,\"b\"", 0, 0);
  g.d.SetPaused(TRUE);
  const QImage paused = Copy(g.frame);
  double later[6] = {9, 9, 9, 9, 9, 9};
  g.d.SetData(later, 3, 2, 0, 2);
  EXPECT_TRUE(g.d.IsPaused());
  EXPECT_EQ(1, g.d.m_bDataPending) << "the intake went on and waits for the resume";
  const std::string header = "x,\"a,\"\"b\"\"\",curve 2\n";
  EXPECT_EQ(header + "0,1,4\n1,2,5\n2,3,6\n", g.d.ViewAsCsv().GetString());
  g.d.SetView({0, 2, 0, 10});  // a redraw while paused still draws the copy
  EXPECT_EQ(paused, *QtImage(&g.frame));
  g.d.SetPaused(FALSE);
  EXPECT_NE(paused, *QtImage(&g.frame));
  EXPECT_EQ(header + "0,9,4\n1,9,5\n2,9,6\n", g.d.ViewAsCsv().GetString());
  g.d.SetView({-1e29, 1e29, 0, 10});  // a view far beyond the store exports the store
  EXPECT_EQ(header + "0,9,4\n1,9,5\n2,9,6\n", g.d.ViewAsCsv().GetString());
  g.d.SetView({5, 9, 0, 10});  // and one beside it only the header
  EXPECT_EQ(header, g.d.ViewAsCsv().GetString());
  EXPECT_EQ(0, g.d.m_bDataPending);
}

TEST(Render, CurveStylesVisibilityAndLightScheme) {
  Graph g(200, 101);
  g.d.SetROI(0, 100, 0, 99, 5, 0.0, 100.0, 0, 100, 4);
  std::vector<double> flat(100, 50.0);
  g.d.SetData(flat.data(), 100, 1, 0, 1);
  g.d.SetCurveStyle(0, L"volts", 0xFFFF0000u, 3.0f);
  const tagCurveStyle st = g.d.GetCurveStyle(0);
  EXPECT_TRUE(st.argb == 0xFFFF0000u && st.fWidth == 3.0f && st.sName == L"volts" && !st.bHidden);
  EXPECT_EQ(0xFF0000u, Px(g.frame, 100, 50));
  g.d.SetCurveVisible(0, FALSE);
  EXPECT_EQ(Px(g.axes, 100, 50), Px(g.frame, 100, 50));
  g.d.SetCurveVisible(0, TRUE);
  g.d.SetCurveStyle(0, nullptr, 0, std::nanf(""));  // back to the default pen
  EXPECT_EQ(std::make_pair(kNormal[0], 2.0f), std::make_pair(g.d.GetCurveStyle(0).argb, g.d.GetCurveStyle(0).fWidth));
  for (int bad : {-1, 1000000}) g.d.SetCurveStyle(bad, L"x", 1, 1);  // ignored
  EXPECT_EQ(0xC0008000u, (g.d.SetColorScheme(eSchemeLight), g.d.GetCurveStyle(0).argb));
  EXPECT_EQ(0xFFFFFFu, Px(g.axes, 100, 20)) << "a light ground";
  int frame = 0;
  for (int y = 0; y < 101; ++y) frame += Px(g.axes, 0, y) == 0x404040u;
  EXPECT_GT(frame, 80) << "a dark frame";
}

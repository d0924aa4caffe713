#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

#include <orvek/plotting/drawer/GraphDrawer.h>

namespace {

// The paint's side of the dirty marks.
void Consume(CGraphDrawer& d) {
  d.m_bDataPending = 0;
  d.m_bAxesPending = 0;
}

}  // namespace

TEST(Drawer, FitYRange) {
  CGraphDrawer d;
  d.FitYRange(0, 5.0, 5.0);  // flat positive: 1 % either side
  EXPECT_DOUBLE_EQ(d.m_dYMin, 4.95);
  EXPECT_DOUBLE_EQ(d.m_dYMax, 5.05);
  d.FitYRange(0, 0.0, 0.0);
  EXPECT_DOUBLE_EQ(d.m_dYMin, -0.01);
  EXPECT_DOUBLE_EQ(d.m_dYMax, 0.01);
  d.FitYRange(0, -5.0, -5.0);  // the negative margin keeps both ends
  EXPECT_EQ(d.m_dYMin, -5.0);
  EXPECT_EQ(d.m_dYMax, -5.0);
  d.FitYRange(1, 0.0, 10.0);  // equal ends: the next call snaps
  EXPECT_EQ(d.m_dYMin, -1.0);
  EXPECT_EQ(d.m_dYMax, 11.0);
  d.FitYRange(1, 0.0, 100.0);  // smoothed with the two double factors
  EXPECT_EQ(d.m_dYMin, -1.0 * 0.8999999985098839 + -10.0 * 0.10000000149011612);
  EXPECT_EQ(d.m_dYMax, 11.0 * 0.8999999985098839 + 110.0 * 0.10000000149011612);
}

TEST(Drawer, AutomaticWindowCreepsAndDecays) {
  CGraphDrawer d;
  std::vector<float> block(300, 1.0f);
  d.SetData(block.data(), 200, 1, 0, 1);  // the first intake snaps
  EXPECT_EQ(d.m_iXFrom, 0);
  EXPECT_EQ(d.m_iXTo, 200);
  EXPECT_EQ(d.m_fXMax, 200.0f);
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

TEST(Drawer, DirtyRangesOfTheFirstIntakesAndOfFixedWindows) {
  CGraphDrawer d;
  std::vector<double> block(10, 2.0);
  d.SetData(block.data(), 10, 1, 0, 1);
  // The first intake finds the window 0 to 0 and passes it on.
  EXPECT_TRUE(d.m_bDataPending && d.m_bAxesPending);
  EXPECT_EQ(d.m_iDirtyFrom, 0);
  EXPECT_EQ(d.m_iDirtyTo, 0);
  d.SetData(block.data(), 10, 1, 0, 1);  // pending: keeps its start, takes the new end
  EXPECT_EQ(d.m_iDirtyFrom, 0);
  EXPECT_EQ(d.m_iDirtyTo, 10);
  Consume(d);
  d.SetData(block.data(), 10, 1, 0, 1);
  EXPECT_EQ(d.m_iDirtyFrom, 0);
  EXPECT_EQ(d.m_iDirtyTo, 10);

  // Fixed mode: the window, no axes; a reversed Y pair is stored as it is.
  d.SetROI(2, 8, 5, 1, 4, 3.0, -3.0, 1, -1, 4);
  EXPECT_EQ(d.m_fXMin, 1.0f);
  EXPECT_EQ(d.m_fXMax, 5.0f);
  EXPECT_EQ(d.m_dYMin, 3.0);
  Consume(d);
  d.SetData(block.data(), 10, 1, 0, 1);
  EXPECT_FALSE(d.m_bAxesPending);
  EXPECT_EQ(d.m_iDirtyFrom, 2);
  EXPECT_EQ(d.m_iDirtyTo, 8);
  EXPECT_EQ(d.m_dYMin, 3.0);

  // SetROIAutoY: the range includes the data and the given span; the same
  // window again changes nothing.
  d.SetROIAutoY(0, 10, 0, 10, 5, -4.0, 1.0, 5);
  EXPECT_TRUE(d.m_bAutoY && !d.m_bAutoX);
  EXPECT_DOUBLE_EQ(d.m_dYMin, -4.6);
  EXPECT_DOUBLE_EQ(d.m_dYMax, 2.6);
  d.SetROIAutoY(0, 10, 0, 10, 5, -40.0, 10.0, 5);
  EXPECT_DOUBLE_EQ(d.m_dYMin, -4.6);
  // On a new drawer the default window is such a call too: full automatic
  // mode stays.
  CGraphDrawer fresh;
  fresh.SetROIAutoY(0, 0, 0, 0, 10, 10);
  EXPECT_TRUE(fresh.m_bAutoX);
}

TEST(Drawer, HistoryRingAndTypes) {
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
  EXPECT_EQ(e.m_samples, (std::vector<double>{5, 6, 7}));
  EXPECT_EQ(e.m_rowOffsets[0], 0);

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
}

TEST(Drawer, AverageCopiesTheFirstBlock) {
  CGraphDrawer d;
  double first[2] = {10, 20}, zeros[2] = {0, 0};
  d.SetDataAvg(first, 2, 0.5, 1, 0, 1);
  EXPECT_EQ(d.m_samples, (std::vector<double>{10, 20}));
  d.SetDataAvg(zeros, 2, 0.5, 1, 0, 1);
  EXPECT_EQ(d.m_samples, (std::vector<double>{5, 10}));
  d.SetDataAvg(first, 2, 0.0, 1, 0, 1);
  EXPECT_EQ(d.m_samples, (std::vector<double>{5, 10}));
}

TEST(Drawer, SweepDirtyRanges) {
  std::vector<float> block(4, 1.0f);
  // Fixed mode: no wrap gives the written stretch, a wrap a range whose end
  // lies below its start.
  CGraphDrawer d;
  d.SetROI(0, 10, 0, 10, 5, 0.0, 2.0, 0, 2, 5);
  d.SetDataHistoryCircular(block.data(), 4, 10, 1, 0, 1);  // reset pending: the window
  EXPECT_EQ(d.m_iDirtyFrom, 0);
  EXPECT_EQ(d.m_iDirtyTo, 10);
  Consume(d);
  d.SetDataHistoryCircular(block.data(), 4, 10, 1, 0, 1);
  EXPECT_EQ(d.m_iDirtyFrom, 4);
  EXPECT_EQ(d.m_iDirtyTo, 8);
  Consume(d);
  d.SetDataHistoryCircular(block.data(), 4, 10, 1, 0, 1);
  EXPECT_EQ(d.m_iDirtyFrom, 8);
  EXPECT_EQ(d.m_iDirtyTo, 2);
  EXPECT_FALSE(d.m_bAxesPending);
  EXPECT_EQ(d.m_dYMax, 2.0);

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
  EXPECT_TRUE(a.m_bAxesPending);
  EXPECT_EQ(a.m_iDirtyFrom, 0);
  EXPECT_EQ(a.m_iDirtyTo, 10);
  EXPECT_DOUBLE_EQ(a.m_dYMin, 49.5);  // unsmoothed, from the flat data
  EXPECT_DOUBLE_EQ(a.m_dYMax, 50.5);
  EXPECT_EQ(a.m_writePos[0], 2);

  // A block of exactly the ring brings the head back: no wrap, empty range.
  Consume(a);
  std::vector<float> lap(10, 1.0f);
  a.SetDataHistoryCircular(lap.data(), 10, 10, 1, 0, 1);
  EXPECT_EQ(a.m_iDirtyFrom, 2);
  EXPECT_EQ(a.m_iDirtyTo, 2);
  EXPECT_FALSE(a.m_bAxesPending);
}

TEST(Drawer, IntakeRacesPaintWithoutTornState) {
  CGraphDrawer d;
  d.m_rcPlot = Gdiplus::Rect(0, 0, 200, 100);
  Gdiplus::Bitmap axes(200, 100), frame(200, 100);
  d.m_pAxesBitmap = &axes;
  d.m_pFrameBitmap = &frame;
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
  d.m_pAxesBitmap = d.m_pFrameBitmap = nullptr;
}

// Samples that are not finite are no part of an automatic range, and a store
// with no finite sample leaves the range as it is.
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
    double mn = 0, mx = 0;
    d.GetDataMinMax(&mn, &mx);
    EXPECT_EQ(mn, 2.0);
    EXPECT_EQ(mx, 4.0);
  }
  std::vector<double> none(6, nan);
  none[2] = -inf;
  d.SetData(good.data(), 6, 1, 0, 1);
  d.FitYRange(0, 1.0, 5.0);
  const double lo2 = d.m_dYMin, hi2 = d.m_dYMax;
  d.SetData(none.data(), 6, 1, 0, 1);
  EXPECT_EQ(d.m_dYMin, lo2);
  EXPECT_EQ(d.m_dYMax, hi2);
  d.FitYRange(1, -inf, 3.0);
  d.FitYRange(0, 0.0, nan);
  d.FitYRange(0, -1.0e308, 1.0e308);  // a span beyond a double: the data alone
  EXPECT_TRUE(std::isfinite(d.m_dYMin) && std::isfinite(d.m_dYMax));
  d.m_bResetAdaptation = 1;
  d.SetData(good.data(), 6, 1, 0, 1);
  EXPECT_EQ(d.m_dYMin, lo);
  EXPECT_EQ(d.m_dYMax, hi);
}

// Every entry point takes hostile arguments with a defined result; in a child
// process, so that a crash is reported rather than ending the suite.
void HostileDrawerCalls() {
  CGraphDrawer d;
  Gdiplus::Bitmap axes(64, 48), frame(64, 48);
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
      d.m_rcPlot = Gdiplus::Rect(p.x, p.y, p.w, p.h);
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

// Two drawers made, stroked and destroyed on two threads at once share one
// pen table without a race.
TEST(Drawer, PenTableFromTwoThreads) {
  auto work = [] {
    for (int i = 0; i < 40; ++i) {
      CGraphDrawer d;
      Gdiplus::Bitmap axes(32, 16), frame(32, 16);
      d.m_rcPlot = Gdiplus::Rect(0, 0, 32, 16);
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

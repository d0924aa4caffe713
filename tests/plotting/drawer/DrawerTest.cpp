#include <gtest/gtest.h>

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

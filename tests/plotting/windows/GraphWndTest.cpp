#include "WindowsTest.h"

#include <orvek/plotting/drawer/GraphDrawer.h>

#include <climits>
#include <thread>

namespace {

tagGraphWndInfo Info(int nCurves, const wchar_t* title = L"graph") {
  return tagGraphWndInfo{{10, 10, 410, 310}, title, L"x", L"y", nCurves};
}

TEST(GraphWnd, RedrawPeriodsCurveCountsAndDestroy) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, false));
  const struct {
    float rate;
    UINT ms;
  } periods[] = {{25.0f, 40}, {30.0f, 33}, {1000.0f, 1}, {2.0f, 500}};
  for (const auto& p : periods) {
    CGraphWnd g;
    tagGraphWndInfo info = Info(2);
    g.Create(&info, &host, p.rate);
    UINT ms = 0;
    EXPECT_TRUE(g.GetTimerElapse(1, &ms));
    EXPECT_EQ(p.ms, ms) << "rate " << p.rate;
    EXPECT_EQ(1u, g.m_nRedrawTimer);
    g.Destroy();
    EXPECT_EQ(nullptr, g.m_pDrawer);
    EXPECT_EQ(0u, g.m_nRedrawTimer);
    EXPECT_FALSE(g.GetTimerElapse(1, &ms));
    EXPECT_TRUE(::IsWindow(g.m_hWnd)) << "the window outlives Destroy";
  }

  // Counts below 1 give one curve; the rectangle form always has one.
  for (int n : {0, -3, 3}) {
    CGraphWnd g;
    tagGraphWndInfo info = Info(n);
    g.Create(&info, &host, 25.0f);
    EXPECT_EQ(n < 1 ? 1 : n, g.m_nCurves);
    CRect rc;
    g.GetClientRect(&rc);
    EXPECT_EQ(CRect(0, 0, 400, 300), rc);
    g.Destroy();
  }
  CGraphWnd g;
  g.Create(CRect(0, 0, 200, 100), &host, nullptr, L"time", nullptr);
  UINT ms = 0;
  EXPECT_TRUE(g.GetTimerElapse(1, &ms));
  EXPECT_EQ(40u, ms);
  EXPECT_EQ(1, g.m_nCurves);
  EXPECT_TRUE(g.m_pDrawer->m_sTitle.GetLength() == 0 && g.m_pDrawer->m_sYName.GetLength() == 0);
  EXPECT_STREQ(L"time", g.m_pDrawer->m_sXName.GetString());
  const std::vector<float> block = Sine(100, 1);
  g.DrawGraph<float>(1, block.data(), 100, 1);  // no curve 1 here: dropped
  EXPECT_EQ(1, g.IsDrawed());
  EXPECT_TRUE(g.m_pDrawer->m_samples.empty());
  g.DrawGraph<float>(0, block.data(), 100, 1);
  EXPECT_EQ(0, g.IsDrawed());
  EXPECT_EQ(100u, g.m_pDrawer->m_samples.size());
  g.Destroy();
}

// Rectangles near the 32-bit limits, reversed or too large for memory, make
// a window and a drawer that paint and save without overflow or crash.
TEST(GraphWnd, ExtremeRectanglesGiveAWorkingGraph) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(300, 200, true));
  const LONG lo = INT_MIN, hi = INT_MAX;
  for (const RECT r : {RECT{lo, lo, hi, hi}, RECT{hi, hi, lo, lo}, RECT{hi - 10, 0, hi, 50}, RECT{0, 0, 200000, 200000}}) {
    CGraphWnd g;
    g.Create(r, &host, L"t", L"x", L"y");
    ASSERT_TRUE(IsWindow(g.m_hWnd));
    const std::vector<float> block = Sine(64, 1);
    g.SetROIAutoY(0, 64, 0, 1, 4, 4);
    g.DrawGraph<float>(0, block.data(), 64, 1);
    g.UpdateWindow();
    COrvekGlobals::PumpMessages(10);
    g.Destroy();
  }
}

// SaveImage may run on any thread while the owner destroys the graph: it
// either writes the picture or gives E_FAIL.
TEST(GraphWnd, SaveImageOnAnotherThreadDuringDestroy) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(300, 200, false));
  const std::wstring path = TestPath("save_during_destroy.png");
  for (int round = 0; round < 20; ++round) {
    CGraphWnd g;
    g.Create(CRect(0, 0, 120, 80), &host, L"t", nullptr, nullptr);
    std::atomic<bool> stop{false};
    std::atomic<int> saved{0};
    std::thread saver([&] {
      while (!stop.load()) {
        const LONG r = g.SaveImage(path.c_str());
        ASSERT_TRUE(r == S_OK || r == E_FAIL);
        if (r == E_FAIL) break;
        ++saved;
      }
    });
    while (saved.load() == 0 && round % 2 == 0) std::this_thread::yield();
    g.Destroy();
    stop.store(true);
    saver.join();
    EXPECT_EQ(E_FAIL, g.SaveImage(path.c_str()));
  }
}

TEST(GraphWnd, IntakeModesHighlightsAndAdaptation) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, false));
  CGraphWnd g;
  tagGraphWndInfo info = Info(3);
  g.Create(&info, &host, 25.0f);
  const std::vector<short> block(64, 7);

  // A strip chart's ring only grows; a sweep's takes each call's length.
  g.DrawGraphHistory<short>(0, block.data(), 64, 500, 1);
  g.DrawGraphHistory<short>(0, block.data(), 64, 200, 1);
  EXPECT_EQ(500, g.m_nHistory);
  EXPECT_EQ(500u * 3, g.m_pDrawer->m_samples.size());
  g.DrawGraphHistoryCircular<short>(1, block.data(), 64, 300, 1);
  g.DrawGraphHistoryCircular<short>(1, block.data(), 64, 100, 1);
  EXPECT_EQ(100, g.m_nHistory);
  g.DrawGraphAvg<unsigned char>(2, reinterpret_cast<const unsigned char*>(block.data()), 64, 0.5, 2);
  g.DrawGraph<double>(3, nullptr, 64, 1);  // beyond the curves: dropped before the data are read

  g.HighlightCurve(1, 5, 9);
  g.HighlightCurve(3, 1, 2);  // ignored
  ASSERT_EQ(3u, g.m_pDrawer->m_highlights.size());
  EXPECT_EQ(std::make_pair(5, 9), g.m_pDrawer->m_highlights[1]);
  EXPECT_EQ(std::make_pair(0, 0), g.m_pDrawer->m_highlights[0]);

  EXPECT_EQ(0, g.m_pDrawer->m_bResetAdaptation);
  EXPECT_EQ(S_OK, g.ResetAdaptation());
  EXPECT_EQ(1, g.m_pDrawer->m_bResetAdaptation);
  g.Destroy();
  EXPECT_EQ(S_OK, g.ResetAdaptation()) << "also without a drawer";
}

TEST(GraphWnd, ThousandBlocksInOnePeriodCostOnePaint) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, true));
  CCountingGraph g;
  tagGraphWndInfo info = Info(1);
  g.Create(&info, &host, 4.0f);  // 250 ms
  ASSERT_TRUE(WaitFor([&] { return g.m_nPaints.load() > 0; }));
  COrvekGlobals::PumpMessages(300);  // the paints of showing are over
  g.m_nPaints = 0;

  const std::vector<float> block = Sine(256, 2);
  for (int i = 0; i < 1000; ++i) g.DrawGraph<float>(0, block.data(), 256, 1);
  EXPECT_EQ(0, g.IsDrawed());
  EXPECT_EQ(0, g.m_nPaints.load()) << "nothing is drawn before the timer";
  COrvekGlobals::PumpMessages(700);  // two ticks at least: the second finds nothing to do
  EXPECT_EQ(1, g.m_nPaints.load());
  EXPECT_EQ(1, g.IsDrawed());
  EXPECT_EQ(0, g.m_pDrawer->m_bDataPending);
  g.Destroy();
}

TEST(GraphWnd, HiddenWindowDoesNotPaintUntilShown) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, false));
  CCountingGraph g;
  tagGraphWndInfo info = Info(1);
  g.Create(&info, &host, 50.0f);  // 20 ms
  const std::vector<int> block(300, 5);
  g.DrawGraph<int>(0, block.data(), 300, 1);
  COrvekGlobals::PumpMessages(200);
  EXPECT_EQ(0, g.m_nPaints.load());
  EXPECT_EQ(0, g.IsDrawed());
  EXPECT_EQ(1, g.m_pDrawer->m_bDataPending);

  host.ShowWindow(SW_SHOW);
  EXPECT_TRUE(WaitFor([&] { return g.IsDrawed() == 1; }, 1000)) << "the first tick after showing";
  EXPECT_TRUE(WaitFor([&] { return g.m_pDrawer->m_bDataPending == 0; }, 1000));
  EXPECT_GE(g.m_nPaints.load(), 1);

  // A paint after Destroy finds no drawer and draws nothing.
  g.Destroy();
  const int before = g.m_nPaints.load();
  g.InvalidateRect(nullptr, FALSE);
  g.UpdateWindow();
  EXPECT_EQ(before + 1, g.m_nPaints.load());
  EXPECT_EQ(E_FAIL, g.SaveImage(TestPath("destroyed.png").c_str()));
}

TEST(GraphWnd, CapturedFrameShowsTheCurveWhereItBelongs) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, true));
  CGraphWnd g;
  tagGraphWndInfo info = Info(1, L"sine");
  g.Create(&info, &host, 100.0f);
  const int n = 1000;
  g.SetROI(0, n, 0.0f, 1.0f, 5, -1.25, 1.25, -1.25f, 1.25f, 5);
  const std::vector<float> block = Sine(n, 2);
  g.DrawGraph<float>(0, block.data(), n, 1);
  ASSERT_TRUE(WaitFor([&] { return g.IsDrawed() == 1 && g.m_pDrawer->m_bDataPending == 0; }));

  const std::wstring path = TestPath("graph_frame.png");
  ASSERT_EQ(S_OK, g.SaveImage(path.c_str()));
  const QImage img = LoadPng(path);
  ASSERT_EQ(QSize(400, 300), img.size());
  // In each tested column the curve's pixels lie round the row of its sample.
  int columns = 0;
  for (int x = 60; x < 340; x += 20) {
    const int i = static_cast<int>(std::lround(x * (n - 1) / 399.0));
    const double row = 299.0 - (block[static_cast<std::size_t>(i)] + 1.25) * 299.0 / 2.5;
    double sum = 0;
    int count = 0;
    for (int y = 0; y < 300; ++y)
      if (IsCurvePixel(img.pixel(x, y))) {
        sum += y;
        ++count;
      }
    if (count == 0) continue;
    ++columns;
    EXPECT_NEAR(row, sum / count, 6.0) << "column " << x;
  }
  EXPECT_GE(columns, 12);
  EXPECT_EQ(E_FAIL, g.SaveImage(nullptr));
  EXPECT_EQ(E_FAIL, g.SaveImage(L"/nonexistent-folder/x.png"));
  g.Destroy();
}

}  // namespace

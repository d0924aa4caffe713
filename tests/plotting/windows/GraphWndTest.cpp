#include "WindowsTest.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QProcess>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <climits>
#include <cstdlib>
#include <thread>

namespace {

// Makes a graph of that many curves at 10, 10 - 410, 310 in the host.
void Make(CGraphWnd& g, CWnd& host, int nCurves, float rate, const wchar_t* title = L"graph") {
  tagGraphWndInfo info{{10, 10, 410, 310}, title, L"x", L"y", nCurves};
  g.Create(&info, &host, rate);
}

// The redraw timer's period, or -1 without one.
int Period(const CWnd& g) {
  UINT ms = 0;
  return g.GetTimerElapse(1, &ms) ? static_cast<int>(ms) : -1;
}

TEST(GraphWnd, RedrawPeriodsCurveCountsAndDestroy) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, false));
  for (const auto& [rate, ms] : {std::pair<float, int>{25.0f, 40}, {30.0f, 33}, {1000.0f, 1}, {2.0f, 500}}) {
    CGraphWnd g;
    Make(g, host, 2, rate);
    EXPECT_EQ(std::make_pair(ms, UINT_PTR{1}), std::make_pair(Period(g), g.m_nRedrawTimer)) << "rate " << rate;
    g.Destroy();
    EXPECT_TRUE(g.m_pDrawer == nullptr && g.m_nRedrawTimer == 0 && Period(g) == -1);
    EXPECT_TRUE(::IsWindow(g.m_hWnd)) << "the window outlives Destroy";
  }

  // Counts below 1 give one curve; the rectangle form always has one.
  for (int n : {0, -3, 3}) {
    CGraphWnd g;
    Make(g, host, n, 25.0f);
    EXPECT_EQ(n < 1 ? 1 : n, g.m_nCurves);
    EXPECT_EQ(QSize(400, 300), ClientSize(g));
    g.Destroy();
  }
  CGraphWnd g;
  g.Create(CRect(0, 0, 200, 100), &host, nullptr, L"time", nullptr);
  EXPECT_EQ(std::make_pair(40, 1), std::make_pair(Period(g), g.m_nCurves));
  EXPECT_TRUE(g.m_pDrawer->m_sTitle.GetLength() == 0 && g.m_pDrawer->m_sYName.GetLength() == 0);
  EXPECT_STREQ(L"time", g.m_pDrawer->m_sXName.GetString());
  const std::vector<float> block = Sine(100, 1);
  g.DrawGraph<float>(1, block.data(), 100, 1);  // no curve 1 here: dropped
  EXPECT_EQ(std::make_pair(1, std::size_t{0}), std::make_pair(g.IsDrawed(), g.m_pDrawer->m_samples.size()));
  g.DrawGraph<float>(0, block.data(), 100, 1);
  EXPECT_EQ(std::make_pair(0, std::size_t{100}), std::make_pair(g.IsDrawed(), g.m_pDrawer->m_samples.size()));
  g.Destroy();
}

// Rectangles near the 32-bit limits, reversed or too large for memory: a window that paints without overflow or crash.
TEST(GraphWnd, ExtremeRectanglesGiveAWorkingGraph) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(300, 200, true));
  const LONG lo = INT_MIN, hi = INT_MAX;
  for (const RECT r :
       {RECT{lo, lo, hi, hi}, RECT{hi, hi, lo, lo}, RECT{hi - 10, 0, hi, 50}, RECT{0, 0, 200000, 200000}}) {
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

// SaveImage may run on any thread while the owner destroys the graph: it either writes the picture or gives E_FAIL.
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
  Make(g, host, 3, 25.0f);
  const std::vector<short> block(64, 7);

  // A strip chart's ring only grows; a sweep's takes each call's length.
  g.DrawGraphHistory<short>(0, block.data(), 64, 500, 1);
  g.DrawGraphHistory<short>(0, block.data(), 64, 200, 1);
  EXPECT_EQ(std::make_pair(500, std::size_t{500 * 3}), std::make_pair(g.m_nHistory, g.m_pDrawer->m_samples.size()));
  g.DrawGraphHistoryCircular<short>(1, block.data(), 64, 300, 1);
  g.DrawGraphHistoryCircular<short>(1, block.data(), 64, 100, 1);
  EXPECT_EQ(100, g.m_nHistory);
  g.DrawGraphAvg<unsigned char>(2, reinterpret_cast<const unsigned char*>(block.data()), 64, 0.5, 2);
  g.DrawGraph<double>(3, nullptr, 64, 1);  // beyond the curves: dropped before the data are read

  g.HighlightCurve(1, 5, 9);
  g.HighlightCurve(3, 1, 2);  // ignored
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}, {5, 9}, {0, 0}}), g.m_pDrawer->m_highlights);

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
  Make(g, host, 1, 4.0f);  // 250 ms
  ASSERT_TRUE(WaitFor([&] { return g.m_nPaints.load() > 0; }));
  COrvekGlobals::PumpMessages(300);  // the paints of showing are over
  g.m_nPaints = 0;

  const std::vector<float> block = Sine(256, 2);
  for (int i = 0; i < 1000; ++i) g.DrawGraph<float>(0, block.data(), 256, 1);
  EXPECT_EQ(0, g.IsDrawed());
  EXPECT_EQ(0, g.m_nPaints.load()) << "nothing is drawn before the timer";
  COrvekGlobals::PumpMessages(700);  // two ticks at least: the second finds nothing to do
  EXPECT_EQ(std::make_tuple(1, 1, 0), std::make_tuple(g.m_nPaints.load(), g.IsDrawed(), g.m_pDrawer->m_bDataPending));
  g.Destroy();
}

TEST(GraphWnd, HiddenWindowDoesNotPaintUntilShown) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, false));
  CCountingGraph g;
  Make(g, host, 1, 50.0f);  // 20 ms
  const std::vector<int> block(300, 5);
  g.DrawGraph<int>(0, block.data(), 300, 1);
  COrvekGlobals::PumpMessages(200);
  EXPECT_EQ(std::make_tuple(0, 0, 1), std::make_tuple(g.m_nPaints.load(), g.IsDrawed(), g.m_pDrawer->m_bDataPending));

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
}

TEST(GraphWnd, CapturedFrameShowsTheCurveWhereItBelongs) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, true));
  CGraphWnd g;
  Make(g, host, 1, 100.0f, L"sine");
  const int n = 1000;
  g.SetROI(0, n, 0.0f, 1.0f, 5, -1.25, 1.25, -1.25f, 1.25f, 5);
  const std::vector<float> block = Sine(n, 2);
  ASSERT_TRUE(DrawnAndSettled(g, block));
  const QImage img = Saved(g, "graph_frame.png");
  ASSERT_EQ(QSize(400, 300), img.size());
  // In each tested column the curve's pixels lie round the row of its sample.
  int columns = 0;
  for (int x = 60; x < 340; x += 20) {
    const int i = static_cast<int>(std::lround(x * (n - 1) / 399.0));
    const double row = 299.0 - (block[static_cast<std::size_t>(i)] + 1.25) * 299.0 / 2.5, found = CurveRow(img, x);
    if (found < 0) continue;
    ++columns;
    EXPECT_NEAR(row, found, 6.0) << "column " << x;
  }
  EXPECT_GE(columns, 12);
  EXPECT_EQ(E_FAIL, g.SaveImage(nullptr));
  EXPECT_EQ(E_FAIL, g.SaveImage(L"/nonexistent-folder/x.png"));
  g.Destroy();
}

TEST(Resize, GraphWndFollowsMoveWindowKeepingDataAndRanges) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(700, 600, true));
  for (const BOOL resize : {TRUE, FALSE}) {
    CGraphWnd g;
    g.EnableResize(resize);
    tagGraphWndInfo info{{0, 0, 400, 300}, L"flat", L"x", L"y", 1};
    g.Create(&info, &host, 100.0f);
    g.SetROI(0, 200, 0.0f, 1.0f, 4, -1.0, 1.0, -1.0f, 1.0f, 4);
    ASSERT_TRUE(DrawnAndSettled(g, std::vector<double>(200, 0.5)));
    for (const QSize size : {QSize(600, 500), QSize(400, 300), QSize(160, 90)}) {
      g.MoveWindow(5, 5, size.width(), size.height());
      EXPECT_EQ(size, ClientSize(g));
      const QSize drawn = resize ? size : QSize(400, 300);
      ASSERT_TRUE(WaitFor([&] { return BitmapSize(g) == drawn; })) << size.width();
      EXPECT_EQ(std::make_tuple(std::size_t{200}, -1.0, 1.0),
                std::make_tuple(g.m_pDrawer->m_samples.size(), g.m_pDrawer->m_dYMin, g.m_pDrawer->m_dYMax));
      const QImage img = Saved(g, "resize_flat.png");
      ASSERT_EQ(drawn, img.size());
      const double row = (drawn.height() - 1) * 0.25;  // 0.5 in -1 .. 1, from the top
      for (int x : {drawn.width() / 3, drawn.width() / 2, drawn.width() * 4 / 5})
        EXPECT_NEAR(row, CurveRow(img, x), 1.5) << size.width() << " column " << x;
    }
    g.Destroy();
  }
}

TEST(Resize, GraphWndGrowsWithTheLayoutOfAQtHost) {
  CHostWindow anchor;  // lends the graph a parent until the layout takes it
  ASSERT_TRUE(anchor.Create(100, 100, false));
  for (const BOOL resize : {TRUE, FALSE}) {
    QWidget host;
    auto* layout = new QVBoxLayout(&host);
    layout->addWidget(new QLabel("readings"));
    CGraphWnd g;
    g.EnableResize(resize);
    g.Create(CRect(0, 0, 320, 200), &anchor, L"embedded", nullptr, nullptr);
    QWidget* gw = g.GetQWidget();
    layout->addWidget(gw);
    EXPECT_EQ(QSize(320, 200), gw->sizeHint());
    EXPECT_EQ(QSize(40, 30), gw->minimumSizeHint());
    EXPECT_EQ(resize ? QSizePolicy::Expanding : QSizePolicy::Preferred, gw->sizePolicy().verticalPolicy());
    host.show();
    ASSERT_TRUE(WaitFor([&] { return gw->isVisible() && gw->width() >= 320; }));
    EXPECT_EQ(200, gw->height()) << "the host opens at the graph's own size";

    host.resize(800, 700);
    ASSERT_TRUE(WaitFor([&] { return gw->width() > 760; }));
    EXPECT_TRUE(!resize || gw->height() > 600) << "the graph takes the room the label leaves";
    const QSize drawn = resize ? gw->size() : QSize(320, 200);
    EXPECT_TRUE(WaitFor([&] { return BitmapSize(g) == drawn; }));
    EXPECT_EQ(drawn, Saved(g, "resize_embedded.png").size());
    g.Destroy();
  }
}

// Set in the child process that runs on two screens of ratio 1 and 2.
constexpr char kDensityOut[] = "ORVEK_TEST_DENSITY_OUT";

std::wstring Wide(const QString& s) { return s.toStdWString(); }

// In the child: a graph's picture on the ratio-1 screen, then moved to the ratio-2 one; and a graph made there.
TEST(Resize, DensityChild) {
  const char* out = std::getenv(kDensityOut);
  if (!out) GTEST_SKIP() << "runs in the child of RatioTwoDrawsFinerNotDoubled";
  const QList<QScreen*> screens = QGuiApplication::screens();
  ASSERT_EQ(2, screens.size());
  CHostWindow host;
  ASSERT_TRUE(host.Create(500, 400, true));
  QWindow* window = host.GetQWidget()->windowHandle();
  window->setScreen(screens[0]);
  CGraphWnd g;
  tagGraphWndInfo info{{0, 0, 400, 300}, L"sine", L"time", L"volts", 1};
  g.Create(&info, &host, 100.0f);
  g.SetROI(0, 1000, 0.0f, 1.0f, 5, -1.25, 1.25, -1.25f, 1.25f, 5);
  ASSERT_TRUE(DrawnAndSettled(g, Sine(1000, 2)));
  ASSERT_EQ(1.0f, g.m_pDrawer->m_pFrameBitmap->GetDevicePixelRatio());
  ASSERT_EQ(S_OK, g.SaveImage(Wide(QString(out) + "/ratio1.png").c_str()));

  window->setScreen(screens[1]);
  ASSERT_EQ(2.0, host.GetQWidget()->devicePixelRatioF());
  g.InvalidateRect(nullptr, FALSE);
  ASSERT_TRUE(WaitFor([&] { return g.m_pDrawer->m_pFrameBitmap->GetDevicePixelRatio() == 2.0f; }));
  EXPECT_EQ(QSize(400, 300), BitmapSize(g)) << "logical size kept";
  ASSERT_EQ(S_OK, g.SaveImage(Wide(QString(out) + "/ratio2.png").c_str()));

  CGraphWnd there;
  there.Create(&info, &host, 100.0f);
  EXPECT_EQ(2.0f, there.m_pDrawer->m_pFrameBitmap->GetDevicePixelRatio()) << "made at its parent's ratio";
  there.Destroy();
  g.Destroy();
}

TEST(Resize, RatioTwoDrawsFinerNotDoubled) {
  if (std::getenv(kDensityOut)) GTEST_SKIP() << "the parent's part";
  const QString dir = QString::fromStdWString(TestPath("density"));
  QFile::remove(dir + "/ratio1.png");
  QFile::remove(dir + "/ratio2.png");
  ASSERT_TRUE(QDir().mkpath(dir));
  const QString config = dir + "/screens.json";
  QFile f(config);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write(R"({"screens": [{"name": "one", "x": 0, "y": 0, "width": 1600, "height": 1200, "dpr": 1},
                          {"name": "two", "x": 1600, "y": 0, "width": 1600, "height": 1200, "dpr": 2}]})");
  f.close();

  QProcess child;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert("QT_QPA_PLATFORM", "offscreen:configfile=" + config);
  env.insert(kDensityOut, dir);
  env.remove("QT_SCALE_FACTOR");
  child.setProcessEnvironment(env);
  child.setProcessChannelMode(QProcess::ForwardedChannels);
  child.start(QCoreApplication::applicationFilePath(), {"--gtest_filter=Resize.DensityChild"});
  ASSERT_TRUE(child.waitForFinished(240000));
  ASSERT_EQ(QProcess::NormalExit, child.exitStatus());
  ASSERT_EQ(0, child.exitCode());

  const QImage one = QImage(dir + "/ratio1.png").convertToFormat(QImage::Format_RGB32);
  const QImage two = QImage(dir + "/ratio2.png").convertToFormat(QImage::Format_RGB32);
  ASSERT_EQ(QSize(400, 300), one.size());
  ASSERT_EQ(QSize(800, 600), two.size()) << "the physical pixels";
  // Each 2 x 2 block averages to about the ratio-1 pixel ...
  double diff = 0;
  long long doubled = 0;
  for (int y = 0; y < 300; ++y)
    for (int x = 0; x < 400; ++x) {
      const QRgb p = one.pixel(x, y);
      const QRgb q[4] = {two.pixel(2 * x, 2 * y), two.pixel(2 * x + 1, 2 * y), two.pixel(2 * x, 2 * y + 1),
                         two.pixel(2 * x + 1, 2 * y + 1)};
      for (int shift : {0, 8, 16}) {
        const auto at = [shift](QRgb v) { return static_cast<int>((v >> shift) & 0xFFu); };
        diff += std::abs((at(q[0]) + at(q[1]) + at(q[2]) + at(q[3])) / 4.0 - at(p));
      }
      for (const QRgb v : q) doubled += v == p;
    }
  EXPECT_LT(diff / (3.0 * 400 * 300), 4.0);
  EXPECT_GT(800LL * 600 - doubled, 4000) << "... but is not the ratio-1 picture with every pixel doubled";
}

// Host threads feed the curves of one strip chart at once: its ring grows to
// the largest length any of them asked for and never shrinks back.
TEST(GraphWnd, StripChartLengthFedFromSeveralThreads) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(300, 200, false));
  CGraphWnd g;
  Make(g, host, 2, 25.0f);
  const std::vector<short> block(16, 3);
  std::vector<std::thread> feeders;
  for (int c = 0; c < 2; ++c)
    feeders.emplace_back([&, c] {
      for (int n = 1; n <= 2000; ++n) g.DrawGraphHistory<short>(c, block.data(), 16, 2 * n + c, 1);
    });
  for (std::thread& t : feeders) t.join();
  EXPECT_EQ(4001, g.m_nHistory);
  g.Destroy();
}

}  // namespace

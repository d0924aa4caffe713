#include "WindowsTest.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QProcess>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

#include <cstdlib>
#include <memory>

#include <orvek/plotting/drawer/GraphDrawer.h>

namespace {

QSize BitmapSize(const CGraphWnd& g) {
  const Gdiplus::Bitmap* b = g.m_pDrawer->m_pFrameBitmap;
  return QSize(static_cast<int>(b->GetWidth()), static_cast<int>(b->GetHeight()));
}

QSize ClientSize(const CWnd& w) {
  CRect rc;
  w.GetClientRect(&rc);
  return QSize(rc.Width(), rc.Height());
}

// Resizes a top-level window as a user's drag does and waits for the layout.
bool ResizeTo(CWnd& w, QSize size, QSize expect) {
  w.GetQWidget()->resize(size);
  return WaitFor([&] { return ClientSize(w) == expect; });
}

// Mean row of the curve's pixels in a column, or -1 where it has none.
double CurveRow(const QImage& img, int x) {
  double sum = 0;
  int count = 0;
  for (int y = 0; y < img.height(); ++y)
    if (IsCurvePixel(img.pixel(x, y))) {
      sum += y;
      ++count;
    }
  return count ? sum / count : -1.0;
}

TEST(Resize, GraphsWindowLaysOutInProportionWithoutOverlap) {
  tagGraphWndInfo info[] = {{{0, 0, 300, 200}, L"a", nullptr, nullptr, 1},
                            {{300, 0, 500, 200}, L"b", nullptr, nullptr, 1},
                            {{0, 200, 500, 260}, L"c", nullptr, nullptr, 1},
                            {{0, 260, 20, 280}, nullptr, nullptr, nullptr, 1}};  // smaller than the least
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 4, nullptr, 50.0f));
  EXPECT_TRUE(w.GetStyle() & WS_THICKFRAME);
  w.ShowWindow();
  const QSize base = ClientSize(w);
  ASSERT_EQ(QSize(520, 300), base);
  // Shrinking stops where graph c (60 high) would drop below 30 rows and
  // graph b (200 wide) below 40 columns.
  EXPECT_EQ(QSize(104, 150), w.GetQWidget()->minimumSize());

  const struct {
    QSize ask, expect;
  } steps[] = {{{1040, 600}, {1040, 600}},
               {{700, 333}, {700, 333}},
               {{300, 190}, {300, 190}},
               {{50, 50}, {104, 150}},
               {{520, 300}, {520, 300}}};
  for (const auto& s : steps) {
    ASSERT_TRUE(ResizeTo(w, s.ask, s.expect)) << s.ask.width() << "x" << s.ask.height();
    const double fx = s.expect.width() / 520.0, fy = s.expect.height() / 300.0;
    std::vector<CRect> rects;
    for (int i = 0; i < 4; ++i) {
      CRect r, child;
      ASSERT_EQ(S_OK, w.GetGraphWndRect(i, &r));
      CGraphWnd* g = w.m_graphs[static_cast<std::size_t>(i)];
      g->GetWindowRect(&child);
      w.ScreenToClient(&child);
      EXPECT_EQ(r, child) << "graph " << i;
      EXPECT_NEAR(info[i].rcWindow.left * fx, r.left, 0.5);
      EXPECT_NEAR(info[i].rcWindow.bottom * fy, r.bottom, 0.5);
      EXPECT_TRUE(i == 3 || (r.Width() >= 40 && r.Height() >= 30)) << i;
      EXPECT_TRUE(WaitFor([&] { return BitmapSize(*g) == QSize(r.Width(), r.Height()); })) << i;
      for (const CRect& o : rects) {
        CRect both;
        EXPECT_FALSE(both.IntersectRect(&o, &r)) << "graph " << i;
      }
      rects.push_back(r);
    }
    EXPECT_EQ(CRect(info[0].rcWindow) == rects[0], s.expect == base) << "back at the Create size, the Create layout";
  }

  // Off on the live window: the size is fixed and the graphs stay.
  w.EnableResize(FALSE);
  EXPECT_FALSE(w.GetStyle() & WS_THICKFRAME);
  w.GetQWidget()->resize(800, 600);
  COrvekGlobals::PumpMessages(50);
  EXPECT_EQ(base, ClientSize(w));
  w.EnableResize(TRUE);
  ASSERT_TRUE(ResizeTo(w, {780, 450}, {780, 450}));
  CRect r;
  ASSERT_EQ(S_OK, w.GetGraphWndRect(1, &r));
  EXPECT_EQ(CRect(465, 15, 765, 315), r);
  w.Destroy();

  // Off before Create: the window of old, fixed at its size.
  CGraphsWindow fixed;
  fixed.EnableResize(FALSE);
  info[0].rcWindow = CRect(0, 0, 200, 100);
  ASSERT_EQ(1, fixed.Create(info, 1, nullptr, 50.0f));
  EXPECT_FALSE(fixed.GetStyle() & WS_THICKFRAME);
  fixed.ShowWindow();
  fixed.GetQWidget()->resize(700, 500);
  COrvekGlobals::PumpMessages(50);
  EXPECT_EQ(QSize(220, 120), ClientSize(fixed));
  ASSERT_EQ(S_OK, fixed.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(10, 10, 210, 110), r);
  fixed.Destroy();
}

// A window made again after the user closed it answers the new layout.
TEST(Resize, GraphsWindowMadeAgainAnswersItsNewRectangles) {
  tagGraphWndInfo info[] = {{{0, 0, 300, 200}, nullptr, nullptr, nullptr, 1}};
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 1, nullptr, 50.0f));
  w.GetQWidget()->close();
  ASSERT_FALSE(::IsWindow(w.m_hWnd));
  info[0].rcWindow = CRect(0, 0, 100, 80);
  ASSERT_EQ(1, w.Create(info, 1, nullptr, 50.0f));
  CRect r;
  ASSERT_EQ(S_OK, w.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(10, 10, 110, 90), r);
  w.ShowWindow();
  ASSERT_TRUE(ResizeTo(w, {240, 200}, {240, 200}));
  ASSERT_EQ(S_OK, w.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(20, 20, 220, 180), r);
  w.Destroy();
}

// A flat line keeps its proportional row, and data and ranges stay, as a
// graph follows MoveWindow; with resizing off it keeps its bitmaps.
TEST(Resize, GraphWndFollowsMoveWindowKeepingDataAndRanges) {
  CHostWindow host;
  ASSERT_TRUE(host.Create(700, 600, true));
  for (const BOOL resize : {TRUE, FALSE}) {
    CGraphWnd g;
    g.EnableResize(resize);
    tagGraphWndInfo info{{0, 0, 400, 300}, L"flat", L"x", L"y", 1};
    g.Create(&info, &host, 100.0f);
    g.SetROI(0, 200, 0.0f, 1.0f, 4, -1.0, 1.0, -1.0f, 1.0f, 4);
    const std::vector<double> flat(200, 0.5);
    g.DrawGraph<double>(0, flat.data(), 200, 1);
    ASSERT_TRUE(WaitFor([&] { return g.IsDrawed() == 1 && g.m_pDrawer->m_bDataPending == 0; }));
    for (const QSize size : {QSize(600, 500), QSize(400, 300), QSize(160, 90)}) {
      g.MoveWindow(5, 5, size.width(), size.height());
      EXPECT_EQ(size, ClientSize(g));
      const QSize drawn = resize ? size : QSize(400, 300);
      ASSERT_TRUE(WaitFor([&] { return BitmapSize(g) == drawn; })) << size.width();
      EXPECT_EQ(200u, g.m_pDrawer->m_samples.size());
      EXPECT_EQ(-1.0, g.m_pDrawer->m_dYMin);
      EXPECT_EQ(1.0, g.m_pDrawer->m_dYMax);
      const std::wstring path = TestPath("resize_flat.png");
      ASSERT_EQ(S_OK, g.SaveImage(path.c_str()));
      const QImage img = LoadPng(path);
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
    const std::wstring path = TestPath("resize_embedded.png");
    ASSERT_EQ(S_OK, g.SaveImage(path.c_str()));
    EXPECT_EQ(drawn, LoadPng(path).size());
    g.Destroy();
  }
}

// ---- device pixel ratio ----

// Set in the child process that runs on two screens of ratio 1 and 2.
constexpr char kDensityOut[] = "ORVEK_TEST_DENSITY_OUT";

std::wstring Wide(const QString& s) { return s.toStdWString(); }

// In the child: one graph on the ratio-1 screen, its picture; the host moved
// to the ratio-2 screen, the same graph's picture; and a graph made there.
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
  const std::vector<float> block = Sine(1000, 2);
  g.DrawGraph<float>(0, block.data(), 1000, 1);
  ASSERT_TRUE(WaitFor([&] { return g.IsDrawed() == 1 && g.m_pDrawer->m_bDataPending == 0; }));
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
  const double meanDiff = diff / (3.0 * 400 * 300);
  EXPECT_LT(meanDiff, 4.0);
  // ... but is not the ratio-1 picture with every pixel doubled.
  const long long differing = 800LL * 600 - doubled;
  EXPECT_GT(differing, 4000) << "of " << 800 * 600;
  RecordProperty("mean_block_difference", std::to_string(meanDiff));
  RecordProperty("pixels_not_doubled", std::to_string(differing));
}

}  // namespace

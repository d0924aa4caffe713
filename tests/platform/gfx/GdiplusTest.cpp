#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QPen>

#include <cmath>
#include <string>
#include <vector>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/gfx/Gdiplus.h>
#include <orvek/platform/gfx/QtInterop.h>
#include <support/SessionEnvironment.h>

using namespace Gdiplus;

namespace {

const auto* g_session = AddSessionEnvironment();

DWORD At(Bitmap& b, int x, int y) {
  Color c;
  EXPECT_EQ(b.GetPixel(x, y, &c), Ok);
  return c.GetValue() & 0xFFFFFFu;
}

}  // namespace

TEST(Gfx, BitmapsCopiesClipsAndPng) {
  Bitmap a(40, 30), b(40, 30);
  ASSERT_EQ(a.GetLastStatus(), Ok);
  EXPECT_EQ(QtImage(&a)->format(), QImage::Format_RGB32);
  EXPECT_EQ(At(a, 5, 5), 0u);  // new bitmaps are black
  EXPECT_EQ(Bitmap(0, 10).GetLastStatus(), InvalidParameter);
  {
    Graphics g(&a);
    g.Clear(Color(0xFF102030u));
    g.SetClip(Rect(10, 0, 5, 30));
    SolidBrush red(Color(0xFFFF0000u));
    g.FillRectangle(&red, 0, 0, 40, 30);  // only the clip changes
  }
  EXPECT_EQ((std::vector<DWORD>{At(a, 9, 3), At(a, 10, 3), At(a, 14, 3), At(a, 15, 3)}),
            (std::vector<DWORD>{0x102030u, 0xFF0000u, 0xFF0000u, 0x102030u}));
  {
    Graphics g(&b);
    EXPECT_EQ(g.DrawImage(&a, 20, 10, 8, 0, 4, 30, UnitPixel), Ok);  // columns 8..11 to 20..23
    EXPECT_EQ(g.DrawImage(&a, 0, 0, 0, 0, 1, 1, UnitPoint), InvalidParameter);
  }
  // Rows above the copy untouched.
  EXPECT_EQ((std::vector<DWORD>{At(b, 19, 15), At(b, 21, 15), At(b, 22, 15), At(b, 22, 5)}),
            (std::vector<DWORD>{0u, 0x102030u, 0xFF0000u, 0u}));
  const std::string path = std::string(ORVEK_TEST_BINARY_DIR) + "/gfx_copy.png";
  ASSERT_EQ(b.SavePng(path.c_str()), Ok);
  QImage back(QString::fromStdString(path));
  ASSERT_FALSE(back.isNull());
  EXPECT_EQ(back.convertToFormat(QImage::Format_RGB32), *QtImage(&b));
}

TEST(Gfx, FontsAndText) {
  EXPECT_EQ(Pen(Color(0xFFFFFFFFu), 0.0f).GetLastStatus(), InvalidParameter);
  Bitmap bmp(120, 60);
  Graphics g(&bmp);
  const FontFamily missing(L"No Such Face 9");
  EXPECT_EQ(missing.GetLastStatus(), FontFamilyNotFound);
  Font bad(&missing, 10.0f);
  EXPECT_NE(bad.GetLastStatus(), Ok);
  Font font(FontFamily::GenericSansSerif(), 12.0f);  // 12 points are 16 pixels at 96 dpi
  ASSERT_EQ(font.GetLastStatus(), Ok);
  RectF box;
  ASSERT_EQ(g.MeasureString(L"0.5", -1, &font, RectF(0, 0, 0, 0), &box), Ok);
  EXPECT_TRUE(box.Width > 10.0f && box.Height >= 16.0f && box.Height < 26.0f) << box.Width << " x " << box.Height;
  EXPECT_EQ(g.MeasureString(L"0.5", -1, &bad, RectF(0, 0, 0, 0), &box), InvalidParameter);
  SolidBrush white(Color(0xFFFFFFFFu));
  ASSERT_EQ(g.DrawString(L"88", -1, &font, RectF(30, 20, 0, 0), &white), Ok);
  // The text hangs from its top-left corner: ink lies right of and below it.
  int inkLeft = 120, inkTop = 60, inkBottom = 0;
  for (int y = 1; y < 59; ++y)
    for (int x = 1; x < 119; ++x)
      if (At(bmp, x, y) != 0) {
        inkLeft = std::min(inkLeft, x);
        inkTop = std::min(inkTop, y);
        inkBottom = std::max(inkBottom, y);
      }
  EXPECT_TRUE(inkLeft >= 30 && inkLeft < 34 && inkTop >= 20 && inkBottom < 20 + static_cast<int>(box.Height))
      << inkLeft << " " << inkTop << " " << inkBottom;
}

// The coverage stroker against Qt's own polyline of the same pen, with a clip and points outside the bitmap.
namespace {

// The points stroked by the library and by one Qt polyline, within 8 levels of each other.
void WideStrokeAgainstQt(std::vector<PointF>& points) {
  Bitmap fast(220, 200), plain(220, 200);
  const Pen pen(Color(0xC0FF5A00u), 2.0f);
  {
    Graphics g(&fast);
    g.SetSmoothingMode(SmoothingModeAntiAlias);
    g.SetClip(Rect(15, 0, 180, 200));
    ASSERT_EQ(g.DrawLines(&pen, points.data(), static_cast<INT>(points.size())), Ok);
    EXPECT_EQ(g.DrawLines(&pen, points.data(), 1), InvalidParameter);
  }
  {
    QPainter p(QtImage(&plain));
    p.setRenderHint(QPainter::Antialiasing);
    p.setClipRect(15, 0, 180, 200);
    p.setPen(QtPen(pen));
    QPolygonF line;
    for (const PointF& q : points) line << QPointF(q.X, q.Y);
    p.drawPolyline(line);
  }
  int worst = 0, covered = 0;
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 220; ++x) {
      const DWORD a = At(fast, x, y), b = At(plain, x, y);
      covered += b != 0;
      for (int s = 0; s <= 16; s += 8)
        worst = std::max(worst, std::abs(static_cast<int>((a >> s) & 0xFF) - static_cast<int>((b >> s) & 0xFF)));
      if (x < 15 || x >= 195) {
        ASSERT_EQ(a, 0u) << x;
      }
    }
  EXPECT_GT(covered, 5000);
  EXPECT_LE(worst, 8);
  // A point that is not a number breaks the line instead of spoiling it.
  points[1500].Y = NAN;
  Graphics g(&fast);
  g.SetSmoothingMode(SmoothingModeAntiAlias);
  EXPECT_EQ(g.DrawLines(&pen, points.data(), static_cast<INT>(points.size())), Ok);
}

}  // namespace

TEST(Gfx, WideStrokeEqualsQtPolyline) {
  // A noisy-looking wave and, thinned where it runs smoothly, a steep sine of a hundred points per pixel.
  for (const bool steep : {false, true}) {
    SCOPED_TRACE(steep);
    std::vector<PointF> points;
    for (int i = 0; i < (steep ? 20000 : 3000); ++i)
      points.push_back(steep
                           ? PointF(-5.0f + i * 0.01f, 100.0f + 90.0f * std::sin(i * 0.0157f))
                           : PointF(-20.0f + i * 0.08f, 100.0f + 140.0f * std::sin(i * 0.37f) * std::cos(i * 0.011f)));
    WideStrokeAgainstQt(points);
  }
}

// A smooth curve sampled a hundred times per pixel, far from the origin where single precision is coarse, strokes
// as the same curve sampled once per pixel: the short segments' directions add no coverage at their joins.
TEST(Gfx, DenseSmoothCurveStrokesAsItsSparseSamples) {
  for (const float slope : {0.0f, 0.3f, 1.0f}) {
    SCOPED_TRACE(slope);
    Bitmap dense(1000, 600), sparse(1000, 600);
    for (const int per : {100, 1}) {
      std::vector<PointF> points;
      for (int i = 0; i <= 300 * per; ++i) {
        const double x = 650.0 + static_cast<double>(i) / per;
        points.push_back(
            PointF(static_cast<float>(x), static_cast<float>(450 - slope * (x - 800) + 20 * std::sin((x - 650) / 50))));
      }
      Graphics g(per == 1 ? &sparse : &dense);
      g.SetSmoothingMode(SmoothingModeAntiAlias);
      const Pen pen(Color(0xFFFFFFFFu), 2.0f);
      ASSERT_EQ(g.DrawLines(&pen, points.data(), static_cast<INT>(points.size())), Ok);
    }
    int worst = 0, covered = 0;
    for (int y = 0; y < 600; ++y)
      for (int x = 640; x < 960; ++x) {
        const int a = At(dense, x, y) & 0xFF, b = At(sparse, x, y) & 0xFF;
        covered += b != 0;
        worst = std::max(worst, std::abs(a - b));
      }
    EXPECT_GT(covered, 500);
    EXPECT_LE(worst, 8);
  }
}

// A point that is not finite breaks a thin line (Qt's path) as the wide stroker breaks a wide one.
TEST(Gfx, NonFinitePointsBreakThinLines) {
  for (const float bad : {std::nanf(""), INFINITY, -INFINITY}) {
    Bitmap b(40, 10);
    Graphics g(&b);
    Pen pen(Color(0xFFFFFFFFu), 1.0f);
    const PointF points[] = {PointF(0, 5), PointF(12, 5), PointF(20, bad), PointF(28, 5), PointF(39, 5)};
    EXPECT_EQ(g.DrawLines(&pen, points, 5), Ok);
    EXPECT_TRUE(At(b, 6, 5) != 0 && At(b, 20, 5) == 0 && At(b, 33, 5) != 0) << bad;
  }
}

// Pixel centres lie on integer coordinates: a 1-pixel pen along one lights that row or column alone, with or
// without antialiasing, through every call that draws lines, at ratio 1 and 2 (a logical pixel reads as the mean).
TEST(Gfx, ThinPensLightWholePixels) {
  const Pen pen(Color(0xFFFFFFFFu), 1.0f);
  for (const REAL ratio : {1.0f, 2.0f})
    for (const SmoothingMode mode : {SmoothingModeNone, SmoothingModeAntiAlias})
      for (int call = 0; call < 3; ++call) {
        SCOPED_TRACE(testing::Message() << "ratio " << ratio << ", mode " << mode << ", call " << call);
        Bitmap b(24, 20, PixelFormat32bppRGB, ratio);
        Graphics g(&b);
        g.SetSmoothingMode(mode);
        if (call == 0) {
          ASSERT_EQ(g.DrawLine(&pen, 2, 10, 20, 10), Ok);
          ASSERT_EQ(g.DrawLine(&pen, 6, 1, 6, 18), Ok);
        } else if (call == 1) {
          const PointF h[] = {PointF(2, 10), PointF(20, 10)}, v[] = {PointF(6, 1), PointF(6, 18)};
          ASSERT_EQ(g.DrawLines(&pen, h, 2), Ok);
          ASSERT_EQ(g.DrawLines(&pen, v, 2), Ok);
        } else {
          ASSERT_EQ(g.DrawRectangle(&pen, 6, 10, 14, 5), Ok);  // rows 10 and 15, columns 6 and 20
        }
        const DWORD on = 0xFFFFFFu, right = call == 2 ? on : 0u;
        for (int x = 7; x < 20; ++x)
          EXPECT_EQ((std::vector<DWORD>{At(b, x, 9), At(b, x, 10), At(b, x, 11)}), (std::vector<DWORD>{0, on, 0})) << x;
        for (int y = 11; y < 15; ++y)
          EXPECT_EQ((std::vector<DWORD>{At(b, 5, y), At(b, 6, y), At(b, 7, y), At(b, 20, y)}),
                    (std::vector<DWORD>{0, on, 0, right}))
              << y;
        if (call == 2) {
          for (const int x : {6, 20})
            for (const int y : {10, 15}) EXPECT_EQ(At(b, x, y), 0xFFFFFFu) << x << "," << y;  // full corners
          EXPECT_EQ(At(b, 21, 12) | At(b, 13, 16), 0u);
        }
      }
}

// A dotted 1-pixel pen is one pixel on, one off, from the line's start.
TEST(Gfx, DotsAreOneOnOneOff) {
  Pen dots(Color(0xFFFFFFFFu), 1.0f);
  ASSERT_EQ(dots.SetDashStyle(DashStyleDot), Ok);
  for (const SmoothingMode mode : {SmoothingModeNone, SmoothingModeAntiAlias}) {
    Bitmap b(32, 32);
    Graphics g(&b);
    g.SetSmoothingMode(mode);
    g.DrawLine(&dots, 2, 5, 30, 5);
    g.DrawLine(&dots, 9, 2, 9, 30);
    for (int i = 4; i < 28; ++i) {
      EXPECT_EQ(At(b, i, 5), i % 2 == 0 ? 0xFFFFFFu : 0u) << mode << ": " << i;
      EXPECT_EQ(At(b, 9, i), i % 2 == 0 ? 0xFFFFFFu : 0u) << mode << ": " << i;
    }
  }
}

// Pens of 2 pixels and more keep the picture they had when thin pens moved onto the pixel grid (its checksum).
TEST(Gfx, WidePensKeepTheirPicture) {
  Bitmap b(64, 48);
  {
    Graphics g(&b);
    g.Clear(Color(0xFF203040u));
    PointF wave[40];
    for (int i = 0; i < 40; ++i) wave[i] = PointF(2.0f + i * 1.5f, 24.0f + 15.0f * std::sin(i * 0.5f));
    for (int aa = 0; aa < 2; ++aa) {
      g.SetSmoothingMode(aa ? SmoothingModeAntiAlias : SmoothingModeNone);
      for (const REAL w : {2.0f, 3.0f}) {
        const Pen pen(Color(aa ? 0xC080FF00u : 0xFFFF5A00u), w);
        g.DrawLines(&pen, wave, 40);
        g.DrawLine(&pen, 3 + aa, 5, 60, 40 - aa);
        g.DrawLine(&pen, 4.0f, 44.0f - aa, 50.5f, 2.0f);
        g.DrawRectangle(&pen, 6 + 3 * aa, 6 + 2 * aa, 40, 30);
      }
    }
  }
  unsigned h = 2166136261u;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 64; ++x) h = (h ^ At(b, x, y)) * 16777619u;
  EXPECT_EQ(h, 0x6AA5F093u);
}

// A bitmap at a device pixel ratio: logical size and coordinates, physical pixels in storage and PNG. The same
// drawing at ratio 2 averages, block by block, to the one at ratio 1, with sharper edges than a doubling.
TEST(Gfx, DevicePixelRatio) {
  for (const REAL bad : {0.0f, -1.0f, std::nanf(""), INFINITY})
    EXPECT_EQ(Bitmap(10, 10, PixelFormat32bppRGB, bad).GetLastStatus(), InvalidParameter) << bad;
  const int W = 90, H = 60;
  Bitmap one(W, H), two(W, H, PixelFormat32bppRGB, 2.0f), unit(W, H, PixelFormat32bppRGB, 1.0f);
  ASSERT_EQ(two.GetLastStatus(), Ok);
  EXPECT_EQ(std::make_pair(two.GetWidth(), two.GetHeight()), std::make_pair(UINT(W), UINT(H)));
  EXPECT_EQ(one.GetDevicePixelRatio(), 1.0f);
  EXPECT_EQ(QtImage(&two)->size(), QSize(2 * W, 2 * H));
  Bitmap odd(5, 3, PixelFormat32bppRGB, 1.5f);  // physical sizes round up
  EXPECT_EQ(std::make_pair(QtImage(&odd)->size(), odd.GetWidth()), std::make_pair(QSize(8, 5), 5u));
  ASSERT_EQ(odd.SetPixel(3, 1, Color(0xFF123456u)), Ok);  // physical columns 4 and 5, row 1
  EXPECT_EQ(QtImage(&odd)->pixel(5, 1), 0xFF123456u);
  Bitmap oddCopy(5, 3, PixelFormat32bppRGB, 1.5f);
  ASSERT_EQ(Graphics(&oddCopy).DrawImage(&odd, 0, 0), Ok);
  EXPECT_EQ(*QtImage(&oddCopy), *QtImage(&odd));
  EXPECT_EQ(QtImage(&one)->size(), QSize(W, H));
  const auto draw = [&](Bitmap& b) {
    Graphics g(&b);
    g.Clear(Color(0xFF102030u));
    g.SetSmoothingMode(SmoothingModeAntiAlias);
    std::vector<PointF> wave;
    for (int i = 0; i < 80; ++i) wave.push_back(PointF(4.0f + i, 30.0f + 20.0f * std::sin(i * 0.15f)));
    const Pen wide(Color(0xC0FF5A00u), 2.0f), thin(Color(0xFF00FFFFu), 1.0f);
    g.DrawLines(&wide, wave.data(), static_cast<INT>(wave.size()));
    g.DrawLine(&thin, 3.0f, 55.0f, 85.0f, 8.0f);
    g.DrawRectangle(&thin, 1, 1, W - 3, H - 3);
    const Font font(FontFamily::GenericSansSerif(), 9.0f);
    const SolidBrush white(Color(0xFFFFFFFFu));
    g.DrawString(L"Hg 42", -1, &font, RectF(8, 36, 0, 0), &white);
    g.SetClip(Rect(60, 0, 20, H));
    g.DrawLines(&wide, wave.data(), static_cast<INT>(wave.size()));  // twice, inside the clip only
  };
  draw(one);
  draw(two);
  draw(unit);
  EXPECT_EQ(*QtImage(&unit), *QtImage(&one));
  const QImage& big = *QtImage(&two);
  int uneven = 0, far = 0;
  double error = 0;
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      const QRgb q[4] = {big.pixel(2 * x, 2 * y), big.pixel(2 * x + 1, 2 * y), big.pixel(2 * x, 2 * y + 1),
                         big.pixel(2 * x + 1, 2 * y + 1)};
      uneven += !(q[0] == q[1] && q[0] == q[2] && q[0] == q[3]);
      DWORD mean = 0;
      for (int s = 0; s <= 16; s += 8) {
        int sum = 0;
        for (const QRgb p : q) sum += (p >> s) & 0xFF;
        mean |= static_cast<DWORD>((sum + 2) / 4) << s;
        const int e = std::abs((sum + 2) / 4 - static_cast<int>((At(one, x, y) >> s) & 0xFF));
        error += e;
        far += e > 24;
      }
      ASSERT_EQ(At(two, x, y), mean);  // a logical pixel reads as its block's mean
    }
  EXPECT_LT(error / (W * H * 3), 4.0);  // mean difference per channel
  EXPECT_LT(far, W * H * 3 / 50);       // text differs most: glyphs are hinted at each size
  EXPECT_GT(uneven, 300);
  // Copies take their source in logical pixels and keep the logical size.
  Bitmap copy(W, H, PixelFormat32bppRGB, 2.0f), flat(W, H);
  {
    Graphics g(&copy);
    ASSERT_EQ(g.DrawImage(&two, 0, 0), Ok);
    Graphics f(&flat);
    ASSERT_EQ(f.DrawImage(&two, 20, 10, 30, 20, 10, 5, UnitPixel), Ok);
  }
  EXPECT_EQ(*QtImage(&copy), big);
  EXPECT_EQ(At(flat, 19, 12) | At(flat, 30, 12), 0u);
  for (int x = 20; x < 30; ++x) EXPECT_EQ(QtImage(&flat)->pixel(x, 12), big.pixel(2 * (x + 10), 2 * 22)) << x;
  // Pixels are set a logical one at a time; the PNG has the physical ones.
  ASSERT_EQ(copy.SetPixel(3, 4, Color(0xFFABCDEFu)), Ok);
  EXPECT_EQ(QtImage(&copy)->pixel(7, 9), 0xFFABCDEFu);
  EXPECT_EQ(copy.SetPixel(W, 0, Color()), InvalidParameter);
  const std::string path = std::string(ORVEK_TEST_BINARY_DIR) + "/gfx_ratio.png";
  ASSERT_EQ(copy.SavePng(path.c_str()), Ok);
  EXPECT_EQ(QImage(QString::fromStdString(path)).convertToFormat(QImage::Format_RGB32).size(), QSize(2 * W, 2 * H));
}

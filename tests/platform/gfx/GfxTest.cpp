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

using namespace Gdiplus;

namespace {

class SessionEnvironment : public testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(COrvekGlobals::StartUp(), S_OK); }
  void TearDown() override { COrvekGlobals::ShutDown(); }
};
testing::Environment* const g_session = testing::AddGlobalTestEnvironment(new SessionEnvironment);

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
  EXPECT_EQ(At(a, 9, 3), 0x102030u);
  EXPECT_EQ(At(a, 10, 3), 0xFF0000u);
  EXPECT_EQ(At(a, 14, 3), 0xFF0000u);
  EXPECT_EQ(At(a, 15, 3), 0x102030u);
  {
    Graphics g(&b);
    EXPECT_EQ(g.DrawImage(&a, 20, 10, 8, 0, 4, 30, UnitPixel), Ok);  // columns 8..11 to 20..23
    EXPECT_EQ(g.DrawImage(&a, 0, 0, 0, 0, 1, 1, UnitPoint), InvalidParameter);
  }
  EXPECT_EQ(At(b, 19, 15), 0u);
  EXPECT_EQ(At(b, 21, 15), 0x102030u);
  EXPECT_EQ(At(b, 22, 15), 0xFF0000u);
  EXPECT_EQ(At(b, 22, 5), 0u);  // rows above the copy untouched
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
  EXPECT_GT(box.Width, 10.0f);
  EXPECT_GE(box.Height, 16.0f);
  EXPECT_LT(box.Height, 26.0f);
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
  EXPECT_GE(inkLeft, 30);
  EXPECT_LT(inkLeft, 34);
  EXPECT_GE(inkTop, 20);
  EXPECT_LT(inkBottom, 20 + static_cast<int>(box.Height));
}

// The coverage stroker against Qt's own polyline of the same pen, with a clip
// and points outside the bitmap.
TEST(Gfx, WideStrokeEqualsQtPolyline) {
  std::vector<PointF> points;
  for (int i = 0; i < 3000; ++i)
    points.push_back(PointF(-20.0f + i * 0.08f, 100.0f + 140.0f * std::sin(i * 0.37f) * std::cos(i * 0.011f)));
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

// A point that is not finite breaks a thin line (Qt's path) as the wide
// stroker breaks a wide one: a non-finite sample leaves a gap in a curve.
TEST(Gfx, NonFinitePointsBreakThinLines) {
  for (const float bad : {std::nanf(""), INFINITY, -INFINITY}) {
    Bitmap b(40, 10);
    Graphics g(&b);
    Pen pen(Color(0xFFFFFFFFu), 1.0f);
    const PointF points[] = {PointF(0, 5), PointF(12, 5), PointF(20, bad), PointF(28, 5), PointF(39, 5)};
    EXPECT_EQ(g.DrawLines(&pen, points, 5), Ok);
    EXPECT_NE(At(b, 6, 5), 0u) << bad;
    EXPECT_EQ(At(b, 20, 5), 0u) << bad;
    EXPECT_NE(At(b, 33, 5), 0u) << bad;
  }
}

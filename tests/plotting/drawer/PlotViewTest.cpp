#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <orvek/plotting/drawer/PlotView.h>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void ExpectView(const tagPlotView& want, const tagPlotView& got) {
  EXPECT_DOUBLE_EQ(want.dFirst, got.dFirst);
  EXPECT_DOUBLE_EQ(want.dLast, got.dLast);
  EXPECT_DOUBLE_EQ(want.dBottom, got.dBottom);
  EXPECT_DOUBLE_EQ(want.dTop, got.dTop);
}

}  // namespace

TEST(PlotView, ZoomPanAndBoxKeepThePointUnderTheCursor) {
  const tagPlotView v = {0, 100, -1, 1};
  const struct {
    const char* what;
    tagPlotView got, want;
  } rows[] = {
      {"zoom X in about the middle", orvek_view::ZoomX(v, 0.5, 0.5), {25, 75, -1, 1}},
      {"zoom X out about the left edge", orvek_view::ZoomX(v, 0.0, 2.0), {0, 200, -1, 1}},
      {"zoom X in about a quarter", orvek_view::ZoomX(v, 0.25, 0.5), {12.5, 62.5, -1, 1}},
      {"zoom Y in about the top", orvek_view::ZoomY(v, 1.0, 0.5), {0, 100, 0, 1}},
      {"pan right shows earlier samples", orvek_view::Pan(v, 0.1, 0.0), {-10, 90, -1, 1}},
      {"pan up shows lower values", orvek_view::Pan(v, 0.0, 0.25), {0, 100, -1.5, 0.5}},
      {"box in either corner order", orvek_view::Box(v, 0.8, 0.75, 0.2, 0.25), {20, 80, -0.5, 0.5}},
      {"reversed Y stays reversed", orvek_view::ZoomY({0, 100, 1, -1}, 0.5, 0.5), {0, 100, 0.5, -0.5}},
      // What cannot be drawn leaves the view as it was.
      {"zero factor", orvek_view::ZoomX(v, 0.5, 0.0), v},
      {"NaN factor", orvek_view::ZoomY(v, 0.5, kNaN), v},
      {"NaN pivot", orvek_view::ZoomX(v, kNaN, 0.5), v},
      {"empty box", orvek_view::Box(v, 0.3, 0.2, 0.3, 0.9), v},
      {"span beyond the numbers", orvek_view::ZoomY(v, 0.5, 1e300), v},
      {"span below a pixel's resolution", orvek_view::ZoomX({1e6, 1e6 + 1, 0, 1}, 0.5, 1e-7), {1e6, 1e6 + 1, 0, 1}},
      {"infinite pan", orvek_view::Pan(v, std::numeric_limits<double>::infinity(), 0), v},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    ExpectView(r.want, r.got);
  }
  EXPECT_TRUE(orvek_view::Usable(v));
  EXPECT_FALSE(orvek_view::Usable({0, 0, -1, 1}));
  EXPECT_FALSE(orvek_view::Usable({0, 10, kNaN, 1}));
}

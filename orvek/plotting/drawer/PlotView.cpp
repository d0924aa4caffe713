// Zoom, pan and box arithmetic of a plot's view, kept apart from any window so
// that it can be tested as plain numbers.
#include <orvek/plotting/drawer/PlotView.h>

#include <cmath>

namespace orvek_view {

namespace {
// A span below this, relative to its position, no longer maps to distinct
// pixels in single precision; one beyond kMaxSpan overflows the mapping.
constexpr double kMinRelativeSpan = 1e-6;
constexpr double kMinSpan = 1e-9;
constexpr double kMaxSpan = 1e30;

bool SpanUsable(double a, double b) {
  if (!std::isfinite(a) || !std::isfinite(b)) return false;
  const double span = std::fabs(b - a);
  const double scale = std::fmax(std::fabs(a), std::fabs(b));
  return span <= kMaxSpan && span >= kMinSpan && span >= scale * kMinRelativeSpan;
}

tagPlotView Checked(const tagPlotView& before, const tagPlotView& after) { return Usable(after) ? after : before; }
}  // namespace

bool Usable(const tagPlotView& v) { return SpanUsable(v.dFirst, v.dLast) && SpanUsable(v.dBottom, v.dTop); }

namespace {
// Scales the span from a to b by the factor about the point at the pivot.
tagPlotView ZoomSpan(const tagPlotView& v, double tagPlotView::*a, double tagPlotView::*b, double dPivot,
                     double dFactor) {
  if (!(dFactor > 0) || !std::isfinite(dFactor)) return v;
  tagPlotView r = v;
  const double p = Lerp(v.*a, v.*b, dPivot);
  r.*a = p + (v.*a - p) * dFactor;
  r.*b = p + (v.*b - p) * dFactor;
  return Checked(v, r);
}
}  // namespace

tagPlotView ZoomX(const tagPlotView& v, double dPivot, double dFactor) {
  return ZoomSpan(v, &tagPlotView::dFirst, &tagPlotView::dLast, dPivot, dFactor);
}

tagPlotView ZoomY(const tagPlotView& v, double dPivot, double dFactor) {
  return ZoomSpan(v, &tagPlotView::dBottom, &tagPlotView::dTop, dPivot, dFactor);
}

tagPlotView Pan(const tagPlotView& v, double dx, double dy) {
  tagPlotView r = v;
  const double sx = (v.dLast - v.dFirst) * dx, sy = (v.dTop - v.dBottom) * dy;
  r.dFirst -= sx;
  r.dLast -= sx;
  r.dBottom -= sy;
  r.dTop -= sy;
  return Checked(v, r);
}

tagPlotView Box(const tagPlotView& v, double x0, double y0, double x1, double y1) {
  tagPlotView r;
  r.dFirst = Lerp(v.dFirst, v.dLast, std::fmin(x0, x1));
  r.dLast = Lerp(v.dFirst, v.dLast, std::fmax(x0, x1));
  r.dBottom = Lerp(v.dBottom, v.dTop, std::fmin(y0, y1));
  r.dTop = Lerp(v.dBottom, v.dTop, std::fmax(y0, y1));
  return Checked(v, r);
}

}  // namespace orvek_view

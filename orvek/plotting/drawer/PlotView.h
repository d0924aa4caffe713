#pragma once

/// \file
/// The view of a plot (which samples and values it shows), its colour
/// scheme, and the arithmetic of zoom and pan on views.

#include <orvek/platform/core/Types.h>

/// What a plot shows: the sample at its left edge and at its right edge
/// (fractions allowed, so a zoomed view pans smoothly), and the data values
/// of its bottom and top row. A reversed pair of values stands the curves
/// upside down, as the host's ranges may.
struct tagPlotView {
  double dFirst;   ///< sample at the left edge
  double dLast;    ///< sample at the right edge
  double dBottom;  ///< data value of the bottom row
  double dTop;     ///< data value of the top row
};

/// The colours of a plot: the default black ground (eSchemeDark) or a light
/// one (eSchemeLight).
enum eColorScheme { eSchemeDark = 0, eSchemeLight = 1 };

/// The view arithmetic of a plot, free of any surface: every position is a
/// fraction of the plot, 0 at the left (bottom) edge and 1 at the right (top).
/// Each operation returns the new view, or the old one where the result would
/// not be usable (not finite, a span too small to resolve or beyond the range
/// of the numbers).
namespace orvek_view {

/// Scales the X span by dFactor (below 1 zooms in) about dPivot.
ORVEK_API tagPlotView ZoomX(const tagPlotView& v, double dPivot, double dFactor);
/// Scales the Y span by dFactor about dPivot.
ORVEK_API tagPlotView ZoomY(const tagPlotView& v, double dPivot, double dFactor);
/// Moves the content by the given fractions of the plot: content follows a
/// drag, so a positive dx shows earlier samples.
ORVEK_API tagPlotView Pan(const tagPlotView& v, double dx, double dy);
/// The part of the view between two corners, in either order.
ORVEK_API tagPlotView Box(const tagPlotView& v, double x0, double y0, double x1, double y1);
/// The value at a fraction between a and b.
inline double Lerp(double a, double b, double t) { return a + (b - a) * t; }
/// True for a view every drawing step can use.
ORVEK_API bool Usable(const tagPlotView& v);

}  // namespace orvek_view

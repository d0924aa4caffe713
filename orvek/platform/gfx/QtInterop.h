#pragma once

/// \file
/// Extras for a host that is itself a Qt application: the Qt objects behind
/// the library's drawing types.

#include <memory>

#include <orvek/platform/gfx/Gdiplus.h>

// This header names Qt classes but includes no Qt header; the caller
// includes what it uses.
class QImage;
class QPainter;
class QPen;

namespace Gdiplus {
/// The image that holds the bitmap's pixels, physical ones at the bitmap's
/// device pixel ratio; it stays owned by the bitmap. Null for a null or
/// failed bitmap.
ORVEK_API QImage* QtImage(Bitmap* bitmap);
/// The Qt pen that draws what the pen draws through the plain Qt path:
/// colour, width, flat ends, bevelled corners and the dash pattern.
ORVEK_API QPen QtPen(const Pen& pen);
/// A drawing context on a painter that the caller keeps active for the life
/// of the result, for example a painter on a widget. Its coordinates are the
/// painter's logical ones.
ORVEK_API std::unique_ptr<Graphics> GraphicsOnPainter(QPainter* painter);
}  // namespace Gdiplus

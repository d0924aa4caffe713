#pragma once

#include <memory>

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QRect>

#include <orvek/platform/gfx/Gdiplus.h>

struct Gdiplus::Bitmap::Impl {
  QImage image;               // physical pixels, with the device pixel ratio set
  int width = 0, height = 0;  // logical pixels
};

struct Gdiplus::Font::Impl {
  QFont font;
};

struct Gdiplus::Graphics::Impl {
  std::unique_ptr<QPainter> owned;
  QPainter* painter = nullptr;
  QImage* image = nullptr;  // the target when it is a bitmap
  SmoothingMode smoothing = SmoothingModeNone;
  bool clipped = false;
  QRect clip;
};

namespace orvek_gfx {
QPen ToQPen(const Gdiplus::Pen& pen);
}

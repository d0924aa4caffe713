#include <orvek/platform/gfx/Gdiplus.h>
#include <orvek/platform/gfx/Gdiplus_p.h>
#include <orvek/platform/gfx/QtInterop.h>
#include <orvek/platform/gfx/WideStroke_p.h>

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainterPath>
#include <QPen>
#include <QPolygonF>
#include <QString>

#include <climits>
#include <cmath>
#include <cwchar>

#include <orvek/platform/core/Strings.h>

namespace Gdiplus {

namespace {

// 96 dots per inch, as dots per metre.
constexpr int kDotsPerMetre = 3780;

// Fonts need the font database of a GUI application object.
bool HaveFonts() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr; }

QString ToQString(const wchar_t* text, INT length) {
  if (!text) return QString();
  if (length < 0) return QString::fromWCharArray(text);
  return QString::fromWCharArray(text, length);
}

QColor ToQColor(const Color& c) { return QColor::fromRgba(c.GetValue()); }

QColor Opaque(const Color& c) { return QColor::fromRgb(c.GetValue() | 0xFF000000u); }

// Pixel centres lie on integer coordinates here and at +0.5 in Qt. Only pens
// narrower than 2 pixels are moved by the half pixel, so that one lights a
// single row along an integer coordinate; wider pens keep Qt's grid. Lines
// without antialiasing at ratio 1 are Qt's whole pixels, already on the grid.
bool Thin(const Pen& pen) { return pen.GetWidth() < 2.0f; }

qreal DeviceRatio(const QPainter& p) { return p.device() ? p.device()->devicePixelRatio() : 1.0; }

bool ShiftsHalfPixel(const QPainter& p, const Pen& pen) {
  return Thin(pen) && (p.testRenderHint(QPainter::Antialiasing) || DeviceRatio(p) != 1.0);
}

// Moves the painter's drawing by half a logical pixel while it lives.
class HalfPixelShift {
 public:
  HalfPixelShift(QPainter& p, bool on) : m_p(p), m_on(on) {
    if (!m_on) return;
    m_saved = p.worldTransform();
    p.translate(0.5, 0.5);
  }
  ~HalfPixelShift() {
    if (m_on) m_p.setWorldTransform(m_saved);
  }
  HalfPixelShift(const HalfPixelShift&) = delete;
  HalfPixelShift& operator=(const HalfPixelShift&) = delete;

 private:
  QPainter& m_p;
  bool m_on;
  QTransform m_saved;
};

// The physical pixels [first, last) of logical pixel i at a ratio.
std::pair<int, int> PhysicalSpan(int i, double ratio, int limit) {
  const int first = std::min(static_cast<int>(std::floor(i * ratio)), limit - 1);
  const int last = std::min(std::max(first + 1, static_cast<int>(std::floor((i + 1.0) * ratio))), limit);
  return {first, last};
}

// A logical coordinate in physical pixels, kept where an int holds it.
int Physical(double logical, double ratio) {
  return static_cast<int>(std::lround(std::clamp(logical * ratio, -1.0e9, 1.0e9)));
}

}  // namespace

// ---- pens and brushes ----

Pen::Pen(const Color& color, REAL width) : m_color(color), m_width(width) {
  if (!(width > 0) || !std::isfinite(width)) m_status = InvalidParameter;
}

Status Pen::SetDashStyle(DashStyle style) {
  if (style < DashStyleSolid || style > DashStyleDashDotDot) return InvalidParameter;
  m_dash = style;
  return Ok;
}

Status Pen::SetColor(const Color& color) {
  m_color = color;
  return Ok;
}

Status Pen::GetColor(Color* color) const {
  if (!color) return InvalidParameter;
  *color = m_color;
  return Ok;
}

Status Pen::SetWidth(REAL width) {
  if (!(width > 0) || !std::isfinite(width)) return InvalidParameter;
  m_width = width;
  m_status = Ok;
  return Ok;
}

Status SolidBrush::GetColor(Color* color) const {
  if (!color) return InvalidParameter;
  *color = m_color;
  return Ok;
}

Status SolidBrush::SetColor(const Color& color) {
  m_color = color;
  return Ok;
}

// ---- fonts ----

FontFamily::FontFamily() : m_generic(false), m_status(FontFamilyNotFound) {}

FontFamily::FontFamily(const wchar_t* name)
    : m_name(name ? name : L""), m_generic(false), m_status(FontFamilyNotFound) {
  if (!HaveFonts())
    m_status = GdiplusNotInitialized;
  else if (!m_name.empty() && QFontDatabase::hasFamily(QString::fromStdWString(m_name)))
    m_status = Ok;
}

FontFamily::~FontFamily() = default;
FontFamily::FontFamily(const FontFamily& other) = default;
FontFamily& FontFamily::operator=(const FontFamily& other) = default;

const FontFamily* FontFamily::GenericSansSerif() {
  static const FontFamily generic = [] {
    FontFamily f;
    f.m_name = L"sans-serif";
    f.m_generic = true;
    f.m_status = Ok;
    return f;
  }();
  return &generic;
}

Status FontFamily::GetFamilyName(wchar_t* name, INT size) const {
  if (!name || size <= 0) return InvalidParameter;
  const std::size_t n = std::min(m_name.size(), static_cast<std::size_t>(size - 1));
  m_name.copy(name, n);
  name[n] = 0;
  return Ok;
}

Font::Font(const FontFamily* family, REAL emSize, INT style, Unit unit)
    : m_p(new Impl), m_size(emSize), m_unit(unit), m_status(Ok) {
  if (!family || family->GetLastStatus() != Ok) {
    m_status = FontFamilyNotFound;
    return;
  }
  if (!(emSize > 0) || !std::isfinite(emSize) || emSize > 1.0e4f) {
    m_status = InvalidParameter;
    return;
  }
  if (!HaveFonts()) {
    m_status = GdiplusNotInitialized;
    return;
  }
  QFont& f = m_p->font;
  f.setFamily(QString::fromStdWString(family->m_name));
  f.setStyleHint(QFont::SansSerif);
  if (unit == UnitPoint)
    f.setPointSizeF(emSize);
  else  // world, display and pixel units are pixels here
    f.setPixelSize(std::max(1, static_cast<int>(std::lround(emSize))));
  f.setBold((style & FontStyleBold) != 0);
  f.setItalic((style & FontStyleItalic) != 0);
}

Font::~Font() = default;

// ---- bitmaps ----

Bitmap::Bitmap(INT width, INT height, PixelFormat format) : Bitmap(width, height, format, 1.0f) {}

Bitmap::Bitmap(INT width, INT height, PixelFormat format, REAL devicePixelRatio) : m_p(new Impl), m_status(Ok) {
  if (width <= 0 || height <= 0 || format != PixelFormat32bppRGB || !(devicePixelRatio > 0) ||
      !std::isfinite(devicePixelRatio)) {
    m_status = InvalidParameter;
    return;
  }
  const double w = std::ceil(width * static_cast<double>(devicePixelRatio));
  const double h = std::ceil(height * static_cast<double>(devicePixelRatio));
  if (w > INT_MAX || h > INT_MAX) {
    m_status = OutOfMemory;
    return;
  }
  m_p->image = QImage(static_cast<int>(w), static_cast<int>(h), QImage::Format_RGB32);
  if (m_p->image.isNull()) {
    m_status = OutOfMemory;
    return;
  }
  m_p->width = width;
  m_p->height = height;
  m_p->image.fill(0xFF000000u);
  // Fonts take their size in pixels from these 96 dots per inch in logical
  // pixels; the painter scales by the ratio.
  m_p->image.setDotsPerMeterX(kDotsPerMetre);
  m_p->image.setDotsPerMeterY(kDotsPerMetre);
  m_p->image.setDevicePixelRatio(devicePixelRatio);
}

Bitmap::~Bitmap() = default;

UINT Bitmap::GetWidth() const { return static_cast<UINT>(m_p->width); }
UINT Bitmap::GetHeight() const { return static_cast<UINT>(m_p->height); }
REAL Bitmap::GetDevicePixelRatio() const { return static_cast<REAL>(m_p->image.devicePixelRatio()); }

Status Bitmap::GetPixel(INT x, INT y, Color* color) const {
  const QImage& im = m_p->image;
  if (!color || x < 0 || y < 0 || x >= m_p->width || y >= m_p->height) return InvalidParameter;
  const double r = im.devicePixelRatio();
  if (r == 1.0) {
    *color = Color(im.pixel(x, y));
    return Ok;
  }
  const auto [x0, x1] = PhysicalSpan(x, r, im.width());
  const auto [y0, y1] = PhysicalSpan(y, r, im.height());
  unsigned sum[3] = {0, 0, 0};
  for (int j = y0; j < y1; ++j)
    for (int i = x0; i < x1; ++i)
      for (int k = 0; k < 3; ++k) sum[k] += (im.pixel(i, j) >> (8 * k)) & 0xFFu;
  const unsigned n = static_cast<unsigned>((x1 - x0) * (y1 - y0));
  DWORD argb = 0xFF000000u;
  for (int k = 0; k < 3; ++k) argb |= static_cast<DWORD>((sum[k] + n / 2) / n) << (8 * k);
  *color = Color(argb);
  return Ok;
}

Status Bitmap::SetPixel(INT x, INT y, const Color& color) {
  QImage& im = m_p->image;
  if (x < 0 || y < 0 || x >= m_p->width || y >= m_p->height) return InvalidParameter;
  const double r = im.devicePixelRatio();
  if (r == 1.0) {
    im.setPixel(x, y, color.GetValue() | 0xFF000000u);
    return Ok;
  }
  const auto [x0, x1] = PhysicalSpan(x, r, im.width());
  const auto [y0, y1] = PhysicalSpan(y, r, im.height());
  for (int j = y0; j < y1; ++j)
    for (int i = x0; i < x1; ++i) im.setPixel(i, j, color.GetValue() | 0xFF000000u);
  return Ok;
}

Status Bitmap::SavePng(const wchar_t* path) const {
  if (!path) return InvalidParameter;
  return SavePng(WideToUtf8(path, std::wcslen(path)).c_str());
}

Status Bitmap::SavePng(const char* path) const {
  if (!path || m_status != Ok) return InvalidParameter;
  return m_p->image.save(QString::fromUtf8(path), "PNG") ? Ok : Win32Error;
}

// ---- drawing contexts ----

Graphics::Graphics(Bitmap* image) : m_p(new Impl), m_status(Ok) {
  if (!image || image->GetLastStatus() != Ok) {
    m_status = InvalidParameter;
    return;
  }
  m_p->image = &image->impl()->image;
  m_p->owned.reset(new QPainter(m_p->image));
  m_p->painter = m_p->owned.get();
  m_p->painter->setRenderHint(QPainter::Antialiasing, false);
}

Graphics::Graphics(std::unique_ptr<Impl> impl) : m_p(std::move(impl)), m_status(Ok) {
  if (!m_p || !m_p->painter || !m_p->painter->isActive()) m_status = InvalidParameter;
}

Graphics::~Graphics() {
  if (m_p && m_p->owned) m_p->owned->end();
}

Status Graphics::Clear(const Color& color) {
  if (m_status != Ok) return WrongState;
  QPainter& p = *m_p->painter;
  const QPainter::CompositionMode mode = p.compositionMode();
  p.setCompositionMode(QPainter::CompositionMode_Source);
  p.fillRect(QRect(QPoint(0, 0), p.device() ? QSize(p.device()->width(), p.device()->height()) : QSize()),
             Opaque(color));
  p.setCompositionMode(mode);
  return Ok;
}

Status Graphics::SetSmoothingMode(SmoothingMode mode) {
  if (m_status != Ok) return WrongState;
  m_p->smoothing = mode;
  const bool aa = mode == SmoothingModeAntiAlias || mode == SmoothingModeHighQuality;
  m_p->painter->setRenderHint(QPainter::Antialiasing, aa);
  return Ok;
}

SmoothingMode Graphics::GetSmoothingMode() const { return m_p ? m_p->smoothing : SmoothingModeNone; }

Status Graphics::SetClip(const Rect& rect, CombineMode mode) {
  if (m_status != Ok) return WrongState;
  if (rect.Width < 0 || rect.Height < 0) return InvalidParameter;
  const QRect r(rect.X, rect.Y, rect.Width, rect.Height);
  if (mode == CombineModeIntersect && m_p->clipped) {
    m_p->clip = m_p->clip.intersected(r);
  } else if (mode == CombineModeReplace || mode == CombineModeIntersect) {
    m_p->clip = r;
  } else {
    return InvalidParameter;
  }
  m_p->clipped = true;
  m_p->painter->setClipRect(m_p->clip, Qt::ReplaceClip);
  return Ok;
}

Status Graphics::ResetClip() {
  if (m_status != Ok) return WrongState;
  m_p->clipped = false;
  m_p->painter->setClipping(false);
  return Ok;
}

Status Graphics::DrawLine(const Pen* pen, INT x1, INT y1, INT x2, INT y2) {
  if (m_status != Ok) return WrongState;
  if (!pen || pen->GetLastStatus() != Ok) return InvalidParameter;
  QPainter& p = *m_p->painter;
  p.setPen(orvek_gfx::ToQPen(*pen));
  const HalfPixelShift shift(p, ShiftsHalfPixel(p, *pen));
  p.drawLine(QPoint(x1, y1), QPoint(x2, y2));
  return Ok;
}

Status Graphics::DrawLine(const Pen* pen, REAL x1, REAL y1, REAL x2, REAL y2) {
  const PointF points[2] = {PointF(x1, y1), PointF(x2, y2)};
  return DrawLines(pen, points, 2);
}

Status Graphics::DrawRectangle(const Pen* pen, INT x, INT y, INT width, INT height) {
  if (m_status != Ok) return WrongState;
  if (!pen || pen->GetLastStatus() != Ok) return InvalidParameter;
  QPainter& p = *m_p->painter;
  const bool shifted = ShiftsHalfPixel(p, *pen);
  if (shifted && pen->GetDashStyle() == DashStyleSolid) {
    // The band between the outer and the inner rectangle, so that corners
    // are as full as the sides, as they are without antialiasing.
    const qreal w = pen->GetWidth(), h = w / 2;
    const QRectF r = QRectF(x + 0.5, y + 0.5, width, height).normalized();
    QPainterPath band;
    band.setFillRule(Qt::OddEvenFill);
    band.addRect(r.adjusted(-h, -h, h, h));
    if (r.width() > w && r.height() > w) band.addRect(r.adjusted(h, h, -h, -h));
    Color color;
    pen->GetColor(&color);
    p.fillPath(band, ToQColor(color));
    return Ok;
  }
  p.setPen(orvek_gfx::ToQPen(*pen));
  p.setBrush(Qt::NoBrush);
  const HalfPixelShift shift(p, shifted);
  p.drawRect(QRect(x, y, width, height));
  return Ok;
}

Status Graphics::FillRectangle(const Brush* brush, INT x, INT y, INT width, INT height) {
  if (m_status != Ok) return WrongState;
  if (!brush) return InvalidParameter;
  m_p->painter->fillRect(QRect(x, y, width, height), ToQColor(brush->GetFillColor()));
  return Ok;
}

Status Graphics::DrawLines(const Pen* pen, const PointF* points, INT count) {
  if (m_status != Ok) return WrongState;
  if (!pen || pen->GetLastStatus() != Ok || !points || count < 2) return InvalidParameter;
  QImage* image = m_p->image;
  Color color;
  pen->GetColor(&color);
  // Solid antialiased strokes on a bitmap go through the coverage stroker;
  // everything else is Qt's own path.
  const bool fast = image && pen->GetDashStyle() == DashStyleSolid &&
                    m_p->painter->testRenderHint(QPainter::Antialiasing) &&
                    m_p->painter->worldTransform().isIdentity() &&
                    m_p->painter->compositionMode() == QPainter::CompositionMode_SourceOver &&
                    (image->format() == QImage::Format_RGB32 || image->format() == QImage::Format_ARGB32_Premultiplied);
  if (fast) {
    orvek_gfx::PixelTarget t;
    t.bits = reinterpret_cast<std::uint32_t*>(image->bits());
    t.stride = static_cast<int>(image->bytesPerLine() / 4);
    t.width = image->width();
    t.height = image->height();
    // The stroker works on physical pixels: points, width and clip scale by
    // the ratio.
    const double ratio = image->devicePixelRatio();
    const QRect c = m_p->clipped ? m_p->clip : image->rect();
    const bool scaled = m_p->clipped && ratio != 1.0;
    t.clipLeft = scaled ? Physical(c.left(), ratio) : c.left();
    t.clipTop = scaled ? Physical(c.top(), ratio) : c.top();
    t.clipRight = scaled ? Physical(static_cast<double>(c.left()) + c.width(), ratio) : c.left() + c.width();
    t.clipBottom = scaled ? Physical(static_cast<double>(c.top()) + c.height(), ratio) : c.top() + c.height();
    const float r = static_cast<float>(ratio);
    orvek_gfx::ThreadStroker().Stroke(t, points, count, pen->GetWidth() * r, color.GetValue(), r,
                                      Thin(*pen) ? 0.5f : 0.0f);
    return Ok;
  }
  thread_local QPolygonF polygon;  // kept, so that steady drawing allocates nothing
  polygon.resize(count);
  for (INT i = 0; i < count; ++i) polygon[i] = QPointF(points[i].X, points[i].Y);
  QPainter& p = *m_p->painter;
  p.setPen(orvek_gfx::ToQPen(*pen));
  const HalfPixelShift shift(p, ShiftsHalfPixel(p, *pen));
  p.drawPolyline(polygon);
  return Ok;
}

Status Graphics::MeasureString(const wchar_t* text, INT length, const Font* font, const RectF& layout,
                               RectF* box) const {
  if (m_status != Ok) return WrongState;
  if (!text || !font || !box || font->GetLastStatus() != Ok) return InvalidParameter;
  const QFontMetricsF metrics(font->impl()->font, m_p->painter->device());
  const QRectF r = metrics.boundingRect(QRectF(), Qt::AlignLeft | Qt::AlignTop, ToQString(text, length));
  *box = RectF(layout.X, layout.Y, static_cast<REAL>(r.width()), static_cast<REAL>(r.height()));
  return Ok;
}

Status Graphics::DrawString(const wchar_t* text, INT length, const Font* font, const RectF& layout,
                            const Brush* brush) {
  if (m_status != Ok) return WrongState;
  if (!text || !font || !brush || font->GetLastStatus() != Ok) return InvalidParameter;
  QPainter& p = *m_p->painter;
  p.setFont(font->impl()->font);
  p.setPen(QPen(ToQColor(brush->GetFillColor())));
  p.drawText(QRectF(layout.X, layout.Y, 0, 0), Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip,
             ToQString(text, length));
  return Ok;
}

Status Graphics::DrawImage(Bitmap* image, INT x, INT y, INT srcX, INT srcY, INT srcWidth, INT srcHeight, Unit srcUnit) {
  if (m_status != Ok) return WrongState;
  if (!image || image->GetLastStatus() != Ok || srcUnit != UnitPixel || srcWidth < 0 || srcHeight < 0)
    return InvalidParameter;
  const QImage& source = image->impl()->image;
  if (&source == m_p->image) return InvalidParameter;
  const double r = source.devicePixelRatio();
  if (r == 1.0) {
    m_p->painter->drawImage(QPoint(x, y), source, QRect(srcX, srcY, srcWidth, srcHeight));
    return Ok;
  }
  // Qt takes the source in physical pixels and draws it at its logical size.
  const int left = Physical(srcX, r), top = Physical(srcY, r);
  const int right = Physical(static_cast<double>(srcX) + srcWidth, r);
  const int bottom = Physical(static_cast<double>(srcY) + srcHeight, r);
  const QRect from(left, top, right - left, bottom - top);
  QPainter& p = *m_p->painter;
  if (DeviceRatio(p) != r || p.combinedTransform().type() != QTransform::TxNone) {
    p.drawImage(QPoint(x, y), source, from);
    return Ok;
  }
  // Between two images of one ratio the copy is pixel for pixel: drawn in
  // physical coordinates it is a plain copy instead of a scaling one.
  const QImage pixels(source.constBits(), source.width(), source.height(), source.bytesPerLine(), source.format());
  p.setWorldTransform(QTransform::fromScale(1.0 / r, 1.0 / r));
  p.drawImage(QPoint(Physical(x, r), Physical(y, r)), pixels, from);
  p.setWorldTransform(QTransform());
  return Ok;
}

Status Graphics::DrawImage(Bitmap* image, INT x, INT y) {
  if (!image || image->GetLastStatus() != Ok) return InvalidParameter;
  return DrawImage(image, x, y, 0, 0, static_cast<INT>(image->GetWidth()), static_cast<INT>(image->GetHeight()),
                   UnitPixel);
}

// ---- Qt extras ----

QImage* QtImage(Bitmap* bitmap) { return bitmap && bitmap->GetLastStatus() == Ok ? &bitmap->impl()->image : nullptr; }

QPen QtPen(const Pen& pen) { return orvek_gfx::ToQPen(pen); }

std::unique_ptr<Graphics> GraphicsOnPainter(QPainter* painter) {
  std::unique_ptr<Graphics::Impl> impl(new Graphics::Impl);
  impl->painter = painter;
  // The coverage stroker writes pixels itself, so it serves only a painter
  // whose clip it knows: none.
  if (painter && painter->device() && painter->device()->devType() == QInternal::Image && !painter->hasClipping())
    impl->image = static_cast<QImage*>(painter->device());
  return std::unique_ptr<Graphics>(new Graphics(std::move(impl)));
}

}  // namespace Gdiplus

namespace orvek_gfx {

QPen ToQPen(const Gdiplus::Pen& pen) {
  Gdiplus::Color c;
  pen.GetColor(&c);
  QPen q(QColor::fromRgba(c.GetValue()));
  q.setWidthF(pen.GetWidth());
  q.setCapStyle(Qt::FlatCap);
  q.setJoinStyle(Qt::BevelJoin);
  switch (pen.GetDashStyle()) {
    case Gdiplus::DashStyleDot: q.setDashPattern({1.0, 1.0}); break;  // Qt's dots are one on, two off
    case Gdiplus::DashStyleDash: q.setStyle(Qt::DashLine); break;
    case Gdiplus::DashStyleDashDot: q.setStyle(Qt::DashDotLine); break;
    case Gdiplus::DashStyleDashDotDot: q.setStyle(Qt::DashDotDotLine); break;
    default: break;
  }
  return q;
}

}  // namespace orvek_gfx

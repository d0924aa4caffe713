#pragma once

#include <memory>
#include <string>

#include <orvek/platform/core/Types.h>

// X11's Xlib.h defines Status as a macro; a host that includes it first
// still gets this header's enum, and its own macro back at the end.
#pragma push_macro("Status")
#undef Status

// Raster drawing for the plots: bitmaps, drawing contexts, pens, brushes,
// fonts, lines and text. The names and meanings follow the host platform's
// graphics library, so drawing code reads the same on every target; Qt stays
// behind the private implementation.
namespace Gdiplus {

typedef float REAL;
typedef INT PixelFormat;

enum Status {
  Ok = 0,
  GenericError = 1,
  InvalidParameter = 2,
  OutOfMemory = 3,
  ObjectBusy = 4,
  InsufficientBuffer = 5,
  NotImplemented = 6,
  Win32Error = 7,
  WrongState = 8,
  Aborted = 9,
  FileNotFound = 10,
  ValueOverflow = 11,
  AccessDenied = 12,
  UnknownImageFormat = 13,
  FontFamilyNotFound = 14,
  FontStyleNotFound = 15,
  NotTrueTypeFont = 16,
  UnsupportedGdiplusVersion = 17,
  GdiplusNotInitialized = 18,
  PropertyNotFound = 19,
  PropertyNotSupported = 20
};

// 32 bits per pixel, the fourth byte unused: every pixel is opaque.
constexpr PixelFormat PixelFormat32bppRGB = 0x22009;

enum Unit { UnitWorld = 0, UnitDisplay = 1, UnitPixel = 2, UnitPoint = 3, UnitInch = 4, UnitDocument = 5, UnitMillimeter = 6 };
enum DashStyle { DashStyleSolid = 0, DashStyleDash = 1, DashStyleDot = 2, DashStyleDashDot = 3, DashStyleDashDotDot = 4 };
enum SmoothingMode { SmoothingModeDefault = 0, SmoothingModeHighSpeed = 1, SmoothingModeHighQuality = 2, SmoothingModeNone = 3,
                     SmoothingModeAntiAlias = 4 };
enum CombineMode { CombineModeReplace = 0, CombineModeIntersect = 1 };
enum FontStyle { FontStyleRegular = 0, FontStyleBold = 1, FontStyleItalic = 2 };

// A colour as 0xAARRGGBB.
class Color {
 public:
  Color() : m_argb(0xFF000000u) {}
  explicit Color(DWORD argb) : m_argb(argb) {}
  Color(BYTE a, BYTE r, BYTE g, BYTE b) : m_argb(MakeARGB(a, r, g, b)) {}
  Color(BYTE r, BYTE g, BYTE b) : m_argb(MakeARGB(255, r, g, b)) {}
  DWORD GetValue() const { return m_argb; }
  BYTE GetA() const { return static_cast<BYTE>(m_argb >> 24); }
  BYTE GetR() const { return static_cast<BYTE>(m_argb >> 16); }
  BYTE GetG() const { return static_cast<BYTE>(m_argb >> 8); }
  BYTE GetB() const { return static_cast<BYTE>(m_argb); }
  static DWORD MakeARGB(BYTE a, BYTE r, BYTE g, BYTE b) {
    return (DWORD(a) << 24) | (DWORD(r) << 16) | (DWORD(g) << 8) | DWORD(b);
  }

 private:
  DWORD m_argb;
};

struct PointF {
  REAL X = 0, Y = 0;
  PointF() = default;
  PointF(REAL x, REAL y) : X(x), Y(y) {}
};

struct RectF {
  REAL X = 0, Y = 0, Width = 0, Height = 0;
  RectF() = default;
  RectF(REAL x, REAL y, REAL w, REAL h) : X(x), Y(y), Width(w), Height(h) {}
};

struct Rect {
  INT X = 0, Y = 0, Width = 0, Height = 0;
  Rect() = default;
  Rect(INT x, INT y, INT w, INT h) : X(x), Y(y), Width(w), Height(h) {}
};

// A pen of one colour and a width in pixels, solid or dotted. Lines get flat
// ends and bevelled corners.
class ORVEK_API Pen {
 public:
  explicit Pen(const Color& color, REAL width = 1.0f);
  Pen(const Pen&) = default;
  Pen& operator=(const Pen&) = default;
  Status SetDashStyle(DashStyle style);
  DashStyle GetDashStyle() const { return m_dash; }
  Status SetColor(const Color& color);
  Status GetColor(Color* color) const;
  Status SetWidth(REAL width);
  REAL GetWidth() const { return m_width; }
  // InvalidParameter when the width was not a finite number above 0.
  Status GetLastStatus() const { return m_status; }

 private:
  Color m_color;
  REAL m_width;
  DashStyle m_dash = DashStyleSolid;
  Status m_status = Ok;
};

class ORVEK_API Brush {
 public:
  virtual ~Brush() = default;
  virtual Color GetFillColor() const = 0;
};

class ORVEK_API SolidBrush : public Brush {
 public:
  explicit SolidBrush(const Color& color) : m_color(color) {}
  Color GetFillColor() const override { return m_color; }
  Status GetColor(Color* color) const;
  Status SetColor(const Color& color);

 private:
  Color m_color;
};

// A font family by name. A family that the system does not have leaves the
// object with FontFamilyNotFound; GenericSansSerif always exists.
class ORVEK_API FontFamily {
 public:
  FontFamily();
  explicit FontFamily(const wchar_t* name);
  ~FontFamily();
  FontFamily(const FontFamily& other);
  FontFamily& operator=(const FontFamily& other);
  static const FontFamily* GenericSansSerif();
  BOOL IsAvailable() const { return m_status == Ok; }
  Status GetLastStatus() const { return m_status; }
  Status GetFamilyName(wchar_t* name, INT size) const;

 private:
  friend class Font;
  std::wstring m_name;
  bool m_generic;
  Status m_status;
};

// A font of a family at a size in points (96 dots per inch) or pixels.
class ORVEK_API Font {
 public:
  Font(const FontFamily* family, REAL emSize, INT style = FontStyleRegular, Unit unit = UnitPoint);
  ~Font();
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  Status GetLastStatus() const { return m_status; }
  REAL GetSize() const { return m_size; }
  Unit GetUnit() const { return m_unit; }

  struct Impl;
  const Impl* impl() const { return m_p.get(); }

 private:
  std::unique_ptr<Impl> m_p;
  REAL m_size;
  Unit m_unit;
  Status m_status;
};

// A raster bitmap with storage of its own. New pixels are black.
class ORVEK_API Bitmap {
 public:
  Bitmap(INT width, INT height, PixelFormat format = PixelFormat32bppRGB);
  ~Bitmap();
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  UINT GetWidth() const;
  UINT GetHeight() const;
  PixelFormat GetPixelFormat() const { return PixelFormat32bppRGB; }
  Status GetLastStatus() const { return m_status; }
  Status GetPixel(INT x, INT y, Color* color) const;
  Status SetPixel(INT x, INT y, const Color& color);
  // Writes the bitmap as a PNG file; narrow names are UTF-8.
  Status SavePng(const wchar_t* path) const;
  Status SavePng(const char* path) const;

  struct Impl;
  Impl* impl() const { return m_p.get(); }

 private:
  std::unique_ptr<Impl> m_p;
  Status m_status;
};

// A drawing context on a bitmap. Without antialiasing lines and rectangles
// cover whole pixels; with it, wide solid lines are rasterised by the
// library's own coverage stroker, which gives the picture of the whole
// polyline as one path at a small part of its cost.
class ORVEK_API Graphics {
 public:
  explicit Graphics(Bitmap* image);
  ~Graphics();
  Graphics(const Graphics&) = delete;
  Graphics& operator=(const Graphics&) = delete;
  static Graphics* FromImage(Bitmap* image) { return new Graphics(image); }
  Status GetLastStatus() const { return m_status; }

  Status Clear(const Color& color);
  Status SetSmoothingMode(SmoothingMode mode);
  SmoothingMode GetSmoothingMode() const;
  // Replaces the clip by a rectangle, or intersects it.
  Status SetClip(const Rect& rect, CombineMode mode = CombineModeReplace);
  Status ResetClip();

  Status DrawLine(const Pen* pen, INT x1, INT y1, INT x2, INT y2);
  Status DrawLine(const Pen* pen, REAL x1, REAL y1, REAL x2, REAL y2);
  // The outline of a rectangle whose right and bottom edges lie at x + width
  // and y + height.
  Status DrawRectangle(const Pen* pen, INT x, INT y, INT width, INT height);
  Status FillRectangle(const Brush* brush, INT x, INT y, INT width, INT height);
  // One polyline through count points (at least 2).
  Status DrawLines(const Pen* pen, const PointF* points, INT count);

  // The box of a text laid out from the top-left corner of the layout
  // rectangle; its size is not used for wrapping.
  Status MeasureString(const wchar_t* text, INT length, const Font* font, const RectF& layout, RectF* box) const;
  Status DrawString(const wchar_t* text, INT length, const Font* font, const RectF& layout, const Brush* brush);

  // Copies the source rectangle of a bitmap to (x, y).
  Status DrawImage(Bitmap* image, INT x, INT y, INT srcX, INT srcY, INT srcWidth, INT srcHeight, Unit srcUnit);
  Status DrawImage(Bitmap* image, INT x, INT y);

  struct Impl;
  Impl* impl() const { return m_p.get(); }
  explicit Graphics(std::unique_ptr<Impl> impl);

 private:
  std::unique_ptr<Impl> m_p;
  Status m_status;
};

}  // namespace Gdiplus

#pragma pop_macro("Status")

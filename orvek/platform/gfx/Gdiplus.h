#pragma once

/// \file
/// Raster drawing for the plots: bitmaps, drawing contexts, pens, brushes,
/// fonts, lines and text.

#include <memory>
#include <string>

#include <orvek/platform/core/Types.h>

// X11's Xlib.h defines Status as a macro; a host that includes it first
// still gets this header's enum, and its own macro back at the end.
#pragma push_macro("Status")
#undef Status

/// Raster drawing for the plots. The names and meanings follow the host
/// platform's graphics library, so drawing code reads the same on every
/// target; Qt stays behind the private implementation.
///
/// Coordinates are logical pixels whose centres lie on integer coordinates:
/// a 1-pixel pen along y = 10 lights row 10 and nothing else. A bitmap made
/// at a device pixel ratio holds that many physical pixels per logical one
/// and takes logical coordinates everywhere.
namespace Gdiplus {

typedef float REAL;       ///< A coordinate, width or size.
typedef INT PixelFormat;  ///< A pixel layout; only PixelFormat32bppRGB exists.

/// The result of a call.
enum Status {
  Ok = 0,                          ///< The call did what it says.
  GenericError = 1,                ///< Failed for a reason that has no code of its own.
  InvalidParameter = 2,            ///< An argument was out of range, null or refused.
  OutOfMemory = 3,                 ///< Storage for the pixels could not be had.
  ObjectBusy = 4,                  ///< Not given here.
  InsufficientBuffer = 5,          ///< Not given here.
  NotImplemented = 6,              ///< Not given here.
  Win32Error = 7,                  ///< The file system refused a write.
  WrongState = 8,                  ///< The object was not made successfully.
  Aborted = 9,                     ///< Not given here.
  FileNotFound = 10,               ///< Not given here.
  ValueOverflow = 11,              ///< Not given here.
  AccessDenied = 12,               ///< Not given here.
  UnknownImageFormat = 13,         ///< Not given here.
  FontFamilyNotFound = 14,         ///< The system has no font family of that name.
  FontStyleNotFound = 15,          ///< Not given here.
  NotTrueTypeFont = 16,            ///< Not given here.
  UnsupportedGdiplusVersion = 17,  ///< Not given here.
  GdiplusNotInitialized = 18,      ///< No graphics session (application object) is open.
  PropertyNotFound = 19,           ///< Not given here.
  PropertyNotSupported = 20        ///< Not given here.
};

/// 32 bits per pixel, the fourth byte unused: every pixel is opaque.
constexpr PixelFormat PixelFormat32bppRGB = 0x22009;

/// The unit of a font size or a source rectangle. A font takes UnitPoint as
/// points and every other unit as pixels; a source rectangle takes UnitPixel
/// only.
enum Unit {
  UnitWorld = 0,      ///< World units.
  UnitDisplay = 1,    ///< Display units.
  UnitPixel = 2,      ///< Logical pixels.
  UnitPoint = 3,      ///< A 72nd of an inch, at 96 pixels per inch.
  UnitInch = 4,       ///< Inches.
  UnitDocument = 5,   ///< A 300th of an inch.
  UnitMillimeter = 6  ///< Millimetres.
};

/// The pattern of a pen, in units of its width.
enum DashStyle {
  DashStyleSolid = 0,      ///< One unbroken line.
  DashStyleDash = 1,       ///< Dashes.
  DashStyleDot = 2,        ///< One on, one off.
  DashStyleDashDot = 3,    ///< Dash, dot.
  DashStyleDashDotDot = 4  ///< Dash, dot, dot.
};

/// Whether edges are antialiased.
enum SmoothingMode {
  SmoothingModeDefault = 0,      ///< Whole pixels.
  SmoothingModeHighSpeed = 1,    ///< Whole pixels.
  SmoothingModeHighQuality = 2,  ///< Antialiased.
  SmoothingModeNone = 3,         ///< Whole pixels.
  SmoothingModeAntiAlias = 4     ///< Antialiased.
};

/// How a new clip rectangle combines with the clip there is.
enum CombineMode {
  CombineModeReplace = 0,   ///< The rectangle becomes the clip.
  CombineModeIntersect = 1  ///< The clip shrinks to its overlap with the rectangle.
};

/// Flags of a font's style; they combine.
enum FontStyle {
  FontStyleRegular = 0,  ///< Neither bold nor italic.
  FontStyleBold = 1,     ///< Bold.
  FontStyleItalic = 2    ///< Italic.
};

/// A colour as 0xAARRGGBB.
class Color {
 public:
  /// Opaque black.
  Color() : m_argb(0xFF000000u) {}
  /// From 0xAARRGGBB.
  explicit Color(DWORD argb) : m_argb(argb) {}
  /// From alpha, red, green and blue.
  Color(BYTE a, BYTE r, BYTE g, BYTE b) : m_argb(MakeARGB(a, r, g, b)) {}
  /// Opaque, from red, green and blue.
  Color(BYTE r, BYTE g, BYTE b) : m_argb(MakeARGB(255, r, g, b)) {}
  /// The colour as 0xAARRGGBB.
  DWORD GetValue() const { return m_argb; }
  /// Alpha, 255 for opaque.
  BYTE GetA() const { return static_cast<BYTE>(m_argb >> 24); }
  /// Red.
  BYTE GetR() const { return static_cast<BYTE>(m_argb >> 16); }
  /// Green.
  BYTE GetG() const { return static_cast<BYTE>(m_argb >> 8); }
  /// Blue.
  BYTE GetB() const { return static_cast<BYTE>(m_argb); }
  /// 0xAARRGGBB from its four bytes.
  static DWORD MakeARGB(BYTE a, BYTE r, BYTE g, BYTE b) {
    return (DWORD(a) << 24) | (DWORD(r) << 16) | (DWORD(g) << 8) | DWORD(b);
  }

 private:
  DWORD m_argb;
};

/// A point.
struct PointF {
  REAL X = 0;  ///< Across, rightwards.
  REAL Y = 0;  ///< Down.
  PointF() = default;
  /// The point (x, y).
  PointF(REAL x, REAL y) : X(x), Y(y) {}
};

/// A rectangle by its top-left corner and size.
struct RectF {
  REAL X = 0;       ///< Left edge.
  REAL Y = 0;       ///< Top edge.
  REAL Width = 0;   ///< Width.
  REAL Height = 0;  ///< Height.
  RectF() = default;
  /// The rectangle at (x, y) of w by h.
  RectF(REAL x, REAL y, REAL w, REAL h) : X(x), Y(y), Width(w), Height(h) {}
};

/// A rectangle of whole pixels by its top-left corner and size.
struct Rect {
  INT X = 0;       ///< Left edge.
  INT Y = 0;       ///< Top edge.
  INT Width = 0;   ///< Width.
  INT Height = 0;  ///< Height.
  Rect() = default;
  /// The rectangle at (x, y) of w by h.
  Rect(INT x, INT y, INT w, INT h) : X(x), Y(y), Width(w), Height(h) {}
};

/// A pen of one colour and a width in pixels, solid or dashed. Lines get flat
/// ends and bevelled corners.
class ORVEK_API Pen {
 public:
  /// A solid pen; a width that is not a finite number above 0 leaves
  /// InvalidParameter as the last status.
  explicit Pen(const Color& color, REAL width = 1.0f);
  Pen(const Pen&) = default;             ///< A copy.
  Pen& operator=(const Pen&) = default;  ///< Becomes a copy.
  /// Sets the pattern; InvalidParameter for a value outside DashStyle.
  Status SetDashStyle(DashStyle style);
  /// The pattern.
  DashStyle GetDashStyle() const { return m_dash; }
  /// Sets the colour.
  Status SetColor(const Color& color);
  /// The colour; InvalidParameter for a null pointer.
  Status GetColor(Color* color) const;
  /// Sets the width; InvalidParameter, and no change, unless it is a finite
  /// number above 0.
  Status SetWidth(REAL width);
  /// The width in pixels.
  REAL GetWidth() const { return m_width; }
  /// InvalidParameter when the width was not a finite number above 0.
  Status GetLastStatus() const { return m_status; }

 private:
  Color m_color;
  REAL m_width;
  DashStyle m_dash = DashStyleSolid;
  Status m_status = Ok;
};

/// Something that fills: here, always one colour.
class ORVEK_API Brush {
 public:
  virtual ~Brush() = default;
  /// The colour the brush fills with.
  virtual Color GetFillColor() const = 0;
};

/// A brush of one colour.
class ORVEK_API SolidBrush : public Brush {
 public:
  /// A brush of the colour.
  explicit SolidBrush(const Color& color) : m_color(color) {}
  /// The colour.
  Color GetFillColor() const override { return m_color; }
  /// The colour; InvalidParameter for a null pointer.
  Status GetColor(Color* color) const;
  /// Sets the colour.
  Status SetColor(const Color& color);

 private:
  Color m_color;
};

/// A font family by name. A family that the system does not have leaves the
/// object with FontFamilyNotFound; GenericSansSerif always exists.
class ORVEK_API FontFamily {
 public:
  /// No family: FontFamilyNotFound.
  FontFamily();
  /// The family of that name; GdiplusNotInitialized without a session.
  explicit FontFamily(const wchar_t* name);
  ~FontFamily();
  FontFamily(const FontFamily& other);             ///< A copy.
  FontFamily& operator=(const FontFamily& other);  ///< Becomes a copy.
  /// The system's sans-serif family, which always exists.
  static const FontFamily* GenericSansSerif();
  /// Whether the family exists.
  BOOL IsAvailable() const { return m_status == Ok; }
  /// Ok, FontFamilyNotFound or GdiplusNotInitialized.
  Status GetLastStatus() const { return m_status; }
  /// Copies the name, cut to size - 1 characters and a terminating 0.
  Status GetFamilyName(wchar_t* name, INT size) const;

 private:
  friend class Font;
  std::wstring m_name;
  bool m_generic;
  Status m_status;
};

/// A font of a family at a size in points (96 dots per inch) or pixels.
class ORVEK_API Font {
 public:
  /// A font of the family; style combines FontStyle flags. UnitPoint sizes
  /// are points, the other units pixels.
  Font(const FontFamily* family, REAL emSize, INT style = FontStyleRegular, Unit unit = UnitPoint);
  ~Font();
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  /// Ok, FontFamilyNotFound, InvalidParameter (a size that is not a finite
  /// number above 0) or GdiplusNotInitialized.
  Status GetLastStatus() const { return m_status; }
  /// The size as given.
  REAL GetSize() const { return m_size; }
  /// The unit of the size.
  Unit GetUnit() const { return m_unit; }

  /// What the library keeps behind the font.
  struct Impl;
  /// What the library keeps behind the font.
  const Impl* impl() const { return m_p.get(); }

 private:
  std::unique_ptr<Impl> m_p;
  REAL m_size;
  Unit m_unit;
  Status m_status;
};

/// A raster bitmap with storage of its own. New pixels are black.
///
/// A bitmap made at a device pixel ratio r has its width and height in
/// logical pixels and holds about r x r physical pixels for each of them;
/// at ratio 1 logical and physical pixels are the same.
class ORVEK_API Bitmap {
 public:
  /// A bitmap of width by height pixels; InvalidParameter for a size below 1
  /// or another format.
  Bitmap(INT width, INT height, PixelFormat format = PixelFormat32bppRGB);
  /// A bitmap of width by height logical pixels at a device pixel ratio: its
  /// storage has width x ratio by height x ratio physical pixels (rounded
  /// up). InvalidParameter for a ratio that is not a finite number above 0.
  Bitmap(INT width, INT height, PixelFormat format, REAL devicePixelRatio);
  ~Bitmap();
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  /// The width in logical pixels.
  UINT GetWidth() const;
  /// The height in logical pixels.
  UINT GetHeight() const;
  /// Physical pixels per logical pixel, across and down.
  REAL GetDevicePixelRatio() const;
  /// Always PixelFormat32bppRGB.
  PixelFormat GetPixelFormat() const { return PixelFormat32bppRGB; }
  /// Ok, InvalidParameter or OutOfMemory, from the construction.
  Status GetLastStatus() const { return m_status; }
  /// The colour of a logical pixel: at a ratio other than 1 the rounded mean
  /// of its physical pixels. InvalidParameter outside the bitmap.
  Status GetPixel(INT x, INT y, Color* color) const;
  /// Sets every physical pixel of a logical one, opaque. InvalidParameter
  /// outside the bitmap.
  Status SetPixel(INT x, INT y, const Color& color);
  /// Writes the bitmap's physical pixels as a PNG file; narrow names are
  /// UTF-8.
  Status SavePng(const wchar_t* path) const;
  /// \copydoc SavePng(const wchar_t*) const
  Status SavePng(const char* path) const;

  /// What the library keeps behind the bitmap.
  struct Impl;
  /// What the library keeps behind the bitmap.
  Impl* impl() const { return m_p.get(); }

 private:
  std::unique_ptr<Impl> m_p;
  Status m_status;
};

/// A drawing context on a bitmap. Without antialiasing lines and rectangles
/// cover whole pixels; with it, solid polylines on a bitmap are rasterised by
/// the library's own coverage stroker, which gives the exact area of the pen
/// over each pixel for the whole polyline as one path at a small part of its
/// cost. Everything is in logical pixels.
class ORVEK_API Graphics {
 public:
  /// A context on the bitmap; InvalidParameter for a null or failed bitmap.
  explicit Graphics(Bitmap* image);
  ~Graphics();
  Graphics(const Graphics&) = delete;
  Graphics& operator=(const Graphics&) = delete;
  /// A new context on the bitmap, which the caller deletes.
  static Graphics* FromImage(Bitmap* image) { return new Graphics(image); }
  /// Ok, or InvalidParameter from the construction.
  Status GetLastStatus() const { return m_status; }

  /// Fills the whole target with an opaque colour, within the clip.
  Status Clear(const Color& color);
  /// Antialiasing on or off for what follows.
  Status SetSmoothingMode(SmoothingMode mode);
  /// The mode last set.
  SmoothingMode GetSmoothingMode() const;
  /// Replaces the clip by a rectangle, or intersects it.
  Status SetClip(const Rect& rect, CombineMode mode = CombineModeReplace);
  /// Drawing reaches the whole target again.
  Status ResetClip();

  /// A line from (x1, y1) to (x2, y2).
  Status DrawLine(const Pen* pen, INT x1, INT y1, INT x2, INT y2);
  /// \copydoc DrawLine(const Pen*, INT, INT, INT, INT)
  Status DrawLine(const Pen* pen, REAL x1, REAL y1, REAL x2, REAL y2);
  /// The outline of a rectangle whose right and bottom edges lie at x + width
  /// and y + height.
  Status DrawRectangle(const Pen* pen, INT x, INT y, INT width, INT height);
  /// Fills the pixels of the rectangle.
  Status FillRectangle(const Brush* brush, INT x, INT y, INT width, INT height);
  /// One polyline through count points (at least 2). A point that is not
  /// finite breaks the line.
  Status DrawLines(const Pen* pen, const PointF* points, INT count);

  /// The box of a text laid out from the top-left corner of the layout
  /// rectangle; its size is not used for wrapping.
  Status MeasureString(const wchar_t* text, INT length, const Font* font, const RectF& layout, RectF* box) const;
  /// Draws a text from the top-left corner of the layout rectangle; its size
  /// is not used for wrapping or clipping. A negative length reads to the
  /// terminating 0.
  Status DrawString(const wchar_t* text, INT length, const Font* font, const RectF& layout, const Brush* brush);

  /// Copies the source rectangle of a bitmap, in its logical pixels and in
  /// UnitPixel, to (x, y) at the same logical size.
  Status DrawImage(Bitmap* image, INT x, INT y, INT srcX, INT srcY, INT srcWidth, INT srcHeight, Unit srcUnit);
  /// Copies the whole bitmap to (x, y).
  Status DrawImage(Bitmap* image, INT x, INT y);

  /// What the library keeps behind the context.
  struct Impl;
  /// What the library keeps behind the context.
  Impl* impl() const { return m_p.get(); }
  /// A context on what the library made ready; see GraphicsOnPainter.
  explicit Graphics(std::unique_ptr<Impl> impl);

 private:
  std::unique_ptr<Impl> m_p;
  Status m_status;
};

}  // namespace Gdiplus

#pragma pop_macro("Status")

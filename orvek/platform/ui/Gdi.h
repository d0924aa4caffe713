#pragma once

#include <orvek/platform/core/Types.h>

/// \file
/// Brushes and fonts of the window layer: handles that windows and controls
/// take for their background and text. A brush is a colour, a font a family
/// with a size and weight. Handles stay valid until DeleteObject; the system
/// colour brushes belong to the library and are never deleted.

typedef DWORD COLORREF;  ///< 0x00BBGGRR
/// Packs red, green and blue into a COLORREF, and takes the parts out again.
///@{
constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) {
  return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) | (static_cast<COLORREF>(b) << 16);
}
constexpr BYTE GetRValue(COLORREF c) { return static_cast<BYTE>(c & 0xFFu); }
constexpr BYTE GetGValue(COLORREF c) { return static_cast<BYTE>((c >> 8) & 0xFFu); }
constexpr BYTE GetBValue(COLORREF c) { return static_cast<BYTE>((c >> 16) & 0xFFu); }
///@}

/// A brush or font handle, as DeleteObject takes it.
typedef void* HGDIOBJ;
struct HBRUSH__;
/// A brush handle: a colour to fill with.
typedef HBRUSH__* HBRUSH;
struct HFONT__;
/// A font handle: a family with a size, weight and style.
typedef HFONT__* HFONT;
struct HICON__;
/// Icon and cursor handles of a window class; they only travel, nothing draws them.
///@{
typedef HICON__* HICON;
typedef HICON HCURSOR;
///@}
struct HDC__;
/// The drawing context of a paint: the QPainter* of that paint (see CDC).
typedef HDC__* HDC;

/// System colours, taken from the application's palette.
///@{
constexpr int COLOR_WINDOW = 5;
constexpr int COLOR_WINDOWTEXT = 8;
constexpr int COLOR_BTNFACE = 15;
constexpr int COLOR_BTNTEXT = 18;
///@}

/// A new brush of the colour; delete it with DeleteObject.
ORVEK_API HBRUSH CreateSolidBrush(COLORREF color);
/// The library's brush of a system colour (COLOR_), kept for the life of the
/// process; null for an unknown index.
ORVEK_API HBRUSH GetSysColorBrush(int index);
/// A system colour (COLOR_) from the application's palette; 0 for an unknown index.
ORVEK_API COLORREF GetSysColor(int index);
/// Deletes a brush or a font. FALSE for a handle that is not a live object;
/// a system colour brush is left alone (TRUE).
ORVEK_API BOOL DeleteObject(HGDIOBJ object);

/// Font weights (FW_) and the fixed values of the CreateFontW arguments that are not used.
///@{
constexpr int FW_DONTCARE = 0;
constexpr int FW_NORMAL = 400;
constexpr int FW_BOLD = 700;
constexpr DWORD ANSI_CHARSET = 0;
constexpr DWORD DEFAULT_CHARSET = 1;
constexpr DWORD OUT_DEFAULT_PRECIS = 0;
constexpr DWORD CLIP_DEFAULT_PRECIS = 0;
constexpr DWORD DEFAULT_QUALITY = 0;
constexpr DWORD PROOF_QUALITY = 2;
constexpr DWORD DEFAULT_PITCH = 0;
constexpr DWORD FF_DONTCARE = 0;
///@}

/// A font of the named family, falling back to the system's sans-serif face.
/// The magnitude of the height is the size in points (0: the default size);
/// width, angles, character set, precision and quality are not used.
ORVEK_API HFONT CreateFontW(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                            DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                            DWORD quality, DWORD pitchAndFamily, const wchar_t* faceName);

/// Owner of one brush or font handle; deletes it at its end.
class ORVEK_API CGdiObject {
 public:
  /// An object that owns no handle yet.
  CGdiObject() : m_hObject(nullptr) {}
  /// Deletes the handle, if any.
  virtual ~CGdiObject();
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;

  /// The handle, or null.
  HGDIOBJ GetSafeHandle() const { return m_hObject; }
  /// Deletes the handle and forgets it; FALSE if there was none or it was no live object.
  BOOL DeleteObject();

  /// The owned handle, or null.
  HGDIOBJ m_hObject;
};

/// A brush: a colour that windows fill their background with.
class ORVEK_API CBrush : public CGdiObject {
 public:
  /// A brush object without a brush.
  CBrush() = default;
  /// Creates a brush of the colour at once.
  explicit CBrush(COLORREF color) { CreateSolidBrush(color); }
  /// Replaces the handle by a new brush of the colour; FALSE if none could be made.
  BOOL CreateSolidBrush(COLORREF color);
  /// The brush handle.
  operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
};

/// A font: a family with a size, weight and style, for the text of windows and controls.
class ORVEK_API CFont : public CGdiObject {
 public:
  /// Replaces the handle by a new font, as the free CreateFontW makes it;
  /// FALSE if none could be made.
  BOOL CreateFontW(int height, int width, int escapement, int orientation, int weight, DWORD italic, DWORD underline,
                   DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision, DWORD quality,
                   DWORD pitchAndFamily, const wchar_t* faceName);
  /// Replaces the handle by a normal-weight font of the family. Size in tenths
  /// of a point, as the host platform's helper takes it; 0 or less keeps the
  /// default size.
  BOOL CreatePointFont(int pointSizeTenths, const wchar_t* faceName);
  /// The font handle.
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }
};

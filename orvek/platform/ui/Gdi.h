#pragma once

#include <orvek/platform/core/Types.h>

// Brushes and fonts of the window layer: handles that windows and controls
// take for their background and text. A brush is a colour, a font a family
// with a size and weight. Handles stay valid until DeleteObject; the system
// colour brushes belong to the library and are never deleted.

typedef DWORD COLORREF;  // 0x00BBGGRR
constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) {
  return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) | (static_cast<COLORREF>(b) << 16);
}
constexpr BYTE GetRValue(COLORREF c) { return static_cast<BYTE>(c & 0xFFu); }
constexpr BYTE GetGValue(COLORREF c) { return static_cast<BYTE>((c >> 8) & 0xFFu); }
constexpr BYTE GetBValue(COLORREF c) { return static_cast<BYTE>((c >> 16) & 0xFFu); }

typedef void* HGDIOBJ;
struct HBRUSH__;
typedef HBRUSH__* HBRUSH;
struct HFONT__;
typedef HFONT__* HFONT;
struct HICON__;
typedef HICON__* HICON;
typedef HICON HCURSOR;
// The drawing context of a paint: the QPainter* of that paint (see CDC).
struct HDC__;
typedef HDC__* HDC;

// System colours, taken from the application's palette.
constexpr int COLOR_WINDOW = 5;
constexpr int COLOR_WINDOWTEXT = 8;
constexpr int COLOR_BTNFACE = 15;
constexpr int COLOR_BTNTEXT = 18;

ORVEK_API HBRUSH CreateSolidBrush(COLORREF color);
ORVEK_API HBRUSH GetSysColorBrush(int index);
ORVEK_API COLORREF GetSysColor(int index);
// Deletes a brush or a font. FALSE for a handle that is not a live object;
// a system colour brush is left alone (TRUE).
ORVEK_API BOOL DeleteObject(HGDIOBJ object);

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

// A font of the named family, falling back to the system's sans-serif face.
// The magnitude of the height is the size in points (0: the default size);
// width, angles, character set, precision and quality are not used.
ORVEK_API HFONT CreateFontW(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                            DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                            DWORD quality, DWORD pitchAndFamily, const wchar_t* faceName);

// Owner of one brush or font handle; deletes it at its end.
class ORVEK_API CGdiObject {
 public:
  CGdiObject() : m_hObject(nullptr) {}
  virtual ~CGdiObject();
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;

  HGDIOBJ GetSafeHandle() const { return m_hObject; }
  BOOL DeleteObject();

  HGDIOBJ m_hObject;
};

class ORVEK_API CBrush : public CGdiObject {
 public:
  CBrush() = default;
  explicit CBrush(COLORREF color) { CreateSolidBrush(color); }
  BOOL CreateSolidBrush(COLORREF color);
  operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
};

class ORVEK_API CFont : public CGdiObject {
 public:
  BOOL CreateFontW(int height, int width, int escapement, int orientation, int weight, DWORD italic, DWORD underline,
                   DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision, DWORD quality,
                   DWORD pitchAndFamily, const wchar_t* faceName);
  // Size in tenths of a point, as the host platform's helper takes it.
  BOOL CreatePointFont(int pointSizeTenths, const wchar_t* faceName);
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }
};

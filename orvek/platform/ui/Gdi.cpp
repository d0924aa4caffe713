// Brushes and fonts of the window layer (CreateSolidBrush, GetSysColorBrush,
// DeleteObject) as colours and font descriptions on Qt's palette.
#include <orvek/platform/ui/Gdi.h>

#include <QApplication>
#include <QFont>
#include <QPalette>

#include <map>
#include <mutex>
#include <unordered_set>

#include <orvek/platform/ui/Wnd_p.h>

namespace {

struct GdiObject {
  enum Kind { Brush, Font } kind;
  QColor color;
  QFont font;
  bool system = false;
};

// Live objects, so that a stale handle is refused rather than followed.
// Leaked on purpose: windows may still name a brush while statics end.
std::mutex& gdiLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::unordered_set<GdiObject*>& gdiObjects() {
  static auto* s = new std::unordered_set<GdiObject*>;
  return *s;
}

GdiObject* publish(GdiObject* o) {
  std::lock_guard<std::mutex> g(gdiLock());
  gdiObjects().insert(o);
  return o;
}

QColor fromColorRef(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

QPalette::ColorRole roleOf(int index, bool* known) {
  *known = true;
  switch (index) {
    case COLOR_WINDOW: return QPalette::Base;
    case COLOR_WINDOWTEXT: return QPalette::WindowText;
    case COLOR_BTNFACE: return QPalette::Button;
    case COLOR_BTNTEXT: return QPalette::ButtonText;
    default: *known = false; return QPalette::Window;
  }
}

QColor systemColor(int index, bool* known) {
  const QPalette::ColorRole role = roleOf(index, known);
  // Without an application object the palette is Qt's built-in one.
  const QPalette palette = QCoreApplication::instance() ? QApplication::palette() : QPalette();
  return palette.color(QPalette::Active, role);
}

}  // namespace

HBRUSH CreateSolidBrush(COLORREF color) {
  auto* o = new GdiObject{GdiObject::Brush, fromColorRef(color), QFont(), false};
  return reinterpret_cast<HBRUSH>(publish(o));
}

HBRUSH GetSysColorBrush(int index) {
  // One brush per system colour for the life of the process, as the host
  // platform keeps them.
  static std::mutex lock;
  static std::map<int, GdiObject*> brushes;
  bool known;
  const QColor color = systemColor(index, &known);
  if (!known) return nullptr;
  std::lock_guard<std::mutex> g(lock);
  GdiObject*& o = brushes[index];
  if (!o) o = publish(new GdiObject{GdiObject::Brush, color, QFont(), true});
  return reinterpret_cast<HBRUSH>(o);
}

COLORREF GetSysColor(int index) {
  bool known;
  const QColor c = systemColor(index, &known);
  return known ? RGB(static_cast<BYTE>(c.red()), static_cast<BYTE>(c.green()), static_cast<BYTE>(c.blue())) : 0;
}

BOOL DeleteObject(HGDIOBJ object) {
  auto* o = static_cast<GdiObject*>(object);
  std::lock_guard<std::mutex> g(gdiLock());
  if (!o || !gdiObjects().count(o)) return FALSE;
  if (o->system) return TRUE;
  gdiObjects().erase(o);
  delete o;
  return TRUE;
}

HFONT CreateFontW(int height, int, int, int, int weight, DWORD italic, DWORD underline, DWORD strikeOut, DWORD, DWORD,
                  DWORD, DWORD, DWORD, const wchar_t* faceName) {
  QFont f;
  if (faceName && *faceName) f.setFamily(orvek_ui::toQString(faceName));
  f.setStyleHint(QFont::SansSerif);
  const int size = height < 0 ? -height : height;
  if (size > 0) f.setPointSize(size);
  if (weight > 0) f.setWeight(static_cast<QFont::Weight>(weight < 1 ? 1 : (weight > 1000 ? 1000 : weight)));
  f.setItalic(italic != 0);
  f.setUnderline(underline != 0);
  f.setStrikeOut(strikeOut != 0);
  auto* o = new GdiObject{GdiObject::Font, QColor(), f, false};
  return reinterpret_cast<HFONT>(publish(o));
}

bool orvek_ui::brushColor(HBRUSH brush, QColor* color) {
  auto* o = reinterpret_cast<GdiObject*>(brush);
  std::lock_guard<std::mutex> g(gdiLock());
  if (!o || !gdiObjects().count(o) || o->kind != GdiObject::Brush) return false;
  *color = o->color;
  return true;
}

bool orvek_ui::fontOf(HFONT font, QFont* out) {
  auto* o = reinterpret_cast<GdiObject*>(font);
  std::lock_guard<std::mutex> g(gdiLock());
  if (!o || !gdiObjects().count(o) || o->kind != GdiObject::Font) return false;
  *out = o->font;
  return true;
}

// ---- owners -------------------------------------------------------------------

CGdiObject::~CGdiObject() { DeleteObject(); }

BOOL CGdiObject::DeleteObject() {
  if (!m_hObject) return FALSE;
  const BOOL ok = ::DeleteObject(m_hObject);
  m_hObject = nullptr;
  return ok;
}

BOOL CBrush::CreateSolidBrush(COLORREF color) {
  DeleteObject();
  m_hObject = ::CreateSolidBrush(color);
  return m_hObject != nullptr;
}

BOOL CFont::CreateFontW(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                        DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                        DWORD quality, DWORD pitchAndFamily, const wchar_t* faceName) {
  DeleteObject();
  m_hObject = ::CreateFontW(height, width, escapement, orientation, weight, italic, underline, strikeOut, charSet,
                            outPrecision, clipPrecision, quality, pitchAndFamily, faceName);
  return m_hObject != nullptr;
}

BOOL CFont::CreatePointFont(int pointSizeTenths, const wchar_t* faceName) {
  DeleteObject();
  m_hObject = ::CreateFontW(0, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                            DEFAULT_QUALITY, DEFAULT_PITCH | FF_DONTCARE, faceName);
  if (!m_hObject) return FALSE;
  std::lock_guard<std::mutex> g(gdiLock());
  auto* o = static_cast<GdiObject*>(m_hObject);
  if (pointSizeTenths > 0) o->font.setPointSizeF(pointSizeTenths / 10.0);
  return TRUE;
}

// Window classes (AfxRegisterWndClass, the built-in control class names): a
// process-wide list of registered names with their background brushes.
#include <orvek/platform/ui/WndInternal_p.h>

#include <cwchar>
#include <deque>

namespace {

struct WndClass {
  std::wstring name;
  HBRUSH brush;
};
std::mutex& classLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::deque<WndClass>& classes() {
  static auto* d = new std::deque<WndClass>;
  return *d;
}

}  // namespace

bool orvek_ui::lookupClass(const wchar_t* name, WndKind* kind, HBRUSH* brush) {
  *kind = WndKind::Generic;
  *brush = nullptr;
  if (!name) return true;
  static const struct {
    const wchar_t* name;
    WndKind kind;
  } builtins[] = {{WC_STATICW, WndKind::Static},
                  {WC_BUTTONW, WndKind::Button},
                  {WC_COMBOBOXW, WndKind::Combo},
                  {TRACKBAR_CLASSW, WndKind::Slider},
                  {WC_TABCONTROLW, WndKind::Tab}};
  for (const auto& b : builtins) {
    if (wcscasecmp(b.name, name) == 0) {
      *kind = b.kind;
      return true;
    }
  }
  std::lock_guard<std::mutex> g(classLock());
  for (const auto& c : classes()) {
    if (c.name == name) {
      *brush = c.brush;
      return true;
    }
  }
  return false;
}

const wchar_t* AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor, HBRUSH hbrBackground, HICON hIcon) {
  wchar_t name[96];
  std::swprintf(name, sizeof name / sizeof name[0], L"Orvek:%x:%p:%p:%p", nClassStyle, static_cast<void*>(hCursor),
                static_cast<void*>(hbrBackground), static_cast<void*>(hIcon));
  std::lock_guard<std::mutex> g(classLock());
  for (const auto& c : classes())
    if (c.name == name) return c.name.c_str();
  classes().push_back(WndClass{name, hbrBackground});
  return classes().back().name.c_str();
}

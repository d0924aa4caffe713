#pragma once

#include <gtest/gtest.h>

#include <QImage>
#include <QSize>
#include <QWidget>

#include <atomic>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <orvek/Orvek.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
// Graph windows paint on a 40 ms timer: a longer wait than the window layer's.
#define ORVEK_TEST_WAIT_MS 3000
#include <support/EventWait.h>

inline std::wstring TestPath(const char* name) {
  const std::string p = std::string(ORVEK_TEST_BINARY_DIR) + "/" + name;
  return std::wstring(p.begin(), p.end());
}

inline QImage LoadPng(const std::wstring& path) { return QImage(QString::fromStdWString(path)); }

// The window's own capture, written to the test folder and read back; a null image where it failed.
template <typename Window>
QImage Saved(Window& w, const char* name) {
  const std::wstring path = TestPath(name);
  return w.SaveImage(path.c_str()) == S_OK ? LoadPng(path) : QImage();
}

// The first curve's pen (0xC080FF00) over the black ground.
inline bool IsCurvePixel(QRgb p) { return qGreen(p) > 150 && qRed(p) > 60 && qRed(p) < 140 && qBlue(p) < 40; }

inline QSize BitmapSize(const CGraphWnd& g) {
  const Gdiplus::Bitmap* b = g.m_pDrawer->m_pFrameBitmap;
  return QSize(static_cast<int>(b->GetWidth()), static_cast<int>(b->GetHeight()));
}

inline QSize ClientSize(const CWnd& w) {
  CRect rc;
  w.GetClientRect(&rc);
  return QSize(rc.Width(), rc.Height());
}

// Feeds a graph's curve and waits until a paint has drawn it.
template <typename T>
bool DrawnAndSettled(CGraphWnd& g, const std::vector<T>& block, int curve = 0) {
  g.DrawGraph<T>(curve, block.data(), static_cast<int>(block.size()), 1);
  return WaitFor([&] { return g.IsDrawed() == 1 && g.m_pDrawer->m_bDataPending == 0; });
}

// Resizes a top-level window as a user's drag does and waits for the layout.
inline bool ResizeTo(CWnd& w, QSize size, QSize expect) {
  w.GetQWidget()->resize(size);
  return WaitFor([&] { return ClientSize(w) == expect; });
}

// Mean row of the first curve's pixels in a column, or -1 where it has none.
inline double CurveRow(const QImage& img, int x) {
  double sum = 0;
  int count = 0;
  for (int y = 0; y < img.height(); ++y)
    if (IsCurvePixel(img.pixel(x, y))) {
      sum += y;
      ++count;
    }
  return count ? sum / count : -1.0;
}

inline std::vector<float> Sine(int n, double periods, double amplitude = 1.0) {
  std::vector<float> v(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i)
    v[static_cast<std::size_t>(i)] = static_cast<float>(amplitude * std::sin(6.283185307 * periods * i / n));
  return v;
}

// A graph that counts its paints.
class CCountingGraph : public CGraphWnd {
 public:
  std::atomic<int> m_nPaints{0};
  void OnPaint() override {
    ++m_nPaints;
    CGraphWnd::OnPaint();
  }
};

// A top-level window of the host, as a parent for single graphs.
class CHostWindow : public CWnd {
 public:
  BOOL Create(int cx, int cy, bool bVisible) {
    const DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | (bVisible ? WS_VISIBLE : 0);
    return CreateEx(0, nullptr, L"host", style, CRect(100, 100, 100 + cx, 100 + cy), nullptr, 0);
  }
};

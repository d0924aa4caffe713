#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include <orvek/platform/gfx/Gdiplus.h>

namespace orvek_gfx {

// 32-bit pixels (opaque RGB or premultiplied ARGB) and the clip, half-open.
struct PixelTarget {
  std::uint32_t* bits = nullptr;
  int stride = 0;  // pixels per row
  int width = 0, height = 0;
  int clipLeft = 0, clipTop = 0, clipRight = 0, clipBottom = 0;
};

// Strokes a polyline of any width (flat ends, bevelled corners) into a
// coverage buffer and blends that with the pen's colour once, so a
// translucent curve is blended once where it overlaps itself, as a filled
// outline would be. Coverage is the exact area of the stroke's outline in
// each pixel, summed under the non-zero rule; the buffer is column-major
// because the strokes of dense signals run mostly up and down.
class WideStroker {
 public:
  // Each point is drawn at ((X + shift) * scale, (Y + shift) * scale): the
  // shift moves the pixel grid, the scale goes from logical to physical
  // pixels. The width is in physical pixels.
  void Stroke(const PixelTarget& target, const Gdiplus::PointF* points, int count, float width, std::uint32_t argb,
              float scale = 1.0f, float shift = 0.0f);

 private:
  void Outline(const Gdiplus::PointF* p, int n, float halfWidth);
  void Edge(float x0, float y0, float x1, float y1, float weight = 1.0f);
  void EdgeSpan(float x0, float y0, float x1, float y1, float weight, bool inside);
  void Deposit(int col, float d, float ta, float tb);
  void Blend(const PixelTarget& target, std::uint32_t argb);

  // m_cols columns of m_rows cells, each a pair: what the cell gains, and
  // what every cell from it on gains (runs of equal shares).
  std::vector<float> m_cells;
  std::vector<std::pair<int, int>> m_reach;  // per column: the cells given to, half-open
  int m_box[4] = {0, 0, 0, 0};               // columns and cells the stroke can touch
  std::vector<Gdiplus::PointF> m_run;
  int m_cols = 0, m_rows = 0, m_height = 0, m_colBase = 0;
  float m_xLo = 0, m_xHi = 0;
};

// Where the points of a line from first on run smoothly, keeps only those the
// picture needs (see the definition); the stroker does this to every line.
void ThinSmoothStretches(std::vector<Gdiplus::PointF>& run, std::size_t first);

// One per thread, so that drawing allocates nothing once it has grown.
WideStroker& ThreadStroker();

}  // namespace orvek_gfx

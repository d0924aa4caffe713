#include <orvek/platform/gfx/WideStroke_p.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <orvek/platform/core/VectorState_p.h>

namespace orvek_gfx {

namespace {

// Coordinates beyond this are pulled in; inside the bitmap the slope of such
// a segment changes by less than a thousandth of a pixel.
constexpr float kFar = 4.0e6f;

// A corner turns back on itself when the sine of the angle between its two
// segments, times the square of half the pen, is below this: the area that
// the simpler bevel misses stays below a twentieth of a pixel (a few levels
// of one pixel's colour at most).
constexpr float kReversal = 0.05f;

// x * a / 255 on each byte of a pixel, rounded.
inline std::uint32_t ByteMul(std::uint32_t x, std::uint32_t a) {
  std::uint32_t t = (x & 0xff00ffu) * a;
  t = ((t + ((t >> 8) & 0xff00ffu) + 0x800080u) >> 8) & 0xff00ffu;
  x = ((x >> 8) & 0xff00ffu) * a;
  x = (x + ((x >> 8) & 0xff00ffu) + 0x800080u) & 0xff00ff00u;
  return x | t;
}

inline std::uint32_t Premultiply(std::uint32_t argb) {
  const std::uint32_t a = argb >> 24;
  return (ByteMul(argb | 0xff000000u, a) & 0x00ffffffu) | (a << 24);
}

}  // namespace

WideStroker& ThreadStroker() {
  thread_local WideStroker stroker;
  return stroker;
}

void WideStroker::Stroke(const PixelTarget& target, const Gdiplus::PointF* points, int count, float width,
                         std::uint32_t argb, float scale, float shift) {
  orvek_core::ClearUpperVectorState();
  if (!target.bits || count < 2 || !(width > 0) || !std::isfinite(width)) return;
  const int left = std::max(target.clipLeft, 0), right = std::min(target.clipRight, target.width);
  const int top = std::max(target.clipTop, 0), bottom = std::min(target.clipBottom, target.height);
  if (left >= right || top >= bottom || (argb >> 24) == 0) return;

  m_colBase = left;
  m_cols = right - left;
  m_height = target.height;
  m_rows = target.height + 2;
  m_xLo = static_cast<float>(left);
  m_xHi = static_cast<float>(right);
  const std::size_t cells = static_cast<std::size_t>(m_cols) * static_cast<std::size_t>(m_rows);
  if (m_cells.size() < 2 * cells) m_cells.resize(2 * cells, 0.0f);  // kept all zero between strokes
  if (m_reach.size() < static_cast<std::size_t>(m_cols)) m_reach.resize(static_cast<std::size_t>(m_cols), {m_rows, 0});
  m_box[0] = m_cols;  // columns and cells that the stroke can touch
  m_box[1] = m_rows;
  m_box[2] = m_box[3] = 0;

  // Runs of finite points; a point that is not finite breaks the line.
  const float halfWidth = width * 0.5f;
  m_run.clear();
  for (int i = 0; i <= count; ++i) {
    const bool finite = i < count && std::isfinite(points[i].X) && std::isfinite(points[i].Y);
    if (finite) {
      Gdiplus::PointF p(std::clamp((points[i].X + shift) * scale, -kFar, kFar),
                        std::clamp((points[i].Y + shift) * scale, -kFar, kFar));
      if (m_run.empty() || p.X != m_run.back().X || p.Y != m_run.back().Y) m_run.push_back(p);
      continue;
    }
    ThinSmoothStretches(m_run, 0);
    if (m_run.size() >= 2) {
      float x0 = m_run[0].X, x1 = x0, y0 = m_run[0].Y, y1 = y0;
      for (const Gdiplus::PointF& p : m_run) {
        x0 = std::min(x0, p.X), x1 = std::max(x1, p.X);
        y0 = std::min(y0, p.Y), y1 = std::max(y1, p.Y);
      }
      const float pad = halfWidth + 2.0f;
      m_box[0] = std::min(m_box[0], static_cast<int>(std::clamp(x0 - pad - m_xLo, 0.0f, static_cast<float>(m_cols))));
      m_box[2] = std::max(m_box[2], static_cast<int>(std::clamp(x1 + pad - m_xLo, 0.0f, static_cast<float>(m_cols))));
      m_box[1] = std::min(m_box[1], static_cast<int>(std::clamp(y0 - pad, 0.0f, static_cast<float>(m_rows))));
      m_box[3] = std::max(m_box[3], static_cast<int>(std::clamp(y1 + pad, 0.0f, static_cast<float>(m_rows))));
      Outline(m_run.data(), static_cast<int>(m_run.size()), halfWidth);
    }
    m_run.clear();
  }
  PixelTarget clipped = target;
  clipped.clipTop = top;
  clipped.clipBottom = bottom;
  Blend(clipped, argb);
}

// Where a line runs smoothly, through points where it barely turns or
// between points closer than a quarter of a pixel, as the dense samples of a
// smooth curve give, only the points that lie more than a 256th of a pixel
// off the line through the points kept around them stay, and enough of them
// that the line turns by a tenth of a radian at most where it keeps a point:
// a bend stays as round as the many short joins it replaces (the bevel misses
// a few ten-thousandths of a pixel). The directions of short segments in
// single precision are noise that every join would add to the coverage, and
// a smooth stretch costs a few points instead of every sample. A stretch has
// a bounded number of points, so that the cost stays linear.
void ThinSmoothStretches(std::vector<Gdiplus::PointF>& run, std::size_t first) {
  constexpr float kShort = 0.25f * 0.25f, kOff = 1.0f / 256.0f, kSlight = 0.02f, kBend = 0.1f;
  constexpr std::size_t kPiece = 1024;
  Gdiplus::PointF* const p = run.data() + first;
  const std::size_t n = run.size() - first;
  if (n < 3) return;
  // Whether the turn from a to q to b is more than the given tangent of an
  // angle; turning back always is.
  const auto turns = [](const Gdiplus::PointF& a, const Gdiplus::PointF& q, const Gdiplus::PointF& b, float tangent) {
    const float ax = q.X - a.X, ay = q.Y - a.Y, bx = b.X - q.X, by = b.Y - q.Y;
    const float dot = ax * bx + ay * by;
    return dot <= 0 || std::fabs(ax * by - ay * bx) > tangent * dot;
  };
  // Point k may go where a short segment meets it or the line barely turns,
  // never next to a point at infinity (a sample beyond single precision),
  // which no line can be measured against.
  const auto candidate = [&](std::size_t k) {
    const Gdiplus::PointF &a = p[k - 1], &q = p[k], &b = p[k + 1];
    if (!std::isfinite(a.X + a.Y + q.X + q.Y + b.X + b.Y)) return false;
    const float ax = q.X - a.X, ay = q.Y - a.Y, bx = b.X - q.X, by = b.Y - q.Y;
    return ax * ax + ay * ay < kShort || bx * bx + by * by < kShort || !turns(a, q, b, kSlight);
  };
  // The point between a and b farthest from the line through them, when it
  // lies more than kOff off it; 0 when none does.
  const auto farthest = [&](std::size_t a, std::size_t b) {
    const Gdiplus::PointF pa = p[a];
    const float dx = p[b].X - pa.X, dy = p[b].Y - pa.Y;
    const float len = std::sqrt(dx * dx + dy * dy);
    float far = 0;
    std::size_t at = a;
    for (std::size_t k = a + 1; k < b; ++k) {
      const float ex = p[k].X - pa.X, ey = p[k].Y - pa.Y;
      // The distance to the line, or to the point when both ends are one.
      const float d = len > 0 ? std::fabs(ex * dy - ey * dx) / len : std::sqrt(ex * ex + ey * ey);
      if (d > far) far = d, at = k;
    }
    return far > kOff ? at : std::size_t{0};
  };
  // Per stretch, on the stack: which points stay, the spans left to thin,
  // and the kept points as a list; all indices from the stretch's start.
  unsigned char keep[kPiece + 1];
  std::pair<std::uint16_t, std::uint16_t> spans[kPiece];
  std::uint16_t kept[kPiece + 1];
  std::size_t to = 1;  // points kept so far, written over those read already
  for (std::size_t i = 0; i + 1 < n;) {
    std::size_t e = i + 1;  // a stretch from i to e whose inner points may go
    while (e + 1 < n && e - i < kPiece && candidate(e)) ++e;
    if (e == i + 1) {
      p[to++] = p[++i];
      continue;
    }
    if (e == i + 2) {  // one inner point: it stays when it lies off the line
      if (farthest(i, e)) p[to++] = p[i + 1];
      p[to++] = p[e];
      i = e;
      continue;
    }
    const std::size_t m = e - i;
    std::fill(keep, keep + m + 1, 0);
    keep[0] = keep[m] = 1;
    std::size_t nSpans = 0;
    spans[nSpans++] = {0, static_cast<std::uint16_t>(m)};
    while (nSpans > 0) {  // the points farther than kOff from the line through those kept around them
      const auto [a, b] = spans[--nSpans];
      const std::size_t at = farthest(i + a, i + b);
      if (!at) continue;
      const auto r = static_cast<std::uint16_t>(at - i);
      keep[r] = 1;
      if (r - a > 1) spans[nSpans++] = {a, r};
      if (b - r > 1) spans[nSpans++] = {r, b};
    }
    // A kept point where the line turns by more than kBend takes back the
    // middle points of the spans on either side, until none is left.
    for (bool bent = true; bent;) {
      bent = false;
      std::size_t nKept = 0;
      for (std::size_t k = 0; k <= m; ++k)
        if (keep[k]) kept[nKept++] = static_cast<std::uint16_t>(k);
      for (std::size_t j = 1; j + 1 < nKept; ++j) {
        if (!turns(p[i + kept[j - 1]], p[i + kept[j]], p[i + kept[j + 1]], kBend)) continue;
        for (const std::size_t mid : {(kept[j - 1] + kept[j]) / 2, (kept[j] + kept[j + 1]) / 2})
          if (!keep[mid]) keep[mid] = 1, bent = true;
      }
    }
    for (std::size_t k = 1; k <= m; ++k)
      if (keep[k]) p[to++] = p[i + k];
    i = e;
  }
  run.resize(first + std::min(to, n));
}

// The part of an edge inside one column, from row position ta to tb, both
// within 0 and the height. The rows it crosses whole all gain the same
// share: that run goes into the second sum as its two ends, so a steep edge
// costs as little as a short one.
__attribute__((always_inline)) inline void WideStroker::Deposit(int col, float d, float ta, float tb) {
  const std::size_t k = static_cast<std::size_t>(col - m_colBase);
  float* a = m_cells.data() + k * 2 * static_cast<std::size_t>(m_rows);
  const float t0 = std::min(ta, tb), t1 = std::max(ta, tb);
  const int i0 = static_cast<int>(t0);
  const float f0 = static_cast<float>(i0);
  std::pair<int, int>& reach = m_reach[k];
  reach.first = std::min(reach.first, i0);
  if (t1 <= f0 + 1.0f) {
    const float m = 0.5f * (ta + tb) - f0;
    a[2 * i0] += d - d * m;
    a[2 * i0 + 2] += d * m;
    reach.second = std::max(reach.second, i0 + 2);
    return;
  }
  int i1 = static_cast<int>(t1);
  if (static_cast<float>(i1) < t1) ++i1;
  reach.second = std::max(reach.second, i1 + 1);
  const float s = 1.0f / (t1 - t0);
  const float r0 = t0 - f0;
  const float a0 = 0.5f * s * (1.0f - r0) * (1.0f - r0);
  const float r1 = t1 - static_cast<float>(i1) + 1.0f;
  const float am = 0.5f * s * r1 * r1;
  a[2 * i0] += d * a0;
  if (i1 == i0 + 2) {
    a[2 * i0 + 2] += d * (1.0f - a0 - am);
  } else {
    const float a1 = s * (1.5f - r0);
    a[2 * i0 + 2] += d * (a1 - a0);
    if (i1 - 1 > i0 + 2) {
      const float step = d * s;
      a[2 * (i0 + 2) + 1] += step;
      a[2 * (i1 - 1) + 1] -= step;
    }
    const float a2 = a1 + static_cast<float>(i1 - i0 - 3) * s;
    a[2 * (i1 - 1)] += d * (1.0f - a2 - am);
  }
  a[2 * i1] += d * am;
}

// Adds one directed edge to the columns it crosses. Columns are the scan
// lines here: within a column, cell t gains the part of the edge's crossing
// that lies above the cell's end, and the running sum down the column is
// the signed area. What lies above the bitmap counts at the top; what lies
// below it is dropped.
__attribute__((always_inline)) inline void WideStroker::Edge(float x0, float y0, float x1, float y1, float weight) {
  if (x0 == x1) return;
  const float h = static_cast<float>(m_height);
  // Most edges of a dense signal lie in one column inside the bitmap.
  const float lo = std::min(x0, x1);
  const bool inside = y0 >= 0 && y1 >= 0 && y0 <= h && y1 <= h;
  if (lo >= m_xLo && inside) {
    const int c = static_cast<int>(lo);
    if (std::max(x0, x1) <= static_cast<float>(c + 1) && c < m_colBase + m_cols) {
      Deposit(c, (x1 - x0) * weight, y0, y1);
      return;
    }
  }
  EdgeSpan(x0, y0, x1, y1, weight, inside);
}

// An edge across columns, or reaching out of the bitmap: kept out of line so
// that the common case above inlines into the outline's loop.
__attribute__((noinline)) void WideStroker::EdgeSpan(float x0, float y0, float x1, float y1, float weight,
                                                     bool inside) {
  const float h = static_cast<float>(m_height);
  float dir = weight;
  if (x0 > x1) {
    std::swap(x0, x1);
    std::swap(y0, y1);
    dir = -weight;
  }
  const float xa = std::max(x0, m_xLo), xb = std::min(x1, m_xHi);
  if (xa >= xb) return;
  const int c0 = static_cast<int>(xa);  // xa >= 0: truncation is floor
  const float dydx = (y1 - y0) / (x1 - x0);
  const int c1 = static_cast<int>(std::ceil(xb));
  float ya = xa == x0 ? y0 : y0 + (xa - x0) * dydx;
  if (inside) {  // every part within the height: no clipping to test
    for (int c = c0; c < c1; ++c) {
      const float xs = std::max(static_cast<float>(c), xa);
      const float xe = std::min(static_cast<float>(c + 1), xb);
      const float yb = xe == x1 ? y1 : y0 + (xe - x0) * dydx;
      Deposit(c, (xe - xs) * dir, ya, yb);
      ya = yb;
    }
    return;
  }
  for (int c = c0; c < c1; ++c) {
    const float xs = std::max(static_cast<float>(c), xa);
    const float xe = std::min(static_cast<float>(c + 1), xb);
    const float yb = xe == x1 ? y1 : y0 + (xe - x0) * dydx;
    const float d = (xe - xs) * dir;
    const float lo = std::min(ya, yb), hi = std::max(ya, yb);
    if (lo >= 0 && hi <= h) {
      Deposit(c, d, ya, yb);
    } else if (hi <= 0) {
      Deposit(c, d, 0, 0);
    } else if (lo < h) {
      const float above = lo < 0 ? -lo / (hi - lo) : 0.0f;
      const float below = hi > h ? (hi - h) / (hi - lo) : 0.0f;
      if (above > 0) Deposit(c, d * above, 0, 0);
      Deposit(c, d * (1.0f - above - below), std::clamp(ya, 0.0f, h), std::clamp(yb, 0.0f, h));
    }
    ya = yb;
  }
}

// The outline runs forward along the left side and back along the right one.
// At a corner the inner side passes through the vertex and the outer side
// takes the bevel, so the enclosed area is the union of the segments'
// rectangles and the bevel triangles, with overlaps counted twice.
void WideStroker::Outline(const Gdiplus::PointF* p, int n, float halfWidth) {
  float ux = 0, uy = 0;  // direction of the previous segment
  for (int i = 0; i + 1 < n; ++i) {
    const float dx = p[i + 1].X - p[i].X, dy = p[i + 1].Y - p[i].Y;
    const float inv = 1.0f / std::sqrt(dx * dx + dy * dy);
    const float vx = dx * inv, vy = dy * inv;
    const float nx = -vy * halfWidth, ny = vx * halfWidth;
    const float ax = p[i].X, ay = p[i].Y, bx = p[i + 1].X, by = p[i + 1].Y;
    if (i == 0) {
      Edge(ax - nx, ay - ny, ax + nx, ay + ny);  // start cap
    } else {
      const float pnx = -uy * halfWidth, pny = ux * halfWidth;
      const float cross = ux * vy - uy * vx;
      if (ux * vx + uy * vy < 0 && std::fabs(cross) * halfWidth * halfWidth < kReversal) {
        // Turning back on itself, as noise does: the three edges below run
        // within a hair of the line between the two corners, all crossing it
        // the same way, so that line is laid twice.
        const float mx = 0.5f * (pnx - nx), my = 0.5f * (pny - ny);
        Edge(ax + mx, ay + my, ax - mx, ay - my, 2.0f);
      } else if (cross > 0) {  // turning towards the left side: it is the inner one
        Edge(ax + pnx, ay + pny, ax, ay);
        Edge(ax, ay, ax + nx, ay + ny);
        Edge(ax - nx, ay - ny, ax - pnx, ay - pny);
      } else {
        Edge(ax + pnx, ay + pny, ax + nx, ay + ny);
        Edge(ax - nx, ay - ny, ax, ay);
        Edge(ax, ay, ax - pnx, ay - pny);
      }
    }
    Edge(ax + nx, ay + ny, bx + nx, by + ny);
    Edge(bx - nx, by - ny, ax - nx, ay - ny);
    if (i + 2 == n) Edge(bx + nx, by + ny, bx - nx, by - ny);  // end cap
    ux = vx;
    uy = vy;
  }
}

// Turns the running sums into coverage, blends the pen's colour with it and
// leaves the buffer zero again. Each column runs over the cells it was given
// only.
void WideStroker::Blend(const PixelTarget& target, std::uint32_t argb) {
  const std::uint32_t color = Premultiply(argb);
  const int c0 = std::max(m_box[0], 0), c1 = std::min(m_box[2], m_cols);
  const int r0 = std::max(target.clipTop, 0), r1 = std::min(target.clipBottom, m_rows);
  for (int k = c0; k < c1; ++k) {
    std::pair<int, int>& reach = m_reach[static_cast<std::size_t>(k)];
    const int t0 = reach.first, t1 = std::min(reach.second, m_rows);
    reach = {m_rows, 0};
    float* a = m_cells.data() + static_cast<std::size_t>(k) * 2 * static_cast<std::size_t>(m_rows);
    std::uint32_t* px = target.bits + (m_colBase + k);
    float acc = 0, ramp = 0;
    for (int t = t0; t < t1; ++t) {
      ramp += a[2 * t + 1];
      acc += a[2 * t] + ramp;
      a[2 * t] = a[2 * t + 1] = 0;
      if (t < r0 || t >= r1) continue;
      const float cov = std::fabs(acc);
      const std::uint32_t c8 = cov >= 1.0f ? 255u : std::min(255u, static_cast<std::uint32_t>(cov * 256.0f));
      if (c8 == 0) continue;
      std::uint32_t& dst = px[static_cast<std::ptrdiff_t>(t) * target.stride];
      const std::uint32_t src = c8 == 255 ? color : ByteMul(color, c8);
      dst = src + ByteMul(dst, 255u - (src >> 24));
    }
    // A stroke cut off by the bottom of the bitmap covers what lies below
    // its last edge down to the end.
    const std::uint32_t c8 = std::min(255u, static_cast<std::uint32_t>(std::min(std::fabs(acc), 1.0f) * 256.0f));
    if (c8 == 0) continue;
    const std::uint32_t src = c8 == 255 ? color : ByteMul(color, c8);
    for (int t = std::max(t1, r0); t < r1; ++t) {
      std::uint32_t& dst = px[static_cast<std::ptrdiff_t>(t) * target.stride];
      dst = src + ByteMul(dst, 255u - (src >> 24));
    }
  }
}

}  // namespace orvek_gfx

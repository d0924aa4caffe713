// The search for the closest free place of a rectangle, and the rectangle
// operations of the axes' captions.
#include <orvek/plotting/drawer/AxesDrawerBase.h>
#include <orvek/plotting/drawer/RectSearch_p.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace orvek_rects {

// The closest free place of r among the candidates of the exhaustive search:
// for each used rectangle i, the four edge-to-edge moves, then its vertical
// moves combined with the horizontal moves of every used rectangle j, the
// first of equal distances winning. The result is that of trying them all in
// that order; the search only skips tries that cannot win: moves that leave
// the bounds (tested per axis), a move already tried, and rows whose nearest
// move is no closer than the best so far. Obstacles are the rectangles that
// can be met (the host form leaves empty ones out).
bool Search(const Box& r, const std::vector<Box>& offsets, const std::vector<Box>& obstacles, const Box& bounds,
            Box* best) {
  const std::size_t n = offsets.size();
  auto validX = [&](std::int64_t dx) { return r.left + dx >= bounds.left && r.right + dx <= bounds.right; };
  auto validY = [&](std::int64_t dy) { return r.top + dy >= bounds.top && r.bottom + dy <= bounds.bottom; };
  auto blocked = [&](std::int64_t dx, std::int64_t dy, std::size_t* hint) {
    const std::int64_t l = r.left + dx, t = r.top + dy, rt = r.right + dx, b = r.bottom + dy;
    const std::size_t m = obstacles.size();
    if (m == 0) return false;
    // Neighbouring tries are mostly blocked by the same rectangle: start there.
    for (std::size_t k = 0, i = *hint % m; k < m; ++k, i = i + 1 == m ? 0 : i + 1) {
      const Box& u = obstacles[i];
      if (rt > u.left && l < u.right && b > u.top && t < u.bottom) {
        *hint = i;
        return true;
      }
    }
    return false;
  };
  float bestDistance = kNoDistance;
  std::size_t hint = 0;
  auto tryMove = [&](std::int64_t dx, std::int64_t dy, float sx, float sy) {
    const float d = Distance(sx, sy);
    if (!(bestDistance > d) || blocked(dx, dy, &hint)) return;
    bestDistance = d;
    *best = {r.left + dx, r.top + dy, r.right + dx, r.bottom + dy};
  };

  // Horizontal moves inside the bounds, in the order (j, right before left),
  // each value once.
  struct Column {
    std::int64_t dx;
    float square;
    std::size_t j;
  };
  std::vector<Column> columns;
  columns.reserve(2 * n);
  for (std::size_t j = 0; j < n; ++j)
    for (const std::int64_t dx : {offsets[j].right - r.left, offsets[j].left - r.right})
      if (validX(dx)) columns.push_back({dx, Square(dx), j});
  {
    std::vector<std::size_t> order(columns.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return columns[a].dx < columns[b].dx; });
    std::vector<char> keep(columns.size(), 1);
    for (std::size_t k = 1; k < order.size(); ++k)
      if (columns[order[k]].dx == columns[order[k - 1]].dx) keep[order[k]] = 0;
    std::size_t w = 0;
    for (std::size_t k = 0; k < columns.size(); ++k)
      if (keep[k]) columns[w++] = columns[k];
    columns.resize(w);
  }
  float nearest = 0;  // the smallest square among the columns
  bool anyNegative = false;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    nearest = k == 0 ? columns[k].square : std::min(nearest, columns[k].square);
    anyNegative = anyNegative || columns[k].square < 0;
  }

  // Vertical moves already tried as a row.
  std::vector<std::int64_t> seenRows;
  seenRows.reserve(2 * n);
  auto newRow = [&](std::int64_t dy) {
    auto it = std::lower_bound(seenRows.begin(), seenRows.end(), dy);
    if (it != seenRows.end() && *it == dy) return false;
    seenRows.insert(it, dy);
    return true;
  };
  const bool stayX = validX(0), stayY = validY(0);
  for (std::size_t i = 0; i < n; ++i) {
    const Box& u = offsets[i];
    const std::int64_t above = u.top - r.bottom, below = u.bottom - r.top;
    const bool useAbove = validY(above) && newRow(above);
    const bool useBelow = validY(below) && newRow(below);
    const float sa = Square(above), sb = Square(below);
    if (useAbove && stayX) tryMove(0, above, 0.0f, sa);
    if (useBelow && stayX) tryMove(0, below, 0.0f, sb);
    if (stayY) {
      const std::int64_t right = u.right - r.left, left = u.left - r.right;
      if (validX(right)) tryMove(right, 0, Square(right), 0.0f);
      if (validX(left)) tryMove(left, 0, Square(left), 0.0f);
    }
    // A row none of whose moves is closer than the best found is passed over;
    // not when a wrapped square makes the bound meaningless.
    const bool rowAbove = useAbove && (anyNegative || bestDistance > Distance(nearest, sa));
    const bool rowBelow = useBelow && (anyNegative || bestDistance > Distance(nearest, sb));
    if (!rowAbove && !rowBelow) continue;
    for (std::size_t k = 0; k < columns.size();) {
      std::size_t end = k + 1;
      while (end < columns.size() && columns[end].j == columns[k].j) ++end;
      if (rowAbove)
        for (std::size_t c = k; c < end; ++c) tryMove(columns[c].dx, above, columns[c].square, sa);
      if (rowBelow)
        for (std::size_t c = k; c < end; ++c) tryMove(columns[c].dx, below, columns[c].square, sb);
      k = end;
    }
  }
  return bestDistance != kNoDistance;
}

}  // namespace orvek_rects

using namespace orvek_rects;

namespace {

// Half of a length, an odd one rounded up.
int Half(std::int64_t n) { return static_cast<int>(static_cast<float>(n) * 0.5f + 0.5f); }

}  // namespace

void CAxesDrawerBase::OffsetRect(tagRECT* rect, int dx, int dy) {
  rect->left = Wrap(static_cast<std::int64_t>(rect->left) + dx);
  rect->right = Wrap(static_cast<std::int64_t>(rect->right) + dx);
  rect->top = Wrap(static_cast<std::int64_t>(rect->top) + dy);
  rect->bottom = Wrap(static_cast<std::int64_t>(rect->bottom) + dy);
}

void CAxesDrawerBase::OffsetRectCenter(tagRECT* rect, int x, int y) {
  OffsetRect(rect, Wrap(x - static_cast<std::int64_t>(Half(static_cast<std::int64_t>(rect->right) - rect->left))),
             Wrap(y - static_cast<std::int64_t>(Half(static_cast<std::int64_t>(rect->bottom) - rect->top))));
}

namespace {
// The offset that OffsetRectToBounds applies along one axis, in 64 bits.
std::int64_t Limit(std::int64_t d, std::int64_t lo, std::int64_t hi, std::int64_t boundLo, std::int64_t boundHi) {
  return std::max(boundLo - lo, std::min(d, boundHi - hi));
}
}  // namespace

void CAxesDrawerBase::OffsetRectToBounds(tagRECT* rect, int dx, int dy, tagRECT const* bounds) {
  OffsetRect(rect, Wrap(Limit(dx, rect->left, rect->right, bounds->left, bounds->right)),
             Wrap(Limit(dy, rect->top, rect->bottom, bounds->top, bounds->bottom)));
}

void CAxesDrawerBase::OffsetRectToBoundsCenter(tagRECT* rect, int x, int y, tagRECT const* bounds) {
  const std::int64_t dx = x - static_cast<std::int64_t>(Half(static_cast<std::int64_t>(rect->right) - rect->left));
  const std::int64_t dy = y - static_cast<std::int64_t>(Half(static_cast<std::int64_t>(rect->bottom) - rect->top));
  OffsetRect(rect, Wrap(Limit(dx, rect->left, rect->right, bounds->left, bounds->right)),
             Wrap(Limit(dy, rect->top, rect->bottom, bounds->top, bounds->bottom)));
}

bool CAxesDrawerBase::IsRectsIntersects(tagRECT const* a, tagRECT const* b) {
  return a->right > b->left && a->left < b->right && a->bottom > b->top && a->top < b->bottom;
}

bool CAxesDrawerBase::IsRectIntersects(tagRECT const* rect, std::vector<tagRECT> const* used) {
  for (const tagRECT& u : *used)
    if (IsRectsIntersects(rect, &u)) return true;
  return false;
}

bool CAxesDrawerBase::CalculateClosestNonIntersectRect(tagRECT* rect, tagRECT const* bounds,
                                                       std::vector<tagRECT>* used) {
  // Into the bounds first; a rectangle larger than they are keeps its left or
  // top edge on theirs. This move stays whatever follows.
  OffsetRect(rect, Wrap(Limit(0, rect->left, rect->right, bounds->left, bounds->right)),
             Wrap(Limit(0, rect->top, rect->bottom, bounds->top, bounds->bottom)));
  if (!used || used->empty() || !IsRectIntersects(rect, used)) return true;
  const std::vector<Box> boxes = Boxes(*used, false);
  Box best = ToBox(*rect);
  if (!Search(ToBox(*rect), boxes, boxes, ToBox(*bounds), &best)) return false;
  Store(best, rect);
  return true;
}

bool CAxesDrawerBase::AddToRectStat(tagRECT* rect, int dx, int dy, float* bestDistance, tagRECT* bestRect,
                                    tagRECT const* bounds, std::vector<tagRECT>* used) {
  const float distance = Distance(Square(dx), Square(dy));
  if (!(*bestDistance > distance)) return false;  // the earliest of equals stays
  const std::int64_t l = static_cast<std::int64_t>(rect->left) + dx, r = static_cast<std::int64_t>(rect->right) + dx;
  const std::int64_t t = static_cast<std::int64_t>(rect->top) + dy, b = static_cast<std::int64_t>(rect->bottom) + dy;
  if (l < bounds->left || r > bounds->right || t < bounds->top || b > bounds->bottom) return false;
  const tagRECT candidate = {static_cast<LONG>(l), static_cast<LONG>(t), static_cast<LONG>(r), static_cast<LONG>(b)};
  if (used && IsRectIntersects(&candidate, used)) return false;
  *bestDistance = distance;
  *bestRect = candidate;
  return true;
}

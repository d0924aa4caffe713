// The search for the closest free place of a rectangle, in the form the axes
// use and in the form open to hosts.
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/plotting/drawer/AxesDrawerBase.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr float kNoDistance = 3.4028235e38f;  // the greatest finite float

// Half of a length, an odd one rounded up.
int Half(int n) { return static_cast<int>(static_cast<float>(n) * 0.5f + 0.5f); }

// The squares are 32-bit products (wrapping), added in single precision.
float Distance(int dx, int dy) {
  const auto square = [](int v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v) * static_cast<std::uint32_t>(v));
  };
  const float sum = static_cast<float>(square(dx)) + static_cast<float>(square(dy));
  return static_cast<float>(std::sqrt(static_cast<double>(sum)));
}

// Every candidate of the search, in order: for each used rectangle the four
// edge-to-edge moves, then its vertical moves combined with the horizontal
// moves of every used rectangle.
template <typename Rect, typename Try>
void ForEachCandidate(const Rect& r, const std::vector<Rect>& used, Try tryOffset) {
  for (const Rect& u : used) {
    const int dyAbove = u.top - r.bottom, dyBelow = u.bottom - r.top;
    tryOffset(0, dyAbove);
    tryOffset(0, dyBelow);
    tryOffset(u.right - r.left, 0);
    tryOffset(u.left - r.right, 0);
    for (const Rect& v : used) {
      const int dxRight = v.right - r.left, dxLeft = v.left - r.right;
      tryOffset(dxRight, dyAbove);
      tryOffset(dxLeft, dyAbove);
      tryOffset(dxRight, dyBelow);
      tryOffset(dxLeft, dyBelow);
    }
  }
}

}  // namespace

void CAxesDrawerBase::OffsetRect(tagRECT* rect, int dx, int dy) {
  rect->left += dx;
  rect->right += dx;
  rect->top += dy;
  rect->bottom += dy;
}

void CAxesDrawerBase::OffsetRectCenter(tagRECT* rect, int x, int y) {
  OffsetRect(rect, x - Half(rect->right - rect->left), y - Half(rect->bottom - rect->top));
}

void CAxesDrawerBase::OffsetRectToBounds(tagRECT* rect, int dx, int dy, tagRECT const* bounds) {
  dx = std::max(bounds->left - rect->left, std::min(dx, bounds->right - rect->right));
  dy = std::max(bounds->top - rect->top, std::min(dy, bounds->bottom - rect->bottom));
  OffsetRect(rect, dx, dy);
}

void CAxesDrawerBase::OffsetRectToBoundsCenter(tagRECT* rect, int x, int y, tagRECT const* bounds) {
  OffsetRectToBounds(rect, x - Half(rect->right - rect->left), y - Half(rect->bottom - rect->top), bounds);
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
  OffsetRect(rect, std::max(bounds->left - rect->left, std::min(0, bounds->right - rect->right)),
             std::max(bounds->top - rect->top, std::min(0, bounds->bottom - rect->bottom)));
  tagRECT best = *rect;
  float bestDistance = kNoDistance;
  if (used->empty() || !IsRectIntersects(rect, used)) return true;
  tagRECT start = *rect;
  ForEachCandidate(start, *used,
                   [&](int dx, int dy) { AddToRectStat(&start, dx, dy, &bestDistance, &best, bounds, used); });
  *rect = best;
  return bestDistance != kNoDistance;
}

bool CAxesDrawerBase::AddToRectStat(tagRECT* rect, int dx, int dy, float* bestDistance, tagRECT* bestRect,
                                    tagRECT const* bounds, std::vector<tagRECT>* used) {
  const float distance = Distance(dx, dy);
  if (!(*bestDistance > distance)) return false;  // the earliest of equals stays
  tagRECT candidate = *rect;
  OffsetRect(&candidate, dx, dy);
  if (candidate.left < bounds->left || candidate.right > bounds->right || candidate.top < bounds->top ||
      candidate.bottom > bounds->bottom)
    return false;
  if (IsRectIntersects(&candidate, used)) return false;
  *bestDistance = distance;
  *bestRect = candidate;
  return true;
}

// The host's form starts where the rectangle is, tests with the platform's
// rectangle operations (an empty rectangle meets nothing) and takes a null
// list as an empty one.
bool COrvekGlobals::CalculateClosestNonIntersectRect(CRect* rect, CRect& bounds, std::vector<CRect>* used) {
  if (!rect) return false;
  if (!used || used->empty() || !IsRectIntersects(*rect, used)) return true;
  CRect start = *rect, best = *rect;
  float bestDistance = kNoDistance;
  ForEachCandidate(start, *used, [&](int dx, int dy) {
    CSize offset(dx, dy);
    AddToRectStat(&start, offset, &bestDistance, &best, bounds, used);
  });
  *rect = best;
  return bestDistance != kNoDistance;
}

bool COrvekGlobals::IsRectIntersects(CRect& rect, std::vector<CRect>* used) {
  CRect overlap;
  for (const CRect& u : *used)
    if (::IntersectRect(&overlap, &rect, &u)) return true;
  return false;
}

bool COrvekGlobals::AddToRectStat(CRect* rect, CSize& offset, float* bestDistance, CRect* bestRect, CRect& bounds,
                                  std::vector<CRect>* used) {
  const float distance = Distance(offset.cx, offset.cy);
  if (!(*bestDistance > distance)) return false;
  CRect candidate = *rect;
  candidate.OffsetRect(offset);
  CRect inside;
  if (!::IntersectRect(&inside, &candidate, &bounds) || !::EqualRect(&inside, &candidate)) return false;
  if (IsRectIntersects(candidate, used)) return false;
  *bestDistance = distance;
  *bestRect = candidate;
  return true;
}

// The frame's form of the search for the closest free place of a rectangle,
// open to hosts; the search itself is the axes' own.
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/plotting/drawer/RectSearch_p.h>

#include <algorithm>
#include <cstdint>

using namespace orvek_rects;

// The host's form starts where the rectangle is, tests with the platform's
// rectangle operations (an empty rectangle meets nothing, an empty candidate
// is never inside the bounds) and takes a null list as an empty one.
bool COrvekGlobals::CalculateClosestNonIntersectRect(CRect* rect, CRect& bounds, std::vector<CRect>* used) {
  if (!rect) return false;
  if (!used || used->empty() || !IsRectIntersects(*rect, used)) return true;
  if (::IsRectEmpty(&bounds)) return false;  // no candidate can lie inside
  Box best = ToBox(*rect);
  if (!Search(ToBox(*rect), Boxes(*used, false), Boxes(*used, true), ToBox(bounds), &best)) return false;
  Store(best, rect);
  return true;
}

bool COrvekGlobals::IsRectIntersects(CRect& rect, std::vector<CRect>* used) {
  if (!used) return false;
  CRect overlap;
  for (const CRect& u : *used)
    if (::IntersectRect(&overlap, &rect, &u)) return true;
  return false;
}

bool COrvekGlobals::AddToRectStat(CRect* rect, CSize& offset, float* bestDistance, CRect* bestRect, CRect& bounds,
                                  std::vector<CRect>* used) {
  if (!rect || !bestDistance || !bestRect || !used) return false;
  const float distance = Distance(Square(offset.cx), Square(offset.cy));
  if (!(*bestDistance > distance)) return false;
  const std::int64_t l = static_cast<std::int64_t>(rect->left) + offset.cx;
  const std::int64_t r = static_cast<std::int64_t>(rect->right) + offset.cx;
  const std::int64_t t = static_cast<std::int64_t>(rect->top) + offset.cy;
  const std::int64_t b = static_cast<std::int64_t>(rect->bottom) + offset.cy;
  // A candidate beyond 32 bits lies outside any bounds.
  if (std::min({l, t, r, b}) < INT32_MIN || std::max({l, t, r, b}) > INT32_MAX) return false;
  CRect candidate(static_cast<int>(l), static_cast<int>(t), static_cast<int>(r), static_cast<int>(b));
  CRect inside;
  if (!::IntersectRect(&inside, &candidate, &bounds) || !::EqualRect(&inside, &candidate)) return false;
  if (IsRectIntersects(candidate, used)) return false;
  *bestDistance = distance;
  *bestRect = candidate;
  return true;
}

#pragma once

// The search for the closest free place of a rectangle, shared by the axes'
// form and by the frame's form open to hosts.

#include <cmath>
#include <cstdint>
#include <vector>

namespace orvek_rects {

constexpr float kNoDistance = 3.4028235e38f;  // the greatest finite float

// Rectangle arithmetic wraps round 32 bits instead of overflowing: the same
// result as the 32-bit original wherever it did not overflow.
inline int Wrap(std::int64_t v) { return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(v))); }

// The square of an offset as a 32-bit product (wrapping), in single precision.
inline float Square(std::int64_t v) {
  const std::uint32_t u = static_cast<std::uint32_t>(static_cast<std::uint64_t>(v));
  return static_cast<float>(static_cast<std::int32_t>(u * u));
}

// The squares are added in single precision, the root taken in double.
inline float Distance(float squareX, float squareY) {
  return static_cast<float>(std::sqrt(static_cast<double>(squareX + squareY)));
}

struct Box {
  std::int64_t left, top, right, bottom;
};

template <typename Rect>
Box ToBox(const Rect& r) {
  return {r.left, r.top, r.right, r.bottom};
}

template <typename Rect>
std::vector<Box> Boxes(const std::vector<Rect>& rects, bool skipEmpty) {
  std::vector<Box> out;
  out.reserve(rects.size());
  for (const Rect& u : rects)
    if (!skipEmpty || (u.right > u.left && u.bottom > u.top)) out.push_back(ToBox(u));
  return out;
}

template <typename Rect>
void Store(const Box& b, Rect* rect) {
  rect->left = Wrap(b.left);
  rect->top = Wrap(b.top);
  rect->right = Wrap(b.right);
  rect->bottom = Wrap(b.bottom);
}

// The closest free place of r among the moves that put it edge to edge with
// one of the offsets' rectangles, clear of the obstacles and inside the
// bounds; false when there is none.
bool Search(const Box& r, const std::vector<Box>& offsets, const std::vector<Box>& obstacles, const Box& bounds,
            Box* best);

}  // namespace orvek_rects

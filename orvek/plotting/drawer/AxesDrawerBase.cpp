#include <orvek/plotting/drawer/AxesDrawerBase.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <orvek/platform/core/Rect.h>

namespace {

constexpr std::int64_t kFar = std::int64_t{1} << 29;

int Wrap(std::int64_t v) { return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(v))); }

// double to float, beyond the float range the infinity a cast gives in
// practice (the cast itself is undefined there).
float ToFloat(double v) {
  // The greatest float plus half its last unit: from there on a cast rounds
  // to infinity.
  const double limit = static_cast<double>(std::numeric_limits<float>::max()) + std::ldexp(1.0, 103);
  if (v >= limit) return std::numeric_limits<float>::infinity();
  if (v <= -limit) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(v);
}

// Truncation toward zero that saturates instead of overflowing; NaN gives 0.
int TruncToInt(float v) {
  if (!(v == v)) return 0;
  if (v >= 2147483520.0f) return 0x7FFFFF80;
  if (v <= -2147483648.0f) return static_cast<int>(0x80000000u);
  return static_cast<int>(v);
}

// trunc(floor(log10(v))) for a step; a step that is not a finite positive
// number draws no lines, so its captions never matter: 0.
int FloorLog10(double v) {
  if (!(v > 0) || !std::isfinite(v)) return 0;
  return static_cast<int>(std::floor(std::log10(v)));
}

// The values of the grid lines of one axis. The loop stops at the first value
// that adding the step no longer changes.
std::vector<float> GridValues(float first, float step, float max, bool skipZero) {
  std::vector<float> values;
  if (!(step > 0) || !std::isfinite(step)) return values;
  for (float v = first; v <= max;) {
    if (!(skipZero && v == 0)) values.push_back(v);
    const float next = v + step;
    if (next == v) break;
    v = next;
  }
  return values;
}

}  // namespace

// Sums in 64 bits, wrapped to 32 as the 32-bit original's would be.
int CAxesDrawerBase::GetX(tagRECT rect, float min, float max, float value) {
  const float t = (value - min) / (max - min);
  const std::int64_t width = static_cast<std::int64_t>(rect.right) - rect.left - 1;
  return Wrap(rect.left + static_cast<std::int64_t>(TruncToInt(t * static_cast<float>(width) + 0.5f)));
}

int CAxesDrawerBase::GetY(tagRECT rect, float min, float max, float value) {
  const float t = (value - min) / (max - min);
  const std::int64_t height = static_cast<std::int64_t>(rect.bottom) - rect.top - 1;
  return Wrap(rect.bottom - static_cast<std::int64_t>(TruncToInt(t * static_cast<float>(height) + 0.5f)) - 1);
}

void CAxesDrawerBase::DrawGrid(int, int, int, int) {}
void CAxesDrawerBase::MeasureAxisString(wchar_t const*, tagRECT*, eAxis) {}
void CAxesDrawerBase::MeasureLegendString(wchar_t const*, tagRECT*) {}
void CAxesDrawerBase::DrawAxisString(wchar_t const*, tagRECT*, eAxis) {}
void CAxesDrawerBase::DrawLegendString(wchar_t const*, tagRECT*) {}

void CAxesDrawerBase::FormatGridCaption(CStringW* caption, float value, float step, eAxis, int nCaptionForm) {
  if (nCaptionForm == 0)
    FormatGridCaptionExp(caption, value, step);
  else
    FormatGridCaptionNatural(caption, value, step);
}

void CAxesDrawerBase::GetGridStepX(float min, float max, float minStep, float* first, float* step) {
  GetGridStep(min, max, minStep, first, step);
}

void CAxesDrawerBase::GetGridStepY(float min, float max, float minStep, float* first, float* step) {
  GetGridStep(min, max, minStep, first, step);
}

// The smallest of 1, 2, 5 times a power of ten that is not below minStep, and
// the greatest multiple of it that is not above min.
void CAxesDrawerBase::GetGridStep(float min, float, float minStep, float* first, float* step) {
  if (!(minStep > 0) || !std::isfinite(minStep)) {  // an empty or reversed range
    *step = 0;
    *first = min;
    return;
  }
  static const double kTable[3] = {1.0, 2.0, 5.0};
  const double wanted = minStep;
  int e = FloorLog10(wanted), i = 0;
  double power = std::pow(10.0, e);
  while (wanted > power * kTable[i]) {
    if (++i == 3) {
      i = 0;
      power = std::pow(10.0, ++e);
    }
  }
  *step = ToFloat(power * kTable[i]);
  const float q = min / *step;
  *first = ToFloat(std::floor(static_cast<double>(q)) * static_cast<double>(*step));
}

void CAxesDrawerBase::FormatGridCaptionExp(CStringW* caption, float value, float step) {
  if (value == 0) {
    *caption = L" 0 ";
    return;
  }
  const int e = FloorLog10(step) + 1;
  if (e == 0) {
    caption->Format(L" %.1f ", static_cast<double>(value));
    return;
  }
  caption->Format(L" %.1f ", static_cast<double>(value) / std::pow(10.0, e));
  RemoveNullsAtTheEnd(caption);
  caption->AppendFormat(L" E%d ", e);
}

void CAxesDrawerBase::FormatGridCaptionNatural(CStringW* caption, float value, float step) {
  const int e = FloorLog10(step);
  if (value == 0) {
    *caption = L" 0 ";
  } else if (e >= 0) {
    const double whole = std::trunc(static_cast<double>(value));
    if (whole >= -2147483648.0 && whole <= 2147483647.0)
      caption->Format(L" %d ", static_cast<int>(whole));
    else  // beyond 32 bits: still the whole number, without a fraction
      caption->Format(L" %.0f ", whole);
  } else {
    CStringW format;
    format.Format(L" %%.%df ", -e);
    caption->Format(format.GetString(), static_cast<double>(value));
    RemoveNullsAtTheEnd(caption);
  }
}

// Trims trailing zeros, then a trailing point, from the number in front of
// the closing blank.
void CAxesDrawerBase::RemoveNullsAtTheEnd(CStringW* caption) {
  std::wstring text = caption->str();
  const bool blank = !text.empty() && text.back() == L' ';
  if (blank) text.pop_back();
  while (!text.empty() && text.back() == L'0' && text.size() + (blank ? 1 : 0) >= 2) text.pop_back();
  if (!text.empty() && text.back() == L'.') text.pop_back();
  if (blank) text.push_back(L' ');
  *caption = CStringW(text);
}

void CAxesDrawerBase::DrawAxes(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv,
                               wchar_t const* xName, float yMin, float yMax, int yDiv, wchar_t const* yName) {
  DrawAxesIn(rect, name, xMin, xMax, xDiv, xName, yMin, yMax, yDiv, yName, 1, 0);
}

void CAxesDrawerBase::DrawAxes2(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv,
                                wchar_t const* xName, float yMin, float yMax, int yDiv, wchar_t const* yName) {
  DrawAxesIn(rect, name, xMin, xMax, xDiv, xName, yMin, yMax, yDiv, yName, 0, 0);
}

void CAxesDrawerBase::DrawAxesIn(tagRECT rectIn, wchar_t const* name, float xMin, float xMax, int xDiv,
                                 wchar_t const* xName, float yMin, float yMax, int yDiv, wchar_t const* yName,
                                 int bKeepMovedCaptions, int bYCaptionsRight) {
  // Coordinates stay within 2^29, so that no sum or difference of two overflows;
  // beyond that no surface has pixels anyway.
  const auto near = [](std::int64_t v) { return static_cast<LONG>(std::clamp<std::int64_t>(v, -kFar, kFar)); };
  const tagRECT rect = {near(rectIn.left), near(rectIn.top), near(rectIn.right), near(rectIn.bottom)};
  tagRECT bounds = rect;
  std::vector<tagRECT> used;
  CStringW caption;
  tagRECT textRect = {0, 0, 0, 0};
  // At least one cell, and no cell narrower than kMinCellPixels: a finer
  // grid is a grey blur whose captions only pile up.
  const auto cap = [](int div, std::int64_t pixels) {
    const std::int64_t most = std::max<std::int64_t>(pixels / kMinCellPixels, 1);
    return static_cast<int>(std::clamp<std::int64_t>(div, 1, most));
  };
  xDiv = cap(xDiv, static_cast<std::int64_t>(rect.right) - rect.left);
  yDiv = cap(yDiv, static_cast<std::int64_t>(rect.bottom) - rect.top);

  const float xRange = xMax - xMin, yRange = yMax - yMin;
  float xFirst = 0, xStep = 0, yFirst = 0, yStep = 0;
  GetGridStepX(xMin, xMax, xRange / static_cast<float>(xDiv), &xFirst, &xStep);
  GetGridStepY(yMin, yMax, yRange / static_cast<float>(yDiv), &yFirst, &yStep);
  if (yFirst < yMin) yFirst += yStep;
  if (xFirst < xMin) xFirst += xStep;

  // Sums the widths of both caption forms of an axis: the narrower form wins,
  // a tie goes to the natural one.
  auto chooseForm = [&](const std::vector<float>& values, float step, eAxis axis, bool vertical) {
    int sumExp = 0, sumNatural = 0;
    for (float v : values) {
      const int px = axis == eAxisX ? GetX(rect, xMin, xMax, v) : GetY(rect, yMin, yMax, v);
      if (vertical) {
        if (px != rect.left && px != rect.right - 1) DrawGrid(px, rect.top, px, rect.bottom);
      } else {
        if (px != rect.top && px != rect.bottom - 1) DrawGrid(rect.left, px, rect.right, px);
      }
      FormatGridCaption(&caption, v, step, axis, 0);
      MeasureAxisString(caption, &textRect, axis);
      sumExp += textRect.right - textRect.left;
      FormatGridCaption(&caption, v, step, axis, 1);
      MeasureAxisString(caption, &textRect, axis);
      sumNatural += textRect.right - textRect.left;
    }
    return sumExp >= sumNatural ? 1 : 0;
  };
  // Places a caption, keeps it unless it moved and moved ones are dropped.
  auto place = [&](eAxis axis) {
    const tagRECT before = textRect;
    CalculateClosestNonIntersectRect(&textRect, &bounds, &used);
    if (bKeepMovedCaptions != 0 || EqualRect(&textRect, &before)) {
      used.push_back(textRect);
      DrawAxisString(caption, &textRect, axis);
    }
  };

  const std::vector<float> xs = GridValues(xFirst, xStep, xMax, false);
  const int xForm = chooseForm(xs, xStep, eAxisX, true);
  int minTop = 0x7FFFFFFF;
  for (float x : xs) {
    FormatGridCaption(&caption, x, xStep, eAxisX, xForm);
    MeasureAxisString(caption, &textRect, eAxisX);
    OffsetRectCenter(&textRect, GetX(rect, xMin, xMax, x), rect.bottom - textRect.bottom / 2 - 1);
    place(eAxisX);
    minTop = std::min(minTop, static_cast<int>(textRect.top));
  }

  // The corner of a plot that starts at zero on both axes carries only the
  // x caption.
  const std::vector<float> ys = GridValues(yFirst, yStep, yMax, xMin == 0 && yMin == 0);
  const int yForm = chooseForm(ys, yStep, eAxisY, false);
  int maxRight = 0;
  for (float y : ys) {
    FormatGridCaption(&caption, y, yStep, eAxisY, yForm);
    MeasureAxisString(caption, &textRect, eAxisY);
    const int py = GetY(rect, yMin, yMax, y);
    if (bYCaptionsRight == 0)
      OffsetRect(&textRect, rect.left, py - textRect.bottom / 2);
    else
      OffsetRect(&textRect, rect.right - textRect.right, py - textRect.bottom / 2);
    place(eAxisY);
    maxRight = std::max(maxRight, static_cast<int>(textRect.right));
  }

  // The legend texts avoid the captions but not each other.
  const wchar_t* const title = name ? name : L"";
  MeasureLegendString(title, &textRect);
  OffsetRectToBoundsCenter(&textRect, (rect.left + rect.right) / 2, rect.top, &bounds);
  CalculateClosestNonIntersectRect(&textRect, &bounds, &used);
  DrawLegendString(title, &textRect);

  const wchar_t* const xText = xName ? xName : L"";
  MeasureLegendString(xText, &textRect);
  OffsetRectToBounds(&textRect, rect.right, minTop - (textRect.bottom - textRect.top), &bounds);
  CalculateClosestNonIntersectRect(&textRect, &bounds, &used);
  DrawLegendString(xText, &textRect);

  const wchar_t* const yText = yName ? yName : L"";
  MeasureLegendString(yText, &textRect);
  OffsetRectToBounds(&textRect, maxRight, rect.top, &bounds);
  CalculateClosestNonIntersectRect(&textRect, &bounds, &used);
  DrawLegendString(yText, &textRect);
}

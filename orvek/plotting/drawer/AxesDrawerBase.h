#pragma once

#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>

// The frame of a plot: grid lines, the numbers at them, the title and the two
// axis names. It has no surface of its own: a derived class measures and
// draws through the virtual operations, and this class decides the grid
// step, which lines exist, the number form of the captions, where each text
// goes and in which order the operations are called.
class ORVEK_API CAxesDrawerBase {
 public:
  enum eAxis { eAxisX = 0, eAxisY = 1 };
  // DrawAxesIn takes xDiv and yDiv as at least 1 and at most the plot's width
  // (height) in pixels divided by this, so that a grid cell is never narrower
  // than 10 pixels. The bound keeps a rebuild of a 1000 x 600 graph's axes
  // within 10 ms whatever count the host asks for; below it the picture is
  // the one of the unbounded search.
  static constexpr int kMinCellPixels = 10;

  CAxesDrawerBase() = default;
  CAxesDrawerBase(const CAxesDrawerBase&) = default;
  CAxesDrawerBase& operator=(const CAxesDrawerBase&) = default;
  ~CAxesDrawerBase() = default;

  // The pixel column and row of a value: min on the first pixel inside the
  // rectangle, max on the last one.
  static int GetX(tagRECT rect, float min, float max, float value);
  static int GetY(tagRECT rect, float min, float max, float value);

 protected:
  virtual void DrawGrid(int x1, int y1, int x2, int y2);
  // Both measures set the rectangle to (0, 0, width, height).
  virtual void MeasureAxisString(wchar_t const* text, tagRECT* rect, eAxis axis);
  virtual void MeasureLegendString(wchar_t const* text, tagRECT* rect);
  virtual void DrawAxisString(wchar_t const* text, tagRECT* rect, eAxis axis);
  virtual void DrawLegendString(wchar_t const* text, tagRECT* rect);
  // nCaptionForm 0: mantissa and power of ten; otherwise the natural number.
  virtual void FormatGridCaption(CStringW* caption, float value, float step, eAxis axis, int nCaptionForm);
  virtual void GetGridStepX(float min, float max, float minStep, float* first, float* step);
  virtual void GetGridStepY(float min, float max, float minStep, float* first, float* step);

  void DrawAxes(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                float yMax, int yDiv, wchar_t const* yName);
  // As DrawAxes, but a caption that had to move is left out.
  void DrawAxes2(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                 float yMax, int yDiv, wchar_t const* yName);
  void DrawAxesIn(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                  float yMax, int yDiv, wchar_t const* yName, int bKeepMovedCaptions, int bYCaptionsRight);

  // Placement of texts, open to derived drawers.
  static void OffsetRect(tagRECT* rect, int dx, int dy);
  static void OffsetRectCenter(tagRECT* rect, int x, int y);
  static void OffsetRectToBounds(tagRECT* rect, int dx, int dy, tagRECT const* bounds);
  static void OffsetRectToBoundsCenter(tagRECT* rect, int x, int y, tagRECT const* bounds);
  static bool IsRectsIntersects(tagRECT const* a, tagRECT const* b);
  static bool IsRectIntersects(tagRECT const* rect, std::vector<tagRECT> const* used);
  // Moves the rectangle into the bounds, then to the closest place that
  // intersects none of the used ones; true if it found one.
  static bool CalculateClosestNonIntersectRect(tagRECT* rect, tagRECT const* bounds, std::vector<tagRECT>* used);
  static bool AddToRectStat(tagRECT* rect, int dx, int dy, float* bestDistance, tagRECT* bestRect,
                            tagRECT const* bounds, std::vector<tagRECT>* used);

 private:
  static void GetGridStep(float min, float max, float minStep, float* first, float* step);
  static void FormatGridCaptionExp(CStringW* caption, float value, float step);
  static void FormatGridCaptionNatural(CStringW* caption, float value, float step);
  static void RemoveNullsAtTheEnd(CStringW* caption);
};

#pragma once

/// \file
/// The frame of a plot.

#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>

/// The frame of a plot: grid lines, the numbers at them, the title and the two
/// axis names. It has no surface of its own: a derived class measures and
/// draws through the virtual operations, and this class decides the grid
/// step, which lines exist, the number form of the captions, where each text
/// goes and in which order the operations are called.
class ORVEK_API CAxesDrawerBase {
 public:
  /// The axis a text or caption belongs to.
  enum eAxis { eAxisX = 0, eAxisY = 1 };
  /// DrawAxesIn takes xDiv and yDiv as at least 1 and at most the plot's width
  /// (height) in pixels divided by this, so that a grid cell is never narrower
  /// than 10 pixels. The bound keeps a rebuild of a 1000 x 600 graph's axes
  /// within 10 ms whatever count the host asks for; below it the picture is
  /// the one of the unbounded search.
  static constexpr int kMinCellPixels = 10;

  CAxesDrawerBase() = default;
  /// The class has no state; copies are free.
  ///@{
  CAxesDrawerBase(const CAxesDrawerBase&) = default;
  CAxesDrawerBase& operator=(const CAxesDrawerBase&) = default;
  ///@}
  ~CAxesDrawerBase() = default;

  /// The pixel column and row of a value: min on the first pixel inside the
  /// rectangle, max on the last one.
  ///@{
  static int GetX(tagRECT rect, float min, float max, float value);
  static int GetY(tagRECT rect, float min, float max, float value);
  ///@}

 protected:
  /// Draws one grid line from (x1, y1) to (x2, y2); does nothing here.
  virtual void DrawGrid(int x1, int y1, int x2, int y2);
  /// Both measures set the rectangle to (0, 0, width, height).
  ///@{
  virtual void MeasureAxisString(wchar_t const* text, tagRECT* rect, eAxis axis);
  virtual void MeasureLegendString(wchar_t const* text, tagRECT* rect);
  ///@}
  /// Draw a caption of an axis, or the title or an axis name (legend strings),
  /// into rect; they do nothing here.
  ///@{
  virtual void DrawAxisString(wchar_t const* text, tagRECT* rect, eAxis axis);
  virtual void DrawLegendString(wchar_t const* text, tagRECT* rect);
  ///@}
  /// nCaptionForm 0: mantissa and power of ten; otherwise the natural number.
  virtual void FormatGridCaption(CStringW* caption, float value, float step, eAxis axis, int nCaptionForm);
  /// The grid step of an axis, at least minStep in steps of 1, 2 and 5 times a
  /// power of ten, and the first line at or below min; for an empty or reversed
  /// range the step is 0 and the first line min.
  ///@{
  virtual void GetGridStepX(float min, float max, float minStep, float* first, float* step);
  virtual void GetGridStepY(float min, float max, float minStep, float* first, float* step);
  ///@}

  /// Draws grid, captions, title (name) and axis names into rect for the ranges
  /// xMin to xMax and yMin to yMax with about xDiv and yDiv grid cells; a
  /// caption that had to move to stay clear of others is kept, the y captions
  /// stand on the left.
  void DrawAxes(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                float yMax, int yDiv, wchar_t const* yName);
  /// As DrawAxes, but a caption that had to move is left out.
  void DrawAxes2(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                 float yMax, int yDiv, wchar_t const* yName);
  /// The general form of DrawAxes and DrawAxes2: bKeepMovedCaptions keeps a
  /// caption that had to move, bYCaptionsRight puts the y captions on the
  /// right.
  void DrawAxesIn(tagRECT rect, wchar_t const* name, float xMin, float xMax, int xDiv, wchar_t const* xName, float yMin,
                  float yMax, int yDiv, wchar_t const* yName, int bKeepMovedCaptions, int bYCaptionsRight);

  /// Placement of texts, open to derived drawers.
  ///@{
  static void OffsetRect(tagRECT* rect, int dx, int dy);
  ///@}
  /// Moves the rectangle so that its middle is at (x, y).
  static void OffsetRectCenter(tagRECT* rect, int x, int y);
  /// Moves the rectangle by dx and dy, but not beyond the bounds.
  static void OffsetRectToBounds(tagRECT* rect, int dx, int dy, tagRECT const* bounds);
  /// Moves the rectangle toward a middle at (x, y), but not beyond the bounds.
  static void OffsetRectToBoundsCenter(tagRECT* rect, int x, int y, tagRECT const* bounds);
  /// Whether two rectangles overlap.
  static bool IsRectsIntersects(tagRECT const* a, tagRECT const* b);
  /// Whether the rectangle overlaps any of the used ones.
  static bool IsRectIntersects(tagRECT const* rect, std::vector<tagRECT> const* used);
  /// Moves the rectangle into the bounds, then to the closest place that
  /// intersects none of the used ones; true if it found one.
  static bool CalculateClosestNonIntersectRect(tagRECT* rect, tagRECT const* bounds, std::vector<tagRECT>* used);
  /// One candidate of the search: the rectangle moved by dx and dy becomes
  /// *bestRect if it is closer than *bestDistance, lies in the bounds and
  /// overlaps none of the used ones; true then.
  static bool AddToRectStat(tagRECT* rect, int dx, int dy, float* bestDistance, tagRECT* bestRect,
                            tagRECT const* bounds, std::vector<tagRECT>* used);

 private:
  static void GetGridStep(float min, float max, float minStep, float* first, float* step);
  static void FormatGridCaptionExp(CStringW* caption, float value, float step);
  static void FormatGridCaptionNatural(CStringW* caption, float value, float step);
  static void RemoveNullsAtTheEnd(CStringW* caption);
};

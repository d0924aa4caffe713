#pragma once

/// \file
/// The engine of a graph: the samples of its curves, the views that map them
/// to the plot, and the drawing of axes and curves into the graph's bitmaps.

#include <utility>
#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/gfx/Gdiplus.h>
#include <orvek/plotting/drawer/AxesDrawerBase.h>
#include <orvek/plotting/drawer/PlotElementTypes.h>
#include <orvek/plotting/drawer/PlotView.h>

/// The pens of the curves, shared by every drawer of the process: curve c
/// uses row c mod 3.
struct ORVEK_API tagCurvePens {
  /// Makes the three rows of pens.
  tagCurvePens();
  Gdiplus::Pen normal[3];     ///< the curve
  Gdiplus::Pen highlight[3];  ///< its highlighted stretch, drawn over it
};

/// What a graph keeps apart from its samples: the two bitmaps, the dirty
/// marks, the locks, the captions, the highlighted stretches and the drawing
/// of grid and text for the axes. The window that owns the drawer reads and
/// writes these fields directly, under m_csData.
class ORVEK_API CGraphDrawerBase : public CAxesDrawerBase {
 public:
  CGraphDrawerBase();
  virtual ~CGraphDrawerBase();
  CGraphDrawerBase(const CGraphDrawerBase&) = delete;
  CGraphDrawerBase& operator=(const CGraphDrawerBase&) = delete;

  /// Draws the background into the target and a red diagonal over the plot.
  /// With m_csData held, as by a paint.
  virtual void DrawCurves(Gdiplus::Bitmap* pTarget, Gdiplus::Bitmap* pBackground, int iFrom, int iTo)
      ORVEK_REQUIRES(m_csData);
  /// Rebuilds m_pAxesBitmap for the current ranges; does nothing here. With
  /// m_csData held.
  virtual void RedrawBackground(void) ORVEK_REQUIRES(m_csData);

  /// Sets the highlighted stretch of a curve (to exclusive); the list grows to
  /// nCurves pairs of (0, 0) first. Takes m_csData, so any thread may call it
  /// while a paint runs. Shows with the next stroke of that stretch.
  void SetHighlight(int iCurve, int iFrom, int iTo, int nCurves);

  /// The compose step of a paint, under m_csData: rebuilds the axes bitmap if
  /// a range moved, then draws the dirty stretch into the frame bitmap (a
  /// wrapped sweep as its end, then its start), and clears both marks.
  void DrawPending(void);

  BOOL m_bDataPending ORVEK_GUARDED_BY(m_csData);  ///< a dirty sample range waits for the next paint
  BOOL m_bAxesPending ORVEK_GUARDED_BY(m_csData);  ///< the ranges moved: rebuild m_pAxesBitmap first
  int m_iDirtyFrom ORVEK_GUARDED_BY(m_csData);     ///< first sample of the dirty range
  /// End of the dirty range; below m_iDirtyFrom when a sweep wrapped round.
  int m_iDirtyTo ORVEK_GUARDED_BY(m_csData);
  CCriticalSection m_csRange;  ///< ranges and the drawing of curves
  CCriticalSection m_csData;   ///< samples and the compose step of a paint
  /// Owned by the window: ground, frame, grid, captions.
  Gdiplus::Bitmap* m_pAxesBitmap ORVEK_GUARDED_BY(m_csData);
  Gdiplus::Bitmap* m_pFrameBitmap ORVEK_GUARDED_BY(m_csData);  ///< owned by the window: axes and curves
  Gdiplus::Rect m_rcPlot ORVEK_GUARDED_BY(m_csData);           ///< X and Y 0, the window's client size
  ULONG m_gdiToken;  ///< a graphics session this graph opened, else 0; the window's thread only
  /// Per curve, to exclusive; (0, 0) is none.
  std::vector<std::pair<int, int>> m_highlights ORVEK_GUARDED_BY(m_csData);
  /// The title and the names of the X and Y axis, drawn into m_pAxesBitmap.
  ///@{
  CStringW m_sTitle ORVEK_GUARDED_BY(m_csData);
  CStringW m_sXName ORVEK_GUARDED_BY(m_csData);
  CStringW m_sYName ORVEK_GUARDED_BY(m_csData);
  ///@}
  /// The surface, grid pen, font and text brush of the grid and text
  /// operations. Valid only during DrawBackground's call of DrawAxesIn.
  ///@{
  Gdiplus::Graphics* m_pGraphics ORVEK_GUARDED_BY(m_csData);
  Gdiplus::Pen* m_pGridPen ORVEK_GUARDED_BY(m_csData);
  Gdiplus::Font* m_pFont ORVEK_GUARDED_BY(m_csData);
  Gdiplus::Brush* m_pTextBrush ORVEK_GUARDED_BY(m_csData);
  ///@}

 protected:
  // Called by DrawAxesIn from DrawBackground, which holds m_csData.
  void DrawGrid(int x1, int y1, int x2, int y2) override ORVEK_REQUIRES(m_csData);
  void MeasureAxisString(const wchar_t* pText, tagRECT* pRect, eAxis axis) override ORVEK_REQUIRES(m_csData);
  void MeasureLegendString(const wchar_t* pText, tagRECT* pRect) override ORVEK_REQUIRES(m_csData);
  void DrawAxisString(const wchar_t* pText, tagRECT* pRect, eAxis axis) override ORVEK_REQUIRES(m_csData);
  void DrawLegendString(const wchar_t* pText, tagRECT* pRect) override ORVEK_REQUIRES(m_csData);

 private:
  void MeasureString(const wchar_t* pText, tagRECT* pRect) ORVEK_REQUIRES(m_csData);
  void DrawString(const wchar_t* pText, const tagRECT* pRect) ORVEK_REQUIRES(m_csData);
};

/// How a host asked one curve to look; a curve without a style takes the
/// shared pens of its row.
struct tagCurveStyle {
  CStringW sName;        ///< shown in the legend; empty: no legend entry
  DWORD argb = 0;        ///< colour with alpha; 0: the default colour
  float fWidth = 0.0f;   ///< pen width in pixels; 0: the default width
  bool bHidden = false;  ///< left out of the picture by the user
};

/// The engine of one graph: the samples of its curves, the sample window and
/// value range that map them to the plot, and the strokes.
///
/// Locks: m_csData before m_csRange. The intake, SetROI, SetROIAutoY and
/// SetHighlight take m_csData themselves; a paint takes m_csData round its
/// RedrawBackground and DrawCurves calls. The samples are guarded by
/// m_csData; the ranges, the user's view, the pause and the styles are
/// written with both locks held and read with either. Drawers may be
/// created, stroked and destroyed on any threads: the count and the shared
/// pen table have a lock of their own.
class ORVEK_API CGraphDrawer : public CGraphDrawerBase {
 public:
  CGraphDrawer();
  ~CGraphDrawer() override;

  /// Restores the strip of the plot that shows samples iFrom to iTo (an iTo
  /// of 0x7FFFFFFF: to the right edge) from the background and strokes every
  /// sample of it as a vertex. With m_csData held; takes m_csRange.
  void DrawCurves(Gdiplus::Bitmap* pTarget, Gdiplus::Bitmap* pBackground, int iFrom, int iTo) override
      ORVEK_REQUIRES(m_csData);
  /// Rebuilds m_pAxesBitmap for the drawn view, with the title and the axis
  /// names. With m_csData held.
  void RedrawBackground(void) override ORVEK_REQUIRES(m_csData);

  /// Fixes the sample window and both ranges: the doubles say which data
  /// values fill the plot, the floats what the Y axis reads there.
  void SetROI(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, float fYAxisMin,
              float fYAxisMax, int nYDivs);
  /// Fixes the sample window and lets Y follow the data, starting with a range
  /// that holds the data and dYMin to dYMax (without them: the data and 0).
  ///@{
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, int nYDivs);
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs);
  ///@}
  /// Moves the ranges after an intake and records the dirty sample range.
  /// With m_csData held, as by the intake; takes m_csRange.
  void UpdateRanges(int iFrom, int iTo) ORVEK_REQUIRES(m_csData);
  /// Smallest and largest finite stored sample; a store without one leaves
  /// both. With m_csData held.
  void GetDataMinMax(double* pMin, double* pMax) ORVEK_REQUIRES(m_csData);
  /// Turns a data span into the Y range, smoothed or at once; a bound that is
  /// not finite leaves the range as it is. With m_csData and m_csRange held.
  void FitYRange(int bSmooth, double dMin, double dMax) ORVEK_REQUIRES(m_ranges);
  /// Clears pTarget to the ground of the colour scheme, frames the plot and draws
  /// grid, captions, title and axis names for the given ranges into the
  /// rectangle at (nX, nY) of nWidth by nHeight pixels; a null target is left
  /// alone. With m_csData held.
  void DrawBackground(Gdiplus::Bitmap* pTarget, const CStringW& sTitle, float fXMin, float fXMax, int nXDivs,
                      const CStringW& sXName, float fYMin, float fYMax, int nYDivs, const CStringW& sYName, int nX,
                      int nY, int nWidth, int nHeight) ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);

  /// The most samples the store of one drawer holds (2 GiB of doubles): an
  /// intake whose matrix (curves times rows) would exceed it is dropped.
  static constexpr long long kMaxSamples = 1LL << 28;

  /// Intake, from any thread. T is char (read as signed), short, int, float,
  /// double or unsigned char; nStride counts elements of T. Each call writes
  /// nCount samples of curve iCurve of nCurves; a call with nCurves below 1,
  /// iCurve outside them, a negative count or a null pData with samples to
  /// read is dropped. SetData writes the block from the first row on.
  template <typename T>
  void SetData(T* pData, int nCount, int nStride, int iCurve, int nCurves);
  /// Strip chart: a ring of nHistory rows per curve; of a longer block only
  /// the last nHistory samples are kept.
  template <typename T>
  void SetDataHistory(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves);
  /// Running exponential average; the first block after a reset is copied.
  template <typename T>
  void SetDataAvg(T* pData, int nCount, double dFactor, int nStride, int iCurve, int nCurves);
  /// Sweep: a write head runs over a ring of nHistory rows; only the written
  /// stretch becomes dirty.
  template <typename T>
  void SetDataHistoryCircular(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves);

  std::vector<double> m_samples ORVEK_GUARDED_BY(m_csData);  ///< row r, curve c at r * m_nCurves + c
  double m_dYMin ORVEK_GUARDED_BY(m_ranges);                 ///< data value of the bottom row
  double m_dYMax ORVEK_GUARDED_BY(m_ranges);                 ///< data value of the top row
  /// The sample window, half-open: its first sample and one past its last.
  ///@{
  int m_iXFrom ORVEK_GUARDED_BY(m_ranges);
  int m_iXTo ORVEK_GUARDED_BY(m_ranges);
  ///@}
  BOOL m_bResetAdaptation ORVEK_GUARDED_BY(m_csData);  ///< the next intake snaps to the data
  int m_nCurves ORVEK_GUARDED_BY(m_csData);            ///< curves in a row of m_samples
  /// Vertices of one stroke, kept between draws.
  std::vector<Gdiplus::PointF> m_points ORVEK_GUARDED_BY(m_csRange);
  /// About how many grid cells the X and the Y axis have.
  ///@{
  int m_nXDivs ORVEK_GUARDED_BY(m_ranges);
  int m_nYDivs ORVEK_GUARDED_BY(m_ranges);
  ///@}
  BOOL m_bAutoY ORVEK_GUARDED_BY(m_ranges);  ///< the Y range follows the data
  /// The sample window follows the store; SetROI and SetROIAutoY end it.
  BOOL m_bAutoX ORVEK_GUARDED_BY(m_ranges);
  /// X axis labels at the left and right edge.
  ///@{
  float m_fXMin ORVEK_GUARDED_BY(m_ranges);
  float m_fXMax ORVEK_GUARDED_BY(m_ranges);
  ///@}
  /// Sample x of curve c is row (offset + x) mod S.
  std::vector<int> m_rowOffsets ORVEK_GUARDED_BY(m_csData);
  std::vector<int> m_writePos ORVEK_GUARDED_BY(m_csData);  ///< sweep write heads
  /// Strokes every sample as a vertex. By default a pen wider than a pixel
  /// strokes a pixel column of many samples as its outline (the samples where
  /// the curve first and last reaches each height), so its cost follows the
  /// columns; the picture stays within 8 levels of every vertex in more than
  /// 99.5 % of the drawn pixels.
  BOOL m_bEverySample;

  /// \name What the user does with a graph (any thread)
  /// The user's view changes only what is drawn, never the samples, the
  /// host's ranges or its modes; ResetView brings the host's view back. While
  /// a user's view holds, intake goes on into it and automatic ranges do not
  /// move it.
  ///@{

  /// The view drawn now: the user's, else the host's.
  tagPlotView GetView(void);
  /// Draws from now on into the given view (one that orvek_view::Usable
  /// refuses is ignored) and redraws axes and curves at once.
  void SetView(const tagPlotView& view);
  /// Back to the host's view, redrawn at once.
  void ResetView(void);
  /// Whether a user's view is drawn rather than the host's.
  BOOL HasUserView(void);
  /// A paused drawer draws a copy of the samples and ranges taken when it
  /// paused: intake goes on into the store, and resuming redraws the newest.
  void SetPaused(BOOL bPaused);
  /// Whether the drawer is paused.
  BOOL IsPaused(void);
  /// Rebuilds the axes and every curve in the current bitmaps, for example
  /// after they were made anew at another size.
  void RedrawAll(void);
  /// Names, colours, widths, visibility of single curves, and the scheme;
  /// each redraws at once. A negative curve index or one of a million or more
  /// is ignored.
  void SetCurveStyle(int iCurve, const wchar_t* pszName, DWORD argb, float fWidth);
  /// Shows or hides one curve.
  void SetCurveVisible(int iCurve, BOOL bVisible);
  /// The dark or the light ground; any other value is taken as dark.
  void SetColorScheme(eColorScheme scheme);
  /// The colour scheme drawn now.
  eColorScheme GetColorScheme(void);
  /// The style of a curve as it is drawn: its colour and width resolved.
  tagCurveStyle GetCurveStyle(int iCurve);
  /// The X axis value at a fraction of the plot's width, and the value of
  /// each curve at the sample nearest to it (NaN where it has none); returns
  /// how many curves there are, writing at most nMax values.
  int ReadAt(double dFraction, double* pX, double* pValues, int nMax);
  /// A value as an axis caption shows it, at the resolution of dStep.
  CStringW FormatValue(double dValue, double dStep);
  /// The samples of the view as comma-separated text: a header line, then
  /// one line per sample with the X axis value and every curve.
  CStringA ViewAsCsv(void);
  /// The pixel step of the view: X and Y axis units per pixel.
  void GetViewSteps(double* pXStep, double* pYStep);
  ///@}

  static int ms_nInstances;       ///< drawers alive, under the pen lock
  static tagCurvePens* ms_pPens;  ///< under the pen lock; lives while a drawer does

 private:
  // Stands for the pair m_csData and m_csRange: the ranges, the user's view,
  // the pause and the styles are written with both held and read with
  // either. No lock of its own; a scope states what it holds right after
  // taking the locks, and the analysis checks that it holds them.
  struct ORVEK_CAPABILITY("lock pair") tagLockPair {};
  tagLockPair m_ranges;
  void RangesWritable() const ORVEK_REQUIRES(m_csData, m_csRange) ORVEK_ASSERT_CAPABILITY(m_ranges) {}
  void RangesReadableUnderData() const ORVEK_REQUIRES(m_csData) ORVEK_ASSERT_SHARED_CAPABILITY(m_ranges) {}
  void RangesReadableUnderRange() const ORVEK_REQUIRES(m_csRange) ORVEK_ASSERT_SHARED_CAPABILITY(m_ranges) {}

  // The shared pen table, made on first use.
  static const tagCurvePens* Pens();
  // GetDataMinMax that tells whether a finite sample was found.
  bool FiniteMinMax(double* pMin, double* pMax) const ORVEK_REQUIRES(m_csData);
  // The opening of every intake: row width, offsets and matrix size; false
  // if the matrix cannot grow to it.
  bool Open(int nCurves, int nRows, bool bWritePos) ORVEK_REQUIRES(m_csData);
  int SamplesPerCurve() const ORVEK_REQUIRES(m_csData);
  // Lays the vertices of samples from to end - 1 of curve c into m_points,
  // with bOutline a dense pixel column as its outline; returns how many.
  int MapStroke(int c, int from, int end, int S, bool bOutline) ORVEK_REQUIRES(m_csData, m_csRange)
      ORVEK_REQUIRES_SHARED(m_ranges);
  // The same for several curves at once, into m_strokes in the order given,
  // reading each pixel column's samples from memory once.
  void MapStrokes(const int* curves, int nCurves, int from, int end, int S, bool bOutline)
      ORVEK_REQUIRES(m_csData, m_csRange) ORVEK_REQUIRES_SHARED(m_ranges);

  // What drawing reads besides the bitmaps: the samples, the host's view and
  // the axis values at its edges. Live, or the copy a pause took.
  struct tagDrawState {
    std::vector<double> samples;
    std::vector<int> rowOffsets;
    int nCurves = 0;
    tagPlotView host = {0, 0, 0, 0};
    float xLabels[2] = {0, 0};
    float yLabels[2] = {0, 0};
    bool yIdentity = true;  // the Y axis reads data values (automatic Y)
  };
  // The axis state of what is drawn: the pause's copy, else the live one,
  // made in *pLive.
  const tagDrawState& AxisState(tagDrawState* pLive) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  // How many samples each curve of what is drawn holds, and sample i of curve
  // c, counted from the oldest (0 <= i < DrawnLength()).
  long long DrawnLength(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  double DrawnSample(int c, long long i) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  // The axis values of a sample position and of a data value under a state.
  static double XAxisValue(const tagDrawState& st, double x);
  static double YAxisValue(const tagDrawState& st, double v);
  // Makes the pens of styled curves and of the light scheme.
  void RebuildPens(void) ORVEK_REQUIRES(m_ranges);
  // Draws the axes and curves after the host changed its ranges.
  void DrawHostChange(void) ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  // The live state without its samples (they are read in place).
  tagDrawState LiveState(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  const tagDrawState& Frozen(void) const ORVEK_REQUIRES_SHARED(m_ranges) { return m_frozen; }
  // The view to draw and the samples to draw it from.
  tagPlotView DrawView(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges);
  const std::vector<double>& DrawSamples(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges) {
    return m_bPaused ? m_frozen.samples : m_samples;
  }
  const std::vector<int>& DrawOffsets(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges) {
    return m_bPaused ? m_frozen.rowOffsets : m_rowOffsets;
  }
  int DrawCurveCount(void) const ORVEK_REQUIRES(m_csData) ORVEK_REQUIRES_SHARED(m_ranges) {
    return m_bPaused ? m_frozen.nCurves : m_nCurves;
  }
  // The axis values at the edges of the drawn view.
  void ViewLabels(float* pX0, float* pX1, float* pY0, float* pY1) const ORVEK_REQUIRES(m_csData)
      ORVEK_REQUIRES_SHARED(m_ranges);
  const Gdiplus::Pen& CurvePen(int c, bool bHighlight) const ORVEK_REQUIRES_SHARED(m_ranges);

  float m_fYAxisMin ORVEK_GUARDED_BY(m_ranges);  // labels of the bottom and top row under SetROI
  float m_fYAxisMax ORVEK_GUARDED_BY(m_ranges);
  bool m_bUserView ORVEK_GUARDED_BY(m_ranges);
  tagPlotView m_view ORVEK_GUARDED_BY(m_ranges);
  bool m_bPaused ORVEK_GUARDED_BY(m_ranges);
  tagDrawState m_frozen ORVEK_GUARDED_BY(m_ranges);
  std::vector<tagCurveStyle> m_styles ORVEK_GUARDED_BY(m_ranges);
  std::vector<Gdiplus::Pen> m_stylePens ORVEK_GUARDED_BY(m_ranges);  // normal, highlight per styled curve
  eColorScheme m_scheme ORVEK_GUARDED_BY(m_ranges);
  // Scratch of the drawing of curves, which holds m_csRange: the vertices of
  // each curve MapStrokes laid out, the shown curves' strokes while they are
  // drawn, the curves that are not hidden, and one column's outline samples
  // from each end.
  std::vector<std::vector<Gdiplus::PointF>> m_strokes ORVEK_GUARDED_BY(m_csRange);
  std::vector<std::vector<Gdiplus::PointF>> m_shownStrokes ORVEK_GUARDED_BY(m_csRange);
  std::vector<int> m_shown ORVEK_GUARDED_BY(m_csRange);
  std::vector<int> m_forward ORVEK_GUARDED_BY(m_csRange);
  std::vector<int> m_backward ORVEK_GUARDED_BY(m_csRange);
};

/// The intake is built into the library for the six sample types, so a host
/// needs no template bodies.
///@{
#define ORVEK_GRAPHDRAWER_EXTERN(T)                                                                     \
  extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<T>(T*, int, int, int, int);             \
  extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<T>(T*, int, int, int, int, int); \
  extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<T>(T*, int, double, int, int, int);  \
  extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<T>(T*, int, int, int, int, int);
ORVEK_PLOT_ELEMENT_TYPES(ORVEK_GRAPHDRAWER_EXTERN)
#undef ORVEK_GRAPHDRAWER_EXTERN
///@}

#pragma once

#include <utility>
#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/gfx/Gdiplus.h>
#include <orvek/plotting/drawer/AxesDrawerBase.h>

// The pens of the curves, shared by every drawer of the process: curve c
// uses row c mod 3.
struct ORVEK_API tagCurvePens {
  tagCurvePens();
  Gdiplus::Pen normal[3];
  Gdiplus::Pen highlight[3];
};

// What a graph keeps apart from its samples: the two bitmaps, the dirty
// marks, the locks, the captions, the highlighted stretches and the drawing
// of grid and text for the axes. The window that owns the drawer reads and
// writes these fields directly, under m_csData.
class ORVEK_API CGraphDrawerBase : public CAxesDrawerBase {
 public:
  CGraphDrawerBase();
  virtual ~CGraphDrawerBase();
  CGraphDrawerBase(const CGraphDrawerBase&) = delete;
  CGraphDrawerBase& operator=(const CGraphDrawerBase&) = delete;

  // Draws the background into the target and a red diagonal over the plot.
  virtual void DrawCurves(Gdiplus::Bitmap* pTarget, Gdiplus::Bitmap* pBackground, int iFrom, int iTo);
  virtual void RedrawBackground(void);

  // Sets the highlighted stretch of a curve (to exclusive); the list grows to
  // nCurves pairs of (0, 0) first. Takes m_csData, so any thread may call it
  // while a paint runs. Shows with the next stroke of that stretch.
  void SetHighlight(int iCurve, int iFrom, int iTo, int nCurves);

  // The compose step of a paint, under m_csData: rebuilds the axes bitmap if
  // a range moved, then draws the dirty stretch into the frame bitmap (a
  // wrapped sweep as its end, then its start), and clears both marks.
  void DrawPending(void);

  BOOL m_bDataPending;  // a dirty sample range waits for the next paint
  BOOL m_bAxesPending;  // the ranges moved: rebuild m_pAxesBitmap first
  int m_iDirtyFrom;
  int m_iDirtyTo;  // below m_iDirtyFrom when a sweep wrapped round
  CCriticalSection m_csRange;  // ranges and the drawing of curves
  CCriticalSection m_csData;   // samples and the compose step of a paint
  Gdiplus::Bitmap* m_pAxesBitmap;   // owned by the window: ground, frame, grid, captions
  Gdiplus::Bitmap* m_pFrameBitmap;  // owned by the window: axes and curves
  Gdiplus::Rect m_rcPlot;           // X and Y 0, the window's client size
  ULONG m_gdiToken;                 // a graphics session this graph opened, else 0
  std::vector<std::pair<int, int>> m_highlights;  // per curve, to exclusive; (0, 0) is none
  CStringW m_sTitle;
  CStringW m_sXName;
  CStringW m_sYName;
  // Valid only during DrawBackground's call of DrawAxesIn.
  Gdiplus::Graphics* m_pGraphics;
  Gdiplus::Pen* m_pGridPen;
  Gdiplus::Font* m_pFont;
  Gdiplus::Brush* m_pTextBrush;

 protected:
  void DrawGrid(int x1, int y1, int x2, int y2) override;
  void MeasureAxisString(const wchar_t* pText, tagRECT* pRect, eAxis axis) override;
  void MeasureLegendString(const wchar_t* pText, tagRECT* pRect) override;
  void DrawAxisString(const wchar_t* pText, tagRECT* pRect, eAxis axis) override;
  void DrawLegendString(const wchar_t* pText, tagRECT* pRect) override;

 private:
  void MeasureString(const wchar_t* pText, tagRECT* pRect);
  void DrawString(const wchar_t* pText, const tagRECT* pRect);
};

// The engine of one graph: the samples of its curves, the sample window and
// value range that map them to the plot, and the strokes.
//
// Locks: m_csData before m_csRange. The intake, SetROI, SetROIAutoY and
// SetHighlight take m_csData themselves; a paint takes m_csData round its
// RedrawBackground and DrawCurves calls. Drawers may be created, stroked and
// destroyed on any threads: the count and the shared pen table have a lock
// of their own.
class ORVEK_API CGraphDrawer : public CGraphDrawerBase {
 public:
  CGraphDrawer();
  ~CGraphDrawer() override;

  // Restores the strip of the plot that shows samples iFrom to iTo (an iTo
  // of 0x7FFFFFFF: to the right edge) from the background and strokes every
  // sample of it as a vertex.
  void DrawCurves(Gdiplus::Bitmap* pTarget, Gdiplus::Bitmap* pBackground, int iFrom, int iTo) override;
  void RedrawBackground(void) override;

  // Fixes the sample window and both ranges: the doubles say which data
  // values fill the plot, the floats what the Y axis reads there.
  void SetROI(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, float fYAxisMin,
              float fYAxisMax, int nYDivs);
  // Fixes the sample window and lets Y follow the data, starting with a range
  // that holds the data and dYMin to dYMax.
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, int nYDivs);
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs);
  // Moves the ranges after an intake and records the dirty sample range.
  void UpdateRanges(int iFrom, int iTo);
  // Smallest and largest finite stored sample; a store without one leaves
  // both.
  void GetDataMinMax(double* pMin, double* pMax);
  // Turns a data span into the Y range, smoothed or at once; a bound that is
  // not finite leaves the range as it is.
  void FitYRange(int bSmooth, double dMin, double dMax);
  void DrawBackground(Gdiplus::Bitmap* pTarget, const CStringW& sTitle, float fXMin, float fXMax, int nXDivs,
                      const CStringW& sXName, float fYMin, float fYMax, int nYDivs, const CStringW& sYName, int nX,
                      int nY, int nWidth, int nHeight);

  // The most samples the store of one drawer holds (2 GiB of doubles): an
  // intake whose matrix (curves times rows) would exceed it is dropped.
  static constexpr long long kMaxSamples = 1LL << 28;

  // Intake, from any thread. T is char (read as signed), short, int, float,
  // double or unsigned char; nStride counts elements of T.
  template <typename T>
  void SetData(T* pData, int nCount, int nStride, int iCurve, int nCurves);
  // Strip chart: a ring of nHistory rows per curve; of a longer block only
  // the last nHistory samples are kept.
  template <typename T>
  void SetDataHistory(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves);
  // Running exponential average; the first block after a reset is copied.
  template <typename T>
  void SetDataAvg(T* pData, int nCount, double dFactor, int nStride, int iCurve, int nCurves);
  // Sweep: a write head runs over a ring of nHistory rows; only the written
  // stretch becomes dirty.
  template <typename T>
  void SetDataHistoryCircular(T* pData, int nCount, int nHistory, int nStride, int iCurve, int nCurves);

  std::vector<double> m_samples;  // row r, curve c at r * m_nCurves + c
  double m_dYMin;                 // data value of the bottom row
  double m_dYMax;                 // data value of the top row
  int m_iXFrom;                   // sample window, half-open
  int m_iXTo;
  BOOL m_bResetAdaptation;  // the next intake snaps to the data
  int m_nCurves;
  std::vector<Gdiplus::PointF> m_points;  // vertices of one stroke, kept between draws
  std::vector<int> m_keep;                // samples of one pixel column that the outline keeps
  int m_nXDivs;
  int m_nYDivs;
  BOOL m_bAutoY;
  BOOL m_bAutoX;
  float m_fXMin;  // X axis labels at the left and right edge
  float m_fXMax;
  std::vector<int> m_rowOffsets;  // sample x of curve c is row (offset + x) mod S
  std::vector<int> m_writePos;    // sweep write heads
  // Strokes every sample as a vertex. By default a pen wider than a pixel
  // strokes a pixel column of many samples as its outline (the samples where
  // the curve first and last reaches each height), so its cost follows the
  // columns; the picture stays within 8 levels of every vertex in more than
  // 99.5 % of the drawn pixels.
  BOOL m_bEverySample;

  static int ms_nInstances;  // under the pen lock
  static tagCurvePens* ms_pPens;  // under the pen lock; lives while a drawer does

 private:
  // The shared pen table, made on first use.
  static const tagCurvePens* Pens();
  // GetDataMinMax that tells whether a finite sample was found.
  bool FiniteMinMax(double* pMin, double* pMax) const;
  // The opening of every intake: row width, offsets and matrix size; false
  // if the matrix cannot grow to it.
  bool Open(int nCurves, int nRows, bool bWritePos);
  int SamplesPerCurve() const;
  // Lays the vertices of samples from to end - 1 of curve c into m_points,
  // with bOutline a dense pixel column as its outline; returns how many.
  int MapStroke(int c, int from, int end, int S, bool bOutline);
};

extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<char>(char*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<short>(short*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<int>(int*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<float>(float*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<double>(double*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetData<unsigned char>(unsigned char*, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<char>(char*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<short>(short*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<int>(int*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<float>(float*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<double>(double*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistory<unsigned char>(unsigned char*, int, int, int, int,
                                                                                   int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<char>(char*, int, double, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<short>(short*, int, double, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<int>(int*, int, double, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<float>(float*, int, double, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<double>(double*, int, double, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataAvg<unsigned char>(unsigned char*, int, double, int, int,
                                                                               int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<char>(char*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<short>(short*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<int>(int*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<float>(float*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<double>(double*, int, int, int, int, int);
extern template ORVEK_TEMPLATE_API void CGraphDrawer::SetDataHistoryCircular<unsigned char>(unsigned char*, int, int,
                                                                                           int, int, int);

#include <orvek/plotting/drawer/GraphDrawer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <memory>
#include <mutex>

#include <orvek/platform/core/VectorState_p.h>
#include <orvek/platform/gfx/WideStroke_p.h>

using namespace Gdiplus;

namespace {

// double to int64 without overflow; NaN gives 0.
std::int64_t Saturate(double v) {
  if (!(v == v)) return 0;
  return static_cast<std::int64_t>(std::clamp(v, -4.0e18, 4.0e18));
}

// Guards the count of drawers and the shared pen table, which drawers on any
// thread create, use and destroy.
std::mutex& PenLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

tagCurvePens::tagCurvePens()
    : normal{Pen(Color(0xC080FF00u), 2.0f), Pen(Color(0xC0FF5A00u), 2.0f), Pen(Color(0xFF00FFFFu), 1.0f)},
      highlight{Pen(Color(0xC08000FFu), 2.0f), Pen(Color(0xC000A5FFu), 2.0f), Pen(Color(0xFFFFFF00u), 2.0f)} {}

// ---- CGraphDrawerBase ----

CGraphDrawerBase::CGraphDrawerBase()
    : m_bDataPending(0),
      m_bAxesPending(0),
      m_iDirtyFrom(0),
      m_iDirtyTo(0),
      m_pAxesBitmap(nullptr),
      m_pFrameBitmap(nullptr),
      m_rcPlot(0, 0, 0, 0),
      m_gdiToken(0),
      m_pGraphics(nullptr),
      m_pGridPen(nullptr),
      m_pFont(nullptr),
      m_pTextBrush(nullptr) {}

CGraphDrawerBase::~CGraphDrawerBase() = default;

void CGraphDrawerBase::DrawCurves(Bitmap* pTarget, Bitmap* pBackground, int, int) {
  if (!pTarget || !pBackground) return;
  Graphics g(pTarget);
  g.DrawImage(pBackground, 0, 0);
  Pen red(Color(0xFFFF0000u), 1.0f);
  g.DrawLine(&red, m_rcPlot.X, m_rcPlot.Y, m_rcPlot.Width, m_rcPlot.Height);
}

void CGraphDrawerBase::RedrawBackground(void) {}

void CGraphDrawerBase::DrawPending(void) {
  CSingleLock lock(&m_csData, TRUE);
  if (m_bAxesPending) {
    RedrawBackground();
    m_bAxesPending = 0;
  }
  if (m_bDataPending) {
    const int from = m_iDirtyFrom, to = m_iDirtyTo;
    if (from <= to) {
      DrawCurves(m_pFrameBitmap, m_pAxesBitmap, from, to);
    } else {
      DrawCurves(m_pFrameBitmap, m_pAxesBitmap, from, 0x7FFFFFFF);
      DrawCurves(m_pFrameBitmap, m_pAxesBitmap, 0, to);
    }
    m_bDataPending = 0;
  }
}

void CGraphDrawerBase::SetHighlight(int iCurve, int iFrom, int iTo, int nCurves) {
  CSingleLock lock(&m_csData, TRUE);
  if (iCurve < 0 || iCurve >= nCurves) return;
  if (m_highlights.size() < static_cast<std::size_t>(nCurves)) m_highlights.resize(static_cast<std::size_t>(nCurves));
  m_highlights[static_cast<std::size_t>(iCurve)] = std::make_pair(iFrom, iTo);
}

void CGraphDrawerBase::DrawGrid(int x1, int y1, int x2, int y2) {
  if (m_pGraphics) m_pGraphics->DrawLine(m_pGridPen, x1, y1, x2, y2);
}

void CGraphDrawerBase::MeasureString(const wchar_t* pText, tagRECT* pRect) {
  RectF box;
  if (m_pGraphics && pText)
    m_pGraphics->MeasureString(pText, static_cast<INT>(std::wcslen(pText)), m_pFont, RectF(0, 0, 0, 0), &box);
  pRect->left = 0;
  pRect->top = 0;
  pRect->right = static_cast<LONG>(box.Width + 1.0f);
  pRect->bottom = static_cast<LONG>(box.Height + 1.0f);
}

void CGraphDrawerBase::DrawString(const wchar_t* pText, const tagRECT* pRect) {
  if (!m_pGraphics || !pText) return;
  const RectF layout(static_cast<REAL>(pRect->left), static_cast<REAL>(pRect->top), 0, 0);
  m_pGraphics->DrawString(pText, static_cast<INT>(std::wcslen(pText)), m_pFont, layout, m_pTextBrush);
}

void CGraphDrawerBase::MeasureAxisString(const wchar_t* pText, tagRECT* pRect, eAxis) { MeasureString(pText, pRect); }
void CGraphDrawerBase::MeasureLegendString(const wchar_t* pText, tagRECT* pRect) { MeasureString(pText, pRect); }
void CGraphDrawerBase::DrawAxisString(const wchar_t* pText, tagRECT* pRect, eAxis) { DrawString(pText, pRect); }
void CGraphDrawerBase::DrawLegendString(const wchar_t* pText, tagRECT* pRect) { DrawString(pText, pRect); }

// ---- CGraphDrawer ----

int CGraphDrawer::ms_nInstances = 0;
tagCurvePens* CGraphDrawer::ms_pPens = nullptr;

CGraphDrawer::CGraphDrawer()
    : m_dYMin(0.0),
      m_dYMax(0.0),
      m_iXFrom(0),
      m_iXTo(0),
      m_bResetAdaptation(1),
      m_nCurves(0),
      m_nXDivs(10),
      m_nYDivs(10),
      m_bAutoY(1),
      m_bAutoX(1),
      m_fXMin(0),
      m_fXMax(0),
      m_bEverySample(0),
      m_fYAxisMin(0),
      m_fYAxisMax(0),
      m_bUserView(false),
      m_view{0, 0, 0, 0},
      m_bPaused(false),
      m_scheme(eSchemeDark) {
  std::lock_guard<std::mutex> lock(PenLock());
  ++ms_nInstances;
}

CGraphDrawer::~CGraphDrawer() {
  std::lock_guard<std::mutex> lock(PenLock());
  if (--ms_nInstances == 0 && ms_pPens) {
    delete ms_pPens;
    ms_pPens = nullptr;
  }
}

const tagCurvePens* CGraphDrawer::Pens() {
  std::lock_guard<std::mutex> lock(PenLock());
  if (!ms_pPens) ms_pPens = new tagCurvePens;
  return ms_pPens;
}

int CGraphDrawer::SamplesPerCurve() const {
  return m_nCurves > 0 ? static_cast<int>(m_samples.size() / static_cast<std::size_t>(m_nCurves)) : 0;
}

void CGraphDrawer::GetDataMinMax(double* pMin, double* pMax) { FiniteMinMax(pMin, pMax); }

namespace {

// Minimum and maximum in four lanes held in registers, so that the
// comparisons do not wait on each other. A NaN never compares, so it never
// moves either end; with kSkipInfinite an infinity does not either.
template <bool kSkipInfinite>
void ScanMinMax(const double* s, std::size_t n, double* pLo, double* pHi) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const auto take = [](double v) { return !kSkipInfinite || std::fabs(v) < kInf; };
  double lo0 = kInf, lo1 = kInf, lo2 = kInf, lo3 = kInf;
  double hi0 = -kInf, hi1 = -kInf, hi2 = -kInf, hi3 = -kInf;
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    const double a = s[i], b = s[i + 1], c = s[i + 2], d = s[i + 3];
    lo0 = take(a) && a < lo0 ? a : lo0;
    lo1 = take(b) && b < lo1 ? b : lo1;
    lo2 = take(c) && c < lo2 ? c : lo2;
    lo3 = take(d) && d < lo3 ? d : lo3;
    hi0 = take(a) && a > hi0 ? a : hi0;
    hi1 = take(b) && b > hi1 ? b : hi1;
    hi2 = take(c) && c > hi2 ? c : hi2;
    hi3 = take(d) && d > hi3 ? d : hi3;
  }
  for (; i < n; ++i) {
    lo0 = take(s[i]) && s[i] < lo0 ? s[i] : lo0;
    hi0 = take(s[i]) && s[i] > hi0 ? s[i] : hi0;
  }
  for (const double v : {lo1, lo2, lo3}) lo0 = v < lo0 ? v : lo0;
  for (const double v : {hi1, hi2, hi3}) hi0 = v > hi0 ? v : hi0;
  *pLo = lo0;
  *pHi = hi0;
}

}  // namespace

bool CGraphDrawer::FiniteMinMax(double* pMin, double* pMax) const {
  const std::size_t n = m_samples.size();
  if (n == 0 || !pMin || !pMax) return false;
  double lo = 0, hi = 0;
  ScanMinMax<false>(m_samples.data(), n, &lo, &hi);
  // An infinite end is rare: only then a second, slower scan without them.
  if (std::isinf(lo) || std::isinf(hi)) ScanMinMax<true>(m_samples.data(), n, &lo, &hi);
  if (!(lo <= hi)) return false;  // no finite sample: both stay
  *pMin = lo;
  *pMax = hi;
  return true;
}

void CGraphDrawer::FitYRange(int bSmooth, double dMin, double dMax) {
  if (!std::isfinite(dMin) || !std::isfinite(dMax)) return;  // the range stays as it is
  double span = dMax - dMin;
  if (span == 0) span = dMax * 0.1;
  if (span == 0) span = 0.1;
  const double margin = span * 0.1;
  const double newMin = std::min(dMin, dMin - margin);
  const double newMax = std::max(dMax, dMax + margin);
  if (bSmooth && m_dYMin != m_dYMax) {
    m_dYMin = m_dYMin * 0.8999999985098839 + newMin * 0.10000000149011612;
    m_dYMax = m_dYMax * 0.8999999985098839 + newMax * 0.10000000149011612;
  } else {
    m_dYMin = newMin;
    m_dYMax = newMax;
  }
  // Spans near the limits of a double overflow in the margin: the data alone.
  if (!std::isfinite(m_dYMin) || !std::isfinite(m_dYMax)) {
    m_dYMin = dMin;
    m_dYMax = dMax;
  }
}

void CGraphDrawer::UpdateRanges(int iFrom, int iTo) {
  CSingleLock lock(&m_csRange, TRUE);
  RangesWritable();
  if (m_bAutoY) {
    // Samples that are not finite are no part of the range; a store without
    // a finite one (but not an empty one) leaves it as it is.
    double lo = 0.0, hi = 0.0;
    if (FiniteMinMax(&lo, &hi) || m_samples.empty()) FitYRange(!m_bResetAdaptation, lo, hi);
    if (m_bAutoX) {
      const int S = SamplesPerCurve();
      int newFrom = 0, newTo = S;
      if (m_iXFrom != m_iXTo && !m_bResetAdaptation) {
        newTo = static_cast<int>(static_cast<float>(m_iXTo) * 0.9f + static_cast<float>(S) * 0.1f);
        newFrom = static_cast<int>(static_cast<float>(m_iXFrom) * 0.9f);
      }
      m_iXFrom = newFrom;
      m_iXTo = newTo;
      m_fXMin = static_cast<float>(newFrom);
      m_fXMax = static_cast<float>(newTo);
    }
    m_bAxesPending = 1;
  }
  if (!m_bDataPending) {
    m_iDirtyFrom = iFrom;
    m_iDirtyTo = iTo;
  }
  m_bDataPending = 1;
  // A pending range keeps its start and takes the newest end, unless it is
  // exactly the whole window.
  if (m_iDirtyFrom != m_iXFrom || m_iDirtyTo != m_iXTo) m_iDirtyTo = iTo;
  m_bResetAdaptation = 0;
}

void CGraphDrawer::SetROI(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax,
                          float fYAxisMin, float fYAxisMax, int nYDivs) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  m_bAutoY = 0;
  m_bAutoX = 0;
  m_fXMin = fXMax > fXMin ? fXMin : fXMax;
  m_fXMax = fXMax > fXMin ? fXMax : fXMin;
  const float yLabelMin = fYAxisMax > fYAxisMin ? fYAxisMin : fYAxisMax;
  const float yLabelMax = fYAxisMax > fYAxisMin ? fYAxisMax : fYAxisMin;
  m_iXFrom = iFrom;
  m_iXTo = iTo;
  m_nXDivs = nXDivs;
  m_nYDivs = nYDivs;
  m_dYMin = dYMin;  // unsorted: a reversed pair stands the curves upside down
  m_dYMax = dYMax;
  m_fYAxisMin = yLabelMin;
  m_fYAxisMax = yLabelMax;
  DrawHostChange();
}

void CGraphDrawer::SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax,
                               int nYDivs) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  if (iFrom == m_iXFrom && iTo == m_iXTo && fXMin == m_fXMin && fXMax == m_fXMax && nXDivs == m_nXDivs &&
      nYDivs == m_nYDivs && m_bAutoY == 1)
    return;
  m_iXFrom = iFrom;
  m_iXTo = iTo;
  m_fXMin = std::min(fXMin, fXMax);
  m_fXMax = std::max(fXMin, fXMax);
  m_nXDivs = nXDivs;
  m_nYDivs = nYDivs;
  m_bAutoY = 1;
  m_bAutoX = 0;
  double lo = 0.0, hi = 0.0;
  GetDataMinMax(&lo, &hi);
  if (std::isfinite(dYMin) && dYMin < lo) lo = dYMin;
  if (std::isfinite(dYMax) && dYMax > hi) hi = dYMax;
  FitYRange(0, lo, hi);
  DrawHostChange();
}

void CGraphDrawer::SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs) {
  SetROIAutoY(iFrom, iTo, fXMin, fXMax, nXDivs, 0.0, 0.0, nYDivs);
}

void CGraphDrawer::RedrawBackground(void) {
  RangesReadableUnderData();
  float x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  ViewLabels(&x0, &x1, &y0, &y1);
  DrawBackground(m_pAxesBitmap, m_sTitle, x0, x1, m_nXDivs, m_sXName, y0, y1, m_nYDivs, m_sYName, m_rcPlot.X,
                 m_rcPlot.Y, m_rcPlot.Width, m_rcPlot.Height);
}

void CGraphDrawer::DrawHostChange(void) {
  // A paused picture stays; resuming draws the host's new ranges.
  if (m_bPaused) return;
  RedrawBackground();
  DrawCurves(m_pFrameBitmap, m_pAxesBitmap, m_iXFrom, m_iXTo);
}

void CGraphDrawer::DrawBackground(Bitmap* pTarget, const CStringW& sTitle, float fXMin, float fXMax, int nXDivs,
                                  const CStringW& sXName, float fYMin, float fYMax, int nYDivs, const CStringW& sYName,
                                  int nX, int nY, int nWidth, int nHeight) {
  if (!pTarget) return;
  Graphics g(pTarget);
  const bool light = m_scheme == eSchemeLight;
  g.Clear(Color(light ? 0xFFFFFFFFu : 0xFF000000u));
  Pen framePen(Color(light ? 0xFF404040u : 0xFFC0C0C0u), 1.0f);
  Pen gridPen(Color(light ? 0xFFA0A0A0u : 0xFF808080u), 1.0f);
  const float size = std::min(static_cast<float>(m_rcPlot.Width) / 50.0f, static_cast<float>(m_rcPlot.Height) / 35.0f);
  // Whether the system has the face is asked once: the lookup costs more
  // than the rest of a redraw of the axes.
  static const bool hasSmallFonts = FontFamily(L"SmallFonts").GetLastStatus() == Ok;
  std::unique_ptr<Font> font;
  if (hasSmallFonts) {
    const FontFamily family(L"SmallFonts");
    font.reset(new Font(&family, size, FontStyleRegular, UnitPoint));
  }
  if (!font || font->GetLastStatus() != Ok)
    font.reset(new Font(FontFamily::GenericSansSerif(), size, FontStyleRegular, UnitPoint));
  SolidBrush textBrush(Color(light ? 0xFF000000u : 0xFFFFFFFFu));
  g.DrawRectangle(&framePen, 0, 0, m_rcPlot.Width - 1, m_rcPlot.Height - 1);
  gridPen.SetDashStyle(DashStyleDot);

  m_pGraphics = &g;
  m_pGridPen = &gridPen;
  m_pFont = font.get();
  m_pTextBrush = &textBrush;
  const auto edge = [](std::int64_t v) { return static_cast<LONG>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX)); };
  const tagRECT rect = {nX, nY, edge(static_cast<std::int64_t>(nX) + nWidth),
                        edge(static_cast<std::int64_t>(nY) + nHeight)};
  DrawAxesIn(rect, sTitle, fXMin, fXMax, nXDivs, sXName, fYMin, fYMax, nYDivs, sYName, 1, 0);
  m_pGraphics = nullptr;
  m_pGridPen = nullptr;
  m_pFont = nullptr;
  m_pTextBrush = nullptr;
}

namespace {

// Sample x of curve c goes to column (x - F) * (W - 1) / (E - F - 1) + X in
// single precision, F and E the view's first sample and one past its last,
// and to a row in double precision, from the view's bottom value (through
// single precision, unless the user chose the view) at the bottom to its top
// value at the top. A flat range puts every sample on the middle row.
struct StrokeMap {
  StrokeMap(const tagPlotView& view, const Rect& plot, bool userView) {
    F = view.dFirst;
    E = view.dLast + 1.0;
    xScale = static_cast<float>(static_cast<std::int64_t>(plot.Width) - 1);
    xSpan = static_cast<float>(E - F - 1.0);
    xOrigin = static_cast<float>(plot.X);
    flat = view.dTop == view.dBottom;
    yBottom = static_cast<double>(static_cast<std::int64_t>(plot.Y) - 1 + plot.Height);
    yOffset = userView ? view.dBottom : static_cast<double>(static_cast<float>(view.dBottom));
    yScale = static_cast<double>(static_cast<std::int64_t>(plot.Height) - 1);
    ySpan = view.dTop - view.dBottom;
    yMiddle = static_cast<float>(static_cast<double>(plot.Y) + (static_cast<double>(plot.Height) - 1) / 2.0);
  }
  // Columns from the plot's left edge to sample x, and the sample that many
  // columns in; X is the pixel column.
  float Offset(double x) const { return static_cast<float>(x - F) * xScale / xSpan; }
  float SampleAt(float offset) const { return xSpan * offset / xScale + static_cast<float>(F); }
  float X(int x) const { return Offset(x) + xOrigin; }
  // The row of a finite sample beyond single precision is pulled in (the
  // stroker pulls in further), so that it draws a spike and not a break; a
  // sample that is not finite still breaks the line.
  float Y(double v) const {
    if (flat) return yMiddle;
    const double y = yBottom - (v - yOffset) * yScale / ySpan;
    return static_cast<float>(std::isfinite(v) ? std::clamp(y, -1e9, 1e9) : y);
  }
  // The pixel column of a sample; far columns stay apart.
  int Column(int x) const { return static_cast<int>(std::clamp(std::floor(X(x)), -2.0e9f, 2.0e9f)); }
  // One past the last sample before end in the column of sample x. Columns
  // never decrease with x: a guess from the inverse mapping, checked, and a
  // bisection where it missed.
  int ColumnEnd(int x, int end) const {
    const int col = Column(x);
    int lo = x, hi = end;  // lo is in the column, hi is not (or is end)
    double guess = std::ceil(F + (static_cast<double>(col) + 1.0 - static_cast<double>(xOrigin)) *
                                     static_cast<double>(xSpan) / static_cast<double>(xScale));
    if (!(guess > lo)) guess = lo + 1.0;  // also NaN
    if (!(guess < hi)) guess = hi;
    const int g = static_cast<int>(guess);
    if (g < hi) (Column(g) == col ? lo : hi) = g;
    if (hi - lo > 1) {
      const int h = hi == g ? g - 1 : g + 1;
      if (h > lo && h < hi) (Column(h) == col ? lo : hi) = h;
    }
    while (hi - lo > 1) {
      const int mid = lo + (hi - lo) / 2;
      (Column(mid) == col ? lo : hi) = mid;
    }
    return hi;
  }
  double F, E;
  float xScale, xSpan, xOrigin;
  bool flat;
  double yBottom, yOffset, yScale, ySpan;
  float yMiddle;
};

// One curve's samples in the ring: sample x is row (offset + x) mod S.
struct CurveRing {
  const double* base;
  std::size_t stride;
  int S, offset;
  int Row(int x) const { return static_cast<int>((static_cast<std::int64_t>(offset) + x) % S); }
  const double& At(int r) const { return base[static_cast<std::size_t>(r) * stride]; }
};

// Appends the points of samples from to end - 1, every one a vertex.
void AppendPoints(const StrokeMap& m, const CurveRing& ring, int from, int end, std::vector<PointF>& out) {
  const std::size_t first = out.size();
  out.resize(first + static_cast<std::size_t>(end - from));
  int r = ring.Row(from);
  for (int x = from; x < end; ++x) {
    out[first + static_cast<std::size_t>(x - from)] = PointF(m.X(x), m.Y(ring.At(r)));
    if (++r == ring.S) r = 0;
  }
}

// How far from a column's lowest and highest values, in pixels, every sample
// stays. Near the stroke's ends in a column the pixels are covered in part,
// and every segment that reaches them adds its share until enough overlap;
// three pixels hold noise of any size to the picture of every sample for
// pens of 1 to 8 pixels.
constexpr double kFringe = 3.0;

bool Breaks(const StrokeMap& m, double v) { return !m.flat && !std::isfinite(v); }

// Whether four samples from q on all lie within lo and hi (false for NaN):
// tested as one, so that a column's scan mostly skips four at a time.
bool Within4(const double* q, std::size_t stride, double lo, double hi) {
  const double a = q[0], b = q[stride], c = q[2 * stride], d = q[3 * stride];
  return ((a >= lo) & (a <= hi) & (b >= lo) & (b <= hi) & (c >= lo) & (c <= hi) & (d >= lo) & (d <= hi)) != 0;
}

// The outline of samples x to end - 1 of one pixel column, which holds no
// break: at each height the stroke reaches, what counts is where the curve
// first and last passes it, that is the samples that set a new lowest or
// highest value counted from the column's start, and those counted from its
// end, each with its neighbour on the inner side. Noise has few of them (the
// logarithm of the column's samples), a column of two samples keeps both.
// The stroke's ends in the column are another matter: there every segment
// that reaches them adds its share of the partly covered pixels, so the
// samples within kFringe pixels of the column's lowest and highest values
// stay, with both neighbours.
// Returns where the stroke goes on: end, or the first break.
int OutlineColumn(const StrokeMap& m, const CurveRing& ring, int x, int end, std::vector<int>& forward,
                  std::vector<int>& backward, std::vector<PointF>& out) {
  const int row0 = ring.Row(x);
  int r = row0;
  double lo = ring.At(r), hi = lo;
  forward.clear();
  forward.push_back(x);
  // Every sample from x up to the first break, where they run smoothly only
  // those the picture needs.
  const auto all = [&](int stop) {
    const std::size_t first = out.size();
    AppendPoints(m, ring, x, stop, out);
    orvek_gfx::ThinSmoothStretches(out, first);
    return stop;
  };
  int stop = x + 1;
  for (; stop < end; ++stop) {
    while (stop + 4 <= end && r + 4 < ring.S && Within4(&ring.At(r + 1), ring.stride, lo, hi)) {
      stop += 4;
      r += 4;
    }
    if (stop == end) break;
    if (++r == ring.S) r = 0;
    const double v = ring.At(r);
    if (v >= lo && v <= hi) continue;  // the common case: inside what was reached
    if (Breaks(m, v)) break;
    if (v < lo || v > hi) {
      if (forward.back() != stop - 1) forward.push_back(stop - 1);
      forward.push_back(stop);
      lo = std::min(lo, v);
      hi = std::max(hi, v);
      // Half the column already: every sample will be kept (below), and only
      // the break is left to find.
      if (2 * forward.size() > static_cast<std::size_t>(end - x)) {
        while (++stop < end) {
          if (++r == ring.S) r = 0;
          if (Breaks(m, ring.At(r))) break;
        }
        return all(stop);
      }
    }
  }
  // From the end back; r is the row of stop - 1. The fringes are in values,
  // inside the column's lowest and highest.
  if (stop < end) r = r == 0 ? ring.S - 1 : r - 1;
  const double reach = m.flat || !(m.yScale > 0) ? 0.0 : kFringe * std::fabs(m.ySpan / m.yScale);
  const double fringeLo = lo + reach, fringeHi = hi - reach;
  backward.clear();
  backward.push_back(stop - 1);
  lo = hi = ring.At(r);
  const auto keep = [&](int i) {  // the list runs down
    if (i >= x && backward.back() > i) backward.push_back(i);
  };
  for (int i = stop - 2; i >= x; --i) {
    while (i - 3 >= x && r - 4 >= 0 &&
           Within4(&ring.At(r - 4), ring.stride, std::max(lo, fringeLo), std::min(hi, fringeHi))) {
      i -= 4;
      r -= 4;
    }
    if (i < x) break;
    if (--r < 0) r = ring.S - 1;
    const double v = ring.At(r);
    const bool fringe = v < fringeLo || v > fringeHi;
    if (fringe || v < lo || v > hi) {
      keep(i + 1);
      keep(i);
      if (fringe) keep(i - 1);
      lo = std::min(lo, v);
      hi = std::max(hi, v);
    }
  }
  // Where the outline would keep more than half the samples, leaving out the
  // rest saves little: every sample is kept.
  if (static_cast<int>(forward.size() + backward.size()) * 2 > stop - x) return all(stop);
  // Both lists in order of the samples, each sample once.
  std::size_t f = 0, b = backward.size();
  int last = x - 1;
  while (f < forward.size() || b > 0) {
    int i;
    if (b == 0 || (f < forward.size() && forward[f] <= backward[b - 1]))
      i = forward[f++];
    else
      i = backward[--b];
    if (i == last) continue;
    last = i;
    int row = row0 + (i - x);
    if (row >= ring.S) row -= ring.S;
    out.push_back(PointF(m.X(i), m.Y(ring.At(row))));
  }
  return stop;
}

}  // namespace

// Lays the stroke of samples from to end - 1 into out: every sample a vertex,
// or with bOutline the outline of each dense pixel column.
void CGraphDrawer::MapStrokes(const int* curves, int nCurves, int from, int end, int S, bool bOutline) {
  orvek_core::ClearUpperVectorState();  // after the background's drawing
  const tagPlotView view = DrawView();
  const StrokeMap m(view, m_rcPlot, m_bUserView);
  const std::vector<int>& offsets = DrawOffsets();
  const std::size_t stride = static_cast<std::size_t>(DrawCurveCount());
  if (m_strokes.size() < static_cast<std::size_t>(nCurves)) m_strokes.resize(static_cast<std::size_t>(nCurves));
  for (int i = 0; i < nCurves; ++i) m_strokes[static_cast<std::size_t>(i)].clear();
  // The analysis checks a lambda on its own; this one runs only here, under this function's locks.
  const auto ring = [&](int i) ORVEK_NO_THREAD_SAFETY_ANALYSIS {
    const std::size_t c = static_cast<std::size_t>(curves[i]);
    return CurveRing{DrawSamples().data() + c, stride, S, c < offsets.size() ? offsets[c] : 0};
  };
  if (end <= from || S <= 0) return;
  // A window of few samples per column has nothing to leave out.
  const bool dense = m.E - m.F > 4.0 * static_cast<double>(m_rcPlot.Width);
  if (m_bEverySample || !bOutline || !dense) {
    for (int i = 0; i < nCurves; ++i) AppendPoints(m, ring(i), from, end, m_strokes[static_cast<std::size_t>(i)]);
    return;
  }
  // Column by column, every curve in turn, so that a column's rows are read
  // from memory once for all curves.
  for (int x = from; x < end;) {
    const int next = m.ColumnEnd(x, end);
    for (int i = 0; i < nCurves; ++i) {
      const CurveRing curve = ring(i);
      std::vector<PointF>& out = m_strokes[static_cast<std::size_t>(i)];
      for (int at = x; at < next;) {
        const double v = curve.At(curve.Row(at));
        if (Breaks(m, v)) {  // a break stays where it stands
          out.push_back(PointF(m.X(at), m.Y(v)));
          ++at;
          continue;
        }
        at = OutlineColumn(m, curve, at, next, m_forward, m_backward, out);
      }
    }
    x = next;
  }
}

int CGraphDrawer::MapStroke(int c, int from, int end, int S, bool bOutline) {
  MapStrokes(&c, 1, from, end, S, bOutline);
  m_points.swap(m_strokes[0]);
  return static_cast<int>(m_points.size());
}

void CGraphDrawer::DrawCurves(Bitmap* pTarget, Bitmap* pBackground, int iFrom, int iTo) {
  CSingleLock range(&m_csRange, TRUE);
  RangesReadableUnderRange();
  if (!pTarget || !pBackground) return;
  Graphics g(pTarget);
  const int X = m_rcPlot.X, W = m_rcPlot.Width, H = m_rcPlot.Height;
  const tagPlotView view = DrawView();
  const double F = view.dFirst, E = view.dLast + 1.0;
  const StrokeMap m(view, m_rcPlot, m_bUserView);
  // A window of fewer than two samples, or a plot of one column, has no scale:
  // the whole plot is restored and no curve is drawn.
  const bool scaled = E - F >= 2.0 && W >= 2;
  std::int64_t left = X, right = static_cast<std::int64_t>(X) + W;
  float fLeft = static_cast<float>(X);
  if (scaled) {
    const float a = m.Offset(iFrom), b = m.Offset(iTo);
    left = Saturate(std::floor(a)) - 1 + X;
    const std::int64_t width = Saturate(std::ceil(b)) + 3 + X - left - 1;
    fLeft = static_cast<float>(left);
    right = left + width;
  }
  // The strip, kept inside the plot; a plot of negative width has none.
  const std::int64_t plotRight = std::clamp<std::int64_t>(static_cast<std::int64_t>(X) + W, X, INT32_MAX);
  const int clipLeft = static_cast<int>(std::clamp<std::int64_t>(left, X, plotRight));
  const int clipRight = static_cast<int>(std::clamp<std::int64_t>(right, clipLeft, plotRight));
  // A strip that covers the whole bitmap needs no clip, and Qt's thin lines
  // are quicker without one.
  const bool whole = clipLeft <= 0 && clipRight >= static_cast<int>(pTarget->GetWidth()) &&
                     H >= static_cast<int>(pTarget->GetHeight());
  if (!whole) g.SetClip(Rect(clipLeft, 0, clipRight - clipLeft, H), CombineModeReplace);
  g.DrawImage(pBackground, clipLeft, 0, clipLeft, 0, clipRight - clipLeft, H, UnitPixel);
  const int nCurves = DrawCurveCount();
  if (nCurves == 0 || !scaled) return;
  g.SetSmoothingMode(SmoothingModeAntiAlias);

  // The sample two pixels left of the clip, so the stroke enters it running.
  const std::int64_t first = Saturate(std::floor(m.SampleAt(fLeft - static_cast<float>(X) - 2.0f)));
  const int S = static_cast<int>(DrawSamples().size() / static_cast<std::size_t>(nCurves));
  const std::int64_t start64 = std::max<std::int64_t>({first, Saturate(std::floor(F)), 0});
  const int end = static_cast<int>(std::max<std::int64_t>(std::min<std::int64_t>({iTo, Saturate(std::ceil(E)), S}), 0));
  const int start = static_cast<int>(std::min<std::int64_t>(start64, end));  // both within 0 and S
  // Every pen goes through the coverage stroker, so every curve may take
  // the outline of its dense columns; the shown curves are laid out in one
  // pass over the samples.
  m_shown.clear();
  for (int c = 0; c < nCurves; ++c)
    if (static_cast<std::size_t>(c) >= m_styles.size() || !m_styles[static_cast<std::size_t>(c)].bHidden)
      m_shown.push_back(c);
  MapStrokes(m_shown.data(), static_cast<int>(m_shown.size()), start, end, S, true);
  m_shownStrokes.swap(m_strokes);
  for (std::size_t i = 0; i < m_shown.size(); ++i) {
    const int c = m_shown[i];
    const Pen& pen = CurvePen(c, false);
    const std::vector<PointF>& stroke = m_shownStrokes[i];
    if (!stroke.empty()) g.DrawLines(&pen, stroke.data(), static_cast<INT>(stroke.size()));
    if (static_cast<std::size_t>(c) < m_highlights.size()) {
      // Highlights go over their own curve and under later ones.
      const int from = std::max(m_highlights[static_cast<std::size_t>(c)].first, 0);
      const int stop = std::min(m_highlights[static_cast<std::size_t>(c)].second, end);
      const Pen& mark = CurvePen(c, true);
      const int n = MapStroke(c, from, stop, S, true);
      if (n > 0) g.DrawLines(&mark, m_points.data(), n);
    }
    // m_points holds the last stroke drawn.
    if (i + 1 == m_shown.size() && static_cast<std::size_t>(c) >= m_highlights.size()) m_points.swap(m_shownStrokes[i]);
  }
}

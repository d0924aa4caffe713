// What the user does with a graph: a view of its own, a pause, the styles and
// visibility of curves, the colour scheme, and reading values back. None of
// it touches the samples or the host's ranges and modes.
#include <orvek/plotting/drawer/GraphDrawer.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

using namespace Gdiplus;

namespace {

// Curves on a light ground: darker tones of the default green, orange and
// cyan, and highlights that stand out on white.
constexpr DWORD kLightNormal[3] = {0xC0008000u, 0xC0E04000u, 0xFF0050C0u};
constexpr DWORD kLightHighlight[3] = {0xC08000FFu, 0xC0C08000u, 0xFFB000B0u};
constexpr int kMaxStyledCurves = 1000000;
constexpr std::size_t kSchemePens = 6;  // light normal and highlight pens come first

bool StyleIndex(int iCurve) { return iCurve >= 0 && iCurve < kMaxStyledCurves; }

// A header cell, quoted where the name holds a comma, a quote or a line end.
std::string CsvCell(const std::string& s) {
  if (s.find_first_of(",\"\r\n") == std::string::npos) return s;
  std::string q = "\"";
  for (char ch : s) q += ch == '"' ? std::string("\"\"") : std::string(1, ch);
  return q + "\"";
}

}  // namespace

CGraphDrawer::tagDrawState CGraphDrawer::LiveState(void) const {
  tagDrawState st;
  st.nCurves = m_nCurves;
  st.host = {static_cast<double>(m_iXFrom), static_cast<double>(m_iXTo) - 1.0, m_dYMin, m_dYMax};
  st.xLabels[0] = m_fXMin;
  st.xLabels[1] = m_fXMax;
  st.yIdentity = m_bAutoY != 0;
  st.yLabels[0] = st.yIdentity ? static_cast<float>(m_dYMin) : m_fYAxisMin;
  st.yLabels[1] = st.yIdentity ? static_cast<float>(m_dYMax) : m_fYAxisMax;
  return st;
}

tagPlotView CGraphDrawer::DrawView(void) const {
  if (m_bUserView) return m_view;
  return m_bPaused ? m_frozen.host : LiveState().host;
}

double CGraphDrawer::XAxisValue(const tagDrawState& st, double x) {
  const double span = st.host.dLast - st.host.dFirst;
  const double a = st.xLabels[0], b = st.xLabels[1];
  return span == 0 ? a : a + (x - st.host.dFirst) / span * (b - a);
}

double CGraphDrawer::YAxisValue(const tagDrawState& st, double v) {
  if (st.yIdentity) return v;
  const double span = st.host.dTop - st.host.dBottom;
  const double a = st.yLabels[0], b = st.yLabels[1];
  return span == 0 ? a : a + (v - st.host.dBottom) / span * (b - a);
}

const CGraphDrawer::tagDrawState& CGraphDrawer::AxisState(tagDrawState* pLive) const {
  if (m_bPaused) return m_frozen;
  *pLive = LiveState();
  return *pLive;
}

long long CGraphDrawer::DrawnLength(void) const {
  const int n = DrawCurveCount();
  return n > 0 ? static_cast<long long>(DrawSamples().size() / static_cast<std::size_t>(n)) : 0;
}

double CGraphDrawer::DrawnSample(int c, long long i) const {
  const std::vector<int>& offsets = DrawOffsets();
  const long long offset = static_cast<std::size_t>(c) < offsets.size() ? offsets[static_cast<std::size_t>(c)] : 0;
  const long long row = (offset + i) % DrawnLength();
  return DrawSamples()[static_cast<std::size_t>(row * DrawCurveCount() + c)];
}

void CGraphDrawer::ViewLabels(float* pX0, float* pX1, float* pY0, float* pY1) const {
  tagDrawState live;
  const tagDrawState& st = AxisState(&live);
  if (!m_bUserView) {
    *pX0 = st.xLabels[0];
    *pX1 = st.xLabels[1];
    *pY0 = st.yLabels[0];
    *pY1 = st.yLabels[1];
    return;
  }
  *pX0 = static_cast<float>(XAxisValue(st, m_view.dFirst));
  *pX1 = static_cast<float>(XAxisValue(st, m_view.dLast));
  *pY0 = static_cast<float>(YAxisValue(st, m_view.dBottom));
  *pY1 = static_cast<float>(YAxisValue(st, m_view.dTop));
}

const Pen& CGraphDrawer::CurvePen(int c, bool bHighlight) const {
  const std::size_t i = static_cast<std::size_t>(c);
  const bool styled = i < m_styles.size() && (m_styles[i].argb != 0 || m_styles[i].fWidth > 0.0f);
  if (styled) return m_stylePens[kSchemePens + 2 * i + (bHighlight ? 1 : 0)];
  if (m_scheme == eSchemeLight) return m_stylePens[(bHighlight ? 3 : 0) + i % 3];
  const tagCurvePens* pens = Pens();  // stays while this drawer lives
  return bHighlight ? pens->highlight[c % 3] : pens->normal[c % 3];
}

void CGraphDrawer::RebuildPens(void) {
  const tagCurvePens* pens = Pens();
  m_stylePens.clear();
  for (int k = 0; k < 3; ++k) m_stylePens.emplace_back(Color(kLightNormal[k]), pens->normal[k].GetWidth());
  for (int k = 0; k < 3; ++k) m_stylePens.emplace_back(Color(kLightHighlight[k]), pens->highlight[k].GetWidth());
  const bool light = m_scheme == eSchemeLight;
  for (std::size_t i = 0; i < m_styles.size(); ++i) {
    const tagCurveStyle& st = m_styles[i];
    Color normal, highlight;
    pens->normal[i % 3].GetColor(&normal);
    pens->highlight[i % 3].GetColor(&highlight);
    const DWORD base = light ? kLightNormal[i % 3] : normal.GetValue();
    const float width = st.fWidth > 0.0f ? st.fWidth : pens->normal[i % 3].GetWidth();
    m_stylePens.emplace_back(Color(st.argb != 0 ? st.argb : base), width);
    m_stylePens.emplace_back(Color(light ? kLightHighlight[i % 3] : highlight.GetValue()),
                             std::max(width, pens->highlight[i % 3].GetWidth()));
  }
}

tagPlotView CGraphDrawer::GetView(void) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  return DrawView();
}

void CGraphDrawer::SetView(const tagPlotView& view) {
  if (!orvek_view::Usable(view)) return;
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  m_view = view;
  m_bUserView = true;
  RedrawAll();
}

void CGraphDrawer::ResetView(void) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  m_bUserView = false;
  RedrawAll();
}

BOOL CGraphDrawer::HasUserView(void) {
  CSingleLock range(&m_csRange, TRUE);
  RangesReadableUnderRange();
  return m_bUserView ? TRUE : FALSE;
}

void CGraphDrawer::SetPaused(BOOL bPaused) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  if ((bPaused != 0) == m_bPaused) return;
  if (bPaused) {
    m_frozen = LiveState();
    m_frozen.samples = m_samples;
    m_frozen.rowOffsets = m_rowOffsets;
    m_bPaused = true;
  } else {
    m_bPaused = false;
    m_frozen = tagDrawState();
  }
  // Either way the picture is drawn once from what is drawn from now on.
  RedrawAll();
}

BOOL CGraphDrawer::IsPaused(void) {
  CSingleLock range(&m_csRange, TRUE);
  RangesReadableUnderRange();
  return m_bPaused ? TRUE : FALSE;
}

void CGraphDrawer::RedrawAll(void) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  RedrawBackground();
  DrawCurves(m_pFrameBitmap, m_pAxesBitmap, INT_MIN, INT_MAX);
  // What was waiting is in the picture now, unless the picture is paused.
  if (!m_bPaused) m_bAxesPending = m_bDataPending = 0;
}

void CGraphDrawer::SetCurveStyle(int iCurve, const wchar_t* pszName, DWORD argb, float fWidth) {
  if (!StyleIndex(iCurve)) return;
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  if (m_styles.size() <= static_cast<std::size_t>(iCurve)) m_styles.resize(static_cast<std::size_t>(iCurve) + 1);
  tagCurveStyle& st = m_styles[static_cast<std::size_t>(iCurve)];
  st.sName = pszName ? pszName : L"";
  st.argb = argb;
  // A width that is not a finite number above 0 keeps the default.
  st.fWidth = std::isfinite(fWidth) && fWidth > 0.0f ? std::min(fWidth, 64.0f) : 0.0f;
  RebuildPens();
  RedrawAll();
}

void CGraphDrawer::SetCurveVisible(int iCurve, BOOL bVisible) {
  if (!StyleIndex(iCurve)) return;
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  if (m_styles.size() <= static_cast<std::size_t>(iCurve)) {
    if (bVisible) return;
    m_styles.resize(static_cast<std::size_t>(iCurve) + 1);
    RebuildPens();
  }
  m_styles[static_cast<std::size_t>(iCurve)].bHidden = !bVisible;
  RedrawAll();
}

void CGraphDrawer::SetColorScheme(eColorScheme scheme) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  m_scheme = scheme == eSchemeLight ? eSchemeLight : eSchemeDark;
  RebuildPens();
  RedrawAll();
}

eColorScheme CGraphDrawer::GetColorScheme(void) {
  CSingleLock range(&m_csRange, TRUE);
  RangesReadableUnderRange();
  return m_scheme;
}

tagCurveStyle CGraphDrawer::GetCurveStyle(int iCurve) {
  CSingleLock range(&m_csRange, TRUE);
  RangesReadableUnderRange();
  tagCurveStyle st;
  if (iCurve < 0) return st;
  if (static_cast<std::size_t>(iCurve) < m_styles.size()) st = m_styles[static_cast<std::size_t>(iCurve)];
  const Pen& pen = CurvePen(iCurve, false);
  Color colour;
  pen.GetColor(&colour);
  st.argb = colour.GetValue();
  st.fWidth = pen.GetWidth();
  return st;
}

int CGraphDrawer::ReadAt(double dFraction, double* pX, double* pValues, int nMax) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  tagDrawState live;
  const tagDrawState& st = AxisState(&live);
  const tagPlotView view = DrawView();
  const double x = orvek_view::Lerp(view.dFirst, view.dLast, dFraction);
  if (pX) *pX = XAxisValue(st, x);
  const int n = DrawCurveCount();
  const double nearest = std::floor(x + 0.5);
  const bool inside = std::isfinite(nearest) && nearest >= 0 && nearest < static_cast<double>(DrawnLength());
  for (int c = 0; pValues && c < n && c < nMax; ++c)
    pValues[c] = inside ? YAxisValue(st, DrawnSample(c, static_cast<long long>(nearest)))
                        : std::numeric_limits<double>::quiet_NaN();
  return n;
}

CStringW CGraphDrawer::FormatValue(double dValue, double dStep) {
  CStringW s;
  if (!std::isfinite(dValue)) return CStringW(L"-");
  const double step = std::fabs(dStep);
  if (!(step > 0) || !std::isfinite(step) || std::fabs(dValue) >= 1e15) {
    s.Format(L"%g", dValue);
  } else {
    FormatGridCaption(&s, static_cast<float>(dValue), static_cast<float>(step), eAxisX, 1);
    s.Trim();
  }
  return s;
}

void CGraphDrawer::GetViewSteps(double* pXStep, double* pYStep) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  float x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  ViewLabels(&x0, &x1, &y0, &y1);
  const double w = std::max(m_rcPlot.Width - 1, 1), h = std::max(m_rcPlot.Height - 1, 1);
  if (pXStep) *pXStep = (static_cast<double>(x1) - x0) / w;
  if (pYStep) *pYStep = (static_cast<double>(y1) - y0) / h;
}

CStringA CGraphDrawer::ViewAsCsv(void) {
  CSingleLock data(&m_csData, TRUE);
  CSingleLock range(&m_csRange, TRUE);
  RangesWritable();
  tagDrawState live;
  const tagDrawState& st = AxisState(&live);
  const tagPlotView view = DrawView();
  const int n = DrawCurveCount();
  const long long S = DrawnLength();
  std::string out = "x";
  for (int c = 0; c < n; ++c) {
    const std::size_t i = static_cast<std::size_t>(c);
    const bool named = i < m_styles.size() && m_styles[i].sName.GetLength() > 0;
    out += ",";
    out += named ? CsvCell(CStringA(m_styles[i].sName).GetString()) : "curve " + std::to_string(c + 1);
  }
  out += "\n";
  // Clamped to the store before the conversion: a view may reach far beyond it.
  const double lo = std::clamp(std::ceil(std::min(view.dFirst, view.dLast)), 0.0, static_cast<double>(S));
  const double hi = std::clamp(std::floor(std::max(view.dFirst, view.dLast)), -1.0, static_cast<double>(S) - 1.0);
  const long long first = static_cast<long long>(lo), last = static_cast<long long>(hi);
  char cell[40];
  for (long long i = first; i <= last; ++i) {
    std::snprintf(cell, sizeof cell, "%.9g", XAxisValue(st, static_cast<double>(i)));
    out += cell;
    for (int c = 0; c < n; ++c) {
      std::snprintf(cell, sizeof cell, ",%.9g", YAxisValue(st, DrawnSample(c, i)));
      out += cell;
    }
    out += "\n";
  }
  return CStringA(out);
}

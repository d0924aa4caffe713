#include <orvek/plotting/windows/GraphWnd.h>

#include <QGuiApplication>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/gfx/GraphicsSession.h>
#include <orvek/platform/gfx/QtInterop.h>
#include <orvek/platform/ui/Dc.h>
#include <orvek/platform/ui/Wnd_p.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
#include <orvek/plotting/windows/GraphInteraction_p.h>

namespace {
constexpr UINT_PTR kRedrawTimerId = 1;
constexpr UINT kDefaultPeriodMs = 40;

// Bitmaps above this many pixels (1 GiB each) are not even asked for.
constexpr long long kMaxPixels = 1LL << 28;

// Both bitmaps of a drawer at a logical size and device pixel ratio, and the
// plot rectangle in logical pixels. A size the bitmaps cannot take leaves
// them invalid (every drawing call on them does nothing) and, with no
// pixels to lay the axes out on, an empty plot.
void MakeBitmaps(CGraphDrawer* d, int W, int H, double ratio) ORVEK_REQUIRES(d->m_csData) {
  const double physical = static_cast<double>(W) * ratio * static_cast<double>(H) * ratio;
  const bool fits = physical <= static_cast<double>(kMaxPixels);
  const auto make = [&] {
    return new Gdiplus::Bitmap(fits ? W : 0, fits ? H : 0, Gdiplus::PixelFormat32bppRGB,
                               static_cast<Gdiplus::REAL>(ratio));
  };
  d->m_pAxesBitmap = make();
  d->m_pFrameBitmap = make();
  d->m_rcPlot = Gdiplus::Rect(0, 0, W, H);
  if (!fits || d->m_pAxesBitmap->GetLastStatus() == Gdiplus::OutOfMemory ||
      d->m_pFrameBitmap->GetLastStatus() == Gdiplus::OutOfMemory)
    d->m_rcPlot = Gdiplus::Rect(0, 0, 0, 0);
}

// The smallest graph a host's layout makes.
constexpr int kMinWidth = 40;
constexpr int kMinHeight = 30;

// A graph that follows its size takes the room a layout has; one that does
// not keeps Qt's default.
void SetResizePolicy(QWidget* w, BOOL bResize) {
  const QSizePolicy::Policy p = bResize ? QSizePolicy::Expanding : QSizePolicy::Preferred;
  w->setSizePolicy(p, p);
}
}  // namespace

CGraphWnd::CGraphWnd(void)
    : m_pDrawer(nullptr), m_nCurves(0), m_nHistory(0), m_nRedrawTimer(0), m_bNeedRedraw(0), m_pInteraction(nullptr) {}

CGraphWnd::~CGraphWnd(void) { orvek_plot::DetachInteraction(m_pInteraction); }

void CGraphWnd::Create(tagRECT rcWindow, CWnd* pParent, const wchar_t* pTitle, const wchar_t* pXName,
                       const wchar_t* pYName) {
  // A second Create would otherwise leak the first drawer and its bitmaps.
  if (m_pDrawer) Destroy();
  m_nCurves = 1;
  CGraphDrawer* d = new CGraphDrawer;
  const int W = orvek_ui::SpanOf(rcWindow.left, rcWindow.right);
  const int H = orvek_ui::SpanOf(rcWindow.top, rcWindow.bottom);
  if (COrvekGlobals::m_GdiToken == 0) {
    GdiplusStartupInput input;
    if (GdiplusStartup(&d->m_gdiToken, &input, nullptr) != 0) d->m_gdiToken = 0;
  }
  // At the ratio of the screen the window opens on: its parent's, else the
  // application's; a paint on another screen remakes them.
  QWidget* onScreen = pParent ? pParent->GetQWidget() : nullptr;
  const auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
  m_dBitmapRatio = onScreen ? onScreen->devicePixelRatioF() : app ? app->devicePixelRatio() : 1.0;
  m_szBitmaps = tagSIZE{W, H};
  {
    // No other thread knows the drawer yet: the lock cannot wait, and it is
    // given back before m_csDrawer is taken.
    CSingleLock data(&d->m_csData, TRUE);
    MakeBitmaps(d, W, H, m_dBitmapRatio);
    if (pTitle) d->m_sTitle = pTitle;
    if (pXName) d->m_sXName = pXName;
    if (pYName) d->m_sYName = pYName;
  }
  {
    CSingleLock lock(&m_csDrawer, TRUE);
    m_pDrawer = d;
  }

  if (!m_hWnd) CWnd::Create(nullptr, L"", WS_CHILD | WS_VISIBLE, rcWindow, pParent, static_cast<UINT>(-1));
  // Every paint covers the whole window with the frame bitmap: nothing needs
  // to be painted under it first.
  if (QWidget* w = GetQWidget()) {
    w->setAttribute(Qt::WA_OpaquePaintEvent);
    w->setAttribute(Qt::WA_NoSystemBackground);
    if (!m_pInteraction) m_pInteraction = orvek_plot::AttachInteraction(this, w);
    // What a host's layout asks of the graph (the window layer answers these).
    w->setProperty("orvekSizeHint", QSize(W, H));
    w->setProperty("orvekMinimumSizeHint", QSize(kMinWidth, kMinHeight));
    SetResizePolicy(w, m_bResize);
  }
  m_nRedrawTimer = SetTimer(kRedrawTimerId, kDefaultPeriodMs, nullptr);
}

void CGraphWnd::Create(const tagGraphWndInfo* pInfo, CWnd* pParent, float fRedrawRate) {
  if (!pInfo) return;
  Create(pInfo->rcWindow, pParent, pInfo->pTitle, pInfo->pXName, pInfo->pYName);
  m_nCurves = pInfo->nCurves < 1 ? 1 : pInfo->nCurves;
  SetRedrawTimer(fRedrawRate);
}

void CGraphWnd::SetRedrawTimer(float fRedrawRate) {
  UINT period = kDefaultPeriodMs;
  // Rounded to whole milliseconds in single precision; a rate that is not
  // above 0 keeps the default rather than an undefined period.
  if (fRedrawRate > 0.0f) {
    const float ms = 1000.0f / fRedrawRate + 0.5f;
    period = ms >= static_cast<float>(std::numeric_limits<UINT>::max()) ? std::numeric_limits<UINT>::max()
                                                                        : static_cast<UINT>(ms);
  }
  m_nRedrawTimer = SetTimer(kRedrawTimerId, period, nullptr);
}

void CGraphWnd::KillRedrawTimer(void) {
  if (::IsWindow(m_hWnd)) KillTimer(m_nRedrawTimer);
  m_nRedrawTimer = 0;
}

void CGraphWnd::Destroy(void) {
  CGraphDrawer* d = nullptr;
  {
    // A SaveImage on another thread finishes with the drawer first.
    CSingleLock lock(&m_csDrawer, TRUE);
    d = m_pDrawer;
    m_pDrawer = nullptr;
  }
  if (d) {
    {
      // No longer published, and nothing else is held here: the lock
      // cannot close a cycle.
      CSingleLock data(&d->m_csData, TRUE);
      delete d->m_pAxesBitmap;
      delete d->m_pFrameBitmap;
      d->m_pAxesBitmap = nullptr;
      d->m_pFrameBitmap = nullptr;
    }
    const ULONG token = d->m_gdiToken;
    delete d;
    if (token != 0) GdiplusShutdown(token);
  }
  KillRedrawTimer();
  orvek_plot::DetachInteraction(m_pInteraction);
  m_pInteraction = nullptr;
}

// ---- intake ----

template <typename T>
void CGraphWnd::DrawGraph(int iCurve, const void* pData, int nCount, int nStride) {
  if (iCurve >= m_nCurves || !m_pDrawer) return;
  m_pDrawer->SetData<T>(const_cast<T*>(static_cast<const T*>(pData)), nCount, nStride, iCurve, m_nCurves);
  m_bNeedRedraw.store(1);
}

template <typename T>
void CGraphWnd::DrawGraphHistory(int iCurve, const void* pData, int nCount, int nHistory, int nStride) {
  if (iCurve >= m_nCurves || !m_pDrawer) return;
  // Threads that feed other curves move the length too: it changes with the
  // block it sizes, under the lock the intake takes first anyway.
  CSingleLock lock(&m_pDrawer->m_csData, TRUE);
  if (nHistory > m_nHistory) m_nHistory = nHistory;
  m_pDrawer->SetDataHistory<T>(const_cast<T*>(static_cast<const T*>(pData)), nCount, m_nHistory, nStride, iCurve,
                               m_nCurves);
  m_bNeedRedraw.store(1);
}

template <typename T>
void CGraphWnd::DrawGraphHistoryCircular(int iCurve, const void* pData, int nCount, int nHistory, int nStride) {
  if (iCurve >= m_nCurves || !m_pDrawer) return;
  CSingleLock lock(&m_pDrawer->m_csData, TRUE);  // as in DrawGraphHistory
  m_nHistory = nHistory;
  m_pDrawer->SetDataHistoryCircular<T>(const_cast<T*>(static_cast<const T*>(pData)), nCount, nHistory, nStride, iCurve,
                                       m_nCurves);
  m_bNeedRedraw.store(1);
}

template <typename T>
void CGraphWnd::DrawGraphAvg(int iCurve, const void* pData, int nCount, double dFactor, int nStride) {
  if (iCurve >= m_nCurves || !m_pDrawer) return;
  m_pDrawer->SetDataAvg<T>(const_cast<T*>(static_cast<const T*>(pData)), nCount, dFactor, nStride, iCurve, m_nCurves);
  m_bNeedRedraw.store(1);
}

#define ORVEK_GRAPHWND_INSTANTIATE(T)                                                                       \
  template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraph<T>(int, const void*, int, int);                     \
  template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphHistory<T>(int, const void*, int, int, int);         \
  template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphHistoryCircular<T>(int, const void*, int, int, int); \
  template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphAvg<T>(int, const void*, int, double, int);
ORVEK_PLOT_ELEMENT_TYPES(ORVEK_GRAPHWND_INSTANTIATE)
#undef ORVEK_GRAPHWND_INSTANTIATE

// ---- ranges and marks ----

void CGraphWnd::SetROI(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax,
                       float fYAxisMin, float fYAxisMax, int nYDivs) {
  if (m_pDrawer) m_pDrawer->SetROI(iFrom, iTo, fXMin, fXMax, nXDivs, dYMin, dYMax, fYAxisMin, fYAxisMax, nYDivs);
}

void CGraphWnd::SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax,
                            int nYDivs) {
  if (m_pDrawer) m_pDrawer->SetROIAutoY(iFrom, iTo, fXMin, fXMax, nXDivs, dYMin, dYMax, nYDivs);
}

void CGraphWnd::SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs) {
  if (m_pDrawer) m_pDrawer->SetROIAutoY(iFrom, iTo, fXMin, fXMax, nXDivs, nYDivs);
}

void CGraphWnd::HighlightCurve(int iCurve, int iFrom, int iTo) {
  if (iCurve >= m_nCurves || !m_pDrawer) return;
  m_pDrawer->SetHighlight(iCurve, iFrom, iTo, m_nCurves);
}

LONG CGraphWnd::ResetAdaptation(void) {
  if (m_pDrawer) {
    // The intake reads the flag under this lock.
    CSingleLock lock(&m_pDrawer->m_csData, TRUE);
    m_pDrawer->m_bResetAdaptation = 1;
  }
  return S_OK;
}

int CGraphWnd::IsDrawed(void) { return m_bNeedRedraw.load() ? 0 : 1; }

LONG CGraphWnd::SaveImage(const wchar_t* pszPath) {
  CSingleLock life(&m_csDrawer, TRUE);
  if (!pszPath || !m_pDrawer) return E_FAIL;
  CSingleLock lock(&m_pDrawer->m_csData, TRUE);
  const Gdiplus::Bitmap* frame = m_pDrawer->m_pFrameBitmap;
  return frame && frame->SavePng(pszPath) == Gdiplus::Ok ? S_OK : E_FAIL;
}

// ---- handlers ----

void CGraphWnd::OnTimer(UINT nIDEvent) {
  if (nIDEvent == m_nRedrawTimer && m_bNeedRedraw.load() && IsWindowVisible()) {
    // Cleared before the paint: a block that comes in between is drawn by
    // that paint and asks for one more.
    m_bNeedRedraw.store(0);
    InvalidateRect(nullptr, FALSE);
  }
  Default();
}

void CGraphWnd::OnSize(UINT nType, int cx, int cy) {
  CWnd::OnSize(nType, cx, cy);
  if (!m_bResize) return;
  // From the widget: the message's words cut sizes above 65535.
  CRect rc;
  GetClientRect(&rc);
  RemakeBitmaps(rc.Width(), rc.Height(), m_dBitmapRatio);
  InvalidateRect(nullptr, FALSE);
}

void CGraphWnd::EnableResize(BOOL bEnable) {
  m_bResize = bEnable ? TRUE : FALSE;
  QWidget* w = GetQWidget();
  if (!w) return;
  SetResizePolicy(w, m_bResize);
  if (!m_bResize) return;
  RemakeBitmaps(w->width(), w->height(), m_dBitmapRatio);
  InvalidateRect(nullptr, FALSE);
}

void CGraphWnd::RemakeBitmaps(int nWidth, int nHeight, double dRatio) {
  if (nWidth == m_szBitmaps.cx && nHeight == m_szBitmaps.cy && dRatio == m_dBitmapRatio) return;
  CSingleLock life(&m_csDrawer, TRUE);
  CGraphDrawer* d = m_pDrawer;
  if (!d) return;
  {
    // The order of every holder of these: a paint, SetROI or SaveImage on
    // another thread sees the old bitmaps or the new ones, never neither.
    CSingleLock data(&d->m_csData, TRUE);
    CSingleLock range(&d->m_csRange, TRUE);
    delete d->m_pAxesBitmap;
    delete d->m_pFrameBitmap;
    MakeBitmaps(d, nWidth, nHeight, dRatio);
    m_szBitmaps = tagSIZE{nWidth, nHeight};
    m_dBitmapRatio = dRatio;
    d->RedrawAll();
  }
}

void CGraphWnd::OnPaint(void) {
  // A window moved to a screen of another density draws at the new one.
  if (QWidget* w = GetQWidget()) RemakeBitmaps(m_szBitmaps.cx, m_szBitmaps.cy, w->devicePixelRatioF());
  CPaintDC dc(this);
  CGraphDrawer* d = m_pDrawer;
  if (!d) return;  // destroyed: the window waits for its end
  CSingleLock lock(&d->m_csData, TRUE);
  // A paused picture keeps what is pending for the resume.
  if (!d->IsPaused()) d->DrawPending();
  // The copy to the window stays under the lock as well: SetROI on a host
  // thread draws into the frame bitmap, and the copy is short.
  if (QPainter* painter = dc.GetPainter()) {
    std::unique_ptr<Gdiplus::Graphics> g = Gdiplus::GraphicsOnPainter(painter);
    g->DrawImage(d->m_pFrameBitmap, d->m_rcPlot.X, d->m_rcPlot.Y);
    g.reset();
    orvek_plot::PaintInteraction(m_pInteraction, d, painter);
  }
}

// ---- the user's view, from the host ----

template <typename F>
void CGraphWnd::RedrawWith(F&& change) {
  CSingleLock life(&m_csDrawer, TRUE);
  if (!m_pDrawer) return;
  change(m_pDrawer);
  InvalidateRect(nullptr, FALSE);
}

void CGraphWnd::SetPaused(BOOL bPaused) {
  RedrawWith([&](CGraphDrawer* d) { d->SetPaused(bPaused); });
}

BOOL CGraphWnd::IsPaused(void) {
  CSingleLock life(&m_csDrawer, TRUE);
  return m_pDrawer ? m_pDrawer->IsPaused() : FALSE;
}

void CGraphWnd::ResetView(void) {
  RedrawWith([](CGraphDrawer* d) { d->ResetView(); });
}

void CGraphWnd::SetCurveStyle(int iCurve, const wchar_t* pszName, DWORD argb, float fWidth) {
  RedrawWith([&](CGraphDrawer* d) { d->SetCurveStyle(iCurve, pszName, argb, fWidth); });
}

void CGraphWnd::SetColorScheme(eColorScheme scheme) {
  RedrawWith([&](CGraphDrawer* d) { d->SetColorScheme(scheme); });
}

LONG CGraphWnd::ExportData(const wchar_t* pszPath) {
  if (!pszPath) return E_POINTER;
  CSingleLock life(&m_csDrawer, TRUE);
  if (!m_pDrawer) return E_FAIL;
  const CStringA text = m_pDrawer->ViewAsCsv();
  std::FILE* f = std::fopen(CStringA(pszPath).GetString(), "wb");
  if (!f) return E_FAIL;
  const std::size_t n = static_cast<std::size_t>(text.GetLength());
  const bool written = std::fwrite(text.GetString(), 1, n, f) == n;
  return std::fclose(f) == 0 && written ? S_OK : E_FAIL;
}

void CGraphWnd::EnableInteraction(BOOL bEnable) { orvek_plot::EnableInteraction(m_pInteraction, bEnable != 0); }

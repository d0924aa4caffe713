#include <orvek/plotting/windows/GraphsWindow.h>

#include <QWidget>

#include <algorithm>
#include <cmath>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/ui/MessageLoop_p.h>
#include <orvek/platform/ui/Wnd_p.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
#include <orvek/tuning/placement/ToolWindows_p.h>

namespace {

constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;
constexpr DWORD kExStyle = WS_EX_TOOLWINDOW;
constexpr int kMargin = 10;
// A graph larger than this at Create never gets smaller by resizing.
constexpr int kMinGraphWidth = 40;
constexpr int kMinGraphHeight = 30;

// An edge of a Create rectangle at a new client size. One rounding for every
// edge keeps their order, so graphs that did not overlap never come to.
LONG ScaleEdge(LONG edge, int now, LONG base) {
  if (base <= 0) return edge;
  return static_cast<LONG>(std::floor(static_cast<double>(edge) * now / base + 0.5));
}

// The smallest client side that leaves a graph side of `side` at Create at
// least `least`: scaled by s, a side comes out above side * s - 1. A side
// that was smaller from the start sets no limit and scales with the rest.
LONG LeastClient(LONG side, int least, LONG base) {
  if (side < least) return 0;
  return static_cast<LONG>((static_cast<long long>(least) * base + side - 1) / side);
}

bool InList(const std::vector<CGraphWnd*>& graphs, int iGraph) {
  return iGraph >= 0 && static_cast<std::size_t>(iGraph) < graphs.size();
}

// The frame of every call with an index: under m_csGraphs, E_FAIL for an
// index outside the list (and, for the intake, for a window that is gone),
// else the work on the entry, which is skipped where it holds no graph.
template <typename F>
LONG WithGraph(CGraphsWindow* self, int iGraph, bool bNeedWindow, F&& work) {
  CSingleLock lock(&self->m_csGraphs, TRUE);
  if (!InList(self->m_graphs, iGraph)) return E_FAIL;
  // A host that has left its loop will not paint again: its feeders stop.
  if (bNeedWindow && (!::IsWindow(self->m_hWnd) || orvek_ui::HostLeftLoop())) return E_FAIL;
  if (CGraphWnd* g = self->m_graphs[static_cast<std::size_t>(iGraph)]) work(g);
  return S_OK;
}

}  // namespace

CGraphsWindow::CGraphsWindow(void) : m_hBrush(nullptr) {}

CGraphsWindow::~CGraphsWindow(void) {
  // Ended here while this object is whole, so that OnDestroy takes it out of
  // the tool windows; CWnd's end would only see its own handlers.
  if (::IsWindow(m_hWnd)) DestroyWindow();
  Destroy();
  // A call still inside the lock on another thread finishes before it goes.
  CSingleLock last(&m_csGraphs, TRUE);
}

int CGraphsWindow::Create(tagGraphWndInfo* pInfo, int nGraphs, CWnd* pParent, float fRedrawRate) {
  if (nGraphs < 0 || (nGraphs > 0 && !pInfo)) return 0;

  // The area for the graphs: the main window's rectangle (or 1024 x 768)
  // less what a frame of this style takes.
  CRect layout(0, 0, 1024, 768);
  if (!pParent) {
    CWinThread* thread = AfxGetThread();
    if (CWnd* main = thread ? thread->GetMainWnd() : nullptr) {
      pParent = main;
      main->GetWindowRect(&layout);
    }
  }
  const DWORD style = kStyle | (m_bResize ? WS_THICKFRAME : 0);
  CRect framed(layout);
  AdjustWindowRectEx(&framed, style, FALSE, kExStyle);
  CRect area(0, 0, 2 * layout.Width() - framed.Width(), 2 * layout.Height() - framed.Height());

  // Sizes are kept; a rectangle that overlaps one placed before moves to the
  // nearest free place in the area, any other stays where the host put it.
  std::vector<CRect> placed;
  for (int i = 0; i < nGraphs; ++i) {
    CRect r(pInfo[i].rcWindow);
    COrvekGlobals::CalculateClosestNonIntersectRect(&r, area, &placed);
    placed.push_back(r);
    pInfo[i].rcWindow = r;
  }
  int cx = 0, cy = 0;
  for (int i = 0; i < nGraphs; ++i) {
    OffsetRect(&pInfo[i].rcWindow, kMargin, kMargin);
    cx = std::max<int>(cx, pInfo[i].rcWindow.right);
    cy = std::max<int>(cy, pInfo[i].rcWindow.bottom);
  }
  cx += kMargin;
  if (nGraphs > 0) cy += kMargin;

  if (m_hBrush) DeleteObject(m_hBrush);
  m_hBrush = CreateSolidBrush(RGB(0, 0, 0));
  const wchar_t* wndClass = AfxRegisterWndClass(CS_OWNDC, nullptr, m_hBrush, nullptr);

  CRect rcWindow(0, 0, cx, cy);
  AdjustWindowRectEx(&rcWindow, style, FALSE, kExStyle);
  if (!CreateEx(kExStyle, wndClass, m_title.GetString(), style, rcWindow, pParent, 0)) return 0;

  CSingleLock lock(&m_csGraphs, TRUE);
  m_graphs.resize(static_cast<std::size_t>(nGraphs), nullptr);
  for (int i = 0; i < nGraphs; ++i) {
    if (pInfo[i].nCurves == 0) continue;  // a gap: the entry stays null
    CGraphWnd* g = new CGraphWnd;
    m_graphs[static_cast<std::size_t>(i)] = g;
    g->Create(&pInfo[i], this, fRedrawRate);
  }
  // A window made again after a close lays out the new descriptions.
  m_rects.clear();
  for (int i = 0; i < nGraphs; ++i) m_rects.push_back(pInfo[i].rcWindow);
  m_baseRects = m_rects;
  m_baseClient = tagSIZE{cx, cy};
  ApplyResizeLimits();
  CenterWindow();
  RegisterToolWindow(m_hWnd);
  return 1;
}

void CGraphsWindow::Destroy(void) {
  if (m_hBrush) {
    DeleteObject(m_hBrush);
    m_hBrush = nullptr;
  }
  CSingleLock lock(&m_csGraphs, TRUE);
  for (CGraphWnd*& g : m_graphs) {
    if (!g) continue;
    g->Destroy();
    delete g;  // ends its child window
    g = nullptr;
  }
  m_graphs.clear();
}

void CGraphsWindow::ShowWindow(void) {
  if (!::IsWindow(m_hWnd)) return;
  PlaceToolWindow(m_hWnd);
  CWnd::ShowWindow(SW_SHOWNORMAL);
}

void CGraphsWindow::HideWindow(void) {
  if (::IsWindow(m_hWnd)) CWnd::ShowWindow(SW_HIDE);
}

int CGraphsWindow::ShowWindow(int nCmdShow) { return CWnd::ShowWindow(nCmdShow); }

int CGraphsWindow::IsGraphDrawed(int iGraph) {
  // Under the lock as well: the user may be closing the window right now.
  CSingleLock lock(&m_csGraphs, TRUE);
  if (!InList(m_graphs, iGraph)) return 1;
  const CGraphWnd* g = m_graphs[static_cast<std::size_t>(iGraph)];
  return g && g->m_bNeedRedraw.load() ? 0 : 1;
}

LONG CGraphsWindow::GetGraphWndRect(int iGraph, CRect* pRect) {
  if (!pRect) return E_POINTER;
  CSingleLock lock(&m_csGraphs, TRUE);
  if (iGraph < 0 || static_cast<std::size_t>(iGraph) >= m_rects.size()) return E_FAIL;
  *pRect = CRect(m_rects[static_cast<std::size_t>(iGraph)]);
  return S_OK;
}

LONG CGraphsWindow::SetROIAutoY(int iGraph, int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs) {
  return WithGraph(this, iGraph, false,
                   [&](CGraphWnd* g) { g->SetROIAutoY(iFrom, iTo, fXMin, fXMax, nXDivs, nYDivs); });
}

LONG CGraphsWindow::SetROI(int iGraph, int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin,
                           double dYMax, float fYAxisMin, float fYAxisMax, int nYDivs) {
  return WithGraph(this, iGraph, false, [&](CGraphWnd* g) {
    g->SetROI(iFrom, iTo, fXMin, fXMax, nXDivs, dYMin, dYMax, fYAxisMin, fYAxisMax, nYDivs);
  });
}

LONG CGraphsWindow::HighlightCurve(int iGraph, int iFrom, int iTo, int iCurve) {
  return WithGraph(this, iGraph, false, [&](CGraphWnd* g) { g->HighlightCurve(iCurve, iFrom, iTo); });
}

LONG CGraphsWindow::UnhighlightCurve(int iGraph, int iCurve) {
  return WithGraph(this, iGraph, false, [&](CGraphWnd* g) { g->HighlightCurve(iCurve, 0, 0); });
}

LONG CGraphsWindow::ResetAdaptation(int iGraph) {
  return WithGraph(this, iGraph, false, [](CGraphWnd* g) { (void)g->ResetAdaptation(); });  // always S_OK
}

LONG CGraphsWindow::ResetAdaptation(void) {
  CSingleLock lock(&m_csGraphs, TRUE);
  if (m_graphs.empty()) return E_FAIL;
  for (CGraphWnd* g : m_graphs)
    if (g) (void)g->ResetAdaptation();  // always S_OK
  return S_OK;
}

LONG CGraphsWindow::SetCurveStyle(int iGraph, int iCurve, const wchar_t* pszName, DWORD argb, float fWidth) {
  return WithGraph(this, iGraph, false, [&](CGraphWnd* g) { g->SetCurveStyle(iCurve, pszName, argb, fWidth); });
}

LONG CGraphsWindow::SetPaused(int iGraph, BOOL bPaused) {
  return WithGraph(this, iGraph, false, [&](CGraphWnd* g) { g->SetPaused(bPaused); });
}

LONG CGraphsWindow::ResetView(int iGraph) {
  return WithGraph(this, iGraph, false, [](CGraphWnd* g) { g->ResetView(); });
}

LONG CGraphsWindow::ExportData(int iGraph, const wchar_t* pszPath) {
  if (!pszPath) return E_POINTER;
  LONG result = E_FAIL;  // stays for an entry without a graph
  const LONG found = WithGraph(this, iGraph, false, [&](CGraphWnd* g) { result = g->ExportData(pszPath); });
  return found == S_OK ? result : found;
}

LONG CGraphsWindow::SetColorScheme(eColorScheme scheme) {
  CSingleLock lock(&m_csGraphs, TRUE);
  if (m_graphs.empty()) return E_FAIL;
  for (CGraphWnd* g : m_graphs)
    if (g) g->SetColorScheme(scheme);
  return S_OK;
}

template <typename T>
LONG CGraphsWindow::DrawGraph(int iGraph, const void* pData, int nCount, int nStride, int iCurve) {
  return WithGraph(this, iGraph, true, [&](CGraphWnd* g) { g->DrawGraph<T>(iCurve, pData, nCount, nStride); });
}

template <typename T>
LONG CGraphsWindow::DrawGraphHistory(int iGraph, const void* pData, int nCount, int nHistory, int nStride, int iCurve) {
  return WithGraph(this, iGraph, true,
                   [&](CGraphWnd* g) { g->DrawGraphHistory<T>(iCurve, pData, nCount, nHistory, nStride); });
}

template <typename T>
LONG CGraphsWindow::DrawGraphAvg(int iGraph, const void* pData, int nCount, double dFactor, int nStride, int iCurve) {
  return WithGraph(this, iGraph, true,
                   [&](CGraphWnd* g) { g->DrawGraphAvg<T>(iCurve, pData, nCount, dFactor, nStride); });
}

#define ORVEK_GRAPHSWINDOW_INSTANTIATE(T)                                                                    \
  template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraph<T>(int, const void*, int, int, int);             \
  template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraphHistory<T>(int, const void*, int, int, int, int); \
  template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraphAvg<T>(int, const void*, int, double, int, int);
ORVEK_PLOT_ELEMENT_TYPES(ORVEK_GRAPHSWINDOW_INSTANTIATE)
#undef ORVEK_GRAPHSWINDOW_INSTANTIATE

LONG CGraphsWindow::SaveImage(const wchar_t* pszPath) {
  return pszPath && SaveClientImage(pszPath) == S_OK ? S_OK : E_FAIL;
}

void CGraphsWindow::OnClose(void) { Default(); }

void CGraphsWindow::OnDestroy(void) {
  UnregisterToolWindow(m_hWnd);
  Destroy();
  CWnd::OnDestroy();
}

void CGraphsWindow::OnSize(UINT nType, int cx, int cy) {
  CWnd::OnSize(nType, cx, cy);
  if (m_bResize) LayOut();
}

void CGraphsWindow::EnableResize(BOOL bEnable) {
  m_bResize = bEnable ? TRUE : FALSE;
  if (!::IsWindow(m_hWnd)) return;
  ApplyResizeLimits();
  if (m_bResize) LayOut();
}

void CGraphsWindow::LayOut(void) {
  CRect client;
  GetClientRect(&client);
  CSingleLock lock(&m_csGraphs, TRUE);
  // Create sends sizes before it has laid anything out.
  if (m_baseRects.size() != m_rects.size()) return;
  const int cx = client.Width(), cy = client.Height();
  const LONG bx = m_baseClient.cx, by = m_baseClient.cy;
  for (std::size_t i = 0; i < m_baseRects.size(); ++i) {
    const tagRECT& b = m_baseRects[i];
    const CRect r(ScaleEdge(b.left, cx, bx), ScaleEdge(b.top, cy, by), ScaleEdge(b.right, cx, bx),
                  ScaleEdge(b.bottom, cy, by));
    m_rects[i] = r;
    if (i < m_graphs.size() && m_graphs[i]) m_graphs[i]->MoveWindow(&r);
  }
}

void CGraphsWindow::ApplyResizeLimits(void) {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  if (!impl) return;
  QWidget* w = impl->widget;
  if (!m_bResize) {
    impl->style &= ~WS_THICKFRAME;
    w->setFixedSize(w->size());
    return;
  }
  impl->style |= WS_THICKFRAME;
  LONG least[2] = {0, 0};
  {
    CSingleLock lock(&m_csGraphs, TRUE);
    for (std::size_t i = 0; i < m_baseRects.size() && i < m_graphs.size(); ++i) {
      if (!m_graphs[i]) continue;  // a gap has no size to keep
      const CRect b(m_baseRects[i]);
      least[0] = std::max(least[0], LeastClient(b.Width(), kMinGraphWidth, m_baseClient.cx));
      least[1] = std::max(least[1], LeastClient(b.Height(), kMinGraphHeight, m_baseClient.cy));
    }
  }
  w->setMinimumSize(static_cast<int>(least[0]), static_cast<int>(least[1]));
  w->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void CGraphsWindow::SetTitle(const wchar_t* pszTitle) {
  m_title = pszTitle ? pszTitle : L"";
  if (::IsWindow(m_hWnd)) SetWindowTextW(m_title);
}

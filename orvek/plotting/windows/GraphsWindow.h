#pragma once

/// \file
/// A floating tool window that lays out and holds several graph windows and
/// lets host threads feed them by index, also while the user closes it.

#include <vector>

#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Wnd.h>
#include <orvek/plotting/drawer/PlotElementTypes.h>
#include <orvek/plotting/windows/GraphWnd.h>

/// A floating tool window with a black ground that holds several graphs.
/// Create lays them out from the descriptions (their sizes are kept, their
/// places are wishes), and every call with a graph index goes through one
/// lock, so host threads may feed the graphs while the user closes the
/// window: from then on every such call answers E_FAIL.
///
/// Order of use: construct, Create, SetROI/SetROIAutoY per graph, ShowWindow,
/// DrawGraph calls from any thread, then Destroy or the user's close, and
/// delete. Create, Destroy, ShowWindow, HideWindow and SaveImage belong to the
/// window's thread; a host joins its feeding threads before it deletes the
/// object.
class ORVEK_API CGraphsWindow : public CWnd {
 public:
  /// No window and no graphs until Create.
  CGraphsWindow(void);
  /// Ends the window and every graph; a call still inside the lock on another
  /// thread finishes before the object goes.
  ~CGraphsWindow(void) override;

  /// 1, or 0 if the window could not be made or nGraphs is negative, or above
  /// 0 with a null pInfo (nothing is created then). Every rcWindow of pInfo comes
  /// back in the final client coordinates of this window. An entry with
  /// nCurves 0 keeps its place in the layout but holds no graph. A null
  /// pParent means the main window of the thread, if it has one.
  int Create(tagGraphWndInfo* pInfo, int nGraphs, CWnd* pParent, float fRedrawRate);
  /// Ends every graph and the brush; the window itself stays.
  void Destroy(void);
  /// Moves the window clear of the other tool windows of its parent, then
  /// shows it.
  void ShowWindow(void);
  /// Hides the window; ShowWindow shows it again.
  void HideWindow(void);
  /// The window's title, empty by default: a window that exists takes it at
  /// once (call on the window's thread), a later Create uses it. Null is empty.
  void SetTitle(const wchar_t* pszTitle);

  /// 1 when the graph has nothing waiting for a paint, or for an index
  /// outside the list or without a graph.
  int IsGraphDrawed(int iGraph);
  /// The rectangle of that description in client coordinates as the window
  /// lays it out now, also after the window closed. E_POINTER, E_FAIL for an
  /// index outside the list.
  ORVEK_RESULT LONG GetGraphWndRect(int iGraph, CRect* pRect);

  /// \name Calls on one graph
  /// These give E_FAIL for an index outside the list (negative included) and
  /// after the window closed; an entry without a graph is skipped with S_OK.
  /// The intake below also gives E_FAIL once the host has left its event loop
  /// (the lent loop ended on WM_QUIT, or the Qt host's exec() returned), so
  /// that a feeding thread ends before the host joins it.
  ///@{

  /// CGraphWnd::SetROIAutoY (without a starting Y range) on graph iGraph.
  ORVEK_RESULT LONG SetROIAutoY(int iGraph, int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs);
  /// CGraphWnd::SetROI on graph iGraph.
  ORVEK_RESULT LONG SetROI(int iGraph, int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin,
                           double dYMax, float fYAxisMin, float fYAxisMax, int nYDivs);
  /// CGraphWnd::HighlightCurve on graph iGraph.
  ORVEK_RESULT LONG HighlightCurve(int iGraph, int iFrom, int iTo, int iCurve);
  /// Clears the highlighted stretch of a curve.
  ORVEK_RESULT LONG UnhighlightCurve(int iGraph, int iCurve);
  /// The next block of graph iGraph snaps its ranges to its data.
  ORVEK_RESULT LONG ResetAdaptation(int iGraph);
  ///@}
  /// The next block of every graph snaps its ranges to its data; E_FAIL when
  /// there is no graph.
  ORVEK_RESULT LONG ResetAdaptation(void);

  /// \name What the user does with a graph, for the host
  /// As in CGraphWnd, from any thread, with the results of the calls on one
  /// graph.
  ///@{

  /// CGraphWnd::SetCurveStyle on graph iGraph.
  ORVEK_RESULT LONG SetCurveStyle(int iGraph, int iCurve, const wchar_t* pszName, DWORD argb, float fWidth);
  /// CGraphWnd::SetPaused on graph iGraph.
  ORVEK_RESULT LONG SetPaused(int iGraph, BOOL bPaused);
  /// CGraphWnd::ResetView on graph iGraph.
  ORVEK_RESULT LONG ResetView(int iGraph);
  /// CGraphWnd::ExportData on graph iGraph. E_POINTER for a null path;
  /// E_FAIL also for an entry without a graph or a file that cannot be
  /// written.
  ORVEK_RESULT LONG ExportData(int iGraph, const wchar_t* pszPath);
  /// CGraphWnd::SetColorScheme on every graph; E_FAIL when there is none.
  ORVEK_RESULT LONG SetColorScheme(eColorScheme scheme);
  ///@}

  /// \name Intake
  /// Intake from any thread (T as for CGraphWnd, built into the library for
  /// each sample type), with the results of the calls on one graph. A curve
  /// index outside the graph is no failure: the block is dropped.
  ///@{

  /// CGraphWnd::DrawGraph on graph iGraph.
  template <typename T>
  ORVEK_RESULT LONG DrawGraph(int iGraph, const void* pData, int nCount, int nStride, int iCurve);
  /// CGraphWnd::DrawGraphHistory (strip chart) on graph iGraph.
  template <typename T>
  ORVEK_RESULT LONG DrawGraphHistory(int iGraph, const void* pData, int nCount, int nHistory, int nStride, int iCurve);
  /// CGraphWnd::DrawGraphAvg (running average) on graph iGraph.
  template <typename T>
  ORVEK_RESULT LONG DrawGraphAvg(int iGraph, const void* pData, int nCount, double dFactor, int nStride, int iCurve);
  ///@}

  /// Writes the whole client area with all graphs, as they are painted now,
  /// as PNG (shown or hidden): S_OK, or E_FAIL without a window, on another
  /// thread, or when the file cannot be written.
  ORVEK_RESULT LONG SaveImage(const wchar_t* pszPath);

  /// On (the default), the window has a resize border and lays its graphs
  /// out in proportion as it grows and shrinks (each rectangle scaled by the
  /// client size over the one Create made, none below 40 x 30 where it was
  /// larger); GetGraphWndRect then gives the present rectangles. Off, the
  /// window keeps its size. Before Create, or on the live window. Window's
  /// thread.
  void EnableResize(BOOL bEnable);

  /// The user's close ends the window, and with it every graph.
  void OnClose(void) override;
  /// Takes the window out of its parent's tool windows and ends the graphs.
  void OnDestroy(void) override;
  /// Lays the graphs out for the new client size while resizing is on.
  void OnSize(UINT nType, int cx, int cy) override;

  std::vector<CGraphWnd*> m_graphs
      ORVEK_GUARDED_BY(m_csGraphs);                           ///< owned; null where a description asked for no graph
  HBRUSH m_hBrush;                                            ///< ground of the window class
  CCriticalSection m_csGraphs;                                ///< m_graphs, m_rects and every call through them
  std::vector<tagRECT> m_rects ORVEK_GUARDED_BY(m_csGraphs);  ///< present rectangle of each description
  CStringW m_title;                                           ///< given by SetTitle

 protected:
  /// CWnd::ShowWindow; the host uses ShowWindow() and HideWindow().
  int ShowWindow(int nCmdShow);

 private:
  // Places every graph for the present client size and keeps the window from
  // shrinking below what leaves each graph its smallest size.
  void LayOut(void);
  void ApplyResizeLimits(void);

  BOOL m_bResize = TRUE;                                          // set by EnableResize
  std::vector<tagRECT> m_baseRects ORVEK_GUARDED_BY(m_csGraphs);  // the rectangles Create made
  tagSIZE m_baseClient = {0, 0};                                  // the client size Create made
};

/// Declares the intake of CGraphsWindow as built into the library for sample type T,
/// so a host needs no template bodies; called for each type of
/// ORVEK_PLOT_ELEMENT_TYPES and undefined again at the end of this header.
#define ORVEK_GRAPHSWINDOW_EXTERN(T)                                                                                \
  extern template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraph<T>(int, const void*, int, int, int);             \
  extern template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraphHistory<T>(int, const void*, int, int, int, int); \
  extern template ORVEK_TEMPLATE_API LONG CGraphsWindow::DrawGraphAvg<T>(int, const void*, int, double, int, int);
ORVEK_PLOT_ELEMENT_TYPES(ORVEK_GRAPHSWINDOW_EXTERN)
#undef ORVEK_GRAPHSWINDOW_EXTERN

#pragma once

/// \file
/// The child window of one graph: samples pushed from any thread, painted on
/// the window's thread at the redraw rate, and what the user does with the
/// mouse, which the host can do too.

#include <atomic>

#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Wnd.h>
#include <orvek/plotting/drawer/PlotElementTypes.h>
#include <orvek/plotting/drawer/PlotView.h>

class CGraphDrawer;
namespace orvek_plot {
class Interaction;
}

/// Description of one graph window. The texts are copied by Create.
struct tagGraphWndInfo {
  tagRECT rcWindow;       ///< place and size in the parent's client area; the size is the plot's
  const wchar_t* pTitle;  ///< null: no title
  const wchar_t* pXName;  ///< null: no name under the X axis
  const wchar_t* pYName;  ///< null: no name beside the Y axis
  int nCurves;            ///< below 1: one curve (CGraphsWindow takes 0 as "no graph here")
};

/// The child window of one graph. Host threads push blocks of samples at any
/// time; the window's thread paints at most once per redraw period, however
/// many blocks came in between, and only while the window is visible.
///
/// Order of use: construct, Create, optionally SetROI/SetROIAutoY, any number
/// of DrawGraph calls (from any thread) and ROI calls, Destroy, delete.
/// Create, Destroy and the handlers belong to the window's thread. After
/// Destroy no call but deleting may follow: a host that feeds from its own
/// threads stops them first (CGraphsWindow does that for its graphs).
class ORVEK_API CGraphWnd : public CWnd {
 public:
  /// No window and no drawer until Create.
  CGraphWnd(void);
  /// Ends the window but not the drawer: Destroy is the owner's task.
  ~CGraphWnd(void) override;

  /// One curve, redrawn every 40 ms. A second Create ends the first drawer.
  void Create(tagRECT rcWindow, CWnd* pParent, const wchar_t* pTitle, const wchar_t* pXName, const wchar_t* pYName);
  /// From a description, redrawn fRedrawRate times a second (above 0; else
  /// every 40 ms). A null pInfo creates nothing.
  void Create(const tagGraphWndInfo* pInfo, CWnd* pParent, float fRedrawRate);
  /// Ends drawer, bitmaps, graphics session and timer; the window stays until
  /// the object is deleted and paints nothing.
  void Destroy(void);

  /// \name Intake
  /// Intake from any thread; T is char, short, int, float, double or unsigned
  /// char (built into the library for these, so a host needs no template
  /// bodies), and nStride counts elements of T. A curve index outside the
  /// graph drops the block.
  ///@{

  /// Writes the block from the first row on.
  template <typename T>
  void DrawGraph(int iCurve, const void* pData, int nCount, int nStride);
  /// Strip chart: the ring only ever grows to the largest nHistory seen.
  template <typename T>
  void DrawGraphHistory(int iCurve, const void* pData, int nCount, int nHistory, int nStride);
  /// Sweep: the ring takes the nHistory of each call.
  template <typename T>
  void DrawGraphHistoryCircular(int iCurve, const void* pData, int nCount, int nHistory, int nStride);
  /// Running average: each sample becomes new * dFactor + old * (1 - dFactor);
  /// the first block after a reset is copied.
  template <typename T>
  void DrawGraphAvg(int iCurve, const void* pData, int nCount, double dFactor, int nStride);
  ///@}

  /// \name Ranges and marks
  /// These draw into the bitmaps at once but ask for no paint: the picture
  /// shows with the next data or the next paint of the system.
  ///@{

  /// Fixes the sample window [iFrom, iTo) and both ranges: dYMin and dYMax
  /// say which data values fill the plot, the floats what the X and Y axes
  /// read at its edges; nXDivs and nYDivs are about how many grid cells each
  /// axis has.
  void SetROI(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, float fYAxisMin,
              float fYAxisMax, int nYDivs);
  /// Fixes the sample window and lets Y follow the data, starting with a
  /// range that holds the data and dYMin to dYMax (without them: the data
  /// and 0).
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, double dYMin, double dYMax, int nYDivs);
  /// \copydoc SetROIAutoY(int,int,float,float,int,double,double,int)
  void SetROIAutoY(int iFrom, int iTo, float fXMin, float fXMax, int nXDivs, int nYDivs);
  /// Marks the samples [iFrom, iTo) of a curve; shows with the next stroke
  /// of that stretch; (0, 0) clears it.
  void HighlightCurve(int iCurve, int iFrom, int iTo);
  ///@}

  /// The next block snaps the ranges to its data. Always S_OK.
  ORVEK_RESULT LONG ResetAdaptation(void);
  /// 1 when everything pushed so far has been handed on to a paint.
  int IsDrawed(void);
  /// Writes the frame bitmap (axes and curves as last composed) as PNG:
  /// S_OK, or E_FAIL without a drawer or when the file cannot be written.
  ORVEK_RESULT LONG SaveImage(const wchar_t* pszPath);

  /// \name Beside the intake: what the user does with the mouse, the host can do too
  /// The mouse and keys: the wheel zooms X about the cursor (with Shift, Y), a
  /// left drag pans, a right drag (or Ctrl and left) zooms to the box, a double
  /// click or Home brings back the host's view, Space pauses, the right button
  /// opens a menu. Moving over the plot shows a crosshair and the values there.
  ///@{

  /// Freezes the picture while intake goes on; resuming shows the newest
  /// data. Any thread.
  void SetPaused(BOOL bPaused);
  /// TRUE while the picture is frozen.
  BOOL IsPaused(void);
  /// Brings back the host's view after the user zoomed or panned. Any thread.
  void ResetView(void);
  /// Names a curve (named curves get a legend entry the user can click to
  /// hide or show it) and sets its colour (ARGB; 0 keeps the default) and
  /// pen width in pixels (0 keeps the default). Any thread.
  void SetCurveStyle(int iCurve, const wchar_t* pszName, DWORD argb, float fWidth);
  /// The black ground (the default) or a light one. Any thread.
  void SetColorScheme(eColorScheme scheme);
  /// Writes the samples in view as comma-separated text, one column per
  /// curve after the X value: S_OK, E_POINTER for a null path, E_FAIL
  /// without a drawer or when the file cannot be written. Any thread.
  ORVEK_RESULT LONG ExportData(const wchar_t* pszPath);
  /// Mouse and keys on (the default) or off. Window's thread.
  void EnableInteraction(BOOL bEnable);
  ///@}

  /// Draws what is pending (unless paused) and copies the frame bitmap to
  /// the window.
  void OnPaint(void) override;
  /// The redraw timer: asks for a paint when new data came in and the window
  /// is visible.
  void OnTimer(UINT nIDEvent) override;
  /// Makes the bitmaps anew at the window's new size and redraws axes and
  /// curves from the data and ranges kept; nothing while resizing is off.
  void OnSize(UINT nType, int cx, int cy) override;
  /// On (the default), the graph follows its window's size: MoveWindow, or
  /// the layout of a Qt host that holds GetQWidget(), which gets an
  /// expanding size policy and asks for the Create size. Off, the bitmaps
  /// keep their size and paint at the top left of a larger window. Window's
  /// thread.
  void EnableResize(BOOL bEnable);

 private:
  /// Remakes both bitmaps at a logical size and device pixel ratio, if that
  /// is not what they have, and redraws them. Window's thread.
  void RemakeBitmaps(int nWidth, int nHeight, double dRatio);
  BOOL m_bResize = TRUE;         ///< set by EnableResize
  tagSIZE m_szBitmaps = {0, 0};  ///< logical size the bitmaps were asked at
  double m_dBitmapRatio = 1.0;   ///< device pixel ratio they were made at

 public:
  /// Owned, from Create to Destroy. Written under m_csDrawer on the window's
  /// thread, which also reads it without the lock, as the intake does.
  CGraphDrawer* m_pDrawer;
  int m_nCurves;            ///< curves of the graph, at least 1 from Create on; 0 before
  int m_nHistory;           ///< ring length of the history modes; the intake writes it under the drawer's m_csData
  UINT_PTR m_nRedrawTimer;  ///< id of the running redraw timer, 0 when none
  /// Set by host threads after their data are stored, cleared by the window's
  /// thread when it asks for the paint.
  std::atomic<BOOL> m_bNeedRedraw;

 private:
  // Held by SaveImage, which any thread may call, and by Destroy while it
  // takes the drawer away; taken before the drawer's own locks.
  CCriticalSection m_csDrawer;
  orvek_plot::Interaction* m_pInteraction;  // owned; window's thread
  // Under m_csDrawer: the change on a live drawer, then a paint asked for.
  template <typename F>
  void RedrawWith(F&& change);

  void SetRedrawTimer(float fRedrawRate);
  void KillRedrawTimer(void);
};

/// Declares the intake of CGraphWnd as built into the library for sample type T,
/// so a host needs no template bodies; called for each type of
/// ORVEK_PLOT_ELEMENT_TYPES and undefined again at the end of this header.
#define ORVEK_GRAPHWND_EXTERN(T)                                                                                   \
  extern template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraph<T>(int, const void*, int, int);                     \
  extern template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphHistory<T>(int, const void*, int, int, int);         \
  extern template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphHistoryCircular<T>(int, const void*, int, int, int); \
  extern template ORVEK_TEMPLATE_API void CGraphWnd::DrawGraphAvg<T>(int, const void*, int, double, int);
ORVEK_PLOT_ELEMENT_TYPES(ORVEK_GRAPHWND_EXTERN)
#undef ORVEK_GRAPHWND_EXTERN

#pragma once

#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Controls.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Wnd.h>
#include <orvek/tuning/model/ParamTypes.h>

// Posted to the dialog's window to rebuild it from the parameter list on the
// window's own thread: wParam the dialog-wide change callback, lParam its
// context.
constexpr UINT WM_REBUILD_PARAMS = WM_USER + 1;

// The controls of one entry of the list. Only those of the entry's kind get a
// window: label, slider and value text for a float or an integer, the check
// box for a flag, label and drop-down list for a list; a group header has
// none.
struct ORVEK_API tagParamControls {
  CSliderCtrl slider;
  CStatic valueText;
  CStatic label;
  CButton check;
  CComboBox list;
  UINT_PTR notifyTimer;  // id of this entry's pacing timer, 0 if none runs
};

// A floating tool window that shows the host's variables as controls.
//
// The host describes its variables (Create, CreateEmpty + AddParam); the
// dialog copies the names and choices, never the values: a control move
// writes the host's variable at once, and the host hears of it through the
// entry's callback and the dialog-wide one, paced (one call an elapse after
// the last move, 20 ms by default). Every 100 ms the dialog carries the
// variables back to the controls and clamps them to their bounds.
//
// Threads: the window belongs to the thread that created it (the GUI thread).
// AddParam, RemoveParam, SetParamRange, GetTypeFormatString and the value
// files may be called from any thread; a change of the list is posted to the
// window, which rebuilds itself. Callbacks run on the window's thread with the
// dialog's lock held (value-file loads: on the loading thread); they may call
// back into the dialog.
class ORVEK_API CDlgParamTune : public CWnd {
 public:
  // Id of the refresh timer; pacing timers use the parameter's index + 1.
  static constexpr UINT_PTR ID_UPDATE_TIMER = 1000000;

  CDlgParamTune();
  ~CDlgParamTune() override;

  // ---- the parameter list ----

  // Copies nCount entries over the list (nCount 0 keeps the present list)
  // and builds the window, hidden.
  void Create(const tagParamInfoV2* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  // The older descriptor: the list always becomes these nCount entries.
  void Create(const tagParamInfo* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  // An empty list whose changes go to pNotify; fill it with AddParam.
  void CreateEmpty(CDlgParamTuneNotify* pNotify);
  // Appends a copy of the entry. Any thread, also before any window exists.
  void AddParam(tagParamInfoV2* pInfo);
  // A check box (int 0 or 1) that reports to pNotify.
  void AddParam(int* pValue, const wchar_t* pszName, CDlgParamTuneNotify* pNotify);
  // A float slider between fMin and fMax that reports to pNotify.
  void AddParam(float* pValue, const wchar_t* pszName, float fMin, float fMax, CDlgParamTuneNotify* pNotify);
  // Removes the first entry of that variable; the window is rebuilt anyway.
  void RemoveParam(void* pValue);
  // New bounds for the first entry of that variable, applied by the next
  // refresh.
  void SetParamRange(void* pValue, double dMin, double dMax);
  // The pacing delay per parameter; null leaves it to the notification
  // object, else 20 ms.
  void SetNotifyElapseFunc(PFN_PARAM_ELAPSE pfnElapse, void* pContext);
  // The print format of a kind: "%f", "%d", or an empty text for a group
  // header and for a number that is no kind.
  const wchar_t* GetTypeFormatString(eParamTypeV2 eType);

  // ---- the window ----

  void OnTimer(UINT nIDEvent) override;
  void OnClose() override;
  void OnDestroy() override;
  BOOL PreTranslateMessage(MSG* pMsg) override;
  // Starts (or restarts) the pacing of entry nIndex, if anybody listens.
  void OnParamChangeNotify(int nIndex);
  void Destroy();
  // Whether the user touched a control since the list was last given or the
  // values were last saved.
  int IsDirty();
  // Builds the window from the list if it has none, then shows it.
  void ShowWindow();
  void HideWindow();
  int IsWindowVisible() const;

  // ---- value files ----
  // An INI text with a fixed head, a section per group ("Ungrouped" before
  // the first) and a key per parameter. A relative path is beside the
  // application for a save.

  // S_OK; a missing file or key changes nothing. Each changed value is
  // reported at once, on the calling thread.
  LONG LoadParamValues(const char* pszPath);
  LONG LoadParamValues(const wchar_t* pszPath);
  // S_OK, or E_FAIL if the file cannot be created.
  LONG SaveParamValues(const char* pszPath);
  LONG SaveParamValues(const wchar_t* pszPath);

 protected:
  // A check box with a plain callback.
  void AddParam(int* pValue, const wchar_t* pszName, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  // For derived classes; does nothing.
  void OnParamChanged(void* pValue);

  // The block of cells nearest to a square for nItems cells, counting the
  // tab control's margins when there are pages.
  virtual void GetColumnsRawsAmount(int nItems, int nGroups, int* pnColumns, int* pnRows);
  // Sizes the window (and the tab control) for the block of cells, sets the
  // title, and gives the corner of the first cell's area.
  virtual void UpdateWindowRectCaption(int nColumns, int nRows, int nGroups, int* pnOffsetX, int* pnOffsetY);
  virtual DWORD GetWindowStyleEx();
  // The owner of the window: the main window of the calling thread, if any.
  virtual CWnd* GetWindowParent();

  void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar) override;
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
  BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
  int ShowWindow(int nCmdShow);

  std::vector<tagParamControls*> m_controls;  // one per entry of m_params after a build
  std::vector<tagParamInfoV2> m_params;
  std::vector<tagParamChoice*> m_choiceBlocks;  // every choice array allocated, freed at the end
  CFont m_font;
  CTabCtrl m_tab;
  UINT_PTR m_updateTimer;
  CStringArray* m_pStrings;  // the names and choice texts of m_params
  PFN_PARAM_NOTIFY m_pfnNotify;
  void* m_pNotifyContext;
  PFN_PARAM_ELAPSE m_pfnElapse;
  void* m_pElapseContext;
  BOOL m_bDirty;
  CCriticalSection m_lock;  // recursive; guards everything above
  CDlgParamTuneNotify* m_pNotify;

 private:
  void SaveParamInfo();
  // Builds (or rebuilds) the window from the list.
  void Create(PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  void ShowGroup(int nGroup);
  // Carries the variables to the controls, clamping them.
  void UpdateInterface();
  void UpdateFloatParamVal(int nIndex);
  void UpdateIntParamVal(int nIndex);
  // Calls the entry's callback, then the dialog-wide one.
  void OnParamChanged(int nIndex);
};

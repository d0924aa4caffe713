#pragma once

/// \file
/// The tuning dialog.

#include <memory>
#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Controls.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Wnd.h>
#include <orvek/tuning/model/ParamTypes.h>

class CIniFile;

/// Posted to the dialog's window to rebuild it from the parameter list on the
/// window's own thread: wParam the dialog-wide change callback, lParam its
/// context.
constexpr UINT WM_REBUILD_PARAMS = WM_USER + 1;

namespace tuning_text {
class ValueEditor;
}

/// The controls of one entry of the list. Only those of the entry's kind get a
/// window: label, slider and value text for a float or an integer, the check
/// box for a flag, label and drop-down list for a list; a group header has
/// none.
struct ORVEK_API tagParamControls {
  CSliderCtrl slider;    ///< slider of a float, logarithmic float or integer
  CStatic valueText;     ///< value text beside the slider
  CStatic label;         ///< label of a slider or list
  CButton check;         ///< check box of a flag
  CComboBox list;        ///< drop-down list of a list entry
  UINT_PTR notifyTimer;  ///< id of this entry's pacing timer, 0 if none runs
  /// The variable the set was built for. Until the rebuild that follows a
  /// change of the list, an index may name another entry: a set whose
  /// variable is not its entry's any more neither writes nor reports.
  void* pValue;
};

/// A floating tool window that shows the host's variables as controls.
///
/// The host describes its variables (Create, CreateEmpty + AddParam); the
/// dialog copies the names and choices, never the values: a control move
/// writes the host's variable at once, and the host hears of it through the
/// entry's callback and the dialog-wide one, paced (one call an elapse after
/// the last move, 20 ms by default). Every 100 ms the dialog carries the
/// variables back to the controls and clamps them to their bounds.
///
/// Threads: the window belongs to the thread that created it (the GUI thread).
/// AddParam, RemoveParam, SetParamRange, GetTypeFormatString and the value
/// files may be called from any thread; a change of the list is posted to the
/// window, which rebuilds itself. Callbacks run on the window's thread with the
/// dialog's lock held (value-file loads: on the loading thread); they may call
/// back into the dialog. The dialog reads and writes the host's variables as
/// single relaxed 32-bit atomic accesses, one read per refresh of a variable,
/// so a host thread that stores with atomic accesses too never races with it
/// and never sees a value it replaced written back.
///
/// Bad arguments: a list of 1000000 entries or more is refused (the pacing
/// timers' ids would reach the refresh timer's); bounds that are no number,
/// infinite or crossed, null names and null variables are taken as they come
/// and never crash: see the operations.
class ORVEK_API CDlgParamTune : public CWnd {
 public:
  /// Id of the refresh timer; pacing timers use the parameter's index + 1.
  static constexpr UINT_PTR ID_UPDATE_TIMER = 1000000;

  CDlgParamTune();
  ~CDlgParamTune() override;

  // ---- the parameter list ----

  /// Copies nCount entries over the list (nCount 0 keeps the present list)
  /// and builds the window, hidden. A null pParams with a non-zero nCount, a
  /// negative nCount or one of 1000000 or more is refused: nothing changes.
  void Create(const tagParamInfoV2* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  /// The older descriptor: the list always becomes these nCount entries.
  /// Refused as above; a null pParams with nCount 0 empties the list.
  void Create(const tagParamInfo* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  /// An empty list whose changes go to pNotify; fill it with AddParam.
  void CreateEmpty(CDlgParamTuneNotify* pNotify);
  /// Appends a copy of the entry. Any thread, also before any window exists.
  /// A null pInfo, or a list that already holds 999999 entries, changes
  /// nothing. Null names count as empty; a null variable gets no control
  /// value and is neither saved nor loaded; list choices count only with a
  /// non-null array and a positive count.
  void AddParam(tagParamInfoV2* pInfo);
  /// A check box (int 0 or 1) that reports to pNotify.
  void AddParam(int* pValue, const wchar_t* pszName, CDlgParamTuneNotify* pNotify);
  /// A float slider between fMin and fMax that reports to pNotify.
  void AddParam(float* pValue, const wchar_t* pszName, float fMin, float fMax, CDlgParamTuneNotify* pNotify);
  /// Removes the first entry of that variable; the window is rebuilt anyway.
  void RemoveParam(void* pValue);
  /// New bounds for the first entry of that variable, applied by the next
  /// refresh. Any doubles are taken: a float with a bound that is no number
  /// is clamped to the upper bound, as crossed bounds are; integer bounds
  /// beyond an int stop at its limits.
  void SetParamRange(void* pValue, double dMin, double dMax);
  /// The pacing delay per parameter; null leaves it to the notification
  /// object, else 20 ms.
  void SetNotifyElapseFunc(PFN_PARAM_ELAPSE pfnElapse, void* pContext);
  /// The print format of a kind: "%f", "%d", or an empty text for a group
  /// header and for a number that is no kind.
  const wchar_t* GetTypeFormatString(eParamTypeV2 eType);
  /// The window's title; null or empty gives the default title back. A
  /// window that exists takes it at once (call on the window's thread), a
  /// later one at its build. A single group's name still follows it.
  void SetTitle(const wchar_t* pszTitle);

  // ---- typed values ----

  /// Opens the editor of a float, logarithmic float or integer entry over
  /// its slider, as a double click on its value text or Enter on its focused
  /// slider does: Enter writes the typed number, clamped to the bounds, as a
  /// slider move would (dirty flag, paced callbacks); Escape leaves the
  /// variable alone. A typed value between slider positions stays exact until
  /// the slider is moved. False for another kind or a stale index. Window's
  /// thread only.
  BOOL EditParamValue(int nIndex);
  /// The entry whose editor is open, or -1.
  int GetEditedParam() const;

  // ---- the window ----

  /// Refresh timer: carries the variables to the controls; pacing timer:
  /// reports the change of its entry.
  void OnTimer(UINT nIDEvent) override;
  /// Closes the window as CWnd does, under the dialog's lock.
  void OnClose() override;
  /// Stops the refresh timer as the window ends.
  void OnDestroy() override;
  /// Takes the dialog's rebuild message (WM_REBUILD_PARAMS); passes everything else on.
  BOOL PreTranslateMessage(MSG* pMsg) override;
  /// Starts (or restarts) the pacing of entry nIndex, if anybody listens. An
  /// index without an entry, or whose controls were built for another entry
  /// and wait for the rebuild, does nothing.
  void OnParamChangeNotify(int nIndex);
  /// Ends the window; the object and its list stay.
  void Destroy();
  /// Whether the user touched a control since the list was last given or the
  /// values were last saved.
  int IsDirty();
  /// Builds the window from the list if it has none, then shows it.
  void ShowWindow();
  /// Hides the window, if there is one.
  void HideWindow();
  /// Whether the window exists and is visible.
  int IsWindowVisible() const;

  // ---- value files ----
  // An INI text with a fixed head, a section per group ("Ungrouped" before
  // the first) and a key per parameter. A relative path is beside the
  // application for a save.

  /// Loads the variables from a value file: an INI text with a section per
  /// group ("Ungrouped" before the first) and a key per parameter.
  /// S_OK; a missing file or key changes nothing. Each changed value is
  /// reported at once, on the calling thread. A null path is a missing file.
  ///@{
  ORVEK_RESULT LONG LoadParamValues(const char* pszPath);
  ORVEK_RESULT LONG LoadParamValues(const wchar_t* pszPath);
  ///@}
  /// Saves the variables into a value file, beside the application for a
  /// relative path.
  /// S_OK, or E_FAIL if the file cannot be created (also for a null path).
  /// The new file is written and flushed beside the old one and then takes
  /// its place: a write error (CFileException) leaves the old file whole.
  ///@{
  ORVEK_RESULT LONG SaveParamValues(const char* pszPath);
  ORVEK_RESULT LONG SaveParamValues(const wchar_t* pszPath);
  ///@}

 protected:
  /// A check box with a plain callback.
  void AddParam(int* pValue, const wchar_t* pszName, PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  /// For derived classes; does nothing.
  void OnParamChanged(void* pValue);

  /// The block of cells nearest to a square for nItems cells, counting the
  /// tab control's margins when there are pages. Fewer than 1 item gives 0
  /// and 0, more than 999999 the block for 999999; null outputs are skipped.
  /// Called by the build, with the dialog's lock held.
  virtual void GetColumnsRawsAmount(int nItems, int nGroups, int* pnColumns, int* pnRows) ORVEK_REQUIRES(m_lock);
  /// Sizes the window (and the tab control) for the block of cells, sets the
  /// title, and gives the corner of the first cell's area. Negative counts
  /// count as 0; a side stops at 2^24 pixels; null outputs are skipped.
  /// Called by the build, with the dialog's lock held.
  virtual void UpdateWindowRectCaption(int nColumns, int nRows, int nGroups, int* pnOffsetX, int* pnOffsetY)
      ORVEK_REQUIRES(m_lock);
  /// The extended style of the window: WS_EX_TOOLWINDOW.
  virtual DWORD GetWindowStyleEx();
  /// The owner of the window: the main window of the calling thread, if any.
  virtual CWnd* GetWindowParent();

  /// The handlers of the controls' messages (slider moves, check box and list
  /// changes, tab changes) and of the dialog's rebuild message.
  ///@{
  void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar) override;
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
  BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
  ///@}
  /// CWnd::ShowWindow, for derived classes.
  int ShowWindow(int nCmdShow);

  /// One per entry of m_params after a build.
  std::vector<tagParamControls*> m_controls ORVEK_GUARDED_BY(m_lock);
  /// The list, with names and choices pointing into m_pStrings.
  std::vector<tagParamInfoV2> m_params ORVEK_GUARDED_BY(m_lock);
  /// Every choice array allocated, freed at the end.
  std::vector<tagParamChoice*> m_choiceBlocks ORVEK_GUARDED_BY(m_lock);
  CFont m_font ORVEK_GUARDED_BY(m_lock);  ///< the font of the controls
  /// The tab control of the groups, when there are several.
  CTabCtrl m_tab ORVEK_GUARDED_BY(m_lock);
  UINT_PTR m_updateTimer ORVEK_GUARDED_BY(m_lock);        ///< id of the running refresh timer, 0 if none
  CStringArray* m_pStrings ORVEK_GUARDED_BY(m_lock);      ///< the names and choice texts of m_params
  PFN_PARAM_NOTIFY m_pfnNotify ORVEK_GUARDED_BY(m_lock);  ///< the dialog-wide change callback
  void* m_pNotifyContext ORVEK_GUARDED_BY(m_lock);        ///< its context
  PFN_PARAM_ELAPSE m_pfnElapse ORVEK_GUARDED_BY(m_lock);  ///< the pacing delay callback, or null
  void* m_pElapseContext ORVEK_GUARDED_BY(m_lock);        ///< its context
  /// Whether the user touched a control since the list was given or saved.
  BOOL m_bDirty ORVEK_GUARDED_BY(m_lock);
  /// Recursive; guards every field of this class but m_editor.
  CCriticalSection m_lock;
  /// The notification object of CreateEmpty and AddParam, or null.
  CDlgParamTuneNotify* m_pNotify ORVEK_GUARDED_BY(m_lock);
  CStringW m_title ORVEK_GUARDED_BY(m_lock);  ///< empty: the default title

 private:
  // The values into a file that holds the head, through the INI engine.
  void WriteValueFile(const char* pszPath) ORVEK_REQUIRES(m_lock);
  // One line per parameter into the engine's text, section by group.
  void WriteValues(CIniFile* pIni) ORVEK_REQUIRES(m_lock);
  // Writes a typed value to entry nIndex; false if the text is no number.
  bool CommitTypedValue(int nIndex, const std::wstring& text);
  // Gives the value text of a slider entry the width its widest value
  // needs, taken from the slider, never less than the default width.
  void FitValueCell(tagParamControls* c, const tagParamInfoV2& p) ORVEK_REQUIRES(m_lock);
  std::unique_ptr<tuning_text::ValueEditor> m_editor;

  void SaveParamInfo() ORVEK_REQUIRES(m_lock);
  // Builds (or rebuilds) the window from the list.
  void Create(PFN_PARAM_NOTIFY pfnNotify, void* pContext);
  void ShowGroup(int nGroup) ORVEK_REQUIRES(m_lock);
  // Carries the variables to the controls, clamping them.
  void UpdateInterface() ORVEK_REQUIRES(m_lock);
  void UpdateFloatParamVal(int nIndex) ORVEK_REQUIRES(m_lock);
  void UpdateIntParamVal(int nIndex) ORVEK_REQUIRES(m_lock);
  // Calls the entry's callback, then the dialog-wide one.
  void OnParamChanged(int nIndex) ORVEK_REQUIRES(m_lock);
  // Asks the window's thread to rebuild the window from the list, if there
  // is a window.
  void PostRebuild() ORVEK_REQUIRES(m_lock);
  // The first entry of that variable, in list order.
  std::vector<tagParamInfoV2>::iterator FindParam(void* pValue) ORVEK_REQUIRES(m_lock);
  // The controls of entry nIndex, if they were built for that entry's
  // variable; null for a stale or missing index.
  tagParamControls* CurrentControls(std::size_t nIndex) ORVEK_REQUIRES(m_lock);
};

#pragma once

#include <orvek/platform/ui/Wnd.h>

/// \file
/// The controls. Each is a CWnd of a built-in class whose members send the
/// control's messages, so SendMessageW on the handle does the same. A control
/// tells its parent of user actions with messages to the parent's handlers:
///   slider     WM_HSCROLL (WM_VSCROLL with TBS_VERT) on every user move, also
///              without a change; TBM_SETPOS clamps and tells nobody.
///   button     WM_COMMAND BN_CLICKED on a click. BS_CHECKBOX does not change
///              its mark by itself (only BM_SETCHECK does); BS_AUTOCHECKBOX
///              toggles, then tells.
///   combo box  WM_COMMAND CBN_SELCHANGE on every user choice, also of the
///              entry that was already selected.
///   tab        WM_NOTIFY TCN_SELCHANGE when the user picks another tab;
///              TCM_SETCURSEL tells nobody.
/// The id given to Create is the control id: the low word of WM_COMMAND's
/// wParam, NMHDR::idFrom, and GetDlgCtrlID.

/// A static text (WC_STATICW).
class ORVEK_API CStatic : public CWnd {
 public:
  /// Makes the control as CWnd::Create does with its class; FALSE if it cannot be made.
  BOOL Create(const wchar_t* lpszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID = 0xFFFF);
};

/// A push button or check box (WC_BUTTONW), by its BS_ style.
class ORVEK_API CButton : public CWnd {
 public:
  /// Makes the control as CWnd::Create does with its class; FALSE if it cannot be made.
  BOOL Create(const wchar_t* lpszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  /// The mark of a check box: BST_UNCHECKED, BST_CHECKED or BST_INDETERMINATE.
  int GetCheck() const;
  /// Sets the mark (BM_SETCHECK); the parent is not told.
  void SetCheck(int nCheck);
};

/// A slider (TRACKBAR_CLASSW): a position in a range of integers.
class ORVEK_API CSliderCtrl : public CWnd {
 public:
  /// Makes the control as CWnd::Create does with its class; FALSE if it cannot be made.
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  /// Sets both ends of the range; bRedraw is not needed, the control repaints anyway.
  void SetRange(int nMin, int nMax, BOOL bRedraw = FALSE);
  /// Both ends of the range.
  void GetRange(int& nMin, int& nMax) const;
  /// The low or the high end of the range.
  ///@{
  int GetRangeMin() const;
  int GetRangeMax() const;
  ///@}
  /// The position.
  int GetPos() const;
  /// Sets the position, clamped to the range; the parent is not told.
  void SetPos(int nPos);
};

/// A drop-down list (CBS_DROPDOWNLIST). The height given to Create includes
/// the open list; the closed box takes the platform's height.
class ORVEK_API CComboBox : public CWnd {
 public:
  /// Makes the control as CWnd::Create does with its class; FALSE if it cannot be made.
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  /// Appends an entry; returns its index.
  int AddString(const wchar_t* lpszString);
  /// Number of entries.
  int GetCount() const;
  /// Index of the selected entry, or -1.
  int GetCurSel() const;
  /// -1 clears the selection; an index outside the list clears it and gives
  /// CB_ERR.
  int SetCurSel(int nSelect);
  /// Whether the list is open.
  BOOL GetDroppedState() const;
  /// Opens or closes the list.
  void ShowDropDown(BOOL bShowIt = TRUE);
  /// Removes every entry.
  void ResetContent();
  /// The text of entry nIndex; empty for an index outside the list.
  void GetLBText(int nIndex, CStringW& rString) const;
};

/// Tabs over a framed display area. TCM_ADJUSTRECT (AdjustRect) gives the
/// margins between the control's rectangle and that area as the control
/// really lays them out: the tab row and the frame above, the frame on the
/// other sides.
class ORVEK_API CTabCtrl : public CWnd {
 public:
  /// Makes the control as CWnd::Create does with its class; FALSE if it cannot be made.
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  /// Inserts a tab before index nItem (beyond the end: at the end) with the
  /// text, or with what the item
  /// gives; returns the new tab's index, or -1 for a negative index or a null item.
  ///@{
  ORVEK_RESULT LONG InsertItem(int nItem, const wchar_t* lpszItem);
  ORVEK_RESULT LONG InsertItem(int nItem, TCITEMW* pTabCtrlItem);
  ///@}
  /// Number of tabs.
  int GetItemCount() const;
  /// Index of the selected tab, or -1.
  int GetCurSel() const;
  /// Selects a tab without telling anybody; returns the previous selection, or
  /// -1 for an index outside.
  int SetCurSel(int nItem);
  /// Removes every tab; TRUE.
  BOOL DeleteAllItems();
  /// bLarger TRUE: display area to control rectangle; FALSE: the reverse.
  void AdjustRect(BOOL bLarger, LPRECT lpRect);
};

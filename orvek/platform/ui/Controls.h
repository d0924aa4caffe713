#pragma once

#include <orvek/platform/ui/Wnd.h>

// The controls. Each is a CWnd of a built-in class whose members send the
// control's messages, so SendMessageW on the handle does the same. A control
// tells its parent of user actions with messages to the parent's handlers:
//   slider     WM_HSCROLL (WM_VSCROLL with TBS_VERT) on every user move, also
//              without a change; TBM_SETPOS clamps and tells nobody.
//   button     WM_COMMAND BN_CLICKED on a click. BS_CHECKBOX does not change
//              its mark by itself (only BM_SETCHECK does); BS_AUTOCHECKBOX
//              toggles, then tells.
//   combo box  WM_COMMAND CBN_SELCHANGE on every user choice, also of the
//              entry that was already selected.
//   tab        WM_NOTIFY TCN_SELCHANGE when the user picks another tab;
//              TCM_SETCURSEL tells nobody.
// The id given to Create is the control id: the low word of WM_COMMAND's
// wParam, NMHDR::idFrom, and GetDlgCtrlID.

class ORVEK_API CStatic : public CWnd {
 public:
  BOOL Create(const wchar_t* lpszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID = 0xFFFF);
};

class ORVEK_API CButton : public CWnd {
 public:
  BOOL Create(const wchar_t* lpszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  int GetCheck() const;
  void SetCheck(int nCheck);
};

class ORVEK_API CSliderCtrl : public CWnd {
 public:
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  void SetRange(int nMin, int nMax, BOOL bRedraw = FALSE);
  void GetRange(int& nMin, int& nMax) const;
  int GetRangeMin() const;
  int GetRangeMax() const;
  int GetPos() const;
  void SetPos(int nPos);
};

// A drop-down list (CBS_DROPDOWNLIST). The height given to Create includes
// the open list; the closed box takes the platform's height.
class ORVEK_API CComboBox : public CWnd {
 public:
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  int AddString(const wchar_t* lpszString);
  int GetCount() const;
  int GetCurSel() const;
  // -1 clears the selection; an index outside the list clears it and gives
  // CB_ERR.
  int SetCurSel(int nSelect);
  BOOL GetDroppedState() const;
  void ShowDropDown(BOOL bShowIt = TRUE);
  void ResetContent();
  void GetLBText(int nIndex, CStringW& rString) const;
};

// Tabs over a framed display area. TCM_ADJUSTRECT (AdjustRect) gives the
// margins between the control's rectangle and that area as the control
// really lays them out: the tab row and the frame above, the frame on the
// other sides.
class ORVEK_API CTabCtrl : public CWnd {
 public:
  BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
  ORVEK_RESULT LONG InsertItem(int nItem, const wchar_t* lpszItem);
  ORVEK_RESULT LONG InsertItem(int nItem, TCITEMW* pTabCtrlItem);
  int GetItemCount() const;
  int GetCurSel() const;
  int SetCurSel(int nItem);
  BOOL DeleteAllItems();
  // bLarger TRUE: display area to control rectangle; FALSE: the reverse.
  void AdjustRect(BOOL bLarger, LPRECT lpRect);
};

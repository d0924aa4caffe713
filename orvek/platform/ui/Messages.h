#pragma once

#include <orvek/platform/core/Types.h>

/// \file
/// Message numbers, window styles and the structures that travel with the
/// messages of the window layer. The values are those of the host platform,
/// so code written against them reads the same on both.

// ---- word packing -------------------------------------------------------------

/// The low and high 16-bit words of a message parameter, and two words packed
/// into one parameter, the low word first.
///@{
constexpr WORD LOWORD(std::uintptr_t v) { return static_cast<WORD>(v & 0xFFFFu); }
constexpr WORD HIWORD(std::uintptr_t v) { return static_cast<WORD>((v >> 16) & 0xFFFFu); }
constexpr WPARAM MAKEWPARAM(WORD lo, WORD hi) {
  return static_cast<WPARAM>(static_cast<DWORD>(lo) | (static_cast<DWORD>(hi) << 16));
}
constexpr LPARAM MAKELPARAM(WORD lo, WORD hi) {
  return static_cast<LPARAM>(static_cast<DWORD>(lo) | (static_cast<DWORD>(hi) << 16));
}
///@}

// ---- window messages (those shared with the core stand in Types.h) ------------

/// Window messages: creation, size, text, paint, font and vertical scroll.
///@{
constexpr UINT WM_CREATE = 0x0001;
constexpr UINT WM_SIZE = 0x0005;
constexpr UINT WM_SETTEXT = 0x000C;
constexpr UINT WM_GETTEXT = 0x000D;
constexpr UINT WM_GETTEXTLENGTH = 0x000E;
constexpr UINT WM_PAINT = 0x000F;
constexpr UINT WM_GETFONT = 0x0031;
constexpr UINT WM_VSCROLL = 0x0115;
///@}

/// The size kind in the wParam of WM_SIZE: the window was resized.
constexpr UINT SIZE_RESTORED = 0;

// ---- window styles ------------------------------------------------------------

/// Window styles, the dwStyle of Create and CreateEx. WS_CHILD makes a child of
/// the parent window, any other window is top-level.
///@{
constexpr DWORD WS_OVERLAPPED = 0x00000000u;
constexpr DWORD WS_POPUP = 0x80000000u;
constexpr DWORD WS_CHILD = 0x40000000u;
constexpr DWORD WS_MINIMIZE = 0x20000000u;
constexpr DWORD WS_VISIBLE = 0x10000000u;
constexpr DWORD WS_DISABLED = 0x08000000u;
constexpr DWORD WS_CLIPSIBLINGS = 0x04000000u;
constexpr DWORD WS_CLIPCHILDREN = 0x02000000u;
constexpr DWORD WS_MAXIMIZE = 0x01000000u;
constexpr DWORD WS_CAPTION = 0x00C00000u;
constexpr DWORD WS_BORDER = 0x00800000u;
constexpr DWORD WS_DLGFRAME = 0x00400000u;
constexpr DWORD WS_VSCROLL = 0x00200000u;
constexpr DWORD WS_HSCROLL = 0x00100000u;
constexpr DWORD WS_SYSMENU = 0x00080000u;
constexpr DWORD WS_THICKFRAME = 0x00040000u;
constexpr DWORD WS_GROUP = 0x00020000u;
constexpr DWORD WS_TABSTOP = 0x00010000u;
constexpr DWORD WS_MINIMIZEBOX = 0x00020000u;
constexpr DWORD WS_MAXIMIZEBOX = 0x00010000u;
constexpr DWORD WS_OVERLAPPEDWINDOW =
    WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
///@}

/// Extended window styles, the dwExStyle of CreateEx: on top of other windows,
/// a tool window with a small frame, a window with a taskbar entry.
///@{
constexpr DWORD WS_EX_TOPMOST = 0x00000008u;
constexpr DWORD WS_EX_TOOLWINDOW = 0x00000080u;
constexpr DWORD WS_EX_APPWINDOW = 0x00040000u;
///@}

/// Class styles are kept with a registered class; none of them changes how a
/// window behaves here.
///@{
constexpr UINT CS_VREDRAW = 0x0001;
constexpr UINT CS_HREDRAW = 0x0002;
constexpr UINT CS_DBLCLKS = 0x0008;
constexpr UINT CS_OWNDC = 0x0020;
constexpr UINT CS_CLASSDC = 0x0040;
constexpr UINT CS_SAVEBITS = 0x0800;
constexpr UINT CS_GLOBALCLASS = 0x4000;
constexpr UINT CS_DROPSHADOW = 0x00020000;
///@}

// ---- showing ------------------------------------------------------------------

/// Show commands of ShowWindow.
///@{
constexpr int SW_HIDE = 0;
constexpr int SW_SHOWNORMAL = 1;
constexpr int SW_NORMAL = 1;
constexpr int SW_SHOWMINIMIZED = 2;
constexpr int SW_SHOWMAXIMIZED = 3;
constexpr int SW_MAXIMIZE = 3;
constexpr int SW_SHOWNOACTIVATE = 4;
constexpr int SW_SHOW = 5;
constexpr int SW_MINIMIZE = 6;
constexpr int SW_SHOWMINNOACTIVE = 7;
constexpr int SW_SHOWNA = 8;
constexpr int SW_RESTORE = 9;
///@}

// ---- structures -----------------------------------------------------------------

/// A pointer to a point.
///@{
typedef POINT* LPPOINT;
///@}

struct HMENU__;
/// A menu handle; windows here have no menus, and the handle only travels.
typedef HMENU__* HMENU;

/// The parameters of a window's creation, which WM_CREATE carries in lParam.
struct CREATESTRUCTW {
  void* lpCreateParams;      ///< the last argument of Create or CreateEx
  HINSTANCE hInstance;       ///< module of the window
  HMENU hMenu;               ///< menu, or the control id of a child window
  HWND hwndParent;           ///< parent (child window) or owner
  int cy;                    ///< height
  int cx;                    ///< width
  int y;                     ///< top edge
  int x;                     ///< left edge
  LONG style;                ///< window styles (WS_)
  const wchar_t* lpszName;   ///< window text
  const wchar_t* lpszClass;  ///< class name
  DWORD dwExStyle;           ///< extended window styles (WS_EX_)
};
/// A pointer to the parameters of a window's creation.
typedef CREATESTRUCTW* LPCREATESTRUCTW;

/// Head of every WM_NOTIFY: lParam points to it.
struct tagNMHDR {
  HWND hwndFrom;    ///< the control that tells
  UINT_PTR idFrom;  ///< its control id
  UINT code;        ///< what happened, e.g. TCN_SELCHANGE
};
/// The names of the notification head and of a pointer to it.
///@{
typedef tagNMHDR NMHDR;
typedef tagNMHDR* LPNMHDR;
///@}

/// A timer callback: called on the window's thread with the window, WM_TIMER,
/// the timer id and the tick count, instead of a WM_TIMER handler.
typedef void (*TIMERPROC)(HWND hWnd, UINT message, UINT_PTR idEvent, DWORD time);

// ---- static text ------------------------------------------------------------------

/// Styles of static text: the alignment, and the mask of the type bits.
///@{
constexpr DWORD SS_LEFT = 0x0000;
constexpr DWORD SS_CENTER = 0x0001;
constexpr DWORD SS_RIGHT = 0x0002;
constexpr DWORD SS_TYPEMASK = 0x001F;
///@}

// ---- buttons ----------------------------------------------------------------------

/// Button styles: the type (push button, check box, three-state box), the mask
/// of the type bits and the alignment of the caption.
///@{
constexpr DWORD BS_PUSHBUTTON = 0x0000;
constexpr DWORD BS_DEFPUSHBUTTON = 0x0001;
constexpr DWORD BS_CHECKBOX = 0x0002;
constexpr DWORD BS_AUTOCHECKBOX = 0x0003;
constexpr DWORD BS_3STATE = 0x0005;
constexpr DWORD BS_AUTO3STATE = 0x0006;
constexpr DWORD BS_TYPEMASK = 0x000F;
constexpr DWORD BS_LEFT = 0x0100;
constexpr DWORD BS_RIGHT = 0x0200;
constexpr DWORD BS_CENTER = 0x0300;
///@}

/// The marks of a check box: BM_GETCHECK gives one, BM_SETCHECK takes one.
///@{
constexpr int BST_UNCHECKED = 0;
constexpr int BST_CHECKED = 1;
constexpr int BST_INDETERMINATE = 2;
///@}

/// Button messages (get and set the mark, click), and the notification code of
/// a click in the high word of WM_COMMAND's wParam.
///@{
constexpr UINT BM_GETCHECK = 0x00F0;
constexpr UINT BM_SETCHECK = 0x00F1;
constexpr UINT BM_CLICK = 0x00F5;
constexpr WORD BN_CLICKED = 0;
///@}

// ---- combo boxes ------------------------------------------------------------------

/// Combo box styles; the library makes drop-down lists (CBS_DROPDOWNLIST).
///@{
constexpr DWORD CBS_SIMPLE = 0x0001;
constexpr DWORD CBS_DROPDOWN = 0x0002;
constexpr DWORD CBS_DROPDOWNLIST = 0x0003;
///@}

/// Combo box messages, the error result CB_ERR, and the notification codes in
/// the high word of WM_COMMAND's wParam: a new selection, the list opens, the
/// list closes.
///@{
constexpr int CB_ERR = -1;
constexpr UINT CB_ADDSTRING = 0x0143;
constexpr UINT CB_GETCOUNT = 0x0146;
constexpr UINT CB_GETCURSEL = 0x0147;
constexpr UINT CB_GETLBTEXT = 0x0148;
constexpr UINT CB_GETLBTEXTLEN = 0x0149;
constexpr UINT CB_RESETCONTENT = 0x014B;
constexpr UINT CB_SETCURSEL = 0x014E;
constexpr UINT CB_SHOWDROPDOWN = 0x014F;
constexpr UINT CB_GETDROPPEDSTATE = 0x0157;
constexpr WORD CBN_SELCHANGE = 1;
constexpr WORD CBN_DROPDOWN = 7;
constexpr WORD CBN_CLOSEUP = 8;
///@}

// ---- sliders ----------------------------------------------------------------------

/// Slider styles: horizontal (WM_HSCROLL) or vertical (WM_VSCROLL).
///@{
constexpr DWORD TBS_HORZ = 0x0000;
constexpr DWORD TBS_VERT = 0x0002;
///@}

/// Slider messages: the position and the range. TBM_SETPOS clamps to the range.
///@{
constexpr UINT TBM_GETPOS = WM_USER;
constexpr UINT TBM_GETRANGEMIN = WM_USER + 1;
constexpr UINT TBM_GETRANGEMAX = WM_USER + 2;
constexpr UINT TBM_SETPOS = WM_USER + 5;
constexpr UINT TBM_SETRANGE = WM_USER + 6;
constexpr UINT TBM_SETRANGEMIN = WM_USER + 7;
constexpr UINT TBM_SETRANGEMAX = WM_USER + 8;
///@}

/// Scroll codes in the low word of WM_HSCROLL / WM_VSCROLL.
///@{
constexpr UINT TB_LINEUP = 0;
constexpr UINT TB_LINEDOWN = 1;
constexpr UINT TB_PAGEUP = 2;
constexpr UINT TB_PAGEDOWN = 3;
constexpr UINT TB_THUMBPOSITION = 4;
constexpr UINT TB_THUMBTRACK = 5;
constexpr UINT TB_TOP = 6;
constexpr UINT TB_BOTTOM = 7;
constexpr UINT TB_ENDTRACK = 8;
///@}

// ---- tab controls -----------------------------------------------------------------

/// Tab control messages, the mask bit of an item's text, and the notification
/// code of a new tab chosen by the user (WM_NOTIFY).
///@{
constexpr UINT TCIF_TEXT = 0x0001;
constexpr UINT TCM_GETITEMCOUNT = 0x1304;
constexpr UINT TCM_DELETEALLITEMS = 0x1309;
constexpr UINT TCM_GETCURSEL = 0x130B;
constexpr UINT TCM_SETCURSEL = 0x130C;
constexpr UINT TCM_ADJUSTRECT = 0x1328;
constexpr UINT TCM_INSERTITEMW = 0x133E;
constexpr UINT TCN_SELCHANGE = static_cast<UINT>(-551);
///@}

/// One tab of a tab control.
struct TCITEMW {
  UINT mask;          ///< which fields count: TCIF_TEXT for pszText
  DWORD dwState;      ///< state bits; not used
  DWORD dwStateMask;  ///< which state bits count; not used
  wchar_t* pszText;   ///< the tab's text
  int cchTextMax;     ///< size of pszText; not used
  int iImage;         ///< image index; not used
  LPARAM lParam;      ///< the host's value; not used
};

/// Class names of the built-in controls, for CWnd::CreateEx.
///@{
#define WC_STATICW L"Static"
#define WC_BUTTONW L"Button"
#define WC_COMBOBOXW L"ComboBox"
#define TRACKBAR_CLASSW L"msctls_trackbar32"
#define WC_TABCONTROLW L"SysTabControl32"
///@}

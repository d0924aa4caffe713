#pragma once

#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Messages.h>

class QWidget;
class CWndImpl;
class CWnd;

// The window that sent a scroll message (a slider): handlers ask it for its
// control id.
typedef CWnd CScrollBar;

// A window. The object exists before and after its window: Create/CreateEx
// make the window, DestroyWindow (or the user's close) ends it, and m_hWnd is
// the handle of the live window or null.
//
// A subclass handles messages by overriding the virtual handlers (OnPaint,
// OnTimer, OnClose, ...); each default passes the message on with Default().
// Every message reaches WindowProc first, which calls the handler through
// OnWndMsg and DefWindowProc for what no handler took. Posted messages and
// timer messages are offered to PreTranslateMessage of the window and its
// parents (owners) first; a TRUE there swallows them.
//
// Threads: windows live on the thread of the application object. IsWindow,
// IsWindowVisible, PostMessageW, SendMessageW, InvalidateRect and FromHandle
// may be called from any thread; everything else belongs to the window's
// thread and fails elsewhere (ERROR_WINDOW_OF_OTHER_THREAD).
class ORVEK_API CWnd {
 public:
  CWnd();
  // Destroys a window that still exists; the derived parts are gone by then,
  // so only CWnd's own handlers see its last messages.
  virtual ~CWnd();
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;

  HWND m_hWnd;

  // ---- creation ----
  // lpszClassName: null for the plain default class, a name from
  // AfxRegisterWndClass, or a built-in control class (WC_STATICW, ...).
  // WS_CHILD windows need a parent and take rect in its client coordinates;
  // other windows are top-level, rect is their screen rectangle with frame,
  // and pParentWnd is their owner.
  BOOL Create(const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle, const RECT& rect,
              CWnd* pParentWnd, UINT nID, void* pContext = nullptr);
  BOOL CreateEx(DWORD dwExStyle, const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle,
                const RECT& rect, CWnd* pParentWnd, UINT nID, void* lpParam = nullptr);
  // Sends WM_DESTROY to the window and then to its children and owned
  // windows, and ends them all. FALSE if there is no window.
  virtual BOOL DestroyWindow();

  HWND GetSafeHwnd() const { return m_hWnd; }
  operator HWND() const { return m_hWnd; }
  // The object of a live window, or null.
  static CWnd* FromHandle(HWND hWnd);
  // The window with the keyboard focus (a control inside a compound widget
  // maps to its control), or null.
  static CWnd* GetFocus();
  CWnd* SetFocus();
  // The parent of a child, the owner of a popup, else null.
  CWnd* GetParent() const;
  CWnd* GetDlgItem(int nID) const;
  int GetDlgCtrlID() const;
  DWORD GetStyle() const;
  DWORD GetExStyle() const;

  // ---- messages ----
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  // The default handling of the message being handled.
  LRESULT Default();
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  // What the window's class does: WM_CLOSE destroys, text and font messages
  // set and read them, and controls answer their own messages here.
  virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  virtual BOOL PreTranslateMessage(MSG* pMsg);

  // ---- handlers ----
  virtual int OnCreate(LPCREATESTRUCTW lpCreateStruct);
  virtual void OnPaint();
  virtual void OnTimer(UINT nIDEvent);
  virtual void OnClose();
  virtual void OnDestroy();
  virtual void OnSize(UINT nType, int cx, int cy);
  virtual void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
  virtual void OnVScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
  // TRUE when handled; the defaults handle nothing.
  virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
  virtual BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);

  // ---- timers ----
  // A periodic WM_TIMER with the caller's id (0 is refused); the same id
  // again replaces the running timer. With lpfnTimer the callback runs
  // instead of the message. Returns the id, or 0.
  UINT_PTR SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer = nullptr);
  BOOL KillTimer(UINT_PTR nIDEvent);

  // ---- state and geometry ----
  // Returns whether the window was visible before.
  BOOL ShowWindow(int nCmdShow);
  BOOL IsWindowVisible() const;
  BOOL EnableWindow(BOOL bEnable = TRUE);
  BOOL IsWindowEnabled() const;
  void MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE);
  void MoveWindow(LPCRECT lpRect, BOOL bRepaint = TRUE);
  void GetWindowRect(LPRECT lpRect) const;
  void GetClientRect(LPRECT lpRect) const;
  void ClientToScreen(LPPOINT lpPoint) const;
  void ClientToScreen(LPRECT lpRect) const;
  void ScreenToClient(LPPOINT lpPoint) const;
  void ScreenToClient(LPRECT lpRect) const;
  // A child is centred in its parent's client area; a top-level window over
  // its owner, else over the main window, else on the screen, and kept on
  // the screen.
  void CenterWindow(CWnd* pAlternateOwner = nullptr);
  enum AdjustType { adjustBorder = 0, adjustOutside = 1 };
  // Grows a client rectangle to the window rectangle of this window.
  virtual void CalcWindowRect(LPRECT lpClientRect, UINT nAdjustType = adjustBorder);
  void Invalidate(BOOL bErase = TRUE);
  void InvalidateRect(LPCRECT lpRect, BOOL bErase = TRUE);
  // Paints what is invalid now, before returning.
  void UpdateWindow();
  void SetWindowTextW(const wchar_t* lpszString);
  int GetWindowTextW(wchar_t* lpszStringBuf, int nMaxCount) const;
  void GetWindowTextW(CStringW& rString) const;
  int GetWindowTextLengthW() const;
  void SetFont(CFont* pFont, BOOL bRedraw = TRUE);

  // ---- extras for hosts and tests ----
  // The widget behind the window, for hosts that are Qt programs; null
  // without a window.
  QWidget* GetQWidget() const;
  // Writes the client area with its children as PNG: S_OK, E_POINTER for a
  // null path, E_FAIL without a window or when the file cannot be written.
  ORVEK_RESULT LONG SaveClientImage(const wchar_t* pszPath) const;
  // The period that SetTimer was given for a running timer.
  BOOL GetTimerElapse(UINT_PTR nIDEvent, UINT* pElapse) const;

 private:
  friend class CWndImpl;
  CWndImpl* m_pImpl;
};

// The thread record of the host's GUI thread. m_pMainWnd is the host's main
// window: the host sets it; the library only reads it. Deleting that CWnd
// clears it.
class ORVEK_API CWinThread {
 public:
  CWinThread();
  virtual ~CWinThread();
  CWinThread(const CWinThread&) = delete;
  CWinThread& operator=(const CWinThread&) = delete;

  virtual CWnd* GetMainWnd();

  CWnd* m_pMainWnd;
  DWORD m_nThreadID;
};

// The record of the calling thread: the GUI thread (the thread of the
// application object) has one, any other thread none (null).
ORVEK_API CWinThread* AfxGetThread();
ORVEK_API CWnd* AfxGetMainWnd();

// Registers (or finds) a class for windows with a background brush; the
// brush's colour is copied when a window of the class is created. The name
// stays valid for the life of the process.
ORVEK_API const wchar_t* AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor = nullptr,
                                             HBRUSH hbrBackground = nullptr, HICON hIcon = nullptr);

// ---- the same operations on handles ----------------------------------------------

ORVEK_API BOOL IsWindow(HWND hWnd);
ORVEK_API BOOL IsWindowVisible(HWND hWnd);
ORVEK_API BOOL DestroyWindow(HWND hWnd);
// Runs the window's handler at once; from another thread it waits until the
// window's thread has run it (0 if the window ends first).
ORVEK_API LRESULT SendMessageW(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);
// Any thread; asks for a paint without waiting for it.
ORVEK_API BOOL InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase);
ORVEK_API BOOL ShowWindow(HWND hWnd, int nCmdShow);
ORVEK_API BOOL MoveWindow(HWND hWnd, int x, int y, int nWidth, int nHeight, BOOL bRepaint);
ORVEK_API BOOL GetWindowRect(HWND hWnd, LPRECT lpRect);
ORVEK_API BOOL GetClientRect(HWND hWnd, LPRECT lpRect);
ORVEK_API HWND GetParent(HWND hWnd);
ORVEK_API HWND GetFocus();
ORVEK_API BOOL SetWindowTextW(HWND hWnd, const wchar_t* lpString);
ORVEK_API UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc);
ORVEK_API BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent);
// Grows a client rectangle by the frame that the platform draws round a
// top-level window of that style (0 for children and frameless windows, and
// where the platform reports none).
ORVEK_API BOOL AdjustWindowRectEx(LPRECT lpRect, DWORD dwStyle, BOOL bMenu, DWORD dwExStyle);

#pragma once

#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>
#include <orvek/platform/ui/Gdi.h>
#include <orvek/platform/ui/Messages.h>

/// \file
/// Windows: CWnd, the record of the GUI thread, window classes, and the same
/// operations on window handles.

class QWidget;
class CWndImpl;
class CWnd;

/// The window that sent a scroll message (a slider): handlers ask it for its
/// control id.
typedef CWnd CScrollBar;

/// A window. The object exists before and after its window: Create/CreateEx
/// make the window, DestroyWindow (or the user's close) ends it, and m_hWnd is
/// the handle of the live window or null.
///
/// A subclass handles messages by overriding the virtual handlers (OnPaint,
/// OnTimer, OnClose, ...); each default passes the message on with Default().
/// Every message reaches WindowProc first, which calls the handler through
/// OnWndMsg and DefWindowProc for what no handler took. Posted messages and
/// timer messages are offered to PreTranslateMessage of the window and its
/// parents (owners) first; a TRUE there swallows them.
///
/// Threads: windows live on the thread of the application object. IsWindow,
/// IsWindowVisible, PostMessageW, SendMessageW, InvalidateRect and FromHandle
/// may be called from any thread; everything else belongs to the window's
/// thread and fails elsewhere (ERROR_WINDOW_OF_OTHER_THREAD).
class ORVEK_API CWnd {
 public:
  /// An object without a window.
  CWnd();
  /// Destroys a window that still exists; the derived parts are gone by then,
  /// so only CWnd's own handlers see its last messages.
  virtual ~CWnd();
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;

  /// The handle of the live window, or null.
  HWND m_hWnd;

  // ---- creation ----
  /// Makes the window; FALSE if it cannot be made (GetLastError tells why) or
  /// if OnCreate refused it. The object must not have a window yet.
  /// lpszClassName: null for the plain default class, a name from
  /// AfxRegisterWndClass, or a built-in control class (WC_STATICW, ...).
  /// WS_CHILD windows need a parent and take rect in its client coordinates;
  /// other windows are top-level, rect is their screen rectangle with frame,
  /// and pParentWnd is their owner. nID is the control id; lpParam reaches
  /// OnCreate as lpCreateParams, pContext is not used.
  ///@{
  BOOL Create(const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle, const RECT& rect,
              CWnd* pParentWnd, UINT nID, void* pContext = nullptr);
  BOOL CreateEx(DWORD dwExStyle, const wchar_t* lpszClassName, const wchar_t* lpszWindowName, DWORD dwStyle,
                const RECT& rect, CWnd* pParentWnd, UINT nID, void* lpParam = nullptr);
  ///@}
  /// Sends WM_DESTROY to the window and then to its children and owned
  /// windows, and ends them all. FALSE if there is no window.
  virtual BOOL DestroyWindow();

  /// m_hWnd: the handle of the live window, or null.
  ///@{
  HWND GetSafeHwnd() const { return m_hWnd; }
  operator HWND() const { return m_hWnd; }
  ///@}
  /// The object of a live window, or null.
  static CWnd* FromHandle(HWND hWnd);
  /// The window with the keyboard focus (a control inside a compound widget
  /// maps to its control), or null.
  static CWnd* GetFocus();
  /// Activates the window's top-level window and gives the window the
  /// keyboard focus; returns the window that had the focus before, or null.
  CWnd* SetFocus();
  /// The parent of a child, the owner of a popup, else null.
  CWnd* GetParent() const;
  /// The child window (not an owned one) with control id nID, or null.
  CWnd* GetDlgItem(int nID) const;
  /// The control id given to Create; 0 without a window.
  int GetDlgCtrlID() const;
  /// The style given at creation, with WS_VISIBLE and WS_DISABLED as they are
  /// now; 0 without a window.
  DWORD GetStyle() const;
  /// The extended style given to CreateEx; 0 without a window.
  DWORD GetExStyle() const;

  // ---- messages ----
  /// SendMessageW to this window.
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  /// PostMessageW to this window; FALSE without a window (a null handle
  /// would post to the thread's queue).
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  /// The default handling of the message being handled.
  LRESULT Default();
  /// Where every message arrives: OnWndMsg runs its handler, DefWindowProc
  /// handles what no handler took. Returns the message's result.
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  /// Calls the handler of the message and stores its result in *pResult (if
  /// not null); FALSE for a message without a handler here and for a
  /// WM_COMMAND or WM_NOTIFY that the handler did not take.
  virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  /// What the window's class does: WM_CLOSE destroys, text and font messages
  /// set and read them, and controls answer their own messages here.
  virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  /// Sees a posted or timer message of this window, or of a window inside it
  /// or owned by it, before it is handled; TRUE swallows it. The default
  /// swallows nothing.
  virtual BOOL PreTranslateMessage(MSG* pMsg);

  // ---- handlers ----
  /// WM_CREATE, before Create returns: -1 ends the window and Create fails,
  /// 0 keeps it.
  virtual int OnCreate(LPCREATESTRUCTW lpCreateStruct);
  /// WM_PAINT: the window draws itself with a CPaintDC, over the background
  /// brush of its class (if any). The default draws nothing.
  virtual void OnPaint();
  /// WM_TIMER of a timer that SetTimer started without a callback; nIDEvent
  /// is its id.
  virtual void OnTimer(UINT nIDEvent);
  /// WM_CLOSE (the user's close of a top-level window sends it): the default
  /// destroys the window; a handler that does not pass it on keeps it.
  virtual void OnClose();
  /// WM_DESTROY: the window is ending; its children and owned windows get
  /// theirs after it.
  virtual void OnDestroy();
  /// WM_SIZE after the client area of a window that is not a control changed
  /// size: nType is SIZE_RESTORED, cx and cy the new client width and height.
  virtual void OnSize(UINT nType, int cx, int cy);
  /// WM_HSCROLL and WM_VSCROLL from a slider: nSBCode is the TB_ code of the
  /// move, nPos the position for TB_THUMBTRACK and TB_THUMBPOSITION (else 0),
  /// pScrollBar the slider.
  ///@{
  virtual void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
  virtual void OnVScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
  ///@}
  /// WM_COMMAND (the control id in the low word of wParam, the notification
  /// code in the high word, the control's handle in lParam) and WM_NOTIFY
  /// (lParam points to the NMHDR; *pResult is the answer) from a control.
  /// TRUE when handled; the defaults handle nothing.
  ///@{
  virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
  virtual BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  ///@}

  // ---- timers ----
  /// A periodic WM_TIMER with the caller's id (0 is refused); the same id
  /// again replaces the running timer. With lpfnTimer the callback runs
  /// instead of the message. Returns the id, or 0.
  UINT_PTR SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer = nullptr);
  /// Stops the timer with that id; FALSE if none runs.
  BOOL KillTimer(UINT_PTR nIDEvent);

  // ---- state and geometry ----
  /// Shows, hides, minimizes or maximizes the window by its SW_ command.
  /// Returns whether the window was visible before.
  BOOL ShowWindow(int nCmdShow);
  /// Whether the window and the windows it lies in are shown.
  BOOL IsWindowVisible() const;
  /// Enables or disables the window for input; returns whether it was
  /// disabled before.
  BOOL EnableWindow(BOOL bEnable = TRUE);
  /// Whether the window takes input.
  BOOL IsWindowEnabled() const;
  /// Places the window: a child in its parent's client coordinates, a
  /// top-level window by its screen rectangle with frame (without
  /// WS_THICKFRAME the user cannot change that size). The window repaints
  /// anyway, so bRepaint is not needed; a null rectangle is ignored.
  ///@{
  void MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE);
  void MoveWindow(LPCRECT lpRect, BOOL bRepaint = TRUE);
  ///@}
  /// The window's rectangle on the screen, with the frame of a top-level
  /// window.
  void GetWindowRect(LPRECT lpRect) const;
  /// The client area: (0, 0) to its width and height.
  void GetClientRect(LPRECT lpRect) const;
  /// Converts a point or a rectangle between the window's client coordinates
  /// and the screen's.
  ///@{
  void ClientToScreen(LPPOINT lpPoint) const;
  void ClientToScreen(LPRECT lpRect) const;
  void ScreenToClient(LPPOINT lpPoint) const;
  void ScreenToClient(LPRECT lpRect) const;
  ///@}
  /// A child is centred in its parent's client area; a top-level window over
  /// its owner, else over the main window, else on the screen, and kept on
  /// the screen.
  void CenterWindow(CWnd* pAlternateOwner = nullptr);
  /// What CalcWindowRect is asked to add. These windows have no scroll bars,
  /// so both add the frame alone.
  enum AdjustType {
    adjustBorder = 0,  ///< the frame
    adjustOutside = 1  ///< the frame and scroll bars
  };
  /// Grows a client rectangle to the window rectangle of this window.
  virtual void CalcWindowRect(LPRECT lpClientRect, UINT nAdjustType = adjustBorder);
  /// Asks for a paint of the whole client area (Invalidate) or a part of it
  /// in client coordinates (null: all); the paint comes later.
  ///@{
  void Invalidate(BOOL bErase = TRUE);
  void InvalidateRect(LPCRECT lpRect, BOOL bErase = TRUE);
  ///@}
  /// Paints what is invalid now, before returning.
  void UpdateWindow();
  /// Sets the window's text (WM_SETTEXT): the title of a top-level window,
  /// the text of a control.
  void SetWindowTextW(const wchar_t* lpszString);
  /// Copies at most nMaxCount - 1 characters of the text and a terminating
  /// zero; returns the number of characters copied.
  int GetWindowTextW(wchar_t* lpszStringBuf, int nMaxCount) const;
  /// The whole text; empty without a window.
  void GetWindowTextW(CStringW& rString) const;
  /// The length of the text in characters.
  int GetWindowTextLengthW() const;
  /// Sets the window's font (WM_SETFONT); null restores the default font.
  void SetFont(CFont* pFont, BOOL bRedraw = TRUE);

  // ---- extras for hosts and tests ----
  /// The widget behind the window, for hosts that are Qt programs; null
  /// without a window.
  QWidget* GetQWidget() const;
  /// Writes the client area with its children as PNG: S_OK, E_POINTER for a
  /// null path, E_FAIL without a window or when the file cannot be written.
  ORVEK_RESULT LONG SaveClientImage(const wchar_t* pszPath) const;
  /// The period that SetTimer was given for a running timer.
  BOOL GetTimerElapse(UINT_PTR nIDEvent, UINT* pElapse) const;

 private:
  friend class CWndImpl;
  CWndImpl* m_pImpl;
};

/// The thread record of the host's GUI thread. m_pMainWnd is the host's main
/// window: the host sets it; the library only reads it. Deleting that CWnd
/// clears it.
class ORVEK_API CWinThread {
 public:
  /// A record of the calling thread, without a main window.
  CWinThread();
  virtual ~CWinThread();
  CWinThread(const CWinThread&) = delete;
  CWinThread& operator=(const CWinThread&) = delete;

  /// m_pMainWnd.
  virtual CWnd* GetMainWnd();

  /// The host's main window, or null.
  CWnd* m_pMainWnd;
  /// The id of the thread (GetCurrentThreadId).
  DWORD m_nThreadID;
};

/// The record of the calling thread: the GUI thread (the thread of the
/// application object) has one, any other thread none (null).
ORVEK_API CWinThread* AfxGetThread();
/// The main window of the calling thread's record; null on other threads
/// than the GUI thread and before the host has set one.
ORVEK_API CWnd* AfxGetMainWnd();

/// Registers (or finds) a class for windows with a background brush; the
/// brush's colour is copied when a window of the class is created. The name
/// stays valid for the life of the process.
ORVEK_API const wchar_t* AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor = nullptr,
                                             HBRUSH hbrBackground = nullptr, HICON hIcon = nullptr);

// ---- the same operations on handles ----------------------------------------------

/// Any thread: whether the handle names a live window, and whether that
/// window is shown.
///@{
ORVEK_API BOOL IsWindow(HWND hWnd);
ORVEK_API BOOL IsWindowVisible(HWND hWnd);
///@}
/// CWnd::DestroyWindow of the window; FALSE for a handle of no live window of
/// the calling thread.
ORVEK_API BOOL DestroyWindow(HWND hWnd);
/// Runs the window's handler at once; from another thread it waits until the
/// window's thread has run it (0 if the window ends first).
ORVEK_API LRESULT SendMessageW(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Any thread; asks for a paint without waiting for it.
ORVEK_API BOOL InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase);
/// The CWnd members of the same names on the window of the handle, which must
/// live on the calling thread; FALSE or null for any other handle.
///@{
ORVEK_API BOOL ShowWindow(HWND hWnd, int nCmdShow);
ORVEK_API BOOL MoveWindow(HWND hWnd, int x, int y, int nWidth, int nHeight, BOOL bRepaint);
ORVEK_API BOOL GetWindowRect(HWND hWnd, LPRECT lpRect);
ORVEK_API BOOL GetClientRect(HWND hWnd, LPRECT lpRect);
ORVEK_API HWND GetParent(HWND hWnd);
///@}
/// The handle of the window with the keyboard focus, or null (as
/// CWnd::GetFocus).
ORVEK_API HWND GetFocus();
/// The CWnd members of the same names on the window of the handle, which must
/// live on the calling thread; FALSE or 0 for any other handle.
///@{
ORVEK_API BOOL SetWindowTextW(HWND hWnd, const wchar_t* lpString);
ORVEK_API UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc);
ORVEK_API BOOL KillTimer(HWND hWnd, UINT_PTR uIDEvent);
///@}
/// Grows a client rectangle by the frame that the platform draws round a
/// top-level window of that style (0 for children and frameless windows, and
/// where the platform reports none).
ORVEK_API BOOL AdjustWindowRectEx(LPRECT lpRect, DWORD dwStyle, BOOL bMenu, DWORD dwExStyle);

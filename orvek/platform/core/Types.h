#pragma once

#include <cstddef>
#include <cstdint>

#include <orvek/platform/core/Export.h>

/// \file
/// The basic vocabulary of the library: fixed-width integer names, handles,
/// result codes, the plain structures of rectangles, points, times and
/// messages, and the message numbers the layers share.

/// Fixed-width names of the host's world. LONG and ULONG are 32 bits on every
/// target, whatever the target's own long is.
///@{
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::uint32_t DWORD;
typedef std::uint32_t UINT;
typedef std::int32_t BOOL;
typedef std::int32_t INT;
typedef std::uint16_t WORD;
typedef std::uint8_t BYTE;
typedef std::int64_t LONGLONG;
typedef std::uint64_t ULONGLONG;
typedef std::uintptr_t UINT_PTR;
typedef std::intptr_t INT_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::uintptr_t WPARAM;
typedef std::intptr_t LPARAM;
typedef std::intptr_t LRESULT;
typedef LONG HRESULT;
///@}

#ifndef TRUE
/// The true value of a BOOL; a BOOL result counts any nonzero value as true.
#define TRUE 1
#endif
#ifndef FALSE
/// The false value of a BOOL.
#define FALSE 0
#endif

/// Opaque handles. A HANDLE names a waitable object of the core layer; an
/// HWND names a live window of the ui layer; an HINSTANCE is the base address
/// of a loaded object.
///@{
typedef void* HANDLE;
struct HWND__;
typedef HWND__* HWND;
typedef void* HINSTANCE;
typedef HINSTANCE HMODULE;
///@}

/// The HANDLE that a failed open or search returns instead of a handle.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(~std::uintptr_t(0)))
/// A timeout that never runs out: the wait lasts until the object is signalled.
#define INFINITE 0xFFFFFFFFu

/// Result codes: the one list of what the library returns. S_OK and S_FALSE
/// are successes, the E_ codes failures, and the ERROR_ codes system error
/// numbers that operations return as they are.
///@{
constexpr LONG S_OK = 0;
constexpr LONG S_FALSE = 1;
constexpr LONG E_FAIL = static_cast<LONG>(0x80004005u);
constexpr LONG E_POINTER = static_cast<LONG>(0x80004003u);
constexpr LONG E_PENDING = static_cast<LONG>(0x8000000Au);
constexpr LONG E_ACCESSDENIED = static_cast<LONG>(0x80070005u);
constexpr LONG E_OUTOFMEMORY = static_cast<LONG>(0x8007000Eu);
constexpr LONG E_INVALIDARG = static_cast<LONG>(0x80070057u);
constexpr LONG ERROR_INVALID_DATA = 13;
constexpr LONG ERROR_OUTOFMEMORY = 14;
constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
constexpr LONG ERROR_END_OF_MEDIA = 1100;
constexpr LONG ERROR_IO_DEVICE = 1117;
constexpr LONG ERROR_ALREADY_INITIALIZED = 1247;
constexpr LONG ERROR_INVALID_INDEX = 1413;
constexpr LONG ERROR_TIMEOUT = 1460;
///@}

/// System error numbers as GetLastError and CFileException::m_lOsError give
/// them: a missing file or folder, a refused access, a handle that is none, a
/// bad argument, a name that exists, a file another open holds, no thread of
/// that id, too many objects, a missing version block; and of the window
/// layer: no live window of that handle, a child window without a parent, no
/// class of that name, a call from a thread that is not the window's. Other
/// errno values come through as they are.
///@{
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
constexpr DWORD ERROR_TLW_WITH_WSCHILD = 1406;
constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
constexpr DWORD ERROR_WINDOW_OF_OTHER_THREAD = 1408;
constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;
constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;
///@}

/// HRESULT_FROM_WIN32: positive system error numbers wrapped as failures.
/// Zero and negative values (results already) come back unchanged.
constexpr LONG HRESULT_FROM_WIN32(LONG e) {
  return e <= 0 ? e : static_cast<LONG>((static_cast<DWORD>(e) & 0x0000FFFFu) | 0x80070000u);
}

/// A rectangle in pixels: right and bottom lie just outside it.
struct tagRECT {
  LONG left;    ///< first column inside
  LONG top;     ///< first row inside
  LONG right;   ///< first column outside
  LONG bottom;  ///< first row outside
};
/// The names of a rectangle and of pointers to one.
///@{
typedef tagRECT RECT;
typedef RECT* LPRECT;
typedef const RECT* LPCRECT;
///@}

/// A point in pixels.
struct tagPOINT {
  LONG x;  ///< column
  LONG y;  ///< row
};
/// The name of a point.
typedef tagPOINT POINT;

/// A width and a height in pixels.
struct tagSIZE {
  LONG cx;  ///< width
  LONG cy;  ///< height
};
/// The name of a size.
typedef tagSIZE SIZE;

/// A 64-bit count of 100-nanosecond intervals in two halves: a point in time
/// or, for thread times, a duration.
struct FILETIME {
  DWORD dwLowDateTime;   ///< low 32 bits
  DWORD dwHighDateTime;  ///< high 32 bits
};

/// A calendar date and time of day, as the local clock shows it.
struct SYSTEMTIME {
  WORD wYear;          ///< the full year, e.g. 2024
  WORD wMonth;         ///< 1 (January) to 12
  WORD wDayOfWeek;     ///< 0 (Sunday) to 6
  WORD wDay;           ///< day of the month, from 1
  WORD wHour;          ///< 0 to 23
  WORD wMinute;        ///< 0 to 59
  WORD wSecond;        ///< 0 to 59
  WORD wMilliseconds;  ///< 0 to 999
};

/// The fixed part of a version block: a version a.b.c.d is stored as a << 16 | b
/// in the MS word and c << 16 | d in the LS word.
struct tagVS_FIXEDFILEINFO {
  DWORD dwSignature;         ///< 0xFEEF04BD
  DWORD dwStrucVersion;      ///< version of this structure, 0x00010000
  DWORD dwFileVersionMS;     ///< major and minor file version
  DWORD dwFileVersionLS;     ///< build and revision of the file version
  DWORD dwProductVersionMS;  ///< major and minor product version
  DWORD dwProductVersionLS;  ///< build and revision of the product version
  DWORD dwFileFlagsMask;     ///< which bits of dwFileFlags are valid
  DWORD dwFileFlags;         ///< attributes of the file; 0 here
  DWORD dwFileOS;            ///< system the file was made for
  DWORD dwFileType;          ///< kind of file; 2 for a library
  DWORD dwFileSubtype;       ///< kind within the kind
  DWORD dwFileDateMS;        ///< high 32 bits of the file's date; 0 here
  DWORD dwFileDateLS;        ///< low 32 bits of the file's date; 0 here
};
/// The name of the fixed part of a version block.
typedef tagVS_FIXEDFILEINFO VS_FIXEDFILEINFO;

/// A signed 64-bit value, whole or in two halves. A waitable timer takes its
/// due time in it: negative for a delay in 100-nanosecond units.
union LARGE_INTEGER {
  /// The two halves.
  struct {
    DWORD LowPart;  ///< low 32 bits
    LONG HighPart;  ///< high 32 bits, signed
  } u;
  LONGLONG QuadPart;  ///< the whole value
};

/// A message as a thread's queue holds it.
struct tagMSG {
  HWND hwnd;      ///< target window; null for a message to the thread
  UINT message;   ///< message number
  WPARAM wParam;  ///< first parameter
  LPARAM lParam;  ///< second parameter
  DWORD time;     ///< tick count when it was posted
  POINT pt;       ///< kept for the layout; the library leaves it (0, 0)
};
/// The name of a queued message.
typedef tagMSG MSG;

/// Message numbers shared by the layers.
///@{
constexpr UINT WM_NULL = 0x0000;
constexpr UINT WM_DESTROY = 0x0002;
constexpr UINT WM_CLOSE = 0x0010;
constexpr UINT WM_QUIT = 0x0012;
constexpr UINT WM_SETFONT = 0x0030;
constexpr UINT WM_NOTIFY = 0x004E;
constexpr UINT WM_COMMAND = 0x0111;
constexpr UINT WM_TIMER = 0x0113;
constexpr UINT WM_HSCROLL = 0x0114;
constexpr UINT WM_USER = 0x0400;
constexpr UINT WM_APP = 0x8000;
///@}

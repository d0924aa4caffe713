#pragma once

#include <cstddef>
#include <cstdint>

#include <orvek/platform/core/Export.h>

// Fixed-width names of the host's world. LONG and ULONG are 32 bits on every
// target, whatever the target's own long is.
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

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// Opaque handles. A HANDLE names a waitable object of the core layer; an
// HWND names a live window of the ui layer; an HINSTANCE is the base address
// of a loaded object.
typedef void* HANDLE;
struct HWND__;
typedef HWND__* HWND;
typedef void* HINSTANCE;
typedef HINSTANCE HMODULE;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(~std::uintptr_t(0)))
#define INFINITE 0xFFFFFFFFu

// Result codes: the one list of what the library returns.
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

// HRESULT_FROM_WIN32: positive system error numbers wrapped as failures.
constexpr LONG HRESULT_FROM_WIN32(LONG e) {
  return e <= 0 ? e : static_cast<LONG>((static_cast<DWORD>(e) & 0x0000FFFFu) | 0x80070000u);
}

struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
typedef tagRECT RECT;
typedef RECT* LPRECT;
typedef const RECT* LPCRECT;

struct tagPOINT {
  LONG x;
  LONG y;
};
typedef tagPOINT POINT;

struct tagSIZE {
  LONG cx;
  LONG cy;
};
typedef tagSIZE SIZE;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

struct tagVS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
};
typedef tagVS_FIXEDFILEINFO VS_FIXEDFILEINFO;

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

struct tagMSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
typedef tagMSG MSG;

// Message numbers shared by the layers.
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

#pragma once

#include <string>

#include <orvek/platform/core/Types.h>

// Modules, folders and version blocks. A module handle is the base address of
// a loaded object; the null handle stands for the host's executable.

// Kept for the name field of WIN32_FIND_DATAW only: no path of the library is
// cut to it.
constexpr DWORD MAX_PATH = 260;

// Writes the module's full path; when the buffer is too small it writes what
// fits with a closing zero, returns size and sets ERROR_INSUFFICIENT_BUFFER.
// Returns 0 for an unknown module.
ORVEK_API DWORD GetModuleFileNameW(HINSTANCE module, wchar_t* buffer, DWORD size);
// The handle of the Orvek library itself.
ORVEK_API HINSTANCE OrvekGetModuleHandle();

// The full path of a module as the bytes the system reports, of any length;
// empty for an unknown module. The null handle stands for the executable.
ORVEK_API std::string OrvekGetModuleFileName(HINSTANCE module);
// The folder of the host's executable, with a closing '/', as bytes and at
// its full length. Every "beside the application" path starts here.
ORVEK_API std::string OrvekGetApplicationFolder();

ORVEK_API BOOL SetCurrentDirectoryW(const wchar_t* path);
// The narrow forms take the path as bytes, converted in no way.
ORVEK_API BOOL SetCurrentDirectoryA(const char* path);
ORVEK_API DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer);
ORVEK_API BOOL CreateDirectoryW(const wchar_t* path, void* security);
ORVEK_API BOOL CreateDirectoryA(const char* path, void* security);
ORVEK_API BOOL DeleteFileW(const wchar_t* path);
ORVEK_API BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists);

struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  wchar_t cFileName[MAX_PATH];
};
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
// An existence test: a handle when the named file or folder exists, else
// INVALID_HANDLE_VALUE. No wildcards.
ORVEK_API HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data);
ORVEK_API BOOL FindClose(HANDLE find);

// Version blocks. Linux binaries carry none: the library answers for itself
// with its own version and for modules whose version the host registered.
ORVEK_API BOOL OrvekRegisterModuleVersion(HINSTANCE module, WORD major, WORD minor, WORD build, WORD revision);
ORVEK_API DWORD GetFileVersionInfoSizeW(const wchar_t* fileName, DWORD* handle);
ORVEK_API BOOL GetFileVersionInfoW(const wchar_t* fileName, DWORD handle, DWORD size, void* data);
ORVEK_API DWORD GetFileVersionInfoSizeA(const char* fileName, DWORD* handle);
ORVEK_API BOOL GetFileVersionInfoA(const char* fileName, DWORD handle, DWORD size, void* data);
ORVEK_API BOOL VerQueryValueW(const void* block, const wchar_t* subBlock, void** buffer, UINT* length);

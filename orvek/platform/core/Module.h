#pragma once

#include <string>

#include <orvek/platform/core/Types.h>

/// \file
/// Modules, folders and version blocks. A module handle is the base address of
/// a loaded object; the null handle stands for the host's executable.

/// Kept for the name field of WIN32_FIND_DATAW only: no path of the library is
/// cut to it.
constexpr DWORD MAX_PATH = 260;

/// Writes the module's full path; when the buffer is too small it writes what
/// fits with a closing zero, returns size and sets ERROR_INSUFFICIENT_BUFFER.
/// Returns 0 for an unknown module.
ORVEK_API DWORD GetModuleFileNameW(HINSTANCE module, wchar_t* buffer, DWORD size);
/// The handle of the Orvek library itself.
ORVEK_API HINSTANCE OrvekGetModuleHandle();

/// The full path of a module as the bytes the system reports, of any length;
/// empty for an unknown module. The null handle stands for the executable.
ORVEK_API std::string OrvekGetModuleFileName(HINSTANCE module);
/// The folder of the host's executable, with a closing '/', as bytes and at
/// its full length. Every "beside the application" path starts here.
ORVEK_API std::string OrvekGetApplicationFolder();

/// Makes the folder the process's current folder. FALSE (and the system's
/// error) for a null or empty path or a failure.
ORVEK_API BOOL SetCurrentDirectoryW(const wchar_t* path);
/// The narrow forms take the path as bytes, converted in no way.
ORVEK_API BOOL SetCurrentDirectoryA(const char* path);
/// Writes the current folder with a closing zero and returns its length; when
/// the buffer is null or too small it writes nothing and returns the size
/// needed, zero included. 0 on a failure.
ORVEK_API DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer);
/// Makes one folder (the one above must exist); the security argument is not
/// used. FALSE and the system's error on a failure, also for a folder that
/// exists.
///@{
ORVEK_API BOOL CreateDirectoryW(const wchar_t* path, void* security);
ORVEK_API BOOL CreateDirectoryA(const char* path, void* security);
///@}
/// Deletes a file; FALSE and the system's error on a failure.
ORVEK_API BOOL DeleteFileW(const wchar_t* path);
/// Copies a file's bytes to target; with failIfExists an existing target is a
/// failure and stays untouched. FALSE and the system's error on a failure.
ORVEK_API BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists);

/// What FindFirstFileW reports of the file or folder it found.
struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;       ///< FILE_ATTRIBUTE_DIRECTORY or FILE_ATTRIBUTE_NORMAL
  DWORD nFileSizeHigh;          ///< high 32 bits of the size in bytes
  DWORD nFileSizeLow;           ///< low 32 bits of the size in bytes
  wchar_t cFileName[MAX_PATH];  ///< the name behind the last '/', cut to MAX_PATH - 1 characters
};
/// The kinds in WIN32_FIND_DATAW::dwFileAttributes: a folder, or anything else.
///@{
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
///@}
/// An existence test: a handle when the named file or folder exists, else
/// INVALID_HANDLE_VALUE. No wildcards.
ORVEK_API HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data);
/// Frees a handle of FindFirstFileW; FALSE for anything else.
ORVEK_API BOOL FindClose(HANDLE find);

/// Version blocks. Linux binaries carry none: the library answers for itself
/// with its own version and for modules whose version the host registered.
/// This registers the version a.b.c.d of a loaded module; FALSE for an
/// unknown module.
ORVEK_API BOOL OrvekRegisterModuleVersion(HINSTANCE module, WORD major, WORD minor, WORD build, WORD revision);
/// The size of the version block of a file, 0 (ERROR_RESOURCE_TYPE_NOT_FOUND)
/// when it has none; *handle, if given, becomes 0.
ORVEK_API DWORD GetFileVersionInfoSizeW(const wchar_t* fileName, DWORD* handle);
/// Copies the version block into data, which must hold size bytes, at least
/// what GetFileVersionInfoSizeW gave; the handle is not used. FALSE when the
/// file has no version or the buffer is too small.
ORVEK_API BOOL GetFileVersionInfoW(const wchar_t* fileName, DWORD handle, DWORD size, void* data);
/// The same with a narrow name, taken as bytes.
///@{
ORVEK_API DWORD GetFileVersionInfoSizeA(const char* fileName, DWORD* handle);
ORVEK_API BOOL GetFileVersionInfoA(const char* fileName, DWORD handle, DWORD size, void* data);
///@}
/// Finds the fixed part (tagVS_FIXEDFILEINFO) of a version block: subBlock must
/// be "\\"; buffer then points into the block and length gives the part's size.
ORVEK_API BOOL VerQueryValueW(const void* block, const wchar_t* subBlock, void** buffer, UINT* length);

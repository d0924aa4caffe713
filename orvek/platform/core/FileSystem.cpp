// Folders and files by name (SetCurrentDirectoryW, CreateDirectoryW,
// DeleteFileW, CopyFileW, FindFirstFileW as an existence test) on chdir,
// mkdir, unlink, stdio streams and stat.
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Module_p.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Strings.h>

namespace {

DWORD errnoToError(int e) {
  switch (e) {
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case EACCES:
    case EPERM:
    case EROFS: return ERROR_ACCESS_DENIED;
    default: return ERROR_INVALID_PARAMETER;
  }
}

constexpr DWORD kFindMagic = 0x4F52564Bu;

struct FindHandle {
  DWORD magic = kFindMagic;
};

}  // namespace

BOOL SetCurrentDirectoryW(const wchar_t* path) {
  if (!path || !*path) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return SetCurrentDirectoryA(orvek_detail::NarrowPath(path).c_str());
}

BOOL SetCurrentDirectoryA(const char* path) {
  if (!path || !*path) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (::chdir(path) != 0) {
    SetLastError(errnoToError(errno));
    return FALSE;
  }
  return TRUE;
}

DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer) {
  char* cwd = ::getcwd(nullptr, 0);
  if (!cwd) return 0;
  const std::wstring wide = Utf8ToWide(cwd, std::strlen(cwd));
  std::free(cwd);
  if (!buffer || wide.size() + 1 > size) return static_cast<DWORD>(wide.size() + 1);
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

BOOL CreateDirectoryW(const wchar_t* path, void* security) {
  if (!path || !*path) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return CreateDirectoryA(orvek_detail::NarrowPath(path).c_str(), security);
}

BOOL CreateDirectoryA(const char* path, void*) {
  if (!path || !*path) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (::mkdir(path, 0777) != 0) {
    SetLastError(errnoToError(errno));
    return FALSE;
  }
  return TRUE;
}

BOOL DeleteFileW(const wchar_t* path) {
  if (!path || ::unlink(orvek_detail::NarrowPath(path).c_str()) != 0) {
    SetLastError(path ? errnoToError(errno) : ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists) {
  if (!existing || !target) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  FILE* in = std::fopen(orvek_detail::NarrowPath(existing).c_str(), "rb");
  if (!in) {
    SetLastError(errnoToError(errno));
    return FALSE;
  }
  FILE* out = std::fopen(orvek_detail::NarrowPath(target).c_str(), failIfExists ? "wbx" : "wb");
  if (!out) {
    SetLastError(errnoToError(errno));
    std::fclose(in);
    return FALSE;
  }
  char buf[65536];
  bool ok = true;
  for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, in)) > 0;)
    if (std::fwrite(buf, 1, n, out) != n) {
      ok = false;
      break;
    }
  if (std::ferror(in)) ok = false;
  std::fclose(in);
  if (std::fclose(out) != 0) ok = false;
  if (!ok) SetLastError(ERROR_ACCESS_DENIED);
  return ok ? TRUE : FALSE;
}

HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data) {
  struct stat st {};
  if (!name || !data || ::stat(orvek_detail::NarrowPath(name).c_str(), &st) != 0) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  std::memset(data, 0, sizeof *data);
  data->dwFileAttributes = S_ISDIR(st.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  data->nFileSizeHigh = static_cast<DWORD>(static_cast<std::uint64_t>(st.st_size) >> 32);
  data->nFileSizeLow = static_cast<DWORD>(st.st_size);
  const wchar_t* base = std::wcsrchr(name, L'/');
  std::wcsncpy(data->cFileName, base ? base + 1 : name, MAX_PATH - 1);
  return new FindHandle;
}

BOOL FindClose(HANDLE find) {
  auto* h = static_cast<FindHandle*>(find);
  if (!h || find == INVALID_HANDLE_VALUE || h->magic != kFindMagic) return FALSE;
  h->magic = 0;
  delete h;
  return TRUE;
}

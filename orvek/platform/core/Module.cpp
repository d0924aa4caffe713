#include <orvek/platform/core/Module.h>

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <mutex>
#include <string>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Strings.h>

namespace {

constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;

DWORD errnoToError(int e) {
  switch (e) {
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case EACCES: case EPERM: case EROFS: return ERROR_ACCESS_DENIED;
    default: return ERROR_INVALID_PARAMETER;
  }
}

std::string narrow(const wchar_t* s) { return s ? WideToUtf8(s, std::wcslen(s)) : std::string(); }

// The target of a link at its full length: the buffer grows until it holds it.
std::string readLink(const char* link) {
  std::string buf(256, '\0');
  for (;;) {
    const ssize_t n = ::readlink(link, &buf[0], buf.size());
    if (n <= 0) return std::string();
    if (static_cast<std::size_t>(n) < buf.size()) return buf.substr(0, static_cast<std::size_t>(n));
    buf.resize(buf.size() * 2);
  }
}

std::string executablePath() { return readLink("/proc/self/exe"); }

std::string realPath(const std::string& path) {
  char* real = ::realpath(path.c_str(), nullptr);
  if (!real) return path;
  std::string out(real);
  std::free(real);
  return out;
}

std::string modulePath(HINSTANCE module) {
  if (!module) return executablePath();
  struct Search {
    HINSTANCE base;
    std::string path;
  } search{module, {}};
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* data) -> int {
        auto* s = static_cast<Search*>(data);
        Dl_info dl{};
        // The object's base as dladdr reports it for its first loaded segment.
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          if (info->dlpi_phdr[i].p_type != PT_LOAD) continue;
          const void* addr = reinterpret_cast<const void*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
          if (dladdr(addr, &dl) && dl.dli_fbase == s->base) {
            s->path = info->dlpi_name && *info->dlpi_name ? info->dlpi_name : executablePath();
            return 1;
          }
          break;
        }
        return 0;
      },
      &search);
  return search.path.empty() ? search.path : realPath(search.path);
}

struct VersionBlock {
  DWORD magic;
  tagVS_FIXEDFILEINFO fixed;
};
constexpr DWORD kBlockMagic = 0x4F52564Bu;

std::mutex& versionsLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::map<std::string, tagVS_FIXEDFILEINFO>& versions() {
  static auto* v = new std::map<std::string, tagVS_FIXEDFILEINFO>;
  return *v;
}

tagVS_FIXEDFILEINFO makeFixed(WORD a, WORD b, WORD c, WORD d) {
  tagVS_FIXEDFILEINFO f{};
  f.dwSignature = 0xFEEF04BDu;
  f.dwStrucVersion = 0x00010000u;
  f.dwFileVersionMS = (DWORD(a) << 16) | b;
  f.dwFileVersionLS = (DWORD(c) << 16) | d;
  f.dwProductVersionMS = f.dwFileVersionMS;
  f.dwProductVersionLS = f.dwFileVersionLS;
  f.dwFileFlagsMask = 0x3F;
  f.dwFileOS = 0x40004u;
  f.dwFileType = 2;  // a library
  return f;
}

bool lookupVersion(const char* fileName, tagVS_FIXEDFILEINFO* out) {
  if (!fileName) return false;
  const std::string path = realPath(fileName);
  if (path == modulePath(OrvekGetModuleHandle())) {
#if defined(ORVEK_VERSION_MAJOR)
    *out = makeFixed(ORVEK_VERSION_MAJOR, ORVEK_VERSION_MINOR, ORVEK_VERSION_PATCH, 0);
    return true;
#endif
  }
  std::lock_guard<std::mutex> g(versionsLock());
  auto it = versions().find(path);
  if (it == versions().end()) return false;
  *out = it->second;
  return true;
}

struct FindHandle {
  DWORD magic = kBlockMagic;
};

}  // namespace

DWORD GetModuleFileNameW(HINSTANCE module, wchar_t* buffer, DWORD size) {
  const std::string path = modulePath(module);
  if (path.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
  }
  if (!buffer || size == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  const std::wstring wide = Utf8ToWide(path.data(), path.size());
  if (wide.size() >= size) {
    std::wmemcpy(buffer, wide.data(), size - 1);
    buffer[size - 1] = 0;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
  }
  std::wmemcpy(buffer, wide.data(), wide.size());
  buffer[wide.size()] = 0;
  SetLastError(0);
  return static_cast<DWORD>(wide.size());
}

std::string OrvekGetModuleFileName(HINSTANCE module) { return modulePath(module); }

std::string OrvekGetApplicationFolder() {
  const std::string path = executablePath();
  return path.substr(0, path.rfind('/') + 1);
}

HINSTANCE OrvekGetModuleHandle() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&OrvekGetModuleHandle), &info)) return nullptr;
  return info.dli_fbase;
}

BOOL SetCurrentDirectoryW(const wchar_t* path) {
  if (!path || !*path) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return SetCurrentDirectoryA(narrow(path).c_str());
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
  return CreateDirectoryA(narrow(path).c_str(), security);
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
  if (!path || ::unlink(narrow(path).c_str()) != 0) {
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
  FILE* in = std::fopen(narrow(existing).c_str(), "rb");
  if (!in) {
    SetLastError(errnoToError(errno));
    return FALSE;
  }
  FILE* out = std::fopen(narrow(target).c_str(), failIfExists ? "wbx" : "wb");
  if (!out) {
    SetLastError(errnoToError(errno));
    std::fclose(in);
    return FALSE;
  }
  char buf[65536];
  bool ok = true;
  for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, in)) > 0;)
    if (std::fwrite(buf, 1, n, out) != n) { ok = false; break; }
  if (std::ferror(in)) ok = false;
  std::fclose(in);
  if (std::fclose(out) != 0) ok = false;
  if (!ok) SetLastError(ERROR_ACCESS_DENIED);
  return ok ? TRUE : FALSE;
}

HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data) {
  struct stat st {};
  if (!name || !data || ::stat(narrow(name).c_str(), &st) != 0) {
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
  if (!h || find == INVALID_HANDLE_VALUE || h->magic != kBlockMagic) return FALSE;
  h->magic = 0;
  delete h;
  return TRUE;
}

BOOL OrvekRegisterModuleVersion(HINSTANCE module, WORD major, WORD minor, WORD build, WORD revision) {
  const std::string path = modulePath(module);
  if (path.empty()) return FALSE;
  std::lock_guard<std::mutex> g(versionsLock());
  versions()[path] = makeFixed(major, minor, build, revision);
  return TRUE;
}

DWORD GetFileVersionInfoSizeW(const wchar_t* fileName, DWORD* handle) {
  return GetFileVersionInfoSizeA(fileName ? narrow(fileName).c_str() : nullptr, handle);
}

BOOL GetFileVersionInfoW(const wchar_t* fileName, DWORD handle, DWORD size, void* data) {
  return GetFileVersionInfoA(fileName ? narrow(fileName).c_str() : nullptr, handle, size, data);
}

DWORD GetFileVersionInfoSizeA(const char* fileName, DWORD* handle) {
  if (handle) *handle = 0;
  tagVS_FIXEDFILEINFO f;
  if (!lookupVersion(fileName, &f)) {
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return 0;
  }
  return sizeof(VersionBlock);
}

BOOL GetFileVersionInfoA(const char* fileName, DWORD, DWORD size, void* data) {
  tagVS_FIXEDFILEINFO f;
  if (!data || size < sizeof(VersionBlock) || !lookupVersion(fileName, &f)) {
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return FALSE;
  }
  VersionBlock block{kBlockMagic, f};
  std::memcpy(data, &block, sizeof block);
  return TRUE;
}

BOOL VerQueryValueW(const void* block, const wchar_t* subBlock, void** buffer, UINT* length) {
  if (!block || !subBlock || !buffer || !length) return FALSE;
  auto* b = static_cast<const VersionBlock*>(block);
  if (b->magic != kBlockMagic || std::wcscmp(subBlock, L"\\") != 0) return FALSE;
  *buffer = const_cast<tagVS_FIXEDFILEINFO*>(&b->fixed);
  *length = sizeof(tagVS_FIXEDFILEINFO);
  return TRUE;
}

// Version blocks (GetFileVersionInfoW, VerQueryValueW). Linux binaries carry
// none: a block is made from the library's own version or from one the host
// registered for a module.
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Module_p.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <orvek/platform/core/Kernel.h>

namespace {

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
  const std::string path = orvek_detail::RealPath(fileName);
  if (path == OrvekGetModuleFileName(OrvekGetModuleHandle())) {
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

}  // namespace

BOOL OrvekRegisterModuleVersion(HINSTANCE module, WORD major, WORD minor, WORD build, WORD revision) {
  const std::string path = OrvekGetModuleFileName(module);
  if (path.empty()) return FALSE;
  std::lock_guard<std::mutex> g(versionsLock());
  versions()[path] = makeFixed(major, minor, build, revision);
  return TRUE;
}

DWORD GetFileVersionInfoSizeW(const wchar_t* fileName, DWORD* handle) {
  return GetFileVersionInfoSizeA(fileName ? orvek_detail::NarrowPath(fileName).c_str() : nullptr, handle);
}

BOOL GetFileVersionInfoW(const wchar_t* fileName, DWORD handle, DWORD size, void* data) {
  return GetFileVersionInfoA(fileName ? orvek_detail::NarrowPath(fileName).c_str() : nullptr, handle, size, data);
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

LONG orvek_detail::GetModuleFixedFileInfo(HINSTANCE module, tagVS_FIXEDFILEINFO* info) {
  if (!info) return E_FAIL;
  // The module's path at its full length, as the bytes the system gave.
  const std::string name = OrvekGetModuleFileName(module);
  if (name.empty()) return E_FAIL;
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeA(name.c_str(), &handle);
  if (size == 0) return E_FAIL;
  std::vector<unsigned char> block(size);
  void* fixed = nullptr;
  UINT length = 0;
  if (!GetFileVersionInfoA(name.c_str(), handle, size, block.data())) return E_FAIL;
  if (!VerQueryValueW(block.data(), L"\\", &fixed, &length)) return E_FAIL;
  std::memcpy(info, fixed, std::min<std::size_t>(length, sizeof *info));
  return S_OK;
}

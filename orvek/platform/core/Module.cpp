// Module handles and paths (HINSTANCE, GetModuleFileNameW): the base address
// of a loaded object as dladdr reports it, its path from dl_iterate_phdr, and
// the executable's from /proc/self/exe.
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Module_p.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <cwchar>
#include <string>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Strings.h>

namespace {

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
  return search.path.empty() ? search.path : orvek_detail::RealPath(search.path);
}

}  // namespace

std::string orvek_detail::RealPath(const std::string& path) {
  char* real = ::realpath(path.c_str(), nullptr);
  if (!real) return path;
  std::string out(real);
  std::free(real);
  return out;
}

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

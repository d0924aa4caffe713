// A host that loads the library with dlopen, registers shared objects, and
// unloads it with dlclose: the library must leave the process and run its
// unload step, so that a second load starts from fresh statics.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

bool mapped(const char* name) {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line))
    if (line.find(name) != std::string::npos) return true;
  return false;
}

using AddPtr = int (*)(void*, int*);

// Loads the library, registers three objects and gives the last handle.
int loadAndRegister(void** library) {
  *library = dlopen(ORVEK_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  if (!*library) {
    std::printf("dlopen: %s\n", dlerror());
    return -1;
  }
  auto add = reinterpret_cast<AddPtr>(dlsym(*library, "_ZN13CMTPtrStorage6AddPtrEPvPi"));
  if (!add) return -1;
  static int objects[3];
  int handle = -1;
  for (int& o : objects)
    if (add(&o, &handle) != 0) return -1;
  return handle;
}

}  // namespace

int main() {
  const char* name = std::strrchr(ORVEK_LIBRARY_PATH, '/') + 1;
  void* library = nullptr;
  const int first = loadAndRegister(&library);
  if (first != 2 || !mapped(name)) {
    std::printf("first load: last handle %d, mapped %d\n", first, mapped(name));
    return 1;
  }
  if (dlclose(library) != 0 || mapped(name)) {
    std::printf("dlclose left the library in memory\n");
    return 1;
  }
  // The unload step emptied the storage: handles start again from 0.
  const int again = loadAndRegister(&library);
  if (again != 2) {
    std::printf("second load: last handle %d, expected 2\n", again);
    return 1;
  }
  dlclose(library);
  std::printf("unloaded and loaded again\n");
  return 0;
}

// Kernel object handles and CloseHandle: counted objects in a registry of
// live ones, each owning the Linux file descriptor it is waited on with.
#include <orvek/platform/core/KernelObjects_p.h>

#include <unistd.h>

namespace orvek_kernel {

KObject::~KObject() {
  if (fd >= 0) ::close(fd);
}

// Leaked on purpose: threads may still use them while statics end.
std::mutex& registryLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::unordered_set<KObject*>& registry() {
  static auto* s = new std::unordered_set<KObject*>;
  return *s;
}

void release(KObject* o) {
  if (o->refs.fetch_sub(1) == 1) delete o;
}

HANDLE publish(KObject* o) {
  std::lock_guard<std::mutex> g(registryLock());
  registry().insert(o);
  return o;
}

}  // namespace orvek_kernel

using namespace orvek_kernel;

BOOL CloseHandle(HANDLE h) {
  KObject* o = static_cast<KObject*>(h);
  {
    std::lock_guard<std::mutex> g(registryLock());
    if (!h || !registry().erase(o)) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
  }
  if (o->kind == KObject::Thread) {
    // A thread whose handle goes before it was ever started would wait at its
    // gate for ever: it is abandoned instead.
    auto* t = static_cast<ThreadObj*>(o);
    std::lock_guard<std::mutex> g(t->mu);
    if (t->gate == ThreadObj::Closed) {
      t->gate = ThreadObj::Abandoned;
      t->cv.notify_all();
    }
  }
  release(o);
  return TRUE;
}

// CreateEventW, SetEvent and ResetEvent: manual- and auto-reset events on an
// eventfd that holds 1 while the event is set.
#include <orvek/platform/core/KernelObjects_p.h>

#include <sys/eventfd.h>
#include <unistd.h>

using namespace orvek_kernel;

namespace {

struct EventObj : KObject {
  EventObj(int f, bool m) : KObject(Event, f, m) {}
  void set() {
    std::lock_guard<std::mutex> g(mu);
    if (signalled) return;
    const std::uint64_t one = 1;
    (void)!::write(fd, &one, sizeof one);
    signalled = true;
  }
  void reset() {
    std::lock_guard<std::mutex> g(mu);
    drainLocked();
  }
  bool tryAcquire() override {
    std::lock_guard<std::mutex> g(mu);
    if (!signalled) return false;
    if (!manual) drainLocked();
    return true;
  }
  bool isSignalled() override {
    std::lock_guard<std::mutex> g(mu);
    return signalled;
  }
  void drainLocked() {
    if (!signalled) return;
    std::uint64_t v;
    (void)!::read(fd, &v, sizeof v);
    signalled = false;
  }
  std::mutex mu;
  bool signalled = false;
};

}  // namespace

HANDLE CreateEventW(void*, BOOL manualReset, BOOL initialState, const wchar_t*) {
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return nullptr;
  }
  auto* e = new EventObj(fd, manualReset != 0);
  if (initialState) e->set();
  return publish(e);
}

BOOL SetEvent(HANDLE h) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Event) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  static_cast<EventObj*>(r.p)->set();
  return TRUE;
}

BOOL ResetEvent(HANDLE h) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Event) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  static_cast<EventObj*>(r.p)->reset();
  return TRUE;
}

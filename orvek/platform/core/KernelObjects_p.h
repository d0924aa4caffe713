#pragma once

// Private to the core: the objects behind a HANDLE (events, waitable timers,
// threads), each on a file descriptor that poll can wait on, and what the
// files of handles, waits, threads and thread queues share about them.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <unordered_set>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Sync.h>

namespace orvek_kernel {

struct KObject {
  enum Kind { Event, Timer, Thread };
  KObject(Kind k, int f, bool m) : kind(k), fd(f), manual(m) {}
  virtual ~KObject();
  // True when signalled; an auto-reset object is consumed by a true answer.
  virtual bool tryAcquire() = 0;
  // True when signalled, without consuming.
  virtual bool isSignalled() = 0;

  const Kind kind;
  const int fd;
  const bool manual;
  std::atomic<int> refs{1};
};

struct ThreadObj : KObject {
  explicit ThreadObj(int f) : KObject(Thread, f, true) {}
  bool tryAcquire() override { return ended.load(); }
  bool isSignalled() override { return ended.load(); }

  enum Gate { Closed, Open, Abandoned };
  std::mutex mu;
  std::condition_variable cv;
  Gate gate = Closed;
  bool tidKnown = false;
  bool queueGone = false;  // the body has ended; set under the queues' lock
  DWORD tid = 0;
  DWORD abandonCode = 0;
  std::atomic<DWORD> exitCode{STILL_ACTIVE};
  std::atomic<bool> ended{false};
  LPTHREAD_START_ROUTINE start = nullptr;
  void* parameter = nullptr;
  FILETIME creation{0, 0};
  FILETIME exit{0, 0};
};

// Live objects, so that a stale or foreign handle gives an error, not a crash.
std::mutex& registryLock();
std::unordered_set<KObject*>& registry();

void release(KObject* o);
HANDLE publish(KObject* o);

// A counted reference to a live object, or null.
struct Ref {
  explicit Ref(HANDLE h) {
    if (!h) return;
    std::lock_guard<std::mutex> g(registryLock());
    auto* o = static_cast<KObject*>(h);
    if (registry().count(o)) {
      o->refs.fetch_add(1);
      p = o;
    }
  }
  ~Ref() {
    if (p) release(p);
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  Ref(Ref&& o) noexcept : p(o.p) { o.p = nullptr; }
  KObject* p = nullptr;
};

inline FILETIME toFileTime(std::uint64_t hundredNs) {
  return FILETIME{static_cast<DWORD>(hundredNs & 0xFFFFFFFFu), static_cast<DWORD>(hundredNs >> 32)};
}

// The wall clock in 100 ns units since 1601.
std::uint64_t nowAsFileTime();

inline DWORD currentTid() { return orvek_detail::CurrentThreadId(); }

// Called by a thread of CreateThread when its body has ended, before its
// handle is signalled: its queue and the posts still waiting for it go.
void EndThreadQueue(ThreadObj* t);

}  // namespace orvek_kernel

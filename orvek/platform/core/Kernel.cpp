#include <orvek/platform/core/Kernel_p.h>
#include <orvek/platform/core/Sync.h>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

thread_local DWORD t_lastError = 0;
std::atomic<DWORD> g_tickOffset{0};

constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;
constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

HANDLE const kCurrentThreadPseudo = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));

// ---- kernel objects ---------------------------------------------------------

struct KObject {
  enum Kind { Event, Timer, Thread };
  KObject(Kind k, int f, bool m) : kind(k), fd(f), manual(m) {}
  virtual ~KObject() {
    if (fd >= 0) ::close(fd);
  }
  // True when signalled; an auto-reset object is consumed by a true answer.
  virtual bool tryAcquire() = 0;
  // True when signalled, without consuming.
  virtual bool isSignalled() = 0;

  const Kind kind;
  const int fd;
  const bool manual;
  std::atomic<int> refs{1};
};

bool fdReadable(int fd) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, 0) == 1 && (p.revents & POLLIN);
}

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

struct TimerObj : KObject {
  TimerObj(int f, bool m) : KObject(Timer, f, m) {}
  bool tryAcquire() override {
    if (manual) return fdReadable(fd);
    std::uint64_t v;
    return ::read(fd, &v, sizeof v) == static_cast<ssize_t>(sizeof v);
  }
  bool isSignalled() override { return fdReadable(fd); }
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
  bool queueGone = false;  // the body has ended; set under queuesLock
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
// Leaked on purpose: threads may still use it while statics end.
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

FILETIME toFileTime(std::uint64_t hundredNs) {
  return FILETIME{static_cast<DWORD>(hundredNs & 0xFFFFFFFFu), static_cast<DWORD>(hundredNs >> 32)};
}

std::uint64_t nowAsFileTime() {
  timespec ts;
  ::clock_gettime(CLOCK_REALTIME, &ts);
  // 1601-01-01 to 1970-01-01 in 100 ns units.
  return 116444736000000000ull + static_cast<std::uint64_t>(ts.tv_sec) * 10000000ull +
         static_cast<std::uint64_t>(ts.tv_nsec) / 100u;
}

// The id is asked of the kernel once per thread; a forked child asks again,
// so a lock held at the fork is not the child's, as with the platform's own
// recursive mutexes.
void forgetTidInChild() { orvek_detail::t_dwThreadId = 0; }
const int g_atfork = ::pthread_atfork(nullptr, nullptr, forgetTidInChild);

DWORD currentTid() { return orvek_detail::CurrentThreadId(); }

// ---- message queues ---------------------------------------------------------

struct MsgQueue {
  std::mutex mu;
  std::condition_variable cv;
  std::deque<MSG> items;
};

std::mutex& queuesLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::unordered_map<DWORD, std::shared_ptr<MsgQueue>>& queues() {
  static auto* q = new std::unordered_map<DWORD, std::shared_ptr<MsgQueue>>;
  return *q;
}

struct QueueOwner {
  std::shared_ptr<MsgQueue> queue;
  DWORD tid = 0;
  ~QueueOwner() { drop(); }
  void drop() {
    if (!queue) return;
    std::lock_guard<std::mutex> g(queuesLock());
    auto it = queues().find(tid);
    if (it != queues().end() && it->second == queue) queues().erase(it);
    queue.reset();
  }
};
thread_local QueueOwner t_queue;

// Messages for threads of CreateThread that have no queue yet, by thread id;
// they open the queue when it is made. Guarded by queuesLock.
std::unordered_map<DWORD, std::deque<MSG>>& pendingPosts() {
  static auto* p = new std::unordered_map<DWORD, std::deque<MSG>>;
  return *p;
}

MsgQueue& ownQueue() {
  if (!t_queue.queue) {
    t_queue.tid = currentTid();
    t_queue.queue = std::make_shared<MsgQueue>();
    std::lock_guard<std::mutex> g(queuesLock());
    queues()[t_queue.tid] = t_queue.queue;
    auto it = pendingPosts().find(t_queue.tid);
    if (it != pendingPosts().end()) {
      t_queue.queue->items = std::move(it->second);
      pendingPosts().erase(it);
    }
  }
  return *t_queue.queue;
}

bool matches(const MSG& m, HWND window, UINT lo, UINT hi) {
  if (m.message == WM_QUIT) return true;
  if (window && m.hwnd != window) return false;
  if (lo == 0 && hi == 0) return true;
  return m.message >= lo && m.message <= hi;
}

std::atomic<orvek_detail::WindowPostHook> g_windowPost{nullptr};

}  // namespace

__thread DWORD orvek_detail::t_dwThreadId = 0;

DWORD orvek_detail::AskCurrentThreadId() {
  t_dwThreadId = static_cast<DWORD>(::syscall(SYS_gettid));
  return t_dwThreadId;
}

void orvek_detail::SetWindowPostHook(WindowPostHook hook) { g_windowPost.store(hook); }

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD error) { t_lastError = error; }

DWORD GetTickCount() {
  timespec ts;
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  const std::uint64_t ms = static_cast<std::uint64_t>(ts.tv_sec) * 1000u + static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u;
  return static_cast<DWORD>(ms) + g_tickOffset.load(std::memory_order_relaxed);
}

void OrvekSetTickCountOffset(DWORD offset) { g_tickOffset.store(offset); }

void Sleep(DWORD milliseconds) {
  timespec req{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  while (::nanosleep(&req, &req) != 0 && errno == EINTR) {
  }
}

void GetLocalTime(SYSTEMTIME* st) {
  if (!st) return;
  timespec ts;
  ::clock_gettime(CLOCK_REALTIME, &ts);
  std::tm tm{};
  ::localtime_r(&ts.tv_sec, &tm);
  st->wYear = static_cast<WORD>(tm.tm_year + 1900);
  st->wMonth = static_cast<WORD>(tm.tm_mon + 1);
  st->wDayOfWeek = static_cast<WORD>(tm.tm_wday);
  st->wDay = static_cast<WORD>(tm.tm_mday);
  st->wHour = static_cast<WORD>(tm.tm_hour);
  st->wMinute = static_cast<WORD>(tm.tm_min);
  st->wSecond = static_cast<WORD>(tm.tm_sec);
  st->wMilliseconds = static_cast<WORD>(ts.tv_nsec / 1000000L);
}

// ---- events and timers --------------------------------------------------------

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

HANDLE CreateWaitableTimerW(void*, BOOL manualReset, const wchar_t*) {
  const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  if (fd < 0) {
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return nullptr;
  }
  return publish(new TimerObj(fd, manualReset != 0));
}

BOOL SetWaitableTimer(HANDLE h, const LARGE_INTEGER* dueTime, LONG periodMs, void*, void*, BOOL) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Timer || !dueTime || periodMs < 0) {
    SetLastError(r.p ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // Everything is turned into a delay from now on the monotonic clock.
  std::int64_t delay100ns;
  if (dueTime->QuadPart < 0) {
    delay100ns = -dueTime->QuadPart;
  } else {
    const auto now = static_cast<std::int64_t>(nowAsFileTime());
    delay100ns = dueTime->QuadPart > now ? dueTime->QuadPart - now : 0;
  }
  itimerspec its{};
  its.it_value.tv_sec = static_cast<time_t>(delay100ns / 10000000);
  its.it_value.tv_nsec = static_cast<long>((delay100ns % 10000000) * 100);
  if (its.it_value.tv_sec == 0 && its.it_value.tv_nsec == 0) its.it_value.tv_nsec = 1;  // 0 would disarm
  its.it_interval.tv_sec = periodMs / 1000;
  its.it_interval.tv_nsec = static_cast<long>(periodMs % 1000) * 1000000L;
  if (::timerfd_settime(r.p->fd, 0, &its, nullptr) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

BOOL CancelWaitableTimer(HANDLE h) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Timer) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  itimerspec its{};
  ::timerfd_settime(r.p->fd, 0, &its, nullptr);
  return TRUE;
}

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

// ---- waits ------------------------------------------------------------------

namespace {

using Clock = std::chrono::steady_clock;

int remainingMs(DWORD timeout, Clock::time_point start) {
  if (timeout == INFINITE) return -1;
  const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  if (spent >= static_cast<long long>(timeout)) return 0;
  // poll takes an int; a longer wait goes round the loop again.
  return static_cast<int>(std::min<long long>(static_cast<long long>(timeout) - spent, INT_MAX));
}

DWORD waitAny(std::vector<Ref>& refs, DWORD timeout) {
  const auto start = Clock::now();
  std::vector<pollfd> fds(refs.size());
  for (std::size_t i = 0; i < refs.size(); ++i) fds[i] = pollfd{refs[i].p->fd, POLLIN, 0};
  for (;;) {
    for (std::size_t i = 0; i < refs.size(); ++i)
      if (refs[i].p->tryAcquire()) return WAIT_OBJECT_0 + static_cast<DWORD>(i);
    const int left = remainingMs(timeout, start);
    if (left == 0) return WAIT_TIMEOUT;
    const int n = ::poll(fds.data(), fds.size(), left);
    if (n < 0 && errno != EINTR) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
}

DWORD waitAll(std::vector<Ref>& refs, DWORD timeout) {
  const auto start = Clock::now();
  for (;;) {
    std::vector<pollfd> pending;
    for (auto& r : refs)
      if (!r.p->isSignalled()) pending.push_back(pollfd{r.p->fd, POLLIN, 0});
    if (pending.empty()) {
      for (auto& r : refs) r.p->tryAcquire();
      return WAIT_OBJECT_0;
    }
    const int left = remainingMs(timeout, start);
    if (left == 0) return WAIT_TIMEOUT;
    if (::poll(pending.data(), pending.size(), left) < 0 && errno != EINTR) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
}

}  // namespace

DWORD WaitForSingleObject(HANDLE h, DWORD milliseconds) { return WaitForMultipleObjects(1, &h, FALSE, milliseconds); }

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds) {
  if (count == 0 || count > 64 || !objects) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  std::vector<Ref> refs;
  refs.reserve(count);
  for (DWORD i = 0; i < count; ++i) {
    refs.emplace_back(objects[i]);
    if (!refs.back().p) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
  return all ? waitAll(refs, milliseconds) : waitAny(refs, milliseconds);
}

// ---- threads ----------------------------------------------------------------

namespace {

int niceFor(int priority, bool* ok) {
  *ok = true;
  switch (priority) {
    case THREAD_PRIORITY_IDLE: return 19;
    case THREAD_PRIORITY_LOWEST: return 10;
    case THREAD_PRIORITY_BELOW_NORMAL: return 5;
    case THREAD_PRIORITY_NORMAL: return 0;
    case THREAD_PRIORITY_ABOVE_NORMAL: return -5;
    case THREAD_PRIORITY_HIGHEST: return -10;
    case THREAD_PRIORITY_TIME_CRITICAL: return -20;
    default: *ok = false; return 0;
  }
}

int priorityFor(int niceValue) {
  if (niceValue >= 19) return THREAD_PRIORITY_IDLE;
  if (niceValue >= 10) return THREAD_PRIORITY_LOWEST;
  if (niceValue >= 5) return THREAD_PRIORITY_BELOW_NORMAL;
  if (niceValue > -5) return THREAD_PRIORITY_NORMAL;
  if (niceValue > -10) return THREAD_PRIORITY_ABOVE_NORMAL;
  if (niceValue > -20) return THREAD_PRIORITY_HIGHEST;
  return THREAD_PRIORITY_TIME_CRITICAL;
}

// The thread id a handle stands for, or 0 for a handle of no live thread.
DWORD tidOf(HANDLE h) {
  if (h == kCurrentThreadPseudo) return currentTid();
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Thread) return 0;
  auto* t = static_cast<ThreadObj*>(r.p);
  return t->ended.load() ? 0 : t->tid;
}

void threadMain(ThreadObj* t) {
  ThreadObj::Gate gate;
  DWORD code;
  {
    std::unique_lock<std::mutex> g(t->mu);
    t->tid = currentTid();
    t->tidKnown = true;
    t->cv.notify_all();
    t->cv.wait(g, [t] { return t->gate != ThreadObj::Closed; });
    gate = t->gate;
    code = t->abandonCode;
  }
  if (gate == ThreadObj::Open) code = t->start(t->parameter);
  // The queue goes before the handle is signalled: a post to a thread that
  // has ended fails instead of landing in a queue nobody reads.
  t_queue.drop();
  {
    std::lock_guard<std::mutex> g(queuesLock());
    pendingPosts().erase(t->tid);
    t->queueGone = true;
  }
  t->exit = toFileTime(nowAsFileTime());
  t->exitCode.store(code);
  t->ended.store(true);
  const std::uint64_t one = 1;
  (void)!::write(t->fd, &one, sizeof one);
  release(t);
}

}  // namespace

HANDLE CreateThread(void*, std::size_t, LPTHREAD_START_ROUTINE start, void* parameter, DWORD flags, DWORD* threadId) {
  if (!start) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return nullptr;
  }
  auto* t = new ThreadObj(fd);
  t->start = start;
  t->parameter = parameter;
  t->creation = toFileTime(nowAsFileTime());
  t->refs.store(2);  // the handle and the running thread
  try {
    std::thread(threadMain, t).detach();
  } catch (...) {
    delete t;
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return nullptr;
  }
  {
    std::unique_lock<std::mutex> g(t->mu);
    t->cv.wait(g, [t] { return t->tidKnown; });
    if (!(flags & CREATE_SUSPENDED)) {
      t->gate = ThreadObj::Open;
      t->cv.notify_all();
    }
  }
  if (threadId) *threadId = t->tid;
  return publish(t);
}

DWORD ResumeThread(HANDLE h) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Thread) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0xFFFFFFFFu;
  }
  auto* t = static_cast<ThreadObj*>(r.p);
  std::lock_guard<std::mutex> g(t->mu);
  if (t->gate != ThreadObj::Closed) return 0;
  t->gate = ThreadObj::Open;
  t->cv.notify_all();
  return 1;
}

BOOL TerminateThread(HANDLE h, DWORD exitCode) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Thread) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  auto* t = static_cast<ThreadObj*>(r.p);
  std::lock_guard<std::mutex> g(t->mu);
  if (t->gate != ThreadObj::Closed) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  t->abandonCode = exitCode;
  t->gate = ThreadObj::Abandoned;
  t->cv.notify_all();
  return TRUE;
}

BOOL SetThreadPriority(HANDLE h, int priority) {
  bool known;
  const int niceValue = niceFor(priority, &known);
  if (!known) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const DWORD tid = tidOf(h);
  if (tid == 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (::setpriority(PRIO_PROCESS, static_cast<id_t>(tid), niceValue) != 0) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return TRUE;
}

int GetThreadPriority(HANDLE h) {
  const DWORD tid = tidOf(h);
  if (tid == 0) return THREAD_PRIORITY_ERROR_RETURN;
  errno = 0;
  const int n = ::getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
  if (n == -1 && errno != 0) return THREAD_PRIORITY_ERROR_RETURN;
  return priorityFor(n);
}

BOOL GetExitCodeThread(HANDLE h, DWORD* exitCode) {
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Thread || !exitCode) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  *exitCode = static_cast<ThreadObj*>(r.p)->exitCode.load();
  return TRUE;
}

DWORD GetThreadId(HANDLE h) {
  if (h == kCurrentThreadPseudo) return currentTid();
  Ref r(h);
  if (!r.p || r.p->kind != KObject::Thread) return 0;
  return static_cast<ThreadObj*>(r.p)->tid;
}

DWORD GetCurrentThreadId() { return currentTid(); }

HANDLE GetCurrentThread() { return kCurrentThreadPseudo; }

BOOL GetThreadTimes(HANDLE h, FILETIME* creation, FILETIME* exitTime, FILETIME* kernel, FILETIME* user) {
  if (!creation || !exitTime || !kernel || !user) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  DWORD tid;
  FILETIME made{0, 0}, ended{0, 0};
  if (h == kCurrentThreadPseudo) {
    tid = currentTid();
  } else {
    Ref r(h);
    if (!r.p || r.p->kind != KObject::Thread) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
    auto* t = static_cast<ThreadObj*>(r.p);
    tid = t->tid;
    made = t->creation;
    if (t->ended.load()) ended = t->exit;
  }
  std::uint64_t u100 = 0, k100 = 0;
  if (tid == currentTid()) {
    // The calling thread's own times, to the microsecond.
    rusage ru{};
    ::getrusage(RUSAGE_THREAD, &ru);
    u100 = static_cast<std::uint64_t>(ru.ru_utime.tv_sec) * 10000000ull + static_cast<std::uint64_t>(ru.ru_utime.tv_usec) * 10u;
    k100 = static_cast<std::uint64_t>(ru.ru_stime.tv_sec) * 10000000ull + static_cast<std::uint64_t>(ru.ru_stime.tv_usec) * 10u;
  } else {
    // Another thread's times, in clock ticks from /proc.
    char path[64];
    std::snprintf(path, sizeof path, "/proc/self/task/%u/stat", tid);
    if (FILE* f = std::fopen(path, "r")) {
      char buf[1024];
      const std::size_t n = std::fread(buf, 1, sizeof buf - 1, f);
      std::fclose(f);
      buf[n] = 0;
      // Fields 14 and 15 (utime, stime) follow the ')' that ends the name.
      if (const char* p = std::strrchr(buf, ')')) {
        unsigned long long ut = 0, st = 0;
        if (std::sscanf(p + 2, "%*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %llu %llu", &ut, &st) == 2) {
          const long hz = ::sysconf(_SC_CLK_TCK);
          u100 = ut * 10000000ull / static_cast<unsigned long long>(hz);
          k100 = st * 10000000ull / static_cast<unsigned long long>(hz);
        }
      }
    }
  }
  *creation = made;
  *exitTime = ended;
  *kernel = toFileTime(k100);
  *user = toFileTime(u100);
  return TRUE;
}

// ---- message queues ---------------------------------------------------------

BOOL PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<MsgQueue> q;
  {
    std::lock_guard<std::mutex> g(queuesLock());
    auto it = queues().find(threadId);
    if (it != queues().end()) q = it->second;
  }
  if (!q) {
    SetLastError(ERROR_INVALID_THREAD_ID);
    return FALSE;
  }
  MSG m{};
  m.message = message;
  m.wParam = wParam;
  m.lParam = lParam;
  m.time = GetTickCount();
  {
    std::lock_guard<std::mutex> g(q->mu);
    q->items.push_back(m);
  }
  q->cv.notify_one();
  return TRUE;
}

BOOL orvek_detail::PostThreadMessageWhenReady(HANDLE thread, UINT message, WPARAM wParam, LPARAM lParam) {
  Ref r(thread);
  if (!r.p || r.p->kind != KObject::Thread) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  auto* t = static_cast<ThreadObj*>(r.p);
  MSG m{};
  m.message = message;
  m.wParam = wParam;
  m.lParam = lParam;
  m.time = GetTickCount();
  std::shared_ptr<MsgQueue> q;
  {
    std::lock_guard<std::mutex> g(queuesLock());
    if (t->queueGone) {
      SetLastError(ERROR_INVALID_THREAD_ID);
      return FALSE;
    }
    auto it = queues().find(t->tid);
    if (it == queues().end()) {
      pendingPosts()[t->tid].push_back(m);
      return TRUE;
    }
    q = it->second;
  }
  {
    std::lock_guard<std::mutex> g(q->mu);
    q->items.push_back(m);
  }
  q->cv.notify_one();
  return TRUE;
}

BOOL GetMessageW(MSG* msg, HWND window, UINT lo, UINT hi) {
  if (!msg) return -1;
  MsgQueue& q = ownQueue();
  std::unique_lock<std::mutex> g(q.mu);
  for (;;) {
    for (auto it = q.items.begin(); it != q.items.end(); ++it) {
      if (!matches(*it, window, lo, hi)) continue;
      *msg = *it;
      q.items.erase(it);
      return msg->message == WM_QUIT ? 0 : 1;
    }
    q.cv.wait(g);
  }
}

BOOL PeekMessageW(MSG* msg, HWND window, UINT lo, UINT hi, UINT removeFlags) {
  if (!msg) return FALSE;
  MsgQueue& q = ownQueue();
  std::lock_guard<std::mutex> g(q.mu);
  for (auto it = q.items.begin(); it != q.items.end(); ++it) {
    if (!matches(*it, window, lo, hi)) continue;
    *msg = *it;
    if (removeFlags & PM_REMOVE) q.items.erase(it);
    return TRUE;
  }
  return FALSE;
}

void PostQuitMessage(int exitCode) {
  ownQueue();
  PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, static_cast<WPARAM>(exitCode), 0);
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!window) return PostThreadMessageW(GetCurrentThreadId(), message, wParam, lParam);
  const auto hook = g_windowPost.load();
  if (!hook) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return hook(window, message, wParam, lParam);
}

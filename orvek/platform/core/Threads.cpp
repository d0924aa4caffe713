// CreateThread and the thread calls: std::thread behind a start gate,
// priorities as per-thread nice values (setpriority), times from getrusage
// and /proc, and the kernel thread id (gettid).
#include <orvek/platform/core/KernelObjects_p.h>

#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

using namespace orvek_kernel;

__thread DWORD orvek_detail::t_dwThreadId = 0;

DWORD orvek_detail::AskCurrentThreadId() {
  t_dwThreadId = static_cast<DWORD>(::syscall(SYS_gettid));
  return t_dwThreadId;
}

namespace {

HANDLE const kCurrentThreadPseudo = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));

// The id is asked of the kernel once per thread; a forked child asks again,
// so a lock held at the fork is not the child's, as with the platform's own
// recursive mutexes.
void forgetTidInChild() { orvek_detail::t_dwThreadId = 0; }
const int g_atfork = ::pthread_atfork(nullptr, nullptr, forgetTidInChild);

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
  EndThreadQueue(t);
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
    u100 = static_cast<std::uint64_t>(ru.ru_utime.tv_sec) * 10000000ull +
           static_cast<std::uint64_t>(ru.ru_utime.tv_usec) * 10u;
    k100 = static_cast<std::uint64_t>(ru.ru_stime.tv_sec) * 10000000ull +
           static_cast<std::uint64_t>(ru.ru_stime.tv_usec) * 10u;
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

// Threads with a start gate and priorities, per-thread message queues,
// events, waitable timers and waits on several objects, with real threads.
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Sync.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <tuple>
#include <vector>

namespace {

std::atomic<int> g_bodyRuns{0};

DWORD countingBody(void* parameter) {
  g_bodyRuns.fetch_add(1);
  return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(parameter));
}

// The exit code of a thread, or 0xBAD when it cannot be read.
DWORD exitCode(HANDLE h) {
  DWORD code = 0;
  return GetExitCodeThread(h, &code) ? code : 0xBADu;
}

bool taskExists(DWORD tid) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/self/task/%u", tid);
  struct stat st;
  return ::stat(path, &st) == 0;
}

TEST(Thread, SuspendedStartRunsOnlyAfterResume) {
  g_bodyRuns = 0;
  DWORD tid = 0;
  HANDLE h = CreateThread(nullptr, 0, countingBody, reinterpret_cast<void*>(42), CREATE_SUSPENDED, &tid);
  ASSERT_NE(h, nullptr);
  EXPECT_NE(tid, 0u);
  EXPECT_EQ(GetThreadId(h), tid);
  EXPECT_EQ(WaitForSingleObject(h, 80), WAIT_TIMEOUT);
  EXPECT_EQ(std::make_pair(g_bodyRuns.load(), exitCode(h)), std::make_pair(0, DWORD(STILL_ACTIVE)));
  EXPECT_EQ(ResumeThread(h), 1u);
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(std::make_pair(g_bodyRuns.load(), exitCode(h)), std::make_pair(1, 42u));
  // The handle of an ended thread stays signalled; it can no longer be resumed.
  EXPECT_EQ(WaitForSingleObject(h, 0), WAIT_OBJECT_0);
  EXPECT_EQ(ResumeThread(h), 0u);
  EXPECT_FALSE(TerminateThread(h, 1));
  EXPECT_TRUE(CloseHandle(h));

  // Without the flag the body runs at once.
  h = CreateThread(nullptr, 0, countingBody, reinterpret_cast<void*>(7), 0, nullptr);
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(g_bodyRuns.load(), 2);
  EXPECT_EQ(ResumeThread(h), 0u);
  EXPECT_TRUE(CloseHandle(h));

  EXPECT_EQ(CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr), nullptr);
  EXPECT_EQ(ResumeThread(nullptr), 0xFFFFFFFFu);
}

TEST(Thread, AbandonedStartNeverRunsTheBody) {
  g_bodyRuns = 0;
  // TerminateThread on a thread held at its gate ends it with the code given.
  HANDLE h = CreateThread(nullptr, 0, countingBody, nullptr, CREATE_SUSPENDED, nullptr);
  ASSERT_NE(h, nullptr);
  EXPECT_TRUE(TerminateThread(h, 77));
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(std::make_pair(exitCode(h), ResumeThread(h)), std::make_pair(77u, 0u));
  EXPECT_TRUE(CloseHandle(h));

  // Closing the only handle of a never-resumed thread abandons it too: it goes away without running.
  DWORD tid = 0;
  h = CreateThread(nullptr, 0, countingBody, nullptr, CREATE_SUSPENDED, &tid);
  ASSERT_NE(h, nullptr);
  ASSERT_TRUE(taskExists(tid));
  EXPECT_TRUE(CloseHandle(h));
  const auto start = std::chrono::steady_clock::now();
  while (taskExists(tid) && std::chrono::steady_clock::now() - start < std::chrono::seconds(5))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(std::make_pair(taskExists(tid), g_bodyRuns.load()), std::make_pair(false, 0));

  // A running thread cannot be stopped from outside.
  std::atomic<bool> stop{false};
  h = CreateThread(
      nullptr, 0,
      [](void* p) -> DWORD {
        while (!static_cast<std::atomic<bool>*>(p)->load()) Sleep(1);
        return 5;
      },
      &stop, 0, nullptr);
  EXPECT_FALSE(TerminateThread(h, 1));
  stop = true;
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(exitCode(h), 5u);
  EXPECT_TRUE(CloseHandle(h));
}

TEST(Thread, PrioritiesMapAndUnknownValuesAreRefused) {
  HANDLE h = CreateThread(nullptr, 0, countingBody, nullptr, CREATE_SUSPENDED, nullptr);
  ASSERT_NE(h, nullptr);
  // A new thread starts with the priority of the thread that made it.
  EXPECT_EQ(GetThreadPriority(h), GetThreadPriority(GetCurrentThread()));
  // Lowering needs no privilege.
  for (int p : {THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_LOWEST, THREAD_PRIORITY_IDLE}) {
    ASSERT_TRUE(SetThreadPriority(h, p)) << p;
    EXPECT_EQ(GetThreadPriority(h), p);
  }
  for (int p : {3, -3, 7, 16, -16, THREAD_PRIORITY_ERROR_RETURN}) {
    EXPECT_FALSE(SetThreadPriority(h, p)) << p;
    EXPECT_EQ(GetThreadPriority(h), THREAD_PRIORITY_IDLE);
  }
  EXPECT_FALSE(SetThreadPriority(nullptr, THREAD_PRIORITY_NORMAL));
  EXPECT_EQ(GetThreadPriority(nullptr), THREAD_PRIORITY_ERROR_RETURN);
  EXPECT_EQ(ResumeThread(h), 1u);
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  // An ended thread has no priority to change.
  EXPECT_FALSE(SetThreadPriority(h, THREAD_PRIORITY_LOWEST));
  EXPECT_TRUE(CloseHandle(h));

  // The pseudo-handle names the calling thread, here a thread of our own so that the test process keeps its priority.
  std::thread([] {
    EXPECT_EQ(GetThreadId(GetCurrentThread()), GetCurrentThreadId());
    EXPECT_TRUE(SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL));
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_BELOW_NORMAL);
  }).join();
}

struct Received {
  std::vector<MSG> messages;
  DWORD quitCode = 0;
  HANDLE ready = nullptr;
};

// Makes its queue, says so, then collects messages until WM_QUIT.
DWORD queueBody(void* p) {
  auto* r = static_cast<Received*>(p);
  MSG m;
  PeekMessageW(&m, nullptr, 0, 0, PM_NOREMOVE);
  SetEvent(r->ready);
  BOOL got;
  while ((got = GetMessageW(&m, nullptr, 0, 0)) != 0) {
    if (got == -1) return 1;
    r->messages.push_back(m);
  }
  r->quitCode = static_cast<DWORD>(m.wParam);
  return 0;
}

TEST(MessageQueue, PostsReachTheThreadUntilQuit) {
  Received r;
  r.ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  DWORD tid = 0;
  HANDLE h = CreateThread(nullptr, 0, queueBody, &r, CREATE_SUSPENDED, &tid);
  ASSERT_NE(h, nullptr);
  // No queue yet: the post fails.
  EXPECT_FALSE(PostThreadMessageW(tid, WM_USER + 1, 1, 1));
  ResumeThread(h);
  ASSERT_EQ(WaitForSingleObject(r.ready, 5000), WAIT_OBJECT_0);
  for (int i = 1; i <= 3; ++i) ASSERT_TRUE(PostThreadMessageW(tid, WM_USER + i, static_cast<WPARAM>(i), -i));
  ASSERT_TRUE(PostThreadMessageW(tid, WM_QUIT, 9, 0));
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(exitCode(h), 0u);
  std::vector<std::tuple<UINT, WPARAM, LPARAM>> got;
  for (const MSG& m : r.messages) got.emplace_back(m.message, m.wParam, m.lParam);
  EXPECT_EQ(got, (decltype(got){{WM_USER + 1, 1, -1}, {WM_USER + 2, 2, -2}, {WM_USER + 3, 3, -3}}));
  EXPECT_EQ(r.quitCode, 9u);
  // The queue went with the thread.
  EXPECT_FALSE(PostThreadMessageW(tid, WM_USER, 0, 0));
  CloseHandle(h);
  CloseHandle(r.ready);
}

TEST(MessageQueue, PeekFiltersAndOwnQueue) {
  std::thread([] {
    MSG m{};
    EXPECT_FALSE(PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE));  // makes the queue, finds nothing
    ASSERT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_USER + 5, 5, 0));
    ASSERT_TRUE(PostMessageW(nullptr, WM_USER + 10, 10, 0));
    // A filter takes the later message first; PM_NOREMOVE leaves it there.
    ASSERT_TRUE(PeekMessageW(&m, nullptr, WM_USER + 10, WM_USER + 10, PM_NOREMOVE));
    EXPECT_EQ(m.wParam, 10u);
    ASSERT_TRUE(PeekMessageW(&m, nullptr, WM_USER + 10, WM_USER + 10, PM_REMOVE));
    EXPECT_FALSE(PeekMessageW(&m, nullptr, WM_USER + 10, WM_USER + 10, PM_REMOVE));
    ASSERT_EQ(GetMessageW(&m, nullptr, 0, 0), 1);
    EXPECT_EQ(m.message, WM_USER + 5);
    EXPECT_EQ(GetMessageW(nullptr, nullptr, 0, 0), -1);
    PostQuitMessage(3);
    EXPECT_EQ(GetMessageW(&m, nullptr, 0, 0), 0);
    EXPECT_EQ(std::make_pair(m.message, m.wParam), std::make_pair(UINT(WM_QUIT), WPARAM(3)));
  }).join();
}

using Clock = std::chrono::steady_clock;

long long msSince(Clock::time_point t) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t).count();
}

// Polls until pred holds or about five seconds have gone.
template <typename Pred>
bool eventually(Pred pred) {
  const auto start = Clock::now();
  while (!pred()) {
    if (msSince(start) > 5000) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

LARGE_INTEGER relativeMs(LONGLONG ms) {
  LARGE_INTEGER due;
  due.QuadPart = -ms * 10000;
  return due;
}

TEST(Wait, FirstSignalledInListOrderWinsAndOnlyItIsConsumed) {
  HANDLE e[3] = {CreateEventW(nullptr, FALSE, FALSE, nullptr), CreateEventW(nullptr, FALSE, FALSE, nullptr),
                 CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  for (HANDLE h : e) ASSERT_NE(h, nullptr);

  ASSERT_TRUE(SetEvent(e[2]));
  ASSERT_TRUE(SetEvent(e[1]));
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 1);
  // The auto-reset event went back to unsignalled; the manual one stays set.
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 2);
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_OBJECT_0 + 2);
  ASSERT_TRUE(ResetEvent(e[2]));
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 0), WAIT_TIMEOUT);

  // A signal from another thread ends a wait that is already under way.
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    SetEvent(e[1]);
  });
  EXPECT_EQ(WaitForMultipleObjects(3, e, FALSE, 5000), WAIT_OBJECT_0 + 1);
  setter.join();

  // Wait for all: only when every object is signalled.
  SetEvent(e[0]);
  SetEvent(e[2]);
  EXPECT_EQ(WaitForMultipleObjects(3, e, TRUE, 0), WAIT_TIMEOUT);
  SetEvent(e[1]);
  EXPECT_EQ(WaitForMultipleObjects(3, e, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(std::make_pair(WaitForSingleObject(e[0], 0), WaitForSingleObject(e[2], 0)),
            std::make_pair(DWORD(WAIT_TIMEOUT), DWORD(WAIT_OBJECT_0)));

  for (HANDLE h : e) EXPECT_TRUE(CloseHandle(h));
}

TEST(Wait, TimeoutsAndBadHandles) {
  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  ASSERT_NE(e, nullptr);
  auto start = Clock::now();
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(e, 60), WAIT_TIMEOUT);
  EXPECT_GE(msSince(start), 60);

  int notAnObject = 0;
  HANDLE bad[2] = {e, &notAnObject};
  for (const auto& [count, list] : {std::pair<DWORD, HANDLE*>{2, bad}, {0, bad}, {1, nullptr}})
    EXPECT_EQ(WaitForMultipleObjects(count, list, FALSE, 0), WAIT_FAILED) << count;
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
  EXPECT_FALSE(SetEvent(&notAnObject));

  EXPECT_TRUE(CloseHandle(e));
  EXPECT_FALSE(CloseHandle(e));  // a closed handle is no longer an object
  EXPECT_EQ(WaitForSingleObject(e, 0), WAIT_FAILED);
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
}

TEST(Wait, AutoResetEventReleasesOneWaiterPerSignal) {
  constexpr int kWaiters = 4;
  CEvent event;  // auto-reset, unsignalled
  std::atomic<int> released{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < kWaiters; ++i)
    waiters.emplace_back([&] {
      if (WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0) released.fetch_add(1);
    });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(released.load(), 0);
  for (int i = 1; i <= kWaiters; ++i) {
    ASSERT_TRUE(event.SetEvent());
    ASSERT_TRUE(eventually([&] { return released.load() >= i; }));
    // Give a wrongly released second waiter the time to show up.
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    EXPECT_EQ(released.load(), i);
  }
  for (auto& t : waiters) t.join();

  // A manual-reset event releases everybody and stays set.
  CEvent gate(FALSE, TRUE);
  std::atomic<int> through{0};
  waiters.clear();
  for (int i = 0; i < kWaiters; ++i)
    waiters.emplace_back([&] {
      if (gate.Lock(5000)) through.fetch_add(1);
    });
  gate.SetEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(through.load(), kWaiters);
  EXPECT_TRUE(gate.Lock(0));
}

TEST(WaitableTimer, PeriodicTimerFiresUntilCancelled) {
  HANDLE t = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(WaitForSingleObject(t, 20), WAIT_TIMEOUT);  // never set: never fires
  const LARGE_INTEGER due = relativeMs(20);
  ASSERT_TRUE(SetWaitableTimer(t, &due, 25, nullptr, nullptr, FALSE));
  const auto start = Clock::now();
  for (int i = 0; i < 5; ++i) ASSERT_EQ(WaitForSingleObject(t, 5000), WAIT_OBJECT_0) << i;
  // Five signals take at least the due time and four periods.
  EXPECT_GE(msSince(start), 20 + 4 * 25 - 5);
  ASSERT_TRUE(CancelWaitableTimer(t));
  EXPECT_EQ(WaitForSingleObject(t, 100), WAIT_TIMEOUT);
  EXPECT_TRUE(CloseHandle(t));
}

TEST(WaitableTimer, OneShotFiresOnce) {
  HANDLE t = CreateWaitableTimerW(nullptr, FALSE, nullptr);
  ASSERT_NE(t, nullptr);
  const LARGE_INTEGER due = relativeMs(30);
  ASSERT_TRUE(SetWaitableTimer(t, &due, 0, nullptr, nullptr, FALSE));
  const auto start = Clock::now();
  ASSERT_EQ(WaitForSingleObject(t, 5000), WAIT_OBJECT_0);
  EXPECT_GE(msSince(start), 25);
  EXPECT_EQ(WaitForSingleObject(t, 120), WAIT_TIMEOUT);

  // An absolute due time in the past (0 is 1601) fires at once.
  LARGE_INTEGER past;
  past.QuadPart = 0;
  ASSERT_TRUE(SetWaitableTimer(t, &past, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(t, 2000), WAIT_OBJECT_0);

  // A manual-reset timer stays signalled once it fired.
  HANDLE m = CreateWaitableTimerW(nullptr, TRUE, nullptr);
  ASSERT_TRUE(SetWaitableTimer(m, &due, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(m, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_OBJECT_0);
  // Setting it anew takes the signal back until it fires again.
  const LARGE_INTEGER later = relativeMs(10000);
  ASSERT_TRUE(SetWaitableTimer(m, &later, 0, nullptr, nullptr, FALSE));
  EXPECT_EQ(WaitForSingleObject(m, 0), WAIT_TIMEOUT);

  HANDLE e = CreateEventW(nullptr, FALSE, FALSE, nullptr);  // bad input is refused
  EXPECT_FALSE(SetWaitableTimer(t, nullptr, 0, nullptr, nullptr, FALSE) ||
               SetWaitableTimer(t, &due, -1, nullptr, nullptr, FALSE) ||
               SetWaitableTimer(e, &due, 0, nullptr, nullptr, FALSE));

  // Timer and event in one list: the earlier entry wins when both are set.
  ASSERT_TRUE(SetWaitableTimer(t, &past, 0, nullptr, nullptr, FALSE));
  SetEvent(e);
  Sleep(30);
  HANDLE list[2] = {e, t};
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(2, list, FALSE, 0), WAIT_TIMEOUT);

  for (HANDLE h : {t, m, e}) EXPECT_TRUE(CloseHandle(h));
}

TEST(Ticks, OffsetSeamReachesTheWrap) {
  const DWORD before = GetTickCount();
  // Put the counter 30 ms before its wrap.
  OrvekSetTickCountOffset(0xFFFFFFFFu - 30u - before);
  const DWORD start = GetTickCount();
  Sleep(80);
  const DWORD now = GetTickCount();
  OrvekSetTickCountOffset(0);
  EXPECT_GT(start, 0xFFFFFF00u);
  EXPECT_LT(now, start);                            // wrapped
  EXPECT_GE(static_cast<DWORD>(now - start), 80u);  // the unsigned difference is still the time passed
  EXPECT_LT(static_cast<DWORD>(now - start), 60000u);
  EXPECT_LT(static_cast<DWORD>(GetTickCount() - before), 60000u);
}

}  // namespace

// Threads with a start gate and priorities, and per-thread message queues.
#include <orvek/platform/core/Kernel.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

std::atomic<int> g_bodyRuns{0};

DWORD countingBody(void* parameter) {
  g_bodyRuns.fetch_add(1);
  return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(parameter));
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
  EXPECT_EQ(g_bodyRuns.load(), 0);
  DWORD code = 0;
  ASSERT_TRUE(GetExitCodeThread(h, &code));
  EXPECT_EQ(code, STILL_ACTIVE);

  EXPECT_EQ(ResumeThread(h), 1u);
  ASSERT_EQ(WaitForSingleObject(h, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(g_bodyRuns.load(), 1);
  ASSERT_TRUE(GetExitCodeThread(h, &code));
  EXPECT_EQ(code, 42u);
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
  DWORD code = 0;
  ASSERT_TRUE(GetExitCodeThread(h, &code));
  EXPECT_EQ(code, 77u);
  EXPECT_EQ(ResumeThread(h), 0u);
  EXPECT_TRUE(CloseHandle(h));

  // Closing the only handle of a never-resumed thread abandons it too: the
  // thread goes away without running.
  DWORD tid = 0;
  h = CreateThread(nullptr, 0, countingBody, nullptr, CREATE_SUSPENDED, &tid);
  ASSERT_NE(h, nullptr);
  ASSERT_TRUE(taskExists(tid));
  EXPECT_TRUE(CloseHandle(h));
  const auto start = std::chrono::steady_clock::now();
  while (taskExists(tid) && std::chrono::steady_clock::now() - start < std::chrono::seconds(5))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_FALSE(taskExists(tid));
  EXPECT_EQ(g_bodyRuns.load(), 0);

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
  ASSERT_TRUE(GetExitCodeThread(h, &code));
  EXPECT_EQ(code, 5u);
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

  // The pseudo-handle names the calling thread, here a thread of our own so
  // that the test process keeps its priority.
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
  DWORD code = 1;
  GetExitCodeThread(h, &code);
  EXPECT_EQ(code, 0u);
  ASSERT_EQ(r.messages.size(), 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(r.messages[i].message, WM_USER + 1 + i);
    EXPECT_EQ(r.messages[i].wParam, static_cast<WPARAM>(i + 1));
    EXPECT_EQ(r.messages[i].lParam, -(i + 1));
  }
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
    EXPECT_EQ(m.message, WM_QUIT);
    EXPECT_EQ(m.wParam, 3u);
  }).join();
}

}  // namespace

// CThreadControl and CMessagePoster with real threads and queues.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/core/Kernel_p.h>
#include <orvek/threads/ThreadControl.h>

namespace {

// Gives the calling thread its queue and empties it.
void drainQueue() {
  MSG m;
  while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
  }
}

bool waitMessage(MSG* m, DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  while (!PeekMessageW(m, nullptr, 0, 0, PM_REMOVE)) {
    if (GetTickCount() - start > timeoutMs) return false;
    Sleep(1);
  }
  return true;
}

DWORD since(DWORD start, DWORD now) { return COrvekGlobals::GetTicksElapsed(now, start); }

struct Worker {
  std::atomic<int> ran{0};
  std::atomic<int> priority{0};
  std::atomic<UINT> msg{0};
  std::atomic<WPARAM> wParam{0};
  std::atomic<LPARAM> lParam{0};
  std::atomic<bool> ended{false};
  CEvent seen;
  CEvent release;
  DWORD startDelay = 0;
};

DWORD loopBody(void* p) {
  auto* w = static_cast<Worker*>(p);
  w->ran = 1;
  w->priority = GetThreadPriority(GetCurrentThread());
  Sleep(w->startDelay);
  MSG m;
  while (GetMessageW(&m, nullptr, 0, 0) > 0) {
    w->msg = m.message;
    w->wParam = m.wParam;
    w->lParam = m.lParam;
    w->seen.SetEvent();
  }
  w->ended = true;
  return 0;
}

// Never reads its queue: it waits for its release.
DWORD blockedBody(void* p) {
  auto* w = static_cast<Worker*>(p);
  w->ran = 1;
  w->release.Lock();
  w->ended = true;
  return 0;
}

bool waitFlag(const std::atomic<bool>& flag) {
  for (int i = 0; i < 500 && !flag; ++i) Sleep(10);
  return flag;
}

}  // namespace

TEST(ThreadControl, StartPostQuit) {
  Worker w;
  CThreadControl tc;
  EXPECT_EQ(tc.PostMessageW(WM_USER, UINT_MAX, INT_MIN), E_PENDING);
  EXPECT_EQ(tc.Close(0), S_OK);
  EXPECT_EQ(tc.Close(INFINITE), S_OK);  // no thread: nothing to wait for
  ASSERT_EQ(tc.Init(loopBody, &w, THREAD_PRIORITY_BELOW_NORMAL), S_OK);
  EXPECT_EQ(tc.Init(loopBody, &w, THREAD_PRIORITY_NORMAL), ERROR_ALREADY_INITIALIZED);
  EXPECT_NE(tc.GetThreadID(), 0u);
  // Posted before the worker has its queue: the post retries until taken.
  EXPECT_EQ(tc.PostMessageW(WM_USER + 3, 42, -7), S_OK);
  ASSERT_EQ(WaitForSingleObject(w.seen, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(w.msg, WM_USER + 3);
  EXPECT_EQ(w.wParam, 42u);
  EXPECT_EQ(w.lParam, -7);
  // The body ran at its priority from its first instruction.
  EXPECT_EQ(w.priority, THREAD_PRIORITY_BELOW_NORMAL);
  EXPECT_EQ(tc.Close(5000), S_OK);
  EXPECT_TRUE(w.ended);
  EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(tc.GetThreadID(), 0u);
  EXPECT_EQ(tc.PostMessageW(WM_USER, 0, 0), E_PENDING);
}

TEST(ThreadControl, CloseWithoutWaitingAndRefusedPriority) {
  Worker blocked, refused, next;
  CThreadControl tc;
  ASSERT_EQ(tc.Init(blockedBody, &blocked, THREAD_PRIORITY_NORMAL), S_OK);
  EXPECT_EQ(tc.Close(0), ERROR_TIMEOUT);
  EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(tc.GetThreadID(), 0u);

  // A refused priority abandons the thread before its body runs and leaves
  // the object free; so does a missing body.
  for (int priority : {99, 3, INT_MIN, INT_MAX}) {
    EXPECT_EQ(tc.Init(loopBody, &refused, priority), E_FAIL) << priority;
    EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  }
  EXPECT_EQ(tc.Init(nullptr, &refused, THREAD_PRIORITY_NORMAL), E_FAIL);
  EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(refused.ran, 0);

  ASSERT_EQ(tc.Init(loopBody, &next, THREAD_PRIORITY_NORMAL), S_OK);
  EXPECT_EQ(tc.PostMessageW(WM_USER + 1, 0, 0), S_OK);
  EXPECT_EQ(WaitForSingleObject(next.seen, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(refused.ran, 0);

  // The thread let go by Close(0) runs on by itself.
  EXPECT_FALSE(blocked.ended);
  blocked.release.SetEvent();
  EXPECT_TRUE(waitFlag(blocked.ended));
}

TEST(ThreadControl, EndedOrNotYetListeningThreadsDoNotHang) {
  // A body that ended without a queue: the post gives up instead of
  // retrying for ever.
  Worker quick;
  {
    CThreadControl tc;
    ASSERT_EQ(tc.Init(blockedBody, &quick, THREAD_PRIORITY_NORMAL), S_OK);
    quick.release.SetEvent();
    ASSERT_EQ(WaitForSingleObject(tc.GetHandle(), 5000), WAIT_OBJECT_0);
    EXPECT_EQ(tc.PostMessageW(WM_USER, 0, 0), E_PENDING);
  }
  // Destroyed before the body has reached its message loop: the quit message
  // is not lost.
  Worker late;
  late.startDelay = 100;
  {
    CThreadControl tc;
    ASSERT_EQ(tc.Init(loopBody, &late, THREAD_PRIORITY_NORMAL), S_OK);
  }
  EXPECT_TRUE(late.ended);
}

TEST(ThreadControl, QuitOfATimedOutCloseReachesALateLoop) {
  // Closed with a short timeout before the body has made its queue: the quit
  // waits for the queue, and the thread let go still ends.
  Worker late;
  late.startDelay = 300;
  CThreadControl tc;
  ASSERT_EQ(tc.Init(loopBody, &late, THREAD_PRIORITY_NORMAL), S_OK);
  EXPECT_EQ(tc.Close(20), ERROR_TIMEOUT);
  EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(waitFlag(late.ended));
}

namespace {

// Stands in for a window whose delivery blocks the poster thread until the
// test lets it go.
CEvent* g_postEntered = nullptr;
CEvent* g_postRelease = nullptr;
BOOL blockingWindowPost(HWND, UINT, WPARAM, LPARAM) {
  g_postEntered->SetEvent();
  WaitForSingleObject(*g_postRelease, 10000);
  return TRUE;
}

}  // namespace

TEST(MessagePoster, TimedOutCloseKeepsTheThreadUntilItEnds) {
  drainQueue();
  CEvent entered, release;
  g_postEntered = &entered;
  g_postRelease = &release;
  orvek_detail::SetWindowPostHook(&blockingWindowPost);
  struct HookGuard {
    ~HookGuard() { orvek_detail::SetWindowPostHook(nullptr); }
  } guard;
  CMessagePoster poster;
  ASSERT_EQ(poster.Init(5), S_OK);
  poster.PostMessageW(0, reinterpret_cast<HWND>(0x1000), WM_USER + 20, 0, 0);
  ASSERT_EQ(WaitForSingleObject(entered, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(poster.Close(), ERROR_TIMEOUT);
  // The thread still works on the object: no second one may start.
  EXPECT_EQ(poster.Init(5), ERROR_ALREADY_INITIALIZED);
  release.SetEvent();
  // Once it has ended, Init starts afresh, and the stop meant for the old
  // thread does not stop the new one.
  LONG hr = ERROR_ALREADY_INITIALIZED;
  for (int i = 0; i < 500 && hr == ERROR_ALREADY_INITIALIZED; ++i) {
    Sleep(10);
    hr = poster.Init(5);
  }
  ASSERT_EQ(hr, S_OK);
  poster.PostThreadMessageW(0, GetCurrentThreadId(), WM_USER + 21, 0, 0);
  MSG m;
  ASSERT_TRUE(waitMessage(&m, 5000));
  EXPECT_EQ(m.message, WM_USER + 21);
  EXPECT_EQ(poster.Close(), S_OK);
  // A period that no timer can take is refused.
  for (DWORD period : {0x80000000u, 0xFFFFFFFFu}) EXPECT_EQ(poster.Init(period), E_INVALIDARG) << period;
}

TEST(MessagePoster, KeepsQueueOrderAndWaitsForTheTick) {
  drainQueue();
  const DWORD me = GetCurrentThreadId();
  MSG a, b;
  {
    CMessagePoster poster;
    EXPECT_EQ(poster.Close(), S_OK);
    // (500) then (0): the due one waits behind the earlier one.
    const DWORD t0 = GetTickCount();
    poster.PostThreadMessageW(500, me, WM_USER + 1, 1, -1);
    poster.PostThreadMessageW(0, me, WM_USER + 2, 2, -2);
    ASSERT_EQ(poster.Init(10), S_OK);
    EXPECT_EQ(poster.Init(10), ERROR_ALREADY_INITIALIZED);
    ASSERT_TRUE(waitMessage(&a, 5000));
    ASSERT_TRUE(waitMessage(&b, 5000));
    EXPECT_EQ(a.message, WM_USER + 1);
    EXPECT_EQ(a.wParam, 1u);
    EXPECT_EQ(a.lParam, -1);
    EXPECT_EQ(b.message, WM_USER + 2);
    EXPECT_EQ(b.lParam, -2);
    EXPECT_GE(since(t0, b.time), 500u);

    // (0) then (500): the first goes at the next tick, well before the second.
    const DWORD t1 = GetTickCount();
    poster.PostThreadMessageW(0, me, WM_USER + 3, 0, 0);
    poster.PostThreadMessageW(500, me, WM_USER + 4, 0, 0);
    ASSERT_TRUE(waitMessage(&a, 5000));
    ASSERT_TRUE(waitMessage(&b, 5000));
    EXPECT_EQ(a.message, WM_USER + 3);
    EXPECT_EQ(b.message, WM_USER + 4);
    EXPECT_LT(since(t1, a.time), 400u);
    EXPECT_GE(since(t1, b.time), 500u);
    EXPECT_EQ(poster.Close(), S_OK);
  }
  {
    // Before Init, posts of any delay or target only queue.
    CMessagePoster unstarted;
    unstarted.PostMessageW(INFINITE, nullptr, 0, 0, 0);
    unstarted.PostThreadMessageW(INFINITE, 0, UINT_MAX, UINT_MAX, INT_MIN);
    EXPECT_EQ(unstarted.Close(), S_OK);
  }
  {
    // A delay of 0 still waits for the next tick of the period.
    CMessagePoster poster;
    const DWORD t0 = GetTickCount();
    ASSERT_EQ(poster.Init(300), S_OK);
    Sleep(100);
    poster.PostThreadMessageW(0, me, WM_USER + 5, 0, 0);
    ASSERT_TRUE(waitMessage(&a, 5000));
    EXPECT_EQ(a.message, WM_USER + 5);
    EXPECT_GE(since(t0, a.time), 299u);
  }
}

TEST(MessagePoster, SingleShotAndQueueKeptOverClose) {
  drainQueue();
  const DWORD me = GetCurrentThreadId();
  CMessagePoster poster;
  MSG m;
  poster.PostThreadMessageW(0, me, WM_USER + 7, 0, 0);
  ASSERT_EQ(poster.Init(0), S_OK);
  ASSERT_TRUE(waitMessage(&m, 5000));
  EXPECT_EQ(m.message, WM_USER + 7);
  // The single tick has passed: nothing more goes out.
  poster.PostThreadMessageW(0, me, WM_USER + 8, 0, 0);
  Sleep(300);
  EXPECT_FALSE(PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(poster.Close(), S_OK);
  // What stayed queued goes out after the next Init.
  ASSERT_EQ(poster.Init(10), S_OK);
  ASSERT_TRUE(waitMessage(&m, 5000));
  EXPECT_EQ(m.message, WM_USER + 8);
  // A queued message outlives the poster's end without a leak.
  poster.PostThreadMessageW(60000, me, WM_USER + 9, 0, 0);
}

TEST(MessagePoster, TickCounterWrapDoesNoHarm) {
  drainQueue();
  struct OffsetGuard {
    ~OffsetGuard() { OrvekSetTickCountOffset(0); }
  } guard;
  // The counter wraps 20 ms after the message is queued.
  OrvekSetTickCountOffset(0u - GetTickCount() - 20u);
  CMessagePoster poster;
  ASSERT_EQ(poster.Init(5), S_OK);
  const DWORD t0 = GetTickCount();
  poster.PostThreadMessageW(60, GetCurrentThreadId(), WM_USER + 10, 0, 0);
  MSG m;
  ASSERT_TRUE(waitMessage(&m, 5000));
  EXPECT_EQ(m.message, WM_USER + 10);
  EXPECT_LT(m.time, t0);  // it wrapped on the way
  EXPECT_GE(since(t0, m.time), 60u);
}

// CThreadControl and CMessagePoster with real threads and queues.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <tuple>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/core/Kernel_p.h>
#include <orvek/threads/ThreadControl.h>

namespace {

using Msg = std::tuple<UINT, WPARAM, LPARAM>;

// Gives the calling thread its queue and empties it.
void drainQueue() {
  MSG m;
  while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
  }
}

bool waitMessage(MSG* m, DWORD timeoutMs = 5000) {
  const DWORD start = GetTickCount();
  while (!PeekMessageW(m, nullptr, 0, 0, PM_REMOVE)) {
    if (GetTickCount() - start > timeoutMs) return false;
    Sleep(1);
  }
  return true;
}

DWORD since(DWORD start, DWORD now) { return COrvekGlobals::GetTicksElapsed(now, start); }

bool waitFlag(const std::atomic<bool>& flag) {
  for (int i = 0; i < 500 && !flag; ++i) Sleep(10);
  return flag;
}

struct Worker {
  std::atomic<int> ran{0}, priority{0};
  std::atomic<UINT> msg{0};
  std::atomic<WPARAM> wParam{0};
  std::atomic<LPARAM> lParam{0};
  std::atomic<bool> ended{false};
  CEvent seen, release;
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
  EXPECT_EQ(Msg(w.msg, w.wParam, w.lParam), Msg(WM_USER + 3, 42, -7));
  EXPECT_EQ(w.priority, THREAD_PRIORITY_BELOW_NORMAL);  // from the body's first instruction
  EXPECT_EQ(tc.Close(5000), S_OK);
  EXPECT_TRUE(w.ended);
  EXPECT_EQ(std::make_pair(tc.GetHandle(), tc.GetThreadID()), std::make_pair(INVALID_HANDLE_VALUE, DWORD(0)));
  EXPECT_EQ(tc.PostMessageW(WM_USER, 0, 0), E_PENDING);
}

TEST(ThreadControl, CloseWithoutWaitingAndRefusedPriority) {
  Worker blocked, refused, next;
  CThreadControl tc;
  ASSERT_EQ(tc.Init(blockedBody, &blocked, THREAD_PRIORITY_NORMAL), S_OK);
  EXPECT_EQ(tc.Close(0), ERROR_TIMEOUT);
  EXPECT_EQ(std::make_pair(tc.GetHandle(), tc.GetThreadID()), std::make_pair(INVALID_HANDLE_VALUE, DWORD(0)));
  // A refused priority or a missing body abandons the thread before its body runs and leaves the object free.
  for (int priority : {99, 3, INT_MIN, INT_MAX, THREAD_PRIORITY_NORMAL}) {
    EXPECT_EQ(tc.Init(priority == THREAD_PRIORITY_NORMAL ? nullptr : loopBody, &refused, priority), E_FAIL);
    EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE) << priority;
  }
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
  Worker quick, late, later;
  {
    // A body that ended without a queue: the post gives up instead of retrying for ever.
    CThreadControl tc;
    ASSERT_EQ(tc.Init(blockedBody, &quick, THREAD_PRIORITY_NORMAL), S_OK);
    quick.release.SetEvent();
    ASSERT_EQ(WaitForSingleObject(tc.GetHandle(), 5000), WAIT_OBJECT_0);
    EXPECT_EQ(tc.PostMessageW(WM_USER, 0, 0), E_PENDING);
  }
  late.startDelay = 100;
  {
    // Destroyed before the body has reached its message loop: the quit message is not lost.
    CThreadControl tc;
    ASSERT_EQ(tc.Init(loopBody, &late, THREAD_PRIORITY_NORMAL), S_OK);
  }
  EXPECT_TRUE(late.ended);
  // Closed with a short timeout before the body made its queue: the quit waits for it, the thread still ends.
  later.startDelay = 300;
  CThreadControl tc;
  ASSERT_EQ(tc.Init(loopBody, &later, THREAD_PRIORITY_NORMAL), S_OK);
  EXPECT_EQ(tc.Close(20), ERROR_TIMEOUT);
  EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(waitFlag(later.ended));
}

namespace {

// Stands in for a window whose delivery blocks the poster thread until the test lets it go.
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
  EXPECT_EQ(poster.Init(5), ERROR_ALREADY_INITIALIZED);  // the thread still works on the object
  release.SetEvent();
  // Once it has ended, Init starts afresh, and the stop meant for the old thread does not stop the new one.
  LONG hr = ERROR_ALREADY_INITIALIZED;
  for (int i = 0; i < 500 && hr == ERROR_ALREADY_INITIALIZED; ++i) {
    Sleep(10);
    hr = poster.Init(5);
  }
  ASSERT_EQ(hr, S_OK);
  poster.PostThreadMessageW(0, GetCurrentThreadId(), WM_USER + 21, 0, 0);
  MSG m;
  ASSERT_TRUE(waitMessage(&m));
  EXPECT_EQ(m.message, WM_USER + 21);
  EXPECT_EQ(poster.Close(), S_OK);
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
    ASSERT_TRUE(waitMessage(&a) && waitMessage(&b));
    EXPECT_EQ(Msg(a.message, a.wParam, a.lParam), Msg(WM_USER + 1, 1, -1));
    EXPECT_EQ(Msg(b.message, b.wParam, b.lParam), Msg(WM_USER + 2, 2, -2));
    EXPECT_GE(since(t0, b.time), 500u);
    // (0) then (500): the first goes at the next tick, well before the second.
    const DWORD t1 = GetTickCount();
    poster.PostThreadMessageW(0, me, WM_USER + 3, 0, 0);
    poster.PostThreadMessageW(500, me, WM_USER + 4, 0, 0);
    ASSERT_TRUE(waitMessage(&a) && waitMessage(&b));
    EXPECT_EQ(std::make_pair(a.message, b.message), std::make_pair(UINT(WM_USER + 3), UINT(WM_USER + 4)));
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
  // A delay of 0 still waits for the next tick of the period.
  CMessagePoster poster;
  const DWORD t0 = GetTickCount();
  ASSERT_EQ(poster.Init(300), S_OK);
  Sleep(100);
  poster.PostThreadMessageW(0, me, WM_USER + 5, 0, 0);
  ASSERT_TRUE(waitMessage(&a));
  EXPECT_EQ(a.message, WM_USER + 5);
  EXPECT_GE(since(t0, a.time), 299u);
}

TEST(MessagePoster, SingleShotQueueKeptOverCloseAndTickWrap) {
  drainQueue();
  const DWORD me = GetCurrentThreadId();
  MSG m;
  {
    CMessagePoster poster;
    poster.PostThreadMessageW(0, me, WM_USER + 7, 0, 0);
    ASSERT_EQ(poster.Init(0), S_OK);
    ASSERT_TRUE(waitMessage(&m));
    EXPECT_EQ(m.message, WM_USER + 7);
    // The single tick has passed: nothing more goes out, until the next Init.
    poster.PostThreadMessageW(0, me, WM_USER + 8, 0, 0);
    Sleep(300);
    EXPECT_FALSE(PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(poster.Close(), S_OK);
    ASSERT_EQ(poster.Init(10), S_OK);
    ASSERT_TRUE(waitMessage(&m));
    EXPECT_EQ(m.message, WM_USER + 8);
    poster.PostThreadMessageW(60000, me, WM_USER + 9, 0, 0);  // outlives the poster without a leak
  }
  struct OffsetGuard {
    ~OffsetGuard() { OrvekSetTickCountOffset(0); }
  } guard;
  OrvekSetTickCountOffset(0u - GetTickCount() - 20u);  // wraps 20 ms after the message is queued
  CMessagePoster poster;
  ASSERT_EQ(poster.Init(5), S_OK);
  const DWORD t0 = GetTickCount();
  poster.PostThreadMessageW(60, me, WM_USER + 10, 0, 0);
  ASSERT_TRUE(waitMessage(&m));
  EXPECT_EQ(m.message, WM_USER + 10);
  EXPECT_LT(m.time, t0);  // it wrapped on the way
  EXPECT_GE(since(t0, m.time), 60u);
}

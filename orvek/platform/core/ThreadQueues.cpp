// Thread message queues (PostThreadMessageW, GetMessageW, PeekMessageW,
// PostMessageW): a deque per thread under a mutex, with a condition variable
// that wakes GetMessageW.
#include <orvek/platform/core/KernelObjects_p.h>
#include <orvek/platform/core/Kernel_p.h>

#include <atomic>
#include <deque>
#include <memory>
#include <unordered_map>

using namespace orvek_kernel;

namespace {

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

void orvek_kernel::EndThreadQueue(ThreadObj* t) {
  t_queue.drop();
  std::lock_guard<std::mutex> g(queuesLock());
  pendingPosts().erase(t->tid);
  t->queueGone = true;
}

void orvek_detail::SetWindowPostHook(WindowPostHook hook) { g_windowPost.store(hook); }

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

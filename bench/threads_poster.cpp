// Lateness of delayed messages behind their due time (post time + delay):
// CMessagePoster ticking every 1 ms, against a delay thread of the plain
// kind that sleeps on a condition variable until each message is due.
// A producer thread posts 1000 messages, one every 2 ms, each with a delay of
// 5 ms, to the benchmark thread, which stamps them as they arrive.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include <orvek/threads/ThreadControl.h>

namespace {

constexpr int kMessages = 1000;
constexpr DWORD kDelay = 5;
constexpr auto kSpacing = std::chrono::milliseconds(2);

double nowMs() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

// The competing design: one thread that wakes exactly when the front message
// is due, keeping the same queue order.
class SleepingDelayLine {
 public:
  SleepingDelayLine() : m_thread([this] { run(); }) {}
  ~SleepingDelayLine() {
    {
      std::lock_guard<std::mutex> g(m_mu);
      m_stop = true;
    }
    m_cv.notify_one();
    m_thread.join();
  }
  void PostThreadMessageW(DWORD dwDelay, DWORD dwThreadID, UINT nMsg, UINT wParam, LONG lParam) {
    {
      std::lock_guard<std::mutex> g(m_mu);
      m_items.push_back(Item{Clock::now() + std::chrono::milliseconds(dwDelay), dwThreadID, nMsg, wParam, lParam});
    }
    m_cv.notify_one();
  }

 private:
  using Clock = std::chrono::steady_clock;
  struct Item {
    Clock::time_point due;
    DWORD thread;
    UINT msg;
    UINT wParam;
    LONG lParam;
  };
  void run() {
    std::unique_lock<std::mutex> lock(m_mu);
    while (!m_stop) {
      if (m_items.empty()) {
        m_cv.wait(lock);
      } else if (Clock::now() < m_items.front().due) {
        m_cv.wait_until(lock, m_items.front().due);
      } else {
        const Item it = m_items.front();
        m_items.pop_front();
        ::PostThreadMessageW(it.thread, it.msg, it.wParam, it.lParam);
      }
    }
  }
  std::mutex m_mu;
  std::condition_variable m_cv;
  std::deque<Item> m_items;
  bool m_stop = false;
  std::thread m_thread;
};

template <class Poster>
void measure(benchmark::State& state, Poster& poster) {
  MSG m;
  while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
  }
  const DWORD me = GetCurrentThreadId();
  std::vector<double> posted(kMessages), late(kMessages);
  std::thread producer([&] {
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < kMessages; ++i) {
      std::this_thread::sleep_until(next += kSpacing);
      posted[i] = nowMs();
      poster.PostThreadMessageW(kDelay, me, WM_USER, static_cast<UINT>(i), 0);
    }
  });
  for (int n = 0; n < kMessages && GetMessageW(&m, nullptr, 0, 0) > 0; ++n) {
    const std::size_t i = m.wParam;
    late[i] = nowMs() - (posted[i] + kDelay);
  }
  producer.join();
  std::sort(late.begin(), late.end());
  state.counters["p50_late_ms"] = late[kMessages / 2];
  state.counters["p99_late_ms"] = late[kMessages * 99 / 100];
  state.counters["max_late_ms"] = late.back();
}

void BM_MessagePoster1ms(benchmark::State& state) {
  for (auto _ : state) {
    CMessagePoster poster;
    poster.Init(1);
    measure(state, poster);
  }
}
BENCHMARK(BM_MessagePoster1ms)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_SleepingDelayThread(benchmark::State& state) {
  for (auto _ : state) {
    SleepingDelayLine line;
    measure(state, line);
  }
}
BENCHMARK(BM_SleepingDelayThread)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

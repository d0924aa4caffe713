// Pacing a loop for 2 seconds at periods of 1 ms and 10 ms: CVarElapseTimer
// (timer at the same period, schedule by the tick count) against a plain
// std::this_thread::sleep_for loop. Reported per run:
//   mean_period_ms  slope of the least-squares line through the wake-up
//                   times, so that one stall at the end does not count as
//                   drift
//   period_err_pct  how far the mean period is from the asked one
//   p50_late_ms, p99_late_ms
//                   median and 99th percentile of how late a wake-up comes behind its
//                   place in the schedule start + k * period
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <orvek/threads/Timers.h>

namespace {

constexpr double kRunMs = 2000.0;

// CLOCK_MONOTONIC in ms, the clock that GetTickCount counts.
double nowMs() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

void report(benchmark::State& state, double start, const std::vector<double>& wakes, double period) {
  std::vector<double> late(wakes.size());
  for (std::size_t k = 0; k < wakes.size(); ++k) late[k] = wakes[k] - (start + (k + 1) * period);
  std::sort(late.begin(), late.end());
  const double n = static_cast<double>(wakes.size());
  const double kMean = (n + 1) / 2;
  double tMean = 0;
  for (double w : wakes) tMean += w / n;
  double num = 0, den = 0;
  for (std::size_t k = 0; k < wakes.size(); ++k) {
    num += (k + 1 - kMean) * (wakes[k] - tMean);
    den += (k + 1 - kMean) * (k + 1 - kMean);
  }
  const double mean = num / den;
  state.counters["mean_period_ms"] = mean;
  state.counters["period_err_pct"] = (mean - period) / period * 100.0;
  state.counters["p50_late_ms"] = late[late.size() / 2];
  state.counters["p99_late_ms"] = late[late.size() * 99 / 100];
  state.counters["max_late_ms"] = late.back();
}

void BM_VarElapseTimer(benchmark::State& state) {
  const int period = static_cast<int>(state.range(0));
  const std::size_t n = static_cast<std::size_t>(kRunMs / period);
  for (auto _ : state) {
    std::vector<double> wakes;
    wakes.reserve(n);
    // Start the schedule just after a millisecond boundary, so that its base
    // tick is known on the fine clock; again if the thread was held up.
    std::unique_ptr<CVarElapseTimer> timer;
    DWORD base;
    do {
      timer = std::make_unique<CVarElapseTimer>();
      timer->Init(period);
      const DWORD t = GetTickCount();
      while ((base = GetTickCount()) == t) {
      }
      timer->WaitForDelay(0);
    } while (GetTickCount() != base);
    const double start = static_cast<double>(base);
    for (std::size_t k = 0; k < n; ++k) {
      timer->WaitForDelay(static_cast<DWORD>(period));
      wakes.push_back(nowMs());
    }
    report(state, start, wakes, period);
  }
}
BENCHMARK(BM_VarElapseTimer)->Arg(1)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_SleepForLoop(benchmark::State& state) {
  const int period = static_cast<int>(state.range(0));
  const std::size_t n = static_cast<std::size_t>(kRunMs / period);
  for (auto _ : state) {
    std::vector<double> wakes;
    wakes.reserve(n);
    const double start = nowMs();
    for (std::size_t k = 0; k < n; ++k) {
      std::this_thread::sleep_for(std::chrono::milliseconds(period));
      wakes.push_back(nowMs());
    }
    report(state, start, wakes, period);
  }
}
BENCHMARK(BM_SleepForLoop)->Arg(1)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

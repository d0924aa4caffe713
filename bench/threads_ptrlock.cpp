// An uncontended CMTPtrLock against the plain ways to reach a shared object:
// a std::mutex and a copy of a std::shared_ptr; and, as the floor, one
// lock and unlock of the platform's recursive lock that each entry carries.
#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>

#include <orvek/threads/MTPtrStorage.h>

namespace {

int g_object = 42;

void BM_MTPtrLock(benchmark::State& state) {
  int h;
  CMTPtrStorage::AddPtr(&g_object, &h);
  for (auto _ : state) {
    void* p;
    CMTPtrLock lock(h, &p);
    benchmark::DoNotOptimize(p);
  }
}
BENCHMARK(BM_MTPtrLock);

void BM_StdMutex(benchmark::State& state) {
  std::mutex m;
  for (auto _ : state) {
    std::lock_guard<std::mutex> g(m);
    benchmark::DoNotOptimize(&g_object);
  }
}
BENCHMARK(BM_StdMutex);

void BM_SharedPtrCopy(benchmark::State& state) {
  auto shared = std::make_shared<int>(42);
  for (auto _ : state) {
    std::shared_ptr<int> copy = shared;
    benchmark::DoNotOptimize(copy.get());
  }
}
BENCHMARK(BM_SharedPtrCopy);

void BM_CCriticalSection(benchmark::State& state) {
  CCriticalSection cs;
  for (auto _ : state) {
    cs.Lock();
    benchmark::DoNotOptimize(&g_object);
    cs.Unlock();
  }
}
BENCHMARK(BM_CCriticalSection);

}  // namespace

BENCHMARK_MAIN();

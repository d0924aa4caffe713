// Push + Pop of one block through a ring, against the plain copies of the
// same bytes and against the two ring containers of Boost.
#include <benchmark/benchmark.h>

#include <boost/circular_buffer.hpp>
#include <boost/lockfree/spsc_queue.hpp>

#include <cstring>
#include <vector>

#include <orvek/signal/CircleBuffer.h>

namespace {

// The rings hold one and a half blocks, so every other block wraps and is
// moved in two pieces (and the Boost queue, which keeps one slot free, still
// fits a block).
int Capacity(int block) { return block + block / 2; }

struct Blocks {
  explicit Blocks(int n) : src(static_cast<std::size_t>(n)), dst(static_cast<std::size_t>(n)) {
    for (int i = 0; i < n; ++i) src[static_cast<std::size_t>(i)] = static_cast<float>(i % 1000) * 0.5f;
  }
  bool Intact() const { return std::memcmp(src.data(), dst.data(), src.size() * sizeof(float)) == 0; }
  std::vector<float> src, dst;
};

void Finish(benchmark::State& state, const Blocks& b) {
  if (!b.Intact()) state.SkipWithError("block came out changed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * 2 * sizeof(float));
}

// The physical floor: the block copied in and out once, no ring logic.
void BM_Memcpy(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blocks b(n);
  std::vector<float> mid(static_cast<std::size_t>(n));
  for (auto _ : state) {
    std::memcpy(mid.data(), b.src.data(), sizeof(float) * n);
    benchmark::ClobberMemory();
    std::memcpy(b.dst.data(), mid.data(), sizeof(float) * n);
    benchmark::ClobberMemory();
  }
  Finish(state, b);
}

void BM_CCircleBuffer(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blocks b(n);
  CCircleBuffer<float> ring;
  ring.Create(Capacity(n));
  for (auto _ : state) {
    ring.Push(b.src.data(), n);
    ring.Pop(b.dst.data(), n);
    benchmark::ClobberMemory();
  }
  Finish(state, b);
}

// Range insert at the end, copy-out through the two contiguous arrays (the
// fastest read the container offers), then erase from the front.
void BM_BoostCircularBuffer(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blocks b(n);
  boost::circular_buffer<float> ring(static_cast<std::size_t>(Capacity(n)));
  for (auto _ : state) {
    ring.insert(ring.end(), b.src.begin(), b.src.end());
    const auto one = ring.array_one();
    const auto two = ring.array_two();
    std::memcpy(b.dst.data(), one.first, one.second * sizeof(float));
    std::memcpy(b.dst.data() + one.second, two.first, two.second * sizeof(float));
    ring.erase_begin(static_cast<std::size_t>(n));
    benchmark::ClobberMemory();
  }
  Finish(state, b);
}

void BM_BoostSpscQueue(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blocks b(n);
  boost::lockfree::spsc_queue<float> ring(static_cast<std::size_t>(Capacity(n)));
  for (auto _ : state) {
    ring.push(b.src.data(), static_cast<std::size_t>(n));
    ring.pop(b.dst.data(), static_cast<std::size_t>(n));
    benchmark::ClobberMemory();
  }
  Finish(state, b);
}

#define RING_SIZES Arg(64)->Arg(4096)->Arg(1048576)
BENCHMARK(BM_Memcpy)->RING_SIZES;
BENCHMARK(BM_CCircleBuffer)->RING_SIZES;
BENCHMARK(BM_BoostCircularBuffer)->RING_SIZES;
BENCHMARK(BM_BoostSpscQueue)->RING_SIZES;

}  // namespace

BENCHMARK_MAIN();

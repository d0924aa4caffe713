// The running median of CMedFilter against the plain exchange sort of the
// window per sample and against std::nth_element per sample, on the same
// stream, with the outputs checked bit for bit against the exchange sort.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include <orvek/signal/Filters.h>

namespace {

constexpr int kBlock = 1024;  // samples per iteration

// The window copied and exchange-sorted in full for every sample.
class CSortedMedian : public CFilterBase<float> {
 public:
  LONG Create(int nSize) {
    m_sorted.assign(static_cast<std::size_t>(nSize), 0.0f);
    return CFilterBase<float>::Create(nSize);
  }
  LONG ProcessI(float* pData, int nCount) {
    for (int i = 0; i < nCount; ++i) {
      m_pBuffer[m_nPos] = pData[i];
      std::memcpy(m_sorted.data(), m_pBuffer, sizeof(float) * m_nSize);
      SortBuffer(m_sorted.data(), m_nSize);
      pData[i] = m_sorted[static_cast<std::size_t>(m_nSize / 2)];
      AdvancePos();
    }
    return S_OK;
  }

 private:
  std::vector<float> m_sorted;
};

// The window copied and partially ordered by nth_element for every sample.
class CNthMedian {
 public:
  LONG Create(int nSize) {
    m_window.assign(static_cast<std::size_t>(nSize), 0.0f);
    m_work = m_window;
    m_pos = 0;
    return S_OK;
  }
  LONG ProcessI(float* pData, int nCount) {
    const std::size_t mid = m_window.size() / 2;
    for (int i = 0; i < nCount; ++i) {
      m_window[m_pos] = pData[i];
      m_pos = m_pos + 1 == m_window.size() ? 0 : m_pos + 1;
      m_work = m_window;
      std::nth_element(m_work.begin(), m_work.begin() + static_cast<std::ptrdiff_t>(mid), m_work.end(),
                       std::greater<float>());
      pData[i] = m_work[mid];
    }
    return S_OK;
  }

 private:
  std::vector<float> m_window, m_work;
  std::size_t m_pos = 0;
};

const std::vector<float>& Input() {
  static const std::vector<float> v = [] {
    std::mt19937 rng(3);
    std::normal_distribution<float> noise;
    std::vector<float> s(kBlock);
    for (float& x : s) x = noise(rng);
    return s;
  }();
  return v;
}

const std::vector<float>& ReferenceOutput(int window) {
  static std::map<int, std::vector<float>> cache;
  auto it = cache.find(window);
  if (it == cache.end()) {
    CSortedMedian f;
    f.Create(window);
    std::vector<float> out = Input();
    f.ProcessI(out.data(), kBlock);
    it = cache.emplace(window, std::move(out)).first;
  }
  return it->second;
}

template <typename Filter>
void Median(benchmark::State& state) {
  const int window = static_cast<int>(state.range(0));
  Filter f;
  f.Create(window);
  std::vector<float> block = Input();
  f.ProcessI(block.data(), kBlock);  // first block from a fresh filter: checked
  if (std::memcmp(block.data(), ReferenceOutput(window).data(), sizeof(float) * kBlock) != 0) {
    state.SkipWithError("output differs from the exchange sort");
    return;
  }
  for (auto _ : state) {
    block = Input();
    f.ProcessI(block.data(), kBlock);
    benchmark::DoNotOptimize(block.data());
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kBlock);
}

#define MEDIAN_WINDOWS Arg(3)->Arg(31)->Arg(255)->Arg(1023)
BENCHMARK_TEMPLATE(Median, CMedFilter<float>)->MEDIAN_WINDOWS;
BENCHMARK_TEMPLATE(Median, CNthMedian)->MEDIAN_WINDOWS;
BENCHMARK_TEMPLATE(Median, CSortedMedian)->MEDIAN_WINDOWS;

}  // namespace

BENCHMARK_MAIN();

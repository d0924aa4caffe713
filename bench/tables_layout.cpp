// Cost of searching the best order of a table array: every order is laid
// out. The library walks the orders one at a time; the competing approach
// lists all of them first with COrvekGlobals::GetPlaceVariants and then lays
// each out. Both give the same result; they differ in memory.
//
// Peak memory is counted exactly: this program replaces the global operator
// new/delete and tracks the live heap bytes (malloc_usable_size), so
// peak_heap_MB is the highest live heap above the level at the start of the
// run. maxrss_growth_MB is how far the run raised the process's resident
// high-water mark (getrusage), a coarser check of the same thing.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <numeric>
#include <vector>

#include <orvek/Orvek.h>

namespace {
std::atomic<long long> g_live{0}, g_peak{0};

void* CountedAlloc(std::size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (!p) throw std::bad_alloc();
  const long long now = g_live.fetch_add(static_cast<long long>(malloc_usable_size(p)), std::memory_order_relaxed) +
                        static_cast<long long>(malloc_usable_size(p));
  long long peak = g_peak.load(std::memory_order_relaxed);
  while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
  }
  return p;
}
void CountedFree(void* p) {
  if (!p) return;
  g_live.fetch_sub(static_cast<long long>(malloc_usable_size(p)), std::memory_order_relaxed);
  std::free(p);
}
}  // namespace

void* operator new(std::size_t n) { return CountedAlloc(n); }
void* operator new[](std::size_t n) { return CountedAlloc(n); }
void operator delete(void* p) noexcept { CountedFree(p); }
void operator delete[](void* p) noexcept { CountedFree(p); }
void operator delete(void* p, std::size_t) noexcept { CountedFree(p); }
void operator delete[](void* p, std::size_t) noexcept { CountedFree(p); }

namespace {

long MaxRssKiB() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return u.ru_maxrss;
}

// A table whose cells have fixed sizes, as a host with measured text would
// answer from its own cache.
class BenchTable : public CTableDrawer {
 public:
  BenchTable(int lines, std::vector<int> widths) : m_Widths(std::move(widths)) {
    m_nLineCount = lines;
    m_nColumnCount = static_cast<int>(m_Widths.size());
  }
  void MeasureItem(int line, int column, tagSIZE* size) override {
    if (line == LINE_NAME || line == LINE_NAME_CONTINUED) {
      size->cx = 180;
      size->cy = 24;
    } else {
      size->cx = m_Widths[static_cast<std::size_t>(column)];
      size->cy = line == LINE_HEADER ? 20 : 16;
    }
  }

 private:
  std::vector<int> m_Widths;
};

class BenchArray : public CTableArrayDrawer {
 public:
  explicit BenchArray(std::vector<CTableDrawer*> tables) {
    m_Tables = std::move(tables);
    tagRECT page{40, 40, 754, 1083};  // A4 at 96 dpi less margins
    SetPageRects(&page, 1);
  }
  int Optimal() {
    int pages = 0;
    CalcLayoutOptimal(1.0f, &pages);
    return pages;
  }
  // The same search over a list of every order made up front.
  int OptimalFromList() {
    std::vector<std::vector<int>> variants;
    COrvekGlobals::GetPlaceVariants(static_cast<int>(m_Tables.size()), &variants);
    const std::vector<CTableDrawer*> start = m_Tables;
    int bestPages = 0x7FFFFFFF, bestRight = 0x7FFFFFFF;
    std::size_t best = 0;
    for (std::size_t v = 0; v < variants.size(); ++v) {
      for (std::size_t k = 0; k < start.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(variants[v][k])];
      int pages = 0, right = 0;
      CalcLayout(1.0f, &pages, &right, 1);
      if (pages < bestPages || (pages == bestPages && right < bestRight)) {
        bestPages = pages;
        bestRight = right;
        best = v;
      }
    }
    for (std::size_t k = 0; k < start.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(variants[best][k])];
    int pages = 0;
    CalcLayout(1.0f, &pages, nullptr, 1);
    return pages;
  }
  void Restore(const std::vector<CTableDrawer*>& tables) { m_Tables = tables; }
};

// n tables of 20 to 200 lines and 2 to 4 columns.
std::vector<BenchTable> MakeTables(int n) {
  std::vector<BenchTable> tables;
  for (int i = 0; i < n; ++i) {
    const int lines = 20 + (180 * i) / (n - 1);
    std::vector<int> widths(static_cast<std::size_t>(2 + i % 3));
    for (std::size_t c = 0; c < widths.size(); ++c) widths[c] = 50 + static_cast<int>((i * 37 + c * 23) % 60);
    tables.emplace_back(lines, widths);
  }
  return tables;
}

template <bool FromList>
void BM_CalcLayoutOptimal(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::vector<BenchTable> tables = MakeTables(n);
  std::vector<CTableDrawer*> start;
  for (auto& t : tables) start.push_back(&t);
  BenchArray array(start);
  double orders = 1;
  for (int i = 2; i <= n; ++i) orders *= i;

  const long rssBefore = MaxRssKiB();
  const long long liveBefore = g_live.load();
  g_peak.store(liveBefore);
  int pages = 0;
  for (auto _ : state) {
    array.Restore(start);
    pages = FromList ? array.OptimalFromList() : array.Optimal();
    benchmark::DoNotOptimize(pages);
  }
  state.counters["pages"] = pages;
  state.counters["layouts_per_s"] =
      benchmark::Counter(orders * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_heap_MB"] = static_cast<double>(g_peak.load() - liveBefore) / (1024.0 * 1024.0);
  state.counters["maxrss_growth_MB"] = static_cast<double>(MaxRssKiB() - rssBefore) / 1024.0;
}

}  // namespace

// The streaming search first, so that the list's resident growth does not
// hide it.
BENCHMARK(BM_CalcLayoutOptimal<false>)->Name("Optimal_OneOrderAtATime")->Arg(8)->Arg(10)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_CalcLayoutOptimal<true>)->Name("Optimal_AllOrdersListed")->Arg(8)->Arg(10)->Unit(benchmark::kMillisecond)->Iterations(1);

BENCHMARK_MAIN();

// Cost of searching the best order of a table array: every order is laid
// out. The library walks the orders one at a time and, while searching, lays
// each out without building its cells. The competing approach lists all
// orders first with COrvekGlobals::GetPlaceVariants and runs the full
// CalcLayout for each. A third run walks the orders one at a time with the
// full CalcLayout, to tell the two differences apart. All three find the
// same order.
//
// Peak memory is counted exactly: this program replaces the global operator
// new/delete and tracks the live heap bytes (malloc_usable_size), so
// peak_heap_MB is the highest live heap above the level at the start of the
// run. maxrss_growth_MB is how far the run raised the process's resident
// high-water mark (getrusage), a coarser check of the same thing.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
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
  // The same search with the full layout, the orders one at a time.
  int OptimalFullLayouts() {
    const std::vector<CTableDrawer*> start = m_Tables;
    std::vector<int> order(start.size()), best;
    std::iota(order.begin(), order.end(), 0);
    int bestPages = 0x7FFFFFFF, bestRight = 0x7FFFFFFF;
    do {
      for (std::size_t k = 0; k < start.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(order[k])];
      int pages = 0, right = 0;
      CalcLayout(1.0f, &pages, &right, 1);
      if (pages < bestPages || (pages == bestPages && right < bestRight)) {
        bestPages = pages;
        bestRight = right;
        best = order;
      }
    } while (std::next_permutation(order.begin(), order.end()));
    for (std::size_t k = 0; k < start.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(best[k])];
    int pages = 0;
    CalcLayout(1.0f, &pages, nullptr, 1);
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
  const std::vector<CTableDrawer*>& Tables() const { return m_Tables; }
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

enum Approach { kLibrary, kListed, kFullLayouts };

template <Approach A>
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
    pages = A == kLibrary ? array.Optimal() : A == kListed ? array.OptimalFromList() : array.OptimalFullLayouts();
    benchmark::DoNotOptimize(pages);
  }
  state.counters["pages"] = pages;
  // The order found, as the index of the table in the first place, so that
  // the runs can be compared.
  state.counters["first_table"] =
      static_cast<double>(std::find(start.begin(), start.end(), array.Tables().front()) - start.begin());
  state.counters["layouts_per_s"] =
      benchmark::Counter(orders * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_heap_MB"] = static_cast<double>(g_peak.load() - liveBefore) / (1024.0 * 1024.0);
  state.counters["maxrss_growth_MB"] = static_cast<double>(MaxRssKiB() - rssBefore) / 1024.0;
}

}  // namespace

// The library's search first, so that the list's resident growth does not
// hide it. Ten tables take minutes each; the third run is for eight only.
BENCHMARK(BM_CalcLayoutOptimal<kLibrary>)
    ->Name("CalcLayoutOptimal")
    ->Arg(8)
    ->Arg(10)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(BM_CalcLayoutOptimal<kListed>)
    ->Name("AllOrdersListed_FullLayouts")
    ->Arg(8)
    ->Arg(10)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(BM_CalcLayoutOptimal<kFullLayouts>)
    ->Name("OneOrderAtATime_FullLayouts")
    ->Arg(8)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

BENCHMARK_MAIN();

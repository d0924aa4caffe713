// Axes rebuild of a 1000 x 600 graph at growing grid divisions, and one
// caption placement against a carpet of placed captions: the exhaustive
// search (every candidate through AddToRectStat) against the library's.
#include "PlotBench.h"

using namespace plotbench;

namespace {

struct Placer : CAxesDrawerBase {
  using CAxesDrawerBase::AddToRectStat;
  using CAxesDrawerBase::CalculateClosestNonIntersectRect;
};

// Every candidate in order, as the placement was first written.
bool Exhaustive(tagRECT* rect, const tagRECT* bounds, std::vector<tagRECT>* used) {
  tagRECT start = *rect, best = *rect;
  float bestDistance = 3.4028235e38f;
  for (const tagRECT& u : *used) {
    const int above = u.top - start.bottom, below = u.bottom - start.top;
    Placer::AddToRectStat(&start, 0, above, &bestDistance, &best, bounds, used);
    Placer::AddToRectStat(&start, 0, below, &bestDistance, &best, bounds, used);
    Placer::AddToRectStat(&start, u.right - start.left, 0, &bestDistance, &best, bounds, used);
    Placer::AddToRectStat(&start, u.left - start.right, 0, &bestDistance, &best, bounds, used);
    for (const tagRECT& v : *used)
      for (const int dy : {above, below}) {
        Placer::AddToRectStat(&start, v.right - start.left, dy, &bestDistance, &best, bounds, used);
        Placer::AddToRectStat(&start, v.left - start.right, dy, &bestDistance, &best, bounds, used);
      }
  }
  *rect = best;
  return bestDistance != 3.4028235e38f;
}

// n captions of 30 x 12 pixels packed row by row from the bottom of a
// 400 x 300 plot, with a gap of one caption at the top left.
std::vector<tagRECT> Carpet(int n) {
  std::vector<tagRECT> used;
  for (int k = 0; k < n; ++k) {
    const int col = k % 13, row = k / 13;
    used.push_back({col * 30 + 7, 288 - row * 12, col * 30 + 37, 300 - row * 12});
  }
  return used;
}

template <bool kExhaustive>
void Place(benchmark::State& state) {
  std::vector<tagRECT> used = Carpet(static_cast<int>(state.range(0)));
  const tagRECT bounds = {0, 0, 400, 300};
  for (auto _ : state) {
    tagRECT rect = {180, 288, 210, 300};
    const bool found = kExhaustive ? Exhaustive(&rect, &bounds, &used)
                                   : Placer::CalculateClosestNonIntersectRect(&rect, &bounds, &used);
    benchmark::DoNotOptimize(found);
    benchmark::DoNotOptimize(rect);
  }
}

}  // namespace

static void BM_AxesRebuild(benchmark::State& state) {
  Graph g;
  const int divs = static_cast<int>(state.range(0));
  std::vector<float> ramp(1000);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i) * 0.37f - 50.0f;
  g.d.SetData(ramp.data(), static_cast<int>(ramp.size()), 1, 0, 1);
  g.d.m_nXDivs = g.d.m_nYDivs = divs;
  for (auto _ : state) {
    CSingleLock lock(&g.d.m_csData, TRUE);
    g.d.RedrawBackground();
  }
}
static void BM_PlaceExhaustive(benchmark::State& state) { Place<true>(state); }
static void BM_PlaceLibrary(benchmark::State& state) { Place<false>(state); }

BENCHMARK(BM_AxesRebuild)->Arg(8)->Arg(20)->Arg(100)->Arg(300)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlaceExhaustive)->Arg(60)->Arg(150)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlaceLibrary)->Arg(60)->Arg(150)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  return Main(argc, argv, [](const RatioReporter& r) {
    for (const char* n : {"8", "20", "100", "300", "1000", "100000"})
      std::printf("axes rebuild, 1000 x 600, %6s divisions: %.2f ms\n", n, r.Get(std::string("BM_AxesRebuild/") + n));
    for (const char* n : {"60", "150"}) {
      const double old = r.Get(std::string("BM_PlaceExhaustive/") + n),
                   now = r.Get(std::string("BM_PlaceLibrary/") + n);
      std::printf("one placement among %s captions: exhaustive %.3f ms, library %.3f ms (%.0f x)\n", n, old, now,
                  old / now);
    }
  });
}

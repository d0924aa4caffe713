// A sweep frame at 100,000 samples per curve: a block of 1 % of the ring into
// each of three curves through SetDataHistoryCircular, then the strip that
// became dirty, against a full frame of the same graph.
#include "PlotBench.h"

using namespace plotbench;

namespace {
constexpr int kRing = 100000, kBlock = kRing / 100;

void Sweep(benchmark::State& state, bool autoY) {
  const auto curves = Signal(kRing);
  Graph g;
  if (autoY)
    g.d.SetROIAutoY(0, kRing, 0, kRing, 10, 10);
  else
    g.d.SetROI(0, kRing, 0, kRing, 10, -1.5, 1.5, -1.5, 1.5, 10);
  for (int c = 0; c < kCurves; ++c)
    g.d.SetDataHistoryCircular(const_cast<float*>(curves[c].data()), kRing, kRing, 1, c, kCurves);
  g.Paint();
  int pos = 0;
  for (auto _ : state) {
    for (int c = 0; c < kCurves; ++c)
      g.d.SetDataHistoryCircular(const_cast<float*>(curves[c].data()) + pos, kBlock, kRing, 1, c, kCurves);
    pos = (pos + kBlock) % kRing;
    g.Paint();
  }
}
}  // namespace

static void BM_FullFrame(benchmark::State& state) {
  const auto curves = Signal(kRing);
  Graph g;
  for (int c = 0; c < kCurves; ++c) g.d.SetData(const_cast<float*>(curves[c].data()), kRing, 1, c, kCurves);
  for (auto _ : state) g.FullFrame();
}
// Fixed ranges: every frame is a strip, a wrap splits it in two.
static void BM_SweepFixed(benchmark::State& state) { Sweep(state, false); }
// Automatic Y: once a lap the range is fitted and the whole window redrawn.
static void BM_SweepAutoY(benchmark::State& state) { Sweep(state, true); }

BENCHMARK(BM_FullFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SweepFixed)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_SweepAutoY)->Unit(benchmark::kMillisecond)->MinTime(1.0);

int main(int argc, char** argv) {
  return Main(argc, argv, [](const RatioReporter& r) {
    const double full = r.Get("BM_FullFrame");
    std::printf("sweep frame, fixed ranges: %.3f ms = %.1f %% of a full frame (%.2f ms)\n",
                r.Get("BM_SweepFixed/min_time:1.000"), 100.0 * r.Get("BM_SweepFixed/min_time:1.000") / full, full);
    std::printf("sweep frame, automatic Y:  %.3f ms = %.1f %% of a full frame\n", r.Get("BM_SweepAutoY/min_time:1.000"),
                100.0 * r.Get("BM_SweepAutoY/min_time:1.000") / full);
  });
}

// Intake: SetData<float> of 4096 samples into one of three curves in full
// automatic mode, against a plain loop that converts the same block into the
// same matrix and scans the matrix for its minimum and maximum.
#include "PlotBench.h"

using namespace plotbench;

namespace {
constexpr int kCount = 4096;
}

static void BM_SetData(benchmark::State& state) {
  const auto curves = Signal(kCount);
  CGraphDrawer d;
  for (int c = 0; c < kCurves; ++c) d.SetData(const_cast<float*>(curves[c].data()), kCount, 1, c, kCurves);
  for (auto _ : state) {
    d.SetData(const_cast<float*>(curves[1].data()), kCount, 1, 1, kCurves);
    benchmark::DoNotOptimize(d.m_dYMax);
  }
}

static void BM_PlainLoop(benchmark::State& state) {
  const auto curves = Signal(kCount);
  std::vector<double> matrix(static_cast<std::size_t>(kCount) * kCurves, 0.0);
  for (auto _ : state) {
    const float* src = curves[1].data();
    for (int i = 0; i < kCount; ++i) matrix[static_cast<std::size_t>(i) * kCurves + 1] = src[i];
    double lo = matrix[0], hi = matrix[0];
    for (double v : matrix) {
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    }
    benchmark::DoNotOptimize(lo);
    benchmark::DoNotOptimize(hi);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_SetData)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainLoop)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
  return Main(argc, argv, [](const RatioReporter& r) {
    const double set = r.Get("BM_SetData") * 1e3, loop = r.Get("BM_PlainLoop") * 1e3;
    std::printf("SetData<float> of %d samples: %.2f us = %.2f x the plain loop (%.2f us)\n", kCount, set, set / loop,
                loop);
  });
}

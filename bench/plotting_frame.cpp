// A full frame of a 1000 x 600 graph with three curves (noisy, smooth, and with a pixel of noise): the drawer
// (background and every sample stroked with the graph's pens) against the
// floor of any faithful stroke, the same vertices drawn with 1-pixel pens by
// a bare QPainter, and against Qt's own whole polyline with the graph's pens.
#include "PlotBench.h"

using namespace plotbench;

static void FullFrame(benchmark::State& state, bool everySample, double noise = 0.03) {
  const auto curves = Signal(static_cast<int>(state.range(0)), noise);
  Graph g;
  g.d.m_bEverySample = everySample;
  for (int c = 0; c < kCurves; ++c)
    g.d.SetData(const_cast<float*>(curves[c].data()), static_cast<int>(curves[c].size()), 1, c, kCurves);
  for (auto _ : state) g.FullFrame();
}

static void BM_FullFrame(benchmark::State& state) { FullFrame(state, false); }
// Every sample a vertex, as before dense columns were stroked as their outline.
static void BM_FullFrameEverySample(benchmark::State& state) { FullFrame(state, true); }
// The same sines without noise: smooth stretches are thinned to a few points.
static void BM_FullFrameSmooth(benchmark::State& state) { FullFrame(state, false, 0.0); }
// With a tenth of the noise, about a pixel: dense columns keep most samples,
// since each one near a column's ends adds to its partly covered pixels.
static void BM_FullFrameQuiet(benchmark::State& state) { FullFrame(state, false, 0.003); }

// What a wheel notch or a drag step costs: a new view of the same samples,
// axes and curves redrawn, alternately zoomed in about a point and panned.
static void BM_InteractionFrame(benchmark::State& state) {
  const auto curves = Signal(static_cast<int>(state.range(0)));
  Graph g;
  for (int c = 0; c < kCurves; ++c)
    g.d.SetData(const_cast<float*>(curves[c].data()), static_cast<int>(curves[c].size()), 1, c, kCurves);
  g.FullFrame();
  const tagPlotView host = g.d.GetView();
  int step = 0;
  for (auto _ : state) {
    const tagPlotView v = g.d.GetView();
    g.d.SetView(step % 2 ? orvek_view::Pan(v, 0.01, 0.0) : orvek_view::ZoomX(v, 0.3, 0.98));
    if (++step == 40) {  // back before the view shrinks far below the host's
      step = 0;
      g.d.SetView(host);
    }
  }
}

static void BM_QtThinFloor(benchmark::State& state) {
  QtPolylines(state, [](int) { return 1.0; });
}
static void BM_QtWholePolyline(benchmark::State& state) {
  QtPolylines(state, [](int c) { return c < 2 ? 2.0 : 1.0; });
}

BENCHMARK(BM_FullFrame)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FullFrameEverySample)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FullFrameSmooth)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FullFrameQuiet)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InteractionFrame)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QtThinFloor)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QtWholePolyline)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(3);

int main(int argc, char** argv) {
  return Main(argc, argv, [](const RatioReporter& r) {
    std::printf("CPU ms per frame, min / median / max over the repetitions\n");
    for (const char* n : {"1000", "10000", "100000", "1000000"}) {
      const std::string full = std::string("BM_FullFrame/") + n, every = std::string("BM_FullFrameEverySample/") + n;
      const double floor = r.Get(std::string("BM_QtThinFloor/") + n);
      std::printf("%7s samples: full frame %.2f / %.2f / %.2f ms = %.2f x the 1-pixel floor (%.2f ms)", n,
                  r.Get(full, 0), r.Get(full), r.Get(full, 1), r.Get(full) / floor, floor);
      std::printf("; every sample a vertex %.2f / %.2f / %.2f ms = %.2f x the full frame", r.Get(every, 0),
                  r.Get(every), r.Get(every, 1), r.Get(every) / r.Get(full));
      const double whole = r.Get(std::string("BM_QtWholePolyline/") + n + "/iterations:3");
      if (whole == whole) std::printf(", %.1f x faster than Qt's whole polyline (%.1f ms)", whole / r.Get(full), whole);
      for (const auto& [name, label] : {std::pair<const char*, const char*>{"BM_FullFrameSmooth/", "smooth curves"},
                                        {"BM_FullFrameQuiet/", "noise of a pixel"},
                                        {"BM_InteractionFrame/", "a zoom or pan frame"}}) {
        const std::string row = std::string(name) + n;
        if (r.Get(row) == r.Get(row))
          std::printf("; %s %.2f / %.2f / %.2f ms = %.2f x the full frame", label, r.Get(row, 0), r.Get(row),
                      r.Get(row, 1), r.Get(row) / r.Get(full));
      }
      std::printf("\n");
    }
  });
}

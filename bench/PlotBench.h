#pragma once
// Shared by the plotting benchmarks: the signal, a graph with its bitmaps,
// and a reporter that prints the ratios of the runs it saw (CPU time of the
// measuring thread, so other load on the machine counts less).

#include <benchmark/benchmark.h>

#include <QImage>
#include <QPainter>
#include <QPen>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/gfx/QtInterop.h>
#include <orvek/plotting/drawer/GraphDrawer.h>

namespace plotbench {

constexpr int kWidth = 1000, kHeight = 600, kCurves = 3;
constexpr DWORD kColors[3] = {0xC080FF00u, 0xC0FF5A00u, 0xFF00FFFFu};

// Three sine waves with Gaussian noise of 3 % of their amplitude, or of the
// share given.
inline std::vector<std::vector<float>> Signal(int n, double share = 0.03) {
  std::mt19937 rng(12345);
  std::normal_distribution<double> noise(0.0, share);
  std::vector<std::vector<float>> curves(kCurves, std::vector<float>(static_cast<std::size_t>(n)));
  for (int c = 0; c < kCurves; ++c)
    for (int i = 0; i < n; ++i)
      curves[c][i] = static_cast<float>(std::sin(i * 6.2832 * (c + 2) / n + c) * (1.0 - 0.2 * c) + noise(rng));
  return curves;
}

struct Graph {
  CGraphDrawer d;
  Gdiplus::Bitmap axes{kWidth, kHeight}, frame{kWidth, kHeight};
  Graph() {
    d.m_rcPlot = Gdiplus::Rect(0, 0, kWidth, kHeight);
    d.m_pAxesBitmap = &axes;
    d.m_pFrameBitmap = &frame;
    d.m_sTitle = L"Signal";
    d.m_sXName = L"sample";
    d.m_sYName = L"volts";
  }
  ~Graph() { d.m_pAxesBitmap = d.m_pFrameBitmap = nullptr; }
  void FullFrame() {
    CSingleLock lock(&d.m_csData, TRUE);
    d.RedrawBackground();
    d.DrawCurves(&frame, &axes, d.m_iXFrom, d.m_iXTo);
  }
  // What a paint does with the pending marks.
  void Paint() { d.DrawPending(); }
};

// Every curve into the drawer, in one block each.
inline void Feed(Graph& g, const std::vector<std::vector<float>>& curves) {
  for (int c = 0; c < kCurves; ++c)
    g.d.SetData(const_cast<float*>(curves[c].data()), static_cast<int>(curves[c].size()), 1, c, kCurves);
}

// The drawer's vertices of every sample, as plain Qt points.
inline std::vector<QPolygonF> Vertices(const CGraphDrawer& d, const std::vector<std::vector<float>>& curves) {
  std::vector<QPolygonF> lines;
  const int n = static_cast<int>(curves[0].size());
  for (const auto& c : curves) {
    QPolygonF line;
    line.reserve(n);
    for (int x = 0; x < n; ++x) {
      const float px = static_cast<float>(x) * static_cast<float>(kWidth - 1) / static_cast<float>(n - 1);
      const double py =
          (kHeight - 1) - (c[x] - static_cast<float>(d.m_dYMin)) * (kHeight - 1) / (d.m_dYMax - d.m_dYMin);
      line << QPointF(px, py);
    }
    lines.push_back(line);
  }
  return lines;
}

// Keeps the CPU milliseconds of every repetition of every run; Get gives
// their median, so the ratios hold with --benchmark_repetitions as well.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, std::vector<double>> ms;  // CPU milliseconds per iteration, one per repetition
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (!r.error_occurred && r.run_type == Run::RT_Iteration)
        ms[r.benchmark_name()].push_back(r.GetAdjustedCPUTime() *
                                         (r.time_unit == benchmark::kMicrosecond ? 1e-3 : 1.0));
    ConsoleReporter::ReportRuns(runs);
  }
  // q = 0 is the fastest repetition, 0.5 the median, 1 the slowest.
  double Get(const std::string& name, double q = 0.5) const {
    const auto it = ms.find(name);
    if (it == ms.end() || it->second.empty()) return NAN;
    std::vector<double> v = it->second;
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(q * static_cast<double>(v.size() - 1) + 0.5)];
  }
};

// The competing approach of the frame benchmarks: each curve of every sample
// as one bare QPainter polyline over black, with the pen width of each curve.
inline void QtPolylines(benchmark::State& state, const std::function<double(int curve)>& width) {
  const auto curves = Signal(static_cast<int>(state.range(0)));
  Graph g;  // for the drawer's ranges only
  Feed(g, curves);
  const auto lines = Vertices(g.d, curves);
  QImage image(kWidth, kHeight, QImage::Format_RGB32);
  for (auto _ : state) {
    image.fill(0xFF000000u);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    for (int c = 0; c < kCurves; ++c) {
      QPen pen(QColor::fromRgba(kColors[c]));
      pen.setWidthF(width(c));
      pen.setCapStyle(Qt::FlatCap);
      pen.setJoinStyle(Qt::BevelJoin);
      p.setPen(pen);
      p.drawPolyline(lines[c]);
    }
  }
}

// Runs the benchmarks, then prints what the caller makes of the figures.
inline int Main(int argc, char** argv, const std::function<void(const RatioReporter&)>& summary) {
  COrvekGlobals::StartUp();  // fonts
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  summary(reporter);
  benchmark::Shutdown();
  COrvekGlobals::ShutDown();
  return 0;
}

}  // namespace plotbench

// The same frame drawn by the plotting libraries a host would pick, in one
// program: the drawer (dense columns as their outline, and every sample),
// QCustomPlot with its default adaptive sampling, and bare QPainter
// polylines of 1 and 2 pixels. Same samples, ranges, pens and plot size; the
// drawer's frame and QCustomPlot's include axes and grid, the polylines not.
// Then a live strip chart: a block of 1,000 into a 10,000-sample history and
// a repaint.
#include "PlotBench.h"

#include <qcustomplot.h>

using namespace plotbench;

namespace {

// A plot whose axis rectangle is the drawer's plot, the curves with the
// drawer's pens and ranges.
struct Custom {
  QCustomPlot plot;
  QImage image{kWidth, kHeight, QImage::Format_RGB32};
  explicit Custom(double yMin, double yMax) {
    plot.resize(kWidth, kHeight);
    plot.axisRect()->setAutoMargins(QCP::msNone);
    plot.axisRect()->setMargins(QMargins(0, 0, 0, 0));
    plot.setBackground(Qt::black);
    plot.yAxis->setRange(yMin, yMax);
    for (int c = 0; c < kCurves; ++c) {
      QCPGraph* graph = plot.addGraph();
      QPen pen(QColor::fromRgba(kColors[c]));
      pen.setWidthF(c < 2 ? 2.0 : 1.0);
      graph->setPen(pen);
    }
  }
  void Frame() {
    QCPPainter painter(&image);
    plot.toPainter(&painter, kWidth, kHeight);
  }
};

void SetCustomData(Custom& q, const std::vector<std::vector<float>>& curves, int from) {
  const int n = static_cast<int>(curves[0].size());
  QVector<double> keys(n), values(n);
  for (int c = 0; c < kCurves; ++c) {
    for (int i = 0; i < n; ++i) keys[i] = from + i, values[i] = curves[c][i];
    q.plot.graph(c)->setData(keys, values, true);
  }
  q.plot.xAxis->setRange(from, from + n - 1);
}

}  // namespace

static void BM_Orvek(benchmark::State& state, bool everySample) {
  const auto curves = Signal(static_cast<int>(state.range(0)));
  Graph g;
  g.d.m_bEverySample = everySample;
  Feed(g, curves);
  for (auto _ : state) g.FullFrame();
}
static void BM_OrvekOutline(benchmark::State& state) { BM_Orvek(state, false); }
static void BM_OrvekEverySample(benchmark::State& state) { BM_Orvek(state, true); }

static void BM_QCustomPlot(benchmark::State& state) {
  const auto curves = Signal(static_cast<int>(state.range(0)));
  Graph g;
  Feed(g, curves);
  Custom q(g.d.m_dYMin, g.d.m_dYMax);
  SetCustomData(q, curves, 0);
  for (auto _ : state) q.Frame();
}

static void BM_QPainter1px(benchmark::State& state) {
  QtPolylines(state, [](int) { return 1.0; });
}
static void BM_QPainter2px(benchmark::State& state) {
  QtPolylines(state, [](int) { return 2.0; });
}

// Strip chart: each iteration takes a block of 1,000 per curve into a
// history of 10,000 and draws the frame.
constexpr int kHistory = 10000, kBlock = 1000;

static void BM_StripOrvek(benchmark::State& state) {
  const auto curves = Signal(kHistory * 10);
  Graph g;
  int pos = 0;
  for (auto _ : state) {
    for (int c = 0; c < kCurves; ++c)
      g.d.SetDataHistory(const_cast<float*>(curves[c].data()) + pos, kBlock, kHistory, 1, c, kCurves);
    pos = (pos + kBlock) % (kHistory * 9);
    g.Paint();
  }
}

static void BM_StripQCustomPlot(benchmark::State& state) {
  const auto curves = Signal(kHistory * 10);
  Graph g;
  Feed(g, curves);
  Custom q(g.d.m_dYMin, g.d.m_dYMax);
  QVector<double> keys(kBlock), values(kBlock);
  long long key = 0;
  int pos = 0;
  for (auto _ : state) {
    for (int c = 0; c < kCurves; ++c) {
      for (int i = 0; i < kBlock; ++i) keys[i] = static_cast<double>(key + i), values[i] = curves[c][pos + i];
      q.plot.graph(c)->addData(keys, values, true);
      q.plot.graph(c)->data()->removeBefore(static_cast<double>(key + kBlock - kHistory));
    }
    key += kBlock;
    pos = (pos + kBlock) % (kHistory * 9);
    q.plot.xAxis->setRange(static_cast<double>(key - kHistory), static_cast<double>(key - 1));
    bool found = false;
    const QCPRange y = q.plot.graph(0)->getValueRange(found);  // the strip chart follows its data, as the drawer's
    q.plot.yAxis->setRange(y.lower, y.upper);
    q.Frame();
  }
}

#define SIZES Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_OrvekOutline)->SIZES;
BENCHMARK(BM_OrvekEverySample)->SIZES;
BENCHMARK(BM_QCustomPlot)->SIZES;
BENCHMARK(BM_QPainter1px)->SIZES;
BENCHMARK(BM_QPainter2px)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_StripOrvek)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StripQCustomPlot)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  return Main(argc, argv, [](const RatioReporter& r) {
    const auto range = [&](const std::string& name) {
      std::printf("%9.2f %9.2f %9.2f", r.Get(name, 0), r.Get(name), r.Get(name, 1));
    };
    std::printf("CPU ms per frame (min median max over repetitions); ratio = median / median of the drawer's frame\n");
    for (const char* n : {"10000", "100000", "1000000"}) {
      const double every = r.Get(std::string("BM_OrvekOutline/") + n);
      for (const char* peer :
           {"BM_OrvekOutline/", "BM_OrvekEverySample/", "BM_QCustomPlot/", "BM_QPainter1px/", "BM_QPainter2px/"}) {
        std::string name = std::string(peer) + n;
        if (r.Get(name) != r.Get(name)) name += "/iterations:1";
        if (r.Get(name) != r.Get(name)) continue;
        std::printf("%8s %-22s", n, peer);
        range(name);
        std::printf("  %6.2f x\n", r.Get(name) / every);
      }
    }
    std::printf("strip chart, block of 1000 into 10000 and a frame:\n%8s %-22s", "", "BM_StripOrvek");
    range("BM_StripOrvek");
    std::printf("\n%8s %-22s", "", "BM_StripQCustomPlot");
    range("BM_StripQCustomPlot");
    std::printf("  %6.2f x the drawer\n", r.Get("BM_StripQCustomPlot") / r.Get("BM_StripOrvek"));
  });
}

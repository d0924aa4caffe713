// The demo's load on the plot windows, as CPU seconds of the whole process
// per wall second (getrusage RUSAGE_SELF) over 10 s: four graphs (three in a
// CGraphsWindow, a sweep in a CGraphWnd of a window of its own), fed by one
// host thread with 1 or 10 million samples a second (msps) in blocks of 1000,
// every block to one graph in turn. The strip chart and the sweep stroke
// every sample that arrives; the two others show each block whole.
//
//   paced/25     the windows as they are: 25 paints a second at most
//   paced/1000   the competing way: a redraw for every block (1 ms timer)
//   paced/0      the windows hidden: what the intake alone costs
#include <benchmark/benchmark.h>

#include <QEvent>
#include <QObject>
#include <QWidget>

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <thread>
#include <vector>

#include <orvek/Orvek.h>

namespace {

constexpr int kBlock = 1000;
constexpr int kStripHistory = 10000;
constexpr int kSweepHistory = 100000;
constexpr double kSeconds = 10.0;

double CpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         1e-6 * static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

// Counts the paints that reach a widget.
class PaintCounter : public QObject {
 public:
  std::atomic<long> paints{0};
  bool eventFilter(QObject*, QEvent* e) override {
    if (e->type() == QEvent::Paint) ++paints;
    return false;
  }
};

class CSweepHost : public CWnd {
 public:
  ~CSweepHost() override { m_graph.Destroy(); }
  BOOL Create(float fRedrawRate) {
    if (!CreateEx(0, nullptr, L"sweep", WS_POPUP | WS_CAPTION | WS_SYSMENU, CRect(0, 0, 950, 280), nullptr, 0))
      return FALSE;
    tagGraphWndInfo info{{10, 10, 940, 270}, L"sweep", L"s", L"V", 1};
    m_graph.Create(&info, this, fRedrawRate);
    m_graph.SetROIAutoY(0, kSweepHistory, 0.0f, 1.0f, 10, 4);
    return TRUE;
  }
  CGraphWnd m_graph;
};

struct Figures {
  double cpuPerWall = NAN, paintsPerSecond = NAN, samplesPerSecond = NAN;
};
std::map<std::pair<int, int>, Figures> g_figures;  // by paint rate and million samples a second

void BM_DemoLoad(benchmark::State& state) {
  const int rate = static_cast<int>(state.range(0));
  const int msps = static_cast<int>(state.range(1));
  const int blocksPer10ms = msps * 1000000 / kBlock / 100;
  const float redraws = rate > 0 ? static_cast<float>(rate) : 25.0f;
  for (auto _ : state) {
    tagGraphWndInfo info[] = {{{0, 0, 460, 280}, L"blocks", L"n", L"V", 1},
                              {{470, 0, 930, 280}, L"strip", L"n", L"V", 1},
                              {{0, 290, 930, 570}, L"average", L"n", L"V", 1}};
    CGraphsWindow graphs;
    graphs.Create(info, 3, nullptr, redraws);
    graphs.SetROI(0, 0, kBlock, 0.0f, 1.0f, 10, -1.5, 1.5, -1.5f, 1.5f, 6);
    graphs.SetROIAutoY(1, 0, kStripHistory, 0.0f, 1.0f, 10, 4);
    graphs.SetROIAutoY(2, 0, kBlock, 0.0f, 1.0f, 10, 4);
    CSweepHost sweep;
    sweep.Create(redraws);
    PaintCounter counter;
    for (CGraphWnd* g : graphs.m_graphs) g->GetQWidget()->installEventFilter(&counter);
    sweep.m_graph.GetQWidget()->installEventFilter(&counter);
    if (rate > 0) {
      graphs.ShowWindow();
      sweep.ShowWindow(SW_SHOW);
    }
    COrvekGlobals::PumpMessages(300);  // the paints of showing are over

    // Four signals of a block each, with some noise so that auto Y moves.
    std::vector<std::vector<float>> blocks(4, std::vector<float>(kBlock));
    for (int g = 0; g < 4; ++g)
      for (int i = 0; i < kBlock; ++i)
        blocks[g][i] = static_cast<float>(std::sin(0.0125 * (g + 1) * i) + 0.05 * std::sin(1.7 * i * i));

    std::atomic<bool> stop{false};
    long long fed = 0;
    std::thread feeder([&] {
      using clock = std::chrono::steady_clock;
      auto next = clock::now();
      int turn = 0;
      while (!stop.load()) {
        for (int k = 0; k < blocksPer10ms; ++k, ++turn) {
          const float* b = blocks[turn % 4].data();
          switch (turn % 4) {
            case 0: graphs.DrawGraph<float>(0, b, kBlock, 1, 0); break;
            case 1: graphs.DrawGraphHistory<float>(1, b, kBlock, kStripHistory, 1, 0); break;
            case 2: graphs.DrawGraphAvg<float>(2, b, kBlock, 0.1, 1, 0); break;
            default: sweep.m_graph.DrawGraphHistoryCircular<float>(0, b, kBlock, kSweepHistory, 1); break;
          }
          fed += kBlock;
        }
        next += std::chrono::milliseconds(10);
        std::this_thread::sleep_until(next);
      }
    });
    counter.paints = 0;
    const double cpu0 = CpuSeconds();
    const auto wall0 = std::chrono::steady_clock::now();
    COrvekGlobals::PumpMessages(static_cast<DWORD>(kSeconds * 1000));
    const double cpu = CpuSeconds() - cpu0;
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
    stop = true;
    feeder.join();
    graphs.Destroy();

    state.SetIterationTime(wall);
    Figures f;
    f.cpuPerWall = cpu / wall;
    f.paintsPerSecond = static_cast<double>(counter.paints.load()) / wall / 4.0;
    f.samplesPerSecond = static_cast<double>(fed) / wall;
    g_figures[{rate, msps}] = f;
    state.counters["cpu_per_wall"] = f.cpuPerWall;
    state.counters["paints_per_graph_s"] = f.paintsPerSecond;
    state.counters["samples_per_s"] = f.samplesPerSecond;
  }
}
BENCHMARK(BM_DemoLoad)
    ->ArgNames({"paced", "msps"})
    ->Args({25, 1})
    ->Args({1000, 1})
    ->Args({0, 1})
    ->Args({25, 10})
    ->Args({0, 10})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  COrvekGlobals::StartUp();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::printf(
      "\nCPU seconds per wall second of the whole process (goal for the paced windows: below 0.5 at 1 M\n"
      "samples a second, below 0.3 at 10 M):\n");
  const char* names[] = {"hidden, intake only", "paced, 25 paints/s", "a redraw per block"};
  const int rates[] = {0, 25, 1000};
  for (const int msps : {1, 10})
    for (int i = 0; i < 3; ++i) {
      auto it = g_figures.find({rates[i], msps});
      if (it == g_figures.end()) continue;
      std::printf("  %2d M/s %-22s %.3f   (%.0f paints/s per graph, %.2f M samples/s fed)\n", msps, names[i],
                  it->second.cpuPerWall, it->second.paintsPerSecond, it->second.samplesPerSecond / 1e6);
    }
  const auto paced = g_figures.find({25, 1}), perBlock = g_figures.find({1000, 1});
  if (paced != g_figures.end() && perBlock != g_figures.end())
    std::printf("  a redraw per block costs %.1f times the paced load\n",
                perBlock->second.cpuPerWall / paced->second.cpuPerWall);
  benchmark::Shutdown();
  COrvekGlobals::ShutDown();
  return 0;
}

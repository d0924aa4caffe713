// The Orvek demo: a host that opens live plot windows and feeds them from a
// worker thread with a generated signal of 102,400 samples per second.
//
//   window "Orvek demo: live signal" (a CGraphsWindow with three graphs)
//     spectrum   whole blocks (DrawGraph): the spectrum of each block, in dB
//     strip      strip chart (DrawGraphHistory): the last 40 ms, measured and clean
//     average    running average (DrawGraphAvg) of noisy triggered captures
//   window "Orvek demo: sweep" (a window of the host holding one CGraphWnd)
//     sweep      (DrawGraphHistoryCircular): a chirp, one lap a second
//   tuning dialog (a CDlgParamTune over the generator's parameters)
//     Signal     gain, frequency and noise level
//     Filter     the low-pass on or off, and the waveform
//   Its values are kept in orvek_demo.ini beside the program: loaded at the
//   start, saved at the end.
//
// On a display it runs until all three windows are closed. Without one, or
// with --offscreen or --seconds N, it runs for a few seconds and writes PNG
// frames of the windows, one set a second, to out/ (or --out DIR).
#include <orvek/Orvek.h>

#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kBlock = 1024;              // samples per block
constexpr double kSampleRate = 102400.0;  // samples per second: 100 blocks
constexpr int kStripHistory = 4096;       // 40 ms
constexpr int kSweepHistory = 102400;     // one second per lap
constexpr int kSpectrumBins = 256;        // shown: 0 to 25.6 kHz

// What the generator makes. It copies this at the start of every block, so
// any thread (a tuning dialog, say) may change the fields at any time.
struct tagSignalParams {
  float fGain = 1.0f;         // amplitude of the waveform
  float fFrequency = 500.0f;  // Hz
  float fNoise = 0.15f;       // standard deviation of the noise, relative to the gain
  int bFilter = 1;            // a 4 kHz low-pass on the measured signal
  int nWaveform = 1;          // 0 sine, 1 square, 2 triangle, 3 sawtooth
};

tagSignalParams g_params;

double Wave(int waveform, double phase /* 0..1 */) {
  switch (waveform) {
    case 1: return phase < 0.5 ? 1.0 : -1.0;
    case 2: return phase < 0.5 ? 4.0 * phase - 1.0 : 3.0 - 4.0 * phase;
    case 3: return 2.0 * phase - 1.0;
    default: return std::sin(2.0 * kPi * phase);
  }
}

// In-place radix-2 FFT of a power-of-two length.
void Fft(std::vector<std::complex<double>>& a) {
  const std::size_t n = a.size();
  for (std::size_t i = 1, j = 0; i < n; ++i) {
    std::size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(a[i], a[j]);
  }
  for (std::size_t len = 2; len <= n; len <<= 1) {
    const std::complex<double> w = std::polar(1.0, -2.0 * kPi / static_cast<double>(len));
    for (std::size_t i = 0; i < n; i += len) {
      std::complex<double> t(1.0, 0.0);
      for (std::size_t k = 0; k < len / 2; ++k, t *= w) {
        const std::complex<double> u = a[i + k], v = a[i + k + len / 2] * t;
        a[i + k] = u + v;
        a[i + k + len / 2] = u - v;
      }
    }
  }
}

// The sweep's window: a window of the host with one CGraphWnd in it. The
// worker feeds the graph under m_lock; OnDestroy takes the graph away under
// the same lock, so no block can reach it after its Destroy.
class CSweepWindow : public CWnd {
 public:
  BOOL Create(int cx, int cy) {
    CRect rc(0, 0, cx, cy);
    AdjustWindowRectEx(&rc, kStyle, FALSE, 0);
    if (!CreateEx(0, AfxRegisterWndClass(0, nullptr, m_brush, nullptr), L"Orvek demo: sweep", kStyle, rc, nullptr, 0))
      return FALSE;
    m_graph.Create(CRect(10, 10, cx - 10, cy - 10), this, L"Sweep: a chirp from 5 to 60 Hz every 1.5 s", L"seconds",
                   L"volts");
    m_graph.SetROIAutoY(0, kSweepHistory, 0.0f, 1.0f, 10, 4);
    m_bAlive = true;
    return TRUE;
  }
  // S_OK, or E_FAIL once the window is closed.
  LONG Feed(const float* pData, int nCount) {
    CSingleLock lock(&m_lock, TRUE);
    if (!m_bAlive) return E_FAIL;
    m_graph.DrawGraphHistoryCircular<float>(0, pData, nCount, kSweepHistory, 1);
    return S_OK;
  }
  LONG SaveImage(const wchar_t* pszPath) { return m_bAlive ? m_graph.SaveImage(pszPath) : E_FAIL; }
  // Ends the window while this object is whole, so that OnDestroy runs.
  ~CSweepWindow() override { DestroyWindow(); }
  void OnDestroy() override {
    CSingleLock lock(&m_lock, TRUE);
    m_bAlive = false;
    m_graph.Destroy();
    CWnd::OnDestroy();
  }

 private:
  static constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;
  CBrush m_brush{RGB(0, 0, 0)};
  CCriticalSection m_lock;
  CGraphWnd m_graph;
  bool m_bAlive = false;
};

// Makes one block after another in real time and hands them to the windows
// until both are closed or the demo stops.
class CGenerator {
 public:
  CGenerator(CGraphsWindow* graphs, CSweepWindow* sweep) : m_graphs(graphs), m_sweep(sweep) {}

  void Run(const std::atomic<bool>& stop) {
    using clock = std::chrono::steady_clock;
    const auto period = std::chrono::microseconds(static_cast<long long>(1e6 * kBlock / kSampleRate));
    auto next = clock::now();
    bool graphsOpen = true, sweepOpen = true;
    while (!stop.load() && (graphsOpen || sweepOpen)) {
      MakeBlock();
      if (graphsOpen) graphsOpen = FeedGraphs() == S_OK;
      if (sweepOpen) sweepOpen = m_sweep->Feed(m_chirp.data(), kBlock) == S_OK;
      ++m_nBlocks;
      next += period;
      if (next < clock::now() - std::chrono::milliseconds(200)) next = clock::now();  // was stalled: no burst
      std::this_thread::sleep_until(next);
    }
  }
  long long Blocks() const { return m_nBlocks; }

 private:
  void MakeBlock() {
    const tagSignalParams p = g_params;
    std::normal_distribution<double> noise(0.0, static_cast<double>(p.fNoise) * p.fGain);
    const double step = p.fFrequency / kSampleRate;
    const double alpha = 1.0 - std::exp(-2.0 * kPi * 4000.0 / kSampleRate);
    for (int i = 0; i < kBlock; ++i) {
      m_phase += step;
      m_phase -= std::floor(m_phase);
      const double clean = p.fGain * Wave(p.nWaveform, m_phase);
      const double noisy = clean + noise(m_rng);
      m_filtered = p.bFilter ? m_filtered + alpha * (noisy - m_filtered) : noisy;
      m_clean[i] = static_cast<float>(clean);
      m_measured[i] = static_cast<float>(m_filtered);
      // A capture that a trigger starts at the waveform's rising edge.
      const double t = static_cast<double>(i) * step;
      m_capture[i] = static_cast<float>(p.fGain * Wave(p.nWaveform, t - std::floor(t)) + noise(m_rng));
      // The chirp: its frequency climbs from 5 to 60 Hz within 1.5 s, so each
      // lap of the sweep finds it somewhere else.
      const double lap = std::fmod(m_chirpTime, 1.5);
      m_chirp[i] = static_cast<float>(p.fGain * std::sin(2.0 * kPi * (5.0 * lap + 55.0 / 3.0 * lap * lap)) +
                                      0.05 * noise(m_rng));
      m_chirpTime += 1.0 / kSampleRate;
    }
    // The spectrum of the measured block through a Hann window, in dB of the
    // gain of a full-scale sine.
    std::vector<std::complex<double>> bins(kBlock);
    for (int i = 0; i < kBlock; ++i) bins[i] = m_measured[i] * (0.5 - 0.5 * std::cos(2.0 * kPi * i / kBlock));
    Fft(bins);
    for (int k = 0; k < kBlock / 2; ++k)
      m_spectrum[k] = static_cast<float>(20.0 * std::log10(std::abs(bins[k]) / (kBlock / 4.0) + 1e-6));
  }

  // The three graphs of the multi-graph window; E_FAIL once it is closed.
  LONG FeedGraphs() {
    LONG r = m_graphs->DrawGraph<float>(0, m_spectrum.data(), kBlock / 2, 1, 0);
    if (r == S_OK) r = m_graphs->DrawGraphHistory<float>(1, m_measured.data(), kBlock, kStripHistory, 1, 0);
    if (r == S_OK) r = m_graphs->DrawGraphHistory<float>(1, m_clean.data(), kBlock, kStripHistory, 1, 1);
    if (r == S_OK) r = m_graphs->DrawGraphAvg<float>(2, m_capture.data(), kBlock, 1.0, 1, 0);
    if (r == S_OK) r = m_graphs->DrawGraphAvg<float>(2, m_capture.data(), kBlock, 0.05, 1, 1);
    return r;
  }

  CGraphsWindow* m_graphs;
  CSweepWindow* m_sweep;
  std::mt19937 m_rng{7};
  double m_phase = 0.0, m_filtered = 0.0, m_chirpTime = 0.0;
  std::vector<float> m_clean = std::vector<float>(kBlock), m_measured = std::vector<float>(kBlock),
                     m_capture = std::vector<float>(kBlock), m_chirp = std::vector<float>(kBlock),
                     m_spectrum = std::vector<float>(kBlock / 2);
  long long m_nBlocks = 0;
};

struct tagOptions {
  bool bOffscreen = false;
  int nSeconds = 0;  // 0: until the windows are closed
  std::string sOut = "out";
};

bool ParseOptions(int argc, char** argv, tagOptions* o) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--offscreen") {
      o->bOffscreen = true;
    } else if (a == "--seconds" && i + 1 < argc) {
      o->nSeconds = std::atoi(argv[++i]);
      if (o->nSeconds <= 0) return false;
    } else if (a == "--out" && i + 1 < argc) {
      o->sOut = argv[++i];
    } else {
      return false;
    }
  }
  return true;
}

bool HasDisplay() {
  const char* x = std::getenv("DISPLAY");
  const char* w = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (w && *w);
}

std::wstring FramePath(const std::string& folder, const char* name, int index) {
  char file[64];
  std::snprintf(file, sizeof file, "/%s_%03d.png", name, index);
  CStringW path(CStringA((folder + file).c_str()));
  return std::wstring(path.GetString());
}

// The graphics session for the demo's whole run: opened first, closed last,
// after every window object has gone.
class CSession {
 public:
  CSession() : m_bOpen(COrvekGlobals::StartUp() == S_OK) {}
  ~CSession() {
    if (m_bOpen) COrvekGlobals::ShutDown();
  }
  CSession(const CSession&) = delete;
  CSession& operator=(const CSession&) = delete;
  bool IsOpen() const { return m_bOpen; }

 private:
  bool m_bOpen;
};

int Fail(const char* what) {
  std::fprintf(stderr, "orvek_demo: %s\n", what);
  return 1;
}

// Three graphs in one floating window: the spectrum with a fixed dB range,
// the strip chart and the running average with Y following the data.
std::unique_ptr<CGraphsWindow> MakeGraphs() {
  // Wishes for the layout: the window keeps the sizes and the margin.
  tagGraphWndInfo info[] = {
      {{0, 0, 460, 280}, L"Spectrum of each block", L"kHz", L"dB", /*nCurves=*/1},
      {{470, 0, 930, 280}, L"Strip chart: measured and clean", L"ms", L"volts", /*nCurves=*/2},
      {{0, 290, 930, 570}, L"Running average of triggered captures", L"ms", L"volts", /*nCurves=*/2},
  };
  auto graphs = std::make_unique<CGraphsWindow>();
  if (!graphs->Create(info, /*nGraphs=*/3, /*pParent=*/nullptr, /*fRedrawRate=*/25.0f)) return nullptr;
  graphs->SetWindowTextW(L"Orvek demo: live signal");
  const float spectrumKHz = static_cast<float>(kSpectrumBins * kSampleRate / kBlock / 1000.0);
  const bool ranged =
      graphs->SetROI(/*iGraph=*/0, /*iFrom=*/0, /*iTo=*/kSpectrumBins, /*fXMin=*/0.0f, /*fXMax=*/spectrumKHz,
                     /*nXDivs=*/8, /*dYMin=*/-90.0, /*dYMax=*/10.0, /*fYAxisMin=*/-90.0f, /*fYAxisMax=*/10.0f,
                     /*nYDivs=*/5) == S_OK &&
      graphs->SetROIAutoY(/*iGraph=*/1, /*iFrom=*/0, /*iTo=*/kStripHistory, /*fXMin=*/0.0f,
                          /*fXMax=*/static_cast<float>(kStripHistory * 1000.0 / kSampleRate), /*nXDivs=*/8,
                          /*nYDivs=*/4) == S_OK &&
      graphs->SetROIAutoY(/*iGraph=*/2, /*iFrom=*/0, /*iTo=*/kBlock, /*fXMin=*/0.0f,
                          /*fXMax=*/static_cast<float>(kBlock * 1000.0 / kSampleRate), /*nXDivs=*/10,
                          /*nYDivs=*/4) == S_OK;
  if (!ranged) return nullptr;
  // Named curves get a legend; a click on an entry hides or shows the curve.
  const bool named = graphs->SetCurveStyle(/*iGraph=*/1, /*iCurve=*/0, L"measured", /*argb=*/0, /*fWidth=*/0) == S_OK &&
                     graphs->SetCurveStyle(1, 1, L"clean", 0, 0) == S_OK &&
                     graphs->SetCurveStyle(2, 0, L"last capture", 0, 0) == S_OK &&
                     graphs->SetCurveStyle(2, 1, L"running average", 0, 0) == S_OK;
  if (!named) return nullptr;
  graphs->ShowWindow();
  return graphs;
}

// The sweep in a window of its own, just below the graphs.
std::unique_ptr<CSweepWindow> MakeSweep(CGraphsWindow* graphs) {
  auto sweep = std::make_unique<CSweepWindow>();
  if (!sweep->Create(/*cx=*/950, /*cy=*/280)) return nullptr;
  CRect above, own;
  graphs->GetWindowRect(&above);
  sweep->GetWindowRect(&own);
  sweep->MoveWindow(above.left, above.bottom + 10, own.Width(), own.Height());
  sweep->ShowWindow(SW_SHOW);
  return sweep;
}

// The generator's parameters as a tuning dialog, with the values saved by
// the last run. The dialog writes g_params in place; the generator copies it
// at every block, so a move of a slider is heard within 10 ms.
std::unique_ptr<CDlgParamTune> MakeTuning(const CStringW& valueFile) {
  static tagParamChoice waves[] = {{0, L"Sine"}, {1, L"Square"}, {2, L"Triangle"}, {3, L"Sawtooth"}};
  const tagParamInfoV2 tuned[] = {
      {L"Signal", ePT_Group, nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"Gain", ePT_Float, &g_params.fGain, /*dMin=*/0.0, /*dMax=*/4.0, nullptr, nullptr, nullptr, 0},
      {L"Freq, Hz", ePT_Float, &g_params.fFrequency, /*dMin=*/50.0, /*dMax=*/5000.0, nullptr, nullptr, nullptr, 0},
      {L"Noise", ePT_Float, &g_params.fNoise, /*dMin=*/0.0, /*dMax=*/3.0, nullptr, nullptr, nullptr, 0},
      {L"Filter", ePT_Group, nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"4 kHz low-pass", ePT_Bool, &g_params.bFilter, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"Wave", ePT_List, &g_params.nWaveform, 0, 0, nullptr, nullptr, waves, /*nChoices=*/4},
  };
  auto tuning = std::make_unique<CDlgParamTune>();
  tuning->Create(tuned, static_cast<int>(sizeof tuned / sizeof tuned[0]), /*pfnNotify=*/nullptr,
                 /*pContext=*/nullptr);
  // A missing or foreign file changes nothing: the first run starts from the
  // defaults in g_params.
  (void)tuning->LoadParamValues(valueFile.GetString());
  tuning->ShowWindow();
  return tuning;
}

// Pumps the windows for the given seconds and saves a picture of each every
// second; stops early once both plot windows are closed. The frames written.
int SaveFrames(const tagOptions& opt, CGraphsWindow* graphs, CSweepWindow* sweep, CDlgParamTune* tuning) {
  mkdir(opt.sOut.c_str(), 0777);
  int frames = 0;
  for (int s = 1; s <= opt.nSeconds; ++s) {
    COrvekGlobals::PumpMessages(1000);
    frames += graphs->SaveImage(FramePath(opt.sOut, "graphs", s).c_str()) == S_OK;
    frames += sweep->SaveImage(FramePath(opt.sOut, "sweep", s).c_str()) == S_OK;
    // The dialog's picture is a bonus: its absence is no failure.
    if (tuning->IsWindowVisible()) (void)tuning->SaveClientImage(FramePath(opt.sOut, "tuning", s).c_str());
    if (!::IsWindow(graphs->m_hWnd) && !::IsWindow(sweep->m_hWnd)) break;
  }
  return frames;
}

}  // namespace

int main(int argc, char** argv) {
  // 1. Options; without a display the demo runs offscreen for 5 seconds.
  tagOptions opt;
  if (!ParseOptions(argc, argv, &opt)) {
    std::fprintf(stderr, "usage: %s [--offscreen] [--seconds N] [--out DIR]\n", argv[0]);
    return 2;
  }
  if (opt.bOffscreen || !HasDisplay()) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    if (opt.nSeconds == 0) opt.nSeconds = 5;
  }
  // 2. The graphics session, closed after every window below has gone.
  CSession session;
  if (!session.IsOpen()) return Fail("no graphics session (no display? try --offscreen)");
  // 3. The three graphs, 4. the sweep, 5. the tuning dialog.
  const std::unique_ptr<CGraphsWindow> graphs = MakeGraphs();
  if (!graphs) return Fail("the graph window could not be made");
  const std::unique_ptr<CSweepWindow> sweep = MakeSweep(graphs.get());
  if (!sweep) return Fail("the sweep window could not be made");
  // A full path, so that loading and saving do not move the current folder.
  const CStringW valueFile = COrvekGlobals::GetApplicationPath() + L"orvek_demo.ini";
  const std::unique_ptr<CDlgParamTune> tuning = MakeTuning(valueFile);
  // 6. A host thread feeds the windows in real time.
  std::atomic<bool> stop{false};
  CGenerator generator(graphs.get(), sweep.get());
  const auto start = std::chrono::steady_clock::now();
  std::thread worker([&] { generator.Run(stop); });
  // 7. Frames for a while, or the windows until the user closes them.
  int frames = 0;
  if (opt.nSeconds > 0)
    frames = SaveFrames(opt, graphs.get(), sweep.get(), tuning.get());
  else
    (void)COrvekGlobals::RunMessageLoop();  // the exit code of WM_QUIT means nothing here
  // 8. The feeding stops before any window object goes.
  stop = true;
  worker.join();
  // 9. What was fed and written.
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("fed %lld blocks of %d samples in %.1f s: %.0f samples per second\n", generator.Blocks(), kBlock, seconds,
              generator.Blocks() * kBlock / seconds);
  if (opt.nSeconds > 0) std::printf("wrote %d frames to %s/\n", frames, opt.sOut.c_str());
  // 10. The tuned values for the next run.
  if (tuning->SaveParamValues(valueFile.GetString()) == S_OK)
    std::printf("tuned values saved to %s\n", CStringA(valueFile).GetString());
  // 11. The windows end with their objects, 12. then the session.
  return opt.nSeconds > 0 && frames == 0 ? 1 : 0;
}

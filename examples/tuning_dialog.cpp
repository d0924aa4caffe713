// A host that tunes a small signal generator through the tuning dialog.
//
// The waveform, gain, frequency and noise level stand on one tab, a filter
// switch and its length on another. Every change that the user makes is
// reported (paced) to the host, which recomputes one block of the signal and
// prints what it would now send out. The values are kept in
// tuning_dialog.ini beside the program: loaded at start, saved at the end.
//
//   tuning_dialog                 runs until the dialog is closed
//   tuning_dialog --seconds N     runs for N seconds
//   tuning_dialog --capture FILE  writes a PNG of the dialog and ends
#include <orvek/Orvek.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

const char kValueFile[] = "tuning_dialog.ini";

// What the dialog tunes. The dialog writes these fields in place.
struct Generator {
  float gain = 0.8f;
  float frequency = 50.0f;  // Hz
  float noise = 5.0f;       // added noise, in percent of full scale
  int filter = 1;           // moving average on or off
  int taps = 8;             // its length
  int waveform = 0;         // 0 sine, 1 square, 2 triangle

  // One block of 1000 samples at 8 kHz, and its RMS.
  double BlockRms() const {
    constexpr double kRate = 8000.0, kPi = 3.14159265358979323846;
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> block(1000);
    for (std::size_t n = 0; n < block.size(); ++n) {
      const double phase = std::fmod(frequency * static_cast<double>(n) / kRate, 1.0);
      double s = 0;
      switch (waveform) {
        case 1: s = phase < 0.5 ? 1.0 : -1.0; break;
        case 2: s = 4.0 * std::fabs(phase - 0.5) - 1.0; break;
        default: s = std::sin(2.0 * kPi * phase); break;
      }
      block[n] = gain * s + noise * 0.01 * uniform(rng);
    }
    double sum = 0;
    for (std::size_t n = 0; n < block.size(); ++n) {
      double y = block[n];
      if (filter && taps > 1 && n + 1 >= static_cast<std::size_t>(taps)) {
        y = 0;
        for (int k = 0; k < taps; ++k) y += block[n - static_cast<std::size_t>(k)];
        y /= taps;
      }
      sum += y * y;
    }
    return std::sqrt(sum / static_cast<double>(block.size()));
  }
};

const char* const kWaveNames[] = {"sine", "square", "triangle"};

// The dialog-wide callback: runs on the window's thread after a change.
void OnChanged(void* context, void* value) {
  auto* g = static_cast<Generator*>(context);
  const char* what = value == &g->gain        ? "gain"
                     : value == &g->frequency ? "frequency"
                     : value == &g->noise     ? "noise level"
                     : value == &g->filter    ? "filter"
                     : value == &g->taps      ? "filter length"
                                              : "waveform";
  std::printf("%-13s -> %s %.0f Hz, gain %.2f, noise %.1f %%, filter %s (%d) : rms %.4f\n", what,
              kWaveNames[g->waveform >= 0 && g->waveform < 3 ? g->waveform : 0], g->frequency, g->gain, g->noise,
              g->filter ? "on" : "off", g->taps, g->BlockRms());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const char* capture = nullptr;
  long seconds = -1;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--capture") == 0) capture = argv[i + 1];
    if (std::strcmp(argv[i], "--seconds") == 0) seconds = std::strtol(argv[i + 1], nullptr, 10);
  }
  if (COrvekGlobals::StartUp() != S_OK) {
    std::puts("no graphics session");
    return 1;
  }

  Generator gen;
  // The choices and names may go away once Create has returned: the dialog
  // keeps copies.
  tagParamChoice waves[] = {{0, L"Sine"}, {1, L"Square"}, {2, L"Triangle"}};
  const tagParamInfoV2 params[] = {
      {L"Signal", ePT_Group, nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"Wave", ePT_List, &gen.waveform, 0, 0, nullptr, nullptr, waves, 3},
      {L"Gain", ePT_Float, &gen.gain, 0.0, 4.0, nullptr, nullptr, nullptr, 0},
      // Steps spread evenly in the logarithm: one position is 2.5 % up or
      // down anywhere; double-click the value (or press Enter on the slider)
      // to type an exact frequency.
      {L"Freq, Hz", ePT_LogFloat, &gen.frequency, 10.0, 4000.0, nullptr, nullptr, nullptr, 0},
      {L"Noise, %", ePT_Float, &gen.noise, 0.0, 100.0, nullptr, nullptr, nullptr, 0},
      {L"Filter", ePT_Group, nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"Moving average on", ePT_Bool, &gen.filter, 0, 0, nullptr, nullptr, nullptr, 0},
      {L"Length", ePT_Int, &gen.taps, 1, 32, nullptr, nullptr, nullptr, 0},
  };

  int result = 0;
  {
    CDlgParamTune dialog;
    dialog.SetTitle(L"Generator");
    dialog.Create(params, static_cast<int>(sizeof params / sizeof params[0]), &OnChanged, &gen);
    (void)dialog.LoadParamValues(kValueFile);  // always S_OK: a missing file changes nothing
    dialog.ShowWindow();
    if (capture) {
      COrvekGlobals::PumpMessages(300);  // one refresh and a paint
      const CStringW path(capture);
      const LONG saved = dialog.SaveClientImage(path);
      std::printf("capture %s: %s\n", capture, saved == S_OK ? "written" : "failed");
      result = saved == S_OK ? 0 : 1;
    } else {
      OnChanged(&gen, &gen.gain);
      if (seconds >= 0)
        COrvekGlobals::PumpMessages(static_cast<DWORD>(seconds) * 1000u);
      else
        COrvekGlobals::RunMessageLoop();
      if (dialog.SaveParamValues(kValueFile) == S_OK) std::printf("values saved to %s\n", kValueFile);
    }
  }  // the dialog and its window go before the session ends
  COrvekGlobals::ShutDown();
  return result;
}

#include "WindowsTest.h"

#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

namespace {

// Four host threads feed four graphs as fast as they can while the GUI
// thread closes the window after a short random time, in one of three ways.
// Every feeder must end on E_FAIL, and nothing may crash or hang.
TEST(GraphsWindowStress, CloseWhileFeeding) {
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int> delay(0, 15);
  long long totalCalls = 0;
  for (int round = 0; round < 200; ++round) {
    tagGraphWndInfo info[4];
    for (int i = 0; i < 4; ++i) info[i] = tagGraphWndInfo{{0, 0, 220, 140}, L"feed", L"n", L"v", i == 3 ? 2 : 1};
    auto* w = new CGraphsWindow;
    ASSERT_EQ(1, w->Create(info, 4, nullptr, 100.0f));
    EXPECT_EQ(S_OK, w->SetROIAutoY(1, 0, 512, 0, 1, 4, 4));
    w->ShowWindow();

    std::atomic<int> finished{0};
    LONG last[4] = {S_OK, S_OK, S_OK, S_OK};
    long long calls[4] = {0, 0, 0, 0};
    std::vector<std::thread> feeders;
    for (int g = 0; g < 4; ++g) {
      feeders.emplace_back([&, g] {
        std::vector<float> block = Sine(512, 1 + g);
        std::vector<short> raw(512, static_cast<short>(g));
        LONG r = S_OK;
        while (r == S_OK) {
          switch (g) {
            case 0: r = w->DrawGraph<float>(0, block.data(), 512, 1, 0); break;
            case 1: r = w->DrawGraphHistory<float>(1, block.data(), 512, 4096, 1, 0); break;
            case 2: r = w->DrawGraphAvg<float>(2, block.data(), 512, 0.2, 1, 0); break;
            default:
              r = w->DrawGraph<short>(3, raw.data(), 256, 2, static_cast<int>(calls[g] & 1));
              if (r == S_OK) r = w->IsGraphDrawed(3) >= 0 ? S_OK : E_FAIL;
              break;
          }
          ++calls[g];
        }
        last[g] = r;
        ++finished;
      });
    }
    COrvekGlobals::PumpMessages(static_cast<DWORD>(delay(rng)));
    switch (round % 3) {
      case 0: w->GetQWidget()->close(); break;      // the user's close box
      case 1: w->Destroy(); break;                   // the host ends the graphs
      default: w->PostMessage(WM_CLOSE); break;      // a close that waits in the queue
    }
    if (!WaitFor([&] { return finished.load() == 4; }, 10000)) {
      std::fprintf(stderr, "round %d: a feeder did not end\n", round);
      std::abort();  // a hang must not hold up the whole run
    }
    for (auto& t : feeders) t.join();
    for (int g = 0; g < 4; ++g) {
      EXPECT_EQ(E_FAIL, last[g]) << "round " << round << " graph " << g;
      totalCalls += calls[g];
    }
    delete w;
  }
  COrvekGlobals::PumpMessages(20);
  EXPECT_GT(totalCalls, 2000) << "the feeders really fed";
}

}  // namespace

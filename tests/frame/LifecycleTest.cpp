// The library's windows around a host's start and end, each scenario in a child process so a crash is reported.
#include <orvek/Orvek.h>
#include <orvek/platform/gfx/QtInterop.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QMainWindow>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

// A failed check ends the child with a message; the parent sees the code.
void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "check failed: %s\n", what);
  std::_Exit(3);
}

// Runs the scenario in a re-executed child under a 60 s watchdog; a quiet child writes nothing to stderr.
void ExpectCleanChild(const std::function<void()>& scenario, bool quiet = true) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  unsetenv("ORVEK_QT_MESSAGES");
  EXPECT_EXIT(
      {
        alarm(60);
        scenario();
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), quiet ? "^$" : "");
}

// Feeds graph 0 until the window refuses; counts the blocks it got in.
class Feeder {
 public:
  explicit Feeder(CGraphsWindow* plots)
      : m_thread([this, plots] {
          std::vector<float> block(1024, 0.5f);
          while ((m_last = plots->DrawGraphHistory<float>(0, block.data(), 1024, 4096, 1, 0)) == S_OK) ++m_blocks;
        }) {}
  // The feeder has ended on E_FAIL after at least one block.
  void JoinAndCheck() {
    m_thread.join();
    Check(m_last == E_FAIL && m_blocks > 0, "the feeder ends on E_FAIL after feeding");
  }
  bool Fed() const { return m_blocks.load() > 0; }

 private:
  std::atomic<LONG> m_last{S_OK};
  std::atomic<long> m_blocks{0};
  std::thread m_thread;
};

void CreatePlots(CGraphsWindow* plots) {
  tagGraphWndInfo info[] = {
      {{0, 0, 480, 300}, L"Input", L"ms", L"volts", 2},
      {{0, 0, 480, 300}, L"Spectrum", L"kHz", L"dB", 1},
  };
  Check(plots->Create(info, 2, nullptr, 25.0f) == 1, "CGraphsWindow::Create");
  Check(plots->SetROIAutoY(0, 0, 4096, 0.0f, 40.0f, 8, 4) == S_OK, "SetROIAutoY");
  plots->ShowWindow();
}

float g_gain = 0.5f;
const tagParamInfoV2 kParams[] = {{L"Gain", ePT_Float, &g_gain, 0.0, 1.0, nullptr, nullptr, nullptr, 0}};

// The README's example, ended by the close box or by another thread's WM_QUIT: the loop returns, the feeder ends.
TEST(Lifecycle, ReadmeExampleEndsEitherWay) {
  for (const bool hostQuits : {false, true}) {
    ExpectCleanChild([hostQuits] {
      Check(COrvekGlobals::StartUp() == S_OK, "StartUp");
      CGraphsWindow plots;
      CreatePlots(&plots);
      Feeder feeder(&plots);
      std::thread quitter;
      if (hostQuits) {
        const DWORD gui = GetCurrentThreadId();
        quitter = std::thread([gui, &feeder] {
          while (!feeder.Fed()) Sleep(1);
          while (!PostThreadMessageW(gui, WM_QUIT, 0, 0)) Sleep(1);
        });
      } else {
        // The user closes the window once the feeder is in.
        std::function<void()> closeWhenFed = [&] {
          if (feeder.Fed())
            plots.GetQWidget()->close();
          else
            QTimer::singleShot(20, closeWhenFed);
        };
        QTimer::singleShot(20, closeWhenFed);
      }
      COrvekGlobals::RunMessageLoop();
      feeder.JoinAndCheck();
      if (quitter.joinable()) quitter.join();
      plots.Destroy();
      COrvekGlobals::ShutDown();
    });
  }
}

// Graph windows, a single graph in a host window and a tuning dialog, ended in each order around ShutDown.
TEST(Lifecycle, WindowsEndInAnyOrderAroundShutDown) {
  enum Order { ShutDownFirst, DestroyFirst, UserClosesFirst, DeleteFirst };
  for (const Order order : {ShutDownFirst, DestroyFirst, UserClosesFirst, DeleteFirst}) {
    ExpectCleanChild([order] {
      Check(COrvekGlobals::StartUp() == S_OK, "StartUp");
      auto plots = std::make_unique<CGraphsWindow>();
      CreatePlots(plots.get());
      auto host = std::make_unique<CWnd>();
      Check(host->CreateEx(0, nullptr, L"host", WS_POPUP | WS_CAPTION | WS_VISIBLE, CRect(0, 0, 300, 200), nullptr, 0),
            "host window");
      auto graph = std::make_unique<CGraphWnd>();
      graph->Create(CRect(0, 0, 200, 150), host.get(), L"one", L"x", L"y");
      auto dialog = std::make_unique<CDlgParamTune>();
      dialog->Create(kParams, 1, nullptr, nullptr);
      dialog->ShowWindow();
      COrvekGlobals::PumpMessages(50);

      if (order == DeleteFirst) {
        graph->Destroy();
        graph.reset();
        dialog.reset();
        plots.reset();
        host.reset();
      }
      if (order == DestroyFirst) {
        plots->Destroy();
        graph->Destroy();
        dialog->Destroy();
      }
      if (order == UserClosesFirst) {
        plots->GetQWidget()->close();
        dialog->GetQWidget()->close();
        host->GetQWidget()->close();
        COrvekGlobals::PumpMessages(20);
        Check(!IsWindow(plots->m_hWnd) && !IsWindow(dialog->m_hWnd), "closed windows end");
      }
      COrvekGlobals::ShutDown();
      Check(QCoreApplication::instance() == nullptr, "ShutDown deletes the application it made");
      if (graph) graph->Destroy();  // the owner's task, here after the session
    });
  }
}

// A Qt host with its own application: with graph windows and a dialog shown and fed, quit(), exit() and closing
// the main window each end exec() every time, and the feeder always ends.
TEST(Lifecycle, QtHostLoopEndsEveryTime) {
  ExpectCleanChild(
      [] {
        int argc = 1;
        char name[] = "host";
        char* argv[] = {name, nullptr};
        QApplication app(argc, argv);
        Check(COrvekGlobals::StartUp() == S_OK, "StartUp in a Qt host");
        QMainWindow main;
        main.resize(300, 200);
        enum Way { Quit, Exit, CloseMain };
        for (int round = 0; round < 20; ++round) {
          for (const Way way : {Quit, Exit, CloseMain}) {
            main.show();
            CGraphsWindow plots;
            CreatePlots(&plots);
            CDlgParamTune dialog;
            dialog.Create(kParams, 1, nullptr, nullptr);
            dialog.ShowWindow();
            Feeder feeder(&plots);
            // The loop ends once the feeder is in, however slow the build.
            QTimer ender;
            QObject::connect(&ender, &QTimer::timeout, &main, [way, &main, &feeder, &ender] {
              if (!feeder.Fed()) return;
              ender.stop();
              if (way == Quit) QCoreApplication::quit();
              if (way == Exit) QCoreApplication::exit(5);
              if (way == CloseMain) main.close();
            });
            ender.start(20);
            const int code = app.exec();
            Check(code == (way == Exit ? 5 : 0), "exec() returns the code it was ended with");
            feeder.JoinAndCheck();
          }
        }
        COrvekGlobals::ShutDown();
      },
      /*quiet=*/false);  // the host's own application speaks as Qt does
}

// No usable display or no such platform plugin: StartUp refuses instead of ending the process; a later one works.
TEST(Lifecycle, StartUpWithoutUsableDisplayFails) {
  struct Case {
    const char* display;   // null: unset
    const char* platform;  // null: unset
  };
  for (const Case c : {Case{":4242", nullptr}, Case{nullptr, "nosuchplatform"}, Case{":4242", "xcb"}}) {
    ExpectCleanChild([c] {
      unsetenv("WAYLAND_DISPLAY");
      c.display ? setenv("DISPLAY", c.display, 1) : unsetenv("DISPLAY");
      c.platform ? setenv("QT_QPA_PLATFORM", c.platform, 1) : unsetenv("QT_QPA_PLATFORM");
      Check(COrvekGlobals::StartUp() == E_FAIL, "StartUp gives E_FAIL");
      Check(COrvekGlobals::m_GdiToken == 0 && QCoreApplication::instance() == nullptr, "nothing is left open");
      CGraphsWindow plots;
      tagGraphWndInfo info[] = {{{0, 0, 100, 100}, L"t", L"x", L"y", 1}};
      Check(plots.Create(info, 1, nullptr, 25.0f) == 0, "no window without a session");
      setenv("QT_QPA_PLATFORM", "offscreen", 1);
      Check(COrvekGlobals::StartUp() == S_OK, "offscreen still works");
      COrvekGlobals::ShutDown();
    });
  }
}

}  // namespace

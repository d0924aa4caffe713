#include "UiTest.h"

#include <atomic>
#include <thread>

namespace {

class Ticker : public CWnd {
 public:
  void OnTimer(UINT id) override {
    ++ticks;
    if (quitAt && ticks == quitAt) PostQuitMessage(static_cast<int>(id));
    CWnd::OnTimer(id);
  }
  int ticks = 0;
  int quitAt = 0;
};

TEST(Loop, PumpMessagesRunsTimersForTheGivenTime) {
  Ticker w;
  ASSERT_TRUE(w.CreateEx(0, nullptr, L"", kToolStyle, CRect(0, 0, 100, 100), nullptr, 0));
  w.SetTimer(1, 10);
  const DWORD start = GetTickCount();
  COrvekGlobals::PumpMessages(120);
  EXPECT_GE(GetTickCount() - start, 120u);
  EXPECT_GE(w.ticks, 3);
}

TEST(Loop, RunMessageLoopEndsWithTheLastWindowOrWithQuit) {
  // Nothing visible: nothing to wait for.
  EXPECT_EQ(0, COrvekGlobals::RunMessageLoop());

  // The last visible window closes (from another thread's post).
  Ticker a;
  ASSERT_TRUE(a.CreateEx(0, nullptr, L"", kToolStyle | WS_VISIBLE, CRect(0, 0, 100, 100), nullptr, 0));
  const HWND h = a.m_hWnd;
  std::thread closer([h] {
    Sleep(50);
    EXPECT_TRUE(PostMessageW(h, WM_CLOSE, 0, 0));
  });
  EXPECT_EQ(0, COrvekGlobals::RunMessageLoop());
  closer.join();
  EXPECT_FALSE(IsWindow(h));

  // WM_QUIT from a handler on this thread, with its exit code.
  Ticker b;
  ASSERT_TRUE(b.CreateEx(0, nullptr, L"", kToolStyle | WS_VISIBLE, CRect(0, 0, 100, 100), nullptr, 0));
  b.quitAt = 3;
  b.SetTimer(11, 5);
  EXPECT_EQ(11, COrvekGlobals::RunMessageLoop());
  EXPECT_TRUE(IsWindow(b.m_hWnd));

  // WM_QUIT from another thread, once this thread has a queue to post to.
  b.KillTimer(11);
  const DWORD gui = GetCurrentThreadId();
  std::thread quitter([gui] {
    while (!PostThreadMessageW(gui, WM_QUIT, 7, 0)) Sleep(1);
  });
  EXPECT_EQ(7, COrvekGlobals::RunMessageLoop());
  quitter.join();
}

}  // namespace

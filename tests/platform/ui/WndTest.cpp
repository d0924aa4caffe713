#include "UiTest.h"

#include <support/SessionEnvironment.h>

#include <QImage>
#include <QPainter>
#include <QPointer>
#include <QWidget>

#include <atomic>
#include <thread>
#include <vector>

namespace {

const auto* g_session = AddSessionEnvironment();

std::vector<std::string> g_events;

// A window that writes down what reaches it.
class Probe : public CWnd {
 public:
  explicit Probe(std::string name = "w") : m_name(std::move(name)) {}
  ~Probe() override = default;

  BOOL MakeTop(DWORD style = kToolStyle, CWnd* owner = nullptr, CRect r = CRect(100, 100, 400, 300)) {
    return CreateEx(WS_EX_TOOLWINDOW, nullptr, L"probe", style, r, owner, 0);
  }
  BOOL MakeChild(CWnd* parent, CRect r, UINT id = 5) {
    return Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, r, parent, id);
  }

  LRESULT WindowProc(UINT m, WPARAM w, LPARAM l) override {
    if (m == WM_USER + 1) {
      posted.push_back(static_cast<int>(l));
      onThread = std::this_thread::get_id();
      return 0;
    }
    if (m == WM_USER + 2) return static_cast<LRESULT>(w * 2);
    return CWnd::WindowProc(m, w, l);
  }
  BOOL PreTranslateMessage(MSG* msg) override {
    if (msg->message == WM_USER + 3) {
      pretranslated.push_back(m_name);
      return swallow;
    }
    return CWnd::PreTranslateMessage(msg);
  }
  void OnTimer(UINT id) override {
    timerIds.push_back(id);
    if (quitAt && timerIds.size() == quitAt) PostQuitMessage(static_cast<int>(id));
    CWnd::OnTimer(id);
  }
  void OnClose() override {
    g_events.push_back(m_name + ":close");
    if (hideOnClose)
      ShowWindow(SW_HIDE);
    else
      CWnd::OnClose();
  }
  void OnDestroy() override {
    g_events.push_back(m_name + ":destroy:" + (IsWindow(m_hWnd) ? "live" : "dead"));
    CWnd::OnDestroy();
  }
  void OnPaint() override {
    ++paints;
    CPaintDC dc(this);
    if (QPainter* p = dc.GetPainter()) p->fillRect(0, 0, 40, 30, fill);
  }

  std::string m_name;
  std::vector<int> posted;
  std::vector<std::string> pretranslated;
  std::vector<UINT> timerIds;
  std::thread::id onThread;
  BOOL swallow = FALSE;
  bool hideOnClose = false;
  std::size_t quitAt = 0;  // ends the loop at that many ticks
  std::atomic<int> paints{0};
  QColor fill = Qt::red;
};

TEST(Window, HandlesLiveExactlyAsLongAsTheirWindows) {
  g_events.clear();
  Probe top("top"), child("child"), owned("owned");
  ASSERT_TRUE(top.MakeTop());
  ASSERT_TRUE(child.MakeChild(&top, CRect(10, 10, 60, 40)));
  ASSERT_TRUE(owned.MakeTop(kToolStyle, &top, CRect(0, 0, 100, 50)));
  const HWND hTop = top.m_hWnd, hChild = child.m_hWnd, hOwned = owned.m_hWnd;
  EXPECT_TRUE(IsWindow(hTop) && IsWindow(hChild) && IsWindow(hOwned));
  EXPECT_EQ((std::vector<CWnd*>{CWnd::FromHandle(hChild), top.GetDlgItem(5)}), (std::vector<CWnd*>{&child, &child}));
  // A popup's parent is its owner.
  EXPECT_EQ((std::vector<HWND>{GetParent(hChild), GetParent(hOwned), GetParent(hTop)}),
            (std::vector<HWND>{hTop, hTop, nullptr}));
  EXPECT_EQ(5, child.GetDlgCtrlID());

  // The parent hears of its end first, then the windows inside and owned by it; all handles die, the objects stay.
  EXPECT_TRUE(top.DestroyWindow());
  EXPECT_EQ((std::vector<std::string>{"top:destroy:live", "child:destroy:live", "owned:destroy:live"}), g_events);
  EXPECT_FALSE(IsWindow(hTop) || IsWindow(hChild) || IsWindow(hOwned));
  EXPECT_EQ(std::make_pair(child.m_hWnd, CWnd::FromHandle(hChild)), std::make_pair(HWND(nullptr), (CWnd*)nullptr));
  EXPECT_FALSE(top.DestroyWindow());
  EXPECT_FALSE(PostMessageW(hTop, WM_USER + 1, 0, 0));

  // A new window never gets an old handle back, even on the same object.
  ASSERT_TRUE(top.MakeTop());
  EXPECT_NE(hTop, top.m_hWnd);
  EXPECT_FALSE(IsWindow(hTop));

  // Refusals: a second window on one object, a child without parent, an unknown class.
  EXPECT_FALSE(top.MakeTop());
  Probe orphan, odd;
  EXPECT_FALSE(orphan.Create(nullptr, nullptr, WS_CHILD, CRect(0, 0, 5, 5), nullptr, 1));
  EXPECT_FALSE(odd.CreateEx(0, L"NoSuchClass", nullptr, kToolStyle, CRect(0, 0, 5, 5), nullptr, 0));
  EXPECT_EQ(nullptr, odd.m_hWnd);

  // Deleting the object ends its window, also from another thread: the handle dies at once, the widget on its thread.
  HWND h;
  {
    Probe scoped;
    ASSERT_TRUE(scoped.MakeTop());
    h = scoped.m_hWnd;
  }
  EXPECT_FALSE(IsWindow(h));
  auto* far = new Probe("far");
  ASSERT_TRUE(far->MakeTop());
  far->ShowWindow(SW_SHOW);
  h = far->m_hWnd;
  QPointer<QWidget> widget = far->GetQWidget();
  std::thread([far] { delete far; }).join();
  EXPECT_FALSE(IsWindow(h));
  ASSERT_TRUE(WaitFor([&] { return widget.isNull(); }));
}

TEST(Window, CloseRunsTheHandlerWhoseDefaultDestroys) {
  g_events.clear();
  Probe a("a"), b("b");
  ASSERT_TRUE(a.MakeTop());
  ASSERT_TRUE(b.MakeTop());
  a.ShowWindow(SW_SHOW);
  b.ShowWindow(SW_SHOW);
  b.hideOnClose = true;

  // The close box (Qt's close request) and a posted WM_CLOSE take one path.
  a.GetQWidget()->close();
  EXPECT_EQ((std::vector<std::string>{"a:close", "a:destroy:live"}), g_events);
  EXPECT_EQ(nullptr, a.m_hWnd);
  ASSERT_TRUE(b.PostMessage(WM_CLOSE));
  ASSERT_TRUE(WaitFor([&] { return g_events.size() == 3; }));
  EXPECT_EQ("b:close", g_events[2]);
  EXPECT_EQ(std::make_pair(IsWindow(b.m_hWnd), b.IsWindowVisible()), std::make_pair(TRUE, FALSE));
}

TEST(Window, QueuedMessagesPassPreTranslateOfTheWindowAndItsParents) {
  Probe top("top"), child("child");
  ASSERT_TRUE(top.MakeTop());
  ASSERT_TRUE(child.MakeChild(&top, CRect(0, 0, 20, 20)));

  ASSERT_TRUE(PostMessageW(child.m_hWnd, WM_USER + 3, 0, 0));
  ASSERT_TRUE(WaitFor([&] { return top.pretranslated.size() == 1; }));
  EXPECT_EQ(std::vector<std::string>{"child"}, child.pretranslated);

  // A TRUE of the child ends the walk; a sent message skips it altogether.
  child.swallow = TRUE;
  ASSERT_TRUE(PostMessageW(child.m_hWnd, WM_USER + 3, 0, 0));
  ASSERT_TRUE(WaitFor([&] { return child.pretranslated.size() == 2; }));
  COrvekGlobals::PumpMessages(20);
  EXPECT_EQ(1u, top.pretranslated.size());
  child.SendMessage(WM_USER + 3);
  EXPECT_EQ(2u, child.pretranslated.size());

  // Sent messages run at once and answer.
  EXPECT_EQ(42, SendMessageW(child.m_hWnd, WM_USER + 2, 21, 0));
  // Default() hands the message being handled to the class: WM_SETTEXT sets the text, GetWindowTextW reads it back.
  child.SetWindowTextW(L"caption");
  CStringW text;
  child.GetWindowTextW(text);
  EXPECT_EQ(std::make_pair(text, child.GetWindowTextLengthW()), std::make_pair(CStringW(L"caption"), 7));
}

TEST(Window, PostingFromManyThreadsArrivesInOrderOnTheWindowsThread) {
  Probe w;
  ASSERT_TRUE(w.MakeTop());
  const HWND h = w.m_hWnd;
  constexpr int kThreads = 4, kEach = 500;
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t)
    posters.emplace_back([h, t] {
      for (int i = 0; i < kEach; ++i) EXPECT_TRUE(PostMessageW(h, WM_USER + 1, 0, t * kEach + i));
    });
  for (auto& p : posters) p.join();
  ASSERT_TRUE(WaitFor([&] { return w.posted.size() == kThreads * kEach; }));
  EXPECT_EQ(std::this_thread::get_id(), w.onThread);
  std::vector<int> last(kThreads, -1);
  for (int v : w.posted) {
    EXPECT_GT(v % kEach, last[v / kEach]);
    last[v / kEach] = v % kEach;
  }

  // A send from another thread waits for the window's thread; to a window that dies first it gives 0, not a hang.
  std::atomic<LRESULT> answer{-1};
  std::thread sender([&] { answer = SendMessageW(h, WM_USER + 2, 5, 0); });
  ASSERT_TRUE(WaitFor([&] { return answer.load() != -1; }));
  sender.join();
  EXPECT_EQ(10, answer.load());

  std::atomic<bool> posting{true};
  std::thread racer([&] {
    while (posting) PostMessageW(h, WM_USER + 1, 0, 0);
    EXPECT_FALSE(PostMessageW(h, WM_USER + 1, 0, 0));
  });
  answer = -1;
  std::thread late([&] { answer = SendMessageW(h, WM_USER + 2, 5, 0); });
  w.DestroyWindow();
  posting = false;
  racer.join();
  late.join();
  EXPECT_TRUE(answer == 0 || answer == 10);
  EXPECT_FALSE(IsWindow(h));
}

TEST(Window, TimersKeepTheirIdsAndEndWithTheWindow) {
  Probe w;
  ASSERT_TRUE(w.MakeTop());
  EXPECT_EQ(0u, w.SetTimer(0, 10));
  EXPECT_EQ(1000000u, w.SetTimer(1000000, 10));
  EXPECT_EQ(7u, w.SetTimer(7, 15));
  UINT elapse = 0;
  EXPECT_TRUE(w.GetTimerElapse(7, &elapse) && elapse == 15u) << elapse;
  ASSERT_TRUE(WaitFor([&] {
    return std::count(w.timerIds.begin(), w.timerIds.end(), 7u) >= 3 &&
           std::count(w.timerIds.begin(), w.timerIds.end(), 1000000u) >= 3;
  }));

  // The same id again replaces the timer: one slow timer, no fast one left.
  EXPECT_EQ(7u, w.SetTimer(7, 100000));
  EXPECT_EQ((std::vector<BOOL>{w.KillTimer(1000000), w.KillTimer(1000000)}), (std::vector<BOOL>{TRUE, FALSE}));
  COrvekGlobals::PumpMessages(30);
  w.timerIds.clear();
  COrvekGlobals::PumpMessages(150);
  EXPECT_TRUE(w.timerIds.empty());

  // A callback timer calls the function instead of OnTimer.
  static std::atomic<int> calls;
  calls = 0;
  w.SetTimer(9, 5, [](HWND, UINT m, UINT_PTR id, DWORD) { calls += (m == WM_TIMER && id == 9) ? 1 : 100; });
  ASSERT_TRUE(WaitFor([&] { return calls >= 2; }));
  EXPECT_TRUE(calls.load() < 100 && w.timerIds.empty());

  w.SetTimer(3, 5);
  w.DestroyWindow();
  w.timerIds.clear();
  calls = 0;
  COrvekGlobals::PumpMessages(60);
  EXPECT_TRUE(w.timerIds.empty() && calls.load() == 0);
}

TEST(Window, PaintDrawsThroughThePainterAndSavesWithChildren) {
  CBrush blue(RGB(0, 0, 255));
  const wchar_t* cls = AfxRegisterWndClass(CS_OWNDC, nullptr, blue, nullptr);
  EXPECT_EQ(cls, AfxRegisterWndClass(CS_OWNDC, nullptr, blue, nullptr));
  Probe top("top"), child("child");
  ASSERT_TRUE(top.CreateEx(0, cls, L"", kToolStyle, CRect(50, 50, 250, 200), nullptr, 0));
  ASSERT_TRUE(child.MakeChild(&top, CRect(100, 60, 160, 100)));
  child.fill = Qt::green;
  top.ShowWindow(SW_SHOW);
  ASSERT_TRUE(WaitFor([&] { return top.paints > 0 && child.paints > 0; }));

  // An invalidation from another thread becomes a paint on this one.
  const int before = child.paints;
  const HWND hChild = child.m_hWnd;
  std::thread([hChild] { EXPECT_TRUE(InvalidateRect(hChild, nullptr, FALSE)); }).join();
  ASSERT_TRUE(WaitFor([&] { return child.paints > before; }));

  // Outside a paint a CPaintDC has nothing to draw on.
  CPaintDC outside(&top);
  EXPECT_EQ(nullptr, outside.GetSafeHdc());

  const std::wstring path = TestPath("ui_window_paint.png");
  EXPECT_EQ(E_POINTER, top.SaveClientImage(nullptr));
  ASSERT_EQ(S_OK, top.SaveClientImage(path.c_str()));
  const QImage img(QString::fromStdWString(path));
  CRect client;
  top.GetClientRect(&client);
  ASSERT_EQ(client.Width(), img.width());
  // The window's own paint, the child's at its place, and the class brush.
  EXPECT_EQ((std::vector<QRgb>{img.pixel(5, 5), img.pixel(105, 65), img.pixel(180, 120)}),
            (std::vector<QRgb>{QColor(Qt::red).rgb(), QColor(Qt::green).rgb(), QColor(Qt::blue).rgb()}));
  top.DestroyWindow();
  EXPECT_EQ(E_FAIL, top.SaveClientImage(path.c_str()));
}

TEST(Window, GeometryIsInScreenCoordinatesWithTheReportedFrame) {
  Probe top, owner, child;
  ASSERT_TRUE(top.MakeTop(kToolStyle, nullptr, CRect(100, 120, 400, 320)));
  CRect r;
  top.GetWindowRect(&r);
  EXPECT_EQ(CRect(100, 120, 400, 320), r);
  // The frame is what the platform reports, the same for AdjustWindowRectEx, CalcWindowRect and the window itself.
  CRect client;
  top.GetClientRect(&client);
  CRect grown(0, 0, client.Width(), client.Height());
  AdjustWindowRectEx(&grown, kToolStyle, FALSE, WS_EX_TOOLWINDOW);
  EXPECT_EQ(std::make_pair(grown.Width(), grown.Height()), std::make_pair(300, 200));
  CRect calc(0, 0, client.Width(), client.Height());
  top.CalcWindowRect(&calc);
  EXPECT_EQ(grown, calc);
  CRect plain(0, 0, 10, 10);
  AdjustWindowRectEx(&plain, WS_CHILD, FALSE, 0);
  EXPECT_EQ(CRect(0, 0, 10, 10), plain);

  ASSERT_TRUE(child.MakeChild(&top, CRect(10, 20, 60, 60)));
  CPoint origin(0, 0);
  top.ClientToScreen(&origin);
  child.GetWindowRect(&r);
  EXPECT_EQ(CRect(origin.x + 10, origin.y + 20, origin.x + 60, origin.y + 60), r);
  child.CenterWindow();
  child.GetWindowRect(&r);
  top.ScreenToClient(&r);
  EXPECT_EQ(r.TopLeft(), CPoint(client.Width() / 2 - 25, client.Height() / 2 - 20));

  // A top-level window centres over its visible owner, and with none (or a hidden one) on the screen.
  ASSERT_TRUE(owner.MakeTop(kToolStyle, nullptr, CRect(200, 100, 600, 500)));
  owner.ShowWindow(SW_SHOW);
  Probe owned;
  ASSERT_TRUE(owned.MakeTop(kToolStyle, &owner, CRect(0, 0, 100, 60)));
  owned.CenterWindow();
  owned.GetWindowRect(&r);
  EXPECT_EQ(CRect(350, 270, 450, 330), r);
  owner.ShowWindow(SW_HIDE);
  owned.CenterWindow();
  owned.GetWindowRect(&r);
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  EXPECT_EQ((2 * screen.left() + screen.width()) / 2 - 50, r.left);

  // Visibility follows the parent; ShowWindow answers what was before.
  EXPECT_FALSE(child.IsWindowVisible());
  EXPECT_EQ((std::vector<BOOL>{top.ShowWindow(SW_SHOWNORMAL), child.IsWindowVisible()}),
            (std::vector<BOOL>{FALSE, TRUE}));
  EXPECT_EQ((std::vector<BOOL>{top.ShowWindow(SW_HIDE), child.IsWindowVisible()}), (std::vector<BOOL>{TRUE, FALSE}));
  EXPECT_TRUE(child.GetStyle() & WS_VISIBLE);
}

TEST(Window, TheGuiThreadHasTheRecordOfTheMainWindow) {
  CWinThread* thread = AfxGetThread();
  ASSERT_NE(nullptr, thread);
  EXPECT_EQ(thread, AfxGetThread());
  CWinThread* elsewhere = thread;
  std::thread([&] { elsewhere = AfxGetThread(); }).join();
  EXPECT_EQ(nullptr, elsewhere);
  {
    Probe main;
    ASSERT_TRUE(main.MakeTop());
    thread->m_pMainWnd = &main;
    EXPECT_EQ(&main, AfxGetMainWnd());
    main.DestroyWindow();
    EXPECT_EQ(&main, AfxGetMainWnd());  // the host's pointer stays while the object lives
  }
  EXPECT_EQ(nullptr, thread->GetMainWnd());
}

TEST(Loop, PumpMessagesRunsTimersForTheGivenTime) {
  Probe w;
  ASSERT_TRUE(w.CreateEx(0, nullptr, L"", kToolStyle, CRect(0, 0, 100, 100), nullptr, 0));
  w.SetTimer(1, 10);
  const DWORD start = GetTickCount();
  COrvekGlobals::PumpMessages(120);
  EXPECT_GE(GetTickCount() - start, 120u);
  EXPECT_GE(w.timerIds.size(), 3u);
}

TEST(Loop, RunMessageLoopEndsWithTheLastWindowOrWithQuit) {
  // Nothing visible: nothing to wait for.
  EXPECT_EQ(0, COrvekGlobals::RunMessageLoop());

  // The last visible window closes (from another thread's post).
  Probe a;
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
  Probe b;
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

#include "WindowsTest.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include <support/SessionEnvironment.h>

namespace {

const auto* g_session = AddSessionEnvironment();

// The window's client area in screen coordinates.
CRect ClientOnScreen(CWnd& w) {
  CRect rc;
  w.GetClientRect(&rc);
  w.ClientToScreen(&rc);
  return rc;
}

TEST(GraphsWindow, LayoutKeepsSizesMovesOverlapsAndLeavesGaps) {
  tagGraphWndInfo info[] = {
      {{0, 0, 300, 200}, L"first", nullptr, nullptr, 1},
      {{0, 0, 300, 200}, L"same place", nullptr, nullptr, -2},  // overlaps: moves to the nearest free place
      {{400, 0, 600, 100}, nullptr, nullptr, nullptr, 0},       // no graph, but a place
  };
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 3, nullptr, 25.0f));
  EXPECT_FALSE(w.IsWindowVisible()) << "created hidden";
  EXPECT_EQ(CRect(10, 10, 310, 210), CRect(info[0].rcWindow));
  EXPECT_EQ(CRect(10, 210, 310, 410), CRect(info[1].rcWindow)) << "below the first: nearer than beside it";
  EXPECT_EQ(CRect(410, 10, 610, 110), CRect(info[2].rcWindow));
  CRect rc;
  w.GetClientRect(&rc);
  EXPECT_EQ(CRect(0, 0, 620, 420), rc) << "the largest right and bottom plus the margin";

  ASSERT_EQ(3u, w.m_graphs.size());
  ASSERT_TRUE(w.m_graphs[0] && w.m_graphs[1] && !w.m_graphs[2]);
  EXPECT_EQ(1, w.m_graphs[1]->m_nCurves);
  for (int i = 0; i < 3; ++i) {
    CRect child;
    if (i < 2) {
      w.m_graphs[static_cast<std::size_t>(i)]->GetWindowRect(&child);
      w.ScreenToClient(&child);
      EXPECT_EQ(CRect(info[i].rcWindow), child) << "graph " << i;
    }
    EXPECT_EQ(S_OK, w.GetGraphWndRect(i, &rc));
    EXPECT_EQ(CRect(info[i].rcWindow), rc);
  }

  // The gap takes every call and does nothing.
  const float block[4] = {1, 2, 3, 4};
  EXPECT_EQ((std::vector<LONG>{w.DrawGraph<float>(2, block, 4, 1, 0), w.SetROIAutoY(2, 0, 4, 0, 1, 4, 4),
                               w.HighlightCurve(2, 0, 1, 0), w.ResetAdaptation(2), w.IsGraphDrawed(2)}),
            (std::vector<LONG>{S_OK, S_OK, S_OK, S_OK, 1}));
  // A curve beyond the graph is dropped without failure.
  EXPECT_EQ(S_OK, w.DrawGraph<float>(0, block, 4, 1, 5));
  EXPECT_EQ(1, w.IsGraphDrawed(0));
  EXPECT_EQ(S_OK, w.DrawGraph<float>(0, block, 4, 1, 0));
  EXPECT_EQ(0, w.IsGraphDrawed(0));
  w.Destroy();
}

TEST(GraphsWindow, FirstGraphLargerThanTheAreaStaysAndNoFreePlaceKeepsTheWish) {
  tagGraphWndInfo info[] = {
      {{0, 0, 1500, 900}, nullptr, nullptr, nullptr, 1},
      {{100, 100, 200, 200}, nullptr, nullptr, nullptr, 1},  // inside the first; nothing is free in the area
  };
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 2, nullptr, 25.0f));
  EXPECT_EQ(CRect(10, 10, 1510, 910), CRect(info[0].rcWindow));
  EXPECT_EQ(CRect(110, 110, 210, 210), CRect(info[1].rcWindow));
  CRect rc;
  w.GetClientRect(&rc);
  EXPECT_EQ(CRect(0, 0, 1520, 920), rc);
  w.Destroy();
}

TEST(GraphsWindow, IndexesOutsideTheListAndAnEmptyWindowFail) {
  tagGraphWndInfo info[] = {{{0, 0, 200, 150}, L"a", nullptr, nullptr, 2},
                            {{0, 0, 200, 150}, L"b", nullptr, nullptr, 1}};
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 2, nullptr, 25.0f));
  const double block[3] = {1, 2, 3};
  CRect rc;
  for (int bad : {2, 100, -1}) {
    const std::vector<LONG> results = {w.DrawGraph<double>(bad, block, 3, 1, 0),
                                       w.DrawGraphHistory<double>(bad, block, 3, 10, 1, 0),
                                       w.DrawGraphAvg<double>(bad, block, 3, 0.5, 1, 0),
                                       w.SetROI(bad, 0, 3, 0, 1, 2, -1, 1, -1, 1, 2),
                                       w.SetROIAutoY(bad, 0, 3, 0, 1, 2, 2),
                                       w.HighlightCurve(bad, 0, 1, 0),
                                       w.UnhighlightCurve(bad, 0),
                                       w.ResetAdaptation(bad),
                                       w.GetGraphWndRect(bad, &rc),
                                       w.SetCurveStyle(bad, 0, L"x", 0, 0),
                                       w.SetPaused(bad, TRUE),
                                       w.ResetView(bad),
                                       w.ExportData(bad, L"x.csv")};
    EXPECT_EQ(std::vector<LONG>(13, E_FAIL), results) << bad;
    EXPECT_EQ(1, w.IsGraphDrawed(bad));
  }
  // The user's operations reach the graph they name.
  EXPECT_EQ(S_OK, w.SetCurveStyle(1, 0, L"volts", 0xFF00FF00u, 3.0f));
  EXPECT_STREQ(L"volts", w.m_graphs[1]->m_pDrawer->GetCurveStyle(0).sName.GetString());
  EXPECT_EQ(S_OK, w.SetPaused(0, TRUE));
  EXPECT_TRUE(w.m_graphs[0]->IsPaused() && !w.m_graphs[1]->IsPaused());
  EXPECT_EQ(S_OK, w.SetPaused(0, FALSE));
  w.m_graphs[0]->m_pDrawer->SetView({0, 1, -1, 1});
  EXPECT_EQ(S_OK, w.ResetView(0));
  EXPECT_FALSE(w.m_graphs[0]->m_pDrawer->HasUserView());
  EXPECT_EQ(S_OK, w.SetColorScheme(eSchemeLight));
  EXPECT_EQ(eSchemeLight, w.m_graphs[1]->m_pDrawer->GetColorScheme());
  EXPECT_EQ((std::vector<LONG>{E_POINTER, E_FAIL, E_POINTER}),
            (std::vector<LONG>{w.ExportData(0, nullptr), w.ExportData(0, L"/nonexistent-folder/x.csv"),
                               w.GetGraphWndRect(0, nullptr)}));

  // Unhighlighting one curve leaves the other.
  EXPECT_EQ(S_OK, w.HighlightCurve(0, 1, 3, 0));
  EXPECT_EQ(S_OK, w.HighlightCurve(0, 0, 2, 1));
  EXPECT_EQ(S_OK, w.UnhighlightCurve(0, 0));
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}, {0, 2}}), w.m_graphs[0]->m_pDrawer->m_highlights);
  EXPECT_EQ(S_OK, w.DrawGraph<double>(1, block, 3, 1, 0));
  EXPECT_EQ(S_OK, w.ResetAdaptation());
  EXPECT_TRUE(w.m_graphs[0]->m_pDrawer->m_bResetAdaptation == 1 && w.m_graphs[1]->m_pDrawer->m_bResetAdaptation == 1);
  w.Destroy();

  CGraphsWindow empty;
  ASSERT_EQ(1, empty.Create(nullptr, 0, nullptr, 25.0f));
  empty.GetClientRect(&rc);
  EXPECT_EQ(CRect(0, 0, 10, 0), rc);
  EXPECT_EQ(std::vector<LONG>(4, E_FAIL),
            (std::vector<LONG>{empty.DrawGraph<double>(0, block, 3, 1, 0), empty.ResetAdaptation(),
                               empty.ResetAdaptation(0), empty.SetColorScheme(eSchemeDark)}));
  // The title is empty until the host gives one; a live window takes it at once.
  const auto title = [](CWnd& wnd) {
    CStringW text;
    wnd.GetWindowTextW(text);
    return std::wstring(text.GetString());
  };
  EXPECT_EQ(L"", title(empty));
  empty.SetTitle(L"Scope");
  EXPECT_EQ(L"Scope", title(empty));
  CGraphsWindow named;
  named.SetTitle(L"Spectrum");
  ASSERT_EQ(1, named.Create(nullptr, 0, nullptr, 25.0f));
  EXPECT_EQ(L"Spectrum", title(named));

  // Descriptions that are not there make no window at all.
  for (const int n : {2, -2}) {
    CGraphsWindow none;
    EXPECT_EQ(0, none.Create(n > 0 ? nullptr : info, n, nullptr, 25.0f)) << n;
    EXPECT_FALSE(IsWindow(none.m_hWnd));
  }
}

TEST(GraphsWindow, AfterClosingCallsFailAndRectanglesRemain) {
  for (bool byUser : {true, false}) {
    tagGraphWndInfo info[] = {{{0, 0, 240, 160}, L"a", nullptr, nullptr, 1}};
    auto* w = new CGraphsWindow;
    ASSERT_EQ(1, w->Create(info, 1, nullptr, 25.0f));
    w->ShowWindow();
    ASSERT_TRUE(WaitFor([&] { return w->IsWindowVisible() != 0; }));
    const HWND h = w->m_hWnd;
    const short block[2] = {1, 2};
    EXPECT_EQ(S_OK, w->DrawGraph<short>(0, block, 2, 1, 0));
    if (byUser) {
      w->GetQWidget()->close();  // the close box: WM_CLOSE, then the window ends
      EXPECT_FALSE(::IsWindow(h));
    } else {
      w->Destroy();
      EXPECT_TRUE(::IsWindow(h)) << "Destroy ends the graphs, not the window";
    }
    EXPECT_TRUE(w->m_graphs.empty());
    CRect rc;
    EXPECT_EQ((std::vector<LONG>{E_FAIL, E_FAIL, E_FAIL, 1, S_OK}),
              (std::vector<LONG>{w->DrawGraph<short>(0, block, 2, 1, 0), w->SetROIAutoY(0, 0, 2, 0, 1, 2, 2),
                                 w->ResetAdaptation(), w->IsGraphDrawed(0), w->GetGraphWndRect(0, &rc)}));
    EXPECT_EQ(CRect(10, 10, 250, 170), rc);
    if (byUser) {
      w->ShowWindow();
      w->HideWindow();
      EXPECT_FALSE(::IsWindow(w->m_hWnd));
    }
    delete w;
    EXPECT_FALSE(::IsWindow(h));
    COrvekGlobals::PumpMessages(20);
  }
}

TEST(GraphsWindow, ToolWindowsOfOneParentKeepOffEachOther) {
  // Opens a window of one 300 x 200 graph and gives its frame.
  const auto open = [](CGraphsWindow& w, CWnd* parent) {
    tagGraphWndInfo info[] = {{{0, 0, 300, 200}, L"a", nullptr, nullptr, 1}};
    CRect r(-1, -1, -1, -1);
    EXPECT_EQ(1, w.Create(info, 1, parent, 25.0f));
    w.GetWindowRect(&r);
    return r;
  };
  CGraphsWindow first, second, owned, third;
  const CRect r1 = open(first, nullptr);
  first.ShowWindow();
  CRect shown;
  first.GetWindowRect(&shown);
  EXPECT_EQ(r1, shown) << "the first has no obstacles and stays centred";

  const CRect r2 = open(second, nullptr);
  CRect gap(r1), overlap;
  EXPECT_EQ(r1.Size(), r2.Size());
  gap.InflateRect(10, 10);
  EXPECT_FALSE(overlap.IntersectRect(&gap, &r2)) << "registration moved it off the visible first window";
  EXPECT_TRUE(r2.left == gap.right || r2.right == gap.left || r2.top == gap.bottom || r2.bottom == gap.top)
      << "placed against the gap";

  // A window of another parent is no obstacle: centred over a host that shares the first's centre, it covers the first.
  CHostWindow host;
  const CPoint centre = r1.CenterPoint();
  ASSERT_TRUE(host.CreateEx(0, nullptr, L"host", WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE,
                            CRect(centre.x - 200, centre.y - 150, centre.x + 200, centre.y + 150), nullptr, 0));
  EXPECT_EQ(r1, open(owned, &host));

  // A hidden window is no obstacle: a third one opens where the first is.
  first.HideWindow();
  EXPECT_EQ(r1, open(third, nullptr));
  EXPECT_NE(ClientOnScreen(third), ClientOnScreen(second));
}

TEST(GraphsWindow, CapturedWindowShowsBlackMarginAndEveryGraph) {
  tagGraphWndInfo info[] = {{{0, 0, 320, 200}, L"one", nullptr, nullptr, 1},
                            {{0, 0, 320, 200}, L"two", nullptr, nullptr, 1}};
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 2, nullptr, 50.0f));
  const std::vector<float> block = Sine(640, 3);
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(S_OK, w.SetROI(i, 0, 640, 0, 1, 4, -1.2, 1.2, -1.2f, 1.2f, 4));
    ASSERT_EQ(S_OK, w.DrawGraph<float>(i, block.data(), 640, 1, 0));
  }
  const QImage img = Saved(w, "graphs_window.png");  // hidden: the capture composes what waits
  ASSERT_EQ(ClientSize(w), img.size());
  EXPECT_EQ(0u, img.pixel(3, 3) & 0xFFFFFFu) << "the black ground in the margin";
  for (int i = 0; i < 2; ++i) {
    const CRect r(info[i].rcWindow);
    int curve = 0;
    for (int y = r.top; y < r.bottom; ++y)
      for (int x = r.left; x < r.right; ++x) curve += IsCurvePixel(img.pixel(x, y));
    EXPECT_GT(curve, r.Width()) << "graph " << i;
  }
  EXPECT_EQ(E_FAIL, w.SaveImage(nullptr));
  w.Destroy();
}

TEST(Resize, GraphsWindowLaysOutInProportionWithoutOverlap) {
  tagGraphWndInfo info[] = {{{0, 0, 300, 200}, L"a", nullptr, nullptr, 1},
                            {{300, 0, 500, 200}, L"b", nullptr, nullptr, 1},
                            {{0, 200, 500, 260}, L"c", nullptr, nullptr, 1},
                            {{0, 260, 20, 280}, nullptr, nullptr, nullptr, 1}};  // smaller than the least
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 4, nullptr, 50.0f));
  EXPECT_TRUE(w.GetStyle() & WS_THICKFRAME);
  w.ShowWindow();
  const QSize base = ClientSize(w);
  ASSERT_EQ(QSize(520, 300), base);
  // Shrinking stops where graph c (60 high) would drop below 30 rows and graph b (200 wide) below 40 columns.
  EXPECT_EQ(QSize(104, 150), w.GetQWidget()->minimumSize());

  const struct {
    QSize ask, expect;
  } steps[] = {{{1040, 600}, {1040, 600}},
               {{700, 333}, {700, 333}},
               {{300, 190}, {300, 190}},
               {{50, 50}, {104, 150}},
               {{520, 300}, {520, 300}}};
  for (const auto& s : steps) {
    ASSERT_TRUE(ResizeTo(w, s.ask, s.expect)) << s.ask.width() << "x" << s.ask.height();
    const double fx = s.expect.width() / 520.0, fy = s.expect.height() / 300.0;
    std::vector<CRect> rects;
    for (int i = 0; i < 4; ++i) {
      CRect r, child;
      ASSERT_EQ(S_OK, w.GetGraphWndRect(i, &r));
      CGraphWnd* g = w.m_graphs[static_cast<std::size_t>(i)];
      g->GetWindowRect(&child);
      w.ScreenToClient(&child);
      EXPECT_EQ(r, child) << "graph " << i;
      EXPECT_NEAR(info[i].rcWindow.left * fx, r.left, 0.5);
      EXPECT_NEAR(info[i].rcWindow.bottom * fy, r.bottom, 0.5);
      EXPECT_TRUE(i == 3 || (r.Width() >= 40 && r.Height() >= 30)) << i;
      EXPECT_TRUE(WaitFor([&] { return BitmapSize(*g) == QSize(r.Width(), r.Height()); })) << i;
      for (const CRect& o : rects) {
        CRect both;
        EXPECT_FALSE(both.IntersectRect(&o, &r)) << "graph " << i;
      }
      rects.push_back(r);
    }
    EXPECT_EQ(CRect(info[0].rcWindow) == rects[0], s.expect == base) << "back at the Create size, the Create layout";
  }

  // Off on the live window: the size is fixed and the graphs stay.
  w.EnableResize(FALSE);
  EXPECT_FALSE(w.GetStyle() & WS_THICKFRAME);
  w.GetQWidget()->resize(800, 600);
  COrvekGlobals::PumpMessages(50);
  EXPECT_EQ(base, ClientSize(w));
  w.EnableResize(TRUE);
  ASSERT_TRUE(ResizeTo(w, {780, 450}, {780, 450}));
  CRect r;
  ASSERT_EQ(S_OK, w.GetGraphWndRect(1, &r));
  EXPECT_EQ(CRect(465, 15, 765, 315), r);
  w.Destroy();

  // Off before Create: the window of old, fixed at its size.
  CGraphsWindow fixed;
  fixed.EnableResize(FALSE);
  info[0].rcWindow = CRect(0, 0, 200, 100);
  ASSERT_EQ(1, fixed.Create(info, 1, nullptr, 50.0f));
  EXPECT_FALSE(fixed.GetStyle() & WS_THICKFRAME);
  fixed.ShowWindow();
  fixed.GetQWidget()->resize(700, 500);
  COrvekGlobals::PumpMessages(50);
  EXPECT_EQ(QSize(220, 120), ClientSize(fixed));
  ASSERT_EQ(S_OK, fixed.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(10, 10, 210, 110), r);
  fixed.Destroy();
}

TEST(Resize, GraphsWindowMadeAgainAnswersItsNewRectangles) {
  tagGraphWndInfo info[] = {{{0, 0, 300, 200}, nullptr, nullptr, nullptr, 1}};
  CGraphsWindow w;
  ASSERT_EQ(1, w.Create(info, 1, nullptr, 50.0f));
  w.GetQWidget()->close();
  ASSERT_FALSE(::IsWindow(w.m_hWnd));
  info[0].rcWindow = CRect(0, 0, 100, 80);
  ASSERT_EQ(1, w.Create(info, 1, nullptr, 50.0f));
  CRect r;
  ASSERT_EQ(S_OK, w.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(10, 10, 110, 90), r);
  w.ShowWindow();
  ASSERT_TRUE(ResizeTo(w, {240, 200}, {240, 200}));
  ASSERT_EQ(S_OK, w.GetGraphWndRect(0, &r));
  EXPECT_EQ(CRect(20, 20, 220, 180), r);
  w.Destroy();
}

// Four host threads feed four graphs while the GUI thread closes the window after a short random time, in one of
// three ways: every feeder ends on E_FAIL, and nothing crashes or hangs.
TEST(GraphsWindowStress, CloseWhileFeeding) {
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int> delay(0, 15);
  long long totalCalls = 0;
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
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
      case 0: w->GetQWidget()->close(); break;   // the user's close box
      case 1: w->Destroy(); break;               // the host ends the graphs
      default: w->PostMessage(WM_CLOSE); break;  // a close that waits in the queue
    }
    if (!WaitFor([&] { return finished.load() == 4; }, 10000)) {
      std::fprintf(stderr, "round %d: a feeder did not end\n", round);
      std::abort();  // a hang must not hold up the whole run
    }
    for (auto& t : feeders) t.join();
    for (int g = 0; g < 4; ++g) {
      EXPECT_EQ(E_FAIL, last[g]) << "graph " << g;
      totalCalls += calls[g];
    }
    delete w;
  }
  COrvekGlobals::PumpMessages(20);
  EXPECT_GT(totalCalls, 2000) << "the feeders really fed";
}

}  // namespace

#include "WindowsTest.h"

#include <QWidget>

#include <orvek/plotting/drawer/GraphDrawer.h>

namespace {

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
  ASSERT_NE(nullptr, w.m_graphs[0]);
  ASSERT_NE(nullptr, w.m_graphs[1]);
  EXPECT_EQ(nullptr, w.m_graphs[2]);
  EXPECT_EQ(1, w.m_graphs[1]->m_nCurves);
  for (int i = 0; i < 2; ++i) {
    CRect child;
    w.m_graphs[static_cast<std::size_t>(i)]->GetWindowRect(&child);
    w.ScreenToClient(&child);
    EXPECT_EQ(CRect(info[i].rcWindow), child) << "graph " << i;
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(S_OK, w.GetGraphWndRect(i, &rc));
    EXPECT_EQ(CRect(info[i].rcWindow), rc);
  }

  // The gap takes every call and does nothing.
  const float block[4] = {1, 2, 3, 4};
  EXPECT_EQ(S_OK, w.DrawGraph<float>(2, block, 4, 1, 0));
  EXPECT_EQ(1, w.IsGraphDrawed(2));
  EXPECT_EQ(S_OK, w.SetROIAutoY(2, 0, 4, 0, 1, 4, 4));
  EXPECT_EQ(S_OK, w.HighlightCurve(2, 0, 1, 0));
  EXPECT_EQ(S_OK, w.ResetAdaptation(2));
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
    EXPECT_EQ(E_FAIL, w.DrawGraph<double>(bad, block, 3, 1, 0)) << bad;
    EXPECT_EQ(E_FAIL, w.DrawGraphHistory<double>(bad, block, 3, 10, 1, 0));
    EXPECT_EQ(E_FAIL, w.DrawGraphAvg<double>(bad, block, 3, 0.5, 1, 0));
    EXPECT_EQ(E_FAIL, w.SetROI(bad, 0, 3, 0, 1, 2, -1, 1, -1, 1, 2));
    EXPECT_EQ(E_FAIL, w.SetROIAutoY(bad, 0, 3, 0, 1, 2, 2));
    EXPECT_EQ(E_FAIL, w.HighlightCurve(bad, 0, 1, 0));
    EXPECT_EQ(E_FAIL, w.UnhighlightCurve(bad, 0));
    EXPECT_EQ(E_FAIL, w.ResetAdaptation(bad));
    EXPECT_EQ(E_FAIL, w.GetGraphWndRect(bad, &rc));
    EXPECT_EQ(1, w.IsGraphDrawed(bad));
    EXPECT_EQ(E_FAIL, w.SetCurveStyle(bad, 0, L"x", 0, 0));
    EXPECT_EQ(E_FAIL, w.SetPaused(bad, TRUE));
    EXPECT_EQ(E_FAIL, w.ResetView(bad));
    EXPECT_EQ(E_FAIL, w.ExportData(bad, L"x.csv"));
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
  EXPECT_EQ(E_POINTER, w.ExportData(0, nullptr));
  EXPECT_EQ(E_FAIL, w.ExportData(0, L"/nonexistent-folder/x.csv"));
  EXPECT_EQ(E_POINTER, w.GetGraphWndRect(0, nullptr));

  // Unhighlighting one curve leaves the other.
  EXPECT_EQ(S_OK, w.HighlightCurve(0, 1, 3, 0));
  EXPECT_EQ(S_OK, w.HighlightCurve(0, 0, 2, 1));
  EXPECT_EQ(S_OK, w.UnhighlightCurve(0, 0));
  EXPECT_EQ(std::make_pair(0, 0), w.m_graphs[0]->m_pDrawer->m_highlights[0]);
  EXPECT_EQ(std::make_pair(0, 2), w.m_graphs[0]->m_pDrawer->m_highlights[1]);
  EXPECT_EQ(S_OK, w.DrawGraph<double>(1, block, 3, 1, 0));
  EXPECT_EQ(S_OK, w.ResetAdaptation());
  EXPECT_EQ(1, w.m_graphs[0]->m_pDrawer->m_bResetAdaptation);
  EXPECT_EQ(1, w.m_graphs[1]->m_pDrawer->m_bResetAdaptation);
  w.Destroy();

  CGraphsWindow empty;
  ASSERT_EQ(1, empty.Create(nullptr, 0, nullptr, 25.0f));
  empty.GetClientRect(&rc);
  EXPECT_EQ(CRect(0, 0, 10, 0), rc);
  EXPECT_EQ(E_FAIL, empty.DrawGraph<double>(0, block, 3, 1, 0));
  EXPECT_EQ(E_FAIL, empty.ResetAdaptation());
  EXPECT_EQ(E_FAIL, empty.ResetAdaptation(0));
  EXPECT_EQ(E_FAIL, empty.SetColorScheme(eSchemeDark));
  // The title is empty until the host gives one; a live window takes it at once.
  CStringW title;
  empty.GetWindowTextW(title);
  EXPECT_EQ(std::wstring(), title.GetString());
  empty.SetTitle(L"Scope");
  empty.GetWindowTextW(title);
  EXPECT_EQ(std::wstring(L"Scope"), title.GetString());
  CGraphsWindow named;
  named.SetTitle(L"Spectrum");
  ASSERT_EQ(1, named.Create(nullptr, 0, nullptr, 25.0f));
  named.GetWindowTextW(title);
  EXPECT_EQ(std::wstring(L"Spectrum"), title.GetString());

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
    EXPECT_EQ(E_FAIL, w->DrawGraph<short>(0, block, 2, 1, 0));
    EXPECT_EQ(E_FAIL, w->SetROIAutoY(0, 0, 2, 0, 1, 2, 2));
    EXPECT_EQ(E_FAIL, w->ResetAdaptation());
    EXPECT_EQ(1, w->IsGraphDrawed(0));
    CRect rc;
    EXPECT_EQ(S_OK, w->GetGraphWndRect(0, &rc));
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
  tagGraphWndInfo info[] = {{{0, 0, 300, 200}, L"a", nullptr, nullptr, 1}};
  CGraphsWindow first;
  ASSERT_EQ(1, first.Create(info, 1, nullptr, 25.0f));
  CRect r1;
  first.GetWindowRect(&r1);
  first.ShowWindow();
  CRect shown;
  first.GetWindowRect(&shown);
  EXPECT_EQ(r1, shown) << "the first has no obstacles and stays centred";

  info[0].rcWindow = CRect(0, 0, 300, 200);
  CGraphsWindow second;
  ASSERT_EQ(1, second.Create(info, 1, nullptr, 25.0f));
  CRect r2, gap(r1);
  second.GetWindowRect(&r2);
  EXPECT_EQ(r1.Size(), r2.Size());
  gap.InflateRect(10, 10);
  CRect overlap;
  EXPECT_FALSE(overlap.IntersectRect(&gap, &r2)) << "registration moved it off the visible first window";
  EXPECT_TRUE(r2.left == gap.right || r2.right == gap.left || r2.top == gap.bottom || r2.bottom == gap.top)
      << "placed against the gap";

  // A window of another parent is no obstacle: centred over a host window
  // that shares the first one's centre, it stays on top of the first.
  CHostWindow host;
  const CPoint centre = r1.CenterPoint();
  ASSERT_TRUE(host.CreateEx(0, nullptr, L"host", WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE,
                            CRect(centre.x - 200, centre.y - 150, centre.x + 200, centre.y + 150), nullptr, 0));
  info[0].rcWindow = CRect(0, 0, 300, 200);
  CGraphsWindow owned;
  ASSERT_EQ(1, owned.Create(info, 1, &host, 25.0f));
  CRect r4;
  owned.GetWindowRect(&r4);
  EXPECT_EQ(r1, r4);

  // A hidden window is no obstacle: a third one opens where the first is.
  first.HideWindow();
  info[0].rcWindow = CRect(0, 0, 300, 200);
  CGraphsWindow third;
  ASSERT_EQ(1, third.Create(info, 1, nullptr, 25.0f));
  CRect r3;
  third.GetWindowRect(&r3);
  EXPECT_EQ(r1, r3);
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
  // Hidden: the capture composes what waits.
  const std::wstring path = TestPath("graphs_window.png");
  ASSERT_EQ(S_OK, w.SaveImage(path.c_str()));
  const QImage img = LoadPng(path);
  CRect client;
  w.GetClientRect(&client);
  ASSERT_EQ(QSize(client.Width(), client.Height()), img.size());
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

}  // namespace

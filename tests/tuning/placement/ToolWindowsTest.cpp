#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include <orvek/Orvek.h>
#include <orvek/tuning/placement/ToolWindows_p.h>

namespace {

const CRect kAsked(400, 300, 640, 600), kRight(650, 300, 890, 600);

class Placement : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(S_OK, COrvekGlobals::StartUp()); }
  static void TearDownTestSuite() { COrvekGlobals::ShutDown(); }
  void SetUp() override { AfxGetThread()->m_pMainWnd = nullptr; }
  void TearDown() override {
    AfxGetThread()->m_pMainWnd = nullptr;
    CSingleLock lock(&ms_toolWindowsLock, TRUE);
    ms_toolWindows.clear();
  }

  // A tool window with its screen rectangle (frame included), shown and registered if asked.
  static void Make(CWnd& w, const CRect& r, CWnd* owner = nullptr, bool show = true, bool enlist = false) {
    ASSERT_TRUE(w.CreateEx(WS_EX_TOOLWINDOW, nullptr, L"", WS_POPUP | WS_CAPTION | WS_SYSMENU, r, owner, 0));
    if (show) w.ShowWindow(SW_SHOWNORMAL);
    if (enlist) RegisterToolWindow(w.m_hWnd);
  }
  static CRect RectOf(CWnd& w) {
    CRect r;
    w.GetWindowRect(&r);
    return r;
  }
  static int Entries(HWND h) {
    CSingleLock lock(&ms_toolWindowsLock, TRUE);
    return static_cast<int>(std::count_if(ms_toolWindows.begin(), ms_toolWindows.end(),
                                          [h](const tagToolWindowEntry& e) { return e.hWnd == h; }));
  }
};

TEST_F(Placement, ANewWindowMovesBesideAVisibleOneOfTheSameParent) {
  CWnd other, mine;
  Make(other, kAsked, nullptr, true, true);
  EXPECT_EQ(kAsked, RectOf(other));  // the first one stays where it is
  // Above and below leave the bounds; right and left are equally near, and right comes first.
  Make(mine, kAsked, nullptr, false, true);
  EXPECT_EQ(kRight, RectOf(mine));

  // A second registration leaves one entry; unknown windows change nothing.
  RegisterToolWindow(mine.m_hWnd);
  EXPECT_EQ(1, Entries(mine.m_hWnd));
  UnregisterToolWindow(reinterpret_cast<HWND>(0x12345));
  EXPECT_EQ(1, Entries(other.m_hWnd));
  UnregisterToolWindow(mine.m_hWnd);
  EXPECT_EQ(0, Entries(mine.m_hWnd));

  // A registered, visible window is an obstacle to itself: placed again it moves off its own rectangle.
  PlaceToolWindow(other.m_hWnd);
  CRect moved = RectOf(other), overlap;
  EXPECT_FALSE(overlap.IntersectRect(&moved, CRect(390, 290, 650, 610)));
}

TEST_F(Placement, HiddenWindowsAndOtherParentsAreNoObstacles) {
  CWnd ownerA, ownerB, hidden, foreign, mine;
  Make(ownerA, CRect(0, 0, 100, 100));
  Make(ownerB, CRect(0, 0, 100, 100));
  Make(hidden, kAsked, &ownerA, false, true);
  Make(foreign, kAsked, &ownerB, true, true);
  Make(mine, kAsked, &ownerA, true, true);
  EXPECT_EQ(kAsked, RectOf(mine));
  // Shown, the first one is in the way.
  hidden.ShowWindow(SW_SHOWNORMAL);
  PlaceToolWindow(mine.m_hWnd);
  EXPECT_EQ(kRight, RectOf(mine));
}

TEST_F(Placement, TheMainWindowGivesTheBounds) {
  CWnd main, other, mine, big;
  Make(main, CRect(0, 0, 700, 700));
  AfxGetThread()->m_pMainWnd = &main;
  Make(other, kAsked, &main, true, true);
  Make(mine, kAsked, &main, true, true);
  EXPECT_EQ(CRect(150, 300, 390, 600), RectOf(mine));  // the right-hand place no longer fits; the left-hand one does
  // Without a free place in the bounds, a window stays where it is.
  Make(big, CRect(0, 0, 690, 690), &main, true, true);
  EXPECT_EQ(CRect(0, 0, 690, 690), RectOf(big));

  // While the main window object stays but its window is gone, nothing moves; without a main window object the
  // default bounds apply.
  main.DestroyWindow();
  CWnd blocker, late;
  Make(blocker, kAsked, nullptr, true, true);
  Make(late, kAsked);
  PlaceToolWindow(late.m_hWnd);
  EXPECT_EQ(kAsked, RectOf(late));
  AfxGetThread()->m_pMainWnd = nullptr;
  PlaceToolWindow(late.m_hWnd);
  EXPECT_EQ(kRight, RectOf(late));
}

TEST_F(Placement, HandlesOfNoWindowAndFarRectanglesGiveADefinedPlace) {
  // A handle that is no live window is neither placed nor listed.
  CWnd dead;
  Make(dead, CRect(0, 0, 50, 50));
  const HWND gone = dead.m_hWnd;
  dead.DestroyWindow();
  for (HWND h : {HWND(nullptr), reinterpret_cast<HWND>(0x12345), gone}) {
    RegisterToolWindow(h);
    PlaceToolWindow(h);
    EXPECT_EQ(0, Entries(h)) << h;
    UnregisterToolWindow(h);
  }

  // Windows asked to stand at the 32-bit limits stand where the platform holds them; with no free place inside
  // the bounds, they stay there. {asked, with a main window there}
  for (const auto& [asked, withMain] : {std::make_pair(CRect(INT_MAX - 100, INT_MAX - 100, INT_MAX, INT_MAX), false),
                                        {CRect(INT_MIN, INT_MIN, INT_MIN + 240, INT_MIN + 300), false},
                                        {CRect(INT_MAX - 100, INT_MIN, INT_MAX, INT_MIN + 300), true}}) {
    CWnd main, first, second;
    if (withMain) Make(main, asked);
    if (withMain) AfxGetThread()->m_pMainWnd = &main;
    Make(first, CRect(0, 0, 240, 300));
    Make(second, CRect(0, 0, 240, 300));
    first.MoveWindow(&asked, FALSE);
    second.MoveWindow(&asked, FALSE);
    const CRect held = RectOf(second);
    RegisterToolWindow(first.m_hWnd);
    RegisterToolWindow(second.m_hWnd);
    PlaceToolWindow(second.m_hWnd);
    EXPECT_EQ(held, RectOf(second)) << asked.left;
    EXPECT_EQ(1, Entries(second.m_hWnd));
    AfxGetThread()->m_pMainWnd = nullptr;
  }
}

}  // namespace

// How the list becomes a window: sizes, cells, pages, titles and texts.
#include <QLabel>
#include <QSlider>
#include <QTabBar>

#include "DialogTest.h"

namespace {

bool Shown(CWnd& w) { return (w.GetStyle() & WS_VISIBLE) != 0; }

QTabBar* BarOf(TestDlg& dlg) {
  return dlg.m_tab.GetQWidget() ? dlg.m_tab.GetQWidget()->findChild<QTabBar*>() : nullptr;
}

TEST(DialogLayout, SevenParametersMakeOneColumnOfCellsWithTheirControls) {
  float f[3] = {0.25f, 0.5f, 7.0f};
  int n[2] = {4, -20}, flag = 1, mode = 2;
  tagParamChoice choices[] = {{1.0, L"sine"}, {2.0, L"square"}};
  const tagParamInfoV2 list[] = {Param(L"Level", ePT_Float, &f[0], -1, 1),
                                 Param(L"Gain", ePT_Float, &f[1], 0, 10),
                                 Param(L"Taps", ePT_Int, &n[0], 0.9, 64.7),
                                 Param(L"Bypass", ePT_Bool, &flag),
                                 Param(L"Mode", ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 2),
                                 Param(L"Offset", ePT_Int, &n[1], -10, 10),
                                 Param(L"Fixed", ePT_Float, &f[2], 3, 3)};
  TestDlg dlg;
  dlg.Create(list, 7, nullptr, nullptr);
  ASSERT_TRUE(IsWindow(dlg.m_hWnd));
  EXPECT_FALSE(dlg.IsWindowVisible());  // built hidden
  EXPECT_FALSE(IsWindow(dlg.m_tab.m_hWnd));
  EXPECT_EQ(L"Настройка параметров", TextOf(dlg));
  EXPECT_EQ(WS_EX_TOOLWINDOW, dlg.GetExStyle());
  EXPECT_EQ(WS_POPUP | WS_CAPTION | WS_SYSMENU, dlg.GetStyle());
  CRect client;
  dlg.GetClientRect(&client);
  EXPECT_EQ(240, client.Width());
  EXPECT_EQ(305, client.Height());
  ASSERT_EQ(7u, dlg.m_controls.size());

  for (int i = 0; i < 7; ++i) {
    tagParamControls& c = dlg.C(i);
    const int y = 20 + 40 * i;
    CWnd& first = list[i].eType == ePT_Bool ? static_cast<CWnd&>(c.check) : c.label;
    EXPECT_EQ(CPoint(20, y), ClientRectOf(dlg, first).TopLeft()) << i;
    EXPECT_EQ(i + 1, first.GetDlgCtrlID());
    EXPECT_EQ(0u, c.notifyTimer);
    EXPECT_TRUE(Shown(first)) << i;
  }
  // Label, slider and value text share the cell of a number.
  tagParamControls& level = dlg.C(0);
  EXPECT_EQ(CRect(20, 20, 70, 45), ClientRectOf(dlg, level.label));
  EXPECT_EQ(CRect(70, 20, 190, 45), ClientRectOf(dlg, level.slider));
  EXPECT_EQ(CRect(190, 20, 220, 45), ClientRectOf(dlg, level.valueText));
  EXPECT_EQ(L"Level", TextOf(level.label));
  EXPECT_EQ(1, level.slider.GetDlgCtrlID());
  EXPECT_EQ(1, level.valueText.GetDlgCtrlID());
  EXPECT_FALSE(IsWindow(level.check.m_hWnd));
  EXPECT_FALSE(IsWindow(level.list.m_hWnd));
  EXPECT_EQ(CRect(20, 140, 220, 165), ClientRectOf(dlg, dlg.C(3).check));
  EXPECT_EQ(L"Bypass", TextOf(dlg.C(3).check));
  EXPECT_EQ(BS_CHECKBOX | BS_CENTER, dlg.C(3).check.GetStyle() & 0xFFFF);
  EXPECT_FALSE(IsWindow(dlg.C(3).slider.m_hWnd));

  // Float sliders have 257 positions; integer ones the truncated bounds.
  EXPECT_EQ(0, level.slider.GetRangeMin());
  EXPECT_EQ(256, level.slider.GetRangeMax());
  EXPECT_EQ(0, dlg.C(2).slider.GetRangeMin());
  EXPECT_EQ(64, dlg.C(2).slider.GetRangeMax());
  EXPECT_EQ(-10, dlg.C(5).slider.GetRangeMin());

  // The build refreshed at once: positions, clamps and value texts.
  EXPECT_EQ(160, level.slider.GetPos());  // 0.25 on -1 .. 1
  EXPECT_EQ(L"0.250", TextOf(level.valueText));
  EXPECT_EQ(L"0.50", TextOf(dlg.C(1).valueText));
  EXPECT_EQ(4, dlg.C(2).slider.GetPos());
  EXPECT_EQ(L"4", TextOf(dlg.C(2).valueText));
  EXPECT_EQ(-10, n[1]);  // pulled into its bounds, silently
  EXPECT_EQ(L"-10", TextOf(dlg.C(5).valueText));
  EXPECT_EQ(3.0f, f[2]);  // equal bounds: at the bound, position 0, no decimals
  EXPECT_EQ(0, dlg.C(6).slider.GetPos());
  EXPECT_EQ(L"3", TextOf(dlg.C(6).valueText));
  EXPECT_EQ(BST_CHECKED, dlg.C(3).check.GetCheck());
  EXPECT_EQ(2, dlg.C(4).list.GetCount());
  EXPECT_EQ(1, dlg.C(4).list.GetCurSel());
  // Labels, value texts and check boxes carry the dialog's font.
  auto* label = static_cast<QLabel*>(level.label.GetQWidget());
  EXPECT_EQ(8, label->font().pointSize());
  EXPECT_NE(nullptr, reinterpret_cast<HFONT>(dlg.C(3).check.SendMessage(WM_GETFONT)));
  EXPECT_EQ(nullptr, reinterpret_cast<HFONT>(level.slider.SendMessage(WM_GETFONT)));
  EXPECT_EQ(CDlgParamTune::ID_UPDATE_TIMER, dlg.m_updateTimer);
  UINT period = 0;
  EXPECT_TRUE(dlg.GetTimerElapse(CDlgParamTune::ID_UPDATE_TIMER, &period));
  EXPECT_EQ(100u, period);
}

TEST(DialogLayout, TabbedListFollowsTheMarginsThePlatformReports) {
  float a = 0, b = 0, c = 0, d = 0, e = 0;
  const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &a, 0, 1), Param(L"B", ePT_Float, &b, 0, 1),
                                 Param(L"C", ePT_Float, &c, 0, 1), Group(L"Output"),
                                 Param(L"D", ePT_Float, &d, 0, 1), Param(L"E", ePT_Float, &e, 0, 1)};
  TestDlg dlg;
  dlg.Create(list, 6, nullptr, nullptr);
  ASSERT_TRUE(IsWindow(dlg.m_tab.m_hWnd));
  QTabBar* bar = BarOf(dlg);
  ASSERT_NE(nullptr, bar);
  ASSERT_EQ(2, bar->count());
  EXPECT_EQ(QString("????"), bar->tabText(0));
  EXPECT_EQ(QString("Output"), bar->tabText(1));
  EXPECT_EQ(0, dlg.m_tab.GetCurSel());
  EXPECT_EQ(L"Настройка параметров", TextOf(dlg));

  // The margins the tab control draws, as it reports them.
  CRect probe(0, 0, 240, 145);
  dlg.m_tab.AdjustRect(TRUE, &probe);
  const int dl = -probe.left, dt = -probe.top, dr = probe.right - 240, db = probe.bottom - 145;
  EXPECT_GT(dt, 0);
  int columns = 0, rows = 0;
  dlg.GetColumnsRawsAmount(3, 2, &columns, &rows);
  EXPECT_EQ(1, columns);
  EXPECT_EQ(3, rows);
  // W = 240, H = 145 for one column of three.
  EXPECT_EQ(CRect(15, 15, 15 + 240 + dl + dr, 15 + 145 + dt + db), ClientRectOf(dlg, dlg.m_tab));
  CRect client;
  dlg.GetClientRect(&client);
  EXPECT_EQ(240 + dl + dr + 30, client.Width());
  EXPECT_EQ(145 + dt + db + 30, client.Height());
  const int x = 15 + dl + 20, y = 15 + dt + 20;
  for (int i : {0, 1, 2}) EXPECT_EQ(CPoint(x, y + 40 * i), ClientRectOf(dlg, dlg.C(i).label).TopLeft()) << i;
  // The second page starts again at the first cell.
  EXPECT_EQ(CPoint(x, y), ClientRectOf(dlg, dlg.C(4).label).TopLeft());
  EXPECT_EQ(CPoint(x, y + 40), ClientRectOf(dlg, dlg.C(5).label).TopLeft());
  for (int i : {0, 1, 2}) EXPECT_TRUE(Shown(dlg.C(i).slider));
  for (int i : {4, 5}) EXPECT_FALSE(Shown(dlg.C(i).slider));

  // A click on the second tab shows its page at once, and is no change.
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
  EXPECT_EQ(1, dlg.m_tab.GetCurSel());
  for (int i : {0, 1, 2}) {
    EXPECT_FALSE(Shown(dlg.C(i).slider));
    EXPECT_FALSE(Shown(dlg.C(i).label));
    EXPECT_FALSE(Shown(dlg.C(i).valueText));
  }
  for (int i : {4, 5}) EXPECT_TRUE(dlg.C(i).slider.IsWindowVisible());
  EXPECT_FALSE(dlg.IsDirty());

  // A rebuild goes back to page 0 and keeps the window visible.
  int extra = 0;
  tagParamInfoV2 more = Param(L"F", ePT_Bool, &extra);
  dlg.AddParam(&more);
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 7; }));
  EXPECT_TRUE(dlg.IsWindowVisible());
  EXPECT_EQ(0, dlg.m_tab.GetCurSel());
  EXPECT_TRUE(Shown(dlg.C(0).slider));
  EXPECT_FALSE(Shown(dlg.C(6).check));
}

TEST(DialogLayout, TitlesTabTextsAndDegenerateLists) {
  // One named group: no tabs, its name in the title, all controls shown.
  float gain = 0;
  int flag = 0;
  {
    const tagParamInfoV2 list[] = {Group(L"Filter"), Param(L"Gain", ePT_Float, &gain, 0, 1)};
    TestDlg dlg;
    dlg.Create(list, 2, nullptr, nullptr);
    EXPECT_EQ(L"Настройка параметров - Filter", TextOf(dlg));
    EXPECT_FALSE(IsWindow(dlg.m_tab.m_hWnd));
    EXPECT_TRUE(Shown(dlg.C(1).slider));
    EXPECT_EQ(CPoint(20, 20), ClientRectOf(dlg, dlg.C(1).label).TopLeft());
  }
  // A nameless first page, then named ones; a header in first place names
  // page 0 instead.
  {
    const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &gain, 0, 1), Param(L"B", ePT_Bool, &flag), Group(L"Spare"),
                                   Group(L"Output"), Param(L"C", ePT_Bool, &flag)};
    TestDlg dlg;
    dlg.Create(list, 5, nullptr, nullptr);
    QTabBar* bar = BarOf(dlg);
    ASSERT_NE(nullptr, bar);
    ASSERT_EQ(3, bar->count());
    EXPECT_EQ(QString("????"), bar->tabText(0));
    EXPECT_EQ(QString("Spare"), bar->tabText(1));
    EXPECT_EQ(QString("Output"), bar->tabText(2));
    EXPECT_EQ(L"Настройка параметров", TextOf(dlg));
    EXPECT_FALSE(Shown(dlg.C(4).check));
  }
  // The host's names and choices may go as soon as the call returns: the
  // dialog builds from its own copies, also in later rebuilds.
  {
    int mode = 2;
    TestDlg dlg;
    {
      std::wstring name = L"Mode", one = L"one", two = L"two";
      tagParamChoice choices[] = {{1, one.c_str()}, {2, two.c_str()}};
      tagParamInfoV2 entry = Param(name.c_str(), ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 2);
      dlg.Create(&entry, 1, nullptr, nullptr);
      name.assign(L"XXXX");
      two.assign(L"YYY");
    }
    dlg.SendMessage(WM_REBUILD_PARAMS, 0, 0);
    EXPECT_EQ(L"Mode", TextOf(dlg.C(0).label));
    CStringW text;
    dlg.C(0).list.GetLBText(1, text);
    EXPECT_EQ(CStringW(L"two"), text);
    EXPECT_EQ(1, dlg.C(0).list.GetCurSel());
    EXPECT_EQ(L"%d", std::wstring(dlg.GetTypeFormatString(ePT_List)));
    EXPECT_EQ(L"", std::wstring(dlg.GetTypeFormatString(static_cast<eParamTypeV2>(7))));
  }
  // An empty list: no tabs, no cells, a client area of 25 x 25.
  {
    TestDlg dlg;
    dlg.Create(static_cast<const tagParamInfoV2*>(nullptr), 0, nullptr, nullptr);
    ASSERT_TRUE(IsWindow(dlg.m_hWnd));
    CRect client;
    dlg.GetClientRect(&client);
    EXPECT_EQ(CSize(25, 25), client.Size());
    EXPECT_TRUE(dlg.m_controls.empty());
  }
  // Group headers only: tabs over empty pages.
  {
    const tagParamInfoV2 list[] = {Group(L"One"), Group(L"Two")};
    TestDlg dlg;
    dlg.Create(list, 2, nullptr, nullptr);
    QTabBar* bar = BarOf(dlg);
    ASSERT_NE(nullptr, bar);
    EXPECT_EQ(2, bar->count());
    EXPECT_EQ(QString("One"), bar->tabText(0));
    ASSERT_EQ(2u, dlg.m_controls.size());
    EXPECT_FALSE(IsWindow(dlg.C(0).label.m_hWnd));
    ASSERT_TRUE(ShowAndActivate(dlg));
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
    EXPECT_EQ(1, dlg.m_tab.GetCurSel());
  }
}

TEST(DialogLayout, GroupPagesFillColumnByColumnFromTheFirstCell) {
  // Two groups of 3 and 9: the shape is computed for 9, and each page fills
  // from the first cell.
  TestDlg dlg;
  std::vector<int> flags(12, 0);
  std::vector<tagParamInfoV2> list{Group(L"Small")};
  for (int i = 0; i < 3; ++i) list.push_back(Param(L"s", ePT_Bool, &flags[i]));
  list.push_back(Group(L"Large"));
  for (int i = 3; i < 12; ++i) list.push_back(Param(L"l", ePT_Bool, &flags[i]));
  dlg.Create(list.data(), static_cast<int>(list.size()), nullptr, nullptr);
  int columns = 0, rows = 0;
  dlg.GetColumnsRawsAmount(9, 2, &columns, &rows);
  ASSERT_GT(rows, 0);
  const CPoint first = ClientRectOf(dlg, dlg.C(1).check).TopLeft();
  EXPECT_EQ(first, ClientRectOf(dlg, dlg.C(5).check).TopLeft());
  // The large page's last cell stands where the column-major order puts it.
  const CPoint last = ClientRectOf(dlg, dlg.C(13).check).TopLeft();
  EXPECT_EQ(first.x + 215 * (8 / rows), last.x);
  EXPECT_EQ(first.y + 40 * (8 % rows), last.y);
}

TEST(DialogLayout, FloatScaleAndDecimalsOnTheControls) {
  // Bounds 0 .. 0.3: 0.1 stands at 85, and the user's step back to 85 gives
  // 0.099609375.
  // The decimals of each range are those of the rules; here the controls
  // show them.
  float small = 0.1f, r100 = 0, crossed = 0.5f;
  const tagParamInfoV2 list[] = {Param(L"Small", ePT_Float, &small, 0, 0.3), Param(L"R100", ePT_Float, &r100, 0, 100),
                                 Param(L"Crossed", ePT_Float, &crossed, 1, -1)};
  TestDlg dlg;
  dlg.Create(list, 3, nullptr, nullptr);
  // Bounds that cross: the upper one wins, and no decimals are shown.
  EXPECT_EQ(-1.0f, crossed);
  EXPECT_EQ(L"-1", TextOf(dlg.C(2).valueText));
  EXPECT_EQ(85, dlg.C(0).slider.GetPos());
  EXPECT_EQ(L"0.100", TextOf(dlg.C(0).valueText));
  EXPECT_EQ(L"0.0", TextOf(dlg.C(1).valueText));
  ASSERT_TRUE(ShowAndActivate(dlg));
  auto* q = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  // Showing the window puts the focus on no control, so the refresh below
  // still reaches this slider.
  EXPECT_NE(&dlg.C(0).slider, CWnd::GetFocus());
  QTest::keyClick(q, Qt::Key_Right);
  EXPECT_EQ(86, dlg.C(0).slider.GetPos());
  QTest::keyClick(q, Qt::Key_Left);
  EXPECT_EQ(0.099609375f, small);
  EXPECT_EQ(L"0.100", TextOf(dlg.C(0).valueText));
  EXPECT_TRUE(dlg.IsDirty());

  // SetParamRange moves a float's slider at the next refresh, without a
  // rebuild: 0.099609375 on 0 .. 0.2 stands at 127.
  const int before = dlg.builds;
  dlg.SetParamRange(&small, 0.0, 0.2);
  ASSERT_TRUE(WaitFor([&] { return dlg.C(0).slider.GetPos() == 127; }));
  EXPECT_EQ(before, dlg.builds);
}

TEST(DialogLayout, ASecondDialogOpensBesideAVisibleFirstOne) {
  float a = 0, b = 0;
  const tagParamInfoV2 first[] = {Param(L"A", ePT_Float, &a, 0, 1)};
  const tagParamInfoV2 second[] = {Param(L"B", ePT_Float, &b, 0, 1)};
  TestDlg one, two;
  one.Create(first, 1, nullptr, nullptr);
  ASSERT_TRUE(ShowAndActivate(one));
  two.Create(second, 1, nullptr, nullptr);
  CRect r1, r2, overlap;
  one.GetWindowRect(&r1);
  two.GetWindowRect(&r2);
  r1.InflateRect(10, 10);  // the gap kept between tool windows
  EXPECT_FALSE(overlap.IntersectRect(&r1, &r2)) << r2.left << "," << r2.top;
  // Once the first is gone, a rebuild of the second centres it again, over
  // the place the first had.
  one.Destroy();
  two.ShowWindow();
  two.SendMessage(WM_REBUILD_PARAMS, 0, 0);
  two.GetWindowRect(&r2);
  EXPECT_TRUE(overlap.IntersectRect(&r1, &r2));
}

}  // namespace

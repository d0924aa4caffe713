// The tuning dialog: layout, real input, the pacing of the host's callbacks, the refresh from the host's variables,
// typed values, value files, and hostile arguments.
#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QStyle>
#include <QTabBar>
#include <QTest>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/Orvek.h>
#include <support/EventWait.h>
#include <support/SessionEnvironment.h>
#include <support/TestFiles.h>

namespace {

const auto* g_session = AddSessionEnvironment();
using namespace ParamRules;
const std::wstring kTitle = L"Настройка параметров";

std::string TestFile(const std::string& name) { return std::string(ORVEK_TEST_BINARY_DIR) + "/" + name; }

// The dialog with its insides opened, and a record of every build of its window.
class TestDlg : public CDlgParamTune {
 public:
  using CDlgParamTune::GetColumnsRawsAmount;
  using CDlgParamTune::m_controls;
  using CDlgParamTune::m_params;
  using CDlgParamTune::m_tab;
  using CDlgParamTune::m_updateTimer;
  using CDlgParamTune::OnCommand;

  tagParamControls& C(std::size_t i) { return *m_controls.at(i); }

  std::atomic<int> builds{0};
  std::atomic<int> foreignBuilds{0};  // on a thread other than the one that made the object
  const std::thread::id owner = std::this_thread::get_id();

 protected:
  void UpdateWindowRectCaption(int nColumns, int nRows, int nGroups, int* pnOffsetX, int* pnOffsetY) override {
    ++builds;
    if (std::this_thread::get_id() != owner) ++foreignBuilds;
    CDlgParamTune::UpdateWindowRectCaption(nColumns, nRows, nGroups, pnOffsetX, pnOffsetY);
  }
};

// Every callback in the order they came: 'o' an entry's own, 'a' the dialog-wide one; the variable, its value
// then, when, and on which thread.
struct Journal {
  struct Entry {
    char who;
    void* value;
    double seen;
    DWORD tick;
    std::thread::id thread;
  };
  std::vector<Entry> entries;
  std::size_t size() const { return entries.size(); }
  std::vector<std::pair<char, void*>> Calls() const {
    std::vector<std::pair<char, void*>> calls;
    for (const Entry& e : entries) calls.emplace_back(e.who, e.value);
    return calls;
  }
};
template <char Who, typename T = char>
void Note(void* context, void* value) {
  static_cast<Journal*>(context)->entries.push_back(
      {Who, value, static_cast<double>(*static_cast<T*>(value)), GetTickCount(), std::this_thread::get_id()});
}

unsigned int ElapseOf(void* context, void*) { return *static_cast<unsigned int*>(context); }

CRect WindowRect(CWnd& w) {
  CRect r;
  w.GetWindowRect(&r);
  return r;
}
CRect ClientRectOf(CWnd& dialog, CWnd& child) {  // in the dialog's client coordinates
  CRect r = WindowRect(child);
  dialog.ScreenToClient(&r);
  return r;
}
std::wstring TextOf(CWnd& w) {
  CStringW s;
  w.GetWindowTextW(s);
  return std::wstring(s.GetString());
}
using Sizes = std::pair<std::size_t, std::size_t>;
bool Shown(CWnd& w) { return (w.GetStyle() & WS_VISIBLE) != 0; }
std::vector<std::wstring> ValueTexts(TestDlg& dlg, std::initializer_list<int> at) {
  std::vector<std::wstring> texts;
  for (int i : at) texts.push_back(TextOf(dlg.C(i).valueText));
  return texts;
}
QTabBar* BarOf(TestDlg& dlg) {
  return dlg.m_tab.GetQWidget() ? dlg.m_tab.GetQWidget()->findChild<QTabBar*>() : nullptr;
}
std::vector<std::string> Tabs(TestDlg& dlg) {
  std::vector<std::string> tabs;
  for (int i = 0; BarOf(dlg) && i < BarOf(dlg)->count(); ++i) tabs.push_back(BarOf(dlg)->tabText(i).toStdString());
  return tabs;
}
CSize ClientSize(CWnd& w) {
  CRect client;
  w.GetClientRect(&client);
  return client.Size();
}

tagParamInfoV2 Param(const wchar_t* name, eParamTypeV2 type, void* value, double lo = 0, double hi = 0,
                     PFN_PARAM_NOTIFY fn = nullptr, void* context = nullptr, tagParamChoice* choices = nullptr,
                     int nChoices = 0) {
  return tagParamInfoV2{name, type, value, lo, hi, fn, context, choices, nChoices};
}
tagParamInfoV2 Group(const wchar_t* name) { return Param(name, ePT_Group, nullptr); }

// Shows the dialog and waits until it can take input.
bool ShowAndActivate(CDlgParamTune& dlg) {
  dlg.ShowWindow();
  return QTest::qWaitForWindowActive(dlg.GetQWidget());
}

// Builds the dialog from the list, with the given pacing if any, and shows it ready for input.
template <std::size_t N>
bool Open(TestDlg& dlg, const tagParamInfoV2 (&list)[N], PFN_PARAM_NOTIFY fn = nullptr, void* context = nullptr,
          unsigned int* elapse = nullptr) {
  dlg.Create(list, static_cast<int>(N), fn, context);
  if (elapse) dlg.SetNotifyElapseFunc(&ElapseOf, elapse);
  return ShowAndActivate(dlg);
}

void ClickTab(TestDlg& dlg, int tab) {
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::mouseClick(BarOf(dlg), Qt::LeftButton, {}, BarOf(dlg)->tabRect(tab).center());
  EXPECT_EQ(tab, dlg.m_tab.GetCurSel());
}

TEST(DlgParamTuneLayout, SevenParametersMakeOneColumnOfCellsWithTheirControls) {
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
  EXPECT_EQ(kTitle, TextOf(dlg));
  EXPECT_EQ(WS_EX_TOOLWINDOW, dlg.GetExStyle());
  EXPECT_EQ(WS_POPUP | WS_CAPTION | WS_SYSMENU, dlg.GetStyle());
  EXPECT_EQ(CSize(240, 305), ClientSize(dlg));
  ASSERT_EQ(7u, dlg.m_controls.size());
  for (int i = 0; i < 7; ++i) {
    tagParamControls& c = dlg.C(i);
    CWnd& first = list[i].eType == ePT_Bool ? static_cast<CWnd&>(c.check) : c.label;
    EXPECT_EQ(CPoint(20, 20 + 40 * i), ClientRectOf(dlg, first).TopLeft()) << i;
    EXPECT_EQ(std::make_tuple(i + 1, 0u, true), std::make_tuple(first.GetDlgCtrlID(), c.notifyTimer, Shown(first)));
  }
  // Label, slider and value text share the cell of a number.
  tagParamControls& level = dlg.C(0);
  EXPECT_EQ(CRect(20, 20, 70, 45), ClientRectOf(dlg, level.label));
  EXPECT_EQ(CRect(70, 20, 190, 45), ClientRectOf(dlg, level.slider));
  EXPECT_EQ(CRect(190, 20, 220, 45), ClientRectOf(dlg, level.valueText));
  EXPECT_EQ(L"Level", TextOf(level.label));
  EXPECT_EQ(std::make_pair(1, 1), std::make_pair(level.slider.GetDlgCtrlID(), level.valueText.GetDlgCtrlID()));
  EXPECT_FALSE(IsWindow(level.check.m_hWnd) || IsWindow(level.list.m_hWnd));
  EXPECT_EQ(CRect(20, 140, 220, 165), ClientRectOf(dlg, dlg.C(3).check));
  EXPECT_EQ(L"Bypass", TextOf(dlg.C(3).check));
  EXPECT_EQ(BS_CHECKBOX | BS_CENTER, dlg.C(3).check.GetStyle() & 0xFFFF);
  EXPECT_FALSE(IsWindow(dlg.C(3).slider.m_hWnd));

  // Float sliders have 257 positions; integer ones the truncated bounds.
  EXPECT_EQ(std::make_tuple(0, 256, 0, 64, -10),
            std::make_tuple(level.slider.GetRangeMin(), level.slider.GetRangeMax(), dlg.C(2).slider.GetRangeMin(),
                            dlg.C(2).slider.GetRangeMax(), dlg.C(5).slider.GetRangeMin()));
  // The build refreshed at once: positions, silent clamps (equal bounds: at the bound, position 0, no decimals)
  // and value texts.
  EXPECT_EQ(std::make_tuple(160, 4, 0),
            std::make_tuple(level.slider.GetPos(), dlg.C(2).slider.GetPos(), dlg.C(6).slider.GetPos()));
  EXPECT_EQ((std::vector<std::wstring>{L"0.250", L"0.50", L"4", L"-10", L"3"}), ValueTexts(dlg, {0, 1, 2, 5, 6}));
  EXPECT_EQ(std::make_pair(-10, 3.0f), std::make_pair(n[1], f[2]));
  EXPECT_EQ(std::make_tuple(BST_CHECKED, 2, 1),
            std::make_tuple(dlg.C(3).check.GetCheck(), dlg.C(4).list.GetCount(), dlg.C(4).list.GetCurSel()));
  // Labels, value texts and check boxes carry the dialog's font.
  EXPECT_EQ(8, static_cast<QLabel*>(level.label.GetQWidget())->font().pointSize());
  EXPECT_NE(nullptr, reinterpret_cast<HFONT>(dlg.C(3).check.SendMessage(WM_GETFONT)));
  EXPECT_EQ(nullptr, reinterpret_cast<HFONT>(level.slider.SendMessage(WM_GETFONT)));
  EXPECT_EQ(CDlgParamTune::ID_UPDATE_TIMER, dlg.m_updateTimer);
  UINT period = 0;
  EXPECT_TRUE(dlg.GetTimerElapse(CDlgParamTune::ID_UPDATE_TIMER, &period) && period == 100u) << period;
}

TEST(DlgParamTuneLayout, TabbedListFollowsTheMarginsThePlatformReports) {
  float a = 0, b = 0, c = 0, d = 0, e = 0;
  const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &a, 0, 1), Param(L"B", ePT_Float, &b, 0, 1),
                                 Param(L"C", ePT_Float, &c, 0, 1), Group(L"Output"),
                                 Param(L"D", ePT_Float, &d, 0, 1), Param(L"E", ePT_Float, &e, 0, 1)};
  TestDlg dlg;
  dlg.Create(list, 6, nullptr, nullptr);
  ASSERT_TRUE(IsWindow(dlg.m_tab.m_hWnd));
  ASSERT_EQ((std::vector<std::string>{"????", "Output"}), Tabs(dlg));
  EXPECT_EQ(0, dlg.m_tab.GetCurSel());
  EXPECT_EQ(kTitle, TextOf(dlg));

  // The margins the tab control draws, as it reports them; W = 240, H = 145 for one column of three.
  CRect probe(0, 0, 240, 145);
  dlg.m_tab.AdjustRect(TRUE, &probe);
  const int dl = -probe.left, dt = -probe.top, dr = probe.right - 240, db = probe.bottom - 145;
  EXPECT_GT(dt, 0);
  int columns = 0, rows = 0;
  dlg.GetColumnsRawsAmount(3, 2, &columns, &rows);
  EXPECT_EQ(std::make_pair(1, 3), std::make_pair(columns, rows));
  EXPECT_EQ(CRect(15, 15, 15 + 240 + dl + dr, 15 + 145 + dt + db), ClientRectOf(dlg, dlg.m_tab));
  EXPECT_EQ(CSize(240 + dl + dr + 30, 145 + dt + db + 30), ClientSize(dlg));
  // Each page starts at the first cell.
  const int x = 15 + dl + 20, y = 15 + dt + 20;
  for (int i : {0, 1, 2, 4, 5}) {
    EXPECT_EQ(CPoint(x, y + 40 * (i < 3 ? i : i - 4)), ClientRectOf(dlg, dlg.C(i).label).TopLeft()) << i;
    EXPECT_EQ(i < 3, Shown(dlg.C(i).slider)) << i;
  }

  // A click on the second tab shows its page at once, and is no change.
  ClickTab(dlg, 1);
  for (int i : {0, 1, 2})
    EXPECT_FALSE(Shown(dlg.C(i).slider) || Shown(dlg.C(i).label) || Shown(dlg.C(i).valueText)) << i;
  for (int i : {4, 5}) EXPECT_TRUE(dlg.C(i).slider.IsWindowVisible());
  EXPECT_FALSE(dlg.IsDirty());

  // A rebuild goes back to page 0 and keeps the window visible.
  int extra = 0;
  tagParamInfoV2 more = Param(L"F", ePT_Bool, &extra);
  dlg.AddParam(&more);
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 7; }));
  EXPECT_TRUE(dlg.IsWindowVisible() && Shown(dlg.C(0).slider) && !Shown(dlg.C(6).check));
  EXPECT_EQ(0, dlg.m_tab.GetCurSel());
}

TEST(DlgParamTuneLayout, TitlesTabTextsAndDegenerateLists) {
  float gain = 0;
  int flag = 0;
  {  // One named group: no tabs, its name in the title, all controls shown.
    const tagParamInfoV2 list[] = {Group(L"Filter"), Param(L"Gain", ePT_Float, &gain, 0, 1)};
    TestDlg dlg;
    dlg.Create(list, 2, nullptr, nullptr);
    EXPECT_EQ(kTitle + L" - Filter", TextOf(dlg));
    EXPECT_FALSE(IsWindow(dlg.m_tab.m_hWnd));
    EXPECT_TRUE(Shown(dlg.C(1).slider));
    EXPECT_EQ(CPoint(20, 20), ClientRectOf(dlg, dlg.C(1).label).TopLeft());
  }
  {  // A nameless first page, then named ones; a header in first place would name page 0 instead.
    const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &gain, 0, 1), Param(L"B", ePT_Bool, &flag), Group(L"Spare"),
                                   Group(L"Output"), Param(L"C", ePT_Bool, &flag)};
    TestDlg dlg;
    dlg.Create(list, 5, nullptr, nullptr);
    EXPECT_EQ((std::vector<std::string>{"????", "Spare", "Output"}), Tabs(dlg));
    EXPECT_EQ(kTitle, TextOf(dlg));
    EXPECT_FALSE(Shown(dlg.C(4).check));
  }
  {  // The host's names and choices may go once the call returns: the dialog builds from its own copies.
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
  {  // An empty list: no tabs, no cells, a client area of 25 x 25.
    TestDlg dlg;
    dlg.Create(static_cast<const tagParamInfoV2*>(nullptr), 0, nullptr, nullptr);
    ASSERT_TRUE(IsWindow(dlg.m_hWnd));
    EXPECT_EQ(CSize(25, 25), ClientSize(dlg));
    EXPECT_TRUE(dlg.m_controls.empty());
  }
  {  // Group headers only: tabs over empty pages.
    const tagParamInfoV2 list[] = {Group(L"One"), Group(L"Two")};
    TestDlg dlg;
    dlg.Create(list, 2, nullptr, nullptr);
    ASSERT_EQ((std::vector<std::string>{"One", "Two"}), Tabs(dlg));
    ASSERT_EQ(2u, dlg.m_controls.size());
    EXPECT_FALSE(IsWindow(dlg.C(0).label.m_hWnd));
    ClickTab(dlg, 1);
  }
}

TEST(DlgParamTuneLayout, GroupPagesFillColumnByColumnFromTheFirstCell) {
  // Two groups of 3 and 9: the shape is computed for 9, and each page fills from the first cell.
  TestDlg dlg;
  std::vector<int> flags(12, 0);
  std::vector<tagParamInfoV2> list{Group(L"Small")};
  for (int i = 0; i < 12; ++i) {
    if (i == 3) list.push_back(Group(L"Large"));
    list.push_back(Param(i < 3 ? L"s" : L"l", ePT_Bool, &flags[i]));
  }
  dlg.Create(list.data(), static_cast<int>(list.size()), nullptr, nullptr);
  int columns = 0, rows = 0;
  dlg.GetColumnsRawsAmount(9, 2, &columns, &rows);
  ASSERT_GT(rows, 0);
  const CPoint first = ClientRectOf(dlg, dlg.C(1).check).TopLeft();
  EXPECT_EQ(first, ClientRectOf(dlg, dlg.C(5).check).TopLeft());
  // The large page's last cell stands where the column-major order puts it.
  EXPECT_EQ(CPoint(first.x + 215 * (8 / rows), first.y + 40 * (8 % rows)),
            ClientRectOf(dlg, dlg.C(13).check).TopLeft());
}

TEST(DlgParamTuneLayout, FloatScaleAndDecimalsOnTheControls) {
  // 0 .. 0.3: 0.1 stands at 85, and the user's step back to 85 gives 0.099609375; crossed bounds: the upper
  // one wins, with no decimals.
  float small = 0.1f, r100 = 0, crossed = 0.5f;
  const tagParamInfoV2 list[] = {Param(L"Small", ePT_Float, &small, 0, 0.3), Param(L"R100", ePT_Float, &r100, 0, 100),
                                 Param(L"Crossed", ePT_Float, &crossed, 1, -1)};
  TestDlg dlg;
  dlg.Create(list, 3, nullptr, nullptr);
  EXPECT_EQ(-1.0f, crossed);
  EXPECT_EQ((std::vector<std::wstring>{L"0.100", L"0.0", L"-1"}), ValueTexts(dlg, {0, 1, 2}));
  EXPECT_EQ(85, dlg.C(0).slider.GetPos());
  ASSERT_TRUE(ShowAndActivate(dlg));
  auto* q = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  // Showing the window focuses no control, so the refresh below still reaches this slider.
  EXPECT_NE(&dlg.C(0).slider, CWnd::GetFocus());
  QTest::keyClick(q, Qt::Key_Right);
  EXPECT_EQ(86, dlg.C(0).slider.GetPos());
  QTest::keyClick(q, Qt::Key_Left);
  EXPECT_EQ(0.099609375f, small);
  EXPECT_EQ(L"0.100", TextOf(dlg.C(0).valueText));
  EXPECT_TRUE(dlg.IsDirty());

  // SetParamRange moves a float's slider at the next refresh, without a rebuild: 0.099609375 on 0 .. 0.2 is 127.
  const int before = dlg.builds;
  dlg.SetParamRange(&small, 0.0, 0.2);
  ASSERT_TRUE(WaitFor([&] { return dlg.C(0).slider.GetPos() == 127; }));
  EXPECT_EQ(before, dlg.builds);
}

TEST(DlgParamTuneLayout, ASecondDialogOpensBesideAVisibleFirstOne) {
  float a = 0, b = 0;
  const tagParamInfoV2 first[] = {Param(L"A", ePT_Float, &a, 0, 1)}, second[] = {Param(L"B", ePT_Float, &b, 0, 1)};
  TestDlg one, two;
  one.Create(first, 1, nullptr, nullptr);
  ASSERT_TRUE(ShowAndActivate(one));
  two.Create(second, 1, nullptr, nullptr);
  CRect r1 = WindowRect(one), r2 = WindowRect(two), overlap;
  r1.InflateRect(10, 10);  // the gap kept between tool windows
  EXPECT_FALSE(overlap.IntersectRect(&r1, &r2)) << r2.left << "," << r2.top;
  // Once the first is gone, a rebuild of the second centres it again, over the first one's place.
  one.Destroy();
  two.ShowWindow();
  two.SendMessage(WM_REBUILD_PARAMS, 0, 0);
  r2 = WindowRect(two);
  EXPECT_TRUE(overlap.IntersectRect(&r1, &r2));
}

class Notify : public CDlgParamTuneNotify {
 public:
  void OnParamChanged(void* pValue) override { changes.push_back(pValue); }
  unsigned int GetParamNotifyElapse(void*) override { return elapse; }
  std::vector<void*> changes;
  unsigned int elapse = 120;
};

void PickRow(QComboBox* q, int row) {
  q->showPopup();
  ASSERT_TRUE(WaitFor([&] { return q->view()->isVisible(); }));
  QAbstractItemView* view = q->view();
  QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(view->model()->index(row, 0)).center());
  ASSERT_TRUE(WaitFor([&] { return !q->view()->isVisible(); }));
}

TEST(DlgParamTuneInput, DraggedSliderDrivesTheVariableAtOnceAndTheCallbackOnceAfterTheElapse) {
  float gain = 0.0f;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Gain", ePT_Float, &gain, 0, 1, &Note<'o', float>, &journal)};
  unsigned int elapse = 150;
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, &Note<'a', float>, &journal, &elapse));
  EXPECT_FALSE(dlg.IsDirty());

  auto* q = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  const int y = q->height() / 2;
  QTest::mousePress(q, Qt::LeftButton, {}, QPoint(3, y));
  float last = gain;
  DWORD lastMove = 0;
  for (int x = 10; x <= 110; x += 10) {
    QTest::mouseMove(q, QPoint(x, y));
    lastMove = GetTickCount();
    ASSERT_EQ(PosToFloat(dlg.C(0).slider.GetPos(), 0, 1), gain) << x;
    EXPECT_EQ(std::wstring(FloatText(gain, 0, 1).GetString()), TextOf(dlg.C(0).valueText));
    EXPECT_GT(gain, last) << x;
    last = gain;
    EXPECT_EQ(0u, journal.size()) << x;
    COrvekGlobals::PumpMessages(5);
  }
  QTest::mouseRelease(q, Qt::LeftButton, {}, QPoint(110, y));
  EXPECT_TRUE(dlg.IsDirty());
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 2; }));
  COrvekGlobals::PumpMessages(300);
  // The entry's callback first, then the dialog-wide one, both with the final value, one elapse after the last move.
  EXPECT_EQ((std::vector<std::pair<char, void*>>{{'o', &gain}, {'a', &gain}}), journal.Calls());
  for (const auto& e : journal.entries) EXPECT_EQ(static_cast<double>(gain), e.seen);
  EXPECT_GE(journal.entries[0].tick - lastMove, elapse - 1);

  // A slider message that changes nothing still marks the dialog dirty, and arms no timer.
  ASSERT_EQ(S_OK, dlg.SaveParamValues(TestFile("drag.ini").c_str()));
  EXPECT_FALSE(dlg.IsDirty());
  QTest::keyClick(q, Qt::Key_End);
  EXPECT_EQ(1.0f, gain);
  COrvekGlobals::PumpMessages(elapse + 100);
  journal.entries.clear();
  ASSERT_EQ(S_OK, dlg.SaveParamValues(TestFile("drag.ini").c_str()));
  QTest::keyClick(q, Qt::Key_End);
  EXPECT_TRUE(dlg.IsDirty());
  UINT armed = 0;
  EXPECT_FALSE(dlg.GetTimerElapse(1, &armed));
  COrvekGlobals::PumpMessages(elapse + 100);
  EXPECT_EQ(0u, journal.size());
}

TEST(DlgParamTuneInput, CheckBoxAndListAnswerClicksAndPicks) {
  int bypass = 0, mode = -2;
  Journal journal;
  tagParamChoice choices[] = {{1.9, L"sine"}, {-2.7, L"square"}, {3.0, L"noise"}};
  const tagParamInfoV2 list[] = {Param(L"Bypass", ePT_Bool, &bypass, 0, 0, &Note<'o', int>, &journal),
                                 Param(L"Mode", ePT_List, &mode, 0, 0, &Note<'o', int>, &journal, choices, 3)};
  unsigned int elapse = 200;
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, nullptr, nullptr, &elapse));
  CButton& check = dlg.C(0).check;
  EXPECT_EQ(BST_UNCHECKED, check.GetCheck());

  // Two clicks within the elapse: the variable goes there and back, and the host hears once, of the last state.
  for (int state : {1, 0}) {
    QTest::mouseClick(check.GetQWidget(), Qt::LeftButton);
    EXPECT_EQ(std::make_pair(state, state ? BST_CHECKED : BST_UNCHECKED), std::make_pair(bypass, check.GetCheck()));
  }
  EXPECT_TRUE(dlg.IsDirty());
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));
  COrvekGlobals::PumpMessages(elapse + 100);
  ASSERT_EQ(1u, journal.size());
  EXPECT_EQ(&bypass, journal.entries[0].value);
  EXPECT_EQ(0.0, journal.entries[0].seen);

  // Picking the entry already selected is a change all the same.
  auto* combo = static_cast<QComboBox*>(dlg.C(1).list.GetQWidget());
  EXPECT_EQ(1, dlg.C(1).list.GetCurSel());  // -2.7 truncates to -2
  journal.entries.clear();
  ASSERT_EQ(S_OK, dlg.SaveParamValues(TestFile("pick.ini").c_str()));
  PickRow(combo, 1);
  EXPECT_EQ(-2, mode);
  EXPECT_TRUE(dlg.IsDirty());
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));
  EXPECT_EQ(&mode, journal.entries[0].value);
  PickRow(combo, 2);
  EXPECT_EQ(3, mode);
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 2; }));
  EXPECT_EQ(3.0, journal.entries[1].seen);

  // A value that matches no choice shows no selection and stays.
  mode = 7;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).list.GetCurSel() == -1; }));
  EXPECT_EQ(7, mode);

  // A click code from a control that is no check box of a flag, and a stale id, change nothing.
  const std::size_t before = journal.size();
  EXPECT_TRUE(dlg.OnCommand(MAKEWPARAM(99, BN_CLICKED), 0));
  dlg.OnCommand(MAKEWPARAM(2, BN_CLICKED), reinterpret_cast<LPARAM>(dlg.C(1).list.m_hWnd));
  dlg.OnCommand(MAKEWPARAM(1, BN_CLICKED), reinterpret_cast<LPARAM>(dlg.C(1).list.m_hWnd));
  EXPECT_EQ(std::make_pair(7, 0), std::make_pair(mode, bypass));
  COrvekGlobals::PumpMessages(elapse + 100);
  EXPECT_EQ(before, journal.size());
}

TEST(DlgParamTuneInput, NoTimerWithoutListenersAndTheElapseComesFromTheRightPlace) {
  UINT e = 0;
  {  // Nobody listens: the variable and the dirty flag change, no timer runs.
    float level = 0.5f;
    int flag = 0;
    const tagParamInfoV2 list[] = {Param(L"Level", ePT_Float, &level, 0, 1), Param(L"Flag", ePT_Bool, &flag)};
    TestDlg dlg;
    ASSERT_TRUE(Open(dlg, list));
    QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
    QTest::mouseClick(dlg.C(1).check.GetQWidget(), Qt::LeftButton);
    EXPECT_EQ(std::make_pair(PosToFloat(129, 0, 1), 1), std::make_pair(level, flag));
    EXPECT_TRUE(dlg.IsDirty());
    EXPECT_FALSE(dlg.GetTimerElapse(1, &e) || dlg.GetTimerElapse(2, &e));
  }
  {  // A dialog-wide callback alone is a listener; its elapse is 20 ms.
    int n = 3;
    Journal journal;
    const tagParamInfoV2 list[] = {Param(L"N", ePT_Int, &n, 0, 10)};
    TestDlg dlg;
    ASSERT_TRUE(Open(dlg, list, &Note<'a', int>, &journal));
    QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
    EXPECT_EQ(4, n);
    EXPECT_EQ(L"4", TextOf(dlg.C(0).valueText));
    EXPECT_TRUE(dlg.GetTimerElapse(1, &e) && e == 20u) << e;
    ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));
    EXPECT_EQ(4.0, journal.entries[0].seen);
  }
  {  // A notification object: its elapse unless an elapse callback is set; a change reaches it twice, through the
     // parameter's callback and the dialog-wide one.
    float x = 0.0f;
    Notify notify;
    TestDlg dlg;
    dlg.CreateEmpty(&notify);
    dlg.AddParam(&x, L"x", 0.0f, 1.0f, &notify);
    ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 1; }));
    ASSERT_TRUE(ShowAndActivate(dlg));
    unsigned int zero = 0;
    // {elapse callback, elapse armed (handed on as it came), changes heard}
    for (auto [fn, armed, heard] : std::initializer_list<std::tuple<decltype(&ElapseOf), UINT, std::size_t>>{
             {nullptr, 120, 2}, {&ElapseOf, 0, 4}, {nullptr, 120, 6}}) {
      dlg.SetNotifyElapseFunc(fn, &zero);
      QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
      EXPECT_TRUE(dlg.GetTimerElapse(1, &e) && e == armed) << e;
      ASSERT_TRUE(WaitFor([&] { return notify.changes.size() == heard; }));
    }
    EXPECT_EQ(std::vector<void*>(6, &x), notify.changes);
  }
}

TEST(DlgParamTuneInput, HostWritesReachTheControlsUnlessFocusedOrBehindAnOpenList) {
  float a = 0.0f, b = 0.0f;
  int flag = 0, n = 5, mode = 1;
  tagParamChoice choices[] = {{1, L"one"}, {2, L"two"}};
  const tagParamInfoV2 list[] = {Param(L"Flag", ePT_Bool, &flag), Param(L"A", ePT_Float, &a, -1, 1),
                                 Param(L"Mode", ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 2),
                                 Param(L"B", ePT_Float, &b, 0, 1), Param(L"N", ePT_Int, &n, 0, 10)};
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list));
  CSliderCtrl &sa = dlg.C(1).slider, &sb = dlg.C(3).slider;

  // Pulled into bounds and shown at the next refresh, without a report.
  a = 5.0f;
  n = 50;
  flag = 1;
  ASSERT_TRUE(WaitFor([&] { return sa.GetPos() == 256 && dlg.C(4).slider.GetPos() == 10; }, 1000));
  EXPECT_EQ(std::make_pair(1.0f, 10), std::make_pair(a, n));
  EXPECT_EQ(L"1.000", TextOf(dlg.C(1).valueText));
  EXPECT_EQ(BST_CHECKED, dlg.C(0).check.GetCheck());
  EXPECT_FALSE(dlg.IsDirty());

  // A slider with the focus is left alone, value and all.
  sa.SetFocus();
  ASSERT_EQ(&sa, CWnd::GetFocus());
  a = -7.0f;
  COrvekGlobals::PumpMessages(350);
  EXPECT_EQ(std::make_pair(-7.0f, 256), std::make_pair(a, sa.GetPos()));
  dlg.C(0).check.SetFocus();
  ASSERT_TRUE(WaitFor([&] { return sa.GetPos() == 0; }, 1000));
  EXPECT_EQ(-1.0f, a);

  // An open list holds back the entries behind it, not those before it.
  dlg.C(2).list.ShowDropDown(TRUE);
  ASSERT_TRUE(WaitFor([&] { return dlg.C(2).list.GetDroppedState() != 0; }));
  a = 0.5f;
  b = 0.75f;
  mode = 2;
  ASSERT_TRUE(WaitFor([&] { return sa.GetPos() == 192; }, 1000));
  COrvekGlobals::PumpMessages(350);
  EXPECT_EQ(std::make_pair(0, 0), std::make_pair(sb.GetPos(), dlg.C(2).list.GetCurSel()));
  dlg.C(2).list.ShowDropDown(FALSE);
  ASSERT_TRUE(WaitFor([&] { return sb.GetPos() == 192 && dlg.C(2).list.GetCurSel() == 1; }, 1000));
}

TEST(DlgParamTuneInput, ListChangesFromAnotherThreadRebuildTheWindowOnItsOwnThread) {
  float base = 0.5f;
  std::vector<float> added(4, 0.25f);
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Base", ePT_Float, &base, 0, 1)};
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, &Note<'a', float>, &journal));
  const int builds = dlg.builds;
  std::atomic<bool> done{false};
  std::thread worker([&] {
    for (std::size_t i = 0; i < added.size(); ++i) {
      tagParamInfoV2 info = Param(L"Added", ePT_Float, &added[i], 0, 1);
      dlg.AddParam(&info);
      Sleep(10);
    }
    dlg.RemoveParam(&added[3]);
    dlg.RemoveParam(reinterpret_cast<void*>(0x1));  // no match: rebuilt all the same
    done = true;
  });
  // The window's thread serves its messages meanwhile. A change posted to a window that a later rebuild replaced
  // goes with it, but that rebuild read the list with the change in it: the last window shows the last list.
  const bool rebuilt = WaitFor([&] { return done.load(); }, 5000);
  worker.join();
  ASSERT_TRUE(rebuilt);
  COrvekGlobals::PumpMessages(100);
  EXPECT_GT(dlg.builds, builds);
  EXPECT_TRUE(dlg.foreignBuilds == 0 && dlg.IsWindowVisible());
  ASSERT_EQ(Sizes(4, 4), Sizes(dlg.m_params.size(), dlg.m_controls.size()));
  EXPECT_EQ(std::make_pair(std::wstring(L"Added"), 64),
            std::make_pair(TextOf(dlg.C(3).label), dlg.C(3).slider.GetPos()));
  // The list kept the callback it was built with.
  QTest::keyClick(dlg.C(2).slider.GetQWidget(), Qt::Key_Right);
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));
  EXPECT_EQ(&added[1], journal.entries[0].value);
}

TEST(DlgParamTuneInput, ARebuildDropsTheNotificationThatWasDue) {
  float gain = 0.0f;
  int later = 0;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Gain", ePT_Float, &gain, 0, 1, &Note<'o', float>, &journal)};
  unsigned int elapse = 300;
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, nullptr, nullptr, &elapse));
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
  const float moved = gain;
  EXPECT_GT(moved, 0.0f);
  tagParamInfoV2 info = Param(L"Later", ePT_Bool, &later);
  dlg.AddParam(&info);
  EXPECT_FALSE(dlg.IsDirty());  // a new list counts as saved
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 2; }));
  COrvekGlobals::PumpMessages(elapse + 300);
  EXPECT_EQ(0u, journal.size());
  EXPECT_EQ(moved, gain);

  // The rebuild message sent rather than posted takes its callback along.
  Journal other;
  EXPECT_EQ(1, dlg.SendMessage(WM_REBUILD_PARAMS, reinterpret_cast<WPARAM>(&Note<'a', float>),
                               reinterpret_cast<LPARAM>(&other)));
  EXPECT_TRUE(dlg.IsWindowVisible());
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
  ASSERT_TRUE(WaitFor([&] { return other.size() == 1 && journal.size() == 1; }, 2000));
}

TEST(DlgParamTuneInput, ClosingDestroysAndShowWindowRebuildsFromTheSameList) {
  float level = 0.0f;
  Journal journal;
  const tagParamInfoV2 list[] = {Group(L"Main"), Param(L"Level", ePT_Float, &level, 0, 1)};
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, &Note<'a', float>, &journal));
  const HWND first = dlg.m_hWnd;

  dlg.GetQWidget()->close();  // the close box
  ASSERT_TRUE(WaitFor([&] { return !IsWindow(first); }));
  EXPECT_TRUE(dlg.m_hWnd == nullptr && !dlg.IsWindowVisible() && dlg.m_updateTimer == 0);
  dlg.HideWindow();  // no window: nothing to do

  level = 0.5f;
  dlg.ShowWindow();
  ASSERT_TRUE(IsWindow(dlg.m_hWnd) && dlg.IsWindowVisible());
  EXPECT_EQ(kTitle + L" - Main", TextOf(dlg));
  ASSERT_EQ(2u, dlg.m_controls.size());
  EXPECT_EQ(128, dlg.C(1).slider.GetPos());
  EXPECT_EQ(CDlgParamTune::ID_UPDATE_TIMER, dlg.m_updateTimer);
  level = 1.0f;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).slider.GetPos() == 256; }, 1000));
  ASSERT_TRUE(QTest::qWaitForWindowActive(dlg.GetQWidget()));
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_Left);
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));

  // Hidden, the window goes on refreshing; shown again it stays in place.
  dlg.HideWindow();
  EXPECT_FALSE(dlg.IsWindowVisible());
  level = 0.0f;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).slider.GetPos() == 0; }, 1000));
  const CRect before = WindowRect(dlg);
  const int builds = dlg.builds;
  dlg.ShowWindow();
  EXPECT_EQ(std::make_pair(before, builds), std::make_pair(WindowRect(dlg), dlg.builds.load()));

  dlg.Destroy();
  EXPECT_FALSE(IsWindow(dlg.m_hWnd));
  dlg.ShowWindow();
  EXPECT_TRUE(dlg.IsWindowVisible() && dlg.builds == builds + 1);
}

TEST(DlgParamTuneInput, TheRefreshNeverWritesBackAValueThatAHostThreadReplaced) {
  // Values inside the bounds: nothing to clamp, so a value changed under the host's hands was written back.
  float f = 0.0f;
  int n = 0;
  const tagParamInfoV2 list[] = {Param(L"f", ePT_Float, &f, 0, 1e9), Param(L"n", ePT_Int, &n, 0, INT_MAX)};
  TestDlg dlg;
  dlg.Create(list, 2, nullptr, nullptr);  // hidden, and refreshed all the same
  std::atomic<bool> stop{false};
  std::atomic<int> lost{0}, rounds{0};
  std::thread host([&] {
    for (int k = 1, before = 0; !stop.load(std::memory_order_relaxed); before = k, k = k % 1000000 + 1, ++rounds) {
      // Each variable still holds what this thread stored the round before.
      float last;
      __atomic_load(&f, &last, __ATOMIC_RELAXED);
      if (last != static_cast<float>(before) || __atomic_load_n(&n, __ATOMIC_RELAXED) != before) ++lost;
      const float next = static_cast<float>(k);
      __atomic_store(&f, &next, __ATOMIC_RELAXED);
      __atomic_store_n(&n, k, __ATOMIC_RELAXED);
    }
  });
  // The refresh tick, called as its timer calls it, as often as it can: the host's store has to land between two
  // reads of one tick to show.
  int ticks = 0;
  for (const DWORD start = GetTickCount(); GetTickCount() - start < 1000 || rounds < 1000; ++ticks)
    dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
  stop = true;
  host.join();
  EXPECT_EQ(0, lost.load()) << "in " << rounds.load() << " rounds, " << ticks << " ticks";
}

TEST(DlgParamTuneInput, ControlsAndTimersLeftFromAChangedListNeitherWriteNorReport) {
  float a = 0.0f, b = 0.0f, c = 0.0f;
  int f1 = 0, f2 = 0;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &a, 0, 1, &Note<'o', float>, &journal),
                                 Param(L"B", ePT_Float, &b, 0, 1, &Note<'o', float>, &journal),
                                 Param(L"C", ePT_Float, &c, 0, 1, &Note<'o', float>, &journal),
                                 Param(L"F1", ePT_Bool, &f1, 0, 0, &Note<'o', int>, &journal),
                                 Param(L"F2", ePT_Bool, &f2, 0, 0, &Note<'o', int>, &journal)};
  unsigned int elapse = 60000;  // expires only when the test says so
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list, nullptr, nullptr, &elapse));
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_Right);  // B's pacing timer, id 2
  const float movedB = b;
  UINT armed = 0;
  ASSERT_TRUE(dlg.GetTimerElapse(2, &armed));

  // A host thread takes A out. Until the posted rebuild runs, index 0 names B, 1 names C and 3 names F2, while
  // the old controls still stand there.
  std::thread([&] { dlg.RemoveParam(&a); }).join();
  ASSERT_EQ(Sizes(4, 5), Sizes(dlg.m_params.size(), dlg.m_controls.size()));
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_End);      // A's slider
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_End);      // B's slider
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);  // F1's box
  dlg.OnTimer(2);                                                  // B's timer expires
  dlg.OnParamChangeNotify(1);
  dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
  EXPECT_EQ(std::make_tuple(0.0f, movedB, 0.0f, 0, 0), std::make_tuple(a, b, c, f1, f2));
  EXPECT_FALSE(dlg.GetTimerElapse(2, &armed));

  // Rebuilt, each control writes and reports its own variable again.
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 4; }));
  EXPECT_EQ(0u, journal.size());
  ASSERT_TRUE(QTest::qWaitForWindowActive(dlg.GetQWidget()));
  elapse = 0;
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_End);
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(std::make_tuple(1.0f, 1, 0), std::make_tuple(c, f2, f1));
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 2; }));
  const std::set<void*> told{journal.entries[0].value, journal.entries[1].value};
  EXPECT_EQ((std::set<void*>{&c, &f2}), told);
}

QLineEdit* Editor(CDlgParamTune& dlg) {
  return dlg.GetQWidget()->findChild<QLineEdit*>(QStringLiteral("orvekValueEditor"));
}

// Types into the open editor and ends with the key.
void TypeAndPress(CDlgParamTune& dlg, const char* text, Qt::Key key) {
  QLineEdit* e = Editor(dlg);
  ASSERT_NE(nullptr, e);
  e->selectAll();
  QTest::keyClicks(e, QString::fromLatin1(text));
  QTest::keyClick(e, key);
  COrvekGlobals::PumpMessages(10);
}

TEST(DlgParamTuneTyped, TypedValuesAreExactClampedPacedAndSurviveTheRefresh) {
  // A generator's frequency, 10 to 5000 Hz: the slider steps by 19.49 Hz.
  float freq = 1000.0f;
  int taps = 4;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Freq", ePT_Float, &freq, 10, 5000, &Note<'o'>, &journal),
                                 Param(L"Taps", ePT_Int, &taps, 0, 64, &Note<'o'>, &journal)};
  TestDlg dlg;
  ASSERT_TRUE(Open(dlg, list));
  auto* label = static_cast<QLabel*>(dlg.C(0).valueText.GetQWidget());

  QTest::mouseDClick(label, Qt::LeftButton, {}, label->rect().center());
  ASSERT_EQ(0, dlg.GetEditedParam());
  ASSERT_NE(nullptr, Editor(dlg));
  EXPECT_EQ(QStringLiteral("1000"), Editor(dlg)->text());
  // The host writes while the user types: the editor keeps its text, and the entry under it waits.
  Editor(dlg)->setText(QStringLiteral("44"));
  freq = 2000.0f;
  COrvekGlobals::PumpMessages(250);
  EXPECT_EQ(QStringLiteral("44"), Editor(dlg)->text());
  EXPECT_EQ(L"1000", TextOf(dlg.C(0).valueText));
  EXPECT_FALSE(dlg.IsDirty());

  // Escape leaves the variable alone.
  QTest::keyClick(Editor(dlg), Qt::Key_Escape);
  COrvekGlobals::PumpMessages(10);
  EXPECT_EQ(-1, dlg.GetEditedParam());
  EXPECT_EQ(2000.0f, freq);
  EXPECT_FALSE(dlg.IsDirty());
  EXPECT_TRUE(WaitFor([&] { return TextOf(dlg.C(0).valueText) == L"2000"; }));

  // Enter writes the exact value between two slider positions, dirty, one paced callback; the refresh neither
  // snaps nor clamps it.
  ASSERT_TRUE(dlg.EditParamValue(0));
  TypeAndPress(dlg, "440", Qt::Key_Return);
  EXPECT_EQ(-1, dlg.GetEditedParam());
  EXPECT_EQ(440.0f, freq);
  EXPECT_TRUE(dlg.IsDirty());
  EXPECT_EQ(FloatToPos(440.0f, 10, 5000), dlg.C(0).slider.GetPos());
  ASSERT_TRUE(WaitFor([&] { return journal.size() == 1; }));
  COrvekGlobals::PumpMessages(250);
  EXPECT_EQ(440.0f, freq);
  EXPECT_EQ(1u, journal.size());
  EXPECT_EQ(L"440", TextOf(dlg.C(0).valueText));

  // {typed, value, editor still open, callbacks}: no number keeps the editor open and writes nothing; out of
  // bounds is clamped; the same value again reports nothing.
  for (auto [typed, expected, open, calls] :
       std::initializer_list<std::tuple<const char*, float, bool, std::size_t>>{{"abc", 440.0f, true, 1},
                                                                                {"99999", 5000.0f, false, 2},
                                                                                {"5000", 5000.0f, false, 2},
                                                                                {"-3,5", 10.0f, false, 3}}) {
    ASSERT_TRUE(dlg.GetEditedParam() == 0 || dlg.EditParamValue(0));
    TypeAndPress(dlg, typed, Qt::Key_Enter);
    EXPECT_EQ(open, dlg.GetEditedParam() == 0) << typed;
    EXPECT_EQ(expected, freq) << typed;
    COrvekGlobals::PumpMessages(80);
    EXPECT_EQ(calls, journal.size()) << typed;
  }

  // The keyboard: Enter on the focused slider opens its editor, arrow keys move one position, Page keys a fifth.
  auto* slider = static_cast<QSlider*>(dlg.C(1).slider.GetQWidget());
  slider->setFocus(Qt::MouseFocusReason);
  QTest::keyClick(slider, Qt::Key_Return);
  ASSERT_EQ(1, dlg.GetEditedParam());
  TypeAndPress(dlg, "12.6", Qt::Key_Return);
  EXPECT_EQ(std::make_pair(13, 13), std::make_pair(taps, dlg.C(1).slider.GetPos()));
  ASSERT_TRUE(slider->hasFocus());
  QTest::keyClick(slider, Qt::Key_Right);
  EXPECT_EQ(14, taps);
  QTest::keyClick(slider, Qt::Key_PageUp);
  EXPECT_EQ(14 + 64 / 5, taps);
  auto* freqSlider = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  freqSlider->setFocus(Qt::MouseFocusReason);
  QTest::keyClick(freqSlider, Qt::Key_PageUp);
  EXPECT_EQ(256 / 5, freqSlider->value());
  EXPECT_EQ(PosToFloat(256 / 5, 10, 5000), freq);
  EXPECT_FALSE(dlg.EditParamValue(5));
}

TEST(DlgParamTuneTyped, LogarithmicSliderTitleAndValueFile) {
  float freq = 440.0f, gain = 0.5f;
  const tagParamInfoV2 list[] = {Param(L"Freq", ePT_LogFloat, &freq, 10, 5000), Param(L"Gain", ePT_Float, &gain, 0, 1)};
  TestDlg dlg;
  EXPECT_EQ(std::wstring(L"%f"), dlg.GetTypeFormatString(ePT_LogFloat));
  dlg.SetTitle(L"Generator");
  dlg.Create(list, 2, nullptr, nullptr);
  EXPECT_EQ(L"Generator", TextOf(dlg));
  dlg.SetTitle(nullptr);
  EXPECT_EQ(kTitle, TextOf(dlg));
  TestDlg single;
  const tagParamInfoV2 grouped[] = {Group(L"Output"), Param(L"Gain", ePT_Float, &gain, 0, 1)};
  single.Create(grouped, 2, nullptr, nullptr);
  single.SetTitle(L"Generator");
  EXPECT_EQ(L"Generator - Output", TextOf(single));
  ASSERT_TRUE(ShowAndActivate(dlg));

  EXPECT_EQ(LogFloatToPos(440.0f, 10, 5000), dlg.C(0).slider.GetPos());
  EXPECT_EQ(L"440.0", TextOf(dlg.C(0).valueText));
  auto* q = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  q->setFocus(Qt::MouseFocusReason);
  for (Qt::Key key : {Qt::Key_Home, Qt::Key_End}) {
    QTest::keyClick(q, key);
    EXPECT_EQ(key == Qt::Key_Home ? 10.0f : 5000.0f, freq);
  }
  QTest::keyClick(q, Qt::Key_Left);
  EXPECT_EQ(LogPosToFloat(255, 10, 5000), freq);
  EXPECT_NEAR(5000.0 / std::pow(500.0, 1.0 / 256), freq, 0.01);

  // Stored as a float is.
  freq = 440.0f;
  const std::string path = TestFile("log_kind.ini");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  EXPECT_NE(std::string::npos, readFile(path).find("Freq=440.000000\r\n"));
  freq = 20.0f;
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_EQ(440.0f, freq);
}

// One line, inside the control, with the whole text in the tooltip when it had to be cut; exits with 3 if not.
void CheckFits(QWidget* w, const QString& whole, const char* what) {
  const QFontMetricsF fm(w->font());
  QString shown;
  int room = w->contentsRect().width();
  bool wraps = false;
  if (auto* label = qobject_cast<QLabel*>(w)) {
    shown = label->text();
    wraps = label->wordWrap();
  } else if (auto* box = qobject_cast<QCheckBox*>(w)) {
    shown = box->text();
    room -= box->style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, box) +
            box->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, box);
  }
  const bool fits = fm.horizontalAdvance(shown) <= room && fm.height() <= w->height() && !shown.contains('\n');
  if (wraps || !fits || (shown == whole ? !w->toolTip().isEmpty() : w->toolTip() != whole)) {
    std::fprintf(stderr, "%s: \"%s\" in %d px, tip \"%s\"\n", what, qPrintable(shown), room, qPrintable(w->toolTip()));
    std::_Exit(3);
  }
}

void FitScenario() {
  alarm(60);
  if (COrvekGlobals::StartUp() != S_OK) std::_Exit(4);
  // Every number of decimals the value rules give, signs, wide integers, the logarithmic kind, and long names.
  const std::tuple<eParamTypeV2, double, double> ranges[] = {
      {ePT_Float, 0, 1},        {ePT_Float, -1, 1},       {ePT_Float, 0, 10},          {ePT_Float, -100, 100},
      {ePT_Float, 10, 5000},    {ePT_Float, 0, 0.01},     {ePT_Float, -0.001, 0.001},  {ePT_Int, -100000, 100000},
      {ePT_LogFloat, 10, 5000}, {ePT_LogFloat, 0.001, 1}, {ePT_Int, INT_MIN, INT_MAX}, {ePT_Float, -1e30, 1e30},
      {ePT_Float, 0, 3e38}};
  constexpr int kRanges = sizeof ranges / sizeof ranges[0];
  float floats[kRanges] = {};
  int ints[kRanges] = {}, flag = 0, mode = 0;
  std::vector<tagParamInfoV2> list;
  for (int i = 0; i < kRanges; ++i) {
    const auto [kind, lo, hi] = ranges[i];
    void* v = kind == ePT_Int ? static_cast<void*>(&ints[i]) : static_cast<void*>(&floats[i]);
    list.push_back(Param(i == 0 ? L"Oscillator frequency" : L"Gain", kind, v, lo, hi));
  }
  tagParamChoice choices[] = {{0, L"Sine"}};
  list.push_back(Param(L"Bypass the whole filter bank while tuning the gain", ePT_Bool, &flag));
  list.push_back(Param(L"Waveform of the generator", ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 1));
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), nullptr, nullptr);
  dlg.ShowWindow();
  COrvekGlobals::PumpMessages(50);
  if (QFontInfo(dlg.C(0).valueText.GetQWidget()->font()).family() != QStringLiteral("Liberation Sans")) std::_Exit(5);
  // The default cell keeps its sizes where the text fits.
  if (ClientRectOf(dlg, dlg.C(0).valueText).Width() != 30 || ClientRectOf(dlg, dlg.C(0).slider).Width() != 120)
    std::_Exit(6);
  for (int end = 0; end < 2; ++end) {
    for (int i = 0; i < kRanges; ++i) {
      const double b = end ? std::get<2>(ranges[i]) : std::get<1>(ranges[i]);
      if (std::get<0>(ranges[i]) == ePT_Int)
        ints[i] = static_cast<int>(b);
      else
        floats[i] = static_cast<float>(b);
    }
    COrvekGlobals::PumpMessages(250);  // two refreshes
    for (int i = 0; i < kRanges; ++i) {
      CheckFits(dlg.C(i).valueText.GetQWidget(), QString::fromStdWString(TextOf(dlg.C(i).valueText)), "value");
      const CRect v = ClientRectOf(dlg, dlg.C(i).valueText), s = ClientRectOf(dlg, dlg.C(i).slider);
      if (s.right != v.left || v.right - s.left != 150) std::_Exit(7);
    }
  }
  CheckFits(dlg.C(0).label.GetQWidget(), QStringLiteral("Oscillator frequency"), "label");
  CheckFits(dlg.C(1).label.GetQWidget(), QStringLiteral("Gain"), "short label");
  CheckFits(dlg.C(kRanges).check.GetQWidget(), QString::fromWCharArray(list[kRanges].pszName), "check box");
  CheckFits(dlg.C(kRanges + 1).label.GetQWidget(), QString::fromWCharArray(list[kRanges + 1].pszName), "list label");
  if (TextOf(dlg.C(0).label) != L"Oscillator frequency") std::_Exit(8);
  std::exit(0);
}

TEST(DlgParamTuneTyped, NoTextWrapsOrClipsAtScales1And15And2) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* scale : {"1", "1.5", "2"}) {
    setenv("QT_SCALE_FACTOR", scale, 1);
    EXPECT_EXIT(FitScenario(), ::testing::ExitedWithCode(0), "") << "scale " << scale;
  }
  unsetenv("QT_SCALE_FACTOR");
}

const std::string kHead = "CDlgParamTune configuration file\r\nEdit at your own risk.\r\n\r\n";

// The host of the example: its variables and its list.
struct ExampleHost {
  float level = 0.25f, gainFilter = -3.5f, gainOutput = 1.0f;
  int bypass = 1, taps = 16, mode = 2;
  tagParamChoice choices[3] = {{1, L"one"}, {2, L"two"}, {3, L"three"}};
  Journal heard;
  std::vector<tagParamInfoV2> List() {
    return {Param(L"Level", ePT_Float, &level, 0, 1, &Note<'o'>, &heard),
            Group(L"Filter"),
            Param(L"Gain", ePT_Float, &gainFilter, -10, 10, &Note<'o'>, &heard),
            Param(L"Bypass", ePT_Bool, &bypass, 0, 0, &Note<'o'>, &heard),
            Param(L"Taps", ePT_Int, &taps, 0, 64, &Note<'o'>, &heard),
            Param(L"Mode", ePT_List, &mode, 0, 0, &Note<'o'>, &heard, choices, 3),
            Group(L"Spare"),
            Group(L"Output"),
            Param(L"Gain", ePT_Float, &gainOutput, -10, 10, &Note<'o'>, &heard)};
  }
};

const std::string kExampleFile = kHead + "[Ungrouped]\r\nLevel=0.250000\r\n" +
                                 "[Filter]\r\nGain=-3.500000\r\nBypass=1\r\nTaps=16\r\nMode=2\r\n" +
                                 "[Output]\r\nGain=1.000000\r\n";

TEST(DlgParamTuneFiles, SaveWritesTheHeadAndTheSectionsInListOrder) {
  ExampleHost host;
  TestDlg dlg;  // no window: the files need none
  for (tagParamInfoV2 p : host.List()) dlg.AddParam(&p);
  const std::string path = TestFile("example_values.ini"), widePath = TestFile("example_values_wide.ini");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  EXPECT_EQ(kExampleFile, readFile(path));
  // The wide form writes the same; a save keeps nothing of the old file.
  writeFile(widePath, "[Ungrouped]\r\nOld=1\r\n");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(std::wstring(widePath.begin(), widePath.end()).c_str()));
  EXPECT_EQ(kExampleFile, readFile(widePath));

  // An empty list and a list of groups alone write the head only; six decimals make a small float zero.
  float tiny = 0.0000004f, fine = 0.1234567f;
  std::vector<tagParamInfoV2> lists[] = {
      {}, {Group(L"Only")}, {Param(L"Tiny", ePT_Float, &tiny, 0, 1), Param(L"Fine", ePT_Float, &fine, 0, 1)}};
  const std::string written[] = {kHead, kHead, kHead + "[Ungrouped]\r\nTiny=0.000000\r\nFine=0.123457\r\n"};
  for (int i = 0; i < 3; ++i) {
    TestDlg other;
    for (tagParamInfoV2& p : lists[i]) other.AddParam(&p);
    ASSERT_EQ(S_OK, other.SaveParamValues(path.c_str()));
    EXPECT_EQ(written[i], readFile(path)) << i;
  }

  // A file that cannot be made: E_FAIL. A bare name means a file beside the application.
  EXPECT_EQ(E_FAIL, dlg.SaveParamValues(TestFile("no_such_folder/values.ini").c_str()));
  EXPECT_EQ(E_FAIL, dlg.SaveParamValues(static_cast<const char*>(nullptr)));
  ASSERT_EQ(S_OK, dlg.SaveParamValues("tuning_beside_app.ini"));
  const std::string beside =
      CStringA(COrvekGlobals::GetApplicationPath()).GetString() + std::string("tuning_beside_app.ini");
  EXPECT_EQ(kExampleFile, readFile(beside));
  std::remove(beside.c_str());

  // A disk that fills up during the save: the write error reaches the caller, and the old file stays whole, with
  // nothing left beside it.
  const std::string full = TestFile("values_full_disk.ini"), old = kHead + "[Ungrouped]\r\nOld=1\r\n";
  writeFile(full, old);
  std::vector<float> many(200, 0.5f);
  std::vector<std::wstring> names;
  TestDlg big;
  for (std::size_t i = 0; i < many.size(); ++i) names.push_back(L"Value" + std::to_wstring(i));
  for (std::size_t i = 0; i < many.size(); ++i) {
    tagParamInfoV2 p = Param(names[i].c_str(), ePT_Float, &many[i], 0, 1);
    big.AddParam(&p);
  }
  EXPECT_TRUE(raisesOnFullDisk([&] { (void)big.SaveParamValues(full.c_str()); }, 1024));
  EXPECT_EQ(old, readFile(full));
  for (const std::string& name : namesIn(ORVEK_TEST_BINARY_DIR))
    EXPECT_EQ(std::string::npos, name.find("values_full_disk.ini.")) << name;
}

TEST(DlgParamTuneFiles, LoadChangesAndReportsOnlyWhatDiffers) {
  ExampleHost host;
  std::vector<tagParamInfoV2> list = host.List();
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), &Note<'a'>, &host.heard);
  const std::string path = TestFile("load_values.ini");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  // Loading what was just saved changes nothing and reports nothing.
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_EQ(0u, host.heard.size());

  // The user touches a control; the dirty flag survives a load.
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(0, host.bypass);
  EXPECT_TRUE(dlg.IsDirty());
  COrvekGlobals::PumpMessages(100);  // its paced report
  host.heard.entries.clear();

  // The head is not needed; unknown keys and sections are passed over; a value outside the bounds is taken and
  // reported; a list value that is no choice stays; a key with no number is passed over.
  writeFile(path,
            "[Ungrouped]\r\nLevel=3.0\r\nStray=1\r\n[Filter]\r\nGain=-3.500000\r\nBypass=1\r\nTaps=x\r\nMode=9\r\n"
            "[Elsewhere]\r\nGain=4\r\n[Output]\r\nGain=1.000000\r\n");
  ASSERT_EQ(S_OK, dlg.LoadParamValues(std::wstring(path.begin(), path.end()).c_str()));
  EXPECT_EQ(std::make_tuple(3.0f, -3.5f, 1, 16, 9, 1.0f),
            std::make_tuple(host.level, host.gainFilter, host.bypass, host.taps, host.mode, host.gainOutput));
  const std::vector<std::pair<char, void*>> expected{{'o', &host.level},  {'a', &host.level}, {'o', &host.bypass},
                                                     {'a', &host.bypass}, {'o', &host.mode},  {'a', &host.mode}};
  EXPECT_EQ(expected, host.heard.Calls());
  EXPECT_TRUE(dlg.IsDirty());

  // The next refresh pulls the level back and shows the list without a selection, without a further report.
  ASSERT_TRUE(WaitFor([&] { return host.level == 1.0f && dlg.C(5).list.GetCurSel() == -1; }, 1000));
  EXPECT_EQ(9, host.mode);
  EXPECT_EQ(BST_CHECKED, dlg.C(3).check.GetCheck());
  COrvekGlobals::PumpMessages(150);
  EXPECT_EQ(6u, host.heard.size());

  // A save forgets the stray keys and clears the flag.
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  EXPECT_FALSE(dlg.IsDirty());
  EXPECT_EQ(std::string::npos, readFile(path).find("Stray"));
  EXPECT_EQ(std::string::npos, readFile(path).find("Elsewhere"));

  // A missing file changes nothing.
  host.heard.entries.clear();
  EXPECT_EQ(S_OK, dlg.LoadParamValues(TestFile("no_such_values.ini").c_str()));
  EXPECT_EQ(S_OK, dlg.LoadParamValues(static_cast<const wchar_t*>(nullptr)));
  EXPECT_EQ(0u, host.heard.size());
  EXPECT_EQ(std::make_pair(1.0f, 9), std::make_pair(host.level, host.mode));

  // More than six decimals come back rounded, and so are reported.
  host.level = 0.1234567f;
  host.gainOutput = 0.25f;
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_EQ(0.123457f, host.level);
  ASSERT_EQ(2u, host.heard.size());
  EXPECT_EQ(&host.level, host.heard.entries[0].value);
}

TEST(DlgParamTuneFiles, LoadFromAnotherThreadReportsThereUnderTheDialogsLock) {
  ExampleHost host;
  std::vector<tagParamInfoV2> list = host.List();
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), &Note<'a'>, &host.heard);
  ASSERT_TRUE(ShowAndActivate(dlg));
  const std::string path = TestFile("thread_values.ini");
  writeFile(path, kHead + "[Filter]\r\nTaps=32\r\n[Output]\r\nGain=-2.000000\r\n");
  std::atomic<bool> done{false};
  std::thread::id loader;
  std::thread worker([&] {
    loader = std::this_thread::get_id();
    EXPECT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
    done = true;
  });
  const bool finished = WaitFor([&] { return done.load(); }, 5000);  // the refresh runs meanwhile
  worker.join();
  ASSERT_TRUE(finished);
  EXPECT_EQ(std::make_pair(32, -2.0f), std::make_pair(host.taps, host.gainOutput));
  ASSERT_EQ(4u, host.heard.size());
  for (const auto& e : host.heard.entries) EXPECT_EQ(loader, e.thread);
  ASSERT_TRUE(WaitFor([&] { return dlg.C(4).slider.GetPos() == 32; }, 1000));
}

// A host thread's saves and new entries clear the dirty flag while the window's thread reads it (a race under
// the thread sanitizer otherwise).
TEST(DlgParamTuneFiles, DirtyFlagIsReadBesideSavesOnAnotherThread) {
  float level = 0.5f;
  TestDlg dlg;
  const std::string path = TestFile("dirty_values.ini");
  std::atomic<bool> done{false};
  std::thread host([&] {
    for (int i = 0; i < 20; ++i) {
      tagParamInfoV2 p = Param(L"Level", ePT_Float, &level, 0, 1);
      dlg.AddParam(&p);
      EXPECT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
    }
    done = true;
  });
  while (!done) EXPECT_FALSE(dlg.IsDirty());
  host.join();
  EXPECT_FALSE(dlg.IsDirty());
}

// Hostile arguments to every entry point: each call returns with a defined result. The table runs in a child
// process, so that a crash or a sanitizer's stop fails this test, naming its row.
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Opens the layout operations, and can answer them as no list would: every count and offset at an int's limits.
class Probe : public TestDlg {
 public:
  bool wild = false;
  void Columns(int nItems, int nGroups, int* c, int* r) { CDlgParamTune::GetColumnsRawsAmount(nItems, nGroups, c, r); }
  void Caption(int c, int r, int g, int* x, int* y) { CDlgParamTune::UpdateWindowRectCaption(c, r, g, x, y); }

 protected:
  void GetColumnsRawsAmount(int nItems, int nGroups, int* c, int* r) override {
    CDlgParamTune::GetColumnsRawsAmount(nItems, nGroups, c, r);
    if (wild) *c = *r = INT_MAX;
  }
  void UpdateWindowRectCaption(int c, int r, int g, int* x, int* y) override {
    TestDlg::UpdateWindowRectCaption(c, r, g, x, y);
    if (wild) *x = INT_MAX, *y = INT_MIN;
  }
};

unsigned int Longest(void*, void*) { return UINT_MAX; }

int g_failed = 0;  // rows failed in the child
#define CHECK(cond) \
  if (!(cond)) return (void)(++g_failed, std::fprintf(stderr, "  failed, line %d: %s\n", __LINE__, #cond))

const std::pair<const char*, void (*)()> kRows[] = {
    {"Create refuses a null list with a count, negative and oversized counts",
     [] {
       float x = 0.5f;
       int n = 3;
       const tagParamInfoV2 one[] = {Param(L"x", ePT_Float, &x, 0, 1)};
       const tagParamInfo old[] = {{L"n", ePT_Int, &n, 0, 10, nullptr, nullptr}};
       const tagParamInfoV2* noV2 = nullptr;
       const tagParamInfo* noOld = nullptr;
       TestDlg dlg;
       for (int count : {3, -2, INT_MIN, 1000000, INT_MAX}) {
         dlg.Create(count == 3 ? noV2 : one, count, &Note<'o'>, nullptr);
         dlg.Create(count == 3 ? noOld : old, count, &Note<'o'>, nullptr);
         CHECK(dlg.m_params.empty() && dlg.m_hWnd == nullptr);
       }
       dlg.Create(one, 1, nullptr, nullptr);
       const HWND built = dlg.m_hWnd;
       dlg.Create(noV2, -1, nullptr, nullptr);
       CHECK(dlg.m_params.size() == 1 && dlg.m_hWnd == built && IsWindow(built));
       dlg.Create(noV2, 0, nullptr, nullptr);  // keeps the list
       CHECK(dlg.m_params.size() == 1 && dlg.m_controls.size() == 1);
       dlg.Create(noOld, 0, nullptr, nullptr);  // empties it
       CHECK(dlg.m_params.empty() && IsWindow(dlg.m_hWnd));
     }},
    {"Bounds that are no number, infinite, crossed or beyond an int; null names, variables and choices",
     [] {
       float fNaN = 0.5f, fInf = 0.5f, fRev = 0.5f;
       int wide = 12345, beyond = 5, nanInt = 7, a = 2, b = 3;
       tagParamChoice wildChoices[] = {{kNaN, L"nan"}, {1e300, nullptr}, {-kInf, L"-inf"}};
       const tagParamInfoV2 list[] = {Group(nullptr),
                                      Param(nullptr, ePT_Float, &fNaN, kNaN, kNaN),
                                      Param(L"inf", ePT_Float, &fInf, -kInf, kInf),
                                      Param(L"rev", ePT_Float, &fRev, 1, -1),
                                      Param(L"wide", ePT_Int, &wide, INT_MIN, INT_MAX),
                                      Param(L"beyond", ePT_Int, &beyond, -1e300, kInf),
                                      Param(L"nanInt", ePT_Int, &nanInt, kNaN, kNaN),
                                      Param(L"nullFloat", ePT_Float, nullptr, 0, 1),
                                      Param(L"nullFlag", ePT_Bool, nullptr),
                                      Param(L"kind77", static_cast<eParamTypeV2>(77), &a),
                                      Param(L"kind-1", static_cast<eParamTypeV2>(-1), &a),
                                      Param(L"negativeCount", ePT_List, &a, 0, 0, nullptr, nullptr, nullptr, -5),
                                      Param(L"nullChoices", ePT_List, &a, 0, 0, nullptr, nullptr, nullptr, 1000),
                                      Param(L"wildChoices", ePT_List, &b, 0, 0, nullptr, nullptr, wildChoices, 3)};
       constexpr int n = sizeof list / sizeof list[0];
       Journal calls;
       TestDlg dlg;
       dlg.Create(list, n, &Note<'o'>, &calls);
       dlg.SetNotifyElapseFunc(&Longest, nullptr);
       dlg.ShowWindow();
       for (int k = 0; k < 3; ++k) dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
       CHECK(dlg.m_controls.size() == static_cast<std::size_t>(n));
       // The upper bound wins where the bounds do not order the value.
       CHECK(std::isnan(fNaN) && fInf == 0.5f && fRev == -1.0f);
       CHECK(wide == 12345 && dlg.C(4).slider.GetPos() == 12345 && beyond == 5 && nanInt == 0);
       CHECK(dlg.C(13).list.GetCurSel() == -1 && dlg.C(12).list.GetCount() == 0);
       b = INT_MAX;  // 1e300 truncated
       dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
       CHECK(dlg.C(13).list.GetCurSel() == 1);
       // The slider of all the ints moves to both ends, and the longest pacing is handed on as it came.
       QWidget* slider = dlg.C(4).slider.GetQWidget();
       QTest::keyClick(slider, Qt::Key_End);
       CHECK(wide == INT_MAX);
       QTest::keyClick(slider, Qt::Key_Home);
       QTest::keyClick(slider, Qt::Key_PageDown);
       QTest::keyClick(slider, Qt::Key_Home);
       CHECK(wide == INT_MIN);
       UINT elapse = 0;
       CHECK(dlg.GetTimerElapse(5, &elapse) && elapse == UINT_MAX);
       QTest::keyClick(dlg.C(3).slider.GetQWidget(), Qt::Key_End);
       CHECK(fRev == -1.0f);
       // Files and later bounds take the same values.
       CHECK(dlg.SaveParamValues(TestFile("hostile.ini").c_str()) == S_OK);
       CHECK(dlg.LoadParamValues(TestFile("hostile.ini").c_str()) == S_OK);
       dlg.SetParamRange(&fInf, kNaN, -kInf);
       dlg.SetParamRange(nullptr, kNaN, kNaN);  // the nameless group header
       dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
       CHECK(fInf == -std::numeric_limits<float>::infinity());
       dlg.RemoveParam(nullptr);
       COrvekGlobals::PumpMessages(50);
       CHECK(dlg.m_controls.size() == static_cast<std::size_t>(n - 1));
     }},
    {"Layout operations take any counts and sizes",
     [] {
       float x = 0.5f;
       const tagParamInfoV2 list[] = {Param(L"x", ePT_Float, &x, 0, 1), Group(L"g"), Param(L"y", ePT_Float, &x, 0, 1)};
       Probe dlg;
       dlg.Create(list, 3, nullptr, nullptr);
       int c = -1, r = -1, ox = -1, oy = -1;
       dlg.Columns(INT_MAX, 2, nullptr, nullptr);
       dlg.Columns(INT_MIN, 2, &c, &r);
       CHECK(c == 0 && r == 0);
       dlg.Caption(INT_MAX, INT_MAX, 2, nullptr, nullptr);
       CRect rect;
       dlg.GetWindowRect(&rect);
       CHECK(rect.Width() > 0 && rect.Width() <= (1 << 24) + 100 && rect.Height() <= (1 << 24) + 100);
       dlg.Caption(INT_MIN, -1, 2, &ox, &oy);
       CHECK(ox >= 15 && oy >= 15);
       // A derived layout at the limits still builds every control.
       dlg.wild = true;
       dlg.Create(list, 3, nullptr, nullptr);
       CHECK(dlg.m_controls.size() == 3 && IsWindow(dlg.C(2).slider.m_hWnd));
     }},
    {"Operations without a window, with null pointers, stale indexes and unknown kinds",
     [] {
       TestDlg dlg;
       for (int i : {-1, 0, INT_MAX}) dlg.OnParamChangeNotify(i);
       for (UINT id : {0u, 1u, UINT_MAX, static_cast<UINT>(CDlgParamTune::ID_UPDATE_TIMER)}) dlg.OnTimer(id);
       CHECK(!dlg.PreTranslateMessage(nullptr));
       dlg.RemoveParam(nullptr);
       dlg.SetParamRange(nullptr, kNaN, kInf);
       dlg.SetNotifyElapseFunc(nullptr, nullptr);
       for (int kind : {-1, 6, 77, INT_MAX}) CHECK(*dlg.GetTypeFormatString(static_cast<eParamTypeV2>(kind)) == 0);
       dlg.HideWindow();
       dlg.Destroy();
       CHECK(dlg.IsWindowVisible() == 0);
       dlg.AddParam(static_cast<tagParamInfoV2*>(nullptr));
       dlg.AddParam(static_cast<int*>(nullptr), nullptr, static_cast<CDlgParamTuneNotify*>(nullptr));
       dlg.AddParam(static_cast<float*>(nullptr), nullptr, NAN, -INFINITY, nullptr);
       CHECK(dlg.m_params.size() == 2 && dlg.m_hWnd == nullptr);
       dlg.ShowWindow();
       CHECK(dlg.IsWindowVisible() && dlg.m_controls.size() == 2);
       dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
       for (int i : {-1, 0, 1, 2, INT_MAX}) dlg.OnParamChangeNotify(i);
       dlg.CreateEmpty(nullptr);
       CHECK(dlg.m_params.empty() && IsWindow(dlg.m_hWnd));
       dlg.Destroy();
       dlg.Destroy();
       CHECK(dlg.m_hWnd == nullptr);
     }},
    {"Value files with null, empty, folder, missing and unencodable paths",
     [] {
       int n = 3;
       const tagParamInfoV2 list[] = {Param(L"n", ePT_Int, &n, 0, 10)};
       TestDlg dlg;
       dlg.Create(list, 1, nullptr, nullptr);
       for (const char* path : {static_cast<const char*>(nullptr), "", "/", "/no-such-folder-here/x.ini"}) {
         CHECK(dlg.SaveParamValues(path) == E_FAIL);
         CHECK(dlg.LoadParamValues(path) == S_OK);
       }
       CHECK(dlg.SaveParamValues(static_cast<const wchar_t*>(nullptr)) == E_FAIL);
       CHECK(dlg.LoadParamValues(static_cast<const wchar_t*>(nullptr)) == S_OK);
       const wchar_t odd[] = {0xD800, 0x110000, L'.', L'i', L'n', L'i', 0};
       CHECK(dlg.SaveParamValues(odd) == S_OK);
       n = 9;
       CHECK(dlg.LoadParamValues(TestFile(CStringA(odd).GetString()).c_str()) == S_OK);
       std::remove(TestFile(CStringA(odd).GetString()).c_str());
       CHECK(n == 3);
     }},
};

TEST(DlgParamTuneArguments, EveryEntryPointReturnsWithADefinedResult) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        for (const auto& [name, run] : kRows) {
          std::fprintf(stderr, "[%s]\n", name);  // a crash names its row
          run();
        }
        std::fflush(stderr);
        std::_Exit(g_failed);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace

// The dialog at work: real input on its controls, pacing of the host's
// callbacks, the refresh from the host's variables, rebuilds and closing.
#include <QAbstractItemView>
#include <QComboBox>
#include <QSlider>

#include <climits>

#include "DialogTest.h"

namespace {

using ParamRules::FloatText;
using ParamRules::PosToFloat;

unsigned int ElapseOf(void* context, void*) { return *static_cast<unsigned int*>(context); }

// Every callback in the order they came, with the variable's value then.
struct Journal {
  struct Entry {
    const char* who;
    void* value;
    double seen;
    DWORD tick;
  };
  std::vector<Entry> entries;
  int Count(const char* who) const {
    int n = 0;
    for (const auto& e : entries) n += std::string(e.who) == who;
    return n;
  }
};
template <const char* Who, typename T>
void Note(void* context, void* value) {
  static_cast<Journal*>(context)->entries.push_back(
      Journal::Entry{Who, value, static_cast<double>(*static_cast<T*>(value)), GetTickCount()});
}
constexpr char kOwn[] = "own";
constexpr char kAll[] = "all";

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

TEST(DialogInteraction, DraggedSliderDrivesTheVariableAtOnceAndTheCallbackOnceAfterTheElapse) {
  float gain = 0.0f;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Gain", ePT_Float, &gain, 0, 1, &Note<kOwn, float>, &journal)};
  TestDlg dlg;
  dlg.Create(list, 1, &Note<kAll, float>, &journal);
  unsigned int elapse = 150;
  dlg.SetNotifyElapseFunc(&ElapseOf, &elapse);
  ASSERT_TRUE(ShowAndActivate(dlg));
  EXPECT_FALSE(dlg.IsDirty());

  auto* q = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  const int y = q->height() / 2;
  QTest::mousePress(q, Qt::LeftButton, {}, QPoint(3, y));
  float last = gain;
  DWORD lastMove = 0;
  for (int x = 10; x <= 110; x += 10) {
    QTest::mouseMove(q, QPoint(x, y));
    lastMove = GetTickCount();
    const int pos = dlg.C(0).slider.GetPos();
    ASSERT_EQ(PosToFloat(pos, 0, 1), gain) << x;
    EXPECT_EQ(std::wstring(FloatText(gain, 0, 1).GetString()), TextOf(dlg.C(0).valueText));
    EXPECT_GT(gain, last) << x;
    last = gain;
    EXPECT_TRUE(journal.entries.empty()) << x;
    COrvekGlobals::PumpMessages(5);
  }
  QTest::mouseRelease(q, Qt::LeftButton, {}, QPoint(110, y));
  EXPECT_TRUE(dlg.IsDirty());
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 2; }));
  COrvekGlobals::PumpMessages(300);
  ASSERT_EQ(2u, journal.entries.size());
  // The entry's callback first, then the dialog-wide one, both with the
  // variable's address and its final value, one elapse after the last move.
  EXPECT_STREQ(kOwn, journal.entries[0].who);
  EXPECT_STREQ(kAll, journal.entries[1].who);
  for (const auto& e : journal.entries) {
    EXPECT_EQ(&gain, e.value);
    EXPECT_EQ(static_cast<double>(gain), e.seen);
  }
  EXPECT_GE(journal.entries[0].tick - lastMove, elapse - 1);

  // A slider message that changes nothing still marks the dialog dirty, and
  // arms no timer.
  ASSERT_EQ(S_OK, dlg.SaveParamValues(TestFile("drag.ini").c_str()));
  EXPECT_FALSE(dlg.IsDirty());
  QTest::keyClick(q, Qt::Key_End);
  const float top = gain;
  EXPECT_EQ(1.0f, top);
  COrvekGlobals::PumpMessages(elapse + 100);
  journal.entries.clear();
  ASSERT_EQ(S_OK, dlg.SaveParamValues(TestFile("drag.ini").c_str()));
  QTest::keyClick(q, Qt::Key_End);
  EXPECT_TRUE(dlg.IsDirty());
  UINT armed = 0;
  EXPECT_FALSE(dlg.GetTimerElapse(1, &armed));
  COrvekGlobals::PumpMessages(elapse + 100);
  EXPECT_TRUE(journal.entries.empty());
}

TEST(DialogInteraction, CheckBoxAndListAnswerClicksAndPicks) {
  int bypass = 0, mode = -2;
  Journal journal;
  tagParamChoice choices[] = {{1.9, L"sine"}, {-2.7, L"square"}, {3.0, L"noise"}};
  const tagParamInfoV2 list[] = {Param(L"Bypass", ePT_Bool, &bypass, 0, 0, &Note<kOwn, int>, &journal),
                                 Param(L"Mode", ePT_List, &mode, 0, 0, &Note<kOwn, int>, &journal, choices, 3)};
  TestDlg dlg;
  dlg.Create(list, 2, nullptr, nullptr);
  unsigned int elapse = 200;
  dlg.SetNotifyElapseFunc(&ElapseOf, &elapse);
  ASSERT_TRUE(ShowAndActivate(dlg));
  CButton& check = dlg.C(0).check;
  EXPECT_EQ(BST_UNCHECKED, check.GetCheck());

  // Two clicks within the elapse: the variable goes there and back, and the
  // host hears once, of the first state.
  QTest::mouseClick(check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(1, bypass);
  EXPECT_EQ(BST_CHECKED, check.GetCheck());
  QTest::mouseClick(check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(0, bypass);
  EXPECT_EQ(BST_UNCHECKED, check.GetCheck());
  EXPECT_TRUE(dlg.IsDirty());
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 1; }));
  COrvekGlobals::PumpMessages(elapse + 100);
  ASSERT_EQ(1u, journal.entries.size());
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
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 1; }));
  EXPECT_EQ(&mode, journal.entries[0].value);
  PickRow(combo, 2);
  EXPECT_EQ(3, mode);
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 2; }));
  EXPECT_EQ(3.0, journal.entries[1].seen);

  // A value that matches no choice shows no selection and stays.
  mode = 7;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).list.GetCurSel() == -1; }));
  EXPECT_EQ(7, mode);

  // A click code from a control that is no check box of a flag, and a stale
  // id, change nothing.
  const int before = static_cast<int>(journal.entries.size());
  EXPECT_TRUE(dlg.OnCommand(MAKEWPARAM(99, BN_CLICKED), 0));
  dlg.OnCommand(MAKEWPARAM(2, BN_CLICKED), reinterpret_cast<LPARAM>(dlg.C(1).list.m_hWnd));
  dlg.OnCommand(MAKEWPARAM(1, BN_CLICKED), reinterpret_cast<LPARAM>(dlg.C(1).list.m_hWnd));
  EXPECT_EQ(7, mode);
  EXPECT_EQ(0, bypass);
  COrvekGlobals::PumpMessages(elapse + 100);
  EXPECT_EQ(before, static_cast<int>(journal.entries.size()));
}

TEST(DialogInteraction, NoTimerWithoutListenersAndTheElapseComesFromTheRightPlace) {
  // Nobody listens: the variable and the dirty flag change, no timer runs.
  {
    float level = 0.5f;
    int flag = 0;
    const tagParamInfoV2 list[] = {Param(L"Level", ePT_Float, &level, 0, 1), Param(L"Flag", ePT_Bool, &flag)};
    TestDlg dlg;
    dlg.Create(list, 2, nullptr, nullptr);
    ASSERT_TRUE(ShowAndActivate(dlg));
    QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
    QTest::mouseClick(dlg.C(1).check.GetQWidget(), Qt::LeftButton);
    EXPECT_EQ(PosToFloat(129, 0, 1), level);
    EXPECT_EQ(1, flag);
    EXPECT_TRUE(dlg.IsDirty());
    UINT e = 0;
    EXPECT_FALSE(dlg.GetTimerElapse(1, &e));
    EXPECT_FALSE(dlg.GetTimerElapse(2, &e));
  }
  // A dialog-wide callback alone is a listener; its elapse is 20 ms.
  {
    int n = 3;
    Journal journal;
    const tagParamInfoV2 list[] = {Param(L"N", ePT_Int, &n, 0, 10)};
    TestDlg dlg;
    dlg.Create(list, 1, &Note<kAll, int>, &journal);
    ASSERT_TRUE(ShowAndActivate(dlg));
    QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
    EXPECT_EQ(4, n);
    EXPECT_EQ(L"4", TextOf(dlg.C(0).valueText));
    UINT e = 0;
    EXPECT_TRUE(dlg.GetTimerElapse(1, &e));
    EXPECT_EQ(20u, e);
    ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 1; }));
    EXPECT_EQ(4.0, journal.entries[0].seen);
  }
  // A notification object: its elapse, unless an elapse callback is set;
  // and a change reaches it twice, through the parameter's callback and
  // the dialog-wide one.
  {
    float x = 0.0f;
    Notify notify;
    TestDlg dlg;
    dlg.CreateEmpty(&notify);
    dlg.AddParam(&x, L"x", 0.0f, 1.0f, &notify);
    ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 1; }));
    ASSERT_TRUE(ShowAndActivate(dlg));
    QWidget* q = dlg.C(0).slider.GetQWidget();
    QTest::keyClick(q, Qt::Key_Right);
    UINT e = 0;
    EXPECT_TRUE(dlg.GetTimerElapse(1, &e));
    EXPECT_EQ(120u, e);
    ASSERT_TRUE(WaitFor([&] { return notify.changes.size() == 2; }));
    EXPECT_EQ(&x, notify.changes[0]);
    EXPECT_EQ(&x, notify.changes[1]);
    unsigned int zero = 0;
    dlg.SetNotifyElapseFunc(&ElapseOf, &zero);
    QTest::keyClick(q, Qt::Key_Right);
    EXPECT_TRUE(dlg.GetTimerElapse(1, &e));
    EXPECT_EQ(0u, e);  // handed on as it came
    ASSERT_TRUE(WaitFor([&] { return notify.changes.size() == 4; }));
    dlg.SetNotifyElapseFunc(nullptr, nullptr);
    QTest::keyClick(q, Qt::Key_Right);
    EXPECT_TRUE(dlg.GetTimerElapse(1, &e));
    EXPECT_EQ(120u, e);
  }
}

TEST(DialogInteraction, HostWritesReachTheControlsUnlessFocusedOrBehindAnOpenList) {
  float a = 0.0f, b = 0.0f;
  int flag = 0, n = 5, mode = 1;
  tagParamChoice choices[] = {{1, L"one"}, {2, L"two"}};
  const tagParamInfoV2 list[] = {Param(L"Flag", ePT_Bool, &flag), Param(L"A", ePT_Float, &a, -1, 1),
                                 Param(L"Mode", ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 2),
                                 Param(L"B", ePT_Float, &b, 0, 1), Param(L"N", ePT_Int, &n, 0, 10)};
  TestDlg dlg;
  dlg.Create(list, 5, nullptr, nullptr);
  ASSERT_TRUE(ShowAndActivate(dlg));
  CSliderCtrl& sa = dlg.C(1).slider;
  CSliderCtrl& sb = dlg.C(3).slider;

  // Pulled into bounds and shown at the next refresh, without a report.
  a = 5.0f;
  n = 50;
  flag = 1;
  ASSERT_TRUE(WaitFor([&] { return sa.GetPos() == 256 && dlg.C(4).slider.GetPos() == 10; }, 1000));
  EXPECT_EQ(1.0f, a);
  EXPECT_EQ(10, n);
  EXPECT_EQ(L"1.000", TextOf(dlg.C(1).valueText));
  EXPECT_EQ(BST_CHECKED, dlg.C(0).check.GetCheck());
  EXPECT_FALSE(dlg.IsDirty());

  // A slider with the focus is left alone, value and all.
  sa.SetFocus();
  ASSERT_EQ(&sa, CWnd::GetFocus());
  a = -7.0f;
  COrvekGlobals::PumpMessages(350);
  EXPECT_EQ(-7.0f, a);
  EXPECT_EQ(256, sa.GetPos());
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
  EXPECT_EQ(0, sb.GetPos());
  EXPECT_EQ(0, dlg.C(2).list.GetCurSel());
  dlg.C(2).list.ShowDropDown(FALSE);
  ASSERT_TRUE(WaitFor([&] { return sb.GetPos() == 192 && dlg.C(2).list.GetCurSel() == 1; }, 1000));
}

TEST(DialogInteraction, ListChangesFromAnotherThreadRebuildTheWindowOnItsOwnThread) {
  float base = 0.5f;
  std::vector<float> added(4, 0.25f);
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Base", ePT_Float, &base, 0, 1)};
  TestDlg dlg;
  dlg.Create(list, 1, &Note<kAll, float>, &journal);
  ASSERT_TRUE(ShowAndActivate(dlg));
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
  // The window's thread goes on serving its messages meanwhile. A change
  // posted to a window that an earlier rebuild replaced is dropped with that
  // window, but the rebuild that replaced it had read the list with the
  // change in it, so the last window shows the last list.
  const bool rebuilt = WaitFor([&] { return done.load(); }, 5000);
  worker.join();
  ASSERT_TRUE(rebuilt);
  COrvekGlobals::PumpMessages(100);
  EXPECT_GT(dlg.builds, builds);
  EXPECT_EQ(0, dlg.foreignBuilds);
  EXPECT_TRUE(dlg.IsWindowVisible());
  ASSERT_EQ(4u, dlg.m_params.size());
  ASSERT_EQ(4u, dlg.m_controls.size());
  EXPECT_EQ(L"Added", TextOf(dlg.C(3).label));
  EXPECT_EQ(64, dlg.C(3).slider.GetPos());
  // The list kept the callback it was built with.
  QTest::keyClick(dlg.C(2).slider.GetQWidget(), Qt::Key_Right);
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 1; }));
  EXPECT_EQ(&added[1], journal.entries[0].value);
}

TEST(DialogInteraction, ARebuildDropsTheNotificationThatWasDue) {
  float gain = 0.0f;
  int later = 0;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"Gain", ePT_Float, &gain, 0, 1, &Note<kOwn, float>, &journal)};
  TestDlg dlg;
  dlg.Create(list, 1, nullptr, nullptr);
  unsigned int elapse = 300;
  dlg.SetNotifyElapseFunc(&ElapseOf, &elapse);
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
  const float moved = gain;
  EXPECT_GT(moved, 0.0f);
  tagParamInfoV2 info = Param(L"Later", ePT_Bool, &later);
  dlg.AddParam(&info);
  EXPECT_FALSE(dlg.IsDirty());  // a new list counts as saved
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 2; }));
  COrvekGlobals::PumpMessages(elapse + 300);
  EXPECT_TRUE(journal.entries.empty());
  EXPECT_EQ(moved, gain);

  // The rebuild message sent rather than posted takes its callback along.
  Journal other;
  EXPECT_EQ(1, dlg.SendMessage(WM_REBUILD_PARAMS, reinterpret_cast<WPARAM>(&Note<kAll, float>),
                               reinterpret_cast<LPARAM>(&other)));
  EXPECT_TRUE(dlg.IsWindowVisible());
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_Right);
  ASSERT_TRUE(WaitFor([&] { return other.entries.size() == 1 && journal.entries.size() == 1; }, 2000));
}

TEST(DialogInteraction, ClosingDestroysAndShowWindowRebuildsFromTheSameList) {
  float level = 0.0f;
  Journal journal;
  const tagParamInfoV2 list[] = {Group(L"Main"), Param(L"Level", ePT_Float, &level, 0, 1)};
  TestDlg dlg;
  dlg.Create(list, 2, &Note<kAll, float>, &journal);
  ASSERT_TRUE(ShowAndActivate(dlg));
  const HWND first = dlg.m_hWnd;

  dlg.GetQWidget()->close();  // the close box
  ASSERT_TRUE(WaitFor([&] { return !IsWindow(first); }));
  EXPECT_EQ(nullptr, dlg.m_hWnd);
  EXPECT_EQ(0, dlg.IsWindowVisible());
  EXPECT_EQ(0u, dlg.m_updateTimer);
  dlg.HideWindow();  // no window: nothing to do

  level = 0.5f;
  dlg.ShowWindow();
  ASSERT_TRUE(IsWindow(dlg.m_hWnd));
  EXPECT_TRUE(dlg.IsWindowVisible());
  EXPECT_EQ(L"Настройка параметров - Main", TextOf(dlg));
  ASSERT_EQ(2u, dlg.m_controls.size());
  EXPECT_EQ(128, dlg.C(1).slider.GetPos());
  EXPECT_EQ(CDlgParamTune::ID_UPDATE_TIMER, dlg.m_updateTimer);
  level = 1.0f;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).slider.GetPos() == 256; }, 1000));
  ASSERT_TRUE(QTest::qWaitForWindowActive(dlg.GetQWidget()));
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_Left);
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 1; }));

  // Hidden, the window goes on refreshing; shown again it stays in place.
  dlg.HideWindow();
  EXPECT_FALSE(dlg.IsWindowVisible());
  level = 0.0f;
  ASSERT_TRUE(WaitFor([&] { return dlg.C(1).slider.GetPos() == 0; }, 1000));
  CRect before, after;
  dlg.GetWindowRect(&before);
  const int builds = dlg.builds;
  dlg.ShowWindow();
  dlg.GetWindowRect(&after);
  EXPECT_EQ(before, after);
  EXPECT_EQ(builds, dlg.builds);

  dlg.Destroy();
  EXPECT_FALSE(IsWindow(dlg.m_hWnd));
  dlg.ShowWindow();
  EXPECT_TRUE(dlg.IsWindowVisible());
  EXPECT_EQ(builds + 1, dlg.builds);
}

TEST(DialogInteraction, TheRefreshNeverWritesBackAValueThatAHostThreadReplaced) {
  // Values inside the bounds: the refresh has nothing to clamp, so a value
  // that changes under the host's hands was written back by the dialog.
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
  // The refresh tick, called as its timer calls it, as often as it can: the
  // host's store has to land between two reads of one tick to show.
  int ticks = 0;
  for (const DWORD start = GetTickCount(); GetTickCount() - start < 1000 || rounds < 1000; ++ticks)
    dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
  stop = true;
  host.join();
  EXPECT_EQ(0, lost.load()) << "in " << rounds.load() << " rounds, " << ticks << " ticks";
}

TEST(DialogInteraction, ControlsAndTimersLeftFromAChangedListNeitherWriteNorReport) {
  float a = 0.0f, b = 0.0f, c = 0.0f;
  int f1 = 0, f2 = 0;
  Journal journal;
  const tagParamInfoV2 list[] = {Param(L"A", ePT_Float, &a, 0, 1, &Note<kOwn, float>, &journal),
                                 Param(L"B", ePT_Float, &b, 0, 1, &Note<kOwn, float>, &journal),
                                 Param(L"C", ePT_Float, &c, 0, 1, &Note<kOwn, float>, &journal),
                                 Param(L"F1", ePT_Bool, &f1, 0, 0, &Note<kOwn, int>, &journal),
                                 Param(L"F2", ePT_Bool, &f2, 0, 0, &Note<kOwn, int>, &journal)};
  TestDlg dlg;
  dlg.Create(list, 5, nullptr, nullptr);
  unsigned int elapse = 60000;  // expires only when the test says so
  dlg.SetNotifyElapseFunc(&ElapseOf, &elapse);
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_Right);  // B's pacing timer, id 2
  const float movedB = b;
  UINT armed = 0;
  ASSERT_TRUE(dlg.GetTimerElapse(2, &armed));

  // A host thread takes A out. Until the posted rebuild runs, index 0 names
  // B, 1 names C and 3 names F2, while the old controls still stand there.
  std::thread([&] { dlg.RemoveParam(&a); }).join();
  ASSERT_EQ(4u, dlg.m_params.size());
  ASSERT_EQ(5u, dlg.m_controls.size());
  QTest::keyClick(dlg.C(0).slider.GetQWidget(), Qt::Key_End);      // A's slider
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_End);      // B's slider
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);  // F1's box
  dlg.OnTimer(2);                                                  // B's timer expires
  dlg.OnParamChangeNotify(1);
  dlg.OnTimer(CDlgParamTune::ID_UPDATE_TIMER);
  EXPECT_EQ(0.0f, a);
  EXPECT_EQ(movedB, b);
  EXPECT_EQ(0.0f, c);
  EXPECT_EQ(0, f1);
  EXPECT_EQ(0, f2);
  EXPECT_FALSE(dlg.GetTimerElapse(2, &armed));

  // Rebuilt, each control writes and reports its own variable again.
  ASSERT_TRUE(WaitFor([&] { return dlg.m_controls.size() == 4; }));
  EXPECT_TRUE(journal.entries.empty());
  ASSERT_TRUE(QTest::qWaitForWindowActive(dlg.GetQWidget()));
  elapse = 0;
  QTest::keyClick(dlg.C(1).slider.GetQWidget(), Qt::Key_End);
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(1.0f, c);
  EXPECT_EQ(1, f2);
  EXPECT_EQ(0, f1);
  ASSERT_TRUE(WaitFor([&] { return journal.entries.size() == 2; }));
  const std::vector<void*> told{journal.entries[0].value, journal.entries[1].value};
  EXPECT_NE(told.end(), std::find(told.begin(), told.end(), &c));
  EXPECT_NE(told.end(), std::find(told.begin(), told.end(), &f2));
}

}  // namespace

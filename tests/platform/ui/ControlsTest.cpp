#include "UiTest.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QSlider>

#include <QTabBar>

#include <climits>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// The parent of the controls under test: writes down every notification with what the control said at that moment.
class Panel : public CWnd {
 public:
  struct Scroll {
    UINT code, pos;
    int id, posNow;
  };
  void OnHScroll(UINT code, UINT pos, CScrollBar* bar) override {
    scrolls.push_back(Scroll{code, pos, bar ? bar->GetDlgCtrlID() : -1, slider ? slider->GetPos() : -1});
    CWnd::OnHScroll(code, pos, bar);
  }
  BOOL OnCommand(WPARAM w, LPARAM l) override {
    commands.emplace_back(LOWORD(w), HIWORD(w));
    checkNow = static_cast<int>(SendMessageW(reinterpret_cast<HWND>(l), BM_GETCHECK, 0, 0));
    return CWnd::OnCommand(w, l);
  }
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* r) override {
    notes.push_back(*reinterpret_cast<NMHDR*>(l));
    tabNow = tab ? tab->GetCurSel() : -2;
    return CWnd::OnNotify(w, l, r);
  }

  std::vector<Scroll> scrolls;
  std::vector<std::pair<int, int>> commands;
  std::vector<NMHDR> notes;
  int checkNow = -1, tabNow = -1;
  CSliderCtrl* slider = nullptr;
  CTabCtrl* tab = nullptr;
};

class Controls : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(panel.CreateEx(WS_EX_TOOLWINDOW, nullptr, L"panel", kToolStyle, CRect(20, 20, 460, 560), nullptr, 0));
    panel.ShowWindow(SW_SHOWNORMAL);
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.GetQWidget()));
  }
  Panel panel;
};

TEST_F(Controls, SliderTellsEveryUserMoveAndNoProgramMove) {
  CSliderCtrl s;
  ASSERT_TRUE(s.Create(WS_CHILD | WS_VISIBLE, CRect(10, 10, 210, 35), &panel, 3));
  panel.slider = &s;
  s.SetRange(0, 256);
  s.SetPos(300);
  EXPECT_EQ(256, s.GetPos());
  SendMessageW(s.m_hWnd, TBM_SETPOS, TRUE, -5);
  EXPECT_EQ(0, static_cast<int>(SendMessageW(s.m_hWnd, TBM_GETPOS, 0, 0)));
  EXPECT_TRUE(panel.scrolls.empty());

  // A drag of the thumb: a message per move, the slider already at the new
  // position when the parent asks; then the drop and the end.
  auto* q = static_cast<QSlider*>(s.GetQWidget());
  const int y = q->height() / 2;
  QTest::mousePress(q, Qt::LeftButton, {}, QPoint(5, y));
  for (int x = 15; x <= 155; x += 20) QTest::mouseMove(q, QPoint(x, y));
  QTest::mouseRelease(q, Qt::LeftButton, {}, QPoint(155, y));
  ASSERT_GE(panel.scrolls.size(), 5u);
  const auto& drop = panel.scrolls[panel.scrolls.size() - 2];
  EXPECT_EQ(std::make_pair(drop.code, panel.scrolls.back().code),
            std::make_pair(UINT(TB_THUMBPOSITION), UINT(TB_ENDTRACK)));
  int last = -1;
  for (std::size_t i = 0; i + 2 < panel.scrolls.size(); ++i) {
    const auto& m = panel.scrolls[i];
    EXPECT_EQ(std::make_tuple(m.code, m.id, static_cast<int>(m.pos)),
              std::make_tuple(UINT(TB_THUMBTRACK), 3, m.posNow));
    EXPECT_GT(m.posNow, last);
    last = m.posNow;
  }
  EXPECT_GT(last, 100);
  EXPECT_EQ(std::make_pair(s.GetPos(), static_cast<int>(drop.pos)), std::make_pair(last, last));
  EXPECT_EQ(std::make_pair(CWnd::GetFocus(), GetFocus()), std::make_pair<CWnd*>(&s, s.m_hWnd));  // the click's focus

  panel.scrolls.clear();
  QTest::keyClick(q, Qt::Key_Right);
  ASSERT_EQ(2u, panel.scrolls.size());
  EXPECT_EQ(std::make_tuple(panel.scrolls[0].code, panel.scrolls[0].posNow, panel.scrolls[1].code),
            std::make_tuple(UINT(TB_LINEDOWN), last + 1, UINT(TB_ENDTRACK)));

  // Bounds at the 32-bit limits: the page step is a fifth of the whole span.
  s.SetRange(INT_MIN, INT_MAX);
  EXPECT_EQ(858993459, q->pageStep());
  s.SetPos(INT_MAX);
  EXPECT_EQ(INT_MAX, s.GetPos());
}

TEST_F(Controls, ManualCheckBoxTellsClicksAndKeepsItsMark) {
  CButton manual, automatic;
  ASSERT_TRUE(
      manual.Create(L"Filter", WS_CHILD | WS_VISIBLE | BS_CHECKBOX | BS_CENTER, CRect(10, 50, 210, 75), &panel, 4));
  ASSERT_TRUE(automatic.Create(L"Auto", WS_CHILD | WS_VISIBLE | BS_AUTOCHECKBOX, CRect(10, 80, 210, 105), &panel, 5));

  // Anywhere in the rectangle is the button, also far from its text.
  QTest::mouseClick(manual.GetQWidget(), Qt::LeftButton, {}, QPoint(190, 12));
  QTest::mouseClick(manual.GetQWidget(), Qt::LeftButton, {}, QPoint(100, 12));
  ASSERT_EQ(2u, panel.commands.size());
  EXPECT_EQ(std::make_pair(4, static_cast<int>(BN_CLICKED)), panel.commands[0]);
  EXPECT_EQ(BST_UNCHECKED, manual.GetCheck());
  manual.SetCheck(BST_CHECKED);  // no notification
  EXPECT_EQ(2u, panel.commands.size());

  QTest::mouseClick(automatic.GetQWidget(), Qt::LeftButton);  // the automatic kind toggles first, then tells
  ASSERT_EQ(3u, panel.commands.size());
  EXPECT_EQ(std::make_pair(panel.commands[2].first, panel.checkNow), std::make_pair(5, int(BST_CHECKED)));
}

TEST_F(Controls, DropDownListTellsEveryChoiceAlsoOfTheSelectedEntry) {
  CComboBox combo;
  ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | CBS_DROPDOWNLIST, CRect(10, 120, 210, 320), &panel, 6));
  EXPECT_EQ((std::vector<int>{combo.AddString(L"sine"), combo.AddString(L"square"), combo.AddString(L"noise"),
                              combo.GetCount(), combo.GetCurSel()}),
            (std::vector<int>{0, 1, 2, 3, -1}));
  CStringW text;
  combo.GetLBText(1, text);
  EXPECT_EQ(CStringW(L"square"), text);
  CRect box;
  combo.GetWindowRect(&box);
  EXPECT_LT(box.Height(), 200);  // the rest of the height is for the open list

  EXPECT_EQ((std::vector<int>{combo.SetCurSel(-1), combo.SetCurSel(3), combo.GetCurSel(), combo.SetCurSel(1)}),
            (std::vector<int>{CB_ERR, CB_ERR, -1, 1}));
  EXPECT_TRUE(panel.commands.empty());

  auto* q = static_cast<QComboBox*>(combo.GetQWidget());
  q->setFocus();
  auto pick = [&](int row) {
    QTest::keyClick(q, Qt::Key_F4);
    ASSERT_TRUE(WaitFor([&] { return combo.GetDroppedState() != 0; }));
    QAbstractItemView* view = q->view();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(view->model()->index(row, 0)).center());
    ASSERT_TRUE(WaitFor([&] { return combo.GetDroppedState() == 0; }));
  };
  pick(1);
  ASSERT_EQ(1u, panel.commands.size());
  EXPECT_EQ(std::make_pair(6, static_cast<int>(CBN_SELCHANGE)), panel.commands[0]);
  EXPECT_EQ(1, combo.GetCurSel());
  pick(2);
  EXPECT_EQ(std::make_pair(panel.commands.size(), combo.GetCurSel()), std::make_pair(std::size_t(2), 2));
  QTest::keyClick(q, Qt::Key_Up);
  EXPECT_EQ(std::make_pair(panel.commands.size(), combo.GetCurSel()), std::make_pair(std::size_t(3), 1));
}

TEST_F(Controls, TabsTellUserChangesAndReportTheMarginsTheyDraw) {
  CTabCtrl tab;
  ASSERT_TRUE(tab.Create(WS_CHILD | WS_VISIBLE, CRect(0, 0, 0, 0), &panel, 0));
  panel.tab = &tab;
  EXPECT_EQ(
      (std::vector<int>{tab.InsertItem(0, L"????"), tab.InsertItem(1, L"Gain"), tab.InsertItem(2, L"Filter"),
                        tab.GetItemCount(), tab.GetCurSel(), tab.SetCurSel(1), tab.SetCurSel(7), tab.GetCurSel()}),
      (std::vector<int>{0, 1, 2, 3, 0, 0, -1, 1}));
  EXPECT_TRUE(panel.notes.empty());

  // The tab control is sized for a display area of 240 x 145.
  CRect r(0, 0, 240, 145);
  tab.AdjustRect(TRUE, &r);
  const int dl = -r.left, dt = -r.top, dr = r.right - 240, db = r.bottom - 145;
  EXPECT_GT(dl, 0);
  EXPECT_GT(dt, dl);
  tab.MoveWindow(15, 15, r.Width(), r.Height(), FALSE);
  CRect back(0, 0, r.Width(), r.Height());
  tab.AdjustRect(FALSE, &back);
  EXPECT_EQ(CRect(dl, dt, dl + 240, dt + 145), back);

  // What is drawn matches: the tab row lies above the display area, one plain surface with the frame just outside.
  QWidget* w = tab.GetQWidget();
  auto* bar = w->findChild<QTabBar*>();
  ASSERT_NE(nullptr, bar);
  EXPECT_LE(bar->geometry().bottom(), dt - 1);
  const QImage img = w->grab().toImage();
  const QRgb inside = img.pixel(dl + 120, dt + 70);
  for (int y = dt; y < dt + 145; y += 6)
    for (int x = dl; x < dl + 240; x += 6) ASSERT_EQ(inside, img.pixel(x, y)) << x << "," << y;
  auto drawnIn = [&](int x0, int y0, int dx, int dy, int n) {
    for (int i = 0; i < n; ++i)
      if (img.pixel(x0 + i * dx, y0 + i * dy) != inside) return true;
    return false;
  };
  EXPECT_TRUE(drawnIn(0, dt + 70, 1, 0, dl));          // left frame
  EXPECT_TRUE(drawnIn(dl + 240, dt + 70, 1, 0, dr));   // right frame
  EXPECT_TRUE(drawnIn(dl + 120, dt + 145, 0, 1, db));  // bottom frame

  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(2).center());
  ASSERT_EQ(1u, panel.notes.size());
  const NMHDR& n = panel.notes[0];
  EXPECT_EQ(std::make_tuple(n.code, n.hwndFrom, n.idFrom, panel.tabNow),
            std::make_tuple(UINT(TCN_SELCHANGE), tab.m_hWnd, UINT_PTR(0), 2));
}

TEST_F(Controls, StaticTextTakesFontAndAlignment) {
  CStatic label;
  ASSERT_TRUE(label.Create(L"gain", WS_CHILD | WS_VISIBLE | SS_CENTER, CRect(10, 400, 210, 425), &panel));
  CFont font;
  ASSERT_TRUE(font.CreateFontW(8, 0, 0, 0, FW_NORMAL, 0, 0, 0, ANSI_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                               PROOF_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"MS Sans Serif"));
  label.SetFont(&font);
  auto* q = static_cast<QLabel*>(label.GetQWidget());
  EXPECT_EQ(std::make_pair(q->font().pointSize(), reinterpret_cast<HFONT>(label.SendMessage(WM_GETFONT))),
            std::make_pair(8, static_cast<HFONT>(font)));
  EXPECT_TRUE(q->alignment() & Qt::AlignHCenter);
  label.SetWindowTextW(L"0.250");
  EXPECT_EQ(QString("0.250"), q->text());

  HBRUSH face = GetSysColorBrush(COLOR_BTNFACE);
  EXPECT_EQ(face, GetSysColorBrush(COLOR_BTNFACE));
  EXPECT_TRUE(DeleteObject(face));
  HBRUSH own = CreateSolidBrush(RGB(1, 2, 3));
  EXPECT_EQ((std::vector<BOOL>{DeleteObject(own), DeleteObject(own)}), (std::vector<BOOL>{TRUE, FALSE}));
}

}  // namespace

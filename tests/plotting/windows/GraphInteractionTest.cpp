#include "WindowsTest.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>
#include <QWheelEvent>
#include <QWidget>
#include <QtTest/QTest>

namespace {

constexpr int kW = 400, kH = 300;

// A shown graph of two curves over 1000 samples under the host's fixed ranges.
struct Shown {
  CHostWindow host;
  CGraphWnd g;
  QWidget* w = nullptr;
  Shown() {
    EXPECT_TRUE(host.Create(kW + 20, kH + 20, true));
    tagGraphWndInfo info{{0, 0, kW, kH}, L"t", L"x", L"y", 2};
    g.Create(&info, &host, 25.0f);
    g.SetROI(0, 1000, 0, 999, 5, -2.0, 2.0, -2, 2, 4);
    Feed(1.0);
    w = g.GetQWidget();
    w->activateWindow();
    w->setFocus();
  }
  ~Shown() { g.Destroy(); }
  void Feed(double amplitude) {
    const std::vector<float> s = Sine(1000, 3, amplitude);
    g.DrawGraph<float>(0, s.data(), 1000, 1);
    g.DrawGraph<float>(1, s.data(), 1000, 1);
    EXPECT_TRUE(WaitFor([&] { return g.IsDrawed() == 1; }));
    COrvekGlobals::PumpMessages(20);
  }
  tagPlotView View() { return g.m_pDrawer->GetView(); }
  void Wheel(QPoint at, int delta, Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QWheelEvent e(at, w->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, mods, Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
  }
  QImage Saved(const char* name) {
    const QImage img = ::Saved(g, name);
    EXPECT_FALSE(img.isNull()) << name;
    return img;
  }
  QImage Grab() { return w->grab().toImage().convertToFormat(QImage::Format_RGB32); }
  void RightClick() { QTest::mouseClick(w, Qt::RightButton, Qt::NoModifier, QPoint(50, 50)); }
};

// Calls act on the widget that find gives, once there is one: polled, since a
// menu or dialog opens in a nested loop that a slow build reaches late.
template <typename Find, typename Act>
void WhenOpen(Find find, Act act, int triesLeft = 250) {
  QTimer::singleShot(20, [=] {
    if (auto* w = find()) return act(w);
    if (triesLeft > 0) WhenOpen(find, act, triesLeft - 1);
  });
}

// Opens the context menu and picks the entry of that text; for an entry that opens a file dialog, types the path.
void AnswerMenu(Shown& s, const QString& entry, const QString& path = QString()) {
  WhenOpen([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); },
           [entry, path](QMenu* menu) {
             for (QAction* a : menu->actions())
               if (a->text() == entry) menu->setActiveAction(a);
             if (!path.isEmpty()) {
               WhenOpen([] { return qobject_cast<QFileDialog*>(QApplication::activeModalWidget()); },
                        [path](QFileDialog* dialog) {
                          auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
                          if (name) name->setText(path);
                          QMetaObject::invokeMethod(dialog, "accept");
                        });
             }
             QTest::keyClick(menu, Qt::Key_Return);
           });
  s.RightClick();
}

}  // namespace

TEST(Interaction, WheelDragBoxAndDoubleClickChangeOnlyTheView) {
  Shown s;
  const QImage host = s.Saved("interaction_host.png");
  const tagPlotView v0 = s.View();
  const QPoint mid(kW / 4, kH / 2);  // a quarter of the width: the pivot there stays put
  s.Wheel(mid, 120);
  tagPlotView v = s.View();
  EXPECT_NEAR(0.8 * 999, v.dLast - v.dFirst, 1e-9);
  const double pivot = (kW / 4.0) / (kW - 1);  // the sample under the cursor stays there
  EXPECT_NEAR(v0.dFirst + pivot * 999, v.dFirst + pivot * (v.dLast - v.dFirst), 1e-6);
  EXPECT_TRUE(v.dBottom == -2 && v.dTop == 2);
  s.Wheel(mid, -120, Qt::ShiftModifier);  // Y out, X kept
  const tagPlotView vy = s.View();
  EXPECT_TRUE(vy.dFirst == v.dFirst && vy.dLast == v.dLast);
  EXPECT_NEAR(4.0 / 0.8, vy.dTop - vy.dBottom, 1e-9);

  // A left drag of 100 pixels to the right shows 100 columns' worth of earlier samples.
  QTest::mousePress(s.w, Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
  QTest::mouseMove(s.w, QPoint(250, 150));
  QTest::mouseMove(s.w, QPoint(300, 150));
  QTest::mouseRelease(s.w, Qt::LeftButton, Qt::NoModifier, QPoint(300, 150));
  v = s.View();
  EXPECT_NEAR(vy.dFirst - 100.0 / (kW - 1) * (vy.dLast - vy.dFirst), v.dFirst, 1e-6);
  EXPECT_EQ(vy.dTop, v.dTop);

  // A right drag zooms to the box; so does Ctrl with the left button.
  for (const Qt::MouseButton button : {Qt::RightButton, Qt::LeftButton}) {
    const Qt::KeyboardModifiers mods = button == Qt::LeftButton ? Qt::ControlModifier : Qt::NoModifier;
    const tagPlotView before = s.View();
    // (A null point would mean the widget's centre to Qt Test.)
    QTest::mousePress(s.w, button, mods, QPoint(1, 1));
    QTest::mouseMove(s.w, QPoint(100, 100));
    QTest::mouseRelease(s.w, button, mods, QPoint(kW / 2, kH / 2));
    v = s.View();
    const double sx = (before.dLast - before.dFirst) / (kW - 1), sy = (before.dTop - before.dBottom) / (kH - 1);
    EXPECT_NEAR(before.dFirst + 1 * sx, v.dFirst, 1e-6);
    EXPECT_NEAR(before.dFirst + (kW / 2) * sx, v.dLast, 1e-6);
    EXPECT_NEAR(before.dTop - 1 * sy, v.dTop, 1e-6);
    EXPECT_NEAR(before.dTop - (kH / 2) * sy, v.dBottom, 1e-6);
  }

  // The host's ranges never moved; a double click brings its picture back.
  EXPECT_TRUE(s.g.m_pDrawer->m_iXFrom == 0 && s.g.m_pDrawer->m_iXTo == 1000 && s.g.m_pDrawer->m_dYMax == 2.0);
  EXPECT_NE(host, s.Saved("interaction_zoomed.png"));
  QTest::mouseDClick(s.w, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
  EXPECT_FALSE(s.g.m_pDrawer->HasUserView());
  EXPECT_EQ(host, s.Saved("interaction_reset.png"));

  // Switched off, the wheel is the host's again.
  s.g.EnableInteraction(FALSE);
  s.Wheel(mid, 120);
  EXPECT_FALSE(s.g.m_pDrawer->HasUserView());
}

TEST(Interaction, ReadoutIsAnOverlayThatLeavesWithTheMouse) {
  Shown s;
  s.g.SetCurveStyle(0, L"measured", 0, 0);
  s.g.SetCurveStyle(1, L"clean", 0xFFFFD000u, 1.0f);
  s.Wheel(QPoint(kW / 2, kH / 2), 240);
  const QImage frame = s.Saved("readout_frame.png");
  const QImage still = s.Grab();
  QTest::mouseMove(s.w, QPoint(100, 120));
  COrvekGlobals::PumpMessages(20);
  const QImage over = s.Grab();
  ASSERT_TRUE(over.save(QString::fromStdWString(TestPath("graph_readout.png"))));
  int changed = 0, farAway = 0;
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      const bool diff = over.pixel(x, y) != still.pixel(x, y);
      changed += diff;
      // Only the crosshair's row and column and the label beside the cursor change.
      farAway += diff && x != 100 && y != 120 && !(x > 100 && x < 300 && y > 120 && y < 220);
    }
  EXPECT_GT(changed, 300);
  EXPECT_EQ(0, farAway);
  EXPECT_EQ(frame, s.Saved("readout_frame2.png")) << "no curve was redrawn";
  QEvent leave(QEvent::Leave);
  QApplication::sendEvent(s.w, &leave);
  COrvekGlobals::PumpMessages(20);
  EXPECT_EQ(still, s.Grab());
}

TEST(Interaction, PauseByKeyAndMenuAndExportFromTheMenu) {
  Shown s;
  QTest::keyClick(s.w, Qt::Key_Space);
  EXPECT_TRUE(s.g.IsPaused());
  const QImage paused = s.Saved("paused.png");
  s.Feed(0.25);  // intake goes on
  EXPECT_EQ(paused, s.Saved("paused2.png"));
  EXPECT_NE(paused.convertToFormat(QImage::Format_RGB32), s.Grab()) << "a mark says it is paused";

  AnswerMenu(s, QStringLiteral("Resume"));
  EXPECT_TRUE(WaitFor([&] { return !s.g.IsPaused(); }));
  EXPECT_NE(paused, s.Saved("resumed.png")) << "the newest data show";

  const QString csv = QString::fromStdWString(TestPath("menu_export.csv"));
  QFile::remove(csv);
  AnswerMenu(s, QStringLiteral("Export data..."), csv);
  QFile f(csv);
  ASSERT_TRUE(WaitFor([&] { return f.exists(); }));
  ASSERT_TRUE(f.open(QIODevice::ReadOnly));
  const QList<QByteArray> lines = f.readAll().split('\n');
  ASSERT_EQ(1002, lines.size());  // header, 1000 samples, the empty rest
  EXPECT_TRUE(lines[0] == "x,curve 1,curve 2" && lines[1].startsWith("0,0,0")) << lines[0].data();
  EXPECT_EQ(E_POINTER, s.g.ExportData(nullptr));

  // Save image... writes what the user sees, legend included; Copy image puts the same picture on the clipboard.
  s.g.SetCurveStyle(0, L"named", 0, 0);
  const QString png = QString::fromStdWString(TestPath("menu_image.png"));
  QFile::remove(png);
  AnswerMenu(s, QStringLiteral("Save image..."), png);
  ASSERT_TRUE(WaitFor([&] { return QFile::exists(png); }));
  const QImage saved = QImage(png).convertToFormat(QImage::Format_RGB32);
  EXPECT_EQ(QSize(kW, kH), saved.size());
  EXPECT_NE(s.Saved("menu_frame.png").convertToFormat(QImage::Format_RGB32), saved);
  QGuiApplication::clipboard()->clear();
  AnswerMenu(s, QStringLiteral("Copy image"));
  ASSERT_TRUE(WaitFor([&] { return !QGuiApplication::clipboard()->image().isNull(); }));
  EXPECT_EQ(saved, QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32));
}

// The host may end the graph while the user has its menu open.
TEST(Interaction, DestroyWhileTheMenuIsOpen) {
  Shown s;
  WhenOpen([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); },
           [&s](QMenu* menu) {
             s.g.Destroy();
             menu->close();
           });
  s.RightClick();
  EXPECT_EQ(nullptr, s.g.m_pDrawer);
  s.RightClick();  // no menu now
  EXPECT_EQ(nullptr, QApplication::activePopupWidget());
}

TEST(Interaction, LegendNamesCurvesAndHidesThemOnClick) {
  Shown s;
  const QImage before = s.w->grab().toImage();
  s.g.SetCurveStyle(1, L"second", 0xFFFF00FFu, 1.0f);
  COrvekGlobals::PumpMessages(20);
  EXPECT_NE(before, s.w->grab().toImage());
  // The entry sits in the top right corner, inside the frame.
  QTest::mouseClick(s.w, Qt::LeftButton, Qt::NoModifier, QPoint(kW - 20, 15));
  EXPECT_TRUE(s.g.m_pDrawer->GetCurveStyle(1).bHidden);
  QTest::mouseClick(s.w, Qt::LeftButton, Qt::NoModifier, QPoint(kW - 20, 15));
  EXPECT_FALSE(s.g.m_pDrawer->GetCurveStyle(1).bHidden);
  EXPECT_FALSE(s.g.m_pDrawer->HasUserView()) << "a click on the legend is no pan";
}

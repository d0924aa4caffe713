// Typed values, keyboard steps, the logarithmic kind, titles, and texts that
// fit their cells at every screen scale.
#include <QApplication>
#include <QCheckBox>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QStyle>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "DialogTest.h"

namespace {

using ParamRules::FloatToPos;
using ParamRules::LogFloatToPos;
using ParamRules::LogPosToFloat;

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

TEST(DialogTypedEntry, TypedValuesAreExactClampedPacedAndSurviveTheRefresh) {
  // A generator's frequency, 10 to 5000 Hz: the slider steps by 19.49 Hz.
  float freq = 1000.0f;
  int taps = 4;
  Calls calls;
  const tagParamInfoV2 list[] = {Param(L"Freq", ePT_Float, &freq, 10, 5000, &Calls::Fn, &calls),
                                 Param(L"Taps", ePT_Int, &taps, 0, 64, &Calls::Fn, &calls)};
  TestDlg dlg;
  dlg.Create(list, 2, nullptr, nullptr);
  ASSERT_TRUE(ShowAndActivate(dlg));
  auto* label = static_cast<QLabel*>(dlg.C(0).valueText.GetQWidget());

  QTest::mouseDClick(label, Qt::LeftButton, {}, label->rect().center());
  ASSERT_EQ(0, dlg.GetEditedParam());
  ASSERT_NE(nullptr, Editor(dlg));
  EXPECT_EQ(QStringLiteral("1000"), Editor(dlg)->text());
  // The host writes while the user types: the editor keeps its text.
  Editor(dlg)->setText(QStringLiteral("44"));
  freq = 2000.0f;
  COrvekGlobals::PumpMessages(250);
  EXPECT_EQ(QStringLiteral("44"), Editor(dlg)->text());
  // The entry under the editor waits, as under a focused slider.
  EXPECT_EQ(L"1000", TextOf(dlg.C(0).valueText));
  EXPECT_FALSE(dlg.IsDirty());

  // Escape leaves the variable alone.
  QTest::keyClick(Editor(dlg), Qt::Key_Escape);
  COrvekGlobals::PumpMessages(10);
  EXPECT_EQ(-1, dlg.GetEditedParam());
  EXPECT_EQ(2000.0f, freq);
  EXPECT_FALSE(dlg.IsDirty());
  EXPECT_TRUE(WaitFor([&] { return TextOf(dlg.C(0).valueText) == L"2000"; }));

  // Enter writes the exact value between two slider positions, dirty, one
  // paced callback; the refresh neither snaps nor clamps it.
  ASSERT_TRUE(dlg.EditParamValue(0));
  TypeAndPress(dlg, "440", Qt::Key_Return);
  EXPECT_EQ(-1, dlg.GetEditedParam());
  EXPECT_EQ(440.0f, freq);
  EXPECT_TRUE(dlg.IsDirty());
  EXPECT_EQ(FloatToPos(440.0f, 10, 5000), dlg.C(0).slider.GetPos());
  ASSERT_TRUE(WaitFor([&] { return calls.Count() == 1; }));
  COrvekGlobals::PumpMessages(250);
  EXPECT_EQ(440.0f, freq);
  EXPECT_EQ(1, calls.Count());
  EXPECT_EQ(L"440", TextOf(dlg.C(0).valueText));

  // Text that is no number keeps the editor open and writes nothing; a
  // value out of bounds is clamped; the same value again reports nothing.
  struct Case {
    const char* typed;
    float expected;
    bool open;
    int calls;
  } cases[] = {
      {"abc", 440.0f, true, 1}, {"99999", 5000.0f, false, 2}, {"5000", 5000.0f, false, 2}, {"-3,5", 10.0f, false, 3}};
  for (const Case& c : cases) {
    if (dlg.GetEditedParam() != 0) {
      ASSERT_TRUE(dlg.EditParamValue(0));
    }
    TypeAndPress(dlg, c.typed, Qt::Key_Enter);
    EXPECT_EQ(c.open, dlg.GetEditedParam() == 0) << c.typed;
    EXPECT_EQ(c.expected, freq) << c.typed;
    COrvekGlobals::PumpMessages(80);
    EXPECT_EQ(c.calls, calls.Count()) << c.typed;
  }

  // The keyboard: Enter on the focused slider opens its editor, arrow keys
  // move one position, Page keys a fifth of the range.
  auto* slider = static_cast<QSlider*>(dlg.C(1).slider.GetQWidget());
  slider->setFocus(Qt::MouseFocusReason);
  QTest::keyClick(slider, Qt::Key_Return);
  ASSERT_EQ(1, dlg.GetEditedParam());
  TypeAndPress(dlg, "12.6", Qt::Key_Return);
  EXPECT_EQ(13, taps);
  EXPECT_EQ(13, dlg.C(1).slider.GetPos());
  ASSERT_TRUE(slider->hasFocus());
  QTest::keyClick(slider, Qt::Key_Right);
  EXPECT_EQ(14, taps);
  QTest::keyClick(slider, Qt::Key_PageUp);
  EXPECT_EQ(14 + 64 / 5, taps);
  auto* freqSlider = static_cast<QSlider*>(dlg.C(0).slider.GetQWidget());
  freqSlider->setFocus(Qt::MouseFocusReason);
  QTest::keyClick(freqSlider, Qt::Key_PageUp);
  EXPECT_EQ(256 / 5, freqSlider->value());
  EXPECT_EQ(ParamRules::PosToFloat(256 / 5, 10, 5000), freq);
  EXPECT_FALSE(dlg.EditParamValue(5));
}

TEST(DialogTypedEntry, LogarithmicSliderTitleAndValueFile) {
  float freq = 440.0f, gain = 0.5f;
  const tagParamInfoV2 list[] = {Param(L"Freq", ePT_LogFloat, &freq, 10, 5000), Param(L"Gain", ePT_Float, &gain, 0, 1)};
  TestDlg dlg;
  EXPECT_EQ(std::wstring(L"%f"), dlg.GetTypeFormatString(ePT_LogFloat));
  dlg.SetTitle(L"Generator");
  dlg.Create(list, 2, nullptr, nullptr);
  EXPECT_EQ(L"Generator", TextOf(dlg));
  dlg.SetTitle(nullptr);
  EXPECT_EQ(L"Настройка параметров", TextOf(dlg));
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
  std::FILE* f = std::fopen(path.c_str(), "rb");
  ASSERT_NE(nullptr, f);
  char buf[256] = {};
  const std::size_t n = std::fread(buf, 1, sizeof buf - 1, f);
  std::fclose(f);
  EXPECT_NE(std::string::npos, std::string(buf, n).find("Freq=440.000000\r\n"));
  freq = 20.0f;
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_EQ(440.0f, freq);
}

// One line, inside the control, with the whole text in the tooltip when it
// had to be cut.
void CheckFits(QWidget* w, const QString& whole, const char* what) {
  const QFontMetricsF fm(w->font());
  QString shown;
  int room = w->contentsRect().width();
  if (auto* label = qobject_cast<QLabel*>(w)) {
    shown = label->text();
    if (label->wordWrap()) std::fprintf(stderr, "%s wraps\n", what), std::_Exit(3);
  } else if (auto* box = qobject_cast<QCheckBox*>(w)) {
    shown = box->text();
    room -= box->style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, box) +
            box->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, box);
  }
  const bool fits = fm.horizontalAdvance(shown) <= room && fm.height() <= w->height() && !shown.contains('\n');
  const bool whole_or_tip = shown == whole ? w->toolTip().isEmpty() : w->toolTip() == whole;
  if (!fits || !whole_or_tip) {
    std::fprintf(stderr, "%s: \"%s\" %.1f of %d px, tip \"%s\"\n", what, qPrintable(shown), fm.horizontalAdvance(shown),
                 room, qPrintable(w->toolTip()));
    std::_Exit(3);
  }
}

void FitScenario() {
  alarm(60);
  if (COrvekGlobals::StartUp() != S_OK) std::_Exit(4);
  // Every number of decimals the value rules give, signs, wide integers,
  // the logarithmic kind, and long names.
  struct Range {
    eParamTypeV2 kind;
    double lo, hi;
  } ranges[] = {{ePT_Float, 0, 1},          {ePT_Float, -1, 1},          {ePT_Float, 0, 10},
                {ePT_Float, -100, 100},     {ePT_Float, 10, 5000},       {ePT_Float, 0, 0.01},
                {ePT_Float, -0.001, 0.001}, {ePT_Int, -100000, 100000},  {ePT_LogFloat, 10, 5000},
                {ePT_LogFloat, 0.001, 1},   {ePT_Int, INT_MIN, INT_MAX}, {ePT_Float, -1e30, 1e30},
                {ePT_Float, 0, 3e38}};
  constexpr int kRanges = sizeof ranges / sizeof ranges[0];
  float floats[kRanges] = {};
  int ints[kRanges] = {}, flag = 0, mode = 0;
  std::vector<tagParamInfoV2> list;
  for (int i = 0; i < kRanges; ++i) {
    void* v = ranges[i].kind == ePT_Int ? static_cast<void*>(&ints[i]) : static_cast<void*>(&floats[i]);
    list.push_back(Param(i == 0 ? L"Oscillator frequency" : L"Gain", ranges[i].kind, v, ranges[i].lo, ranges[i].hi));
  }
  tagParamChoice choices[] = {{0, L"Sine"}};
  list.push_back(Param(L"Bypass the whole filter bank while tuning the gain", ePT_Bool, &flag));
  list.push_back(Param(L"Waveform of the generator", ePT_List, &mode, 0, 0, nullptr, nullptr, choices, 1));
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), nullptr, nullptr);
  dlg.ShowWindow();
  COrvekGlobals::PumpMessages(50);
  const QString family = QFontInfo(dlg.C(0).valueText.GetQWidget()->font()).family();
  if (family != QStringLiteral("Liberation Sans")) std::fprintf(stderr, "face %s\n", qPrintable(family)), std::_Exit(5);
  // The default cell keeps its sizes where the text fits.
  const CRect v0 = ClientRectOf(dlg, dlg.C(0).valueText), s0 = ClientRectOf(dlg, dlg.C(0).slider);
  if (v0.Width() != 30 || s0.Width() != 120) std::_Exit(6);
  for (int end = 0; end < 2; ++end) {
    for (int i = 0; i < kRanges; ++i) {
      const double b = end ? ranges[i].hi : ranges[i].lo;
      if (ranges[i].kind == ePT_Int)
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

TEST(DialogTypedEntry, NoTextWrapsOrClipsAtScales1And15And2) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* scale : {"1", "1.5", "2"}) {
    setenv("QT_SCALE_FACTOR", scale, 1);
    EXPECT_EXIT(FitScenario(), ::testing::ExitedWithCode(0), "") << "scale " << scale;
  }
  unsetenv("QT_SCALE_FACTOR");
}

}  // namespace

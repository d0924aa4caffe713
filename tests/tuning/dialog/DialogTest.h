#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QWidget>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <orvek/Orvek.h>
#include <support/EventWait.h>

inline std::string TestFile(const char* name) { return std::string(ORVEK_TEST_BINARY_DIR) + "/" + name; }

// The dialog with its insides opened for the tests, and a record of every
// build of its window.
class TestDlg : public CDlgParamTune {
 public:
  using CDlgParamTune::GetColumnsRawsAmount;
  using CDlgParamTune::m_choiceBlocks;
  using CDlgParamTune::m_controls;
  using CDlgParamTune::m_params;
  using CDlgParamTune::m_tab;
  using CDlgParamTune::m_updateTimer;
  using CDlgParamTune::OnCommand;

  tagParamControls& C(std::size_t i) { return *m_controls.at(i); }

  std::atomic<int> builds{0};
  // Builds that ran on a thread other than the one that made the object.
  std::atomic<int> foreignBuilds{0};
  const std::thread::id owner = std::this_thread::get_id();

 protected:
  void UpdateWindowRectCaption(int nColumns, int nRows, int nGroups, int* pnOffsetX, int* pnOffsetY) override {
    ++builds;
    if (std::this_thread::get_id() != owner) ++foreignBuilds;
    CDlgParamTune::UpdateWindowRectCaption(nColumns, nRows, nGroups, pnOffsetX, pnOffsetY);
  }
};

// Counts change callbacks: which variable, and when.
struct Calls {
  std::vector<void*> values;
  std::vector<DWORD> ticks;
  std::vector<std::string> who;  // for order checks
  std::string name;
  int Count() const { return static_cast<int>(values.size()); }
  static void Fn(void* context, void* value) {
    auto* c = static_cast<Calls*>(context);
    c->values.push_back(value);
    c->ticks.push_back(GetTickCount());
  }
};

// A child's rectangle in its dialog's client coordinates.
inline CRect ClientRectOf(CWnd& dialog, CWnd& child) {
  CRect r;
  child.GetWindowRect(&r);
  dialog.ScreenToClient(&r);
  return r;
}

inline std::wstring TextOf(CWnd& w) {
  CStringW s;
  w.GetWindowTextW(s);
  return std::wstring(s.GetString());
}

inline tagParamInfoV2 Param(const wchar_t* name, eParamTypeV2 type, void* value, double lo = 0, double hi = 0,
                            PFN_PARAM_NOTIFY fn = nullptr, void* context = nullptr, tagParamChoice* choices = nullptr,
                            int nChoices = 0) {
  return tagParamInfoV2{name, type, value, lo, hi, fn, context, choices, nChoices};
}

inline tagParamInfoV2 Group(const wchar_t* name) { return Param(name, ePT_Group, nullptr); }

// Shows the dialog and waits until it can take input.
inline bool ShowAndActivate(CDlgParamTune& dlg) {
  dlg.ShowWindow();
  return QTest::qWaitForWindowActive(dlg.GetQWidget());
}

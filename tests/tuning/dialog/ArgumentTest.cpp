// Hostile arguments to every entry point of the dialog: each call returns, with
// a defined result. The table runs in a child process, so that a crash or a
// sanitizer's stop is reported as a failure of this test, naming its row.
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>

#include "DialogTest.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Opens the layout operations, and can answer them as no list would: every
// count and offset at the limits of an int.
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

#define CHECK(cond) \
  if (!(cond)) return std::string("line ") + std::to_string(__LINE__) + ": " #cond

struct Row {
  const char* name;
  std::string (*run)();
};

const Row kRows[] = {
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
         dlg.Create(count == 3 ? noV2 : one, count, &Calls::Fn, nullptr);
         dlg.Create(count == 3 ? noOld : old, count, &Calls::Fn, nullptr);
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
       return std::string();
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
       Calls calls;
       TestDlg dlg;
       dlg.Create(list, n, &Calls::Fn, &calls);
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
       // The slider of all the ints moves to both ends, and the longest
       // pacing is handed on as it came.
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
       return std::string();
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
       return std::string();
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
       return std::string();
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
       return std::string();
     }},
};

TEST(DialogArguments, EveryEntryPointReturnsWithADefinedResult) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        int failed = 0;
        for (const Row& row : kRows) {
          std::fprintf(stderr, "[%s]\n", row.name);  // a crash names its row
          const std::string why = row.run();
          if (!why.empty()) std::fprintf(stderr, "  failed, %s\n", why.c_str());
          failed += !why.empty();
        }
        std::fflush(stderr);
        std::_Exit(failed);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace

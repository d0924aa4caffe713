// Value files: what a save writes, byte for byte, and what a load changes and
// reports.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "DialogTest.h"

namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteAll(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

const char kHead[] = "CDlgParamTune configuration file\r\nEdit at your own risk.\r\n\r\n";

// Records the callbacks, with the thread they ran on.
struct Heard {
  std::vector<std::pair<char, void*>> calls;  // 'o' own, 'a' dialog-wide
  std::vector<std::thread::id> threads;
  static void Own(void* c, void* v) { static_cast<Heard*>(c)->Add('o', v); }
  static void All(void* c, void* v) { static_cast<Heard*>(c)->Add('a', v); }
  void Add(char k, void* v) {
    calls.emplace_back(k, v);
    threads.push_back(std::this_thread::get_id());
  }
};

// The host of the example: its variables and its list.
struct ExampleHost {
  float level = 0.25f, gainFilter = -3.5f, gainOutput = 1.0f;
  int bypass = 1, taps = 16, mode = 2;
  tagParamChoice choices[3] = {{1, L"one"}, {2, L"two"}, {3, L"three"}};
  Heard heard;
  std::vector<tagParamInfoV2> List() {
    return {Param(L"Level", ePT_Float, &level, 0, 1, &Heard::Own, &heard),
            Group(L"Filter"),
            Param(L"Gain", ePT_Float, &gainFilter, -10, 10, &Heard::Own, &heard),
            Param(L"Bypass", ePT_Bool, &bypass, 0, 0, &Heard::Own, &heard),
            Param(L"Taps", ePT_Int, &taps, 0, 64, &Heard::Own, &heard),
            Param(L"Mode", ePT_List, &mode, 0, 0, &Heard::Own, &heard, choices, 3),
            Group(L"Spare"),
            Group(L"Output"),
            Param(L"Gain", ePT_Float, &gainOutput, -10, 10, &Heard::Own, &heard)};
  }
};

const std::string kExampleFile = std::string(kHead) +
                                 "[Ungrouped]\r\nLevel=0.250000\r\n"
                                 "[Filter]\r\nGain=-3.500000\r\nBypass=1\r\nTaps=16\r\nMode=2\r\n"
                                 "[Output]\r\nGain=1.000000\r\n";

TEST(DialogValueFiles, SaveWritesTheHeadAndTheSectionsInListOrder) {
  ExampleHost host;
  TestDlg dlg;  // no window: the files need none
  for (tagParamInfoV2 p : host.List()) dlg.AddParam(&p);
  const std::string path = TestFile("example_values.ini");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  EXPECT_EQ(kExampleFile, ReadAll(path));
  EXPECT_EQ(60u, std::string(kHead).size());

  // The wide form writes the same; a save keeps nothing of the old file.
  const std::string widePath = TestFile("example_values_wide.ini");
  WriteAll(widePath, "[Ungrouped]\r\nOld=1\r\n");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(std::wstring(widePath.begin(), widePath.end()).c_str()));
  EXPECT_EQ(kExampleFile, ReadAll(widePath));

  // An empty list and a list of groups alone write the head only.
  TestDlg empty;
  ASSERT_EQ(S_OK, empty.SaveParamValues(path.c_str()));
  EXPECT_EQ(std::string(kHead), ReadAll(path));
  tagParamInfoV2 g = Group(L"Only");
  empty.AddParam(&g);
  ASSERT_EQ(S_OK, empty.SaveParamValues(path.c_str()));
  EXPECT_EQ(std::string(kHead), ReadAll(path));

  // Six decimals: a small float comes out as zero.
  float tiny = 0.0000004f, fine = 0.1234567f;
  TestDlg precise;
  tagParamInfoV2 a = Param(L"Tiny", ePT_Float, &tiny, 0, 1), b = Param(L"Fine", ePT_Float, &fine, 0, 1);
  precise.AddParam(&a);
  precise.AddParam(&b);
  ASSERT_EQ(S_OK, precise.SaveParamValues(path.c_str()));
  EXPECT_EQ(std::string(kHead) + "[Ungrouped]\r\nTiny=0.000000\r\nFine=0.123457\r\n", ReadAll(path));

  // A file that cannot be made: E_FAIL, and nothing else changes.
  EXPECT_EQ(E_FAIL, dlg.SaveParamValues(TestFile("no_such_folder/values.ini").c_str()));
  EXPECT_EQ(E_FAIL, dlg.SaveParamValues(static_cast<const char*>(nullptr)));

  // A bare name means a file beside the application.
  ASSERT_EQ(S_OK, dlg.SaveParamValues("tuning_beside_app.ini"));
  const std::string beside =
      std::string(CStringA(COrvekGlobals::GetApplicationPath()).GetString()) + "tuning_beside_app.ini";
  EXPECT_EQ(kExampleFile, ReadAll(beside));
  std::remove(beside.c_str());

  // A disk that fills up during the save: the write error reaches the caller,
  // and the old file stays whole, with nothing left beside it.
  const std::string full = TestFile("values_full_disk.ini");
  const std::string old = std::string(kHead) + "[Ungrouped]\r\nOld=1\r\n";
  WriteAll(full, old);
  std::vector<float> many(200, 0.5f);
  TestDlg big;
  std::vector<std::wstring> names;
  for (std::size_t i = 0; i < many.size(); ++i) names.push_back(L"Value" + std::to_wstring(i));
  for (std::size_t i = 0; i < many.size(); ++i) {
    tagParamInfoV2 p = Param(names[i].c_str(), ePT_Float, &many[i], 0, 1);
    big.AddParam(&p);
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1024, 1024};
    int code = ::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? 1 : 4;
    try {
      (void)big.SaveParamValues(full.c_str());
    } catch (const CFileException&) {
      code = 0;
    }
    ::_exit(code);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status)) << "the save raised no file error";
  EXPECT_EQ(old, ReadAll(full));
  for (const auto& entry : std::filesystem::directory_iterator(ORVEK_TEST_BINARY_DIR))
    EXPECT_EQ(std::string::npos, entry.path().filename().string().find("values_full_disk.ini.")) << entry.path();
}

TEST(DialogValueFiles, LoadChangesAndReportsOnlyWhatDiffers) {
  ExampleHost host;
  std::vector<tagParamInfoV2> list = host.List();
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), &Heard::All, &host.heard);
  const std::string path = TestFile("load_values.ini");
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));

  // Loading what was just saved changes nothing and reports nothing.
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_TRUE(host.heard.calls.empty());

  // The user touches a control; the dirty flag survives a load.
  ASSERT_TRUE(ShowAndActivate(dlg));
  QTest::mouseClick(dlg.C(3).check.GetQWidget(), Qt::LeftButton);
  EXPECT_EQ(0, host.bypass);
  EXPECT_TRUE(dlg.IsDirty());
  COrvekGlobals::PumpMessages(100);  // its paced report
  host.heard.calls.clear();

  // The head is not needed; unknown keys and sections are passed over; a
  // value outside the bounds is taken and reported; a list value that is
  // no choice stays; a key with no number is passed over.
  WriteAll(path,
           "[Ungrouped]\r\nLevel=3.0\r\nStray=1\r\n"
           "[Filter]\r\nGain=-3.500000\r\nBypass=1\r\nTaps=x\r\nMode=9\r\n"
           "[Elsewhere]\r\nGain=4\r\n"
           "[Output]\r\nGain=1.000000\r\n");
  const std::wstring widePath(path.begin(), path.end());
  ASSERT_EQ(S_OK, dlg.LoadParamValues(widePath.c_str()));
  EXPECT_EQ(3.0f, host.level);
  EXPECT_EQ(-3.5f, host.gainFilter);
  EXPECT_EQ(1, host.bypass);
  EXPECT_EQ(16, host.taps);
  EXPECT_EQ(9, host.mode);
  EXPECT_EQ(1.0f, host.gainOutput);
  using Call = std::pair<char, void*>;
  const std::vector<Call> expected{{'o', &host.level},  {'a', &host.level}, {'o', &host.bypass},
                                   {'a', &host.bypass}, {'o', &host.mode},  {'a', &host.mode}};
  EXPECT_EQ(expected, host.heard.calls);
  EXPECT_TRUE(dlg.IsDirty());

  // The next refresh pulls the level back and shows the list without a
  // selection, without a further report.
  ASSERT_TRUE(WaitFor([&] { return host.level == 1.0f && dlg.C(5).list.GetCurSel() == -1; }, 1000));
  EXPECT_EQ(9, host.mode);
  EXPECT_EQ(BST_CHECKED, dlg.C(3).check.GetCheck());
  COrvekGlobals::PumpMessages(150);
  EXPECT_EQ(6u, host.heard.calls.size());

  // A save forgets the stray keys and clears the flag.
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  EXPECT_FALSE(dlg.IsDirty());
  EXPECT_EQ(std::string::npos, ReadAll(path).find("Stray"));
  EXPECT_EQ(std::string::npos, ReadAll(path).find("Elsewhere"));

  // A missing file changes nothing.
  host.heard.calls.clear();
  EXPECT_EQ(S_OK, dlg.LoadParamValues(TestFile("no_such_values.ini").c_str()));
  EXPECT_EQ(S_OK, dlg.LoadParamValues(static_cast<const wchar_t*>(nullptr)));
  EXPECT_TRUE(host.heard.calls.empty());
  EXPECT_EQ(1.0f, host.level);
  EXPECT_EQ(9, host.mode);

  // More than six decimals come back rounded, and so are reported.
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  host.level = 0.1234567f;
  host.gainOutput = 0.25f;
  ASSERT_EQ(S_OK, dlg.SaveParamValues(path.c_str()));
  host.heard.calls.clear();
  ASSERT_EQ(S_OK, dlg.LoadParamValues(path.c_str()));
  EXPECT_EQ(0.123457f, host.level);
  ASSERT_EQ(2u, host.heard.calls.size());
  EXPECT_EQ(&host.level, host.heard.calls[0].second);
}

TEST(DialogValueFiles, LoadFromAnotherThreadReportsThereUnderTheDialogsLock) {
  ExampleHost host;
  std::vector<tagParamInfoV2> list = host.List();
  TestDlg dlg;
  dlg.Create(list.data(), static_cast<int>(list.size()), &Heard::All, &host.heard);
  ASSERT_TRUE(ShowAndActivate(dlg));
  const std::string path = TestFile("thread_values.ini");
  WriteAll(path, std::string(kHead) + "[Filter]\r\nTaps=32\r\n[Output]\r\nGain=-2.000000\r\n");
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
  EXPECT_EQ(32, host.taps);
  EXPECT_EQ(-2.0f, host.gainOutput);
  ASSERT_EQ(4u, host.heard.calls.size());
  for (const auto& t : host.heard.threads) EXPECT_EQ(loader, t);
  ASSERT_TRUE(WaitFor([&] { return dlg.C(4).slider.GetPos() == 32; }, 1000));
}

// The saves and new entries of a host thread clear the dirty flag while the
// window's thread asks for it: a race the thread sanitizer reports otherwise.
TEST(DialogValueFiles, DirtyFlagIsReadBesideSavesOnAnotherThread) {
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

}  // namespace

// The static helpers for files, paths, text, byte search, numbered names,
// ticks and list comparison.
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

std::string testFolder() {
  char buf[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
  std::string exe(buf, n > 0 ? static_cast<std::size_t>(n) : 0u);
  return exe.substr(0, exe.rfind('/') + 1);
}

// A name of its own beside the test program, removed at the end.
struct ScratchFile {
  explicit ScratchFile(const char* stem)
      : name(std::string(stem) + "_" + std::to_string(::getpid()) + ".bin"), full(testFolder() + name) {
    std::remove(full.c_str());
  }
  ~ScratchFile() { std::remove(full.c_str()); }
  std::string name, full;
};

std::string contents(const std::string& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(Files, WriteCreatesAppendsAndReadSizesFromTheApplicationFolder) {
  ScratchFile f("orvek_frame_rw");
  const std::string elsewhere = "/tmp";
  ASSERT_EQ(::chdir(elsewhere.c_str()), 0);

  // Append on a missing file creates it; the relative name means the
  // application's folder, which becomes the current folder.
  ASSERT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "abc", 3, 1), S_OK);
  char cwd[PATH_MAX];
  ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_EQ(std::string(cwd) + "/", testFolder());
  EXPECT_EQ(CStringA(COrvekGlobals::GetApplicationPath()), testFolder().c_str());
  EXPECT_EQ(contents(f.full), "abc");
  ASSERT_EQ(COrvekGlobals::WriteToFile(CStringW(f.name.c_str()).GetString(), "defg", 4, 1), S_OK);
  EXPECT_EQ(contents(f.full), "abcdefg");
  // Without append the file is emptied first.
  ASSERT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "XYZ12", 5, 0), S_OK);
  EXPECT_EQ(contents(f.full), "XYZ12");

  // A null buffer asks for the size; a buffer of that size reads it all.
  ASSERT_EQ(::chdir(elsewhere.c_str()), 0);
  int size = -1;
  ASSERT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), nullptr, &size), 1);
  EXPECT_EQ(size, 5);
  std::string buf(static_cast<std::size_t>(size), '\0');
  ASSERT_EQ(COrvekGlobals::ReadFromFile(CStringW(f.name.c_str()).GetString(), &buf[0], &size), 1);
  EXPECT_EQ(size, 5);
  EXPECT_EQ(buf, "XYZ12");
  // A smaller buffer reads what fits, a larger one tells how much came.
  char small[3] = {};
  size = 3;
  ASSERT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), small, &size), 1);
  EXPECT_EQ(size, 3);
  EXPECT_EQ(std::string(small, 3), "XYZ");
  // An empty write empties the file.
  ASSERT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), nullptr, 0, 0), S_OK);
  size = -1;
  ASSERT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), nullptr, &size), 1);
  EXPECT_EQ(size, 0);
}

TEST(Files, MissingFilesBusyFilesAndBadInput) {
  ScratchFile f("orvek_frame_missing");
  int size = 1234;
  EXPECT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), nullptr, &size), 0);
  EXPECT_EQ(size, 1234);  // untouched
  char buf[4];
  EXPECT_EQ(COrvekGlobals::ReadFromFile(static_cast<const char*>(nullptr), buf, &size), 0);
  EXPECT_EQ(COrvekGlobals::ReadFromFile(static_cast<const wchar_t*>(nullptr), buf, &size), 0);
  EXPECT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), buf, nullptr), 0);

  // A file that someone holds open cannot be written, and nothing of it is lost.
  ASSERT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "held", 4, 0), S_OK);
  {
    CFile holder;
    ASSERT_TRUE(holder.Open(CStringW(f.full.c_str()), CFile::modeRead));
    EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "lost", 4, 0), E_FAIL);
    EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "lost", 4, 1), E_FAIL);
    EXPECT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), nullptr, &size), 0);
  }
  EXPECT_EQ(contents(f.full), "held");

  EXPECT_EQ(COrvekGlobals::WriteToFile(static_cast<const char*>(nullptr), "x", 1, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), nullptr, 4, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "x", -1, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile("no_such_folder_here/x.bin", "x", 1, 1), E_FAIL);
  EXPECT_EQ(contents(f.full), "held");
  // A write error passes through to the caller as the file exception. Another
  // test program may hold /dev/full for a moment, which gives E_FAIL instead.
  bool thrown = false;
  for (int attempt = 0; attempt < 500 && !thrown; ++attempt) {
    try {
      EXPECT_EQ(COrvekGlobals::WriteToFile("/dev/full", "x", 1, 1), E_FAIL);
      Sleep(10);
    } catch (const CFileException& e) {
      EXPECT_EQ(e.m_cause, CFileException::diskFull);
      thrown = true;
    }
  }
  EXPECT_TRUE(thrown);
}

TEST(Files, FileInfoOfTheLibraryAndOfUnknownModules) {
  tagVS_FIXEDFILEINFO info{};
  ASSERT_EQ(COrvekGlobals::GetFileInfo(OrvekGetModuleHandle(), &info), S_OK);
  EXPECT_EQ(info.dwSignature, 0xFEEF04BDu);
  EXPECT_EQ(info.dwFileVersionMS, (DWORD(ORVEK_TEST_VERSION_MAJOR) << 16) | ORVEK_TEST_VERSION_MINOR);
  EXPECT_EQ(info.dwFileVersionLS, DWORD(ORVEK_TEST_VERSION_PATCH) << 16);
  EXPECT_EQ(info.dwProductVersionMS, info.dwFileVersionMS);

  // The test program has no version until one is registered for it.
  EXPECT_EQ(COrvekGlobals::GetFileInfo(nullptr, &info), E_FAIL);
  int notAModule = 0;
  EXPECT_EQ(COrvekGlobals::GetFileInfo(&notAModule, &info), E_FAIL);
  EXPECT_EQ(COrvekGlobals::GetFileInfo(OrvekGetModuleHandle(), nullptr), E_FAIL);
  ASSERT_TRUE(OrvekRegisterModuleVersion(nullptr, 3, 4, 5, 6));
  ASSERT_EQ(COrvekGlobals::GetFileInfo(nullptr, &info), S_OK);
  EXPECT_EQ(info.dwFileVersionMS, 0x00030004u);
  EXPECT_EQ(info.dwFileVersionLS, 0x00050006u);
}

TEST(Text, WideAndNarrowVectors) {
  std::vector<wchar_t> w(5, L'#');
  COrvekGlobals::CSTRtoWSTR(nullptr, &w);
  ASSERT_EQ(w.size(), 1u);
  EXPECT_EQ(w[0], L'\0');
  COrvekGlobals::CSTRtoWSTR("\xc3\xa9t\xc3\xa9", &w);
  // Sized by the bytes; the text and its closing zero come first.
  ASSERT_EQ(w.size(), 6u);
  EXPECT_EQ(std::wstring(w.data()), L"\u00e9t\u00e9");
  const std::string longText(1500, 'a');
  COrvekGlobals::CSTRtoWSTR(longText.c_str(), &w);
  EXPECT_EQ(w.size(), 1001u);  // cut at 1000 characters
  EXPECT_EQ(w[1000], L'a');    // and no closing zero then

  std::vector<char> n;
  COrvekGlobals::WSTRtoCSTR(nullptr, &n);
  ASSERT_EQ(n.size(), 1u);
  EXPECT_EQ(n[0], '\0');
  COrvekGlobals::WSTRtoCSTR(L"\u00e9t\u00e9", &n);
  ASSERT_EQ(n.size(), 6u);
  EXPECT_EQ(std::string(n.data()), "\xc3\xa9t\xc3\xa9");
  COrvekGlobals::WSTRtoCSTR(L"ab", &n);
  // The last element is left as it was when the vector shrank.
  ASSERT_EQ(n.size(), 3u);
  EXPECT_EQ(std::string(n.data(), 2), "ab");
  EXPECT_EQ(n[2], 't');
  const std::wstring longWide(1500, L'b');
  COrvekGlobals::WSTRtoCSTR(longWide.c_str(), &n);
  EXPECT_EQ(n.size(), 1001u);
  EXPECT_EQ(n[999], 'b');
  COrvekGlobals::CSTRtoWSTR("x", nullptr);  // no crash

  const CStringW wide(L"gr\u00fc\u00df \U0001F600 \xD800");
  CStringA narrow("stale");
  EXPECT_EQ(COrvekGlobals::UnicodeToANSI(&wide, &narrow), S_OK);
  EXPECT_EQ(narrow, "gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80 ?");
  CStringW again(L"stale");
  EXPECT_EQ(COrvekGlobals::ANSIToUnicode(&narrow, &again), S_OK);
  EXPECT_EQ(again, L"gr\u00fc\u00df \U0001F600 ?");
  const CStringA invalid("a\xff");
  EXPECT_EQ(COrvekGlobals::ANSIToUnicode(&invalid, &again), S_OK);
  EXPECT_EQ(again, L"a\xFFFD");
  EXPECT_EQ(COrvekGlobals::UnicodeToANSI(nullptr, &narrow), S_OK);
}

TEST(Search, FindByteSequence) {
  const unsigned char data[] = {1, 2, 3, 4, 5, 6, 3, 4};
  const unsigned char seq[] = {3, 4};
  int pos = -1;
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 2, &pos, 1), S_OK);
  EXPECT_EQ(pos, 2);
  // Only the positions 0, step, 2 step ... are tried.
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 2, &pos, 3), S_OK);
  EXPECT_EQ(pos, 6);  // the last position counts
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 2, &pos, 4), E_FAIL);
  EXPECT_EQ(pos, 8);  // where the search stopped
  // Found at position 0 of longer data.
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, data, 3, &pos, 1), S_OK);
  EXPECT_EQ(pos, 0);
  // Data exactly as long as the sequence.
  EXPECT_EQ(COrvekGlobals::FindByteSequence(seq, 2, seq, 2, &pos, 1), S_OK);
  EXPECT_EQ(pos, 0);
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 2, seq, 2, &pos, 1), E_FAIL);

  pos = 99;
  EXPECT_EQ(COrvekGlobals::FindByteSequence(nullptr, 8, seq, 2, &pos, 1), E_POINTER);
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, nullptr, 2, &pos, 1), E_POINTER);
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 2, nullptr, 1), E_POINTER);
  // dataSize, sequenceSize, step: zero, negative, or data shorter than the sequence.
  for (auto [d, q, st] : {std::array<int, 3>{8, 2, 0}, {8, 2, -1}, {0, 2, 1}, {-8, 2, 1}, {8, 0, 1}, {8, -2, 1}, {1, 2, 1}})
    EXPECT_EQ(COrvekGlobals::FindByteSequence(data, d, seq, q, &pos, st), E_INVALIDARG) << d << " " << q << " " << st;
  EXPECT_EQ(pos, 99);
  // A huge step ends the search instead of overflowing.
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 1, &pos, INT_MAX), E_FAIL);
}

TEST(Search, GetNewIndexFileNameFillsGaps) {
  char tmpl[] = "/tmp/orvek_index_XXXXXX";
  ASSERT_NE(::mkdtemp(tmpl), nullptr);
  const std::string dir = tmpl;
  auto touch = [&](const char* name) { std::ofstream(dir + "/" + name) << "x"; };
  CStringW format((dir + "/cap_%03d.png").c_str());
  CStringW result(L"unchanged");

  ASSERT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, 0), S_OK);
  EXPECT_EQ(CStringA(result), (dir + "/cap_000.png").c_str());
  touch("cap_000.png");
  // maxIndex 0 tries the one name only.
  result = L"unchanged";
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, 0), E_FAIL);
  EXPECT_EQ(result, L"unchanged");
  touch("cap_001.png");
  touch("cap_003.png");
  ASSERT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, 10), S_OK);
  EXPECT_EQ(CStringA(result), (dir + "/cap_002.png").c_str());
  touch("cap_002.png");
  ASSERT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, 10), S_OK);
  EXPECT_EQ(CStringA(result), (dir + "/cap_004.png").c_str());
  result = L"unchanged";
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, 3), E_FAIL);
  EXPECT_EQ(result, L"unchanged");

  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(nullptr, &result, 3), E_POINTER);
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, nullptr, 3), E_POINTER);
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, -1), E_FAIL);
  // Only a format with one integer placeholder is used.
  for (CStringW bad : {L"plain.txt", L"%s.txt", L"%d_%d.txt", L"%*d.txt", L"%ld", L"100%"})
    EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&bad, &result, 3), E_FAIL) << CStringA(bad).GetString();
  CStringW percent((dir + "/100%%_%d").c_str());
  ASSERT_EQ(COrvekGlobals::GetNewIndexFileName(&percent, &result, 3), S_OK);
  EXPECT_EQ(CStringA(result), (dir + "/100%_0").c_str());
  std::system(("rm -rf '" + dir + "'").c_str());
}

TEST(Ticks, ElapsedAcrossTheWrap) {
  EXPECT_EQ(COrvekGlobals::GetTicksElapsed(5, 3), 2u);
  EXPECT_EQ(COrvekGlobals::GetTicksElapsed(0, 0xFFFFFFFFu), 0u);
  EXPECT_EQ(COrvekGlobals::GetTicksElapsed(1, 0xFFFFFFFFu), 1u);
  EXPECT_EQ(COrvekGlobals::GetTicksElapsed(10, 0xFFFFFFF0u), 25u);

  // With the real counter placed just before its wrap.
  OrvekSetTickCountOffset(0xFFFFFFFFu - 20u - (GetTickCount()));
  const ULONG start = GetTickCount();
  Sleep(60);
  const ULONG now = GetTickCount();
  OrvekSetTickCountOffset(0);
  ASSERT_LT(now, start);
  const ULONG elapsed = COrvekGlobals::GetTicksElapsed(now, start);
  EXPECT_GE(elapsed, 59u);
  EXPECT_LT(elapsed, 60000u);
}

TEST(Lists, CompareLists) {
  std::vector<int> a, b;
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), 0);
  b = {1};
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), 1);  // a ended first
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&b, &a), -1);
  a = {1, 2, 3};
  b = {1, 2, 3};
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), 0);
  b = {1, 2, 4};
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), -1);
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&b, &a), 1);
  b = {1, 2};
  // The beginning of the other list counts as the greater one.
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), -1);
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&b, &a), 1);
  b = {0, 9, 9, 9};
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(&a, &b), 1);
}

}  // namespace

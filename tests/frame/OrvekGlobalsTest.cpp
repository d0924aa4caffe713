// The static helpers for files, paths, text, byte search, numbered names,
// ticks, list comparison and the enumeration of orders and arrangements.
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <set>
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
  char buf[4] = {'x', 'x', 'x', 'x'};
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
  size = -5;  // a negative size reads nothing
  EXPECT_EQ(COrvekGlobals::ReadFromFile(f.name.c_str(), buf, &size), 1);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(buf[0], 'x');

  EXPECT_EQ(COrvekGlobals::WriteToFile(static_cast<const char*>(nullptr), "x", 1, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), nullptr, 4, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "x", -1, 0), E_FAIL);
  EXPECT_EQ(COrvekGlobals::WriteToFile(f.name.c_str(), "x", INT_MIN, 0), E_FAIL);
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
  EXPECT_EQ(COrvekGlobals::UnicodeToANSI(nullptr, nullptr), S_OK);
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
  for (auto [d, q, st] :
       {std::array<int, 3>{8, 2, 0}, {8, 2, -1}, {0, 2, 1}, {-8, 2, 1}, {8, 0, 1}, {8, -2, 1}, {1, 2, 1}})
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
  for (CStringW bad :
       {L"plain.txt", L"%s.txt", L"%d_%d.txt", L"%*d.txt", L"%ld", L"100%", L"n%999999999d", L"n%2147483648d"})
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
}

TEST(Lists, CompareLists) {
  std::vector<int> a, b;
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(nullptr, nullptr), 0);
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

using Orders = std::vector<std::vector<int>>;

TEST(Variants, PlaceVariantsInLexicographicOrder) {
  Orders v;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(3, &v), S_OK);
  EXPECT_EQ(v, (Orders{{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}));

  Orders zero, one;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(0, &zero), S_OK);
  EXPECT_EQ(zero, (Orders{{}}));
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(1, &one), S_OK);
  EXPECT_EQ(one, (Orders{{0}}));

  // Appended, not replaced: twice gives the list twice.
  Orders twice;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(2, &twice), S_OK);
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(2, &twice), S_OK);
  EXPECT_EQ(twice, (Orders{{0, 1}, {1, 0}, {0, 1}, {1, 0}}));

  Orders five;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(5, &five), S_OK);
  EXPECT_EQ(five.size(), 120u);
  EXPECT_TRUE(std::is_sorted(five.begin(), five.end()));
  EXPECT_EQ(std::set<std::vector<int>>(five.begin(), five.end()).size(), 120u);

  // Bad input appends nothing and does not crash.
  Orders none;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(-1, &none), S_OK);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(3, nullptr), S_OK);
}

std::vector<CStringW> words(const wchar_t* alphabet, int length) {
  std::vector<CStringW> v;
  EXPECT_EQ(COrvekGlobals::GetStringVariants(alphabet, length, &v), S_OK);
  return v;
}

TEST(Variants, StringVariants) {
  EXPECT_EQ(words(L"abc", 2), (std::vector<CStringW>{L"ab", L"ac", L"ba", L"bc", L"ca", L"cb"}));
  // Length 1 lists every character, the first included.
  EXPECT_EQ(words(L"abc", 1), (std::vector<CStringW>{L"a", L"b", L"c"}));
  // Length equal to the alphabet: all permutations.
  EXPECT_EQ(words(L"abc", 3), (std::vector<CStringW>{L"abc", L"acb", L"bac", L"bca", L"cab", L"cba"}));
  // Nothing for length 0, a length above the alphabet's (also far above:
  // every call ends), an empty or a null alphabet.
  EXPECT_TRUE(words(L"abc", 0).empty());
  EXPECT_TRUE(words(L"abc", -2).empty());
  EXPECT_TRUE(words(L"abc", 4).empty());
  EXPECT_TRUE(words(L"abc", 40).empty());
  EXPECT_TRUE(words(L"", 1).empty());
  EXPECT_TRUE(words(nullptr, 1).empty());
  // Repeated characters are different positions, so variants repeat.
  EXPECT_EQ(words(L"aab", 2), (std::vector<CStringW>{L"aa", L"ab", L"aa", L"ab", L"ba", L"ba"}));
  // Wide characters stay whole.
  EXPECT_EQ(words(L"\u00e9\U0001F600", 2), (std::vector<CStringW>{L"\u00e9\U0001F600", L"\U0001F600\u00e9"}));

  std::vector<CStringW> twice;
  EXPECT_EQ(COrvekGlobals::GetStringVariants(L"xy", 2, &twice), S_OK);
  EXPECT_EQ(COrvekGlobals::GetStringVariants(L"xy", 2, &twice), S_OK);
  EXPECT_EQ(twice, (std::vector<CStringW>{L"xy", L"yx", L"xy", L"yx"}));
  EXPECT_EQ(words(L"abcdef", 3).size(), 120u);
  EXPECT_EQ(COrvekGlobals::GetStringVariants(L"abc", 2, nullptr), S_OK);
}

// Counts whose variants no memory can hold are refused at once, and the
// list is left as it was.
TEST(Variants, CountsBeyondMemoryAreRefused) {
  std::vector<std::vector<int>> places(1);
  EXPECT_EQ(E_OUTOFMEMORY, COrvekGlobals::GetPlaceVariants(20, &places));
  EXPECT_EQ(E_OUTOFMEMORY, COrvekGlobals::GetPlaceVariants(INT_MAX, &places));
  EXPECT_EQ(1u, places.size());
  const std::wstring alphabet(64, L'a');
  std::vector<CStringW> strings;
  EXPECT_EQ(E_OUTOFMEMORY, COrvekGlobals::GetStringVariants(alphabet.c_str(), 16, &strings));
  EXPECT_TRUE(strings.empty());
  EXPECT_EQ(S_OK, COrvekGlobals::GetStringVariants(alphabet.c_str(), 2, &strings));
  EXPECT_EQ(64u * 63u, strings.size());
}

}  // namespace

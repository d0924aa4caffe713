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

// ReadFromFile's result and the size it gave back.
template <typename C>
std::pair<int, int> Read(const C* name, void* buffer, int size) {
  const int result = COrvekGlobals::ReadFromFile(name, buffer, &size);
  return {result, size};
}
using P = std::pair<int, int>;

TEST(Files, WriteCreatesAppendsAndReadSizesFromTheApplicationFolder) {
  ScratchFile f("orvek_frame_rw");
  const char* name = f.name.c_str();
  const CStringW wide(name);
  // Append on a missing file creates it; a relative name means the application's folder, which becomes current.
  ASSERT_EQ(::chdir("/tmp"), 0);
  ASSERT_EQ(COrvekGlobals::WriteToFile(name, "abc", 3, 1), S_OK);
  char cwd[PATH_MAX];
  ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_EQ(std::string(cwd) + "/", testFolder());
  EXPECT_EQ(CStringA(COrvekGlobals::GetApplicationPath()), testFolder().c_str());
  EXPECT_EQ(contents(f.full), "abc");
  ASSERT_EQ(COrvekGlobals::WriteToFile(wide.GetString(), "defg", 4, 1), S_OK);
  EXPECT_EQ(contents(f.full), "abcdefg");
  ASSERT_EQ(COrvekGlobals::WriteToFile(name, "XYZ12", 5, 0), S_OK);  // without append, emptied first
  EXPECT_EQ(contents(f.full), "XYZ12");

  // A null buffer asks for the size; a smaller buffer reads what fits.
  ASSERT_EQ(::chdir("/tmp"), 0);
  EXPECT_EQ(Read(name, nullptr, -1), P(1, 5));
  std::string buf(5, '\0');
  EXPECT_EQ(Read(wide.GetString(), &buf[0], 5), P(1, 5));
  EXPECT_EQ(buf, "XYZ12");
  char small[3] = {};
  EXPECT_EQ(Read(name, small, 3), P(1, 3));
  EXPECT_EQ(std::string(small, 3), "XYZ");
  ASSERT_EQ(COrvekGlobals::WriteToFile(name, nullptr, 0, 0), S_OK);  // an empty write empties the file
  EXPECT_EQ(Read(name, nullptr, -1), P(1, 0));
}

TEST(Files, MissingFilesBusyFilesAndBadInput) {
  ScratchFile f("orvek_frame_missing");
  const char* name = f.name.c_str();
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(Read(name, nullptr, 1234), P(0, 1234));  // the size untouched
  EXPECT_EQ(Read(static_cast<const char*>(nullptr), buf, 4).first, 0);
  EXPECT_EQ(Read(static_cast<const wchar_t*>(nullptr), buf, 4).first, 0);
  EXPECT_EQ(COrvekGlobals::ReadFromFile(name, buf, nullptr), 0);
  // A file that someone holds open cannot be written, and nothing of it is lost.
  ASSERT_EQ(COrvekGlobals::WriteToFile(name, "held", 4, 0), S_OK);
  {
    CFile holder;
    ASSERT_TRUE(holder.Open(CStringW(f.full.c_str()), CFile::modeRead));
    for (int append : {0, 1}) EXPECT_EQ(COrvekGlobals::WriteToFile(name, "lost", 4, append), E_FAIL);
    EXPECT_EQ(Read(name, nullptr, 0).first, 0);
  }
  EXPECT_EQ(Read(name, buf, -5), P(1, 0));  // a negative size reads nothing
  EXPECT_EQ(buf[0], 'x');
  EXPECT_EQ(COrvekGlobals::WriteToFile(static_cast<const char*>(nullptr), "x", 1, 0), E_FAIL);
  for (const auto& [data, size] : {std::pair<const char*, int>{nullptr, 4}, {"x", -1}, {"x", INT_MIN}})
    EXPECT_EQ(COrvekGlobals::WriteToFile(name, data, size, 0), E_FAIL) << size;
  EXPECT_EQ(COrvekGlobals::WriteToFile("no_such_folder_here/x.bin", "x", 1, 1), E_FAIL);
  EXPECT_EQ(contents(f.full), "held");
  // A write error reaches the caller as the file exception; another program may hold /dev/full (E_FAIL) a moment.
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
  int notAModule = 0;
  for (HINSTANCE m : {HINSTANCE(nullptr), HINSTANCE(&notAModule)})
    EXPECT_EQ(COrvekGlobals::GetFileInfo(m, &info), E_FAIL);
  EXPECT_EQ(COrvekGlobals::GetFileInfo(OrvekGetModuleHandle(), nullptr), E_FAIL);
  ASSERT_TRUE(OrvekRegisterModuleVersion(nullptr, 3, 4, 5, 6));
  ASSERT_EQ(COrvekGlobals::GetFileInfo(nullptr, &info), S_OK);
  EXPECT_EQ(std::make_pair(info.dwFileVersionMS, info.dwFileVersionLS), std::make_pair(0x00030004u, 0x00050006u));
}

TEST(Text, WideAndNarrowVectors) {
  std::vector<wchar_t> w(5, L'#');
  COrvekGlobals::CSTRtoWSTR(nullptr, &w);
  EXPECT_EQ(w, std::vector<wchar_t>{L'\0'});
  COrvekGlobals::CSTRtoWSTR("\xc3\xa9t\xc3\xa9", &w);
  // Sized by the bytes; the text and its closing zero come first.
  EXPECT_EQ(std::make_pair(w.size(), std::wstring(w.data())),
            std::make_pair(std::size_t(6), std::wstring(L"\u00e9t\u00e9")));
  COrvekGlobals::CSTRtoWSTR(std::string(1500, 'a').c_str(), &w);
  EXPECT_EQ(std::make_pair(w.size(), w[1000]), std::make_pair(std::size_t(1001), L'a'));  // cut at 1000, no zero

  std::vector<char> n;
  COrvekGlobals::WSTRtoCSTR(nullptr, &n);
  EXPECT_EQ(n, std::vector<char>{'\0'});
  COrvekGlobals::WSTRtoCSTR(L"\u00e9t\u00e9", &n);
  EXPECT_EQ(std::make_pair(n.size(), std::string(n.data())),
            std::make_pair(std::size_t(6), std::string("\xc3\xa9t\xc3\xa9")));
  COrvekGlobals::WSTRtoCSTR(L"ab", &n);  // the last element is left as it was when the vector shrank
  EXPECT_EQ(std::string(n.begin(), n.end()), "abt");
  COrvekGlobals::WSTRtoCSTR(std::wstring(1500, L'b').c_str(), &n);
  EXPECT_EQ(std::make_pair(n.size(), n[999]), std::make_pair(std::size_t(1001), 'b'));
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
  EXPECT_EQ(COrvekGlobals::UnicodeToANSI(nullptr, &narrow) | COrvekGlobals::UnicodeToANSI(nullptr, nullptr), S_OK);
}

TEST(Search, FindByteSequence) {
  const unsigned char data[] = {1, 2, 3, 4, 5, 6, 3, 4}, seq[] = {3, 4};
  // Only the positions 0, step, 2 step ... are tried; a miss leaves the position where the search stopped.
  const struct {
    const unsigned char* d;
    int dataSize;
    const unsigned char* q;
    int seqSize, step;
    LONG result;
    int pos;
  } cases[] = {{data, 8, seq, 2, 1, S_OK, 2},
               {data, 8, seq, 2, 3, S_OK, 6},
               {data, 8, seq, 2, 4, E_FAIL, 8},
               {data, 8, data, 3, 1, S_OK, 0},
               {seq, 2, seq, 2, 1, S_OK, 0},
               {data, 2, seq, 2, 1, E_FAIL, 1},
               {nullptr, 8, seq, 2, 1, E_POINTER, 99},
               {data, 8, nullptr, 2, 1, E_POINTER, 99},
               // dataSize, sequenceSize, step: zero, negative, or data shorter than the sequence.
               {data, 8, seq, 2, 0, E_INVALIDARG, 99},
               {data, 8, seq, 2, -1, E_INVALIDARG, 99},
               {data, 0, seq, 2, 1, E_INVALIDARG, 99},
               {data, -8, seq, 2, 1, E_INVALIDARG, 99},
               {data, 8, seq, 0, 1, E_INVALIDARG, 99},
               {data, 8, seq, -2, 1, E_INVALIDARG, 99},
               {data, 1, seq, 2, 1, E_INVALIDARG, 99}};
  for (const auto& k : cases) {
    int pos = 99;
    EXPECT_EQ(COrvekGlobals::FindByteSequence(k.d, k.dataSize, k.q, k.seqSize, &pos, k.step), k.result)
        << k.dataSize << " " << k.seqSize << " " << k.step;
    EXPECT_EQ(pos, k.pos) << k.dataSize << " " << k.seqSize << " " << k.step;
  }
  int pos = 0;
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 2, nullptr, 1), E_POINTER);
  // A huge step ends the search instead of overflowing.
  EXPECT_EQ(COrvekGlobals::FindByteSequence(data, 8, seq, 1, &pos, INT_MAX), E_FAIL);
}

TEST(Search, GetNewIndexFileNameFillsGaps) {
  char tmpl[] = "/tmp/orvek_index_XXXXXX";
  ASSERT_NE(::mkdtemp(tmpl), nullptr);
  const std::string dir = tmpl;
  CStringW format((dir + "/cap_%03d.png").c_str()), result;
  // Each row: the names made before the call, the maximum index, and the name given (empty: none).
  const struct {
    std::vector<const char*> touch;
    int maxIndex;
    const char* name;
  } steps[] = {{{}, 0, "cap_000.png"},
               {{"cap_000.png"}, 0, nullptr},  // maxIndex 0 tries the one name only
               {{"cap_001.png", "cap_003.png"}, 10, "cap_002.png"},
               {{"cap_002.png"}, 10, "cap_004.png"},
               {{}, 3, nullptr},
               {{}, -1, nullptr}};
  for (const auto& k : steps) {
    for (const char* name : k.touch) std::ofstream(dir + "/" + name) << "x";
    result = L"unchanged";
    EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, &result, k.maxIndex), k.name ? S_OK : E_FAIL) << k.maxIndex;
    EXPECT_EQ(CStringA(result), k.name ? (dir + "/" + k.name).c_str() : "unchanged");
  }
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(nullptr, &result, 3), E_POINTER);
  EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&format, nullptr, 3), E_POINTER);
  // Only a format with one integer placeholder is used.
  for (CStringW bad :
       {L"plain.txt", L"%s.txt", L"%d_%d.txt", L"%*d.txt", L"%ld", L"100%", L"n%999999999d", L"n%2147483648d"})
    EXPECT_EQ(COrvekGlobals::GetNewIndexFileName(&bad, &result, 3), E_FAIL) << CStringA(bad).GetString();
  CStringW percent((dir + "/100%%_%d").c_str());
  ASSERT_EQ(COrvekGlobals::GetNewIndexFileName(&percent, &result, 3), S_OK);
  EXPECT_EQ(CStringA(result), (dir + "/100%_0").c_str());
  std::system(("rm -rf '" + dir + "'").c_str());
}

TEST(Helpers, TicksElapsedAcrossTheWrapAndCompareLists) {
  EXPECT_EQ((std::vector<DWORD>{COrvekGlobals::GetTicksElapsed(5, 3), COrvekGlobals::GetTicksElapsed(0, 0xFFFFFFFFu),
                                COrvekGlobals::GetTicksElapsed(1, 0xFFFFFFFFu),
                                COrvekGlobals::GetTicksElapsed(10, 0xFFFFFFF0u)}),
            (std::vector<DWORD>{2, 0, 1, 25}));
  // An ended list, or the beginning of the other one, counts as the greater.
  using L = std::vector<int>;
  EXPECT_EQ(COrvekGlobals::CompareLists<int>(nullptr, nullptr), 0);
  const struct {
    L a, b;
    int result;
  } cases[] = {{{}, {}, 0},
               {{}, {1}, 1},
               {{1, 2, 3}, {1, 2, 3}, 0},
               {{1, 2, 3}, {1, 2, 4}, -1},
               {{1, 2, 3}, {1, 2}, -1},
               {{1, 2, 3}, {0, 9, 9, 9}, 1}};
  for (auto k : cases) {
    EXPECT_EQ(COrvekGlobals::CompareLists<int>(&k.a, &k.b), k.result) << ::testing::PrintToString(k.a);
    EXPECT_EQ(COrvekGlobals::CompareLists<int>(&k.b, &k.a), -k.result) << ::testing::PrintToString(k.a);
  }
}

using Orders = std::vector<std::vector<int>>;
using Words = std::vector<CStringW>;

Orders places(int n, int times = 1) {
  Orders v;
  for (int i = 0; i < times; ++i) EXPECT_EQ(COrvekGlobals::GetPlaceVariants(n, &v), S_OK);
  return v;
}

Words words(const wchar_t* alphabet, int length, int times = 1) {
  Words v;
  for (int i = 0; i < times; ++i) EXPECT_EQ(COrvekGlobals::GetStringVariants(alphabet, length, &v), S_OK);
  return v;
}

// Orders in lexicographic order, appended (twice gives the list twice); bad input appends nothing.
TEST(Variants, PlaceAndStringVariants) {
  EXPECT_EQ(places(3), (Orders{{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}));
  EXPECT_EQ(places(0), (Orders{{}}));
  EXPECT_EQ(places(1), (Orders{{0}}));
  EXPECT_EQ(places(2, 2), (Orders{{0, 1}, {1, 0}, {0, 1}, {1, 0}}));
  const Orders five = places(5);
  EXPECT_EQ(five.size(), 120u);
  EXPECT_TRUE(std::is_sorted(five.begin(), five.end()));
  EXPECT_EQ(std::set<std::vector<int>>(five.begin(), five.end()).size(), 120u);
  EXPECT_TRUE(places(-1).empty());
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(3, nullptr), S_OK);

  EXPECT_EQ(words(L"abc", 2), (Words{L"ab", L"ac", L"ba", L"bc", L"ca", L"cb"}));
  EXPECT_EQ(words(L"abc", 1), (Words{L"a", L"b", L"c"}));
  EXPECT_EQ(words(L"abc", 3), (Words{L"abc", L"acb", L"bac", L"bca", L"cab", L"cba"}));
  // Nothing for length 0, a length above the alphabet's (also far above), an empty or a null alphabet.
  for (const auto& [alphabet, length] :
       {std::pair<const wchar_t*, int>{L"abc", 0}, {L"abc", -2}, {L"abc", 4}, {L"abc", 40}, {L"", 1}, {nullptr, 1}})
    EXPECT_TRUE(words(alphabet, length).empty()) << length;
  // Repeated characters are different positions, so variants repeat; wide characters stay whole.
  EXPECT_EQ(words(L"aab", 2), (Words{L"aa", L"ab", L"aa", L"ab", L"ba", L"ba"}));
  EXPECT_EQ(words(L"\u00e9\U0001F600", 2), (Words{L"\u00e9\U0001F600", L"\U0001F600\u00e9"}));
  EXPECT_EQ(words(L"xy", 2, 2), (Words{L"xy", L"yx", L"xy", L"yx"}));
  EXPECT_EQ(words(L"abcdef", 3).size(), 120u);
  EXPECT_EQ(COrvekGlobals::GetStringVariants(L"abc", 2, nullptr), S_OK);
}

// Counts whose variants no memory can hold are refused at once, the list left as it was.
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

// Brute-force enumeration of orders and arrangements.
#include <orvek/frame/OrvekGlobals.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <set>
#include <string>

namespace {

using Orders = std::vector<std::vector<int>>;

TEST(Variants, PlaceVariantsInLexicographicOrder) {
  Orders v;
  EXPECT_EQ(COrvekGlobals::GetPlaceVariants(3, &v), S_OK);
  EXPECT_EQ(v, (Orders{{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}));

  Orders zero, one;
  COrvekGlobals::GetPlaceVariants(0, &zero);
  EXPECT_EQ(zero, (Orders{{}}));
  COrvekGlobals::GetPlaceVariants(1, &one);
  EXPECT_EQ(one, (Orders{{0}}));

  // Appended, not replaced: twice gives the list twice.
  Orders twice;
  COrvekGlobals::GetPlaceVariants(2, &twice);
  COrvekGlobals::GetPlaceVariants(2, &twice);
  EXPECT_EQ(twice, (Orders{{0, 1}, {1, 0}, {0, 1}, {1, 0}}));

  Orders five;
  COrvekGlobals::GetPlaceVariants(5, &five);
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
  COrvekGlobals::GetStringVariants(L"xy", 2, &twice);
  COrvekGlobals::GetStringVariants(L"xy", 2, &twice);
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

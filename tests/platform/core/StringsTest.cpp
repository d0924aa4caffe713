// UTF-8 conversions, the converters with the host's counting rules, and the
// members of CStringW, CStringA and CStringArray.
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Strings.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

TEST(Utf8, NullEmptyAsciiAndNonAscii) {
  EXPECT_EQ(Utf8ToWide(nullptr, 5) + Utf8ToWide("", 0) + Utf8ToWide("plain", 5), L"plain");
  EXPECT_EQ(WideToUtf8(nullptr, 5) + WideToUtf8(L"", 0) + WideToUtf8(L"plain", 5), "plain");
  // Two-, three- and four-byte forms, byte for byte.
  const char utf8[] = "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";
  const wchar_t wide[] = {0xE9, 0x20AC, 0x1F600, 0};
  EXPECT_EQ(Utf8ToWide(utf8, sizeof utf8 - 1), wide);
  EXPECT_EQ(WideToUtf8(wide, 3), utf8);
  // Embedded zeros count as characters when a length is given.
  EXPECT_EQ(Utf8ToWide("a\0b", 3), std::wstring(L"a\0b", 3));
}

TEST(Utf8, InvalidBytesAndUnencodableCharacters) {
  // A stray continuation byte, an invalid lead, an overlong form, a UTF-8
  // surrogate, a code point above U+10FFFF and a sequence cut short.
  // The byte that broke a sequence starts the next character; a length shorter than the text cuts the sequence.
  const std::pair<std::string, const wchar_t*> invalid[] = {
      {"a\x80z", L"a\xFFFDz"},         {"\xff", L"\xFFFD"},     {"\xc0\xaf", L"\xFFFD"},  {"\xed\xa0\x80", L"\xFFFD"},
      {"\xf4\x90\x80\x80", L"\xFFFD"}, {"\xe2\x82", L"\xFFFD"}, {"\xe2\x82z", L"\xFFFDz"}};
  for (const auto& [bytes, wide] : invalid) EXPECT_EQ(Utf8ToWide(bytes.data(), bytes.size()), wide);
  EXPECT_EQ(Utf8ToWide("\xc3\xa9", 1), L"\xFFFD");

  const wchar_t bad[] = {
      L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1), L'z', 0};
  EXPECT_EQ(WideToUtf8(bad, 5), "a???z");
  BOOL usedDefault = FALSE;
  char out[8] = {};
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, bad, 5, out, sizeof out, "?", &usedDefault), 5);
  EXPECT_TRUE(usedDefault);
  EXPECT_EQ(std::string(out, 5), "a???z");
}

TEST(Utf8, ConvertersFollowTheHostCountingRules) {
  // -1 counts the closing zero; a size of 0 asks for the size needed.
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\xc3\xa9t\xc3\xa9", -1, nullptr, 0), 4);
  wchar_t w[4];
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\xc3\xa9t\xc3\xa9", -1, w, 4), 4);
  EXPECT_EQ(std::wstring(w), L"\u00e9t\u00e9");
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, w, -1, nullptr, 0, nullptr, nullptr), 6);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, w, 3, nullptr, 0, nullptr, nullptr), 5);
  // Too small: what fits is written, the result is 0.
  char n[3] = {'x', 'x', 'x'};
  SetLastError(0);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, w, -1, n, 3, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(std::string(n, 3), "\xc3\xa9t");
  // Bad input: no text, a length of 0 or below -1, no room.
  for (const auto& [text, length, out] :
       {std::tuple<const char*, int, wchar_t*>{nullptr, -1, w}, {"a", 0, w}, {"a", -2, w}, {"a", 1, nullptr}})
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, text, length, out, 4), 0) << length;
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, L"a", 1, n, -1, nullptr, nullptr), 0);
}

TEST(CString, ConversionAcrossWidthsAndNullText) {
  EXPECT_STREQ(CStringW(static_cast<const wchar_t*>(nullptr)).GetString(), L"");
  EXPECT_TRUE(CStringA(static_cast<const wchar_t*>(nullptr)).IsEmpty());
  EXPECT_EQ(CStringA("abc", 2), "ab");
  EXPECT_EQ(CStringA("abc", -1), "");
  EXPECT_EQ(CStringW(L'x', 3), L"xxx");

  const CStringW w(L"\u00e9t\u00e9 \U0001F600");
  CStringA a(w);
  EXPECT_EQ(a, "\xc3\xa9t\xc3\xa9 \xf0\x9f\x98\x80");
  EXPECT_EQ(std::make_pair(a.GetLength(), w.GetLength()), std::make_pair(10, 5));
  CStringW back;
  back = a;
  EXPECT_EQ(back, w);
  a = L"\u00fc";
  EXPECT_EQ(a, "\xc3\xbc");
  a = static_cast<const char*>(nullptr);
  EXPECT_TRUE(a.IsEmpty());
  EXPECT_EQ(CStringW(L"ab") + L"c" + L'd', L"abcd");
  EXPECT_GT(CStringA("x").Compare(nullptr), 0);
}

TEST(CString, FormatAndBuffers) {
  CStringW w;
  w.Format(L"%d-%03d %ls %.2f", -5, 7, L"\u00e9", 1.5);
  EXPECT_EQ(w, L"-5-007 \u00e9 1.50");
  w.AppendFormat(L"|%x", 255);
  EXPECT_EQ(w, L"-5-007 \u00e9 1.50|ff");
  // Longer than any small first buffer, in both widths.
  w.Format(L"<%ls>", std::wstring(5000, L'w').c_str());
  CStringA a;
  a.Format("%s%d", std::string(3000, 'n').c_str(), 12);
  EXPECT_EQ(std::make_tuple(w.GetLength(), a.GetLength(), a.Right(3)), std::make_tuple(5002, 3002, CStringA("n12")));
  // A conversion the C library cannot make leaves the text as it was, at once.
  w = L"kept";
  w.Format(L"%s", "\xc3\xa9");
  EXPECT_EQ(w, L"kept");

  CStringW b(L"ab");
  wcscpy(b.GetBuffer(10), L"abcdef");
  b.ReleaseBuffer();
  EXPECT_EQ(b, L"abcdef");
  b.GetBuffer(0)[2] = 0;
  b.ReleaseBuffer();
  EXPECT_EQ(b, L"ab");
  b.GetBufferSetLength(4)[3] = L'z';
  b.ReleaseBufferSetLength(4);
  EXPECT_EQ(b.GetAt(3), L'z');
}

TEST(CString, EditingAndSearchingClampsOutOfRangeArguments) {
  CStringW s(L"hello world");
  using I = std::vector<int>;
  using W = std::vector<CStringW>;
  EXPECT_EQ((I{s.Find(L'o', 5), s.Find(L'o', 99), s.Find(L"wor"), s.Find(static_cast<const wchar_t*>(nullptr)),
               s.ReverseFind(L'o')}),
            (I{7, -1, 6, -1, 7}));
  EXPECT_EQ((W{s.Left(-1), s.Left(99), s.Right(5), s.Mid(6, 2), s.Mid(99), s.Mid(-3, 2)}),
            (W{L"", s, L"world", L"wo", L"", L"he"}));
  EXPECT_EQ((I{s.Insert(5, L","), s.Insert(99, L'!')}), (I{12, 13}));
  EXPECT_EQ(s, L"hello, world!");
  EXPECT_EQ((I{s.Delete(5, 1), s.Delete(11, 50), s.Delete(99, 1), s.Replace(L"o", L"00")}), (I{12, 11, 11, 2}));
  EXPECT_EQ(s, L"hell00 w00rld");
  EXPECT_EQ(s.Replace(L"", L"x"), 0);

  CStringA t("  \tMixed Case \r\n");
  t.Trim();
  EXPECT_EQ(t, "Mixed Case");
  EXPECT_EQ(CStringA(t).MakeUpper(), "MIXED CASE");
  EXPECT_TRUE(t.CompareNoCase("mixed CASE") == 0 && t.CompareNoCase("mixed cases") < 0 && t.CompareNoCase("mixed") > 0);
}

TEST(CStringArray, ElementsKeepTheirAddressesWhileItGrows) {
  CStringArray list;
  EXPECT_EQ(list.Add(L"first"), 0);
  const CStringW* first = &list[0];
  for (int i = 1; i < 2000; ++i) list.Add(CStringW(L'x', i % 7));
  EXPECT_EQ(&list[0], first);
  EXPECT_EQ(*first, L"first");
  EXPECT_EQ(list.GetCount(), 2000);
}

}  // namespace

#include <gtest/gtest.h>

#include <orvek/persistence/IniFile.h>

#include "Files.h"

TEST(IniAccess, TypedFormatsAndScans) {
  ScratchDir dir;
  const std::string path = dir / "typed.ini";
  writeFile(path, "[S]\r\nupper=0XDEADBEEF\r\ndec=3735928559\r\nblank= 0xdeadbeef\r\ntrail=12abc\r\n"
                  "note=7 # seven\r\nlead= 12\r\nempty=\r\nword=abc\r\nexp=1e3\r\n");
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  const ULONG hex = 0xDEADBEEF;
  const float f = 1.5f;
  const int minusOne = -1;
  const unsigned long long big = 18446744073709551615ull;
  const ULONGLONG ten = 10;
  EXPECT_EQ(S_OK, ini.WriteParam("N", "hex", &hex));
  EXPECT_EQ(S_OK, ini.WriteParam(L"N", L"float", &f));
  EXPECT_EQ(S_OK, ini.WriteParam("N", "int", &minusOne));
  EXPECT_EQ(S_OK, ini.WriteParam("N", "ull", &big));
  EXPECT_EQ(S_OK, ini.WriteParam(L"N", L"u64", &ten));
  EXPECT_EQ(S_OK, ini.Close());
  const std::string text = readFile(path);
  EXPECT_EQ("[N]\r\nhex=0xdeadbeef\r\nfloat=1.500000\r\nint=-1\r\null=18446744073709551615\r\nu64=10\r\n",
            text.substr(text.find("[N]")));

  ULONG h = 5;
  float g = 0;
  unsigned long long b = 0;
  ULONGLONG t = 0;
  UINT allBits = 0;
  EXPECT_EQ(S_OK, ini.ReadParam(L"N", L"hex", &h));
  EXPECT_EQ(S_OK, ini.ReadParam("N", "float", &g));
  EXPECT_EQ(S_OK, ini.ReadParam("N", "ull", &b));
  EXPECT_EQ(S_OK, ini.ReadParam("N", "u64", &t));
  EXPECT_EQ(S_OK, ini.ReadParam("N", "int", "%d", &allBits));  // -1 holds all 32 bits
  EXPECT_EQ(0xDEADBEEFu, h);
  EXPECT_EQ(1.5f, g);
  EXPECT_EQ(big, b);
  EXPECT_EQ(10u, t);
  EXPECT_EQ(0xFFFFFFFFu, allBits);

  // The hexadecimal form wants a literal "0x" at the very start.
  for (const char* key : {"upper", "dec", "blank"}) EXPECT_EQ(E_FAIL, ini.ReadParam("S", key, &h)) << key;
  EXPECT_EQ(0xDEADBEEFu, h);
  // Numbers: text behind them ignored, blanks in front skipped.
  for (const auto& c : {std::make_pair("trail", 12), {"note", 7}, {"lead", 12}}) {
    int n = 0;
    EXPECT_EQ(S_OK, ini.ReadParam("S", c.first, &n));
    EXPECT_EQ(c.second, n);
  }
  int n = 99;
  for (const char* key : {"empty", "word", "none"}) EXPECT_EQ(E_FAIL, ini.ReadParam("S", key, &n)) << key;
  EXPECT_EQ(E_FAIL, ini.ReadParam("T", "trail", &n));
  EXPECT_EQ(99, n);
  EXPECT_EQ(S_OK, ini.ReadParam("S", "exp", &g));
  EXPECT_EQ(1000.0f, g);

  // The general form stores one number, and nothing it cannot size.
  char word[4];
  for (const char* format : {"%s", "%d%d", "%n", "%*[0-9]%s", "%1$d"})
    EXPECT_EQ(E_INVALIDARG, ini.ReadParam("S", "trail", format, word)) << format;
  EXPECT_EQ(S_OK, ini.ReadParam("S", "word", "%*[a]%x", &h));
  EXPECT_EQ(0xBCu, h);
  EXPECT_EQ(E_POINTER, ini.ReadParam("S", "trail", nullptr, &n));
}

TEST(IniAccess, StringsAndBuffers) {
  ScratchDir dir;
  writeFile(dir / "s.ini", "[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=Gr\xC3\xBC\xC3\x9F" "e\r\n[]\r\n=nameless\r\n");
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create((dir / "s.ini").c_str(), 1, 0));
  struct Case {
    const char* key;
    int size;
    LONG hr;
    const char* buffer;
  } cases[] = {{"e", 1, S_OK, ""},        {"one", 1, E_FAIL, ""},  {"three", 4, S_OK, "abc"},
               {"four", 4, E_FAIL, "abc"}, {"none", 4, E_FAIL, ""}, {"one", 0, E_FAIL, "xyz"}};
  for (const Case& c : cases) {
    char narrow[4] = "xyz";
    wchar_t wide[4] = L"xyz";
    EXPECT_EQ(c.hr, ini.ReadString("S", c.key, narrow, c.size)) << c.key << c.size;
    EXPECT_EQ(c.hr, ini.ReadString(CStringW(L"S"), CStringW(c.key), wide, c.size)) << c.key << c.size;
    EXPECT_STREQ(c.buffer, narrow);
    EXPECT_EQ(CStringW(c.buffer), CStringW(wide));
  }
  char small[6];
  wchar_t wsmall[6];
  EXPECT_EQ(E_POINTER, ini.ReadString("S", nullptr, small, 4));
  EXPECT_EQ(E_POINTER, ini.ReadString(L"S", L"one", static_cast<wchar_t*>(nullptr), 4));

  // Narrow text is UTF-8: a wide buffer counts characters, a narrow one bytes.
  CStringW value;
  EXPECT_EQ(S_OK, ini.ReadString("S", "u", &value));
  EXPECT_EQ(CStringW(L"Gr\u00FC\u00DFe"), value);
  EXPECT_EQ(S_OK, ini.ReadString(L"S", L"u", wsmall, 6));
  EXPECT_EQ(E_FAIL, ini.ReadString("S", "u", small, 6));
  // A null wide name is the empty name; a null narrow one is refused.
  EXPECT_EQ(S_OK, ini.ReadString(static_cast<const wchar_t*>(nullptr), nullptr, &value));
  EXPECT_EQ(CStringW(L"nameless"), value);
  EXPECT_EQ(E_POINTER, ini.ReadString("S", nullptr, &value));

  EXPECT_EQ(S_OK, ini.WriteString(L"S", L"u", L"\u00B5s"));
  EXPECT_EQ(S_OK, ini.WriteString(L"S", nullptr, L"k"));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=\xC2\xB5s\r\n=k\r\n[]\r\n=nameless\r\n", readFile(dir / "s.ini"));
}

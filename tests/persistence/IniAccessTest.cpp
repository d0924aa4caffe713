#include <gtest/gtest.h>

#include <orvek/persistence/IniFile.h>

#include "Files.h"

namespace {

class IniAccess : public ::testing::Test {
 protected:
  // Loads text as a writable file.
  void load(const std::string& text) {
    writeFile(m_dir / "typed.ini", text);
    ASSERT_EQ(S_OK, m_ini.Create((m_dir / "typed.ini").c_str(), 1, 0));
  }
  std::string saved() {
    EXPECT_EQ(S_OK, m_ini.Close());
    return readFile(m_dir / "typed.ini");
  }

  ScratchDir m_dir;
  CIniFile m_ini;
};

}  // namespace

TEST_F(IniAccess, WrittenFormats) {
  load("");
  const ULONG hex = 0xDEADBEEF;
  const float f = 1.5f;
  const int minusOne = -1;
  const unsigned long long big = 18446744073709551615ull;
  const ULONGLONG big2 = 10;
  EXPECT_EQ(S_OK, m_ini.WriteParam("N", "hex", &hex));
  EXPECT_EQ(S_OK, m_ini.WriteParam(L"N", L"float", &f));
  EXPECT_EQ(S_OK, m_ini.WriteParam("N", "int", &minusOne));
  EXPECT_EQ(S_OK, m_ini.WriteParam("N", "ull", &big));
  EXPECT_EQ(S_OK, m_ini.WriteParam(L"N", L"u64", &big2));
  EXPECT_EQ("[N]\r\nhex=0xdeadbeef\r\nfloat=1.500000\r\nint=-1\r\null=18446744073709551615\r\nu64=10\r\n", saved());

  ULONG hexBack = 0;
  float fBack = 0;
  unsigned long long bigBack = 0;
  ULONGLONG big2Back = 0;
  EXPECT_EQ(S_OK, m_ini.ReadParam(L"N", L"hex", &hexBack));
  EXPECT_EQ(0xDEADBEEFu, hexBack);
  EXPECT_EQ(S_OK, m_ini.ReadParam("N", "float", &fBack));
  EXPECT_EQ(1.5f, fBack);
  EXPECT_EQ(S_OK, m_ini.ReadParam("N", "ull", &bigBack));
  EXPECT_EQ(big, bigBack);
  EXPECT_EQ(S_OK, m_ini.ReadParam("N", "u64", &big2Back));
  EXPECT_EQ(10u, big2Back);
  // "%d" of -1 gives back all bits of an unsigned 32-bit value.
  UINT allBits = 0;
  EXPECT_EQ(S_OK, m_ini.ReadParam("N", "int", "%d", &allBits));
  EXPECT_EQ(0xFFFFFFFFu, allBits);
}

TEST_F(IniAccess, ScanRules) {
  load("[S]\r\nupper=0XDEADBEEF\r\ndec=3735928559\r\nblank= 0xdeadbeef\r\nshort=0x1f\r\n"
       "trail=12abc\r\nnote=7 # seven\r\nlead= 12\r\nempty=\r\nword=abc\r\nexp=1e3\r\nneg=-2.5x\r\n");
  ULONG hex = 5;
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "upper", &hex));
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "dec", &hex));
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "blank", &hex));
  EXPECT_EQ(5u, hex);
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "short", &hex));
  EXPECT_EQ(0x1Fu, hex);

  int n = 0;
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "trail", &n));
  EXPECT_EQ(12, n);
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "note", &n));
  EXPECT_EQ(7, n);
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "lead", &n));
  EXPECT_EQ(12, n);
  n = 99;
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "empty", &n));
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "word", &n));
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("S", "none", &n));
  EXPECT_EQ(E_FAIL, m_ini.ReadParam("T", "trail", &n));
  EXPECT_EQ(99, n);

  float f = 0;
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "exp", &f));
  EXPECT_EQ(1000.0f, f);
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "neg", &f));
  EXPECT_EQ(-2.5f, f);

  // The general form stores one number and nothing else.
  char text[4];
  EXPECT_EQ(E_INVALIDARG, m_ini.ReadParam("S", "word", "%s", text));
  EXPECT_EQ(E_INVALIDARG, m_ini.ReadParam("S", "trail", "%d%d", &n));
  EXPECT_EQ(E_INVALIDARG, m_ini.ReadParam("S", "trail", "%n", &n));
  EXPECT_EQ(E_INVALIDARG, m_ini.ReadParam("S", "trail", "%*[0-9]%s", text));
  EXPECT_EQ(S_OK, m_ini.ReadParam("S", "word", "%*[a]%x", &hex));
  EXPECT_EQ(0xBCu, hex);
  EXPECT_EQ(E_POINTER, m_ini.ReadParam("S", "trail", nullptr, &n));
}

TEST_F(IniAccess, StringsAndBuffers) {
  load("[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=Gr\xC3\xBC\xC3\x9F" "e\r\n[]\r\n=nameless\r\n");
  char small[4] = "xyz";
  wchar_t wsmall[4] = L"xyz";
  EXPECT_EQ(S_OK, m_ini.ReadString("S", "e", small, 1));
  EXPECT_EQ('\0', small[0]);
  EXPECT_EQ(E_FAIL, m_ini.ReadString("S", "one", small, 1));
  EXPECT_EQ('\0', small[0]);
  EXPECT_EQ(S_OK, m_ini.ReadString("S", "three", small, 4));
  EXPECT_STREQ("abc", small);
  EXPECT_EQ(E_FAIL, m_ini.ReadString("S", "four", small, 4));
  EXPECT_STREQ("abc", small);
  EXPECT_EQ(E_FAIL, m_ini.ReadString(L"S", L"four", wsmall, 4));
  EXPECT_STREQ(L"abc", wsmall);
  EXPECT_EQ(S_OK, m_ini.ReadString(L"S", L"three", wsmall, 4));
  EXPECT_STREQ(L"abc", wsmall);
  EXPECT_EQ(E_FAIL, m_ini.ReadString("S", "none", small, 4));
  EXPECT_EQ('\0', small[0]);
  EXPECT_EQ(E_FAIL, m_ini.ReadString("S", "one", small, 0));
  EXPECT_EQ(E_POINTER, m_ini.ReadString("S", nullptr, small, 4));
  EXPECT_EQ(E_POINTER, m_ini.ReadString(L"S", L"one", static_cast<wchar_t*>(nullptr), 4));

  // Narrow text is UTF-8; a wide buffer counts characters, a narrow one bytes.
  CStringW value;
  EXPECT_EQ(S_OK, m_ini.ReadString("S", "u", &value));
  EXPECT_EQ(CStringW(L"Gr\u00FC\u00DFe"), value);
  wchar_t w6[6];
  EXPECT_EQ(S_OK, m_ini.ReadString(L"S", L"u", w6, 6));
  char n6[6];
  EXPECT_EQ(E_FAIL, m_ini.ReadString("S", "u", n6, 6));
  // A null wide name is the empty name.
  EXPECT_EQ(S_OK, m_ini.ReadString(static_cast<const wchar_t*>(nullptr), nullptr, &value));
  EXPECT_EQ(CStringW(L"nameless"), value);
  EXPECT_EQ(E_POINTER, m_ini.ReadString("S", nullptr, &value));

  EXPECT_EQ(S_OK, m_ini.WriteString(L"S", L"u", L"\u00B5s"));
  EXPECT_EQ(S_OK, m_ini.WriteString(L"S", nullptr, L"k"));
  EXPECT_EQ("[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=\xC2\xB5s\r\n=k\r\n[]\r\n=nameless\r\n", saved());
}

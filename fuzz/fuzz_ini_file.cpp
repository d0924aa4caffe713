// CIniFile on arbitrary file bytes (and an arbitrary backup), then reads and
// writes of arbitrary names and values, then Close. Beyond "no crash, no
// leak" it checks what a user relies on: a value written under names the
// engine accepts reads back byte for byte, no other value changes, and the
// file holds exactly the text after Close.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>

#include <orvek/persistence/IniFile.h>

#include "FuzzFiles.h"

namespace {

class Probe : public CIniFile {
 public:
  // The raw bytes of a value, or false when it is not found.
  bool raw(const std::string& section, const std::string& key, std::string* value, int* at = nullptr) const {
    int start = 0, end = 0, valueStart = 0, valueEnd = 0;
    if (FindSection(section.c_str(), &start, &end) != S_OK) return false;
    FUZZ_CHECK(0 <= start && start <= end && end <= m_strContent.GetLength());
    if (FindParameter(start, end, key.c_str(), &valueStart, &valueEnd) != S_OK) return false;
    FUZZ_CHECK(start <= valueStart && valueStart <= valueEnd && valueEnd <= end);
    value->assign(m_strContent.GetString() + valueStart, static_cast<std::size_t>(valueEnd - valueStart));
    if (at) *at = valueStart;
    return true;
  }
  const CStringA& text() const { return m_strContent; }
};

// A name from the input: often one of a few short ones, so that reads and
// writes meet, otherwise any bytes up to the first 0.
std::string name(FuzzedDataProvider& in) {
  static const char* const common[] = {"", "S", "T", "k", "x", "[S]", "a=b", "S]\r\n[T", "k\r\n", "\n"};
  if (in.ConsumeBool()) return common[in.ConsumeIntegralInRange<std::size_t>(0, sizeof common / sizeof *common - 1)];
  const std::string s = in.ConsumeRandomLengthString(24);
  return s.substr(0, s.find('\0'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzScratch scratch;
  const std::string path = scratch / "fuzz.ini", backupPath = scratch / "Backup/fuzz.ini.bak";
  FuzzedDataProvider in(data, size);

  const int bBackup = in.ConsumeBool();
  writeFile(path, in.ConsumeRandomLengthString(2048));
  std::filesystem::create_directory(scratch / "Backup");
  writeFile(backupPath, in.ConsumeRandomLengthString(512));

  Probe ini;
  FUZZ_CHECK(ini.Create(path.c_str(), 1, bBackup) == S_OK);
  FUZZ_CHECK(std::strlen(ini.text().GetString()) == static_cast<std::size_t>(ini.text().GetLength()));

  for (int op = 0; op < 48 && in.remaining_bytes() > 0; ++op) {
    const std::string section = name(in), key = name(in);
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
      case 0: {  // a string write, and what it must and must not change
        std::string value = in.ConsumeRandomLengthString(32);
        value = value.substr(0, value.find('\0'));
        const std::string otherSection = name(in), otherKey = name(in);
        std::string otherBefore, otherAfter, back, unused;
        int otherAt = -1, at = -2;
        const bool other = ini.raw(otherSection, otherKey, &otherBefore, &otherAt);
        // Two pairs of names may name the same bytes: a '[' that begins a
        // body does not end it, so in "[N]\r\n[]\r\n=v\r\n" the value v is
        // both N/"" and ""/"". A write to one of them changes the other too.
        const bool shared = ini.raw(section, key, &unused, &at) && at == otherAt;
        // For the same reason a line that begins with '[' right after a
        // header belongs to that body only while nothing is written between
        // them: in "[T]\r\n[N]\r\n[]\r\n=A\r\n" a key written to T goes
        // after "[N]", and "[]" then ends N's body, so N/"" is gone.
        const bool bracketOpensABody = ini.text().Find("]\r\n[") >= 0;
        const LONG hr = ini.WriteString(section.c_str(), key.c_str(), value.c_str());
        if (hr != S_OK) break;
        if (value.find("\r\n") != std::string::npos) break;  // goes in as two lines
        FUZZ_CHECK(ini.raw(section, key, &back, &at) && back == value);
        if (other && !shared && !bracketOpensABody && (otherSection != section || otherKey != key)) {
          FUZZ_CHECK(ini.raw(otherSection, otherKey, &otherAfter, &otherAt));
          if (otherAt != at) FUZZ_CHECK(otherAfter == otherBefore);
        }
        break;
      }
      case 1: {
        CStringW value;
        ini.ReadString(section.c_str(), key.c_str(), &value);
        ini.ReadString(CStringW(section.c_str()), CStringW(key.c_str()), &value);
        break;
      }
      case 2: {  // buffers: always terminated, never written past nSize
        const int n = in.ConsumeIntegralInRange<int>(0, 16);
        char buffer[17];
        wchar_t wbuffer[17];
        std::memset(buffer, 'X', sizeof buffer);
        const LONG hr = ini.ReadString(section.c_str(), key.c_str(), buffer, n);
        if (n == 0)
          FUZZ_CHECK(hr == E_FAIL && buffer[0] == 'X');
        else
          FUZZ_CHECK(std::memchr(buffer, 0, static_cast<std::size_t>(n)) != nullptr);
        FUZZ_CHECK(buffer[n] == 'X');
        ini.ReadString(CStringW(section.c_str()), CStringW(key.c_str()), wbuffer, n);
        break;
      }
      case 3: {  // typed reads
        int i = 0;
        ULONG u = 0;
        float f = 0;
        unsigned long long ull = 0;
        ini.ReadParam(section.c_str(), key.c_str(), &i);
        ini.ReadParam(section.c_str(), key.c_str(), &u);
        ini.ReadParam(section.c_str(), key.c_str(), &f);
        ini.ReadParam(CStringW(section.c_str()), CStringW(key.c_str()), &ull);
        break;
      }
      case 4: {  // typed writes read back to the same value
        const int i = in.ConsumeIntegral<int>();
        const ULONG u = in.ConsumeIntegral<ULONG>();
        int iBack = ~i;
        ULONG uBack = ~u;
        if (ini.WriteParam(section.c_str(), key.c_str(), &i) == S_OK) {
          FUZZ_CHECK(ini.ReadParam(section.c_str(), key.c_str(), &iBack) == S_OK && iBack == i);
          FUZZ_CHECK(ini.WriteParam(section.c_str(), key.c_str(), &u) == S_OK);
          FUZZ_CHECK(ini.ReadParam(section.c_str(), key.c_str(), &uBack) == S_OK && uBack == u);
        }
        break;
      }
      case 5: {  // the general read with an arbitrary format
        const std::string format = in.ConsumeRandomLengthString(8);
        long long storage[4] = {};
        ini.ReadParam(section.c_str(), key.c_str(), format.c_str(), storage);
        break;
      }
    }
  }

  // After Close the file holds the text, and loads back as the same text.
  if (ini.Close() == S_OK) {
    const std::string text(ini.text().GetString(), static_cast<std::size_t>(ini.text().GetLength()));
    FUZZ_CHECK(readFile(path) == text);
    Probe again;
    FUZZ_CHECK(again.Create(path.c_str(), 0, 0) == S_OK);
    FUZZ_CHECK(std::string(again.text().GetString()) == text);
  }
  return 0;
}

// CSizeStructFile reading arbitrary files: every result is a code, a read
// never writes past the caller's structure, and the position never leaves
// the file. Then records taken from the input are written and must read back
// unchanged.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <orvek/persistence/SizeStructFile.h>

#include "FuzzFiles.h"

namespace {

class Probe : public CSizeStructFile {
 public:
  using CSizeStructFile::GetPosition;
  using CSizeStructFile::Seek;
  ULONGLONG length() const { return m_pFile->GetLength(); }
};

const std::string kMagic("SizeStructFile\0", 15);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzScratch scratch;
  const std::string path = scratch / "read.bin", written = scratch / "written.bin";
  FuzzedDataProvider in(data, size);

  // Mostly behind a good header, so that the records themselves get read.
  const bool withMagic = in.ConsumeIntegralInRange<int>(0, 7) != 0;
  writeFile(path, (withMagic ? kMagic : std::string()) + in.ConsumeRandomLengthString(1024));
  {
    Probe file;
    const LONG hr = file.Init(CStringW(path.c_str()), 0);
    FUZZ_CHECK(hr == S_OK || hr == ERROR_END_OF_MEDIA || hr == ERROR_INVALID_DATA);
    for (int op = 0; hr == S_OK && op < 32 && in.remaining_bytes() > 0; ++op) {
      switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: {
          int first = -1, second = -2;
          const LONG a = file.GetCurStructSize(&first), b = file.GetCurStructSize(&second);
          FUZZ_CHECK(a == b && (a != S_OK || first == second));
          break;
        }
        case 1: {  // the structure lies between two guards
          const int n = in.ConsumeIntegralInRange<int>(0, 64);
          unsigned char buffer[64 + 2];
          std::memset(buffer, 0xA5, sizeof buffer);
          file.ReadStruct(buffer + 1, n);
          FUZZ_CHECK(buffer[0] == 0xA5 && buffer[n + 1] == 0xA5);
          break;
        }
        case 2: file.ReadStruct(nullptr, 0); break;
        case 3: file.Seek(in.ConsumeIntegralInRange<ULONGLONG>(0, 2048)); break;
      }
      ULONGLONG position = 0;
      FUZZ_CHECK(file.GetPosition(&position) == S_OK && position <= file.length());
    }
  }

  // Records from the rest of the input, written and read back.
  std::vector<std::string> records;
  while (in.remaining_bytes() > 0 && records.size() < 16) records.push_back(in.ConsumeRandomLengthString(64));
  CSizeStructFile out;
  FUZZ_CHECK(out.Init(CStringW(written.c_str()), 1) == S_OK);
  for (const std::string& r : records) FUZZ_CHECK(out.WriteStruct(r.data(), static_cast<int>(r.size())) == S_OK);
  out.Close();
  CSizeStructFile back;
  FUZZ_CHECK(back.Init(CStringW(written.c_str()), 0) == S_OK);
  for (const std::string& r : records) {
    int stored = -1;
    std::vector<char> buffer(r.size() + 1, '\x5A');
    FUZZ_CHECK(back.GetCurStructSize(&stored) == S_OK && stored == static_cast<int>(r.size()));
    FUZZ_CHECK(back.ReadStruct(buffer.data(), static_cast<int>(buffer.size())) == S_OK);
    FUZZ_CHECK(std::memcmp(buffer.data(), r.data(), r.size()) == 0 && buffer.back() == '\x5A');
  }
  int none = 0;
  FUZZ_CHECK(back.GetCurStructSize(&none) == ERROR_END_OF_MEDIA);
  return 0;
}

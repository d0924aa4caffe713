#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/persistence/SizeStructFile.h>

#include <support/TestFiles.h>

namespace {

const std::string kMagic("\x53\x69\x7A\x65\x53\x74\x72\x75\x63\x74\x46\x69\x6C\x65\x00", 15);

// Positions are protected: a derived class may note and revisit records.
struct PositionedFile : CSizeStructFile {
  using CSizeStructFile::Seek;
  ULONGLONG position() {
    ULONGLONG p = 0;
    EXPECT_EQ(S_OK, GetPosition(&p));
    return p;
  }
};

std::string record(const std::string& bytes) {
  const auto n = static_cast<ULONG>(bytes.size());
  return std::string{char(n), char(n >> 8), char(n >> 16), char(n >> 24)} + bytes;
}

}  // namespace

TEST(SizeStructFile, WritesAndReadsAcrossSizes) {
  ScratchDir dir;
  const CStringW name = wide(dir / "s.bin");
  CSizeStructFile out;
  ASSERT_EQ(S_OK, out.Init(name, 1));
  int size = 0;
  EXPECT_EQ((std::vector<LONG>{S_OK, S_OK, S_OK, S_OK, E_POINTER, E_INVALIDARG, E_ACCESSDENIED, E_ACCESSDENIED}),
            (std::vector<LONG>{out.WriteStruct("ABCDEFGHIJKL", 12), out.WriteStruct("abcdefgh", 8),
                               out.WriteStruct(nullptr, 0), out.WriteStruct("xy", 2), out.WriteStruct(nullptr, 4),
                               out.WriteStruct("x", -1), out.GetCurStructSize(&size), out.ReadStruct(&size, 4)}));
  out.Close();
  EXPECT_EQ(kMagic + record("ABCDEFGHIJKL") + record("abcdefgh") + record("") + record("xy"), readFile(dir / "s.bin"));

  PositionedFile file;
  ASSERT_EQ(S_OK, file.Init(name, 0));
  EXPECT_EQ(E_ACCESSDENIED, file.WriteStruct("x", 1));
  EXPECT_EQ(S_OK, file.GetCurStructSize(&size));
  EXPECT_EQ(S_OK, file.GetCurStructSize(&size));
  EXPECT_EQ(12, size);
  // A smaller structure gets the record's start, the rest skipped; a larger one keeps its own bytes behind the
  // record; an empty record changes nothing; a null structure skips a record.
  char eight[8];
  EXPECT_EQ(S_OK, file.ReadStruct(eight, 8));
  EXPECT_EQ(0, std::memcmp(eight, "ABCDEFGH", 8));
  char twelve[13] = "............";
  EXPECT_EQ(S_OK, file.ReadStruct(twelve, 12));
  EXPECT_EQ(S_OK, file.ReadStruct(twelve, 12));
  EXPECT_STREQ("abcdefgh....", twelve);
  const ULONGLONG last = file.position();
  EXPECT_EQ(S_OK, file.ReadStruct(nullptr, 0));
  EXPECT_EQ(E_POINTER, file.ReadStruct(nullptr, 1));
  EXPECT_EQ(E_INVALIDARG, file.ReadStruct(eight, -1));
  EXPECT_EQ(E_POINTER, file.GetCurStructSize(nullptr));
  EXPECT_EQ(ERROR_END_OF_MEDIA, file.GetCurStructSize(&size));
  EXPECT_EQ(ERROR_END_OF_MEDIA, file.ReadStruct(eight, 8));
  // Back to a noted record; the exact length is no place to go.
  EXPECT_EQ(E_INVALIDARG, file.Seek(15 + 38));
  EXPECT_EQ(S_OK, file.Seek(15 + 38 - 1));
  EXPECT_EQ(S_OK, file.Seek(last));
  EXPECT_EQ(S_OK, file.ReadStruct(eight, 2));
  EXPECT_EQ(0, std::memcmp(eight, "xy", 2));
}

TEST(SizeStructFile, FailureResults) {
  ScratchDir dir;
  PositionedFile file;
  int size = 0;
  char data[16];
  EXPECT_EQ(E_PENDING, file.GetCurStructSize(&size));
  EXPECT_EQ(E_PENDING, file.ReadStruct(data, 4));
  EXPECT_EQ(E_PENDING, file.WriteStruct(data, 4));
  EXPECT_EQ(E_PENDING, file.Seek(0));
  EXPECT_EQ(E_POINTER, file.GetCurStructSize(nullptr));
  EXPECT_EQ(E_POINTER, file.WriteStruct(nullptr, -1));  // the pointer is looked at first
  EXPECT_EQ(E_FAIL, CSizeStructFile().Init(nullptr, 1));
  // An open that fails keeps the object busy until Close.
  EXPECT_EQ(E_FAIL, file.Init(wide(dir / "missing.bin"), 0));
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "missing.bin"), 1));
  EXPECT_EQ(E_PENDING, file.ReadStruct(data, 4));
  file.Close();
  file.Close();

  struct Case {
    std::string bytes;
    LONG init, peek, read;
    ULONGLONG position;  // after the read
  } cases[] = {
      {kMagic.substr(0, 14), ERROR_END_OF_MEDIA, 0, 0, 0},  // header too short
      {"SizeStructFilX" + std::string(1, '\0'), ERROR_INVALID_DATA, 0, 0, 0},
      {"SizeStructFile!", ERROR_INVALID_DATA, 0, 0, 0},            // the closing 0 counts
      {kMagic, S_OK, ERROR_END_OF_MEDIA, ERROR_END_OF_MEDIA, 15},  // prefix cut at every byte
      {kMagic + '\x02', S_OK, ERROR_END_OF_MEDIA, ERROR_END_OF_MEDIA, 15},
      {kMagic + std::string("\x02\0", 2), S_OK, ERROR_END_OF_MEDIA, ERROR_END_OF_MEDIA, 15},
      {kMagic + std::string("\x02\0\0", 3), S_OK, ERROR_END_OF_MEDIA, ERROR_END_OF_MEDIA, 15},
      {kMagic + record("abcd").substr(0, 6), S_OK, S_OK, ERROR_END_OF_MEDIA, 19},  // record cut off
      {kMagic + std::string("\xFF\xFF\xFF\x7F"
                            "abcd",
                            8),
       S_OK, S_OK, ERROR_END_OF_MEDIA, 19},  // huge claim
      {kMagic + std::string("\xFE\xFF\xFF\xFF"
                            "abcd",
                            8),
       S_OK, ERROR_INVALID_DATA, ERROR_INVALID_DATA, 19},  // negative size
  };
  for (const Case& c : cases) {
    writeFile(dir / "c.bin", c.bytes);
    EXPECT_EQ(c.init, file.Init(wide(dir / "c.bin"), 0)) << c.bytes.size();
    EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "c.bin"), 0));
    if (c.init == S_OK) {
      EXPECT_EQ(c.peek, file.GetCurStructSize(&size)) << c.bytes.size();
      EXPECT_EQ(c.read, file.ReadStruct(data, 2)) << c.bytes.size();
      EXPECT_EQ(c.position, file.position()) << c.bytes.size();
    }
    file.Close();
  }
  // A full device raises out of Init, and the object stays busy until Close.
  ASSERT_EQ(0, ::symlink("/dev/full", (dir / "full.bin").c_str()));
  EXPECT_TRUE(raisesDiskFull([&] { (void)file.Init(wide(dir / "full.bin"), 1); }));
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "full.bin"), 1));
}

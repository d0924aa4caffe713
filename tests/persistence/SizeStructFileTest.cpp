#include <unistd.h>

#include <cstring>

#include <gtest/gtest.h>

#include <orvek/persistence/SizeStructFile.h>

#include "Files.h"

namespace {

const std::string kMagic("SizeStructFile\0", 15);

// Positions are protected: a derived class may note and revisit records.
struct PositionedFile : CSizeStructFile {
  using CSizeStructFile::GetPosition;
  using CSizeStructFile::Seek;
  ULONGLONG position() {
    ULONGLONG p = 0;
    EXPECT_EQ(S_OK, GetPosition(&p));
    return p;
  }
};

std::string record(const std::string& bytes) {
  const auto n = static_cast<ULONG>(bytes.size());
  const char prefix[4] = {char(n), char(n >> 8), char(n >> 16), char(n >> 24)};
  return std::string(prefix, 4) + bytes;
}

}  // namespace

TEST(SizeStructFile, WrittenBytes) {
  ScratchDir dir;
  const CStringW name = wide(dir / "s.bin");
  CSizeStructFile file;
  ASSERT_EQ(S_OK, file.Init(name, 1));
  file.Close();
  EXPECT_EQ(kMagic, readFile(dir / "s.bin"));
  EXPECT_EQ(std::string("\x53\x69\x7A\x65\x53\x74\x72\x75\x63\x74\x46\x69\x6C\x65\x00", 15), kMagic);

  ASSERT_EQ(S_OK, file.Init(name, 1));
  const unsigned char eight[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(S_OK, file.WriteStruct(eight, 8));
  EXPECT_EQ(S_OK, file.WriteStruct(nullptr, 0));
  EXPECT_EQ(E_POINTER, file.WriteStruct(nullptr, 4));
  EXPECT_EQ(E_INVALIDARG, file.WriteStruct(eight, -1));
  int size = 0;
  EXPECT_EQ(E_ACCESSDENIED, file.GetCurStructSize(&size));
  EXPECT_EQ(E_ACCESSDENIED, file.ReadStruct(&size, 4));
  file.Close();
  EXPECT_EQ(kMagic + std::string("\x08\0\0\0\x01\x02\x03\x04\x05\x06\x07\x08\0\0\0\0", 16), readFile(dir / "s.bin"));
}

TEST(SizeStructFile, ReadsAcrossSizes) {
  ScratchDir dir;
  writeFile(dir / "r.bin", kMagic + record("ABCDEFGHIJKL") + record("abcdefgh") + record("") + record("xy"));
  PositionedFile file;
  ASSERT_EQ(S_OK, file.Init(wide(dir / "r.bin"), 0));
  EXPECT_EQ(E_ACCESSDENIED, file.WriteStruct("x", 1));

  int size = 0;
  EXPECT_EQ(S_OK, file.GetCurStructSize(&size));
  EXPECT_EQ(S_OK, file.GetCurStructSize(&size));
  EXPECT_EQ(12, size);
  // A smaller structure gets the record's start; the rest is skipped.
  char eight[8];
  EXPECT_EQ(S_OK, file.ReadStruct(eight, 8));
  EXPECT_EQ(0, std::memcmp(eight, "ABCDEFGH", 8));
  // A larger one gets the record and keeps its own defaults behind it.
  char twelve[13] = "............";
  EXPECT_EQ(S_OK, file.ReadStruct(twelve, 12));
  EXPECT_STREQ("abcdefgh....", twelve);
  // An empty record changes nothing; a null structure skips a record.
  EXPECT_EQ(S_OK, file.ReadStruct(twelve, 12));
  EXPECT_STREQ("abcdefgh....", twelve);
  const ULONGLONG last = file.position();
  EXPECT_EQ(S_OK, file.ReadStruct(nullptr, 0));
  EXPECT_EQ(E_POINTER, file.ReadStruct(nullptr, 1));
  // At the end both report the end of the medium.
  EXPECT_EQ(ERROR_END_OF_MEDIA, file.GetCurStructSize(&size));
  EXPECT_EQ(ERROR_END_OF_MEDIA, file.ReadStruct(eight, 8));

  // Back to a noted record; the exact length is no position to go to.
  const ULONGLONG length = 15 + 16 + 12 + 4 + 6;
  EXPECT_EQ(E_INVALIDARG, file.Seek(length));
  EXPECT_EQ(S_OK, file.Seek(length - 1));
  EXPECT_EQ(S_OK, file.Seek(last));
  EXPECT_EQ(S_OK, file.ReadStruct(eight, 2));
  EXPECT_EQ(0, std::memcmp(eight, "xy", 2));
}

TEST(SizeStructFile, FailureResults) {
  ScratchDir dir;
  PositionedFile file;
  int size = 0;
  char data[16];
  ULONGLONG position = 0;
  // Closed.
  EXPECT_EQ(E_PENDING, file.GetCurStructSize(&size));
  EXPECT_EQ(E_PENDING, file.ReadStruct(data, 4));
  EXPECT_EQ(E_PENDING, file.WriteStruct(data, 4));
  EXPECT_EQ(E_PENDING, file.GetPosition(&position));
  EXPECT_EQ(E_PENDING, file.Seek(0));
  EXPECT_EQ(E_POINTER, file.GetCurStructSize(nullptr));
  EXPECT_EQ(E_POINTER, file.GetPosition(nullptr));

  // An open that fails keeps the object busy until Close.
  EXPECT_EQ(E_FAIL, file.Init(wide(dir / "missing.bin"), 0));
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "missing.bin"), 1));
  EXPECT_EQ(E_PENDING, file.ReadStruct(data, 4));
  file.Close();
  file.Close();

  // Headers: too short, wrong text, wrong closing byte. The file stays open.
  const std::pair<std::string, LONG> headers[] = {{kMagic.substr(0, 14), ERROR_END_OF_MEDIA},
                                                  {"SizeStructFilX" + std::string(1, '\0'), ERROR_INVALID_DATA},
                                                  {"SizeStructFile!", ERROR_INVALID_DATA},
                                                  {kMagic, S_OK}};
  for (const auto& h : headers) {
    writeFile(dir / "h.bin", h.first);
    EXPECT_EQ(h.second, file.Init(wide(dir / "h.bin"), 0)) << h.first;
    EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "h.bin"), 0));
    file.Close();
  }

  // A prefix cut off at every byte: the end of the medium, nothing consumed.
  const std::string whole = kMagic + record("abcd");
  for (std::size_t cut = 15; cut < 19; ++cut) {
    writeFile(dir / "cut.bin", whole.substr(0, cut));
    ASSERT_EQ(S_OK, file.Init(wide(dir / "cut.bin"), 0));
    EXPECT_EQ(ERROR_END_OF_MEDIA, file.GetCurStructSize(&size));
    EXPECT_EQ(ERROR_END_OF_MEDIA, file.ReadStruct(data, 4));
    EXPECT_EQ(15u, file.position());
    file.Close();
  }
  // A record cut off, or a tiny file claiming a huge one: the end of the
  // medium behind the consumed prefix, also for a structure that would fit.
  for (const std::string& body : {whole.substr(0, 21), kMagic + std::string("\xFF\xFF\xFF\x7F" "abcd", 8)}) {
    writeFile(dir / "claim.bin", body);
    ASSERT_EQ(S_OK, file.Init(wide(dir / "claim.bin"), 0));
    EXPECT_EQ(ERROR_END_OF_MEDIA, file.ReadStruct(data, 2));
    EXPECT_EQ(19u, file.position());
    file.Close();
  }
  // A negative size is damage: reported, and nothing behind it consumed.
  writeFile(dir / "neg.bin", kMagic + std::string("\xFE\xFF\xFF\xFF" "abcd", 8));
  ASSERT_EQ(S_OK, file.Init(wide(dir / "neg.bin"), 0));
  EXPECT_EQ(ERROR_INVALID_DATA, file.GetCurStructSize(&size));
  EXPECT_EQ(-2, size);
  EXPECT_EQ(15u, file.position());
  EXPECT_EQ(ERROR_INVALID_DATA, file.ReadStruct(data, 4));
  EXPECT_EQ(19u, file.position());
  EXPECT_EQ(E_INVALIDARG, file.ReadStruct(data, -1));
  file.Close();
}

TEST(SizeStructFile, FullDiskRaises) {
  ScratchDir dir;
  ASSERT_EQ(0, ::symlink("/dev/full", (dir / "full.bin").c_str()));
  CSizeStructFile file;
  try {
    file.Init(wide(dir / "full.bin"), 1);
    ADD_FAILURE() << "no exception";
  } catch (const CFileException& e) {
    EXPECT_EQ(CFileException::diskFull, e.m_cause);
  }
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, file.Init(wide(dir / "full.bin"), 1));
}

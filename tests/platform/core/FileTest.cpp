// CFile: exclusive opens, failures as causes or exceptions, reads and writes.
#include <orvek/platform/core/File.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/orvek_file_XXXXXX";
    ASSERT_NE(::mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
  }
  void TearDown() override { std::system(("rm -rf '" + dir_ + "'").c_str()); }

  std::string path(const char* name) const { return dir_ + "/" + name; }
  static std::string contents(const std::string& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  static void put(const std::string& p, const std::string& text) { std::ofstream(p, std::ios::binary) << text; }

  std::string dir_;
};

TEST_F(FileTest, SecondOpenFailsUntilTheFirstCloses) {
  const std::string p = path("shared.bin");
  put(p, "keep me");
  const CStringW name(p.c_str());

  CFile first;
  ASSERT_TRUE(first.Open(name, CFile::modeRead));
  for (UINT flags : {UINT(CFile::modeRead), UINT(CFile::modeWrite), UINT(CFile::modeCreate | CFile::modeWrite)}) {
    CFile second;
    CFileException e;
    EXPECT_FALSE(second.Open(name, flags, &e)) << flags;
    EXPECT_TRUE(e.m_cause == CFileException::sharingViolation && e.m_strFileName == name && !second.IsOpen()) << flags;
  }
  // The refused create did not empty the file.
  EXPECT_EQ(contents(p), "keep me");

  first.Close();
  CFile second;
  ASSERT_TRUE(second.Open(name, CFile::modeCreate | CFile::modeWrite));
  EXPECT_EQ(second.GetLength(), 0u);  // now the create empties it
  EXPECT_EQ(std::make_pair(second.GetFilePath(), second.GetFileName()), std::make_pair(name, CStringW(L"shared.bin")));
}

TEST_F(FileTest, ReadWriteSeekAndLength) {
  const CStringW name(path("data.bin").c_str());
  {
    CFile f;
    ASSERT_TRUE(f.Open(name, CFile::modeCreate | CFile::modeWrite));
    f.Write("0123456789", 10);
    f.Write(nullptr, 0);  // nothing to write is no error
    EXPECT_EQ(f.GetPosition(), 10u);
    EXPECT_EQ(f.Seek(-4, CFile::end), 6u);
    f.Write("ab", 2);
    EXPECT_EQ(f.SeekToEnd(), 10u);
  }  // the destructor closes
  CFile f;
  ASSERT_TRUE(f.Open(name.GetString(), CFile::modeRead));
  EXPECT_EQ(f.GetLength(), 10u);
  char buf[16] = {};
  EXPECT_EQ((std::vector<UINT>{f.Read(buf, sizeof buf), f.Read(buf + 10, 6)}),
            (std::vector<UINT>{10, 0}));  // fewer at the end
  EXPECT_EQ(std::string(buf, 10), "012345ab89");
  EXPECT_THROW(f.Write("x", 1), CFileException);  // opened for reading
  f.Close();
  EXPECT_FALSE(f.IsOpen());
  EXPECT_THROW(f.Read(buf, 1), CFileException);

  // Write without create keeps the content; modeNoTruncate keeps it with create.
  ASSERT_TRUE(f.Open(name, CFile::modeWrite));
  f.Write("Z", 1);
  f.Close();
  ASSERT_TRUE(f.Open(name, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite));
  f.Close();
  EXPECT_EQ(contents(path("data.bin")), "Z12345ab89");

  // A narrow name is UTF-8.
  ASSERT_TRUE(f.Open(path("gr\xc3\xbc\xc3\x9f.txt").c_str(), CFile::modeCreate | CFile::modeWrite));
  f.Close();
  EXPECT_EQ(::access((dir_ + "/gr\xc3\xbc\xc3\x9f.txt").c_str(), F_OK), 0);
}

TEST_F(FileTest, ReplaceKeepsTheOldFileUntilClose) {
  const std::string p = path("kept.txt"), link = path("link.txt");
  put(p, "old");
  ASSERT_EQ(::chmod(p.c_str(), 0640), 0);
  ASSERT_EQ(::symlink(p.c_str(), link.c_str()), 0);
  const UINT replace = CFile::modeCreate | CFile::modeWrite | CFile::modeReplace;
  CFile f;
  ASSERT_TRUE(f.Open(link.c_str(), replace));
  f.Write("new", 3);
  EXPECT_EQ(contents(p), "old");
  CFile other;
  CFileException e;
  EXPECT_FALSE(other.Open(p.c_str(), CFile::modeRead, &e));  // held as any open holds it
  EXPECT_EQ(e.m_cause, CFileException::sharingViolation);
  f.Close();
  // The file behind the link got the bytes and kept its mode; the link stays.
  EXPECT_EQ(contents(p), "new");
  struct stat st {};
  ASSERT_EQ(::lstat(link.c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  ASSERT_EQ(::stat(p.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  // Abort, as the destructor after a failed write, drops the new bytes.
  ASSERT_TRUE(f.Open(p.c_str(), replace));
  f.Write("lost", 4);
  f.Abort();
  EXPECT_EQ(contents(p), "new");
  ASSERT_TRUE(f.Open(path("fresh.txt").c_str(), replace));
  f.Write("x", 1);
  f.Close();
  EXPECT_EQ(contents(path("fresh.txt")), "x");
  const auto entries = std::distance(std::filesystem::directory_iterator(dir_), std::filesystem::directory_iterator());
  EXPECT_EQ(entries, 3);  // kept, link and fresh: nothing left beside them
}

TEST_F(FileTest, FailuresGiveCausesAndNeverThrowFromOpen) {
  CFile f;
  CFileException e;
  EXPECT_FALSE(f.Open(CStringW(path("missing.bin").c_str()), CFile::modeRead, &e));
  EXPECT_EQ(std::make_pair(e.m_cause, e.m_lOsError), std::make_pair(int(CFileException::fileNotFound), LONG(ENOENT)));
  EXPECT_FALSE(f.Open(CStringW(path("no/such/dir.bin").c_str()), CFile::modeCreate | CFile::modeWrite, &e));
  EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
  EXPECT_FALSE(f.Open(CStringW(dir_.c_str()), CFile::modeRead, &e));
  EXPECT_EQ(e.m_cause, CFileException::accessDenied);
  EXPECT_FALSE(f.Open(static_cast<const wchar_t*>(nullptr), CFile::modeRead, &e));
  EXPECT_FALSE(f.Open(static_cast<const char*>(nullptr), CFile::modeRead, nullptr));
  EXPECT_FALSE(f.Open(L"", CFile::modeRead, &e));
  EXPECT_FALSE(f.IsOpen());
  EXPECT_THROW(CFile(CStringW(path("missing.bin").c_str()), CFile::modeRead), CFileException);
}

TEST_F(FileTest, WriteToAFullDeviceThrowsDiskFull) {
  CFile f;
  // Every open is exclusive, also of a device: another test program may hold /dev/full for a moment.
  CFileException busy;
  for (int attempt = 0; attempt < 500 && !f.Open(L"/dev/full", CFile::modeWrite, &busy); ++attempt) {
    ASSERT_EQ(busy.m_cause, CFileException::sharingViolation);
    usleep(10000);
  }
  ASSERT_TRUE(f.IsOpen());
  try {
    f.Write("x", 1);
    ADD_FAILURE() << "write to /dev/full succeeded";
  } catch (const CFileException& e) {
    EXPECT_EQ(std::make_tuple(e.m_cause, e.m_lOsError, e.m_strFileName),
              std::make_tuple(int(CFileException::diskFull), LONG(ENOSPC), CStringW(L"/dev/full")));
    EXPECT_STREQ(e.what(), "CFileException: disk full");
  }
  // Also when the caller only knows std::exception.
  EXPECT_THROW(f.Write("y", 1), std::exception);
}

}  // namespace

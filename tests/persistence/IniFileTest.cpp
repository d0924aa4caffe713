#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/persistence/IniFile.h>
#include <orvek/platform/core/Kernel.h>

#include "Files.h"

namespace {

// The value of section/key in a file holding text, or "<fail>".
std::string lookUp(const ScratchDir& dir, const std::string& text, const char* section, const char* key) {
  writeFile(dir / "look.ini", text);
  CIniFile ini;
  EXPECT_EQ(S_OK, ini.Create((dir / "look.ini").c_str(), 0, 0));
  CStringW value;
  return ini.ReadString(section, key, &value) == S_OK ? std::string(CStringA(value).GetString()) : "<fail>";
}

// The file's bytes after the writes, starting from text.
std::string afterWrites(const ScratchDir& dir, const std::string& text, const std::function<void(CIniFile&)>& writes) {
  const std::string path = dir / "write.ini";
  writeFile(path, text);
  CIniFile ini;
  EXPECT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  writes(ini);
  EXPECT_EQ(S_OK, ini.Close());
  return readFile(path);
}

}  // namespace

TEST(IniFile, SectionHeadsAndBodies) {
  ScratchDir dir;
  // A head at offset 0 is found; the same head further down wins over it.
  EXPECT_EQ("1", lookUp(dir, "[S]\r\nk=1\r\n", "S", "k"));
  EXPECT_EQ("2", lookUp(dir, "[S]\r\nk=1\r\n[S]\r\nk=2\r\n", "S", "k"));
  // [A] right in front of [B]: A's body runs on through B's.
  const std::string ab = "[A]\r\n[B]\r\nx=1\r\n";
  EXPECT_EQ("1", lookUp(dir, ab, "A", "x"));
  EXPECT_EQ("[A]\r\n[B]\r\nx=1\r\ny=2\r\n", afterWrites(dir, ab, [](CIniFile& i) { i.WriteString("A", "y", "2"); }));
  // A key of a later section is not in this one; "[abc" ends a body too.
  EXPECT_EQ("<fail>", lookUp(dir, "[A]\r\nk=1\r\n[B]\r\nz=2\r\n", "A", "z"));
  EXPECT_EQ("<fail>", lookUp(dir, "[A]\r\nk=1\r\n[abc\r\nz=2\r\n", "A", "z"));
  // Not heads: a blank behind the bracket, no CR LF behind it, a bare LF in
  // front of it, another case.
  EXPECT_EQ("<fail>", lookUp(dir, "[S] \r\nk=1\r\n", "S", "k"));
  EXPECT_EQ("<fail>", lookUp(dir, "x=0\r\n[S]", "S", ""));
  EXPECT_EQ("<fail>", lookUp(dir, "x=0\n[S]\r\nk=1\r\n", "S", "k"));
  EXPECT_EQ("<fail>", lookUp(dir, "[s]\r\nk=1\r\n", "S", "k"));
}

TEST(IniFile, KeysAndValues) {
  ScratchDir dir;
  // First line of a body; a later line with the same key wins.
  EXPECT_EQ("1", lookUp(dir, "[S]\r\nk=1\r\nj=0\r\n", "S", "k"));
  EXPECT_EQ("2", lookUp(dir, "[S]\r\nk=1\r\nk=2\r\n", "S", "k"));
  EXPECT_EQ("[S]\r\nk=1\r\nk=3\r\n", afterWrites(dir, "[S]\r\nk=1\r\nk=2\r\n", [](CIniFile& i) {
              i.WriteString("S", "k", "3");
            }));
  EXPECT_EQ("", lookUp(dir, "[S]\r\nkey=\r\n", "S", "key"));
  for (const char* line : {"Key=1", ";key=1", " key=1", "key = 1"})
    EXPECT_EQ("<fail>", lookUp(dir, std::string("[S]\r\n") + line + "\r\n", "S", "key")) << line;
  // Not trimmed, further '=' belong to the value, a last line needs no CR LF.
  EXPECT_EQ(" a=b ", lookUp(dir, "[S]\r\nk= a=b \r\n", "S", "k"));
  EXPECT_EQ("tail", lookUp(dir, "[S]\r\nk=tail", "S", "k"));
}

TEST(IniFile, WritesLandInPlace) {
  ScratchDir dir;
  // From nothing, and a second key behind the first.
  EXPECT_EQ("[S]\r\nk=v\r\nm=w\r\n", afterWrites(dir, "", [](CIniFile& i) {
              EXPECT_EQ(S_OK, i.WriteString("S", "k", "v"));
              EXPECT_EQ(S_OK, i.WriteString(L"S", L"m", L"w"));
            }));
  // A key new to a middle section goes in front of the next '[', behind its
  // blank lines; free text and remarks survive; an old value is replaced.
  const std::string text = "free text\r\n[A]\r\na=1\r\n; note\r\n\r\n[B]\r\nb=2\r\n";
  EXPECT_EQ("free text\r\n[A]\r\na=10\r\n; note\r\n\r\nn=x\r\n[B]\r\nb=2\r\n",
            afterWrites(dir, text, [](CIniFile& i) {
              i.WriteString("A", "n", "x");
              i.WriteString("A", "a", "10");
            }));
  // A hand-made last line without CR LF gets one before a new section or key.
  EXPECT_EQ("[A]\r\na=1\r\n[C]\r\nc=3\r\n", afterWrites(dir, "[A]\r\na=1", [](CIniFile& i) { i.WriteString("C", "c", "3"); }));
  EXPECT_EQ("[A]\r\na=1\r\nb=2\r\n", afterWrites(dir, "[A]\r\na=1", [](CIniFile& i) { i.WriteString("A", "b", "2"); }));
  EXPECT_EQ("x\r\n[C]\r\nc=3\r\n", afterWrites(dir, "x", [](CIniFile& i) { i.WriteString("C", "c", "3"); }));
  // A value goes in as it comes: CR LF in it makes two lines.
  EXPECT_EQ("[S]\r\nk=1\r\n2\r\n", afterWrites(dir, "", [](CIniFile& i) { i.WriteString("S", "k", "1\r\n2"); }));
  // Names that could not be found again are refused, and nothing changes.
  EXPECT_EQ("[S]\r\nk=1\r\n", afterWrites(dir, "[S]\r\nk=1\r\n", [](CIniFile& i) {
              EXPECT_EQ(E_INVALIDARG, i.WriteString("S\r\n[T", "k", "v"));
              EXPECT_EQ(E_INVALIDARG, i.WriteString("S", "a=b", "v"));
              EXPECT_EQ(E_INVALIDARG, i.WriteString("S", "x\ny", "v"));
              EXPECT_EQ(E_INVALIDARG, i.WriteString("S", "[k", "v"));
              EXPECT_EQ(E_POINTER, i.WriteString("S", nullptr, "v"));
            }));
  // Brackets inside names are plain bytes.
  EXPECT_EQ("[a]b]\r\nk]=[v\r\n", afterWrites(dir, "", [](CIniFile& i) {
              i.WriteString("a]b", "k]", "[v");
              CStringW v;
              EXPECT_EQ(S_OK, i.ReadString("a]b", "k]", &v));
              EXPECT_EQ(CStringW(L"[v"), v);
            }));

  // Read-only: the write fails and Close writes nothing.
  writeFile(dir / "ro.ini", "[S]\r\nk=1\r\n");
  CIniFile ro;
  ASSERT_EQ(S_OK, ro.Create((dir / "ro.ini").c_str(), 0, 0));
  EXPECT_EQ(E_FAIL, ro.WriteString("S", "k", "2"));
  writeFile(dir / "ro.ini", "changed");
  EXPECT_EQ(S_OK, ro.Close());
  EXPECT_EQ("changed", readFile(dir / "ro.ini"));
  CIniFile never;
  EXPECT_EQ(S_OK, never.Close());
}

TEST(IniFile, BackupRefreshAndRestore) {
  ScratchDir dir;
  const std::string path = dir / "params.ini", backup = dir / "Backup/params.ini.bak";
  const std::string good = "[S]\r\nk=1\r\n";
  writeFile(path, good);
  {
    CIniFile ini;
    ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
    EXPECT_EQ(good, readFile(backup));
    ini.WriteString("S", "k", "2");
  }  // the destructor rewrites the file; the backup keeps the older text
  EXPECT_EQ("[S]\r\nk=2\r\n", readFile(path));
  EXPECT_EQ(good, readFile(backup));

  // A file with a byte 0 is damaged: the backup's text takes its place and
  // reaches the file at Close. Without the scheme the text ends at the 0.
  const std::string damaged = std::string("[S]\r\nk=3\r\n") + '\0' + "j=4\r\n";
  writeFile(path, damaged);
  {
    CIniFile plain;
    ASSERT_EQ(S_OK, plain.Create(path.c_str(), 0, 0));
    int k = 0, j = 0;
    EXPECT_EQ(S_OK, plain.ReadParam("S", "k", &k));
    EXPECT_EQ(3, k);
    EXPECT_EQ(E_FAIL, plain.ReadParam("S", "j", &j));
  }
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
  EXPECT_EQ(damaged, readFile(path));
  EXPECT_EQ(good, readFile(backup));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ(good, readFile(path));

  // A missing file is restored the same way; a damaged backup gives no text.
  writeFile(backup, "[S]\r\nk=5\r\n");
  ASSERT_EQ(0, ::unlink(path.c_str()));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("[S]\r\nk=5\r\n", readFile(path));
  writeFile(backup, std::string("[S]\r\n\0", 6));
  ASSERT_EQ(0, ::unlink(path.c_str()));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("", readFile(path));

  // A zero-length file is valid and empties the backup too.
  writeFile(backup, good);
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 1));
  EXPECT_EQ("", readFile(backup));

  // A file above 0x7FFFFFFF bytes is not read and counts as damaged.
  writeFile(backup, good);
  ASSERT_EQ(0, ::truncate(path.c_str(), 0x80000000LL));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 1));
  int k = 0;
  EXPECT_EQ(S_OK, ini.ReadParam("S", "k", &k));
  EXPECT_EQ(1, k);
}

TEST(IniFile, BareNameMeansApplicationFolder) {
  const std::string app(CStringA(COrvekGlobals::GetApplicationPath()).GetString());
  const std::string name = "orvek-bare-" + std::to_string(::getpid()) + ".ini";
  {
    CIniFile ini;
    ASSERT_EQ(S_OK, ini.Create(name.c_str(), 1, 1));
    ini.WriteString("S", "k", "v");
  }
  EXPECT_EQ("[S]\r\nk=v\r\n", readFile(app + name));
  EXPECT_EQ(0, ::access((app + "Backup").c_str(), F_OK));
  ::unlink((app + name).c_str());
  ::unlink((app + "Backup/" + name + ".bak").c_str());
}

TEST(IniFile, LockedFile) {
  ScratchDir dir;
  const std::string path = dir / "locked.ini";
  writeFile(path, "[S]\r\nk=1\r\n");
  const CStringW name = wide(path);

  // Held by another owner throughout: after about 2 s it counts as missing.
  CFile holder;
  ASSERT_TRUE(holder.Open(name, CFile::modeRead));
  CIniFile ini;
  DWORD start = GetTickCount();
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  EXPECT_GE(GetTickCount() - start, 2000u);
  CStringW value;
  EXPECT_EQ(E_FAIL, ini.ReadString("S", "k", &value));
  ini.WriteString("S", "k", "2");
  EXPECT_EQ(E_FAIL, ini.Close());  // the text stays in memory ...
  holder.Close();
  EXPECT_EQ(S_OK, ini.Close());  // ... and a later Close writes it
  EXPECT_EQ("[S]\r\nk=2\r\n", readFile(path));

  // Released while Create waits: the file is read after all.
  ASSERT_TRUE(holder.Open(name, CFile::modeRead));
  std::thread release([&] {
    Sleep(200);
    holder.Close();
  });
  CIniFile late;
  EXPECT_EQ(S_OK, late.Create(path.c_str(), 0, 0));
  release.join();
  EXPECT_EQ(S_OK, late.ReadString("S", "k", &value));
  EXPECT_EQ(CStringW(L"2"), value);
}

TEST(IniFile, CopiesAndRewrites) {
  ScratchDir dir;
  const std::string path = dir / "copy.ini";
  CIniFile a;
  ASSERT_EQ(S_OK, a.Create(path.c_str(), 1, 0));
  a.WriteString("S", "k", "a");
  CIniFile b(a);
  b.WriteString("S", "k", "b");
  EXPECT_EQ(S_OK, b.Close());
  EXPECT_EQ("[S]\r\nk=b\r\n", readFile(path));
  EXPECT_EQ(S_OK, a.Close());  // closed last, so it decides
  EXPECT_EQ("[S]\r\nk=a\r\n", readFile(path));
  // A new Create drops the write duty of the old text.
  writeFile(path, "[S]\r\nk=0\r\n");
  ASSERT_EQ(S_OK, a.Create(path.c_str(), 0, 0));
  EXPECT_EQ(S_OK, a.Close());
  EXPECT_EQ("[S]\r\nk=0\r\n", readFile(path));
}

TEST(IniFile, FullDiskRaisesAndKeepsTheText) {
  ScratchDir dir;
  const std::string path = dir / "full.ini";
  ASSERT_EQ(0, ::symlink("/dev/full", path.c_str()));
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  ASSERT_EQ(S_OK, ini.WriteString("S", "k", "kept"));
  try {
    ini.Close();
    ADD_FAILURE() << "no exception";
  } catch (const CFileException& e) {
    EXPECT_EQ(CFileException::diskFull, e.m_cause);
  }
  // Nothing lost: with room on the device the next Close writes it all.
  ASSERT_EQ(0, ::unlink(path.c_str()));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("[S]\r\nk=kept\r\n", readFile(path));
}

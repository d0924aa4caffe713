#include <unistd.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/persistence/IniFile.h>
#include <orvek/platform/core/Kernel.h>

#include "Files.h"

TEST(IniFile, FindsSectionsAndKeys) {
  struct Case {
    const char *text, *section, *key, *value;  // value null: not found
  } cases[] = {
      {"[S]\r\nk=1\r\n", "S", "k", "1"},                     // head at offset 0, key on the first line
      {"[S]\r\nk=1\r\n[S]\r\nk=2\r\n", "S", "k", "2"},       // the later head wins
      {"[S]\r\nk=1\r\nk=2\r\n", "S", "k", "2"},              // the later line wins
      {"[A]\r\n[B]\r\nx=1\r\n", "A", "x", "1"},              // A's body runs through B's
      {"[A]\r\nk=1\r\n[B]\r\nz=2\r\n", "A", "z", nullptr},   // not in a later section
      {"[A]\r\nk=1\r\n[abc\r\nz=2\r\n", "A", "z", nullptr},  // "[abc" ends the body
      {"[S] \r\nk=1\r\n", "S", "k", nullptr},                // blank behind the bracket
      {"x=0\n[S]\r\nk=1\r\n", "S", "k", nullptr},            // a bare LF ends no line
      {"[s]\r\nk=1\r\n", "S", "k", nullptr},                 // names match by case
      {"[S]\r\nkey=\r\n", "S", "key", ""},
      {"[S]\r\nKey=1\r\n;key=1\r\n key=1\r\nkey = 1\r\n", "S", "key", nullptr},
      {"[S]\r\nk= a=b \r\n", "S", "k", " a=b "},  // neither trimmed nor split
      {"[S]\r\nk=tail", "S", "k", "tail"},
      // Names holding line ends match bytes, but never across a body's end.
      {"[A]\r\n[B]\r\nx=2\r\n", "A]\r\n[B", "x", "2"},
      {"[A]\r\nk=1\r\n[B]\r\nx=2\r\n", "A", "[B]\r\nx", nullptr},
      {"[A]\r\n[B]\r\nx=2\r\n", "B", "x=2\r\n", nullptr},
  };
  ScratchDir dir;
  for (const Case& c : cases) {
    writeFile(dir / "find.ini", c.text);
    CIniFile ini;
    ASSERT_EQ(S_OK, ini.Create((dir / "find.ini").c_str(), 0, 0));
    CStringW value;
    EXPECT_EQ(c.value ? S_OK : E_FAIL, ini.ReadString(c.section, c.key, &value)) << c.text;
    EXPECT_EQ(CStringW(c.value ? c.value : ""), value) << c.text;
  }
}

TEST(IniFile, WritesLandInPlace) {
  struct Write {
    const char *section, *key, *value;
  };
  struct Case {
    const char* before;
    std::vector<Write> writes;
    const char* after;
  } cases[] = {
      {"", {{"S", "k", "v"}, {"S", "m", "w"}}, "[S]\r\nk=v\r\nm=w\r\n"},
      {"[A]\r\n[B]\r\nx=1\r\n", {{"A", "y", "2"}}, "[A]\r\n[B]\r\nx=1\r\ny=2\r\n"},
      {"[S]\r\nk=1\r\nk=2\r\n", {{"S", "k", "3"}}, "[S]\r\nk=1\r\nk=3\r\n"},
      // In front of the next '[', behind blank lines; free text survives.
      {"free\r\n[A]\r\na=1\r\n; note\r\n\r\n[B]\r\nb=2\r\n",
       {{"A", "n", "x"}, {"A", "a", "10"}},
       "free\r\n[A]\r\na=10\r\n; note\r\n\r\nn=x\r\n[B]\r\nb=2\r\n"},
      // A last line without CR LF gets one before a new section or key.
      {"[A]\r\na=1", {{"C", "c", "3"}}, "[A]\r\na=1\r\n[C]\r\nc=3\r\n"},
      {"[A]\r\na=1", {{"A", "b", "2"}}, "[A]\r\na=1\r\nb=2\r\n"},
      {"x", {{"C", "c", "3"}}, "x\r\n[C]\r\nc=3\r\n"},
      {"", {{"S", "k", "1\r\n2"}}, "[S]\r\nk=1\r\n2\r\n"},  // a value goes in as it comes
      {"", {{"a]b", "k]", "[v"}}, "[a]b]\r\nk]=[v\r\n"},     // brackets inside names are bytes
  };
  ScratchDir dir;
  const std::string path = dir / "write.ini";
  for (const Case& c : cases) {
    writeFile(path, c.before);
    CIniFile ini;
    ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
    for (const Write& w : c.writes) {
      EXPECT_EQ(S_OK, ini.WriteString(w.section, w.key, w.value));
      CStringW back;
      EXPECT_EQ(S_OK, ini.ReadString(w.section, w.key, &back));
    }
    EXPECT_EQ(S_OK, ini.Close());
    EXPECT_EQ(c.after, readFile(path)) << c.before;
  }

  // Names that could not be found again are refused; a read-only object
  // refuses writes and Close leaves its file alone.
  writeFile(path, "[S]\r\nk=1\r\n");
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  for (const auto& names : {std::make_pair("S\r\n[T", "k"), {"S", "a=b"}, {"S", "x\ny"}, {"S", "[k"}})
    EXPECT_EQ(E_INVALIDARG, ini.WriteString(names.first, names.second, "v"));
  EXPECT_EQ(E_POINTER, ini.WriteString("S", nullptr, "v"));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 0));
  EXPECT_EQ(E_FAIL, ini.WriteString("S", "k", "2"));
  writeFile(path, "changed");
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("changed", readFile(path));
  EXPECT_EQ(S_OK, CIniFile().Close());
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

  // A byte 0 damages the file: without the scheme the text ends there, with
  // it the backup's text takes its place and reaches the file at Close.
  const std::string damaged = std::string("[S]\r\nk=3\r\n") + '\0' + "j=4\r\n";
  writeFile(path, damaged);
  CIniFile ini;
  int k = 0, j = 0;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 0));
  EXPECT_EQ(S_OK, ini.ReadParam("S", "k", &k));
  EXPECT_EQ(3, k);
  EXPECT_EQ(E_FAIL, ini.ReadParam("S", "j", &j));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
  EXPECT_EQ(damaged, readFile(path));
  EXPECT_EQ(good, readFile(backup));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ(good, readFile(path));

  // A missing file is restored the same way; a damaged backup gives no text.
  for (const auto& copy : {std::make_pair(std::string("[S]\r\nk=5\r\n"), std::string("[S]\r\nk=5\r\n")),
                           {std::string("[S]\r\n\0", 6), std::string()}}) {
    writeFile(backup, copy.first);
    ASSERT_EQ(0, ::unlink(path.c_str()));
    ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 1));
    EXPECT_EQ(S_OK, ini.Close());
    EXPECT_EQ(copy.second, readFile(path));
  }
  // A zero-length file is valid and empties the backup too.
  writeFile(backup, good);
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 1));
  EXPECT_EQ("", readFile(backup));
  // A file above 0x7FFFFFFF bytes is not read and counts as damaged.
  writeFile(backup, good);
  ASSERT_EQ(0, ::truncate(path.c_str(), 0x80000000LL));
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 0, 1));
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

TEST(IniFile, LockedFileCopiesAndFullDisk) {
  ScratchDir dir;
  const std::string path = dir / "locked.ini";
  writeFile(path, "[S]\r\nk=1\r\n");
  // Held by another owner throughout: after 2 s it counts as missing, and a
  // Close meanwhile fails but keeps the text for a later one.
  CFile holder;
  ASSERT_TRUE(holder.Open(wide(path), CFile::modeRead));
  CIniFile a;
  const DWORD start = GetTickCount();
  ASSERT_EQ(S_OK, a.Create(path.c_str(), 1, 0));
  EXPECT_GE(GetTickCount() - start, 2000u);
  CStringW value;
  EXPECT_EQ(E_FAIL, a.ReadString("S", "k", &value));
  a.WriteString("S", "k", "a");
  EXPECT_EQ(E_FAIL, a.Close());
  // Released while Create waits: the file is read after all.
  std::thread release([&] {
    Sleep(200);
    holder.Close();
  });
  CIniFile late;
  EXPECT_EQ(S_OK, late.Create(path.c_str(), 0, 0));
  release.join();
  EXPECT_EQ(S_OK, late.ReadString("S", "k", &value));
  EXPECT_EQ(CStringW(L"1"), value);

  // Copies each rewrite the file; the one closed last decides.
  CIniFile b(a);
  b.WriteString("S", "k", "b");
  EXPECT_EQ(S_OK, b.Close());
  EXPECT_EQ("[S]\r\nk=b\r\n", readFile(path));
  EXPECT_EQ(S_OK, a.Close());
  EXPECT_EQ("[S]\r\nk=a\r\n", readFile(path));

  // A full device raises out of Close; the text stays for the next Close.
  ASSERT_EQ(0, ::unlink(path.c_str()));
  ASSERT_EQ(0, ::symlink("/dev/full", path.c_str()));
  try {
    a.Close();
    ADD_FAILURE() << "no exception";
  } catch (const CFileException& e) {
    EXPECT_EQ(CFileException::diskFull, e.m_cause);
  }
  ASSERT_EQ(0, ::unlink(path.c_str()));
  EXPECT_EQ(S_OK, a.Close());
  EXPECT_EQ("[S]\r\nk=a\r\n", readFile(path));
}

#include <dlfcn.h>

#include <climits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/persistence/IniFile.h>
#include <orvek/persistence/LogFile.h>
#include <orvek/persistence/SizeStructFile.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

#include <support/TestFiles.h>

namespace {

// The child of ApplicationFolderAtAnyDepthAndInAnyBytes: linked into a deep folder, it finds it and writes there.
int deepChild(const std::string& folder) {
  int failed = 0;
  if (OrvekGetApplicationFolder() != folder) failed |= 1;
  if (COrvekGlobals::GetApplicationPath() != CStringW(folder.c_str())) failed |= 2;
  CIniFile ini;
  if (ini.Create("x.ini", 1, 1) != S_OK || ini.WriteString("S", "k", "v") != S_OK || ini.Close() != S_OK) failed |= 4;
  Dl_info self{};
  ::dladdr(reinterpret_cast<void*>(&deepChild), &self);
  CLogFile log;
  if (log.Init(L"x.log", L"T", self.dli_fbase) != S_OK || log.Close() != S_OK) failed |= 8;
  return failed;
}
const int kDeepChild = [] {
  if (const char* folder = std::getenv("ORVEK_DEEP_FOLDER")) ::_exit(deepChild(folder));
  return 0;
}();

}  // namespace

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
      {"", {{"a]b", "k]", "[v"}}, "[a]b]\r\nk]=[v\r\n"},    // brackets inside names are bytes
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

  // Names that could not be found again are refused; a read-only object refuses writes and leaves its file alone.
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
    EXPECT_EQ(S_OK, ini.WriteString("S", "k", "2"));
  }  // the destructor rewrites the file; the backup keeps the older text
  EXPECT_EQ("[S]\r\nk=2\r\n", readFile(path));
  EXPECT_EQ(good, readFile(backup));

  // A byte 0 damages the file: read plainly the text ends there; under backup the backup's text replaces it at Close.
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
    EXPECT_EQ(S_OK, ini.WriteString("S", "k", "v"));
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
  // Held by another owner: after 2 s it counts as missing; a Close meanwhile fails but keeps the text.
  CFile holder;
  ASSERT_TRUE(holder.Open(wide(path), CFile::modeRead));
  CIniFile a;
  const DWORD start = GetTickCount();
  ASSERT_EQ(S_OK, a.Create(path.c_str(), 1, 0));
  EXPECT_GE(GetTickCount() - start, 2000u);
  CStringW value;
  EXPECT_EQ(E_FAIL, a.ReadString("S", "k", &value));
  EXPECT_EQ(S_OK, a.WriteString("S", "k", "a"));
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
  EXPECT_EQ(S_OK, b.WriteString("S", "k", "b"));
  EXPECT_EQ(S_OK, b.Close());
  EXPECT_EQ("[S]\r\nk=b\r\n", readFile(path));
  EXPECT_EQ(S_OK, a.Close());
  EXPECT_EQ("[S]\r\nk=a\r\n", readFile(path));

  // A full device raises out of Close; the text stays for the next Close.
  ASSERT_EQ(0, ::unlink(path.c_str()));
  ASSERT_EQ(0, ::symlink("/dev/full", path.c_str()));
  EXPECT_TRUE(raisesDiskFull([&] { (void)a.Close(); }));  // raises instead of returning
  ASSERT_EQ(0, ::unlink(path.c_str()));
  EXPECT_EQ(S_OK, a.Close());
  EXPECT_EQ("[S]\r\nk=a\r\n", readFile(path));
}

TEST(IniFile, FullDiskLeavesEveryOldFileWhole) {
  ScratchDir dir;
  const std::string path = dir / "params.ini", backup = dir / "Backup/params.ini.bak";
  std::string text = "[S]\r\n", oldBackup = "[S]\r\n";
  for (int i = 0; i < 2000; ++i) text += "k" + std::to_string(i) + "=" + std::to_string(i * 7) + "\r\n";
  for (int i = 0; i < 1000; ++i) oldBackup += "old" + std::to_string(i) + "=1\r\n";
  ASSERT_GT(oldBackup.size(), 8192u);
  ASSERT_EQ(0, ::mkdir((dir / "Backup").c_str(), 0777));
  const std::pair<std::string, std::string> old[] = {
      {path, text},
      {backup, oldBackup},
      {dir / "s.bin", std::string("SizeStructFile\0", 15) + std::string(9000, 's')},
      {dir / "whole.bin", std::string(9000, 'w')}};
  for (const auto& [file, bytes] : old) writeFile(file, bytes);
  const std::string big(20000, 'n');
  CIniFile grown;
  ASSERT_EQ(S_OK, grown.Create(path.c_str(), 1, 0));
  ASSERT_EQ(S_OK, grown.WriteString("S", "big", big.c_str()));

  const struct {
    const char* what;
    std::function<void()> step;
  } cases[] = {
      {"backup at Create", [&] { (void)CIniFile().Create(path.c_str(), 1, 1); }},
      {"file at Close", [&] { (void)grown.Close(); }},
      {"structure file",
       [&] {
         CSizeStructFile file;
         if (file.Init(wide(dir / "s.bin"), 1) == S_OK)
           (void)file.WriteStruct(big.data(), static_cast<int>(big.size()));
       }},
      {"whole-file write",
       [&] { (void)COrvekGlobals::WriteToFile((dir / "whole.bin").c_str(), big.data(), 20000, 0); }},
  };
  for (const auto& c : cases) EXPECT_TRUE(raisesOnFullDisk(c.step)) << c.what;
  // Each old file is there byte for byte, and nothing was left beside it.
  for (const auto& [file, bytes] : old) EXPECT_TRUE(bytes == readFile(file)) << file;
  EXPECT_EQ((std::set<std::string>{"Backup", "params.ini", "s.bin", "whole.bin"}), namesIn(dir.path()));
  EXPECT_EQ(std::set<std::string>{"params.ini.bak"}, namesIn(dir / "Backup"));

  // With room enough the same writes go through.
  EXPECT_EQ(S_OK, grown.Close());
  EXPECT_TRUE(readFile(path) == text + "big=" + big + "\r\n");
  ASSERT_EQ(S_OK, CIniFile().Create(path.c_str(), 0, 1));
  EXPECT_TRUE(readFile(path) == readFile(backup));
  EXPECT_EQ((std::set<std::string>{"Backup", "params.ini", "s.bin", "whole.bin"}), namesIn(dir.path()));
}

TEST(IniFile, ApplicationFolderAtAnyDepthAndInAnyBytes) {
  ScratchDir dir;
  // A folder named in Latin-1 bytes, which are no UTF-8, deep below.
  std::string deep = dir.path() + "/caf\xe9";
  while (deep.size() < 360) deep += "/a-folder-of-a-deep-tree";
  std::filesystem::create_directories(deep);
  deep += '/';
  ASSERT_GT(deep.size(), 300u);
  char self[PATH_MAX] = {};
  ASSERT_GT(::readlink("/proc/self/exe", self, sizeof self - 1), 0);
  const std::string program = deep + "test_persistence";
  if (::link(self, program.c_str()) != 0) std::filesystem::copy_file(self, program);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::setenv("ORVEK_DEEP_FOLDER", deep.c_str(), 1);
    if (::chdir(dir.path().c_str()) == 0) ::execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = -1;
  ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
  EXPECT_EQ("[S]\r\nk=v\r\n", readFile(deep + "x.ini"));
  EXPECT_EQ(0, ::access((deep + "Backup").c_str(), F_OK));
  EXPECT_EQ(0u, readFile(deep + "x.log").find("T\r\nModule path:\t"));

  // Narrow names reach the system as the bytes given.
  const std::string latin = dir.path() + "/caf\xe9/\xe9t\xe9.ini";
  for (int pass = 0; pass < 2; ++pass) {
    CIniFile ini;
    ASSERT_EQ(S_OK, ini.Create(latin.c_str(), 1, 1));
    EXPECT_EQ(S_OK, ini.WriteString("S", "k", "\xe9"));
    EXPECT_EQ(S_OK, ini.Close());
  }
  EXPECT_EQ("[S]\r\nk=\xe9\r\n", readFile(latin));
  EXPECT_EQ(readFile(latin), readFile(dir.path() + "/caf\xe9/Backup/\xe9t\xe9.ini.bak"));
  const std::string bin = dir.path() + "/caf\xe9/\xe9.bin";
  EXPECT_EQ(S_OK, COrvekGlobals::WriteToFile(bin.c_str(), "abc", 3, 0));
  EXPECT_EQ(S_OK, COrvekGlobals::WriteToFile(bin.c_str(), "d", 1, 1));
  char buffer[8] = {};
  int size = sizeof buffer;
  EXPECT_EQ(1, COrvekGlobals::ReadFromFile(bin.c_str(), buffer, &size));
  EXPECT_EQ("abcd", std::string(buffer, static_cast<std::size_t>(size)));
}

TEST(IniFile, TypedFormatsAndScans) {
  ScratchDir dir;
  const std::string path = dir / "typed.ini";
  writeFile(path,
            "[S]\r\nupper=0XDEADBEEF\r\ndec=3735928559\r\nblank= 0xdeadbeef\r\ntrail=12abc\r\n"
            "note=7 # seven\r\nlead= 12\r\nempty=\r\nword=abc\r\nexp=1e3\r\n");
  CIniFile ini;
  ASSERT_EQ(S_OK, ini.Create(path.c_str(), 1, 0));
  const ULONG hex = 0xDEADBEEF;
  const float f = 1.5f;
  const int minusOne = -1;
  const unsigned long long big = 18446744073709551615ull;
  const ULONGLONG ten = 10;
  EXPECT_EQ(std::vector<LONG>(6, S_OK),
            (std::vector<LONG>{ini.WriteParam("N", "hex", &hex), ini.WriteParam(L"N", L"float", &f),
                               ini.WriteParam("N", "int", &minusOne), ini.WriteParam("N", "ull", &big),
                               ini.WriteParam(L"N", L"u64", &ten), ini.Close()}));
  const std::string text = readFile(path);
  EXPECT_EQ("[N]\r\nhex=0xdeadbeef\r\nfloat=1.500000\r\nint=-1\r\null=18446744073709551615\r\nu64=10\r\n",
            text.substr(text.find("[N]")));

  ULONG h = 5;
  float g = 0;
  unsigned long long b = 0;
  ULONGLONG t = 0;
  UINT allBits = 0;
  EXPECT_EQ(std::vector<LONG>(5, S_OK),
            (std::vector<LONG>{ini.ReadParam(L"N", L"hex", &h), ini.ReadParam("N", "float", &g),
                               ini.ReadParam("N", "ull", &b), ini.ReadParam("N", "u64", &t),
                               ini.ReadParam("N", "int", "%d", &allBits)}));
  EXPECT_EQ(std::make_tuple(0xDEADBEEFu, 1.5f, big, 10u, 0xFFFFFFFFu), std::make_tuple(h, g, b, t, allBits));

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
  EXPECT_EQ(E_POINTER, ini.ReadParam("S", "trail", static_cast<int*>(nullptr)));
  EXPECT_EQ(E_POINTER, ini.ReadParam(static_cast<const char*>(nullptr), nullptr, &n));
  EXPECT_EQ(E_POINTER, ini.WriteParam("S", "k", static_cast<const int*>(nullptr)));
}

TEST(IniFile, StringsAndBuffers) {
  ScratchDir dir;
  writeFile(dir / "s.ini",
            "[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=Gr\xC3\xBC\xC3\x9F"
            "e\r\n[]\r\n=nameless\r\n");
  CIniFile ini;
  EXPECT_EQ(E_POINTER, ini.Create(static_cast<const char*>(nullptr), 1, 1));
  EXPECT_EQ(E_POINTER, ini.Create(static_cast<const wchar_t*>(nullptr), 1, 1));
  ASSERT_EQ(S_OK, ini.Create((dir / "s.ini").c_str(), 1, 0));
  struct Case {
    const char* key;
    int size;
    LONG hr;
    const char* buffer;
  } cases[] = {{"e", 1, S_OK, ""},         {"one", 1, E_FAIL, ""},         {"three", 4, S_OK, "abc"},
               {"four", 4, E_FAIL, "abc"}, {"none", 4, E_FAIL, ""},        {"one", 0, E_FAIL, "xyz"},
               {"one", -1, E_FAIL, "xyz"}, {"one", INT_MIN, E_FAIL, "xyz"}};
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
  EXPECT_EQ(E_POINTER, ini.WriteString("S", "k", static_cast<const char*>(nullptr)));
  EXPECT_EQ(S_OK, ini.Close());
  EXPECT_EQ("[S]\r\ne=\r\none=a\r\nthree=abc\r\nfour=abcd\r\nu=\xC2\xB5s\r\n=k\r\n[]\r\n=nameless\r\n",
            readFile(dir / "s.ini"));
}

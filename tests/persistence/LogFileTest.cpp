#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/persistence/LogFile.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

#include <support/TestFiles.h>

namespace {

std::string timeText(const SYSTEMTIME& t) {
  char s[64];
  std::snprintf(s, sizeof s, "%02d.%02d.%d at %d:%02d:%02d", t.wDay, t.wMonth, t.wYear, t.wHour, t.wMinute, t.wSecond);
  return s;
}

std::string modulePath(HINSTANCE module) {
  wchar_t buffer[1000] = {};
  GetModuleFileNameW(module, buffer, 1000);
  return CStringA(buffer).GetString();
}

// Milliseconds of the stamp " h:mm:ss.mmm<tab>" that starts line, or -1 if
// it is not in exactly that form.
long long stampMs(const std::string& line) {
  unsigned h = 0, m = 0, s = 0, ms = 0;
  char again[32];
  if (std::sscanf(line.c_str(), "%u:%u:%u.%u", &h, &m, &s, &ms) != 4) return -1;
  std::snprintf(again, sizeof again, "%2u:%02u:%02u.%03u\t", h, m, s, ms);
  if (line.compare(0, std::strlen(again), again) != 0 || m > 59 || s > 59 || ms > 999) return -1;
  return ((h * 60ll + m) * 60 + s) * 1000 + ms;
}

// The lines of a log behind its head (title, path, version, start, blank).
std::vector<std::string> body(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = text.find("\r\n\r\n") + 4, end; (end = text.find("\r\n", at)) != std::string::npos;
       at = end + 2)
    lines.push_back(text.substr(at, end - at));
  return lines;
}

}  // namespace

TEST(LogFile, HeadLinesAndClose) {
  ScratchDir dir;
  const HINSTANCE library = OrvekGetModuleHandle();
  const std::string libraryPath = modulePath(library);
  // The library's file carries its real version in its name: liborvek.so.X.Y.Z.
  const std::string version = libraryPath.substr(libraryPath.find(".so.") + 4) + ".0";

  CLogFile log;
  EXPECT_EQ(E_PENDING, log.AddString(L"early"));
  EXPECT_EQ(E_INVALIDARG, log.Init(L"run.log", wide(dir.path()), L"Title", nullptr));
  SYSTEMTIME before{}, after{};
  GetLocalTime(&before);
  ASSERT_EQ(S_OK, log.Init(L"run.log", wide(dir.path()), L"Run \u00B5", library));
  GetLocalTime(&after);
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, log.Init(L"other.log", wide(dir.path()), L"", library));
  for (const wchar_t* text : {L"a\nb", L"c\r\nd", L""}) EXPECT_EQ(S_OK, log.AddString(text));
  EXPECT_EQ(S_OK, log.Close());
  EXPECT_EQ(E_PENDING, log.AddString(L"late"));
  const std::string text = readFile(dir / "run.log");
  EXPECT_EQ(S_OK, log.Close());
  EXPECT_EQ(text, readFile(dir / "run.log"));

  const std::string head = "Run \xC2\xB5\r\nModule path:\t" + libraryPath + "\r\nModule version:\t" + version + "\r\n";
  const bool headOk = text.find(head + "Log started:\t" + timeText(before) + "\r\n\r\n") == 0 ||
                      text.find(head + "Log started:\t" + timeText(after) + "\r\n\r\n") == 0;
  EXPECT_TRUE(headOk) << text;
  // One stamp per text: LF becomes CR LF, CR LF becomes CR CR LF; then a blank, the closing line and a blank.
  const std::vector<std::string> lines = body(text);
  ASSERT_EQ(8u, lines.size());
  const char* const texts[] = {"a", "b", "c\r", "d", ""};
  for (int i = 0; i < 5; ++i) {
    const bool stamped = i != 1 && i != 3;
    EXPECT_EQ(stamped, stampMs(lines[i]) >= 0) << lines[i];
    EXPECT_EQ(texts[i], lines[i].substr(stamped ? 13 : 0));
  }
  EXPECT_EQ("", lines[5]);
  int v[6];
  ASSERT_EQ(6, std::sscanf(lines[6].c_str(), "Log finished:\t%d.%d.%d at %d:%d:%d", &v[0], &v[1], &v[2], &v[3], &v[4],
                           &v[5]));
  const SYSTEMTIME finished = {WORD(v[2]), WORD(v[1]), 0, WORD(v[0]), WORD(v[3]), WORD(v[4]), WORD(v[5]), 0};
  EXPECT_EQ("Log finished:\t" + timeText(finished), lines[6]);
  EXPECT_EQ("", lines[7]);
  EXPECT_EQ("\r\n\r\n", text.substr(text.size() - 4));

  // A new log on the same name leaves only the new one.
  ASSERT_EQ(S_OK, log.Init(L"run.log", wide(dir.path()), nullptr, library));
  EXPECT_EQ(S_OK, log.Close());
  EXPECT_EQ(0u, readFile(dir / "run.log").find("\r\nModule path:"));
}

TEST(LogFile, ModuleFolderAndVersion) {
  // This test program has no version of its own until it registers one.
  Dl_info info{};
  ASSERT_NE(0, dladdr(reinterpret_cast<void*>(&modulePath), &info));
  const HINSTANCE program = info.dli_fbase;
  const std::string path = modulePath(program);
  const std::string name = "orvek-log-" + std::to_string(::getpid()) + ".log";
  const std::string log = path.substr(0, path.rfind('/') + 1) + name;  // beside the module
  for (const char* version : {"0.0.0.0", "2.3.4.5"}) {
    if (version[0] == '2') {
      ASSERT_TRUE(OrvekRegisterModuleVersion(program, 2, 3, 4, 5));
    }
    {
      CLogFile file;
      ASSERT_EQ(S_OK, file.Init(wide(name), L"T", program));
    }
    EXPECT_EQ(0u, readFile(log).find("T\r\nModule path:\t" + path + "\r\nModule version:\t" + version + "\r\n"));
  }
  ::unlink(log.c_str());
  // A log that cannot be made leaves the object closed; a full device raises out of Init.
  CLogFile file;
  EXPECT_EQ(E_FAIL, file.Init(L"no/such/folder.log", L"T", program));
  EXPECT_EQ(E_FAIL, file.Init(nullptr, L"T", program));
  EXPECT_EQ(E_PENDING, file.AddString(L"x"));
  ScratchDir dir;
  ASSERT_EQ(0, ::symlink("/dev/full", (dir / "full.log").c_str()));
  EXPECT_TRUE(raisesDiskFull([&] { (void)file.Init(L"full.log", wide(dir.path()), L"title", program); }));
  EXPECT_EQ(E_PENDING, file.AddString(L"x"));
  EXPECT_EQ(S_OK, file.Close());
}

TEST(LogFile, StampsFromTheTickCounter) {
  ScratchDir dir;
  // 1 h 2 min 3.004 s; beyond 100 hours; across the counter's wrap, one less than the plain difference.
  const struct {
    DWORD jump;
    const char* prefix;
  } cases[] = {{3723004, " 1:02:03.0"}, {360000000, "100:00:00."}, {0, " 0:00:0"}};
  for (const auto& c : cases) {
    OrvekSetTickCountOffset(0);
    const DWORD offset = c.jump ? 0 : 0xFFFFFFFFu - 500 - GetTickCount();
    OrvekSetTickCountOffset(offset);
    const DWORD start0 = GetTickCount();
    CLogFile log;
    ASSERT_EQ(S_OK, log.Init(L"t.log", wide(dir.path()), L"", OrvekGetModuleHandle()));
    const DWORD start1 = GetTickCount();
    OrvekSetTickCountOffset(offset + (c.jump ? c.jump : 1000));
    const DWORD now0 = GetTickCount();
    EXPECT_EQ(S_OK, log.AddString(L"x"));
    const DWORD now1 = GetTickCount();
    EXPECT_EQ(S_OK, log.Close());
    OrvekSetTickCountOffset(0);

    const std::string line = body(readFile(dir / "t.log"))[0];
    const bool wrapped = now0 < start1;
    EXPECT_EQ(c.jump == 0, wrapped);
    EXPECT_GE(stampMs(line), static_cast<long long>(DWORD(now0 - start1)) - (wrapped ? 1 : 0));
    EXPECT_LE(stampMs(line), static_cast<long long>(DWORD(now1 - start0)));
    EXPECT_EQ(0u, line.find(c.prefix)) << line;
  }
}

TEST(LogFile, EightThreadsKeepEveryLineWhole) {
  ScratchDir dir;
  CLogFile log;
  ASSERT_EQ(S_OK, log.Init(wide(dir / "mt.log"), L"mt", OrvekGetModuleHandle()));
  constexpr int kThreads = 8, kLines = 400;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&log, t] {
      for (int i = 0; i < kLines; ++i)
        EXPECT_EQ(S_OK, log.AddString(wide("thread " + std::to_string(t) + " line " + std::to_string(i))));
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(S_OK, log.Close());

  // Every line whole and present, each thread's in its own order.
  const std::vector<std::string> lines = body(readFile(dir / "mt.log"));
  ASSERT_EQ(std::size_t(kThreads * kLines + 3), lines.size());
  std::vector<int> next(kThreads, 0);
  for (std::size_t n = 0; n < lines.size() - 3; ++n) {
    int t = -1, i = -1;
    ASSERT_GE(stampMs(lines[n]), 0) << lines[n];
    ASSERT_EQ(2, std::sscanf(lines[n].c_str() + 13, "thread %d line %d", &t, &i)) << lines[n];
    ASSERT_TRUE(t >= 0 && t < kThreads) << lines[n];
    EXPECT_EQ("thread " + std::to_string(t) + " line " + std::to_string(next[t]++), lines[n].substr(13));
  }
}

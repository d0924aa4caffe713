#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <orvek/persistence/LogFile.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

#include "Files.h"

namespace {

std::string timeText(const SYSTEMTIME& t) {
  char s[64];
  std::snprintf(s, sizeof s, "%02d.%02d.%d at %d:%02d:%02d", t.wDay, t.wMonth, t.wYear, t.wHour, t.wMinute, t.wSecond);
  return s;
}

// True for a local time in the log's form, e.g. "05.03.2024 at 9:07:02".
bool isTimeText(const std::string& s) {
  SYSTEMTIME t{};
  int v[6];
  if (std::sscanf(s.c_str(), "%d.%d.%d at %d:%d:%d", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]) != 6) return false;
  t.wDay = WORD(v[0]), t.wMonth = WORD(v[1]), t.wYear = WORD(v[2]), t.wHour = WORD(v[3]), t.wMinute = WORD(v[4]),
  t.wSecond = WORD(v[5]);
  return timeText(t) == s;
}

std::string modulePath(HINSTANCE module) {
  wchar_t buffer[1000] = {};
  GetModuleFileNameW(module, buffer, 1000);
  return CStringA(buffer).GetString();
}

// Milliseconds of a stamp " h:mm:ss.mmm<tab>" at the start of line, after
// checking its exact form; -1 if it is malformed.
long long stampMs(const std::string& line) {
  unsigned h = 0, m = 0, s = 0, ms = 0;
  if (std::sscanf(line.c_str(), "%u:%u:%u.%u", &h, &m, &s, &ms) != 4) return -1;
  char again[32];
  std::snprintf(again, sizeof again, "%2u:%02u:%02u.%03u\t", h, m, s, ms);
  if (line.compare(0, std::strlen(again), again) != 0 || m > 59 || s > 59 || ms > 999) return -1;
  return ((h * 60ll + m) * 60 + s) * 1000 + ms;
}

// The module of this test program, which carries no version of its own.
HINSTANCE programModule() {
  Dl_info info{};
  dladdr(reinterpret_cast<void*>(&programModule), &info);
  return info.dli_fbase;
}

}  // namespace

TEST(LogFile, HeadLinesAndClose) {
  ScratchDir dir;
  const HINSTANCE library = OrvekGetModuleHandle();
  const std::string libraryPath = modulePath(library);
  // The library's file is named after its real version: liborvek.so.X.Y.Z.
  const std::string version = libraryPath.substr(libraryPath.find(".so.") + 4) + ".0";

  CLogFile log;
  EXPECT_EQ(E_PENDING, log.AddString(L"early"));
  EXPECT_EQ(E_INVALIDARG, log.Init(L"run.log", wide(dir.path()), L"Title", nullptr));
  SYSTEMTIME before{}, after{};
  GetLocalTime(&before);
  ASSERT_EQ(S_OK, log.Init(L"run.log", wide(dir.path()), L"Run \u00B5", library));
  GetLocalTime(&after);
  EXPECT_EQ(ERROR_ALREADY_INITIALIZED, log.Init(L"other.log", wide(dir.path()), L"", library));
  EXPECT_EQ(S_OK, log.AddString(L"a\nb"));
  EXPECT_EQ(S_OK, log.AddString(L"c\r\nd"));
  EXPECT_EQ(S_OK, log.AddString(L""));
  EXPECT_EQ(S_OK, log.Close());
  EXPECT_EQ(E_PENDING, log.AddString(L"late"));
  const std::string written = readFile(dir / "run.log");
  EXPECT_EQ(S_OK, log.Close());
  EXPECT_EQ(written, readFile(dir / "run.log"));

  const std::string head = "Run \xC2\xB5\r\nModule path:\t" + libraryPath + "\r\nModule version:\t" + version +
                           "\r\nLog started:\t";
  ASSERT_EQ(head, written.substr(0, head.size()));
  std::size_t at = head.size();
  const std::string started = written.substr(at, written.find("\r\n", at) - at);
  EXPECT_TRUE(started == timeText(before) || started == timeText(after)) << started;
  EXPECT_TRUE(isTimeText(started));
  at += started.size();
  ASSERT_EQ("\r\n\r\n", written.substr(at, 4));
  at += 4;
  // One stamp per AddString; LF becomes CR LF, CR LF becomes CR CR LF.
  for (const std::string text : {"a\r\nb\r\n", "c\r\r\nd\r\n", "\r\n"}) {
    EXPECT_GE(stampMs(written.substr(at)), 0);
    at += 13;
    EXPECT_EQ(text, written.substr(at, text.size()));
    at += text.size();
  }
  const std::string finish = "\r\nLog finished:\t";
  EXPECT_EQ(finish, written.substr(at, finish.size()));
  at += finish.size();
  const std::string finished = written.substr(at, written.size() - at - 4);
  EXPECT_TRUE(isTimeText(finished)) << finished;
  EXPECT_EQ("\r\n\r\n", written.substr(written.size() - 4));

  // A new log on the same name leaves only the new one.
  ASSERT_EQ(S_OK, log.Init(L"run.log", wide(dir.path()), nullptr, library));
  log.Close();
  EXPECT_EQ(0u, readFile(dir / "run.log").find("\r\nModule path:"));
}

TEST(LogFile, ModuleFolderAndVersion) {
  const HINSTANCE program = programModule();
  const std::string path = modulePath(program);
  const std::string folder = path.substr(0, path.rfind('/'));
  const std::string name = "orvek-log-" + std::to_string(::getpid()) + ".log";
  {
    CLogFile log;
    ASSERT_EQ(S_OK, log.Init(wide(name), L"T", program));
  }
  // Without a folder, the log lies beside the module; no version shows zeros.
  std::string text = readFile(folder + "/" + name);
  EXPECT_EQ(0u, text.find("T\r\nModule path:\t" + path + "\r\nModule version:\t0.0.0.0\r\n")) << text;
  ASSERT_TRUE(OrvekRegisterModuleVersion(program, 2, 3, 4, 5));
  {
    CLogFile log;
    ASSERT_EQ(S_OK, log.Init(wide(name), L"T", program));
  }
  text = readFile(folder + "/" + name);
  EXPECT_NE(std::string::npos, text.find("\r\nModule version:\t2.3.4.5\r\n"));
  ::unlink((folder + "/" + name).c_str());

  // A log that cannot be made leaves the object closed.
  CLogFile log;
  EXPECT_EQ(E_FAIL, log.Init(L"no/such/folder.log", L"T", program));
  EXPECT_EQ(E_PENDING, log.AddString(L"x"));
}

TEST(LogFile, StampsFromTheTickCounter) {
  ScratchDir dir;
  struct Case {
    DWORD startOffset, jump;
    const char* prefix;
  };
  // 1 h 2 min 3.004 s, beyond 100 hours, and across the wrap of the counter,
  // where the elapsed time is one less than the plain difference.
  const Case cases[] = {{0, 3723004, " 1:02:03.0"}, {0, 360000000, "100:00:00."}, {0, 0, " 0:00:0"}};
  for (const Case& c : cases) {
    OrvekSetTickCountOffset(0);
    const DWORD base = GetTickCount();
    // For the wrap case the start lies 500 ms before the counter runs over.
    const DWORD startOffset = c.jump ? 0 : 0xFFFFFFFFu - 500 - base;
    OrvekSetTickCountOffset(startOffset);
    const DWORD start0 = GetTickCount();
    CLogFile log;
    ASSERT_EQ(S_OK, log.Init(L"t.log", wide(dir.path()), L"", OrvekGetModuleHandle()));
    const DWORD start1 = GetTickCount();
    OrvekSetTickCountOffset(startOffset + (c.jump ? c.jump : 1000));
    const DWORD now0 = GetTickCount();
    log.AddString(L"x");
    const DWORD now1 = GetTickCount();
    log.Close();
    OrvekSetTickCountOffset(0);

    const std::string text = readFile(dir / "t.log");
    const std::size_t line = text.find("\r\n\r\n") + 4;
    const long long ms = stampMs(text.substr(line));
    const bool wrapped = now0 < start1;
    const long long lo = DWORD(now0 - start1) - (wrapped ? 1 : 0), hi = DWORD(now1 - start0);
    EXPECT_GE(ms, lo);
    EXPECT_LE(ms, hi);
    EXPECT_EQ(c.prefix, text.substr(line, std::strlen(c.prefix)));
    EXPECT_EQ(c.jump == 0, wrapped);
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
      for (int i = 0; i < kLines; ++i) log.AddString(wide("thread " + std::to_string(t) + " line " + std::to_string(i)));
    });
  for (auto& th : threads) th.join();
  log.Close();

  const std::string text = readFile(dir / "mt.log");
  std::size_t at = text.find("\r\n\r\n") + 4;
  std::set<std::pair<int, int>> seen;
  std::vector<int> nextLine(kThreads, 0);
  for (;;) {
    const std::size_t end = text.find("\r\n", at);
    const std::string line = text.substr(at, end - at);
    if (line.empty()) break;  // the blank line in front of the closing line
    int t = -1, i = -1;
    ASSERT_GE(stampMs(line), 0) << line;
    ASSERT_EQ(2, std::sscanf(line.c_str() + 13, "thread %d line %d", &t, &i)) << line;
    ASSERT_EQ("thread " + std::to_string(t) + " line " + std::to_string(i), line.substr(13)) << line;
    // Each thread's lines arrive in its own order.
    EXPECT_EQ(nextLine[t]++, i);
    seen.emplace(t, i);
    at = end + 2;
  }
  EXPECT_EQ(std::size_t(kThreads * kLines), seen.size());
}

TEST(LogFile, FullDiskRaisesAndLeavesItClosed) {
  ScratchDir dir;
  ASSERT_EQ(0, ::symlink("/dev/full", (dir / "full.log").c_str()));
  CLogFile log;
  try {
    log.Init(L"full.log", wide(dir.path()), L"title", OrvekGetModuleHandle());
    ADD_FAILURE() << "no exception";
  } catch (const CFileException& e) {
    EXPECT_EQ(CFileException::diskFull, e.m_cause);
  }
  EXPECT_EQ(E_PENDING, log.AddString(L"x"));
  EXPECT_EQ(S_OK, log.Close());
}

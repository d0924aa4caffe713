#pragma once

// Scratch folders, whole-file reads and writes (WholeFiles.h), and writes on a
// full device.

#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include <orvek/Orvek.h>
#include <support/WholeFiles.h>

class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = std::string(ORVEK_TEST_BINARY_DIR) + "/scratch-XXXXXX";
    m_path = ::mkdtemp(&pattern[0]) ? pattern : std::string();
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string operator/(const std::string& name) const { return m_path + "/" + name; }
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

inline CStringW wide(const std::string& s) { return CStringW(s.c_str()); }

inline std::set<std::string> namesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

// Runs step in a child whose files cannot grow beyond limit bytes, as on a
// full device (SIGXFSZ ignored, so write() fails with EFBIG). True when the
// step raised the disk-full CFileException there.
inline bool raisesOnFullDisk(const std::function<void()>& step, rlim_t limit = 4096) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit r{limit, limit};
    int code = ::setrlimit(RLIMIT_FSIZE, &r) == 0 ? 1 : 4;
    try {
      if (code == 1) step();
    } catch (const CFileException& e) {
      code = e.m_cause == CFileException::diskFull ? 0 : 2;
    } catch (...) {
      code = 3;
    }
    ::_exit(code);
  }
  int status = -1;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Runs step, which must raise the disk-full CFileException: true if it did.
template <typename Step>
bool raisesDiskFull(Step step) {
  try {
    step();
  } catch (const CFileException& e) {
    return e.m_cause == CFileException::diskFull;
  }
  return false;
}

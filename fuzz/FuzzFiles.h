#pragma once

// A scratch folder for one fuzzing process (under TMPDIR); whole-file reads
// and writes are the tests' own.

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include <support/WholeFiles.h>

class FuzzScratch {
 public:
  FuzzScratch() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/orvek-fuzz-XXXXXX";
    if (!::mkdtemp(&pattern[0])) {
      std::perror("mkdtemp");
      std::abort();
    }
    m_path = pattern;
  }
  ~FuzzScratch() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

// Stops the run with a message that libFuzzer keeps beside the input.
#define FUZZ_CHECK(condition)                                                             \
  do {                                                                                    \
    if (!(condition)) {                                                                   \
      std::fprintf(stderr, "check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
      std::abort();                                                                       \
    }                                                                                     \
  } while (0)

#pragma once

// Scratch folders and whole-file reads and writes for the persistence tests.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <orvek/platform/core/Strings.h>

class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = std::string(ORVEK_TEST_BINARY_DIR) + "/persistence-XXXXXX";
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

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline CStringW wide(const std::string& s) { return CStringW(s.c_str()); }

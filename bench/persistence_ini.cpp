// Saving and loading a value file of 200 integer keys in 10 sections, and
// reading every key, with CIniFile against two common INI libraries doing
// the same work in the same process: SimpleIni (parses into a tree, saves)
// and inih (a callback parser, no writer; its values go into a table).
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

// The header carries its implementation when asked, so it is compiled here
// with the same options as the rest; plain UTF-8 bytes need no converter.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>
#include <ini.h>

#include <orvek/persistence/IniFile.h>

namespace {

constexpr int kSections = 10, kKeysPerSection = 20;

struct Entry {
  std::string section, key;
  int value;
};

const std::vector<Entry>& entries() {
  static const std::vector<Entry> list = [] {
    std::vector<Entry> v;
    for (int s = 0; s < kSections; ++s)
      for (int k = 0; k < kKeysPerSection; ++k)
        v.push_back(
            {"Section" + std::to_string(s), "parameter_" + std::to_string(k), (s * 7919 + k * 104729) % 20011 - 10000});
    return v;
  }();
  return list;
}

// A scratch folder for the run, with the value file every loader reads.
class Files {
 public:
  Files() {
    char pattern[] = "/tmp/orvek-bench-ini-XXXXXX";
    m_dir = ::mkdtemp(pattern) ? pattern : "/tmp";
    CIniFile ini;
    ini.Create(load().c_str(), 1, 0);
    for (const Entry& e : entries()) ini.WriteParam(e.section.c_str(), e.key.c_str(), &e.value);
    ini.Close();
  }
  ~Files() {
    std::error_code ignored;
    std::filesystem::remove_all(m_dir, ignored);
  }
  std::string load() const { return m_dir + "/values.ini"; }
  std::string save() const { return m_dir + "/saved.ini"; }

 private:
  std::string m_dir;
};

std::string readWhole(const std::string& path) {
  std::string bytes;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) bytes.append(buffer, n);
    std::fclose(f);
  }
  return bytes;
}

const Files& files() {
  static const Files f;
  return f;
}

void checkSum(benchmark::State& state, long long sum) {
  static const long long expected = [] {
    long long s = 0;
    for (const Entry& e : entries()) s += e.value;
    return s;
  }();
  if (sum != expected) state.SkipWithError("wrong values read");
}

// ---- save: the whole file built from nothing and written ----

void BM_Save_Orvek(benchmark::State& state) {
  const std::string path = files().save();
  for (auto _ : state) {
    ::unlink(path.c_str());
    // The destructor writes the file, once; Close and then the destructor
    // would write it twice.
    CIniFile ini;
    ini.Create(path.c_str(), 1, 0);
    for (const Entry& e : entries()) ini.WriteParam(e.section.c_str(), e.key.c_str(), &e.value);
  }
  if (readWhole(path) != readWhole(files().load())) state.SkipWithError("saved file differs");
}
BENCHMARK(BM_Save_Orvek);

void BM_Save_SimpleIni(benchmark::State& state) {
  const std::string path = files().save();
  for (auto _ : state) {
    ::unlink(path.c_str());
    CSimpleIniCaseA ini;
    for (const Entry& e : entries()) ini.SetLongValue(e.section.c_str(), e.key.c_str(), e.value);
    if (ini.SaveFile(path.c_str()) != SI_OK) state.SkipWithError("save failed");
  }
}
BENCHMARK(BM_Save_SimpleIni);

// ---- load and read all 200 keys ----

void BM_LoadAndReadAll_Orvek(benchmark::State& state) {
  const std::string path = files().load();
  for (auto _ : state) {
    CIniFile ini;
    ini.Create(path.c_str(), 0, 0);
    long long sum = 0;
    for (const Entry& e : entries()) {
      int v = 0;
      ini.ReadParam(e.section.c_str(), e.key.c_str(), &v);
      sum += v;
    }
    checkSum(state, sum);
  }
}
BENCHMARK(BM_LoadAndReadAll_Orvek);

void BM_LoadAndReadAll_SimpleIni(benchmark::State& state) {
  const std::string path = files().load();
  for (auto _ : state) {
    CSimpleIniCaseA ini;
    ini.LoadFile(path.c_str());
    long long sum = 0;
    for (const Entry& e : entries()) sum += ini.GetLongValue(e.section.c_str(), e.key.c_str(), 0);
    checkSum(state, sum);
  }
}
BENCHMARK(BM_LoadAndReadAll_SimpleIni);

// inih hands every pair to a callback; the host maps names to its variables.
struct InihTarget {
  std::unordered_map<std::string, int*> slots;
  std::string name;
};

int inihHandler(void* user, const char* section, const char* key, const char* value) {
  auto* target = static_cast<InihTarget*>(user);
  target->name.assign(section).append(1, '\0').append(key);
  const auto it = target->slots.find(target->name);
  if (it != target->slots.end()) *it->second = static_cast<int>(std::strtol(value, nullptr, 10));
  return 1;
}

void BM_LoadAndReadAll_Inih(benchmark::State& state) {
  const std::string path = files().load();
  std::vector<int> values(entries().size());
  InihTarget target;
  for (std::size_t i = 0; i < entries().size(); ++i)
    target.slots[entries()[i].section + '\0' + entries()[i].key] = &values[i];
  for (auto _ : state) {
    if (ini_parse(path.c_str(), inihHandler, &target) != 0) state.SkipWithError("parse failed");
    long long sum = 0;
    for (int v : values) sum += v;
    checkSum(state, sum);
  }
}
BENCHMARK(BM_LoadAndReadAll_Inih);

// ---- reading all 200 keys of a file loaded once ----

void BM_ReadAllLoaded_Orvek(benchmark::State& state) {
  CIniFile ini;
  ini.Create(files().load().c_str(), 0, 0);
  for (auto _ : state) {
    long long sum = 0;
    for (const Entry& e : entries()) {
      int v = 0;
      ini.ReadParam(e.section.c_str(), e.key.c_str(), &v);
      sum += v;
    }
    checkSum(state, sum);
  }
}
BENCHMARK(BM_ReadAllLoaded_Orvek);

void BM_ReadAllLoaded_SimpleIni(benchmark::State& state) {
  CSimpleIniCaseA ini;
  ini.LoadFile(files().load().c_str());
  for (auto _ : state) {
    long long sum = 0;
    for (const Entry& e : entries()) sum += ini.GetLongValue(e.section.c_str(), e.key.c_str(), 0);
    checkSum(state, sum);
  }
}
BENCHMARK(BM_ReadAllLoaded_SimpleIni);

}  // namespace

BENCHMARK_MAIN();

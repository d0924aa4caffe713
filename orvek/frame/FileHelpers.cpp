// Files relative to the application's folder, version blocks, text
// conversion, byte search, numbered names, ticks and list comparison.
#include <orvek/frame/OrvekGlobals.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>

#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Module_p.h>
#include <orvek/platform/core/Time_p.h>

namespace {

// Makes the folder of the host's executable the current folder, so that a
// relative path means a file beside the application.
void enterApplicationFolder() {
  const std::string folder = OrvekGetApplicationFolder();
  if (!folder.empty()) SetCurrentDirectoryA(folder.c_str());
}

// Both widths of the file helpers meet here: a narrow path is used as its
// bytes, a wide one as its UTF-8 text.
std::string pathBytes(const wchar_t* path) { return WideToUtf8(path, std::wcslen(path)); }

int readFromFile(const char* path, void* buffer, int* size) {
  if (!path || !size) return 0;
  enterApplicationFolder();
  CFile file;
  CFileException error;
  if (!file.Open(path, CFile::modeRead, &error)) return 0;
  if (buffer) {
    *size = static_cast<int>(file.Read(buffer, static_cast<UINT>(std::max(0, *size))));
    file.Close();
  } else {
    *size = static_cast<int>(static_cast<std::uint32_t>(file.GetLength()));
  }
  return 1;
}

LONG writeToFile(const char* path, const void* data, int size, int bAppend) {
  if (!path || size < 0 || (!data && size > 0)) return E_FAIL;
  enterApplicationFolder();
  CFile file;
  CFileException error;
  BOOL opened;
  if (bAppend == 0) {
    // A whole file is replaced at once: a failed write leaves the old one.
    opened = file.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::modeReplace, &error);
  } else {
    opened = file.Open(path, CFile::modeWrite, &error);
    if (!opened) opened = file.Open(path, CFile::modeCreate | CFile::modeWrite, &error);
    if (opened) file.SeekToEnd();
  }
  if (!opened) return E_FAIL;
  file.Write(data, static_cast<UINT>(size));
  file.Close();
  return S_OK;
}

// True when the text holds exactly one integer conversion ("%d" and its
// kin, with flags, width and precision) besides any "%%". A width or
// precision has at most 3 digits: a name is never padded to gigabytes.
bool isIndexFormat(const wchar_t* f) {
  int conversions = 0;
  const auto digits = [](const wchar_t*& p) {
    const wchar_t* start = p;
    while (*p >= L'0' && *p <= L'9') ++p;
    return p - start <= 3;
  };
  for (const wchar_t* p = f; *p; ++p) {
    if (*p != L'%') continue;
    ++p;
    if (*p == L'%') continue;
    while (*p && std::wcschr(L"-+ #0", *p)) ++p;
    if (!digits(p)) return false;
    if (*p == L'.') {
      ++p;
      if (!digits(p)) return false;
    }
    if (!*p || !std::wcschr(L"diuxXo", *p)) return false;
    ++conversions;
  }
  return conversions == 1;
}

}  // namespace

CStringW COrvekGlobals::GetApplicationPath(void) { return CStringW(OrvekGetApplicationFolder().c_str()); }

int COrvekGlobals::ReadFromFile(const char* path, void* buffer, int* size) { return readFromFile(path, buffer, size); }

int COrvekGlobals::ReadFromFile(const wchar_t* path, void* buffer, int* size) {
  return path ? readFromFile(pathBytes(path).c_str(), buffer, size) : 0;
}

LONG COrvekGlobals::WriteToFile(const char* path, const void* data, int size, int bAppend) {
  return writeToFile(path, data, size, bAppend);
}

LONG COrvekGlobals::WriteToFile(const wchar_t* path, const void* data, int size, int bAppend) {
  return path ? writeToFile(pathBytes(path).c_str(), data, size, bAppend) : E_FAIL;
}

LONG COrvekGlobals::GetFileInfo(HINSTANCE module, tagVS_FIXEDFILEINFO* info) {
  return orvek_detail::GetModuleFixedFileInfo(module, info);
}

void COrvekGlobals::CSTRtoWSTR(const char* text, std::vector<wchar_t>* result) {
  if (!result) return;
  const int n = text ? static_cast<int>(std::min<std::size_t>(std::strlen(text), 1000)) : 0;
  result->resize(static_cast<std::size_t>(n) + 1, 0);
  // A null text converts as the empty one: just the closing zero.
  if (!text) text = "";
  // n + 1 bytes, so the closing zero comes along unless the text was cut.
  MultiByteToWideChar(CP_ACP, 0, text, n + 1, result->data(), n + 1);
}

void COrvekGlobals::WSTRtoCSTR(const wchar_t* text, std::vector<char>* result) {
  if (!result) return;
  const std::size_t n = text ? std::min<std::size_t>(std::wcslen(text), 1000) : 0;
  // UTF-8 may need more bytes than the text has characters: the vector is
  // sized for the whole conversion, its last element left as the resize made it.
  const std::string bytes = WideToUtf8(text, n);
  result->resize(bytes.size() + 1, 0);
  std::copy(bytes.begin(), bytes.end(), result->begin());
}

LONG COrvekGlobals::UnicodeToANSI(const CStringW* text, CStringA* result) {
  if (text && result) *result = CStringA(WideToUtf8(text->GetString(), static_cast<std::size_t>(text->GetLength())));
  return S_OK;
}

LONG COrvekGlobals::ANSIToUnicode(const CStringA* text, CStringW* result) {
  if (text && result) *result = CStringW(Utf8ToWide(text->GetString(), static_cast<std::size_t>(text->GetLength())));
  return S_OK;
}

LONG COrvekGlobals::FindByteSequence(const unsigned char* data, int dataSize, const unsigned char* sequence,
                                     int sequenceSize, int* position, int step) {
  if (!data || !sequence || !position) return E_POINTER;
  if (step <= 0 || dataSize <= 0 || sequenceSize <= 0 || dataSize < sequenceSize) return E_INVALIDARG;
  const long long last = static_cast<long long>(dataSize) - sequenceSize;
  long long p = 0;
  for (; p <= last; p += step) {
    if (std::memcmp(data + p, sequence, static_cast<std::size_t>(sequenceSize)) == 0) {
      *position = static_cast<int>(p);
      return S_OK;
    }
  }
  *position = static_cast<int>(std::min<long long>(p, INT_MAX));
  return E_FAIL;
}

LONG COrvekGlobals::GetNewIndexFileName(CStringW* format, CStringW* result, int maxIndex) {
  if (!format || !result) return E_POINTER;
  if (maxIndex < 0 || !isIndexFormat(format->GetString())) return E_FAIL;
  for (int i = 0; i <= maxIndex; ++i) {
    CStringW name;
    name.Format(format->GetString(), i);
    WIN32_FIND_DATAW found;
    const HANDLE h = FindFirstFileW(name.GetString(), &found);
    if (h == INVALID_HANDLE_VALUE) {
      *result = name;
      return S_OK;
    }
    FindClose(h);
  }
  return E_FAIL;
}

ULONG COrvekGlobals::GetTicksElapsed(ULONG now, ULONG start) { return orvek_detail::TicksElapsed(now, start); }

template <>
int COrvekGlobals::CompareLists<int>(std::vector<int>* a, std::vector<int>* b) {
  const std::size_t na = a ? a->size() : 0, nb = b ? b->size() : 0;
  for (std::size_t i = 0;; ++i) {
    const bool endA = i >= na, endB = i >= nb;
    if (endA && endB) return 0;
    // A list that is the beginning of the other counts as the greater one.
    if (endA) return 1;
    if (endB) return -1;
    if ((*a)[i] != (*b)[i]) return (*a)[i] > (*b)[i] ? 1 : -1;
  }
}

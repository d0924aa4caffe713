// CStringW, CStringA and MultiByteToWideChar/WideCharToMultiByte over
// std::wstring and std::string, with UTF-8 as the narrow code page.
#include <orvek/platform/core/Strings.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <vector>

#include <orvek/platform/core/Kernel.h>

std::wstring Utf8ToWide(const char* text, std::size_t length) {
  std::wstring out;
  if (!text) return out;
  out.reserve(length);
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  std::size_t i = 0;
  while (i < length) {
    const unsigned char c = s[i];
    if (c < 0x80) {
      out.push_back(static_cast<wchar_t>(c));
      ++i;
      continue;
    }
    int extra;
    std::uint32_t cp, min;
    if ((c & 0xE0) == 0xC0) {
      extra = 1;
      cp = c & 0x1Fu;
      min = 0x80;
    } else if ((c & 0xF0) == 0xE0) {
      extra = 2;
      cp = c & 0x0Fu;
      min = 0x800;
    } else if ((c & 0xF8) == 0xF0) {
      extra = 3;
      cp = c & 0x07u;
      min = 0x10000;
    } else {
      out.push_back(L'\xFFFD');
      ++i;
      continue;
    }
    std::size_t j = 1;
    for (; j <= static_cast<std::size_t>(extra); ++j) {
      if (i + j >= length || (s[i + j] & 0xC0) != 0x80) break;
      cp = (cp << 6) | (s[i + j] & 0x3Fu);
    }
    if (j <= static_cast<std::size_t>(extra) || cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      // One replacement for the lead byte and the continuation bytes it had.
      out.push_back(L'\xFFFD');
      i += std::max<std::size_t>(1, j);
      continue;
    }
    out.push_back(static_cast<wchar_t>(cp));
    i += j;
  }
  return out;
}

std::string WideToUtf8(const wchar_t* text, std::size_t length) {
  std::string out;
  if (!text) return out;
  out.reserve(length);
  for (std::size_t i = 0; i < length; ++i) {
    const auto cp = static_cast<std::uint32_t>(text[i]);
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      out.push_back('?');
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp <= 0x10FFFF) {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back('?');
    }
  }
  return out;
}

namespace {
template <typename Out>
int copyOut(const Out& converted, typename Out::value_type* dst, int dstLen) {
  const int need = static_cast<int>(converted.size());
  if (dstLen == 0) return need;
  if (!dst || dstLen < 0) {
    SetLastError(87);
    return 0;
  }
  std::copy_n(converted.data(), std::min(need, dstLen), dst);
  if (need > dstLen) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  return need;
}
}  // namespace

int MultiByteToWideChar(UINT, DWORD, const char* src, int srcLen, wchar_t* dst, int dstLen) {
  if (!src || srcLen == 0 || srcLen < -1) {
    SetLastError(87);
    return 0;
  }
  const std::size_t n = srcLen == -1 ? std::strlen(src) + 1 : static_cast<std::size_t>(srcLen);
  return copyOut(Utf8ToWide(src, n), dst, dstLen);
}

int WideCharToMultiByte(UINT, DWORD, const wchar_t* src, int srcLen, char* dst, int dstLen, const char*,
                        BOOL* usedDefault) {
  if (!src || srcLen == 0 || srcLen < -1) {
    SetLastError(87);
    return 0;
  }
  const std::size_t n = srcLen == -1 ? std::wcslen(src) + 1 : static_cast<std::size_t>(srcLen);
  if (usedDefault) {
    *usedDefault = FALSE;
    for (std::size_t i = 0; i < n; ++i) {
      const auto cp = static_cast<std::uint32_t>(src[i]);
      if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) *usedDefault = TRUE;
    }
  }
  return copyOut(WideToUtf8(src, n), dst, dstLen);
}

// ---- CStringT ---------------------------------------------------------------

namespace {
inline std::wstring convert(const char* s) { return s ? Utf8ToWide(s, std::strlen(s)) : std::wstring(); }
inline std::string convert(const wchar_t* s) { return s ? WideToUtf8(s, std::wcslen(s)) : std::string(); }

int vformat(std::string& out, const char* fmt, va_list args) {
  va_list copy;
  va_copy(copy, args);
  char small[256];
  const int n = std::vsnprintf(small, sizeof small, fmt, copy);
  va_end(copy);
  if (n < 0) return n;
  if (static_cast<std::size_t>(n) < sizeof small) {
    out.assign(small, static_cast<std::size_t>(n));
    return n;
  }
  std::vector<char> big(static_cast<std::size_t>(n) + 1);
  std::vsnprintf(big.data(), big.size(), fmt, args);
  out.assign(big.data(), static_cast<std::size_t>(n));
  return n;
}

int vformat(std::wstring& out, const wchar_t* fmt, va_list args) {
  // vswprintf fails alike for a small buffer and for a text it cannot convert,
  // so only the first try uses a fixed buffer; a memory stream then grows as
  // needed and a failure there is a real one.
  wchar_t small[256];
  va_list copy;
  va_copy(copy, args);
  int n = std::vswprintf(small, sizeof small / sizeof small[0], fmt, copy);
  va_end(copy);
  if (n >= 0) {
    out.assign(small, static_cast<std::size_t>(n));
    return n;
  }
  wchar_t* buf = nullptr;
  std::size_t size = 0;
  FILE* stream = open_wmemstream(&buf, &size);
  if (!stream) return -1;
  n = std::vfwprintf(stream, fmt, args);
  std::fclose(stream);
  if (n >= 0) out.assign(buf, size);
  std::free(buf);
  return n;
}

inline std::size_t slen(const char* s) { return std::strlen(s); }
inline std::size_t slen(const wchar_t* s) { return std::wcslen(s); }
inline int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
inline wint_t lower(wchar_t c) { return std::towlower(static_cast<wint_t>(c)); }
inline bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
inline bool isSpace(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }
}  // namespace

template <typename T>
const T* CStringT<T>::empty() {
  static const T z[1] = {0};
  return z;
}

template <typename T>
CStringT<T>::CStringT(const YCHAR* s) : m_s(convert(s)) {}

template <typename T>
CStringT<T>::CStringT(const CStringT<YCHAR>& s) : m_s(convert(s.GetString())) {}

template <typename T>
void CStringT<T>::FormatV(const T* format, va_list args) {
  if (!format) {
    m_s.clear();
    return;
  }
  StdString out;
  if (vformat(out, format, args) >= 0) m_s.swap(out);
}

template <typename T>
void CStringT<T>::Format(const T* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
}

template <typename T>
void CStringT<T>::AppendFormat(const T* format, ...) {
  if (!format) return;
  va_list args;
  va_start(args, format);
  StdString out;
  if (vformat(out, format, args) >= 0) m_s += out;
  va_end(args);
}

template <typename T>
T* CStringT<T>::GetBuffer(int minLength) {
  if (minLength > GetLength()) m_s.resize(static_cast<std::size_t>(minLength));
  return &m_s[0];
}

template <typename T>
T* CStringT<T>::GetBufferSetLength(int length) {
  m_s.resize(static_cast<std::size_t>(std::max(0, length)));
  return &m_s[0];
}

template <typename T>
void CStringT<T>::ReleaseBuffer(int newLength) {
  if (newLength < 0) newLength = static_cast<int>(slen(m_s.c_str()));
  m_s.resize(static_cast<std::size_t>(std::min(newLength, GetLength())));
}

template <typename T>
int CStringT<T>::Insert(int index, const T* s) {
  index = std::clamp(index, 0, GetLength());
  if (s) m_s.insert(static_cast<std::size_t>(index), s);
  return GetLength();
}

template <typename T>
int CStringT<T>::Insert(int index, T ch) {
  index = std::clamp(index, 0, GetLength());
  m_s.insert(m_s.begin() + index, ch);
  return GetLength();
}

template <typename T>
int CStringT<T>::Delete(int index, int count) {
  if (index < 0) index = 0;
  if (count > 0 && index < GetLength()) m_s.erase(static_cast<std::size_t>(index), static_cast<std::size_t>(count));
  return GetLength();
}

template <typename T>
int CStringT<T>::Find(T ch, int start) const {
  if (start < 0 || start >= GetLength()) return -1;
  const auto p = m_s.find(ch, static_cast<std::size_t>(start));
  return p == StdString::npos ? -1 : static_cast<int>(p);
}

template <typename T>
int CStringT<T>::Find(const T* s, int start) const {
  if (!s || start < 0 || start > GetLength()) return -1;
  const auto p = m_s.find(s, static_cast<std::size_t>(start));
  return p == StdString::npos ? -1 : static_cast<int>(p);
}

template <typename T>
int CStringT<T>::ReverseFind(T ch) const {
  const auto p = m_s.rfind(ch);
  return p == StdString::npos ? -1 : static_cast<int>(p);
}

template <typename T>
int CStringT<T>::Replace(const T* oldText, const T* newText) {
  if (!oldText || !*oldText) return 0;
  const StdString from(oldText), to(newText ? newText : empty());
  int count = 0;
  for (std::size_t p = m_s.find(from); p != StdString::npos; p = m_s.find(from, p + to.size())) {
    m_s.replace(p, from.size(), to);
    ++count;
  }
  return count;
}

template <typename T>
int CStringT<T>::Replace(T oldCh, T newCh) {
  int count = 0;
  for (auto& c : m_s)
    if (c == oldCh) {
      c = newCh;
      ++count;
    }
  return count;
}

template <typename T>
CStringT<T> CStringT<T>::Left(int count) const {
  count = std::clamp(count, 0, GetLength());
  return CStringT(m_s.substr(0, static_cast<std::size_t>(count)));
}

template <typename T>
CStringT<T> CStringT<T>::Right(int count) const {
  count = std::clamp(count, 0, GetLength());
  return CStringT(m_s.substr(static_cast<std::size_t>(GetLength() - count)));
}

template <typename T>
CStringT<T> CStringT<T>::Mid(int first) const {
  return Mid(first, GetLength());
}

template <typename T>
CStringT<T> CStringT<T>::Mid(int first, int count) const {
  first = std::clamp(first, 0, GetLength());
  count = std::clamp(count, 0, GetLength() - first);
  return CStringT(m_s.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(count)));
}

template <typename T>
CStringT<T>& CStringT<T>::TrimLeft() {
  std::size_t i = 0;
  while (i < m_s.size() && isSpace(m_s[i])) ++i;
  m_s.erase(0, i);
  return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimRight() {
  while (!m_s.empty() && isSpace(m_s.back())) m_s.pop_back();
  return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::Trim() {
  return TrimRight().TrimLeft();
}

template <typename T>
CStringT<T>& CStringT<T>::MakeUpper() {
  for (auto& c : m_s)
    c = static_cast<T>(std::is_same<T, char>::value ? std::toupper(static_cast<unsigned char>(c))
                                                    : static_cast<int>(std::towupper(static_cast<wint_t>(c))));
  return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::MakeLower() {
  for (auto& c : m_s) c = static_cast<T>(lower(c));
  return *this;
}

template <typename T>
int CStringT<T>::CompareNoCase(const T* s) const {
  if (!s) s = empty();
  std::size_t i = 0;
  for (;; ++i) {
    const auto a = i < m_s.size() ? lower(m_s[i]) : 0;
    const auto b = lower(s[i]);
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
}

template class CStringT<wchar_t>;
template class CStringT<char>;

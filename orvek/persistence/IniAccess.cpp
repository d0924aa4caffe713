// Typed and string access to the values of an INI text. Numbers stand in the
// file as text, with one fixed format per value type for both directions.
#include <orvek/persistence/IniFile.h>

#include <locale.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>

static_assert(sizeof(unsigned long) == sizeof(unsigned long long), "ULONGLONG is unsigned long on this platform");

namespace {

// True if the scan format stores exactly one number: one conversion of a
// numeric kind without '*', any number of suppressed ones and "%%". Strings,
// characters, sets and %n are refused, for the caller's single pointer
// carries no size.
bool isSingleNumberFormat(const char* f) {
  int stores = 0;
  for (const char* p = f; *p; ++p) {
    if (*p != '%') continue;
    if (*++p == '%') continue;
    const bool suppressed = *p == '*';
    if (suppressed) ++p;
    while (*p >= '0' && *p <= '9') ++p;
    while (*p && std::strchr("hlLjztq", *p)) ++p;
    if (!*p || *p == '$') return false;
    if (suppressed) {
      if (*p == '[') {
        // Skip the set, whose first ']' may be a member.
        if (*++p == '^') ++p;
        if (*p == ']') ++p;
        while (*p && *p != ']') ++p;
        if (!*p) return false;
      }
      continue;
    }
    if (!std::strchr("diouxXfFeEgGaA", *p)) return false;
    ++stores;
  }
  return stores == 1;
}

// Numbers in the file never follow the host's locale: a Qt host switches the
// process to the user's, where 1.5 may print as "1,500000". The C locale is
// set for the calling thread only, for the span of one conversion.
class CClassicNumbers {
 public:
  CClassicNumbers() {
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    m_previous = classic ? ::uselocale(classic) : nullptr;
  }
  ~CClassicNumbers() {
    if (m_previous) ::uselocale(m_previous);
  }
  CClassicNumbers(const CClassicNumbers&) = delete;
  CClassicNumbers& operator=(const CClassicNumbers&) = delete;

 private:
  locale_t m_previous;
};

// What each value type goes to the formatter as: a float widened, as every
// variadic float is, and ULONGLONG as the type that "%llu" names.
template <typename T>
T promoted(T value) {
  return value;
}
double promoted(float value) { return value; }
unsigned long long promoted(unsigned long value) { return value; }

template <typename T>
CStringW formatValue(const CStringW& format, T value) {
  CClassicNumbers classic;
  CStringW text;
  text.Format(format, promoted(value));
  return text;
}

}  // namespace

LONG CIniFile::GetParamFormat(const int*, CStringW* pFormat) {
  *pFormat = L"%d";
  return S_OK;
}

LONG CIniFile::GetParamFormat(const ULONG*, CStringW* pFormat) {
  *pFormat = L"0x%08x";
  return S_OK;
}

LONG CIniFile::GetParamFormat(const float*, CStringW* pFormat) {
  *pFormat = L"%f";
  return S_OK;
}

LONG CIniFile::GetParamFormat(const unsigned long*, CStringW* pFormat) {
  *pFormat = L"%llu";
  return S_OK;
}

LONG CIniFile::GetParamFormat(const unsigned long long*, CStringW* pFormat) {
  *pFormat = L"%llu";
  return S_OK;
}

LONG CIniFile::ReadParam(const char* pSection, const char* pKey, const char* pFormat, void* pValue) const {
  if (!pFormat) return E_POINTER;
  if (!isSingleNumberFormat(pFormat)) return E_INVALIDARG;
  return scanParam(pSection, pKey, CStringW(pFormat), pValue);
}

LONG CIniFile::scanParam(const char* pSection, const char* pKey, const wchar_t* pFormat, void* pValue) const {
  if (!pSection || !pKey || !pValue) return E_POINTER;
  int start = 0, end = 0, valueStart = 0, valueEnd = 0;
  LONG hr = FindSection(pSection, &start, &end);
  if (hr != S_OK) return hr;
  hr = FindParameter(start, end, pKey, &valueStart, &valueEnd);
  if (hr != S_OK) return hr;
  // The scan reads wide text. A short ASCII value, the common case, is
  // widened on the stack.
  const char* bytes = m_strContent.GetString() + valueStart;
  const std::size_t length = static_cast<std::size_t>(valueEnd - valueStart);
  wchar_t small[64];
  std::wstring large;
  const wchar_t* text = small;
  if (length < sizeof small / sizeof small[0] &&
      std::all_of(bytes, bytes + length, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    std::copy(bytes, bytes + length, small);
    small[length] = 0;
  } else {
    large = Utf8ToWide(bytes, length);
    text = large.c_str();
  }
  CClassicNumbers classic;
  return std::swscanf(text, pFormat, pValue) == 1 ? S_OK : E_FAIL;
}

template <typename T>
LONG CIniFile::ReadParam(const char* pSection, const char* pKey, T* pValue) const {
  CStringW format;
  (void)GetParamFormat(pValue, &format);  // a null pointer is already refused above
  return scanParam(pSection, pKey, format, pValue);
}

template <typename T>
LONG CIniFile::ReadParam(const wchar_t* pSection, const wchar_t* pKey, T* pValue) const {
  const CStringA section(pSection), key(pKey);
  return ReadParam<T>(section.GetString(), key.GetString(), pValue);
}

template <typename T>
LONG CIniFile::WriteParam(const char* pSection, const char* pKey, const T* pValue) {
  if (!pValue) return E_POINTER;
  CStringW format;
  (void)GetParamFormat(pValue, &format);  // a null pointer is already refused above
  const CStringA text(formatValue(format, *pValue));
  return WriteParamString(pSection, pKey, text.GetString());
}

template <typename T>
LONG CIniFile::WriteParam(const wchar_t* pSection, const wchar_t* pKey, const T* pValue) {
  const CStringA section(pSection), key(pKey);
  return WriteParam<T>(section.GetString(), key.GetString(), pValue);
}

#define ORVEK_INI_TYPED_ACCESS(T)                                                                    \
  template ORVEK_TEMPLATE_API LONG CIniFile::ReadParam<T>(const char*, const char*, T*) const;       \
  template ORVEK_TEMPLATE_API LONG CIniFile::ReadParam<T>(const wchar_t*, const wchar_t*, T*) const; \
  template ORVEK_TEMPLATE_API LONG CIniFile::WriteParam<T>(const char*, const char*, const T*);      \
  template ORVEK_TEMPLATE_API LONG CIniFile::WriteParam<T>(const wchar_t*, const wchar_t*, const T*);
ORVEK_INI_TYPED_ACCESS(int)
ORVEK_INI_TYPED_ACCESS(ULONG)
ORVEK_INI_TYPED_ACCESS(float)
ORVEK_INI_TYPED_ACCESS(unsigned long)
ORVEK_INI_TYPED_ACCESS(unsigned long long)
#undef ORVEK_INI_TYPED_ACCESS

LONG CIniFile::ReadString(const char* pSection, const char* pKey, CStringW* pValue) const {
  if (!pSection || !pKey || !pValue) return E_POINTER;
  return GetParamString(pSection, pKey, pValue);
}

LONG CIniFile::ReadString(const wchar_t* pSection, const wchar_t* pKey, CStringW* pValue) const {
  if (!pValue) return E_POINTER;
  // A null name converts to the empty name, which is looked up as any other.
  const CStringA section(pSection), key(pKey);
  return GetParamString(section, key, pValue);
}

namespace {
// Copies value into buffer[0 .. size - 1) behind the terminator that the
// caller put at buffer[size - 1]; S_OK if it all fits.
template <typename Char>
LONG copyToBuffer(const std::basic_string<Char>& value, Char* buffer, int size) {
  const std::size_t length = value.size();
  buffer[size - 1] = 0;
  std::copy_n(value.c_str(), std::min(length + 1, static_cast<std::size_t>(size - 1)), buffer);
  return length < static_cast<std::size_t>(size) ? S_OK : E_FAIL;
}
}  // namespace

LONG CIniFile::ReadString(const char* pSection, const char* pKey, char* pBuffer, int nSize) const {
  if (!pSection || !pKey || !pBuffer) return E_POINTER;
  if (nSize < 1) return E_FAIL;
  pBuffer[0] = 0;
  CStringW value;
  const LONG hr = GetParamString(pSection, pKey, &value);
  if (hr != S_OK) return hr;
  // The value comes back through its wide copy, as every read of it does.
  return copyToBuffer(CStringA(value).str(), pBuffer, nSize);
}

LONG CIniFile::ReadString(const wchar_t* pSection, const wchar_t* pKey, wchar_t* pBuffer, int nSize) const {
  if (!pSection || !pKey || !pBuffer) return E_POINTER;
  if (nSize < 1) return E_FAIL;
  pBuffer[0] = 0;
  CStringW value;
  const LONG hr = GetParamString(CStringA(pSection), CStringA(pKey), &value);
  if (hr != S_OK) return hr;
  return copyToBuffer(value.str(), pBuffer, nSize);
}

LONG CIniFile::WriteString(const char* pSection, const char* pKey, const char* pValue) {
  if (!pSection || !pKey || !pValue) return E_POINTER;
  return WriteParamString(pSection, pKey, pValue);
}

LONG CIniFile::WriteString(const wchar_t* pSection, const wchar_t* pKey, const wchar_t* pValue) {
  const CStringA section(pSection), key(pKey), value(pValue);
  return WriteParamString(section, key, value);
}

#pragma once

#include <cstdarg>
#include <deque>
#include <string>
#include <type_traits>

#include <orvek/platform/core/Types.h>

// Text conversions. Narrow text is UTF-8 everywhere; wide text is the
// platform's wchar_t (UTF-32 on Linux). Wide to narrow writes '?' for what
// cannot be encoded; narrow to wide writes U+FFFD for an invalid sequence.
ORVEK_API std::wstring Utf8ToWide(const char* text, std::size_t length);
ORVEK_API std::string WideToUtf8(const wchar_t* text, std::size_t length);

constexpr UINT CP_ACP = 0;
constexpr UINT CP_UTF8 = 65001;
// The host platform's converters, with its counting rules: a source length
// of -1 means "up to and including the closing zero"; a destination size of
// 0 asks for the size needed; a destination too small gives 0 and
// ERROR_INSUFFICIENT_BUFFER after filling what fits.
ORVEK_API int MultiByteToWideChar(UINT codePage, DWORD flags, const char* src, int srcLen, wchar_t* dst, int dstLen);
ORVEK_API int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* src, int srcLen, char* dst, int dstLen,
                                  const char* defaultChar, BOOL* usedDefault);

template <typename T>
class ORVEK_TEMPLATE_API CStringT {
 public:
  typedef T XCHAR;
  typedef typename std::conditional<std::is_same<T, wchar_t>::value, char, wchar_t>::type YCHAR;
  typedef std::basic_string<T> StdString;

  CStringT() = default;
  CStringT(const T* s) : m_s(s ? s : empty()) {}
  CStringT(const T* s, int length) : m_s(s && length > 0 ? StdString(s, static_cast<std::size_t>(length)) : StdString()) {}
  CStringT(T ch, int repeat = 1) : m_s(repeat > 0 ? static_cast<std::size_t>(repeat) : 0u, ch) {}
  CStringT(const StdString& s) : m_s(s) {}
  // Construction from the other width converts.
  CStringT(const YCHAR* s);
  CStringT(const CStringT<YCHAR>& s);
  CStringT(const CStringT&) = default;
  CStringT(CStringT&&) noexcept = default;
  CStringT& operator=(const CStringT&) = default;
  CStringT& operator=(CStringT&&) noexcept = default;
  CStringT& operator=(const T* s) { m_s = s ? s : empty(); return *this; }
  CStringT& operator=(const YCHAR* s) { return *this = CStringT(s); }
  CStringT& operator=(const CStringT<YCHAR>& s) { return *this = CStringT(s); }
  CStringT& operator=(T ch) { m_s.assign(1, ch); return *this; }

  int GetLength() const { return static_cast<int>(m_s.size()); }
  bool IsEmpty() const { return m_s.empty(); }
  void Empty() { m_s.clear(); }
  const T* GetString() const { return m_s.c_str(); }
  operator const T*() const { return m_s.c_str(); }
  const StdString& str() const { return m_s; }
  T GetAt(int i) const { return m_s[static_cast<std::size_t>(i)]; }
  T operator[](int i) const { return GetAt(i); }
  void SetAt(int i, T ch) { m_s[static_cast<std::size_t>(i)] = ch; }

  // printf-family formatting with the formats of the C library.
  void Format(const T* format, ...);
  void AppendFormat(const T* format, ...);
  void FormatV(const T* format, va_list args);

  // Direct buffer access: the buffer holds at least minLength characters and
  // a closing zero; ReleaseBuffer(-1) takes the length up to the first zero.
  T* GetBuffer(int minLength);
  T* GetBuffer() { return GetBuffer(0); }
  T* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);
  void ReleaseBufferSetLength(int newLength) { ReleaseBuffer(newLength); }

  int Insert(int index, const T* s);
  int Insert(int index, T ch);
  int Delete(int index, int count = 1);
  int Find(T ch, int start = 0) const;
  int Find(const T* s, int start = 0) const;
  int ReverseFind(T ch) const;
  int Replace(const T* oldText, const T* newText);
  int Replace(T oldCh, T newCh);
  CStringT Left(int count) const;
  CStringT Right(int count) const;
  CStringT Mid(int first) const;
  CStringT Mid(int first, int count) const;
  CStringT& Trim();
  CStringT& TrimLeft();
  CStringT& TrimRight();
  CStringT& MakeUpper();
  CStringT& MakeLower();
  int Compare(const T* s) const { return m_s.compare(s ? s : empty()); }
  int CompareNoCase(const T* s) const;

  CStringT& operator+=(const CStringT& s) { m_s += s.m_s; return *this; }
  CStringT& operator+=(const T* s) { if (s) m_s += s; return *this; }
  CStringT& operator+=(T ch) { m_s += ch; return *this; }
  friend CStringT operator+(const CStringT& a, const CStringT& b) { CStringT r(a); r += b; return r; }
  friend CStringT operator+(const CStringT& a, const T* b) { CStringT r(a); r += b; return r; }
  friend CStringT operator+(const T* a, const CStringT& b) { CStringT r(a); r += b; return r; }
  friend CStringT operator+(const CStringT& a, T b) { CStringT r(a); r += b; return r; }
  friend bool operator==(const CStringT& a, const CStringT& b) { return a.m_s == b.m_s; }
  friend bool operator==(const CStringT& a, const T* b) { return a.Compare(b) == 0; }
  friend bool operator==(const T* a, const CStringT& b) { return b.Compare(a) == 0; }
  friend bool operator!=(const CStringT& a, const CStringT& b) { return a.m_s != b.m_s; }
  friend bool operator!=(const CStringT& a, const T* b) { return a.Compare(b) != 0; }
  friend bool operator!=(const T* a, const CStringT& b) { return b.Compare(a) != 0; }
  friend bool operator<(const CStringT& a, const CStringT& b) { return a.m_s < b.m_s; }

 private:
  static const T* empty();
  StdString m_s;
};

typedef CStringT<wchar_t> CStringW;
typedef CStringT<char> CStringA;
typedef CStringW CString;

extern template class CStringT<wchar_t>;
extern template class CStringT<char>;

// An array of strings whose elements keep their addresses while it grows.
class ORVEK_API CStringArray {
 public:
  int GetSize() const { return static_cast<int>(m_items.size()); }
  int GetCount() const { return GetSize(); }
  bool IsEmpty() const { return m_items.empty(); }
  int GetUpperBound() const { return GetSize() - 1; }
  int Add(const CStringW& s) { m_items.push_back(s); return GetSize() - 1; }
  const CStringW& GetAt(int i) const { return m_items[static_cast<std::size_t>(i)]; }
  CStringW& ElementAt(int i) { return m_items[static_cast<std::size_t>(i)]; }
  const CStringW& operator[](int i) const { return GetAt(i); }
  CStringW& operator[](int i) { return ElementAt(i); }
  void SetAt(int i, const CStringW& s) { m_items[static_cast<std::size_t>(i)] = s; }
  void RemoveAll() { m_items.clear(); }

 private:
  std::deque<CStringW> m_items;
};

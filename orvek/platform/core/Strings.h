#pragma once

/// \file
/// Text conversions, the string class of both widths and the string array.

#include <cstdarg>
#include <deque>
#include <string>
#include <type_traits>

#include <orvek/platform/core/Types.h>

/// Text conversions. Narrow text is UTF-8 everywhere; wide text is the
/// platform's wchar_t (UTF-32 on Linux). Wide to narrow writes '?' for what
/// cannot be encoded; narrow to wide writes U+FFFD for an invalid sequence.
///@{
ORVEK_API std::wstring Utf8ToWide(const char* text, std::size_t length);
ORVEK_API std::string WideToUtf8(const wchar_t* text, std::size_t length);
///@}

/// Code pages. Both mean UTF-8 here: the converters below take any code page as UTF-8.
///@{
constexpr UINT CP_ACP = 0;
constexpr UINT CP_UTF8 = 65001;
///@}
/// The host platform's converters, with its counting rules: a source length
/// of -1 means "up to and including the closing zero"; a destination size of
/// 0 asks for the size needed; a destination too small gives 0 and
/// ERROR_INSUFFICIENT_BUFFER after filling what fits.
///@{
ORVEK_API int MultiByteToWideChar(UINT codePage, DWORD flags, const char* src, int srcLen, wchar_t* dst, int dstLen);
ORVEK_API int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* src, int srcLen, char* dst, int dstLen,
                                  const char* defaultChar, BOOL* usedDefault);
///@}

/// A string of narrow (char, UTF-8) or wide (wchar_t) characters that owns its text.
/// A null pointer given for a text counts as the empty text.
template <typename T>
class ORVEK_TEMPLATE_API CStringT {
 public:
  /// The character type.
  typedef T XCHAR;
  /// The character type of the other width.
  typedef typename std::conditional<std::is_same<T, wchar_t>::value, char, wchar_t>::type YCHAR;
  /// The standard string that holds the text.
  typedef std::basic_string<T> StdString;

  /// The empty string.
  CStringT() = default;
  /// A copy of a zero-terminated text; null gives the empty string.
  CStringT(const T* s) : m_s(s ? s : empty()) {}
  /// The first length characters of s; null or a length below 1 gives the empty string.
  CStringT(const T* s, int length)
      : m_s(s && length > 0 ? StdString(s, static_cast<std::size_t>(length)) : StdString()) {}
  /// The character repeated; a count below 1 gives the empty string.
  CStringT(T ch, int repeat = 1) : m_s(repeat > 0 ? static_cast<std::size_t>(repeat) : 0u, ch) {}
  /// A copy of a standard string.
  CStringT(const StdString& s) : m_s(s) {}
  /// Construction from the other width converts.
  ///@{
  CStringT(const YCHAR* s);
  CStringT(const CStringT<YCHAR>& s);
  ///@}
  /// Copy and move.
  ///@{
  CStringT(const CStringT&) = default;
  CStringT(CStringT&&) noexcept = default;
  CStringT& operator=(const CStringT&) = default;
  CStringT& operator=(CStringT&&) noexcept = default;
  ///@}
  /// Assignment of a text (null: empty), a text of the other width (converted) or one character.
  ///@{
  CStringT& operator=(const T* s) {
    m_s = s ? s : empty();
    return *this;
  }
  CStringT& operator=(const YCHAR* s) { return *this = CStringT(s); }
  CStringT& operator=(const CStringT<YCHAR>& s) { return *this = CStringT(s); }
  CStringT& operator=(T ch) {
    m_s.assign(1, ch);
    return *this;
  }
  ///@}

  /// Number of characters.
  int GetLength() const { return static_cast<int>(m_s.size()); }
  /// True for the empty string.
  bool IsEmpty() const { return m_s.empty(); }
  /// Makes the string empty.
  void Empty() { m_s.clear(); }
  /// The zero-terminated text, valid until the string changes.
  ///@{
  const T* GetString() const { return m_s.c_str(); }
  operator const T*() const { return m_s.c_str(); }
  ///@}
  /// The standard string that holds the text.
  const StdString& str() const { return m_s; }
  /// The character at index i, which must lie inside the string.
  ///@{
  T GetAt(int i) const { return m_s[static_cast<std::size_t>(i)]; }
  T operator[](int i) const { return GetAt(i); }
  ///@}
  /// Replaces the character at index i, which must lie inside the string.
  void SetAt(int i, T ch) { m_s[static_cast<std::size_t>(i)] = ch; }

  /// printf-family formatting with the formats of the C library.
  ///@{
  void Format(const T* format, ...);
  void AppendFormat(const T* format, ...);
  void FormatV(const T* format, va_list args);
  ///@}

  /// Direct buffer access: the buffer holds at least minLength characters and
  /// a closing zero; ReleaseBuffer(-1) takes the length up to the first zero.
  ///@{
  T* GetBuffer(int minLength);
  T* GetBuffer() { return GetBuffer(0); }
  T* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);
  void ReleaseBufferSetLength(int newLength) { ReleaseBuffer(newLength); }
  ///@}

  /// Inserts at index, clamped to the string; returns the new length. A null text inserts nothing.
  ///@{
  int Insert(int index, const T* s);
  int Insert(int index, T ch);
  ///@}
  /// Removes up to count characters from index (negative: 0); returns the new length.
  int Delete(int index, int count = 1);
  /// The first index of a character or text at or after start, or -1; a start
  /// outside the string gives -1.
  ///@{
  int Find(T ch, int start = 0) const;
  int Find(const T* s, int start = 0) const;
  ///@}
  /// The last index of the character, or -1.
  int ReverseFind(T ch) const;
  /// Replaces every occurrence, left to right without overlap; returns how
  /// many. An empty or null old text replaces nothing.
  ///@{
  int Replace(const T* oldText, const T* newText);
  int Replace(T oldCh, T newCh);
  ///@}
  /// The first count characters, the last count, or those from first on (all,
  /// or count of them); indexes and counts are clamped to the string.
  ///@{
  CStringT Left(int count) const;
  CStringT Right(int count) const;
  CStringT Mid(int first) const;
  CStringT Mid(int first, int count) const;
  ///@}
  /// Removes white space at both ends, at the start, or at the end; returns the string.
  ///@{
  CStringT& Trim();
  CStringT& TrimLeft();
  CStringT& TrimRight();
  ///@}
  /// Converts every character to upper or lower case in place; returns the string.
  ///@{
  CStringT& MakeUpper();
  CStringT& MakeLower();
  ///@}
  /// Compares with a text as the standard string does: below 0, 0 or above 0;
  /// null is the empty text.
  int Compare(const T* s) const { return m_s.compare(s ? s : empty()); }
  /// The same, ignoring case.
  int CompareNoCase(const T* s) const;

  /// Appends a string, a text (null: nothing) or a character.
  ///@{
  CStringT& operator+=(const CStringT& s) {
    m_s += s.m_s;
    return *this;
  }
  CStringT& operator+=(const T* s) {
    if (s) m_s += s;
    return *this;
  }
  CStringT& operator+=(T ch) {
    m_s += ch;
    return *this;
  }
  ///@}
  /// Concatenation.
  ///@{
  friend CStringT operator+(const CStringT& a, const CStringT& b) {
    CStringT r(a);
    r += b;
    return r;
  }
  friend CStringT operator+(const CStringT& a, const T* b) {
    CStringT r(a);
    r += b;
    return r;
  }
  friend CStringT operator+(const T* a, const CStringT& b) {
    CStringT r(a);
    r += b;
    return r;
  }
  friend CStringT operator+(const CStringT& a, T b) {
    CStringT r(a);
    r += b;
    return r;
  }
  ///@}
  /// Equality and inequality of the characters; a null text is the empty text.
  ///@{
  friend bool operator==(const CStringT& a, const CStringT& b) { return a.m_s == b.m_s; }
  friend bool operator==(const CStringT& a, const T* b) { return a.Compare(b) == 0; }
  friend bool operator==(const T* a, const CStringT& b) { return b.Compare(a) == 0; }
  friend bool operator!=(const CStringT& a, const CStringT& b) { return a.m_s != b.m_s; }
  friend bool operator!=(const CStringT& a, const T* b) { return a.Compare(b) != 0; }
  friend bool operator!=(const T* a, const CStringT& b) { return b.Compare(a) != 0; }
  ///@}
  /// Order of the characters as the standard string has it.
  friend bool operator<(const CStringT& a, const CStringT& b) { return a.m_s < b.m_s; }

 private:
  static const T* empty();
  StdString m_s;
};

/// The wide string, the narrow string, and the wide string under its short name.
///@{
typedef CStringT<wchar_t> CStringW;
typedef CStringT<char> CStringA;
typedef CStringW CString;
///@}

extern template class CStringT<wchar_t>;
extern template class CStringT<char>;

/// An array of strings whose elements keep their addresses while it grows.
class ORVEK_API CStringArray {
 public:
  /// Number of strings.
  ///@{
  int GetSize() const { return static_cast<int>(m_items.size()); }
  int GetCount() const { return GetSize(); }
  ///@}
  /// True when there are no strings.
  bool IsEmpty() const { return m_items.empty(); }
  /// The last index: the size minus 1.
  int GetUpperBound() const { return GetSize() - 1; }
  /// Appends a copy; returns its index.
  int Add(const CStringW& s) {
    m_items.push_back(s);
    return GetSize() - 1;
  }
  /// The string at index i, which must exist.
  ///@{
  const CStringW& GetAt(int i) const { return m_items[static_cast<std::size_t>(i)]; }
  CStringW& ElementAt(int i) { return m_items[static_cast<std::size_t>(i)]; }
  const CStringW& operator[](int i) const { return GetAt(i); }
  CStringW& operator[](int i) { return ElementAt(i); }
  ///@}
  /// Replaces the string at index i, which must exist.
  void SetAt(int i, const CStringW& s) { m_items[static_cast<std::size_t>(i)] = s; }
  /// Removes every string.
  void RemoveAll() { m_items.clear(); }

 private:
  std::deque<CStringW> m_items;
};

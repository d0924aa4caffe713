#pragma once

/// \file
/// INI files.

#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>

/// One INI file held as a single narrow text. Nothing is parsed into a tree:
/// sections and keys are found by searching the text for byte patterns, a read
/// cuts a piece out of it and a write splices it. The file is read by Create
/// and rewritten as a whole by Close.
///
/// The format: lines end in CR LF only; a section head "[name]" counts at the
/// very start of the text or behind a CR LF, and only with its own CR LF; a
/// parameter line is "key=value" with no blanks around the '='; a body runs to
/// the next line that begins with '['. Names match byte for byte. Every other
/// line survives every rewrite untouched.
///
/// With the backup scheme on, a good file is copied to `Backup/<name>.bak` beside
/// it, and a missing or damaged file is replaced by that copy in memory.
///
/// No lock: an object belongs to one thread at a time.
class ORVEK_API CIniFile {
 public:
  /// An empty text, read-only, bound to no file.
  CIniFile();
  /// Rewrites a writable file as Close does; a failure there is dropped.
  ~CIniFile();
  /// Copies the name, the text and the write flag; the copy holds no open file.
  ///@{
  CIniFile(const CIniFile& other) = default;
  CIniFile& operator=(const CIniFile& other) = default;
  ///@}

  /// Loads the file. A name without '/' addresses the application's folder,
  /// which becomes the process's current folder. A missing, locked or damaged
  /// file is no failure: the text is then the backup's (bBackup) or stays as
  /// it was. E_FAIL only when the application folder cannot be entered,
  /// E_POINTER for a null name. A narrow name is used as its bytes, a wide
  /// one as UTF-8.
  ///@{
  ORVEK_RESULT LONG Create(const wchar_t* pFileName, int bWrite, int bBackup);
  ORVEK_RESULT LONG Create(const char* pFileName, int bWrite, int bBackup);
  ///@}
  /// Rewrites the file from the text if the object is writable. The text stays
  /// loaded, so reads and writes go on working and a later Close writes again.
  /// A write error raises CFileException out of CFile::Write. The file (and
  /// the backup that Create writes) is replaced whole: the text goes to a new
  /// file beside it that is renamed into place, so a failure leaves the old
  /// file as it was.
  ORVEK_RESULT LONG Close();

  /// Typed access for int, unsigned int (the same type as ULONG and DWORD
  /// here, kept as "0x%08x"), float ("%f"), ULONGLONG and unsigned long long
  /// ("%llu"); int uses "%d". Reading follows swscanf: text behind the number
  /// is ignored, and the result is S_OK only for exactly one conversion.
  /// E_POINTER for a null value, or a null name in a narrow form; a null wide
  /// name is the empty name.
  ///@{
  template <typename T>
  ORVEK_RESULT LONG ReadParam(const char* pSection, const char* pKey, T* pValue) const;
  template <typename T>
  ORVEK_RESULT LONG ReadParam(const wchar_t* pSection, const wchar_t* pKey, T* pValue) const;
  template <typename T>
  ORVEK_RESULT LONG WriteParam(const char* pSection, const char* pKey, const T* pValue);
  template <typename T>
  ORVEK_RESULT LONG WriteParam(const wchar_t* pSection, const wchar_t* pKey, const T* pValue);
  ///@}

  /// The read behind the typed forms: pFormat must hold exactly one numeric
  /// conversion that stores (E_INVALIDARG otherwise), and pValue must point to
  /// the type that conversion stores.
  ORVEK_RESULT LONG ReadParam(const char* pSection, const char* pKey, const char* pFormat, void* pValue) const;

  /// The value of a key as wide text (its bytes read as UTF-8): S_OK, E_FAIL
  /// for an unknown section or key, E_POINTER for a null pointer (in the narrow
  /// form also a null name; a null wide name is the empty name).
  ///@{
  ORVEK_RESULT LONG ReadString(const char* pSection, const char* pKey, CStringW* pValue) const;
  ORVEK_RESULT LONG ReadString(const wchar_t* pSection, const wchar_t* pKey, CStringW* pValue) const;
  ///@}
  /// Copies the value into a buffer of nSize characters, always terminated.
  /// E_FAIL if it does not fit, with the text cut to nSize - 1 characters, and
  /// for nSize below 1 (the buffer untouched); E_POINTER for a null pointer.
  /// nSize must not exceed the buffer: pBuffer[nSize - 1] is written.
  ///@{
  ORVEK_RESULT LONG ReadString(const char* pSection, const char* pKey, char* pBuffer, int nSize) const;
  ORVEK_RESULT LONG ReadString(const wchar_t* pSection, const wchar_t* pKey, wchar_t* pBuffer, int nSize) const;
  ///@}

  /// Sets a value: an unknown section is appended to the text, an unknown key
  /// to the end of its section. E_FAIL on a read-only object; E_INVALIDARG
  /// for names that could not be found again (a CR or LF in a name, a '=' in
  /// a key or a key beginning with '['). The value goes in as it comes.
  ///@{
  ORVEK_RESULT LONG WriteString(const char* pSection, const char* pKey, const char* pValue);
  ORVEK_RESULT LONG WriteString(const wchar_t* pSection, const wchar_t* pKey, const wchar_t* pValue);
  ///@}

 protected:
  /// The line end of the format: CR LF.
  static const char ms_pEndLine[3];

  /// Byte offsets into m_strContent of a section's body.
  /// S_OK, E_FAIL for an unknown section, E_POINTER for a null pointer.
  ORVEK_RESULT LONG FindSection(const char* pSection, int* pStart, int* pEnd) const;
  /// Byte offsets of a key's value inside the body [nStart, nEnd).
  /// S_OK, E_FAIL for an unknown key, E_INVALIDARG for a body outside the text,
  /// E_POINTER for a null pointer.
  ORVEK_RESULT LONG FindParameter(int nStart, int nEnd, const char* pKey, int* pValueStart, int* pValueEnd) const;
  /// The narrow write behind WriteString, with the same results.
  ORVEK_RESULT LONG WriteParamString(const char* pSection, const char* pKey, const char* pValue);
  /// The read behind ReadString: the value as wide text, with the same results.
  ORVEK_RESULT LONG GetParamString(const char* pSection, const char* pKey, CStringW* pValue) const;

  CStringW m_strFileName;  ///< the name given to Create; a bare name stays bare
  CFile* m_pFile;          ///< only ever set inside Create and Close
  CStringA m_strContent;   ///< the whole text of the file
  int m_bWrite;            ///< nonzero: writes allowed, Close rewrites the file

 private:
  // Opens exclusively, retrying for up to 2000 ms while another holder has
  // the file open (then ERROR_TIMEOUT); E_FAIL for any other failure. The
  // narrow name is used as its bytes.
  ORVEK_RESULT LONG openFile(CFile** ppFile, const wchar_t* pName, UINT nFlags);
  ORVEK_RESULT LONG openFile(CFile** ppFile, const char* pName, UINT nFlags);
  // The whole file into *pContent, cut at its first byte 0. ERROR_OUTOFMEMORY
  // for a file above 0x7FFFFFFF bytes, E_FAIL for a short read.
  ORVEK_RESULT LONG readFileContent(CFile* pFile, CStringA* pContent, int* pLength);
  // True if the first nLength bytes of the text hold no byte 0.
  bool checkIniString(int nLength) const;
  // The general read with a format known to be good, already wide.
  ORVEK_RESULT LONG scanParam(const char* pSection, const char* pKey, const wchar_t* pFormat, void* pValue) const;

  ORVEK_RESULT static LONG GetParamFormat(const int* pDummy, CStringW* pFormat);
  ORVEK_RESULT static LONG GetParamFormat(const ULONG* pDummy, CStringW* pFormat);
  ORVEK_RESULT static LONG GetParamFormat(const float* pDummy, CStringW* pFormat);
  // ULONGLONG is unsigned long on this 64-bit platform.
  ORVEK_RESULT static LONG GetParamFormat(const unsigned long* pDummy, CStringW* pFormat);
  ORVEK_RESULT static LONG GetParamFormat(const unsigned long long* pDummy, CStringW* pFormat);

  // The name given to Create as bytes: a narrow name is never converted, so
  // that a name that is not UTF-8 reaches the same file at Close.
  CStringA m_strFileNameBytes;
};

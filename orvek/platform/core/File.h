#pragma once

#include <string>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>

// The cause of a file failure, and the exception that a failing read, write
// or seek raises.
class ORVEK_API CFileException : public CException {
 public:
  enum {
    none = 0,
    genericException = 1,
    fileNotFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    removeCurrentDir = 7,
    directoryFull = 8,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
    diskFull = 13,
    endOfFile = 14,
  };
  explicit CFileException(int cause = none, LONG osError = -1, const wchar_t* fileName = nullptr);
  const char* what() const noexcept override;
  // The cause that a POSIX errno value stands for.
  static int ErrnoToCause(int errnoValue);

  int m_cause;
  LONG m_lOsError;
  CStringW m_strFileName;
};

// A file on POSIX descriptors. Every open is exclusive: a second open of the
// same file, in this process or another, fails with sharingViolation until
// the first one closes.
class ORVEK_API CFile {
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    modeCreate = 0x1000,
    modeNoTruncate = 0x2000,
    // With modeCreate | modeWrite: the bytes go to a new file beside the
    // target, which Close renames into its place, so that a failure leaves
    // the old file whole. Abort and the destructor drop the new bytes. The
    // target stays locked meanwhile. A target that is no regular file (a
    // device), or a folder where no file can be made, is written in place.
    modeReplace = 0x100000,
  };
  enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };
  static constexpr int hFileNull = -1;

  CFile();
  // Opens at once and throws CFileException on failure.
  CFile(const wchar_t* fileName, UINT openFlags);
  virtual ~CFile();
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  // A failure fills *error when given and returns FALSE; it never throws.
  // A wide name is converted to UTF-8; a narrow name reaches the system as
  // the bytes given, also when they are not UTF-8.
  virtual BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr);
  BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
  // Reads up to count bytes; fewer at the end of the file. Throws on an I/O error.
  virtual UINT Read(void* buffer, UINT count);
  // Writes all bytes or throws (diskFull when the device is full).
  virtual void Write(const void* buffer, UINT count);
  virtual ULONGLONG Seek(LONGLONG offset, UINT from);
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  void SeekToBegin() { Seek(0, begin); }
  virtual ULONGLONG GetLength() const;
  virtual ULONGLONG GetPosition() const;
  virtual void SetLength(ULONGLONG length);
  virtual void Flush();
  // Closes; throws if the system reports a failure on close. With
  // modeReplace this puts the new file in place, or throws and keeps the old.
  virtual void Close();
  // Closes and never throws; a replacement not yet closed is dropped.
  void Abort();
  bool IsOpen() const { return m_hFile != hFileNull; }
  CStringW GetFilePath() const { return m_strFilePath; }
  CStringW GetFileName() const;

  int m_hFile;

 private:
  [[noreturn]] void raise(int errnoValue) const;
  BOOL open(const char* path, const wchar_t* name, UINT openFlags, CFileException* error);
  // Starts a replacement of path; -1 when it is to be written in place.
  int openReplacement(const std::string& path, int* errnoValue);
  void dropReplacement();
  CStringW m_strFilePath;
  int m_hTarget = hFileNull;  // the replaced file, locked until Close
  std::string m_strTemp;      // the new file beside it while replacing
  std::string m_strTarget;
};

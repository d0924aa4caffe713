#pragma once

/// \file
/// Files and their exception.

#include <string>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Sync.h>

/// The cause of a file failure, and the exception that a failing read, write
/// or seek raises.
class ORVEK_API CFileException : public CException {
 public:
  /// The causes of a failure, in m_cause.
  enum {
    none = 0,               ///< no failure
    genericException = 1,   ///< any failure without a cause of its own
    fileNotFound = 2,       ///< the file or a folder of its path does not exist
    badPath = 3,            ///< a part of the path is no folder, or the path is too long or loops
    tooManyOpenFiles = 4,   ///< the process or the system has too many open files
    accessDenied = 5,       ///< no permission, a read-only file system, or a folder
    invalidFile = 6,        ///< the descriptor is not open
    removeCurrentDir = 7,   ///< kept for the list; not raised
    directoryFull = 8,      ///< kept for the list; not raised
    badSeek = 9,            ///< an invalid position or a file that cannot seek
    hardIO = 10,            ///< the device reports an I/O error
    sharingViolation = 11,  ///< another holder has the file open
    lockViolation = 12,     ///< kept for the list; not raised
    diskFull = 13,          ///< the device is full, a quota or the file size limit is reached
    endOfFile = 14,         ///< kept for the list; not raised
  };
  /// An exception of the cause, with the system's error number and the file's name.
  explicit CFileException(int cause = none, LONG osError = -1, const wchar_t* fileName = nullptr);
  /// A fixed text that names the cause.
  const char* what() const noexcept override;
  /// The cause that a POSIX errno value stands for.
  static int ErrnoToCause(int errnoValue);

  /// One of the causes above.
  int m_cause;
  /// The system's error number (errno), or -1 when there is none.
  LONG m_lOsError;
  /// The file's name as given, empty when unknown.
  CStringW m_strFileName;
};

/// A file on POSIX descriptors. Every open is exclusive: a second open of the
/// same file, in this process or another, fails with sharingViolation until
/// the first one closes.
class ORVEK_API CFile {
 public:
  /// The access and creation flags of Open; one access mode, or-ed with
  /// creation flags.
  enum OpenFlags : UINT {
    modeRead = 0x0000,        ///< read only
    modeWrite = 0x0001,       ///< write only
    modeReadWrite = 0x0002,   ///< read and write
    modeCreate = 0x1000,      ///< create the file if it does not exist, and empty it unless modeNoTruncate
    modeNoTruncate = 0x2000,  ///< with modeCreate: keep the content of an existing file
    /// With modeCreate | modeWrite: the bytes go to a new file beside the
    /// target, which Close renames into its place, so that a failure leaves
    /// the old file whole. Abort and the destructor drop the new bytes. The
    /// target stays locked meanwhile. A target that is no regular file (a
    /// device), or a folder where no file can be made, is written in place.
    modeReplace = 0x100000,
  };
  /// Where Seek counts from: the start, the present position or the end.
  enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };
  /// The m_hFile of a closed file.
  static constexpr int hFileNull = -1;

  /// A closed file.
  CFile();
  /// Opens at once and throws CFileException on failure.
  CFile(const wchar_t* fileName, UINT openFlags);
  /// Closes as Abort does, dropping a replacement not yet closed.
  virtual ~CFile();
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  /// A failure fills *error when given and returns FALSE; it never throws.
  /// A wide name is converted to UTF-8; a narrow name reaches the system as
  /// the bytes given, also when they are not UTF-8.
  virtual BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr);
  /// The same with a narrow name.
  BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
  /// Reads up to count bytes; fewer at the end of the file. Throws on an I/O error.
  virtual UINT Read(void* buffer, UINT count);
  /// Writes all bytes or throws (diskFull when the device is full).
  virtual void Write(const void* buffer, UINT count);
  /// Moves the position by offset from begin, current or end; returns the new
  /// position. Throws on a failure.
  virtual ULONGLONG Seek(LONGLONG offset, UINT from);
  /// Moves to the end; returns the length.
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  /// Moves to the start.
  void SeekToBegin() { Seek(0, begin); }
  /// The length in bytes. Throws on a failure.
  virtual ULONGLONG GetLength() const;
  /// The position in bytes from the start. Throws on a failure.
  virtual ULONGLONG GetPosition() const;
  /// Cuts or extends the file to length bytes. Throws on a failure.
  virtual void SetLength(ULONGLONG length);
  /// Writes the file's data to the device; throws if the device reports a failure.
  virtual void Flush();
  /// Closes; throws if the system reports a failure on close. With
  /// modeReplace this puts the new file in place, or throws and keeps the old.
  virtual void Close();
  /// Closes and never throws; a replacement not yet closed is dropped.
  void Abort();
  /// Whether a file is open.
  bool IsOpen() const { return m_hFile != hFileNull; }
  /// The full path of the open (or last opened) file.
  CStringW GetFilePath() const { return m_strFilePath; }
  /// The file name: the path behind its last '/'.
  CStringW GetFileName() const;

  /// The descriptor of the open file, or hFileNull.
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

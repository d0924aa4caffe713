#pragma once

/// \file
/// Files of binary structures that survive a change of the structure.

#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Types.h>

/// A file of binary structures, each behind its size in bytes, so that a
/// program whose structure has grown or shrunk since can still read it: the
/// reader takes the smaller of the two sizes and skips the rest.
///
/// Layout: the 15 bytes "SizeStructFile" with their closing 0, then records
/// of a signed 32-bit little-endian size followed by that many bytes, up to the
/// end of the file. A file is written from scratch or read, never updated.
///
/// No lock: an object belongs to one thread at a time. The file stays open,
/// exclusively, from Init to Close.
class ORVEK_API CSizeStructFile {
 public:
  CSizeStructFile();
  virtual ~CSizeStructFile();
  /// Two objects would own one file.
  CSizeStructFile(const CSizeStructFile&) = delete;
  CSizeStructFile& operator=(const CSizeStructFile&) = delete;

  /// Opens for reading (the header is checked: ERROR_END_OF_MEDIA, ERROR_IO_DEVICE
  /// or ERROR_INVALID_DATA) or, with bWrite, starts the file anew and writes
  /// the header. E_FAIL if it cannot be opened (also for a null name);
  /// ERROR_ALREADY_INITIALIZED while a file is held, also after a failed
  /// Init: Close comes first.
  /// A file written anew is made beside the old one and takes its place at
  /// Close, so the old file stays whole until then. A write error raises
  /// CFileException and drops the new file; the object then needs Close.
  ORVEK_RESULT LONG Init(const wchar_t* pFileName, int bWrite);
  /// Closes the file, also after a failed Init; with bWrite the new file takes
  /// the old one's place here. A failure on closing throws CFileException; the
  /// object is closed anyway.
  void Close();

  /// The size of the next record without moving on.
  ORVEK_RESULT LONG GetCurStructSize(int* pSize);
  /// Reads the next record into a structure of nSize bytes: the first
  /// min(nSize, record size) bytes are copied, the rest of the structure is
  /// left alone and the rest of the record skipped. ReadStruct(nullptr, 0)
  /// skips a record. ERROR_END_OF_MEDIA where the file ends before the prefix
  /// or the whole record; ERROR_INVALID_DATA for a negative stored size.
  ORVEK_RESULT LONG ReadStruct(void* pData, int nSize);
  /// Appends a record; a write error raises CFileException (see Init).
  /// E_INVALIDARG for a negative nSize, E_POINTER for null data of nSize > 0.
  ORVEK_RESULT LONG WriteStruct(const void* pData, int nSize);

 protected:
  /// The position in the file: S_OK, E_PENDING without an open file, E_POINTER for a null pointer.
  ORVEK_RESULT LONG GetPosition(ULONGLONG* pPosition);
  /// To an absolute position inside the file; its length itself is refused.
  ORVEK_RESULT LONG Seek(ULONGLONG nPosition);

  CFile* m_pFile;  ///< null when closed; set but unopened after a failed open
  int m_bWrite;    ///< nonzero: opened for writing

 private:
  ORVEK_RESULT static LONG CheckFileHeader(CFile* pFile);
  // Exactly nSize bytes, or ERROR_END_OF_MEDIA when fewer are left.
  ORVEK_RESULT static LONG Read(CFile* pFile, void* pData, int nSize);
  ORVEK_RESULT LONG checkReadable() const;
  // Writes all bytes; on a failure drops the new file and rethrows.
  void write(const void* pData, UINT nSize);
};

#pragma once

/// \file
/// Plain text logs.

#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// A plain text log for one run of a program: Init starts the file anew with a
/// head (title, module path, module version, start time), every AddString
/// appends one line stamped with the time since the start, Close appends the
/// end time. Lines end in CR LF; each LF of a text becomes CR LF.
///
/// AddString may be called from any thread: a lock keeps each line whole.
/// Init and Close must not run while another thread adds a line.
class ORVEK_API CLogFile {
 public:
  CLogFile();
  /// Closes; a failure to write the closing line is dropped here.
  ~CLogFile();
  CLogFile(const CLogFile&) = delete;
  CLogFile& operator=(const CLogFile&) = delete;

  /// Makes the file (emptying an old one) in pFolder, or without one in the
  /// module's folder, which becomes the process's current folder. The version
  /// line shows 0.0.0.0 when the module has no version. E_INVALIDARG for a
  /// null module, E_FAIL when the file cannot be made (the object stays
  /// closed), ERROR_ALREADY_INITIALIZED while a log is open. A write error
  /// raises CFileException and leaves the object closed.
  ///@{
  ORVEK_RESULT LONG Init(const wchar_t* pFileName, const wchar_t* pFolder, const wchar_t* pTitle,
                         HINSTANCE const hModule);
  ORVEK_RESULT LONG Init(const wchar_t* pFileName, const wchar_t* pTitle, HINSTANCE const hModule);
  ///@}
  /// Appends " h:mm:ss.mmm", a tab and the text. E_PENDING when no log is open.
  /// A write error raises CFileException; the log stays open.
  ORVEK_RESULT LONG AddString(const wchar_t* pText);
  /// Writes the closing line and closes; S_OK, also when already closed. A
  /// write error raises CFileException after the object is closed.
  ORVEK_RESULT LONG Close();

 private:
  ORVEK_RESULT LONG AddString(const wchar_t* pText, bool bStamp);
  // Closes and frees the file and the lock, without writing. Unlocked: it
  // runs in Init and Close, which no AddString runs beside, and it frees the
  // lock itself.
  void release() ORVEK_NO_THREAD_SAFETY_ANALYSIS;

  CFile* m_pFile ORVEK_GUARDED_BY(m_pSection) ORVEK_PT_GUARDED_BY(m_pSection);  // null when closed
  ULONG m_dwStartTick ORVEK_GUARDED_BY(m_pSection);  // tick of the log's start, for the stamps
  CCriticalSection* m_pSection;                      // keeps a line whole; made by Init
};

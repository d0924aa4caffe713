// A run's text log: head, stamped lines, closing line.
#include <orvek/persistence/LogFile.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>
#include <orvek/platform/core/Module_p.h>
#include <orvek/platform/core/Time_p.h>

namespace {

CStringW timeLine(const wchar_t* format) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  CStringW line;
  line.Format(format, now.wDay, now.wMonth, now.wYear, now.wHour, now.wMinute, now.wSecond);
  return line;
}

}  // namespace

CLogFile::CLogFile() : m_pFile(nullptr), m_dwStartTick(0), m_pSection(nullptr) {}

CLogFile::~CLogFile() {
  try {
    (void)Close();  // only fails while no log is open, which is then fine
  } catch (...) {
  }
}

LONG CLogFile::Init(const wchar_t* pFileName, const wchar_t* pTitle, HINSTANCE const hModule) {
  return Init(pFileName, nullptr, pTitle, hModule);
}

LONG CLogFile::Init(const wchar_t* pFileName, const wchar_t* pFolder, const wchar_t* pTitle, HINSTANCE const hModule) {
  if (!hModule) return E_INVALIDARG;
  if (m_pSection) return ERROR_ALREADY_INITIALIZED;
  // The module's path at its full length; its folder is used as its bytes.
  const std::string moduleBytes = OrvekGetModuleFileName(hModule);
  const CStringW modulePath(moduleBytes.c_str());

  // A relative file name lies in the folder given, or else in the module's.
  if (pFolder) {
    SetCurrentDirectoryW(pFolder);
  } else {
    const std::size_t slash = moduleBytes.rfind('/');
    if (slash != std::string::npos) SetCurrentDirectoryA(moduleBytes.substr(0, slash == 0 ? 1 : slash).c_str());
  }

  m_pSection = new CCriticalSection;
  CSingleLock lock(m_pSection, TRUE);
  m_pFile = new CFile;
  CFileException error;
  if (!m_pFile->Open(pFileName, CFile::modeCreate | CFile::modeWrite, &error)) {
    lock.Unlock();
    release();
    return E_FAIL;
  }
  try {
    (void)AddString(pTitle ? pTitle : L"", false);  // open here: gives S_OK or throws
    CStringW line;
    line.Format(L"Module path:\t%ls", modulePath.GetString());
    (void)AddString(line, false);  // open here: gives S_OK or throws
    // A module without a version block shows 0.0.0.0.
    tagVS_FIXEDFILEINFO info{};
    if (orvek_detail::GetModuleFixedFileInfo(hModule, &info) != S_OK) info = tagVS_FIXEDFILEINFO{};
    line.Format(L"Module version:\t%d.%d.%d.%d", int(info.dwFileVersionMS >> 16), int(info.dwFileVersionMS & 0xFFFF),
                int(info.dwFileVersionLS >> 16), int(info.dwFileVersionLS & 0xFFFF));
    (void)AddString(line, false);  // open here: gives S_OK or throws
    const CStringW started = timeLine(L"Log started:\t%02d.%02d.%d at %d:%02d:%02d\n");
    m_dwStartTick = GetTickCount();
    (void)AddString(started, false);  // open here: gives S_OK or throws
  } catch (...) {
    lock.Unlock();
    release();
    throw;
  }
  return S_OK;
}

LONG CLogFile::AddString(const wchar_t* pText) { return AddString(pText, true); }

LONG CLogFile::AddString(const wchar_t* pText, bool bStamp) {
  if (!m_pSection) return E_PENDING;
  // The stamp and the text go out as two writes under one lock, so a line
  // is never split by another thread's.
  CSingleLock lock(m_pSection, TRUE);
  if (!m_pFile) return E_PENDING;
  if (bStamp) {
    const ULONG t = orvek_detail::TicksElapsed(GetTickCount(), m_dwStartTick);
    char stamp[32];
    const int n = std::snprintf(stamp, sizeof stamp, "%2d:%02d:%02d.%03d\t", int(t / 3600000), int(t / 60000 % 60),
                                int(t / 1000 % 60), int(t % 1000));
    m_pFile->Write(stamp, static_cast<UINT>(n));
  }
  const std::string text = pText ? WideToUtf8(pText, std::wcslen(pText)) : std::string();
  std::string line;
  line.reserve(text.size() + 16);
  for (const char c : text) {
    if (c == '\n') line += '\r';
    line += c;
  }
  line += "\r\n";
  m_pFile->Write(line.data(), static_cast<UINT>(line.size()));
  return S_OK;
}

LONG CLogFile::Close() {
  if (m_pSection) {
    CSingleLock lock(m_pSection, TRUE);
    if (m_pFile) {
      try {
        (void)AddString(timeLine(L"\nLog finished:\t%02d.%02d.%d at %d:%02d:%02d\n"), false);
        m_pFile->Close();
      } catch (...) {
        lock.Unlock();
        release();
        throw;
      }
      delete m_pFile;
      m_pFile = nullptr;
    }
  }
  release();
  return S_OK;
}

void CLogFile::release() {
  delete m_pFile;
  m_pFile = nullptr;
  delete m_pSection;
  m_pSection = nullptr;
}

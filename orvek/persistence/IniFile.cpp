// The INI engine: loading with the backup scheme, the byte-pattern searches
// and the splicing write.
#include <orvek/persistence/IniFile.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>

const char CIniFile::ms_pEndLine[3] = "\r\n";

namespace {

constexpr UINT kOpenRead = CFile::modeRead;
// A rewrite replaces the whole file at once, never leaving a part of it.
constexpr UINT kOpenRewrite = CFile::modeCreate | CFile::modeWrite | CFile::modeReplace;
constexpr DWORD kSharingRetryMs = 2000;

// Frees a file object on every way out of a scope, so that a read or write
// that throws neither leaks it nor leaves the pointer set.
struct OwnedFile {
  CFile*& pFile;
  ~OwnedFile() {
    delete pFile;
    pFile = nullptr;
  }
};

// Equality of n bytes. Most candidates of a search fail; comparing whole
// words keeps that one branch predictable where names share a beginning.
bool sameBytes(const char* a, const char* b, std::size_t n) {
  if (n < 8) return std::memcmp(a, b, n) == 0;
  std::uint64_t a0, b0, a1, b1;
  std::memcpy(&a0, a, 8);
  std::memcpy(&b0, b, 8);
  std::memcpy(&a1, a + n - 8, 8);
  std::memcpy(&b1, b + n - 8, 8);
  return ((a0 ^ b0) | (a1 ^ b1)) == 0 && (n <= 16 || std::memcmp(a + 8, b + 8, n - 16) == 0);
}

// Position q of the first CR LF followed by tail with from <= q < before, or
// -1. Every pattern of the format begins with a line end, so the scan jumps
// with memchr between the places where the byte behind a line end matches.
int findBehindLineEnd(const CStringA& text, int from, int before, const std::string& tail) {
  const char* base = text.GetString();
  const int length = text.GetLength();
  const int offset = tail.empty() ? 1 : 2;  // from the CR to the byte sought
  const char sought = tail.empty() ? '\n' : tail[0];
  const long long lastStart = std::min<long long>(before - 1LL, length - 2LL - static_cast<long long>(tail.size()));
  if (lastStart < from) return -1;
  const int last = static_cast<int>(lastStart) + offset;
  for (int p = std::max(from, 0) + offset; p <= last; ++p) {
    const void* hit = std::memchr(base + p, sought, static_cast<std::size_t>(last - p + 1));
    if (!hit) return -1;
    p = static_cast<int>(static_cast<const char*>(hit) - base);
    const int q = p - offset;
    if (base[q] == '\r' && base[q + 1] == '\n' && sameBytes(base + q + 2, tail.data(), tail.size())) return q;
  }
  return -1;
}

bool endsWithLineEnd(const CStringA& text, int end) {
  return end >= 2 && text.GetString()[end - 2] == '\r' && text.GetString()[end - 1] == '\n';
}

}  // namespace

CIniFile::CIniFile() : m_pFile(nullptr), m_bWrite(0) {}

CIniFile::~CIniFile() {
  // A destructor has nowhere to report a failed rewrite to.
  try {
    (void)Close();  // the open text is given up; its write error would throw
  } catch (...) {
  }
}

LONG CIniFile::Create(const wchar_t* pFileName, int bWrite, int bBackup) {
  if (!pFileName) return E_POINTER;
  const CStringA name(pFileName);
  return Create(name.GetString(), bWrite, bBackup);
}

LONG CIniFile::Create(const char* pFileName, int bWrite, int bBackup) {
  if (!pFileName) return E_POINTER;
  if (m_pFile) return E_FAIL;
  m_bWrite = 0;
  // A bare name means a file beside the application.
  if (!std::strchr(pFileName, '/') && !SetCurrentDirectoryA(OrvekGetApplicationFolder().c_str())) return E_FAIL;
  m_strFileName = pFileName;
  m_strFileNameBytes = pFileName;
  const LONG opened = openFile(&m_pFile, pFileName, kOpenRead);

  // dir/name.ini -> dir/Backup/name.ini.bak; name.ini -> ./Backup/name.ini.bak
  const std::string name(pFileName);
  const std::size_t slash = name.rfind('/');
  std::string backupPath, backupFolder;
  if (slash != std::string::npos) {
    backupFolder = name.substr(0, slash) + "/Backup";
    backupPath = backupFolder + name.substr(slash) + ".bak";
  } else {
    backupFolder = "./Backup/";
    backupPath = backupFolder + name + ".bak";
  }
  // Made on every call; an existing folder is no case.
  CreateDirectoryA(backupFolder.c_str(), nullptr);

  bool valid = false;
  int length = 0;
  if (opened == S_OK) {
    OwnedFile owned{m_pFile};
    valid = readFileContent(m_pFile, &m_strContent, &length) == S_OK && checkIniString(length);
  }

  if (bBackup && valid) {
    CFile* pBackup = nullptr;
    // A backup that cannot be opened stays as it was.
    if (openFile(&pBackup, backupPath.c_str(), kOpenRewrite) == S_OK) {
      OwnedFile owned{pBackup};
      pBackup->Write(m_strContent.GetString(), static_cast<UINT>(m_strContent.GetLength()));
      pBackup->Close();
    }
  } else if (bBackup) {
    bool restored = false;
    CFile* pBackup = nullptr;
    if (openFile(&pBackup, backupPath.c_str(), kOpenRead) == S_OK) {
      OwnedFile owned{pBackup};
      restored = readFileContent(pBackup, &m_strContent, &length) == S_OK && checkIniString(length);
    }
    // The restored text reaches the file only through a later Close.
    if (!restored) m_strContent.Empty();
  }
  m_bWrite = bWrite;
  return S_OK;
}

LONG CIniFile::Close() {
  if (!m_bWrite) return S_OK;
  if (openFile(&m_pFile, m_strFileNameBytes.GetString(), kOpenRewrite) != S_OK) return E_FAIL;
  OwnedFile owned{m_pFile};
  m_pFile->Write(m_strContent.GetString(), static_cast<UINT>(m_strContent.GetLength()));
  m_pFile->Close();
  return S_OK;
}

LONG CIniFile::openFile(CFile** ppFile, const wchar_t* pName, UINT nFlags) {
  if (!ppFile) return E_POINTER;
  if (!pName) {
    *ppFile = nullptr;
    return E_FAIL;
  }
  return openFile(ppFile, WideToUtf8(pName, std::wcslen(pName)).c_str(), nFlags);
}

LONG CIniFile::openFile(CFile** ppFile, const char* pName, UINT nFlags) {
  if (!ppFile) return E_POINTER;
  *ppFile = nullptr;
  CFile* pFile = new CFile;
  OwnedFile owned{pFile};
  const DWORD start = GetTickCount();
  for (;;) {
    CFileException error;
    if (pFile->Open(pName, nFlags, &error)) {
      *ppFile = pFile;
      pFile = nullptr;
      return S_OK;
    }
    if (error.m_cause != CFileException::sharingViolation) return E_FAIL;
    Sleep(10);
    if (static_cast<DWORD>(GetTickCount() - start) >= kSharingRetryMs) return ERROR_TIMEOUT;
  }
}

LONG CIniFile::readFileContent(CFile* pFile, CStringA* pContent, int* pLength) {
  if (!pFile || !pContent || !pLength) return E_POINTER;
  const ULONGLONG length = pFile->GetLength();
  if (length > 0x7FFFFFFFu) return ERROR_OUTOFMEMORY;
  const int n = static_cast<int>(length);
  // Emptied first, so that a short read leaves zeros and not an older text
  // behind what was read; the string keeps its closing 0 behind n bytes.
  pContent->Empty();
  char* buffer = pContent->GetBufferSetLength(n);
  const UINT got = n > 0 ? pFile->Read(buffer, static_cast<UINT>(n)) : 0;
  // The text ends at its first byte 0.
  pContent->ReleaseBuffer(-1);
  if (got < static_cast<UINT>(n)) return E_FAIL;
  *pLength = n;
  return S_OK;
}

bool CIniFile::checkIniString(int nLength) const {
  if (nLength < 1) return true;
  // The text was cut at its first 0, so a text shorter than the file held one.
  return nLength <= m_strContent.GetLength() &&
         !std::memchr(m_strContent.GetString(), 0, static_cast<std::size_t>(nLength));
}

LONG CIniFile::FindSection(const char* pSection, int* pStart, int* pEnd) const {
  if (!pSection || !pStart || !pEnd) return E_POINTER;
  std::string head("[");
  head += pSection;
  head += ']';
  head += ms_pEndLine;
  const int headLength = static_cast<int>(head.size());
  // A head behind a line end wins over the same head at the very start.
  int start;
  const int hit = findBehindLineEnd(m_strContent, 0, m_strContent.GetLength(), head);
  if (hit >= 0) {
    start = hit + 2 + headLength;
  } else {
    if (m_strContent.GetLength() < headLength || std::memcmp(m_strContent.GetString(), head.data(), head.size()) != 0)
      return E_FAIL;
    start = headLength;
  }
  // The body ends at the '[' of the next line that begins with one.
  const int next = findBehindLineEnd(m_strContent, start, m_strContent.GetLength(), "[");
  *pStart = start;
  *pEnd = next >= 0 ? next + 2 : m_strContent.GetLength();
  return S_OK;
}

LONG CIniFile::FindParameter(int nStart, int nEnd, const char* pKey, int* pValueStart, int* pValueEnd) const {
  if (!pKey || !pValueStart || !pValueEnd) return E_POINTER;
  if (nStart < 0 || nStart > nEnd || nEnd > m_strContent.GetLength()) return E_INVALIDARG;
  std::string key(pKey);
  key += '=';
  const int keyLength = static_cast<int>(key.size());
  // A later line of the body wins over its first line, whose line end lies
  // in front of the body.
  int valueStart;
  const int hit = findBehindLineEnd(m_strContent, nStart, nEnd, key);
  if (hit >= 0) {
    valueStart = hit + 2 + keyLength;
  } else if (keyLength <= m_strContent.GetLength() - nStart &&
             std::memcmp(m_strContent.GetString() + nStart, key.data(), key.size()) == 0) {
    valueStart = nStart + keyLength;
  } else {
    return E_FAIL;
  }
  // Only a key whose "key=" lies wholly inside the body counts; names with a
  // line end in them could otherwise match across the body's end.
  if (valueStart > nEnd) return E_FAIL;
  const int lineEnd = findBehindLineEnd(m_strContent, valueStart, nEnd + 1, std::string());
  *pValueStart = valueStart;
  *pValueEnd = lineEnd < 0 ? nEnd : lineEnd;
  return S_OK;
}

LONG CIniFile::GetParamString(const char* pSection, const char* pKey, CStringW* pValue) const {
  if (!pValue) return E_POINTER;
  int start = 0, end = 0, valueStart = 0, valueEnd = 0;
  LONG hr = FindSection(pSection, &start, &end);
  if (hr != S_OK) return hr;
  hr = FindParameter(start, end, pKey, &valueStart, &valueEnd);
  if (hr != S_OK) return hr;
  *pValue =
      CStringW(Utf8ToWide(m_strContent.GetString() + valueStart, static_cast<std::size_t>(valueEnd - valueStart)));
  return S_OK;
}

LONG CIniFile::WriteParamString(const char* pSection, const char* pKey, const char* pValue) {
  if (!m_bWrite) return E_FAIL;
  if (!pSection || !pKey || !pValue) return E_POINTER;
  // Names that would split a line, or a key line that would end its own
  // section, could not be found again after the write.
  if (std::strpbrk(pSection, "\r\n") || std::strpbrk(pKey, "\r\n=") || pKey[0] == '[') return E_INVALIDARG;

  int start = 0, end = 0;
  if (FindSection(pSection, &start, &end) != S_OK) {
    std::string head;
    if (!m_strContent.IsEmpty() && !endsWithLineEnd(m_strContent, m_strContent.GetLength())) head = ms_pEndLine;
    head += '[';
    head += pSection;
    head += ']';
    head += ms_pEndLine;
    m_strContent += head.c_str();
    start = end = m_strContent.GetLength();
  }

  int valueStart = 0, valueEnd = 0;
  if (FindParameter(start, end, pKey, &valueStart, &valueEnd) == S_OK) {
    m_strContent.Delete(valueStart, valueEnd - valueStart);
    m_strContent.Insert(valueStart, pValue);
    return S_OK;
  }
  // A new line at the end of the body, in front of the next section's '['.
  // A hand-made last line without its CR LF gets one first.
  std::string line;
  if (end > start && !endsWithLineEnd(m_strContent, end)) line = ms_pEndLine;
  line += pKey;
  line += '=';
  line += pValue;
  line += ms_pEndLine;
  m_strContent.Insert(end, line.c_str());
  return S_OK;
}

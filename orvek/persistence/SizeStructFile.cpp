// Records with size prefixes behind a fixed 15-byte magic.
#include <orvek/persistence/SizeStructFile.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr char kMagic[] = "SizeStructFile";  // with its closing 0: 15 bytes
constexpr int kMagicSize = sizeof kMagic;
constexpr int kPrefixSize = 4;
static_assert(kMagicSize == 15, "the magic is 14 characters and a 0");

// Bytes between the position and the end; 0 when a skip went past the end.
ULONGLONG bytesLeft(const CFile& file) {
  const ULONGLONG length = file.GetLength(), position = file.GetPosition();
  return position < length ? length - position : 0;
}

}  // namespace

CSizeStructFile::CSizeStructFile() : m_pFile(nullptr), m_bWrite(0) {}

CSizeStructFile::~CSizeStructFile() {
  try {
    Close();
  } catch (...) {
  }
}

LONG CSizeStructFile::Init(const wchar_t* pFileName, int bWrite) {
  if (m_pFile) return ERROR_ALREADY_INITIALIZED;
  m_pFile = new CFile;
  CFileException error;
  // A file written anew goes in place of the old one only at Close.
  if (!m_pFile->Open(pFileName, bWrite ? CFile::modeCreate | CFile::modeWrite | CFile::modeReplace : CFile::modeRead,
                     &error))
    return E_FAIL;
  m_bWrite = bWrite;
  if (!bWrite) return CheckFileHeader(m_pFile);
  write(kMagic, kMagicSize);
  return S_OK;
}

void CSizeStructFile::write(const void* pData, UINT nSize) {
  try {
    m_pFile->Write(pData, nSize);
  } catch (...) {
    // The new file is incomplete: it is dropped, the old one stays.
    m_pFile->Abort();
    throw;
  }
}

void CSizeStructFile::Close() {
  if (!m_pFile) return;
  CFile* pFile = m_pFile;
  m_pFile = nullptr;
  m_bWrite = 0;
  // Deleted also when the system reports a failure on closing.
  struct Owner {
    CFile* p;
    ~Owner() { delete p; }
  } owner{pFile};
  pFile->Close();
}

LONG CSizeStructFile::CheckFileHeader(CFile* pFile) {
  if (!pFile) return E_POINTER;
  pFile->SeekToBegin();
  if (bytesLeft(*pFile) < static_cast<ULONGLONG>(kMagicSize)) return ERROR_END_OF_MEDIA;
  char header[kMagicSize];
  if (pFile->Read(header, kMagicSize) < static_cast<UINT>(kMagicSize)) return ERROR_IO_DEVICE;
  return std::memcmp(header, kMagic, kMagicSize) == 0 ? S_OK : ERROR_INVALID_DATA;
}

LONG CSizeStructFile::Read(CFile* pFile, void* pData, int nSize) {
  if (!pFile || !pData) return E_POINTER;
  if (nSize < 0) return E_INVALIDARG;
  if (bytesLeft(*pFile) < static_cast<ULONGLONG>(nSize)) return ERROR_END_OF_MEDIA;
  if (pFile->Read(pData, static_cast<UINT>(nSize)) < static_cast<UINT>(nSize)) return ERROR_IO_DEVICE;
  return S_OK;
}

LONG CSizeStructFile::checkReadable() const {
  if (!m_pFile || !m_pFile->IsOpen()) return E_PENDING;
  return m_bWrite ? E_ACCESSDENIED : S_OK;
}

namespace {
int decodeSize(const unsigned char* prefix) {
  const ULONG u = ULONG(prefix[0]) | ULONG(prefix[1]) << 8 | ULONG(prefix[2]) << 16 | ULONG(prefix[3]) << 24;
  return static_cast<int>(u);
}
}  // namespace

LONG CSizeStructFile::GetCurStructSize(int* pSize) {
  if (!pSize) return E_POINTER;
  const LONG state = checkReadable();
  if (state != S_OK) return state;
  const ULONGLONG position = m_pFile->GetPosition();
  unsigned char prefix[kPrefixSize];
  const LONG hr = Read(m_pFile, prefix, kPrefixSize);
  m_pFile->Seek(static_cast<LONGLONG>(position), CFile::begin);
  if (hr != S_OK) return hr;
  *pSize = decodeSize(prefix);
  return *pSize < 0 ? ERROR_INVALID_DATA : S_OK;
}

LONG CSizeStructFile::ReadStruct(void* pData, int nSize) {
  if (!pData && nSize != 0) return E_POINTER;
  const LONG state = checkReadable();
  if (state != S_OK) return state;
  if (nSize < 0) return E_INVALIDARG;
  unsigned char prefix[kPrefixSize];
  LONG hr = Read(m_pFile, prefix, kPrefixSize);
  if (hr != S_OK) return hr;
  const int stored = decodeSize(prefix);
  // A damaged prefix: nothing behind it is trusted or consumed.
  if (stored < 0) return ERROR_INVALID_DATA;
  // A record cut off by the end of the file is reported even when the
  // caller's structure would fit in what is left of it.
  if (bytesLeft(*m_pFile) < static_cast<ULONGLONG>(stored)) return ERROR_END_OF_MEDIA;
  const int n = std::min(nSize, stored);
  if (n != 0) {
    hr = Read(m_pFile, pData, n);
    if (hr != S_OK) return hr;
  }
  if (stored > n) m_pFile->Seek(stored - n, CFile::current);
  return S_OK;
}

LONG CSizeStructFile::WriteStruct(const void* pData, int nSize) {
  if (!pData && nSize != 0) return E_POINTER;
  if (!m_pFile || !m_pFile->IsOpen()) return E_PENDING;
  if (!m_bWrite) return E_ACCESSDENIED;
  if (nSize < 0) return E_INVALIDARG;
  const ULONG u = static_cast<ULONG>(nSize);
  const unsigned char prefix[kPrefixSize] = {static_cast<unsigned char>(u), static_cast<unsigned char>(u >> 8),
                                             static_cast<unsigned char>(u >> 16), static_cast<unsigned char>(u >> 24)};
  write(prefix, kPrefixSize);
  if (nSize != 0) write(pData, static_cast<UINT>(nSize));
  return S_OK;
}

LONG CSizeStructFile::GetPosition(ULONGLONG* pPosition) {
  if (!pPosition) return E_POINTER;
  if (!m_pFile || !m_pFile->IsOpen()) return E_PENDING;
  *pPosition = m_pFile->GetPosition();
  return S_OK;
}

LONG CSizeStructFile::Seek(ULONGLONG nPosition) {
  if (!m_pFile || !m_pFile->IsOpen()) return E_PENDING;
  if (nPosition >= m_pFile->GetLength()) return E_INVALIDARG;
  m_pFile->Seek(static_cast<LONGLONG>(nPosition), CFile::begin);
  return S_OK;
}

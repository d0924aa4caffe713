#include <orvek/platform/core/File.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {
constexpr LONG ERROR_SHARING_VIOLATION = 32;

CStringW absolutePath(const wchar_t* name) {
  const std::string narrow = WideToUtf8(name, std::wcslen(name));
  if (!narrow.empty() && narrow[0] == '/') return CStringW(name);
  char cwd[PATH_MAX];
  if (!::getcwd(cwd, sizeof cwd)) return CStringW(name);
  std::string full(cwd);
  if (full.empty() || full.back() != '/') full += '/';
  full += narrow;
  return CStringW(full.c_str());
}
}  // namespace

CFileException::CFileException(int cause, LONG osError, const wchar_t* fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

const char* CFileException::what() const noexcept {
  switch (m_cause) {
    case fileNotFound: return "CFileException: file not found";
    case badPath: return "CFileException: bad path";
    case accessDenied: return "CFileException: access denied";
    case sharingViolation: return "CFileException: sharing violation";
    case diskFull: return "CFileException: disk full";
    case hardIO: return "CFileException: I/O error";
    case badSeek: return "CFileException: bad seek";
    case endOfFile: return "CFileException: end of file";
    default: return "CFileException";
  }
}

int CFileException::ErrnoToCause(int e) {
  switch (e) {
    case 0: return none;
    case ENOENT: return fileNotFound;
    case ENOTDIR: case ENAMETOOLONG: case ELOOP: return badPath;
    case EMFILE: case ENFILE: return tooManyOpenFiles;
    case EACCES: case EPERM: case EROFS: case EISDIR: return accessDenied;
    case EBADF: return invalidFile;
    case EWOULDBLOCK: return sharingViolation;
    case ENOSPC: case EDQUOT: case EFBIG: return diskFull;
    case EINVAL: case ESPIPE: return badSeek;
    case EIO: return hardIO;
    default: return genericException;
  }
}

CFile::CFile() : m_hFile(hFileNull) {}

CFile::CFile(const wchar_t* fileName, UINT openFlags) : m_hFile(hFileNull) {
  CFileException e;
  if (!Open(fileName, openFlags, &e)) throw e;
}

CFile::~CFile() { Abort(); }

BOOL CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
  return Open(fileName ? CStringW(fileName).GetString() : nullptr, openFlags, error);
}

BOOL CFile::Open(const wchar_t* fileName, UINT openFlags, CFileException* error) {
  auto fail = [&](int err) {
    if (error) {
      error->m_cause = err == EWOULDBLOCK ? CFileException::sharingViolation : CFileException::ErrnoToCause(err);
      error->m_lOsError = err == EWOULDBLOCK ? ERROR_SHARING_VIOLATION : err;
      error->m_strFileName = fileName;
    }
    return FALSE;
  };
  if (IsOpen()) Abort();
  if (!fileName || !*fileName) return fail(ENOENT);
  const std::string path = WideToUtf8(fileName, std::wcslen(fileName));
  int flags = O_CLOEXEC;
  if (openFlags & modeReadWrite) flags |= O_RDWR;
  else if (openFlags & modeWrite) flags |= O_WRONLY;
  else flags |= O_RDONLY;
  if (openFlags & modeCreate) flags |= O_CREAT;
  // Truncation waits until the lock is held, so a refused open never empties
  // a file that someone else has open.
  const int fd = ::open(path.c_str(), flags, 0666);
  if (fd < 0) return fail(errno);
  struct stat st {};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    return fail(EISDIR);
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int err = errno;
    ::close(fd);
    return fail(err == EWOULDBLOCK ? EWOULDBLOCK : err);
  }
  // An empty file needs no truncation; the size is read again under the lock.
  if ((openFlags & modeCreate) && !(openFlags & modeNoTruncate) && S_ISREG(st.st_mode) &&
      (::fstat(fd, &st) != 0 || st.st_size > 0) && ::ftruncate(fd, 0) != 0) {
    const int err = errno;
    ::close(fd);
    return fail(err);
  }
  m_hFile = fd;
  m_strFilePath = absolutePath(fileName);
  return TRUE;
}

void CFile::raise(int errnoValue) const {
  throw CFileException(CFileException::ErrnoToCause(errnoValue), errnoValue, m_strFilePath.GetString());
}

UINT CFile::Read(void* buffer, UINT count) {
  if (!IsOpen()) raise(EBADF);
  if (count == 0) return 0;
  if (!buffer) raise(EINVAL);
  auto* p = static_cast<char*>(buffer);
  UINT done = 0;
  while (done < count) {
    const ssize_t n = ::read(m_hFile, p + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      raise(errno);
    }
    if (n == 0) break;
    done += static_cast<UINT>(n);
  }
  return done;
}

void CFile::Write(const void* buffer, UINT count) {
  if (!IsOpen()) raise(EBADF);
  if (count == 0) return;
  if (!buffer) raise(EINVAL);
  const auto* p = static_cast<const char*>(buffer);
  UINT done = 0;
  while (done < count) {
    const ssize_t n = ::write(m_hFile, p + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      raise(errno);
    }
    if (n == 0) raise(ENOSPC);
    done += static_cast<UINT>(n);
  }
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
  if (!IsOpen()) raise(EBADF);
  const int whence = from == begin ? SEEK_SET : from == current ? SEEK_CUR : from == end ? SEEK_END : -1;
  if (whence < 0) raise(EINVAL);
  const off_t r = ::lseek(m_hFile, static_cast<off_t>(offset), whence);
  if (r < 0) raise(errno);
  return static_cast<ULONGLONG>(r);
}

ULONGLONG CFile::GetLength() const {
  if (!IsOpen()) raise(EBADF);
  struct stat st {};
  if (::fstat(m_hFile, &st) != 0) raise(errno);
  return static_cast<ULONGLONG>(st.st_size);
}

ULONGLONG CFile::GetPosition() const {
  if (!IsOpen()) raise(EBADF);
  const off_t r = ::lseek(m_hFile, 0, SEEK_CUR);
  if (r < 0) raise(errno);
  return static_cast<ULONGLONG>(r);
}

void CFile::SetLength(ULONGLONG length) {
  if (!IsOpen()) raise(EBADF);
  if (::ftruncate(m_hFile, static_cast<off_t>(length)) != 0) raise(errno);
}

void CFile::Flush() {
  if (IsOpen() && ::fsync(m_hFile) != 0 && errno != EINVAL && errno != EROFS) raise(errno);
}

void CFile::Close() {
  if (!IsOpen()) return;
  const int fd = m_hFile;
  m_hFile = hFileNull;
  if (::close(fd) != 0 && errno != EINTR) raise(errno);
}

void CFile::Abort() {
  if (!IsOpen()) return;
  ::close(m_hFile);
  m_hFile = hFileNull;
}

CStringW CFile::GetFileName() const {
  const int slash = m_strFilePath.ReverseFind(L'/');
  return slash < 0 ? m_strFilePath : m_strFilePath.Mid(slash + 1);
}

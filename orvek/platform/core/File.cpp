// CFile and CFileException on POSIX open, read, write and lseek; every open
// is exclusive through flock.
#include <orvek/platform/core/File.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cwchar>

namespace {
// The absolute path for GetFilePath; the current folder at any length.
CStringW absolutePath(const char* path) {
  std::string full;
  if (path[0] != '/') {
    char* cwd = ::getcwd(nullptr, 0);
    if (cwd) {
      full = cwd;
      std::free(cwd);
      if (full.empty() || full.back() != '/') full += '/';
    }
  }
  full += path;
  return CStringW(full.c_str());
}

std::atomic<unsigned> g_replacements{0};

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
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP: return badPath;
    case EMFILE:
    case ENFILE: return tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return accessDenied;
    case EBADF: return invalidFile;
    case EWOULDBLOCK: return sharingViolation;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return diskFull;
    case EINVAL:
    case ESPIPE: return badSeek;
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
  return open(fileName, fileName ? CStringW(fileName).GetString() : nullptr, openFlags, error);
}

BOOL CFile::Open(const wchar_t* fileName, UINT openFlags, CFileException* error) {
  if (!fileName) return open(nullptr, nullptr, openFlags, error);
  return open(WideToUtf8(fileName, std::wcslen(fileName)).c_str(), fileName, openFlags, error);
}

BOOL CFile::open(const char* path, const wchar_t* fileName, UINT openFlags, CFileException* error) {
  auto fail = [&](int err) {
    if (error) {
      error->m_cause = err == EWOULDBLOCK ? CFileException::sharingViolation : CFileException::ErrnoToCause(err);
      error->m_lOsError = err == EWOULDBLOCK ? static_cast<LONG>(ERROR_SHARING_VIOLATION) : err;
      error->m_strFileName = fileName;
    }
    return FALSE;
  };
  if (IsOpen()) Abort();
  if (!path || !*path) return fail(ENOENT);
  if ((openFlags & modeReplace) && (openFlags & modeCreate) && (openFlags & (modeWrite | modeReadWrite)) &&
      !(openFlags & modeNoTruncate)) {
    int err = 0;
    const int fd = openReplacement(path, &err);
    if (err) return fail(err);
    if (fd >= 0) {
      m_hFile = fd;
      m_strFilePath = absolutePath(path);
      return TRUE;
    }
  }
  int flags = O_CLOEXEC;
  if (openFlags & modeReadWrite)
    flags |= O_RDWR;
  else if (openFlags & modeWrite)
    flags |= O_WRONLY;
  else
    flags |= O_RDONLY;
  if (openFlags & modeCreate) flags |= O_CREAT;
  // Truncation waits until the lock is held, so a refused open never empties
  // a file that someone else has open.
  const int fd = ::open(path, flags, 0666);
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
  m_strFilePath = absolutePath(path);
  return TRUE;
}

int CFile::openReplacement(const std::string& path, int* errnoValue) {
  // A link is followed, so that the file behind it is replaced and the link stays.
  std::string target = path;
  struct stat st {};
  if (::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
    char* real = ::realpath(path.c_str(), nullptr);
    if (!real) return -1;  // a dangling link: created through it in place
    target = real;
    std::free(real);
  }
  const bool exists = ::stat(target.c_str(), &st) == 0;
  if (exists && !S_ISREG(st.st_mode)) return -1;
  // The old file is locked as an open of it would be: a holder refuses the
  // replacement, and the replacement refuses others until it is in place.
  int lock = hFileNull;
  if (exists) {
    lock = ::open(target.c_str(), O_RDONLY | O_CLOEXEC);
    if (lock < 0) lock = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (lock < 0) {
      *errnoValue = errno;
      return -1;
    }
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
      *errnoValue = errno;
      ::close(lock);
      return -1;
    }
  }
  const std::size_t slash = target.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
  const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  std::string temp;
  int fd = -1;
  for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
    temp = folder + "." + base + "." + std::to_string(::getpid()) + "-" +
           std::to_string(g_replacements.fetch_add(1, std::memory_order_relaxed)) + ".tmp";
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) {
    // No file can be made in the folder (a read-only folder, a name too long
    // for a prefix): the file is written in place as before.
    if (lock >= 0) ::close(lock);
    return -1;
  }
  if (exists) {
    // The new file takes the old one's permissions and, where allowed, owner.
    [[maybe_unused]] const int owned = ::fchown(fd, st.st_uid, st.st_gid);
    ::fchmod(fd, st.st_mode & 07777);
  }
  m_hTarget = lock;
  m_strTemp = temp;
  m_strTarget = target;
  return fd;
}

void CFile::dropReplacement() {
  if (!m_strTemp.empty()) ::unlink(m_strTemp.c_str());
  if (m_hTarget != hFileNull) ::close(m_hTarget);
  m_hTarget = hFileNull;
  m_strTemp.clear();
  m_strTarget.clear();
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
  if (m_strTemp.empty()) {
    if (::close(fd) != 0 && errno != EINTR) raise(errno);
    return;
  }
  // The new bytes are on the device before the name points to them, so
  // that no crash leaves a file that is only a part of either.
  int err = 0;
  if (::fdatasync(fd) != 0 && errno != EINVAL && errno != EROFS) err = errno;
  if (::close(fd) != 0 && errno != EINTR && !err) err = errno;
  if (!err && ::rename(m_strTemp.c_str(), m_strTarget.c_str()) != 0) err = errno;
  if (!err) m_strTemp.clear();
  dropReplacement();
  if (err) raise(err);
}

void CFile::Abort() {
  if (!IsOpen()) return;
  ::close(m_hFile);
  m_hFile = hFileNull;
  dropReplacement();
}

CStringW CFile::GetFileName() const {
  const int slash = m_strFilePath.ReverseFind(L'/');
  return slash < 0 ? m_strFilePath : m_strFilePath.Mid(slash + 1);
}

#include "platform/process_locks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/environment.h"
#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

// Bytes of a mutex file: the owner locks the first exclusively; every
// process that has the mutex open holds a shared lock on the second.
constexpr off_t kOwnerByte = 0;
constexpr off_t kPresenceByte = 1;

struct flock Range(short type, off_t start) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = start;
  range.l_len = 1;
  return range;
}

// One non-blocking attempt: 0 when locked, EAGAIN when someone else holds a
// conflicting lock, another errno on failure.
int TryLockRange(int fd, short type, off_t start) {
  struct flock range = Range(type, start);
  while (::fcntl(fd, F_OFD_SETLK, &range) != 0) {
    if (errno == EINTR) continue;
    return errno == EACCES ? EAGAIN : errno;
  }
  return 0;
}

// Whether the file `fd` was opened as is still the one at `path`: a holder
// that deletes the file on release leaves waiters with a file nobody else
// will ever lock again.
bool IsStillAtPath(int fd, const std::string& path) {
  struct stat open_file {};
  struct stat at_path {};
  if (::fstat(fd, &open_file) != 0 || ::stat(path.c_str(), &at_path) != 0) return false;
  return open_file.st_dev == at_path.st_dev && open_file.st_ino == at_path.st_ino;
}

std::string FileNameFor(const std::string& name) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string file;
  for (unsigned char c : name) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                 c == '.' || c == '_' || c == '-';
    if (plain) {
      file += static_cast<char>(c);
      continue;
    }
    file += '%';
    file += kHex[c >> 4];
    file += kHex[c & 0xF];
  }
  return file + ".lock";
}

}  // namespace

OsResult<std::unique_ptr<LockFile>> LockFile::TryAcquire(const std::string& path,
                                                         IfMissing if_missing, OnUnlock on_unlock) {
  int flags = O_RDWR | O_CLOEXEC | (if_missing == IfMissing::kCreate ? O_CREAT : 0);
  FileDescriptor fd(::open(path.c_str(), flags, 0666));
  if (fd.Get() < 0) return OsError::FromCode(errno, path);
  if (int error = TryLockRange(fd.Get(), F_WRLCK, kOwnerByte)) {
    if (error == EAGAIN) return std::unique_ptr<LockFile>();
    return OsError::FromCode(error, path);
  }
  // Locked a file that its last holder deleted: try again with the new one.
  if (!IsStillAtPath(fd.Get(), path)) return std::unique_ptr<LockFile>();
  return std::unique_ptr<LockFile>(new LockFile(fd.Release(), path, on_unlock));
}

LockFile::~LockFile() {
  if (on_unlock_ == OnUnlock::kDelete) (void)::unlink(path_.c_str());
  ::close(fd_);
}

std::string NamedMutex::LockDirectory() {
  std::optional<std::string> runtime = GetEnvironmentVariable("XDG_RUNTIME_DIR");
  if (runtime && !runtime->empty()) return *runtime;
  return "/tmp/brivant-locks";
}

OsResult<std::unique_ptr<NamedMutex>> NamedMutex::Open(const std::string& name, bool create) {
  std::string directory = LockDirectory();
  if (::mkdir(directory.c_str(), 01777) == 0) (void)::chmod(directory.c_str(), 01777);
  std::string path = directory + "/" + FileNameFor(name);
  FileDescriptor fd(::open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0666));
  if (fd.Get() < 0) return OsError::FromCode(errno, path);
  if (!create) {
    // The mutex exists while some process has it open.
    struct flock probe = Range(F_WRLCK, kPresenceByte);
    if (::fcntl(fd.Get(), F_OFD_GETLK, &probe) != 0) return OsError::FromCode(errno, path);
    if (probe.l_type == F_UNLCK) return OsError::FromCode(ENOENT, path);
  }
  // Nobody ever locks this byte exclusively, so a shared lock never waits.
  if (int error = TryLockRange(fd.Get(), F_RDLCK, kPresenceByte))
    return OsError::FromCode(error, path);
  return std::unique_ptr<NamedMutex>(new NamedMutex(fd.Release()));
}

NamedMutex::~NamedMutex() {
  Unlock();
  ::close(fd_);
}

OsResult<bool> NamedMutex::TryLock() {
  if (owned_) return true;
  int error = TryLockRange(fd_, F_WRLCK, kOwnerByte);
  if (error == EAGAIN) return false;
  if (error != 0) return OsError::FromCode(error, "");
  owned_ = true;
  return true;
}

void NamedMutex::Unlock() {
  if (!owned_) return;
  struct flock range = Range(F_UNLCK, kOwnerByte);
  (void)::fcntl(fd_, F_OFD_SETLK, &range);
  owned_ = false;
}

}  // namespace brivant::platform

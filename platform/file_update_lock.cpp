#include "platform/file_update_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

std::string DirectoryOf(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

// Errors that mean "this file system keeps no such locks", not "wait".
bool IsLockingUnsupported(int code) {
  return code == ENOLCK || code == EOPNOTSUPP || code == EINVAL || code == EBADF;
}

}  // namespace

OsResult<FileUpdateLock> FileUpdateLock::Acquire(const std::string& path) {
  std::string directory = DirectoryOf(path);
  FileDescriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.Get() < 0) return OsError::FromCode(errno, directory);
  while (::flock(fd.Get(), LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    if (IsLockingUnsupported(errno)) break;
    return OsError::FromCode(errno, directory);
  }
  return FileUpdateLock(fd.Release());
}

FileUpdateLock::~FileUpdateLock() {
  // Closing the only descriptor of the open directory releases the lock.
  if (fd_ >= 0) ::close(fd_);
}

}  // namespace brivant::platform

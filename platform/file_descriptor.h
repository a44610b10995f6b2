// Inside platform/ only: a descriptor closed on every exit path.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace brivant::platform {

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int Get() const { return fd_; }
  // Hands the descriptor over; this object no longer closes it.
  int Release() { return std::exchange(fd_, -1); }
  // close can report a deferred write failure (network file systems); 0 or
  // the errno.
  int Close() {
    int result = ::close(fd_);
    fd_ = -1;
    return result == 0 ? 0 : errno;
  }

 private:
  int fd_;
};

// Writes every byte, resuming after interruptions and short writes; returns
// 0 or the errno of the failed write.
inline int WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

}  // namespace brivant::platform

// Serialises read-modify-write updates of a file among builds running at the
// same time (and among threads of one build). Whoever rewrites a text, INI or
// variables file, or appends to one, holds the update lock of that file from
// its first read to its last write, so no update is lost between two writers.
//
// The lock is taken on the directory that holds the file, not on the file
// itself: rewrites replace the file by renaming a temporary over it, and a
// lock on the old file would then guard nothing, while the directory stays
// the same object. A file that does not exist yet can be locked the same way,
// and no lock file is ever left behind. Updates of other files in the same
// directory wait too; they are short.
//
// The lock is advisory (only those who ask for it wait), belongs to the open
// directory, not to the process, so two threads exclude each other, and the
// kernel drops it when its holder dies, even by SIGKILL. It is not re-entrant:
// taking the lock of a file in a directory whose lock this thread already
// holds waits forever.
#pragma once

#include <string>
#include <utility>

#include "platform/file_system.h"

namespace brivant::platform {

class FileUpdateLock {
 public:
  /// Waits until the update lock of `path` (a file that may not exist yet)
  /// is held. Fails only when the directory cannot be opened (ENOENT when it
  /// does not exist, EACCES); a file system that has no such locks (some
  /// network file systems) gives an unlocked but valid lock rather than
  /// refusing the update.
  [[nodiscard]] static OsResult<FileUpdateLock> Acquire(const std::string& path);

  FileUpdateLock(FileUpdateLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileUpdateLock(const FileUpdateLock&) = delete;
  FileUpdateLock& operator=(const FileUpdateLock&) = delete;
  FileUpdateLock& operator=(FileUpdateLock&&) = delete;
  /// Releases the lock.
  ~FileUpdateLock();

 private:
  explicit FileUpdateLock(int fd) : fd_(fd) {}

  int fd_ = -1;
};

}  // namespace brivant::platform

// Locks that serialise builds running at the same time: an exclusive lock
// file, and a machine-wide named mutex. Both are open-file-description locks
// (fcntl F_OFD_SETLK): they belong to the open file, not to the process, so
// two holders in one process exclude each other too, and the kernel drops
// them when the holder dies, even by SIGKILL. The next waiter then acquires
// the lock as if it had been released; there is no "abandoned" state.
//
// Neither waits: each attempt returns at once, and the caller polls, so that
// it can give up on a time-out or a stop request.
#pragma once

#include <memory>
#include <string>

#include "platform/file_system.h"

namespace brivant::platform {

/// An exclusive lock on a file, such as another build on this machine or on
/// another machine sharing the file system would also take.
class LockFile {
 public:
  enum class IfMissing { kCreate, kFail };
  enum class OnUnlock { kKeep, kDelete };

  /// One attempt to lock `path`. Null (not an error) when another holder
  /// has it. Errors: ENOENT when the file is missing with kFail, or when its
  /// directory is missing; EACCES, EISDIR and the like as open reports them.
  [[nodiscard]] static OsResult<std::unique_ptr<LockFile>> TryAcquire(const std::string& path,
                                                                      IfMissing if_missing,
                                                                      OnUnlock on_unlock);
  /// Releases the lock; with kDelete removes the file first, while still
  /// holding it, so no waiter can lock a file that is about to go.
  ~LockFile();
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

 private:
  LockFile(int fd, std::string path, OnUnlock on_unlock)
      : fd_(fd), path_(std::move(path)), on_unlock_(on_unlock) {}

  int fd_;
  std::string path_;
  OnUnlock on_unlock_;
};

/// A named mutex shared by every process of the machine, kept as a file in
/// the lock directory. A process that has it open keeps a shared lock on one
/// byte of the file, which is how others see that the mutex exists; the
/// owner holds an exclusive lock on another byte.
class NamedMutex {
 public:
  /// The directory of the mutex files: $XDG_RUNTIME_DIR when it is set and
  /// not empty, else /tmp/brivant-locks (created world-writable and sticky,
  /// so builds of every user share it).
  static std::string LockDirectory();

  /// Opens the mutex `name` ("Global\build"); its file name is the name
  /// with every byte but letters, digits, '.', '_' and '-' written as %XX.
  /// Fails with ENOENT when no process has it open and `create` is false.
  [[nodiscard]] static OsResult<std::unique_ptr<NamedMutex>> Open(const std::string& name,
                                                                  bool create);
  /// Releases ownership if held, and closes the mutex.
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  /// One attempt to own the mutex: true when this object owns it now
  /// (also when it already did), false when another does.
  [[nodiscard]] OsResult<bool> TryLock();
  void Unlock();

 private:
  explicit NamedMutex(int fd) : fd_(fd) {}

  int fd_;
  bool owned_ = false;
};

}  // namespace brivant::platform

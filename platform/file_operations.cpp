#include "platform/file_operations.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <unordered_set>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

// Large enough that a big file costs few calls, small enough that progress
// moves and a cancel is seen within a fraction of a second.
constexpr size_t kCopyChunk = 8 << 20;
// Only for the read/write fallback; most copies never allocate it.
constexpr size_t kFallbackBuffer = 1 << 20;
constexpr size_t kMaxTemporaryNameStem = 200;
constexpr char kDosAttributeName[] = "user.DOSATTRIB";

constexpr char kTemporaryMarker[] = ".copy-";

std::string DirectoryPart(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Gives an unnamed file (O_TMPFILE) the name `name`; 0 or the errno.
// AT_EMPTY_PATH works for the file's opener on newer kernels; /proc works
// everywhere it is mounted.
int LinkUnnamed(int fd, const std::string& name) {
  if (::linkat(fd, "", AT_FDCWD, name.c_str(), AT_EMPTY_PATH) == 0) return 0;
  if (errno != EPERM && errno != ENOENT && errno != EINVAL) return errno;
  std::string self = "/proc/self/fd/" + std::to_string(fd);
  if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return 0;
  return errno;
}

// Cleared for the rest of the process once an unnamed file could not be
// given a name (no /proc, an old kernel).
std::atomic<bool> unnamed_files_usable{true};

// A copy in the making beside its target. Where the file system allows it
// is unnamed until it is put in place, so a killed copy leaves nothing;
// elsewhere it has a temporary name, ".NAME.copy-PID-N", that tells whose
// it is, so that one left by a killed copy can be recognised and removed
// later. Removed on every exit unless committed.
class PartialFile {
 public:
  PartialFile() = default;
  ~PartialFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  // Creates the file beside `target`; returns the descriptor or -errno.
  int CreateBeside(const std::string& target, mode_t mode) {
    target_ = target;
    if (unnamed_files_usable.load(std::memory_order_relaxed)) {
      std::string directory = DirectoryPart(target);
      int fd = ::open(directory.empty() ? "." : directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC,
                      mode);
      // Any failure here (a file system without O_TMPFILE, a missing
      // directory) is left to the named create to tell.
      unnamed_ = fd >= 0;
      if (unnamed_) return fd;
    }
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::string candidate = TemporaryName();
      int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
      if (fd >= 0) {
        path_ = std::move(candidate);
        return fd;
      }
      if (errno != EEXIST) return -errno;
    }
    return -EEXIST;
  }

  bool Unnamed() const { return unnamed_; }
  const std::string& Path() const { return path_; }

  // Gives an unnamed file its temporary name, for a rename that replaces;
  // 0 or the errno.
  int Name(int fd) {
    for (int attempt = 0; unnamed_ && attempt < 100; ++attempt) {
      std::string candidate = TemporaryName();
      int error = LinkUnnamed(fd, candidate);
      if (error == 0) {
        path_ = std::move(candidate);
        unnamed_ = false;
      } else if (error != EEXIST) {
        return error;
      }
    }
    return unnamed_ ? EEXIST : 0;
  }

  // Puts the finished copy in place as `final_path`; returns 0 or the errno
  // (EEXIST for an existing file with kFail). An unnamed file needs its open
  // descriptor `fd` and kFail.
  int Commit(int fd, const std::string& final_path, IfTargetExists if_exists) {
    if (unnamed_) return LinkUnnamed(fd, final_path);
    int result =
        if_exists == IfTargetExists::kFail
            ? ::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, final_path.c_str(), RENAME_NOREPLACE)
            : ::rename(path_.c_str(), final_path.c_str());
    if (result != 0 && if_exists == IfTargetExists::kFail &&
        (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP)) {
      // The file system can't refuse atomically: link, then drop the name.
      result = ::link(path_.c_str(), final_path.c_str());
      if (result == 0) ::unlink(path_.c_str());
    }
    if (result != 0) return errno;
    path_.clear();
    return 0;
  }

 private:
  // A fresh name beside the target. A process-wide counter makes names
  // unique among threads and the pid among processes; O_EXCL (or the link's
  // EEXIST) settles whatever is left.
  std::string TemporaryName() const {
    static std::atomic<uint64_t> counter{0};
    // Asked once: the pid only names the file.
    static const std::string pid = std::to_string(::getpid());
    size_t slash = target_.rfind('/');
    std::string stem = target_.substr(slash == std::string::npos ? 0 : slash + 1);
    return DirectoryPart(target_) + "." + stem.substr(0, kMaxTemporaryNameStem) + kTemporaryMarker +
           pid + "-" + std::to_string(counter++);
  }

  std::string target_;
  std::string path_;
  bool unnamed_ = false;
};

// Whether a ".NAME.copy-PID-N" belongs to a process that no longer runs.
bool IsStaleTemporary(const char* name) {
  if (name[0] != '.') return false;
  const char* marker = std::strstr(name + 1, kTemporaryMarker);
  if (marker == nullptr) return false;
  // The marker may occur in NAME too; the pid follows its last occurrence.
  while (const char* next = std::strstr(marker + 1, kTemporaryMarker)) marker = next;
  char* end = nullptr;
  long pid = std::strtol(marker + sizeof kTemporaryMarker - 1, &end, 10);
  if (pid <= 0 || *end != '-' || pid == ::getpid()) return false;
  for (const char* digit = end + 1; *digit != '\0'; ++digit) {
    if (*digit < '0' || *digit > '9') return false;
  }
  return end[1] != '\0' && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

// Removes the temporary copies that killed copies left in `directory`, once
// per directory and process: the first copy into it pays one listing, later
// ones nothing. A pid that is in use again keeps its files until that
// process ends.
void RemoveStaleTemporaries(const std::string& directory) {
  static std::mutex mutex;
  static std::unordered_set<std::string> swept;
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (!swept.insert(directory).second) return;
  }
  DIR* listing = ::opendir(directory.empty() ? "." : directory.c_str());
  if (listing == nullptr) return;
  int fd = ::dirfd(listing);
  while (struct dirent* entry = ::readdir(listing)) {
    if (IsStaleTemporary(entry->d_name)) ::unlinkat(fd, entry->d_name, 0);
  }
  ::closedir(listing);
}

// Failures that say "this file system pair can't do copy_file_range", as
// opposed to a failure of the copy itself.
bool CopyRangeUnsupported(int code) {
  return code == EXDEV || code == ENOSYS || code == EINVAL || code == EOPNOTSUPP;
}

// Which file a failed transfer is about: running out of room is the
// target's, anything else is taken as the source's.
const std::string& TransferFaultPath(int code, const std::string& source,
                                     const std::string& target) {
  bool target_fault = code == ENOSPC || code == EDQUOT || code == EFBIG || code == EROFS;
  return target_fault ? target : source;
}

class ContentCopier {
 public:
  ContentCopier(int from, int to, uint64_t size) : from_(from), to_(to), size_(size) {}

  // Copies up to `want` bytes; returns the count (0 at end of file) or -errno.
  int64_t CopyChunk(size_t want) {
    if (use_copy_range_) {
      ssize_t moved = ::copy_file_range(from_, nullptr, to_, nullptr, want, 0);
      if (moved > 0) return moved;
      if (moved < 0 && !CopyRangeUnsupported(errno)) return -errno;
      // Some file systems (procfs, some FUSE) report 0 before the end;
      // read/write tells the true end of file apart.
      use_copy_range_ = false;
    }
    return ReadWriteChunk(want);
  }

  uint64_t Size() const { return size_; }

 private:
  int64_t ReadWriteChunk(size_t want) {
    size_t buffer_size = static_cast<size_t>(std::min<uint64_t>(kFallbackBuffer, size_));
    buffer_size = std::max<size_t>(buffer_size, 4096);
    if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(buffer_size);
    int64_t total = 0;
    while (static_cast<size_t>(total) < want) {
      size_t ask = std::min(buffer_size, want - static_cast<size_t>(total));
      ssize_t got = ::read(from_, buffer_.get(), ask);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return -errno;
      if (got == 0) break;
      if (int error = WriteAll(to_, std::string_view(buffer_.get(), static_cast<size_t>(got))))
        return -error;
      total += got;
    }
    return total;
  }

  int from_;
  int to_;
  uint64_t size_;
  bool use_copy_range_ = true;
  std::unique_ptr<char[]> buffer_;
};

// The bytes the source had when it was opened: a file that grows meanwhile
// is copied up to that size, one that shrinks up to its new end. A file
// that says it is empty is read to its end, because kernel files (/proc)
// report 0 and still have content; a truly empty file costs one read.
OsError CopyContent(ContentCopier* copier, const std::string& source, const std::string& target,
                    const CopyProgress& progress, const std::atomic<bool>* cancel) {
  const uint64_t size = copier->Size();
  const uint64_t limit = size > 0 ? size : UINT64_MAX;
  uint64_t done = 0;
  if (progress) progress(0, size);
  while (done < limit) {
    if (cancel != nullptr && cancel->load(std::memory_order_relaxed)) {
      return OsError::FromCode(ECANCELED, source);
    }
    int64_t moved =
        copier->CopyChunk(static_cast<size_t>(std::min<uint64_t>(kCopyChunk, limit - done)));
    if (moved < 0) {
      int code = static_cast<int>(-moved);
      return OsError::FromCode(code, TransferFaultPath(code, source, target));
    }
    if (moved == 0) break;
    done += static_cast<uint64_t>(moved);
    if (progress) progress(done, std::max(size, done));
  }
  return {};
}

// Windows keeps hidden and system bits with a copy; they live in the DOS
// attribute word. A target file system without extended attributes can't
// keep them, which is no reason to fail the copy.
int CopyDosAttributes(int from, int to) {
  char value[256];
  ssize_t length = ::fgetxattr(from, kDosAttributeName, value, sizeof value);
  if (length < 0) return errno == ENODATA || errno == ENOTSUP || errno == ERANGE ? 0 : errno;
  if (::fsetxattr(to, kDosAttributeName, value, static_cast<size_t>(length), 0) == 0) return 0;
  return errno == ENOTSUP || errno == EPERM ? 0 : errno;
}

// The process's umask, read once without changing it (umask(2) can only
// read it by setting it, which would race with other threads); -1 when
// unknown.
int ProcessUmask() {
  static const int umask = [] {
    FILE* status = std::fopen("/proc/self/status", "re");
    if (status == nullptr) return -1;
    char line[256];
    unsigned int value = 0;
    bool found = false;
    while (!found && std::fgets(line, sizeof line, status) != nullptr) {
      found = std::sscanf(line, "Umask: %o", &value) == 1;
    }
    std::fclose(status);
    return found ? static_cast<int>(value) : -1;
  }();
  return umask;
}

// The mode a file created with `mode` already has, so that a copy need not
// set it again; a mode no file has when that cannot be known.
mode_t CreatedMode(mode_t mode) {
  int umask = ProcessUmask();
  return umask < 0 ? static_cast<mode_t>(-1) : mode & ~static_cast<mode_t>(umask);
}

// Mode and times go on last: writing would move the time again. The mode is
// set only when the create did not already give it, which saves a system
// call on nearly every file of a tree.
int FinishOutput(const FileDescriptor& file, int from, const struct stat& source_info) {
  const mode_t wanted = source_info.st_mode & 07777;
  if (CreatedMode(wanted & 0777) != wanted && ::fchmod(file.Get(), wanted) != 0 && errno != EPERM &&
      errno != ENOTSUP) {
    return errno;
  }
  if (int error = CopyDosAttributes(from, file.Get())) return error;
  const struct timespec times[2] = {source_info.st_atim, source_info.st_mtim};
  if (::futimens(file.Get(), times) != 0 && errno != EPERM) return errno;
  return 0;
}

// Copying onto a symbolic link writes the file it points to and keeps the
// link, as Windows copies through a link.
std::string ResolveLink(const std::string& path) {
  char* resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return path;
  std::string target = resolved;
  std::free(resolved);
  return target;
}

// The file an existing target stands for (the one a link points to), or
// the Windows refusal to replace it.
OsResult<std::string> CheckTarget(const std::string& target) {
  struct stat info;
  if (::lstat(target.c_str(), &info) != 0) {
    if (errno == ENOENT) return target;  // removed meanwhile
    return OsError::FromCode(errno, target);
  }
  std::string path = target;
  if (S_ISLNK(info.st_mode)) {
    path = ResolveLink(target);
    // A dangling link is replaced like any other file.
    if (path == target || ::stat(path.c_str(), &info) != 0) return path;
  }
  if (S_ISDIR(info.st_mode)) return OsError::FromCode(EISDIR, target);
  // The rename at the end needs only the directory's permission; a target
  // this process may not write must still be refused, and one without its
  // owner's write bit is read-only even to root.
  bool read_only = S_ISREG(info.st_mode) && (info.st_mode & S_IWUSR) == 0;
  if (read_only ||
      (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES)) {
    return OsError::FromCode(EACCES, target);
  }
  return path;
}

// The file an existing target stands for, judged only once a finished copy
// finds it in the way: the source itself under another name (a link, "./a")
// is a file in use, as the Windows copy holds its source open when it opens
// the target; otherwise CheckTarget decides.
OsResult<std::string> JudgeExistingTarget(const struct stat& source_info,
                                          const std::string& target) {
  struct stat followed;
  if (::stat(target.c_str(), &followed) == 0 && followed.st_dev == source_info.st_dev &&
      followed.st_ino == source_info.st_ino) {
    return OsError::FromCode(EBUSY, target);
  }
  return CheckTarget(target);
}

OsResult<struct stat> CheckSource(const std::string& source, int input) {
  struct stat info;
  if (::fstat(input, &info) != 0) return OsError::FromCode(errno, source);
  if (S_ISDIR(info.st_mode)) return OsError::FromCode(EISDIR, source);
  // A pipe or device has no end to copy up to.
  if (!S_ISREG(info.st_mode)) return OsError::FromCode(ENOTSUP, source);
  return info;
}

}  // namespace

OsError CopyFileWithProgress(const std::string& source, const std::string& target,
                             bool fail_if_exists, const CopyProgress& progress,
                             const std::atomic<bool>* cancel) {
  if (cancel != nullptr && cancel->load(std::memory_order_relaxed)) {
    return OsError::FromCode(ECANCELED, source);
  }
  // O_NONBLOCK: opening a named pipe must not hang waiting for a writer.
  FileDescriptor input(::open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (input.Get() < 0) return OsError::FromCode(errno, source);
  OsResult<struct stat> source_info = CheckSource(source, input.Get());
  if (!source_info.IsOk()) return source_info.Error();

  // Every copy is written beside its target, unnamed or under a temporary
  // name, and put in place only when finished, so that a failed, cancelled or
  // killed copy never leaves a partial file under the target's name, where a
  // later copy would take it as up to date. Putting it in place refuses to
  // replace, so a new target, the common case, costs no look beforehand; an
  // existing one is judged when it is found in the way.
  const struct stat& info = source_info.Value();
  RemoveStaleTemporaries(DirectoryPart(target));
  PartialFile partial;
  FileDescriptor output(partial.CreateBeside(target, info.st_mode & 0777));
  if (output.Get() < 0) return OsError::FromCode(-output.Get(), target);
  ContentCopier copier(input.Get(), output.Get(), static_cast<uint64_t>(info.st_size));
  if (OsError error = CopyContent(&copier, source, target, progress, cancel)) return error;
  if (int error = FinishOutput(output, input.Get(), info)) return OsError::FromCode(error, target);
  // close can report a deferred write failure: a named copy is closed before
  // it takes the target's name, an unnamed one (a local file system) after.
  if (!partial.Unnamed()) {
    if (int error = output.Close()) return OsError::FromCode(error, target);
  }
  int error = partial.Commit(output.Get(), target, IfTargetExists::kFail);
  if (partial.Unnamed() && error == 0) {
    if (int close_error = output.Close()) {
      ::unlink(target.c_str());
      return OsError::FromCode(close_error, target);
    }
  } else if (partial.Unnamed() && error != EEXIST) {
    // The unnamed file cannot be given a name here; named copies from now on.
    unnamed_files_usable.store(false, std::memory_order_relaxed);
    input.Close();
    return CopyFileWithProgress(source, target, fail_if_exists, progress, cancel);
  }
  if (error != EEXIST || fail_if_exists)
    return error == 0 ? OsError{} : OsError::FromCode(error, target);
  OsResult<std::string> replaced = JudgeExistingTarget(info, target);
  if (!replaced.IsOk()) return replaced.Error();
  if (partial.Unnamed()) {
    if (int name_error = partial.Name(output.Get())) return OsError::FromCode(name_error, target);
    if (int close_error = output.Close()) return OsError::FromCode(close_error, target);
  }
  error = partial.Commit(-1, replaced.Value(), IfTargetExists::kReplace);
  if (error != EXDEV) return error == 0 ? OsError{} : OsError::FromCode(error, target);
  // A link that leads to another file system: the finished copy goes there.
  return CopyFileWithProgress(partial.Path(), replaced.Value(), false, {}, cancel);
}

OsError MoveFileWithProgress(const std::string& source, const std::string& target,
                             bool replace_existing, const CopyProgress& progress) {
  IfTargetExists if_exists = replace_existing ? IfTargetExists::kReplace : IfTargetExists::kFail;
  OsError renamed = RenameFile(source, target, if_exists);
  if (renamed.code != EXDEV) return renamed;
  // Only a file's content can be carried across; a directory or link
  // keeps the rename's error.
  struct stat info;
  if (::lstat(source.c_str(), &info) != 0) return OsError::FromCode(errno, source);
  if (!S_ISREG(info.st_mode)) return renamed;
  if (OsError error = CopyFileWithProgress(source, target, !replace_existing, progress, nullptr)) {
    return error;
  }
  // A rename ignores the source's read-only bit, so its stand-in does too.
  // Should the unlink fail, both copies stay: nothing is lost.
  if (::unlink(source.c_str()) != 0) return OsError::FromCode(errno, source);
  return {};
}

OsError CreateDirectory(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0) return {};
  return OsError::FromCode(errno, path);
}

OsError RemoveDirectory(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    struct stat target;
    if (::stat(path.c_str(), &target) != 0 || !S_ISDIR(target.st_mode)) {
      return OsError::FromCode(ENOTDIR, path);
    }
    if (::unlink(path.c_str()) == 0) return {};
    return OsError::FromCode(errno, path);
  }
  if (::rmdir(path.c_str()) == 0) return {};
  return OsError::FromCode(errno, path);
}

OsError SetCurrentDirectory(const std::string& path) {
  if (::chdir(path.c_str()) == 0) return {};
  return OsError::FromCode(errno, path);
}

OsResult<uint64_t> GetFileSize(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  if (S_ISDIR(info.st_mode)) return OsError::FromCode(EISDIR, path);
  return static_cast<uint64_t>(info.st_size);
}

OsResult<LocalTime> GetLastWriteTime(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  struct tm local = {};
  if (::localtime_r(&info.st_mtim.tv_sec, &local) == nullptr) {
    return OsError::FromCode(EOVERFLOW, path);
  }
  LocalTime time;
  time.year = local.tm_year + 1900;
  time.month = local.tm_mon + 1;
  time.day = local.tm_mday;
  time.hour = local.tm_hour;
  time.minute = local.tm_min;
  time.second = std::min(local.tm_sec, 59);
  time.millisecond = static_cast<int>(info.st_mtim.tv_nsec / 1'000'000);
  return time;
}

namespace {

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// mktime would quietly turn 31 February into 3 March; a date that does not
// exist is bad input, not a request for another date.
bool IsValidLocalTime(const LocalTime& time) {
  if (time.month < 1 || time.month > 12 || time.day < 1) return false;
  if (time.day > DaysInMonth(time.year, time.month)) return false;
  return time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
         time.second >= 0 && time.second < 60 && time.millisecond >= 0 && time.millisecond < 1000;
}

}  // namespace

OsError SetLastWriteTime(const std::string& path, const LocalTime& time) {
  if (!IsValidLocalTime(time) || time.year < 1900) return OsError::FromCode(EINVAL, path);
  struct tm local = {};
  local.tm_year = time.year - 1900;
  local.tm_mon = time.month - 1;
  local.tm_mday = time.day;
  local.tm_hour = time.hour;
  local.tm_min = time.minute;
  local.tm_sec = time.second;
  local.tm_isdst = -1;  // let the zone rules decide summer time
  errno = 0;
  time_t seconds = ::mktime(&local);
  if (seconds == static_cast<time_t>(-1) && errno != 0) return OsError::FromCode(errno, path);
  struct timespec stamp = {seconds, static_cast<long>(time.millisecond) * 1'000'000};
  const struct timespec times[2] = {stamp, stamp};
  if (::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0) return {};
  return OsError::FromCode(errno, path);
}

OsResult<DiskSpace> GetDiskSpace(const std::string& path) {
  struct statvfs info;
  if (::statvfs(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  DiskSpace space;
  space.total_bytes = static_cast<uint64_t>(info.f_blocks) * info.f_frsize;
  space.free_bytes = static_cast<uint64_t>(info.f_bfree) * info.f_frsize;
  space.available_bytes = static_cast<uint64_t>(info.f_bavail) * info.f_frsize;
  return space;
}

}  // namespace brivant::platform

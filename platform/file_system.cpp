#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

constexpr size_t kMaxTemporaryNameStem = 200;

// strerror_r comes in a GNU flavour (returns the text) and an XSI one (fills
// the buffer); overloads on its return type accept either.
[[maybe_unused]] const char* PickErrorText(const char* text, const char* /*buffer*/) {
  return text;
}
[[maybe_unused]] const char* PickErrorText(int result, const char* buffer) {
  return result == 0 ? buffer : "Unknown error";
}

std::string ErrorText(int code) {
  char buffer[256] = {};
  return PickErrorText(strerror_r(code, buffer, sizeof buffer), buffer);
}

// Reads until end of file or until `max_bytes` are in `out`; 0 or errno.
// Reading into a fixed buffer and appending keeps the final probe for end of
// file from growing a string that was reserved to the exact size.
int ReadUpTo(int fd, size_t max_bytes, std::string* out) {
  char chunk[64 * 1024];
  while (out->size() < max_bytes) {
    size_t want = std::min(sizeof chunk, max_bytes - out->size());
    ssize_t got = ::read(fd, chunk, want);
    if (got < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (got == 0) break;
    out->append(chunk, static_cast<size_t>(got));
  }
  return 0;
}

OsResult<std::string> ReadAtMost(const std::string& path, size_t max_bytes) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.Get() < 0) return OsError::FromCode(errno, path);
  std::string bytes;
  struct stat info;
  if (::fstat(file.Get(), &info) == 0 && S_ISREG(info.st_mode)) {
    bytes.reserve(std::min(max_bytes, static_cast<size_t>(info.st_size)));
  }
  if (int error = ReadUpTo(file.Get(), max_bytes, &bytes)) return OsError::FromCode(error, path);
  return bytes;
}

std::string DirectoryOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

// The umask without changing it: reading it with umask(2) means setting it,
// which would race with other threads creating files. /proc reports it
// since Linux 4.7; the two-call fallback is for older kernels.
mode_t CurrentUmask() {
  FileDescriptor status(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
  std::string text;
  if (status.Get() >= 0 && ReadUpTo(status.Get(), 16 * 1024, &text) == 0) {
    size_t at = text.find("\nUmask:");
    if (at != std::string::npos) {
      return static_cast<mode_t>(std::strtoul(text.c_str() + at + 7, nullptr, 8));
    }
  }
  mode_t mask = ::umask(022);
  ::umask(mask);
  return mask;
}

// Rewriting through a symbolic link updates the file it points to; replacing
// the link with a regular file would silently cut the link.
std::string ResolveLinkTarget(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return path;
  char* resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return path;
  std::string target = resolved;
  std::free(resolved);
  return target;
}

// A regular file without the owner's write bit: what Windows calls
// read-only. Windows refuses to overwrite, replace or delete such a file
// even for an administrator, so these functions refuse it for root too.
bool IsReadOnlyFile(const struct stat& info) {
  return S_ISREG(info.st_mode) && (info.st_mode & S_IWUSR) == 0;
}

// Replacing by rename needs only write permission on the directory, so a
// file this process may not write would otherwise be replaceable anyway.
bool MayNotBeWritten(const std::string& path, const struct stat& info) {
  if (IsReadOnlyFile(info)) return true;
  return S_ISREG(info.st_mode) && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 &&
         errno == EACCES;
}

// Writes the temporary file's content and mode. Returns 0 or errno.
// Which of the two paths a failed rename is about.
const std::string& RenameFaultPath(int code, const std::string& from, const std::string& to) {
  if (code == EEXIST || code == ENOTEMPTY || code == EISDIR) return to;
  if (code == ENOENT || code == ENOTDIR) {
    struct stat info;
    return ::lstat(from.c_str(), &info) == 0 ? to : from;
  }
  return from;
}

// Returns 0 or errno.
int RenameNoReplace(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return errno;
  // The file system can't refuse atomically: check, then rename.
  struct stat info;
  if (::lstat(to.c_str(), &info) == 0) return EEXIST;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

OsError MakeOneDirectory(const std::string& directory, bool* created) {
  *created = ::mkdir(directory.c_str(), 0777) == 0;
  if (*created) return {};
  int error = errno;
  if (error != EEXIST) return OsError::FromCode(error, directory);
  struct stat info;
  if (::stat(directory.c_str(), &info) != 0) return OsError::FromCode(EEXIST, directory);
  if (!S_ISDIR(info.st_mode)) return OsError::FromCode(ENOTDIR, directory);
  return {};
}

}  // namespace

std::string OsError::Describe() const {
  if (path.empty()) return message;
  return path + ": " + message;
}

OsError OsError::FromCode(int code, std::string path) {
  return OsError{code, ErrorText(code), std::move(path)};
}

OsResult<std::string> ReadFile(const std::string& path) {
  return ReadAtMost(path, static_cast<size_t>(-1));
}

OsResult<std::string> ReadBoundedRegularFile(const std::string& path, uint64_t max_bytes) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.Get() < 0) return OsError::FromCode(errno, path);
  struct stat info;
  if (::fstat(file.Get(), &info) != 0) return OsError::FromCode(errno, path);
  if (!S_ISREG(info.st_mode)) return OsError::FromCode(EINVAL, path);
  if (static_cast<uint64_t>(info.st_size) > max_bytes) return OsError::FromCode(EFBIG, path);
  std::string bytes;
  bytes.reserve(static_cast<size_t>(info.st_size));
  // One byte more than allowed tells a file that grew from one at the limit.
  if (int error = ReadUpTo(file.Get(), static_cast<size_t>(max_bytes) + 1, &bytes))
    return OsError::FromCode(error, path);
  if (bytes.size() > max_bytes) return OsError::FromCode(EFBIG, path);
  return bytes;
}

OsResult<std::string> ReadFilePrefix(const std::string& path, size_t max_bytes) {
  return ReadAtMost(path, max_bytes);
}

OsResult<AtomicFileWriter> AtomicFileWriter::Begin(const std::string& path,
                                                   IfTargetExists if_exists) {
  std::string target = ResolveLinkTarget(path);
  struct stat existing;
  bool exists = ::stat(target.c_str(), &existing) == 0;
  // The no-replace rename at the end decides; this only saves the work.
  if (exists && if_exists == IfTargetExists::kFail) return OsError::FromCode(EEXIST, path);
  if (exists && MayNotBeWritten(target, existing)) return OsError::FromCode(EACCES, path);
  mode_t mode = exists ? (existing.st_mode & 07777) : (0666 & ~CurrentUmask());

  size_t slash = target.rfind('/');
  std::string name = target.substr(slash == std::string::npos ? 0 : slash + 1);
  // A name near the 255-byte limit must still leave room for the dot and
  // the random suffix, or such a file could never be rewritten.
  std::string temporary =
      DirectoryOf(target) + "/." + name.substr(0, kMaxTemporaryNameStem) + ".XXXXXX";
  FileDescriptor file(::mkstemp(temporary.data()));
  if (file.Get() < 0) return OsError::FromCode(errno, path);
  // File systems without Unix modes (vfat, some network mounts) refuse
  // fchmod; they could not keep the mode anyway, so that is no failure.
  if (::fchmod(file.Get(), mode) != 0 && errno != EPERM && errno != ENOTSUP) {
    int error = errno;
    ::unlink(temporary.c_str());
    return OsError::FromCode(error, path);
  }
  return AtomicFileWriter(path, std::move(target), std::move(temporary), file.Release(), if_exists);
}

AtomicFileWriter::AtomicFileWriter(std::string path, std::string target, std::string temporary,
                                   int fd, IfTargetExists if_exists)
    : path_(std::move(path)),
      target_(std::move(target)),
      temporary_(std::move(temporary)),
      fd_(fd),
      if_exists_(if_exists) {}

AtomicFileWriter::AtomicFileWriter(AtomicFileWriter&& other) noexcept
    : path_(std::move(other.path_)),
      target_(std::move(other.target_)),
      temporary_(std::exchange(other.temporary_, {})),
      fd_(std::exchange(other.fd_, -1)),
      if_exists_(other.if_exists_) {}

AtomicFileWriter::~AtomicFileWriter() { Discard(); }

void AtomicFileWriter::Discard() {
  if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  if (!temporary_.empty()) ::unlink(std::exchange(temporary_, {}).c_str());
}

OsError AtomicFileWriter::Write(std::string_view bytes) {
  if (fd_ < 0) return OsError::FromCode(EBADF, path_);
  if (int error = WriteAll(fd_, bytes)) return OsError::FromCode(error, path_);
  return {};
}

OsResult<AppendedFile> AtomicFileWriter::AppendFile(const std::string& source, uint64_t offset) {
  if (fd_ < 0) return OsError::FromCode(EBADF, path_);
  FileDescriptor input(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
  if (input.Get() < 0) return OsError::FromCode(errno, source);
  if (offset > 0 && ::lseek(input.Get(), static_cast<off_t>(offset), SEEK_SET) < 0)
    return OsError::FromCode(errno, source);
  constexpr size_t kBlockSize = 256 * 1024;
  std::string block(kBlockSize, '\0');
  AppendedFile appended;
  for (;;) {
    ssize_t count = ::read(input.Get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return OsError::FromCode(errno, source);
    if (count == 0) return appended;
    if (int error = WriteAll(fd_, std::string_view(block.data(), static_cast<size_t>(count))))
      return OsError::FromCode(error, path_);
    appended.size += static_cast<uint64_t>(count);
    appended.last_byte = block[static_cast<size_t>(count) - 1];
  }
}

OsError AtomicFileWriter::Commit() {
  if (fd_ < 0) return OsError::FromCode(EBADF, path_);
  int error = ::close(std::exchange(fd_, -1)) == 0 ? 0 : errno;
  if (error == 0) {
    if (if_exists_ == IfTargetExists::kFail) {
      error = RenameNoReplace(temporary_, target_);
    } else if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
      error = errno;
    }
  }
  if (error == 0) temporary_.clear();
  Discard();
  if (error != 0) return OsError::FromCode(error, path_);
  return {};
}

OsError WriteFileAtomically(const std::string& path, std::string_view bytes,
                            IfTargetExists if_exists) {
  OsResult<AtomicFileWriter> begun = AtomicFileWriter::Begin(path, if_exists);
  if (!begun.IsOk()) return begun.Error();
  AtomicFileWriter writer = std::move(begun).Value();
  if (OsError error = writer.Write(bytes)) return error;
  return writer.Commit();
}

OsError AppendToFile(const std::string& path, std::string_view bytes) {
  struct stat existing;
  if (::stat(path.c_str(), &existing) == 0 && IsReadOnlyFile(existing)) {
    return OsError::FromCode(EACCES, path);
  }
  FileDescriptor file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
  if (file.Get() < 0) return OsError::FromCode(errno, path);
  if (int error = WriteAll(file.Get(), bytes)) return OsError::FromCode(error, path);
  if (int error = file.Close()) return OsError::FromCode(error, path);
  return {};
}

bool FileExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool DirectoryExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

OsError CreateDirectories(const std::string& path, bool* created) {
  bool ignored = false;
  if (created == nullptr) created = &ignored;
  *created = false;
  if (path.empty()) return OsError::FromCode(ENOENT, path);
  if (DirectoryExists(path)) return {};
  // Where `path` itself ends: "a/b/" is made as "a/b".
  const size_t stem = path.find_last_not_of('/') + 1;
  // Every prefix ending before a '/', then the whole path. Trying mkdir
  // before looking means a directory made concurrently by another process
  // is simply found to exist, not reported as a failure.
  for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    bool made = false;
    if (OsError error = MakeOneDirectory(path.substr(0, end), &made)) return error;
    if ((end == std::string::npos ? path.size() : end) == stem) *created = made;
    if (end == std::string::npos) return {};
  }
}

OsError RenameFile(const std::string& from, const std::string& to, IfTargetExists if_exists) {
  struct stat existing;
  if (if_exists == IfTargetExists::kReplace && ::lstat(to.c_str(), &existing) == 0 &&
      IsReadOnlyFile(existing)) {
    return OsError::FromCode(EACCES, to);
  }
  int error = 0;
  if (if_exists == IfTargetExists::kFail) {
    error = RenameNoReplace(from, to);
  } else if (::rename(from.c_str(), to.c_str()) != 0) {
    error = errno;
  }
  if (error == 0) return {};
  return OsError::FromCode(error, RenameFaultPath(error, from, to));
}

OsError LinkFile(const std::string& existing, const std::string& new_name) {
  if (::link(existing.c_str(), new_name.c_str()) == 0) return {};
  int error = errno;
  return OsError::FromCode(error, error == EEXIST ? new_name : existing);
}

OsError DeleteFile(const std::string& path, ReadOnlyFile read_only) {
  return DeleteFileAt(AT_FDCWD, path, read_only, path);
}

OsError DeleteFileAt(int directory_fd, const std::string& name, ReadOnlyFile read_only,
                     const std::string& shown_path) {
  struct stat existing;
  if (read_only == ReadOnlyFile::kRefuse &&
      ::fstatat(directory_fd, name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0 &&
      IsReadOnlyFile(existing)) {
    return OsError::FromCode(EACCES, shown_path);
  }
  if (::unlinkat(directory_fd, name.c_str(), 0) == 0) return {};
  return OsError::FromCode(errno, shown_path);
}

OsResult<std::string> GetCurrentDirectory() {
  std::string buffer(256, '\0');
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) return OsError::FromCode(errno, ".");
    buffer.resize(buffer.size() * 2);
  }
  buffer.resize(std::strlen(buffer.c_str()));
  return buffer;
}

}  // namespace brivant::platform

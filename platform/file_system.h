// Whole-file operations on the local file system: read, rewrite atomically,
// append, create directory trees, rename, delete. Actions and the host use
// these instead of calling the OS, so every failure reaches them as a value
// carrying the errno, its system text and the path concerned.
//
// Results follow one pattern. An operation that produces nothing returns an
// OsError, which is empty (false) on success. An operation that produces a
// value returns an OsResult<T> holding either the value or an OsError. Both
// are [[nodiscard]]: ignoring a failure is a compile warning. Questions whose
// "no" is an ordinary answer (does this file exist?) return a plain bool.
//
// A regular file without its owner's write bit is read-only, as Windows
// means it: it is not overwritten, appended to, replaced by a rename or
// deleted, and the result is EACCES ("Permission denied") even for root.
//
// All functions are safe to call from several threads; they share no state.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brivant::platform {

/// A failed OS call. `code` is the errno, `message` its system text
/// ("Permission denied"), `path` the file or directory the call was about.
struct [[nodiscard]] OsError {
  int code = 0;
  std::string message;
  std::string path;

  explicit operator bool() const { return code != 0; }

  /// "path: message", or just the message when there is no path.
  std::string Describe() const;

  /// The one place errors are built, so every error carries the system text.
  static OsError FromCode(int code, std::string path);
};

/// Either a value or the OsError that prevented it.
template <class T>
class [[nodiscard]] OsResult {
 public:
  // Implicit on purpose: a function returns `bytes` or an error alike.
  OsResult(T value) : value_(std::move(value)) {}
  OsResult(OsError error) : error_(std::move(error)) {
    assert(error_ && "an OsResult built from an error needs a non-zero code");
  }

  bool IsOk() const { return !error_; }
  const OsError& Error() const { return error_; }

  /// Only valid when IsOk().
  const T& Value() const& {
    assert(IsOk() && "Value() of a failed OsResult");
    return *value_;
  }
  T& Value() & {
    assert(IsOk() && "Value() of a failed OsResult");
    return *value_;
  }
  T&& Value() && {
    assert(IsOk() && "Value() of a failed OsResult");
    return std::move(*value_);
  }

 private:
  std::optional<T> value_;  // holds a value exactly when IsOk()
  OsError error_;
};

/// The whole content of a regular file. Reading a directory fails with EISDIR.
[[nodiscard]] OsResult<std::string> ReadFile(const std::string& path);

/// The whole content of a regular file of at most `max_bytes`, judged before
/// anything is read: anything but a regular file (a directory, a device, a
/// pipe; opening does not wait for a pipe's writer) fails with EINVAL, a
/// larger file with EFBIG. A file that grows past the limit while it is read
/// fails with EFBIG too.
[[nodiscard]] OsResult<std::string> ReadBoundedRegularFile(const std::string& path,
                                                           uint64_t max_bytes);

/// At most `max_bytes` from the start of a file: fewer when the file is
/// shorter. Used to look at a byte-order mark without reading the rest.
[[nodiscard]] OsResult<std::string> ReadFilePrefix(const std::string& path, size_t max_bytes);

enum class IfTargetExists { kReplace, kFail };

/// Writes `bytes` as the new content of `path` so that a reader, a crash or a
/// kill sees either the old or the new content, never a mix: the bytes go to
/// a fresh temporary file in the same directory, which is then renamed over
/// the target. On failure the temporary file is removed and an existing
/// target is untouched. An existing target keeps its permission bits; a new
/// one gets 0666 less the umask, as an ordinary create would. When `path` is
/// a symbolic link, the file it points to is rewritten and the link kept.
/// A target this process may not write is refused with EACCES, although the
/// rename alone would succeed. With kFail an existing target is left alone
/// and the result is EEXIST.
[[nodiscard]] OsError WriteFileAtomically(const std::string& path, std::string_view bytes,
                                          IfTargetExists if_exists = IfTargetExists::kReplace);

/// What AtomicFileWriter::AppendFile copied.
struct AppendedFile {
  uint64_t size = 0;
  char last_byte = 0;  // only meaningful when size > 0
};

/// A new content for `path` written piece by piece, with the guarantees of
/// WriteFileAtomically: the pieces go to a temporary file in the same
/// directory, and only Commit puts it in place. Dropping the writer without
/// a successful Commit removes the temporary file and leaves the target
/// untouched, so a failure half-way never shows.
class AtomicFileWriter {
 public:
  /// Refuses a read-only target (EACCES) and, with kFail, an existing one
  /// (EEXIST) before anything is written.
  [[nodiscard]] static OsResult<AtomicFileWriter> Begin(
      const std::string& path, IfTargetExists if_exists = IfTargetExists::kReplace);

  AtomicFileWriter(AtomicFileWriter&& other) noexcept;
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(AtomicFileWriter&&) = delete;
  ~AtomicFileWriter();

  [[nodiscard]] OsError Write(std::string_view bytes);

  /// Appends the content of the file `source` from byte `offset` on, in
  /// blocks, so memory stays flat in its size. A read failure names `source`.
  [[nodiscard]] OsResult<AppendedFile> AppendFile(const std::string& source, uint64_t offset = 0);

  /// Puts the new content in place. Once called, the writer is spent.
  [[nodiscard]] OsError Commit();

 private:
  AtomicFileWriter(std::string path, std::string target, std::string temporary, int fd,
                   IfTargetExists if_exists);
  void Discard();

  std::string path_;       // as the caller named it, for errors
  std::string target_;     // with a symbolic link resolved
  std::string temporary_;  // empty once committed or discarded
  int fd_ = -1;
  IfTargetExists if_exists_;
};

/// Adds `bytes` at the end of `path`, creating the file (0666 less the umask)
/// when it is missing. A failure part-way may leave some of the bytes written.
[[nodiscard]] OsError AppendToFile(const std::string& path, std::string_view bytes);

/// True for a regular file, following symbolic links. Any failure to look
/// (missing, no permission to search a parent) counts as "no".
[[nodiscard]] bool FileExists(const std::string& path);

/// True for a directory, following symbolic links; failures count as "no".
[[nodiscard]] bool DirectoryExists(const std::string& path);

/// Creates `path` and every missing parent, like `mkdir -p`. Existing
/// directories are fine. The error names the directory that could not be
/// created; a component that exists but is not a directory gives ENOTDIR.
/// `*created`, when given, tells whether this call made `path` itself.
[[nodiscard]] OsError CreateDirectories(const std::string& path, bool* created = nullptr);

/// Renames a file or directory with rename(2) semantics. With kFail an
/// existing target is never replaced and the result is EEXIST; on file
/// systems that cannot do that atomically the check and the rename are two
/// steps. With kReplace a read-only target gives EACCES. The error's path is the one the failure is
/// about: the source when it is missing, the target when it is in the way.
[[nodiscard]] OsError RenameFile(const std::string& from, const std::string& to,
                                 IfTargetExists if_exists);

/// Gives the file `existing` the second name `new_name` (a hard link; a
/// symbolic link is linked as a link). An existing `new_name` gives EEXIST;
/// file systems without hard links give EPERM or ENOTSUP.
[[nodiscard]] OsError LinkFile(const std::string& existing, const std::string& new_name);

enum class ReadOnlyFile { kRefuse, kDelete };

/// Removes a file; a symbolic link is removed as a link. A missing file is
/// an error (ENOENT) so callers can tell whether something was deleted. A
/// read-only file gives EACCES unless `read_only` is kDelete; it is then
/// unlinked as it is, never made writable first: another hard link to it may
/// live outside the tree being cleaned, and its mode must not change.
[[nodiscard]] OsError DeleteFile(const std::string& path,
                                 ReadOnlyFile read_only = ReadOnlyFile::kRefuse);
/// DeleteFile of `name` in the directory open as `directory_fd` (AT_FDCWD:
/// the working directory); errors name `shown_path`. For platform code that
/// holds a directory open.
[[nodiscard]] OsError DeleteFileAt(int directory_fd, const std::string& name,
                                   ReadOnlyFile read_only, const std::string& shown_path);

/// The process's working directory as an absolute path.
[[nodiscard]] OsResult<std::string> GetCurrentDirectory();

}  // namespace brivant::platform

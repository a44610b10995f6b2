// Whole-file operations of the file actions: copy with progress and cancel,
// move, directory create and remove, times and sizes, free space. Windows
// refusals are kept so that actions behave the same on every host: copying
// or moving over a read-only target and deleting a read-only file fail with
// EACCES ("Permission denied"), also for root.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/file_system.h"
#include "platform/regional_settings.h"

namespace brivant::platform {

/// Called as a copy goes on: bytes done so far and the file's size. Called at
/// least once, at the start, with 0 done.
using CopyProgress = std::function<void(uint64_t transferred, uint64_t total)>;

/// Copies a regular file in large chunks (copy_file_range where it works,
/// else read/write), keeping the last-write time, the mode and the DOS
/// attribute word (hidden, system, archive). With `fail_if_exists` an
/// existing target gives EEXIST. A read-only target gives EACCES, a
/// directory EISDIR; a source that is a pipe or device gives ENOTSUP. A
/// target that is a symbolic link is written through, keeping the link.
/// When `cancel` becomes true the copy stops with ECANCELED; `cancel` may be
/// null, and is looked at before every chunk. A target that is the source
/// under another name (a link to it, "./a", a hard link) gives EBUSY, as
/// the file is in use by the copy itself, and is left untouched. The copy is
/// written to a hidden temporary file beside the target (".NAME.copy-PID-N")
/// and renamed to the target's name only when complete. So after any failure
/// or kill an existing target is untouched and no partial file carries the
/// target's name; the first copy of a process into a directory removes the
/// temporary files that copies of ended processes left there. The
/// error names the file at fault: the source for reading it, the target for
/// writing or replacing it. `progress` may be empty; it is called at the
/// start and after every chunk. A source that reports size 0 (a /proc file)
/// is read to its end.
[[nodiscard]] OsError CopyFileWithProgress(const std::string& source, const std::string& target,
                                           bool fail_if_exists, const CopyProgress& progress,
                                           const std::atomic<bool>* cancel);

/// Moves a file: rename(2), or copy and delete across file systems. Without
/// `replace_existing` an existing target gives EEXIST; with it a read-only
/// target gives EACCES. A read-only source moves, as a rename would move it.
/// `progress` is called only when the move has to copy. Across file systems
/// a directory or symbolic link is not moved (EXDEV); when the source can't
/// be removed after its copy, both files stay and the error names the source.
[[nodiscard]] OsError MoveFileWithProgress(const std::string& source, const std::string& target,
                                           bool replace_existing, const CopyProgress& progress);

/// Creates one directory (0777 less the umask); the parent must exist, and
/// an existing directory gives EEXIST.
[[nodiscard]] OsError CreateDirectory(const std::string& path);

/// Removes an empty directory (ENOTEMPTY otherwise). A symbolic link to a
/// directory is removed as a link, never what it points to; any other link
/// gives ENOTDIR.
[[nodiscard]] OsError RemoveDirectory(const std::string& path);

/// Changes the process's working directory.
[[nodiscard]] OsError SetCurrentDirectory(const std::string& path);

/// Size in bytes of a file (following links); a directory gives EISDIR.
[[nodiscard]] OsResult<uint64_t> GetFileSize(const std::string& path);

/// The last-write time of `path` in local time / sets it (also the access
/// time) from local time; both follow links. A date or time that does not
/// exist (31 February, minute 60) gives EINVAL rather than another date.
[[nodiscard]] OsResult<LocalTime> GetLastWriteTime(const std::string& path);
[[nodiscard]] OsError SetLastWriteTime(const std::string& path, const LocalTime& time);

struct DiskSpace {
  uint64_t total_bytes = 0;
  uint64_t free_bytes = 0;       // free for everyone
  uint64_t available_bytes = 0;  // free for this user
};

/// Space of the file system holding `path` (statvfs).
[[nodiscard]] OsResult<DiskSpace> GetDiskSpace(const std::string& path);

}  // namespace brivant::platform

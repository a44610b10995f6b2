// Reading directories: the entries of one directory sorted by name, and a
// depth-first walk of a tree built on it. Sorting by name (byte order) makes
// everything built on these listings (file sets, package discovery) come out
// the same from run to run, whatever order the file system keeps.
//
// Symbolic links are reported as links, with the type of what they point to
// beside it; the walk never descends through a link, so a link cycle cannot
// trap it. The functions share no state and may be called from several
// threads at once.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/file_system.h"

namespace brivant::platform {

enum class EntryType {
  kFile,  // a regular file
  kDirectory,
  kSymlink,
  kOther,  // a device, socket or pipe; for a link target: a dangling link
};

struct DirectoryEntry {
  std::string name;
  /// The entry itself, as lstat sees it.
  EntryType type = EntryType::kOther;
  /// For a symbolic link what it points to (kOther when it points nowhere);
  /// for any other entry the same as `type`.
  EntryType target_type = EntryType::kOther;
};

/// The entries of `path`, sorted by name in byte order, without "." and "..".
/// Fails with the OS error of opening or reading the directory (ENOENT,
/// ENOTDIR, EACCES), naming `path`.
[[nodiscard]] OsResult<std::vector<DirectoryEntry>> ListDirectory(const std::string& path);

/// A directory held open while its entries are listed and files in it are
/// removed: each name is looked up in the directory that was opened, however
/// its path changes meanwhile (a directory swapped for a link cannot send a
/// removal elsewhere), and without walking the whole path again.
class OpenDirectory {
 public:
  /// Opens `path`, a link to a directory included; errors as ListDirectory.
  [[nodiscard]] static OsResult<OpenDirectory> Open(const std::string& path);
  OpenDirectory(OpenDirectory&& other) noexcept;
  OpenDirectory& operator=(OpenDirectory&&) = delete;
  ~OpenDirectory();

  /// The entries as ListDirectory gives them.
  [[nodiscard]] OsResult<std::vector<DirectoryEntry>> List() const;
  /// DeleteFile of the entry `name`; errors name the entry's path.
  [[nodiscard]] OsError DeleteFile(const std::string& name, ReadOnlyFile read_only) const;

 private:
  OpenDirectory(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}

  int fd_;
  std::string path_;
};

/// Called for every entry of a walk with its path relative to the root
/// ("sub/file.txt") and the entry. For a directory (not a link to one) the
/// result says whether to walk into it; for other entries it is ignored.
using WalkVisitor =
    std::function<bool(const std::string& relative_path, const DirectoryEntry& entry)>;

/// Visits the tree under `root` depth first: each directory's entries in name
/// order, a directory's content right after the directory itself. Stops at
/// the first directory that cannot be read and returns its error; entries
/// visited before then have been reported.
[[nodiscard]] OsError WalkDirectory(const std::string& root, const WalkVisitor& visit);

}  // namespace brivant::platform

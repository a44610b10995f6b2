// Where a path really leads: whether two names are one file, whether a path
// lies inside a directory, whether it reaches the root directory, whether a
// directory is a mount point. The file actions ask these before they copy,
// move, delete or change anything, so that a second name for a file (a
// symbolic or hard link, "./a", "d/../a") cannot make them destroy their own
// source or work outside what they were given.
//
// The answers are taken at the moment of the call; another process can
// change the tree right after. Safe to call from several threads.
#pragma once

#include <string>

namespace brivant::platform {

/// True when `a` and `b` both exist and are one file (device and inode),
/// symbolic links followed.
[[nodiscard]] bool IsSameFile(const std::string& a, const std::string& b);

/// True when `path` is `directory` or lies below it, judged by device and
/// inode of `path`'s existing ancestors, links followed: "l/sub" is inside
/// "d" when "l" links to "d". False when `directory` does not exist.
[[nodiscard]] bool IsSameOrInsideDirectory(const std::string& path, const std::string& directory);

/// True when `path` leads to "/" itself or to an entry right in it ("/*",
/// "/etc", "%EMPTY%/.."): made absolute, with its existing part resolved
/// through links and the rest taken lexically. The last component may be a
/// mask.
[[nodiscard]] bool IsRootOrRootEntry(const std::string& path);

/// True when `path` is a directory on which a file system is mounted, a bind
/// mount of a directory of the same file system included; not following a
/// link in its last component. False when it cannot be examined.
[[nodiscard]] bool IsMountPoint(const std::string& path);

}  // namespace brivant::platform

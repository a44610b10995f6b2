#include "platform/file_identity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cstdlib>
#include <filesystem>

#include "platform/paths.h"

namespace brivant::platform {
namespace {

bool SameIdentity(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string ParentOf(const std::string& absolute_path) {
  size_t slash = absolute_path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : absolute_path.substr(0, slash);
}

// `absolute_path` with its longest existing prefix resolved by realpath and
// the rest appended as it stands.
std::string ResolveExistingPart(const std::string& absolute_path) {
  std::string head = absolute_path;
  std::string tail;
  while (true) {
    if (char* resolved = ::realpath(head.c_str(), nullptr)) {
      std::string result = resolved;
      std::free(resolved);
      if (tail.empty()) return result;
      return WithoutTrailingSlashes(result) + (result == "/" ? "" : "/") + tail.substr(1);
    }
    if (head == "/") return absolute_path;
    size_t slash = head.rfind('/');
    tail = head.substr(slash) + tail;
    head = slash == 0 ? "/" : head.substr(0, slash);
  }
}

}  // namespace

bool IsSameFile(const std::string& a, const std::string& b) {
  struct stat first;
  struct stat second;
  return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
         SameIdentity(first, second);
}

bool IsSameOrInsideDirectory(const std::string& path, const std::string& directory) {
  struct stat wanted;
  if (::stat(directory.c_str(), &wanted) != 0) return false;
  // Lexical ".." would skip the directory a link leads into; the resolved
  // form walks up through what is really there.
  std::string current = ResolveExistingPart(AbsoluteNormalPath(path));
  while (true) {
    struct stat info;
    if (::stat(current.c_str(), &info) == 0 && SameIdentity(info, wanted)) return true;
    if (current == "/") return false;
    current = ParentOf(current);
  }
}

bool IsRootOrRootEntry(const std::string& path) {
  std::string resolved = std::filesystem::path(ResolveExistingPart(AbsoluteNormalPath(path)))
                             .lexically_normal()
                             .string();
  resolved = WithoutTrailingSlashes(resolved);
  return resolved == "/" || ParentOf(resolved) == "/";
}

bool IsMountPoint(const std::string& path) {
  struct statx info;
  if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_INO, &info) != 0) {
    return false;
  }
  if (!S_ISDIR(info.stx_mode)) return false;
  if ((info.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0) {
    return (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  }
  // Older kernels: a mount of another file system at least changes the device.
  struct stat parent;
  if (::stat((path + "/..").c_str(), &parent) != 0) return false;
  return parent.st_dev != makedev(info.stx_dev_major, info.stx_dev_minor);
}

}  // namespace brivant::platform

#include "platform/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace brivant::platform {
namespace {

EntryType TypeOfMode(mode_t mode) {
  if (S_ISREG(mode)) return EntryType::kFile;
  if (S_ISDIR(mode)) return EntryType::kDirectory;
  if (S_ISLNK(mode)) return EntryType::kSymlink;
  return EntryType::kOther;
}

// d_type saves a stat per entry on the file systems that fill it in; the
// others report DT_UNKNOWN and get the stat.
EntryType TypeOfEntry(int directory_fd, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return EntryType::kFile;
    case DT_DIR:
      return EntryType::kDirectory;
    case DT_LNK:
      return EntryType::kSymlink;
    case DT_UNKNOWN:
      break;
    default:
      return EntryType::kOther;
  }
  struct stat info;
  if (::fstatat(directory_fd, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0)
    return EntryType::kOther;
  return TypeOfMode(info.st_mode);
}

EntryType TypeOfLinkTarget(int directory_fd, const char* name) {
  struct stat info;
  if (::fstatat(directory_fd, name, &info, 0) != 0) return EntryType::kOther;
  return TypeOfMode(info.st_mode);
}

class DirectoryStream {
 public:
  explicit DirectoryStream(const std::string& path) : stream_(::opendir(path.c_str())) {}
  ~DirectoryStream() {
    if (stream_ != nullptr) ::closedir(stream_);
  }
  DirectoryStream(const DirectoryStream&) = delete;
  DirectoryStream& operator=(const DirectoryStream&) = delete;

  DIR* Get() const { return stream_; }

 private:
  DIR* stream_;
};

bool IsDotOrDotDot(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

OsError WalkInto(const std::string& root, const std::string& relative, const WalkVisitor& visit) {
  std::string path = relative.empty() ? root : root + "/" + relative;
  OsResult<std::vector<DirectoryEntry>> listing = ListDirectory(path);
  if (!listing.IsOk()) return listing.Error();
  for (const DirectoryEntry& entry : listing.Value()) {
    std::string entry_path = relative.empty() ? entry.name : relative + "/" + entry.name;
    bool descend = visit(entry_path, entry);
    if (entry.type != EntryType::kDirectory || !descend) continue;
    if (OsError error = WalkInto(root, entry_path, visit)) return error;
  }
  return {};
}

}  // namespace

OsResult<std::vector<DirectoryEntry>> ListDirectory(const std::string& path) {
  DirectoryStream stream(path);
  if (stream.Get() == nullptr) return OsError::FromCode(errno, path);
  int directory_fd = ::dirfd(stream.Get());
  std::vector<DirectoryEntry> entries;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(stream.Get());
    if (entry == nullptr) {
      if (errno != 0) return OsError::FromCode(errno, path);
      break;
    }
    if (IsDotOrDotDot(entry->d_name)) continue;
    DirectoryEntry item;
    item.name = entry->d_name;
    item.type = TypeOfEntry(directory_fd, *entry);
    item.target_type = item.type == EntryType::kSymlink
                           ? TypeOfLinkTarget(directory_fd, entry->d_name)
                           : item.type;
    entries.push_back(std::move(item));
  }
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return entries;
}

OsError WalkDirectory(const std::string& root, const WalkVisitor& visit) {
  return WalkInto(root, "", visit);
}

}  // namespace brivant::platform

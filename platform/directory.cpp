#include "platform/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

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
  explicit DirectoryStream(DIR* stream) : stream_(stream) {}
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

OsResult<std::vector<DirectoryEntry>> ListStream(const DirectoryStream& stream,
                                                 const std::string& path) {
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

}  // namespace

OsResult<std::vector<DirectoryEntry>> ListDirectory(const std::string& path) {
  return ListStream(DirectoryStream(path), path);
}

OsResult<OpenDirectory> OpenDirectory::Open(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return OsError::FromCode(errno, path);
  return OpenDirectory(fd, path);
}

OpenDirectory::OpenDirectory(OpenDirectory&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), path_(std::move(other.path_)) {}

OpenDirectory::~OpenDirectory() {
  if (fd_ >= 0) ::close(fd_);
}

OsResult<std::vector<DirectoryEntry>> OpenDirectory::List() const {
  // The stream takes a descriptor of its own; it shares the position, so it
  // starts from the top.
  int fd = ::dup(fd_);
  if (fd < 0) return OsError::FromCode(errno, path_);
  DIR* stream = ::fdopendir(fd);
  if (stream == nullptr) {
    int error = errno;
    ::close(fd);
    return OsError::FromCode(error, path_);
  }
  ::rewinddir(stream);
  return ListStream(DirectoryStream(stream), path_);
}

OsError OpenDirectory::DeleteFile(const std::string& name, ReadOnlyFile read_only) const {
  return DeleteFileAt(fd_, name, read_only, path_ + "/" + name);
}

OsError WalkDirectory(const std::string& root, const WalkVisitor& visit) {
  return WalkInto(root, "", visit);
}

}  // namespace brivant::platform

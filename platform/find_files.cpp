#include "platform/find_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/file_mask.h"

namespace brivant::platform {
namespace {

// The bits that hide an entry from a search whose mask lacks them.
constexpr uint32_t kExcludingBits =
    kFileAttributeHidden | kFileAttributeSystem | kFileAttributeVolume | kFileAttributeDirectory;

int64_t Nanoseconds(const struct timespec& time) {
  return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

bool IsFilteredOut(uint32_t attributes, uint32_t attribute_mask) {
  return (attributes & kExcludingBits & ~attribute_mask) != 0;
}

// Describes entries of one directory. The path buffer is reused from entry
// to entry, so describing an entry allocates nothing beyond its name.
class EntryDescriber {
 public:
  EntryDescriber(std::string prefix, uint32_t attribute_mask, bool read_stored_bits)
      : path_(prefix),
        prefix_(std::move(prefix)),
        attribute_mask_(attribute_mask),
        read_stored_bits_(read_stored_bits) {}

  // Fills `entry` for `name`, looked up relative to `directory_fd` (or
  // AT_FDCWD with the prefix), all but the stored bits of the DOS attribute
  // word; `needs_word` tells whether those are still to be read (see
  // AddWords). Returns 0 or the errno of the lstat.
  int Describe(int directory_fd, const char* name, FoundEntry* entry, bool* needs_word) {
    path_.resize(prefix_.size());
    path_ += name;
    const char* at = directory_fd == AT_FDCWD ? path_.c_str() : name;
    struct stat info;
    if (::fstatat(directory_fd, at, &info, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    bool link_to_directory = false;
    if (S_ISLNK(info.st_mode)) {
      // A link is described by what a copy would read through it.
      struct stat target;
      if (::fstatat(directory_fd, at, &target, 0) == 0) {
        link_to_directory = S_ISDIR(target.st_mode);
        info.st_size = target.st_size;
        info.st_mtim = target.st_mtim;
      }
    }
    entry->attributes = AttributesFromMode(path_, info.st_mode, link_to_directory, false);
    *needs_word = read_stored_bits_ && CanHaveStoredBits(info.st_mode);
    entry->size = entry->IsDirectory() ? 0 : static_cast<uint64_t>(info.st_size);
    entry->last_write_ns = Nanoseconds(info.st_mtim);
    return 0;
  }

  // Fills `entry` for a regular file or directory without an lstat: only
  // the kind and the name's HIDDEN; the stored bits as with Describe.
  void DescribeKnownKind(const char* name, bool is_directory, FoundEntry* entry, bool* needs_word) {
    path_.resize(prefix_.size());
    path_ += name;
    // Owner-writable, so that READONLY, which was not looked at, stays clear.
    uint32_t mode = (is_directory ? S_IFDIR : S_IFREG) | S_IWUSR;
    entry->attributes = AttributesFromMode(path_, mode, false, false);
    *needs_word = read_stored_bits_;
    entry->size = 0;
    entry->last_write_ns = 0;
  }

  // Adds the stored bits to entries described with `needs_word`, all of the
  // directory open as `directory_fd`, through `reader`: reading them is
  // most of a listing's cost, and a reader spares the kernel the walk of the
  // whole path per entry.
  void AddWords(int directory_fd, const std::vector<FoundEntry*>& entries,
                AttributeWordReader* reader) const {
    if (entries.empty()) return;
    std::vector<const char*> names;
    names.reserve(entries.size());
    for (const FoundEntry* entry : entries) names.push_back(entry->name.c_str());
    std::vector<uint32_t> bits(entries.size());
    reader->Read(directory_fd, prefix_, names.data(), names.size(), bits.data());
    for (size_t i = 0; i < entries.size(); ++i) {
      entries[i]->attributes = WithStoredBits(entries[i]->attributes, bits[i]);
    }
  }

  // Adds the stored bits to one entry described with `needs_word`.
  void AddWordByPath(FoundEntry* entry) {
    path_.resize(prefix_.size());
    path_ += entry->name;
    entry->attributes = WithStoredBits(entry->attributes, ReadStoredAttributeBits(path_.c_str()));
  }

  bool Admits(const FoundEntry& entry) const {
    return !IsFilteredOut(entry.attributes, attribute_mask_);
  }

 private:
  std::string path_;
  std::string prefix_;
  uint32_t attribute_mask_;
  bool read_stored_bits_;
};

// Owns the descriptor it is given, also when fdopendir fails.
class DirectoryStream {
 public:
  explicit DirectoryStream(int fd) : stream_(fd >= 0 ? ::fdopendir(fd) : nullptr) {
    if (fd >= 0 && stream_ == nullptr) ::close(fd);
  }
  ~DirectoryStream() {
    if (stream_ != nullptr) ::closedir(stream_);
  }
  DirectoryStream(const DirectoryStream&) = delete;
  DirectoryStream& operator=(DirectoryStream&& other) noexcept {
    std::swap(stream_, other.stream_);
    return *this;
  }

  DIR* Get() const { return stream_; }

 private:
  DIR* stream_;
};

// A name without wildcards is looked up directly: a big directory need not
// be read to find one file.
OsResult<std::vector<FoundEntry>> FindOne(const std::string& file_spec,
                                          const std::string& directory, std::string_view name,
                                          EntryDescriber* describer) {
  std::vector<FoundEntry> found;
  FoundEntry entry;
  entry.name = name;
  bool needs_word = false;
  int error = describer->Describe(AT_FDCWD, entry.name.c_str(), &entry, &needs_word);
  if (error == ENOENT || error == ENOTDIR) return found;
  if (error == EACCES) return OsError::FromCode(error, directory);
  if (error != 0) return OsError::FromCode(error, file_spec);
  if (needs_word) describer->AddWordByPath(&entry);
  if (describer->Admits(entry)) found.push_back(std::move(entry));
  return found;
}

// The names of `directory` that match `mask`, or the error of reading it.
// A directory that does not exist, or a file in its place, has none.
// With `kinds`, each name's kind as the directory reports it (d_type) goes
// there, one per entry.
OsResult<std::vector<FoundEntry>> ReadMatchingNames(const std::string& directory,
                                                    const FileMask& mask, DirectoryStream* stream,
                                                    std::vector<unsigned char>* kinds) {
  std::vector<FoundEntry> found;
  int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0 && (errno == ENOENT || errno == ENOTDIR)) return found;
  if (fd < 0) return OsError::FromCode(errno, directory);
  *stream = DirectoryStream(fd);
  if (stream->Get() == nullptr) return OsError::FromCode(errno, directory);
  while (true) {
    errno = 0;
    const dirent* item = ::readdir(stream->Get());
    if (item == nullptr) {
      if (errno != 0) return OsError::FromCode(errno, directory);
      return found;
    }
    if (!mask.Matches(item->d_name)) continue;
    found.emplace_back().name = item->d_name;
    if (kinds != nullptr) kinds->push_back(item->d_type);
  }
}

// Describes entries [begin, end); an entry that vanished since it was
// listed, or that the attribute mask leaves out, gets kDropped. Returns the
// first lstat error, naming its entry.
constexpr uint32_t kDropped = 0xFFFFFFFF;

// With `kinds` (parallel to the entries), regular files and directories are
// described from their kind alone. The stored bits are read only for entries
// the mask admits without them, as they only add bits that leave entries
// out: through a reader last, in one list; without one each right after its
// lstat, while the kernel has the entry at hand.
OsError DescribeRange(int directory_fd, const std::string& directory, EntryDescriber describer,
                      FoundEntry* begin, FoundEntry* end, const unsigned char* kinds,
                      AttributeWordReader* reader) {
  std::vector<FoundEntry*> wanting_words;
  for (FoundEntry* entry = begin; entry != end; ++entry) {
    unsigned char kind = kinds != nullptr ? kinds[entry - begin] : static_cast<unsigned char>(DT_UNKNOWN);
    bool needs_word = false;
    if (kind == DT_REG || kind == DT_DIR) {
      describer.DescribeKnownKind(entry->name.c_str(), kind == DT_DIR, entry, &needs_word);
    } else {
      int error = describer.Describe(directory_fd, entry->name.c_str(), entry, &needs_word);
      if (error != 0 && error != ENOENT)
        return OsError::FromCode(error, directory + "/" + entry->name);
      if (error == ENOENT) {
        entry->attributes = kDropped;
        continue;
      }
    }
    if (!describer.Admits(*entry)) {
      entry->attributes = kDropped;
      continue;
    }
    if (!needs_word) continue;
    if (reader != nullptr) {
      wanting_words.push_back(entry);
      continue;
    }
    describer.AddWordByPath(entry);
    if (!describer.Admits(*entry)) entry->attributes = kDropped;
  }
  describer.AddWords(directory_fd, wanting_words, reader);
  for (FoundEntry* entry : wanting_words) {
    if (!describer.Admits(*entry)) entry->attributes = kDropped;
  }
  return {};
}

const unsigned char* KindsAt(const std::vector<unsigned char>* kinds, size_t index) {
  return kinds != nullptr ? kinds->data() + index : nullptr;
}

// Each entry costs two system calls (lstat and the DOS attribute word) of a
// couple of microseconds; a large directory shares them among threads.
constexpr size_t kEntriesPerThread = 8192;
constexpr unsigned kMaxThreads = 4;

OsError DescribeAll(int directory_fd, const std::string& directory, const EntryDescriber& describer,
                    std::vector<FoundEntry>* entries, const std::vector<unsigned char>* kinds,
                    AttributeWordReader* reader) {
  unsigned hardware = std::max(1u, std::thread::hardware_concurrency());
  size_t wanted = entries->size() / kEntriesPerThread + 1;
  size_t thread_count = std::min<size_t>({wanted, hardware, kMaxThreads});
  size_t share = (entries->size() + thread_count - 1) / thread_count;
  std::vector<OsError> errors(thread_count);
  std::vector<std::thread> helpers;
  helpers.reserve(thread_count);
  FoundEntry* data = entries->data();
  for (size_t part = 1; part < thread_count; ++part) {
    FoundEntry* begin = data + std::min(entries->size(), part * share);
    FoundEntry* end = data + std::min(entries->size(), (part + 1) * share);
    const unsigned char* part_kinds = KindsAt(kinds, static_cast<size_t>(begin - data));
    auto describe_part = [&, part, begin, end, part_kinds] {
      errors[part] =
          DescribeRange(directory_fd, directory, describer, begin, end, part_kinds, reader);
    };
    try {
      helpers.emplace_back(describe_part);
    } catch (const std::system_error&) {
      describe_part();  // no thread to be had: this one does the share
    }
  }
  errors[0] = DescribeRange(directory_fd, directory, describer, data,
                            data + std::min(entries->size(), share), KindsAt(kinds, 0), reader);
  for (std::thread& helper : helpers) helper.join();
  for (OsError& error : errors) {
    if (error) return std::move(error);
  }
  return {};
}

OsResult<std::vector<FoundEntry>> FindMatching(const std::string& directory, std::string_view mask,
                                               const EntryDescriber& describer,
                                               bool kinds_from_directory,
                                               AttributeWordReader* reader) {
  DirectoryStream stream(-1);
  std::vector<unsigned char> kinds;
  std::vector<unsigned char>* kinds_wanted = kinds_from_directory ? &kinds : nullptr;
  OsResult<std::vector<FoundEntry>> names =
      ReadMatchingNames(directory, FileMask(mask), &stream, kinds_wanted);
  if (!names.IsOk() || names.Value().empty()) return names;
  std::vector<FoundEntry> found = std::move(names).Value();
  if (OsError error =
          DescribeAll(::dirfd(stream.Get()), directory, describer, &found, kinds_wanted, reader)) {
    return error;
  }
  found.erase(std::remove_if(found.begin(), found.end(),
                             [](const FoundEntry& entry) { return entry.attributes == kDropped; }),
              found.end());
  std::sort(found.begin(), found.end(),
            [](const FoundEntry& a, const FoundEntry& b) { return a.name < b.name; });
  return found;
}

}  // namespace

OsResult<std::vector<FoundEntry>> FindFiles(const std::string& file_spec, uint32_t attribute_mask,
                                            FindDetail detail, AttributeWordReader* reader) {
  size_t slash = file_spec.rfind('/');
  std::string directory = ".";
  std::string prefix;
  if (slash != std::string::npos) {
    directory = slash == 0 ? "/" : file_spec.substr(0, slash);
    prefix = file_spec.substr(0, slash + 1);
  }
  std::string_view mask = std::string_view(file_spec).substr(prefix.size());
  if (mask.empty()) return std::vector<FoundEntry>();
  const uint32_t filter_bits = kFileAttributeHidden | kFileAttributeSystem;
  bool read_stored_bits =
      detail == FindDetail::kFull || (attribute_mask & filter_bits) != filter_bits;
  EntryDescriber describer(std::move(prefix), attribute_mask, read_stored_bits);
  if (!HasWildcards(mask)) return FindOne(file_spec, directory, mask, &describer);
  return FindMatching(directory, mask, describer, detail == FindDetail::kNamesAndKinds, reader);
}

}  // namespace brivant::platform

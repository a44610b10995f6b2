#include "platform/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

// Large enough that the per-read cost vanishes, small enough that a block
// handed to a checksum is still in the core's cache when it is hashed.
constexpr size_t kBlockSize = 512 * 1024;

struct FreeDeleter {
  void operator()(uint8_t* bytes) const { std::free(bytes); }
};

// Opens a file for reading; a directory is refused as reading one would be.
OsResult<int> OpenForReading(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return OsError::FromCode(errno, path);
  struct stat info;
  int error = ::fstat(fd, &info) != 0 ? errno : (S_ISDIR(info.st_mode) ? EISDIR : 0);
  if (error == 0) return fd;
  ::close(fd);
  return OsError::FromCode(error, path);
}

// Reads into `buffer` until it is full or the file ends; the byte count, or
// -errno.
ssize_t ReadFull(int fd, uint8_t* buffer, size_t size, off_t offset, bool positioned) {
  size_t done = 0;
  while (done < size) {
    ssize_t got = positioned ? ::pread(fd, buffer + done, size - done, offset + off_t(done))
                             : ::read(fd, buffer + done, size - done);
    if (got < 0) {
      if (errno == EINTR) continue;
      return -errno;
    }
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

}  // namespace

OsError ReadFileInBlocks(const std::string& path, const BlockConsumer& consume) {
  OsResult<int> opened = OpenForReading(path);
  if (!opened.IsOk()) return opened.Error();
  FileDescriptor file(opened.Value());
  ::posix_fadvise(file.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  std::unique_ptr<uint8_t, FreeDeleter> buffer(
      static_cast<uint8_t*>(std::aligned_alloc(4096, kBlockSize)));
  if (!buffer) return OsError::FromCode(ENOMEM, path);
  for (;;) {
    ssize_t got = ReadFull(file.Get(), buffer.get(), kBlockSize, 0, /*positioned=*/false);
    if (got < 0) return OsError::FromCode(static_cast<int>(-got), path);
    if (got > 0) consume(buffer.get(), static_cast<size_t>(got));
    if (static_cast<size_t>(got) < kBlockSize) return {};
  }
}

OsResult<std::string> ReadFileRange(const std::string& path, uint64_t offset, size_t max_bytes) {
  OsResult<int> opened = OpenForReading(path);
  if (!opened.IsOk()) return opened.Error();
  FileDescriptor file(opened.Value());
  struct stat info;
  if (::fstat(file.Get(), &info) != 0) return OsError::FromCode(errno, path);
  uint64_t size = static_cast<uint64_t>(info.st_size);
  if (offset >= size) return std::string();
  size_t wanted = static_cast<size_t>(std::min<uint64_t>(max_bytes, size - offset));
  std::string bytes(wanted, '\0');
  ssize_t got = ReadFull(file.Get(), reinterpret_cast<uint8_t*>(bytes.data()), wanted,
                         static_cast<off_t>(offset), /*positioned=*/true);
  if (got < 0) return OsError::FromCode(static_cast<int>(-got), path);
  bytes.resize(static_cast<size_t>(got));
  return bytes;
}

}  // namespace brivant::platform

#include "platform/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

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

// Two buffers: a reader thread fills one while the consumer works on the
// other, so that copying from the page cache overlaps the hashing. Blocks are
// handed over strictly in file order.
class ReadAhead {
 public:
  explicit ReadAhead(int fd) : fd_(fd) {
    for (auto& block : blocks_) {
      block.bytes.reset(static_cast<uint8_t*>(std::aligned_alloc(4096, kBlockSize)));
    }
  }
  ~ReadAhead() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    changed_.notify_all();
    if (reader_.joinable()) reader_.join();
  }
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  bool Allocated() const { return blocks_[0].bytes && blocks_[1].bytes; }
  void Start() {
    reader_ = std::thread([this] { ReadAll(); });
  }

  // Runs `consume` on every block; 0 or the errno of a failed read.
  int ConsumeAll(const BlockConsumer& consume) {
    for (size_t n = 0;; ++n) {
      Block& block = blocks_[n % 2];
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return filled_ > 0; });
      }
      if (block.size < 0) return static_cast<int>(-block.size);
      if (block.size > 0) consume(block.bytes.get(), static_cast<size_t>(block.size));
      if (static_cast<size_t>(block.size) < kBlockSize) return 0;
      {
        std::lock_guard<std::mutex> lock(mutex_);
        --filled_;
      }
      changed_.notify_all();
    }
  }

 private:
  struct Block {
    std::unique_ptr<uint8_t, FreeDeleter> bytes;
    ssize_t size = 0;  // bytes read; below kBlockSize for the last; -errno on failure
  };

  void ReadAll() {
    for (size_t n = 0;; ++n) {
      Block& block = blocks_[n % 2];
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return filled_ < 2 || stopping_; });
        if (stopping_) return;
      }
      block.size = ReadFull(fd_, block.bytes.get(), kBlockSize, 0, /*positioned=*/false);
      {
        std::lock_guard<std::mutex> lock(mutex_);
        ++filled_;
      }
      changed_.notify_all();
      if (block.size < static_cast<ssize_t>(kBlockSize)) return;
    }
  }

  int fd_;
  Block blocks_[2];
  std::mutex mutex_;
  std::condition_variable changed_;
  int filled_ = 0;  // blocks read and not yet consumed
  bool stopping_ = false;
  std::thread reader_;
};

}  // namespace

OsError ReadFileInBlocks(const std::string& path, const BlockConsumer& consume) {
  OsResult<int> opened = OpenForReading(path);
  if (!opened.IsOk()) return opened.Error();
  FileDescriptor file(opened.Value());
  ::posix_fadvise(file.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  struct stat info;
  bool small = ::fstat(file.Get(), &info) == 0 && S_ISREG(info.st_mode) &&
               static_cast<uint64_t>(info.st_size) < kBlockSize;
  // A thread would cost more than it saves on a file of one block.
  if (small) {
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
  ReadAhead read_ahead(file.Get());
  if (!read_ahead.Allocated()) return OsError::FromCode(ENOMEM, path);
  read_ahead.Start();
  if (int error = read_ahead.ConsumeAll(consume)) return OsError::FromCode(error, path);
  return {};
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

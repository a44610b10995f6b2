#include "platform/file_reading.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "tests/support/test_host.h"

namespace brivant::platform {
namespace {

using brivant::testing::ScopedTempDir;
using brivant::testing::WriteBytes;

std::string Pattern(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

// Sizes on both sides of the one-block fast path and of block boundaries
// (the block size is not part of the contract, so several are tried).
TEST(ReadFileInBlocks, BlocksJoinToTheWholeFileInOrder) {
  ScopedTempDir dir;
  for (size_t size : {size_t{0}, size_t{1}, size_t{65535}, size_t{262144}, size_t{524287},
                      size_t{524288}, size_t{524289}, size_t{1048576}, size_t{3 << 20} + 5}) {
    SCOPED_TRACE(size);
    std::string expected = Pattern(size);
    WriteBytes(dir.Join("data.bin"), expected);
    std::string joined;
    int calls = 0;
    OsError error = ReadFileInBlocks(dir.Join("data.bin"), [&](const uint8_t* data, size_t n) {
      joined.append(reinterpret_cast<const char*>(data), n);
      ++calls;
    });
    ASSERT_FALSE(error) << error.Describe();
    EXPECT_EQ(joined, expected);
    EXPECT_EQ(calls == 0, size == 0);
  }
}

TEST(ReadFileInBlocks, ConsumerExceptionStopsTheReadAndPropagates) {
  ScopedTempDir dir;
  WriteBytes(dir.Join("data.bin"), Pattern(8 << 20));
  size_t seen = 0;
  EXPECT_THROW(
      {
        (void)ReadFileInBlocks(dir.Join("data.bin"), [&](const uint8_t*, size_t n) {
          seen += n;
          if (seen > (1 << 20)) throw std::runtime_error("enough");
        });
      },
      std::runtime_error);
  EXPECT_LT(seen, size_t{8 << 20});
}

TEST(ReadFileInBlocks, MissingFilesAndDirectoriesAreErrors) {
  ScopedTempDir dir;
  auto ignore = [](const uint8_t*, size_t) {};
  EXPECT_EQ(ReadFileInBlocks(dir.Join("missing"), ignore).code, ENOENT);
  EXPECT_EQ(ReadFileInBlocks(dir.path(), ignore).code, EISDIR);
  // A regular file whose every read fails, for root as well.
  OsError error = ReadFileInBlocks("/proc/self/mem", ignore);
  EXPECT_EQ(error.code, EIO);
  EXPECT_EQ(error.path, "/proc/self/mem");
}

TEST(ReadFileRange, ReadsWhatLiesInsideTheFile) {
  ScopedTempDir dir;
  WriteBytes(dir.Join("data.bin"), "0123456789");
  struct Case {
    uint64_t offset;
    size_t size;
    const char* expected;
  } cases[] = {{0, 4, "0123"}, {8, 4, "89"}, {10, 4, ""}, {uint64_t{1} << 40, 4, ""}};
  for (const Case& c : cases) {
    OsResult<std::string> read = ReadFileRange(dir.Join("data.bin"), c.offset, c.size);
    ASSERT_TRUE(read.IsOk()) << c.offset;
    EXPECT_EQ(read.Value(), c.expected) << c.offset;
  }
  EXPECT_EQ(ReadFileRange(dir.Join("missing"), 0, 4).Error().code, ENOENT);
}

}  // namespace
}  // namespace brivant::platform

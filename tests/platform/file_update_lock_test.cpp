#include "platform/file_update_lock.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/platform/temp_dir.h"

namespace brivant::platform {
namespace {

using FileUpdateLockTest = TempDirTest;

// Four writers each add one to a counter 200 times, every add a read and an
// atomic rewrite; without the lock, rewrites overtake each other and the total
// falls short.
TEST_F(FileUpdateLockTest, ConcurrentRewritesLoseNoUpdate) {
  std::string counter = root_ + "/counter.txt";
  ASSERT_FALSE(WriteFileAtomically(counter, "0"));
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([&counter] {
      for (int i = 0; i < 200; ++i) {
        OsResult<FileUpdateLock> lock = FileUpdateLock::Acquire(counter);
        ASSERT_TRUE(lock.IsOk()) << lock.Error().Describe();
        int value = std::stoi(ReadFile(counter).Value());
        ASSERT_FALSE(WriteFileAtomically(counter, std::to_string(value + 1)));
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(ReadFile(counter).Value(), "800");
}

TEST_F(FileUpdateLockTest, MissingDirectoryIsAnError) {
  OsResult<FileUpdateLock> lock = FileUpdateLock::Acquire(root_ + "/missing/file.ini");
  ASSERT_FALSE(lock.IsOk());
  EXPECT_EQ(lock.Error().code, ENOENT);
  EXPECT_EQ(lock.Error().path, root_ + "/missing");
}

}  // namespace
}  // namespace brivant::platform

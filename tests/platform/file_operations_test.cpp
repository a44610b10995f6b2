#include "platform/file_operations.h"

#include <fcntl.h>  // AT_FDCWD
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/temp_dir.h"
#include "tests/support/scoped_env.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

using Progress = std::vector<std::pair<uint64_t, uint64_t>>;

// The copy's chunk, 8 MiB: a file one chunk and 3 bytes long takes two.
constexpr uint64_t kChunk = 8 << 20;

class FileOperationsTest : public TempDirTest {
 protected:
  // Copies and records every progress call.
  OsError Copy(const std::string& source, const std::string& target, bool fail_if_exists,
               Progress* progress = nullptr, const std::atomic<bool>* cancel = nullptr) {
    return CopyFileWithProgress(
        PathOf(source), PathOf(target), fail_if_exists,
        [progress](uint64_t done, uint64_t total) {
          if (progress != nullptr) progress->emplace_back(done, total);
        },
        cancel);
  }

  static void SetTimes(const std::string& path, time_t seconds, long nanoseconds) {
    const struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }

  static struct stat StatOf(const std::string& path) {
    struct stat info = {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info;
  }
};

std::string PatternOf(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 4096);
  return bytes;
}

TEST_F(FileOperationsTest, CopyKeepsContentModeTimesAndDosWordAndReportsEachChunk) {
  const uint64_t big = kChunk + 3;
  const struct {
    const char* label;
    uint64_t size;
    mode_t mode;
    Progress progress;
  } cases[] = {
      {"empty", 0, 0640, {{0, 0}}},
      {"one byte, bits a umask would take", 1, 0777, {{0, 1}, {1, 1}}},
      {"read-only source", 4096, 0444, {{0, 4096}, {4096, 4096}}},
      {"two chunks", big, 0666, {{0, big}, {kChunk, big}, {big, big}}},
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    std::string source = "source" + std::to_string(index);
    std::string target = "target" + std::to_string(index++);
    Put(source, PatternOf(c.size));
    SetDosAttribute(PathOf(source), "0x22");
    chmod(PathOf(source).c_str(), c.mode);
    SetTimes(PathOf(source), 1236259815, 123456789);
    Progress progress;
    OsError error = Copy(source, target, /*fail_if_exists=*/true, &progress);
    ASSERT_FALSE(error) << error.Describe();
    EXPECT_EQ(Get(target), PatternOf(c.size));
    EXPECT_EQ(ModeOf(PathOf(target)), c.mode);
    struct stat info = StatOf(PathOf(target));
    EXPECT_EQ(info.st_mtim.tv_sec, 1236259815);
    EXPECT_EQ(info.st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(DosAttribute(PathOf(target)), "0x22");
    EXPECT_EQ(progress, c.progress);
  }
}

TEST_F(FileOperationsTest, CopyReadsAKernelFileThatClaimsToBeEmpty) {
  // /proc reports size 0 for files that have content.
  std::string expected = ReadAll("/proc/version");
  ASSERT_FALSE(expected.empty());
  ASSERT_FALSE(CopyFileWithProgress("/proc/version", PathOf("version"), false, nullptr, nullptr));
  EXPECT_EQ(Get("version"), expected);
}

TEST_F(FileOperationsTest, CopyReplacesAnExistingTargetAndLeavesNoTemporary) {
  Put("source", "new");
  Put("target", "old content that is longer");
  chmod(PathOf("target").c_str(), 0600);
  ASSERT_FALSE(Copy("source", "target", /*fail_if_exists=*/false));
  EXPECT_EQ(Get("target"), "new");
  EXPECT_EQ(ModeOf(PathOf("target")), ModeOf(PathOf("source")));
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"source", "target"}));
}

TEST_F(FileOperationsTest, CopyThroughALinkWritesTheLinkedFile) {
  Put("source", "new");
  Put("real", "old");
  fs::create_symlink("real", PathOf("link"));
  ASSERT_FALSE(Copy("source", "link", /*fail_if_exists=*/false));
  EXPECT_TRUE(fs::is_symlink(PathOf("link")));
  EXPECT_EQ(Get("real"), "new");
}

TEST_F(FileOperationsTest, CopyOntoItselfIsAFileInUse) {
  Put("file", PatternOf(10000));
  EXPECT_EQ(Copy("file", "file", /*fail_if_exists=*/false).code, EBUSY);
  EXPECT_EQ(Get("file"), PatternOf(10000));
  EXPECT_EQ(NamesIn(root_), std::vector<std::string>{"file"});
}

TEST_F(FileOperationsTest, CopyRefusalsNameTheFileAtFaultAndChangeNothing) {
  Put("source", "new");
  Put("existing", "old");
  Put("read-only", "old");
  chmod(PathOf("read-only").c_str(), 0444);
  fs::create_directory(PathOf("dir"));
  fs::create_symlink("read-only", PathOf("to-read-only"));
  fs::create_directory_symlink("dir", PathOf("to-dir"));
  ASSERT_EQ(mkfifo(PathOf("pipe").c_str(), 0644), 0);
  const struct {
    const char* source;
    const char* target;
    bool fail_if_exists;
    int code;
    const char* message;
    const char* at_fault;
  } cases[] = {
      {"source", "existing", true, EEXIST, "File exists", "existing"},
      {"source", "read-only", false, EACCES, "Permission denied", "read-only"},
      {"source", "dir", false, EISDIR, "Is a directory", "dir"},
      {"source", "to-read-only", false, EACCES, "Permission denied", "to-read-only"},
      {"source", "to-dir", false, EISDIR, "Is a directory", "to-dir"},
      {"source", "missing/target", false, ENOENT, "No such file or directory", "missing/target"},
      {"source", "existing/target", false, ENOTDIR, "Not a directory", "existing/target"},
      {"missing", "new", false, ENOENT, "No such file or directory", "missing"},
      {"dir", "new", false, EISDIR, "Is a directory", "dir"},
      {"pipe", "new", false, ENOTSUP, "Operation not supported", "pipe"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.source) + " -> " + c.target);
    ExpectError(Copy(c.source, c.target, c.fail_if_exists), c.code, c.message, PathOf(c.at_fault));
    EXPECT_EQ(Get("existing"), "old");
    EXPECT_EQ(Get("read-only"), "old");
    EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"dir", "existing", "pipe", "read-only",
                                                        "source", "to-dir", "to-read-only"}));
  }
}

TEST_F(FileOperationsTest, CancelStopsTheCopyAndLeavesNoPartialFile) {
  Put("source", PatternOf(kChunk + 3));
  Put("existing", "old");
  std::atomic<bool> cancel{false};
  for (const char* target : {"new", "existing"}) {
    SCOPED_TRACE(target);
    cancel = false;
    Progress progress;
    OsError error = CopyFileWithProgress(
        PathOf("source"), PathOf(target), /*fail_if_exists=*/false,
        [&](uint64_t done, uint64_t total) {
          progress.emplace_back(done, total);
          if (done > 0) cancel = true;
        },
        &cancel);
    ExpectError(error, ECANCELED, "Operation canceled", PathOf("source"));
    EXPECT_EQ(progress, (Progress{{0, kChunk + 3}, {kChunk, kChunk + 3}}));
    EXPECT_EQ(Get("existing"), "old");
    EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"existing", "source"}));
  }
  // A flag already set stops the copy before anything is made.
  Progress progress;
  ExpectError(Copy("source", "new", /*fail_if_exists=*/false, &progress, &cancel), ECANCELED,
              "Operation canceled", PathOf("source"));
  EXPECT_TRUE(progress.empty());
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"existing", "source"}));
}

TEST_F(FileOperationsTest, FailedWriteLeavesTheOldTargetAndNoPartialFile) {
  Put("source", PatternOf(100000));
  Put("existing", "old");
  for (const char* target : {"new", "existing"}) {
    SCOPED_TRACE(target);
    OsError error;
    {
      FileSizeLimit limit(4096);
      error = Copy("source", target, /*fail_if_exists=*/false);
    }
    ExpectError(error, EFBIG, "File too large", PathOf(target));
    EXPECT_EQ(Get("existing"), "old");
    EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"existing", "source"}));
  }
}

TEST_F(FileOperationsTest, MoveRenamesWithinOneFileSystem) {
  Put("source", "moved");
  chmod(PathOf("source").c_str(), 0444);  // a read-only source still moves
  Progress progress;
  OsError error = MoveFileWithProgress(
      PathOf("source"), PathOf("target"),
      /*replace_existing=*/false,
      [&](uint64_t done, uint64_t total) { progress.emplace_back(done, total); });
  ASSERT_FALSE(error) << error.Describe();
  EXPECT_EQ(Get("target"), "moved");
  EXPECT_EQ(NamesIn(root_), std::vector<std::string>{"target"});
  EXPECT_TRUE(progress.empty());
}

TEST_F(FileOperationsTest, MoveOntoAnExistingTarget) {
  const struct {
    const char* label;
    bool replace;
    mode_t target_mode;
    int code;
    const char* message;
    const char* target_after;
  } cases[] = {
      {"kept without replace", false, 0644, EEXIST, "File exists", "old"},
      {"replaced with replace", true, 0644, 0, "", "new"},
      {"read-only refused with replace", true, 0444, EACCES, "Permission denied", "old"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    Put("source", "new");
    chmod(PathOf("target").c_str(), 0644);
    Put("target", "old");
    chmod(PathOf("target").c_str(), c.target_mode);
    OsError error = MoveFileWithProgress(PathOf("source"), PathOf("target"), c.replace, nullptr);
    EXPECT_EQ(error.code, c.code);
    if (c.code != 0) ExpectError(error, c.code, c.message, PathOf("target"));
    EXPECT_EQ(Get("target"), c.target_after);
  }
}

class CrossFileSystemMoveTest : public FileOperationsTest {
 protected:
  void SetUp() override {
    FileOperationsTest::SetUp();
    if (!fs::is_directory("/dev/shm")) GTEST_SKIP() << "no /dev/shm";
    other_ = MakeTempDir("/dev/shm");
    if (StatOf(other_).st_dev == StatOf(root_).st_dev) GTEST_SKIP() << "/dev/shm shares /tmp";
  }

  std::string other_;
};

TEST_F(CrossFileSystemMoveTest, FileIsCopiedThenRemoved) {
  Put("source", "across");
  chmod(PathOf("source").c_str(), 0444);
  SetTimes(PathOf("source"), 1000000000, 0);
  Progress progress;
  OsError error = MoveFileWithProgress(
      PathOf("source"), other_ + "/target",
      /*replace_existing=*/false,
      [&](uint64_t done, uint64_t total) { progress.emplace_back(done, total); });
  ASSERT_FALSE(error) << error.Describe();
  EXPECT_EQ(ReadAll(other_ + "/target"), "across");
  EXPECT_EQ(ModeOf(other_ + "/target"), 0444u);
  EXPECT_EQ(StatOf(other_ + "/target").st_mtim.tv_sec, 1000000000);
  EXPECT_TRUE(NamesIn(root_).empty());
  EXPECT_EQ(progress, (Progress{{0, 6}, {6, 6}}));
}

TEST_F(CrossFileSystemMoveTest, ExistingTargetAndDirectoriesAreRefused) {
  Put("source", "new");
  fs::create_directory(PathOf("dir"));
  ASSERT_FALSE(WriteFileAtomically(other_ + "/target", "old"));
  ExpectError(MoveFileWithProgress(PathOf("source"), other_ + "/target", false, nullptr), EEXIST,
              "File exists", other_ + "/target");
  ExpectError(MoveFileWithProgress(PathOf("dir"), other_ + "/dir", false, nullptr), EXDEV,
              "Invalid cross-device link", PathOf("dir"));
  EXPECT_EQ(ReadAll(other_ + "/target"), "old");
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"dir", "source"}));
}

TEST_F(FileOperationsTest, CreateDirectoryMakesOneLevel) {
  fs::create_directory(PathOf("ordinary"));  // 0777 less the umask
  ASSERT_FALSE(CreateDirectory(PathOf("made")));
  EXPECT_TRUE(fs::is_directory(PathOf("made")));
  EXPECT_EQ(ModeOf(PathOf("made")), ModeOf(PathOf("ordinary")));
  ExpectError(CreateDirectory(PathOf("made")), EEXIST, "File exists", PathOf("made"));
  ExpectError(CreateDirectory(PathOf("a/b")), ENOENT, "No such file or directory", PathOf("a/b"));
}

TEST_F(FileOperationsTest, RemoveDirectoryNeverFollowsALink) {
  fs::create_directory(PathOf("empty"));
  fs::create_directory(PathOf("full"));
  Put("full/kept", "kept");
  Put("file", "");
  fs::create_directory_symlink("full", PathOf("to-dir"));
  fs::create_symlink("file", PathOf("to-file"));
  const struct {
    const char* name;
    int code;
    const char* message;
  } cases[] = {
      // clang-format off
      {"empty", 0, ""}, {"full", ENOTEMPTY, "Directory not empty"}, {"to-dir", 0, ""},
      {"to-file", ENOTDIR, "Not a directory"}, {"file", ENOTDIR, "Not a directory"},
      {"missing", ENOENT, "No such file or directory"},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OsError error = RemoveDirectory(PathOf(c.name));
    EXPECT_EQ(error.code, c.code);
    if (c.code != 0) ExpectError(error, c.code, c.message, PathOf(c.name));
  }
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"file", "full", "to-file"}));
  EXPECT_EQ(Get("full/kept"), "kept");
}

// Changing the directory itself is shown by the delete-directory and
// command-line tests, which run in a directory of their own.
TEST_F(FileOperationsTest, SetCurrentDirectoryNamesThePathAtFault) {
  Put("file", "");
  ExpectError(SetCurrentDirectory(PathOf("file")), ENOTDIR, "Not a directory", PathOf("file"));
  ExpectError(SetCurrentDirectory(PathOf("missing")), ENOENT, "No such file or directory",
              PathOf("missing"));
}

TEST_F(FileOperationsTest, FileSizeFollowsLinksAndRefusesDirectories) {
  Put("empty", "");
  Put("sized", std::string(12345, 'x'));
  fs::create_symlink("sized", PathOf("link"));
  fs::create_directory(PathOf("dir"));
  EXPECT_EQ(GetFileSize(PathOf("empty")).Value(), 0u);
  EXPECT_EQ(GetFileSize(PathOf("sized")).Value(), 12345u);
  EXPECT_EQ(GetFileSize(PathOf("link")).Value(), 12345u);
  ExpectError(GetFileSize(PathOf("dir")).Error(), EISDIR, "Is a directory", PathOf("dir"));
  ExpectError(GetFileSize(PathOf("missing")).Error(), ENOENT, "No such file or directory",
              PathOf("missing"));
}

// Runs the time tests in a zone with summer time, whatever the machine's.
class LastWriteTimeTest : public FileOperationsTest {
 protected:
  void SetUp() override {
    FileOperationsTest::SetUp();
    zone_.emplace("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    tzset();
  }
  void TearDown() override {
    zone_.reset();
    tzset();
    FileOperationsTest::TearDown();
  }

 private:
  std::optional<testing::ScopedEnv> zone_;
};

// UTC seconds from `date -u -d '2009-03-05 13:30:15' +%s` and
// `date -u -d '2009-07-01 10:00:00' +%s`.
TEST_F(LastWriteTimeTest, SetAndGetUseLocalTime) {
  const struct {
    const char* label;
    LocalTime local;
    time_t utc_seconds;
  } cases[] = {
      {"winter, UTC+1", {2009, 3, 5, 14, 30, 15, 250}, 1236259815},
      {"summer, UTC+2", {2009, 7, 1, 12, 0, 0, 0}, 1246442400},
  };
  Put("file", "");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    ASSERT_FALSE(SetLastWriteTime(PathOf("file"), c.local));
    struct stat info = StatOf(PathOf("file"));
    EXPECT_EQ(info.st_mtim.tv_sec, c.utc_seconds);
    EXPECT_EQ(info.st_mtim.tv_nsec, c.local.millisecond * 1000000L);
    EXPECT_EQ(info.st_atim.tv_sec, c.utc_seconds);
    OsResult<LocalTime> read = GetLastWriteTime(PathOf("file"));
    ASSERT_TRUE(read.IsOk());
    const LocalTime& time = read.Value();
    EXPECT_EQ((std::vector<int>{time.year, time.month, time.day, time.hour, time.minute,
                                time.second, time.millisecond}),
              (std::vector<int>{c.local.year, c.local.month, c.local.day, c.local.hour,
                                c.local.minute, c.local.second, c.local.millisecond}));
  }
}

TEST_F(LastWriteTimeTest, ImpossibleDatesAreRefused) {
  Put("file", "");
  SetTimes(PathOf("file"), 1000000000, 0);
  const struct {
    const char* label;
    LocalTime local;
  } cases[] = {
      // clang-format off
      {"29 February of a common year", {2009, 2, 29, 0, 0, 0, 0}},
      {"30 February of a leap year", {2008, 2, 30, 0, 0, 0, 0}},
      {"31 April", {2009, 4, 31, 0, 0, 0, 0}}, {"month 13", {2009, 13, 1, 0, 0, 0, 0}},
      {"day 0", {2009, 1, 0, 0, 0, 0, 0}}, {"hour 24", {2009, 1, 1, 24, 0, 0, 0}},
      {"minute 60", {2009, 1, 1, 0, 60, 0, 0}}, {"second -1", {2009, 1, 1, 0, 0, -1, 0}},
      {"millisecond 1000", {2009, 1, 1, 0, 0, 0, 1000}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    ExpectError(SetLastWriteTime(PathOf("file"), c.local), EINVAL, "Invalid argument",
                PathOf("file"));
    EXPECT_EQ(StatOf(PathOf("file")).st_mtim.tv_sec, 1000000000);
  }
  ASSERT_FALSE(SetLastWriteTime(PathOf("file"), {2008, 2, 29, 12, 0, 0, 0}));
  ExpectError(SetLastWriteTime(PathOf("missing"), {2008, 2, 29, 12, 0, 0, 0}), ENOENT,
              "No such file or directory", PathOf("missing"));
  ExpectError(GetLastWriteTime(PathOf("missing")).Error(), ENOENT, "No such file or directory",
              PathOf("missing"));
}

TEST_F(FileOperationsTest, DiskSpaceSeesTheFileSystem) {
  OsResult<DiskSpace> space = GetDiskSpace(root_);
  ASSERT_TRUE(space.IsOk()) << space.Error().Describe();
  EXPECT_GT(space.Value().total_bytes, 0u);
  EXPECT_LE(space.Value().free_bytes, space.Value().total_bytes);
  EXPECT_LE(space.Value().available_bytes, space.Value().free_bytes);
  ExpectError(GetDiskSpace(PathOf("missing")).Error(), ENOENT, "No such file or directory",
              PathOf("missing"));
}

}  // namespace
}  // namespace brivant::platform

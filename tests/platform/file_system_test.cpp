#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/platform/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

class FileSystemTest : public TempDirTest {
 protected:
  // The base checks plus the text a caller shows.
  static void ExpectError(const OsError& error, int code, const char* message,
                          const std::string& path) {
    TempDirTest::ExpectError(error, code, message, path);
    EXPECT_EQ(error.Describe(), path.empty() ? message : path + ": " + message);
  }
};

TEST_F(FileSystemTest, ReadFileReturnsEveryByteAndPrefixesStopAtTheLimit) {
  std::string large(200001, '\0');
  for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7);
  const struct {
    const char* name;
    std::string bytes;
  } cases[] = {{"empty", ""}, {"binary", std::string("a\0\xFF\r\n", 5)}, {"large", large}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Put(c.name, c.bytes);
    OsResult<std::string> read = ReadFile(PathOf(c.name));
    ASSERT_TRUE(read.IsOk()) << read.Error().Describe();
    EXPECT_EQ(read.Value(), c.bytes);
  }
  // A prefix stops at the limit or the end.
  Put("long", "ABCDEFG");
  Put("short", "AB");
  EXPECT_EQ(ReadFilePrefix(PathOf("long"), 4).Value(), "ABCD");
  EXPECT_EQ(ReadFilePrefix(PathOf("short"), 4).Value(), "AB");
}

TEST_F(FileSystemTest, ReadFileErrorsNameThePathAndTheReason) {
  Put("file", "x");
  fs::create_directory(PathOf("dir"));
  const struct {
    std::string path;
    int code;
    const char* message;
  } cases[] = {
      {PathOf("missing"), ENOENT, "No such file or directory"},
      {PathOf("dir"), EISDIR, "Is a directory"},
      {PathOf("file/inner"), ENOTDIR, "Not a directory"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    OsResult<std::string> read = ReadFile(c.path);
    ASSERT_FALSE(read.IsOk());
    ExpectError(read.Error(), c.code, c.message, c.path);
  }
}

TEST_F(FileSystemTest, AtomicWriteReplacesContentKeepsModeAndLeavesNoTemporary) {
  for (fs::perms mode : {fs::perms(0640), fs::perms(0755), fs::perms(0604)}) {
    SCOPED_TRACE(static_cast<int>(mode));
    Put("target", "old content that is longer");
    fs::permissions(PathOf("target"), mode);
    ASSERT_FALSE(WriteFileAtomically(PathOf("target"), "new"));
    EXPECT_EQ(Get("target"), "new");
    EXPECT_EQ(ModeOf(PathOf("target")), static_cast<mode_t>(mode));
    EXPECT_EQ(NamesIn(root_), std::vector<std::string>{"target"});
  }
}

TEST_F(FileSystemTest, AtomicWriteGivesANewFileTheModeOfAnOrdinaryCreate) {
  Put("plain", "");  // created the usual way: 0666 less the umask
  ASSERT_FALSE(WriteFileAtomically(PathOf("new"), "abc"));
  EXPECT_EQ(Get("new"), "abc");
  EXPECT_EQ(ModeOf(PathOf("new")), ModeOf(PathOf("plain")));
}

TEST_F(FileSystemTest, AtomicWriteThroughASymbolicLinkRewritesTheLinkedFile) {
  Put("real", "old");
  fs::create_symlink("real", PathOf("link"));
  ASSERT_FALSE(WriteFileAtomically(PathOf("link"), "new"));
  EXPECT_TRUE(fs::is_symlink(PathOf("link")));
  EXPECT_EQ(Get("real"), "new");
}

TEST_F(FileSystemTest, AtomicWriteHandlesNamesNearTheLengthLimit) {
  std::string name(250, 'n');
  Put(name, "old");
  ASSERT_FALSE(WriteFileAtomically(PathOf(name), "new"));
  EXPECT_EQ(Get(name), "new");
}

TEST_F(FileSystemTest, AtomicWriteWithoutReplaceLeavesAnExistingFileAlone) {
  Put("target", "old");
  ExpectError(WriteFileAtomically(PathOf("target"), "new", IfTargetExists::kFail), EEXIST,
              "File exists", PathOf("target"));
  EXPECT_EQ(Get("target"), "old");
  EXPECT_EQ(NamesIn(root_), std::vector<std::string>{"target"});
  ASSERT_FALSE(WriteFileAtomically(PathOf("fresh"), "new", IfTargetExists::kFail));
  EXPECT_EQ(Get("fresh"), "new");
}

TEST_F(FileSystemTest, FailedAtomicWriteKeepsTheOldContentAndRemovesTheTemporary) {
  fs::create_directory(PathOf("dir"));
  Put("dir/inside", "kept");
  ExpectError(WriteFileAtomically(PathOf("dir"), "new"), EISDIR, "Is a directory", PathOf("dir"));
  EXPECT_EQ(Get("dir/inside"), "kept");

  // A file size limit makes the write itself fail, for root too.
  Put("target", "old");
  OsError error;
  {
    FileSizeLimit limit(4096);
    error = WriteFileAtomically(PathOf("target"), std::string(100000, 'x'));
  }
  ExpectError(error, EFBIG, "File too large", PathOf("target"));
  EXPECT_EQ(Get("target"), "old");
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"dir", "target"}));
}

TEST_F(FileSystemTest, PiecewiseAtomicWriteShowsNothingBeforeCommit) {
  Put("target", "old");
  // Larger than any one read block, so the copy has to loop.
  std::string big(700 * 1024 + 3, 'b');
  big.back() = 'z';
  Put("big", big);
  {
    OsResult<AtomicFileWriter> writer = AtomicFileWriter::Begin(PathOf("target"));
    ASSERT_TRUE(writer.IsOk());
    ASSERT_FALSE(writer.Value().Write("head|"));
    OsResult<AppendedFile> appended = writer.Value().AppendFile(PathOf("big"));
    ASSERT_TRUE(appended.IsOk());
    EXPECT_EQ(appended.Value().size, big.size());
    EXPECT_EQ(appended.Value().last_byte, 'z');
    OsResult<AppendedFile> missing = writer.Value().AppendFile(PathOf("missing"));
    ExpectError(missing.Error(), ENOENT, "No such file or directory", PathOf("missing"));
    EXPECT_EQ(Get("target"), "old");
  }
  // Dropped without a commit: the old content stays and no temporary is left.
  EXPECT_EQ(Get("target"), "old");
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"big", "target"}));

  OsResult<AtomicFileWriter> writer = AtomicFileWriter::Begin(PathOf("target"));
  ASSERT_TRUE(writer.IsOk());
  ASSERT_FALSE(writer.Value().Write("head|"));
  ASSERT_TRUE(writer.Value().AppendFile(PathOf("big")).IsOk());
  ASSERT_FALSE(writer.Value().Commit());
  EXPECT_EQ(Get("target"), "head|" + big);
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"big", "target"}));
}

TEST_F(FileSystemTest, ReadOnlyFilesAreRefusedEvenToRoot) {
  Put("target", "old");
  Put("source", "new");
  fs::permissions(PathOf("target"), fs::perms(0444));
  const char* denied = "Permission denied";
  ExpectError(WriteFileAtomically(PathOf("target"), "new"), EACCES, denied, PathOf("target"));
  ExpectError(AppendToFile(PathOf("target"), "new"), EACCES, denied, PathOf("target"));
  ExpectError(RenameFile(PathOf("source"), PathOf("target"), IfTargetExists::kReplace), EACCES,
              denied, PathOf("target"));
  ExpectError(DeleteFile(PathOf("target")), EACCES, denied, PathOf("target"));
  EXPECT_EQ(Get("target"), "old");
  EXPECT_EQ(NamesIn(root_), (std::vector<std::string>{"source", "target"}));
}

TEST_F(FileSystemTest, AtomicWriteIntoAReadOnlyDirectoryFailsWithPermissionDenied) {
  fs::create_directory(PathOf("locked"));
  Put("locked/target", "old");
  bool ran = testing::RunUnprivileged(root_, [&] {
    fs::permissions(PathOf("locked"), fs::perms::owner_read | fs::perms::owner_exec);
    ExpectError(WriteFileAtomically(PathOf("locked/target"), "new"), EACCES, "Permission denied",
                PathOf("locked/target"));
  });
  if (!ran) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(Get("locked/target"), "old");
}

TEST_F(FileSystemTest, AppendToFileAddsAtTheEndAndCreatesMissingFiles) {
  Put("existing", "abc");
  ASSERT_FALSE(AppendToFile(PathOf("existing"), "def"));
  EXPECT_EQ(Get("existing"), "abcdef");
  ASSERT_FALSE(AppendToFile(PathOf("new"), "xyz"));
  EXPECT_EQ(Get("new"), "xyz");
  ExpectError(AppendToFile(PathOf("no/such"), "x"), ENOENT, "No such file or directory",
              PathOf("no/such"));
}

TEST_F(FileSystemTest, ExistenceChecksFollowLinksAndTreatFailuresAsNo) {
  Put("file", "");
  fs::create_directory(PathOf("dir"));
  fs::create_symlink("file", PathOf("file_link"));
  fs::create_symlink("dir", PathOf("dir_link"));
  fs::create_symlink("missing", PathOf("dangling"));
  const struct {
    const char* name;
    bool is_file;
    bool is_directory;
  } cases[] = {
      {"file", true, false},        {"dir", false, true},       {"file_link", true, false},
      {"dir_link", false, true},    {"dangling", false, false}, {"missing", false, false},
      {"file/below", false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(FileExists(PathOf(c.name)), c.is_file);
    EXPECT_EQ(DirectoryExists(PathOf(c.name)), c.is_directory);
  }
}

TEST_F(FileSystemTest, CreateDirectoriesMakesEveryMissingParentOrNamesTheOneAtFault) {
  for (const char* path : {"a/b/c", "a/b/c", "a/b/d/", "x//y"}) {
    SCOPED_TRACE(path);
    ASSERT_FALSE(CreateDirectories(PathOf(path)));
    EXPECT_TRUE(fs::is_directory(PathOf(path)));
  }
  Put("file", "");
  ExpectError(CreateDirectories(PathOf("file/b/c")), ENOTDIR, "Not a directory", PathOf("file"));
  ExpectError(CreateDirectories(""), ENOENT, "No such file or directory", "");
}

TEST_F(FileSystemTest, RenameFileReplacesOnlyWhenAskedAndNamesThePathAtFault) {
  Put("from", "1");
  Put("to", "2");
  ExpectError(RenameFile(PathOf("from"), PathOf("to"), IfTargetExists::kFail), EEXIST,
              "File exists", PathOf("to"));
  EXPECT_EQ(Get("from"), "1");
  EXPECT_EQ(Get("to"), "2");
  ASSERT_FALSE(RenameFile(PathOf("from"), PathOf("to"), IfTargetExists::kReplace));
  EXPECT_EQ(Get("to"), "1");
  EXPECT_FALSE(fs::exists(PathOf("from")));
  ASSERT_FALSE(RenameFile(PathOf("to"), PathOf("moved"), IfTargetExists::kFail));
  EXPECT_EQ(Get("moved"), "1");
  // Errors name the path at fault.
  for (IfTargetExists mode : {IfTargetExists::kFail, IfTargetExists::kReplace}) {
    SCOPED_TRACE(static_cast<int>(mode));
    ExpectError(RenameFile(PathOf("missing"), PathOf("to"), mode), ENOENT,
                "No such file or directory", PathOf("missing"));
    ExpectError(RenameFile(PathOf("moved"), PathOf("no/dir/to"), mode), ENOENT,
                "No such file or directory", PathOf("no/dir/to"));
  }
}

TEST_F(FileSystemTest, DeleteFileRemovesALinkNotItsTarget) {
  Put("file", "x");
  fs::create_symlink("file", PathOf("link"));
  ASSERT_FALSE(DeleteFile(PathOf("link")));
  EXPECT_EQ(NamesIn(root_), std::vector<std::string>{"file"});
  ASSERT_FALSE(DeleteFile(PathOf("file")));
  ExpectError(DeleteFile(PathOf("file")), ENOENT, "No such file or directory", PathOf("file"));
}

}  // namespace
}  // namespace brivant::platform

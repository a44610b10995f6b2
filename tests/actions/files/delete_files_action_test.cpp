#include "actions/files/delete_files_action.h"

#include <tuple>

#include "platform/file_attributes.h"
#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class DeleteFilesActionTest : public MiscFileActionTest {
 protected:
  bool Delete(const std::string& file_spec) {
    Set(action_, "FileSpec", file_spec);
    return host_.Run(action_);
  }
  int64_t FilesAffected() const { return std::get<int64_t>(Get(action_, "FilesAffected")); }

  TDeleteFilesAction action_;
};

TEST_F(DeleteFilesActionTest, BlankOrUnmatchedFileSpecFailsOnlyWithFailIfNoFile) {
  host_.Define("BLANK", Variant(std::string("   ")));
  for (bool fail_if_no_file : {true, false}) {
    SCOPED_TRACE(fail_if_no_file);
    Set(action_, "FailIfNoFile", fail_if_no_file);
    EXPECT_EQ(Delete(" %BLANK% "), !fail_if_no_file);
    EXPECT_EQ(host_.events, std::vector<std::string>{});
  }

  MakeFile("keep.txt");
  const std::tuple<bool, bool, std::string> cases[] = {
      {false, true, "stSuccess: 0 files deleted."},
      {true, false, "stError: Failing because 0 files deleted."},
  };
  for (const auto& [fail_if_no_file, result, last_line] : cases) {
    SCOPED_TRACE(last_line);
    host_.events.clear();
    Set(action_, "FailIfNoFile", fail_if_no_file);
    EXPECT_EQ(Delete(Path("*.tmp")), result);
    EXPECT_EQ(host_.events,
              (std::vector<std::string>{
                  "stInfo: Deleting files matching filespec: " + Path("*.tmp"), last_line}));
  }
  EXPECT_EQ(Tree(), std::vector<std::string>{"keep.txt=x"});
}

TEST_F(DeleteFilesActionTest, NameWithoutWildcardsAfterExpansionDeletesThatFileOnly) {
  MakeFile("a.txt");
  MakeFile("ab.txt");
  host_.Define("DIR", Variant(dir_.path()));
  EXPECT_TRUE(Delete("  %DIR%/a.txt "));
  EXPECT_EQ(host_.Texts(stInfo),
            std::vector<std::string>{"Deleting files matching filespec: " + Path("a.txt")});
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"1 file deleted."});
  EXPECT_EQ(FilesAffected(), 1);
  EXPECT_EQ(Tree(), std::vector<std::string>{"ab.txt=x"});
}

TEST_F(DeleteFilesActionTest, ReadOnlyFileStopsTheRunWithoutDeleteReadOnly) {
  // Files are taken in name order: the read-only one first, then after one
  // deletion.
  const std::tuple<std::string, std::vector<std::string>, std::vector<std::string>, int64_t>
      cases[] = {
          // clang-format off
      {"a.tmp",
       {"Error deleting file : " + Path("a.tmp"), "Error Reason: Permission denied",
        "Failing because 0 files deleted."}, {"a.tmp=x", "b.tmp=x"}, 0},
      {"b.tmp", {"Error deleting file : " + Path("b.tmp"), "Error Reason: Permission denied"},
       {"b.tmp=x"}, 1},
          // clang-format on
      };
  for (const auto& [read_only, errors, left, deleted] : cases) {
    SCOPED_TRACE(read_only);
    host_.messages.clear();
    MakeFile("a.tmp");
    MakeFile("b.tmp");
    MakeReadOnly(read_only);
    EXPECT_FALSE(Delete(Path("*.tmp")));
    EXPECT_EQ(host_.Texts(stError), errors);
    EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{});
    EXPECT_EQ(FilesAffected(), deleted);
    EXPECT_EQ(Tree(), left);

    Set(action_, "DeleteReadOnly", true);
    EXPECT_TRUE(Delete(Path("*.tmp")));
    EXPECT_EQ(Tree(), std::vector<std::string>{});
    Set(action_, "DeleteReadOnly", false);
  }
}

TEST_F(DeleteFilesActionTest, HiddenFilesAreDeletedAndLoggedEitherWay) {
  Set(action_, "LogFilesDeleted", true);
  for (bool delete_hidden : {false, true}) {
    SCOPED_TRACE(delete_hidden);
    host_.messages.clear();
    MakeFile(".cache.tmp");
    MakeFile("b.tmp");
    Set(action_, "DeleteHidden", delete_hidden);
    EXPECT_TRUE(Delete(Path("*.tmp")));
    EXPECT_EQ(host_.Texts(stInfo),
              (std::vector<std::string>{"Deleting files matching filespec: " + Path("*.tmp"),
                                        "Deleted file: " + Path(".cache.tmp"),
                                        "Deleted file: " + Path("b.tmp")}));
    EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"2 files deleted."});
    EXPECT_EQ(Tree(), std::vector<std::string>{});
  }
}

TEST_F(DeleteFilesActionTest, SystemFilesAndDirectoriesAreNeitherDeletedNorCounted) {
  MakeFile("system.tmp");
  if (platform::SetFileAttributes(Path("system.tmp"), platform::kFileAttributeSystem))
    GTEST_SKIP() << "no extended attributes here";
  MakeFile("plain.tmp");
  MakeDirectory("folder.tmp");
  Set(action_, "DeleteReadOnly", true);
  Set(action_, "DeleteHidden", true);
  EXPECT_TRUE(Delete(Path("*.tmp")));
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"1 file deleted."});
  EXPECT_EQ(FilesAffected(), 1);
  EXPECT_EQ(Tree(), (std::vector<std::string>{"folder.tmp/", "system.tmp=x"}));
}

TEST_F(DeleteFilesActionTest, UnsearchableDirectoryIsAnErrorNotAnEmptyResult) {
  std::filesystem::create_symlink("loop", Path("loop"));
  Set(action_, "FailIfNoFile", false);
  EXPECT_FALSE(Delete(Path("loop/*.tmp")));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"cannot search for files: " + Path("loop") +
                                     ": Too many levels of symbolic links"});
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{});
}

TEST_F(DeleteFilesActionTest, LinkIsDeletedAsALinkAndItsTargetKept) {
  MakeFile("outside/target.txt", "keep");
  MakeReadOnly("outside/target.txt");
  MakeDirectory("work");
  std::filesystem::create_symlink(Path("outside/target.txt"), Path("work/link.txt"));
  Set(action_, "DeleteReadOnly", true);
  EXPECT_TRUE(Delete(Path("work/*")));
  EXPECT_EQ(Tree(), (std::vector<std::string>{"outside/", "outside/target.txt=keep", "work/"}));
  EXPECT_EQ(platform::GetFileAttributes(Path("outside/target.txt")).Value(),
            platform::kFileAttributeReadOnly);
}

}  // namespace
}  // namespace brivant::testing

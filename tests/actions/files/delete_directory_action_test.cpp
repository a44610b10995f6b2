#include "actions/files/delete_directory_action.h"

#include <chrono>
#include <tuple>

#include "platform/file_attributes.h"
#include "tests/actions/files/misc_action_fixture.h"
#include "tests/support/unprivileged.h"

namespace brivant::testing {
namespace {

class DeleteDirectoryActionTest : public MiscFileActionTest {
 protected:
  // Some tests make the action move the working directory.
  void SetUp() override { original_cwd_ = std::filesystem::current_path(); }
  void TearDown() override { std::filesystem::current_path(original_cwd_); }
  bool Delete(const std::string& dir) {
    Set(action_, "FileOrDirectory", dir);
    return host_.Run(action_);
  }

  TDeleteDirectoryAction action_;
  std::filesystem::path original_cwd_;
};

TEST_F(DeleteDirectoryActionTest, MissingDirectoryNeedsNoDeletion) {
  for (bool fail_if_no_directory : {false, true}) {
    SCOPED_TRACE(fail_if_no_directory);
    host_.events.clear();
    Set(action_, "FailIfNoDirectory", fail_if_no_directory);
    EXPECT_EQ(Delete(Path("gone")), !fail_if_no_directory);
    EXPECT_EQ(host_.events,
              std::vector<std::string>{
                  "stSuccess: Delete directory not necessary because directory does not exist: " +
                  Path("gone")});
  }
}

TEST_F(DeleteDirectoryActionTest, TreeIsLoggedDepthFirstInNameOrder) {
  MakeFile("keep.txt");
  MakeFile("root/b.txt");
  MakeFile("root/a/.hidden");
  MakeDirectory("root/a/empty");
  Set(action_, "DeleteTree", true);
  Set(action_, "LogDeletedFiles", true);
  // A trailing separator does not double the ones in the log.
  EXPECT_TRUE(Delete(Path("root/")));
  std::string root = Path("root");
  EXPECT_EQ(host_.events, (std::vector<std::string>{
                              "stInfo: Recursing directory " + root + "/a/*.*...",
                              "stInfo: Deleting " + root + "/a/.hidden...",
                              "stInfo: Recursing directory " + root + "/a/empty/*.*...",
                              "stInfo: Removing directory " + root + "/a/empty",
                              "stInfo: Removing directory " + root + "/a",
                              "stInfo: Deleting " + root + "/b.txt...",
                              "stSuccess: Directory deleted: " + root + "/",
                          }));
  EXPECT_EQ(Tree(), std::vector<std::string>{"keep.txt=x"});
}

TEST_F(DeleteDirectoryActionTest, ReadOnlyFilesInTheTreeNeedDeleteReadOnly) {
  // In name order "a.txt" goes first, then "sub" with ".hidden", "deeper"
  // and the read-only "ro.txt", where the run stops.
  MakeFile("root/a.txt");
  MakeFile("root/sub/.hidden");
  MakeFile("root/sub/deeper/z.txt");
  MakeFile("root/sub/ro.txt");
  MakeReadOnly("root/sub/ro.txt");
  Set(action_, "DeleteTree", true);
  EXPECT_FALSE(Delete(Path("root")));
  EXPECT_EQ(host_.events,
            (std::vector<std::string>{
                "stError: Error deleting file/folder: System Error.  Code: 13.\nPermission denied",
                "stError: Unable to delete directory : " + Path("root"),
            }));
  EXPECT_EQ(Tree("root"), (std::vector<std::string>{"sub/", "sub/ro.txt=x"}));

  host_.events.clear();
  Set(action_, "DeleteReadOnly", true);
  EXPECT_TRUE(Delete(Path("root")));
  EXPECT_EQ(host_.events,
            std::vector<std::string>{"stSuccess: Directory deleted: " + Path("root")});
  EXPECT_FALSE(Exists("root"));
}

// An ordinary user cannot empty a read-only folder: DeleteReadOnly clears
// the mode of the folder given too, not only of what is in it.
TEST_F(DeleteDirectoryActionTest, DeleteReadOnlyClearsTheModeOfTheTopFolder) {
  MakeFile("root/f.txt");
  std::filesystem::permissions(Path("root"), std::filesystem::perms(0555));
  Set(action_, "DeleteTree", true);
  Set(action_, "DeleteReadOnly", true);
  bool ran = RunUnprivileged(dir_.path(), [&] { EXPECT_TRUE(Delete(Path("root"))); });
  if (!ran) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_FALSE(Exists("root"));
}

TEST_F(DeleteDirectoryActionTest, NonEmptyDirectoryIsRetriedOnceThenGivenUp) {
  MakeFile("root/f.txt");
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(Delete(Path("root")));
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(
      host_.events,
      (std::vector<std::string>{
          "stWarning: Directory not empty : Retrying..",
          "stError: Error deleting file/folder: System Error.  Code: 39.\nDirectory not empty",
          "stError: Unable to delete directory : " + Path("root"),
      }));
  EXPECT_GE(waited, std::chrono::milliseconds(1500));
  EXPECT_EQ(Tree("root"), std::vector<std::string>{"f.txt=x"});
}

TEST_F(DeleteDirectoryActionTest, LinksAreRemovedAsLinksAndNeverFollowed) {
  MakeFile("outside/keep.txt");
  MakeReadOnly("outside/keep.txt");
  MakeFile("outside/sub/more.txt");
  MakeDirectory("root");
  std::filesystem::create_directory_symlink(Path("outside"), Path("root/dir_link"));
  std::filesystem::create_symlink(Path("outside/keep.txt"), Path("root/file_link"));
  std::filesystem::create_directory_symlink(Path("outside"), Path("given_link"));
  std::vector<std::string> outside = {"keep.txt=x", "sub/", "sub/more.txt=x"};

  Set(action_, "DeleteTree", true);
  Set(action_, "DeleteReadOnly", true);
  Set(action_, "LogDeletedFiles", true);
  EXPECT_TRUE(Delete(Path("root")));
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Deleting " + Path("root/dir_link") + "...",
                                      "Deleting " + Path("root/file_link") + "..."}));
  EXPECT_FALSE(Exists("root"));
  EXPECT_EQ(Tree("outside"), outside);
  EXPECT_EQ(platform::GetFileAttributes(Path("outside/keep.txt")).Value(),
            platform::kFileAttributeReadOnly);

  // The directory given may itself be a link: only the link goes.
  EXPECT_TRUE(Delete(Path("given_link")));
  EXPECT_FALSE(Exists("given_link"));
  EXPECT_EQ(Tree("outside"), outside);
}

TEST_F(DeleteDirectoryActionTest, WorkingDirectoryInsideTheTreeMovesToItsParent) {
  // Tests share a process: the fixture restores the working directory.
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"root/sub", "root", ""},
      {"other", "root", "other"},
  };
  for (const auto& [cwd, dir, expected_cwd] : cases) {
    SCOPED_TRACE(std::string(cwd) + " " + dir);
    MakeFile("root/sub/f.txt");
    MakeFile("sibling.txt");
    MakeDirectory("other");
    std::filesystem::current_path(Path(cwd));
    Set(action_, "DeleteTree", true);
    EXPECT_TRUE(Delete(Path(dir)));
    EXPECT_EQ(std::filesystem::current_path().string(),
              std::filesystem::canonical(Path(expected_cwd)).string());
    EXPECT_EQ(Tree(), (std::vector<std::string>{"other/", "sibling.txt=x"}));
  }
}

TEST_F(DeleteDirectoryActionTest, RootDirectoryIsRefused) {
  // Without DeleteTree, so that a broken guard could at worst try rmdir("/").
  for (const std::string& dir : {std::string("/"), dir_.path() + "/../../../../../.."}) {
    SCOPED_TRACE(dir);
    host_.events.clear();
    EXPECT_FALSE(Delete(dir));
    EXPECT_EQ(host_.events,
              (std::vector<std::string>{
                  "stError: refusing FileOrDirectory \"" + dir + "\": it leads to \"" + dir +
                      "\", the root directory or an entry right in it",
              }));
  }
}

}  // namespace
}  // namespace brivant::testing

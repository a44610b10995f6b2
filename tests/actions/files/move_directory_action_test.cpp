#include "actions/files/move_directory_action.h"

#include <cstdlib>
#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class MoveDirectoryActionTest : public MiscFileActionTest {
 protected:
  void SetUp() override {
    MakeFile("src/a.txt", "A");
    MakeFile("src/.hidden", "H");
    MakeFile("src/sub/b.txt", "B");
  }
  bool Move(const std::string& source, const std::string& target, bool merge = false,
            bool overwrite = false) {
    TBVMoveDirectoryAction action;
    Set(action, "SourceDirectory", source);
    Set(action, "TargetDirectory", target);
    Set(action, "MergeIntoExisting", merge);
    Set(action, "OverwriteFiles", overwrite);
    return host_.Run(action);
  }
  const std::vector<std::string> source_tree_{".hidden=H", "a.txt=A", "sub/", "sub/b.txt=B"};
};

TEST_F(MoveDirectoryActionTest, RenameMovesTheWholeTree) {
  ASSERT_TRUE(Move(Path("src/"), Path("dst")));
  EXPECT_EQ(Tree("dst"), source_tree_);
  EXPECT_FALSE(Exists("src"));
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{
                {stInfo, "Moving directory: " + Path("src") + " -> " + Path("dst")},
                {stSuccess, "Directory moved: " + Path("src") + " -> " + Path("dst")}}));
}

TEST_F(MoveDirectoryActionTest, RefusalsLeaveTheSourceAlone) {
  MakeDirectory("taken");
  MakeFile("taken/keep.txt", "K");
  MakeFile("plain.txt", "P");
  const std::tuple<std::string, std::string, std::vector<std::string>> cases[] = {
      // clang-format off
      {Path("none"), Path("dst"), {"Source directory does not exist: " + Path("none")}},
      {Path("src"), Path("taken"), {"Target directory already exists: " + Path("taken")}},
      {Path("src"), Path("plain.txt"),
       {"Target exists and is not a directory: " + Path("plain.txt")}},
      {Path("src"), Path("src/sub/inner"),
       {"Cannot move a directory into itself: " + Path("src") + " -> " + Path("src/sub/inner")}},
      {Path("src"), Path("src/../src"),
       {"Cannot move a directory into itself: " + Path("src") + " -> " + Path("src/../src")}},
      {Path("src"), Path("no/such/dst"),
       {"Error moving directory: " + Path("src") + " -> " + Path("no/such/dst"),
        "Error reason: No such file or directory"}},
      // clang-format on
  };
  for (const auto& [source, target, errors] : cases) {
    SCOPED_TRACE(target);
    host_.messages.clear();
    EXPECT_FALSE(Move(source, target));
    EXPECT_EQ(host_.Texts(stError), errors);
    EXPECT_EQ(Tree("src"), source_tree_);
  }
  EXPECT_EQ(Tree("taken"), std::vector<std::string>{"keep.txt=K"});
}

TEST_F(MoveDirectoryActionTest, ForceCreatesTheTargetsParents) {
  TBVMoveDirectoryAction action;
  Set(action, "SourceDirectory", Path("src"));
  Set(action, "TargetDirectory", Path("deep/er/dst"));
  Set(action, "Force", true);
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(Tree("deep/er/dst"), source_tree_);
}

TEST_F(MoveDirectoryActionTest, MergeMovesContentIntoAnExistingDirectory) {
  MakeFile("dst/old.txt", "O");
  MakeFile("dst/sub/other.txt", "X");
  MakeFile("src/new/c.txt", "C");
  ASSERT_TRUE(Move(Path("src"), Path("dst"), /*merge=*/true));
  EXPECT_EQ(Tree("dst"),
            (std::vector<std::string>{".hidden=H", "a.txt=A", "new/", "new/c.txt=C", "old.txt=O",
                                      "sub/", "sub/b.txt=B", "sub/other.txt=X"}));
  EXPECT_FALSE(Exists("src"));
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"Directory merged: " + Path("src") + " -> " + Path("dst")});
}

TEST_F(MoveDirectoryActionTest, MergeChecksEveryConflictBeforeMovingAnything) {
  MakeFile("src/new/c.txt", "C");
  MakeDirectory("dst/.hidden");  // a directory where a file would go
  MakeFile("dst/a.txt", "old A");
  MakeFile("dst/new", "a file where a directory would go");
  MakeFile("dst/sub/b.txt", "old B");
  EXPECT_FALSE(Move(Path("src"), Path("dst"), /*merge=*/true));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{
                "Target is a directory: " + Path("dst/.hidden"),
                "Target file already exists: " + Path("dst/a.txt"),
                "Target exists and is not a directory: " + Path("dst/new"),
                "Target file already exists: " + Path("dst/sub/b.txt"),
                "Nothing was moved because entries are in the way in " + Path("dst")}));
  EXPECT_EQ(Tree("src"), (std::vector<std::string>{".hidden=H", "a.txt=A", "new/", "new/c.txt=C",
                                                   "sub/", "sub/b.txt=B"}));
  EXPECT_EQ(ReadBytes(Path("dst/a.txt")), "old A");
}

TEST_F(MoveDirectoryActionTest, MergeOverwritesOnlyWritableFiles) {
  MakeFile("dst/a.txt", "old A");
  ASSERT_TRUE(Move(Path("src"), Path("dst"), /*merge=*/true, /*overwrite=*/true));
  EXPECT_EQ(ReadBytes(Path("dst/a.txt")), "A");

  MakeFile("src2/a.txt", "newer A");
  MakeReadOnly("dst/a.txt");
  EXPECT_FALSE(Move(Path("src2"), Path("dst"), /*merge=*/true, /*overwrite=*/true));
  EXPECT_EQ(host_.Texts(stError).front(), "Target file is read only: " + Path("dst/a.txt"));
  EXPECT_EQ(ReadBytes(Path("dst/a.txt")), "A");
  EXPECT_EQ(Tree("src2"), std::vector<std::string>{"a.txt=newer A"});
}

// A scratch directory on another file system (tmpfs), where one exists.
class OtherFileSystemDir {
 public:
  OtherFileSystemDir() {
    std::string pattern = "/dev/shm/brivant-test-XXXXXX";
    if (std::filesystem::is_directory("/dev/shm") && mkdtemp(pattern.data()) != nullptr)
      path_ = pattern;
  }
  ~OtherFileSystemDir() {
    std::error_code error;
    if (!path_.empty()) std::filesystem::remove_all(path_, error);
  }
  // Empty when there is none or it is the same file system as `local_dir`.
  std::string PathIfOtherThan(const std::string& local_dir) const {
    if (path_.empty()) return {};
    std::error_code rename_error;
    std::error_code ignored;
    std::filesystem::create_directory(local_dir + "/probe");
    std::filesystem::rename(local_dir + "/probe", path_ + "/probe", rename_error);
    std::filesystem::remove(local_dir + "/probe", ignored);
    std::filesystem::remove(path_ + "/probe", ignored);
    return rename_error == std::errc::cross_device_link ? path_ : std::string();
  }

 private:
  std::string path_;
};

TEST_F(MoveDirectoryActionTest, AcrossFileSystemsCopiesThenRemovesTheSource) {
  OtherFileSystemDir other;
  std::string elsewhere = other.PathIfOtherThan(dir_.path());
  if (elsewhere.empty()) GTEST_SKIP() << "no second file system to move to";
  MakeReadOnly("src/sub/b.txt");
  std::string target = elsewhere + "/dst";
  ASSERT_TRUE(Move(Path("src"), target));
  EXPECT_EQ(TreeAt(target), source_tree_);
  EXPECT_EQ(std::filesystem::status(target + "/sub/b.txt").permissions() & kAllWrite,
            std::filesystem::perms::none);
  EXPECT_FALSE(Exists("src"));
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{
                {stInfo, "Moving directory: " + Path("src") + " -> " + target},
                {stInfo, "Copying " + Path("src") + " to another file system, then removing it"},
                {stSuccess, "Directory moved: " + Path("src") + " -> " + target +
                                " (3 files copied across file systems)"}}));
}

TEST_F(MoveDirectoryActionTest, AcrossFileSystemsALinkStopsTheMoveBeforeItStarts) {
  OtherFileSystemDir other;
  std::string elsewhere = other.PathIfOtherThan(dir_.path());
  if (elsewhere.empty()) GTEST_SKIP() << "no second file system to move to";
  std::filesystem::create_symlink("../a.txt", Path("src/sub/link"));
  std::string target = elsewhere + "/dst";
  EXPECT_FALSE(Move(Path("src"), target));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Cannot move " + Path("src") + " to another file system: " +
                                     Path("src/sub/link") + " is a symbolic link or special file"});
  EXPECT_FALSE(std::filesystem::exists(target));
  EXPECT_EQ(Tree("src"), (std::vector<std::string>{".hidden=H", "a.txt=A", "sub/", "sub/b.txt=B",
                                                   "sub/link->../a.txt"}));

  // Emptying a linked source would empty the directory it points to.
  std::filesystem::create_directory_symlink("src", Path("alias"));
  host_.messages.clear();
  EXPECT_FALSE(Move(Path("alias"), target));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Cannot move " + Path("alias") +
                                     " to another file system: it is a symbolic link"});
  EXPECT_EQ(Tree("src").size(), 5u);
}

}  // namespace
}  // namespace brivant::testing

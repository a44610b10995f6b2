#include "actions/files/file_set_copy_move_action.h"

#include <functional>
#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"
#include "tests/support/listed_file_set.h"

namespace brivant::testing {
namespace {

class FileSetCopyMoveActionTest : public MiscFileActionTest {
 protected:
  void SetUp() override {
    MakeFile("src/a.txt", "A");
    MakeFile("src/sub/b.txt", "B");
    MakeFile("src/sub/deep/c.txt", "C");
    MakeFile("src/not-in-set.txt", "N");
    host_.AddProjectObject("FileSetObject", "Photos", &set_);
    Set(action_, "FileSetName", std::string("Photos"));
    Set(action_, "TargetDirectory", Path("out"));
  }
  bool Run() { return host_.Run(action_); }

  ListedFileSet set_{Path("src"),
                     {Path("src/a.txt"), Path("src/sub/b.txt"), Path("src/sub/deep/c.txt")}};
  TBVFileSetCopyMoveAction action_;
};

TEST_F(FileSetCopyMoveActionTest, CopyKeepsPathsRelativeToTheBaseDirectory) {
  ASSERT_TRUE(Run());
  EXPECT_EQ(Tree("out"), (std::vector<std::string>{"a.txt=A", "sub/", "sub/b.txt=B", "sub/deep/",
                                                   "sub/deep/c.txt=C"}));
  EXPECT_EQ(Tree("src"),
            (std::vector<std::string>{"a.txt=A", "not-in-set.txt=N", "sub/", "sub/b.txt=B",
                                      "sub/deep/", "sub/deep/c.txt=C"}));
  EXPECT_EQ(set_.refreshes, 1);
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{
                "Refreshing fileset...",
                "Copying fileset Photos (3 files) from " + Path("src") + " to " + Path("out"),
                "Copied " + Path("src/a.txt") + " to " + Path("out/a.txt"),
                "Copied " + Path("src/sub/b.txt") + " to " + Path("out/sub/b.txt"),
                "Copied " + Path("src/sub/deep/c.txt") + " to " + Path("out/sub/deep/c.txt")}));
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"3 files copied to " + Path("out")});
  EXPECT_EQ(
      host_.progress.front(),
      std::make_pair("Copying File : " + Path("src/a.txt") + " to : " + Path("out/a.txt"), 0));
  EXPECT_EQ(action_.GetFormattedDescription(), "FileSet Copy [ Photos -> " + Path("out") + " ]");
}

TEST_F(FileSetCopyMoveActionTest, MoveTakesTheFilesAway) {
  Set(action_, "Operation", int64_t{fsoMove});
  Set(action_, "RefreshFileSet", false);
  ASSERT_TRUE(Run());
  EXPECT_EQ(Tree("out"), (std::vector<std::string>{"a.txt=A", "sub/", "sub/b.txt=B", "sub/deep/",
                                                   "sub/deep/c.txt=C"}));
  EXPECT_EQ(Tree("src"), (std::vector<std::string>{"not-in-set.txt=N", "sub/", "sub/deep/"}));
  EXPECT_EQ(set_.refreshes, 0);
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"3 files moved to " + Path("out")});
  EXPECT_EQ(action_.GetFormattedDescription(), "FileSet Move [ Photos -> " + Path("out") + " ]");
}

TEST_F(FileSetCopyMoveActionTest, ExistingTargetsFollowTheOverwriteMode) {
  ListedFileSet one_file{Path("src"), {Path("src/a.txt")}};
  host_.AddProjectObject("FileSetObject", "Photos", &one_file);
  Set(action_, "FailIfZeroFiles", false);
  const std::time_t older = 1000000000;
  const std::time_t newer = older + 3600;
  const std::tuple<const char*, TFileSetOverwriteMode, std::time_t, bool, std::string,
                   LoggedMessage>
      cases[] = {
          // clang-format off
      {"overwrite", omOverwrite, newer, true, "A", {stSuccess, "1 file copied to " + Path("out")}},
      {"skip", omSkip, older, true, "old", {stSuccess, "0 files copied to " + Path("out")}},
      {"fail", omFail, older, false, "old", {stError, "Error reason: Target file already exists"}},
      {"newer source", omOverwriteIfNewer, older, true, "A",
       {stSuccess, "1 file copied to " + Path("out")}},
      {"older source", omOverwriteIfNewer, newer, true, "old",
       {stSuccess, "0 files copied to " + Path("out")}},
          // clang-format on
      };
  SetWriteTime("src/a.txt", older + 60);
  for (const auto& [name, mode, target_time, succeeds, content, last] : cases) {
    SCOPED_TRACE(name);
    host_.messages.clear();
    MakeFile("out/a.txt", "old");
    SetWriteTime("out/a.txt", target_time);
    Set(action_, "OverwriteMode", int64_t{mode});
    EXPECT_EQ(Run(), succeeds);
    EXPECT_EQ(ReadBytes(Path("out/a.txt")), content);
    EXPECT_EQ(host_.messages.back(), last);
    if (!succeeds) {
      EXPECT_EQ(host_.Texts(stError).front(),
                "Failed to copy file: " + Path("src/a.txt") + " -> " + Path("out/a.txt"));
    }
  }
}

TEST_F(FileSetCopyMoveActionTest, ReadOnlyTargetIsReplacedOnlyWhenAllowed) {
  MakeFile("out/a.txt", "old");
  MakeReadOnly("out/a.txt");
  EXPECT_FALSE(Run());
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{
                "Failed to copy file: " + Path("src/a.txt") + " -> " + Path("out/a.txt"),
                "Error reason: Target file is read only"}));
  EXPECT_EQ(ReadBytes(Path("out/a.txt")), "old");
  EXPECT_EQ(host_.open_groups, 0);

  Set(action_, "OverwriteReadOnly", true);
  ASSERT_TRUE(Run());
  EXPECT_EQ(ReadBytes(Path("out/a.txt")), "A");
}

TEST_F(FileSetCopyMoveActionTest, SameFileIsNeverCopiedOntoItself) {
  Set(action_, "TargetDirectory", Path("out/../src/"));
  Set(action_, "FailIfZeroFiles", false);
  ASSERT_TRUE(Run());
  EXPECT_EQ(ReadBytes(Path("src/a.txt")), "A");
  EXPECT_EQ(host_.Texts(stInfo)[2], "Skipping same file " + Path("src/a.txt"));
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"0 files copied to " + Path("out/../src")});
}

TEST_F(FileSetCopyMoveActionTest, FailuresNameTheirCause) {
  MakeFile("blocked", "a file where the target directory would go");
  const std::tuple<const char*, std::function<void()>, std::vector<std::string>> cases[] = {
      {"unknown set",
       [&] { Set(action_, "FileSetName", std::string("Nope")); },
       {"FileSet \"Nope\" not found."}},
      {"refresh fails",
       [&] { set_.refresh_error = "cannot read " + Path("src"); },
       {"Error refreshing fileset Photos: cannot read " + Path("src")}},
      {"nothing to copy",
       [&] {
         static ListedFileSet empty{Path("src"), {}};
         host_.AddProjectObject("FileSetObject", "Photos", &empty);
       },
       {"Failing because zero files copied"}},
      {"target blocked",
       [&] { Set(action_, "TargetDirectory", Path("blocked")); },
       {"Failed to copy file: " + Path("src/a.txt") + " -> " + Path("blocked/a.txt"),
        "Error reason: " + Path("blocked") + ": Not a directory"}},
      {"stopped",
       [&] { set_.on_get_files = [&] { action_.TerminateAction(); }; },
       {"Stopped on request"}},
  };
  for (const auto& [name, prepare, errors] : cases) {
    SCOPED_TRACE(name);
    SetUp();
    host_.messages.clear();
    prepare();
    EXPECT_FALSE(Run());
    EXPECT_EQ(host_.Texts(stError), errors);
    EXPECT_EQ(host_.open_groups, 0);
    set_.refresh_error.clear();
    set_.on_get_files = nullptr;
  }
  EXPECT_FALSE(Exists("out"));
}

}  // namespace
}  // namespace brivant::testing

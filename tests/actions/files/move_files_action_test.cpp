#include "actions/files/move_files_action.h"

#include <tuple>

#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {
namespace {

class MoveFilesActionTest : public FileActionTest {
 protected:
  bool Move(TestHost& host, const std::string& spec, const std::string& target,
            const std::vector<std::pair<const char*, PropertyValue>>& settings = {}) {
    TMoveFilesAction action;
    Set(action, "FileSpec", Path(spec));
    Set(action, "Target", Path(target));
    for (const auto& [name, value] : settings) Set(action, name, value);
    return host.Run(action);
  }
};

TEST_F(MoveFilesActionTest, MovesMatchingFilesAndLogsThem) {
  MakeFile("src/a.txt", "A");
  MakeFile("src/b.txt", "B");
  MakeFile("src/keep.dat");
  MakeDirectory("out");
  ASSERT_TRUE(Move(host_, "src/*.txt", "out/"));
  EXPECT_EQ(ReadBytes(Path("out/a.txt")), "A");
  EXPECT_EQ(ReadBytes(Path("out/b.txt")), "B");
  EXPECT_FALSE(Exists("src/a.txt"));
  EXPECT_FALSE(Exists("src/b.txt"));
  EXPECT_TRUE(Exists("src/keep.dat"));
  EXPECT_EQ(LogEvents(host_),
            (std::vector<std::string>{
                "stInfo: Moving files: " + Path("src/*.txt") + " -> " + Path("out/"),
                "group-start: Files Moved",
                "stInfo: Moved " + Path("src/a.txt") + " to " + Path("out/a.txt"),
                "stInfo: Moved " + Path("src/b.txt") + " to " + Path("out/b.txt"),
                "group-end: stInfo",
                "stSuccess: 2 files moved",
            }));
  EXPECT_EQ(host_.progress.front(),
            std::make_pair("Moving File : " + Path("src/a.txt") + " to : " + Path("out/a.txt"), 0));
}

TEST_F(MoveFilesActionTest, MoveOntoItselfCountsAsMoved) {
  MakeFile("src/a.txt", "A");
  ASSERT_TRUE(Move(host_, "src/a.txt", "src/a.txt"));
  EXPECT_EQ(ReadBytes(Path("src/a.txt")), "A");
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{
                {stInfo, "Moving files: " + Path("src/a.txt") + " -> " + Path("src/a.txt")},
                {stInfo, "Skipping same file " + Path("src/a.txt")},
                {stInfo, "Moved " + Path("src/a.txt") + " to " + Path("src/a.txt")},
                {stSuccess, "1 files moved"},
            }));
}

TEST_F(MoveFilesActionTest, ExistingTargets) {
  const std::tuple<const char*, std::vector<std::pair<const char*, PropertyValue>>, bool, bool,
                   const char*, bool>
      cases[] = {
          // clang-format off
      {"replaced", {}, false, true, "new", false},
      {"kept when not overwriting", {{"Overwrite", false}, {"FailIfZeroFiles", false}}, false, true,
       "old", true},
      {"read-only kept", {}, true, false, "old", true},
      {"read-only replaced", {{"OverwriteReadOnly", true}}, true, true, "new", false},
          // clang-format on
      };
  int number = 0;
  for (const auto& [name, settings, target_read_only, succeeds, target_after, source_left] :
       cases) {
    SCOPED_TRACE(name);
    const std::string dir = "case" + std::to_string(number++);
    MakeFile(dir + "/src/f.txt", "new");
    MakeFile(dir + "/out/f.txt", "old");
    if (target_read_only) MakeReadOnly(dir + "/out/f.txt");
    TestHost host;
    EXPECT_EQ(Move(host, dir + "/src/f.txt", dir + "/out/f.txt", settings), succeeds);
    EXPECT_EQ(ReadBytes(Path(dir + "/out/f.txt")), target_after);
    EXPECT_EQ(Exists(dir + "/src/f.txt"), source_left);
  }
}

TEST_F(MoveFilesActionTest, FailureNamesTheMoveAndTheSystemMessage) {
  MakeFile("src/f.txt");
  MakeFile("blocker");
  EXPECT_FALSE(Move(host_, "src/f.txt", "blocker/f.txt"));
  EXPECT_TRUE(Exists("src/f.txt"));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{
                "Failed to move File : " + Path("src/f.txt") + " -> " + Path("blocker/f.txt"),
                "Win32 Error : Not a directory"}));
}

}  // namespace
}  // namespace brivant::testing

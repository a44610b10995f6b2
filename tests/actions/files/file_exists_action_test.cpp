#include "actions/files/file_exists_action.h"

#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class FileExistsActionTest : public MiscFileActionTest {
 protected:
  void SetUp() override {
    MakeFile("present.txt", "x");
    MakeDirectory("folder");
  }
};

TEST_F(FileExistsActionTest, DecidesWhetherTheChildrenRun) {
  const std::tuple<const char*, TCheckFileType, bool, std::string, bool> cases[] = {
      {"present.txt", cftFileOrDirectory, false, "File exists: " + Path("present.txt"), true},
      {"folder", cftFileOrDirectory, false, "Directory exists: " + Path("folder"), true},
      {"missing.txt", cftFileOrDirectory, false,
       "File or directory does not exist: " + Path("missing.txt"), false},
      {"missing.txt", cftFileOrDirectory, true,
       "File or directory does not exist: " + Path("missing.txt"), true},
      {"present.txt", cftFileOrDirectory, true, "File exists: " + Path("present.txt"), false},
      {"folder", cftFile, false, "File does not exist: " + Path("folder") + " (it is a directory)",
       false},
      {"present.txt", cftDirectory, false,
       "Directory does not exist: " + Path("present.txt") + " (it is a file)", false},
      {"*.txt", cftFileOrDirectory, false, "Files or directories matching " + Path("*.txt") + ": 1",
       true},
      {"*.log", cftFileOrDirectory, false, "Files or directories matching " + Path("*.log") + ": 0",
       false},
      {"f*", cftFile, false, "Files matching " + Path("f*") + ": 0", false},
      // "." and ".." match "*" but are not entries of the directory.
      {"*", cftDirectory, false, "Directories matching " + Path("*") + ": 1", true},
  };
  for (const auto& [name, type, check_not_exists, found_line, children_run] : cases) {
    SCOPED_TRACE(std::string(name) + " type " + std::to_string(type) +
                 (check_not_exists ? " inverted" : ""));
    host_.messages.clear();
    TFileExistsAction action;
    Set(action, "FileOrDirectory", Path(name));
    Set(action, "CheckType", int64_t{type});
    Set(action, "CheckNotExists", check_not_exists);
    EXPECT_TRUE(host_.Run(action));
    EXPECT_EQ(host_.messages,
              (std::vector<LoggedMessage>{
                  {stInfo, found_line},
                  {stSuccess, children_run ? "Condition met - running child actions"
                                           : "Condition not met - skipping child actions"}}));
    EXPECT_EQ(NextAfterExecute(action), children_run ? naRunChildren : naSkipChildren);
  }
}

TEST_F(FileExistsActionTest, OnlyTheFirstAskSkipsChildren) {
  TFileExistsAction action;
  Set(action, "FileOrDirectory", Path("missing.txt"));
  ASSERT_TRUE(host_.Run(action));
  TBVNextAction next = naLeaveContainer;
  action.GetNextActionSource(nssAfterChildren, next);
  EXPECT_EQ(next, naLeaveContainer);
  next = naLeaveContainer;
  action.GetNextActionSource(nssAborted, next);
  EXPECT_EQ(next, naLeaveContainer);
}

TEST_F(FileExistsActionTest, ResultVariableTellsWhetherItExistsWhateverTheInversion) {
  TFileExistsAction action;
  Set(action, "FileOrDirectory", Path("present.txt"));
  Set(action, "CheckNotExists", true);
  Set(action, "ResultVariable", std::string("FOUND"));
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.VariableText("FOUND"), "True");
  EXPECT_EQ(NextAfterExecute(action), naSkipChildren);

  Set(action, "FileOrDirectory", Path("missing.txt"));
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.VariableText("FOUND"), "False");
  EXPECT_EQ(NextAfterExecute(action), naRunChildren);
}

TEST_F(FileExistsActionTest, BlankNameOnceExpandedFailsTheRun) {
  TFileExistsAction action;
  host_.Define("BLANK", Variant(std::string("  ")));
  Set(action, "FileOrDirectory", std::string("%BLANK%"));
  EXPECT_TRUE(host_.Validate(action).empty());
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"The file or directory has not been set"});
}

}  // namespace
}  // namespace brivant::testing

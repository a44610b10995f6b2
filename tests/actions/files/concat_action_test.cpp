#include "actions/files/concat_action.h"

#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class ConcatActionTest : public MiscFileActionTest {
 protected:
  bool Concat(std::vector<std::string> sources, const std::string& target,
              const std::string& separator = "", bool add_line_breaks = false,
              bool append = false) {
    TConcatAction action;
    Set(action, "SourceFiles", sources);
    Set(action, "TargetFile", target);
    Set(action, "Separator", separator);
    Set(action, "AddLineBreaks", add_line_breaks);
    Set(action, "AppendToTarget", append);
    return host_.Run(action);
  }
};

TEST_F(ConcatActionTest, JoinsEntriesInListOrderAndMatchesInNameOrder) {
  MakeFile("z.txt", "Z");
  MakeFile("logs/b.log", "B");
  MakeFile("logs/a.log", "a");
  MakeFile("part1.txt", "P");
  ASSERT_TRUE(Concat({Path("z.txt"), Path("logs/*.log"), "", Path("part1.txt")}, Path("all")));
  EXPECT_EQ(ReadBytes(Path("all")), "ZaBP");
  EXPECT_EQ(host_.events,
            (std::vector<std::string>{
                "stInfo: Concatenating files into: " + Path("all"),
                "group-start: Files Concatenated", "stInfo: Added " + Path("z.txt") + " (1 bytes)",
                "stInfo: Added " + Path("logs/a.log") + " (1 bytes)",
                "stInfo: Added " + Path("logs/b.log") + " (1 bytes)",
                "stInfo: Added " + Path("part1.txt") + " (1 bytes)", "group-end: stInfo",
                "stSuccess: 4 files concatenated into " + Path("all")}));
}

TEST_F(ConcatActionTest, SeparatorsLineBreaksAndAppending) {
  MakeFile("x", "one");
  MakeFile("y", "two\n");
  const std::tuple<const char*, std::string, bool, bool, std::string> cases[] = {
      {"as they are", "", false, false, "onetwo\n"},
      {"line breaks", "", true, false, "one\ntwo\n"},
      {"separator", "--\n", false, false, "one--\ntwo\n"},
      {"both", "--\n", true, false, "one\n--\ntwo\n"},
      {"appended", "", true, true, "old\none\ntwo\n"},
  };
  for (const auto& [name, separator, add_line_breaks, append, expected] : cases) {
    SCOPED_TRACE(name);
    MakeFile("out.txt", "old");
    ASSERT_TRUE(
        Concat({Path("x"), Path("y")}, Path("out.txt"), separator, add_line_breaks, append));
    EXPECT_EQ(ReadBytes(Path("out.txt")), expected);
  }
}

TEST_F(ConcatActionTest, FailureLeavesTheTargetAsItWas) {
  MakeFile("in/good.txt", "G");
  MakeDirectory("in/folder");
  std::filesystem::create_symlink("loop.txt", Path("in/loop.txt"));
  MakeFile("target.txt", "previous");
  MakeFile("locked.txt", "locked");
  MakeReadOnly("locked.txt");
  const std::tuple<std::vector<std::string>, std::string, std::vector<std::string>> cases[] = {
      // clang-format off
      {{Path("in/good.txt"), Path("in/missing.txt")}, Path("target.txt"),
       {"Source file not found: " + Path("in/missing.txt")}},
      {{Path("in/folder")}, Path("target.txt"),
       {"Source is a directory, not a file: " + Path("in/folder")}},
      // A link to itself can be listed but never read, also by root.
      {{Path("in/*.txt")}, Path("target.txt"),
       {"Error reading file: " + Path("in/loop.txt"),
        "Error reason: Too many levels of symbolic links"}},
      {{Path("in/good.txt")}, Path("locked.txt"),
       {"Error writing file: " + Path("locked.txt"), "Error reason: Permission denied"}},
      // clang-format on
  };
  for (const auto& [sources, target, errors] : cases) {
    SCOPED_TRACE(errors.front());
    host_.messages.clear();
    EXPECT_FALSE(Concat(sources, target));
    EXPECT_EQ(host_.Texts(stError), errors);
    EXPECT_EQ(host_.open_groups, 0);
  }
  EXPECT_EQ(ReadBytes(Path("target.txt")), "previous");
  EXPECT_EQ(ReadBytes(Path("locked.txt")), "locked");
}

TEST_F(ConcatActionTest, RerunDoesNotTakeInItsOwnOutput) {
  MakeFile("out/a.txt", "A");
  for (int run = 1; run <= 2; ++run) {
    SCOPED_TRACE(run);
    host_.messages.clear();
    ASSERT_TRUE(Concat({Path("out/*.txt")}, Path("out/all.txt")));
    EXPECT_EQ(ReadBytes(Path("out/all.txt")), "A");
  }
  EXPECT_EQ(host_.Texts(stWarning),
            std::vector<std::string>{"Skipping the target file itself: " + Path("out/all.txt")});
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"1 file concatenated into " + Path("out/all.txt")});
}

TEST_F(ConcatActionTest, NothingToJoinFailsWithoutCreatingTheTarget) {
  EXPECT_FALSE(Concat({Path("*.none")}, Path("all")));
  EXPECT_EQ(host_.Texts(stWarning), std::vector<std::string>{"No files match: " + Path("*.none")});
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"No files to concatenate into " + Path("all")});
  EXPECT_FALSE(Exists("all"));
}

}  // namespace
}  // namespace brivant::testing

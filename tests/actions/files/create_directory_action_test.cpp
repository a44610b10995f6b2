#include "actions/files/create_directory_action.h"

#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class CreateDirectoryActionTest : public MiscFileActionTest {
 protected:
  bool Create(const std::string& dir, bool force) {
    TCreateDirectoryAction action;
    Set(action, "FileOrDirectory", dir);
    Set(action, "Force", force);
    return host_.Run(action);
  }
};

TEST_F(CreateDirectoryActionTest, ExistingDirectoryIsASuccess) {
  MakeDirectory("there");
  for (bool force : {false, true}) {
    SCOPED_TRACE(force);
    host_.events.clear();
    EXPECT_TRUE(Create(Path("there"), force));
    EXPECT_EQ(host_.events,
              std::vector<std::string>{"stSuccess: Directory already exists: " + Path("there")});
  }
}

TEST_F(CreateDirectoryActionTest, MissingParentsNeedForce) {
  EXPECT_FALSE(Create(Path("a/b/c"), /*force=*/false));
  EXPECT_EQ(host_.events,
            std::vector<std::string>{"stError: Unable to create directory: " + Path("a/b/c")});
  EXPECT_EQ(Tree(), std::vector<std::string>{});

  host_.events.clear();
  EXPECT_TRUE(Create(Path("a/b/c"), /*force=*/true));
  EXPECT_EQ(host_.events,
            std::vector<std::string>{"stSuccess: Created directory: " + Path("a/b/c")});
  EXPECT_EQ(Tree(), (std::vector<std::string>{"a/", "a/b/", "a/b/c/"}));

  host_.events.clear();
  EXPECT_TRUE(Create(Path("a/b/d"), /*force=*/false));
  EXPECT_EQ(host_.events,
            std::vector<std::string>{"stSuccess: Created directory: " + Path("a/b/d")});
}

TEST_F(CreateDirectoryActionTest, FileInTheWayFailsWithAndWithoutForce) {
  MakeFile("file");
  const std::tuple<std::string, bool> cases[] = {
      {"file", false}, {"file", true}, {"file/sub", true}};
  for (const auto& [dir, force] : cases) {
    SCOPED_TRACE(dir + (force ? " force" : ""));
    host_.events.clear();
    EXPECT_FALSE(Create(Path(dir), force));
    EXPECT_EQ(host_.events,
              std::vector<std::string>{"stError: Unable to create directory: " + Path(dir)});
  }
  EXPECT_EQ(Tree(), std::vector<std::string>{"file=x"});
}

TEST_F(CreateDirectoryActionTest, NameIsExpandedAndOnlyTestedForBlanks) {
  host_.Define("DIR", Variant(dir_.path()));
  host_.Define("BLANK", Variant(std::string("  ")));
  EXPECT_TRUE(Create("%BLANK%", /*force=*/true));
  EXPECT_EQ(host_.events, std::vector<std::string>{});
  // The name is used untrimmed: the trailing blank is part of it.
  EXPECT_TRUE(Create("%DIR%/out ", /*force=*/false));
  EXPECT_EQ(Tree(), std::vector<std::string>{"out /"});
}

}  // namespace
}  // namespace brivant::testing

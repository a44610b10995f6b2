#include "actions/iterators/folder_iterator.h"

#include <tuple>

#include "package/exceptions.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

class FolderIteratorTest : public IteratorTest {
 protected:
  void SetUp() override {
    for (const char* name : {"root/A/B/C", "root/A/B2", "root/A2", "root/.hidden/inner", "root/Z"})
      MakeDirectory(name);
    MakeFile("root/A/file.txt");
    MakeFile("root/top.txt");
    Set(iterator_, "StartingFolder", Path("root"));
  }

  TFolderIterator iterator_;
};

TEST_F(FolderIteratorTest, RecursiveListIsInPreOrder) {
  Set(iterator_, "Recurse", true);
  const std::vector<std::string> expected =
      Paths({"root/A", "root/A/B", "root/A/B/C", "root/A/B2", "root/A2", "root/Z"});
  EXPECT_EQ(RunLoop(iterator_), expected);
  std::string listed;
  for (const std::string& path : expected) listed += (listed.empty() ? "" : "\n") + path;
  EXPECT_EQ(host_.events, (std::vector<std::string>{"stInfo: Searching for Folders...",
                                                    "group-start: Found 6 Folders",
                                                    "stInfo: " + listed, "group-end: stInfo"}));
}

TEST_F(FolderIteratorTest, OptionsChooseNamesDepthAndHiddenFolders) {
  const std::tuple<const char*, bool, bool, bool, std::vector<std::string>> cases[] = {
      {"top level", false, true, false, Paths({"root/A", "root/A2", "root/Z"})},
      {"bare names", true, false, false, {"A", "A2", "Z"}},
      {"hidden", true, true, true,
       Paths({"root/.hidden", "root/.hidden/inner", "root/A", "root/A/B", "root/A/B/C", "root/A/B2",
              "root/A2", "root/Z"})},
  };
  for (const auto& [name, recurse, include_path, hidden, expected] : cases) {
    SCOPED_TRACE(name);
    Set(iterator_, "Recurse", recurse);
    Set(iterator_, "IncludeFolderPath", include_path);
    Set(iterator_, "IncludeHiddenSystem", hidden);
    EXPECT_EQ(RunLoop(iterator_), expected);
  }
}

TEST_F(FolderIteratorTest, AMissingStartingFolderGivesAnEmptyLoop) {
  Set(iterator_, "StartingFolder", Path("missing") + "/");
  bool executed = false;
  EXPECT_EQ(RunLoop(iterator_, {}, &executed), std::vector<std::string>{});
  EXPECT_TRUE(executed);
  EXPECT_EQ(host_.events[1], "group-start: Found 0 Folders");
}

TEST_F(FolderIteratorTest, StopFailsTheLoopInsteadOfRunningAPartialList) {
  Set(iterator_, "Recurse", true);
  StopOnMessageHost host(iterator_, "Searching for Folders...");
  iterator_.AttachHost(&host);
  EXPECT_EQ(MessageOf<EIteratorException>([&] { iterator_.Execute(); }), "Stopping folder search.");
}

TEST_F(FolderIteratorTest, ValidationAndExpansionFailures) {
  Set(iterator_, "StartingFolder", std::string());
  EXPECT_EQ(
      host_.Validate(iterator_),
      (std::vector<ValidationError>{{"Starting Folder", "A starting folder has not been set", 0}}));
  Set(iterator_, "StartingFolder", std::string("%NOPE%"));
  EXPECT_EQ(iterator_.GetFormattedDescription(), "Folder Iterator [ %NOPE% ]");
  bool executed = true;
  RunLoop(iterator_, {}, &executed);
  EXPECT_FALSE(executed);
  ASSERT_EQ(host_.Texts(stError).size(), 1u);
  EXPECT_NE(host_.Texts(stError)[0].find("Starting Folder"), std::string::npos);
}

}  // namespace
}  // namespace brivant::testing

#include "actions/text/create_text_file_action.h"

#include <fstream>
#include <tuple>

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class CreateTextFileActionTest : public ActionTest {
 protected:
  TBVCreateTextFileAction action_;
};

TEST_F(CreateTextFileActionTest, WritesEachEncodingWithItsMark) {
  const std::tuple<int64_t, std::string> cases[] = {
      {0, "h\xC3\xA9"},
      {1, "\xEF\xBB\xBFh\xC3\xA9"},
      {2, std::string("\xFF\xFEh\0\xE9\0", 6)},
      {3, std::string("\xFE\xFF\0h\0\xE9", 6)},
  };
  for (const auto& [encoding, bytes] : cases) {
    SCOPED_TRACE(encoding);
    TBVCreateTextFileAction action;
    Set(action, "NewFileName", Path("out.txt"));
    Set(action, "FileContents", std::string("h\xC3\xA9"));
    Set(action, "OverwriteExisting", true);
    Set(action, "Encoding", encoding);
    ASSERT_TRUE(host_.Run(action));
    EXPECT_EQ(ReadBytes(Path("out.txt")), bytes);
  }
}

TEST_F(CreateTextFileActionTest, ExpandsNameAndContentsAndCreatesDirectories) {
  host_.Define("DIR", Variant(dir_.path()));
  host_.Define("VERSION", Variant(std::string("1.2.3")));
  Set(action_, "NewFileName", std::string("  %DIR%/a/b/version.txt  "));
  Set(action_, "FileContents", std::string("version=%VERSION% 100%%"));
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(ReadBytes(Path("a/b/version.txt")), "version=1.2.3 100%");
  EXPECT_EQ(host_.Texts(stInfo),
            std::vector<std::string>{"Existing file found and will be overwritten"});
}

TEST_F(CreateTextFileActionTest, ExistingFileIsKeptWithoutOverwrite) {
  WriteBytes(Path("keep.txt"), "old");
  Set(action_, "NewFileName", Path("keep.txt"));
  Set(action_, "FileContents", std::string("new"));
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"ERROR - File already exists: " + Path("keep.txt")});
  EXPECT_EQ(ReadBytes(Path("keep.txt")), "old");
}

TEST_F(CreateTextFileActionTest, FailedWritesAndUnknownReferencesWriteNothing) {
  WriteBytes(Path("plain"), "x");
  Set(action_, "NewFileName", Path("plain/sub.txt"));
  Set(action_, "CreateDirectory", false);
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"File creation failed: Not a directory"});

  Set(action_, "NewFileName", Path("x.txt"));
  Set(action_, "FileContents", std::string("%NOPE%"));
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_FALSE(std::ifstream(Path("x.txt")).good());
}

}  // namespace
}  // namespace brivant::testing

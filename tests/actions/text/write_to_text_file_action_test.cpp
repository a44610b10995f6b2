#include "actions/text/write_to_text_file_action.h"

#include <filesystem>
#include <fstream>
#include <tuple>

#include "tests/support/action_test.h"
#include "tests/support/unprivileged.h"

namespace brivant::testing {
namespace {

class WriteToTextFileActionTest : public ActionTest {
 protected:
  bool Write(const std::string& file, const std::string& content, TBVWriteToPos position,
             int64_t encoding = 0) {
    TBVWriteToTextFileAction action;
    Set(action, "FileName", Path(file));
    Set(action, "NewContent", content);
    Set(action, "WriteToPosition", int64_t{position});
    Set(action, "Encoding", encoding);
    return host_.Run(action);
  }
  const std::string utf16le_ = std::string("\xFF\xFE" "a\0b\0", 6);
};

TEST_F(WriteToTextFileActionTest, AppendKeepsTheFilesEncodingOrTakesTheChosenOne) {
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"ansi", "ab", "ab\r\nc"},
      {"utf8", "\xEF\xBB\xBF" "ab", "\xEF\xBB\xBF" "ab\r\nc"},
      {"utf16le", std::string("\xFF\xFE" "a\0b\0", 6), std::string("\xFF\xFE" "a\0b\0\r\0\n\0c\0", 12)},
      {"utf16be", std::string("\xFE\xFF\0a\0b", 6), std::string("\xFE\xFF\0a\0b\0\r\0\n\0c", 12)},
  };
  for (const auto& [name, before, after] : cases) {
    SCOPED_TRACE(name);
    WriteBytes(Path("f.txt"), before);
    // The chosen encoding is ignored for a file that has text already.
    ASSERT_TRUE(Write("f.txt", "c", toEnd, /*encoding=*/1));
    EXPECT_EQ(ReadBytes(Path("f.txt")), after);
  }
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Written new content to end of text file " + Path("f.txt"));

  WriteBytes(Path("empty.txt"), "");
  ASSERT_TRUE(Write("empty.txt", "hi", toEnd, /*encoding=*/2));
  EXPECT_EQ(ReadBytes(Path("empty.txt")), std::string("h\0i\0", 4));
}

TEST_F(WriteToTextFileActionTest, PrependWritesMarkNewTextThenOldTextThroughAFreeName) {
  WriteBytes(Path("f.txt"), utf16le_);
  ASSERT_TRUE(Write("f.txt", "z", toStart));
  EXPECT_EQ(ReadBytes(Path("f.txt")), std::string("\xFF\xFE" "z\0\r\0\n\0a\0b\0", 12));
  EXPECT_FALSE(std::ifstream(Path("f.temp0")).good()) << "temporary file left behind";
  EXPECT_EQ(host_.Texts(stSuccess).back(),
            "Written new content to beginning of text file " + Path("f.txt"));

  WriteBytes(Path("f.txt"), "old");
  WriteBytes(Path("f.temp0"), "someone else's");
  ASSERT_TRUE(Write("f.txt", "new", toStart));
  EXPECT_EQ(ReadBytes(Path("f.txt")), "new\r\nold");
  EXPECT_EQ(ReadBytes(Path("f.temp0")), "someone else's");
  EXPECT_FALSE(std::ifstream(Path("f.temp1")).good());
}

TEST_F(WriteToTextFileActionTest, FailedPrependLosesNoContent) {
  // A directory that can't take a new file: not even the new text can be written.
  std::filesystem::create_directory(Path("locked"));
  WriteBytes(Path("locked/f.txt"), "precious");
  bool ran = RunUnprivileged(dir_.path(), [&] {
    std::filesystem::permissions(Path("locked"), std::filesystem::perms(0555));
    EXPECT_FALSE(Write("locked/f.txt", "new", toStart));
    EXPECT_EQ(host_.Texts(stError),
              (std::vector<std::string>{
                  "Could not open target file for writing : " + Path("locked/f.txt"),
                  "Error reason: Permission denied"}));
  });
  if (!ran) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(ReadBytes(Path("locked/f.txt")), "precious");
}

TEST_F(WriteToTextFileActionTest, FailedAppendOfUnencodableTextLosesNoContent) {
  WriteBytes(Path("f.txt"), utf16le_);
  // Invalid UTF-8 cannot be written as UTF-16: nothing is appended.
  EXPECT_FALSE(Write("f.txt", "\xC3", toEnd));
  EXPECT_EQ(ReadBytes(Path("f.txt")), utf16le_);
  EXPECT_FALSE(Write("f.txt", "\xC3", toStart));
  EXPECT_EQ(ReadBytes(Path("f.txt")), utf16le_);
}

TEST_F(WriteToTextFileActionTest, MissingFileAndEmptyContent) {
  EXPECT_FALSE(Write("missing.txt", "x", toEnd));
  EXPECT_EQ(host_.Texts(stError).back(), "ERROR - File doesn't exist: " + Path("missing.txt"));

  TBVWriteToTextFileAction create;
  Set(create, "FileName", Path("new.txt"));
  Set(create, "NewContent", std::string("x"));
  Set(create, "CreateIfNotExists", true);
  Set(create, "Encoding", int64_t{1});
  ASSERT_TRUE(host_.Run(create));
  EXPECT_EQ(ReadBytes(Path("new.txt")), "\xEF\xBB\xBFx");
  EXPECT_EQ(host_.Texts(stInfo).back(), "New file will be created because it currently does not exist");

  TBVWriteToTextFileAction nothing;
  Set(nothing, "FileName", Path("new.txt"));
  EXPECT_TRUE(host_.Run(nothing));
  EXPECT_EQ(host_.Texts(stWarning), std::vector<std::string>{"Nothing to write"});
  Set(nothing, "IgnoreNoContent", false);
  EXPECT_FALSE(host_.Run(nothing));
  EXPECT_EQ(host_.Texts(stError).back(), "Nothing to write");
}

TEST_F(WriteToTextFileActionTest, ContentIsTakenAsItStandsWithoutExpansion) {
  WriteBytes(Path("f.txt"), "");
  TBVWriteToTextFileAction action;
  Set(action, "FileName", Path("f.txt"));
  Set(action, "NewContent", std::string("%UNDEFINED% 5%"));
  Set(action, "ExpandVariables", false);
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(ReadBytes(Path("f.txt")), "%UNDEFINED% 5%");
}

}  // namespace
}  // namespace brivant::testing

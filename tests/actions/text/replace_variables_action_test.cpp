#include "actions/text/replace_variables_action.h"

#include <tuple>

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class ReplaceVariablesTest : public ActionTest {
 protected:
  void SetUp() override { host_.Define("V", Variant("x")); }
  bool Replace(const std::string& file) {
    TBVReplaceVariablesAction action;
    Set(action, "SourceFile", Path(file));
    return host_.Run(action);
  }
};

TEST_F(ReplaceVariablesTest, WritesBackInTheEncodingFoundWithoutTheFinalBreak) {
  const std::tuple<const char*, std::string, std::string, const char*> cases[] = {
      {"ansi, LF", "a=%V%\nb\n", "a=x\r\nb", "Made 1 replacements."},
      {"no references", "plain\r\nline\r\n", "plain\r\nline", "Made 0 replacements."},
      {"utf8 mark", "\xEF\xBB\xBF%V%%V%\r", "\xEF\xBB\xBFxx", "Made 2 replacements."},
      {"utf16", std::string("\xFF\xFE%\0V\0%\0\n\0", 10), std::string("\xFF\xFEx\0", 4),
       "Made 1 replacements."},
  };
  for (const auto& [name, before, after, count] : cases) {
    SCOPED_TRACE(name);
    WriteBytes(Path("f.txt"), before);
    host_.messages.clear();
    ASSERT_TRUE(Replace("f.txt"));
    EXPECT_EQ(ReadBytes(Path("f.txt")), after);
    EXPECT_EQ(host_.Texts(stInfo)[1], count);
  }
}

TEST_F(ReplaceVariablesTest, FailuresLeaveTheFileAsItWas) {
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"unknown reference", "%Nope%",
       "Could not expand variables: Variable \"Nope\" is not defined"},
      {"invalid text", "a\xFF", "An error occured: " + Path("f.txt") + ": invalid"},
  };
  for (const auto& [name, before, error] : cases) {
    SCOPED_TRACE(name);
    WriteBytes(Path("f.txt"), before);
    host_.messages.clear();
    EXPECT_FALSE(Replace("f.txt"));
    ASSERT_EQ(host_.Texts(stError).size(), 1u);
    EXPECT_EQ(host_.Texts(stError)[0].rfind(error, 0), 0u) << host_.Texts(stError)[0];
    EXPECT_EQ(ReadBytes(Path("f.txt")), before);
  }
}

TEST_F(ReplaceVariablesTest, VariableToVariable) {
  host_.Define("Src", Variant("%V%-%V%"));
  host_.Define("Dst");
  TBVReplaceVariablesAction action;
  Set(action, "SourceType", int64_t{rfVariable});
  Set(action, "SourceVariable", std::string("Src"));
  Set(action, "WriteBackToSource", false);
  Set(action, "DestType", int64_t{rfVariable});
  Set(action, "DestVariable", std::string("Dst"));
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.VariableText("Dst"), "x-x");
  EXPECT_EQ(host_.VariableText("Src"), "%V%-%V%");
}

}  // namespace
}  // namespace brivant::testing

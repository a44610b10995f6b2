#include "actions/text/text_replace_action.h"

#include <filesystem>

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class TextReplaceActionTest : public ActionTest {
 protected:
  bool Replace(const std::string& search, const std::string& replace) {
    Set(action_, "Filename", Path("in.txt"));
    Set(action_, "DoReplaceText", true);
    Set(action_, "SearchText", search);
    Set(action_, "ReplaceText", replace);
    return host_.Run(action_);
  }
  TTextReplaceAction action_;
};

TEST_F(TextReplaceActionTest, WholeWordsEndAtTheFixedDelimiters) {
  const std::pair<const char*, const char*> rows[] = {
      {"a b a;(a)", "X b X;(X)"},
      {"a-b a\tb", "a-b a\tb"},
      {"[a]\\a/a.", "[X]\\X/X."},
      {"ba ab \"a'", "ba ab \"X'"},
      {"a", "X"},
  };
  Set(action_, "WholeWordsOnly", true);
  for (const auto& [line, expected] : rows) {
    SCOPED_TRACE(line);
    WriteBytes(Path("in.txt"), std::string(line) + "\n");
    ASSERT_TRUE(Replace("a", "X"));
    EXPECT_EQ(ReadBytes(Path("in.txt")), std::string(expected) + "\n");
  }
}

TEST_F(TextReplaceActionTest, RepeatLimitsReplacementsAndReportCounts) {
  WriteBytes(Path("in.txt"), "x x\r\nx\r\nX x\r\n");
  Set(action_, "DoRepeat", int64_t{2});
  ASSERT_TRUE(Replace("x", "y"));
  EXPECT_EQ(ReadBytes(Path("in.txt")), "y y\r\nx\r\nX x\r\n");
  EXPECT_EQ(host_.Texts(stInfo).back(), "2 matches found, 2 replaced in file : " + Path("in.txt"));
  Set(action_, "DoRepeat", int64_t{0});
  Set(action_, "CaseSensitive", false);
  ASSERT_TRUE(Replace("x", "z"));
  EXPECT_EQ(ReadBytes(Path("in.txt")), "y y\r\nz\r\nz z\r\n");
}

TEST_F(TextReplaceActionTest, NothingFoundLeavesTheFileAndCanFail) {
  WriteBytes(Path("in.txt"), "abc");
  auto before = std::filesystem::last_write_time(Path("in.txt"));
  Set(action_, "FailOnFewReplacements", true);
  EXPECT_FALSE(Replace("q", "r"));
  EXPECT_EQ(host_.Texts(stError).back(), "Failing because less than 1 replacements were made.");
  EXPECT_EQ(std::filesystem::last_write_time(Path("in.txt")), before);
  Set(action_, "NewFileName", Path("new.txt"));
  EXPECT_FALSE(Replace("q", "r"));
  EXPECT_EQ(ReadBytes(Path("new.txt")), "abc\n");  // a new file is always written
}

TEST_F(TextReplaceActionTest, RegexModeIgnoresCaseAndScriptsCanDecline) {
  WriteBytes(Path("in.txt"), "Ab1 ab2 AB3\n");
  Set(action_, "MatchRegularExpression", true);
  host_.script_runner = [](TCustomBVAction&, const TBVActionScript&, ScriptParameters* p) {
    (*p)[3].second = Variant((*p)[1].second.ToString() != "ab2");
    (*p)[2].second = Variant("<" + (*p)[1].second.ToString() + ">");
    return Variant();
  };
  action_.GetScriptByName("OnFindText")->SetCode("x");
  ASSERT_TRUE(Replace("ab\\d", "-"));
  EXPECT_EQ(ReadBytes(Path("in.txt")), "<Ab1> ab2 <AB3>\n");
  EXPECT_EQ(host_.Texts(stInfo).back(), "3 matches found, 2 replaced in file : " + Path("in.txt"));
  EXPECT_FALSE(Replace("(", "-"));
  EXPECT_EQ(host_.Texts(stError).back().rfind("Error: missing closing parenthesis", 0), 0u);
}

TEST_F(TextReplaceActionTest, VariablesAreExpandedInTheFile) {
  host_.Define("V", Variant("1.2"));
  WriteBytes(Path("in.txt"), "version=%V% %UNKNOWN%\n");
  Set(action_, "Filename", Path("in.txt"));
  Set(action_, "DoReplaceVariables", true);
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(ReadBytes(Path("in.txt")), "version=1.2 %UNKNOWN%\n");
}

}  // namespace
}  // namespace brivant::testing

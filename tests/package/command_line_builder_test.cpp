#include "package/command_line_builder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brivant {
namespace {

using Words = std::vector<std::string>;

TEST(CommandLineBuilder, ArgumentKindsDecideQuoting) {
  struct Case {
    const char* name;
    std::string switch_name;
    std::string value;
    int kind;
    std::string text;
  };
  const Case cases[] = {
      {"verbatim keeps blanks", "/X:", "a b", akVerbatim, "/X:a b"},
      {"switch alone", "/S", "", akSwitch, "/S"},
      {"switch with value", "/LEV:", "3", akSwitch, "/LEV:3"},
      {"path without blank", "/D:", "/src/dir", akPath, "/D:/src/dir"},
      {"path with blank", "/D:", "/my dir", akPath, "/D:\"/my dir\""},
      {"path with tab", "", "a\tb", akPath, "\"a\tb\""},
      {"bare path with blank", "/my file.txt", "", akPath, "\"/my file.txt\""},
      {"bare path without blank", "/file.txt", "", akPath, "/file.txt"},
      {"already quoted path", "/D:", "\"/my dir\"", akPath, "/D:\"/my dir\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TCommandLineBuilder builder;
    IArgument& argument = builder.AddArgument(c.switch_name, c.value, c.kind);
    EXPECT_EQ(argument.GetText(), c.text);
    EXPECT_EQ(builder.GetParametersStr(), c.text);
  }
}

TEST(CommandLineBuilder, AssembledTextJoinsPartsWithOneBlank) {
  TCommandLineBuilder builder;
  EXPECT_EQ(builder.GetParametersStr(), "");
  EXPECT_EQ(builder.GetArguments(), Words{});
  builder.AddArgument("/src", "", akSwitch);
  builder.AddParameters("");  // adds nothing, not even a blank
  builder.AddArgument("", "/a b/c", akPath);
  builder.AddParameters("/XF *.bak");
  builder.AddRawWord("raw word");
  EXPECT_EQ(builder.GetParametersStr(), "/src \"/a b/c\" /XF *.bak raw word");
  EXPECT_EQ(builder.GetArguments(), (Words{"/src", "/a b/c", "/XF", "*.bak", "raw word"}));
}

TEST(CommandLineBuilder, RawWordsArriveWholeAndQuotesSpanParameterParts) {
  TCommandLineBuilder builder;
  builder.AddRawWord("-c");
  builder.AddRawWord("echo \"a  b\" 'c' \\\" && exit 3");
  builder.AddRawWord("");
  EXPECT_EQ(builder.GetArguments(), (Words{"-c", "echo \"a  b\" 'c' \\\" && exit 3", ""}));
  TCommandLineBuilder parts;
  parts.AddParameters("\"two");
  parts.AddParameters("parts\" after");
  EXPECT_EQ(parts.GetArguments(), (Words{"two parts", "after"}));
}

TEST(SplitWindowsCommandLine, FollowsTheWindowsRules) {
  // Expected words written by hand from the rules a Windows program's
  // start-up code applies: blanks separate, quotes group, 2n backslashes
  // before a quote give n and the quote delimits, 2n+1 give n and a
  // literal quote, other backslashes are literal.
  struct Case {
    std::string text;
    Words words;
  };
  const Case cases[] = {
      // clang-format off
      {"a b", {"a", "b"}}, {"\"a b\"", {"a b"}}, {"\\\"", {"\""}}, {"a\\\\\"b c\"", {"a\\b c"}},
      {"a\\\\\\\"b", {"a\\\"b"}}, {"\"\"", {""}}, {"x \"\" y", {"x", "", "y"}},
      {"a\\b\\\\c", {"a\\b\\\\c"}}, {"  lead\t\ttrail  ", {"lead", "trail"}},
      {"ab\"c d\"ef", {"abc def"}}, {"\"a \"\"b\"\" c\"", {"a \"b\" c"}},
      {"\"unterminated x", {"unterminated x"}}, {"", {}}, {"   ", {}},
      {"/XF *.bak", {"/XF", "*.bak"}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("text: [" + c.text + "]");
    EXPECT_EQ(SplitWindowsCommandLine(c.text), c.words);
  }
}

TEST(QuoteHelpers, DoubleQuoteAndStripQuotes) {
  struct Case {
    std::string text;
    bool force;
    std::string quoted;
    std::string stripped;
  };
  // clang-format off
  const Case cases[] = {
      {"a b", false, "\"a b\"", "a b"},
      {"ab", false, "ab", "ab"},
      {"ab", true, "\"ab\"", "ab"},
      {"\"a b\"", true, "\"a b\"", "a b"},
      {"\"a", false, "\"a", "\"a"},
      {"\"\"", false, "\"\"", ""},
      {"", true, "\"\"", ""},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE("text: [" + c.text + "]");
    EXPECT_EQ(DoubleQuoteString(c.text, c.force), c.quoted);
    EXPECT_EQ(StripQuotes(c.text), c.stripped);
  }
}

}  // namespace
}  // namespace brivant

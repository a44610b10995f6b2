#include "host/expander.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "host/build_runner.h"
#include "package/exceptions.h"
#include "tests/support/message_sink.h"
#include "tests/support/scoped_env.h"

namespace brivant::host {
namespace {

const std::map<std::string, std::string> kVariables = {
    {"A", "1"},       {"OUT", "dist"}, {"v1.2_x", "dotted"},
    {"_hidden", "h"}, {"LOOP", "%A%"}, {"MACRO", "$(A)"},
};

std::optional<std::string> Lookup(const std::string& name) {
  auto it = kVariables.find(name);
  if (it == kVariables.end()) return std::nullopt;
  return it->second;
}

TEST(ExpandReferences, ReplacesReferencesAndKeepsEverythingElse) {
  struct Case {
    std::string_view text;
    std::string_view expanded;
    int replaced;
  };
  const Case cases[] = {
      {"", "", 0},
      {"%OUT%/bin", "dist/bin", 1},
      {"$(OUT)/bin", "dist/bin", 1},
      {"%A%%A%$(A)$(A)", "1111", 4},
      {"%A%B%", "1B%", 1},
      {"%v1.2_x% %_hidden%", "dotted h", 2},
      // Escapes.
      {"100%%", "100%", 0},
      {"%%A%%", "%A%", 0},
      {"$$(A)", "$(A)", 0},
      {"$$", "$$", 0},
      // A % or $( that opens no reference is literal text.
      {"50%", "50%", 0},
      {"100% done", "100% done", 0},
      {"%not a name%", "%not a name%", 0},
      {"%1", "%1", 0},
      {"%1%", "%1%", 0},
      {"$(", "$(", 0},
      {"$(A", "$(A", 0},
      // A view that ends inside a reference, with the rest of it beyond its end.
      {std::string_view("$(A)", 3), "$(A", 0},
      {std::string_view("%A%", 2), "%A", 0},
      {"$(A B)", "$(A B)", 0},
      {"$A", "$A", 0},
      {"%", "%", 0},
      // Values are inserted as they are, never expanded again.
      {"%LOOP% $(MACRO)", "%A% $(A)", 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    int replaced = -1;
    EXPECT_EQ(ExpandReferences(c.text, Lookup, /*fail_on_unknown=*/true, &replaced), c.expanded);
    EXPECT_EQ(replaced, c.replaced);
  }
}

TEST(ExpandReferences, UnknownReferenceThrowsWhenStrict) {
  for (std::string_view text : {"x %MISSING% y", "x $(MISSING) y"}) {
    SCOPED_TRACE(text);
    try {
      ExpandReferences(text, Lookup, /*fail_on_unknown=*/true);
      ADD_FAILURE() << "no exception";
    } catch (const EVariableException& e) {
      EXPECT_STREQ(e.what(), "Variable \"MISSING\" is not defined");
    }
  }
}

TEST(ExpandReferences, UnknownReferenceStaysAsItIsAndUncountedWhenLenient) {
  int replaced = -1;
  EXPECT_EQ(
      ExpandReferences("%MISSING% $(MISSING) %A%", Lookup, /*fail_on_unknown=*/false, &replaced),
      "%MISSING% $(MISSING) 1");
  EXPECT_EQ(replaced, 1);
}

// The host resolves a name to a project variable first, then to the
// environment, and reports failures itself in TryExpandExpression.
class RunnerExpansionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    project_.variables = {{"BRIVANT_EXPANDER_BOTH", Variant("project wins"), 1}};
  }

  testing::ScopedEnv env_{"BRIVANT_EXPANDER_ENV", "from environment"};
  testing::ScopedEnv both_{"BRIVANT_EXPANDER_BOTH", "environment loses"};
  Project project_;
  testing::MessageSink sink_;
};

TEST_F(RunnerExpansionTest, FallsBackToTheEnvironmentAfterProjectVariables) {
  BuildRunner runner(project_, sink_);
  EXPECT_EQ(runner.ExpandExpression("%BRIVANT_EXPANDER_ENV% / $(brivant_expander_both)", true),
            "from environment / project wins");
  // Environment names are case-sensitive; only variables ignore case.
  int replaced = -1;
  EXPECT_EQ(runner.ExpandExpression("%brivant_expander_env%", &replaced, false),
            "%brivant_expander_env%");
  EXPECT_EQ(replaced, 0);
  // The environment is only for expansion; it declares no variables.
  EXPECT_FALSE(runner.IsVariableDefined("BRIVANT_EXPANDER_ENV"));
}

TEST_F(RunnerExpansionTest, TryExpandLogsTheFailureWithThePropertyTitle) {
  BuildRunner runner(project_, sink_);
  std::string result = "untouched";
  EXPECT_FALSE(runner.TryExpandExpression("File Spec", "%NOPE%/*.tmp", &result, true));
  EXPECT_EQ(result, "untouched");
  EXPECT_EQ(sink_.messages,
            (std::vector<std::string>{
                "stError: Unable to expand File Spec: Variable \"NOPE\" is not defined"}));
  EXPECT_TRUE(runner.TryExpandExpression("File Spec", "%BRIVANT_EXPANDER_ENV%", &result, true));
  EXPECT_EQ(result, "from environment");
}

}  // namespace
}  // namespace brivant::host

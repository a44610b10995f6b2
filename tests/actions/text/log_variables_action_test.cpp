#include "actions/text/log_variables_action.h"

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class LogVariablesTest : public ActionTest {
 protected:
  void SetUp() override {
    host_.Define("A", Variant(int64_t{1}));
    host_.Define("Which", Variant("A"));
  }
  TBVLogVariablesAction action_;
};

TEST_F(LogVariablesTest, ListedNamesMayBeReferencesAndUndefinedOnesDecide) {
  struct Case {
    bool fail;
    bool result;
    std::vector<std::string> events;
  } cases[] = {
      {true, false,
       {"stInfo: Current variable values : ", "stInfo: A = 1", "stError: Variable Nope not defined."}},
      {false, true,
       {"stInfo: Current variable values : ", "stInfo: A = 1",
        "stWarning: Variable Nope not defined.", "stInfo: A = 1", "stSuccess: Success"}},
  };
  Set(action_, "VariableStorageString", std::string("%Which%\r\nNope\n\nA"));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fail);
    host_.events.clear();
    Set(action_, "FailIfNotDefined", c.fail);
    EXPECT_EQ(host_.Run(action_), c.result);
    EXPECT_EQ(host_.events, c.events);
  }
  EXPECT_EQ(action_.GetFormattedDescription(), "Log Variable Values [Variables: %Which%, Nope, A]");
}

TEST_F(LogVariablesTest, AllVariables) {
  Set(action_, "LogAllVariables", true);
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.events, (std::vector<std::string>{"stInfo: All variable values : ", "stInfo: A = 1",
                                                    "stInfo: Which = A", "stSuccess: Success"}));
}

}  // namespace
}  // namespace brivant::testing

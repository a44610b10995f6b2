#include "actions/process/script_action.h"

#include "host/script_engine.h"
#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class ScriptActionTest : public ActionTest {
 protected:
  ScriptActionTest() {
    host_.script_runner = [this](TCustomBVAction& action, const TBVActionScript& script,
                                 ScriptParameters* parameters) {
      return engine_.Run(action, script, parameters);
    };
  }
  bool RunScript(const std::string& code) {
    action_.GetScriptByName("Script")->SetCode(code);
    return host_.Run(action_);
  }
  host::ScriptEngine engine_{host_};
  TBVScriptAction action_;
};

TEST_F(ScriptActionTest, FailsWhenTheScriptThrowsReturnsFalseOrRunsTooLong) {
  Set(action_, "TimeOut", int64_t{1});
  const std::pair<const char*, const char*> rows[] = {
      {"throw new Error('broken');", "script Script: Error: broken (line 1)"},
      {"1 == 2", "The script returned false"},
      {"while (true) {}", "script Script: ran longer than the time limit of 1000 ms"},
  };
  for (const auto& [code, error] : rows) {
    SCOPED_TRACE(code);
    EXPECT_FALSE(RunScript(code));
    EXPECT_EQ(host_.Texts(stError).back().rfind(error, 0), 0u) << host_.Texts(stError).back();
  }
}

TEST_F(ScriptActionTest, RunsAFileLogsAndKeepsItsResult) {
  WriteBytes(Path("s.js"), "Brivant.log('from ' + Action.ClassName); 6 * 7;");
  Set(action_, "ScriptFile", Path("s.js"));
  Set(action_, "ResultVariable", std::string("R"));
  host_.Define("R");
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stInfo).back(), "from TBVScriptAction");
  EXPECT_EQ(host_.VariableText("R"), "42");
}

}  // namespace
}  // namespace brivant::testing

#include "package/execute_abstract_action.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/process_probe.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using ::brivant::testing::IsRunning;
using ::brivant::testing::WaitUntil;

using Lines = std::vector<std::string>;
using std::chrono::seconds;
using std::chrono::steady_clock;

// The smallest program-running action: a shell running one script.
class TShellScriptAction : public TBVExecuteAbstractAction {
 public:
  explicit TShellScriptAction(std::string script) : script_(std::move(script)) {}

  std::string_view ClassName() const override { return "TShellScriptAction"; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string GetActionName() const override { return "Shell Script"; }
  std::string GetExecutable() override { return executable; }
  std::string GetStartingDir() override { return start_dir; }
  bool GetCommandLine(ICommandLineBuilder& builder) override {
    builder.AddRawWord("-c");
    builder.AddRawWord(script_);
    return true;
  }
  bool InterpretResult(int exit_code) override {
    interpreted.push_back(exit_code);
    return TBVExecuteAbstractAction::InterpretResult(exit_code);
  }
  void OnExeNotFound(const std::string& name) override {
    not_found.push_back(name);
    TBVExecuteAbstractAction::OnExeNotFound(name);
  }

  std::string executable = "/bin/sh";
  std::string start_dir;
  std::vector<int> interpreted;
  std::vector<std::string> not_found;

 private:
  std::string script_;
};

class ExecuteAbstractActionTest : public ::testing::Test {
 protected:
  testing::TestHost host;
  testing::ScopedTempDir temp;
};

TEST_F(ExecuteAbstractActionTest, ExitCodeDecidesSuccess) {
  struct Case {
    const char* script;
    bool success;
    Lines errors;
  };
  const Case cases[] = {
      {"exit 0", true, {}},
      {"exit 5", false, {"Program failed with exit code 5"}},
      {"kill -KILL $$", false, {"Program failed with exit code 137"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    testing::TestHost run_host;
    TShellScriptAction action(c.script);
    EXPECT_EQ(run_host.Run(action), c.success);
    ASSERT_EQ(action.interpreted.size(), 1u);
    EXPECT_EQ(run_host.Texts(stError), c.errors);
    EXPECT_FALSE(action.GetTimedOut());
  }
}

// Also: an empty line stays in the logged output.
TEST_F(ExecuteAbstractActionTest, RedirectStdErrMergesItIntoTheOutput) {
  struct Case {
    bool redirect;
    std::string output;
  };
  const Case cases[] = {{true, "out\nerr\n\nout again"}, {false, "out\n\nout again"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.redirect ? "redirected" : "not redirected");
    testing::TestHost run_host;
    TShellScriptAction action("echo out; echo err >&2; echo; echo out again");
    action.SetRedirectStdErr(c.redirect);
    EXPECT_TRUE(run_host.Run(action));
    EXPECT_EQ(run_host.Texts(stInfo).back(), c.output);
  }
}

TEST_F(ExecuteAbstractActionTest, NotWaitingReportsStillActiveAndLeavesNoZombie) {
  // The script cannot end before the go file exists, so getting 259 while it
  // runs shows the action did not wait.
  TShellScriptAction action("echo hidden; while [ ! -e go ]; do sleep 0.02; done");
  action.start_dir = temp.path();
  action.SetWaitForCompletion(false);
  EXPECT_FALSE(host.Run(action));  // 259 is not 0 for the default InterpretResult
  EXPECT_EQ(action.interpreted, std::vector<int>{259});
  uint32_t pid = action.GetProcessID();
  ASSERT_NE(pid, 0u);
  EXPECT_TRUE(IsRunning(pid));
  testing::WriteBytes(temp.Join("go"), "");
  std::string proc_entry = "/proc/" + std::to_string(pid);
  EXPECT_TRUE(WaitUntil([&] { return !std::filesystem::exists(proc_entry); }))
      << "the finished program was not reaped";
  EXPECT_EQ(host.Texts(stInfo), Lines{"Executing: /bin/sh -c echo hidden; while [ ! -e go ]; "
                                      "do sleep 0.02; done"});
}

// Ending the whole group is the platform's (process_test); here the flag
// must reach the runner and the result be the terminated code.
TEST_F(ExecuteAbstractActionTest, TerminateActionEndsTheProgram) {
  TShellScriptAction action("touch started; exec sleep 60");
  action.start_dir = temp.path();
  std::thread stopper([&] {
    if (WaitUntil([&] { return std::filesystem::exists(temp.Join("started")); }))
      action.TerminateAction();
  });
  steady_clock::time_point begin = steady_clock::now();
  EXPECT_FALSE(host.Run(action));
  stopper.join();
  EXPECT_LT(steady_clock::now() - begin, seconds(10));
  EXPECT_EQ(action.interpreted, std::vector<int>{999});
  EXPECT_FALSE(action.GetTimedOut());
}

TEST_F(ExecuteAbstractActionTest, ProgramThatCannotRunFailsTheAction) {
  std::string missing = temp.Join("no such tool");
  struct Case {
    std::string executable;
    Lines errors;
  };
  const Case cases[] = {
      {missing,
       {"Unable to find or execute program: " + missing,
        "Error reason: " + missing + ": No such file or directory"}},
      {"", {"No program to execute was given"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("executable: [" + c.executable + "]");
    testing::TestHost run_host;
    TShellScriptAction action("exit 0");
    action.executable = c.executable;
    EXPECT_FALSE(run_host.Run(action));
    EXPECT_EQ(action.not_found, Lines{c.executable});
    EXPECT_TRUE(action.interpreted.empty());
    EXPECT_EQ(run_host.Texts(stError), c.errors);
  }
}

}  // namespace
}  // namespace brivant

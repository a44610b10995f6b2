#include "package/execute_abstract_action.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/test_host.h"
#include "tests/support/process_probe.h"

namespace brivant {
namespace {

using ::brivant::testing::IsRunning;
using ::brivant::testing::WaitUntil;

using Lines = std::vector<std::string>;
using std::chrono::milliseconds;
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

TEST_F(ExecuteAbstractActionTest, OutputIsLoggedAsOneGroupAfterTheProgram) {
  TShellScriptAction action("echo; echo one; echo; echo 'two  words'");
  EXPECT_TRUE(host.Run(action));
  EXPECT_EQ(host.events, (Lines{
                             "stInfo: Executing: /bin/sh -c echo; echo one; echo; echo 'two  words'",
                             "group-start: Program output",
                             "stInfo: \none\n\ntwo  words",
                             "group-end: stInfo",
                         }));
}

TEST_F(ExecuteAbstractActionTest, LiveCaptureLogsEachLineAsItComes) {
  TShellScriptAction action("echo one; echo two");
  action.SetLiveCapture(true);
  EXPECT_TRUE(host.Run(action));
  EXPECT_EQ(host.events, (Lines{
                             "stInfo: Executing: /bin/sh -c echo one; echo two",
                             "stInfo: one",
                             "stInfo: two",
                         }));
}

TEST_F(ExecuteAbstractActionTest, RedirectStdErrMergesItIntoTheOutput) {
  struct Case {
    bool redirect;
    std::string output;
  };
  const Case cases[] = {{true, "out\nerr\nout again"}, {false, "out\nout again"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.redirect ? "redirected" : "not redirected");
    testing::TestHost run_host;
    TShellScriptAction action("echo out; echo err >&2; echo out again");
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

TEST_F(ExecuteAbstractActionTest, TerminateActionEndsTheWholeProcessGroup) {
  // The shell publishes its background sleep's pid (renamed into place, so
  // it is never read half written) and waits for it.
  TShellScriptAction action("sleep 60 & echo $! > pid.tmp; mv pid.tmp pid.txt; wait");
  action.start_dir = temp.path();
  std::string pid_file = temp.Join("pid.txt");
  steady_clock::time_point terminated_at;
  std::thread stopper([&] {
    if (WaitUntil([&] { return std::filesystem::exists(pid_file); })) {
      terminated_at = steady_clock::now();
      action.TerminateAction();
    }
  });
  bool success = host.Run(action);
  steady_clock::time_point returned_at = steady_clock::now();
  stopper.join();
  ASSERT_NE(terminated_at, steady_clock::time_point()) << "the script never wrote its pid";
  EXPECT_LT(returned_at - terminated_at, seconds(10));
  EXPECT_FALSE(success);
  EXPECT_EQ(action.interpreted, std::vector<int>{999});
  EXPECT_FALSE(action.GetTimedOut());
  uint32_t sleeper = static_cast<uint32_t>(std::stoul(testing::ReadBytes(pid_file)));
  EXPECT_TRUE(WaitUntil([&] { return !IsRunning(sleeper); })) << "the background sleep survived";
  EXPECT_FALSE(IsRunning(action.GetProcessID()));
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

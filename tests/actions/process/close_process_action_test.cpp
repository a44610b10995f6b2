// Close Process against real child processes, and Shell Execute against
// stand-in xdg-open and lp scripts put first on PATH.
#include "actions/process/close_process_action.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "actions/process/shell_execute.h"
#include "platform/process.h"
#include "tests/support/action_test.h"
#include "tests/support/process_probe.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

// Starts `script` under /bin/sh in the background; its process id.
int StartShell(const std::string& script) {
  platform::ProcessLaunch launch;
  launch.program = "/bin/sh";
  launch.argv = {"sh", "-c", script};
  auto started = platform::StartProcessDetached(launch);
  EXPECT_TRUE(started.IsOk());
  return started.IsOk() ? started.Value() : 0;
}

class CloseProcessTest : public testing::ActionTest {
 protected:
  TBVCloseProcessAction action_;
};

TEST_F(CloseProcessTest, BadAndMissingIdsNeverSignalAnything) {
  struct Row {
    const char* id;
    std::vector<std::string> errors;
    std::string description;
  };
  const std::string no_window = "A window handle for the desired process ID could not be found.";
  const std::vector<Row> rows = {
      {"0", {no_window}, "Quit Process [ PID:0 ]"},
      {"1", {no_window}, "Quit Process [ PID:1 ]"},
      {"-1", {no_window}, "Quit Process [ PID:4294967295 ]"},
      {"4194305", {no_window}, "Quit Process [ PID:4194305 ]"},
      {"1099511627776", {"Invalid Process ID : 99999999"}, "Quit Process [ PID:99999999 ]"},
      {"notanumber", {"Invalid Process ID : 99999999"}, "Quit Process [ PID:99999999 ]"},
      {"99999999", {"Invalid Process ID : 99999999"}, "Quit Process [ PID:99999999 ]"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.id);
    host_.messages.clear();
    Set(action_, "ProcessID", std::string(row.id));
    EXPECT_FALSE(host_.Run(action_));
    EXPECT_EQ(host_.Texts(stError), row.errors);
    EXPECT_EQ(action_.GetFormattedDescription(), row.description);
  }
}

TEST_F(CloseProcessTest, ChildIgnoringTheCloseRequestIsTerminatedAfterTheTimeout) {
  // An ignored signal stays ignored across exec.
  int pid = StartShell("trap '' TERM; exec sleep 30");
  host_.Define("PID", Variant(static_cast<int64_t>(pid)));
  Set(action_, "ProcessID", std::string("%PID%"));
  Set(action_, "SendWMClose", true);
  Set(action_, "Timeout", true);
  Set(action_, "TimeoutLimit", int64_t{0});
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(
      host_.Texts(stInfo),
      (std::vector<std::string>{"Closing Process with ID " + std::to_string(pid),
                                "Sending main window a WM_CLOSE message",
                                "Timed out waiting for process to close. Terminating process."}));
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"Success"});
  EXPECT_TRUE(testing::WaitUntil([pid] { return !testing::IsRunning(pid); }));
}

TEST_F(CloseProcessTest, QuitEndsAChildBeforeTheTimeout) {
  int pid = StartShell("exec sleep 30");
  Set(action_, "ProcessID", std::to_string(pid));
  Set(action_, "Timeout", true);
  Set(action_, "TimeoutLimit", int64_t{10});
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stInfo).back(), "Sending main window a WM_QUIT message");
  EXPECT_FALSE(testing::IsRunning(pid));
}

class ShellExecuteTest : public testing::ActionTest {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(dir_.Join("bin"));
    // Each stand-in writes its arguments to a file named after itself.
    for (const char* tool : {"xdg-open", "lp"}) {
      testing::WriteBytes(dir_.Join(std::string("bin/") + tool),
                          "#!/bin/sh\necho \"$@\" > \"" + dir_.Join(tool) + ".args\"\n" +
                              "[ \"$1\" = fail ] && { echo no such printer; exit 3; }\nexit 0\n");
      std::filesystem::permissions(dir_.Join(std::string("bin/") + tool),
                                   std::filesystem::perms::owner_all);
    }
    testing::WriteBytes(dir_.Join("my doc.txt"), "x");
  }

  testing::ScopedEnv path_{"PATH", dir_.Join("bin") + ":/usr/bin:/bin"};
  TBVShellExecute action_;
};

TEST_F(ShellExecuteTest, VerbsRunTheirToolWithTheFile) {
  struct Row {
    const char* verb;
    const char* parameters;
    bool succeeds;
    std::string args_file;
    std::string args_or_error;
  };
  const std::string doc = dir_.Join("my doc.txt");
  const std::vector<Row> rows = {
      {"open", "", true, "xdg-open.args", doc + "\n"},
      {"print", "-d \"office 2\"", true, "lp.args", "-d office 2 " + doc + "\n"},
      {"PRINT", "", true, "lp.args", doc + "\n"},
      {"print", "fail", false, "",
       "ShellExecute Failed with error: lp ended with status 3: no such printer"},
      {"edit", "", false, "",
       "ShellExecute Failed with error: the verb 'edit' is not supported; use open or print"},
  };
  Set(action_, "FileSpec", doc);
  Set(action_, "WaitForCompletion", true);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.verb);
    host_.messages.clear();
    Set(action_, "Action", std::string(row.verb));
    Set(action_, "Parameters", std::string(row.parameters));
    EXPECT_EQ(host_.Run(action_), row.succeeds);
    if (row.succeeds) {
      EXPECT_EQ(testing::ReadBytes(dir_.Join(row.args_file)), row.args_or_error);
    } else {
      EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{row.args_or_error});
    }
  }
}

TEST_F(ShellExecuteTest, MissingFileIsNamedAsTypedAndWildcardsAreRefused) {
  host_.Define("DIR", Variant(dir_.path()));
  Set(action_, "FileSpec", std::string("%DIR%/absent.txt"));
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"File does not exist: %DIR%/absent.txt"});
  EXPECT_THROW(Set(action_, "FileSpec", std::string("*.txt")), std::invalid_argument);
  EXPECT_EQ(action_.GetFileSpec(), "%DIR%/absent.txt");
  // Not waiting: the tool still runs, in the background.
  Set(action_, "FileSpec", dir_.Join("my doc.txt"));
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_TRUE(testing::WaitUntil([this] { return std::filesystem::exists(dir_.Join("lp.args")); }));
}

}  // namespace
}  // namespace brivant

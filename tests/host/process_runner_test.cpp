#include "host/process_runner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/support/test_host.h"

namespace brivant::host {
namespace {

using Lines = std::vector<std::string>;

ProcessRequest Shell(const std::string& script) {
  ProcessRequest request;
  request.executable = "sh";  // found through PATH
  request.arguments = {"-c", script};
  return request;
}

class ProcessRunnerTest : public ::testing::Test {
 protected:
  ProcessOutcome Run(const ProcessRequest& request) {
    ProcessEvents events;
    events.started = [this](uint32_t pid) { started_pids.push_back(pid); };
    events.output_line = [this](const std::string& line) { lines.push_back(line); };
    return RunProcess(request, events);
  }

  testing::ScopedTempDir temp;
  Lines lines;
  std::vector<uint32_t> started_pids;
};

TEST_F(ProcessRunnerTest, ExitCodesOfFinishedAndEndedPrograms) {
  struct Case {
    const char* name;
    const char* script;
    uint32_t timeout_ms;
    bool terminate_at_once;
    int exit_code;
    bool timed_out;
  };
  const Case cases[] = {
      {"own exit code", "exit 7", 0, false, 7, false},
      {"signal death", "kill -KILL $$", 0, false, 137, false},
      {"time-out", "sleep 60", 200, false, 999, true},
      {"terminate", "sleep 60", 0, true, 999, false},
      {"finishes within its time-out", "exit 0", 60000, false, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    started_pids.clear();
    std::atomic<bool> terminate{c.terminate_at_once};
    ProcessRequest request = Shell(c.script);
    request.timeout_ms = c.timeout_ms;
    request.terminate = &terminate;
    ProcessOutcome outcome = Run(request);
    EXPECT_TRUE(outcome.started) << outcome.error;
    EXPECT_EQ(outcome.exit_code, c.exit_code);
    EXPECT_EQ(outcome.timed_out, c.timed_out);
    EXPECT_EQ(started_pids.size(), 1u);
  }
}

TEST_F(ProcessRunnerTest, CaptureAndRedirectChooseTheLines) {
  struct Case {
    const char* name;
    bool capture_output;
    bool redirect_stderr;
    Lines expected;
  };
  const Case cases[] = {
      {"capture with stderr", true, true, {"out", "err"}},
      {"capture without stderr", true, false, {"out"}},
      {"no capture", false, true, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    lines.clear();
    ProcessRequest request = Shell("echo out; echo err >&2");
    request.capture_output = c.capture_output;
    request.redirect_stderr = c.redirect_stderr;
    ProcessOutcome outcome = Run(request);
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(lines, c.expected);
  }
}

TEST_F(ProcessRunnerTest, NotStartedNamesWhatIsWrong) {
  using Fault = ProcessOutcome::StartFault;
  struct Case {
    const char* name;
    ProcessRequest request;
    std::string error;
    Fault fault = Fault::kProgram;
  };
  ProcessRequest no_program;
  ProcessRequest unknown_program;
  unknown_program.executable = "no-such-program-brivant";
  ProcessRequest missing_dir = Shell("exit 0");
  missing_dir.start_dir = temp.Join("missing");
  ProcessRequest missing_input = Shell("exit 0");
  missing_input.input_file = temp.Join("in.txt");
  ProcessRequest missing_input_detached = missing_input;
  missing_input_detached.wait_for_completion = false;
  const Case cases[] = {
      {"no program", no_program, "no program to run was given"},
      {"unknown program", unknown_program, "no-such-program-brivant: No such file or directory"},
      {"missing start directory", missing_dir,
       "start directory " + temp.Join("missing") + ": No such file or directory", Fault::kStartDir},
      {"missing input file", missing_input,
       "input file " + temp.Join("in.txt") + ": No such file or directory", Fault::kInputFile},
      {"missing input file, not waiting", missing_input_detached,
       "input file " + temp.Join("in.txt") + ": No such file or directory", Fault::kInputFile},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ProcessOutcome outcome = Run(c.request);
    EXPECT_FALSE(outcome.started);
    EXPECT_EQ(outcome.error, c.error);
    EXPECT_EQ(outcome.fault, c.fault);
    EXPECT_TRUE(started_pids.empty());
  }
}

}  // namespace
}  // namespace brivant::host

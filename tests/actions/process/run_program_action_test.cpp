#include "actions/process/run_program_action.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <fstream>
#include <thread>

#include "tests/actions/process/run_action_fixture.h"
#include "tests/support/process_probe.h"

namespace brivant::testing {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

class RunProgramActionTest : public RunActionTest {
 protected:
  bool RunShell(const std::string& script) {
    Set(action_, "ProgramName", std::string("/bin/sh"));
    action_.SetParams("-c \"" + script + "\"");
    return host_.Run(action_);
  }
  TRunProgramAction action_;
};

// The splitting rules themselves are the builder's (command_line_builder_test);
// here the properties are expanded, trimmed and unquoted on their way.
TEST_F(RunProgramActionTest, ProgramNameAndParamsAreExpandedAndUnquoted) {
  host_.Define("DIR", Variant("/my dir"));
  struct Case {
    std::string program_name;
    std::string params;
    std::string executable;
    std::string text;
    Lines words;
  };
  const Case cases[] = {
      {"\"%DIR%/x\"", "  -v  -x  ", "/my dir/x", "-v  -x", {"-v", "-x"}},
      {"\"/opt/x",
       "\"%DIR%/a b.txt\" plain",
       "\"/opt/x",
       "\"/my dir/a b.txt\" plain",
       {"/my dir/a b.txt", "plain"}},
      {"\"", "", "", "", {}},
      {"%NO_SUCH_VARIABLE_4A%", "", "", "", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("ProgramName: [" + c.program_name + "] Params: [" + c.params + "]");
    action_.SetProgramName(c.program_name);
    action_.SetParams(c.params);
    BuiltCommand command = Build(action_);
    EXPECT_TRUE(command.built);
    EXPECT_EQ(command.executable, c.executable);
    EXPECT_EQ(command.text, c.text);
    EXPECT_EQ(command.words, c.words);
  }
}

TEST_F(RunProgramActionTest, ProgramInAQuotedPathWithBlanksRuns) {
  std::string printer = ArgumentPrinter();
  action_.SetProgramName("\"" + printer + "\"");
  action_.SetParams("\"one two\" three");
  action_.SetEnableLiveCapture(false);
  EXPECT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.events, (Lines{"stInfo: Executing: " + printer + " \"one two\" three",
                                 "group-start: Program output", "stInfo: [one two]\n[three]",
                                 "group-end: stInfo"}));
  EXPECT_EQ(action_.GetReturnCode(), 0);
}

TEST_F(RunProgramActionTest, ExpansionFailureStopsBeforeTheStart) {
  for (const char* property : {"Params", "StartInDir"}) {
    SCOPED_TRACE(property);
    TestHost host;
    TRunProgramAction action;
    action.SetProgramName("/bin/true");
    Set(action, property, std::string("%NO_SUCH_VARIABLE_4A%"));
    EXPECT_FALSE(host.Run(action));
    EXPECT_EQ(host.Texts(stError), (Lines{"Unable to Execute Program  : ",
                                          "--> Variable \"NO_SUCH_VARIABLE_4A\" is not defined"}));
    EXPECT_EQ(action.GetReturnCode(), TCustomRunProgramAction::kNotRunReturnCode);
    EXPECT_EQ(action.GetProcessID(), 0u);
  }
}

TEST_F(RunProgramActionTest, ComparatorsCompareSigned32BitCodes) {
  struct Case {
    TBVRunReturnCodeComparator comparator;
    int32_t exit_code;
    int32_t value;
    bool success;
  };
  const Case cases[] = {
      {rcLessThan, -1, 0, true},         {rcLessThan, 0, 0, false},
      {rcLessThanEqualTo, -1, 0, true},  {rcEqualTo, 4, 3, false},
      {rcNotEqual, 4, 3, true},          {rcGreaterThanEqualTo, INT_MIN, -1, false},
      {rcGreaterThan, INT_MAX, 0, true}, {static_cast<TBVRunReturnCodeComparator>(6), 0, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.comparator) + ": " + std::to_string(c.exit_code) + " vs " +
                 std::to_string(c.value));
    EXPECT_EQ(CompareReturnCode(c.exit_code, c.comparator, c.value), c.success);
  }
}

TEST_F(RunProgramActionTest, LegacySuccessRCBecomesAtMostCheck) {
  action_.SetEnableReturnCodeCheck(false);
  Set(action_, "SuccessRC", int64_t{3});
  EXPECT_TRUE(action_.GetEnableReturnCodeCheck());
  EXPECT_EQ(action_.GetReturnCodeComparator(), rcLessThanEqualTo);
  EXPECT_EQ(action_.GetReturnCodeToCheck(), 3);
  EXPECT_TRUE(RunShell("exit 3"));
  EXPECT_FALSE(RunShell("exit 4"));
  EXPECT_EQ(host_.Texts(stError), Lines{"Program returned code  : 4"});
}

TEST_F(RunProgramActionTest, ReturnCodeLineDependsOnCheckAndCapture) {
  // Linux carries 8 bits of exit status: 255 stays 255, and a program that
  // dies of a signal reports 128 + the signal number, as shells do.
  struct Case {
    const char* script;
    bool check;
    bool capture;
    bool success;
    Lines events;
  };
  const Case cases[] = {
      {"exit 0", true, true, true, {}},
      {"exit 0", true, false, true, {"stSuccess: Program returned code  : 0"}},
      {"exit 255", false, true, true, {"stInfo: Program returned code  : 255"}},
      {"exit 255", true, true, false, {"stError: Program returned code  : 255"}},
      {"kill -KILL $$", true, false, false, {"stError: Program returned code  : 137"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.script) + (c.check ? " check" : "") + (c.capture ? " capture" : ""));
    host_.events.clear();
    action_.SetEnableReturnCodeCheck(c.check);
    action_.SetCaptureOutput(c.capture);
    EXPECT_EQ(RunShell(c.script), c.success);
    Lines events(host_.events.begin() + 1, host_.events.end());  // after "Executing: ..."
    EXPECT_EQ(events, c.events);
  }
}

TEST_F(RunProgramActionTest, InputFileIsStandardInput) {
  WriteBytes(Path("in put.txt"), "first\nsecond\n");
  host_.Define("DIR", Variant(dir_.path()));
  action_.SetInputFile(" %DIR%/in put.txt ");
  EXPECT_TRUE(RunShell("tac"));
  EXPECT_EQ(Lines(host_.events.begin() + 1, host_.events.end()),
            (Lines{"stInfo: second", "stInfo: first"}));

  action_.SetInputFile("%DIR%/missing.txt");
  EXPECT_FALSE(RunShell("tac"));
  EXPECT_EQ(host_.Texts(stError), (Lines{"Unable to start program: /bin/sh",
                                         "Error reason: input file " + Path("missing.txt") +
                                             ": No such file or directory"}));
}

TEST_F(RunProgramActionTest, NotWaitingSucceedsOnlyWithStillActive) {
  Set(action_, "WaitForCompletion", false);
  EXPECT_TRUE(RunShell("exit 3"));
  EXPECT_EQ(action_.GetReturnCode(), 259);
  EXPECT_NE(action_.GetProcessID(), 0u);
  EXPECT_EQ(host_.Texts(stWarning),
            Lines{"WARNING: To Capture Output you must enable Wait For Completion. No output "
                  "will be captured."});
  EXPECT_EQ(host_.Texts(stInfo).back(), "Program started.");
  action_.AttachHost(&host_);
  EXPECT_FALSE(action_.InterpretResult(3));
  EXPECT_EQ(host_.Texts(stError), Lines{"Program execution failed with error code 3"});
}

TEST_F(RunProgramActionTest, TimeOutEndsTheProgramAndItsChildren) {
  action_.SetEnableTimeout(true);
  action_.SetTimeoutLength(1000);  // long enough for a loaded machine to write pid.txt
  action_.SetStartInDir(dir_.path());
  EXPECT_FALSE(RunShell("sleep 60 & echo $! > pid.txt; sleep 60"));
  EXPECT_TRUE(action_.GetTimedOut());
  EXPECT_EQ(action_.GetReturnCode(), 999);
  // A time-out is not the user: no "Terminated by user".
  EXPECT_EQ(host_.Texts(stError), Lines{"Program returned code  : 999"});
  long child = std::stol(ReadBytes(Path("pid.txt")));
  EXPECT_TRUE(WaitUntil([&] { return !IsRunning(child); }));
}

TEST_F(RunProgramActionTest, StopRequestIsTerminatedByUser) {
  // With the check off, only the runner's ending of the program fails it.
  action_.SetEnableReturnCodeCheck(false);
  host_.stop_signalled = true;  // stopping before the start still ends it
  auto begin = steady_clock::now();
  EXPECT_FALSE(RunShell("echo started; sleep 60"));
  EXPECT_LT(steady_clock::now() - begin, seconds(10));
  EXPECT_FALSE(action_.GetTimedOut());
  EXPECT_EQ(host_.Texts(stError), (Lines{"Program returned code  : 999", "Terminated by user"}));
}

// Counts what is logged instead of keeping it.
class CountingHost : public TestHost {
 public:
  void SendMessage(const std::string& text, TStatusTag tag) override {
    if (tag != stInfo || text.rfind("Executing: ", 0) == 0) return TestHost::SendMessage(text, tag);
    ++messages_;
    lines_ += 1 + std::count(text.begin(), text.end(), '\n');
    bytes_ += text.size() - std::count(text.begin(), text.end(), '\n');
  }
  size_t messages_ = 0, lines_ = 0, bytes_ = 0;
};

// Peak resident memory since the last reset, in bytes.
size_t ResetAndReadPeakMemory(bool reset) {
  if (reset) std::ofstream("/proc/self/clear_refs") << "5";
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmHWM:", 0) == 0) return std::stoul(line.substr(6)) * 1024;
  return 0;
}

TEST_F(RunProgramActionTest, HundredMegabytesOfOutputKeepMemoryFlat) {
  // 1,000,000 lines of 99 characters: 100 MB with the line breaks.
  const std::string line(99, 'x');
  for (bool live : {true, false}) {
    SCOPED_TRACE(live ? "live" : "after the end");
    CountingHost host;
    TRunProgramAction action;
    action.SetProgramName("/bin/sh");
    action.SetParams("-c \"yes " + line + " | head -n 1000000\"");
    action.SetEnableLiveCapture(live);
    size_t before = ResetAndReadPeakMemory(/*reset=*/true);
    EXPECT_TRUE(host.Run(action));
    [[maybe_unused]] size_t growth = ResetAndReadPeakMemory(/*reset=*/false) - before;
    EXPECT_EQ(host.lines_, 1000000u);
    EXPECT_EQ(host.bytes_, 99000000u);
#ifndef __SANITIZE_ADDRESS__  // its quarantine keeps freed blocks resident
    EXPECT_LT(growth, size_t{32} << 20) << "peak memory grew by " << growth << " bytes";
#endif
    if (live) {
      EXPECT_EQ(host.messages_, 1000000u);
    }
  }
}

}  // namespace
}  // namespace brivant::testing

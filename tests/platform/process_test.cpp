#include "platform/process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/process_probe.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant::platform {
namespace {

using ::brivant::testing::IsRunning;
using ::brivant::testing::WaitUntil;

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using Lines = std::vector<std::string>;

ProcessLaunch Shell(const std::string& script) {
  ProcessLaunch launch;
  launch.program = "/bin/sh";
  launch.argv = {"sh", "-c", script};
  return launch;
}

class ProcessTest : public ::testing::Test {
 protected:
  // Runs a program that must start, recording its lines in `lines`.
  ProcessExit Run(const ProcessLaunch& launch, ProcessWatch watch = {}) {
    watch.on_line = [this](const std::string& line) {
      lines.push_back(line);
      if (line_hook) line_hook(line);
    };
    OsResult<ProcessExit> result = RunProcessAndWait(launch, watch);
    EXPECT_TRUE(result.IsOk()) << result.Error().Describe();
    return result.IsOk() ? result.Value() : ProcessExit{};
  }

  std::string MakeFile(const std::string& name, const std::string& bytes,
                       std::filesystem::perms mode) {
    std::string path = temp.Join(name);
    testing::WriteBytes(path, bytes);
    std::filesystem::permissions(path, mode);
    return path;
  }

  testing::ScopedTempDir temp;
  Lines lines;
  std::function<void(const std::string&)> line_hook;
};

TEST_F(ProcessTest, OutputIsSplitIntoLinesAndTheExitIsWaitedFor) {
  struct Case {
    const char* script;
    Lines expected;
    int exit_code = 0;
  };
  const Case cases[] = {
      // clang-format off
      {"printf 'a\\nb\\n'", {"a", "b"}}, {"printf 'a\\r\\nb'", {"a", "b"}},
      {"printf '\\n\\nlast'", {"", "", "last"}}, {"printf 'cr only\\r'", {"cr only"}},
      {"printf 'inner\\rcr\\n'", {"inner\rcr"}}, {"true", {}},
      {"printf 'x\\0y\\n'", {std::string("x\0y", 3)}},
      // 300 000 bytes fill any pipe buffer; the program only ends if we read.
      {"head -c 300000 /dev/zero | tr '\\0' x; printf '\\nend\\n'",
       {std::string(300000, 'x'), "end"}},
      // Never our own standard input, which may be a terminal or an open pipe.
      {"readlink /proc/$$/fd/0; cat", {"/dev/null"}},
      {"echo early; exec >&-; sleep 0.2; exit 6", {"early"}, 6},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    lines.clear();
    ProcessExit exit = Run(Shell(c.script));
    EXPECT_EQ(exit.end, ProcessEnd::kExited);
    EXPECT_EQ(exit.exit_code, c.exit_code);
    EXPECT_EQ(lines, c.expected);
  }
}

TEST_F(ProcessTest, ProgramThatCannotStartIsReportedWithThePathAtFault) {
  using std::filesystem::perms;
  std::string text_file = MakeFile("text", "not a program\n", perms::owner_all);
  std::string no_exec = MakeFile("no-exec", "#!/bin/sh\necho hi\n", perms::owner_read);
  struct Case {
    const char* name;
    std::string program;
    std::string working_directory;
    std::string input_path;
    std::string expected;
  };
  const Case cases[] = {
      {"missing program", temp.Join("missing"), "", "",
       temp.Join("missing") + ": No such file or directory"},
      {"no execute permission", no_exec, "", "", no_exec + ": Permission denied"},
      {"directory", temp.path(), "", "", temp.path() + ": Permission denied"},
      {"no interpreter line", text_file, "", "", text_file + ": Exec format error"},
      {"missing working directory", "/bin/sh", temp.Join("gone"), "",
       temp.Join("gone") + ": No such file or directory"},
      {"missing input file", "/bin/sh", "", temp.Join("no-input"),
       temp.Join("no-input") + ": No such file or directory"},
      {"directory as input file", "/bin/sh", "", temp.path(), temp.path() + ": Is a directory"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ProcessLaunch launch;
    launch.program = c.program;
    launch.working_directory = c.working_directory;
    launch.input_path = c.input_path;
    bool started = false;
    ProcessWatch watch;
    watch.on_started = [&](int) { started = true; };
    OsResult<ProcessExit> result = RunProcessAndWait(launch, watch);
    ASSERT_FALSE(result.IsOk());
    EXPECT_EQ(result.Error().Describe(), c.expected);
    EXPECT_FALSE(started);

    OsResult<int> detached = StartProcessDetached(launch);
    ASSERT_FALSE(detached.IsOk());
    EXPECT_EQ(detached.Error().Describe(), c.expected);
  }
}

TEST_F(ProcessTest, TerminateEndsTheWholeGroup) {
  // The shell prints its background child's pid, then waits for it. With
  // SIGTERM ignored (the sleep inherits that too) only SIGKILL ends them.
  struct Case {
    const char* script;
    int exit_code;
  };
  const Case cases[] = {
      {"sleep 60 & echo $!; wait", 143},
      {"trap '' TERM; sleep 60 & echo $!; wait", 137},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    lines.clear();
    std::atomic<bool> terminate{false};
    line_hook = [&](const std::string&) { terminate = true; };
    ProcessWatch watch;
    watch.terminate = &terminate;
    watch.kill_grace = milliseconds(200);
    auto begin = steady_clock::now();
    ProcessExit exit = Run(Shell(c.script), watch);
    EXPECT_LT(steady_clock::now() - begin, seconds(10));
    EXPECT_EQ(exit.end, ProcessEnd::kTerminated);
    EXPECT_EQ(exit.exit_code, c.exit_code);
    ASSERT_EQ(lines.size(), 1u);
    int sleeper = std::stoi(lines[0]);
    EXPECT_TRUE(WaitUntil([&] { return !IsRunning(sleeper); })) << "sleep survived";
  }
}

TEST_F(ProcessTest, BackgroundChildHoldingThePipeDoesNotDelayTheEnd) {
  // The background sleep keeps the pipe open; we stop at the shell's exit.
  ProcessWatch watch;
  watch.timeout = seconds(30);
  ProcessExit exit = Run(Shell("sleep 30 & echo $!; echo done"), watch);
  EXPECT_EQ(exit.end, ProcessEnd::kExited);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], "done");
  int sleeper = std::stoi(lines[0]);
  EXPECT_TRUE(IsRunning(sleeper)) << "a program's own background child is not ours to end";
  Run(Shell("kill " + lines[0]));
  EXPECT_TRUE(WaitUntil([&] { return !IsRunning(sleeper); }));
}

TEST_F(ProcessTest, ThrowingCallbackLeavesNoProcessBehind) {
  line_hook = [](const std::string&) { throw std::runtime_error("stop"); };
  EXPECT_THROW(Run(Shell("echo $$; exec sleep 60")), std::runtime_error);
  ASSERT_EQ(lines.size(), 1u);
  int pid = std::stoi(lines[0]);
  EXPECT_FALSE(IsRunning(pid));
  EXPECT_FALSE(std::filesystem::exists("/proc/" + lines[0])) << "left as a zombie";
}

TEST_F(ProcessTest, FindExecutableSearchesPathInOrder) {
  using std::filesystem::perms;
  for (const char* dir : {"a", "b", "c", "d"}) std::filesystem::create_directory(temp.Join(dir));
  MakeFile("a/tool", "#!/bin/sh\n", perms::owner_read);    // not executable
  std::filesystem::create_directory(temp.Join("b/tool"));  // a directory
  MakeFile("c/tool", "#!/bin/sh\n", perms::owner_all);
  MakeFile("d/tool", "#!/bin/sh\n", perms::owner_all);
  MakeFile("a/locked", "#!/bin/sh\n", perms::owner_read);
  testing::ScopedEnv path("PATH", temp.Join("missing") + ":" + temp.Join("a") + ":" +
                                      temp.Join("b") + ":" + temp.Join("c") + ":" + temp.Join("d"));
  struct Case {
    std::string name;
    std::string expected;
  };
  const Case cases[] = {
      // clang-format off
      {"tool", temp.Join("c/tool")},
      {"nothing-like-it", "nothing-like-it: No such file or directory"},
      {"locked", "locked: Permission denied"}, {"", "No such file or directory"},
      {"/bin/sh", "/bin/sh"}, {temp.Join("d/tool"), temp.Join("d/tool")},
      {temp.Join("a/tool"), temp.Join("a/tool") + ": Permission denied"},
      {temp.Join("zzz/tool"), temp.Join("zzz/tool") + ": No such file or directory"},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    OsResult<std::string> found = FindExecutable(c.name);
    EXPECT_EQ(found.IsOk() ? found.Value() : found.Error().Describe(), c.expected);
  }
}

}  // namespace
}  // namespace brivant::platform

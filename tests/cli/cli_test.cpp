// End-to-end tests of the `brivant` executable: each test runs the real
// binary in a shell and checks its exit status, standard output and standard
// error. Most use the test package (its texts are predictable); a few use
// the real package found beside the binary.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/process_probe.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

constexpr const char* kBrivant = BRIVANT_EXE;
constexpr const char* kTestPackageDir = BRIVANT_TEST_PACKAGE_DIR;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

// One command line and what it must answer. An expected text ending in "..."
// is the start of the actual one; one also starting with "..." a part of it.
struct Row {
  std::string label;
  std::string environment;
  std::string arguments;
  int status;
  std::string out;
  std::string err;
};

bool Fits(const std::string& actual, const std::string& expected) {
  if (!expected.ends_with("...")) return actual == expected;
  std::string part = expected.substr(0, expected.size() - 3);
  if (part.starts_with("...")) return actual.find(part.substr(3)) != std::string::npos;
  return actual.starts_with(part);
}

const std::string kWithTest = "NO_COLOR=1 BRIVANT_PACKAGE_PATH=" + Quoted(kTestPackageDir);
const std::string kWithReal = "env -u BRIVANT_PACKAGE_PATH";

class CliTest : public ::testing::Test {
 protected:
  // Runs `brivant <arguments>` in the temporary directory. `environment` is
  // put in front of the command as the shell reads it.
  Outcome Brivant(const std::string& arguments, const std::string& environment) {
    return Shell(environment + " " + Quoted(kBrivant) + " " + arguments);
  }

  // Runs a shell command in the temporary directory. The shell writes the
  // exit status to a file, so standard output stays exactly the command's.
  Outcome Shell(const std::string& shell_command) {
    std::string err_file = temp_.Join("stderr.txt");
    std::string status_file = temp_.Join("status.txt");
    std::string command = "cd " + Quoted(temp_.path()) + " && " + shell_command + " 2>" +
                          Quoted(err_file) + "; echo $? >" + Quoted(status_file);
    Outcome outcome;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
      ADD_FAILURE() << "cannot start the shell";
      return outcome;
    }
    char buffer[4096];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) outcome.out.append(buffer, got);
    ::pclose(pipe);
    outcome.status = std::stoi(testing::ReadBytes(status_file));
    outcome.err = testing::ReadBytes(err_file);
    return outcome;
  }

  // With only the test package loaded.
  Outcome WithTestPackage(const std::string& arguments) { return Brivant(arguments, kWithTest); }

  // With the packages found beside the binary.
  Outcome WithRealPackages(const std::string& arguments) { return Brivant(arguments, kWithReal); }

  std::string WriteProject(const std::string& text) {
    testing::WriteBytes(temp_.Join("p.bvproj"), text);
    return "p.bvproj";
  }

  void ExpectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.label + ": brivant " + row.arguments);
      Outcome outcome = Brivant(row.arguments, row.environment);
      EXPECT_EQ(outcome.status, row.status) << outcome.err;
      EXPECT_PRED2(Fits, outcome.out, row.out);
      EXPECT_PRED2(Fits, outcome.err, row.err);
    }
  }

  testing::ScopedTempDir temp_;
};

const char kEchoProject[] = R"(<Project>
  <Variables>
    <Variable Name="WHO" Value="world"/>
  </Variables>
  <Actions>
    <Action Class="TTestEchoAction">
      <Property Name="Text">hello %WHO%</Property>
    </Action>
    <Action Class="TTestEchoAction" Title="Shout" Enabled="False">
      <Property Name="Tone">ttLoud</Property>
    </Action>
    <Action Class="TTestRepeatAction" Title="Twice">
      <Property Name="BVVariable">PASS</Property>
      <Actions>
        <Action Class="TTestEchoAction" Title="Inner">
          <Property Name="Text">again</Property>
        </Action>
      </Actions>
    </Action>
  </Actions>
</Project>
)";

TEST_F(CliTest, CommandsAnswerWithTheirStatusAndTexts) {
  WriteProject(kEchoProject);
  std::filesystem::create_directory(temp_.Join("sub"));
  testing::WriteBytes(temp_.Join("sub/p.bvproj"), kEchoProject);
  testing::WriteBytes(temp_.Join("bad.bvproj"), R"(<Project><Actions>
    <Action Class="TTestEchoAction" Title="Say nothing"><Property Name="Text"></Property></Action>
    <Action Class="TTestEchoAction" Enabled="False"><Property Name="Text"/></Action>
    <Action Class="TTestRepeatAction"><Actions>
      <Action Class="TTestEchoAction"><Property Name="Text"/></Action>
    </Actions></Action>
  </Actions></Project>)");
  testing::WriteBytes(temp_.Join("typo.bvproj"),
                      "<Project>\n<Actions>\n<Action Class=\"TTestEchoAction\">\n"
                      "<Property Name=\"Txt\">x</Property>\n</Action>\n</Actions>\n</Project>\n");
  testing::WriteBytes(temp_.Join("vars.bvproj"), R"(<Project>
  <Variables><Variable Name="SOURCE" Value="s"/></Variables>
  <FileSets><FileSet Name="Sources" BaseDir="."><Include>*</Include></FileSet></FileSets>
  <Actions>
    <Action Class="TDeleteFilesAction" Title="Clean"><Property Name="FileSpec">%SORCE%/%HOME%/$(NUMBER)/%GIVEN%</Property></Action>
    <Action Class="TBVRandomNumberAction"><Property Name="Variable">NUMBER</Property></Action>
    <Action Class="TDeleteFilesAction" Title="Later"><Property Name="FileSpec">$(NUMBER)</Property></Action>
    <Action Class="TFileIterator" Title="Each">
      <Property Name="UseFileSet">True</Property>
      <Property Name="FileSetName">Sourcs</Property>
      <Actions><Action Class="TDeleteFilesAction"><Property Name="FileSpec">%Missing%</Property></Action></Actions>
    </Action>
    <Action Class="TIniFileIterator" Title="Keys">
      <Property Name="IniFilename">s.ini</Property>
      <Property Name="IteratorMode">iiValues</Property>
      <Property Name="SectionName">Plan</Property>
      <Property Name="NameVariable">KEY</Property>
      <Actions><Action Class="TDeleteFilesAction"><Property Name="FileSpec">%KEY%</Property></Action></Actions>
    </Action>
  </Actions>
</Project>)");
  const std::string typo =
      "brivant: typo.bvproj:4: unknown property 'Txt' of TTestEchoAction (did you mean 'Text'?)\n";
  const std::vector<Row> rows = {
      {"list", kWithTest, "list", 0,
       "Testing\tTTestEchoAction\tEcho Text\tPlugins\\EchoText.html\n"
       "Loops\tTTestRepeatAction\tRepeat\t\n",
       ""},
      {"list a category", kWithTest, "list --category loops", 0,
       "Loops\tTTestRepeatAction\tRepeat\t\n", ""},
      {"list a mistyped category", kWithTest, "list --category Loop", 2, "",
       "brivant: unknown category 'Loop' (did you mean 'Loops'?)\n"},
      {"props", kWithTest, "props TTestEchoAction", 0,
       "# TTestEchoAction (Echo Text): see docs/actions/testing.md\n"
       "# name\ttype\tdefault\tflags\tdisplay text\thelp\n"
       "Text\tstring\thello\tstored\tText To Echo\tThe text written to the log\n"
       "Repeat\tInteger\t1\tstored\tRepeat Count\tHow many times the text is written\n"
       "Tone\tTTestTone (ttCalm, ttLoud)\tttCalm\tstored\tTone\t\n"
       "Channels\tset of TTestChannel (tcLog, tcVariable)\ttcLog\tstored\t\t\n"
       "Lines\tTStrings\t\tstored\tExtra Lines\t\n"
       "Message\tstring\thello\tnot stored\t\t\n"
       "LinesWritten\tInteger\t0\tstored,read-only,hidden\t\t\n",
       ""},
      {"props as JSON", kWithTest, "props --json TTestRepeatAction", 0,
       "{\"class\":\"TTestRepeatAction\",\"category\":\"Loops\",\"displayName\":\"Repeat\","
       "\"properties\":[{\"name\":\"BVVariable\",\"type\":\"TVariableName\",\"default\":\"\","
       "\"flags\":\"stored,hidden\",\"displayText\":\"\",\"help\":\"\"},{\"name\":\"Count\","
       "\"type\":\"Integer\",\"default\":\"2\",\"flags\":\"stored\",\"displayText\":\"\","
       "\"help\":\"\"}]}\n",
       ""},
      {"props of a mistyped class", kWithTest, "props TTestEchoActon", 2, "",
       "brivant: unknown action class 'TTestEchoActon' (did you mean 'TTestEchoAction'?)\n"},
      {"describe", kWithTest, "describe p.bvproj", 0,
       "Echo Text [ hello %WHO% ]\n"
       "(disabled) Shout: Echo Text [ hello ]\n"
       "Twice: Repeat [ 2 times ]\n"
       "  Inner: Echo Text [ again ]\n",
       ""},
      {"validate a good project", kWithTest, "validate p.bvproj", 0, "no problems\n", ""},
      {"validate lists problems of enabled actions", kWithTest, "validate bad.bvproj", 1,
       "bad.bvproj:2: Say nothing: Text To Echo: The text has not been set\n"
       "bad.bvproj:4: warning: Repeat: BVVariable: the loop sets no variable, so its actions "
       "cannot tell one pass from the next\n"
       "bad.bvproj:5: Echo Text: Text To Echo: The text has not been set\n",
       ""},
      {"validate an invalid project", kWithTest, "validate typo.bvproj", 2, "", typo},
      {"describe an invalid project", kWithTest, "describe typo.bvproj", 2, "", typo},
      {"run an invalid project", kWithTest, "run typo.bvproj", 2, "", typo},
      // Mistakes only the whole project shows, each named by line and XML
      // property; variables a run would know (-D, an earlier action's output,
      // the environment) are no mistake.
      {"validate finds undefined variables and file sets", kWithReal,
       "validate -D GIVEN=1 vars.bvproj", 1,
       "vars.bvproj:5: warning: Clean: FileSpec: reference to undefined variable 'SORCE' (did "
       "you mean 'SOURCE'?)\n"
       "vars.bvproj:5: warning: Clean: FileSpec: reference to undefined variable 'NUMBER'\n"
       "vars.bvproj:8: warning: Each: VariableName: the loop sets no variable, so its actions "
       "cannot tell one pass from the next\n"
       "vars.bvproj:10: Each: FileSetName: file set 'Sourcs' is not declared in the project "
       "(did you mean 'Sources'?)\n"
       "vars.bvproj:11: warning: Delete File(s): FileSpec: reference to undefined variable "
       "'Missing'\n",
       ""},
      {"missing project", kWithTest, "describe nothing.bvproj", 2, "",
       "brivant: nothing.bvproj: No such file or directory\n"},
      {"-C", kWithTest, "-C sub run p.bvproj --log json", 0, "...hello world...", ""},
      {"help", kWithTest, "--help", 0, "Runs build projects made of actions.\n...", ""},
      {"version", kWithTest, "--version", 0, "brivant ...", ""},
      {"no command", kWithTest, "", 2, "",
       "brivant: a command is required: run, validate, list, props, registry, describe, "
       "reference\n..."},
      {"unknown command", kWithTest, "frobnicate", 2, "",
       "brivant: unknown command 'frobnicate'\n..."},
      {"mistyped command", kWithTest, "-C . rnu p.bvproj", 2, "",
       "brivant: unknown command 'rnu' (did you mean 'run'?)..."},
      {"missing directory", kWithTest, "-C nowhere list", 2, "",
       "brivant: -C: nowhere: No such file or directory..."},
      {"run without a project", kWithTest, "run", 2, "", "brivant: PROJECT is required..."},
      {"props without a class", kWithTest, "props", 2, "", "brivant: CLASS is required..."},
      {"define without a value", kWithTest, "run p.bvproj -D WHO", 2, "",
       "brivant: -D expects NAME=VALUE, got 'WHO'..."},
      {"define without a name", kWithTest, "run p.bvproj -D =x", 2, "",
       "brivant: -D expects NAME=VALUE, got '=x'..."},
      {"unknown log format", kWithTest, "run p.bvproj --log xml", 2, "", "brivant: --log: ..."},
      {"unknown option", kWithTest, "list --all", 2, "", "brivant: ..."},
      {"no packages is a warning", "BRIVANT_PACKAGE_PATH=" + Quoted(temp_.path()), "list", 0, "",
       "brivant: warning: no action packages found in " + temp_.path() +
           " (BRIVANT_PACKAGE_PATH overrides)\n"},
      {"real package beside the binary", kWithReal, "list --category Misc", 0,
       "...Misc\tTDateTimeAction\tGet DateTime\tPlugins\\GetDateTime.html\n...", ""},
      {"props of a mistyped real class", kWithReal, "props TDateTimeActon", 2, "",
       "brivant: unknown action class 'TDateTimeActon' (did you mean 'TDateTimeAction'?)\n"},
  };
  ExpectRows(rows);
}

// The reference in docs/actions lists every registered action with exactly
// its property table; a table changed without the pages fails here.
TEST_F(CliTest, ActionReferenceMatchesThePropertyTables) {
  Outcome outcome =
      WithRealPackages("reference --check " + Quoted(BRIVANT_SOURCE_DIR "/docs/actions"));
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  // And a page that lost an action is found.
  std::filesystem::copy(BRIVANT_SOURCE_DIR "/docs/actions", temp_.Join("pages"));
  testing::WriteBytes(temp_.Join("pages/misc.md"), "# Misc\n");
  outcome = WithRealPackages("reference --check pages");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "pages/misc.md: out of date; run 'brivant reference pages'\n");
}

// The generated completions parse in their shells and complete class names
// from the packages the installed binary finds.
TEST_F(CliTest, ShellCompletionsParseAndCompleteClassNames) {
  const std::string bash = Quoted(BRIVANT_DOCUMENTS_DIR "/brivant.bash");
  const std::string zsh = Quoted(BRIVANT_DOCUMENTS_DIR "/_brivant");
  EXPECT_EQ(Shell("bash -n " + bash).status, 0);
  EXPECT_EQ(Shell("zsh -n " + zsh).status, 0);
  std::string brivant_dir = std::filesystem::path(kBrivant).parent_path().string();
  Outcome outcome = Shell("env -u BRIVANT_PACKAGE_PATH PATH=" + Quoted(brivant_dir) +
                          ":\"$PATH\" bash -c 'source " + bash +
                          "; COMP_WORDS=(brivant props TBVF); COMP_CWORD=2; _brivant; "
                          "printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("TBVFileCRCAction\n"), std::string::npos) << outcome.out;
  for (size_t start = 0; start < outcome.out.size(); start = outcome.out.find('\n', start) + 1)
    EXPECT_EQ(outcome.out.substr(start, 4), "TBVF") << outcome.out;
}

// A run logs JSON events with the defines applied; a project that does not
// validate runs nothing.
TEST_F(CliTest, RunLogsAsJsonAndStopsWithOneWhenValidationFails) {
  WriteProject(kEchoProject);
  testing::WriteBytes(
      temp_.Join("bad.bvproj"),
      "<Project><Actions><Action Class=\"TTestEchoAction\"><Property Name=\"Text\"/>"
      "</Action></Actions></Project>");
  const std::string message = R"(...{"event":"message","tag":"stInfo","text":")";
  const std::string end = R"({"event":"build-end","success":)";
  ExpectRows({
      {"defines", kWithTest, "run p.bvproj --log json -D WHO=there -D NEW=1", 0,
       message + "hello there\",...", ""},
      {"child", kWithTest, "run p.bvproj --log json", 0, message + "again\",...", ""},
      {"success last", kWithTest, "run p.bvproj --log json | tail -n 1", 0, end + "true,...", ""},
      {"failure last", kWithTest, "run bad.bvproj --log json | tail -n 1", 0, end + "false,...",
       ""},
      {"nothing runs", kWithTest, "run bad.bvproj --log json | grep -c action-start", 1, "0\n", ""},
  });
  EXPECT_EQ(WithTestPackage("run bad.bvproj").status, 1);
}

// Validation reads the Robocopy tool's location from the options file, as a
// run does.
TEST_F(CliTest, ValidateFindsTheRobocopyLocationInTheOptionsFile) {
  std::string tool = temp_.Join("robocopy.exe");
  testing::WriteBytes(tool, "#!/bin/sh\n");
  testing::WriteBytes(temp_.Join("options.ini"), "[Robocopy]\nLocation=" + tool + "\n");
  WriteProject(R"(<Project><Actions>
    <Action Class="TBVRobocopyMirrorAction">
      <Property Name="SourceDir">a</Property>
      <Property Name="DestDir">b</Property>
    </Action></Actions></Project>)");
  ExpectRows({
      {"options file", kWithReal + " BRIVANT_OPTIONS=options.ini", "validate p.bvproj", 0,
       "no problems\n", ""},
      {"no options file", kWithReal + " BRIVANT_OPTIONS=none.ini", "validate p.bvproj", 1,
       "p.bvproj:2: Robocopy Mirror: Robocopy Options: The Robocopy.exe file path has not been "
       "specified\n"
       "p.bvproj:2: Robocopy Mirror: Robocopy Options: The Robocopy.exe file can not be found\n",
       ""},
  });
}

// A DOS command that starts two sleeps, the first in a session of its own
// (setsid), the second deaf to SIGTERM, publishes the pids of both and of
// itself, and waits. `leader` goes first (a trap).
std::string SleepersProject(const std::string& leader) {
  return "<Project><Actions><Action Class=\"TRunDosCMDAction\" Title=\"Sleepers\">"
         "<Property Name=\"Command\">" +
         leader +
         " setsid sleep 60 &amp; echo $! &gt; pids.tmp; (trap '' TERM; exec sleep 60) &amp; "
         "echo $! &gt;&gt; pids.tmp; echo $$ &gt;&gt; pids.tmp; mv pids.tmp pids.txt; wait"
         "</Property></Action></Actions></Project>";
}

TEST_F(CliTest, CtrlCLeavesNoProgramOfTheBuildRunning) {
  struct Case {
    const char* name;
    std::string leader;
    const char* signals;  // shell commands once the pids are out
    int status;
    // A SIGKILL leaves brivant no say: the parent-death signal ends the
    // program and a guard process its group, but not the child that left
    // the group (the first pid).
    bool setsid_child_escapes = false;
  };
  const Case cases[] = {
      {"one Ctrl-C stops the build", "", "kill -INT $b", 1},
      {"SIGTERM stops the build", "", "kill -TERM $b", 1},
      // The shell ignores SIGTERM, so the build is still waiting when the
      // second Ctrl-C ends brivant at once.
      {"a second Ctrl-C ends brivant", "trap '' TERM;", "kill -INT $b; sleep 0.3; kill -INT $b",
       130},
      {"SIGKILL of brivant", "", "kill -KILL $b", 137, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove(temp_.Join("pids.txt"));
    WriteProject(SleepersProject(c.leader));
    std::string script =
        "cd " + Quoted(temp_.path()) + " || exit 1\n" + "env -u BRIVANT_PACKAGE_PATH " +
        Quoted(kBrivant) +
        " run p.bvproj --log json >out.txt 2>err.txt &\n"
        "b=$!; i=0\n"
        "while [ ! -s pids.txt ] && [ $i -lt 400 ]; do sleep 0.025; i=$((i+1)); done\n" +
        c.signals + "\nwait $b; echo $? >status.txt\n";
    ASSERT_EQ(std::system(script.c_str()), 0);
    EXPECT_EQ(std::stoi(testing::ReadBytes(temp_.Join("status.txt"))), c.status)
        << testing::ReadBytes(temp_.Join("err.txt"));
    std::string log = testing::ReadBytes(temp_.Join("out.txt"));
    if (c.status == 1) {
      EXPECT_NE(log.find("Terminated by user"), std::string::npos);
    }
    if (c.status != 137) {
      EXPECT_EQ(log.substr(log.rfind('{')).rfind("{\"event\":\"build-end\",\"success\":false,", 0),
                0u);
    }
    std::istringstream pids(testing::ReadBytes(temp_.Join("pids.txt")));
    int count = 0;
    for (long pid; pids >> pid; ++count) {
      if (!c.setsid_child_escapes || count > 0) {
        EXPECT_TRUE(testing::WaitUntil([&] { return !testing::IsRunning(pid); })) << pid;
      }
      std::system(("kill -KILL " + std::to_string(pid) + " 2>/dev/null").c_str());
    }
    EXPECT_EQ(count, 3);
  }
}

TEST_F(CliTest, ProgramOutputReachesAPipeAsItComes) {
  WriteProject(
      "<Project><Actions><Action Class=\"TRunDosCMDAction\"><Property Name=\"Command\">"
      "echo early; exec sleep 60</Property></Action></Actions></Project>");
  for (const char* format : {"json", "github"}) {
    SCOPED_TRACE(format);
    std::string out = temp_.Join(std::string("out-") + format + ".txt");
    std::string script = "cd " + Quoted(temp_.path()) + " && rm -f pipe && mkfifo pipe && " +
                         "{ cat pipe >" + Quoted(out) + " & env -u BRIVANT_PACKAGE_PATH " +
                         Quoted(kBrivant) + " run p.bvproj --log " + format +
                         " >pipe & echo $! >brivant.pid; }";
    ASSERT_EQ(std::system(script.c_str()), 0);
    EXPECT_TRUE(testing::WaitUntil([&] {
      std::ostringstream logged;
      logged << std::ifstream(out).rdbuf();
      return logged.str().find("early") != std::string::npos;
    }));
    std::string pid = testing::ReadBytes(temp_.Join("brivant.pid"));
    std::system(("kill -INT " + pid).c_str());
    EXPECT_TRUE(testing::WaitUntil([&] { return !testing::IsRunning(std::stol(pid)); }));
  }
}

TEST_F(CliTest, ProjectThatIsNoSmallUtf8FileOrHasABadTimeOutIsRefused) {
  std::filesystem::create_directories(temp_.Join("dir.bvproj"));
  WriteProject("");
  std::filesystem::resize_file(temp_.Join("p.bvproj"), (uint64_t{64} << 20) + 1);
  testing::WriteBytes(temp_.Join("bad.bvproj"),
                      "<Project>\n<Actions>\n<Action Class=\"TTestEchoAction\" Title=\"a\xff\"/>"
                      "\n</Actions></Project>\n");
  // Without the checks /dev/zero is read until memory runs out. The address
  // sanitizer reserves terabytes of shadow memory, so it runs unlimited.
#if defined(__SANITIZE_ADDRESS__)
  const std::string env = kWithTest;
#else
  const std::string env = "ulimit -v 4000000; " + kWithTest;
#endif
  ExpectRows({
      {"device", env, "run /dev/zero", 2, "", "brivant: /dev/zero: not a regular file\n"},
      {"directory", env, "run dir.bvproj", 2, "", "brivant: dir.bvproj: not a regular file\n"},
      {"too large", env, "run p.bvproj", 2, "",
       "brivant: p.bvproj: larger than the 64 MB limit for project files\n"},
      {"not UTF-8", env, "run bad.bvproj", 2, "",
       "brivant: bad.bvproj:3: invalid UTF-8 (byte 0xFF)\n"},
  });
  testing::WriteBytes(temp_.Join("one.txt"), "line\n");
  for (const char* timeout : {"1", "0"}) {
    testing::WriteBytes(temp_.Join(std::string("t") + timeout + ".bvproj"),
                        std::string("<Project ScriptTimeout=\"") + timeout +
                            "\"><Actions><Action Class=\"TBVReadTextFileAction\">"
                            "<Property Name=\"FileName\">one.txt</Property>"
                            "<Script Name=\"OnReadLine\">while (true) {}</Script></Action>"
                            "</Actions></Project>");
  }
  ExpectRows({
      {"script time-out", kWithReal, "run t1.bvproj", 1,
       "...ran longer than the time limit of 1000 ms...", ""},
      {"time-out out of range", kWithReal, "run t0.bvproj", 2, "",
       "brivant: t0.bvproj:1: ScriptTimeout must be a whole number of seconds from 1 to "
       "31536000, got '0'\n"},
  });
}

// Loops end to end: a search of the current directory (bare names), a
// script that reads the loop's position, and a folder loop a script ends
// early through its Reset method.
const char kLoopProject[] = R"(<Project>
  <Actions>
    <Action Class="TFileIterator" Title="Here">
      <Property Name="VariableName">G</Property>
      <Property Name="FileSpec">*.md</Property>
      <Actions>
        <Action Class="TBVReadTextFileAction" Title="Read">
          <Property Name="FileName">%G%</Property>
          <Script Name="OnReadLine">var loop = Brivant.getAction("Here");
Brivant.log(Brivant.getVariable("G") + " " + (loop.FileIndex + 1) + "/" + loop.FileCount + ": " + LineText);</Script>
        </Action>
      </Actions>
    </Action>
    <Action Class="TFolderIterator" Title="Folders">
      <Property Name="VariableName">D</Property>
      <Property Name="StartingFolder">src</Property>
      <Actions>
        <Action Class="TBVReadTextFileAction" Title="Stop">
          <Property Name="FileName">one.md</Property>
          <Script Name="OnReadLine">Brivant.log("folder " + Brivant.getVariable("D")); Brivant.getAction("Folders").Reset();</Script>
        </Action>
      </Actions>
    </Action>
  </Actions>
</Project>
)";

TEST_F(CliTest, RunIteratesFilesAndFoldersWithTheRealPackage) {
  testing::WriteBytes(temp_.Join("one.md"), "first\n");
  testing::WriteBytes(temp_.Join("two.md"), "second\n");
  std::filesystem::create_directories(temp_.Join("src/sub"));
  std::filesystem::create_directories(temp_.Join("src/zz"));
  Outcome outcome = WithRealPackages("run " + WriteProject(kLoopProject) + " --log json");
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  for (const char* text : {"one.md 1/2: first", "two.md 2/2: second", "folder src/sub"}) {
    EXPECT_NE(outcome.out.find("\"tag\":\"stInfo\",\"text\":\"" + std::string(text) + "\","),
              std::string::npos)
        << text << "\n"
        << outcome.out;
  }
  EXPECT_EQ(outcome.out.find("folder src/zz"), std::string::npos) << "Reset ends the loop";
}

// The release example runs as a user would run it, in a copy of its
// directory: the manifest lists the staged files (the build log left out) with
// their MD5 (values from md5sum), and the stage is cleaned up.
TEST_F(CliTest, ReleaseExampleStagesChecksumsPacksAndCleansUp) {
  std::filesystem::copy(BRIVANT_SOURCE_DIR "/examples/release", temp_.Join("release"),
                        std::filesystem::copy_options::recursive);
  Outcome outcome = WithRealPackages("-C release run release.bvproj --log json");
  ASSERT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  std::vector<std::string> outputs;
  for (const auto& entry : std::filesystem::directory_iterator(temp_.Join("release/out")))
    outputs.push_back(entry.path().filename().string());
  std::sort(outputs.begin(), outputs.end());
  ASSERT_EQ(outputs.size(), 2u);
  EXPECT_EQ(outputs[0].substr(0, 9), "MANIFEST-");
  EXPECT_EQ(outputs[1].substr(0, 7), "widget-");
  std::string manifest = testing::ReadBytes(temp_.Join("release/out/" + outputs[0]));
  for (const char* line :
       {"3AC8FC5DCB6F9FAE83B2FECDDB841ECE  ", "A13AE2254CE00EB417C3AA2A376BC5B5  "})
    EXPECT_NE(manifest.find(line), std::string::npos) << manifest;
  EXPECT_EQ(manifest.find("build.log"), std::string::npos) << manifest;
}

// Seeding the store from the command line and reading it back, also through
// a project; bad arguments are usage errors.
TEST_F(CliTest, RegistrySeedsTheStoreThatActionsRead) {
  const std::string env = "BRIVANT_REGISTRY=" + Quoted(temp_.Join("reg.db"));
  ExpectRows({
      {"", env, "registry query HKLM", 1, "",
       "brivant: registry key HKEY_LOCAL_MACHINE does not exist\n"},
      {"", env, "registry set 'HKLM\\Software\\Acme' -v Build -t REG_DWORD -d 0x2a", 0, "", ""},
      {"", env, "registry set 'hklm\\SOFTWARE\\acme\\Tools' -v '' -d 'C:\\x y'", 0, "", ""},
      {"", env, "registry query 'HKEY_LOCAL_MACHINE\\software\\Acme'", 0,
       "HKEY_LOCAL_MACHINE\\software\\Acme\n    Build    REG_DWORD    0x2a\n\n"
       "HKEY_LOCAL_MACHINE\\software\\Acme\\Tools\n",
       ""},
      {"", env, "registry query 'HKLM\\Software\\Acme\\Tools' -v ''", 0,
       "HKEY_LOCAL_MACHINE\\Software\\Acme\\Tools\n    (Default)    REG_SZ    C:\\x y\n", ""},
      {"", env, "registry set HKLM -v x -t REG_DWORD -d -1", 2, "",
       "brivant: invalid REG_DWORD data '-1': expected 0 to 4294967295, decimal or 0x hex\n"},
      {"", env, "registry set 'HKXX\\a'", 2, "",
       "brivant: unknown registry root 'HKXX' (expected HKCR, HKCU, HKLM, HKU or HKCC)\n"},
      {"", env, "registry delete 'HKLM\\Software\\Acme' -v Nope", 1, "",
       "brivant: registry value 'Nope' of HKEY_LOCAL_MACHINE\\Software\\Acme does not exist\n"},
  });
  std::string project = WriteProject(R"(<Project>
  <Variables><Variable Name="N" Type="Integer" Value="0"/></Variables>
  <Actions>
    <Action Class="TReadRegValueAction">
      <Property Name="RegKey">Software\Acme</Property>
      <Property Name="RegValueName">build</Property>
      <Property Name="RegValType">rtDWord</Property>
      <Property Name="BVVariable">N</Property>
    </Action>
    <Action Class="TDeleteRegValueAction">
      <Property Name="RegRoot">0x80000002</Property>
      <Property Name="RegKey">Software\Acme</Property>
      <Property Name="DeleteKey">True</Property>
      <Property Name="Recursive">True</Property>
    </Action>
  </Actions>
</Project>)");
  ExpectRows({
      {"read by a run", env + " " + kWithReal, "run " + project + " --log json", 0,
       "...\"text\":\"Read Value : 42\"...", ""},
      {"deleted by the run", env, "registry query 'HKLM\\Software\\Acme'", 1, "", "brivant: ..."},
  });
}

using nlohmann::json;

// Where `value` breaks `schema`, or "" when it fits. Knows the keywords
// docs/log-format.schema.json uses and refuses any other, so that a
// keyword it would skip cannot let an event pass.
std::string SchemaProblem(const json& schema, const json& value) {
  const std::string known =
      " $schema title description type const enum required oneOf minimum "
      "maximum pattern properties additionalProperties ";
  for (const auto& [keyword, unused] : schema.items()) {
    if (known.find(" " + keyword + " ") == std::string::npos) return "unsupported " + keyword;
  }
  if (schema.contains("oneOf")) {
    int fits = 0;
    std::string problems;  // of the options that the event name did not rule out
    for (const json& option : schema["oneOf"]) {
      std::string problem = SchemaProblem(option, value);
      fits += problem.empty();
      if (problem.rfind("event:", 0) != 0) problems += " " + problem;
    }
    if (fits != 1) return "fits " + std::to_string(fits) + " of oneOf:" + problems;
  }
  const std::string type = schema.value("type", "");
  if ((type == "object" && !value.is_object()) || (type == "string" && !value.is_string()) ||
      (type == "integer" && !value.is_number_integer()) ||
      (type == "boolean" && !value.is_boolean()))
    return value.dump() + " is no " + type;
  if (schema.contains("const") && value != schema["const"]) return value.dump() + " is not const";
  if (schema.contains("enum") &&
      std::find(schema["enum"].begin(), schema["enum"].end(), value) == schema["enum"].end())
    return value.dump() + " is not in enum";
  if ((schema.contains("minimum") && value < schema["minimum"]) ||
      (schema.contains("maximum") && value > schema["maximum"]))
    return value.dump() + " is out of range";
  if (schema.contains("pattern") &&
      !std::regex_search(value.get<std::string>(),
                         std::regex(schema["pattern"].get<std::string>())))
    return value.dump() + " does not match";
  const json properties = schema.value("properties", json::object());
  for (const auto& [key, item] : value.items()) {
    if (!properties.contains(key)) {
      if (schema.value("additionalProperties", true) == false) return "unexpected " + key;
      continue;
    }
    if (std::string problem = SchemaProblem(properties[key], item); !problem.empty())
      return key + ": " + problem;
  }
  for (const json& key : schema.value("required", json::array())) {
    if (!value.contains(key.get<std::string>())) return "lacks " + key.get<std::string>();
  }
  return {};
}

// Every event of real runs, one of each kind among them, fits the schema
// that docs/log-format.md publishes.
TEST_F(CliTest, JsonEventsOfRealRunsFitTheDocumentedSchema) {
  std::ifstream schema_file(BRIVANT_SOURCE_DIR "/docs/log-format.schema.json");
  const json schema = json::parse(schema_file);
  std::filesystem::copy(BRIVANT_SOURCE_DIR "/tests/data/log-golden", temp_.path(),
                        std::filesystem::copy_options::recursive);
  std::string log = WithRealPackages("run project.bvproj --log json").out;
  for (const char* project : {"<Project><Actions><Action Class=\"TTestEchoAction\"><Property "
                              "Name=\"Text\"/></Action></Actions></Project>",
                              "<Project>\n<Nonsense/></Project>"})
    log += WithTestPackage("run " + WriteProject(project) + " --log json").out;
  std::set<std::string> kinds;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    SCOPED_TRACE(line);
    json event = json::parse(line);
    EXPECT_EQ(SchemaProblem(schema, event), "");
    kinds.insert(event["event"].get<std::string>() +
                 (event.contains("line") && event["event"] == "message" ? " with line" : ""));
  }
  EXPECT_EQ(kinds, (std::set<std::string>{"action-end", "action-start", "build-end", "group-end",
                                          "group-start", "message", "message with line", "progress",
                                          "validation-error"}));
  EXPECT_EQ(SchemaProblem(schema, json::parse(R"({"event":"build-end","success":true,"depth":0,)"
                                              R"("time":"2026-11-23 23:11:16"})")),
            "fits 0 of oneOf: time: \"2026-11-23 23:11:16\" does not match");
}

// Logs of tests/data/log-golden, byte for byte but for what depends on
// timing: times, and the slowest list of the summary.
TEST_F(CliTest, LogsMatchTheGoldenFiles) {
  std::filesystem::copy(BRIVANT_SOURCE_DIR "/tests/data/log-golden", temp_.path(),
                        std::filesystem::copy_options::recursive);
  for (const auto& [options, golden] :
       {std::pair{"--log github", "github.log"}, {"-q", "quiet.log"}, {"-v", "verbose.log"}}) {
    SCOPED_TRACE(golden);
    Outcome outcome = WithRealPackages(std::string("run project.bvproj ") + options);
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    std::string log = std::regex_replace(outcome.out, std::regex("\n +[0-9.]+ s  [^\n]*"), "");
    log = std::regex_replace(log, std::regex("time: [0-9.]+ s"), "time: T s");
    EXPECT_EQ(log, testing::ReadBytes(std::string(BRIVANT_SOURCE_DIR "/tests/data/log-golden/") +
                                      golden));
  }
}

}  // namespace
}  // namespace brivant

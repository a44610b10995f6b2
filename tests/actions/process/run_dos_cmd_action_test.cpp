#include "actions/process/run_dos_cmd_action.h"

#include "tests/actions/process/run_action_fixture.h"

namespace brivant::testing {
namespace {

class RunDosCMDActionTest : public RunActionTest {
 protected:
  RunDosCMDActionTest() { host_.Define("DOSCMD", Variant("/bin/sh")); }
  TRunDosCMDAction action_;
};

TEST_F(RunDosCMDActionTest, CommandGoesToTheShellAsOneWord) {
  Set(action_, "Command", std::string("  echo \"a  b\" 'c' && exit 3 "));
  BuiltCommand command = Build(action_);
  EXPECT_TRUE(command.built);
  EXPECT_EQ(command.executable, "/bin/sh");
  EXPECT_EQ(command.words, (Lines{"-c", "echo \"a  b\" 'c' && exit 3"}));
  EXPECT_EQ(action_.GetParams(), "  echo \"a  b\" 'c' && exit 3 ");

  action_.SetReturnCodeToCheck(3);
  EXPECT_TRUE(host_.Run(action_));
  // The command line is not logged, only the output.
  EXPECT_EQ(host_.events, Lines{"stInfo: a  b c"});
}

TEST_F(RunDosCMDActionTest, ExistingBatFileIsQuoted) {
  std::filesystem::create_directory(Path("start"));
  for (const char* name :
       {"start/build.bat", "start/my build.bat", "start/build.BAT", "start/it's.bat", "here.bat"})
    WriteBytes(Path(name), "");
  host_.Define("START", Variant(Path("start")));
  struct Case {
    std::string command;
    std::string start_in_dir;
    std::string sent;
  };
  const Case cases[] = {
      {Path("here.bat"), "", "\"" + Path("here.bat") + "\""},
      {"build.bat", Path("start"), "\"build.bat\""},
      {"my build.bat", Path("start/"), "\"my build.bat\""},
      {"build.BAT", Path("start"), "build.BAT"},
      {"build.bat arg", Path("start"), "build.bat arg"},
      {"it's.bat", Path("start"), "it's.bat"},
      // The lookup uses the stored text, so a reference finds nothing.
      {"build.bat", "%START%", "build.bat"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.command + " in " + c.start_in_dir);
    action_.SetCommand(c.command);
    action_.SetStartInDir(c.start_in_dir);
    EXPECT_EQ(Build(action_).words, (Lines{"-c", c.sent}));
  }
}

TEST_F(RunDosCMDActionTest, DoscmdNamesTheInterpreter) {
  host_.Define("DOSCMD", Variant(ArgumentPrinter()));
  action_.SetCommand("make  all");
  EXPECT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stInfo), (Lines{"[-c]", "[make  all]"}));
}

}  // namespace
}  // namespace brivant::testing

// The Robocopy actions: the exact arguments each property gives, the
// assembled command line, validation of the tool's location, and whole runs
// against a stand-in tool for every verdict.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "actions/process/robocopy_copy_action.h"
#include "actions/process/robocopy_job_action.h"
#include "actions/process/robocopy_mirror_action.h"
#include "actions/process/robocopy_move_action.h"
#include "tests/actions/process/tool_action_fixture.h"

namespace brivant::testing {
namespace {

const std::vector<Arg> kSharedArgs = {{"", "/src", akPath},
                                      {"", "/dst", akPath},
                                      {"/NP", "", akSwitch},
                                      {"/R:", "10", akVerbatim},
                                      {"/W:", "30", akVerbatim}};

template <class T>
std::unique_ptr<TBVRobocopyAction> Make() {
  return std::make_unique<T>();
}
const auto kMirror = Make<TBVRobocopyMirrorAction>;
const auto kCopy = Make<TBVRobocopyCopyAction>;
const auto kMove = Make<TBVRobocopyMoveAction>;
const auto kJob = Make<TBVRobocopyJobAction>;

class RobocopyActionTest : public ToolActionTest {
 protected:
  // Builds the command line with source /src and destination /dst unless
  // `settings` (as SetAll reads them) say otherwise.
  std::vector<Arg> Arguments(TBVRobocopyAction& action, const std::string& settings) {
    Set(action, "SourceDir", "/src");
    Set(action, "DestDir", "/dst");
    SetAll(action, settings);
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_TRUE(action.GetCommandLine(builder));
    text_ = builder.GetParametersStr();
    words_ = builder.GetArguments();
    return builder.added;
  }
  void SetLocation(const std::string& path) {
    std::string error;
    ASSERT_TRUE(host_.GetOptionsStore()->WriteString("Robocopy", "Location", path, &error));
  }

  std::string text_;
  std::vector<std::string> words_;
};

// Everything after the shared source, destination, "/NP", "/R:" and "/W:".
TEST_F(RobocopyActionTest, EachPropertyAddsItsArguments) {
  struct Row {
    const char* label;
    std::function<std::unique_ptr<TBVRobocopyAction>()> make;
    std::string settings;
    std::vector<Arg> added;
  };
  // clang-format off
  const std::vector<Row> rows = {
      {"mirror defaults", kMirror, "", Switches("/MIR")},
      {"extra lines verbatim, before the output switches", kMirror,
       "ExtraCmdLine=/XF *.bak\n\n/NOOFFLOAD|DisableLoggingJobHeader",
       std::vector<Arg>{{"/XF *.bak", "", akSwitch}} + Switches("/NOOFFLOAD /NJH /MIR")},
      {"output switches in their fixed order", kMirror,
       "ReportExtraFiles|VerboseOutput|DisplayFileTimestamps|DisplayFullPathnames|"
       "SuppressFileClasses|SuppressFileDirSizes|DisableLoggingDirNames|DisableLoggingFileNames|"
       "DisableLoggingJobHeader|DisableLoggingJobSummary",
       Switches("/NS /NJH /NFL /NDL /NJS /TS /NC /V /FP /X /MIR")},
      {"log file", kMirror, "LogFile=/logs/r.log",
       std::vector<Arg>{{"/LOG:", "/logs/r.log", akPath}} + Switches("/TEE /MIR")},
      {"appended log file", kMirror, "LogFile=/logs/r.log|AppendToLogFile",
       std::vector<Arg>{{"/LOG+:", "/logs/r.log", akPath}} + Switches("/TEE /MIR")},
      {"empty directories only with subdirectories", kMirror, "IncludeEmptyDirs", Switches("/MIR")},
      {"subdirectories and empty ones", kMirror, "IncludeSubDirs|IncludeEmptyDirs",
       Switches("/S /E /MIR")},
      {"include attributes need their switch", kMirror, "IncludeFilesAttrib=aReadOnly",
       Switches("/MIR")},
      {"include attributes in letter order", kMirror,
       "DoIncludeUsingAttrib|IncludeFilesAttrib=aEncrypted,aReadOnly,aSystem,aNotContentIndexed,"
       "aArchive,aHidden,aTemporary,aCompressed,aOffline",
       Switches("/IA:R /IA:S /IA:N /IA:A /IA:H /IA:T /IA:C /IA:O /IA:E /MIR")},
      {"exclude attributes need no switch", kMirror, "ExcludeFilesAttrib=aHidden,aSystem",
       Switches("/XA:S /XA:H /MIR")},
      {"selection switches", kMirror,
       "OnlyArchiveFilesAndClearArchiveBit|ExcludeJunctionPoints|ExcludeTaggedChanged|"
       "ExcludeTaggedNewer|ExcludeTaggedOlder|ExcludeTaggedExtra|ExcludeTaggedLonely",
       Switches("/M /XJ /XC /XN /XO /XX /XL /MIR")},
      {"size limits of 0 are left out", kMirror, "ExcludeLargeFiles|ExcludeSmallFiles",
       Switches("/MIR")},
      {"size limits", kMirror,
       "ExcludeLargeFiles|MaxFileSizeBytes=4294967295|ExcludeSmallFiles|MinFileSizeBytes=1",
       Switches("/MAX:4294967295 /MIN:1 /MIR")},
      {"age limits in days, 0 included", kMirror,
       "ExcludeOldFiles|UseMaxAgeDays|ExcludeNewFiles|UseMinAgeDays|MinAgeDays=7|"
       "ExcludeLADOldFiles|UseMaxLADDays|MaxLADDays=30|ExcludeLADNewFiles|UseMinLADDays|MinLADDays=1",
       Switches("/MAXAGE:0 /MINAGE:7 /MAXLAD:30 /MINLAD:1 /MIR")},
      {"age limits as dates", kMirror,
       "ExcludeOldFiles|MaxAgeDate=2009-03-05|MaxAgeDays=9|ExcludeNewFiles|"
       "MinAgeDate=2010-12-31T23:00:00|ExcludeLADOldFiles|MaxLADDate=1999-01-02|"
       "ExcludeLADNewFiles|MinLADDate=2020-10-09",
       Switches("/MAXAGE:20090305 /MINAGE:20101231 /MAXLAD:19990102 /MINLAD:20201009 /MIR")},
      {"excluded files and directories, each quoted", kMirror,
       "ExcludeFiles=*.bak\nmy notes.txt|ExcludeDirs=obj/\nbuild out/",
       std::vector<Arg>{{"/XF ", "\"*.bak\" \"my notes.txt\"", akVerbatim},
                        {"/XD ", "\"obj\" \"build out\"", akVerbatim}} + Switches("/MIR")},
      {"an empty exclusion is still passed", kMirror, "ExcludeFiles=%EMPTY%",
       std::vector<Arg>{{"/XF ", "\"\"", akVerbatim}} + Switches("/MIR")},
      {"trailing switches", kMirror,
       "IncludeTaggedSame|IncludeTaggedTweaked|OnlyListFiles|WaitForSharesToBeDefined|"
       "DelayToFreeUpBandwidth=25",
       Switches("/IS /IT /L /TBD /IPG:25 /MIR")},
      {"copy defaults", kCopy, "", Switches("/S /COPY:DAD")},
      {"every copy flag", kCopy,
       "CopyFlags=cfAuditing,cfOwnership,cfSecurity,cfTimestamps,cfAttrib,cfData|IncludeSubDirs=False",
       Switches("/COPY:DADSOA")},
      {"no copy flag", kCopy, "CopyFlags=|IncludeSubDirs=False", Switches("/COPY:")},
      {"attribute changes and FAT switches", kCopy,
       "SetAttribInCopiedFiles=aTemporary,aReadOnly,aCompressed|"
       "TurnOffAttribInCopiedFiles=aArchive|FATFileNames|FATFileTimes",
       Switches("/S /COPY:DAD /A+:R /A+:T /A-:A /FFT /FAT")},
      {"move", kMove, "", Switches("/MOVE")},
      {"move keeping the source tree", kMove, "PreserveSourceDirTree", Switches("/MOV")},
      {"jobs, empty lines skipped", kJob, "JobFiles=/jobs/a.rcj\n\n/jobs/my job.rcj",
       {{"/JOB:", "/jobs/a.rcj", akPath}, {"/JOB:", "/jobs/my job.rcj", akPath}}},
  };
  // clang-format on
  host_.Define("EMPTY");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    EXPECT_EQ(Arguments(*row.make(), row.settings), kSharedArgs + row.added);
  }
}

TEST_F(RobocopyActionTest, AssembledTextQuotesPathsWithBlanks) {
  TBVRobocopyCopyAction action;
  host_.Define("SRC", Variant(std::string("/data/a b/")));
  std::vector<Arg> added = Arguments(action,
                                     "SourceDir=%SRC%|DestDir=/x/|ExcludeFiles=*.bak\nold one|"
                                     "LogFile=/l o/g.txt|ExtraCmdLine=/XD tmp|Retries=-1|"
                                     "RetryWaitSec=0");
  // The separator goes only where a closing quote would follow it.
  EXPECT_EQ(added[0], (Arg{"", "/data/a b", akPath}));
  EXPECT_EQ(added[1], (Arg{"", "/x/", akPath}));
  EXPECT_EQ(text_,
            "\"/data/a b\" /x/ /NP /R:-1 /W:0 /XD tmp /LOG:\"/l o/g.txt\" /TEE /S "
            "/XF \"*.bak\" \"old one\" /COPY:DAD");
  EXPECT_EQ(words_, (std::vector<std::string>{"/data/a b", "/x/", "/NP", "/R:-1", "/W:0", "/XD",
                                              "tmp", "/LOG:/l o/g.txt", "/TEE", "/S", "/XF",
                                              "*.bak", "old one", "/COPY:DAD"}));
}

TEST_F(RobocopyActionTest, FailedExpansionStopsTheCommandLine) {
  for (const char* property :
       {"SourceDir", "DestDir", "ExtraCmdLine", "LogFile", "ExcludeFiles", "ExcludeDirs"}) {
    SCOPED_TRACE(property);
    host_.messages.clear();
    TBVRobocopyCopyAction action;
    SetAll(action, "SourceDir=/src|DestDir=/dst|" + std::string(property) + "=%UNDEFINED%");
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_FALSE(action.GetCommandLine(builder));
    EXPECT_EQ(host_.Texts(stError).size(), 1u);
  }
}

TEST_F(RobocopyActionTest, ValidationReportsEveryProblem) {
  std::string tool = dir_.Join("robocopy.exe");
  WriteStandIn(tool, 0);
  const ValidationError no_path{"Robocopy Options",
                                "The Robocopy.exe file path has not been specified", 0};
  const ValidationError not_found{"Robocopy Options", "The Robocopy.exe file can not be found", 0};
  struct Row {
    const char* label;
    std::string location;
    std::string settings;
    std::vector<ValidationError> errors;
  };
  const std::vector<Row> rows = {
      // clang-format off
      {"all set", tool, "SourceDir=/src|DestDir=/dst", {}},
      {"no location, no paths", "", "",
       {no_path, not_found, {"Source Directory", "The source directory must be specified", 0},
        {"Destination Directory", "The destination directory must be specified", 0}}},
      {"missing tool", dir_.Join("gone.exe"), "SourceDir=/src|DestDir=/dst", {not_found}},
      {"a directory is no tool", dir_.path(), "SourceDir=/src|DestDir=/dst", {not_found}},
      // clang-format on
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    SetLocation(row.location);
    TBVRobocopyMirrorAction action;
    SetAll(action, row.settings);
    EXPECT_EQ(host_.Validate(action), row.errors);
  }
}

TEST_F(RobocopyActionTest, RunsTheToolAndJudgesEveryExitCode) {
  struct Row {
    int exit_code;
    bool success;
    std::vector<LoggedMessage> verdict;
  };
  const std::vector<Row> rows = {
      // clang-format off
      {0, true, {{stSuccess, "Done - No changes"}}},
      {1, true, {{stSuccess, "Done - Copy successful"}}},
      {2, true, {{stSuccess, "Done - Extra files"}}}, {3, true, {}},
      {4, false, {{stError, "Done - Mismatches"}}}, {5, false, {}},
      {8, false, {{stError, "Done - Failed Copies"}}}, {15, false, {}},
      {16, false, {{stError, "Done - Fatal Error"}}},
      // clang-format on
  };
  std::string tool = dir_.Join("robo copy");
  SetLocation(tool);
  std::string source = dir_.Join("my src");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.exit_code);
    WriteStandIn(tool, row.exit_code);
    host_.messages.clear();
    TBVRobocopyMoveAction action;
    SetAll(action, "SourceDir=" + source + "/|DestDir=/dst");
    EXPECT_EQ(host_.Run(action), row.success);
    std::string run = RecordedRun();
    EXPECT_EQ(run.substr(run.find('\n') + 1), source + "\n/dst\n/NP\n/R:10\n/W:30\n/MOVE\n");
    std::vector<LoggedMessage> expected = {{stInfo, "Calling Robocopy with command line: \"" +
                                                        source + "\" /dst /NP /R:10 /W:30 /MOVE"}};
    EXPECT_EQ(host_.messages, expected + row.verdict);
  }
  // No process returns one, but the verdict is a signed comparison.
  host_.messages.clear();
  EXPECT_TRUE(TBVRobocopyCopyAction().InterpretResult(-1));
}

TEST_F(RobocopyActionTest, MissingToolFailsTheRun) {
  struct Row {
    std::string location;
    std::string first_error;
  };
  const std::vector<Row> rows = {
      {"", "No program to execute was given"},
      {dir_.Join("robocopy.exe"),
       "Unable to find or execute program: " + dir_.Join("robocopy.exe")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.location);
    host_.messages.clear();
    SetLocation(row.location);
    TBVRobocopyCopyAction action;
    SetAll(action, "SourceDir=/src|DestDir=/dst");
    EXPECT_FALSE(host_.Run(action));
    ASSERT_FALSE(host_.Texts(stError).empty());
    EXPECT_EQ(host_.Texts(stError).front(), row.first_error);
  }
}

TEST_F(RobocopyActionTest, JobActionWithoutJobsNeverStartsTheTool) {
  std::string tool = dir_.Join("robocopy.exe");
  WriteStandIn(tool, 0);
  SetLocation(tool);
  TBVRobocopyJobAction action;
  SetAll(action, "SourceDir=/src|DestDir=/dst");
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Error : No Robocopy jobs have been specified. To run "
                                     "Robocopy without jobs, use the \"Robocopy\" action."});
  EXPECT_FALSE(std::filesystem::exists(ArgvFile()));
}

}  // namespace
}  // namespace brivant::testing

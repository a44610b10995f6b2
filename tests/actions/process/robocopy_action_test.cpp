// The Robocopy actions: the exact arguments each property gives, the
// assembled command line, validation of the tool's location, and whole runs
// against a stand-in tool for every verdict.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "actions/process/robocopy_copy_action.h"
#include "actions/process/robocopy_job_action.h"
#include "actions/process/robocopy_mirror_action.h"
#include "actions/process/robocopy_move_action.h"
#include "actions/process/robocopy_options.h"
#include "tests/actions/process/tool_action_fixture.h"

namespace brivant::testing {
namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;

const Arg kSource{"", "/src", akPath};
const Arg kDest{"", "/dst", akPath};
const std::vector<Arg> kSharedArgs = {
    kSource, kDest, {"/NP", "", akSwitch}, {"/R:", "10", akVerbatim}, {"/W:", "30", akVerbatim}};

Arg Switch(const std::string& name) { return {name, "", akSwitch}; }

class RobocopyActionTest : public ToolActionTest {
 protected:
  // Builds the command line of `action` with source /src and destination /dst
  // unless `properties` say otherwise.
  std::vector<Arg> Arguments(TBVRobocopyAction& action, const Properties& properties) {
    Set(action, "SourceDir", "/src");
    Set(action, "DestDir", "/dst");
    for (const auto& [name, text] : properties) Set(action, name, text);
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_TRUE(action.GetCommandLine(builder));
    text_ = builder.GetParametersStr();
    words_ = builder.GetArguments();
    return builder.added;
  }
  // Makes `path` the tool's location in the options store.
  void SetLocation(const std::string& path) {
    std::string error;
    ASSERT_TRUE(host_.GetOptionsStore()->WriteString("Robocopy", "Location", path, &error));
  }

  std::string text_;
  std::vector<std::string> words_;
};

// The mirror action adds only "/MIR", so what each property adds stands
// between the shared arguments and it.
TEST_F(RobocopyActionTest, EachPropertyAddsItsArguments) {
  struct Row {
    const char* label;
    Properties properties;
    std::vector<Arg> added;
  };
  const std::vector<Row> rows = {
      {"defaults", {}, {}},
      {"extra lines pass verbatim, before the output switches",
       {{"ExtraCmdLine", "/XF *.bak\n\n/NOOFFLOAD"}, {"DisableLoggingJobHeader", "True"}},
       {Switch("/XF *.bak"), Switch("/NOOFFLOAD"), Switch("/NJH")}},
      {"output switches in their fixed order",
       {{"ReportExtraFiles", "True"},
        {"VerboseOutput", "True"},
        {"DisplayFileTimestamps", "True"},
        {"DisplayFullPathnames", "True"},
        {"SuppressFileClasses", "True"},
        {"SuppressFileDirSizes", "True"},
        {"DisableLoggingDirNames", "True"},
        {"DisableLoggingFileNames", "True"},
        {"DisableLoggingJobHeader", "True"},
        {"DisableLoggingJobSummary", "True"}},
       {Switch("/NS"), Switch("/NJH"), Switch("/NFL"), Switch("/NDL"), Switch("/NJS"),
        Switch("/TS"), Switch("/NC"), Switch("/V"), Switch("/FP"), Switch("/X")}},
      {"log file",
       {{"LogFile", "/logs/r.log"}},
       {{"/LOG:", "/logs/r.log", akPath}, Switch("/TEE")}},
      {"appended log file",
       {{"LogFile", "/logs/r.log"}, {"AppendToLogFile", "True"}},
       {{"/LOG+:", "/logs/r.log", akPath}, Switch("/TEE")}},
      {"empty directories only with subdirectories", {{"IncludeEmptyDirs", "True"}}, {}},
      {"subdirectories and empty ones",
       {{"IncludeSubDirs", "True"}, {"IncludeEmptyDirs", "True"}},
       {Switch("/S"), Switch("/E")}},
      {"include attributes need their switch", {{"IncludeFilesAttrib", "aReadOnly"}}, {}},
      {"include attributes in letter order",
       {{"DoIncludeUsingAttrib", "True"},
        {"IncludeFilesAttrib",
         "aEncrypted,aReadOnly,aSystem,aNotContentIndexed,aArchive,aHidden,"
         "aTemporary,aCompressed,aOffline"}},
       {Switch("/IA:R"), Switch("/IA:S"), Switch("/IA:N"), Switch("/IA:A"), Switch("/IA:H"),
        Switch("/IA:T"), Switch("/IA:C"), Switch("/IA:O"), Switch("/IA:E")}},
      {"exclude attributes need no switch",
       {{"ExcludeFilesAttrib", "aHidden,aSystem"}},
       {Switch("/XA:S"), Switch("/XA:H")}},
      {"selection switches",
       {{"OnlyArchiveFilesAndClearArchiveBit", "True"},
        {"ExcludeJunctionPoints", "True"},
        {"ExcludeTaggedChanged", "True"},
        {"ExcludeTaggedNewer", "True"},
        {"ExcludeTaggedOlder", "True"},
        {"ExcludeTaggedExtra", "True"},
        {"ExcludeTaggedLonely", "True"}},
       {Switch("/M"), Switch("/XJ"), Switch("/XC"), Switch("/XN"), Switch("/XO"), Switch("/XX"),
        Switch("/XL")}},
      {"size limits of 0 are left out",
       {{"ExcludeLargeFiles", "True"}, {"ExcludeSmallFiles", "True"}},
       {}},
      {"size limits",
       {{"ExcludeLargeFiles", "True"},
        {"MaxFileSizeBytes", "4294967295"},
        {"ExcludeSmallFiles", "True"},
        {"MinFileSizeBytes", "1"}},
       {Switch("/MAX:4294967295"), Switch("/MIN:1")}},
      {"age limits in days, 0 included",
       {{"ExcludeOldFiles", "True"},
        {"UseMaxAgeDays", "True"},
        {"ExcludeNewFiles", "True"},
        {"UseMinAgeDays", "True"},
        {"MinAgeDays", "7"},
        {"ExcludeLADOldFiles", "True"},
        {"UseMaxLADDays", "True"},
        {"MaxLADDays", "30"},
        {"ExcludeLADNewFiles", "True"},
        {"UseMinLADDays", "True"},
        {"MinLADDays", "1"}},
       {Switch("/MAXAGE:0"), Switch("/MINAGE:7"), Switch("/MAXLAD:30"), Switch("/MINLAD:1")}},
      {"age limits as dates",
       {{"ExcludeOldFiles", "True"},
        {"MaxAgeDate", "2009-03-05"},
        {"MaxAgeDays", "9"},
        {"ExcludeNewFiles", "True"},
        {"MinAgeDate", "2010-12-31T23:00:00"},
        {"ExcludeLADOldFiles", "True"},
        {"MaxLADDate", "1999-01-02"},
        {"ExcludeLADNewFiles", "True"},
        {"MinLADDate", "2020-10-09"}},
       {Switch("/MAXAGE:20090305"), Switch("/MINAGE:20101231"), Switch("/MAXLAD:19990102"),
        Switch("/MINLAD:20201009")}},
      {"excluded files and directories, each quoted",
       {{"ExcludeFiles", "*.bak\nmy notes.txt"}, {"ExcludeDirs", "obj/\nbuild out/"}},
       {{"/XF ", "\"*.bak\" \"my notes.txt\"", akVerbatim},
        {"/XD ", "\"obj\" \"build out\"", akVerbatim}}},
      {"an empty exclusion is still passed",
       {{"ExcludeFiles", "%EMPTY%"}},
       {{"/XF ", "\"\"", akVerbatim}}},
      {"trailing switches",
       {{"IncludeTaggedSame", "True"},
        {"IncludeTaggedTweaked", "True"},
        {"OnlyListFiles", "True"},
        {"WaitForSharesToBeDefined", "True"},
        {"DelayToFreeUpBandwidth", "25"}},
       {Switch("/IS"), Switch("/IT"), Switch("/L"), Switch("/TBD"), Switch("/IPG:25")}},
  };
  host_.Define("EMPTY");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    TBVRobocopyMirrorAction action;
    std::vector<Arg> expected = kSharedArgs;
    expected.insert(expected.end(), row.added.begin(), row.added.end());
    expected.push_back(Switch("/MIR"));
    EXPECT_EQ(Arguments(action, row.properties), expected);
  }
}

TEST_F(RobocopyActionTest, CopyMoveAndJobAddTheirOwnArguments) {
  struct Row {
    const char* label;
    std::unique_ptr<TBVRobocopyAction> action;
    Properties properties;
    std::vector<Arg> added;
  };
  std::vector<Row> rows;
  rows.push_back({"copy defaults",
                  std::make_unique<TBVRobocopyCopyAction>(),
                  {},
                  {Switch("/S"), Switch("/COPY:DAD")}});
  rows.push_back({"every copy flag",
                  std::make_unique<TBVRobocopyCopyAction>(),
                  {{"CopyFlags", "cfAuditing,cfOwnership,cfSecurity,cfTimestamps,cfAttrib,cfData"},
                   {"IncludeSubDirs", "False"}},
                  {Switch("/COPY:DADSOA")}});
  rows.push_back({"no copy flag",
                  std::make_unique<TBVRobocopyCopyAction>(),
                  {{"CopyFlags", ""}, {"IncludeSubDirs", "False"}},
                  {Switch("/COPY:")}});
  rows.push_back({"attribute changes and FAT switches",
                  std::make_unique<TBVRobocopyCopyAction>(),
                  {{"SetAttribInCopiedFiles", "aTemporary,aReadOnly,aCompressed"},
                   {"TurnOffAttribInCopiedFiles", "aArchive"},
                   {"FATFileNames", "True"},
                   {"FATFileTimes", "True"}},
                  {Switch("/S"), Switch("/COPY:DAD"), Switch("/A+:R"), Switch("/A+:T"),
                   Switch("/A-:A"), Switch("/FFT"), Switch("/FAT")}});
  rows.push_back({"move", std::make_unique<TBVRobocopyMoveAction>(), {}, {Switch("/MOVE")}});
  rows.push_back({"move keeping the source tree",
                  std::make_unique<TBVRobocopyMoveAction>(),
                  {{"PreserveSourceDirTree", "True"}},
                  {Switch("/MOV")}});
  rows.push_back({"jobs, empty lines skipped",
                  std::make_unique<TBVRobocopyJobAction>(),
                  {{"JobFiles", "/jobs/a.rcj\n\n/jobs/my job.rcj"}},
                  {{"/JOB:", "/jobs/a.rcj", akPath}, {"/JOB:", "/jobs/my job.rcj", akPath}}});
  for (Row& row : rows) {
    SCOPED_TRACE(row.label);
    std::vector<Arg> expected = kSharedArgs;
    expected.insert(expected.end(), row.added.begin(), row.added.end());
    EXPECT_EQ(Arguments(*row.action, row.properties), expected);
  }
}

TEST_F(RobocopyActionTest, AssembledTextQuotesPathsWithBlanks) {
  TBVRobocopyCopyAction action;
  host_.Define("SRC", Variant(std::string("/data/a b/")));
  std::vector<Arg> added = Arguments(action, {{"SourceDir", "%SRC%"},
                                              {"DestDir", "/x/"},
                                              {"ExcludeFiles", "*.bak\nold one"},
                                              {"LogFile", "/l o/g.txt"},
                                              {"ExtraCmdLine", "/XD tmp"},
                                              {"Retries", "-1"},
                                              {"RetryWaitSec", "0"}});
  // The separator goes only where quotes would follow it.
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
    Set(action, "SourceDir", "/src");
    Set(action, "DestDir", "/dst");
    Set(action, property, "%UNDEFINED%");
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_FALSE(action.GetCommandLine(builder));
    ASSERT_EQ(host_.Texts(stError).size(), 1u);
  }
}

TEST_F(RobocopyActionTest, ValidationReportsEveryProblem) {
  std::string tool = dir_.Join("robocopy.exe");
  WriteStandIn(tool, 0);
  struct Row {
    const char* label;
    std::string location;
    bool set_paths;
    std::vector<ValidationError> errors;
  };
  const std::vector<Row> rows = {
      {"all set", tool, true, {}},
      {"no location, no paths",
       "",
       false,
       {{"Robocopy Options", "The Robocopy.exe file path has not been specified", 0},
        {"Robocopy Options", "The Robocopy.exe file can not be found", 0},
        {"Source Directory", "The source directory must be specified", 0},
        {"Destination Directory", "The destination directory must be specified", 0}}},
      {"missing tool",
       dir_.Join("gone.exe"),
       true,
       {{"Robocopy Options", "The Robocopy.exe file can not be found", 0}}},
      {"a directory is no tool",
       dir_.path(),
       true,
       {{"Robocopy Options", "The Robocopy.exe file can not be found", 0}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    SetLocation(row.location);
    TBVRobocopyMirrorAction action;
    if (row.set_paths) {
      Set(action, "SourceDir", "/src");
      Set(action, "DestDir", "/dst");
    }
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
      {0, true, {{stSuccess, "Done - No changes"}}},
      {1, true, {{stSuccess, "Done - Copy successful"}}},
      {2, true, {{stSuccess, "Done - Extra files"}}},
      {3, true, {}},
      {4, false, {{stError, "Done - Mismatches"}}},
      {5, false, {}},
      {8, false, {{stError, "Done - Failed Copies"}}},
      {15, false, {}},
      {16, false, {{stError, "Done - Fatal Error"}}},
  };
  std::string tool = dir_.Join("robo copy");
  SetLocation(tool);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.exit_code);
    WriteStandIn(tool, row.exit_code);
    host_.messages.clear();
    TBVRobocopyMoveAction action;
    Set(action, "SourceDir", dir_.Join("my src/"));
    Set(action, "DestDir", "/dst");
    EXPECT_EQ(host_.Run(action), row.success);
    std::string words = dir_.Join("my src") + "\n/dst\n/NP\n/R:10\n/W:30\n/MOVE\n";
    EXPECT_EQ(RecordedRun().substr(RecordedRun().find('\n') + 1), words);
    std::vector<LoggedMessage> expected = {{stInfo, "Calling Robocopy with command line: \"" +
                                                        dir_.Join("my src") +
                                                        "\" /dst /NP /R:10 /W:30 /MOVE"}};
    expected.insert(expected.end(), row.verdict.begin(), row.verdict.end());
    EXPECT_EQ(host_.messages, expected);
  }
}

TEST_F(RobocopyActionTest, NegativeExitCodeSucceedsWithoutVerdict) {
  TBVRobocopyCopyAction action;
  action.AttachHost(&host_);
  EXPECT_TRUE(action.InterpretResult(-1));
  EXPECT_TRUE(host_.messages.empty());
}

TEST_F(RobocopyActionTest, MissingToolFailsTheRun) {
  struct Row {
    const char* label;
    std::string location;
    std::string first_error;
  };
  const std::vector<Row> rows = {
      {"no location", "", "No program to execute was given"},
      {"missing file", dir_.Join("robocopy.exe"),
       "Unable to find or execute program: " + dir_.Join("robocopy.exe")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    host_.messages.clear();
    SetLocation(row.location);
    TBVRobocopyCopyAction action;
    Set(action, "SourceDir", "/src");
    Set(action, "DestDir", "/dst");
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
  Set(action, "SourceDir", "/src");
  Set(action, "DestDir", "/dst");
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Error : No Robocopy jobs have been specified. To run "
                                     "Robocopy without jobs, use the \"Robocopy\" action."});
  EXPECT_FALSE(std::filesystem::exists(ArgvFile()));
}

TEST(RobocopyOptions, StoredLocationWinsAndSavesBack) {
  TestHost host;
  std::string error;
  EXPECT_EQ(RobocopyOptions(host.GetOptionsStore())->GetRobocopyPath(), "");
  ASSERT_TRUE(host.GetOptionsStore()->WriteString("Robocopy", "Location", "/opt/rc.exe", &error));
  std::unique_ptr<TBVRobocopyOptions> options = RobocopyOptions(host.GetOptionsStore());
  EXPECT_EQ(options->GetRobocopyPath(), "/opt/rc.exe");
  EXPECT_FALSE(options->IsModified());
  options->SetRobocopyPath("/opt/rc.exe");
  EXPECT_FALSE(options->IsModified());
  options->SetRobocopyPath("/usr/local/robocopy.exe");
  EXPECT_TRUE(options->IsModified());
  ASSERT_TRUE(options->SaveTo(*host.GetOptionsStore(), &error)) << error;
  EXPECT_EQ(host.GetOptionsStore()->ReadString("Robocopy", "Location", ""),
            "/usr/local/robocopy.exe");
}

TEST_F(RobocopyActionTest, DescriptionNamesVerbAndUnexpandedPaths) {
  TBVRobocopyMirrorAction mirror;
  Set(mirror, "SourceDir", "%SRC%");
  Set(mirror, "DestDir", "/dst");
  EXPECT_EQ(mirror.GetFormattedDescription(), "Robocopy Mirror [ Mirror %SRC% to /dst ]");
  TBVRobocopyJobAction job;
  EXPECT_EQ(job.GetFormattedDescription(), "Run Robocopy Job [ Copy  to  ]");
}

}  // namespace
}  // namespace brivant::testing

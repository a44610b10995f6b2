// XCopy: the switches each property gives, the exclusion file (content, and
// its removal after success, failure and a missing tool), and whole runs
// against a stand-in xcopy.exe in the system directory.
#include "actions/process/xcopy_action.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/actions/process/tool_action_fixture.h"

namespace brivant::testing {
namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;

Arg Switch(const std::string& name) { return {name, "", akSwitch}; }

const std::vector<Arg> kSharedArgs = {
    {"", "/src/*.txt", akSwitch}, {"", "/dst/", akSwitch}, Switch("/Y"), Switch("/I")};

class XCopyActionTest : public ToolActionTest {
 protected:
  XCopyActionTest() { std::filesystem::create_directory(temp_files_dir_); }

  // Builds the command line with source /src/*.txt and destination /dst
  // unless `properties` say otherwise.
  std::vector<Arg> Arguments(TBVXCopyAction& action, const Properties& properties,
                             bool expect_success = true) {
    Set(action, "Source", "/src/*.txt");
    Set(action, "Destination", "/dst");
    for (const auto& [name, text] : properties) Set(action, name, text);
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_EQ(action.GetCommandLine(builder), expect_success);
    text_ = builder.GetParametersStr();
    return builder.added;
  }
  // The temporary files the action left.
  std::vector<std::string> LeftoverTemporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(temp_files_dir_))
      names.push_back(entry.path().filename().string());
    return names;
  }

  std::string temp_files_dir_ = dir_.Join("tmp");
  ScopedEnv tmpdir_{"TMPDIR", temp_files_dir_};
  ScopedEnv sysdir_{"BRIVANT_SYSDIR", dir_.path()};
  std::string text_;
};

TEST_F(XCopyActionTest, EachPropertyAddsItsSwitches) {
  struct Row {
    const char* label;
    Properties properties;
    std::vector<Arg> added;
  };
  const std::vector<Row> rows = {
      {"defaults", {}, {}},
      {"quiet", {{"XCopyLogMode", "logQuiet"}}, {Switch("/Q")}},
      {"verbose", {{"XCopyLogMode", "logVerbose"}}, {Switch("/F")}},
      {"recursive with empty directories",
       {{"XCopyMode", "mdRecursive"}, {"CopyEmptyDirectories", "True"}},
       {Switch("/S"), Switch("/E")}},
      {"test copy", {{"XCopyMode", "mdTest"}, {"CopyEmptyDirectories", "True"}}, {Switch("/L")}},
      {"directory structure with empty directories",
       {{"XCopyMode", "mdDirStructure"}, {"CopyEmptyDirectories", "True"}},
       {Switch("/T"), Switch("/E")}},
      {"no empty directories in a normal copy", {{"CopyEmptyDirectories", "True"}}, {}},
      {"archive files", {{"OnlyArchiveFiles", "True"}}, {Switch("/A")}},
      {"archive files, bit turned off",
       {{"OnlyArchiveFiles", "True"}, {"TurnOffArchiveBit", "True"}},
       {Switch("/M")}},
      {"turning the bit off alone does nothing", {{"TurnOffArchiveBit", "True"}}, {}},
      {"switches in their fixed order",
       {{"CopyOwnershipAndACL", "True"},
        {"CopyEncryptedIfNotSupportedInDest", "True"},
        {"CopyFileAuditSettings", "True"},
        {"CopyUsingShortNames", "True"},
        {"CopyNewerFiles", "True"},
        {"IgnoreErrors", "True"},
        {"Verify", "True"},
        {"CopyNetworkedFiles", "True"},
        {"OnlyFilesThatAlreadyExist", "True"},
        {"CopyAttributes", "True"},
        {"OverwriteReadOnly", "True"},
        {"CopyHiddenAndSys", "True"},
        {"CopyFilesChnagedAfter", "True"},
        {"ChangedAfterDate", "2009-03-05"}},
       {Switch("/H"),
        Switch("/R"),
        Switch("/K"),
        Switch("/U"),
        Switch("/Z"),
        Switch("/V"),
        Switch("/C"),
        Switch("/D"),
        {"/D:", "3-5-2009", akVerbatim},
        Switch("/N"),
        Switch("/X"),
        Switch("/G"),
        Switch("/O")}},
      {"two-digit month and day",
       {{"CopyFilesChnagedAfter", "True"}, {"ChangedAfterDate", "2010-11-12"}},
       {{"/D:", "11-12-2010", akVerbatim}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    TBVXCopyAction action;
    std::vector<Arg> expected = kSharedArgs;
    expected.insert(expected.end(), row.added.begin(), row.added.end());
    EXPECT_EQ(Arguments(action, row.properties), expected);
  }
}

TEST_F(XCopyActionTest, LogsTheAssembledCommandLine) {
  TBVXCopyAction action;
  Arguments(action, {{"Destination", "/dst/"}, {"XCopyMode", "mdRecursive"}, {"Verify", "True"}});
  EXPECT_EQ(text_, "/src/*.txt /dst/ /Y /I /S /V");
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{{stInfo, "Calling xcopy using command line: " + text_}}));
}

TEST_F(XCopyActionTest, ExclusionListGoesToATemporaryFile) {
  TBVXCopyAction action;
  host_.Define("EXT", Variant(std::string(".obj")));
  host_.Define("EMPTY");
  std::vector<Arg> added =
      Arguments(action, {{"ExcludeFiles", "\\bin\\\n%EMPTY%\n%EXT%\ncaf\xC3\xA9 notes"}});
  std::string file = action.GetExcludeFileName();
  EXPECT_EQ(std::filesystem::path(file).parent_path(), temp_files_dir_);
  EXPECT_EQ(std::filesystem::path(file).filename().string().substr(0, 3), "xcp");
  std::vector<Arg> expected = kSharedArgs;
  expected.push_back({"/EXCLUDE:", file, akVerbatim});
  EXPECT_EQ(added, expected);
  EXPECT_EQ(ReadBytes(file), "\\bin\\\n.obj\ncaf\xC3\xA9 notes\n");
  EXPECT_TRUE(host_.Texts(stWarning).empty());
}

TEST_F(XCopyActionTest, EmptyExclusionsMakeNoFile) {
  TBVXCopyAction action;
  host_.Define("EMPTY");
  EXPECT_EQ(Arguments(action, {{"ExcludeFiles", "%EMPTY%\n\n"}}), kSharedArgs);
  EXPECT_EQ(action.GetExcludeFileName(), "");
  EXPECT_TRUE(LeftoverTemporaryFiles().empty());
}

TEST_F(XCopyActionTest, WildcardsAreWrittenWithAWarning) {
  TBVXCopyAction action;
  Arguments(action, {{"ExcludeFiles", "*.bak\nfile?.txt"}});
  EXPECT_EQ(host_.Texts(stWarning),
            std::vector<std::string>{"Warning: Excluded file list contains wildcard characters. "
                                     "XCopy exclude list does not support wildcards, substring "
                                     "matching only."});
  EXPECT_EQ(ReadBytes(action.GetExcludeFileName()), "*.bak\nfile?.txt\n");
}

TEST_F(XCopyActionTest, TemporaryFileFailureFailsTheCommandLine) {
  ScopedEnv missing("TMPDIR", dir_.Join("no such dir"));
  TBVXCopyAction action;
  Arguments(action, {{"ExcludeFiles", "a.txt"}}, /*expect_success=*/false);
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Could not create temporary file for exclude list. " +
                                     dir_.Join("no such dir") + ": No such file or directory"});
}

TEST_F(XCopyActionTest, FailedExpansionStopsTheCommandLine) {
  for (const char* property : {"Source", "Destination", "ExcludeFiles"}) {
    SCOPED_TRACE(property);
    host_.messages.clear();
    TBVXCopyAction action;
    Arguments(action, {{property, "%UNDEFINED%"}}, /*expect_success=*/false);
    EXPECT_EQ(host_.Texts(stError).size(), 1u);
  }
  EXPECT_TRUE(LeftoverTemporaryFiles().empty());
}

// The stand-in records its working directory, its words and the exclusion
// file's content; the exclusion file is gone after every run.
TEST_F(XCopyActionTest, RunsXCopyFromTheSystemDirectory) {
  std::string source_dir = dir_.Join("my src");
  std::filesystem::create_directory(source_dir);
  for (int exit_code : {0, 4}) {
    SCOPED_TRACE(exit_code);
    host_.messages.clear();
    WriteStandIn(dir_.Join("xcopy.exe"), exit_code);
    TBVXCopyAction action;
    Set(action, "Source", "\"" + source_dir + "/*.txt\"");
    Set(action, "Destination", "/dst");
    Set(action, "ExcludeFiles", "old.txt\nnew one.txt");
    Set(action, "XCopyMode", "mdRecursive");
    EXPECT_EQ(host_.Run(action), exit_code == 0);
    std::string recorded = RecordedRun();
    size_t exclude_at = recorded.find("/EXCLUDE:");
    ASSERT_NE(exclude_at, std::string::npos) << recorded;
    std::string file =
        recorded.substr(exclude_at + 9, recorded.find('\n', exclude_at) - exclude_at - 9);
    EXPECT_EQ(recorded, source_dir + "\n" + source_dir + "/*.txt\n/dst/\n/Y\n/I\n/EXCLUDE:" + file +
                            "\n/S\n");
    EXPECT_EQ(ReadBytes(dir_.Join("excluded.txt")), "old.txt\nnew one.txt\n");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(action.GetExcludeFileName(), "");
    std::vector<std::string> errors;
    if (exit_code != 0) errors.push_back("Program failed with exit code 4");
    EXPECT_EQ(host_.Texts(stError), errors);
  }
}

TEST_F(XCopyActionTest, MissingXCopyStillRemovesTheExclusionFile) {
  TBVXCopyAction action;
  Set(action, "Source", "/src/a.txt");
  Set(action, "Destination", "/dst");
  Set(action, "ExcludeFiles", "a.txt");
  EXPECT_FALSE(host_.Run(action));
  ASSERT_FALSE(host_.Texts(stError).empty());
  EXPECT_EQ(host_.Texts(stError).front(),
            "Unable to find or execute program: " + dir_.Join("xcopy.exe"));
  EXPECT_TRUE(LeftoverTemporaryFiles().empty());
}

TEST_F(XCopyActionTest, ValidationAndDescription) {
  TBVXCopyAction action;
  EXPECT_EQ(host_.Validate(action),
            (std::vector<ValidationError>{{"Source", "A source must be specified", 0},
                                          {"Destination", "A destination must be specified", 0}}));
  const std::vector<std::pair<const char*, const char*>> modes = {
      {"mdNormal", "XCopy [ Copy %S% to /d ]"},
      {"mdRecursive", "XCopy [ Recursive copy %S% to /d ]"},
      {"mdTest", "XCopy [ Test copy %S% to /d ]"},
      {"mdDirStructure", "XCopy [ Create dir structure of %S% in /d ]"},
  };
  Set(action, "Source", "%S%");
  Set(action, "Destination", "/d");
  for (const auto& [mode, description] : modes) {
    Set(action, "XCopyMode", mode);
    EXPECT_EQ(action.GetFormattedDescription(), description);
  }
  EXPECT_TRUE(host_.Validate(action).empty());
}

}  // namespace
}  // namespace brivant::testing

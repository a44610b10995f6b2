// XCopy: the switches each property gives, the exclusion file (content, and
// its removal after success, failure and a missing tool), and whole runs
// against a stand-in xcopy.exe in the system directory.
#include "actions/process/xcopy_action.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/actions/process/tool_action_fixture.h"

namespace brivant::testing {
namespace {

const std::vector<Arg> kSharedArgs =
    std::vector<Arg>{{"", "/src/*.txt", akSwitch}, {"", "/dst/", akSwitch}} + Switches("/Y /I");

class XCopyActionTest : public ToolActionTest {
 protected:
  XCopyActionTest() { std::filesystem::create_directory(temp_files_dir_); }

  // Builds the command line with source /src/*.txt and destination /dst
  // unless `settings` (as SetAll reads them) say otherwise.
  std::vector<Arg> Arguments(TBVXCopyAction& action, const std::string& settings,
                             bool expect_success = true) {
    SetAll(action, "Source=/src/*.txt|Destination=/dst");
    SetAll(action, settings);
    action.AttachHost(&host_);
    RecordingBuilder builder;
    EXPECT_EQ(action.GetCommandLine(builder), expect_success);
    text_ = builder.GetParametersStr();
    return builder.added;
  }
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
    std::string settings;
    std::vector<Arg> added;
  };
  // clang-format off
  const std::vector<Row> rows = {
      {"defaults", "", {}},
      {"quiet", "XCopyLogMode=logQuiet", Switches("/Q")},
      {"verbose", "XCopyLogMode=logVerbose", Switches("/F")},
      {"recursive with empty directories", "XCopyMode=mdRecursive|CopyEmptyDirectories",
       Switches("/S /E")},
      {"test copy", "XCopyMode=mdTest|CopyEmptyDirectories", Switches("/L")},
      {"directory structure with empty directories", "XCopyMode=mdDirStructure|CopyEmptyDirectories",
       Switches("/T /E")},
      {"no empty directories in a normal copy", "CopyEmptyDirectories", {}},
      {"archive files", "OnlyArchiveFiles", Switches("/A")},
      {"archive files, bit turned off", "OnlyArchiveFiles|TurnOffArchiveBit", Switches("/M")},
      {"turning the bit off alone does nothing", "TurnOffArchiveBit", {}},
      {"switches in their fixed order",
       "CopyOwnershipAndACL|CopyEncryptedIfNotSupportedInDest|CopyFileAuditSettings|"
       "CopyUsingShortNames|CopyNewerFiles|IgnoreErrors|Verify|CopyNetworkedFiles|"
       "OnlyFilesThatAlreadyExist|CopyAttributes|OverwriteReadOnly|CopyHiddenAndSys|"
       "CopyFilesChnagedAfter|ChangedAfterDate=2009-03-05",
       Switches("/H /R /K /U /Z /V /C /D") + std::vector<Arg>{{"/D:", "3-5-2009", akVerbatim}} +
           Switches("/N /X /G /O")},
      {"two-digit month and day", "CopyFilesChnagedAfter|ChangedAfterDate=2010-11-12",
       {{"/D:", "11-12-2010", akVerbatim}}},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    TBVXCopyAction action;
    EXPECT_EQ(Arguments(action, row.settings), kSharedArgs + row.added);
  }
}

TEST_F(XCopyActionTest, LogsTheAssembledCommandLine) {
  TBVXCopyAction action;
  Arguments(action, "Destination=/dst/|XCopyMode=mdRecursive|Verify");
  EXPECT_EQ(text_, "/src/*.txt /dst/ /Y /I /S /V");
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{{stInfo, "Calling xcopy using command line: " + text_}}));
}

TEST_F(XCopyActionTest, ExclusionListGoesToATemporaryFile) {
  TBVXCopyAction action;
  host_.Define("EXT", Variant(std::string(".obj")));
  host_.Define("EMPTY");
  std::vector<Arg> added =
      Arguments(action, "ExcludeFiles=\\bin\\\n%EMPTY%\n%EXT%\ncaf\xC3\xA9 notes");
  std::string file = action.GetExcludeFileName();
  EXPECT_EQ(std::filesystem::path(file).parent_path(), temp_files_dir_);
  EXPECT_EQ(std::filesystem::path(file).filename().string().substr(0, 3), "xcp");
  EXPECT_EQ(added, kSharedArgs + std::vector<Arg>({{"/EXCLUDE:", file, akVerbatim}}));
  EXPECT_EQ(ReadBytes(file), "\\bin\\\n.obj\ncaf\xC3\xA9 notes\n");
  EXPECT_TRUE(host_.Texts(stWarning).empty());

  TBVXCopyAction wildcards;
  Arguments(wildcards, "ExcludeFiles=*.bak\nfile?.txt");
  EXPECT_EQ(host_.Texts(stWarning),
            std::vector<std::string>{"Warning: Excluded file list contains wildcard characters. "
                                     "XCopy exclude list does not support wildcards, substring "
                                     "matching only."});
  EXPECT_EQ(ReadBytes(wildcards.GetExcludeFileName()), "*.bak\nfile?.txt\n");
}

TEST_F(XCopyActionTest, EmptyExclusionsMakeNoFile) {
  TBVXCopyAction action;
  host_.Define("EMPTY");
  EXPECT_EQ(Arguments(action, "ExcludeFiles=%EMPTY%\n\n"), kSharedArgs);
  EXPECT_TRUE(LeftoverTemporaryFiles().empty());
}

TEST_F(XCopyActionTest, CommandLineFailuresLeaveNoFile) {
  for (const char* settings :
       {"Source=%UNDEFINED%", "Destination=%UNDEFINED%", "ExcludeFiles=a.txt\n%UNDEFINED%"}) {
    SCOPED_TRACE(settings);
    host_.messages.clear();
    TBVXCopyAction action;
    Arguments(action, settings, /*expect_success=*/false);
    EXPECT_EQ(host_.Texts(stError).size(), 1u);
  }
  ScopedEnv missing("TMPDIR", dir_.Join("no such dir"));
  host_.messages.clear();
  TBVXCopyAction action;
  Arguments(action, "ExcludeFiles=a.txt", /*expect_success=*/false);
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Could not create temporary file for exclude list. " +
                                     dir_.Join("no such dir") + ": No such file or directory"});
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
    SetAll(action, "Source=\"" + source_dir +
                       "/*.txt\"|Destination=/dst|ExcludeFiles=old.txt\nnew one.txt|"
                       "XCopyMode=mdRecursive");
    EXPECT_EQ(host_.Run(action), exit_code == 0);
    std::string run = RecordedRun();
    size_t at = run.find("/EXCLUDE:");
    ASSERT_NE(at, std::string::npos) << run;
    std::string file = run.substr(at + 9, run.find('\n', at) - at - 9);
    EXPECT_EQ(
        run, source_dir + "\n" + source_dir + "/*.txt\n/dst/\n/Y\n/I\n/EXCLUDE:" + file + "\n/S\n");
    EXPECT_EQ(ReadBytes(dir_.Join("excluded.txt")), "old.txt\nnew one.txt\n");
    EXPECT_FALSE(std::filesystem::exists(file));
    std::vector<std::string> errors;
    if (exit_code != 0) errors.push_back("Program failed with exit code 4");
    EXPECT_EQ(host_.Texts(stError), errors);
  }
}

TEST_F(XCopyActionTest, MissingXCopyStillRemovesTheExclusionFile) {
  TBVXCopyAction action;
  SetAll(action, "Source=/src/a.txt|Destination=/dst|ExcludeFiles=a.txt");
  EXPECT_FALSE(host_.Run(action));
  ASSERT_FALSE(host_.Texts(stError).empty());
  EXPECT_EQ(host_.Texts(stError).front(),
            "Unable to find or execute program: " + dir_.Join("xcopy.exe"));
  EXPECT_TRUE(LeftoverTemporaryFiles().empty());
}

}  // namespace
}  // namespace brivant::testing

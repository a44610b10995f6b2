// What the actions tell before they run: the problems Validate reports for
// what a project left unset, and the one-line description a designer and
// the log show. Properties are set from their project-file texts.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "actions/checksums/file_compare_action.h"
#include "actions/checksums/file_crc_action.h"
#include "actions/checksums/file_md5_action.h"
#include "actions/files/concat_action.h"
#include "actions/files/copy_files_action.h"
#include "actions/files/create_directory_action.h"
#include "actions/files/delete_directory_action.h"
#include "actions/files/delete_files_action.h"
#include "actions/files/disk_info_action.h"
#include "actions/files/file_exists_action.h"
#include "actions/files/file_set_copy_move_action.h"
#include "actions/files/get_file_size_action.h"
#include "actions/files/move_directory_action.h"
#include "actions/files/move_files_action.h"
#include "actions/files/rename_dir_action.h"
#include "actions/files/set_file_attributes_action.h"
#include "actions/files/touch_files_action.h"
#include "actions/iterators/file_iterator.h"
#include "actions/process/run_dos_cmd_action.h"
#include "actions/process/run_program_action.h"
#include "actions/process/xcopy_action.h"
#include "actions/text/create_text_file_action.h"
#include "actions/text/text_find_action.h"
#include "actions/text/write_to_text_file_action.h"
#include "actions/values/random_number_action.h"
#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

using MakeAction = std::unique_ptr<TCustomBVAction> (*)();

template <class T>
std::unique_ptr<TCustomBVAction> Make() {
  return std::make_unique<T>();
}

using ActionTextsTest = ActionTest;
using Errors = std::vector<ValidationError>;

struct ValidationRow {
  MakeAction make;
  const char* settings;
  Errors errors;
};

// clang-format off
const ValidationRow kValidationRows[] = {
    {Make<TCopyFilesAction>, "",
     {{"File Spec", "The file spec has not been set", 0},
      {"Target", "The target file/directory has not been set", 0}}},
    {Make<TCopyFilesAction>, "FileSpec=%SRC%/*.dll|Target=/out", {}},
    {Make<TDeleteFilesAction>, "", {{"File Spec", "The file spec has not been set", 0}}},
    {Make<TDeleteFilesAction>, "FileSpec=%OUT%/*.obj", {}},
    {Make<TCreateDirectoryAction>, "",
     {{"Directory", "The name of the directory to create has not been set", 0}}},
    {Make<TDeleteDirectoryAction>, "",
     {{"Directory", "The directory to delete has not been set", 0}}},
    {Make<TBVMoveDirectoryAction>, "",
     {{"Source Directory", "The source directory has not been set", 0},
      {"Target Directory", "The target directory has not been set", 0}}},
    {Make<TRenameDirAction>, "",
     {{"Old Name", "The file or directory to rename has not been set", 0},
      {"New Name", "The new name has not been set", 0}}},
    {Make<TTouchFilesAction>, "UseCurrentDateTime=False",
     {{"File Spec", "The file spec has not been set", 0},
      {"Date/Time", "The date/time has not been set", 0}}},
    {Make<TConcatAction>, "SourceFiles= \n",
     {{"Source Files", "No source files have been set", 0},
      {"Target File", "The target file has not been set", 0}}},
    {Make<TBVGetFileSizeAction>, "", {{"File Name", "Filename has not been set", 0}}},
    {Make<TFileExistsAction>, "",
     {{"File or Directory", "The file or directory has not been set", 0}}},
    {Make<TDiskInfoAction>, "MinimumFreeSpace=-1",
     {{"Drive or Directory", "The drive or directory has not been set", 0},
      {"Minimum Free Space", "The minimum free space cannot be negative", 0}}},
    {Make<TBVFileSetCopyMoveAction>, "",
     {{"FileSet", "FileSet name has not been set", 0},
      {"Target Directory", "The target directory has not been set", 0}}},
    {Make<TSetFileAttributesAction>, "", {{"File Spec", "The file spec has not been set", 0}}},
    {Make<TSetFileAttributesAction>, "UseFileSet",
     {{"File Set", "The file set has not been set", 0}}},
    {Make<TSetFileAttributesAction>, "UseFileSet|FileSetName=Binaries", {}},
    {Make<TFileIterator>, "", {{"File Spec", "File Spec has not been set", 0}}},
    {Make<TFileIterator>, "UseFileSet", {{"FileSet", "FileSet name has not been set", 0}}},
    {Make<TBVFileCompareAction>, "", {{"File Name", "Missing file name.", 0}}},
    {Make<TBVFileCompareAction>, "FileA=a", {{"File Name", "Missing file name.", 0}}},
    {Make<TBVFileCompareAction>, "FileB=b", {{"File Name", "Missing file name.", 0}}},
    {Make<TBVFileCompareAction>, "FileA=a|FileB=b", {}},
    {Make<TBVWriteToTextFileAction>, "", {{"File Name", "New filename has not been set", 0}}},
    {Make<TBVCreateTextFileAction>, "", {{"New File Name", "New filename has not been set", 0}}},
    {Make<TBVCreateTextFileAction>, "NewFileName=%OUT%/stamp.txt", {}},
    {Make<TBVRandomNumberAction>, "", {{"Variable", "Variable has not been specified", 0}}},
    {Make<TRunProgramAction>, "", {{"Program", "The program to execute has not been set", 0}}},
    {Make<TRunProgramAction>, "ProgramName=%TOOLS%/x", {}},
    {Make<TRunDosCMDAction>, "", {{"DOS Command", "The DOS command has not been set", 0}}},
    {Make<TRunDosCMDAction>, "Command=make", {}},
    {Make<TBVXCopyAction>, "",
     {{"Source", "A source must be specified", 0},
      {"Destination", "A destination must be specified", 0}}},
};
// clang-format on

TEST_F(ActionTextsTest, ValidationNamesWhatIsMissing) {
  for (const ValidationRow& row : kValidationRows) {
    std::unique_ptr<TCustomBVAction> action = row.make();
    SCOPED_TRACE(std::string(action->ClassName()) + " " + row.settings);
    SetAll(*action, row.settings);
    EXPECT_EQ(host_.Validate(*action), row.errors);
  }
}

struct DescriptionRow {
  MakeAction make;
  const char* settings;
  const char* description;
};

// clang-format off
const DescriptionRow kDescriptionRows[] = {
    {Make<TCopyFilesAction>, "FileSpec=%SRC%/*.dll|Target=/out",
     "Copy File(s) [ %SRC%/*.dll -> /out ]"},
    {Make<TMoveFilesAction>, "FileSpec=a/*.txt|Target=b", "Move File(s) [ a/*.txt -> b ]"},
    {Make<TDeleteFilesAction>, "FileSpec=%OUT%/*.obj", "Delete File(s) [ %OUT%/*.obj ]"},
    {Make<TCreateDirectoryAction>, "FileOrDirectory=%OUT%/bin", "Create Directory [ %OUT%/bin ]"},
    {Make<TDeleteDirectoryAction>, "FileOrDirectory=%OUT%", "Delete Directory [ %OUT% ]"},
    {Make<TDeleteDirectoryAction>, "FileOrDirectory=%OUT%|DeleteTree", "Delete Tree [ %OUT% ]"},
    {Make<TBVMoveDirectoryAction>, "SourceDirectory=build/out|TargetDirectory=%DIST%",
     "Move Directory [ build/out -> %DIST% ]"},
    {Make<TRenameDirAction>, "OldName=out/app|NewName=app-%VERSION%",
     "Rename File or Directory [ out/app -> app-%VERSION% ]"},
    {Make<TConcatAction>, "TargetFile=%OUT%/notes.txt", "Concatenate Files [ %OUT%/notes.txt ]"},
    {Make<TBVGetFileSizeAction>, "FileName=%OUT%/app.bin", "Get File Size [ %OUT%/app.bin ]"},
    {Make<TFileExistsAction>, "FileOrDirectory=%OUT%/app.bin",
     "If File/Folder Exists [ %OUT%/app.bin ]"},
    {Make<TFileExistsAction>, "FileOrDirectory=%OUT%/app.bin|CheckNotExists",
     "If File/Folder Does Not Exist [ %OUT%/app.bin ]"},
    {Make<TDiskInfoAction>, "Path=/var/build", "Get Disk Free Space [ /var/build ]"},
    {Make<TSetFileAttributesAction>, "FileSpec=/out/*.dll|ReadOnly=asClear|Archive=asSet",
     "Set File Attributes [/out/*.dll - ReadOnly:Clear Archive:Set]"},
    {Make<TSetFileAttributesAction>,
     "FileSpec=/out/*.dll|ReadOnly=asSet|Archive=asSet|SystemFile=asClear|Hidden=asClear",
     "Set File Attributes [/out/*.dll - ReadOnly:Set Archive:Set System:Clear Hidden:Clear]"},
    {Make<TSetFileAttributesAction>, "FileSpec=/out/*.dll", "Set File Attributes [/out/*.dll -]"},
    {Make<TSetFileAttributesAction>,
     "FileSpec=/out/*.dll|FileSetName=Binaries|UseFileSet|Hidden=asSet",
     "Set File Attributes [Binaries - Hidden:Set]"},
    {Make<TFileIterator>, "UseFileSet|FileSetName=Sources", "Iterate FileSet [ Sources ]"},
    {Make<TFileIterator>, "FileSpec=%SRC%/*.c", "File/Fileset Iterator [ %SRC%/*.c ]"},
    {Make<TBVFileMD5Action>, "FileName=out/app.bin|FailIfDiffToMD5|CompareToMD5=%EXPECTED%",
     "Calculate File MD5 [app.bin and compare to MD5: %EXPECTED%]"},
    {Make<TBVFileCRCAction>, "FileName=%OUT%/app.bin", "Calculate File CRC32 [%OUT%/app.bin]"},
    {Make<TBVFileCRCAction>,
     "FileName=%OUT%/app.bin|FailIfDiffToFile|CompareToFile=/ref/app.bin|"
     "FailIfDiffToCRC|CompareToCRC=$0000ABCD",
     "Calculate File CRC32 [app.bin and compare to file: app.bin and compare to CRC32: $0000ABCD]"},
    {Make<TBVFileCompareAction>, "FileA=/build/out/app.bin|FileB=/ref/app.bin",
     "File Compare [/build/out/app.bin and /ref/app.bin]"},
    {Make<TBVCreateTextFileAction>, "NewFileName=%OUT%/stamp.txt",
     "Create Text File [ stamp.txt ]"},
    {Make<TBVTextFindAction>, "SearchString=12345678901|SourcePath=/a/b.txt",
     "Text Find [ 12345678901... ]  in [ b.txt ]"},
    {Make<TBVRandomNumberAction>, "Variable=RND", "Generate Random Number [ 0 to 100 -> RND ]"},
    {Make<TBVRandomNumberAction>, "Variable=RND|RandInt=False|Range=7",
     "Generate Random Number [ 0.0 to 1.0 -> RND ]"},
    {Make<TRunProgramAction>, "ProgramName=%TOOLS%/x", "Execute Program [ %TOOLS%/x ]"},
    {Make<TRunDosCMDAction>, "Command=make", "Run DOS Command / Batch File [ make ]"},
};
// clang-format on

TEST_F(ActionTextsTest, DescriptionShowsTheSettings) {
  for (const DescriptionRow& row : kDescriptionRows) {
    std::unique_ptr<TCustomBVAction> action = row.make();
    SCOPED_TRACE(std::string(action->ClassName()) + " " + row.settings);
    SetAll(*action, row.settings);
    EXPECT_EQ(action->GetFormattedDescription(), row.description);
  }
}

}  // namespace
}  // namespace brivant::testing

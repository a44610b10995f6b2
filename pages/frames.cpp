#include "pages/frames.h"

namespace brivant::pages {
namespace {
constexpr std::string_view kFrame = "TFrame";
}

const TBVDesignClass& TCheckFileFrame() {
  static const TBVDesignClass frame{
      "TCheckFileFrame",
      kFrame,
      {"FileOrDirectory", "CheckType", "CheckNotExists", "ResultVariable"}};
  return frame;
}

const TBVDesignClass& TMoveDirectoryFrame() {
  static const TBVDesignClass frame{
      "TMoveDirectoryFrame",
      kFrame,
      {"SourceDirectory", "TargetDirectory", "Force", "MergeIntoExisting", "OverwriteFiles"}};
  return frame;
}

const TBVDesignClass& TDeleteDirFrame() {
  static const TBVDesignClass frame{
      "TDeleteDirFrame",
      kFrame,
      {"FileOrDirectory", "DeleteTree", "DeleteReadOnly", "DeleteHidden", "LogDeletedFiles",
       "EnableDelay", "FailIfNoDirectory"}};
  return frame;
}

const TBVDesignClass& TDeleteFilesFrame() {
  static const TBVDesignClass frame{
      "TDeleteFilesFrame",
      kFrame,
      {"FileSpec", "DeleteReadOnly", "DeleteHidden", "FailIfNoFile", "LogFilesDeleted"}};
  return frame;
}

const TBVDesignClass& TFileAttributeFrame() {
  static const TBVDesignClass frame{
      "TFileAttributeFrame",
      kFrame,
      {"FileSpec", "Recurse", "UseFileSet", "FileSetName", "ReadOnly", "Archive", "SystemFile",
       "Hidden", "FailIfFileNotFound", "LogAllFiles"}};
  return frame;
}

const TBVDesignClass& TFileIteratorFrame() {
  static const TBVDesignClass frame{
      "TFileIteratorFrame",
      kFrame,
      {"VariableName", "UseFileSet", "FileSpec", "Recurse", "IncludeFilePath", "FindAnyFile",
       "StrictExtensionMatch", "FileSetName", "FileSetRefreshBefore", "FileSetRefreshAfterEach"}};
  return frame;
}

const TBVDesignClass& TFolderIteratorFrame() {
  static const TBVDesignClass frame{
      "TFolderIteratorFrame",
      kFrame,
      {"VariableName", "StartingFolder", "Recurse", "IncludeFolderPath", "IncludeHiddenSystem"}};
  return frame;
}

const TBVDesignClass& TCopyFrame() {
  static const TBVDesignClass frame{
      "TCopyFrame",
      kFrame,
      {"FileSpec", "Target", "TargetIsDir", "Force", "Recurse", "FailIfExists", "OverwriteReadOnly",
       "ClearAttributes", "FailIfZeroFiles", "LogFilesAffected"}};
  return frame;
}

const TBVDesignClass& TTouchFrame() {
  static const TBVDesignClass frame{"TTouchFrame",
                                    kFrame,
                                    {"FileSpec", "Recurse", "UseCurrentDateTime", "DateTimeString",
                                     "CreateIfMissing", "FailIfZeroFiles", "LogFilesAffected"}};
  return frame;
}

const TBVDesignClass& TCreateDirectoryFrame() {
  static const TBVDesignClass frame{"TCreateDirectoryFrame", kFrame, {"FileOrDirectory", "Force"}};
  return frame;
}

const TBVDesignClass& TRenameDirFrame() {
  static const TBVDesignClass frame{"TRenameDirFrame", kFrame, {"OldName", "NewName"}};
  return frame;
}

const TBVDesignClass& TGetFileSizeFrame() {
  static const TBVDesignClass frame{
      "TGetFileSizeFrame", kFrame, {"FileName", "BVVariable", "Units"}};
  return frame;
}

const TBVDesignClass& TConcatFilesFrame() {
  static const TBVDesignClass frame{"TConcatFilesFrame",
                                    kFrame,
                                    {"SourceFiles", "TargetFile", "Separator", "AddLineBreaks",
                                     "AppendToTarget", "LogFilesAffected"}};
  return frame;
}

const TBVDesignClass& TDiskFreeSpaceFrame() {
  static const TBVDesignClass frame{
      "TDiskFreeSpaceFrame",
      kFrame,
      {"Path", "Units", "FreeSpaceVariable", "TotalSpaceVariable", "MinimumFreeSpace"}};
  return frame;
}

const TBVDesignClass& TFileSetCopyMoveFrame() {
  static const TBVDesignClass frame{
      "TFileSetCopyMoveFrame",
      kFrame,
      {"FileSetName", "Operation", "TargetDirectory", "OverwriteMode", "OverwriteReadOnly",
       "RefreshFileSet", "FailIfZeroFiles", "LogFilesAffected"}};
  return frame;
}

const TBVDesignClass& TGetDateTimeFrame() {
  static const TBVDesignClass frame{
      "TGetDateTimeFrame",
      kFrame,
      {"BVVariable", "DateFormat", "ForceSeparators", "UseNow", "TheDate", "ManipulationType",
       "ManipulationValue", "ManipulationUnit"}};
  return frame;
}

const TBVDesignClass& TCreateFileFrame() {
  static const TBVDesignClass frame{
      "TCreateFileFrame",
      kFrame,
      {"NewFileName", "OverwriteExisting", "CreateDirectory", "Encoding", "FileContents"}};
  return frame;
}

const TBVDesignClass& TWriteToTextFileFrame() {
  static const TBVDesignClass frame{
      "TWriteToTextFileFrame",
      kFrame,
      {"FileName", "CreateIfNotExists", "WriteToPosition", "IgnoreNoContent", "ExpandVariables",
       "Encoding", "NewContent"}};
  return frame;
}

const TBVDesignClass& TReadFileFrame() {
  static const TBVDesignClass frame{
      "TReadFileFrame", kFrame, {"FileName", "BVVariable", "PutContentsInVar", "EscapeVariables"}};
  return frame;
}

const TBVDesignClass& TExtractFileVersionInfoFrame() {
  static const TBVDesignClass frame{
      "TExtractFileVersionInfoFrame", kFrame, {"FileName", "VerInfoList", "IgnoreIfNotFound"}};
  return frame;
}

const TBVDesignClass& TFileCRCFrame() {
  static const TBVDesignClass frame{"TFileCRCFrame",
                                    kFrame,
                                    {"FileName", "BVVariable", "UseDecimal", "FailIfDiffToFile",
                                     "CompareToFile", "FailIfDiffToCRC", "CompareToCRC"}};
  return frame;
}

const TBVDesignClass& TFileMD5Frame() {
  static const TBVDesignClass frame{"TFileMD5Frame",
                                    kFrame,
                                    {"FileName", "BVVariable", "FailIfDiffToFile", "CompareToFile",
                                     "FailIfDiffToMD5", "CompareToMD5"}};
  return frame;
}

const TBVDesignClass& TFileCompareFrame() {
  static const TBVDesignClass frame{
      "TFileCompareFrame",
      kFrame,
      {"FileA", "FileB", "CompareDate", "CompareSize", "CompareMD5", "Fail", "Inverted"}};
  return frame;
}

const TBVDesignClass& TRandomFrame() {
  static const TBVDesignClass frame{"TRandomFrame", kFrame, {"Variable", "RandInt", "Range"}};
  return frame;
}

const TBVDesignClass& TRunProgramFrame() {
  static const TBVDesignClass frame{
      "TRunProgramFrame",
      kFrame,
      {"ProgramName", "Params", "StartInDir", "InputFile", "WaitForCompletion", "LogOutput",
       "EnableLiveCapture", "RedirectStdErr", "HideWindow", "EnableReturnCodeCheck",
       "ReturnCodeComparator", "ReturnCodeToCheck"}};
  return frame;
}

const TBVDesignClass& TRunDosCmdFrame() {
  static const TBVDesignClass frame{
      "TRunDosCmdFrame",
      kFrame,
      {"Command", "StartInDir", "InputFile", "WaitForCompletion", "LogOutput", "EnableLiveCapture",
       "RedirectStdErr", "HideWindow", "EnableReturnCodeCheck", "ReturnCodeComparator",
       "ReturnCodeToCheck"}};
  return frame;
}

const TBVDesignClass& TRunDOSReadme() {
  static const TBVDesignClass frame{"TRunDOSReadme", kFrame, {}};
  return frame;
}

const TBVDesignClass& TReadIniFrame() {
  static const TBVDesignClass frame{"TReadIniFrame",
                                    kFrame,
                                    {"IniFile", "Section", "ValueName", "VariableName",
                                     "DefaultValue", "ValueType", "ExpandVariablesInValue"}};
  return frame;
}

const TBVDesignClass& TWriteIniFrame() {
  static const TBVDesignClass frame{
      "TWriteIniFrame",
      kFrame,
      {"IniFile", "Section", "ValueName", "NewValue", "AllowCreate", "ValueType"}};
  return frame;
}

const TBVDesignClass& TIniFileIteratorFrame() {
  static const TBVDesignClass frame{"TIniFileIteratorFrame",
                                    kFrame,
                                    {"IniFilename", "IteratorMode", "SectionsVar", "SectionName",
                                     "NameVariable", "ValueVariable"}};
  return frame;
}

const TBVDesignClass& TVariablesSaveLoadForm() {
  static const TBVDesignClass frame{
      "TVariablesSaveLoadForm", kFrame, {"INIFile", "SectionName", "Variables"}};
  return frame;
}

const TBVDesignClass& TVariablesSaveOptionsFrame() {
  static const TBVDesignClass frame{
      "TVariablesSaveOptionsFrame", kFrame, {"EraseSection", "SaveAll"}};
  return frame;
}

const TBVDesignClass& TVariablesLoadOptionsFrame() {
  static const TBVDesignClass frame{
      "TVariablesLoadOptionsFrame",
      kFrame,
      {"VariableTypes", "FailIfVariableNotDefined", "FailIfVariableNotInIniFile",
       "CreateVarInINIifNotExists", "IgnoreFileNotFound"}};
  return frame;
}

const TBVDesignClass& TLogVarFrame() {
  static const TBVDesignClass frame{
      "TLogVarFrame", kFrame, {"VariablesToLog", "FailIfNotDefined", "LogAllVariables"}};
  return frame;
}

const TBVDesignClass& TReplaceVariablesFrame() {
  static const TBVDesignClass frame{
      "TReplaceVariablesFrame",
      kFrame,
      {"SourceType", "SourceFile", "SourceVariable", "WriteBackToSource", "DestType", "DestFile",
       "DestVariable", "FailOnVariableErrors", "WriteToLog"}};
  return frame;
}

// One page for the three registry actions; each shows the controls of the
// properties it publishes.
const TBVDesignClass& TReadRegistryFrame() {
  static const TBVDesignClass frame{
      "TReadRegistryFrame",
      kFrame,
      {"RegRoot", "RegKey", "RegValueName", "RegValType", "BVVariable", "RegValue",
       "AllowCreateKey", "DeleteKey", "Recursive", "Read64BitKey"}};
  return frame;
}

const TBVDesignClass& TBVShellExecuteFrame() {
  static const TBVDesignClass frame{
      "TBVShellExecuteFrame",
      kFrame,
      {"FileSpec", "Action", "Parameters", "WorkingDir", "WaitForCompletion"}};
  return frame;
}

const TBVDesignClass& TBVIfCOMClassRegFrame() {
  static const TBVDesignClass frame{
      "TBVIfCOMClassRegFrame",
      kFrame,
      {"UseProgID", "ProgID", "CLSID", "Invert", "FailIfNotRegistered"}};
  return frame;
}

const TBVDesignClass& TCloseProcessFrame() {
  static const TBVDesignClass frame{
      "TCloseProcessFrame", kFrame, {"ProcessID", "SendWMClose", "Timeout", "TimeoutLimit"}};
  return frame;
}

const TBVDesignClass& TMutexActionFrame() {
  static const TBVDesignClass frame{
      "TMutexActionFrame",
      kFrame,
      {"Mode", "FileName", "CreateNewFile", "DeleteOnUnlock", "MutexName", "CreateNewMutex",
       "EnableTimeout", "TimeoutLength"}};
  return frame;
}

}  // namespace brivant::pages

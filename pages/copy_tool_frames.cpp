#include "pages/copy_tool_frames.h"

namespace brivant::pages {
namespace {
constexpr std::string_view kFrame = "TFrame";
}

const TBVDesignClass& TXCopyMainFrame() {
  static const TBVDesignClass frame{
      "TXCopyMainFrame", kFrame, {"Source", "Destination", "XCopyMode", "XCopyLogMode"}};
  return frame;
}

const TBVDesignClass& TXCopyOptionsFrame() {
  static const TBVDesignClass frame{
      "TXCopyOptionsFrame",
      kFrame,
      {"OnlyArchiveFiles", "TurnOffArchiveBit", "OverwriteReadOnly", "OnlyFilesThatAlreadyExist",
       "CopyUsingShortNames", "CopyNetworkedFiles", "CopyNewerFiles", "CopyFilesChnagedAfter",
       "ChangedAfterDate", "Verify", "IgnoreErrors", "CopyEmptyDirectories"}};
  return frame;
}

const TBVDesignClass& TXCopyAttribFrame() {
  static const TBVDesignClass frame{"TXCopyAttribFrame",
                                    kFrame,
                                    {"CopyHiddenAndSys", "CopyAttributes", "CopyOwnershipAndACL",
                                     "CopyFileAuditSettings", "CopyEncryptedIfNotSupportedInDest"}};
  return frame;
}

const TBVDesignClass& TBVXcopyExcludeFilesFrame() {
  static const TBVDesignClass frame{"TBVXcopyExcludeFilesFrame", kFrame, {"ExcludeFiles"}};
  return frame;
}

// Edits the options object's one value, not an action's property.
const TBVDesignClass& TRobocopyOptionsFrame() {
  static const TBVDesignClass frame{"TRobocopyOptionsFrame", kFrame, {"RobocopyPath"}};
  return frame;
}

const TBVDesignClass& TRobocopyMainFrame() {
  static const TBVDesignClass frame{
      "TRobocopyMainFrame",
      kFrame,
      {"SourceDir", "DestDir", "Retries", "RetryWaitSec", "HideWindow", "ExtraCmdLine"}};
  return frame;
}

const TBVDesignClass& TRobocopyCopyOptionsFrame() {
  static const TBVDesignClass frame{
      "TRobocopyCopyOptionsFrame",
      kFrame,
      {"IncludeSubDirs", "IncludeEmptyDirs", "CopyFlags", "SetAttribInCopiedFiles",
       "TurnOffAttribInCopiedFiles", "FATFileNames", "FATFileTimes"}};
  return frame;
}

const TBVDesignClass& TRobocopyMoveOptionsFrame() {
  static const TBVDesignClass frame{
      "TRobocopyMoveOptionsFrame",
      kFrame,
      {"IncludeSubDirs", "IncludeEmptyDirs", "PreserveSourceDirTree"}};
  return frame;
}

const TBVDesignClass& TRobocopyIncludeFrame() {
  static const TBVDesignClass frame{
      "TRobocopyIncludeFrame",
      kFrame,
      {"DoIncludeUsingAttrib", "IncludeFilesAttrib", "OnlyArchiveFilesAndClearArchiveBit",
       "IncludeTaggedSame", "IncludeTaggedTweaked", "OnlyListFiles", "WaitForSharesToBeDefined",
       "DelayToFreeUpBandwidth"}};
  return frame;
}

const TBVDesignClass& TRobocopyExcludeFrame() {
  static const TBVDesignClass frame{"TRobocopyExcludeFrame",
                                    kFrame,
                                    {"ExcludeFilesAttrib",
                                     "ExcludeJunctionPoints",
                                     "ExcludeTaggedChanged",
                                     "ExcludeTaggedNewer",
                                     "ExcludeTaggedOlder",
                                     "ExcludeTaggedExtra",
                                     "ExcludeTaggedLonely",
                                     "ExcludeLargeFiles",
                                     "MaxFileSizeBytes",
                                     "ExcludeSmallFiles",
                                     "MinFileSizeBytes",
                                     "ExcludeOldFiles",
                                     "UseMaxAgeDays",
                                     "MaxAgeDays",
                                     "MaxAgeDate",
                                     "ExcludeNewFiles",
                                     "UseMinAgeDays",
                                     "MinAgeDays",
                                     "MinAgeDate",
                                     "ExcludeLADOldFiles",
                                     "UseMaxLADDays",
                                     "MaxLADDays",
                                     "MaxLADDate",
                                     "ExcludeLADNewFiles",
                                     "UseMinLADDays",
                                     "MinLADDays",
                                     "MinLADDate"}};
  return frame;
}

const TBVDesignClass& TBVRobocopyExcludeFilesFrame() {
  static const TBVDesignClass frame{"TBVRobocopyExcludeFilesFrame", kFrame, {"ExcludeFiles"}};
  return frame;
}

const TBVDesignClass& TBVRobocopyExcludeDirFrame() {
  static const TBVDesignClass frame{"TBVRobocopyExcludeDirFrame", kFrame, {"ExcludeDirs"}};
  return frame;
}

const TBVDesignClass& TRobocopyJobsFrame() {
  static const TBVDesignClass frame{"TRobocopyJobsFrame", kFrame, {"JobFiles"}};
  return frame;
}

const TBVDesignClass& TRobocopyLogOptionsFrame() {
  static const TBVDesignClass frame{
      "TRobocopyLogOptionsFrame",
      kFrame,
      {"ReportExtraFiles", "VerboseOutput", "DisplayFileTimestamps", "DisplayFullPathnames",
       "SuppressFileClasses", "SuppressFileDirSizes", "DisableLoggingDirNames",
       "DisableLoggingFileNames", "DisableLoggingJobHeader", "DisableLoggingJobSummary", "LogFile",
       "AppendToLogFile"}};
  return frame;
}

}  // namespace brivant::pages

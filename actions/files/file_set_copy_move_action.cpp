#include "actions/files/file_set_copy_move_action.h"

#include <tuple>

#include "actions/files/root_guard.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/file_identity.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/paths.h"

namespace brivant {
namespace {

struct Verbs {
  const char* verb;   // "copy"
  const char* doing;  // "Copying"
  const char* done;   // "Copied"
  const char* past;   // "copied"
};
constexpr Verbs kCopyVerbs{"copy", "Copying", "Copied", "copied"};
constexpr Verbs kMoveVerbs{"move", "Moving", "Moved", "moved"};



// Compared to the second; copies keep the last-write time, so a file copied
// by an earlier run is not newer.
bool IsNewer(const platform::LocalTime& a, const platform::LocalTime& b) {
  return std::tie(a.year, a.month, a.day, a.hour, a.minute, a.second, a.millisecond) >
         std::tie(b.year, b.month, b.day, b.hour, b.minute, b.second, b.millisecond);
}

}  // namespace

const EnumInfo& EnumTraits<TFileSetOperation>::Info() {
  static const EnumInfo info{"TFileSetOperation", {"fsoCopy", "fsoMove"}};
  return info;
}

const EnumInfo& EnumTraits<TFileSetOverwriteMode>::Info() {
  static const EnumInfo info{"TFileSetOverwriteMode",
                             {"omOverwrite", "omOverwriteIfNewer", "omSkip", "omFail"}};
  return info;
}

const PropertyTable& TBVFileSetCopyMoveAction::Properties() {
  using T = TBVFileSetCopyMoveAction;
  static const PropertyTable table(
      &TFileSetBaseAction::Properties(),
      {
          Property("Operation", &T::operation_).Default("fsoCopy"),
          Property("TargetDirectory", &T::target_directory_),
          Property("OverwriteMode", &T::overwrite_mode_).Default("omOverwrite"),
          Property("OverwriteReadOnly", &T::overwrite_read_only_).Default("False"),
          Property("RefreshFileSet", &T::refresh_file_set_).Default("True"),
          Property("FailIfZeroFiles", &T::fail_if_zero_files_).Default("True"),
          Property("LogFilesAffected", &T::log_files_affected_).Default("True"),
          ReadOnlyProperty("FilesAffected", &T::GetFilesAffected)
              .Default("0"),
      });
  return table;
}

std::string TBVFileSetCopyMoveAction::GetFormattedDescription() const {
  return std::string(IsMove() ? "FileSet Move" : "FileSet Copy") + " [ " + GetFileSetName() +
         " -> " + target_directory_ + " ]";
}

bool TBVFileSetCopyMoveAction::Validate(IBVActionValidationError& errors) {
  if (GetFileSetName().empty()) errors.AddError("FileSet", "FileSet name has not been set", 0);
  if (target_directory_.empty())
    errors.AddError("Target Directory", "The target directory has not been set", 0);
  return !GetFileSetName().empty() && !target_directory_.empty();
}

void TBVFileSetCopyMoveAction::GetHiddenProperties(TStrings& list) const {
  TFileSetBaseAction::GetHiddenProperties(list);
  list.push_back("FilesAffected");
}

void TBVFileSetCopyMoveAction::GetPropertyAlias(TStrings& list) const {
  TFileSetBaseAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[FileSet Copy/Move]", "FileSetName=FileSet Name", "Operation=Operation",
               "TargetDirectory=Target Directory", "OverwriteMode=Existing files",
               "OverwriteReadOnly=Overwrite read only", "RefreshFileSet=Refresh FileSet Before",
               "FailIfZeroFiles=Fail if zero files affected", "[Logging]",
               "LogFilesAffected=Log each file affected"});
}

void TBVFileSetCopyMoveAction::GetPropertyHelp(TStrings& list) const {
  TFileSetBaseAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"FileSetName=The name of the pre-defined FileSet",
       "Operation=Copy the files, or move them (the emptied source directories stay)",
       "TargetDirectory=The directory that receives the files, each at its path relative to "
       "the FileSet's base directory",
       "OverwriteMode=What to do with a file that exists in the target: overwrite it, "
       "overwrite it only when the source is newer, skip it, or fail",
       "OverwriteReadOnly=Overwrite read only files",
       "RefreshFileSet=Refresh the FileSet contents before copying",
       "FailIfZeroFiles=Fail when no file was copied or moved",
       "LogFilesAffected=Logs each file with its source and target path"});
}

void TBVFileSetCopyMoveAction::EndGroup(TStatusTag tag) {
  if (!group_open_) return;
  group_open_ = false;
  EndMessageGroup(tag);
}

void TBVFileSetCopyMoveAction::SendPercent(int percent) {
  if (percent == last_percent_) return;
  last_percent_ = percent;
  SendProgress(progress_text_, percent);
}

TBVFileSetCopyMoveAction::FileOutcome TBVFileSetCopyMoveAction::Fail(const std::string& source,
                                                                     const std::string& destination,
                                                                     const std::string& reason) {
  EndGroup(stError);
  const Verbs& verbs = IsMove() ? kMoveVerbs : kCopyVerbs;
  SendMessage("Failed to " + std::string(verbs.verb) + " file: " + source + " -> " + destination,
              stError);
  SendMessage("Error reason: " + reason, stError);
  return FileOutcome::kFailed;
}

TBVFileSetCopyMoveAction::FileOutcome TBVFileSetCopyMoveAction::DecideForExisting(
    const std::string& source, const std::string& destination, uint32_t attributes) {
  if ((attributes & platform::kFileAttributeDirectory) != 0)
    return Fail(source, destination, "Target is a directory");
  switch (overwrite_mode_) {
    case omFail:
      return Fail(source, destination, "Target file already exists");
    case omSkip:
      SendMessage("Skipping existing file " + destination, stInfo);
      return FileOutcome::kSkipped;
    case omOverwriteIfNewer: {
      platform::OsResult<platform::LocalTime> source_time = platform::GetLastWriteTime(source);
      platform::OsResult<platform::LocalTime> target_time = platform::GetLastWriteTime(destination);
      if (!source_time.IsOk()) return Fail(source, destination, source_time.Error().message);
      if (!target_time.IsOk()) return Fail(source, destination, target_time.Error().message);
      if (!IsNewer(source_time.Value(), target_time.Value())) {
        SendMessage("Skipping up-to-date file " + destination, stInfo);
        return FileOutcome::kSkipped;
      }
      break;
    }
    case omOverwrite:
      break;
  }
  if ((attributes & platform::kFileAttributeReadOnly) == 0) return FileOutcome::kDone;
  if (!overwrite_read_only_) return Fail(source, destination, "Target file is read only");
  uint32_t writable = attributes & ~platform::kFileAttributeReadOnly;
  if (platform::OsError error = platform::SetFileAttributes(
          destination, writable == 0 ? platform::kFileAttributeNormal : writable))
    return Fail(source, destination, error.message);
  return FileOutcome::kDone;
}

bool TBVFileSetCopyMoveAction::Transfer(const std::string& source, const std::string& destination) {
  const Verbs& verbs = IsMove() ? kMoveVerbs : kCopyVerbs;
  progress_text_ = std::string(verbs.doing) + " File : " + source + " to : " + destination;
  last_percent_ = -1;
  auto progress = [this](uint64_t transferred, uint64_t total) {
    SendPercent(total == 0 ? 0 : static_cast<int>(transferred * 100 / total));
  };
  platform::OsError error =
      IsMove()
          ? platform::MoveFileWithProgress(source, destination, /*replace_existing=*/true, progress)
          : platform::CopyFileWithProgress(source, destination, /*fail_if_exists=*/false, progress,
                                           &cancel_);
  if (error) {
    Fail(source, destination, error.message);
    return false;
  }
  return true;
}

TBVFileSetCopyMoveAction::FileOutcome TBVFileSetCopyMoveAction::ProcessFile(
    const std::string& source, const std::string& destination) {
  std::string directory = ExtractFilePath(destination);
  if (platform::OsError error = platform::CreateDirectories(directory))
    return Fail(source, destination, error.Describe());
  platform::OsResult<uint32_t> existing = platform::GetFileAttributes(destination);
  if (existing.IsOk()) {
    FileOutcome decision = DecideForExisting(source, destination, existing.Value());
    if (decision != FileOutcome::kDone) return decision;
  }
  if (!Transfer(source, destination)) return FileOutcome::kFailed;
  ++files_affected_;
  if (log_files_affected_) {
    const Verbs& verbs = IsMove() ? kMoveVerbs : kCopyVerbs;
    SendMessage(std::string(verbs.done) + " " + source + " to " + destination, stInfo);
  }
  return FileOutcome::kDone;
}

bool TBVFileSetCopyMoveAction::CopyOrMoveAll(const std::vector<std::string>& files,
                                             const std::string& base_directory,
                                             const std::string& target) {
  std::string prefix = base_directory == "/" ? "/" : base_directory + "/";
  std::string comparable_target = platform::AbsoluteNormalPath(target);
  for (const std::string& source : files) {
    if (cancel_ || IsStopSignalled()) {
      EndGroup(stError);
      SendMessage("Stopped on request", stError);
      return false;
    }
    if (source.compare(0, prefix.size(), prefix) != 0) {
      Fail(source, target, "the file is outside the FileSet's base directory " + base_directory);
      return false;
    }
    std::string relative = source.substr(prefix.size());
    if (comparable_target + "/" + relative == platform::AbsoluteNormalPath(source) ||
        platform::IsSameFile(source, target + "/" + relative)) {
      SendMessage("Skipping same file " + source, stInfo);
      continue;
    }
    if (ProcessFile(source, target + "/" + relative) == FileOutcome::kFailed) return false;
  }
  return true;
}

bool TBVFileSetCopyMoveAction::Execute() {
  files_affected_ = 0;
  cancel_ = false;
  group_open_ = false;
  return TFileSetBaseAction::Execute();
}

bool TBVFileSetCopyMoveAction::DoFileSetOperation(IBVFileSet& file_set) {
  std::string target;
  if (!TryExpandExpression("Target Directory", target_directory_, target, true)) return false;
  target = platform::WithoutTrailingSlashes(Trim(target));
  if (target.empty()) {
    SendMessage("The target directory has not been set", stError);
    return false;
  }
  if (RefuseRootPath(*this, "TargetDirectory", target_directory_, target + "/*")) return false;
  if (refresh_file_set_) {
    SendMessage("Refreshing fileset...", stInfo);
    std::string error;
    if (!file_set.Refresh(&error)) {
      SendMessage("Error refreshing fileset " + GetFileSetName() + ": " + error, stError);
      return false;
    }
  }
  std::vector<std::string> files = file_set.GetFiles();
  std::string base_directory = platform::WithoutTrailingSlashes(file_set.GetBaseDir());
  const Verbs& verbs = IsMove() ? kMoveVerbs : kCopyVerbs;
  SendMessage(std::string(verbs.doing) + " fileset " + GetFileSetName() + " (" +
                  std::to_string(files.size()) + " files) from " + base_directory + " to " + target,
              stInfo);
  if (log_files_affected_) {
    StartMessageGroup(std::string("Files ") + verbs.done);
    group_open_ = true;
  }
  bool result = CopyOrMoveAll(files, base_directory, target);
  EndGroup(stInfo);

  // "1 file copied", "2 files copied".
  std::string count = (files_affected_ == 1 ? std::string("1 file ")
                                            : std::to_string(files_affected_) + " files ") +
                      verbs.past;
  if (!result) {
    if (files_affected_ > 0) SendMessage(count + " before error occurred", stError);
    return false;
  }
  if (files_affected_ == 0 && fail_if_zero_files_) {
    SendMessage("Failing because zero files " + std::string(verbs.past), stError);
    return false;
  }
  SendMessage(count + " to " + target, stSuccess);
  return true;
}

}  // namespace brivant

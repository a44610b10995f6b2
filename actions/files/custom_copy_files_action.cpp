#include "actions/files/custom_copy_files_action.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <vector>

#include "actions/files/root_guard.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/directory.h"
#include "platform/file_attributes.h"
#include "platform/file_identity.h"
#include "platform/file_system.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

constexpr const char* kWin32Error = "Win32 Error : ";

std::string LowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::string WithoutTrailingSeparator(std::string path) {
  if (!path.empty() && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

const PropertyTable& TCustomCopyFilesAction::Properties() {
  using T = TCustomCopyFilesAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileSpec", &T::GetFileSpec, &T::SetFileSpec),
          Property("Target", &T::target_),
          Property("Force", &T::force_).Default("False"),
          Property("TargetIsDir", &T::GetTargetIsDir, &T::SetTargetIsDir).Default("False"),
          Property("FailIfExists", &T::fail_if_exists_).Default("False"),
          Property("Overwrite", &T::overwrite_).Default("True"),
          Property("OverwriteReadOnly", &T::overwrite_read_only_).Default("False"),
          Property("Recurse", &T::GetRecurse, &T::SetRecurse).Default("False"),
          Property("ClearAttributes", &T::clear_attributes_).Default("False"),
          Property("FailIfZeroFiles", &T::fail_if_zero_files_).Default("True"),
          Property("FilesAffected", &T::files_affected_).Default("0"),
          Property("LogFilesAffected", &T::log_files_affected_).Default("True"),
      });
  return table;
}

void TCustomCopyFilesAction::SetFileSpec(const std::string& file_spec) {
  if (file_spec != file_spec_ && platform::HasWildcards(file_spec)) target_is_dir_ = true;
  file_spec_ = file_spec;
}

void TCustomCopyFilesAction::SetRecurse(bool recurse) {
  recurse_ = recurse;
  if (recurse) target_is_dir_ = true;
}

void TCustomCopyFilesAction::SetTargetIsDir(bool target_is_dir) {
  target_is_dir_ = target_is_dir;
  if (!target_is_dir) recurse_ = false;
}

std::string TCustomCopyFilesAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_spec_ + " -> " + target_ + " ]";
}

bool TCustomCopyFilesAction::Validate(IBVActionValidationError& errors) {
  if (file_spec_.empty()) errors.AddError("File Spec", "The file spec has not been set", 0);
  if (target_.empty()) errors.AddError("Target", "The target file/directory has not been set", 0);
  return !file_spec_.empty() && !target_.empty();
}

void TCustomCopyFilesAction::GetHiddenProperties(TStrings& list) const {
  TBVAction::GetHiddenProperties(list);
  // "ErrorCount" names no property; designers have always been given it.
  list.insert(list.end(), {"ErrorCount", "FilesAffected"});
}

void TCustomCopyFilesAction::AddPublishedLines(TStrings& list,
                                               std::initializer_list<std::string> lines) const {
  for (const std::string& line : lines) {
    // The move action drops Recurse, and its lines with it.
    if (GetPropertyTable().Find(line.substr(0, line.find('='))) != nullptr) list.push_back(line);
  }
}

void TCustomCopyFilesAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.push_back("[" + Verb() + " Files]");
  AddPublishedLines(
      list, {"Force=Force Directories", "FileSpec=File Specification", "Target=Destination",
             "TargetIsDir=Destination is a directory", "FailIfExists=Fail if file exists",
             "OverwriteReadOnly=Overwrite read only", "Recurse=Recurse subdirectories",
             "ClearAttributes=Clear attributes", "FailIfZeroFiles=Fail if zero files affected"});
  list.push_back("[Logging]");
  list.push_back("LogFilesAffected=Log each file affected");
}

void TCustomCopyFilesAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  const std::string verb = LowerCase(Verb());
  AddPublishedLines(
      list,
      {"Force=Use force directories to create a directory and all parent directories that do "
       "not already exist.",
       "FileSpec=The file specification of the files to " + verb + ". Wildcards (*, ?) may be used",
       "Target=The destination file or directory",
       "TargetIsDir=Specifies that the destination is a directory",
       "FailIfExists=Fail if the target file exists", "OverwriteReadOnly=Overwrite read only files",
       "Recurse=" + verb + " files in subdirectories also",
       "ClearAttributes=Clear the files attribute flags after the " + verb,
       "LogFilesAffected=Logs the full name/path of the file before and after the " + verb});
}

bool TCustomCopyFilesAction::Execute() {
  last_forced_directory_.clear();
  forced_directory_was_new_ = false;
  files_affected_ = 0;
  cancel_ = false;
  std::string source;
  std::string target;
  if (!TryExpandExpression("Source File Spec", file_spec_, source, true)) return false;
  if (!TryExpandExpression("Target File Spec", target_, target, true)) return false;
  source = Trim(source);
  target = Trim(target);
  target_has_wildcards_ = platform::HasWildcards(target);
  SendMessage(VerbTrans() + " files: " + source + " -> " + target, stInfo);
  if (target.empty()) {
    // Joined with a file name, an empty target would name the root directory.
    SendMessage("target \"" + target_ + "\" is empty once expanded", stError);
    return false;
  }
  // A target directory receives entries; a target file is one itself.
  const std::string written = target_is_dir_ ? WithoutTrailingSeparator(target) + "/*" : target;
  if (RefuseRootPath(*this, "FileSpec", file_spec_, source) ||
      RefuseRootPath(*this, "Target", target_, written)) {
    return false;
  }

  if (log_files_affected_) {
    StartMessageGroup("Files " + VerbPast(), 0, stInfo);
    group_open_ = true;
  }
  bool result = DoRecursiveCopyMove(source, target, /*is_top_level=*/true);
  CloseFileGroup();

  const std::string verb_past = LowerCase(VerbPast());
  if (result && fail_if_zero_files_ && files_affected_ == 0) {
    SendMessage("Failing because zero files " + verb_past, stError);
    result = false;
  }
  // The plural stays for a single file too ("1 files copied"): the text is fixed.
  const std::string summary = std::to_string(files_affected_) + " files " + verb_past;
  if (result) {
    SendMessage(summary, stSuccess);
  } else if (files_affected_ > 0) {
    SendMessage(summary + " before error occurred", stError);
  }
  return result;
}

bool TCustomCopyFilesAction::DoRecursiveCopyMove(const std::string& spec, const std::string& target,
                                                 bool is_top_level) {
  const bool has_wildcards = platform::HasWildcards(spec);
  const std::string directory = ExtractFilePath(spec);  // with its trailing '/'
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      // Only names and kinds are used here: the copy reads the mode, times and
      // DOS attribute word from the source itself, so the search spares an
      // lstat per file.
      platform::FindFiles(spec, platform::kFindAnyAttribute, platform::FindDetail::kNamesAndKinds);
  if (!found.IsOk()) {
    CloseFileGroup();
    SendMessage("could not search " + spec + ": " + found.Error().message, stError);
    return false;
  }
  const std::vector<platform::FoundEntry>& entries = found.Value();
  if (is_top_level && fail_if_zero_files_ && entries.empty() && !recurse_) {
    CloseFileGroup();
    SendMessage("File not found \"" + spec + "\"", stError);
    return true;  // the zero-files rule fails the run
  }

  const std::string target_directory = WithoutTrailingSeparator(target);
  // Without wildcards only the first entry counts, as a single-file lookup.
  const size_t considered = has_wildcards ? entries.size() : std::min<size_t>(entries.size(), 1);
  for (size_t i = 0; i < considered; ++i) {
    const platform::FoundEntry& entry = entries[i];
    if (entry.IsDirectory()) continue;
    const std::string source = directory + entry.name;
    const std::string destination = target_is_dir_ ? target_directory + "/" + entry.name : target;
    // A wildcard in the target can only name a search, never a file to
    // create: refused before any directory is made or file touched.
    if (target_has_wildcards_)
      return FailFile(source, destination,
                      kWin32Error + platform::OsError::FromCode(EINVAL, destination).message +
                          " (the target name holds * or ?)");
    const std::string destination_directory = ExtractFilePath(destination);
    // Every file of a directory goes to the same place: create it once.
    if (force_ && !destination_directory.empty() &&
        destination_directory != last_forced_directory_) {
      if (platform::OsError error =
              platform::CreateDirectories(destination_directory, &forced_directory_was_new_))
        return FailFile(source, destination, kWin32Error + error.message);
      last_forced_directory_ = destination_directory;
    }
    if (!ProcessFile(source, destination)) return false;
  }
  if (recurse_) CopySubdirectories(directory, ExtractFileName(spec), target_directory);
  return true;
}

void TCustomCopyFilesAction::CopySubdirectories(const std::string& directory,
                                                const std::string& mask,
                                                const std::string& target_directory) {
  // Only the names and kinds of the entries matter here, so the plain listing
  // (no per-entry attribute lookups) serves: it halves the system calls of a
  // recursive copy. It finds the same directories, hidden ones included, and
  // reports links as links, which are never entered.
  const std::string listed = directory.empty() ? "." : directory;
  platform::OsResult<std::vector<platform::DirectoryEntry>> found = platform::ListDirectory(listed);
  // No directory there, or a file in its place, has no subdirectories.
  if (!found.IsOk() && (found.Error().code == ENOENT || found.Error().code == ENOTDIR)) return;
  if (!found.IsOk()) {
    CloseFileGroup();
    SendMessage("could not search " + directory + "*: " + found.Error().message, stError);
    return;
  }
  for (const platform::DirectoryEntry& entry : found.Value()) {
    if (entry.type != platform::EntryType::kDirectory) continue;
    // After a cancel every further copy would fail the same way.
    if (cancel_) return;
    // A failure inside a subdirectory is logged there and the walk goes on
    // with the next one; it does not fail the run.
    (void)DoRecursiveCopyMove(directory + entry.name + "/" + mask,
                              target_directory + "/" + entry.name, /*is_top_level=*/false);
  }
}

TCustomCopyFilesAction::ExistingTarget TCustomCopyFilesAction::JudgeExistingTarget(
    const std::string& source, const std::string& target) {
  if (!platform::FileExists(target)) return ExistingTarget::kProceed;
  if (fail_if_exists_) {
    FailFile(source, target, "File Already Exists!");
    return ExistingTarget::kFail;
  }
  if (!overwrite_) {
    SendMessage("Skipping existing file " + target, stInfo);
    return ExistingTarget::kSkip;
  }
  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(target);
  if (attributes.IsOk() && (attributes.Value() & platform::kFileAttributeReadOnly) != 0) {
    if (!overwrite_read_only_) {
      FailFile(source, target, "File Already Exists and is marked as Read Only");
      return ExistingTarget::kFail;
    }
    const uint32_t writable = clear_attributes_
                                  ? platform::kFileAttributeNormal
                                  : attributes.Value() & ~platform::kFileAttributeReadOnly;
    // The source under another name (a link to it) is neither copied nor
    // moved onto itself, so its mode stays too.
    const bool other_name = source != target && platform::IsSameFile(source, target);
    if (platform::OsError error =
            other_name ? platform::OsError{} : platform::SetFileAttributes(target, writable)) {
      FailFile(source, target, kWin32Error + error.message);
      return ExistingTarget::kFail;
    }
  }
  return ExistingTarget::kProceed;
}

std::optional<platform::OsError> TCustomCopyFilesAction::DoCopyMoveToNewTarget(
    const std::string& /*source*/, const std::string& /*target*/) {
  return std::nullopt;
}

bool TCustomCopyFilesAction::ProcessFile(const std::string& source, const std::string& target) {
  // In a directory this run has just made, the look for an existing target
  // is left to the copy, which refuses to replace one, and made only when the
  // copy finds one there: it saves a lookup per file of a new tree.
  const bool expect_new =
      forced_directory_was_new_ && ExtractFilePath(target) == last_forced_directory_;
  if (!expect_new) {
    ExistingTarget verdict = JudgeExistingTarget(source, target);
    if (verdict != ExistingTarget::kProceed) return verdict == ExistingTarget::kSkip;
  }

  last_percent_ = 0;
  progress_text_ = VerbTrans() + " File : " + source + " to : " + target;
  SendProgress(progress_text_, 0);
  std::optional<platform::OsError> result;
  if (expect_new) result = DoCopyMoveToNewTarget(source, target);
  if (!result || result->code == EEXIST) {
    if (expect_new) {
      ExistingTarget verdict = JudgeExistingTarget(source, target);
      if (verdict != ExistingTarget::kProceed) return verdict == ExistingTarget::kSkip;
    }
    result = DoCopyMove(source, target);
  }
  if (*result) return FailFile(source, target, kWin32Error + result->message);

  ++files_affected_;
  if (clear_attributes_) {
    if (platform::OsError error =
            platform::SetFileAttributes(target, platform::kFileAttributeNormal))
      SendMessage("could not clear the attributes of " + target + ": " + error.message, stWarning);
  }
  if (log_files_affected_) SendMessage(VerbPast() + " " + source + " to " + target, stInfo);
  return true;
}

bool TCustomCopyFilesAction::FailFile(const std::string& source, const std::string& target,
                                      const std::string& reason) {
  CloseFileGroup();
  SendMessage("Failed to " + LowerCase(Verb()) + " File : " + source + " -> " + target, stError);
  SendMessage(reason, stError);
  return false;
}

void TCustomCopyFilesAction::CloseFileGroup() {
  if (!group_open_) return;
  EndMessageGroup(stInfo);
  group_open_ = false;
}

platform::CopyProgress TCustomCopyFilesAction::ProgressRoutine() {
  return [this](uint64_t transferred, uint64_t total) { ReportProgress(transferred, total); };
}

void TCustomCopyFilesAction::ReportProgress(uint64_t transferred, uint64_t total) {
  // An empty file counts as 0 %, which ProcessFile has already sent.
  const int percent = total == 0
                          ? 0
                          : static_cast<int>(std::lround(static_cast<double>(transferred) * 100.0 /
                                                         static_cast<double>(total)));
  if (percent == last_percent_) return;
  last_percent_ = percent;
  SendProgress(progress_text_, percent);
}

}  // namespace brivant

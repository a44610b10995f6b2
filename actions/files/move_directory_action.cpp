#include "actions/files/move_directory_action.h"

#include <cerrno>

#include "actions/files/root_guard.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/file_identity.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/paths.h"

namespace brivant {
namespace {



bool IsSameOrInside(const std::string& path, const std::string& directory) {
  std::string normal_path = platform::AbsoluteNormalPath(path);
  std::string normal_directory = platform::AbsoluteNormalPath(directory);
  if (normal_path == normal_directory) return true;
  std::string prefix = normal_directory == "/" ? "/" : normal_directory + "/";
  return normal_path.compare(0, prefix.size(), prefix) == 0;
}

bool IsDirectoryAttribute(uint32_t attributes) {
  return (attributes & platform::kFileAttributeDirectory) != 0;
}

// Windows refuses to delete read-only files; the copy already holds their
// data, so they go all the same rather than leaving the source half removed.
// Their mode stays: a hard link elsewhere may share it.
platform::OsError DeleteFileEvenIfReadOnly(const std::string& path) {
  return platform::DeleteFile(path, platform::ReadOnlyFile::kDelete);
}

// Removes `root` and everything below it, children before their parents.
// Links are removed as links, never followed.
platform::OsError RemoveTree(const std::string& root) {
  std::vector<std::pair<std::string, bool>> entries;  // path, is a directory
  platform::OsError walk_error = platform::WalkDirectory(
      root, [&](const std::string& relative_path, const platform::DirectoryEntry& entry) {
        entries.emplace_back(root + "/" + relative_path,
                             entry.type == platform::EntryType::kDirectory);
        return true;
      });
  if (walk_error) return walk_error;
  for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
    platform::OsError error =
        it->second ? platform::RemoveDirectory(it->first) : DeleteFileEvenIfReadOnly(it->first);
    if (error) return error;
  }
  return platform::RemoveDirectory(root);
}

void IgnoreProgress(uint64_t /*transferred*/, uint64_t /*total*/) {}

}  // namespace

const PropertyTable& TBVMoveDirectoryAction::Properties() {
  using T = TBVMoveDirectoryAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("SourceDirectory", &T::source_directory_),
          Property("TargetDirectory", &T::target_directory_),
          Property("MergeIntoExisting", &T::merge_into_existing_).Default("False"),
          Property("OverwriteFiles", &T::overwrite_files_).Default("False"),
          Property("Force", &T::force_).Default("False"),
      });
  return table;
}

std::string TBVMoveDirectoryAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + source_directory_ + " -> " + target_directory_ + " ]";
}

bool TBVMoveDirectoryAction::Validate(IBVActionValidationError& errors) {
  if (source_directory_.empty())
    errors.AddError("Source Directory", "The source directory has not been set", 0);
  if (target_directory_.empty())
    errors.AddError("Target Directory", "The target directory has not been set", 0);
  return !source_directory_.empty() && !target_directory_.empty();
}

void TBVMoveDirectoryAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Move Directory]", "SourceDirectory=Source Directory",
                           "TargetDirectory=Target Directory",
                           "MergeIntoExisting=Merge into existing directory",
                           "OverwriteFiles=Overwrite files", "Force=Force Directories"});
}

void TBVMoveDirectoryAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"SourceDirectory=The directory to move, with all its files and subdirectories",
               "TargetDirectory=The new path of the directory",
               "MergeIntoExisting=When the target directory exists, move the source's content into "
               "it; otherwise an existing target fails the action",
               "OverwriteFiles=When merging, replace files that exist in the target directory; "
               "otherwise they fail the action before anything is moved",
               "Force=Create the target's parent directories when they do not exist"});
}

void TBVMoveDirectoryAction::LogError(const std::string& line, const std::string& reason) {
  SendMessage(line, stError);
  SendMessage("Error reason: " + reason, stError);
}

bool TBVMoveDirectoryAction::CopyEntries(const std::string& source, const std::string& target,
                                         const std::vector<TreeEntry>& entries) {
  int total_files = 0;
  for (const TreeEntry& entry : entries)
    total_files += entry.type == platform::EntryType::kFile ? 1 : 0;
  std::string progress_text = "Copying " + source + " to " + target;
  for (const TreeEntry& entry : entries) {
    if (IsCancelled()) {
      SendMessage("Stopped on request; " + source + " was not moved", stError);
      return false;
    }
    std::string from = source + "/" + entry.relative_path;
    std::string to = target + "/" + entry.relative_path;
    if (entry.type == platform::EntryType::kDirectory) {
      if (platform::OsError error = platform::CreateDirectory(to)) {
        LogError("Error creating directory: " + to, error.message);
        return false;
      }
      continue;
    }
    if (platform::OsError error = platform::CopyFileWithProgress(from, to, /*fail_if_exists=*/true,
                                                                 IgnoreProgress, &cancel_)) {
      LogError("Error copying file: " + from + " -> " + to, error.message);
      return false;
    }
    ++files_copied_;
    SendProgress(progress_text, files_copied_ * 100 / total_files);
  }
  return true;
}

bool TBVMoveDirectoryAction::CopyAcross(const std::string& source, const std::string& target) {
  // Copying through a link and then emptying it would empty the directory it
  // points to.
  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(source);
  if (attributes.IsOk() && (attributes.Value() & platform::kFileAttributeReparsePoint) != 0) {
    SendMessage("Cannot move " + source + " to another file system: it is a symbolic link",
                stError);
    return false;
  }
  std::vector<TreeEntry> entries;
  platform::OsError walk_error = platform::WalkDirectory(
      source, [&](const std::string& relative_path, const platform::DirectoryEntry& entry) {
        entries.push_back({relative_path, entry.type});
        return true;
      });
  if (walk_error) {
    LogError("Error reading directory: " + walk_error.path, walk_error.message);
    return false;
  }
  // The platform layer copies files and directories only; finding anything
  // else now keeps the source whole.
  for (const TreeEntry& entry : entries) {
    if (entry.type == platform::EntryType::kFile || entry.type == platform::EntryType::kDirectory)
      continue;
    SendMessage("Cannot move " + source + " to another file system: " + source + "/" +
                    entry.relative_path + " is a symbolic link or special file",
                stError);
    return false;
  }
  if (platform::OsError error = platform::CreateDirectory(target)) {
    LogError("Error creating directory: " + target, error.message);
    return false;
  }
  if (!CopyEntries(source, target, entries)) {
    if (platform::OsError error = RemoveTree(target))
      LogError("Error removing the partial copy: " + error.path, error.message);
    return false;
  }
  if (platform::OsError error = RemoveTree(source)) {
    LogError(
        "Copied " + source + " to " + target + " but could not remove the source: " + error.path,
        error.message);
    return false;
  }
  return true;
}

bool TBVMoveDirectoryAction::MoveWhole(const std::string& source, const std::string& target) {
  platform::OsError error = platform::RenameFile(source, target, platform::IfTargetExists::kFail);
  if (!error) return true;
  if (error.code != EXDEV) {
    LogError("Error moving directory: " + source + " -> " + target, error.message);
    return false;
  }
  SendMessage("Copying " + source + " to another file system, then removing it", stInfo);
  return CopyAcross(source, target);
}

bool TBVMoveDirectoryAction::CheckMergeConflicts(const std::string& source,
                                                 const std::string& target) {
  int conflicts = 0;
  auto conflict = [&](const std::string& text) {
    SendMessage(text, stError);
    ++conflicts;
  };
  platform::OsError walk_error = platform::WalkDirectory(
      source, [&](const std::string& relative_path, const platform::DirectoryEntry& entry) {
        std::string to = target + "/" + relative_path;
        bool is_directory = entry.type == platform::EntryType::kDirectory;
        platform::OsResult<uint32_t> existing = platform::GetFileAttributes(to);
        // Nothing in the way: a directory moves whole, so its content needs no look.
        if (!existing.IsOk()) return false;
        if (is_directory) {
          if (IsDirectoryAttribute(existing.Value())) return true;
          conflict("Target exists and is not a directory: " + to);
          return false;
        }
        if (IsDirectoryAttribute(existing.Value()))
          conflict("Target is a directory: " + to);
        else if (!overwrite_files_)
          conflict("Target file already exists: " + to);
        else if ((existing.Value() & platform::kFileAttributeReadOnly) != 0)
          conflict("Target file is read only: " + to);
        return false;
      });
  if (walk_error) {
    LogError("Error reading directory: " + walk_error.path, walk_error.message);
    return false;
  }
  if (conflicts == 0) return true;
  SendMessage("Nothing was moved because entries are in the way in " + target, stError);
  return false;
}

bool TBVMoveDirectoryAction::MergeEntry(const std::string& source, const std::string& target,
                                        const platform::DirectoryEntry& entry) {
  std::string from = source + "/" + entry.name;
  std::string to = target + "/" + entry.name;
  if (entry.type == platform::EntryType::kDirectory) {
    platform::OsResult<uint32_t> existing = platform::GetFileAttributes(to);
    if (existing.IsOk() && IsDirectoryAttribute(existing.Value())) return MergeInto(from, to);
    return MoveWhole(from, to);
  }
  platform::OsError error =
      entry.type == platform::EntryType::kFile
          ? platform::MoveFileWithProgress(from, to, overwrite_files_, IgnoreProgress)
          : platform::RenameFile(from, to,
                                 overwrite_files_ ? platform::IfTargetExists::kReplace
                                                  : platform::IfTargetExists::kFail);
  if (!error) return true;
  LogError("Error moving file: " + from + " -> " + to, error.message);
  return false;
}

bool TBVMoveDirectoryAction::MergeInto(const std::string& source, const std::string& target) {
  platform::OsResult<std::vector<platform::DirectoryEntry>> entries =
      platform::ListDirectory(source);
  if (!entries.IsOk()) {
    LogError("Error reading directory: " + source, entries.Error().message);
    return false;
  }
  for (const platform::DirectoryEntry& entry : entries.Value()) {
    if (IsCancelled()) {
      SendMessage("Stopped on request; " + source + " was partly moved into " + target, stError);
      return false;
    }
    if (!MergeEntry(source, target, entry)) return false;
  }
  if (platform::OsError error = platform::RemoveDirectory(source)) {
    LogError("Error removing directory: " + source, error.message);
    return false;
  }
  return true;
}

bool TBVMoveDirectoryAction::Execute() {
  cancel_ = false;
  files_copied_ = 0;
  std::string source;
  std::string target;
  if (!TryExpandExpression("Source Directory", source_directory_, source, true)) return false;
  if (!TryExpandExpression("Target Directory", target_directory_, target, true)) return false;
  source = platform::WithoutTrailingSlashes(Trim(source));
  target = platform::WithoutTrailingSlashes(Trim(target));
  if (source.empty() || target.empty()) {
    SendMessage(source.empty() ? "The source directory has not been set"
                               : "The target directory has not been set",
                stError);
    return false;
  }
  SendMessage("Moving directory: " + source + " -> " + target, stInfo);
  if (RefuseRootPath(*this, "SourceDirectory", source_directory_, source) ||
      RefuseRootPath(*this, "TargetDirectory", target_directory_, target)) {
    return false;
  }
  if (!platform::DirectoryExists(source)) {
    SendMessage("Source directory does not exist: " + source, stError);
    return false;
  }
  if (IsSameOrInside(target, source) || platform::IsSameOrInsideDirectory(target, source)) {
    SendMessage("Cannot move a directory into itself: " + source + " -> " + target, stError);
    return false;
  }
  std::string parent = ExtractFilePath(target);
  if (force_ && !parent.empty()) {
    if (platform::OsError error = platform::CreateDirectories(parent)) {
      LogError("Error creating directory: " + error.path, error.message);
      return false;
    }
  }

  platform::OsResult<uint32_t> existing = platform::GetFileAttributes(target);
  bool merged = existing.IsOk();
  if (existing.IsOk()) {
    if (!IsDirectoryAttribute(existing.Value())) {
      SendMessage("Target exists and is not a directory: " + target, stError);
      return false;
    }
    if (!merge_into_existing_) {
      SendMessage("Target directory already exists: " + target, stError);
      return false;
    }
    if (!CheckMergeConflicts(source, target) || !MergeInto(source, target)) return false;
  } else if (!MoveWhole(source, target)) {
    return false;
  }
  std::string summary =
      (merged ? "Directory merged: " : "Directory moved: ") + source + " -> " + target;
  if (files_copied_ > 0)
    summary += " (" + std::to_string(files_copied_) + " files copied across file systems)";
  SendMessage(summary, stSuccess);
  return true;
}

}  // namespace brivant

#include "actions/files/delete_directory_action.h"

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "actions/files/root_guard.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/directory.h"
#include "platform/file_attributes.h"
#include "platform/file_identity.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/paths.h"

namespace brivant {
namespace {

constexpr uint32_t kTopRetryWaitMs = 1500;
// Shorter than the top directory's wait, on purpose: inside a tree every
// directory that needs a second try adds its wait.
constexpr uint32_t kInnerRetryWaitMs = 1000;
constexpr uint32_t kDelayMs = 100;

// An OS error raised out of the deletion. The text is the run-time's own
// OS-error form: "System Error.  Code: 39.\nDirectory not empty".
class EDeleteOsError : public std::runtime_error {
 public:
  explicit EDeleteOsError(const platform::OsError& error)
      : std::runtime_error("System Error.  Code: " + std::to_string(error.code) + ".\n" +
                           error.message) {}
};

[[noreturn]] void RaiseOsError(const platform::OsError& error) { throw EDeleteOsError(error); }

std::string JoinPath(const std::string& dir, const std::string& name) {
  return !dir.empty() && dir.back() == '/' ? dir + name : dir + "/" + name;
}

std::string ParentOf(const std::string& absolute_path) {
  size_t slash = absolute_path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : absolute_path.substr(0, slash);
}

bool IsSameOrInside(const std::string& path, const std::string& tree) {
  if (tree == "/") return true;
  return path.compare(0, tree.size(), tree) == 0 &&
         (path.size() == tree.size() || path[tree.size()] == '/');
}

// Where `absolute_path` is on disk: links in its parents resolved, a link in
// its last component kept (that link, not its target, is what gets deleted).
// Falls back to the lexical form when a parent cannot be resolved.
// TODO: move into platform/ once it offers a canonical-path function.
std::string PhysicalPath(const std::string& absolute_path) {
  namespace fs = std::filesystem;
  fs::path path(absolute_path);
  fs::path name = path.filename();
  std::error_code error;
  if (name.empty() || name == "." || name == "..") {
    fs::path resolved = fs::canonical(path, error);
    return error ? path.lexically_normal().string() : resolved.string();
  }
  fs::path parent = fs::canonical(path.parent_path(), error);
  return error ? path.lexically_normal().string() : (parent / name).string();
}

}  // namespace

const PropertyTable& TDeleteDirectoryAction::Properties() {
  using T = TDeleteDirectoryAction;
  static const PropertyTable table(
      &TFileOrDirectoryAction::Properties(),
      {
          Property("DeleteTree", &T::GetDeleteTree, &T::SetDeleteTree).Default("False"),
          Property("DeleteReadOnly", &T::GetDeleteReadOnly, &T::SetDeleteReadOnly).Default("False"),
          Property("DeleteHidden", &T::delete_hidden_).Default("False"),
          Property("LogDeletedFiles", &T::log_deleted_files_).Default("False"),
          Property("EnableDelay", &T::enable_delay_).Default("False"),
          Property("FailIfNoDirectory", &T::fail_if_no_directory_).Default("False"),
      });
  return table;
}

std::string TDeleteDirectoryAction::GetFormattedDescription() const {
  return (delete_tree_ ? "Delete Tree [ " : "Delete Directory [ ") + file_or_directory_ + " ]";
}

bool TDeleteDirectoryAction::Validate(IBVActionValidationError& errors) {
  if (!file_or_directory_.empty()) return true;
  errors.AddError("Directory", "The directory to delete has not been set", 0);
  return false;
}

void TDeleteDirectoryAction::GetHiddenProperties(TStrings& list) const {
  TFileOrDirectoryAction::GetHiddenProperties(list);
  list.push_back("Force");
}

void TDeleteDirectoryAction::GetPropertyAlias(TStrings& list) const {
  TFileOrDirectoryAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Delete Directory]", "FileOrDirectory=Directory", "DeleteTree=Delete Tree",
               "DeleteReadOnly=Delete read only directories",
               "DeleteHidden=Delete hidden directories", "LogDeletedFiles=Log Deleted Files"});
}

void TDeleteDirectoryAction::GetPropertyHelp(TStrings& list) const {
  // Replaces the common base's Force line rather than adding to it.
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileOrDirectory=The name of the directory to delete",
               "DeleteTree=Set this if the directory is not empty and all files and "
               "subdirectories will also be deleted",
               "DeleteReadOnly=Delete Read Only Files, only has any affect when Delete Tree is "
               "True",
               "DeleteHidden=Hidden directories will usually cause the action to fail, setting "
               "this will force hidden directories to be deleted",
               "LogDeletedFiles=Records the name of each file and subdirectory deleted"});
}

void TDeleteDirectoryAction::RemoveDirectoryWithRetry(const std::string& path,
                                                      uint32_t retry_wait_ms) {
  platform::OsError error = platform::RemoveDirectory(path);
  if (!error) return;
  SendMessage(error.message + " : Retrying..", stWarning);
  Sleep(retry_wait_ms);
  error = platform::RemoveDirectory(path);
  if (error) RaiseOsError(error);
}

void TDeleteDirectoryAction::DeleteTreeFile(const platform::OpenDirectory& directory,
                                            const std::string& name, const std::string& shown) {
  if (log_deleted_files_) SendMessage("Deleting " + shown + "...", stInfo);
  // Unlinked as it is: a hard link may share its mode with a file outside
  // the tree, which must come out unchanged.
  platform::OsError error = directory.DeleteFile(
      name, delete_read_only_ ? platform::ReadOnlyFile::kDelete : platform::ReadOnlyFile::kRefuse);
  if (error) RaiseOsError(error);
}

bool TDeleteDirectoryAction::DeleteSubdirectory(const std::string& path, const std::string& shown) {
  if (log_deleted_files_) SendMessage("Recursing directory " + shown + "/*.*...", stInfo);
  if (!DelTree(path, shown)) return false;
  if (log_deleted_files_) SendMessage("Removing directory " + shown, stInfo);
  if (enable_delay_) Sleep(kDelayMs);
  RemoveDirectoryWithRetry(path, kInnerRetryWaitMs);
  return true;
}

bool TDeleteDirectoryAction::DelTree(const std::string& path, const std::string& shown) {
  // Every entry, hidden and system ones included, in name order; files are
  // removed from the directory listed, whatever becomes of its path.
  platform::OsResult<platform::OpenDirectory> directory = platform::OpenDirectory::Open(path);
  if (!directory.IsOk()) RaiseOsError(directory.Error());
  platform::OsResult<std::vector<platform::DirectoryEntry>> entries = directory.Value().List();
  if (!entries.IsOk()) RaiseOsError(entries.Error());
  bool emptied = true;
  for (const platform::DirectoryEntry& entry : entries.Value()) {
    std::string child = JoinPath(path, entry.name);
    std::string shown_child = JoinPath(shown, entry.name);
    // A link, also one to a directory, is removed as a link: its target is
    // not part of the tree.
    if (entry.type != platform::EntryType::kDirectory) {
      DeleteTreeFile(directory.Value(), entry.name, shown_child);
    } else if (platform::IsMountPoint(child)) {
      // Another file system is not part of the tree, as a mounted folder
      // is a reparse point that a tree delete never enters.
      SendMessage("Leaving mount point " + shown_child + ": another file system is mounted there",
                  stWarning);
      if (blocking_mount_.empty()) blocking_mount_ = shown_child;
      emptied = false;
    } else {
      emptied = DeleteSubdirectory(child, shown_child) && emptied;
    }
  }
  return emptied;
}

void TDeleteDirectoryAction::ClearOwnAttributes(const std::string& path, uint32_t attributes) {
  if (!delete_read_only_ && !delete_hidden_) return;
  if (delete_read_only_) attributes &= ~platform::kFileAttributeReadOnly;
  if (delete_hidden_) attributes &= ~platform::kFileAttributeHidden;
  // A failure shows up as the removal's own error.
  (void)platform::SetFileAttributes(path, attributes);
}

void TDeleteDirectoryAction::LeaveDirectory(const std::string& physical_path) {
  platform::OsResult<std::string> cwd = platform::GetCurrentDirectory();
  if (!cwd.IsOk() || !IsSameOrInside(cwd.Value(), physical_path)) return;
  // Linux removes a working directory all the same; moving out only spares
  // the process a working directory that no longer exists.
  (void)platform::SetCurrentDirectory(ParentOf(physical_path));
}

void TDeleteDirectoryAction::DeleteDirectory(const std::string& dir) {
  std::string absolute = dir;
  if (dir.empty() || dir.front() != '/') {
    platform::OsResult<std::string> cwd = platform::GetCurrentDirectory();
    if (!cwd.IsOk()) RaiseOsError(cwd.Error());
    absolute = JoinPath(cwd.Value(), dir);
  }
  // Every call below uses this absolute path, so leaving the working
  // directory cannot change what a relative name refers to.
  std::string path = PhysicalPath(platform::WithoutTrailingSlashes(absolute));
  if (path == "/") throw std::runtime_error("refusing to delete the root directory");
  LeaveDirectory(path);

  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(path);
  bool is_link =
      attributes.IsOk() && (attributes.Value() & platform::kFileAttributeReparsePoint) != 0;
  // A link given as the directory is removed as a link, its target untouched.
  if (!is_link) {
    if (attributes.IsOk()) ClearOwnAttributes(path, attributes.Value());
    if (delete_tree_ && !DelTree(path, platform::WithoutTrailingSlashes(dir))) {
      throw std::runtime_error("the tree holds the mount point " + blocking_mount_ +
                               ", which is left in place");
    }
  }
  if (enable_delay_) Sleep(kDelayMs);
  RemoveDirectoryWithRetry(path, kTopRetryWaitMs);
}

bool TDeleteDirectoryAction::RefusedDirectory(const std::string& dir) {
  if (RefuseRootPath(*this, "FileOrDirectory", file_or_directory_, dir)) return true;
  std::string name = ExtractFileName(platform::WithoutTrailingSlashes(dir));
  std::string reason;
  if (name == "." || name == "..") {
    reason = "refusing to delete \".\" or \"..\"";
  } else {
    std::string project = Host() != nullptr ? Host()->GetProjectFileName() : std::string();
    if (!project.empty() && platform::IsSameOrInsideDirectory(project, dir))
      reason = "refusing to delete a directory that holds the project file " + project;
  }
  if (reason.empty()) return false;
  SendMessage(reason + ": " + dir, stError);
  return true;
}

bool TDeleteDirectoryAction::Execute() {
  blocking_mount_.clear();
  std::string dir = ExpandExpression(file_or_directory_, true);
  if (!platform::DirectoryExists(dir)) {
    SendMessage("Delete directory not necessary because directory does not exist: " + dir,
                stSuccess);
    return !fail_if_no_directory_;
  }
  if (RefusedDirectory(dir)) return false;
  try {
    DeleteDirectory(dir);
  } catch (const std::exception& e) {
    SendMessage("Error deleting file/folder: " + std::string(e.what()), stError);
    SendMessage("Unable to delete directory : " + dir, stError);
    return false;
  }
  SendMessage("Directory deleted: " + dir, stSuccess);
  return true;
}

}  // namespace brivant

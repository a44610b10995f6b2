#include "actions/files/delete_files_action.h"

#include <cerrno>
#include <vector>

#include "actions/files/root_guard.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/file_system.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

// Normal, read-only and hidden files; system files, volume labels and
// directories stay out (find_files.h: bits not in the mask exclude).
constexpr uint32_t kDeletableFiles = platform::kFileAttributeReadOnly |
                                     platform::kFileAttributeHidden |
                                     platform::kFileAttributeArchive;

}  // namespace

const PropertyTable& TCustomDeleteFilesAction::Properties() {
  using T = TCustomDeleteFilesAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileSpec", &T::file_spec_),
          Property("DeleteReadOnly", &T::delete_read_only_).Default("False"),
          Property("DeleteHidden", &T::delete_hidden_).Default("False"),
          Property("FailIfNoFile", &T::fail_if_no_file_).Default("True"),
          Property("LogFilesDeleted", &T::log_files_deleted_).NotStored().Default("False"),
          ReadOnlyProperty("FilesAffected", &T::GetFilesAffected)
              .Default("0"),
      });
  return table;
}

const PropertyTable& TDeleteFilesAction::Properties() {
  static const PropertyTable table(&TCustomDeleteFilesAction::Properties(), {});
  return table;
}

std::string TCustomDeleteFilesAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_spec_ + " ]";
}

bool TCustomDeleteFilesAction::Validate(IBVActionValidationError& errors) {
  if (!file_spec_.empty()) return true;
  errors.AddError("File Spec", "The file spec has not been set", 0);
  return false;
}

void TCustomDeleteFilesAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Delete Files]", "FileSpec=File specification",
               "DeleteReadOnly=Delete read only files", "DeleteHidden=Delete hidden files",
               "FailIfNoFile=Fail if no file", "LogFilesDeleted=Log deleted files"});
}

void TCustomDeleteFilesAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileSpec=Either specify the name/path of a file, or use a file specification "
               "that includes wild cards (* or ?)",
               "DeleteReadOnly=Force deletion of files marked as Read Only",
               "DeleteHidden=Force deletion of files marked as Hidden",
               "FailIfNoFile=Force the action to fail if no files are deleted",
               "LogFilesDeleted=Log each file that is actually deleted"});
}

bool TCustomDeleteFilesAction::DeleteOne(const std::string& path, int32_t* count) {
  // Unlinking needs no permission on the file itself, so nothing about it is
  // changed first: a hard link may share its mode with a file elsewhere.
  if (platform::OsError error =
          platform::DeleteFile(path, delete_read_only_ ? platform::ReadOnlyFile::kDelete
                                                       : platform::ReadOnlyFile::kRefuse)) {
    SendMessage("Error deleting file : " + path, stError);
    SendMessage("Error Reason: " + error.message, stError);
    return false;
  }
  // Another process may have put a file of the same name back at once.
  if (platform::GetFileAttributes(path).IsOk()) {
    SendMessage("Error deleting file: " + path, stError);
    SendMessage("Error reason: " + platform::OsError::FromCode(EEXIST, path).message, stError);
    return false;
  }
  ++*count;
  if (log_files_deleted_) SendMessage("Deleted file: " + path, stInfo);
  return true;
}

bool TCustomDeleteFilesAction::DeleteMatches(const std::string& file_spec, int32_t* count) {
  platform::OsResult<std::vector<platform::FoundEntry>> entries =
      platform::FindFiles(file_spec, kDeletableFiles);
  if (!entries.IsOk()) {
    SendMessage("cannot search for files: " + entries.Error().Describe(), stError);
    return false;
  }
  std::string dir = ExtractFilePath(file_spec);
  for (const platform::FoundEntry& entry : entries.Value()) {
    if (!DeleteOne(dir + entry.name, count)) return false;
  }
  return true;
}

bool TCustomDeleteFilesAction::Execute() {
  files_affected_ = 0;
  std::string file_spec = Trim(ExpandExpression(file_spec_, true));
  if (file_spec.empty()) return !fail_if_no_file_;
  if (RefuseRootPath(*this, "FileSpec", file_spec_, file_spec)) return false;
  SendMessage("Deleting files matching filespec: " + file_spec, stInfo);

  int32_t count = 0;
  bool result = DeleteMatches(file_spec, &count);
  files_affected_ = count;
  if (count == 0 && fail_if_no_file_) {
    SendMessage("Failing because 0 files deleted.", stError);
    return false;
  }
  if (result)
    SendMessage(count == 1 ? "1 file deleted." : std::to_string(count) + " files deleted.",
                stSuccess);
  return result;
}

}  // namespace brivant

#include "actions/files/rename_dir_action.h"

#include <cerrno>

#include "actions/files/root_guard.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/file_system.h"
#include "platform/paths.h"

namespace brivant {

const PropertyTable& TRenameDirAction::Properties() {
  using T = TRenameDirAction;
  static const PropertyTable table(&TBVAction::Properties(), {
                                                                 Property("OldName", &T::old_name_),
                                                                 Property("NewName", &T::new_name_),
                                                             });
  return table;
}

std::string TRenameDirAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + old_name_ + " -> " + new_name_ + " ]";
}

bool TRenameDirAction::Validate(IBVActionValidationError& errors) {
  if (old_name_.empty())
    errors.AddError("Old Name", "The file or directory to rename has not been set", 0);
  if (new_name_.empty()) errors.AddError("New Name", "The new name has not been set", 0);
  return !old_name_.empty() && !new_name_.empty();
}

void TRenameDirAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Rename File or Directory]", "OldName=Old Name", "NewName=New Name"});
}

void TRenameDirAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"OldName=The file or directory to rename",
               "NewName=The new name: a bare name renames the entry where it is, a path moves it "
               "there. The action fails if something of that name exists already"});
}

bool TRenameDirAction::Execute() {
  std::string old_path;
  std::string new_name;
  if (!TryExpandExpression("Old Name", old_name_, old_path, true)) return false;
  if (!TryExpandExpression("New Name", new_name_, new_name, true)) return false;
  old_path = platform::WithoutTrailingSlashes(Trim(old_path));
  new_name = platform::WithoutTrailingSlashes(Trim(new_name));
  if (old_path.empty() || new_name.empty()) {
    SendMessage(old_path.empty() ? "The file or directory to rename has not been set"
                                 : "The new name has not been set",
                stError);
    return false;
  }
  if (new_name == "." || new_name == "..") {
    SendMessage("Invalid new name \"" + new_name + "\" for " + old_path, stError);
    return false;
  }
  // A bare name stays beside the old one.
  std::string new_path =
      new_name.find('/') == std::string::npos ? ExtractFilePath(old_path) + new_name : new_name;
  if (RefuseRootPath(*this, "OldName", old_name_, old_path) ||
      RefuseRootPath(*this, "NewName", new_name_, new_path)) {
    return false;
  }

  // Not following a final link: a link is renamed as a link.
  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(old_path);
  if (!attributes.IsOk()) {
    int code = attributes.Error().code;
    if (code == ENOENT || code == ENOTDIR) {
      SendMessage("File or directory not found: " + old_path, stError);
      return false;
    }
    SendMessage("Error renaming " + old_path + " to " + new_path, stError);
    SendMessage("Error reason: " + attributes.Error().message, stError);
    return false;
  }
  bool is_directory = (attributes.Value() & platform::kFileAttributeDirectory) != 0 &&
                      (attributes.Value() & platform::kFileAttributeReparsePoint) == 0;
  const char* what = is_directory ? "directory" : "file";
  if (new_path == old_path) {
    SendMessage("Nothing to rename: " + old_path + " already has that name", stWarning);
    return true;
  }
  SendMessage("Renaming " + std::string(what) + " " + old_path + " to " + new_path, stInfo);
  if (platform::OsError error =
          platform::RenameFile(old_path, new_path, platform::IfTargetExists::kFail)) {
    if (error.code == EEXIST) {
      SendMessage("Cannot rename " + old_path + " to " + new_path + ": the target already exists",
                  stError);
      return false;
    }
    SendMessage("Error renaming " + old_path + " to " + new_path, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  SendMessage("Renamed " + std::string(what) + " " + old_path + " to " + new_path, stSuccess);
  return true;
}

}  // namespace brivant

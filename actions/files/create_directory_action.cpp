#include "actions/files/create_directory_action.h"

#include <exception>

#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace brivant {

const PropertyTable& TCreateDirectoryAction::Properties() {
  static const PropertyTable table(&TFileOrDirectoryAction::Properties(), {});
  return table;
}

std::string TCreateDirectoryAction::GetFormattedDescription() const {
  return "Create Directory [ " + file_or_directory_ + " ]";
}

bool TCreateDirectoryAction::Validate(IBVActionValidationError& errors) {
  if (!file_or_directory_.empty()) return true;
  errors.AddError("Directory", "The name of the directory to create has not been set", 0);
  return false;
}

void TCreateDirectoryAction::GetPropertyAlias(TStrings& list) const {
  TFileOrDirectoryAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Create Directory]", "FileOrDirectory=Directory", "Force=Force Directories"});
}

void TCreateDirectoryAction::GetPropertyHelp(TStrings& list) const {
  // Replaces the common base's Force line rather than adding to it.
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(), {"FileOrDirectory=The name of the new directory to create.",
                           "Force=Force directories will create the directory and all parent "
                           "directories that do not already exist."});
}

bool TCreateDirectoryAction::CreateDirectoryOf(const std::string& dir) {
  if (platform::DirectoryExists(dir)) {
    SendMessage("Directory already exists: " + dir, stSuccess);
    return true;
  }
  platform::OsError error =
      force_ ? platform::CreateDirectories(dir) : platform::CreateDirectory(dir);
  if (error) {
    SendMessage("Unable to create directory: " + dir, stError);
    return false;
  }
  SendMessage("Created directory: " + dir, stSuccess);
  return true;
}

bool TCreateDirectoryAction::Execute() {
  // Only the emptiness test trims: the directory is created as typed.
  std::string dir = ExpandExpression(file_or_directory_, true);
  if (TrimView(dir).empty()) return true;
  try {
    return CreateDirectoryOf(dir);
  } catch (const std::exception& e) {
    SendMessage("Error creating directory: " + dir, stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

}  // namespace brivant

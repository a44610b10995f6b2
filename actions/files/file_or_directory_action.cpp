#include "actions/files/file_or_directory_action.h"

#include "package/property_table.h"

namespace brivant {

const PropertyTable& TFileOrDirectoryAction::Properties() {
  using T = TFileOrDirectoryAction;
  static const PropertyTable table(&TBVAction::Properties(),
                                   {
                                       Property("FileOrDirectory", &T::file_or_directory_),
                                       Property("Force", &T::force_).Default("False"),
                                   });
  return table;
}

std::string TFileOrDirectoryAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_or_directory_ + " ]";
}

void TFileOrDirectoryAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.push_back(
      "Force=Use Force Directories to create a directory and all parent directories that do not "
      "already exist.");
}

}  // namespace brivant

#include "actions/files/copy_files_action.h"

#include "package/property_table.h"

namespace brivant {

const PropertyTable& TCopyFilesAction::Properties() {
  static const PropertyTable table(&TCustomCopyFilesAction::Properties(), {});
  return table;
}

platform::OsError TCopyFilesAction::DoCopyMove(const std::string& source,
                                               const std::string& target) {
  return platform::CopyFileWithProgress(source, target, GetFailIfExists(), ProgressRoutine(),
                                        CancelFlag());
}

std::optional<platform::OsError> TCopyFilesAction::DoCopyMoveToNewTarget(
    const std::string& source, const std::string& target) {
  return platform::CopyFileWithProgress(source, target, /*fail_if_exists=*/true, ProgressRoutine(),
                                        CancelFlag());
}

}  // namespace brivant

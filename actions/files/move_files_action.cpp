#include "actions/files/move_files_action.h"

#include "package/property_table.h"

namespace brivant {

const PropertyTable& TMoveFilesAction::Properties() {
  static const PropertyTable table(&TCustomCopyFilesAction::Properties(), {}, {"Recurse"});
  return table;
}

platform::OsError TMoveFilesAction::DoCopyMove(const std::string& source,
                                               const std::string& target) {
  // Exact comparison: a move that only changes the case of a name is a move.
  if (source == target) {
    SendMessage("Skipping same file " + source, stInfo);
    return {};
  }
  return platform::MoveFileWithProgress(
      source, target,
      /*replace_existing=*/GetOverwrite() || GetOverwriteReadOnly(), ProgressRoutine());
}

}  // namespace brivant

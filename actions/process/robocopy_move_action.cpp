#include "actions/process/robocopy_move_action.h"

namespace brivant {

const PropertyTable& TBVRobocopyMoveAction::Properties() {
  using T = TBVRobocopyMoveAction;
  static const PropertyTable table(
      &TBVRobocopyMainAction::Properties(),
      {Property("PreserveSourceDirTree", &T::preserve_source_dir_tree_).Default("False")});
  return table;
}

void TBVRobocopyMoveAction::GetPropertyAlias(TStrings& list) const {
  TBVRobocopyMainAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Robocopy Move]", "PreserveSourceDirTree=Preserve Source Directory Tree"});
}

bool TBVRobocopyMoveAction::GetCommandLine(ICommandLineBuilder& builder) {
  if (!TBVRobocopyMainAction::GetCommandLine(builder)) return false;
  // "/MOV" moves files only and leaves the source directories.
  builder.AddArgument(preserve_source_dir_tree_ ? "/MOV" : "/MOVE", "", akSwitch);
  return true;
}

}  // namespace brivant

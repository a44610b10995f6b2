// "Robocopy Move": moves a directory tree with the tool, optionally leaving
// the source directories in place.
#pragma once

#include <string>
#include <string_view>

#include "actions/process/robocopy_main_action.h"

namespace brivant {

class TBVRobocopyMoveAction : public TBVRobocopyMainAction {
 public:
  static constexpr std::string_view kClassName = "TBVRobocopyMoveAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Robocopy Move"; }
  std::string GetVerb() const override { return "Move"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RobocopyMove.html"; }
  void GetPropertyAlias(TStrings& list) const override;
  bool GetCommandLine(ICommandLineBuilder& builder) override;

 private:
  bool preserve_source_dir_tree_ = false;
};

}  // namespace brivant

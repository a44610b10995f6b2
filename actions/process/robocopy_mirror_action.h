// "Robocopy Mirror": makes the destination tree an exact copy of the source,
// deleting what the source does not have.
#pragma once

#include <string>
#include <string_view>

#include "actions/process/robocopy_main_action.h"

namespace brivant {

class TBVRobocopyMirrorAction : public TBVRobocopyMainAction {
 public:
  static constexpr std::string_view kClassName = "TBVRobocopyMirrorAction";
  static const PropertyTable& Properties() { return TBVRobocopyMainAction::Properties(); }
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Robocopy Mirror"; }
  std::string GetVerb() const override { return "Mirror"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RobocopyMirror.html"; }
  bool GetCommandLine(ICommandLineBuilder& builder) override {
    if (!TBVRobocopyMainAction::GetCommandLine(builder)) return false;
    builder.AddArgument("/MIR", "", akSwitch);
    return true;
  }
};

}  // namespace brivant

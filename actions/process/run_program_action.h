// "Execute Program": runs a named executable with parameters through the
// host's process runner and judges its return code.
#pragma once

#include <string>

#include "actions/process/custom_run_program_action.h"

namespace brivant {

class TRunProgramAction : public TCustomRunProgramAction {
 public:
  static constexpr std::string_view kClassName = "TRunProgramAction";
  static const PropertyTable& Properties() { return ProgramProperties(); }
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Execute Program"; }
  std::string GetActionKeywords() const override { return "Run Launch Application Executable"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RunProgram.html"; }
  int GetHelpTopicID() const override { return 511; }
  bool GetShowCommandLine() const override { return true; }
};

}  // namespace brivant

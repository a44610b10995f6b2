// "Run Robocopy Job": runs the tool with saved job files ("/JOB:") after the
// shared source, destination and output arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "actions/process/robocopy_action.h"

namespace brivant {

class TBVRobocopyJobAction : public TBVRobocopyAction {
 public:
  static constexpr std::string_view kClassName = "TBVRobocopyJobAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Run Robocopy Job"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RobocopyJob.html"; }
  void GetPropertyAlias(TStrings& list) const override;
  // Fails, with an error line, when no job file is listed.
  bool GetCommandLine(ICommandLineBuilder& builder) override;

 private:
  std::vector<std::string> job_files_;
};

}  // namespace brivant

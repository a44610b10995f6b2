// TBVRobocopyAction: the base of the Robocopy actions (copy, move, mirror,
// job). It names the tool from the package's Robocopy options, builds the
// arguments every run shares (source, destination, retries, extra lines,
// output switches, log file) and turns the tool's exit code into a verdict.
// Subclasses add their arguments after these, each calling its parent's
// GetCommandLine first. Never registered itself.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "package/execute_abstract_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVRobocopyAction : public TBVExecuteAbstractAction {
 public:
  TBVRobocopyAction();
  static const PropertyTable& Properties();

  std::string GetActionName() const override { return "Robocopy"; }
  int GetHelpTopicID() const override { return 3250; }
  std::string GetFormattedDescription() const override;
  // Checks the tool's location (the one check that looks at the file system)
  // and that source and destination are set.
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;

  // False when an expansion failed; the host has said why.
  bool GetCommandLine(ICommandLineBuilder& builder) override;
  // The options' tool path as stored (not expanded).
  std::string GetExecutable() override;
  bool BeforeExecute(ICommandLineBuilder& builder) override;
  void AfterGetCommandLine() override;
  // Logs the verdict line of the exact code; success below 4.
  bool InterpretResult(int exit_code) override;
  // The verdict is the whole report.
  void OnFailure(int /*exit_code*/) override {}
  // The command line is logged by this class, with its own wording.
  bool GetShowCommandLine() const override { return false; }

  // The word of the description: "Copy", "Move", "Mirror".
  virtual std::string GetVerb() const { return "Copy"; }

  const std::string& GetSourceDir() const { return source_dir_; }
  const std::string& GetDestDir() const { return dest_dir_; }

 private:
  // The options as the attached host's store holds them.
  std::string GetRobocopyPath() const;

  std::string source_dir_;
  std::string dest_dir_;
  int32_t retries_ = 10;
  int32_t retry_wait_sec_ = 30;
  std::vector<std::string> extra_cmd_line_;
  bool report_extra_files_ = false;
  bool verbose_output_ = false;
  bool display_file_timestamps_ = false;
  bool display_full_pathnames_ = false;
  bool suppress_file_classes_ = false;
  bool suppress_file_dir_sizes_ = false;
  bool disable_logging_dir_names_ = false;
  bool disable_logging_file_names_ = false;
  bool disable_logging_job_header_ = false;
  bool disable_logging_job_summary_ = false;
  std::string log_file_;
  bool append_to_log_file_ = false;
  // The builder of the current run, from BeforeExecute until the command
  // line is complete; not owned.
  ICommandLineBuilder* running_builder_ = nullptr;
};

// Whether `c` separates path components in a tool's argument: '/', or '\' as
// projects written for Windows use it.
bool IsPathSeparator(char c);

// `path` without one trailing separator.
std::string WithoutTrailingSeparator(std::string path);

}  // namespace brivant

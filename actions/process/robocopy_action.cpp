#include "actions/process/robocopy_action.h"

#include <array>
#include <utility>

#include "actions/process/robocopy_options.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

constexpr const char* kOptionsTitle = "Robocopy Options";

// The tool's exit codes that get a verdict line; any other code gets none.
struct Verdict {
  int exit_code;
  const char* text;
  TStatusTag tag;
};
constexpr std::array<Verdict, 6> kVerdicts = {{
    {0, "Done - No changes", stSuccess},
    {1, "Done - Copy successful", stSuccess},
    {2, "Done - Extra files", stSuccess},
    {4, "Done - Mismatches", stError},
    {8, "Done - Failed Copies", stError},
    {16, "Done - Fatal Error", stError},
}};

// Codes from 4 up report mismatches or failures.
constexpr int kFirstFailureCode = 4;

bool HasBlank(const std::string& text) { return text.find(' ') != std::string::npos; }

}  // namespace

bool IsPathSeparator(char c) { return c == '/' || c == '\\'; }

std::string WithoutTrailingSeparator(std::string path) {
  if (!path.empty() && IsPathSeparator(path.back())) path.pop_back();
  return path;
}

TBVRobocopyAction::TBVRobocopyAction() {
  SetCaptureOutput(true);
  SetLiveCapture(true);
  SetRedirectStdErr(true);
}

const PropertyTable& TBVRobocopyAction::Properties() {
  using T = TBVRobocopyAction;
  using E = TBVExecuteAbstractAction;
  static const PropertyTable table(
      &E::Properties(),
      {
          Property("SourceDir", &T::source_dir_),
          Property("DestDir", &T::dest_dir_),
          Property("Retries", &T::retries_).Default("10"),
          Property("RetryWaitSec", &T::retry_wait_sec_).Default("30"),
          Property("ExtraCmdLine", &T::extra_cmd_line_),
          Property("HideWindow", &E::GetHideWindow, &E::SetHideWindow).Default("False"),
          Property("ReportExtraFiles", &T::report_extra_files_).Default("False"),
          Property("VerboseOutput", &T::verbose_output_).Default("False"),
          Property("DisplayFileTimestamps", &T::display_file_timestamps_).Default("False"),
          Property("DisplayFullPathnames", &T::display_full_pathnames_).Default("False"),
          Property("SuppressFileClasses", &T::suppress_file_classes_).Default("False"),
          Property("SuppressFileDirSizes", &T::suppress_file_dir_sizes_).Default("False"),
          Property("DisableLoggingDirNames", &T::disable_logging_dir_names_).Default("False"),
          Property("DisableLoggingFileNames", &T::disable_logging_file_names_).Default("False"),
          Property("DisableLoggingJobHeader", &T::disable_logging_job_header_).Default("False"),
          Property("DisableLoggingJobSummary", &T::disable_logging_job_summary_).Default("False"),
          Property("LogFile", &T::log_file_),
          Property("AppendToLogFile", &T::append_to_log_file_).Default("False"),
      });
  return table;
}

std::string TBVRobocopyAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + GetVerb() + " " + source_dir_ + " to " + dest_dir_ + " ]";
}

std::string TBVRobocopyAction::GetRobocopyPath() const {
  IBVOptionsStore* store = Host() != nullptr ? Host()->GetOptionsStore() : nullptr;
  return RobocopyOptions(store)->GetRobocopyPath();
}

bool TBVRobocopyAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  auto report = [&](const char* title, const char* message) {
    errors.AddError(title, message, 0);
    valid = false;
  };
  std::string robocopy_path = GetRobocopyPath();
  if (robocopy_path.empty())
    report(kOptionsTitle, "The Robocopy.exe file path has not been specified");
  if (!platform::FileExists(robocopy_path))
    report(kOptionsTitle, "The Robocopy.exe file can not be found");
  if (source_dir_.empty()) report("Source Directory", "The source directory must be specified");
  if (dest_dir_.empty())
    report("Destination Directory", "The destination directory must be specified");
  return valid;
}

void TBVRobocopyAction::GetPropertyAlias(TStrings& list) const {
  TBVExecuteAbstractAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Robocopy]", "SourceDir=Source Directory", "DestDir=Destination Directory",
               "Retries=Retries", "RetryWaitSec=Wait Between Retries (sec)",
               "ExtraCmdLine=Extra Command Line", "HideWindow=Hide Window", "LogFile=Log File",
               "AppendToLogFile=Append To Log File"});
}

bool TBVRobocopyAction::GetCommandLine(ICommandLineBuilder& builder) {
  builder.SetOptions(0);
  std::string source;
  if (!TryExpandExpression("Source Dir", source_dir_, source, true)) return false;
  // A quoted path must not end in a separator, or the closing quote is read
  // as escaped.
  if (HasBlank(source)) source = WithoutTrailingSeparator(source);
  builder.AddArgument("", source, akPath);
  std::string dest;
  if (!TryExpandExpression("Destination Dir", dest_dir_, dest, true)) return false;
  if (HasBlank(dest)) dest = WithoutTrailingSeparator(dest);
  builder.AddArgument("", dest, akPath);

  builder.AddArgument("/NP", "", akSwitch);
  builder.AddArgument("/R:", std::to_string(retries_), akVerbatim);
  builder.AddArgument("/W:", std::to_string(retry_wait_sec_), akVerbatim);
  for (size_t i = 0; i < extra_cmd_line_.size(); ++i) {
    std::string line;
    if (!TryExpandExpression("Extra Command Line line " + std::to_string(i), extra_cmd_line_[i],
                             line, false))
      return false;
    if (!line.empty()) builder.AddArgument(line, "", akSwitch);
  }

  const std::pair<bool, const char*> output_switches[] = {
      {suppress_file_dir_sizes_, "/NS"},      {disable_logging_job_header_, "/NJH"},
      {disable_logging_file_names_, "/NFL"},  {disable_logging_dir_names_, "/NDL"},
      {disable_logging_job_summary_, "/NJS"}, {display_file_timestamps_, "/TS"},
      {suppress_file_classes_, "/NC"},        {verbose_output_, "/V"},
      {display_full_pathnames_, "/FP"},       {report_extra_files_, "/X"},
  };
  for (const auto& [on, name] : output_switches) {
    if (on) builder.AddArgument(name, "", akSwitch);
  }

  std::string log_file;
  if (!TryExpandExpression("Log file", log_file_, log_file, false)) return false;
  if (!log_file.empty()) {
    builder.AddArgument(append_to_log_file_ ? "/LOG+:" : "/LOG:", log_file, akPath);
    builder.AddArgument("/TEE", "", akSwitch);
  }
  return true;
}

std::string TBVRobocopyAction::GetExecutable() { return GetRobocopyPath(); }

bool TBVRobocopyAction::BeforeExecute(ICommandLineBuilder& builder) {
  if (!TBVExecuteAbstractAction::BeforeExecute(builder)) return false;
  running_builder_ = &builder;
  return true;
}

// The runner fills the builder only after BeforeExecute, so the command line
// is logged once it is complete.
void TBVRobocopyAction::AfterGetCommandLine() {
  TBVExecuteAbstractAction::AfterGetCommandLine();
  if (running_builder_ == nullptr) return;
  SendMessage("Calling Robocopy with command line: " + running_builder_->GetParametersStr(),
              stInfo);
  running_builder_ = nullptr;
}

bool TBVRobocopyAction::InterpretResult(int exit_code) {
  running_builder_ = nullptr;
  for (const Verdict& verdict : kVerdicts) {
    if (verdict.exit_code == exit_code) SendMessage(verdict.text, verdict.tag);
  }
  return exit_code < kFirstFailureCode;
}

}  // namespace brivant

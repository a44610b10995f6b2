#include "actions/process/custom_run_program_action.h"

#include <exception>

#include "package/string_utils.h"

namespace brivant {
namespace {

constexpr const char kCaptureWithoutWaitWarning[] =
    "WARNING: To Capture Output you must enable Wait For Completion. No output will be captured.";

// A value that begins and ends with a quote mark loses both; a lone quote
// mark counts as both and leaves nothing.
std::string WithoutEnclosingQuotes(const std::string& text) {
  if (text.empty() || text.front() != '"' || text.back() != '"') return text;
  if (text.size() == 1) return {};
  return text.substr(1, text.size() - 2);
}

}  // namespace

const EnumInfo& EnumTraits<TBVRunReturnCodeComparator>::Info() {
  static const EnumInfo info{"TBVRunReturnCodeComparator",
                             {"rcLessThan", "rcLessThanEqualTo", "rcEqualTo", "rcNotEqual",
                              "rcGreaterThanEqualTo", "rcGreaterThan"}};
  return info;
}

bool CompareReturnCode(int32_t exit_code, TBVRunReturnCodeComparator comparator,
                       int32_t value_to_check) {
  switch (comparator) {
    case rcLessThan:
      return exit_code < value_to_check;
    case rcLessThanEqualTo:
      return exit_code <= value_to_check;
    case rcEqualTo:
      return exit_code == value_to_check;
    case rcNotEqual:
      return exit_code != value_to_check;
    case rcGreaterThanEqualTo:
      return exit_code >= value_to_check;
    case rcGreaterThan:
      return exit_code > value_to_check;
  }
  return false;
}

TCustomRunProgramAction::TCustomRunProgramAction() {
  SetCaptureOutput(true);
  SetWaitForCompletion(true);
  SetTimeoutLength(0);
  SetEnableTimeout(false);
  SetRedirectStdErr(true);
}

const PropertyTable& TCustomRunProgramAction::ProgramProperties() {
  using T = TCustomRunProgramAction;
  using E = TBVExecuteAbstractAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("ProgramName", &T::GetProgramName, &T::SetProgramName),
          Property("Params", &T::GetParams, &T::SetParams),
          Property("StartInDir", &T::GetStartInDir, &T::SetStartInDir),
          // Legacy name of CaptureOutput: the same flag.
          Property("LogOutput", &E::GetCaptureOutput, &E::SetCaptureOutput).Default("True"),
          Property("WaitForCompletion", &E::GetWaitForCompletion, &E::SetWaitForCompletion)
              .Default("True"),
          Property("HideWindow", &E::GetHideWindow, &E::SetHideWindow).Default("False"),
          Property("SuccessRC", &T::GetSuccessRC, &T::SetSuccessRC).Default("0").NotStored(),
          ReadOnlyProperty("ReturnCode", &T::GetReturnCode),
          Property("RedirectStdErr", &E::GetRedirectStdErr, &E::SetRedirectStdErr).Default("True"),
          Property("EnableLiveCapture", &T::GetEnableLiveCapture, &T::SetEnableLiveCapture)
              .Default("True"),
          Property("CaptureOutput", &E::GetCaptureOutput, &E::SetCaptureOutput).Default("True"),
          Property("InputFile", &E::GetInputFile, &E::SetInputFile),
          Property("EnableReturnCodeCheck", &T::GetEnableReturnCodeCheck,
                   &T::SetEnableReturnCodeCheck)
              .Default("True"),
          Property("ReturnCodeToCheck", &T::GetReturnCodeToCheck, &T::SetReturnCodeToCheck)
              .Default("0"),
          Property("ReturnCodeComparator", &T::GetReturnCodeComparator, &T::SetReturnCodeComparator)
              .Default("rcEqualTo"),
          ReadOnlyProperty("ProcessID", &E::GetProcessID),
      });
  return table;
}

void TCustomRunProgramAction::SetSuccessRC(int32_t value) {
  return_code_to_check_ = value;
  comparator_ = rcLessThanEqualTo;
  enable_return_code_check_ = true;
}

std::string TCustomRunProgramAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + DescribedProperty() + " ]";
}

bool TCustomRunProgramAction::Validate(IBVActionValidationError& errors) {
  if (!program_name_.empty()) return true;
  errors.AddError("Program", "The program to execute has not been set", 0);
  return false;
}

void TCustomRunProgramAction::GetHiddenProperties(TStrings& list) const {
  TBVExecuteAbstractAction::GetHiddenProperties(list);
  list.insert(list.end(), {"ReturnCode", "CaptureOutput", "SuccessRC"});
}

void TCustomRunProgramAction::GetPropertyAlias(TStrings& list) const {
  TBVExecuteAbstractAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Program]", "ProgramName=Program File", "Params=Parameters",
               "StartInDir=Start In Directory", "WaitForCompletion=Wait For Completion",
               "LogOutput=Log Output", "EnableLiveCapture=Live Output Capture",
               "HideWindow=Hide Window", "[Return Code]", "EnableReturnCodeCheck=Check Return Code",
               "ReturnCodeToCheck=Value", "ReturnCodeComparator=Comparator"});
}

void TCustomRunProgramAction::GetPropertyHelp(TStrings& list) const {
  TBVExecuteAbstractAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"ProgramName=Fully qualified path to the Program File",
       "Params=Command line Parameters to pass to the program", "StartInDir=Start In Directory",
       "LogOutput=Capture Output and send to action log. (Wait For Completion must be enabled "
       "for this option to work.)",
       "HideWindow=Hide program's Window while running",
       "WaitForCompletion=Wait For program to terminate before continuing build.",
       "EnableReturnCodeCheck=Enable this option to check the return code from the program "
       "(Wait For Completion must be enabled.)",
       "EnableLiveCapture=Enable this option to capture output \"Live\" from the program. (Both "
       "Wait For Completion and Capture Output must be enabled for this option to work.)"});
}

bool TCustomRunProgramAction::BeforeExecute(ICommandLineBuilder& builder) {
  if (!TBVExecuteAbstractAction::BeforeExecute(builder)) return false;
  SetLiveCapture(enable_live_capture_);
  return true;
}

std::string TCustomRunProgramAction::GetExecutable() {
  std::string expanded;
  if (!TryExpandExpression("Program Name", program_name_, expanded, true)) return {};
  return WithoutEnclosingQuotes(Trim(expanded));
}

std::string TCustomRunProgramAction::GetCommandLineParams() {
  return Trim(ExpandExpression(params_, true));
}

void TCustomRunProgramAction::AddParameters(ICommandLineBuilder& builder,
                                            const std::string& params) {
  // One preformatted text: the program receives the words it splits into.
  builder.AddArgument(params, "", akVerbatim);
}

bool TCustomRunProgramAction::GetCommandLine(ICommandLineBuilder& builder) {
  if (!GetWaitForCompletion() && GetCaptureOutput())
    SendMessage(kCaptureWithoutWaitWarning, stWarning);
  return_code_ = kNotRunReturnCode;
  std::string params;
  try {
    params = GetCommandLineParams();
    // Expanded only to find a bad expression before the program starts.
    Trim(ExpandExpression(start_in_dir_, true));
  } catch (const std::exception& e) {
    // The name is empty in the message, as it always has been.
    SendMessage("Unable to Execute Program  : ", stError);
    SendMessage(std::string("--> ") + e.what(), stError);
    return false;
  }
  AddParameters(builder, params);
  return true;
}

std::string TCustomRunProgramAction::GetStartingDir() {
  std::string expanded;
  if (!TryExpandExpression("Start In Directory", start_in_dir_, expanded, false)) return {};
  return expanded;
}

bool TCustomRunProgramAction::HasContextFailed() { return WasEndedByRunner() || IsStopSignalled(); }

bool TCustomRunProgramAction::InterpretResult(int exit_code) {
  return_code_ = exit_code;
  if (!GetWaitForCompletion()) {
    bool started = exit_code == kStillActive;
    if (started) {
      SendMessage("Program started.", stInfo);
    } else {
      SendMessage("Program execution failed with error code " + std::to_string(exit_code), stError);
    }
    return started;
  }
  bool success = enable_return_code_check_
                     ? CompareReturnCode(exit_code, comparator_, return_code_to_check_)
                     : !HasContextFailed();
  if (success && GetCaptureOutput() && enable_return_code_check_) return true;
  TStatusTag tag = !success ? stError : (enable_return_code_check_ ? stSuccess : stInfo);
  SendMessage("Program returned code  : " + std::to_string(exit_code), tag);
  if (exit_code == kTerminatedExitCode && !(GetEnableTimeout() && GetTimedOut()))
    SendMessage("Terminated by user", stError);
  return success;
}

}  // namespace brivant

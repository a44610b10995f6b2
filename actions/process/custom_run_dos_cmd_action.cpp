#include "actions/process/custom_run_dos_cmd_action.h"

#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

std::string WithTrailingSeparator(const std::string& dir) {
  if (!dir.empty() && dir.back() == '/') return dir;
  return dir + '/';
}

}  // namespace

bool TCustomRunDosCMDAction::Validate(IBVActionValidationError& errors) {
  if (!GetParams().empty()) return true;
  errors.AddError("DOS Command", "The DOS command has not been set", 0);
  return false;
}

void TCustomRunDosCMDAction::GetHiddenProperties(TStrings& list) const {
  TCustomRunProgramAction::GetHiddenProperties(list);
  list.insert(list.end(), {"ProgramName", "Params"});
}

void TCustomRunDosCMDAction::GetPropertyAlias(TStrings& list) const {
  TCustomRunProgramAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Dos Command]", "StartInDir=Start In Directory",
                           "LogOutput=Capture Output", "HideWindow=Hide Window",
                           "Command=DOS Command or batch file to run (including parameters)",
                           "WaitForCompletion=Wait For Completion", "SuccessRC=Min Success Code",
                           "EnableLiveCapture=Live Output Capture"});
}

void TCustomRunDosCMDAction::GetPropertyHelp(TStrings& list) const {
  TCustomRunProgramAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"Command=DOS Command to execute",
               "SuccessRC=Minimum return code to be considered a successfull execution"});
}

std::string TCustomRunDosCMDAction::GetExecutable() {
  std::string interpreter;
  if (!TryExpandExpression("DOSCMD", "%DOSCMD%", interpreter, true)) return {};
  return interpreter;
}

bool TCustomRunDosCMDAction::GetCommandLine(ICommandLineBuilder& builder) {
  builder.AddRawWord("-c");
  return TCustomRunProgramAction::GetCommandLine(builder);
}

std::string TCustomRunDosCMDAction::GetCommandLineParams() {
  std::string command = TCustomRunProgramAction::GetCommandLineParams();
  // The comparison is exact on purpose: "build.BAT" and "build.bat arg"
  // (extension ".bat arg") stay as they are.
  if (ExtractFileExt(command) != ".bat") return command;
  if (command.find_first_of("\"'") != std::string::npos) return command;
  // The stored, unexpanded StartInDir, as the lookup always used it.
  if (platform::FileExists(command) ||
      platform::FileExists(WithTrailingSeparator(GetStartInDir()) + command))
    return '"' + command + '"';
  return command;
}

void TCustomRunDosCMDAction::AddParameters(ICommandLineBuilder& builder,
                                           const std::string& params) {
  // The shell parses the text itself, so it must arrive as one word.
  builder.AddRawWord(params);
}

}  // namespace brivant

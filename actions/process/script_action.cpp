#include "actions/process/script_action.h"

#include <exception>

#include "package/exceptions.h"
#include "package/string_utils.h"
#include "package/text_file.h"

namespace brivant {
namespace {

constexpr const char* kScript = "Script";

}  // namespace

TBVScriptAction::TBVScriptAction() { AddScript(kScript, {"Action"}); }

const PropertyTable& TBVScriptAction::Properties() {
  using T = TBVScriptAction;
  static const PropertyTable table(
      nullptr, {
                   Property("ScriptFile", &T::script_file_),
                   Property("TimeOut", &T::time_out_).Default("0"),
                   Property("ResultVariable", &T::result_variable_).TypeName("TVariableName"),
               });
  return table;
}

std::string TBVScriptAction::GetFormattedDescription() const {
  if (!script_file_.empty()) return "Run Script [ " + ExtractFileName(script_file_) + " ]";
  return GetActionName();
}

bool TBVScriptAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  const TBVActionScript* script = GetScriptByName(kScript);
  if (script_file_.empty() && (script == nullptr || !script->HasBody())) {
    errors.AddError("Script", "No script has been given: write one or name a script file", 0);
    valid = false;
  }
  if (time_out_ < 0) {
    errors.AddError("Time-out", "The time-out cannot be negative", 0);
    valid = false;
  }
  return valid;
}

void TBVScriptAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Run Script]", "ScriptFile=Script File", "TimeOut=Time-out (s)",
                           "ResultVariable=Result Variable"});
}

void TBVScriptAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"ScriptFile=A JavaScript file to run instead of the script written in the action",
               "TimeOut=Seconds the script may run before it is stopped and the action fails; "
               "0 uses the host's limit",
               "ResultVariable=Variable that receives the value of the script's last statement"});
}

bool TBVScriptAction::Execute() {
  TBVActionScript script = *GetScriptByName(kScript);
  if (!script_file_.empty()) {
    std::string path;
    if (!TryExpandExpression("Script File", script_file_, path, true)) return false;
    TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(path);
    if (!loaded.IsOk()) {
      SendMessage("Cannot read the script file " + loaded.Error().Describe(), stError);
      return false;
    }
    script.SetCode(std::move(loaded).Value().text);
    SendMessage("Running script " + path, stInfo);
  }
  // Beyond about 49 days the milliseconds would overflow; that is no limit.
  if (time_out_ > 0 && time_out_ < 4000000)
    script.SetTimeLimitMs(static_cast<uint32_t>(time_out_) * 1000);
  Variant result;
  try {
    ScriptParameters no_parameters;
    result = ExecuteScript(script, no_parameters);
  } catch (const std::exception& e) {
    SendMessage(e.what(), stError);
    return false;
  }
  if (result.Type() == VariantType::kBoolean && !result.ToBoolean()) {
    SendMessage("The script returned false", stError);
    return false;
  }
  if (!result_variable_.empty()) SetVariable(result_variable_, result);
  SendMessage("Script completed", stSuccess);
  return true;
}

}  // namespace brivant

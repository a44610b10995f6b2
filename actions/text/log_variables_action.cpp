#include "actions/text/log_variables_action.h"

#include <exception>

namespace brivant {

const PropertyTable& TBVLogVariablesAction::Properties() {
  using T = TBVLogVariablesAction;
  static const PropertyTable table(
      nullptr, {
                   // Stored through VariableStorageString.
                   Property("VariablesToLog", &T::variables_to_log_).NotStored(),
                   Property("VariableStorageString", &T::GetVariableStorageString,
                            &T::SetVariableStorageString),
                   Property("FailIfNotDefined", &T::fail_if_not_defined_).Default("True"),
                   Property("LogAllVariables", &T::log_all_variables_).Default("False"),
               });
  return table;
}

std::string TBVLogVariablesAction::GetVariableStorageString() const {
  std::string text;
  for (const std::string& name : variables_to_log_) text += name + "\r\n";
  return text;
}

void TBVLogVariablesAction::SetVariableStorageString(const std::string& text) {
  variables_to_log_.clear();
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string::npos) end = text.size();
    variables_to_log_.push_back(text.substr(start, end - start));
    start = end;
    if (start < text.size() && text[start] == '\r') ++start;
    if (start < text.size() && text[start] == '\n') ++start;
  }
}

std::string TBVLogVariablesAction::GetFormattedDescription() const {
  if (log_all_variables_) return GetActionName() + " [All Variables]";
  std::string names;
  for (const std::string& name : variables_to_log_) {
    if (!name.empty()) names += (names.empty() ? "" : ", ") + name;
  }
  return GetActionName() + " [Variables: " + names + "]";
}

void TBVLogVariablesAction::GetHiddenProperties(TStrings& list) const {
  TCustomBVAction::GetHiddenProperties(list);
  list.push_back("VariableStorageString");
}

void TBVLogVariablesAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Log Variable Values]", "VariablesToLog=Variables To Log",
               "FailIfNotDefined=Fail If Not Defined", "LogAllVariables=Log All Variables"});
}

void TBVLogVariablesAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"VariablesToLog=A list of all the variables to log",
               "FailIfNotDefined=Fail the action if a selected variable isn't defined when the "
               "action runs",
               "LogAllVariables=Log all variables that exist when the action runs"});
}

void TBVLogVariablesAction::LogAll() {
  SendMessage("All variable values : ", stInfo);
  TStrings names;
  GetVariablesList(names, false);
  for (const std::string& name : names) {
    std::string value;
    try {
      value = GetVariableValue(name).ToString();
    } catch (const std::exception&) {
      value = "(Cannot be represented as a string)";
    }
    SendMessage(name + " = " + value, stInfo);
  }
}

bool TBVLogVariablesAction::LogListed() {
  SendMessage("Current variable values : ", stInfo);
  for (const std::string& line : variables_to_log_) {
    std::string name;
    if (!TryExpandExpression("Variable to Log", line, name, true)) return false;
    if (name.empty()) continue;
    if (!IsVariableDefined(name)) {
      SendMessage("Variable " + name + " not defined.", fail_if_not_defined_ ? stError : stWarning);
      if (fail_if_not_defined_) return false;
      continue;
    }
    std::string value;
    try {
      value = GetVariableValue(name).ToString();
    } catch (const std::exception&) {
      // Worded unlike the all-variables case on purpose.
      value = "(Cannot be represented as string)";
    }
    SendMessage(name + " = " + value, stInfo);
  }
  return true;
}

bool TBVLogVariablesAction::Execute() {
  if (log_all_variables_) {
    LogAll();
  } else if (!LogListed()) {
    return false;
  }
  SendMessage("Success", stSuccess);
  return true;
}

}  // namespace brivant

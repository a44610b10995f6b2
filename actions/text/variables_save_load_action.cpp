#include "actions/text/variables_save_load_action.h"

#include <exception>

#include "package/ini_file.h"
#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string CommaText(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

}  // namespace

const PropertyTable& TBVVariablesSaveLoadAction::Properties() {
  using T = TBVVariablesSaveLoadAction;
  static const PropertyTable table(
      nullptr, {
                   Property("INIFile", &T::ini_file_),
                   Property("Variables", &T::variables_),
                   Property("SectionName", &T::section_name_).Default("BVVariables"),
               });
  return table;
}

std::string TBVVariablesSaveLoadAction::GetFormattedDescription() const {
  std::string names = CommaText(variables_);
  std::string text = GetActionName() + " [" + ini_file_ + ", Variables: " + names + "]";
  if (text.size() <= 100) return text;
  return GetActionName() + " [" + ExtractFileName(ini_file_) + ", Variables: " + names + "]";
}

bool TBVVariablesSaveLoadAction::Validate(IBVActionValidationError& errors) {
  bool ok = true;
  if (ini_file_.empty()) {
    errors.AddError("IniFile", "IniFile has not been set", 0);
    ok = false;
  }
  if (section_name_.empty()) {
    errors.AddError("SectionName", "SectionName has not been set", 0);
    ok = false;
  }
  return ok;
}

void TBVVariablesSaveLoadAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[INI File]", "INIFile=INI filename", "Variables=Variables",
                           "SectionName=Section Name"});
}

void TBVVariablesSaveLoadAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(), {"INIFile=The name/path of the INI file",
                           "Variables=Listing of the variables to load/save",
                           "SectionName=The INI file section name"});
}

bool TBVVariablesSaveLoadAction::ExpandFileAndSection(std::string* path, std::string* section) {
  return TryExpandExpression("IniFile", ini_file_, *path, true) &&
         TryExpandExpression("SectionName", section_name_, *section, true);
}

const PropertyTable& TBVVariablesSaveAction::Properties() {
  using T = TBVVariablesSaveAction;
  static const PropertyTable table(&TBVVariablesSaveLoadAction::Properties(),
                                   {
                                       Property("EraseSection", &T::erase_section_).Default("True"),
                                       Property("SaveAll", &T::save_all_).Default("False"),
                                   });
  return table;
}

void TBVVariablesSaveAction::GetPropertyAlias(TStrings& list) const {
  TBVVariablesSaveLoadAction::GetPropertyAlias(list);
  list.push_back("EraseSection=Erase Section");
}

void TBVVariablesSaveAction::GetPropertyHelp(TStrings& list) const {
  TBVVariablesSaveLoadAction::GetPropertyHelp(list);
  list.push_back(
      "EraseSection=Erase section in INI file before saving values - a good way to clean out "
      "the section of other variables");
}

void TBVVariablesSaveAction::SaveAll(TIniFile& ini, const std::string& section) {
  TStrings names;
  GetVariablesList(names, false);
  for (const std::string& name : names) {
    std::string value;
    try {
      value = GetVariableValue(name).ToString();
    } catch (const std::exception&) {
      value.clear();
    }
    ini.WriteString(section, name, value);
    SendMessage("Variable " + Quoted(name) + " value saved", stInfo);
  }
}

bool TBVVariablesSaveAction::SaveListed(TIniFile& ini, const std::string& section) {
  for (const std::string& name : variables_) {
    if (Trim(name).empty()) continue;
    std::string value;
    try {
      value = ExpandExpression("%" + name + "%", true);
    } catch (const std::exception&) {
      SendMessage("Error expanding variable: " + name, stError);
      return false;
    }
    ini.WriteString(section, name, value);
    SendMessage("Variable " + Quoted(name) + " value saved", stInfo);
  }
  return true;
}

bool TBVVariablesSaveAction::Execute() {
  std::string path, section;
  if (!ExpandFileAndSection(&path, &section)) return false;
  SendMessage("Saving variables to INI file: " + path, stInfo);
  try {
    TIniFile ini(path);
    if (erase_section_) ini.EraseSection(section);
    if (save_all_) {
      SaveAll(ini, section);
    } else if (!SaveListed(ini, section)) {
      return false;
    }
  } catch (const EIniFileError& e) {
    SendMessage(e.what(), stError);
    return false;
  }
  SendMessage("Variables successfully saved", stSuccess);
  return true;
}

const PropertyTable& TBVVariablesLoadAction::Properties() {
  using T = TBVVariablesLoadAction;
  static const PropertyTable table(
      &TBVVariablesSaveLoadAction::Properties(),
      {
          Property("FailIfVariableNotDefined", &T::fail_if_variable_not_defined_).Default("True"),
          Property("FailIfVariableNotInIniFile", &T::fail_if_variable_not_in_ini_file_)
              .Default("True"),
          Property("VariableTypes", &T::variable_types_),
          Property("CreateVarInINIifNotExists", &T::create_var_in_ini_if_not_exists_)
              .Default("False"),
          Property("IgnoreFileNotFound", &T::ignore_file_not_found_).Default("False"),
      });
  return table;
}

void TBVVariablesLoadAction::GetPropertyAlias(TStrings& list) const {
  TBVVariablesSaveLoadAction::GetPropertyAlias(list);
  list.insert(list.end(), {"FailIfVariableNotDefined=Fail if Variable not defined",
                           "FailIfVariableNotInIniFile=Fail if Variable not in INI file",
                           "VariableTypes=Variable Types",
                           "CreateVarInINIifNotExists=Create Var in INI if not exists",
                           "IgnoreFileNotFound=Ignore INI file missing"});
}

void TBVVariablesLoadAction::GetPropertyHelp(TStrings& list) const {
  TBVVariablesSaveLoadAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"FailIfVariableNotDefined=Fail the action if the specified variable is not defined in the "
       "project or as a user variable",
       "FailIfVariableNotInIniFile=Fail the action if the specified Variable is not in the INI "
       "file",
       "VariableTypes=List of the variable types (string, integer, or boolean) that match up to "
       "the variable names",
       "CreateVarInINIifNotExists=Create the variable in the INI file if it's not found",
       "IgnoreFileNotFound=Do not fail the action if the INI file can't be found"});
}

TBVVariablesLoadAction::Outcome TBVVariablesLoadAction::LoadOne(TIniFile& ini,
                                                                const std::string& section,
                                                                size_t index) {
  const std::string& name = variables_[index];
  if (!IsVariableDefined(name)) {
    SendMessage("Variable not defined: " + name, stError);
    return fail_if_variable_not_defined_ ? Outcome::kFail : Outcome::kNext;
  }
  std::string current = GetVariableValue(name).ToString();
  if (!ini.ValueExists(section, name)) {
    if (fail_if_variable_not_in_ini_file_ || !create_var_in_ini_if_not_exists_) {
      SendMessage("Variable not found in INI: " + name, stError);
      return fail_if_variable_not_in_ini_file_ ? Outcome::kFail : Outcome::kNext;
    }
    ini.WriteString(section, name, current);
    SendMessage("Variable not found in INI, created: " + name, stInfo);
    return Outcome::kNext;
  }
  const std::string& type = variable_types_.at(index);
  if (SameText(type, "STRING")) {
    std::string value = ini.ReadString(section, name, current);
    SetVariable(name, Variant(value));
    SendMessage("Set string variable " + Quoted(name) + " to: " + Quoted(value), stInfo);
  } else if (SameText(type, "BOOLEAN")) {
    std::optional<bool> value = ParseBoolText(ini.ReadString(section, name, current));
    if (!value) value = ParseBoolText(current);
    SetVariable(name, Variant(value.value_or(false)));
    SendMessage("Set boolean variable " + Quoted(name) +
                    " to: " + (value.value_or(false) ? "True" : "False"),
                stInfo);
  } else if (SameText(type, "INTEGER")) {
    int32_t fallback = 0;
    if (!TryStrToInt(current, &fallback)) fallback = 0;
    int32_t value = ini.ReadInteger(section, name, fallback);
    SetVariable(name, Variant(value));
    SendMessage("Set integer variable " + Quoted(name) + " to: " + std::to_string(value), stInfo);
  } else {
    SendMessage("Invalid value for variable type: " + type, stError);
    return Outcome::kFail;
  }
  return Outcome::kNext;
}

bool TBVVariablesLoadAction::Execute() {
  std::string path, section;
  if (!ExpandFileAndSection(&path, &section)) return false;
  if (!platform::FileExists(path)) {
    SendMessage("File " + path + " does not exist.", stError);
    if (!ignore_file_not_found_) return false;
  } else {
    SendMessage("Loading " + path, stInfo);
  }
  TIniFile ini(path);
  try {
    // Reading now makes a bad file an opening error, not a variable's.
    (void)ini.ReadSections();
  } catch (const EIniFileError& e) {
    SendMessage("Error Opening Ini File : " + path, stError);
    SendMessage(e.what(), stError);
    return false;
  }
  for (size_t i = 0; i < variables_.size(); ++i) {
    if (Trim(variables_[i]).empty()) continue;
    try {
      if (LoadOne(ini, section, i) == Outcome::kFail) return false;
    } catch (const std::exception&) {
      SendMessage("Error setting variable " + variables_[i], stError);
      return false;
    }
  }
  SendMessage("Variables successfully loaded", stSuccess);
  return true;
}

}  // namespace brivant

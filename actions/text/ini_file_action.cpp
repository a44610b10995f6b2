#include "actions/text/ini_file_action.h"

#include <algorithm>
#include <cctype>
#include <exception>

#include "package/ini_file.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

// Fall-backs of the integer conversions: a text that converts to exactly
// this value is refused like one that is no integer at all.
constexpr int32_t kDefaultSentinel = -99098700;
constexpr int32_t kNewValueSentinel = -990234;

constexpr const char* kReadFailure = "Unable to Read from Ini File : ";
constexpr const char* kWriteFailure = "Unable to Write to Ini File : ";
constexpr const char* kNoSection = "Section Name not specified";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Decimal text only, as the new value of an integer write: "0x10" is no
// integer there, although reading accepts it.
int32_t DecimalOr(const std::string& text, int32_t fallback) {
  if (text.find_first_of("$xX") != std::string::npos) return fallback;
  int32_t value = fallback;
  return TryStrToInt(text, &value) ? value : fallback;
}

const char* BoolText(bool value) { return value ? "True" : "False"; }

}  // namespace

const EnumInfo& EnumTraits<TIniValueType>::Info() {
  static const EnumInfo info{"TIniValueType", {"vtString", "vtBool", "vtInteger"}};
  return info;
}

std::string TCustomIniFileAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + ini_file_ + " ]";
}

void TCustomIniFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Ini File]", "IniFile=Ini File", "Section=Section",
                           "ValueName=Value Name", "ValueType=Value Type"});
}

void TCustomIniFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(), {"IniFile=The fully qualified path to the ini file.",
                           "Section=The ini file section to read or write",
                           "ValueName=The name of the value to read/write",
                           "ValueType=The type of the value to read/write"});
}

void TCustomIniFileAction::ValidateFileAndSection(IBVActionValidationError& errors,
                                                  bool* ok) const {
  if (ini_file_.empty()) {
    errors.AddError("Ini File", "Ini file has not been set", 0);
    *ok = false;
  }
  if (section_.empty()) {
    errors.AddError("Section", "The section has not been set", 0);
    *ok = false;
  }
}

bool TCustomIniFileAction::ExpandLogged(const std::string& failure, const std::string& text,
                                        std::string* result) {
  try {
    *result = ExpandExpression(text, true);
    return true;
  } catch (const std::exception& e) {
    SendMessage(failure + text, stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

bool TCustomIniFileAction::ExpandIniFile(const std::string& failure, std::string* path) {
  if (!ExpandLogged(failure, ini_file_, path)) return false;
  // A bare name is refused: the file is never looked up in a current or
  // system directory.
  if (!ExtractFilePath(*path).empty()) return true;
  SendMessage("No path to the Ini File specified!", stError);
  return false;
}

bool TCustomIniFileAction::ExpandSection(const std::string& failure, std::string* section) {
  std::string expanded;
  if (!ExpandLogged(failure, section_, &expanded)) return false;
  *section = Trim(expanded);
  if (!section->empty()) return true;
  SendMessage(failure + section_, stError);
  SendMessage(kNoSection, stError);
  return false;
}

bool TCustomIniFileAction::CheckNotReadOnly(const std::string& path) {
  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(path);
  if (!attributes.IsOk() || (attributes.Value() & platform::kFileAttributeReadOnly) == 0)
    return true;
  SendMessage("File : " + path + " is marked as Read Only!", stError);
  return false;
}

void TCustomReadIniFileAction::SetValueType(TIniValueType type) {
  value_type_ = type;
  if (type != vtString) expand_variables_in_value_ = false;
}

const PropertyTable& TReadIniFileAction::Properties() {
  using T = TReadIniFileAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("IniFile", &T::ini_file_),
          Property("Section", &T::section_),
          Property("ValueName", &T::value_name_),
          Property("VariableName", &T::variable_name_).TypeName("TVariableName"),
          Property("DefaultValue", &T::default_value_),
          Property("ValueType", &T::GetValueType, &T::SetValueType).Default("vtString"),
          Property("ExpandVariablesInValue", &T::expand_variables_in_value_).Default("False"),
      });
  return table;
}

bool TReadIniFileAction::Validate(IBVActionValidationError& errors) {
  bool ok = true;
  ValidateFileAndSection(errors, &ok);
  if (value_name_.empty()) {
    errors.AddError("Value Name", "The value name has not been set", 0);
    ok = false;
  }
  if (variable_name_.empty()) {
    errors.AddError("Variable", "The variable name has not been set", 0);
    ok = false;
  }
  return ok;
}

void TReadIniFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomIniFileAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Ini File]", "VariableName=Variable Name", "DefaultValue=Default Value"});
}

void TReadIniFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomIniFileAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"VariableName=Name of the Variable which will store the ini file value",
               "DefaultValue=The default value to apply if the value is not present in the ini "
               "file."});
}

bool TReadIniFileAction::CheckDefault(const std::string& default_value) {
  if (value_type_ == vtBool) {
    std::string text = Lower(Trim(default_value));
    if (text == "true" || text == "false") return true;
    SendMessage("Default Value is not True or False and the Value Type is Boolean", stError);
    return false;
  }
  if (value_type_ == vtInteger) {
    int32_t value = kDefaultSentinel;
    if (!TryStrToInt(default_value, &value)) value = kDefaultSentinel;
    if (value != kDefaultSentinel) return true;
    SendMessage("Default Value : " + default_value +
                    " : is not an integer and the Value Type is "
                    "Integer",
                stError);
    return false;
  }
  return true;
}

void TReadIniFileAction::ReadAndStore(const std::string& path, const std::string& section,
                                      const std::string& name, const std::string& default_value) {
  TIniFile ini(path);
  SendMessage("Reading from IniFile: " + path + " Section : " + section + " ValueName: " + name +
                  " Default Value : " + default_value,
              stInfo);
  switch (value_type_) {
    case vtBool: {
      bool value = ini.ReadBool(section, name, Lower(Trim(default_value)) == "true");
      SendMessage(std::string("New Value : ") + BoolText(value), stInfo);
      SetVariable(variable_name_, Variant(value));
      return;
    }
    case vtInteger: {
      int32_t fallback = 0;
      (void)TryStrToInt(default_value, &fallback);
      int32_t value = ini.ReadInteger(section, name, fallback);
      SendMessage("New Value : " + std::to_string(value), stInfo);
      SetVariable(variable_name_, Variant(value));
      return;
    }
    default: {
      std::string value = ini.ReadString(section, name, default_value);
      if (expand_variables_in_value_) value = ExpandExpression(value, true);
      SendMessage("New Value : " + value, stInfo);
      SetVariable(variable_name_, Variant(value));
    }
  }
}

bool TReadIniFileAction::Execute() {
  std::string path, name, section, default_value;
  if (!ExpandIniFile(kReadFailure, &path)) return false;
  if (!ExpandLogged("Unable to Read Value from Ini File : ", value_name_, &name)) return false;
  if (!ExpandSection("Unable to Read from Section : ", &section)) return false;
  try {
    default_value = ExpandExpression(default_value_, true);
  } catch (const std::exception& e) {
    SendMessage("Unable to use default Value  : " + default_value_, stError);
    SendMessage(e.what(), stError);
    return false;
  }
  if (!CheckDefault(default_value)) return false;
  try {
    ReadAndStore(path, section, name, default_value);
    return true;
  } catch (const std::exception& e) {
    SendMessage(kReadFailure + path, stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

const PropertyTable& TWriteIniFileAction::Properties() {
  using T = TWriteIniFileAction;
  static const PropertyTable table(nullptr,
                                   {
                                       Property("IniFile", &T::ini_file_),
                                       Property("Section", &T::section_),
                                       Property("ValueName", &T::value_name_),
                                       Property("NewValue", &T::new_value_),
                                       Property("AllowCreate", &T::allow_create_).Default("False"),
                                       Property("ValueType", &T::value_type_).Default("vtString"),
                                   });
  return table;
}

bool TWriteIniFileAction::Validate(IBVActionValidationError& errors) {
  bool ok = true;
  ValidateFileAndSection(errors, &ok);
  if (value_name_.empty()) {
    errors.AddError("Value Name", "The value name has not been set", 0);
    ok = false;
  }
  return ok;
}

void TWriteIniFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomIniFileAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Ini File]", "NewValue=New Value", "AllowCreate=AllowCreate"});
}

void TWriteIniFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomIniFileAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"NewValue=New Value to write to the ini file. Can include brivnat variables",
               "AllowCreate=Allow the Ini File to be created if it does not exist."});
}

bool TWriteIniFileAction::WriteTyped(const std::string& path, const std::string& section,
                                     const std::string& name, const std::string& value) {
  auto log = [&](const std::string& shown) {
    SendMessage("Writing to IniFile: " + path + "Section : " + section + " ValueName: " + name +
                    " Value: " + shown,
                stInfo);
  };
  TIniFile ini(path);
  switch (value_type_) {
    case vtBool: {
      std::optional<bool> flag = ParseBoolText(value);
      if (!flag) throw std::invalid_argument("'" + value + "' is not a valid boolean value");
      log(BoolText(*flag));
      ini.WriteBool(section, name, *flag);
      return true;
    }
    case vtInteger: {
      int32_t number = DecimalOr(value, kNewValueSentinel);
      if (number == kNewValueSentinel) {
        SendMessage("New Value is not an integer : " + value, stError);
        return false;
      }
      log(std::to_string(number));
      ini.WriteInteger(section, name, number);
      return true;
    }
    default:
      log(value);
      ini.WriteString(section, name, value);
      return true;
  }
}

bool TWriteIniFileAction::Execute() {
  std::string path, value, name, section;
  if (!ExpandIniFile(kWriteFailure, &path)) return false;
  if (!ExpandLogged("Unable to Write Value to Ini File : ", new_value_, &value)) return false;
  if (!ExpandLogged("Unable to Write Value to Ini File : ", value_name_, &name)) return false;
  if (!ExpandSection("Unable to Write to Section : ", &section)) return false;
  if (!platform::FileExists(path) && !allow_create_) {
    SendMessage(kWriteFailure + path, stError);
    SendMessage("File does not Exist!", stError);
    return false;
  }
  if (!CheckNotReadOnly(path)) return false;
  try {
    return WriteTyped(path, section, name, value);
  } catch (const std::exception& e) {
    SendMessage(kWriteFailure + path, stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

const PropertyTable& TEraseIniFileSectionAction::Properties() {
  using T = TEraseIniFileSectionAction;
  static const PropertyTable table(nullptr, {
                                                Property("IniFile", &T::ini_file_),
                                                Property("Section", &T::section_),
                                            });
  return table;
}

bool TEraseIniFileSectionAction::Validate(IBVActionValidationError& errors) {
  bool ok = true;
  ValidateFileAndSection(errors, &ok);
  return ok;
}

void TEraseIniFileSectionAction::GetHiddenProperties(TStrings& list) const {
  TCustomIniFileAction::GetHiddenProperties(list);
  list.insert(list.end(), {"ValueName", "ValueType"});
}

bool TEraseIniFileSectionAction::Execute() {
  std::string path, section;
  if (!ExpandIniFile(kWriteFailure, &path)) return false;
  if (!ExpandSection("Unable to Write to Section : ", &section)) return false;
  if (!platform::FileExists(path)) {
    SendMessage("File does not Exist!", stError);
    return false;
  }
  if (!CheckNotReadOnly(path)) return false;
  SendMessage("Writing to IniFile: " + path + " - Erasing Section : " + section, stInfo);
  try {
    TIniFile(path).EraseSection(section);
    return true;
  } catch (const std::exception& e) {
    SendMessage(kWriteFailure + path, stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

}  // namespace brivant

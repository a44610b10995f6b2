// "Read Ini File", "Write Ini File" and "Erase Ini File Section": one value
// or one section of an INI file (package/ini_file.h), with the file, section,
// value name and value type in a shared base.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TIniValueType : uint8_t { vtString = 0, vtBool = 1, vtInteger = 2 };

template <>
struct EnumTraits<TIniValueType> {
  static const EnumInfo& Info();
};

class TCustomIniFileAction : public TCustomBVAction {
 public:
  std::string GetFormattedDescription() const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 protected:
  // The three checks every INI action makes; `value_name` adds the fourth.
  void ValidateFileAndSection(IBVActionValidationError& errors, bool* ok) const;
  // Expands IniFile and checks it has a directory part. Logs and returns
  // false on failure; `failure` opens the line that quotes the property.
  bool ExpandIniFile(const std::string& failure, std::string* path);
  // Expands and trims Section; empty fails with "Section Name not specified".
  bool ExpandSection(const std::string& failure, std::string* section);
  // Expands `text`; on failure logs `failure` + `text` and the reason.
  bool ExpandLogged(const std::string& failure, const std::string& text, std::string* result);
  // The read-only refusal of writes; true when the file may be written.
  bool CheckNotReadOnly(const std::string& path);

  std::string ini_file_;
  std::string section_;
  std::string value_name_;
  TIniValueType value_type_ = vtString;
};

class TCustomReadIniFileAction : public TCustomIniFileAction {
 public:
  // Anything but vtString also switches ExpandVariablesInValue off.
  void SetValueType(TIniValueType type);
  TIniValueType GetValueType() const { return value_type_; }

 protected:
  std::string variable_name_;
  std::string default_value_;
  bool expand_variables_in_value_ = false;
};

class TReadIniFileAction : public TCustomReadIniFileAction {
 public:
  static constexpr std::string_view kClassName = "TReadIniFileAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Read Ini File"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ReadIniFile.html"; }
  int GetHelpTopicID() const override { return 930; }
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Checks the expanded default against the value type; logs on failure.
  bool CheckDefault(const std::string& default_value);
  void ReadAndStore(const std::string& path, const std::string& section, const std::string& name,
                    const std::string& default_value);
};

class TCustomWriteIniFileAction : public TCustomIniFileAction {
 protected:
  std::string new_value_;
  bool allow_create_ = false;
};

class TWriteIniFileAction : public TCustomWriteIniFileAction {
 public:
  static constexpr std::string_view kClassName = "TWriteIniFileAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Write Ini File"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\WriteIniFile.html"; }
  int GetHelpTopicID() const override { return 940; }
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // False when the value does not suit the type (logged).
  bool WriteTyped(const std::string& path, const std::string& section, const std::string& name,
                  const std::string& value);
};

class TCustomEraseIniSectionAction : public TCustomIniFileAction {};

class TEraseIniFileSectionAction : public TCustomEraseIniSectionAction {
 public:
  static constexpr std::string_view kClassName = "TEraseIniFileSectionAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Erase Ini File Section"; }
  bool Validate(IBVActionValidationError& errors) override;
  // The inherited lists name ValueName and ValueType, which this action
  // does not publish; hiding them keeps the designer from offering them.
  void GetHiddenProperties(TStrings& list) const override;
};

}  // namespace brivant

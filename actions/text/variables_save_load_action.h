// "Save Variables to INI" and "Load Variables from INI": build variables
// carried between builds in one section of an INI file (package/ini_file.h),
// one Name=Value line per variable and nothing else, so the file stays an
// ordinary INI file that people and other tools may edit.
#pragma once

#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TIniFile;

class TBVVariablesSaveLoadAction : public TCustomBVAction {
 public:
  static const PropertyTable& Properties();
  bool Execute() override { return false; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\VariablesSaveLoad.html"; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 protected:
  // Expands INIFile and SectionName; false when either fails (logged by the host).
  bool ExpandFileAndSection(std::string* path, std::string* section);

  std::string ini_file_;
  std::vector<std::string> variables_;
  std::string section_name_ = "BVVariables";
};

class TBVVariablesSaveAction : public TBVVariablesSaveLoadAction {
 public:
  static constexpr std::string_view kClassName = "TBVVariablesSaveAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Save Variables to INI"; }
  int GetHelpTopicID() const override { return 3170; }
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // False when a listed variable cannot be expanded (logged).
  bool SaveListed(TIniFile& ini, const std::string& section);
  void SaveAll(TIniFile& ini, const std::string& section);

  bool erase_section_ = true;
  bool save_all_ = false;
};

class TBVVariablesLoadAction : public TBVVariablesSaveLoadAction {
 public:
  static constexpr std::string_view kClassName = "TBVVariablesLoadAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Load Variables from INI"; }
  int GetHelpTopicID() const override { return 3180; }
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  enum class Outcome { kNext, kFail };
  // Loads variable `index` of the list; kFail ends the action (logged).
  Outcome LoadOne(TIniFile& ini, const std::string& section, size_t index);

  bool fail_if_variable_not_defined_ = true;
  bool fail_if_variable_not_in_ini_file_ = true;
  std::vector<std::string> variable_types_;
  bool create_var_in_ini_if_not_exists_ = false;
  bool ignore_file_not_found_ = false;
};

}  // namespace brivant

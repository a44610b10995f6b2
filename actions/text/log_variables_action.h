// "Log Variable Values": the current values of listed variables, or of all
// variables, written to the build log.
#pragma once

#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVLogVariablesAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVLogVariablesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Log Variable Values"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\LogVariableValues.html"; }
  int GetHelpTopicID() const override { return 6170; }
  std::string GetFormattedDescription() const override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  // The list as one text, one name per line: how projects store it.
  std::string GetVariableStorageString() const;
  void SetVariableStorageString(const std::string& text);

 private:
  void LogAll();
  // False when a listed name cannot be expanded or, with FailIfNotDefined,
  // is not a variable (logged).
  bool LogListed();

  std::vector<std::string> variables_to_log_;
  bool fail_if_not_defined_ = true;
  bool log_all_variables_ = false;
};

}  // namespace brivant

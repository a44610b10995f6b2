// "Run Script": runs a JavaScript script of the project, written into the
// action ("Script" event) or kept in a file, with the same engine and the
// same Brivant.* functions as the event scripts of the other actions. The
// action fails when the script throws, returns false, runs past its time
// limit or is stopped; what the script logs goes to the build log.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVScriptAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVScriptAction";
  TBVScriptAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Run Script"; }
  std::string GetActionKeywords() const override { return "JavaScript Script"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RunScript.html"; }
  int GetHelpTopicID() const override { return 3280; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string script_file_;
  int32_t time_out_ = 0;  // seconds; 0: the host's limit
  std::string result_variable_;
};

}  // namespace brivant

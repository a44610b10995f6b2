// "Create Text File": writes a new file from a text property, in a chosen
// encoding, creating missing directories when asked.
#pragma once

#include <string>

#include "actions/text/encoding_property.h"
#include "package/custom_bv_action.h"

namespace brivant {

class TBVCreateTextFileAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVCreateTextFileAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Create Text File"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\CreateTextFile.html"; }
  int GetHelpTopicID() const override { return 3220; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string file_contents_;
  bool overwrite_existing_ = false;
  std::string new_file_name_;
  bool create_directory_ = true;
  TEncodingType encoding_ = etAnsi;
};

}  // namespace brivant

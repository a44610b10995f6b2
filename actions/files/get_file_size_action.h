// "Get File Size": puts the size of one file into a build variable, in bytes
// or in a larger unit. A missing file fails the action.
#pragma once

#include <string>

#include "actions/files/size_units.h"
#include "package/custom_bv_action.h"

namespace brivant {

class TBVGetFileSizeAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVGetFileSizeAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Get File Size"; }
  std::string GetActionKeywords() const override { return "Length Bytes"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\GetFileSize.html"; }
  int GetHelpTopicID() const override { return 563; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string file_name_;
  std::string bv_variable_;
  TSizeUnits units_ = suBytes;
};

}  // namespace brivant

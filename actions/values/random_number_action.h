// "Generate Random Number": puts a random whole number from 0 to Range
// (inclusive), or a real number in [0, 1), into a project variable.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVRandomNumberAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVRandomNumberAction";
  TBVRandomNumberAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Generate Random Number"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\GenerateRandomNumber.html"; }
  int GetHelpTopicID() const override { return 9000; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string variable_;
  bool rand_int_ = true;
  int32_t range_ = 100;
};

}  // namespace brivant

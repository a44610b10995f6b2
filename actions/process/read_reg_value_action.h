// "Read Registry Value": reads one value of a registry key into a project
// variable, as the value type says: a signed or unsigned number, a Boolean
// or the text as stored.
#pragma once

#include "actions/process/custom_reg_action.h"

namespace brivant {

class TReadRegValueAction : public TCustomRegAction {
 public:
  static constexpr std::string_view kClassName = "TReadRegValueAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Read Registry Value"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ReadRegValue.html"; }
  std::string GetExtraDescription() const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;
  bool InternalDoRegAction(TBVRegistry& registry, const std::string& value_name) override;

 private:
  std::string bv_variable_;
};

}  // namespace brivant

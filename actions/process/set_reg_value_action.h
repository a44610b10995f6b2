// "Set Registry Value": writes one value of a registry key, converting the
// expanded text to the value type; the key may be created on the way.
#pragma once

#include "actions/process/custom_reg_action.h"

namespace brivant {

class TSetRegValueAction : public TCustomRegAction {
 public:
  static constexpr std::string_view kClassName = "TSetRegValueAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Set Registry Value"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\SetRegValue.html"; }
  std::string GetExtraDescription() const override;
  uint32_t GetRegAccess() const override { return WithViewFlag(KEY_ALL_ACCESS); }
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;
  bool InternalDoRegAction(TBVRegistry& registry, const std::string& value_name) override;

 private:
  std::string reg_value_;
};

}  // namespace brivant

// "Delete Registry Key/Value": deletes one value of a key, or the key itself
// (with its subkeys only when Recursive allows it).
#pragma once

#include "actions/process/custom_reg_action.h"

namespace brivant {

class TDeleteRegValueAction : public TCustomRegAction {
 public:
  static constexpr std::string_view kClassName = "TDeleteRegValueAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Delete Registry Key/Value"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\DeleteRegValue.html"; }
  std::string GetExtraDescription() const override;
  uint32_t GetRegAccess() const override { return WithViewFlag(KEY_ALL_ACCESS); }
  bool Validate(IBVActionValidationError& errors) override;
  bool InternalDoRegAction(TBVRegistry& registry, const std::string& value_name) override;

 private:
  bool DoDeleteKey(TBVRegistry& registry);

  bool delete_key_ = false;
  bool recursive_ = false;
};

}  // namespace brivant

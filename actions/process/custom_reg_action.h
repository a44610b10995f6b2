// TCustomRegAction: what the three registry actions share. It expands the
// key and value name, opens the key under the chosen root with the access
// its subclass asks for, and hands the open key to InternalDoRegAction, the
// one step each action does differently. All of one run is one transaction
// on the registry store.
#pragma once

#include <cstdint>
#include <string>

#include "actions/process/bv_registry.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

// How a value is read or written. Stored by ordinal.
enum TRegValueType { rtInteger = 0, rtString = 1, rtDWord = 2, rtBoolean = 3, rtExpandString = 4 };

template <>
struct EnumTraits<TRegValueType> {
  static const EnumInfo& Info();
};

/// The seven predefined roots by name, for RegRoot rows and the root editor.
const std::vector<std::pair<std::string_view, int64_t>>& RegistryRootNames();

class TCustomRegAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TCustomRegAction";
  static const PropertyTable& Properties();

  bool Execute() override;
  int GetHelpTopicID() const override { return 1260; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  virtual std::string GetExtraDescription() const { return {}; }
  /// The access mask the key is opened with; the 64-bit view flag added
  /// when Read64BitKey is set.
  virtual uint32_t GetRegAccess() const;
  /// The action's work on the opened key; true for success.
  virtual bool InternalDoRegAction(TBVRegistry& registry, const std::string& value_name) = 0;

 protected:
  uint32_t WithViewFlag(uint32_t access) const {
    return read_64bit_key_ ? access | KEY_WOW64_64KEY : access;
  }
  std::string ExpandOrEmpty(const std::string& text);

  uint32_t reg_root_ = platform::kHKeyLocalMachine;
  std::string reg_key_;
  std::string reg_value_name_;
  TRegValueType reg_val_type_ = rtString;
  bool allow_create_key_ = false;
  bool read_64bit_key_ = false;
};

}  // namespace brivant

#include "actions/process/custom_reg_action.h"

#include <exception>

namespace brivant {

const EnumInfo& EnumTraits<TRegValueType>::Info() {
  static const EnumInfo info{"TRegValueType",
                             {"rtInteger", "rtString", "rtDWord", "rtBoolean", "rtExpandString"}};
  return info;
}

const std::vector<std::pair<std::string_view, int64_t>>& RegistryRootNames() {
  static const std::vector<std::pair<std::string_view, int64_t>> names = {
      {"HKEY_CLASSES_ROOT", platform::kHKeyClassesRoot},
      {"HKEY_CURRENT_USER", platform::kHKeyCurrentUser},
      {"HKEY_LOCAL_MACHINE", platform::kHKeyLocalMachine},
      {"HKEY_USERS", platform::kHKeyUsers},
      {"HKEY_PERFORMANCE_DATA", platform::kHKeyPerformanceData},
      {"HKEY_CURRENT_CONFIG", platform::kHKeyCurrentConfig},
      {"HKEY_DYN_DATA", platform::kHKeyDynData},
  };
  return names;
}

const PropertyTable& TCustomRegAction::Properties() {
  using T = TCustomRegAction;
  static const PropertyTable table(
      nullptr, {
                   Property("RegRoot", &T::reg_root_)
                       .TypeName("HKEY")
                       .NamedValues(&RegistryRootNames())
                       .Default("HKEY_LOCAL_MACHINE"),
                   Property("RegKey", &T::reg_key_),
                   Property("RegValueName", &T::reg_value_name_),
                   Property("RegValType", &T::reg_val_type_).Default("rtString"),
                   Property("Read64BitKey", &T::read_64bit_key_).Default("False"),
               });
  return table;
}

std::string TCustomRegAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + RootAbbreviation(reg_root_) + "\\" + reg_key_ +
         GetExtraDescription() + " ]";
}

bool TCustomRegAction::Validate(IBVActionValidationError& errors) {
  if (!reg_key_.empty()) return true;
  errors.AddError("Registry Key", "Registry Key has not been set", 0);
  return false;
}

void TCustomRegAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Registry]", "RegRoot=Root", "RegKey=Key Name",
                           "RegValueName=Value Name", "RegValType=Value Type",
                           "AllowCreateKey=AllowCreate", "Read64BitKey=Read 64-Bit Key"});
}

void TCustomRegAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"RegRoot=The root value in the registry", "RegKey=Registry Key containing the value",
               "RegValue=Registry Value to read", "RegValType=The Value Type, ie integer or string",
               "AllowCreateKey=Allow the Registry Key to be Created if it does not already Exist",
               "Read64BitKey=Read the 64-bit key if running a 64-bit operating system"});
}

uint32_t TCustomRegAction::GetRegAccess() const { return WithViewFlag(KEY_READ); }

// A failed expansion is logged and the run goes on with an empty text.
std::string TCustomRegAction::ExpandOrEmpty(const std::string& text) {
  try {
    return ExpandExpression(text, true);
  } catch (const std::exception& e) {
    SendMessage(std::string("Error Expanding String property : ") + e.what(), stError);
    return {};
  }
}

bool TCustomRegAction::Execute() {
  std::string key = ExpandOrEmpty(reg_key_);
  std::string value_name = ExpandOrEmpty(reg_value_name_);
  TBVRegistry registry(GetRegAccess());
  registry.SetRootKey(reg_root_);
  if (!registry.OpenKey(key, allow_create_key_)) {
    // Why the key could not be opened, when there is more to it than absence
    // (a damaged store, a path over the limits).
    if (!registry.LastError().empty()) SendMessage(registry.LastError(), stError);
    SendMessage("Key does not exist : " + reg_key_, stError);
    return false;
  }
  if (!InternalDoRegAction(registry, value_name)) return false;
  if (registry.Commit()) return true;
  SendMessage("cannot save the registry changes: " + registry.LastError(), stError);
  return false;
}

}  // namespace brivant

#include "actions/process/delete_reg_value_action.h"

namespace brivant {

const PropertyTable& TDeleteRegValueAction::Properties() {
  using T = TDeleteRegValueAction;
  static const PropertyTable table(&TCustomRegAction::Properties(),
                                   {Property("DeleteKey", &T::delete_key_).Default("False"),
                                    Property("Recursive", &T::recursive_).Default("False")});
  return table;
}

std::string TDeleteRegValueAction::GetExtraDescription() const {
  return delete_key_ ? "" : " - " + reg_value_name_;
}

bool TDeleteRegValueAction::Validate(IBVActionValidationError& errors) {
  bool valid = TCustomRegAction::Validate(errors);
  if (delete_key_ || !reg_value_name_.empty()) return valid;
  errors.AddError("Registry Value", "Registry Value name has not been set", 0);
  return false;
}

bool TDeleteRegValueAction::DoDeleteKey(TBVRegistry& registry) {
  std::string path = registry.GetCurrentPath();
  SendMessage("Deleting key " + path + "...", stInfo);
  if (registry.HasSubKeys() && !recursive_) {
    SendMessage(
        "The key cannot be deleted as it contains subkeys. Enable recursion to delete all child "
        "keys and values.",
        stError);
    return false;
  }
  registry.CloseKey();
  if (registry.DeleteKey(path)) {
    SendMessage("Key deleted", stSuccess);
    return true;
  }
  SendMessage(registry.LastError().empty()
                  ? std::string("Failed to delete key. An unknown error occured.")
                  : "Failed to delete key. " + registry.LastError(),
              stError);
  return false;
}

bool TDeleteRegValueAction::InternalDoRegAction(TBVRegistry& registry,
                                                const std::string& value_name) {
  if (delete_key_) return DoDeleteKey(registry);
  if (!registry.ValueExists(value_name)) {
    SendMessage("Error Deleting Value " + value_name + " - Value does not exist", stError);
    return false;
  }
  if (registry.DeleteValue(value_name)) {
    SendMessage("Deleted Value " + value_name, stSuccess);
    return true;
  }
  SendMessage("Error Deleting Value " + value_name + " : " + registry.LastError(), stError);
  return false;
}

}  // namespace brivant

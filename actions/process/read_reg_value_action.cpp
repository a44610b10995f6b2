#include "actions/process/read_reg_value_action.h"

namespace brivant {

const PropertyTable& TReadRegValueAction::Properties() {
  using T = TReadRegValueAction;
  static const PropertyTable table(
      &TCustomRegAction::Properties(),
      {Property("BVVariable", &T::bv_variable_).TypeName("TVariableName")});
  return table;
}

std::string TReadRegValueAction::GetExtraDescription() const {
  return " " + reg_value_name_ + " into " + bv_variable_;
}

void TReadRegValueAction::GetPropertyAlias(TStrings& list) const {
  TCustomRegAction::GetPropertyAlias(list);
  list.push_back("BVVariable=Variable");
}

void TReadRegValueAction::GetPropertyHelp(TStrings& list) const {
  TCustomRegAction::GetPropertyHelp(list);
  list.push_back("BVVariable=Variable to set");
}

bool TReadRegValueAction::InternalDoRegAction(TBVRegistry& registry,
                                              const std::string& value_name) {
  if (!IsVariableDefined(bv_variable_)) {
    SendMessage("Variable : " + bv_variable_ + " is not defined", stError);
    return false;
  }
  Variant value;
  std::string text;
  switch (reg_val_type_) {
    case rtInteger: {
      int32_t number = registry.ReadInteger(value_name);
      value = Variant(static_cast<int64_t>(number));
      text = std::to_string(number);
      break;
    }
    case rtString:
    case rtExpandString:
      text = registry.ReadString(value_name);
      value = Variant(text);
      break;
    case rtDWord: {
      uint32_t number = registry.ReadDWord(value_name);
      value = Variant(number);
      text = std::to_string(number);
      break;
    }
    case rtBoolean: {
      bool flag = registry.ReadBool(value_name);
      value = Variant(flag);
      text = flag ? "True" : "False";
      break;
    }
    default:
      SendMessage("Invalid value type", stError);
      return false;
  }
  SetVariable(bv_variable_, value);
  SendMessage("Read Value : " + text, stInfo);
  return true;
}

}  // namespace brivant

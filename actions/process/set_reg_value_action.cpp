#include "actions/process/set_reg_value_action.h"

#include <charconv>
#include <stdexcept>

#include "package/string_utils.h"

namespace brivant {
namespace {

// The 64-bit conversion: optional blanks, a sign, then decimal digits or
// hexadecimal ones after '$' or "0x".
int64_t StrToInt64(const std::string& text) {
  std::string_view digits = TrimView(text);
  bool negative = !digits.empty() && digits.front() == '-';
  if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) digits.remove_prefix(1);
  int base = 10;
  if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
    digits.remove_prefix(2);
    base = 16;
  } else if (digits.size() > 1 && digits[0] == '$') {
    digits.remove_prefix(1);
    base = 16;
  }
  uint64_t magnitude = 0;
  auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, base);
  bool fits = base == 16 || magnitude <= (negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || !fits)
    throw std::invalid_argument("'" + text + "' is not a valid integer value");
  return negative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
}

int32_t StrToInt(const std::string& text) {
  int32_t value = 0;
  if (!TryStrToInt(text, &value))
    throw std::invalid_argument("'" + text + "' is not a valid integer value");
  return value;
}

// The words True and False in any case, or a number, non-zero being True.
bool StrToBool(const std::string& text) {
  if (SameText(text, "True")) return true;
  if (SameText(text, "False")) return false;
  try {
    return StrToInt64(text) != 0;
  } catch (const std::invalid_argument&) {
    throw std::invalid_argument("'" + text + "' is not a valid boolean value");
  }
}

}  // namespace

const PropertyTable& TSetRegValueAction::Properties() {
  using T = TSetRegValueAction;
  static const PropertyTable table(
      &TCustomRegAction::Properties(),
      {Property("RegValue", &T::reg_value_),
       Property("AllowCreateKey", &T::allow_create_key_).Default("False")});
  return table;
}

std::string TSetRegValueAction::GetExtraDescription() const {
  return " " + reg_value_name_ + " => " + reg_value_;
}

void TSetRegValueAction::GetPropertyAlias(TStrings& list) const {
  TCustomRegAction::GetPropertyAlias(list);
  list.push_back("RegValue=Value");
}

void TSetRegValueAction::GetPropertyHelp(TStrings& list) const {
  TCustomRegAction::GetPropertyHelp(list);
  list.push_back("RegValue=The new value");
}

bool TSetRegValueAction::InternalDoRegAction(TBVRegistry& registry, const std::string& value_name) {
  std::string value;
  int32_t integer = 0;
  uint32_t dword = 0;
  bool flag = false;
  try {
    value = ExpandExpression(reg_value_, true);
    if (reg_val_type_ == rtInteger) integer = StrToInt(value);
    if (reg_val_type_ == rtDWord) dword = static_cast<uint32_t>(StrToInt64(value));
    if (reg_val_type_ == rtBoolean) flag = StrToBool(value);
  } catch (const std::exception& e) {
    SendMessage(std::string("Error expanding Value : ") + e.what(), stError);
    return false;
  }
  switch (reg_val_type_) {
    case rtInteger:
      registry.WriteInteger(value_name, integer);
      break;
    case rtDWord:
      registry.WriteDWord(value_name, dword);
      break;
    case rtBoolean:
      registry.WriteBool(value_name, flag);
      break;
    case rtExpandString:
      registry.WriteExpandString(value_name, value);
      break;
    default:
      registry.WriteString(value_name, value);
      break;
  }
  SendMessage("Set Value " + value_name + " to : " + value, stSuccess);
  return true;
}

}  // namespace brivant

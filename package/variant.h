// The value of a build variable: empty, a string, a whole number, a Boolean or
// a floating-point number. Actions write results with SetVariable and read them
// back with GetVariableValue; the host converts on demand.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace brivant {

enum class VariantType { kEmpty, kString, kInteger, kBoolean, kFloat };

class Variant {
 public:
  Variant() = default;
  Variant(std::string text) : value_(std::move(text)) {}
  Variant(const char* text) : value_(std::string(text)) {}
  Variant(int value) : value_(static_cast<int64_t>(value)) {}
  Variant(int64_t value) : value_(value) {}
  Variant(uint32_t value) : value_(static_cast<int64_t>(value)) {}
  Variant(bool value) : value_(value) {}
  Variant(double value) : value_(value) {}

  VariantType Type() const { return static_cast<VariantType>(value_.index()); }
  bool IsEmpty() const { return Type() == VariantType::kEmpty; }

  // Text form: integers in decimal, Booleans as "True"/"False", floats in the
  // shortest form that reads back to the same value, empty as "".
  std::string ToString() const;
  // Throws std::invalid_argument naming the text when it is not a number.
  int64_t ToInteger() const;
  double ToFloat() const;
  // "True"/"False" in any case, "1"/"0", or a non-zero number.
  bool ToBoolean() const;

  // Converts text to a value of the given type, as the project file and -D do.
  // Throws std::invalid_argument with a message naming the text.
  static Variant FromText(VariantType type, const std::string& text);

  friend bool operator==(const Variant&, const Variant&) = default;

 private:
  std::variant<std::monostate, std::string, int64_t, bool, double> value_;
};

// "String", "Integer", "Boolean", "Float"; parsing returns false for others.
std::string_view VariantTypeName(VariantType type);
bool ParseVariantTypeName(std::string_view name, VariantType* type);

}  // namespace brivant

#include "package/variant.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string_view>

#include "package/string_utils.h"

namespace brivant {
namespace {

constexpr std::array<std::string_view, 5> kTypeNames = {"", "String", "Integer", "Boolean",
                                                        "Float"};



bool ParseInteger(std::string_view text, int64_t* value) {
  text = TrimView(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

bool ParseFloat(std::string_view text, double* value) {
  text = TrimView(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

bool ParseBoolean(std::string_view text, bool* value) {
  text = TrimView(text);
  if (SameText(text, "true") || text == "1") {
    *value = true;
    return true;
  }
  if (SameText(text, "false") || text == "0") {
    *value = false;
    return true;
  }
  return false;
}

std::string ShortestFloat(double value) {
  char buffer[64];
  auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

}  // namespace

std::string_view VariantTypeName(VariantType type) {
  return kTypeNames[static_cast<size_t>(type)];
}

bool ParseVariantTypeName(std::string_view name, VariantType* type) {
  for (size_t i = 1; i < kTypeNames.size(); ++i) {
    if (SameText(name, kTypeNames[i])) {
      *type = static_cast<VariantType>(i);
      return true;
    }
  }
  return false;
}

std::string Variant::ToString() const {
  switch (Type()) {
    case VariantType::kEmpty:
      return {};
    case VariantType::kString:
      return std::get<std::string>(value_);
    case VariantType::kInteger:
      return std::to_string(std::get<int64_t>(value_));
    case VariantType::kBoolean:
      return std::get<bool>(value_) ? "True" : "False";
    case VariantType::kFloat:
      return ShortestFloat(std::get<double>(value_));
  }
  return {};
}

int64_t Variant::ToInteger() const {
  switch (Type()) {
    case VariantType::kEmpty:
      return 0;
    case VariantType::kInteger:
      return std::get<int64_t>(value_);
    case VariantType::kBoolean:
      return std::get<bool>(value_) ? -1 : 0;
    case VariantType::kFloat:
      return static_cast<int64_t>(std::llround(std::get<double>(value_)));
    case VariantType::kString: {
      int64_t result = 0;
      if (!ParseInteger(std::get<std::string>(value_), &result))
        throw std::invalid_argument("'" + std::get<std::string>(value_) +
                                    "' is not a valid integer value");
      return result;
    }
  }
  return 0;
}

double Variant::ToFloat() const {
  switch (Type()) {
    case VariantType::kEmpty:
      return 0;
    case VariantType::kInteger:
      return static_cast<double>(std::get<int64_t>(value_));
    case VariantType::kBoolean:
      return std::get<bool>(value_) ? -1 : 0;
    case VariantType::kFloat:
      return std::get<double>(value_);
    case VariantType::kString: {
      double result = 0;
      if (!ParseFloat(std::get<std::string>(value_), &result))
        throw std::invalid_argument("'" + std::get<std::string>(value_) +
                                    "' is not a valid floating point value");
      return result;
    }
  }
  return 0;
}

bool Variant::ToBoolean() const {
  switch (Type()) {
    case VariantType::kEmpty:
      return false;
    case VariantType::kInteger:
      return std::get<int64_t>(value_) != 0;
    case VariantType::kBoolean:
      return std::get<bool>(value_);
    case VariantType::kFloat:
      return std::get<double>(value_) != 0;
    case VariantType::kString: {
      bool result = false;
      if (ParseBoolean(std::get<std::string>(value_), &result)) return result;
      double number = 0;
      if (ParseFloat(std::get<std::string>(value_), &number)) return number != 0;
      throw std::invalid_argument("'" + std::get<std::string>(value_) +
                                  "' is not a valid boolean value");
    }
  }
  return false;
}

Variant Variant::FromText(VariantType type, const std::string& text) {
  switch (type) {
    case VariantType::kEmpty:
      return Variant();
    case VariantType::kString:
      return Variant(text);
    case VariantType::kInteger:
      return Variant(Variant(text).ToInteger());
    case VariantType::kBoolean: {
      bool value = false;
      if (!ParseBoolean(text, &value))
        throw std::invalid_argument("'" + text + "' is not a valid boolean value");
      return Variant(value);
    }
    case VariantType::kFloat:
      return Variant(Variant(text).ToFloat());
  }
  return Variant();
}

}  // namespace brivant

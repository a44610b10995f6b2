#include "package/property_table.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

#include "package/date_time.h"
#include "package/string_utils.h"
#include "package/xml_object.h"

namespace brivant {
namespace {



template <class T>
bool ParseNumber(std::string_view text, T* value) {
  text = TrimView(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
    base = 16;
  } else if (text.size() > 1 && text[0] == '$') {
    text.remove_prefix(1);
    base = 16;
  }
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value, base);
  return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

std::string ExpectedEnumValues(const EnumInfo& info) {
  if (info.value_names.empty()) return "an ordinal from 0 to " + std::to_string(info.max_ordinal);
  std::string list;
  for (auto name : info.value_names) {
    if (!list.empty()) list += ", ";
    list += name;
  }
  return "one of " + list;
}

bool ParseEnumValue(const EnumInfo& info, std::string_view text, int64_t* ordinal) {
  text = TrimView(text);
  for (size_t i = 0; i < info.value_names.size(); ++i) {
    if (SameText(text, info.value_names[i])) {
      *ordinal = static_cast<int64_t>(i);
      return true;
    }
  }
  int64_t number = 0;
  if (ParseNumber(text, &number) && number >= 0 && number < info.Count()) {
    *ordinal = number;
    return true;
  }
  return false;
}

std::string FormatEnumValue(const EnumInfo& info, int64_t ordinal) {
  if (ordinal >= 0 && ordinal < static_cast<int64_t>(info.value_names.size()))
    return std::string(info.value_names[static_cast<size_t>(ordinal)]);
  return std::to_string(ordinal);
}

std::string FormatIsoDateTime(double value) {
  CivilDateTime t = DecodeDateTime(TDateTime{value});
  char buffer[64];
  if (t.hour == 0 && t.minute == 0 && t.second == 0 && t.millisecond == 0) {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", t.year, t.month, t.day);
  } else if (t.millisecond == 0) {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d", t.year, t.month, t.day,
                  t.hour, t.minute, t.second);
  } else {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", t.year, t.month,
                  t.day, t.hour, t.minute, t.second, t.millisecond);
  }
  return buffer;
}

// Reads "YYYY-MM-DD" with an optional "THH:MM[:SS[.mmm]]" (a blank may stand
// for the T).
bool ParseIsoDateTime(std::string_view text, double* value) {
  text = TrimView(text);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
  auto take = [&text](int digits, int* out) {
    if (text.size() < static_cast<size_t>(digits)) return false;
    auto [end, error] = std::from_chars(text.data(), text.data() + digits, *out);
    if (error != std::errc() || end != text.data() + digits) return false;
    text.remove_prefix(static_cast<size_t>(digits));
    return true;
  };
  auto skip = [&text](char c) {
    if (text.empty() || text.front() != c) return false;
    text.remove_prefix(1);
    return true;
  };
  if (!take(4, &year) || !skip('-') || !take(2, &month) || !skip('-') || !take(2, &day))
    return false;
  if (!text.empty()) {
    if (!skip('T') && !skip(' ')) return false;
    if (!take(2, &hour) || !skip(':') || !take(2, &minute)) return false;
    if (skip(':')) {
      if (!take(2, &second)) return false;
      if (skip('.') && !take(3, &millisecond)) return false;
    }
    if (!text.empty()) return false;
  }
  try {
    *value = EncodeDateTime(year, month, day, hour, minute, second, millisecond).value;
  } catch (const std::invalid_argument&) {
    return false;
  }
  return true;
}

}  // namespace

PropertyTable::PropertyTable(const PropertyTable* inherited, std::vector<PropertyInfo> own,
                             std::initializer_list<std::string_view> dropped) {
  if (inherited != nullptr) {
    for (const PropertyInfo& row : inherited->Rows()) {
      bool drop = false;
      for (std::string_view name : dropped) drop = drop || SameText(name, row.name);
      if (!drop) rows_.push_back(row);
    }
  }
  for (PropertyInfo& row : own) {
    assert(Find(row.name) == nullptr && "a property is published twice");
    rows_.push_back(std::move(row));
  }
}

const PropertyInfo* PropertyTable::Find(std::string_view name) const {
  for (const PropertyInfo& row : rows_) {
    if (SameText(row.name, name)) return &row;
  }
  return nullptr;
}

std::vector<std::string_view> PropertyTable::Names() const {
  std::vector<std::string_view> names;
  names.reserve(rows_.size());
  for (const PropertyInfo& row : rows_) names.push_back(row.name);
  return names;
}

std::string FormatPropertyValue(const PropertyInfo& info, const PropertyValue& value) {
  switch (info.type) {
    case PropertyType::kString:
      return std::get<std::string>(value);
    case PropertyType::kBoolean:
      return std::get<bool>(value) ? "True" : "False";
    case PropertyType::kInteger:
    case PropertyType::kCardinal:
      if (info.named_values != nullptr) {
        for (const auto& [name, number] : *info.named_values) {
          if (number == std::get<int64_t>(value)) return std::string(name);
        }
      }
      return std::to_string(std::get<int64_t>(value));
    case PropertyType::kEnumeration:
      return FormatEnumValue(*info.enum_info, std::get<int64_t>(value));
    case PropertyType::kSet: {
      std::string text;
      auto bits = static_cast<uint64_t>(std::get<int64_t>(value));
      for (int i = 0; i < info.enum_info->Count(); ++i) {
        if ((bits & (uint64_t{1} << i)) == 0) continue;
        if (!text.empty()) text += ",";
        text += FormatEnumValue(*info.enum_info, i);
      }
      return text;
    }
    case PropertyType::kStringList: {
      std::string text;
      for (const std::string& line : std::get<std::vector<std::string>>(value)) {
        if (!text.empty()) text += "\n";
        text += line;
      }
      return text;
    }
    case PropertyType::kDateTime:
      return FormatIsoDateTime(std::get<double>(value));
    case PropertyType::kFloat: {
      char buffer[64];
      auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, std::get<double>(value));
      return error == std::errc() ? std::string(buffer, end) : "0";
    }
  }
  return {};
}

bool ParsePropertyValue(const PropertyInfo& info, std::string_view text, PropertyValue* value,
                        std::string* error) {
  auto fail = [&](const std::string& expected) {
    *error = "invalid value '" + std::string(text) + "' for " + std::string(info.name) +
             ": expected " + expected;
    return false;
  };
  if (info.named_values != nullptr) {
    for (const auto& [name, number] : *info.named_values) {
      if (!SameText(TrimView(text), name)) continue;
      *value = number;
      return true;
    }
  }
  switch (info.type) {
    case PropertyType::kString:
      *value = std::string(text);
      return true;
    case PropertyType::kBoolean: {
      std::string_view t = TrimView(text);
      if (SameText(t, "true") || t == "1") {
        *value = true;
        return true;
      }
      if (SameText(t, "false") || t == "0") {
        *value = false;
        return true;
      }
      return fail("True or False");
    }
    case PropertyType::kInteger: {
      int32_t number = 0;
      if (!ParseNumber(text, &number)) return fail("a whole number from -2147483648 to 2147483647");
      *value = int64_t{number};
      return true;
    }
    case PropertyType::kCardinal: {
      uint32_t number = 0;
      if (!ParseNumber(text, &number)) return fail("a whole number from 0 to 4294967295");
      *value = int64_t{number};
      return true;
    }
    case PropertyType::kEnumeration: {
      int64_t ordinal = 0;
      if (!ParseEnumValue(*info.enum_info, text, &ordinal)) {
        *error = "unknown value '" + std::string(TrimView(text)) + "' of " +
                 std::string(info.enum_info->type_name) + " for " + std::string(info.name) +
                 ": expected " + ExpectedEnumValues(*info.enum_info);
        return false;
      }
      *value = ordinal;
      return true;
    }
    case PropertyType::kSet: {
      std::string_view rest = TrimView(text);
      if (!rest.empty() && rest.front() == '[' && rest.back() == ']')
        rest = rest.substr(1, rest.size() - 2);
      int64_t bits = 0;
      while (!TrimView(rest).empty()) {
        size_t comma = rest.find(',');
        std::string_view item = TrimView(rest.substr(0, comma));
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        int64_t ordinal = 0;
        if (!ParseEnumValue(*info.enum_info, item, &ordinal)) {
          *error = "unknown value '" + std::string(item) + "' of " +
                   std::string(info.enum_info->type_name) + " in the set " +
                   std::string(info.name) + ": expected " + ExpectedEnumValues(*info.enum_info);
          return false;
        }
        bits |= int64_t{1} << ordinal;
      }
      *value = bits;
      return true;
    }
    case PropertyType::kStringList: {
      std::vector<std::string> lines;
      size_t start = 0;
      while (start <= text.size() && !text.empty()) {
        size_t end = text.find('\n', start);
        std::string_view line = text.substr(start, end == std::string_view::npos ? end : end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.emplace_back(line);
        if (end == std::string_view::npos) break;
        start = end + 1;
      }
      *value = std::move(lines);
      return true;
    }
    case PropertyType::kDateTime: {
      double date = 0;
      if (!ParseIsoDateTime(text, &date))
        return fail("an ISO 8601 date such as 2009-03-05 or 2009-03-05T14:30:00");
      *value = date;
      return true;
    }
    case PropertyType::kFloat: {
      std::string_view t = TrimView(text);
      double number = 0;
      auto [end, parse_error] = std::from_chars(t.data(), t.data() + t.size(), number);
      if (t.empty() || parse_error != std::errc() || end != t.data() + t.size() ||
          !std::isfinite(number))
        return fail("a number");
      *value = number;
      return true;
    }
  }
  return fail("a value");
}

PropertyValue GetProperty(const TOXXMLObject& object, const PropertyInfo& info) {
  return info.get(object);
}

void SetProperty(TOXXMLObject& object, const PropertyInfo& info, const PropertyValue& value) {
  assert(info.set && "setting a read-only property");
  if (info.set) info.set(object, value);
}

}  // namespace brivant

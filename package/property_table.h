// Published properties. Each action class has exactly one table listing its
// published properties in published order (inherited ones first): name, type,
// default, whether it is stored, getter and setter. The project loader, the
// `props` command, scripts and the design-time lists all read the table, so
// adding a property means adding one row.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace brivant {

class TOXXMLObject;

enum class PropertyType {
  kString,
  kBoolean,
  kInteger,      // signed 32 bit
  kCardinal,     // unsigned 32 bit
  kEnumeration,  // ordinal, with value names when the type has them
  kSet,          // bit mask of an enumeration's ordinals
  kStringList,
  kDateTime,     // days since 1899-12-30, fraction = time of day
  kFloat,
};

// An enumeration type as the project file sees it. Types without value names
// (TEncodingType) are written as ordinals up to max_ordinal.
struct EnumInfo {
  std::string_view type_name;
  std::vector<std::string_view> value_names;
  int max_ordinal = -1;  // used only when value_names is empty

  int Count() const {
    return value_names.empty() ? max_ordinal + 1 : static_cast<int>(value_names.size());
  }
};

// Specialise for each enumeration used as a property type:
//   template <> struct EnumTraits<TBVWriteToPos> { static const EnumInfo& Info(); };
template <class E>
struct EnumTraits;

// A set of enumeration values, stored as a bit mask of their ordinals.
template <class E>
struct TSet {
  uint32_t bits = 0;
  bool Contains(E value) const { return bits & (1u << static_cast<int>(value)); }
  void Include(E value) { bits |= 1u << static_cast<int>(value); }
  void Exclude(E value) { bits &= ~(1u << static_cast<int>(value)); }
  friend bool operator==(const TSet&, const TSet&) = default;
};

// A point in time as the host's date/time type: days since 1899-12-30 with
// the time of day as the fraction.
struct TDateTime {
  double value = 0;
  friend bool operator==(const TDateTime&, const TDateTime&) = default;
};

// A property's value in its natural representation. Integer, Cardinal,
// enumeration ordinals and set masks are int64_t; date/time and float double.
using PropertyValue = std::variant<std::string, bool, int64_t, double, std::vector<std::string>>;

struct PropertyInfo {
  std::string_view name;
  PropertyType type = PropertyType::kString;
  std::string_view type_name;  // shown by `props`: "string", "TVariableName", ...
  const EnumInfo* enum_info = nullptr;
  std::string default_text;  // as a project file writes it
  bool stored = true;
  bool default_is_dynamic = false;  // e.g. "the moment the object was created"
  std::function<PropertyValue(const TOXXMLObject&)> get;
  std::function<void(TOXXMLObject&, const PropertyValue&)> set;  // empty: read-only
  // Numbers that also go by a name (an HKEY root: HKEY_LOCAL_MACHINE is
  // 0x80000002). Integer and Cardinal rows written by name, read either way.
  const std::vector<std::pair<std::string_view, int64_t>>* named_values = nullptr;

  bool IsReadOnly() const { return !set; }

  // Chainable adjustments for table rows.
  PropertyInfo&& Default(std::string_view text) && { default_text = text; return std::move(*this); }
  PropertyInfo&& NotStored() && { stored = false; return std::move(*this); }
  PropertyInfo&& TypeName(std::string_view name_of_type) && { type_name = name_of_type; return std::move(*this); }
  PropertyInfo&& NamedValues(const std::vector<std::pair<std::string_view, int64_t>>* names) && {
    named_values = names;
    return std::move(*this);
  }
  PropertyInfo&& DynamicDefault(std::string_view description) && {
    default_text = description;
    default_is_dynamic = true;
    return std::move(*this);
  }
};

class PropertyTable {
 public:
  // The inherited table's rows come first, except those named in `dropped`
  // (a class that republishes its base's list without some of them).
  PropertyTable(const PropertyTable* inherited, std::vector<PropertyInfo> own,
                std::initializer_list<std::string_view> dropped = {});
  const std::vector<PropertyInfo>& Rows() const { return rows_; }
  // Property names compare case-insensitively, as the host's persistence does.
  const PropertyInfo* Find(std::string_view name) const;
  std::vector<std::string_view> Names() const;

 private:
  std::vector<PropertyInfo> rows_;
};

// Text form of a value, as a project file stores it: Booleans "True"/"False",
// enumerations by value name (ordinal when the type has no names), sets as a
// comma-separated list of names, dates ISO 8601, string lists one per line.
std::string FormatPropertyValue(const PropertyInfo& info, const PropertyValue& value);

// Parses the text form. On failure returns false and sets *error to a message
// that names the value and what was expected (no file or line).
bool ParsePropertyValue(const PropertyInfo& info, std::string_view text, PropertyValue* value,
                        std::string* error);

// Reads a property through its getter / writes it through its setter (so
// coupled setters behave as they do for a user). Setting a read-only property
// is a programmer error.
PropertyValue GetProperty(const TOXXMLObject& object, const PropertyInfo& info);
void SetProperty(TOXXMLObject& object, const PropertyInfo& info, const PropertyValue& value);

namespace property_detail {

template <class T>
struct Kind;
template <>
struct Kind<std::string> {
  static constexpr PropertyType kType = PropertyType::kString;
  static constexpr std::string_view kName = "string";
  static PropertyValue To(const std::string& v) { return v; }
  static std::string From(const PropertyValue& v) { return std::get<std::string>(v); }
};
template <>
struct Kind<bool> {
  static constexpr PropertyType kType = PropertyType::kBoolean;
  static constexpr std::string_view kName = "Boolean";
  static PropertyValue To(bool v) { return v; }
  static bool From(const PropertyValue& v) { return std::get<bool>(v); }
};
template <>
struct Kind<int32_t> {
  static constexpr PropertyType kType = PropertyType::kInteger;
  static constexpr std::string_view kName = "Integer";
  static PropertyValue To(int32_t v) { return int64_t{v}; }
  static int32_t From(const PropertyValue& v) { return static_cast<int32_t>(std::get<int64_t>(v)); }
};
template <>
struct Kind<uint32_t> {
  static constexpr PropertyType kType = PropertyType::kCardinal;
  static constexpr std::string_view kName = "Cardinal";
  static PropertyValue To(uint32_t v) { return int64_t{v}; }
  static uint32_t From(const PropertyValue& v) { return static_cast<uint32_t>(std::get<int64_t>(v)); }
};
template <>
struct Kind<double> {
  static constexpr PropertyType kType = PropertyType::kFloat;
  static constexpr std::string_view kName = "Double";
  static PropertyValue To(double v) { return v; }
  static double From(const PropertyValue& v) { return std::get<double>(v); }
};
template <>
struct Kind<TDateTime> {
  static constexpr PropertyType kType = PropertyType::kDateTime;
  static constexpr std::string_view kName = "TDateTime";
  static PropertyValue To(TDateTime v) { return v.value; }
  static TDateTime From(const PropertyValue& v) { return TDateTime{std::get<double>(v)}; }
};
template <>
struct Kind<std::vector<std::string>> {
  static constexpr PropertyType kType = PropertyType::kStringList;
  static constexpr std::string_view kName = "TStrings";
  static PropertyValue To(const std::vector<std::string>& v) { return v; }
  static std::vector<std::string> From(const PropertyValue& v) {
    return std::get<std::vector<std::string>>(v);
  }
};
template <class E>
  requires std::is_enum_v<E>
struct Kind<E> {
  static constexpr PropertyType kType = PropertyType::kEnumeration;
  static PropertyValue To(E v) { return static_cast<int64_t>(v); }
  static E From(const PropertyValue& v) { return static_cast<E>(std::get<int64_t>(v)); }
};
template <class E>
struct Kind<TSet<E>> {
  static constexpr PropertyType kType = PropertyType::kSet;
  static PropertyValue To(TSet<E> v) { return static_cast<int64_t>(v.bits); }
  static TSet<E> From(const PropertyValue& v) {
    return TSet<E>{static_cast<uint32_t>(std::get<int64_t>(v))};
  }
};

template <class T>
PropertyInfo Describe(std::string_view name) {
  PropertyInfo info;
  info.name = name;
  info.type = Kind<T>::kType;
  if constexpr (std::is_enum_v<T>) {
    info.enum_info = &EnumTraits<T>::Info();
    info.type_name = info.enum_info->type_name;
  } else {
    info.type_name = Kind<T>::kName;
  }
  return info;
}

template <class T>
struct SetElement;
template <class E>
struct SetElement<TSet<E>> {
  using type = E;
};

template <class T>
PropertyInfo DescribeType(std::string_view name) {
  if constexpr (Kind<T>::kType == PropertyType::kSet) {
    PropertyInfo info;
    info.name = name;
    info.type = PropertyType::kSet;
    info.enum_info = &EnumTraits<typename SetElement<T>::type>::Info();
    return info;
  } else {
    return Describe<T>(name);
  }
}

}  // namespace property_detail

// A row for a published property backed directly by a data member.
template <class C, class T>
PropertyInfo Property(std::string_view name, T C::*field) {
  using K = property_detail::Kind<T>;
  PropertyInfo info = property_detail::DescribeType<T>(name);
  info.get = [field](const TOXXMLObject& o) { return K::To(static_cast<const C&>(o).*field); };
  info.set = [field](TOXXMLObject& o, const PropertyValue& v) { static_cast<C&>(o).*field = K::From(v); };
  return info;
}

namespace property_detail {

// A row that reads through a const getter; the caller adds the setter.
template <class C, class G>
PropertyInfo WithGetter(std::string_view name, G (C::*getter)() const) {
  using K = Kind<std::remove_cvref_t<G>>;
  PropertyInfo info = DescribeType<std::remove_cvref_t<G>>(name);
  info.get = [getter](const TOXXMLObject& o) { return K::To((static_cast<const C&>(o).*getter)()); };
  return info;
}

}  // namespace property_detail

// A row for a property with accessors (coupled setters, legacy mappings).
// A null setter gives a read-only row; it stays stored unless NotStored says not.
template <class C, class G, class S>
PropertyInfo Property(std::string_view name, G (C::*getter)() const, void (C::*setter)(S)) {
  using K = property_detail::Kind<std::remove_cvref_t<G>>;
  PropertyInfo info = property_detail::WithGetter(name, getter);
  if (setter != nullptr) {
    info.set = [setter](TOXXMLObject& o, const PropertyValue& v) {
      (static_cast<C&>(o).*setter)(K::From(v));
    };
  }
  return info;
}

// A read-only result property (a count, a return code): published so that
// scripts can read it, never stored.
template <class C, class G>
PropertyInfo ReadOnlyProperty(std::string_view name, G (C::*getter)() const) {
  PropertyInfo info = property_detail::WithGetter(name, getter);
  info.stored = false;
  return info;
}

}  // namespace brivant

#include "actions/values/date_time_action.h"

#include <cstdlib>
#include <stdexcept>

#include "package/string_utils.h"

namespace brivant {
namespace {

constexpr const char* kUnitWords[] = {"seconds", "minutes", "hours", "days",
                                      "weeks",   "months",  "years"};

// Quotes every ':' and '/' exactly once, so the formatter writes them as they
// stand instead of the regional separators.
std::string ForceLiteralSeparators(std::string format) {
  format = ReplaceAll(format, "\":\"", ":");
  format = ReplaceAll(format, "':'", ":");
  format = ReplaceAll(format, ":", "\":\"");
  format = ReplaceAll(format, "\"/\"", "/");
  format = ReplaceAll(format, "'/'", "/");
  format = ReplaceAll(format, "/", "\"/\"");
  return format;
}

TDateTime AddUnits(TDateTime date, TManipulationUnit unit, int32_t count) {
  switch (unit) {
    case TManipulationUnit::Seconds:
      return IncSeconds(date, count);
    case TManipulationUnit::Minutes:
      return IncMinutes(date, count);
    case TManipulationUnit::Hours:
      return IncHours(date, count);
    case TManipulationUnit::Days:
      return IncDays(date, count);
    case TManipulationUnit::Weeks:
      return IncWeeks(date, count);
    case TManipulationUnit::Months:
      return IncMonths(date, count);
    case TManipulationUnit::Years:
      return IncYears(date, count);
  }
  return date;
}

}  // namespace

const EnumInfo& EnumTraits<TManipulationType>::Info() {
  static const EnumInfo info{"TManipulationType", {"Add", "Subtract"}};
  return info;
}

const EnumInfo& EnumTraits<TManipulationUnit>::Info() {
  static const EnumInfo info{
      "TManipulationUnit", {"Seconds", "Minutes", "Hours", "Days", "Weeks", "Months", "Years"}};
  return info;
}

TCustomDateTimeAction::TCustomDateTimeAction() : the_date_(Now()) {}

const PropertyTable& TDateTimeAction::Properties() {
  using T = TDateTimeAction;
  static const PropertyTable table(
      nullptr, {
                   Property("DateFormat", &T::date_format_).Default("ddmmyyyy"),
                   Property("TheDate", &T::the_date_).DynamicDefault("the time the action was created"),
                   Property("UseNow", &T::use_now_).Default("True"),
                   Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
                   Property("ForceSeparators", &T::force_separators_).Default("False"),
                   Property("ManipulationType", &T::manipulation_type_).Default("Add"),
                   Property("ManipulationUnit", &T::manipulation_unit_).Default("Seconds"),
                   Property("ManipulationValue", &T::manipulation_value_),
               });
  return table;
}

std::string TCustomDateTimeAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + date_format_ + " -> " + bv_variable_ + " ]";
}

void TCustomDateTimeAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Get DateTime]", "BVVariable=Variable", "DateFormat=Date Format",
               "UseNow=Use Current Date/Time", "TheDate=Date/Time",
               "ForceSeparators=Force Separators", "ManipulationType=Manipulation Type",
               "ManipulationUnit=Manipulation Unit", "ManipulationValue=Manipulation Value"});
}

void TCustomDateTimeAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"BVVariable=Variable to receive the formatted date/time",
       "DateFormat=Format of the date/time (eg. dd/mm/yyyy hh:nn:ss)",
       "UseNow=Use the current date and time instead of the date specified",
       "TheDate=The date and time to use when the current date and time is not used",
       "ForceSeparators=Ignore regional settings for the separators and literally use the "
       "separators specified in Date Format",
       "ManipulationType=Add or Subtract a value to/from the date/time",
       "ManipulationUnit=The date/time unit to add or subtract from the date/time",
       "ManipulationValue=The amount of units to add or subtract from the date/time"});
}

bool TCustomDateTimeAction::Manipulate(TDateTime* date) {
  std::string text;
  if (!TryExpandExpression("Manipulation Value", manipulation_value_, text, true)) return false;
  if (text.empty()) return true;
  int32_t count = 0;
  if (!TryStrToInt(text, &count)) {
    SendMessage("Error converting manipulation value to integer: '" + text +
                    "' is not a valid integer value",
                stError);
    return false;
  }
  if (manipulation_type_ == TManipulationType::Subtract) count = -count;
  *date = AddUnits(*date, manipulation_unit_, count);
  const char* unit = kUnitWords[static_cast<int>(manipulation_unit_)];
  if (manipulation_type_ == TManipulationType::Subtract) {
    SendMessage("Subtracted " + std::to_string(std::llabs(int64_t{count})) + " " + unit, stInfo);
  } else {
    SendMessage("Added " + std::to_string(count) + " " + unit, stInfo);
  }
  return true;
}

bool TCustomDateTimeAction::Execute() {
  std::string name;
  try {
    name = Trim(ExpandExpression(bv_variable_, true));
  } catch (const std::exception& e) {
    SendMessage(std::string("Error Expanding String property (Variable) : ") + e.what(), stError);
    return false;
  }
  if (!IsVariableDefined(name)) {
    SendMessage("Variable : " + name + " - does not exist!", stError);
    return false;
  }
  if (name.empty()) {
    SendMessage("Variable name must be specified!", stError);
    return false;
  }

  std::string format;
  try {
    format = Trim(ExpandExpression(date_format_, true));
  } catch (const std::exception& e) {
    SendMessage(std::string("Error Expanding String property (DateFormat) : ") + e.what(),
                stError);
    return false;
  }
  if (format.empty()) {
    SendMessage("A Date Format must be specified!", stError);
    return false;
  }
  if (force_separators_) format = ForceLiteralSeparators(format);

  TDateTime date = use_now_ ? Now() : the_date_;
  std::string text;
  try {
    if (!Manipulate(&date)) return false;
    text = FormatDateTime(format, date);
  } catch (const std::out_of_range& e) {
    SendMessage(std::string("Date/time out of range: ") + e.what(), stError);
    return false;
  }
  SetVariable(name, Variant(text));
  SendMessage("Set Variable \"" + name + "\" to \"" + text + "\"", stSuccess);
  return true;
}

}  // namespace brivant

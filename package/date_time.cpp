#include "package/date_time.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "package/string_utils.h"
#include "platform/regional_settings.h"

namespace brivant {
namespace {

constexpr int64_t kMsPerSecond = 1000;
constexpr int64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr int64_t kMsPerHour = 60 * kMsPerMinute;
constexpr int64_t kMsPerDay = 24 * kMsPerHour;
constexpr int64_t kMsPerWeek = 7 * kMsPerDay;

// Day numbers of 0001-01-01 and 9999-12-31, the ends of the supported range.
constexpr int64_t kFirstDay = -693593;
constexpr int64_t kLastDay = 2958465;
// Milliseconds from the first to the end of the last supported day; no step
// longer than this can stay in range, and none this long overflows int64_t.
constexpr int64_t kRangeMs = (kLastDay - kFirstDay + 1) * kMsPerDay;

// Day number of 1970-01-01, which the civil-day arithmetic below counts from.
constexpr int64_t kUnixEpochDay = 25569;

// Nested formats (c, ddddd, t, ...) expand this many levels below the pattern.
constexpr int kMaxNesting = 2;

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t FloorMod(int64_t a, int64_t b) { return a - FloorDiv(a, b) * b; }

bool IsLeapYear(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysInMonth(int64_t year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days since 1899-12-30 of a proleptic Gregorian date. The shift to a year
// starting in March puts the leap day last, so each 400-year era is uniform
// (the days_from_civil method of H. Hinnant, "chrono-Compatible Low-Level Date
// Algorithms").
int64_t DayNumber(int64_t year, int month, int day) {
  year -= month <= 2;
  const int64_t era = FloorDiv(year, 400);
  const int64_t year_of_era = year - era * 400;
  const int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468 + kUnixEpochDay;
}

// The inverse of DayNumber (civil_from_days from the same paper).
void CivilFromDayNumber(int64_t day_number, CivilDateTime* civil) {
  const int64_t days = day_number - kUnixEpochDay + 719468;
  const int64_t era = FloorDiv(days, 146097);
  const int64_t day_of_era = days - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t shifted_month = (5 * day_of_year + 2) / 153;
  civil->day = static_cast<int>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
  civil->month = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  civil->year = static_cast<int>(year_of_era + era * 400 + (civil->month <= 2));
}

// A TDateTime as its calendar day and the milliseconds since that day began.
struct DayAndTime {
  int64_t day = 0;
  int64_t ms = 0;
};

[[noreturn]] void ThrowOutOfRange(const std::string& what) {
  throw std::out_of_range(what + " is outside 0001-01-01 to 9999-12-31");
}

[[noreturn]] void ThrowResultOutOfRange(const char* operation) {
  ThrowOutOfRange(std::string("result of ") + operation);
}

DayAndTime Split(TDateTime value) {
  if (!std::isfinite(value.value) || value.value <= static_cast<double>(kFirstDay - 1) ||
      value.value >= static_cast<double>(kLastDay + 1)) {
    ThrowOutOfRange("date/time value " + FloatToStr(value.value));
  }
  const double whole_days = std::trunc(value.value);
  DayAndTime split;
  split.day = static_cast<int64_t>(whole_days);
  split.ms = std::llround(std::fabs(value.value - whole_days) * static_cast<double>(kMsPerDay));
  if (split.ms < kMsPerDay) return split;
  // Rounded up to midnight. The time line continues into the next calendar
  // day whichever side of day 0 we are on; at the very end there is none.
  if (split.day < kLastDay) {
    ++split.day;
    split.ms = 0;
  } else {
    split.ms = kMsPerDay - 1;
  }
  return split;
}

TDateTime Join(int64_t day, int64_t ms) {
  const double time = static_cast<double>(ms) / static_cast<double>(kMsPerDay);
  const double whole_days = static_cast<double>(day);
  return TDateTime{day >= 0 ? whole_days + time : whole_days - time};
}

TDateTime FromTimeLine(int64_t linear_ms, const char* operation) {
  const int64_t day = FloorDiv(linear_ms, kMsPerDay);
  if (day < kFirstDay || day > kLastDay) ThrowResultOutOfRange(operation);
  return Join(day, linear_ms - day * kMsPerDay);
}

TDateTime AddSpan(TDateTime value, int64_t count, int64_t unit_ms, const char* operation) {
  const DayAndTime start = Split(value);
  if (count > kRangeMs / unit_ms || count < -kRangeMs / unit_ms) {
    ThrowResultOutOfRange(operation);
  }
  return FromTimeLine(start.day * kMsPerDay + start.ms + count * unit_ms, operation);
}

TDateTime AddMonths(TDateTime value, int64_t months, const char* operation) {
  const DayAndTime start = Split(value);
  CivilDateTime civil;
  CivilFromDayNumber(start.day, &civil);
  const int64_t month_index = int64_t{civil.year} * 12 + (civil.month - 1) + months;
  const int64_t year = FloorDiv(month_index, 12);
  const int month = static_cast<int>(month_index - year * 12) + 1;
  if (year < 1 || year > 9999) ThrowResultOutOfRange(operation);
  const int day = std::min(civil.day, DaysInMonth(year, month));
  return Join(DayNumber(year, month, day), start.ms);
}

char ToUpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

bool IsQuote(char c) { return c == '\'' || c == '"'; }

// Letters that start a field; a run of one of them is one field.
bool IsFieldLetter(char upper) {
  return std::string_view("CDEGHMNSTYZ").find(upper) != std::string_view::npos;
}

// Length of the am/pm specifier starting at `pos`, or 0 when there is none.
// "am/pm" is tried before "ampm" and "a/p" because it starts like them.
size_t AmPmLength(std::string_view pattern, size_t pos) {
  for (std::string_view form : {"am/pm", "ampm", "a/p"}) {
    if (SameText(pattern.substr(pos, form.size()), form)) return form.size();
  }
  return 0;
}

// Index just past the quoted literal whose opening quote is at `pos`.
size_t QuotedEnd(std::string_view pattern, size_t pos) {
  const size_t close = pattern.find(pattern[pos], pos + 1);
  return close == std::string_view::npos ? pattern.size() : close + 1;
}

// Hours are on the 12-hour clock when any am/pm specifier appears outside
// quotes, before or after them.
bool UsesTwelveHourClock(std::string_view pattern) {
  for (size_t pos = 0; pos < pattern.size();) {
    if (IsQuote(pattern[pos])) {
      pos = QuotedEnd(pattern, pos);
      continue;
    }
    if (ToUpperAscii(pattern[pos]) == 'A' && AmPmLength(pattern, pos) > 0) return true;
    ++pos;
  }
  return false;
}

size_t RunLength(std::string_view pattern, size_t pos) {
  const char upper = ToUpperAscii(pattern[pos]);
  size_t end = pos + 1;
  while (end < pattern.size() && ToUpperAscii(pattern[end]) == upper) ++end;
  return end - pos;
}

class PatternWriter {
 public:
  PatternWriter(const CivilDateTime& civil, const TFormatSettings& settings)
      : civil_(civil), settings_(settings) {}

  void Append(std::string_view pattern, int depth);
  std::string Take() { return std::move(out_); }

 private:
  void AppendField(char field, size_t count, bool twelve_hour, int depth);
  void AppendDay(size_t count, int depth);
  void AppendMonth(size_t count);
  void AppendAmPm(std::string_view specifier);
  void AppendNumber(int number, size_t min_digits);

  int ClockHour(bool twelve_hour) const {
    if (!twelve_hour) return civil_.hour;
    return civil_.hour % 12 == 0 ? 12 : civil_.hour % 12;
  }
  bool IsMidnight() const {
    return civil_.hour == 0 && civil_.minute == 0 && civil_.second == 0 && civil_.millisecond == 0;
  }

  const CivilDateTime& civil_;
  const TFormatSettings& settings_;
  std::string out_;
};

void PatternWriter::Append(std::string_view pattern, int depth) {
  if (depth > kMaxNesting) return;
  const bool twelve_hour = UsesTwelveHourClock(pattern);
  // Upper-case letter of the last field written, for the minutes-after-hours rule.
  char previous_field = 0;
  size_t pos = 0;
  while (pos < pattern.size()) {
    const char c = pattern[pos];
    if (IsQuote(c)) {
      const size_t end = QuotedEnd(pattern, pos);
      const bool closed = end - pos >= 2 && pattern[end - 1] == c;
      out_ += pattern.substr(pos + 1, end - pos - 1 - (closed ? 1 : 0));
      pos = end;
      continue;
    }
    if (c == '/' || c == ':') {
      out_ += c == '/' ? settings_.date_separator : settings_.time_separator;
      ++pos;
      continue;
    }
    char field = ToUpperAscii(c);
    const size_t am_pm_length = field == 'A' ? AmPmLength(pattern, pos) : 0;
    if (am_pm_length > 0) {
      AppendAmPm(pattern.substr(pos, am_pm_length));
      previous_field = 'A';
      pos += am_pm_length;
      continue;
    }
    if (!IsFieldLetter(field)) {
      out_ += c;
      ++pos;
      continue;
    }
    const size_t count = RunLength(pattern, pos);
    // Month names stay names; only the numeric forms turn into minutes.
    if (field == 'M' && count <= 2 && previous_field == 'H') field = 'N';
    AppendField(field, count, twelve_hour, depth);
    previous_field = field;
    pos += count;
  }
}

void PatternWriter::AppendField(char field, size_t count, bool twelve_hour, int depth) {
  switch (field) {
    case 'C':
      Append(settings_.short_date_format, depth + 1);
      if (IsMidnight()) return;
      out_ += ' ';
      Append(settings_.long_time_format, depth + 1);
      return;
    case 'D':
      return AppendDay(count, depth);
    case 'M':
      return AppendMonth(count);
    // The Gregorian calendar has a single unnamed era, so the era year is the
    // year and the era name is empty.
    case 'E':
      return count == 1 ? AppendNumber(civil_.year, 1) : AppendNumber(civil_.year % 100, 2);
    case 'G':
      return;
    case 'Y':
      return count <= 2 ? AppendNumber(civil_.year % 100, 2) : AppendNumber(civil_.year, 4);
    case 'H':
      return AppendNumber(ClockHour(twelve_hour), count == 1 ? 1 : 2);
    case 'N':
      return AppendNumber(civil_.minute, count == 1 ? 1 : 2);
    case 'S':
      return AppendNumber(civil_.second, count == 1 ? 1 : 2);
    case 'Z':
      return AppendNumber(civil_.millisecond, count <= 2 ? 1 : 3);
    case 'T':
      return Append(count == 1 ? settings_.short_time_format : settings_.long_time_format,
                    depth + 1);
    default:
      return;
  }
}

void PatternWriter::AppendDay(size_t count, int depth) {
  const size_t weekday = static_cast<size_t>(civil_.day_of_week - 1);
  switch (count) {
    case 1:
      return AppendNumber(civil_.day, 1);
    case 2:
      return AppendNumber(civil_.day, 2);
    case 3:
      out_ += settings_.short_day_names[weekday];
      return;
    case 4:
      out_ += settings_.long_day_names[weekday];
      return;
    case 5:
      return Append(settings_.short_date_format, depth + 1);
    default:
      return Append(settings_.long_date_format, depth + 1);
  }
}

void PatternWriter::AppendMonth(size_t count) {
  const size_t index = static_cast<size_t>(civil_.month - 1);
  switch (count) {
    case 1:
      return AppendNumber(civil_.month, 1);
    case 2:
      return AppendNumber(civil_.month, 2);
    case 3:
      out_ += settings_.short_month_names[index];
      return;
    default:
      out_ += settings_.long_month_names[index];
      return;
  }
}

// "am/pm" and "a/p" copy the half of the specifier that applies, so the
// pattern's letter case carries through.
void PatternWriter::AppendAmPm(std::string_view specifier) {
  const bool morning = civil_.hour < 12;
  if (specifier.size() == 4) {
    out_ += morning ? settings_.time_am_string : settings_.time_pm_string;
  } else if (specifier.size() == 5) {
    out_ += morning ? specifier.substr(0, 2) : specifier.substr(3, 2);
  } else {
    out_ += morning ? specifier[0] : specifier[2];
  }
}

void PatternWriter::AppendNumber(int number, size_t min_digits) {
  const std::string digits = std::to_string(number);
  if (digits.size() < min_digits) out_.append(min_digits - digits.size(), '0');
  out_ += digits;
}

TFormatSettings SettingsFromLocale() {
  const platform::RegionalSettings regional = platform::GetRegionalSettings();
  TFormatSettings settings;
  auto overlay = [](const auto& from, auto* to) {
    if (!from.empty()) *to = from;
  };
  auto overlay_names = [](const auto& from, auto* to) {
    if (!from[0].empty()) *to = from;
  };
  overlay(regional.date_separator, &settings.date_separator);
  overlay(regional.time_separator, &settings.time_separator);
  overlay(regional.am_string, &settings.time_am_string);
  overlay(regional.pm_string, &settings.time_pm_string);
  overlay(regional.short_date_format, &settings.short_date_format);
  overlay(regional.short_time_format, &settings.short_time_format);
  overlay(regional.long_time_format, &settings.long_time_format);
  overlay_names(regional.short_month_names, &settings.short_month_names);
  overlay_names(regional.long_month_names, &settings.long_month_names);
  overlay_names(regional.short_day_names, &settings.short_day_names);
  overlay_names(regional.long_day_names, &settings.long_day_names);
  return settings;
}

}  // namespace

TDateTime EncodeDateTime(int year, int month, int day, int hour, int minute, int second, int ms) {
  char text[64];
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 ||
      day > DaysInMonth(year, month)) {
    std::snprintf(text, sizeof text, "invalid date %04d-%02d-%02d", year, month, day);
    throw std::invalid_argument(text);
  }
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 || ms < 0 ||
      ms > 999) {
    std::snprintf(text, sizeof text, "invalid time %02d:%02d:%02d.%03d", hour, minute, second, ms);
    throw std::invalid_argument(text);
  }
  const int64_t time_ms = hour * kMsPerHour + minute * kMsPerMinute + second * kMsPerSecond + ms;
  return Join(DayNumber(year, month, day), time_ms);
}

CivilDateTime DecodeDateTime(TDateTime value) {
  const DayAndTime split = Split(value);
  CivilDateTime civil;
  CivilFromDayNumber(split.day, &civil);
  civil.hour = static_cast<int>(split.ms / kMsPerHour);
  civil.minute = static_cast<int>(split.ms % kMsPerHour / kMsPerMinute);
  civil.second = static_cast<int>(split.ms % kMsPerMinute / kMsPerSecond);
  civil.millisecond = static_cast<int>(split.ms % kMsPerSecond);
  // Day 0, 1899-12-30, was a Saturday.
  civil.day_of_week = static_cast<int>(FloorMod(split.day + 6, 7)) + 1;
  return civil;
}

TDateTime Now() {
  const platform::LocalTime now = platform::LocalNow();
  return EncodeDateTime(now.year, now.month, now.day, now.hour, now.minute, now.second,
                        now.millisecond);
}

TDateTime IncSeconds(TDateTime value, int64_t count) {
  return AddSpan(value, count, kMsPerSecond, "IncSeconds");
}
TDateTime IncMinutes(TDateTime value, int64_t count) {
  return AddSpan(value, count, kMsPerMinute, "IncMinutes");
}
TDateTime IncHours(TDateTime value, int64_t count) {
  return AddSpan(value, count, kMsPerHour, "IncHours");
}
TDateTime IncDays(TDateTime value, int64_t count) {
  return AddSpan(value, count, kMsPerDay, "IncDays");
}
TDateTime IncWeeks(TDateTime value, int64_t count) {
  return AddSpan(value, count, kMsPerWeek, "IncWeeks");
}
TDateTime IncMonths(TDateTime value, int count) { return AddMonths(value, count, "IncMonths"); }
TDateTime IncYears(TDateTime value, int count) {
  return AddMonths(value, int64_t{count} * 12, "IncYears");
}

const TFormatSettings& DefaultFormatSettings() {
  // A function-local static is initialised once even when threads race here.
  static const TFormatSettings settings = SettingsFromLocale();
  return settings;
}

std::string FormatDateTime(std::string_view pattern, TDateTime value,
                           const TFormatSettings& settings) {
  const CivilDateTime civil = DecodeDateTime(value);
  PatternWriter writer(civil, settings);
  writer.Append(pattern.empty() ? std::string_view("c") : pattern, 0);
  return writer.Take();
}

std::string FormatDateTime(std::string_view pattern, TDateTime value) {
  return FormatDateTime(pattern, value, DefaultFormatSettings());
}

}  // namespace brivant

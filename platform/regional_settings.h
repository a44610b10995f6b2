// The user's regional date/time conventions and the local wall clock. The
// package layer builds its date formatting settings from GetRegionalSettings
// and reads the time through LocalNow; nothing else asks the OS for either.
// Both functions are thread-safe: the locale is read through a private locale
// object, never through the process-wide setlocale state.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace brivant::platform {

// What the locale says, already in the date/time pattern language that
// FormatDateTime reads ('/' and ':' stand for the separators, "nn" is minutes,
// "ampm" the am/pm string). An empty field or name array means the locale has
// no usable value there and the caller's default stands. The C and POSIX
// locales count as "no preference": everything is empty.
struct RegionalSettings {
  std::string date_separator;
  std::string time_separator;
  std::string am_string;
  std::string pm_string;
  std::string short_date_format;
  std::string short_time_format;
  std::string long_time_format;
  std::array<std::string, 12> short_month_names;  // empty strings or all twelve
  std::array<std::string, 12> long_month_names;
  std::array<std::string, 7> short_day_names;  // index 0 is Sunday
  std::array<std::string, 7> long_day_names;
};

/// Reads the locale named by LC_ALL, LC_TIME or LANG (the first one set). A
/// locale that isn't installed gives the empty result, as C does. Names in a
/// locale whose character set isn't UTF-8 are used only when they are ASCII.
RegionalSettings GetRegionalSettings();

/// Translates a strftime format as the locale database writes it ("%d.%m.%Y")
/// into the pattern language ("dd/mm/yyyy" when '.' is the separator). Each
/// `separator` character becomes `separator_specifier`; other characters the
/// pattern language would read as fields are quoted. Returns "" when the format
/// holds a conversion the pattern language can't express (%j, %U, %Z, ...).
std::string PatternFromLocaleFormat(std::string_view locale_format, char separator,
                                    char separator_specifier);

// The local wall-clock time, split into calendar and clock fields.
struct LocalTime {
  int year = 0;
  int month = 0;  // 1..12
  int day = 0;    // 1..31
  int hour = 0;
  int minute = 0;
  int second = 0;  // 0..59; a leap second reads as 59
  int millisecond = 0;
};

/// Falls back to UTC if the local time zone can't be applied.
LocalTime LocalNow();

}  // namespace brivant::platform

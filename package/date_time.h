// The host's date/time type and its text form. A TDateTime counts days since
// 1899-12-30 with the time of day as the fraction; before that day the whole
// part still counts days, but the fraction is the time of day measured away
// from zero, so -1.25 is 1899-12-29 06:00. Actions that read the clock, step
// dates or write them as text (Get DateTime, the file-date actions, log lines)
// use these functions; all of them are thread-safe.
//
// The supported range is 0001-01-01 00:00:00.000 to 9999-12-31 23:59:59.999 at
// millisecond resolution. Functions throw std::out_of_range for values or
// results outside it and std::invalid_argument for impossible calendar fields.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "package/property_table.h"

namespace brivant {

// A TDateTime split into calendar and clock fields.
struct CivilDateTime {
  int year = 0;    // 1..9999
  int month = 0;   // 1..12
  int day = 0;     // 1..31
  int hour = 0;    // 0..23
  int minute = 0;  // 0..59
  int second = 0;  // 0..59
  int millisecond = 0;
  int day_of_week = 0;  // 1 = Sunday .. 7 = Saturday
  friend bool operator==(const CivilDateTime&, const CivilDateTime&) = default;
};

/// Throws std::invalid_argument naming the fields when they don't make a date
/// and time of the proleptic Gregorian calendar (year 1..9999, February 29 only
/// in leap years, hour 0..23, minute and second 0..59, ms 0..999).
TDateTime EncodeDateTime(int year, int month, int day, int hour, int minute, int second, int ms);

/// Rounds to the nearest millisecond; a time that rounds up to midnight moves to
/// the next day instead of giving second 60. Throws std::out_of_range for NaN,
/// infinities and values outside the supported range.
CivilDateTime DecodeDateTime(TDateTime value);

/// The local wall-clock time, to the millisecond.
TDateTime Now();

/// Step a date/time along the time line; negative counts step back. Stepping
/// across 1899-12-30 keeps the time of day right, unlike adding to `value`.
TDateTime IncSeconds(TDateTime value, int64_t count);
TDateTime IncMinutes(TDateTime value, int64_t count);
TDateTime IncHours(TDateTime value, int64_t count);
TDateTime IncDays(TDateTime value, int64_t count);
TDateTime IncWeeks(TDateTime value, int64_t count);

/// Calendar steps keep the time of day. A day past the end of the target month
/// becomes its last day: March 31 minus one month is February 28 (29 in leap
/// years), and February 29 plus one year is February 28.
TDateTime IncMonths(TDateTime value, int count);
TDateTime IncYears(TDateTime value, int count);

// Names, separators and nested formats that FormatDateTime fills in. The
// defaults are US English; DefaultFormatSettings() overlays the user's locale.
struct TFormatSettings {
  std::string date_separator = "/";  // written for '/' in a pattern
  std::string time_separator = ":";  // written for ':' in a pattern
  std::string time_am_string = "AM";
  std::string time_pm_string = "PM";
  std::string short_date_format = "m/d/yyyy";
  std::string long_date_format = "dddd, mmmm d, yyyy";
  std::string short_time_format = "h:nn";
  std::string long_time_format = "h:nn:ss";
  std::array<std::string, 12> short_month_names = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::array<std::string, 12> long_month_names = {"January",   "February", "March",    "April",
                                                  "May",       "June",     "July",     "August",
                                                  "September", "October",  "November", "December"};
  // Index 0 is Sunday.
  std::array<std::string, 7> short_day_names = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  std::array<std::string, 7> long_day_names = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                               "Thursday", "Friday", "Saturday"};
  // Readers of two-digit years place them within this many years of the
  // current one; kept with the other regional settings for such readers.
  int two_digit_year_century_window = 50;
};

/// The English defaults overlaid with what the process locale (LC_ALL, LC_TIME,
/// LANG) says. Read on the first call and kept for the life of the process.
const TFormatSettings& DefaultFormatSettings();

/// Writes `value` as `pattern` says. Letters are case-insensitive except where
/// am/pm and a/p copy their own case, and a run of one letter is one field:
///   c        short date, then a blank and the long time unless the time is 00:00:00.000
///   d dd     day of month, without / with leading zero
///   ddd dddd short / long day name; ddddd short date format; dddddd or longer long date format
///   e ee     year as is / two digits (Gregorian era year); g gg era name, always empty
///   m mm     month, without / with leading zero; mmm mmmm or longer short / long month
///            name. Straight after an hour field (only literal text between) m and mm
///            mean minutes
///   y yy     two-digit year; yyy or longer four-digit year
///   h hh     hour, without / with leading zero; 12-hour when the pattern has am/pm, a/p or ampm
///   n nn     minute; s ss second; z zz milliseconds as is; zzz or longer three digits
///   t tt     short / long time format
///   am/pm a/p  "am"/"pm" or "a"/"p" in the case the pattern writes them
///   ampm     the settings' am or pm string
///   / :      the settings' date / time separator
///   '...' "..." literal text (an unterminated quote runs to the end)
/// Anything else is copied as it stands. An empty pattern means "c". Nested
/// formats expand two levels deep; a format nested deeper writes nothing, so a
/// short date format that names itself can't loop. Throws std::out_of_range
/// as DecodeDateTime does.
std::string FormatDateTime(std::string_view pattern, TDateTime value,
                           const TFormatSettings& settings);
std::string FormatDateTime(std::string_view pattern, TDateTime value);

}  // namespace brivant

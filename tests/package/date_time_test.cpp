#include "package/date_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>

#include "platform/regional_settings.h"

namespace brivant {
namespace {

// Day numbers below are those any spreadsheet shows for the date from
// 1900-03-01 on (2000-01-01 is 36526), extended by counting days by hand.

std::string Iso(TDateTime value) {
  const CivilDateTime c = DecodeDateTime(value);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", c.year, c.month, c.day,
                c.hour, c.minute, c.second, c.millisecond);
  return text;
}

TEST(DateTime, EncodeGivesDaysSince18991230WithTimeAsFraction) {
  struct Case {
    int year, month, day, hour, minute, second, ms;
    double expected;
  };
  const Case cases[] = {
      // clang-format off
      {1899, 12, 30, 0, 0, 0, 0, 0.0}, {1900, 1, 1, 0, 0, 0, 0, 2.0},
      {1900, 3, 1, 0, 0, 0, 0, 61.0},  // 1900 is no leap year
      {1970, 1, 1, 0, 0, 0, 0, 25569.0}, {2000, 1, 1, 12, 0, 0, 0, 36526.5},
      {2000, 2, 29, 0, 0, 0, 0, 36585.0}, {2009, 3, 5, 14, 30, 0, 0, 39877.604166666667},
      {2024, 2, 29, 18, 0, 0, 0, 45351.75}, {1800, 1, 1, 0, 0, 0, 0, -36522.0},
      {1899, 12, 29, 6, 0, 0, 0, -1.25},  // fraction counts away from zero
      {1899, 12, 29, 18, 0, 0, 0, -1.75}, {1, 1, 1, 0, 0, 0, 0, -693593.0},
      {9999, 12, 31, 23, 59, 59, 999, 2958465.9999999884},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_NEAR(EncodeDateTime(c.year, c.month, c.day, c.hour, c.minute, c.second, c.ms).value,
                c.expected, 1e-9);
  }
}

TEST(DateTime, EncodeRejectsImpossibleFields) {
  struct Case {
    int year, month, day, hour, minute, second, ms;
    const char* message;
  };
  const Case cases[] = {
      {2023, 2, 29, 0, 0, 0, 0, "invalid date 2023-02-29"},
      {1900, 2, 29, 0, 0, 0, 0, "invalid date 1900-02-29"},
      {2024, 4, 31, 0, 0, 0, 0, "invalid date 2024-04-31"},
      {2024, 13, 1, 0, 0, 0, 0, "invalid date 2024-13-01"},
      {2024, 1, 0, 0, 0, 0, 0, "invalid date 2024-01-00"},
      {0, 1, 1, 0, 0, 0, 0, "invalid date 0000-01-01"},
      {10000, 1, 1, 0, 0, 0, 0, "invalid date 10000-01-01"},
      {2024, 1, 1, 24, 0, 0, 0, "invalid time 24:00:00.000"},
      {2024, 1, 1, 0, 60, 0, 0, "invalid time 00:60:00.000"},
      {2024, 1, 1, 0, 0, 60, 0, "invalid time 00:00:60.000"},
      {2024, 1, 1, 0, 0, 0, 1000, "invalid time 00:00:00.1000"},
      {2024, 1, 1, -1, 0, 0, 0, "invalid time -1:00:00.000"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    try {
      EncodeDateTime(c.year, c.month, c.day, c.hour, c.minute, c.second, c.ms);
      ADD_FAILURE() << "no exception";
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), c.message);
    }
  }
}

TEST(DateTime, DecodeSplitsFieldsAndWeekday) {
  struct Case {
    double value;
    CivilDateTime expected;
  };
  const Case cases[] = {
      // clang-format off
      {0.0, {1899, 12, 30, 0, 0, 0, 0, 7}}, {39877.75, {2009, 3, 5, 18, 0, 0, 0, 5}},
      {36585.0, {2000, 2, 29, 0, 0, 0, 0, 3}}, {-1.25, {1899, 12, 29, 6, 0, 0, 0, 6}},
      {-1.75, {1899, 12, 29, 18, 0, 0, 0, 6}}, {-0.5, {1899, 12, 30, 12, 0, 0, 0, 7}},
      {-693593.0, {1, 1, 1, 0, 0, 0, 0, 2}}, {-36522.0, {1800, 1, 1, 0, 0, 0, 0, 4}},
      // 86399999.4 ms stays in the day; 86399999.6 rounds to the next midnight.
      {39877.99999999306, {2009, 3, 5, 23, 59, 59, 999, 5}},
      {39877.99999999537, {2009, 3, 6, 0, 0, 0, 0, 6}},
      {0.999999999999, {1899, 12, 31, 0, 0, 0, 0, 1}},
      {-5.999999999999, {1899, 12, 26, 0, 0, 0, 0, 3}},
      // The last representable day has no next midnight to round to.
      {2958465.9999999995, {9999, 12, 31, 23, 59, 59, 999, 6}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(DecodeDateTime(TDateTime{c.value}), c.expected);
  }
}

TEST(DateTime, DecodeRejectsValuesOutsideTheCalendar) {
  const double values[] = {std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           2958466.0,
                           -693594.0,
                           1e300};
  for (double value : values) {
    SCOPED_TRACE(value);
    EXPECT_THROW(DecodeDateTime(TDateTime{value}), std::out_of_range);
  }
  try {
    DecodeDateTime(TDateTime{2958466.0});
    ADD_FAILURE() << "no exception";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "date/time value 2958466 is outside 0001-01-01 to 9999-12-31");
  }
}

TEST(DateTime, CalendarStepsClampToTheEndOfTheMonth) {
  struct Case {
    TDateTime start;
    int months;
    const char* expected;
  };
  const Case cases[] = {
      {EncodeDateTime(2009, 3, 31, 14, 30, 0, 0), -1, "2009-02-28 14:30:00.000"},
      {EncodeDateTime(2024, 3, 31, 0, 0, 0, 0), -1, "2024-02-29 00:00:00.000"},
      {EncodeDateTime(2024, 1, 31, 8, 0, 0, 250), 1, "2024-02-29 08:00:00.250"},
      {EncodeDateTime(2024, 1, 31, 0, 0, 0, 0), 3, "2024-04-30 00:00:00.000"},
      {EncodeDateTime(2009, 1, 15, 0, 0, 0, 0), -13, "2007-12-15 00:00:00.000"},
      {EncodeDateTime(2009, 11, 15, 0, 0, 0, 0), 2, "2010-01-15 00:00:00.000"},
      {TDateTime{-1.25}, 1, "1900-01-29 06:00:00.000"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(Iso(IncMonths(c.start, c.months)), c.expected);
  }
  const TDateTime leap_day = EncodeDateTime(2024, 2, 29, 12, 0, 0, 0);
  EXPECT_EQ(Iso(IncYears(leap_day, 1)), "2025-02-28 12:00:00.000");
  EXPECT_EQ(Iso(IncYears(leap_day, 4)), "2028-02-29 12:00:00.000");
  EXPECT_EQ(Iso(IncYears(leap_day, -100)), "1924-02-29 12:00:00.000");
  EXPECT_EQ(Iso(IncYears(leap_day, -124)), "1900-02-28 12:00:00.000");
}

TEST(DateTime, TimeStepsFollowTheTimeLineAcrossDayZero) {
  // Before 1899-12-30 adding to the value would move the clock backwards:
  // -1.75 + 0.5 is -1.25, six in the morning of the same day.
  EXPECT_EQ(Iso(IncHours(TDateTime{-1.75}, 12)), "1899-12-30 06:00:00.000");
  EXPECT_DOUBLE_EQ(IncHours(TDateTime{-1.75}, 12).value, 0.25);
  EXPECT_EQ(Iso(IncMinutes(EncodeDateTime(1899, 12, 30, 0, 10, 0, 0), -20)),
            "1899-12-29 23:50:00.000");
  EXPECT_EQ(Iso(IncHours(TDateTime{-1.25}, 1)), "1899-12-29 07:00:00.000");
  EXPECT_EQ(Iso(IncDays(TDateTime{-1.25}, -1)), "1899-12-28 06:00:00.000");

  const TDateTime start = EncodeDateTime(2009, 3, 5, 23, 59, 59, 0);
  EXPECT_EQ(Iso(IncSeconds(start, 1)), "2009-03-06 00:00:00.000");
  EXPECT_EQ(Iso(IncSeconds(start, -86400)), "2009-03-04 23:59:59.000");
  EXPECT_EQ(Iso(IncDays(start, 365)), "2010-03-05 23:59:59.000");
  EXPECT_EQ(Iso(IncWeeks(start, -1)), "2009-02-26 23:59:59.000");
}

TEST(DateTime, StepsOutOfTheCalendarThrow) {
  const TDateTime last_day = EncodeDateTime(9999, 12, 31, 12, 0, 0, 0);
  const TDateTime first_day = EncodeDateTime(1, 6, 1, 0, 0, 0, 0);
  EXPECT_THROW(IncDays(last_day, 1), std::out_of_range);
  EXPECT_THROW(IncYears(first_day, -1), std::out_of_range);
  EXPECT_THROW(IncMonths(first_day, std::numeric_limits<int>::min()), std::out_of_range);
  EXPECT_THROW(IncYears(last_day, std::numeric_limits<int>::max()), std::out_of_range);
  EXPECT_THROW(IncSeconds(first_day, std::numeric_limits<int64_t>::max()), std::out_of_range);
  EXPECT_THROW(IncWeeks(first_day, std::numeric_limits<int64_t>::min()), std::out_of_range);
  EXPECT_EQ(Iso(IncHours(last_day, 11)), "9999-12-31 23:00:00.000");
}

// Now is the platform's local clock in this calendar, to the second (the
// platform test shows LocalNow follows the zone).
TEST(DateTime, NowIsTheLocalClock) {
  const platform::LocalTime clock = platform::LocalNow();
  const TDateTime now = Now();
  const TDateTime expected = EncodeDateTime(clock.year, clock.month, clock.day, clock.hour,
                                            clock.minute, clock.second, clock.millisecond);
  EXPECT_NEAR(now.value, expected.value, 2.0 / 86400);
}

struct FormatCase {
  const char* pattern;
  const char* expected;
};

void ExpectFormats(TDateTime value, const TFormatSettings& settings,
                   std::initializer_list<FormatCase> cases) {
  for (const FormatCase& c : cases) {
    SCOPED_TRACE(c.pattern);
    EXPECT_EQ(FormatDateTime(c.pattern, value, settings), c.expected);
  }
}

// Thursday 2009-03-05 14:30:07.045.
TDateTime Afternoon() { return EncodeDateTime(2009, 3, 5, 14, 30, 7, 45); }

TEST(FormatDateTime, NumericFields) {
  ExpectFormats(Afternoon(), TFormatSettings{},
                {
                    // clang-format off
                    {"d/m/yy", "5/3/09"}, {"dd/mm/yyyy", "05/03/2009"},
                    {"yyyy-mm-dd", "2009-03-05"}, {"y yyy", "09 2009"}, {"h:n:s", "14:30:7"},
                    {"hh:nn:ss.zzz", "14:30:07.045"}, {"z zz zzzz", "45 45 045"},
                    {"HH:NN:SS", "14:30:07"}, {"DD-MM-YYYY", "05-03-2009"},
                    {"e ee [g][gg]", "2009 09 [][]"},
                    // clang-format on
                });
  ExpectFormats(
      EncodeDateTime(5, 1, 2, 3, 4, 5, 6), TFormatSettings{},
      {{"yyyy yy e", "0005 05 5"}, {"hh:nn:ss.zzz", "03:04:05.006"}, {"h:n:s.z", "3:4:5.6"}});
}

TEST(FormatDateTime, MinutesFollowAnHourField) {
  ExpectFormats(Afternoon(), TFormatSettings{},
                {
                    {"hh:mm", "14:30"},
                    {"h m", "14 30"},
                    {"hh dd mm", "14 05 03"},  // an intervening field ends the rule
                    {"mm hh", "03 14"},        // only after the hour
                    {"'hh' mm", "hh 03"},      // quoted text is no field
                    {"hh:mm:mm", "14:30:03"},  // the minutes end it too
                    {"hh mmm", "14 Mar"},      // names stay names
                });
}

TEST(FormatDateTime, TwelveHourClockAndAmPm) {
  TFormatSettings settings;
  settings.time_am_string = "vorm.";
  settings.time_pm_string = "nachm.";
  ExpectFormats(Afternoon(), settings,
                {
                    // clang-format off
                    {"h:mm am/pm", "2:30 pm"}, {"hh:mm AM/PM", "02:30 PM"}, {"h Am/pM", "2 pM"},
                    {"h:nn a/p", "2:30 p"}, {"h:nn A/P", "2:30 P"}, {"h:nn ampm", "2:30 nachm."},
                    {"am/pm h", "pm 2"},  // the specifier counts wherever it is
                    {"h 'am/pm'", "14 am/pm"},
                    {"h a/x", "14 a/x"},  // an incomplete specifier is literal text
                });
  // clang-format on
  ExpectFormats(EncodeDateTime(2009, 3, 5, 0, 5, 0, 0), settings,
                {{"h:nn am/pm", "12:05 am"}, {"h ampm", "12 vorm."}, {"hh", "00"}});
  ExpectFormats(EncodeDateTime(2009, 3, 5, 12, 0, 0, 0), settings,
                {{"h:nn a/p", "12:00 p"}, {"h", "12"}});
}

TEST(FormatDateTime, NamesComeFromTheSettings) {
  TFormatSettings german;
  german.long_month_names[2] = "März";
  german.short_month_names[2] = "Mär";
  german.long_day_names[4] = "Donnerstag";
  german.short_day_names[4] = "Do";
  ExpectFormats(Afternoon(), TFormatSettings{},
                {{"ddd dddd", "Thu Thursday"}, {"mmm mmmm", "Mar March"}, {"mmmmmm", "March"}});
  ExpectFormats(Afternoon(), german,
                {{"ddd, d. mmmm", "Do, 5. März"}, {"dddd mmm", "Donnerstag Mär"}});
  ExpectFormats(EncodeDateTime(2009, 12, 27, 0, 0, 0, 0), TFormatSettings{},
                {{"dddd d mmmm", "Sunday 27 December"}});
}

TEST(FormatDateTime, SeparatorsAndLiterals) {
  TFormatSettings settings;
  settings.date_separator = "-";
  settings.time_separator = ".";
  ExpectFormats(Afternoon(), settings,
                {
                    // clang-format off
                    {"dd/mm/yyyy hh:nn", "05-03-2009 14.30"}, {"'dd/mm' \"hh:nn\"", "dd/mm hh:nn"},
                    {"yyyy'/'mm", "2009/03"}, {"\"it's\" h", "it's 14"},
                    {"'unterminated d", "unterminated d"}, {"d''d", "55"}, {"x b q! #", "x b q! #"},
                    {"yyyy年m月d日", "2009年3月5日"},
                    // clang-format on
                });
}

TEST(FormatDateTime, NestedFormats) {
  TFormatSettings settings;
  settings.short_date_format = "dd/mm/yyyy";
  settings.long_date_format = "dddd d mmmm yyyy";
  settings.short_time_format = "hh:nn";
  settings.long_time_format = "hh:nn:ss am/pm";
  ExpectFormats(Afternoon(), settings,
                {
                    // clang-format off
                    {"c", "05/03/2009 02:30:07 pm"}, {"", "05/03/2009 02:30:07 pm"},
                    {"ddddd", "05/03/2009"}, {"dddddd", "Thursday 5 March 2009"},
                    {"ddddddddd", "Thursday 5 March 2009"}, {"t|tt", "14:30|02:30:07 pm"},
                    {"[c]", "[05/03/2009 02:30:07 pm]"},
                    // clang-format on
                });
  // Midnight exactly leaves the time out of "c", a millisecond later doesn't.
  ExpectFormats(EncodeDateTime(2009, 3, 5, 0, 0, 0, 0), settings, {{"c", "05/03/2009"}});
  ExpectFormats(EncodeDateTime(2009, 3, 5, 0, 0, 0, 1), settings,
                {{"c", "05/03/2009 12:00:00 am"}});
}

TEST(FormatDateTime, SelfReferringFormatsStopAtTheNestingLimit) {
  TFormatSettings settings;
  settings.short_date_format = "dd.ddddd";
  settings.long_time_format = "tt";
  ExpectFormats(Afternoon(), settings, {{"ddddd", "05.05."}, {"tt", ""}});
}

TEST(FormatDateTime, DatesBeforeDayZero) {
  ExpectFormats(TDateTime{-1.25}, TFormatSettings{},
                {{"yyyy-mm-dd hh:nn", "1899-12-29 06:00"}, {"dddd", "Friday"}});
  ExpectFormats(TDateTime{-693593.5}, TFormatSettings{},
                {{"yyyy-mm-dd hh:nn", "0001-01-01 12:00"}});
}

TEST(FormatDateTime, ValuesOutsideTheCalendarThrow) {
  EXPECT_THROW(FormatDateTime("yyyy", TDateTime{3e6}, TFormatSettings{}), std::out_of_range);
  EXPECT_THROW(FormatDateTime("'text only'", TDateTime{std::nan("")}, TFormatSettings{}),
               std::out_of_range);
}

}  // namespace
}  // namespace brivant

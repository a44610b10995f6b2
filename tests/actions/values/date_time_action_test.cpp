#include "actions/values/date_time_action.h"

#include <gtest/gtest.h>

#include <tuple>

#include "package/date_time.h"
#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

class DateTimeActionTest : public testing::ActionTest {
 protected:
  void SetUp() override { host_.Define("D"); }
  // Fixes the date to 2009-03-31 14:05:09 and formats it with `format`.
  std::string Format(const std::string& format) {
    Set(action_, "BVVariable", std::string("D"));
    Set(action_, "UseNow", false);
    Set(action_, "TheDate", EncodeDateTime(2009, 3, 31, 14, 5, 9, 0).value);
    Set(action_, "DateFormat", format);
    EXPECT_TRUE(host_.Run(action_));
    return host_.VariableText("D");
  }
  TDateTimeAction action_;
};

TEST_F(DateTimeActionTest, DefaultIsTodayAsDayMonthYear) {
  Set(action_, "BVVariable", std::string("D"));
  CivilDateTime today = DecodeDateTime(Now());
  ASSERT_TRUE(host_.Run(action_));
  char expected[16];
  std::snprintf(expected, sizeof expected, "%02d%02d%04d", today.day, today.month, today.year);
  EXPECT_EQ(host_.VariableText("D"), expected);
  EXPECT_EQ(host_.Texts(stSuccess),
            std::vector<std::string>{"Set Variable \"D\" to \"" + std::string(expected) + "\""});
}

TEST_F(DateTimeActionTest, ForcedSeparatorsAreWrittenLiterally) {
  const std::tuple<const char*, const char*> cases[] = {
      {"dd/mm/yyyy hh:nn", "31/03/2009 14:05"},
      {"dd'/'mm\"/\"yy hh':'nn", "31/03/09 14:05"},
      {"yyyy-mm-dd", "2009-03-31"},
  };
  Set(action_, "ForceSeparators", true);
  for (const auto& [format, expected] : cases) {
    SCOPED_TRACE(format);
    EXPECT_EQ(Format(format), expected);
  }
}

TEST_F(DateTimeActionTest, ManipulationMovesTheDateAndIsLogged) {
  const std::tuple<const char*, const char*, const char*, const char*, const char*> cases[] = {
      {"Subtract", "Months", "1", "2009-02-28 14:05:09", "Subtracted 1 months"},
      {"Add", "Days", "1", "2009-04-01 14:05:09", "Added 1 days"},
      {"Add", "Weeks", "-2", "2009-03-17 14:05:09", "Added -2 weeks"},
      {"Subtract", "Hours", "15", "2009-03-30 23:05:09", "Subtracted 15 hours"},
      {"Add", "Seconds", "51", "2009-03-31 14:06:00", "Added 51 seconds"},
      {"Add", "Years", "3", "2012-03-31 14:05:09", "Added 3 years"},
      {"Add", "Minutes", "%N%", "2009-03-31 14:15:09", "Added 10 minutes"},
  };
  host_.Define("N", Variant(int64_t{10}));
  Set(action_, "ForceSeparators", true);
  for (const auto& [type, unit_text, value, expected, log] : cases) {
    SCOPED_TRACE(std::string(type) + " " + value + " " + unit_text);
    host_.messages.clear();
    Set(action_, "ManipulationType", int64_t{std::string(type) == "Subtract"});
    PropertyValue unit;
    std::string error;
    ASSERT_TRUE(ParsePropertyValue(*action_.GetPropertyTable().Find("ManipulationUnit"), unit_text,
                                   &unit, &error));
    Set(action_, "ManipulationUnit", unit);
    Set(action_, "ManipulationValue", std::string(value));
    EXPECT_EQ(Format("yyyy-mm-dd hh:nn:ss"), expected);
    EXPECT_EQ(host_.Texts(stInfo), std::vector<std::string>{log});
  }
}

TEST_F(DateTimeActionTest, EmptyManipulationValueLogsNothing) {
  Set(action_, "ManipulationValue", std::string(""));
  EXPECT_EQ(Format("dd.mm.yyyy"), "31.03.2009");
  EXPECT_TRUE(host_.Texts(stInfo).empty());
}

TEST_F(DateTimeActionTest, FailuresLeaveTheVariableUnchanged) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"D", "ddmmyyyy", "abc",
       "Error converting manipulation value to integer: 'abc' is not a valid integer value"},
      {"MISSING", "ddmmyyyy", "", "Variable : MISSING - does not exist!"},
      {"", "ddmmyyyy", "", "Variable :  - does not exist!"},
      {"D", "   ", "", "A Date Format must be specified!"},
      {"%NOPE%", "ddmmyyyy", "",
       "Error Expanding String property (Variable) : Variable \"NOPE\" is not defined"},
      {"D", "%NOPE%", "",
       "Error Expanding String property (DateFormat) : Variable \"NOPE\" is not defined"},
  };
  for (const auto& [variable, format, manipulation, error] : cases) {
    SCOPED_TRACE(error);
    host_.messages.clear();
    host_.Define("D", Variant(std::string("before")));
    Set(action_, "BVVariable", std::string(variable));
    Set(action_, "DateFormat", std::string(format));
    Set(action_, "ManipulationValue", std::string(manipulation));
    EXPECT_FALSE(host_.Run(action_));
    EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{error});
    EXPECT_EQ(host_.VariableText("D"), "before");
  }
}

TEST_F(DateTimeActionTest, EmptyNameOfADefinedVariableIsRefused) {
  host_.Define("");
  Set(action_, "BVVariable", std::string(" "));
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"Variable name must be specified!"});
}

}  // namespace
}  // namespace brivant

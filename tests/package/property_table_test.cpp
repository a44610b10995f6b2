// The text forms a project file uses for property values, and the table's
// rules for inherited rows.
#include "package/property_table.h"

#include <gtest/gtest.h>

#include "package/custom_bv_action.h"

namespace brivant {

enum TTestColour { tcRed, tcGreen, tcBlue };

template <>
struct EnumTraits<TTestColour> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TTestColour", {"tcRed", "tcGreen", "tcBlue"}};
    return info;
  }
};

namespace {

class TBaseTestAction : public TBVAction {
 public:
  static const PropertyTable& Properties() {
    static const PropertyTable table(
        &TBVAction::Properties(),
        {Property("Name", &TBaseTestAction::name_), Property("Hidden", &TBaseTestAction::hidden_)});
    return table;
  }
  std::string_view ClassName() const override { return "TBaseTestAction"; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string GetActionName() const override { return "Base"; }
  bool Execute() override { return true; }

 protected:
  std::string name_;
  bool hidden_ = false;
};

class TTestAction : public TBaseTestAction {
 public:
  static const PropertyTable& Properties() {
    using T = TTestAction;
    static const PropertyTable table(
        &TBaseTestAction::Properties(),
        {Property("Count", &T::count_), Property("Size", &T::size_),
         Property("Colour", &T::colour_), Property("Colours", &T::colours_),
         Property("When", &T::when_), Property("Ratio", &T::ratio_), Property("Lines", &T::lines_),
         Property("Enabled", &T::enabled_)},
        {"Hidden"});
    return table;
  }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

 private:
  int32_t count_ = 0;
  uint32_t size_ = 0;
  TTestColour colour_ = tcRed;
  TSet<TTestColour> colours_;
  TDateTime when_;
  double ratio_ = 0;
  std::vector<std::string> lines_;
  bool enabled_ = false;
};

const PropertyInfo& Row(std::string_view name) {
  const PropertyInfo* info = TTestAction::Properties().Find(name);
  EXPECT_NE(info, nullptr) << name;
  return *info;
}

TEST(PropertyTable, InheritedRowsComeFirstAndDroppedOnesGo) {
  std::vector<std::string_view> expected = {"Name", "Count", "Size",  "Colour", "Colours",
                                            "When", "Ratio", "Lines", "Enabled"};
  EXPECT_EQ(TTestAction::Properties().Names(), expected);
  EXPECT_EQ(TTestAction::Properties().Find("HIDDEN"), nullptr);
  EXPECT_EQ(TTestAction::Properties().Find("colour"), &Row("Colour"));
}

TEST(PropertyTable, TextFormsReadAndWriteBack) {
  struct Case {
    const char* property;
    const char* text;
    const char* written;  // how the value is written back
  } cases[] = {
      // clang-format off
      {"Count", "-2147483648", "-2147483648"}, {"Count", " 42 ", "42"}, {"Count", "$FF", "255"},
      {"Size", "4294967295", "4294967295"}, {"Colour", "tcBlue", "tcBlue"},
      {"Colour", "TCGREEN", "tcGreen"}, {"Colour", "0", "tcRed"},
      {"Colours", "tcBlue, tcRed", "tcRed,tcBlue"}, {"Colours", "[tcGreen]", "tcGreen"},
      {"Colours", "", ""}, {"When", "2009-03-05", "2009-03-05"},
      {"When", "2009-03-05T14:30:00", "2009-03-05T14:30:00"},
      {"When", "1899-12-29 06:00", "1899-12-29T06:00:00"},
      {"Ratio", "0.25", "0.25"}, {"Enabled", "true", "True"}, {"Enabled", "0", "False"},
      {"Lines", "a\r\nb", "a\nb"}, {"Name", " kept as typed ", " kept as typed "},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.property) + " = '" + c.text + "'");
    PropertyValue value;
    std::string error;
    ASSERT_TRUE(ParsePropertyValue(Row(c.property), c.text, &value, &error)) << error;
    EXPECT_EQ(FormatPropertyValue(Row(c.property), value), c.written);
  }
}

TEST(PropertyTable, BadTextNamesTheValueAndWhatWasExpected) {
  struct Case {
    const char* property;
    const char* text;
    const char* error;
  } cases[] = {
      {"Count", "2147483648",
       "invalid value '2147483648' for Count: expected a whole number from -2147483648 to "
       "2147483647"},
      {"Size", "-1", "invalid value '-1' for Size: expected a whole number from 0 to 4294967295"},
      {"Colour", "tcPurple",
       "unknown value 'tcPurple' of TTestColour for Colour: expected one of tcRed, tcGreen, "
       "tcBlue"},
      {"Colour", "3",
       "unknown value '3' of TTestColour for Colour: expected one of tcRed, tcGreen, tcBlue"},
      {"Colours", "tcRed,tcPink",
       "unknown value 'tcPink' of TTestColour in the set Colours: expected one of tcRed, "
       "tcGreen, tcBlue"},
      {"When", "2009-02-29",
       "invalid value '2009-02-29' for When: expected an ISO 8601 date such as 2009-03-05 or "
       "2009-03-05T14:30:00"},
      {"When", "05.03.2009",
       "invalid value '05.03.2009' for When: expected an ISO 8601 date such as 2009-03-05 or "
       "2009-03-05T14:30:00"},
      {"Enabled", "yes", "invalid value 'yes' for Enabled: expected True or False"},
      {"Ratio", "nan", "invalid value 'nan' for Ratio: expected a number"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.property) + " = '" + c.text + "'");
    PropertyValue value;
    std::string error;
    EXPECT_FALSE(ParsePropertyValue(Row(c.property), c.text, &value, &error));
    EXPECT_EQ(error, c.error);
  }
}

TEST(PropertyTable, ValuesReachTheObjectThroughTheTable) {
  TTestAction action;
  SetProperty(action, Row("Colours"), int64_t{0b101});
  SetProperty(action, Row("Name"), std::string("x"));
  EXPECT_EQ(FormatPropertyValue(Row("Colours"), GetProperty(action, Row("Colours"))),
            "tcRed,tcBlue");
  EXPECT_EQ(std::get<std::string>(GetProperty(action, Row("Name"))), "x");
}

}  // namespace
}  // namespace brivant

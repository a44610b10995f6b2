#include "actions/text/ini_file_action.h"

#include <filesystem>
#include <tuple>

#include "package/ini_file.h"
#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class IniFileActionTest : public ActionTest {
 protected:
  void SetUp() override {
    WriteBytes(Path("a.ini"), "[Main]\r\nName=v\r\nHex=0x10\r\nYes=yes\r\nTwo=2\r\nZero=0\r\n");
    host_.Define("Out");
  }
  // Runs Read Ini File on a.ini into the variable Out.
  bool Read(const std::string& section, const std::string& name, TIniValueType type,
            const std::string& default_value) {
    TReadIniFileAction action;
    Set(action, "IniFile", Path("a.ini"));
    Set(action, "Section", section);
    Set(action, "ValueName", name);
    Set(action, "VariableName", std::string("Out"));
    Set(action, "ValueType", int64_t{type});
    Set(action, "DefaultValue", default_value);
    return host_.Run(action);
  }
  bool Write(const std::string& file, const std::string& value, TIniValueType type,
             bool allow_create = false) {
    TWriteIniFileAction action;
    Set(action, "IniFile", file);
    Set(action, "Section", std::string("Main"));
    Set(action, "ValueName", std::string("Name"));
    Set(action, "NewValue", value);
    Set(action, "ValueType", int64_t{type});
    Set(action, "AllowCreate", allow_create);
    return host_.Run(action);
  }
  std::vector<std::string> Errors() const { return host_.Texts(stError); }
};

TEST_F(IniFileActionTest, ReadsTypedValuesAndDefaults) {
  const std::tuple<const char*, TIniValueType, const char*, const char*> cases[] = {
      {"name", vtString, "", "v"},       {"missing", vtString, "d", "d"},
      {"Hex", vtInteger, "0", "16"},     {"missing", vtInteger, "-4", "-4"},
      {"Yes", vtBool, "false", "False"}, {"Yes", vtBool, "TRUE ", "True"},
      {"Two", vtBool, "false", "True"},  {"Zero", vtBool, "true", "False"},
  };
  for (const auto& [name, type, default_value, expected] : cases) {
    SCOPED_TRACE(std::string(name) + " " + default_value);
    ASSERT_TRUE(Read(" main ", name, type, default_value)) << ::testing::PrintToString(Errors());
    EXPECT_EQ(host_.VariableText("Out"), expected);
    EXPECT_EQ(host_.Texts(stInfo).back(), std::string("New Value : ") + expected);
  }
}

TEST_F(IniFileActionTest, ReadRefusesWhatTheTypeCannotUse) {
  const std::tuple<const char*, TIniValueType, const char*, std::vector<std::string>> cases[] = {
      // clang-format off
      {"Main", vtInteger, "",
       {"Default Value :  : is not an integer and the Value Type is Integer"}},
      {"Main", vtInteger, "-99098700",
       {"Default Value : -99098700 : is not an integer and the Value Type is Integer"}},
      {"Main", vtBool, "yes", {"Default Value is not True or False and the Value Type is Boolean"}},
      {"   ", vtString, "", {"Unable to Read from Section :    ", "Section Name not specified"}},
      {"%Nope%", vtString, "",
       {"Unable to Read from Section : %Nope%", "Variable \"Nope\" is not defined"}},
      // clang-format on
  };
  for (const auto& [section, type, default_value, errors] : cases) {
    SCOPED_TRACE(default_value);
    host_.messages.clear();
    EXPECT_FALSE(Read(section, "Hex", type, default_value));
    EXPECT_EQ(Errors(), errors);
  }
}

TEST_F(IniFileActionTest, BareFileNameIsRefused) {
  TReadIniFileAction action;
  Set(action, "IniFile", std::string("a.ini"));
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(Errors(), std::vector<std::string>{"No path to the Ini File specified!"});
}

TEST_F(IniFileActionTest, ExpandsTheValueReadOnlyForStrings) {
  WriteBytes(Path("a.ini"), "[s]\nk=%Who%\n");
  host_.Define("Who", Variant("me"));
  TReadIniFileAction action;
  Set(action, "IniFile", Path("a.ini"));
  Set(action, "Section", std::string("s"));
  Set(action, "ValueName", std::string("k"));
  Set(action, "VariableName", std::string("Out"));
  Set(action, "ExpandVariablesInValue", true);
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.VariableText("Out"), "me");
  Set(action, "ValueType", int64_t{vtInteger});
  Set(action, "ValueType", int64_t{vtString});
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.VariableText("Out"), "%Who%");
}

TEST_F(IniFileActionTest, WritesTypedValuesAndRefusesBadOnes) {
  // stored: nullptr: refused
  const std::tuple<const char*, TIniValueType, const char*, std::vector<std::string>> cases[] = {
      // clang-format off
      {"x y", vtString, "x y", {}},
      {"42", vtInteger, "42", {}},
      {"TRUE", vtBool, "1", {}},
      {"0", vtBool, "0", {}},
      {"0x10", vtInteger, nullptr, {"New Value is not an integer : 0x10"}},
      {"", vtInteger, nullptr, {"New Value is not an integer : "}},
      {"yes", vtBool, nullptr,
       {"Unable to Write to Ini File : " + Path("a.ini"), "'yes' is not a valid boolean value"}},
      // clang-format on
  };
  for (const auto& [value, type, stored, errors] : cases) {
    SCOPED_TRACE(value);
    host_.messages.clear();
    EXPECT_EQ(Write(Path("a.ini"), value, type), stored != nullptr);
    EXPECT_EQ(Errors(), errors);
    if (stored) {
      EXPECT_EQ(TIniFile(Path("a.ini")).ReadString("Main", "Name", ""), stored);
    }
  }
}

TEST_F(IniFileActionTest, WriteNeedsAnExistingWritableFileUnlessAllowedToCreate) {
  EXPECT_FALSE(Write(Path("new.ini"), "v", vtString));
  EXPECT_EQ(Errors(), (std::vector<std::string>{"Unable to Write to Ini File : " + Path("new.ini"),
                                                "File does not Exist!"}));
  EXPECT_TRUE(Write(Path("new.ini"), "v", vtString, /*allow_create=*/true));
  EXPECT_EQ(ReadBytes(Path("new.ini")), "[Main]\r\nName=v\r\n");
  std::filesystem::permissions(Path("new.ini"), std::filesystem::perms::owner_read);
  host_.messages.clear();
  EXPECT_FALSE(Write(Path("new.ini"), "w", vtString));
  EXPECT_EQ(Errors(),
            std::vector<std::string>{"File : " + Path("new.ini") + " is marked as Read Only!"});
  EXPECT_EQ(ReadBytes(Path("new.ini")), "[Main]\r\nName=v\r\n");
}

TEST_F(IniFileActionTest, EraseSection) {
  TEraseIniFileSectionAction erase;
  Set(erase, "IniFile", Path("a.ini"));
  Set(erase, "Section", std::string("Absent"));
  EXPECT_TRUE(host_.Run(erase)) << "a missing section is no failure";
  Set(erase, "Section", std::string(" main"));
  EXPECT_TRUE(host_.Run(erase));
  EXPECT_EQ(ReadBytes(Path("a.ini")), "");
  Set(erase, "IniFile", Path("none.ini"));
  host_.messages.clear();
  EXPECT_FALSE(host_.Run(erase));
  EXPECT_EQ(Errors(), std::vector<std::string>{"File does not Exist!"});
}

}  // namespace
}  // namespace brivant::testing

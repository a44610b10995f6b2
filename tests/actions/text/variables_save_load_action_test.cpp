#include "actions/text/variables_save_load_action.h"

#include <filesystem>

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class VariablesSaveLoadTest : public ActionTest {
 protected:
  bool Save(const std::vector<std::string>& names, bool erase_section = true) {
    TBVVariablesSaveAction save;
    Set(save, "INIFile", Path("vars.ini"));
    Set(save, "Variables", names);
    Set(save, "EraseSection", erase_section);
    return host_.Run(save);
  }
  // Loads Count (integer), Flag (boolean) and Name (string).
  bool Load(std::vector<std::string> types = {"integer", "BOOLEAN", "String"}) {
    Set(load_, "INIFile", Path("vars.ini"));
    Set(load_, "Variables", std::vector<std::string>{"Count", "Flag", "Name"});
    Set(load_, "VariableTypes", types);
    return host_.Run(load_);
  }
  void Define(int count, bool flag, const char* name) {
    host_.Define("Count", Variant(count));
    host_.Define("Flag", Variant(flag));
    host_.Define("Name", Variant(name));
  }
  std::string Values() const {
    return host_.VariableText("Count") + "," + host_.VariableText("Flag") + "," +
           host_.VariableText("Name");
  }

  TBVVariablesLoadAction load_;
};

TEST_F(VariablesSaveLoadTest, RoundTripOfEveryType) {
  WriteBytes(Path("vars.ini"), "[Other]\r\nkeep=1\r\n");
  Define(-12, true, " a = b ");
  ASSERT_TRUE(Save({"Count", "Flag", "Name"}));
  EXPECT_EQ(ReadBytes(Path("vars.ini")),
            "[Other]\r\nkeep=1\r\n\r\n[BVVariables]\r\nCount=-12\r\nFlag=True\r\nName= a = b \r\n");
  Define(0, false, "");
  ASSERT_TRUE(Load());
  // The INI layer trims values, as the profile functions do.
  EXPECT_EQ(Values(), "-12,True,a = b");
  EXPECT_EQ(host_.Texts(stInfo).back(), "Set string variable \"Name\" to: \"a = b\"");
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Variables successfully loaded");
}

TEST_F(VariablesSaveLoadTest, EraseSectionDecidesWhetherOldKeysStay) {
  WriteBytes(Path("vars.ini"), "[BVVariables]\nOld=1\n");
  host_.Define("New", Variant("2"));
  ASSERT_TRUE(Save({"New"}, /*erase_section=*/false));
  EXPECT_EQ(ReadBytes(Path("vars.ini")), "[BVVariables]\nOld=1\nNew=2\n");
  ASSERT_TRUE(Save({"New"}));
  EXPECT_EQ(ReadBytes(Path("vars.ini")), "[BVVariables]\nNew=2\n") << "line ends kept";
}

TEST_F(VariablesSaveLoadTest, LoadFallsBackToTheCurrentValue) {
  WriteBytes(Path("vars.ini"), "[BVVariables]\nCount=0x1F\nFlag=yes\nName=n\n");
  Define(5, true, "");
  ASSERT_TRUE(Load());
  EXPECT_EQ(Values(), "31,True,n");
  WriteBytes(Path("vars.ini"), "[BVVariables]\nCount=abc\nFlag=0\nName=\n");
  ASSERT_TRUE(Load());
  EXPECT_EQ(Values(), "31,False,");
}

TEST_F(VariablesSaveLoadTest, LoadFailures) {
  struct Case {
    const char* name;
    std::string file;  // empty: no file
    std::vector<std::string> types;
    std::vector<std::string> errors;
  } cases[] = {
      {"missing file", "", {}, {"File " + Path("vars.ini") + " does not exist."}},
      {"bad type", "[BVVariables]\nCount=1\n", {"Text"}, {"Invalid value for variable type: Text"}},
      {"types too few", "[BVVariables]\nCount=1\n", {}, {"Error setting variable Count"}},
      {"key missing", "[BVVariables]\n", {}, {"Variable not found in INI: Count"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove(Path("vars.ini"));
    if (!c.file.empty()) WriteBytes(Path("vars.ini"), c.file);
    Define(0, false, "");
    host_.messages.clear();
    EXPECT_FALSE(Load(c.types));
    EXPECT_EQ(host_.Texts(stError), c.errors);
  }
  // Ignoring the missing file still fails on the first variable.
  std::filesystem::remove(Path("vars.ini"));
  Set(load_, "IgnoreFileNotFound", true);
  host_.messages.clear();
  EXPECT_FALSE(Load());
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"File " + Path("vars.ini") + " does not exist.",
                                      "Variable not found in INI: Count"}));
}

TEST_F(VariablesSaveLoadTest, LoadCreatesMissingKeysWhenAsked) {
  WriteBytes(Path("vars.ini"), "[BVVariables]\nName=x\n");
  Define(3, true, "");
  Set(load_, "FailIfVariableNotInIniFile", false);
  Set(load_, "CreateVarInINIifNotExists", true);
  ASSERT_TRUE(Load());
  EXPECT_EQ(ReadBytes(Path("vars.ini")), "[BVVariables]\nName=x\nCount=3\nFlag=True\n");
  EXPECT_EQ(Values(), "3,True,x");
}

}  // namespace
}  // namespace brivant::testing

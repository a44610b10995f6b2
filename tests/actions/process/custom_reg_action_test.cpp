// The three registry actions against a real store in a temporary directory.
#include "actions/process/custom_reg_action.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "actions/process/delete_reg_value_action.h"
#include "actions/process/read_reg_value_action.h"
#include "actions/process/robocopy_options.h"
#include "actions/process/set_reg_value_action.h"
#include "tests/support/action_test.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

class RegistryActionTest : public testing::ActionTest {
 protected:
  // Runs a Set Registry Value action on HKCU\<key>.
  bool Write(const std::string& key, const std::string& name, TRegValueType type,
             const std::string& value, bool allow_create = true) {
    TSetRegValueAction action;
    Set(action, "RegRoot", int64_t{platform::kHKeyCurrentUser});
    Set(action, "RegKey", key);
    Set(action, "RegValueName", name);
    Set(action, "RegValType", int64_t{type});
    Set(action, "RegValue", value);
    Set(action, "AllowCreateKey", allow_create);
    return host_.Run(action);
  }
  // Runs a Read Registry Value action into the variable OUT.
  bool Read(const std::string& key, const std::string& name, TRegValueType type) {
    TReadRegValueAction action;
    Set(action, "RegRoot", int64_t{platform::kHKeyCurrentUser});
    Set(action, "RegKey", key);
    Set(action, "RegValueName", name);
    Set(action, "RegValType", int64_t{type});
    Set(action, "BVVariable", std::string("OUT"));
    return host_.Run(action);
  }
  bool Delete(const std::string& key, const std::string& name, bool delete_key, bool recursive) {
    TDeleteRegValueAction action;
    Set(action, "RegRoot", int64_t{platform::kHKeyCurrentUser});
    Set(action, "RegKey", key);
    Set(action, "RegValueName", name);
    Set(action, "DeleteKey", delete_key);
    Set(action, "Recursive", recursive);
    return host_.Run(action);
  }
  std::string LastError() const {
    auto errors = host_.Texts(stError);
    return errors.empty() ? "" : errors.back();
  }

  std::string store_ = dir_.Join("data/registry.db");
  testing::ScopedEnv env_{"BRIVANT_REGISTRY", store_};
};

TEST_F(RegistryActionTest, EveryValueTypeReadsBackAsWrittenAndFailsAsAnotherType) {
  host_.Define("OUT");
  struct Row {
    TRegValueType type;
    std::string written;
    Variant variable;
    std::string logged;
    TRegValueType other_type;
    std::string other_error;
  };
  const std::string where = "registry value 'V' of HKCU\\Software\\T";
  const std::vector<Row> rows = {
      {rtInteger, "-5", Variant(int64_t{-5}), "-5", rtString, where + " is REG_DWORD, not REG_SZ"},
      {rtDWord, "4294967295", Variant(uint32_t{4294967295}), "4294967295", rtExpandString,
       where + " is REG_DWORD, not REG_SZ"},
      {rtDWord, "-1", Variant(uint32_t{4294967295}), "4294967295", rtString, ""},
      {rtBoolean, "TRUE", Variant(true), "True", rtString, ""},
      {rtBoolean, "0", Variant(false), "False", rtString, ""},
      {rtString, "a b", Variant("a b"), "a b", rtDWord, where + " is REG_SZ, not REG_DWORD"},
      {rtExpandString, "%%PATH%%", Variant("%PATH%"), "%PATH%", rtBoolean,
       where + " is REG_EXPAND_SZ, not REG_DWORD"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.written);
    host_.messages.clear();
    ASSERT_TRUE(Write("Software\\T", "V", row.type, row.written)) << LastError();
    ASSERT_TRUE(Read("Software\\T", "V", row.type)) << LastError();
    EXPECT_EQ(host_.variables.Get("OUT"), row.variable);
    EXPECT_EQ(host_.Texts(stInfo).back(), "Read Value : " + row.logged);
    if (row.other_error.empty()) continue;
    try {
      Read("Software\\T", "V", row.other_type);
      ADD_FAILURE() << "read as another type succeeded";
    } catch (const ERegistryException& e) {
      EXPECT_EQ(std::string(e.what()), row.other_error);
    }
  }
}

TEST_F(RegistryActionTest, ConversionAndVariableErrorsComeBeforeAnyRegistryWork) {
  EXPECT_FALSE(Write("Software\\T", "V", rtBoolean, "yes"));
  EXPECT_EQ(LastError(), "Error expanding Value : 'yes' is not a valid boolean value");
  EXPECT_FALSE(Write("Software\\T", "V", rtInteger, "4294967295"));
  EXPECT_EQ(LastError(), "Error expanding Value : '4294967295' is not a valid integer value");
  ASSERT_TRUE(Write("Software\\T", "V", rtString, "x"));
  EXPECT_FALSE(Read("Software\\T", "V", rtString));  // OUT is not defined
  EXPECT_EQ(LastError(), "Variable : OUT is not defined");
}

TEST_F(RegistryActionTest, KeysAreCreatedOnlyWithAllowCreateKey) {
  host_.Define("OUT");
  EXPECT_FALSE(Write("Software\\%OUT%x", "V", rtString, "1", /*allow_create=*/false));
  EXPECT_EQ(LastError(), "Key does not exist : Software\\%OUT%x");
  ASSERT_TRUE(Write("Software\\%OUT%x\\Deep", "V", rtString, "1", /*allow_create=*/true));
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Set Value V to : 1");
  ASSERT_TRUE(Write("Software\\x", "W", rtString, "2", /*allow_create=*/false));
  ASSERT_TRUE(Read("Software\\x\\Deep", "V", rtString));
}

TEST_F(RegistryActionTest, NamesDifferingOnlyInCaseAreTheSameKeyAndValue) {
  host_.Define("OUT");
  ASSERT_TRUE(Write("Software\\Acme", "Version", rtString, "1"));
  ASSERT_TRUE(Write("SOFTWARE\\acme", "VERSION", rtString, "2"));
  ASSERT_TRUE(Read("software\\ACME", "version", rtString));
  EXPECT_EQ(host_.VariableText("OUT"), "2");
  auto transaction =
      platform::RegistryTransaction::Begin(store_, platform::RegistryTransaction::Mode::kRead);
  ASSERT_TRUE(transaction.IsOk());
  auto key = transaction.Value().FindKey(platform::kHKeyCurrentUser, {"software"});
  ASSERT_TRUE(key.IsOk() && key.Value());
  EXPECT_EQ(transaction.Value().SubKeyNames(*key.Value()).Value(),
            std::vector<std::string>{"Acme"});
}

TEST_F(RegistryActionTest, DeletesValuesAndKeysAndKeepsKeysWithSubkeysUnlessRecursive) {
  ASSERT_TRUE(Write("Software\\A\\B", "V", rtString, "1"));
  ASSERT_TRUE(Write("Software\\A", "W", rtString, "1"));
  struct Row {
    const char* key;
    const char* name;
    bool delete_key;
    bool recursive;
    bool succeeds;
    std::string last_line;
  };
  const std::vector<Row> rows = {
      {"Software\\A", "Missing", false, false, false,
       "Error Deleting Value Missing - Value does not exist"},
      {"Software\\A", "w", false, false, true, "Deleted Value w"},
      {"Software\\A", "", true, false, false,
       "The key cannot be deleted as it contains subkeys. Enable recursion to delete all child "
       "keys and values."},
      {"Software\\A\\B", "V", false, false, true, "Deleted Value V"},
      {"Software\\A", "", true, true, true, "Key deleted"},
      {"Software\\A", "", true, true, false, "Key does not exist : Software\\A"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.last_line);
    host_.messages.clear();
    EXPECT_EQ(Delete(row.key, row.name, row.delete_key, row.recursive), row.succeeds);
    EXPECT_EQ(host_.messages.back().text, row.last_line);
  }
}

TEST_F(RegistryActionTest, DescriptionsNameTheRootByItsAbbreviation) {
  const std::vector<std::pair<uint32_t, std::string>> roots = {
      {0x80000000, "HKCR"}, {0x80000001, "HKCU"}, {0x80000002, "HKLM"}, {0x80000003, "HKU"},
      {0x80000004, "HKPD"}, {0x80000005, "HKCC"}, {0x80000006, "HKD"},  {0x80000007, ""}};
  for (const auto& [root, abbreviation] : roots) {
    SCOPED_TRACE(abbreviation);
    TReadRegValueAction read;
    Set(read, "RegRoot", int64_t{root});
    Set(read, "RegKey", std::string("Software\\%X%"));
    Set(read, "RegValueName", std::string("Path"));
    Set(read, "BVVariable", std::string("P"));
    EXPECT_EQ(read.GetFormattedDescription(),
              "Read Registry Value [ " + abbreviation + "\\Software\\%X% Path into P ]");
  }
  const PropertyInfo& root_row = *TReadRegValueAction::Properties().Find("RegRoot");
  PropertyValue value;
  std::string error;
  ASSERT_TRUE(ParsePropertyValue(root_row, "hkey_users", &value, &error));
  EXPECT_EQ(value, PropertyValue(int64_t{0x80000003}));
  ASSERT_TRUE(ParsePropertyValue(root_row, "0x80000005", &value, &error));
  EXPECT_EQ(FormatPropertyValue(root_row, value), "HKEY_CURRENT_CONFIG");
}

TEST_F(RegistryActionTest, ReadingAMissingStoreCreatesNothing) {
  host_.Define("OUT");
  EXPECT_FALSE(Read("Software", "V", rtString));
  EXPECT_EQ(LastError(), "Key does not exist : Software");
  EXPECT_FALSE(std::filesystem::exists(dir_.Join("data")));
  EXPECT_EQ(TryToFindRobocopyPath(), "");
  ASSERT_TRUE(Write("software\\?", "path", rtString, "/opt/tools"));
  host_.messages.clear();
  // The tool's location lives in HKLM.
  TSetRegValueAction set;
  Set(set, "RegKey", std::string("software\\?"));
  Set(set, "RegValueName", std::string("path"));
  Set(set, "RegValue", std::string("/opt/tools"));
  Set(set, "AllowCreateKey", true);
  ASSERT_TRUE(host_.Run(set));
  EXPECT_EQ(TryToFindRobocopyPath(), "/opt/tools/robocopy.exe");
}

TEST_F(RegistryActionTest, BadInputGivesClearErrorsAndKeepsTheStore) {
  host_.Define("OUT");
  // Not a database: named in the error and left as it is.
  std::filesystem::create_directories(dir_.Join("data"));
  const std::string garbage(4096, 'x');
  testing::WriteBytes(store_, garbage);
  EXPECT_FALSE(Write("Software", "V", rtString, "1"));
  EXPECT_EQ(host_.Texts(stError).front(), store_ + ": file is not a database");
  EXPECT_EQ(testing::ReadBytes(store_), garbage);
  std::filesystem::remove(store_);
  host_.messages.clear();

  std::string deep;
  for (int level = 0; level < 10000; ++level) deep += "k\\";
  EXPECT_FALSE(Write(deep, "V", rtString, "1"));
  EXPECT_NE(host_.Texts(stError).front().find("registry key path deeper than 512 levels"),
            std::string::npos);

  // A NUL inside a value is kept by the store; a string read stops there.
  host_.Define("NUL", Variant(std::string("a\0b", 3)));
  ASSERT_TRUE(Write("Software", "V", rtString, "%NUL%"));
  ASSERT_TRUE(Read("Software", "V", rtString));
  EXPECT_EQ(host_.VariableText("OUT"), "a");
  auto transaction =
      platform::RegistryTransaction::Begin(store_, platform::RegistryTransaction::Mode::kRead);
  auto key = transaction.Value().FindKey(platform::kHKeyCurrentUser, {"Software"});
  EXPECT_EQ(transaction.Value().ReadValue(*key.Value(), "V").Value()->data, std::string("a\0b", 3));
}

}  // namespace
}  // namespace brivant

// The COM check against a registry store seeded in a temporary directory.
#include "actions/process/if_com_class_registered.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions/process/bv_registry.h"
#include "tests/support/action_test.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

constexpr const char* kWidget = "{0002DF01-0000-0000-C000-000000000046}";

class IfCOMClassRegisteredTest : public testing::ActionTest {
 protected:
  void SetUp() override {
    TBVRegistry registry(KEY_ALL_ACCESS);
    registry.SetRootKey(platform::kHKeyClassesRoot);
    ASSERT_TRUE(registry.OpenKey(std::string("CLSID\\") + kWidget + "\\InprocServer32", true));
    ASSERT_TRUE(
        registry.OpenKey("CLSID\\{11111111-2222-3333-4444-555555555555}\\LocalServer32", true));
    // A class key without a server does not count.
    ASSERT_TRUE(registry.OpenKey("CLSID\\{99999999-2222-3333-4444-555555555555}\\Foo", true));
    ASSERT_TRUE(registry.OpenKey("Acme.Widget\\CLSID", true));
    registry.WriteString("", "{0002df01-0000-0000-c000-000000000046}");
    ASSERT_TRUE(registry.Commit());
  }
  TBVNextAction NextAfterExecute() {
    TBVNextAction next = naRunChildren;
    action_.GetNextActionSource(nssAfterExecute, next);
    return next;
  }

  testing::ScopedEnv env_{"BRIVANT_REGISTRY", dir_.Join("registry.db")};
  TBVIfCOMClassRegistered action_;
};

TEST_F(IfCOMClassRegisteredTest, ClassIDFormsAndTheirBraces) {
  struct Row {
    std::string clsid;
    bool succeeds;
    std::string line;
  };
  const std::vector<Row> rows = {
      {kWidget, true, std::string("COM Class ") + kWidget + " is registered."},
      {"0002df01-0000-0000-c000-000000000046", true,
       "COM Class {0002df01-0000-0000-c000-000000000046} is registered."},
      {"{11111111-2222-3333-4444-555555555555}", true,
       "COM Class {11111111-2222-3333-4444-555555555555} is registered."},
      {"{99999999-2222-3333-4444-555555555555}", true,
       "COM Class {99999999-2222-3333-4444-555555555555} is not registered."},
      {"{0002DF01-0000-0000-C000-000000000046", false,
       "Class ID {0002DF01-0000-0000-C000-000000000046 is not a valid GUID."},
      {"0002DF01-0000-0000-C000-000000000046}", false,
       "Class ID 0002DF01-0000-0000-C000-000000000046} is not a valid GUID."},
      {"0002DF01-0000-0000-C000-00000000004G", false,
       "Class ID {0002DF01-0000-0000-C000-00000000004G} is not a valid GUID."},
      {"", false, "Class ID {} is not a valid GUID."},
  };
  Set(action_, "UseProgID", false);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.clsid);
    host_.messages.clear();
    Set(action_, "CLSID", row.clsid);
    EXPECT_EQ(host_.Run(action_), row.succeeds);
    EXPECT_EQ(host_.messages.back().text, row.line);
  }
}

TEST_F(IfCOMClassRegisteredTest, ProgIDIsLookedUpByItsStoredText) {
  host_.Define("P", Variant("Acme.Widget"));
  Set(action_, "ProgID", std::string("Acme.Widget"));
  EXPECT_TRUE(host_.Run(action_));
  EXPECT_EQ(NextAfterExecute(), naRunChildren);
  Set(action_, "ProgID", std::string("%P%"));
  EXPECT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.messages.back().text, "COM Class Acme.Widget is not registered.");
  EXPECT_EQ(action_.GetActionStatus(), asConditionNotMet);
  EXPECT_EQ(NextAfterExecute(), naLeaveContainer);
}

TEST_F(IfCOMClassRegisteredTest, InvertAndFailIfNotRegisteredDecideTheOutcome) {
  struct Row {
    const char* prog_id;
    bool invert;
    bool fail;
    bool succeeds;
    bool children_run;
  };
  const std::vector<Row> rows = {
      {"Acme.Widget", true, false, true, false},  {"Acme.Widget", true, true, false, false},
      {"Acme.Gadget", true, false, true, true},   {"Acme.Gadget", false, true, false, false},
      {"Acme.Gadget", false, false, true, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.prog_id) + (row.invert ? " inverted" : "") +
                 (row.fail ? " failing" : ""));
    action_.ResetBuildStatus();
    Set(action_, "ProgID", std::string(row.prog_id));
    Set(action_, "Invert", row.invert);
    Set(action_, "FailIfNotRegistered", row.fail);
    EXPECT_EQ(host_.Run(action_), row.succeeds);
    EXPECT_EQ(NextAfterExecute() == naRunChildren, row.children_run);
    EXPECT_EQ(action_.GetActionStatus() == asConditionNotMet, row.succeeds && !row.children_run);
  }
}

}  // namespace
}  // namespace brivant

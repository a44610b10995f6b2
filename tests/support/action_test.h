// The common base of the action test fixtures: a fresh temporary directory,
// the recording host and property access by name, as a project file would
// set them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class ActionTest : public ::testing::Test {
 protected:
  static void Set(TCustomBVAction& action, const char* property, const PropertyValue& value) {
    const PropertyInfo* info = action.GetPropertyTable().Find(property);
    ASSERT_NE(info, nullptr) << property;
    SetProperty(action, *info, value);
  }
  static PropertyValue Get(const TCustomBVAction& action, const char* property) {
    const PropertyInfo* info = action.GetPropertyTable().Find(property);
    EXPECT_NE(info, nullptr) << property;
    return info == nullptr ? PropertyValue{} : GetProperty(action, *info);
  }

  std::string Path(const std::string& name) const { return dir_.Join(name); }

  ScopedTempDir dir_;
  TestHost host_;
};

}  // namespace brivant::testing

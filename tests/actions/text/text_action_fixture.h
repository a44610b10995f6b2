// Shared set-up of the text-file action tests: a temporary directory, the
// recording host and property setters by name.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class TextActionTest : public ::testing::Test {
 protected:
  static void Set(TCustomBVAction& action, const char* property, const PropertyValue& value) {
    const PropertyInfo* info = action.GetPropertyTable().Find(property);
    ASSERT_NE(info, nullptr) << property;
    SetProperty(action, *info, value);
  }
  std::string Path(const std::string& name) const { return dir_.Join(name); }

  ScopedTempDir dir_;
  TestHost host_;
};

}  // namespace brivant::testing

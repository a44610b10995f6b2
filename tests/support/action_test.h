// The common base of the action test fixtures: a fresh temporary directory,
// the recording host and property access by name, as a project file would
// set them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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

  // Sets properties from their project-file texts, given as
  // "Name=text|Name|..."; a bare name means True.
  static void SetAll(TCustomBVAction& action, const std::string& settings) {
    for (size_t start = 0; start < settings.size();) {
      size_t end = std::min(settings.find('|', start), settings.size());
      std::string setting = settings.substr(start, end - start);
      size_t equals = std::min(setting.find('='), setting.size());
      std::string text = equals < setting.size() ? setting.substr(equals + 1) : "True";
      SetText(action, setting.substr(0, equals), text);
      start = end + 1;
    }
  }
  static void SetText(TCustomBVAction& action, const std::string& property,
                      const std::string& text) {
    const PropertyInfo* info = action.GetPropertyTable().Find(property);
    ASSERT_NE(info, nullptr) << property;
    PropertyValue value;
    std::string error;
    ASSERT_TRUE(ParsePropertyValue(*info, text, &value, &error)) << property << ": " << error;
    SetProperty(action, *info, value);
  }

  // Where the host goes after Execute, for an action that has children.
  static TBVNextAction NextAfterExecute(TCustomBVAction& action) {
    TBVNextAction next = naRunChildren;
    action.GetNextActionSource(nssAfterExecute, next);
    return next;
  }

  std::string Path(const std::string& name) const { return dir_.Join(name); }

  ScopedTempDir dir_;
  TestHost host_;
};

}  // namespace brivant::testing

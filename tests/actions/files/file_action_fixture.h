// Shared set-up of the file action tests: a temporary directory with helpers
// that build trees in it, the recording host and property access by name.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class FileActionTest : public ::testing::Test {
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

  // Writes `name` (relative to the temporary directory), creating parents.
  void MakeFile(const std::string& name, const std::string& content = "x") const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    WriteBytes(Path(name), content);
  }
  void MakeDirectory(const std::string& name) const {
    std::filesystem::create_directories(Path(name));
  }
  // Read-only as Windows means it: no write bit for anyone.
  void MakeReadOnly(const std::string& name) const {
    using std::filesystem::perms;
    std::filesystem::permissions(Path(name),
                                 perms::owner_write | perms::group_write | perms::others_write,
                                 std::filesystem::perm_options::remove);
  }
  bool IsOwnerWritable(const std::string& name) const {
    return (std::filesystem::status(Path(name)).permissions() &
            std::filesystem::perms::owner_write) != std::filesystem::perms::none;
  }
  bool Exists(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(Path(name)));
  }

  // The host's events without progress lines: log lines and group bounds.
  static std::vector<std::string> LogEvents(const TestHost& host) {
    std::vector<std::string> lines;
    for (const std::string& event : host.events) {
      if (event.rfind("progress ", 0) != 0) lines.push_back(event);
    }
    return lines;
  }

  ScopedTempDir dir_;
  TestHost host_;
};

}  // namespace brivant::testing

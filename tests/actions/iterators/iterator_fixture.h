// Shared set-up of the iterator tests: a temporary directory with helpers that
// build trees in it, the recording host, property access by name, and a loop
// driver that asks the iterator for its next step as the build runner does.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class IteratorTest : public ::testing::Test {
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
  std::vector<std::string> Paths(const std::vector<std::string>& names) const {
    std::vector<std::string> paths;
    for (const std::string& name : names) paths.push_back(Path(name));
    return paths;
  }
  void MakeFile(const std::string& name) const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    WriteBytes(Path(name), "x");
  }
  void MakeDirectory(const std::string& name) const {
    std::filesystem::create_directories(Path(name));
  }

  // Runs the loop as the host does: Execute, then one pass per iteration, in
  // which `each_pass` stands for the children. Returns the loop variable "F"
  // of each pass; *execute_result gets what Execute returned.
  std::vector<std::string> RunLoop(TBVBaseIterator& iterator,
                                   const std::function<void()>& each_pass = {},
                                   bool* execute_result = nullptr) {
    iterator.SetBVVariable("F");
    std::vector<std::string> values;
    bool executed = host_.Run(iterator);
    if (execute_result != nullptr) *execute_result = executed;
    if (!executed) return values;
    TBVNextAction next = naRunChildren;
    iterator.GetNextActionSource(nssAfterExecute, next);
    while (next == naRunChildren || next == naRepeat) {
      values.push_back(host_.VariableText("F"));
      if (each_pass) each_pass();
      next = naLeaveContainer;
      iterator.GetNextActionSource(nssAfterChildren, next);
    }
    return values;
  }

  ScopedTempDir dir_;
  TestHost host_;
};

}  // namespace brivant::testing

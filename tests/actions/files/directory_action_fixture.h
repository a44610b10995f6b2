// Shared set-up of the delete-files and directory action tests: a temporary
// tree built from short relative names, a look at what is left of it, the
// recording host and property access by name. The working directory is put
// back after every test, since some tests make an action move it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/file_attributes.h"
#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class DirectoryActionTest : public ActionTest {
 protected:
  void SetUp() override { original_cwd_ = std::filesystem::current_path(); }
  void TearDown() override { std::filesystem::current_path(original_cwd_); }

  // One line per published row of the action's table: "name type default
  // [not stored] [read-only]", plus what the constructor set when that
  // differs from the default.
  static std::vector<std::string> Rows(const TCustomBVAction& action) {
    std::vector<std::string> rows;
    for (const PropertyInfo& row : action.GetPropertyTable().Rows()) {
      std::string text =
          std::string(row.name) + " " + std::string(row.type_name) + " " + row.default_text;
      if (!row.stored) text += " [not stored]";
      if (row.IsReadOnly()) text += " [read-only]";
      std::string constructed = FormatPropertyValue(row, GetProperty(action, row));
      if (constructed != row.default_text) text += " (constructor: " + constructed + ")";
      rows.push_back(text);
    }
    return rows;
  }

  void MakeDir(const std::string& name) const { std::filesystem::create_directories(Path(name)); }
  // Creates the file and any missing parent directories.
  void MakeFile(const std::string& name, const std::string& content = "x") const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    WriteBytes(Path(name), content);
  }
  void MakeReadOnly(const std::string& name) const {
    ASSERT_FALSE(platform::SetFileAttributes(Path(name), platform::kFileAttributeReadOnly));
  }
  bool Exists(const std::string& name) const {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(Path(name), error));
  }
  // Every entry below `name` (links not followed), relative to it, sorted;
  // directories end in '/'.
  std::vector<std::string> Tree(const std::string& name = "") const {
    std::vector<std::string> entries;
    std::filesystem::path root = name.empty() ? dir_.path() : Path(name);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      std::string relative = entry.path().lexically_relative(root).string();
      if (entry.is_directory() && !entry.is_symlink()) relative += "/";
      entries.push_back(relative);
    }
    std::sort(entries.begin(), entries.end());
    return entries;
  }

 private:
  std::filesystem::path original_cwd_;
};

}  // namespace brivant::testing

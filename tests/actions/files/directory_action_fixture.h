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
#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {

class DirectoryActionTest : public FileActionTest {
 protected:
  void SetUp() override { original_cwd_ = std::filesystem::current_path(); }
  void TearDown() override { std::filesystem::current_path(original_cwd_); }

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

// Shared set-up of the tests of the smaller file actions (exists check, create, move and
// delete directory, delete files, touch, concatenate, disk space, rename, file size, file-set
// copy/move): a temporary directory, the recording host, property setters by name and helpers
// that build and describe small trees.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {

class MiscFileActionTest : public FileActionTest {
 protected:
  // The tree under the absolute `root`, sorted: "dir/" for a directory,
  // "file=content" for a file, "link->target" for a symbolic link.
  static std::vector<std::string> TreeAt(const std::string& root) {
    std::vector<std::string> lines;
    namespace fs = std::filesystem;
    fs::path base = fs::path(root).lexically_normal();
    if (!base.has_filename()) base = base.parent_path();
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(base)) {
      // Lexically: fs::relative would resolve the links the listing shows.
      std::string relative = entry.path().lexically_relative(base).string();
      if (entry.is_symlink())
        lines.push_back(relative + "->" + fs::read_symlink(entry.path()).string());
      else if (entry.is_directory())
        lines.push_back(relative + "/");
      else
        lines.push_back(relative + "=" + ReadBytes(entry.path().string()));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }
  std::vector<std::string> Tree(const std::string& name = "") const { return TreeAt(Path(name)); }

  // Seconds since the epoch of a local wall-clock time.
  static std::time_t LocalSeconds(int year, int month, int day, int hour, int minute, int second) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return std::mktime(&fields);
  }

  std::time_t WriteTimeOf(const std::string& name) const {
    auto time = std::filesystem::last_write_time(Path(name));
    return std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(
            std::chrono::file_clock::to_sys(time)));
  }

  void SetWriteTime(const std::string& name, std::time_t seconds) const {
    auto time = std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(seconds));
    std::filesystem::last_write_time(Path(name), time);
  }
};

}  // namespace brivant::testing

// Shared set-up of the file action tests: a temporary directory with helpers
// that build trees in it, the recording host and property access by name.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class FileActionTest : public ActionTest {
 protected:
  // Writes `name` (relative to the temporary directory), creating parents.
  void MakeFile(const std::string& name, const std::string& content = "x") const {
    std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
    WriteBytes(Path(name), content);
  }
  void MakeDirectory(const std::string& name) const {
    std::filesystem::create_directories(Path(name));
  }
  static constexpr std::filesystem::perms kAllWrite = std::filesystem::perms::owner_write |
                                                      std::filesystem::perms::group_write |
                                                      std::filesystem::perms::others_write;
  // Read-only as Windows means it: no write bit for anyone.
  void MakeReadOnly(const std::string& name) const {
    std::filesystem::permissions(Path(name), kAllWrite, std::filesystem::perm_options::remove);
  }
  bool IsOwnerWritable(const std::string& name) const {
    return (std::filesystem::status(Path(name)).permissions() &
            std::filesystem::perms::owner_write) != std::filesystem::perms::none;
  }
  bool Exists(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(Path(name)));
  }

  // The message of the E that `run` throws, or "<no exception>".
  template <class E>
  static std::string MessageOf(const std::function<void()>& run) {
    try {
      run();
    } catch (const E& e) {
      return e.what();
    }
    return "<no exception>";
  }

  // The host's events without progress lines: log lines and group bounds.
  static std::vector<std::string> LogEvents(const TestHost& host) {
    std::vector<std::string> lines;
    for (const std::string& event : host.events) {
      if (event.rfind("progress ", 0) != 0) lines.push_back(event);
    }
    return lines;
  }
};

}  // namespace brivant::testing

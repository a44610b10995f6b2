// A project file set with a fixed list, as the host would have evaluated it,
// for tests of actions that take a file set.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "package/action_host.h"

namespace brivant::testing {

class ListedFileSet : public IBVFileSet {
 public:
  explicit ListedFileSet(std::vector<std::string> files) : files_(std::move(files)) {}
  ListedFileSet(std::string base_dir, std::vector<std::string> files)
      : files_(std::move(files)), base_dir_(std::move(base_dir)) {}
  std::vector<std::string> GetFiles() const override {
    if (on_get_files) on_get_files();
    return files_;
  }
  std::string GetBaseDir() const override { return base_dir_; }
  bool Refresh(std::string* error) override {
    ++refreshes;
    if (!refresh_error.empty()) *error = refresh_error;
    return refresh_error.empty();
  }

  int refreshes = 0;
  std::string refresh_error;           // what a failing refresh reports
  std::function<void()> on_get_files;  // runs as the set is read

 private:
  std::vector<std::string> files_;
  std::string base_dir_;
};

}  // namespace brivant::testing

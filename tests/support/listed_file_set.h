// A project file set with a fixed list, as the host would have evaluated it,
// for tests of actions that take a file set.
#pragma once

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
  std::vector<std::string> GetFiles() const override { return files_; }
  std::string GetBaseDir() const override { return base_dir_; }
  bool Refresh(std::string*) override { return true; }

 private:
  std::vector<std::string> files_;
  std::string base_dir_;
};

}  // namespace brivant::testing

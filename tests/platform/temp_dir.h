// A fresh real directory per test for the file-search, attribute and
// file-operation tests, with the small helpers they share to put files in
// place and look at them without the code under test.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace brivant::platform {

class TempDirTest : public ::testing::Test {
 protected:
  void SetUp() override { root_ = MakeTempDir(std::filesystem::temp_directory_path()); }

  void TearDown() override {
    for (const std::string& directory : made_) RemoveTree(directory);
  }

  // Also used for a second directory on another file system.
  std::string MakeTempDir(const std::filesystem::path& parent) {
    std::string pattern = (parent / "brivant-platform-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "mkdtemp in " << parent;
      return "";
    }
    made_.push_back(pattern);
    return pattern;
  }

  std::string PathOf(const std::string& name) const { return root_ + "/" + name; }

  void Put(const std::string& name, const std::string& bytes) const {
    std::ofstream(PathOf(name), std::ios::binary) << bytes;
  }

  std::string Get(const std::string& name) const { return ReadAll(PathOf(name)); }

  static std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  static mode_t ModeOf(const std::string& path) {
    struct stat info = {};
    lstat(path.c_str(), &info);
    return info.st_mode & 07777;
  }

  static std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  static void SetDosAttribute(const std::string& path, const std::string& raw) {
    ASSERT_EQ(setxattr(path.c_str(), "user.DOSATTRIB", raw.data(), raw.size(), 0), 0) << path;
  }

  // The raw stored text, or nothing when the attribute is absent.
  static std::optional<std::string> DosAttribute(const std::string& path) {
    char buffer[256];
    ssize_t length = lgetxattr(path.c_str(), "user.DOSATTRIB", buffer, sizeof buffer);
    if (length < 0) return std::nullopt;
    return std::string(buffer, static_cast<size_t>(length));
  }

  static void ExpectError(const OsError& error, int code, const char* message,
                          const std::string& path) {
    EXPECT_EQ(error.code, code);
    EXPECT_EQ(error.message, message);
    EXPECT_EQ(error.path, path);
  }

  std::string root_;

 private:
  // Gives back permissions a test took away, or removal would fail.
  static void RemoveTree(const std::string& directory) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (auto it = fs::recursive_directory_iterator(directory, ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
      if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
      }
    }
    fs::remove_all(directory, ignored);
  }

  std::vector<std::string> made_;
};

// Lowers the file size limit for one scope; writing past it fails with
// EFBIG even for root.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : old_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    rlimit limited = saved_;
    limited.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit saved_;
  void (*old_handler_)(int);
};

}  // namespace brivant::platform

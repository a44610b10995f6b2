#include "platform/directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/temp_dir.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

// The tree delete removes files through the directory it listed: a path
// turned into a link to another directory meanwhile must not send the
// removal there, and a read-only file is refused unless asked for.
TEST_F(TempDirTest, OpenDirectoryRemovesFromTheDirectoryItListed) {
  fs::create_directories(PathOf("tree"));
  fs::create_directories(PathOf("elsewhere"));
  Put("tree/f", "in the tree");
  Put("tree/locked", "read-only");
  chmod(PathOf("tree/locked").c_str(), 0444);
  Put("elsewhere/f", "outside");
  OsResult<OpenDirectory> tree = OpenDirectory::Open(PathOf("tree"));
  ASSERT_TRUE(tree.IsOk());
  fs::rename(PathOf("tree"), PathOf("moved"));
  fs::create_directory_symlink(PathOf("elsewhere"), PathOf("tree"));

  OsResult<std::vector<DirectoryEntry>> entries = tree.Value().List();
  ASSERT_TRUE(entries.IsOk());
  ASSERT_EQ(entries.Value().size(), 2u);
  EXPECT_EQ(entries.Value()[0].name, "f");
  EXPECT_FALSE(tree.Value().DeleteFile("f", ReadOnlyFile::kRefuse));
  EXPECT_EQ(NamesIn(PathOf("moved")), std::vector<std::string>{"locked"});
  EXPECT_EQ(Get("elsewhere/f"), "outside");

  OsError refused = tree.Value().DeleteFile("locked", ReadOnlyFile::kRefuse);
  EXPECT_EQ(refused.code, EACCES);
  EXPECT_EQ(refused.path, PathOf("tree") + "/locked");
  EXPECT_FALSE(tree.Value().DeleteFile("locked", ReadOnlyFile::kDelete));
  EXPECT_TRUE(NamesIn(PathOf("moved")).empty());
}

}  // namespace
}  // namespace brivant::platform

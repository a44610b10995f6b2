#include "platform/system_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/temp_dir.h"
#include "tests/support/scoped_env.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

using ::brivant::testing::ScopedEnv;

TEST(SystemPaths, DirectoriesComeFromTheEnvironmentWithFallbacks) {
  struct Row {
    std::optional<std::string> value;
    std::string sys_directory;
    std::string temporary_directory;
  };
  const std::vector<Row> rows = {
      {std::nullopt, "/usr/bin", "/tmp"},
      {"", "/usr/bin", "/tmp"},
      {"/opt/tools//", "/opt/tools", "/opt/tools"},
      {"/", "/", "/"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value.value_or("<unset>"));
    ScopedEnv sysdir("BRIVANT_SYSDIR", row.value);
    ScopedEnv tmpdir("TMPDIR", row.value);
    EXPECT_EQ(GetSysDirectory(), row.sys_directory);
    EXPECT_EQ(GetTemporaryDirectory(), row.temporary_directory);
  }
}

class TemporaryFileTest : public TempDirTest {};

TEST_F(TemporaryFileTest, CreatesAPrivateFileWithTheBytes) {
  ScopedEnv tmpdir("TMPDIR", root_);
  OsResult<std::string> first = CreateTemporaryFile("xcp", "a\nb\n");
  OsResult<std::string> second = CreateTemporaryFile("xcp", "");
  ASSERT_TRUE(first.IsOk()) << first.Error().Describe();
  ASSERT_TRUE(second.IsOk()) << second.Error().Describe();
  EXPECT_NE(first.Value(), second.Value());
  EXPECT_EQ(fs::path(first.Value()).parent_path(), root_);
  EXPECT_EQ(fs::path(first.Value()).filename().string().substr(0, 3), "xcp");
  EXPECT_EQ(ReadAll(first.Value()), "a\nb\n");
  EXPECT_EQ(fs::status(first.Value()).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(TemporaryFileTest, MissingDirectoryIsNamedInTheError) {
  ScopedEnv tmpdir("TMPDIR", root_ + "/missing");
  OsResult<std::string> file = CreateTemporaryFile("xcp", "x");
  ASSERT_FALSE(file.IsOk());
  EXPECT_EQ(file.Error().Describe(), root_ + "/missing: No such file or directory");
}

}  // namespace
}  // namespace brivant::platform

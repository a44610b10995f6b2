#include "platform/file_attributes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/platform/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kReadOnly = kFileAttributeReadOnly;
constexpr uint32_t kHidden = kFileAttributeHidden;
constexpr uint32_t kSystem = kFileAttributeSystem;
constexpr uint32_t kDirectory = kFileAttributeDirectory;
constexpr uint32_t kArchive = kFileAttributeArchive;
constexpr uint32_t kNormal = kFileAttributeNormal;
constexpr uint32_t kLink = kFileAttributeReparsePoint;

using FileAttributesTest = TempDirTest;

uint32_t AttributesOf(const std::string& path) {
  OsResult<uint32_t> attributes = GetFileAttributes(path);
  EXPECT_TRUE(attributes.IsOk()) << attributes.Error().Describe();
  return attributes.IsOk() ? attributes.Value() : 0;
}

TEST_F(FileAttributesTest, AttributesComeFromTypeModeNameAndDosWord) {
  const struct {
    const char* name;
    mode_t mode;
    std::optional<std::string> dos_word;  // stored as it stands
    uint32_t expected;
  } cases[] = {
      // clang-format off
      {"plain", 0644, std::nullopt, kNormal},
      {"no-owner-write", 0466, std::nullopt, kReadOnly},
      {"read-only", 0444, std::nullopt, kReadOnly}, {".dotted", 0644, std::nullopt, kHidden},
      {"samba-text", 0644, "0x22", kHidden | kArchive},
      {"upper-case", 0644, "0X24", kSystem | kArchive}, {"decimal", 0644, "34", kHidden | kArchive},
      {"trailing-nul", 0644, std::string("0x4\0", 4), kSystem},
      {"not-ours", 0644, "0x91", kNormal},  // read-only, directory and normal bits
      {"garbage", 0644, "hidden", kNormal}, {"empty", 0644, "", kNormal},
      {"read-only-system", 0444, "0x4", kReadOnly | kSystem},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Put(c.name, "");
    if (c.dos_word) SetDosAttribute(PathOf(c.name), *c.dos_word);
    chmod(PathOf(c.name).c_str(), c.mode);
    EXPECT_EQ(AttributesOf(PathOf(c.name)), c.expected);
  }
}

TEST_F(FileAttributesTest, SambaBinaryFormReadsByItsLeadingText) {
  // The newer form: "0x20", a NUL, then a binary version-4 record.
  static const char kBlob[] = "0x20\0\x04\x00\x04\x00\x00\x00\x11\x00\x00\x00\x20\x00\x00\x00";
  const std::string blob(kBlob, sizeof kBlob - 1);
  Put("blob", "");
  SetDosAttribute(PathOf("blob"), blob);
  EXPECT_EQ(AttributesOf(PathOf("blob")), kArchive);
  // Longer than the first read buffer.
  Put("long", "");
  SetDosAttribute(PathOf("long"), std::string("0x2\0", 4) + std::string(400, '\x01'));
  EXPECT_EQ(AttributesOf(PathOf("long")), kHidden);
}

TEST_F(FileAttributesTest, DirectoriesAndLinksHaveTheirWindowsBits) {
  fs::create_directory(PathOf("dir"));
  fs::create_directory(PathOf("locked"));
  chmod(PathOf("locked").c_str(), 0555);
  Put("file", "");
  fs::create_directory_symlink("dir", PathOf("to-dir"));
  fs::create_directory_symlink("dir", PathOf(".to-dir"));
  fs::create_symlink("file", PathOf("to-file"));
  fs::create_symlink("missing", PathOf("dangling"));
  const struct {
    std::string path;
    uint32_t expected;
  } cases[] = {
      // clang-format off
      {PathOf("dir"), kDirectory}, {PathOf("dir/"), kDirectory},
      {PathOf("locked"), kDirectory | kReadOnly}, {PathOf("to-dir"), kLink | kDirectory},
      {PathOf(".to-dir"), kLink | kDirectory | kHidden},
      {PathOf("to-file"), kLink}, {PathOf("dangling"), kLink},
      {PathOf("dir/.."), kDirectory},  // position, not a hidden name
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(AttributesOf(c.path), c.expected);
  }
}

TEST_F(FileAttributesTest, MissingPathIsAnError) {
  OsResult<uint32_t> attributes = GetFileAttributes(PathOf("missing"));
  ASSERT_FALSE(attributes.IsOk());
  ExpectError(attributes.Error(), ENOENT, "No such file or directory", PathOf("missing"));
  ExpectError(SetFileAttributes(PathOf("missing"), kReadOnly), ENOENT, "No such file or directory",
              PathOf("missing"));
}

TEST_F(FileAttributesTest, SettingChangesModeAndStoredWordOnlyAsNeeded) {
  const struct {
    const char* label;
    const char* name;
    mode_t mode;
    const char* dos_word_before;  // nullptr: none
    uint32_t set;
    mode_t mode_after;
    std::optional<std::string> dos_word_after;
    uint32_t attributes_after;
  } cases[] = {
      {"read-only removes every write bit", "a", 0664, nullptr, kReadOnly, 0444, std::nullopt,
       kReadOnly},
      {"clearing read-only adds the owner's write bit", "b", 0444, nullptr, kNormal, 0644,
       std::nullopt, kNormal},
      {"system and archive are stored as hex text", "c", 0644, nullptr, kSystem | kArchive, 0644,
       "0x24", kSystem | kArchive},
      {"normal removes the stored word", "d", 0644, "0x22", kNormal, 0644, std::nullopt, kNormal},
      {"unchanged bits are not rewritten", "e", 0644, "0X22", kHidden | kArchive, 0644, "0X22",
       kHidden | kArchive},
      {"bits of other kinds are ignored", "f", 0644, nullptr, kDirectory | kLink | 0x100, 0644,
       std::nullopt, kNormal},
      {"read-only and system together", "g", 0644, nullptr, kReadOnly | kSystem, 0444, "0x4",
       kReadOnly | kSystem},
      {"a read-only file gets its word changed", "h", 0444, "0x4", kArchive, 0644, "0x20",
       kArchive},
      {"a dot name is hidden without a stored bit", ".i", 0644, nullptr, kHidden, 0644,
       std::nullopt, kHidden},
      {"a dot name stays hidden when cleared", ".j", 0644, "0x2", kNormal, 0644, std::nullopt,
       kHidden},
      {"zero clears everything", "k", 0444, "0x26", 0, 0644, std::nullopt, kNormal},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    std::string path = PathOf(c.name);
    Put(c.name, "content");
    if (c.dos_word_before != nullptr) SetDosAttribute(path, c.dos_word_before);
    chmod(path.c_str(), c.mode);
    OsError error = SetFileAttributes(path, c.set);
    ASSERT_FALSE(error) << error.Describe();
    EXPECT_EQ(ModeOf(path), c.mode_after);
    EXPECT_EQ(DosAttribute(path), c.dos_word_after);
    EXPECT_EQ(AttributesOf(path), c.attributes_after);
    EXPECT_EQ(Get(c.name), "content");
  }
}

// Without root, user extended attributes need write permission, so the
// order of mode and word matters.
TEST_F(FileAttributesTest, OrdinaryOwnerChangesTheWordOfAReadOnlyFile) {
  Put("file", "");
  SetDosAttribute(PathOf("file"), "0x4");
  chmod(PathOf("file").c_str(), 0444);
  bool ran = testing::RunUnprivileged(root_, [&] {
    EXPECT_FALSE(SetFileAttributes(PathOf("file"), kArchive));
    EXPECT_FALSE(SetFileAttributes(PathOf("file"), kReadOnly | kHidden));
  });
  if (!ran) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(DosAttribute(PathOf("file")), "0x2");
  EXPECT_EQ(ModeOf(PathOf("file")), 0444u);
}

TEST_F(FileAttributesTest, DirectoryTakesTheSameBits) {
  fs::create_directory(PathOf("dir"));
  ASSERT_FALSE(SetFileAttributes(PathOf("dir"), kHidden | kSystem));
  EXPECT_EQ(DosAttribute(PathOf("dir")), "0x6");
  EXPECT_EQ(AttributesOf(PathOf("dir")), kDirectory | kHidden | kSystem);
}

TEST_F(FileAttributesTest, LinkRefusesBitsAndLeavesItsTargetAlone) {
  Put("file", "");
  chmod(PathOf("file").c_str(), 0644);
  fs::create_symlink("file", PathOf("link"));
  fs::create_symlink("file", PathOf(".dotlink"));
  const struct {
    const char* name;
    uint32_t set;
    int code;
  } cases[] = {
      // clang-format off
      {"link", kReadOnly, EPERM}, {"link", kSystem, EPERM}, {"link", kHidden, EPERM},
      {"link", kNormal, 0}, {"link", kDirectory | kLink, 0}, {".dotlink", kHidden, 0},
      {".dotlink", kHidden | kArchive, EPERM},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.set));
    OsError error = SetFileAttributes(PathOf(c.name), c.set);
    EXPECT_EQ(error.code, c.code);
    if (c.code != 0) ExpectError(error, EPERM, "Operation not permitted", PathOf(c.name));
    EXPECT_EQ(ModeOf(PathOf("file")), 0644u);
    EXPECT_EQ(DosAttribute(PathOf("file")), std::nullopt);
  }
}

TEST_F(FileAttributesTest, StoringWhereTheSystemRefusesGivesItsError) {
  // Linux keeps no user extended attributes on a pipe, for root too.
  ASSERT_EQ(mkfifo(PathOf("pipe").c_str(), 0644), 0);
  ExpectError(SetFileAttributes(PathOf("pipe"), kSystem), EPERM, "Operation not permitted",
              PathOf("pipe"));
  EXPECT_EQ(AttributesOf(PathOf("pipe")), kNormal);
  // Read-only alone needs no extended attribute.
  ASSERT_FALSE(SetFileAttributes(PathOf("pipe"), kReadOnly));
  EXPECT_EQ(ModeOf(PathOf("pipe")), 0444u);
}

}  // namespace
}  // namespace brivant::platform

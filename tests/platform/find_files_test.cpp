#include "platform/find_files.h"

#include <fcntl.h>  // AT_FDCWD
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/platform/temp_dir.h"

namespace brivant::platform {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kReadOnly = kFileAttributeReadOnly;
constexpr uint32_t kHidden = kFileAttributeHidden;
constexpr uint32_t kSystem = kFileAttributeSystem;
constexpr uint32_t kDirectory = kFileAttributeDirectory;
constexpr uint32_t kNormal = kFileAttributeNormal;
constexpr uint32_t kLink = kFileAttributeReparsePoint;

class FindFilesTest : public TempDirTest {
 protected:
  std::vector<FoundEntry> Find(const std::string& file_spec,
                               uint32_t mask = kFindAnyAttribute) const {
    OsResult<std::vector<FoundEntry>> found = FindFiles(file_spec, mask);
    EXPECT_TRUE(found.IsOk()) << found.Error().Describe();
    return found.IsOk() ? found.Value() : std::vector<FoundEntry>();
  }

  std::vector<std::string> Names(const std::string& file_spec,
                                 uint32_t mask = kFindAnyAttribute) const {
    std::vector<std::string> names;
    for (const FoundEntry& entry : Find(file_spec, mask)) names.push_back(entry.name);
    return names;
  }

  // One of each kind the attribute mask tells apart.
  void PutOneOfEachKind() const {
    Put("file", "f");
    Put("readonly", "r");
    chmod(PathOf("readonly").c_str(), 0444);
    Put(".hidden", "h");
    Put("system", "s");
    SetDosAttribute(PathOf("system"), "0x4");
    fs::create_directory(PathOf("dir"));
    fs::create_directory(PathOf(".hiddendir"));
    fs::create_directory_symlink("dir", PathOf("linkdir"));
    fs::create_symlink("file", PathOf("linkfile"));
  }
};

TEST_F(FindFilesTest, SearchWithoutStoredBitsStillFiltersSystemFiles) {
  PutOneOfEachKind();
  auto attributes_of = [this](uint32_t mask, FindDetail detail) {
    OsResult<std::vector<FoundEntry>> found = FindFiles(PathOf("s*"), mask, detail);
    EXPECT_TRUE(found.IsOk());
    return found.IsOk() && !found.Value().empty() ? found.Value().front().attributes : 0u;
  };
  EXPECT_EQ(attributes_of(kFindAnyAttribute, FindDetail::kFull), kSystem);
  // Everything admitted: the stored word is not read, so SYSTEM is not seen.
  EXPECT_EQ(attributes_of(kFindAnyAttribute, FindDetail::kWithoutStoredBits), kNormal);
  // A mask that filters system files needs the word: it is read anyway.
  EXPECT_EQ(attributes_of(0, FindDetail::kWithoutStoredBits), 0u);
}

// Names and kinds only: the same entries as a full search under each mask,
// with kinds and hidden or system filtering intact, READONLY and sizes left out.
TEST_F(FindFilesTest, NamesAndKindsSearchFiltersLikeAFullOne) {
  PutOneOfEachKind();
  for (uint32_t mask : {0u, kDirectory, kFindAnyAttribute}) {
    SCOPED_TRACE(mask);
    OsResult<std::vector<FoundEntry>> full = FindFiles(PathOf("*"), mask, FindDetail::kFull);
    OsResult<std::vector<FoundEntry>> light =
        FindFiles(PathOf("*"), mask, FindDetail::kNamesAndKinds);
    ASSERT_TRUE(full.IsOk() && light.IsOk());
    ASSERT_EQ(light.Value().size(), full.Value().size());
    for (size_t i = 0; i < full.Value().size(); ++i) {
      const FoundEntry& expected = full.Value()[i];
      const FoundEntry& entry = light.Value()[i];
      SCOPED_TRACE(expected.name);
      EXPECT_EQ(entry.name, expected.name);
      const uint32_t kinds = kDirectory | kLink | kHidden;
      EXPECT_EQ(entry.attributes & kinds, expected.attributes & kinds);
      if (entry.IsLink()) continue;  // links are described in full
      EXPECT_EQ(entry.attributes & kReadOnly, 0u);
      EXPECT_EQ(entry.size, 0u);
    }
  }
}

TEST(MatchesMask, FollowsTheWildcardRules) {
  const struct {
    const char* name;
    const char* mask;
    bool matches;
  } cases[] = {
      // clang-format off
      {"abc.txt", "*.txt", true},
      {"abc.txt", "*.TXT", false},  // case-sensitive, as the file system is
      {"abc.txtx", "*.txt", false}, {"abc", "*.*", true}, {".profile", "*.*", true},
      {"abc", "abc.*", true},  // a trailing ".*" also takes names without a dot
      {"abc.d", "abc.*", true}, {"abcd", "abc.*", false}, {"abc.tar.gz", "abc.*", true},
      {"abc", "abc?", true},  // `?` takes nothing at the end of a name
      {".", "*.*", true}, {"..", "*.*", true}, {"ab", "a*.*", true},
      {"a.", "a?.*", true},  // `?` takes nothing before a dot
      {"a.b.c", "*.c", true}, {"abc", "a?c", true}, {"ac", "a?c", false}, {"a.txt", "?.txt", true},
      {"aa.txt", "?.txt", false}, {"abbbc", "a*c", true}, {"abcd", "a*c", false},
      {"mississippi", "m*iss*ppi", true}, {"aaa", "a*a*a*a", false}, {"x*y", "x*y", true},
      {"name", "name", true}, {"name", "nam", false}, {"name", "", false},
      {"ab.c", "*b*.", false},  // a run before a final dot does not take the last dot
      {"ab.c.", "*b*.", true},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " ~ " + c.mask);
    EXPECT_EQ(MatchesMask(c.name, c.mask), c.matches);
  }
}

// What the directory search of the platform the actions were designed on
// finds among these names by their long names (its matches through the short
// names it makes up, `A~1` for `.a`, taken out).
TEST(MatchesMask, FindsWhatTheDirectorySearchFindsByLongNames) {
  const std::string all = " .a|.a|a|a..a|a.a|a.a.a|aa|aaa|aaaa";
  // Each row: the mask, "=", the names it finds ("all" for every name).
  // clang-format off
  const char* const cases[] = {
      "*=all", "*.*=all", "**.=all", "*.*.*=all", "*.*.=all", "*.=a|aa|aaa|aaaa",
      "*..=a|aa|aaa|aaaa", "a*.=a|aa|aaa|aaaa", ".*=.a", ".*.*=.a", ".*.=.a", "aa.*=aa",
      "*.a= .a|.a|a..a|a.a|a.a.a", "a.*.a=a..a|a.a.a", "?=a", "??.=a|aa", "???.=a|aa|aaa",
      "?.??.= .a|.a|a|a.a", "?.*= .a|.a|a|a..a|a.a|a.a.a", "a?a=aaa", " ?a=", " *a= .a"};
  // clang-format on
  for (const std::string row : cases) {
    SCOPED_TRACE(row);
    const FileMask mask(row.substr(0, row.find('=')));
    std::string found, name;
    for (std::istringstream names(all); std::getline(names, name, '|');)
      found += mask.Matches(name) ? (found.empty() ? "" : "|") + name : "";
    const std::string expected = row.substr(row.find('=') + 1);
    EXPECT_EQ(found, expected == "all" ? all : expected);
  }
}

TEST_F(FindFilesTest, EntriesComeSortedByByteValue) {
  for (const char* name : {"b", "a", "B", "_x", "\xC3\xA9", "a0"}) Put(name, "");
  EXPECT_EQ(Names(PathOf("*")),
            (std::vector<std::string>{".", "..", "B", "_x", "a", "a0", "b", "\xC3\xA9"}));
}

TEST_F(FindFilesTest, EachEntryCarriesAttributesSizeAndTime) {
  PutOneOfEachKind();
  Put("sized", "12345");
  // 1,000,000,000.5 s: the nanoseconds must survive.
  const struct timespec times[2] = {{1000000000, 500000000}, {1000000000, 500000000}};
  ASSERT_EQ(utimensat(AT_FDCWD, PathOf("sized").c_str(), times, 0), 0);
  const struct {
    const char* name;
    uint32_t attributes;
    uint64_t size;
  } cases[] = {
      // clang-format off
      {".hidden", kHidden, 1}, {".hiddendir", kHidden | kDirectory, 0}, {"dir", kDirectory, 0},
      {"file", kNormal, 1}, {"linkdir", kLink | kDirectory, 0},
      {"linkfile", kLink, 1},  // the size of what a copy would read
      {"readonly", kReadOnly, 1}, {"sized", kNormal, 5}, {"system", kSystem, 1},
      // clang-format on
  };
  std::vector<FoundEntry> found = Find(PathOf("*"));
  ASSERT_EQ(found.size(), std::size(cases) + 2);
  EXPECT_EQ(found[0].name, ".");
  EXPECT_EQ(found[0].attributes, kDirectory);
  EXPECT_EQ(found[1].name, "..");
  EXPECT_EQ(found[1].attributes, kDirectory);
  for (size_t i = 0; i < std::size(cases); ++i) {
    const FoundEntry& entry = found[i + 2];
    SCOPED_TRACE(cases[i].name);
    EXPECT_EQ(entry.name, cases[i].name);
    EXPECT_EQ(entry.attributes, cases[i].attributes);
    EXPECT_EQ(entry.size, cases[i].size);
  }
  EXPECT_EQ(found[9].last_write_ns, 1000000000500000000);
}

// A wildcard search keeps what the mask admits; a name without wildcards
// finds just that entry, under the same mask.
TEST_F(FindFilesTest, AttributeMaskLeavesOutWhatItDoesNotAdmit) {
  PutOneOfEachKind();
  const struct {
    const char* label;
    const char* spec;
    uint32_t mask;
    std::vector<std::string> names;
  } cases[] = {
      // clang-format off
      {"plain files only", "*", 0, {"file", "linkfile", "readonly"}},
      {"read-only adds nothing", "*", kReadOnly, {"file", "linkfile", "readonly"}},
      {"hidden", "*", kHidden, {".hidden", "file", "linkfile", "readonly"}},
      {"system", "*", kSystem, {"file", "linkfile", "readonly", "system"}},
      {"directories", "*", kDirectory,
       {".", "..", "dir", "file", "linkdir", "linkfile", "readonly"}},
      {"hidden directories need both", "*", kHidden | kDirectory,
       {".", "..", ".hidden", ".hiddendir", "dir", "file", "linkdir", "linkfile", "readonly"}},
      {"everything", "*", kFindAnyAttribute,
       {".", "..", ".hidden", ".hiddendir", "dir", "file", "linkdir", "linkfile", "readonly",
        "system"}},
      {"one file", "file", kFindAnyAttribute, {"file"}},
      {"names are case-sensitive", "File", kFindAnyAttribute, {}},
      {"missing name", "missing", kFindAnyAttribute, {}},
      {"one directory", "dir", kFindAnyAttribute, {"dir"}},
      {"directory not admitted", "dir", 0, {}},
      {"hidden file not admitted", ".hidden", 0, {}},
      {"the directory itself", ".", kDirectory, {"."}},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(Names(PathOf(c.spec), c.mask), c.names);
  }
}

TEST_F(FindFilesTest, MissingDirectoryIsAnEmptyAnswer) {
  Put("file", "");
  for (const std::string& file_spec : {PathOf("missing/*"), PathOf("missing/name"), PathOf("dir/"),
                                       std::string(), PathOf("file/*"), PathOf("file/name")}) {
    SCOPED_TRACE(file_spec);
    OsResult<std::vector<FoundEntry>> found = FindFiles(file_spec, kFindAnyAttribute);
    ASSERT_TRUE(found.IsOk()) << found.Error().Describe();
    EXPECT_TRUE(found.Value().empty());
  }
}

TEST_F(FindFilesTest, UnreadableDirectoryIsAnError) {
  fs::create_symlink("loop", PathOf("loop"));
  OsResult<std::vector<FoundEntry>> found = FindFiles(PathOf("loop/*"), kFindAnyAttribute);
  ASSERT_FALSE(found.IsOk());
  ExpectError(found.Error(), ELOOP, "Too many levels of symbolic links", PathOf("loop"));
}

TEST_F(FindFilesTest, LargeDirectoryKeepsEveryEntryInOrder) {
  // Enough entries that the work is shared among threads. They are hard
  // links to a few files, which is quick to set up: seven sizes, and every
  // thousandth entry read-only so each share has attributes to get right.
  constexpr int kCount = 10000;
  fs::create_directory(PathOf("inodes"));
  for (int size = 0; size < 7; ++size) {
    Put("inodes/" + std::to_string(size), std::string(static_cast<size_t>(size), 'x'));
    Put("inodes/ro" + std::to_string(size), std::string(static_cast<size_t>(size), 'x'));
    chmod(PathOf("inodes/ro" + std::to_string(size)).c_str(), 0444);
  }
  char name[16];
  for (int i = kCount - 1; i >= 0; --i) {
    std::snprintf(name, sizeof name, "f%05d", i);
    std::string inode = (i % 1000 == 999 ? "inodes/ro" : "inodes/") + std::to_string(i % 7);
    ASSERT_EQ(link(PathOf(inode).c_str(), PathOf(name).c_str()), 0) << name;
  }
  std::vector<FoundEntry> found = Find(PathOf("f*"));
  ASSERT_EQ(found.size(), static_cast<size_t>(kCount));
  int read_only = 0;
  for (int i = 0; i < kCount; ++i) {
    std::snprintf(name, sizeof name, "f%05d", i);
    ASSERT_EQ(found[i].name, name);
    ASSERT_EQ(found[i].size, static_cast<uint64_t>(i % 7)) << name;
    uint32_t expected = i % 1000 == 999 ? kReadOnly : kNormal;
    ASSERT_EQ(found[i].attributes, expected) << name;
    if (found[i].attributes == kReadOnly) ++read_only;
  }
  EXPECT_EQ(read_only, 10);
}

}  // namespace
}  // namespace brivant::platform

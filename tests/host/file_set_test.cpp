#include "host/file_set.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/test_host.h"

namespace brivant::host {
namespace {

namespace fs = std::filesystem;

class FileSetTest : public ::testing::Test {
 protected:
  // Creates the files (and their directories) under the temporary directory.
  void MakeFiles(const std::vector<std::string>& relative_paths) {
    for (const std::string& relative : relative_paths) {
      fs::create_directories(fs::path(temp_.Join(relative)).parent_path());
      testing::WriteBytes(temp_.Join(relative), "x");
    }
  }

  FileSetDefinition Definition(std::vector<std::string> includes,
                               std::vector<std::string> excludes = {}) {
    FileSetDefinition definition;
    definition.name = "Set";
    definition.base_dir = temp_.path();
    definition.includes = std::move(includes);
    definition.excludes = std::move(excludes);
    return definition;
  }

  // The matched files relative to the temporary directory, in the set's order.
  std::vector<std::string> Match(std::vector<std::string> includes,
                                 std::vector<std::string> excludes = {}) {
    FileSet set(Definition(std::move(includes), std::move(excludes)));
    std::string error;
    EXPECT_TRUE(set.Refresh(&error)) << error;
    std::vector<std::string> relative;
    for (const std::string& path : set.GetFiles()) {
      EXPECT_EQ(path.compare(0, temp_.path().size() + 1, temp_.path() + "/"), 0) << path;
      relative.push_back(path.substr(temp_.path().size() + 1));
    }
    return relative;
  }

  testing::ScopedTempDir temp_;
};

TEST_F(FileSetTest, PatternsSelectFiles) {
  MakeFiles({"a.jpg", "b.png", "c.jpg.bak", ".hidden.jpg", "x/a.jpg", "x/y/z/deep.jpg",
             "thumbs/t.jpg", "thumbs/sub/t2.jpg", "x/thumbs/t3.jpg", "ab/c.txt", "a?c.txt",
             "abc.txt", "photos/2009/a.JPG", "dir.jpg/inner.txt", "a/z.txt", "a-b.txt", "a.txt"});
  struct Case {
    const char* label;
    std::vector<std::string> includes;
    std::vector<std::string> excludes;
    std::vector<std::string> expected;
  };
  const std::vector<Case> cases = {
      // clang-format off
      {"star stays in one directory; directories are not files", {"*.jpg"}, {},
       {".hidden.jpg", "a.jpg"}},
      {"double star matches any depth including none", {"**/*.jpg"}, {},
       {".hidden.jpg", "a.jpg", "thumbs/sub/t2.jpg", "thumbs/t.jpg", "x/a.jpg", "x/thumbs/t3.jpg",
        "x/y/z/deep.jpg"}},
      {"exclude a directory", {"**/*.jpg"}, {"thumbs/**"},
       {".hidden.jpg", "a.jpg", "x/a.jpg", "x/thumbs/t3.jpg", "x/y/z/deep.jpg"}},
      {"exclude a directory at any depth", {"**/*.jpg"}, {"**/thumbs/**", ".*"},
       {"a.jpg", "x/a.jpg", "x/y/z/deep.jpg"}},
      {"question mark is one character", {"a?c.txt"}, {}, {"a?c.txt", "abc.txt"}},
      {"question mark never matches a slash", {"a?c.txt", "ab?c.txt"}, {}, {"a?c.txt", "abc.txt"}},
      {"double star in the middle", {"x/**/*.jpg"}, {},
       {"x/a.jpg", "x/thumbs/t3.jpg", "x/y/z/deep.jpg"}},
      {"a trailing slash means everything below", {"thumbs/"}, {},
       {"thumbs/sub/t2.jpg", "thumbs/t.jpg"}},
      {"a plain name", {"x/a.jpg"}, {}, {"x/a.jpg"}},
      {"case matters", {"photos/**/*.jpg"}, {}, {}},
      {"several includes, each file once", {"*.jpg", "a*.txt", "./a.jpg"}, {},
       {".hidden.jpg", "a-b.txt", "a.jpg", "a.txt", "a?c.txt", "abc.txt"}},
      // A walk lists "a/" before "a-b", but '-' sorts before '/'.
      {"sorted by full path, not by walk", {"a*", "a/*"}, {},
       {"a-b.txt", "a.jpg", "a.txt", "a/z.txt", "a?c.txt", "abc.txt"}},
      {"star matches a dot in the middle", {"*.bak"}, {}, {"c.jpg.bak"}},
      {"nothing matches", {"*.gif"}, {}, {}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(Match(c.includes, c.excludes), c.expected);
  }
}

TEST_F(FileSetTest, LinksToFilesCountAndLinksToDirectoriesAreNotFollowed) {
  MakeFiles({"real/file.txt"});
  fs::create_symlink(temp_.Join("real/file.txt"), temp_.Join("link.txt"));
  fs::create_directory_symlink(temp_.Join("real"), temp_.Join("linkdir"));
  fs::create_symlink(temp_.Join("nowhere"), temp_.Join("dangling.txt"));
  fs::create_directory_symlink(temp_.path(), temp_.Join("real/loop"));
  EXPECT_EQ(Match({"**/*"}), (std::vector<std::string>{"link.txt", "real/file.txt"}));
}

TEST_F(FileSetTest, BaseDirIsNormalisedAndReported) {
  MakeFiles({"sub/a.txt"});
  FileSetDefinition definition = Definition({"*.txt"});
  definition.base_dir = temp_.path() + "/./sub/../sub/";
  FileSet set(definition);
  EXPECT_EQ(set.GetBaseDir(), temp_.Join("sub"));
  std::string error;
  ASSERT_TRUE(set.Refresh(&error)) << error;
  EXPECT_EQ(set.GetFiles(), std::vector<std::string>{temp_.Join("sub/a.txt")});
}

TEST_F(FileSetTest, RelativeBaseDirIsResolvedAgainstTheCurrentDirectory) {
  FileSetDefinition definition = Definition({"*"});
  definition.base_dir = "some/dir";
  FileSet set(definition);
  EXPECT_EQ(set.GetBaseDir(), fs::current_path().string() + "/some/dir");
  definition.base_dir = "";
  EXPECT_EQ(FileSet(definition).GetBaseDir(), fs::current_path().string());
}

TEST_F(FileSetTest, RefreshSeesNewFiles) {
  MakeFiles({"a.txt"});
  FileSet set(Definition({"*.txt"}));
  EXPECT_EQ(set.GetFiles(), std::vector<std::string>{temp_.Join("a.txt")});
  MakeFiles({"b.txt"});
  EXPECT_EQ(set.GetFiles().size(), 1u) << "the list is that of the last evaluation";
  std::string error;
  ASSERT_TRUE(set.Refresh(&error)) << error;
  EXPECT_EQ(set.GetFiles(), (std::vector<std::string>{temp_.Join("a.txt"), temp_.Join("b.txt")}));
}

TEST_F(FileSetTest, UnreadableBaseDirIsAnErrorWithTheOsReason) {
  MakeFiles({"plain"});
  struct Case {
    std::string base_dir;
    std::string reason;
  };
  const Case cases[] = {
      {temp_.Join("gone"), "No such file or directory"},
      {temp_.Join("plain"), "Not a directory"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.base_dir);
    FileSetDefinition definition = Definition({"*"});
    definition.base_dir = c.base_dir;
    FileSet set(definition);
    std::string error;
    EXPECT_FALSE(set.Refresh(&error));
    EXPECT_EQ(error, "file set 'Set': cannot read " + c.base_dir + ": " + c.reason);
    EXPECT_EQ(set.GetFiles(), std::vector<std::string>{});
  }
}

TEST(FilePattern, UnusablePatternsAreExplained) {
  EXPECT_EQ(CheckFilePattern("**/*.c"), "");
  EXPECT_EQ(CheckFilePattern("src/"), "");
  EXPECT_EQ(CheckFilePattern("/abs/*.c"),
            "pattern '/abs/*.c' must be relative to the file set's BaseDir");
  EXPECT_EQ(CheckFilePattern("a/../../b"),
            "pattern 'a/../../b' must not leave the file set's BaseDir with '..'");
  EXPECT_EQ(CheckFilePattern("./"), "pattern './' names no file");
}

}  // namespace
}  // namespace brivant::host

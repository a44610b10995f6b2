#include "actions/files/rename_dir_action.h"

#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class RenameDirActionTest : public MiscFileActionTest {
 protected:
  void SetUp() override { BuildTree(""); }
  // a.txt, dir/inner.txt, other/ and link -> a.txt under `root`.
  void BuildTree(const std::string& root) const {
    MakeFile(root + "a.txt", "A");
    MakeFile(root + "dir/inner.txt", "I");
    MakeDirectory(root + "other");
    std::filesystem::create_symlink("a.txt", Path(root + "link"));
  }
  bool Rename(const std::string& old_name, const std::string& new_name) {
    TRenameDirAction action;
    Set(action, "OldName", old_name);
    Set(action, "NewName", new_name);
    return host_.Run(action);
  }
};

TEST_F(RenameDirActionTest, BareNameRenamesInPlaceAndPathMoves) {
  // old_name: below the case's own directory
  // name_given: "@/" stands for the case's own directory
  const std::tuple<std::string, std::string, const char*, std::string, std::vector<std::string>>
      cases[] = {
          // clang-format off
      {"a.txt", "b.txt", "file", "b.txt",
       {"b.txt=A", "dir/", "dir/inner.txt=I", "link->a.txt", "other/"}},
      {"dir/", " renamed ", "directory", "renamed",
       {"a.txt=A", "link->a.txt", "other/", "renamed/", "renamed/inner.txt=I"}},
      {"dir", "@/other/dir", "directory", "other/dir",
       {"a.txt=A", "link->a.txt", "other/", "other/dir/", "other/dir/inner.txt=I"}},
      // The link itself is renamed, not the file it points to.
      {"link", "alias", "file", "alias",
       {"a.txt=A", "alias->a.txt", "dir/", "dir/inner.txt=I", "other/"}},
          // clang-format on
      };
  int number = 0;
  for (const auto& [old_name, name_given, kind, new_path_below, tree] : cases) {
    SCOPED_TRACE(old_name + " -> " + name_given);
    std::string root = "case" + std::to_string(++number) + "/";
    BuildTree(root);
    std::string new_name =
        name_given.rfind("@/", 0) == 0 ? Path(root + name_given.substr(2)) : name_given;
    host_.messages.clear();
    ASSERT_TRUE(Rename(Path(root + old_name), new_name));
    EXPECT_EQ(Tree(root), tree);
    std::string old_path = Path(root + old_name);
    if (old_path.back() == '/') old_path.pop_back();
    std::string new_path = Path(root + new_path_below);
    EXPECT_EQ(
        host_.messages,
        (std::vector<LoggedMessage>{
            {stInfo, "Renaming " + std::string(kind) + " " + old_path + " to " + new_path},
            {stSuccess, "Renamed " + std::string(kind) + " " + old_path + " to " + new_path}}));
  }
}

TEST_F(RenameDirActionTest, FailsClearlyAndChangesNothing) {
  MakeFile("b.txt", "B");
  MakeDirectory("empty");
  const std::tuple<std::string, std::string, std::vector<std::string>> cases[] = {
      // clang-format off
      {Path("none"), "x", {"File or directory not found: " + Path("none")}},
      {Path("a.txt"), "b.txt",
       {"Cannot rename " + Path("a.txt") + " to " + Path("b.txt") + ": the target already exists"}},
      // rename(2) would replace an empty directory; the action never does.
      {Path("dir"), "empty",
       {"Cannot rename " + Path("dir") + " to " + Path("empty") + ": the target already exists"}},
      {Path("a.txt"), "..", {"Invalid new name \"..\" for " + Path("a.txt")}},
      {Path("a.txt"), Path("no/such/a.txt"),
       {"Error renaming " + Path("a.txt") + " to " + Path("no/such/a.txt"),
        "Error reason: No such file or directory"}},
      // clang-format on
  };
  std::vector<std::string> before = Tree("");
  for (const auto& [old_name, new_name, errors] : cases) {
    SCOPED_TRACE(old_name + " -> " + new_name);
    host_.messages.clear();
    EXPECT_FALSE(Rename(old_name, new_name));
    EXPECT_EQ(host_.Texts(stError), errors);
    EXPECT_EQ(Tree(""), before);
  }
}

TEST_F(RenameDirActionTest, SameNameIsAWarningOnly) {
  ASSERT_TRUE(Rename(Path("a.txt"), "a.txt"));
  EXPECT_EQ(host_.messages,
            (std::vector<LoggedMessage>{
                {stWarning, "Nothing to rename: " + Path("a.txt") + " already has that name"}}));
}

}  // namespace
}  // namespace brivant::testing

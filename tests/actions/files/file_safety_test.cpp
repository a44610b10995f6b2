// The faults found by trying to break the file actions as a hostile user
// would: second names for one file, hard links to files outside the tree,
// variables that expand to empty, trees that hold the project file.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "actions/files/copy_files_action.h"
#include "actions/files/delete_directory_action.h"
#include "actions/files/delete_files_action.h"
#include "actions/files/move_files_action.h"
#include "actions/files/touch_files_action.h"
#include "actions/text/write_to_text_file_action.h"
#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {
namespace {

namespace fs = std::filesystem;
using FileSafetyTest = FileActionTest;

bool Logged(const TestHost& host, TStatusTag tag, const std::string& text) {
  std::vector<std::string> lines = host.Texts(tag);
  return std::ranges::any_of(lines, [&](auto& line) { return line.find(text) != line.npos; });
}

// --- Data loss and writes outside the target ---

TEST_F(FileSafetyTest, MoveOntoItselfThroughLinkKeepsTheFile) {
  MakeFile("a.txt", "content");
  fs::create_symlink("a.txt", Path("l.txt"));
  TMoveFilesAction move;
  Set(move, "FileSpec", Path("l.txt"));
  Set(move, "Target", Path("a.txt"));
  TestHost host;
  EXPECT_TRUE(host.Run(move));
  EXPECT_EQ(ReadBytes(Path("a.txt")), "content");
  EXPECT_TRUE(Logged(host, stInfo, "Skipping same file " + Path("l.txt")));
}

TEST_F(FileSafetyTest, CopyOntoItselfFailsAsFileInUse) {
  MakeFile("a.txt", "content");
  fs::create_symlink("a.txt", Path("l.txt"));
  struct Row {
    std::string spec, target;
  } rows[] = {{"a.txt", "a.txt"}, {"a.txt", "./a.txt"}, {"a.txt", "l.txt"}, {"a.*", "."}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.spec + " -> " + row.target);
    TCopyFilesAction copy;
    Set(copy, "FileSpec", Path(row.spec));
    Set(copy, "Target", Path(row.target));
    TestHost host;
    EXPECT_FALSE(host.Run(copy));
    EXPECT_TRUE(Logged(host, stError, "Win32 Error : Device or resource busy"));
    EXPECT_TRUE(Logged(host, stError, "Failed to copy File : " + Path("a.txt")));
    EXPECT_EQ(ReadBytes(Path("a.txt")), "content");
  }
}

TEST_F(FileSafetyTest, PrependKeepsModeAndRefusesReadOnlyFiles) {
  MakeFile("run.sh", "old");
  fs::permissions(Path("run.sh"), fs::perms(0750));
  MakeFile("ro.txt", "old");
  MakeReadOnly("ro.txt");
  for (const char* name : {"run.sh", "ro.txt"}) {
    TBVWriteToTextFileAction write;
    Set(write, "FileName", Path(name));
    Set(write, "NewContent", std::string("new"));
    Set(write, "WriteToPosition", int64_t{toStart});
    TestHost host;
    EXPECT_EQ(host.Run(write), std::string(name) == "run.sh") << name;
  }
  EXPECT_EQ(ReadBytes(Path("run.sh")), "new\r\nold");
  EXPECT_EQ(fs::status(Path("run.sh")).permissions(), fs::perms(0750));
  EXPECT_EQ(ReadBytes(Path("ro.txt")), "old");
  EXPECT_FALSE(IsOwnerWritable("ro.txt"));
  EXPECT_FALSE(Exists("ro.temp0") || Exists("run.temp0"));
}

TEST_F(FileSafetyTest, DeleteReadOnlyLeavesTheModeOfHardLinksOutside) {
  MakeFile("outside/keep.txt");
  MakeReadOnly("outside/keep.txt");
  for (const char* name : {"files/link.txt", "tree/sub/link.txt"}) {
    MakeDirectory(fs::path(name).parent_path());
    fs::create_hard_link(Path("outside/keep.txt"), Path(name));
  }
  TDeleteFilesAction delete_files;
  Set(delete_files, "FileSpec", Path("files/*"));
  Set(delete_files, "DeleteReadOnly", true);
  TDeleteDirectoryAction delete_tree;
  Set(delete_tree, "FileOrDirectory", Path("tree"));
  Set(delete_tree, "DeleteTree", true);
  Set(delete_tree, "DeleteReadOnly", true);
  TestHost host;
  EXPECT_TRUE(host.Run(delete_files));
  EXPECT_TRUE(host.Run(delete_tree));
  EXPECT_FALSE(Exists("files/link.txt") || Exists("tree"));
  EXPECT_FALSE(IsOwnerWritable("outside/keep.txt"));
}

// --- Guard rails ---

TEST_F(FileSafetyTest, PathsReachingTheRootAreRefused) {
  TCopyFilesAction copy;
  Set(copy, "FileSpec", Path("src/*"));
  TDeleteFilesAction delete_files;
  TTouchFilesAction touch;
  TDeleteDirectoryAction delete_tree;
  Set(delete_tree, "DeleteTree", true);
  struct Row {
    TCustomBVAction* action;
    const char* property;
    std::string text, expected, empty;
  } rows[] = {
      {&copy, "Target", "%E%/", "refusing Target \"%E%/\": it leads to \"/*\"", "%E%"},
      {&delete_files, "FileSpec", "%E%/*", "refusing FileSpec \"%E%/*\": it leads to \"/*\"",
       "%E%"},
      {&touch, "FileSpec", "$(E)/%F%", "refusing FileSpec \"$(E)/%F%\": it leads to \"/tmp\"",
       "$(E)"},
      {&delete_tree, "FileOrDirectory", "%E%/%F%",
       "refusing FileOrDirectory \"%E%/%F%\": it leads to \"/tmp\"", "%E%"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.expected);
    Set(*row.action, row.property, row.text);
    TestHost host;
    host.Define("E");
    host.Define("F", Variant(std::string("tmp")));
    EXPECT_FALSE(host.Run(*row.action));
    EXPECT_TRUE(Logged(host, stError, row.expected));
    EXPECT_TRUE(
        Logged(host, stError, "entry right in it (empty once expanded: " + row.empty + ")"));
  }
}

TEST_F(FileSafetyTest, DeleteTreeRefusesDotsAndTheProjectDirectory) {
  MakeFile("project/build.bvproj");
  MakeFile("project/sub/a.txt");
  for (const std::string& dir : {Path("project/sub/."), Path("project/sub/.."), Path("project")}) {
    SCOPED_TRACE(dir);
    TDeleteDirectoryAction action;
    Set(action, "FileOrDirectory", dir);
    Set(action, "DeleteTree", true);
    TestHost host;
    host.project_file = Path("project/build.bvproj");
    EXPECT_FALSE(host.Run(action));
    EXPECT_TRUE(Logged(host, stError, "refusing to delete"));
    EXPECT_TRUE(Exists("project/sub/a.txt"));
  }
}

}  // namespace
}  // namespace brivant::testing

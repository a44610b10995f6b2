#include "actions/files/copy_files_action.h"

#include <atomic>
#include <functional>
#include <map>
#include <thread>
#include <tuple>
#include <utility>

#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {
namespace {

using Settings = std::vector<std::pair<const char*, PropertyValue>>;

class CopyFilesActionTest : public FileActionTest {
 protected:
  // A copy action from `spec` to `target`, both inside the temporary
  // directory, with `settings` applied after them.
  void Configure(TCopyFilesAction& action, const std::string& spec, const std::string& target,
                 const Settings& settings = {}) {
    Set(action, "FileSpec", Path(spec));
    Set(action, "Target", Path(target));
    for (const auto& [name, value] : settings) Set(action, name, value);
  }
  bool Copy(const std::string& spec, const std::string& target, const Settings& settings = {}) {
    TCopyFilesAction action;
    Configure(action, spec, target, settings);
    return host_.Run(action);
  }
};

// A host that runs `on_progress` for every progress report, as the platform
// copy makes them from inside the copy.
class HookedHost : public TestHost {
 public:
  void SendProgress(const std::string& text, int percent) override {
    TestHost::SendProgress(text, percent);
    if (on_progress) on_progress(percent);
  }
  std::function<void(int)> on_progress;
};

TEST_F(CopyFilesActionTest, CopiesMatchingFilesIntoTheTargetDirectory) {
  MakeFile("src/a.dll", "A");
  MakeFile("src/b.dll", "B");
  MakeFile("src/c.txt");
  MakeFile("src/sub/d.dll");
  host_.Define("SRC", Variant(Path("src")));
  TCopyFilesAction action;
  Set(action, "FileSpec", std::string(" %SRC%/*.dll "));
  Set(action, "Target", Path("out"));
  Set(action, "Force", true);
  ASSERT_TRUE(host_.Run(action));

  EXPECT_EQ(ReadBytes(Path("out/a.dll")), "A");
  EXPECT_EQ(ReadBytes(Path("out/b.dll")), "B");
  EXPECT_FALSE(Exists("out/c.txt"));
  EXPECT_FALSE(Exists("out/sub"));
  EXPECT_EQ(LogEvents(host_),
            (std::vector<std::string>{
                "stInfo: Copying files: " + Path("src") + "/*.dll -> " + Path("out"),
                "group-start: Files Copied",
                "stInfo: Copied " + Path("src/a.dll") + " to " + Path("out/a.dll"),
                "stInfo: Copied " + Path("src/b.dll") + " to " + Path("out/b.dll"),
                "group-end: stInfo",
                "stSuccess: 2 files copied",
            }));
  EXPECT_EQ(std::get<int64_t>(Get(action, "FilesAffected")), 2);
}

TEST_F(CopyFilesActionTest, ExistingTargetFollowsTheDecisionTable) {
  // Lines after "Copying files: ..."; <S> and <D> stand for the two paths.
  const std::tuple<const char*, Settings, bool, bool, const char*, std::vector<LoggedMessage>>
      cases[] = {
          // clang-format off
      {"plain overwrite", {}, false, true, "new",
       {{stInfo, "Copied <S> to <D>"}, {stSuccess, "1 files copied"}}},
      {"fail if exists", {{"FailIfExists", true}}, false, false, "old",
       {{stError, "Failed to copy File : <S> -> <D>"}, {stError, "File Already Exists!"}}},
      {"fail if exists before read-only", {{"FailIfExists", true}, {"OverwriteReadOnly", true}},
       true, false, "old",
       {{stError, "Failed to copy File : <S> -> <D>"}, {stError, "File Already Exists!"}}},
      {"overwrite off skips without counting", {{"Overwrite", false}}, false, false, "old",
       {{stInfo, "Skipping existing file <D>"}, {stError, "Failing because zero files copied"}}},
      {"skipping is no error", {{"Overwrite", false}, {"FailIfZeroFiles", false}}, true, true,
       "old", {{stInfo, "Skipping existing file <D>"}, {stSuccess, "0 files copied"}}},
      {"read-only target kept", {}, true, false, "old",
       {{stError, "Failed to copy File : <S> -> <D>"},
        {stError, "File Already Exists and is marked as Read Only"}}},
      {"read-only target overwritten", {{"OverwriteReadOnly", true}}, true, true, "new",
       {{stInfo, "Copied <S> to <D>"}, {stSuccess, "1 files copied"}}},
          // clang-format on
      };
  int number = 0;
  for (const auto& [name, settings, target_read_only, succeeds, content_after, lines] : cases) {
    SCOPED_TRACE(name);
    const std::string dir = "case" + std::to_string(number++);
    MakeFile(dir + "/src/f.txt", "new");
    MakeFile(dir + "/out/f.txt", "old");
    if (target_read_only) MakeReadOnly(dir + "/out/f.txt");
    TestHost host;
    TCopyFilesAction action;
    Configure(action, dir + "/src/f.txt", dir + "/out/f.txt", settings);
    EXPECT_EQ(host.Run(action), succeeds);
    EXPECT_EQ(ReadBytes(Path(dir + "/out/f.txt")), content_after);

    std::vector<LoggedMessage> expected{
        {stInfo, "Copying files: " + Path(dir + "/src/f.txt") + " -> " + Path(dir + "/out/f.txt")}};
    for (LoggedMessage line : lines) {
      line.text = ReplaceAll(ReplaceAll(line.text, "<S>", Path(dir + "/src/f.txt")), "<D>",
                             Path(dir + "/out/f.txt"));
      expected.push_back(line);
    }
    EXPECT_EQ(host.messages, expected);
    EXPECT_EQ(host.open_groups, 0);
  }
}

TEST_F(CopyFilesActionTest, ReadOnlyTargetOverwrittenWithClearAttributesEndsNormal) {
  MakeFile("src/f.txt", "new");
  // The copy takes the source's attributes along; clearing comes after it.
  ASSERT_TRUE(platform::SetFileAttributes(Path("src/f.txt"), platform::kFileAttributeSystem |
                                                                 platform::kFileAttributeArchive)
                  .code == 0);
  MakeFile("out/f.txt", "old");
  ASSERT_TRUE(platform::SetFileAttributes(Path("out/f.txt"), platform::kFileAttributeReadOnly |
                                                                 platform::kFileAttributeArchive)
                  .code == 0);
  ASSERT_TRUE(
      Copy("src/f.txt", "out/f.txt", {{"OverwriteReadOnly", true}, {"ClearAttributes", true}}));
  EXPECT_EQ(ReadBytes(Path("out/f.txt")), "new");
  platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(Path("out/f.txt"));
  ASSERT_TRUE(attributes.IsOk());
  EXPECT_EQ(attributes.Value(), platform::kFileAttributeNormal);
}

TEST_F(CopyFilesActionTest, ZeroFilesRules) {
  // events_after_start: "@" stands for the file specification
  const std::tuple<const char*, const char*, Settings, bool, std::vector<std::string>> cases[] = {
      // clang-format off
      {"missing file fails", "src/missing.txt", {}, false,
       {"group-start: Files Copied", "group-end: stInfo", "stError: File not found \"@\"",
        "stError: Failing because zero files copied"}},
      {"missing file allowed", "src/missing.txt", {{"FailIfZeroFiles", false}}, true,
       {"group-start: Files Copied", "group-end: stInfo", "stSuccess: 0 files copied"}},
      {"no match while recursing names no file", "src/*.none", {{"Recurse", true}}, false,
       {"group-start: Files Copied", "group-end: stInfo",
        "stError: Failing because zero files copied"}},
      {"a directory is no file", "src/dir", {}, false,
       {"group-start: Files Copied", "group-end: stInfo",
        "stError: Failing because zero files copied"}},
      {"missing directory, no group", "nowhere/*.txt", {{"LogFilesAffected", false}}, false,
       {"stError: File not found \"@\"", "stError: Failing because zero files copied"}},
      // clang-format on
  };
  MakeDirectory("src/dir");
  MakeFile("src/sub/a.txt");
  for (const auto& [name, spec, settings, succeeds, events_after_start] : cases) {
    SCOPED_TRACE(name);
    TestHost host;
    TCopyFilesAction action;
    Configure(action, spec, "out", settings);
    EXPECT_EQ(host.Run(action), succeeds);
    std::vector<std::string> expected{"stInfo: Copying files: " + Path(spec) + " -> " +
                                      Path("out")};
    for (const std::string& event : events_after_start)
      expected.push_back(ReplaceAll(event, "@", Path(spec)));
    EXPECT_EQ(LogEvents(host), expected);
  }
  EXPECT_FALSE(Exists("out"));
}

TEST_F(CopyFilesActionTest, FirstFailureStopsTheRunAndReportsTheCount) {
  for (const char* name : {"a", "b", "c", "d", "e"}) MakeFile(std::string("src/") + name);
  MakeFile("out/d", "old");
  MakeReadOnly("out/d");
  EXPECT_FALSE(Copy("src/*", "out"));
  EXPECT_TRUE(Exists("out/c"));
  EXPECT_FALSE(Exists("out/e")) << "files after the failure are not tried";
  EXPECT_EQ(
      host_.Texts(stError),
      (std::vector<std::string>{"Failed to copy File : " + Path("src/d") + " -> " + Path("out/d"),
                                "File Already Exists and is marked as Read Only",
                                "3 files copied before error occurred"}));
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{});
}

TEST_F(CopyFilesActionTest, RecursionLogsAndPassesOverFailedSubdirectories) {
  MakeFile("src/a.txt");
  MakeFile("src/.hidden/h.txt");
  MakeFile("src/sub1/b.txt");
  MakeFile("src/sub1/deeper/d.txt");
  MakeFile("src/sub2/c.txt");
  MakeFile("src/sub2/skip.dat");
  std::filesystem::create_directory_symlink(Path("src/sub2"), Path("src/link"));
  MakeFile("out/sub1/b.txt", "old");
  MakeReadOnly("out/sub1/b.txt");
  ASSERT_TRUE(Copy("src/*.txt", "out", {{"Recurse", true}, {"Force", true}}));

  EXPECT_EQ(LogEvents(host_),
            (std::vector<std::string>{
                "stInfo: Copying files: " + Path("src/*.txt") + " -> " + Path("out"),
                "group-start: Files Copied",
                "stInfo: Copied " + Path("src/a.txt") + " to " + Path("out/a.txt"),
                "stInfo: Copied " + Path("src/.hidden/h.txt") + " to " + Path("out/.hidden/h.txt"),
                "group-end: stInfo",
                "stError: Failed to copy File : " + Path("src/sub1/b.txt") + " -> " +
                    Path("out/sub1/b.txt"),
                "stError: File Already Exists and is marked as Read Only",
                // sub1/deeper is not visited: its parent failed.
                "stInfo: Copied " + Path("src/sub2/c.txt") + " to " + Path("out/sub2/c.txt"),
                "stSuccess: 3 files copied",
            }));
  EXPECT_FALSE(Exists("out/sub1/deeper"));
  EXPECT_FALSE(Exists("out/sub2/skip.dat"));
  EXPECT_FALSE(Exists("out/link")) << "a link to a directory is not walked";
}

// Into a directory Force has just made the copy itself finds the target
// that an earlier file of the run put there; the decision table still holds.
TEST_F(CopyFilesActionTest, WildcardsOntoOneFileFollowTheDecisionTable) {
  MakeFile("src/a.txt", "A");
  MakeFile("src/b.txt", "B");
  const struct {
    const char* target;
    Settings settings;
    bool succeeds;
    const char* content;
    const char* last_line;
  } cases[] = {
      {"one.txt", {}, true, "B", "2 files copied"},
      {"new1/one.txt", {{"Force", true}}, true, "B", "2 files copied"},
      {"new2/one.txt",
       {{"Force", true}, {"FailIfExists", true}},
       false,
       "A",
       "1 files copied before error occurred"},
      {"new3/one.txt", {{"Force", true}, {"Overwrite", false}}, true, "A", "1 files copied"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.target);
    TestHost host;
    TCopyFilesAction action;
    Configure(action, "src/*.txt", c.target, c.settings);
    Set(action, "TargetIsDir", false);
    EXPECT_EQ(host.Run(action), c.succeeds);
    EXPECT_EQ(ReadBytes(Path(c.target)), c.content);
    ASSERT_FALSE(host.messages.empty());
    EXPECT_EQ(host.messages.back().text, c.last_line);
  }
}

// One walk through the setters that switch each other; each step shows
// TargetIsDir and Recurse after it.
TEST_F(CopyFilesActionTest, CoupledSetters) {
  const std::tuple<const char*, PropertyValue, bool, bool> steps[] = {
      {"FileSpec", std::string("a/*.txt"), true, false},  // a wildcard makes a directory
      {"TargetIsDir", false, false, false},
      {"FileSpec", std::string("a/*.txt"), false, false},  // the same text again leaves it
      {"FileSpec", std::string("a/?.txt"), true, false},
      {"TargetIsDir", false, false, false},
      {"FileSpec", std::string("a/b.txt"), false, false},  // a plain name leaves it
      {"Recurse", true, true, true},                       // recursion makes a directory
      {"Recurse", false, true, false},                     // and keeps it when switched off
      {"Recurse", true, true, true},
      {"TargetIsDir", false, false, false},  // no directory, no recursion
  };
  TCopyFilesAction action;
  int number = 0;
  for (const auto& [property, value, target_is_dir, recurse] : steps) {
    SCOPED_TRACE(std::to_string(++number) + " " + property);
    Set(action, property, value);
    EXPECT_EQ(std::get<bool>(Get(action, "TargetIsDir")), target_is_dir);
    EXPECT_EQ(std::get<bool>(Get(action, "Recurse")), recurse);
  }
}

TEST_F(CopyFilesActionTest, ProgressIsSentOnlyWhenThePercentageChanges) {
  MakeFile("src/big.bin", std::string(3 << 20, 'b'));
  MakeFile("src/empty.bin", "");
  MakeFile("src/one.bin", "1");
  ASSERT_TRUE(Copy("src/*.bin", "out", {{"Force", true}}));
  std::map<std::string, std::vector<int>> reports;
  for (const auto& [text, percent] : host_.progress) reports[text].push_back(percent);
  auto reports_of = [&](const std::string& name) {
    return reports["Copying File : " + Path("src/" + name) + " to : " + Path("out/" + name)];
  };
  EXPECT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports_of("empty.bin"), std::vector<int>{0});
  EXPECT_EQ(reports_of("one.bin"), (std::vector<int>{0, 100}));
  const std::vector<int> big = reports_of("big.bin");
  ASSERT_FALSE(big.empty());
  EXPECT_EQ(big.front(), 0);
  EXPECT_EQ(big.back(), 100);
  for (size_t i = 1; i < big.size(); ++i) EXPECT_GT(big[i], big[i - 1]) << "at report " << i;
}

TEST_F(CopyFilesActionTest, TerminateFromAnotherThreadAbortsTheCopyAndLeavesNoPartialFile) {
  std::string mebibyte(1 << 20, 'z');
  std::string content;
  content.reserve(200u << 20);
  for (int i = 0; i < 200; ++i) content += mebibyte;
  MakeFile("src/big.bin", content);
  content.clear();

  HookedHost host;
  TCopyFilesAction action;
  EXPECT_TRUE(action.CanTerminate());
  Configure(action, "src/big.bin", "out/big.bin", {{"Force", true}});
  bool terminated = false;
  host.on_progress = [&](int percent) {
    if (percent == 0 || terminated) return;
    terminated = true;
    std::thread([&action] { action.TerminateAction(); }).join();
  };
  EXPECT_FALSE(host.Run(action));
  ASSERT_TRUE(terminated) << "the copy reported no progress after its start";
  EXPECT_FALSE(Exists("out/big.bin"));
  EXPECT_EQ(host.Texts(stError),
            (std::vector<std::string>{
                "Failed to copy File : " + Path("src/big.bin") + " -> " + Path("out/big.bin"),
                "Win32 Error : Operation canceled"}));

  // The next run starts with the flag cleared.
  host.on_progress = nullptr;
  EXPECT_TRUE(host.Run(action));
  EXPECT_EQ(std::filesystem::file_size(Path("out/big.bin")), 200u << 20);
}

TEST_F(CopyFilesActionTest, OsFailuresAreLoggedWithTheSystemMessage) {
  MakeFile("src/f.txt");
  MakeFile("blocker");
  const std::tuple<const char*, bool> cases[] = {{"copy into a file's path", false},
                                                 {"force directories under a file", true}};
  for (const auto& [name, force] : cases) {
    SCOPED_TRACE(name);
    TestHost host;
    TCopyFilesAction action;
    Configure(action, "src/f.txt", "blocker/out/f.txt", {{"Force", force}});
    EXPECT_FALSE(host.Run(action));
    EXPECT_EQ(host.Texts(stError),
              (std::vector<std::string>{
                  "Failed to copy File : " + Path("src/f.txt") + " -> " + Path("blocker/out/f.txt"),
                  "Win32 Error : Not a directory"}));
  }
}

TEST_F(CopyFilesActionTest, EmptyExpandedTargetIsRefused) {
  MakeFile("src/f.txt");
  host_.Define("NOWHERE", Variant(std::string()));
  TCopyFilesAction action;
  Set(action, "FileSpec", Path("src/*.txt"));
  Set(action, "Target", std::string("%NOWHERE%"));
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"target \"%NOWHERE%\" is empty once expanded"});
}

}  // namespace
}  // namespace brivant::testing

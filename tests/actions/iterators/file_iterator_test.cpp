#include "actions/iterators/file_iterator.h"

#include <filesystem>
#include <tuple>

#include "host/file_set.h"
#include "host/project.h"
#include "package/exceptions.h"
#include "platform/file_attributes.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

class FileIteratorTest : public IteratorTest {
 protected:
  std::vector<std::string> Iterate(const std::string& file_spec) {
    Set(iterator_, "FileSpec", file_spec);
    return RunLoop(iterator_);
  }
  // The message the loop fails with.
  std::string FailureOf() {
    return MessageOf<EIteratorException>([&] { RunLoop(iterator_); });
  }

  TFileIterator iterator_;
};

TEST_F(FileIteratorTest, FilesOfADirectoryComeBeforeItsSubdirectoriesDepthFirst) {
  for (const char* name : {"d/b.txt", "d/a.txt", "d/skip.log", "d/sub2/c.txt", "d/sub1/z.txt",
                           "d/sub1/deeper/y.txt", "d/sub1/deeper/y.log"})
    MakeFile(name);
  MakeDirectory("d/empty");
  Set(iterator_, "Recurse", true);
  std::vector<int32_t> indexes;
  Set(iterator_, "FileSpec", Path("d") + "/*.txt");
  std::vector<std::string> values = RunLoop(iterator_, [&] {
    indexes.push_back(std::get<int64_t>(Get(iterator_, "FileIndex")));
    EXPECT_EQ(std::get<int64_t>(Get(iterator_, "FileCount")), 5);
  });
  const std::vector<std::string> expected =
      Paths({"d/a.txt", "d/b.txt", "d/sub1/z.txt", "d/sub1/deeper/y.txt", "d/sub2/c.txt"});
  EXPECT_EQ(values, expected);
  EXPECT_EQ(indexes, (std::vector<int32_t>{0, 1, 2, 3, 4}));
  std::string listed;
  for (const std::string& path : expected) listed += (listed.empty() ? "" : "\n") + path;
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Searching for Files...", "Found 5 Files.", listed}));
  // The list lives only while the loop runs.
  EXPECT_EQ(std::get<int64_t>(Get(iterator_, "FileCount")), 0);
}

TEST_F(FileIteratorTest, HiddenAndSystemFilesOnlyWithFindAnyFile) {
  for (const char* name :
       {"d/normal.txt", "d/.hidden", "d/sys.txt", "d/.hd/in.txt", "d/plain/in.txt"})
    MakeFile(name);
  if (platform::OsError error =
          platform::SetFileAttributes(Path("d/sys.txt"), platform::kFileAttributeSystem)) {
    GTEST_SKIP() << "no extended attributes here: " << error.Describe();
  }
  const std::tuple<bool, std::vector<std::string>> cases[] = {
      {false, {"d/normal.txt", "d/plain/in.txt"}},
      {true, {"d/.hidden", "d/normal.txt", "d/sys.txt", "d/.hd/in.txt", "d/plain/in.txt"}},
  };
  for (const auto& [find_any_file, expected] : cases) {
    SCOPED_TRACE(find_any_file ? "FindAnyFile" : "normal files");
    iterator_.SetRecurse(true);
    Set(iterator_, "FindAnyFile", find_any_file);
    EXPECT_EQ(Iterate(Path("d") + "/*"), Paths(expected));
  }
}

TEST_F(FileIteratorTest, StrictExtensionMatchKeepsExactExtensionsOnly) {
  for (const char* name : {"d/a.htm", "d/b.html", "d/report", "d/report.txt", "d/report.TXT.bak"})
    MakeFile(name);
  const std::tuple<const char*, bool, std::vector<std::string>> cases[] = {
      // Linux keeps no short names, so ".htm" never reaches ".html" here.
      {"*.htm", false, {"d/a.htm"}},
      {"*.htm", true, {"d/a.htm"}},
      {"*.htm*", false, {"d/a.htm", "d/b.html"}},
      {"report*", false, {"d/report", "d/report.TXT.bak", "d/report.txt"}},
      {"report*", true, {"d/report"}},
      {"*.bak", true, {"d/report.TXT.bak"}},
  };
  for (const auto& [mask, strict, expected] : cases) {
    SCOPED_TRACE(std::string(mask) + (strict ? " strict" : ""));
    Set(iterator_, "StrictExtensionMatch", strict);
    EXPECT_EQ(Iterate(Path("d/") + mask), Paths(expected));
  }
}

TEST_F(FileIteratorTest, BareNamesWithoutPathsAndEnclosingQuotesRemoved) {
  MakeFile("d/\"quoted name.txt\"");
  MakeFile("d/plain.txt");
  Set(iterator_, "Recurse", true);
  Set(iterator_, "IncludeFilePath", false);
  EXPECT_FALSE(iterator_.GetRecurse()) << "IncludeFilePath off turns Recurse off";
  EXPECT_EQ(Iterate(Path("d/*.txt*")), (std::vector<std::string>{"quoted name.txt", "plain.txt"}));
  // The list itself keeps the quotes; only the variable loses them.
  EXPECT_EQ(host_.Texts(stInfo).back(), "\"quoted name.txt\"\nplain.txt");
  Set(iterator_, "Recurse", true);
  EXPECT_TRUE(iterator_.GetIncludeFilePath()) << "Recurse on turns IncludeFilePath on";
}

TEST_F(FileIteratorTest, NothingFoundIsAnEmptyLoopButAFailedListFails) {
  bool executed = false;
  Set(iterator_, "FileSpec", Path("missing/*.txt"));
  EXPECT_EQ(RunLoop(iterator_, {}, &executed), std::vector<std::string>{});
  EXPECT_TRUE(executed);
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Searching for Files...", "Found 0 Files."}));

  std::filesystem::create_symlink("loop", Path("loop"));
  const std::tuple<const char*, bool, std::string, std::string> cases[] = {
      {"unknown variable", false, "%NOPE%/*.txt",
       "Error Setting File Spec : Variable \"NOPE\" is not defined"},
      {"directory is a link loop", false, Path("loop/*.txt"),
       "Error while searching for files : " + Path("loop") + ": Too many levels of symbolic links"},
      {"no such file set", true, "", "FileSet \"Sources\" not found."},
  };
  for (const auto& [name, use_file_set, file_spec, message] : cases) {
    SCOPED_TRACE(name);
    Set(iterator_, "UseFileSet", use_file_set);
    Set(iterator_, "FileSetName", std::string("Sources"));
    Set(iterator_, "FileSpec", file_spec);
    EXPECT_EQ(FailureOf(), message);
  }
}

TEST_F(FileIteratorTest, StopDuringADeepSearchEndsItWithoutRunningTheLoop) {
  std::string deep = "d";
  for (int level = 0; level < 40; ++level) {
    deep += "/level" + std::to_string(level);
    MakeFile(deep + "/file.txt");
  }
  Set(iterator_, "Recurse", true);
  Set(iterator_, "FileSpec", Path("d/*.txt"));
  StopOnMessageHost host(iterator_, "Searching for Files...");
  iterator_.AttachHost(&host);
  EXPECT_FALSE(iterator_.Execute());
  EXPECT_EQ(host.Texts(stInfo), std::vector<std::string>{"Searching for Files..."});
  EXPECT_EQ(iterator_.GetFileCount(), 0);

  // The stop of the last run does not carry over: the same tree lists every level.
  EXPECT_EQ(Iterate(Path("d/*.txt")).size(), 40u);
}

// File-set mode against the host's real file set, with files appearing and
// vanishing between iterations as a child action would make them.
class FileSetIteratorTest : public FileIteratorTest {
 protected:
  void SetUp() override {
    for (const char* name : {"src/a.txt", "src/b.txt", "src/c.txt", "src/d.txt", "src/x.log"})
      MakeFile(name);
    host::FileSetDefinition definition;
    definition.name = "Sources";
    definition.base_dir = Path("src");
    definition.includes = {"**/*.txt"};
    file_set_ = std::make_unique<host::FileSet>(definition);
    host_.AddProjectObject("FileSetObject", "Sources", file_set_.get());
    Set(iterator_, "UseFileSet", true);
    Set(iterator_, "FileSetName", std::string("Sources"));
  }

  std::unique_ptr<host::FileSet> file_set_;
};

TEST_F(FileSetIteratorTest, RefreshDropsPendingEntriesAndAppendsNewOnes) {
  Set(iterator_, "FileSetRefreshAfterEach", true);
  int pass = 0;
  std::vector<std::string> values = RunLoop(iterator_, [&] {
    if (++pass != 1) return;
    std::filesystem::remove(Path("src/a.txt"));  // already iterated: stays in the list
    std::filesystem::remove(Path("src/c.txt"));  // still to come: dropped
    MakeFile("src/new/e.txt");
  });
  const std::vector<std::string> iterated =
      Paths({"src/a.txt", "src/b.txt", "src/d.txt", "src/new/e.txt"});
  EXPECT_EQ(values, iterated);
  std::vector<std::string> info = host_.Texts(stInfo);
  ASSERT_GE(info.size(), 6u);
  EXPECT_EQ(std::vector<std::string>(info.begin(), info.begin() + 5),
            (std::vector<std::string>{"Refreshing fileset...",
                                      Path("src/a.txt") + "\n" + Path("src/b.txt") + "\n" +
                                          Path("src/c.txt") + "\n" + Path("src/d.txt"),
                                      "Refreshing fileset...",
                                      "1 file(s) no longer appear in the fileset.",
                                      "1 new file(s) found in the fileset."}));
  EXPECT_EQ(std::vector<std::string>(info.end() - 3, info.end()),
            (std::vector<std::string>{
                "Final file list which was iterated (after all intermediate updates):",
                iterated[0] + "\n" + iterated[1] + "\n" + iterated[2] + "\n" + iterated[3],
                "(4 files.)"}));
  EXPECT_EQ(host_.events[1], "group-start: FileSet Sources contents (4 files)");
}

TEST_F(FileSetIteratorTest, WithoutRefreshTheFirstListHolds) {
  Set(iterator_, "FileSetRefreshBefore", false);
  ASSERT_TRUE(file_set_->GetFiles().size() == 4);  // evaluated now, before c.txt goes
  std::filesystem::remove(Path("src/c.txt"));
  Set(iterator_, "IncludeFilePath", false);
  std::vector<std::string> values = RunLoop(iterator_, [&] { MakeFile("src/later.txt"); });
  EXPECT_EQ(values, (std::vector<std::string>{"a.txt", "b.txt", "c.txt", "d.txt"}));
  EXPECT_EQ(host_.Texts(stInfo).front(), "a.txt\nb.txt\nc.txt\nd.txt");
}

TEST_F(FileSetIteratorTest, AStopOrAnUnreadableSetEndsTheLoopUnrun) {
  StopOnMessageHost host(iterator_, "Refreshing fileset...");
  host.AddProjectObject("FileSetObject", "Sources", file_set_.get());
  iterator_.AttachHost(&host);
  EXPECT_FALSE(iterator_.Execute());
  EXPECT_EQ(host.events, std::vector<std::string>{"stInfo: Refreshing fileset..."});

  std::filesystem::rename(Path("src"), Path("gone"));
  std::string message = FailureOf();
  EXPECT_EQ(message.rfind("Error while evaluating fileset : file set 'Sources': ", 0), 0u)
      << message;
  EXPECT_NE(message.find("No such file or directory"), std::string::npos) << message;
}

}  // namespace
}  // namespace brivant::testing

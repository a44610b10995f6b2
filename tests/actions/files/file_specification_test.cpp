// The file specification as every file action and the file iterator read
// it: the directory-search rules end to end on real directories, a search
// below a file, and a target that holds a wildcard.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>

#include "actions/files/copy_files_action.h"
#include "actions/files/delete_files_action.h"
#include "actions/files/move_files_action.h"
#include "actions/files/set_file_attributes_action.h"
#include "actions/iterators/file_iterator.h"
#include "package/string_utils.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

using Settings = std::vector<std::pair<const char*, PropertyValue>>;
using Names = std::vector<std::string>;

class FileSpecificationTest : public IteratorTest {
 protected:
  static bool Run(TCustomBVAction& action, const Settings& settings, TestHost* host) {
    for (const auto& [name, value] : settings) Set(action, name, value);
    return host->Run(action);
  }
  // Names of `directory` that pass `keep`, sorted.
  Names NamesIn(const std::string& directory,
                const std::function<bool(const std::string&)>& keep = {}) const {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(Path(directory))) {
      const std::string name = entry.path().filename().string();
      if (!keep || keep(name)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(FileSpecificationTest, EveryActionFindsWhatTheMaskRulesFind) {
  const Names all = {" .a", ".a", "a", "a..a", "a.a", "a.a.a", "aa", "aaa", "aaaa"};
  const struct {
    const char* mask;
    Names found;
  } cases[] = {
      {"*.", {"a", "aa", "aaa", "aaaa"}},
      {"??.", {"a", "aa"}},
      {"?.??.", {" .a", ".a", "a", "a.a"}},
      {" ?a", {}},
      {"*.*.", all},
      {".*.", {".a"}},
      {"a?a", {"aaa"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string("\"") + c.mask + "\"");
    for (const std::string& name : all) MakeFile("d/" + name);
    const std::string spec = Path("d/") + c.mask;
    TestHost host;
    TFileIterator iterator;
    Set(iterator, "FindAnyFile", true);
    Set(iterator, "FileSpec", spec);
    Names listed = RunLoop(iterator);
    for (std::string& path : listed) path = ExtractFileName(path);
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, c.found) << "file iterator";
    TCopyFilesAction copy;
    Run(copy,
        {{"FileSpec", spec}, {"Target", Path("copy")}, {"Force", true}, {"FailIfZeroFiles", false}},
        &host);
    EXPECT_EQ(Exists("copy") ? NamesIn("copy") : Names{}, c.found) << "copy";
    TSetFileAttributesAction attributes;
    Run(attributes,
        {{"FileSpec", spec},
         {"ReadOnly", static_cast<int64_t>(TAttributeSetting::asSet)},
         {"FailIfFileNotFound", false}},
        &host);
    EXPECT_EQ(NamesIn("d", [&](const std::string& name) { return !IsOwnerWritable("d/" + name); }),
              c.found)
        << "set file attributes";
    TDeleteFilesAction deletion;
    Run(deletion,
        {{"FileSpec", spec},
         {"DeleteReadOnly", true},
         {"DeleteHidden", true},
         {"FailIfNoFile", false}},
        &host);
    Names kept;
    std::set_difference(all.begin(), all.end(), c.found.begin(), c.found.end(),
                        std::back_inserter(kept));
    EXPECT_EQ(NamesIn("d"), kept) << "delete files";
    std::filesystem::remove_all(Path("d"));
    std::filesystem::remove_all(Path("copy"));
  }
}

TEST_F(FileSpecificationTest, SearchBelowAFileFindsNothingAsBelowAMissingDirectory) {
  MakeFile("file.txt");
  const struct {
    const char* label;
    std::function<std::unique_ptr<TCustomBVAction>()> make;
    Settings settings;
  } cases[] = {
      {"copy", [] { return std::make_unique<TCopyFilesAction>(); }, {{"Target", Path("out")}}},
      {"copy, recursing",
       [] { return std::make_unique<TCopyFilesAction>(); },
       {{"Target", Path("out")}, {"Recurse", true}}},
      {"move", [] { return std::make_unique<TMoveFilesAction>(); }, {{"Target", Path("out")}}},
      {"delete files", [] { return std::make_unique<TDeleteFilesAction>(); }, {}},
      {"set file attributes, recursing",
       [] { return std::make_unique<TSetFileAttributesAction>(); },
       {{"Recurse", true}, {"ReadOnly", static_cast<int64_t>(TAttributeSetting::asSet)}}},
      {"file iterator, recursing",
       [] { return std::make_unique<TFileIterator>(); },
       {{"Recurse", true}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    auto events_below = [&](const std::string& directory, bool* result) {
      std::unique_ptr<TCustomBVAction> action = c.make();
      Set(*action, "FileSpec", Path(directory + "/*.txt"));
      TestHost host;
      *result = Run(*action, c.settings, &host);
      Names events = LogEvents(host);
      for (std::string& event : events) event = ReplaceAll(event, Path(directory), "@");
      return events;
    };
    bool missing_result = true;
    bool file_result = false;
    const Names missing = events_below("missing", &missing_result);
    EXPECT_EQ(events_below("file.txt", &file_result), missing);
    EXPECT_EQ(file_result, missing_result);
  }
  EXPECT_FALSE(Exists("out"));
}

TEST_F(FileSpecificationTest, WildcardInTheTargetIsRefusedBeforeAnythingIsMade) {
  MakeFile("src/a.txt", "data");
  const struct {
    const char* label;
    bool move;
    const char* target;
    bool target_is_dir;
    const char* destination;
  } cases[] = {
      {"copy to a file", false, "out/b*.txt", false, "out/b*.txt"},
      {"copy into a directory", false, "out?", true, "out?/a.txt"},
      {"move to a file", true, "out/b?.txt", false, "out/b?.txt"},
      {"move into a directory", true, "out*", true, "out*/a.txt"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    TCopyFilesAction copy;
    TMoveFilesAction move;
    TCustomCopyFilesAction& action = c.move ? static_cast<TCustomCopyFilesAction&>(move) : copy;
    TestHost host;
    EXPECT_FALSE(Run(action,
                     {{"FileSpec", Path("src/a.txt")},
                      {"Target", Path(c.target)},
                      {"TargetIsDir", c.target_is_dir},
                      {"Force", true}},
                     &host));
    EXPECT_EQ(host.Texts(stError),
              (Names{std::string("Failed to ") + (c.move ? "move" : "copy") +
                         " File : " + Path("src/a.txt") + " -> " + Path(c.destination),
                     "Win32 Error : Invalid argument (the target name holds * or ?)"}));
    EXPECT_EQ(NamesIn(""), (Names{"src"}));
    EXPECT_EQ(NamesIn("src"), (Names{"a.txt"}));
    EXPECT_EQ(ReadBytes(Path("src/a.txt")), "data");
  }
}

}  // namespace
}  // namespace brivant::testing

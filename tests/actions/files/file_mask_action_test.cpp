// The file specification as the file actions and the file iterator all read
// it: the mask rules end to end on real directories, a search below a file,
// and a target that holds a wildcard.
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>

#include "actions/files/copy_files_action.h"
#include "actions/files/delete_files_action.h"
#include "actions/files/move_files_action.h"
#include "actions/files/set_file_attributes_action.h"
#include "actions/iterators/file_iterator.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

using Strings = std::vector<std::string>;
using Found = std::function<bool(const std::string& name)>;

template <class Action>
std::unique_ptr<TCustomBVAction> Make() {
  return std::make_unique<Action>();
}

class FileMaskActionTest : public IteratorTest {
 protected:
  // Runs `action` in a new host with the "Name=Value;..." settings it publishes.
  bool Run(std::unique_ptr<TCustomBVAction> action, const std::string& settings) {
    std::istringstream list(settings);
    PropertyValue value;
    for (std::string item, error; std::getline(list, item, ';');) {
      const PropertyInfo* info = action->GetPropertyTable().Find(item.substr(0, item.find('=')));
      if (info && ParsePropertyValue(*info, item.substr(item.find('=') + 1), &value, &error))
        SetProperty(*action, *info, value);
    }
    host_ = std::make_unique<TestHost>();
    return host_->Run(*action);
  }
  std::unique_ptr<TestHost> host_;
};

TEST_F(FileMaskActionTest, EachActionFindsWhatTheMaskFindsAndNothingBelowAFile) {
  const std::pair<std::unique_ptr<TCustomBVAction> (*)(), Found> actions[] = {
      {Make<TCopyFilesAction>, [&](auto& name) { return Exists("c/" + name); }},
      {Make<TMoveFilesAction>, [&](auto& name) { return Exists("c/" + name); }},
      {Make<TSetFileAttributesAction>, [&](auto& name) { return !IsOwnerWritable("d/" + name); }},
      {Make<TDeleteFilesAction>, [&](auto& name) { return !Exists("d/" + name); }},
      {Make<TFileIterator>, [&](auto& name) {
         const std::string list = "\n" + host_->Texts(stInfo).back() + "\n";
         return list.find("\n" + Path("d/" + name) + "\n") != std::string::npos;
       }}};
  const std::string settings =
      "Recurse=True;Force=True;FindAnyFile=True;DeleteHidden=True;DeleteReadOnly=True;"
      "FailIfZeroFiles=False;FailIfNoFile=False;FailIfFileNotFound=False;ReadOnly=asSet;Target=" +
      Path("c") + ";FileSpec=" + Path("");
  // Each row: the mask, "=", the names it finds; "a" is a file.
  const char* const masks[] = {"*.=a|aa|aaa|aaaa", "??.=a|aa", "?.??.= .a|.a|a|a.a", " ?a=",
                               ".*.=.a",           "a?a=aaa",  "a.*.a=a..a|a.a.a",   "a/*="};
  const char* const names[] = {" .a", ".a", "a", "a..a", "a.a", "a.a.a", "aa", "aaa", "aaaa"};
  for (const auto& [make, found] : actions) {
    ASSERT_TRUE(Run(make(), settings + "nowhere/*"));
    const Strings errors_for_no_files = host_->Texts(stError);
    for (const std::string row : masks) {
      SCOPED_TRACE(std::string(make()->ClassName()) + " " + row);
      for (const std::string name : names) MakeFile("d/" + name);
      const std::string expected = row.substr(row.find('=') + 1);
      EXPECT_TRUE(Run(make(), settings + "d/" + row.substr(0, row.find('='))));
      EXPECT_EQ(host_->Texts(stError), expected.empty() ? errors_for_no_files : Strings{});
      std::string found_names;
      for (const std::string name : names)
        found_names += found(name) ? (found_names.empty() ? "" : "|") + name : "";
      EXPECT_EQ(found_names, expected);
      std::filesystem::remove_all(Path("c"));
      std::filesystem::remove_all(Path("d"));
    }
  }
}

TEST_F(FileMaskActionTest, WildcardInTheTargetIsRefusedBeforeAnythingIsMade) {
  MakeFile("src/a.txt", "data");
  // Copy to a file, move into a directory.
  const std::pair<const char*, bool> cases[] = {{"out/b?.txt", false}, {"out*", true}};
  for (const auto& [target, move] : cases) {
    SCOPED_TRACE(target);
    ASSERT_FALSE(Run(move ? Make<TMoveFilesAction>() : Make<TCopyFilesAction>(),
                     std::string(move ? "TargetIsDir=True;" : "") +
                         "Force=True;FileSpec=" + Path("src/a.txt") + ";Target=" + Path(target)));
    EXPECT_EQ(host_->Texts(stError).back(),
              "Win32 Error : Invalid argument (the target name holds * or ?)");
    EXPECT_FALSE(Exists("out") || Exists(target));
    EXPECT_EQ(ReadBytes(Path("src/a.txt")), "data");
  }
}

}  // namespace
}  // namespace brivant::testing

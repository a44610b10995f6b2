#include "actions/files/touch_files_action.h"

#include <chrono>
#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class TouchFilesActionTest : public MiscFileActionTest {
 protected:
  void SetUp() override {
    MakeFile("a.txt");
    MakeFile("b.log");
    MakeFile("sub/c.txt");
    MakeFile("sub/.h.txt");
    for (const char* name : {"a.txt", "b.log", "sub/c.txt", "sub/.h.txt"}) SetWriteTime(name, kOld);
  }
  bool Touch(const std::string& file_spec, const std::string& date_time, bool recurse = false) {
    TTouchFilesAction action;
    Set(action, "FileSpec", file_spec);
    Set(action, "Recurse", recurse);
    Set(action, "UseCurrentDateTime", false);
    Set(action, "DateTimeString", date_time);
    return host_.Run(action);
  }
  static constexpr std::time_t kOld = 1000000000;  // 2001-09-09, UTC
};

TEST_F(TouchFilesActionTest, SetsTheGivenTimeOnEveryMatchBelow) {
  MakeDirectory("sub/dir.txt");  // matches the mask, but is no file to touch
  ASSERT_TRUE(Touch(Path("*.txt"), "2009-03-05 14:30:00", /*recurse=*/true));
  std::time_t expected = LocalSeconds(2009, 3, 5, 14, 30, 0);
  for (const char* name : {"a.txt", "sub/c.txt", "sub/.h.txt"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(WriteTimeOf(name), expected);
  }
  EXPECT_EQ(WriteTimeOf("b.log"), kOld);
  EXPECT_EQ(host_.events,
            (std::vector<std::string>{
                "stInfo: Touching files: " + Path("*.txt") + " (2009-03-05 14:30:00)",
                "group-start: Files Touched", "stInfo: Touched " + Path("a.txt"),
                "stInfo: Touched " + Path("sub/.h.txt"), "stInfo: Touched " + Path("sub/c.txt"),
                "group-end: stInfo", "stSuccess: 3 files touched"}));
}

TEST_F(TouchFilesActionTest, ReadsTheDateForms) {
  const std::tuple<const char*, const char*, std::time_t> cases[] = {
      {"2009-03-05", "2009-03-05 00:00:00", LocalSeconds(2009, 3, 5, 0, 0, 0)},
      {"2009-3-5 7:05", "2009-03-05 07:05:00", LocalSeconds(2009, 3, 5, 7, 5, 0)},
      {"2009-03-05T14:30:09", "2009-03-05 14:30:09", LocalSeconds(2009, 3, 5, 14, 30, 9)},
      {"  2012-02-29   23:59:59 ", "2012-02-29 23:59:59", LocalSeconds(2012, 2, 29, 23, 59, 59)},
  };
  for (const auto& [text, logged, expected] : cases) {
    SCOPED_TRACE(text);
    host_.messages.clear();
    ASSERT_TRUE(Touch(Path("a.txt"), text));
    EXPECT_EQ(host_.messages.front().text,
              "Touching files: " + Path("a.txt") + " (" + logged + ")");
    EXPECT_EQ(WriteTimeOf("a.txt"), expected);
  }
}

TEST_F(TouchFilesActionTest, BadDateTextIsRefusedBeforeAnythingIsTouched) {
  for (const char* text : {"05/03/2009", "2009-02-29 10:00:00", "2009-03-05 24:00:00",
                           "2009-03-05 14:30:00 extra", "2009-03-05 14", "09-03-05"}) {
    SCOPED_TRACE(text);
    host_.messages.clear();
    std::string message =
        "Invalid date/time \"" + std::string(text) + "\": expected yyyy-mm-dd hh:nn:ss";
    TTouchFilesAction action;
    Set(action, "FileSpec", Path("a.txt"));
    Set(action, "UseCurrentDateTime", false);
    Set(action, "DateTimeString", std::string(text));
    EXPECT_EQ(host_.Validate(action), (std::vector<ValidationError>{{"Date/Time", message, 0}}));
    EXPECT_FALSE(host_.Run(action));
    EXPECT_EQ(host_.messages, (std::vector<LoggedMessage>{{stError, message}}));
    EXPECT_EQ(WriteTimeOf("a.txt"), kOld);
  }
}

TEST_F(TouchFilesActionTest, DateFromAVariableIsCheckedWhenItRuns) {
  TTouchFilesAction action;
  Set(action, "FileSpec", Path("a.txt"));
  Set(action, "UseCurrentDateTime", false);
  Set(action, "DateTimeString", std::string("%STAMP%"));
  EXPECT_TRUE(host_.Validate(action).empty());
  host_.Define("STAMP", Variant(std::string("tomorrow")));
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(
      host_.Texts(stError),
      std::vector<std::string>{"Invalid date/time \"tomorrow\": expected yyyy-mm-dd hh:nn:ss"});
  host_.Define("STAMP", Variant(std::string("2020-01-02 03:04:05")));
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(WriteTimeOf("a.txt"), LocalSeconds(2020, 1, 2, 3, 4, 5));
}

TEST_F(TouchFilesActionTest, CurrentTimeByDefault) {
  std::time_t before = std::time(nullptr);
  TTouchFilesAction action;
  Set(action, "FileSpec", Path("b.log"));
  ASSERT_TRUE(host_.Run(action));
  EXPECT_GE(WriteTimeOf("b.log"), before - 1);
  EXPECT_LE(WriteTimeOf("b.log"), std::time(nullptr) + 1);
}

TEST_F(TouchFilesActionTest, MissingFileFailsIsSkippedOrCreated) {
  EXPECT_FALSE(Touch(Path("new.txt"), "2009-03-05"));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"File not found \"" + Path("new.txt") + "\"",
                                      "Failing because zero files touched"}));
  EXPECT_FALSE(Exists("new.txt"));

  host_.messages.clear();
  TTouchFilesAction lenient;
  Set(lenient, "FileSpec", Path("new.txt"));
  Set(lenient, "FailIfZeroFiles", false);
  ASSERT_TRUE(host_.Run(lenient));
  EXPECT_EQ(host_.Texts(stWarning),
            std::vector<std::string>{"File not found \"" + Path("new.txt") + "\""});
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"0 files touched"});

  host_.messages.clear();
  TTouchFilesAction create;
  Set(create, "FileSpec", Path("new.txt"));
  Set(create, "UseCurrentDateTime", false);
  Set(create, "DateTimeString", std::string("2009-03-05 01:02:03"));
  Set(create, "CreateIfMissing", true);
  ASSERT_TRUE(host_.Run(create));
  EXPECT_EQ(ReadBytes(Path("new.txt")), "");
  EXPECT_EQ(WriteTimeOf("new.txt"), LocalSeconds(2009, 3, 5, 1, 2, 3));
  EXPECT_EQ(
      host_.Texts(stInfo),
      (std::vector<std::string>{"Touching files: " + Path("new.txt") + " (2009-03-05 01:02:03)",
                                "Created " + Path("new.txt"), "Touched " + Path("new.txt")}));
  EXPECT_EQ(host_.Texts(stSuccess), std::vector<std::string>{"1 file touched"});
}

TEST_F(TouchFilesActionTest, FailureNamesTheFileAndStops) {
  // Sorted between ".h.txt" and "c.txt".
  std::filesystem::create_symlink("gone", Path("sub/b-dangling.txt"));
  EXPECT_FALSE(Touch(Path("sub/*.txt"), "2009-03-05"));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"Error touching file: " + Path("sub/b-dangling.txt"),
                                      "Error reason: No such file or directory",
                                      "1 file touched before error occurred"}));
  EXPECT_EQ(WriteTimeOf("sub/c.txt"), kOld);
  EXPECT_EQ(host_.open_groups, 0);
}

}  // namespace
}  // namespace brivant::testing

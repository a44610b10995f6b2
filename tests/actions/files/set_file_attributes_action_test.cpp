#include "actions/files/set_file_attributes_action.h"

#include <tuple>

#include "platform/file_attributes.h"
#include "tests/actions/files/file_action_fixture.h"
#include "tests/support/listed_file_set.h"

namespace brivant::testing {
namespace {

constexpr const char* kSucceeded = "Attributes for files successfully changed";

constexpr int64_t Ordinal(TAttributeSetting setting) { return static_cast<int64_t>(setting); }

class SetFileAttributesActionTest : public FileActionTest {
 protected:
  uint32_t Attributes(const std::string& name) {
    platform::OsResult<uint32_t> attributes = platform::GetFileAttributes(Path(name));
    EXPECT_TRUE(attributes.IsOk()) << attributes.Error().Describe();
    return attributes.IsOk() ? attributes.Value() : 0;
  }
  void SetAttributes(const std::string& name, uint32_t attributes) {
    platform::OsError error = platform::SetFileAttributes(Path(name), attributes);
    ASSERT_FALSE(error) << error.Describe();
  }
  // An action on `spec` that changes one attribute.
  void Configure(TSetFileAttributesAction& action, const std::string& spec,
                 const char* attribute = "ReadOnly",
                 TAttributeSetting setting = TAttributeSetting::asSet) {
    Set(action, "FileSpec", Path(spec));
    Set(action, attribute, Ordinal(setting));
  }
};

TEST_F(SetFileAttributesActionTest, SetsAndClearsEachAttributeAlone) {
  const std::tuple<const char*, uint32_t> cases[] = {
      {"ReadOnly", platform::kFileAttributeReadOnly},
      {"Archive", platform::kFileAttributeArchive},
      {"SystemFile", platform::kFileAttributeSystem},
      {"Hidden", platform::kFileAttributeHidden},
  };
  // Every other attribute is set beforehand and must stay set.
  const uint32_t all = platform::kFileAttributeReadOnly | platform::kFileAttributeArchive |
                       platform::kFileAttributeSystem | platform::kFileAttributeHidden;
  for (const auto& [property, bit] : cases) {
    SCOPED_TRACE(property);
    const std::string others = std::string(property) + "-others.txt";
    MakeFile(others);
    SetAttributes(others, all & ~bit);
    const std::string alone = std::string(property) + "-alone.txt";
    MakeFile(alone);

    for (const std::string& name : {others, alone}) {
      TestHost host;
      TSetFileAttributesAction action;
      Configure(action, name, property, TAttributeSetting::asSet);
      ASSERT_TRUE(host.Run(action));
      EXPECT_EQ(Attributes(name), name == others ? all : bit);

      Set(action, property, Ordinal(TAttributeSetting::asClear));
      ASSERT_TRUE(host.Run(action));
      EXPECT_EQ(Attributes(name), name == others ? all & ~bit : platform::kFileAttributeNormal);
    }
  }
}

TEST_F(SetFileAttributesActionTest, SeveralSettingsInOneRun) {
  MakeFile("f.txt");
  SetAttributes("f.txt", platform::kFileAttributeArchive | platform::kFileAttributeSystem);
  TSetFileAttributesAction action;
  Configure(action, "f.txt", "ReadOnly", TAttributeSetting::asSet);
  Set(action, "Archive", Ordinal(TAttributeSetting::asClear));
  Set(action, "Hidden", Ordinal(TAttributeSetting::asClear));  // absent: stays absent
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(Attributes("f.txt"), platform::kFileAttributeReadOnly | platform::kFileAttributeSystem);
  EXPECT_EQ(host_.messages, (std::vector<LoggedMessage>{{stInfo, "File spec: " + Path("f.txt")},
                                                        {stSuccess, kSucceeded}}));
}

TEST_F(SetFileAttributesActionTest, RecursiveWalkLogsEveryFileInItsGroup) {
  MakeFile("tree/b.txt");
  MakeFile("tree/a.txt");
  MakeFile("tree/skip.dat");
  MakeFile("tree/sub/c.txt");
  MakeFile("tree/sub/deeper/d.txt");
  MakeFile("tree/.hidden/h.txt");
  MakeDirectory("tree/folder.txt");
  TSetFileAttributesAction action;
  Configure(action, "tree/*.txt", "Archive", TAttributeSetting::asSet);
  Set(action, "Recurse", true);
  Set(action, "LogAllFiles", true);
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(LogEvents(host_), (std::vector<std::string>{
                                  "stInfo: File spec: " + Path("tree/*.txt"),
                                  "group-start: Files changed",
                                  "stInfo: Processed File : " + Path("tree/a.txt"),
                                  "stInfo: Processed File : " + Path("tree/b.txt"),
                                  "stInfo: Processed File : " + Path("tree/sub/c.txt"),
                                  "stInfo: Processed File : " + Path("tree/sub/deeper/d.txt"),
                                  "group-end: stInfo",
                                  "stSuccess: " + std::string(kSucceeded),
                              }));
  EXPECT_EQ(Attributes("tree/skip.dat"), platform::kFileAttributeNormal);
  // Hidden directories stay out of the walk, as the directory search has it.
  EXPECT_EQ(Attributes("tree/.hidden/h.txt"), platform::kFileAttributeNormal);
}

TEST_F(SetFileAttributesActionTest, FirstFailingFileEndsTheWalk) {
  MakeFile("dir/a.txt");
  MakeFile("dir/c.txt");
  // A symbolic link has no attribute word of its own to set, also for root.
  std::filesystem::create_symlink(Path("dir/a.txt"), Path("dir/b.txt"));
  TSetFileAttributesAction action;
  Configure(action, "dir/*.txt", "Archive", TAttributeSetting::asSet);
  Set(action, "LogAllFiles", true);
  EXPECT_FALSE(host_.Run(action));
  EXPECT_EQ(LogEvents(host_),
            (std::vector<std::string>{
                "stInfo: File spec: " + Path("dir/*.txt"),
                "group-start: Files changed",
                "stInfo: Processed File : " + Path("dir/a.txt"),
                "group-end: stInfo",
                "stError: Error Processing File " + Path("dir/b.txt") + ": Operation not permitted",
            }));
  EXPECT_EQ(Attributes("dir/a.txt"), platform::kFileAttributeArchive) << "changes stay";
  EXPECT_EQ(Attributes("dir/c.txt"), platform::kFileAttributeNormal);
}

TEST_F(SetFileAttributesActionTest, NothingFound) {
  MakeFile("dir/a.txt");
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"no match", "dir/*.none", true},
      {"no match allowed", "dir/*.none", false},
      {"missing file", "dir/b.txt", true},
      {"a directory is no file", "dir", true},
      {"a directory is no file, allowed", "dir", false},
  };
  for (const auto& [name, spec, fail_if_not_found] : cases) {
    SCOPED_TRACE(name);
    TestHost host;
    TSetFileAttributesAction action;
    Configure(action, spec);
    Set(action, "FailIfFileNotFound", fail_if_not_found);
    EXPECT_EQ(host.Run(action), !fail_if_not_found);
    std::vector<LoggedMessage> expected{{stInfo, "File spec: " + Path(spec)},
                                        {stError, "No files were found matching the file spec."}};
    if (!fail_if_not_found) expected.push_back({stSuccess, kSucceeded});
    EXPECT_EQ(host.messages, expected);
  }
  EXPECT_EQ(Attributes("dir/a.txt"), platform::kFileAttributeNormal);
}

TEST_F(SetFileAttributesActionTest, RunsThatFailBeforeTouchingFiles) {
  MakeFile("f.txt");
  const std::tuple<const char*, std::string, bool, std::vector<LoggedMessage>> cases[] = {
      // clang-format off
      {"no setting", Path("f.txt"), false, {{stError, "No attributes were specified to change."}}},
      {"undefined variable", "%UNDEFINED_IN_ATTRIBUTE_TEST%/f.txt", true,
       {{stError,
         "Error processing File Spec: Variable \"UNDEFINED_IN_ATTRIBUTE_TEST\" is not defined"}}},
      {"empty once expanded", "%EMPTY%", true, {{stError, "No file spec was specified."}}},
      {"only quotes", "\"\"", true, {{stError, "No file spec was specified."}}},
      // clang-format on
  };
  for (const auto& [name, spec, any_setting, messages] : cases) {
    SCOPED_TRACE(name);
    TestHost host;
    host.Define("EMPTY", Variant(std::string()));
    TSetFileAttributesAction action;
    Set(action, "FileSpec", spec);
    if (any_setting) Set(action, "Hidden", Ordinal(TAttributeSetting::asSet));
    EXPECT_FALSE(host.Run(action));
    EXPECT_EQ(host.messages, messages);
  }
  EXPECT_EQ(Attributes("f.txt"), platform::kFileAttributeNormal);
}

TEST_F(SetFileAttributesActionTest, FileSetModeChangesTheListedFilesThatStillExist) {
  MakeFile("set/a.txt");
  MakeFile("set/b.txt");
  MakeFile("set/not-listed.txt");
  ListedFileSet file_set({Path("set/a.txt"), Path("set/gone.txt"), Path("set/b.txt")});
  host_.AddProjectObject("FileSetObject", "Sources", &file_set);
  TSetFileAttributesAction action;
  Set(action, "UseFileSet", true);
  Set(action, "FileSetName", std::string("Sources"));
  Set(action, "FileSpec", Path("set/not-listed.txt"));  // not used in this mode
  Set(action, "ReadOnly", Ordinal(TAttributeSetting::asSet));
  Set(action, "LogAllFiles", true);
  ASSERT_TRUE(host_.Run(action));
  EXPECT_EQ(LogEvents(host_), (std::vector<std::string>{
                                  "stInfo: Using FileSet: Sources",
                                  "group-start: Files changed",
                                  "stInfo: Processed File : " + Path("set/a.txt"),
                                  "stInfo: Processed File : " + Path("set/b.txt"),
                                  "group-end: stInfo",
                                  "stSuccess: " + std::string(kSucceeded),
                              }));
  EXPECT_EQ(Attributes("set/b.txt"), platform::kFileAttributeReadOnly);
  EXPECT_EQ(Attributes("set/not-listed.txt"), platform::kFileAttributeNormal);

  ListedFileSet empty({});
  host_.AddProjectObject("FileSetObject", "Empty", &empty);
  Set(action, "FileSetName", std::string("Empty"));
  Set(action, "FailIfFileNotFound", true);
  EXPECT_TRUE(host_.Run(action));
  EXPECT_EQ(host_.Texts(stSuccess).back(), kSucceeded);
}

TEST_F(SetFileAttributesActionTest, MissingFileSetRaisesForTheHost) {
  TSetFileAttributesAction action;
  Set(action, "UseFileSet", true);
  Set(action, "FileSetName", std::string("Nope"));
  Set(action, "Archive", Ordinal(TAttributeSetting::asSet));
  EXPECT_EQ(MessageOf<EFileAttributeException>([&] { host_.Run(action); }),
            "FileSet \"Nope\" not found.");
  EXPECT_EQ(host_.messages, std::vector<LoggedMessage>{});
}

}  // namespace
}  // namespace brivant::testing

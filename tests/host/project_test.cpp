#include "host/project.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host/action_registry.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant {

enum TTestMode { tmFast, tmSafe };

template <>
struct EnumTraits<TTestMode> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TTestMode", {"tmFast", "tmSafe"}};
    return info;
  }
};

namespace host {
namespace {

// Switching Recurse on forces IncludePath on, the kind of coupling real
// actions have; every setter call is recorded so a test sees the order.
class TCoupledAction : public TBVAction {
 public:
  static constexpr const char* kClassName = "TCoupledAction";

  TCoupledAction() {
    AddScript("OnLine", {"Line"});
    AddScript("OnDone", {});
  }

  static const PropertyTable& Properties() {
    static const PropertyTable table(
        &TBVAction::Properties(),
        {
            Property("Recurse", &TCoupledAction::GetRecurse, &TCoupledAction::SetRecurse),
            Property("IncludePath", &TCoupledAction::GetIncludePath,
                     &TCoupledAction::SetIncludePath),
            Property("Mode", &TCoupledAction::mode_),
            Property("Modes", &TCoupledAction::modes_),
            Property("Files", &TCoupledAction::files_),
            Property("Limit", &TCoupledAction::GetLimit, &TCoupledAction::SetLimit),
            Property("Pattern", &TCoupledAction::pattern_),
            Property("OldPattern", &TCoupledAction::GetPattern, &TCoupledAction::SetOldPattern)
                .NotStored(),
            Property("Count", &TCoupledAction::GetCount,
                     static_cast<void (TCoupledAction::*)(int32_t)>(nullptr)),
        });
    return table;
  }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string_view ClassName() const override { return kClassName; }
  std::string GetActionName() const override { return "Coupled"; }
  bool Execute() override { return true; }
  void Loaded() override { calls.push_back("Loaded"); }

  bool GetRecurse() const { return recurse_; }
  void SetRecurse(bool recurse) {
    calls.push_back("Recurse");
    recurse_ = recurse;
    if (recurse) include_path_ = true;
  }
  bool GetIncludePath() const { return include_path_; }
  void SetIncludePath(bool include_path) {
    calls.push_back("IncludePath");
    include_path_ = include_path;
  }
  int32_t GetLimit() const { return limit_; }
  void SetLimit(int32_t limit) {
    if (limit < 0) throw std::invalid_argument("limit must not be negative");
    limit_ = limit;
  }
  const std::string& GetPattern() const { return pattern_; }
  void SetOldPattern(const std::string& pattern) { pattern_ = "*." + pattern; }
  int32_t GetCount() const { return 0; }

  TTestMode Mode() const { return mode_; }
  TSet<TTestMode> Modes() const { return modes_; }
  const std::vector<std::string>& Files() const { return files_; }

  std::vector<std::string> calls;

 private:
  bool recurse_ = false;
  bool include_path_ = false;
  TTestMode mode_ = tmFast;
  TSet<TTestMode> modes_;
  std::vector<std::string> files_;
  int32_t limit_ = 0;
  std::string pattern_;
};

class TPlainAction : public TBVAction {
 public:
  static constexpr const char* kClassName = "TPlainAction";
  static const PropertyTable& Properties() { return TBVAction::Properties(); }
  std::string_view ClassName() const override { return kClassName; }
  std::string GetActionName() const override { return "Plain"; }
  bool Execute() override { return true; }
};

// A project of one section holding `content`.
std::string In(const std::string& section, const std::string& content) {
  return "<Project><" + section + ">" + content + "</" + section + "></Project>";
}

class ProjectTest : public ::testing::Test {
 protected:
  ProjectTest() {
    ICoreActionService& actions = static_cast<IBVServices&>(registry_).ActionService();
    actions.RegisterAction("Test", ActionClassOf<TCoupledAction>(), "");
    actions.RegisterAction("Test", ActionClassOf<TPlainAction>(), "");
    path_ = temp_.Join("p.bvproj");
  }

  // Loads `text` as the project file; on failure returns false with the
  // error in error_.
  bool Load(const std::string& text) {
    testing::WriteBytes(path_, text);
    error_.clear();
    return LoadProject(path_, registry_, &project_, &error_);
  }

  // The error of loading `text`, without the path in front.
  std::string LoadError(const std::string& text) {
    if (Load(text)) return "(loaded)";
    if (error_.compare(0, path_.size() + 1, path_ + ":") != 0) return "(no path) " + error_;
    return error_.substr(path_.size() + 1);
  }

  // A project with one action of `class_name` holding `body`.
  static std::string OneAction(const std::string& body,
                               const std::string& class_name = "TCoupledAction") {
    return "<Project>\n<Actions>\n<Action Class=\"" + class_name + "\">\n" + body +
           "</Action>\n</Actions>\n</Project>\n";
  }

  TCoupledAction& FirstCoupled() {
    return dynamic_cast<TCoupledAction&>(*project_.actions[0].action);
  }

  ActionRegistry registry_;
  testing::ScopedTempDir temp_;
  std::string path_;
  Project project_;
  std::string error_;
};

TEST_F(ProjectTest, MalformedFilesAreReportedWithTheirLine) {
  struct Case {
    const char* label;
    std::string text;
    std::string error;  // "line: message"
  };
  // "<Project/>" in UTF-16 LE with its byte-order mark.
  std::string utf16 = "\xFF\xFE";
  for (char c : std::string("<Project/>")) utf16 += std::string{c, '\0'};
  std::string deep = "<Project>\n<Actions>\n";
  for (int i = 0; i < 250; ++i) deep += "<Action Class=\"TPlainAction\"><Actions>\n";
  for (int i = 0; i < 250; ++i) deep += "</Actions></Action>\n";
  deep += "</Actions>\n</Project>\n";
  const std::vector<Case> cases = {
      {"UTF-16", utf16, "1: project files must be UTF-8"},
      // The 201st nested <Actions> opens on the line of the 201st action.
      {"deep nesting", deep, "203: actions nested more than 200 levels deep"},
      {"unclosed element", "<Project>\n<Actions>\n</Project>\n",
       "3: invalid XML: Start-end tags mismatch"},
      {"empty file", "", "1: invalid XML: No document element found"},
      {"wrong root", "<Projekt/>", "1: the root element is <Projekt>, expected <Project>"},
      {"misspelt section", "<Project>\n  <Actoins/>\n</Project>",
       "2: unknown element <Actoins> in <Project> (did you mean <Actions>?)"},
      {"unknown section", "<Project><Zebra/></Project>",
       "1: unknown element <Zebra> in <Project> (expected Variables, FileSets, Actions)"},
      {"stray text", "<Project>\n\n  stray words\n</Project>",
       "3: unexpected text 'stray words' in <Project>"},
      {"project attribute", "<Project Version=\"2\"/>",
       "1: unknown attribute 'Version' of <Project>"},
      {"second section", "<Project>\n<Actions/>\n<Variables/>\n<Actions/>\n</Project>",
       "4: second <Actions> in <Project> (the first is at line 2)"},
      {"variable without name", In("Variables", "\n<Variable Value=\"x\"/>\n"),
       "2: <Variable> has no Name attribute"},
      {"variable with blank name", In("Variables", "\n<Variable Name=\" \"/>"),
       "2: <Variable> has an empty Name attribute"},
      {"variable name with a digit first", In("Variables", "<Variable Name=\"1ST\"/>"),
       "1: invalid variable name '1ST' (a name is a letter or '_' followed by letters, digits, "
       "'_' or '.')"},
      {"variable name with a blank", In("Variables", "<Variable Name=\"MY VAR\"/>"),
       "1: invalid variable name 'MY VAR' (a name is a letter or '_' followed by letters, "
       "digits, '_' or '.')"},
      {"variable declared twice",
       In("Variables", "\n\n<Variable Name=\"OUT\"/>\n<Variable Name=\"out\"/>\n"),
       "4: variable 'out' declared twice (the first is at line 3)"},
      {"misspelt variable type", In("Variables", "<Variable Name=\"N\" Type=\"Integr\"/>"),
       "1: unknown variable type 'Integr' (did you mean 'Integer'?)"},
      {"unknown variable type", In("Variables", "<Variable Name=\"N\" Type=\"Decimal\"/>"),
       "1: unknown variable type 'Decimal'"},
      {"integer variable with text",
       In("Variables", "<Variable Name=\"N\" Type=\"Integer\" Value=\"ten\"/>"),
       "1: variable 'N': 'ten' is not a valid integer value"},
      {"boolean variable with a bad value",
       In("Variables", "<Variable Name=\"B\" Type=\"Boolean\" Value=\"maybe\"/>"),
       "1: variable 'B': 'maybe' is not a valid boolean value"},
      {"misspelt variable attribute", In("Variables", "<Variable Name=\"N\" Valeu=\"1\"/>"),
       "1: unknown attribute 'Valeu' of <Variable> (did you mean 'Value'?)"},
      {"element inside a variable", In("Variables", "<Variable Name=\"N\">\n<Value/></Variable>"),
       "2: unknown element <Value> in <Variable> (it takes no elements)"},
      {"file set without name", In("FileSets", "\n<FileSet><Include>*</Include></FileSet>"),
       "2: <FileSet> has no Name attribute"},
      {"file set declared twice",
       In("FileSets",
          "\n<FileSet Name=\"Src\"><Include>*</Include></FileSet>\n<FileSet "
          "Name=\"SRC\"><Include>*</Include></FileSet>"),
       "3: file set 'SRC' declared twice (the first is at line 2)"},
      {"file set without include",
       In("FileSets", "\n<FileSet Name=\"Src\"><Exclude>*.o</Exclude></FileSet>"),
       "2: file set 'Src' has no <Include> pattern"},
      {"empty include", In("FileSets", "<FileSet Name=\"Src\">\n<Include> </Include></FileSet>"),
       "2: empty <Include> pattern"},
      {"absolute include",
       In("FileSets", "<FileSet Name=\"Src\"><Include>/etc/*</Include></FileSet>"),
       "1: pattern '/etc/*' must be relative to the file set's BaseDir"},
      {"include leaving the base directory",
       In("FileSets", "<FileSet Name=\"Src\"><Include>../*.c</Include></FileSet>"),
       "1: pattern '../*.c' must not leave the file set's BaseDir with '..'"},
      {"misspelt file set child",
       In("FileSets", "<FileSet Name=\"Src\">\n<Includes>*</Includes></FileSet>"),
       "2: unknown element <Includes> in <FileSet> (did you mean <Include>?)"},
      {"action without class", In("Actions", "\n<Action Title=\"x\"/>"),
       "2: <Action> has no Class attribute"},
      {"misspelt class", In("Actions", "\n\n<Action Class=\"TCoupledActon\"/>"),
       "3: unknown action class 'TCoupledActon' (did you mean 'TCoupledAction'?)"},
      {"class in the wrong case", In("Actions", "<Action Class=\"tplainaction\"/>"),
       "1: unknown action class 'tplainaction' (did you mean 'TPlainAction'?)"},
      {"unknown class", In("Actions", "<Action Class=\"TZipAction\"/>"),
       "1: unknown action class 'TZipAction'"},
      {"misspelt action attribute", In("Actions", "<Action Class=\"TPlainAction\" Titel=\"x\"/>"),
       "1: unknown attribute 'Titel' of <Action> (did you mean 'Title'?)"},
      {"attribute given twice",
       In("Actions", "<Action Class=\"TPlainAction\" Title=\"a\" Title=\"b\"/>"),
       "1: attribute 'Title' given twice in <Action>"},
      {"bad Enabled", In("Actions", "<Action Class=\"TPlainAction\" Enabled=\"yes\"/>"),
       "1: invalid value 'yes' for Enabled: expected True or False"},
      {"bad IgnoreFailure", In("Actions", "<Action Class=\"TPlainAction\" IgnoreFailure=\"\"/>"),
       "1: invalid value '' for IgnoreFailure: expected True or False"},
      {"misspelt property", OneAction("<Property Name=\"Recurze\">True</Property>\n"),
       "4: unknown property 'Recurze' of TCoupledAction (did you mean 'Recurse'?)"},
      {"unknown property", OneAction("<Property Name=\"Colour\">red</Property>\n"),
       "4: unknown property 'Colour' of TCoupledAction"},
      {"property without name", OneAction("<Property>True</Property>\n"),
       "4: <Property> has no Name attribute"},
      {"property given twice",
       OneAction("<Property Name=\"Recurse\">True</Property>\n<Property "
                 "Name=\"recurse\">False</Property>\n"),
       "5: property 'Recurse' given twice (the first is at line 4)"},
      {"read-only property", OneAction("<Property Name=\"Count\">3</Property>\n"),
       "4: property 'Count' of TCoupledAction is read-only"},
      {"bad Boolean", OneAction("<Property Name=\"Recurse\">maybe</Property>\n"),
       "4: invalid value 'maybe' for Recurse: expected True or False"},
      {"bad Integer", OneAction("<Property Name=\"Limit\">12a</Property>\n"),
       "4: invalid value '12a' for Limit: expected a whole number from -2147483648 to 2147483647"},
      {"bad enumeration value", OneAction("<Property Name=\"Mode\">tmSlow</Property>\n"),
       "4: unknown value 'tmSlow' of TTestMode for Mode: expected one of tmFast, tmSafe"},
      {"bad set member", OneAction("<Property Name=\"Modes\">tmSafe,tmSlow</Property>\n"),
       "4: unknown value 'tmSlow' of TTestMode in the set Modes: expected one of tmFast, tmSafe"},
      {"item in a plain property",
       OneAction("<Property Name=\"Recurse\">\n<Item>True</Item></Property>\n"),
       "5: unexpected element <Item> in property 'Recurse' (only string lists have <Item> "
       "elements)"},
      {"text beside items",
       OneAction("<Property Name=\"Files\"><Item>a</Item>\nstray</Property>\n"),
       "5: unexpected text 'stray' in <Property>"},
      {"wrong element in a list",
       OneAction("<Property Name=\"Files\">\n<Entry>a</Entry></Property>\n"),
       "5: unknown element <Entry> in <Property> (expected Item)"},
      {"element inside an item",
       OneAction("<Property Name=\"Files\"><Item>\n<b>a</b></Item></Property>\n"),
       "5: unknown element <b> in <Item> (it takes no elements)"},
      {"setter refusing a value", OneAction("\n<Property Name=\"Limit\">-1</Property>\n"),
       "5: cannot set property 'Limit' of TCoupledAction: limit must not be negative"},
      {"misspelt script", OneAction("<Script Name=\"OnLin\">x</Script>\n"),
       "4: unknown script 'OnLin' of TCoupledAction (did you mean 'OnLine'?); its scripts are "
       "OnLine, OnDone"},
      {"script of an action without scripts",
       OneAction("<Script Name=\"OnLine\">x</Script>\n", "TPlainAction"),
       "4: unknown script 'OnLine': TPlainAction has no scripts"},
      {"script given twice",
       OneAction("<Script Name=\"OnDone\">a</Script>\n<Script Name=\"OnDone\">b</Script>\n"),
       "5: script 'OnDone' given twice"},
      {"misspelt action child", OneAction("<Propery Name=\"Recurse\">True</Propery>\n"),
       "4: unknown element <Propery> in <Action> (did you mean <Property>?)"},
      {"two child lists", OneAction("<Actions/>\n<Actions/>\n"),
       "5: second <Actions> in one <Action>"},
      {"problem in a child action",
       OneAction("<Actions>\n<Action Class=\"TPlainAction\"/>\n<Action "
                 "Class=\"TPlainActon\"/>\n</Actions>\n"),
       "6: unknown action class 'TPlainActon' (did you mean 'TPlainAction'?)"},
      {"CRLF line ends",
       "<Project>\r\n<Actions>\r\n\r\n<Action Class=\"TNone\"/>\r\n</Actions>\r\n</Project>\r\n",
       "4: unknown action class 'TNone'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(LoadError(c.text), c.error);
  }
}

TEST_F(ProjectTest, UnreadableFileNamesThePathWithoutALine) {
  std::string missing = temp_.Join("missing.bvproj");
  EXPECT_FALSE(LoadProject(missing, registry_, &project_, &error_));
  EXPECT_EQ(error_, missing + ": No such file or directory");
}

TEST_F(ProjectTest, LoadsVariablesFileSetsAndTheActionTree) {
  ASSERT_TRUE(Load(R"(<?xml version="1.0" encoding="UTF-8"?>
<Project>
  <!-- build settings -->
  <Variables>
    <Variable Name="OUT" Value="out dir"/>
    <Variable Name="COUNT" Type="Integer" Value="3"/>
    <Variable Name="FAST" Type="boolean" Value="True"/>
    <Variable Name="RATIO" Type="Float" Value="0.5"/>
    <Variable Name="EMPTY"/>
  </Variables>
  <FileSets>
    <FileSet Name="Photos" BaseDir="photos">
      <Include> **/*.jpg </Include>
      <Exclude>thumbs/**</Exclude>
      <Include>*.png</Include>
    </FileSet>
  </FileSets>
  <Actions>
    <Action Class="TCoupledAction" Title="Outer" Enabled="false" IgnoreFailure="1">
      <Actions>
        <Action Class="TPlainAction"/>
        <Action Class="TPlainAction" Title=""/>
      </Actions>
    </Action>
    <Action Class="TPlainAction" Title="Second"/>
  </Actions>
</Project>
)")) << error_;
  EXPECT_EQ(project_.path, path_);
  ASSERT_EQ(project_.variables.size(), 5u);
  EXPECT_EQ(project_.variables[0].name, "OUT");
  EXPECT_EQ(project_.variables[0].value, Variant("out dir"));
  EXPECT_EQ(project_.variables[0].line, 5);
  EXPECT_EQ(project_.variables[1].value, Variant(int64_t{3}));
  EXPECT_EQ(project_.variables[2].value, Variant(true));
  EXPECT_EQ(project_.variables[3].value, Variant(0.5));
  EXPECT_EQ(project_.variables[4].value, Variant(std::string()));

  ASSERT_EQ(project_.file_sets.size(), 1u);
  const FileSetDefinition& photos = project_.file_sets[0];
  EXPECT_EQ(photos.name, "Photos");
  EXPECT_EQ(photos.base_dir, "photos");
  EXPECT_EQ(photos.includes, (std::vector<std::string>{"**/*.jpg", "*.png"}));
  EXPECT_EQ(photos.excludes, (std::vector<std::string>{"thumbs/**"}));
  EXPECT_EQ(photos.line, 12);

  ASSERT_EQ(project_.actions.size(), 2u);
  const ActionNode& outer = project_.actions[0];
  EXPECT_EQ(outer.title, "Outer");
  EXPECT_EQ(outer.action->GetActionLogTitle(), "Outer");
  EXPECT_FALSE(outer.enabled);
  EXPECT_TRUE(outer.ignore_failure);
  EXPECT_EQ(outer.line, 19);
  ASSERT_EQ(outer.children.size(), 2u);
  EXPECT_EQ(outer.children[0].title, "Plain");
  EXPECT_EQ(outer.children[1].title, "Plain");
  EXPECT_TRUE(outer.children[0].enabled);
  EXPECT_FALSE(outer.children[0].ignore_failure);
  EXPECT_EQ(outer.children[1].line, 22);
  EXPECT_EQ(project_.actions[1].title, "Second");
  EXPECT_EQ(project_.actions[1].action->ClassName(), "TPlainAction");
}

TEST_F(ProjectTest, PropertiesAreAppliedInPublishedOrderThenLoaded) {
  // The file sets IncludePath off before switching Recurse on. Applied in
  // the file's order, Recurse would force IncludePath back on; in published
  // order Recurse comes first and the stored False stands.
  ASSERT_TRUE(
      Load(OneAction("<Property Name=\"IncludePath\">False</Property>\n"
                     "<Property Name=\"Recurse\">True</Property>\n")))
      << error_;
  TCoupledAction& action = FirstCoupled();
  EXPECT_EQ(action.calls, (std::vector<std::string>{"Recurse", "IncludePath", "Loaded"}));
  EXPECT_TRUE(action.GetRecurse());
  EXPECT_FALSE(action.GetIncludePath());
}

// A property without storage is still applied through its setter.
TEST_F(ProjectTest, ValuesOfEveryKindAndScriptsAreParsed) {
  ASSERT_TRUE(
      Load(OneAction("<Property Name=\"Mode\">1</Property>\n"
                     "<Property Name=\"Modes\">tmFast, tmSafe</Property>\n"
                     "<Property Name=\"Limit\">0x10</Property>\n"
                     "<Property Name=\"oldpattern\"><![CDATA[<c>]]></Property>\n"
                     "<Script Name=\"OnLine\">if (Line &lt; 3) Line = '';</Script>\n")))
      << error_;
  TCoupledAction& action = FirstCoupled();
  EXPECT_EQ(action.Mode(), tmSafe);
  EXPECT_EQ(action.Modes().bits, 3u);
  EXPECT_EQ(action.GetLimit(), 16);
  EXPECT_EQ(action.GetPattern(), "*.<c>");
  EXPECT_EQ(action.GetScriptByName("OnLine")->Code(), "if (Line < 3) Line = '';");
  EXPECT_EQ(action.GetScriptByName("OnDone")->Code(), "");
}

TEST_F(ProjectTest, StringListsComeFromItemsOrFromLines) {
  struct Case {
    const char* label;
    std::string property;
    std::vector<std::string> files;
  };
  const std::vector<Case> cases = {
      // clang-format off
      {"items keep their blanks",
       "<Property Name=\"Files\"><Item> a.txt</Item>\n  <Item></Item><Item>b c</Item></Property>",
       {" a.txt", "", "b c"}},
      {"text is one item per line", "<Property Name=\"Files\">a.txt\nb.txt</Property>",
       {"a.txt", "b.txt"}},
      {"an empty element is an empty list", "<Property Name=\"Files\"/>", {}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    ASSERT_TRUE(Load(OneAction(c.property + "\n"))) << error_;
    EXPECT_EQ(FirstCoupled().Files(), c.files);
  }
}

TEST_F(ProjectTest, FailedLoadLeavesTheProjectUntouched) {
  ASSERT_TRUE(Load("<Project><Actions><Action Class=\"TPlainAction\"/></Actions></Project>"));
  ASSERT_FALSE(
      Load("<Project><Actions><Action Class=\"TPlainAction\"/><Action/></Actions></Project>"));
  EXPECT_EQ(project_.actions.size(), 1u);
}

}  // namespace
}  // namespace host
}  // namespace brivant

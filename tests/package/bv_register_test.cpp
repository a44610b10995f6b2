// The package entry against the host's registration table: every registered
// row must stand in the table with the same category, icon, display name and
// help file, in the table's order.
#include "package/bv_register.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {
namespace {

struct ExpectedAction {
  const char* class_name;
  const char* category;
  const char* icon;
  const char* display_name;
  const char* help_file;
};

constexpr const char* kFiles = "Files & Directories";

// The host's palette table, in registration order (the three registry actions
// stand where their own routine registers them).
const std::vector<ExpectedAction> kExpectedActions = {
    {"TFileExistsAction", kFiles, "HCHECKFILE", "If File/Folder Exists", "Plugins\\CheckFileExists.html"},
    {"TCreateDirectoryAction", kFiles, "HCREATE_DIR", "Create Directory", "Plugins\\CreateDirectory.html"},
    {"TDeleteDirectoryAction", kFiles, "HDELETE_DIR", "Delete Directory", "Plugins\\DeleteDirectory.html"},
    {"TBVMoveDirectoryAction", kFiles, "HMOVEDIR", "Move Directory", "Plugins\\MoveDirectory.html"},
    {"TDeleteFilesAction", kFiles, "HDELETE_FILE", "Delete File(s)", "Plugins\\DeleteFiles.html"},
    {"TCopyFilesAction", kFiles, "HCOPYFILES", "Copy File(s)", "Plugins\\CopyFiles.html"},
    {"TMoveFilesAction", kFiles, "HMOVEFILES", "Move File(s)", "Plugins\\MoveFiles.html"},
    {"TSetFileAttributesAction", kFiles, "HSETFILEATTRIB", "Set File Attributes", "Plugins\\SetFileAttributes.html"},
    {"TFileIterator", "Iterators", "HFILEITERATOR", "File/Fileset Iterator", "Plugins\\FileIterator.html"},
    {"TFolderIterator", "Iterators", "FOLDERITERATOR", "Folder Iterator", "Plugins\\FolderIterator.html"},
    {"TReadIniFileAction", "Registry & Ini", "HREADINI", "Read Ini File", "Plugins\\ReadIniFile.html"},
    {"TWriteIniFileAction", "Registry & Ini", "HWRITEINI", "Write Ini File", "Plugins\\WriteIniFile.html"},
    {"TEraseIniFileSectionAction", "Registry & Ini", "HWRITEINI", "Erase Ini File Section", ""},
    {"TBVScriptAction", "Misc", "SCRIPTACTION", "Run Script", "Plugins\\RunScript.html"},
    {"TTouchFilesAction", kFiles, "HTOUCHFILES", "Touch File(s)", "Plugins\\TouchFiles.html"},
    {"TRunProgramAction", "Windows OS", "HEXECUTEPROG", "Execute Program", "Plugins\\RunProgram.html"},
    {"TRunDosCMDAction", "Windows OS", "HRUNDOS", "Run DOS Command / Batch File", "Plugins\\RunDosCommand.html"},
    {"TConcatAction", kFiles, "HCONCAT", "Concatenate Files", "Plugins\\ConcatenateFiles.html"},
    {"TDiskInfoAction", "Disk Management", "HDISKSPACE", "Get Disk Free Space", "Plugins\\DiskFreeSpace.html"},
    {"TDateTimeAction", "Misc", "HDATETIME", "Get DateTime", "Plugins\\GetDateTime.html"},
    {"TReadRegValueAction", "Registry & Ini", "BVREADREG", nullptr, nullptr},
    {"TSetRegValueAction", "Registry & Ini", "BVSETREG", nullptr, nullptr},
    {"TDeleteRegValueAction", "Registry & Ini", "BVDELREG", nullptr, nullptr},
    {"TRenameDirAction", kFiles, "HRENAMEFILE", "Rename File or Directory", "Plugins\\RenameDirectory.html"},
    {"TBVCreateTextFileAction", kFiles, "HCREATEFILE", "Create Text File", "Plugins\\CreateTextFile.html"},
    {"TBVWriteToTextFileAction", kFiles, "WRITETOTEXTFILE", "Write to Text File", "Plugins\\WriteToTextFile.html"},
    {"TBVGetFileSizeAction", kFiles, "FILESIZE", "Get File Size", "Plugins\\GetFileSize.html"},
    {"TBVIfCOMClassRegistered", "Windows OS", "HIFCOMREG", "If COM Class Registered", "Plugins\\IfCOMReg.html"},
    {"TBVXCopyAction", kFiles, "HXCOPY", "XCopy", "Plugins\\XCopy.html"},
    {"TBVRobocopyCopyAction", kFiles, "ROBOCOPYICON", "Robocopy", "Plugins\\RobocopyCopy.html"},
    {"TBVRobocopyJobAction", kFiles, "ROBOCOPYJOB", "Run Robocopy Job", "Plugins\\RobocopyJob.html"},
    {"TBVRobocopyMoveAction", kFiles, "ROBOCOPYMOVE", "Robocopy Move", "Plugins\\RobocopyMove.html"},
    {"TBVRobocopyMirrorAction", kFiles, "ROBOCOPYMIRROR", "Robocopy Mirror", "Plugins\\RobocopyMirror.html"},
    {"TBVReadTextFileAction", kFiles, "READTEXTFILE", "Read Text File", "Plugins\\ReadTextFile.html"},
    {"TReadTextFileIterator", "Iterators", "READTEXTFILEITERATOR", "File Contents Iterator", "Plugins\\ReadFileIterator.html"},
    {"TIniFileIterator", "Iterators", "INIFILEITERATOR", "Ini File Iterator", "Plugins\\IniFileIterator.html"},
    {"TBVExtractFileVerInfoAction", kFiles, "EXTRACTFILEINFO", "Extract Version Info", "Plugins\\ExtractFileVersion.html"},
    {"TBVListIterator", "Iterators", "LISTITERATOR", "List Iterator", "Plugins\\ListIterator.html"},
    {"TBVFileCRCAction", kFiles, "CRC32", "Calculate File CRC32", "Plugins\\FileCRC.html"},
    {"TBVFileMD5Action", kFiles, "MD5", "Calculate File MD5", "Plugins\\FileMD5.html"},
    {"TBVShellExecute", "Windows OS", "HSHELLEXECUTE", "Shell Execute", "Plugins\\ShellExecute.html"},
    {"TTextReplaceAction", kFiles, "TEXTREPLACE", "Text Replace (Deprecated)", "Plugins\\TextReplace.html"},
    {"TBVVariablesSaveAction", "Variables", "SAVEVARTOINI", "Save Variables to INI", "Plugins\\VariablesSaveLoad.html"},
    {"TBVVariablesLoadAction", "Variables", "LOADVARFROMINI", "Load Variables from INI", "Plugins\\VariablesSaveLoad.html"},
    {"TBVTextFindAction", "Misc", "TEXTFIND", "Text Find / Replace", "Plugins\\TextFind.html"},
    {"TBVFileCompareAction", kFiles, "FILECOMPARE", "File Compare", "Plugins\\FileCompare.html"},
    {"TBVLogVariablesAction", "Variables", "LOGVARIABLEVALS", "Log Variable Values", "Plugins\\LogVariableValues.html"},
    {"TBVCloseProcessAction", "Windows OS", "CLOSEPROCESS", "Close Process", "Plugins\\CloseProcess.html"},
    {"TBVFileSetCopyMoveAction", "File Sets", "FILESETCOPY", "FileSet Copy/Move", "FileSets.html"},
    {"TBVReplaceVariablesAction", "Variables", "REPLACEVARS", "Replace Variables", "Plugins\\ReplaceVars.html"},
    {"TBVRandomNumberAction", "Misc", "FILESIZE", "Generate Random Number", "Plugins\\GenerateRandomNumber.html"},
    {"TBVSortAction", "Misc", "HSORT", "Sort Text List", "Plugins\\SortText.html"},
    {"TBVImagesAction", "Misc", "IMAGEACTION", "Image Manipulation", "Plugins\\ImageManipulate.html"},
    {"TBVJPEGLosslessTransformAction", "Misc", "IMAGEACTION", "JPEG Lossless Transform", "Plugins\\JPEGLosslessTransform.html"},
    {"TBVMutexAction", "Misc", "MUTEXACTION", "Mutex/Lock File Action", "Plugins\\Mutex.html"},
};

// Page sets of the designer, for the actions that have one.
const std::vector<std::pair<std::string, std::vector<std::string>>> kExpectedFrames = {
    {"TFileExistsAction", {"TCheckFileFrame"}},
    {"TBVMoveDirectoryAction", {"TMoveDirectoryFrame"}},
    {"TDeleteDirectoryAction", {"TDeleteDirFrame"}},
    {"TDeleteFilesAction", {"TDeleteFilesFrame"}},
    {"TSetFileAttributesAction", {"TFileAttributeFrame"}},
    {"TFileIterator", {"TFileIteratorFrame"}},
    {"TFolderIterator", {"TFolderIteratorFrame"}},
    {"TMoveFilesAction", {"TCopyFrame"}},
    {"TReadIniFileAction", {"TReadIniFrame"}},
    {"TTouchFilesAction", {"TTouchFrame"}},
    {"TWriteIniFileAction", {"TWriteIniFrame"}},
    {"TEraseIniFileSectionAction", {"TWriteIniFrame"}},
    {"TCopyFilesAction", {"TCopyFrame"}},
    {"TCreateDirectoryAction", {"TCreateDirectoryFrame"}},
    {"TRunDosCMDAction", {"TRunDosCmdFrame", "TRunDOSReadme"}},
    {"TRunProgramAction", {"TRunProgramFrame"}},
    {"TRenameDirAction", {"TRenameDirFrame"}},
    {"TBVGetFileSizeAction", {"TGetFileSizeFrame"}},
    {"TConcatAction", {"TConcatFilesFrame"}},
    {"TDiskInfoAction", {"TDiskFreeSpaceFrame"}},
    {"TDateTimeAction", {"TGetDateTimeFrame"}},
    {"TBVCreateTextFileAction", {"TCreateFileFrame"}},
    {"TBVWriteToTextFileAction", {"TWriteToTextFileFrame"}},
    {"TBVXCopyAction", {"TXCopyMainFrame", "TXCopyOptionsFrame", "TXCopyAttribFrame", "TBVXcopyExcludeFilesFrame"}},
    {"TBVRobocopyCopyAction",
     {"TRobocopyMainFrame", "TRobocopyCopyOptionsFrame", "TRobocopyIncludeFrame",
      "TRobocopyExcludeFrame", "TBVRobocopyExcludeFilesFrame", "TBVRobocopyExcludeDirFrame",
      "TRobocopyLogOptionsFrame"}},
    {"TBVRobocopyJobAction",
     {"TRobocopyMainFrame", "TRobocopyJobsFrame", "TRobocopyLogOptionsFrame"}},
    {"TBVRobocopyMoveAction",
     {"TRobocopyMainFrame", "TRobocopyMoveOptionsFrame", "TRobocopyIncludeFrame",
      "TRobocopyExcludeFrame", "TBVRobocopyExcludeFilesFrame", "TBVRobocopyExcludeDirFrame",
      "TRobocopyLogOptionsFrame"}},
    {"TBVRobocopyMirrorAction",
     {"TRobocopyMainFrame", "TRobocopyIncludeFrame", "TRobocopyExcludeFrame",
      "TBVRobocopyExcludeFilesFrame", "TBVRobocopyExcludeDirFrame", "TRobocopyLogOptionsFrame"}},
    {"TBVReadTextFileAction", {"TReadFileFrame"}},
    {"TReadTextFileIterator", {"TReadTextFileIteratorFrame"}},
    {"TIniFileIterator", {"TIniFileIteratorFrame"}},
    {"TBVExtractFileVerInfoAction", {"TExtractFileVersionInfoFrame"}},
    {"TBVListIterator", {"TListIteratorFrame", "TListIteratorSeparatorFrame"}},
    {"TBVFileCRCAction", {"TFileCRCFrame"}},
    {"TBVFileMD5Action", {"TFileMD5Frame"}},
    {"TBVShellExecute", {"TBVShellExecuteFrame"}},
    {"TTextReplaceAction", {"TfrmTextReplace"}},
    {"TBVVariablesSaveAction", {"TVariablesSaveLoadForm", "TVariablesSaveOptionsFrame"}},
    {"TBVVariablesLoadAction", {"TVariablesSaveLoadForm", "TVariablesLoadOptionsFrame"}},
    {"TBVLogVariablesAction", {"TLogVarFrame"}},
    {"TBVIfCOMClassRegistered", {"TBVIfCOMClassRegFrame"}},
    {"TBVTextFindAction", {"TTextFindFrame", "TTextFindReplaceFrame", "TTextFindBehaviourFrame"}},
    {"TBVFileCompareAction", {"TFileCompareFrame"}},
    {"TBVCloseProcessAction", {"TCloseProcessFrame"}},
    {"TBVFileSetCopyMoveAction", {"TFileSetCopyMoveFrame"}},
    {"TBVReplaceVariablesAction", {"TReplaceVariablesFrame"}},
    {"TBVRandomNumberAction", {"TRandomFrame"}},
    {"TBVSortAction", {"TSortFrame"}},
    {"TBVMutexAction", {"TMutexActionFrame"}},
    {"TBVImagesAction", {"TImagesFilesFrame", "TImagesOutputFrame", "TImagesRotateFrame", "TImagesResizeFrame"}},
    {"TBVJPEGLosslessTransformAction", {"TJPEGLosslessTransformFilesFrame", "TJPEGLosslessTransformFrame"}},
};

// The designer's property editors, in registration order: "class.property:type=editor".
const std::vector<std::string> kExpectedEditors = {
    "TFileExistsAction.FileOrDirectory:string=TFileNameEdit",
    "TCreateDirectoryAction.FileOrDirectory:string=TSelectDirectoryEditor",
    "TDeleteDirectoryAction.FileOrDirectory:string=TSelectDirectoryEditor",
    "TDeleteFilesAction.FileSpec:string=TFileNameEditEx",
    "TDeleteFilesAction.Target:string=TFileNameEditEx",
    "TCopyFilesAction.FileSpec:string=TFileNameEditEx",
    "TCopyFilesAction.Target:string=TFileNameEditEx",
    "TSetFileAttributesAction.FileSpec:string=TFileNameEdit",
    "TSetFileAttributesAction.:TAttributeSetting=TFileAttributeEditor",
    "TReadIniFileAction.IniFile:string=TIniFileNameEdit",
    "TWriteIniFileAction.IniFile:string=TIniFileNameEdit",
    "TReadIniFileAction.VariableName:string=TIniVariableEditor",
    "TTouchFilesAction.DateTimeString:string=TTouchFilesDateEditor",
    "TTouchFilesAction.FileSpec:string=TFileNameEdit",
    "TRunProgramAction.ProgramName:string=TRunProgEditor",
    "TRunProgramAction.StartInDir:string=TStartDirectoryEditor",
    "TMoveFilesAction.FileSpec:string=TFileNameEditEx",
    "TMoveFilesAction.Target:string=TFileNameEditEx",
};

// What the registry actions' own routine registers in the designer, between
// the date/time row and the rename row; its editors and pages stand there,
// not in the later editor and page steps.
const std::vector<std::string> kRegistryRoutineCalls = {
    "action TReadRegValueAction",
    "action TSetRegValueAction",
    "action TDeleteRegValueAction",
    "constant rtInteger=0",
    "constant rtString=1",
    "constant rtDWord=2",
    "constant rtBoolean=3",
    "constant HKEY_CLASSES_ROOT=2147483648",
    "constant HKEY_CLASSES_ROOT=2147483648",
    "constant HKEY_CURRENT_USER=2147483649",
    "constant HKEY_LOCAL_MACHINE=2147483650",
    "constant HKEY_USERS=2147483651",
    "constant HKEY_CURRENT_CONFIG=2147483653",
    "editor TReadRegValueAction.BVVariable:string=TVariablesListPropertyEditor",
    "editor TCustomRegAction.RegRoot:HKEY=TRegRootPropertyEditor",
    "frames TReadRegValueAction",
    "frames TSetRegValueAction",
    "frames TDeleteRegValueAction",
};

bool IsRegistryRoutineCall(const std::string& call) {
  return std::find(kRegistryRoutineCalls.begin(), kRegistryRoutineCalls.end(), call) !=
         kRegistryRoutineCalls.end();
}

// Records every registration call, in order.
class RecordingServices : public IBVServices,
                          ICoreActionService,
                          ICoreScriptingService,
                          IBVOptionsService {
 public:
  explicit RecordingServices(bool design_time) : design_time_(design_time) {}

  struct Action {
    std::string category;
    const TBVActionClass* action_class;
    std::string icon;
  };
  std::vector<Action> actions;
  std::vector<std::pair<std::string, std::vector<std::string>>> frames;
  std::vector<std::string> editors;
  std::vector<std::string> calls;  // "action X", "method X.Reset", "constant N=V", "editor ...", "frames X"
  int design_time_queries = 0;
  // Pages shared by several actions, with the tables of all of them.
  std::map<std::string, std::vector<const PropertyTable*>> page_tables;
  std::map<std::string, std::vector<std::string_view>> page_properties;

  // Properties a page edits that none of its actions publishes (a page shared
  // by actions shows a control only where the action has the property).
  std::vector<std::string> UnknownPageProperties() const {
    std::vector<std::string> unknown;
    for (const auto& [page, properties] : page_properties) {
      for (std::string_view property : properties) {
        bool published = false;
        for (const PropertyTable* table : page_tables.at(page))
          published = published || table->Find(property) != nullptr;
        if (!published) unknown.push_back(page + "." + std::string(property));
      }
    }
    return unknown;
  }

  bool IsDesignTime() override {
    ++design_time_queries;
    return design_time_;
  }
  ICoreActionService& ActionService() override { return *this; }
  ICoreScriptingService& CoreScriptingService() override { return *this; }
  IBVOptionsService& OptionsService() override { return *this; }

 private:
  void RegisterAction(const std::string& category, const TBVActionClass& action_class,
                      const std::string& icon) override {
    actions.push_back({category, &action_class, icon});
    calls.push_back("action " + std::string(action_class.Name()));
  }
  void RegisterPropertyEditor(const TBVPropertyType& type, const TBVActionClass& action_class,
                              const std::string& property, const TBVDesignClass& editor) override {
    editors.push_back(std::string(action_class.Name()) + "." + property + ":" +
                      std::string(type.name) + "=" + std::string(editor.name));
    calls.push_back("editor " + editors.back());
  }
  void RegisterActionFrames(const TBVActionClass& action_class,
                            const std::vector<TBVDesignClass>& pages) override {
    std::vector<std::string> names;
    for (const TBVDesignClass& page : pages) {
      names.emplace_back(page.name);
      page_tables[std::string(page.name)].push_back(&action_class.Properties());
      page_properties[std::string(page.name)] = page.edited_properties;
    }
    frames.emplace_back(std::string(action_class.Name()), names);
    calls.push_back("frames " + std::string(action_class.Name()));
  }
  void RegisterScriptMethod(const TBVActionClass& action_class, const std::string& name,
                            const void*) override {
    calls.push_back("method " + std::string(action_class.Name()) + "." + name);
  }
  void RegisterScriptConstant(const std::string& name, int64_t value) override {
    calls.push_back("constant " + name + "=" + std::to_string(value));
  }
  void RegisterOptions(const TBVOptionsClass& options_class, const std::string& icon) override {
    calls.push_back("options " + std::string(options_class.name) + " " + icon);
  }
  void RegisterOptionsFrames(const TBVOptionsClass& options_class,
                             const std::vector<TBVDesignClass>&) override {
    calls.push_back("options-frames " + std::string(options_class.name));
  }

  bool design_time_;
};

bool TCustomRegActionLists(const std::string& class_name) {
  return class_name == "TReadRegValueAction" || class_name == "TDeleteRegValueAction";
}

TEST(BVRegister, RegisteredActionsFollowTheHostTableInOrder) {
  RecordingServices services(/*design_time=*/false);
  BVRegister(&services);
  ASSERT_FALSE(services.actions.empty());
  size_t next = 0;
  for (const auto& registered : services.actions) {
    std::string name(registered.action_class->Name());
    SCOPED_TRACE(name);
    while (next < kExpectedActions.size() && name != kExpectedActions[next].class_name) ++next;
    ASSERT_LT(next, kExpectedActions.size()) << "registered out of order or not in the table";
    const ExpectedAction& expected = kExpectedActions[next++];
    EXPECT_EQ(registered.category, expected.category);
    EXPECT_EQ(registered.icon, expected.icon);
    std::unique_ptr<TCustomBVAction> action = registered.action_class->Create();
    EXPECT_EQ(action->ClassName(), name);
    if (expected.display_name != nullptr) {
      EXPECT_EQ(action->GetActionName(), expected.display_name);
      EXPECT_EQ(action->GetQuickHelpFilename(), expected.help_file);
    }
  }
}

// Where the registration routines stand in the call order, for a console
// host and for the designer; only the designer gets editors and pages.
TEST(BVRegister, RoutinesStandInTheirPlaceAndOnlyTheDesignerGetsEditorsAndPages) {
  for (bool design_time : {false, true}) {
    SCOPED_TRACE(design_time ? "designer" : "console");
    RecordingServices services(design_time);
    BVRegister(&services);
    EXPECT_EQ(services.design_time_queries, 2);
    const std::vector<std::string>& calls = services.calls;
    auto at = [&](const std::string& call) {
      return std::find(calls.begin(), calls.end(), call) - calls.begin();
    };
    const std::ptrdiff_t none = static_cast<std::ptrdiff_t>(calls.size());
    bool designer_calls = false;
    for (const std::string& call : calls)
      designer_calls =
          designer_calls || call.rfind("editor", 0) == 0 || call.rfind("frames", 0) == 0;
    EXPECT_EQ(designer_calls, design_time);
    // The Robocopy options between XCopy and the first Robocopy action.
    auto options = at("options TBVRobocopyOptions ROBOCOPYICON");
    ASSERT_LT(options, none);
    EXPECT_EQ(at("action TBVXCopyAction"), options - 1);
    EXPECT_EQ(at("action TBVRobocopyCopyAction"), options + 1);
    EXPECT_EQ(at("options-frames TBVRobocopyOptions") < none, design_time);
    // The registry actions' routine between the date/time and rename rows.
    auto start = at("action TDateTimeAction"), end = at("action TRenameDirAction");
    ASSERT_LT(start, end);
    ASSERT_LT(end, none);
    std::vector<std::string> expected = kRegistryRoutineCalls;
    if (!design_time) expected.resize(13);  // the actions and constants only
    EXPECT_EQ(std::vector<std::string>(calls.begin() + start + 1, calls.begin() + end), expected);
    // Each iterator's "Reset" script method follows the iterator rows, so a
    // console host knows them too.
    auto folder = at("action TFolderIterator");
    ASSERT_LT(folder + 2, none);
    EXPECT_EQ(calls[folder + 1], "method TFileIterator.Reset");
    EXPECT_EQ(calls[folder + 2], "method TFolderIterator.Reset");
  }
}

TEST(BVRegister, DesignerGetsEachActionsPagesInTableOrder) {
  RecordingServices services(/*design_time=*/true);
  BVRegister(&services);
  // Every registered action with a page set gets exactly its pages, in order.
  size_t next = 0;
  for (const auto& [class_name, pages] : services.frames) {
    SCOPED_TRACE(class_name);
    if (IsRegistryRoutineCall("frames " + class_name)) {
      EXPECT_EQ(pages, std::vector<std::string>{"TReadRegistryFrame"});
      continue;
    }
    while (next < kExpectedFrames.size() && kExpectedFrames[next].first != class_name) ++next;
    ASSERT_LT(next, kExpectedFrames.size()) << "page set out of order or not in the table";
    EXPECT_EQ(pages, kExpectedFrames[next].second);
    ++next;
  }
  for (const auto& registered : services.actions) {
    std::string name(registered.action_class->Name());
    bool has_pages = false;
    for (const auto& expected : kExpectedFrames) has_pages = has_pages || expected.first == name;
    has_pages = has_pages || IsRegistryRoutineCall("frames " + name);
    bool registered_pages = false;
    for (const auto& frames : services.frames) registered_pages = registered_pages || frames.first == name;
    EXPECT_EQ(registered_pages, has_pages) << name;
  }
}

TEST(BVRegister, DesignerGetsTheEditorsOfRegisteredActionsInTableOrder) {
  RecordingServices services(/*design_time=*/true);
  BVRegister(&services);
  ASSERT_FALSE(services.editors.empty());
  size_t next = 0;
  for (const std::string& editor : services.editors) {
    SCOPED_TRACE(editor);
    if (IsRegistryRoutineCall("editor " + editor)) continue;
    while (next < kExpectedEditors.size() && kExpectedEditors[next] != editor) ++next;
    ASSERT_LT(next, kExpectedEditors.size()) << "editor out of order or not in the table";
    ++next;
  }
  // Editors come after every action and before every page set.
  size_t last_action = 0, first_editor = services.calls.size(), first_frames = services.calls.size();
  for (size_t i = 0; i < services.calls.size(); ++i) {
    const std::string& call = services.calls[i];
    if (IsRegistryRoutineCall(call)) continue;
    if (call.rfind("action", 0) == 0) last_action = i;
    if (call.rfind("editor", 0) == 0) first_editor = std::min(first_editor, i);
    if (call.rfind("frames", 0) == 0) first_frames = std::min(first_frames, i);
  }
  EXPECT_LT(last_action, first_editor);
  EXPECT_LT(first_editor, first_frames);
}

// Every registered class: defaults in the table are what the constructor
// sets, pages edit published properties, and the alias list opens with the
// inherited lines followed by a section line.
TEST(BVRegister, EveryRegisteredClassAgreesWithItsPropertyTable) {
  RecordingServices services(/*design_time=*/true);
  BVRegister(&services);
  for (const auto& registered : services.actions) {
    std::string name(registered.action_class->Name());
    SCOPED_TRACE(name);
    std::unique_ptr<TCustomBVAction> action = registered.action_class->Create();
    const PropertyTable& table = registered.action_class->Properties();
    EXPECT_EQ(&table, &action->GetPropertyTable());
    for (const PropertyInfo& row : table.Rows()) {
      if (row.default_is_dynamic || !row.stored) continue;
      EXPECT_EQ(FormatPropertyValue(row, GetProperty(*action, row)), row.default_text) << row.name;
    }
    TStrings alias;
    action->GetPropertyAlias(alias);
    TStrings help;
    action->GetPropertyHelp(help);
    // Inherited lines may name a property the class does not republish,
    // provided the class hides it (the DOS action's ProgramName).
    TStrings hidden;
    action->GetHiddenProperties(hidden);
    for (const TStrings* list : {&alias, &help}) {
      for (const std::string& line : *list) {
        if (line.front() == '[') continue;
        std::string property = line.substr(0, line.find('='));
        if (std::find(hidden.begin(), hidden.end(), property) != hidden.end()) continue;
        // The registry base's lists serve all three actions.
        if (name != "TSetRegValueAction" && (property == "AllowCreateKey" || property == "RegValue") &&
            TCustomRegActionLists(name))
          continue;
        EXPECT_NE(table.Find(property), nullptr) << "list names unknown property: " << line;
      }
    }
  }
  EXPECT_EQ(services.UnknownPageProperties(), std::vector<std::string>{});
}

}  // namespace
}  // namespace brivant

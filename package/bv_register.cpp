// The package entry: registers the package's actions, script methods and
// constants with the host and, when the designer is present, its property
// editors and property pages, in the order the host's palette and designer
// rely on.
#include "package/bv_register.h"

#include "actions/checksums/extract_file_ver_info_action.h"
#include "actions/checksums/file_compare_action.h"
#include "actions/checksums/file_crc_action.h"
#include "actions/checksums/file_md5_action.h"
#include "actions/files/concat_action.h"
#include "actions/files/copy_files_action.h"
#include "actions/files/create_directory_action.h"
#include "actions/files/delete_directory_action.h"
#include "actions/files/delete_files_action.h"
#include "actions/files/disk_info_action.h"
#include "actions/files/file_exists_action.h"
#include "actions/files/file_set_copy_move_action.h"
#include "actions/files/get_file_size_action.h"
#include "actions/files/move_directory_action.h"
#include "actions/files/move_files_action.h"
#include "actions/files/rename_dir_action.h"
#include "actions/files/set_file_attributes_action.h"
#include "actions/files/touch_files_action.h"
#include "actions/images/images_action.h"
#include "actions/images/jpeg_lossless_transform_action.h"
#include "actions/iterators/file_iterator.h"
#include "actions/iterators/folder_iterator.h"
#include "actions/iterators/ini_file_iterator.h"
#include "actions/iterators/list_iterator.h"
#include "actions/iterators/read_text_file_iterator.h"
#include "actions/process/close_process_action.h"
#include "actions/process/delete_reg_value_action.h"
#include "actions/process/if_com_class_registered.h"
#include "actions/process/mutex_action.h"
#include "actions/process/read_reg_value_action.h"
#include "actions/process/robocopy_copy_action.h"
#include "actions/process/robocopy_job_action.h"
#include "actions/process/robocopy_mirror_action.h"
#include "actions/process/robocopy_move_action.h"
#include "actions/process/robocopy_options.h"
#include "actions/process/run_dos_cmd_action.h"
#include "actions/process/run_program_action.h"
#include "actions/process/script_action.h"
#include "actions/process/set_reg_value_action.h"
#include "actions/process/shell_execute.h"
#include "actions/process/xcopy_action.h"
#include "actions/text/create_text_file_action.h"
#include "actions/text/ini_file_action.h"
#include "actions/text/log_variables_action.h"
#include "actions/text/read_text_file_action.h"
#include "actions/text/replace_variables_action.h"
#include "actions/text/variables_save_load_action.h"
#include "actions/text/text_find_action.h"
#include "actions/text/text_replace_action.h"
#include "actions/text/write_to_text_file_action.h"
#include "actions/values/date_time_action.h"
#include "actions/values/random_number_action.h"
#include "actions/values/sort_action.h"
#include "pages/copy_tool_frames.h"
#include "pages/file_attribute_editor.h"
#include "pages/frames.h"
#include "pages/image_frames.h"
#include "pages/property_editors.h"
#include "pages/text_frames.h"
#include "pages/reg_root_property_editor.h"

namespace brivant {
namespace {

constexpr const char* kFilesAndDirectories = "Files & Directories";
constexpr const char* kMisc = "Misc";
constexpr const char* kWindowsOS = "Windows OS";
constexpr const char* kIterators = "Iterators";
constexpr const char* kRegistryAndIni = "Registry & Ini";
constexpr const char* kVariables = "Variables";
// Every iterator offers scripts this method.
constexpr const char* kResetMethod = "Reset";
constexpr TBVPropertyType kString{"string"};

// The registry base is abstract: it is named in registrations, never created.
const TBVActionClass& CustomRegActionClass() {
  static const TBVActionClass ref(
      TCustomRegAction::kClassName, []() -> std::unique_ptr<TCustomBVAction> { return nullptr; },
      &TCustomRegAction::Properties);
  return ref;
}

// The registry actions' own routine: actions, their script constants and,
// for the designer, their editors and page.
void RegisterRegistryActions(IBVServices& services, bool is_design_time) {
  const char* category = "Registry & Ini";
  services.ActionService().RegisterAction(category, ActionClassOf<TReadRegValueAction>(),
                                          "BVREADREG");
  services.ActionService().RegisterAction(category, ActionClassOf<TSetRegValueAction>(),
                                          "BVSETREG");
  services.ActionService().RegisterAction(category, ActionClassOf<TDeleteRegValueAction>(),
                                          "BVDELREG");
  auto constant = [&services](const char* name, int64_t value) {
    services.CoreScriptingService().RegisterScriptConstant(name, value);
  };
  constant("rtInteger", rtInteger);
  constant("rtString", rtString);
  constant("rtDWord", rtDWord);
  constant("rtBoolean", rtBoolean);
  // Registered twice, as the host has always received it.
  constant("HKEY_CLASSES_ROOT", platform::kHKeyClassesRoot);
  constant("HKEY_CLASSES_ROOT", platform::kHKeyClassesRoot);
  constant("HKEY_CURRENT_USER", platform::kHKeyCurrentUser);
  constant("HKEY_LOCAL_MACHINE", platform::kHKeyLocalMachine);
  constant("HKEY_USERS", platform::kHKeyUsers);
  constant("HKEY_CURRENT_CONFIG", platform::kHKeyCurrentConfig);
  if (!is_design_time) return;
  services.ActionService().RegisterPropertyEditor(kString, ActionClassOf<TReadRegValueAction>(),
                                                  "BVVariable",
                                                  pages::TVariablesListPropertyEditor());
  services.ActionService().RegisterPropertyEditor(TBVPropertyType{"HKEY"}, CustomRegActionClass(),
                                                  "RegRoot",
                                                  pages::TRegRootPropertyEditor::DesignClass());
  services.ActionService().RegisterActionFrames(ActionClassOf<TReadRegValueAction>(),
                                                {pages::TReadRegistryFrame()});
  services.ActionService().RegisterActionFrames(ActionClassOf<TSetRegValueAction>(),
                                                {pages::TReadRegistryFrame()});
  services.ActionService().RegisterActionFrames(ActionClassOf<TDeleteRegValueAction>(),
                                                {pages::TReadRegistryFrame()});
}

void RegisterActions(IBVServices& services, bool is_design_time) {
  auto action = [&services](const char* category, const TBVActionClass& action_class,
                            const char* icon) {
    services.ActionService().RegisterAction(category, action_class, icon);
  };
  auto method = [&services](const TBVActionClass& action_class, const char* name) {
    services.CoreScriptingService().RegisterScriptMethod(action_class, name, nullptr);
  };
  action(kFilesAndDirectories, ActionClassOf<TFileExistsAction>(), "HCHECKFILE");
  action(kFilesAndDirectories, ActionClassOf<TCreateDirectoryAction>(), "HCREATE_DIR");
  action(kFilesAndDirectories, ActionClassOf<TDeleteDirectoryAction>(), "HDELETE_DIR");
  action(kFilesAndDirectories, ActionClassOf<TBVMoveDirectoryAction>(), "HMOVEDIR");
  action(kFilesAndDirectories, ActionClassOf<TDeleteFilesAction>(), "HDELETE_FILE");
  action(kFilesAndDirectories, ActionClassOf<TCopyFilesAction>(), "HCOPYFILES");
  action(kFilesAndDirectories, ActionClassOf<TMoveFilesAction>(), "HMOVEFILES");
  action(kFilesAndDirectories, ActionClassOf<TSetFileAttributesAction>(), "HSETFILEATTRIB");
  action(kIterators, ActionClassOf<TFileIterator>(), "HFILEITERATOR");
  action(kIterators, ActionClassOf<TFolderIterator>(), "FOLDERITERATOR");
  method(ActionClassOf<TFileIterator>(), kResetMethod);
  method(ActionClassOf<TFolderIterator>(), kResetMethod);
  action(kRegistryAndIni, ActionClassOf<TReadIniFileAction>(), "HREADINI");
  action(kRegistryAndIni, ActionClassOf<TWriteIniFileAction>(), "HWRITEINI");
  // The erase action shares the write icon.
  action(kRegistryAndIni, ActionClassOf<TEraseIniFileSectionAction>(), "HWRITEINI");
  action(kMisc, ActionClassOf<TBVScriptAction>(), "SCRIPTACTION");
  action(kFilesAndDirectories, ActionClassOf<TTouchFilesAction>(), "HTOUCHFILES");
  action(kWindowsOS, ActionClassOf<TRunProgramAction>(), "HEXECUTEPROG");
  action(kWindowsOS, ActionClassOf<TRunDosCMDAction>(), "HRUNDOS");
  action(kFilesAndDirectories, ActionClassOf<TConcatAction>(), "HCONCAT");
  action("Disk Management", ActionClassOf<TDiskInfoAction>(), "HDISKSPACE");
  action(kMisc, ActionClassOf<TDateTimeAction>(), "HDATETIME");
  RegisterRegistryActions(services, is_design_time);
  action(kFilesAndDirectories, ActionClassOf<TRenameDirAction>(), "HRENAMEFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVCreateTextFileAction>(), "HCREATEFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVWriteToTextFileAction>(), "WRITETOTEXTFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVGetFileSizeAction>(), "FILESIZE");
  action(kWindowsOS, ActionClassOf<TBVIfCOMClassRegistered>(), "HIFCOMREG");
  action(kFilesAndDirectories, ActionClassOf<TBVXCopyAction>(), "HXCOPY");
  services.OptionsService().RegisterOptions(OptionsClassOf<TBVRobocopyOptions>(), "ROBOCOPYICON");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyCopyAction>(), "ROBOCOPYICON");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyJobAction>(), "ROBOCOPYJOB");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyMoveAction>(), "ROBOCOPYMOVE");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyMirrorAction>(), "ROBOCOPYMIRROR");
  action(kFilesAndDirectories, ActionClassOf<TBVReadTextFileAction>(), "READTEXTFILE");
  action(kIterators, ActionClassOf<TReadTextFileIterator>(), "READTEXTFILEITERATOR");
  method(ActionClassOf<TReadTextFileIterator>(), kResetMethod);
  action(kIterators, ActionClassOf<TIniFileIterator>(), "INIFILEITERATOR");
  method(ActionClassOf<TIniFileIterator>(), kResetMethod);
  action(kFilesAndDirectories, ActionClassOf<TBVExtractFileVerInfoAction>(), "EXTRACTFILEINFO");
  action(kIterators, ActionClassOf<TBVListIterator>(), "LISTITERATOR");
  method(ActionClassOf<TBVListIterator>(), kResetMethod);
  for (const auto& [name, separator] : {std::pair{"lsCRLF", lsCRLF}, {"lsTab", lsTab},
                                         {"lsCharacter", lsCharacter}}) {
    services.CoreScriptingService().RegisterScriptConstant(name, separator);
  }
  action(kFilesAndDirectories, ActionClassOf<TBVFileCRCAction>(), "CRC32");
  action(kFilesAndDirectories, ActionClassOf<TBVFileMD5Action>(), "MD5");
  action(kWindowsOS, ActionClassOf<TBVShellExecute>(), "HSHELLEXECUTE");
  action(kFilesAndDirectories, ActionClassOf<TTextReplaceAction>(), "TEXTREPLACE");
  action(kVariables, ActionClassOf<TBVVariablesSaveAction>(), "SAVEVARTOINI");
  action(kVariables, ActionClassOf<TBVVariablesLoadAction>(), "LOADVARFROMINI");
  action(kMisc, ActionClassOf<TBVTextFindAction>(), "TEXTFIND");
  action(kFilesAndDirectories, ActionClassOf<TBVFileCompareAction>(), "FILECOMPARE");
  action(kVariables, ActionClassOf<TBVLogVariablesAction>(), "LOGVARIABLEVALS");
  action(kWindowsOS, ActionClassOf<TBVCloseProcessAction>(), "CLOSEPROCESS");
  action("File Sets", ActionClassOf<TBVFileSetCopyMoveAction>(), "FILESETCOPY");
  action(kVariables, ActionClassOf<TBVReplaceVariablesAction>(), "REPLACEVARS");
  // The random number action reuses the file-size icon.
  action(kMisc, ActionClassOf<TBVRandomNumberAction>(), "FILESIZE");
  action(kMisc, ActionClassOf<TBVSortAction>(), "HSORT");
  // The two image actions share one icon.
  action(kMisc, ActionClassOf<TBVImagesAction>(), "IMAGEACTION");
  action(kMisc, ActionClassOf<TBVJPEGLosslessTransformAction>(), "IMAGEACTION");
  action(kMisc, ActionClassOf<TBVMutexAction>(), "MUTEXACTION");
}

void RegisterPropertyEditors(IBVServices& services) {
  auto editor = [&services](const TBVPropertyType& type, const TBVActionClass& action_class,
                            const char* property, const TBVDesignClass& editor_class) {
    services.ActionService().RegisterPropertyEditor(type, action_class, property, editor_class);
  };
  editor(kString, ActionClassOf<TFileExistsAction>(), "FileOrDirectory", pages::TFileNameEdit());
  editor(kString, ActionClassOf<TCreateDirectoryAction>(), "FileOrDirectory",
         pages::TSelectDirectoryEditor());
  editor(kString, ActionClassOf<TDeleteDirectoryAction>(), "FileOrDirectory",
         pages::TSelectDirectoryEditor());
  editor(kString, ActionClassOf<TDeleteFilesAction>(), "FileSpec", pages::TFileNameEditEx());
  // The delete action has no Target; the row is harmless and kept.
  editor(kString, ActionClassOf<TDeleteFilesAction>(), "Target", pages::TFileNameEditEx());
  editor(kString, ActionClassOf<TCopyFilesAction>(), "FileSpec", pages::TFileNameEditEx());
  editor(kString, ActionClassOf<TCopyFilesAction>(), "Target", pages::TFileNameEditEx());
  editor(kString, ActionClassOf<TSetFileAttributesAction>(), "FileSpec", pages::TFileNameEdit());
  // Every TAttributeSetting property of the class.
  editor(TBVPropertyType{"TAttributeSetting"}, ActionClassOf<TSetFileAttributesAction>(), "",
         pages::TFileAttributeEditor::DesignClass());
  editor(kString, ActionClassOf<TReadIniFileAction>(), "IniFile", pages::TIniFileNameEdit());
  editor(kString, ActionClassOf<TWriteIniFileAction>(), "IniFile", pages::TIniFileNameEdit());
  editor(kString, ActionClassOf<TReadIniFileAction>(), "VariableName", pages::TIniVariableEditor());
  editor(kString, ActionClassOf<TTouchFilesAction>(), "DateTimeString",
         pages::TTouchFilesDateEditor());
  editor(kString, ActionClassOf<TTouchFilesAction>(), "FileSpec", pages::TFileNameEdit());
  editor(kString, ActionClassOf<TRunProgramAction>(), "ProgramName", pages::TRunProgEditor());
  editor(kString, ActionClassOf<TRunProgramAction>(), "StartInDir", pages::TStartDirectoryEditor());
  editor(kString, ActionClassOf<TMoveFilesAction>(), "FileSpec", pages::TFileNameEditEx());
  editor(kString, ActionClassOf<TMoveFilesAction>(), "Target", pages::TFileNameEditEx());
}

void RegisterFrames(IBVServices& services) {
  auto frames = [&services](const TBVActionClass& action_class,
                            std::vector<TBVDesignClass> pages_in_order) {
    services.ActionService().RegisterActionFrames(action_class, pages_in_order);
  };
  frames(ActionClassOf<TFileExistsAction>(), {pages::TCheckFileFrame()});
  frames(ActionClassOf<TBVMoveDirectoryAction>(), {pages::TMoveDirectoryFrame()});
  frames(ActionClassOf<TDeleteDirectoryAction>(), {pages::TDeleteDirFrame()});
  frames(ActionClassOf<TDeleteFilesAction>(), {pages::TDeleteFilesFrame()});
  frames(ActionClassOf<TSetFileAttributesAction>(), {pages::TFileAttributeFrame()});
  frames(ActionClassOf<TFileIterator>(), {pages::TFileIteratorFrame()});
  frames(ActionClassOf<TFolderIterator>(), {pages::TFolderIteratorFrame()});
  frames(ActionClassOf<TMoveFilesAction>(), {pages::TCopyFrame()});
  frames(ActionClassOf<TReadIniFileAction>(), {pages::TReadIniFrame()});
  frames(ActionClassOf<TTouchFilesAction>(), {pages::TTouchFrame()});
  frames(ActionClassOf<TWriteIniFileAction>(), {pages::TWriteIniFrame()});
  frames(ActionClassOf<TEraseIniFileSectionAction>(), {pages::TWriteIniFrame()});
  frames(ActionClassOf<TCopyFilesAction>(), {pages::TCopyFrame()});
  frames(ActionClassOf<TCreateDirectoryAction>(), {pages::TCreateDirectoryFrame()});
  frames(ActionClassOf<TRunDosCMDAction>(), {pages::TRunDosCmdFrame(), pages::TRunDOSReadme()});
  frames(ActionClassOf<TRunProgramAction>(), {pages::TRunProgramFrame()});
  frames(ActionClassOf<TRenameDirAction>(), {pages::TRenameDirFrame()});
  frames(ActionClassOf<TBVGetFileSizeAction>(), {pages::TGetFileSizeFrame()});
  frames(ActionClassOf<TConcatAction>(), {pages::TConcatFilesFrame()});
  frames(ActionClassOf<TDiskInfoAction>(), {pages::TDiskFreeSpaceFrame()});
  frames(ActionClassOf<TDateTimeAction>(), {pages::TGetDateTimeFrame()});
  frames(ActionClassOf<TBVCreateTextFileAction>(), {pages::TCreateFileFrame()});
  frames(ActionClassOf<TBVWriteToTextFileAction>(), {pages::TWriteToTextFileFrame()});
  frames(ActionClassOf<TBVXCopyAction>(),
         {pages::TXCopyMainFrame(), pages::TXCopyOptionsFrame(), pages::TXCopyAttribFrame(),
          pages::TBVXcopyExcludeFilesFrame()});
  services.OptionsService().RegisterOptionsFrames(OptionsClassOf<TBVRobocopyOptions>(),
                                                  {pages::TRobocopyOptionsFrame()});
  frames(ActionClassOf<TBVRobocopyCopyAction>(),
         {pages::TRobocopyMainFrame(), pages::TRobocopyCopyOptionsFrame(),
          pages::TRobocopyIncludeFrame(), pages::TRobocopyExcludeFrame(),
          pages::TBVRobocopyExcludeFilesFrame(), pages::TBVRobocopyExcludeDirFrame(),
          pages::TRobocopyLogOptionsFrame()});
  frames(ActionClassOf<TBVRobocopyJobAction>(),
         {pages::TRobocopyMainFrame(), pages::TRobocopyJobsFrame(),
          pages::TRobocopyLogOptionsFrame()});
  frames(ActionClassOf<TBVRobocopyMoveAction>(),
         {pages::TRobocopyMainFrame(), pages::TRobocopyMoveOptionsFrame(),
          pages::TRobocopyIncludeFrame(), pages::TRobocopyExcludeFrame(),
          pages::TBVRobocopyExcludeFilesFrame(), pages::TBVRobocopyExcludeDirFrame(),
          pages::TRobocopyLogOptionsFrame()});
  frames(ActionClassOf<TBVRobocopyMirrorAction>(),
         {pages::TRobocopyMainFrame(), pages::TRobocopyIncludeFrame(),
          pages::TRobocopyExcludeFrame(), pages::TBVRobocopyExcludeFilesFrame(),
          pages::TBVRobocopyExcludeDirFrame(), pages::TRobocopyLogOptionsFrame()});
  frames(ActionClassOf<TBVReadTextFileAction>(), {pages::TReadFileFrame()});
  frames(ActionClassOf<TReadTextFileIterator>(), {pages::TReadTextFileIteratorFrame()});
  frames(ActionClassOf<TIniFileIterator>(), {pages::TIniFileIteratorFrame()});
  frames(ActionClassOf<TBVExtractFileVerInfoAction>(), {pages::TExtractFileVersionInfoFrame()});
  frames(ActionClassOf<TBVListIterator>(),
         {pages::TListIteratorFrame(), pages::TListIteratorSeparatorFrame()});
  frames(ActionClassOf<TBVFileCRCAction>(), {pages::TFileCRCFrame()});
  frames(ActionClassOf<TBVFileMD5Action>(), {pages::TFileMD5Frame()});
  frames(ActionClassOf<TBVShellExecute>(), {pages::TBVShellExecuteFrame()});
  frames(ActionClassOf<TTextReplaceAction>(), {pages::TfrmTextReplace()});
  frames(ActionClassOf<TBVVariablesSaveAction>(),
         {pages::TVariablesSaveLoadForm(), pages::TVariablesSaveOptionsFrame()});
  frames(ActionClassOf<TBVVariablesLoadAction>(),
         {pages::TVariablesSaveLoadForm(), pages::TVariablesLoadOptionsFrame()});
  frames(ActionClassOf<TBVLogVariablesAction>(), {pages::TLogVarFrame()});
  frames(ActionClassOf<TBVIfCOMClassRegistered>(), {pages::TBVIfCOMClassRegFrame()});
  frames(ActionClassOf<TBVTextFindAction>(),
         {pages::TTextFindFrame(), pages::TTextFindReplaceFrame(), pages::TTextFindBehaviourFrame()});
  frames(ActionClassOf<TBVFileCompareAction>(), {pages::TFileCompareFrame()});
  frames(ActionClassOf<TBVCloseProcessAction>(), {pages::TCloseProcessFrame()});
  frames(ActionClassOf<TBVFileSetCopyMoveAction>(), {pages::TFileSetCopyMoveFrame()});
  frames(ActionClassOf<TBVReplaceVariablesAction>(), {pages::TReplaceVariablesFrame()});
  frames(ActionClassOf<TBVRandomNumberAction>(), {pages::TRandomFrame()});
  frames(ActionClassOf<TBVSortAction>(), {pages::TSortFrame()});
  frames(ActionClassOf<TBVMutexAction>(), {pages::TMutexActionFrame()});
  frames(ActionClassOf<TBVImagesAction>(),
         {pages::TImagesFilesFrame(), pages::TImagesOutputFrame(), pages::TImagesRotateFrame(),
          pages::TImagesResizeFrame()});
  frames(ActionClassOf<TBVJPEGLosslessTransformAction>(),
         {pages::TJPEGLosslessTransformFilesFrame(), pages::TJPEGLosslessTransformFrame()});
}

}  // namespace

void RegisterPackage(IBVServices& services) {
  RegisterActions(services, services.IsDesignTime());
  if (!services.IsDesignTime()) return;
  RegisterPropertyEditors(services);
  RegisterFrames(services);
}

}  // namespace brivant

extern "C" BRIVANT_EXPORT void BVRegister(brivant::IBVServices* services) {
  if (services != nullptr) brivant::RegisterPackage(*services);
}

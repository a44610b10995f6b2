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
#include "actions/process/robocopy_copy_action.h"
#include "actions/process/robocopy_job_action.h"
#include "actions/process/robocopy_mirror_action.h"
#include "actions/process/robocopy_move_action.h"
#include "actions/process/robocopy_options.h"
#include "actions/process/run_dos_cmd_action.h"
#include "actions/process/run_program_action.h"
#include "actions/process/xcopy_action.h"
#include "actions/text/create_text_file_action.h"
#include "actions/text/read_text_file_action.h"
#include "actions/text/write_to_text_file_action.h"
#include "actions/values/date_time_action.h"
#include "actions/values/random_number_action.h"
#include "pages/copy_tool_frames.h"
#include "pages/file_attribute_editor.h"
#include "pages/frames.h"
#include "pages/image_frames.h"
#include "pages/property_editors.h"

namespace brivant {
namespace {

constexpr const char* kFilesAndDirectories = "Files & Directories";
constexpr const char* kMisc = "Misc";
constexpr const char* kWindowsOS = "Windows OS";
constexpr const char* kIterators = "Iterators";
// Every iterator offers scripts this method.
constexpr const char* kResetMethod = "Reset";
constexpr TBVPropertyType kString{"string"};

void RegisterActions(IBVServices& services, bool /*is_design_time*/) {
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
  action(kFilesAndDirectories, ActionClassOf<TTouchFilesAction>(), "HTOUCHFILES");
  action(kWindowsOS, ActionClassOf<TRunProgramAction>(), "HEXECUTEPROG");
  action(kWindowsOS, ActionClassOf<TRunDosCMDAction>(), "HRUNDOS");
  action(kFilesAndDirectories, ActionClassOf<TConcatAction>(), "HCONCAT");
  action("Disk Management", ActionClassOf<TDiskInfoAction>(), "HDISKSPACE");
  action(kMisc, ActionClassOf<TDateTimeAction>(), "HDATETIME");
  action(kFilesAndDirectories, ActionClassOf<TRenameDirAction>(), "HRENAMEFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVCreateTextFileAction>(), "HCREATEFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVWriteToTextFileAction>(), "WRITETOTEXTFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVGetFileSizeAction>(), "FILESIZE");
  action(kFilesAndDirectories, ActionClassOf<TBVXCopyAction>(), "HXCOPY");
  services.OptionsService().RegisterOptions(OptionsClassOf<TBVRobocopyOptions>(), "ROBOCOPYICON");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyCopyAction>(), "ROBOCOPYICON");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyJobAction>(), "ROBOCOPYJOB");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyMoveAction>(), "ROBOCOPYMOVE");
  action(kFilesAndDirectories, ActionClassOf<TBVRobocopyMirrorAction>(), "ROBOCOPYMIRROR");
  action(kFilesAndDirectories, ActionClassOf<TBVReadTextFileAction>(), "READTEXTFILE");
  action(kFilesAndDirectories, ActionClassOf<TBVExtractFileVerInfoAction>(), "EXTRACTFILEINFO");
  action(kFilesAndDirectories, ActionClassOf<TBVFileCRCAction>(), "CRC32");
  action(kFilesAndDirectories, ActionClassOf<TBVFileMD5Action>(), "MD5");
  action(kFilesAndDirectories, ActionClassOf<TBVFileCompareAction>(), "FILECOMPARE");
  action("File Sets", ActionClassOf<TBVFileSetCopyMoveAction>(), "FILESETCOPY");
  // The random number action reuses the file-size icon.
  action(kMisc, ActionClassOf<TBVRandomNumberAction>(), "FILESIZE");
  // The two image actions share one icon.
  action(kMisc, ActionClassOf<TBVImagesAction>(), "IMAGEACTION");
  action(kMisc, ActionClassOf<TBVJPEGLosslessTransformAction>(), "IMAGEACTION");
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
  frames(ActionClassOf<TTouchFilesAction>(), {pages::TTouchFrame()});
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
  frames(ActionClassOf<TBVExtractFileVerInfoAction>(), {pages::TExtractFileVersionInfoFrame()});
  frames(ActionClassOf<TBVFileCRCAction>(), {pages::TFileCRCFrame()});
  frames(ActionClassOf<TBVFileMD5Action>(), {pages::TFileMD5Frame()});
  frames(ActionClassOf<TBVFileCompareAction>(), {pages::TFileCompareFrame()});
  frames(ActionClassOf<TBVFileSetCopyMoveAction>(), {pages::TFileSetCopyMoveFrame()});
  frames(ActionClassOf<TBVRandomNumberAction>(), {pages::TRandomFrame()});
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

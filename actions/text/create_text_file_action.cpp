#include "actions/text/create_text_file_action.h"

#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {

const PropertyTable& TBVCreateTextFileAction::Properties() {
  using T = TBVCreateTextFileAction;
  static const PropertyTable table(
      nullptr, {
                   Property("FileContents", &T::file_contents_),
                   Property("OverwriteExisting", &T::overwrite_existing_).Default("False"),
                   Property("NewFileName", &T::new_file_name_),
                   Property("CreateDirectory", &T::create_directory_).Default("True"),
                   Property("Encoding", &T::encoding_).Default("0"),
               });
  return table;
}

std::string TBVCreateTextFileAction::GetFormattedDescription() const {
  return "Create Text File [ " + ExtractFileName(new_file_name_) + " ]";
}

bool TBVCreateTextFileAction::Validate(IBVActionValidationError& errors) {
  if (!new_file_name_.empty()) return true;
  errors.AddError("New File Name", "New filename has not been set", 0);
  return false;
}

void TBVCreateTextFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Create Text File]", "FileContents=File Contents",
                           "OverwriteExisting=Overwrite Existing File",
                           "NewFileName=New Filename",
                           "CreateDirectory=Create Directory if required"});
}

void TBVCreateTextFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileContents=This text will be written to the file.  Any variables used will be "
               "expanded.",
               "OverwriteExisting=Overwrite existing file if it already exists",
               "NewFileName=The location and name of the new file",
               "CreateDirectory=Automatically create any directories if required"});
}

bool TBVCreateTextFileAction::Execute() {
  std::string path;
  if (!TryExpandExpression("Text file path/name", new_file_name_, path, true)) return false;
  path = Trim(path);
  if (create_directory_) {
    std::string directory = ExtractFilePath(path);
    if (!directory.empty()) {
      if (platform::OsError error = platform::CreateDirectories(directory)) {
        SendMessage("File creation failed: " + error.Describe(), stError);
        return false;
      }
    }
  }
  if (platform::FileExists(path) && !overwrite_existing_) {
    SendMessage("ERROR - File already exists: " + path, stError);
    return false;
  }
  // Written whenever the action goes on, also when no file existed.
  SendMessage("Existing file found and will be overwritten", stInfo);
  std::string contents;
  if (!TryExpandExpression("File Contents", file_contents_, contents, false)) return false;
  if (TextFileError error = TFileWriter::SaveToFile(path, contents, fwmCreateOrTruncate,
                                                    EffectiveEncoding(encoding_))) {
    SendMessage("File creation failed: " + error.message, stError);
    return false;
  }
  return true;
}

}  // namespace brivant

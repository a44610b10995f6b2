#include "actions/files/get_file_size_action.h"

#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace brivant {

const PropertyTable& TBVGetFileSizeAction::Properties() {
  using T = TBVGetFileSizeAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileName", &T::file_name_),
          Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
          Property("Units", &T::units_).Default("suBytes"),
      });
  return table;
}

std::string TBVGetFileSizeAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_name_ + " ]";
}

bool TBVGetFileSizeAction::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  errors.AddError("File Name", "Filename has not been set", 0);
  return false;
}

void TBVGetFileSizeAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Get File Size]", "FileName=Filename", "BVVariable=Variable", "Units=Units"});
}

void TBVGetFileSizeAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileName=Name of the file whose size is wanted",
               "BVVariable=Save the file's size to the variable",
               "Units=Bytes give a whole number; KB, MB and GB (1024-based) a number rounded to "
               "two decimals"});
}

bool TBVGetFileSizeAction::Execute() {
  std::string path;
  if (!TryExpandExpression("FileName", file_name_, path, true)) return false;
  path = Trim(path);
  if (path.empty()) {
    SendMessage("Filename has not been set", stError);
    return false;
  }
  if (!platform::FileExists(path)) {
    SendMessage(platform::DirectoryExists(path) ? "Not a file: " + path + " is a directory"
                                                : "File not found: " + path,
                stError);
    return false;
  }
  platform::OsResult<uint64_t> size = platform::GetFileSize(path);
  if (!size.IsOk()) {
    SendMessage("Error getting the size of file: " + path, stError);
    SendMessage("Error reason: " + size.Error().message, stError);
    return false;
  }
  if (!bv_variable_.empty()) SetVariable(bv_variable_, SizeInUnits(size.Value(), units_));
  SendMessage("Size of " + path + " is " + FormatSize(size.Value(), units_), stSuccess);
  return true;
}

}  // namespace brivant

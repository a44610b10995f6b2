#include "actions/files/disk_info_action.h"

#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_operations.h"

namespace brivant {

const PropertyTable& TDiskInfoAction::Properties() {
  using T = TDiskInfoAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("Path", &T::path_),
          Property("FreeSpaceVariable", &T::free_space_variable_).TypeName("TVariableName"),
          Property("TotalSpaceVariable", &T::total_space_variable_).TypeName("TVariableName"),
          Property("Units", &T::units_).Default("suBytes"),
          Property("MinimumFreeSpace", &T::minimum_free_space_).Default("0"),
      });
  return table;
}

std::string TDiskInfoAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + path_ + " ]";
}

bool TDiskInfoAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  if (path_.empty()) {
    errors.AddError("Drive or Directory", "The drive or directory has not been set", 0);
    valid = false;
  }
  if (minimum_free_space_ < 0) {
    errors.AddError("Minimum Free Space", "The minimum free space cannot be negative", 0);
    valid = false;
  }
  return valid;
}

void TDiskInfoAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Get Disk Free Space]", "Path=Drive or Directory",
               "FreeSpaceVariable=Free Space Variable", "TotalSpaceVariable=Total Space Variable",
               "Units=Units", "MinimumFreeSpace=Minimum Free Space"});
}

void TDiskInfoAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"Path=Any directory on the drive (file system) to examine",
       "FreeSpaceVariable=Variable that receives the space free for this user",
       "TotalSpaceVariable=Variable that receives the size of the drive",
       "Units=Bytes give a whole number; KB, MB and GB (1024-based) a number rounded to two "
       "decimals",
       "MinimumFreeSpace=Fail when less than this much space (in the chosen units) is free; 0 "
       "checks nothing"});
}

bool TDiskInfoAction::Execute() {
  std::string path;
  if (!TryExpandExpression("Drive or Directory", path_, path, true)) return false;
  path = Trim(path);
  if (path.empty()) {
    SendMessage("The drive or directory has not been set", stError);
    return false;
  }
  SendMessage("Getting disk space of: " + path, stInfo);
  platform::OsResult<platform::DiskSpace> space = platform::GetDiskSpace(path);
  if (!space.IsOk()) {
    SendMessage("Error getting disk space of: " + path, stError);
    SendMessage("Error reason: " + space.Error().message, stError);
    return false;
  }
  // What a build can use: root's reserved blocks are not free for it.
  uint64_t free_bytes = space.Value().available_bytes;
  uint64_t total_bytes = space.Value().total_bytes;
  if (!free_space_variable_.empty())
    SetVariable(free_space_variable_, SizeInUnits(free_bytes, units_));
  if (!total_space_variable_.empty())
    SetVariable(total_space_variable_, SizeInUnits(total_bytes, units_));
  std::string summary = "Free space on " + path + ": " + FormatSize(free_bytes, units_) + " of " +
                        FormatSize(total_bytes, units_);
  uint64_t minimum_bytes =
      static_cast<uint64_t>(minimum_free_space_ > 0 ? minimum_free_space_ : 0) *
      BytesPerUnit(units_);
  if (free_bytes < minimum_bytes) {
    SendMessage(summary, stInfo);
    SendMessage(
        "Free space on " + path + " is below the minimum of " + FormatSize(minimum_bytes, units_),
        stError);
    return false;
  }
  SendMessage(summary, stSuccess);
  return true;
}

}  // namespace brivant

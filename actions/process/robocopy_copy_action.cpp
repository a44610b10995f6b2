#include "actions/process/robocopy_copy_action.h"

#include <vector>

namespace brivant {
namespace {

// The letter of each copy flag, in flag order. Timestamps add a second "D"
// and auditing a second "A": the letters the tool has always been given for
// these flags.
constexpr char kCopyFlagLetters[] = "DADSOA";

}  // namespace

const EnumInfo& EnumTraits<TRobocopyCopyFlags>::Info() {
  static const EnumInfo info{
      "TRobocopyCopyFlags",
      {"cfData", "cfAttrib", "cfTimestamps", "cfSecurity", "cfOwnership", "cfAuditing"}};
  return info;
}

TBVRobocopyCopyAction::TBVRobocopyCopyAction() {
  copy_flags_.Include(cfData);
  copy_flags_.Include(cfAttrib);
  copy_flags_.Include(cfTimestamps);
  SetIncludeSubDirs(true);
}

const PropertyTable& TBVRobocopyCopyAction::Properties() {
  using T = TBVRobocopyCopyAction;
  // The inherited rows, with the default this class's constructor gives.
  static const PropertyTable table(nullptr, [] {
    std::vector<PropertyInfo> rows = TBVRobocopyMainAction::Properties().Rows();
    for (PropertyInfo& row : rows) {
      if (row.name == "IncludeSubDirs") row.default_text = "True";
    }
    rows.push_back(Property("CopyFlags", &T::copy_flags_)
                       .TypeName("TRobocopyCFSet")
                       .Default("cfData,cfAttrib,cfTimestamps"));
    rows.push_back(Property("SetAttribInCopiedFiles", &T::set_attrib_in_copied_files_)
                       .TypeName("TRobocopyAttribSet"));
    rows.push_back(Property("TurnOffAttribInCopiedFiles", &T::turn_off_attrib_in_copied_files_)
                       .TypeName("TRobocopyAttribSet"));
    rows.push_back(Property("FATFileNames", &T::fat_file_names_).Default("False"));
    rows.push_back(Property("FATFileTimes", &T::fat_file_times_).Default("False"));
    return rows;
  }());
  return table;
}

void TBVRobocopyCopyAction::GetPropertyAlias(TStrings& list) const {
  TBVRobocopyMainAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Robocopy Copy]", "CopyFlags=Copy Flags",
                           "SetAttribInCopiedFiles=Set Attributes In Copied Files",
                           "TurnOffAttribInCopiedFiles=Turn Off Attributes In Copied Files",
                           "FATFileNames=FAT File Names", "FATFileTimes=FAT File Times"});
}

bool TBVRobocopyCopyAction::GetCommandLine(ICommandLineBuilder& builder) {
  if (!TBVRobocopyMainAction::GetCommandLine(builder)) return false;
  std::string letters;
  for (int flag = cfData; flag <= cfAuditing; ++flag) {
    if (copy_flags_.Contains(static_cast<TRobocopyCopyFlags>(flag)))
      letters += kCopyFlagLetters[flag];
  }
  // Always given, even with no letters, so the tool's own default never applies.
  builder.AddArgument("/COPY:" + letters, "", akSwitch);
  AddAttribSwitches(builder, "/A+:", set_attrib_in_copied_files_, kLastSettableAttrib);
  AddAttribSwitches(builder, "/A-:", turn_off_attrib_in_copied_files_, kLastSettableAttrib);
  if (fat_file_times_) builder.AddArgument("/FFT", "", akSwitch);
  if (fat_file_names_) builder.AddArgument("/FAT", "", akSwitch);
  return true;
}

}  // namespace brivant

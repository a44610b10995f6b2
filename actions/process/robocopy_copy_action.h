// "Robocopy": copies a directory tree with the tool, choosing what of each
// file is copied and which attributes the copies get or lose.
#pragma once

#include <string>
#include <string_view>

#include "actions/process/robocopy_main_action.h"

namespace brivant {

enum TRobocopyCopyFlags : int {
  cfData,
  cfAttrib,
  cfTimestamps,
  cfSecurity,
  cfOwnership,
  cfAuditing,
};
template <>
struct EnumTraits<TRobocopyCopyFlags> {
  static const EnumInfo& Info();
};
using TRobocopyCFSet = TSet<TRobocopyCopyFlags>;

class TBVRobocopyCopyAction : public TBVRobocopyMainAction {
 public:
  static constexpr std::string_view kClassName = "TBVRobocopyCopyAction";
  TBVRobocopyCopyAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetQuickHelpFilename() const override { return "Plugins\\RobocopyCopy.html"; }
  void GetPropertyAlias(TStrings& list) const override;
  bool GetCommandLine(ICommandLineBuilder& builder) override;

 private:
  TRobocopyCFSet copy_flags_;
  TRobocopyAttribSet set_attrib_in_copied_files_;
  TRobocopyAttribSet turn_off_attrib_in_copied_files_;
  bool fat_file_names_ = false;
  bool fat_file_times_ = false;
};

}  // namespace brivant

// "Get Disk Free Space": reads the free and total space of the file system
// that holds a path into build variables, and can fail a build that is about
// to run out of room.
#pragma once

#include <cstdint>
#include <string>

#include "actions/files/size_units.h"
#include "package/custom_bv_action.h"

namespace brivant {

class TDiskInfoAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TDiskInfoAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Get Disk Free Space"; }
  std::string GetActionKeywords() const override { return "Drive Volume Space"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\DiskFreeSpace.html"; }
  int GetHelpTopicID() const override { return 561; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string path_;
  std::string free_space_variable_;
  std::string total_space_variable_;
  TSizeUnits units_ = suBytes;
  int32_t minimum_free_space_ = 0;  // in units_; 0 checks nothing
};

}  // namespace brivant

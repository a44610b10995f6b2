// "Extract Version Info": reads named fields of an executable's version
// resource into build variables. Each line of VerInfoList is a field name, an
// equals sign and a variable name ("FileVersion=VER"); every variable must be
// defined before the file is read, and variables are set only when the lookup
// as a whole succeeded.
#pragma once

#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TVersionInfo;

class TBVExtractFileVerInfoAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVExtractFileVerInfoAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Extract Version Info"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ExtractFileVersion.html"; }
  int GetHelpTopicID() const override { return 3280; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;
  void RenameVariableReference(const TStrings& renames) override;

 private:
  // Replaces each entry of `names` by "name=value". False when the version
  // information could not be read, or a field was missing and
  // IgnoreIfNotFound is off (all logged).
  bool GetFileVersionStrings(const std::string& FileName, TStrings& Names, bool IgnoreIfNotFound);
  std::string ResolveField(TVersionInfo& info, const std::string& file_name,
                           const std::string& name);

  std::string file_name_;
  std::vector<std::string> ver_info_list_;
  bool ignore_if_not_found_ = true;
};

}  // namespace brivant

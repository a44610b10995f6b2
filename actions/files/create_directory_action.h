// "Create Directory": creates one directory, optionally with every missing
// parent. An existing directory is a success.
#pragma once

#include <string>

#include "actions/files/file_or_directory_action.h"

namespace brivant {

class TCreateDirectoryAction : public TFileOrDirectoryAction {
 public:
  static constexpr std::string_view kClassName = "TCreateDirectoryAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Create Directory"; }
  std::string GetActionKeywords() const override { return "Folder"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\CreateDirectory.html"; }
  int GetHelpTopicID() const override { return 552; }
  int GetFlags() const override { return 17; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  bool CreateDirectoryOf(const std::string& dir);
};

}  // namespace brivant

// "Rename File or Directory": gives a file or directory a new name. A new
// name without '/' renames the entry in its own directory; a path moves it
// there (within one file system). An existing target is never replaced.
#pragma once

#include <string>

#include "package/custom_bv_action.h"

namespace brivant {

class TRenameDirAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TRenameDirAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Rename File or Directory"; }
  std::string GetActionKeywords() const override { return "Folder Move"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RenameDirectory.html"; }
  int GetHelpTopicID() const override { return 562; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string old_name_;
  std::string new_name_;
};

}  // namespace brivant

// "If File/Folder Exists": a container whose child actions run only when a
// file or directory exists (or, inverted, when it does not). The action
// itself succeeds either way and logs what it found; the host learns the
// decision through GetNextActionSource after Execute.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

// What kind of entry satisfies the check.
enum TCheckFileType { cftFileOrDirectory = 0, cftFile = 1, cftDirectory = 2 };

template <>
struct EnumTraits<TCheckFileType> {
  static const EnumInfo& Info();
};

class TFileExistsAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TFileExistsAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  // After Execute: naSkipChildren when the condition did not hold.
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override;
  std::string GetActionName() const override { return "If File/Folder Exists"; }
  std::string GetActionKeywords() const override { return "Folder Check Condition"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\CheckFileExists.html"; }
  int GetHelpTopicID() const override { return 557; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Whether `path` exists as the kind CheckType asks for. A name with
  // wildcards counts when at least one entry matches. False when the search
  // failed (logged); *exists is then unset.
  bool LookFor(const std::string& path, bool* exists);
  bool LookForMatches(const std::string& file_spec, bool* exists);

  std::string file_or_directory_;
  TCheckFileType check_type_ = cftFileOrDirectory;
  bool check_not_exists_ = false;
  std::string result_variable_;

  bool condition_met_ = false;  // of the last run
};

}  // namespace brivant

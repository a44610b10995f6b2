// "File Compare": compares two files by last-write date, size and MD5 hash.
// Depending on Fail it either fails or succeeds on the verdict, or always
// succeeds and decides whether its child actions run (the host learns that
// through GetNextActionSource after Execute). Inverted swaps what counts as
// the wanted outcome: without it, "different" succeeds or runs the children.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVFileCompareAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVFileCompareAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  // Without Fail: naSkipChildren unless the last run decided to run them.
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override;
  std::string GetActionName() const override { return "File Compare"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\FileCompare.html"; }
  int GetHelpTopicID() const override { return 6090; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Each step logs its finding and returns whether the files differ.
  bool DatesDiffer(const std::string& a, const std::string& b);
  bool SizesDiffer(const std::string& a, const std::string& b);
  // False (logged) when a file could not be hashed; *differ is then unset.
  bool CompareHashes(const std::string& a, const std::string& b, bool* differ);
  // Logs the verdict, sets the run-children flag and gives the result.
  bool Verdict(bool different);

  std::string file_a_;
  std::string file_b_;
  bool compare_date_ = false;
  bool compare_size_ = false;
  bool compare_md5_ = true;
  bool fail_ = false;
  bool inverted_ = false;

  bool run_children_ = false;  // of the last run; written only without Fail
};

}  // namespace brivant

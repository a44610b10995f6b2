// "Calculate File MD5": computes a file's MD5 hash (32 upper-case hexadecimal
// digits), logs it, can store it in a variable and can fail when it differs
// from a second file's hash or from a given value. Comparisons ignore case.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVFileMD5Action : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVFileMD5Action";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Calculate File MD5"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\FileMD5.html"; }
  int GetHelpTopicID() const override { return 3300; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Execute's steps; they throw what the engine and the host services throw,
  // which Execute turns into its error lines.
  bool Run();
  // False (logged) when the engine reports a failed hash.
  bool ComputeHash(const std::string& path, std::string* hash);
  bool CompareToSecondFile(const std::string& hash);
  bool CompareToGivenMD5(const std::string& hash);

  std::string file_name_;
  std::string bv_variable_;
  bool fail_if_diff_to_file_ = false;
  std::string compare_to_file_;
  bool fail_if_diff_to_md5_ = false;
  std::string compare_to_md5_;
};

/// The MD5 of a file as 32 upper-case hexadecimal digits, through a fresh
/// THashAlgMD5. False when the component reports a failed hash; throws
/// EFileReadError when the file cannot be read.
bool HashFileToDisplay(const std::string& path, std::string* hash);

}  // namespace brivant

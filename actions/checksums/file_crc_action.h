// "Calculate File CRC32": computes a file's CRC-32, logs it, can store it in a
// variable and can fail when it differs from a second file's CRC-32 or from a
// given value. Values are "$" and eight upper-case hexadecimal digits, or the
// unsigned decimal number with UseDecimal; comparisons are exact text
// comparisons of that form.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVFileCRCAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVFileCRCAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Calculate File CRC32"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\FileCRC.html"; }
  int GetHelpTopicID() const override { return 3290; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // The CRC text of `path` in the form UseDecimal asks for. On failure logs
  // `error_prefix` + the reason and returns false.
  bool ComputeValue(const std::string& path, const std::string& error_prefix, std::string* value);
  bool CompareToSecondFile(const std::string& value);
  bool CompareToGivenCRC(const std::string& value);

  std::string file_name_;
  std::string bv_variable_;
  bool fail_if_diff_to_file_ = false;
  std::string compare_to_file_;
  bool fail_if_diff_to_crc_ = false;
  std::string compare_to_crc_;
  bool use_decimal_ = false;
};

/// "$CBF43926" as the unsigned decimal number ("3421780262"). Throws
/// std::invalid_argument for text that is not "$" and hexadecimal digits
/// fitting 64 bits.
std::string CRCTextToDecimal(const std::string& crc_text);

}  // namespace brivant

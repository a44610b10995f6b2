#include "actions/checksums/file_crc_action.h"

#include <charconv>
#include <exception>
#include <stdexcept>

#include "actions/checksums/checksum_description.h"
#include "actions/checksums/checksum_file.h"
#include "actions/checksums/crc32.h"

namespace brivant {

std::string CRCTextToDecimal(const std::string& crc_text) {
  const char* first = crc_text.data() + 1;
  const char* last = crc_text.data() + crc_text.size();
  uint64_t value = 0;
  bool valid = crc_text.size() > 1 && crc_text[0] == '$';
  if (valid) {
    auto [end, error] = std::from_chars(first, last, value, 16);
    valid = error == std::errc() && end == last;
  }
  if (!valid) throw std::invalid_argument("'" + crc_text + "' is not a hexadecimal CRC");
  return std::to_string(value);
}

const PropertyTable& TBVFileCRCAction::Properties() {
  using T = TBVFileCRCAction;
  static const PropertyTable table(
      nullptr, {
                   Property("FileName", &T::file_name_),
                   Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
                   Property("FailIfDiffToFile", &T::fail_if_diff_to_file_).Default("False"),
                   Property("CompareToFile", &T::compare_to_file_),
                   Property("FailIfDiffToCRC", &T::fail_if_diff_to_crc_).Default("False"),
                   Property("CompareToCRC", &T::compare_to_crc_),
                   Property("UseDecimal", &T::use_decimal_).Default("False"),
               });
  return table;
}

std::string TBVFileCRCAction::GetFormattedDescription() const {
  return FormatChecksumDescription({GetActionName(), file_name_, fail_if_diff_to_file_,
                                    compare_to_file_, fail_if_diff_to_crc_,
                                    " and compare to CRC32: ", compare_to_crc_});
}

bool TBVFileCRCAction::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  errors.AddError("File Name", "Filename has not been set", 0);
  return false;
}

void TBVFileCRCAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[File CRC32]", "FileName=Filename", "BVVariable=Variable",
               "FailIfDiffToFile=Fail if Different to File", "CompareToFile=Comparison filename",
               "FailIfDiffToCRC=Fail if Different to CRC", "CompareToCRC=Comparison CRC",
               "UseDecimal=Use Decimal"});
}

void TBVFileCRCAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"FileName=Name of file to calculate the CRC32",
       "BVVariable=Save the value of the file's CRC32 to the variable",
       "FailIfDiffToFile=The action will fail if the CRC32 of the main file is different from "
       "the CRC32 of the comparison file",
       "CompareToFile=The name of the 2nd file to calculate the CRC32 of",
       "FailIfDiffToCRC=The action will fail if the CRC32 of the main file is different from "
       "this specified CRC32",
       "CompareToCRC=The comparison CRC32",
       "UseDecimal=CRCs can be presented as in hexadecimal or decimal - checking this option "
       "will use the decimal format, otherwise hexadecimal will be used"});
}

bool TBVFileCRCAction::ComputeValue(const std::string& path, const std::string& error_prefix,
                                    std::string* value) {
  try {
    *value = GetCRC32(path);
    if (use_decimal_) *value = CRCTextToDecimal(*value);
    return true;
  } catch (const std::exception& e) {
    SendMessage(error_prefix + e.what(), stError);
    return false;
  }
}

bool TBVFileCRCAction::CompareToSecondFile(const std::string& value) {
  std::string path;
  if (!ExpandExistingFile(*this, "Compare to File", compare_to_file_, false, &path)) return false;
  std::string second_value;
  if (!ComputeValue(path, "Error getting crc32 for file 2 : ", &second_value)) return false;
  if (second_value != value) {
    SendMessage("CRC don't match", stError);
    SendMessage("File 2 CRC: " + second_value, stError);
    return false;
  }
  SendMessage("CRC matches file: " + path, stSuccess);
  return true;
}

bool TBVFileCRCAction::CompareToGivenCRC(const std::string& value) {
  std::string expected;
  if (!TryExpandExpression("Compare to CRC", compare_to_crc_, expected, true)) return false;
  // Exact on purpose: "$cbf43926" or "CBF43926" never match "$CBF43926".
  if (expected != value) {
    SendMessage("CRC don't match", stError);
    SendMessage("Compare to CRC: " + expected, stError);
    return false;
  }
  SendMessage("CRC matches: " + compare_to_crc_, stSuccess);
  return true;
}

bool TBVFileCRCAction::Execute() {
  std::string path;
  if (!ExpandExistingFile(*this, "FileName", file_name_, true, &path)) return false;
  std::string value;
  if (!ComputeValue(path, "Error getting crc32 : ", &value)) return false;
  SendMessage("CRC32 for " + path + " is " + value, stInfo);
  if (!bv_variable_.empty()) SetVariable(bv_variable_, Variant(value));
  if (fail_if_diff_to_file_ && !CompareToSecondFile(value)) return false;
  if (fail_if_diff_to_crc_ && !CompareToGivenCRC(value)) return false;
  SendMessage("Success", stSuccess);
  return true;
}

}  // namespace brivant

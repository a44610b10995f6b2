#include "actions/checksums/file_md5_action.h"

#include <exception>

#include "actions/checksums/checksum_description.h"
#include "actions/checksums/checksum_file.h"
#include "actions/checksums/hash_alg_md5.h"
#include "package/string_utils.h"

namespace brivant {

bool HashFileToDisplay(const std::string& path, std::string* hash) {
  THashAlgMD5 md5;
  THashDigest digest;
  md5.ClearHash(digest);
  if (!md5.HashFile(path, digest)) return false;
  *hash = md5.HashToDisplay(digest);
  return true;
}

const PropertyTable& TBVFileMD5Action::Properties() {
  using T = TBVFileMD5Action;
  static const PropertyTable table(
      nullptr, {
                   Property("FileName", &T::file_name_),
                   Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
                   Property("FailIfDiffToFile", &T::fail_if_diff_to_file_).Default("False"),
                   Property("CompareToFile", &T::compare_to_file_),
                   Property("FailIfDiffToMD5", &T::fail_if_diff_to_md5_).Default("False"),
                   Property("CompareToMD5", &T::compare_to_md5_),
               });
  return table;
}

std::string TBVFileMD5Action::GetFormattedDescription() const {
  return FormatChecksumDescription({GetActionName(), file_name_, fail_if_diff_to_file_,
                                    compare_to_file_, fail_if_diff_to_md5_,
                                    " and compare to MD5: ", compare_to_md5_});
}

bool TBVFileMD5Action::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  errors.AddError("File Name", "Filename has not been set", 0);
  return false;
}

void TBVFileMD5Action::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[File MD5]", "FileName=Filename", "BVVariable=Variable",
               "FailIfDiffToFile=Fail if Different to File", "CompareToFile=Comparison filename",
               "FailIfDiffToMD5=Fail if Different to MD5", "CompareToMD5=Comparison MD5"});
}

void TBVFileMD5Action::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileName=Name of file to calculate the MD5",
               "BVVariable=Save the value of the file's MD5 to the variable",
               "FailIfDiffToFile=The action will fail if the MD5 of the main file is different "
               "from the MD5 of the comparison file",
               "CompareToFile=The name of the 2nd file to calculate the MD5 of",
               "FailIfDiffToMD5=The action will fail if the MD5 of the main file is different "
               "from this specified MD5",
               "CompareToMD5=The comparison MD5"});
}

bool TBVFileMD5Action::ComputeHash(const std::string& path, std::string* hash) {
  if (HashFileToDisplay(path, hash)) return true;
  SendMessage("Hash of file " + path + " failed", stError);
  return false;
}

bool TBVFileMD5Action::CompareToSecondFile(const std::string& hash) {
  std::string path;
  if (!ExpandExistingFile(*this, "Compare to File", compare_to_file_, false, &path)) return false;
  std::string second_hash;
  if (!ComputeHash(path, &second_hash)) return false;
  if (!SameText(second_hash, hash)) {
    SendMessage("MD5 don't match", stError);
    SendMessage("File 2 MD5: " + second_hash, stError);
    return false;
  }
  SendMessage("MD5 matches file: " + path, stSuccess);
  return true;
}

bool TBVFileMD5Action::CompareToGivenMD5(const std::string& hash) {
  std::string expected;
  if (!TryExpandExpression("Compare to MD5", compare_to_md5_, expected, true)) return false;
  if (!SameText(expected, hash)) {
    SendMessage("MD5 don't match", stError);
    SendMessage("Compare to MD5: " + expected, stError);
    return false;
  }
  SendMessage("MD5 matches " + compare_to_md5_, stSuccess);
  return true;
}

bool TBVFileMD5Action::Run() {
  std::string path;
  if (!ExpandExistingFile(*this, "FileName", file_name_, true, &path)) return false;
  std::string hash;
  if (!ComputeHash(path, &hash)) return false;
  SendMessage("MD5 for " + path + " is " + hash, stInfo);
  if (!bv_variable_.empty()) SetVariable(bv_variable_, Variant(hash));
  if (fail_if_diff_to_file_ && !CompareToSecondFile(hash)) return false;
  if (fail_if_diff_to_md5_ && !CompareToGivenMD5(hash)) return false;
  SendMessage("Success", stSuccess);
  return true;
}

bool TBVFileMD5Action::Execute() {
  try {
    return Run();
  } catch (const std::exception& e) {
    SendMessage("Couldn't compute MD5:", stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

}  // namespace brivant

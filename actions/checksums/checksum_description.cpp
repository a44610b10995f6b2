#include "actions/checksums/checksum_description.h"

#include "package/string_utils.h"

namespace brivant {

std::string FormatChecksumDescription(const ChecksumDescription& parts) {
  std::string suffix;
  if (parts.fail_if_diff_to_file) {
    suffix += " and compare to file: " + ExtractFileName(parts.compare_to_file);
  }
  if (parts.fail_if_diff_to_value) suffix += parts.value_label + parts.compare_to_value;
  std::string name = suffix.empty() ? parts.file_name : ExtractFileName(parts.file_name);
  return parts.display_name + " [" + name + suffix + "]";
}

}  // namespace brivant

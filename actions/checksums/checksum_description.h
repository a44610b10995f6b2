// The project-tree text of the two file checksum actions, which differ only in
// their words: display name + " [" + file + comparisons + "]".
#pragma once

#include <string>

namespace brivant {

struct ChecksumDescription {
  std::string display_name;  // "Calculate File CRC32"
  std::string file_name;
  bool fail_if_diff_to_file = false;
  std::string compare_to_file;
  bool fail_if_diff_to_value = false;
  std::string value_label;  // " and compare to CRC32: "
  std::string compare_to_value;
};

/// The comparisons named after the file are " and compare to file: " + the
/// name part of the comparison file, then the value label + the comparison
/// value, each only when its option is set. With any comparison only the name
/// part of the file is shown, else the whole stored name.
std::string FormatChecksumDescription(const ChecksumDescription& parts);

}  // namespace brivant

// TVersionInfo: reads the version information of a file for the actions, as
// the host's version-information helper does on Windows. Only Windows
// executables and DLLs (PE32 and PE32+, as cross-built on Linux) carry it;
// other files have none. The named fields come from the fixed-file-info
// record and the string table; any other string is read by name.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "actions/checksums/pe_version_resource.h"
#include "package/status_tag.h"

namespace brivant {

class TCustomBVAction;

// The fields every version lookup offers by name.
struct TVersionRecord {
  std::string FileVersion;     // "major.minor.release.build" of the fixed record
  std::string ProductVersion;  // the same for the product
  std::string CompanyName;
  std::string ProductName;
  std::string FileDescription;
  std::string LegalCopyright;
  std::string LegalTrademarks;
  std::string InternalName;
  std::string OriginalFilename;
  std::string Comments;
  std::string Signature;  // the fixed record's signature, "FEEF04BD"
};

class TVersionInfo {
 public:
  /// Reads the version information of `FileName` into Record(). On failure
  /// (no such file, not an executable, no version resource, a malformed
  /// file) logs one line naming the file and the reason on `Action` with
  /// `StatusTag` and returns false; Record() is then empty.
  bool GetVersion(const std::string& FileName, TCustomBVAction& Action, TStatusTag StatusTag);
  const TVersionRecord& Record() const { return record_; }

  /// Any string of the file's string table by name (ignoring ASCII case);
  /// empty when the file has no such string or no readable version
  /// information. Reuses what GetVersion read for the same file.
  std::string GetCustomValue(const std::string& FileName, const std::string& Name);

  /// The record's fields by their exact names, in record order.
  static const std::vector<std::pair<std::string_view, std::string TVersionRecord::*>>&
  NamedFields();

 private:
  // Reads `file_name` unless it is the one already read. False with *error set.
  bool Load(const std::string& file_name, std::string* error);

  std::string loaded_file_;
  bool loaded_ = false;
  VersionResource resource_;
  TVersionRecord record_;
};

}  // namespace brivant

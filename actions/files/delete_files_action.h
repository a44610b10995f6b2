// "Delete File(s)": deletes the files of one directory that match a
// file specification (no recursion) and counts them. Read-only files are refused
// unless DeleteReadOnly is set; hidden files are deleted either way; system
// files are never touched.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"

namespace brivant {

class TCustomDeleteFilesAction : public TBVAction {
 public:
  static const PropertyTable& Properties();
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Delete File(s)"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\DeleteFiles.html"; }
  int GetHelpTopicID() const override { return 550; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  // Files deleted by the last run, also when it failed part-way.
  int32_t GetFilesAffected() const { return files_affected_; }

 private:
  // Deletes the matches of `file_spec`, adding each deletion to *count. False
  // after the first failure (logged).
  bool DeleteMatches(const std::string& file_spec, int32_t* count);
  bool DeleteOne(const std::string& path, int32_t* count);

  std::string file_spec_;
  bool delete_read_only_ = false;
  bool delete_hidden_ = false;
  bool fail_if_no_file_ = true;
  // Set by the property page only; never stored in a project.
  bool log_files_deleted_ = false;
  int32_t files_affected_ = 0;
};

class TDeleteFilesAction : public TCustomDeleteFilesAction {
 public:
  static constexpr std::string_view kClassName = "TDeleteFilesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
};

}  // namespace brivant

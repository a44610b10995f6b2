// "XCopy": copies files and trees with the system's xcopy.exe. The action
// maps its properties to the tool's switches and hands the exclusion list
// over in a temporary file, which it removes when the run is over.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "package/date_time.h"
#include "package/execute_abstract_action.h"
#include "package/property_table.h"

namespace brivant {

enum TBVXCopyMode : int {
  mdNormal = 0,
  mdRecursive = 1,
  mdTest = 2,
  mdDirStructure = 3,
};
template <>
struct EnumTraits<TBVXCopyMode> {
  static const EnumInfo& Info();
};

enum TBVXCopyLogMode : int {
  logNormal = 0,
  logQuiet = 1,
  logVerbose = 2,
};
template <>
struct EnumTraits<TBVXCopyLogMode> {
  static const EnumInfo& Info();
};

class TBVXCopyAction : public TBVExecuteAbstractAction {
 public:
  static constexpr std::string_view kClassName = "TBVXCopyAction";
  TBVXCopyAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "XCopy"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\XCopy.html"; }
  int GetHelpTopicID() const override { return 3240; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;

  // False when an expansion or the exclusion file failed; the reason is
  // already logged.
  bool GetCommandLine(ICommandLineBuilder& builder) override;
  // xcopy.exe in the system directory.
  std::string GetExecutable() override;
  // The directory part of the expanded source.
  std::string GetStartingDir() override;
  // The host's verdict; the exclusion file goes in any case.
  bool InterpretResult(int exit_code) override;
  // The exclusion file goes also when the tool could not be started.
  void OnExeNotFound(const std::string& executable) override;
  // The command line is logged by this class, with its own wording.
  bool GetShowCommandLine() const override { return false; }

  // The exclusion file of the current run; empty when there is none.
  const std::string& GetExcludeFileName() const { return exclude_file_name_; }

 private:
  // Writes the non-empty expanded entries of ExcludeFiles to a temporary file
  // and adds "/EXCLUDE:" naming it; adds nothing without entries.
  bool AddExcludedFiles(ICommandLineBuilder& builder);
  void DeleteExcludeFile();

  std::string source_;
  std::string destination_;
  std::vector<std::string> exclude_files_;
  TBVXCopyMode xcopy_mode_ = mdNormal;
  TBVXCopyLogMode xcopy_log_mode_ = logNormal;
  bool only_archive_files_ = false;
  bool turn_off_archive_bit_ = false;
  bool copy_hidden_and_sys_ = false;
  bool overwrite_read_only_ = false;
  bool copy_attributes_ = false;
  bool only_files_that_already_exist_ = false;
  bool copy_using_short_names_ = false;
  bool copy_networked_files_ = false;
  bool copy_newer_files_ = false;
  bool copy_files_chnaged_after_ = false;
  bool verify_ = false;
  bool ignore_errors_ = false;
  TDateTime changed_after_date_;
  bool copy_ownership_and_acl_ = false;
  bool copy_file_audit_settings_ = false;
  bool copy_encrypted_if_not_supported_in_dest_ = false;
  bool copy_empty_directories_ = false;
  std::string exclude_file_name_;
};

}  // namespace brivant

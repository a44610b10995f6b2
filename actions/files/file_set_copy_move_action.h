// "FileSet Copy/Move": copies or moves every file of a project file set to a
// target directory, keeping each file's path relative to the set's base
// directory and creating the directories it needs. Existing targets are
// overwritten, overwritten when older, skipped or refused, as chosen.
//
// TerminateAction may be called from another thread while Execute runs: the
// copy in progress is cancelled and no further file is started.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "package/file_set_base_action.h"

namespace brivant {

enum TFileSetOperation { fsoCopy = 0, fsoMove = 1 };
enum TFileSetOverwriteMode { omOverwrite = 0, omOverwriteIfNewer = 1, omSkip = 2, omFail = 3 };

template <>
struct EnumTraits<TFileSetOperation> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TFileSetOverwriteMode> {
  static const EnumInfo& Info();
};

class TBVFileSetCopyMoveAction : public TFileSetBaseAction {
 public:
  static constexpr std::string_view kClassName = "TBVFileSetCopyMoveAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  bool DoFileSetOperation(IBVFileSet& file_set) override;
  void TerminateAction() override { cancel_ = true; }
  bool CanTerminate() override { return true; }
  std::string GetActionName() const override { return "FileSet Copy/Move"; }
  std::string GetActionKeywords() const override { return "Copy Move FileSet"; }
  std::string GetQuickHelpFilename() const override { return "FileSets.html"; }
  int GetHelpTopicID() const override { return 564; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  int32_t GetFilesAffected() const { return files_affected_; }

 private:
  // What happens to one file. kFailed has been logged.
  enum class FileOutcome { kDone, kSkipped, kFailed };

  bool IsMove() const { return operation_ == fsoMove; }
  bool CopyOrMoveAll(const std::vector<std::string>& files, const std::string& base_directory,
                     const std::string& target);
  FileOutcome ProcessFile(const std::string& source, const std::string& destination);
  // Whether an existing `destination` may be replaced. kDone: go ahead.
  FileOutcome DecideForExisting(const std::string& source, const std::string& destination,
                                uint32_t attributes);
  bool Transfer(const std::string& source, const std::string& destination);
  FileOutcome Fail(const std::string& source, const std::string& destination,
                   const std::string& reason);
  void SendPercent(int percent);
  void EndGroup(TStatusTag tag);

  TFileSetOperation operation_ = fsoCopy;
  std::string target_directory_;
  TFileSetOverwriteMode overwrite_mode_ = omOverwrite;
  bool overwrite_read_only_ = false;
  bool refresh_file_set_ = true;
  bool fail_if_zero_files_ = true;
  bool log_files_affected_ = true;
  int32_t files_affected_ = 0;

  std::atomic<bool> cancel_{false};
  bool group_open_ = false;
  std::string progress_text_;
  int last_percent_ = 0;
};

}  // namespace brivant

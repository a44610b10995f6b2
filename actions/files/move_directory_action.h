// "Move Directory": moves a directory with everything in it to a new place.
// Within one file system that is a rename; across file systems the tree is
// copied and the source removed once the copy is complete. Into an existing
// directory the action moves only when merging is allowed, and then checks
// for files in the way before it moves anything.
//
// TerminateAction may be called from another thread while Execute runs; the
// walk stops between files.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "platform/directory.h"

namespace brivant {

class TBVMoveDirectoryAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVMoveDirectoryAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  void TerminateAction() override { cancel_ = true; }
  bool CanTerminate() override { return true; }
  std::string GetActionName() const override { return "Move Directory"; }
  std::string GetActionKeywords() const override { return "Folder Rename"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\MoveDirectory.html"; }
  int GetHelpTopicID() const override { return 558; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  struct TreeEntry {
    std::string relative_path;
    platform::EntryType type;
  };

  bool IsCancelled() { return cancel_ || IsStopSignalled(); }
  // Moves `source` to `target`, which does not exist yet.
  bool MoveWhole(const std::string& source, const std::string& target);
  // The cross-file-system move: copy, then remove the source. On failure the
  // partial copy is removed and the source is untouched.
  bool CopyAcross(const std::string& source, const std::string& target);
  bool CopyEntries(const std::string& source, const std::string& target,
                   const std::vector<TreeEntry>& entries);
  // Logs every entry of `source` that may not be moved into `target`; true
  // when there is none.
  bool CheckMergeConflicts(const std::string& source, const std::string& target);
  // Moves the content of `source` into the existing `target`, then removes
  // `source`.
  bool MergeInto(const std::string& source, const std::string& target);
  bool MergeEntry(const std::string& source, const std::string& target,
                  const platform::DirectoryEntry& entry);
  void LogError(const std::string& line, const std::string& reason);

  std::string source_directory_;
  std::string target_directory_;
  bool merge_into_existing_ = false;
  bool overwrite_files_ = false;
  bool force_ = false;

  std::atomic<bool> cancel_{false};
  int files_copied_ = 0;  // across file systems, this run
};

}  // namespace brivant

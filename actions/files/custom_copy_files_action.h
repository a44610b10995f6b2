// TCustomCopyFilesAction: everything the copy and move actions share. It walks
// a file specification (a directory plus a last component that may hold '*'
// and '?'), optionally through every subdirectory, decides per file whether
// to skip, overwrite or fail, hands each file to DoCopyMove while reporting
// progress, and logs and counts what was done. TCopyFilesAction and
// TMoveFilesAction only supply the platform call and the verbs of the
// messages.
//
// TerminateAction may be called from another thread while Execute runs: a
// copy in progress is aborted and fails like any other file; a move finishes
// the file it is on.
#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "package/custom_bv_action.h"
#include "platform/file_operations.h"

namespace brivant {

class TCustomCopyFilesAction : public TBVAction {
 public:
  static const PropertyTable& Properties();

  bool Execute() override;
  std::string GetActionName() const override { return "Copy File(s)"; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;
  void TerminateAction() override { cancel_ = true; }
  bool CanTerminate() override { return true; }

  // The verb of the messages ("Copy"), its progressive form ("Copying").
  virtual std::string Verb() const = 0;
  virtual std::string VerbTrans() const = 0;
  // Applies the decision table for an existing target, then DoCopyMove.
  // False when the file failed (logged); a skipped file is true.
  virtual bool ProcessFile(const std::string& source, const std::string& target);
  // Copies or moves one file; the error of the platform call on failure.
  virtual platform::OsError DoCopyMove(const std::string& source, const std::string& target) = 0;
  // DoCopyMove for a target that should not exist yet: EEXIST when it does,
  // nothing replaced. Nothing when the class always judges a target first.
  virtual std::optional<platform::OsError> DoCopyMoveToNewTarget(const std::string& source,
                                                                 const std::string& target);
  // The past form of the verb ("Copied").
  virtual std::string VerbPast() const = 0;

  // Coupled properties: a new wildcard FileSpec and Recurse on make the
  // target a directory; a target that is no directory cannot recurse.
  const std::string& GetFileSpec() const { return file_spec_; }
  void SetFileSpec(const std::string& file_spec);
  bool GetRecurse() const { return recurse_; }
  void SetRecurse(bool recurse);
  bool GetTargetIsDir() const { return target_is_dir_; }
  void SetTargetIsDir(bool target_is_dir);

  bool GetFailIfExists() const { return fail_if_exists_; }
  bool GetOverwrite() const { return overwrite_; }
  bool GetOverwriteReadOnly() const { return overwrite_read_only_; }
  int32_t GetFilesAffected() const { return files_affected_; }

 protected:
  // The progress routine DoCopyMove hands to the platform; valid while the
  // action lives. It sends a percentage only when it changed.
  platform::CopyProgress ProgressRoutine();
  // Set by TerminateAction, cleared when Execute starts.
  const std::atomic<bool>* CancelFlag() const { return &cancel_; }

 private:
  bool DoRecursiveCopyMove(const std::string& spec, const std::string& target, bool is_top_level);
  void CopySubdirectories(const std::string& directory, const std::string& mask,
                          const std::string& target_directory);
  void ReportProgress(uint64_t transferred, uint64_t total);
  // Logs the failed file and `reason`, closing the file group first; false.
  bool FailFile(const std::string& source, const std::string& target, const std::string& reason);
  void CloseFileGroup();
  enum class ExistingTarget { kProceed, kSkip, kFail };
  // The decision table for a target that may exist; skips and failures logged.
  ExistingTarget JudgeExistingTarget(const std::string& source, const std::string& target);
  // Appends those of `lines` ("Name=text") whose property this class publishes.
  void AddPublishedLines(TStrings& list, std::initializer_list<std::string> lines) const;

  std::string file_spec_;
  std::string target_;
  bool force_ = false;
  bool target_is_dir_ = false;
  bool fail_if_exists_ = false;
  bool overwrite_ = true;
  bool overwrite_read_only_ = false;
  bool recurse_ = false;
  bool clear_attributes_ = false;
  bool fail_if_zero_files_ = true;
  // The destination directory Force created last in this run, and whether
  // it was new then: such a directory holds no target but what this action
  // puts there or another process writes meanwhile.
  std::string last_forced_directory_;
  bool forced_directory_was_new_ = false;
  int32_t files_affected_ = 0;
  bool log_files_affected_ = true;

  std::string progress_text_;
  int last_percent_ = 0;
  std::atomic<bool> cancel_{false};
  bool group_open_ = false;
  // The expanded Target of this run names no file: every file fails.
  bool target_has_wildcards_ = false;
};

}  // namespace brivant

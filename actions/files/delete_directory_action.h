// "Delete Directory": removes one directory, optionally with everything in
// it, retrying once after a pause when the system refuses a removal (a
// virus scanner or an indexer briefly holding a file is the usual cause).
//
// The deletion never leaves the tree it was given: a symbolic link inside
// it, or the directory itself when it is a link, is removed as a link and
// never followed. When the process's working directory lies inside the
// tree, the action moves it to the parent of the directory first, so the
// process does not keep the directory busy; otherwise it leaves it alone.
#pragma once

#include <cstdint>
#include <string>

#include "actions/files/file_or_directory_action.h"
#include "platform/directory.h"

namespace brivant {

class TDeleteDirectoryAction : public TFileOrDirectoryAction {
 public:
  static constexpr std::string_view kClassName = "TDeleteDirectoryAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Delete Directory"; }
  std::string GetActionKeywords() const override { return "Folder"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\DeleteDirectory.html"; }
  int GetHelpTopicID() const override { return 553; }
  int GetFlags() const override { return 1; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Logs why `dir` must not be deleted at all ("/" or an entry of it, "."
  // or "..", a directory holding the project file) and returns true.
  bool RefusedDirectory(const std::string& dir);
  // Everything after the existence check; throws on the first failure.
  void DeleteDirectory(const std::string& dir);
  // Moves the working directory to the parent of `physical_path` when it is
  // inside it.
  void LeaveDirectory(const std::string& physical_path);
  // Clears the directory's own read-only and hidden bits as asked.
  void ClearOwnAttributes(const std::string& path, uint32_t attributes);
  // Deletes everything inside `path` depth first, naming entries under
  // `shown` (the directory as the user gave it) in the log. Mount points
  // are left in place; false when one kept `path` from being emptied.
  bool DelTree(const std::string& path, const std::string& shown);
  bool DeleteSubdirectory(const std::string& path, const std::string& shown);
  // A file, or a link of any kind, removed as such.
  void DeleteTreeFile(const platform::OpenDirectory& directory, const std::string& name,
                      const std::string& shown);
  // Throws the OS error when a second try after `retry_wait_ms` fails too.
  void RemoveDirectoryWithRetry(const std::string& path, uint32_t retry_wait_ms);

  bool delete_hidden_ = false;
  bool log_deleted_files_ = false;
  bool enable_delay_ = false;
  bool fail_if_no_directory_ = false;
  std::string blocking_mount_;  // the first mount point a tree delete left
};

}  // namespace brivant

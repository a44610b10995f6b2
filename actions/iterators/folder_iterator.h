// "Folder Iterator": a loop whose children run once per subfolder of a
// starting folder, optionally through every level below it. The list is built
// and logged before the first iteration, in pre-order (each folder directly
// followed by everything below it, before its next sibling); the starting
// folder itself is never an entry. Each iteration sets the loop variable to
// one folder, as a full path or as the bare folder name.
//
// StopSignalled may be called from another thread while the list is being
// built; the search then fails the loop rather than run with a partial list.
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"

namespace brivant {

namespace platform {
class AttributeWordReader;
}  // namespace platform

class TFolderIterator : public TBVBaseIterator {
 public:
  static constexpr std::string_view kClassName = "TFolderIterator";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  // False when the starting folder cannot be expanded (the host has logged
  // why). Throws EIteratorException when stopped or when the search fails.
  bool BeforeFirstIteration() override;
  std::string GetCurrentValue() override;
  void AfterLastIteration() override;
  void StopSignalled() override;

  std::string GetActionName() const override { return "Folder Iterator"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\FolderIterator.html"; }
  int GetHelpTopicID() const override { return 3210; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  std::string GetVariableName() const { return GetBVVariable(); }
  void SetVariableName(const std::string& name) { SetBVVariable(name); }
  // Coupled as in the file iterator: Recurse on forces IncludeFolderPath on,
  // IncludeFolderPath off forces Recurse off.
  bool GetRecurse() const { return recurse_; }
  void SetRecurse(bool recurse);
  bool GetIncludeFolderPath() const { return include_folder_path_; }
  void SetIncludeFolderPath(bool include);

 private:
  // Appends the subfolders of `folder` (which ends in '/'), and with Recurse
  // those below each right after it.
  void AddFolders(const std::string& folder, platform::AttributeWordReader* reader);

  std::string starting_folder_;
  bool recurse_ = false;
  std::vector<std::string> folders_;
  bool include_folder_path_ = true;
  // Written by StopSignalled from the host's stop thread.
  std::atomic<bool> stop_{false};
  bool include_hidden_system_ = false;
};

}  // namespace brivant
